// What comes out: the four dialects, the order of records, a program run in the new environment.
#include <gtest/gtest.h>

#include "slots.h"
#include "tool.h"

namespace {

const char kPoshHead[] =
    "test $?shell = 1 && set setcmd=setenv && set eq=' ' && set unsetcmd=unsetenv;\n"
    "test $?shell != 1 && setcmd=eval && eq== && unsetcmd=unset;\n";

const char kSetAndDelete[] = "A=old value";

// Sets A, deletes D.
void MakeDifference(Warehouse* warehouse) {
  warehouse->Product("C/Contents/1.0/1",
                     Insert("A", "new value") + Remove("A", "old value") + Delete("D"));
}

TEST(Emission, EachDialectHasItsRecords) {
  Warehouse warehouse;
  MakeDifference(&warehouse);
  const struct {
    const char* option;
    std::string out;
  } rows[] = {
      {"--bat", "set A=new value\nset D=\n"},
      {"--sh", "A='new value'; export A\nunset D ;\n"},
      {"--csh", "setenv A 'new value' ;\nunsetenv D ;\n"},
      {"--posh", std::string(kPoshHead) +
                     "$setcmd A$eq'new value' ;\ntest $?shell != 1 && export A ;\n$unsetcmd D ;\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.option);
    Expect(Zorenv(warehouse, {"-p", "C", row.option}, {kSetAndDelete, "D=x"}), row.out, "", 0);
  }
}

TEST(Emission, NoDifferencePrintsNothingButThePortableHead) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("PATH", "/bin"));
  for (const char* option : {"--bat", "--sh", "--csh"}) {
    SCOPED_TRACE(option);
    Expect(Zorenv(warehouse, {"-p", "C", option}), "", "", 0);
  }
  Expect(Zorenv(warehouse, {"-p", "C", "--posh"}), kPoshHead, "", 0);
}

TEST(Emission, NothingIsEscaped) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "it's $HOME `x` %s \\ \" !"));
  Expect(Zorenv(warehouse, {"-p", "C", "--sh"}), "A='it's $HOME `x` %s \\ \" !'; export A\n", "",
         0);
  Expect(Zorenv(warehouse, {"-p", "C", "--bat"}), "set A=it's $HOME `x` %s \\ \" !\n", "", 0);
}

TEST(Emission, AValueThatDiffersInCaseIsAnotherValue) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Remove("A", "x") + Insert("A", "X"));
  Expect(Zorenv(warehouse, {"-p", "C", "--sh"}, {"A=x"}), "A='X'; export A\n", "", 0);
}

TEST(Emission, AnEmptyValueIsNotARemoval) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Remove("A", "x"));
  Expect(Zorenv(warehouse, {"-p", "C", "--sh"}, {"A=x"}), "A=''; export A\n", "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "--csh"}, {"A=x"}), "setenv A '' ;\n", "", 0);
}

TEST(Emission, ARemovedVariableHasOnlyItsUnsetRecord) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Delete("A"));
  Expect(Zorenv(warehouse, {"-p", "C", "--sh"}, {"A=x:y"}), "unset A ;\n", "", 0);
}

// The records follow the slots of tables of any size, through the copies that a run makes.
class RecordOrder : public testing::TestWithParam<int> {};

TEST_P(RecordOrder, IsTheOrderOfSlots) {
  const int count = GetParam();
  Warehouse warehouse;
  // Each variable of the start gets an element more, so that each is written.
  warehouse.Product("C/Contents/1.0/1", Insert("V*", "more"));
  std::vector<std::string> environment = {"LC_ALL=C.UTF-8"};
  SlotTable start;
  start.Add("LC_ALL", "C.UTF-8");
  for (int i = 0; i < count; ++i) {
    const std::string name = "V" + std::to_string(i * 7919 % 100003) + (i % 3 ? "_X" : "");
    environment.push_back(name + "=v" + std::to_string(i));
    start.Add(name, "v" + std::to_string(i));
  }
  // The starting table is copied for the old recipes. The computed one takes first what no
  // operation touches, in the order of the copy, then the touched ones in the order of their own
  // table.
  SlotTable touched;
  const SlotTable copy = start.Copy();
  SlotTable computed;
  computed.Add("LC_ALL", "C.UTF-8");
  SlotTable variables(13);
  for (const SlotTable::Entry& entry : copy.Entries())
    if (entry.first != "LC_ALL") variables.Add(entry.first, entry.second + ":more");
  for (const SlotTable::Entry& entry : variables.Entries())
    computed.Add(entry.first, entry.second);
  RunOptions options;
  options.environment = environment;
  Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options), computed.Assignments(start),
         "", 0);
}

INSTANTIATE_TEST_SUITE_P(Sizes, RecordOrder,
                         testing::Values(0, 1, 62, 63, 64, 65, 66, 128, 129, 130, 1000));

TEST(RecordOrder, AnAddOfAKnownNameMayGrowTheTable) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1");
  warehouse.File("C/Contents/1.0/1", "setup.xml",
                 RecipeXml(R"(<SETENV name="V0" value="new"/><SETENV name="V1" value="new"/>)"));
  for (int count : {62, 63, 64, 65}) {
    SCOPED_TRACE(count);
    SlotTable start;
    std::vector<std::string> environment;
    for (int i = 0; i < count; ++i) {
      const std::string name = "V" + std::to_string(i);
      start.Add(name, "old");
      environment.push_back(name + "=old");
    }
    SlotTable replayed = start.Copy();
    replayed.Add("V0", "new");
    replayed.Add("V1", "new");
    RunOptions options;
    options.environment = environment;
    // No settings apply, so the computed table is a copy once more.
    Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options),
           replayed.Copy().Assignments(start), "", 0);
  }
}

// ab and bR have one hash: 16 * 'a' + 'b' is 16 * 'b' + 'R'.
TEST(RecordOrder, NamesThatCollideKeepTheOrderOfTheirArrival) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("x??", "more"));
  const std::vector<std::string> orders[] = {{"xab", "xbR"}, {"xbR", "xab"}};
  for (const auto& names : orders) {
    SCOPED_TRACE(names[0]);
    RunOptions options;
    options.environment = {names[0] + "=1", names[1] + "=1"};
    const std::string record0 = names[0] + "='1:more'; export " + names[0] + "\n";
    const std::string record1 = names[1] + "='1:more'; export " + names[1] + "\n";
    Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options), record0 + record1, "", 0);
  }
}

TEST(RecordOrder, RemovalsFollowTheSlotsOfTheStartingTable) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Delete("V*"));
  std::vector<std::string> environment;
  SlotTable start;
  for (int i = 0; i < 90; ++i) {
    const std::string name = "V" + std::to_string(i * 31);
    environment.push_back(name + "=x");
    start.Add(name, "x");
  }
  RunOptions options;
  options.environment = environment;
  Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options), start.Removals(SlotTable()),
         "", 0);
}

TEST(Execute, RunsTheProgramInTheNewEnvironment) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "new") + Delete("D"));
  RunOptions options;
  options.environment = PlainEnvironment({"D=x", "KEPT=same"});
  options.directory = "/";
  const RunResult result =
      Zorenv({"-r", warehouse.Root(), "-p", "C", "--exec", "/usr/bin/env"}, options);
  EXPECT_EQ(0, result.status);
  EXPECT_EQ("", result.err);
  EXPECT_EQ("PATH=/usr/bin:/bin\nLC_ALL=C.UTF-8\nKEPT=same\nA=new\n", result.out);
}

TEST(Execute, FindsTheProgramInTheNewPath) {
  Warehouse warehouse;
  const std::string bin = warehouse.Root() + "/C/Contents/1.0/1/bin";
  warehouse.Product("C/Contents/1.0/1", Insert("PATH", "%(BASE-CNVR)/bin", Before("**")));
  warehouse.File("C/Contents/1.0/1/bin", "own-program", "#!/bin/sh\necho own \"$@\"\n");
  ASSERT_EQ(0, RunProgram({"/bin/chmod", "755", bin + "/own-program"}).status);
  Expect(Zorenv(warehouse, {"-p", "C", "--exec", "own-program", "x"}), "own x\n", "", 0);
}

TEST(Execute, HandsTheArgumentsOnUntouched) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1");
  Expect(Zorenv(warehouse, {"-p", "C", "--exec", "/usr/bin/printf", "[%s]\\n", "a b", "", "'\"$x`",
                            "-p", "--sh", "\xC3\xA9", "*"}),
         "[a b]\n[]\n['\"$x`]\n[-p]\n[--sh]\n[\xC3\xA9]\n[*]\n", "", 0);
}

TEST(Execute, RunsInTheDirectoryOfTheCallerOnItsStreams) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1");
  RunOptions options;
  options.directory = warehouse.path();
  options.input = "from the caller\n";
  Expect(Zorenv({"-r", "root", "-p", "C", "--exec", "/bin/sh", "-c", "pwd; cat; echo err >&2"},
                options),
         warehouse.path() + "\nfrom the caller\n", "err\n", 0);
}

TEST(Execute, MapsTheEndOfTheProgram) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1");
  const struct {
    std::vector<std::string> command;
    const char* err;
    int status;
  } rows[] = {
      {{"/bin/true"}, "", 0},
      {{"/bin/false"}, "*** Error: Error status 1 from Command /bin/false\n", 1},
      {{"/bin/sh", "-c", "exit 3"}, "*** Error: Error status 3 from Command /bin/sh\n", 1},
      {{"/bin/sh", "-c", "exit 255"}, "*** Error: Error status 255 from Command /bin/sh\n", 1},
      {{"/bin/sh", "-c", "kill -9 $$"}, "*** Could not call Command /bin/sh\n", 1},
      {{"/bin/sh", "-c", "kill -15 $$"}, "*** Could not call Command /bin/sh\n", 1},
      {{"/no/such/program"}, "*** Error: Error status 1 from Command /no/such/program\n", 1},
      {{"no-such-program"}, "*** Error: Error status 1 from Command no-such-program\n", 1},
      {{"/"}, "*** Error: Error status 1 from Command /\n", 1},
      {{""}, "*** Error: Error status 1 from Command \n", 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.command));
    std::vector<std::string> arguments = {"-p", "C", "--exec"};
    arguments.insert(arguments.end(), row.command.begin(), row.command.end());
    Expect(Zorenv(warehouse, arguments), "", row.err, row.status);
  }
}

TEST(Execute, WhatWaitsInTheBufferIsPrintedOnceAndFirst) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1");
  // A trace: a variable can't be set to nothing.
  warehouse.File("C/Contents/1.0/1", "setup.xml", RecipeXml(R"(<SETENV name="A"/>)"));
  const std::string trace = "FwHash_StringAddCopyFunction: Error - NULL value at ";
  for (const char* program : {"no-such-program", "/bin/pwd"}) {
    const RunResult result = Zorenv(warehouse, {"-T", "-p", "C", "--exec", program});
    EXPECT_EQ(0u, result.out.find(trace)) << result.out;
    EXPECT_EQ(std::string::npos, result.out.find(trace, 1)) << result.out;
  }
}

}  // namespace
