#include "fwevent.h"

#include <gtest/gtest.h>

#include <chrono>

#include "fcevent.h"

namespace {

TEST(FwEvent, BlocksNest) {
  EXPECT_FALSE(FwEventAreEventsBlocked());
  FwEventBlock();
  FwEventBlock();
  EXPECT_TRUE(FwEventAreEventsBlocked());
  FwEventUnblock();
  EXPECT_TRUE(FwEventAreEventsBlocked());
  FwEventUnblock();
  EXPECT_FALSE(FwEventAreEventsBlocked());
}

TEST(FwEvent, HandleIsZeroBlockedOrNotAndLeavesTheBlockAsItWas) {
  EXPECT_EQ(0, FwEventHandle());
  EXPECT_FALSE(FwEventAreEventsBlocked());
  FwEventBlock();
  EXPECT_EQ(0, FwEventHandle());
  EXPECT_TRUE(FwEventAreEventsBlocked());
  EXPECT_EQ(0, FcEventHandle());
  EXPECT_TRUE(FwEventAreEventsBlocked());
  FwEventUnblock();
  EXPECT_FALSE(FwEventAreEventsBlocked());
}

TEST(FwEvent, RemainIdleWaits50Milliseconds) {
  using namespace std::chrono;
  const auto start = steady_clock::now();
  FwEventRemainIdle();
  EXPECT_GE(steady_clock::now() - start, milliseconds(50));
}

}  // namespace
