// The Tab key behind zor: what the program offers, and what becomes of it in the real shells.
#include <gtest/gtest.h>
#include <unistd.h>

#include "terminal.h"
#include "zor.h"

namespace {

// What is offered for these words in a shell that shows descriptions; the last is at the cursor.
std::string Offered(std::vector<std::string> words, const std::string& shell = "zsh",
                    std::vector<std::string> more = {}) {
  words.insert(words.begin(), {"complete", shell, "--"});
  more.push_back("ZORROOT=" + Examples());
  const RunResult result = Zor(words, more);
  EXPECT_EQ("", result.err);
  EXPECT_EQ(0, result.status);
  return result.out;
}

TEST(Complete, OffersSubcommandsWithWhatTheyDo) {
  EXPECT_EQ("platform\twhat this host is\n", Offered({"pl"}));
  EXPECT_EQ("", Offered({"complet"}));
  EXPECT_EQ("", Offered({"nonsense", ""}));
}

TEST(Complete, OffersPathsOfTheWarehouse) {
  EXPECT_EQ("libs/\nsite/\nstudio/\ntools/\n", Offered({"load", ""}));
  EXPECT_EQ("tools/weaver/\n", Offered({"env", "tools/w"}));
  EXPECT_EQ("tools/weaver/1.10/\ntools/weaver/1.9/\n", Offered({"env", "tools/weaver/"}));
  EXPECT_EQ("tools/weaver/1.10/1\ntools/weaver/1.10/2\n", Offered({"env", "tools/weaver/1.10/"}));
  EXPECT_EQ("libs/graphics/\n", Offered({"avail", "libs/"}));
  EXPECT_EQ("", Offered({"load", "nowhere/"}));
  EXPECT_EQ("", Offered({"exec", "tools/weaver", "--", "w"}));
}

TEST(Complete, OffersTheFieldsOfZorenvsForm) {
  EXPECT_EQ("tools\n", Offered({"env", "-p", "to"}));
  EXPECT_EQ("libs/graphics\n", Offered({"env", "-p", "libs/"}));
  EXPECT_EQ("weaver\n", Offered({"env", "-p", "tools", "w"}));
  EXPECT_EQ("1.10\n1.9\n", Offered({"env", "-p", "tools", "weaver", "1"}));
  EXPECT_EQ("quill\n", Offered({"env", "-p", "site", "--and", "-p", "tools", "q"}));
  EXPECT_EQ("tools/\n", Offered({"env", "-r", Examples(), "to"}, "zsh", {"ZORROOT=/nowhere"}));
}

TEST(Complete, OffersOptionsAndTheirValues) {
  EXPECT_EQ("--full\tall variables, not only what changes\n", Offered({"env", "--fu"}));
  EXPECT_EQ("fish\tfish\n", Offered({"env", "--format", "fi"}));
  EXPECT_EQ("--format=fish\tfish\n", Offered({"env", "--format=fi"}));
  EXPECT_EQ("fish\tfish\n", Offered({"env", "-f", "fi"}));
  EXPECT_EQ("xonsh\n", Offered({"init", "x"}));
}

TEST(Complete, OffersWhatIsLoaded) {
  const RunResult loaded = Zor({"--shell", "env0", "load", "tools/weaver/1.9[platform=linux-x86]"},
                               {"ZORROOT=" + Examples()});
  const std::size_t at = loaded.out.find("ZOR_SESSION=");
  ASSERT_NE(std::string::npos, at) << loaded.err;
  const std::string session = loaded.out.substr(at, loaded.out.find('\0', at) - at);
  EXPECT_EQ("weaver\t1.9/1\n", Offered({"unload", "w"}, "zsh", {session}));
  EXPECT_EQ("tools/weaver\t1.9/1\n", Offered({"unload", "t"}, "zsh", {session}));
  EXPECT_EQ("", Offered({"unload", "w"}));
  EXPECT_EQ("", Offered({"unload", "w"}, "zsh", {"ZOR_SESSION=nonsense"}));
}

TEST(Complete, OffersSetsSavedNamesAndAliasesButNothingHidden) {
  Warehouse site;
  site.Product("old/wheel/1/1");
  site.Product("tools/loom/1.9/1");
  site.Write("root/zor.toml",
             "hidden = ['old/*']\n[sets]\nweaving = ['tools/loom', 'loom']\n"
             "[aliases]\nweb = 'tools/loom'\n");
  site.Write("config/zor/saved/mine.lock", "");
  const auto offered = [&](std::vector<std::string> words, const std::string& shell = "zsh") {
    words.insert(words.begin(), {"complete", shell, "--"});
    return Zor(words, {"ZORROOT=" + site.Root(), "XDG_CONFIG_HOME=" + (site / "config")}).out;
  };
  EXPECT_EQ("old/\ntools/\nweb\ttools/loom\n", offered({"load", ""}));
  EXPECT_EQ("", offered({"load", "old/"}));
  EXPECT_EQ("", offered({"load", "-p", "old", ""}));
  EXPECT_EQ("old/wheel/1/\n", offered({"load", "old/wheel/"}));
  EXPECT_EQ("@mine\n@weaving\ttools/loom loom\n", offered({"load", "@"}));
  EXPECT_EQ("@weaving\n", offered({"load", "@", "we"}, "bash"));
  EXPECT_EQ("@weaving\n", offered({"load", "@we"}, "bash"));
  EXPECT_EQ("mine\n", offered({"restore", "m"}));
  EXPECT_EQ("mine\n", offered({"save", ""}));
  // Settings that can't be read are told of by the commands, not at the Tab key.
  site.Write("root/zor.toml", "hiden = 1\n");
  EXPECT_EQ("old/\ntools/\n", offered({"load", ""}));
}

// bash hands the words over with their quotes, and makes words of their own of some characters.
TEST(Complete, TakesTheWordsOfEachShellAsTheyCome) {
  EXPECT_EQ("fish\n", Offered({"env", "--format", "=", "fi"}, "bash"));
  EXPECT_EQ("tools/weaver/\n", Offered({"env", "\"tools/w"}, "bash"));
  EXPECT_EQ("tools/weaver/\n", Offered({"env", "tools/\\w"}, "fish"));
  EXPECT_EQ("tools/weaver/\n", Offered({}, "tcsh", {"COMMAND_LINE=zor load 'tools'/w"}));
  EXPECT_EQ("", Offered({"env", ";$(touch ran)"}, "bash"));
}

// A tab, a quote that is not closed and a backslash at the cursor come as they were typed.
TEST(Complete, SplitsTheLineOfTcshAsItsUserDoes) {
  const struct {
    const char *line, *offered;
  } rows[] = {
      {"zor load\t\"tools\"/w", "tools/weaver/\n"},
      {"zor  env   'site' tools/\\w", "tools/weaver/\n"},
      {"zor load \"tools/w", "tools/weaver/\n"},
      {"zor load tools/w\\", ""},
      {"zor load 'tools/\\w", ""},
      {"zor load nothing\\ of\\ this ", "libs/\nsite/\nstudio/\ntools/\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(row.offered, Offered({}, "tcsh", {std::string("COMMAND_LINE=") + row.line}));
  }
}

TEST(Complete, BeginsAtAnEmptyLine) {
  const std::string all = Offered({""});
  EXPECT_NE(std::string::npos, all.find("\nload\t")) << all;
  EXPECT_EQ(all, Offered({}));
  EXPECT_EQ(all, Zor({"complete", "zsh", ""}).out);
  const std::string in_bash = Offered({""}, "bash");
  EXPECT_NE(std::string::npos, in_bash.find("\nload\n")) << in_bash;
  EXPECT_EQ(in_bash, Offered({}, "bash"));
  // bash makes a word of its own of a colon, and no command begins so.
  EXPECT_EQ("", Offered({":"}, "bash"));
  Expect(Zor({"complete"}), "", "zor: say for which shell: zor complete bash -- WORD...\n", 2);
}

TEST(Complete, PassesOverTheOptionsAndConditionsOfARequest) {
  const std::string weaver = "tools/weaver/\n";
  const struct {
    std::vector<std::string> words;
    std::string offered;
  } rows[] = {
      {{"env", "--full", "tools/w"}, weaver},
      {{"env", "-v", "tools/w"}, weaver},
      // Behind -p stand the variable and the value, of which nothing is known.
      {{"env", "-p", "tools", "weaver", "-v", ""}, ""},
      {{"env", "-p", "tools", "weaver", "-v", "platform", ""}, ""},
      {{"env", "-p", "tools", "weaver", "-v", "platform", "x", "-p", "too"}, "tools\n"},
      {{"env", "--unknown=x"}, ""},
      {{"check", "--rule", ""}, ""},
      {{"platform", ""}, ""},
      {{"env", "-p"}, "-p\ta product, as zorenv takes it\n"},
      {{"setup", "--shell", "fi"}, "fish\n"},
      {{"avail", "-p"}, ""},
      {{"avail", "--js"}, "--json\tas JSON\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.words.back());
    EXPECT_EQ(row.offered, Offered(row.words));
  }
}

TEST(Complete, OffersDirectoriesWhereARootIsNamed) {
  const Warehouse place;
  place.Directory("sites/first");
  place.Directory("sites/.hidden");
  place.Write("sites/file", "");
  place.Link("sites/link", "first");
  place.Link("sites/lost", "nowhere");
  const std::string sites = place / "sites/";
  const std::string all = sites + "first/\n" + sites + "link/\n";
  EXPECT_EQ(all, Offered({"env", "-r", sites}));
  EXPECT_EQ(all, Offered({"avail", "-r", sites}));
  EXPECT_EQ("--root=" + sites + "link/\n", Offered({"avail", "--root=" + sites + "l"}));
  RunOptions in_place;
  in_place.environment = PlainEnvironment();
  in_place.directory = place.path();
  EXPECT_EQ("sites/\n",
            RunProgram({ZOR_PROGRAM, "complete", "zsh", "--", "env", "-r", "s"}, in_place).out);
  // What was named already counts for what follows.
  EXPECT_EQ("tools/\n", Offered({"avail", "--root", Examples(), "to"}, "zsh", {"ZORROOT=/none"}));
}

TEST(Complete, OffersOfALinkedCategoryWhatIsInIt) {
  Warehouse warehouse;
  warehouse.Product("deep/er/tool/1/1");
  warehouse.Product("new\nline/tool/1/1");
  warehouse.Directory("root/empty/a/b/c/d/e/f/g");
  warehouse.Link("root/linked", "deep");
  warehouse.Link("root/lost", "nowhere");
  warehouse.Write("root/file", "");
  const std::vector<std::string> root = {"ZORROOT=" + warehouse.Root()};
  // A name of two lines can't be offered in a list of lines.
  EXPECT_EQ("deep/\nempty/\nlinked/\n", Zor({"complete", "zsh", "--", "load", ""}, root).out);
  EXPECT_EQ("linked/er/\n", Zor({"complete", "zsh", "--", "load", "linked/"}, root).out);
  // Behind -p a category of several elements goes on; one that holds nothing does not.
  EXPECT_EQ("deep/\nempty\nlinked/\n", Zor({"complete", "zsh", "--", "load", "-p", ""}, root).out);
  EXPECT_EQ("deep/er\n", Zor({"complete", "zsh", "--", "load", "-p", "deep/"}, root).out);
  // The name that may be left out, or the version that then stands in its place.
  EXPECT_EQ("Contents\n1\n", Offered({"env", "-p", "site", ""}));
}

TEST(Complete, OffersForASwapWhatIsLoadedAndWhatThereIs) {
  const RunResult loaded =
      Zor({"--shell", "env0", "load", "site", "tools/weaver/1.9[platform=linux-x86]"},
          {"ZORROOT=" + Examples()});
  const std::size_t at = loaded.out.find("ZOR_SESSION=");
  ASSERT_NE(std::string::npos, at) << loaded.err;
  const std::string session = loaded.out.substr(at, loaded.out.find('\0', at) - at);
  EXPECT_EQ("weaver\t1.9/1\n", Offered({"swap", "w"}, "zsh", {session}));
  EXPECT_EQ("tools/\ntools/weaver\t1.9/1\n", Offered({"swap", "t"}, "zsh", {session}));
  // A category's own product has no name that says which it is.
  EXPECT_EQ("site/Contents\n",
            Offered({"unload", "s"}, "tcsh", {"COMMAND_LINE=zor unload s", session}));
  EXPECT_EQ("site/Contents\t1/1\ntools/weaver\t1.9/1\nweaver\t1.9/1\n",
            Offered({"unload", ""}, "zsh", {session}));
}

TEST(Complete, QuotesForBash) {
  Warehouse warehouse;
  warehouse.Product("two words/A $HOME;b/1.0/1");
  const std::vector<std::string> more = {"ZORROOT=" + warehouse.Root()};
  EXPECT_EQ("two\\ words/\n", Zor({"complete", "bash", "--", "load", "tw"}, more).out);
  EXPECT_EQ("two\\ words/A\\ \\$HOME\\;b/\n",
            Zor({"complete", "bash", "--", "load", "two\\ words/"}, more).out);
}

struct Shell {
  const char* name;
  std::vector<std::string> argv;
  const char* start_file;
  const char* start;  // makes zor tell its words, once the completion is there
};

const Shell kShells[] = {
    {"bash",
     {"/bin/bash", "--noprofile", "--rcfile", "start", "-i"},
     "start",
     "bind 'set enable-bracketed-paste off'\neval \"$($PROGRAM init bash)\"\nPS1='READ''Y> '\n"
     "zor() { printf 'TOL''D'; printf '<%s>' \"$@\"; echo EN''D; }\n"},
    {"zsh",
     {"/bin/zsh", "-d", "-i"},
     ".zshrc",
     "autoload -Uz compinit && compinit -u -d $HOME/dump\neval \"$($PROGRAM init zsh)\"\n"
     "unsetopt zle_bracketed_paste prompt_sp\nPS1='READ''Y> '\n"
     "zor() { printf 'TOL''D'; printf '<%s>' \"$@\"; echo EN''D; }\n"},
    {"fish",
     {"/usr/bin/fish", "--no-config", "-i", "-C", "source start"},
     "start",
     "$PROGRAM init fish | source\nset fish_greeting\nfunction fish_prompt; echo -n READ'Y> '; "
     "end\n"
     "function zor; printf TOL'D'; printf '<%s>' $argv; echo EN'D'; end\n"},
    {"tcsh",
     {"/bin/tcsh"},
     ".tcshrc",
     "eval \"`$PROGRAM init tcsh`\"\nset prompt = 'READ''Y> '\n"
     "alias zor 'printf TOL\"\"D; printf \"<%s>\" \\!*; echo EN\"\"D'\n"},
};

class CompleteInShell : public testing::TestWithParam<Shell> {
 protected:
  void SetUp() override {
    const std::string& path = GetParam().argv[0];
    if (access(path.c_str(), X_OK) != 0) GTEST_SKIP() << path << " is not installed";
  }

  // What a command line is, once these keys were typed.
  std::string Typed(const std::string& root, const std::string& keys) {
    Warehouse warehouse;
    warehouse.Write(GetParam().start_file, GetParam().start);
    Terminal terminal(
        GetParam().argv,
        PlainEnvironment({"TERM=xterm", "HOME=" + warehouse.path(), "ZDOTDIR=" + warehouse.path(),
                          std::string("PROGRAM=") + ZOR_PROGRAM, "ZORROOT=" + root}),
        warehouse.path());
    terminal.ReadUntil("READY> ");
    terminal.Type(keys + "\r");
    terminal.ReadUntil("TOLD");
    std::string told = terminal.ReadUntil("END");
    return told.substr(0, told.size() - 3);
  }
};

TEST_P(CompleteInShell, PutsInWhatIsOffered) {
  // tcsh is told one ending for all, so it adds no blank.
  const std::string blank = GetParam().name == std::string("tcsh") ? " " : "";
  EXPECT_EQ("<load><tools/weaver/1.9/1><site/Contents/1/1>",
            Typed(Examples(), "zor loa\t" + blank + "to\twea\t1.9\t1\t" + blank + "sit\t\t\t\t"));
  EXPECT_EQ("<env><--format><fish><libs/graphics/>",
            Typed(Examples(), "zor env --form\t" + blank + "fis\t" + blank + "li\t\t"));
}

TEST_P(CompleteInShell, PutsInTheNamesOfSets) {
  const Warehouse site("/tmp/sets");
  site.Write("root/zor.toml", "[sets]\nweaving = ['tools/loom']\n");
  EXPECT_EQ("<load><@weaving>", Typed(site.Root(), "zor load @we\t"));
}

TEST_P(CompleteInShell, QuotesWhatTheShellWouldSplit) {
  if (GetParam().name == std::string("tcsh")) GTEST_SKIP() << "tcsh's own quoting is not ours";
  Warehouse warehouse("/tmp/quotes");
  warehouse.Product("two words/A $HOME;b/1.0/1");
  EXPECT_EQ("<load><two words/A $HOME;b/1.0/1>", Typed(warehouse.Root(), "zor load tw\tA\t1\t1\t"));
}

INSTANTIATE_TEST_SUITE_P(All, CompleteInShell, testing::ValuesIn(kShells),
                         [](const auto& shell) { return std::string(shell.param.name); });

}  // namespace
