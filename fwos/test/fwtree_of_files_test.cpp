#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "files.h"
#include "fwprog.h"
#include "process.h"

namespace {

// A counter that keeps the names and may stop the work at the n-th.
struct Watcher : FwProgressCounter {
  std::vector<std::string>* names = nullptr;
  size_t stop_at = 0;
};

int32 WatcherProgress(FwObj* obj, FwTextString filename) {
  auto* watcher = static_cast<Watcher*>(obj);
  watcher->names->push_back(Text(filename));
  return watcher->names->size() != watcher->stop_at;
}

const FwIntercept kWatcherMethods[] = {{_Fw_msg_Progress_Handle, FwMethodOf(WatcherProgress)},
                                       {nullptr, nullptr}};
const FwClassRecord kWatcherClass = {FW_CLASS_COOKIE,         "Watcher",       sizeof(Watcher),
                                     &FwProgressCounterClass, kWatcherMethods, FW_CLASS_NON_HEAP};

class Progress {
 public:
  explicit Progress(size_t stop_at = 0) {
    watcher_.pClassRecord = &kWatcherClass;
    watcher_.names = &names_;
    watcher_.stop_at = stop_at;
  }
  operator FwObj*() { return &watcher_; }
  std::vector<std::string> sorted() const {
    std::vector<std::string> names = names_;
    std::sort(names.begin(), names.end());
    return names;
  }
  const std::vector<std::string>& names() const { return names_; }

 private:
  std::vector<std::string> names_;
  Watcher watcher_;
};

using TreeCopy = int32(FwErrorState*, FwTextString, FwTextString, FwObj*);

int32 Plain(FwErrorState* err, FwTextString from, FwTextString to, FwObj* progress) {
  return FwFileCopyTree(err, from, to, progress, 0);
}

int32 Ex(FwErrorState* err, FwTextString from, FwTextString to, FwObj* progress) {
  return FwFileCopyTreeEx(err, from, to, progress, FW_FILE_OVERWRITE, nullptr);
}

TreeCopy* const kBoth[] = {Plain, Ex};

bool Exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

std::string LinkText(const std::string& path) {
  char text[100] = {};
  return readlink(path.c_str(), text, sizeof text - 1) < 0 ? "(no link)" : text;
}

// ---------------------------------------------------------------------------------------------
// Copy

TEST(FwFileCopyTree, CopiesFilesDirectoriesAndLinks) {
  for (TreeCopy* copy : kBoth) {
    SCOPED_TRACE(copy == Ex ? "Ex" : "Plain");
    TemporaryTree tree;
    tree.Write("from/a", "text a");
    tree.Write("from/sub/b", "text b");
    tree.Directory("from/empty");
    tree.Link("from/sub/link", "../a");
    tree.Link("from/dangling", "nowhere");
    ASSERT_EQ(0, chmod((tree / "from/sub").c_str(), 0700));
    Error err;
    EXPECT_EQ(1, copy(err, Txt(tree / "from/"), Txt(tree / "new/to"), nullptr));
    EXPECT_EQ("clear", Describe(err));
    EXPECT_EQ("text a", ReadFile(tree / "new/to/a"));
    EXPECT_EQ("text b", ReadFile(tree / "new/to/sub/b"));
    EXPECT_TRUE(Exists(tree / "new/to/empty"));
    EXPECT_EQ("../a", LinkText(tree / "new/to/sub/link"));
    EXPECT_EQ("nowhere", LinkText(tree / "new/to/dangling"));
    EXPECT_EQ(0700u, Permissions(tree / "new/to/sub"));
  }
}

TEST(FwFileCopyTree, OfASingleFileMakesTheTargetsParents) {
  for (TreeCopy* copy : kBoth) {
    SCOPED_TRACE(copy == Ex ? "Ex" : "Plain");
    TemporaryTree tree;
    Error err;
    EXPECT_EQ(1, copy(err, Txt(tree.Write("a", "text")), Txt(tree / "x/y/z"), nullptr));
    EXPECT_EQ("text", ReadFile(tree / "x/y/z"));
  }
}

TEST(FwFileCopyTree, OfALinkCopiesTheLink) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(1,
            FwFileCopyTree(err, Txt(tree.Link("l", "some where")), Txt(tree / "x/l"), nullptr, 0));
  EXPECT_EQ("some where", LinkText(tree / "x/l"));
}

TEST(FwFileCopyTree, ReplacesExistingFilesInAnyCase) {
  TemporaryTree tree;
  tree.Write("from/a", "new");
  tree.Link("from/l", "new");
  const std::string old = tree.Write("to/a", "old");
  tree.Write("to/l", "old");
  ASSERT_EQ(0, chmod(old.c_str(), 0444));
  tree.Write("to/other", "stays");
  Error err;
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "from/"), Txt(tree / "to/"), nullptr, 0));
  EXPECT_EQ("new", ReadFile(old));
  EXPECT_EQ("new", LinkText(tree / "to/l"));
  EXPECT_EQ("stays", ReadFile(tree / "to/other"));
}

// Under whatever name: the look comes before the deletion that clears the way.
TEST(FwFileCopyTree, OfAFileOntoItselfIsRefused) {
  TemporaryTree tree;
  const std::string file = tree.Write("d/a", "text");
  const std::string side = tree.Write("d/.AppleDouble/a", "side");
  ASSERT_EQ(0, ::link(file.c_str(), (tree / "hard").c_str()));
  for (const std::string& name : {file, tree / "d/./a", tree / "d/../d/a", tree.Link("link", "d/a"),
                                  tree / "hard", tree.Link("by", "d") + "/a"})
    for (TreeCopy* copy : kBoth) {
      SCOPED_TRACE(copy == Ex ? "Ex" : "Plain");
      Error err;
      Progress progress;
      EXPECT_EQ(0, copy(err, Txt(file), Txt(name), progress));
      EXPECT_EQ("AlreadyExists File " + name, Describe(err));
      EXPECT_EQ("text", ReadFile(file));
      EXPECT_EQ("side", ReadFile(side));
      EXPECT_EQ("d/a", LinkText(tree / "link"));
      EXPECT_TRUE(progress.names().empty());
    }
}

TEST(FwFileCopyTree, OfADirectoryOntoItselfIsRefused) {
  TemporaryTree tree;
  const std::string file = tree.Write("d/sub/a", "text");
  const std::string other = tree.Link("other", "d");
  for (const std::string& from : {tree / "d", tree / "d/"})
    for (const std::string& name : {tree / "d", tree / "d/", tree / "d/sub/..", other, other + "/"})
      for (TreeCopy* copy : kBoth) {
        SCOPED_TRACE(copy == Ex ? "Ex" : "Plain");
        Error err;
        EXPECT_EQ(0, copy(err, Txt(from), Txt(name), nullptr));
        EXPECT_EQ("AlreadyExists File " + name, Describe(err));
        EXPECT_EQ("text", ReadFile(file));
      }
}

TEST(FwFileCopyTree, OfADirectoryIntoItselfIsRefusedBeforeAnythingIsMade) {
  TemporaryTree tree;
  const std::string file = tree.Write("d/sub/a", "text");
  const std::string other = tree.Link("other", "d/sub");
  for (const std::string& name : {tree / "d/new", tree / "d/new/er/", tree / "d/sub",
                                  tree / "d/sub/x", other, other + "/x/y"})
    for (TreeCopy* copy : kBoth) {
      SCOPED_TRACE(copy == Ex ? "Ex" : "Plain");
      Error err;
      EXPECT_EQ(0, copy(err, Txt(tree / "d"), Txt(name), nullptr));
      EXPECT_EQ("AlreadyExists File " + name, Describe(err));
      EXPECT_FALSE(Exists(tree / "d/new"));
      EXPECT_FALSE(Exists(tree / "d/sub/x"));
      EXPECT_FALSE(Exists(tree / "d/sub/sub"));
      EXPECT_EQ("text", ReadFile(file));
    }
  // Beside it, with a name that begins alike, and above it are other places.
  Error err;
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "d"), Txt(tree / "d2/x"), nullptr, 0));
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "d/sub"), Txt(tree / "d"), nullptr, 0));
  EXPECT_EQ("text", ReadFile(tree / "d2/x/sub/a"));
  EXPECT_EQ("text", ReadFile(tree / "d/a"));
}

// What a link leads to is the only copy: the link in its place would lead to itself.
TEST(FwFileCopyTree, ALinkIsNotCopiedOverTheFileThatItLeadsTo) {
  TemporaryTree tree;
  const std::string file = tree.Write("to/l", "text");
  tree.Link("from/l", "../to/l");
  for (TreeCopy* copy : kBoth) {
    SCOPED_TRACE(copy == Ex ? "Ex" : "Plain");
    for (const char* level : {"", "/l"}) {
      SCOPED_TRACE(level);
      Error err;
      EXPECT_EQ(0, copy(err, Txt(tree / "from" + level), Txt(tree / "to" + level), nullptr));
      EXPECT_EQ("AlreadyExists File " + file, Describe(err));
      EXPECT_EQ("text", ReadFile(file));
    }
  }
  // A copy of the link is replaced as ever.
  tree.Directory("copy");
  for (int i = 0; i < 2; i++) {
    SCOPED_TRACE(i);
    Error err;
    EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "from"), Txt(tree / "copy"), nullptr, 0));
    EXPECT_EQ("../to/l", LinkText(tree / "copy/l"));
  }
}

// A link in the target may lead back to the source, to a part of it as well as to its side-files.
TEST(FwFileCopyTree, NothingOfTheSourceIsLostThroughALinkInTheTarget) {
  TemporaryTree tree;
  tree.Write("from/sub/a", "text");
  tree.Write("from/sub/deep/b", "deep");
  tree.Link("to/sub", "../from/sub");
  tree.Link("in/sub", "../from/sub/deep");
  for (TreeCopy* copy : kBoth) {
    SCOPED_TRACE(copy == Ex ? "Ex" : "Plain");
    for (const char* target : {"to", "in"}) {
      SCOPED_TRACE(target);
      Error err;
      EXPECT_EQ(0, copy(err, Txt(tree / "from"), Txt(tree / target), nullptr));
      EXPECT_TRUE(Describe(err).starts_with("AlreadyExists File " + (tree / target)))
          << Describe(err);
      EXPECT_EQ("text", ReadFile(tree / "from/sub/a"));
      EXPECT_EQ("deep", ReadFile(tree / "from/sub/deep/b"));
      EXPECT_FALSE(Exists(tree / "from/sub/deep/deep/deep"));
    }
  }
  const std::string side = tree.Write("one/.AppleDouble/a", "side");
  tree.Write("one/a", "a");
  tree.Link("two/.AppleDouble", "../one/.AppleDouble");
  Error err;
  EXPECT_EQ(0, FwFileCopyTree(err, Txt(tree / "one/a"), Txt(tree / "two/a"), nullptr, 0));
  EXPECT_EQ("side", ReadFile(side));
}

// A link in the target that leads to the file of the source is replaced by a copy.
TEST(FwFileCopyTree, ALinkInTheTargetIsReplaced) {
  TemporaryTree tree;
  const std::string file = tree.Write("from/a", "text");
  tree.Link("to/a", "../from/a");
  Error err;
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "from"), Txt(tree / "to"), nullptr, 0));
  EXPECT_EQ("(no link)", LinkText(tree / "to/a"));
  EXPECT_EQ("text", ReadFile(tree / "to/a"));
  EXPECT_EQ("text", ReadFile(file));
}

TEST(FwFileCopyTree, FillsADirectoryBeforeItTurnsReadOnly) {
  TemporaryTree tree;
  tree.Write("from/sub/a", "text");
  ASSERT_EQ(0, chmod((tree / "from/sub").c_str(), 0555));
  Error err;
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "from/"), Txt(tree / "to/"), nullptr, 0));
  EXPECT_EQ("text", ReadFile(tree / "to/sub/a"));
  EXPECT_EQ(0555u, Permissions(tree / "to/sub"));
  chmod((tree / "from/sub").c_str(), 0755);
  chmod((tree / "to/sub").c_str(), 0755);
}

TEST(FwFileCopyTree, TakesRelativeNamesFromTheDirectoryAtBoot) {
  TemporaryTree tree;
  tree.Write("from/a", "text");
  CurrentDirectory current((tree.path() + "/").c_str());
  Error err;
  EXPECT_EQ(1, FwFileCopyTree(err, FWT("from/"), FWT("to/"), nullptr, 0));
  EXPECT_EQ("text", ReadFile(tree / "to/a"));
}

TEST(FwFileCopyTree, ReportsASourceThatDoesNotExist) {
  TemporaryTree tree;
  for (TreeCopy* copy : kBoth) {
    SCOPED_TRACE(copy == Ex ? "Ex" : "Plain");
    Error err;
    EXPECT_EQ(0, copy(err, Txt(tree / "none"), Txt(tree / "to"), nullptr));
    EXPECT_EQ("NonExistent File " + (tree / "none"), Describe(err));
  }
}

TEST(FwFileCopyTree, CannotCopyOtherTypes) {
  TemporaryTree tree;
  ASSERT_EQ(0, mkfifo((tree / "fifo").c_str(), 0600));
  Error err;
  EXPECT_EQ(0, FwFileCopyTree(err, Txt(tree / "fifo"), Txt(tree / "to"), nullptr, 0));
  EXPECT_EQ("Unimplemented", Describe(err));
}

TEST(FwFileCopyTree, GoesOnBehindATypeThatItCannotCopy) {
  TemporaryTree tree;
  tree.Write("from/a", "text");
  tree.Write("from/z", "text");
  ASSERT_EQ(0, mkfifo((tree / "from/fifo").c_str(), 0600));
  Error err;
  EXPECT_EQ(0, FwFileCopyTree(err, Txt(tree / "from/"), Txt(tree / "to/"), nullptr, 0));
  EXPECT_EQ("Unimplemented", Describe(err));
  EXPECT_TRUE(Exists(tree / "to/a"));
  EXPECT_TRUE(Exists(tree / "to/z"));
}

TEST(FwFileCopyTree, StopsAtTheFirstEntryThatFailsAndLeavesWhatIsDone) {
  TemporaryTree tree;
  tree.Write("from/sub/a", "text");
  tree.Write("to/sub", "a file in the way of a directory");
  Error err;
  EXPECT_EQ(0, FwFileCopyTree(err, Txt(tree / "from/"), Txt(tree / "to/"), nullptr, 0));
  EXPECT_EQ("AlreadyExists File " + (tree / "to/sub/"), Describe(err));
  EXPECT_TRUE(Exists(tree / "to/sub"));
}

TEST(FwFileCopyTree, TellsEachTarget) {
  TemporaryTree tree;
  tree.Write("from/a", "");
  tree.Link("from/l", "x");
  tree.Write("from/sub/b", "");
  Progress progress;
  Error err;
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "from/"), Txt(tree / "to"), progress, 0));
  EXPECT_EQ((std::vector<std::string>{tree / "to/", tree / "to/a", tree / "to/l", tree / "to/sub/",
                                      tree / "to/sub/b"}),
            progress.sorted());
  EXPECT_EQ(tree / "to/", progress.names()[0]);
}

TEST(FwFileCopyTree, TellsAFileThatCouldNotBeCopied) {
  TemporaryTree tree;
  tree.Write("plain", "");
  Progress progress;
  Error err;
  EXPECT_EQ(0, FwFileCopyTree(err, Txt(tree.Write("a", "")), Txt(tree / "plain/a"), progress, 0));
  EXPECT_EQ(std::vector<std::string>{tree / "plain/a"}, progress.names());
  EXPECT_EQ("AlreadyExists File " + (tree / "plain/"), Describe(err));
}

TEST(FwFileCopyTree, CanBeStopped) {
  TemporaryTree tree;
  tree.Write("from/a", "");
  tree.Write("from/b", "");
  for (const size_t stop_at : {1u, 2u}) {
    SCOPED_TRACE(stop_at);
    Progress progress(stop_at);
    Error err;
    EXPECT_EQ(0, FwFileCopyTree(err, Txt(tree / "from/"), Txt(tree / "to/"), progress, 0));
    EXPECT_EQ("Abort", Describe(err));
    EXPECT_EQ(stop_at, progress.names().size());
  }
}

TEST(FwFileCopyTree, TakesTheSideFileOfTheTop) {
  TemporaryTree tree;
  tree.Write("a", "text");
  tree.Write(".AppleDouble/a", "side");
  Error err;
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "a"), Txt(tree / "to/b"), nullptr, 0));
  EXPECT_EQ("text", ReadFile(tree / "to/b"));
  EXPECT_EQ("side", ReadFile(tree / "to/.AppleDouble/b"));
  EXPECT_EQ(1, FwFileCopyTreeEx(err, Txt(tree / "a"), Txt(tree / "ex/b"), nullptr, 0, nullptr));
  EXPECT_FALSE(Exists(tree / "ex/.AppleDouble"));
}

TEST(FwFileCopyTree, TakesTheSideFilesOfADirectoryAsEntries) {
  TemporaryTree tree;
  tree.Write("from/a", "text");
  tree.Write("from/.AppleDouble/a", "side");
  Error err;
  EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "from/"), Txt(tree / "to/"), nullptr, 0));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ("side", ReadFile(tree / "to/.AppleDouble/a"));
}

TEST(FwFileCopyTreeEx, SkipsDirectoriesOfAGivenNameAtEveryLevelButNoFiles) {
  TemporaryTree tree;
  tree.Write("from/CVS/x", "");
  tree.Write("from/sub/CVS/x", "");
  tree.Write("from/sub/deeper/CVS", "a file");
  tree.Write("from/CVSROOT/x", "");
  Error err;
  EXPECT_EQ(1,
            FwFileCopyTreeEx(err, Txt(tree / "from/"), Txt(tree / "to/"), nullptr, 0, FWT("CVS")));
  EXPECT_FALSE(Exists(tree / "to/CVS"));
  EXPECT_FALSE(Exists(tree / "to/sub/CVS"));
  EXPECT_EQ("a file", ReadFile(tree / "to/sub/deeper/CVS"));
  EXPECT_TRUE(Exists(tree / "to/CVSROOT/x"));
}

TEST(FwFileCopyTreeEx, SkipsNothingForAnEmptyName) {
  TemporaryTree tree;
  tree.Write("from/sub/x", "");
  Error err;
  EXPECT_EQ(1, FwFileCopyTreeEx(err, Txt(tree / "from/"), Txt(tree / "to/"), nullptr, 0, FWT("")));
  EXPECT_TRUE(Exists(tree / "to/sub/x"));
}

// ---------------------------------------------------------------------------------------------
// Attributes

TEST(FwFileSetInfoTree, MakesAllFilesAndDirectoriesWritable) {
  TemporaryTree tree;
  for (const char* name : {"d/a", "d/sub/b", ".AppleDouble/d"}) {
    SCOPED_TRACE(name);
    tree.Write(name, "");
    ASSERT_EQ(0, chmod((tree / name).c_str(), 0444));
  }
  tree.Link("d/dangling", "nowhere");
  ASSERT_EQ(0, chmod((tree / "d/sub").c_str(), 0555));
  ASSERT_EQ(0, chmod((tree / "d").c_str(), 0555));
  Error err;
  EXPECT_EQ(1, FwFileSetInfoTree(err, Txt(tree / "d"), FW_TREE_MAKE_WRITABLE));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ(0755u, Permissions(tree / "d"));
  EXPECT_EQ(0755u, Permissions(tree / "d/sub"));
  EXPECT_EQ(0644u, Permissions(tree / "d/a"));
  EXPECT_EQ(0644u, Permissions(tree / "d/sub/b"));
  EXPECT_EQ(0755u, Permissions(tree / ".AppleDouble/d")) << "the side-file has the main's";
}

TEST(FwFileSetInfoTree, WithoutTheFlagChangesNothing) {
  TemporaryTree tree;
  tree.Write("d/a", "");
  ASSERT_EQ(0, chmod((tree / "d/a").c_str(), 0444));
  Error err;
  EXPECT_EQ(1, FwFileSetInfoTree(err, Txt(tree / "d/"), 0));
  EXPECT_EQ(0444u, Permissions(tree / "d/a"));
}

TEST(FwFileSetInfoTree, OfALinkLeavesItsTargetAlone) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  ASSERT_EQ(0, chmod(path.c_str(), 0444));
  Error err;
  EXPECT_EQ(1, FwFileSetInfoTree(err, Txt(tree.Link("l", "a")), FW_TREE_MAKE_WRITABLE));
  EXPECT_EQ(0444u, Permissions(path));
}

TEST(FwFileSetInfoTree, ReportsANameThatDoesNotExist) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(0, FwFileSetInfoTree(err, Txt(tree / "none"), 0));
  EXPECT_EQ("NonExistent File " + (tree / "none"), Describe(err));
}

// ---------------------------------------------------------------------------------------------
// Sizes

struct SizeRow {
  uint32 blocksize;
  uint32 exact;
  uint32 taken;
};

// One file of 1 byte.
const SizeRow kSizes[] = {
    {1000, 1, 1024},
    {1024, 1, 1024},
    {1025, 1, 2048},
    {1, 1, 1},
    {0, 1, 1},
    {2, 1, 2},
    {0x80000000, 1, 0x80000000},
    {0x80000001, 1, 0x80000000},
    {0xffffffff, 1, 0x80000000},
};

TEST(FwFileTreeSize, RoundsTheBlockSizeToAPowerOfTwo) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "x");
  for (const SizeRow& row : kSizes) {
    SCOPED_TRACE(row.blocksize);
    FwFileTreeSizeInfo size;
    Error err;
    EXPECT_EQ(1u, FwFileTreeSize(err, Txt(path), &size, row.blocksize));
    EXPECT_EQ(row.exact, size.exact.low) << row.blocksize;
    EXPECT_EQ(row.taken, size.taken.low) << row.blocksize;
    EXPECT_EQ(1u, size.files);
    EXPECT_EQ(0u, size.dirs);
  }
}

TEST(FwFileTreeSize, CountsAnEmptyFileButNoBytes) {
  TemporaryTree tree;
  FwFileTreeSizeInfo size;
  Error err;
  EXPECT_EQ(1u, FwFileTreeSize(err, Txt(tree.Write("a", "")), &size, 1000));
  EXPECT_EQ(0u, size.exact.low);
  EXPECT_EQ(0u, size.taken.low);
  EXPECT_EQ(1u, size.files);
}

TEST(FwFileTreeSize, WalksATree) {
  TemporaryTree tree;
  tree.Write("d/a", std::string(1500, 'x'));
  tree.Write("d/sub/b", std::string(1024, 'x'));
  tree.Write("d/sub/.AppleDouble/b", "12");
  tree.Link("d/l", "12345");
  FwFileTreeSizeInfo size;
  for (const char* name : {"d", "d/"}) {
    SCOPED_TRACE(name);
    Error err;
    EXPECT_EQ(1u, FwFileTreeSize(err, Txt(tree / name), &size, 1000));
    EXPECT_EQ(1500u + 1024 + 2 + 5, size.exact.low);
    EXPECT_EQ(2048u + 1024 + 1024 + 1024, size.taken.low);
    EXPECT_EQ(4u, size.files);
    EXPECT_EQ(3u, size.dirs);
  }
}

TEST(FwFileTreeSize, CountsASideFileAtTheTop) {
  TemporaryTree tree;
  tree.Write("a", "12345");
  tree.Write(".AppleDouble/a", "123");
  FwFileTreeSizeInfo size;
  Error err;
  EXPECT_EQ(1u, FwFileTreeSize(err, Txt(tree / "a"), &size, 1));
  EXPECT_EQ(8u, size.exact.low);
  EXPECT_EQ(2u, size.files);
}

TEST(FwFileTreeSize, OfANameThatDoesNotExistIsAllZero) {
  TemporaryTree tree;
  FwFileTreeSizeInfo size;
  size.files = 7;
  Error err;
  EXPECT_EQ(1u, FwFileTreeSize(err, Txt(tree / "none"), &size, 1000));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ(0u, size.exact.low);
  EXPECT_EQ(0u, size.taken.low);
  EXPECT_EQ(0u, size.files);
  EXPECT_EQ(0u, size.dirs);
}

TEST(FwFileTreeSize, KeepsOtherFailures) {
  TemporaryTree tree;
  tree.Write("plain", "");
  FwFileTreeSizeInfo size;
  Error err;
  EXPECT_EQ(0u, FwFileTreeSize(err, Txt(tree / "plain/x"), &size, 1));
  EXPECT_EQ("StringValue File " + (tree / "plain/.AppleDouble/x"), Describe(err));
}

TEST(FwFileTreeSize, AddsSizesAcrossTheWordBoundary) {
  TemporaryTree tree;
  for (const char* name : {"d/a", "d/b"}) {
    SCOPED_TRACE(name);
    tree.Write(name, "");
    ASSERT_EQ(0, truncate((tree / name).c_str(), int64_t{3} << 30));
  }
  FwFileTreeSizeInfo size;
  Error err;
  EXPECT_EQ(1u, FwFileTreeSize(err, Txt(tree / "d/"), &size, 4096));
  EXPECT_EQ(1u, size.exact.high);
  EXPECT_EQ(0x80000000u, size.exact.low);
}

}  // namespace
