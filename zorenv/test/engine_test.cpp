// Whole runs through the engine: constraints, inclusion, conflicts, old recipes.
#include <gtest/gtest.h>

#include "tool.h"

namespace {

std::string Set(std::string_view name, std::string_view value) {
  const std::string n(name);
  return n + "='" + std::string(value) + "'; export " + n + "\n";
}

// A has B as a part; the input is PATH=/usr/bin:/bin. TOOLS hashes to slot 3, PATH to slot 42.
struct WorkedExample : Warehouse {
  WorkedExample(std::string_view a_constraint, std::string_view b_constraints) {
    ProductWithParts(InC("A"), Insert("PATH", "/opt/a/bin", a_constraint), Part("B"));
    Product(InC("B"), Insert("PATH", "/opt/b/bin", b_constraints) + Remove("PATH", "/bin") +
                          Insert("TOOLS", "x"));
  }
};

TEST(WorkedExample, TheIncluderBeforeAndThePartAfterIt) {
  WorkedExample warehouse(Before("/usr/bin"), After("/opt/a/bin"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}),
         Set("TOOLS", "x") + Set("PATH", "/opt/a/bin:/usr/bin:/opt/b/bin"), "", 0);
}

TEST(WorkedExample, TheIncluderAfterAnOldElement) {
  WorkedExample warehouse(After("/usr/bin"), After("/opt/a/bin"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}),
         Set("TOOLS", "x") + Set("PATH", "/usr/bin:/opt/a/bin:/opt/b/bin"), "", 0);
}

TEST(WorkedExample, ACycleIsReportedAndNoScriptIsPrinted) {
  WorkedExample warehouse(Before("/usr/bin"), After("/opt/a/bin") + Before("/opt/a/bin"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "",
         "*** Error:  value /opt/a/bin has cyclic constraints in environment variable PATH\n", 1);
}

TEST(Engine, NewElementsComeInTheOrderOfTheirSlots) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "b"));
  warehouse.Product(InC("B"), Insert("V", "a"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "-p", "C", "B", "--sh"}), Set("V", "a:b"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "B", "-p", "C", "A", "--sh"}), Set("V", "a:b"), "", 0);
}

TEST(Engine, AnOperationRebuildsItsVariable) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "a"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}, {"V=a::b", "W=x::y"}), Set("V", "a:b"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}, {"V=a:b:a"}), Set("V", "a:b"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}, {"V=a:b"}), "", "", 0);
}

TEST(Engine, AnIncluderRemovesWhatItsPartInserts) {
  Warehouse warehouse;
  warehouse.Product(InC("Part"), Insert("V", "v"));
  warehouse.ProductWithParts(InC("A"), Remove("V", "v"), Part("Part"));
  // Also where the value stands in the input already.
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), Set("V", ""), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}, {"V=v:w"}), Set("V", "w"), "", 0);
}

// A second hit of the part's insert takes the survivor in front of it along, none behind it.
TEST(Engine, ASecondHitTakesThePrecedingInsertAlong) {
  Warehouse warehouse;
  warehouse.Product(InC("X"), Insert("V", "v"));
  warehouse.Product(InC("Part"), Insert("V", "v"));
  warehouse.ProductWithParts(InC("A"), Remove("V", "v"), Part("Part"));
  Expect(Zorenv(warehouse, {"-p", "C", "X", "-p", "C", "A", "--sh"}, {"V=v"}), Set("V", ""), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "A", "-p", "C", "X", "--sh"}, {"V=v"}), "",
         "*** Error:  value v is both inserted and removed in environment variable V\n", 1);
}

TEST(Engine, AnIncluderThatInsertsWhatItsPartRemovesNeverEnds) {
  Warehouse warehouse;
  warehouse.Product(InC("Part"), Remove("V", "v"));
  warehouse.ProductWithParts(InC("A"), Insert("V", "v"), Part("Part"));
  RunOptions options;
  options.limit = std::chrono::seconds(2);
  const RunResult result = Zorenv({"-r", warehouse.Root(), "-p", "C", "A", "--sh"}, options);
  EXPECT_TRUE(result.timed_out);
  EXPECT_EQ("", result.out);
  EXPECT_EQ("", result.err);
}

TEST(Engine, UnrelatedProductsClash) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "v"));
  warehouse.Product(InC("B"), Remove("V", "v"));
  const std::string clash =
      "*** Error:  value v is both inserted and removed in environment variable V\n";
  Expect(Zorenv(warehouse, {"-p", "C", "A", "-p", "C", "B", "--sh"}), "", clash, 1);
  // A later group overrides.
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--and", "-p", "C", "B", "--sh"}), Set("V", ""), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "B", "--and", "-p", "C", "A", "--sh"}), Set("V", "v"), "",
         0);
}

TEST(Engine, RemovingFromAnUnsetVariableSetsItEmpty) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Remove("FOO", "x"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), Set("FOO", ""), "", 0);
}

TEST(Engine, DeletingAnUnsetVariableDoesNothing) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Delete("FOO"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "", "", 0);
}

TEST(Engine, MixedSeparatorsAreReported) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "a", "", "sep=\";\""));
  warehouse.Product(InC("B"), Insert("V", "b", "", "sep=\",\""));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "-p", "C", "B", "--sh"}), "",
         "*** Error:  inconsistent separators for environment variable V\n", 1);
}

TEST(Engine, AVarietyWithoutAPresentSegmentIsSkippedWithoutAWord) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "v"));
  for (const char* variety : {"<VARIETY/>", "<VARIETY><SEGMENT here=\"yes\"/></VARIETY>",
                              "<VARIETY><SEGMENT here=\"1\"/><SEGMENT/></VARIETY>"}) {
    SCOPED_TRACE(variety);
    warehouse.File(InC("A"), "product.xml", ProductXml(variety));
    Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "", "", 0);
  }
}

TEST(OldRecipes, ActOnlyWithoutSettings) {
  Warehouse warehouse;
  warehouse.Product(InC("A"));
  const std::string setup = RecipeXml(R"(<SETENV name="V" value="old"/>)");
  warehouse.File(InC("A"), "setup.xml", setup);
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), Set("V", "old"), "", 0);
  warehouse.Undo(InC("A"), Delete("W"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "", "", 0);
  warehouse.File(InC("A"), "env.xml", EnvXml(Insert("V", "new")));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), Set("V", "new"), "", 0);
}

TEST(OldRecipes, AreReplayedInOrder) {
  Warehouse warehouse;
  warehouse.Product(InC("A"));
  warehouse.File(InC("A"), "setup.xml",
                 RecipeXml(R"(<SETENV op="append" name="V" value="b"/>)"
                           R"(<SETENV op="prepend" name="V" value="c"/>)"
                           R"(<SETENV op="APPEND" name="V" value="a"/>)"
                           R"(<SETENV op="unappend" name="W" value="x"/>)"
                           R"(<SETENV op="unprepend" name="U" value="x"/>)"
                           R"(<SETENV op="delete" name="D"/>)"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}, {"V=a:b:b:d", "U=y:x:z", "D=1"}),
         Set("U", "y:z") + Set("V", "c:d:b:a") + Set("W", "") + "unset D ;\n", "", 0);
}

// A malformed part is met by three walks, and each of its loads is told twice.
TEST(Reports, AMalformedPartIsReportedSixTimes) {
  Warehouse warehouse;
  warehouse.ProductWithParts(InC("A"), "", Part("Bad"));
  warehouse.Product(InC("Bad"));
  warehouse.File(InC("Bad"), "env.xml", "<ENV-SETTINGS>");
  const std::string line =
      "*** no element found in File " + warehouse.Root() + "/C/Bad/1.0/1/env.xml\n";
  std::string six;
  for (int i = 0; i < 6; ++i)
    six += line;
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "", six, 1);
}

TEST(Reports, AnUndefinedNameInAPartIsReportedThreeTimes) {
  Warehouse warehouse;
  warehouse.ProductWithParts(InC("A"), "", Part("%(NOPE)"));
  const std::string line = "*** Error: % variable NOPE is not defined in File C/A/1.0/1/env.xml\n";
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "", line + line + line, 1);
}

TEST(Reports, AnUndefinedNameInAnOperationIsReportedOnce) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "%(NOPE)") + Insert("W", "w"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "",
         "*** Error: % variable NOPE is not defined in File C/A/1.0/1/env.xml\n", 1);
}

TEST(Reports, AMissingPartIsNotReported) {
  Warehouse warehouse;
  warehouse.ProductWithParts(InC("A"), Insert("V", "v"), Part("None"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), Set("V", "v"), "", 0);
}

}  // namespace
