// What includes what: the drawings of requests, the order of a variable's elements, and what a
// change has an effect on.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "zor.h"

namespace {

// What a drawing shows, line by line as drawings.py tells it, sorted.
std::vector<std::string> Shown(const std::string& drawing, const std::string& kind) {
  RunOptions options;
  options.input = drawing;
  const RunResult result = RunProgram(
      {"/usr/bin/python3", std::string(ZOR_SOURCE_DIR) + "/zor/test/drawings.py", kind}, options);
  EXPECT_EQ(0, result.status) << result.err << drawing;
  std::vector<std::string> lines;
  std::istringstream stream(result.out);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

bool HasGraphviz() {
  return access("/usr/bin/dot", X_OK) == 0;
}

std::string SvgOfDot(const std::string& dot) {
  RunOptions options;
  options.input = dot;
  const RunResult result = RunProgram({"/usr/bin/dot", "-Tsvg"}, options);
  EXPECT_EQ(0, result.status);
  EXPECT_EQ("", result.err);
  return result.out;
}

// A part on a line of its own.
std::string PartLine(const std::string& name, const std::string& version = "1.0",
                     const std::string& rest = "") {
  return "\n  <PRODUCT category='C' name='" + name + "' version='" + version + "' rev='1'" + rest +
         "><PATTERN/></PRODUCT>";
}

// Names with all that has a meaning in one of the formats.
struct OddNames : Warehouse {
  const std::string first = "a\"b<i>&amp;";
  const std::string second = "x[y]{z}|#35;(p)";
  const std::string third = "\xC3\xA9\xE7\xB9\x94";
  const std::string last = "n\nl\x1B\\N%%";
  OddNames() {
    ProductWithParts(InC(first), "", PartLine(second) + PartLine("gone", "9", " optional='1'"));
    ProductWithParts(InC(second), "", PartLine("a&quot;b&lt;i>&amp;amp;") + PartLine(third));
    Product(InC(third));
    Product(InC(last));
  }
  RunResult Run(const std::string& format) const {
    return Zor({"graph", "-r", Root(), "-p", "C", first, "1.0", "1", "--and", "-p", "C", last,
                "1.0", "1", "--format", format});
  }
};

TEST(Graph, IsATreeForPeople) {
  const OddNames odd;
  const std::string from_first = "  C/" + odd.first + "/1.0/1/partlist.xml:";
  const std::string from_second = "  C/" + odd.second + "/1.0/1/partlist.xml:";
  Expect(odd.Run("text"),
         "group 1:\n  C/" + odd.first + "/1.0/1\n    C/" + odd.second + "/1.0/1" + from_first +
             "2:3\n      C/" + odd.first + "/1.0/1" + from_second + "2:3  (see above)\n      C/" +
             odd.third + "/1.0/1" + from_second + "3:3\n    C/gone/9/1 [missing] (optional)" +
             from_first + "3:3\ngroup 2, overrides group 1:\n  C/" + odd.last + "/1.0/1\n",
         "", 0);
}

TEST(Graph, IsJsonForPrograms) {
  const OddNames odd;
  const RunResult result = odd.Run("json");
  EXPECT_EQ(0, result.status) << result.err;
  ExpectValid(result.out, "graph");
  for (const char* piece :
       {R"("name": "a\"b<i>&amp;")", R"("name": "n\nl\u001b\\N%%")", "\"presence\": \"missing\"",
        "\"from\": 0,\n      \"to\": 2,", "\"from\": 1,\n      \"to\": 0,", "\"optional\": true",
        "\"line\": 3,\n      \"column\": 3,"})
    EXPECT_NE(std::string::npos, result.out.find(piece)) << piece << result.out;
}

TEST(Graph, IsDrawnByMermaidAndGraphviz) {
  const OddNames odd;
  const std::string gone = R"("C/gone\n9/1\n[missing]")";
  const std::string last = R"("C/n\\x0al\\x1b\\N%%\n1.0/1")";
  const std::string second = R"x("C/x[y]{z}|#35;(p)\n1.0/1")x";
  const std::vector<std::string> charted = {R"(cluster "g0" "group 1")",
                                            R"(cluster "g1" "group 2")",
                                            R"(edge "g1-.->g0" "overrides")",
                                            R"(edge "n0-->n1" "partlist.xml:2")",
                                            R"x(edge "n0-.->n2" "partlist.xml:3 (optional)")x",
                                            R"(edge "n1-->n0" "partlist.xml:2")",
                                            R"(edge "n1-->n3" "partlist.xml:3")",
                                            R"(node "n0" "C/a\"b<i>&amp;\n1.0/1" "bold")",
                                            "node \"n1\" " + second + " \"\"",
                                            "node \"n2\" " + gone + " \"dashed\"",
                                            "node \"n3\" \"C/\xC3\xA9\xE7\xB9\x94\\n1.0/1\" \"\"",
                                            "node \"n4\" " + last + " \"bold\""};
  EXPECT_EQ(charted, Shown(odd.Run("mermaid").out, "mermaid"));
  if (!HasGraphviz()) GTEST_SKIP() << "there is no dot";
  const std::vector<std::string> drawn = {R"(cluster "cluster_0" "group 1" "")",
                                          R"(cluster "cluster_1" "group 2" "")",
                                          R"(edge "n0->n1" "partlist.xml:2" "")",
                                          R"x(edge "n0->n2" "partlist.xml:3 (optional)" "5,2")x",
                                          R"(edge "n1->n0" "partlist.xml:2" "")",
                                          R"(edge "n1->n3" "partlist.xml:3" "")",
                                          R"(edge "n4->n0" "overrides" "5,2")",
                                          R"(node "n0" "C/a\"b<i>&amp;\n1.0/1" "2")",
                                          "node \"n1\" " + second + " \"\"",
                                          "node \"n2\" " + gone + " \"5,2\"",
                                          "node \"n3\" \"C/\xC3\xA9\xE7\xB9\x94\\n1.0/1\" \"\"",
                                          "node \"n4\" " + last + " \"2\""};
  EXPECT_EQ(drawn, Shown(odd.Run("svg").out, "svg"));
  EXPECT_EQ(drawn, Shown(SvgOfDot(odd.Run("dot").out), "svg"));
}

TEST(Graph, NamesThePackageOfDot) {
  Warehouse warehouse;
  warehouse.Product(InC("P"));
  const std::vector<std::string> words = {"graph", "-r", warehouse.Root(), "C/P", "-f", "svg"};
  const std::string none = "PATH=" + warehouse.Directory("none");
  Expect(Zor(words, {none}), "",
         "zor: the format svg needs the program dot, which is not on PATH; it is in the package "
         "graphviz. --format dot prints what it would be given\n",
         2);
  std::filesystem::permissions(warehouse.Write("none/dot", "#!/bin/sh\nexit 3\n"),
                               std::filesystem::perms::owner_all);
  Expect(Zor(words, {none}), "", "zor: " + (warehouse / "none/dot") + " could not draw this\n", 2);
}

TEST(Graph, TellsVarietiesAndWhatCanNotBeRead) {
  Warehouse warehouse;
  const std::string root = warehouse.Root();
  const auto run = [&](std::vector<std::string> words) {
    words.insert(words.begin(), "graph");
    return Zor(words, {"ZORROOT=" + root});
  };
  warehouse.File(InC("w"), "product.xml",
                 ProductXml("<VARIETY name='one'><VAR n='k' v='1'/><SEGMENT here='1'/></VARIETY>"
                            "<VARIETY><VAR n='k' v='2'/><VAR n='l' v='x'/>"
                            "<SEGMENT host='h' here='0'/></VARIETY>"));
  warehouse.File(InC("w"), "partlist.xml", PartListXml(""));
  Expect(run({"C/w"}), "C/w/1.0/1 [one; k=2, l=x, not here]\n", "", 0);
  Expect(run({"C/w[k=1]"}), "C/w/1.0/1 [one]\n", "", 0);
  Expect(run({"C/w[k=3]"}), "C/w/1.0/1 [no variety fits]\n",
         "zor: no variety of C/w/1.0/1 has k=3; there are 1, 2\n", 0);

  warehouse.ProductWithParts(InC("includes"), "", PartLine("broken") + PartLine("w"));
  warehouse.Product(InC("broken"));
  warehouse.File(InC("broken"), "env.xml", "<oops/>");
  const std::string fault =
      "zor: " + root +
      "/C/broken/1.0/1/env.xml:1:1: the root is oops; the root of an env.xml is ENV-SETTINGS\n"
      "  XML parsing error: the file is not read, and its product can't be used\n"
      "  write ENV-SETTINGS, in its end tag too\n"
      "  see zorenv-warehouse(5), ENV.XML AND UNENV.XML\n";
  const RunResult result = run({"C/includes"});
  EXPECT_EQ(
      "C/includes/1.0/1\n  C/broken/1.0/1 [can't be read]  C/includes/1.0/1/partlist.xml:2:3\n"
      "  C/w/1.0/1 [one; k=2, l=x, not here]  C/includes/1.0/1/partlist.xml:3:3\n",
      result.out);
  EXPECT_EQ(1, result.status);
  EXPECT_EQ(fault, result.err);
  const RunResult named = run({"C/w", "C/broken"});
  EXPECT_EQ("C/w/1.0/1 [one; k=2, l=x, not here]\nC/broken/1.0/1 [can't be read]\n", named.out);
  EXPECT_EQ(1, named.status);
  Expect(run({}), "", "zor: say which product, as in: zor graph tools/weaver\n", 2);
  Expect(run({"C/w", "-f", "png"}), "",
         "zor: there is no format png; there are text, dot, svg, mermaid, json\n", 2);
  Expect(run({"-i", "-p", "C", "none", "1", "1"}), "C/none/1/1 [missing]\n", "", 0);
}

TEST(Constraints, AreShownOfAnyElements) {
  Warehouse warehouse;
  warehouse.Product(InC("o"), Insert("LIST", "new", Before("**"), "sep='~'"));
  const std::string list = "LIST=q\"u~n\nl~[b]{c}|<d>&amp;#35;~`t`~\xC3\xA9~\x01\xE9-+";
  const auto run = [&](const std::string& format) {
    return Zor({"graph", "-r", warehouse.Root(), "C/o", "--constraints", "LIST", "-f", format},
               {list});
  };
  // The operation begins behind "<ENV-SETTINGS><ENV-GROUP><PATTERN/>".
  const std::string place = "  C/o/1.0/1/env.xml:1:36\n";
  const RunResult text = run("text");
  for (const char* behind :
       {"q\"u", "n\nl", "[b]{c}|<d>&amp;#35;", "\x01\xE9-+", "`t`", "\xC3\xA9"})
    EXPECT_NE(std::string::npos, text.out.find(std::string("  new before ") + behind + place))
        << text.out;
  EXPECT_EQ(0, text.status) << text.err;
  const RunResult json = run("json");
  ExpectValid(json.out, "constraints");
  // 01 E9 2D 2B in base64.
  EXPECT_NE(std::string::npos, json.out.find("\"base64\": \"AektKw==\"")) << json.out;

  // The new element stands in front of all, and so is the first box.
  const auto boxes = [](const std::vector<std::string>& lines) {
    std::vector<std::string> some;
    for (const std::string& line : lines)
      if (line.starts_with("node")) some.push_back(line);
    return some;
  };
  const std::vector<std::string> expected = {
      R"(node "n0" "new" "")",         R"(node "n1" "q\"u" "")",
      R"(node "n2" "n\\x0al" "")",     R"(node "n3" "[b]{c}|<d>&amp;#35;" "")",
      R"(node "n4" "`t`" "")",         "node \"n5\" \"\xC3\xA9\" \"\"",
      R"(node "n6" "\\x01\\xe9-+" "")"};
  EXPECT_EQ(expected, boxes(Shown(run("mermaid").out, "mermaid")));
  if (!HasGraphviz()) GTEST_SKIP() << "there is no dot";
  EXPECT_EQ(expected, boxes(Shown(run("svg").out, "svg")));
}

TEST(Constraints, MarkCircles) {
  const std::vector<std::string> words = {"graph", "studio/knot", "--constraints", "KNOT_ENDS"};
  const auto with = [&](const std::string& format) {
    std::vector<std::string> all = words;
    all.insert(all.end(), {"--format", format});
    return ZorOnExamples(all);
  };
  const RunResult text = ZorOnExamples(words);
  EXPECT_EQ(
      "KNOT_ENDS:\n  left before right  studio/knot/1/1/env.xml:5:5\n"
      "  right before left  studio/knot/1/1/env.xml:10:5\n"
      "  a circle: left before right before left\n",
      text.out);
  EXPECT_EQ(1, text.status);
  EXPECT_NE(std::string::npos, text.err.find("KNOT_ENDS")) << text.err;
  const RunResult json = with("json");
  ExpectValid(json.out, "constraints");
  EXPECT_EQ(std::string::npos, json.out.find("\"circular\": false")) << json.out;
  EXPECT_NE(std::string::npos, json.out.find("\"circular\": true")) << json.out;
  const std::vector<std::string> lines = Shown(with("mermaid").out, "mermaid");
  EXPECT_EQ(2, std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
              return line.starts_with("edge") && line.find("==>") != std::string::npos;
            }));
  // Two groups, of which the second overrides; and a variable that nothing touches.
  Expect(ZorOnExamples({"graph", "site", "//", "studio/proof", "--constraints", "RENDER_MODE"}),
         "RENDER_MODE, group 1:\n  nothing orders its elements\n"
         "RENDER_MODE, group 2, overrides group 1:\n  nothing orders its elements\n",
         "", 0);
  Expect(ZorOnExamples({"graph", "site", "--constraints", "NOTHING"}), "",
         "zor: these products do nothing to NOTHING\n", 1);
}

// ---- Marks and groups ----

TEST(Graph, GroupsAreToldOfOnce) {
  Warehouse warehouse;
  warehouse.Product(InC("leaf"));
  for (const char* name : {"one", "two", "three"})
    warehouse.ProductWithParts(InC(name), "", PartLine("leaf"));
  warehouse.File(InC("away"), "product.xml", ProductXml("<VARIETY><SEGMENT here='0'/></VARIETY>"));
  warehouse.File(InC("away"), "partlist.xml", PartListXml(""));
  const auto run = [&](std::vector<std::string> words) {
    words.insert(words.begin(), "graph");
    return Zor(words, {"ZORROOT=" + warehouse.Root()});
  };
  // What has no parts is written out each time, as there is nothing to see above.
  Expect(run({"C/one", "C/two", "//", "C/three", "C/leaf"}),
         "group 1:\n  C/one/1.0/1\n    C/leaf/1.0/1  C/one/1.0/1/partlist.xml:2:3\n"
         "  C/two/1.0/1\n    C/leaf/1.0/1  C/two/1.0/1/partlist.xml:2:3\n"
         "group 2, overrides group 1:\n  C/three/1.0/1\n"
         "    C/leaf/1.0/1  C/three/1.0/1/partlist.xml:2:3\n  C/leaf/1.0/1\n",
         "", 0);
  const std::vector<std::string> expected = {R"(edge "n0-->n1" "partlist.xml:2")",
                                             R"(node "n0" "C/one\n1.0/1" "bold")",
                                             R"(node "n1" "C/leaf\n1.0/1" "")"};
  EXPECT_EQ(expected, Shown(run({"C/one", "-f", "mermaid"}).out, "mermaid"));
  EXPECT_EQ("C/away/1.0/1 [not here]\n", run({"C/away"}).out);
}

TEST(Graph, WhatCanNotBeDrawnIsWrittenAsBytes) {
  Warehouse warehouse;
  const std::string odd =
      "a\x7F"
      "b\xC2\x85"
      "c\xE2\x80\xA8"
      "d\xE2\x80\xA9"
      "e\xEF\xBF\xBE"
      "f\xEF\xBF\xBF";
  warehouse.Product(InC(odd + "\xF0\x9F\x98\x80"));
  const RunResult result =
      Zor({"graph", "-r", warehouse.Root(), "-p", "C", odd + "\xF0\x9F\x98\x80", "-f", "mermaid"});
  const std::vector<std::string> expected = {
      "node \"n0\" \"C/a\\\\x7fb\\\\xc2\\\\x85c\\\\xe2\\\\x80\\\\xa8d\\\\xe2\\\\x80\\\\xa9e"
      "\\\\xef\\\\xbf\\\\xbef\\\\xef\\\\xbf\\\\xbf\xF0\x9F\x98\x80\\n1.0/1\" \"bold\""};
  EXPECT_EQ(expected, Shown(result.out, "mermaid"));
}

TEST(Constraints, OfGroupsAndRecipesAreShown) {
  Warehouse warehouse;
  warehouse.Product(InC("first"), Insert("L", "a", Before("b")) + Remove("L", "c"));
  warehouse.Product(InC("second"), Insert("L", "d", Before("c") + After("b")));
  warehouse.Product(InC("colon"), Insert("S", "x", "", "sep=':'"));
  warehouse.Product(InC("comma"), Insert("S", "x", "", "sep=','"));
  warehouse.File(InC("old"), "product.xml", ProductXml(Variety()));
  warehouse.File(InC("old"), "partlist.xml", PartListXml(""));
  warehouse.File(InC("old"), "setup.xml", RecipeXml("<SETENV op='append' name='L' value='r'/>"));
  const auto run = [&](std::vector<std::string> words, const std::string& variable) {
    words.insert(words.begin(), "graph");
    words.insert(words.end(), {"--constraints", variable});
    return Zor(words, {"ZORROOT=" + warehouse.Root(), "L=b:c"});
  };
  const auto place = [&](const std::string& name) {
    return Place(warehouse.Root() + "/" + InC(name) + "/env.xml", "<ENV-INSERT")
        .substr(warehouse.Root().size() + 1);
  };
  // An old recipe has a value, and no order.
  Expect(run({"C/old", "C/first"}, "L"), "L:\n  a before b  " + place("first") + '\n', "", 0);
  Expect(run({"C/old"}, "L"), "", "zor: these products do nothing to L\n", 1);
  // Where there is no environment, and so no order, the reason is told.
  const RunResult none = run({"C/colon", "C/comma"}, "L");
  EXPECT_EQ("", none.out);
  EXPECT_EQ(1, none.status);
  EXPECT_TRUE(none.err.starts_with("zor: inconsistent separators for environment variable S\n"))
      << none.err;
  const RunResult drawn = run({"C/first", "//", "C/second", "-f", "mermaid"}, "L");
  // What is removed has no place, and against what is not there nothing can be ordered.
  const std::vector<std::string> expected = {R"(cluster "g0" "group 1")",
                                             R"(cluster "g1" "group 2, overrides group 1")",
                                             "edge \"n0-->n1\" \"" + place("first") + '"',
                                             "edge \"n3-->n4\" \"" + place("second") + '"',
                                             R"(node "n0" "a" "")",
                                             R"(node "n1" "b" "")",
                                             R"(node "n2" "a" "")",
                                             R"(node "n3" "b" "")",
                                             R"(node "n4" "d" "")"};
  EXPECT_EQ(expected, Shown(drawn.out, "mermaid"));
}

TEST(Constraints, OfCirclesAreDrawnInRed) {
  const RunResult dot =
      ZorOnExamples({"graph", "studio/knot", "--constraints", "KNOT_ENDS", "-f", "dot"});
  // A circle has no beginning.
  const auto drawing = [](const std::string& first, const std::string& second, char left,
                          char right) {
    const std::string red = ", style=bold, color=red];\n";
    return "digraph \"KNOT_ENDS\" {\n  compound=true;\n  rankdir=LR;\n  node [shape=box];\n"
           "  subgraph cluster_0 {\n    label=\"KNOT_ENDS\";\n    n0 [label=\"" +
           first + '"' + red + "    n1 [label=\"" + second + '"' + red + "  }\n  n" + left +
           " -> n" + right + " [label=\"studio/knot/1/1/env.xml:5:5\"" + red + "  n" + right +
           " -> n" + left + " [label=\"studio/knot/1/1/env.xml:10:5\"" + red + "}\n";
  };
  EXPECT_TRUE(dot.out == drawing("left", "right", '0', '1') ||
              dot.out == drawing("right", "left", '1', '0'))
      << dot.out;
  EXPECT_EQ(1, dot.status);
}

TEST(Graph, VarietiesOfOneProductAreTakenTogether) {
  Warehouse warehouse;
  const auto variety = [](const std::string& name) {
    return "<VARIETY name='" + name + "'><VAR n='k' v='" + name +
           "'/><SEGMENT here='1'/></VARIETY>";
  };
  const auto part = [](const std::string& k) {
    return "\n  <PRODUCT category='C' name='w' version='1.0' rev='1'><PATTERN><MATCH>"
           "<VAR n='k' v='" +
           k + "'/></MATCH></PATTERN></PRODUCT>";
  };
  warehouse.File(InC("w"), "product.xml",
                 ProductXml(variety("one") + variety("two") + variety("three")));
  warehouse.File(InC("w"), "partlist.xml", PartListXml(""));
  // Two varieties of one product share a part.
  warehouse.File(InC("user"), "product.xml", ProductXml(variety("a") + variety("b")));
  warehouse.File(InC("user"), "partlist.xml", PartListXml(part("two")));
  const auto run = [&](std::vector<std::string> words) {
    words.insert(words.begin(), "graph");
    return Zor(words, {"ZORROOT=" + warehouse.Root()});
  };
  const std::string user = "C/user/1.0/1 [a; b]\n  C/w/1.0/1 [one; two]  ";
  Expect(run({"C/w[k=one]", "C/user"}),
         "C/w/1.0/1 [one; two]\n" + user + "C/user/1.0/1/partlist.xml:2:3\n", "", 0);
  const RunResult json = run({"C/user", "-f", "json"});
  ExpectValid(json.out, "graph");
  EXPECT_NE(std::string::npos, json.out.find("\"value\": \"three\"")) << json.out;
}

TEST(Graph, TheFirstDotOnThePathDraws) {
  Warehouse warehouse;
  warehouse.Product(InC("P"));
  const std::string program = warehouse.Write("bin/dot", "#!/bin/sh\necho \"<$*>\"\ncat\n");
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  const auto drawn = [&](const std::string& format) {
    return Zor({"graph", "-r", warehouse.Root(), "C/P", "-f", format},
               {"PATH=::" + (warehouse / "none") + ':' + (warehouse / "bin") + ":/usr/bin:/bin"});
  };
  Expect(drawn("svg"), "<-Tsvg>\n" + drawn("dot").out, "", 0);
}

// Relative names of files are below the product, a part that is not there may be missed by two, and
// what is wrong in one part list keeps nobody from reading the others.
TEST(Impact, ReadsPartListsAsTheyStand) {
  Warehouse warehouse;
  warehouse.ProductWithParts(InC("a"), "",
                             "<FILE name='data/x.txt'/><FILE name=''/>" + PartLine("gone"));
  warehouse.ProductWithParts(InC("b"), "", PartLine("gone") + PartLine("%(NO)"));
  warehouse.File(InC("a"), "data/x.txt", "x");
  const auto run = [&](const std::vector<std::string>& words) {
    return Zor(words, {"ZORROOT=" + warehouse.Root()});
  };
  const std::string gone = " includes C/gone/1.0/1 (at C/";
  const std::string unknown =
      "zor: C/b/1.0/1: % variable NO is not defined in File "
      "C/b/1.0/1/partlist.xml\n";
  Expect(run({"impact", "-p", "C", "gone", "1.0", "1"}),
         "C/a/1.0/1" + gone + "a/1.0/1/partlist.xml:2:3)\nC/b/1.0/1" + gone +
             "b/1.0/1/partlist.xml:2:3)\n",
         unknown, 0);
  Expect(run({"impact", warehouse.Root() + "/C/a/1.0/1/data/x.txt"}), "C/a/1.0/1\n", unknown, 0);
}

// Products of several versions that include each other, one that is not there, and files.
struct Library : Warehouse {
  Library() {
    Product("C/lib/1.0/1");
    Product("C/lib/2.0/1");
    ProductWithParts("C/mid/1.0/1", "", PartLine("lib"));
    ProductWithParts("C/top/1.0/1", "", PartLine("mid") + PartLine("gone", "7"));
    ProductWithParts("C/top/1.1/1", "", PartLine("lib", "2.0"));
    ProductWithParts("C/other/1/1", "", "<FILE name='" + (*this / "shared/data.txt") + "'/>");
    Write("shared/data.txt", "shared");
    Product("C/broken/1/1");
    File("C/broken/1/1", "env.xml", "<oops/>");
    // Its variety 2 includes the library, and the user of it takes the other one.
    File("C/v/1/1", "product.xml",
         ProductXml("<VARIETY><VAR n='k' v='1'/><SEGMENT here='1'/></VARIETY>"
                    "<VARIETY><VAR n='k' v='2'/><SEGMENT here='1'/></VARIETY>"));
    File("C/v/1/1", "partlist.xml",
         "<PARTLIST><PARTSPEC><PATTERN><MATCH><VAR n='k' v='2'/></MATCH></PATTERN><PARTS>" +
             PartLine("lib") + "</PARTS></PARTSPEC></PARTLIST>");
    ProductWithParts("C/user/1/1", "",
                     "<PRODUCT category='C' name='v' version='1' rev='1'><PATTERN><MATCH>"
                     "<VAR n='k' v='1'/></MATCH></PATTERN></PRODUCT>");
    Write("root/zor.toml",
          "default = [\"C/top\"]\n[sets]\nplain = [\"C/other\"]\nweaving = "
          "[\"C/top/1.0\"]\n");
  }
  RunResult Run(const std::vector<std::string>& words) const {
    return Zor(words, {"ZORROOT=" + Root(), "XDG_CONFIG_HOME=" + (*this / "config")});
  }
  std::string Broken() const {
    return "zor: C/broken/1/1: XML parsing error in File " + Root() + "/C/broken/1/1/env.xml\n";
  }
};

TEST(Impact, FollowsPartsBackThroughAllVersions) {
  const Library library;
  const RunResult lock = library.Run({"lock", "C/mid"});
  library.Write("config/zor/saved/mine.lock", lock.out);
  const std::string mid = "C/mid/1.0/1 (at C/top/1.0/1/partlist.xml:2:3)";
  const std::string lib = "C/lib/1.0/1 (at C/mid/1.0/1/partlist.xml:2:3)";
  Expect(library.Run({"impact", "C/lib/1.0"}),
         "C/mid/1.0/1 includes " + lib + "\nC/top/1.0/1 includes " + mid + ", " + lib +
             "\nC/v/1/1 includes C/lib/1.0/1 (at C/v/1/1/partlist.xml:2:3)\n"
             "@weaving leads to C/top/1.0/1, " +
             mid + ", " + lib + "\n@mine, saved, leads to C/mid/1.0/1, " + lib + "\n",
         library.Broken(), 0);
  const std::string second = "C/top/1.1/1 includes C/lib/2.0/1 (at C/top/1.1/1/partlist.xml:2:3)\n";
  const RunResult any = library.Run({"impact", "C/lib"});
  EXPECT_NE(std::string::npos, any.out.find(second)) << any.out;
  EXPECT_NE(std::string::npos, any.out.find("the default requests lead to C/top/1.1/1, C/lib"))
      << any.out;
  EXPECT_EQ(std::string::npos, any.out.find("C/user")) << any.out;
  const RunResult json = library.Run({"impact", "C/lib", "--json"});
  ExpectValid(json.out, "impact");
  EXPECT_EQ(0, json.status);
  // A product that is not there any more, in the form that takes it without a look at the disk.
  const std::string gone = "C/gone/7/1 (at C/top/1.0/1/partlist.xml:3:3)\n";
  Expect(library.Run({"impact", "-p", "C", "gone", "7", "1"}),
         "C/top/1.0/1 includes " + gone + "@weaving leads to C/top/1.0/1, " + gone,
         library.Broken(), 0);
}

TEST(Impact, CountsTheProductsOfAFile) {
  const Library library;
  const std::string top = "C/top/1.1/1 includes C/lib/2.0/1 (at C/top/1.1/1/partlist.xml:2:3)\n";
  const std::string lib = "C/lib/2.0/1 (at C/top/1.1/1/partlist.xml:2:3)\n";
  const std::string told =
      "C/lib/2.0/1\n" + top + "the default requests lead to C/top/1.1/1, " + lib;
  for (const std::string& file :
       {library.Root() + "/C/lib/2.0/1/product.xml", std::string("C/lib/2.0/1/partlist.xml")})
    Expect(library.Run({"impact", file}), told, library.Broken(), 0);
  Expect(library.Run({"impact", library / "shared/data.txt"}),
         "C/other/1/1\n@plain leads to C/other/1/1\n", library.Broken(), 0);
  Expect(library.Run({"impact", "C/user"}), "", library.Broken() + "zor: nothing includes it\n", 1);
  const RunResult json = library.Run({"impact", "C/user", "--json"});
  ExpectValid(json.out, "impact");
  EXPECT_EQ(1, json.status);
  Expect(library.Run({"impact"}), "",
         "zor: say which product or file, and only one, as in: zor impact libs/graphics/fibre\n",
         2);
}

TEST(Impact, AsksForOneProductOrFile) {
  const Library library;
  const std::string one =
      "zor: say which product or file, and only one, as in: zor impact libs/graphics/fibre\n";
  const struct {
    std::vector<std::string> words;
    std::string err;
  } rows[] = {
      {{"impact", "C/lib", "C/mid"}, one},
      {{"impact", "-p", "C", "lib", "-p", "C", "mid"}, one},
      {{"impact", "-p", "C", "lib", "--and", "-p", "C", "mid"}, one},
      {{"impact", "-r"}, "zor: -r needs the root of a warehouse\n"},
      {{"impact", "C/lib[k=1]"},
       "zor: C/lib[k=1]: a product counts with all its varieties, so conditions have no place "
       "here\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    Expect(library.Run(row.words), "", row.err, 2);
  }
  const std::string second =
      "C/top/1.1/1 includes C/lib/2.0/1 (at C/top/1.1/1/partlist.xml:2:3)\n"
      "the default requests lead to C/top/1.1/1, C/lib/2.0/1 (at C/top/1.1/1/partlist.xml:2:3)\n";
  for (const char* root : {"-r", "--root"})
    Expect(Zor({"impact", root, library.Root(), "C/lib/2.0/1"}), second, library.Broken(), 0);
  Expect(library.Run({"impact", "-p", "C", "lib", "1.0", "2"}), "",
         library.Broken() + "zor: nothing includes it\n", 1);
  // A revision that is left open is any.
  Expect(library.Run({"impact", "C/lib/2.0/+"}), second, library.Broken(), 0);
}

TEST(Impact, TakesTheShortestOfTwoWaysAndFollowsCircles) {
  Warehouse warehouse;
  warehouse.Product("C/base/1.0/1");
  warehouse.ProductWithParts("C/a/1.0/1", "", PartLine("b") + PartLine("c"));
  warehouse.ProductWithParts("C/b/1.0/1", "", PartLine("c") + PartLine("a"));
  warehouse.ProductWithParts("C/c/1.0/1", "", PartLine("base") + PartLine("b"));
  // Two varieties of which the second is nearer.
  warehouse.File("C/v/1.0/1", "product.xml",
                 ProductXml("<VARIETY><VAR n='k' v='1'/><SEGMENT here='1'/></VARIETY>"
                            "<VARIETY><VAR n='k' v='2'/><SEGMENT here='1'/></VARIETY>"));
  const auto when = [](const std::string& value, const std::string& parts) {
    return "<PARTSPEC><PATTERN><MATCH><VAR n='k' v='" + value + "'/></MATCH></PATTERN><PARTS>" +
           parts + "</PARTS></PARTSPEC>";
  };
  warehouse.File(
      "C/v/1.0/1", "partlist.xml",
      "<PARTLIST>" + when("1", PartLine("b")) + when("2", PartLine("base")) + "</PARTLIST>");
  warehouse.Write("root/zor.toml",
                  "default = [\"@all\", \"C/base\"]\n[sets]\nall = [\"C/a\", \"C/b\"]\n");
  const std::string base = "C/base/1.0/1 (at C/c/1.0/1/partlist.xml:2:3)\n";
  const std::string c = "C/c/1.0/1 (at C/a/1.0/1/partlist.xml:3:3), " + base;
  Expect(Zor({"impact", "-r", warehouse.Root(), "C/base"}),
         "C/a/1.0/1 includes " + c +
             "C/b/1.0/1 includes C/c/1.0/1 (at C/b/1.0/1/partlist.xml:2:3), " + base +
             "C/c/1.0/1 includes " + base +
             "C/v/1.0/1 includes C/base/1.0/1 (at C/v/1.0/1/partlist.xml:3:3)\n"
             "the default requests lead to C/base/1.0/1\n@all leads to C/a/1.0/1, " +
             c,
         "", 0);
}

TEST(Impact, TellsWhatCanNotBeReadAndPassesOverWhatWasSavedElsewhere) {
  Warehouse warehouse;
  warehouse.Product(InC("lib"));
  const std::string root = warehouse.Root(), broken = root + "/C/broken/1/1/env.xml";
  Warehouse elsewhere("/tmp/elsewhere");
  elsewhere.Product(InC("lib"));
  for (const auto& [name, from] : {std::pair("here", root), std::pair("there", elsewhere.Root())})
    warehouse.Write("config/zor/saved/" + std::string(name) + ".lock",
                    Zor({"lock", "-r", from, "C/lib"}).out);
  const auto run = [&](const std::string& product) {
    return Zor({"impact", product},
               {"ZORROOT=" + root, "XDG_CONFIG_HOME=" + (warehouse / "config")});
  };
  Expect(run("C/lib"), "@here, saved, leads to C/lib/1.0/1\n", "", 0);
  warehouse.Write("config/zor/saved/here.lock", "");
  warehouse.Write("root/zor.toml", "[sets]\nbad = ['C/none']\ngood = ['C/lib']\n");
  Expect(run("C/lib"), "@good leads to C/lib/1.0/1\n",
         "zor: @bad: there is no product C/none in " + root +
             "\nzor avail lists what there is\n"
             "zor: @here, saved: " +
             (warehouse / "config/zor/saved/here.lock") +
             ":1: this is no lock: 'zor-lock' must stand here\n",
         0);
  std::filesystem::remove(warehouse / "config/zor/saved/here.lock");
  warehouse.Product("C/broken/1/1");
  warehouse.File("C/broken/1/1", "env.xml", "<oops/>");
  warehouse.Write("root/zor.toml", "[sets]\nall = ['C/broken']\n");
  Expect(run("C/broken"), "@all leads to C/broken/1/1\n",
         "zor: @all: " + broken +
             ":1:1: the root is oops; the root of an env.xml is ENV-SETTINGS\n"
             "  XML parsing error: the file is not read, and its product can't be used\n"
             "  write ENV-SETTINGS, in its end tag too\n"
             "  see zorenv-warehouse(5), ENV.XML AND UNENV.XML\n"
             "zor: C/broken/1/1: XML parsing error in File " +
             broken + "\n",
         0);
}

// A file may lie deeper than its product, above all products, or beside the warehouse.
TEST(Impact, KnowsWhoseAFileIs) {
  Warehouse warehouse;
  const std::string root = warehouse.Root();
  warehouse.Product("a/b/P/1/1");
  const std::string deep = warehouse.Write("root/a/b/P/1/1/x/y/z.txt", "deep");
  const std::string above = warehouse.Write("root/a/b/notes", "above");
  const std::string lone = warehouse.Write("root/d/e/f/g/h/lone.txt", "of no product");
  const std::string beside = warehouse.Write("beside/file.txt", "outside");
  warehouse.Link("root/a/b/P/1/1/linked", beside);
  warehouse.Product("a/b/Q/1/1");
  warehouse.File("a/b/Q/1/1", "partlist.xml",
                 PartListXml("<FILE name='" + (warehouse / "other/file.txt") + "'/><FILE name='" +
                             (warehouse / "beside/../beside/file.txt") + "'/>"));
  warehouse.Write("other/file.txt", "of the same name");
  const auto expect = [&](const std::string& file, const std::string& out, const std::string& err,
                          int status) {
    SCOPED_TRACE(file);
    Expect(Zor({"impact", "-r", root, file}), out, err, status);
  };
  const std::string none = "zor: nothing includes it\n";
  expect(deep, "a/b/P/1/1\n", "", 0);
  expect("a/b/P/1/1/x/y/z.txt", "a/b/P/1/1\n", "", 0);
  expect(above, "", none, 1);
  expect(lone, "", none, 1);
  expect(beside, "a/b/Q/1/1\n", "", 0);
  // A link is its product's, and what it leads to is the other's.
  expect(root + "/a/b/P/1/1/linked", "a/b/P/1/1\na/b/Q/1/1\n", "", 0);
  RunOptions inside;
  inside.environment = PlainEnvironment();
  inside.directory = root + "/a/b/P/1/1/x/y";
  Expect(RunProgram({ZOR_PROGRAM, "impact", "-r", root, "z.txt"}, inside), "a/b/P/1/1\n", "", 0);
}

// Two versions of a product, and one that adds to the first.
struct Versions : Warehouse {
  Versions() {
    const std::string on_path = "\n" + Insert("PATH", "%(BASE-CNVR)/bin", Before("/usr/bin"));
    Product("C/P/1/1", on_path + "\n" + Insert("LIST", "a") + "\n" + Insert("LIST", "b"));
    Product("C/P/2/1", on_path + "\n" + Insert("LIST", "b") + "\n" + Insert("LIST", "c") + "\n" +
                           Insert("NEW", "x") + "\n" + Insert("OLD", "y", Before("x")));
    Product("C/Q/1/1", "\n" + Insert("LIST", "z"));
  }
  RunResult Run(std::vector<std::string> words, std::vector<std::string> more = {}) const {
    words.insert(words.begin(), "diff");
    more.push_back("ZORROOT=" + Root());
    return Zor(words, more);
  }
  // What the environments of the two versions have different.
  std::string Variables() const {
    return "LIST:\n  - a  C/P/1/1/env.xml:3:1\n  + c  C/P/2/1/env.xml:4:1\n"
           "NEW (was not set):\n  + x  C/P/2/1/env.xml:5:1\n"
           "OLD:\n  ~ y (moved)\n"
           "PATH:\n  - " +
           Root() + "/C/P/1/1/bin  C/P/1/1/env.xml:2:1\n  + " + Root() +
           "/C/P/2/1/bin  C/P/2/1/env.xml:2:1\n";
  }
};

TEST(Diff, ComparesTwoRequests) {
  const Versions versions;
  const std::string products = "Products:\n  - C/P/1/1\n  + C/P/2/1\n";
  const std::vector<std::string> old = {"OLD=x:y"};
  Expect(versions.Run({"C/P/1", "C/P"}, old),
         "--- C/P/1\n+++ C/P\n" + products + versions.Variables(), "", 1);
  Expect(versions.Run({"-p", "C", "P", "1", "--with", "C/P"}, old),
         "--- -p C P 1\n+++ C/P\n" + products + versions.Variables(), "", 1);
  Expect(versions.Run({"C/P/1", "C/P/1"}), "", "", 0);
  const RunResult json = versions.Run({"--json", "C/P/1", "C/P/2"}, old);
  EXPECT_EQ(1, json.status);
  ExpectValid(json.out, "diff");
  for (const char* piece : {"\"change\": \"moved\"", "\"change\": \"kept\"", "\"first\": null",
                            "\"second\": \"y:x\"", "\"alike\": false"})
    EXPECT_NE(std::string::npos, json.out.find(piece)) << piece << json.out;
  const RunResult alike = versions.Run({"--json", "C/P/1", "C/P/1"});
  ExpectValid(alike.out, "diff");
  EXPECT_NE(std::string::npos, alike.out.find("\"alike\": true")) << alike.out;
  Expect(versions.Run({"C/P/none", "C/P"}), "",
         "zor: C/P has no such version or revision: C/P/none\nthere are: 1 2\n", 2);
}

TEST(Diff, ComparesWithThePresentEnvironment) {
  const Versions versions;
  const std::string head = "--- the present environment\n+++ C/Q\n";
  Expect(versions.Run({"C/Q"}), head + "LIST (was not set):\n  + z  C/Q/1/1/env.xml:2:1\n", "", 1);
  // It was there already, so no product is behind it.
  Expect(versions.Run({"C/Q"}, {"LIST=a:z"}), "", "", 0);
  Expect(versions.Run({"C/Q"}, {"LIST=z::a"}), head + "LIST:\n  - (empty)\n", "", 1);
  const RunResult both = versions.Run({"C/Q", "C/P", "--current"});
  EXPECT_EQ(0u, both.out.find("--- the present environment\n+++ C/Q C/P\nLIST")) << both.out;
  Expect(versions.Run({"C/Q", "C/P", "C/P/1"}), "",
         "zor: say where the second request begins, by --with, or that all of it is one to be "
         "compared with the present environment, by --current\n",
         2);
  Expect(versions.Run({}), "",
         "zor: say which two requests, as in: zor diff tools/weaver/1.9 --with tools/weaver\n", 2);
}

TEST(Diff, TellsWhatIsNotSetAndWhatGivesNothing) {
  Versions versions;
  versions.Product("C/none/1/1", Delete("NEW") + Delete("GONE"));
  versions.File("C/empty/1/1", "product.xml",
                ProductXml("<VARIETY><VAR n='k' v='1'/><SEGMENT here='1'/></VARIETY>"));
  versions.File("C/empty/1/1", "partlist.xml", PartListXml(""));
  const std::string silent = "zor: no variety of C/empty/1/1 has k=2; there are 1\n";
  Expect(versions.Run({"C/Q", "--with", "C/none"}, {"GONE=x"}),
         "--- C/Q\n+++ C/none\nProducts:\n  - C/Q/1/1\n  + C/none/1/1\n"
         "GONE (is not set):\n  - x\nLIST (is not set):\n  - z  C/Q/1/1/env.xml:2:1\n",
         "", 1);
  Expect(versions.Run({"C/empty[k=2]"}), "", silent, 0);
  const RunResult json = versions.Run({"C/Q", "--json"}, {"LIST=a"});
  ExpectValid(json.out, "diff");
  EXPECT_EQ(0u, json.out.find("{\n  \"version\": 1,\n  \"first\": {\n    \"title\": \"the present "
                              "environment\",\n    \"root\": null\n  },\n"))
      << json.out;
}

TEST(Diff, SidesStateWhatTheyMean) {
  const Versions versions;
  const std::string lock =
      versions.Write("one.lock", Zor({"lock", "C/P/1"}, {"ZORROOT=" + versions.Root()}).out);
  const std::string taken =
      "zor: a lock takes the place of a request, so name no product with it\n";
  const std::string which =
      "zor: say which two requests, as in: zor diff tools/weaver/1.9 --with tools/weaver\n";
  Expect(versions.Run({"--locked", lock, "C/P", "--with", "C/P/1"}), "", taken, 2);
  Expect(versions.Run({"--with", "--locked", lock}), "", which, 2);
  Expect(versions.Run({"C/P", "--with", "C/P", "-r"}), "",
         "zor: -r needs the root of a warehouse\n", 2);
  Expect(versions.Run({"C/P", "--with", "--locked"}), "",
         "zor: --locked: 1 required TEXT missing\nzor diff --help tells what it takes\n", 2);
  // A lock by itself is compared with the present environment, wherever its warehouse is now.
  const RunResult one = versions.Run({lock});
  EXPECT_EQ(1, one.status) << one.err;
  EXPECT_EQ(0u, one.out.find("--- the present environment\n+++ " + lock + "\nLIST")) << one.out;
  EXPECT_EQ(one.out, versions.Run({"--root", versions.Root(), "--locked", lock}).out);
  EXPECT_EQ(one.out, versions.Run({lock}, {"ZORROOT=/nowhere"}).out);
}

TEST(Diff, FailsWithTheStatusOfTrouble) {
  Versions versions;
  versions.Product("C/shut/1/1", Remove("LIST", "z"));
  const RunResult clash = versions.Run({"C/Q", "--with", "C/Q", "C/shut"});
  EXPECT_EQ("", clash.out);
  EXPECT_EQ(0u, clash.err.find("zor: value z is both inserted and removed in environment variable "
                               "LIST\n  inserted by C/Q/1/1 ("))
      << clash.err;
  EXPECT_EQ(2, clash.status);
}

TEST(Diff, ComparesTwoLocks) {
  const Versions versions;
  const auto lock = [&](const std::string& name, const std::string& product) {
    return versions.Write(name, Zor({"lock", product}, {"ZORROOT=" + versions.Root()}).out);
  };
  const std::string first = lock("first.lock", "C/P/1");
  const std::string second = lock("second.lock", "C/P/2");
  const std::string head =
      "--- " + first + "\n+++ " + second +
      "\nProducts:\n  - C/P/1/1\n  + C/P/2/1\nData files:\n"
      "  removed C/P/1/1/env.xml\n  removed C/P/1/1/partlist.xml\n  removed C/P/1/1/product.xml\n"
      "  added C/P/2/1/env.xml\n  added C/P/2/1/partlist.xml\n  added C/P/2/1/product.xml\n";
  Expect(versions.Run({first, second}, {"OLD=x:y"}), head + versions.Variables(), "", 1);
  Expect(versions.Run({"--locked", second, "--with", "C/P"}), "", "", 0);
  // The files of the first are not what they were.
  versions.Write("root/C/P/1/1/env.xml", EnvXml(""));
  const std::string changed = "zor: " + first + " does not hold any more in " + versions.Root() +
                              ", so its environment can't be computed:\n"
                              "zor:   changed: C/P/1/1/env.xml\n";
  Expect(versions.Run({first, "--with", second}), head, changed, 1);
  const RunResult json = versions.Run({"--json", first, second});
  ExpectValid(json.out, "diff");
  EXPECT_NE(std::string::npos, json.out.find("\"computed\": false")) << json.out;
  const std::string again = lock("again.lock", "C/P/1");
  Expect(versions.Run({first, again}),
         "--- " + first + "\n+++ " + again + "\nData files:\n  changed C/P/1/1/env.xml\n", changed,
         1);
  // Those of the second are read all the same.
  const RunResult turned = versions.Run({second, first});
  EXPECT_EQ(0u,
            turned.out.find("--- " + second + "\n+++ " + first +
                            "\nProducts:\n  + C/P/1/1\n  - C/P/2/1\nData files:\n  added C/P/1/1/"))
      << turned.out;
  EXPECT_EQ(changed, turned.err);
  EXPECT_EQ(1, turned.status);
  // What the same pins led to was the same.
  Expect(versions.Run({first, first}), "", changed + changed, 0);
}

TEST(Diff, ComparesTwoWarehouses) {
  const Versions versions;
  std::filesystem::copy(versions.Root(), versions / "other",
                        std::filesystem::copy_options::recursive);
  const std::vector<std::string> words = {"C/P/1", "--with", "-r", versions / "other"};
  // The elements below the roots differ, and mean the same.
  Expect(versions.Run(words), "", "", 0);
  versions.Write("other/C/P/1/1/env.xml",
                 EnvXml("\n" + Insert("PATH", "%(BASE-CNVR)/lib") + Insert("LIST", "a")));
  Expect(versions.Run(words),
         "--- C/P/1\n+++ -r " + (versions / "other") +
             " C/P/1\nLIST:\n  - b  C/P/1/1/env.xml:4:1\n"
             "PATH:\n  - %(BASE-DIRECTORY)/C/P/1/1/bin  C/P/1/1/env.xml:2:1\n"
             "  + %(BASE-DIRECTORY)/C/P/1/1/lib  C/P/1/1/env.xml:2:1\n",
         "", 1);
}

TEST(Diff, LeavesOpenWhatItCanNotCompute) {
  const Versions versions;
  std::filesystem::copy(versions.Root(), versions / "other",
                        std::filesystem::copy_options::recursive);
  const auto lock = [&](const std::string& name, const std::string& root) {
    return versions.Write(name, Zor({"lock", "-r", root, "C/P/1"}).out);
  };
  const std::string first = lock("first.lock", versions.Root());
  const std::string other = lock("other.lock", versions / "other");
  versions.Write("root/C/P/1/1/env.xml", EnvXml(""));
  const auto run = [&](const std::vector<std::string>& words) { return Zor(words); };
  Expect(run({"diff", first, other}), "",
         "zor: the two locks are alike, but the files that they name are not what they were\n"
         "zor: " +
             first + " does not hold any more in " + versions.Root() +
             ", so its environment can't be computed:\nzor:   changed: C/P/1/1/env.xml\n",
         2);
  // A file that is no lock is no more than a word.
  const std::string plain = versions.Write("plain", "no lock");
  Expect(versions.Run({plain, "C/P"}), "",
         "zor: there is no product " + plain + " in " + versions.Root() +
             "\nzor avail lists what there is\n",
         2);
}

TEST(Diff, KnowsTheRootOnlyAsAWholeElement) {
  Versions versions;
  versions.Product("C/P/3/1", "\n" + Insert("AT", "%(BASE-DIRECTORY)") + "\n" +
                                  Insert("BESIDE", "%(BASE-DIRECTORY)-old/x"));
  std::filesystem::copy(versions.Root(), versions / "other",
                        std::filesystem::copy_options::recursive);
  Expect(versions.Run({"C/P/3", "--with", "-r", versions / "other"}),
         "--- C/P/3\n+++ -r " + (versions / "other") + " C/P/3\nBESIDE:\n  - " + versions.Root() +
             "-old/x  C/P/3/1/env.xml:3:1\n  + " + (versions / "other") +
             "-old/x  C/P/3/1/env.xml:3:1\n",
         "", 1);
}

TEST(Diff, TellsOfOldRecipes) {
  Versions versions;
  versions.Product("C/old/1/1");
  std::filesystem::remove(versions.Root() + "/C/old/1/1/env.xml");
  versions.File("C/old/1/1", "setup.xml",
                RecipeXml("\n<SETENV op='append' name='LIST' value='r'/>"));
  Expect(versions.Run({"C/old"}, {"LIST=a"}),
         "--- the present environment\n+++ C/old\nLIST:\n  + r  C/old/1/1/setup.xml:2:1\n", "", 1);
}

// The words of the example that --help of a command ends with.
std::vector<std::string> ExampleOf(const std::string& command) {
  const std::string help = Zor({command, "--help"}).out;
  const std::size_t at = help.find("Example:\n  zor ");
  EXPECT_NE(std::string::npos, at) << help;
  std::vector<std::string> words;
  std::istringstream line(help.substr(at + 15, help.find('\n', at + 15) - at - 15));
  for (std::string word; line >> word;)
    words.push_back(word);
  return words;
}

TEST(Help, ExamplesOfCommandsForWarehousesRun) {
  for (const char* command : {"graph", "impact", "undo-file"})
    EXPECT_EQ(0, ZorOnExamples(ExampleOf(command)).status) << command;
  // The two versions differ.
  EXPECT_EQ(1, ZorOnExamples(ExampleOf("diff")).status);
  Warehouse warehouse;
  EXPECT_EQ(0, Zor(ExampleOf("new"), {"ZORROOT=" + warehouse.Root()}).status);
}

}  // namespace
