#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <string>

#include "model_support.h"
#include "process.h"
#include "warehouse/private.h"

namespace {

Pairs Bindings(WH_CONTEXT_VALUE* cv) {
  Pairs pairs;
  for (; cv != nullptr; cv = cv->next)
    pairs.emplace_back(Str(cv->n), Str(cv->v));
  return pairs;
}

// The bindings of variables, which are freed.
Pairs BindingsOf(WH_VAR* vars) {
  WH_CONTEXT_VALUE* cv = cv_from_var_list(vars);
  Pairs pairs = Bindings(cv);
  free_cv_list(&cv);
  return pairs;
}

std::string Lookup(WH_SYMTAB* symtab, const std::string& name) {
  Text text(name);
  return Str(symtab_lookup(text, symtab, static_cast<uint32>(name.size())));
}

TEST(GlobalContext, HoldsTheseNamesInThisOrder) {
  const Pairs expected = {
      {"FS", "/"},
      {"EXE", ""},
      {"DLL", ".so"},
      {"LIB", ".a"},
      {"THIS-CNVR", "%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)%(FS)%(THIS-REV)"},
      {"PLAT-THIS-CNVR",
       "%(PLAT-CATEGORY)%(PFS)%(THIS-NAME)%(PFS)%(THIS-VERSION)%(PFS)%(THIS-REV)"},
      {"BASE-CN", "%(BASE-DIRECTORY)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)"},
      {"FROM-CN", "%(INSTALLED-FROM)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)"},
      {"BASE-CNV", "%(BASE-DIRECTORY)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)"},
      {"FROM-CNV", "%(INSTALLED-FROM)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)"},
      {"BASE-CNVR",
       "%(BASE-DIRECTORY)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)%(FS)"
       "%(THIS-REV)"},
      {"FROM-CNVR",
       "%(INSTALLED-FROM)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)%(FS)"
       "%(THIS-REV)"},
      {"BINPATH", "%(BASE-DIRECTORY)"},
      {"HOST-PLATFORM", Str(wh_host_platform)},
  };
  EXPECT_EQ(expected, Bindings(global_context.vals));
}

TEST(ContextValue, OfNullMakesNothing) {
  WH_CONTEXT_VALUE* cv = make_cv(FWT("a"), FWT("1"), nullptr);
  EXPECT_EQ(cv, make_cv(FWT("b"), nullptr, cv));
  cv = make_cv(FWT("c"), FWT(""), cv);
  EXPECT_EQ((Pairs{{"c", ""}, {"a", "1"}}), Bindings(cv));
  free_cv_list(&cv);
  EXPECT_EQ(nullptr, cv);
}

TEST(ProductContext, BindsTheNameInThisOrder) {
  WH_PRODUCT_NAME* name = Prodname("a/b", "Tools", "1.8", "5");
  WH_CONTEXT* context = context_from_prodname(name);
  EXPECT_EQ((Pairs{{"THIS-CATEGORY", "a/b"},
                   {"THIS-NAME", "Tools"},
                   {"THIS-REV", "5"},
                   {"THIS-VERSION", "1.8"},
                   {"PLAT-CATEGORY", "a%(PFS)b"}}),
            Bindings(context->vals));
  free_context(&context);
  EXPECT_EQ(nullptr, context);
  free_prodname(&name);
}

TEST(ProductContext, LeavesNullFieldsOut) {
  WH_PRODUCT_NAME name;
  name.name = FWT("Tools");
  WH_CONTEXT* context = context_from_prodname(&name);
  EXPECT_EQ((Pairs{{"THIS-NAME", "Tools"}}), Bindings(context->vals));
  free_context(&context);
}

TEST(ProductContext, PlatCategorySplitsAtAnySeparator) {
  const std::pair<const char*, const char*> rows[] = {
      {"a", "a"},
      {"a\\b:c/d", "a%(PFS)b%(PFS)c%(PFS)d"},
      {"/a//b/", "a%(PFS)b"},
      {"", ""},
  };
  for (auto [category, expected] : rows) {
    SCOPED_TRACE(category);
    WH_PRODUCT_NAME name;
    name.category = FWT(category);
    WH_CONTEXT* context = context_from_prodname(&name);
    EXPECT_EQ((Pairs{{"THIS-CATEGORY", category}, {"PLAT-CATEGORY", expected}}),
              Bindings(context->vals));
    free_context(&context);
  }
}

TEST(VarietyContext, ALinuxPlatformBringsTheSuffixesOfUnix) {
  Variety variety({{"platform", "linux-x86"}});
  WH_CONTEXT* context = context_from_variety(&variety);
  EXPECT_EQ(
      (Pairs{
          {"PLIB", ".a"}, {"PDLL", ".so"}, {"PEXE", ""}, {"PFS", "/"}, {"platform", "linux-x86"}}),
      Bindings(context->vals));
  free_context(&context);
}

TEST(VarietyContext, EachFamilyHasItsSuffixes) {
  const struct {
    const char* platform;
    const char* lib;
    const char* dll;
    const char* exe;
    const char* sep;
  } rows[] = {
      {"pc", ".lib", ".dll", ".exe", "\\"}, {"win_nt-x86", ".lib", ".dll", ".exe", "\\"},
      {"hpux", ".a", ".sl", "", "/"},       {"hpux_11-hppa", ".a", ".sl", "", "/"},
      {"unix", ".a", ".so", "", "/"},       {"darwin-ppc", ".a", ".so", "", "/"},
      {"macos", ".a", ".so", "", ":"},      {"macos_9-g4", ".a", ".so", "", ":"},
  };
  for (const auto& row : rows) {
    Variety variety({{"platform", row.platform}});
    EXPECT_EQ((Pairs{{"PLIB", row.lib},
                     {"PDLL", row.dll},
                     {"PEXE", row.exe},
                     {"PFS", row.sep},
                     {"platform", row.platform}}),
              BindingsOf(variety.vars))
        << row.platform;
  }
}

TEST(VarietyContext, ATargetBringsNamesWithT) {
  Variety variety({{"opt", "1"}, {"target", "pc"}, {"opt", "2"}});
  EXPECT_EQ((Pairs{{"opt", "1"},
                   {"TLIB", ".lib"},
                   {"TDLL", ".dll"},
                   {"TEXE", ".exe"},
                   {"TFS", "\\"},
                   {"target", "pc"},
                   {"opt", "2"}}),
            BindingsOf(variety.vars));
}

TEST(VarietyContext, APlatformOfNoFamilyGivesOnlyItself) {
  Variety variety({{"platform", "beos-x86"}, {"target", "all"}});
  EXPECT_EQ((Pairs{{"platform", "beos-x86"}, {"target", "all"}}), BindingsOf(variety.vars));
  WH_SYMTAB* symtab = make_symtab(FWT("env.xml"));
  add_context(symtab, context_from_variety(&variety));
  Error err;
  EXPECT_EQ("aPFSb", Take(wh_expand(&err, FWT("a%(PFS)b"), symtab)));
  EXPECT_EQ(whErrorNoValue, err.pError);
  free_symtab(&symtab);
}

TEST(VarietyContext, AMissingNameOrValueBindsNothing) {
  Variety variety({{"platform", nullptr}, {nullptr, "x"}, {"a", "b"}, {nullptr, nullptr}});
  EXPECT_EQ((Pairs{{"a", "b"}}), BindingsOf(variety.vars));
  EXPECT_EQ(nullptr, cv_from_var_list(nullptr));
}

TEST(SymbolTable, HoldsACopyOfItsSourceAndTheGlobalContext) {
  Text source("env.xml");
  WH_SYMTAB* symtab = make_symtab(source);
  EXPECT_NE(static_cast<FwTextString>(source), symtab->source);
  EXPECT_EQ("env.xml", Str(symtab->source));
  EXPECT_EQ(4, symtab->contexts.nCurrentAllocSize);
  ASSERT_EQ(1, FwVectorLength(&symtab->contexts));
  EXPECT_EQ(&global_context, FwVectorGetElement(&symtab->contexts, 0));
  free_symtab(&symtab);
  EXPECT_EQ(nullptr, symtab);
}

TEST(SymbolTable, GlobalNamesCannotBeOverridden) {
  WH_SYMTAB* symtab = make_symtab(FWT("x"));
  add_context(symtab, make_context(make_cv(FWT("LIB"), FWT(".mine"), nullptr)));
  EXPECT_EQ(".a", Lookup(symtab, "LIB"));
  free_symtab(&symtab);
}

TEST(SymbolTable, TheFirstContextAndTheFirstBindingWin) {
  WH_SYMTAB* symtab = make_symtab(FWT("x"));
  add_context(symtab, make_context(make_cv(
                          FWT("A"), FWT("1"),
                          make_cv(FWT("A"), FWT("2"), make_cv(FWT("B"), FWT("3"), nullptr)))));
  add_context(symtab,
              make_context(make_cv(FWT("B"), FWT("4"), make_cv(FWT("C"), FWT("5"), nullptr))));
  EXPECT_EQ("1", Lookup(symtab, "A"));
  EXPECT_EQ("3", Lookup(symtab, "B"));
  EXPECT_EQ("5", Lookup(symtab, "C"));
  EXPECT_EQ("(null)", Lookup(symtab, "D"));
  free_symtab(&symtab);
}

TEST(SymbolTable, TheLengthOfANameMustMatchExactly) {
  WH_SYMTAB* symtab = make_symtab(FWT("x"));
  add_context(symtab, make_context(make_cv(FWT("NAME"), FWT("v"), nullptr)));
  EXPECT_EQ("(null)", Lookup(symtab, "NAM"));
  EXPECT_EQ("(null)", Lookup(symtab, "NAMES"));
  EXPECT_EQ("(null)", Lookup(symtab, "name"));
  EXPECT_EQ("(null)", Lookup(symtab, ""));
  // The name need not end where its length does.
  EXPECT_EQ("v", Str(symtab_lookup(FWT("NAME)rest"), symtab, 4)));
  free_symtab(&symtab);
}

// Long lists are searched by a table once they have been searched often.
TEST(SymbolTable, ALongContextAnswersAsOneReadFromItsBeginning) {
  std::mt19937 random(1);
  auto below = [&](size_t n) { return static_cast<int>(random() % n); };
  auto name_of = [](int i) { return i == 0 ? std::string() : "a" + std::to_string(i); };
  for (int round = 0; round < 40; ++round) {
    WH_SYMTAB* symtab = make_symtab(FWT("x"));
    std::map<std::string, std::string> expected;
    for (int contexts = 1 + below(3); contexts > 0; --contexts) {
      WH_CONTEXT_VALUE* list = nullptr;
      Pairs bindings(static_cast<size_t>(below(2) ? 30 + below(6) : below(100)));
      for (auto& [name, value] : bindings) {
        name = name_of(below(120));
        value = std::to_string(below(1000));
        // The first of a name counts, of all contexts so far.
        expected.emplace(name, value);
      }
      for (auto binding = bindings.rbegin(); binding != bindings.rend(); ++binding)
        list = make_cv(Text(binding->first), Text(binding->second), list);
      add_context(symtab, make_context(list));
    }
    for (int search = 0; search < 60; ++search) {
      const std::string name = name_of(below(125));
      const auto found = expected.find(name);
      EXPECT_EQ(found == expected.end() ? "(null)" : found->second,
                Str(symtab_lookup(Text(name + "1)"), symtab, static_cast<uint32>(name.size()))))
          << "round " << round << " search " << search << " " << name;
    }
    free_symtab(&symtab);
  }
}

TEST(SymbolTable, OnlyALongContextThatIsSearchedOftenGetsATable) {
  for (const int bindings : {32, 33}) {
    WH_CONTEXT_VALUE* list = nullptr;
    for (int i = 0; i < bindings; ++i)
      list = make_cv(FWT("NAME"), FWT("v"), list);
    WH_SYMTAB* symtab = make_symtab(FWT("x"));
    WH_CONTEXT* context = make_context(list);
    add_context(symtab, context);
    for (int search = 0; search < 8; ++search)
      EXPECT_EQ("v", Lookup(symtab, "NAME"));
    EXPECT_EQ(nullptr, context->by_name);
    EXPECT_EQ("v", Lookup(symtab, "NAME"));
    EXPECT_EQ(bindings > 32, context->by_name != nullptr);
    free_symtab(&symtab);
  }
}

TEST(SymbolTable, RemovingGivesTheContextBack) {
  WH_SYMTAB* symtab = make_symtab(FWT("x"));
  WH_CONTEXT* context = make_context(make_cv(FWT("A"), FWT("1"), nullptr));
  WH_CONTEXT* other = make_context(make_cv(FWT("A"), FWT("2"), nullptr));
  add_context(symtab, context);
  add_context(symtab, other);
  add_context(symtab, context);
  remove_context(symtab, context);
  EXPECT_EQ("2", Lookup(symtab, "A"));
  EXPECT_EQ(3, FwVectorLength(&symtab->contexts));
  remove_context(symtab, context);
  EXPECT_EQ(2, FwVectorLength(&symtab->contexts));
  remove_context(symtab, context);
  EXPECT_EQ(2, FwVectorLength(&symtab->contexts));
  free_context(&context);
  free_symtab(&symtab);
}

TEST(SymbolTable, OfAProductIsNamedByItsPathFromTheBase) {
  WH_PRODUCT_NAME* name = Prodname("a/b", "Tools", "1.8", "5");
  WH_SYMTAB* symtab = symtab_from_prodname(name, FWT("env.xml"));
  EXPECT_EQ("a/b/Tools/1.8/5/env.xml", Str(symtab->source));
  EXPECT_EQ("Tools", Lookup(symtab, "THIS-NAME"));
  Error err;
  EXPECT_EQ("a/b/Tools/1.8/5", Take(wh_expand(&err, FWT("%(THIS-CNVR)"), symtab)));
  EXPECT_EQ(nullptr, err.pError);
  free_symtab(&symtab);
  free_prodname(&name);
}

TEST(SymbolTable, ThePlatformFormOfTheNameTakesTheVarietysSeparator) {
  WH_PRODUCT_NAME* name = Prodname("a/b", "Tools", "1.8", "5");
  Variety variety({{"platform", "win_nt-x86"}});
  WH_SYMTAB* symtab = symtab_from_prodname(name, FWT("env.xml"));
  add_context(symtab, context_from_variety(&variety));
  Error err;
  EXPECT_EQ("a\\b\\Tools\\1.8\\5.dll",
            Take(wh_expand(&err, FWT("%(PLAT-THIS-CNVR)%(PDLL)"), symtab)));
  EXPECT_EQ(nullptr, err.pError);
  // What the installation was made from is bound nowhere.
  EXPECT_EQ("INSTALLED-FROM/a/b/Tools", Take(wh_expand(&err, FWT("%(FROM-CN)"), symtab)));
  EXPECT_EQ("*** Error: % variable INSTALLED-FROM is not defined in File a/b/Tools/1.8/5/env.xml",
            err.text());
  free_symtab(&symtab);
  free_prodname(&name);
}

TEST(Variant, IsWhatWasStoredLast) {
  Error err;
  Text first("one");
  wh_setVariant(first);
  EXPECT_NE(static_cast<FwTextString>(first), wh_getVariant(&err));
  EXPECT_EQ("one", Str(wh_getVariant(&err)));
  wh_setVariant(FWT("two"));
  EXPECT_EQ("two", Str(wh_getVariant(&err)));
  wh_setVariant(nullptr);
  EXPECT_EQ(nullptr, wh_getVariant(&err));
}

// ---- Self-location: a copy of this program runs inside a small warehouse and prints the name.

class SelfLocation : public testing::Test {
 protected:
  // The copy in a directory of the tree.
  std::string Program(const std::string& directory) {
    tree_.Directory(directory);
    std::string program = tree_ / (directory + "/located");
    std::filesystem::copy_file("/proc/self/exe", program);
    return program;
  }

  RunResult Locate(const std::string& program, const std::string& root) {
    RunOptions options;
    options.environment = {{"LC_ALL=C.UTF-8"}};
    if (!root.empty()) options.environment->push_back("ZORROOT=" + root);
    options.directory = tree_.path();
    return RunProgram({program, "--print-cnvr"}, options);
  }

  // What is printed when both calls fail alike.
  static std::string Twice(const std::string& detail) {
    const std::string line =
        "*** Error:  could not read warehouse structure to get CNVR (" + detail + " )\n";
    return line + line;
  }

  TemporaryTree tree_;
};

TEST_F(SelfLocation, FindsTheProductAboveTheProgram) {
  std::string program = Program("root/c/n/1.0/0/bin");
  tree_.Write("root/c/n/1.0/0/product.xml", "");
  RunResult result = Locate(program, tree_ / "root");
  EXPECT_EQ("c|n|1.0|0\nc|n|1.0|0\n", result.out);
  EXPECT_EQ("", result.err);
}

TEST_F(SelfLocation, WorksWithATrailingSeparatorAndADeepCategory) {
  std::string program = Program("root/a/b/n/1.0/0/linux/bin");
  tree_.Write("root/a/b/n/1.0/0/product.xml", "");
  EXPECT_EQ("a/b|n|1.0|0\na/b|n|1.0|0\n", Locate(program, tree_ / "root/").out);
}

TEST_F(SelfLocation, TheCurrentDirectoryStandsForAnUnsetRoot) {
  std::string program = Program("c/n/1.0/0/bin");
  tree_.Write("c/n/1.0/0/product.xml", "");
  EXPECT_EQ("c|n|1.0|0\nc|n|1.0|0\n", Locate(program, "").out);
}

TEST_F(SelfLocation, TheShallowestProductWins) {
  std::string program = Program("root/c/n/1.0/0/sub/bin");
  tree_.Write("root/c/n/1.0/0/product.xml", "");
  tree_.Write("root/c/n/1.0/0/sub/product.xml", "");
  EXPECT_EQ("c|n|1.0|0\nc|n|1.0|0\n", Locate(program, tree_ / "root").out);
}

TEST_F(SelfLocation, TheProgramsOwnDirectoryIsNotLookedAt) {
  std::string program = Program("root/c/n/1.0/0");
  tree_.Write("root/c/n/1.0/0/product.xml", "");
  RunResult result = Locate(program, tree_ / "root");
  EXPECT_EQ("", result.out);
  EXPECT_EQ(Twice("product.xml not found"), result.err);
  // Nor when it is the root itself.
  EXPECT_EQ(Twice("product.xml not found"), Locate(program, tree_ / "root/c/n/1.0/0").err);
}

TEST_F(SelfLocation, AProgramOutsideTheRootIsReported) {
  std::string program = Program("elsewhere/bin");
  tree_.Directory("root");
  RunResult result = Locate(program, tree_ / "root");
  EXPECT_EQ("", result.out);
  EXPECT_EQ(Twice("$ZORROOT is not set correctly  - executable is not inside $ZORROOT"),
            result.err);
}

TEST_F(SelfLocation, AProductTooCloseToTheRootHasNoName) {
  std::string program = Program("root/n/1.0/0/bin");
  tree_.Write("root/n/1.0/0/product.xml", "");
  EXPECT_EQ(Twice("Could not read product information from product.xml"),
            Locate(program, tree_ / "root").err);
}

TEST_F(SelfLocation, WithoutRootAndCurrentDirectoryThereIsNothingToLookIn) {
  std::string program = Program("bin");
  tree_.Directory("gone");
  RunOptions options;
  options.environment = {{"LC_ALL=C.UTF-8"}};
  options.directory = tree_ / "gone";
  RunResult result = RunProgram({program, "--print-cnvr", "--lose-directory"}, options);
  EXPECT_EQ("zorroot unsetzorroot unset", result.out);
  EXPECT_EQ(Twice("$ZORROOT unset"), result.err);
}

}  // namespace
