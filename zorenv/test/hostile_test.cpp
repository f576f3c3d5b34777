// Hostile input: it may cost what its size costs, and ends in the tool's own words.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tool.h"

namespace {

std::string Repeat(std::string_view text, int count) {
  std::string all;
  all.reserve(text.size() * static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

const char kExhausted[] = "\nzorenv: frameWork error - Run out of memory\n";

TEST(Hostile, DeepNestingIsAFaultLikeAnyOther) {
  Warehouse warehouse;
  warehouse.Product(InC("A"));
  warehouse.File(InC("A"), "product.xml", Repeat("<A>", 300000) + Repeat("</A>", 300000));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "",
         "*** XML parsing error in File " + warehouse.Root() + "/C/A/1.0/1/product.xml\n", 1);
}

TEST(Hostile, AnAttributeOfAMegabyteIsRead) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "%(x)"));
  const std::string value = Repeat("0123456789abcdef", 65536);
  warehouse.File(InC("A"), "product.xml",
                 ProductXml(Variety("<VAR n=\"x\" v=\"" + value + "\"/>")));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "V='" + value + "'; export V\n", "", 0);
}

TEST(Hostile, AnEntityBombIsRefused) {
  Warehouse warehouse;
  warehouse.Product(InC("A"));
  std::string entities = "<!ENTITY e0 \"0123456789\">";
  for (int i = 1; i <= 12; ++i)
    entities += "<!ENTITY e" + std::to_string(i) + " \"" +
                Repeat("&e" + std::to_string(i - 1) + ";", 10) + "\">";
  warehouse.File(InC("A"), "product.xml",
                 "<!DOCTYPE V [" + entities + "]><VARIETIES>&e12;</VARIETIES>");
  const RunResult result = Zorenv(warehouse, {"-p", "C", "A", "--sh"});
  EXPECT_EQ(0u, result.out.find("Attempting to set error to FW_SUCCESS at ")) << result.out;
  EXPECT_EQ("*** Error: Program logic error\n", result.err);
  EXPECT_EQ(1, result.status);
}

TEST(Hostile, DataFilesMayBeInSeveralEncodings) {
  Warehouse warehouse;
  warehouse.Product(InC("A"));
  const std::string body = EnvXml(Insert("V", "x"));
  std::string utf16 = "\xFE\xFF";
  for (char c : body)
    utf16 += std::string("\0", 1) + c;
  const std::string contents[] = {
      "\xEF\xBB\xBF" + body,
      utf16,
      "<?xml version=\"1.0\" encoding=\"US-ASCII\"?>" + body,
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + body,
  };
  for (const std::string& content : contents) {
    SCOPED_TRACE(content);
    warehouse.File(InC("A"), "env.xml", content);
    Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "V='x'; export V\n", "", 0);
  }
  warehouse.File(InC("A"), "env.xml",
                 "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + EnvXml(Insert("V", "\xE9")));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "V='\xC3\xA9'; export V\n", "", 0);
}

TEST(Hostile, AChainOfTenThousandParts) {
  // In memory where that can be had: a busy disk takes minutes over so many files.
  Warehouse warehouse(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp");
  const int length = 10000;
  warehouse.Product("C/P/1.0/0");
  const std::string product_xml = warehouse.Root() + "/C/P/1.0/0/product.xml";
  for (int i = 0; i < length; ++i) {
    const std::string directory = "C/P/1.0/" + std::to_string(i);
    warehouse.File(directory, "partlist.xml",
                   PartListXml(i < length - 1 ? Part("P", "1.0", std::to_string(i + 1)) : ""));
    if (i > 0) warehouse.Link("root/" + directory + "/product.xml", product_xml);
  }
  warehouse.File("C/P/1.0/" + std::to_string(length - 1), "env.xml", EnvXml(Insert("V", "last")));
  RunOptions options;
  options.limit = std::chrono::seconds(120);
  Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "P", "1.0", "0", "--sh"}, options),
         "V='last'; export V\n", "", 0);
}

TEST(Hostile, PartsInACircle) {
  Warehouse warehouse;
  warehouse.ProductWithParts(InC("A"), Insert("V", "a"), Part("B"));
  warehouse.ProductWithParts(InC("B"), Insert("V", "b"), Part("C"));
  warehouse.ProductWithParts(InC("C"), Insert("V", "c"), Part("A") + Part("C"));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "V='a:b:c'; export V\n", "", 0);
}

TEST(Hostile, PatternsTakeNoExponentialTime) {
  Warehouse warehouse;
  const std::string many_a = Repeat("a", 60000);
  const std::string deep = Repeat("/a", 15000) + "/c";
  warehouse.Product(InC("A"), Remove("V", "*a*a*a*a*a*a*a*a*b") +
                                  Remove("V", "**/a/**/a/**/a/**/b") +
                                  Remove("V", Repeat("**/", 50) + "b") + Remove("V", "?*?*?*?*b"));
  const std::string value = many_a + ":" + deep;
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}, {"V=" + value}), "", "", 0);
}

TEST(Hostile, AValueOfAMegabyte) {
  Warehouse warehouse;
  std::string text;
  for (int i = 0; i < 20000; ++i)
    text += "/some/directory/of/a/long/path/number/" + std::to_string(i) + ":";
  text += "end";
  warehouse.Product(InC("A"), Insert("V", "%[%(BASE-CNVR)/long.txt]"));
  warehouse.File(InC("A"), "long.txt", text + "\n");
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "V='" + text + "'; export V\n", "", 0);
}

TEST(Hostile, AnEnvironmentThatIsNotUtf8KeepsItsBytes) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "new"));
  const std::string values[] = {"caf\xE9", "\x80",     "x\xFE\xFFy",
                                "a:\xE9",  "\xF0\x9F", "\xC0\x80:z"};
  for (const std::string& value : values) {
    SCOPED_TRACE(testing::PrintToString(value));
    // Whatever is said of the bytes on standard output, the variable keeps them.
    const RunResult result =
        Zorenv(warehouse, {"-p", "C", "A", "--exec", "/usr/bin/env", "-u", "LC_ALL"},
               {"V=" + value, "W=" + value, "\xE9=name"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    EXPECT_NE(std::string::npos, result.out.find("\nV=" + value + ":new\n")) << result.out;
    EXPECT_NE(std::string::npos, result.out.find("\nW=" + value + "\n")) << result.out;
  }
}

TEST(Hostile, ATextThatNamesItselfEndsAsExhaustedMemory) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "%(x)"));
  for (const char* variables :
       {R"~(<VAR n="x" v="%(x)"/>)~", R"~(<VAR n="x" v="%(y)"/><VAR n="y" v="%(x)"/>)~",
        R"~(<VAR n="x" v="a%(x)"/>)~", R"~(<VAR n="x" v="%(x)%(x)"/>)~"}) {
    SCOPED_TRACE(variables);
    warehouse.File(InC("A"), "product.xml", ProductXml(Variety(variables)));
    RunOptions options;
    options.limit = std::chrono::minutes(5);
    Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "A", "--sh"}, options), kExhausted, "", 1);
  }
}

TEST(Hostile, AFileThatNeverEndsEndsAsExhaustedMemory) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "%[/dev/zero]"));
  RunOptions options;
  options.limit = std::chrono::minutes(5);
  Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "A", "--sh"}, options), kExhausted, "", 1);
}

TEST(Hostile, AttributesThatAreAbsentMatchNothing) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Insert("V", "v"));
  warehouse.File(
      InC("A"), "product.xml",
      ProductXml(Variety("<VAR/><VAR n=\"platform\"/><VAR v=\"x\"/><VAR n=\"size\" v=\"big\"/>")));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "-v", "size", "big", "--sh"}), "", "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "A", "-v", "platform", "*", "--sh"}), "", "", 0);
  warehouse.File(InC("A"), "product.xml", ProductXml(Variety("<VAR/><VAR v=\"x\"/>")));
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}), "V='v'; export V\n", "", 0);
  warehouse.Product(InC("B"));
  warehouse.File(InC("B"), "setup.xml",
                 RecipeXml(R"(<SETENV op="append" name="P"/><SETENV op="append" value="x"/>)"
                           R"(<SETENV op="delete"/><SETENV/>)"));
  const RunResult result = Zorenv(warehouse, {"-p", "C", "B", "--sh"});
  EXPECT_EQ("P=''; export P\n", result.out);
  EXPECT_EQ(0, result.status);
}

}  // namespace
