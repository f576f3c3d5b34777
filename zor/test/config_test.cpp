// The settings in zor.toml.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "zor.h"

namespace {

// A warehouse with the three files of settings beside it.
struct Site : Warehouse {
  Site() {
    Product("tools/loom/1.9/1", Insert("LOOM", "1.9"));
    Product("tools/loom/1.10/1", Insert("LOOM", "1.10"));
    Product("tools/loom/1.10/2", Insert("LOOM", "1.10/2"));
    Product("old/wheel/1/1", Insert("WHEEL", "1"));
    Product("site/Contents/1/1", Insert("SITE", "x"));
  }
  void OfRoot(const std::string& text) const { Write("root/zor.toml", text); }
  void OfSystem(const std::string& text) const { Write("system.toml", text); }
  void OfUser(const std::string& text) const { Write("config/zor/zor.toml", text); }
  RunResult Run(const std::vector<std::string>& words, std::vector<std::string> more = {}) const {
    for (const std::string& text :
         {"ZORROOT=" + Root(), "ZOR_SYSTEM_CONFIG=" + (*this / "system.toml"),
          "XDG_CONFIG_HOME=" + (*this / "config")})
      more.push_back(text);
    return Zor(words, std::move(more));
  }
  std::string File() const { return Root() + "/zor.toml"; }
};

std::string Set(const std::string& name, const std::string& value) {
  return name + "='" + value + "'; export " + name + ";\n";
}

TEST(Config, IsReadFromThreeFilesAndTheLaterOnesWin) {
  const Site site;
  const std::string line = "[versions]\n'tools/loom' = ";
  Expect(site.Run({"env", "loom"}), Set("LOOM", "1.10/2"), "", 0);
  site.OfRoot(line + "'1.9'\n");
  Expect(site.Run({"env", "loom"}), Set("LOOM", "1.9"), "", 0);
  site.OfSystem(line + "'1.10/1'\n");
  Expect(site.Run({"env", "loom"}), Set("LOOM", "1.10"), "", 0);
  site.OfUser(line + "'1.9/1'\n");
  Expect(site.Run({"env", "loom"}), Set("LOOM", "1.9"), "", 0);
  // Without XDG_CONFIG_HOME the user's is below HOME.
  site.Write(".config/zor/zor.toml", line + "'1.10/2'\n");
  Expect(
      Zor({"env", "loom"}, {"ZORROOT=" + site.Root(), "ZOR_SYSTEM_CONFIG=" + (site / "system.toml"),
                            "HOME=" + site.path()}),
      Set("LOOM", "1.10/2"), "", 0);
}

TEST(Config, DefaultVersionsAreForRequestsThatSayNothingOfOne) {
  const Site site;
  site.OfRoot("[versions]\n'tools/loom' = '1.9'\n");
  const struct {
    std::vector<std::string> words;
    std::string value;
  } rows[] = {
      {{"env", "loom"}, "1.9"},         {{"env", "tools/loom"}, "1.9"},
      {{"env", "loom/+"}, "1.10/2"},    {{"env", "tools/loom/1.10"}, "1.10/2"},
      {{"env", "loom/1.10/1"}, "1.10"}, {{"env", "-p", "tools", "loom"}, "1.10/2"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.words[1]);
    Expect(site.Run(row.words), Set("LOOM", row.value), "", 0);
  }
}

TEST(Config, AliasesStandForProducts) {
  const Site site;
  site.OfRoot("[aliases]\nl = 'tools/loom'\nold = 'tools/loom/1.9'\n");
  Expect(site.Run({"env", "l"}), Set("LOOM", "1.10/2"), "", 0);
  Expect(site.Run({"env", "l/1.10/1"}), Set("LOOM", "1.10"), "", 0);
  Expect(site.Run({"env", "old"}), Set("LOOM", "1.9"), "", 0);
  // It takes the place of a category of that name as well.
  Expect(site.Run({"env", "old/1"}), Set("LOOM", "1.9"), "", 0);
}

TEST(Config, SetsStandForRequests) {
  const Site site;
  site.OfRoot("[sets]\nweaving = ['tools/loom/1.9', 'site']\nempty = []\n");
  Expect(site.Run({"env", "@weaving"}), Set("LOOM", "1.9") + Set("SITE", "x"), "", 0);
  Expect(site.Run({"env", "@empty"}), "", "zor: say which product, as in: zor env tools/weaver\n",
         2);
  Expect(site.Run({"env", "@waeving"}), "",
         "zor: there is no set @waeving; did you mean @weaving?\n", 1);
  Expect(site.Run({"env", "@qqqqqqq"}), "", "zor: there is no set @qqqqqqq\n", 1);
}

TEST(Config, HiddenProductsAreNotListedAndNotFoundByNameAlone) {
  const Site site;
  site.OfRoot("hidden = ['old/**', 'site/*']\n");
  const std::string loom = "tools/loom/1.9/1\ntools/loom/1.10/1\ntools/loom/1.10/2 (latest)\n";
  Expect(site.Run({"avail"}), loom, "", 0);
  Expect(site.Run({"search", "-a", "o"}),
         "tools/loom/1.9/1\ntools/loom/1.10/1\ntools/loom/1.10/2\n", "", 0);
  Expect(site.Run({"env", "wheel"}), "",
         "zor: there is no product wheel in " + site.Root() + "\nzor avail lists what there is\n",
         1);
  Expect(site.Run({"env", "old/wheel"}), Set("WHEEL", "1"), "", 0);
  // A user's own list takes the place of the site's.
  site.OfUser("hidden = []\n");
  Expect(site.Run({"env", "wheel"}), Set("WHEEL", "1"), "", 0);
}

TEST(Config, DatesDecideOverDeprecatedProducts) {
  const Site site;
  site.OfRoot(
      "[[deprecated]]\nproduct = 'tools/loom/1.9'\nmessage = 'too slow'\n"
      "replacement = 'tools/loom/1.10'\nwarn-from = 2027-01-31\nrefuse-from = 2027-03-01\n");
  const std::string advice = ": too slow; use tools/loom/1.10 in its place\n";
  const std::string warning = "zor: tools/loom/1.9/1 is deprecated" + advice;
  const std::string refusal = "zor: tools/loom/1.9/1 is refused since 2027-03-01" + advice;
  const struct {
    std::string day;
    bool given;
    std::string told;
  } rows[] = {
      {"2026-12-31", true, ""},      {"2027-01-30", true, ""},       {"2027-01-31", true, warning},
      {"2027-02-28", true, warning}, {"2027-03-01", false, refusal}, {"2028-01-01", false, refusal},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.day);
    const std::string today = "ZOR_TODAY=" + row.day;
    Expect(site.Run({"env", "loom/1.9"}, {today}), row.given ? Set("LOOM", "1.9") : "", row.told,
           row.given ? 0 : 1);
    Expect(site.Run({"env", "-p", "tools", "loom", "1.9"}, {today}),
           row.given ? Set("LOOM", "1.9") : "", row.told, row.given ? 0 : 1);
    Expect(site.Run({"exec", "loom/1.9", "--", "sh", "-c", "echo $LOOM"}, {today}),
           row.given ? "1.9\n" : "", row.told, row.given ? 0 : 1);
    // Others are not concerned.
    Expect(site.Run({"env", "loom"}, {today}), Set("LOOM", "1.10/2"), "", 0);
  }
}

TEST(Config, WithoutDatesItWarnsAlwaysAndRefusesNever) {
  const Site site;
  site.OfRoot("[[deprecated]]\nproduct = 'old/*'\n");
  Expect(site.Run({"env", "wheel"}), Set("WHEEL", "1"), "zor: old/wheel/1/1 is deprecated\n", 0);
  // The same words in a later file replace it.
  site.OfUser("[[deprecated]]\nproduct = 'old/*'\nwarn-from = 9999-12-31\n");
  Expect(site.Run({"env", "wheel"}), Set("WHEEL", "1"), "", 0);
}

TEST(Config, ProgramsRunBeforeAndAfterEachStep) {
  const Site site;
  const auto tell = [&](const std::string& name, const std::string& status) {
    return name + " = ['/bin/sh', '-c', 'echo " + name + " $ZOR_STEP $LOOM; read x; exit " +
           status + "']\n";
  };
  const std::vector<std::string> load = {"--shell", "env0", "load", "loom"};
  site.OfUser("[hooks]\n" + tell("before", "0") + tell("after", "0"));
  RunResult result = site.Run(load, {"LOOM=old"});
  EXPECT_EQ("before load old\nafter load old:1.10/2\n", result.err);
  EXPECT_EQ(0, result.status);
  EXPECT_TRUE(result.out.starts_with("LOOM=old:1.10/2")) << result.out;
  // The first may refuse the step, the second may not.
  site.OfUser("[hooks]\n" + tell("before", "3") + tell("after", "0"));
  Expect(site.Run(load), "",
         "before load\nzor: /bin/sh ended with status 3, which runs before each step, so nothing "
         "was changed\n",
         1);
  site.OfUser("[hooks]\nafter = ['/bin/sh', '-c', 'kill -9 $$']\n");
  result = site.Run(load);
  EXPECT_EQ("zor: /bin/sh was ended by signal 9, after the step\n", result.err);
  EXPECT_EQ(0, result.status);
  site.OfUser("[hooks]\nbefore = ['/no/such/program']\n");
  Expect(site.Run(load), "",
         "zor: /no/such/program: No such file or directory, which runs before each step, so "
         "nothing was changed\n",
         1);
  // A mistake in the settings keeps nobody from leaving.
  site.OfUser("");
  const std::string loaded = site.Run(load).out;
  const std::size_t at = loaded.find("ZOR_SESSION=");
  ASSERT_NE(std::string::npos, at);
  site.OfUser("hiden = 1\n");
  result = site.Run({"--shell", "env0", "purge"},
                    {"LOOM=1.10/2", loaded.substr(at, loaded.find('\0', at) - at)});
  EXPECT_TRUE(result.err.ends_with("; no program is run before the step or after it\n"))
      << result.err;
  EXPECT_EQ(0, result.status);
}

TEST(Config, FaultsAreToldWithTheirPlace) {
  const Site site;
  const std::string keys =
      "; there are default, skip-broken-defaults, colour, sets, aliases, versions, hidden, "
      "deprecated, news, log, hooks\n";
  const struct {
    std::string text, told;
  } rows[] = {
      {"colour = true\n hiden = []\n", "2:2: there is no key hiden" + keys},
      {"[\f]\n",
       "1:2: Error while parsing key: expected bare key starting character or string delimiter, "
       "saw '\\f'\n"},
      {"\u00FCber = 1\n",
       "1:1: Error while parsing root table: expected keys, tables, whitespace or comments, saw "
       "'\u00FC'\n"},
      {"[set]\na = []\n", "1:2: there is no key set" + keys},
      {"colour = 'no'\n", "1:10: colour must be true or false\n"},
      {"skip-broken-defaults = 1\n", "1:24: skip-broken-defaults must be true or false\n"},
      {"default = 'site'\n", "1:11: default must be a list of strings\n"},
      {"default = [\n  'site', 7]\n", "2:11: default must be a string\n"},
      {"hidden = [[]]\n", "1:11: hidden must be a string\n"},
      {"sets = []\n", "1:8: sets must be a table\n"},
      {"[sets]\na = 'b'\n", "2:5: sets.a must be a list of strings\n"},
      {"[aliases]\na = []\n", "2:5: aliases.a must be a string\n"},
      {"[versions]\n'a/b' = 1.5\n", "2:9: versions.a/b must be a string\n"},
      {"[deprecated]\n", "1:1: deprecated must be a list of tables\n"},
      {"deprecated = [3]\n", "1:15: deprecated must be a table\n"},
      {"[[deprecated]]\nmessage = 'x'\n", "1:1: deprecated must name a product\n"},
      {"[[deprecated]]\nproduct = 'x'\nwarn-from = '2027-01-01'\n",
       "3:13: deprecated.warn-from must be a date, as in 2027-01-31\n"},
      {"[[deprecated]]\nproduct = 'x'\nwarn = 1\n",
       "3:1: there is no key warn in deprecated; there are product, message, replacement, "
       "warn-from, refuse-from\n"},
      {"[[news]]\ntext = 'x'\n", "1:1: news must have an id\n"},
      {"[[news]]\nid = \"a\\nb\"\n", "2:6: news.id must be one line\n"},
      {"[[news]]\nid = 'x'\nday = 1\n",
       "3:1: there is no key day in news; there are id, text, from, until\n"},
      {"[log]\nfile = 'here'\n", "2:8: log.file must be an absolute path\n"},
      {"[log]\nprogram = 'x'\n", "2:11: log.program must be a list of strings\n"},
      {"[log]\nfiles = 'x'\n",
       "2:1: there is no key files in log; there are syslog, file, program\n"},
      {"[hooks]\nbefore = 'x'\n", "2:10: hooks.before must be a list of strings\n"},
      {"[hooks]\nwhile = []\n", "2:1: there is no key while in hooks; there are before, after\n"},
      {"hidden = ['old/*', 'none/*']\n", "1:20: none/* matches no product\n"},
      {"[versions]\n'tools/loom' = '2'\n", "2:16: tools/loom/2 matches no product\n"},
      {"[[deprecated]]\nproduct = 'tools/loom/3'\n", "2:11: tools/loom/3 matches no product\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    site.OfRoot(row.text);
    Expect(site.Run({"avail"}), "", "zor: " + site.File() + ":" + row.told, 2);
  }
  // What is no TOML is told in the words of the library.
  site.OfRoot("a = \n[b");
  const RunResult broken = site.Run({"avail"});
  EXPECT_EQ("", broken.out);
  EXPECT_EQ(0u, broken.err.find("zor: " + site.File() + ":1:")) << broken.err;
  EXPECT_EQ(2, broken.status);
}

TEST(Config, AFileThatCannotBeReadIsAFault) {
  const Site site;
  std::filesystem::create_directories(site.File());
  Expect(site.Run({"avail"}), "", "zor: " + site.File() + ": Is a directory\n", 1);
}

// How often a command asks for files of settings; -1 where that can't be seen.
int OpensOfSettings(const Site& site, const std::vector<std::string>& words) {
  const std::string trace = site / "trace";
  RunOptions options;
  options.environment =
      PlainEnvironment({"ZORROOT=" + site.Root(), "ZOR_SYSTEM_CONFIG=" + (site / "system.toml"),
                        "XDG_CONFIG_HOME=" + (site / "config")});
  std::vector<std::string> argv = {"/usr/bin/strace", "-f", "-o", trace, ZOR_PROGRAM};
  argv.insert(argv.end(), words.begin(), words.end());
  if (RunProgram(argv, options).status != 0) return -1;
  const std::string calls = ReadFile(trace);
  int count = 0;
  for (std::size_t at = 0; (at = calls.find(".toml\"", at)) != std::string::npos; ++at)
    ++count;
  return count;
}

TEST(Config, AMissingFileCostsOneFailedOpen) {
  const Site site;
  const int opens = OpensOfSettings(site, {"env", "tools/loom"});
  if (opens < 0) GTEST_SKIP() << "no strace here, or it may not trace";
  EXPECT_EQ(3, opens);
}

TEST(Config, IsReadOnceHoweverManyDefaultsThereAre) {
  const Site site;
  site.OfRoot("default = ['tools/loom/1.9', 'tools/loom/1.10', '@own']\n[sets]\nown = ['loom']\n");
  const int opens = OpensOfSettings(site, {"--shell", "sh", "load"});
  if (opens < 0) GTEST_SKIP() << "no strace here, or it may not trace";
  EXPECT_EQ(3, opens);
}

TEST(Config, AFaultDoesNotKeepHelpBack) {
  const Site site;
  site.OfRoot("nonsense\n");
  const RunResult help = site.Run({"env", "--help"});
  EXPECT_EQ(0, help.status) << help.err;
  EXPECT_NE(std::string::npos, help.out.find("zor env --format sh tools/weaver\n"));
  EXPECT_EQ(2, site.Run({"env", "loom"}).status);
}

// The words behind ".It Ic" in a part of the manual page.
std::set<std::string> KeysIn(const std::string& page, const std::string& from) {
  const std::size_t start = page.find(".Ss " + from + "\n");
  const std::size_t end = page.find("\n.El", start);
  std::set<std::string> keys;
  const std::string item = "\n.It Ic ";
  for (std::size_t at = start; (at = page.find(item, at)) < end; at += item.size())
    keys.insert(page.substr(at + item.size(), page.find('\n', at + 1) - at - item.size()));
  return keys;
}

// The keys that the program says there are.
std::set<std::string> KeysTold(const std::string& err) {
  std::set<std::string> keys;
  const std::string before = "; there are ";
  std::string rest = err.substr(err.find(before) + before.size());
  rest.pop_back();
  for (std::size_t at = 0; at < rest.size();) {
    const std::size_t end = std::min(rest.find(", ", at), rest.size());
    keys.insert(rest.substr(at, end - at));
    at = end + 2;
  }
  return keys;
}

TEST(Config, TheManualPageTellsOfEachKey) {
  const Site site;
  const std::string page = ReadFile(std::string(ZOR_SOURCE_DIR) + "/doc/man/zor.toml.5");
  site.OfRoot("none = 1\n");
  EXPECT_EQ(KeysTold(site.Run({"avail"}).err), KeysIn(page, "Keys"));
  site.OfRoot("[[deprecated]]\nnone = 1\n");
  EXPECT_EQ(KeysTold(site.Run({"avail"}).err), KeysIn(page, "Keys of a table in deprecated"));
  site.OfRoot("[[news]]\nnone = 1\n");
  EXPECT_EQ(KeysTold(site.Run({"avail"}).err), KeysIn(page, "Keys of a table in news"));
  site.OfRoot("[log]\nnone = 1\n");
  EXPECT_EQ(KeysTold(site.Run({"avail"}).err), KeysIn(page, "Keys of log"));
}

TEST(Config, TheManualPageIsClean) {
  const RunResult result = RunProgram({"/usr/bin/mandoc", "-Tlint", "-Wwarning",
                                       std::string(ZOR_SOURCE_DIR) + "/doc/man/zor.toml.5"});
  EXPECT_EQ("", result.out);
  EXPECT_EQ(0, result.status);
}

}  // namespace
