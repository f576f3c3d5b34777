#include <gtest/gtest.h>

#include <filesystem>

#include "caller.h"
#include "model_support.h"
#include "process.h"

namespace {

const char* const kNoParts = "<PARTLIST/>";
const char* const kRecipe = "<RECIPE/>";
const char* const kSettings = "<ENV-SETTINGS/>";

std::string ProductXml(const std::string& varieties) {
  return "<PRODUCT-INFO name=\"P\"><VARIETIES>" + varieties + "</VARIETIES></PRODUCT-INFO>";
}

// A variety of that name, with variables in XML.
std::string VarietyXml(const std::string& name, const std::string& vars = "") {
  return "<VARIETY name=\"" + name + "\">" + vars + "<SEGMENT here=\"1\"/></VARIETY>";
}

std::string Var(const std::string& n, const std::string& v) {
  return "<VAR n=\"" + n + "\" v=\"" + v + "\"/>";
}

class Index : public testing::Test {
 protected:
  Index() : index_(index_open(Text(tree_.path()))) {}
  ~Index() override { index_close(index_); }

  // A product c/NAME/1/0 with the two files that every product has.
  void Product(const std::string& name, const std::string& varieties = VarietyXml("v")) {
    Write(name, "product.xml", ProductXml(varieties));
    Write(name, "partlist.xml", kNoParts);
  }

  std::string Write(const std::string& name, const std::string& file, const std::string& content) {
    return tree_.Write("c/" + name + "/1/0/" + file, content);
  }

  void Remove(const std::string& name, const std::string& file) {
    std::filesystem::remove(tree_ / ("c/" + name + "/1/0/" + file));
  }

  std::string NotThere(const std::string& name, const std::string& file) {
    return "*** Error: File " + (tree_ / ("c/" + name + "/1/0/" + file)) + " Does not exist";
  }

  WH_PRODUCT* Fetch(const char* name, int optional = 0) {
    Error err;
    WH_PRODUCT_NAME* prodname = Prodname("c", name, "1", "0");
    WH_PRODUCT* product = index_fetch(&err, index_, prodname, optional);
    free_prodname(&prodname);
    error_ = err.text();
    kind_ = err.pError;
    return product;
  }

  static WH_PRODUCT_QUERY* Query(const char* name, WH_PATTERN* pattern = nullptr,
                                 int optional = 0) {
    return make_query(Prodname("c", name, "1", "0"), pattern, optional);
  }

  // The names of a spec's varieties, which is freed.
  static std::string Names(WH_PRODUCT_SPEC* spec) {
    if (spec == nullptr) return "(null)";
    std::string names;
    for (int i = 0; i < FwVectorLength(&spec->varieties->seq); i++)
      names +=
          Str(static_cast<WH_VARIETY*>(FwVectorGetElement(&spec->varieties->seq, i))->name) + " ";
    free_spec(&spec);
    return names;
  }

  std::string Varieties(decltype(query_product)* function, const char* name,
                        WH_PATTERN* pattern = nullptr) {
    Error err;
    WH_PRODUCT_QUERY* query = Query(name, pattern);
    std::string names = Names(function(&err, index_, query, nullptr));
    free_query(&query);
    error_ = err.text();
    return names;
  }

  TemporaryTree tree_;
  WH_INDEX* index_;
  std::string error_;
  FwError* kind_ = nullptr;
};

TEST_F(Index, HoldsACopyOfItsBaseAndReadsNothing) {
  Text base("/no/such/base");
  WH_INDEX* index = index_open(base);
  EXPECT_EQ("/no/such/base", Str(index->base));
  EXPECT_NE(static_cast<FwTextString>(base), index->base);
  EXPECT_EQ(20, index->entries.nCurrentAllocSize);
  EXPECT_EQ(0, FwVectorLength(&index->entries));
  index_close(index);
}

TEST_F(Index, FetchingTwiceReadsOnce) {
  Product("p");
  WH_PRODUCT* product = Fetch("p");
  ASSERT_NE(nullptr, product);
  std::filesystem::remove_all(tree_ / "c");
  EXPECT_EQ(product, Fetch("p"));
  EXPECT_EQ("", error_);
  EXPECT_EQ(1, FwVectorLength(&index_->entries));
}

TEST_F(Index, AProductNeedsOnlyItsInformationAndItsPartList) {
  Product("p");
  WH_PRODUCT* product = Fetch("p");
  ASSERT_NE(nullptr, product);
  EXPECT_EQ("", error_);
  EXPECT_EQ("c|p|1|0", Fields(product->prodinfo->prodname));
  EXPECT_NE(nullptr, product->partlist);
  for (WH_RECIPE* recipe : {product->install, product->uninstall, product->enable, product->disable,
                            product->prep, product->setup, product->unset})
    EXPECT_EQ(nullptr, recipe);
  EXPECT_EQ(nullptr, product->envset);
  EXPECT_EQ(nullptr, product->envunset);
}

TEST_F(Index, EachFileGoesIntoItsField) {
  const struct {
    const char* file;
    const char* content;
    bool (*loaded)(WH_PRODUCT*);
  } rows[] = {
      {"setup.xml", kRecipe, [](WH_PRODUCT* p) { return p->setup != nullptr; }},
      {"prep.xml", kRecipe, [](WH_PRODUCT* p) { return p->prep != nullptr; }},
      {"unset.xml", kRecipe, [](WH_PRODUCT* p) { return p->unset != nullptr; }},
      {"env.xml", kSettings, [](WH_PRODUCT* p) { return p->envset != nullptr; }},
      {"unenv.xml", kSettings, [](WH_PRODUCT* p) { return p->envunset != nullptr; }},
  };
  for (const auto& row : rows) {
    const std::string name = std::string("with-") + row.file;
    Product(name);
    Write(name, row.file, row.content);
    WH_PRODUCT* product = Fetch(name.c_str());
    ASSERT_NE(nullptr, product) << row.file << " " << error_;
    for (const auto& other : rows)
      EXPECT_EQ(other.file == row.file, other.loaded(product)) << row.file << " " << other.file;
  }
}

TEST_F(Index, FilesOfInstallingAreNotRead) {
  Product("p");
  for (const char* file : {"install.xml", "uninstall.xml", "enable.xml", "disable.xml"})
    Write("p", file, "<<<");
  tree_.Write("contents.xml", "<<<");
  EXPECT_NE(nullptr, Fetch("p"));
  EXPECT_EQ("", error_);
}

TEST_F(Index, AMalformedFileFailsTheProduct) {
  for (const char* file : {"product.xml", "partlist.xml", "setup.xml", "prep.xml", "unset.xml",
                           "env.xml", "unenv.xml"}) {
    const std::string name = std::string("bad-") + file;
    Product(name);
    const std::string path = Write(name, file, "<OPEN>");
    EXPECT_EQ(nullptr, Fetch(name.c_str())) << file;
    EXPECT_NE(std::string::npos, error_.find(path)) << error_;
    EXPECT_EQ(nullptr, Fetch(name.c_str(), 1)) << file;
    EXPECT_NE(std::string::npos, error_.find(path)) << error_;
  }
  EXPECT_EQ(0, FwVectorLength(&index_->entries));
}

TEST_F(Index, OfSeveralFaultyFilesTheFirstInOrderCounts) {
  const char* const order[] = {"product.xml", "partlist.xml", "setup.xml", "prep.xml",
                               "unset.xml",   "env.xml",      "unenv.xml"};
  Product("p");
  for (const char* file : order)
    Write("p", file, "<OPEN>");
  for (const char* file : order) {
    SCOPED_TRACE(file);
    EXPECT_EQ(nullptr, Fetch("p"));
    EXPECT_NE(std::string::npos, error_.find(std::string("/") + file)) << file << ": " << error_;
    const std::string name = file;
    Write("p", file,
          name == "product.xml"           ? ProductXml("")
          : name == "partlist.xml"        ? kNoParts
          : name.find("env") != name.npos ? kSettings
                                          : kRecipe);
  }
  EXPECT_NE(nullptr, Fetch("p"));
}

TEST_F(Index, AFailedProductIsReadAgain) {
  Product("p");
  Write("p", "env.xml", "<OPEN>");
  EXPECT_EQ(nullptr, Fetch("p"));
  EXPECT_EQ(0, FwVectorLength(&index_->entries));
  Remove("p", "env.xml");
  EXPECT_NE(nullptr, Fetch("p"));
}

TEST_F(Index, AMissingProductIsAnErrorUnlessOptional) {
  EXPECT_EQ(nullptr, Fetch("p"));
  EXPECT_EQ(NotThere("p", "product.xml"), error_);
  EXPECT_EQ(fwErrorNonExistent, kind_);
  EXPECT_EQ(nullptr, Fetch("p", 1));
  EXPECT_EQ("", error_);
}

TEST_F(Index, AMissingPartListIsAnErrorEvenIfOptional) {
  Product("p");
  Remove("p", "partlist.xml");
  EXPECT_EQ(nullptr, Fetch("p"));
  EXPECT_EQ(NotThere("p", "partlist.xml"), error_);
  EXPECT_EQ(nullptr, Fetch("p", 1));
  EXPECT_EQ(NotThere("p", "partlist.xml"), error_);
}

TEST_F(Index, ThePlusSignIsAnOrdinaryName) {
  Error err;
  WH_PRODUCT_NAME* name = Prodname("c", "p", "+", "+");
  EXPECT_EQ(nullptr, index_fetch(&err, index_, name, 0));
  EXPECT_EQ("*** Error: File " + (tree_ / "c/p/+/+/product.xml") + " Does not exist", err.text());
  free_prodname(&name);
}

TEST_F(Index, ProductsAreToldApartByTheBytesOfTheirNames) {
  tree_.Write("a/b/n/1/0/product.xml", ProductXml(VarietyXml("v")));
  tree_.Write("a/b/n/1/0/partlist.xml", kNoParts);
  Error err;
  std::vector<WH_PRODUCT*> products;
  for (const char* category : {"a/b", "a//b", "/a/b", "a\\b", "a/b"}) {
    WH_PRODUCT_NAME* name = Prodname(category, "n", "1", "0");
    products.push_back(index_fetch(&err, index_, name, 0));
    EXPECT_NE(nullptr, products.back()) << category;
    free_prodname(&name);
  }
  EXPECT_EQ(3, FwVectorLength(&index_->entries));
  EXPECT_NE(products[0], products[1]);
  EXPECT_NE(products[0], products[2]);
  EXPECT_NE(products[1], products[2]);
  EXPECT_EQ(products[0], products[3]);
  EXPECT_EQ(products[0], products[4]);
}

TEST_F(Index, ManyProductsAreFoundAndStayInOrderOfLoading) {
  const int count = 150;
  std::vector<WH_PRODUCT*> products;
  for (int i = 0; i < count; i++) {
    SCOPED_TRACE(i);
    const std::string name = "p" + std::to_string(i);
    Product(name);
    products.push_back(Fetch(name.c_str()));
    ASSERT_NE(nullptr, products.back());
  }
  ASSERT_EQ(count, FwVectorLength(&index_->entries));
  for (int i = 0; i < count; i++) {
    SCOPED_TRACE(i);
    EXPECT_EQ(products[i], Fetch(("p" + std::to_string(i)).c_str()));
    EXPECT_EQ(products[i], FwVectorGetElement(&index_->entries, i));
  }
  EXPECT_EQ(count, FwVectorLength(&index_->entries));
}

TEST_F(Index, OfTwoLoadsOfOneNameTheFirstIsFound) {
  Product("p");
  WH_PRODUCT* first = Fetch("p");
  Error err;
  WH_PRODUCT_NAME* name = Prodname("c", "p", "1", "0");
  WH_PRODUCT* second = index_add(&err, index_, name, 0);
  free_prodname(&name);
  EXPECT_NE(nullptr, second);
  EXPECT_NE(first, second);
  EXPECT_EQ(first, Fetch("p"));
  EXPECT_EQ(2, FwVectorLength(&index_->entries));
}

TEST_F(Index, UnvisitClearsTwoMarksOfAllVarieties) {
  Product("p", VarietyXml("a") + VarietyXml("b"));
  Product("q", "");
  WH_PRODUCT* product = Fetch("p");
  Fetch("q");
  for (int i = 0; i < 2; i++) {
    auto* variety =
        static_cast<WH_VARIETY*>(FwVectorGetElement(&product->prodinfo->varieties->seq, i));
    variety->visited = variety->packed = variety->mark = variety->chosen = 1;
  }
  index_unvisit(index_);
  for (int i = 0; i < 2; i++) {
    SCOPED_TRACE(i);
    auto* variety =
        static_cast<WH_VARIETY*>(FwVectorGetElement(&product->prodinfo->varieties->seq, i));
    EXPECT_EQ(0, variety->visited);
    EXPECT_EQ(0, variety->packed);
    EXPECT_EQ(1, variety->mark);
    EXPECT_EQ(1, variety->chosen);
  }
}

// ---- Queries

TEST_F(Index, AQueryChoosesTheVarietiesThatMatch) {
  Product("p", VarietyXml("d1", Var("opt", "debug")) + VarietyXml("r", Var("opt", "release")) +
                   VarietyXml("d2", Var("opt", "debug")));
  EXPECT_EQ("d1 r d2 ", Varieties(query_product, "p"));
  EXPECT_EQ("d1 d2 ", Varieties(query_product, "p", Alternative({{"opt", "d*"}})));
  EXPECT_EQ("d1 d2 ", Varieties(query_product_pd, "p", Alternative({{"opt", "d*"}})));
  EXPECT_EQ("d1 r d2 ", Varieties(query_product_pd, "p"));
}

TEST_F(Index, AProductOfWhichNoVarietyMatchesGivesAnEmptySpec) {
  Product("p");
  EXPECT_EQ("", Varieties(query_product, "p", Alternative({{"opt", "x"}})));
  EXPECT_EQ("", Varieties(query_product_pd, "p", Alternative({{"opt", "x"}})));
  EXPECT_EQ("", error_);
}

TEST_F(Index, TheHostChoosesAmongThePlatformsOfADependentProduct) {
  Product("p", VarietyXml("host", Var("platform", Str(wh_host_platform))) +
                   VarietyXml("other", Var("platform", "beos-x86")) +
                   VarietyXml("debug", Var("platform", Str(wh_host_platform)) + Var("opt", "d")) +
                   VarietyXml("none"));
  EXPECT_EQ("host debug ", Varieties(query_product_pd, "p"));
  EXPECT_EQ("debug ", Varieties(query_product_pd, "p", Alternative({{"opt", "d"}})));
  // The plain form has no regard to the host.
  EXPECT_EQ("host other debug none ", Varieties(query_product, "p"));
}

TEST_F(Index, AQueryForAPlatformReplacesTheHost) {
  Product("p", VarietyXml("host", Var("platform", Str(wh_host_platform))) +
                   VarietyXml("other", Var("platform", "beos-x86")) +
                   VarietyXml("win", Var("platform", "win_nt-x86")));
  EXPECT_EQ("other ", Varieties(query_product_pd, "p", Alternative({{"platform", "beos-x86"}})));
  EXPECT_EQ("win ", Varieties(query_product_pd, "p", Alternative({{"platform", "pc"}})));
  EXPECT_EQ("other win ",
            Varieties(query_product_pd, "p", Alternative({{"platform", "b*,win_nt-x86"}})));
}

TEST_F(Index, OnlyTheFirstAlternativeOfAQueryIsAskedForThePlatform) {
  Product("p", VarietyXml("host", Var("platform", Str(wh_host_platform)) + Var("opt", "d")) +
                   VarietyXml("other", Var("platform", "beos-x86") + Var("opt", "d")));
  EXPECT_EQ("", Varieties(query_product_pd, "p",
                          Alternative({{"opt", "none"}}, nullptr,
                                      Alternative({{"platform", "beos-x86"}}))));
  EXPECT_EQ("host other ",
            Varieties(query_product_pd, "p",
                      Alternative({{"platform", "hp"}}, nullptr, Alternative({{"opt", "d"}}))));
}

TEST_F(Index, OnlyTheFirstVarietyTellsWhetherAProductIsDependent) {
  Product("p", VarietyXml("none") + VarietyXml("other", Var("platform", "beos-x86")));
  EXPECT_EQ("none other ", Varieties(query_product_pd, "p"));
}

TEST_F(Index, AProductWithoutVarietiesIsIndependent) {
  Product("p", "");
  EXPECT_EQ("", Varieties(query_product_pd, "p"));
  EXPECT_EQ("", error_);
}

TEST_F(Index, AnEmptyListOfQueriesGivesAnEmptyListOfSpecs) {
  Reports reports;
  Error err;
  WH_PRODUCT_QUERY_LIST* queries = make_querylist();
  for (auto* function : {query_products, query_products_pd}) {
    SCOPED_TRACE(function == query_products ? "query_products" : "query_products_pd");
    WH_PRODUCT_SPEC_LIST* specs = function(&err, index_, queries, Reports::Collect);
    EXPECT_EQ(0, FwVectorLength(&specs->specs));
    free_speclist(&specs);
  }
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_TRUE(reports.lines().empty());
  free_querylist(&queries);
}

TEST_F(Index, AFailedQueryIsAbsentFromTheList) {
  Product("p");
  Product("q");
  Reports reports;
  Error err;
  WH_PRODUCT_QUERY_LIST* queries = make_querylist();
  add_query(queries, Query("p"));
  add_query(queries, Query("gone", nullptr, 1));
  add_query(queries, Query("q"));
  WH_PRODUCT_SPEC_LIST* specs = query_products_pd(&err, index_, queries, Reports::Collect);
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_TRUE(reports.lines().empty());
  ASSERT_EQ(2, FwVectorLength(&specs->specs));
  EXPECT_EQ(Fetch("q"),
            static_cast<WH_PRODUCT_SPEC*>(FwVectorGetElement(&specs->specs, 1))->product);
  free_speclist(&specs);
  free_querylist(&queries);
}

TEST_F(Index, AfterAFailureLaterQueriesFailToo) {
  for (const char* name : {"bad", "loaded", "disk"})
    Product(name);
  const std::string path = Write("bad", "product.xml", "<OPEN>");
  ASSERT_NE(nullptr, Fetch("loaded"));
  Reports reports;
  Error err;
  WH_PRODUCT_QUERY_LIST* queries = make_querylist();
  for (const char* name : {"bad", "loaded", "disk", "gone", "loaded"})
    add_query(queries, Query(name));
  WH_PRODUCT_SPEC_LIST* specs = query_products_pd(&err, index_, queries, Reports::Collect);
  EXPECT_EQ(0, FwVectorLength(&specs->specs));
  ASSERT_EQ(5u, reports.lines().size());
  EXPECT_NE(std::string::npos, reports.lines()[0].find(path)) << reports.lines()[0];
  // The state is nobody's to clear: the standing error is told again for each.
  EXPECT_EQ(reports.lines()[0], reports.lines()[1]);
  EXPECT_EQ(reports.lines()[0], reports.lines()[2]);
  EXPECT_EQ(NotThere("gone", "product.xml"), reports.lines()[3]);
  EXPECT_EQ(reports.lines()[3], reports.lines()[4]);
  free_speclist(&specs);
  free_querylist(&queries);
}

TEST_F(Index, AnOptionalQueryForNothingEndsAStandingError) {
  Product("p");
  Error err;
  FwErrorSet(&err, fwErrorOperationFailed, 0);
  WH_PRODUCT_QUERY* gone = Query("gone", nullptr, 1);
  WH_PRODUCT_QUERY* there = Query("p");
  EXPECT_EQ("(null)", Names(query_product(&err, index_, gone, nullptr)));
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ("v ", Names(query_product(&err, index_, there, nullptr)));
  free_query(&gone);
  free_query(&there);
}

// ---- Queries that are expanded first

class ExpandedQuery : public Index {
 protected:
  ExpandedQuery() : symtab_(make_symtab(FWT("c/includer/1/0/env.xml"))) {
    add_context(symtab_, make_context(make_cv(FWT("NAME"), FWT("p"),
                                              make_cv(FWT("OPT"), FWT("debug"), nullptr))));
  }
  ~ExpandedQuery() override { free_symtab(&symtab_); }

  std::string RunExpanded(const char* name, WH_PATTERN* pattern = nullptr, int optional = 0,
                          Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    Reports reports;
    WH_PRODUCT_QUERY* query = Query(name, pattern, optional);
    std::string names = Names(query_expanded_product(index_, query, symtab_, Reports::Collect));
    lines_ = reports.lines();
    // Without a function to report to the result is the same.
    EXPECT_EQ(names, Names(query_expanded_product(index_, query, symtab_, nullptr)));
    free_query(&query);
    return names;
  }

  static std::string NotDefined(const std::string& name) {
    return "*** Error: % variable " + name + " is not defined in File c/includer/1/0/env.xml";
  }

  WH_SYMTAB* symtab_;
  std::vector<std::string> lines_;
};

TEST_F(ExpandedQuery, ExpandsNameAndPattern) {
  Product("p", VarietyXml("d", Var("opt", "debug")) + VarietyXml("r", Var("opt", "release")));
  EXPECT_EQ("d ", RunExpanded("%(NAME)", Alternative({{"opt", "%(OPT)"}})));
  EXPECT_TRUE(lines_.empty());
  EXPECT_EQ("d r ", RunExpanded("p"));
}

TEST_F(ExpandedQuery, HasNoRegardToTheHost) {
  Product("p", VarietyXml("host", Var("platform", Str(wh_host_platform))) +
                   VarietyXml("other", Var("platform", "beos-x86")));
  EXPECT_EQ("host other ", RunExpanded("p"));
}

TEST_F(ExpandedQuery, AnUndefinedNameIsReportedOnce) {
  EXPECT_EQ("(null)", RunExpanded("%(NOPE)"));
  EXPECT_EQ(std::vector<std::string>{NotDefined("NOPE")}, lines_);
  EXPECT_EQ("(null)", RunExpanded("p", Alternative({{"opt", "%(NOPE)"}})));
  EXPECT_EQ(std::vector<std::string>{NotDefined("NOPE")}, lines_);
}

TEST_F(ExpandedQuery, AProductThatFailsToLoadIsReportedTwice) {
  Product("p");
  Write("p", "env.xml", "<OPEN>");
  EXPECT_EQ("(null)", RunExpanded("p"));
  ASSERT_EQ(2u, lines_.size());
  EXPECT_NE(std::string::npos, lines_[0].find("/c/p/1/0/env.xml")) << lines_[0];
  EXPECT_EQ(lines_[0], lines_[1]);
}

TEST_F(ExpandedQuery, AMissingProductIsReportedTwiceUnlessOptional) {
  EXPECT_EQ("(null)", RunExpanded("gone"));
  EXPECT_EQ(std::vector<std::string>(2, NotThere("gone", "product.xml")), lines_);
  EXPECT_EQ("(null)", RunExpanded("gone", nullptr, 1));
  EXPECT_TRUE(lines_.empty());
}

TEST_F(ExpandedQuery, WithTheCallersWordAMissingProductIsLookedForOnce) {
  Product("half");
  Remove("half", "partlist.xml");
  index_->missing_is_silent = 1;
  RunExpanded("gone");
  RunExpanded("half");
  // Both appear too late.
  Product("gone");
  Product("half");
  for (int optional : {0, 1}) {
    SCOPED_TRACE(optional);
    EXPECT_EQ("(null)", RunExpanded("gone", nullptr, optional));
    EXPECT_TRUE(lines_.empty());
    EXPECT_EQ("(null)", RunExpanded("half", nullptr, optional));
    EXPECT_TRUE(lines_.empty());
  }
  index_->missing_is_silent = 0;
  EXPECT_EQ("v ", RunExpanded("gone"));
  EXPECT_EQ("v ", RunExpanded("half"));
}

TEST_F(ExpandedQuery, TheCallersWordCoversNoOtherFault) {
  index_->missing_is_silent = 1;
  Product("p");
  Write("p", "env.xml", "<OPEN>");
  for (int i = 0; i < 2; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ("(null)", RunExpanded("p"));
    EXPECT_EQ(2u, lines_.size());
  }
  RunExpanded("gone");
  EXPECT_EQ("(null)", RunExpanded("gone", Alternative({{"opt", "%(NOPE)"}})));
  EXPECT_EQ(std::vector<std::string>{NotDefined("NOPE")}, lines_);
  Remove("p", "env.xml");
  EXPECT_EQ("v ", RunExpanded("p"));
}

}  // namespace
