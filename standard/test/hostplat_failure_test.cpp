#include <gtest/gtest.h>

#include <cerrno>

#include "faults.h"
#include "hostplat.h"

namespace {

TEST(HostPlatform, OfASystemThatDoesNotTellIsUnknown) {
  char name[kHostPlatformSize];
  ArmFault({kUname, 0, kOnce, EFAULT});
  host_platform(name);
  DisarmFault();
  EXPECT_TRUE(FaultMet());
  EXPECT_STREQ("unix-unknown", name);
}

}  // namespace
