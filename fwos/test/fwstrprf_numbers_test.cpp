// Numbers: integers, reals, and the way through the C library.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "fcstrprf.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "fwstrprf_format.h"
#include "recorder.h"

namespace {

struct IntegerCase {
  const char* pszFormat;
  int32 value;
  const char* pszExpected;
};

constexpr int32 kMin = std::numeric_limits<int32>::min();

const IntegerCase kIntegers[] = {
    {"%d", 0, "0"},
    {"%d", -7, "-7"},
    {"%i", 42, "42"},
    {"%d", kMin, "-2147483648"},
    {"%u", -1, "4294967295"},
    {"%o", 8, "10"},
    {"%x", 255, "ff"},
    {"%X", 255, "FF"},
    {"%+d", 7, "+7"},
    {"%+d", -7, "-7"},
    {"% d", 7, " 7"},
    {"%+ d", 7, "+7"},
    {"% +d", 7, "+7"},
    {"%+d", 0, "+0"},
    {"%+u", 5, "5"},
    {"%+x", 5, "5"},
    {"%#d", 5, "5"},
    {"%#u", 5, "5"},
    {"%#x", 255, "0xff"},
    {"%#X", 255, "0XFF"},
    {"%#o", 8, "010"},
    {"%#x", 0, "0x0"},
    {"%#X", 0, "0X0"},
    {"%#o", 0, "00"},
    {"%5d|", 42, "   42|"},
    {"%-5d|", 42, "42   |"},
    {"%05d", -42, "-0042"},
    {"%+05d", 7, "+0007"},
    {"%#06x", 255, "0x00ff"},
    {"%-05d|", 7, "7    |"},
    {"%0-5d|", 7, "7    |"},
    {"%.4d", 42, "0042"},
    {"%.4d", -42, "-0042"},
    {"%8.4d", 42, "    0042"},
    {"%-8.4d|", 42, "0042    |"},
    {"%05.2d", 7, "00007"},
    {"%08.3d", 7, "00000007"},
    {"%.0d", 0, "0"},
    {"%.d", 0, "0"},
    {"%#8x", 255, "    0xff"},
    {"%1d", 12345, "12345"},
    {"%hd", 70000, "4464"},
    {"%hd", 40000, "-25536"},
    {"%hi", 65535, "-1"},
    {"%hu", 70000, "4464"},
    {"%hx", 0x12345, "2345"},
    {"%ho", 0x10008, "10"},
    {"%ld", 100000, "100000"},
    {"%Ld", -100000, "-100000"},
};

struct RealCase {
  const char* pszFormat;
  double value;
  const char* pszExpected;
};

const RealCase kReals[] = {
    // plain
    {"%f", 0.0, "0.000000"},
    {"%f", 1.5, "1.500000"},
    {"%f", -1.5, "-1.500000"},
    {"%.2f", 3.14159, "3.14"},
    {"%.0f", 2.5, "3"},
    {"%.0f", 0.4, "0"},
    {"%.0f", 0.5, "1"},
    // rounded to just ten, from which one digit more is made
    {"%.0f", 9.5, "10"},
    {"%.0f", -9.5, "-10"},
    {"%#.0f", 1.0, "1."},
    {"%.3f", 1e-10, "0.000"},
    {"%.1f", 9.96, "10.0"},
    {"%.2f", 0.996, "1.00"},
    {"%.1f", 12.26, "12.3"},
    {"%.1f", 1234.56, "1234.6"},
    {"%.2f", -0.001, "0.00"},
    {"%+.2f", -0.001, "+0.00"},
    {"%+.1f", 2.0, "+2.0"},
    {"% .1f", 2.0, " 2.0"},
    {"%8.2f|", 3.14159, "    3.14|"},
    {"%-8.2f|", 3.14159, "3.14    |"},
    {"%08.2f", -3.14159, "-0003.14"},
    {"%-08.2f|", 3.14159, "3.14    |"},
    {"%12.10f", 0.5, "0.5000000000"},
    {"%.12f", 0.5, "0.500000000000"},
    // exponential
    {"%e", 0.0, "0.000000e+000"},
    {"%e", 1.5, "1.500000e+000"},
    {"%E", 1.5, "1.500000E+000"},
    {"%.3e", 12345.678, "1.235e+004"},
    {"%.2e", 0.00123, "1.23e-003"},
    {"%.0e", 9.9, "1e+001"},
    {"%.0e", 9.5, "1e+001"},
    {"%#.0e", 2.0, "2.e+000"},
    {"%e", 1e-31, "0.000000e+000"},
    {"%.32f", 9e-31, "0.00000000000000000000000000000000"},
    {"%.1e", 2e-30, "2.0e-030"},
    {"%.2e", 1.7e308, "1.70e+308"},
    {"%12.1e|", -1.5, "   -1.5e+000|"},
    {"%-12.1e|", -1.5, "-1.5e+000   |"},
    {"%012.1e", -1.5, "-0001.5e+000"},
    // general
    {"%g", 0.0, "0"},
    {"%g", 1.5, "1.5"},
    {"%.2g", 1.0, "1"},
    {"%.2g", 1.5, "1.5"},
    {"%g", -0.5, "-0.5"},
    {"%g", 100000.0, "100000"},
    {"%g", 1000000.0, "1e+006"},
    {"%G", 1000000.0, "1E+006"},
    {"%g", 0.0001, "0.0001"},
    {"%g", 0.00001, "1e-005"},
    {"%g", 1e-31, "0"},
    {"%.3g", 1234.5, "1.23e+003"},
    {"%.0g", 3.7, "4"},
    {"%.10g", 0.25, "0.25"},
    {"%g", 0.001234, "0.001234"},
    {"%g", 123.25, "123.25"},
    {"%10g|", 1.5, "       1.5|"},
    {"%-10g|", 1.5, "1.5       |"},
    {"%#g", 0.0, "0.00000"},
    {"%#g", 1.0, "1.00000"},
    {"%#g", 0.5, "0.500000"},
    {"%#.1g", 1.0, "1"},
    // The choice of the form is made before rounding.
    {"%g", 999999.9, "1000000"},
};

// Parameters as FcStrPrintfInt takes them, and what the C library prints.
struct CLibraryCase {
  char type;
  int32 nMinWidth;
  int32 nPrecision;
  int32 fLeftJustified;
  int32 fPadWithZero;
  FwTextByte tbPositiveChar;
  int32 fOptionalForm;
  const char* pszExpected;
};

}  // namespace

TEST(FwStrPrintInt, PrintsEveryTypeAndFlag) {
  for (const IntegerCase& c : kIntegers) {
    EXPECT_EQ(c.pszExpected, Format(c.pszFormat, c.value)) << c.pszFormat << " of " << c.value;
  }
}

TEST(FwStrPrintInt, PadsBeyondItsWorkArea) {
  EXPECT_EQ(std::string(199, ' ') + "7", Format("%200d", 7));
  EXPECT_EQ("7" + std::string(199, ' '), Format("%-200d", 7));
  EXPECT_EQ("-" + std::string(198, '0') + "7", Format("%0200d", -7));
  EXPECT_EQ(std::string(199, '0') + "7", Format("%.200d", 7));
}

TEST(FwStrPrintInt, IgnoresANegativeWidth) {
  EXPECT_EQ("7|", Format("%*d|", -5, 7));
}

TEST(FwStrPrintInt, AssertsOfAnUnknownType) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    ExpectAsserts expected({"Bad type"});
    EXPECT_EQ(0u, FwStrPrintInt(&record, 1, 'z', 0, -2, 0, 0, 0, 1, 0));
  }
  EXPECT_EQ("", Taken(&record));
}

TEST(FwStrPrintInt, CountsWhatAFullFixedRecordTook) {
  FwByte abBuffer[4] = {};
  FwStrRecord record;
  FwStrRecordOpenOn(&record, abBuffer, sizeof abBuffer);
  EXPECT_EQ(3u, FwStrPrintInt(&record, 12345, 'd', 0, 1, 0, 0, 0, 1, 0));
  EXPECT_STREQ("123", FWC(abBuffer));
  EXPECT_EQ(0u, FwStrPrintReal(&record, 1.5, 'f', 0, 1, 0, 0, 0, 1, 0));
  EXPECT_STREQ("123", FWC(abBuffer));
}

TEST(FwStrPrintReal, PrintsEveryTypeAndFlag) {
  for (const RealCase& c : kReals) {
    EXPECT_EQ(c.pszExpected, Format(c.pszFormat, c.value)) << c.pszFormat << " of " << c.value;
  }
}

// The logarithm of the value is rounded to 3, so it counts as one with four digits before the
// point, while the one a few doubles further down does not.
TEST(FwStrPrintReal, CountsAValueCloseBelowAPowerAsThePower) {
  double value = 1000;
  for (int n = 0; n < 5; n++)
    value = std::nextafter(value, 0);
  EXPECT_EQ("1e+003", Format("%.3g", value));
  EXPECT_EQ("1000", Format("%.3g", std::nextafter(value, 0)));
}

TEST(FwStrPrintReal, TakesSixDigitsWithoutAPrecision) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(8u, FwStrPrintReal(&record, 2.0, 'f', 0, -2, 0, 0, 0, 1, 0));
  EXPECT_EQ("2.000000", Taken(&record));
}

TEST(FwStrPrintReal, WritesInfinitiesAndNansAsWords) {
  double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ("inf", Format("%f", infinity));
  EXPECT_EQ("-inf", Format("%e", -infinity));
  EXPECT_EQ("nan", Format("%g", std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ("   inf|inf   |", Format("%6f|%-6f|", infinity, infinity));
}

TEST(FwStrPrintReal, AssertsOfAnUnknownType) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    ExpectAsserts expected({"Bad type"});
    EXPECT_EQ(0u, FwStrPrintReal(&record, 1.0, 'd', 0, 2, 0, 0, 0, 1, 0));
  }
  EXPECT_EQ("", Taken(&record));
}

TEST(FwStrPrintReal, GivesAllDigitsThatAreAskedFor) {
  std::string text = Format("%.100f", 0.5);
  EXPECT_EQ(102u, text.size());
  EXPECT_EQ("0.5000000000", text.substr(0, 12));
}

TEST(FwStrPrintfLocal, PrintsDecimalsAndRealsThroughTheCLibrary) {
  EXPECT_EQ("-5 6 7", FormatLocal("%d %i %u", -5, 6, 7u));
  EXPECT_EQ("   07", FormatLocal("%05.2d", 7));
  EXPECT_EQ("1.500000e+00", FormatLocal("%e", 1.5));
  EXPECT_EQ("1e+06", FormatLocal("%g", 1000000.0));
  EXPECT_EQ("   +3.14|2.5     |", FormatLocal("%+8.2f|%-8.1f|", 3.14159, 2.5));
}

TEST(FwStrPrintfLocal, NeverTakesTheLocalRouteForOctalAndHexadecimal) {
  EXPECT_EQ("0x0 00 0XFF", FormatLocal("%#x %#o %#X", 0u, 0u, 255u));
}

TEST(FcStrPrintfInt, BuildsTheCLibrarysFormat) {
  const CLibraryCase cases[] = {
      {'d', 0, -2, 0, 0, 0, 0, "255"},     {'d', 6, -2, 0, 0, 0, 0, "   255"},
      {'d', 6, -2, 1, 0, 0, 0, "255   "},  {'d', 6, -2, 0, 1, '+', 0, "+00255"},
      {'d', 6, 4, 0, 0, ' ', 0, "  0255"}, {'u', 0, 5, 0, 0, 0, 0, "00255"},
      {'x', 0, -2, 0, 0, 0, 1, "0xff"},    {'X', 8, -2, 1, 0, 0, 1, "0XFF    "},
      {'o', 0, -2, 0, 0, 0, 1, "0377"},    {'d', -6, -1, 0, 0, 0, 0, "255"},
  };
  for (const CLibraryCase& c : cases) {
    SCOPED_TRACE(c.pszExpected);
    FwStrRecord record;
    FwStrRecordOpen(&record);
    uint32 cb = FcStrPrintfInt(&record, 255, c.type, c.nMinWidth, c.nPrecision, c.fLeftJustified,
                               c.fPadWithZero, c.tbPositiveChar, c.fOptionalForm);
    EXPECT_EQ(cb, std::string(c.pszExpected).size());
    EXPECT_EQ(c.pszExpected, Taken(&record));
  }
}

TEST(FcStrPrintfReal, BuildsTheCLibrarysFormat) {
  const CLibraryCase cases[] = {
      {'f', 0, 2, 0, 0, 0, 0, "2.50"},        {'f', 8, 2, 1, 0, 0, 0, "2.50    "},
      {'f', 8, 1, 0, 1, '+', 0, "+00002.5"},  {'e', 0, 1, 0, 0, 0, 0, "2.5e+00"},
      {'G', 0, -2, 0, 0, ' ', 1, " 2.50000"},
  };
  for (const CLibraryCase& c : cases) {
    SCOPED_TRACE(c.pszExpected);
    FwStrRecord record;
    FwStrRecordOpen(&record);
    FcStrPrintfReal(&record, 2.5, c.type, c.nMinWidth, c.nPrecision, c.fLeftJustified,
                    c.fPadWithZero, c.tbPositiveChar, c.fOptionalForm);
    EXPECT_EQ(c.pszExpected, Taken(&record));
  }
}

TEST(FcStrPutCFormat, PutsNothingOfWhatTheCLibraryRefuses) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("a"));
  // More bytes than an int counts.
  const std::string format = "%2147483648d";
  EXPECT_EQ(0u, FcStrPutCFormat(&record, format.c_str(), 1));
  EXPECT_EQ("a", Taken(&record));
}

TEST(FcStrPrintfInt, HoldsWidthsOfAnySize) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  EXPECT_EQ(1000u, FcStrPrintfInt(&record, 7, 'd', 1000, -2, 0, 0, 0, 0));
  EXPECT_EQ(std::string(999, ' ') + "7", Taken(&record));
}
