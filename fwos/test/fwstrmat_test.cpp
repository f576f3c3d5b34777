// Matching printed messages against templates.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "caller.h"
#include "fcstrmat.h"
#include "fwstring.h"
#include "fwstrprf_format.h"
#include "fwtransl_vocabulary.h"
#include "recorder.h"

namespace {

constexpr uint32 kWhole = 0xFFFFFFFF;
const char kNoMatch[] = "(no match)";

// The translation, or kNoMatch.
std::string MatchN(const std::string& english, uint32 cbEnglish, const std::string& pattern,
                   const std::string& translated, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  FwStrRecord record;
  FwStrRecordOpen(&record);
  int32 fMatched = fFcStrNMatchTemplate(FWT(english.c_str()), cbEnglish, FWT(pattern.c_str()),
                                        FWT(translated.c_str()), &record);
  std::string text = Taken(&record);
  if (fMatched) return text;
  EXPECT_EQ("", text);
  return kNoMatch;
}

std::string Match(const std::string& english, const std::string& pattern,
                  const std::string& translated) {
  return MatchN(english, kWhole, pattern, translated);
}

std::string Repeated(const std::string& text, int n) {
  std::string all;
  for (int i = 0; i < n; i++)
    all += text;
  return all;
}

struct MatchCase {
  const char* pszEnglish;
  const char* pszTemplate;
  const char* pszTranslated;
  const char* pszExpected;
};

void ExpectMatches(const MatchCase* pCases, std::size_t n, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  for (std::size_t i = 0; i < n; i++) {
    const MatchCase& c = pCases[i];
    EXPECT_EQ(c.pszExpected, Match(c.pszEnglish, c.pszTemplate, c.pszTranslated))
        << c.pszEnglish << " by " << c.pszTemplate;
  }
}

}  // namespace

TEST(FcStrMatchTemplate, ComparesTextWithoutItems) {
  const MatchCase cases[] = {
      {"", "", "x", "x"},
      {"Done.", "Done.", "Fertig.", "Fertig."},
      {"Done", "Done.", "Fertig.", kNoMatch},
      {"Done.", "Done", "Fertig.", kNoMatch},
      {"Dont.", "Done.", "Fertig.", kNoMatch},
      {"", "Done.", "Fertig.", kNoMatch},
  };
  ExpectMatches(cases, std::size(cases));
}

TEST(FcStrMatchTemplate, BindsStringsOfMarkedTextAtTheirMarkers) {
  const char* pszTemplate = "Error: %s, %s and %s";
  std::string english = FormatMessage(pszTemplate, "a, b", "", "x and y");
  EXPECT_EQ("Error: a, b\x08, \x08 and x and y\x08", english);
  EXPECT_EQ("x and y/a, b/!", Match(english, pszTemplate, "%[2]s/%[0]s/%[1]s!"));
  EXPECT_EQ("/x and y/a, b", Match(english, "Error: %[2]s, %[0]s and %[1]s", "%s/%s/%s"));
}

TEST(FcStrMatchTemplate, WantsAMarkerForEachStringOfMarkedText) {
  EXPECT_EQ(kNoMatch, Match("a\x08, b", "%s, %s", "%s%s"));
  EXPECT_EQ(kNoMatch, Match("a\x08, b", "%t, %t", "%t%t"));
}

TEST(FcStrMatchTemplate, TriesTheEmptyStringAndThenEachPossibleEnd) {
  const MatchCase cases[] = {
      {"disk failed", "%s failed", "%s kaputt", "disk kaputt"},
      {"my old disk failed", "%s failed", "%s kaputt", "my old disk kaputt"},
      {" failed", "%s failed", "<%s>", "<>"},
      {"failed", "%s failed", "<%s>", kNoMatch},
      {"open a b", "open %s", "<%s>", "<a b>"},
      {"open ", "open %s", "<%s>", "<>"},
      {"ab", "%s%s", "<%[0]s|%[1]s>", "<|ab>"},
      {"ab1", "%s%d", "<%[0]s|%[1]d>", "<ab|1>"},
      {"a-b-c", "%s-%s", "%[1]s %[0]s", "b-c a"},
      {"\xC3\xA9t\xC3\xA9!", "%s!", "%s", "\xC3\xA9t\xC3\xA9"},
  };
  ExpectMatches(cases, std::size(cases));
}

TEST(FcStrMatchTemplate, BindsANumberInOneWayOnly) {
  EXPECT_EQ(kNoMatch, Match("12", "%d%d", "%d %d"));
  EXPECT_EQ(kNoMatch, Match("12", "%d2", "%d"));
}

TEST(FcStrMatchTemplate, BindsEveryKindOfNumber) {
  const MatchCase cases[] = {
      {"-5 items", "%d items",
       "%d St\xC3\xBC"
       "ck",
       "-5 St\xC3\xBC"
       "ck"},
      {"7 items", "%i items", "%d", "7"},
      {"7 items", "%u items", "%u", "7"},
      {"at ff.", "at %x.", "%X", "FF"},
      {"at FF.", "at %X.", "%x", "ff"},
      {"pi 3.14", "pi %f", "%.2f", "3.14"},
      {"1.5e+003 m", "%e m", "%.0f", "1500"},
      {"0.25 m", "%g m", "%.2f", "0.25"},
      {"<\xC3\xA9>", "<%c>", "[%c]", "[\xC3\xA9]"},
      {"<>", "<%c>", "[%c]", kNoMatch},
      {"x items", "%d items", "%d", kNoMatch},
      {"4294967295", "%u", "%u", kNoMatch},
      {"80000000", "%x", "%x", kNoMatch},
      {"   42|", "%5d|", "%d", "42"},
      {"[   ab]", "[%5s]", "<%s>", "<   ab>"},
      {"[  A]", "[%3c]", "<%c>", "<A>"},
  };
  ExpectMatches(cases, std::size(cases));
}

TEST(FcStrMatchTemplate, NoItemTakesTheNewlinesAtTheEnd) {
  const MatchCase cases[] = {
      {"open foo\n", "open %s", "[%s]", "[foo]\n"},
      {"open foo\n\n", "open %s", "[%s]", "[foo]\n\n"},
      {"open foo\x08\n", "open %s", "[%s]", "[foo]\n"},
      {"open a\nb\n", "open %s", "[%s]", "[a\nb]\n"},
      // A newline in front of the marker is the string's own.
      {"open foo\n\x08", "open %s", "[%s]", "[foo\n]"},
      {"open \n", "open %s", "[%s]", "[]\n"},
      {"open a b\n", "open %s%s", "[%s%s]", "[a b]\n"},
      {"ab\n", "a%c", "[%c]", "[b]\n"},
      {"a\n", "a%c", "[%c]", kNoMatch},
      {"n 12\n", "n %d", "[%d]", "[12]\n"},
      // Text of the template itself may be a newline.
      {"a\n", "%s\n%s", "[%s][%s]", "[a][]"},
  };
  ExpectMatches(cases, std::size(cases));
}

TEST(FcStrMatchTemplate, AWordBeforeTheNewlinesAtTheEndIsTranslated) {
  Vocabulary words("words");
  words.AddFixed("file", "Datei");
  EXPECT_EQ("kein Datei\n", Match("no file\n", "no %t", "kein %s"));
  EXPECT_EQ("kein Datei\n", Match("no file\x08\n", "no %t", "kein %s"));
}

// Strings in a text without markers end anywhere, so that a text that matches almost has as many
// candidates as its length to the power of their number.
TEST(FcStrMatchTemplate, GivesUpATextThatMatchesAlmostOverAndOver) {
  const std::string text = Repeated("a", 160);
  const std::string pattern = Repeated("%sa", 8) + "%sX";
  EXPECT_EQ(kNoMatch, Match(text, pattern, ""));
  EXPECT_EQ(kNoMatch, Match(text, Repeated("%s", 30) + "X", ""));
  EXPECT_EQ(kNoMatch, Match(text, Repeated("%{%sa%}", 9) + "%sX", ""));
  // What matches is found long before.
  EXPECT_EQ("[" + Repeated("a", 152) + "]",
            Match(text + "X", pattern, "[" + Repeated("%s", 9) + "]"));
}

// The first match of a depth-first search, shortest strings first, told in the plainest way: each
// string is cut where the character behind it in the template comes next, or at the end.
struct PlainStrings {
  std::vector<std::string> between;  // the text before, between and behind the strings
  std::vector<std::string> found;

  bool From(const std::string& english, std::size_t at, std::size_t item) {
    const std::string& before = between[item];
    if (english.compare(at, before.size(), before) != 0) return false;
    at += before.size();
    if (item + 1 == between.size()) return at == english.size();
    const std::string& behind = between[item + 1];
    const bool last = item + 2 == between.size();
    for (std::size_t end = at; end <= english.size(); ++end) {
      // The empty string is tried in any case; two strings side by side cut anywhere.
      const bool cut = end == at || (behind.empty() && !last) ||
                       (behind.empty() ? end == english.size()
                                       : end < english.size() && english[end] == behind[0]);
      if (!cut) continue;
      found.push_back(english.substr(at, end - at));
      if (From(english, end, item + 1)) return true;
      found.pop_back();
    }
    return false;
  }
};

TEST(FcStrMatchTemplate, FindsTheFirstOfAllWaysToCutAText) {
  uint32 seed = 7;
  const auto random = [&seed](uint32 n) {
    seed = seed * 1103515245 + 12345;
    return (seed >> 16) % n;
  };
  const auto letters = [&random](uint32 most) {
    std::string text;
    for (uint32 n = random(most + 1); n > 0; n--)
      text += static_cast<char>('a' + random(3));
    return text;
  };
  int matched = 0;
  for (int round = 0; round < 20000; round++) {
    PlainStrings plain;
    std::string pattern, translated, english;
    const uint32 items = 1 + random(5);
    for (uint32 i = 0; i <= items; i++) {
      plain.between.push_back(letters(2));
      if (i > 0) {
        pattern += "%s";
        english += letters(3);
        translated += "%s|";
      }
      pattern += plain.between.back();
      english += plain.between.back();
    }
    if (random(2) == 0) english = letters(12);
    std::string expected = kNoMatch;
    if (plain.From(english, 0, 0)) {
      expected.clear();
      for (const std::string& string : plain.found)
        expected += string + "|";
      matched++;
    }
    ASSERT_EQ(expected, Match(english, pattern, translated)) << english << " by " << pattern;
  }
  EXPECT_GT(matched, 5000);
}

TEST(FcStrMatchTemplate, PutsTrailingNewlinesBack) {
  EXPECT_EQ("disk kaputt\n", Match("disk failed\n", "%s failed", "%s kaputt"));
  EXPECT_EQ("b a\n\n", Match("a\x08 b\x08\n\n", "%s %s", "%[1]s %[0]s"));
  EXPECT_EQ("Fertig.\n", Match("Done.\n", "Done.", "Fertig."));
  EXPECT_EQ("offen: foo\n", Match("open foo\n", "open %s", "offen: %s"));
}

TEST(FcStrMatchTemplate, WantsALiteralPercentDoubledInTheTemplate) {
  const MatchCase cases[] = {
      {"5% of 100%", "%d%% of %d%%", "%d von %d Prozent", "5 von 100 Prozent"},
      {"a%b", "a%%b", "x", "x"},
      {"a%b", "a%%%%b", "x", kNoMatch},
      {"a%%b", "a%%b", "x", kNoMatch},
      {"a%b", "axb", "x", kNoMatch},
      {"a%", "a", "x", kNoMatch},
      {"axb", "a%%b", "x", kNoMatch},
  };
  ExpectMatches(cases, std::size(cases));
}

TEST(FcStrMatchTemplate, BindsAnOption) {
  const MatchCase cases[] = {
      {"File not found", "File%{ not%} found", "Datei%{ nicht%} gefunden", "Datei nicht gefunden"},
      {"File found", "File%{ not%} found", "Datei%{ nicht%} gefunden", "Datei gefunden"},
      {"Very bad", "%{Very %}bad", "%{sehr %}schlecht", "sehr schlecht"},
      {"bad", "%{Very %}bad", "%{sehr %}schlecht", "schlecht"},
      {"x (5)", "x%{ (%d)%}", "%{%d%}", "5"},
      {"x", "x%{ (%d)%}", "<%{%d%}>", "<>"},
  };
  ExpectMatches(cases, std::size(cases));
}

TEST(FcStrMatchTemplate, BindsABranch) {
  const MatchCase cases[] = {
      {"2 files", "%d file%(s%|%)", "%d Datei%(en%|%)", "2 Dateien"},
      {"1 file", "%d file%(s%|%)", "%d Datei%(en%|%)", "1 Datei"},
      {"no files", "%(no%|one%|%d%) files", "%(keine%|eine%|%d%) Dateien", "keine Dateien"},
      {"7 files", "%(no%|one%|%d%) files", "%(keine%|eine%|%d%) Dateien", "7 Dateien"},
      {"two files", "%(no%|one%|%d%) files", "x", kNoMatch},
      {"acx", "%(a%(b%|c%)%|d%)x", "%(A%(B%|C%)%|D%)", "AC"},
      {"dx", "%(a%(b%|c%)%|d%)x", "%(A%(B%|C%)%|D%)", "D"},
      {"ax", "%(a%(b%|c%)%|d%)x", "-", kNoMatch},
      {"say yes to Bob", "say %(no%|yes%) to %s", "%s: %(nein%|ja%)", "Bob: ja"},
  };
  ExpectMatches(cases, std::size(cases));
}

TEST(FcStrMatchTemplate, NeverBindsAListOfOneAlternative) {
  EXPECT_EQ(kNoMatch, Match("a", "%(a%)", "x"));
  EXPECT_EQ(kNoMatch, Match("a", "%(a", "x"));
  EXPECT_EQ(kNoMatch, Match("a", "%{a", "x"));
}

TEST(FcStrMatchTemplate, ReplacesThePrecisionOfABoundString) {
  EXPECT_EQ("abcdef|", Match("<abcdef>", "<%s>", "%.2s|"));
  EXPECT_EQ("  abcdef|", Match("<abcdef>", "<%s>", "%8.2s|"));
}

TEST(FcStrMatchTemplate, MakesArgumentsForStars) {
  const MatchCase cases[] = {
      {"   42|", "%*d|", "%*d", "42"},
      {"3.14|", "%.*f|", "%.*f", "3.14"},
      {"1.50e+003|", "%.*e|", "%.*e", "1.50e+03"},
      {"12.5|", "%.*g|", "%.*g", "12.5"},
      {"1.25e+009|", "%.*g|", "%.*g", "1.25e+09"},
      {"007|", "%.*d|", "%.*d", "007"},
      {"-007|", "%.*d|", "%.*d", "-007"},
      {"00ff|", "%.*x|", "%.*x", "00ff"},
      {"0012|", "%.*u|", "%.*u", "0012"},
      {"abc|", "%.*s|", "%.*s", "abc"},
      {"  2.50|", "%*.*f|", "%*.*f", "2.50"},
      {"x 42", "%[2]s %[0]*d", "%[0]*d %[2]s", "42 x"},
  };
  ExpectMatches(cases, std::size(cases));
}

TEST(FcStrMatchTemplate, AssertsOfAPrecisionBelowOne) {
  ExpectAsserts expected({"Bad precision"});
  EXPECT_EQ("3", Match("3|", "%.*f|", "%.*f"));
}

TEST(FcStrMatchTemplate, AssertsOfAPrecisionThatNoTextShows) {
  ExpectAsserts expected({"Unhandled format", "Bad precision"});
  EXPECT_EQ("done", Match("x|", "%.*c|", "done"));
}

TEST(FcMatGetPrecision, AssertsOfAPointBehindTheExponent) {
  FcMatBinding binding = {};
  binding.ptbzEnglish = FWT("1e5.2");
  binding.cbEnglishBindingLength = 5;
  binding.bTypeName = 'f';
  ExpectAsserts expected({"Number string appears bad", "Bad precision"});
  EXPECT_EQ(0, FcMatGetPrecision(&binding));
}

TEST(FcStrMatchTemplate, CountsAsMatchedThoughTheTranslationWantsOtherTypes) {
  ExpectAsserts expected({"Format to output doesn't match arguments"});
  EXPECT_EQ("\n", Match("5 items\n", "%d items", "<%s>"));
}

TEST(FcStrMatchTemplate, LeavesUnreferencedSlotsGeneric) {
  EXPECT_EQ("b a", Match("a b", "%[0]s %[2]s", "%[2]s %[0]s"));
  ExpectAsserts expected({"Format to output doesn't match arguments"});
  EXPECT_EQ("", Match("a b", "%[0]s %[2]s", "%[2]s %[1]s"));
}

TEST(FcStrMatchTemplate, MatchesACountedText) {
  EXPECT_EQ("x", MatchN("abcdef", 3, "abc", "x"));
  EXPECT_EQ("<b>", MatchN("a b c", 3, "a %s", "<%s>"));
  // The number goes on behind the end.
  EXPECT_EQ(kNoMatch, MatchN("a12", 2, "a%d", "%d"));
  EXPECT_EQ(kNoMatch, MatchN("a1.5", 2, "a%f", "%f"));
  EXPECT_EQ("disk kaputt", MatchN("disk failed\r\n", 11, "%s failed", "%s kaputt"));
}

TEST(FcStrMatchTemplate, AssertsOfANegativeLength) {
  ExpectAsserts expected({"Bad cbEnglishLength"});
  EXPECT_EQ(kNoMatch, MatchN("a", static_cast<uint32>(-2), "a", "b"));
}

TEST(FcStrMatchTemplate, AssertsOfTheTemplatesFaults) {
  const struct {
    std::string pattern;
    const char* pszAssert;
  } cases[] = {
      {"a%", "Format just before terminator"},
      {"%[0d", "Failed to find closing ']' in format string"},
      {"a%|", "%| outside branch"},
      {"a%)", "%) outside branch"},
      {"a%}", "%) outside branch"},
      {"%o", "Unknown format for matching"},
      {"%n", "Unknown format for matching"},
      {"%p", "Unknown format for matching"},
      {"%P", "Unknown format for matching"},
      {"%.-1d", "Negative precision given"},
      {Repeated("%d", 49), "Format string too complex"},
      {Repeated("%d", 47) + "%{x%}", "Too many formats"},
      {Repeated("%d", 48) + "%{x%}", "Format string too complex"},
      {Repeated("%(", 17), "Too many recursed branches"},
      {"%(" + Repeated("%|", 33), "Too many branches"},
  };
  for (const auto& c : cases) {
    ExpectAsserts expected({c.pszAssert});
    EXPECT_EQ(kNoMatch, Match("a", c.pattern, "x")) << c.pattern;
  }
}

TEST(FcStrMatchTemplate, Prints39BindingsAndNoMore) {
  EXPECT_EQ("x%", Match(std::string(39, 'x'), Repeated("%c", 39), "%c%%"));
  ExpectAsserts expected({"Too many formats"});
  EXPECT_EQ(kNoMatch, Match(std::string(40, 'x'), Repeated("%c", 40), "%c"));
}

TEST(FcStrMatchTemplate, AssertsOfPositionsBeyondItsList) {
  EXPECT_EQ("x", Match("<a>", "<%[39]s>", "x"));
  {
    ExpectAsserts expected({"Too many formats"});
    EXPECT_EQ(kNoMatch, Match("<a>", "<%[40]s>", "x"));
  }
  ExpectAsserts expected({"Too many formats"});
  EXPECT_EQ(kNoMatch, Match("<a>", "<%[500]s>", "x"));
}

TEST(FcStrMatchTemplate, HasRoomFor32SeparatorsInAList) {
  std::string pattern = "%(a0";
  std::string translated = "%(b0";
  for (int i = 1; i <= 32; i++) {
    pattern += "%|a" + std::to_string(i);
    translated += "%|b" + std::to_string(i);
  }
  EXPECT_EQ("b32", Match("a32.", pattern + "%).", translated + "%)"));
  EXPECT_EQ("b0", Match("a0.", pattern + "%).", translated + "%)"));
  EXPECT_EQ(kNoMatch, Match("a33.", pattern + "%).", translated + "%)"));
}

TEST(FcStrMatchTemplate, Nests16Lists) {
  // A list takes three bindings, so 13 of them can still be printed.
  EXPECT_EQ("y", Match("x", Repeated("%(", 13) + "x" + Repeated("%|%)", 13), "y"));
  ExpectAsserts expected({"Too many formats"});
  EXPECT_EQ(kNoMatch, Match("x", Repeated("%(", 16) + "x" + Repeated("%|%)", 16), "y"));
}

TEST(FcStrMatchTemplate, ComparesLiteralPercentsFor299Rounds) {
  EXPECT_EQ("x", Match(std::string(298, '%'), Repeated("%%", 298), "x"));
  ExpectAsserts expected({"Infinite loop?"});
  EXPECT_EQ(kNoMatch, Match(std::string(299, '%'), Repeated("%%", 299), "x"));
}

// --- Words with translations of their own ---

TEST(FcStrMatchTemplate, TranslatesAKnownWord) {
  Vocabulary vocabulary("words");
  FcTranslNode* pFile = vocabulary.AddFixed("file", "Datei");
  FcTranslNode* pLong = vocabulary.AddFixed("open file", "offene Datei");
  EXPECT_EQ("Datei fehlt", Match("file missing", "%t missing", "%t fehlt"));
  EXPECT_EQ("offene Datei fehlt", Match("open file missing", "%t missing", "%t fehlt"));
  EXPECT_EQ("a.xml: Datei weg",
            Match("Error: file\x08 a.xml\x08 gone", "Error: %t %s gone", "%[1]s: %[0]t weg"));
  EXPECT_EQ(0, pFile->pbData[0]);
  EXPECT_EQ(0, pLong->pbData[0]);
}

TEST(FcStrMatchTemplate, LeavesAnUnknownWordInEnglish) {
  Vocabulary vocabulary("words");
  vocabulary.AddFixed("disk", "Platte");
  EXPECT_EQ("drive bereit", Match("drive ready", "%t ready", "%t bereit"));
  // The known word is tried first, but what follows it does not fit.
  EXPECT_EQ("disk drive bereit", Match("disk drive ready", "%t ready", "%t bereit"));
  EXPECT_EQ("drive x!", Match("drive\x08 x\x08!", "%t %s!", "%t %s!"));
  EXPECT_EQ("<>", Match(" ready", "%t ready", "<%t>"));
}

TEST(FcStrMatchTemplate, BindsTheShortestKnownWord) {
  Vocabulary vocabulary("words");
  vocabulary.AddFixed("open", "offen");
  vocabulary.AddFixed("open file", "offene Datei");
  EXPECT_EQ("<offen|file x>", Match("open file x", "%t %s", "<%[0]t|%[1]s>"));
}

TEST(FcStrMatchTemplate, ReleasesWordsOfAFailedMatch) {
  Vocabulary vocabulary("words");
  FcTranslNode* pNode = vocabulary.AddFixed("file", "Datei");
  EXPECT_EQ(kNoMatch, Match("file\x08 x\x08?", "%t %s!", "x"));
  EXPECT_EQ(0, pNode->pbData[0]);
  {
    ExpectAsserts expected({"Too many formats"});
    EXPECT_EQ(kNoMatch, Match("file 1", "%t %[50]d", "x"));
  }
  EXPECT_EQ(0, pNode->pbData[0]);
}

TEST(FcStrMatchTemplate, RunsOutOfTriesBehindAKnownWordThatMisleads) {
  Vocabulary vocabulary("words");
  FcTranslNode* pNode = vocabulary.AddFixed("file", "Datei");
  // 11 bytes give 13 tries: one for the word, 12 for the plain strings of 0 to 11 characters.
  ExpectAsserts expected({"Infinite loop entered?"});
  EXPECT_EQ(kNoMatch, Match("file3 boxes", "%t%d items", "x"));
  EXPECT_EQ(0, pNode->pbData[0]);
}

// --- Markers ---

TEST(FcStrStripMarkers, RemovesEveryMarker) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("\x08"
                                  "a\x08\x08"
                                  "b\x08"));
  EXPECT_TRUE(FcStrStripMarkers(&record));
  EXPECT_STREQ("ab", FWC(record.pbz));
  EXPECT_FALSE(FcStrStripMarkers(&record));
  FwStrPutTextString(&record, FWT("c"));
  EXPECT_EQ("abc", Taken(&record));
}

TEST(FcStrNEqualIgnoreMarkers, PassesOverMarkersOfTheText) {
  EXPECT_TRUE(fFcStrNEqualIgnoreMarkers(FWT("a b"),
                                        FWT("\x08"
                                            "a\x08 b"),
                                        kWhole));
  EXPECT_TRUE(fFcStrNEqualIgnoreMarkers(FWT("a b"), FWT("a\x08 c"), 2));
  EXPECT_TRUE(fFcStrNEqualIgnoreMarkers(FWT("5%% x"), FWT("5% x"), kWhole));
  EXPECT_FALSE(fFcStrNEqualIgnoreMarkers(FWT("a b"), FWT("a\x08 c"), kWhole));
  EXPECT_FALSE(fFcStrNEqualIgnoreMarkers(FWT("a b"), FWT("a "), kWhole));
  EXPECT_FALSE(fFcStrNEqualIgnoreMarkers(FWT("5%% x"), FWT("5% x"), 2));
}

TEST(FcStrRecordDeleteAt, MovesTheTailDown) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("abc"));
  FcStrRecordDeleteAt(&record, record.pbz + 1);
  EXPECT_STREQ("ac", FWC(record.pbz));
  FcStrRecordDeleteAt(&record, record.pbz + 1);
  EXPECT_STREQ("a", FWC(record.pbz));
  ExpectAsserts expected({"Bad iDeleteAt", "Bad iDeleteAt"});
  FcStrRecordDeleteAt(&record, record.pbTerminator);
  FcStrRecordDeleteAt(&record, record.pbTerminator + 1);
  EXPECT_EQ("a", Taken(&record));
}
