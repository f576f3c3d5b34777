// Environments as text, held against the programs that read them.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "zor.h"

namespace {

// One product that sets OUT to what the environment has as IN.
class Formats : public testing::Test {
 protected:
  Formats() { warehouse_.Product("C/Contents/1.0/1", Insert("OUT", "%{IN}")); }

  RunResult Write(const std::vector<std::string>& options, const std::string& value) {
    std::vector<std::string> words = {"env", "-r", warehouse_.Root(), "C"};
    words.insert(words.end(), options.begin(), options.end());
    return Zor(words, {"IN=" + value});
  }

  Warehouse warehouse_;
};

std::string RandomValue(std::mt19937* random) {
  // A percent sign would begin a reference.
  static const std::string kPieces[] = {"'",   "\"",     "\\",     "$",  "`",  "\n", " ", "!",
                                        "#",   ";",      "&",      "*",  "(",  ")",  "{", "}",
                                        "\t",  "\r",     "\x1b",   "=",  "~",  ":",  "a", "$(x)",
                                        "`x`", "\u00e9", "\u4f60", "''", "\\'"};
  std::string value;
  for (std::size_t i = (*random)() % 12; i > 0; --i)
    value += kPieces[(*random)() % std::size(kPieces)];
  return value;
}

TEST_F(Formats, ShellsTakeAnyValueExactly) {
  std::mt19937 random(7);
  for (int round = 0; round < 100; ++round) {
    const std::string value = RandomValue(&random);
    SCOPED_TRACE(value);
    const RunResult script = Write({"--format", "sh"}, value);
    ASSERT_EQ(0, script.status) << script.err;
    for (const char* shell : {"/bin/sh", "/bin/bash", "/bin/zsh"}) {
      const RunResult result =
          RunProgram({shell, "-c", "eval \"$1\"; printf '<%s>' \"$OUT\"", "sh", script.out});
      EXPECT_EQ("<" + value + ">", result.out) << shell;
      EXPECT_EQ("", result.err) << shell;
    }
  }
}

TEST_F(Formats, ZeroEndedTextsHoldTheValueAsItIs) {
  const RunResult result = Write({"--format", "env0"}, "a\nb'c");
  EXPECT_EQ(std::string("OUT=a\nb'c\0", 10), result.out);
  EXPECT_EQ(0, result.status);
}

TEST_F(Formats, FullHoldsWhatDoesNotChange) {
  Expect(Write({"--full"}, "x"),
         "IN='x'; export IN;\nLC_ALL='C.UTF-8'; export LC_ALL;\nOUT='x'; export OUT;\n"
         "PATH='/usr/bin:/bin'; export PATH;\n",
         "", 0);
}

TEST_F(Formats, FullLeavesOutWhatStaysAndCannotBeCarried) {
  Expect(Zor({"env", "--full", "-r", warehouse_.Root(), "C"}, {"IN=x", "SHLVL=2", "F()=y"}),
         "IN='x'; export IN;\nLC_ALL='C.UTF-8'; export LC_ALL;\nOUT='x'; export OUT;\n"
         "PATH='/usr/bin:/bin'; export PATH;\n",
         "zor: left out, as they stay what they are: F() SHLVL\n", 0);
}

TEST_F(Formats, AVariableThatIsRemovedIsUnset) {
  warehouse_.Product("D/Contents/1.0/1", Delete("IN"));
  Expect(Zor({"env", "-r", warehouse_.Root(), "D"}, {"IN=x"}), "unset IN;\n", "", 0);
}

// bash and mksh would calculate with the first, and so run the command in it.
TEST_F(Formats, VariablesOfTheShellsAreRefusedAndNothingIsWritten) {
  const struct {
    std::string name, reason;
  } rows[] = {
      {"OPTIND", "is a number that would be calculated by bash"},
      {"RANDOM", "is a number that would be calculated by bash"},
      {"UID", "is read-only in bash"},
      {"USERNAME", "changes the user or group of root's zsh"},
      {"KSHUID", "is a number that would be calculated by mksh"},
      {"PS1", "holds what is run or expanded by bash"},
      {"histchars", "is kept for itself by bash"},
  };
  for (const auto& row : rows) {
    warehouse_.Product("K/Contents/1.0/1", Insert("A", "1") + Insert(row.name, "a[$(touch ran)]"));
    Expect(Zor({"env", "-r", warehouse_.Root(), "K"}), "",
           "zor: the format sh can't carry these variables, so nothing was written:\n  " +
               row.name + ' ' + row.reason + '\n',
           1);
  }
}

TEST_F(Formats, NamesThatAreNotValidInAShellAreRefused) {
  for (const char* name : {"A;touch ran;B", "1A", "A-B", "A[$(touch ran)]"}) {
    warehouse_.Product("N/Contents/1.0/1", Insert(name, "1"));
    Expect(Zor({"env", "-r", warehouse_.Root(), "N"}), "",
           "zor: the format sh can't carry these variables, so nothing was written:\n  " +
               std::string(name) + " is not a valid name for a variable of a shell\n",
           1);
  }
}

}  // namespace
