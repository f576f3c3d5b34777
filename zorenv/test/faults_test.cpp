// Faults in data files: each is told in the tool's own words, the status is 1, and no script is
// printed.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tool.h"

namespace {

// One product whose files can be spoilt one at a time.
struct Spoilt : Warehouse {
  Spoilt() {
    Product(InC("A"), Insert("V", "v"));
    File(InC("A"), "unenv.xml", EnvXml(""));
    for (const char* recipe : {"setup.xml", "prep.xml", "unset.xml"})
      File(InC("A"), recipe, RecipeXml(""));
  }
  std::string Path(std::string_view file) const {
    return Root() + "/" + InC("A") + "/" + std::string(file);
  }
  RunResult Run() const { return Zorenv(*this, {"-p", "C", "A", "--sh"}); }
};

const char* const kDataFiles[] = {"product.xml", "partlist.xml", "setup.xml", "prep.xml",
                                  "unset.xml",   "env.xml",      "unenv.xml"};

TEST(Faults, EachKindOfParserErrorIsReported) {
  const struct {
    const char* text;
    std::string content;
  } rows[] = {
      {"syntax error", "plain text"},
      {"no element found", ""},
      {"no element found", "<!-- nothing -->\n"},
      {"no element found", "<VARIETIES>"},
      {"not well-formed", "<VARIETIES a=\"<\"/>"},
      {"not well-formed", "<VARIETIES>\x80</VARIETIES>"},
      {"unclosed token", "<VARIETIES"},
      {"unclosed token", "<VARIETIES>\xC3"},
      {"mismatched tag", "<VARIETIES></PARTLIST>"},
      {"duplicate attribute", "<VARIETIES a=\"1\" a=\"2\"/>"},
      {"junk after document element", "<VARIETIES/><VARIETIES/>"},
      {"illegal parameter entity reference",
       "<!DOCTYPE V [<!ENTITY % p \"x\"><!ENTITY e \"%p;\">]><VARIETIES/>"},
      {"undefined entity", "<VARIETIES>&foo;</VARIETIES>"},
      {"recursive entity reference",
       "<!DOCTYPE V [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]><VARIETIES>&a;</VARIETIES>"},
      {"asynchronous entity", "<!DOCTYPE V [<!ENTITY a \"<x>\">]><VARIETIES>&a;</VARIETIES>"},
      {"reference to invalid character number", "<VARIETIES>&#0;</VARIETIES>"},
      {"reference to binary entity",
       "<!DOCTYPE V [<!NOTATION n SYSTEM \"n\"><!ENTITY b SYSTEM \"f\" NDATA n>]>"
       "<VARIETIES>&b;</VARIETIES>"},
      {"reference to external entity in attribute",
       "<!DOCTYPE V [<!ENTITY x SYSTEM \"f\">]><VARIETIES a=\"&x;\"/>"},
      {"xml processing instruction not at start of external entity",
       " <?xml version=\"1.0\"?><VARIETIES/>"},
      {"unknown encoding", "<?xml version=\"1.0\" encoding=\"x-none\"?><VARIETIES/>"},
      {"encoding specified in XML declaration is incorrect",
       "<?xml version=\"1.0\" encoding=\"UTF-16\"?><VARIETIES/>"},
      {"unclosed CDATA section", "<VARIETIES><![CDATA[x</VARIETIES>"},
  };
  for (const char* file : kDataFiles) {
    Spoilt fresh;
    for (const auto& row : rows) {
      SCOPED_TRACE(std::string(file) + ": " + row.content);
      fresh.File(InC("A"), file, row.content);
      Expect(fresh.Run(), "",
             "*** " + std::string(row.text) + " in File " + fresh.Path(file) + "\n", 1);
    }
  }
}

// Errors of the parser for which there is no kind of their own.
TEST(Faults, AnUnknownParserErrorIsALogicError) {
  for (const char* content :
       {"<?xml encoding=\"UTF-8\"?><VARIETIES/>", "<!DOCTYPE V PUBLIC \"{}\" \"x\"><VARIETIES/>"}) {
    SCOPED_TRACE(content);
    Spoilt warehouse;
    warehouse.File(InC("A"), "product.xml", content);
    const RunResult result = warehouse.Run();
    EXPECT_EQ(0u, result.out.find("Attempting to set error to FW_SUCCESS at ")) << result.out;
    EXPECT_EQ("*** Error: Program logic error\n", result.err);
    EXPECT_EQ(1, result.status);
  }
}

TEST(Faults, AWrongNestingIsReportedInTheWordsOfItsFormat) {
  const struct {
    const char* file;
    const char* content;
  } rows[] = {
      {"product.xml", "<OTHER/>"},
      {"product.xml", "<PRODUCT-INFO/>"},
      {"product.xml", "<PRODUCT-INFO><VARIETIES/><VARIETIES/></PRODUCT-INFO>"},
      {"product.xml", "<PRODUCT-INFO><DESCRIPTION/><DESCRIPTION/><VARIETIES/></PRODUCT-INFO>"},
      {"product.xml", "<PRODUCT-INFO><DESCRIPTION><B/></DESCRIPTION><VARIETIES/></PRODUCT-INFO>"},
      {"product.xml", "<PRODUCT-INFO><VARIETIES><VAR/></VARIETIES></PRODUCT-INFO>"},
      {"product.xml", "<varieties/>"},
      {"partlist.xml", "<PARTSPEC/>"},
      {"partlist.xml", "<PARTLIST><PARTSPEC/></PARTLIST>"},
      {"partlist.xml", "<PARTLIST><PARTSPEC><PATTERN/></PARTSPEC></PARTLIST>"},
      {"partlist.xml", "<PARTLIST><PARTSPEC><PARTS/></PARTSPEC></PARTLIST>"},
      {"partlist.xml",
       "<PARTLIST><PARTSPEC><PATTERN/><PARTS><PRODUCT/></PARTS></PARTSPEC></PARTLIST>"},
      {"partlist.xml",
       "<PARTLIST><PARTSPEC><PATTERN/><PARTS><OTHER/></PARTS></PARTSPEC></PARTLIST>"},
      {"env.xml", "<ENV-GROUP/>"},
      {"env.xml", "<ENV-SETTINGS><ENV-GROUP/></ENV-SETTINGS>"},
      {"env.xml",
       "<ENV-SETTINGS><ENV-GROUP><PATTERN/><ENV-INSERT><VALUE>v</VALUE><NAME>V</NAME>"
       "</ENV-INSERT></ENV-GROUP></ENV-SETTINGS>"},
      {"env.xml",
       "<ENV-SETTINGS><ENV-GROUP><PATTERN/><ENV-INSERT><NAME>V</NAME></ENV-INSERT>"
       "</ENV-GROUP></ENV-SETTINGS>"},
      {"unenv.xml",
       "<ENV-SETTINGS><ENV-GROUP><PATTERN/><ENV-DELETE><NAME>V</NAME></ENV-DELETE>"
       "</ENV-GROUP></ENV-SETTINGS>"},
      {"unenv.xml", "<ENV-SETTINGS><OTHER/></ENV-SETTINGS>"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.content);
    Spoilt warehouse;
    warehouse.File(InC("A"), row.file, row.content);
    Expect(warehouse.Run(), "", "*** XML parsing error in File " + warehouse.Path(row.file) + "\n",
           1);
  }
  for (const char* file : {"setup.xml", "prep.xml", "unset.xml"})
    for (const char* content :
         {"<OTHER/>", "<RECIPE><STEP/></RECIPE>", "<RECIPE><STEP><CMD/></STEP></RECIPE>",
          "<RECIPE><STEP><PATTERN/><DELETE>x</DELETE></STEP></RECIPE>",
          "<RECIPE><STEP><PATTERN/><DIR>x</DIR></STEP></RECIPE>",
          "<RECIPE><STEP><PATTERN/><SETENV op=\"no\"/></STEP></RECIPE>",
          "<RECIPE><STEP><PATTERN/><SHORTCUT/></STEP></RECIPE>",
          "<RECIPE><STEP><PATTERN/><CREATE/></STEP></RECIPE>"}) {
      SCOPED_TRACE(content);
      Spoilt warehouse;
      warehouse.File(InC("A"), file, content);
      Expect(warehouse.Run(), "", "*** Error:  invalid XML in File " + warehouse.Path(file) + "\n",
             1);
    }
}

TEST(Faults, AMissingFileCountsOnlyWhereItIsNeeded) {
  for (const char* file : kDataFiles) {
    SCOPED_TRACE(file);
    Spoilt warehouse;
    ASSERT_EQ(0, unlink(warehouse.Path(file).c_str()));
    const bool needed = file == std::string("product.xml") || file == std::string("partlist.xml");
    if (needed)
      Expect(warehouse.Run(), "", "*** Error: File " + warehouse.Path(file) + " Does not exist\n",
             1);
    else
      Expect(warehouse.Run(), file == std::string("env.xml") ? "" : "V='v'; export V\n", "", 0);
  }
}

TEST(Faults, IgnoringMissingProductsDoesNotCoverTheirParts) {
  Spoilt warehouse;
  ASSERT_EQ(0, unlink(warehouse.Path("partlist.xml").c_str()));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "-i", "--sh"}), "",
         "*** Error: File " + warehouse.Path("partlist.xml") + " Does not exist\n", 1);
}

TEST(Faults, ADirectoryIsNotADataFile) {
  for (const char* file : kDataFiles) {
    SCOPED_TRACE(file);
    Spoilt warehouse;
    ASSERT_EQ(0, unlink(warehouse.Path(file).c_str()));
    warehouse.Directory("root/" + InC("A") + "/" + file);
    Expect(warehouse.Run(), "", "*** Error: Operation denied\n", 1);
  }
}

TEST(Faults, AnUnreadableFileIsDenied) {
  for (const char* file : kDataFiles) {
    SCOPED_TRACE(file);
    Spoilt warehouse;
    const std::string fault = "*** Error: File " + warehouse.Path(file) + " Access denied\n";
    if (getuid() != 0) {
      ASSERT_EQ(0, chmod(warehouse.Path(file).c_str(), 0));
      Expect(warehouse.Run(), "", fault, 1);
      continue;
    }
    // Root may read everything, so an ordinary user runs the program: a copy of it, since the place
    // where it was built may be root's own.
    const std::string program = warehouse / "zorenv";
    std::filesystem::copy_file(ZORENV_PROGRAM, program);
    ASSERT_EQ(0, RunProgram({"/bin/chmod", "-R", "a+rX", warehouse.path()}).status);
    ASSERT_EQ(0, RunProgram({"/bin/chmod", "a+rx", warehouse / ".."}).status);
    ASSERT_EQ(0, chmod(warehouse.Path(file).c_str(), 0));
    RunOptions options;
    options.environment = PlainEnvironment();
    options.directory = "/";
    Expect(RunProgram({"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                       program, "-r", warehouse.Root(), "-p", "C", "A", "--sh"},
                      options),
           "", fault, 1);
  }
}

TEST(Faults, AFileBelowAFileIsAnIllegalValue) {
  Spoilt warehouse;
  ASSERT_EQ(0, RunProgram({"/bin/rm", "-r", warehouse.Root() + "/C/A/1.0/1"}).status);
  warehouse.Write("root/C/A/1.0/1", "a plain file");
  const std::string fault =
      "*** Error: File " + warehouse.Path("product.xml") + " String parameter illegal value\n";
  Expect(warehouse.Run(), "", fault, 1);
  Expect(Zorenv(warehouse, {"-p", "C", "A", "-i", "--sh"}), "", fault, 1);
}

TEST(Faults, ALinkThatLeadsNowhereIsAMissingFile) {
  Spoilt warehouse;
  ASSERT_EQ(0, unlink(warehouse.Path("env.xml").c_str()));
  warehouse.Link("root/" + InC("A") + "/env.xml", "nowhere");
  Expect(warehouse.Run(), "", "", 0);
}

TEST(Faults, LatestTellsWhatIsMissing) {
  Warehouse warehouse;
  warehouse.Directory("root/Empty/Contents");
  warehouse.Directory("root/NoRev/Contents/1.0");
  warehouse.Write("root/File/Contents/1.0", "a plain file");
  warehouse.Product("C/Contents/1.0/1");
  const std::string file = "*** Error: File " + warehouse.Root();
  const struct {
    std::vector<std::string> product;
    std::string err;
  } rows[] = {
      {{"None"}, file + "/None/Contents/ Does not exist\n"},
      {{"Empty"}, "*** Error: Operation failed\n"},
      {{"NoRev"}, "*** Error: Operation failed\n"},
      {{"File"}, file + "/File/Contents/1.0/ String parameter illegal value\n"},
      {{"C", "2.0"}, file + "/C/Contents/2.0 Does not exist\n"},
      {{"C", "1.0", "2"}, file + "/C/Contents/1.0/2 Does not exist\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.err);
    std::vector<std::string> arguments = {"-p"};
    arguments.insert(arguments.end(), row.product.begin(), row.product.end());
    arguments.push_back("--sh");
    Expect(Zorenv(warehouse, arguments), "", row.err, 1);
    arguments.push_back("-i");
    if (row.err.find("Does not exist") == std::string::npos)
      Expect(Zorenv(warehouse, arguments), "", row.err, 1);
    else
      Expect(Zorenv(warehouse, arguments), "", "", 0);
  }
}

TEST(Faults, FilesThatAnExpansionNames) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "%[%(BASE-CNVR)/missing]") + Insert("B", "b"));
  Expect(Zorenv(warehouse, {"-p", "C", "--sh"}), "B='b'; export B\n", "", 0);

  warehouse.Product("D/Contents/1.0/1", Insert("A", "%{NOT_SET}"));
  Expect(Zorenv(warehouse, {"-p", "D", "--sh"}), "",
         "*** Error: % variable NOT_SET is not defined in File D/Contents/1.0/1/env.xml\n", 1);

  warehouse.Product("E/Contents/1.0/1", Insert("A", "%[%(BASE-CNVR)/]"));
  const RunResult result = Zorenv(warehouse, {"-p", "E", "--sh"});
  EXPECT_EQ(0u, result.out.find("trailing directory separator when file name expected at "))
      << result.out;
  EXPECT_EQ(
      "*** Error: File " + warehouse.Root() + "/E/Contents/1.0/1/ String parameter illegal value\n",
      result.err);
  EXPECT_EQ(1, result.status);
}

}  // namespace
