// The texts of reasons: of elements, of choices, and of conflicts with the ways out of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <sstream>

#include "model/generator.h"
#include "model/model.h"
#include "process.h"
#include "session_support.h"
#include "zor.h"

namespace {

// Products in C that share a part, insert, remove and order elements of L and W.
struct Why : testing::Test {
  Why() {
    w.Product("C/part/1/1", Insert("L", "p") + Insert("L", "q", After("u")));
    w.ProductWithParts("C/whole/1/1", Remove("L", "p") + Insert("L", "a", Before("u")),
                       Part("part", "1"));
    w.Product("C/other/1/1", Insert("L", "other"));
    w.Product("C/other/2/1", Remove("L", "q"));
    w.Product("C/first/1/1", Insert("W", "one", Before("two")));
    w.Product("C/second/1/1", Insert("W", "two", Before("three")));
    w.Product("C/third/1/1", Insert("W", "three", Before("one")));
    w.Product("C/third/2/1", Insert("W", "three"));
    w.Product("C/colon/1/1", Insert("S", "x", "", " sep=':'"));
    w.Product("C/comma/1/1", Insert("S", "y", "", " sep=','"));
    w.Product("C/clear/1/1", Remove("NOTHING", "x"));
    w.File("C/old/1/1", "product.xml", ProductXml(Variety()));
    w.File("C/old/1/1", "partlist.xml", PartListXml(""));
    w.File("C/old/1/1", "setup.xml",
           RecipeXml("<SETENV op='prepend' name='L' value='r'/>"
                     "<SETENV op='unappend' name='L' value='u'/>"));
  }

  RunResult Run(const std::vector<std::string>& words) const {
    return Zor(words, {"ZORROOT=" + w.Root(), "L=u:v"});
  }
  // "C/part/1/1 (file:line:column)" of the operation that begins so.
  std::string At(const std::string& product, const std::string& text,
                 const std::string& file = "env.xml") const {
    return product + " (" + Place(w.Root() + '/' + product + '/' + file, text) + ")\n";
  }

  Warehouse w;
};

TEST_F(Why, EachElementIsToldOfInOrder) {
  const std::string part =
      "      a part of " + At("C/whole/1/1", "<PRODUCT", "partlist.xml") + "      named as whole\n";
  const std::string before = At("C/whole/1/1", "<ENV-INSERT");
  Expect(Run({"why", "whole", "L"}),
         "L\n"
         "  a\n    inserted by " +
             before +
             "      named as whole\n"
             "    in front of u: BEFORE u of " +
             before +
             "  u\n    was there before\n"
             "  v\n    was there before\n"
             "  q\n    inserted by " +
             At("C/part/1/1", "<ENV-INSERT><NAME>L</NAME><VALUE>q") + part +
             "  p, which is not there\n    removed by " + At("C/whole/1/1", "<ENV-REMOVE") +
             "      named as whole\n"
             "    the insert of " +
             At("C/part/1/1", "<ENV-INSERT") + part + "      gives way to the remove of " +
             At("C/whole/1/1", "<ENV-REMOVE"),
         "", 0);
}

TEST_F(Why, AnElementMayBeAskedForAlone) {
  Expect(Run({"why", "whole", "L", "v"}), "L\n  v\n    was there before\n", "", 0);
  Expect(Run({"why", "whole", "--", "L", "nowhere"}),
         "L\n  nowhere is not there: nothing inserts it, and it was not there before\n", "", 0);
  Expect(Run({"why", "-p", "C", "whole", "--", "N"}),
         "N\n  nothing in this request touches it; it is not set\n", "", 0);
  // A remove creates the variable.
  Expect(Run({"why", "clear", "NOTHING"}),
         "NOTHING\n  it is set and empty\n    touched by " + At("C/clear/1/1", "<ENV-REMOVE") +
             "      named as clear\n",
         "", 0);
}

// An operation on several variables that states no separator takes the one of the first variable
// that has one, and then uses it for the others too.
TEST_F(Why, AnElementIsWhatTheSeparatorMakesIt) {
  w.Product("C/all/1/1", Insert("XL", "x", "", " sep=';'") + Remove("X*", "nothing"));
  Expect(Zor({"why", "all", "XM"}, {"ZORROOT=" + w.Root(), "XL=y", "XM=a:b"}),
         "XM\n  a:b\n    was there before\n", "", 0);
}

TEST_F(Why, GroupsAndOldRecipesAreToldOfInTurn) {
  const std::string recipe = "C/old/1/1";
  Expect(Run({"why", "other/1", "//", "old", "L"}),
         "L\n"
         "  r\n    inserted by " +
             At(recipe, "<SETENV op='prepend'", "setup.xml") +
             "      named as old in group 2\n"
             "  v\n    was there before\n"
             "  other\n    inserted by " +
             At("C/other/1/1", "<ENV-INSERT") +
             "      named as other/1 in group 1\n"
             "  u, which is not there\n    was there before\n    removed by " +
             At(recipe, "<SETENV op='unappend'", "setup.xml") + "      named as old in group 2\n",
         "", 0);
}

TEST_F(Why, ChoicesTellWhatElseThereWas) {
  w.File("C/many/1/1", "product.xml", ProductXml(Variety()));
  w.File("C/many/1/1", "partlist.xml", PartListXml(""));
  w.File("C/many/1.10/1", "product.xml",
         "<PRODUCT-INFO><VARIETIES>"
         "<VARIETY name='g'><VAR n='compiler' v='gcc'/><SEGMENT host='all' here='1'/></VARIETY>"
         "<VARIETY name='l'><VAR n='compiler' v='llvm'/><SEGMENT host='sun' here='0'/></VARIETY>"
         "</VARIETIES></PRODUCT-INFO>");
  w.File("C/many/1.10/1", "partlist.xml", PartListXml(""));
  Expect(Run({"why", "C/many[compiler=gcc]"}),
         "C/many/1.10/1, named as C/many[compiler=gcc]\n"
         "  1.10/1 is the latest version; there are also 1/1\n"
         "  the variety g [compiler=gcc] is taken\n"
         "  the variety l [compiler=llvm] is not taken: it does not meet compiler=gcc, and its "
         "segment for sun is not here\n",
         "", 0);
  Expect(Run({"why", "many/1"}),
         "C/many/1/1, named as many/1\n"
         "  1/1 is asked for, in its latest revision; there are also 1.10/1\n"
         "  the variety is taken\n",
         "", 0);
}

TEST_F(Why, ChoicesOfPartsAreToldOfAsWell) {
  const std::string varieties =
      Variety("<VAR n='compiler' v='gcc'/>") + Variety("<VAR n='compiler' v='llvm'/>");
  w.File("C/mpi/1/1", "product.xml", ProductXml(varieties));
  w.File("C/mpi/1/1", "partlist.xml", PartListXml(""));
  w.Product("C/mpi/2/1", "");
  w.File("C/broken/1/1", "product.xml", "<PRODUCT-INFO>");
  w.File("C/broken/1/1", "partlist.xml", PartListXml(""));
  w.ProductWithParts("C/app/1/1", "",
                     "<PRODUCT category='C' name='mpi' version='1' rev='1'>"
                     "<PATTERN><MATCH><VAR n='compiler' v='g*'/></MATCH></PATTERN></PRODUCT>" +
                         Part("gone", "3") + Part("broken", "1"));
  w.ProductWithParts("C/suite/1/1", "",
                     Part("app", "1") +
                         "<PRODUCT category='C' name='mpi' version='1' rev='1'>"
                         "<PATTERN><MATCH><VAR n='compiler' v='g*'/></MATCH></PATTERN></PRODUCT>");
  const auto part = [&](const std::string& product, const std::string& text) {
    return "a part of " + At(product, text, "partlist.xml");
  };
  const std::string app = part("C/suite/1/1", R"(<PRODUCT category="C" name="app")");
  const RunResult result = Run({"why", "suite"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(
      "C/suite/1/1, named as suite\n"
      "  1/1 is the latest version; there is no other\n"
      "  the variety is taken\n"
      "C/app/1/1, " +
          app +
          "  1/1 is what the part list names; there is no other\n"
          "  the variety is taken\n"
          "C/mpi/1/1, " +
          part("C/suite/1/1", "<PRODUCT category='C' name='mpi'") + "  and " +
          part("C/app/1/1", "<PRODUCT category='C' name='mpi'") +
          "  asked for with compiler=g*\n"
          "  1/1 is what the part list names; there are also 2/1\n"
          "  the variety [compiler=gcc] is taken\n"
          "  the variety [compiler=llvm] is not taken: it does not meet compiler=g*\n"
          "C/gone/3/1, " +
          part("C/app/1/1", R"(<PRODUCT category="C" name="gone")") +
          "  3/1 does not exist and is passed over; there is no other\n"
          "C/broken/1/1, " +
          part("C/app/1/1", R"(<PRODUCT category="C" name="broken")") +
          "  its data files can't be read; zor check tells why\n",
      result.out);
  const RunResult document = Run({"why", "--json", "suite"});
  EXPECT_EQ(0, document.status) << document.err;
  ExpectValid(document.out, "why");
}

TEST_F(Why, DocumentsHaveTheirSchema) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"whole"}, {"whole", "L"}, {"old", "//", "whole", "--all"}}) {
    std::vector<std::string> all = {"why", "--json"};
    all.insert(all.end(), words.begin(), words.end());
    const RunResult result = Run(all);
    EXPECT_EQ(0, result.status) << result.err;
    ExpectValid(result.out, "why");
  }
}

TEST_F(Why, WhatIsLoadedNeedsNoRequest) {
  ShellModel shell({{"LC_ALL", "C.UTF-8"}, {"PATH", "/usr/bin:/bin"}, {"ZORROOT", w.Root()}});
  EXPECT_EQ(0, shell.Run({"load", "other/1"}).status);
  const RunResult result = shell.Ask({"why", "--", "L"});
  Expect(result,
         "L\n  other\n    inserted by " + At("C/other/1/1", "<ENV-INSERT") +
             "      named as other/1\n",
         "", 0);
}

TEST_F(Why, EnvAndLoadSayWhatTheyTook) {
  const std::string taken =
      "zor: took tools/weaver/1.9/1, variety linux-x86 [platform=linux-x86]\n";
  const RunResult env = ZorOnExamples({"env", "weaver/1.9", "-v"});
  EXPECT_EQ(taken, env.err);
  EXPECT_EQ(0, env.status);
  // Behind -p a -v is a condition.
  const RunResult line = ZorOnExamples(
      {"env", "-p", "tools", "weaver", "1.9", "-v", "platform", "linux-x86", "--verbose"});
  EXPECT_EQ(taken, line.err);
  EXPECT_EQ(env.out, line.out);
  ShellModel shell({{"LC_ALL", "C.UTF-8"}, {"PATH", "/usr/bin:/bin"}, {"ZORROOT", Examples()}});
  EXPECT_EQ(taken, shell.Run({"load", "--verbose", "weaver/1.9"}).err);
}

TEST_F(Why, WrongUsageIsTold) {
  Expect(Run({"why"}), "", "zor: say which product, as in: zor why tools/weaver PATH\n", 2);
  Expect(Run({"why", "--all", "whole", "L"}), "", "zor: --all takes the place of a variable\n", 2);
  Expect(Run({"why", "whole", "--", "a", "b", "c"}), "",
         "zor: behind -- stand a variable and, if you like, one of its elements, as in:\n"
         "  zor why tools/weaver -- PATH /usr/bin\n",
         2);
}

// ---- Words and choices ----

TEST_F(Why, WhatStandsBehindTheRequestIsTakenByItsLooks) {
  const std::string misuse =
      "zor: behind -- stand a variable and, if you like, one of its elements, as in:\n"
      "  zor why tools/weaver -- PATH /usr/bin\n";
  Expect(Run({"why", "whole", "--"}), "", misuse, 2);
  Expect(Run({"why", "whole", "--", ""}), "", misuse, 2);
  const std::string v = "L\n  v\n    was there before\n";
  for (const std::string option : {"-r", "--root"})
    Expect(Zor({"why", option, w.Root(), "whole", "L", "v"}, {"L=u:v"}), v, "", 0);
  // Behind what begins a group stands a product, and no variable begins with a digit.
  for (const std::string divider : {"//", "--and", "-A"})
    Expect(Run({"why", "whole", divider, "L"}), "",
           "zor: there is no product L in " + w.Root() + "\nzor avail lists what there is\n", 1);
  Expect(Run({"why", "whole", "1L"}), "",
         "zor: there is no product 1L in " + w.Root() + "\nzor avail lists what there is\n", 1);
  Expect(Run({"why", "whole", "L_2"}), "L_2\n  nothing in this request touches it; it is not set\n",
         "", 0);
  Expect(Run({"why", "whole", "LC_ALL"}),
         "LC_ALL\n  nothing in this request touches it; it was set before\n", "", 0);
  Expect(Run({"why", "whole", "N", "x"}), "N\n  nothing in this request touches N; it is not set\n",
         "", 0);
}

TEST_F(Why, VersionsAreToldOfByWhoNamedThem) {
  for (const char* version : {"C/many/1/1", "C/many/1/2", "C/many/2/1"})
    w.Product(version);
  w.Write("root/zor.toml", "[versions]\n\"C/many\" = \"1\"\n");
  struct Row {
    std::vector<std::string> words;
    std::string named, told;
  };
  const Row rows[] = {
      {{"many"}, "many", "1/2 is the default of the settings; there are also 1/1 2/1"},
      {{"many/1"}, "many/1", "1/2 is asked for, in its latest revision; there are also 1/1 2/1"},
      {{"many/1/1"}, "many/1/1", "1/1 is asked for; there are also 1/2 2/1"},
      {{"many/+"}, "many/+", "2/1 is the latest version; there are also 1/1 1/2"},
      {{"-p", "C", "many"}, "-p C many", "2/1 is the latest version; there are also 1/1 1/2"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.named);
    std::vector<std::string> words = {"why"};
    words.insert(words.end(), row.words.begin(), row.words.end());
    Expect(Run(words),
           "C/many/" + row.told.substr(0, 3) + ", named as " + row.named + "\n  " + row.told +
               "\n  the variety is taken\n",
           "", 0);
  }
}

TEST_F(Why, VarietiesAreToldOfWithAllThatTheyLack) {
  const std::string k = "<VAR n='k' v='1'/>";
  w.File("C/v/1/1", "product.xml",
         ProductXml("<VARIETY name='none'>" + k + "</VARIETY><VARIETY name='away'>" + k +
                    "<SEGMENT host='sun' here='0'/><SEGMENT host='hp' here='0'/></VARIETY>"
                    "<VARIETY name='win'><VAR n='platform' v='win'/>" +
                    k + "<SEGMENT here='1'/></VARIETY>"));
  w.File("C/v/1/1", "partlist.xml", PartListXml(""));
  w.File("C/bare/1/1", "product.xml", ProductXml(""));
  w.File("C/bare/1/1", "partlist.xml", PartListXml(""));
  w.ProductWithParts("C/user/1/1", "",
                     "<PRODUCT category='C' name='v' version='1' rev='1'><PATTERN><MATCH>"
                     "<VAR n='k' v='1'/><VAR n='l' v='2'/></MATCH></PATTERN></PRODUCT>"
                     "\n<PRODUCT category='C' name='v' version='1' rev='1'><PATTERN>"
                     "<MATCH host='sun'/></PATTERN></PRODUCT>"
                     "\n<PRODUCT category='C' name='gone' version='3' rev='1' optional='1'>"
                     "<PATTERN><MATCH/></PATTERN></PRODUCT>");
  const std::string away = "its segment for sun, for hp is not here\n";
  // A variety that names no segment has one for all hosts, and that is not here.
  const std::string taken =
      "  the variety none [k=1] is taken, but gives no settings: its segment for all-all is not "
      "here\n  the variety away [k=1] is taken, but gives no settings: " +
      away + "  the variety win [platform=win, k=1] is taken\n";
  Expect(Run({"why", "v"}),
         "C/v/1/1, named as v\n  1/1 is the latest version; there is no other\n" + taken, "", 0);
  Expect(Run({"why", "bare"}),
         "C/bare/1/1, named as bare\n  1/1 is the latest version; there is no other\n"
         "  it has no varieties, so it has no settings\n",
         "", 0);
  const std::string list = "a part of C/user/1/1 (" + w.Root() + "/C/user/1/1/partlist.xml:";
  Expect(Run({"why", "user"}),
         "C/user/1/1, named as user\n  1/1 is the latest version; there is no other\n"
         "  the variety is taken\nC/v/1/1, " +
             list +
             "1:38)\n  asked for with k=1, l=2\n"
             "  1/1 is what the part list names; there is no other\n"
             "  the variety none [k=1] is not taken: it does not meet l=2, and its segment for "
             "all-all is not here\n"
             "  the variety away [k=1] is not taken: it does not meet l=2, and " +
             away + "  the variety win [platform=win, k=1] is not taken: it does not meet l=2\n" +
             "C/v/1/1, " + list + "2:1)\n" +
             "  1/1 is what the part list names; there is no other\n" + taken + "C/gone/3/1, " +
             list +
             "3:1)\n  3/1 does not exist and is passed over, as it may be missing; there is no "
             "other\n",
         "", 0);
  w.File("C/v/1/1", "env.xml", "<oops/>");
  Expect(Run({"why", "v"}), "",
         "zor: " + w.Root() +
             "/C/v/1/1/env.xml:1:1: the root is oops; the root of an env.xml is ENV-SETTINGS\n"
             "  XML parsing error: the file is not read, and its product can't be used\n"
             "  write ENV-SETTINGS, in its end tag too\n"
             "  see zorenv-warehouse(5), ENV.XML AND UNENV.XML\n",
         1);
}

TEST_F(Why, DeletesAndRecipesGiveWayAndAreGivenWayTo) {
  w.ProductWithParts("C/deletes/1/1", Delete("L"), Part("other", "1"));
  w.File("C/older/1/1", "product.xml", ProductXml(Variety()));
  w.File("C/older/1/1", "partlist.xml", PartListXml(Part("old", "1")));
  w.File("C/older/1/1", "setup.xml",
         RecipeXml("<SETENV op='unprepend' name='L' value='r'/>"
                   "<SETENV op='delete' name='GONE'/>"));
  const std::string deleted =
      "    removed by " + At("C/deletes/1/1", "<ENV-DELETE") + "      named as deletes\n";
  Expect(Run({"why", "deletes", "L"}),
         "L\n  other, which is not there\n" + deleted + "    the insert of " +
             At("C/other/1/1", "<ENV-INSERT") + "      a part of " +
             At("C/deletes/1/1", "<PRODUCT", "partlist.xml") +
             "      named as deletes\n      gives way to the delete of " +
             At("C/deletes/1/1", "<ENV-DELETE") +
             "  u, which is not there\n    was there before\n" + deleted +
             "  v, which is not there\n    was there before\n" + deleted,
         "", 0);
  const std::string part =
      "      a part of " + At("C/older/1/1", "<PRODUCT", "partlist.xml") + "      named as older\n";
  const std::string taken = At("C/older/1/1", "<SETENV", "setup.xml");
  Expect(Run({"why", "older", "L"}),
         "L\n  v\n    was there before\n  u, which is not there\n    was there before\n"
         "    removed by " +
             At("C/old/1/1", "<SETENV op='unappend'", "setup.xml") + part +
             "  r, which is not there\n    removed by " + taken +
             "      named as older\n    the prepend of " +
             At("C/old/1/1", "<SETENV op='prepend'", "setup.xml") + part +
             "      gives way to the remove of " + taken,
         "", 0);
  w.Product("C/gone/1/1", Delete("GONE"));
  Expect(Run({"why", "gone", "GONE"}),
         "GONE\n  it is not set\n    touched by " + At("C/gone/1/1", "<ENV-DELETE") +
             "      named as gone\n",
         "", 0);
  const RunResult json = Run({"why", "--json", "whole", "L", "v"});
  ExpectValid(json.out, "why");
  EXPECT_NE(std::string::npos, json.out.find("\"value\": \"v\"")) << json.out;
  EXPECT_EQ(std::string::npos, json.out.find("\"value\": \"u\"")) << json.out;
}

// ---- Ways out ----

// Products a1, a2, ... of which each wants to stand in front of the next, and the last in front of
// the first.
std::vector<std::string> AddCircle(Warehouse* w, int count) {
  std::vector<std::string> words;
  for (int i = 1; i <= count; ++i) {
    const std::string name = "a" + std::to_string(i);
    const std::string next = "a" + std::to_string(i % count + 1);
    w->Product("C/" + name + "/1/1", Insert("W", name, Before(next)));
    words.push_back(name);
  }
  return words;
}

TEST_F(Why, OfALongCircleTheBeginningIsShown) {
  std::vector<std::string> words = AddCircle(&w, 14);
  words.insert(words.begin(), "env");
  const RunResult result = Run(words);
  EXPECT_EQ(1, result.status);
  std::smatch match;
  ASSERT_TRUE(std::regex_search(result.err, match, std::regex("\n  (a[0-9]+) before a")));
  EXPECT_NE(std::string::npos,
            result.err.find("\n  and so on over 2 more, back to " + match[1].str() + '\n'))
      << result.err;
  const std::regex member("\n  a[0-9]+ before a[0-9]+: BEFORE a");
  EXPECT_EQ(12, std::distance(std::sregex_iterator(result.err.begin(), result.err.end(), member),
                              std::sregex_iterator()));
  EXPECT_NE(std::string::npos, result.err.find("\n    without a1\n")) << result.err;
}

TEST_F(Why, WhereManyProductsAreAtOddsTheSearchForAWayOutEnds) {
  std::vector<std::string> words = AddCircle(&w, 14);
  w.Product("C/sets/1/1", Insert("X", "x"));
  w.Product("C/clears/1/1", Remove("X", "x"));
  words.insert(words.begin(), {"env", "sets", "clears"});
  const RunResult result = Run(words);
  EXPECT_EQ(1, result.status);
  EXPECT_TRUE(
      result.err.ends_with("\n  no way out was found in the time that there is for trying\n"))
      << result.err;
}

TEST_F(Why, OtherVersionsAreProposedIfTheyHelpTheLatestFirst) {
  w.Product("C/sets/1/1", Insert("X", "x"));
  for (const char* version : {"1", "2", "3", "4", "5"})
    w.Product(std::string("C/clears/") + version + "/1", Insert("X", version));
  w.Product("C/clears/6/1", Remove("X", "x"));
  w.Product("C/clears/4/1", Remove("X", "?"));
  Expect(Run({"env", "sets", "clears"}), "",
         "zor: value x is both inserted and removed in environment variable X\n  inserted by " +
             At("C/sets/1/1", "<ENV-INSERT") + "    named as sets\n  removed by " +
             At("C/clears/6/1", "<ENV-REMOVE") +
             "    named as clears\n"
             "  what works, as trying it has shown:\n"
             "    sets behind // (or --and), where it overrides the others\n"
             "    without sets\n"
             "    C/clears/5/1 in place of clears\n"
             "    C/clears/3/1 in place of clears\n"
             "    C/clears/2/1 in place of clears\n"
             "    clears behind // (or --and), where it overrides the others\n"
             "    without clears\n",
         1);
}

TEST_F(Why, ConditionsAreProposedWhereSeveralVarietiesFit) {
  const auto variety = [](const std::string& k) { return Variety("<VAR n='k' v='" + k + "'/>"); };
  const auto group = [](const std::string& k, const std::string& operation) {
    return "<ENV-GROUP><PATTERN><MATCH><VAR n='k' v='" + k + "'/></MATCH></PATTERN>" + operation +
           "</ENV-GROUP>\n";
  };
  w.File("C/v/1/1", "product.xml", ProductXml(variety("a") + variety("b*")));
  w.File("C/v/1/1", "partlist.xml", PartListXml(""));
  w.File("C/v/1/1", "env.xml",
         "<ENV-SETTINGS>\n" + group("a", Insert("X", "x")) + group("b**", Remove("X", "x")) +
             "</ENV-SETTINGS>");
  const auto side = [&](const char* word, const char* k, const char* operation) {
    return std::string("  ") + word + " by C/v/1/1[k=" + k + "] (" +
           Place(w.Root() + "/C/v/1/1/env.xml", operation) + ")\n    named as v in group 2\n";
  };
  // One cannot ask for a pattern.
  Expect(Run({"env", "other", "//", "v"}), "",
         "zor: value x is both inserted and removed in environment variable X\n" +
             side("inserted", "a", "<ENV-INSERT") + side("removed", "b*", "<ENV-REMOVE") +
             "  what works, as trying it has shown:\n"
             "    v[k=a], as several varieties of it fit\n"
             "    without v\n",
         1);
}

// The first group states a separator as well.
TEST_F(Why, SeparatorsAreHeldAgainstEachOtherInTheirGroup) {
  Expect(Run({"env", "comma", "//", "colon", "comma"}), "",
         "zor: inconsistent separators for environment variable S\n"
         "  separated by \":\" in " +
             At("C/colon/1/1", "<ENV-INSERT") + "    named as colon in group 2\n" +
             "  separated by \",\" in " + At("C/comma/1/1", "<ENV-INSERT") +
             "    named as comma in group 2\n" +
             "  what works, as trying it has shown:\n"
             "    colon behind // (or --and), where it overrides the others\n"
             "    without colon\n"
             "    comma behind // (or --and), where it overrides the others\n"
             "    without comma\n",
         1);
}

// ---- Names and separators of any kind ----

TEST_F(Why, OperationsAreTracedToTheWordThatNamedTheirVariety) {
  const auto group = [](const std::string& k) {
    return "\n<ENV-GROUP><PATTERN><MATCH><VAR n='k' v='" + k + "'/></MATCH></PATTERN>" +
           Insert("X", k) + "</ENV-GROUP>";
  };
  w.File("C/v/1/1", "product.xml",
         ProductXml(Variety("<VAR n='k' v='a'/>") + Variety("<VAR n='k' v='b'/>")));
  w.File("C/v/1/1", "partlist.xml", PartListXml(""));
  w.File("C/v/1/1", "env.xml", "<ENV-SETTINGS>" + group("a") + group("b") + "</ENV-SETTINGS>");
  const auto place = [&](const std::string& k, int line) {
    return "  " + k + "\n    inserted by C/v/1/1[k=" + k + "] (" + w.Root() +
           "/C/v/1/1/env.xml:" + std::to_string(line) + ":64)\n      named as v[k=" + k + "]\n";
  };
  Expect(Run({"why", "v[k=a]", "v[k=b]", "X"}), "X\n" + place("a", 2) + place("b", 3), "", 0);
  // A product that is not there takes no part, and no one else's place.
  const std::string other =
      "L\n  other\n    inserted by " + At("C/other/1/1", "<ENV-INSERT") + "      named as ";
  Expect(Run({"why", "-i", "-p", "C", "none", "-p", "C", "other", "1", "--", "L", "other"}),
         other + "-p C other 1\n", "", 0);
  Expect(Run({"why", "-i", "-p", "C", "none", "-p", "C", "other", "1"}),
         "C/other/1/1, named as -p C other 1\n"
         "  1/1 is asked for, in its latest revision; there are also 2/1\n"
         "  the variety is taken\n",
         "", 0);
}

// A name beyond ASCII is, in the environment, one byte a character.
TEST_F(Why, NamesAndSeparatorsMayBeOfAnyCharacters) {
  const std::string separator = "sep='\xE2\x82\xAC'";
  w.Product("C/odd/1/1", Insert("\xC3\xA9", "x", "", separator) +
                             Insert("\xC3\xA9", "y", After("x"), separator) + Remove("Z*", "z"));
  const auto inserted = [&](const char* column) {
    return "    inserted by C/odd/1/1 (" + w.Root() + "/C/odd/1/1/env.xml:1:" + column +
           ")\n      named as odd\n";
  };
  Expect(Run({"why", "odd", "--", "\xE9"}),
         "\xE9\n  x\n" + inserted("36") + "  y\n" + inserted("99"), "", 0);
}

// ---- Conflicts ----

TEST_F(Why, ACircleIsShownWithAllItsMembers) {
  const RunResult result = Run({"env", "first", "second", "third/1"});
  EXPECT_EQ(1, result.status);
  EXPECT_TRUE(result.err.starts_with("zor: value ")) << result.err;
  EXPECT_TRUE(result.err.find(" has cyclic constraints in environment variable W\n") <
              result.err.find("\n  "));
  std::string circle;
  const std::string one = "  one before two: BEFORE two of " + At("C/first/1/1", "<ENV-INSERT") +
                          "    named as first\n";
  const std::string two = "  two before three: BEFORE three of " +
                          At("C/second/1/1", "<ENV-INSERT") + "    named as second\n";
  const std::string three = "  three before one: BEFORE one of " +
                            At("C/third/1/1", "<ENV-INSERT") + "    named as third/1\n";
  // It has no beginning, but an order.
  const bool whole = result.err.find(one + two + three) != std::string::npos ||
                     result.err.find(two + three + one) != std::string::npos ||
                     result.err.find(three + one + two) != std::string::npos;
  EXPECT_TRUE(whole) << result.err;
}

TEST_F(Why, OnlyWhatWorksIsProposed) {
  // The latest third has no such constraint, and without any of the three there is no circle.
  const RunResult result = Run({"env", "first", "second", "third/1"});
  const std::string ways = result.err.substr(result.err.find("  what works"));
  EXPECT_EQ(
      "  what works, as trying it has shown:\n"
      "    first behind // (or --and), where it overrides the others\n"
      "    without first\n"
      "    second behind // (or --and), where it overrides the others\n"
      "    without second\n"
      "    C/third/2/1 in place of third/1\n"
      "    third/1 behind // (or --and), where it overrides the others\n"
      "    without third/1\n",
      ways);
}

TEST_F(Why, SeparatorsThatDifferAreNamed) {
  Expect(Run({"env", "colon", "comma"}), "",
         "zor: inconsistent separators for environment variable S\n"
         "  separated by \":\" in " +
             At("C/colon/1/1", "<ENV-INSERT") + "    named as colon\n" +
             "  separated by \",\" in " + At("C/comma/1/1", "<ENV-INSERT") +
             "    named as comma\n" +
             "  what works, as trying it has shown:\n"
             "    colon behind // (or --and), where it overrides the others\n"
             "    without colon\n"
             "    comma behind // (or --and), where it overrides the others\n"
             "    without comma\n",
         1);
}

TEST_F(Why, TheChainOfPartsLeadsToTheUsersWord) {
  Expect(Run({"why", "whole", "other", "L"}), "",
         "zor: value q is both inserted and removed in environment variable L\n"
         "  inserted by " +
             At("C/part/1/1", "<ENV-INSERT><NAME>L</NAME><VALUE>q") + "    a part of " +
             At("C/whole/1/1", "<PRODUCT", "partlist.xml") +
             "    named as whole\n"
             "  removed by " +
             At("C/other/2/1", "<ENV-REMOVE") +
             "    named as other\n"
             "  what works, as trying it has shown:\n"
             "    whole behind // (or --and), where it overrides the others\n"
             "    without whole\n"
             "    C/other/1/1 in place of other\n"
             "    other behind // (or --and), where it overrides the others\n"
             "    without other\n",
         1);
}

// The lines of a text.
std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

bool IsConflict(const std::string& line) {
  return !line.starts_with("  ") &&
         std::ranges::any_of(
             std::array{"both inserted and removed", "cyclic constraints",
                        "inconsistent separators", "nothing settles this"},
             [&](const char* words) { return line.find(words) != std::string::npos; });
}

// A product of a request of zorenv's kind: -p and -v with their words.
struct Item {
  std::vector<std::string> product, conditions;
  std::size_t group = 0;

  std::string word() const {
    std::string text = "-p";
    for (const std::string& operand : product)
      text += ' ' + operand;
    return text;
  }
};

// What stands in front of the first product, and the products; nothing if there is more to it.
bool TakeApart(const std::vector<std::string>& arguments, std::vector<std::string>* options,
               std::vector<Item>* items) {
  std::size_t group = 0;
  std::vector<std::string>* words = options;
  for (const std::string& argument : arguments) {
    if (argument == "--and" || argument == "-A") {
      if (!items->empty()) ++group;
      words = nullptr;
    } else if (argument == "-p") {
      items->push_back({{}, {}, group});
      words = &items->back().product;
    } else if (argument == "-v" && !items->empty()) {
      words = &items->back().conditions;
      words->push_back(argument);
    } else if (words == nullptr || (argument.starts_with('-') && !items->empty())) {
      return false;
    } else {
      words->push_back(argument);
    }
  }
  return !items->empty();
}

std::vector<std::string> PutTogether(const std::vector<std::string>& options,
                                     const std::vector<Item>& items) {
  std::vector<std::string> arguments = options;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0 && items[i].group != items[i - 1].group) arguments.push_back("--and");
    arguments.push_back("-p");
    for (const auto* words : {&items[i].product, &items[i].conditions})
      arguments.insert(arguments.end(), words->begin(), words->end());
  }
  return arguments;
}

// The products as the line proposes to have them; several ways if a word stands there several
// times, none if the line is not understood.
std::vector<std::vector<Item>> AsProposed(const std::string& line, const std::vector<Item>& items) {
  const std::string behind = " behind // (or --and), where it overrides the others";
  const std::string fit = ", as several varieties of it fit";
  std::vector<std::vector<Item>> ways;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const std::string word = items[i].word();
    std::vector<Item> changed = items;
    const auto at = changed.begin() + static_cast<std::ptrdiff_t>(i);
    const std::string instead = " in place of " + word;
    if (line == "    without " + word) {
      changed.erase(at);
    } else if (line == "    " + word + behind) {
      Item moved = items[i];
      changed.erase(at);
      auto place = changed.begin();
      while (place != changed.end() && place->group <= moved.group)
        ++place;
      for (auto later = place; later != changed.end(); ++later)
        ++later->group;
      ++moved.group;
      changed.insert(place, moved);
    } else if (line.ends_with(instead)) {
      std::istringstream path(line.substr(4, line.size() - 4 - instead.size()));
      at->product = {""};
      std::vector<std::string> elements;
      for (std::string element; std::getline(path, element, '/');)
        elements.push_back(element);
      if (elements.size() < 4) continue;
      for (std::size_t j = 0; j + 3 < elements.size(); ++j)
        at->product[0] += (j > 0 ? "/" : "") + elements[j];
      at->product.insert(at->product.end(), elements.end() - 3, elements.end());
    } else if (line.starts_with("    " + word + " -v ") && line.ends_with(fit)) {
      std::istringstream condition(
          line.substr(4 + word.size(), line.size() - 4 - word.size() - fit.size()));
      for (std::string text; condition >> text;)
        at->conditions.push_back(text);
    } else {
      continue;
    }
    ways.push_back(std::move(changed));
  }
  return ways;
}

// Below each conflict stand two operations or more, each at a place where there is one. What is
// proposed is tried once more, as somebody would who has read it.
TEST(Conflicts, AreExplainedOnRandomWarehouses) {
  const int wanted = Rounds(4);  // requests with conflicts
  const TemporaryTree tree;
  const std::regex place(R"(\((/[^()]*/(un)?env\.xml):(\d+):(\d+)\)$)");
  int requests = 0, conflicts = 0, ways = 0;
  for (unsigned long long seed = 1; (requests < wanted || ways == 0) && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const model::Case run = model::Generate(seed, tree / std::to_string(seed));
    std::filesystem::create_directories(run.base);
    LayOut(run);
    std::vector<std::string> argv = {ZOR_PROGRAM, "env"};
    for (const std::string& argument : run.arguments)
      if (!argument.starts_with("--") || argument == "--and" || argument == "--undo")
        argv.push_back(argument);
    RunOptions options;
    options.environment = run.environment;
    options.directory = run.base;
    const RunResult result = RunProgram(argv, options);
    const std::vector<std::string> lines = Lines(result.err);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      if (!IsConflict(lines[i])) continue;
      ++conflicts;
      int operations = 0;
      for (std::size_t j = i + 1; j < lines.size() && lines[j].starts_with("  "); ++j) {
        if (lines[j] == "  by the same operations as above") operations = 2;
        std::smatch match;
        if (lines[j].starts_with("    a part of ") || !std::regex_search(lines[j], match, place))
          continue;
        ++operations;
        const std::string content = ReadFile(match[1]);
        EXPECT_LE(std::stol(match[3]), std::ranges::count(content, '\n')) << lines[j];
      }
      EXPECT_GE(operations, 2) << result.err;
    }
    requests += std::ranges::any_of(lines, IsConflict) ? 1 : 0;
    std::vector<std::string> before;
    std::vector<Item> items;
    auto line = std::ranges::find(lines, "  what works, as trying it has shown:");
    if (line != lines.end() && TakeApart({argv.begin() + 2, argv.end()}, &before, &items)) {
      while (++line != lines.end() && line->starts_with("    ")) {
        const std::vector<std::vector<Item>> proposed = AsProposed(*line, items);
        std::string tried;
        const bool works = std::ranges::any_of(proposed, [&](const std::vector<Item>& changed) {
          std::vector<std::string> words = PutTogether(before, changed);
          words.insert(words.begin(), {ZOR_PROGRAM, "env", "--format", "json"});
          const RunResult again = RunProgram(words, options);
          for (const std::string& word : words)
            tried += word + ' ';
          tried += '\n' + again.err;
          // No format carries a variable without a name, which a way out may leave.
          return again.status == 0 ||
                 again.err.find(" can't carry these variables") != again.err.npos;
        });
        EXPECT_TRUE(works) << *line << "\n" << result.err << tried;
        ++ways;
      }
    }
    std::filesystem::remove_all(run.base);
  }
  std::printf("%d requests with %d conflicts, %d ways out\n", requests, conflicts, ways);
  EXPECT_GT(conflicts, wanted - 1);
}

}  // namespace
