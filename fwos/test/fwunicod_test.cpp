#include "fwunicod.h"

#include <gtest/gtest.h>
#include <langinfo.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "fcboot.h"
#include "fcstrprf.h"
#include "fpstring.h"
#include "fwboot.h"
#include "fwmem.h"
#include "fwstring.h"
#include "process.h"
#include "recorder.h"

namespace {

const char kMalformed[] = "Badly encoded UTF-8 character (malformed header in leading byte)";
const char kOverlong[] = "Badly encoded UTF-8 character (overly long encoding)";
const char kBadLead[] = "Invalid UTF16 character (bad leading unit";
const char kBadSecond[] = "Invalid UTF16 character (bad second unit)";
const char kInvalid[] = "Invalid multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]";

std::string Encode(FwTextCharacter tc) {
  FwTextByte ab[8];
  const uint32 n = FwCharacterToUTF8(tc, ab);
  return std::string(ab, ab + n);
}

// A string of units as the caller's own framework block.
FwUTF16String Units(std::vector<FwUTF16Char> units) {
  units.push_back(0);
  return FwUTF16StrDuplicate(units.data());
}

std::vector<FwUTF16Char> Read(FwUTF16String s) {
  return {s, s + FwUniCountChars(s)};
}

// The string that a conversion returned, which is freed.
template <class T>
std::string Take(T* psz) {
  if (psz == nullptr) return "(null)";
  std::string text = reinterpret_cast<char*>(psz);
  FwMemFreeSize(psz, static_cast<uint32>(text.size()) + 1);
  return text;
}

// Sets an environment variable for the scope.
class Variable {
 public:
  Variable(const char* pszName, const char* pszValue) : name_(pszName) {
    if (const char* old = std::getenv(pszName)) old_ = old;
    if (pszValue != nullptr)
      setenv(pszName, pszValue, 1);
    else
      unsetenv(pszName);
  }
  ~Variable() {
    if (old_)
      setenv(name_.c_str(), old_->c_str(), 1);
    else
      unsetenv(name_.c_str());
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  std::string name_;
  std::optional<std::string> old_;
};

// Sets the framework up for a locale, and for the test program's own again at the end.
class Locale {
 public:
  explicit Locale(const char* pszName, const char* pszLocpath = nullptr,
                  const char* pszLang = nullptr) {
    FpStrShutdown();
    all_.emplace("LC_ALL", pszName);
    locpath_.emplace("LOCPATH", pszLocpath);
    lang_.emplace("LANG", pszLang);
    FpStrInit();
  }
  ~Locale() {
    FpStrShutdown();
    lang_.reset();
    locpath_.reset();
    all_.reset();
    setlocale(LC_ALL, "C");
    FpStrInit();
  }
  Locale(const Locale&) = delete;
  Locale& operator=(const Locale&) = delete;

 private:
  std::optional<Variable> all_, locpath_, lang_;
};

// A locale compiled on the spot, as systems seldom have more than one; not there when the system
// can't.
class CompiledLocale {
 public:
  explicit CompiledLocale(const std::string& charmap, const std::string& definition = "POSIX",
                          const std::string& name = "here") {
    RunProgram({"/usr/bin/localedef", "-c", "-i", definition, "-f", charmap, tree_ / name});
    there_ = access((tree_ / (name + "/LC_CTYPE")).c_str(), R_OK) == 0;
  }
  bool there() const { return there_; }
  const char* path() const { return tree_.path().c_str(); }

 private:
  TemporaryTree tree_;
  bool there_ = false;
};

}  // namespace

// --- UTF-8 ---

TEST(FwCharacterToUTF8, TheLengthFollowsTheValue) {
  struct Row {
    FwTextCharacter tc;
    std::string bytes;
  };
  for (const Row& row :
       std::initializer_list<Row>{{0, std::string(1, '\0')},
                                  {0x7F, "\x7F"},
                                  {0x80, "\xC2\x80"},
                                  {0x7FF, "\xDF\xBF"},
                                  {0x800, "\xE0\xA0\x80"},
                                  {0xD800, "\xED\xA0\x80"},  // no test for surrogates
                                  {0xFFFF, "\xEF\xBF\xBF"},
                                  {0x10000, "\xF0\x90\x80\x80"},
                                  {0x10FFFF, "\xF4\x8F\xBF\xBF"},
                                  {0x110000, "\xF4\x90\x80\x80"},
                                  {0x1FFFFF, "\xF7\xBF\xBF\xBF"},
                                  {0x200000, "\xF8\x88\x80\x80\x80"},
                                  {0x3FFFFFF, "\xFB\xBF\xBF\xBF\xBF"},
                                  {0x4000000, "\xFC\x84\x80\x80\x80\x80"},
                                  {0x7FFFFFFF, "\xFD\xBF\xBF\xBF\xBF\xBF"}}) {
    SCOPED_TRACE(row.tc);
    EXPECT_EQ(row.bytes, Encode(row.tc)) << row.tc;
    FwTextCharacter tc = -5;
    std::string bytes = row.bytes;
    EXPECT_EQ(row.bytes.size(), FwUTF8ToCharacter(&tc, FWT(bytes.c_str()))) << row.tc;
    EXPECT_EQ(row.tc, tc);
  }
}

TEST(FwCharacterToUTF8, SixteenBitsAndTwentyOneBitsTakeFourAndFiveBytes) {
  FwTextByte ab[8];
  EXPECT_EQ(4u, FwCharacterToUTF8(0x10000, ab));
  EXPECT_EQ(5u, FwCharacterToUTF8(0x200000, ab));
}

TEST(FwUTF8ToCharacter, ATerminatorIsOneByte) {
  FwTextCharacter tc = 5;
  EXPECT_EQ(1u, FwUTF8ToCharacter(&tc, FWT("")));
  EXPECT_EQ(0, tc);
}

TEST(FwUTF8ToCharacter, ABadLeadByteHasNoLengthAndANegativeValue) {
  for (int b = 0x80; b < 0x100; b++) {
    SCOPED_TRACE(b);
    if (b >= 0xC0 && b < 0xFE) continue;
    FwTextByte ab[] = {static_cast<FwTextByte>(b), 0};
    FwTextCharacter tc = 5;
    ExpectAsserts expected({kMalformed});
    EXPECT_EQ(0u, FwUTF8ToCharacter(&tc, ab)) << b;
    EXPECT_EQ(b - 0x100, tc);
    EXPECT_EQ(std::string(1, static_cast<char>(b)), Encode(tc));
  }
}

TEST(FwUTF8ToCharacter, OverlongFormsAssertAndKeepTheirValue) {
  struct Row {
    const char* bytes;
    uint32 length;
    FwTextCharacter tc;
  };
  for (const Row& row : std::initializer_list<Row>{{"\xC0\x80", 2, 0},
                                                   {"\xC1\xBF", 2, 0x7F},
                                                   {"\xE0\x9F\xBF", 3, 0x7FF},
                                                   {"\xF0\x8F\xBF\xBF", 4, 0xFFFF},
                                                   {"\xF8\x87\xBF\xBF\xBF", 5, 0x1FFFFF},
                                                   {"\xFC\x83\xBF\xBF\xBF\xBF", 6, 0x3FFFFFF}}) {
    SCOPED_TRACE(row.bytes);
    FwTextCharacter tc = 5;
    ExpectAsserts expected({kOverlong});
    EXPECT_EQ(row.length, FwUTF8ToCharacter(&tc, FWT(row.bytes)));
    EXPECT_EQ(row.tc, tc);
  }
}

TEST(FwUTF8ToCharacter, ReadsNothingBehindATerminator) {
  FwTextCharacter tc;
  FwTextByte cut[] = {0xE9, 0};
  EXPECT_EQ(3u, FwUTF8ToCharacter(&tc, cut));
  EXPECT_EQ(0x9000, tc);
  FwTextByte followed[] = {0xE9, 0, 0xFF};
  EXPECT_EQ(3u, FwUTF8ToCharacter(&tc, followed));
  EXPECT_EQ(0x9000, tc);
}

TEST(FwUTF8ToCharacter, NullArgumentsAssert) {
  FwTextCharacter tc;
  FwTextByte ab[8];
  ExpectAsserts expected({"NULL ptb", "NULL param", "NULL ptb"});
  EXPECT_EQ(0u, FwUTF8ToCharacter(&tc, nullptr));
  EXPECT_EQ(0u, FwUTF8ToCharacter(nullptr, ab));
  EXPECT_EQ(0u, FwCharacterToUTF8('a', nullptr));
}

// --- UTF-16 ---

TEST(FwCharacterToUTF16, ValuesFrom0x10000OnTakeTwoUnits) {
  FwUTF16Char units[2] = {0, 0};
  EXPECT_EQ(1u, FwCharacterToUTF16(0xFFFF, units));
  EXPECT_EQ(0xFFFF, units[0]);
  EXPECT_EQ(1u, FwCharacterToUTF16(0xD800, units));  // no test for surrogates
  EXPECT_EQ(0xD800, units[0]);
  EXPECT_EQ(2u, FwCharacterToUTF16(0x10000, units));
  EXPECT_EQ(0xD800, units[0]);
  EXPECT_EQ(0xDC00, units[1]);
  EXPECT_EQ(2u, FwCharacterToUTF16(0x1F600, units));
  EXPECT_EQ(0xD83D, units[0]);
  EXPECT_EQ(0xDE00, units[1]);
  EXPECT_EQ(2u, FwCharacterToUTF16(0x10FFFF, units));
  EXPECT_EQ(0xDBFF, units[0]);
  EXPECT_EQ(0xDFFF, units[1]);
}

TEST(FwUTF16ToCharacter, ReadsThePairFromItsFirstUnitAlone) {
  FwTextCharacter tc;
  FwUTF16Char plain[] = {0x20AC, 0};
  EXPECT_EQ(1u, FwUTF16ToCharacter(&tc, plain));
  EXPECT_EQ(0x20AC, tc);
  FwUTF16Char pair[] = {0xD800, 0xDC01, 0};
  EXPECT_EQ(2u, FwUTF16ToCharacter(&tc, pair));
  EXPECT_EQ(0x10000, tc);
  FwUTF16Char other[] = {0xD83D, 0xDE00, 0};
  EXPECT_EQ(2u, FwUTF16ToCharacter(&tc, other));
  EXPECT_EQ((0x3D << 10 | 0x3D) + 0x10000, tc);
}

TEST(FwUTF16ToCharacter, BadUnitsAssertAndGiveAValue) {
  FwTextCharacter tc;
  {
    FwUTF16Char units[] = {0xDC05, 0xDC00, 0};
    ExpectAsserts expected({kBadLead});
    EXPECT_EQ(2u, FwUTF16ToCharacter(&tc, units));
    EXPECT_EQ((5 << 10 | 5) + 0x10000, tc);
  }
  {
    FwUTF16Char units[] = {0xD805, 'a', 0};
    ExpectAsserts expected({kBadSecond});
    EXPECT_EQ(2u, FwUTF16ToCharacter(&tc, units));
  }
  {
    // The terminator is no second unit.
    FwUTF16Char units[] = {0xDC05, 0};
    ExpectAsserts expected({kBadLead, kBadSecond});
    EXPECT_EQ(1u, FwUTF16ToCharacter(&tc, units));
    EXPECT_EQ((5 << 10 | 5) + 0x10000, tc);
  }
}

TEST(FwUTF16CountChars, CountsUnits) {
  struct Row {
    std::vector<FwUTF16Char> units;
    uint32 count;
  };
  for (const Row& row : std::initializer_list<Row>{{{}, 0},
                                                   {{'a', 0x20AC}, 2},
                                                   {{'a', 0xD83D, 0xDE00, 'b'}, 4},
                                                   {{0xDC00, 'a', 'b'}, 3},
                                                   {{'a', 0xD800}, 2}}) {
    SCOPED_TRACE(testing::PrintToString(row.units));
    FwUTF16String s = Units(row.units);
    EXPECT_EQ(row.count, FwUTF16CountChars(s));
    EXPECT_EQ(row.units.size(), FwUniCountChars(s));
    FwMemFree(s);
  }
}

TEST(FwUTF16Strings, ConvertFromUTF8) {
  EXPECT_EQ(nullptr, FwStrToUTF16(nullptr));
  EXPECT_EQ(nullptr, FwUTF16StrDuplicate(nullptr));
  FwUTF16String s = FwStrToUTF16(FWT("a\xC3\xA9\xF0\x9F\x98\x80"));
  EXPECT_EQ((std::vector<FwUTF16Char>{'a', 0xE9, 0xD83D, 0xDE00}), Read(s));
  FwUTF16String copy = FwUTF16StrDuplicate(s);
  EXPECT_NE(s, copy);
  EXPECT_EQ(Read(s), Read(copy));
  FwMemFreeSize(copy, 10);
  FwMemFreeSize(s, 10);
  s = FwStrToUTF16(FWT(""));
  EXPECT_EQ(0, *s);
  FwMemFreeSize(s, 2);
}

TEST(FwUTF16Strings, ALeadByteCutOffByTheEndMayMakeTwoUnits) {
  // F4 with zero bits for the three bytes that are missing: 0x100000.
  FwUTF16String s = FwStrToUTF16(FWT("\xF4"));
  EXPECT_EQ((std::vector<FwUTF16Char>{0xDBC0, 0xDC00}), Read(s));
  FwMemFree(s);
}

TEST(FwUTF16Strings, ConvertToUTF8) {
  FwUTF16String s = Units({'a', 0xE9, 0x20AC, 'z'});
  uint32 cb = 99;
  EXPECT_EQ("a\xC3\xA9\xE2\x82\xACz", Take(FwUTF16ToStr(s, &cb)));
  EXPECT_EQ(7u, cb);
  EXPECT_EQ("a\xC3\xA9\xE2\x82\xACz", Take(FwUTF16ToStr(s, nullptr)));
  EXPECT_EQ("a\xC3\xA9", Take(FwUTF16ToStrN(s, &cb, 2)));
  EXPECT_EQ(3u, cb);
  EXPECT_EQ("", Take(FwUTF16ToStrN(s, &cb, 0)));
  EXPECT_EQ(0u, cb);
  EXPECT_EQ("a\xC3\xA9\xE2\x82\xACz", Take(FwUTF16ToStrN(s, &cb, 9)));
  EXPECT_EQ(7u, cb);
  EXPECT_EQ(nullptr, FwUTF16ToStr(nullptr, &cb));
  EXPECT_EQ(nullptr, FwUTF16ToStrN(nullptr, nullptr, 2));

  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("x="));
  EXPECT_EQ(7u, FwUTF16ToStrRec(&record, s));
  EXPECT_EQ(3u, FwUTF16ToStrRecN(&record, s, 2));
  EXPECT_STREQ("x=a\xC3\xA9\xE2\x82\xACza\xC3\xA9", FWC(record.pbz));
  FwStrRecordAbandon(&record);
  FwMemFree(s);
}

TEST(FwUTF16Strings, APairIsOneCharacterAndDoesNotSurvive) {
  FwUTF16String s = Units({0xD83D, 0xDE00, 'z'});
  EXPECT_EQ(Encode((0x3D << 10 | 0x3D) + 0x10000), Take(FwUTF16ToStrN(s, nullptr, 1)));
  FwMemFree(s);
}

TEST(FwUTF16CharValidate, RefusesSurrogatesThatLeadNoPair) {
  struct Row {
    FwUTF16Char units[3];
    uint32 result;
  };
  for (Row row : std::initializer_list<Row>{{{'a', 0}, 1},
                                            {{0xD7FF, 0}, 1},
                                            {{0xE000, 0}, 1},
                                            {{0xD800, 0xDC00}, 1},
                                            {{0xDBFF, 0xDFFF}, 1},
                                            {{0xD800, 'a'}, 0},
                                            {{0xD800, 0xD800}, 0},
                                            {{0xD800, 0}, 0},
                                            {{0xDC00, 0xDC00}, 0},
                                            {{0xDFFF, 0}, 0}})
    EXPECT_EQ(row.result, FwUTF16CharValidate(row.units)) << row.units[0];
}

TEST(FwUTF16Validate, FixPutsAnUnderscoreForALoneTrailingSurrogate) {
  FwUTF16String s = Units({'a', 0xDC00, 'b', 0xE9});
  EXPECT_EQ(0u, FwUTF16Validate(FWVALIDATE_FIX, &s));
  EXPECT_EQ((std::vector<FwUTF16Char>{'a', '_', 'b', 0xE9}), Read(s));
  EXPECT_EQ(1u, FwUTF16Validate(FWVALIDATE_FIX, &s));
  FwMemFree(s);
  s = Units({0xDC00});
  EXPECT_EQ(0u, FwUTF16Validate(FWVALIDATE_FIX, &s));
  EXPECT_EQ((std::vector<FwUTF16Char>{'_'}), Read(s));
  FwMemFree(s);
}

TEST(FwUTF16Validate, ReturnAndReportLeaveTheString) {
  FwUTF16String s = Units({'a', 0xD800, 'b'});
  EXPECT_EQ(0u, FwUTF16Validate(FWVALIDATE_RETURN, &s));
  {
    ExpectAsserts expected({"Bad UTF16 string"});
    EXPECT_EQ(0u, FwUTF16Validate(FWVALIDATE_REPORT, &s));
  }
  EXPECT_EQ((std::vector<FwUTF16Char>{'a', 0xD800, 'b'}), Read(s));
  FwMemFree(s);
}

TEST(FwUTF16Validate, AGoodStringANullStringAndANullPointer) {
  for (FwValidate fix : {FWVALIDATE_FIX, FWVALIDATE_RETURN, FWVALIDATE_REPORT}) {
    SCOPED_TRACE(static_cast<int>(fix));
    FwUTF16String s = Units({'a', 0xD83D, 0xDE00, 'b'});
    EXPECT_EQ(1u, FwUTF16Validate(fix, &s));
    FwMemFree(s);
    s = nullptr;
    EXPECT_EQ(1u, FwUTF16Validate(fix, &s));
  }
  EXPECT_EQ(0u, FwUTF16Validate(FWVALIDATE_FIX, nullptr));
  EXPECT_EQ(0u, FwUTF16Validate(FWVALIDATE_RETURN, nullptr));
  ExpectAsserts expected({"Null string passed to FwUTF16Validate"});
  EXPECT_EQ(0u, FwUTF16Validate(FWVALIDATE_REPORT, nullptr));
}

// --- The locale ---

TEST(FpStrInit, TakesTheNameThatTheEnvironmentChooses) {
  Locale locale("C.UTF-8");
  EXPECT_STREQ("C.UTF-8", FWC(FpLocaleStr));
  EXPECT_NE(0, fUnicode);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("in "));
  FwStrGetLocaleIDString(&record);
  EXPECT_STREQ("in C.UTF-8", FWC(record.pbz));
  FwStrRecordAbandon(&record);
}

TEST(FpStrInit, InTheCLocaleTheNameIsEnUsAndTheCodeSetThatOfC) {
  Locale locale("C", "/nonexistent");
  EXPECT_STREQ("en_US", FWC(FpLocaleStr));
  EXPECT_STREQ("ANSI_X3.4-1968", nl_langinfo(CODESET));
  EXPECT_NE(0, fUnicode);
}

TEST(FpStrInit, InsteadOfCTakesEnUsIfThereIsOne) {
  CompiledLocale compiled("ISO-8859-1", "POSIX", "en_US");
  if (!compiled.there()) GTEST_SKIP() << "no localedef here";
  {
    Locale locale("C", compiled.path());
    EXPECT_STREQ("en_US", FWC(FpLocaleStr));
    EXPECT_STREQ("ISO-8859-1", nl_langinfo(CODESET));
    EXPECT_EQ("caf\xE9", Take(FwStrLocalToUTF8("caf\xC3\xA9")));
  }
  {
    Locale locale("C", compiled.path(), "inv");
    EXPECT_STREQ("inv", FWC(FpLocaleStr));
    EXPECT_STREQ("ISO-8859-1", nl_langinfo(CODESET));
  }
}

TEST(FpStrInit, ALocaleThatIsNotInstalledCountsAsC) {
  Locale locale("xx_XX", "/nonexistent");
  EXPECT_STREQ("en_US", FWC(FpLocaleStr));
}

TEST(FpStrInit, LangInvNamesTheInvariantLocale) {
  {
    Locale locale("C", "/nonexistent", "inv");
    EXPECT_STREQ("inv", FWC(FpLocaleStr));
  }
  {
    Locale locale("C", "/nonexistent", "inverse");
    EXPECT_STREQ("en_US", FWC(FpLocaleStr));
  }
  {
    Locale locale("C.UTF-8", nullptr, "inv");
    EXPECT_STREQ("C.UTF-8", FWC(FpLocaleStr));
  }
}

TEST(FpStrInit, ShutdownTakesTheNameAndTheConvertersAway) {
  {
    Locale locale("C", "/nonexistent");
    FpStrShutdown();
    EXPECT_EQ(nullptr, FpLocaleStr);
    EXPECT_EQ(0, fUnicode);
    EXPECT_EQ("\xC3\xA9", Take(FwStrUTF8ToLocal(FWT("\xC3\xA9"))));
  }
  EXPECT_NE(nullptr, FpLocaleStr);
}

TEST(FpStrInit, ACodeSetWithoutAConverterAsserts) {
  TemporaryTree tree;
  const std::string charmap = tree.Write("charmap",
                                         "<code_set_name> NO-SUCH-SET\n"
                                         "CHARMAP\n"
                                         "<U0000>..<U007F> /x00 ASCII\n"
                                         "END CHARMAP\n");
  CompiledLocale compiled(charmap);
  if (!compiled.there()) GTEST_SKIP() << "no localedef here";
  std::optional<Locale> locale;
  {
    ExpectAsserts expected(
        {"Locale conversions not set up correctly: non-ascii filenames, etc, will not work"});
    locale.emplace("here", compiled.path());
  }
  EXPECT_STREQ("NO-SUCH-SET", nl_langinfo(CODESET));
  EXPECT_STREQ("here", FWC(FpLocaleStr));
  EXPECT_EQ(0, fUnicode);
  // Without converters text goes through as it is.
  EXPECT_EQ("\xC3\xA9", Take(FwStrUTF8ToLocal(FWT("\xC3\xA9"))));
}

TEST(FpStr, FoldingByThePlatformIsNeverCalled) {
  ExpectAsserts expected({"Shouldn't be called", "Shouldn't be called"});
  EXPECT_EQ('a', FpStrToUpper('a'));
  EXPECT_EQ('A', FpStrToLower('A'));
}

TEST(FpStr, LocalNumeralsAreThoseOfTheLocale) {
  EXPECT_EQ('.', FpStrDecimalPointChar());
  EXPECT_EQ(0, FpStrThousandsSeparatorChar());
  TemporaryTree tree;
  const std::string definition = tree.Write("definition",
                                            "LC_CTYPE\n"
                                            "copy \"POSIX\"\n"
                                            "END LC_CTYPE\n"
                                            "LC_NUMERIC\n"
                                            "decimal_point \",\"\n"
                                            "thousands_sep \".\"\n"
                                            "grouping 3;3\n"
                                            "END LC_NUMERIC\n");
  CompiledLocale compiled("ANSI_X3.4-1968", definition);
  if (!compiled.there()) GTEST_SKIP() << "no localedef here";
  {
    Locale locale("here", compiled.path());
    setlocale(LC_NUMERIC, "");
    EXPECT_EQ(',', FpStrDecimalPointChar());
    EXPECT_EQ('.', FpStrThousandsSeparatorChar());
    FwTextString ptbz = FWT("1,5x");
    double value;
    EXPECT_EQ(1, FpStrScanLocalReal(&ptbz, &value));
    EXPECT_EQ(1.5, value);
    FwStrRecord record;
    FwStrRecordOpen(&record);
    EXPECT_EQ(8u,
              FpStrPrintLocalReal(&record, 1.5, FcNumberFormat{'f', 0, 6, false, false, 0, false}));
    EXPECT_EQ(2u,
              FpStrPrintLocalInt(&record, 42, FcNumberFormat{'d', 0, 1, false, false, 0, false}));
    EXPECT_STREQ("1,50000042", FWC(record.pbz));
    FwStrRecordAbandon(&record);
  }
}

TEST(FpStr, LocalScannersMoveTheCursorOnSuccess) {
  struct Row {
    const char* text;
    int32 fRead;
    uint32 value;
    int cursor;
  };
  for (const Row& row : std::initializer_list<Row>{{" 42x", 1, 42, 3},
                                                   {"-1", 1, 0xFFFFFFFF, 2},
                                                   {"99999999999", 1, 0x7FFFFFFF, 11},
                                                   {"-99999999999", 1, 0x80000000, 12},
                                                   {"x", 0, 7, 0}}) {
    FwTextString ptbz = FWT(row.text);
    uint32 value = 7;
    EXPECT_EQ(row.fRead, FpStrScanLocalUInt(&ptbz, &value)) << row.text;
    EXPECT_EQ(row.value, value) << row.text;
    EXPECT_EQ(row.cursor, ptbz - FWT(row.text)) << row.text;
  }
  FwTextString ptbz = FWT("2.5e1x");
  double real = 0;
  EXPECT_EQ(1, FpStrScanLocalReal(&ptbz, &real));
  EXPECT_EQ(25.0, real);
  EXPECT_EQ(0, FpStrScanLocalReal(&ptbz, &real));
  EXPECT_STREQ("x", FWC(ptbz));
}

// --- The local encoding ---

TEST(FwStrLocalToUTF8, InAUTF8LocaleBothDirectionsAreCopies) {
  for (const char* psz : {"", "plain", "\xC3\xA9", "\xE9 bad \x80"}) {
    SCOPED_TRACE(psz);
    EXPECT_EQ(psz, Take(FwStrLocalToUTF8(psz)));
    EXPECT_EQ(psz, Take(FwStrUTF8ToLocal(FWT(psz))));
  }
  EXPECT_EQ(nullptr, FwStrLocalToUTF8(nullptr));
  EXPECT_EQ(nullptr, FwStrUTF8ToLocal(nullptr));
}

TEST(FwStrLocalToUTF8, InTheCLocaleAFailureAssertsPrintsAndCuts) {
  Locale locale("C", "/nonexistent");
  EXPECT_EQ("plain", Take(FwStrLocalToUTF8("plain")));
  EXPECT_EQ("", Take(FwStrLocalToUTF8("")));
  EXPECT_EQ(nullptr, FwStrLocalToUTF8(nullptr));
  testing::internal::CaptureStdout();
  {
    ExpectAsserts expected({kInvalid, kInvalid});
    EXPECT_EQ("caf", Take(FwStrLocalToUTF8("caf\xC3\xA9 au lait")));
    EXPECT_EQ("", Take(FwStrLocalToUTF8("\x80")));
  }
  std::fflush(stdout);
  EXPECT_EQ("Failing string: caf\xC3\xA9 au lait\nFailing string: \x80\n",
            testing::internal::GetCapturedStdout());
}

TEST(FwStrUTF8ToLocal, InTheCLocaleEachCharacterBecomesAnUnderscore) {
  Locale locale("C", "/nonexistent");
  struct Row {
    const char* text;
    const char* local;
  };
  for (const Row& row :
       std::initializer_list<Row>{{"plain", "plain"},
                                  {"", ""},
                                  {"caf\xC3\xA9 au lait", "caf_ au lait"},
                                  {"\xE2\x82\xAC\xF0\x9F\x98\x80", "__"},
                                  // A byte that leads nothing moves the input by one.
                                  {"/x\x80", "/x_"},
                                  {"\x80\x81z", "__z"},
                                  // A character cut by the end moves it up to the terminator.
                                  {"a\xF6r", "a_"},
                                  {"\xE9", "_"}})
    EXPECT_EQ(row.local, Take(FwStrUTF8ToLocal(FWT(row.text)))) << row.text;
  EXPECT_EQ(nullptr, FwStrUTF8ToLocal(nullptr));
}

TEST(FwStrUTF8ToLocal, OutsideUTF8TheTwoFunctionsAreCrossed) {
  CompiledLocale compiled("ISO-8859-1");
  if (!compiled.there()) GTEST_SKIP() << "no localedef here";
  Locale locale("here", compiled.path());
  EXPECT_STREQ("here", FWC(FpLocaleStr));
  // "Local to UTF-8" takes UTF-8 and gives the local form.
  EXPECT_EQ("caf\xE9", Take(FwStrLocalToUTF8("caf\xC3\xA9")));
  testing::internal::CaptureStdout();
  {
    ExpectAsserts expected({kInvalid});
    EXPECT_EQ("caf", Take(FwStrLocalToUTF8("caf\xE9 au")));
  }
  std::fflush(stdout);
  EXPECT_EQ("Failing string: caf\xE9 au\n", testing::internal::GetCapturedStdout());
  // "UTF-8 to local" takes the local form and gives UTF-8, however much that grows.
  EXPECT_EQ("caf\xC3\xA9", Take(FwStrUTF8ToLocal(FWT("caf\xE9"))));
  EXPECT_EQ("\xC3\x83\xC2\xA9", Take(FwStrUTF8ToLocal(FWT("\xC3\xA9"))));
  std::string many(500, '\xE9');
  std::string wanted;
  for (int i = 0; i < 500; i++)
    wanted += "\xC3\xA9";
  EXPECT_EQ(wanted, Take(FwStrUTF8ToLocal(FWT(many.c_str()))));
}

TEST(FwStrUTF8ToLocal, InAMultibyteLocaleIncompleteTextIsMovedOver) {
  CompiledLocale compiled("EUC-JP");
  if (!compiled.there()) GTEST_SKIP() << "no localedef here";
  Locale locale("here", compiled.path());
  // A4 A2 is the hiragana letter A.
  EXPECT_EQ("x\xE3\x81\x82", Take(FwStrUTF8ToLocal(FWT("x\xA4\xA2"))));
  EXPECT_EQ("x\xA4\xA2", Take(FwStrLocalToUTF8("x\xE3\x81\x82")));
  EXPECT_EQ("x_", Take(FwStrUTF8ToLocal(FWT("x\xA4"))));
}

// --- The boot ---

TEST(FcStrInit, StoresTheArgumentsInUTF8) {
  FwPlatformControlContext& platform = fcBootContext.control.platform;
  const FwPlatformControlContext before = platform;
  ASSERT_NE(nullptr, before.argvUTF8);
  for (int i = 0; i < before.argc; i++)
    EXPECT_STREQ(before.argv[i], FWC(before.argvUTF8[i])) << i;
  EXPECT_EQ(nullptr, before.argvUTF8[before.argc]);

  FcStrShutdown();
  EXPECT_EQ(before.argvUTF8, platform.argvUTF8);  // not freed
  platform.argv = nullptr;
  FcStrInit();
  EXPECT_EQ(nullptr, platform.argvUTF8);
  platform = before;
}
