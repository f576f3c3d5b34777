// Sessions: loading and unloading, changes by hand, what goes wrong.
#include "session_support.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zstd.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>

#include "tool.h"
#include "zor.h"

namespace {

using Words = std::vector<std::string>;
using Value = std::optional<std::string>;

// Products that insert, remove and share elements of L, which starts as "u:v".
class Session : public testing::Test {
 protected:
  Session() : shell({{"LC_ALL", "C.UTF-8"}, {"PATH", "/usr/bin:/bin"}, {"L", "u:v"}}) {
    shell.variables["ZORROOT"] = warehouse.Root();
    // Inserted elements come in the order a, b, shared, then what was there, then c.
    const std::string old = Before("u") + Before("v");
    const std::string first = Before("b") + Before("shared") + old;
    const std::string shared = Insert("L", "shared", old);
    warehouse.Product("C/a/1/1", Insert("L", "a1", first) + Insert("ONE", "a"));
    warehouse.Product("C/a/2/1", Insert("L", "a2", first) + Insert("ONE", "aa"));
    warehouse.Product("C/b/1/1", Insert("L", "b", Before("shared") + old) + shared);
    warehouse.Product("C/c/1/1", Insert("L", "c") + shared);
    warehouse.Product("C/gone/1/1", Delete("ONE") + Remove("L", "u"));
    warehouse.Product("C/clash/1/1", Remove("L", "b"));
    start = shell.variables;
  }

  // Runs a verb that must succeed, and must have nothing to say but what is expected.
  void Do(const Words& words, const std::string& err = "") {
    const RunResult result = shell.Run(words);
    EXPECT_EQ(err, result.err) << words[0];
    EXPECT_EQ(0, result.status) << words[0];
  }

  // Runs a verb that must fail and change nothing.
  void Refused(const Words& words, const std::string& err, int status = 1) {
    const Variables before = shell.variables;
    const RunResult result = shell.Run(words);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(err, result.err);
    EXPECT_EQ(status, result.status);
    EXPECT_EQ(before, shell.variables);
  }

  std::string Listed() { return shell.Ask({"list"}).out; }

  Warehouse warehouse;
  ShellModel shell;
  Variables start;
};

TEST_F(Session, LoadedProductsAreListedAndLeaveNothingBehind) {
  Do({"load", "C/a"});
  EXPECT_EQ("a2:u:v", shell.Get("L"));
  EXPECT_EQ("aa", shell.Get("ONE"));
  Do({"load", "b", "C/c/1"});
  EXPECT_EQ("C/a/2/1\nC/b/1/1\nC/c/1/1\n", Listed());
  Do({"unload", "a"});
  EXPECT_EQ("C/b/1/1\nC/c/1/1\n", Listed());
  EXPECT_EQ(std::nullopt, shell.Get("ONE"));
  Do({"unload", "C/c/1", "b/1/1"});
  EXPECT_EQ(start, shell.variables);
}

TEST_F(Session, PurgeLeavesExactlyWhatWasThere) {
  for (const char* value : {"u:v", "", ":u::v:", "u:u:v"}) {
    shell.variables["L"] = start["L"] = value;
    Do({"load", "a", "b"});
    Do({"set", "x=y"});
    Do({"purge"});
    EXPECT_EQ(start, shell.variables);
  }
  shell.variables.erase("L");
  start.erase("L");
  Do({"load", "a"});
  Do({"purge"});
  EXPECT_EQ(start, shell.variables);
}

TEST_F(Session, WhatTwoProductsShareStaysUntilTheLastIsGone) {
  Do({"load", "b"});
  EXPECT_EQ("b:shared:u:v", shell.Get("L"));
  Do({"load", "c"});
  EXPECT_EQ("b:shared:u:v:c", shell.Get("L"));
  Do({"unload", "b"});
  EXPECT_EQ("shared:u:v:c", shell.Get("L"));
  Do({"unload", "c"});
  EXPECT_EQ("u:v", shell.Get("L"));
}

TEST_F(Session, SwapKeepsThePlace) {
  Do({"load", "a", "b"});
  const Variables in_order = shell.variables;
  Do({"swap", "C/a/1"});
  EXPECT_EQ("C/a/1/1\nC/b/1/1\n", Listed());
  Do({"swap", "a", "C/c"});
  EXPECT_EQ("C/c/1/1\nC/b/1/1\n", Listed());
  Do({"swap", "c", "-p", "C", "a"});
  EXPECT_EQ("C/a/2/1\nC/b/1/1\n", Listed());
  EXPECT_EQ(in_order.at("L"), shell.Get("L"));
  Refused({"swap", "C/c"}, "zor: C/c is not loaded; did you mean C/a?\n");
}

TEST_F(Session, ALaterGroupOverrides) {
  Do({"load", "b"});
  const std::string b = warehouse.Root() + "/C/b/1/1/env.xml";
  const std::string clash = warehouse.Root() + "/C/clash/1/1/env.xml";
  Refused({"load", "clash"},
          "zor: value b is both inserted and removed in environment variable L\n"
          "  inserted by C/b/1/1 (" +
              Place(b, "<ENV-INSERT") + ")\n    named as b\n" + "  removed by C/clash/1/1 (" +
              Place(clash, "<ENV-REMOVE") + ")\n    named as clash\n" +
              "  what works, as trying it has shown:\n"
              "    b behind // (or --and), where it overrides the others\n    without b\n"
              "    clash behind // (or --and), where it overrides the others\n    without clash\n");
  Do({"load", "--over", "clash"});
  EXPECT_EQ("shared:u:v", shell.Get("L"));
  EXPECT_EQ("C/b/1/1\n//\nC/clash/1/1\n", Listed());
  Do({"load", "c"});
  EXPECT_EQ("C/b/1/1\n//\nC/clash/1/1\nC/c/1/1\n", Listed());
  Do({"unload", "clash"});
  Do({"load", "a", "//", "clash"}, "");
  EXPECT_EQ("C/b/1/1\n//\nC/c/1/1\nC/a/2/1\n//\nC/clash/1/1\n", Listed());
}

TEST_F(Session, PurgeAndListNeedNoWarehouse) {
  Do({"load", "a", "b"});
  std::filesystem::rename(warehouse.Root(), warehouse / "away");
  EXPECT_EQ("C/a/2/1\nC/b/1/1\n", Listed());
  const RunResult result = shell.Run({"unload", "a"});
  EXPECT_EQ(1, result.status);
  EXPECT_EQ("", result.out);
  Do({"unload", "a", "b"});
  EXPECT_EQ(start, shell.variables);
  std::filesystem::rename(warehouse / "away", warehouse.Root());
  Do({"load", "a", "b"});
  std::filesystem::rename(warehouse.Root(), warehouse / "away");
  Do({"purge"});
  EXPECT_EQ(start, shell.variables);
}

TEST_F(Session, VersionsStayAsTheyWereTaken) {
  Do({"load", "a"});
  warehouse.Product("C/a/3/1", Insert("L", "a3"));
  Do({"load", "b"});
  EXPECT_EQ("C/a/2/1\nC/b/1/1\n", Listed());
  Do({"reload"});
  EXPECT_EQ("C/a/2/1\nC/b/1/1\n", Listed());
  Do({"reload", "--latest"});
  EXPECT_EQ("C/a/3/1\nC/b/1/1\n", Listed());
}

TEST_F(Session, UndoTakesBackOneChangeAfterTheOther) {
  Do({"load", "a"});
  Do({"load", "b"});
  Do({"swap", "C/a/1"});
  Do({"set", "x=y"});
  Do({"undo"});
  EXPECT_EQ("", shell.Ask({"set"}).out);
  Do({"undo"});
  EXPECT_EQ("C/a/2/1\nC/b/1/1\n", Listed());
  Do({"undo"});
  EXPECT_EQ("C/a/2/1\n", Listed());
  Do({"undo"});
  EXPECT_EQ(start, shell.variables);
  Refused({"undo"}, "zor: there is nothing to undo in this session\n");
}

TEST_F(Session, AProductIsLoadedOnceAndFurtherVersionsAreToldOf) {
  Do({"load", "a"});
  Do({"load", "C/a"}, "zor: C/a is loaded already\n");
  EXPECT_EQ("C/a/2/1\n", Listed());
  Do({"load", "C/a/1"}, "zor: C/a/2/1 stays loaded beside it; zor swap C/a/1 would replace it\n");
  Refused({"unload", "C/a"},
          "zor: C/a may be any of these; say which:\n"
          "  C/a/2/1, loaded as a\n  C/a/1/1, loaded as C/a/1\n");
  Do({"unload", "a/1"});
  EXPECT_EQ("C/a/2/1\n", Listed());
}

TEST_F(Session, UndoGoesBackTwentyChanges) {
  for (int i = 0; i <= 21; ++i)
    Do({"set", "x=" + std::to_string(i)});
  for (int i = 0; i < 20; ++i)
    Do({"undo"});
  EXPECT_EQ("x=1\n", shell.Ask({"set"}).out);
  Refused({"undo"}, "zor: there is nothing to undo in this session\n");
}

TEST_F(Session, ProductsGoByAnyNameThatMeansOne) {
  warehouse.Product("C/Contents/1/1", Insert("ONE", "c"));
  warehouse.Product("D/a/1/1");
  Refused({"unload", "a"}, "zor: a is not loaded; nothing is\n");
  // Another product of the same name is no further version.
  Do({"load", "C/a", "-p", "D", "a"});
  Do({"load", "C/a/1"}, "zor: C/a/2/1 stays loaded beside it; zor swap C/a/1 would replace it\n");
  // What was typed goes before what else may be meant.
  Do({"unload", "C/a"});
  EXPECT_EQ("D/a/1/1\nC/a/1/1\n", Listed());
  Do({"load", "--over", "C/a/1"});
  Refused({"unload", "nothing"},
          "zor: nothing is not loaded; these are:\n"
          "  D/a/1/1, loaded as D a\n  C/a/1/1, loaded as C/a/1\n");
  Do({"unload", "D/a", "C//a"});
  Do({"load", "-p", "C"});
  EXPECT_EQ("c", shell.Get("ONE"));
  Do({"unload", "C"});
  EXPECT_EQ("", Listed());
}

TEST_F(Session, ASwapIsOfOneProduct) {
  const std::string what = "zor: say what for what, as in: zor swap weaver tools/weaver/1.9\n";
  Do({"load", "C/a/1", "b"});
  Refused({"swap"}, what, 2);
  Refused({"swap", "a", "C/a", "C/b"}, what, 2);
  Refused({"swap", "a", "//", "C/b"}, what, 2);
  Refused({"swap", "a", "--and", "-p", "C", "b"}, what, 2);
  Refused({"swap", "a", "C/a", "//", "C/b"}, what, 2);
  Refused({"swap", "", "C/a"}, "zor: '' names no product\n", 2);
  Do({"swap", "a", "-p", "C", "c"});
  EXPECT_EQ("C/c/1/1\nC/b/1/1\n", Listed());
  Do({"swap", "-p", "C", "b", "1"});
  EXPECT_EQ("C/c/1/1\nC/b/1/1\n", Listed());
  Refused({"swap", "c", "--verbose"}, "zor: there is no option --verbose\n", 2);
}

TEST_F(Session, AProductIsLoadedOnceForEachCondition) {
  warehouse.File("C/k/1/1", "product.xml",
                 ProductXml("<VARIETY><VAR n='k' v='1'/><SEGMENT here='1'/></VARIETY>"
                            "<VARIETY><VAR n='k' v='2'/><SEGMENT here='1'/></VARIETY>"));
  warehouse.File("C/k/1/1", "partlist.xml", PartListXml(""));
  warehouse.File("C/k/1/1", "env.xml", EnvXml(Insert("K", "%(k)")));
  Do({"load", "k[k=1]"});
  Do({"load", "k[k=2]"});
  Do({"load", "k[k=1]"}, "zor: k[k=1] is loaded already\n");
  EXPECT_EQ("1:2", shell.Get("K"));
  EXPECT_EQ("C/k/1/1[k=1]\nC/k/1/1[k=2]\n", Listed());
  const std::string json = shell.Ask({"list", "--json"}).out;
  EXPECT_NE(std::string::npos,
            json.find("\"conditions\": [\n          {\n            \"variable\": \"k\",\n"
                      "            \"value\": \"2\"\n          }\n        ]"))
      << json;
}

TEST_F(Session, VariablesWithNamesLikeThoseOfTheTextAreTheUsers) {
  const Words names = {"ZOR_SESSIONS",   "ZOR_SESSION_",  "ZOR_SESSION_A",
                       "ZOR_SESSION_1A", "ZOR_SESSION.1", "ZOR_SESSION_:"};
  for (const std::string& name : names)
    start[name] = shell.variables[name] = "mine";
  Do({"load", "a"});
  warehouse.Product("C/own/1/1", Insert("ZOR_SESSIONS", "its"));
  Do({"load", "own"});
  EXPECT_EQ("mine:its", shell.Get("ZOR_SESSIONS"));
  Do({"purge"});
  EXPECT_EQ(start, shell.variables);
  // An empty text is none.
  shell.variables["ZOR_SESSION"] = "";
  EXPECT_EQ("", Listed());
}

TEST_F(Session, TheCurrentDirectoryIsTheWarehouseWhereNothingElseIsSaid) {
  shell.variables.erase("ZORROOT");
  shell.directory = warehouse.Root();
  Do({"load", "C/a"});
  EXPECT_EQ("a2:u:v", shell.Get("L"));
  shell.directory = "/";
  Do({"load", "C/b"});
  EXPECT_EQ("a2:b:shared:u:v", shell.Get("L"));
  EXPECT_EQ("C/a/2/1\nC/b/1/1\n", Listed());
}

TEST_F(Session, ConditionsOfTheSessionHoldForWhatHasSuchVarieties) {
  const auto variety = [](const std::string& compiler) {
    return Variety("<VAR n=\"compiler\" v=\"" + compiler + "\"/>");
  };
  warehouse.File("C/mpi/1/1", "product.xml", ProductXml(variety("gcc") + variety("llvm")));
  warehouse.File("C/mpi/1/1", "partlist.xml", PartListXml(""));
  warehouse.File("C/mpi/1/1", "env.xml", EnvXml(Insert("MPI", "%(compiler)")));
  Do({"set", "compiler=gcc"});
  EXPECT_EQ("compiler=gcc\n", shell.Ask({"set"}).out);
  EXPECT_EQ(start, shell.Others());
  Do({"load", "a", "mpi"});
  EXPECT_EQ("gcc", shell.Get("MPI"));
  EXPECT_EQ("C/a/2/1\nC/mpi/1/1[compiler=gcc]\n", Listed());
  // What is loaded stays; what is typed goes before what is set.
  Do({"set", "compiler=llvm"});
  EXPECT_EQ("gcc", shell.Get("MPI"));
  Do({"swap", "mpi[compiler=gcc]"});
  EXPECT_EQ("gcc", shell.Get("MPI"));
  Do({"swap", "mpi"});
  EXPECT_EQ("llvm", shell.Get("MPI"));
  Do({"set", "compiler=xl", "x=y"});
  EXPECT_EQ("compiler=xl\nx=y\n", shell.Ask({"set"}).out);
  Refused({"swap", "mpi"}, "zor: no variety of C/mpi/1/1 has compiler=xl; there are gcc, llvm\n");
  Do({"set", "compiler=", "x="});
  Refused({"set", "compiler"},
          "zor: compiler: a variable is set by NAME=VALUE and forgotten by NAME=\n", 2);
  Do({"purge"});
  EXPECT_EQ(start, shell.variables);
}

TEST_F(Session, SubshellsGoOnWithTheSession) {
  Do({"load", "a"});
  ShellModel below = shell;
  EXPECT_EQ(0, below.Run({"unload", "a"}).status);
  EXPECT_EQ(start, below.variables);
  EXPECT_EQ("C/a/2/1\n", Listed());
}

// ---- Changes by hand ----

// Each row of the table in zor-session(7). Before the change a and c are loaded, and after it b;
// then all are unloaded.
TEST_F(Session, ChangesByHandStay) {
  const std::string set = "zor: L was set by hand and is left as it is\n";
  const std::string removed = "zor: L was removed by hand and is left as it is\n";
  const struct {
    const char* what;
    Value by_hand;
    Value loaded;  // with b
    Value after;   // with nothing
    std::string err;
  } rows[] = {
      // a and c make "a2:shared:u:v:c" of "u:v", and with b "a2:b:shared:u:v:c".
      {"nothing", "a2:shared:u:v:c", "a2:b:shared:u:v:c", "u:v", ""},
      {"in front", "x:a2:shared:u:v:c", "x:a2:b:shared:u:v:c", "x:u:v", ""},
      {"behind", "a2:shared:u:v:c:x", "a2:b:shared:u:v:c:x", "u:v:x", ""},
      {"in between", "a2:shared:u:x:v:c", "a2:b:shared:u:x:v:c", "u:x:v", ""},
      {"beside a product's", "a2:x:shared:u:v:c", "a2:b:x:shared:u:v:c", "x:u:v", ""},
      {"several", "x:y:a2:shared:u:v:z:c", "x:y:a2:b:shared:u:v:z:c", "x:y:u:v:z", ""},
      {"an empty one", ":a2:shared:u:v:c", ":a2:b:shared:u:v:c", ":u:v", ""},
      {"a product's goes", "shared:u:v:c", "b:shared:u:v:c", "u:v", ""},
      {"a shared one goes", "a2:u:v:c", "a2:b:u:v:c", "u:v", ""},
      {"one of the base goes", "a2:shared:v:c", "a2:b:shared:v:c", "v", ""},
      {"all of the base goes", "a2:shared:c", "a2:b:shared:c", "", ""},
      {"all of the base's come in another order", "a2:shared:v:u:c", "a2:b:shared:v:u:c", "v:u",
       ""},
      {"a product's moves", "shared:u:v:a2:c", "b:shared:u:v:a2:c", "u:v", ""},
      {"one more and one less", "x:shared:u:v:c", "x:b:shared:u:v:c", "x:u:v", ""},
      {"an element twice", "a2:shared:u:v:c:a2", "a2:b:shared:u:v:c", "u:v", ""},
      {"quite another list", "x:y", "x:y:b", "x:y", ""},
      {"emptied", "", "b", "", ""},
      {"removed", std::nullopt, std::nullopt, std::nullopt, removed},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    shell.variables = start;
    Do({"load", "a", "c"});
    EXPECT_EQ("a2:shared:u:v:c", shell.Get("L"));
    if (row.by_hand)
      shell.variables["L"] = *row.by_hand;
    else
      shell.variables.erase("L");
    Do({"load", "b"}, row.err);
    EXPECT_EQ(row.loaded, shell.Get("L"));
    Do({"reload"});
    EXPECT_EQ(row.loaded, shell.Get("L"));
    Do({"unload", "a", "b", "c"});
    EXPECT_EQ(row.after, shell.Get("L"));
  }
}

TEST_F(Session, AValueThatIsNoListIsLeftToTheUser) {
  Do({"load", "a"});
  shell.variables["ONE"] = "mine";
  Do({"load", "b"}, "zor: ONE was set by hand and is left as it is\n");
  EXPECT_EQ("mine", shell.Get("ONE"));
  Do({"swap", "C/a/1"});
  EXPECT_EQ("mine", shell.Get("ONE"));
  // Set to what the product makes of it, it is the session's again.
  shell.variables["ONE"] = "a";
  Do({"unload", "b"});
  Do({"swap", "C/a/2"});
  EXPECT_EQ("aa", shell.Get("ONE"));
  Do({"unload", "a"});
  EXPECT_EQ(start, shell.variables);
}

TEST_F(Session, WhatIsLeftToTheUserStaysWhenItsProductGoes) {
  Do({"load", "a"});
  shell.variables["ONE"] = "mine";
  Do({"unload", "a"}, "zor: ONE was set by hand and is left as it is\n");
  EXPECT_EQ("mine", shell.Get("ONE"));
  shell.variables["ONE"] = "x";
  Do({"load", "gone"});
  EXPECT_EQ(std::nullopt, shell.Get("ONE"));
  shell.variables["ONE"] = "mine";
  Do({"load", "b"}, "zor: ONE was set by hand and is left as it is\n");
  EXPECT_EQ("mine", shell.Get("ONE"));
  Do({"purge"});
  EXPECT_EQ("mine", shell.Get("ONE"));
}

TEST_F(Session, ElementsAddedByHandStayThoughAProductRemovesThem) {
  Do({"load", "gone", "c"});
  EXPECT_EQ("shared:v:c", shell.Get("L"));
  shell.variables["L"] = "u:shared:v:c";
  Do({"load", "b"});
  EXPECT_EQ("u:b:shared:v:c", shell.Get("L"));
}

TEST_F(Session, WhatWasTakenAwayAndPutBackIsAsIfNothingHadBeenDone) {
  Do({"load", "a", "c"});
  shell.variables["L"] = "shared:u:v:c";
  Do({"reload"});
  EXPECT_EQ("shared:u:v:c", shell.Get("L"));
  shell.variables["L"] = "a2:shared:u:v:c";
  Do({"reload"});
  EXPECT_EQ("a2:shared:u:v:c", shell.Get("L"));
  Do({"unload", "a"});
  EXPECT_EQ("shared:u:v:c", shell.Get("L"));
  Do({"purge"});
  EXPECT_EQ(start, shell.variables);
}

TEST_F(Session, AnElementTakenAwayComesWithALaterLoad) {
  Do({"load", "a", "c"});
  shell.variables["L"] = "shared:u:v:c";
  Do({"unload", "a"});
  Do({"load", "a"});
  EXPECT_EQ("a2:shared:u:v:c", shell.Get("L"));
}

TEST_F(Session, AListIsSplitAsAPatternOfItsNameSays) {
  // N states its own separator in front of its pattern, and no pattern means O.
  const std::string by_semicolon = "sep=';'";
  warehouse.Product("C/p/1/1", Insert("N", "n", "", by_semicolon) + Insert("M1", "m") +
                                   Insert("O", "o") + Remove("M*", "gone", by_semicolon) +
                                   Remove("N*", "gone", by_semicolon));
  for (const char* name : {"M1", "N", "O"})
    start[name] = shell.variables[name] = "x:1;y";
  Do({"load", "p"});
  EXPECT_EQ("x:1;y;m", shell.Get("M1"));
  EXPECT_EQ("x:1;y;n", shell.Get("N"));
  EXPECT_EQ("x:1;y:o", shell.Get("O"));
  shell.variables["M1"] = "y;m";
  shell.variables["N"] = "y;n";
  shell.variables["O"] = "1;y:o";
  Do({"purge"});
  EXPECT_EQ("y", shell.Get("M1"));
  EXPECT_EQ("y", shell.Get("N"));
  EXPECT_EQ("1;y", shell.Get("O"));
}

TEST_F(Session, AListThatAProductRemovesKeepsWhatTheUserAdded) {
  warehouse.Product("C/none/1/1", Delete("L"));
  Do({"load", "a"});
  shell.variables["L"] = "a2:v";
  Do({"swap", "a", "C/none"});
  EXPECT_EQ(std::nullopt, shell.Get("L"));
  Do({"swap", "none", "C/a"});
  EXPECT_EQ("a2:v", shell.Get("L"));
  shell.variables["L"] = "a2:v:mine";
  Do({"swap", "a", "C/none"});
  EXPECT_EQ("mine", shell.Get("L"));
  Do({"purge"});
  EXPECT_EQ("v:mine", shell.Get("L"));
}

TEST_F(Session, WhatIsLeftToTheUserIsTheSessionsAgainWithItsValue) {
  const std::string left = "zor: ONE was set by hand and is left as it is\n";
  Do({"load", "C/a/1", "b"});
  shell.variables["ONE"] = "aa";
  Do({"swap", "C/a/2"}, left);
  EXPECT_EQ("aa", shell.Get("ONE"));
  Do({"unload", "a"});
  EXPECT_EQ(std::nullopt, shell.Get("ONE"));
  // Where its product goes and others stay, it is part of the base.
  Do({"load", "C/a/1"});
  shell.variables["ONE"] = "mine";
  Do({"unload", "a"}, left);
  EXPECT_EQ("mine", shell.Get("ONE"));
  Do({"purge"});
  EXPECT_EQ("mine", shell.Get("ONE"));
}

TEST_F(Session, AValueThatWasEmptyHasNoElements) {
  warehouse.Product("C/e/1/1", Insert("E", ""));
  Do({"load", "e"});
  EXPECT_EQ("", shell.Get("E"));
  shell.variables["E"] = "mine";
  Do({"load", "b"}, "zor: E was set by hand and is left as it is\n");
  EXPECT_EQ("mine", shell.Get("E"));
}

TEST_F(Session, ListsAreSplitAsTheDataFilesSay) {
  warehouse.Product("C/semi/1/1", Insert("S", "p:q", Before("**"), "sep=\";\""));
  shell.variables["S"] = "a;b";
  Do({"load", "semi"});
  EXPECT_EQ("p:q;a;b", shell.Get("S"));
  shell.variables["S"] = "x:y;p:q;b";
  Do({"reload"});
  EXPECT_EQ("x:y;p:q;b", shell.Get("S"));
  Do({"purge"});
  EXPECT_EQ("x:y;b", shell.Get("S"));
}

TEST_F(Session, VariablesThatTheSessionDoesNotTouchAreTheUsers) {
  Do({"load", "a"});
  shell.variables["MINE"] = "1";
  shell.variables.erase("LC_ALL");
  Do({"purge"});
  start["MINE"] = "1";
  start.erase("LC_ALL");
  EXPECT_EQ(start, shell.variables);
}

// ---- What goes wrong ----

TEST_F(Session, AFailureChangesNothing) {
  warehouse.Product("C/odd/1/1", Insert("A-B", "x"));
  warehouse.Product("C/own/1/1", Insert("ZOR_SESSION_1", "x"));
  warehouse.Product("C/broken/1/1");
  warehouse.File("C/broken/1/1", "env.xml", "<ENV-SETTINGS>");
  Do({"load", "a"});
  Refused({"load", "nothing"}, "zor: there is no product nothing in " + warehouse.Root() +
                                   "\nzor avail lists what there is\n");
  Expect(shell.Ask({"--shell", "sh", "load", "C/odd"}), "",
         "zor: the format sh can't carry these variables, so nothing was written:\n"
         "  A-B is not a valid name for a variable of a shell\n",
         1);
  Refused({"load", "C/own"},
          "zor: a product sets ZOR_SESSION_1, where the session is kept; nothing was changed\n");
  Refused({"load", "-u", "a"},
          "zor: a session has no use for -u: zor unload takes products out of it\n", 2);
  Refused({"load", "-i", "a"},
          "zor: a session has no use for -i: what is not there can't be loaded\n", 2);
  Refused({"load", "a", "--", "x"}, "zor: zor exec starts programs\n", 2);
  Refused({"load"}, "zor: say which product, as in: zor load tools/weaver\n", 2);
  Refused({"unload"}, "zor: say which product, as in: zor unload weaver\n", 2);
  Refused({"unload", "b"}, "zor: b is not loaded; did you mean a?\n");
  Refused({"swap"}, "zor: say what for what, as in: zor swap weaver tools/weaver/1.9\n", 2);
  Refused({"load", "--timeout", "soon", "b"},
          "zor: --timeout needs a number of seconds, not 'soon'\n", 2);
  const Variables before = shell.variables;
  const RunResult result = shell.Run({"load", "C/broken"});
  EXPECT_EQ(1, result.status);
  EXPECT_NE(std::string::npos, result.err.find("C/broken/1/1/env.xml")) << result.err;
  EXPECT_EQ(before, shell.variables);
}

TEST_F(Session, AnotherWarehouseNeedsAnotherSession) {
  Do({"load", "a"});
  shell.variables["ZORROOT"] = "/elsewhere";
  Refused({"load", "-p", "C", "b"}, "zor: the session is of the warehouse " + warehouse.Root() +
                                        ", not of /elsewhere; zor purge ends it\n");
  shell.variables.erase("ZORROOT");
  Do({"load", "b"});
  EXPECT_EQ("C/a/2/1\nC/b/1/1\n", Listed());
}

TEST_F(Session, ARootThatIsRelativeHoldsFromAnyDirectory) {
  shell.variables["ZORROOT"] = "root";
  shell.directory = warehouse.path();
  Do({"load", "a"});
  shell.directory = "/";
  Refused({"load", "-r", "root", "-p", "C", "b"}, "zor: the session is of the warehouse " +
                                                      warehouse.Root() +
                                                      ", not of root; zor purge ends it\n");
  shell.variables.erase("ZORROOT");
  Do({"load", "b"});
  EXPECT_EQ("a2:b:shared:u:v", shell.Get("L"));
}

TEST_F(Session, WithoutAShellItSaysWhatToPutWhere) {
  shell.variables["SHELL"] = "/bin/bash";
  const RunResult bash = shell.Ask({"load", "a"});
  EXPECT_EQ("", bash.out);
  EXPECT_EQ(
      "zor: load changes the environment of a shell, which takes the shell's help: put this into "
      "~/.bashrc:\n  eval \"$(zor init bash)\"\n",
      bash.err);
  EXPECT_EQ(1, bash.status);
  Refused({"--shell", "nonesuch", "load", "a"}, "zor: there is no shell nonesuch that zor knows\n",
          2);
  shell.variables["SHELL"] = "/usr/bin/fish";
  EXPECT_NE(std::string::npos, shell.Ask({"purge"}).err.find("zor init fish | source"));
  shell.variables.erase("SHELL");
  EXPECT_NE(std::string::npos, shell.Ask({"undo"}).err.find("eval \"$(zor init sh)\""));
}

// The shell evaluates standard output.
TEST_F(Session, WithAShellStandardOutputHoldsNoText) {
  Do({"load", "a"});
  for (const Words& words : {Words{"load", "--help"}, {"list"}, {"status"}, {"set"}, {"--help"}}) {
    const RunResult result = shell.Run(words);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(shell.Ask(words).out, result.err);
    EXPECT_NE("", words[0] == "set" ? "-" : result.err);
    EXPECT_EQ(0, result.status);
  }
}

TEST_F(Session, TimeIsBounded) {
  Do({"load", "a"});
  warehouse.Product("C/slow/1/1");
  // Who opens it waits for a writer.
  const std::string file = warehouse.Root() + "/C/slow/1/1/env.xml";
  ASSERT_EQ(0, mkfifo(file.c_str(), 0600));
  const std::string text =
      "zor: gave up after 0.2 seconds, while computing the environment of a C/slow; nothing was "
      "changed (--timeout SECONDS allows another time)\n";
  Refused({"load", "C/slow", "--timeout", "0.2"}, text, 2);
  Refused({"load", "C/slow", "--timeout=0.2"}, text, 2);
  Refused({"--timeout", "0.2", "load", "C/slow"}, text, 2);
}

// ---- The session's text ----

TEST_F(Session, ATextThatIsNotWhatItWasIsToldOfAndChangesNothing) {
  Do({"load", "a"});
  const std::string text = shell.variables["ZOR_SESSION"];
  const std::string altered =
      "zor: ZOR_SESSION was cut short or altered; unset it to go on without the session: the "
      "environment stays as it is now\n";
  for (std::size_t length = 1; length < text.size(); length += 7) {
    shell.variables["ZOR_SESSION"] = text.substr(0, length);
    Refused({"load", "b"}, altered);
  }
  for (std::size_t at = 0; at < text.size(); at += 11) {
    shell.variables["ZOR_SESSION"] = text;
    char& letter = shell.variables["ZOR_SESSION"][at];
    letter = letter == 'A' ? 'B' : 'A';
    Refused({"purge"}, altered);
  }
  for (const char* other : {"x", "-", "$(touch ran)", "KLUv_Q", "\xff"}) {
    shell.variables["ZOR_SESSION"] = other;
    Refused({"list"}, altered);
    Refused({"undo"}, altered);
  }
  shell.variables["ZOR_SESSION"] = text;
  shell.variables["ZOR_SESSION_1"] = "AAAA";
  Refused({"purge"}, altered);
  // Without it the rest is of no use, and goes with the next session's end.
  shell.variables.erase("ZOR_SESSION");
  Do({"load", "b"});
  EXPECT_FALSE(shell.variables.contains("ZOR_SESSION_1"));
}

constexpr std::string_view kLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

// Letters, digits, "-" and "_", six bits each.
std::string Letters(const std::string& bytes) {
  std::string letters;
  for (std::size_t bit = 0; bit < bytes.size() * 8; bit += 6) {
    unsigned value = 0;
    for (std::size_t i = bit; i < bit + 6; ++i) {
      const unsigned byte = i / 8 < bytes.size() ? static_cast<unsigned char>(bytes[i / 8]) : 0;
      value = value * 2 + ((byte >> (7 - i % 8)) & 1);
    }
    letters += kLetters[value];
  }
  return letters;
}

std::string Compressed(const std::string& text) {
  std::string bytes(ZSTD_compressBound(text.size()), '\0');
  bytes.resize(ZSTD_compress(bytes.data(), bytes.size(), text.data(), text.size(), 1));
  return bytes;
}

// What a session's letters hold.
std::string Unpacked(const std::string& letters) {
  std::string bytes;
  unsigned bits = 0, count = 0;
  for (const char letter : letters) {
    bits = bits * 64 + static_cast<unsigned>(kLetters.find(letter));
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count);
    bits &= (1U << count) - 1;
  }
  std::string text(ZSTD_getFrameContentSize(bytes.data(), bytes.size()), '\0');
  EXPECT_EQ(text.size(), ZSTD_decompress(text.data(), text.size(), bytes.data(), bytes.size()));
  return text;
}

TEST_F(Session, StatusTellsOfAnotherPlatform) {
  Do({"load", "a"});
  const RunResult platform = shell.Ask({"platform"});
  const std::string host = platform.out.substr(0, platform.out.size() - 1);
  std::string text = Unpacked(shell.variables["ZOR_SESSION"]);
  const std::size_t at = text.find("\"" + host + "\"");
  ASSERT_NE(std::string::npos, at) << text;
  shell.variables["ZOR_SESSION"] =
      Letters(Compressed(text.replace(at + 1, host.size(), "solaris_8-sparc")));
  const std::string loaded = "of the warehouse " + warehouse.Root() + ":\nC/a/2/1\n";
  EXPECT_EQ(loaded + "loaded on another platform, solaris_8-sparc; this host is " + host +
                "; zor reload computes anew\n",
            shell.Ask({"status"}).out);
  Do({"reload"});
  EXPECT_EQ(loaded, shell.Ask({"status"}).out);
}

TEST_F(Session, ForgedTextsAreRefused) {
  const std::string way_out =
      "; unset it to go on without the session: the environment stays as it is now\n";
  const struct {
    std::string bytes;
    std::string err;
  } rows[] = {
      {Compressed("{\"format\":2}"),
       "zor: ZOR_SESSION was written by a newer zor, in format 2; this one knows formats up to "
       "1\n"},
      {Compressed("{}"), "zor: ZOR_SESSION holds no session" + way_out},
      {Compressed("x"), "zor: ZOR_SESSION holds no session" + way_out},
      {Compressed(""), "zor: ZOR_SESSION holds no session" + way_out},
      {Compressed("{\"format\":1,\"root\":7}"), "zor: ZOR_SESSION holds no session" + way_out},
      {Compressed("{\"format\":1,\"root\":\"a\\u0000b\"}"),
       "zor: ZOR_SESSION holds no session" + way_out},
      {Compressed("{\"format\":1,\"root\":\"\",\"platform\":\"\",\"contents\":[[],[\"a\"]]}"),
       "zor: ZOR_SESSION holds no session" + way_out},
      {Compressed(std::string(100000, '[')), "zor: ZOR_SESSION holds no session" + way_out},
      // Zeros are compressed to a few bytes.
      {Compressed(std::string(std::size_t{64} << 20, '\0')),
       "zor: ZOR_SESSION was cut short or altered" + way_out},
      // What unpacks to more than it says.
      {Compressed("x") + Compressed("y"), "zor: ZOR_SESSION was cut short or altered" + way_out},
  };
  for (const auto& row : rows) {
    shell.variables["ZOR_SESSION"] = Letters(row.bytes);
    for (const char* verb : {"purge", "list", "status", "reload"})
      Refused({verb}, row.err);
    Refused({"load", "a"}, row.err);
  }
}

TEST_F(Session, LongTextsAreSplit) {
  // Letters at random, which can't be compressed by much.
  std::mt19937 random(3);
  std::string base;
  for (int i = 0; i < 100000; ++i)
    base += static_cast<char>('0' + random() % 75);
  base += "\xc3\xa9\x01\n\"\\";
  std::erase(base, ':');
  shell.variables["L"] = start["L"] = base;
  Do({"load", "a"});
  EXPECT_TRUE(shell.variables.contains("ZOR_SESSION_1"));
  for (const auto& [name, value] : shell.variables) {
    if (!name.starts_with("ZOR_SESSION")) continue;
    EXPECT_LE(value.size(), 65536U);
    EXPECT_EQ(std::string::npos,
              value.find_first_not_of(
                  "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"));
  }
  EXPECT_EQ("C/a/2/1\n", Listed());
  Do({"load", "b"});
  // Nothing says where the value's one element belongs; it came first.
  EXPECT_TRUE(shell.Get("L") == base + ":a2:b:shared");
  Do({"purge"});
  EXPECT_TRUE(shell.variables == start);
}

// ---- What is told ----

TEST_F(Session, StatusTellsWhatHasChanged) {
  EXPECT_EQ("nothing is loaded\n", shell.Ask({"status"}).out);
  warehouse.Product("C/d/1/1", Insert("PATH", "/no/such", Before("**")) + Insert("ONE", "d"));
  warehouse.Product("C/e/1/1");
  Do({"set", "x=y"});
  Do({"load", "d", "e", "C/a/1"});
  Do({"unload", "a"});
  const std::string head = "of the warehouse " + warehouse.Root() +
                           ":\nC/d/1/1\nC/e/1/1\nset for what is loaded next:\nx=y\n";
  const std::string missing = "directories that do not exist:\n  /no/such on PATH\n";
  EXPECT_EQ(head + missing, shell.Ask({"status"}).out);
  shell.variables["PATH"] = "/usr:/no/such:/bin";
  shell.variables["ONE"] = "mine";
  warehouse.Product("C/d/1/1", Insert("PATH", "/no/such", Before("**")));
  warehouse.Undo("C/d/1/1", Delete("ONE"));
  std::filesystem::remove(warehouse.Root() + "/C/e/1/1/partlist.xml");
  EXPECT_EQ(head +
                "changed by hand:\n  ONE is left as it was set\n  PATH has /usr\n"
                "  PATH lacks /usr/bin\n"
                "data files that changed since loading; zor reload reads them:\n"
                "  C/d/1/1/env.xml is changed\n  C/d/1/1/unenv.xml is new\n"
                "  C/e/1/1/partlist.xml is missing\n" +
                missing,
            shell.Ask({"status"}).out);
}

TEST_F(Session, StatusTellsOfVariablesThatWereRemovedAndOfDirectoriesInLists) {
  warehouse.Product("C/d/1/1", Delete("OLD_PATH") + Insert("MANPATH", "/no/man") +
                                   Insert("MANPATH", "relative") + Insert("MANPATH", "/usr"));
  shell.variables["OLD_PATH"] = "/no/old";
  Do({"load", "d", "a"});
  shell.variables.erase("ONE");
  EXPECT_EQ("of the warehouse " + warehouse.Root() +
                ":\nC/d/1/1\nC/a/2/1\nchanged by hand:\n  ONE is left as it was removed\n"
                "directories that do not exist:\n  /no/man on MANPATH\n",
            shell.Ask({"status"}).out);
  Do({"set", "x=y"}, "zor: ONE was removed by hand and is left as it is\n");
  const RunResult json = shell.Ask({"status", "--json"});
  for (const char* piece :
       {"  \"set\": [\n    {\n      \"variable\": \"x\",\n      \"value\": \"y\"\n    }\n  ]",
        "  \"missing_directories\": [\n    {\n      \"variable\": \"MANPATH\",\n      "
        "\"directory\": \"/no/man\"\n    }\n  ]"})
    EXPECT_NE(std::string::npos, json.out.find(piece)) << piece << json.out;
}

TEST_F(Session, JsonTellsTheSame) {
  Do({"load", "C/a/1"});
  shell.variables["L"] = "x:a1:v";
  const RunResult platform = shell.Ask({"platform"});
  const std::string host = platform.out.substr(0, platform.out.size() - 1);
  const std::string product =
      "      {\n        \"category\": \"C\",\n        \"name\": \"a\",\n"
      "        \"version\": \"1\",\n        \"rev\": \"1\",\n        \"conditions\": [],\n"
      "        \"word\": \"C/a/1\"\n      }\n";
  const std::string groups = "  \"groups\": [\n    [\n" + product + "    ]\n  ]";
  const std::string root = "  \"version\": 1,\n  \"root\": \"" + warehouse.Root() + "\",\n";
  EXPECT_EQ("{\n" + root + groups + "\n}\n", shell.Ask({"list", "--json"}).out);
  EXPECT_EQ("{\n" + root + "  \"platform\": \"" + host + "\",\n  \"host\": \"" + host + "\",\n" +
                groups +
                ",\n  \"set\": [],\n  \"variables\": [\n    \"L\",\n    \"ONE\"\n  ],\n"
                "  \"by_hand\": [\n    {\n      \"variable\": \"L\",\n"
                "      \"left_alone\": false,\n      \"added\": [\n        \"x\"\n      ],\n"
                "      \"removed\": [\n        \"u\"\n      ],\n      \"moved\": []\n    }\n  ],\n"
                "  \"changed_files\": [],\n  \"missing_directories\": []\n}\n",
            shell.Ask({"status", "--json"}).out);
  EXPECT_EQ("{\n  \"version\": 1,\n  \"set\": []\n}\n", shell.Ask({"set", "--json"}).out);
}

// ---- Random sessions ----

std::vector<std::string> Split(const std::string& value) {
  std::vector<std::string> elements;
  for (std::size_t at = 0; at < value.size();) {
    const std::size_t end = std::min(value.find(':', at), value.size());
    elements.push_back(value.substr(at, end - at));
    at = end + 1;
  }
  return elements;
}

std::string Join(const std::vector<std::string>& elements) {
  std::string value;
  for (const std::string& element : elements)
    value += (value.empty() ? "" : ":") + element;
  return value;
}

template <class Keep>
std::vector<std::string> Only(std::vector<std::string> elements, Keep keep) {
  std::erase_if(elements, [&](const std::string& element) { return !keep(element); });
  return elements;
}

// A user who changes L by hand between steps, and what must be true of L then.
class HandModel {
 public:
  HandModel(ShellModel* shell, unsigned seed) : shell_(shell), random_(seed) { NoteBase(); }

  void Step() {
    if (random_() % 2 == 0)
      EditByHand();
    else
      LoadOrUnload();
  }

  void Purge() {
    ASSERT_EQ(0, shell_->Run({"purge"}).status);
    EXPECT_EQ(Join(Only(last_, [&](const auto& element) { return IsUsers(element); })),
              shell_->Get("L"));
  }

 private:
  std::size_t Below(std::size_t n) { return random_() % n; }
  std::vector<std::string> Now() const { return Split(shell_->Get("L").value_or("")); }
  bool IsUsers(const std::string& element) const {
    return base_.contains(element) || added_.contains(element);
  }
  static std::string ElementOf(const std::string& product) { return "e" + product; }

  // Without a product that touches L, it is all the user's.
  void NoteBase() {
    last_ = Now();
    base_ = {last_.begin(), last_.end()};
    added_.clear();
    removed_.clear();
  }

  void EditByHand() {
    std::vector<std::string> elements = Now();
    const std::size_t at = Below(std::max<std::size_t>(elements.size(), 1));
    const std::size_t to = Below(std::max<std::size_t>(elements.size(), 1));
    const std::size_t kind = Below(3);
    if (kind == 0 || elements.size() < 3) {
      const std::string element = "h" + std::to_string(++count_);
      elements.insert(elements.begin() + static_cast<long>(Below(elements.size() + 1)), element);
      added_.insert(element);
    } else {
      const std::string element = elements[at];
      elements.erase(elements.begin() + static_cast<long>(at));
      if (kind == 1) {
        removed_.insert(element);
        added_.erase(element);
      } else {
        elements.insert(elements.begin() + static_cast<long>(std::min(to, elements.size())),
                        element);
      }
    }
    shell_->variables["L"] = Join(elements);
    last_ = elements;
    if (loaded_.empty()) {
      NoteBase();
      return;
    }
    ASSERT_EQ(0, shell_->Run({"reload"}).status);
    EXPECT_EQ(Join(elements), shell_->Get("L"));
  }

  void LoadOrUnload() {
    const std::string product = std::to_string(Below(6));
    const bool there = loaded_.contains(product);
    const RunResult result = shell_->Run({there ? "unload" : "load", "C/p" + product});
    ASSERT_EQ(0, result.status) << result.err;
    EXPECT_EQ("", result.err);
    if (there)
      loaded_.erase(product);
    else
      loaded_.insert(product);
    removed_.erase(ElementOf(product));
    const auto is_users = [&](const auto& element) { return IsUsers(element); };
    EXPECT_EQ(Only(last_, is_users), Only(Now(), is_users));
    for (const std::string& element : Now())
      EXPECT_FALSE(removed_.contains(element)) << element;
    std::set<std::string> products;
    for (const std::string& element : Now())
      if (!is_users(element)) products.insert(element);
    std::set<std::string> expected;
    for (const std::string& name : loaded_)
      if (!removed_.contains(ElementOf(name))) expected.insert(ElementOf(name));
    EXPECT_EQ(expected, products);
    if (loaded_.empty()) NoteBase();
  }

  ShellModel* shell_;
  std::mt19937 random_;
  std::vector<std::string> last_;  // L as the user left it
  std::set<std::string> base_;     // its elements without products
  std::set<std::string> added_;    // by hand, while a product was loaded
  std::set<std::string> removed_;
  std::set<std::string> loaded_;
  int count_ = 0;
};

TEST_F(Session, ElementsPlacedAndTakenAwayByHandKeepTheirPlaces) {
  for (int i = 0; i < 6; ++i) {
    const std::string element = "e" + std::to_string(i);
    const std::string where = i % 3 == 0 ? Before("u") : i % 3 == 1 ? After("v") : "";
    warehouse.Product("C/p" + std::to_string(i) + "/1/1", Insert("L", element, where));
  }
  const int sessions = Rounds(8);
  for (int seed = 1; seed <= sessions && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    shell.variables = start;
    HandModel model(&shell, static_cast<unsigned>(seed));
    for (int step = 0; step < 12 && !HasFailure(); ++step)
      model.Step();
    model.Purge();
  }
}

}  // namespace
