// The command line: how options are read, and how a run ends before any product is looked for.
#include <gtest/gtest.h>

#include "tool.h"

namespace {

using Arguments = std::vector<std::string>;

// Tells by its value which product was taken.
std::string Tag(std::string_view text) {
  return Insert("TAG", text);
}
std::string Tagged(std::string_view text) {
  return "TAG='" + std::string(text) + "'; export TAG\n";
}

TEST(CommandLine, BadUsagePrintsTheTextOnStandardOutput) {
  const Arguments lines[] = {
      {},
      {"-r", "x"},
      {"-r"},
      {"-p"},
      {"-"},
      {"--"},
      {"-p", "C", "--", "x"},
      {"-p", "C", "--sys"},
      {"-p", "C", "--shx"},
      {"-p", "C", "--and=x"},
      {"-p", "C", "-x"},
      {"-p", "C", "-R", "x"},
      {"-p", "C", "-v", "name"},
      {"-p", "C", "-v"},
      {"-v", "name", "value", "-p", "C"},
      {"-p", "C", "--exec"},
      {"-p", "C", "-X"},
      {"--exec", "true"},
      {"-p", "C", "1.8", "5", "6"},
      {"-p", "C", "+", "+", "5"},
      {"-p", "C", "a", "1", "2", "3"},
      {"-p", "C", "--sh", "extra"},
      {"-p", "C", "--sh", ""},
      {"extra", "-p", "C"},
  };
  for (const Arguments& arguments : lines) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    Expect(Zorenv(arguments, {}), Usage("zorenv"), "", 1);
  }
}

TEST(CommandLine, TheUsageTextNamesTheProgramAsItWasStarted) {
  RunOptions options;
  options.argv0 = "a %s b";
  Expect(Zorenv({}, options), Usage("a %s b"), "", 1);
  options.argv0 = "";
  Expect(Zorenv({}, options), Usage(""), "", 1);
}

TEST(CommandLine, TwoOutputModesExcludeEachOther) {
  const std::string text = "only one of --bat, --sh, --csh, --posh, --exec is allowed\n";
  const Arguments lines[] = {
      {"-p", "A", "--sh", "--csh"},
      {"-p", "A", "--bat", "--posh"},
      {"--sh", "-p", "A", "--posh"},
      {"-p", "A", "--sh", "--exec", "true"},
      {"-p", "A", "--user", "--proc", "--sh", "--csh"},
  };
  for (const Arguments& arguments : lines) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    Expect(Zorenv(arguments, {}), text, "", 1);
  }
}

TEST(CommandLine, TwoStartingPointsExcludeEachOther) {
  const std::string text = "only one of --proc, --user, --sys is allowed\n";
  const Arguments lines[] = {
      {"-p", "A", "--user", "--proc"},
      {"-p", "A", "--user", "--system", "--sh"},
      {"-p", "A", "-P", "-S"},
      {"-p", "A", "-U", "-S"},
  };
  for (const Arguments& arguments : lines) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    Expect(Zorenv(arguments, {}), text, "", 1);
  }
}

TEST(CommandLine, TheSameModeTwiceIsNotAClash) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  Expect(Zorenv(warehouse, {"-p", "C", "--sh", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "--sh", "-P", "-P"}), Tagged("c"), "", 0);
}

// What stands behind -p, and the directory that it finds.
TEST(CommandLine, ReadsTheFieldsOfAProduct) {
  Warehouse warehouse;
  for (const char* name : {"Contents", "Tools"})
    for (const char* version : {"1.8", "1.9"})
      for (const char* rev : {"4", "5"}) {
        const std::string directory = std::string("C/") + name + "/" + version + "/" + rev;
        warehouse.Product(directory, Tag(directory));
      }
  warehouse.Product("C/Contents/2Tools/1", Tag("C/Contents/2Tools/1"));
  warehouse.Product("D/Contents/1.8/1", Tag("D/Contents/1.8/1"));
  warehouse.Product("-C/Contents/1.8/1", Tag("-C/Contents/1.8/1"));
  const struct {
    Arguments arguments;
    const char* directory;
  } rows[] = {
      {{"D"}, "D/Contents/1.8/1"},
      {{"C"}, "C/Contents/2Tools/1"},
      {{"C", "1.8"}, "C/Contents/1.8/5"},
      {{"C", "1.8", "4"}, "C/Contents/1.8/4"},
      {{"C", "Tools"}, "C/Tools/1.9/5"},
      {{"C", "Tools", "1.8"}, "C/Tools/1.8/5"},
      {{"C", "Tools", "1.8", "4"}, "C/Tools/1.8/4"},
      {{"C", "Tools", "+", "4"}, "C/Tools/1.9/4"},
      {{"C", "2Tools"}, "C/Contents/2Tools/1"},
      {{"C", "+"}, "C/Contents/2Tools/1"},
      {{"C", "+", "1"}, "C/Contents/2Tools/1"},
      {{"-C"}, "-C/Contents/1.8/1"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    Arguments arguments = {"-p"};
    arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
    arguments.push_back("--sh");
    Expect(Zorenv(warehouse, arguments), Tagged(row.directory), "", 0);
  }
}

TEST(CommandLine, AWordBehindAProductIsReadAsItsName) {
  Warehouse warehouse;
  warehouse.Product("C/extra/1.0/1", Tag("extra"));
  Expect(Zorenv(warehouse, {"-p", "C", "extra", "--sh"}), Tagged("extra"), "", 0);
}

TEST(CommandLine, ACategoryTakesAnySeparator) {
  Warehouse warehouse;
  warehouse.Product("a/b/N/1.0/1", Tag("n"));
  for (const char* category : {"a/b", "a\\b", "a:b"}) {
    SCOPED_TRACE(category);
    Expect(Zorenv(warehouse, {"-p", category, "N", "--sh"}), Tagged("n"), "", 0);
  }
}

TEST(CommandLine, ShortOptionsAreKnownByTheirSecondCharacterAlone) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  warehouse.Undo("C/Contents/1.0/1", Tag("undone"));
  Expect(Zorenv(warehouse, {"-pxyz", "C", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-posh", "C", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "-user", "--sh"}), Tagged("undone"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "-Afoo", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "-Sx", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "-version", "-p", "C", "--sh"}), "", "", 0);
}

TEST(CommandLine, TheRootCountsWhereverItStandsAndTheLastWins) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  RunOptions options;
  options.directory = warehouse.path();
  Expect(Zorenv({"-p", "C", "-r", warehouse.Root(), "--sh"}, options), Tagged("c"), "", 0);
  Expect(Zorenv({"-r", "/nowhere", "-p", "C", "-r", warehouse.Root(), "--sh"}, options),
         Tagged("c"), "", 0);
  Expect(Zorenv({"-r", "root", "-p", "C", "--sh"}, options), Tagged("c"), "", 0);
  Expect(Zorenv({"-r", "root/", "-p", "C", "--sh"}, options), Tagged("c"), "", 0);
}

TEST(CommandLine, TheRootIsTheOptionThenTheVariableThenTheDirectory) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  RunOptions options;
  options.directory = warehouse.Root();
  Expect(Zorenv({"-p", "C", "--sh"}, options), Tagged("c"), "", 0);
  options.directory = "/";
  options.environment = PlainEnvironment({"ZORROOT=" + warehouse.Root()});
  Expect(Zorenv({"-p", "C", "--sh"}, options), Tagged("c"), "", 0);
  options.environment = PlainEnvironment({"ZORROOT=/nowhere"});
  Expect(Zorenv({"-p", "C", "-r", warehouse.Root(), "--sh"}, options), Tagged("c"), "", 0);
  options.directory = warehouse.Root();
  options.environment = PlainEnvironment({"ZORROOT="});
  Expect(Zorenv({"-p", "C", "--sh"}, options), Tagged("c"), "", 0);
}

TEST(CommandLine, TheRootIsNotNormalised) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("BASE", "%(BASE-DIRECTORY)"));
  RunOptions options;
  options.directory = warehouse.Root();
  Expect(Zorenv({"-r", ".", "-p", "C", "--sh"}, options),
         "BASE='" + warehouse.Root() + "/.'; export BASE\n", "", 0);
  Expect(Zorenv({"-r", warehouse.Root() + "//", "-p", "C", "--sh"}, options),
         "BASE='" + warehouse.Root() + "/'; export BASE\n", "", 0);
}

TEST(CommandLine, VariablesGatherInThePatternOfTheLastProduct) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1");
  warehouse.File("C/Contents/1.0/1", "product.xml",
                 ProductXml(Variety(R"(<VAR n="size" v="big"/><VAR n="colour" v="red"/>)") +
                            Variety(R"(<VAR n="size" v="big"/><VAR n="colour" v="blue"/>)")));
  warehouse.File("C/Contents/1.0/1", "env.xml", EnvXml(Insert("TAG", "%(size)-%(colour)")));
  Expect(Zorenv(warehouse, {"-p", "C", "-v", "size", "big", "-v", "colour", "blue", "--sh"}),
         Tagged("big-blue"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "-v", "size", "b*", "-v", "colour", "r?d", "--sh"}),
         Tagged("big-red"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "-v", "size", "small", "--sh"}), "", "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "-v", "size", "-p", "--sh"}), "", "", 0);
}

TEST(CommandLine, AVariableBehindAndStillBelongsToTheProductBeforeIt) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  Expect(Zorenv(warehouse, {"-p", "C", "--and", "-v", "size", "big", "--sh"}), "", "", 0);
}

TEST(CommandLine, AGroupWithoutQueriesLeavesTheEnvironmentAsItStands) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  Expect(Zorenv(warehouse, {"--and", "-p", "C", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "--and", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "-A", "-A", "--sh"}), Tagged("c"), "", 0);
}

TEST(CommandLine, UndoAppliesToAllGroups) {
  Warehouse warehouse;
  for (const char* category : {"A", "B"}) {
    const std::string directory = std::string(category) + "/Contents/1.0/1";
    warehouse.Product(directory, Insert(category, "set"));
    warehouse.Undo(directory, Delete(category));
  }
  Expect(Zorenv(warehouse, {"-p", "A", "--and", "-p", "B", "-u", "--sh"}, {"A=1", "B=2"}),
         "unset A ;\nunset B ;\n", "", 0);
}

TEST(CommandLine, MissingProductsAreForgivenWhereverTheOptionStands) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  const std::string missing =
      "*** Error: File " + warehouse.Root() + "/M/Contents/ Does not exist\n";
  Expect(Zorenv(warehouse, {"-p", "M", "-p", "C", "--sh", "--ignore-missing"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-i", "-p", "C", "-p", "M", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "M", "--sh"}), "", missing, 1);
}

TEST(CommandLine, AFaultStandsForTheQueriesBehindIt) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  const std::string missing =
      "*** Error: File " + warehouse.Root() + "/M/Contents/ Does not exist\n";
  Expect(Zorenv(warehouse, {"-p", "M", "-p", "C", "-p", "C", "--sh"}), "",
         missing + missing + missing, 1);
}

TEST(CommandLine, AMalformedProductIsReportedForEachQueryBehindIt) {
  Warehouse warehouse;
  warehouse.Product("B/Contents/1.0/1");
  warehouse.File("B/Contents/1.0/1", "product.xml", "<PRODUCT-INFO>");
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  warehouse.Product("D/Contents/1.0/1", Tag("d"));
  const std::string fault =
      "*** no element found in File " + warehouse.Root() + "/B/Contents/1.0/1/product.xml\n";
  Expect(Zorenv(warehouse, {"-p", "B", "-p", "C", "-p", "D", "--sh"}), "", fault + fault + fault,
         1);
}

TEST(CommandLine, UserAndSystemStartFromTheProcess) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  Expect(Zorenv(warehouse, {"-p", "C", "--user", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "--system", "--sh"}), Tagged("c"), "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "--system"}), "", "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "--user"}), "", "", 0);
}

TEST(CommandLine, TheDefaultIsAPortableScript) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1");
  const std::string head =
      "test $?shell = 1 && set setcmd=setenv && set eq=' ' && set unsetcmd=unsetenv;\n"
      "test $?shell != 1 && setcmd=eval && eq== && unsetcmd=unset;\n";
  Expect(Zorenv(warehouse, {"-p", "C"}), head, "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "--proc"}), head, "", 0);
}

TEST(CommandLine, TracesAreHarmless) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Tag("c"));
  Expect(Zorenv(warehouse, {"-T", "-p", "C", "--sh"}), Tagged("c"), "", 0);
}

}  // namespace
