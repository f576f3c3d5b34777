// Files in trouble: full disks, missing rights, other devices, links, names that vanish. Whatever
// happens, no source is touched, and no half target stays.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <set>
#include <string>

#include "caller.h"
#include "child.h"
#include "files.h"
#include "fwprog.h"
#include "process.h"
#include "recorder.h"
#include "syscalls.h"

namespace {

// A tree in which any user may look around and write.
class OpenTree : public TemporaryTree {
 public:
  OpenTree() { Open(path()); }
  explicit OpenTree(const std::string& path) : TemporaryTree(path) { Open(path); }
  // A directory or file with this mode.
  std::string Mode(const std::string& path, mode_t mode) const {
    EXPECT_EQ(0, chmod(path.c_str(), mode));
    return path;
  }

 private:
  static void Open(const std::string& path) { EXPECT_EQ(0, chmod(path.c_str(), 0777)); }
};

std::set<std::string> Names(const std::string& directory, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  std::set<std::string> names;
  Error err;
  FwDir* pDir = FwDirOpen(err, Txt(directory + "/"), 0);
  for (;;) {
    Record name;
    if (pDir == nullptr || !FwDirNext(err, pDir, name, nullptr, 0)) break;
    names.insert(name.text());
  }
  EXPECT_EQ("clear", Describe(err));
  if (pDir != nullptr) FwDirClose(err, pDir);
  return names;
}

using Set = std::set<std::string>;

// Does something at each report of a tree operation.
struct Hook : FwProgressCounter {
  const std::function<void(std::string)>* pfn = nullptr;
};

int32 HookProgress(FwObj* obj, FwTextString filename) {
  (*static_cast<Hook*>(obj)->pfn)(Text(filename));
  return 1;
}

const FwIntercept kHookMethods[] = {{_Fw_msg_Progress_Handle, FwMethodOf(HookProgress)},
                                    {nullptr, nullptr}};
const FwClassRecord kHookClass = {FW_CLASS_COOKIE,         "Hook",       sizeof(Hook),
                                  &FwProgressCounterClass, kHookMethods, FW_CLASS_NON_HEAP};

// Calls the function from the tickles of an operation, with their number from 1 on.
const std::function<void(int)>* pfnAtTickle;
int nTickle;

int32 CallAtTickle(int32, int32) {
  (*pfnAtTickle)(++nTickle);
  return 0;
}

class AtTickle {
 public:
  explicit AtTickle(std::function<void(int)> fn) : fn_(std::move(fn)) {
    pfnAtTickle = &fn_;
    nTickle = 0;
    fcBootContext.control.application_tickle = CallAtTickle;
  }
  ~AtTickle() { fcBootContext.control.application_tickle = nullptr; }
  AtTickle(const AtTickle&) = delete;
  AtTickle& operator=(const AtTickle&) = delete;

 private:
  std::function<void(int)> fn_;
};

const std::string kTwoBlocks(100000, 'x');  // of a copy
std::string There() {
  return OtherDevice() + "/zor-trouble-" + std::to_string(getpid());
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Full disks

TEST(FullDisk, AWriteIsCutShortAndTheNextOneFails) {
  TemporaryTree tree;
  Error err;
  const FwFile file = FwFileOpen(err, Txt(tree / "a"), FW_OPEN_WRONLY | FW_OPEN_CREAT);
  char text[] = "twelve bytes";
  {
    FullDisk full(7);
    EXPECT_EQ(7u, FwFileWrite(err, file, text, 12));
    EXPECT_EQ("clear", Describe(err));
    EXPECT_EQ(0u, FwFileWrite(err, file, text, 12));
    EXPECT_EQ("DiskFull File", Describe(err));
  }
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileClose(err, file));
  EXPECT_EQ("twelve ", ReadFile(tree / "a"));
}

TEST(FullDisk, TheFullDeviceRefusesEachWrite) {
  Error err;
  const FwFile file = FwFileOpen(err, Txt("/dev/full"), FW_OPEN_WRONLY);
  char text[] = "x";
  EXPECT_EQ(0u, FwFileWrite(err, file, text, 1));
  EXPECT_EQ("DiskFull File", Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileClose(err, file));
}

TEST(FullDisk, ASeekThatExtendsTellsHowFarItCame) {
  TemporaryTree tree;
  Error err;
  const FwFile file = FwFileOpen(err, Txt(tree / "a"), FW_OPEN_WRONLY | FW_OPEN_CREAT);
  Vq32x2 offset;
  offset.low = 5000;
  offset.high = 0;
  {
    FullDisk full(3000);
    EXPECT_EQ(0, FwFileSeek(err, file, &offset, FW_SEEK_SET));
  }
  EXPECT_EQ("DiskFull File", Describe(err));
  EXPECT_EQ(3000u, offset.low);
  EXPECT_EQ(0, offset.high);
  FwErrorClear(err);
  FwFileClose(err, file);
  EXPECT_EQ(std::string(3000, '\0'), ReadFile(tree / "a"));
}

TEST(FullDisk, ACopyAtAnyRoomIsWholeOrLeavesNoTarget) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", kTwoBlocks);
  for (const int64_t room : {0, 1, 65535, 65536, 65537, 99999, 100000}) {
    SCOPED_TRACE(room);
    Error err;
    const std::string to = tree.Write("to", "old");
    FullDisk full(room);
    const int32 fCopied = FwFileCopy(err, Txt(from), Txt(to), FW_FILE_OVERWRITE);
    EXPECT_EQ(room == 100000, fCopied == 1);
    if (fCopied) {
      EXPECT_EQ("clear", Describe(err));
      EXPECT_EQ(kTwoBlocks, ReadFile(to));
    } else {
      EXPECT_EQ("DiskFull File", Describe(err));
      EXPECT_EQ(Set{"from"}, Names(tree.path()));
    }
    EXPECT_EQ(kTwoBlocks, ReadFile(from));
  }
}

TEST(FullDisk, ACopyOfATreeKeepsWhatIsWholeAndNothingElse) {
  TemporaryTree tree;
  for (const char* name : {"from/a", "from/b", "from/c", "from/d"})
    tree.Write(name, std::string(1000, *(std::string(name).end() - 1)));
  Error err;
  {
    FullDisk full(2500);
    EXPECT_EQ(0, FwFileCopyTree(err, Txt(tree / "from"), Txt(tree / "to"), nullptr, 0));
  }
  EXPECT_EQ("DiskFull File", Describe(err));
  const Set copied = Names(tree / "to");
  EXPECT_EQ(2u, copied.size());
  for (const std::string& name : copied)
    EXPECT_EQ(std::string(1000, name[0]), ReadFile(tree / ("to/" + name))) << name;
  EXPECT_EQ((Set{"a", "b", "c", "d"}), Names(tree / "from"));
}

TEST(FullDisk, ARenameBetweenDevicesKeepsTheOldName) {
  if (OtherDevice().empty()) GTEST_SKIP() << "one device only";
  TemporaryTree here;
  TemporaryTree there(There());
  const std::string from = here.Write("from", kTwoBlocks);
  Error err;
  {
    FullDisk full(70000);
    EXPECT_EQ(0, FwFileRename(err, Txt(from), Txt(there / "to"), 0));
  }
  EXPECT_EQ("DiskFull File", Describe(err));
  EXPECT_EQ(kTwoBlocks, ReadFile(from));
  EXPECT_EQ(Set{}, Names(there.path()));
}

TEST(FullDisk, ARealOneThatFillsUpDuringACopyIsNoticed) {
  const std::string disk = MakeDisk(1024);
  if (disk.empty()) GTEST_SKIP() << "only root can make a small disk";
  TemporaryTree tree;
  const std::string from = tree.Write("from", std::string(600000, 'x'));
  ExpectGoodInChild([&] {
    Error err;
    {
      // There is room at first. Somebody else takes it meanwhile.
      AtTickle tickle([&](int n) {
        if (n != 4) return;
        const int file = open((disk + "/other").c_str(), O_WRONLY | O_CREAT, 0666);
        while (write(file, kTwoBlocks.data(), kTwoBlocks.size()) > 0) {
        }
        close(file);
      });
      EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(disk + "/to"), 0));
    }
    EXPECT_EQ("DiskFull File", Describe(err));
    EXPECT_EQ(Set{"other"}, Names(disk));
    FwErrorClear(err);
    // Now it is told beforehand.
    EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(disk + "/to"), 0));
    EXPECT_EQ("DiskFull File", Describe(err));
    EXPECT_EQ(Set{"other"}, Names(disk));
    FwErrorClear(err);
    EXPECT_EQ(0, FwFileRename(err, Txt(from), Txt(disk + "/to"), 0));
    EXPECT_EQ("DiskFull File", Describe(err));
  });
  EXPECT_EQ(600000u, ReadFile(from).size());
}

// ---------------------------------------------------------------------------------------------
// Disks that fail

TEST(BrokenDisk, ACopyWhoseSourceCannotBeReadLeavesNoTarget) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", kTwoBlocks);
  for (const int n : {0, 1}) {
    SCOPED_TRACE(n);
    Error err;
    {
      BrokenDisk broken(n);
      EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(tree / "to"), 0));
    }
    EXPECT_EQ(fwErrorHardware, err.pError);
    EXPECT_EQ(EIO, err.platformError);
    EXPECT_EQ(Set{"from"}, Names(tree.path()));
  }
}

TEST(BrokenDisk, ACopyIsNotTrustedIfItsFilesCannotBeClosed) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", "text");
  Error err;
  {
    LateFailure late(kClose);
    EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(tree / "to"), 0));
  }
  EXPECT_EQ(fwErrorHardware, err.pError);
  EXPECT_EQ(Set{"from"}, Names(tree.path()));
}

TEST(BrokenDisk, ReadingARecordKeepsWhatCame) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", std::string(3000, 'x'));
  Error err;
  const FwFile file = FwFileOpen(err, Txt(from), FW_OPEN_RDONLY);
  Record record("head ");
  {
    BrokenDisk broken(2);
    EXPECT_EQ(2048u, FwFileReadRecord(err, file, record));
  }
  EXPECT_EQ(fwErrorHardware, err.pError);
  EXPECT_EQ("head " + std::string(2048, 'x'), record.text());
  FwErrorClear(err);
  Record line;
  {
    BrokenDisk broken(3);
    EXPECT_EQ(3u, FwFileReadLineRecord(err, file, line));
  }
  EXPECT_EQ(fwErrorHardware, err.pError);
  EXPECT_EQ("xxx", line.text());
  FwErrorClear(err);
  FwFileClose(err, file);
}

TEST(BrokenDisk, AnInterruptedQuestionForTheLengthIsAskedAgain) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "12345");
  Error err;
  const FwFile file = FwFileOpen(err, Txt(path), FW_OPEN_RDONLY);
  Vq32x2 extent;
  Tickle tickle;
  InterruptStats(2);
  EXPECT_EQ(1, FwFileExtent(err, file, &extent));
  EXPECT_EQ(5u, extent.low);
  EXPECT_EQ(2, tickle.count());
  EXPECT_EQ(1, FwFileClose(err, file));
  EXPECT_EQ(0, FwFileExtent(err, file, &extent));
  EXPECT_EQ("Parameter File", Describe(err));
}

TEST(BrokenDisk, ADirectoryThatCannotBeClosedIsReported) {
  TemporaryTree tree;
  Error err;
  FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), 0);
  {
    LateFailure late(kCloseDir);
    EXPECT_EQ(0, FwDirClose(err, pDir));
  }
  EXPECT_EQ(fwErrorHardware, err.pError);
  EXPECT_EQ(tree.path() + "/", Text(err.items[0].name));
  FwErrorClear(err);
  // A snapshot closes it at once, and is given up.
  LateFailure late(kCloseDir);
  EXPECT_EQ(nullptr, FwDirOpen(err, Txt(tree.path() + "/"), FW_DIR_SNAPSHOT));
  EXPECT_EQ(fwErrorHardware, err.pError);
}

// ---------------------------------------------------------------------------------------------
// Missing rights

TEST(MissingRights, AnUnreadableSourceIsNotCopied) {
  OpenTree tree;
  const std::string from = tree.Mode(tree.Write("from", "secret"), 0);
  ExpectGoodAsAnyUser([&] {
    Error err;
    EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(tree / "to"), 0));
    EXPECT_EQ("AccessDenied File " + from, Describe(err));
    EXPECT_EQ(Set{"from"}, Names(tree.path()));
  });
}

TEST(MissingRights, ADirectoryThatMayNotBeWrittenTakesNothingAndLosesNothing) {
  OpenTree tree;
  tree.Write("shut/old", "old");
  tree.Write("from", "text");
  const std::string shut = tree.Mode(tree / "shut", 0555);
  tree.Mode(tree / "shut/old", 0666);
  ExpectGoodAsAnyUser([&] {
    const std::string from = tree / "from";
    const std::string old = shut + "/old";
    const struct {
      const char* name;
      std::function<int32(FwErrorState*)> run;
      std::string error;
    } operations[] = {
        {"copy", [&](auto* e) { return FwFileCopy(e, Txt(from), Txt(shut + "/new"), 0); },
         shut + "/new"},
        {"overwrite",
         [&](auto* e) { return FwFileCopy(e, Txt(from), Txt(old), FW_FILE_OVERWRITE); }, old},
        {"rename into", [&](auto* e) { return FwFileRename(e, Txt(from), Txt(shut + "/new"), 0); },
         from},
        {"rename over",
         [&](auto* e) { return FwFileRename(e, Txt(from), Txt(old), FW_FILE_OVERWRITE); }, from},
        {"rename out of", [&](auto* e) { return FwFileRename(e, Txt(old), Txt(tree / "out"), 0); },
         old},
        {"delete", [&](auto* e) { return FwFileDelete(e, Txt(old), 0); }, old},
        {"delete by force", [&](auto* e) { return FwFileDelete(e, Txt(old), FW_DELETE_FORCE); },
         old},
        {"link",
         [&](auto* e) {
           return FwFileCopyLink(e, Txt(tree / "link"), Txt(shut + "/new"), nullptr, 0);
         },
         ""},
        {"directory", [&](auto* e) { return FwDirCreate(e, Txt(shut + "/new/"), 0); },
         shut + "/new"},
        {"tree", [&](auto* e) { return FwFileCopyTree(e, Txt(from), Txt(old), nullptr, 0); }, old},
    };
    ASSERT_EQ(0, symlink("from", (tree / "link").c_str()));
    for (const auto& operation : operations) {
      SCOPED_TRACE(operation.name);
      Error err;
      EXPECT_EQ(0, operation.run(err));
      EXPECT_EQ(operation.error.empty() ? "OperationFailed File " + shut + "/new"
                                        : "AccessDenied File " + operation.error,
                Describe(err));
      EXPECT_EQ((Set{"from", "link", "shut"}), Names(tree.path()));
      EXPECT_EQ(Set{"old"}, Names(shut));
      EXPECT_EQ("text", ReadFile(from));
      EXPECT_EQ("old", ReadFile(old));
    }
  });
}

TEST(MissingRights, ATreeWithAnUnreadableCornerIsCopiedUpToIt) {
  OpenTree tree;
  tree.Write("from/corner/x", "x");
  tree.Mode(tree / "from/corner", 0);
  tree.Mode(tree / "from", 0555);
  ExpectGoodAsAnyUser([&] {
    Error err;
    EXPECT_EQ(0, FwFileCopyTree(err, Txt(tree / "from"), Txt(tree / "to"), nullptr, 0));
    EXPECT_EQ("AccessDenied File " + (tree / "from/corner/"), Describe(err));
    EXPECT_EQ(Set{"corner"}, Names(tree / "to"));
  });
  tree.Mode(tree / "from/corner", 0755);
  EXPECT_EQ("x", ReadFile(tree / "from/corner/x"));
}

TEST(MissingRights, ATreeWithAReadOnlyDirectoryIsDeletedByForceOnly) {
  OpenTree tree;
  ExpectGoodAsAnyUser([&] {
    ASSERT_EQ(0, mkdir((tree / "top").c_str(), 0777));
    ASSERT_EQ(0, mkdir((tree / "top/shut").c_str(), 0777));
    tree.Write("top/shut/file", "");
    ASSERT_EQ(0, chmod((tree / "top/shut").c_str(), 0555));
    Error err;
    EXPECT_EQ(0, FwDirDelete(err, Txt(tree / "top/"), 0));
    EXPECT_EQ("AccessDenied File " + (tree / "top/shut/file"), Describe(err));
    EXPECT_TRUE(Exists(tree / "top/shut/file"));
    FwErrorClear(err);
    EXPECT_EQ(1, FwDirDelete(err, Txt(tree / "top/"), FW_DELETE_FORCE));
    EXPECT_EQ("clear", Describe(err));
    EXPECT_FALSE(Exists(tree / "top"));
  });
}

TEST(MissingRights, SomebodyElsesFileCannotBeMadeWritable) {
  OpenTree tree;
  const std::string file = tree.Mode(tree.Write("file", "text"), 0444);
  if (geteuid() != 0) GTEST_SKIP() << "there is no file of another user";
  ExpectGoodAsAnyUser([&] {
    Error err;
    EXPECT_EQ(0, FwFileDelete(err, Txt(file), FW_DELETE_FORCE));
    EXPECT_EQ("AccessDenied File " + file, Describe(err));
    FwErrorClear(err);
    EXPECT_EQ(0, FwFileSetInfoTree(err, Txt(file), FW_TREE_MAKE_WRITABLE));
    EXPECT_EQ("AccessDenied File " + file, Describe(err));
    FwErrorClear(err);
    // Times are another matter that is refused.
    FwFileInfo info;
    ASSERT_EQ(1, FwFileGetInfo(err, Txt(file), &info, 0));
    info.modifiedTime.high = 1000000000;
    info.attributes |= 0222;
    EXPECT_EQ(0, FwFileSetInfo(err, Txt(file), &info, FW_INFO_MODIFIED_TIME | FW_INFO_ATTRIBUTES));
    EXPECT_EQ("AccessDenied File " + file, Describe(err));
  });
  EXPECT_EQ(0444u, Permissions(file));
}

// ---------------------------------------------------------------------------------------------
// Other devices

TEST(OtherDevice, ADirectoryIsNotRenamedAcross) {
  if (OtherDevice().empty()) GTEST_SKIP() << "one device only";
  TemporaryTree here;
  TemporaryTree there(There());
  here.Write("from/a", "text");
  Error err;
  {
    // The copy in place of the rename wants files.
    ExpectAsserts expected({"trailing directory separator when file name expected"});
    EXPECT_EQ(0, FwFileRename(err, Txt(here / "from/"), Txt(there / "to/"), 0));
  }
  EXPECT_EQ("StringValue File " + (here / "from/"), Describe(err));
  EXPECT_EQ("text", ReadFile(here / "from/a"));
  EXPECT_EQ(Set{}, Names(there.path()));
}

TEST(OtherDevice, ALinkIsRenamedAcrossAsTheFileThatItLeadsTo) {
  if (OtherDevice().empty()) GTEST_SKIP() << "one device only";
  TemporaryTree here;
  TemporaryTree there(There());
  const std::string file = here.Write("file", "text");
  const std::string link = here.Link("link", file);
  Error err;
  EXPECT_EQ(1, FwFileRename(err, Txt(link), Txt(there / "to"), 0));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ(Set{"file"}, Names(here.path()));
  EXPECT_EQ("text", ReadFile(there / "to"));
  struct stat status;
  ASSERT_EQ(0, lstat((there / "to").c_str(), &status));
  EXPECT_TRUE(S_ISREG(status.st_mode));
}

TEST(OtherDevice, ARenameAcrossReplacesOnlyIfAsked) {
  if (OtherDevice().empty()) GTEST_SKIP() << "one device only";
  TemporaryTree here;
  TemporaryTree there(There());
  const std::string from = here.Write("from", "new");
  const std::string to = there.Write("to", "old");
  Error err;
  EXPECT_EQ(0, FwFileRename(err, Txt(from), Txt(to), 0));
  EXPECT_EQ("AlreadyExists File " + to, Describe(err));
  EXPECT_EQ("old", ReadFile(to));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileRename(err, Txt(from), Txt(to), FW_FILE_OVERWRITE));
  EXPECT_EQ("new", ReadFile(to));
  EXPECT_FALSE(Exists(from));
}

TEST(OtherDevice, ATreeIsCopiedAcrossWithItsLinksAndModes) {
  if (OtherDevice().empty()) GTEST_SKIP() << "one device only";
  TemporaryTree here;
  TemporaryTree there(There());
  here.Write("from/sub/a", "text");
  here.Link("from/sub/link", "nowhere");
  ASSERT_EQ(0, chmod((here / "from/sub/a").c_str(), 0440));
  Error err;
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(here / "from"), Txt(there / "to"), nullptr, 0));
  EXPECT_EQ("text", ReadFile(there / "to/sub/a"));
  EXPECT_EQ(0440u, Permissions(there / "to/sub/a"));
  char target[16] = "";
  EXPECT_EQ(7, readlink((there / "to/sub/link").c_str(), target, sizeof target - 1));
  EXPECT_STREQ("nowhere", target);
}

// ---------------------------------------------------------------------------------------------
// Links

TEST(Links, ADanglingLinkIsNotASource) {
  TemporaryTree tree;
  const std::string link = tree.Link("link", "nowhere");
  Error err;
  EXPECT_EQ(0, FwFileCopy(err, Txt(link), Txt(tree / "to"), 0));
  EXPECT_EQ("NonExistent File " + link, Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileRename(err, Txt(link), Txt(tree / "to"), 0));
  EXPECT_EQ("NonExistent File " + link, Describe(err));
  EXPECT_EQ(Set{"link"}, Names(tree.path()));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileDelete(err, Txt(link), 0));
  EXPECT_EQ(Set{}, Names(tree.path()));
}

TEST(Links, ASourceThatIsALinkToADirectoryIsNotAFile) {
  TemporaryTree tree;
  tree.Write("dir/a", "text");
  const std::string link = tree.Link("link", "dir");
  Error err;
  EXPECT_EQ(0, FwFileCopy(err, Txt(link), Txt(tree / "to"), 0));
  EXPECT_EQ("OperationDenied", Describe(err).substr(0, 15));
  FwErrorClear(err);
  EXPECT_EQ(0, FwFileRename(err, Txt(link), Txt(tree / "to"), 0));
  EXPECT_EQ("OperationDenied", Describe(err).substr(0, 15));
  EXPECT_EQ((Set{"dir", "link"}), Names(tree.path()));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileDelete(err, Txt(link), 0));
  EXPECT_EQ("text", ReadFile(tree / "dir/a"));
}

TEST(Links, AnOverwrittenLinkGoesAndItsTargetStays) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", "new");
  const std::string target = tree.Write("target", "old");
  const std::string link = tree.Link("link", "target");
  Error err;
  EXPECT_EQ(1, FwFileCopy(err, Txt(from), Txt(link), FW_FILE_OVERWRITE));
  EXPECT_EQ("old", ReadFile(target));
  EXPECT_EQ("new", ReadFile(link));
  struct stat status;
  ASSERT_EQ(0, lstat(link.c_str(), &status));
  EXPECT_TRUE(S_ISREG(status.st_mode));
}

TEST(Links, ACopyOntoADanglingLinkMakesTheFileThatItNames) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", "text");
  const std::string link = tree.Link("link", "sub/made");
  tree.Directory("sub");
  Error err;
  EXPECT_EQ(1, FwFileCopy(err, Txt(from), Txt(link), 0));
  EXPECT_EQ("text", ReadFile(tree / "sub/made"));
  EXPECT_EQ((Set{"from", "link", "sub"}), Names(tree.path()));
}

TEST(Links, ACopyOntoADanglingLinkThatFailsLeavesTheLinkAndNoFile) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", kTwoBlocks);
  tree.Directory("sub");
  tree.Link("link", "sub/second");
  tree.Link("sub/second", "made");
  for (const char* name : {"link", "sub/second"})
    for (const uint32 flags : {uint32{0}, uint32{FW_FILE_OVERWRITE}}) {
      SCOPED_TRACE(testing::Message() << name << ' ' << flags);
      Error err;
      {
        FullDisk full(70000);
        EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(tree / name), flags));
      }
      EXPECT_EQ("DiskFull File", Describe(err));
      EXPECT_EQ((Set{"from", "link", "sub"}), Names(tree.path()));
      EXPECT_EQ(Set{"second"}, Names(tree / "sub"));
    }
  EXPECT_EQ(kTwoBlocks, ReadFile(from));
}

TEST(Links, ALinkToTheSourceIsTheSource) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", "text");
  const std::string soft = tree.Link("soft", "from");
  const std::string hard = tree / "hard";
  ASSERT_EQ(0, link(from.c_str(), hard.c_str()));
  for (const std::string& to : {soft, hard}) {
    SCOPED_TRACE(to);
    Error err;
    EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(to), FW_FILE_OVERWRITE));
    EXPECT_EQ("AlreadyExists File " + to, Describe(err));
    EXPECT_EQ("text", ReadFile(to));
  }
  EXPECT_EQ("text", ReadFile(from));
}

TEST(Links, ACycleOfLinksEndsAsALimit) {
  TemporaryTree tree;
  const std::string link = tree.Link("one", "two");
  tree.Link("two", "one");
  Error err;
  EXPECT_EQ(0, FwFileGetInfo(err, Txt(link), nullptr, 0));
  EXPECT_EQ("SoftwareLimit File " + link, Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(link), Txt(tree / "copy"), nullptr, 0));
  char target[8] = "";
  EXPECT_EQ(3, readlink((tree / "copy").c_str(), target, sizeof target - 1));
  EXPECT_STREQ("two", target);
}

// ---------------------------------------------------------------------------------------------
// Names that vanish

TEST(VanishedFile, AWalkThatAsksAboutItStopsThere) {
  for (const uint32 flags : {0u, uint32{FW_DIR_SNAPSHOT}}) {
    SCOPED_TRACE(flags);
    TemporaryTree tree;
    for (const char* name : {"a", "b", "c"})
      tree.Write(name, "");
    Error err;
    FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), flags);
    ASSERT_NE(nullptr, pDir);
    FwFileInfo info;
    Record first;
    EXPECT_EQ(1, FwDirNext(err, pDir, first, &info, 0));
    for (const char* name : {"a", "b", "c"})
      unlink((tree / name).c_str());
    Record second;
    EXPECT_EQ(0, FwDirNext(err, pDir, second, &info, 0));
    EXPECT_EQ("NonExistent File " + (tree / second.text()), Describe(err));
    FwErrorClear(err);
    // Its name alone is still told.
    Record third;
    EXPECT_EQ(1, FwDirNext(err, pDir, third, nullptr, 0));
    EXPECT_EQ((Set{"a", "b", "c"}), (Set{first.text(), second.text(), third.text()}));
    EXPECT_EQ(1, FwDirClose(err, pDir));
  }
}

TEST(VanishedFile, ACopyOfATreeStopsThereAndKeepsWhatIsDone) {
  TemporaryTree tree;
  for (const char* name : {"from/a", "from/b", "from/c"})
    tree.Write(name, "text");
  Hook hook;
  hook.pClassRecord = &kHookClass;
  const std::function<void(std::string)> remove = [&](const std::string& target) {
    if (target.back() == '/') return;
    const std::string copied = target.substr(target.size() - 1);
    for (const std::string& name : Names(tree / "from"))
      if (name != copied) unlink((tree / ("from/" + name)).c_str());
  };
  hook.pfn = &remove;
  Error err;
  EXPECT_EQ(0, FwFileCopyTree(err, Txt(tree / "from"), Txt(tree / "to"), &hook, 0));
  EXPECT_EQ("NonExistent File " + (tree / "from/"),
            Describe(err).substr(0, Describe(err).size() - 1));
  const Set copied = Names(tree / "to");
  EXPECT_EQ(1u, copied.size());
  EXPECT_EQ(copied, Names(tree / "from"));
}

TEST(VanishedFile, ATargetThatVanishesDuringACopyIsReported) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", kTwoBlocks);
  Error err;
  {
    AtTickle tickle([&](int n) {
      if (n == 2) unlink((tree / "to").c_str());
    });
    EXPECT_EQ(0, FwFileCopy(err, Txt(from), Txt(tree / "to"), 0));
  }
  EXPECT_EQ("NonExistent File " + (tree / "to"), Describe(err));
  EXPECT_EQ(Set{"from"}, Names(tree.path()));
}

TEST(VanishedFile, ASourceThatVanishesDuringACopyIsStillCopied) {
  TemporaryTree tree;
  const std::string from = tree.Write("from", kTwoBlocks);
  Error err;
  AtTickle tickle([&](int n) {
    if (n == 2) unlink(from.c_str());
  });
  EXPECT_EQ(1, FwFileCopy(err, Txt(from), Txt(tree / "to"), 0));
  EXPECT_EQ(kTwoBlocks, ReadFile(tree / "to"));
}

// ---------------------------------------------------------------------------------------------
// Side-files and other locales

TEST(SideFile, ThatCannotBeCopiedFailsTheCopyOfItsFile) {
  TemporaryTree tree;
  tree.Write("from/.AppleDouble/a", std::string(1000, 's'));
  const std::string from = tree.Write("from/a", "text");
  tree.Directory("to");
  Error err;
  {
    FullDisk full(500);
    EXPECT_EQ(0, FwFileCopyTree(err, Txt(from), Txt(tree / "to/a"), nullptr, 0));
  }
  EXPECT_EQ("DiskFull File", Describe(err));
  EXPECT_EQ(Set{".AppleDouble"}, Names(tree / "to"));
  EXPECT_EQ(Set{}, Names(tree / "to/.AppleDouble"));
  EXPECT_EQ(std::string(1000, 's'), ReadFile(tree / "from/.AppleDouble/a"));
}

TEST(PlainLocaleFiles, AreCopiedAndRenamedByTheirUnderscores) {
  TemporaryTree tree;
  tree.Write("_", "under");
  PlainLocale plain;
  Error err;
  // Both names are the same to the system.
  EXPECT_EQ(0, FwFileCopy(err, Txt(tree / "é"), Txt(tree / "ü"), FW_FILE_OVERWRITE));
  EXPECT_EQ("AlreadyExists File " + (tree / "ü"), Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(1, FwFileCopy(err, Txt(tree / "é"), Txt(tree / "éé"), 0));
  EXPECT_EQ("under", ReadFile(tree / "__"));
  EXPECT_EQ(1, FwFileRename(err, Txt(tree / "éé"), Txt(tree / "x"), 0));
  EXPECT_EQ((Set{"_", "x"}), Names(tree.path()));
  EXPECT_EQ("clear", Describe(err));
}
