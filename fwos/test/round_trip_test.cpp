// Round trips: a message is printed in English, translated, and compared with the translated
// template printed directly.
//
// What is compared with is the direct print of the values that the English text shows: a value that
// the English template cuts short or rounds can't come back. The matcher prints numbers by the
// local convention, so the direct print does too.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "files.h"
#include "fwstrprf_format.h"
#include "fwtransl.h"
#include "fwtransl_vocabulary.h"
#include "recorder.h"

namespace {

const std::string kMarker = "\x08";

// A pair of templates that is known to the translation. The text in front has the six characters
// by which templates are found.
class Pair {
 public:
  Pair(const std::string& english, const std::string& local)
      : english_("Says: " + english), local_("Sagt: " + local) {
    vocabulary_.AddTemplate(english_.c_str(), local_.c_str());
  }
  // What the printed message is translated to, or "(none)".
  template <class... A>
  std::string Translated(A... a) const {
    return Translation(FormatMessage(english_.c_str(), Given(a)...));
  }
  // What the translated template prints.
  template <class... A>
  std::string Direct(A... a) const {
    return FormatLocal(local_.c_str(), Given(a)...);
  }
  void AddFixed(const char* english, const char* local) { vocabulary_.AddFixed(english, local); }

 private:
  static FwTextString Given(const std::string& text) { return FWT(text.c_str()); }
  template <class T>
  static T Given(T value) {
    return value;
  }

  static std::string Translation(const std::string& printed) {
    Record translated;
    const int32 nResult = FwTranslMessage(FWT(printed.c_str()), translated);
    if (nResult == 1) return translated.text();
    const bool fMarked = printed.find(kMarker) != std::string::npos;
    EXPECT_EQ(fMarked ? 2 : 0, nResult);
    std::string plain = printed;
    std::erase(plain, kMarker[0]);
    EXPECT_EQ(plain, translated.text());
    return "(none)";
  }

  std::string english_, local_;
  Vocabulary vocabulary_{"round trip"};
};

struct Row {
  const char* english;
  const char* local;
};

// For each row and each value the round trip gives the direct print.
template <class T, class... R>
void ExpectRoundTrips(const std::vector<T>& values, const R&... rows) {
  const auto expect = [&values](const Row& row) {
    const Pair pair(row.english, row.local);
    for (const T& value : values)
      ASSERT_EQ(pair.Direct(value), pair.Translated(value)) << row.english << " of " << value;
  };
  (expect(rows), ...);
}

// Around each power of two and of ten, of both signs.
std::vector<int32> Integers() {
  std::vector<int32> values = {0, INT_MAX, INT_MIN, INT_MIN + 1};
  const auto around = [&values](int64_t middle) {
    for (const int64_t value : {middle - 1, middle, middle + 1})
      for (const int64_t either : {value, -value})
        if (either >= INT_MIN && either <= INT_MAX) values.push_back(static_cast<int32>(either));
  };
  for (int64_t power = 1; power <= INT64_C(1) << 31; power *= 2)
    around(power);
  for (int64_t power = 10; power <= 1000000000; power *= 10)
    around(power);
  return values;
}

std::vector<uint32> Unsigned() {
  std::vector<uint32> values;
  for (const int32 value : Integers())
    if (value >= 0) values.push_back(static_cast<uint32>(value));
  for (uint64_t value = 3; value < 0x80000000; value = value * 5 / 3 + 1)
    values.push_back(static_cast<uint32>(value));
  return values;
}

// All texts of up to three characters of an alphabet that is awkward, and some longer ones.
std::vector<std::string> Texts() {
  const std::vector<std::string> alphabet = {" ", "a", "%", ":", "\n", "\xC3\xA9"};
  std::vector<std::string> texts = {""};
  for (size_t first = 0, length = 1; length <= 3; ++length) {
    const size_t last = texts.size();
    for (; first < last; ++first)
      for (const std::string& c : alphabet)
        texts.push_back(texts[first] + c);
  }
  for (const char* text :
       {"ready", " is ready", "is ready is ready", "%s", "%d%%", "%[0]s", "%{x%}", "-17", "0x10",
        "1.5e+003", "two\nlines", "two\r\nlines", "\ttab", "'quoted'", "  two  blanks  ",
        "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "/a/b c/d", "end"})
    texts.push_back(text);
  texts.push_back(std::string(3000, 'x') + " " + std::string(3000, '%'));
  return texts;
}

}  // namespace

TEST(RoundTrip, SignedNumbers) {
  ExpectRoundTrips(
      Integers(), Row{"%d", "%d"}, Row{"%d.", "%d."}, Row{"%d", "%i"}, Row{"%i of it", "davon %d"},
      Row{"%8d|", "%d|"}, Row{"%d", "%8d|"}, Row{"%12d|", "%-12d|"}, Row{"%+d!", "%d!"},
      Row{"%d", "%+d"}, Row{"% d", "%d"}, Row{"%d", "% d"}, Row{"%012d", "%d"}, Row{"%d", "%012d"},
      Row{"%.12d", "%d"}, Row{"%d", "%.12d"}, Row{"%14.12d|", "%14.12d|"}, Row{"%ld", "%Ld"},
      Row{"%d%%", "%d%%"}, Row{"%%%d", "%d%%"}, Row{"<%[0]d>", "%[0]i"}, Row{"%+ 5d", "%+ 5d"});
}

TEST(RoundTrip, NumbersOf16Bits) {
  const Pair of_signed("%hd.", "%d.");
  for (const int32 value : Integers())
    EXPECT_EQ(of_signed.Direct(static_cast<int32>(static_cast<int16_t>(value))),
              of_signed.Translated(value))
        << value;
  const Pair of_unsigned("%hu and %hx.", "%u und %x.");
  for (const uint32 value : Unsigned())
    EXPECT_EQ(of_unsigned.Direct(value & 0xFFFF, value & 0xFFFF),
              of_unsigned.Translated(value, value))
        << value;
}

TEST(RoundTrip, UnsignedNumbers) {
  ExpectRoundTrips(Unsigned(), Row{"%u", "%u"}, Row{"%u", "%x"}, Row{"%u.", "%X."}, Row{"%u", "%o"},
                   Row{"%x", "%x"}, Row{"%x", "%u"}, Row{"%X!", "%x!"}, Row{"%#x", "%#x"},
                   Row{"%#X", "%#o"}, Row{"%08x", "%x"}, Row{"%12u|", "%u|"},
                   Row{"%#12x|", "%-12x|"}, Row{"%.10x", "%x"}, Row{"%lu", "%lX"},
                   Row{"%u is it", "das ist %u"});
}

// Scanning is signed, so the upper half is not recognised.
TEST(RoundTrip, UnsignedNumbersFromTheTopBitOnStayInEnglish) {
  for (const char* item : {"%u", "%x", "%X", "%#x", "%12u", "%012x"}) {
    const Pair pair(item, item);
    EXPECT_NE("(none)", pair.Translated(0x7FFFFFFFu)) << item;
    for (const uint32 value : {0x80000000u, 0x80000001u, 0xFFFFFFFEu, 0xFFFFFFFFu})
      EXPECT_EQ("(none)", pair.Translated(value)) << item << " of " << value;
  }
}

TEST(RoundTrip, BlanksBehindANumberAreNoPartOfIt) {
  const Pair pair("%-5d|", "%d|");
  EXPECT_EQ("Sagt: 12345|", pair.Translated(12345));
  EXPECT_EQ("Sagt: -1234|", pair.Translated(-1234));
  EXPECT_EQ("(none)", pair.Translated(1234));
}

TEST(RoundTrip, ANumberTakesAllDigitsThatFollow) {
  EXPECT_EQ("(none)", Pair("%d%d", "%d %d").Translated(1, 2));
  EXPECT_EQ("(none)", Pair("%d0 per cent", "%d0 Prozent").Translated(5));
  EXPECT_EQ("(none)", Pair("%xf", "%xf").Translated(0xAu));
  EXPECT_EQ("Sagt: 5xf", Pair("%dxf", "%dxf").Translated(5));
  EXPECT_EQ("Sagt: -2/1", Pair("%d%d", "%[1]d/%[0]d").Translated(1, -2));
}

TEST(RoundTrip, ARealTakesAPointThatFollows) {
  EXPECT_EQ("(none)", Pair("%g.", "%g.").Translated(5.0));
  EXPECT_EQ("(none)", Pair("%.0f.", "%.0f.").Translated(5.0));
  EXPECT_EQ("Sagt: 0.5.", Pair("%g.", "%g.").Translated(0.5));
}

TEST(RoundTrip, ConversionsThatNothingRecognises) {
  int nCount = 0;
  const struct {
    const char* item;
    std::string printed;
  } rows[] = {{"%o", FormatMessage("Says: %o", 8u)},
              {"%n", FormatMessage("Says: %n", &nCount)},
              {"%p", FormatMessage("Says: %p", static_cast<void*>(&nCount))},
              {"%P", FormatMessage("Says: %P", static_cast<void*>(&nCount))}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.item);
    const Pair pair(row.item, "x");
    ExpectAsserts expected({"Unknown format for matching"});
    Record translated;
    EXPECT_EQ(0, FwTranslMessage(FWT(row.printed.c_str()), translated));
    EXPECT_EQ(row.printed, translated.text());
  }
  EXPECT_EQ(6, nCount);
}

TEST(RoundTrip, Characters) {
  std::vector<int32> characters;
  for (int32 tc = 1; tc < 0x180; ++tc)
    if (tc != 8) characters.push_back(tc);
  for (const int32 tc : {0x7FF, 0x800, 0x20AC, 0xD7FF, 0xE000, 0xFFFD, 0x10000, 0x1F600, 0x10FFFF})
    characters.push_back(tc);
  ExpectRoundTrips(characters, Row{"<%c>", "<%c>"}, Row{"%c!", "%4c!"}, Row{"<%c>", "%d"},
                   Row{"<%c>", "<%-4c>"}, Row{"%c, %%", "%% %c"}, Row{"<%[0]c>", "[%[0]c]"});
  // With a width the blanks before a character are passed over.
  std::erase(characters, ' ');
  ExpectRoundTrips(characters, Row{"<%5c>", "<%c>"}, Row{"<%1c>", "<%5c>"});
  EXPECT_EQ("(none)", Pair("<%5c>", "<%c>").Translated(int32{' '}));
}

// The character of code 8 is what separates strings.
TEST(RoundTrip, ACharacterThatIsTheMarkerIsBoundAsAnyOther) {
  EXPECT_EQ("Sagt: <" + kMarker + ">", Pair("<%c>", "<%c>").Translated(int32{8}));
}

TEST(RoundTrip, RealNumbers) {
  std::vector<double> values = {0.0, 0.5, 0.25, 1e-30, 9e-31, 5e-324, DBL_MIN, 1e-10, 123456.5};
  for (double value = 1e-9; value < 1e9; value *= 7.3)
    values.push_back(value);
  for (int power = 0; power < 15; ++power)
    values.push_back(std::pow(10.0, power));
  for (const double value : std::vector<double>(values))
    values.push_back(-value);
  const std::vector<double> of_any_size = [&values] {
    std::vector<double> more = values;
    for (double value = 1e-300; value < 1e300; value *= 1.7e5) {
      more.push_back(value);
      more.push_back(-value);
    }
    return more;
  }();
  const struct {
    const char* item;
    const char* local;
    const std::vector<double>& values;
  } rows[] = {
      {"%f", "%f", values},
      {"%f.", "%.2f.", values},
      {"%.0f is it", "%.3f", values},
      {"%12.3f|", "%.3f|", values},
      {"%012.3f", "%-12.3f|", values},
      {"%+.1f", "%.1f", values},
      {"% f", "%g", values},
      {"%#.0f", "%.0f", values},
      {"%e", "%e", of_any_size},
      {"%E", "%e", of_any_size},
      {"%.2e!", "%.2E!", of_any_size},
      {"%20e|", "%.7g|", of_any_size},
      {"%g", "%g", of_any_size},
      {"%G!", "%g.", of_any_size},
      {"%.10g", "%G", of_any_size},
      {"%#g", "%#g", of_any_size},
      {"%g of it", "davon %.3e", of_any_size},
  };
  for (const auto& row : rows) {
    const Pair pair(row.item, row.local);
    const std::string english = std::string("Says: ") + row.item;
    for (const double value : row.values) {
      const std::string shown = FormatMessage(english.c_str(), value).substr(6);
      ASSERT_EQ(pair.Direct(std::strtod(shown.c_str(), nullptr)), pair.Translated(value))
          << row.item << " of " << value;
    }
  }
}

// Where the English text shows all of a number, its translation does too.
TEST(RoundTrip, RealNumbersThatAreShownWhole) {
  std::vector<double> values;
  for (int n = -300; n <= 300; ++n)
    values.push_back(n * 0.125);
  ExpectRoundTrips(values, Row{"%f", "%.3f"}, Row{"%.3f", "%f"}, Row{"%g", "%g"}, Row{"%.4e", "%f"},
                   Row{"%10.3f|", "%e|"}, Row{"%G", "%+.3f"});
}

TEST(RoundTrip, WhatIsNotAFiniteNumberStaysInEnglish) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const char* item : {"%f", "%e", "%g", "%G", "%12.3f"}) {
    SCOPED_TRACE(item);
    const Pair pair(item, item);
    for (const double value : {infinity, -infinity, std::nan("")})
      EXPECT_EQ("(none)", pair.Translated(value)) << value;
  }
}

TEST(RoundTrip, OneString) {
  std::vector<std::string> texts = Texts();
  ExpectRoundTrips(texts, Row{"%s is ready", "fertig: %s."}, Row{"'%s'", "<%s>"},
                   Row{"%s%%", "%% von %s"}, Row{"the %s: end", "%s"}, Row{"<%t>", "(%t)"},
                   Row{"[%[0]s]", "%[0]s!"}, Row{"%ls.", "%hs."});
  // Line ends at the end of a message are put back behind the translation.
  std::erase_if(texts, [](const std::string& text) { return text.ends_with("\n"); });
  ExpectRoundTrips(texts, Row{"open %s", "%s offen"}, Row{"%s", "(%s)"});
  EXPECT_EQ("Sagt: a offen\n", Pair("open %s", "%s offen").Translated("a\n"));
}

TEST(RoundTrip, AStringThatIsPaddedOrCutComesBackAsItWasShown) {
  const struct {
    const char* item;
    const char* local;
    const char* value;
    const char* shown;
  } rows[] = {
      {"<%8s>", "<%s>", "abc", "     abc"},
      {"<%8s>", "<%8s>", "abc", "abc"},
      {"<%8s>", "<%10s>", "abc", "     abc"},
      {"<%-8s>", "<%s>", "abc", "abc     "},
      {"<%-8s>", "<%-8s>", "abc", "abc"},
      {"<%08s>", "<%s>", "abc", "00000abc"},
      {"<%.2s>", "<%s>", "abc", "ab"},
      {"<%5.2s>", "<%s>", "abc", "   ab"},
      {"<%2s>", "<%s>", "abc", "abc"},
      // A bound string's length takes the place of the precision.
      {"<%s>", "<%5s>", "abc", "abc"},
  };
  for (const auto& row : rows) {
    const Pair pair(row.item, row.local);
    EXPECT_EQ(pair.Direct(row.shown), pair.Translated(row.value)) << row.item << " " << row.local;
  }
  EXPECT_EQ("Sagt: <abc>", Pair("<%s>", "<%.2s>").Translated("abc"));
}

TEST(RoundTrip, OneStringWithAMarkerInItIsCutThere) {
  const Pair pair("<%s>", "<%s>");
  EXPECT_EQ("Sagt: <a>", pair.Translated("a" + kMarker));
  EXPECT_EQ("(none)", pair.Translated("a" + kMarker + "b"));
}

// With several strings each has its marker, so nothing in them can mislead.
TEST(RoundTrip, SeveralStrings) {
  const std::vector<std::string> texts = Texts();
  const Row rows[] = {{"%s, %s", "%s, %s"},
                      {"%s%s", "%s-%s"},
                      {"%[0]s is %[1]s", "%[1]s %[0]s"},
                      {"%[1]s of %[0]s", "<%[0]s|%[1]s>"},
                      {"%s%%%s", "%[1]s%%%[0]s"},
                      {"%t %s", "%[1]s %[0]t"}};
  for (const Row& row : rows) {
    const Pair pair(row.english, row.local);
    for (size_t i = 0; i < texts.size(); ++i) {
      // Each text stands in each place, with texts of all kinds beside it.
      const std::string& other = texts[(i * 37 + 11) % texts.size()];
      if (std::string(row.english).ends_with("s") && other.ends_with("\n") &&
          FormatMessage(row.english, "", "").back() != kMarker[0])
        continue;
      ASSERT_EQ(pair.Direct(texts[i], other), pair.Translated(texts[i], other)) << row.english;
    }
  }
}

TEST(RoundTrip, FourStringsInAnyOrder) {
  const std::vector<std::string> texts = Texts();
  std::vector<int> order = {0, 1, 2, 3};
  size_t i = 0;
  do {
    std::string local;
    for (const int n : order)
      local += " <%[" + std::to_string(n) + "]s>";
    const Pair pair("%[0]t %[1]s is not defined in %[2]t %[3]s", local);
    for (int n = 0; n < 10; ++n, ++i) {
      SCOPED_TRACE(n);
      const auto text = [&](size_t k) { return texts[(i * 4 + k) * 29 % texts.size()]; };
      ASSERT_EQ(pair.Direct(text(0), text(1), text(2), text(3)),
                pair.Translated(text(0), text(1), text(2), text(3)));
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST(RoundTrip, AMarkerInOneOfSeveralStringsShiftsThem) {
  EXPECT_EQ("(none)", Pair("%s, %s", "%s, %s").Translated("a" + kMarker + "b", "c"));
  EXPECT_EQ("(none)", Pair("%s%s", "%s-%s").Translated("a" + kMarker + "b", ""));
  EXPECT_EQ("Sagt: a-b!", Pair("%s%s!", "%s-%s!").Translated("a" + kMarker + "b", ""));
}

TEST(RoundTrip, WordsAreTranslatedAndNamesAreNot) {
  const std::vector<std::string> texts = Texts();
  Pair pair("%[0]t %[1]s is missing", "Es fehlt: %[0]t %[1]s");
  pair.AddFixed("File", "Datei");
  pair.AddFixed("Program file", "Programmdatei");
  for (const std::string& name : texts) {
    SCOPED_TRACE(name);
    ASSERT_EQ(pair.Direct("Datei", name), pair.Translated("File", name));
    ASSERT_EQ(pair.Direct("Programmdatei", name), pair.Translated("Program file", name));
    ASSERT_EQ(pair.Direct("Thing", name), pair.Translated("Thing", name));
  }
  ASSERT_EQ(pair.Direct("Datei", "File"), pair.Translated("File", "File"));
}

TEST(RoundTrip, AWordAlone) {
  Pair pair("no %t there", "%t fehlt");
  pair.AddFixed("File", "Datei");
  pair.AddFixed("open File", "offene Datei");
  for (const char* other : {"Thing", "", " ", "File-system", "Profile"})
    EXPECT_EQ(pair.Direct(other), pair.Translated(other)) << other;
  EXPECT_EQ(pair.Direct("Datei"), pair.Translated("File"));
  EXPECT_EQ(pair.Direct("offene Datei"), pair.Translated("open File"));
}

TEST(RoundTrip, AStringBesideANumberEndsWhereTheNumberCanBegin) {
  const Pair apart("%s (%d)", "%[1]d: %[0]s");
  const Pair together("%s%d", "%[0]s|%[1]d");
  for (const std::string& text : Texts())
    for (const int32 value : {0, 7, -7, INT_MAX, INT_MIN})
      ASSERT_EQ(apart.Direct(text, value), apart.Translated(text, value)) << text << ' ' << value;
  EXPECT_EQ("Sagt: ab|5", together.Translated("ab", 5));
  EXPECT_EQ("Sagt: ab|15", together.Translated("ab1", 5));
  EXPECT_EQ("Sagt: ab|-5", together.Translated("ab", -5));
}

TEST(RoundTrip, SeveralKindsInAnotherOrder) {
  const Pair pair("%[0]s has %[1]d of %[2]u, that is %[3]f (%[4]c) in %[5]s",
                  "%[5]s: %[3].3f %[4]c %[2]x %[1]+d %[0]s");
  const std::vector<int32> integers = Integers();
  const std::vector<uint32> natural = Unsigned();
  const std::vector<std::string> texts = Texts();
  for (size_t i = 0; i < 400; ++i) {
    SCOPED_TRACE(i);
    const std::string& first = texts[i * 17 % texts.size()];
    const std::string& last = texts[i * 31 % texts.size()];
    const int32 n = integers[i * 7 % integers.size()];
    const uint32 u = natural[i * 5 % natural.size()];
    const double real = static_cast<double>(i) / 8 - 20;
    const int32 tc = static_cast<int32>(i) + 0x21;
    ASSERT_EQ(pair.Direct(first, n, u, real, tc, last),
              pair.Translated(first, n, u, real, tc, last));
  }
}

// The width itself isn't in the text any more: its argument comes back as no width.
TEST(RoundTrip, AWidthFromAnArgumentIsLost) {
  const Pair pair("%*d|", "%*d|");
  for (const int32 value : Integers())
    for (const int32 width : {1, 5, 20})
      ASSERT_EQ(Format("Sagt: %d|", value), pair.Translated(width, value)) << value << ' ' << width;
  EXPECT_EQ("Sagt: abc|", Pair("%*s|", "%*s|").Translated(3, "abc"));
  EXPECT_EQ("Sagt:   abc|", Pair("%*s|", "%*s|").Translated(5, "abc"));
}

TEST(RoundTrip, APrecisionFromAnArgumentIsReadOffTheText) {
  const std::vector<int32> precisions = {1, 2, 5, 12};
  for (const char* item : {"%.*d|", "%.*i|"}) {
    const Pair pair(item, item);
    for (const int32 precision : precisions)
      for (const int32 value : Integers())
        ASSERT_EQ(pair.Direct(precision, value), pair.Translated(precision, value)) << item;
  }
  for (const char* item : {"%.*u|", "%.*x|", "%.*X|"}) {
    const Pair pair(item, item);
    for (const int32 precision : precisions)
      for (const uint32 value : Unsigned())
        ASSERT_EQ(pair.Direct(precision, value), pair.Translated(precision, value)) << item;
  }
  for (const char* item : {"%.*f|", "%.*e|", "%.*E|"}) {
    const Pair pair(item, item);
    // Numbers that are whole at the precision: half a digit is rounded up in English, and to the
    // even one by the local convention.
    for (const int32 precision : precisions)
      for (const double value : {0.0, 1.0, -1.0, 0.5, -0.5, 20.0, 5e9})
        ASSERT_EQ(pair.Direct(precision, value), pair.Translated(precision, value)) << item;
  }
  const Pair general("%.*g|", "%.*g|");
  EXPECT_EQ("Sagt: 12.5|", general.Translated(5, 12.5));
  EXPECT_EQ("Sagt: -12.5|", general.Translated(5, -12.5));
  const Pair text("<%.*s>", "<%.*s>");
  for (const std::string& value : Texts())
    if (!value.empty()) {
      ASSERT_EQ(text.Direct(8000, value), text.Translated(8000, value));
    }
}

TEST(RoundTrip, APrecisionThatTheTextDoesNotShowIsAsserted) {
  ExpectAsserts expected({"Bad precision", "Bad precision"});
  EXPECT_EQ("Sagt: 3|", Pair("%.*f|", "%.*f|").Translated(0, 3.0));
  EXPECT_EQ("Sagt: <>", Pair("<%.*s>", "<%.*s>").Translated(8, ""));
}

TEST(RoundTrip, Branches) {
  const Pair pair("%(no files%|one file in %s%|%d files in %s%|%d of %(all%|%u%) files%)",
                  "%(keine Datei%|eine Datei in %s%|%d Dateien in %s%|%d von %(allen%|%x%)%)");
  EXPECT_EQ(pair.Direct(0u), pair.Translated(0u));
  for (const std::string& text : Texts()) {
    SCOPED_TRACE(text);
    if (text.ends_with("\n")) continue;
    ASSERT_EQ(pair.Direct(1u, text), pair.Translated(1u, text));
    for (const int32 value : {0, 2, -2, INT_MAX, INT_MIN})
      ASSERT_EQ(pair.Direct(2u, value, text), pair.Translated(2u, value, text)) << value;
  }
  for (const int32 value : Integers()) {
    SCOPED_TRACE(value);
    ASSERT_EQ(pair.Direct(3u, 0u, value), pair.Translated(3u, 0u, value));
    ASSERT_EQ(pair.Direct(3u, 1u, value, 77u), pair.Translated(3u, 1u, value, 77u));
  }
}

TEST(RoundTrip, Options) {
  const Pair pair("%{Very %}bad%{ (%d%{ of %d%})%} in %s", "%{sehr %}schlecht%{ [%d%{/%d%}]%}: %s");
  for (const std::string& text : Texts()) {
    SCOPED_TRACE(text);
    if (text.ends_with("\n")) continue;
    for (const uint32 very : {0u, 1u}) {
      SCOPED_TRACE(very);
      ASSERT_EQ(pair.Direct(very, 0u, text), pair.Translated(very, 0u, text));
      for (const int32 value : {0, 1, -1, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(value);
        ASSERT_EQ(pair.Direct(very, 1u, 0u, value, text),
                  pair.Translated(very, 1u, 0u, value, text));
        ASSERT_EQ(pair.Direct(very, 1u, 1u, value, 9, text),
                  pair.Translated(very, 1u, 1u, value, 9, text));
      }
    }
  }
}

// Any selector but 0 prints an option; what comes back is 1.
TEST(RoundTrip, AnOptionsSelectorComesBackAsOne) {
  const Pair pair("done%{ at last%}", "fertig %(nicht%|doch%|kaum%)");
  EXPECT_EQ("Sagt: fertig doch", pair.Translated(1u));
  EXPECT_EQ("Sagt: fertig doch", pair.Translated(2u));
  EXPECT_EQ("Sagt: fertig nicht", pair.Translated(0u));
}

TEST(RoundTrip, OfAlternativesThatReadAlikeTheFirstIsTaken) {
  const Pair branches("%(it%|it%|that%)", "%(a%|b%|c%)");
  EXPECT_EQ("Sagt: a", branches.Translated(0u));
  EXPECT_EQ("Sagt: a", branches.Translated(1u));
  EXPECT_EQ("Sagt: c", branches.Translated(2u));
  const Pair options("a%{b%}%{b%}c", "%{1%}%{2%}");
  EXPECT_EQ("Sagt: 2", options.Translated(1u, 0u));
  EXPECT_EQ("Sagt: 2", options.Translated(0u, 1u));
  EXPECT_EQ("Sagt: 12", options.Translated(1u, 1u));
}

// Only the strings that are printed count: a branch may leave one alone, without a marker.
TEST(RoundTrip, StringsInBranches) {
  const Pair pair("%(%s is missing%|%s and %s are missing%)", "es %(fehlt %s%|fehlen %s, %s%)");
  const std::vector<std::string> texts = Texts();
  for (size_t i = 0; i < texts.size(); ++i) {
    SCOPED_TRACE(i);
    const std::string& other = texts[i * 43 % texts.size()];
    ASSERT_EQ(pair.Direct(0u, texts[i]), pair.Translated(0u, texts[i]));
    ASSERT_EQ(pair.Direct(1u, texts[i], other), pair.Translated(1u, texts[i], other));
  }
}

TEST(RoundTrip, LineEndsAroundAMessageStay) {
  Vocabulary vocabulary("line ends");
  vocabulary.AddTemplate("It is %s.", "Es ist %s.");
  for (const char* head : {"", "\n", "\r\n", "\n\n"})
    for (const char* tail : {"", "\n", "\r\n", "\n\n\r"}) {
      SCOPED_TRACE(testing::Message() << head << ' ' << tail);
      Record translated;
      EXPECT_EQ(1, FwTranslMessage(Txt(std::string(head) + "It is so." + tail), translated));
      EXPECT_EQ(std::string(head) + "Es ist so." + tail, translated.text());
    }
}

TEST(RoundTrip, ATranslationThatWantsOtherTypesPrintsNothing) {
  const struct {
    const char* english;
    const char* local;
  } rows[] = {{"%d.", "%s"}, {"%d.", "%u"}, {"%d.", "%f"}, {"%d.", "%d%d"}, {"%d.", "%[1]d"}};
  for (const auto& row : rows) {
    const Pair pair(row.english, row.local);
    ExpectAsserts expected({"Format to output doesn't match arguments"});
    EXPECT_EQ("", pair.Translated(5)) << row.local;
  }
}
