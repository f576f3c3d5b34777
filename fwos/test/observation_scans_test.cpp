// The places of functions that walk observations, which the service keeps track of.
#include <gtest/gtest.h>

#include "fcobserv.h"
#include "recorder.h"

namespace {

TEST(FiObservationScan, ScansMayEndInAnyOrder) {
  FiObservationScan first, second, third;
  FiObservationScan* const before = fiObservationScans;
  FiObservationScanStart(&first, kFiSubject, nullptr);
  FiObservationScanStart(&second, kFiObserver, nullptr);
  FiObservationScanStart(&third, kFiChangeClass, nullptr);
  FiObservationScanEnd(&second);
  EXPECT_EQ(&third, fiObservationScans);
  EXPECT_EQ(&first, third.pNext);
  FiObservationScanEnd(&first);
  EXPECT_EQ(&third, fiObservationScans);
  EXPECT_EQ(before, third.pNext);
  FiObservationScanEnd(&third);
  EXPECT_EQ(before, fiObservationScans);
}

TEST(FiObservationScan, AScanThatDoesNotRunIsReported) {
  FiObservationScan running, other = {};
  FiObservationScan* const before = fiObservationScans;
  FiObservationScanStart(&running, kFiSubject, nullptr);
  {
    ExpectAsserts expected({"pScan not on list"});
    FiObservationScanEnd(&other);
  }
  EXPECT_EQ(&running, fiObservationScans);
  FiObservationScanEnd(&running);
  EXPECT_EQ(before, fiObservationScans);
}

}  // namespace
