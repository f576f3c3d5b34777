#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "blocks.h"
#include "fcstring.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwvector.h"
#include "recorder.h"

namespace {

const char kMalformed[] = "Badly encoded UTF-8 character (malformed header in leading byte)";
const char kOverlong[] = "Badly encoded UTF-8 character (overly long encoding)";

// A text of one's own, for functions that write, or with the bytes behind it under watch.
class Own {
 public:
  explicit Own(std::string_view text) : ptbz_(static_cast<FwTextString>(malloc(text.size() + 1))) {
    std::copy(text.begin(), text.end(), ptbz_);
    ptbz_[text.size()] = 0;
  }
  ~Own() { free(ptbz_); }
  Own(const Own&) = delete;
  Own& operator=(const Own&) = delete;
  FwTextString get() { return ptbz_; }

 private:
  FwTextString ptbz_;
};

// All characters up to the end, and where the cursor ends up.
std::vector<FwTextCharacter> Walk(FwTextString ptbz, std::ptrdiff_t* pnEnd) {
  std::vector<FwTextCharacter> result;
  FwTextByte* ptb = ptbz;
  for (FwTextCharacter tc; (tc = FwStrGetTextCharacter(&ptb)) != 0;)
    result.push_back(tc);
  *pnEnd = ptb - ptbz;
  return result;
}

using Characters = std::vector<FwTextCharacter>;

}  // namespace

TEST(FwStrGetTextCharacter, DecodesAndEndsOnePastTheTerminator) {
  std::ptrdiff_t nEnd;
  Own text("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ((Characters{'a', 0xE9, 0x20AC, 0x1F600}), Walk(text.get(), &nEnd));
  EXPECT_EQ(11, nEnd);
  Own empty("");
  EXPECT_EQ(Characters{}, Walk(empty.get(), &nEnd));
  EXPECT_EQ(1, nEnd);
}

TEST(FwStrGetTextCharacter, AByteThatLeadsNothingIsOneNegativeCharacter) {
  std::ptrdiff_t nEnd;
  Own text("a\x80z\xBF\xFE\xFF");
  ExpectAsserts expected({kMalformed, kMalformed, kMalformed, kMalformed});
  EXPECT_EQ((Characters{'a', -128, 'z', -65, -2, -1}), Walk(text.get(), &nEnd));
  EXPECT_EQ(7, nEnd);
}

TEST(FwStrGetTextCharacter, ALeadByteNearTheEndStopsBeforeTheTerminator) {
  std::ptrdiff_t nEnd;
  // F6 tells four bytes, of which two are there; the missing ones count as zero bits.
  Own text("j\xF6rg");
  EXPECT_EQ((Characters{'j', (6 << 18) | (('r' & 0x3F) << 12) | (('g' & 0x3F) << 6)}),
            Walk(text.get(), &nEnd));
  EXPECT_EQ(5, nEnd);
  Own last("caf\xE9");
  EXPECT_EQ((Characters{'c', 'a', 'f', 0x9000}), Walk(last.get(), &nEnd));
  EXPECT_EQ(5, nEnd);
}

TEST(FwStrGetTextCharacter, AnOverlongZeroEndsNoText) {
  std::ptrdiff_t nEnd;
  Own text("a\xC0\x80z");
  {
    ExpectAsserts expected({kOverlong});
    EXPECT_EQ((Characters{'a', 0xC0 - 0x100, 'z'}), Walk(text.get(), &nEnd));
    EXPECT_EQ(5, nEnd);
  }
  Own cut("\xE0");
  {
    ExpectAsserts expected({kOverlong});
    EXPECT_EQ((Characters{0xE0 - 0x100}), Walk(cut.get(), &nEnd));
    EXPECT_EQ(2, nEnd);
  }
  {
    // The check of an end looks behind it too.
    ExpectAsserts expected({kOverlong, kOverlong});
    EXPECT_EQ(1, fFcStrWellTerminated(text.get(), nullptr));
    EXPECT_EQ(0, fFcStrWellTerminated(FWT("a\xC0\x80\xE9"), nullptr));
  }
}

TEST(FwStrGetTextCharacter, FollowingBytesAreNotTested) {
  std::ptrdiff_t nEnd;
  Own text("\xC3:\xC3\xA9");
  EXPECT_EQ((Characters{(3 << 6) | (':' & 0x3F), 0xE9}), Walk(text.get(), &nEnd));
}

TEST(FwStrGetPreviousTextCharacter, StepsBackToTheStart) {
  Own text("a\xC3\xA9\xE2\x82\xAC");
  FwTextByte* ptb = nullptr;
  EXPECT_EQ(0x20AC, FwStrGetPreviousTextCharacter(text.get(), &ptb));
  EXPECT_EQ(3, ptb - text.get());
  EXPECT_EQ(0xE9, FwStrGetPreviousTextCharacter(text.get(), &ptb));
  EXPECT_EQ(1, ptb - text.get());
  EXPECT_EQ('a', FwStrGetPreviousTextCharacter(text.get(), &ptb));
  EXPECT_EQ(0, ptb - text.get());
  EXPECT_EQ(0, FwStrGetPreviousTextCharacter(text.get(), &ptb));
  EXPECT_EQ(0, ptb - text.get());
}

TEST(FwStrGetPreviousTextCharacter, HasNothingBeforeAnEmptyString) {
  Own text("");
  FwTextByte* ptb = nullptr;
  EXPECT_EQ(0, FwStrGetPreviousTextCharacter(text.get(), &ptb));
  EXPECT_EQ(text.get(), ptb);
}

TEST(FwStrGetPreviousTextCharacter, BrokenContractsAssert) {
  Own text("ab");
  FwTextByte* ptb = text.get();
  {
    ExpectAsserts expected({"Search before start"});
    EXPECT_EQ(0, FwStrGetPreviousTextCharacter(text.get() + 1, &ptb));
  }
  ptb = text.get() + 3;
  {
    ExpectAsserts expected({"Shouldn't see NULL terminator"});
    EXPECT_EQ(0, FwStrGetPreviousTextCharacter(text.get(), &ptb));
    EXPECT_EQ(text.get() + 2, ptb);
  }
  Own stray("\x80\x81");
  ptb = nullptr;
  {
    ExpectAsserts expected({"No lead byte found", kMalformed});
    EXPECT_EQ(-128, FwStrGetPreviousTextCharacter(stray.get(), &ptb));
    EXPECT_EQ(stray.get(), ptb);
  }
  {
    ExpectAsserts expected({"NULL ptbz", "NULL pptb"});
    EXPECT_EQ(0, FwStrGetPreviousTextCharacter(nullptr, &ptb));
    EXPECT_EQ(0, FwStrGetPreviousTextCharacter(text.get(), nullptr));
  }
}

TEST(FcTextCharacterOffset, MovesByCharactersAndStopsAtEitherEnd) {
  Own text("a\xC3\xA9\xE2\x82\xACz");
  FwTextString const p = text.get();
  EXPECT_EQ(p, FcTextCharacterOffset(p, p, 0));
  EXPECT_EQ(p + 3, FcTextCharacterOffset(p, p, 2));
  EXPECT_EQ(p + 7, FcTextCharacterOffset(p, p, 4));
  EXPECT_EQ(p + 7, FcTextCharacterOffset(p, p, 9));
  EXPECT_EQ(p + 3, FcTextCharacterOffset(p, p + 7, -2));
  EXPECT_EQ(p, FcTextCharacterOffset(p, p + 7, -9));
}

TEST(FwStrCountCharacters, CountsBytesThatAreNoContinuation) {
  EXPECT_EQ(0u, FwStrCountCharacters(FWT("")));
  EXPECT_EQ(4u, FwStrCountCharacters(FWT("a\xC3\xA9\xE2\x82\xACz")));
  // Without decoding, so without complaint.
  EXPECT_EQ(2u, FwStrCountCharacters(FWT("\x80\xFF\x80\xE9")));
}

TEST(FwStrGetByteType, TellsContinuationBytesFromTheOthers) {
  EXPECT_EQ(8u, FwStrGetByteType(0x80));
  EXPECT_EQ(8u, FwStrGetByteType(0xBF));
  for (FwTextByte tb : {0x00, 0x41, 0x7F, 0xC0, 0xE2, 0xFF})
    EXPECT_EQ(2u, FwStrGetByteType(tb)) << static_cast<int>(tb);
}

TEST(FwStrValidate, IsTrueWhenTheEndWasReached) {
  EXPECT_EQ(1, FwStrValidate(FWT("a\xC3\xA9")));
  EXPECT_EQ(1, FwStrValidate(FWT("")));
  ExpectAsserts expected({kMalformed, "Badly formed multibyte string"});
  EXPECT_EQ(0, FwStrValidate(FWT("a\x80z")));
}

TEST(fFcStrWellTerminated, FindsTheCharacterThatStraddlesTheLimit) {
  struct Row {
    const char* text;
    uint32 cbLength;
    int32 result;
    int bad;  // offset of the straddling character
  };
  for (const Row& row :
       std::initializer_list<Row>{{"abc", 3, 1, -1},
                                  {"abc", 0, 1, -1},
                                  {"abcdefghijklmnopqrs", 19, 1, -1},
                                  {"a\xC3\xA9z", 4, 1, -1},
                                  {"a\xC3\xA9z", 3, 1, -1},
                                  {"a\xC3\xA9z", 2, 0, 1},
                                  {"abcdefghijk\xE2\x82\xAC", 12, 0, 11},
                                  {"abcdefghijk\xE2\x82\xAC", 13, 0, 11},
                                  {"abcdefghijk\xE2\x82\xAC", 14, 1, -1},
                                  {"caf\xE9", 4, 0, 3},
                                  {"ab\0\xE9", 4, 1, -1},  // a zero within the count ends the check
                                  {"\xE9"
                                   "a\0z",
                                   4, 1, -1}}) {  // followers aren't tested
    SCOPED_TRACE(row.text);
    FwTextByte* ptbBad = nullptr;
    EXPECT_EQ(row.result, fFcStrNWellTerminated(FWT(row.text), row.cbLength, &ptbBad)) << row.text;
    if (row.bad >= 0)
      EXPECT_EQ(FWT(row.text) + row.bad, ptbBad) << row.text;
    else
      EXPECT_EQ(nullptr, ptbBad) << row.text;
    EXPECT_EQ(row.result, fFcStrNWellTerminated(FWT(row.text), row.cbLength, nullptr));
  }
  EXPECT_EQ(1, fFcStrWellTerminated(FWT("a\xC3\xA9"), nullptr));
  EXPECT_EQ(0, fFcStrWellTerminated(FWT("a\xC3"), nullptr));
}

// A zero ends the text, whatever the count allows.
TEST(fFcStrWellTerminated, ReadsNothingBehindTheTerminator) {
  for (const char* text : {"", "a", "aaa", "aaaaaaa", "aaaaaaaa", "aaaaaaaaa", "a\xC3\xA9",
                           "ab\xE2", "\xE2\x82", "aaaaaaaaaaaaaa\xF0\x9F"}) {
    Own own(text);  // a block of just the text and its terminator
    FwTextByte* ptbBad = nullptr;
    EXPECT_EQ(1, fFcStrNWellTerminated(own.get(), 4096, &ptbBad)) << text;
    EXPECT_EQ(nullptr, ptbBad) << text;
  }
}

// The length that a lead byte tells counts as far as the limit, and the text behind a zero doesn't.
TEST(fFcStrWellTerminated, ACharacterThatAZeroEndsCountsWithItsWholeLength) {
  const char text[] = "\xE2\0z\xC3";
  for (const auto& [cbLength, result] : {std::pair(1u, 0), {2u, 0}, {3u, 1}, {4u, 1}})
    EXPECT_EQ(result, fFcStrNWellTerminated(FWT(text), cbLength, nullptr)) << cbLength;
}

TEST(fFcStrWellTerminated, ABadByteIsACharacterOfOneByte) {
  ExpectAsserts expected({kMalformed});
  EXPECT_EQ(1, fFcStrWellTerminated(FWT("a\x80"), nullptr));
}

TEST(FwStrClassification, WhiteSpaceIsSpaceAndTab) {
  for (FwTextCharacter tc = -200; tc < 300; tc++) {
    EXPECT_EQ(tc == ' ' || tc == '\t', FwStrIsWhiteSpace(tc) != 0) << tc;
    EXPECT_EQ(tc >= '0' && tc <= '9', FwStrIsDigit(tc) != 0) << tc;
  }
}

TEST(FwStrClassification, FoldingIsOfAsciiLettersInEveryLocale) {
  for (FwTextCharacter tc = -200; tc < 600; tc++) {
    EXPECT_EQ(tc >= 'a' && tc <= 'z' ? tc - 32 : tc, FwStrToUpper(tc)) << tc;
    EXPECT_EQ(tc >= 'A' && tc <= 'Z' ? tc + 32 : tc, FwStrToLower(tc)) << tc;
  }
}

TEST(FwStrClassification, SkipWhiteSpaceEndsPastTheCharacterFound) {
  Own text(" \t x y");
  FwTextByte* ptb = text.get();
  EXPECT_EQ('x', FwStrSkipWhiteSpace(&ptb));
  EXPECT_EQ(4, ptb - text.get());
}

TEST(FwStrClassification, SkipWhiteSpaceOverAllSpaceEndsOnePastTheTerminator) {
  Own text("  \t");
  FwTextByte* ptb = text.get();
  EXPECT_EQ(0, FwStrSkipWhiteSpace(&ptb));
  EXPECT_EQ(4, ptb - text.get());
}

TEST(FwStrClassification, GetTextCharacterUpperFolds) {
  Own text("a\xC3\xA9");
  FwTextByte* ptb = text.get();
  EXPECT_EQ('A', FwGetTextCharacterUpper(&ptb));
  EXPECT_EQ(0xE9, FwGetTextCharacterUpper(&ptb));
  EXPECT_EQ(0, FwGetTextCharacterUpper(&ptb));
}

TEST(FwStrWalking, NullArgumentsAssert) {
  FwTextByte* ptbNull = nullptr;
  ExpectAsserts expected({"NULL pptb", "NULL *pptb", "NULL pptb", "NULL *pptb", "NULL ptbz",
                          "NULL ptbz", "NULL ptbz", "NULL ptb", "NULL ptbz", "NULL ptb"});
  EXPECT_EQ(0, FwStrGetTextCharacter(nullptr));
  EXPECT_EQ(0, FwStrGetTextCharacter(&ptbNull));
  EXPECT_EQ(0, FwStrSkipWhiteSpace(nullptr));
  EXPECT_EQ(0, FwStrSkipWhiteSpace(&ptbNull));
  EXPECT_EQ(0u, FwStrCountCharacters(nullptr));
  EXPECT_EQ(0, FwStrValidate(nullptr));
  EXPECT_EQ(0, fFcStrWellTerminated(nullptr, nullptr));
  EXPECT_EQ(0, fFcStrNWellTerminated(nullptr, 1, nullptr));
  EXPECT_EQ(nullptr, FcTextCharacterOffset(nullptr, FWT("a"), 1));
  EXPECT_EQ(nullptr, FcTextCharacterOffset(FWT("a"), nullptr, 1));
}

// --- Searching ---

TEST(FwStrChr, FindsTheFirstTheLastAndTheNumber) {
  struct Row {
    const char* text;
    FwTextCharacter tc;
    int first, last, count;  // offsets, -1 for none
  };
  for (const Row& row : std::initializer_list<Row>{{"banana", 'a', 1, 5, 3},
                                                   {"banana", 'x', -1, -1, 0},
                                                   {"", 'x', -1, -1, 0},
                                                   {"banana", 0, 6, 6, 1},
                                                   {"", 0, 0, 0, 1},
                                                   {"\xC3\xA9=\xC3\xA9.", 0xE9, 0, 3, 2},
                                                   {"\xC3\xA9=\xC3\xA9.", '.', 5, 5, 1},
                                                   {"\xC3\xA9=\xC3\xA9.", 0xA9, -1, -1, 0},
                                                   // Below 0x80 it is a byte search.
                                                   {"\xE9:/", ':', 1, 1, 1}}) {
    FwTextString const p = FWT(row.text);
    EXPECT_EQ(row.first < 0 ? nullptr : p + row.first, FwStrChr(p, row.tc)) << row.text;
    EXPECT_EQ(row.last < 0 ? nullptr : p + row.last, FwStrRChr(p, row.tc)) << row.text;
    EXPECT_EQ(row.count, FwStrChrCount(p, row.tc)) << row.text;
  }
}

TEST(FwStrChr, ANegativeCharacterAsserts) {
  ExpectAsserts expected({"Invalid tc to find", "Invalid tc to find", "Invalid tc to find"});
  EXPECT_EQ(nullptr, FwStrChr(FWT("a"), -1));
  EXPECT_EQ(nullptr, FwStrRChr(FWT("a"), -1));
  EXPECT_EQ(0, FwStrChrCount(FWT("a"), -1));
}

TEST(FwStrChrMulti, FindsDelimitersAndOtherCharacters) {
  struct Row {
    const char* text;
    const char* delimiters;
    int first, firstNot;
  };
  for (const Row& row : std::initializer_list<Row>{{"a,b;c", ",;", 1, 0},
                                                   {",;a", ",;", 0, 2},
                                                   {",,", ",", 0, -1},
                                                   {"abc", ",", -1, 0},
                                                   {"", ",", -1, -1},
                                                   {"abc", "", -1, 0},
                                                   {"a\xC3\xA9z", "\xC3\xA9", 1, 0},
                                                   {"\xC3\xA9z", "\xC3\xA9", 0, 2},
                                                   {"\xC3\xA9\xC3\xAA", "\xC3\xAA", 2, 0},
                                                   // The lead byte takes the colon with it.
                                                   {"\xC3:\x3A", ":", 2, 0}}) {
    FwTextString const p = FWT(row.text);
    EXPECT_EQ(row.first < 0 ? nullptr : p + row.first, FwStrChrMulti(p, FWT(row.delimiters)))
        << row.text;
    EXPECT_EQ(row.firstNot < 0 ? nullptr : p + row.firstNot,
              FwStrChrMultiNot(p, FWT(row.delimiters)))
        << row.text;
  }
}

TEST(FwStrTok, CutsTheStringAtItsDelimiters) {
  struct Row {
    const char* text;
    const char* delimiters;
    std::vector<std::string> tokens;
  };
  for (const Row& row : std::initializer_list<Row>{{"a:b:c", ":", {"a", "b", "c"}},
                                                   {"::a::b::", ":", {"a", "b"}},
                                                   {"a b\tc", " \t", {"a", "b", "c"}},
                                                   {"abc", ":", {"abc"}},
                                                   {"", ":", {}},
                                                   {":::", ":", {}},
                                                   {"abc", "", {"abc"}},
                                                   {"a\xC3\xA9"
                                                    "b\xC3\xA9\xC3\xA9"
                                                    "c",
                                                    "\xC3\xA9",
                                                    {"a", "b", "c"}},
                                                   {"a\xC3\xA9:b", ":", {"a\xC3\xA9", "b"}},
                                                   {"caf\xE9", ":", {"caf\xE9"}},
                                                   {"\xE9"
                                                    "ab:c",
                                                    ":",
                                                    {"\xE9"
                                                     "ab",
                                                     "c"}}}) {
    SCOPED_TRACE(row.text);
    Own text(row.text);
    FwTextString ptbz = text.get();
    std::vector<std::string> tokens;
    for (FwTextString token; (token = FwStrTok(&ptbz, FWT(row.delimiters))) != nullptr;)
      tokens.emplace_back(FWC(token));
    EXPECT_EQ(row.tokens, tokens) << row.text;
    EXPECT_EQ(nullptr, ptbz);
  }
}

TEST(FwStrTok, OfDelimitersOnlyIsNullAndLeavesTheCursorNull) {
  Own text(",;,");
  FwTextString ptbz = text.get();
  EXPECT_EQ(nullptr, FwStrTok(&ptbz, FWT(",;")));
  EXPECT_EQ(nullptr, ptbz);
  EXPECT_EQ(nullptr, FwStrTok(&ptbz, FWT(",;")));
}

TEST(FwStrTok, OverwritesAllBytesOfTheDelimiterAndGoesBehindThem) {
  Own text(
      "a\xE2\x82\xAC"
      "b");
  FwTextString ptbz = text.get();
  EXPECT_EQ(text.get(), FwStrTok(&ptbz, FWT("\xE2\x82\xAC")));
  EXPECT_EQ(std::string("a\0\0\0b", 5), std::string(FWC(text.get()), 5));
  EXPECT_EQ(text.get() + 4, ptbz);
  EXPECT_EQ(text.get() + 4, FwStrTok(&ptbz, FWT("\xE2\x82\xAC")));
  EXPECT_EQ(nullptr, ptbz);
}

TEST(FwStrTok, GoesOnOverBytesThatLeadNothing) {
  Own text("\x80:\xFF");
  FwTextString ptbz = text.get();
  ExpectAsserts expected({kMalformed, kMalformed});
  EXPECT_STREQ("\x80", FWC(FwStrTok(&ptbz, FWT(":"))));
  EXPECT_STREQ("\xFF", FWC(FwStrTok(&ptbz, FWT(":"))));
  EXPECT_EQ(nullptr, ptbz);
}

TEST(FwStrSearching, NullArgumentsAssert) {
  Own text("a");
  FwTextString ptbz = text.get();
  ExpectAsserts expected({"NULL ptbz", "NULL ptbz", "NULL ptbz", "NULL ptbz", "null delimiters.",
                          "NULL ptbz", "null delimiters.", "NULL pptbz", "null delimiters.",
                          "NULL ptb", "NULL ptb"});
  EXPECT_EQ(nullptr, FwStrChr(nullptr, 'a'));
  EXPECT_EQ(nullptr, FwStrRChr(nullptr, 'a'));
  EXPECT_EQ(0, FwStrChrCount(nullptr, 'a'));
  EXPECT_EQ(nullptr, FwStrChrMulti(nullptr, FWT("a")));
  EXPECT_EQ(nullptr, FwStrChrMulti(ptbz, nullptr));
  EXPECT_EQ(nullptr, FwStrChrMultiNot(nullptr, FWT("a")));
  EXPECT_EQ(nullptr, FwStrChrMultiNot(ptbz, nullptr));
  EXPECT_EQ(nullptr, FwStrTok(nullptr, FWT("a")));
  EXPECT_EQ(nullptr, FwStrTok(&ptbz, nullptr));
  EXPECT_EQ(0, FwStrEndsWith(nullptr, FWT("a")));
  EXPECT_EQ(0, FwStrEndsWith(FWT("a"), nullptr));
}

TEST(FwStrEndsWith, TestsASuffix) {
  struct Row {
    const char* text;
    const char* suffix;
    int32 result;
  };
  for (const Row& row : std::initializer_list<Row>{{"product.xml", ".xml", 1},
                                                   {"product.xml", ".xm", 0},
                                                   {"xml", "product.xml", 0},
                                                   {"abc", "abc", 1},
                                                   {"abc", "", 1},
                                                   {"", "", 1},
                                                   {"", "a", 0},
                                                   {"caf\xC3\xA9", "\xC3\xA9", 0},
                                                   {"\xC3\xA9", "\xC3\xA9", 0},
                                                   {"\xC3\xA9.x", ".x", 1}})
    EXPECT_EQ(row.result, FwStrEndsWith(FWT(row.text), FWT(row.suffix)))
        << row.text << " " << row.suffix;
}

TEST(FwStrCompare, IsByteWise) {
  EXPECT_EQ(0, FwStrCompare(FWT("abc"), FWT("abc")));
  EXPECT_LT(FwStrCompare(FWT("abc"), FWT("abd")), 0);
  EXPECT_GT(FwStrCompare(FWT("abc"), FWT("ab")), 0);
  EXPECT_GT(FwStrCompare(FWT("\xC3"), FWT("a")), 0);
  EXPECT_EQ(0, FwStrNCompare(FWT("abc"), FWT("abd"), 2));
  EXPECT_LT(FwStrNCompare(FWT("abc"), FWT("abd"), 3), 0);
  EXPECT_EQ(0, FwStrNCompare(FWT("abc"), FWT("xyz"), 0));
}

TEST(FwStrCompare, NullAssertsAndComesFirst) {
  ExpectAsserts expected({"NULL ptbz", "NULL ptbz", "NULL ptbz", "NULL ptbz"});
  EXPECT_LT(FwStrCompare(nullptr, FWT("")), 0);
  EXPECT_GT(FwStrCompare(FWT(""), nullptr), 0);
  EXPECT_EQ(0, FwStrCompare(nullptr, nullptr));
  EXPECT_LT(FwStrNCompare(nullptr, FWT("a"), 1), 0);
}

TEST(FwStrEqualFolded, FoldsAsciiOnly) {
  struct Row {
    const char* a;
    const char* b;
    int32 result;
  };
  for (const Row& row : std::initializer_list<Row>{{"abc", "ABC", 1},
                                                   {"abc", "abd", 0},
                                                   {"abc", "ab", 0},
                                                   {"", "", 1},
                                                   {"[", "{", 0},
                                                   {"x\xC3\xA9", "X\xC3\xA9", 1},
                                                   {"\xC3\x89", "\xC3\xA9", 0},
                                                   {nullptr, nullptr, 1},
                                                   {nullptr, "", 0},
                                                   {"", nullptr, 0}})
    EXPECT_EQ(row.result, FwStrEqualFolded(FWT(row.a), FWT(row.b))) << row.a;
}

// --- Duplicating, splitting, joining ---

TEST(FwStrDuplicate, MakesANewBlock) {
  FwTextString const ptbz = FWT("abc");
  FwTextString copy = FwStrDuplicate(ptbz);
  EXPECT_NE(ptbz, copy);
  EXPECT_STREQ("abc", FWC(copy));
  FwMemFreeSize(copy, 4);
  copy = FwStrDuplicateFailNull(ptbz);
  EXPECT_STREQ("abc", FWC(copy));
  FwMemFreeSize(copy, 4);
}

TEST(FwStrDuplicate, TheCountedFormReadsAtMostTheCount) {
  char* exact = static_cast<char*>(malloc(3));
  memcpy(exact, "abc", 3);  // NOLINT(bugprone-not-null-terminated-result): that is the point
  struct Row {
    int cbLength;
    const char* result;
  };
  for (const Row& row : std::initializer_list<Row>{{0, ""}, {2, "ab"}, {3, "abc"}}) {
    SCOPED_TRACE(row.cbLength);
    FwTextString copy = FwStrNDuplicate(FWT(exact), row.cbLength);
    EXPECT_STREQ(row.result, FWC(copy));
    FwMemFreeSize(copy, static_cast<uint32>(row.cbLength) + 1);
  }
  free(exact);
  FwTextString copy = FwStrNDuplicate(FWT("ab"), 9);
  EXPECT_STREQ("ab", FWC(copy));
  FwMemFree(copy);
  ExpectAsserts expected({"Bad cbLength"});
  copy = FwStrNDuplicate(FWT("ab"), -1);
  EXPECT_STREQ("", FWC(copy));
  FwMemFree(copy);
}

TEST(FwStrDuplicate, NullAsserts) {
  ExpectAsserts expected({"NULL ptbz", "NULL ptbz", "NULL ptbz"});
  EXPECT_EQ(nullptr, FwStrDuplicate(nullptr));
  EXPECT_EQ(nullptr, FwStrNDuplicate(nullptr, 1));
  EXPECT_EQ(nullptr, FwStrDuplicateFailNull(nullptr));
}

TEST(FwStrDuplicate, ExhaustionEndsTheProgramOrIsHandedBack) {
  {
    CountedBlocks blocks;
    blocks.FailAt(0);
    EXPECT_EQ(nullptr, FwStrDuplicateFailNull(FWT("abc")));
  }
  EXPECT_EXIT(
      {
        CountedBlocks blocks;
        blocks.FailAt(0);
        FwStrDuplicate(FWT("abc"));
      },
      testing::ExitedWithCode(1), "Run out of memory");
}

namespace {

// What a vector of strings holds; the vector is abandoned with its strings.
std::vector<std::string> Drain(FwVector* pVector) {
  std::vector<std::string> result;
  for (int32 i = 0; i < FwVectorLength(pVector); i++)
    result.emplace_back(FWC(static_cast<FwTextString>(FwVectorGetElement(pVector, i))));
  FwVectorAbandon(pVector, 1);
  return result;
}

using Strings = std::vector<std::string>;

}  // namespace

TEST(FwStrTextSplit, TakesTheSeparatorAsASetOfDelimiters) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwTextString const ptbz = FWT("a,b;;c,");
  FwStrTextSplit(ptbz, FWT(",;"), &vector);
  EXPECT_STREQ("a,b;;c,", FWC(ptbz));
  EXPECT_EQ((Strings{"a", "b", "c"}), Drain(&vector));
}

TEST(FwStrTextSplit, PutsTokensAheadOfWhatTheVectorHeld) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwVectorAddElement(&vector, FwStrDuplicate(FWT("old")));
  FwStrTextSplitByChar(FWT("x:y"), ':', &vector);
  EXPECT_EQ((Strings{"x", "y", "old"}), Drain(&vector));
}

TEST(FwStrTextSplit, SplitsAtACharacterOfSeveralBytes) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwStrTextSplitByChar(FWT("a\xE2\x82\xAC"
                           "b\xC2\xA9"
                           "c"),
                       0x20AC, &vector);
  EXPECT_EQ((Strings{"a",
                     "b\xC2\xA9"
                     "c"}),
            Drain(&vector));
}

TEST(FwStrTextSplit, FreesItsCopy) {
  CountedBlocks blocks;
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwStrTextSplitByChar(FWT("x:y"), ':', &vector);
  EXPECT_EQ(3, blocks.live());  // the array and two tokens
  FwVectorAbandon(&vector, 1);
  EXPECT_EQ(0, blocks.live());
}

TEST(FwStrTextSplit, ANullSeparatorLeavesTheVectorAloneAndTheCopyUnreleased) {
  CountedBlocks blocks;
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwStrTextSplit(FWT("x:y"), nullptr, &vector);
  EXPECT_EQ(0, FwVectorLength(&vector));
  EXPECT_EQ(2, blocks.live());  // the array and the copy
  FwVectorAbandon(&vector, 1);
}

TEST(FwStrTextSplit, ASeparatorOfZeroAssertsAndSplitsNothing) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  ExpectAsserts expected({"Attempt to insert zero text character"});
  FwStrTextSplitByChar(FWT("x:y"), 0, &vector);
  EXPECT_EQ((Strings{"x:y"}), Drain(&vector));
}

TEST(FwStrTextSplit, NullArgumentsAssert) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  {
    ExpectAsserts expected({"NULL ptbz", "NULL ptbz", "NULL param"});
    FwStrTextSplit(nullptr, FWT(":"), &vector);
    FwStrTextSplitByChar(nullptr, ':', &vector);
    FwStrTextSplit(FWT("a"), FWT(":"), nullptr);
  }
  EXPECT_EQ(Strings{}, Drain(&vector));
}

TEST(FwStrTextJoin, PutsTheFirstStringsWithTheSeparatorBetween) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwStrTextSplitByChar(FWT("a:b:c"), ':', &vector);
  struct Row {
    int32 n, result;
    const char* text;
  };
  for (const Row& row : std::initializer_list<Row>{{1, 1, "a"},
                                                   {2, 2, "a, b"},
                                                   {3, 3, "a, b, c"},
                                                   {4, 3, "a, b, c"},
                                                   {0, 3, "a, b, c"},
                                                   {-1, 3, "a, b, c"}}) {
    SCOPED_TRACE(row.text);
    FwStrRecord record;
    FwStrRecordOpen(&record);
    EXPECT_EQ(row.result, FwStrTextJoin(&vector, row.n, FWT(", "), &record));
    EXPECT_STREQ(row.text, FWC(record.pbz));
    FwStrRecordAbandon(&record);
  }
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(3, FwStrTextJoinByChar(&vector, 0, 0x20AC, &record));
  EXPECT_STREQ(
      "a\xE2\x82\xAC"
      "b\xE2\x82\xAC"
      "c",
      FWC(record.pbz));
  {
    ExpectAsserts expected({"NULL param", "NULL param"});
    EXPECT_EQ(0, FwStrTextJoin(nullptr, 0, FWT(":"), &record));
    EXPECT_EQ(0, FwStrTextJoin(&vector, 0, FWT(":"), nullptr));
  }
  FwStrRecordAbandon(&record);
  Drain(&vector);
}

TEST(FwStrTextJoin, OfNothingIsNothing) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(0, FwStrTextJoinByChar(&vector, 0, ':', &record));
  EXPECT_STREQ("", FWC(record.pbz));
  FwStrRecordAbandon(&record);
  FwVectorAbandon(&vector, 1);
}
