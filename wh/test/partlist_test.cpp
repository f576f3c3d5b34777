#include "partlist.h"

#include <string>

#include "read_support.h"

namespace {

struct List {
  TemporaryTree tree;

  std::string path() const { return tree / "partlist.xml"; }

  std::string Get(WH_XML_PARSE_FLAGS flags) {
    Text file(path());
    Error err;
    WH_PARTLIST* list = read_partlist(&err, file, flags);
    std::string outcome = Outcome(list, &err);
    free_partlist(&list);
    EXPECT_EQ(nullptr, list);
    return outcome;
  }

  std::string Read(const std::string& content, WH_XML_PARSE_FLAGS flags = 0) {
    Rewrite(tree, "partlist.xml", content);
    return Get(flags);
  }

  std::string Fault() const { return "(null)\n*** XML parsing error in File " + path() + "\n"; }
};

// A list of one part spec without a condition.
std::string Parts(const std::string& content) {
  return "<PARTLIST><PARTSPEC><PATTERN/><PARTS>" + content + "</PARTS></PARTSPEC></PARTLIST>";
}

TEST(ReadPartlist, ReadsAWholeFile) {
  List list;
  EXPECT_EQ(
      "spec [h: platform=unix x=y][own: ][h: ]\n"
      "  file bin/tool|b|p {cd,all}\n"
      "  product C|N|V|R optional=1 [q: a=b] {net}\n"
      "  file (null)|(null)|(null) {}\n"
      "spec \n",
      list.Read("<?xml version='1.0'?>\n"
                "<!DOCTYPE PARTLIST SYSTEM 'partlist.dtd'>\n"
                "<PARTLIST>\n"
                "  <PARTSPEC>\n"
                "    <PATTERN host='h'>\n"
                "      <MATCH><VAR n='platform' v='unix'/><VAR n='x' v='y'/></MATCH>\n"
                "      <MATCH host='own'/>\n"
                "      <MATCH/>\n"
                "    </PATTERN>\n"
                "    <PARTS>\n"
                "      <FILE name='bin/tool' built-as='b' pack-as='p'>\n"
                "        <PACK medium='cd'/><PACK/>\n"
                "      </FILE>\n"
                "      <PRODUCT category='C' name='N' version='V' rev='R' optional='1'>\n"
                "        <PATTERN host='q'><MATCH><VAR n='a' v='b'/></MATCH></PATTERN>\n"
                "        <PACK medium='net'/>\n"
                "      </PRODUCT>\n"
                "      <FILE/>\n"
                "    </PARTS>\n"
                "  </PARTSPEC>\n"
                "  <PARTSPEC><PATTERN/><PARTS/></PARTSPEC>\n"
                "</PARTLIST>\n"));
}

TEST(ReadPartlist, AnEmptyListHasNoPartSpecs) {
  List list;
  EXPECT_EQ("", list.Read("<PARTLIST/>"));
}

TEST(ReadPartlist, APartSpecNeedsItsPartsButTheyMayBeEmpty) {
  List list;
  EXPECT_EQ(list.Fault(), list.Read("<PARTLIST><PARTSPEC><PATTERN/></PARTSPEC></PARTLIST>"));
  EXPECT_EQ("spec \n", list.Read(Parts("")));
}

TEST(ReadPartlist, AProductLeavesToItsIncluderWhatItDoesNotSay) {
  List list;
  EXPECT_EQ(
      "spec \n"
      "  product %(THIS-CATEGORY)|Library|%(THIS-VERSION)|%(THIS-REV) optional=0  {}\n"
      "  product C|%(THIS-NAME)|%(THIS-VERSION)|%(THIS-REV) optional=0  {}\n"
      "  product %(THIS-CATEGORY)|%(THIS-NAME)|2|3 optional=0  {}\n",
      list.Read(Parts("<PRODUCT name='Library'><PATTERN/></PRODUCT>"
                      "<PRODUCT category='C'><PATTERN/></PRODUCT>"
                      "<PRODUCT version='2' rev='3' optional='no'><PATTERN/></PRODUCT>")));
}

TEST(ReadPartlist, TheSeparatorsOfACategoryBecomeSlashes) {
  List list;
  EXPECT_EQ("spec \n  product a/b/c|n|v|r optional=0  {}\n",
            list.Read(Parts("<PRODUCT category='a\\b:c' name='n' version='v' rev='r'><PATTERN/>"
                            "</PRODUCT>")));
}

TEST(ReadPartlist, AProductWithoutAPatternFails) {
  List list;
  EXPECT_EQ(list.Fault(), list.Read(Parts("<PRODUCT name='x'/>")));
  EXPECT_EQ(list.Fault(), list.Read(Parts("<PRODUCT name='x'><PACK/><PATTERN/></PRODUCT>")));
}

TEST(ReadPartlist, AFileWithoutPackHasNoMedia) {
  List list;
  EXPECT_EQ("spec \n  file f|(null)|(null) {}\n", list.Read(Parts("<FILE name='f'/>")));
}

TEST(ReadPartlist, APackWithoutMediumAddsAll) {
  List list;
  EXPECT_EQ("spec \n  file f|(null)|(null) {all,,x}\n",
            list.Read(Parts("<FILE name='f'><PACK/><PACK medium=''/><PACK medium='x'/></FILE>")));
}

TEST(ReadPartlist, AMatchTakesTheHostOfItsPatternAndNotThatOfAnother) {
  List list;
  EXPECT_EQ(
      "spec [h: ]\n  product %(THIS-CATEGORY)|%(THIS-NAME)|%(THIS-VERSION)|%(THIS-REV) optional=0 "
      "[(null): ][m: ] {}\n",
      list.Read("<PARTLIST><PARTSPEC><PATTERN host='h'><MATCH/></PATTERN><PARTS><PRODUCT><PATTERN>"
                "<MATCH/><MATCH host='m'/></PATTERN></PRODUCT></PARTS></PARTSPEC></PARTLIST>"));
}

TEST(ReadPartlist, AMissingFileIsTheErrorOfOpening) {
  List list;
  EXPECT_EQ("(null)\n*** Error: File " + list.path() + " Does not exist\n", list.Get(0));
}

TEST(ReadPartlist, AnErrorOfTheParserGoesBeforeAFaultOfStructure) {
  List list;
  EXPECT_EQ("(null)\n*** mismatched tag in File " + list.path() + "\n",
            list.Read("<OTHER><PARTLIST></OTHER>"));
  EXPECT_EQ("(null)\n*** unclosed token in File " + list.path() + "\n",
            list.Read("<PARTLIST><PARTSPEC><PATTERN host='h'><MATCH><VAR n='a'/"));
}

TEST(ReadPartlist, ADoctypeThatDiffersIsAnErrorIfAskedFor) {
  List list;
  const WH_XML_PARSE_FLAGS check = WH_XML_PF_DOCTYPE_MISMATCH;
  auto located = [&](const char* line) {
    return "*** Error:  invalid XML (doctype mismatch) in File " + list.path() +
           " at Line number " + line + "\n";
  };
  EXPECT_EQ("", list.Read("<!DOCTYPE PARTLIST>\n<PARTLIST/>", check));
  EXPECT_EQ(located("2"), list.Read("<!DOCTYPE OTHER>\n<PARTLIST/>", check));
  EXPECT_EQ(located("1"), list.Read("<PARTLIST/>", check));
  EXPECT_EQ("", list.Read("<!DOCTYPE OTHER>\n<PARTLIST/>", 7));
}

TEST(ReadPartlist, LooksForBracketsInEveryAttributeThatItReads) {
  const char* parts[] = {
      "<FILE name='%[A]'/>",
      "<FILE built-as='%[A]'/>",
      "<FILE pack-as='%[A]'/>",
      "<FILE><PACK medium='%[A]'/></FILE>",
      "<PRODUCT category='%[A]'><PATTERN/></PRODUCT>",
      "<PRODUCT name='%[A]'><PATTERN/></PRODUCT>",
      "<PRODUCT version='%[A]'><PATTERN/></PRODUCT>",
      "<PRODUCT rev='%[A]'><PATTERN/></PRODUCT>",
      "<PRODUCT optional='%[A]'><PATTERN/></PRODUCT>",
      "<PRODUCT><PATTERN host='%[A]'/></PRODUCT>",
      "<PRODUCT><PATTERN><MATCH host='%[A]'/></PATTERN></PRODUCT>",
      "<PRODUCT><PATTERN><MATCH><VAR n='%[A]'/></MATCH></PATTERN></PRODUCT>",
      "<PRODUCT><PATTERN><MATCH><VAR v='%[A]'/></MATCH></PATTERN></PRODUCT>",
  };
  List list;
  for (const char* part : parts) {
    std::string outcome = list.Read(Parts(part), WH_XML_PF_SQUARE_BRACKETS);
    EXPECT_NE(std::string::npos,
              outcome.find("*** Error:  invalid XML (square brackets present) in File " +
                           list.path() + " at Line number 1\n"))
        << part;
    EXPECT_EQ(0u, outcome.find("spec")) << part;
  }
}

TEST(ReadPartlist, TheDefaultsOfAProductHoldRoundBrackets) {
  List list;
  const std::string whole =
      "<PRODUCT category='c' name='n' version='v' rev='r'><PATTERN/></PRODUCT>";
  EXPECT_EQ("spec \n  product c|n|v|r optional=0  {}\n", list.Read(Parts(whole), 15 - 8));
  EXPECT_EQ(
      "spec \n  product c|n|v|%(THIS-REV) optional=0  {}\n"
      "*** Error:  invalid XML (round brackets present) in File " +
          list.path() + " at Line number 1\n",
      list.Read(Parts("<PRODUCT category='c' name='n' version='v'><PATTERN/></PRODUCT>"),
                WH_XML_PF_ROUND_BRACKETS));
}

// What leads to a state, and what ends the document from there.
const std::string kSpec = "<PARTLIST><PARTSPEC>";
const std::string kSpecEnd = "</PARTSPEC></PARTLIST>";
const std::string kInParts = kSpec + "<PATTERN/><PARTS>";
const std::string kPartsEnd = "</PARTS>" + kSpecEnd;

void CheckStatesOfList(const std::vector<StateRow>& rows, Caller caller = Caller::Here()) {
  List list;
  CheckStates(
      rows,
      {"PARTLIST", "PARTSPEC", "PATTERN", "MATCH", "VAR", "PARTS", "PRODUCT", "FILE", "PACK",
       "OTHER"},
      [&](const std::string& content, WH_XML_PARSE_FLAGS flags) {
        return content.empty() ? list.Fault() : list.Read(content, flags);
      },
      list.Fault(), caller);
}

TEST(ReadPartlist, EveryStateUpToThePartsAcceptsItsTagsAndNoOther) {
  CheckStatesOfList({
      {"st_init", "", "", false, {{"PARTLIST", "<PARTLIST/>"}}},
      {"st_in_partlist",
       "<PARTLIST>",
       "</PARTLIST>",
       true,
       {{"PARTSPEC", "<PARTSPEC><PATTERN/><PARTS/></PARTSPEC></PARTLIST>"}}},
      {"st_partspec_start", kSpec, kSpecEnd, false, {{"PATTERN", "<PATTERN/><PARTS/>" + kSpecEnd}}},
      {"st_partspec_middle",
       kSpec + "<PATTERN/>",
       kSpecEnd,
       false,
       {{"PARTS", "<PARTS/>" + kSpecEnd}}},
      {"st_partspec_end", kSpec + "<PATTERN/><PARTS/>", kSpecEnd, true, {}},
      {"st_in_pattern",
       kSpec + "<PATTERN>",
       "</PATTERN><PARTS/>" + kSpecEnd,
       true,
       {{"MATCH", "<MATCH/></PATTERN><PARTS/>" + kSpecEnd}}},
      {"st_in_match",
       kSpec + "<PATTERN><MATCH>",
       "</MATCH></PATTERN><PARTS/>" + kSpecEnd,
       true,
       {{"VAR", "<VAR/></MATCH></PATTERN><PARTS/>" + kSpecEnd}}},
      {"st_in_var",
       kSpec + "<PATTERN><MATCH><VAR>",
       "</VAR></MATCH></PATTERN><PARTS/>" + kSpecEnd,
       true,
       {}},
      {"st_error", "<OTHER>", "</OTHER>", false, {}},
  });
}

TEST(ReadPartlist, EveryStateOfThePartsAcceptsItsTagsAndNoOther) {
  CheckStatesOfList({
      {"st_in_parts",
       kInParts,
       kPartsEnd,
       true,
       {{"PRODUCT", "<PRODUCT><PATTERN/></PRODUCT>" + kPartsEnd}, {"FILE", "<FILE/>" + kPartsEnd}}},
      {"st_product_start",
       kInParts + "<PRODUCT>",
       "</PRODUCT>" + kPartsEnd,
       false,
       {{"PATTERN", "<PATTERN/></PRODUCT>" + kPartsEnd}}},
      {"st_in_pattern of a product",
       kInParts + "<PRODUCT><PATTERN>",
       "</PATTERN></PRODUCT>" + kPartsEnd,
       true,
       {{"MATCH", "<MATCH/></PATTERN></PRODUCT>" + kPartsEnd}}},
      {"st_product_middle",
       kInParts + "<PRODUCT><PATTERN/>",
       "</PRODUCT>" + kPartsEnd,
       true,
       {{"PACK", "<PACK/></PRODUCT>" + kPartsEnd}}},
      {"st_product_middle after a pack",
       kInParts + "<PRODUCT><PATTERN/><PACK/>",
       "</PRODUCT>" + kPartsEnd,
       true,
       {{"PACK", "<PACK/></PRODUCT>" + kPartsEnd}}},
      {"st_in_file",
       kInParts + "<FILE>",
       "</FILE>" + kPartsEnd,
       true,
       {{"PACK", "<PACK/></FILE>" + kPartsEnd}}},
      {"st_in_pack", kInParts + "<FILE><PACK>", "</PACK></FILE>" + kPartsEnd, true, {}},
      {"st_in_pack of a product",
       kInParts + "<PRODUCT><PATTERN/><PACK>",
       "</PACK></PRODUCT>" + kPartsEnd,
       true,
       {}},
  });
}

TEST(ReadPartlist, ResultsDoNotDependOnTheBlockEdge) {
  List list;
  CheckBlockEdges(
      "<PARTLIST><PARTSPEC><PATTERN host='h'><MATCH host='m'><VAR n='a' v='\xC3\xA9'/></MATCH>"
      "<MATCH/></PATTERN><PARTS><FILE name='f' built-as='b' pack-as='p'><PACK medium='cd'/></FILE>"
      "<PRODUCT name='Lib' optional='1'><PATTERN/><PACK/></PRODUCT></PARTS></PARTSPEC></PARTLIST>",
      [&](const std::string& content, WH_XML_PARSE_FLAGS flags) {
        return list.Read(content, flags);
      });
}

TEST(FreePartlist, AcceptsNullAndAnEmptyChain) {
  WH_PARTLIST* list = nullptr;
  free_partlist(&list);
  list = make_partlist(nullptr);
  EXPECT_EQ("", Dump(list));
  free_partlist(&list);
  EXPECT_EQ(nullptr, list);
}

}  // namespace
