// The shell functions of share/shell, in the real shells.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "caller.h"
#include "tool.h"

namespace {

using Variables = std::map<std::string, std::string>;

struct Shell {
  const char* path;
  std::vector<const char*> options;
  const char* load;  // makes the command zor known
  const char* kind;
};

const std::string share = std::string(ZOR_SOURCE_DIR) + "/share";

// In this order: the sh family, bash and zsh its last; csh; fish.
const Shell shells[] = {
    {"/bin/dash", {}, ". $SHARE/shell/zor.sh", "sh"},
    {"/bin/bash", {"--norc"}, ". $SHARE/shell/zor.sh", "sh"},
    {"/bin/zsh", {"-f"}, ". $SHARE/shell/zor.sh", "sh"},
    {"/bin/tcsh", {"-f"}, "set zor_directory = $SHARE/shell; source $zor_directory/zor.csh", "csh"},
    {"/usr/bin/fish", {"--no-config"}, "source $SHARE/shell/zor.fish", "fish"},
};

// What became of a run of zor.
struct Outcome {
  std::string status;
  Variables variables;  // the environment afterwards, without what belongs to shells and tests
  std::string err;
};

class ShellFunctions : public testing::TestWithParam<Shell> {
 protected:
  void SetUp() override {
    if (access(GetParam().path, X_OK) != 0) GTEST_SKIP() << GetParam().path << " is not installed";
  }

  bool Is(std::string_view kind) const { return GetParam().kind == kind; }
  bool IsShell(std::string_view path) const { return GetParam().path == path; }

  // Runs "zor COMMAND" behind the lines BEFORE, in the plain environment and more.
  Outcome Zor(const Warehouse& warehouse, const std::string& command,
              const std::vector<std::string>& more = {}, const std::string& before = "") {
    const std::string keep = Is("csh")    ? "set zor_test = $status\n"
                             : Is("fish") ? "set zor_test $status\n"
                                          : "zor_test=$?\n";
    const std::string file = warehouse.Write(
        "test-script", std::string(GetParam().load) + "\n" + before + "zor " + command + "\n" +
                           keep + "echo status $zor_test\n/usr/bin/env -0\n");
    RunOptions options;
    options.environment = PlainEnvironment({"HOME=" + warehouse.path(), "SHARE=" + share,
                                            "ZORROOT=" + warehouse.Root(), "ZORENV=" + program_,
                                            "TMPDIR=" + warehouse.Directory("tmp")});
    options.environment->insert(options.environment->end(), more.begin(), more.end());
    options.directory = warehouse.path();
    std::vector<std::string> argv = {GetParam().path};
    argv.insert(argv.end(), GetParam().options.begin(), GetParam().options.end());
    argv.push_back(file);
    const RunResult result = RunProgram(argv, options);
    EXPECT_EQ(0, result.status) << result.err;
    Outcome outcome;
    outcome.err = result.err;
    const std::size_t mark = result.out.find("status ") + 7;
    const std::size_t line = result.out.find('\n', mark);
    outcome.status = result.out.substr(mark, line - mark);
    for (std::size_t at = line + 1; at < result.out.size();) {
      const std::size_t end = result.out.find('\0', at);
      const std::string entry = result.out.substr(at, end - at);
      outcome.variables[entry.substr(0, entry.find('='))] = entry.substr(entry.find('=') + 1);
      at = end + 1;
    }
    for (const char* own :
         {"_",        "PWD",     "OLDPWD",  "SHLVL",   "HOST",   "HOSTTYPE", "OSTYPE",
          "MACHTYPE", "VENDOR",  "LOGNAME", "USER",    "GROUP",  "HOME",     "SHELL",
          "TERM",     "NLSPATH", "SHARE",   "ZORROOT", "ZORENV", "TMPDIR"})
      outcome.variables.erase(own);
    EXPECT_NE(0, access((warehouse / "touched").c_str(), F_OK)) << "a value was run";
    return outcome;
  }

  // Puts a program in the place of zorenv.
  void Instead(const Warehouse& warehouse, std::string_view out, int status,
               Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    warehouse.Write("printed", out);
    program_ =
        warehouse.Write("instead", "#!/bin/sh\ncat printed\nexit " + std::to_string(status) + "\n");
    ASSERT_EQ(0, chmod(program_.c_str(), 0755));
  }

  std::string program_ = ZORENV_PROGRAM;
};

class ShellFunctionsOfSh : public ShellFunctions {};
class ShellFunctionsOfBashAndZsh : public ShellFunctions {};
class ShellFunctionsOfCsh : public ShellFunctions {};

// An insert of exactly this value, with a separator that it does not hold.
std::string Verbatim(std::string_view name, std::string_view value) {
  return "<ENV-INSERT sep=\"&#x394;\"><NAME>" + std::string(name) + "</NAME><VALUE><![CDATA[" +
         std::string(value) + "]]></VALUE></ENV-INSERT>";
}

const Variables start = {{"PATH", "/usr/bin:/bin"}, {"LC_ALL", "C.UTF-8"}};

TEST_P(ShellFunctions, SetAndUndoTheExample) {
  Warehouse warehouse;
  const std::string root = std::string(ZOR_SOURCE_DIR) + "/examples/warehouse";
  const std::string options = "-r " + root + " tools suite -v platform linux-x86";
  const Outcome set = Zor(warehouse, options);
  EXPECT_EQ("0", set.status);
  EXPECT_EQ("", set.err);
  EXPECT_EQ((Variables{{"LC_ALL", "C.UTF-8"},
                       {"PATH", root + "/tools/weaver/1.10/2/linux-x86/bin:" + root +
                                    "/tools/spindle/3.0/1/linux-x86/bin:/usr/bin:/bin"},
                       {"FIBRE_PLUGINS", root + "/libs/graphics/fibre/2.0/1/plugins;" + root +
                                             "/tools/weaver/1.10/2/plugins"},
                       {"FIBRE_LIBRARY", root + "/libs/graphics/fibre/2.0/1/libfibre.so"},
                       {"WEAVER_HOME", root + "/tools/weaver/1.10/2"},
                       {"SPINDLE_MODE", "batch"},
                       {"SUITE_HOME", root + "/tools/suite/1.0/1"}}),
            set.variables);
  const Outcome undone = Zor(warehouse, "-u " + options, {}, "zor " + options + "\n");
  EXPECT_EQ("0", undone.status);
  EXPECT_EQ("", undone.err);
  EXPECT_EQ(start, undone.variables);
}

TEST_P(ShellFunctions, TakeSeveralProductsGroupsAndVariables) {
  Warehouse warehouse;
  const std::string root = std::string(ZOR_SOURCE_DIR) + "/examples/warehouse";
  const Outcome outcome =
      Zor(warehouse,
          "-r " + root + " site -p tools spindle -v platform solaris-sparc --and -p studio proof");
  EXPECT_EQ("0", outcome.status);
  Variables expected = start;
  expected["SITE_NAME"] = "Mill Street";
  expected["RENDER_MODE"] = "exact";
  expected["FIBRE_PLUGINS"] = root + "/libs/graphics/fibre/2.0/1/plugins";
  expected["FIBRE_LIBRARY"] = root + "/libs/graphics/fibre/2.0/1/libfibre.so";
  expected["PATH"] = root + "/tools/spindle/3.0/1/solaris-sparc/bin:/usr/bin:/bin";
  expected["SPINDLE_MODE"] = "interactive";
  EXPECT_EQ(expected, outcome.variables);
}

TEST_P(ShellFunctions, CarryWhateverAValueHoldsButASingleQuote) {
  Warehouse warehouse;
  const std::string odd =
      "a b\t $HOME ${HOME} `touch touched` $(touch touched); touch touched # \"x\" & | > * ? ~ [a] "
      "{b,c} (d) ! !! !x \\! \\\\! \\n \\\\ %% ^a^b ünï 日本";
  const std::string lines = "\n\n first\nunset A ;\n\\\nlast\n\n";
  warehouse.Product("C/Contents/1.0/1", Verbatim("A", odd) + Verbatim("B", lines) +
                                            Verbatim("C", "\\") + Verbatim("D", "!") +
                                            Remove("EMPTY", "x") + Delete("GONE"));
  const Outcome outcome = Zor(warehouse, "C", {"GONE=x", "EMPTY=x"});
  EXPECT_EQ("0", outcome.status);
  EXPECT_EQ("", outcome.err);
  Variables expected = start;
  expected["A"] = odd;
  expected["B"] = lines;
  expected["C"] = "\\";
  expected["D"] = "!";
  expected["EMPTY"] = "";
  EXPECT_EQ(expected, outcome.variables);
}

TEST_P(ShellFunctions, RefuseASingleQuoteAndChangeNothing) {
  for (const char* value : {"it's", "'", "x'; touch touched; '", "x'; export A\ntouch touched\nA='",
                            "x'; export A\nB='y'; export B\nA='z"}) {
    SCOPED_TRACE(value);
    Warehouse warehouse;
    warehouse.Product("C/Contents/1.0/1",
                      Verbatim("A", value) + Insert("OTHER", "1") + Delete("GONE"));
    const Outcome outcome = Zor(warehouse, "C", {"GONE=x"});
    EXPECT_EQ("1", outcome.status);
    Variables expected = start;
    expected["GONE"] = "x";
    EXPECT_EQ(expected, outcome.variables);
    EXPECT_NE(std::string::npos, outcome.err.find("zor: refused; nothing was changed\n"))
        << outcome.err;
  }
}

TEST_P(ShellFunctions, RefuseNamesThatAreNone) {
  for (const char* name : {"two words", "1ST", "", "a-b", "ü", "A;touch touched;B"}) {
    SCOPED_TRACE(name);
    Warehouse warehouse;
    warehouse.Product("C/Contents/1.0/1", Verbatim(name, "1") + Insert("OTHER", "1"));
    const Outcome outcome = Zor(warehouse, "C");
    EXPECT_EQ("1", outcome.status);
    EXPECT_EQ(start, outcome.variables);
  }
}

TEST_P(ShellFunctions, EvaluateNothingButRecords) {
  const std::string record = "A='1'; export A\n";
  const std::string refused[] = {
      "Bad thing at 12 in src/x.cpp\n" + record,
      record + "Bad thing at 12 in src/x.cpp\n",
      record + "touch touched\n",
      record + "B='2'; export B; touch touched\n",
      record + "B='2'; export C\n",
      record + "B='2'; export B ;\n",
      record + "B='2' ; export B\n",
      record + "B=2; export B\n",
      record + "B=''2''; export B\n",
      record + "B='2\n",
      record + "B='2'; exp",
      record + "B='2'; export",
      record + "unset B C ;\n",
      record + "unset B ; touch touched ;\n",
      record + "unset -f B ;\n",
      record + "unset B\n",
      record + "\n",
      record + " B='2'; export B\n",
      record + record,
      record + "unset A ;\n",
      record + "B='2'; export B\r\n",
      "$(touch touched)='x'; export $(touch touched)\n",
      "-A='x'; export -A\n",
  };
  for (const std::string& out : refused) {
    SCOPED_TRACE(out);
    Warehouse warehouse;
    Instead(warehouse, out, 0);
    const Outcome outcome = Zor(warehouse, "C");
    EXPECT_EQ("1", outcome.status);
    EXPECT_EQ(start, outcome.variables);
    EXPECT_NE(std::string::npos, outcome.err.find("zor: refused; nothing was changed\n"))
        << outcome.err;
  }
  Warehouse warehouse;
  Instead(warehouse, record + "B='x\ny'; export B\nunset LC_ALL ;\n", 0);
  EXPECT_EQ((Variables{{"PATH", "/usr/bin:/bin"}, {"A", "1"}, {"B", "x\ny"}}),
            Zor(warehouse, "C").variables);
}

TEST_P(ShellFunctions, EvaluateNothingWhenTheProgramFails) {
  Warehouse warehouse;
  Instead(warehouse, "A='1'; export A\n", 1);
  const Outcome outcome = Zor(warehouse, "C");
  EXPECT_EQ("1", outcome.status);
  EXPECT_EQ(start, outcome.variables);
  EXPECT_EQ("A='1'; export A\nzor: zorenv failed; nothing was changed\n", outcome.err);
}

TEST_P(ShellFunctions, TellWhatTheProgramTells) {
  Warehouse warehouse;
  const Outcome outcome = Zor(warehouse, "C");
  EXPECT_EQ("1", outcome.status);
  EXPECT_EQ(start, outcome.variables);
  EXPECT_EQ("*** Error: File " + warehouse.Root() +
                "/C/Contents/ Does not exist\nzor: zorenv failed; nothing was changed\n",
            outcome.err);
}

TEST_P(ShellFunctions, LeaveOtherOutputsToTheProgram) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "1"));
  for (const char* option : {"--exec touch touched", "--bat", "--csh", "--posh"}) {
    SCOPED_TRACE(option);
    const Outcome outcome = Zor(warehouse, std::string("C ") + option);
    EXPECT_EQ("1", outcome.status);
    EXPECT_EQ(start, outcome.variables);
    EXPECT_EQ(
        "only one of --bat, --sh, --csh, --posh, --exec is allowed\n"
        "zor: zorenv failed; nothing was changed\n",
        outcome.err);
  }
}

TEST_P(ShellFunctions, SayTheirUsageWithoutArguments) {
  Warehouse warehouse;
  for (const char* command : {"", "--help"}) {
    SCOPED_TRACE(command);
    const Outcome outcome = Zor(warehouse, command);
    EXPECT_EQ("1", outcome.status);
    EXPECT_EQ(
        "usage: zor [-u] [-r root] [--ignore-missing] category [name] [version] [rev] [-v name "
        "value]...\n           [-p category ...]... [--and -p category ...]...\n",
        outcome.err);
  }
}

TEST_P(ShellFunctions, PassOverWhatIsMissingIfAsked) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "1"));
  const Outcome outcome = Zor(warehouse, "--ignore-missing -r " + warehouse.Root() + " D -p C");
  EXPECT_EQ("0", outcome.status);
  EXPECT_EQ("", outcome.err);
  EXPECT_EQ("1", outcome.variables.at("A"));
}

// A shell would stop in the middle of the script.
TEST_P(ShellFunctions, RefuseVariablesThatTheShellKeepsFromWriting) {
  const std::string name = Is("csh") ? "LS_COLORS" : Is("fish") ? "version" : "KEPT";
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1",
                    Insert("A", "1") + Insert(name, "zz=oops") + Insert("B", "1"));
  const Outcome outcome = Zor(warehouse, "C", {}, Is("sh") ? "KEPT=1\nreadonly KEPT\n" : "");
  EXPECT_EQ("1", outcome.status);
  EXPECT_EQ(start, outcome.variables);
  EXPECT_NE(std::string::npos, outcome.err.find("; nothing was changed\n")) << outcome.err;
}

// bash and zsh calculate what is assigned to these, and so run what a subscript holds.
TEST_P(ShellFunctionsOfBashAndZsh, RefuseVariablesThatTheShellCalculates) {
  for (const char* before :
       {"declare -i N\n", "declare -a N\n", "declare -A N\n", "declare -u N\n"}) {
    SCOPED_TRACE(before);
    Warehouse warehouse;
    warehouse.Product("C/Contents/1.0/1", Insert("A", "1") + Verbatim("N", "a[$(touch touched)]"));
    const Outcome outcome = Zor(warehouse, "C", {}, before);
    EXPECT_EQ("1", outcome.status) << before;
    EXPECT_EQ(start, outcome.variables);
    EXPECT_EQ("zor: N is no plain variable of this shell; nothing was changed\n", outcome.err);
  }
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Verbatim("SECONDS", "a[$(touch touched)]"));
  EXPECT_EQ("1", Zor(warehouse, "C").status);
}

TEST_P(ShellFunctions, LeaveNothingBehind) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("zor_script", "kept"));
  const Outcome outcome = Zor(warehouse, "C");
  EXPECT_EQ("0", outcome.status);
  EXPECT_EQ("kept", outcome.variables.at("zor_script"));
  // csh reads a file, which removes itself; rmdir tells.
  EXPECT_EQ(0, rmdir((warehouse / "tmp").c_str()));
}

TEST_P(ShellFunctionsOfSh, WorkUnderStrictOptions) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Verbatim("A", "a b\n*"));
  for (const char* before : {"set -eu\nIFS=zo-u:\n", "set -f\n", "set -C\n"}) {
    SCOPED_TRACE(before);
    const Outcome outcome = Zor(warehouse, "C", {}, before);
    EXPECT_EQ("0", outcome.status);
    EXPECT_EQ("", outcome.err);
    EXPECT_EQ("a b\n*", outcome.variables.at("A"));
  }
  if (IsShell("/bin/zsh")) {
    const Outcome outcome = Zor(warehouse, "C", {},
                                "setopt CSH_JUNKIE_QUOTES RC_QUOTES KSH_ARRAYS WARN_CREATE_GLOBAL "
                                "GLOB_SUBST NOMATCH IGNORE_BRACES\n");
    EXPECT_EQ("", outcome.err);
    EXPECT_EQ("a b\n*", outcome.variables.at("A"));
  }
}

TEST_P(ShellFunctionsOfCsh, RefuseAnotherQuoting) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "1"));
  for (const char* before : {"set backslash_quote\n", "set histchars = '+^'\n"}) {
    SCOPED_TRACE(before);
    const Outcome outcome = Zor(warehouse, "C", {}, before);
    EXPECT_NE("0", outcome.status);
    EXPECT_EQ(start, outcome.variables);
  }
}

std::string LeafName(const testing::TestParamInfo<Shell>& shell) {
  const std::string path = shell.param.path;
  return path.substr(path.rfind('/') + 1);
}

INSTANTIATE_TEST_SUITE_P(All, ShellFunctions, testing::ValuesIn(shells), LeafName);
INSTANTIATE_TEST_SUITE_P(All, ShellFunctionsOfSh, testing::ValuesIn(shells, shells + 3), LeafName);
INSTANTIATE_TEST_SUITE_P(All, ShellFunctionsOfBashAndZsh, testing::ValuesIn(shells + 1, shells + 3),
                         LeafName);
INSTANTIATE_TEST_SUITE_P(All, ShellFunctionsOfCsh, testing::ValuesIn(shells + 3, shells + 4),
                         LeafName);

}  // namespace
