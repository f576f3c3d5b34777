// Names that no operation can do anything with: relative ones while nobody knows relative to what,
// and none at all.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

#include "files.h"
#include "fwfile.h"
#include "recorder.h"

namespace {

struct Operation {
  const char* name;
  std::function<int64_t(FwErrorState*, FwTextString)> run;
  int64_t failure;
};

// With one name.
const Operation kOfOneName[] = {
    {"FwFileOpen", [](auto* e, auto n) { return FwFileOpen(e, n, FW_OPEN_RDONLY); }, -1},
    {"FwFileDelete", [](auto* e, auto n) { return FwFileDelete(e, n, 0); }, 0},
    {"FwFileGetInfo", [](auto* e, auto n) { return FwFileGetInfo(e, n, nullptr, 0); }, 0},
    {"FwFileSetInfo",
     [](auto* e, auto n) {
       FwFileInfo info = {};
       return FwFileSetInfo(e, n, &info, 0);
     },
     0},
    {"FwDirOpen", [](auto* e, auto n) { return FwDirOpen(e, n, 0) != nullptr; }, 0},
    {"FwDirDelete", [](auto* e, auto n) { return FwDirDelete(e, n, 0); }, 0},
    {"FwFileSetInfoTree", [](auto* e, auto n) { return FwFileSetInfoTree(e, n, 0); }, 0},
    {"FwFileAbsolutePath", [](auto* e, auto n) { return FwFileAbsolutePath(e, n) != nullptr; }, 0},
    {"FwFileDiskFree",
     [](auto* e, auto n) {
       FwFileDiskFreeInfo info;
       return FwFileDiskFree(e, n, &info);
     },
     0},
};

using TwoNames = std::function<int32(FwErrorState*, FwTextString, FwTextString)>;

struct OperationOfTwo {
  const char* name;
  TwoNames run;
};

const OperationOfTwo kOfTwoNames[] = {
    {"FwFileCopy", [](auto* e, auto a, auto b) { return FwFileCopy(e, a, b, 0); }},
    {"FwFileRename", [](auto* e, auto a, auto b) { return FwFileRename(e, a, b, 0); }},
    {"FwFilenamesReferToSameFile", FwFilenamesReferToSameFile},
    {"FwFilenamesReferToSameDisk", FwFilenamesReferToSameDisk},
    {"FwFileCopyTree", [](auto* e, auto a, auto b) { return FwFileCopyTree(e, a, b, nullptr, 0); }},
    {"FwFileCopyTreeEx",
     [](auto* e, auto a, auto b) { return FwFileCopyTreeEx(e, a, b, nullptr, 0, nullptr); }},
};

TEST(Names, RelativeToAnUnknownDirectoryAreNoFiles) {
  CurrentDirectory unknown(nullptr);
  for (const Operation& operation : kOfOneName) {
    SCOPED_TRACE(operation.name);
    Error err;
    EXPECT_EQ(operation.failure, operation.run(err, FWT("here/")));
    EXPECT_EQ("StringSyntax File here/", Describe(err));
  }
  for (const OperationOfTwo& operation : kOfTwoNames) {
    SCOPED_TRACE(operation.name);
    Error err;
    EXPECT_EQ(0, operation.run(err, FWT("here"), FWT("/there")));
    EXPECT_EQ("StringSyntax File here", Describe(err));
    FwErrorClear(err);
    EXPECT_EQ(0, operation.run(err, FWT("/here"), FWT("there")));
    EXPECT_EQ("StringSyntax File there", Describe(err));
  }
}

TEST(Names, ThatAreMissingAreRefused) {
  for (const Operation& operation : kOfOneName) {
    SCOPED_TRACE(operation.name);
    ExpectAsserts expected({"NULL filename"});
    Error err;
    EXPECT_EQ(operation.failure, operation.run(err, nullptr));
    EXPECT_EQ("PointerNull", Describe(err));
  }
  for (const OperationOfTwo& operation : kOfTwoNames) {
    SCOPED_TRACE(operation.name);
    ExpectAsserts expected({"NULL filename", "NULL filename"});
    Error err;
    EXPECT_EQ(0, operation.run(err, nullptr, FWT("/there")));
    EXPECT_EQ("PointerNull", Describe(err));
    FwErrorClear(err);
    // The first is made absolute, and freed again.
    EXPECT_EQ(0, operation.run(err, FWT("here"), nullptr));
    EXPECT_EQ("PointerNull", Describe(err));
  }
}

}  // namespace
