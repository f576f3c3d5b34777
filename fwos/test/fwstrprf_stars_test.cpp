// Widths and precisions that are arguments of their own, by position.
#include <gtest/gtest.h>

#include <string>

#include "fwstrprf_format.h"
#include "recorder.h"

namespace {

TEST(FwStrPrintf, AStarTakesThePositionsBeforeTheValue) {
  EXPECT_EQ("[    7]", Format("[%[0]*d]", 5, 7));
  EXPECT_EQ("[ 1.50]", Format("[%[0]*.*f]", 5, 2, 1.5));
  EXPECT_EQ("[x][  7]", Format("[%[2]s][%[0]*d]", 3, 7, "x"));
}

TEST(FwStrPrintf, AStarMayNotTakeAnotherItemsArgument) {
  for (const char* format : {"%[0]d %[0]*d", "%[1]d %[0]*.*d", "%[2]d %[0]*.*d", "%[0]*d %[0]d"}) {
    ExpectAsserts expected({"Bad positional argument"});
    EXPECT_EQ("", Format(format, 1, 2, 3, 4)) << format;
  }
}

std::string Printed(uint32* pcbAdded, FwStrRecord* pRecord) {
  *pcbAdded = FwStrPrintfLocal(pRecord, 0, FWT("%d of %.2f, %s"), 3, 1.5, "x");
  return Taken(pRecord);
}

TEST(FwStrPrintfLocal, TakesItsArgumentsOneByOne) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  uint32 cbAdded = 0;
  EXPECT_EQ("3 of 1.50, x", Printed(&cbAdded, &record));
  EXPECT_EQ(12u, cbAdded);
}

}  // namespace
