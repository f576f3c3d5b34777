// Argument slots: order, positions, stars, and typed lists.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fcstrprf.h"
#include "fwstring.h"
#include "fwstrprf_format.h"
#include "recorder.h"

namespace {

FcStrArg IntegerArg(int32 value) {
  FcStrArg arg = {};
  arg.Value.int32_ = value;
  arg.cbValueStringLength = kFcStrTerminated;
  arg.pszType = const_cast<char*>("int32");
  arg.cbTypeSize = 4;
  return arg;
}

FcStrArg UnsignedArg(uint32 value) {
  FcStrArg arg = IntegerArg(static_cast<int32>(value));
  arg.pszType = const_cast<char*>("uint32");
  return arg;
}

FcStrArg GenericArg() {
  FcStrArg arg = IntegerArg(0);
  arg.pszType = const_cast<char*>("FcGeneric");
  return arg;
}

FcStrArg RealArg(double value) {
  FcStrArg arg = {};
  arg.Value.promoted_real_ = value;
  arg.cbValueStringLength = kFcStrTerminated;
  arg.pszType = const_cast<char*>("promoted_real");
  arg.cbTypeSize = 8;
  return arg;
}

FcStrArg StringArg(const char* psz, uint32 cbLength = kFcStrTerminated) {
  FcStrArg arg = {};
  arg.Value.FwTextString_ = FWT(psz);
  arg.cbValueStringLength = cbLength;
  arg.pszType = const_cast<char*>("FwTextString");
  arg.cbTypeSize = 4;
  return arg;
}

std::string FormatTyped(const char* pszFormat, std::vector<FcStrArg> args) {
  FcStrArgList list = {args.data(), static_cast<uint32>(args.size())};
  FwStrRecord record;
  FwStrRecordOpen(&record);
  uint32 cbAdded = FcPrfPrintArgList(&record, FWT(pszFormat), &list);
  std::string text = Taken(&record);
  EXPECT_EQ(cbAdded, text.size()) << pszFormat;
  return text;
}

}  // namespace

TEST(FcPrfArguments, AreTakenInFormatOrder) {
  EXPECT_EQ(Format("%d %s %.1f %u %c", -1, "two", 3.0, 4u, '5'), "-1 two 3.0 4 5");
  // More than the registers hold of each kind.
  EXPECT_EQ(Format("%d%d%d%d%d%d%d%d%s", 1, 2, 3, 4, 5, 6, 7, 8, "9"), "123456789");
  EXPECT_EQ(Format("%.0f%.0f%.0f%.0f%.0f%.0f%.0f%.0f%.0f%d", 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0,
                   9.0, 10),
            "12345678910");
}

TEST(FcPrfArguments, AreTakenByPosition) {
  EXPECT_EQ(Format("%[1]s %[0]s", "a", "b"), "b a");
  EXPECT_EQ(Format("%[2]d%[0]s%[1].1f", "s", 2.0, 7), "7s2.0");
  EXPECT_EQ(Format("%[0]d%%", 5), "5%");
}

TEST(FcPrfArguments, SkipAMiddleSlotThatNothingReferencesAndNeverReadATrailingOne) {
  EXPECT_EQ(Format("%[0]d %[2]d", 1, 99, 3), "1 3");
  EXPECT_EQ(Format("%[2]s", FWT("x"), 99, "last", "unread"), "last");
}

TEST(FcPrfArguments, TakeStarsAheadOfTheirItem) {
  EXPECT_EQ(Format("%*d|%-*d|", 5, 42, 4, 7), "   42|7   |");
  EXPECT_EQ(Format("%.*f", 2, 3.14159), "3.14");
  EXPECT_EQ(Format("%*.*f|", 8, 2, 3.14159), "    3.14|");
  EXPECT_EQ(Format("%.*s", 2, "abc"), "ab");
}

TEST(FcPrfArguments, CountStarsInPositions) {
  EXPECT_EQ(Format("%[1]*d %[0]s", "x", 5, 42), "   42 x");
  EXPECT_EQ(Format("%[3]s%[0]*.*f", 6, 1, 2.0, "x"), "x   2.0");
}

TEST(FcPrfPrintArgList, PrintsEveryType) {
  EXPECT_EQ(FormatTyped("%d %u %s %.2f",
                        {IntegerArg(-1), UnsignedArg(2), StringArg("three"), RealArg(4.0)}),
            "-1 2 three 4.00");
  EXPECT_EQ(FormatTyped("no items", {IntegerArg(1)}), "no items");
}

TEST(FcPrfPrintArgList, TakesSelectorsFirst) {
  EXPECT_EQ(FormatTyped("%[0]s%(a%|b%)%{c%}", {UnsignedArg(1), UnsignedArg(0), StringArg("x")}),
            "xb");
}

TEST(FcPrfPrintArgList, UsesLocalNumerics) {
  EXPECT_EQ(FormatTyped("%e", {RealArg(1.5)}), "1.500000e+00");
}

TEST(FcPrfPrintArgList, PrintsASubstringInPlaceOfThePrecision) {
  EXPECT_EQ(FormatTyped("<%s>", {StringArg("abcdef", 3)}), "<abc>");
  EXPECT_EQ(FormatTyped("<%.1s>", {StringArg("abcdef", 3)}), "<abc>");
  EXPECT_EQ(FormatTyped("<%6s>", {StringArg("abcdef", 3)}), "<   abc>");
}

TEST(FcPrfPrintArgList, WantsUnreferencedSlotsGeneric) {
  EXPECT_EQ(FormatTyped("%[0]d %[2]d", {IntegerArg(1), GenericArg(), IntegerArg(3)}), "1 3");
  ExpectAsserts expected({"Format to output doesn't match arguments"});
  EXPECT_EQ(FormatTyped("%[0]d %[2]d", {IntegerArg(1), IntegerArg(2), IntegerArg(3)}), "");
}

TEST(FcPrfPrintArgList, AssertsOfAnotherTypeThanWanted) {
  const struct {
    const char* pszFormat;
    FcStrArg arg;
  } cases[] = {
      {"%s", IntegerArg(1)},     {"%d", UnsignedArg(1)}, {"%u", IntegerArg(1)},
      {"%f", IntegerArg(1)},     {"%d", StringArg("x")}, {"%(a%|b%)", IntegerArg(1)},
      {"%{a%}", StringArg("x")}, {"%c", UnsignedArg(1)}, {"%*d", UnsignedArg(1)},
  };
  for (const auto& c : cases) {
    ExpectAsserts expected({"Format to output doesn't match arguments"});
    EXPECT_EQ(FormatTyped(c.pszFormat, {c.arg, c.arg}), "") << c.pszFormat;
  }
}

TEST(FcPrfPrintArgList, AssertsOfAListThatIsTooShort) {
  ExpectAsserts expected({"Format to output doesn't match arguments"});
  EXPECT_EQ(FormatTyped("%d %d", {IntegerArg(1)}), "");
}

TEST(FcPrfPrintArgList, AssertsOfAnotherSizeThanTheTypes) {
  FcStrArg arg = IntegerArg(1);
  arg.cbTypeSize = 8;
  ExpectAsserts expected({"Bad size"});
  EXPECT_EQ(FormatTyped("%d", {arg}), "");
}

TEST(FcPrfPrintArgList, LeavesTheListAsItWas) {
  FcStrArg arg = IntegerArg(70000);
  FcStrArgList list = {&arg, 1};
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FcPrfPrintArgList(&record, FWT("%hd "), &list);
  FcPrfPrintArgList(&record, FWT("%d"), &list);
  EXPECT_EQ(Taken(&record), "4464 70000");
}

TEST(FcStrGetFormatSpec, ParsesAllPartsOfAnItem) {
  FcStrFormatSpec format;
  FwTextString ptbz = FWT("%[3]-+ #012.5hd!");
  ASSERT_TRUE(FcStrGetFormatSpec(ptbz, &format));
  EXPECT_EQ(format.ptbLocation, ptbz);
  EXPECT_EQ(format.cbFormatSpecLength, 15u);
  EXPECT_EQ(format.fLeftAlign, 1u);
  EXPECT_EQ(format.tbPadChar, '0');
  EXPECT_EQ(format.tbPositiveChar, '+');
  EXPECT_EQ(format.fOptionalForm, 1);
  EXPECT_STREQ(FWC(format.ptbzOtherFlags), "+#");
  EXPECT_EQ(format.nWidth, 12);
  EXPECT_EQ(format.nPrecision, 5);
  EXPECT_EQ(format.nPosition, 3);
  EXPECT_EQ(format.nLengthModifier, 1u);
  EXPECT_EQ(format.bTypeName, 'd');
}

TEST(FcStrGetFormatSpec, TellsWhatAnItemLeavesOut) {
  FcStrFormatSpec format;
  ASSERT_TRUE(FcStrGetFormatSpec(FWT("%s"), &format));
  EXPECT_EQ(format.cbFormatSpecLength, 2u);
  EXPECT_EQ(format.fLeftAlign, 0u);
  EXPECT_EQ(format.tbPadChar, ' ');
  EXPECT_EQ(format.tbPositiveChar, 0);
  EXPECT_STREQ(FWC(format.ptbzOtherFlags), "");
  EXPECT_EQ(format.nWidth, -2);
  EXPECT_EQ(format.nPrecision, -2);
  EXPECT_EQ(format.nPosition, -1);
  EXPECT_EQ(format.nLengthModifier, 0u);
  ASSERT_TRUE(FcStrGetFormatSpec(FWT("% *.*Lf"), &format));
  EXPECT_EQ(format.nWidth, -1);
  EXPECT_EQ(format.nPrecision, -1);
  EXPECT_STREQ(FWC(format.ptbzOtherFlags), " ");
  EXPECT_EQ(format.nLengthModifier, 2u);
}

TEST(FcStrGetFormatSpec, AssertsOfAPositionThatIsNoNumber) {
  FcStrFormatSpec format;
  ExpectAsserts expected({"Bad positional argument"});
  EXPECT_FALSE(FcStrGetFormatSpec(FWT("%[x]d"), &format));
}

TEST(FcStrGetPercentList, FindsItemsAndBoundsTheirSlots) {
  FwTextString ptbz = FWT("a%d%%b%[3]*.2s%(x%)");
  FwTextByte* aptbPercent[8] = {};
  uint32 nPercents = 0;
  uint64 cMaxSlots = 0;
  EXPECT_EQ(FcStrCountPercents(ptbz), 6u);
  ASSERT_TRUE(FcStrGetPercentList(ptbz, aptbPercent, &nPercents, &cMaxSlots));
  ASSERT_EQ(nPercents, 5u);
  EXPECT_EQ(aptbPercent[0], ptbz + 1);
  EXPECT_EQ(aptbPercent[1], ptbz + 3);
  EXPECT_EQ(aptbPercent[2], ptbz + 6);
  EXPECT_EQ(aptbPercent[3], ptbz + 14);
  // %d 1, %[3]*.2s 1 + 4 + 1 + 1, %( 2, %) 1.
  EXPECT_EQ(cMaxSlots, 11u);
}

TEST(FcStrGetFormat, AssertsOfAnotherSizeThanTheArguments) {
  FcStrArg arg = IntegerArg(1);
  FcStrFormatSpec format = {};
  format.pArg = &arg;
  EXPECT_EQ(FcStrGetFormat_(&format, 0, -1), &format);
  EXPECT_EQ(FcStrGetFormat_(&format, 0, 4), &format);
  ExpectAsserts expected({"Bad typing"});
  EXPECT_EQ(FcStrGetFormat_(&format, 0, 8), &format);
}
