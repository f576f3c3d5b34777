#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cerrno>
#include <string>

#include "blocks.h"
#include "child.h"
#include "files.h"
#include "process.h"
#include "recorder.h"
#include "syscalls.h"

namespace {

// ---------------------------------------------------------------------------------------------
// Information

TEST(FwFileGetInfo, TellsTypeModeSizeAndTimes) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "12345");
  ASSERT_EQ(0, chmod(path.c_str(), 0640));
  const utimbuf times = {1000000000, 1234567890};
  ASSERT_EQ(0, utime(path.c_str(), &times));
  FwFileInfo info;
  Error err;
  ASSERT_EQ(1, FwFileGetInfo(err, Txt(path), &info, 0));
  EXPECT_EQ(FW_FILE_TYPE_FILE, info.type);
  EXPECT_EQ(0100640u, info.attributes);
  EXPECT_EQ(5u, info.size[0].low);
  EXPECT_EQ(0u, info.size[0].high);
  EXPECT_EQ(1234567890u, info.modifiedTime.high);
  EXPECT_EQ(0u, info.modifiedTime.low);
  EXPECT_EQ(1000000000u, info.platform.accessTime.high);
  EXPECT_EQ(0u, info.platform.accessTime.low);
  EXPECT_EQ(static_cast<uint32>(info.platform.status.st_ctime), info.platform.changedTime.high);
  EXPECT_EQ(0u, info.platform.changedTime.low);
  EXPECT_EQ(5, info.platform.status.st_size);
}

TEST(FwFileGetInfo, SplitsALargeSize) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  ASSERT_EQ(0, truncate(path.c_str(), (int64_t{3} << 32) + 7));
  FwFileInfo info;
  Error err;
  ASSERT_EQ(1, FwFileGetInfo(err, Txt(path), &info, 0));
  EXPECT_EQ(7u, info.size[0].low);
  EXPECT_EQ(3u, info.size[0].high);
}

TEST(FwFileGetInfo, WithoutARecordTestsForExistence) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(1, FwFileGetInfo(err, Txt(tree.path()), nullptr, 0));
  EXPECT_EQ(0, FwFileGetInfo(err, Txt(tree / "none"), nullptr, 0));
  EXPECT_EQ("NonExistent File " + (tree / "none"), Describe(err));
}

TEST(FwFileGetInfo, LooksARelativeNameUpInTheRealCurrentDirectory) {
  TemporaryTree tree;
  CurrentDirectory current((tree.path() + "/").c_str());
  tree.Write("only-there", "");
  Error err;
  EXPECT_EQ(0, FwFileGetInfo(err, FWT("only-there"), nullptr, 0));
  EXPECT_EQ("NonExistent File only-there", Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileGetInfo(err, FWT("."), nullptr, 0));
  CurrentDirectory unknown(nullptr);
  EXPECT_EQ(0, FwFileGetInfo(err, FWT("."), nullptr, 0));
  EXPECT_EQ("StringSyntax File .", Describe(err));
}

TEST(FwFileSetInfo, SetsWhatIsAskedFor) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  FwFileInfo info;
  Error err;
  ASSERT_EQ(1, FwFileGetInfo(err, Txt(path), &info, 0));
  info.attributes = 0100600;
  info.modifiedTime.high = 1111111111;
  info.platform.accessTime.high = 1222222222;
  EXPECT_EQ(1, FwFileSetInfo(err, Txt(path), &info, FW_INFO_MODIFIED_TIME));
  FwFileInfo now;
  ASSERT_EQ(1, FwFileGetInfo(err, Txt(path), &now, 0));
  EXPECT_EQ(1111111111u, now.modifiedTime.high);
  EXPECT_NE(1222222222u, now.platform.accessTime.high);
  EXPECT_EQ(1, FwFileSetInfo(err, Txt(path), &info, FW_INFO_ACCESS_TIME | FW_INFO_ATTRIBUTES));
  ASSERT_EQ(1, FwFileGetInfo(err, Txt(path), &now, 0));
  EXPECT_EQ(1111111111u, now.modifiedTime.high);
  EXPECT_EQ(1222222222u, now.platform.accessTime.high);
  EXPECT_EQ(0600u, Permissions(path));
}

TEST(FwFileSetInfo, SetsTheTimesOfAFileThatTurnsReadOnly) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  FwFileInfo info;
  Error err;
  ASSERT_EQ(1, FwFileGetInfo(err, Txt(path), &info, 0));
  info.attributes = 0100444;
  info.modifiedTime.high = 1111111111;
  EXPECT_EQ(1, FwFileSetInfo(err, Txt(path), &info, FW_INFO_MODIFIED_TIME | FW_INFO_ATTRIBUTES));
  FwFileInfo now;
  ASSERT_EQ(1, FwFileGetInfo(err, Txt(path), &now, 0));
  EXPECT_EQ(1111111111u, now.modifiedTime.high);
  EXPECT_EQ(0100444u, now.attributes);
}

TEST(FwFileSetInfo, WantsTheFormOfNameThatFits) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  FwFileInfo info;
  Error err;
  ASSERT_EQ(1, FwFileGetInfo(err, Txt(tree.path()), &info, 0));
  EXPECT_EQ(0, FwFileSetInfo(err, Txt(tree.path()), &info, FW_INFO_ATTRIBUTES));
  EXPECT_EQ("OperationDenied File " + tree.path(), Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileSetInfo(err, Txt(tree.path() + "/"), &info, FW_INFO_ATTRIBUTES));
  EXPECT_EQ(0, FwFileSetInfo(err, Txt(tree / "none"), &info, 0));
  EXPECT_EQ("NonExistent File " + (tree / "none"), Describe(err));
}

TEST(FwFileTimeToSeconds, AddsTheNanoseconds) {
  VqU32x2 time;
  time.high = 12;
  time.low = 500000000;
  EXPECT_NEAR(12.5, static_cast<double>(FwFileTimeToSeconds(&time)), 1e-12);
}

TEST(FwFilenamesReferToSameFile, ComparesDeviceAndInode) {
  TemporaryTree tree;
  tree.Write("a", "");
  tree.Write("b", "");
  tree.Link("link", "a");
  ASSERT_EQ(0, link((tree / "a").c_str(), (tree / "hard").c_str()));
  Error err;
  EXPECT_NE(0, FwFilenamesReferToSameFile(err, Txt(tree / "a"), Txt(tree / "hard")));
  EXPECT_NE(0, FwFilenamesReferToSameFile(err, Txt(tree / "a"), Txt(tree / "link")));
  EXPECT_EQ(0, FwFilenamesReferToSameFile(err, Txt(tree / "a"), Txt(tree / "b")));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ(0, FwFilenamesReferToSameFile(err, Txt(tree / "a"), Txt(tree / "none")));
  EXPECT_EQ("NonExistent File " + (tree / "none"), Describe(err));
}

TEST(FwFilenamesReferToSameFile, TakesRelativeNamesFromTheDirectoryAtBoot) {
  TemporaryTree tree;
  tree.Write("a", "");
  CurrentDirectory current((tree.path() + "/").c_str());
  Error err;
  EXPECT_NE(0, FwFilenamesReferToSameFile(err, FWT("a"), Txt(tree / "a")));
}

TEST(FwFilenamesReferToSameDisk, ComparesTheDevice) {
  TemporaryTree tree;
  tree.Write("a", "");
  Error err;
  EXPECT_NE(0, FwFilenamesReferToSameDisk(err, Txt(tree / "a"), Txt(tree.path())));
  EXPECT_EQ(0, FwFilenamesReferToSameDisk(err, Txt(tree / "a"), FWT("/proc/")));
  EXPECT_EQ("clear", Describe(err));
}

// ---------------------------------------------------------------------------------------------
// Copy

TEST(FwFileCopy, CopiesContentAttributesAndAccessTime) {
  TemporaryTree tree;
  const std::string content = std::string(65536, 'a') + std::string(65536, 'b') + "tail";
  const std::string from = tree.Write("from", content);
  ASSERT_EQ(0, chmod(from.c_str(), 0444));
  const utimbuf times = {1000000000, 1100000000};
  ASSERT_EQ(0, utime(from.c_str(), &times));
  Error err;
  EXPECT_EQ(1, FwFileCopy(err, Txt(from), Txt(tree / "to"), 0));
  EXPECT_EQ("clear", Describe(err));
  struct stat status;
  ASSERT_EQ(0, stat((tree / "to").c_str(), &status));
  EXPECT_EQ(0100444u, status.st_mode);
  EXPECT_EQ(1000000000, status.st_atime);
  EXPECT_NE(1100000000, status.st_mtime);
  EXPECT_EQ(content, ReadFile(tree / "to"));
}

TEST(FwFileCopy, CopiesAFileOfWholeBlocksAndAnEmptyOne) {
  TemporaryTree tree;
  Error err;
  for (const size_t size : {0u, 65536u}) {
    SCOPED_TRACE(size);
    const std::string content(size, 'x');
    EXPECT_EQ(
        1, FwFileCopy(err, Txt(tree.Write("from", content)), Txt(tree / "to"), FW_FILE_OVERWRITE));
    EXPECT_EQ(content, ReadFile(tree / "to"));
  }
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFileCopy, FollowsALinkAtTheSource) {
  TemporaryTree tree;
  tree.Write("real", "text");
  Error err;
  EXPECT_EQ(1, FwFileCopy(err, Txt(tree.Link("link", "real")), Txt(tree / "to"), 0));
  EXPECT_EQ("text", ReadFile(tree / "to"));
}

TEST(FwFileCopy, RefusesAnExistingTarget) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(0, FwFileCopy(err, Txt(tree.Write("from", "new")), Txt(tree.Write("to", "old")), 0));
  EXPECT_EQ("AlreadyExists File " + (tree / "to"), Describe(err));
  EXPECT_EQ("old", ReadFile(tree / "to"));
}

TEST(FwFileCopy, ReplacesAnExistingTargetIfAsked) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(1, FwFileCopy(err, Txt(tree.Write("from", "new")), Txt(tree.Write("to", "longer")),
                          FW_FILE_OVERWRITE));
  EXPECT_EQ("new", ReadFile(tree / "to"));
}

TEST(FwFileCopy, OntoItselfLeavesTheFileIntact) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "text");
  Error err;
  EXPECT_EQ(0, FwFileCopy(err, Txt(path), Txt(path), FW_FILE_OVERWRITE));
  EXPECT_EQ("AlreadyExists File " + path, Describe(err));
  EXPECT_EQ("text", ReadFile(path));
}

TEST(FwFileCopy, CopiesRegularFilesOnly) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(0, FwFileCopy(err, FWT("/dev/null"), Txt(tree / "to"), 0));
  EXPECT_EQ("OperationDenied", Describe(err));
  EXPECT_FALSE(Exists(tree / "to"));
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileCopy(err, Txt(tree / "none"), Txt(tree / "to"), 0));
  EXPECT_EQ("NonExistent File " + (tree / "none"), Describe(err));
}

TEST(FwFileCopy, NeedsMoreFreeSpaceThanTheSize) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", "12345");
  Error err;
  {
    DiskOf disk(5, 1000);
    EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(tree / "to"), 0));
  }
  EXPECT_EQ("DiskFull File", Describe(err));
  EXPECT_FALSE(Exists(tree / "to"));
  FwErrorClear(err);
  DiskOf disk(6, 1000);
  EXPECT_EQ(1, FwFileCopy(err, Txt(from), Txt(tree / "to"), 0));
}

TEST(FwFileCopy, ThatFailsLeavesNoTargetNotEvenTheOneOverwritten) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", std::string(200000, 'x'));
  const std::string to = tree.Write("to", "old");
  Error err;
  Tickle tickle(4);
  EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(to), FW_FILE_OVERWRITE));
  EXPECT_EQ("Abort", Describe(err));
  EXPECT_FALSE(Exists(to));
  EXPECT_EQ(200000u, ReadFile(from).size());
}

TEST(FwFileCopy, TicklesAfterEachBlock) {
  TemporaryTree tree;
  Error err;
  Tickle tickle(3);  // read, write, and the one after the only block
  EXPECT_EQ(0, FwFileCopy(err, Txt(tree.Write("from", "text")), Txt(tree / "to"), 0));
  EXPECT_EQ("Abort", Describe(err));
  EXPECT_EQ(3, tickle.count());
  EXPECT_FALSE(Exists(tree / "to"));
}

TEST(FwFileCopy, CopiesInSmallerBlocksWhenMemoryIsShort) {
  TemporaryTree tree;
  const std::string content = std::string(4096, 'a') + std::string(4096, 'b') + "tail";
  const std::string from = tree.Write("from", content);
  const std::string to = tree / "to";
  Error err;
  CountedBlocks blocks;
  CountTransfers count;
  blocks.FailAt(0);
  EXPECT_EQ(1, FwFileCopy(err, Txt(from), Txt(to), 0));
  EXPECT_EQ(3, count.reads());
  EXPECT_EQ(0, blocks.live());
  EXPECT_EQ(content, ReadFile(to));
}

TEST(FwFileCopy, LeavesItsNamesUnwritten) {
  TemporaryTree tree;
  CurrentDirectory current((tree.path() + "/").c_str());
  tree.Write("sub/from", "text");
  Error err;
  // Literals can't be written to.
  EXPECT_EQ(1, FwFileCopy(err, FWT("sub/from"), FWT("sub/to"), 0));
  EXPECT_EQ("text", ReadFile(tree / "sub/to"));
}

TEST(FwFileCopy, LeavesNoHandleOpen) {
  TemporaryTree tree;
  const int before = open("/dev/null", O_RDONLY);
  close(before);
  Error err;
  FwFileCopy(err, Txt(tree.Write("from", "text")), Txt(tree / "to"), 0);
  {
    Tickle tickle(2);
    FwFileCopy(err, Txt(tree / "from"), Txt(tree / "other"), 0);
  }
  const int after = open("/dev/null", O_RDONLY);
  close(after);
  EXPECT_EQ(before, after);
}

TEST(FwFileCopyLink, MakesALinkWithTheSameText) {
  TemporaryTree tree;
  const std::string from = tree.Link("from", "any where");
  Error err;
  EXPECT_EQ(1, FwFileCopyLink(err, Txt(from), Txt(tree / "to"), nullptr, 0));
  char text[20] = {};
  EXPECT_EQ(9, readlink((tree / "to").c_str(), text, sizeof text));
  EXPECT_STREQ("any where", text);
}

TEST(FwFileCopyLink, PutsAFailedOperationOverThePlatformsError) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(0, FwFileCopyLink(err, Txt(tree.Write("plain", "")), Txt(tree / "to"), nullptr, 0));
  EXPECT_EQ("OperationFailed File " + (tree / "to"), Describe(err));
  EXPECT_EQ(0, err.platformError);
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileCopyLink(err, Txt(tree / "none"), Txt(tree / "to"), nullptr, 0));
  EXPECT_EQ("OperationFailed File " + (tree / "to"), Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileCopyLink(err, Txt(tree.Link("l", "x")), Txt(tree / "plain"), nullptr, 0));
  EXPECT_EQ("OperationFailed File " + (tree / "plain"), Describe(err));
}

// ---------------------------------------------------------------------------------------------
// Rename

TEST(FwFileRename, RenamesFilesAndDirectories) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(1, FwFileRename(err, Txt(tree.Write("a", "text")), Txt(tree / "b"), 0));
  EXPECT_EQ("text", ReadFile(tree / "b"));
  EXPECT_EQ(1, FwFileRename(err, Txt(tree.Directory("d") + "/"), Txt(tree / "e/"), 0));
  EXPECT_TRUE(Exists(tree / "e"));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFileRename, RenamesAReadOnlyFileWithinADevice) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  ASSERT_EQ(0, chmod(path.c_str(), 0444));
  Error err;
  EXPECT_EQ(1, FwFileRename(err, Txt(path), Txt(tree / "b"), 0));
}

TEST(FwFileRename, WantsBothNamesOfOneKind) {
  TemporaryTree tree;
  tree.Directory("d");
  tree.Write("a", "");
  Error err;
  EXPECT_EQ(0, FwFileRename(err, Txt(tree / "d/"), Txt(tree / "e"), 0));
  EXPECT_EQ("OperationDenied", Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileRename(err, Txt(tree / "a"), Txt(tree / "e/"), 0));
  EXPECT_EQ("OperationDenied", Describe(err));
}

TEST(FwFileRename, WantsTheFormThatFitsTheOldName) {
  TemporaryTree tree;
  tree.Directory("d");
  Error err;
  EXPECT_EQ(0, FwFileRename(err, Txt(tree / "d"), Txt(tree / "e"), 0));
  EXPECT_EQ("OperationDenied", Describe(err));
  EXPECT_TRUE(Exists(tree / "d"));
}

TEST(FwFileRename, ReportsAnOldNameThatDoesNotExist) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(0, FwFileRename(err, Txt(tree / "none"), Txt(tree / "b"), 0));
  EXPECT_EQ("NonExistent File " + (tree / "none"), Describe(err));
  EXPECT_EQ(0, err.platformError);
}

TEST(FwFileRename, RefusesAnExistingNewNameUnlessAsked) {
  TemporaryTree tree;
  const std::string a = tree.Write("a", "a");
  const std::string b = tree.Write("b", "b");
  Error err;
  EXPECT_EQ(0, FwFileRename(err, Txt(a), Txt(b), 0));
  EXPECT_EQ("AlreadyExists File " + b, Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileRename(err, Txt(a), Txt(b), FW_FILE_OVERWRITE));
  EXPECT_EQ("a", ReadFile(b));
}

TEST(FwFileRename, ToItselfQuietlyDoesNothing) {
  TemporaryTree tree;
  const std::string a = tree.Write("a", "a");
  Error err;
  EXPECT_EQ(0, FwFileRename(err, Txt(a), Txt(a), 0));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ("a", ReadFile(a));
}

// The link would lead to itself then, and the file would be gone.
TEST(FwFileRename, OfALinkOntoTheFileThatItLeadsToIsRefused) {
  TemporaryTree tree;
  const std::string file = tree.Write("file", "text");
  const std::string link = tree.Link("link", "file");
  const std::string other = tree.Link("other", "link");
  for (const std::string& from : {link, other}) {
    SCOPED_TRACE(from);
    Error err;
    EXPECT_EQ(0, FwFileRename(err, Txt(from), Txt(file), FW_FILE_OVERWRITE));
    EXPECT_EQ("AlreadyExists File " + file, Describe(err));
    EXPECT_EQ("text", ReadFile(file));
    EXPECT_EQ("text", ReadFile(link));
  }
  // Nothing else is refused: onto itself, onto another link, the file onto the link, another name.
  Error err;
  EXPECT_EQ(1, FwFileRename(err, Txt(link), Txt(link), FW_FILE_OVERWRITE));
  EXPECT_EQ("text", ReadFile(link));
  ASSERT_EQ(0, ::link(file.c_str(), (tree / "second").c_str()));
  EXPECT_EQ(1, FwFileRename(err, Txt(tree / "second"), Txt(file), FW_FILE_OVERWRITE));
  EXPECT_EQ("text", ReadFile(file));
  EXPECT_EQ(1, FwFileRename(err, Txt(file), Txt(other), FW_FILE_OVERWRITE));
  EXPECT_EQ("text", ReadFile(other));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFileRename, NamesTheNameThatIsAtFault) {
  TemporaryTree tree;
  tree.Write("full/file", "");
  tree.Directory("d");
  tree.Write("plain", "");
  Error err;
  EXPECT_EQ(0, FwFileRename(err, Txt(tree / "d/"), Txt(tree / "d/sub/"), 0));
  EXPECT_EQ(EINVAL, err.platformError);
  EXPECT_EQ("Parameter File " + (tree / "d/sub/"), Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileRename(err, Txt(tree / "d/"), Txt(tree / "full/"), FW_FILE_OVERWRITE));
  EXPECT_EQ(ENOTEMPTY, err.platformError);
  EXPECT_EQ("OperationDenied File " + (tree / "d/"), Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileRename(err, Txt(tree / "plain"), Txt(tree / "full"), FW_FILE_OVERWRITE));
  EXPECT_EQ(EISDIR, err.platformError);
  EXPECT_EQ("OperationDenied File " + (tree / "full"), Describe(err));
}

TEST(FwFileRename, RefusesTheRoot) {
  ExpectAsserts expected({"root directory when file name expected"});
  Error err;
  EXPECT_EQ(0, FwFileRename(err, FWT("/"), FWT("/x/"), 0));
  EXPECT_EQ("StringValue File /", Describe(err));
}

// Two directories on different devices, if the system has them.
class TwoDevices {
 public:
  TwoDevices()
      : other_((OtherDevice().empty() ? "/tmp" : OtherDevice()) + "/zorenv-rename-" +
               std::to_string(getpid())) {
    struct stat one, two;
    differ_ = stat(tree_.path().c_str(), &one) == 0 && stat(other_.path().c_str(), &two) == 0 &&
              one.st_dev != two.st_dev;
  }
  bool differ() const { return differ_; }
  const TemporaryTree& here() const { return tree_; }
  const TemporaryTree& there() const { return other_; }

 private:
  TemporaryTree tree_;
  TemporaryTree other_;
  bool differ_;
};

TEST(FwFileRename, CopiesAndDeletesBetweenDevices) {
  TwoDevices devices;
  if (!devices.differ()) GTEST_SKIP() << "one device only";
  Error err;
  const std::string from = devices.here().Write("a", "text");
  EXPECT_EQ(1, FwFileRename(err, Txt(from), Txt(devices.there() / "b"), 0));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ("text", ReadFile(devices.there() / "b"));
  EXPECT_FALSE(Exists(from));
}

TEST(FwFileRename, RefusesAReadOnlyFileBetweenDevices) {
  TwoDevices devices;
  if (!devices.differ()) GTEST_SKIP() << "one device only";
  const std::string from = devices.here().Write("a", "text");
  ASSERT_EQ(0, chmod(from.c_str(), 0444));
  Error err;
  EXPECT_EQ(0, FwFileRename(err, Txt(from), Txt(devices.there() / "b"), 0));
  EXPECT_EQ("AccessDenied File " + from, Describe(err));
  EXPECT_TRUE(Exists(from));
  EXPECT_FALSE(Exists(devices.there() / "b"));
}

// ---------------------------------------------------------------------------------------------
// Delete

TEST(FwFileDelete, RemovesFilesLinksAndEmptyDirectories) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(1, FwFileDelete(err, Txt(tree.Write("a", "")), 0));
  EXPECT_EQ(1, FwFileDelete(err, Txt(tree.Link("l", "none")), 0));
  EXPECT_EQ(1, FwFileDelete(err, Txt(tree.Directory("d") + "/"), 0));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_FALSE(Exists(tree / "a"));
  EXPECT_FALSE(Exists(tree / "l"));
  EXPECT_FALSE(Exists(tree / "d"));
}

TEST(FwFileDelete, TellsDirectoriesFromFilesByTheName) {
  TemporaryTree tree;
  tree.Write("d/a", "");
  Error err;
  EXPECT_EQ(0, FwFileDelete(err, Txt(tree / "d"), 0));
  EXPECT_EQ("OperationDenied File " + (tree / "d"), Describe(err));
  // The system isn't asked.
  EXPECT_EQ(0, err.platformError);
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileDelete(err, Txt(tree / "d/"), 0));
  EXPECT_EQ(ENOTEMPTY, err.platformError);
  EXPECT_EQ("OperationDenied File " + (tree / "d/"), Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileDelete(err, Txt(tree / "d/a/"), 0));
  EXPECT_EQ("StringValue File " + (tree / "d/a/"), Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileDelete(err, Txt(tree / "none"), 0));
  EXPECT_EQ("NonExistent File " + (tree / "none"), Describe(err));
}

TEST(FwFileDelete, RemovesAReadOnlyFileByForce) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  ASSERT_EQ(0, chmod(path.c_str(), 0444));
  Error err;
  EXPECT_EQ(1, FwFileDelete(err, Txt(path), FW_DELETE_FORCE));
  EXPECT_FALSE(Exists(path));
}

TEST(FwFileDelete, MakesWritableByForceEvenIfTheDeletionFails) {
  TemporaryTree tree;
  tree.Write("d/a", "");
  ASSERT_EQ(0, chmod((tree / "d").c_str(), 0555));
  Error err;
  EXPECT_EQ(0, FwFileDelete(err, Txt(tree / "d/"), FW_DELETE_FORCE));
  EXPECT_EQ(0755u, Permissions(tree / "d"));
}

TEST(FwFileDelete, FailsByForceOnANameThatDoesNotExist) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(0, FwFileDelete(err, Txt(tree / "none"), FW_DELETE_FORCE));
  EXPECT_EQ("NonExistent File " + (tree / "none"), Describe(err));
}

TEST(FwFileDeleteEx, NeverPutsADeletionOff) {
  TemporaryTree tree;
  int deferred = 7;
  Error err;
  EXPECT_EQ(1, FwFileDeleteEx(err, Txt(tree.Write("a", "")), FW_DELETE_DEFER, &deferred));
  EXPECT_EQ(0, deferred);
}

}  // namespace
