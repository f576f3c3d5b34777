#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

#include "blocks.h"
#include "caller.h"
#include "files.h"
#include "process.h"
#include "recorder.h"
#include "syscalls.h"

namespace {

// An open file that closes itself.
class Open {
 public:
  Open(const std::string& path, uint32 flags) : file_(FwFileOpen(err_, Txt(path), flags)) {
    EXPECT_EQ("clear", Describe(err_));
    EXPECT_GE(file_, 0);
  }
  ~Open() {
    if (file_ < 0) return;
    EXPECT_EQ(1, FwFileClose(err_, file_));
  }
  Open(const Open&) = delete;
  Open& operator=(const Open&) = delete;
  operator FwFile() const { return file_; }

 private:
  Error err_;
  FwFile file_;
};

Vq32x2 Offset(int64_t n) {
  Vq32x2 offset;
  offset.low = static_cast<uint32>(n);
  offset.high = static_cast<int32>(n >> 32);
  return offset;
}

int64_t Value(const Vq32x2& n) {
  return static_cast<int64_t>(static_cast<uint64_t>(static_cast<uint32>(n.high)) << 32 | n.low);
}

// ---------------------------------------------------------------------------------------------
// What every operation checks first

// Each operation with its flags, or with none of its own.
struct Operation {
  const char* name;
  std::function<int64_t(FwErrorState*, uint32)> run;
  int64_t failure;
  uint32 unknown;  // the lowest flag that it doesn't know; 0: it has none
};

char kSomeFile[] = "/no-such/file";

const std::vector<Operation>& Operations() {
  static FwFileInfo info = {};
  static FwFileDiskFreeInfo diskfree;
  static FwFileTreeSizeInfo size;
  static char buffer[4];
  static Vq32x2 offset;
  static Record& record = *new Record;  // outlives the framework
  static FwTextString file = FWT(kSomeFile);
  static FwTextString dir = FWT("/no-such/dir/");
  static FwFileOpenExtras extras;
  static const std::vector<Operation> kOperations = {
      {"FwFileOpen", [](auto* e, uint32 f) { return FwFileOpen(e, file, 1 | f); }, -1, 0x100},
      {"FwFileOpenExtended",
       [](auto* e, uint32 f) { return FwFileOpenExtended(e, file, 1 | f, &extras); }, -1, 0x100},
      {"FwFileRead", [](auto* e, uint32) { return FwFileRead(e, 999, buffer, 1); }, 0, 0},
      {"FwFileWrite", [](auto* e, uint32) { return FwFileWrite(e, 999, buffer, 1); }, 0, 0},
      {"FwFileReadRecord", [](auto* e, uint32) { return FwFileReadRecord(e, 999, record); }, 0, 0},
      {"FwFileReadLineRecord", [](auto* e, uint32) { return FwFileReadLineRecord(e, 999, record); },
       0, 0},
      {"FwFileSeek", [](auto* e, uint32) { return FwFileSeek(e, 999, &offset, 0); }, 0, 0},
      {"FwFileExtent", [](auto* e, uint32) { return FwFileExtent(e, 999, &offset); }, 0, 0},
      {"FwFileClose", [](auto* e, uint32) { return FwFileClose(e, 999); }, 0, 0},
      {"FwFileCopy", [](auto* e, uint32 f) { return FwFileCopy(e, file, file, f); }, 0, 1},
      {"FwFileCopyLink", [](auto* e, uint32) { return FwFileCopyLink(e, file, file, &info, 0); }, 0,
       0},
      {"FwFileRename", [](auto* e, uint32 f) { return FwFileRename(e, file, file, f); }, 0, 1},
      {"FwFileDelete", [](auto* e, uint32 f) { return FwFileDelete(e, file, f); }, 0, 4},
      {"FwFileGetInfo", [](auto* e, uint32 f) { return FwFileGetInfo(e, file, &info, f); }, 0, 2},
      {"FwFileSetInfo", [](auto* e, uint32 f) { return FwFileSetInfo(e, file, &info, f); }, 0, 4},
      {"FwFilenamesReferToSameFile",
       [](auto* e, uint32) { return FwFilenamesReferToSameFile(e, file, file); }, 0, 0},
      {"FwFilenamesReferToSameDisk",
       [](auto* e, uint32) { return FwFilenamesReferToSameDisk(e, file, file); }, 0, 0},
      {"FwDirOpen", [](auto* e, uint32 f) { return FwDirOpen(e, dir, f) != nullptr; }, 0, 2},
      {"FwDirDelete", [](auto* e, uint32 f) { return FwDirDelete(e, dir, f); }, 0, 4},
      {"FwFileCopyTree",
       [](auto* e, uint32 f) { return FwFileCopyTree(e, file, file, nullptr, f); }, 0, 1},
      {"FwFileCopyTreeEx",
       [](auto* e, uint32 f) { return FwFileCopyTreeEx(e, file, file, nullptr, f, nullptr); }, 0,
       1},
      {"FwFileSetInfoTree", [](auto* e, uint32 f) { return FwFileSetInfoTree(e, file, f); }, 0, 2},
      {"FwFileTreeSize", [](auto* e, uint32) { return FwFileTreeSize(e, file, &size, 1); }, 0, 0},
      {"FwFileDiskFree", [](auto* e, uint32) { return FwFileDiskFree(e, file, &diskfree); }, 0, 0},
  };
  return kOperations;
}

TEST(FwFile, EveryOperationReturnsItsFailureValueAtOnceForANullState) {
  for (const Operation& operation : Operations()) {
    if (operation.name == std::string("FwFileCopyLink")) continue;
    SCOPED_TRACE(operation.name);
    ExpectAsserts expected({"NULL"});
    EXPECT_EQ(operation.failure, operation.run(nullptr, 0));
  }
}

TEST(FwFile, EveryOperationRefusesFlagsThatItDoesNotKnow) {
  for (const Operation& operation : Operations()) {
    if (!operation.unknown) continue;
    SCOPED_TRACE(operation.name);
    ExpectAsserts expected({"bad arg", "bad arg"});
    Error err;
    EXPECT_EQ(operation.failure, operation.run(err, operation.unknown));
    EXPECT_EQ("Unimplemented", Describe(err));
    FwErrorClear(err);
    EXPECT_EQ(operation.failure, operation.run(err, 0x40000000));
    EXPECT_EQ("Unimplemented", Describe(err));
  }
}

TEST(FwFile, HandlesBelowZeroAreOutOfRange) {
  char buffer[4];
  Vq32x2 offset;
  Record record;
  const std::vector<std::function<uint32(FwErrorState*)>> operations = {
      [&](FwErrorState* err) { return FwFileRead(err, -1, buffer, 1); },
      [&](FwErrorState* err) { return FwFileWrite(err, -5, buffer, 1); },
      [&](FwErrorState* err) { return FwFileReadRecord(err, -1, record); },
      [&](FwErrorState* err) { return FwFileReadLineRecord(err, -1, record); },
      [&](FwErrorState* err) { return static_cast<uint32>(FwFileExtent(err, -1, &offset)); },
      [&](FwErrorState* err) { return static_cast<uint32>(FwFileSeek(err, -1, &offset, 0)); },
      [&](FwErrorState* err) { return static_cast<uint32>(FwFileClose(err, -1)); },
  };
  for (const auto& operation : operations) {
    SCOPED_TRACE(&operation - operations.data());
    Error err;
    EXPECT_EQ(0u, operation(err));
    EXPECT_EQ("NumericRange", Describe(err));
  }
}

TEST(FwFile, NullBuffersAndRecordsAreRefused) {
  const std::vector<std::function<int64_t(FwErrorState*)>> operations = {
      [](FwErrorState* err) { return int64_t{FwFileRead(err, 0, nullptr, 1)}; },
      [](FwErrorState* err) { return int64_t{FwFileWrite(err, 0, nullptr, 1)}; },
      [](FwErrorState* err) { return int64_t{FwFileReadRecord(err, 0, nullptr)}; },
      [](FwErrorState* err) { return int64_t{FwFileReadLineRecord(err, 0, nullptr)}; },
      [](FwErrorState* err) { return int64_t{FwFileSeek(err, 0, nullptr, 0)}; },
      [](FwErrorState* err) { return int64_t{FwFileExtent(err, 0, nullptr)}; },
      [](FwErrorState* err) { return int64_t{FwFileSetInfo(err, FWT("/"), nullptr, 0)}; },
      [](FwErrorState* err) { return int64_t{FwFileDiskFree(err, FWT("/"), nullptr)}; },
      [](FwErrorState* err) { return int64_t{FwFileTreeSize(err, FWT("/"), nullptr, 1)}; },
      [](FwErrorState* err) { return int64_t{FwDirNext(err, nullptr, nullptr, nullptr, 0)}; },
      [](FwErrorState* err) { return int64_t{FwDirClose(err, nullptr)}; },
      [](FwErrorState* err) {
        FwFileWriteString(err, 0, nullptr);
        return int64_t{0};
      },
  };
  for (const auto& operation : operations) {
    SCOPED_TRACE(&operation - operations.data());
    Error err;
    EXPECT_EQ(0, operation(err));
    EXPECT_EQ("PointerNull", Describe(err));
  }
}

// ---------------------------------------------------------------------------------------------
// Open and close

TEST(FwFileOpen, GivesTheDescriptorItself) {
  TemporaryTree tree;
  Open file(tree.Write("a", "text"), FW_OPEN_RDONLY);
  struct stat of_handle, of_name;
  ASSERT_EQ(0, fstat(file, &of_handle));
  ASSERT_EQ(0, stat((tree / "a").c_str(), &of_name));
  EXPECT_EQ(of_name.st_ino, of_handle.st_ino);
}

TEST(FwFileOpen, WithoutAnAccessBitIsInvalidButNotAnError) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(-1, FwFileOpen(err, Txt(tree.Write("a", "")), 0));
  EXPECT_EQ(-1, FwFileOpen(err, Txt(tree / "new"), FW_OPEN_CREAT));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_FALSE(Exists(tree / "new"));
}

TEST(FwFileOpen, RefusesANameWithATrailingSeparator) {
  TemporaryTree tree;
  ExpectAsserts expected({"trailing directory separator when file name expected"});
  Error err;
  EXPECT_EQ(-1, FwFileOpen(err, Txt(tree.path() + "/"), FW_OPEN_RDONLY));
  EXPECT_EQ("StringValue File " + tree.path() + "/", Describe(err));
}

TEST(FwFileOpen, RefusesTheRoot) {
  ExpectAsserts expected({"root directory when file name expected"});
  Error err;
  EXPECT_EQ(-1, FwFileOpen(err, FWT("/"), FW_OPEN_RDONLY));
  EXPECT_EQ("StringValue File /", Describe(err));
}

TEST(FwFileOpen, RefusesAnotherForkThanTheFirst) {
  ExpectAsserts expected({"bad arg"});
  Error err;
  FwFileOpenExtras extras = fcFileOpenExtrasDefault;
  extras.nFork = 1;
  EXPECT_EQ(-1, FwFileOpenExtended(err, FWT("/dev/null"), FW_OPEN_RDONLY, &extras));
  EXPECT_EQ("NumericRange", Describe(err));
}

TEST(FwFileOpen, ReportsTheAbsoluteNameOfARelativeOne) {
  CurrentDirectory current("/no-such/");
  Error err;
  EXPECT_EQ(-1, FwFileOpen(err, FWT("a"), FW_OPEN_RDONLY));
  EXPECT_EQ("NonExistent File /no-such/a", Describe(err));
  EXPECT_EQ(ENOENT, err.platformError);
}

TEST(FwFileOpen, TakesARelativeNameFromTheDirectoryAtBoot) {
  TemporaryTree tree;
  tree.Write("a", "text");
  CurrentDirectory current((tree.path() + "/").c_str());
  Open file("a", FW_OPEN_RDONLY);
}

struct FlagsRow {
  uint32 flags;
  int system;  // as F_GETFL tells it
};

TEST(FwFileOpen, TranslatesTheFlagsAndTakesTheLowestAccessBit) {
  TemporaryTree tree;
  const std::string path = tree.Write("a", "");
  const FlagsRow rows[] = {
      {FW_OPEN_RDONLY, O_RDONLY},
      {FW_OPEN_WRONLY, O_WRONLY},
      {FW_OPEN_RDWR, O_RDWR},
      {FW_OPEN_RDONLY | FW_OPEN_WRONLY, O_RDONLY},
      {FW_OPEN_WRONLY | FW_OPEN_RDWR, O_WRONLY},
      {FW_OPEN_RDONLY | FW_OPEN_COPYSOURCE, O_RDONLY},
      {FW_OPEN_RDWR | FW_OPEN_APPEND, O_RDWR | O_APPEND},
  };
  for (const FlagsRow& row : rows) {
    Open file(path, row.flags);
    EXPECT_EQ(row.system, fcntl(file, F_GETFL) & (O_ACCMODE | O_APPEND)) << row.flags;
  }
}

TEST(FwFileOpen, CreatesWithTheUmaskAndTruncates) {
  TemporaryTree tree;
  const mode_t mask = umask(027);
  { Open file(tree / "new", FW_OPEN_WRONLY | FW_OPEN_CREAT); }
  umask(mask);
  EXPECT_EQ(0640u, Permissions(tree / "new"));
  tree.Write("full", "text");
  { Open file(tree / "full", FW_OPEN_WRONLY | FW_OPEN_TRUNC); }
  EXPECT_EQ("", ReadFile(tree / "full"));
}

TEST(FwFileClose, ReportsAHandleThatIsNotOpen) {
  Error err;
  EXPECT_EQ(0, FwFileClose(err, 999));
  EXPECT_EQ("Parameter File", Describe(err));
  EXPECT_EQ(EBADF, err.platformError);
}

TEST(FwFileFromPlatformFileHandle, ReturnsItsArgument) {
  EXPECT_EQ(7, FwFileFromPlatformFileHandle(7));
  EXPECT_EQ(-1, FwFileFromPlatformFileHandle(-1));
}

// ---------------------------------------------------------------------------------------------
// Transfer

TEST(FwFileRead, OfNoBytesCallsNobody) {
  char byte;
  Error err;
  EXPECT_EQ(0u, FwFileRead(err, 999, &byte, 0));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFileRead, TakesAllInOneCallWithoutATickleFunction) {
  TemporaryTree tree;
  Open file(tree.Write("a", std::string(300000, 'x')), FW_OPEN_RDONLY);
  std::string buffer(300000, 0);
  Error err;
  CountTransfers count;
  EXPECT_EQ(300000u, FwFileRead(err, file, buffer.data(), 300000));
  EXPECT_EQ(1, count.reads());
  EXPECT_EQ(std::string(300000, 'x'), buffer);
}

TEST(FwFileRead, EndsAtAShortCountWithoutAnError) {
  TemporaryTree tree;
  Open file(tree.Write("a", "abc"), FW_OPEN_RDONLY);
  char buffer[10];
  Error err;
  CountTransfers count;
  EXPECT_EQ(3u, FwFileRead(err, file, buffer, 10));
  EXPECT_EQ(1, count.reads());
  EXPECT_EQ(0u, FwFileRead(err, file, buffer, 10));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFileRead, GoesInChunksOf128KilobytesWithATickleFunction) {
  TemporaryTree tree;
  Open file(tree.Write("a", std::string(300000, 'x')), FW_OPEN_RDONLY);
  std::string buffer(300000, 0);
  Error err;
  Tickle tickle;
  CountTransfers count;
  EXPECT_EQ(300000u, FwFileRead(err, file, buffer.data(), 300000));
  EXPECT_EQ(3, count.reads());
  EXPECT_EQ(3, tickle.count());
}

TEST(FwFileRead, CanBeAbortedBetweenChunks) {
  TemporaryTree tree;
  Open file(tree.Write("a", std::string(300000, 'x')), FW_OPEN_RDONLY);
  std::string buffer(300000, 0);
  Error err;
  Tickle tickle(2);
  EXPECT_EQ(0x20000u, FwFileRead(err, file, buffer.data(), 300000));
  EXPECT_EQ("Abort", Describe(err));
}

TEST(FwFileRead, DoesNothingWhileTheStateHoldsAnError) {
  TemporaryTree tree;
  Open file(tree.Write("a", "abc"), FW_OPEN_RDONLY);
  char buffer[3];
  Error err;
  FwErrorSet(err, fwErrorNonExistent, 2, FWT("File"), FWT("x"));
  EXPECT_EQ(0u, FwFileRead(err, file, buffer, 3));
  EXPECT_EQ("NonExistent File x", Describe(err));
}

TEST(FwFileRead, OfADirectoryIsDenied) {
  TemporaryTree tree;
  Open file(tree.path(), FW_OPEN_RDONLY);
  char buffer[3];
  Error err;
  EXPECT_EQ(0u, FwFileRead(err, file, buffer, 3));
  EXPECT_EQ("OperationDenied File", Describe(err));
  EXPECT_EQ(EISDIR, err.platformError);
}

TEST(FwFileWrite, WritesAndReportsAHandleOpenForReading) {
  TemporaryTree tree;
  {
    Open file(tree / "a", FW_OPEN_WRONLY | FW_OPEN_CREAT);
    Error err;
    char text[] = "abcdef";
    EXPECT_EQ(3u, FwFileWrite(err, file, text, 3));
    FwFileWriteString(err, file, FWT("-end"));
    EXPECT_EQ("clear", Describe(err));
  }
  EXPECT_EQ("abc-end", ReadFile(tree / "a"));
  Open file(tree / "a", FW_OPEN_RDONLY);
  Error err;
  char byte = 'x';
  EXPECT_EQ(0u, FwFileWrite(err, file, &byte, 1));
  EXPECT_EQ("Parameter File", Describe(err));
}

TEST(FwFileWrite, GoesInChunksWithATickleFunction) {
  TemporaryTree tree;
  Open file(tree / "a", FW_OPEN_WRONLY | FW_OPEN_CREAT);
  std::string buffer(0x20001, 'y');
  Error err;
  Tickle tickle;
  CountTransfers count;
  EXPECT_EQ(0x20001u, FwFileWrite(err, file, buffer.data(), 0x20001));
  EXPECT_EQ(2, count.writes());
}

TEST(FwFileWrite, AppendsWhereverTheHandleStands) {
  TemporaryTree tree;
  {
    Open file(tree.Write("a", "abc"), FW_OPEN_WRONLY | FW_OPEN_APPEND);
    Error err;
    FwFileWriteString(err, file, FWT("d"));
  }
  EXPECT_EQ("abcd", ReadFile(tree / "a"));
}

TEST(FwFileReadRecord, AppendsTheWholeFileToAGrowingRecord) {
  TemporaryTree tree;
  const std::string content(10000, 'x');
  Open file(tree.Write("a", content), FW_OPEN_RDONLY);
  Record record("before ");
  Error err;
  EXPECT_EQ(10000u, FwFileReadRecord(err, file, record));
  EXPECT_EQ("before " + content, record.text());
  EXPECT_EQ(0u, FwFileReadRecord(err, file, record));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFileReadRecord, KeepsTheBytesBehindAZero) {
  TemporaryTree tree;
  Open file(tree.Write("a", std::string("a\0b", 3)), FW_OPEN_RDONLY);
  Record record;
  Error err;
  EXPECT_EQ(3u, FwFileReadRecord(err, file, record));
  EXPECT_EQ(std::string("a\0b\0", 4), std::string(FWC(record.pbz), 4));
}

TEST(FwFileReadRecord, FillsAFixedRecordByASingleRead) {
  TemporaryTree tree;
  Open file(tree.Write("a", "abcdef"), FW_OPEN_RDONLY);
  FwByte buffer[6] = "x";
  FwStrRecord record;
  FwStrRecordOpenOn(&record, buffer, sizeof buffer);
  Error err;
  CountTransfers count;
  EXPECT_EQ(4u, FwFileReadRecord(err, file, &record));
  EXPECT_EQ("xabcd", Text(buffer));
  EXPECT_EQ(1, count.reads());
  EXPECT_EQ(0u, FwFileReadRecord(err, file, &record));
  EXPECT_EQ(1, count.reads());
}

std::vector<std::string> Lines(const std::string& content, size_t n,
                               Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  TemporaryTree tree;
  Open file(tree.Write("a", content), FW_OPEN_RDONLY);
  std::vector<std::string> lines;
  Error err;
  for (size_t i = 0; i < n; ++i) {
    SCOPED_TRACE(i);
    Record record;
    const uint32 cb = FwFileReadLineRecord(err, file, record);
    EXPECT_EQ(record.text().size(), cb);
    lines.push_back(record.text());
  }
  EXPECT_EQ("clear", Describe(err));
  return lines;
}

TEST(FwFileReadLineRecord, GivesNothingForAnEmptyLineAndForTheEnd) {
  EXPECT_EQ((std::vector<std::string>{"a", "", "b", "", ""}), Lines("a\n\nb", 5));
}

TEST(FwFileReadLineRecord, EndsALineAtAZeroByteAndKeepsCarriageReturns) {
  EXPECT_EQ((std::vector<std::string>{"a\r", "b", "c"}), Lines(std::string("a\r\nb\0c\n", 7), 3));
}

TEST(FwFileReadLineRecord, GrowsTheRecordForALongLine) {
  const std::string line(5000, 'x');
  EXPECT_EQ((std::vector<std::string>{line, "y"}), Lines(line + "\ny", 2));
}

TEST(FwFileReadLineRecord, StopsWhenAFixedRecordIsFullAndConsumesNoMore) {
  TemporaryTree tree;
  Open file(tree.Write("a", "abcdef\n"), FW_OPEN_RDONLY);
  FwByte buffer[4] = "";
  FwStrRecord record;
  FwStrRecordOpenOn(&record, buffer, sizeof buffer);
  Error err;
  EXPECT_EQ(3u, FwFileReadLineRecord(err, file, &record));
  EXPECT_EQ("abc", Text(buffer));
  Record rest;
  EXPECT_EQ(3u, FwFileReadLineRecord(err, file, rest));
  EXPECT_EQ("def", rest.text());
}

TEST(FwFileReadLineRecord, ReadsOneByteACall) {
  TemporaryTree tree;
  Open file(tree.Write("a", "abc\ndef"), FW_OPEN_RDONLY);
  Record record;
  Error err;
  CountTransfers count;
  FwFileReadLineRecord(err, file, record);
  EXPECT_EQ(4, count.reads());
}

// ---------------------------------------------------------------------------------------------
// Positions

struct SeekRow {
  int64_t offset;
  uint32 from;
  int32 result;
  int64_t position;  // what comes back
  int64_t length;    // of the file afterwards
  const char* error;
};

// Each on a file of 8 bytes that stands at 3.
const SeekRow kSeeks[] = {
    {0, FW_SEEK_SET, 1, 0, 8, "clear"},
    {0, FW_SEEK_CUR, 1, 3, 8, "clear"},
    {0, FW_SEEK_END, 1, 8, 8, "clear"},
    {5, FW_SEEK_SET, 1, 5, 8, "clear"},
    {8, FW_SEEK_SET, 1, 8, 8, "clear"},
    {9, FW_SEEK_SET, 1, 9, 9, "clear"},
    {5, FW_SEEK_CUR, 1, 8, 8, "clear"},
    {6, FW_SEEK_CUR, 1, 9, 9, "clear"},
    {1, FW_SEEK_END, 1, 9, 9, "clear"},
    {-2, FW_SEEK_CUR, 1, 1, 8, "clear"},
    {-2, FW_SEEK_END, 1, 6, 8, "clear"},
    {-1, FW_SEEK_SET, 0, 3, 8, "NumericRange"},
    {-4, FW_SEEK_CUR, 0, 3, 8, "Parameter File"},
    {-9, FW_SEEK_END, 0, 3, 8, "Parameter File"},
    {0, 3, 0, 3, 8, "NumericRange"},
    {5, 0xffffffff, 0, 3, 8, "NumericRange"},
    {-0x80000001LL, FW_SEEK_CUR, 0, 3, 8, "NumericRange"},
};

TEST(FwFileSeek, MovesExtendsOrComesBackWithTheRealPosition) {
  TemporaryTree tree;
  for (const SeekRow& row : kSeeks) {
    SCOPED_TRACE(std::to_string(row.offset) + " from " + std::to_string(row.from));
    Open file(tree.Write("a", "12345678"), FW_OPEN_RDWR);
    ASSERT_EQ(3, lseek(file, 3, SEEK_SET));
    Vq32x2 offset = Offset(row.offset);
    Error err;
    EXPECT_EQ(row.result, FwFileSeek(err, file, &offset, row.from));
    EXPECT_EQ(row.position, Value(offset));
    EXPECT_EQ(row.position, lseek(file, 0, SEEK_CUR));
    EXPECT_EQ(row.error, Describe(err));
    EXPECT_EQ(static_cast<size_t>(row.length), ReadFile(tree / "a").size());
  }
}

TEST(FwFileSeek, ToBeforeTheStartIsOutOfRangeAndGivesTheRealPosition) {
  TemporaryTree tree;
  Open file(tree.Write("a", "12345678"), FW_OPEN_RDWR);
  ASSERT_EQ(3, lseek(file, 3, SEEK_SET));
  Vq32x2 offset = Offset(-1);
  Error err;
  EXPECT_EQ(0, FwFileSeek(err, file, &offset, FW_SEEK_SET));
  EXPECT_EQ("NumericRange", Describe(err));
  EXPECT_EQ(3, Value(offset));
}

TEST(FwFileSeek, ToTenOfAnEmptyFileLeavesItTenBytesLong) {
  TemporaryTree tree;
  Open file(tree.Write("a", ""), FW_OPEN_RDWR);
  Vq32x2 offset = Offset(10);
  Error err;
  EXPECT_EQ(1, FwFileSeek(err, file, &offset, FW_SEEK_SET));
  EXPECT_EQ(10, Value(offset));
  EXPECT_EQ(10u, ReadFile(tree / "a").size());
}

TEST(FwFileSeek, ExtendsByZeros) {
  TemporaryTree tree;
  for (const size_t excess : {4096u, 4097u, 300000u}) {
    SCOPED_TRACE(excess);
    Open file(tree.Write("a", "abc"), FW_OPEN_RDWR);
    Vq32x2 offset = Offset(static_cast<int64_t>(3 + excess));
    Error err;
    CountTransfers count;
    EXPECT_EQ(1, FwFileSeek(err, file, &offset, FW_SEEK_SET));
    EXPECT_EQ(static_cast<int>((excess + 0x1ffff) / 0x20000), count.writes());
    EXPECT_EQ(static_cast<int64_t>(3 + excess), Value(offset));
    EXPECT_EQ("abc" + std::string(excess, 0), ReadFile(tree / "a"));
  }
}

TEST(FwFileSeek, CannotExtendAFileOpenForReading) {
  TemporaryTree tree;
  Open file(tree.Write("a", "abc"), FW_OPEN_RDONLY);
  Vq32x2 offset = Offset(9);
  Error err;
  EXPECT_EQ(0, FwFileSeek(err, file, &offset, FW_SEEK_SET));
  EXPECT_EQ("Parameter File", Describe(err));
  EXPECT_EQ(3, Value(offset));
}

TEST(FwFileSeek, GivesMinusOneWhereThePositionCannotBeFound) {
  Error err;
  Vq32x2 offset = Offset(0);
  EXPECT_EQ(0, FwFileSeek(err, -1, &offset, FW_SEEK_SET));
  EXPECT_EQ(-1, Value(offset));
  EXPECT_EQ("NumericRange", Describe(err));
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  FwErrorClear(err);
  offset = Offset(0);
  ExpectTraces traces({"Need to add mapping for platform error 29"});
  ExpectAsserts asserts({"Unable to classify platform error"});
  EXPECT_EQ(0, FwFileSeek(err, ends[0], &offset, FW_SEEK_CUR));
  EXPECT_EQ(-1, Value(offset));
  EXPECT_EQ(ESPIPE, err.platformError);
  close(ends[0]);
  close(ends[1]);
}

TEST(FwFileSeek, AbortsAnExtensionBetweenChunks) {
  TemporaryTree tree;
  Open file(tree.Write("a", "abc"), FW_OPEN_RDWR);
  Vq32x2 offset = Offset(300003);
  Error err;
  Tickle tickle(3);
  EXPECT_EQ(0, FwFileSeek(err, file, &offset, FW_SEEK_SET));
  EXPECT_EQ("Abort", Describe(err));
  EXPECT_EQ(3 + 2 * 0x20000, Value(offset));
}

TEST(FwFileSeek, ForwardInWhatHasNoExtentIsDenied) {
  Open file("/dev/null", FW_OPEN_RDWR);
  Vq32x2 offset = Offset(5);
  Error err;
  EXPECT_EQ(0, FwFileSeek(err, file, &offset, FW_SEEK_SET));
  EXPECT_EQ("OperationDenied File", Describe(err));
  EXPECT_EQ(0, Value(offset));
}

TEST(FwFileExtent, IsTheLengthOfARegularFile) {
  TemporaryTree tree;
  Open file(tree.Write("a", "12345"), FW_OPEN_RDONLY);
  Vq32x2 extent = Offset(-1);
  Error err;
  EXPECT_EQ(1, FwFileExtent(err, file, &extent));
  EXPECT_EQ(5, Value(extent));
}

TEST(FwFileExtent, OfAnythingElseIsDenied) {
  Open file("/dev/null", FW_OPEN_RDONLY);
  Vq32x2 extent;
  Error err;
  EXPECT_EQ(0, FwFileExtent(err, file, &extent));
  EXPECT_EQ("OperationDenied File", Describe(err));
  EXPECT_EQ(0xffffffffu, extent.low);
  EXPECT_EQ(0, extent.high);
}

// ---------------------------------------------------------------------------------------------
// Short memory

TEST(FwFileSeek, ExtendsInSmallerPiecesWhenMemoryIsShort) {
  TemporaryTree tree;
  Open file(tree.Write("a", "abc"), FW_OPEN_RDWR);
  Vq32x2 offset = Offset(10003);
  Error err;
  CountedBlocks blocks;
  CountTransfers count;
  blocks.FailAt(0);
  EXPECT_EQ(1, FwFileSeek(err, file, &offset, FW_SEEK_SET));
  EXPECT_EQ(3, count.writes());
  EXPECT_EQ(0, blocks.live());
  EXPECT_EQ("abc" + std::string(10000, 0), ReadFile(tree / "a"));
}

}  // namespace
