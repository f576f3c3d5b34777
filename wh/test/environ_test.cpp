// Environment tables and the bridge to the process's environment.
#include "environ.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "engine_support.h"
#include "recorder.h"

namespace {

using Strings = std::vector<std::string>;

// Replaces the process's environment by the strings, until the end of the scope.
class ProcessEnvironment {
 public:
  explicit ProcessEnvironment(Strings strings) : strings_(std::move(strings)), saved_(environ) {
    for (std::string& text : strings_)
      pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
    environ = pointers_.data();
  }
  ~ProcessEnvironment() { environ = saved_; }
  ProcessEnvironment(const ProcessEnvironment&) = delete;
  ProcessEnvironment& operator=(const ProcessEnvironment&) = delete;

  static Strings now() {
    Strings strings;
    for (char** p = environ; *p; ++p)
      strings.emplace_back(*p);
    return strings;
  }
  bool untouched() const { return environ == pointers_.data() && now() == strings_; }

 private:
  Strings strings_;
  std::vector<char*> pointers_;
  char** saved_;
};

Pairs ReadProcess(Strings strings, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  ProcessEnvironment process(std::move(strings));
  Error err;
  Pairs list = Environment(wh_get_process_env(&err)).list();
  EXPECT_EQ("", err.text());
  return list;
}

// The slots of a table of names, by the rules alone: open addressing, grown before an add when at
// most half of the slots are free, removals that move later entries back.
class Slots {
 public:
  void Add(const std::string& name) {
    if (slots_.size() <= 2 * used_) {
      Strings old = std::exchange(slots_, Strings(2 * slots_.size() + 1));
      for (const std::string& entry : old)
        if (!entry.empty()) slots_[Find(entry)] = entry;
    }
    size_t slot = Find(name);
    if (slots_[slot].empty()) ++used_;
    slots_[slot] = name;
  }
  void Remove(const std::string& name) {
    size_t hole = Find(name);
    slots_[hole].clear();
    --used_;
    for (size_t i = Next(hole); !slots_[i].empty(); i = Next(i)) {
      // Going from its ideal slot to where it is, does the entry pass the hole?
      size_t ideal = Hash(slots_[i]) % slots_.size();
      if ((i + slots_.size() - ideal) % slots_.size() < (i + slots_.size() - hole) % slots_.size())
        continue;
      slots_[hole] = std::exchange(slots_[i], "");
      hole = i;
    }
  }
  Strings names() const {
    Strings names;
    for (const std::string& name : slots_)
      if (!name.empty()) names.push_back(name);
    return names;
  }

 private:
  static uint32 Hash(const std::string& name) {
    uint32 h = 0;
    for (unsigned char byte : name) {
      uint32 t = h * 16 + byte;
      h = t ^ (t >> 28);
    }
    return h;
  }
  size_t Next(size_t slot) const { return (slot + 1) % slots_.size(); }
  size_t Find(const std::string& name) const {
    size_t slot = Hash(name) % slots_.size();
    while (!slots_[slot].empty() && slots_[slot] != name)
      slot = Next(slot);
    return slot;
  }

  Strings slots_ = Strings(127);  // the first of 1, 3, 7 ... that is not below 2 x 50
  size_t used_ = 0;
};

TEST(Environ, AStringWithoutEqualsIsAVariableWithAnEmptyValue) {
  EXPECT_EQ((Pairs{{"NOVALUE", ""}}), ReadProcess({"NOVALUE"}));
}

TEST(Environ, AStringThatStartsWithEqualsHasAnEmptyName) {
  EXPECT_EQ((Pairs{{"", "x"}}), ReadProcess({"=x"}));
}

TEST(Environ, OnlyTheFirstEqualsSplits) {
  EXPECT_EQ((Pairs{{"A", "1=2"}}), ReadProcess({"A=1=2"}));
}

TEST(Environ, ALaterDuplicateReplacesTheEarlier) {
  EXPECT_EQ((Pairs{{"A", "3"}, {"B", "2"}}), ReadProcess({"A=1", "B=2", "A=3"}));
}

TEST(Environ, NamesBeyondAsciiAreReadByteByByte) {
  EXPECT_EQ((Pairs{{"\xC3\x83\xC2\xA9", "1"}}), ReadProcess({"\xC3\xA9=1"}));
}

TEST(Environ, ValuesAreOpaqueBytes) {
  EXPECT_EQ((Pairs{{"A", "caf\xE9"}, {"B", "\x80"}}), ReadProcess({"A=caf\xE9", "B=\x80"}));
}

TEST(Environ, AnEmptyProcessEnvironmentGivesAnEmptyTable) {
  EXPECT_EQ(Pairs{}, ReadProcess({}));
}

TEST(Environ, LookupTellsAnAbsentVariableFromAnEmptyOne) {
  Environment env(Pairs{{"EMPTY", ""}});
  EXPECT_EQ(nullptr, wh_lookup_ev(FWT("ABSENT"), env));
  EXPECT_EQ("", Str(wh_lookup_ev(FWT("EMPTY"), env)));
}

TEST(Environ, SetCopiesBothAndReplacesTheValue) {
  Environment env;
  Text name("NAME");
  Text value("one");
  wh_set_ev(env, name, value);
  *static_cast<FwTextString>(name) = 'X';
  *static_cast<FwTextString>(value) = 'X';
  EXPECT_EQ("one", env["NAME"]);
  wh_set_ev(env, FWT("NAME"), FWT("two"));
  EXPECT_EQ((Pairs{{"NAME", "two"}}), env.list());
}

TEST(Environ, SettingNoValueIsRefused) {
  Environment env(Pairs{{"A", "1"}});
  ExpectTraces expected({"FwHash_StringAddCopyFunction: Error - NULL value",
                         "FwHash_StringAddCopyFunction: Error - NULL value"});
  wh_set_ev(env, FWT("A"), nullptr);
  wh_set_ev(env, FWT("B"), nullptr);
  EXPECT_EQ((Pairs{{"A", "1"}}), env.list());
}

TEST(Environ, NamesThatDifferInCaseAreDifferentVariables) {
  Environment env(Pairs{{"Path", "1"}, {"PATH", "2"}});
  EXPECT_EQ("1", env["Path"]);
  EXPECT_EQ("2", env["PATH"]);
}

TEST(Environ, DeleteRemovesWhatIsThere) {
  Environment env(Pairs{{"A", "1"}, {"B", "2"}});
  wh_delete_ev(env, FWT("A"));
  wh_delete_ev(env, FWT("C"));
  EXPECT_EQ((Pairs{{"B", "2"}}), env.list());
}

TEST(Environ, FreeNullsThePointerAndAcceptsNull) {
  WH_ENVIRON* env = make_environ();
  free_environ(&env);
  EXPECT_EQ(nullptr, env);
  free_environ(&env);
}

TEST(Environ, TheOrderDoesNotFollowTheAlphabet) {
  // hash("ab") is 0x672, in slot 126 of 127; "b" is in slot 98.
  Environment env(Pairs{{"ab", ""}, {"b", ""}});
  EXPECT_EQ((Strings{"b", "ab"}), env.names());
}

TEST(Environ, TheOrderIsThatOfTheSlots) {
  for (int count : {0, 1, 63, 64, 65, 66, 129, 130, 1000}) {
    SCOPED_TRACE(count);
    Environment env;
    Slots slots;
    for (int i = 0; i < count; ++i) {
      std::string name = "VARIABLE_" + std::to_string(i * 7919 % 1009);
      wh_set_ev(env, Fwt(name), FWT("v"));
      slots.Add(name);
    }
    EXPECT_EQ(slots.names(), env.names()) << count;

    Strings sorted;
    auto collect = [](FwHashEntry* entry, void* names, FwErrorState*) -> int32 {
      static_cast<Strings*>(names)->emplace_back(static_cast<char*>(entry->key));
      return 1;
    };
    EXPECT_EQ(1, wh_sorted_enumerate_environ(env, collect, &sorted, nullptr));
    EXPECT_EQ(slots.names(), sorted) << count;

    // The copy starts small again and is filled in slot order.
    Slots copied;
    for (const std::string& name : slots.names())
      copied.Add(name);
    EXPECT_EQ(copied.names(), Environment(dup_environ(env)).names()) << count;

    for (int i = 0; i < count; i += 3) {
      std::string name = "VARIABLE_" + std::to_string(i * 7919 % 1009);
      wh_delete_ev(env, Fwt(name));
      slots.Remove(name);
    }
    EXPECT_EQ(slots.names(), env.names()) << count;
  }
}

TEST(Environ, SettingAKnownNameMayGrowTheTable) {
  Environment env;
  Slots slots;
  for (int i = 0; i < 64; ++i) {
    wh_set_ev(env, Fwt("V" + std::to_string(i)), FWT("v"));
    slots.Add("V" + std::to_string(i));
  }
  EXPECT_EQ(127U, static_cast<WH_ENVIRON*>(env)->variables->nTableSize);
  wh_set_ev(env, FWT("V3"), FWT("w"));
  slots.Add("V3");
  EXPECT_EQ(255U, static_cast<WH_ENVIRON*>(env)->variables->nTableSize);
  EXPECT_EQ(slots.names(), env.names());
}

TEST(Environ, ACallbackStopsEitherEnumeration) {
  Environment env(Pairs{{"A", "1"}, {"B", "2"}, {"C", "3"}});
  auto until_b = [](FwHashEntry* entry, void* names, FwErrorState*) -> int32 {
    std::string name = static_cast<char*>(entry->key);
    *static_cast<std::string*>(names) += name;
    return name != "B";
  };
  std::string seen;
  EXPECT_EQ(0, wh_sorted_enumerate_environ(env, until_b, &seen, nullptr));
  EXPECT_EQ("AB", seen);
  seen.clear();
  EXPECT_EQ(0, wh_enumerate_environ(env, until_b, &seen, nullptr));
  EXPECT_EQ("AB", seen);
}

TEST(Environ, EnumerationOfAnEmptyTableCallsNothing) {
  Environment env;
  auto never = [](FwHashEntry*, void*, FwErrorState*) -> int32 { return 0; };
  EXPECT_EQ(1, wh_sorted_enumerate_environ(env, never, nullptr, nullptr));
}

TEST(Environ, SettingTheProcessToWhatItIsTouchesNothing) {
  ProcessEnvironment process({"A=1", "B=", "C=x=y"});
  Error err;
  Environment env(wh_get_process_env(&err));
  EXPECT_EQ(1, wh_set_process_env(&err, env));
  EXPECT_TRUE(process.untouched());
}

TEST(Environ, SettingTheProcessRemovesAddsAndReplaces) {
  // In a child, as the strings handed over live as long as the process.
  pid_t child = fork();
  if (child == 0) {
    char kept[] = "KEPT=1";
    char gone[] = "GONE=2";
    char changed[] = "CHANGED=3";
    char* strings[] = {kept, gone, changed, nullptr};
    environ = strings;
    FwErrorState err;
    Environment env(Pairs{{"KEPT", "1"}, {"CHANGED", "4"}, {"NEW", "5"}, {"EMPTY", ""}});
    bool ok = wh_set_process_env(&err, env) == 1 && err.pError == nullptr;
    Environment now(wh_get_process_env(&err));
    ok = ok && now.map() == env.map();
    bool same_string = false;
    for (char** p = environ; *p; ++p)
      same_string = same_string || *p == kept;
    _exit(ok && same_string ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST(Environ, RemovingAVariableThatIsNotThereWorks) {
  ProcessEnvironment process({"A=1"});
  Error err;
  Text name("ABSENT");
  EXPECT_EQ(1, wh_delenv(&err, name));
  EXPECT_EQ(Strings{"A=1"}, ProcessEnvironment::now());
}

TEST(Environ, TheSystemHasNoEnvironmentsOfItsOwn) {
  Error err;
  Environment env;
  EXPECT_EQ(nullptr, wh_get_system_env(&err));
  EXPECT_EQ(nullptr, wh_get_user_env(&err));
  EXPECT_EQ(0, wh_set_system_env(&err, env));
  EXPECT_EQ(0, wh_set_user_env(&err, env));
  EXPECT_EQ("", err.text());
}

TEST(Environ, NamesAndValuesAreComparedForEquality) {
  EXPECT_EQ(0x672U, wh_env_hash(FWT("ab")));
  EXPECT_EQ(1, wh_env_compare(FWT("a"), FWT("a")));
  EXPECT_EQ(0, wh_env_compare(FWT("a"), FWT("b")));
  EXPECT_EQ(0, wh_env_compare(FWT("a"), FWT("A")));
  EXPECT_EQ(0, wh_env_compare(nullptr, FWT("a")));
  EXPECT_EQ(0, wh_env_compare(nullptr, nullptr));
  EXPECT_EQ(1, wh_env_equal(FWT("x"), FWT("x")));
  EXPECT_EQ(0, wh_env_equal(FWT("x"), FWT("xy")));
}

}  // namespace
