#include "vqassert.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "recorder.h"

namespace {

char kFile[] = "file.cpp";

struct FreshHistory {
  FreshHistory() { vq_assert_history_count = 0; }
  ~FreshHistory() { vq_assert_history_count = 0; }
};

TEST(VqAssert, ReportsASiteOnceWhileTheHistoryIsOn) {
  FreshHistory fresh;
  char message[] = "broken";
  ExpectAsserts expected({"broken"});
  vq_assert_history = 1;
  VqAssert(kFile, 1, message);
  VqAssert(kFile, 1, message);
}

TEST(VqAssert, TellsSitesApartByTheAddressOfTheMessage) {
  FreshHistory fresh;
  char first[] = "same";
  char second[] = "same";
  ExpectAsserts expected({"same", "same"});
  vq_assert_history = 1;
  VqAssert(kFile, 1, first);
  VqAssert(kFile, 1, second);
}

TEST(VqAssert, ReportsEachTimeWithTheHistoryOff) {
  char message[] = "again";
  ExpectAsserts expected({"again", "again"});
  VqAssert(kFile, 2, message);
  VqAssert(kFile, 2, message);
}

TEST(VqAssert, ForgetsTheOldestOf257Sites) {
  FreshHistory fresh;
  char message[] = "site";
  CollectReports reports;
  vq_assert_history = 1;
  for (int line = 1; line <= 257; ++line)
    VqAssert(kFile, line, message);
  EXPECT_EQ(257u, reports.asserts().size());
  VqAssert(kFile, 2, message);
  EXPECT_EQ(257u, reports.asserts().size());
  VqAssert(kFile, 1, message);
  EXPECT_EQ(258u, reports.asserts().size());
  EXPECT_EQ(256, vq_assert_history_count);
}

TEST(VqAssert, MovesASiteSeenAgainToTheFront) {
  FreshHistory fresh;
  char message[] = "site";
  CollectReports reports;
  vq_assert_history = 1;
  for (int line = 1; line <= 256; ++line)
    VqAssert(kFile, line, message);
  VqAssert(kFile, 1, message);
  EXPECT_EQ(1, vq_assert_history_table[0].line);
  VqAssert(kFile, 257, message);
  VqAssert(kFile, 1, message);
  EXPECT_EQ(257u, reports.asserts().size());
}

TEST(VqAssert, WarnsOfAnAssertionWithinAnAssertion) {
  char message[] = "inner";
  ExpectAsserts expected({"*** ASSERT within ASSERT! ***", "inner"});
  vq_assert_depth = 1;
  VqAssert(kFile, 3, message);
  EXPECT_EQ(1, VqAssertDepth());
  vq_assert_depth = 0;
}

TEST(VqAssert, EverySiteFiresWhenTheGuardIsDisturbed) {
  ExpectAsserts expected({"holds"});
  FwAssert(true, "holds");
  vqassert_val = 0;
  FwAssert(true, "holds");
  vqassert_val = kVqAssertIntact;
}

TEST(VqExpect, GivesTheConditionAndReportsOnlyWhatFails) {
  ExpectAsserts expected({"fails"});
  const bool fGood = FwExpect(true, "holds");
  const bool fBad = FwExpect(false, "fails");
  EXPECT_TRUE(fGood);
  EXPECT_FALSE(fBad);
}

TEST(VqExpect, EvaluatesTheConditionOnce) {
  ExpectAsserts expected({"not yet two"});
  int count = 0;
  const bool fFirst = FwExpect(++count == 2, "not yet two");
  EXPECT_EQ(1, count);
  const bool fSecond = FwExpect(++count == 2, "not yet two");
  EXPECT_EQ(2, count);
  EXPECT_FALSE(fFirst);
  EXPECT_TRUE(fSecond);
}

TEST(VqExpect, ReportsTheFileAndTheLineOfTheCall) {
  FreshHistory fresh;
  ExpectAsserts expected({"here"});
  vq_assert_history = 1;
  static char text[] = "here";
  const bool fHolds = FwExpect(false, text);
  const int line = __LINE__ - 1;
  EXPECT_FALSE(fHolds);
  ASSERT_EQ(1, vq_assert_history_count);
  EXPECT_STREQ(__FILE__, vq_assert_history_table[0].file);
  EXPECT_EQ(line, vq_assert_history_table[0].line);
  EXPECT_EQ(text, vq_assert_history_table[0].message);
}

TEST(VqExpect, GivesTheConditionOfASiteThatIsReportedNoMore) {
  FreshHistory fresh;
  ExpectAsserts expected({"once"});
  vq_assert_history = 1;
  for (int round = 0; round < 2; ++round) {
    const bool fHolds = FwExpect(round < 0, "once");
    EXPECT_FALSE(fHolds) << round;
  }
  EXPECT_EQ(1, vq_assert_history_count);
}

TEST(VqExpect, FiresWhenTheGuardIsDisturbedAndStillGivesTheCondition) {
  ExpectAsserts expected({"holds", "fails"});
  vqassert_val = 0;
  const bool fGood = FwExpect(true, "holds");
  const bool fBad = FwExpect(false, "fails");
  vqassert_val = kVqAssertIntact;
  EXPECT_TRUE(fGood);
  EXPECT_FALSE(fBad);
}

TEST(VqTrace, FormatsItsArguments) {
  ExpectTraces expected({"7 of x"});
  FwTrace("%d of %s", 7, "x");
}

TEST(VqTrace, AssertsWithoutAPosition) {
  ExpectAsserts expected({"Error - VqTraceSetFileAndLine not called before VqTrace"});
  ExpectTraces traces({"lost 1"});
  VqTrace(const_cast<char*>("lost %d"), 1);
}

TEST(VqTrace, AssertsASecondPosition) {
  ExpectAsserts expected({"Error - VqTrace not called after VqTraceSetFileAndLine"});
  ExpectTraces traces({"once"});
  VqTraceSetFileAndLine(kFile, 1);
  VqTraceSetFileAndLine(kFile, 2);
  VqTrace(const_cast<char*>("once"));
}

}  // namespace
