#include <gtest/gtest.h>

#include <filesystem>

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
  EXPECT_EQ(Str(index->base), "/no/such/base");
  EXPECT_NE(index->base, static_cast<FwTextString>(base));
  EXPECT_EQ(index->entries.nCurrentAllocSize, 20);
  EXPECT_EQ(FwVectorLength(&index->entries), 0);
  index_close(index);
}

TEST_F(Index, FetchingTwiceReadsOnce) {
  Product("p");
  WH_PRODUCT* product = Fetch("p");
  ASSERT_NE(product, nullptr);
  std::filesystem::remove_all(tree_ / "c");
  EXPECT_EQ(Fetch("p"), product);
  EXPECT_EQ(error_, "");
  EXPECT_EQ(FwVectorLength(&index_->entries), 1);
}

TEST_F(Index, AProductNeedsOnlyItsInformationAndItsPartList) {
  Product("p");
  WH_PRODUCT* product = Fetch("p");
  ASSERT_NE(product, nullptr);
  EXPECT_EQ(error_, "");
  EXPECT_EQ(Fields(product->prodinfo->prodname), "c|p|1|0");
  EXPECT_NE(product->partlist, nullptr);
  for (WH_RECIPE* recipe : {product->install, product->uninstall, product->enable, product->disable,
                            product->prep, product->setup, product->unset})
    EXPECT_EQ(recipe, nullptr);
  EXPECT_EQ(product->envset, nullptr);
  EXPECT_EQ(product->envunset, nullptr);
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
    ASSERT_NE(product, nullptr) << row.file << " " << error_;
    for (const auto& other : rows)
      EXPECT_EQ(other.loaded(product), other.file == row.file) << row.file << " " << other.file;
  }
}

TEST_F(Index, FilesOfInstallingAreNotRead) {
  Product("p");
  for (const char* file : {"install.xml", "uninstall.xml", "enable.xml", "disable.xml"})
    Write("p", file, "<<<");
  tree_.Write("contents.xml", "<<<");
  EXPECT_NE(Fetch("p"), nullptr);
  EXPECT_EQ(error_, "");
}

TEST_F(Index, AMalformedFileFailsTheProduct) {
  for (const char* file : {"product.xml", "partlist.xml", "setup.xml", "prep.xml", "unset.xml",
                           "env.xml", "unenv.xml"}) {
    const std::string name = std::string("bad-") + file;
    Product(name);
    const std::string path = Write(name, file, "<OPEN>");
    EXPECT_EQ(Fetch(name.c_str()), nullptr) << file;
    EXPECT_NE(error_.find(path), std::string::npos) << error_;
    EXPECT_EQ(Fetch(name.c_str(), 1), nullptr) << file;
    EXPECT_NE(error_.find(path), std::string::npos) << error_;
  }
  EXPECT_EQ(FwVectorLength(&index_->entries), 0);
}

TEST_F(Index, OfSeveralFaultyFilesTheFirstInOrderCounts) {
  const char* const order[] = {"product.xml", "partlist.xml", "setup.xml", "prep.xml",
                               "unset.xml",   "env.xml",      "unenv.xml"};
  Product("p");
  for (const char* file : order)
    Write("p", file, "<OPEN>");
  for (const char* file : order) {
    EXPECT_EQ(Fetch("p"), nullptr);
    EXPECT_NE(error_.find(std::string("/") + file), std::string::npos) << file << ": " << error_;
    const std::string name = file;
    Write("p", file,
          name == "product.xml"           ? ProductXml("")
          : name == "partlist.xml"        ? kNoParts
          : name.find("env") != name.npos ? kSettings
                                          : kRecipe);
  }
  EXPECT_NE(Fetch("p"), nullptr);
}

TEST_F(Index, AFailedProductIsReadAgain) {
  Product("p");
  Write("p", "env.xml", "<OPEN>");
  EXPECT_EQ(Fetch("p"), nullptr);
  EXPECT_EQ(FwVectorLength(&index_->entries), 0);
  Remove("p", "env.xml");
  EXPECT_NE(Fetch("p"), nullptr);
}

TEST_F(Index, AMissingProductIsAnErrorUnlessOptional) {
  EXPECT_EQ(Fetch("p"), nullptr);
  EXPECT_EQ(error_, NotThere("p", "product.xml"));
  EXPECT_EQ(kind_, fwErrorNonExistent);
  EXPECT_EQ(Fetch("p", 1), nullptr);
  EXPECT_EQ(error_, "");
}

TEST_F(Index, AMissingPartListIsAnErrorEvenIfOptional) {
  Product("p");
  Remove("p", "partlist.xml");
  EXPECT_EQ(Fetch("p"), nullptr);
  EXPECT_EQ(error_, NotThere("p", "partlist.xml"));
  EXPECT_EQ(Fetch("p", 1), nullptr);
  EXPECT_EQ(error_, NotThere("p", "partlist.xml"));
}

TEST_F(Index, ThePlusSignIsAnOrdinaryName) {
  Error err;
  WH_PRODUCT_NAME* name = Prodname("c", "p", "+", "+");
  EXPECT_EQ(index_fetch(&err, index_, name, 0), nullptr);
  EXPECT_EQ(err.text(), "*** Error: File " + (tree_ / "c/p/+/+/product.xml") + " Does not exist");
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
    EXPECT_NE(products.back(), nullptr) << category;
    free_prodname(&name);
  }
  EXPECT_EQ(FwVectorLength(&index_->entries), 3);
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
    const std::string name = "p" + std::to_string(i);
    Product(name);
    products.push_back(Fetch(name.c_str()));
    ASSERT_NE(products.back(), nullptr);
  }
  ASSERT_EQ(FwVectorLength(&index_->entries), count);
  for (int i = 0; i < count; i++) {
    EXPECT_EQ(Fetch(("p" + std::to_string(i)).c_str()), products[i]);
    EXPECT_EQ(FwVectorGetElement(&index_->entries, i), products[i]);
  }
  EXPECT_EQ(FwVectorLength(&index_->entries), count);
}

TEST_F(Index, OfTwoLoadsOfOneNameTheFirstIsFound) {
  Product("p");
  WH_PRODUCT* first = Fetch("p");
  Error err;
  WH_PRODUCT_NAME* name = Prodname("c", "p", "1", "0");
  WH_PRODUCT* second = index_add(&err, index_, name, 0);
  free_prodname(&name);
  EXPECT_NE(second, nullptr);
  EXPECT_NE(second, first);
  EXPECT_EQ(Fetch("p"), first);
  EXPECT_EQ(FwVectorLength(&index_->entries), 2);
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
    auto* variety =
        static_cast<WH_VARIETY*>(FwVectorGetElement(&product->prodinfo->varieties->seq, i));
    EXPECT_EQ(variety->visited, 0);
    EXPECT_EQ(variety->packed, 0);
    EXPECT_EQ(variety->mark, 1);
    EXPECT_EQ(variety->chosen, 1);
  }
}

// ---- Queries

TEST_F(Index, AQueryChoosesTheVarietiesThatMatch) {
  Product("p", VarietyXml("d1", Var("opt", "debug")) + VarietyXml("r", Var("opt", "release")) +
                   VarietyXml("d2", Var("opt", "debug")));
  EXPECT_EQ(Varieties(query_product, "p"), "d1 r d2 ");
  EXPECT_EQ(Varieties(query_product, "p", Alternative({{"opt", "d*"}})), "d1 d2 ");
  EXPECT_EQ(Varieties(query_product_pd, "p", Alternative({{"opt", "d*"}})), "d1 d2 ");
  EXPECT_EQ(Varieties(query_product_pd, "p"), "d1 r d2 ");
}

TEST_F(Index, AProductOfWhichNoVarietyMatchesGivesAnEmptySpec) {
  Product("p");
  EXPECT_EQ(Varieties(query_product, "p", Alternative({{"opt", "x"}})), "");
  EXPECT_EQ(Varieties(query_product_pd, "p", Alternative({{"opt", "x"}})), "");
  EXPECT_EQ(error_, "");
}

TEST_F(Index, TheHostChoosesAmongThePlatformsOfADependentProduct) {
  Product("p", VarietyXml("host", Var("platform", Str(wh_host_platform))) +
                   VarietyXml("other", Var("platform", "beos-x86")) +
                   VarietyXml("debug", Var("platform", Str(wh_host_platform)) + Var("opt", "d")) +
                   VarietyXml("none"));
  EXPECT_EQ(Varieties(query_product_pd, "p"), "host debug ");
  EXPECT_EQ(Varieties(query_product_pd, "p", Alternative({{"opt", "d"}})), "debug ");
  // The plain form has no regard to the host.
  EXPECT_EQ(Varieties(query_product, "p"), "host other debug none ");
}

TEST_F(Index, AQueryForAPlatformReplacesTheHost) {
  Product("p", VarietyXml("host", Var("platform", Str(wh_host_platform))) +
                   VarietyXml("other", Var("platform", "beos-x86")) +
                   VarietyXml("win", Var("platform", "win_nt-x86")));
  EXPECT_EQ(Varieties(query_product_pd, "p", Alternative({{"platform", "beos-x86"}})), "other ");
  EXPECT_EQ(Varieties(query_product_pd, "p", Alternative({{"platform", "pc"}})), "win ");
  EXPECT_EQ(Varieties(query_product_pd, "p", Alternative({{"platform", "b*,win_nt-x86"}})),
            "other win ");
}

TEST_F(Index, OnlyTheFirstAlternativeOfAQueryIsAskedForThePlatform) {
  Product("p", VarietyXml("host", Var("platform", Str(wh_host_platform)) + Var("opt", "d")) +
                   VarietyXml("other", Var("platform", "beos-x86") + Var("opt", "d")));
  EXPECT_EQ(
      Varieties(query_product_pd, "p",
                Alternative({{"opt", "none"}}, nullptr, Alternative({{"platform", "beos-x86"}}))),
      "");
  EXPECT_EQ(Varieties(query_product_pd, "p",
                      Alternative({{"platform", "hp"}}, nullptr, Alternative({{"opt", "d"}}))),
            "host other ");
}

TEST_F(Index, OnlyTheFirstVarietyTellsWhetherAProductIsDependent) {
  Product("p", VarietyXml("none") + VarietyXml("other", Var("platform", "beos-x86")));
  EXPECT_EQ(Varieties(query_product_pd, "p"), "none other ");
}

TEST_F(Index, AProductWithoutVarietiesIsIndependent) {
  Product("p", "");
  EXPECT_EQ(Varieties(query_product_pd, "p"), "");
  EXPECT_EQ(error_, "");
}

TEST_F(Index, AnEmptyListOfQueriesGivesAnEmptyListOfSpecs) {
  Reports reports;
  Error err;
  WH_PRODUCT_QUERY_LIST* queries = make_querylist();
  for (auto* function : {query_products, query_products_pd}) {
    WH_PRODUCT_SPEC_LIST* specs = function(&err, index_, queries, Reports::Collect);
    EXPECT_EQ(FwVectorLength(&specs->specs), 0);
    free_speclist(&specs);
  }
  EXPECT_EQ(err.pError, nullptr);
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
  EXPECT_EQ(err.pError, nullptr);
  EXPECT_TRUE(reports.lines().empty());
  ASSERT_EQ(FwVectorLength(&specs->specs), 2);
  EXPECT_EQ(static_cast<WH_PRODUCT_SPEC*>(FwVectorGetElement(&specs->specs, 1))->product,
            Fetch("q"));
  free_speclist(&specs);
  free_querylist(&queries);
}

TEST_F(Index, AfterAFailureLaterQueriesFailToo) {
  for (const char* name : {"bad", "loaded", "disk"})
    Product(name);
  const std::string path = Write("bad", "product.xml", "<OPEN>");
  ASSERT_NE(Fetch("loaded"), nullptr);
  Reports reports;
  Error err;
  WH_PRODUCT_QUERY_LIST* queries = make_querylist();
  for (const char* name : {"bad", "loaded", "disk", "gone", "loaded"})
    add_query(queries, Query(name));
  WH_PRODUCT_SPEC_LIST* specs = query_products_pd(&err, index_, queries, Reports::Collect);
  EXPECT_EQ(FwVectorLength(&specs->specs), 0);
  ASSERT_EQ(reports.lines().size(), 5u);
  EXPECT_NE(reports.lines()[0].find(path), std::string::npos) << reports.lines()[0];
  // The state is nobody's to clear: the standing error is told again for each.
  EXPECT_EQ(reports.lines()[1], reports.lines()[0]);
  EXPECT_EQ(reports.lines()[2], reports.lines()[0]);
  EXPECT_EQ(reports.lines()[3], NotThere("gone", "product.xml"));
  EXPECT_EQ(reports.lines()[4], reports.lines()[3]);
  free_speclist(&specs);
  free_querylist(&queries);
}

TEST_F(Index, AnOptionalQueryForNothingEndsAStandingError) {
  Product("p");
  Error err;
  FwErrorSet(&err, fwErrorOperationFailed, 0);
  WH_PRODUCT_QUERY* gone = Query("gone", nullptr, 1);
  WH_PRODUCT_QUERY* there = Query("p");
  EXPECT_EQ(Names(query_product(&err, index_, gone, nullptr)), "(null)");
  EXPECT_EQ(err.pError, nullptr);
  EXPECT_EQ(Names(query_product(&err, index_, there, nullptr)), "v ");
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

  std::string RunExpanded(const char* name, WH_PATTERN* pattern = nullptr, int optional = 0) {
    Reports reports;
    WH_PRODUCT_QUERY* query = Query(name, pattern, optional);
    std::string names = Names(query_expanded_product(index_, query, symtab_, Reports::Collect));
    lines_ = reports.lines();
    // Without a function to report to the result is the same.
    EXPECT_EQ(Names(query_expanded_product(index_, query, symtab_, nullptr)), names);
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
  EXPECT_EQ(RunExpanded("%(NAME)", Alternative({{"opt", "%(OPT)"}})), "d ");
  EXPECT_TRUE(lines_.empty());
  EXPECT_EQ(RunExpanded("p"), "d r ");
}

TEST_F(ExpandedQuery, HasNoRegardToTheHost) {
  Product("p", VarietyXml("host", Var("platform", Str(wh_host_platform))) +
                   VarietyXml("other", Var("platform", "beos-x86")));
  EXPECT_EQ(RunExpanded("p"), "host other ");
}

TEST_F(ExpandedQuery, AnUndefinedNameIsReportedOnce) {
  EXPECT_EQ(RunExpanded("%(NOPE)"), "(null)");
  EXPECT_EQ(lines_, std::vector<std::string>{NotDefined("NOPE")});
  EXPECT_EQ(RunExpanded("p", Alternative({{"opt", "%(NOPE)"}})), "(null)");
  EXPECT_EQ(lines_, std::vector<std::string>{NotDefined("NOPE")});
}

TEST_F(ExpandedQuery, AProductThatFailsToLoadIsReportedTwice) {
  Product("p");
  Write("p", "env.xml", "<OPEN>");
  EXPECT_EQ(RunExpanded("p"), "(null)");
  ASSERT_EQ(lines_.size(), 2u);
  EXPECT_NE(lines_[0].find("/c/p/1/0/env.xml"), std::string::npos) << lines_[0];
  EXPECT_EQ(lines_[0], lines_[1]);
}

TEST_F(ExpandedQuery, AMissingProductIsReportedTwiceUnlessOptional) {
  EXPECT_EQ(RunExpanded("gone"), "(null)");
  EXPECT_EQ(lines_, std::vector<std::string>(2, NotThere("gone", "product.xml")));
  EXPECT_EQ(RunExpanded("gone", nullptr, 1), "(null)");
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
    EXPECT_EQ(RunExpanded("gone", nullptr, optional), "(null)");
    EXPECT_TRUE(lines_.empty());
    EXPECT_EQ(RunExpanded("half", nullptr, optional), "(null)");
    EXPECT_TRUE(lines_.empty());
  }
  index_->missing_is_silent = 0;
  EXPECT_EQ(RunExpanded("gone"), "v ");
  EXPECT_EQ(RunExpanded("half"), "v ");
}

TEST_F(ExpandedQuery, TheCallersWordCoversNoOtherFault) {
  index_->missing_is_silent = 1;
  Product("p");
  Write("p", "env.xml", "<OPEN>");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(RunExpanded("p"), "(null)");
    EXPECT_EQ(2u, lines_.size());
  }
  RunExpanded("gone");
  EXPECT_EQ(RunExpanded("gone", Alternative({{"opt", "%(NOPE)"}})), "(null)");
  EXPECT_EQ(lines_, std::vector<std::string>{NotDefined("NOPE")});
  Remove("p", "env.xml");
  EXPECT_EQ(RunExpanded("p"), "v ");
}

}  // namespace
