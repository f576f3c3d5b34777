// Patterns, versions, platforms and tables against the plain model of the whole-process tests, on
// random input.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "caller.h"
#include "engine_support.h"
#include "environ.h"
#include "fwhash.h"
#include "glob.h"
#include "hostplat.h"
#include "model/table.h"
#include "model/words.h"
#include "vqosarch.h"
#include "wqversion.h"

namespace {

using Strings = std::vector<std::string>;

class Random {
 public:
  explicit Random(unsigned long long seed) : source_(seed) {}
  std::size_t Below(std::size_t n) { return static_cast<std::size_t>(source_() % n); }
  // So many of the letters at most, one after another.
  std::string Text(const Strings& letters, std::size_t at_most) {
    std::string text;
    for (std::size_t n = Below(at_most + 1); n > 0; --n)
      text += letters[Below(letters.size())];
    return text;
  }

 private:
  std::mt19937_64 source_;
};

const Strings kPatternLetters = {
    "*", "*", "**", "?", "/", "/", "|", "a", "a", "b", ".", "\xc3\xa9", "\xf0\x9f\x98\x80"};
const Strings kSubjectLetters = {"/", "/", "a", "a", "a",        "b",
                                 "b", ".", "|", "*", "\xc3\xa9", "\xf0\x9f\x98\x80"};

TEST(ModelGlob, RandomPatternsMatchWhatTheModelMatches) {
  Random random(1);
  int matches = 0;
  for (int i = 0; i < 60000; ++i) {
    const std::string pattern = random.Text(kPatternLetters, 7);
    const std::string subject = random.Text(kSubjectLetters, 7);
    const bool expected = model::GlobMatches(pattern, subject, "");
    matches += expected;
    ASSERT_EQ(expected, wh_glob_matches(Fwt(pattern), Fwt(subject)) != 0)
        << "pattern " << pattern << ", subject " << subject;
    ASSERT_EQ(model::HasGlobs(pattern), wh_has_globs(Fwt(pattern)) != 0) << pattern;
  }
  EXPECT_GT(matches, 2000);
}

TEST(ModelGlob, SubjectsMadeFromTheirPatternMatchAlike) {
  // A pattern with its stars filled in has a good chance to match.
  Random random(2);
  int matches = 0;
  for (int i = 0; i < 40000; ++i) {
    std::string pattern, subject;
    for (std::size_t n = random.Below(9); n > 0; --n) {
      const std::string letter = kPatternLetters[random.Below(kPatternLetters.size())];
      if (letter == "|") continue;
      pattern += letter;
      if (letter == "*" || letter == "?")
        subject += random.Text({"a", "b", "\xc3\xa9"}, 2);
      else if (letter == "**")
        subject += random.Text(kSubjectLetters, 3);
      else if (random.Below(10) != 0)
        subject += letter;
    }
    const bool expected = model::GlobMatches(pattern, subject, "");
    matches += expected;
    ASSERT_EQ(expected, wh_glob_matches(Fwt(pattern), Fwt(subject)) != 0)
        << "pattern " << pattern << ", subject " << subject;
  }
  EXPECT_GT(matches, 10000);
}

TEST(ModelGlob, FilesAreFoundWhereTheModelFindsThem) {
  const TemporaryTree tree;
  tree.Write("a/b", "");
  tree.Write("a/ab", "");
  tree.Write("b/a/a", "");
  tree.Write("b/\xc3\xa9", "");
  tree.Directory("a/.b");
  tree.Directory("ba");
  Random random(3);
  int matches = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string subject =
        tree.path() + "/" + random.Text({"a", "b", "/", "/", ".", "\xc3\xa9"}, 4);
    const std::string start = random.Below(2) == 0 ? "**" : tree.path() + "/*";
    const std::string pattern = start + random.Text({"/", "*", "a", "b"}, 3) + "|" +
                                random.Text({"*", "?", "a", "b", "/", "|", "\xc3\xa9"}, 3);
    const bool expected = model::GlobMatches(pattern, subject, "");
    matches += expected;
    ASSERT_EQ(expected, wh_glob_matches(Fwt(pattern), Fwt(subject)) != 0)
        << "pattern " << pattern << ", subject " << subject;
  }
  EXPECT_GT(matches, 1000);
}

TEST(ModelVersions, CompareAsInTheModel) {
  Random random(4);
  const Strings letters = {".", ".", "0", "1", "2",        "9",          "10",        "a",
                           "A", "b", "B", "-", "\xc3\xa9", "4294967295", "4294967296"};
  int lower = 0, equal = 0;
  for (int i = 0; i < 60000; ++i) {
    const std::string one = random.Text(letters, 5), other = random.Text(letters, 5);
    const int expected = model::CompareVersions(one, other);
    lower += expected < 0;
    equal += expected == 0;
    ASSERT_EQ(expected, wq_compare_versions(Fwt(one), Fwt(other))) << one << " and " << other;
  }
  EXPECT_GT(lower, 10000);
  EXPECT_GT(equal, 1000);
}

TEST(ModelPlatforms, IncludeAndOverlapAsInTheModel) {
  Random random(5);
  const Strings systems = {"all",       "pc",        "win",          "win_32",
                           "win_95",    "win_nt",    "win_vista",    "win_xp",
                           "unix",      "solaris",   "solaris_2",    "solaris_2_5",
                           "solaris_8", "sunos",     "irix_6_5",     "irix",
                           "mac",       "macos",     "macos_9",      "darwin",
                           "macosx",    "hpux",      "hpux_11",      "linux",
                           "linux_2",   "linux_2_4", "linux_2_4_20", "linux_2_6",
                           "linux_6",   "other",     "other_1",      "",
                           "_"};
  const Strings machines = {
      "all",    "x86",  "386",        "486_dx",     "pentium",    "i686",        "pentium_4",
      "x86_64", "mips", "mips_r4000", "mips_r5000", "mips_r8000", "mips_r10000", "ppc",
      "601",    "g3",   "x704",       "g4",         "sparc",      "hppa",        "x86_65",
      "other",  ""};
  const auto platform = [&] {
    const std::string system = systems[random.Below(systems.size())];
    return random.Below(5) == 0 ? system : system + "-" + machines[random.Below(machines.size())];
  };
  int included = 0;
  for (int i = 0; i < 40000; ++i) {
    std::string one = platform(), other = platform();
    const bool expected = model::PlatformIncludes(one, other);
    included += expected;
    ASSERT_EQ(expected, platform_includes(one.data(), other.data()) != 0)
        << one << " and " << other;
    ASSERT_EQ(model::PlatformsOverlap(one, other), platform_overlaps(one.data(), other.data()) != 0)
        << one << " and " << other;
  }
  EXPECT_GT(included, 1000);
  char host[640];
  host_platform(host);
  EXPECT_EQ(model::HostPlatform(), host);
}

// ---- Tables ----

void ExpectSameSlots(const model::Table<std::string>& expected, const FwHashTable* table,
                     Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  ASSERT_EQ(expected.slots(), table->nTableSize);
  ASSERT_EQ(expected.used(), table->nUsedEntries);
  for (std::size_t slot = 0; slot < expected.slots(); ++slot) {
    const std::string* key = expected.KeyAt(slot);
    const FwHashEntry& entry = table->pEntries[slot];
    ASSERT_EQ(key == nullptr, entry.key == nullptr) << "slot " << slot;
    if (key == nullptr) continue;
    ASSERT_EQ(static_cast<const char*>(entry.key), *key) << "slot " << slot;
    ASSERT_EQ(static_cast<const char*>(entry.value), *expected.Find(*key)) << "slot " << slot;
  }
}

// "ab" and "bR" hash alike, and so do all texts made of as many of them.
std::string Key(Random& random) {
  if (random.Below(3) == 0) return random.Text({"ab", "bR"}, 4);
  return random.Text({"a", "b", "/", "c", "\xc3\xa9"}, 3);
}

TEST(ModelTables, EntriesHaveTheSlotsOfTheModel) {
  Random random(6);
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE(round);
    const auto to_hold = static_cast<uint32>(random.Below(20));
    model::Table<std::string> expected(to_hold);
    FwHashTable* table = FwHashCreateTable(to_hold, &FwHash_StringCopyFunctions, nullptr);
    const std::size_t share_of_removes = random.Below(4);
    for (int step = 0; step < 120; ++step) {
      SCOPED_TRACE(step);
      const std::string key = Key(random);
      if (random.Below(6) < share_of_removes) {
        ASSERT_EQ(expected.Remove(key), FwHashRemoveEntry(table, Fwt(key), nullptr) != 0);
      } else {
        const std::string value = std::to_string(step);
        expected.Add(key, value);
        ASSERT_NE(nullptr, FwHashAddEntry(table, Fwt(key), Fwt(value), nullptr));
      }
      ExpectSameSlots(expected, table);
      if (HasFatalFailure()) return;
    }
    FwHashFreeTable(&table);
  }
}

TEST(ModelTables, EnvironmentsAndTheirCopiesHaveTheSlotsOfTheModel) {
  Random random(7);
  for (int round = 0; round < 100; ++round) {
    SCOPED_TRACE(round);
    model::Table<std::string> expected(50);
    WH_ENVIRON* environment = make_environ();
    for (std::size_t step = 20 + random.Below(200); step > 0; --step) {
      const std::string key = Key(random);
      if (random.Below(5) == 0) {
        expected.Remove(key);
        wh_delete_ev(environment, Fwt(key));
      } else {
        expected.Add(key, "v");
        wh_set_ev(environment, Fwt(key), FWT("v"));
      }
    }
    ExpectSameSlots(expected, environment->variables);
    model::Table<std::string> copied(50);
    for (const std::string& key : expected.Keys())
      copied.Add(key, *expected.Find(key));
    WH_ENVIRON* copy = dup_environ(environment);
    ExpectSameSlots(copied, copy->variables);
    free_environ(&copy);
    free_environ(&environment);
    if (HasFatalFailure()) return;
  }
}

}  // namespace
