// The format language: strings, characters, counts, pointers, branches, messages, faults.
#include "fwstrprf.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "fcstrprf.h"
#include "fwstring.h"
#include "fwstrprf_format.h"
#include "recorder.h"

namespace {

constexpr uint32 kConsumed = 0xFE9001C1;

uint32 PrintTwice(FwStrRecord* pRecord, const char* pszFormat, ...) {
  va_list VaList;
  va_start(VaList, pszFormat);
  uint32 cb = FwStrVPrintf(pRecord, 0, FWT(pszFormat), VaList);
  cb += FwStrVPrintf(pRecord, 0, FWT(pszFormat), VaList);
  va_end(VaList);
  return cb;
}

}  // namespace

// --- Text and strings ---

TEST(FwStrPrintf, CopiesTextOutsideItems) {
  EXPECT_EQ("", Format(""));
  EXPECT_EQ("plain text", Format("plain text"));
  EXPECT_EQ("gr\xC3\xBC\xC3\x9F dich", Format("gr\xC3\xBC\xC3\x9F dich"));
}

TEST(FwStrPrintf, AppendsToWhatTheRecordHolds) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("ab"));
  EXPECT_EQ(3u, FwStrPrintf(&record, 0, FWT("%d%%"), 50));
  EXPECT_EQ("ab50%", Taken(&record));
}

TEST(FwStrPrintf, MakesTwoAdjacentSignsALiteralPercent) {
  EXPECT_EQ("%", Format("%%"));
  EXPECT_EQ("100% of all%", Format("100%% of %s%%", "all"));
  EXPECT_EQ("%%d", Format("%%%%d"));
}

TEST(FwStrPrintf, PadsAndCutsStrings) {
  const struct {
    const char* pszFormat;
    const char* pszValue;
    const char* pszExpected;
  } cases[] = {
      {"%s", "abc", "abc"},           {"%s", "", ""},
      {"%t", "abc", "abc"},           {"%5s|", "ab", "   ab|"},
      {"%-5s|", "ab", "ab   |"},      {"%2s", "abcdef", "abcdef"},
      {"%.3s", "abcdef", "abc"},      {"%.9s", "abc", "abc"},
      {"%5.2s|", "abcdef", "   ab|"}, {"%-5.2s|", "abcdef", "ab   |"},
      {"%05s", "ab", "000ab"},        {"%-05s", "ab", "ab000"},
      {"%.0s|", "abc", "|"},          {"%.s|", "abc", "|"},
      {"%4t|", "ab", "  ab|"},        {"%4s|", "\xC3\xBC", "  \xC3\xBC|"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.pszExpected, Format(c.pszFormat, c.pszValue)) << c.pszFormat;
  }
}

TEST(FwStrPrintf, AssertsOfAWidthOnAnEmptyString) {
  ExpectAsserts expected({"No cbSize"});
  EXPECT_EQ("     |", Format("%5s|", ""));
}

TEST(FwStrPrintf, CutsInsideACharacterWithoutReportIfAWidthIsGiven) {
  EXPECT_EQ("   \xC3", Format("%4.1s", "\xC3\xA9"));
}

TEST(FwStrPrintf, AssertsOfACutInsideACharacterWithoutAWidth) {
  ExpectAsserts expected({"Badly terminated string"});
  EXPECT_EQ("\xC3", Format("%.1s", "\xC3\xA9"));
}

TEST(FwStrPrintf, AssertsOfANegativePrecisionOfAString) {
  ExpectAsserts expected({"Bad precision arg"});
  EXPECT_EQ("abc", Format("%.*s", -5, "abc"));
}

TEST(FwStrPrintf, TakesStarPrecisionMinusTwoAsNone) {
  EXPECT_EQ("abc", Format("%.*s", -2, "abc"));
  EXPECT_EQ("7|", Format("%*d|", -2, 7));
}

// --- Characters, counts and pointers ---

TEST(FwStrPrintf, WritesCodePointsAsUTF8) {
  EXPECT_EQ("A\xC3\xA9\xE2\x82\xAC", Format("%c%c%c", 'A', 0xE9, 0x20AC));
  EXPECT_EQ("  A|B  |", Format("%3c|%-3c|", 'A', 'B'));
  EXPECT_EQ("  \xC3\xA9|", Format("%4c|", 0xE9));
}

TEST(FwStrPrintf, AssertsOfTheCharacterZero) {
  ExpectAsserts expected({"Attempt to insert zero text character"});
  EXPECT_EQ("ab", Format("a%cb", 0));
}

TEST(FwStrPrintf, AssertsOfAPrecisionOfACharacter) {
  ExpectAsserts expected({"Don't use precison with %c"});
  EXPECT_EQ("x", Format("%.1c", 'x'));
}

TEST(FwStrPrintf, CountsBytesBeforeAnItemAndAddsNothing) {
  int nFirst = -1;
  int nSecond = -1;
  EXPECT_EQ("\xC3\xA9 abcz", Format("%n\xC3\xA9 %s%nz", &nFirst, "abc", &nSecond));
  EXPECT_EQ(0, nFirst);
  EXPECT_EQ(6, nSecond);
}

TEST(FwStrPrintf, AbandonsTheCallAtANullCountArgumentAndKeepsTheOutputSoFar) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    ExpectAsserts expected({"NULL count argument"});
    EXPECT_EQ(0u, FwStrPrintf(&record, 0, FWT("ab%dc%nd"), 1, static_cast<int*>(nullptr)));
  }
  EXPECT_EQ("ab1c", Taken(&record));
}

TEST(FwStrPrintf, PrintsPointersAsTheCLibraryDoes) {
  int nObject = 0;
  void* pv = &nObject;
  char szExpected[128];
  std::snprintf(szExpected, sizeof szExpected, "%p|%20p|%-20p|", pv, pv, pv);
  EXPECT_EQ(szExpected, Format("%p|%20p|%-20p|", pv, pv, pv));
  EXPECT_EQ(szExpected, Format("%p|%*p|%-*p|", pv, 20, pv, 20, pv));
  std::snprintf(szExpected, sizeof szExpected, "%200p", pv);
  EXPECT_EQ(200u, Format("%200p", pv).size());
}

TEST(FwStrPrintf, PrintsPointerItemsThatTheCLibraryDoesNotKnowAsText) {
  int nObject = 0;
  EXPECT_EQ("<%P>", Format("<%P>", static_cast<void*>(&nObject)));
  EXPECT_EQ("<%[0]p>", Format("<%[0]p>", static_cast<void*>(&nObject)));
}

TEST(FwStrPrintf, AssertsOfAPointerItemOfMoreThan31Bytes) {
  int nObject = 0;
  std::string longest = "%" + std::string(29, '-') + "p";
  EXPECT_EQ(Format(longest.c_str(), static_cast<void*>(&nObject)),
            Format("%p", static_cast<void*>(&nObject)));
  ExpectAsserts expected({"Overflow"});
  EXPECT_EQ("", Format(("%" + std::string(30, '-') + "p").c_str(), static_cast<void*>(&nObject)));
}

// --- Branches and options ---

TEST(FwStrPrintf, ChoosesAmongAlternatives) {
  const char* pszFormat = "[%(none%|one%|many%)]";
  EXPECT_EQ("[none]", Format(pszFormat, 0u));
  EXPECT_EQ("[one]", Format(pszFormat, 1u));
  EXPECT_EQ("[many]", Format(pszFormat, 2u));
  EXPECT_EQ("only", Format("%(only%)", 0u));
  EXPECT_EQ("", Format("%(%|x%)", 0u));
}

TEST(FwStrPrintf, KeepsOrDropsAnOption) {
  EXPECT_EQ("ac", Format("a%{b%}c", 0u));
  EXPECT_EQ("abc", Format("a%{b%}c", 1u));
  EXPECT_EQ("abc", Format("a%{b%}c", 7u));
  EXPECT_EQ("", Format("%{%}", 1u));
}

TEST(FwStrPrintf, NestsBranchesAndOptionsFreely) {
  const char* pszFormat = "<%(a%(b%|c%)d%|e%{f%}g%|h%)>";
  EXPECT_EQ("<abd>", Format(pszFormat, 0u, 0u));
  EXPECT_EQ("<acd>", Format(pszFormat, 0u, 1u));
  EXPECT_EQ("<eg>", Format(pszFormat, 1u, 0u));
  EXPECT_EQ("<efg>", Format(pszFormat, 1u, 1u));
  EXPECT_EQ("<h>", Format(pszFormat, 2u));
  EXPECT_EQ("acdfz", Format("%{a%(b%|c%)d%{e%}f%}z", 1u, 1u, 0u));
  EXPECT_EQ("z", Format("%{a%(b%|c%)d%{e%}f%}z", 0u));
}

TEST(FwStrPrintf, TakesAllSelectorsAheadOfTheArguments) {
  EXPECT_EQ("x: 1 file in dir", Format("%s: %d file%(s%|%)%{ in %s%}", 1u, 1u, "x", 1, "dir"));
  EXPECT_EQ("x: 2 files", Format("%s: %d file%(s%|%)%{ in %s%}", 0u, 0u, "x", 2));
  EXPECT_EQ("qbp", Format("%[1]s%(a%|b%[0]s%)", 1u, "p", "q"));
}

TEST(FwStrPrintf, HasNoSelectorsForSkippedText) {
  // Only the outer selector and the one behind the list are passed.
  EXPECT_EQ("yz", Format("%(x%(p%|q%)%{r%}%|y%)%{z%}", 1u, 1u));
}

TEST(FwStrPrintf, ReadsAnItemThatABranchCompletes) {
  EXPECT_EQ("   10", Format("%5%(d%|x%)", 0u, 10));
  EXPECT_EQ("    a", Format("%5%(d%|x%)", 1u, 10));
}

TEST(FwStrPrintf, AssertsOfFaultyBranches) {
  const struct {
    const char* pszFormat;
    uint32 nSelector;
    const char* pszAssert;
  } cases[] = {
      {"%(a%|b%)", 2, "Branch is unterminated"},
      {"%(a%|b%)", 3, "Not on branch"},
      {"%(a%|b%)", 9, "Not on branch"},
      {"%(a", 0, "Branch is unterminated"},
      {"%(a%|b", 1, "Branch is unterminated"},
      {"%(a", 1, "Badly terminated branch list"},
      {"%(a%|b", 0, "Badly terminated branch list"},
      {"%(a%(b%|c", 1, "Badly terminated branch list"},
      {"%{a", 1, "Option is unterminated"},
      {"%{a", 0, "Option is unterminated"},
      {"%{a%)", 1, "Option is unterminated"},
      {"a%|", 0, "Invalid format"},
      {"a%)", 0, "Invalid format"},
      {"a%}", 0, "Invalid format"},
  };
  for (const auto& c : cases) {
    ExpectAsserts expected({c.pszAssert});
    EXPECT_EQ("", Format(c.pszFormat, c.nSelector)) << c.pszFormat;
  }
}

// --- Messages ---

TEST(FwStrPrintf, MarksEachStringOfAMessageWithSeveral) {
  const char* pszFormat = "Error: %[0]t %[1]s is not defined in %[2]t %[3]s";
  EXPECT_EQ("Error: variable\x08 HOME\x08 is not defined in file\x08 a.xml\x08",
            FormatMessage(pszFormat, "variable", "HOME", "file", "a.xml"));
  EXPECT_EQ("Error: variable HOME is not defined in file a.xml",
            Format(pszFormat, "variable", "HOME", "file", "a.xml"));
}

TEST(FwStrPrintf, MarksEmptyStringsAndArbitraryBytes) {
  EXPECT_EQ("<\x08\x08>", FormatMessage("<%s%s>", "", ""));
  EXPECT_EQ("%\x08%%d\x08", FormatMessage("%[1]t%%%[0]s", "%d", "%"));
}

TEST(FwStrPrintf, LeavesAMessageWithOneStringUnmarked) {
  EXPECT_EQ("x: 5%", FormatMessage("%s: %d%%", "x", 5));
  EXPECT_EQ("none", FormatMessage("none"));
}

TEST(FwStrPrintf, CountsTheStringsOfTakenBranchesOnly) {
  EXPECT_EQ("a\x08 b\x08", FormatMessage("%(%s%|-%) %s", 0u, "a", "b"));
  EXPECT_EQ("- b", FormatMessage("%(%s%|-%) %s", 1u, "b"));
}

TEST(FwStrPrintf, OverwritesTheByteBehindABadCharacterOfAMessage) {
  CollectReports reports;
  EXPECT_EQ("a\x80?c", FormatMessage("a\x80"
                                     "bc"));
  EXPECT_EQ(
      "a\x80"
      "bc",
      Format("a\x80"
             "bc"));
}

TEST(FwStrPrintf, KeepsTheEndOfAMessageBehindABadCharacter) {
  CollectReports reports;
  EXPECT_EQ("ab\xFF", FormatMessage("ab\xFF"));
}

TEST(FwStrPrintf, ReadsTheArgumentsOfItemsBehindBadCharacters) {
  CollectReports reports;
  EXPECT_EQ(
      "\x80"
      "a\x08 b\x08",
      FormatMessage("\x80%s %s", "a", "b"));
}

// --- Faults of the format ---

TEST(FwStrPrintf, AssertsOfFaultyItemsAndAddsNothing) {
  const struct {
    const char* pszFormat;
    const char* pszAssert;
  } cases[] = {
      {"abc%", "Format just before terminator"},
      {"%5%", "Format just before terminator"},
      {"%%%", "Format just before terminator"},
      {"%[x]d", "Expected a number after '[' in format string"},
      {"%[]d", "Expected a number after '[' in format string"},
      {"%[0d", "Failed to find closing ']' in format string"},
      {"%[0x]d", "No closing bracket in positional arg"},
      {"%[-1]d", "Negative positional argument"},
      {"%\t0d", "Non-positive width format"},
      {"%\t-3d", "Non-positive width format"},
      {"%.-1d", "Negative precision given"},
      {"%q", "Invalid format"},
      {"%5", "Invalid format"},
      {"%lld", "Invalid format"},
      {"%-[0]d", "Invalid format"},
      {"%F", "Invalid format"},
      {"%99999999999d", "Invalid format"},
      {"%%%[0]d", "All or none of arguments must have positionals"},
      {"%[0]d %d", "All or none of arguments must have positionals"},
      {"%d %[0]d", "All or none of arguments must have positionals"},
      {"%[0]d %[0]d", "Bad positional argument"},
      {"%[0]*d %[1]d", "Bad positional argument"},
  };
  for (const auto& c : cases) {
    ExpectAsserts expected({c.pszAssert});
    EXPECT_EQ("", Format((std::string("text ") + c.pszFormat).c_str(), 1, 2, 3)) << c.pszFormat;
  }
}

TEST(FwStrPrintf, AssertsOfANullFormat) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    ExpectAsserts expected({"No format string"});
    EXPECT_EQ(0u, FwStrPrintf(&record, 0, nullptr));
  }
  {
    ExpectAsserts expected({"No format string"});
    EXPECT_EQ(0u, FcPrfPrintArgList(&record, nullptr, nullptr));
  }
  EXPECT_EQ("", Taken(&record));
}

TEST(FwStrPrintf, AssertsOfAMessageFlagOtherThanZeroAndOne) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    ExpectAsserts expected({"Bad fMessage"});
    EXPECT_EQ(1u, FwStrPrintf(&record, 2, FWT("%d"), 5));
  }
  EXPECT_EQ("5", Taken(&record));
}

TEST(FwStrPrintf, AssertsOfConsumedArguments) {
  {
    ExpectAsserts expected({"Consumed dummy for string arg"});
    EXPECT_EQ("", Format("a%s", reinterpret_cast<FwTextString>(uintptr_t{kConsumed})));
  }
  ExpectAsserts expected({"Consumed dummy for char arg"});
  EXPECT_EQ("", Format("a%c", kConsumed));
}

TEST(FwStrPrintf, LeavesAnItemInsideAnItemToItself) {
  // The second sign of "%5%" begins an item of its own, and both are put.
  EXPECT_EQ("%7", Format("%5%d", 7));
}

// --- Entries and records ---

TEST(FwStrVPrintf, LeavesTheCallersListAsItWas) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(12u, PrintTwice(&record, "%d%s%.1f ", 1, "a", 2.0));
  EXPECT_EQ("1a2.0 1a2.0 ", Taken(&record));
}

TEST(FcStrPrintf, ChoosesTheNumericsByFlag) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FcStrPrintf(&record, 0, 0, FWT("%e "), 1.0);
  FcStrPrintf(&record, 0, 1, FWT("%e"), 1.0);
  EXPECT_EQ("1.000000e+000 1.000000e+00", Taken(&record));
}

TEST(FwStrPrintf, CutsOutputOnAFixedRecordAndCountsWhatWasWritten) {
  FwByte abBuffer[8] = {};
  FwStrRecord record;
  FwStrRecordOpenOn(&record, abBuffer, sizeof abBuffer);
  EXPECT_EQ(7u, FwStrPrintf(&record, 0, FWT("%s%d%s%.1f"), FWT("abcdef"), 12345, FWT("g"), 2.0));
  EXPECT_STREQ("abcdef1", FWC(abBuffer));
}
