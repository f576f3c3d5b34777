#include "traverse.h"
#include "caller.h"

#include <string>
#include <vector>

#include "read_support.h"

namespace {

std::string Product(const std::string& name, const std::string& rest = "") {
  return "<PRODUCT category='c' name='" + name + "' version='1' rev='0'><PATTERN/>" + rest +
         "</PRODUCT>";
}

std::string PartsList(const std::string& parts, const std::string& pattern = "<PATTERN/>") {
  return "<PARTLIST><PARTSPEC>" + pattern + "<PARTS>" + parts + "</PARTS></PARTSPEC></PARTLIST>";
}

// A variety of that name which is here, with the variables given as elements.
std::string Here(const std::string& name, const std::string& vars = "") {
  return "<VARIETY name='" + name + "'>" + vars + "<SEGMENT host='h' here='1'/></VARIETY>";
}

// A warehouse on disk and its index.
struct Warehouse {
  TemporaryTree tree;
  WH_INDEX* index;

  Warehouse() {
    Text base(tree.path());
    index = index_open(base);
  }
  ~Warehouse() { index_close(index); }

  // c/name/1/0
  void Add(const std::string& name, const std::string& varieties, const std::string& partlist) {
    tree.Write("c/" + name + "/1/0/product.xml", "<VARIETIES>" + varieties + "</VARIETIES>");
    tree.Write("c/" + name + "/1/0/partlist.xml", partlist);
  }

  WH_PRODUCT_SPEC* Query(const char* name, Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    Error err;
    WH_PRODUCT_QUERY* query = make_query(Prodname("c", name, "1", "0"), nullptr, 0);
    WH_PRODUCT_SPEC* spec = query_product(&err, index, query, nullptr);
    EXPECT_EQ("", err.text());
    free_query(&query);
    return spec;
  }
};

// What the callbacks were called with.
std::vector<std::string>* calls;

void NoteFile(WH_CALL_ENV*, WH_FILE_PART* part) {
  calls->push_back("file " + Str(part->file));
}

void NoteSpec(WH_CALL_ENV*, WH_PRODUCT_SPEC* spec) {
  calls->push_back("spec " + Fields(spec->product->prodinfo->prodname));
}

void NoteVariety(WH_CALL_ENV*, WH_VARIETY* variety, WH_PRODUCT* product) {
  EXPECT_EQ(1, variety->visited);
  calls->push_back(Str(product->prodinfo->prodname->name) + "." + Str(variety->name));
}

void InSpec(WH_CALL_ENV* env, WH_PRODUCT_SPEC* spec);

// The walk of a user: parts first.
void InVariety(WH_CALL_ENV* env, WH_VARIETY* variety, WH_PRODUCT* product) {
  calls->push_back("enter " + Str(product->prodinfo->prodname->name) + "." + Str(variety->name));
  wh_traverse_partlist(env, product->partlist, variety, NoteFile, InSpec);
  calls->push_back("leave " + Str(product->prodinfo->prodname->name) + "." + Str(variety->name));
}

void InSpec(WH_CALL_ENV* env, WH_PRODUCT_SPEC* spec) {
  wh_traverse_spec(env->index, spec, InVariety, env->errorfunc, env->source, env->state);
}

struct Calls {
  std::vector<std::string> list;
  Calls() { calls = &list; }
  ~Calls() { calls = nullptr; }
};

using Strings = std::vector<std::string>;

Strings Walk(Warehouse* warehouse, const char* name, WH_VAR_FUNC* func) {
  Calls noted;
  index_unvisit(warehouse->index);
  WH_PRODUCT_SPEC* spec = warehouse->Query(name);
  wh_traverse_spec(warehouse->index, spec, func, Reports::Collect, FWT("env.xml"), nullptr);
  free_spec(&spec);
  return noted.list;
}

TEST(TraverseSpec, CallsBackForEachCompleteVarietyInOrder) {
  Warehouse warehouse;
  warehouse.Add("a", Here("one") + Here("two") + Here("three"), "<PARTLIST/>");
  EXPECT_EQ((Strings{"a.one", "a.two", "a.three"}), Walk(&warehouse, "a", NoteVariety));
}

TEST(TraverseSpec, PassesOverAnIncompleteVarietyWithoutAMessage) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("a",
                "<VARIETY name='none'/>"
                "<VARIETY name='half'><SEGMENT here='1'/><SEGMENT here='0'/></VARIETY>" +
                    Here("whole"),
                PartsList("<FILE name='f'/>"));
  EXPECT_EQ((Strings{"enter a.whole", "file f", "leave a.whole"}),
            Walk(&warehouse, "a", InVariety));
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(TraverseSpec, TwoSpecsWithOneVarietyCallBackOnceWhileItIsMarked) {
  Warehouse warehouse;
  warehouse.Add("a", Here("v"), "<PARTLIST/>");
  Calls noted;
  WH_PRODUCT_SPEC* one = warehouse.Query("a");
  WH_PRODUCT_SPEC* two = warehouse.Query("a");
  auto walk = [&](WH_PRODUCT_SPEC* spec) {
    wh_traverse_spec(warehouse.index, spec, NoteVariety, nullptr, FWT("env.xml"), nullptr);
  };
  walk(one);
  walk(two);
  EXPECT_EQ((Strings{"a.v"}), noted.list);
  index_unvisit(warehouse.index);
  walk(two);
  EXPECT_EQ((Strings{"a.v", "a.v"}), noted.list);
  free_spec(&one);
  free_spec(&two);
}

WH_CALL_ENV seen_env;
std::string seen_source;
std::string seen_name;

void NoteEnv(WH_CALL_ENV* env, WH_VARIETY*, WH_PRODUCT*) {
  seen_env = *env;
  seen_source = Str(env->symtab->source);
  seen_name = Str(symtab_lookup(FWT("THIS-NAME"), env->symtab, 9));
}

TEST(TraverseSpec, FillsTheCallersEnvironment) {
  Warehouse warehouse;
  warehouse.Add("a", Here("v"), "<PARTLIST/>");
  WH_PRODUCT_SPEC* spec = warehouse.Query("a");
  FwTextString word = FWT("unenv.xml");
  int state = 0;
  wh_traverse_spec(warehouse.index, spec, NoteEnv, Reports::Collect, word, &state);
  EXPECT_EQ(warehouse.index, seen_env.index);
  EXPECT_EQ(word, seen_env.source);
  EXPECT_EQ(&Reports::Collect, seen_env.errorfunc);
  EXPECT_EQ(&state, seen_env.state);
  EXPECT_EQ("c/a/1/0/unenv.xml", seen_source);
  EXPECT_EQ("a", seen_name);
  free_spec(&spec);
}

TEST(TraversePartlist, CallsBackForEachPartInFileOrder) {
  Warehouse warehouse;
  warehouse.Add("b", Here("vb"), "<PARTLIST/>");
  warehouse.Add("d", Here("vd1") + Here("vd2"), PartsList("<FILE name='fd'/>"));
  warehouse.Add("a", Here("va"),
                PartsList("<FILE name='f1'/>" + Product("d") + "<FILE name='f2'/>" + Product("b")));
  EXPECT_EQ(
      (Strings{"enter a.va", "file f1", "enter d.vd1", "file fd", "leave d.vd1", "enter d.vd2",
               "file fd", "leave d.vd2", "file f2", "enter b.vb", "leave b.vb", "leave a.va"}),
      Walk(&warehouse, "a", InVariety));
}

TEST(TraversePartlist, TakesOnlyThePartSpecsThatTheVarietyMeets) {
  Warehouse warehouse;
  warehouse.Add(
      "a", Here("x", "<VAR n='kind' v='x'/>") + Here("y", "<VAR n='kind' v='y'/>"),
      "<PARTLIST>"
      "<PARTSPEC><PATTERN><MATCH><VAR n='kind' v='x'/></MATCH></PATTERN><PARTS><FILE name='fx'/>"
      "</PARTS></PARTSPEC>"
      "<PARTSPEC><PATTERN/><PARTS><FILE name='all'/></PARTS></PARTSPEC>"
      "<PARTSPEC><PATTERN host='nowhere'><MATCH><VAR n='kind' v='y'/></MATCH></PATTERN><PARTS>"
      "<FILE name='fy'/></PARTS></PARTSPEC>"
      "</PARTLIST>");
  EXPECT_EQ((Strings{"enter a.x", "file fx", "file all", "leave a.x", "enter a.y", "file all",
                     "file fy", "leave a.y"}),
            Walk(&warehouse, "a", InVariety));
}

TEST(TraversePartlist, ProductsThatIncludeEachOtherComeToAnEnd) {
  Warehouse warehouse;
  warehouse.Add("a", Here("v"), PartsList(Product("b")));
  warehouse.Add("b", Here("v"), PartsList(Product("a") + Product("b")));
  EXPECT_EQ((Strings{"enter a.v", "enter b.v", "leave b.v", "leave a.v"}),
            Walk(&warehouse, "a", InVariety));
}

// Walks the part list of product a's first variety by itself.
Strings WalkParts(Warehouse* warehouse, WH_FILE_FUNC* file_func, WH_SPEC_FUNC* spec_func,
                  Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  Calls noted;
  WH_PRODUCT_SPEC* spec = warehouse->Query("a");
  WH_PRODUCT* product = spec->product;
  auto* variety = static_cast<WH_VARIETY*>(FwVectorGetElement(&spec->varieties->seq, 0));
  WH_SYMTAB* symtab = symtab_from_prodname(product->prodinfo->prodname, FWT("env.xml"));
  const int contexts = FwVectorLength(&symtab->contexts);
  WH_CALL_ENV env{warehouse->index, symtab, FWT("env.xml"), Reports::Collect, nullptr};
  wh_traverse_partlist(&env, product->partlist, variety, file_func, spec_func);
  EXPECT_EQ(contexts, FwVectorLength(&symtab->contexts));
  free_symtab(&symtab);
  free_spec(&spec);
  return noted.list;
}

TEST(TraversePartlist, EitherFunctionMayBeNull) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("b", Here("v"), "<PARTLIST/>");
  warehouse.Add("a", Here("v"), PartsList("<FILE name='f'/>" + Product("b")));
  EXPECT_EQ((Strings{"file f"}), WalkParts(&warehouse, NoteFile, nullptr));
  EXPECT_EQ((Strings{"spec c|b|1|0"}), WalkParts(&warehouse, nullptr, NoteSpec));
  EXPECT_EQ(Strings{}, WalkParts(&warehouse, nullptr, nullptr));
  EXPECT_EQ(Strings{}, reports.lines());
}

// Notes what the spec holds before and behind a walk of its first variety's parts.
void NoteSpecTwice(WH_CALL_ENV* env, WH_PRODUCT_SPEC* spec) {
  auto* variety = static_cast<WH_VARIETY*>(FwVectorGetElement(&spec->varieties->seq, 0));
  auto note = [&](std::string line) {
    line += Str(spec->product->prodinfo->prodname->name) + std::to_string(spec->toplevel);
    for (int i = 0; i < FwVectorLength(&spec->varieties->seq); i++)
      line +=
          " " + Str(static_cast<WH_VARIETY*>(FwVectorGetElement(&spec->varieties->seq, i))->name);
    calls->push_back(line);
  };
  note("before ");
  spec->toplevel++;
  wh_traverse_partlist(env, spec->product->partlist, variety, nullptr, NoteSpecTwice);
  note("behind ");
}

TEST(TraversePartlist, ASpecStaysItsCallbacksWhileOthersAreAskedFor) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("a", Here("v"), PartsList(Product("b") + Product("c")));
  warehouse.Add("b", Here("x") + Here("y"), PartsList(Product("c") + Product("d")));
  warehouse.Add("c", Here("z"), PartsList(Product("d")));
  warehouse.Add("d", Here("s") + Here("t") + Here("u"), "<PARTLIST/>");
  const Strings expected = {"before b0 x y",   "before c0 z",     "before d0 s t u",
                            "behind d1 s t u", "behind c1 z",     "before d0 s t u",
                            "behind d1 s t u", "behind b1 x y",   "before c0 z",
                            "before d0 s t u", "behind d1 s t u", "behind c1 z"};
  // The second time all products are loaded, and all answers were lent before.
  EXPECT_EQ(expected, WalkParts(&warehouse, nullptr, NoteSpecTwice));
  EXPECT_EQ(expected, WalkParts(&warehouse, nullptr, NoteSpecTwice));
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(TraversePartlist, WithoutASpecFunctionNoProductIsQueried) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("a", Here("v"), PartsList(Product("absent")));
  EXPECT_EQ(Strings{}, WalkParts(&warehouse, NoteFile, nullptr));
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(TraversePartlist, AnIncompleteVarietyHasNoParts) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("a", "<VARIETY name='v'/>", PartsList("<FILE name='f'/>" + Product("absent")));
  EXPECT_EQ(Strings{}, WalkParts(&warehouse, NoteFile, NoteSpec));
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(TraversePartlist, AProductWithOnlyANameIsASibling) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("b", Here("v"), "<PARTLIST/>");
  warehouse.Add("a", Here("v"), PartsList("<PRODUCT name='b'><PATTERN/></PRODUCT>"));
  EXPECT_EQ((Strings{"spec c|b|1|0"}), WalkParts(&warehouse, nullptr, NoteSpec));
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(TraversePartlist, AQueryMayUseTheVariablesOfTheVariety) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("b", Here("x", "<VAR n='kind' v='x'/>") + Here("y", "<VAR n='kind' v='y'/>"),
                "<PARTLIST/>");
  warehouse.Add("a", Here("v", "<VAR n='kind' v='y'/><VAR n='part' v='b'/>"),
                PartsList("<PRODUCT name='%(part)'><PATTERN><MATCH><VAR n='kind' v='%(kind)'/>"
                          "</MATCH></PATTERN></PRODUCT>"));
  EXPECT_EQ((Strings{"enter a.v", "enter b.y", "leave b.y", "leave a.v"}),
            Walk(&warehouse, "a", InVariety));
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(TraversePartlist, AQueryThatFailsIsReportedAndTheWalkGoesOn) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("bad", "<VARIETY>", "<PARTLIST/>");
  warehouse.Add("b", Here("v"), "<PARTLIST/>");
  warehouse.Add(
      "a", Here("v"),
      PartsList(Product("bad") + "<PRODUCT name='%(NOPE)'><PATTERN/></PRODUCT>" + Product("b")));
  EXPECT_EQ((Strings{"spec c|b|1|0"}), WalkParts(&warehouse, nullptr, NoteSpec));
  const std::string bad =
      "*** mismatched tag in File " + (warehouse.tree / "c/bad/1/0/product.xml");
  // The load of a product reports its fault twice.
  EXPECT_EQ(
      (Strings{bad, bad, "*** Error: % variable NOPE is not defined in File c/a/1/0/env.xml"}),
      reports.lines());
}

TEST(TraversePartlist, AnOptionalPartMayBeMissing) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("a", Here("v"),
                PartsList("<PRODUCT name='absent' optional='1'><PATTERN/></PRODUCT>"));
  EXPECT_EQ(Strings{}, WalkParts(&warehouse, nullptr, NoteSpec));
  EXPECT_EQ(Strings{}, reports.lines());
}

// The queries run for every includer, also when the part was visited before.
TEST(TraversePartlist, AFaultyPartIsReportedForEachIncluder) {
  Warehouse warehouse;
  Reports reports;
  warehouse.Add("bad", "<VARIETY>", "<PARTLIST/>");
  warehouse.Add("b", Here("v"), PartsList(Product("bad")));
  warehouse.Add("a", Here("v"), PartsList(Product("b") + Product("bad")));
  EXPECT_EQ((Strings{"enter a.v", "enter b.v", "leave b.v", "leave a.v"}),
            Walk(&warehouse, "a", InVariety));
  EXPECT_EQ(4u, reports.lines().size());
}

char* deepest;

void InDeepSpec(WH_CALL_ENV* env, WH_PRODUCT_SPEC* spec);

void InDeepVariety(WH_CALL_ENV* env, WH_VARIETY* variety, WH_PRODUCT* product) {
  deepest = static_cast<char*>(__builtin_frame_address(0));
  ++*static_cast<int*>(env->state);
  wh_traverse_partlist(env, product->partlist, variety, nullptr, InDeepSpec);
}

void InDeepSpec(WH_CALL_ENV* env, WH_PRODUCT_SPEC* spec) {
  wh_traverse_spec(env->index, spec, InDeepVariety, env->errorfunc, env->source, env->state);
}

// What one more part costs is the same at every depth, so a short chain tells.
TEST(TraverseSpec, AChainOfTenThousandPartsFitsTheStack) {
  const int kLength = 200;
  Warehouse warehouse;
  for (int i = 0; i < kLength; ++i)
    warehouse.Add(
        "p" + std::to_string(i), Here("v"),
        i + 1 < kLength ? PartsList(Product("p" + std::to_string(i + 1))) : "<PARTLIST/>");
  WH_PRODUCT_SPEC* spec = warehouse.Query("p0");
  int visited = 0;
  wh_traverse_spec(warehouse.index, spec, InDeepVariety, nullptr, FWT("env.xml"), &visited);
  EXPECT_EQ(kLength, visited);
  auto* top = static_cast<char*>(__builtin_frame_address(0));
  EXPECT_LT((top - deepest) / kLength * 10000, 7 << 20);
  RecordProperty("bytes_per_part", static_cast<int>((top - deepest) / kLength));
  free_spec(&spec);
}

}  // namespace
