#include "fwstream.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "failing_allocation.h"
#include "fwerror.h"
#include "fwmem.h"
#include "fwstring.h"
#include "process.h"
#include "recorder.h"

namespace {

// A stream on a string of the test's, which notes what is asked of it.
struct MemoryStream : FwStreamIO {
  std::string* pContent = nullptr;
  std::vector<std::string>* pCalls = nullptr;
  int32 position = 0;
  int32 fFail = 0;  // the next call fails
};

bool Fails(MemoryStream* pStream, FwErrorState* pErrState) {
  if (pStream->fFail == 0) return false;
  FwErrorSet(pErrState, fwErrorHardware, 0);
  return true;
}

int32 MemoryRead(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
  auto* pStream = static_cast<MemoryStream*>(pObj);
  pStream->pCalls->push_back("read " + std::to_string(size));
  if (Fails(pStream, pErrState)) return -1;
  const std::string part =
      pStream->pContent->substr(static_cast<std::size_t>(pStream->position), size);
  std::memcpy(buffer, part.data(), part.size());
  pStream->position += static_cast<int32>(part.size());
  return static_cast<int32>(part.size());
}

int32 MemoryWrite(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
  auto* pStream = static_cast<MemoryStream*>(pObj);
  const std::string bytes(static_cast<char*>(buffer), size);
  pStream->pCalls->push_back("write " + bytes);
  if (Fails(pStream, pErrState)) return -1;
  pStream->pContent->append(bytes);
  return static_cast<int32>(size);
}

int32 MemorySeek(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset, uint32 From) {
  auto* pStream = static_cast<MemoryStream*>(pObj);
  pStream->pCalls->push_back("seek " + std::to_string(static_cast<int32>(pOffset->low)) + " from " +
                             std::to_string(From));
  if (Fails(pStream, pErrState) || pOffset->high < 0) {
    if (pErrState->pError == nullptr) FwErrorSet(pErrState, fwErrorNumericRange, 0);
    return 0;
  }
  pStream->position = static_cast<int32>(pOffset->low);
  return 1;
}

int32 MemoryExtent(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset) {
  auto* pStream = static_cast<MemoryStream*>(pObj);
  pStream->pCalls->emplace_back("extent");
  if (Fails(pStream, pErrState)) return 0;
  *pOffset = {static_cast<uint32>(pStream->pContent->size()), 0};
  return 7;  // any result but 0 is success
}

const FwIntercept MemoryMethods[] = {{_Fw_msg_StreamRead_Handle, FwMethodOf(MemoryRead)},
                                     {_Fw_msg_StreamWrite_Handle, FwMethodOf(MemoryWrite)},
                                     {_Fw_msg_StreamSeek_Handle, FwMethodOf(MemorySeek)},
                                     {_Fw_msg_StreamExtent_Handle, FwMethodOf(MemoryExtent)},
                                     {nullptr, nullptr}};
const FwClassRecord MemoryStreamClass = {FW_CLASS_COOKIE,  "MemoryStream", sizeof(MemoryStream),
                                         &FwStreamIOClass, MemoryMethods,  0};

using Calls = std::vector<std::string>;

// A buffered stream on a string.
class Stream {
 public:
  Stream(std::string text, int32 nBufferSize, uint32 openFlags = FW_OPEN_RDONLY)
      : content(std::move(text)) {
    below = static_cast<MemoryStream*>(FwClassAlloc(&MemoryStreamClass, ALLOC_MUST_SUCCEED));
    FwClassFindMethodAs<Fw_msg_CreateStreamIO_Fn>(
        _Fw_msg_CreateStreamIO_Handle, &MemoryStreamClass)(below, &MemoryStreamClass, &err,
                                                           openFlags);
    below->pContent = &this->content;
    below->pCalls = &calls;
    top = static_cast<FwStreamBuffered*>(
        Fw_msg_CreateStreamBuffered(&err, openFlags, nBufferSize, below));
  }
  ~Stream() {
    if (top != nullptr) Fw_msg_StreamDestroy(top, &err, 1);
    FwErrorClear(&err);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  // The next line, then its count.
  std::string Line() {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    const int32 n = Fw_msg_ReadLine(top, &err, &record);
    std::string line = FWC(record.pbz);
    FwStrRecordAbandon(&record);
    return line + "|" + std::to_string(n);
  }

  int32 Write(const std::string& text) {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    FwStrPutTextString(&record, FWT(text.c_str()));
    const int32 n = Fw_msg_Write(top, &err, &record);
    FwStrRecordAbandon(&record);
    return n;
  }

  int32 Seek(int64 offset, uint32 From, int64* pResult = nullptr) {
    Vq32x2 position{static_cast<uint32>(offset), static_cast<int32>(offset >> 32)};
    const int32 fDone = Fw_msg_StreamSeek(top, &err, &position, From);
    if (pResult != nullptr) *pResult = int64{position.high} * 0x100000000 + position.low;
    return fDone;
  }

  int64 Position() {
    Vq32x2 position;
    Fw_msg_GetBufferRealPosition(top, &position);
    return int64{position.high} * 0x100000000 + position.low;
  }

  std::string content;
  Calls calls;
  FwErrorState err;
  MemoryStream* below = nullptr;
  FwStreamBuffered* top = nullptr;
};

std::string Detail(const FwErrorState& err) {
  return err.items[0].type == nullptr ? "-" : FWC(err.items[0].type);
}

}  // namespace

// --- Reading ---------------------------------------------------------------------------------

TEST(FwStream, EachLineEndReadsAsANewline) {
  for (int32 nBufferSize : {1, 2, 3, 4, 5, 100}) {
    SCOPED_TRACE(nBufferSize);
    Stream stream("a\r\nb\rc\n", nBufferSize);
    EXPECT_EQ("a\n|2", stream.Line()) << nBufferSize;
    EXPECT_EQ("b\n|2", stream.Line()) << nBufferSize;
    EXPECT_EQ("c\n|2", stream.Line()) << nBufferSize;
    EXPECT_EQ("|0", stream.Line()) << nBufferSize;
    EXPECT_EQ(1, Fw_msg_IsStreamAtEOF(stream.top));
    EXPECT_EQ(0, Fw_msg_IsStreamError(stream.top));
  }
}

TEST(FwStream, ABufferOfOneByteIsReadByteByByte) {
  Stream stream("ab\rc", 1);
  EXPECT_EQ("ab\n|3", stream.Line());
  // Three bytes, and the one behind the carriage return, which went back.
  EXPECT_EQ((Calls{"read 1", "read 1", "read 1", "read 1"}), stream.calls);
  EXPECT_EQ(3, stream.Position());
  EXPECT_EQ("c|1", stream.Line());
}

TEST(FwStream, TheLastLineMayLackItsEnd) {
  Stream stream("x", 8);
  EXPECT_EQ("x|1", stream.Line());
  EXPECT_EQ(1, Fw_msg_IsStreamAtEOF(stream.top));
  EXPECT_EQ("|0", stream.Line());
  EXPECT_EQ((Calls{"read 8", "read 8"}), stream.calls);  // at the end nothing is asked any more
}

TEST(FwStream, ACarriageReturnAtTheEndIsALineEnd) {
  Stream stream("x\r", 8);
  EXPECT_EQ("x\n|2", stream.Line());
  EXPECT_EQ("|0", stream.Line());
}

TEST(FwStream, EmptyLinesAreJustTheirNewline) {
  Stream stream("\n\r\n\r\r\n", 3);
  for (int i = 0; i < 4; i++)
    EXPECT_EQ("\n|1", stream.Line()) << i;
  EXPECT_EQ("|0", stream.Line());
}

TEST(FwStream, AnEmptyStreamIsAtItsEnd) {
  Stream stream("", 8);
  EXPECT_EQ("|0", stream.Line());
  EXPECT_EQ(1, Fw_msg_IsStreamAtEOF(stream.top));
}

TEST(FwStream, LinesAreAppendedToTheRecord) {
  Stream stream("b\nc\n", 8);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("a"));
  EXPECT_EQ(2, Fw_msg_ReadLine(stream.top, &stream.err, &record));
  EXPECT_EQ(2, Fw_msg_ReadLine(stream.top, &stream.err, &record));
  EXPECT_STREQ("ab\nc\n", FWC(record.pbz));
  FwStrRecordAbandon(&record);
}

TEST(FwStream, AFixedRecordTakesWhatFitsAndTheLineIsUsedUp) {
  Stream stream("abcdef\rg\n", 4);
  uint8 buffer[4] = {};
  FwStrRecord record;
  FwStrRecordOpenOn(&record, buffer, sizeof buffer);
  EXPECT_EQ(3, Fw_msg_ReadLine(stream.top, &stream.err, &record));
  EXPECT_STREQ("abc", reinterpret_cast<char*>(buffer));
  FwStrRecordAbandon(&record);
  EXPECT_EQ("g\n|2", stream.Line());
}

TEST(FwStream, AFixedRecordWithoutRoomKeepsTheCarriageReturnThatItEndsWith) {
  Stream stream("\rg\n", 4);
  uint8 buffer[4] = {'a', 'b', '\r', 0};
  FwStrRecord record;
  FwStrRecordOpenOn(&record, buffer, sizeof buffer);
  EXPECT_EQ(0, Fw_msg_ReadLine(stream.top, &stream.err, &record));
  EXPECT_STREQ("ab\r", reinterpret_cast<char*>(buffer));
  FwStrRecordAbandon(&record);
  EXPECT_EQ("g\n|2", stream.Line());
}

TEST(FwStream, AReadErrorIsStickyAndGivesMinusOne) {
  Stream stream("ab\ncd\n", 3);
  EXPECT_EQ("ab\n|3", stream.Line());
  stream.below->fFail = 1;
  EXPECT_EQ("|-1", stream.Line());
  EXPECT_EQ(fwErrorHardware, stream.err.pError);
  EXPECT_EQ(1, Fw_msg_IsStreamError(stream.top));
  EXPECT_EQ(0, Fw_msg_IsStreamAtEOF(stream.top));
  stream.below->fFail = 0;
  FwErrorClear(&stream.err);
  stream.calls.clear();
  EXPECT_EQ("|-1", stream.Line());
  EXPECT_EQ(Calls{}, stream.calls);
}

TEST(FwStream, AReadErrorInsideALineGivesTheBytesBeforeIt) {
  Stream stream("abcd\n", 3);
  stream.Seek(0, FW_SEEK_SET);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(1, stream.Seek(1, FW_SEEK_SET));
  stream.calls.clear();
  // The first buffer holds "bcd"; the next read fails.
  class FailSecond {
   public:
    static int32 Read(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
      const int32 n = MemoryRead(pObj, pErrState, buffer, size);
      static_cast<MemoryStream*>(pObj)->fFail = 1;
      return n;
    }
  };
  const FwIntercept methods[] = {{_Fw_msg_StreamRead_Handle, FwMethodOf(FailSecond::Read)},
                                 {nullptr, nullptr}};
  const FwClassRecord failing = {FW_CLASS_COOKIE,    "Failing", sizeof(MemoryStream),
                                 &MemoryStreamClass, methods,   0};
  stream.below->pClassRecord = &failing;
  EXPECT_EQ(3, Fw_msg_ReadLine(stream.top, &stream.err, &record));
  EXPECT_STREQ("bcd", FWC(record.pbz));
  EXPECT_EQ(1, Fw_msg_IsStreamError(stream.top));
  EXPECT_EQ(-1, Fw_msg_ReadLine(stream.top, &stream.err, &record));
  FwStrRecordAbandon(&record);
  stream.below->pClassRecord = &MemoryStreamClass;
}

// --- Seeking ---------------------------------------------------------------------------------

TEST(FwStream, ASeekToZeroAfterTheEndReadsAgain) {
  for (int32 nBufferSize : {1, 3, 100}) {
    SCOPED_TRACE(nBufferSize);
    Stream stream("ab\ncd", nBufferSize);
    EXPECT_EQ("ab\n|3", stream.Line());
    EXPECT_EQ("cd|2", stream.Line());
    EXPECT_EQ("|0", stream.Line());
    EXPECT_EQ(1, stream.Seek(0, FW_SEEK_SET));
    EXPECT_EQ(0, Fw_msg_IsStreamAtEOF(stream.top));
    EXPECT_EQ(0, stream.Position());
    EXPECT_EQ("ab\n|3", stream.Line());
    EXPECT_EQ("cd|2", stream.Line());
    EXPECT_EQ("|0", stream.Line());
  }
}

TEST(FwStream, ASeekToOneAfterTheEndStaysAtTheEnd) {
  Stream stream("ab\ncd", 100);
  EXPECT_EQ("ab\n|3", stream.Line());
  EXPECT_EQ("cd|2", stream.Line());
  int64 position = 0;
  EXPECT_EQ(1, stream.Seek(1, FW_SEEK_SET, &position));
  EXPECT_EQ(1, position);
  EXPECT_EQ(1, Fw_msg_IsStreamAtEOF(stream.top));
  EXPECT_EQ("|0", stream.Line());
}

TEST(FwStream, ReachingZeroByAnotherOriginStaysAtTheEnd) {
  Stream stream("ab", 100);
  EXPECT_EQ("ab|2", stream.Line());
  int64 position = -1;
  EXPECT_EQ(1, stream.Seek(-2, FW_SEEK_CUR, &position));
  EXPECT_EQ(0, position);
  EXPECT_EQ(1, Fw_msg_IsStreamAtEOF(stream.top));
  EXPECT_EQ(1, stream.Seek(-2, FW_SEEK_END, &position));
  EXPECT_EQ(0, position);
  EXPECT_EQ(1, Fw_msg_IsStreamAtEOF(stream.top));
}

TEST(FwStream, SeekingWithinTheBufferAsksNothingOfTheStreamBelow) {
  Stream stream("ab\ncd\nef\n", 9);
  EXPECT_EQ("ab\n|3", stream.Line());
  stream.calls.clear();
  int64 position = 0;
  EXPECT_EQ(1, stream.Seek(6, FW_SEEK_SET, &position));
  EXPECT_EQ(6, position);
  EXPECT_EQ("ef\n|3", stream.Line());
  EXPECT_EQ(1, stream.Seek(0, FW_SEEK_SET));
  EXPECT_EQ("ab\n|3", stream.Line());
  EXPECT_EQ(1, stream.Seek(-2, FW_SEEK_CUR, &position));
  EXPECT_EQ(1, position);
  EXPECT_EQ("b\n|2", stream.Line());
  EXPECT_EQ(1, stream.Seek(1, FW_SEEK_CUR));
  EXPECT_EQ("d\n|2", stream.Line());
  EXPECT_EQ(Calls{}, stream.calls);
}

TEST(FwStream, SeekingOutOfTheBufferEmptiesIt) {
  Stream stream("ab\ncd\nef\n", 4);
  EXPECT_EQ("ab\n|3", stream.Line());
  stream.calls.clear();
  // The buffer holds 0 to 3; the position just behind it is out of it already.
  EXPECT_EQ(1, stream.Seek(4, FW_SEEK_SET));
  EXPECT_EQ((Calls{"seek 4 from 0"}), stream.calls);
  EXPECT_EQ(4, stream.Position());
  EXPECT_EQ("d\n|2", stream.Line());
  stream.calls.clear();
  EXPECT_EQ(1, stream.Seek(3, FW_SEEK_SET));  // the buffer holds 4 to 7
  EXPECT_EQ((Calls{"seek 3 from 0"}), stream.calls);
  EXPECT_EQ("cd\n|3", stream.Line());
}

TEST(FwStream, SeekingFromTheEndAsksForTheExtent) {
  Stream stream("ab\ncd\nef\n", 4);
  int64 position = 0;
  EXPECT_EQ(1, stream.Seek(-3, FW_SEEK_END, &position));
  EXPECT_EQ(6, position);
  EXPECT_EQ((Calls{"extent", "seek 6 from 0"}), stream.calls);
  EXPECT_EQ("ef\n|3", stream.Line());
  stream.below->fFail = 1;
  EXPECT_EQ(0, stream.Seek(-3, FW_SEEK_END));
  stream.below->fFail = 0;
}

TEST(FwStream, ASeekThatFailsBelowFails) {
  Stream stream("abc", 4);
  EXPECT_EQ(0, stream.Seek(-1, FW_SEEK_SET));
  EXPECT_EQ(fwErrorNumericRange, stream.err.pError);
}

TEST(FwStream, AnUnknownOriginIsReported) {
  Stream stream("abc", 4);
  ExpectAsserts expected({"unknown seek type"});
  EXPECT_EQ(0, stream.Seek(0, 3));
}

TEST(FwStream, PositionsBeyondThirtyTwoBitsAreKept) {
  Stream stream("abc", 4);
  stream.top->positionInStream = {0xffffffff, 0};
  EXPECT_EQ("abc|3", stream.Line());
  EXPECT_EQ(0x100000002, stream.Position());
}

TEST(FwStream, UnreadingWithinTheBufferMovesBack) {
  Stream stream("ab\ncd\n", 100);
  EXPECT_EQ("ab\n|3", stream.Line());
  stream.calls.clear();
  Fw_msg_UnreadBytes(stream.top, &stream.err, 2);
  EXPECT_EQ(1, stream.Position());
  EXPECT_EQ("b\n|2", stream.Line());
  Fw_msg_UnreadBytes(stream.top, &stream.err, 0);
  EXPECT_EQ("cd\n|3", stream.Line());
  EXPECT_EQ(Calls{}, stream.calls);
}

TEST(FwStream, UnreadingMoreThanTheBufferHoldsSeeks) {
  Stream stream("abcdef\ngh\n", 4);
  EXPECT_EQ("abcdef\n|7", stream.Line());
  stream.calls.clear();
  Fw_msg_UnreadBytes(stream.top, &stream.err, 5);
  EXPECT_EQ((Calls{"seek 2 from 0"}), stream.calls);
  EXPECT_EQ("cdef\n|5", stream.Line());
}

TEST(FwStream, UnreadingAtTheEndCountsFromTheEnd) {
  Stream stream("ab", 100);
  EXPECT_EQ("ab|2", stream.Line());
  EXPECT_EQ(2, stream.Position());
  Fw_msg_UnreadBytes(stream.top, &stream.err, 1);
  EXPECT_EQ(1, stream.Position());
}

TEST(FwStream, UnreadingANegativeCountIsReported) {
  Stream stream("ab\n", 100);
  stream.Line();
  ExpectAsserts expected({"must be positive number of bytes to unread"});
  Fw_msg_UnreadBytes(stream.top, &stream.err, -1);
  EXPECT_EQ(3, stream.Position());
}

TEST(FwStream, UnreadingPastTheStartIsReported) {
  Stream stream("ab\n", 100);
  stream.Line();
  ExpectAsserts expected({"error after seek"});
  Fw_msg_UnreadBytes(stream.top, &stream.err, 4);
}

TEST(FwStream, FlushingAStreamForReadingDropsItsBuffer) {
  Stream stream("ab\ncd\n", 4);
  EXPECT_EQ("ab\n|3", stream.Line());
  EXPECT_EQ(0, Fw_msg_Flush(stream.top, &stream.err));
  EXPECT_EQ(4, stream.Position());
  EXPECT_EQ("d\n|2", stream.Line());
}

TEST(FwStream, TheExtentIsThatOfTheStreamBelowAsOneOrZero) {
  Stream stream("abc", 4);
  Vq32x2 extent;
  EXPECT_EQ(1, Fw_msg_StreamExtent(stream.top, &stream.err, &extent));
  EXPECT_EQ(3u, extent.low);
  stream.below->fFail = 1;
  EXPECT_EQ(0, Fw_msg_StreamExtent(stream.top, &stream.err, &extent));
}

// --- Writing ---------------------------------------------------------------------------------

TEST(FwStream, WritesGoBelowWhenTheBufferIsFull) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  EXPECT_EQ(3, stream.Write("abc"));
  EXPECT_EQ(Calls{}, stream.calls);
  EXPECT_EQ(7, stream.Write("defghij"));
  EXPECT_EQ((Calls{"write abcd", "write efgh"}), stream.calls);
  EXPECT_EQ(2, Fw_msg_Flush(stream.top, &stream.err));
  EXPECT_EQ((Calls{"write abcd", "write efgh", "write ij"}), stream.calls);
  EXPECT_EQ(0, Fw_msg_Flush(stream.top, &stream.err));
  EXPECT_EQ("abcdefghij", stream.content);
}

TEST(FwStream, ABufferThatFillsExactlyIsFlushedAtOnce) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  EXPECT_EQ(4, stream.Write("abcd"));
  EXPECT_EQ((Calls{"write abcd"}), stream.calls);
}

TEST(FwStream, WritingNothingIsNothing) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  EXPECT_EQ(0, stream.Write(""));
  EXPECT_EQ(0, Fw_msg_StreamWrite(stream.top, &stream.err, nullptr, 0));
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(0, Fw_msg_StreamWrite(stream.top, &stream.err, nullptr, 0));
  EXPECT_EQ(Calls{}, stream.calls);
}

TEST(FwStream, ALineBufferedWriteKeepsTheTextBehindTheLastLineEnd) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(5, stream.Write("ab\ncd"));
  EXPECT_EQ("ab\n", stream.content);
  EXPECT_EQ(2, Fw_msg_Flush(stream.top, &stream.err));
  EXPECT_EQ("ab\ncd", stream.content);
}

TEST(FwStream, ALineBufferedWriteEndsLinesWithNewlines) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(7, stream.Write("a\rb\r\nc\n"));
  EXPECT_EQ((Calls{"write a\n", "write b\n", "write \n", "write c\n"}), stream.calls);
}

TEST(FwStream, ALineBufferedWriteDoesNotDivideCharacters) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  // "abc" leaves one byte of room, too little for the two of the umlaut.
  EXPECT_EQ(6, stream.Write("abc\xc3\xa4"
                            "d"));
  EXPECT_EQ((Calls{"write abc"}), stream.calls);
  EXPECT_EQ(2, stream.Write("e\n"));
  EXPECT_EQ((Calls{"write abc",
                   "write \xc3\xa4"
                   "de",
                   "write \n"}),
            stream.calls);
}

TEST(FwStream, ALineBufferedWriteLeavesAFullBufferUnflushed) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(4, stream.Write("abcd"));
  EXPECT_EQ(Calls{}, stream.calls);
  EXPECT_EQ(1, stream.Write("e"));
  EXPECT_EQ((Calls{"write abcd"}), stream.calls);
}

TEST(FwStream, ACharacterWiderThanTheBufferGoesInPieces) {
  Stream stream("", 1, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(5, stream.Write("\xe2\x82\xac"
                            "x\n"));
  EXPECT_EQ(
      "\xe2\x82\xac"
      "x\n",
      stream.content);
}

TEST(FwStream, BytesThatAreCutInsideACharacterAreWrittenAsTheyAre) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  char* bytes = static_cast<char*>(std::malloc(2));  // no terminator behind
  bytes[0] = 'a';
  bytes[1] = '\xc3';
  EXPECT_EQ(2, Fw_msg_StreamWrite(stream.top, &stream.err, bytes, 2));
  std::free(bytes);
  EXPECT_EQ(2, Fw_msg_Flush(stream.top, &stream.err));
  EXPECT_EQ("a\xc3", stream.content);
}

TEST(FwStream, AWriteErrorIsSticky) {
  for (int32 lineBuffered : {0, 1}) {
    SCOPED_TRACE(lineBuffered);
    Stream stream("", 2, FW_OPEN_WRONLY);
    Fw_msg_SetLineBuffering(stream.top, lineBuffered);
    stream.below->fFail = 1;
    EXPECT_EQ(-1, stream.Write("a\nb"));
    EXPECT_EQ(1, Fw_msg_IsStreamError(stream.top));
    stream.below->fFail = 0;
    stream.calls.clear();
    EXPECT_EQ(-1, stream.Write("c"));
    EXPECT_EQ(-1, Fw_msg_Flush(stream.top, &stream.err));
    EXPECT_EQ(Calls{}, stream.calls);
  }
}

TEST(FwStream, AFlushThatFailsGivesMinusOne) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  stream.Write("a");
  stream.below->fFail = 1;
  EXPECT_EQ(-1, Fw_msg_Flush(stream.top, &stream.err));
  EXPECT_EQ(0, stream.Seek(0, FW_SEEK_SET));
}

TEST(FwStream, SeekingAStreamForWritingFlushesFirst) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  stream.Write("abc");
  EXPECT_EQ(1, stream.Seek(1, FW_SEEK_SET));
  EXPECT_EQ((Calls{"write abc", "seek 1 from 0"}), stream.calls);
  EXPECT_EQ(1, stream.Position());
}

TEST(FwStream, ThePositionWhileWritingIsLessWhatIsBuffered) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  stream.Write("abcdef");
  EXPECT_EQ(2, stream.Position());  // four written, less the two that are not
}

TEST(FwStream, DestroyingAStreamForWritingFlushes) {
  std::string content;
  {
    Stream stream("", 100, FW_OPEN_WRONLY);
    stream.Write("abc");
    EXPECT_EQ(1, Fw_msg_StreamDestroy(stream.top, &stream.err, 1));
    stream.top = nullptr;
    content = stream.content;
  }
  EXPECT_EQ("abc", content);
}

TEST(FwStream, AFlushThatFailsAtTheEndDoesNotChangeTheResult) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  stream.Write("abc");
  stream.below->fFail = 1;
  EXPECT_EQ(1, Fw_msg_StreamDestroy(stream.top, &stream.err, 1));
  stream.top = nullptr;
}

TEST(FwStream, WritingFromInsideAWriteIsReported) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  stream.top->reentrancy = 1;
  {
    ExpectAsserts expected({"reentrancy  in StreamWrite"});
    EXPECT_EQ(-1, stream.Write("a"));
  }
  EXPECT_EQ(1, Fw_msg_IsStreamError(stream.top));
  EXPECT_EQ(1, stream.top->reentrancy);
}

TEST(FwStream, WritingEndsWithTheGuardDown) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  stream.Write("a");
  EXPECT_EQ(0, stream.top->reentrancy);
}

TEST(FwStream, NullStreamsAreReported) {
  FwErrorState err;
  FwStrRecord record;
  FwStrRecordOpen(&record);
  ExpectAsserts expected(
      {"NULL Object passed to Fw_msg_Write", "NULL Object passed to Fw_msg_Write",
       "NULL Object passed to Fw_msg_StreamDestroy", "NULL Object passed to Fw_msg_StreamDestroy"});
  EXPECT_EQ(-1, Fw_msg_Write(nullptr, &err, &record));
  using WriteFn = int32(FwObj*, FwErrorState*, FwStrRecord*);
  EXPECT_EQ(-1, FwClassFindMethodAs<WriteFn>(_Fw_msg_Write_Handle, &FwStreamBufferedClass)(
                    nullptr, &err, &record));
  EXPECT_EQ(0, Fw_msg_StreamDestroy(nullptr, &err, 1));
  EXPECT_EQ(0, FwClassFindMethodAs<Fw_msg_StreamDestroy_Fn>(
                   _Fw_msg_StreamDestroy_Handle, &FwStreamBufferedClass)(nullptr, &err, 1));
  FwStrRecordAbandon(&record);
}

// --- Making and ending -----------------------------------------------------------------------

TEST(FwStream, ABufferedStreamKnowsWhatIsBelow) {
  Stream stream("", 4);
  EXPECT_EQ(stream.below, Fw_msg_GetUnderlyingStream(stream.top));
  EXPECT_EQ(FW_OPEN_RDONLY, stream.top->openFlags);
  EXPECT_EQ(4, stream.top->nBufferSizeInBytes);
  EXPECT_EQ(0, stream.top->lineBuffered);
  EXPECT_EQ(0, stream.Position());
}

TEST(FwStream, ReadingBytesOfABufferedStreamIsProhibited) {
  Stream stream("abc", 4);
  char buffer[4];
  ExpectAsserts expected({"Class prohibits message"});
  EXPECT_EQ(-1, Fw_msg_StreamRead(stream.top, &stream.err, buffer, 3));
}

TEST(FwStream, TheAbstractClassesProhibitTheTransferMessages) {
  for (const FwClassRecord* pClass : {&FwStreamCoreClass, &FwStreamIOClass}) {
    for (FwMessageID message : {_Fw_msg_StreamRead_Handle, _Fw_msg_StreamWrite_Handle,
                                _Fw_msg_StreamSeek_Handle, _Fw_msg_StreamExtent_Handle}) {
      ExpectAsserts expected({"Class prohibits message"});
      EXPECT_EQ(nullptr, FwClassFindMethod(message, pClass))
          << message << " of " << pClass->pszClassName;
    }
  }
}

TEST(FwStream, ABufferedStreamWithoutBufferOrStreamBelowIsRefused) {
  Stream stream("", 4);
  for (int32 nBufferSize : {0, -1}) {
    SCOPED_TRACE(nBufferSize);
    FwErrorState err;
    EXPECT_EQ(nullptr,
              Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, nBufferSize, stream.below));
    EXPECT_EQ(fwErrorParameter, err.pError);
    EXPECT_EQ("Stream", Detail(err));
    FwErrorClear(&err);
  }
  FwErrorState err;
  EXPECT_EQ(nullptr, Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, nullptr));
  EXPECT_EQ(fwErrorParameter, FwErrorClear(&err));
}

TEST(FwStream, OtherOpenFlagsThanBelowAreRefused) {
  Stream stream("", 4);
  FwErrorState err;
  EXPECT_EQ(nullptr, Fw_msg_CreateStreamBuffered(&err, FW_OPEN_WRONLY, 4, stream.below));
  EXPECT_EQ(fwErrorNumericValue, err.pError);
  EXPECT_EQ("Stream", Detail(err));
  FwErrorClear(&err);
  EXPECT_EQ(nullptr,
            Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY | FW_OPEN_CREAT, 4, stream.below));
  EXPECT_EQ(fwErrorNumericValue, FwErrorClear(&err));
}

TEST(FwStream, AStreamForBothDirectionsIsRefused) {
  Stream stream("", 4);
  FwErrorState err;
  ExpectAsserts expected({"Cannot support readable and writable streams for now"});
  EXPECT_EQ(nullptr, Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDWR, 4, stream.below));
  EXPECT_EQ(fwErrorNumericValue, err.pError);
  EXPECT_EQ("Stream", Detail(err));
  FwErrorClear(&err);
}

TEST(FwStream, AStreamBelowMustBeAStreamInGoodOrder) {
  FwErrorState err;
  FwObj* pPlain = Fw_msg_Create(nullptr, &FwObjectClass);
  EXPECT_EQ(nullptr, Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, pPlain));
  EXPECT_EQ(fwErrorPointer, err.pError);
  EXPECT_EQ("Stream", Detail(err));
  FwErrorClear(&err);
  Fw_msg_Destroy(pPlain);

  Stream stream("", 4);
  stream.below->fEOF = 1;
  EXPECT_EQ(nullptr, Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, stream.below));
  EXPECT_EQ(fwErrorPointer, FwErrorClear(&err));
  stream.below->fEOF = 0;
  stream.below->fError = 1;
  EXPECT_EQ(nullptr, Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, stream.below));
  EXPECT_EQ(fwErrorPointer, FwErrorClear(&err));
}

TEST(FwStream, AStreamNeedsAnErrorState) {
  Stream stream("", 4);
  ExpectAsserts expected({"Cannot have NULL ErrorState", "Cannot use NULL ErrorState"});
  EXPECT_EQ(nullptr, Fw_msg_CreateStreamBuffered(nullptr, FW_OPEN_RDONLY, 4, stream.below));
  EXPECT_EQ(nullptr, Fw_msg_CreateStreamIOFile(&FwStreamIOFileClass, nullptr, FW_OPEN_RDONLY,
                                               FWT("/dev/null")));
}

TEST(FwStream, MemoryOfTheCallersGoesWithARefusal) {
  // Nothing is left to free: a second release would be reported.
  FwErrorState err;
  ExpectAsserts expected({"Cannot support readable and writable streams for now"});
  FwObj* pObj = FwClassAlloc(&FwStreamCoreClass, ALLOC_MUST_SUCCEED);
  auto* create = FwClassFindMethodAs<Fw_msg_CreateStreamCore_Fn>(_Fw_msg_CreateStreamCore_Handle,
                                                                 &FwStreamCoreClass);
  EXPECT_EQ(nullptr, create(pObj, &FwStreamCoreClass, &err, FW_OPEN_RDWR, nullptr));
  EXPECT_EQ(fwErrorNumericValue, FwErrorClear(&err));
}

TEST(FwStream, ACoreIsMadeOnTheHeapOrInMemoryGiven) {
  FwErrorState err;
  auto* create = FwClassFindMethodAs<Fw_msg_CreateStreamCore_Fn>(_Fw_msg_CreateStreamCore_Handle,
                                                                 &FwStreamCoreClass);
  FwObj* pObj = create(nullptr, &FwStreamCoreClass, &err, FW_OPEN_RDONLY, nullptr);
  ASSERT_NE(nullptr, pObj);
  EXPECT_EQ(&FwStreamCoreClass, FwClassOf(pObj));
  EXPECT_EQ(0, Fw_msg_IsStreamAtEOF(pObj));
  EXPECT_EQ(0, Fw_msg_IsStreamError(pObj));
  EXPECT_EQ(1, Fw_msg_StreamDestroy(pObj, &err, 1));

  void* memory = FwMemAlloc(sizeof(FwStreamCore), ALLOC_MUST_SUCCEED | INIT_NONE);
  std::memset(memory, 0x55, sizeof(FwStreamCore));
  ASSERT_EQ(memory, create(memory, &FwStreamCoreClass, &err, FW_OPEN_WRONLY, nullptr));
  EXPECT_EQ(0, Fw_msg_IsStreamAtEOF(memory));
  EXPECT_EQ(0, Fw_msg_IsStreamError(memory));
  EXPECT_EQ(0, static_cast<FwStreamCore*>(memory)->reentrancy);
  EXPECT_EQ(nullptr, static_cast<FwStreamCore*>(memory)->pUnderlyingStream);
  EXPECT_EQ(1, Fw_msg_StreamDestroy(memory, &err, 0));
}

TEST(FwStream, ExhaustedMemoryForTheBufferIsAnError) {
  Stream stream("", 4);
  FwErrorState err;
  // The instance is had; the buffer is not, nor is a copy of the detail.
  err.fAlloc = 0;
  FailAllocationsAfter failing(1);
  EXPECT_EQ(nullptr, Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, stream.below));
  EXPECT_EQ(fwErrorNoMemory, FwErrorClear(&err));
}

TEST(FwStream, ExhaustedMemoryForTheInstanceEndsTheProgram) {
  Stream stream("", 4);
  EXPECT_EXIT(
      {
        FailAllocationsAfter failing(0);
        FwErrorState err;
        Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, stream.below);
      },
      testing::ExitedWithCode(1), "Run out of memory");
}

TEST(FwStream, AStreamBelowIsKeptWithoutTheFlag) {
  Stream stream("ab", 4);
  EXPECT_EQ(1, Fw_msg_StreamDestroy(stream.top, &stream.err, 0));
  stream.top = nullptr;
  char buffer[2];
  EXPECT_EQ(2, Fw_msg_StreamRead(stream.below, &stream.err, buffer, 2));
  EXPECT_EQ(1, Fw_msg_StreamDestroy(stream.below, &stream.err, 0));
}

namespace {

std::vector<void*> allocated;
void* NotingAlloc(std::size_t cb) {
  void* pv = std::malloc(cb);
  allocated.push_back(pv);
  return pv;
}

}  // namespace

TEST(FwStream, AnIOStreamMadeWithoutMemoryIsNeverConstructed) {
  // In a process of its own: the instance that was constructed is lost.
  EXPECT_EXIT(
      {
        FwErrorState err;
        auto* create = FwClassFindMethodAs<Fw_msg_CreateStreamIO_Fn>(_Fw_msg_CreateStreamIO_Handle,
                                                                     &FwStreamIOClass);
        pfnFcMemAlloc = NotingAlloc;
        FwObj* pObj = create(nullptr, &FwStreamIOClass, &err, FW_OPEN_RDONLY);
        const bool unconstructed = allocated.size() == 2 && FwClassOf(pObj) == nullptr;
        std::_Exit(unconstructed ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

// --- Files -----------------------------------------------------------------------------------

namespace {

FwObj* OpenFile(FwErrorState* pErrState, const std::string& path, uint32 flags) {
  return Fw_msg_CreateStreamIOFile(&FwStreamIOFileClass, pErrState, flags, FWT(path.c_str()));
}

}  // namespace

TEST(FwStream, AFileIsReadThroughTheWholeStack) {
  TemporaryTree tree;
  const std::string path = tree.Write("f", "one\r\ntwo\rthree");
  FwErrorState err;
  FwObj* pFile = OpenFile(&err, path, FW_OPEN_RDONLY);
  ASSERT_NE(nullptr, pFile);
  FwObj* pStream = Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 0x2000, pFile);
  ASSERT_NE(nullptr, pStream);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(4, Fw_msg_ReadLine(pStream, &err, &record));
  EXPECT_EQ(4, Fw_msg_ReadLine(pStream, &err, &record));
  EXPECT_EQ(5, Fw_msg_ReadLine(pStream, &err, &record));
  EXPECT_EQ(0, Fw_msg_ReadLine(pStream, &err, &record));
  EXPECT_STREQ("one\ntwo\nthree", FWC(record.pbz));
  EXPECT_EQ(1, Fw_msg_IsStreamAtEOF(pStream));
  EXPECT_EQ(1, Fw_msg_IsStreamAtEOF(pFile));

  // Back to the start: the file is not at its end any more, either.
  Vq32x2 position;
  EXPECT_EQ(1, Fw_msg_StreamSeek(pStream, &err, &position, FW_SEEK_SET));
  FwStrRecordShorten(&record, 0);
  EXPECT_EQ(4, Fw_msg_ReadLine(pStream, &err, &record));
  EXPECT_STREQ("one\n", FWC(record.pbz));
  FwStrRecordAbandon(&record);
  EXPECT_EQ(1, Fw_msg_StreamDestroy(pStream, &err, 1));
  EXPECT_EQ(nullptr, err.pError);
}

TEST(FwStream, AFileIsWrittenThroughTheWholeStack) {
  TemporaryTree tree;
  const std::string path = tree / "f";
  FwErrorState err;
  const uint32 flags = FW_OPEN_WRONLY | FW_OPEN_CREAT;
  FwObj* pFile = OpenFile(&err, path, flags);
  ASSERT_NE(nullptr, pFile);
  FwObj* pStream = Fw_msg_CreateStreamBuffered(&err, flags, 4, pFile);
  ASSERT_NE(nullptr, pStream);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("hello, world\n"));
  EXPECT_EQ(13, Fw_msg_Write(pStream, &err, &record));
  FwStrRecordAbandon(&record);
  EXPECT_EQ("hello, world", ReadFile(path));
  EXPECT_EQ(1, Fw_msg_StreamDestroy(pStream, &err, 1));
  EXPECT_EQ("hello, world\n", ReadFile(path));
}

TEST(FwStream, AMissingFileMakesNoStream) {
  TemporaryTree tree;
  FwErrorState err;
  EXPECT_EQ(nullptr, OpenFile(&err, tree / "missing", FW_OPEN_RDONLY));
  EXPECT_EQ(fwErrorNonExistent, FwErrorClear(&err));
}

TEST(FwStream, AFileForBothDirectionsEndsTheProgram) {
  TemporaryTree tree;
  const std::string path = tree.Write("f", "x");
  EXPECT_EXIT(
      {
        CollectReports reports;
        FwErrorState err;
        OpenFile(&err, path, FW_OPEN_RDWR);
      },
      testing::ExitedWithCode(1), "Run out of memory");
}

TEST(FwStream, AFileStreamReadsToItsEndAndStaysThere) {
  TemporaryTree tree;
  const std::string path = tree.Write("f", "abc");
  FwErrorState err;
  FwObj* pFile = OpenFile(&err, path, FW_OPEN_RDONLY);
  ASSERT_NE(nullptr, pFile);
  char buffer[8];
  EXPECT_EQ(3, Fw_msg_StreamRead(pFile, &err, buffer, 8));
  EXPECT_EQ(0, Fw_msg_IsStreamAtEOF(pFile));  // a short count is no end
  EXPECT_EQ(0, Fw_msg_StreamRead(pFile, &err, buffer, 8));
  EXPECT_EQ(1, Fw_msg_IsStreamAtEOF(pFile));
  Vq32x2 position{1, 0};
  EXPECT_EQ(1, Fw_msg_StreamSeek(pFile, &err, &position, FW_SEEK_SET));
  EXPECT_EQ(0, Fw_msg_StreamRead(pFile, &err, buffer, 8));
  position = {};
  EXPECT_EQ(1, Fw_msg_StreamSeek(pFile, &err, &position, FW_SEEK_SET));
  EXPECT_EQ(0, Fw_msg_IsStreamAtEOF(pFile));
  EXPECT_EQ(2, Fw_msg_StreamRead(pFile, &err, buffer, 2));
  Vq32x2 extent;
  EXPECT_EQ(1, Fw_msg_StreamExtent(pFile, &err, &extent));
  EXPECT_EQ(3u, extent.low);
  EXPECT_EQ(1, Fw_msg_StreamDestroy(pFile, &err, 1));
}

TEST(FwStream, ASeekOfAFileThatFailsIsAStickyError) {
  TemporaryTree tree;
  const std::string path = tree.Write("f", "abc");
  FwErrorState err;
  FwObj* pFile = OpenFile(&err, path, FW_OPEN_RDONLY);
  ASSERT_NE(nullptr, pFile);
  Vq32x2 position{0xffffffff, -1};
  EXPECT_EQ(0, Fw_msg_StreamSeek(pFile, &err, &position, FW_SEEK_SET));
  EXPECT_EQ(fwErrorNumericRange, FwErrorClear(&err));
  EXPECT_EQ(1, Fw_msg_IsStreamError(pFile));
  char buffer[1];
  EXPECT_EQ(-1, Fw_msg_StreamRead(pFile, &err, buffer, 1));
  EXPECT_EQ(-1, Fw_msg_StreamWrite(pFile, &err, buffer, 1));
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ(1, Fw_msg_StreamDestroy(pFile, &err, 1));
}

TEST(FwStream, ReadingAndWritingAFileTheWrongWayIsAnError) {
  TemporaryTree tree;
  const std::string path = tree.Write("f", "abc");
  char buffer[1] = {'x'};
  FwErrorState err;
  FwObj* pFile = OpenFile(&err, path, FW_OPEN_RDONLY);
  ASSERT_NE(nullptr, pFile);
  EXPECT_EQ(0, Fw_msg_StreamWrite(pFile, &err, buffer, 0));
  EXPECT_EQ(-1, Fw_msg_StreamWrite(pFile, &err, buffer, 1));
  EXPECT_EQ(fwErrorParameter, FwErrorClear(&err));  // EBADF
  EXPECT_EQ(1, Fw_msg_IsStreamError(pFile));
  EXPECT_EQ(1, Fw_msg_StreamDestroy(pFile, &err, 1));

  pFile = OpenFile(&err, path, FW_OPEN_WRONLY);
  ASSERT_NE(nullptr, pFile);
  EXPECT_EQ(-1, Fw_msg_StreamRead(pFile, &err, buffer, 1));
  EXPECT_EQ(fwErrorParameter, FwErrorClear(&err));
  EXPECT_EQ(1, Fw_msg_StreamDestroy(pFile, &err, 1));
}

TEST(FwStream, AFileStreamWithoutAFileIsReported) {
  TemporaryTree tree;
  const std::string path = tree.Write("f", "abc");
  FwErrorState err;
  FwObj* pFile = OpenFile(&err, path, FW_OPEN_RDONLY);
  ASSERT_NE(nullptr, pFile);
  auto* pStream = static_cast<FwStreamIOFile*>(pFile);
  FwFileClose(&err, pStream->handle);
  pStream->handle = FW_FILE_INVALID;
  char buffer[1];
  Vq32x2 position;
  ExpectAsserts expected(
      {"stream is inconsistant", "stream is inconsistant", "stream is inconsistant"});
  EXPECT_EQ(-1, Fw_msg_StreamRead(pFile, &err, buffer, 1));
  EXPECT_EQ(fwErrorNumericRange, FwErrorClear(&err));
  pStream->fError = 0;
  EXPECT_EQ(-1, Fw_msg_StreamWrite(pFile, &err, buffer, 1));
  EXPECT_EQ(fwErrorNumericRange, FwErrorClear(&err));
  pStream->fError = 0;
  EXPECT_EQ(0, Fw_msg_StreamSeek(pFile, &err, &position, FW_SEEK_SET));
  EXPECT_EQ(fwErrorNumericRange, FwErrorClear(&err));
  EXPECT_EQ(0, Fw_msg_StreamDestroy(pFile, &err, 1));
  EXPECT_EQ(fwErrorNumericRange, FwErrorClear(&err));
}
