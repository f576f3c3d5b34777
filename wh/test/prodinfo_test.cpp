#include "prodinfo.h"

#include <string>

#include "read_support.h"

namespace {

// A warehouse of one product, c/n/1/0, and its reader.
struct Product {
  TemporaryTree tree;
  WH_PRODUCT_NAME* name = Prodname("c", "n", "1", "0");
  ~Product() { free_prodname(&name); }

  std::string path() const { return tree / "c/n/1/0/product.xml"; }

  std::string Get(int optional, WH_XML_PARSE_FLAGS flags) {
    Text dir(tree.path());
    Error err;
    WH_PRODUCT_INFO* info = read_prodinfo(&err, name, dir, optional, flags);
    std::string outcome = Outcome(info, &err);
    free_prodinfo(&info);
    EXPECT_EQ(nullptr, info);
    return outcome;
  }

  std::string Read(const std::string& content, WH_XML_PARSE_FLAGS flags = 0, int optional = 0) {
    Rewrite(tree, "c/n/1/0/product.xml", content);
    return Get(optional, flags);
  }

  std::string Fault() const { return "(null)\n*** XML parsing error in File " + path() + "\n"; }
};

std::string Varieties(const std::string& content) {
  return "<VARIETIES>" + content + "</VARIETIES>";
}

const char kHead[] = "c|n|1|0 nice=(null) '' visible=0 \n";

TEST(ReadProdinfo, ReadsAWholeFile) {
  Product product;
  EXPECT_EQ(
      "c|n|1|0 nice=Build tools 'Compilers & linkers.' visible=1 <en|Compilers & linkers.>\n"
      "variety linux chosen=1 <|For Linux> vars(platform=linux target=x) seg(a,1) seg(b,0)\n"
      "variety (null) chosen=0  vars() seg(all-all,0)\n",
      product.Read("<?xml version='1.0'?>\n"
                   "<PRODUCT-INFO flags='visible' name='Build tools'>\n"
                   "  <DESCRIPTION lang='en'>Compilers &amp; linkers.</DESCRIPTION>\n"
                   "  <VARIETIES>\n"
                   "    <VARIETY name='linux' desc='For Linux' chosen='1'>\n"
                   "      <VAR n='platform' v='linux'/>\n"
                   "      <SEGMENT host='a' here='1'/>\n"
                   "      <VAR n='target' v='x'/>\n"
                   "      <SEGMENT host='b'/>\n"
                   "    </VARIETY>\n"
                   "    <VARIETY/>\n"
                   "  </VARIETIES>\n"
                   "</PRODUCT-INFO>\n"));
}

TEST(ReadProdinfo, AVarietyWithoutSegmentsGetsOneOfItsPlatform) {
  Product product;
  EXPECT_EQ(std::string(kHead) + "variety (null) chosen=0  vars(platform=linux) seg(linux,0)\n",
            product.Read(Varieties("<VARIETY><VAR n='platform' v='linux'/></VARIETY>")));
}

TEST(ReadProdinfo, AVarietyWithNeitherSegmentNorPlatformGetsOneForAll) {
  Product product;
  EXPECT_EQ(std::string(kHead) + "variety (null) chosen=0  vars(x=y) seg(all-all,0)\n",
            product.Read(Varieties("<VARIETY><VAR n='x' v='y'/></VARIETY>")));
}

TEST(ReadProdinfo, OfTwoPlatformsTheLaterGivesTheSegmentAndBothStay) {
  Product product;
  EXPECT_EQ(std::string(kHead) +
                "variety (null) chosen=0  vars(platform=linux platform=hpux) seg(hpux,0)\n",
            product.Read(Varieties(
                "<VARIETY><VAR n='platform' v='linux'/><VAR n='platform' v='hpux'/></VARIETY>")));
}

TEST(ReadProdinfo, ThePlatformOfOneVarietyIsForgottenInTheNext) {
  Product product;
  EXPECT_EQ(std::string(kHead) +
                "variety (null) chosen=0  vars(platform=linux) seg(linux,0)\n"
                "variety (null) chosen=0  vars() seg(all-all,0)\n",
            product.Read(Varieties("<VARIETY><VAR n='platform' v='linux'/></VARIETY><VARIETY/>")));
}

TEST(ReadProdinfo, AttributesThatAreLeftOutAreNull) {
  Product product;
  EXPECT_EQ(std::string(kHead) +
                "variety (null) chosen=0  vars((null)=x y=(null)) seg((null),0)\n"
                "variety (null) chosen=0  vars(platform=(null)) seg((null),0)\n",
            product.Read(Varieties("<VARIETY><VAR v='x'/><VAR n='y'/><SEGMENT/></VARIETY>"
                                   "<VARIETY><VAR n='platform'/></VARIETY>")));
}

TEST(ReadProdinfo, NamesAreExactInCase) {
  Product product;
  EXPECT_EQ(product.Fault(), product.Read("<Varieties/>"));
  EXPECT_EQ(product.Fault(), product.Read(Varieties("<variety/>")));
  EXPECT_EQ(std::string(kHead) + "variety (null) chosen=0  vars((null)=(null)) seg(all-all,0)\n",
            product.Read(Varieties("<VARIETY NAME='x'><VAR N='a' V='b'/></VARIETY>")));
}

TEST(ReadProdinfo, OnlyTheWordVisibleMakesAProductVisible) {
  struct Row {
    const char* flags;
    int visible;
  };
  const Row rows[] = {
      {"foo, visible", 1},  {"visible,foo", 1},
      {"visible", 1},       {"  ,, visible ,", 1},
      {"a\tvisible\tb", 1}, {"invisible", 0},
      {"visibles", 0},      {"visibl", 0},
      {"Visible", 0},       {"", 0},
      {" , ,", 0},          {"foo", 0},
      {"foo bar", 0},       {"visible-visible", 0},
      {"fox,visible", 1},
  };
  Product product;
  for (const Row& row : rows)
    EXPECT_EQ("c|n|1|0 nice=x '' visible=" + std::to_string(row.visible) + " \n",
              product.Read("<PRODUCT-INFO name='x' flags='" + std::string(row.flags) +
                           "'><VARIETIES/></PRODUCT-INFO>"))
        << row.flags;
}

TEST(ReadProdinfo, ARootOfVarietiesAloneHasNoNameNoDescriptionAndIsNotVisible) {
  Product product;
  EXPECT_EQ(kHead, product.Read("<VARIETIES/>"));
}

TEST(ReadProdinfo, AnUnknownRootFailsAfterTheParserHasReadItAll) {
  Product product;
  EXPECT_EQ(product.Fault(), product.Read("<PARTLIST><VARIETIES/></PARTLIST>"));
  // The fault of structure gives way to the parser's error behind it.
  EXPECT_EQ("(null)\n*** mismatched tag in File " + product.path() + "\n",
            product.Read("<PARTLIST>" + std::string(5000, ' ') + "</WRONG>"));
}

TEST(ReadProdinfo, AChosenThatIsNotANumberIsZero) {
  Product product;
  EXPECT_EQ(std::string(kHead) +
                "variety a chosen=0  vars() seg(all-all,0)\n"
                "variety b chosen=3  vars() seg(all-all,0)\n",
            product.Read(Varieties("<VARIETY name='a' chosen='yes'/>"
                                   "<VARIETY name='b' chosen='3rd'/>")));
}

TEST(ReadProdinfo, ADescriptionWithAChildFails) {
  Product product;
  EXPECT_EQ(product.Fault(),
            product.Read("<PRODUCT-INFO><DESCRIPTION>a<B>b</B>c</DESCRIPTION><VARIETIES/>"
                         "</PRODUCT-INFO>"));
}

TEST(ReadProdinfo, ADescriptionIsKeptByteForByteAndHasAnEmptyLanguageByDefault) {
  Product product;
  EXPECT_EQ("c|n|1|0 nice=(null) ' a\n b ' visible=0 <| a\n b >\n",
            product.Read("<PRODUCT-INFO><DESCRIPTION> a\n b </DESCRIPTION><VARIETIES/>"
                         "</PRODUCT-INFO>"));
  EXPECT_EQ("c|n|1|0 nice=(null) '' visible=0 <de|>\n",
            product.Read("<PRODUCT-INFO><DESCRIPTION lang='de'/><VARIETIES/></PRODUCT-INFO>"));
}

TEST(ReadProdinfo, TheDescriptionIsTheTextOfTheRecordItself) {
  Product product;
  product.tree.Write("c/n/1/0/product.xml",
                     "<PRODUCT-INFO><DESCRIPTION>a</DESCRIPTION><VARIETIES/></PRODUCT-INFO>");
  Text dir(product.tree.path());
  Error err;
  WH_PRODUCT_INFO* info = read_prodinfo(&err, product.name, dir, 0, 0);
  ASSERT_NE(nullptr, info);
  auto* desc = static_cast<WH_DESC*>(FwVectorGetElement(&info->descriptions->descs, 0));
  EXPECT_EQ(desc->text, info->description);
  EXPECT_NE(product.name, info->prodname);
  EXPECT_NE(product.name->category, info->prodname->category);
  free_prodinfo(&info);
}

TEST(ReadProdinfo, LeavesTheMarksOfVarietiesZero) {
  Product product;
  product.tree.Write("c/n/1/0/product.xml", Varieties("<VARIETY/>"));
  Text dir(product.tree.path());
  Error err;
  WH_PRODUCT_INFO* info = read_prodinfo(&err, product.name, dir, 0, 0);
  ASSERT_NE(nullptr, info);
  auto* variety = static_cast<WH_VARIETY*>(FwVectorGetElement(&info->varieties->seq, 0));
  EXPECT_EQ(0, variety->mark);
  EXPECT_EQ(0, variety->visited);
  EXPECT_EQ(0, variety->packed);
  EXPECT_EQ(nullptr, variety->ancestors);
  free_prodinfo(&info);
}

TEST(ReadProdinfo, AMissingFileIsAnErrorUnlessOptional) {
  Product product;
  EXPECT_EQ("(null)\n*** Error: File " + product.path() + " Does not exist\n", product.Get(0, 0));
  EXPECT_EQ("(null)\n", product.Get(1, 0));
}

TEST(ReadProdinfo, OptionalDoesNotExcuseAMalformedFile) {
  Product product;
  EXPECT_EQ(product.Fault(), product.Read("<VARIETIES><X/></VARIETIES>", 0, 1));
  EXPECT_EQ("(null)\n*** no element found in File " + product.path() + "\n",
            product.Read("", 0, 1));
  EXPECT_EQ("(null)\n*** unclosed token in File " + product.path() + "\n",
            product.Read("<VARIETIES", 0, 1));
}

TEST(ReadProdinfo, AnErrorFromBeforeStopsTheReading) {
  Product product;
  product.tree.Write("c/n/1/0/product.xml", "<VARIETIES/>");
  Text dir(product.tree.path());
  Error err;
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("earlier"));
  EXPECT_EQ(nullptr, read_prodinfo(&err, product.name, dir, 0, 0));
  EXPECT_EQ("*** Error: File earlier Does not exist", err.text());
  // Optional can't tell whose file did not exist.
  EXPECT_EQ(nullptr, read_prodinfo(&err, product.name, dir, 1, 0));
  EXPECT_EQ(nullptr, err.pError);
}

TEST(ReadProdinfo, TextOfOtherEncodingsBecomesUtf8) {
  Product product;
  const std::string expected = "c|n|1|0 nice=\xC3\xA9 '' visible=0 \n";
  EXPECT_EQ(expected, product.Read("<?xml version='1.0' encoding='ISO-8859-1'?>"
                                   "<PRODUCT-INFO name='\xE9'><VARIETIES/></PRODUCT-INFO>"));
  const std::string plain = "<PRODUCT-INFO name='!'><VARIETIES/></PRODUCT-INFO>";
  std::string utf16 = "\xFF\xFE";
  for (char c : plain)
    utf16 += {c == '!' ? '\xE9' : c, '\0'};
  EXPECT_EQ(expected, product.Read(utf16));
}

TEST(ReadProdinfo, TheInternalSubsetMaySupplyAttributes) {
  Product product;
  EXPECT_EQ(std::string(kHead) + "variety (null) chosen=0  vars() seg(h,1)\n",
            product.Read("<!DOCTYPE VARIETIES [<!ATTLIST SEGMENT here CDATA '1'>]>" +
                         Varieties("<VARIETY><SEGMENT host='h'/></VARIETY>")));
}

TEST(ReadProdinfo, ADoctypeThatDiffersIsAnErrorIfAskedFor) {
  Product product;
  const std::string body = "<PRODUCT-INFO name='x'>\n<VARIETIES/></PRODUCT-INFO>";
  const std::string good = "c|n|1|0 nice=x '' visible=0 \n";
  auto located = [&](const char* line) {
    return good + "*** Error:  invalid XML (doctype mismatch) in File " + product.path() +
           " at Line number " + line + "\n";
  };
  const WH_XML_PARSE_FLAGS check = WH_XML_PF_DOCTYPE_MISMATCH;
  EXPECT_EQ(good, product.Read("<!DOCTYPE PRODUCT-INFO>\n" + body, check));
  EXPECT_EQ(located("2"), product.Read("<!DOCTYPE VARIETIES>\n" + body, check));
  EXPECT_EQ(located("1"), product.Read(body, check));
  EXPECT_EQ(good, product.Read("<!DOCTYPE VARIETIES>\n" + body, 0));
  EXPECT_EQ(good, product.Read("<!DOCTYPE VARIETIES>\n" + body, 7));
  // The other root makes no such check.
  EXPECT_EQ(kHead, product.Read("<!DOCTYPE PRODUCT-INFO>\n<VARIETIES/>", check));
}

TEST(ReadProdinfo, BracketsInAttributesAreErrorsIfAskedFor) {
  struct Row {
    const char* value;
    WH_XML_PARSE_FLAGS flags;
    const char* word;  // null: no error
  };
  const Row rows[] = {
      {"%(A)", 1, "round"},
      {"%[A]", 2, "square"},
      {"%{A}", 4, "squiggly"},
      {"%(A)", 6, nullptr},
      {"%[A]", 5, nullptr},
      {"%{A}", 11, nullptr},
      {"%(A)%[A]%{A}", 0, nullptr},
      {"%(A)%[A]%{A}", 8, nullptr},
      // One replaces the other.
      {"%(A)%[A]", 15, "square"},
      {"%(A)%[A]%{A}", 15, "squiggly"},
      {"%[A]%(A)", 15, "square"},
      {"%%(A)", 15, nullptr},
  };
  Product product;
  for (const Row& row : rows) {
    std::string value = row.value;
    std::string outcome =
        std::string(kHead) + "variety " + value + " chosen=0  vars() seg(all-all,0)\n";
    if (row.word != nullptr)
      outcome += std::string("*** Error:  invalid XML (") + row.word +
                 " brackets present) in File " + product.path() + " at Line number 2\n";
    EXPECT_EQ(outcome, product.Read(Varieties("\n<VARIETY name='" + value + "'/>"), row.flags))
        << value << row.flags;
  }
}

TEST(ReadProdinfo, LooksForBracketsInEveryAttributeThatItReads) {
  const char* contents[] = {
      "<PRODUCT-INFO flags='%(A)'><VARIETIES/></PRODUCT-INFO>",
      "<PRODUCT-INFO name='%(A)'><VARIETIES/></PRODUCT-INFO>",
      "<PRODUCT-INFO><DESCRIPTION lang='%(A)'/><VARIETIES/></PRODUCT-INFO>",
      "<VARIETIES><VARIETY desc='%(A)'/></VARIETIES>",
      "<VARIETIES><VARIETY chosen='%(A)'/></VARIETIES>",
      "<VARIETIES><VARIETY name='%(A)'/></VARIETIES>",
      "<VARIETIES><VARIETY><VAR n='%(A)'/></VARIETY></VARIETIES>",
      "<VARIETIES><VARIETY><VAR v='%(A)'/></VARIETY></VARIETIES>",
      "<VARIETIES><VARIETY><SEGMENT here='%(A)'/></VARIETY></VARIETIES>",
      "<VARIETIES><VARIETY><SEGMENT host='%(A)'/></VARIETY></VARIETIES>",
  };
  Product product;
  for (const char* content : contents) {
    std::string outcome = product.Read(content, WH_XML_PF_ROUND_BRACKETS);
    EXPECT_NE(std::string::npos, outcome.find("(round brackets present)")) << content;
    EXPECT_EQ(std::string::npos, outcome.find("(null)\n***")) << content;
  }
  EXPECT_EQ(std::string::npos, product.Read("<VARIETIES other='%(A)'/>", 15).find("brackets"));
}

TEST(ReadProdinfo, EveryStateAcceptsItsTagsAndNoOther) {
  Product product;
  const std::string info = "<PRODUCT-INFO>";
  const std::string close = "</PRODUCT-INFO>";
  const std::vector<StateRow> rows = {
      {"0 initial",
       "",
       "",
       false,
       {{"PRODUCT-INFO", info + "<VARIETIES/>" + close}, {"VARIETIES", "<VARIETIES/>"}}},
      {"1 in product",
       info,
       close,
       false,
       {{"DESCRIPTION", "<DESCRIPTION/><VARIETIES/>" + close},
        {"VARIETIES", "<VARIETIES/>" + close}}},
      {"2 in description", info + "<DESCRIPTION>", "</DESCRIPTION><VARIETIES/>" + close, true, {}},
      {"3 in varieties",
       info + "<VARIETIES>",
       "</VARIETIES>" + close,
       true,
       {{"VARIETY", "<VARIETY/></VARIETIES>" + close}}},
      {"3 in varieties, as root",
       "<VARIETIES>",
       "</VARIETIES>",
       true,
       {{"VARIETY", "<VARIETY/></VARIETIES>"}}},
      {"4 in variety",
       "<VARIETIES><VARIETY>",
       "</VARIETY></VARIETIES>",
       true,
       {{"VAR", "<VAR/></VARIETY></VARIETIES>"}, {"SEGMENT", "<SEGMENT/></VARIETY></VARIETIES>"}}},
      {"5 in var", "<VARIETIES><VARIETY><VAR>", "</VAR></VARIETY></VARIETIES>", true, {}},
      {"6 after varieties", info + "<VARIETIES/>", close, true, {}},
      {"7 in segment",
       "<VARIETIES><VARIETY><SEGMENT>",
       "</SEGMENT></VARIETY></VARIETIES>",
       true,
       {}},
      {"9 after description",
       info + "<DESCRIPTION/>",
       close,
       false,
       {{"VARIETIES", "<VARIETIES/>" + close}}},
      {"-1 error", "<ERROR>", "</ERROR>", false, {}},
  };
  CheckStates(
      rows, {"PRODUCT-INFO", "DESCRIPTION", "VARIETIES", "VARIETY", "VAR", "SEGMENT", "OTHER"},
      [&](const std::string& content, WH_XML_PARSE_FLAGS flags) {
        // A document without any element is the parser's fault, not the format's.
        return content.empty() ? product.Fault() : product.Read(content, flags);
      },
      product.Fault());
}

TEST(ReadProdinfo, ResultsDoNotDependOnTheBlockEdge) {
  Product product;
  CheckBlockEdges(
      "<PRODUCT-INFO flags='visible' name='N&amp;M'><DESCRIPTION lang='en'>Some text &lt;here&gt; "
      "\xC3\xA9</DESCRIPTION><VARIETIES><VARIETY name='a' desc='d' chosen='1'><VAR n='platform' "
      "v='linux'/><SEGMENT host='h' here='1'/></VARIETY><VARIETY/></VARIETIES></PRODUCT-INFO>",
      [&](const std::string& content, WH_XML_PARSE_FLAGS flags) {
        return product.Read(content, flags);
      });
}

TEST(ReadProdinfo, AHundredThousandVariablesAreFine) {
  Product product;
  std::string content = "<VARIETIES><VARIETY>";
  for (int i = 0; i < 100000; ++i)
    content += "<VAR n='a' v='b'/><SEGMENT host='h' here='1'/>";
  std::string outcome = product.Read(content + "</VARIETY></VARIETIES>");
  EXPECT_EQ(std::string::npos, outcome.find("***"));
  EXPECT_GT(outcome.size(), 1000000u);
}

TEST(FreeProdinfo, AcceptsNull) {
  WH_PRODUCT_INFO* info = nullptr;
  free_prodinfo(&info);
  WH_VARIETY_SEQ* varieties = nullptr;
  free_varieties(&varieties);
  EXPECT_EQ(nullptr, varieties);
}

}  // namespace
