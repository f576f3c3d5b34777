#include "readdata.h"

#include <string>
#include <vector>

#include "read_support.h"
#include "whreaddata.h"

namespace {

TEST(ScanForExpansions, FindsEachBracketFormBehindAPercentSign) {
  struct Row {
    const char* text;
    WH_XML_PARSE_FLAGS seen;
  };
  const Row rows[] = {
      {"", 0},
      {"plain", 0},
      {"%(A)", WH_XML_PF_ROUND_BRACKETS},
      {"%[f]", WH_XML_PF_SQUARE_BRACKETS},
      {"%{E}", WH_XML_PF_SQUIGGLY_BRACKETS},
      {"a%(A)b%[f]c%{E}", 7},
      {"(A)[f]{E}", 0},
      {"%x(A)", 0},
      {"100%", 0},
      {"%", 0},
      {"%(", WH_XML_PF_ROUND_BRACKETS},
      // The second sign is taken along by the first.
      {"%%(", 0},
      {"%%%(", WH_XML_PF_ROUND_BRACKETS},
      {"%%", 0},
      {"\xC3\xA9%[", WH_XML_PF_SQUARE_BRACKETS},
      {"%\xC3\xA9(", 0},
  };
  for (const Row& row : rows)
    EXPECT_EQ(row.seen, scan_for_expansions(FWT(row.text))) << row.text;
}

TEST(ScanForExpansions, StopsAtTheEndAfterALonePercentSign) {
  char text[] = {'a', '%', '\0', '%', '(', '\0'};
  EXPECT_EQ(0u, scan_for_expansions(FWT(text)));
}

TEST(StringToNum, TakesALeadingNumberAndNothingElse) {
  struct Row {
    const char* text;
    int number;
  };
  const Row rows[] = {
      {"0", 0},      {"1", 1},   {"42", 42},        {"-7", -7},
      {"+3", 3},     {"", 0},    {"yes", 0},        {" 1x", 1},
      {"\t12 ", 12}, {"x1", 0},  {"007", 7},        {"2147483647", 2147483647},
      {"-0", 0},     {"--1", 0}, {"2147483648", 0}, {"99999999999", 0},
  };
  for (const Row& row : rows)
    EXPECT_EQ(row.number, string_to_num(FWT(row.text))) << row.text;
  EXPECT_EQ(0, string_to_num(nullptr));
}

TEST(UniEqStr, ComparesByteByByte) {
  EXPECT_EQ(1, uni_eq_str("VAR", "VAR"));
  EXPECT_EQ(0, uni_eq_str("Var", "VAR"));
  EXPECT_EQ(0, uni_eq_str("VAR", "VA"));
  EXPECT_EQ(0, uni_eq_str("VA", "VAR"));
}

const char* atts[] = {"one", "%(A)", "two", "22x", "three", "", "one", "again", nullptr};

TEST(Attr, GivesACopyOfTheFirstMatchAndNotesItsBrackets) {
  WH_XML_PARSE_FLAGS seen = WH_XML_PF_SQUARE_BRACKETS;
  FwTextString value = attr("one", atts, &seen);
  EXPECT_NE(FWT(atts[1]), value);
  EXPECT_EQ("%(A)", Take(value));
  EXPECT_EQ(WH_XML_PF_SQUARE_BRACKETS | WH_XML_PF_ROUND_BRACKETS, seen);
}

TEST(Attr, AnAbsentOneIsNullAndLeavesTheFlags) {
  WH_XML_PARSE_FLAGS seen = 4;
  EXPECT_EQ(nullptr, attr("On", atts, &seen));
  EXPECT_EQ(4u, seen);
}

TEST(Attr, AnEmptyOneIsNotAbsent) {
  WH_XML_PARSE_FLAGS seen = 0;
  EXPECT_EQ("", Take(attr("three", atts, &seen)));
}

TEST(AttrDefault, ScansTheDefaultAsWell) {
  WH_XML_PARSE_FLAGS seen = 0;
  EXPECT_EQ("%(THIS-NAME)", Take(attr_default("name", atts, FWT("%(THIS-NAME)"), &seen)));
  EXPECT_EQ(WH_XML_PF_ROUND_BRACKETS, seen);
}

TEST(AttrDefault, DoesNotScanADefaultThatIsNotUsed) {
  WH_XML_PARSE_FLAGS seen = 0;
  EXPECT_EQ("22x", Take(attr_default("two", atts, FWT("%[f]"), &seen)));
  EXPECT_EQ(0u, seen);
}

TEST(NumAttr, NoNumberAndNoAttributeAreBothZero) {
  WH_XML_PARSE_FLAGS seen = 0;
  EXPECT_EQ(22, num_attr("two", atts, &seen));
  EXPECT_EQ(0, num_attr("none", atts, &seen));
  EXPECT_EQ(0u, seen);
  EXPECT_EQ(0, num_attr("one", atts, &seen));
  EXPECT_EQ(WH_XML_PF_ROUND_BRACKETS, seen);
}

TEST(CharAttr, GivesTheFirstCharacter) {
  const char* list[] = {"sep", ";:", "e", "\xE2\x82\xACx", "none", "", nullptr};
  WH_XML_PARSE_FLAGS seen = 0;
  EXPECT_EQ(';', char_attr("sep", list, &seen));
  EXPECT_EQ(0x20AC, char_attr("e", list, &seen));
  EXPECT_EQ(0, char_attr("none", list, &seen));
  EXPECT_EQ(0, char_attr("absent", list, &seen));
}

// A format of one element "l": it notes the line of each "l" and keeps the text of the last.
struct Lines : READER {
  std::vector<std::string> lines;
  std::vector<std::string> texts;
  bool in_text = false;

  static void Start(void* user, const XML_Char* name, const XML_Char**) {
    auto* self = static_cast<Lines*>(static_cast<USERDATA*>(user)->dfa);
    if (!uni_eq_str(name, "l")) return;
    self->lines.push_back(Take(xml_lineno(static_cast<USERDATA*>(user))));
    opentext(self);
  }
  static void End(void* user, const XML_Char* name) {
    auto* self = static_cast<Lines*>(static_cast<USERDATA*>(user)->dfa);
    if (uni_eq_str(name, "l")) self->texts.push_back(Take(closetext(self)));
  }
};

TEST(ReadDatafile, KnowsTheLineOfEachElement) {
  TemporaryTree tree;
  Lines lines;
  PARSER parser{&lines, Lines::Start, Lines::End, nullptr, nullptr};
  Error err;
  Text path(tree.Write("f.xml", "<r><l/>\n<l/><l\n/>\n\n\n<l/></r>"));
  EXPECT_EQ(1, read_datafile(&err, path, &parser));
  EXPECT_EQ((std::vector<std::string>{"1", "2", "2", "6"}), lines.lines);
}

TEST(ReadDatafile, WithoutATextHandlerDropsText) {
  TemporaryTree tree;
  Lines lines;
  PARSER parser{&lines, Lines::Start, Lines::End, nullptr, nullptr};
  Error err;
  Text path(tree.Write("f.xml", "<r><l>text</l></r>"));
  EXPECT_EQ(1, read_datafile(&err, path, &parser));
  EXPECT_EQ((std::vector<std::string>{""}), lines.texts);
  EXPECT_EQ(nullptr, lines.doctype);
}

TEST(ReadDatafile, KeepsTheTextOfATextElementByteForByte) {
  TemporaryTree tree;
  Lines lines;
  PARSER parser{&lines, Lines::Start, Lines::End, doctype_element, text_data};
  Error err;
  Text path(tree.Write("f.xml",
                       "<!DOCTYPE r>\n<r> dropped <l>  a\n b &amp; <![CDATA[<c>]]>\t</l> dropped "
                       "<l></l></r>"));
  EXPECT_EQ(1, read_datafile(&err, path, &parser));
  EXPECT_EQ((std::vector<std::string>{"  a\n b & <c>\t", ""}), lines.texts);
  EXPECT_EQ("r", Str(lines.doctype));
  release_reader(&lines);
  EXPECT_EQ(nullptr, lines.doctype);
}

TEST(ReadDatafile, AMissingFileGivesZeroAndTheErrorOfOpening) {
  TemporaryTree tree;
  Lines lines;
  PARSER parser{&lines, Lines::Start, Lines::End, nullptr, nullptr};
  Error err;
  Text path(tree / "none.xml");
  EXPECT_EQ(0, read_datafile(&err, path, &parser));
  EXPECT_EQ("*** Error: File " + path.str() + " Does not exist", err.text());
}

TEST(ReadDatafile, HandlersRunToTheEndOfTheFile) {
  TemporaryTree tree;
  Lines lines;
  PARSER parser{&lines, Lines::Start, Lines::End, nullptr, nullptr};
  Error err;
  std::string content = "<r>";
  for (int i = 0; i < 5000; ++i)
    content += "<l/>\n";
  Text path(tree.Write("f.xml", content + "</r>"));
  EXPECT_EQ(1, read_datafile(&err, path, &parser));
  ASSERT_EQ(5000u, lines.lines.size());
  EXPECT_EQ("5000", lines.lines.back());
}

TEST(WhFree, IgnoresNull) {
  wh_free(nullptr);
  wh_free(dup_str(FWT("x")));
}

}  // namespace
