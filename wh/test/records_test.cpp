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
  EXPECT_EQ(NameFromPath("Tools/1.8/5"), "(null)");
  EXPECT_EQ(NameFromPath(""), "(null)");
}

TEST(NameFromPath, TheLastThreeElementsAreNameVersionAndRev) {
  EXPECT_EQ(NameFromPath("c/Tools/1.8/5"), "c|Tools|1.8|5");
  EXPECT_EQ(NameFromPath("a/b/Tools/1.8/5"), "a/b|Tools|1.8|5");
}

TEST(NameFromPath, OneSeparatorIsSteppedOverAfterAnElement) {
  EXPECT_EQ(NameFromPath("c/Tools/1.8/5/"), "c|Tools|1.8|5");
  // A further one makes an empty element, which counts but adds nothing to the category.
  EXPECT_EQ(NameFromPath("/c/Tools/1.8/5"), "c|Tools|1.8|5");
  EXPECT_EQ(NameFromPath("a//b/Tools/1.8/5"), "a/b|Tools|1.8|5");
  EXPECT_EQ(NameFromPath("Tools/1.8//5"), "Tools|1.8||5");
}

TEST(Hash, FoldsTheBytesByFour) {
  EXPECT_EQ(hash(FWT("")), 0);
  EXPECT_EQ(hash(FWT("bcd")), 4209);
  // The a's at 0 and 4 cancel out; what is left is not the key "bcd", whose bytes stand elsewhere.
  EXPECT_EQ(hash(FWT("abcdaXYZ")), 532);
  EXPECT_EQ(hash(FWT("abcdabcd")), 0);
  // 0x61 * 0.6180339887498949 = 59.9492969..., and 0.9492969... * 7393 = 7018.15...
  EXPECT_EQ(hash(FWT("a")), 7018);
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
  EXPECT_EQ(category.str(), "a/b/c");
  EXPECT_EQ(Fields(name), "a/b/c|n\\:|1:0|+");
  EXPECT_NE(name->category, static_cast<FwTextString>(category));
  free_prodname(&name);
  EXPECT_EQ(name, nullptr);
}

TEST(ProductName, FieldsMayBeNull) {
  Text category("c");
  WH_PRODUCT_NAME* name = make_prodname(category, nullptr, nullptr, nullptr);
  EXPECT_EQ(Fields(name), "c|(null)|(null)|(null)");
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
  EXPECT_EQ(Take(wh_dirpath(FWT("/base"), name)), "/base/a/b/Tools/1.8/5");
  EXPECT_EQ(Take(wh_dirpath(FWT("/base/"), name)), "/base/a/b/Tools/1.8/5");
  EXPECT_EQ(Take(wh_filepath(FWT("/base"), name, FWT("env.xml"))), "/base/a/b/Tools/1.8/5/env.xml");
  free_prodname(&name);
}

TEST(ProductPath, AnEmptyDirectoryGivesARelativePath) {
  WH_PRODUCT_NAME* name = Prodname("c", "n", "1", "2");
  EXPECT_EQ(Take(wh_filepath(FWT(""), name, FWT("env.xml"))), "c/n/1/2/env.xml");
  free_prodname(&name);
}

TEST(ProductPath, ForeignSeparatorsOfTheFileNameAreTakenAsSeparators) {
  WH_PRODUCT_NAME* name = Prodname("c", "n", "1", "2");
  EXPECT_EQ(Take(wh_filepath(FWT("/base"), name, FWT("sub\\dir:file"))),
            "/base/c/n/1/2/sub/dir/file");
  free_prodname(&name);
}

TEST(Separators, AreAllTurnedIntoSlashes) {
  Text path("\\a/b:c\\");
  standardize_separators(path);
  EXPECT_EQ(path.str(), "/a/b/c/");
}

TEST(Vectors, OpenInStorageThatIsNotZeroed) {
  FwVector vector;
  std::memset(static_cast<void*>(&vector), 0x55, sizeof vector);
  open_vector(&vector, 0);
  EXPECT_EQ(vector.nCurrentAllocSize, 1);
  EXPECT_EQ(FwVectorLength(&vector), 0);
  FwVectorAbandon(&vector, 0);
}

TEST(Vectors, RecyclingEmptiesAndOpensAnew) {
  FwVector vector;
  open_vector(&vector, 3);
  FwVectorAddElement(&vector, FwStrDuplicate(FWT("freed")));
  recycle_vector(&vector, 1, 7);
  EXPECT_EQ(FwVectorLength(&vector), 0);
  EXPECT_EQ(vector.nCurrentAllocSize, 7);
  FwVectorAbandon(&vector, 0);
}

TEST(Strings, DuplicateOfNullIsNull) {
  EXPECT_EQ(dup_str(nullptr), nullptr);
  EXPECT_EQ(Take(dup_str(FWT("x"))), "x");
}

TEST(ErrorHelpers, ExcusedIsTrueOnAClearState) {
  Error err;
  EXPECT_TRUE(excused(&err));
  EXPECT_EQ(err.pError, nullptr);
}

TEST(ErrorHelpers, ExcusedClearsOnlyWhatDoesNotExist) {
  Error err;
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("x"));
  EXPECT_TRUE(excused(&err));
  EXPECT_EQ(err.pError, nullptr);
  FwErrorSet(&err, fwErrorAccessDenied, 2, FWT("File"), FWT("x"));
  EXPECT_FALSE(excused(&err));
  EXPECT_EQ(err.pError, fwErrorAccessDenied);
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
    Error err;
    FwErrorSet(&err, kind, 0);
    EXPECT_EQ(is_ErrorNonExistent(&err), expected);
    EXPECT_EQ(err.pError, kind);
    EXPECT_EQ(excused(&err), expected);
  }
  Error clear;
  EXPECT_EQ(is_ErrorNonExistent(&clear), 0);
}

TEST(ErrorHelpers, ReportKeepsTheErrorAndGivesOne) {
  Reports reports;
  Error err;
  EXPECT_EQ(report(&err, Reports::Collect), 0);
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("x"));
  EXPECT_EQ(report(&err, Reports::Collect), 1);
  EXPECT_EQ(report(&err, nullptr), 1);
  EXPECT_EQ(err.pError, fwErrorNonExistent);
  EXPECT_EQ(reports.lines(), std::vector<std::string>{"*** Error: File x Does not exist"});
}

TEST(ErrorHelpers, RepClearHasTheOppositeSense) {
  Reports reports;
  Error err;
  EXPECT_EQ(rep_clear(&err, Reports::Collect), 1);
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("x"));
  EXPECT_EQ(rep_clear(&err, Reports::Collect), 0);
  EXPECT_EQ(err.pError, nullptr);
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("y"));
  EXPECT_EQ(rep_clear(&err, nullptr), 0);
  EXPECT_EQ(err.pError, nullptr);
  EXPECT_EQ(reports.lines(), std::vector<std::string>{"*** Error: File x Does not exist"});
}

TEST(Vars, FreeingANullListDoesNothing) {
  WH_VAR* var = nullptr;
  free_vars(&var);
  EXPECT_EQ(var, nullptr);
}

TEST(Vars, HoldCopiesAndMayBeNull) {
  Text n("n");
  Text v("v");
  WH_VAR* var = make_var(n, v);
  EXPECT_NE(var->n, static_cast<FwTextString>(n));
  EXPECT_EQ(Str(var->n) + "=" + Str(var->v), "n=v");
  EXPECT_EQ(var->next, nullptr);
  var->next = make_var(nullptr, nullptr);
  EXPECT_EQ(var->next->n, nullptr);
  EXPECT_EQ(var->next->v, nullptr);
  free_vars(&var);
  EXPECT_EQ(var, nullptr);
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
  EXPECT_EQ(list, nullptr);
  free_pattern(&chain);
  EXPECT_EQ(chain, nullptr);
}

TEST(Patterns, StartEmpty) {
  WH_PATTERN* pattern = make_pattern();
  EXPECT_EQ(pattern->vars, nullptr);
  EXPECT_EQ(pattern->host, nullptr);
  EXPECT_EQ(pattern->next, nullptr);
  free_pattern(&pattern);
  EXPECT_EQ(pattern, nullptr);
}

TEST(Varieties, ASequenceHasRoomForTwentyAndOwnsNoVariety) {
  WH_VARIETY variety;
  WH_VARIETY_SEQ* seq = make_variety_seq();
  EXPECT_EQ(seq->seq.nCurrentAllocSize, 20);
  add_variety(seq, &variety);
  add_variety(seq, &variety);
  WH_VARIETY_SEQ* dup = dup_variety_seq(seq);
  free_variety_seq(&seq);
  EXPECT_EQ(seq, nullptr);
  ASSERT_EQ(FwVectorLength(&dup->seq), 2);
  EXPECT_EQ(dup->seq.nCurrentAllocSize, 2);
  EXPECT_EQ(FwVectorGetElement(&dup->seq, 1), &variety);
  free_variety_seq(&dup);
}

TEST(Varieties, AnEmptySequenceIsDuplicatedInSilence) {
  WH_VARIETY_SEQ* seq = make_variety_seq();
  WH_VARIETY_SEQ* dup = dup_variety_seq(seq);
  EXPECT_EQ(FwVectorLength(&dup->seq), 0);
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
  EXPECT_EQ(query->prodname, name);
  EXPECT_EQ(query->pattern, pattern);
  EXPECT_EQ(query->optional, 3);
  EXPECT_EQ(query->media.nCurrentAllocSize, 2);
  FwVectorAddElement(&query->media, FwStrDuplicate(FWT("cd")));
  WH_PRODUCT_QUERY_LIST* list = make_querylist();
  EXPECT_EQ(list->queries.nCurrentAllocSize, 5);
  add_query(list, query);
  ASSERT_EQ(FwVectorLength(&list->queries), 1);
  EXPECT_EQ(FwVectorGetElement(&list->queries, 0), query);
  free_querylist(&list);
  EXPECT_EQ(list, nullptr);
}

TEST(Specs, ADuplicateSharesProductAndVarieties) {
  WH_PRODUCT product;
  WH_VARIETY variety;
  WH_PRODUCT_SPEC* spec = make_spec(&product, make_variety_seq());
  EXPECT_EQ(spec->toplevel, 0);
  add_variety(spec->varieties, &variety);
  spec->toplevel = 1;
  WH_PRODUCT_SPEC* dup = dup_spec(spec);
  EXPECT_EQ(dup->product, &product);
  EXPECT_EQ(dup->toplevel, 1);
  EXPECT_NE(dup->varieties, spec->varieties);
  EXPECT_EQ(FwVectorGetElement(&dup->varieties->seq, 0), &variety);
  WH_PRODUCT_SPEC_LIST* list = make_speclist();
  EXPECT_EQ(list->specs.nCurrentAllocSize, 5);
  add_spec(list, spec);
  add_spec(list, dup);
  free_speclist(&list);
  EXPECT_EQ(list, nullptr);
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
  EXPECT_EQ(Str(wh_host_platform), name);
  WH_SYMTAB* symtab = make_symtab(FWT("x"));
  EXPECT_EQ(symtab_lookup(FWT("HOST-PLATFORM"), symtab, 13), wh_host_platform);
  free_symtab(&symtab);
}

}  // namespace
