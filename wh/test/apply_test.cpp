// The whole engine: from an input environment and chosen products to the output environment.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "engine_support.h"
#include "environ/apply.h"
#include "environ/dump.h"
#include "environ/generate.h"
#include "environ/list.h"
#include "environ/names_table.h"
#include "recorder.h"

namespace {

using Strings = std::vector<std::string>;
using Map = std::map<std::string, std::string>;

std::string Clash(const std::string& value, const std::string& variable) {
  return "*** Error:  value " + value + " is both inserted and removed in environment variable " +
         variable;
}

std::string Cycle(const std::string& value, const std::string& variable) {
  return "*** Error:  value " + value + " has cyclic constraints in environment variable " +
         variable;
}

// A warehouse with the products A, whose part is B, and X, for each test's own operations.
struct Products {
  std::string a;
  std::string b;
  std::string x;
};

// The output for one query of the products named, and what was reported.
struct Outcome {
  Map env;
  Strings reports;
};

Outcome Compute(const Products& products, const Strings& chosen, const Pairs& input) {
  Warehouse w;
  w.Add("A", products.a, {"B"});
  w.Add("B", products.b);
  w.Add("X", products.x);
  Reports reports;
  Map env = w.Apply(chosen, input);
  return {env, reports.lines()};
}

// The output of one product with these operations.
Map One(const std::string& ops, const Pairs& input) {
  Outcome outcome = Compute({"", "", ops}, {"X"}, input);
  EXPECT_EQ(Strings{}, outcome.reports);
  return outcome.env;
}

std::string OneVariable(const std::string& ops, const std::string& value) {
  return One(ops, {{"V", value}})["V"];
}

// ---- The worked example and its variants ----

Products Example(const std::string& a_constraint, const std::string& b_constraint) {
  return {
      Insert("PATH", "/opt/a/bin", a_constraint),
      Insert("PATH", "/opt/b/bin", b_constraint) + Remove("PATH", {"/bin"}) + Insert("TOOLS", "x"),
      ""};
}

TEST(Apply, WorkedExample) {
  Outcome outcome =
      Compute(Example(Before("/usr/bin"), After("/opt/a/bin")), {"A"}, {{"PATH", "/usr/bin:/bin"}});
  EXPECT_EQ((Map{{"PATH", "/opt/a/bin:/usr/bin:/opt/b/bin"}, {"TOOLS", "x"}}), outcome.env);
  EXPECT_EQ(Strings{}, outcome.reports);
}

TEST(Apply, WorkedExampleWithTheInsertAfterTheOldElement) {
  Outcome outcome =
      Compute(Example(After("/usr/bin"), After("/opt/a/bin")), {"A"}, {{"PATH", "/usr/bin:/bin"}});
  EXPECT_EQ((Map{{"PATH", "/usr/bin:/opt/a/bin:/opt/b/bin"}, {"TOOLS", "x"}}), outcome.env);
  EXPECT_EQ(Strings{}, outcome.reports);
}

TEST(Apply, WorkedExampleWithACycle) {
  Outcome outcome = Compute(Example(Before("/usr/bin"), Before("/opt/a/bin") + After("/opt/a/bin")),
                            {"A"}, {{"PATH", "/usr/bin:/bin"}});
  EXPECT_EQ((Map{{"TOOLS", "x"}}), outcome.env);
  // /usr/bin waits for /opt/a/bin, that for /opt/b/bin, and that for /opt/a/bin again.
  EXPECT_EQ(Strings{Cycle("/opt/a/bin", "PATH")}, outcome.reports);
}

// ---- Elements ----

TEST(Apply, WithoutOperationsTheInputIsCopiedEntryByEntry) {
  Pairs input;
  for (int i = 0; i < 70; ++i)
    input.emplace_back("N" + std::to_string(i), "a::b:a:");
  Warehouse w;
  w.Add("X", "");
  Environment before(input);
  Environment after(w.Apply({"X"}, before));
  EXPECT_EQ(Environment(dup_environ(before)).list(), after.list());
  EXPECT_EQ(before.map(), after.map());
  Environment none(w.Apply({}, before));
  EXPECT_EQ(before.map(), none.map());
}

TEST(Apply, AVariableThatNoOperationTouchesStaysAsItIs) {
  EXPECT_EQ((Map{{"OTHER", "x"}, {"V", "a::b:a:"}}), One(Insert("OTHER", "x"), {{"V", "a::b:a:"}}));
}

TEST(Apply, AnInsertOfAnElementThatIsThereChangesNothing) {
  EXPECT_EQ("a:b:c", OneVariable(Insert("V", "b"), "a:b:c"));
}

TEST(Apply, EmptyAndRepeatedElementsGoFromAVariableThatIsTouched) {
  EXPECT_EQ("a:b", OneVariable(Remove("V", {"none"}), "a::b"));
  EXPECT_EQ("a:b", OneVariable(Remove("V", {"none"}), "a:b:a"));
  EXPECT_EQ("a", OneVariable(Remove("V", {"none"}), ":a:"));
  EXPECT_EQ("", OneVariable(Remove("V", {"none"}), ":::"));
}

TEST(Apply, NewElementsComeLastInSlotOrder) {
  EXPECT_EQ("a:b", OneVariable(Insert("V", "b") + Insert("V", "a"), ""));
  EXPECT_EQ("z:a:b", OneVariable(Insert("V", "b") + Insert("V", "a"), "z"));
}

TEST(Apply, ManyNewElementsComeInTheOrderOfTheirSlots) {
  // Slots of "x0".."x9": hash 0x780 + digit (0x30..), 1968..1977, modulo 31: 15..24; the letters
  // below are 97 % 31 = 4 and 98 % 31 = 5.
  std::string ops;
  for (const char* value : {"x5", "b", "x0", "a", "x9"})
    ops += Insert("V", value);
  EXPECT_EQ("a:b:x0:x5:x9", OneVariable(ops, ""));
}

TEST(Apply, AValueThatHoldsTheSeparatorIsOneElementUntilTheNextRun) {
  Warehouse w;
  w.Add("X", Insert("V", "x:y"));
  w.Add("Y", Insert("V", "y", Before("x")));
  EXPECT_EQ("a:x:y", w.Apply({"X"}, {{"V", "a"}})["V"]);
  EXPECT_EQ("a:x:y:y", w.Apply({"X", "Y"}, {{"V", "a"}})["V"]);
  EXPECT_EQ("a:y:x", w.Apply({"Y"}, {{"V", "a:x:y"}})["V"]);
}

TEST(Apply, TheSeparatorJoinsAndSplits) {
  std::string ops = Insert("V", "b", "", ";") + Insert("V", "c");
  EXPECT_EQ((Map{{"V", "b;c"}}), One(ops, {}));
  EXPECT_EQ("z:y;x;b;c", OneVariable(ops, "z:y;x"));
  EXPECT_EQ(
      "x\xC3\xA9y\xC3\xA9"
      "b",
      OneVariable(Insert("V", "b", "", "\xC3\xA9"), "x\xC3\xA9y"));
}

TEST(Apply, AnEmptyElementSetsNoSeparatorBeforeTheNext) {
  // The slot of the empty string is 0, so it comes first of the new ones.
  EXPECT_EQ("a", OneVariable(Insert("V", "") + Insert("V", "a"), ""));
  EXPECT_EQ("a:", OneVariable(Insert("V", "", After("a")) + Insert("V", "a"), ""));
}

// ---- Removes and deletes ----

TEST(Apply, ADeleteOfAnAbsentVariableGivesNoEntry) {
  EXPECT_EQ(Map{}, One(Delete("V"), {}));
}

TEST(Apply, ADeleteTakesTheVariableAway) {
  EXPECT_EQ((Map{{"W", "w"}}), One(Delete("V"), {{"V", "a:/b"}, {"W", "w"}}));
  EXPECT_EQ(Map{}, One(Delete("V"), {{"V", ""}}));
}

TEST(Apply, ARemoveOfTheOnlyElementLeavesAnEmptyValue) {
  EXPECT_EQ((Map{{"V", ""}}), One(Remove("V", {"a"}), {{"V", "a"}}));
}

TEST(Apply, ARemoveOfAnAbsentVariableSetsItToTheEmptyString) {
  EXPECT_EQ((Map{{"FOO", ""}}), One(Remove("FOO", {"a"}), {}));
}

TEST(Apply, APatternAsNameCreatesNoVariable) {
  EXPECT_EQ(Map{}, One(Insert("FOO*", "a"), {}));
  EXPECT_EQ(Map{}, One(Delete("F*") + Remove("FOO", {"x"}), {}));
}

TEST(Apply, RemovesMatchByPattern) {
  EXPECT_EQ("/usr/opt:x", OneVariable(Remove("V", {"/opt/**"}), "/opt/a:/usr/opt:/opt:x"));
  EXPECT_EQ("b", OneVariable(Remove("V", {"/usr//bin/"}), "/usr/bin:/usr/bin/:b"));
}

TEST(Apply, ADeleteAndAnInsertOfTheSameVarietyKeepTheValue) {
  EXPECT_EQ("new", OneVariable(Delete("V") + Insert("V", "new"), "old:older"));
  EXPECT_EQ("new", OneVariable(Insert("V", "new") + Delete("V"), "old:new"));
}

TEST(Apply, ADeleteTakesAwayWhatAPartInserts) {
  Outcome outcome = Compute({Delete("V"), Insert("V", "b"), ""}, {"A"}, {{"V", "old"}});
  EXPECT_EQ(Map{}, outcome.env);
  EXPECT_EQ(Strings{}, outcome.reports);
}

TEST(Apply, ARemoveTakesAwayWhatAPartInsertsAlsoIfItIsInTheInput) {
  Products products = {Remove("V", {"v"}), Insert("V", "v"), Insert("V", "v")};
  Outcome absent = Compute(products, {"A"}, {{"V", "w"}});
  EXPECT_EQ("w", absent.env["V"]);
  EXPECT_EQ(Strings{}, absent.reports);
  Outcome present = Compute(products, {"A"}, {{"V", "v:w"}});
  EXPECT_EQ("w", present.env["V"]);
  EXPECT_EQ(Strings{}, present.reports);
}

TEST(Apply, WithAnUnrelatedInsertTheOrderOfTheProductsDecides) {
  // The remove is listed twice, for B's insert and for the input (or X's insert). At its second
  // turn it takes out the insert in front of B's.
  Products products = {Remove("V", {"v"}), Insert("V", "v"), Insert("V", "v")};
  Outcome first = Compute(products, {"X", "A"}, {{"V", "v"}});
  EXPECT_EQ("", first.env["V"]);
  EXPECT_EQ(Strings{}, first.reports);
  Outcome last = Compute(products, {"A", "X"}, {{"V", "v"}});
  EXPECT_EQ("v", last.env["V"]);
  EXPECT_EQ(Strings{Clash("v", "V")}, last.reports);
}

TEST(Apply, UnrelatedProductsThatDisagreeClashAndTheElementIsNew) {
  Warehouse w;
  w.Add("X", Insert("V", "b"));
  w.Add("Y", Remove("V", {"b"}));
  Reports reports;
  EXPECT_EQ("c:b", w.Apply({"X", "Y"}, {{"V", "b:c"}})["V"]);
  EXPECT_EQ(Strings{Clash("b", "V")}, reports.lines());
}

// ---- Constraints ----

TEST(Apply, NewElementsComeRightBeforeTheOneTheyMustPrecede) {
  EXPECT_EQ("a:b:n:c:d", OneVariable(Insert("V", "n", Before("c")), "a:b:c:d"));
  EXPECT_EQ("a:n:b:c:d", OneVariable(Insert("V", "n", Before("b") + Before("d")), "a:b:c:d"));
  EXPECT_EQ("a:b:c:d:n", OneVariable(Insert("V", "n", After("b")), "a:b:c:d"));
  EXPECT_EQ("a:b:n:c:d", OneVariable(Insert("V", "n", After("b") + Before("c")), "a:b:c:d"));
}

TEST(Apply, OldElementsMoveOnlyWhereAConstraintDisagrees) {
  EXPECT_EQ("c:a:b:d", OneVariable(Insert("V", "a", After("c")), "a:b:c:d"));
  EXPECT_EQ("a:d:b:c", OneVariable(Insert("V", "d", Before("b")), "a:b:c:d"));
  EXPECT_EQ("a:b:c", OneVariable(Insert("V", "b", Before("none") + After("a")), "a:b:c"));
}

TEST(Apply, PredecessorsAreGoneThroughInTheOrderOfTheConstraints) {
  EXPECT_EQ("c:a:n:x:b",
            OneVariable(Insert("V", "n", After("c") + After("a") + Before("x")), "x:a:b:c"));
}

TEST(Apply, AConstraintThatMatchesItselfIsIgnored) {
  EXPECT_EQ("n:a:b", OneVariable(Insert("V", "n", Before("**")), "a:b"));
  EXPECT_EQ("b:a", OneVariable(Insert("V", "b", Before("**")), "a:b"));
  EXPECT_EQ("b:a", OneVariable(Insert("V", "a", After("**")), "a:b"));
}

TEST(Apply, TwoInsertsBeforeEverythingAreACycle) {
  Warehouse w;
  w.Add("X", Insert("V", "x", Before("**")));
  w.Add("Y", Insert("V", "y", Before("**")));
  Reports reports;
  EXPECT_EQ((Map{{"W", "w"}}), w.Apply({"X", "Y"}, {{"V", "a"}, {"W", "w"}}));
  EXPECT_EQ(1U, reports.lines().size());
  // a waits for x and y in slot order (0x78 % 31 = 27, 0x79 % 31 = 28); x waits for y and y for x.
  EXPECT_EQ(Strings{Cycle("x", "V")}, reports.lines());
}

TEST(Apply, OfSeveralCyclesInAVariableTheLastMetIsReported) {
  std::string ops = Insert("V", "a", Before("b")) + Insert("V", "b", Before("a")) +
                    Insert("V", "c", Before("d")) + Insert("V", "d", Before("c"));
  Outcome outcome = Compute({"", "", ops}, {"X"}, {{"V", "a:c"}});
  EXPECT_EQ(Map{}, outcome.env);
  EXPECT_EQ(Strings{Cycle("c", "V")}, outcome.reports);
}

TEST(Apply, ACycleInOneVariableLeavesTheOthers) {
  std::string ops = Insert("V", "a", Before("b")) + Insert("V", "b", Before("a")) +
                    Insert("A", "x") + Insert("Z", "x");
  Outcome outcome = Compute({"", "", ops}, {"X"}, {});
  EXPECT_EQ((Map{{"A", "x"}, {"Z", "x"}}), outcome.env);
  EXPECT_EQ(Strings{Cycle("a", "V")}, outcome.reports);
}

TEST(Apply, WithoutAnErrorFunctionACycleDropsAllLaterVariables) {
  // Slots of 31: V 86 -> 24, A 65 -> 3, Z 90 -> 28.
  Warehouse w;
  w.Add("X", Insert("V", "a", Before("b")) + Insert("V", "b", Before("a")) + Insert("A", "x") +
                 Insert("Z", "x"));
  Environment input(Pairs{{"U", "u"}});
  Environment output(w.Apply({"X"}, input, 1, nullptr));
  EXPECT_EQ((Map{{"A", "x"}, {"U", "u"}}), output.map());
}

TEST(Apply, TheInsertOfTheIncludingProductHasItsConstraintsAlone) {
  Outcome outcome = Compute({Insert("V", "n", After("b")), Insert("V", "n", Before("a")), ""},
                            {"A"}, {{"V", "a:b:c"}});
  EXPECT_EQ("a:b:c:n", outcome.env["V"]);
  EXPECT_EQ(Strings{}, outcome.reports);
}

TEST(Apply, UnrelatedInsertsOfOneValueBothKeepTheirConstraints) {
  Warehouse w;
  w.Add("X", Insert("V", "n", Before("c")));
  w.Add("Y", Insert("V", "n", After("b")));
  EXPECT_EQ("a:b:n:c", w.Apply({"X", "Y"}, {{"V", "a:b:c"}})["V"]);
  EXPECT_EQ("a:b:n:c", w.Apply({"Y", "X"}, {{"V", "a:b:c"}})["V"]);
}

TEST(Apply, ConstraintsSeeValuesThatArriveLater) {
  Warehouse w;
  w.Add("X", Insert("V", "b", Before("a")));
  w.Add("Y", Insert("V", "a"));
  EXPECT_EQ("b:a", w.Apply({"X", "Y"}, Pairs{})["V"]);
  EXPECT_EQ("b:a", w.Apply({"Y", "X"}, Pairs{})["V"]);
}

TEST(Apply, ConstraintsOnElementsThatAreRemovedHaveNoEffect) {
  EXPECT_EQ("a:c:n", OneVariable(Remove("V", {"b"}) + Insert("V", "n", Before("b")), "a:b:c"));
}

// ---- Files and groups ----

TEST(Apply, UndoAppliesTheOtherFileOnly) {
  Warehouse w;
  w.Add("X", Insert("V", "set"));
  w.Write("X", "unenv.xml", Warehouse::Settings(Remove("V", {"set"}) + Remove("W", {"%(NOPE)"})));
  w.Add("Y", Insert("V", "set"));
  Reports reports;
  EXPECT_EQ("a", w.Apply({"X"}, {{"V", "a:set"}}, 0)["V"]);
  EXPECT_EQ(Strings{"*** Error: % variable NOPE is not defined in File C/X/1/0/unenv.xml"},
            reports.lines());
  // No inverse is derived.
  EXPECT_EQ("a:set", w.Apply({"Y"}, {{"V", "a:set"}}, 0)["V"]);
}

TEST(Apply, TheInputIsNotChanged) {
  Warehouse w;
  w.Add("X", Delete("V") + Insert("W", "x"));
  Environment input(Pairs{{"V", "a"}});
  Environment output(w.Apply({"X"}, input));
  EXPECT_EQ((Map{{"V", "a"}}), input.map());
  EXPECT_EQ((Map{{"W", "x"}}), output.map());
}

TEST(Apply, ALaterGroupOverridesAnEarlierOne) {
  Warehouse w;
  w.Add("X", Insert("V", "b"));
  w.Add("Y", Remove("V", {"b"}));
  Reports reports;
  Environment input;
  Environment middle(w.Apply({"X"}, input));
  Environment output(w.Apply({"Y"}, middle));
  EXPECT_EQ((Map{{"V", ""}}), output.map());
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(Apply, TheOutputIsFilledInTheOrderOfSlots) {
  // First the variables that no operation touches, in the input's order, then the others; each add
  // may grow the table first.
  for (int count : {62, 63, 64, 65, 128, 129}) {
    Warehouse w;
    w.Add("X", Insert("AN", "x") + Insert("NEW", "y"));
    Pairs variables = {{"AN", "1"}};
    for (int i = 0; i < count; ++i)
      variables.emplace_back("VAR" + std::to_string(i * 31), "v");
    Environment input(variables);
    Environment expected;
    for (auto& [name, value] : input.list())
      if (name != "AN") wh_set_ev(expected, Fwt(name), Fwt(value));
    // Slots of 31: AN 0x45e % 31 = 2, NEW 0x53a7 % 31 = 20.
    wh_set_ev(expected, FWT("AN"), FWT("1:x"));
    wh_set_ev(expected, FWT("NEW"), FWT("y"));
    Environment output(w.Apply({"X"}, input));
    EXPECT_EQ(expected.list(), output.list()) << count;
  }
}

// Each group's environment hands its variables on to the next group's.
TEST(Apply, GroupsInPlaceGiveWhatEachGivesByItself) {
  Warehouse w;
  for (int i = 0; i < 12; ++i) {
    const std::string n = std::to_string(i);
    w.Add("P" + n, Insert("OWN" + n, "x") + Insert("LIST", n) + Delete("VAR" + n) +
                       Remove("VAR1" + n, {"v"}) + Insert("NEXT" + std::to_string(i % 5), n));
  }
  std::mt19937 random(1);
  for (const int count : {0, 62, 63, 130}) {
    Pairs variables;
    for (int i = 0; i < count; ++i)
      variables.emplace_back("VAR" + std::to_string(i * 7), "v");
    Environment start(variables);
    WH_ENVIRON* in_place = dup_environ(start);
    WH_ENVIRON* expected = dup_environ(start);
    for (int group = 0; group < 8; ++group) {
      Strings products;
      for (size_t n = random() % 4; n > 0; --n)
        products.push_back("P" + std::to_string(random() % 12));
      WH_PRODUCT_SPEC_LIST* specs = w.Query(products);
      Reports reports;
      WH_ENVIRON* next =
          wh_apply_env(w.index(), expected, Fwt(w.path()), specs, Reports::Collect, 1);
      free_environ(&expected);
      expected = next;
      const Strings reported = reports.lines();
      Reports again;
      wh_change_env(w.index(), &in_place, Fwt(w.path()), specs, Reports::Collect, 1);
      EXPECT_EQ(reported, again.lines());
      free_speclist(&specs);
    }
    EXPECT_EQ(Environment(expected).list(), Environment(in_place).list()) << count;
  }
}

// ---- Malformed and large input ----

TEST(Apply, MalformedBytesPassUnchanged) {
  Warehouse w;
  w.Add("X", Insert("V", "n"));
  for (const char* value : {"caf\xE9", "\x80", "a:caf\xE9:b", "\xFF\xFE:x", "x:\xC3"}) {
    CollectReports reports;
    EXPECT_EQ(std::string(value) + ":n", w.Apply({"X"}, {{"V", value}})["V"]) << value;
  }
}

TEST(Apply, AMegabyteOfElementsTakesLittleTime) {
  std::string value;
  std::string kept;
  for (int i = 0; i < 20000; ++i) {
    std::string element = "/opt/package-" + std::to_string(i) + "/1.0/some/where/deep/below/bin";
    value += (i ? ":" : "") + element;
    if (i >= 1000) kept += ":" + element;
  }
  std::string ops;
  for (int i = 0; i < 1000; ++i)
    ops += Remove("V", {"/opt/package-" + std::to_string(i) + "/1.0/some/where/deep/below/bin"});
  std::string inserted = "first";
  for (int i = 0; i < 1000; ++i) {
    std::string element =
        "/opt/package-" + std::to_string(19999 - i) + "/1.0/some/where/deep/below/bin";
    ops += Insert("V", "new" + std::to_string(i), Before(element) + After("first"));
  }
  ops += Insert("V", "first", Before("**"));
  auto start = std::chrono::steady_clock::now();
  std::string result = OneVariable(ops, value);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_TRUE(result.starts_with("first:/opt/package-1000/"));
  EXPECT_TRUE(result.ends_with(":new0:/opt/package-19999/1.0/some/where/deep/below/bin"));
  EXPECT_EQ(20000, std::count(result.begin(), result.end(), ':'));
}

TEST(Apply, AChainOfConstraintsMayBeAsLongAsTheValue) {
  std::string ops;
  std::string expected;
  constexpr int kLength = 20000;
  for (int i = 0; i < kLength; ++i) {
    ops += Insert("V", "e" + std::to_string(i), Before("e" + std::to_string(i + 1)));
    expected += (i ? ":e" : "e") + std::to_string(i);
  }
  // The old element waits for the last of the chain, and that for all others.
  EXPECT_EQ(expected + ":e" + std::to_string(kLength),
            OneVariable(ops, "e" + std::to_string(kLength)));
}

// ---- The sort by itself ----

class Sorting {
 public:
  Sorting() : var_ops_(make_var_ops()) { var_ops_->sep = ':'; }
  ~Sorting() {
    FwHashTable* variables = make_names_table();
    FwHashAddEntry(variables, FWT("V"), var_ops_, nullptr);
    free_variables(&variables);
  }
  Sorting(const Sorting&) = delete;
  Sorting& operator=(const Sorting&) = delete;

  NODE* node(const char* value) { return get_node(var_ops_, FWT(value)); }
  void Before(const char* first, const char* then) {
    add_to_list(&node(then)->pred, node(first), 8);
  }
  std::string Sort(const char* value, FwErrorState* err) {
    sort_node(node(value), FWT("V"), var_ops_, err);
    return Str(var_ops_->result.pbz);
  }
  VAR_OPS* var_ops() { return var_ops_; }

 private:
  VAR_OPS* var_ops_;
};

TEST(SortNode, EmitsPredecessorsFirstAndEachNodeOnce) {
  Sorting s;
  Error err;
  s.Before("b", "a");
  s.Before("c", "a");
  s.Before("c", "b");
  s.Before("c", "b");
  EXPECT_EQ("c:b:a", s.Sort("a", &err));
  EXPECT_EQ("c:b:a", s.Sort("b", &err));
  EXPECT_EQ("c:b:a:d", s.Sort("d", &err));
  EXPECT_EQ("", err.text());
}

TEST(SortNode, ACycleNamesTheNodeThatIsMetAgain) {
  Sorting s;
  Error err;
  s.Before("b", "a");
  s.Before("c", "b");
  s.Before("a", "c");
  s.Before("b", "c");
  // From a to b to c; c meets a first, then b: the last one stays.
  EXPECT_EQ("c:b:a", s.Sort("a", &err));
  EXPECT_EQ(Cycle("b", "V"), err.text());
  EXPECT_EQ(whErrorEnvCycle, err.pError);
}

TEST(SortNode, AnUnknownStateAsserts) {
  Sorting s;
  Error err;
  s.node("a")->state = 7;
  ExpectAsserts expected({"bad case in sort_node"});
  EXPECT_EQ("", s.Sort("a", &err));
}

TEST(SortNode, FindsNodesOnlyWhereTheyAre) {
  Sorting s;
  EXPECT_EQ(nullptr, find_node(s.var_ops(), FWT("a")));
  NODE* a = s.node("a");
  EXPECT_EQ(a, find_node(s.var_ops(), FWT("a")));
  EXPECT_EQ(a, s.node("a"));
  EXPECT_EQ(st_new, a->state);
}

// ---- Diagnostics ----

std::string Hex(const void* p) {
  char text[32];
  std::snprintf(text, sizeof text, "%lx",
                static_cast<unsigned long>(reinterpret_cast<uintptr_t>(p)));
  return text;
}

TEST(Dump, PrintsAVariableWithItsValuesAndRemoves) {
  Variety variety = {{"platform", "unix"}, {"mode", "fast"}};
  auto* ins = FwMemNew<WH_ENV_OP>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  ins->type = wh_env_insert;
  ins->name = FwStrDuplicate(FWT("V"));
  ins->u.ins = FwMemNew<WH_ENV_INSERT>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  ins->u.ins->value = FwStrDuplicate(FWT("x"));
  FwVectorOpen(&ins->u.ins->before, 4);
  FwVectorOpen(&ins->u.ins->after, 4);
  auto* rem = FwMemNew<WH_ENV_OP>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  rem->type = wh_env_remove;
  rem->name = FwStrDuplicate(FWT("V"));
  rem->u.rem = FwMemNew<WH_ENV_REMOVE>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  FwVectorOpen(&rem->u.rem->values, 4);
  FwVectorAddElement(&rem->u.rem->values, FwStrDuplicate(FWT("x")));
  FwVectorAddElement(&rem->u.rem->values, FwStrDuplicate(FWT("y*")));
  EXPANDED_OP* ins_op = make_expanded_op(ins, &variety, 0);
  EXPANDED_OP* rem_op = make_expanded_op(rem, &variety, 0);

  Environment input;
  FwHashTable* variables = make_names_table();
  add_op_to_variable(ins_op, FWT("V"), variables, input, nullptr);
  add_op_to_variable(rem_op, FWT("V"), variables, input, nullptr);
  VAL_OPS* val_ops = get_val_ops(get_var_ops(variables, FWT("V")), FWT("x"));

  testing::internal::CaptureStdout();
  EXPECT_EQ(1, FwHashEnumerateEntries(variables, dumpinst, nullptr, nullptr));
  EXPECT_EQ(
      "\nV\n"
      "   print_val_ops x (" +
          Hex(val_ops) +
          ")\n"
          "      rem " +
          Hex(rem_op) + ", variety " + Hex(&variety) +
          "\n"
          "      ins " +
          Hex(ins_op) + ", variety " + Hex(&variety) +
          "\n"
          "   insert\n      ......tbd\n"
          "   remove\n"
          "      REMOVE elements from rempat " +
          Hex(rem_op) + ", op " + Hex(rem) + ", variety " + Hex(&variety) +
          ": platform=unix, mode=fast\n"
          "          V: x\n"
          "          V: y*\n"
          "   delete: 0\n",
      testing::internal::GetCapturedStdout());
  free_variables(&variables);
  free_expanded_op(&ins_op);
  free_expanded_op(&rem_op);
  EXPECT_EQ(nullptr, ins_op);
}

}  // namespace
