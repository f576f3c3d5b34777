// The function that zor init defines, in the real shells.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>

#include "zor.h"

namespace {

using Variables = std::map<std::string, std::string>;

enum Family { kSh, kFish, kCsh, kElvish, kXonsh };

struct Shell {
  const char* name;  // as zor init takes it
  std::vector<std::string> argv;
  Family family;
};

const Shell kShells[] = {
    {"bash", {"/bin/bash", "--norc"}, kSh},
    {"zsh", {"/bin/zsh", "-f"}, kSh},
    {"dash", {"/bin/dash"}, kSh},
    {"ksh", {"/bin/ksh93"}, kSh},
    {"mksh", {"/bin/mksh"}, kSh},
    {"busybox", {"/bin/busybox", "sh"}, kSh},
    {"fish", {"/usr/bin/fish", "--no-config"}, kFish},
    {"tcsh", {"/bin/tcsh", "-f"}, kCsh},
    {"elvish", {"/usr/bin/elvish", "-norc"}, kElvish},
    {"xonsh", {"/usr/bin/xonsh", "--no-rc"}, kXonsh},
};

std::string Idiom(const Shell& shell, const std::string& program) {
  const std::string init = program + " init " + shell.name;
  switch (shell.family) {
    case kSh:
      return "eval \"$(" + init + ")\"\n";
    case kFish:
      return init + " | source\n";
    case kCsh:
      return "eval \"`" + init + "`\"\n";
    case kElvish:
      return "var zor~ = $nop~\neval (" + init + " | slurp) &on-end={|ns| set zor~ = $ns[zor~]}\n";
    case kXonsh:
      return "execx($(" + init + "))\n";
  }
  return "";
}

// A word that comes from a variable of the environment.
std::string FromVariable(const Shell& shell, const std::string& name) {
  switch (shell.family) {
    case kSh:
    case kFish:
      return "\"$" + name + "\"";
    case kCsh:
      return "$" + name + ":q";
    case kElvish:
      return "$E:" + name;
    case kXonsh:
      return "@(${...}['" + name + "'])";
  }
  return "";
}

Variables VariablesIn(const std::string& texts) {
  Variables variables;
  for (std::size_t at = 0; at < texts.size();) {
    const std::size_t end = std::min(texts.find('\0', at), texts.size());
    const std::string text = texts.substr(at, end - at);
    variables[text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
    at = end + 1;
  }
  return variables;
}

// An insert of exactly this value, with a separator that it does not hold.
std::string Verbatim(std::string_view name, std::string_view value) {
  return "<ENV-INSERT sep=\"&#x394;\"><NAME>" + std::string(name) + "</NAME><VALUE><![CDATA[" +
         std::string(value) + "]]></VALUE></ENV-INSERT>";
}

class Init : public testing::TestWithParam<Shell> {
 protected:
  void SetUp() override {
    const std::string& path = GetParam().argv[0];
    if (access(path.c_str(), X_OK) != 0) GTEST_SKIP() << path << " is not installed";
  }

  bool Is(Family family) const { return GetParam().family == family; }
  bool IsNamed(std::string_view name) const { return GetParam().name == name; }

  // Adds a line that runs the words of zor, a line that keeps the status, and one that keeps the
  // environment.
  void Step(const std::string& words) {
    const std::string number = std::to_string(++steps_);
    const std::string line = "zor " + words;
    const std::string status = warehouse_ / ("status." + number);
    switch (GetParam().family) {
      case kSh:
        script_ += line + "\necho $? >" + status + "\n";
        break;
      case kFish:
      case kCsh:
        script_ += line + "\necho $status >" + status + "\n";
        break;
      case kElvish:
        script_ += "try { " + line + "; echo 0 >" + status +
                   " } catch e { try { echo $e[reason][exit-status] >" + status +
                   " } catch { echo 1 >" + status + " } }\n";
        break;
      case kXonsh:
        script_ += "_r = ![" + line + "]\nopen('" + status + "', 'w').write(str(_r.rtn) + '\\n')\n";
        break;
    }
    Keep(number);
  }

  void Keep(const std::string& number) {
    script_ += "/usr/bin/env -0 >" + warehouse_ / ("environment." + number) + "\n";
  }

  // Runs what was added, behind the idiom and these lines.
  void Run(const std::string& before = "") {
    const std::string file = warehouse_.Write(Is(kXonsh) ? "script.xsh" : "script",
                                              before + Idiom(GetParam(), program_) + script_);
    RunOptions options;
    options.environment = environment_;
    options.directory = warehouse_.Directory("work");
    options.limit = std::chrono::seconds(60);
    std::vector<std::string> argv = GetParam().argv;
    argv.push_back(file);
    result_ = RunProgram(argv, options);
    EXPECT_EQ(0, result_.status) << result_.out << result_.err;
    EXPECT_FALSE(std::filesystem::exists(warehouse_ / "work/ran")) << "a word or value was run";
  }

  std::string StatusOf(int step) {
    return ReadFile(warehouse_ / ("status." + std::to_string(step)));
  }

  // Behind a step, without what shells keep in it for themselves; step 0 is before the first.
  Variables Behind(int step) {
    Variables all = VariablesIn(ReadFile(warehouse_ / ("environment." + std::to_string(step))));
    for (const char* own : {"_", "SHLVL", "OLDPWD", "_AST_FEATURES"})
      all.erase(own);
    return all;
  }

  // The same without the session's own.
  Variables Computed(int step) {
    Variables all = Behind(step);
    std::erase_if(all, [](const auto& entry) { return entry.first.starts_with("ZOR_SESSION"); });
    return all;
  }

  Warehouse warehouse_;
  std::string program_ = ZOR_PROGRAM;
  std::vector<std::string> environment_ = {"A=here:there",
                                           "GONE=x",
                                           "HOME=" + warehouse_.Directory("home"),
                                           "LC_ALL=C.UTF-8",
                                           "PATH=/usr/bin:/bin",
                                           "TMPDIR=" + warehouse_.Directory("tmp"),
                                           "XDG_CONFIG_HOME=" + warehouse_.Directory("home"),
                                           "XDG_DATA_HOME=" + warehouse_.Directory("home"),
                                           "ZORROOT=" + warehouse_.Root()};
  std::string script_;
  int steps_ = 0;
  RunResult result_;
};

const char kOdd[] =
    "a b\t $HOME ${HOME} `touch ran` $(touch ran); touch ran # \"x\" it's & | > * ? ~ [a] "
    "{b,c} (d) ! !! !x \\! \\\\! \\n \\\\ %% ^a^b \u00fcn\u00ef \u65e5\u672c\n\n first\nunset A "
    ";\n\\\n'q' \\'\n";

struct Loaded {
  std::string name, version;
};

// The environment of a list of products as the tool computes it from what the shell started with.
Variables Model(const Variables& start, const std::string& root, const std::vector<Loaded>& list) {
  if (list.empty()) return start;
  std::vector<std::string> arguments = {"-r", root};
  for (const Loaded& product : list)
    arguments.insert(arguments.end(), {"-p", "C", product.name, product.version, "1"});
  arguments.insert(arguments.end(), {"--exec", "/usr/bin/env", "-0"});
  RunOptions options;
  options.environment.emplace();
  for (const auto& [name, value] : start)
    options.environment->push_back(name + '=' + value);
  const RunResult result = Zorenv(arguments, options);
  EXPECT_EQ("", result.err);
  return VariablesIn(result.out);
}

TEST_P(Init, FortyStepsGiveWhatTheToolComputesAndPurgeTheStart) {
  const std::vector<std::string> names = {"a", "b", "c", "d"};
  for (const std::string version : {"1.0", "2.0"}) {
    const auto at = [&](const std::string& name) { return "C/" + name + '/' + version + "/1"; };
    warehouse_.Product(at("a"), Insert("PATH", "/opt/a" + version, Before("/usr/bin")) +
                                    Insert("A", "shared") + Verbatim("ODD", kOdd));
    warehouse_.Product(at("b"), Insert("A", "shared") + Insert("A", "b" + version, After("here")) +
                                    Insert("ONLY_B", version));
    warehouse_.Product(at("c"), Delete("GONE") + Insert("PATH", "/opt/c" + version));
    warehouse_.Product(at("d"), Remove("A", "there") + Insert("D", "") + Verbatim("E", "it's"));
  }
  warehouse_.Product("C/bad/1.0/1", Insert("F", "1") + Insert("A-B", "1"));
  std::mt19937 random(11);
  std::vector<Loaded> list;
  std::vector<std::vector<Loaded>> lists = {{}};
  std::vector<std::string> statuses = {""};
  Keep("0");
  for (int i = 1; i <= 40; ++i) {
    const std::string name = names[random() % names.size()];
    const std::string version = random() % 2 == 0 ? "1.0" : "2.0";
    const auto place = std::find_if(list.begin(), list.end(),
                                    [&](const Loaded& loaded) { return loaded.name == name; });
    std::string status = "0\n";
    if (i % 13 == 0) {
      Step("purge");
      list.clear();
    } else if (i % 9 == 0) {
      Step("load C/bad");
      status = "1\n";
    } else if (place == list.end()) {
      Step("load C/" + name + '/' + version);
      list.push_back({name, version});
    } else if (random() % 2 == 0) {
      Step("swap C/" + name + '/' + version);
      place->version = version;
    } else {
      Step("unload " + name);
      list.erase(place);
    }
    lists.push_back(list);
    statuses.push_back(status);
  }
  Step("purge");
  Run();
  const Variables start = Behind(0);
  EXPECT_EQ("x", start.at("GONE"));
  for (int i = 1; i <= 40; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(statuses[static_cast<std::size_t>(i)], StatusOf(i)) << result_.err;
    const std::vector<Loaded>& loaded = lists[static_cast<std::size_t>(i)];
    EXPECT_EQ(Model(start, warehouse_.Root(), loaded), Computed(i)) << result_.err;
  }
  EXPECT_EQ(start, Behind(41));
  EXPECT_TRUE(std::filesystem::is_empty(warehouse_ / "tmp"));
}

// A word that was evaluated again would be another one in the message, or leave a file.
TEST_P(Init, WordsArriveAsTheyAreAndAreNotRun) {
  const std::string words[] = {
      "w; touch ran", "$(touch ran)", "`touch ran`", "(touch ran)", "a!b",           "#c",    "*",
      "d  e",         "it's",         "\"f",         "g\\",         "h & touch ran", "$HOME", "~",
      "{i,j}",        "k > ran"};
  for (const std::string& word : words) {
    environment_.push_back("W" + std::to_string(++steps_) + '=' + word);
    --steps_;
    Step("load " + FromVariable(GetParam(), "W" + std::to_string(steps_ + 1)));
  }
  Run();
  int step = 0;
  for (const std::string& word : words) {
    SCOPED_TRACE(word);
    EXPECT_EQ("1\n", StatusOf(++step));
    EXPECT_EQ("here:there", Behind(step).at("A"));
    EXPECT_NE(std::string::npos, result_.err.find("there is no product " + word + " in "))
        << result_.err;
  }
}

TEST_P(Init, WhatChangesNothingIsRunAsItStands) {
  warehouse_.Product("C/a/1.0/1", Insert("NEW", "1"));
  Step("avail");
  Step("load --help");
  Step("load C/a");
  Step("set");
  Step("nonsense");
  if (!Is(kElvish)) Step("env C/a --format json | /bin/cat");
  Run();
  EXPECT_EQ("0\n", StatusOf(1));
  EXPECT_EQ("0\n", StatusOf(2));
  EXPECT_EQ("0\n", StatusOf(4));
  EXPECT_EQ("2\n", StatusOf(5));
  EXPECT_EQ(0u, result_.out.find("C/a/1.0/1")) << result_.out;
  EXPECT_NE(std::string::npos, result_.out.find("zor load tools/weaver\n"));
  EXPECT_NE(std::string::npos, result_.err.find("zor: there is no command nonsense"))
      << result_.err;
}

// The program ends with nothing printed, or with all of it and without its own end: nothing else is
// possible, wherever a signal arrives.
TEST_P(Init, AProgramThatIsInterruptedChangesNothing) {
  warehouse_.Product("C/a/1.0/1", Insert("A", "new"));
  program_ = warehouse_ / "zor";
  const std::string real = warehouse_ / "real";
  // Where these read a file they end with the program that an interrupt has ended.
  const std::string interrupt = Is(kCsh) || Is(kFish) ? "PIPE" : "INT";
  warehouse_.Write("plan", "before " + interrupt + "\nbefore TERM\nbefore HUP\nbefore 2\nafter " +
                               interrupt + "\nafter TERM\nafter HUP\nafter 2\nafter 0\n");
  warehouse_.Write("stand-in",
                   "#!/bin/sh\n"
                   "case $1 in --csh-file | --csh-after) exec " +
                       real +
                       " \"$@\" ;; esac\n"
                       "cd " +
                       warehouse_.path() +
                       "\n"
                       "read -r when end <plan\n"
                       "sed -i 1d plan\n"
                       "[ $when = before ] || " +
                       real +
                       " \"$@\"\n"
                       "case $end in [0-9]) exit $end ;; esac\n"
                       "kill -$end $$\n");
  ASSERT_EQ(0, chmod((warehouse_ / "stand-in").c_str(), 0755));
  std::filesystem::copy_file(ZOR_PROGRAM, real);
  std::filesystem::copy_file(ZOR_PROGRAM, program_);
  Keep("0");
  script_ += "/bin/mv " + warehouse_ / "stand-in" + " " + program_ + "\n";
  for (int step = 1; step <= 9; ++step)
    Step("load C/a");
  Run();
  EXPECT_EQ("", ReadFile(warehouse_ / "plan"));
  for (int step = 1; step <= 8; ++step) {
    SCOPED_TRACE(step);
    EXPECT_NE("0\n", StatusOf(step));
    EXPECT_EQ(Behind(0), Behind(step));
  }
  EXPECT_EQ("0\n", StatusOf(9));
  EXPECT_EQ(Model(Behind(0), warehouse_.Root(), {{"a", "1.0"}}), Computed(9)) << result_.err;
  EXPECT_TRUE(std::filesystem::is_empty(warehouse_ / "tmp"));
}

// A value of this size takes the shells of before half a minute.
TEST_P(Init, LongValuesArriveWhole) {
  const std::string value(100000, '\'');
  warehouse_.Product("C/a/1.0/1", Verbatim("LONG", value));
  Step("load C/a");
  Run();
  EXPECT_EQ("0\n", StatusOf(1));
  EXPECT_EQ(value, Behind(1)["LONG"]) << result_.err;
}

TEST_P(Init, NothingIsLeftBehind) {
  if (!Is(kSh)) GTEST_SKIP() << "only the sh family lists its variables so";
  warehouse_.Product("C/a/1.0/1", Insert("B", "1"));
  script_ = "set >before\n";
  Step("load C/a");
  Step("purge");
  script_ += "set | sed -n '/^zor[_A-Z]/p;/^_*zor_[a-z]*=/p'\n";
  Run();
  EXPECT_EQ("", result_.out);
}

class InitOfShFamily : public Init {};

TEST_P(InitOfShFamily, ReadOnlyVariablesAreRefusedBeforeAnythingIsSet) {
  warehouse_.Product("C/a/1.0/1", Insert("FIRST", "1") + Insert("KEPT", "2") + Insert("LAST", "1"));
  warehouse_.Product("C/b/1.0/1", Insert("FIRST", "1") + Delete("GONE") + Insert("LAST", "1"));
  Step("load C/a");
  Step("load C/b");
  Run("KEPT=1\nreadonly KEPT\nreadonly GONE\n");
  for (const int step : {1, 2}) {
    EXPECT_EQ("1\n", StatusOf(step));
    EXPECT_EQ(0u, Behind(step).count("FIRST"));
    EXPECT_EQ("x", Behind(step).at("GONE"));
  }
  EXPECT_NE(
      std::string::npos,
      result_.err.find("zor: this shell refuses one of the variables; nothing was changed\n"));
}

TEST_P(InitOfShFamily, OptionsAndAliasesOfTheUserDoNoHarm) {
  warehouse_.Product("C/a/1.0/1", Verbatim("ODD", kOdd) + Delete("GONE"));
  std::vector<std::string> all = {"set -eu\nIFS=zo-u:\n", "set -f\n", "set -C\n", "set -a\n",
                                  "alias zor=false set=false return=false unalias=false\n"};
  if (IsNamed("bash")) {
    all.emplace_back("set -o posix\n");
    all.emplace_back("shopt -s expand_aliases failglob\nalias zor=false set=false\n");
  }
  if (IsNamed("zsh")) {
    all.emplace_back(
        "setopt CSH_JUNKIE_QUOTES RC_QUOTES KSH_ARRAYS WARN_CREATE_GLOBAL GLOB_SUBST NOMATCH "
        "IGNORE_BRACES\n");
    all.emplace_back("setopt SH_WORD_SPLIT NO_EQUALS ERR_EXIT ERR_RETURN NO_UNSET ALL_EXPORT\n");
    all.emplace_back("setopt NO_GLOBAL_EXPORT POSIX_BUILTINS POSIX_IDENTIFIERS\n");
  }
  for (const std::string& before : all) {
    SCOPED_TRACE(before);
    script_.clear();
    steps_ = 0;
    script_ = "zor load C/a\n";
    Keep("1");
    std::filesystem::remove(warehouse_ / "environment.1");
    Run(before);
    EXPECT_EQ("", result_.err);
    EXPECT_EQ(kOdd, Behind(1)["ODD"]);
    EXPECT_EQ(0u, Behind(1).count("GONE"));
  }
}

class InitOfShellsWithNumbers : public Init {};

// These calculate what is assigned to a number, and so run what a subscript holds.
TEST_P(InitOfShellsWithNumbers, VariablesThatAreNoTextsAreRefused) {
  warehouse_.Product("C/a/1.0/1", Insert("FIRST", "1") + Verbatim("N", "a[$(touch ran)]"));
  for (const std::string kind : {"-i", "-u", "-r"}) {
    SCOPED_TRACE(kind);
    script_.clear();
    steps_ = 0;
    Step("load C/a");
    Run("typeset " + kind + " N\n");
    EXPECT_EQ("1\n", StatusOf(1));
    EXPECT_EQ(0u, Behind(1).count("FIRST"));
    EXPECT_EQ(
        "zor: N is no plain variable of this shell\n"
        "zor: this shell refuses one of the variables; nothing was changed\n",
        result_.err);
  }
}

class InitOfShellsThatCapture : public Init {
 protected:
  // Puts a program in the place of zor, which prints the file of its last word and ends with the
  // status in the one beside it.
  void Instead() {
    const std::string definition = Zor({"init", GetParam().name}).out;
    std::string text = definition;
    const std::string stand_in = warehouse_ / "instead";
    for (std::size_t at = 0; (at = text.find(ZOR_PROGRAM, at)) != text.npos; at += stand_in.size())
      text.replace(at, std::string(ZOR_PROGRAM).size(), stand_in);
    const std::string file = warehouse_.Write("definition", text);
    program_ = warehouse_.Write(
        "instead", "#!/bin/sh\ncase $1 in\ninit) cat " + file + " ;;\n--shell) cat \"" +
                       warehouse_.path() + "/printed.$4\"; read status <\"" + warehouse_.path() +
                       "/ends.$4\"; case $status in kill) kill $$ ;; *) exit $status ;; esac ;;\n"
                       "*) exit 7 ;;\nesac\n");
    ASSERT_EQ(0, chmod(program_.c_str(), 0755));
  }
};

TEST_P(InitOfShellsThatCapture, NothingIsEvaluatedButAWholeScriptOfADoneProgram) {
  warehouse_.Product("C/a/1.0/1", Insert("FIRST", "1") + Insert("LAST", "1"));
  const std::string script =
      Zor({"--shell", GetParam().name, "load", "C/a"}, {"ZORROOT=" + warehouse_.Root()}).out;
  ASSERT_NE("", script);
  const std::size_t last = script.find("LAST", script.find('\n'));
  const struct {
    std::string printed, ends;
    const char* status;
  } rows[] = {
      {"Bad thing at 12\n" + script, "0", "1\n"},
      {script + "Bad thing at 12\n", "0", "1\n"},
      {script.substr(0, script.size() - 2), "0", "1\n"},
      {script.substr(0, last), "0", "1\n"},
      {script.substr(script.find('\n')), "0", "1\n"},
      {"", "0", "1\n"},
      {script.substr(0, last), "kill", nullptr},
      {script, "3", nullptr},
      {"", "3", "3\n"},
      {script, "0", "0\n"},
  };
  int number = 0;
  for (const auto& row : rows) {
    const std::string name = std::to_string(++number);
    warehouse_.Write("printed." + name, row.printed);
    warehouse_.Write("ends." + name, row.ends + "\n");
    Step("load " + name);
  }
  Instead();
  Run();
  number = 0;
  for (const auto& row : rows) {
    SCOPED_TRACE(++number);
    const bool done = row.printed == script && row.ends == "0";
    if (row.status) {
      EXPECT_EQ(row.status, StatusOf(number));
    } else {
      EXPECT_NE("0\n", StatusOf(number));
    }
    EXPECT_EQ(done ? 1u : 0u, Behind(number).count("FIRST"));
    EXPECT_EQ(done ? 1u : 0u, Behind(number).count("LAST"));
  }
}

class InitOfCsh : public Init {};

TEST_P(InitOfCsh, AnotherQuotingIsRefused) {
  warehouse_.Product("C/a/1.0/1", Insert("FIRST", "1"));
  for (const char* setting : {"set backslash_quote\n", "set histchars = '+^'\n"}) {
    script_ = setting;
    steps_ = 0;
    Step("load C/a");
    Run();
    EXPECT_NE("0\n", StatusOf(1)) << setting;
    EXPECT_EQ(0u, Behind(1).count("FIRST"));
    EXPECT_NE("", result_.err);
  }
}

// A copy of the program in a directory of that name.
std::string CopyIn(const TemporaryTree& tree, const std::string& directory) {
  const std::string path = tree.Directory(directory) + "/zor";
  std::filesystem::copy_file(ZOR_PROGRAM, path);
  return path;
}

TEST(InitProgram, QuotesItsOwnPathForCsh) {
  TemporaryTree tree;
  const std::string odd = CopyIn(tree, "A z0{9}\u00e9@,%+=^~");
  const std::string csh = RunProgram({odd, "init", "csh"}).out;
  EXPECT_EQ(0u, csh.find("alias zor '")) << csh;
  // Nothing is left that could part the fields of a rule, so tcsh has no completion.
  EXPECT_EQ(csh, RunProgram({odd, "init", "tcsh"}).out);
  const std::string marked = CopyIn(tree, "a!b");
  for (const char* shell : {"csh", "tcsh"})
    Expect(RunProgram({marked, "init", shell}), "",
           "zor: csh can't take the path of this program, which holds a line end or its mark of "
           "history\n",
           1);
  if (access("/bin/tcsh", X_OK) != 0) GTEST_SKIP() << "tcsh is not installed";
  const std::string script =
      tree.Write("script", "source " + tree.Write("start", csh) + "\nzor platform\n");
  RunOptions options;
  options.environment = PlainEnvironment();
  Expect(RunProgram({"/bin/tcsh", "-f", script}, options), Zor({"platform"}).out, "", 0);
}

// The steps of the alias of csh: a file for the script, the run that writes it, and what is left.
TEST(InitProgram, MakesTheFileOfCshWhereItCan) {
  TemporaryTree tree;
  const auto made_in = [&](const std::string& variable) {
    const RunResult result = Zor({"--csh-file"}, {variable});
    EXPECT_EQ(0, result.status);
    const std::string path = result.out.substr(0, result.out.size() - 1);
    EXPECT_EQ("", ReadFile(path));
    std::filesystem::remove(path);
    return path.substr(0, path.rfind('/'));
  };
  EXPECT_EQ(tree.path(), made_in("TMPDIR=" + tree.path()));
  EXPECT_EQ("/tmp", made_in("TMPDIR="));
  EXPECT_EQ("/tmp", made_in("TMPDIR=" + tree.Directory("two\nlines")));
  const std::string none = tree / "none";
  const RunResult failed = Zor({"--csh-file"}, {"TMPDIR=" + none});
  EXPECT_EQ("", failed.out);
  EXPECT_EQ(0u, failed.err.find("zor: " + none + "/zor.")) << failed.err;
  EXPECT_TRUE(failed.err.ends_with(": No such file or directory; nothing was changed\n"))
      << failed.err;
  EXPECT_EQ(2, failed.status);
  // Without a file nothing more is said, and where it has gone the step fails.
  Expect(Zor({"--csh-before", "00", "", "load", "x"}), "", "", 2);
  Warehouse warehouse;
  warehouse.Product("C/a/1.0/1", Insert("A", "1"));
  Expect(Zor({"--csh-before", "00", none, "load", "-r", warehouse.Root(), "C/a"}), "",
         "zor: " + none + ": No such file or directory\n", 2);
}

TEST(InitProgram, RefusesAnotherQuotingOfCsh) {
  TemporaryTree tree;
  const std::string file = tree.Write("file", "");
  const std::string told =
      "zor: unset histchars and backslash_quote, which change how csh quotes; nothing was "
      "changed\n";
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"--csh-before", "10", file, "load", "x"}, {"--csh-before", "00", file, "!*"}}) {
    tree.Write("file", "");
    Expect(Zor(words), "", told, 2);
    EXPECT_FALSE(std::filesystem::exists(file));
  }
  // Words that only look like a step are none.
  Expect(Zor({"--csh-before", "00"}), "",
         "zor: there is no command --csh-before; zor --help lists what there is\n", 2);
  // What csh could not read has changed nothing.
  tree.Write("file", "");
  Expect(Zor({"--csh-after", "1", file, "load", "x"}), "",
         "zor: csh refuses one of the variables; nothing was changed\n", 1);
  Expect(Zor({"--csh-after", "1", file, "load", "x"}), "", "", 1);
}

TEST(InitProgram, HandsNushellARecordInPlaceOfAScript) {
  Warehouse warehouse;
  warehouse.Product("C/a/1.0/1", Insert("A", "q\"'\n$x") + Delete("GONE"));
  const auto load = [&](const std::string& value) {
    return Zor({"--shell", "nushell", "load", "-r", warehouse.Root(), "C/a"}, {"GONE=" + value});
  };
  const RunResult result = load("x");
  EXPECT_EQ("", result.err);
  EXPECT_EQ(0u, result.out.find("{\"set\":{\"A\":\"q\\\"'\\n$x\",\"ZOR_SESSION\":\""))
      << result.out;
  EXPECT_TRUE(result.out.ends_with("\"},\"unset\":[\"GONE\"]}\n")) << result.out;
  // What nushell keeps for itself is refused, as in its dialect.
  warehouse.Product("C/a/1.0/1", Insert("FILE_PWD", "x"));
  Expect(load("x"), "",
         "zor: the format nushell can't carry these variables, so nothing was written:\n"
         "  FILE_PWD is kept for itself by nushell\n",
         1);
}

TEST(InitProgram, TellsWhichShellsThereAre) {
  const std::string names =
      "bash, zsh, sh, dash, busybox, ksh, mksh, fish, csh, tcsh, elvish, xonsh, nushell, "
      "powershell\n";
  Expect(Zor({"init"}), "", "zor: say for which shell: " + names, 2);
  Expect(Zor({"init", "cmd"}), "", "zor: there is no shell cmd; there are " + names, 2);
}

std::string NameOf(const testing::TestParamInfo<Shell>& shell) {
  return shell.param.name;
}

std::vector<Shell> Chosen(std::initializer_list<std::string_view> names) {
  std::vector<Shell> chosen;
  for (const Shell& shell : kShells)
    if (std::find(names.begin(), names.end(), shell.name) != names.end()) chosen.push_back(shell);
  return chosen;
}

INSTANTIATE_TEST_SUITE_P(All, Init, testing::ValuesIn(kShells), NameOf);
INSTANTIATE_TEST_SUITE_P(All, InitOfShFamily, testing::ValuesIn(kShells, kShells + 6), NameOf);
INSTANTIATE_TEST_SUITE_P(All, InitOfShellsWithNumbers,
                         testing::ValuesIn(Chosen({"bash", "zsh", "ksh", "mksh"})), NameOf);
INSTANTIATE_TEST_SUITE_P(All, InitOfShellsThatCapture,
                         testing::ValuesIn(Chosen({"bash", "zsh", "dash", "ksh", "mksh", "busybox",
                                                   "fish", "elvish", "xonsh"})),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(All, InitOfCsh, testing::ValuesIn(Chosen({"tcsh"})), NameOf);

}  // namespace
