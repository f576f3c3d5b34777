// Messages to objects whose class has no method for them: each is reported, and answered with
// nothing.
#include <gtest/gtest.h>

#include <cstring>

#include "fwclass.h"
#include "fwerror.h"
#include "fwobserv.h"
#include "fwprog.h"
#include "fwstream.h"
#include "fwstring.h"
#include "fwtree.h"
#include "recorder.h"

namespace {

// Prohibits what every object answers otherwise.
const FwIntercept MuteMethods[] = {
    {_Fw_msg_Destroy_Handle, nullptr},
    {_Fw_msg_classInheritsFrom_Handle, nullptr},
    {nullptr, nullptr},
};
const FwClassRecord MuteClass = {FW_CLASS_COOKIE, "MuteClass", sizeof(FwObject),
                                 &FwObjectClass,  MuteMethods, FW_CLASS_NON_HEAP};

TEST(UnansweredMessages, OfObjectsThatProhibitThem) {
  FwObject object = {&MuteClass};
  ExpectAsserts expected({"Class prohibits message", "Class prohibits message"});
  Fw_msg_Destroy(&object);
  EXPECT_EQ(&MuteClass, object.pClassRecord);
  EXPECT_EQ(0, Fw_msg_classInheritsFrom(&object, &FwObjectClass));
}

TEST(UnansweredMessages, OfTrees) {
  FwObject object = {&FwObjectClass};
  ExpectAsserts expected(std::vector<std::string>(10, "Message not found"));
  EXPECT_EQ(nullptr, Fw_msg_GetRoot(&object));
  EXPECT_EQ(0, Fw_msg_IsDescendant(&object, &object));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateChildren(&object, nullptr));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateChildrenMatching(&object, nullptr, FwTree_True, nullptr));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateDescendants(&object, nullptr));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateDescendantsMatching(&object, nullptr, FwTree_True, nullptr));
  EXPECT_EQ(nullptr, Fw_msg_AtIndex(&object, 0));
  EXPECT_EQ(nullptr, Fw_msg_IthMatching(&object, 0, FwTree_True, nullptr));
  EXPECT_EQ(0u, Fw_msg_IndexInParent(&object));
  EXPECT_EQ(0u, Fw_msg_PredecessorsMatching(&object, FwTree_True, nullptr));
}

TEST(UnansweredMessages, OfConstructors) {
  FwErrorState err;
  ExpectAsserts expected(std::vector<std::string>(4, "Message not found"));
  EXPECT_EQ(nullptr, Fw_msg_CreateAndLink(&FwObjectClass, nullptr, nullptr));
  EXPECT_EQ(nullptr, Fw_msg_CreateWith(nullptr, &FwObjectClass, nullptr));
  EXPECT_EQ(nullptr, Fw_msg_Create_Progress(nullptr, &FwObjectClass, 7));
  EXPECT_EQ(nullptr,
            Fw_msg_CreateStreamIOFile(&FwObjectClass, &err, FW_OPEN_RDONLY, FWT("/dev/null")));
  EXPECT_EQ(nullptr, err.pError);
}

TEST(UnansweredMessages, OfProgressStopTheWork) {
  FwObject object = {&FwObjectClass};
  ExpectAsserts expected({"Message not found"});
  EXPECT_EQ(0, Fw_msg_Progress(&object, FWT("file")));
}

TEST(UnansweredMessages, OfStreams) {
  FwStreamCore stream = {};
  stream.pClassRecord = &FwObjectClass;
  FwErrorState err;
  FwStrRecord record = {};
  char buffer[4] = "abc";
  Vq32x2 position = {};
  position.low = 17;
  ExpectAsserts expected(std::vector<std::string>(12, "Message not found"));
  EXPECT_EQ(-1, Fw_msg_StreamRead(&stream, &err, buffer, sizeof buffer));
  EXPECT_EQ(-1, Fw_msg_StreamWrite(&stream, &err, buffer, sizeof buffer));
  EXPECT_EQ(0, Fw_msg_StreamSeek(&stream, &err, &position, FW_SEEK_SET));
  EXPECT_EQ(0, Fw_msg_StreamExtent(&stream, &err, &position));
  EXPECT_EQ(0, Fw_msg_StreamDestroy(&stream, &err, 1));
  EXPECT_EQ(nullptr, Fw_msg_GetUnderlyingStream(&stream));
  Fw_msg_SetLineBuffering(&stream, 1);
  EXPECT_EQ(-1, Fw_msg_ReadLine(&stream, &err, &record));
  EXPECT_EQ(-1, Fw_msg_Write(&stream, &err, &record));
  EXPECT_EQ(-1, Fw_msg_Flush(&stream, &err));
  Fw_msg_GetBufferRealPosition(&stream, &position);
  Fw_msg_UnreadBytes(&stream, &err, 1);
  // Nothing was touched, and the stream is left again.
  EXPECT_EQ(0, std::memcmp(buffer, "abc", sizeof buffer));
  EXPECT_EQ(17u, position.low);
  EXPECT_EQ(0, stream.reentrancy);
  EXPECT_EQ(nullptr, err.pError);
}

}  // namespace
