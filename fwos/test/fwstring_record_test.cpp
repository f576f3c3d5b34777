#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

#include "blocks.h"
#include "fcstring.h"
#include "fwmem.h"
#include "fwstring.h"
#include "recorder.h"

namespace {

std::string Text(FwTextString ptbz) {
  return ptbz != nullptr ? FWC(ptbz) : "(null)";
}

// A growing record, abandoned at the end of the scope.
class Growing {
 public:
  Growing() { FwStrRecordOpen(&record_); }
  explicit Growing(const std::string& text) : Growing() {
    FwStrPutRawString(&record_, FWT(text.c_str()));
  }
  ~Growing() { FwStrRecordAbandon(&record_); }
  FwStrRecord* get() { return &record_; }
  FwStrRecord* operator->() { return &record_; }
  std::string text() const { return Text(record_.pbz); }
  uint32 capacity() const { return static_cast<uint32>(record_.pbLast - record_.pbz) + 1; }

 private:
  FwStrRecord record_;
};

// A fixed record over a buffer of its own, with guard bytes behind it.
class Fixed {
 public:
  explicit Fixed(uint32 cbSize, const std::string& initial = "") : cbSize_(cbSize) {
    std::memset(buffer_, 0x5A, sizeof buffer_);
    std::memcpy(buffer_, initial.c_str(), initial.size() + 1);
    FwStrRecordOpenOn(&record_, buffer_, cbSize);
  }
  ~Fixed() {
    for (uint32 i = cbSize_; i < sizeof buffer_; i++)
      EXPECT_EQ(0x5A, buffer_[i]) << "byte " << i << " behind the buffer was written";
  }
  FwStrRecord* get() { return &record_; }
  FwStrRecord* operator->() { return &record_; }
  FwByte* buffer() { return buffer_; }
  std::string text() const { return Text(record_.pbz); }

 private:
  uint32 cbSize_;
  FwByte buffer_[256];
  FwStrRecord record_;
};

const char kBadlyTerminated[] = "Badly terminated string";
const char kMalformed[] = "Badly encoded UTF-8 character (malformed header in leading byte)";

}  // namespace

TEST(FwStrRecord, ADeclaredRecordIsClosed) {
  FwStrRecord record;
  EXPECT_EQ(nullptr, record.pbz);
  FwStrRecordAbandon(&record);
}

TEST(FwStrRecord, OpenedAndClosedAtOnceItGivesAOneByteBlock) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(31, record.pbLast - record.pbz);
  EXPECT_EQ(record.pbz, record.pbTerminator);
  EXPECT_EQ(0, *record.pbTerminator);
  EXPECT_EQ(0, record.fFixed);
  EXPECT_EQ(0, record.fTruncated);
  FwByte* const pbOld = record.pbz;
  FwString pbz = FwStrRecordClose(&record);
  EXPECT_EQ(nullptr, record.pbz);
  EXPECT_NE(pbOld, pbz);
  EXPECT_EQ("", Text(pbz));
  FwMemFreeSize(pbz, 1);
}

TEST(FwStrRecord, CloseReturnsAnExactlyFilledBufferAsItIs) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwByte* const pbz = record.pbz;
  EXPECT_EQ(31u, FwStrPutTextString(&record, FWT("0123456789012345678901234567890")));
  EXPECT_EQ(pbz, record.pbz);
  FwString pbzClosed = FwStrRecordClose(&record);
  EXPECT_EQ(pbz, pbzClosed);
  FwMemFreeSize(pbzClosed, 32);
}

TEST(FwStrRecord, CloseReturnsABlockOfLengthPlusOne) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("seven.."));
  FwByte* const pbz = record.pbz;
  FwString pbzClosed = FwStrRecordClose(&record);
  EXPECT_NE(pbz, pbzClosed);
  EXPECT_EQ("seven..", Text(pbzClosed));
  FwMemFreeSize(pbzClosed, 8);
}

TEST(FwStrRecord, CloseOfAFixedRecordReturnsTheCallersBuffer) {
  Fixed fixed(10, "abc");
  EXPECT_EQ(fixed.buffer(), FwStrRecordClose(fixed.get()));
  EXPECT_EQ(nullptr, fixed->pbz);
}

TEST(FwStrRecord, AbandonFreesAGrowingBufferOnly) {
  CountedBlocks blocks;
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(1, blocks.live());
  FwStrRecordAbandon(&record);
  EXPECT_EQ(0, blocks.live());
  EXPECT_EQ(nullptr, record.pbz);
  FwStrRecordAbandon(&record);
  EXPECT_EQ(0, blocks.live());

  Fixed fixed(10, "abc");
  FwStrRecordAbandon(fixed.get());
  EXPECT_EQ(0, blocks.live());
  EXPECT_EQ(nullptr, fixed->pbz);
}

TEST(FwStrRecord, OpenSizeTakesTheSize) {
  FwStrRecord record;
  FwStrRecordOpenSize(&record, 100);
  EXPECT_EQ(99, record.pbLast - record.pbz);
  FwStrRecordAbandon(&record);
  ExpectAsserts expected({"Zero initial size"});
  FwStrRecordOpenSize(&record, 0);
  EXPECT_EQ(record.pbz, record.pbLast);
  EXPECT_EQ("", Text(record.pbz));
  FwStrRecordAbandon(&record);
}

TEST(FwStrRecord, OpenOnAppendsToWhatTheBufferHolds) {
  Fixed fixed(10, "abc");
  EXPECT_EQ(1, fixed->fFixed);
  EXPECT_EQ(9, fixed->pbLast - fixed->pbz);
  EXPECT_EQ(3, fixed->pbTerminator - fixed->pbz);
  EXPECT_EQ(2u, FwStrPutTextString(fixed.get(), FWT("de")));
  EXPECT_EQ("abcde", fixed.text());
}

TEST(FwStrRecord, OpenOnWithoutATerminatorEndsOnTheLastByte) {
  FwByte buffer[4] = {'a', 'b', 'c', 'd'};
  FwStrRecord record;
  FwStrRecordOpenOn(&record, buffer, 4);
  EXPECT_EQ(buffer + 3, record.pbTerminator);
  EXPECT_EQ('d', buffer[3]);
}

TEST(FwStrRecord, OpenOnChecksTheContent) {
  FwByte buffer[8] = "caf\xC3";
  FwStrRecord record;
  {
    ExpectAsserts expected({kBadlyTerminated});
    FwStrRecordOpenOn(&record, buffer, 8);
  }
  {
    ExpectAsserts expected({"Can't have 0 size", "No initial byte string", "No record to Init"});
    FwStrRecordOpenOn(&record, buffer, 0);
    EXPECT_EQ(nullptr, record.pbz);
    FwStrRecordOpenOn(&record, nullptr, 8);
    EXPECT_EQ(nullptr, record.pbz);
    FwStrRecordOpenOn(nullptr, buffer, 8);
  }
}

// What is known of the part that was cut off no longer counts.
TEST(FwStrRecord, ATextThatItsOwnerHasCutInPlaceIsCheckedFromItsBeginning) {
  Growing growing("abcdef");
  EXPECT_EQ(1u, FwStrPutTextString(growing.get(), FWT("g")));
  growing->pbTerminator = growing->pbz + 1;
  *growing->pbTerminator = 0;
  ExpectAsserts expected({kBadlyTerminated});
  FwStrPutTextString(growing.get(), FWT("\xE2"));
}

// --- Growth ---

TEST(FwStrRecordGrowth, TheCapacityIsAPowerOfTwoAboveTwiceTheRequest) {
  struct Row {
    size_t request, capacity;
  };
  for (const Row& row : std::initializer_list<Row>{{0, 32},
                                                   {1, 32},
                                                   {15, 32},
                                                   {16, 64},
                                                   {31, 64},
                                                   {32, 128},
                                                   {33, 128},
                                                   {63, 128},
                                                   {64, 256},
                                                   {0x3FFFFFFF, 0x80000000},
                                                   {0x40000000, 0x100000000},
                                                   {0xFFFFFFFF, 0x200000000}})
    EXPECT_EQ(row.capacity, FcStrGetGrowBufferSize(row.request)) << row.request;
}

TEST(FwStrRecordGrowth, ACharacterBeyondTheBufferRequestsCapacityPlusItsBytes) {
  Growing growing("0123456789012345678901234567890");
  EXPECT_EQ(32u, growing.capacity());
  EXPECT_EQ(1u, FwStrPutTextCharacter(growing.get(), '1'));
  EXPECT_EQ(128u, growing.capacity());  // 31 + 1 + 1 requested
  EXPECT_EQ("01234567890123456789012345678901", growing.text());
}

TEST(FwStrRecordGrowth, ARawByteRequestsAsMuch) {
  Growing growing("0123456789012345678901234567890");
  EXPECT_EQ(1u, FwStrPutRawByte(growing.get(), 'x'));
  EXPECT_EQ(128u, growing.capacity());
}

TEST(FwStrRecordGrowth, StringsCountTheirTerminatorInTheRequest) {
  struct Row {
    uint32 cbLength, cbCapacity;
  };
  // The request is 31 + length + 1 + 1.
  for (const Row& row : std::initializer_list<Row>{{31, 32}, {32, 256}, {95, 512}}) {
    SCOPED_TRACE(row.cbLength);
    const std::string text(row.cbLength, 'x');
    Growing string;
    EXPECT_EQ(row.cbLength, FwStrPutTextString(string.get(), FWT(text.c_str())));
    EXPECT_EQ(row.cbCapacity, string.capacity()) << row.cbLength;
    Growing counted;
    EXPECT_EQ(row.cbLength, FwStrNPutTextString(counted.get(), FWT(text.c_str()), row.cbLength));
    EXPECT_EQ(row.cbCapacity, counted.capacity()) << row.cbLength;
    Growing raw;
    EXPECT_EQ(row.cbLength, FwStrPutRawString(raw.get(), FWT(text.c_str())));
    EXPECT_EQ(row.cbCapacity, raw.capacity()) << row.cbLength;
    Growing raw_counted;
    EXPECT_EQ(row.cbLength, FwStrNPutRawString(raw_counted.get(), FWT(text.c_str()), row.cbLength));
    EXPECT_EQ(row.cbCapacity, raw_counted.capacity()) << row.cbLength;
    EXPECT_EQ(text, string.text());
    EXPECT_EQ(text, counted.text());
    EXPECT_EQ(text, raw.text());
    EXPECT_EQ(text, raw_counted.text());
  }
}

TEST(FwStrRecordGrowth, ResizeToThePresentCapacityDoesNothing) {
  Growing growing("abc");
  FwByte* const pbz = growing->pbz;
  FcStrRecordResize(growing.get(), 32);
  EXPECT_EQ(pbz, growing->pbz);
}

TEST(FwStrRecordGrowth, ResizeToLessTakesExactlyThatAndCutsBetweenCharacters) {
  Growing growing("ab\xC3\xA9");
  FcStrRecordResize(growing.get(), 5);
  EXPECT_EQ(5u, growing.capacity());
  EXPECT_EQ("ab\xC3\xA9", growing.text());
  FcStrRecordResize(growing.get(), 4);
  EXPECT_EQ(4u, growing.capacity());
  EXPECT_EQ("ab", growing.text());
  FcStrRecordResize(growing.get(), 1);
  EXPECT_EQ("", growing.text());
  EXPECT_EQ(growing->pbLast, growing->pbTerminator);
}

TEST(FwStrRecordGrowth, ResizeOfAFixedRecordAndToNothingAssert) {
  Fixed fixed(10, "abc");
  Growing growing("abc");
  ExpectAsserts expected({"Can't resize fixed record", "Never resize to 0"});
  FcStrRecordResize(fixed.get(), 20);
  EXPECT_EQ(9, fixed->pbLast - fixed->pbz);
  FcStrRecordResize(growing.get(), 0);
  EXPECT_EQ(32u, growing.capacity());
}

TEST(FwStrRecordGrowth, ALostTerminatorAsserts) {
  Growing growing("abc");
  *growing->pbTerminator = 'x';
  ExpectAsserts expected({"Bad old terminator"});
  FcStrRecordResize(growing.get(), 64);
  EXPECT_EQ("abc", growing.text());
}

TEST(FwStrRecordGrowth, ExhaustionEndsTheProgram) {
  EXPECT_EXIT(
      {
        CountedBlocks blocks;
        blocks.FailAt(0);
        FwStrRecord record;
        FwStrRecordOpen(&record);
      },
      testing::ExitedWithCode(1), "Run out of memory");
  EXPECT_EXIT(
      {
        Growing growing("0123456789012345678901234567890");
        CountedBlocks blocks;
        blocks.FailAt(0);
        FwStrPutTextCharacter(growing.get(), 'x');
      },
      testing::ExitedWithCode(1), "Run out of memory");
  EXPECT_EXIT(
      {
        Growing growing;
        FcStrRecordResize(growing.get(), 0x80000000u);
      },
      testing::ExitedWithCode(1), "Run out of memory");
}

// --- Text puts ---

TEST(FwStrPut, ACharacterIsEncoded) {
  Growing growing;
  EXPECT_EQ(1u, FwStrPutTextCharacter(growing.get(), 'a'));
  EXPECT_EQ(2u, FwStrPutTextCharacter(growing.get(), 0xE9));
  EXPECT_EQ(3u, FwStrPutTextCharacter(growing.get(), 0x20AC));
  EXPECT_EQ(4u, FwStrPutTextCharacter(growing.get(), 0x1F600));
  EXPECT_EQ(6u, FwStrPutTextCharacter(growing.get(), 0x7FFFFFFF));
  EXPECT_EQ("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xFD\xBF\xBF\xBF\xBF\xBF", growing.text());
}

TEST(FwStrPut, AZeroCharacterAssertsAndAddsNothing) {
  Growing growing;
  ExpectAsserts expected({"Attempt to insert zero text character"});
  EXPECT_EQ(0u, FwStrPutTextCharacter(growing.get(), 0));
  EXPECT_EQ("", growing.text());
}

TEST(FwStrPut, ABadCharacterGoesBackAsItsByte) {
  Growing growing;
  FwTextByte* ptb = FWT("\x80\xFE");
  {
    ExpectAsserts expected({kMalformed, kMalformed});
    for (FwTextCharacter tc; (tc = FwStrGetTextCharacter(&ptb)) != 0;)
      EXPECT_EQ(1u, FwStrPutTextCharacter(growing.get(), tc));
  }
  EXPECT_EQ("\x80\xFE", growing.text());
}

TEST(FwStrPut, AFixedRecordRefusesACharacterAndTakesAShorterOne) {
  // Three bytes, of which the terminator needs one.
  Fixed fixed(3);
  EXPECT_EQ(0u, FwStrPutTextCharacter(fixed.get(), 0x20AC));
  EXPECT_EQ(0, fixed->fTruncated);
  EXPECT_EQ(1u, FwStrPutTextCharacter(fixed.get(), 'a'));
  EXPECT_EQ(0, fixed->fTruncated);
  EXPECT_EQ("a", fixed.text());
}

TEST(FwStrPut, AFixedRecordSkipsWhatDoesNotFitAndGoesOn) {
  Fixed fixed(5, "x");
  EXPECT_EQ(3u, FwStrPutTextString(fixed.get(), FWT("a\xE2\x82\xAC"
                                                    "bc")));
  EXPECT_EQ("xabc", fixed.text());
  EXPECT_EQ(0, fixed->fTruncated);
}

TEST(FwStrPut, ACountedTextEndsAtTheCountOrAtAZero) {
  Growing growing;
  EXPECT_EQ(3u, FwStrNPutTextString(growing.get(), FWT("abcdef"), 3));
  EXPECT_EQ(2u, FwStrNPutTextString(growing.get(), FWT("gh\0ij"), 5));
  EXPECT_EQ(0u, FwStrNPutTextString(growing.get(), FWT("kl"), 0));
  EXPECT_EQ("abcgh", growing.text());
}

TEST(FwStrPut, ACountedTextNeedsNoTerminator) {
  std::string source = "abcd";
  FwByte* exact = static_cast<FwByte*>(std::malloc(4));
  std::memcpy(exact, source.data(), 4);
  Growing growing;
  EXPECT_EQ(4u, FwStrNPutTextString(growing.get(), exact, 4));
  EXPECT_EQ("abcd", growing.text());
  Fixed fixed(3);
  EXPECT_EQ(2u, FwStrNPutTextString(fixed.get(), exact, 4));
  EXPECT_EQ("ab", fixed.text());
  std::free(exact);
}

TEST(FwStrPut, ACountedTextOnAFixedRecordStopsBeforeTheCharacterThatPassesTheCount) {
  Fixed fixed(4);
  // The euro sign begins within the count and ends behind it; the room is short for "abcd" too.
  EXPECT_EQ(3u, FwStrNPutTextString(fixed.get(), FWT("abc\xE2\x82\xAC"), 5));
  EXPECT_EQ("abc", fixed.text());
  Fixed other(3);
  EXPECT_EQ(2u, FwStrNPutTextString(other.get(), FWT("\xC3\xA9z\xC3\xA9"), 5));
  EXPECT_EQ("\xC3\xA9", other.text());
}

TEST(FwStrPut, ABadCountAsserts) {
  Growing growing;
  ExpectAsserts expected({"Bad cbLength", "Bad cbLength"});
  EXPECT_EQ(0u, FwStrNPutTextString(growing.get(), FWT("abc"), 0x7FFFFFFF));
  EXPECT_EQ(0u, FwStrNPutTextString(growing.get(), FWT("abc"), 0xFFFFFFFF));
  EXPECT_EQ("", growing.text());
}

TEST(FwStrPut, ATextCutInsideACharacterIsPutAndAsserts) {
  Growing growing;
  {
    ExpectAsserts expected({kBadlyTerminated, kBadlyTerminated});
    EXPECT_EQ(4u, FwStrPutTextString(growing.get(), FWT("caf\xE2")));
    EXPECT_EQ(1u, FwStrPutTextString(growing.get(), FWT("\x82")));
  }
  // The third byte completes the character: the string is whole again.
  EXPECT_EQ(1u, FwStrPutRawByte(growing.get(), 0xAC));
  EXPECT_EQ(1u, FwStrPutTextString(growing.get(), FWT("!")));
  EXPECT_EQ("caf\xE2\x82\xAC!", growing.text());
  ExpectAsserts expected({kBadlyTerminated});
  EXPECT_EQ(3u, FwStrNPutTextString(growing.get(), FWT("a\xE2\x82\xAC"), 3));
}

TEST(FwStrPut, TheCheckCoversWhatARawPutLeft) {
  Growing growing;
  FwStrPutTextString(growing.get(), FWT("abc"));
  EXPECT_EQ(1u, FwStrPutRawByte(growing.get(), 0xE2));
  {
    ExpectAsserts expected({kBadlyTerminated});
    FwStrPutTextString(growing.get(), FWT("d"));
  }
  // Followers aren't tested, so E2 64 65 is one character.
  FwStrPutTextString(growing.get(), FWT("e"));
  EXPECT_EQ(
      "abc\xE2"
      "de",
      growing.text());
}

TEST(FwStrPut, TheCheckFindsItsWayAfterTheBufferWasChangedInPlace) {
  Growing growing("xxx");
  FwStrPutTextString(growing.get(), FWT("y"));
  // Four bytes are known to be whole; now the fourth stands inside a character.
  std::memcpy(growing->pbz, "ab\xE2\x82\xAC", 6);
  growing->pbTerminator = growing->pbz + 5;
  EXPECT_EQ(1u, FwStrPutTextString(growing.get(), FWT("z")));
  growing->pbTerminator = growing->pbz;
  *growing->pbz = 0;
  EXPECT_EQ(1u, FwStrPutTextString(growing.get(), FWT("z")));
  EXPECT_EQ("z", growing.text());
}

// What the check knows already must never change its answer: it is compared with a check of the
// whole buffer after each piece.
TEST(FwStrPut, TheCheckAnswersAsIfTheWholeBufferWasDecoded) {
  const char* const pieces[] = {"a",        "bc",   "\xC3\xA9", "\xC3", "\xA9",
                                "\xE2\x82", "\xF6", "\x80",     "",     "\xE2\x82\xAC"};
  uint32 random = 1;
  for (int round = 0; round < 400; round++) {
    Growing growing;
    for (int i = 0; i < 12; i++) {
      random = random * 1664525 + 1013904223;
      const char* piece = pieces[(random >> 16) % std::size(pieces)];
      const bool raw = (random >> 28) % 4 == 0;
      CollectReports reports;
      if (raw) {
        FwStrPutRawString(growing.get(), FWT(piece));
        continue;
      }
      FwStrPutTextString(growing.get(), FWT(piece));
      const bool complained =
          std::count(reports.asserts().begin(), reports.asserts().end(), kBadlyTerminated) > 0;
      EXPECT_EQ(!complained, fFcStrWellTerminated(growing->pbz, nullptr) != 0) << growing.text();
    }
  }
}

// --- Raw puts ---

TEST(FwStrPutRaw, BytesAreNotChecked) {
  Growing growing;
  EXPECT_EQ(3u, FwStrPutRawString(growing.get(), FWT("\x80\xFF\xE2")));
  EXPECT_EQ(1u, FwStrPutRawByte(growing.get(), 0xC3));
  EXPECT_EQ(2u, FwStrNPutRawString(growing.get(), FWT("\xFE\xFD\xFC"), 2));
  EXPECT_EQ("\x80\xFF\xE2\xC3\xFE\xFD", growing.text());
}

TEST(FwStrPutRaw, AByteMayBeZero) {
  Growing growing;
  EXPECT_EQ(1u, FwStrPutRawByte(growing.get(), 0));
  EXPECT_EQ(1u, FwStrPutRawByte(growing.get(), 'x'));
  EXPECT_EQ(2, growing->pbTerminator - growing->pbz);
  EXPECT_EQ('x', growing->pbz[1]);
}

TEST(FwStrPutRaw, AFixedRecordIsFilledAndTruncated) {
  Fixed fixed(5, "ab");
  EXPECT_EQ(2u, FwStrPutRawString(fixed.get(), FWT("cdef")));
  EXPECT_EQ("abcd", fixed.text());
  EXPECT_EQ(1, fixed->fTruncated);
  EXPECT_EQ(fixed->pbLast, fixed->pbTerminator);

  Fixed counted(5, "ab");
  EXPECT_EQ(2u, FwStrNPutRawString(counted.get(), FWT("cdef"), 3));
  EXPECT_EQ("abcd", counted.text());
  EXPECT_EQ(1, counted->fTruncated);

  Fixed fits(5, "ab");
  EXPECT_EQ(2u, FwStrNPutRawString(fits.get(), FWT("cdef"), 2));
  EXPECT_EQ(0, fits->fTruncated);
}

TEST(FwStrPutRaw, AFullRecordIsOnlyFlagged) {
  Fixed string(3, "ab");
  EXPECT_EQ(0u, FwStrPutRawString(string.get(), FWT("c")));
  EXPECT_EQ(1, string->fTruncated);
  Fixed counted(3, "ab");
  {
    ExpectAsserts expected({"Non +ve size"});
    EXPECT_EQ(0u, FwStrNPutRawString(counted.get(), FWT("c"), 1));
  }
  EXPECT_EQ(1, counted->fTruncated);
  EXPECT_EQ("ab", counted.text());
}

TEST(FwStrPutRaw, AByteTellsZeroWhenTheRoomEndsAndOneAfterwards) {
  Fixed fixed(2);
  EXPECT_EQ(1u, FwStrPutRawByte(fixed.get(), 'a'));
  EXPECT_EQ(0u, FwStrPutRawByte(fixed.get(), 'b'));
  EXPECT_EQ(1, fixed->fTruncated);
  EXPECT_EQ(1u, FwStrPutRawByte(fixed.get(), 'c'));
  EXPECT_EQ("a", fixed.text());
}

TEST(FwStrPutRaw, ATruncatedRecordTakesNothingUntilItIsShortened) {
  Fixed fixed(4);
  FwStrPutRawString(fixed.get(), FWT("abcdef"));
  EXPECT_EQ(1, fixed->fTruncated);
  FwStrRecord* p = fixed.get();
  p->pbTerminator = p->pbz + 1;
  *p->pbTerminator = 0;
  EXPECT_EQ(0u, FwStrPutTextCharacter(p, 'x'));
  EXPECT_EQ(0u, FwStrPutTextString(p, FWT("x")));
  EXPECT_EQ(0u, FwStrNPutTextString(p, FWT("x"), 1));
  EXPECT_EQ(0u, FwStrPutRawString(p, FWT("x")));
  EXPECT_EQ(0u, FwStrNPutRawString(p, FWT("x"), 1));
  EXPECT_EQ("a", fixed.text());
  EXPECT_EQ(1u, FwStrRecordShorten(p, 1));
  EXPECT_EQ(0, p->fTruncated);
  EXPECT_EQ(1u, FwStrPutTextCharacter(p, 'x'));
  EXPECT_EQ("ax", fixed.text());
}

TEST(FwStrPutRaw, ACountOfZeroAsserts) {
  Growing growing;
  ExpectAsserts expected({"No cbSize"});
  EXPECT_EQ(0u, FwStrNPutRawString(growing.get(), FWT("abc"), 0));
}

TEST(FwStrPutRaw, AZeroWithinTheCountEndsTheCopy) {
  Growing growing;
  EXPECT_EQ(2u, FwStrNPutRawString(growing.get(), FWT("ab\0cd"), 5));
  EXPECT_EQ("ab", growing.text());
}

// --- The others ---

TEST(FcStrNSize, CountsTheTerminatorIfThereIsOne) {
  EXPECT_EQ(4u, FcStrNSize(FWT("abc"), 10));
  EXPECT_EQ(4u, FcStrNSize(FWT("abc"), 4));
  EXPECT_EQ(3u, FcStrNSize(FWT("abc"), 3));
  EXPECT_EQ(1u, FcStrNSize(FWT(""), 1));
  ExpectAsserts expected({"No cbSize"});
  EXPECT_EQ(0u, FcStrNSize(FWT("abc"), 0));
}

TEST(FwStrRecordShorten, CutsAndReturnsTheLength) {
  Growing growing("abcdef");
  EXPECT_EQ(4u, FwStrRecordShorten(growing.get(), 4));
  EXPECT_EQ("abcd", growing.text());
  EXPECT_EQ(4u, FwStrRecordShorten(growing.get(), 4));
  EXPECT_EQ(4u, FwStrRecordShorten(growing.get(), 5));
  EXPECT_EQ("abcd", growing.text());
  EXPECT_EQ(0u, FwStrRecordShorten(growing.get(), 0));
}

TEST(FwStrRecordShorten, ALargerLengthLeavesTheRecordTruncated) {
  Fixed fixed(4);
  FwStrPutRawString(fixed.get(), FWT("abcdef"));
  EXPECT_EQ(3u, FwStrRecordShorten(fixed.get(), 4));
  EXPECT_EQ(1, fixed->fTruncated);
}

TEST(FwStrRecordShorten, ACutInsideACharacterAsserts) {
  Growing growing("a\xC3\xA9z");
  {
    ExpectAsserts expected({"Bad shorten"});
    EXPECT_EQ(2u, FwStrRecordShorten(growing.get(), 2));
  }
  {
    // It was bad before, and a larger length is checked as well.
    ExpectAsserts expected({"Bad shorten"});
    EXPECT_EQ(2u, FwStrRecordShorten(growing.get(), 9));
  }
  EXPECT_EQ(1u, FwStrRecordShorten(growing.get(), 1));
}

TEST(FcStrMultiPutTextCharacter, PutsTheNumberAskedFor) {
  for (uint32 n : {0u, 1u, 7u, 127u, 128u, 129u, 300u}) {
    SCOPED_TRACE(n);
    Growing growing;
    EXPECT_EQ(n, FcStrMultiPutTextCharacter(growing.get(), '-', n));
    EXPECT_EQ(std::string(n, '-'), growing.text());
  }
}

TEST(FcStrMultiPutTextCharacter, CountsTheRestInCharactersAndPutsItInBytes) {
  Growing growing;
  // 64 fit the buffer; of the other 6 characters 6 bytes are put, which are 3.
  EXPECT_EQ(134u, FcStrMultiPutTextCharacter(growing.get(), 0xE9, 70));
  Growing odd;
  ExpectAsserts expected({kBadlyTerminated});
  EXPECT_EQ(3u, FcStrMultiPutTextCharacter(odd.get(), 0xE9, 3));
}

TEST(FcStrMultiPutTextCharacter, FillsAFixedRecordWithTextPuts) {
  Fixed fixed(6, "x");
  EXPECT_EQ(4u, FcStrMultiPutTextCharacter(fixed.get(), '-', 200));
  EXPECT_EQ("x----", fixed.text());
  EXPECT_EQ(0, fixed->fTruncated);
}

TEST(FcStrRecordInsertCharacter, InsertsAtAByteOffset) {
  Growing growing("abc");
  EXPECT_EQ(1u, FcStrRecordInsertCharacter(growing.get(), 1, 'X'));
  EXPECT_EQ("aXbc", growing.text());
  EXPECT_EQ(2u, FcStrRecordInsertCharacter(growing.get(), 0, 0xE9));
  EXPECT_EQ(
      "\xC3\xA9"
      "aXbc",
      growing.text());
  EXPECT_EQ(1u, FcStrRecordInsertCharacter(growing.get(), 6, 'E'));
  EXPECT_EQ(
      "\xC3\xA9"
      "aXbcE",
      growing.text());
}

TEST(FcStrRecordInsertCharacter, AnyOtherOffsetAsserts) {
  Growing growing("abc");
  ExpectAsserts expected({"Bad position"});
  EXPECT_EQ(0u, FcStrRecordInsertCharacter(growing.get(), 4, 'X'));
  EXPECT_EQ("abc", growing.text());
}

TEST(FcStrRecordInsertCharacter, LeavesOneBlockForEachInsertionIntoTheMiddle) {
  Growing growing("abc");
  CountedBlocks blocks;
  FcStrRecordInsertCharacter(growing.get(), 1, 'X');
  EXPECT_EQ(1, blocks.live());
  FcStrRecordInsertCharacter(growing.get(), 1, 'Y');
  EXPECT_EQ(2, blocks.live());
  FcStrRecordInsertCharacter(growing.get(), 5, 'Z');
  EXPECT_EQ(2, blocks.live());
}

TEST(FcStrRecordInsertCharacter, AFixedRecordWithoutRoomIsLeftAsItWas) {
  Fixed fixed(4, "abc");
  EXPECT_EQ(0u, FcStrRecordInsertCharacter(fixed.get(), 1, 'X'));
  EXPECT_EQ("abc", fixed.text());
}

TEST(FwStrPutNumbers, PrintInDecimal) {
  Growing growing;
  EXPECT_EQ(2u, FwStrPutInt(growing.get(), 42));
  EXPECT_EQ(11u, FwStrPutInt(growing.get(), INT32_MIN));
  EXPECT_EQ(1u, FwStrPutInt(growing.get(), 0));
  EXPECT_EQ("42-21474836480", growing.text());
  FwStrRecordShorten(growing.get(), 0);
  EXPECT_EQ(2u, FwStrPutIntLocal(growing.get(), -7));
  EXPECT_EQ("-7", growing.text());
  FwStrRecordShorten(growing.get(), 0);
  EXPECT_EQ(8u, FwStrPutFloat(growing.get(), 1.5));
  EXPECT_EQ("1.500000", growing.text());
  FwStrRecordShorten(growing.get(), 0);
  EXPECT_EQ(4u, FwStrPutReal(growing.get(), 1.25, 3));
  EXPECT_EQ("1.25", growing.text());
}

TEST(FwStrNCpy, CopiesAndCutsSilentlyBetweenCharacters) {
  FwTextByte buffer[5];
  EXPECT_EQ(3, FwStrNCpy(buffer, FWT("abc"), 5));
  EXPECT_EQ("abc", Text(buffer));
  EXPECT_EQ(4, FwStrNCpy(buffer, FWT("abcdef"), 5));
  EXPECT_EQ("abcd", Text(buffer));
  EXPECT_EQ(3, FwStrNCpy(buffer, FWT("abc\xC3\xA9"), 5));
  EXPECT_EQ("abc", Text(buffer));
  EXPECT_EQ(0, FwStrNCpy(buffer, FWT("abc"), 1));
  EXPECT_EQ("", Text(buffer));
}

TEST(FwStrNCpy, ADestinationOfNoSizeIsNotWritten) {
  FwTextByte buffer[2] = "x";
  ExpectAsserts expected({"zero destination size"});
  EXPECT_EQ(0, FwStrNCpy(buffer, FWT("abc"), 0));
  EXPECT_EQ("x", Text(buffer));
}

TEST(FwStrRecord, NullArgumentsAssertAndDoNothing) {
  Growing growing("a");
  FwStrRecord closed;
  FwStrRecord* p = growing.get();
  {
    ExpectAsserts expected({"No record to Init", "No record to Init", "NULL param",
                            "NULL buffer from closed record", "NULL param", "NULL param",
                            "NULL param", "NULL param", "NULL param", "NULL param", "NULL param",
                            "NULL param"});
    FwStrRecordOpen(nullptr);
    FwStrRecordOpenSize(nullptr, 1);
    EXPECT_EQ(nullptr, FwStrRecordClose(nullptr));
    EXPECT_EQ(nullptr, FwStrRecordClose(&closed));
    FwStrRecordAbandon(nullptr);
    EXPECT_EQ(0u, FwStrRecordShorten(nullptr, 0));
    EXPECT_EQ(0u, FwStrPutTextCharacter(nullptr, 'a'));
    EXPECT_EQ(0u, FwStrPutTextString(nullptr, FWT("a")));
    EXPECT_EQ(0u, FwStrNPutTextString(nullptr, FWT("a"), 1));
    EXPECT_EQ(0u, FwStrPutRawByte(nullptr, 'a'));
    EXPECT_EQ(0u, FwStrPutRawString(nullptr, FWT("a")));
    EXPECT_EQ(0u, FwStrNPutRawString(nullptr, FWT("a"), 1));
  }
  {
    ExpectAsserts expected({"NULL ptbz", "NULL ptb", "No raw byte string to put",
                            "No raw byte string to put", "NULL ptbz", "NULL ptbz"});
    EXPECT_EQ(0u, FwStrPutTextString(p, nullptr));
    EXPECT_EQ(0u, FwStrNPutTextString(p, nullptr, 1));
    EXPECT_EQ(0u, FwStrPutRawString(p, nullptr));
    EXPECT_EQ(0u, FwStrNPutRawString(p, nullptr, 1));
    FwTextByte buffer[4] = "x";
    EXPECT_EQ(0, FwStrNCpy(buffer, nullptr, 4));
    EXPECT_EQ("", Text(buffer));
    EXPECT_EQ(0, FwStrNCpy(nullptr, FWT("a"), 4));
  }
  EXPECT_EQ("a", growing.text());
}

// A zero ends the check, and what was put behind it is not looked at.
TEST(FwStrRecord, AZeroByteEndsTheCheckOfEveryLaterText) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("ab"));
  FwStrPutRawByte(&record, 0);
  FwStrPutTextString(&record, FWT("x"));
  FwStrPutTextString(&record, FWT("\xE2"));
  FwStrNPutTextString(&record, FWT("\xE2"), 1);
  FwStrPutTextCharacter(&record, 'y');
  EXPECT_EQ(7, record.pbTerminator - record.pbz);
  // With the zero gone there is no excuse.
  FwStrRecordShorten(&record, 2);
  {
    ExpectAsserts expected({kBadlyTerminated});
    FwStrPutTextString(&record, FWT("\xE2"));
  }
  FwStrRecordAbandon(&record);
}

// Against a check that starts anew each time.
TEST(FwStrRecord, TheCheckIsThatOfTheWholeBuffer) {
  const std::string pieces[] = {"a",    "bc",      std::string(1, '\0'), "\xC3", "\xA9",
                                "\xE2", "\x82\xAC"};
  uint32 seed = 1;
  for (int round = 0; round < 3000; round++) {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    std::string buffer;
    for (int step = 0; step < 8; step++) {
      seed = seed * 1103515245 + 12345;
      const std::string& piece = pieces[(seed >> 16) % std::size(pieces)];
      const bool text = (seed >> 24) % 2 == 0 && piece[0] != 0;
      if (!text) {
        for (char c : piece)
          FwStrPutRawByte(&record, static_cast<FwRawByte>(c));
        buffer += piece;
        continue;
      }
      buffer += piece;
      CollectReports reports;
      FwStrPutTextString(&record, FWT(piece.c_str()));
      bool bad = false;
      for (size_t i = 0; i < buffer.size() && buffer[i] != 0;) {
        const auto lead = static_cast<unsigned char>(buffer[i]);
        const size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : 3;
        bad = i + length > buffer.size();
        const size_t zero = buffer.find('\0', i);
        i = bad || zero < i + length ? buffer.size() : i + length;
      }
      EXPECT_EQ(bad, std::find(reports.asserts().begin(), reports.asserts().end(),
                               kBadlyTerminated) != reports.asserts().end())
          << testing::PrintToString(buffer);
    }
    FwStrRecordAbandon(&record);
  }
}
