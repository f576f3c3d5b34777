// What is told of a data file that its reader refuses: each kind of fault by itself, in each kind
// of file and in each encoding.
#include <gtest/gtest.h>

#include "zor.h"

namespace {

const std::string kRefused = ": the file is not read, and its product can't be used";
const std::string kForm = "Form of the data files";
const std::string kSettings = "ENV.XML AND UNENV.XML";
const std::string kRecipes = "SETUP.XML AND UNSET.XML";

struct Row {
  const char* what;
  std::string content;
  std::string place;
  std::string text;
  std::string why;
  std::string help;
};

// The product C/P/1/1 has such a file in place of its own, and is asked for.
void Check(const std::string& file, const std::string& section, const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    Warehouse warehouse;
    warehouse.Product("C/P/1/1");
    warehouse.File("C/P/1/1", file, row.content);
    Expect(Zor({"env", "C/P"}, {"ZORROOT=" + warehouse.Root()}), "",
           "zor: " + warehouse.Root() + "/C/P/1/1/" + file + ":" + row.place + ": " + row.text +
               "\n  " + row.why + kRefused + "\n  " + row.help + "\n  see zorenv-warehouse(5), " +
               section + '\n',
           1);
  }
}

// An env.xml with this in its only group, which begins at 1:36.
std::string Group(const std::string& operations) {
  return "<ENV-SETTINGS><ENV-GROUP><PATTERN/>" + operations + "</ENV-GROUP></ENV-SETTINGS>";
}

TEST(Diagnosis, OfElementsWhereTheyHaveNoPlace) {
  const std::string fault = "XML parsing error";
  Check(
      "env.xml", kSettings,
      {{"an element in a text", Group("<ENV-DELETE>A<B/></ENV-DELETE>"), "1:49",
        "ENV-DELETE holds text and no elements, but here begins B", fault,
        "close it first, with </ENV-DELETE>; in text, &lt; stands for <"},
       {"one that is wrong twice is told of once", "<ENV-SETTINGS><X/><X/></ENV-SETTINGS>", "1:15",
        "X is no element of an env.xml; here may stand ENV-GROUP or the end of "
        "ENV-SETTINGS",
        fault, "take X out"},
       {"one that is missing at the end", Group("<ENV-INSERT><NAME>A</NAME></ENV-INSERT>"), "1:62",
        "ENV-INSERT ends here, and VALUE has to come first", fault, "add <VALUE>"}});
  Check("product.xml", "PRODUCT.XML",
        {{"a misspelt root", "<PRODUCTINFO/>", "1:1",
          "the root is PRODUCTINFO; the root of a product.xml is PRODUCT-INFO or VARIETIES (did "
          "you mean PRODUCT-INFO?)",
          fault, "write PRODUCT-INFO, in its end tag too"}});
  Check("partlist.xml", "PARTLIST.XML",
        {{"the root of another file", "<VARIETIES/>", "1:1",
          "the root is VARIETIES, so this is a product.xml; the root of a partlist.xml is PARTLIST",
          fault, "give the file the name product.xml, and put a partlist.xml here"}});
}

// A setup.xml with one command, which begins at 1:25.
std::string Recipe(const std::string& command) {
  return "<RECIPE><STEP><PATTERN/>" + command + "</STEP></RECIPE>";
}

TEST(Diagnosis, OfCommandsOfRecipes) {
  const std::string fault = "invalid XML";
  const std::string ops = "set, delete, append, unappend, prepend or unprepend";
  Check("setup.xml", kRecipes,
        {{"a misspelt op", Recipe("<SETENV op='prepned' name='A' value='b'/>"), "1:25",
          "SETENV has op=\"prepned\"; it may be " + ops + " (did you mean prepend?)", fault,
          "write op=\"prepend\""},
         {"an op that is near to none", Recipe("<SETENV op='jump' name='A' value='b'/>"), "1:25",
          "SETENV has op=\"jump\"; it may be " + ops, fault, "write op=\"set\""},
         {"no op where there must be one", Recipe("<SHORTCUT name='A'/>"), "1:25",
          "SHORTCUT has no attribute op; it may be create, forcecreate or delete", fault,
          "write op=\"create\""},
         {"a command for other files", Recipe("<DELETE>x</DELETE>"), "1:25",
          "DELETE can't stand in a setup.xml", fault, "it is for install.xml and uninstall.xml"},
         {"another root", "<ENV-SETTINGS/>", "1:1",
          "the root is ENV-SETTINGS, so this is an env.xml; the root of a setup.xml is RECIPE",
          fault, "give the file the name env.xml, and put a setup.xml here"}});
}

TEST(Diagnosis, OfWhatIsNotClosedOrStandsOutsideOfTheRoot) {
  const std::string unclosed = "what begins here is not closed before the file ends";
  const std::string one_root = "the file holds one root, ENV-SETTINGS, and all else is in that";
  Check("env.xml", kForm,
        {{"a comment", "<ENV-SETTINGS><!-- x", "1:15", unclosed, "unclosed token",
          "close the comment, with -->"},
         {"a tag", "<ENV-SETTINGS><ENV-GROUP", "1:15", unclosed, "unclosed token",
          "look for the \">\" that is missing"},
         {"a text as it is", "<ENV-SETTINGS><![CDATA[x", "1:15", unclosed, "unclosed CDATA section",
          "close the CDATA section, with ]]>"},
         {"a second root", "<ENV-SETTINGS/>\n<ENV-SETTINGS/>", "2:1",
          "the root, ENV-SETTINGS, has ended, and behind it may stand nothing but comments",
          "junk after document element", "move what is there into the root, or take it out"},
         {"a text before the root", "hello <ENV-SETTINGS/>", "1:1",
          "text or a tag where none may stand, outside of the root element", "syntax error",
          one_root},
         {"a declaration behind a comment", "<!-- x -->\n<?xml version='1.0'?><ENV-SETTINGS/>",
          "2:1", "<?xml ...?> stands here, and may stand only at the very beginning of the file",
          "xml processing instruction not at start of external entity",
          "take it out, or move it to the beginning"},
         {"nothing but a comment", "<!-- nothing -->", "1:17", "the file holds no element",
          "no element found",
          "write at least <ENV-SETTINGS></ENV-SETTINGS> into it, or remove it if it is not "
          "needed"},
         {"an entity in itself",
          "<!DOCTYPE ENV-SETTINGS [<!ENTITY a '&a;'>]>\n<ENV-SETTINGS>&a;</ENV-SETTINGS>", "2:15",
          "recursive entity reference", "recursive entity reference",
          "xmllint --noout may tell more of it"}});
}

TEST(Diagnosis, OfCharactersThatHaveNoPlace) {
  const std::string token = "not well-formed";
  const std::string lost_quote = "look for a quote, a \"<\" or a \">\" that is missing before it";
  const std::string control = "the control character 01, which no XML may hold";
  Check("env.xml", kForm,
        {{"a < before a blank", Group("<ENV-DELETE>a < b</ENV-DELETE>"), "1:51",
          "a < that begins no tag, as a blank stands behind it", token, "write &lt; for it"},
         {"a < before a digit", Group("<ENV-DELETE>a <5</ENV-DELETE>"), "1:51",
          "a < that begins no tag, as \"5\" stands behind it", token, "write &lt; for it"},
         {"a < in an attribute", Group("<ENV-INSERT sep='a<'/>"), "1:54",
          "a < in a place where no tag may begin", token,
          "write &lt; for it, or close what is before it"},
         {"no blank between attributes", Group("<ENV-INSERT sep='a'x='b'/>"), "1:55",
          "\"x\" can't stand here", token, lost_quote},
         {"a control character behind references",
          Group("<ENV-DELETE>&lt;\n&lt; \x01</ENV-DELETE>"), "2:6", control, token, "take it out"},
         {"a control character at the beginning", "\x01<ENV-SETTINGS/>", "1:1", control, token,
          "take it out"},
         {"a control character behind blanks", "\n\x01<ENV-SETTINGS/>", "2:1", control, token,
          "take it out"}});
}

std::string InUtf16(const std::string& text, bool big_endian, bool has_mark) {
  std::string wide = !has_mark ? "" : big_endian ? "\xFE\xFF" : "\xFF\xFE";
  for (const char c : text) {
    if (big_endian) wide += '\0';
    wide += c;
    if (!big_endian) wide += '\0';
  }
  return wide;
}

TEST(Diagnosis, OfTextInEveryEncoding) {
  const std::string token = "not well-formed";
  const std::string ampersand = "a & that begins no reference";
  const std::string text = Group("<ENV-DELETE>R & D</ENV-DELETE>");
  const std::string escape = "write &amp; for it";
  const std::string utf8 = "<?xml version='1.0' encoding='UTF-8'?>";
  const std::string ascii = "<?xml version='1.0' encoding='US-ASCII'?>";
  const std::string latin1 = "<?xml version='1.0' encoding='iso-8859-1'?>";
  const std::string declared =
      "save the file in the encoding that it declares, or declare the one that it is in";
  Check("env.xml", kForm,
        {{"UTF-16, little end first", InUtf16(text, false, true), "1:50", ampersand, token, escape},
         {"UTF-16, big end first", InUtf16(text, true, true), "1:50", ampersand, token, escape},
         {"UTF-16 without a mark", InUtf16(text, false, false), "1:50", ampersand, token, escape},
         {"the same, big end first", InUtf16(text, true, false), "1:50", ampersand, token, escape},
         {"UTF-8 with a mark", "\xEF\xBB\xBF" + text, "1:50", ampersand, token, escape},
         {"UTF-8, behind a letter of two bytes", "<!--\xC3\xA9-->" + text, "1:58", ampersand, token,
          escape},
         {"ISO-8859-1, behind a letter", latin1 + "\n<!--\xE9-->" + text, "2:58", ampersand, token,
          escape},
         {"lines that end with CR", "<!--\r-->\r\n\r" + text, "4:50", ampersand, token, escape},
         {"not in the UTF-8 that is declared", utf8 + "\n<ENV-SETTINGS>\xFC ", "2:15",
          "the byte FC is no character of UTF-8", token, declared},
         {"not in the US-ASCII that is declared", ascii + "\n<ENV-SETTINGS>\xC3\xA9", "2:15",
          "the byte C3 is no character of US-ASCII", token, declared},
         {"a letter cut in two", "<ENV-SETTINGS>\xC3", "1:15",
          "the byte C3 is no character of UTF-8, and the file declares no other encoding",
          "unclosed token",
          "save the file as UTF-8, or begin it with <?xml version=\"1.0\" "
          "encoding=\"ISO-8859-1\"?> if that is what it is in"},
         {"not in UTF-16", "<?xml version='1.0' encoding='UTF-16'?>\n<ENV-SETTINGS/>", "1:31",
          "the file declares the encoding UTF-16, and is not in it",
          "encoding specified in XML declaration is incorrect",
          "save the file as UTF-8, and declare that or nothing"}});
}

}  // namespace
