// The words by which people name products.
#include <gtest/gtest.h>

#include <filesystem>

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

TEST(Request, TellsWhatIsMissingBehindAnOptionOrInAName) {
  const std::string root = Examples();
  const std::string written =
      ": a condition is written [name=value], as in tools/weaver[platform=linux-x86]\n";
  const struct {
    std::vector<std::string> words;
    std::string err;
    int status;
  } rows[] = {
      {{"env", ""}, "zor: '' names no product\n", 2},
      {{"env", "//", "/"}, "zor: '/' names no product\n", 2},
      {{"env", "-p"}, "zor: -p needs a product: -p category [name] [version] [rev]\n", 2},
      {{"env", "weaver", "--root"}, "zor: --root needs the root of a warehouse\n", 2},
      {{"env", "weaver", "-r"}, "zor: -r needs the root of a warehouse\n", 2},
      {{"env", "weaver[platform=x"}, "zor: weaver[platform=x" + written, 2},
      {{"env", "weaver[platform=x]/1.9"}, "zor: weaver[platform=x]/1.9" + written, 2},
      {{"env", "tools/weaver/1.10/2/linux-x86/bin"},
       "zor: tools/weaver has no such version or revision: tools/weaver/1.10/2/linux-x86/bin\n"
       "there are: 1.9 1.10\n",
       1},
      {{"env", "wea"}, "zor: there is no product wea in " + root + "\ndid you mean weaver?\n", 1},
      {{"env", "weaver[platform=vax-vms][size=s]"},
       "zor: no variety of tools/weaver/1.10/2 has platform=vax-vms; there are linux-x86, pc-x86, "
       "solaris-sparc\n"
       "no variety of tools/weaver/1.10/2 has size=s; none has such a variable, they have "
       "platform\n",
       1},
      {{"env", "@none"}, "zor: there is no set @none\n", 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.words.back());
    Expect(ZorOnExamples(row.words), "", row.err, row.status);
  }
}

TEST(Request, ATakenWordOfZorenvMeansWhatItMeansThere) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1/1", Insert("A", "first"));
  warehouse.Product("C/Contents/2/1", Insert("A", "second"));
  warehouse.Undo("C/Contents/2/1", Insert("A", "undone"));
  warehouse.Product("C/(new)/1/1", Insert("B", "x"));
  warehouse.Product("D/Contents/1/1", Insert("D", "x"));
  const std::string first = "A='first'; export A;\n", second = "A='second'; export A;\n";
  const struct {
    std::vector<std::string> words;
    std::string out;
  } rows[] = {
      {{"-p", "C", "1", "1", "D"}, first + "D='x'; export D;\n"},
      {{"-p", "C", "+", "1", "D"}, second + "D='x'; export D;\n"},
      {{"-p", "C", "(new)"}, "B='x'; export B;\n"},
      {{"-p", "C", "--csh"}, "setenv A 'second';\n"},
      {{"-p", "C", "--posh"}, second},
      {{"--proc", "-p", "C", "-P"}, second},
      {{"--user", "-U", "--system", "-S", "-T", "-p", "C"}, second},
      {{"--undo", "-p", "C"}, "A='undone'; export A;\n"},
      {{"-p", "C", "1", "-A", "-p", "C", "2"}, "A='first:second'; export A;\n"},
  };
  for (const auto& row : rows) {
    std::vector<std::string> words = {"env", "--root", warehouse.Root()};
    words.insert(words.end(), row.words.begin(), row.words.end());
    SCOPED_TRACE(testing::PrintToString(words));
    Expect(Zor(words), row.out, "", 0);
  }
  // Behind --exec stands a program.
  for (const char* exec : {"--exec", "-X"})
    Expect(Zor({"exec", "-r", warehouse.Root(), "-p", "C", exec, "sh", "-c", "echo $A"}),
           "second\n", "", 0);
}

TEST(Request, AVarietyMayBeAnyOfSeveralAndThereMayBeNone) {
  Warehouse warehouse;
  warehouse.File("C/P/1/1", "product.xml",
                 ProductXml("<VARIETY><VAR n='k' v='b'/><SEGMENT here='1'/></VARIETY>"));
  warehouse.File("C/P/1/1", "partlist.xml", PartListXml(""));
  warehouse.File("C/P/1/1", "env.xml", EnvXml(Insert("A", "%(k)")));
  warehouse.File("C/Q/1/1", "product.xml", ProductXml(""));
  warehouse.File("C/Q/1/1", "partlist.xml", PartListXml(""));
  warehouse.File("C/Q/1/1", "env.xml", EnvXml(Insert("A", "x")));
  const std::string root = warehouse.Root();
  Expect(Zor({"env", "-r", root, "C/P[k=a,b]"}), "A='b'; export A;\n", "", 0);
  Expect(Zor({"env", "-r", root, "C/P[k=a]"}), "",
         "zor: no variety of C/P/1/1 has k=a; there are b\n", 1);
  Expect(Zor({"env", "-r", root, "C/Q"}), "",
         "zor: C/Q/1/1 has no varieties, so it has no settings\n", 1);
}

// Runs in a directory, without a word about where the warehouse is.
RunResult RunIn(const std::string& directory, std::vector<std::string> words) {
  words.insert(words.begin(), ZOR_PROGRAM);
  RunOptions options;
  options.environment = PlainEnvironment();
  options.directory = directory;
  return RunProgram(words, options);
}

TEST(Root, IsTheCurrentDirectoryWhereNothingElseIsSaid) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1", Insert("PATH", "%(BASE-CNVR)/bin", Before("**")));
  warehouse.ProductWithParts("C/Q/1/1", "", Part("P", "1", "1"));
  std::filesystem::permissions(warehouse.Write("root/C/P/1/1/bin/tool", "#!/bin/sh\n"),
                               std::filesystem::perms::owner_all);
  const std::string root = warehouse.Root(), tool = root + "/C/P/1/1/bin/tool\n";
  const struct {
    std::vector<std::string> words;
    std::string out;
  } rows[] = {
      {{"avail"}, "C/P/1/1 (latest)\nC/Q/1/1 (latest)\n"},
      {{"env", "P"}, "PATH='" + root + "/C/P/1/1/bin:/usr/bin:/bin'; export PATH;\n"},
      {{"which", "tool", "C/P"}, tool},
      {{"search", "p"}, "C/P/1/1\n"},
      {{"files", "C/P"}, ""},
      {{"show", "C/Q"},
       "C/Q/1/1\nVersions: 1/1\nVarieties:\n  (without a name) (for this host)\nParts:\n"
       "  C/P/1/1\n"},
      {{"impact", "C/P"}, "C/Q/1/1 includes C/P/1/1 (at C/Q/1/1/partlist.xml:1:38)\n"},
      {{"graph", "C/P"}, "C/P/1/1\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.words[0]);
    Expect(RunIn(root, row.words), row.out, "", 0);
  }
  const RunResult json = RunIn(root, {"which", "--json", "tool", "C/P"});
  EXPECT_NE(std::string::npos, json.out.find("\"product\": \"C/P/1/1\"")) << json.out;
  Expect(RunIn(root, {"env", "qqq"}), "",
         "zor: there is no product qqq in .\nzor avail lists what there is\n", 1);
  EXPECT_EQ(0, RunIn(root, {"new", "C/R/1/1"}).status);
  EXPECT_TRUE(std::filesystem::exists(root + "/C/R/1/1/product.xml"));
  Expect(RunIn(warehouse.Directory("empty"), {"env", "qqq"}), "",
         "zor: neither -r nor ZORROOT says where the warehouse is, and the current directory is "
         "none\n  say it with -r DIRECTORY, or for all commands with export ZORROOT=DIRECTORY\n"
         "  see zor(1), ENVIRONMENT\n",
         1);
}

TEST(Root, ThatIsNoneIsToldWithWhatStandsBesideIt) {
  const Warehouse place;
  place.Directory("warehouse/C/P/1/1");
  place.Write("warehouse.txt", "");
  place.Link("loop", "loop");
  const std::string says = "\n  that is where -r or ZORROOT says it is\n  ";
  const std::string end = "\n  see zor(1), ENVIRONMENT\n";
  const std::string nowhere = "say where it is, with -r DIRECTORY or export ZORROOT=DIRECTORY";
  const struct {
    std::string root, err;
  } rows[] = {
      {place / "warehuose", "zor: there is no warehouse " + (place / "warehuose") +
                                ": No such file or directory" + says + "did you mean " +
                                (place / "warehouse") + "?" + end},
      {"warehuose", "zor: there is no warehouse warehuose: No such file or directory" + says +
                        "did you mean warehouse?" + end},
      {"qqq", "zor: there is no warehouse qqq: No such file or directory" + says + nowhere + end},
      {place / "none/deeper", "zor: there is no warehouse " + (place / "none/deeper") +
                                  ": No such file or directory" + says + nowhere + end},
      {place / "warehouse.txt/x", "zor: there is no warehouse " + (place / "warehouse.txt/x") +
                                      ": Not a directory" + says + nowhere + end},
      {place / "loop",
       "zor: " + (place / "loop/zor.toml") + ": Too many levels of symbolic links\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.root);
    Expect(RunIn(place.path(), {"avail", "-r", row.root}), "", row.err, 1);
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

TEST(Program, SaysHowItIsUsed) {
  const std::string usage = Zor({"--help"}).out;
  EXPECT_EQ(0u, usage.find("usage: zor COMMAND [REQUEST] [OPTION]...\n\n")) << usage;
  EXPECT_NE(std::string::npos, usage.find("\n  load       load products into this shell\n"));
  for (const char* word : {"-h", "help"})
    Expect(Zor({word}), usage, "", 0);
  Expect(Zor({}), "", usage, 2);
  Expect(Zor({"--timeout", "5"}), "", usage, 2);
  for (const char* option : {"--timeout", "--shell"})
    Expect(Zor({option}), "", "zor: " + std::string(option) + " needs a value\n", 2);
  Expect(Zor({"status", "--timeout"}), "",
         "zor: --timeout: 1 required TEXT missing\nzor status --help tells what it takes\n", 2);
}

TEST(Program, GivesUpAfterATimeThatIsANumberOfSeconds) {
  for (const char* time : {"x", "1x", "-1", "1e7", "inf", "nan", ""})
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"--timeout", time, "status"}, {"status", "--timeout=" + std::string(time)}}) {
      if (words[0] == "--timeout" && words[1].empty()) continue;
      SCOPED_TRACE(testing::PrintToString(words));
      Expect(Zor(words), "",
             "zor: --timeout needs a number of seconds, not '" + std::string(time) + "'\n", 2);
    }
  // 0 is never.
  for (const char* time : {"0", "0.5", "1e6"})
    Expect(Zor({"status", "--timeout", time}), "nothing is loaded\n", "", 0);
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
