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
  EXPECT_EQ(Format(""), "");
  EXPECT_EQ(Format("plain text"), "plain text");
  EXPECT_EQ(Format("gr\xC3\xBC\xC3\x9F dich"), "gr\xC3\xBC\xC3\x9F dich");
}

TEST(FwStrPrintf, AppendsToWhatTheRecordHolds) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("ab"));
  EXPECT_EQ(FwStrPrintf(&record, 0, FWT("%d%%"), 50), 3u);
  EXPECT_EQ(Taken(&record), "ab50%");
}

TEST(FwStrPrintf, MakesTwoAdjacentSignsALiteralPercent) {
  EXPECT_EQ(Format("%%"), "%");
  EXPECT_EQ(Format("100%% of %s%%", "all"), "100% of all%");
  EXPECT_EQ(Format("%%%%d"), "%%d");
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
    EXPECT_EQ(Format(c.pszFormat, c.pszValue), c.pszExpected) << c.pszFormat;
  }
}

TEST(FwStrPrintf, AssertsOfAWidthOnAnEmptyString) {
  ExpectAsserts expected({"No cbSize"});
  EXPECT_EQ(Format("%5s|", ""), "     |");
}

TEST(FwStrPrintf, CutsInsideACharacterWithoutReportIfAWidthIsGiven) {
  EXPECT_EQ(Format("%4.1s", "\xC3\xA9"), "   \xC3");
}

TEST(FwStrPrintf, AssertsOfACutInsideACharacterWithoutAWidth) {
  ExpectAsserts expected({"Badly terminated string"});
  EXPECT_EQ(Format("%.1s", "\xC3\xA9"), "\xC3");
}

TEST(FwStrPrintf, AssertsOfANegativePrecisionOfAString) {
  ExpectAsserts expected({"Bad precision arg"});
  EXPECT_EQ(Format("%.*s", -5, "abc"), "abc");
}

TEST(FwStrPrintf, TakesStarPrecisionMinusTwoAsNone) {
  EXPECT_EQ(Format("%.*s", -2, "abc"), "abc");
  EXPECT_EQ(Format("%*d|", -2, 7), "7|");
}

// --- Characters, counts and pointers ---

TEST(FwStrPrintf, WritesCodePointsAsUTF8) {
  EXPECT_EQ(Format("%c%c%c", 'A', 0xE9, 0x20AC), "A\xC3\xA9\xE2\x82\xAC");
  EXPECT_EQ(Format("%3c|%-3c|", 'A', 'B'), "  A|B  |");
  EXPECT_EQ(Format("%4c|", 0xE9), "  \xC3\xA9|");
}

TEST(FwStrPrintf, AssertsOfTheCharacterZero) {
  ExpectAsserts expected({"Attempt to insert zero text character"});
  EXPECT_EQ(Format("a%cb", 0), "ab");
}

TEST(FwStrPrintf, AssertsOfAPrecisionOfACharacter) {
  ExpectAsserts expected({"Don't use precison with %c"});
  EXPECT_EQ(Format("%.1c", 'x'), "x");
}

TEST(FwStrPrintf, CountsBytesBeforeAnItemAndAddsNothing) {
  int nFirst = -1;
  int nSecond = -1;
  EXPECT_EQ(Format("%n\xC3\xA9 %s%nz", &nFirst, "abc", &nSecond), "\xC3\xA9 abcz");
  EXPECT_EQ(nFirst, 0);
  EXPECT_EQ(nSecond, 6);
}

TEST(FwStrPrintf, AbandonsTheCallAtANullCountArgumentAndKeepsTheOutputSoFar) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    ExpectAsserts expected({"NULL count argument"});
    EXPECT_EQ(FwStrPrintf(&record, 0, FWT("ab%dc%nd"), 1, static_cast<int*>(nullptr)), 0u);
  }
  EXPECT_EQ(Taken(&record), "ab1c");
}

TEST(FwStrPrintf, PrintsPointersAsTheCLibraryDoes) {
  int nObject = 0;
  void* pv = &nObject;
  char szExpected[128];
  std::snprintf(szExpected, sizeof szExpected, "%p|%20p|%-20p|", pv, pv, pv);
  EXPECT_EQ(Format("%p|%20p|%-20p|", pv, pv, pv), szExpected);
  EXPECT_EQ(Format("%p|%*p|%-*p|", pv, 20, pv, 20, pv), szExpected);
  std::snprintf(szExpected, sizeof szExpected, "%200p", pv);
  EXPECT_EQ(Format("%200p", pv).size(), 200u);
}

TEST(FwStrPrintf, PrintsPointerItemsThatTheCLibraryDoesNotKnowAsText) {
  int nObject = 0;
  EXPECT_EQ(Format("<%P>", static_cast<void*>(&nObject)), "<%P>");
  EXPECT_EQ(Format("<%[0]p>", static_cast<void*>(&nObject)), "<%[0]p>");
}

TEST(FwStrPrintf, AssertsOfAPointerItemOfMoreThan31Bytes) {
  int nObject = 0;
  std::string longest = "%" + std::string(29, '-') + "p";
  EXPECT_EQ(Format(longest.c_str(), static_cast<void*>(&nObject)),
            Format("%p", static_cast<void*>(&nObject)));
  ExpectAsserts expected({"Overflow"});
  EXPECT_EQ(Format(("%" + std::string(30, '-') + "p").c_str(), static_cast<void*>(&nObject)), "");
}

// --- Branches and options ---

TEST(FwStrPrintf, ChoosesAmongAlternatives) {
  const char* pszFormat = "[%(none%|one%|many%)]";
  EXPECT_EQ(Format(pszFormat, 0u), "[none]");
  EXPECT_EQ(Format(pszFormat, 1u), "[one]");
  EXPECT_EQ(Format(pszFormat, 2u), "[many]");
  EXPECT_EQ(Format("%(only%)", 0u), "only");
  EXPECT_EQ(Format("%(%|x%)", 0u), "");
}

TEST(FwStrPrintf, KeepsOrDropsAnOption) {
  EXPECT_EQ(Format("a%{b%}c", 0u), "ac");
  EXPECT_EQ(Format("a%{b%}c", 1u), "abc");
  EXPECT_EQ(Format("a%{b%}c", 7u), "abc");
  EXPECT_EQ(Format("%{%}", 1u), "");
}

TEST(FwStrPrintf, NestsBranchesAndOptionsFreely) {
  const char* pszFormat = "<%(a%(b%|c%)d%|e%{f%}g%|h%)>";
  EXPECT_EQ(Format(pszFormat, 0u, 0u), "<abd>");
  EXPECT_EQ(Format(pszFormat, 0u, 1u), "<acd>");
  EXPECT_EQ(Format(pszFormat, 1u, 0u), "<eg>");
  EXPECT_EQ(Format(pszFormat, 1u, 1u), "<efg>");
  EXPECT_EQ(Format(pszFormat, 2u), "<h>");
  EXPECT_EQ(Format("%{a%(b%|c%)d%{e%}f%}z", 1u, 1u, 0u), "acdfz");
  EXPECT_EQ(Format("%{a%(b%|c%)d%{e%}f%}z", 0u), "z");
}

TEST(FwStrPrintf, TakesAllSelectorsAheadOfTheArguments) {
  EXPECT_EQ(Format("%s: %d file%(s%|%)%{ in %s%}", 1u, 1u, "x", 1, "dir"), "x: 1 file in dir");
  EXPECT_EQ(Format("%s: %d file%(s%|%)%{ in %s%}", 0u, 0u, "x", 2), "x: 2 files");
  EXPECT_EQ(Format("%[1]s%(a%|b%[0]s%)", 1u, "p", "q"), "qbp");
}

TEST(FwStrPrintf, HasNoSelectorsForSkippedText) {
  // Only the outer selector and the one behind the list are passed.
  EXPECT_EQ(Format("%(x%(p%|q%)%{r%}%|y%)%{z%}", 1u, 1u), "yz");
}

TEST(FwStrPrintf, ReadsAnItemThatABranchCompletes) {
  EXPECT_EQ(Format("%5%(d%|x%)", 0u, 10), "   10");
  EXPECT_EQ(Format("%5%(d%|x%)", 1u, 10), "    a");
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
    EXPECT_EQ(Format(c.pszFormat, c.nSelector), "") << c.pszFormat;
  }
}

// --- Messages ---

TEST(FwStrPrintf, MarksEachStringOfAMessageWithSeveral) {
  const char* pszFormat = "Error: %[0]t %[1]s is not defined in %[2]t %[3]s";
  EXPECT_EQ(FormatMessage(pszFormat, "variable", "HOME", "file", "a.xml"),
            "Error: variable\x08 HOME\x08 is not defined in file\x08 a.xml\x08");
  EXPECT_EQ(Format(pszFormat, "variable", "HOME", "file", "a.xml"),
            "Error: variable HOME is not defined in file a.xml");
}

TEST(FwStrPrintf, MarksEmptyStringsAndArbitraryBytes) {
  EXPECT_EQ(FormatMessage("<%s%s>", "", ""), "<\x08\x08>");
  EXPECT_EQ(FormatMessage("%[1]t%%%[0]s", "%d", "%"), "%\x08%%d\x08");
}

TEST(FwStrPrintf, LeavesAMessageWithOneStringUnmarked) {
  EXPECT_EQ(FormatMessage("%s: %d%%", "x", 5), "x: 5%");
  EXPECT_EQ(FormatMessage("none"), "none");
}

TEST(FwStrPrintf, CountsTheStringsOfTakenBranchesOnly) {
  EXPECT_EQ(FormatMessage("%(%s%|-%) %s", 0u, "a", "b"), "a\x08 b\x08");
  EXPECT_EQ(FormatMessage("%(%s%|-%) %s", 1u, "b"), "- b");
}

TEST(FwStrPrintf, OverwritesTheByteBehindABadCharacterOfAMessage) {
  CollectReports reports;
  EXPECT_EQ(FormatMessage("a\x80"
                          "bc"),
            "a\x80?c");
  EXPECT_EQ(Format("a\x80"
                   "bc"),
            "a\x80"
            "bc");
}

TEST(FwStrPrintf, KeepsTheEndOfAMessageBehindABadCharacter) {
  CollectReports reports;
  EXPECT_EQ(FormatMessage("ab\xFF"), "ab\xFF");
}

TEST(FwStrPrintf, ReadsTheArgumentsOfItemsBehindBadCharacters) {
  CollectReports reports;
  EXPECT_EQ(FormatMessage("\x80%s %s", "a", "b"),
            "\x80"
            "a\x08 b\x08");
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
    EXPECT_EQ(Format((std::string("text ") + c.pszFormat).c_str(), 1, 2, 3), "") << c.pszFormat;
  }
}

TEST(FwStrPrintf, AssertsOfANullFormat) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    ExpectAsserts expected({"No format string"});
    EXPECT_EQ(FwStrPrintf(&record, 0, nullptr), 0u);
  }
  {
    ExpectAsserts expected({"No format string"});
    EXPECT_EQ(FcPrfPrintArgList(&record, nullptr, nullptr), 0u);
  }
  EXPECT_EQ(Taken(&record), "");
}

TEST(FwStrPrintf, AssertsOfAMessageFlagOtherThanZeroAndOne) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    ExpectAsserts expected({"Bad fMessage"});
    EXPECT_EQ(FwStrPrintf(&record, 2, FWT("%d"), 5), 1u);
  }
  EXPECT_EQ(Taken(&record), "5");
}

TEST(FwStrPrintf, AssertsOfConsumedArguments) {
  {
    ExpectAsserts expected({"Consumed dummy for string arg"});
    EXPECT_EQ(Format("a%s", reinterpret_cast<FwTextString>(uintptr_t{kConsumed})), "");
  }
  ExpectAsserts expected({"Consumed dummy for char arg"});
  EXPECT_EQ(Format("a%c", kConsumed), "");
}

TEST(FwStrPrintf, LeavesAnItemInsideAnItemToItself) {
  // The second sign of "%5%" begins an item of its own, and both are put.
  EXPECT_EQ(Format("%5%d", 7), "%7");
}

// --- Entries and records ---

TEST(FwStrVPrintf, LeavesTheCallersListAsItWas) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(PrintTwice(&record, "%d%s%.1f ", 1, "a", 2.0), 12u);
  EXPECT_EQ(Taken(&record), "1a2.0 1a2.0 ");
}

TEST(FcStrPrintf, ChoosesTheNumericsByFlag) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FcStrPrintf(&record, 0, 0, FWT("%e "), 1.0);
  FcStrPrintf(&record, 0, 1, FWT("%e"), 1.0);
  EXPECT_EQ(Taken(&record), "1.000000e+000 1.000000e+00");
}

TEST(FwStrPrintf, CutsOutputOnAFixedRecordAndCountsWhatWasWritten) {
  FwByte abBuffer[8] = {};
  FwStrRecord record;
  FwStrRecordOpenOn(&record, abBuffer, sizeof abBuffer);
  EXPECT_EQ(FwStrPrintf(&record, 0, FWT("%s%d%s%.1f"), FWT("abcdef"), 12345, FWT("g"), 2.0), 7u);
  EXPECT_STREQ(FWC(abBuffer), "abcdef1");
}
