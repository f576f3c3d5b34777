// What is told of a data file that its reader refuses: each kind of fault by itself, in each kind
// of file and in each encoding.
#include <gtest/gtest.h>

#include <filesystem>

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
        "X is not an element of an env.xml; here may stand ENV-GROUP or the end of "
        "ENV-SETTINGS",
        fault, "take X out"},
       {"one that is missing at the end", Group("<ENV-INSERT><NAME>A</NAME></ENV-INSERT>"), "1:62",
        "ENV-INSERT ends here, and VALUE has to come first", fault, "add <VALUE>"}});
  Check("product.xml", "PRODUCT.XML",
        {{"a misspelt root", "<PRODUCTINFO/>", "1:1",
          "the root is PRODUCTINFO; the root of a product.xml is PRODUCT-INFO or VARIETIES (did "
          "you mean PRODUCT-INFO?)",
          fault, "write PRODUCT-INFO, in its end tag too"},
         {"an element where none may stand",
          "<VARIETIES><VARIETY><SEGMENT><OTHER/></SEGMENT></VARIETY></VARIETIES>", "1:30",
          "OTHER is not an element of a product.xml; here may stand the end of SEGMENT", fault,
          "take OTHER out"}});
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

TEST(Diagnosis, OfFilesThatEndTooEarlyAndOfTheirHeads) {
  const auto open = [](const std::string& begin) {
    return "the file ends, and not closed are ENV-SETTINGS (begins at " + begin + ")";
  };
  const std::string add = "the innermost comes first: add </ENV-SETTINGS> where it ends";
  const std::string declaration = "this is no XML declaration";
  const std::string no_declaration = "XML declaration not well-formed";
  const std::string write = "write <?xml version=\"1.0\" encoding=\"UTF-8\"?>, or nothing";
  Check("env.xml", kForm,
        {{"with CR", "\n<ENV-SETTINGS>\r", "2:15", open("2:1"), "no element found", add},
         {"with a letter of two bytes", "<ENV-SETTINGS>\xC3\xA9", "1:16", open("1:1"),
          "no element found", add},
         {"an encoding without quotes", "<?xml version='1.0' encoding=UTF-8?><ENV-SETTINGS/>",
          "1:30", declaration, no_declaration, write},
         {"an encoding with one quote", "<?xml version='1.0' encoding='UTF-8?><ENV-SETTINGS/>",
          "1:36", declaration, no_declaration, write},
         {"an entity of any letters", "<ENV-SETTINGS>&_a.1-b:\xC3\xA9;</ENV-SETTINGS>", "1:15",
          "&_a.1-b:\xC3\xA9; is not defined", "undefined entity",
          "there are &amp; &lt; &gt; &quot; and &apos;; any other character can be written as "
          "itself, or as &#...; with its number"}});
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
         {"a < before a tab", Group("<ENV-DELETE>a <\tb</ENV-DELETE>"), "1:51",
          "a < that begins no tag, as a blank stands behind it", token, "write &lt; for it"},
         {"a < at the end of a line", Group("<ENV-DELETE>a <\nb</ENV-DELETE>"), "1:51",
          "a < that begins no tag, as a blank stands behind it", token, "write &lt; for it"},
         {"the same, with CR", Group("<ENV-DELETE>a <\r\nb</ENV-DELETE>"), "1:51",
          "a < that begins no tag, as a blank stands behind it", token, "write &lt; for it"},
         {"a control character below a reference", Group("<ENV-DELETE>R&amp;D\n\x01</ENV-DELETE>"),
          "2:1", control, token, "take it out"},
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
         {"below a mark", "\xEF\xBB\xBF\n" + text, "2:50", ampersand, token, escape},
         {"lines that end with CR", "<!--\r-->\r\n\r" + text, "4:50", ampersand, token, escape},
         {"not in the UTF-8 that is declared", utf8 + "\n<ENV-SETTINGS>\xFC ", "2:15",
          "the byte FC is not a character of UTF-8", token, declared},
         {"not in the US-ASCII that is declared", ascii + "\n<ENV-SETTINGS>\xC3\xA9", "2:15",
          "the byte C3 is not a character of US-ASCII", token, declared},
         {"a letter cut in two", "<ENV-SETTINGS>\xC3", "1:15",
          "the byte C3 is not a character of UTF-8, and the file declares no other encoding",
          "unclosed token",
          "save the file as UTF-8, or begin it with <?xml version=\"1.0\" "
          "encoding=\"ISO-8859-1\"?> if that is what it is in"},
         {"not in UTF-16", "<?xml version='1.0' encoding='UTF-16'?>\n<ENV-SETTINGS/>", "1:31",
          "the file declares the encoding UTF-16, and is not in it",
          "encoding specified in XML declaration is incorrect",
          "save the file as UTF-8, and declare that or nothing"}});
}

// ---- What is missing, and what is not defined ----

struct Trouble : testing::Test {
  RunResult Run(const std::vector<std::string>& words) const {
    return Zor(words, {"ZORROOT=" + warehouse.Root()});
  }
  // Expects these lines behind the root's path, or behind nothing.
  void Tells(const std::vector<std::string>& words, const std::vector<std::string>& lines,
             const std::string& page) const {
    std::string all = "zor: ";
    for (const std::string& line : lines)
      all += line + "\n  ";
    for (std::size_t at = 0; (at = all.find("$W", at)) != std::string::npos;)
      all.replace(at, 2, warehouse.Root());
    Expect(Run(words), "", all + "see " + page + '\n', 1);
  }

  Warehouse warehouse;
};

TEST_F(Trouble, WithTheLatestOfAProduct) {
  const std::string tree = "zorenv-warehouse(5), DESCRIPTION";
  const std::string latest = "zorenv-warehouse(5), VERSIONS";
  const std::string nobody =
      "where no version is named the highest entry is taken, whatever it is, and so nobody can use "
      "the product without naming a version";
  warehouse.Product("C/good/1/1");
  warehouse.Product("C/good/2/1");
  Tells({"env", "-p", "C", "good", "+", "7"},
        {"$W/C/good/2/7 is not there, so it is not a revision of C/good", "revision 1 is there"},
        tree);
  warehouse.Link("root/C/good/current", "nowhere");
  Tells({"env", "-p", "C", "good"},
        {"$W/C/good/current is taken for the latest version of C/good, and leads nowhere", nobody,
         "move current out of $W/C/good if it is not a version; until then name one: C/good/2"},
        latest);
  warehouse.Directory("root/C/empty");
  Tells({"env", "-p", "C", "empty"},
        {"$W/C/empty is empty, and should hold a directory for each version",
         "so C/empty has no version to take", "remove the directory, or put the product into it"},
        tree);
  warehouse.Write("root/C/notes/README", "soon");
  Tells({"env", "-p", "C", "notes"},
        {"$W/C/notes/README is taken for the latest version of C/notes, and is a file", nobody,
         "move README out of $W/C/notes if it is not a version"},
        latest);
  warehouse.Directory("root/C/good/1.5");
  Tells({"env", "-p", "C", "good", "1.5"},
        {"$W/C/good/1.5 is an empty directory, so it is not a version of C/good",
         "version 2 is there"},
        tree);
}

TEST_F(Trouble, WithNamesThatAreNotThere) {
  const std::string requests = "zor(1), Requests";
  std::string there;
  for (int i = 10; i < 24; ++i) {
    warehouse.Product("C/many/" + std::to_string(i) + "/1");
    if (i < 22) there += (i > 10 ? ", " : "") + std::to_string(i);
  }
  warehouse.Directory("root/none");
  warehouse.Product("a/deep/way/1/1");
  Tells({"env", "-p", "C", "many", "next"},
        {"C/many has no version next; there are " + there + " and 2 more",
         "zor avail 'C/many*' lists them"},
        requests);
  Tells({"env", "-p", "none", "x"},
        {"none has no product x; there are none", "zor avail 'none*' lists them"}, requests);
  const std::string own = "-p takes category, name, version and revision as words of their own";
  Tells({"env", "-p", "C/many/10/1"},
        {"there is no product Contents in the category C/many/10/1", own,
         "did you mean -p C many 10 1?"},
        requests);
  Tells({"env", "-p", "a/deep/way/1/1"},
        {"there is no product Contents in the category a/deep/way/1/1", own,
         "did you mean -p a/deep way 1 1?"},
        requests);
  // The same of two is told once.
  Tells(
      {"env", "-p", "tools", "x", "-p", "tools", "x", "1"},
      {"there is no category tools in $W; there are C, a and none", "zor avail lists all products"},
      requests);
}

TEST_F(Trouble, WithNamesThatNothingDefines) {
  const std::string defined =
      "write one of these, or give the variety a VAR of that name in product.xml";
  const std::string expansion = "zorenv-warehouse(5), EXPANSION";
  const std::string names =
      "BASE-DIRECTORY, FS, EXE, DLL, LIB, THIS-CNVR, PLAT-THIS-CNVR, BASE-CN, BASE-CNV, BASE-CNVR, "
      "BINPATH, HOST-PLATFORM, THIS-CATEGORY, THIS-NAME, THIS-REV, THIS-VERSION and PLAT-CATEGORY";
  struct Use {
    const char* what;
    std::string file, content, place;
  };
  const Use uses[] = {
      {"in a value, behind what is none and inside another", "env.xml",
       EnvXml(Insert("A", "100%%(EXE)%[%(NO)/x]")), "1:81"},
      {"in the name of a part", "partlist.xml",
       PartListXml("<PRODUCT category='C' name='%(NO)'><PATTERN/></PRODUCT>"), "1:66"},
      {"in the pattern of a part", "partlist.xml",
       PartListXml("<PRODUCT name='x'><PATTERN><MATCH><VAR n='k' v='%(NO)'/></MATCH></PATTERN>"
                   "</PRODUCT>"),
       "1:86"},
      {"in a command", "setup.xml", RecipeXml("<SETENV name='A' value='%(NO)'/>"), "1:49"},
      {"in the pattern of a step", "setup.xml",
       "<RECIPE><STEP><PATTERN><MATCH><VAR n='k' v='%(NO)'/></MATCH></PATTERN></STEP></RECIPE>",
       "1:45"}};
  for (const Use& use : uses) {
    SCOPED_TRACE(use.what);
    warehouse.Product("C/p/1/1");
    std::filesystem::remove(warehouse.Root() + "/C/p/1/1/env.xml");
    warehouse.File("C/p/1/1", use.file, use.content);
    Tells({"env", "C/p"},
          {"$W/C/p/1/1/" + use.file + ":" + use.place + ": % variable NO is not defined",
           "defined are " + names, defined},
          expansion);
  }
}

TEST_F(Trouble, WithNamesThatOnlySomeVarietiesDefine) {
  warehouse.Product("C/p/1/1", Insert("A", "%(NO)"));
  warehouse.File("C/p/1/1", "product.xml",
                 ProductXml(Variety("<VAR n='INSTALLED-FROM' v='/opt' x='%(YES)'/>")));
  Tells({"env", "C/p"},
        {"$W/C/p/1/1/env.xml:1:69: % variable NO is not defined",
         "defined are BASE-DIRECTORY, INSTALLED-FROM, FS, EXE, DLL, LIB, THIS-CNVR, "
         "PLAT-THIS-CNVR, BASE-CN, FROM-CN, BASE-CNV, FROM-CNV, BASE-CNVR, FROM-CNVR, BINPATH, "
         "HOST-PLATFORM, THIS-CATEGORY, THIS-NAME, THIS-REV, THIS-VERSION and PLAT-CATEGORY",
         "write one of these, or give the variety a VAR of that name in product.xml"},
        "zorenv-warehouse(5), EXPANSION");
}

}  // namespace
