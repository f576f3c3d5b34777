#include "vqnexpat.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fwmem.h"
#include "fwstrprf.h"
#include "process.h"
#include "recorder.h"

namespace {

FwTextString Text(const std::string& text) {
  return FWT(text.c_str());
}

std::string Take(FwTextString text) {
  std::string copy = FWC(text);
  FwMemFree(text);
  return copy;
}

std::string Rendered(FwErrorState* err) {
  FwStrRecord record = {};
  FwStrRecordOpen(&record);
  FwStrPrintf(&record, 0, err->pError->ptbzFormat, err->items[0].type, err->items[0].name);
  return Take(FwStrRecordClose(&record));
}

// What a parser told of a file: "<name", ">name" and runs of text.
struct Events {
  std::vector<std::string> list;

  static void Start(void* user, const XML_Char* name, const XML_Char** atts) {
    auto& list = static_cast<Events*>(user)->list;
    list.push_back(std::string("<") + name);
    for (; *atts; atts += 2)
      list.back() += std::string(" ") + atts[0] + "=" + atts[1];
  }
  static void End(void* user, const XML_Char* name) {
    static_cast<Events*>(user)->list.push_back(std::string(">") + name);
  }
  static void Data(void* user, const XML_Char* s, int len) {
    auto& list = static_cast<Events*>(user)->list;
    if (list.empty() || list.back()[0] == '<' || list.back()[0] == '>') list.push_back("=");
    list.back().append(s, static_cast<std::size_t>(len));
  }
};

struct Feed {
  int result = -1;
  Events events;
  int line = 0;

  Feed(FwErrorState* err, const std::string& path) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &events);
    XML_SetElementHandler(parser, Events::Start, Events::End);
    XML_SetCharacterDataHandler(parser, Events::Data);
    result = xml_from_fwfile(err, Text(path), parser);
    line = static_cast<int>(XML_GetCurrentLineNumber(parser));
    XML_ParserFree(parser);
  }
};

struct KindRow {
  int code;
  FwError* kind;
  const char* format;
};

const KindRow kKindRows[] = {
    {1, VQN_XML_ERROR_NO_MEMORY, "out of memory in %[0]t %[1]s"},
    {2, VQN_XML_ERROR_SYNTAX, "syntax error in %[0]t %[1]s"},
    {3, VQN_XML_ERROR_NO_ELEMENTS, "no element found in %[0]t %[1]s"},
    {4, VQN_XML_ERROR_INVALID_TOKEN, "not well-formed in %[0]t %[1]s"},
    {5, VQN_XML_ERROR_UNCLOSED_TOKEN, "unclosed token in %[0]t %[1]s"},
    {6, VQN_XML_ERROR_PARTIAL_CHAR, "unclosed token in %[0]t %[1]s"},
    {7, VQN_XML_ERROR_TAG_MISMATCH, "mismatched tag in %[0]t %[1]s"},
    {8, VQN_XML_ERROR_DUPLICATE_ATTRIBUTE, "duplicate attribute in %[0]t %[1]s"},
    {9, VQN_XML_ERROR_JUNK_AFTER_DOC_ELEMENT, "junk after document element in %[0]t %[1]s"},
    {10, VQN_XML_ERROR_PARAM_ENTITY_REF, "illegal parameter entity reference in %[0]t %[1]s"},
    {11, VQN_XML_ERROR_UNDEFINED_ENTITY, "undefined entity in %[0]t %[1]s"},
    {12, VQN_XML_ERROR_RECURSIVE_ENTITY_REF, "recursive entity reference in %[0]t %[1]s"},
    {13, VQN_XML_ERROR_ASYNC_ENTITY, "asynchronous entity in %[0]t %[1]s"},
    {14, VQN_XML_ERROR_BAD_CHAR_REF, "reference to invalid character number in %[0]t %[1]s"},
    {15, VQN_XML_ERROR_BINARY_ENTITY_REF, "reference to binary entity in %[0]t %[1]s"},
    {16, VQN_XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF,
     "reference to external entity in attribute in %[0]t %[1]s"},
    {17, VQN_XML_ERROR_MISPLACED_XML_PI,
     "xml processing instruction not at start of external entity in %[0]t %[1]s"},
    {18, VQN_XML_ERROR_UNKNOWN_ENCODING, "unknown encoding in %[0]t %[1]s"},
    {19, VQN_XML_ERROR_INCORRECT_ENCODING,
     "encoding specified in XML declaration is incorrect in %[0]t %[1]s"},
    {20, VQN_XML_ERROR_UNCLOSED_CDATA_SECTION, "unclosed CDATA section in %[0]t %[1]s"},
    {21, VQN_XML_ERROR_EXTERNAL_ENTITY_HANDLING,
     "error in processing external entity reference in %[0]t %[1]s"},
    {22, VQN_XML_ERROR_NOT_STANDALONE, "document is not standalone in %[0]t %[1]s"},
    {23, VQN_XML_ERROR_UNEXPECTED_STATE, "unexpected state in %[0]t %[1]s"},
    {24, VQN_XML_ERROR_ENTITY_DECLARED_IN_PE, "entity declared in PE in %[0]t %[1]s"},
    {25, VQN_XML_ERROR_FEATURE_REQUIRES_XML_DTD, "feature requires XML DTD in %[0]t %[1]s"},
    {26, VQN_XML_ERROR_CANT_CHANGE_FEATURE_ONCE_PARSING,
     "can't change feature once parsing in %[0]t %[1]s"},
    {27, VQN_XML_ERROR_UNBOUND_PREFIX, "unbound prefix in %[0]t %[1]s"},
};

TEST(XmlErrors, MapsEachCodeToItsKindWithItsText) {
  int code = 0;
  for (const KindRow& row : kKindRows) {
    SCOPED_TRACE(row.code);
    EXPECT_EQ(row.code, ++code);
    EXPECT_EQ(row.kind, x2fwerr(row.code)) << row.code;
    EXPECT_STREQ(row.format, FWC(row.kind->ptbzFormat)) << row.code;
    EXPECT_EQ(static_cast<void*>(VQN_XML_ERROR), static_cast<void*>(row.kind->pParent));
  }
  EXPECT_EQ(27, code);
}

TEST(XmlErrors, TheFamilyHangsBelowTheRootOfAllErrors) {
  EXPECT_STREQ("XML parsing error in %[0]t %[1]s", FWC(VQN_XML_ERROR->ptbzFormat));
  EXPECT_EQ(static_cast<void*>(fwErrorRoot), static_cast<void*>(VQN_XML_ERROR->pParent));
}

TEST(XmlErrors, PartialCharactersAndUnclosedTokensShareAText) {
  EXPECT_STREQ(FWC(VQN_XML_ERROR_UNCLOSED_TOKEN->ptbzFormat),
               FWC(VQN_XML_ERROR_PARTIAL_CHAR->ptbzFormat));
  EXPECT_NE(VQN_XML_ERROR_UNCLOSED_TOKEN, VQN_XML_ERROR_PARTIAL_CHAR);
}

TEST(XmlErrors, CodesWithoutAKindGiveNull) {
  for (int code : {-1, 0, 28, 30, 32, 43, 1000})
    EXPECT_EQ(nullptr, x2fwerr(code)) << code;
}

// The codes that a file can provoke. The others need lack of memory (1), handlers or features that
// the adapter doesn't use (21, 22, 24 to 27), or a fault of the parser (23).
TEST(XmlFromFwfile, ReportsEachErrorOfTheParserThatAFileCanProvoke) {
  struct Row {
    FwError* kind;
    std::string content;
    const char* text;
  };
  const Row rows[] = {
      {VQN_XML_ERROR_SYNTAX, "plain text", "syntax error"},
      {VQN_XML_ERROR_NO_ELEMENTS, "", "no element found"},
      {VQN_XML_ERROR_NO_ELEMENTS, "<?xml version='1.0'?>\n<!-- nothing -->\n", "no element found"},
      {VQN_XML_ERROR_INVALID_TOKEN, "<a b=>", "not well-formed"},
      {VQN_XML_ERROR_INVALID_TOKEN, "<a>\xFF</a>", "not well-formed"},
      {VQN_XML_ERROR_UNCLOSED_TOKEN, "<a><b", "unclosed token"},
      {VQN_XML_ERROR_PARTIAL_CHAR, "<a>\xC3", "unclosed token"},
      {VQN_XML_ERROR_TAG_MISMATCH, "<a></b>", "mismatched tag"},
      {VQN_XML_ERROR_DUPLICATE_ATTRIBUTE, "<a n='1' n='2'/>", "duplicate attribute"},
      {VQN_XML_ERROR_JUNK_AFTER_DOC_ELEMENT, "<a/><b/>", "junk after document element"},
      {VQN_XML_ERROR_PARAM_ENTITY_REF, "<!DOCTYPE a [<!ENTITY % p 'b'><!ELEMENT a (%p;)>]><a/>",
       "illegal parameter entity reference"},
      {VQN_XML_ERROR_UNDEFINED_ENTITY, "<a>&none;</a>", "undefined entity"},
      {VQN_XML_ERROR_RECURSIVE_ENTITY_REF, "<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>",
       "recursive entity reference"},
      {VQN_XML_ERROR_ASYNC_ENTITY, "<!DOCTYPE a [<!ENTITY e '<b>'>]><a>&e;</b></a>",
       "asynchronous entity"},
      {VQN_XML_ERROR_BAD_CHAR_REF, "<a>&#0;</a>", "reference to invalid character number"},
      {VQN_XML_ERROR_BINARY_ENTITY_REF,
       "<!DOCTYPE a [<!NOTATION n SYSTEM 'n'><!ENTITY e SYSTEM 'f' NDATA n>]><a>&e;</a>",
       "reference to binary entity"},
      {VQN_XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF,
       "<!DOCTYPE a [<!ENTITY e SYSTEM 'f'>]><a n='&e;'/>",
       "reference to external entity in attribute"},
      {VQN_XML_ERROR_MISPLACED_XML_PI, "\n<?xml version='1.0'?><a/>",
       "xml processing instruction not at start of external entity"},
      {VQN_XML_ERROR_UNKNOWN_ENCODING, "<?xml version='1.0' encoding='KOI8-R'?><a/>",
       "unknown encoding"},
      {VQN_XML_ERROR_INCORRECT_ENCODING, "<?xml version='1.0' encoding='UTF-16'?><a/>",
       "encoding specified in XML declaration is incorrect"},
      {VQN_XML_ERROR_UNCLOSED_CDATA_SECTION, "<a><![CDATA[text", "unclosed CDATA section"},
  };
  TemporaryTree tree;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.content);
    std::string path = tree.Write("f.xml", row.content);
    FwErrorState err;
    EXPECT_EQ(0, Feed(&err, path).result) << row.content;
    EXPECT_EQ(row.kind, err.pError) << row.content;
    EXPECT_EQ(std::string(row.text) + " in File " + path, Rendered(&err));
    FwErrorClear(&err);
  }
}

// Entities of entities: a few hundred bytes that stand for ten thousand million.
std::string EntityBomb() {
  std::string content = "<!DOCTYPE a [<!ENTITY e0 'aaaaaaaaaa'>";
  for (int level = 1; level < 10; ++level) {
    content += "<!ENTITY e" + std::to_string(level) + " '";
    for (int i = 0; i < 10; ++i)
      content += "&e" + std::to_string(level - 1) + ";";
    content += "'>";
  }
  return content + "]><a>&e9;</a>";
}

TEST(XmlFromFwfile, AnErrorWithoutAKindIsAssertedAndBecomesABug) {
  const std::string contents[] = {
      "<?xml encoding=\"UTF-8\"?><a/>",
      "<!DOCTYPE a PUBLIC '{' 'x'><a/>",
      EntityBomb(),
  };
  TemporaryTree tree;
  for (const std::string& content : contents) {
    SCOPED_TRACE(content);
    ExpectAsserts expected({"Attempting to set error to FW_SUCCESS"});
    FwErrorState err;
    EXPECT_EQ(0, Feed(&err, tree.Write("f.xml", content)).result);
    EXPECT_EQ(fwErrorBug, err.pError);
    FwErrorClear(&err);
  }
}

TEST(XmlFromFwfile, AMissingFileIsTheErrorOfOpening) {
  TemporaryTree tree;
  std::string path = tree / "none.xml";
  FwErrorState err;
  Feed feed(&err, path);
  EXPECT_EQ(0, feed.result);
  EXPECT_EQ(fwErrorNonExistent, err.pError);
  EXPECT_EQ("Error: File " + path + " Does not exist", Rendered(&err));
  FwErrorClear(&err);
}

// A directory opens like a file, and only reading it fails.
TEST(XmlFromFwfile, AnErrorOfReadingLeavesTheStatusOne) {
  TemporaryTree tree;
  std::string path = tree.Directory("f.xml");
  FwErrorState err;
  Feed feed(&err, path);
  EXPECT_EQ(1, feed.result);
  EXPECT_EQ(fwErrorOperationDenied, err.pError);
  EXPECT_TRUE(feed.events.list.empty());
  FwErrorClear(&err);
}

TEST(XmlFromFwfile, AnEarlierErrorStaysAndNothingIsParsed) {
  TemporaryTree tree;
  FwErrorState err;
  FwErrorSet(&err, fwErrorStringSyntax, 2, FWT("File"), FWT("before"));
  Feed feed(&err, tree.Write("f.xml", "<a/>"));
  EXPECT_EQ(1, feed.result);
  EXPECT_EQ(fwErrorStringSyntax, err.pError);
  EXPECT_STREQ("before", FWC(err.items[0].name));
  EXPECT_TRUE(feed.events.list.empty());
  FwErrorClear(&err);
}

TEST(XmlFromFwfile, DeliversElementsAndText) {
  TemporaryTree tree;
  FwErrorState err;
  Feed feed(&err, tree.Write("f.xml", "<a x='1'>t<b/>u</a>"));
  EXPECT_EQ(1, feed.result);
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ((std::vector<std::string>{"<a x=1", "=t", "<b", ">b", "=u", ">a"}), feed.events.list);
}

// The file's size decides how the last block is told: an exact multiple takes an empty one.
TEST(XmlFromFwfile, ReadsFilesOfAnyNumberOfBlocks) {
  TemporaryTree tree;
  const std::string tail = "</a>";
  for (std::size_t size : {4095, 4096, 4097, 8192, 12288}) {
    SCOPED_TRACE(size);
    std::string content = "<a>" + std::string(size - 7, 'x') + tail;
    ASSERT_EQ(size, content.size());
    FwErrorState err;
    Feed feed(&err, tree.Write("f.xml", content));
    EXPECT_EQ(1, feed.result) << size;
    EXPECT_EQ(nullptr, err.pError) << size;
    ASSERT_EQ(3u, feed.events.list.size());
    EXPECT_EQ(size - 7 + 1, feed.events.list[1].size());
  }
}

TEST(XmlFromFwfile, AFileOfOneBlockThatIsCutOffFails) {
  TemporaryTree tree;
  FwErrorState err;
  Feed feed(&err, tree.Write("f.xml", "<a>" + std::string(4093, 'x')));
  EXPECT_EQ(0, feed.result);
  EXPECT_EQ(VQN_XML_ERROR_NO_ELEMENTS, err.pError);
  FwErrorClear(&err);
}

// Each byte of the document in turn is the first of the second block.
TEST(XmlFromFwfile, ResultsDoNotDependOnTheBlockEdge) {
  const std::string body =
      "<root one='%(A)' two='\xC3\xA9&lt;'><sub/>text \xE2\x82\xAC &amp; &#13;more\r\n"
      "<![CDATA[ <raw> ]]><!-- c --><?pi x?></root>";
  TemporaryTree tree;
  std::vector<std::string> expected;
  {
    FwErrorState err;
    Feed feed(&err, tree.Write("f.xml", body));
    ASSERT_EQ(1, feed.result);
    expected = feed.events.list;
    ASSERT_EQ("=text \xE2\x82\xAC & \rmore\n <raw> ", expected[3]);
  }
  for (std::size_t cut = 0; cut <= body.size(); ++cut) {
    SCOPED_TRACE(cut);
    std::string head = "<!--" + std::string(4096 - cut - 7, '-') + "-->";
    head.replace(4, head.size() - 7, std::string(head.size() - 7, ' '));
    ASSERT_EQ(4096 - cut, head.size());
    FwErrorState err;
    Feed feed(&err, tree.Write("f.xml", head + body));
    EXPECT_EQ(1, feed.result) << cut;
    EXPECT_EQ(nullptr, err.pError) << cut;
    EXPECT_EQ(expected, feed.events.list) << cut;
  }
}

TEST(XmlFromFwfile, AParserErrorStopsTheFeedingAtOnce) {
  TemporaryTree tree;
  FwErrorState err;
  Feed feed(&err, tree.Write("f.xml", "<a></b>" + std::string(8192, '\n') + "<c/>"));
  EXPECT_EQ(0, feed.result);
  EXPECT_EQ(VQN_XML_ERROR_TAG_MISMATCH, err.pError);
  EXPECT_EQ(1, feed.line);
  FwErrorClear(&err);
}

TEST(XmlFromFwfile, ClosesTheFileInEveryCase) {
  TemporaryTree tree;
  std::string good = tree.Write("good.xml", "<a/>");
  std::string bad = tree.Write("bad.xml", "<a>");
  std::string dir = tree.Directory("dir.xml");
  for (int i = 0; i < 3000; ++i) {
    SCOPED_TRACE(i);
    for (const std::string& path : {good, bad, dir}) {
      SCOPED_TRACE(path);
      FwErrorState err;
      Feed feed(&err, path);
      ASSERT_EQ(path == bad ? 0 : 1, feed.result);
      ASSERT_NE(fwErrorSoftwareLimit, err.pError);
      FwErrorClear(&err);
    }
  }
}

TEST(XmlStrings, LengthZeroCopiesUpToTheTerminator) {
  EXPECT_EQ("abc", Take(xmlstrN_to_FwStr("abc", 0)));
  EXPECT_EQ("abc", Take(xmlstr_to_FwStr("abc")));
  EXPECT_EQ("", Take(xmlstr_to_FwStr("")));
}

TEST(XmlStrings, AnyOtherLengthCopiesThatManyBytes) {
  const char unterminated[] = {'a', 'b', 'c'};
  EXPECT_EQ("ab", Take(xmlstrN_to_FwStr(unterminated, 2)));
  EXPECT_EQ("abc", Take(xmlstrN_to_FwStr(unterminated, 3)));
}

TEST(XmlStrings, AppendToARecord) {
  FwStrRecord record = {};
  FwStrRecordOpen(&record);
  xmlstr_to_FwStrRecord("ab", &record);
  xmlstrN_to_FwStrRecord("cdX", &record, 2);
  xmlstrN_to_FwStrRecord("\xC3\xA9", &record, 0);
  EXPECT_EQ("abcd\xC3\xA9", Take(FwStrRecordClose(&record)));
}

}  // namespace
