#include <string>
#include <vector>

#include "caller.h"
#include "environ.h"
#include "read_support.h"
#include "recipe.h"
#include "recorder.h"

namespace {

using Strings = std::vector<std::string>;

std::string Value(WH_ENVIRON* env, const char* name) {
  FwTextString value = wh_lookup_ev(FWT(name), env);
  return value == nullptr ? "(absent)" : Str(value);
}

// ---- One command --------------------------------------------------------------------------------

TEST(EmulateSetenv, DoesEachOperationOnItsVariable) {
  struct Row {
    const char* before;  // null: absent
    const char* op;
    const char* value;
    const char* after;
  };
  const Row rows[] = {
      {nullptr, "set", "v", "v"},
      {"old", "set", "v", "v"},
      {"old", "set", "", ""},
      {"old", "SET", "v", "v"},
      {"old", "delete", "v", "(absent)"},
      {nullptr, "delete", "v", "(absent)"},
      {"old", "Delete", nullptr, "(absent)"},
      {nullptr, "append", "v", "v"},
      {"a:b", "append", "v", "a:b:v"},
      {"v:a:v:b", "append", "v", "a:b:v"},
      {"a:b", "APPEND", "v", "a:b:v"},
      {nullptr, "prepend", "v", "v"},
      {"a:b", "prepend", "v", "v:a:b"},
      {"a:v:b", "prepend", "v", "v:a:b"},
      {"v", "unappend", "v", ""},
      {nullptr, "unappend", "v", ""},
      {"a:v:b:v", "unappend", "v", "a:b"},
      {"a:b", "unappend", "v", "a:b"},
      {"a:v:b", "unprepend", "v", "a:b"},
      {nullptr, "unprepend", "v", ""},
      // Splitting loses empty elements.
      {"a::b:", "append", "v", "a:b:v"},
      {":", "unappend", "v", ""},
      {"", "append", "v", "v"},
      // The value is one element, whatever it holds.
      {"a:b", "append", "a:b", "a:b:a:b"},
      {"a;b", "append", "b", "a;b:b"},
      {"A", "append", "a", "A:a"},
      // Without a value nothing is set, or the list stays as it is.
      {"old", "set", nullptr, "old"},
      {nullptr, "set", nullptr, "(absent)"},
      {"a::b", "append", nullptr, "a:b"},
      {nullptr, "prepend", nullptr, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.before << " " << row.op << " " << row.value);
    CollectReports reports;
    WH_ENVIRON* env = make_environ();
    if (row.before != nullptr) wh_set_ev(env, FWT("N"), FWT(row.before));
    WH_SETENV setenv = {FWT(row.op), FWT("N"), row.value ? FWT(row.value) : nullptr, nullptr};
    Error err;
    emulate_setenv(&err, &setenv, env);
    EXPECT_EQ(row.after, Value(env, "N")) << row.op << " " << (row.before ? row.before : "(null)");
    EXPECT_EQ(nullptr, err.pError);
    EXPECT_EQ(Strings{}, reports.asserts());
    free_environ(&env);
  }
}

TEST(EmulateSetenv, WithoutATableDoesNothing) {
  WH_SETENV setenv = {FWT("set"), FWT("N"), FWT("v"), nullptr};
  Error err;
  emulate_setenv(&err, &setenv, nullptr);
  EXPECT_EQ(nullptr, err.pError);
}

TEST(EmulateSetenv, WithoutANameChangesNothing) {
  for (const char* op : {"set", "delete", "append", "unprepend"}) {
    CollectReports reports;
    WH_ENVIRON* env = make_environ();
    wh_set_ev(env, FWT("N"), FWT("old"));
    WH_SETENV setenv = {FWT(op), nullptr, FWT("v"), nullptr};
    Error err;
    emulate_setenv(&err, &setenv, env);
    EXPECT_EQ("old", Value(env, "N")) << op;
    EXPECT_EQ(1u, env->variables->nUsedEntries) << op;
    EXPECT_EQ(nullptr, err.pError) << op;
    EXPECT_EQ(Strings{}, reports.asserts()) << op;
    free_environ(&env);
  }
}

// ---- Whole products -----------------------------------------------------------------------------

const char kSetup[] = "setup.xml";
const char kUnset[] = "unset.xml";

std::string Recipe(const std::string& commands, const std::string& pattern = "<PATTERN/>") {
  return "<RECIPE><STEP>" + pattern + commands + "</STEP></RECIPE>";
}

std::string Setenv(const std::string& op, const std::string& name, const std::string& value,
                   const std::string& context = "user") {
  return "<SETENV op='" + op + "' name='" + name + "' value='" + value + "' context='" + context +
         "'/>";
}

// A warehouse with the products c/NAME/1/0, and a replay of its recipes.
struct Warehouse {
  TemporaryTree tree;
  WH_INDEX* index;
  WH_ENVIRON* env = make_environ();
  Strings reports;

  Warehouse() {
    Text base(tree.path());
    index = index_open(base);
  }
  ~Warehouse() {
    index_close(index);
    free_environ(&env);
  }

  void Write(const std::string& name, const std::string& file, const std::string& content) {
    tree.Write("c/" + name + "/1/0/" + file, content);
  }

  void Add(const std::string& name, const std::string& parts = "",
           const std::string& vars = "<VAR n='kind' v='x'/>") {
    Write(name, "product.xml",
          "<VARIETIES><VARIETY>" + vars + "<SEGMENT here='1'/></VARIETY></VARIETIES>");
    Write(name, "partlist.xml",
          "<PARTLIST><PARTSPEC><PATTERN/><PARTS>" + parts + "</PARTS></PARTSPEC></PARTLIST>");
  }

  void Replay(std::vector<const char*> names, int set = 1, Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    Reports collected;
    Error err;
    WH_PRODUCT_QUERY_LIST* queries = make_querylist();
    for (const char* name : names)
      add_query(queries, make_query(Prodname("c", name, "1", "0"), nullptr, 0));
    WH_PRODUCT_SPEC_LIST* specs = query_products(&err, index, queries, nullptr);
    EXPECT_EQ("", err.text());
    WH_CONTEXT* context = make_context(make_cv(FWT("BASE-DIRECTORY"), FWT("/base"), nullptr));
    wh_legacy_setenv(index, env, specs, context, Reports::Collect, set);
    free_context(&context);
    free_speclist(&specs);
    free_querylist(&queries);
    reports = collected.lines();
  }
};

TEST(LegacySetenv, ReplaysTheCommandsInOrder) {
  Warehouse warehouse;
  warehouse.Add("a");
  warehouse.Write(
      "a", kSetup,
      Recipe(Setenv("set", "N", "1") + "<CMD>not run</CMD>" + Setenv("append", "N", "2") +
             Setenv("prepend", "N", "0", "all") + Setenv("set", "M", "%(BASE-CNVR)/bin %(kind)")));
  warehouse.Replay({"a"});
  EXPECT_EQ("0:1:2", Value(warehouse.env, "N"));
  EXPECT_EQ("/base/c/a/1/0/bin x", Value(warehouse.env, "M"));
  EXPECT_EQ(Strings{}, warehouse.reports);
}

TEST(LegacySetenv, ReadsUnsetToUndo) {
  Warehouse warehouse;
  warehouse.Add("a");
  warehouse.Write("a", kSetup, Recipe(Setenv("set", "N", "setup")));
  warehouse.Write("a", kUnset, Recipe(Setenv("delete", "N", "")));
  warehouse.Write("a", "prep.xml", Recipe(Setenv("set", "P", "prep")));
  warehouse.Replay({"a"});
  EXPECT_EQ("setup", Value(warehouse.env, "N"));
  warehouse.Replay({"a"}, 0);
  EXPECT_EQ("(absent)", Value(warehouse.env, "N"));
  EXPECT_EQ("(absent)", Value(warehouse.env, "P"));
}

TEST(LegacySetenv, AProductsPartsActBeforeIt) {
  Warehouse warehouse;
  warehouse.Add("part");
  warehouse.Write("part", kSetup, Recipe(Setenv("append", "N", "part")));
  warehouse.Add("a", "<PRODUCT name='part'><PATTERN/></PRODUCT>");
  warehouse.Write("a", kSetup, Recipe(Setenv("append", "N", "whole")));
  warehouse.Replay({"a", "part"});
  EXPECT_EQ("part:whole", Value(warehouse.env, "N"));
  EXPECT_EQ(Strings{}, warehouse.reports);
}

TEST(LegacySetenv, AProductWithEitherNewFileContributesNothing) {
  const char* settings = "<ENV-SETTINGS/>";
  for (const char* file : {"env.xml", "unenv.xml"}) {
    Warehouse warehouse;
    warehouse.Add("a");
    warehouse.Write("a", kSetup, Recipe(Setenv("set", "N", "v")));
    warehouse.Write("a", kUnset, Recipe(Setenv("set", "N", "v")));
    warehouse.Write("a", file, settings);
    warehouse.Replay({"a"});
    warehouse.Replay({"a"}, 0);
    EXPECT_EQ("(absent)", Value(warehouse.env, "N")) << file;
    EXPECT_EQ(Strings{}, warehouse.reports) << file;
  }
}

// The new files of a product say nothing about its parts.
TEST(LegacySetenv, ThePartsOfAProductWithNewFilesStillContribute) {
  Warehouse warehouse;
  warehouse.Add("part");
  warehouse.Write("part", kSetup, Recipe(Setenv("set", "N", "part")));
  warehouse.Add("a", "<PRODUCT name='part'><PATTERN/></PRODUCT>");
  warehouse.Write("a", "env.xml", "<ENV-SETTINGS/>");
  warehouse.Replay({"a"});
  EXPECT_EQ("part", Value(warehouse.env, "N"));
}

TEST(LegacySetenv, AStepIsTakenIfTheVarietyMeetsItsExpandedPattern) {
  auto pattern = [](const std::string& value) {
    return "<PATTERN><MATCH><VAR n='kind' v='" + value + "'/></MATCH></PATTERN>";
  };
  Warehouse warehouse;
  warehouse.Add("a", "", "<VAR n='kind' v='x'/><VAR n='same' v='x'/>");
  warehouse.Write("a", kSetup,
                  "<RECIPE><STEP>" + pattern("y") + Setenv("set", "Y", "1") + "</STEP><STEP>" +
                      pattern("x") + Setenv("set", "X", "1") + "</STEP><STEP>" +
                      pattern("%(same)") + Setenv("set", "SAME", "1") + "</STEP></RECIPE>");
  warehouse.Replay({"a"});
  EXPECT_EQ("(absent)", Value(warehouse.env, "Y"));
  EXPECT_EQ("1", Value(warehouse.env, "X"));
  EXPECT_EQ("1", Value(warehouse.env, "SAME"));
}

TEST(LegacySetenv, APatternThatDoesNotExpandEndsItsStepAlone) {
  Warehouse warehouse;
  warehouse.Add("a");
  warehouse.Write("a", kSetup,
                  "<RECIPE><STEP><PATTERN><MATCH><VAR n='kind' v='%(NOPE)'/></MATCH></PATTERN>" +
                      Setenv("set", "N", "1") + "</STEP><STEP><PATTERN/>" +
                      Setenv("set", "M", "2") + "</STEP></RECIPE>");
  warehouse.Replay({"a"});
  EXPECT_EQ("(absent)", Value(warehouse.env, "N"));
  EXPECT_EQ("2", Value(warehouse.env, "M"));
  // Kept: the message names the newer file, though the older one was read.
  EXPECT_EQ((Strings{"*** Error: % variable NOPE is not defined in File c/a/1/0/env.xml"}),
            warehouse.reports);
}

TEST(LegacySetenv, AfterAFaultNoFurtherCommandOfTheStepIsCarriedOut) {
  Warehouse warehouse;
  warehouse.Add("a");
  warehouse.Write("a", kUnset,
                  "<RECIPE><STEP><PATTERN/>" + Setenv("set", "ONE", "1") +
                      Setenv("set", "TWO", "%(FIRST)") + Setenv("set", "THREE", "3") +
                      Setenv("set", "FOUR", "%(LAST)") + "</STEP><STEP><PATTERN/>" +
                      Setenv("set", "FIVE", "5") + "</STEP></RECIPE>");
  warehouse.Replay({"a"}, 0);
  EXPECT_EQ("1", Value(warehouse.env, "ONE"));
  EXPECT_EQ("(absent)", Value(warehouse.env, "TWO"));
  EXPECT_EQ("(absent)", Value(warehouse.env, "THREE"));
  EXPECT_EQ("(absent)", Value(warehouse.env, "FOUR"));
  EXPECT_EQ("5", Value(warehouse.env, "FIVE"));
  EXPECT_EQ((Strings{"*** Error: % variable LAST is not defined in File c/a/1/0/unenv.xml"}),
            warehouse.reports);
}

TEST(LegacySetenv, ACommandMayBeAsBareAsTheFileAllows) {
  CollectReports reports;
  Warehouse warehouse;
  warehouse.Add("a");
  warehouse.Write("a", kSetup,
                  Recipe("<SETENV/><SETENV op='append' name='P'/><SETENV op='append' value='v'/>"
                         "<SETENV op='delete'/>"));
  warehouse.Replay({"a"});
  EXPECT_EQ("", Value(warehouse.env, "P"));
  EXPECT_EQ(1u, warehouse.env->variables->nUsedEntries);
  EXPECT_EQ(Strings{}, warehouse.reports);
  EXPECT_EQ(Strings{}, reports.asserts());
}

TEST(LegacySetenv, AnIncompleteVarietyIsPassedOver) {
  Warehouse warehouse;
  warehouse.Add("a");
  warehouse.Write("a", "product.xml", "<VARIETIES><VARIETY/></VARIETIES>");
  warehouse.Write("a", kSetup, Recipe(Setenv("set", "N", "1")));
  warehouse.Replay({"a"});
  EXPECT_EQ("(absent)", Value(warehouse.env, "N"));
  EXPECT_EQ(Strings{}, warehouse.reports);
}

TEST(LegacySetenv, AFaultyPartIsReportedAndTheProductActs) {
  Warehouse warehouse;
  warehouse.Add("a", "<PRODUCT name='bad'><PATTERN/></PRODUCT>");
  warehouse.Write("bad", "product.xml", "<VARIETIES");
  warehouse.Write("a", kSetup, Recipe(Setenv("set", "N", "1")));
  warehouse.Replay({"a"});
  EXPECT_EQ("1", Value(warehouse.env, "N"));
  const std::string bad =
      "*** unclosed token in File " + (warehouse.tree / "c/bad/1/0/product.xml");
  EXPECT_EQ((Strings{bad, bad}), warehouse.reports);
}

TEST(LegacySetenv, StartsWithAllVarietiesUnvisited) {
  Warehouse warehouse;
  warehouse.Add("a");
  warehouse.Write("a", kSetup, Recipe(Setenv("append", "N", "a")));
  warehouse.Replay({"a", "a"});
  EXPECT_EQ("a", Value(warehouse.env, "N"));
  wh_set_ev(warehouse.env, FWT("N"), FWT("b"));
  warehouse.Replay({"a"});
  EXPECT_EQ("b:a", Value(warehouse.env, "N"));
}

TEST(LegacySetenv, FollowsALongChainOfParts) {
  const int kLength = 200;
  Warehouse warehouse;
  for (int i = 0; i < kLength; ++i) {
    const std::string next = std::to_string(i + 1);
    warehouse.Add("p" + std::to_string(i),
                  i + 1 < kLength ? "<PRODUCT name='p" + next + "'><PATTERN/></PRODUCT>" : "", "");
    warehouse.Write("p" + std::to_string(i), kSetup, Recipe(Setenv("set", "N" + next, "v")));
  }
  warehouse.Replay({"p0"});
  EXPECT_EQ(static_cast<uint32>(kLength), warehouse.env->variables->nUsedEntries);
  EXPECT_EQ(Strings{}, warehouse.reports);
}

}  // namespace
