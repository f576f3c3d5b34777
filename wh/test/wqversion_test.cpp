// The order of version names.
#include "wqversion.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model_support.h"
#include "recorder.h"

namespace {

using Groups = std::vector<std::vector<std::string>>;

Groups Parse(const char* version, int dots = 0, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  WQ_PARSED_VERSION* pv = wq_parse_version_dots(FWT(version), dots);
  EXPECT_STREQ(version, FWC(pv->version));
  Groups groups;
  for (int32 j = 0; j < FwVectorLength(&pv->elements); ++j) {
    auto* element = static_cast<FwVector*>(FwVectorGetElement(&pv->elements, j));
    groups.emplace_back();
    for (int32 k = 0; k < FwVectorLength(element); ++k)
      groups.back().push_back(Str(static_cast<FwTextString>(FwVectorGetElement(element, k))));
  }
  free_parsed_version(&pv);
  EXPECT_EQ(nullptr, pv);
  return groups;
}

int Compare(const char* v1, const char* v2, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  int order = wq_compare_versions(FWT(v1), FWT(v2));
  EXPECT_EQ(-order, wq_compare_versions(FWT(v2), FWT(v1))) << v1 << " and " << v2;
  return order;
}

TEST(Version, IsCutAtDotsAndBetweenDigitsAndOthers) {
  EXPECT_EQ((Groups{{"1"}, {"10", "b", "2"}}), Parse("1.10b2"));
  EXPECT_EQ((Groups{{"1"}, {"2"}}), Parse("1..2."));
  EXPECT_EQ(Groups{}, Parse(""));
  EXPECT_EQ(Groups{}, Parse("."));
  EXPECT_EQ((Groups{{"abc-", "12", "_x"}}), Parse("abc-12_x"));
  EXPECT_EQ((Groups{{"\xC3\xA9", "1"}}), Parse("\xC3\xA9"
                                               "1"));
}

TEST(Version, DotsAreAddedBehindEveryCharacterOfAnUndottedText) {
  EXPECT_EQ((Groups{{"1"}, {"5"}, {"0"}}), Parse("150", 1));
  EXPECT_EQ((Groups{{"1"}, {"50"}}), Parse("1.50", 1));
  EXPECT_EQ((Groups{{"a"}, {"\xC3\xA9"}}), Parse("a\xC3\xA9", 1));
}

TEST(Version, OrderOfPairs) {
  struct {
    const char* v1;
    const char* v2;
    int order;
  } rows[] = {
      {"1.10", "1.9", 1},
      {"1.9", "1.09", 0},
      {"1.0", "1", 1},
      {"2.2a", "2.2", 1},
      {"2.2a", "2.2b", -1},
      {"2.2A", "2.2a", 0},
      {"1.8", "18", 0},
      {"150", "1.6", -1},
      {"150", "16", 1},
      {"16", "1.6", 0},
      {"", "0", -1},
      {"", ".", 0},
      {"", "a", -1},
      {"1a", "1", 1},
      {"1.B", "1.a", -1},  // by code point, although equal letters are blind to case
      {"1.b", "1.a", 1},
      {"1.ab", "1.Ac", -1},
      {"1.abc", "1.AB", 1},
      {"1.a", "1.1", 1},  // digits come first
      {"1.-", "1.1", -1},
      {"zzz", "1.9", 1},
      {"README", "2.0", 1},
      {".svn", "1.0", 1},
      {"1.2.3", "1.2", 1},
      {"1.2", "1.10.1", -1},
      {"007", "7", 0},
      {"1.\xC3\xA9", "1.z", 1},
      {"1.\xC3\xA9", "1.\xC3\x89", 1},  // folding knows ASCII only
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.order, Compare(row.v1, row.v2)) << row.v1 << " " << row.v2;
}

TEST(Version, AGroupBeyond32BitsReadsAsZero) {
  EXPECT_EQ(1, Compare("4294967295", "1"));
  EXPECT_EQ(-1, Compare("4294967296", "1"));
  EXPECT_EQ(-1, Compare("20240115093000", "1"));
  EXPECT_EQ(0, Compare("20240115093000", "0"));
}

// The character says that both groups are digits. Its bytes make no number, so 0 is compared.
TEST(Version, ADigitInAnOverlongEncodingIsADigit) {
  CollectReports reports;
  EXPECT_EQ(-1, Compare("\xC0\x32", "2"));
  EXPECT_EQ(1, Compare("2", "\xC0\x32"));
  EXPECT_EQ(-1, Compare("\xC0\x32", "10"));
  EXPECT_EQ(0, Compare("\xC0\x32", "0"));
  for (const std::string& text : reports.asserts())
    EXPECT_EQ("Badly encoded UTF-8 character (overly long encoding)", text) << text;
}

TEST(Version, TheOrderIsNotTransitiveAcrossDots) {
  EXPECT_EQ(0, Compare("16", "1.6"));
  EXPECT_EQ(1, Compare("1.6", "150"));
  EXPECT_EQ(1, Compare("150", "16"));
}

TEST(Version, ParsesAreComparedAsTheyAreByTheInnerComparison) {
  WQ_PARSED_VERSION* pv1 = wq_parse_version(FWT("18"));
  WQ_PARSED_VERSION* pv2 = wq_parse_version(FWT("1.8"));
  EXPECT_EQ(1, wq_pv_compare_dots(pv1, pv2));
  EXPECT_EQ(0, wq_pv_compare(pv1, pv2));
  free_parsed_version(&pv1);
  free_parsed_version(&pv2);
}

TEST(Version, RevisionsDecideBetweenEqualVersions) {
  EXPECT_EQ(-1, wq_compare_ver_rev(FWT("1.0"), FWT("5"), FWT("1.0"), FWT("10")));
  EXPECT_EQ(1, wq_compare_ver_rev(FWT("1.1"), FWT("5"), FWT("1.0"), FWT("10")));
  EXPECT_EQ(0, wq_compare_ver_rev(FWT("1.0"), FWT("5"), FWT("1.00"), FWT("5")));
}

TEST(Version, PutsItsTextAsGiven) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("v"));
  WQ_PARSED_VERSION* pv = wq_parse_version(FWT("1..2"));
  wq_put_parsed_version(&record, pv);
  free_parsed_version(&pv);
  EXPECT_EQ("v1..2", Take(FwStrRecordClose(&record)));
  free_parsed_version(&pv);  // null is accepted
}

}  // namespace
