// The scripts do what they say in real shells of both families.
#include <gtest/gtest.h>

#include <map>

#include "caller.h"
#include "tool.h"

namespace {

struct Shell {
  const char* path;
  const char* family;  // the dialect that is its own
  const char* source;  // the command that evaluates a file
};

const Shell kShells[] = {
    {"/bin/dash", "--sh", "."},
    {"/bin/bash", "--sh", "."},
    {"/bin/tcsh", "--csh", "source"},
};

// The environment that a shell has after it evaluated the tool's output, without what the shell
// itself sets.
std::map<std::string, std::string> Evaluate(const Shell& shell, const Warehouse& warehouse,
                                            const std::string& script,
                                            const std::vector<std::string>& environment,
                                            Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  const std::string file = warehouse.Write("script", script);
  RunOptions options;
  options.environment = environment;
  options.directory = warehouse.path();
  std::vector<std::string> argv = {shell.path};
  if (std::string(shell.family) == "--csh") argv.push_back("-f");
  argv.insert(argv.end(), {"-c", std::string(shell.source) + " " + file + "; /usr/bin/env -0"});
  const RunResult result = RunProgram(argv, options);
  EXPECT_EQ(0, result.status) << shell.path;
  EXPECT_EQ("", result.err) << shell.path;
  std::map<std::string, std::string> variables;
  for (std::size_t at = 0; at < result.out.size();) {
    const std::size_t end = result.out.find('\0', at);
    const std::string entry = result.out.substr(at, end - at);
    variables[entry.substr(0, entry.find('='))] = entry.substr(entry.find('=') + 1);
    at = end + 1;
  }
  for (const char* own : {"_", "PWD", "OLDPWD", "SHLVL", "HOST", "HOSTTYPE", "OSTYPE", "MACHTYPE",
                          "VENDOR", "LOGNAME", "USER", "GROUP", "HOME", "SHELL", "TERM", "NLSPATH"})
    variables.erase(own);
  return variables;
}

using Variables = std::map<std::string, std::string>;

class Shells : public testing::TestWithParam<Shell> {};

TEST_P(Shells, TakeTheScriptOfTheirFamilyAndThePortableOne) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("PATH", "%(BASE-CNVR)/bin", Before("/usr/bin")) +
                                            Insert("NEW", "value-1.2_x@y:z,w") + Delete("GONE") +
                                            Remove("EMPTIED", "x"));
  const std::vector<std::string> environment = PlainEnvironment({"GONE=x", "EMPTIED=x", "KEPT=k"});
  for (const std::string option : {GetParam().family, "--posh"}) {
    SCOPED_TRACE(option);
    const RunResult script =
        Zorenv(warehouse, {"-p", "C", option}, {"GONE=x", "EMPTIED=x", "KEPT=k"});
    EXPECT_EQ("", script.err);
    EXPECT_EQ((Variables{{"PATH", warehouse.Root() + "/C/Contents/1.0/1/bin:/usr/bin:/bin"},
                         {"LC_ALL", "C.UTF-8"},
                         {"NEW", "value-1.2_x@y:z,w"},
                         {"EMPTIED", ""},
                         {"KEPT", "k"}}),
              Evaluate(GetParam(), warehouse, script.out, environment));
  }
}

TEST_P(Shells, TakeBlanksAndDollarsInTheirOwnDialect) {
  Warehouse warehouse;
  const std::string value = "a b  $HOME \"x\" `id` ; # \\ (y) & | > * ~";
  warehouse.Product("C/Contents/1.0/1");
  warehouse.File(
      "C/Contents/1.0/1", "env.xml",
      EnvXml("<ENV-INSERT><NAME>A</NAME><VALUE><![CDATA[" + value + "]]></VALUE></ENV-INSERT>"));
  const RunResult script = Zorenv(warehouse, {"-p", "C", GetParam().family});
  EXPECT_EQ((Variables{{"PATH", "/usr/bin:/bin"}, {"LC_ALL", "C.UTF-8"}, {"A", value}}),
            Evaluate(GetParam(), warehouse, script.out, PlainEnvironment()));
}

TEST_P(Shells, NoDifferenceChangesNothing) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1");
  for (const std::string option : {GetParam().family, "--posh"}) {
    SCOPED_TRACE(option);
    const RunResult script = Zorenv(warehouse, {"-p", "C", option});
    EXPECT_EQ((Variables{{"PATH", "/usr/bin:/bin"}, {"LC_ALL", "C.UTF-8"}}),
              Evaluate(GetParam(), warehouse, script.out, PlainEnvironment()));
  }
}

// Kept: eval parses the value a second time, so blanks split it there.
TEST(PortableScript, EvaluatesValuesTwiceUnderSh) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "$B"));
  const RunResult script = Zorenv(warehouse, {"-p", "C", "--posh"}, {"B=of-b"});
  const Variables variables =
      Evaluate(kShells[0], warehouse, script.out, PlainEnvironment({"B=of-b"}));
  EXPECT_EQ("of-b", variables.at("A"));
}

// Setting up and undoing gives the environment back where the data files say so.
TEST_P(Shells, UndoGivesTheStartBack) {
  Warehouse warehouse;
  const std::string root = std::string(ZOR_SOURCE_DIR) + "/examples/warehouse";
  const std::vector<std::string> product = {"-r",    root, "-p",       "tools",
                                            "suite", "-v", "platform", "linux-x86"};
  const std::vector<std::string> start = PlainEnvironment({"UNRELATED=x:y::z"});
  RunOptions options;
  options.environment = start;
  std::vector<std::string> arguments = product;
  arguments.push_back(GetParam().family);
  const RunResult set = Zorenv(arguments, options);
  EXPECT_EQ("", set.err);
  const Variables after = Evaluate(GetParam(), warehouse, set.out, start);
  EXPECT_EQ("batch", after.at("SPINDLE_MODE"));

  options.environment = std::vector<std::string>{};
  for (const auto& [name, value] : after)
    options.environment->push_back(name + "=" + value);
  arguments.push_back("-u");
  const RunResult unset = Zorenv(arguments, options);
  EXPECT_EQ("", unset.err);
  EXPECT_EQ((Variables{{"PATH", "/usr/bin:/bin"}, {"LC_ALL", "C.UTF-8"}, {"UNRELATED", "x:y::z"}}),
            Evaluate(GetParam(), warehouse, unset.out, *options.environment));
}

INSTANTIATE_TEST_SUITE_P(All, Shells, testing::ValuesIn(kShells),
                         [](const auto& shell) { return std::string(shell.param.path).substr(5); });

}  // namespace
