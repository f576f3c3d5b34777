// Setting what a file says of itself, where the system refuses a part of it.
#include <gtest/gtest.h>

#include <cerrno>

#include "caller.h"
#include "faults.h"
#include "files.h"
#include "fwfile.h"
#include "process.h"

namespace {

constexpr uint32 kAll = FW_INFO_ATTRIBUTES | FW_INFO_MODIFIED_TIME | FW_INFO_ACCESS_TIME;

class SetInfo : public testing::Test {
 protected:
  SetInfo() : path_(tree_.Write("a", "")) {
    Error err;
    EXPECT_EQ(1, FwFileGetInfo(err, Txt(path_), &info_, 0));
    before_ = info_;
    info_.attributes = 0100600;
    info_.modifiedTime.high = 1111111111;
    info_.platform.accessTime.high = 1222222222;
  }
  ~SetInfo() override { DisarmFault(); }

  FwFileInfo Now(Caller caller = Caller::Here()) const {
    const CalledFrom from(caller);
    FwFileInfo now;
    Error err;
    EXPECT_EQ(1, FwFileGetInfo(err, Txt(path_), &now, 0));
    return now;
  }

  TemporaryTree tree_;
  std::string path_;
  FwFileInfo before_;
  FwFileInfo info_;
};

TEST_F(SetInfo, GoesOnToTheTimesWhenTheAttributesAreRefused) {
  Error err;
  ArmFault({kChangeMode, 0, kOnce, EPERM});
  EXPECT_EQ(0, FwFileSetInfo(err, Txt(path_), &info_, kAll));
  EXPECT_TRUE(FaultMet());
  EXPECT_EQ("AccessDenied File " + path_, Describe(err));
  EXPECT_EQ(before_.attributes, Now().attributes);
  EXPECT_EQ(1111111111u, Now().modifiedTime.high);
  EXPECT_EQ(1222222222u, Now().platform.accessTime.high);
}

TEST_F(SetInfo, ReportsTimesThatAreRefused) {
  Error err;
  ArmFault({kSetTimes, 0, kOnce, EACCES});
  EXPECT_EQ(0, FwFileSetInfo(err, Txt(path_), &info_, kAll));
  EXPECT_TRUE(FaultMet());
  EXPECT_EQ("AccessDenied File " + path_, Describe(err));
  EXPECT_EQ(0100600u, Now().attributes);
  EXPECT_EQ(before_.modifiedTime.high, Now().modifiedTime.high);
}

TEST_F(SetInfo, AsksTheSystemForNothingThatIsSetAlready) {
  Error err;
  ArmFault({kChangeMode, 0, kForEver, EPERM});
  EXPECT_EQ(1, FwFileSetInfo(err, Txt(path_), &before_, FW_INFO_ATTRIBUTES));
  ArmFault({kSetTimes, 0, kForEver, EPERM});
  EXPECT_EQ(1, FwFileSetInfo(err, Txt(path_), &before_, FW_INFO_MODIFIED_TIME));
  EXPECT_EQ("clear", Describe(err));
}

}  // namespace
