// The words by which people name products.
#include <gtest/gtest.h>

#include "zor.h"

namespace {

// What weaver sets, in the order of names.
std::string Weaver(const std::string& version_and_rev) {
  const std::string root = Examples();
  const std::string weaver = root + "/tools/weaver/" + version_and_rev;
  const std::string fibre = root + "/libs/graphics/fibre/2.0/1";
  return "FIBRE_LIBRARY='" + fibre + "/libfibre.so'; export FIBRE_LIBRARY;\n" + "FIBRE_PLUGINS='" +
         fibre + "/plugins;" + weaver + "/plugins'; export FIBRE_PLUGINS;\n" + "PATH='" + weaver +
         "/linux-x86/bin:/usr/bin:/bin'; export PATH;\n" + "WEAVER_HOME='" + weaver +
         "'; export WEAVER_HOME;\n";
}

TEST(Request, NamesAProductInManyWays) {
  const std::string platform = "[platform=linux-x86]";
  const struct {
    std::vector<std::string> words;
    std::string version_and_rev;
  } rows[] = {
      {{"tools/weaver" + platform}, "1.10/2"},
      {{"tools//weaver/" + platform}, "1.10/2"},
      {{"weaver" + platform}, "1.10/2"},
      {{"tools/weaver/1.9" + platform}, "1.9/1"},
      {{"weaver/1.9" + platform}, "1.9/1"},
      {{"tools/weaver/1.10/1" + platform}, "1.10/1"},
      {{"tools/weaver/+/1" + platform}, "1.10/1"},
      {{"-p", "tools", "weaver", "1.9", "-v", "platform", "linux-x86"}, "1.9/1"},
      {{"-p", "tools", "weaver", "-v", "platform", "linux-x86", "--sh"}, "1.10/2"},
      {{"-p", "tools", "weaver", "1.10", "1", "-v", "platform", "linux-x86"}, "1.10/1"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.words[0]);
    std::vector<std::string> words = {"env"};
    words.insert(words.end(), row.words.begin(), row.words.end());
    Expect(ZorOnExamples(words), Weaver(row.version_and_rev), "", 0);
  }
}

TEST(Request, TellsWhatIsWrongWithANameAndWhatThereIs) {
  const std::string root = Examples();
  const struct {
    std::vector<std::string> words;
    std::string err;
    int status;
  } rows[] = {
      {{"env"}, "zor: say which product, as in: zor env tools/weaver\n", 2},
      {{"env", "tols/weaver"},
       "zor: there is no product tols/weaver in " + root + "\ndid you mean tools/weaver?\n",
       1},
      {{"env", "qqq"},
       "zor: there is no product qqq in " + root + "\nzor avail lists what there is\n",
       1},
      {{"env", "weaver/7"},
       "zor: tools/weaver has no such version or revision: weaver/7\nthere are: 1.9 1.10\n",
       1},
      {{"env", "weaver[compiler=gc]"},
       "zor: no variety of tools/weaver/1.10/2 has compiler=gc; none has such a variable, "
       "they have platform\n",
       1},
      {{"env", "weaver[compiler]"},
       "zor: weaver[compiler]: a condition is written [name=value], as in "
       "tools/weaver[platform=linux-x86]\n",
       2},
      {{"env", "weaver", "--fromat", "sh"}, "zor: there is no option --fromat\n", 2},
      {{"env", "weaver", "--format", "x"},
       "zor: there is no format x; there are sh, bash, zsh, ksh, fish, csh, elvish, xonsh, "
       "nushell, "
       "powershell, cmd, rc, python, perl, ruby, lua, tcl, r, make, cmake, json, dotenv, systemd, "
       "docker, github, env0\n",
       2},
      {{"envv"}, "zor: there is no command envv; did you mean env?\n", 2},
      {{"exec", "weaver"},
       "zor: say which program, behind --: zor exec tools/weaver -- weaver\n",
       2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.words.back());
    Expect(ZorOnExamples(row.words), "", row.err, row.status);
  }
}

TEST(Request, AnAmbiguousNameListsTheCandidates) {
  Warehouse warehouse;
  warehouse.Product("one/tool/1/1", Insert("A", "1"));
  warehouse.Product("two/tool/1/1", Insert("A", "2"));
  const std::string root = warehouse.Root();
  Expect(Zor({"env", "-r", root, "tool"}), "",
         "zor: tool may be any of these; say which:\n  one/tool\n  two/tool\n", 1);
  Expect(Zor({"env", "-r", root, "two/tool"}), "A='2'; export A;\n", "", 0);
}

TEST(Request, ANameThatIsReadInTwoWaysIsToldWithBoth) {
  Warehouse warehouse;
  // Category a/b with the product Contents, or category a with the product b.
  warehouse.Product("a/b/Contents/1/1", Insert("A", "3"));
  warehouse.Product("a/b/1/1", Insert("A", "4"));
  const std::string root = warehouse.Root();
  const struct {
    std::string word, first, second;
  } rows[] = {
      {"a/b", "a/b", "a/b/Contents"},
      {"a/b/1", "a/b/1", "a/b/Contents/1"},
      {"a/b/1/1", "a/b/1/1", "a/b/Contents/1/1"},
      {"a/b/+/1", "a/b/+/1", "a/b/Contents/+/1"},
  };
  for (const auto& row : rows) {
    const std::string told = "zor: " + row.word + " may be any of these; say which:\n  ";
    Expect(Zor({"env", "-r", root, row.word}), "", told + row.first + "\n  " + row.second + "\n",
           1);
  }
}

TEST(Request, NamesMayHoldBlanksAndLettersOutsideAscii) {
  Warehouse warehouse;
  warehouse.Product("\u00fc b/n \u00f6/1/1", Insert("A", "x"));
  for (const char* locale : {"LC_ALL=C.UTF-8", "LC_ALL=C"}) {
    SCOPED_TRACE(locale);
    Expect(Zor({"env", "-r", warehouse.Root(), "\u00fc b/n \u00f6"}, {locale}),
           "A='x'; export A;\n", "", 0);
  }
}

TEST(Request, ALineOfZorenvIsTakenThoughNotInSilence) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "x"));
  const std::string remark = "no variety of C/Contents/1.0/1 has k=v; none has such a variable\n";
  Expect(Zor({"env", "-r", warehouse.Root(), "-p", "C", "-v", "k", "v"}), "", remark, 0);
  Expect(Zor({"env", "-r", warehouse.Root(), "C[k=v]"}), "", "zor: " + remark, 1);
}

TEST(Exec, BecomesTheProgram) {
  Expect(ZorOnExamples(
             {"exec", "weaver[platform=linux-x86]", "--", "sh", "-c", "weaver a 'b c'; exit 7"}),
         "weaver 1.10 (revision 2)\n  [a]\n  [b c]\n", "", 7);
  const RunResult killed = ZorOnExamples({"exec", "site", "--", "sh", "-c", "kill -TERM $$"});
  EXPECT_EQ(SIGTERM, killed.signal);
  Expect(ZorOnExamples({"exec", "site", "--", "no-such-program"}), "",
         "zor: there is no program no-such-program on the PATH of this environment\n"
         "zor search no-such-program tells which products have one\n",
         127);
}

TEST(Exec, AFailureStartsNothing) {
  const std::string studio = Examples() + "/studio/";
  Expect(Zor({"exec", "studio/canvas", "studio/proof", "--", "echo", "started"},
             {"ZORROOT=" + Examples(), "HOME=/home/you"}),
         "",
         "zor: value fast is both inserted and removed in environment variable RENDER_MODE\n"
         "  inserted by studio/canvas/5/1 (" +
             studio +
             "canvas/5/1/env.xml:5:5)\n    named as studio/canvas\n"
             "  removed by studio/proof/2/1 (" +
             studio +
             "proof/2/1/env.xml:5:5)\n    named as studio/proof\n"
             "  what works, as trying it has shown:\n"
             "    studio/canvas behind // (or --and), where it overrides the others\n"
             "    without studio/canvas\n"
             "    studio/proof behind // (or --and), where it overrides the others\n"
             "    without studio/proof\n",
         1);
}

TEST(Env, AScriptThatCannotBeWrittenIsAFailure) {
  const RunResult result = RunProgram(
      {"/bin/sh", "-c", "exec \"$0\" env -r \"$1\" weaver >/dev/full", ZOR_PROGRAM, Examples()});
  EXPECT_EQ("zor: standard output: No space left on device\n", result.err);
  EXPECT_EQ(2, result.status);
}

TEST(Messages, HoldNothingThatSteersATerminal) {
  Expect(ZorOnExamples({"env",
                        "\x1b"
                        "cqqqqq\x07"}),
         "",
         "zor: there is no product \\x1bcqqqqq\\x07 in " + Examples() +
             "\nzor avail lists what there is\n",
         1);
}

TEST(Platform, IsWhatTheWarehouseTakesTheHostFor) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("HOST", "%(HOST-PLATFORM)"));
  const RunResult result = Zor({"platform"});
  ASSERT_EQ(0, result.status);
  const std::string platform = result.out.substr(0, result.out.find('\n'));
  Expect(Zor({"env", "-r", warehouse.Root(), "C"}), "HOST='" + platform + "'; export HOST;\n", "",
         0);
}

}  // namespace
