// What the front end shows of a warehouse.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "zor.h"

namespace {

// What the front end writes on a terminal of so many columns, its line ends as in a file.
std::string OnTerminal(unsigned short columns, const std::vector<std::string>& arguments,
                       std::vector<std::string> more = {}) {
  winsize size = {24, columns, 0, 0};
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    std::vector<std::string> environment = PlainEnvironment(std::move(more));
    std::vector<char*> variables, argv = {const_cast<char*>(ZOR_PROGRAM)};
    for (std::string& text : environment)
      variables.push_back(text.data());
    for (const std::string& argument : arguments)
      argv.push_back(const_cast<char*>(argument.c_str()));
    variables.push_back(nullptr);
    argv.push_back(nullptr);
    execve(ZOR_PROGRAM, argv.data(), variables.data());
    _exit(99);
  }
  std::string text;
  char block[4096];
  // Reading fails with EIO once the other end is closed.
  for (ssize_t count; (count = read(terminal, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(count));
  close(terminal);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  return text;
}

TEST(Avail, ListsRevisionsLowestFirst) {
  Expect(ZorOnExamples({"avail", "weaver"}),
         "tools/weaver/1.9/1\ntools/weaver/1.10/1\ntools/weaver/1.10/2 (latest)\n", "", 0);
  Expect(ZorOnExamples({"avail", "libs/**"}), "libs/graphics/fibre/2.0/1 (latest)\n", "", 0);
  Expect(ZorOnExamples({"avail", "nothing"}), "",
         "zor: there is no such product in " + Examples() + "\n", 1);
}

TEST(Avail, GivesJson) {
  Expect(ZorOnExamples({"avail", "--json", "libs/**"}),
         R"({
  "version": 1,
  "root": ")" +
             Examples() + R"(",
  "products": [
    {
      "category": "libs/graphics",
      "name": "fibre",
      "versions": [
        {
          "version": "2.0",
          "revs": [
            "1"
          ]
        }
      ],
      "latest": {
        "version": "2.0",
        "rev": "1"
      }
    }
  ],
  "remarks": []
}
)",
         "", 0);
}

TEST(Avail, PassesOverWhatIsNoProductAndSaysWhatItDoesNotFollow) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Write("root/C/P/2/README", "no revision");
  warehouse.Write("root/.git/a/b/c/product.xml", "hidden");
  warehouse.Write("root/C/P/1/1/deep/a/b/c/product.xml", "below a product");
  // With two links each walk of a circle would double the work.
  warehouse.Link("root/C/around", "..");
  warehouse.Link("root/C/again", "../C");
  Expect(Zor({"avail", "-r", warehouse.Root()}), "C/P/1/1 (latest)\n",
         "zor: C/again: a link that leads back to a directory above it\n"
         "zor: C/around: a link that leads back to a directory above it\n",
         0);
}

TEST(Avail, FollowsLinksToVersionsAndCategories) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Link("root/C/P/2", "1");
  warehouse.Link("root/D", "C");
  warehouse.Link("root/C/Q", "nowhere");
  Expect(Zor({"avail", "-r", warehouse.Root()}),
         "C/P/1/1\nC/P/2/1 (latest)\nD/P/1/1\nD/P/2/1 (latest)\n", "", 0);
}

TEST(Avail, TellsOfFilesWhereVersionsAndRevsStand) {
  Warehouse warehouse;
  warehouse.Product("a/b/P/1/1");
  warehouse.Write("root/a/b/P/README", "beside versions");
  warehouse.Write("root/a/b/P/1/notes", "beside revs");
  warehouse.Write("root/a/b/notes", "beside products, where it does no harm");
  const std::string told = ": a file where each entry counts as a ";
  Expect(Zor({"avail", "-r", warehouse.Root()}), "a/b/P/1/1 (latest)\n",
         "zor: a/b/P/1/notes" + told + "rev, also when the latest is looked for\n" +
             "zor: a/b/P/README" + told + "version, also when the latest is looked for\n",
         0);
}

TEST(Avail, TellsOfDirectoriesThatItMayNotRead) {
  if (geteuid() == 0) GTEST_SKIP() << "root may read all";
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Product("D/P/1/1");
  std::filesystem::permissions(warehouse / "root/D", std::filesystem::perms::none);
  Expect(Zor({"avail", "-r", warehouse.Root()}), "C/P/1/1 (latest)\n",
         "zor: D: Permission denied\n", 0);
  std::filesystem::permissions(warehouse / "root/D", std::filesystem::perms::owner_all);
}

TEST(Avail, StandsInColumnsOnATerminal) {
  Warehouse warehouse;
  for (const char* name : {"aa", "b", "c", "dddd", "e"})
    warehouse.Product(std::string("C/") + name + "/1/1");
  const std::vector<std::string> words = {"avail", "-r", warehouse.Root()};
  // "C/aa/1/1 (latest)" takes 17 columns, "C/dddd/1/1 (latest)" 19; two stand between columns.
  EXPECT_EQ(
      "C/aa/1/1 (latest)  C/dddd/1/1 (latest)\nC/b/1/1 (latest)   C/e/1/1 (latest)\n"
      "C/c/1/1 (latest)\n",
      OnTerminal(38, words));
  // In four rows the first column is 19 wide: 37 in all.
  EXPECT_EQ(
      "C/aa/1/1 (latest)    C/e/1/1 (latest)\nC/b/1/1 (latest)\nC/c/1/1 (latest)\n"
      "C/dddd/1/1 (latest)\n",
      OnTerminal(37, words));
  EXPECT_EQ(
      "C/aa/1/1 (latest)\nC/b/1/1 (latest)\nC/c/1/1 (latest)\nC/dddd/1/1 (latest)\n"
      "C/e/1/1 (latest)\n",
      OnTerminal(36, words));
}

TEST(Avail, CountsTheColumnsOfWideAndCombiningCharacters) {
  Warehouse warehouse;
  warehouse.Product("C/a\xCC\x88/1/1");                 // a with a combining diaeresis: one column
  warehouse.Product("C/b/1/1");                         // one column
  warehouse.Product("C/\xE7\xB9\x94\xE6\xA9\x9F/1/1");  // two wide characters: four columns
  warehouse.Product("C/\xC3\xA9/1/1");                  // one column
  // Sorted by bytes: a, b, e acute, the wide ones.
  for (const char* locale : {"LC_ALL=C.UTF-8", "LC_ALL=C", "LC_ALL=POSIX", "LC_ALL=not_there"})
    EXPECT_EQ(
        "C/a\xCC\x88/1/1 (latest)  C/\xC3\xA9/1/1 (latest)\n"
        "C/b/1/1 (latest)  C/\xE7\xB9\x94\xE6\xA9\x9F/1/1 (latest)\n",
        OnTerminal(38, {"avail", "-r", warehouse.Root()}, {locale}));
}

TEST(Avail, NamesThatAreNoTextStayWhatTheyAre) {
  Warehouse warehouse;
  warehouse.Product("C/del\x7F/1/1");
  warehouse.Product("C/x\xFF\x1By/1/1");
  Expect(Zor({"avail", "-r", warehouse.Root()}),
         "C/del\x7F/1/1 (latest)\nC/x\xFF\x1By/1/1 (latest)\n", "", 0);
  EXPECT_EQ("C/del\\x7f/1/1 (latest)  C/x\\xff\\x1by/1/1 (latest)\n",
            OnTerminal(80, {"avail", "-r", warehouse.Root()}));
  const RunResult json = Zor({"avail", "--json", "-r", warehouse.Root()});
  ExpectValid(json.out, "avail");
  // 78 FF 1B 79 in base64.
  EXPECT_NE(std::string::npos,
            json.out.find("\"name\": {\n        \"base64\": \"eP8beQ==\"\n      }"))
      << json.out;
}

TEST(Avail, MarksTheLatestInGreenWhereTheTerminalAndTheUserTakeColours) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Product("C/P/2/1");
  const std::vector<std::string> words = {"avail", "-r", warehouse.Root()};
  const std::string plain = "C/P/1/1  C/P/2/1 (latest)\n";
  const std::string green = "C/P/1/1  C/P/2/1 \x1b[32m(latest)\x1b[m\n";
  EXPECT_EQ(green, OnTerminal(80, words, {"TERM=xterm"}));
  EXPECT_EQ(green, OnTerminal(80, words, {"TERM=xterm", "NO_COLOR="}));
  for (const std::vector<std::string>& none : std::vector<std::vector<std::string>>{
           {}, {"TERM="}, {"TERM=dumb"}, {"TERM=xterm", "NO_COLOR=1"}})
    EXPECT_EQ(plain, OnTerminal(80, words, none));
  warehouse.Write("root/zor.toml", "colour = false\n");
  EXPECT_EQ(plain, OnTerminal(80, words, {"TERM=xterm"}));
}

TEST(Avail, TakesTheWidthFromColumnsWhereTheTerminalTellsNone) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Product("C/P/2/1");
  const std::vector<std::string> words = {"avail", "-r", warehouse.Root()};
  const std::string one_row = "C/P/1/1  C/P/2/1 (latest)\n";
  const std::string two_rows = "C/P/1/1\nC/P/2/1 (latest)\n";
  EXPECT_EQ(two_rows, OnTerminal(0, words, {"COLUMNS=24"}));
  EXPECT_EQ(one_row, OnTerminal(0, words, {"COLUMNS=25"}));
  EXPECT_EQ(two_rows, OnTerminal(24, words, {"COLUMNS=25"}));
  // Where nobody tells it, and where what is told is no number, it is 80.
  EXPECT_EQ(one_row, OnTerminal(0, words));
  EXPECT_EQ(one_row, OnTerminal(0, words, {"COLUMNS=-3"}));
}

TEST(Avail, TellsInJsonToo) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Link("root/C/around", "..");
  // Neither belongs to what can be named.
  warehouse.Product("CVS/P/1/1");
  warehouse.Write("root/D/P/1/product.xml", ProductXml(Variety()));
  const RunResult result = Zor({"avail", "--json", "-r", warehouse.Root()});
  ExpectValid(result.out, "avail");
  EXPECT_EQ(0u, result.out.find("{\n  \"version\": 1,\n  \"root\": \"" + warehouse.Root() +
                                "\",\n  \"products\": [\n    {\n      \"category\": \"C\",\n"))
      << result.out;
  EXPECT_TRUE(
      result.out.ends_with("  \"remarks\": [\n    {\n      \"path\": \"C/around\",\n      "
                           "\"text\": \"a link that leads back to a directory above it\"\n"
                           "    }\n  ]\n}\n"))
      << result.out;
  EXPECT_EQ(std::string::npos, result.out.find("\"CVS\"")) << result.out;
  EXPECT_EQ(std::string::npos, result.out.find("\"D\"")) << result.out;
}

// A loom with a part, files, a command and remarks of every kind.
struct Loom : Warehouse {
  Loom() {
    File("craft/loom/1.9/1", "product.xml", ProductXml(Variety()));
    File("craft/loom/1.9/1", "partlist.xml", PartListXml(""));
    File("craft/loom/2.0/3", "product.xml",
         "<PRODUCT-INFO name='Hand Loom' flags='visible'>"
         "<DESCRIPTION lang='de'>Webt\n  \xC3\x84rmel.</DESCRIPTION><VARIETIES>"
         "<VARIETY name='small' desc='For rugs'><VAR n='size' v='s'/><SEGMENT here='1'/></VARIETY>"
         "<VARIETY name='large'><VAR n='size' v='l'/><SEGMENT host='all-all' here='0'/></VARIETY>"
         "</VARIETIES></PRODUCT-INFO>");
    File("craft/loom/2.0/3", "partlist.xml",
         "<PARTLIST><PARTSPEC><PATTERN><MATCH><VAR n='size' v='s'/></MATCH></PATTERN><PARTS>"
         "<FILE name='%(size)/bin/weave'/><FILE name='gone'/>"
         "<PRODUCT name='shuttle' version='1' rev='1'><PATTERN/></PRODUCT>"
         "</PARTS></PARTSPEC></PARTLIST>");
    File("craft/loom/2.0/3", "env.xml",
         "<ENV-SETTINGS><ENV-GROUP><PATTERN/>\n"
         "<ENV-INSERT sep=';'><NAME>PATH</NAME><VALUE>%(BASE-CNVR)/%(size)/bin</VALUE>"
         "<BEFORE>/usr/**</BEFORE></ENV-INSERT>\n"
         "<ENV-REMOVE><NAME>OLD</NAME><VALUE>a*</VALUE></ENV-REMOVE>\n"
         "<ENV-DELETE>GONE</ENV-DELETE></ENV-GROUP></ENV-SETTINGS>");
    File("craft/loom/2.0/3", "prep.xml", RecipeXml(""));
    Write("root/craft/loom/2.0/3/s/bin/weave", "#!/bin/sh\n");
    std::filesystem::permissions(*this / "root/craft/loom/2.0/3/s/bin/weave",
                                 std::filesystem::perms::owner_all);
    Write("root/craft/loom/2.0/3/s/bin/weave.txt", "no program");
    Product("craft/shuttle/1/1");
    File("old/wheel/1/1", "product.xml", ProductXml(Variety()));
    File("old/wheel/1/1", "partlist.xml", PartListXml(""));
    File("old/wheel/1/1", "setup.xml",
         RecipeXml("<SETENV op='prepend' name='PATH' value='%(BASE-CNVR)'/>"));
  }
  std::string Of(const std::string& path) const { return Root() + "/craft/loom/2.0/3" + path; }
  RunResult Run(std::vector<std::string> words) const { return Zor(words, {"ZORROOT=" + Root()}); }
};

TEST(Show, TellsWhatAProductIs) {
  const Loom loom;
  const std::string env = "  craft/loom/2.0/3/env.xml:";
  Expect(loom.Run({"show", "loom"}),
         "craft/loom/2.0/3\nHand Loom\nWebt\n  \xC3\x84rmel.\n"
         "Versions: 1.9/1 2.0/3\n"
         "Varieties:\n"
         "  small: For rugs [size=s] (for this host)\n"
         "  large [size=l] (not here: all-all)\n"
         "Parts:\n"
         "  %(THIS-CATEGORY)/shuttle/1/1, for [size=s]\n"
         "Variables:\n"
         "  PATH insert %(BASE-CNVR)/%(size)/bin before /usr/**" +
             env + "2\n  OLD remove a*" + env + "3\n  GONE delete" + env +
             "4\nOld recipes: prep.xml\n"
             "Files:\n  s/bin/weave\n  gone (missing)\n",
         "", 0);
  Expect(loom.Run({"show", "wheel"}),
         "old/wheel/1/1\nVersions: 1/1\nVarieties:\n  (without a name) (for this host)\n"
         "Variables:\n  PATH prepend %(BASE-CNVR)  old/wheel/1/1/setup.xml:1\n"
         "Old recipes: setup.xml\n",
         "", 0);
}

TEST(Show, TellsConditionsOfSeveralPartsAndWhatIsNotHere) {
  Warehouse warehouse;
  warehouse.File("C/P/1/1", "product.xml",
                 "<PRODUCT-INFO><DESCRIPTION lang='de'></DESCRIPTION><VARIETIES>"
                 "<VARIETY name='old'><VAR n='k' v='1'/><VAR n='platform' v='vax-vms'/>"
                 "<SEGMENT here='1'/></VARIETY>"
                 "<VARIETY name='split'><VAR n='k' v='2'/><SEGMENT host='unix-all' here='0'/>"
                 "<SEGMENT host='all-x86' here='0'/></VARIETY></VARIETIES></PRODUCT-INFO>");
  warehouse.File("C/P/1/1", "partlist.xml",
                 "<PARTLIST><PARTSPEC><PATTERN><MATCH><VAR n='k' v='1'/></MATCH>"
                 "<MATCH><VAR n='k' v='2'/><VAR n='j' v='3'/></MATCH></PATTERN><PARTS>"
                 "<PRODUCT name='Q' version='1' rev='1'><PATTERN><MATCH><VAR n='m' v='x'/></MATCH>"
                 "</PATTERN></PRODUCT></PARTS></PARTSPEC>"
                 "<PARTSPEC><PATTERN><MATCH><VAR n='k' v='1'/></MATCH><MATCH/></PATTERN><PARTS>"
                 "<PRODUCT name='Q' version='2' rev='1'><PATTERN/></PRODUCT></PARTS></PARTSPEC>"
                 "</PARTLIST>");
  warehouse.File("C/P/1/1", "env.xml", EnvXml(Insert("A", "x", Before("y") + After("z"))));
  // A product whose category is the path of the other one.
  warehouse.Product("C/P/Q/1/1");
  Expect(Zor({"show", "-r", warehouse.Root(), "C/P/1/1"}),
         "C/P/1/1\nVersions: 1/1\nVarieties:\n  old [k=1, platform=vax-vms]\n"
         "  split [k=2] (not here: unix-all, all-x86)\nParts:\n"
         "  %(THIS-CATEGORY)/Q/1/1 [m=x], for [k=1 or k=2, j=3]\n"
         "  %(THIS-CATEGORY)/Q/2/1\nVariables:\n"
         "  A insert x before y after z  C/P/1/1/env.xml:1\n",
         "", 0);
}

TEST(Show, SteersNoTerminal) {
  Warehouse warehouse;
  warehouse.Product("C/x/1/1", Insert("A",
                                      "\xC2\x9B"
                                      "31m"));
  const std::vector<std::string> words = {"show", "-r", warehouse.Root(), "C/x"};
  EXPECT_NE(std::string::npos, OnTerminal(80, words).find("A insert \\xc2\\x9b31m"));
  EXPECT_NE(std::string::npos, Zor(words).out.find("A insert \xC2\x9B"
                                                   "31m"));
}

TEST(Show, GivesJson) {
  const Loom loom;
  const RunResult result = loom.Run({"show", "--json", "loom"});
  EXPECT_EQ(0, result.status) << result.err;
  ExpectValid(result.out, "show");
  EXPECT_NE(std::string::npos, result.out.find("\"kind\": \"delete\""));
  EXPECT_NE(std::string::npos, result.out.find("\"line\": 4\n"));
  ExpectValid(ZorOnExamples({"show", "--json", "weaver"}).out, "show");
}

TEST(Show, TellsWhatIsWrongWithAProduct) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Product("C/Q/1/1");
  warehouse.File("C/P/1/1", "env.xml", "<ENV-SETTINGS><NO/></ENV-SETTINGS>");
  const std::string root = warehouse.Root();
  const RunResult broken = Zor({"show", "-r", root, "C/P"});
  EXPECT_EQ("", broken.out);
  EXPECT_EQ(
      "zor: " + root +
          "/C/P/1/1/env.xml:1:15: NO is not an element of an env.xml; here may stand ENV-GROUP or "
          "the end of ENV-SETTINGS\n"
          "  XML parsing error: the file is not read, and its product can't be used\n"
          "  take NO out\n  see zorenv-warehouse(5), ENV.XML AND UNENV.XML\n",
      broken.err);
  EXPECT_EQ(1, broken.status);
  const std::string one = "zor: say which product, and only one, as in: zor show tools/weaver\n";
  Expect(Zor({"show", "-r", root}), "", one, 2);
  Expect(Zor({"show", "-r", root, "C/P", "C/Q"}), "", one, 2);
  Expect(Zor({"show", "-r", root, "C/P", "//", "C/Q"}), "", one, 2);
  Expect(Zor({"show", "-r", root, "C/Q[a=b]"}), "",
         "zor: C/Q[a=b]: a product is shown with all its varieties, so conditions have no place "
         "here\n",
         2);
}

TEST(Files, AreListedWithThoseThatAreMissing) {
  const Loom loom;
  Expect(loom.Run({"files", "loom"}), "s/bin/weave\ngone (missing)\n", "", 0);
  Expect(loom.Run({"files", "-p", "craft", "loom", "1.9"}), "", "", 0);
  const RunResult json = loom.Run({"files", "--json", "loom"});
  ExpectValid(json.out, "files");
  EXPECT_NE(std::string::npos, json.out.find("\"directory\": \"" + loom.Of("") + "\""));
}

TEST(Search, LooksAtNamesDescriptionsAndCommands) {
  const Loom loom;
  const std::string about = "craft/loom/2.0/3  Hand Loom: Webt \xC3\x84rmel.\n";
  const std::string command = "  " + loom.Of("/s/bin/weave") + "\n";
  Expect(loom.Run({"search", "LOOM"}), about, "", 0);
  Expect(loom.Run({"search", "hand"}), about, "", 0);
  Expect(loom.Run({"search", "\xC3\xA4rm"}), about, "", 0);
  Expect(loom.Run({"search", "Weave"}), about + command, "", 0);
  Expect(loom.Run({"search", "-a", "loom"}), "craft/loom/1.9/1\n" + about, "", 0);
  Expect(loom.Run({"search", "qqq"}), "",
         "zor: no product has qqq in its name, its description or its commands\n", 1);
  Expect(loom.Run({"search"}), "", "zor: say which word to look for, as in: zor search weave\n", 2);
  ExpectValid(loom.Run({"search", "--json", "weave"}).out, "search");
}

TEST(Search, PutsDescriptionsOnOneLine) {
  Warehouse warehouse;
  const auto product = [&](const std::string& directory, const std::string& descriptions) {
    warehouse.File(directory, "product.xml",
                   "<PRODUCT-INFO>" + descriptions +
                       "<VARIETIES><VARIETY><SEGMENT here='1'/></VARIETY></VARIETIES>"
                       "</PRODUCT-INFO>");
    warehouse.File(directory, "partlist.xml", PartListXml(""));
  };
  product("C/loom/1/1", "<DESCRIPTION lang='en'>the first one</DESCRIPTION>");
  product("C/loom/1/2", "<DESCRIPTION lang='en'>\n\tWeaves &#13;\n all\t</DESCRIPTION>");
  product("C/wheel/1/1", "<DESCRIPTION lang='en'> \n</DESCRIPTION>");
  // Its directory of commands is not there.
  warehouse.Product("C/\xC3\x9Cloom/1/1", Insert("PATH", "%(BASE-CNVR)/none"));
  const std::string loom = "C/loom/1/2  Weaves all\n";
  const std::string other = "C/\xC3\x9Cloom/1/1\n";
  const auto search = [&](const std::string& word) {
    return Zor({"search", "-r", warehouse.Root(), word});
  };
  Expect(search("loom"), loom + other, "", 0);
  Expect(search("WHEEL"), "C/wheel/1/1\n", "", 0);
  Expect(search("\xC3\xBCLOOM"), other, "", 0);
  // A byte that is no character counts as itself.
  Expect(search("\xFFLOOM"), "",
         "zor: no product has \\xffLOOM in its name, its description or its commands\n", 1);
  Expect(Zor({"search", "--all", "-r", warehouse.Root(), "C/loom"}),
         "C/loom/1/1  the first one\n" + loom, "", 0);
}

TEST(Search, TakesTheDirectoriesThatSettingsAndRecipesPutOnPath) {
  Warehouse warehouse;
  const auto command = [&](const std::string& path) {
    std::filesystem::permissions(warehouse.Write("root/" + path, "#!/bin/sh\n"),
                                 std::filesystem::perms::owner_all);
    return "  " + warehouse.Root() + "/" + path + "\n";
  };
  // The same directory of two groups, and one of a group for another variety.
  const std::string bin = Insert("PATH", "%(BASE-CNVR)/bin");
  warehouse.File("C/a/1/1", "product.xml", ProductXml(Variety("<VAR n='k' v='1'/>")));
  warehouse.File("C/a/1/1", "partlist.xml", PartListXml(""));
  warehouse.File("C/a/1/1", "env.xml",
                 "<ENV-SETTINGS><ENV-GROUP><PATTERN/>" + bin + Insert("PATH", "%(NONE)") +
                     Insert("PATH", "") + Insert("OTHER", "%(BASE-CNVR)/other") +
                     "</ENV-GROUP><ENV-GROUP><PATTERN/>" + bin +
                     "</ENV-GROUP><ENV-GROUP><PATTERN><MATCH><VAR n='k' v='2'/></MATCH></PATTERN>" +
                     Insert("PATH", "%(BASE-CNVR)/other") + "</ENV-GROUP></ENV-SETTINGS>");
  const std::string first = command("C/a/1/1/bin/tool");
  command("C/a/1/1/other/tool");
  // Recipes count where there are no settings, whatever the case of their words.
  const std::string recipe =
      "<SETENV op='Append' name='PATH' value='%(BASE-CNVR)/a'/>"
      "<SETENV op='set' name='PATH' value='%(BASE-CNVR)/s'/>"
      "<SETENV op='delete' name='PATH' value='%(BASE-CNVR)/d'/>"
      "<SETENV op='prepend' name='MANPATH' value='%(BASE-CNVR)/m'/>";
  warehouse.Product("C/b/1/1");
  std::filesystem::remove(warehouse / "root/C/b/1/1/env.xml");
  warehouse.File("C/b/1/1", "setup.xml", RecipeXml(recipe));
  const std::string second = command("C/b/1/1/a/tool") + command("C/b/1/1/s/tool");
  command("C/b/1/1/d/tool");
  command("C/b/1/1/m/tool");
  for (const char* settings : {"env.xml", "unenv.xml"}) {
    const std::string directory = "C/c/" + std::string(settings) + "/1";
    warehouse.Product(directory);
    std::filesystem::remove(warehouse / ("root/" + directory + "/env.xml"));
    warehouse.File(directory, settings, EnvXml(""));
    warehouse.File(directory, "setup.xml", RecipeXml(recipe));
    command(directory + "/a/tool");
  }
  Expect(Zor({"search", "--all", "-r", warehouse.Root(), "tool"}),
         "C/a/1/1\n" + first + "C/b/1/1\n" + second, "", 0);
}

TEST(Search, PassesOverBrokenProducts) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Product("C/PP/1/1");
  warehouse.File("C/P/1/1", "product.xml", "<NO/>");
  const std::string root = warehouse.Root();
  const std::string file = root + "/C/P/1/1/product.xml";
  Expect(Zor({"search", "-r", root, "p"}), "C/PP/1/1\n",
         "zor: passed over C/P/1/1: " + file +
             ":1:1: the root is NO; the root of a product.xml is PRODUCT-INFO or VARIETIES\n",
         0);
}

// Products whose settings are old recipes, as zorenv replays them.
struct Recipes : Warehouse {
  Recipes() {
    const std::string one = "\n<SETENV op='append' name='L' value='%(NONE)'/>";
    Replayed("C/q/1/1", one, "");
    Replayed("C/p/1/1",
             "\n<SETENV op='set' name='L' value='x:y:x'/>\n<SETENV op='set' name='L'/>"
             "\n<SETENV op='append' name='M' value='m'/>",
             "\n<SETENV op='delete' name='M'/>\n<SETENV op='unappend' name='L' value='x'/>");
    // Where there are settings for either, no recipe is replayed.
    Replayed("C/off/1/1", "\n<SETENV op='set' name='L' value='off'/>", "");
    File("C/off/1/1", "unenv.xml", EnvXml(""));
  }
  void Replayed(const std::string& directory, const std::string& setup, const std::string& unset) {
    Product(directory);
    std::filesystem::remove(Root() + "/" + directory + "/env.xml");
    File(directory, "setup.xml", RecipeXml(setup));
    if (!unset.empty()) File(directory, "unset.xml", RecipeXml(unset));
  }
  RunResult Run(std::vector<std::string> words) const {
    words.insert(words.begin() + 1, {"-r", Root()});
    return Zor(words, {"L=a:x", "M=b"});
  }
};

TEST(OldRecipes, AreToldStepByStep) {
  const Recipes recipes;
  const auto by = [&](const std::string& what, const std::string& place) {
    return "    " + what + " by C/p/1/1 (" + recipes.Root() + "/C/p/1/1/" + place +
           ")\n      named as C/p\n";
  };
  // A list that is put in may repeat itself, and without a value nothing is put in.
  Expect(recipes.Run({"env", "C/p"}), "L='x:y:x'; export L;\nM='b:m'; export M;\n", "", 0);
  const std::string before = "    was there before\n";
  const std::string set = "L\n  x\n" + before + by("inserted", "setup.xml:2:1") + "  y\n" +
                          by("inserted", "setup.xml:2:1") + "  a, which is not there\n" + before +
                          by("removed", "setup.xml:2:1");
  Expect(recipes.Run({"why", "C/p", "L"}), set, "", 0);
  Expect(recipes.Run({"why", "C/p", "C/off", "L"}), set, "", 0);
  Expect(recipes.Run({"env", "-u", "C/p"}), "L='a'; export L;\nunset M;\n", "", 0);
  const std::string m = "M\n  b, which is not there\n" + before + by("removed", "unset.xml:2:1");
  Expect(recipes.Run({"why", "-u", "C/p", "M"}), m, "", 0);
  Expect(recipes.Run({"why", "-u", "C/p", "--all"}),
         "L\n  a\n" + before + "  x, which is not there\n" + before +
             by("removed", "unset.xml:3:1") + m,
         "", 0);
}

TEST(OldRecipes, ThatNameWhatNothingDefinesAreFaults) {
  const Recipes recipes;
  const std::string told =
      "zor: " + recipes.Root() +
      "/C/q/1/1/setup.xml:2:37: % variable NONE is not defined\n  defined are BASE-DIRECTORY, FS, "
      "EXE, DLL, LIB, THIS-CNVR, PLAT-THIS-CNVR, BASE-CN, BASE-CNV, BASE-CNVR, BINPATH, "
      "HOST-PLATFORM, THIS-CATEGORY, THIS-NAME, THIS-REV, THIS-VERSION and PLAT-CATEGORY\n"
      "  write one of these, or give the variety a VAR of that name in product.xml\n"
      "  see zorenv-warehouse(5), EXPANSION\n";
  Expect(recipes.Run({"env", "C/q"}), "", told, 1);
  Expect(recipes.Run({"why", "C/q", "L"}), "", told, 1);
}

TEST(Files, AreListedOnceAndWhereverTheyLie) {
  Warehouse warehouse;
  const std::string outside = warehouse.Write("outside", "");
  warehouse.File("C/P/1/1", "product.xml",
                 ProductXml("<VARIETY><VAR n='k' v='1'/><SEGMENT here='1'/></VARIETY>"
                            "<VARIETY><VAR n='k' v='2'/><SEGMENT here='1'/></VARIETY>"
                            "<VARIETY><VAR n='k' v='3'/><SEGMENT here='0'/></VARIETY>"));
  const auto when = [](const std::string& value, const std::string& parts) {
    return "<PARTSPEC><PATTERN><MATCH><VAR n='k' v='" + value + "'/></MATCH></PATTERN><PARTS>" +
           parts + "</PARTS></PARTSPEC>";
  };
  warehouse.File("C/P/1/1", "partlist.xml",
                 "<PARTLIST>" +
                     when("1", "<FILE name='same'/><FILE name='own.%(k)'/><FILE name='%(NONE)'/>") +
                     when("2", "<FILE name='same'/><FILE name='" + outside + "'/>") +
                     when("3", "<FILE name='not.here'/>") + "</PARTLIST>");
  warehouse.Write("root/C/P/1/1/own.1", "");
  Expect(Zor({"files", "-r", warehouse.Root(), "C/P"}), "same (missing)\nown.1\n" + outside + "\n",
         "", 0);
}

TEST(Which, FindsTheCommandInTheNewEnvironment) {
  const Loom loom;
  const std::string weave = loom.Of("/s/bin/weave");
  const std::string other = loom.Write("other/weave", "#!/bin/sh\n");
  std::filesystem::permissions(other, std::filesystem::perms::owner_all);
  loom.Write("text/weave", "no program");
  // The product's directory goes to the front, as its file says.
  const std::string path = "PATH=" + (loom / "text") + ":" + (loom / "other") + ":/usr/bin";
  const auto run = [&](std::vector<std::string> words) {
    return Zor(words, {"ZORROOT=" + loom.Root(), path});
  };
  Expect(run({"which", "weave", "craft/shuttle"}), other + "\n", "", 0);
  Expect(run({"which", "no-such-program", "loom"}), "",
         "zor: there is no command no-such-program in that environment\n", 1);
  Expect(run({"which"}), "",
         "zor: say which command, and then which products: zor which weaver tools/weaver\n", 2);
  const RunResult json = ZorOnExamples({"which", "--json", "weaver", "weaver[platform=linux-x86]"});
  ExpectValid(json.out, "which");
  EXPECT_NE(std::string::npos, json.out.find("\"product\": \"tools/weaver/1.10/2\"")) << json.out;
  Expect(ZorOnExamples({"which", "-a", "weaver", "weaver[platform=linux-x86]"}),
         Examples() + "/tools/weaver/1.10/2/linux-x86/bin/weaver\n", "", 0);
}

TEST(Which, LooksInEachDirectoryOfPathOnce) {
  const Loom loom;
  const auto program = [&](const std::string& path) {
    const std::string file = loom.Write(path, "#!/bin/sh\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file;
  };
  const std::string other = program("other/weave"), common = program("root/bin/weave");
  const std::string beside = program("root/not/a/real/product/weave");
  loom.Link("link", "root");
  const std::string path = "PATH=:" + (loom / "other") + ":" + (loom / "other") + ":" +
                           loom.Root() + "/bin:" + loom.Root() +
                           "/not/a/real/product:" + loom.Of("/s/bin");
  const auto run = [&](std::vector<std::string> words) {
    words.insert(words.begin(), {ZOR_PROGRAM, "which"});
    RunOptions options;
    options.environment = {path, "ZORROOT=" + (loom / "link"), "LC_ALL=C.UTF-8"};
    options.directory = loom / "other";
    return RunProgram(words, options);
  };
  // An empty element of PATH is the current directory.
  const std::string all =
      "./weave\n" + other + "\n" + common + "\n" + beside + "\n" + loom.Of("/s/bin/weave") + "\n";
  Expect(run({"-a", "weave", "craft/shuttle"}), all, "", 0);
  Expect(run({"--all", "weave", "craft/shuttle"}), all, "", 0);
  // Only the last lies in a product, which the link leads to as well.
  const RunResult json = run({"--all", "--json", "weave", "craft/shuttle"});
  std::string expected = "{\n  \"version\": 1,\n  \"command\": \"weave\",\n  \"files\": [\n";
  for (const std::string& file : {std::string("./weave"), other, common, beside})
    expected += "    {\n      \"path\": \"" + file + "\",\n      \"product\": null\n    },\n";
  EXPECT_EQ(expected + "    {\n      \"path\": \"" + loom.Of("/s/bin/weave") +
                "\",\n      \"product\": \"craft/loom/2.0/3\"\n    }\n  ]\n}\n",
            json.out);
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"/bin/sh", "loom"}, {"", "loom"}, {"-a"}, {"-p", "craft", "loom"}})
    Expect(run(words), "",
           "zor: say which command, and then which products: zor which weaver tools/weaver\n", 2);
}

TEST(Shell, IsTheUsersOwnInTheEnvironment) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1", Insert("GREETING", "hello"));
  const std::string shell = warehouse.Write("shell", "#!/bin/sh\necho $GREETING $#; exit 5\n");
  std::filesystem::permissions(shell, std::filesystem::perms::owner_all);
  Expect(Zor({"shell", "-r", warehouse.Root(), "C/P"}, {"SHELL=" + shell}), "hello 0\n", "", 5);
  Expect(Zor({"shell", "-r", warehouse.Root(), "C/P"}, {"SHELL=" + (warehouse / "none")}), "",
         "zor: " + (warehouse / "none") + ": No such file or directory\n", 127);
  // Where nothing names one, it is that of everybody.
  for (const std::vector<std::string>& none : {std::vector<std::string>{}, {"SHELL="}}) {
    RunOptions options;
    options.environment = PlainEnvironment(none);
    options.input = "echo $GREETING; exit 6\n";
    Expect(RunProgram({ZOR_PROGRAM, "shell", "-r", warehouse.Root(), "C/P"}, options), "hello\n",
           "", 6);
  }
  Expect(Zor({"shell", "-r", warehouse.Root(), "C/P", "--", "ls"}), "",
         "zor: zor shell starts your shell and takes no program; zor exec does\n", 2);
}

TEST(Platform, TellsTheWordsThatIncludeTheHost) {
  const RunResult plain = Zor({"platform"});
  const RunResult json = Zor({"platform", "--json"});
  ExpectValid(json.out, "platform");
  const std::string name = plain.out.substr(0, plain.out.size() - 1);
  EXPECT_NE(std::string::npos, json.out.find("\"platform\": \"" + name + "\""));
  const RunResult words = Zor({"platform", "-v"});
  EXPECT_EQ(0u, words.out.find(plain.out));
  // Every system is one of all, and so is every architecture.
  EXPECT_NE(std::string::npos, words.out.find(" unix all\narchitectures:")) << words.out;
  EXPECT_TRUE(words.out.ends_with(" all\n")) << words.out;
}

}  // namespace
