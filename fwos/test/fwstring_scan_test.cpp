#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "fcstring.h"
#include "fwstring.h"
#include "recorder.h"

namespace {

struct UnsignedRow {
  const char* text;
  uint32 nBase;
  int32 fRead;
  uint32 value;
  int cursor;  // bytes moved
};

struct SignedRow {
  const char* text;
  uint32 nBase;
  int32 fRead;
  int32 value;
  int cursor;
};

struct RealRow {
  const char* text;
  int32 fRead;
  double value;
  int cursor;
};

}  // namespace

TEST(FcStrScanUInt, ReadsDigitsOfTheBase) {
  for (const UnsignedRow& row :
       std::initializer_list<UnsignedRow>{{"0", 10, 1, 0, 1},
                                          {"42", 10, 1, 42, 2},
                                          {" \t42x", 10, 1, 42, 4},
                                          {"+42", 10, 1, 42, 3},
                                          {"-42", 10, 1, 0xFFFFFFD6, 3},
                                          {"-0", 10, 1, 0, 2},
                                          {"", 10, 0, 0, 0},
                                          {"  ", 10, 0, 0, 0},
                                          {"-", 10, 0, 0, 0},
                                          {"+-1", 10, 0, 0, 0},
                                          {"x", 10, 0, 0, 0},
                                          {"\n1", 10, 0, 0, 0},  // a newline is no white space
                                          {"101102", 2, 1, 22, 5},
                                          {"777", 8, 1, 511, 3},
                                          {"8", 8, 0, 0, 0},
                                          {"fF", 16, 1, 255, 2},
                                          {"0xff", 16, 1, 255, 4},
                                          {"0XFFg", 16, 1, 255, 4},
                                          {"0", 16, 1, 0, 1},
                                          {"0x", 16, 0, 0, 0},
                                          {"0xg", 16, 0, 0, 0},
                                          {"zZ", 36, 1, 35 * 36 + 35, 2},
                                          {"z", 35, 0, 0, 0},
                                          {"Zz", 40, 1, 35 * 40 + 35, 2},
                                          {"4294967295", 10, 1, 4294967295u, 10},
                                          {"FFFFFFFF", 16, 1, 0xFFFFFFFF, 8},
                                          {"4294967296", 10, 0, 0xFFFFFFFF, 10},
                                          {"42949672960000.", 10, 0, 0xFFFFFFFF, 14},
                                          {"100000000", 16, 0, 0xFFFFFFFF, 9},
                                          {"-4294967296", 10, 0, 0xFFFFFFFF, 11},
                                          {"-4294967295", 10, 1, 1, 11}}) {
    FwTextString ptbz = FWT(row.text);
    uint32 value = 12345;
    EXPECT_EQ(row.fRead, FcStrScanUInt(&ptbz, row.nBase, &value, 1)) << row.text;
    EXPECT_EQ(row.value, value) << row.text;
    EXPECT_EQ(row.cursor, ptbz - FWT(row.text)) << row.text;
    ptbz = FWT(row.text);
    EXPECT_EQ(row.fRead, FcStrScanUInt(&ptbz, row.nBase, &value, 0)) << row.text;
    EXPECT_EQ(row.value, value) << row.text;
  }
}

TEST(FcStrScanUInt, BaseZeroReadsTheBaseFromTheText) {
  for (const UnsignedRow& row :
       std::initializer_list<UnsignedRow>{{"0x1F", 0, 1, 31, 4},
                                          {"0X1f", 0, 1, 31, 4},
                                          {"017", 0, 1, 15, 3},
                                          {"17", 0, 1, 17, 2},
                                          {"00", 0, 1, 0, 2},
                                          {"-0x10", 0, 1, 0xFFFFFFF0, 5},
                                          {"0x", 0, 0, 0, 0},
                                          // The zero that selected the base is no digit.
                                          {"0", 0, 0, 0, 0},
                                          {"09", 0, 0, 0, 0},
                                          {"0 ", 0, 0, 0, 0}}) {
    FwTextString ptbz = FWT(row.text);
    uint32 value = 12345;
    EXPECT_EQ(row.fRead, FcStrScanUInt(&ptbz, row.nBase, &value, 1)) << row.text;
    EXPECT_EQ(row.value, value) << row.text;
    EXPECT_EQ(row.cursor, ptbz - FWT(row.text)) << row.text;
  }
}

TEST(FcStrScanUInt, BaseOneAsserts) {
  FwTextString ptbz = FWT("1");
  uint32 value = 7;
  ExpectAsserts expected({"Bad base"});
  EXPECT_EQ(0, FcStrScanUInt(&ptbz, 1, &value, 1));
  EXPECT_EQ(0u, value);
}

TEST(FcStrScanInt, FollowsTheUnsignedScan) {
  for (const SignedRow& row :
       std::initializer_list<SignedRow>{// failed with 0xFFFFFFFF
                                        {"4294967296", 10, 0, INT32_MAX, 10},
                                        {" -4294967296", 10, 0, INT32_MIN, 12},
                                        // failed otherwise
                                        {"x", 10, 0, 0, 0},
                                        {"-", 10, 0, 0, 0},
                                        // the sign and the top bit clear
                                        {"-0", 10, 0, INT32_MIN, 2},
                                        {"-2147483649", 10, 0, INT32_MIN, 11},
                                        {"-4294967295", 10, 0, INT32_MIN, 11},
                                        // the value
                                        {"-1", 10, 1, -1, 2},
                                        {"-2147483648", 10, 1, INT32_MIN, 11},
                                        {"0", 10, 1, 0, 1},
                                        {"+7", 10, 1, 7, 2},
                                        {"2147483647", 10, 1, INT32_MAX, 10},
                                        {"-0x10", 0, 1, -16, 5},
                                        // no sign and the top bit set
                                        {"2147483648", 10, 0, INT32_MAX, 10},
                                        {"4294967295", 10, 0, INT32_MAX, 10}}) {
    FwTextString ptbz = FWT(row.text);
    int32 value = 12345;
    EXPECT_EQ(row.fRead, FcStrScanInt(&ptbz, row.nBase, &value, 1)) << row.text;
    EXPECT_EQ(row.value, value) << row.text;
    EXPECT_EQ(row.cursor, ptbz - FWT(row.text)) << row.text;
  }
}

TEST(FwStrToL, StoresTheValueOnlyOnSuccess) {
  FwTextString ptbz = FWT("99999999999");
  int32 value = 5;
  EXPECT_EQ(0, FwStrToL(&ptbz, 10, &value));
  EXPECT_EQ(0, value);
  ptbz = FWT("-12 ");
  EXPECT_EQ(1, FwStrToL(&ptbz, 10, &value));
  EXPECT_EQ(-12, value);
  EXPECT_STREQ(" ", FWC(ptbz));
  uint32 uvalue = 5;
  ptbz = FWT("99999999999");
  EXPECT_EQ(0, FwStrToUL(&ptbz, 10, &uvalue));
  EXPECT_EQ(0u, uvalue);
  ptbz = FWT("ff");
  EXPECT_EQ(1, FwStrToUL(&ptbz, 16, &uvalue));
  EXPECT_EQ(255u, uvalue);
}

TEST(FwStrToL, BasesBelowTwoAssert) {
  FwTextString ptbz = FWT("10");
  int32 value = 5;
  uint32 uvalue = 5;
  ExpectAsserts expected({"Bad base", "Bad base", "Bad base", "Bad base"});
  EXPECT_EQ(0, FwStrToL(&ptbz, 0, &value));
  EXPECT_EQ(0, FwStrToL(&ptbz, 1, &value));
  EXPECT_EQ(0, value);
  EXPECT_EQ(0, FwStrToUL(&ptbz, 0, &uvalue));
  EXPECT_EQ(0, FwStrToUL(&ptbz, 1, &uvalue));
  EXPECT_EQ(0u, uvalue);
}

TEST(FcStrScanReal, ReadsDecimalNumbers) {
  for (const RealRow& row : std::initializer_list<RealRow>{
           {"0", 1, 0.0, 1},
           {"1", 1, 1.0, 1},
           {" \t-2.5x", 1, -2.5, 6},
           {"+2.5", 1, 2.5, 4},
           {".5", 1, 0.5, 2},
           {"-.5", 1, -0.5, 3},
           {"5.", 1, 5.0, 2},
           {"12.", 1, 12.0, 3},
           {"007", 1, 7.0, 3},
           {"0.0625", 1, 0.0625, 6},
           {"100", 1, 100.0, 3},
           {"100.5", 1, 100.5, 5},
           {"1e3", 1, 1000.0, 3},
           {"1E+3", 1, 1000.0, 4},
           {"125e-3", 1, 0.125, 6},
           {"1e", 1, 1.0, 1},
           {"1e+", 1, 1.0, 1},
           {"1.e2", 1, 100.0, 4},
           {"1.2.3", 1, 1.2, 3},
           {"", 0, 0.0, 0},
           {".", 0, 0.0, 0},
           {"-", 0, 0.0, 0},
           {"-.", 0, 0.0, 0},
           {"e5", 0, 0.0, 0},
           {".e5", 0, 0.0, 0},
           {"x1", 0, 0.0, 0},
           {"123456789", 1, 123456789.0, 9},
           {"12345678901234567", 1, 1.0 * 1e16 + 23456789.0 * 1e8 + 1234567.0, 17}}) {
    for (int32 fUseCLocale : {0, 1}) {
      FwTextString ptbz = FWT(row.text);
      double value = 99.0;
      EXPECT_EQ(row.fRead, FcStrScanReal(&ptbz, &value, fUseCLocale)) << row.text;
      EXPECT_DOUBLE_EQ(row.value, value) << row.text;
      EXPECT_EQ(row.cursor, ptbz - FWT(row.text)) << row.text;
    }
  }
}

TEST(FcStrScanReal, AnExponentMarkerWithoutDigitsIsNotConsumed) {
  FwTextString ptbz = FWT("1e");
  double value;
  EXPECT_EQ(1, FcStrScanReal(&ptbz, &value, 1));
  EXPECT_EQ(1.0, value);
  EXPECT_STREQ("e", FWC(ptbz));
}

TEST(FcStrScanReal, AZeroLosesItsSign) {
  FwTextString ptbz = FWT("-0.0");
  double value = 1.0;
  EXPECT_EQ(1, FcStrScanReal(&ptbz, &value, 1));
  EXPECT_EQ(0.0, value);
  EXPECT_FALSE(std::signbit(value));
  EXPECT_STREQ("", FWC(ptbz));
}

TEST(FcStrScanReal, FortyDigitsKeepThirtyTwoAndScaleByTheRest) {
  FwTextString ptbz = FWT("1234567890123456789012345678901234567890");
  double value;
  EXPECT_EQ(1, FcStrScanReal(&ptbz, &value, 1));
  EXPECT_STREQ("", FWC(ptbz));
  // 32 digits in four chunks of eight, then eight places up.
  const double kept = 12345678.0 * 1e24 + 90123456.0 * 1e16 + 78901234.0 * 1e8 + 56789012.0;
  EXPECT_EQ(kept * std::pow(10.0, 8), value);
}

TEST(FcStrScanReal, DigitsBeyondTheThirtySecondBehindThePointAreDropped) {
  FwTextString ptbz = FWT("0.0012345678901234567890123456789012999999");
  double value;
  EXPECT_EQ(1, FcStrScanReal(&ptbz, &value, 1));
  EXPECT_STREQ("", FWC(ptbz));
  const double kept = 12345678.0 * 1e24 + 90123456.0 * 1e16 + 78901234.0 * 1e8 + 56789012.0;
  EXPECT_EQ(kept * std::pow(10.0, -34), value);
}

TEST(FcStrScanReal, ExponentsStopAccumulatingAtThreeHundredAndEight) {
  struct Row {
    const char* text;
    double value;
  };
  for (const Row& row : std::initializer_list<Row>{{"1e308", 1e308},
                                                   {"1e3089999", 1e308},
                                                   {"1e309", HUGE_VAL},
                                                   {"1e-309", std::pow(10.0, -309)},
                                                   {"1e-400", 0.0},
                                                   {"1e-3089", std::pow(10.0, -308)}}) {
    FwTextString ptbz = FWT(row.text);
    double value;
    EXPECT_EQ(1, FcStrScanReal(&ptbz, &value, 1)) << row.text;
    EXPECT_DOUBLE_EQ(row.value, value) << row.text;
    EXPECT_STREQ("", FWC(ptbz)) << row.text;
  }
}

TEST(FwStrToD, StoresTheValueOnlyOnSuccess) {
  FwTextString ptbz = FWT("2.25,");
  double value = 9.0;
  EXPECT_EQ(1, FwStrToD(&ptbz, &value));
  EXPECT_EQ(2.25, value);
  EXPECT_STREQ(",", FWC(ptbz));
  EXPECT_EQ(0, FwStrToD(&ptbz, &value));
  EXPECT_EQ(0.0, value);
  EXPECT_STREQ(",", FWC(ptbz));
}

TEST(FwStrScanners, NullArgumentsAssert) {
  FwTextString ptbz = FWT("1");
  FwTextString ptbzNull = nullptr;
  int32 value = 5;
  uint32 uvalue = 5;
  double real = 5;
  ExpectAsserts expected({"NULL pptbz", "NULL pnResult", "NULL ptbz", "NULL pptbz", "NULL pnResult",
                          "NULL ptbz", "NULL pptbz", "NULL pnResult", "NULL ptbz", "NULL param",
                          "NULL param", "NULL param"});
  EXPECT_EQ(0, FcStrScanUInt(nullptr, 10, &uvalue, 1));
  EXPECT_EQ(0, FcStrScanUInt(&ptbz, 10, nullptr, 1));
  EXPECT_EQ(0, FcStrScanUInt(&ptbzNull, 10, &uvalue, 1));
  EXPECT_EQ(0, FcStrScanInt(nullptr, 10, &value, 1));
  EXPECT_EQ(0, FcStrScanInt(&ptbz, 10, nullptr, 1));
  EXPECT_EQ(0, FcStrScanInt(&ptbzNull, 10, &value, 1));
  EXPECT_EQ(0, FcStrScanReal(nullptr, &real, 1));
  EXPECT_EQ(0, FcStrScanReal(&ptbz, nullptr, 1));
  EXPECT_EQ(0, FcStrScanReal(&ptbzNull, &real, 1));
  EXPECT_EQ(0, FwStrToL(nullptr, 10, &value));
  EXPECT_EQ(0, FwStrToUL(nullptr, 10, &uvalue));
  EXPECT_EQ(0, FwStrToD(nullptr, &real));
}
