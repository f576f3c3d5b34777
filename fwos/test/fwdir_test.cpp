#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "blocks.h"
#include "caller.h"
#include "files.h"
#include "process.h"
#include "recorder.h"
#include "syscalls.h"

namespace {

struct Entry {
  std::string name;
  uint32 type;
  bool operator==(const Entry&) const = default;
};

// What a walk yields, by name.
std::vector<std::string> Names(const std::string& dir, uint32 flags,
                               Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  Error err;
  std::vector<std::string> names;
  FwDir* pDir = FwDirOpen(err, Txt(dir), flags);
  EXPECT_EQ("clear", Describe(err));
  if (!pDir) return names;
  Record name;
  while (FwDirNext(err, pDir, name, nullptr, 0)) {
    names.push_back(name.text());
    FwStrRecordShorten(name, 0);
  }
  EXPECT_EQ(0, FwDirNext(err, pDir, name, nullptr, 0)) << "past the end";
  EXPECT_EQ(0, FwDirNext(err, pDir, name, nullptr, 0)) << "past the end";
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ(1, FwDirClose(err, pDir));
  std::sort(names.begin(), names.end());
  return names;
}

constexpr uint32 kModes[] = {0, FW_DIR_SNAPSHOT};

int LowestFreeDescriptor() {
  const int fd = open("/dev/null", O_RDONLY);
  close(fd);
  return fd;
}

// ---------------------------------------------------------------------------------------------
// Walks

TEST(FwDirNext, GivesAllButDotAndDotDotAndKeepsReturningZeroAtTheEnd) {
  TemporaryTree tree;
  for (const char* name : {"...", ".a", "b", "é"})
    tree.Write(name, "");
  tree.Directory("sub");
  for (const uint32 mode : kModes)
    EXPECT_EQ((std::vector<std::string>{"...", ".a", "b", "sub", "é"}),
              Names(tree.path() + "/", mode))
        << mode;
}

TEST(FwDirNext, OfAnEmptyDirectoryIsAtTheEndAtOnce) {
  TemporaryTree tree;
  for (const uint32 mode : kModes)
    EXPECT_EQ(std::vector<std::string>{}, Names(tree.path() + "/", mode)) << mode;
}

TEST(FwDirNext, AppendsToTheRecord) {
  TemporaryTree tree;
  tree.Write("a", "");
  for (const uint32 mode : kModes) {
    SCOPED_TRACE(mode);
    Error err;
    FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), mode);
    ASSERT_NE(nullptr, pDir);
    Record name("before ");
    EXPECT_EQ(1, FwDirNext(err, pDir, name, nullptr, 0));
    EXPECT_EQ("before a", name.text());
    FwDirClose(err, pDir);
  }
}

TEST(FwDirNext, TellsAboutTheEntryOrItsTarget) {
  TemporaryTree tree;
  tree.Directory("real");
  tree.Directory("d");
  tree.Link("d/link", "../real");
  for (const uint32 mode : kModes) {
    SCOPED_TRACE(mode);
    for (const uint32 flags : {0u, FW_INFO_NOFOLLOW}) {
      SCOPED_TRACE(flags);
      Error err;
      FwDir* pDir = FwDirOpen(err, Txt(tree / "d/"), mode);
      ASSERT_NE(nullptr, pDir);
      Record name;
      FwFileInfo info;
      EXPECT_EQ(1, FwDirNext(err, pDir, name, &info, flags));
      EXPECT_EQ(flags ? FW_FILE_TYPE_LINK : FW_FILE_TYPE_DIRECTORY, info.type);
      EXPECT_EQ("link", name.text());
      FwDirClose(err, pDir);
    }
  }
}

TEST(FwDirNext, FailsOnADanglingLinkThatIsFollowed) {
  TemporaryTree tree;
  tree.Link("link", "nowhere");
  for (const uint32 mode : kModes) {
    SCOPED_TRACE(mode);
    Error err;
    FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), mode);
    ASSERT_NE(nullptr, pDir);
    Record name;
    FwFileInfo info;
    EXPECT_EQ(0, FwDirNext(err, pDir, name, &info, 0));
    EXPECT_EQ("NonExistent File " + (tree / "link"), Describe(err));
    FwErrorClear(err);
    FwDirClose(err, pDir);
  }
}

TEST(FwDirNext, RefusesUnknownFlags) {
  TemporaryTree tree;
  Error err;
  FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), 0);
  ASSERT_NE(nullptr, pDir);
  Record name;
  {
    ExpectAsserts expected({"bad arg"});
    EXPECT_EQ(0, FwDirNext(err, pDir, name, nullptr, 2));
  }
  EXPECT_EQ("Unimplemented", Describe(err));
  FwErrorClear(err);
  FwDirClose(err, pDir);
}

TEST(FwDirOpen, TakesTheRoot) {
  for (const uint32 mode : kModes) {
    SCOPED_TRACE(mode);
    const std::vector<std::string> names = Names("/", mode);
    EXPECT_NE(names.end(), std::find(names.begin(), names.end(), "proc"));
  }
}

TEST(FwDirOpen, SuppliesAMissingSeparator) {
  TemporaryTree tree;
  tree.Write("a", "");
  for (const uint32 mode : kModes) {
    SCOPED_TRACE(mode);
    Error err;
    FwDir* pDir = FwDirOpen(err, Txt(tree.path()), mode);
    ASSERT_NE(nullptr, pDir);
    EXPECT_EQ(tree.path() + "/", Text(pDir->atbzDirname));
    Record name;
    FwFileInfo info;
    EXPECT_EQ(1, FwDirNext(err, pDir, name, &info, 0));
    FwDirClose(err, pDir);
  }
}

TEST(FwDirOpen, TakesARelativeNameFromTheDirectoryAtBoot) {
  TemporaryTree tree;
  tree.Write("d/a", "");
  CurrentDirectory current((tree.path() + "/").c_str());
  for (const uint32 mode : kModes)
    EXPECT_EQ(std::vector<std::string>{"a"}, Names("d/", mode)) << mode;
}

TEST(FwDirOpen, ReportsTheNameWithItsSeparator) {
  TemporaryTree tree;
  tree.Write("plain", "");
  Error err;
  EXPECT_EQ(nullptr, FwDirOpen(err, Txt(tree / "none/"), FW_DIR_SNAPSHOT));
  EXPECT_EQ("NonExistent File " + (tree / "none/"), Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(nullptr, FwDirOpen(err, Txt(tree / "plain/"), 0));
  EXPECT_EQ("StringValue File " + (tree / "plain/"), Describe(err));
  EXPECT_EQ(ENOTDIR, err.platformError);
}

TEST(FwDirOpen, WithASnapshotSeesNoLaterChangeAndHoldsNoDescriptor) {
  TemporaryTree tree;
  for (int i = 0; i < 200; ++i)
    tree.Write("file-with-a-long-name-" + std::to_string(i), "");
  const int before = LowestFreeDescriptor();
  Error err;
  FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), FW_DIR_SNAPSHOT);
  ASSERT_NE(nullptr, pDir);
  EXPECT_EQ(before, LowestFreeDescriptor());
  for (int i = 0; i < 200; ++i)
    unlink((tree / ("file-with-a-long-name-" + std::to_string(i))).c_str());
  tree.Write("new", "");
  int n = 0;
  Record name;
  while (FwDirNext(err, pDir, name, nullptr, 0)) {
    EXPECT_EQ(0u, name.text().find("file-with-a-long-name-"));
    FwStrRecordShorten(name, 0);
    ++n;
  }
  EXPECT_EQ(200, n);
  EXPECT_EQ("clear", Describe(err));
  FwDirClose(err, pDir);
}

TEST(FwDirOpen, WithASnapshotKeepsThePlatformsOrder) {
  TemporaryTree tree;
  for (const char* name : {"x", "c", "m", "a", "q"})
    tree.Write(name, "");
  std::vector<std::string> orders[2];
  for (const uint32 mode : kModes) {
    SCOPED_TRACE(mode);
    Error err;
    FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), mode);
    ASSERT_NE(nullptr, pDir);
    Record name;
    while (FwDirNext(err, pDir, name, nullptr, 0)) {
      orders[mode].push_back(name.text());
      FwStrRecordShorten(name, 0);
    }
    FwDirClose(err, pDir);
  }
  EXPECT_EQ(5u, orders[0].size());
  EXPECT_EQ(orders[0], orders[1]);
}

TEST(FwDirOpen, WithASnapshotReportsThatMemoryIsShortAndLeavesNothingOpen) {
  TemporaryTree tree;
  for (int i = 0; i < 100; ++i)
    tree.Write("file-with-a-long-name-" + std::to_string(i), "");
  const std::string name = tree.path() + "/";
  const int before = LowestFreeDescriptor();
  // Behind the handle come the pool, the record of the names and then the pool's second block.
  for (const int n : {1, 3}) {
    SCOPED_TRACE(n);
    Error err;
    CountedBlocks blocks;
    blocks.FailAt(n);
    EXPECT_EQ(nullptr, FwDirOpen(err, Txt(name), FW_DIR_SNAPSHOT));
    EXPECT_EQ("NoMemory", Describe(err));
    EXPECT_EQ(0, blocks.live());
    EXPECT_EQ(before, LowestFreeDescriptor());
  }
}

TEST(FwDirOpen, ReportsThatNoDescriptorIsLeft) {
  rlimit limit;
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
  rlimit low = limit;
  low.rlim_cur = static_cast<rlim_t>(LowestFreeDescriptor());
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &low));
  Error err;
  EXPECT_EQ(nullptr, FwDirOpen(err, FWT("/"), 0));
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
  EXPECT_EQ("SoftwareLimit File /", Describe(err));
}

// ---------------------------------------------------------------------------------------------
// Creation

TEST(FwDirCreate, CreatesWithTheUmask) {
  TemporaryTree tree;
  const mode_t mask = umask(027);
  Error err;
  EXPECT_EQ(1, FwDirCreate(err, Txt(tree / "d/"), 0));
  umask(mask);
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ(0750u, Permissions(tree / "d"));
}

TEST(FwDirCreate, CreatesThreeLevelsWithParents) {
  TemporaryTree tree;
  Error err;
  std::string name = tree / "a/b/c/";
  EXPECT_EQ(1, FwDirCreate(err, FWT(name.data()), FW_DIR_CREATE_PARENTS));
  EXPECT_TRUE(Exists(tree / "a/b/c"));
  EXPECT_EQ(tree / "a/b/c/", name);
}

TEST(FwDirCreate, WithoutParentsFailsAsThePlatformDoes) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(0, FwDirCreate(err, Txt(tree / "a/b/c/"), 0));
  EXPECT_EQ("NonExistent File " + (tree / "a/b/c"), Describe(err));
  EXPECT_EQ(ENOENT, err.platformError);
  EXPECT_FALSE(Exists(tree / "a"));
}

TEST(FwDirCreate, RefusesAnExistingDirectoryUnlessThatIsFine) {
  TemporaryTree tree;
  const std::string name = tree.Directory("d") + "/";
  Error err;
  EXPECT_EQ(0, FwDirCreate(err, Txt(name), 0));
  EXPECT_EQ("AlreadyExists File " + name, Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(1, FwDirCreate(err, Txt(name), FW_DIR_EXISTS_OK));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwDirCreate, RefusesAnExistingFileInBothCases) {
  TemporaryTree tree;
  const std::string name = tree.Write("a", "");
  for (const uint32 flags : {0u, FW_DIR_EXISTS_OK}) {
    SCOPED_TRACE(flags);
    Error err;
    EXPECT_EQ(0, FwDirCreate(err, Txt(name), flags));
    EXPECT_EQ("AlreadyExists File " + name + "/", Describe(err));
    FwErrorClear(err);
    EXPECT_EQ(0, FwDirCreate(err, Txt(name + "/"), flags));
    EXPECT_EQ("AlreadyExists File " + name + "/", Describe(err));
  }
}

TEST(FwDirCreate, SuppliesAMissingSeparatorSoThatNoLetterIsLost) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(1, FwDirCreate(err, Txt(tree / "name"), 0));
  EXPECT_TRUE(Exists(tree / "name"));
  EXPECT_FALSE(Exists(tree / "nam"));
}

TEST(FwDirCreate, TakesARelativeNameFromTheDirectoryAtBoot) {
  TemporaryTree tree;
  CurrentDirectory current((tree.path() + "/").c_str());
  Error err;
  EXPECT_EQ(1, FwDirCreate(err, FWT("x/y/"), FW_DIR_CREATE_PARENTS));
  EXPECT_TRUE(Exists(tree / "x/y"));
}

TEST(FwDirCreate, ReturnsOneForFlagsAndNamesThatItRefuses) {
  Error err;
  {
    ExpectAsserts expected({"bad arg"});
    EXPECT_EQ(1, FwDirCreate(err, FWT("/x/"), 1));
  }
  EXPECT_EQ("Unimplemented", Describe(err));
  FwErrorClear(err);
  {
    ExpectAsserts expected({"NULL filename"});
    EXPECT_EQ(1, FwDirCreate(err, nullptr, 0));
  }
  EXPECT_EQ("PointerNull", Describe(err));
  FwErrorClear(err);
  CurrentDirectory current(nullptr);
  EXPECT_EQ(1, FwDirCreate(err, FWT("x/"), 0));
  EXPECT_EQ("StringSyntax File x/", Describe(err));
}

TEST(FwDirCreate, HandsOnWhyANameCannotBeLookedAt) {
  TemporaryTree tree;
  tree.Write("plain", "");
  Error err;
  EXPECT_EQ(0, FwDirCreate(err, Txt(tree / "plain/d/"), FW_DIR_CREATE_PARENTS));
  EXPECT_EQ("StringValue File " + (tree / "plain/d/"), Describe(err));
  EXPECT_EQ(0, err.platformError) << "a copied error has none";
}

TEST(FwDirCreate, FailsOnAnEmptyLeaf) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(0, FwDirCreate(err, Txt(tree / "d//"), FW_DIR_CREATE_PARENTS));
  EXPECT_EQ("NonExistent File " + (tree / "d//"), Describe(err));
  EXPECT_FALSE(Exists(tree / "d"));
}

TEST(FwDirCreate, ReturnsZeroForANullState) {
  ExpectAsserts expected({"NULL"});
  EXPECT_EQ(0, FwDirCreate(nullptr, FWT("/x/"), 0));
}

// ---------------------------------------------------------------------------------------------
// Deletion

TEST(FwDirDelete, DeletesADirectoryWithAllThatItHolds) {
  TemporaryTree tree;
  tree.Write("d/a", "");
  tree.Write("d/sub/b", "");
  tree.Write("d/sub/deeper/c", "");
  tree.Directory("d/empty");
  Error err;
  EXPECT_EQ(1, FwDirDelete(err, Txt(tree / "d/"), 0));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_FALSE(Exists(tree / "d"));
}

TEST(FwDirDelete, DeletesWhatIsReadOnlyByForce) {
  TemporaryTree tree;
  tree.Write("d/sub/a", "");
  ASSERT_EQ(0, chmod((tree / "d/sub/a").c_str(), 0444));
  ASSERT_EQ(0, chmod((tree / "d/sub").c_str(), 0555));
  ASSERT_EQ(0, chmod((tree / "d").c_str(), 0555));
  Error err;
  if (geteuid() != 0) {
    EXPECT_EQ(0, FwDirDelete(err, Txt(tree / "d/"), 0));
    EXPECT_EQ("AccessDenied File " + (tree / "d/sub/a"), Describe(err));
    FwErrorClear(err);
  }
  EXPECT_EQ(1, FwDirDelete(err, Txt(tree / "d/"), FW_DELETE_FORCE));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_FALSE(Exists(tree / "d"));
}

TEST(FwDirDelete, DeletesWhatALinkToADirectoryLeadsTo) {
  TemporaryTree tree;
  tree.Write("real/a", "");
  tree.Directory("d");
  tree.Link("d/link", "../real");
  Error err;
  EXPECT_EQ(0, FwDirDelete(err, Txt(tree / "d/"), 0));
  EXPECT_FALSE(Exists(tree / "real/a"));
  // The link itself is no directory.
  EXPECT_EQ("StringValue File " + (tree / "d/link/"), Describe(err));
  EXPECT_EQ(ENOTDIR, err.platformError);
}

TEST(FwDirDelete, FailsOnADanglingLink) {
  TemporaryTree tree;
  tree.Link("d/link", "nowhere");
  Error err;
  EXPECT_EQ(0, FwDirDelete(err, Txt(tree / "d/"), 0));
  EXPECT_EQ("NonExistent File " + (tree / "d/link"), Describe(err));
  EXPECT_TRUE(Exists(tree / "d"));
}

TEST(FwDirDelete, RefusesFlagsBeforeAMissingName) {
  ExpectAsserts expected({"bad arg", "NULL filename", "NULL filename"});
  Error err;
  EXPECT_EQ(0, FwDirDelete(err, nullptr, 0x4));
  EXPECT_EQ("Unimplemented", Describe(err));
  for (const uint32 flags : {uint32{0}, FW_DELETE_FORCE}) {
    SCOPED_TRACE(flags);
    FwErrorClear(err);
    EXPECT_EQ(0, FwDirDelete(err, nullptr, flags));
    EXPECT_EQ("PointerNull", Describe(err));
  }
}

TEST(FwDirDelete, ReportsADirectoryThatDoesNotExist) {
  TemporaryTree tree;
  for (const uint32 flags : {0u, FW_DELETE_FORCE}) {
    SCOPED_TRACE(flags);
    Error err;
    EXPECT_EQ(0, FwDirDelete(err, Txt(tree / "none/"), flags));
    EXPECT_EQ("NonExistent File " + (tree / "none/"), Describe(err));
  }
}

// ---------------------------------------------------------------------------------------------
// Free space

uint64_t Value(const VqU32x2& n) {
  return static_cast<uint64_t>(n.high) << 32 | n.low;
}

TEST(FwFileDiskFree, MultipliesBlocksByTheirSize) {
  DiskOf disk(3000000, 5000000, 4096);
  Error err;
  FwFileDiskFreeInfo info;
  EXPECT_EQ(1, FwFileDiskFree(err, FWT("/"), &info));
  EXPECT_EQ(3000000ull * 4096, Value(info.free));
  EXPECT_EQ(5000000ull * 4096, Value(info.size));
  EXPECT_EQ(4096u, info.allocSize);
}

TEST(FwFileDiskFree, ReportsTheDeviceOfTheDeepestPartThatExists) {
  TemporaryTree tree;
  Error err;
  FwFileDiskFreeInfo here, below;
  ASSERT_EQ(1, FwFileDiskFree(err, Txt(tree.path() + "/"), &here));
  EXPECT_EQ(1, FwFileDiskFree(err, Txt(tree / "no/such/dir/x"), &below));
  EXPECT_EQ(Value(here.size), Value(below.size));
  EXPECT_EQ(1, FwFileDiskFree(err, Txt(tree.Write("plain", "") + "/x/y"), &below));
  EXPECT_EQ(Value(here.size), Value(below.size));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFileDiskFree, OfARelativeNameThatDoesNotExistHasNoPrefix) {
  Error err;
  FwFileDiskFreeInfo info;
  EXPECT_EQ(0, FwFileDiskFree(err, FWT("no-such-dir/x"), &info));
  EXPECT_EQ("NonExistent File ", Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileDiskFree(err, FWT("./no-such-dir"), &info));
}

TEST(FwFileDiskFree, RefusesNull) {
  ExpectAsserts expected({"NULL filename", "NULL filename"});
  Error err;
  FwFileDiskFreeInfo info;
  EXPECT_EQ(0, FwFileDiskFree(err, nullptr, &info));
  EXPECT_EQ("PointerNull", Describe(err));
  EXPECT_EQ(0, FwFileDiskFreeEx(err, nullptr, &info));
}

TEST(FwFileDiskFreeEx, FindsThePrefixItself) {
  TemporaryTree tree;
  Error err;
  FwFileDiskFreeInfo here, below;
  ASSERT_EQ(1, FwFileDiskFreeEx(err, Txt(tree.path()), &here));
  EXPECT_EQ(1, FwFileDiskFreeEx(err, Txt(tree / "no//such/"), &below));
  EXPECT_EQ(Value(here.size), Value(below.size));
}

TEST(FwFileIsOnCD, IsAllAboutFreeSpace) {
  {
    DiskOf disk(0, 1000);
    EXPECT_EQ(1, FwFileIsOnCD(FWT("/")));
  }
  {
    DiskOf disk(1, 1000);
    EXPECT_EQ(0, FwFileIsOnCD(FWT("/")));
  }
  EXPECT_EQ(1, FwFileIsOnCD(FWT("/proc/")));
  EXPECT_EQ(-1, FwFileIsOnCD(FWT("no-such-dir/x")));
}

}  // namespace
