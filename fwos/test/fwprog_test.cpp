#include "fwprog.h"

#include <gtest/gtest.h>

namespace {

FwProgressCounter* CounterOf(FwObj* obj) {
  return static_cast<FwProgressCounter*>(obj);
}

TEST(FwProgressCounter, CountsTheFilesThatAreReported) {
  FwObj* counter = Fw_msg_Create_Progress(nullptr, &FwProgressCounterClass, 12);
  ASSERT_NE(nullptr, counter);
  EXPECT_EQ(&FwProgressCounterClass, FwClassOf(counter));
  EXPECT_EQ(0u, CounterOf(counter)->count);
  EXPECT_EQ(12u, CounterOf(counter)->total);
  EXPECT_EQ(1, Fw_msg_Progress(counter, FWT("a")));
  EXPECT_EQ(1, Fw_msg_Progress(counter, nullptr));
  EXPECT_EQ(1, Fw_msg_Progress(counter, FWT("")));
  EXPECT_EQ(2u, CounterOf(counter)->count);
  EXPECT_EQ(1, Fw_msg_classInheritsFrom(counter, &FwObjectClass));
  Fw_msg_Destroy(counter);
}

TEST(FwProgressCounter, SetsAllFieldsInMemoryOfTheCallers) {
  FwProgressCounter counter;
  counter.count = 77;
  EXPECT_EQ(&counter, Fw_msg_Create_Progress(&counter, &FwProgressCounterClass, 3));
  EXPECT_EQ(0u, counter.count);
  EXPECT_EQ(3u, counter.total);
  EXPECT_EQ(&FwProgressCounterClass, counter.pClassRecord);
}

TEST(FwProgressCounter, NoCounterNeverStops) {
  EXPECT_EQ(1, Fw_msg_Progress(nullptr, FWT("a")));
}

int32 StopAtOnce(FwObj*, FwTextString) {
  return 0;
}

const FwIntercept kStoppingMethods[] = {
    {_Fw_msg_Progress_Handle, FwMethodOf(StopAtOnce)},
    {nullptr, nullptr},
};
const FwClassRecord kStoppingClass = {FW_CLASS_COOKIE,           "Stopping",
                                      sizeof(FwProgressCounter), &FwProgressCounterClass,
                                      kStoppingMethods,          0};

TEST(FwProgressCounter, ASubclassMayStop) {
  FwObj* counter = Fw_msg_Create_Progress(nullptr, &kStoppingClass, 1);
  ASSERT_NE(nullptr, counter);
  EXPECT_EQ(&kStoppingClass, FwClassOf(counter));
  EXPECT_EQ(0, Fw_msg_Progress(counter, FWT("a")));
  Fw_msg_Destroy(counter);
}

}  // namespace
