#include "fpfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "blocks.h"
#include "files.h"
#include "process.h"
#include "recorder.h"

namespace {

// ---------------------------------------------------------------------------------------------
// Types

struct TypeRow {
  const char* name;
  uint32 follow;
  uint32 nofollow;
};

TEST(FpFileGetInfo, TellsTheTypeOfALinkOrOfItsTarget) {
  TemporaryTree tree;
  tree.Write("file", "");
  tree.Directory("dir");
  tree.Link("to-file", "file");
  tree.Link("to-dir", "dir");
  ASSERT_EQ(0, mkfifo((tree / "fifo").c_str(), 0600));
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  (tree / "socket").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
  close(fd);
  const TypeRow rows[] = {
      {"dir", FW_FILE_TYPE_DIRECTORY, FW_FILE_TYPE_DIRECTORY},
      {"file", FW_FILE_TYPE_FILE, FW_FILE_TYPE_FILE},
      {"to-dir", FW_FILE_TYPE_DIRECTORY, FW_FILE_TYPE_LINK},
      {"to-file", FW_FILE_TYPE_FILE, FW_FILE_TYPE_LINK},
      {"fifo", FW_FILE_TYPE_FIFO, FW_FILE_TYPE_FIFO},
      {"socket", FW_FILE_TYPE_SOCKET, FW_FILE_TYPE_SOCKET},
  };
  Error err;
  FwFileInfo info;
  for (const TypeRow& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(1, FwFileGetInfo(err, Txt(tree / row.name), &info, 0));
    EXPECT_EQ(row.follow, info.type) << row.name;
    EXPECT_EQ(1, FwFileGetInfo(err, Txt(tree / row.name), &info, FW_INFO_NOFOLLOW));
    EXPECT_EQ(row.nofollow, info.type) << row.name;
  }
  EXPECT_EQ(1, FwFileGetInfo(err, FWT("/dev/null"), &info, 0));
  EXPECT_EQ(FW_FILE_TYPE_CHARACTER, info.type);
}

TEST(FpFileGetInfo, KnowsBlockDevices) {
  TemporaryTree tree;
  if (mknod((tree / "block").c_str(), S_IFBLK | 0600, 0x700) != 0) GTEST_SKIP() << "not permitted";
  Error err;
  FwFileInfo info;
  EXPECT_EQ(1, FwFileGetInfo(err, Txt(tree / "block"), &info, 0));
  EXPECT_EQ(FW_FILE_TYPE_BLOCK, info.type);
}

// ---------------------------------------------------------------------------------------------
// Handles

TEST(FpFileOpenExtended, AssertsOfALockWithoutCreationOrWriting) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  Error err;
  {
    ExpectAsserts expected(
        {"FW_OPEN_EXCL specified without FW_OPEN_CREAT - behaviour is undefined."});
    const FwFile file = FwFileOpen(err, Txt(path), FW_OPEN_WRONLY | FW_OPEN_EXCL);
    EXPECT_GE(file, 0);
    close(file);
  }
  ExpectAsserts expected(
      {"FW_OPEN_EXCL specified without FW_OPEN_WRONLY or FW_OPEN_RDWR - cannot grant exclusive "
       "read access."});
  const FwFile file = FwFileOpen(err, Txt(path), FW_OPEN_RDONLY | FW_OPEN_CREAT | FW_OPEN_EXCL);
  EXPECT_EQ(-1, file) << "no lock on a handle open for reading";
  EXPECT_EQ("Parameter File " + path, Describe(err));
}

TEST(FpFileOpenExtended, LocksAgainstAnotherProcessAndDoesNotWait) {
  TemporaryTree tree;
  const std::string path = tree / "a";
  constexpr uint32 kFlags = FW_OPEN_RDWR | FW_OPEN_CREAT | FW_OPEN_EXCL;
  Error err;
  const FwFile file = FwFileOpen(err, Txt(path), kFlags);
  ASSERT_GE(file, 0);
  const pid_t child = fork();
  if (child == 0) {
    FwErrorState errChild;
    const FwFile other = FwFileOpen(&errChild, Txt(path), kFlags);
    _exit(other == -1 && errChild.platformError == EAGAIN ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
  FwFileClose(err, file);
}

TEST(FpFileOpenExtended, OfAnExistingFileDoesNotRefuseItAsExclusive) {
  TemporaryTree tree;
  Error err;
  const FwFile file =
      FwFileOpen(err, Txt(tree.Write("a", "text")), FW_OPEN_RDWR | FW_OPEN_CREAT | FW_OPEN_EXCL);
  EXPECT_GE(file, 0);
  FwFileClose(err, file);
  EXPECT_EQ("text", ReadFile(tree / "a"));
}

TEST(FpFileSeek, AssertsOfAnUnknownOrigin) {
  ExpectAsserts expected({"Bad seek argument to FwFileSeek()"});
  Error err;
  Vq32x2 offset;
  EXPECT_EQ(0, FpFileSeek(err, 0, &offset, 3));
}

TEST(FpFileSeek, WantsAnOffsetOf32Bits) {
  TemporaryTree tree;
  const int fd = open(tree.Write("a", "").c_str(), O_RDONLY);
  Error err;
  Vq32x2 offset;
  offset.low = 0x80000000;
  EXPECT_EQ(0, FpFileSeek(err, fd, &offset, FW_SEEK_SET));
  EXPECT_EQ("NumericRange", Describe(err));
  FwErrorClear(err);
  offset.low = 0x7fffffff;
  EXPECT_EQ(1, FpFileSeek(err, fd, &offset, FW_SEEK_SET));
  EXPECT_EQ(0x7fffffffu, offset.low);
  EXPECT_EQ(1, FpFileSeek(err, fd, &offset, FW_SEEK_CUR));
  EXPECT_EQ(0xfffffffeu, offset.low);
  EXPECT_EQ(0, offset.high) << "the position has 64 bits";
  close(fd);
}

TEST(FpFileCopy, LeavesTheCopyToTheLayerAbove) {
  Error err;
  EXPECT_EQ(2, FpFileCopy(err, FWT("/a"), FWT("/b"), 0));
}

TEST(FpFileCopyLink, KeepsTheLongestText) {
  TemporaryTree tree;
  const std::string target(4095, 'x');
  const std::string from = tree.Link("from", target);
  Error err;
  EXPECT_EQ(1, FpFileCopyLink(err, Txt(from), Txt(tree / "to"), nullptr, 0));
  char text[5000] = {};
  EXPECT_EQ(4095, readlink((tree / "to").c_str(), text, sizeof text));
}

TEST(FpDirNext, ReportsADirectoryThatIsClosed) {
  TemporaryTree tree;
  Error err;
  FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), 0);
  ASSERT_NE(nullptr, pDir);
  EXPECT_EQ(1, FpDirClose(err, pDir));
  Record name;
  EXPECT_EQ(0, FwDirNext(err, pDir, name, nullptr, 0));
  EXPECT_EQ("DirClosed File " + tree.path() + "/", Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(0, FwDirClose(err, pDir));
  EXPECT_EQ("DirClosed File " + tree.path() + "/", Describe(err));
}

TEST(FwFileIsExecutable, IsTheOwnersPermission) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  ASSERT_EQ(0, chmod(path.c_str(), 0655));
  EXPECT_EQ(0, FwFileIsExecutable(Txt(path)));
  ASSERT_EQ(0, chmod(path.c_str(), 0744));
  EXPECT_EQ(0x40, FwFileIsExecutable(Txt(path)));
  EXPECT_EQ(0, FwFileIsExecutable(Txt(tree / "none")));
}

TEST(FwFileTouch, DoesNothing) {
  TemporaryTree tree;
  FwFileTouch(Txt(tree / "a"));
  EXPECT_FALSE(Exists(tree / "a"));
}

TEST(FpFilenameLengthOK, IsTrueBelow4095Bytes) {
  EXPECT_NE(0, FpFilenameLengthOK(Txt(std::string(4094, 'x'))));
  EXPECT_EQ(0, FpFilenameLengthOK(Txt(std::string(4095, 'x'))));
}

// ---------------------------------------------------------------------------------------------
// The UTF-8 wrappers

TEST(Utf8Wrappers, DoWhatTheirNamesSay) {
  TemporaryTree tree;
  Txt file(tree / "é");
  Txt link(tree / "ß");
  Txt dir(tree / "ü");
  struct stat status;
  const int fd = open_UTF8(file, O_WRONLY | O_CREAT, 0600);
  EXPECT_GE(fd, 0);
  close(fd);
  EXPECT_EQ(0, chmod_UTF8(file, 0640));
  EXPECT_EQ(0, stat_UTF8(file, &status));
  EXPECT_EQ(0100640u, status.st_mode);
  EXPECT_EQ(0, symlink_UTF8(FWT("é"), link));
  EXPECT_EQ(0, lstat_UTF8(link, &status));
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  char text[10] = {};
  EXPECT_EQ(2, readlink_UTF8(link, text, sizeof text));
  EXPECT_STREQ("é", text);
  EXPECT_EQ(tree / "é", Take(realpath_UTF8(link)));
  EXPECT_EQ(0, unlink_UTF8(link));
  EXPECT_EQ(0, mkdir_UTF8(dir, 0700));
  DIR* handle = opendir_UTF8(dir);
  EXPECT_NE(nullptr, handle);
  if (handle) closedir(handle);
  struct statfs disk;
  EXPECT_EQ(0, statfs_UTF8(dir, &disk));
  EXPECT_EQ(0, rmdir_UTF8(dir));
  EXPECT_EQ(0, rename_UTF8(file, dir));
  EXPECT_TRUE(Exists(tree / "ü"));
}

TEST(Utf8Wrappers, LeaveErrnoAsTheCallSetIt) {
  // Where it could be written, so that the file system's own refusal doesn't come first.
  TemporaryTree tree;
  Txt none(tree / "no-such-file");
  struct stat status;
  errno = 0;
  EXPECT_EQ(-1, stat_UTF8(none, &status));
  EXPECT_EQ(ENOENT, errno);
  PlainLocale plain;
  errno = 0;
  EXPECT_EQ(-1, stat_UTF8(none, &status));
  EXPECT_EQ(ENOENT, errno);
  errno = 0;
  EXPECT_EQ(-1, rename_UTF8(none, none));
  EXPECT_EQ(ENOENT, errno);
}

TEST(Utf8Wrappers, CopyNoNameWhereTextIsLocalText) {
  TemporaryTree tree;
  const std::string path = tree.Write("é", "");
  Txt name(path);
  Error err;
  CountedBlocks blocks;
  EXPECT_EQ(1, FwFileGetInfo(err, name, nullptr, 0));
  const FwFile file = FwFileOpen(err, name, FW_OPEN_RDONLY);
  EXPECT_EQ(1, FwFileClose(err, file));
  EXPECT_EQ(0, blocks.taken());
}

TEST(Utf8Wrappers, ReturnNullForWhatFails) {
  EXPECT_EQ(nullptr, realpath_UTF8(FWT("/no-such-file")));
  unsetenv("FPFILE_TEST");
  EXPECT_EQ(nullptr, getenv_UTF8(FWT("FPFILE_TEST")));
}

TEST(Utf8Wrappers, LookUpAnUnderscoreForWhatTheLocaleCannotSay) {
  TemporaryTree tree;
  tree.Write("_", "");
  PlainLocale plain;
  struct stat status;
  EXPECT_EQ(0, stat_UTF8(Txt(tree / "é"), &status));
}

TEST(FpFileDelete, GivesTheNameToTheSystemUnconverted) {
  TemporaryTree tree;
  tree.Write("_", "found when it is looked at");
  tree.Write("é", "removed");
  {
    PlainLocale plain;
    Error err;
    EXPECT_EQ(1, FwFileDelete(err, Txt(tree / "é"), 0));
  }
  EXPECT_TRUE(Exists(tree / "_"));
  EXPECT_FALSE(Exists(tree / "é"));
}

TEST(FpFileSetInfo, GivesTheNameToTheSystemUnconvertedForTheTimes) {
  TemporaryTree tree;
  tree.Write("_", "");
  tree.Write("é", "");
  {
    PlainLocale plain;
    Error err;
    FwFileInfo info;
    ASSERT_EQ(1, FwFileGetInfo(err, Txt(tree / "é"), &info, 0));
    info.modifiedTime.high = 1000000000;
    EXPECT_EQ(1, FwFileSetInfo(err, Txt(tree / "é"), &info, FW_INFO_MODIFIED_TIME));
  }
  struct stat status;
  ASSERT_EQ(0, stat((tree / "_").c_str(), &status));
  EXPECT_NE(1000000000, status.st_mtime);
  ASSERT_EQ(0, stat((tree / "é").c_str(), &status));
  EXPECT_EQ(1000000000, status.st_mtime);
}

TEST(FpDirNext, AppendsNamesUnconverted) {
  TemporaryTree tree;
  tree.Write("é", "");
  PlainLocale plain;
  Error err;
  FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), 0);
  ASSERT_NE(nullptr, pDir);
  Record name;
  EXPECT_EQ(1, FwDirNext(err, pDir, name, nullptr, 0));
  EXPECT_EQ("é", name.text());
  FwDirClose(err, pDir);
}

TEST(getenv_UTF8, CopiesTheValue) {
  setenv("FPFILE_TEST", "wért", 1);
  EXPECT_EQ("wért", Take(getenv_UTF8(FWT("FPFILE_TEST"))));
  unsetenv("FPFILE_TEST");
}

TEST(setenv_UTF8, ReturnsOneForAVariableThatItMayNotOverwrite) {
  setenv("FPFILE_TEST", "old", 1);
  EXPECT_EQ(1, setenv_UTF8(FWT("FPFILE_TEST"), FWT("new"), 0));
  EXPECT_STREQ("old", getenv("FPFILE_TEST"));
  EXPECT_EQ(0, setenv_UTF8(FWT("FPFILE_TEST"), FWT("new"), 1));
  EXPECT_STREQ("new", getenv("FPFILE_TEST"));
  unsetenv("FPFILE_TEST");
  EXPECT_EQ(0, setenv_UTF8(FWT("FPFILE_TEST"), FWT("again"), 0));
  EXPECT_STREQ("again", getenv("FPFILE_TEST"));
  unsetenv("FPFILE_TEST");
}

TEST(getcwd_UTF8, IsTheCurrentDirectory) {
  char directory[4096];
  ASSERT_NE(nullptr, getcwd(directory, sizeof directory));
  EXPECT_EQ(directory, Take(getcwd_UTF8()));
}

}  // namespace
