// Argument slots: order, positions, stars, and typed lists.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "caller.h"
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

std::string FormatTyped(const char* pszFormat, std::vector<FcStrArg> args,
                        Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  FcStrArgList list = {args.data(), static_cast<uint32>(args.size())};
  FwStrRecord record;
  FwStrRecordOpen(&record);
  uint32 cbAdded = FcPrfPrintArgList(&record, FWT(pszFormat), &list);
  std::string text = Taken(&record);
  EXPECT_EQ(text.size(), cbAdded) << pszFormat;
  return text;
}

}  // namespace

TEST(FcPrfArguments, AreTakenInFormatOrder) {
  EXPECT_EQ("-1 two 3.0 4 5", Format("%d %s %.1f %u %c", -1, "two", 3.0, 4u, '5'));
  // More than the registers hold of each kind.
  EXPECT_EQ("123456789", Format("%d%d%d%d%d%d%d%d%s", 1, 2, 3, 4, 5, 6, 7, 8, "9"));
  EXPECT_EQ("12345678910", Format("%.0f%.0f%.0f%.0f%.0f%.0f%.0f%.0f%.0f%d", 1.0, 2.0, 3.0, 4.0, 5.0,
                                  6.0, 7.0, 8.0, 9.0, 10));
}

TEST(FcPrfArguments, AreTakenByPosition) {
  EXPECT_EQ("b a", Format("%[1]s %[0]s", "a", "b"));
  EXPECT_EQ("7s2.0", Format("%[2]d%[0]s%[1].1f", "s", 2.0, 7));
  EXPECT_EQ("5%", Format("%[0]d%%", 5));
}

TEST(FcPrfArguments, SkipAMiddleSlotThatNothingReferencesAndNeverReadATrailingOne) {
  EXPECT_EQ("1 3", Format("%[0]d %[2]d", 1, 99, 3));
  EXPECT_EQ("last", Format("%[2]s", FWT("x"), 99, "last", "unread"));
}

TEST(FcPrfArguments, TakeStarsAheadOfTheirItem) {
  EXPECT_EQ("   42|7   |", Format("%*d|%-*d|", 5, 42, 4, 7));
  EXPECT_EQ("3.14", Format("%.*f", 2, 3.14159));
  EXPECT_EQ("    3.14|", Format("%*.*f|", 8, 2, 3.14159));
  EXPECT_EQ("ab", Format("%.*s", 2, "abc"));
}

TEST(FcPrfArguments, CountStarsInPositions) {
  EXPECT_EQ("   42 x", Format("%[1]*d %[0]s", "x", 5, 42));
  EXPECT_EQ("x   2.0", Format("%[3]s%[0]*.*f", 6, 1, 2.0, "x"));
}

TEST(FcPrfPrintArgList, PrintsEveryType) {
  EXPECT_EQ("-1 2 three 4.00", FormatTyped("%d %u %s %.2f", {IntegerArg(-1), UnsignedArg(2),
                                                             StringArg("three"), RealArg(4.0)}));
  EXPECT_EQ("no items", FormatTyped("no items", {IntegerArg(1)}));
}

TEST(FcPrfPrintArgList, TakesSelectorsFirst) {
  EXPECT_EQ("xb",
            FormatTyped("%[0]s%(a%|b%)%{c%}", {UnsignedArg(1), UnsignedArg(0), StringArg("x")}));
}

TEST(FcPrfPrintArgList, UsesLocalNumerics) {
  EXPECT_EQ("1.500000e+00", FormatTyped("%e", {RealArg(1.5)}));
}

TEST(FcPrfPrintArgList, PrintsASubstringInPlaceOfThePrecision) {
  EXPECT_EQ("<abc>", FormatTyped("<%s>", {StringArg("abcdef", 3)}));
  EXPECT_EQ("<abc>", FormatTyped("<%.1s>", {StringArg("abcdef", 3)}));
  EXPECT_EQ("<   abc>", FormatTyped("<%6s>", {StringArg("abcdef", 3)}));
}

TEST(FcPrfPrintArgList, WantsUnreferencedSlotsGeneric) {
  EXPECT_EQ("1 3", FormatTyped("%[0]d %[2]d", {IntegerArg(1), GenericArg(), IntegerArg(3)}));
  ExpectAsserts expected({"Format to output doesn't match arguments"});
  EXPECT_EQ("", FormatTyped("%[0]d %[2]d", {IntegerArg(1), IntegerArg(2), IntegerArg(3)}));
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
    EXPECT_EQ("", FormatTyped(c.pszFormat, {c.arg, c.arg})) << c.pszFormat;
  }
}

TEST(FcPrfPrintArgList, AssertsOfAListThatIsTooShort) {
  ExpectAsserts expected({"Format to output doesn't match arguments"});
  EXPECT_EQ("", FormatTyped("%d %d", {IntegerArg(1)}));
}

TEST(FcPrfPrintArgList, AssertsOfAnotherSizeThanTheTypes) {
  FcStrArg arg = IntegerArg(1);
  arg.cbTypeSize = 8;
  ExpectAsserts expected({"Bad size"});
  EXPECT_EQ("", FormatTyped("%d", {arg}));
}

TEST(FcPrfPrintArgList, LeavesTheListAsItWas) {
  FcStrArg arg = IntegerArg(70000);
  FcStrArgList list = {&arg, 1};
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FcPrfPrintArgList(&record, FWT("%hd "), &list);
  FcPrfPrintArgList(&record, FWT("%d"), &list);
  EXPECT_EQ("4464 70000", Taken(&record));
}

TEST(FcStrGetFormatSpec, ParsesAllPartsOfAnItem) {
  FcStrFormatSpec format;
  FwTextString ptbz = FWT("%[3]-+ #012.5hd!");
  ASSERT_TRUE(FcStrGetFormatSpec(ptbz, &format));
  EXPECT_EQ(ptbz, format.ptbLocation);
  EXPECT_EQ(15u, format.cbFormatSpecLength);
  EXPECT_EQ(1u, format.fLeftAlign);
  EXPECT_EQ('0', format.tbPadChar);
  EXPECT_EQ('+', format.tbPositiveChar);
  EXPECT_EQ(1, format.fOptionalForm);
  EXPECT_STREQ("+#", FWC(format.ptbzOtherFlags));
  EXPECT_EQ(12, format.nWidth);
  EXPECT_EQ(5, format.nPrecision);
  EXPECT_EQ(3, format.nPosition);
  EXPECT_EQ(1u, format.nLengthModifier);
  EXPECT_EQ('d', format.bTypeName);
}

TEST(FcStrGetFormatSpec, TellsWhatAnItemLeavesOut) {
  FcStrFormatSpec format;
  ASSERT_TRUE(FcStrGetFormatSpec(FWT("%s"), &format));
  EXPECT_EQ(2u, format.cbFormatSpecLength);
  EXPECT_EQ(0u, format.fLeftAlign);
  EXPECT_EQ(' ', format.tbPadChar);
  EXPECT_EQ(0, format.tbPositiveChar);
  EXPECT_STREQ("", FWC(format.ptbzOtherFlags));
  EXPECT_EQ(-2, format.nWidth);
  EXPECT_EQ(-2, format.nPrecision);
  EXPECT_EQ(-1, format.nPosition);
  EXPECT_EQ(0u, format.nLengthModifier);
  ASSERT_TRUE(FcStrGetFormatSpec(FWT("% *.*Lf"), &format));
  EXPECT_EQ(-1, format.nWidth);
  EXPECT_EQ(-1, format.nPrecision);
  EXPECT_STREQ(" ", FWC(format.ptbzOtherFlags));
  EXPECT_EQ(2u, format.nLengthModifier);
}

TEST(FcStrGetFormatSpec, AssertsIfAPositionIsNotANumber) {
  FcStrFormatSpec format;
  ExpectAsserts expected({"Bad positional argument"});
  EXPECT_FALSE(FcStrGetFormatSpec(FWT("%[x]d"), &format));
}

TEST(FcStrGetPercentList, FindsItemsAndBoundsTheirSlots) {
  FwTextString ptbz = FWT("a%d%%b%[3]*.2s%(x%)");
  FwTextByte* aptbPercent[8] = {};
  uint32 nPercents = 0;
  uint64 cMaxSlots = 0;
  EXPECT_EQ(6u, FcStrCountPercents(ptbz));
  ASSERT_TRUE(FcStrGetPercentList(ptbz, aptbPercent, &nPercents, &cMaxSlots));
  ASSERT_EQ(5u, nPercents);
  EXPECT_EQ(ptbz + 1, aptbPercent[0]);
  EXPECT_EQ(ptbz + 3, aptbPercent[1]);
  EXPECT_EQ(ptbz + 6, aptbPercent[2]);
  EXPECT_EQ(ptbz + 14, aptbPercent[3]);
  // %d 1, %[3]*.2s 1 + 4 + 1 + 1, %( 2, %) 1.
  EXPECT_EQ(11u, cMaxSlots);
}

TEST(FcStrGetFormat, AssertsOfAnotherSizeThanTheArguments) {
  FcStrArg arg = IntegerArg(1);
  FcStrFormatSpec format = {};
  format.pArg = &arg;
  EXPECT_EQ(&format, FcStrGetFormat_(&format, 0, -1));
  EXPECT_EQ(&format, FcStrGetFormat_(&format, 0, 4));
  ExpectAsserts expected({"Bad typing"});
  EXPECT_EQ(&format, FcStrGetFormat_(&format, 0, 8));
}
