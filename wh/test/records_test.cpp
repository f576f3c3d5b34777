#include <gtest/gtest.h>

#include <cstring>

#include "fwerror.h"
#include "hostplat.h"
#include "model_support.h"
#include "warehouse/private.h"

namespace {

std::string NameFromPath(const char* path) {
  Text text(path);
  WH_PRODUCT_NAME* name = name_from_path(text);
  std::string fields = Fields(name);
  free_prodname(&name);
  return fields;
}

TEST(NameFromPath, ThreeElementsAreTooFew) {
  EXPECT_EQ("(null)", NameFromPath("Tools/1.8/5"));
  EXPECT_EQ("(null)", NameFromPath(""));
}

TEST(NameFromPath, TheLastThreeElementsAreNameVersionAndRev) {
  EXPECT_EQ("c|Tools|1.8|5", NameFromPath("c/Tools/1.8/5"));
  EXPECT_EQ("a/b|Tools|1.8|5", NameFromPath("a/b/Tools/1.8/5"));
}

TEST(NameFromPath, OneSeparatorIsSteppedOverAfterAnElement) {
  EXPECT_EQ("c|Tools|1.8|5", NameFromPath("c/Tools/1.8/5/"));
  // A further one makes an empty element, which counts but adds nothing to the category.
  EXPECT_EQ("c|Tools|1.8|5", NameFromPath("/c/Tools/1.8/5"));
  EXPECT_EQ("a/b|Tools|1.8|5", NameFromPath("a//b/Tools/1.8/5"));
  EXPECT_EQ("Tools|1.8||5", NameFromPath("Tools/1.8//5"));
}

TEST(Hash, FoldsTheBytesByFour) {
  EXPECT_EQ(0, hash(FWT("")));
  EXPECT_EQ(4209, hash(FWT("bcd")));
  // The a's at 0 and 4 cancel out; what is left is not the key "bcd", whose bytes stand elsewhere.
  EXPECT_EQ(532, hash(FWT("abcdaXYZ")));
  EXPECT_EQ(0, hash(FWT("abcdabcd")));
  // 0x61 * 0.6180339887498949 = 59.9492969..., and 0.9492969... * 7393 = 7018.15...
  EXPECT_EQ(7018, hash(FWT("a")));
}

TEST(Hash, StaysBelowItsNumberOfSlots) {
  for (const char* key : {"zorenv", "\xff\xff\xff\xff", "/opt/tools/1.8/5/bin", "x"}) {
    EXPECT_GE(hash(FWT(key)), 0) << key;
    EXPECT_LE(hash(FWT(key)), 7392) << key;
  }
}

TEST(ProductName, TheCallersCategoryIsRewritten) {
  Text category("a\\b:c");
  WH_PRODUCT_NAME* name = make_prodname(category, FWT("n\\:"), FWT("1:0"), FWT("+"));
  EXPECT_EQ("a/b/c", category.str());
  EXPECT_EQ("a/b/c|n\\:|1:0|+", Fields(name));
  EXPECT_NE(static_cast<FwTextString>(category), name->category);
  free_prodname(&name);
  EXPECT_EQ(nullptr, name);
}

TEST(ProductName, FieldsMayBeNull) {
  Text category("c");
  WH_PRODUCT_NAME* name = make_prodname(category, nullptr, nullptr, nullptr);
  EXPECT_EQ("c|(null)|(null)|(null)", Fields(name));
  free_prodname(&name);
}

TEST(ProductName, EqualityIsOfAllFourFieldsByteByByte) {
  const char* const other[][4] = {
      {"C", "n", "1", "2"}, {"c", "N", "1", "2"}, {"c", "n", "1.0", "2"}, {"c", "n", "1", "02"}};
  WH_PRODUCT_NAME* name = Prodname("c", "n", "1", "2");
  WH_PRODUCT_NAME* same = Prodname("c", "n", "1", "2");
  EXPECT_TRUE(equal_prodnames(name, same));
  for (const auto& fields : other) {
    WH_PRODUCT_NAME* differs = Prodname(fields[0], fields[1], fields[2], fields[3]);
    EXPECT_FALSE(equal_prodnames(name, differs)) << Fields(differs);
    free_prodname(&differs);
  }
  free_prodname(&same);
  free_prodname(&name);
}

TEST(ProductPath, IsCategoryNameVersionRev) {
  WH_PRODUCT_NAME* name = Prodname("a/b", "Tools", "1.8", "5");
  EXPECT_EQ("/base/a/b/Tools/1.8/5", Take(wh_dirpath(FWT("/base"), name)));
  EXPECT_EQ("/base/a/b/Tools/1.8/5", Take(wh_dirpath(FWT("/base/"), name)));
  EXPECT_EQ("/base/a/b/Tools/1.8/5/env.xml", Take(wh_filepath(FWT("/base"), name, FWT("env.xml"))));
  free_prodname(&name);
}

TEST(ProductPath, AnEmptyDirectoryGivesARelativePath) {
  WH_PRODUCT_NAME* name = Prodname("c", "n", "1", "2");
  EXPECT_EQ("c/n/1/2/env.xml", Take(wh_filepath(FWT(""), name, FWT("env.xml"))));
  free_prodname(&name);
}

TEST(ProductPath, ForeignSeparatorsOfTheFileNameAreTakenAsSeparators) {
  WH_PRODUCT_NAME* name = Prodname("c", "n", "1", "2");
  EXPECT_EQ("/base/c/n/1/2/sub/dir/file",
            Take(wh_filepath(FWT("/base"), name, FWT("sub\\dir:file"))));
  free_prodname(&name);
}

TEST(Separators, AreAllTurnedIntoSlashes) {
  Text path("\\a/b:c\\");
  standardize_separators(path);
  EXPECT_EQ("/a/b/c/", path.str());
}

TEST(Vectors, OpenInStorageThatIsNotZeroed) {
  FwVector vector;
  std::memset(static_cast<void*>(&vector), 0x55, sizeof vector);
  open_vector(&vector, 0);
  EXPECT_EQ(1, vector.nCurrentAllocSize);
  EXPECT_EQ(0, FwVectorLength(&vector));
  FwVectorAbandon(&vector, 0);
}

TEST(Vectors, RecyclingEmptiesAndOpensAnew) {
  FwVector vector;
  open_vector(&vector, 3);
  FwVectorAddElement(&vector, FwStrDuplicate(FWT("freed")));
  recycle_vector(&vector, 1, 7);
  EXPECT_EQ(0, FwVectorLength(&vector));
  EXPECT_EQ(7, vector.nCurrentAllocSize);
  FwVectorAbandon(&vector, 0);
}

TEST(Strings, DuplicateOfNullIsNull) {
  EXPECT_EQ(nullptr, dup_str(nullptr));
  EXPECT_EQ("x", Take(dup_str(FWT("x"))));
}

TEST(ErrorHelpers, ExcusedIsTrueOnAClearState) {
  Error err;
  EXPECT_TRUE(excused(&err));
  EXPECT_EQ(nullptr, err.pError);
}

TEST(ErrorHelpers, ExcusedClearsOnlyWhatDoesNotExist) {
  Error err;
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("x"));
  EXPECT_TRUE(excused(&err));
  EXPECT_EQ(nullptr, err.pError);
  FwErrorSet(&err, fwErrorAccessDenied, 2, FWT("File"), FWT("x"));
  EXPECT_FALSE(excused(&err));
  EXPECT_EQ(fwErrorAccessDenied, err.pError);
}

TEST(ErrorHelpers, IsErrorNonExistentCoversDescendantsAndNothingElse) {
  static FwError gone;
  if (gone.ptbzFormat == nullptr)
    Fw_msg_CreateError(&gone, fwErrorNonExistent, reinterpret_cast<FwObj*>(uintptr_t{1}),
                       FWT("Error: gone"));
  const std::pair<FwError*, int> rows[] = {{fwErrorNonExistent, 1},
                                           {&gone, 1},
                                           {fwErrorOperationDenied, 0},
                                           {fwErrorAccessDenied, 0},
                                           {fwErrorStringValue, 0}};
  for (auto [kind, expected] : rows) {
    SCOPED_TRACE(kind);
    Error err;
    FwErrorSet(&err, kind, 0);
    EXPECT_EQ(expected, is_ErrorNonExistent(&err));
    EXPECT_EQ(kind, err.pError);
    EXPECT_EQ(expected, excused(&err));
  }
  Error clear;
  EXPECT_EQ(0, is_ErrorNonExistent(&clear));
}

TEST(ErrorHelpers, ReportKeepsTheErrorAndGivesOne) {
  Reports reports;
  Error err;
  EXPECT_EQ(0, report(&err, Reports::Collect));
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("x"));
  EXPECT_EQ(1, report(&err, Reports::Collect));
  EXPECT_EQ(1, report(&err, nullptr));
  EXPECT_EQ(fwErrorNonExistent, err.pError);
  EXPECT_EQ(std::vector<std::string>{"*** Error: File x Does not exist"}, reports.lines());
}

TEST(ErrorHelpers, RepClearHasTheOppositeSense) {
  Reports reports;
  Error err;
  EXPECT_EQ(1, rep_clear(&err, Reports::Collect));
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("x"));
  EXPECT_EQ(0, rep_clear(&err, Reports::Collect));
  EXPECT_EQ(nullptr, err.pError);
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("y"));
  EXPECT_EQ(0, rep_clear(&err, nullptr));
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ(std::vector<std::string>{"*** Error: File x Does not exist"}, reports.lines());
}

TEST(Vars, FreeingANullListDoesNothing) {
  WH_VAR* var = nullptr;
  free_vars(&var);
  EXPECT_EQ(nullptr, var);
}

TEST(Vars, HoldCopiesAndMayBeNull) {
  Text n("n");
  Text v("v");
  WH_VAR* var = make_var(n, v);
  EXPECT_NE(static_cast<FwTextString>(n), var->n);
  EXPECT_EQ("n=v", Str(var->n) + "=" + Str(var->v));
  EXPECT_EQ(nullptr, var->next);
  var->next = make_var(nullptr, nullptr);
  EXPECT_EQ(nullptr, var->next->n);
  EXPECT_EQ(nullptr, var->next->v);
  free_vars(&var);
  EXPECT_EQ(nullptr, var);
}

TEST(Vars, AListOfAnyLengthIsFreedWithoutRecursion) {
  WH_VAR* list = nullptr;
  WH_PATTERN* chain = nullptr;
  for (int i = 0; i < 300000; i++) {
    WH_VAR* var = make_var(nullptr, nullptr);
    var->next = list;
    list = var;
    WH_PATTERN* pattern = make_pattern();
    pattern->next = chain;
    chain = pattern;
  }
  free_vars(&list);
  EXPECT_EQ(nullptr, list);
  free_pattern(&chain);
  EXPECT_EQ(nullptr, chain);
}

TEST(Patterns, StartEmpty) {
  WH_PATTERN* pattern = make_pattern();
  EXPECT_EQ(nullptr, pattern->vars);
  EXPECT_EQ(nullptr, pattern->host);
  EXPECT_EQ(nullptr, pattern->next);
  free_pattern(&pattern);
  EXPECT_EQ(nullptr, pattern);
}

TEST(Varieties, ASequenceHasRoomForTwentyAndOwnsNoVariety) {
  WH_VARIETY variety;
  WH_VARIETY_SEQ* seq = make_variety_seq();
  EXPECT_EQ(20, seq->seq.nCurrentAllocSize);
  add_variety(seq, &variety);
  add_variety(seq, &variety);
  WH_VARIETY_SEQ* dup = dup_variety_seq(seq);
  free_variety_seq(&seq);
  EXPECT_EQ(nullptr, seq);
  ASSERT_EQ(2, FwVectorLength(&dup->seq));
  EXPECT_EQ(2, dup->seq.nCurrentAllocSize);
  EXPECT_EQ(&variety, FwVectorGetElement(&dup->seq, 1));
  free_variety_seq(&dup);
}

TEST(Varieties, AnEmptySequenceIsDuplicatedInSilence) {
  WH_VARIETY_SEQ* seq = make_variety_seq();
  WH_VARIETY_SEQ* dup = dup_variety_seq(seq);
  EXPECT_EQ(0, FwVectorLength(&dup->seq));
  free_variety_seq(&dup);
  free_variety_seq(&seq);
}

TEST(Varieties, AreCompleteIfEverySegmentIsHere) {
  WH_SEG second = {nullptr, 1, nullptr};
  WH_SEG first = {nullptr, 2, &second};
  WH_VARIETY variety;
  EXPECT_TRUE(wh_variety_is_complete(&variety));
  variety.segs = &first;
  EXPECT_TRUE(wh_variety_is_complete(&variety));
  second.here = 0;
  EXPECT_FALSE(wh_variety_is_complete(&variety));
}

TEST(Queries, OwnTheirNameAndPattern) {
  WH_PRODUCT_NAME* name = Prodname("c", "n", "1", "2");
  WH_PATTERN* pattern = Alternative({{"platform", "unix"}}, "all");
  WH_PRODUCT_QUERY* query = make_query(name, pattern, 3);
  EXPECT_EQ(name, query->prodname);
  EXPECT_EQ(pattern, query->pattern);
  EXPECT_EQ(3, query->optional);
  EXPECT_EQ(2, query->media.nCurrentAllocSize);
  FwVectorAddElement(&query->media, FwStrDuplicate(FWT("cd")));
  WH_PRODUCT_QUERY_LIST* list = make_querylist();
  EXPECT_EQ(5, list->queries.nCurrentAllocSize);
  add_query(list, query);
  ASSERT_EQ(1, FwVectorLength(&list->queries));
  EXPECT_EQ(query, FwVectorGetElement(&list->queries, 0));
  free_querylist(&list);
  EXPECT_EQ(nullptr, list);
}

TEST(Specs, ADuplicateSharesProductAndVarieties) {
  WH_PRODUCT product;
  WH_VARIETY variety;
  WH_PRODUCT_SPEC* spec = make_spec(&product, make_variety_seq());
  EXPECT_EQ(0, spec->toplevel);
  add_variety(spec->varieties, &variety);
  spec->toplevel = 1;
  WH_PRODUCT_SPEC* dup = dup_spec(spec);
  EXPECT_EQ(&product, dup->product);
  EXPECT_EQ(1, dup->toplevel);
  EXPECT_NE(spec->varieties, dup->varieties);
  EXPECT_EQ(&variety, FwVectorGetElement(&dup->varieties->seq, 0));
  WH_PRODUCT_SPEC_LIST* list = make_speclist();
  EXPECT_EQ(5, list->specs.nCurrentAllocSize);
  add_spec(list, spec);
  add_spec(list, dup);
  free_speclist(&list);
  EXPECT_EQ(nullptr, list);
}

TEST(Records, FreeingNullDoesNothing) {
  WH_PATTERN* pattern = nullptr;
  free_pattern(&pattern);
  WH_VARIETY_SEQ* varieties = nullptr;
  free_variety_seq(&varieties);
  WH_PRODUCT_NAME* name = nullptr;
  free_prodname(&name);
  WH_PRODUCT_QUERY* query = nullptr;
  free_query(&query);
  WH_PRODUCT_QUERY_LIST* querylist = nullptr;
  free_querylist(&querylist);
  WH_PRODUCT_SPEC* spec = nullptr;
  free_spec(&spec);
  WH_PRODUCT_SPEC_LIST* speclist = nullptr;
  free_speclist(&speclist);
  WH_CONTEXT_VALUE* cv = nullptr;
  free_cv_list(&cv);
  WH_CONTEXT* context = nullptr;
  free_context(&context);
  WH_SYMTAB* symtab = nullptr;
  free_symtab(&symtab);
  WH_PRODUCT* product = nullptr;
  free_product(&product);
}

TEST(WhInit, NotesTheHostsPlatform) {
  char name[kHostPlatformSize];
  host_platform(name);
  EXPECT_EQ(name, Str(wh_host_platform));
  WH_SYMTAB* symtab = make_symtab(FWT("x"));
  EXPECT_EQ(wh_host_platform, symtab_lookup(FWT("HOST-PLATFORM"), symtab, 13));
  free_symtab(&symtab);
}

TEST(SetHostPlatform, CountsForTheGlobalNameToo) {
  const std::string before = Str(wh_host_platform);
  std::string name = "solaris_8-sparc";
  wh_set_host_platform(FWT(name.data()));
  name[0] = 'x';
  EXPECT_EQ("solaris_8-sparc", Str(wh_host_platform));
  WH_SYMTAB* symtab = make_symtab(FWT("x"));
  EXPECT_EQ("solaris_8-sparc", Str(symtab_lookup(FWT("HOST-PLATFORM"), symtab, 13)));
  free_symtab(&symtab);
  std::string back = before;
  wh_set_host_platform(FWT(back.data()));
  EXPECT_EQ(before, Str(wh_host_platform));
}

}  // namespace
