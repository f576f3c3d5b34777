// Collection of operations, their instances, and the ancestors of varieties.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "caller.h"
#include "engine_support.h"
#include "environ/ancestors.h"
#include "environ/collect.h"
#include "environ/generate.h"
#include "environ/list.h"
#include "environ/names_table.h"
#include "fcpp.h"
#include "fwhash.h"
#include "glob.h"
#include "recorder.h"

namespace {

using Strings = std::vector<std::string>;

const char kMixed[] = "*** Error:  inconsistent separators for environment variable ";

// One operation of a list, in short: "B +PATH=/opt/b" with the product's name in front.
std::string Short(const EXPANDED_OP* eop) {
  const WH_ENV_OP* op = eop->op;
  std::string text = (op->type == wh_env_insert   ? "+"
                      : op->type == wh_env_remove ? "-"
                                                  : "!") +
                     Str(op->name) + "=";
  if (op->type == wh_env_insert) return text + Str(op->u.ins->value);
  for (int32 i = 0; i < FwVectorLength(&op->u.rem->values); ++i)
    text += (i ? "," : "") + Str(nth<FwTextByte>(&op->u.rem->values, i));
  return text;
}

// A list of removes, one by one.
class Removes {
 public:
  explicit Removes(const VAL_OPS* val_ops) {
    open_vector(&list_, 10);
    list_removes(&val_ops->rem, &list_);
  }
  ~Removes() { FwVectorAbandon(&list_, 0); }
  Removes(const Removes&) = delete;
  Removes& operator=(const Removes&) = delete;

  const FwVector* list() const { return &list_; }

 private:
  FwVector list_;
};

Strings Shorts(const FwVector* eops) {
  Strings list;
  for (int32 i = 0; i < count_of(eops); ++i)
    list.push_back(Short(nth<EXPANDED_OP>(eops, i)));
  return list;
}

// The first steps of an application, kept open for looking at what they made.
class Steps {
 public:
  Steps(const Warehouse& warehouse, const Strings& products, const Pairs& input, int set = 1)
      : input_(input) {
    state_.environ = input_;
    state_.context = make_context(make_cv(FWT("BASE-DIRECTORY"), Fwt(warehouse.path()), nullptr));
    open_vector(&state_.eops, 20);
    state_.newvars = make_names_table();
    state_.set = set;
    index_unvisit(warehouse.index());
    WH_PRODUCT_SPEC_LIST* specs = warehouse.Query(products);
    for (int32 i = 0; i < FwVectorLength(&specs->specs); ++i)
      wh_traverse_spec(warehouse.index(), nth<WH_PRODUCT_SPEC>(&specs->specs, i),
                       collect_variety_ops, Reports::Collect,
                       set ? FWT("env.xml") : FWT("unenv.xml"), &state_);
    free_speclist(&specs);
    variables_ = make_names_table();
    for (int32 i = 0; i < FwVectorLength(&state_.eops); ++i)
      generate_instances(nth<EXPANDED_OP>(&state_.eops, i), input_, state_.newvars, variables_,
                         Reports::Collect);
  }
  ~Steps() {
    free_variables(&variables_);
    for (int32 i = 0; i < FwVectorLength(&state_.eops); ++i) {
      auto* eop = nth<EXPANDED_OP>(&state_.eops, i);
      free_expanded_op(&eop);
    }
    FwVectorAbandon(&state_.eops, 0);
    FwHashFreeTable(&state_.newvars);
    free_context(&state_.context);
  }
  Steps(const Steps&) = delete;
  Steps& operator=(const Steps&) = delete;

  Strings eops() const { return Shorts(&state_.eops); }
  FwHashTable* newvars() const { return state_.newvars; }
  FwHashTable* variables() const { return variables_; }
  const FwVector& list() const { return state_.eops; }

  VAR_OPS* variable(const char* name) const {
    FwHashEntry* entry = FwHashLookupEntry(variables_, FWT(name), nullptr);
    return entry ? static_cast<VAR_OPS*>(entry->value) : nullptr;
  }
  VAL_OPS* value(const char* name, const char* element) const {
    VAR_OPS* var_ops = variable(name);
    FwHashEntry* entry =
        var_ops ? FwHashLookupEntry(var_ops->values, FWT(element), nullptr) : nullptr;
    return entry ? static_cast<VAL_OPS*>(entry->value) : nullptr;
  }
  Strings rem(const char* name, const char* element) const {
    VAL_OPS* val_ops = value(name, element);
    return val_ops ? Shorts(Removes(val_ops).list()) : Strings{"none"};
  }

  static Strings Keys(FwHashTable* table) {
    Strings keys;
    for (FwHashEntry* slot = table->pEntries; slot <= table->pLastEntry; ++slot)
      if (slot->key) keys.emplace_back(static_cast<char*>(slot->key));
    return keys;
  }

 private:
  Environment input_;
  COLLECT_STATE state_;
  FwHashTable* variables_ = nullptr;
};

// ---- Collection ----

TEST(Collect, PartsComeBeforeTheProductThatIncludesThem) {
  Warehouse w;
  w.Add("B", Insert("PATH", "/opt/b/bin", After("/opt/a/bin")) + Remove("PATH", {"/bin"}) +
                 Insert("TOOLS", "x"));
  w.Add("A", Insert("PATH", "/opt/a/bin", Before("/usr/bin")), {"B"});
  Reports reports;
  Steps steps(w, {"A"}, {{"PATH", "/usr/bin:/bin"}});
  EXPECT_EQ((Strings{"+PATH=/opt/b/bin", "-PATH=/bin", "+TOOLS=x", "+PATH=/opt/a/bin"}),
            steps.eops());
  EXPECT_EQ(Strings{"TOOLS"}, Steps::Keys(steps.newvars()));
  EXPECT_EQ(Strings{"-PATH=/bin"}, steps.rem("PATH", "/bin"));
  EXPECT_EQ(Strings{}, steps.rem("PATH", "/opt/b/bin"));
  EXPECT_EQ(nullptr, steps.value("PATH", "/usr/bin"));
  EXPECT_EQ(':', steps.variable("PATH")->sep);
  EXPECT_EQ(0, steps.variable("TOOLS")->sep);
  EXPECT_EQ(':', nth<EXPANDED_OP>(&steps.list(), 3)->op->u.ins->sep);
  EXPECT_EQ(0, nth<EXPANDED_OP>(&steps.list(), 0)->op->u.ins->sep);
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(Collect, AProductWithOnlyPartsHasItsPartsCollected) {
  Warehouse w;
  w.Add("B", Insert("V", "b"));
  w.Add("A", "", {"B"});
  EXPECT_EQ(Strings{"+V=b"}, Steps(w, {"A"}, {}).eops());
}

TEST(Collect, AVarietyReachedTwiceGivesItsOperationsOnce) {
  Warehouse w;
  w.Add("C", Insert("V", "c"));
  w.Add("A", Insert("V", "a"), {"C"});
  w.Add("B", Insert("V", "b"), {"C"});
  EXPECT_EQ((Strings{"+V=c", "+V=a", "+V=b"}), Steps(w, {"A", "B"}, {}).eops());
  EXPECT_EQ((Strings{"+V=c", "+V=b", "+V=a"}), Steps(w, {"B", "A"}, {}).eops());
}

TEST(Collect, PartsThatIncludeEachOtherComeToAnEnd) {
  Warehouse w;
  w.Add("A", Insert("V", "a"), {"B"});
  w.Add("B", Insert("V", "b"), {"A"});
  EXPECT_EQ((Strings{"+V=b", "+V=a"}), Steps(w, {"A"}, {}).eops());
}

TEST(Collect, AnIncompleteVarietyGivesNothing) {
  Warehouse w;
  w.AddVarieties("A", "<VARIETY/><VARIETY><SEGMENT host='all' here='0'/></VARIETY>",
                 Insert("V", "a"));
  EXPECT_EQ(Strings{}, Steps(w, {"A"}, {}).eops());
}

TEST(Collect, GroupsApplyToTheVarietiesThatTheirPatternsMatch) {
  Warehouse w;
  w.AddVarieties("A",
                 "<VARIETY><VAR n='mode' v='fast'/><SEGMENT host='all' here='1'/></VARIETY>"
                 "<VARIETY><VAR n='mode' v='safe'/><SEGMENT host='all' here='1'/></VARIETY>",
                 "");
  w.Write("A", "env.xml",
          "<ENV-SETTINGS>"
          "<ENV-GROUP><PATTERN><MATCH><VAR n='mode' v='s*'/></MATCH></PATTERN>" +
              Insert("V", "%(mode)1") + "</ENV-GROUP><ENV-GROUP><PATTERN/>" +
              Insert("V", "%(mode)2") + "</ENV-GROUP></ENV-SETTINGS>");
  EXPECT_EQ((Strings{"+V=fast2", "+V=safe1", "+V=safe2"}), Steps(w, {"A"}, {}).eops());
}

// A part that is loaded by then is taken without expanding a pattern that has nothing to expand.
TEST(Collect, NamesInThePatternOfAPartAreExpandedThoughThePartIsLoaded) {
  Warehouse w;
  w.AddVarieties("D",
                 "<VARIETY><VAR n='q' v='1'/><SEGMENT host='all' here='1'/></VARIETY>"
                 "<VARIETY><VAR n='q' v='2'/><SEGMENT host='all' here='1'/></VARIETY>",
                 Insert("V", "%(q)"));
  const auto with_part = [&](const std::string& name, const std::string& value) {
    return "<PARTLIST><PARTSPEC><PATTERN/><PARTS><PRODUCT category='C' name='D'><PATTERN><MATCH>"
           "<VAR n='" +
           name + "' v='" + value + "'/></MATCH></PATTERN></PRODUCT></PARTS></PARTSPEC></PARTLIST>";
  };
  w.Add("A", "");
  w.Write("A", "partlist.xml", with_part("q", "2"));
  w.AddVarieties("B", "<VARIETY><VAR n='N' v='q'/><SEGMENT host='all' here='1'/></VARIETY>", "");
  w.Write("B", "partlist.xml", with_part("%(N)", "1"));
  EXPECT_EQ("2", w.Apply({"A"}, Pairs{})["V"]);
  EXPECT_EQ("1", w.Apply({"B"}, Pairs{})["V"]);
}

TEST(Collect, TheFileIsChosenBySet) {
  Warehouse w;
  w.Add("A", Insert("V", "set"));
  w.Write("A", "unenv.xml", Warehouse::Settings(Remove("V", {"set"})));
  EXPECT_EQ(Strings{"+V=set"}, Steps(w, {"A"}, {}, 1).eops());
  EXPECT_EQ(Strings{"-V=set"}, Steps(w, {"A"}, {}, 0).eops());
}

TEST(Collect, OneBadExpansionLosesOnlyThatOperation) {
  Warehouse w;
  w.Add("A", Insert("V", "%(NOPE)") + Insert("V", "%(BASE-CN)") + Insert("%(NADA)", "x") +
                 Remove("V", {"%(NULL)", "y"}));
  Reports reports;
  Steps steps(w, {"A"}, {});
  EXPECT_EQ(Strings{"+V=" + w.path() + "/C/A"}, steps.eops());
  EXPECT_EQ((Strings{"*** Error: % variable NOPE is not defined in File C/A/1/0/env.xml",
                     "*** Error: % variable NADA is not defined in File C/A/1/0/env.xml",
                     "*** Error: % variable NULL is not defined in File C/A/1/0/env.xml"}),
            reports.lines());
}

TEST(Collect, RemovesAndDeletesOfAbsentVariablesAreNewVariablesToo) {
  Warehouse w;
  w.Add("A", Remove("R", {"x"}) + Delete("D") + Insert("PATH", "x") + Insert("G*", "x"));
  Steps steps(w, {"A"}, {{"PATH", "/bin"}});
  EXPECT_EQ((Strings{"D", "R"}), Steps::Keys(steps.newvars()));  // slots 6 and 20 of 31
}

// ---- Instances ----

TEST(Generate, APatternReachesTheInputAndLiteralNamesAndNoOther) {
  Warehouse w;
  w.Add("A", Insert("FOO*", "x") + Insert("FOO2", "y") + Insert("BAR*", "z"));
  Steps steps(w, {"A"}, {{"FOO1", ""}, {"FOOBAR", ""}, {"BAZ", ""}});
  Strings names = Steps::Keys(steps.variables());
  std::sort(names.begin(), names.end());
  EXPECT_EQ((Strings{"FOO1", "FOO2", "FOOBAR"}), names);
  EXPECT_EQ((Strings{"+FOO*=x", "+FOO2=y"}), Shorts(&steps.variable("FOO2")->inserts));
}

TEST(Generate, ARemoveOfAnAbsentVariableLeavesTheSeparatorOpen) {
  Warehouse w;
  w.Add("A", Remove("V", {"x"}));
  Steps steps(w, {"A"}, {});
  EXPECT_EQ(0, steps.variable("V")->sep);
  EXPECT_EQ(0, nth<EXPANDED_OP>(&steps.list(), 0)->op->u.rem->sep);
}

TEST(Generate, ARemoveOfAPresentVariableSettlesTheDefaultSeparator) {
  Warehouse w;
  w.Add("A", Remove("V", {"x"}) + Insert("V", "y", "", ";"));
  Reports reports;
  Steps steps(w, {"A"}, {{"V", ""}});  // an empty value is a value
  EXPECT_EQ(':', steps.variable("V")->sep);
  EXPECT_EQ(Strings{std::string(kMixed) + "V"}, reports.lines());
}

TEST(Generate, TheFirstDeclaredSeparatorStays) {
  Warehouse w;
  w.Add("A", Insert("V", "a") + Insert("V", "b", "", ";") + Insert("V", "c", "", ",") +
                 Insert("V", "d", "", ";"));
  Reports reports;
  Steps steps(w, {"A"}, {});
  EXPECT_EQ(';', steps.variable("V")->sep);
  EXPECT_EQ(Strings{std::string(kMixed) + "V"}, reports.lines());
}

TEST(Generate, MixedSeparatorsAreSilentWithoutAnErrorFunction) {
  VAR_OPS var_ops;
  var_ops.sep = ':';
  int sep = ';';
  check_sep(&var_ops, &sep, FWT("V"), nullptr);
  EXPECT_EQ(':', var_ops.sep);
  EXPECT_EQ(';', sep);
  Reports reports;
  check_sep(&var_ops, &sep, FWT("V"), Reports::Collect);
  EXPECT_EQ(Strings{std::string(kMixed) + "V"}, reports.lines());
}

TEST(Generate, AnOperationWithAPatternTakesTheFirstKnownSeparatorForAll) {
  // The pattern reaches A (slot 65) before B (slot 66). A's separator goes into the operation, and
  // from there to B, whose own insert declares another one.
  Warehouse w;
  w.Add("A", Insert("A", "1", "", ";") + Remove("?", {"x"}) + Insert("B", "2", "", ","));
  Reports reports;
  Steps steps(w, {"A"}, {{"A", "a"}, {"B", "b"}});
  EXPECT_EQ(';', steps.variable("A")->sep);
  EXPECT_EQ(';', steps.variable("B")->sep);
  EXPECT_EQ(Strings{std::string(kMixed) + "B"}, reports.lines());
}

TEST(Generate, AMismatchedRemoveSplitsByItsOwnSeparator) {
  Warehouse w;
  w.Add("A", Insert("V", "x", "", ":") + Remove("V", {"a:b"}, ";"));
  Reports reports;
  Steps steps(w, {"A"}, {{"V", "a:b;c"}});
  EXPECT_EQ(Strings{"-V=a:b"}, steps.rem("V", "a:b"));
  EXPECT_EQ(1U, reports.lines().size());
}

TEST(Generate, ARemoveWithTwoMatchingPatternsIsListedOnce) {
  Warehouse w;
  w.Add("A", Remove("V", {"a*", "*b"}));
  EXPECT_EQ(Strings{"-V=a*,*b"}, Steps(w, {"A"}, {{"V", "ab:c"}}).rem("V", "ab"));
}

TEST(Generate, TheSameInsertFromTwoVarietiesIsListedTwice) {
  Warehouse w;
  w.Add("A", Insert("V", "x"));
  w.Add("B", Insert("V", "x"));
  Steps steps(w, {"A", "B"}, {});
  EXPECT_EQ((Strings{"+V=x", "+V=x"}), Shorts(&steps.value("V", "x")->ins));
}

TEST(Generate, ARemoveIsListedForEachInsertAndEachEqualElement) {
  Warehouse w;
  w.Add("C", Insert("V", "v"));
  w.Add("A", Remove("V", {"v"}), {"C"});
  EXPECT_EQ((Strings{"-V=v"}), Steps(w, {"A"}, {}).rem("V", "v"));
  EXPECT_EQ((Strings{"-V=v", "-V=v"}), Steps(w, {"A"}, {{"V", "v"}}).rem("V", "v"));
  EXPECT_EQ((Strings{"-V=v", "-V=v", "-V=v"}), Steps(w, {"A"}, {{"V", "v:w:v"}}).rem("V", "v"));
}

// Each look at a file whose name is no text is reported, so the reports count the looks.
TEST(Generate, ARemoveLooksAtTheDiskOnceForEachInsert) {
  Warehouse w;
  std::ofstream(w.path() + "/f") << "/\xE9";
  const std::string insert = Insert("V", "%[%(BASE-DIRECTORY)/f]");
  w.Add("A", insert + insert + Remove("V", {"**|none"}) + insert);
  w.Add("B", insert + insert + insert);
  auto asserted = [](auto act) {
    CollectReports reports;
    act();
    return reports.asserts().size();
  };
  const size_t look = asserted([] { wh_glob_matches(FWT("**|none"), FWT("/\xE9")); });
  ASSERT_GT(look, 0U);
  EXPECT_EQ(asserted([&] { Steps(w, {"B"}, {}); }) + 3 * look,
            asserted([&] { Steps(w, {"A"}, {}); }));
}

TEST(Generate, RemovesMeetInsertsInEitherOrder) {
  Warehouse w;
  w.Add("A", Remove("V", {"x"}) + Insert("V", "x") + Insert("V", "y") + Remove("V", {"?"}));
  Steps steps(w, {"A"}, {});
  EXPECT_EQ((Strings{"-V=x", "-V=?"}), steps.rem("V", "x"));
  EXPECT_EQ(Strings{"-V=?"}, steps.rem("V", "y"));
}

TEST(Generate, ADeleteMarksTheVariableAndRemovesEverything) {
  Warehouse w;
  w.Add("A", Delete("V"));
  Steps steps(w, {"A"}, {{"V", "a/b:/c"}});
  EXPECT_EQ(1, steps.variable("V")->del);
  EXPECT_EQ(Strings{"!V=**"}, steps.rem("V", "a/b"));
  EXPECT_EQ(Strings{"!V=**"}, steps.rem("V", "/c"));
}

// So many operations and elements that their patterns are looked up instead of tried in turn. The
// file has an insert of /n/I, at 2 I, and a remove of /e/I and of the next insert, at 2 I + 1, for
// I = 0, 1 ...; then a remove of inserts that end with 7 and of elements of one digit, and three
// inserts more. The input has the elements /e/0 to /e/199, and /e/5 again.
constexpr int kMany = 150;
constexpr int kLastRemove = 2 * kMany;

std::string Numbered(const char* stem, int i) {
  return stem + std::to_string(i);
}

class ManyOperations : public testing::Test {
 protected:
  ManyOperations() : steps_(Filled(&warehouse_), {"A"}, {{"V", Input()}}) {}

  // The positions of the removes that are listed for a value.
  std::vector<int> RemovesOf(const std::string& value) const {
    VAL_OPS* val_ops = steps_.value("V", value.c_str());
    if (val_ops == nullptr) return {-1};
    const Removes removes(val_ops);
    const FwVector* found = removes.list();
    std::vector<int> positions;
    for (int32 n = 0; n < count_of(found); ++n)
      for (int32 i = 0; i < FwVectorLength(&steps_.list()); ++i)
        if (nth<EXPANDED_OP>(&steps_.list(), i) == nth<EXPANDED_OP>(found, n))
          positions.push_back(i);
    return positions;
  }

  Warehouse warehouse_;
  Steps steps_;

 private:
  static const Warehouse& Filled(Warehouse* warehouse) {
    std::string ops;
    for (int i = 0; i < kMany; ++i)
      ops += Insert("V", Numbered("/n/", i)) +
             Remove("V", {Numbered("/e/", i), Numbered("//n//", i + 1) + "/"});
    ops += Remove("V", {"/n/*7", "/e/?"});
    warehouse->Add("A", ops + Insert("V", "/n/3") + Insert("V", "/n/7") + Insert("V", "/n//8"));
    return *warehouse;
  }

  static std::string Input() {
    std::string input;
    for (int i = 0; i < 200; ++i)
      input += Numbered("/e/", i) + ":";
    return input + "/e/5";
  }
};

TEST_F(ManyOperations, ARemoveIsListedForEachInsertThatItMatches) {
  EXPECT_EQ(kLastRemove + 4, FwVectorLength(&steps_.list()));
  EXPECT_EQ(std::vector<int>{}, RemovesOf("/n/0"));
  for (int i = 1; i < kMany; ++i) {
    if (i == 3 || i == 7) continue;
    SCOPED_TRACE(i);
    std::vector<int> removes = {2 * i - 1};
    if (i % 10 == 7) removes.push_back(kLastRemove);
    EXPECT_EQ(removes, RemovesOf(Numbered("/n/", i)));
  }
  // Inserted again, behind all removes.
  EXPECT_EQ((std::vector<int>{5, 5}), RemovesOf("/n/3"));
  EXPECT_EQ((std::vector<int>{13, kLastRemove, 13, kLastRemove}), RemovesOf("/n/7"));
  // In another spelling.
  EXPECT_EQ((std::vector<int>{15}), RemovesOf("/n//8"));
}

TEST_F(ManyOperations, ARemoveIsListedForEachElementThatItMatches) {
  for (int i = 0; i < kMany; ++i) {
    if (i == 5) continue;
    SCOPED_TRACE(i);
    std::vector<int> removes = {2 * i + 1};
    if (i < 10) removes.push_back(kLastRemove);
    EXPECT_EQ(removes, RemovesOf(Numbered("/e/", i)));
  }
  EXPECT_EQ((std::vector<int>{11, 11, kLastRemove, kLastRemove}), RemovesOf("/e/5"));
  EXPECT_EQ(nullptr, steps_.value("V", "/e/150"));
}

TEST_F(ManyOperations, ValuesAreAddedAsTheOperationsMeetThem) {
  FwHashTable* expected = make_names_table();
  const auto add = [&](const std::string& value) {
    FwHashAddEntry(expected, Fwt(value), nullptr, nullptr);
  };
  for (int i = 0; i < kMany; ++i) {
    add(Numbered("/n/", i));
    add(Numbered("/e/", i));
  }
  add("/n//8");
  EXPECT_EQ(Steps::Keys(expected), Steps::Keys(steps_.variable("V")->values));
  FwHashFreeTable(&expected);
}

// ---- Ancestors ----

// The products whose first varieties are in the table of a variety. What else is there is the
// variety itself.
Strings Ancestors(WH_VARIETY* variety, const Warehouse& w, const Strings& all,
                  Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  Strings found;
  FwHashTable* ancestors = variety->ancestors;
  if (ancestors == nullptr) return {"none"};
  bool itself = false;
  for (const std::string& name : all) {
    if (!FwHashLookupEntry(ancestors, w.variety(name), nullptr)) continue;
    found.push_back(name);
    if (w.variety(name) == variety) itself = true;
  }
  EXPECT_NE(nullptr, FwHashLookupEntry(ancestors, variety, nullptr));
  EXPECT_EQ(found.size() + (itself ? 0 : 1), ancestors->nUsedEntries);
  return found;
}

Strings Ancestors(const Warehouse& w, const std::string& product, const Strings& all,
                  Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  return Ancestors(w.variety(product), w, all);
}

void ApplyNothing(const Warehouse& w, const Strings& products) {
  Environment input;
  Environment output(w.Apply(products, input));
}

TEST(Ancestors, AreTheVarietyItselfAndAllThatIncludeIt) {
  Warehouse w;
  const Strings all = {"A", "B", "C", "D", "E"};
  w.Add("A", "", {"B", "C"});
  w.Add("B", "", {"D"});
  w.Add("C", "", {"D"});
  w.Add("D", "");
  w.Add("E", "", {"D"});
  ApplyNothing(w, {"A"});
  EXPECT_EQ(Strings{"A"}, Ancestors(w, "A", all));
  EXPECT_EQ((Strings{"A", "B"}), Ancestors(w, "B", all));
  EXPECT_EQ((Strings{"A", "C"}), Ancestors(w, "C", all));
  EXPECT_EQ((Strings{"A", "B", "C", "D"}), Ancestors(w, "D", all));
  EXPECT_EQ(Strings{"none"}, Ancestors(w, "E", all));
  ApplyNothing(w, {"E"});
  EXPECT_EQ(Strings{"E"}, Ancestors(w, "E", all));
  EXPECT_EQ(all, Ancestors(w, "D", all));
}

TEST(Ancestors, CirclesOfPartsComeToAnEnd) {
  Warehouse w;
  const Strings all = {"A", "B", "C"};
  w.Add("A", "", {"B"});
  w.Add("B", "", {"C", "B"});
  w.Add("C", "", {"A"});
  ApplyNothing(w, {"A"});
  for (const std::string& name : all)
    EXPECT_EQ(all, Ancestors(w, name, all)) << name;
}

TEST(Ancestors, AProductInACircleDoesNotOverrideItself) {
  Warehouse w;
  w.Add("A", Delete("V") + Insert("V", "v"), {"B"});
  w.Add("B", "", {"A"});
  w.Add("X", Delete("V"));
  Reports reports;
  EXPECT_EQ("v", w.Apply({"A", "X"}, Pairs{})["V"]);
  EXPECT_EQ(Strings{"*** Error:  value v is both inserted and removed in "
                    "environment variable V"},
            reports.lines());
}

TEST(Ancestors, AQueryThatFailsIsReportedEachTimeTheListIsGoneThrough) {
  // Collection visits D once. The search for ancestors goes to it when it learns of B with A, and
  // again when it learns of C.
  Warehouse w;
  w.Add("A", "", {"B", "C"});
  w.Add("B", "", {"D"});
  w.Add("C", "", {"D"});
  w.Add("D", "", {"%(NOPE)"});
  Reports reports;
  ApplyNothing(w, {"A"});
  EXPECT_EQ(Strings(3, "*** Error: % variable NOPE is not defined in File C/D/1/0/env.xml"),
            reports.lines());
  // What is known already does not lead there a second time.
  Reports second;
  ApplyNothing(w, {"A"});
  EXPECT_EQ(Strings(1, "*** Error: % variable NOPE is not defined in File C/D/1/0/env.xml"),
            second.lines());
}

// Behind a part that is missing, which is an answer as well, a query is asked no more often, also
// if only its expansion tells that it reads the environment.
TEST(Ancestors, AQueryOfTheEnvironmentThatFailsIsReportedAsOftenBehindAMissingPart) {
  for (const std::string name : {"%{NOPE}", "%(X)"}) {
    Warehouse w;
    w.index()->missing_is_silent = 1;
    w.Add("A", "", {"B", "C"});
    w.Add("B", "", {"D"});
    w.Add("C", "", {"D"});
    w.AddVarieties("D", "<VARIETY><VAR n='X' v='%{NOPE}'/><SEGMENT host='all' here='1'/></VARIETY>",
                   "");
    w.Write("D", "partlist.xml",
            "<PARTLIST><PARTSPEC><PATTERN/><PARTS><PRODUCT category='C' name='MISSING'><PATTERN/>"
            "</PRODUCT><PRODUCT category='C' name='" +
                name + "'><PATTERN/></PRODUCT></PARTS></PARTSPEC></PARTLIST>");
    Reports reports;
    ApplyNothing(w, {"A"});
    const Strings& lines = reports.lines();  // of the part that is missing, too
    EXPECT_EQ(3, std::count(lines.begin(), lines.end(),
                            "*** Error: % variable NOPE is not defined in File C/D/1/0/env.xml"))
        << name;
  }
}

// Parts that do not exist change nothing of who includes whom, whether they are looked for each
// time or are known to be missing.
TEST(Ancestors, AreTheSameWithPartsThatAreMissing) {
  std::mt19937 random(1);
  auto below = [&](size_t n) { return random() % n; };
  Strings all;
  for (int i = 0; i < 9; ++i)
    all.push_back("P" + std::to_string(i));
  for (int round = 0; round < 4; ++round) {
    Warehouse whole;
    Warehouse lacking;
    Warehouse silent;
    silent.index()->missing_is_silent = 1;
    for (size_t i = 0; i < all.size(); ++i) {
      // Parts behind the product, and now and then one before it, for circles.
      Strings parts;
      for (size_t j = 0; j < all.size(); ++j)
        if (below(j > i ? 3 : 25) == 0) parts.push_back(all[j]);
      whole.Add(all[i], "", parts);
      for (size_t n = below(3); n > 0; --n)
        parts.insert(parts.begin() + static_cast<ptrdiff_t>(below(parts.size() + 1)),
                     "NO" + std::to_string(below(4)));
      lacking.Add(all[i], "", parts);
      silent.Add(all[i], "", parts);
    }
    for (int call = 0; call < 3; ++call) {
      const Strings chosen = {all[below(4)], all[below(all.size())]};
      for (const Warehouse* w : {&whole, &lacking, &silent}) {
        Environment input;
        Environment output(w->Apply(chosen, input, 1, [](FwErrorState* err) {
          EXPECT_NE(0, is_ErrorNonExistent(err));
          FwErrorClear(err);
        }));
      }
      for (const std::string& name : all) {
        const Strings expected = Ancestors(whole, name, all);
        EXPECT_EQ(expected, Ancestors(lacking, name, all)) << round << " " << name;
        EXPECT_EQ(expected, Ancestors(silent, name, all)) << round << " " << name;
      }
    }
  }
}

TEST(Ancestors, TheBaseDirectoryIsBoundForTheTopProductOnly) {
  Warehouse w;
  w.Add("A", "", {"%(BASE-DIRECTORY)"});
  w.Write("A", "partlist.xml",
          "<PARTLIST><PARTSPEC><PATTERN/><PARTS><PRODUCT category='C' name='B'><PATTERN><MATCH>"
          "<VAR n='base' v='%(BASE-DIRECTORY)'/></MATCH></PATTERN></PRODUCT></PARTS></PARTSPEC>"
          "</PARTLIST>");
  w.AddVarieties("B", "<VARIETY><VAR n='base' v='**'/><SEGMENT host='all' here='1'/></VARIETY>",
                 Insert("V", "b"));
  w.Add("TOP", "", {"A"});
  Environment input;
  {
    Reports reports;
    Environment output(w.Apply({"A"}, input));
    EXPECT_EQ(Strings{}, reports.lines());
  }
  {
    Reports reports;
    Environment output(w.Apply({"TOP"}, input, 0));
    EXPECT_EQ(
        Strings{"*** Error: % variable BASE-DIRECTORY is not defined in File C/A/1/0/env.xml"},
        reports.lines());
  }
}

TEST(Ancestors, DifferWhereAProductIncludesOtherVarietiesAsAPart) {
  // Asked about its parts directly, A has the caller's BASE-DIRECTORY, and as a part its own.
  for (const bool top_first : {false, true}) {
    SCOPED_TRACE(top_first);
    Warehouse w;
    w.AddVarieties(
        "A", "<VARIETY><VAR n='BASE-DIRECTORY' v='own'/><SEGMENT host='all' here='1'/></VARIETY>",
        "");
    w.Write("A", "partlist.xml",
            "<PARTLIST><PARTSPEC><PATTERN/><PARTS><PRODUCT category='C' name='B'><PATTERN><MATCH>"
            "<VAR n='base' v='%(BASE-DIRECTORY)'/></MATCH></PATTERN></PRODUCT></PARTS></PARTSPEC>"
            "</PARTLIST>");
    w.AddVarieties("B",
                   "<VARIETY><VAR n='base' v='" + w.path() +
                       "'/><SEGMENT host='all' here='1'/></VARIETY>"
                       "<VARIETY><VAR n='base' v='own'/><SEGMENT host='all' here='1'/></VARIETY>",
                   "");
    w.Add("TOP", "", {"A"});
    Reports reports;
    ApplyNothing(w, top_first ? Strings{"TOP", "A"} : Strings{"A", "TOP"});
    EXPECT_EQ(Strings{}, reports.lines());
    const Strings all = {"A", "TOP"};
    EXPECT_EQ(all, Ancestors(w, "A", all));
    // What A has learnt by the time it is asked directly goes to the one, all of it to the other.
    EXPECT_EQ(top_first ? all : Strings{"A"}, Ancestors(w.variety("B"), w, all));
    EXPECT_EQ(all, Ancestors(w.variety("B", 1), w, all));
  }
}

TEST(Ancestors, OfALongChainRelateAsThoseOfAShortOne) {
  constexpr int kLength = 60;
  const int32 limit = std::exchange(ancestors_stored_in_full, 10);
  Warehouse w;
  for (int i = 0; i < kLength; ++i) {
    std::string next = "P" + std::to_string(i + 1);
    std::string ops;
    if (i == 0) ops = Remove("V", {"far"}) + Remove("V", {"near"});
    if (i == kLength - 2) ops = Remove("V", {"near"});
    if (i == kLength - 1) ops = Insert("V", "far") + Insert("V", "near") + Insert("V", "last");
    w.Add("P" + std::to_string(i), ops, i + 1 < kLength ? Strings{next} : Strings{});
  }
  w.Add("X", Remove("V", {"last"}));
  w.Add("Y", Remove("V", {"last"}), {"P" + std::to_string(kLength / 2)});
  Reports reports;
  EXPECT_EQ("last", w.Apply({"P0"}, Pairs{})["V"]);
  EXPECT_EQ(Strings{}, reports.lines());
  // A later call goes on from what the first one left.
  EXPECT_EQ("far", w.Apply({"Y"}, Pairs{})["V"]);
  EXPECT_EQ(Strings{}, reports.lines());
  EXPECT_EQ("", w.Apply({"P0", "Y"}, Pairs{})["V"]);
  EXPECT_EQ(Strings{}, reports.lines());
  w.Apply({"P0", "X"}, Pairs{});
  EXPECT_EQ(Strings{"*** Error:  value last is both inserted and removed in "
                    "environment variable V"},
            reports.lines());
  ancestors_stored_in_full = limit;
}

}  // namespace
