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

int32 Memory_Read(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
  auto* pStream = static_cast<MemoryStream*>(pObj);
  pStream->pCalls->push_back("read " + std::to_string(size));
  if (Fails(pStream, pErrState)) return -1;
  const std::string part =
      pStream->pContent->substr(static_cast<std::size_t>(pStream->position), size);
  std::memcpy(buffer, part.data(), part.size());
  pStream->position += static_cast<int32>(part.size());
  return static_cast<int32>(part.size());
}

int32 Memory_Write(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
  auto* pStream = static_cast<MemoryStream*>(pObj);
  const std::string bytes(static_cast<char*>(buffer), size);
  pStream->pCalls->push_back("write " + bytes);
  if (Fails(pStream, pErrState)) return -1;
  pStream->pContent->append(bytes);
  return static_cast<int32>(size);
}

int32 Memory_Seek(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset, uint32 From) {
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

int32 Memory_Extent(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset) {
  auto* pStream = static_cast<MemoryStream*>(pObj);
  pStream->pCalls->emplace_back("extent");
  if (Fails(pStream, pErrState)) return 0;
  *pOffset = {static_cast<uint32>(pStream->pContent->size()), 0};
  return 7;  // any result but 0 is success
}

const FwIntercept MemoryMethods[] = {{_Fw_msg_StreamRead_Handle, FwMethodOf(Memory_Read)},
                                     {_Fw_msg_StreamWrite_Handle, FwMethodOf(Memory_Write)},
                                     {_Fw_msg_StreamSeek_Handle, FwMethodOf(Memory_Seek)},
                                     {_Fw_msg_StreamExtent_Handle, FwMethodOf(Memory_Extent)},
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
    Stream stream("a\r\nb\rc\n", nBufferSize);
    EXPECT_EQ(stream.Line(), "a\n|2") << nBufferSize;
    EXPECT_EQ(stream.Line(), "b\n|2") << nBufferSize;
    EXPECT_EQ(stream.Line(), "c\n|2") << nBufferSize;
    EXPECT_EQ(stream.Line(), "|0") << nBufferSize;
    EXPECT_EQ(Fw_msg_IsStreamAtEOF(stream.top), 1);
    EXPECT_EQ(Fw_msg_IsStreamError(stream.top), 0);
  }
}

TEST(FwStream, ABufferOfOneByteIsReadByteByByte) {
  Stream stream("ab\rc", 1);
  EXPECT_EQ(stream.Line(), "ab\n|3");
  // Three bytes, and the one behind the carriage return, which went back.
  EXPECT_EQ(stream.calls, (Calls{"read 1", "read 1", "read 1", "read 1"}));
  EXPECT_EQ(stream.Position(), 3);
  EXPECT_EQ(stream.Line(), "c|1");
}

TEST(FwStream, TheLastLineMayLackItsEnd) {
  Stream stream("x", 8);
  EXPECT_EQ(stream.Line(), "x|1");
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(stream.top), 1);
  EXPECT_EQ(stream.Line(), "|0");
  EXPECT_EQ(stream.calls, (Calls{"read 8", "read 8"}));  // at the end nothing is asked any more
}

TEST(FwStream, ACarriageReturnAtTheEndIsALineEnd) {
  Stream stream("x\r", 8);
  EXPECT_EQ(stream.Line(), "x\n|2");
  EXPECT_EQ(stream.Line(), "|0");
}

TEST(FwStream, EmptyLinesAreJustTheirNewline) {
  Stream stream("\n\r\n\r\r\n", 3);
  for (int i = 0; i < 4; i++)
    EXPECT_EQ(stream.Line(), "\n|1");
  EXPECT_EQ(stream.Line(), "|0");
}

TEST(FwStream, AnEmptyStreamIsAtItsEnd) {
  Stream stream("", 8);
  EXPECT_EQ(stream.Line(), "|0");
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(stream.top), 1);
}

TEST(FwStream, LinesAreAppendedToTheRecord) {
  Stream stream("b\nc\n", 8);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("a"));
  EXPECT_EQ(Fw_msg_ReadLine(stream.top, &stream.err, &record), 2);
  EXPECT_EQ(Fw_msg_ReadLine(stream.top, &stream.err, &record), 2);
  EXPECT_STREQ(FWC(record.pbz), "ab\nc\n");
  FwStrRecordAbandon(&record);
}

TEST(FwStream, AFixedRecordTakesWhatFitsAndTheLineIsUsedUp) {
  Stream stream("abcdef\rg\n", 4);
  uint8 buffer[4] = {};
  FwStrRecord record;
  FwStrRecordOpenOn(&record, buffer, sizeof buffer);
  EXPECT_EQ(Fw_msg_ReadLine(stream.top, &stream.err, &record), 3);
  EXPECT_STREQ(reinterpret_cast<char*>(buffer), "abc");
  FwStrRecordAbandon(&record);
  EXPECT_EQ(stream.Line(), "g\n|2");
}

TEST(FwStream, AReadErrorIsStickyAndGivesMinusOne) {
  Stream stream("ab\ncd\n", 3);
  EXPECT_EQ(stream.Line(), "ab\n|3");
  stream.below->fFail = 1;
  EXPECT_EQ(stream.Line(), "|-1");
  EXPECT_EQ(stream.err.pError, fwErrorHardware);
  EXPECT_EQ(Fw_msg_IsStreamError(stream.top), 1);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(stream.top), 0);
  stream.below->fFail = 0;
  FwErrorClear(&stream.err);
  stream.calls.clear();
  EXPECT_EQ(stream.Line(), "|-1");
  EXPECT_EQ(stream.calls, Calls{});
}

TEST(FwStream, AReadErrorInsideALineGivesTheBytesBeforeIt) {
  Stream stream("abcd\n", 3);
  stream.Seek(0, FW_SEEK_SET);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(stream.Seek(1, FW_SEEK_SET), 1);
  stream.calls.clear();
  // The first buffer holds "bcd"; the next read fails.
  class FailSecond {
   public:
    static int32 Read(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
      const int32 n = Memory_Read(pObj, pErrState, buffer, size);
      static_cast<MemoryStream*>(pObj)->fFail = 1;
      return n;
    }
  };
  const FwIntercept methods[] = {{_Fw_msg_StreamRead_Handle, FwMethodOf(FailSecond::Read)},
                                 {nullptr, nullptr}};
  const FwClassRecord failing = {FW_CLASS_COOKIE,    "Failing", sizeof(MemoryStream),
                                 &MemoryStreamClass, methods,   0};
  stream.below->pClassRecord = &failing;
  EXPECT_EQ(Fw_msg_ReadLine(stream.top, &stream.err, &record), 3);
  EXPECT_STREQ(FWC(record.pbz), "bcd");
  EXPECT_EQ(Fw_msg_IsStreamError(stream.top), 1);
  EXPECT_EQ(Fw_msg_ReadLine(stream.top, &stream.err, &record), -1);
  FwStrRecordAbandon(&record);
  stream.below->pClassRecord = &MemoryStreamClass;
}

// --- Seeking ---------------------------------------------------------------------------------

TEST(FwStream, ASeekToZeroAfterTheEndReadsAgain) {
  for (int32 nBufferSize : {1, 3, 100}) {
    Stream stream("ab\ncd", nBufferSize);
    EXPECT_EQ(stream.Line(), "ab\n|3");
    EXPECT_EQ(stream.Line(), "cd|2");
    EXPECT_EQ(stream.Line(), "|0");
    EXPECT_EQ(stream.Seek(0, FW_SEEK_SET), 1);
    EXPECT_EQ(Fw_msg_IsStreamAtEOF(stream.top), 0);
    EXPECT_EQ(stream.Position(), 0);
    EXPECT_EQ(stream.Line(), "ab\n|3");
    EXPECT_EQ(stream.Line(), "cd|2");
    EXPECT_EQ(stream.Line(), "|0");
  }
}

TEST(FwStream, ASeekToOneAfterTheEndStaysAtTheEnd) {
  Stream stream("ab\ncd", 100);
  EXPECT_EQ(stream.Line(), "ab\n|3");
  EXPECT_EQ(stream.Line(), "cd|2");
  int64 position = 0;
  EXPECT_EQ(stream.Seek(1, FW_SEEK_SET, &position), 1);
  EXPECT_EQ(position, 1);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(stream.top), 1);
  EXPECT_EQ(stream.Line(), "|0");
}

TEST(FwStream, ReachingZeroByAnotherOriginStaysAtTheEnd) {
  Stream stream("ab", 100);
  EXPECT_EQ(stream.Line(), "ab|2");
  int64 position = -1;
  EXPECT_EQ(stream.Seek(-2, FW_SEEK_CUR, &position), 1);
  EXPECT_EQ(position, 0);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(stream.top), 1);
  EXPECT_EQ(stream.Seek(-2, FW_SEEK_END, &position), 1);
  EXPECT_EQ(position, 0);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(stream.top), 1);
}

TEST(FwStream, SeekingWithinTheBufferAsksNothingOfTheStreamBelow) {
  Stream stream("ab\ncd\nef\n", 9);
  EXPECT_EQ(stream.Line(), "ab\n|3");
  stream.calls.clear();
  int64 position = 0;
  EXPECT_EQ(stream.Seek(6, FW_SEEK_SET, &position), 1);
  EXPECT_EQ(position, 6);
  EXPECT_EQ(stream.Line(), "ef\n|3");
  EXPECT_EQ(stream.Seek(0, FW_SEEK_SET), 1);
  EXPECT_EQ(stream.Line(), "ab\n|3");
  EXPECT_EQ(stream.Seek(-2, FW_SEEK_CUR, &position), 1);
  EXPECT_EQ(position, 1);
  EXPECT_EQ(stream.Line(), "b\n|2");
  EXPECT_EQ(stream.Seek(1, FW_SEEK_CUR), 1);
  EXPECT_EQ(stream.Line(), "d\n|2");
  EXPECT_EQ(stream.calls, Calls{});
}

TEST(FwStream, SeekingOutOfTheBufferEmptiesIt) {
  Stream stream("ab\ncd\nef\n", 4);
  EXPECT_EQ(stream.Line(), "ab\n|3");
  stream.calls.clear();
  // The buffer holds 0 to 3; the position just behind it is out of it already.
  EXPECT_EQ(stream.Seek(4, FW_SEEK_SET), 1);
  EXPECT_EQ(stream.calls, (Calls{"seek 4 from 0"}));
  EXPECT_EQ(stream.Position(), 4);
  EXPECT_EQ(stream.Line(), "d\n|2");
  stream.calls.clear();
  EXPECT_EQ(stream.Seek(3, FW_SEEK_SET), 1);  // the buffer holds 4 to 7
  EXPECT_EQ(stream.calls, (Calls{"seek 3 from 0"}));
  EXPECT_EQ(stream.Line(), "cd\n|3");
}

TEST(FwStream, SeekingFromTheEndAsksForTheExtent) {
  Stream stream("ab\ncd\nef\n", 4);
  int64 position = 0;
  EXPECT_EQ(stream.Seek(-3, FW_SEEK_END, &position), 1);
  EXPECT_EQ(position, 6);
  EXPECT_EQ(stream.calls, (Calls{"extent", "seek 6 from 0"}));
  EXPECT_EQ(stream.Line(), "ef\n|3");
  stream.below->fFail = 1;
  EXPECT_EQ(stream.Seek(-3, FW_SEEK_END), 0);
  stream.below->fFail = 0;
}

TEST(FwStream, ASeekThatFailsBelowFails) {
  Stream stream("abc", 4);
  EXPECT_EQ(stream.Seek(-1, FW_SEEK_SET), 0);
  EXPECT_EQ(stream.err.pError, fwErrorNumericRange);
}

TEST(FwStream, AnUnknownOriginIsReported) {
  Stream stream("abc", 4);
  ExpectAsserts expected({"unknown seek type"});
  EXPECT_EQ(stream.Seek(0, 3), 0);
}

TEST(FwStream, PositionsBeyondThirtyTwoBitsAreKept) {
  Stream stream("abc", 4);
  stream.top->positionInStream = {0xffffffff, 0};
  EXPECT_EQ(stream.Line(), "abc|3");
  EXPECT_EQ(stream.Position(), 0x100000002);
}

TEST(FwStream, UnreadingWithinTheBufferMovesBack) {
  Stream stream("ab\ncd\n", 100);
  EXPECT_EQ(stream.Line(), "ab\n|3");
  stream.calls.clear();
  Fw_msg_UnreadBytes(stream.top, &stream.err, 2);
  EXPECT_EQ(stream.Position(), 1);
  EXPECT_EQ(stream.Line(), "b\n|2");
  Fw_msg_UnreadBytes(stream.top, &stream.err, 0);
  EXPECT_EQ(stream.Line(), "cd\n|3");
  EXPECT_EQ(stream.calls, Calls{});
}

TEST(FwStream, UnreadingMoreThanTheBufferHoldsSeeks) {
  Stream stream("abcdef\ngh\n", 4);
  EXPECT_EQ(stream.Line(), "abcdef\n|7");
  stream.calls.clear();
  Fw_msg_UnreadBytes(stream.top, &stream.err, 5);
  EXPECT_EQ(stream.calls, (Calls{"seek 2 from 0"}));
  EXPECT_EQ(stream.Line(), "cdef\n|5");
}

TEST(FwStream, UnreadingAtTheEndCountsFromTheEnd) {
  Stream stream("ab", 100);
  EXPECT_EQ(stream.Line(), "ab|2");
  EXPECT_EQ(stream.Position(), 2);
  Fw_msg_UnreadBytes(stream.top, &stream.err, 1);
  EXPECT_EQ(stream.Position(), 1);
}

TEST(FwStream, UnreadingANegativeCountIsReported) {
  Stream stream("ab\n", 100);
  stream.Line();
  ExpectAsserts expected({"must be positive number of bytes to unread"});
  Fw_msg_UnreadBytes(stream.top, &stream.err, -1);
  EXPECT_EQ(stream.Position(), 3);
}

TEST(FwStream, UnreadingPastTheStartIsReported) {
  Stream stream("ab\n", 100);
  stream.Line();
  ExpectAsserts expected({"error after seek"});
  Fw_msg_UnreadBytes(stream.top, &stream.err, 4);
}

TEST(FwStream, FlushingAStreamForReadingDropsItsBuffer) {
  Stream stream("ab\ncd\n", 4);
  EXPECT_EQ(stream.Line(), "ab\n|3");
  EXPECT_EQ(Fw_msg_Flush(stream.top, &stream.err), 0);
  EXPECT_EQ(stream.Position(), 4);
  EXPECT_EQ(stream.Line(), "d\n|2");
}

TEST(FwStream, TheExtentIsThatOfTheStreamBelowAsOneOrZero) {
  Stream stream("abc", 4);
  Vq32x2 extent;
  EXPECT_EQ(Fw_msg_StreamExtent(stream.top, &stream.err, &extent), 1);
  EXPECT_EQ(extent.low, 3u);
  stream.below->fFail = 1;
  EXPECT_EQ(Fw_msg_StreamExtent(stream.top, &stream.err, &extent), 0);
}

// --- Writing ---------------------------------------------------------------------------------

TEST(FwStream, WritesGoBelowWhenTheBufferIsFull) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  EXPECT_EQ(stream.Write("abc"), 3);
  EXPECT_EQ(stream.calls, Calls{});
  EXPECT_EQ(stream.Write("defghij"), 7);
  EXPECT_EQ(stream.calls, (Calls{"write abcd", "write efgh"}));
  EXPECT_EQ(Fw_msg_Flush(stream.top, &stream.err), 2);
  EXPECT_EQ(stream.calls, (Calls{"write abcd", "write efgh", "write ij"}));
  EXPECT_EQ(Fw_msg_Flush(stream.top, &stream.err), 0);
  EXPECT_EQ(stream.content, "abcdefghij");
}

TEST(FwStream, ABufferThatFillsExactlyIsFlushedAtOnce) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  EXPECT_EQ(stream.Write("abcd"), 4);
  EXPECT_EQ(stream.calls, (Calls{"write abcd"}));
}

TEST(FwStream, WritingNothingIsNothing) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  EXPECT_EQ(stream.Write(""), 0);
  EXPECT_EQ(Fw_msg_StreamWrite(stream.top, &stream.err, nullptr, 0), 0);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(Fw_msg_StreamWrite(stream.top, &stream.err, nullptr, 0), 0);
  EXPECT_EQ(stream.calls, Calls{});
}

TEST(FwStream, ALineBufferedWriteKeepsTheTextBehindTheLastLineEnd) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(stream.Write("ab\ncd"), 5);
  EXPECT_EQ(stream.content, "ab\n");
  EXPECT_EQ(Fw_msg_Flush(stream.top, &stream.err), 2);
  EXPECT_EQ(stream.content, "ab\ncd");
}

TEST(FwStream, ALineBufferedWriteEndsLinesWithNewlines) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(stream.Write("a\rb\r\nc\n"), 7);
  EXPECT_EQ(stream.calls, (Calls{"write a\n", "write b\n", "write \n", "write c\n"}));
}

TEST(FwStream, ALineBufferedWriteDoesNotDivideCharacters) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  // "abc" leaves one byte of room, too little for the two of the umlaut.
  EXPECT_EQ(stream.Write("abc\xc3\xa4"
                         "d"),
            6);
  EXPECT_EQ(stream.calls, (Calls{"write abc"}));
  EXPECT_EQ(stream.Write("e\n"), 2);
  EXPECT_EQ(stream.calls, (Calls{"write abc",
                                 "write \xc3\xa4"
                                 "de",
                                 "write \n"}));
}

TEST(FwStream, ALineBufferedWriteLeavesAFullBufferUnflushed) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(stream.Write("abcd"), 4);
  EXPECT_EQ(stream.calls, Calls{});
  EXPECT_EQ(stream.Write("e"), 1);
  EXPECT_EQ(stream.calls, (Calls{"write abcd"}));
}

TEST(FwStream, ACharacterWiderThanTheBufferGoesInPieces) {
  Stream stream("", 1, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(stream.Write("\xe2\x82\xac"
                         "x\n"),
            5);
  EXPECT_EQ(stream.content,
            "\xe2\x82\xac"
            "x\n");
}

TEST(FwStream, BytesThatAreCutInsideACharacterAreWrittenAsTheyAre) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  Fw_msg_SetLineBuffering(stream.top, 1);
  char* bytes = static_cast<char*>(std::malloc(2));  // no terminator behind
  bytes[0] = 'a';
  bytes[1] = '\xc3';
  EXPECT_EQ(Fw_msg_StreamWrite(stream.top, &stream.err, bytes, 2), 2);
  std::free(bytes);
  EXPECT_EQ(Fw_msg_Flush(stream.top, &stream.err), 2);
  EXPECT_EQ(stream.content, "a\xc3");
}

TEST(FwStream, AWriteErrorIsSticky) {
  for (int32 lineBuffered : {0, 1}) {
    Stream stream("", 2, FW_OPEN_WRONLY);
    Fw_msg_SetLineBuffering(stream.top, lineBuffered);
    stream.below->fFail = 1;
    EXPECT_EQ(stream.Write("a\nb"), -1);
    EXPECT_EQ(Fw_msg_IsStreamError(stream.top), 1);
    stream.below->fFail = 0;
    stream.calls.clear();
    EXPECT_EQ(stream.Write("c"), -1);
    EXPECT_EQ(Fw_msg_Flush(stream.top, &stream.err), -1);
    EXPECT_EQ(stream.calls, Calls{});
  }
}

TEST(FwStream, AFlushThatFailsGivesMinusOne) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  stream.Write("a");
  stream.below->fFail = 1;
  EXPECT_EQ(Fw_msg_Flush(stream.top, &stream.err), -1);
  EXPECT_EQ(stream.Seek(0, FW_SEEK_SET), 0);
}

TEST(FwStream, SeekingAStreamForWritingFlushesFirst) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  stream.Write("abc");
  EXPECT_EQ(stream.Seek(1, FW_SEEK_SET), 1);
  EXPECT_EQ(stream.calls, (Calls{"write abc", "seek 1 from 0"}));
  EXPECT_EQ(stream.Position(), 1);
}

TEST(FwStream, ThePositionWhileWritingIsLessWhatIsBuffered) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  stream.Write("abcdef");
  EXPECT_EQ(stream.Position(), 2);  // four written, less the two that are not
}

TEST(FwStream, DestroyingAStreamForWritingFlushes) {
  std::string content;
  {
    Stream stream("", 100, FW_OPEN_WRONLY);
    stream.Write("abc");
    EXPECT_EQ(Fw_msg_StreamDestroy(stream.top, &stream.err, 1), 1);
    stream.top = nullptr;
    content = stream.content;
  }
  EXPECT_EQ(content, "abc");
}

TEST(FwStream, AFlushThatFailsAtTheEndDoesNotChangeTheResult) {
  Stream stream("", 100, FW_OPEN_WRONLY);
  stream.Write("abc");
  stream.below->fFail = 1;
  EXPECT_EQ(Fw_msg_StreamDestroy(stream.top, &stream.err, 1), 1);
  stream.top = nullptr;
}

TEST(FwStream, WritingFromInsideAWriteIsReported) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  stream.top->reentrancy = 1;
  {
    ExpectAsserts expected({"reentrancy  in StreamWrite"});
    EXPECT_EQ(stream.Write("a"), -1);
  }
  EXPECT_EQ(Fw_msg_IsStreamError(stream.top), 1);
  EXPECT_EQ(stream.top->reentrancy, 1);
}

TEST(FwStream, WritingEndsWithTheGuardDown) {
  Stream stream("", 4, FW_OPEN_WRONLY);
  stream.Write("a");
  EXPECT_EQ(stream.top->reentrancy, 0);
}

TEST(FwStream, NullStreamsAreReported) {
  FwErrorState err;
  FwStrRecord record;
  FwStrRecordOpen(&record);
  ExpectAsserts expected(
      {"NULL Object passed to Fw_msg_Write", "NULL Object passed to Fw_msg_Write",
       "NULL Object passed to Fw_msg_StreamDestroy", "NULL Object passed to Fw_msg_StreamDestroy"});
  EXPECT_EQ(Fw_msg_Write(nullptr, &err, &record), -1);
  using WriteFn = int32(FwObj*, FwErrorState*, FwStrRecord*);
  EXPECT_EQ(FwClassFindMethodAs<WriteFn>(_Fw_msg_Write_Handle, &FwStreamBufferedClass)(
                nullptr, &err, &record),
            -1);
  EXPECT_EQ(Fw_msg_StreamDestroy(nullptr, &err, 1), 0);
  EXPECT_EQ(FwClassFindMethodAs<Fw_msg_StreamDestroy_Fn>(_Fw_msg_StreamDestroy_Handle,
                                                         &FwStreamBufferedClass)(nullptr, &err, 1),
            0);
  FwStrRecordAbandon(&record);
}

// --- Making and ending -----------------------------------------------------------------------

TEST(FwStream, ABufferedStreamKnowsWhatIsBelow) {
  Stream stream("", 4);
  EXPECT_EQ(Fw_msg_GetUnderlyingStream(stream.top), stream.below);
  EXPECT_EQ(stream.top->openFlags, FW_OPEN_RDONLY);
  EXPECT_EQ(stream.top->nBufferSizeInBytes, 4);
  EXPECT_EQ(stream.top->lineBuffered, 0);
  EXPECT_EQ(stream.Position(), 0);
}

TEST(FwStream, ReadingBytesOfABufferedStreamIsProhibited) {
  Stream stream("abc", 4);
  char buffer[4];
  ExpectAsserts expected({"Class prohibits message"});
  EXPECT_EQ(Fw_msg_StreamRead(stream.top, &stream.err, buffer, 3), -1);
}

TEST(FwStream, TheAbstractClassesProhibitTheTransferMessages) {
  for (const FwClassRecord* pClass : {&FwStreamCoreClass, &FwStreamIOClass}) {
    for (FwMessageID message : {_Fw_msg_StreamRead_Handle, _Fw_msg_StreamWrite_Handle,
                                _Fw_msg_StreamSeek_Handle, _Fw_msg_StreamExtent_Handle}) {
      ExpectAsserts expected({"Class prohibits message"});
      EXPECT_EQ(FwClassFindMethod(message, pClass), nullptr);
    }
  }
}

TEST(FwStream, ABufferedStreamWithoutBufferOrStreamBelowIsRefused) {
  Stream stream("", 4);
  for (int32 nBufferSize : {0, -1}) {
    FwErrorState err;
    EXPECT_EQ(Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, nBufferSize, stream.below),
              nullptr);
    EXPECT_EQ(err.pError, fwErrorParameter);
    EXPECT_EQ(Detail(err), "Stream");
    FwErrorClear(&err);
  }
  FwErrorState err;
  EXPECT_EQ(Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, nullptr), nullptr);
  EXPECT_EQ(FwErrorClear(&err), fwErrorParameter);
}

TEST(FwStream, OtherOpenFlagsThanBelowAreRefused) {
  Stream stream("", 4);
  FwErrorState err;
  EXPECT_EQ(Fw_msg_CreateStreamBuffered(&err, FW_OPEN_WRONLY, 4, stream.below), nullptr);
  EXPECT_EQ(err.pError, fwErrorNumericValue);
  EXPECT_EQ(Detail(err), "Stream");
  FwErrorClear(&err);
  EXPECT_EQ(Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY | FW_OPEN_CREAT, 4, stream.below),
            nullptr);
  EXPECT_EQ(FwErrorClear(&err), fwErrorNumericValue);
}

TEST(FwStream, AStreamForBothDirectionsIsRefused) {
  Stream stream("", 4);
  FwErrorState err;
  ExpectAsserts expected({"Cannot support readable and writable streams for now"});
  EXPECT_EQ(Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDWR, 4, stream.below), nullptr);
  EXPECT_EQ(err.pError, fwErrorNumericValue);
  EXPECT_EQ(Detail(err), "Stream");
  FwErrorClear(&err);
}

TEST(FwStream, AStreamBelowMustBeAStreamInGoodOrder) {
  FwErrorState err;
  FwObj* pPlain = Fw_msg_Create(nullptr, &FwObjectClass);
  EXPECT_EQ(Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, pPlain), nullptr);
  EXPECT_EQ(err.pError, fwErrorPointer);
  EXPECT_EQ(Detail(err), "Stream");
  FwErrorClear(&err);
  Fw_msg_Destroy(pPlain);

  Stream stream("", 4);
  stream.below->fEOF = 1;
  EXPECT_EQ(Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, stream.below), nullptr);
  EXPECT_EQ(FwErrorClear(&err), fwErrorPointer);
  stream.below->fEOF = 0;
  stream.below->fError = 1;
  EXPECT_EQ(Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, stream.below), nullptr);
  EXPECT_EQ(FwErrorClear(&err), fwErrorPointer);
}

TEST(FwStream, AStreamNeedsAnErrorState) {
  Stream stream("", 4);
  ExpectAsserts expected({"Cannot have NULL ErrorState", "Cannot use NULL ErrorState"});
  EXPECT_EQ(Fw_msg_CreateStreamBuffered(nullptr, FW_OPEN_RDONLY, 4, stream.below), nullptr);
  EXPECT_EQ(
      Fw_msg_CreateStreamIOFile(&FwStreamIOFileClass, nullptr, FW_OPEN_RDONLY, FWT("/dev/null")),
      nullptr);
}

TEST(FwStream, MemoryOfTheCallersGoesWithARefusal) {
  // Nothing is left to free: a second release would be reported.
  FwErrorState err;
  ExpectAsserts expected({"Cannot support readable and writable streams for now"});
  FwObj* pObj = FwClassAlloc(&FwStreamCoreClass, ALLOC_MUST_SUCCEED);
  auto* create = FwClassFindMethodAs<Fw_msg_CreateStreamCore_Fn>(_Fw_msg_CreateStreamCore_Handle,
                                                                 &FwStreamCoreClass);
  EXPECT_EQ(create(pObj, &FwStreamCoreClass, &err, FW_OPEN_RDWR, nullptr), nullptr);
  EXPECT_EQ(FwErrorClear(&err), fwErrorNumericValue);
}

TEST(FwStream, ACoreIsMadeOnTheHeapOrInMemoryGiven) {
  FwErrorState err;
  auto* create = FwClassFindMethodAs<Fw_msg_CreateStreamCore_Fn>(_Fw_msg_CreateStreamCore_Handle,
                                                                 &FwStreamCoreClass);
  FwObj* pObj = create(nullptr, &FwStreamCoreClass, &err, FW_OPEN_RDONLY, nullptr);
  ASSERT_NE(pObj, nullptr);
  EXPECT_EQ(FwClassOf(pObj), &FwStreamCoreClass);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(pObj), 0);
  EXPECT_EQ(Fw_msg_IsStreamError(pObj), 0);
  EXPECT_EQ(Fw_msg_StreamDestroy(pObj, &err, 1), 1);

  void* memory = FwMemAlloc(sizeof(FwStreamCore), ALLOC_MUST_SUCCEED | INIT_NONE);
  std::memset(memory, 0x55, sizeof(FwStreamCore));
  ASSERT_EQ(create(memory, &FwStreamCoreClass, &err, FW_OPEN_WRONLY, nullptr), memory);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(memory), 0);
  EXPECT_EQ(Fw_msg_IsStreamError(memory), 0);
  EXPECT_EQ(static_cast<FwStreamCore*>(memory)->reentrancy, 0);
  EXPECT_EQ(static_cast<FwStreamCore*>(memory)->pUnderlyingStream, nullptr);
  EXPECT_EQ(Fw_msg_StreamDestroy(memory, &err, 0), 1);
}

TEST(FwStream, ExhaustedMemoryForTheBufferIsAnError) {
  Stream stream("", 4);
  FwErrorState err;
  // The instance is had; the buffer is not, nor is a copy of the detail.
  err.fAlloc = 0;
  FailAllocationsAfter failing(1);
  EXPECT_EQ(Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 4, stream.below), nullptr);
  EXPECT_EQ(FwErrorClear(&err), fwErrorNoMemory);
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
  EXPECT_EQ(Fw_msg_StreamDestroy(stream.top, &stream.err, 0), 1);
  stream.top = nullptr;
  char buffer[2];
  EXPECT_EQ(Fw_msg_StreamRead(stream.below, &stream.err, buffer, 2), 2);
  EXPECT_EQ(Fw_msg_StreamDestroy(stream.below, &stream.err, 0), 1);
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
  ASSERT_NE(pFile, nullptr);
  FwObj* pStream = Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 0x2000, pFile);
  ASSERT_NE(pStream, nullptr);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(Fw_msg_ReadLine(pStream, &err, &record), 4);
  EXPECT_EQ(Fw_msg_ReadLine(pStream, &err, &record), 4);
  EXPECT_EQ(Fw_msg_ReadLine(pStream, &err, &record), 5);
  EXPECT_EQ(Fw_msg_ReadLine(pStream, &err, &record), 0);
  EXPECT_STREQ(FWC(record.pbz), "one\ntwo\nthree");
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(pStream), 1);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(pFile), 1);

  // Back to the start: the file is not at its end any more, either.
  Vq32x2 position;
  EXPECT_EQ(Fw_msg_StreamSeek(pStream, &err, &position, FW_SEEK_SET), 1);
  FwStrRecordShorten(&record, 0);
  EXPECT_EQ(Fw_msg_ReadLine(pStream, &err, &record), 4);
  EXPECT_STREQ(FWC(record.pbz), "one\n");
  FwStrRecordAbandon(&record);
  EXPECT_EQ(Fw_msg_StreamDestroy(pStream, &err, 1), 1);
  EXPECT_EQ(err.pError, nullptr);
}

TEST(FwStream, AFileIsWrittenThroughTheWholeStack) {
  TemporaryTree tree;
  const std::string path = tree / "f";
  FwErrorState err;
  const uint32 flags = FW_OPEN_WRONLY | FW_OPEN_CREAT;
  FwObj* pFile = OpenFile(&err, path, flags);
  ASSERT_NE(pFile, nullptr);
  FwObj* pStream = Fw_msg_CreateStreamBuffered(&err, flags, 4, pFile);
  ASSERT_NE(pStream, nullptr);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("hello, world\n"));
  EXPECT_EQ(Fw_msg_Write(pStream, &err, &record), 13);
  FwStrRecordAbandon(&record);
  EXPECT_EQ(ReadFile(path), "hello, world");
  EXPECT_EQ(Fw_msg_StreamDestroy(pStream, &err, 1), 1);
  EXPECT_EQ(ReadFile(path), "hello, world\n");
}

TEST(FwStream, AMissingFileMakesNoStream) {
  TemporaryTree tree;
  FwErrorState err;
  EXPECT_EQ(OpenFile(&err, tree / "missing", FW_OPEN_RDONLY), nullptr);
  EXPECT_EQ(FwErrorClear(&err), fwErrorNonExistent);
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
  ASSERT_NE(pFile, nullptr);
  char buffer[8];
  EXPECT_EQ(Fw_msg_StreamRead(pFile, &err, buffer, 8), 3);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(pFile), 0);  // a short count is no end
  EXPECT_EQ(Fw_msg_StreamRead(pFile, &err, buffer, 8), 0);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(pFile), 1);
  Vq32x2 position{1, 0};
  EXPECT_EQ(Fw_msg_StreamSeek(pFile, &err, &position, FW_SEEK_SET), 1);
  EXPECT_EQ(Fw_msg_StreamRead(pFile, &err, buffer, 8), 0);
  position = {};
  EXPECT_EQ(Fw_msg_StreamSeek(pFile, &err, &position, FW_SEEK_SET), 1);
  EXPECT_EQ(Fw_msg_IsStreamAtEOF(pFile), 0);
  EXPECT_EQ(Fw_msg_StreamRead(pFile, &err, buffer, 2), 2);
  Vq32x2 extent;
  EXPECT_EQ(Fw_msg_StreamExtent(pFile, &err, &extent), 1);
  EXPECT_EQ(extent.low, 3u);
  EXPECT_EQ(Fw_msg_StreamDestroy(pFile, &err, 1), 1);
}

TEST(FwStream, ASeekOfAFileThatFailsIsAStickyError) {
  TemporaryTree tree;
  const std::string path = tree.Write("f", "abc");
  FwErrorState err;
  FwObj* pFile = OpenFile(&err, path, FW_OPEN_RDONLY);
  ASSERT_NE(pFile, nullptr);
  Vq32x2 position{0xffffffff, -1};
  EXPECT_EQ(Fw_msg_StreamSeek(pFile, &err, &position, FW_SEEK_SET), 0);
  EXPECT_EQ(FwErrorClear(&err), fwErrorNumericRange);
  EXPECT_EQ(Fw_msg_IsStreamError(pFile), 1);
  char buffer[1];
  EXPECT_EQ(Fw_msg_StreamRead(pFile, &err, buffer, 1), -1);
  EXPECT_EQ(Fw_msg_StreamWrite(pFile, &err, buffer, 1), -1);
  EXPECT_EQ(err.pError, nullptr);
  EXPECT_EQ(Fw_msg_StreamDestroy(pFile, &err, 1), 1);
}

TEST(FwStream, ReadingAndWritingAFileTheWrongWayIsAnError) {
  TemporaryTree tree;
  const std::string path = tree.Write("f", "abc");
  char buffer[1] = {'x'};
  FwErrorState err;
  FwObj* pFile = OpenFile(&err, path, FW_OPEN_RDONLY);
  ASSERT_NE(pFile, nullptr);
  EXPECT_EQ(Fw_msg_StreamWrite(pFile, &err, buffer, 0), 0);
  EXPECT_EQ(Fw_msg_StreamWrite(pFile, &err, buffer, 1), -1);
  EXPECT_EQ(FwErrorClear(&err), fwErrorParameter);  // EBADF
  EXPECT_EQ(Fw_msg_IsStreamError(pFile), 1);
  EXPECT_EQ(Fw_msg_StreamDestroy(pFile, &err, 1), 1);

  pFile = OpenFile(&err, path, FW_OPEN_WRONLY);
  ASSERT_NE(pFile, nullptr);
  EXPECT_EQ(Fw_msg_StreamRead(pFile, &err, buffer, 1), -1);
  EXPECT_EQ(FwErrorClear(&err), fwErrorParameter);
  EXPECT_EQ(Fw_msg_StreamDestroy(pFile, &err, 1), 1);
}

TEST(FwStream, AFileStreamWithoutAFileIsReported) {
  TemporaryTree tree;
  const std::string path = tree.Write("f", "abc");
  FwErrorState err;
  FwObj* pFile = OpenFile(&err, path, FW_OPEN_RDONLY);
  ASSERT_NE(pFile, nullptr);
  auto* pStream = static_cast<FwStreamIOFile*>(pFile);
  FwFileClose(&err, pStream->handle);
  pStream->handle = FW_FILE_INVALID;
  char buffer[1];
  Vq32x2 position;
  ExpectAsserts expected(
      {"stream is inconsistant", "stream is inconsistant", "stream is inconsistant"});
  EXPECT_EQ(Fw_msg_StreamRead(pFile, &err, buffer, 1), -1);
  EXPECT_EQ(FwErrorClear(&err), fwErrorNumericRange);
  pStream->fError = 0;
  EXPECT_EQ(Fw_msg_StreamWrite(pFile, &err, buffer, 1), -1);
  EXPECT_EQ(FwErrorClear(&err), fwErrorNumericRange);
  pStream->fError = 0;
  EXPECT_EQ(Fw_msg_StreamSeek(pFile, &err, &position, FW_SEEK_SET), 0);
  EXPECT_EQ(FwErrorClear(&err), fwErrorNumericRange);
  EXPECT_EQ(Fw_msg_StreamDestroy(pFile, &err, 1), 0);
  EXPECT_EQ(FwErrorClear(&err), fwErrorNumericRange);
}
