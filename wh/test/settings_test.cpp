#include "settings.h"

#include <string>

#include "read_support.h"

namespace {

struct Settings {
  TemporaryTree tree;

  std::string path() const { return tree / "env.xml"; }

  std::string Get(WH_XML_PARSE_FLAGS flags) {
    Text file(path());
    Error err;
    WH_ENV_SETTINGS* settings = read_env_settings(&err, file, flags);
    std::string outcome = Outcome(settings, &err);
    free_env_settings(&settings);
    EXPECT_EQ(nullptr, settings);
    return outcome;
  }

  std::string Read(const std::string& content, WH_XML_PARSE_FLAGS flags = 0) {
    Rewrite(tree, "env.xml", content);
    return Get(flags);
  }

  // The operations of one group without a condition.
  std::string Ops(const std::string& content) {
    std::string outcome =
        Read("<ENV-SETTINGS><ENV-GROUP><PATTERN/>" + content + "</ENV-GROUP></ENV-SETTINGS>");
    const std::string head = "settings\ngroup \n";
    return outcome.compare(0, head.size(), head) == 0 ? outcome.substr(head.size()) : outcome;
  }

  std::string Fault() const { return "(null)\n*** XML parsing error in File " + path() + "\n"; }
};

TEST(ReadEnvSettings, ReadsAWholeFile) {
  Settings settings;
  EXPECT_EQ(
      "settings\n"
      "group [h: platform=unix x=y][m: ]\n"
      "  insert 'PATH' '%(BASE-CNVR)/bin' sep=58 before{**,/b} after{/opt/**}\n"
      "  remove 'PATH' sep=0 {/old/**,/older}\n"
      "  delete 'OLDVAR' sep=59 {**}\n"
      "group \n",
      settings.Read("<?xml version='1.0'?>\n"
                    "<!DOCTYPE OTHER>\n"
                    "<ENV-SETTINGS>\n"
                    "  <ENV-GROUP>\n"
                    "    <PATTERN host='h'>\n"
                    "      <MATCH><VAR n='platform' v='unix'/><VAR n='x' v='y'/></MATCH>\n"
                    "      <MATCH host='m'/>\n"
                    "    </PATTERN>\n"
                    "    <ENV-INSERT sep=':'>\n"
                    "      <NAME>PATH</NAME> <VALUE>%(BASE-CNVR)/bin</VALUE>\n"
                    "      <BEFORE>**</BEFORE> <AFTER>/opt/**</AFTER> <BEFORE>/b</BEFORE>\n"
                    "    </ENV-INSERT>\n"
                    "    <ENV-REMOVE><NAME>PATH</NAME><VALUE>/old/**</VALUE><VALUE>/older</VALUE>\n"
                    "    </ENV-REMOVE>\n"
                    "    <ENV-DELETE sep=';'>OLDVAR</ENV-DELETE>\n"
                    "  </ENV-GROUP>\n"
                    "  <ENV-GROUP><PATTERN/></ENV-GROUP>\n"
                    "</ENV-SETTINGS>\n",
                    WH_XML_PF_ALL_CHECKS));
}

TEST(ReadEnvSettings, AnEmptyFileOfSettingsHasNoGroups) {
  Settings settings;
  EXPECT_EQ("settings\n", settings.Read("<ENV-SETTINGS/>"));
}

TEST(ReadEnvSettings, AValueBeforeTheNameFails) {
  Settings settings;
  EXPECT_EQ(settings.Fault(),
            settings.Ops("<ENV-INSERT><VALUE>v</VALUE><NAME>n</NAME></ENV-INSERT>"));
  EXPECT_EQ(settings.Fault(),
            settings.Ops("<ENV-REMOVE><VALUE>v</VALUE><NAME>n</NAME></ENV-REMOVE>"));
}

TEST(ReadEnvSettings, AnInsertWithoutAValueFails) {
  Settings settings;
  EXPECT_EQ(settings.Fault(), settings.Ops("<ENV-INSERT><NAME>n</NAME></ENV-INSERT>"));
  EXPECT_EQ(settings.Fault(),
            settings.Ops("<ENV-INSERT><NAME>n</NAME><BEFORE>b</BEFORE></ENV-INSERT>"));
}

TEST(ReadEnvSettings, ARemoveWithANameAndNoValueIsAccepted) {
  Settings settings;
  EXPECT_EQ("  remove 'n' sep=0 {}\n", settings.Ops("<ENV-REMOVE><NAME>n</NAME></ENV-REMOVE>"));
  EXPECT_EQ(settings.Fault(), settings.Ops("<ENV-REMOVE/>"));
}

TEST(ReadEnvSettings, BeforeAndAfterMayBeMixedAndKeepTheirOrder) {
  Settings settings;
  EXPECT_EQ("  insert 'n' 'v' sep=0 before{b1,b2} after{a1,a2}\n",
            settings.Ops("<ENV-INSERT><NAME>n</NAME><VALUE>v</VALUE><AFTER>a1</AFTER>"
                         "<BEFORE>b1</BEFORE><BEFORE>b2</BEFORE><AFTER>a2</AFTER></ENV-INSERT>"));
}

TEST(ReadEnvSettings, AGroupMayHaveAnEmptyPatternAndNoOperation) {
  Settings settings;
  EXPECT_EQ(
      "settings\ngroup \n",
      settings.Read("<ENV-SETTINGS><ENV-GROUP><PATTERN></PATTERN></ENV-GROUP></ENV-SETTINGS>"));
}

TEST(ReadEnvSettings, AGroupWithoutAPatternFails) {
  Settings settings;
  EXPECT_EQ(settings.Fault(), settings.Read("<ENV-SETTINGS><ENV-GROUP/></ENV-SETTINGS>"));
  EXPECT_EQ(settings.Fault(),
            settings.Read("<ENV-SETTINGS><ENV-GROUP><ENV-DELETE>n</ENV-DELETE></ENV-GROUP>"
                          "</ENV-SETTINGS>"));
}

TEST(ReadEnvSettings, OfASeparatorOnlyTheFirstCharacterCounts) {
  Settings settings;
  auto insert = [&](const std::string& sep) {
    return settings.Ops("<ENV-INSERT" + sep + "><NAME>n</NAME><VALUE>v</VALUE></ENV-INSERT>");
  };
  EXPECT_EQ("  insert 'n' 'v' sep=59 before{} after{}\n", insert(" sep=';:,'"));
  EXPECT_EQ("  insert 'n' 'v' sep=8364 before{} after{}\n", insert(" sep='\xE2\x82\xAC:'"));
  EXPECT_EQ("  insert 'n' 'v' sep=0 before{} after{}\n", insert(" sep=''"));
  EXPECT_EQ("  insert 'n' 'v' sep=0 before{} after{}\n", insert(""));
  EXPECT_EQ("  remove 'n' sep=59 {}\n",
            settings.Ops("<ENV-REMOVE sep=';'><NAME>n</NAME></ENV-REMOVE>"));
}

TEST(ReadEnvSettings, ADeleteKeepsItsSeparatorAndRemovesAllElements) {
  Settings settings;
  EXPECT_EQ("  delete 'n' sep=59 {**}\n", settings.Ops("<ENV-DELETE sep=';'>n</ENV-DELETE>"));
  EXPECT_EQ(settings.Fault(), settings.Ops("<ENV-DELETE><NAME>n</NAME></ENV-DELETE>"));
}

TEST(ReadEnvSettings, TextIsKeptByteForByte) {
  Settings settings;
  EXPECT_EQ(
      "  insert ' N ' 'a\n b' sep=0 before{} after{ x}\n"
      "  remove '' sep=0 {,<&>}\n"
      "  delete '%(X)%[f]%{E}' sep=0 {**}\n",
      settings.Ops("<ENV-INSERT><NAME> N </NAME><VALUE>a\r\n b</VALUE><BEFORE/><AFTER> x</AFTER>"
                   "</ENV-INSERT>"
                   "<ENV-REMOVE><NAME/><VALUE/><VALUE>&lt;<![CDATA[&>]]></VALUE></ENV-REMOVE>"
                   "<ENV-DELETE>%(X)%[f]%{E}</ENV-DELETE>"));
}

TEST(ReadEnvSettings, BracketsAreNeverAnError) {
  Settings settings;
  EXPECT_EQ("settings\ngroup [%(A): %[B]=%{C}]\n",
            settings.Read("<ENV-SETTINGS><ENV-GROUP><PATTERN host='%(A)'><MATCH><VAR n='%[B]' "
                          "v='%{C}'/></MATCH></PATTERN></ENV-GROUP></ENV-SETTINGS>",
                          WH_XML_PF_ALL_CHECKS));
}

TEST(ReadEnvSettings, AMissingFileIsTheErrorOfOpening) {
  Settings settings;
  EXPECT_EQ("(null)\n*** Error: File " + settings.path() + " Does not exist\n", settings.Get(0));
}

TEST(ReadEnvSettings, AnErrorOfTheParserKeepsItsOwnText) {
  Settings settings;
  EXPECT_EQ("(null)\n*** mismatched tag in File " + settings.path() + "\n",
            settings.Ops("<ENV-INSERT><NAME>n</ENV-INSERT>"));
  EXPECT_EQ("(null)\n*** undefined entity in File " + settings.path() + "\n",
            settings.Ops("<ENV-DELETE>&none;</ENV-DELETE>"));
}

TEST(ReadEnvSettings, ADirectoryIsAnErrorOfReading) {
  Settings settings;
  settings.tree.Directory("env.xml");
  EXPECT_EQ("(null)\n*** Error: Operation denied\n", settings.Get(0));
}

// What leads to a state, and what ends the document from there.
const std::string kGroup = "<ENV-SETTINGS><ENV-GROUP>";
const std::string kEnd = "</ENV-GROUP></ENV-SETTINGS>";
const std::string kOps = kGroup + "<PATTERN/>";
const std::string kIns = kOps + "<ENV-INSERT>";
const std::string kInsEnd = "</ENV-INSERT>" + kEnd;
const std::string kRem = kOps + "<ENV-REMOVE>";
const std::string kRemEnd = "</ENV-REMOVE>" + kEnd;
const std::string kNamed = "<NAME>n</NAME>";
const std::string kValued = kNamed + "<VALUE>v</VALUE>";

void CheckStatesOfSettings(const std::vector<StateRow>& rows, Caller caller = Caller::Here()) {
  Settings settings;
  CheckStates(
      rows,
      {"ENV-SETTINGS", "ENV-GROUP", "PATTERN", "MATCH", "VAR", "ENV-INSERT", "ENV-REMOVE",
       "ENV-DELETE", "NAME", "VALUE", "BEFORE", "AFTER", "OTHER"},
      [&](const std::string& content, WH_XML_PARSE_FLAGS flags) {
        return content.empty() ? settings.Fault() : settings.Read(content, flags);
      },
      settings.Fault(), caller);
}

TEST(ReadEnvSettings, EveryStateUpToTheOperationsAcceptsItsTagsAndNoOther) {
  CheckStatesOfSettings({
      {"0 initial", "", "", false, {{"ENV-SETTINGS", "<ENV-SETTINGS/>"}}},
      {"1 in settings",
       "<ENV-SETTINGS>",
       "</ENV-SETTINGS>",
       true,
       {{"ENV-GROUP", "<ENV-GROUP><PATTERN/></ENV-GROUP></ENV-SETTINGS>"}}},
      {"2 group start", kGroup, kEnd, false, {{"PATTERN", "<PATTERN/>" + kEnd}}},
      {"3 in pattern",
       kGroup + "<PATTERN>",
       "</PATTERN>" + kEnd,
       true,
       {{"MATCH", "<MATCH/></PATTERN>" + kEnd}}},
      {"4 in match",
       kGroup + "<PATTERN><MATCH>",
       "</MATCH></PATTERN>" + kEnd,
       true,
       {{"VAR", "<VAR/></MATCH></PATTERN>" + kEnd}}},
      {"5 in var", kGroup + "<PATTERN><MATCH><VAR>", "</VAR></MATCH></PATTERN>" + kEnd, true, {}},
      {"6 in operations",
       kOps,
       kEnd,
       true,
       {{"ENV-INSERT", "<ENV-INSERT>" + kValued + kInsEnd},
        {"ENV-REMOVE", "<ENV-REMOVE>" + kNamed + kRemEnd},
        {"ENV-DELETE", "<ENV-DELETE/>" + kEnd}}},
      {"19 error", "<OTHER>", "</OTHER>", false, {}},
  });
}

TEST(ReadEnvSettings, EveryStateOfAnOperationAcceptsItsTagsAndNoOther) {
  CheckStatesOfSettings({
      {"7 insert, wants name", kIns, kInsEnd, false, {{"NAME", kValued + kInsEnd}}},
      {"8 insert, wants value", kIns + kNamed, kInsEnd, false, {{"VALUE", "<VALUE/>" + kInsEnd}}},
      {"9 insert, constraints",
       kIns + kValued,
       kInsEnd,
       true,
       {{"BEFORE", "<BEFORE/>" + kInsEnd}, {"AFTER", "<AFTER/>" + kInsEnd}}},
      {"10 insert name text", kIns + "<NAME>", "</NAME><VALUE/>" + kInsEnd, true, {}},
      {"11 insert value text", kIns + kNamed + "<VALUE>", "</VALUE>" + kInsEnd, true, {}},
      {"12 remove, wants name", kRem, kRemEnd, false, {{"NAME", kNamed + kRemEnd}}},
      {"13 remove, values", kRem + kNamed, kRemEnd, true, {{"VALUE", "<VALUE/>" + kRemEnd}}},
      {"14 remove name text", kRem + "<NAME>", "</NAME>" + kRemEnd, true, {}},
      {"15 remove value text", kRem + kNamed + "<VALUE>", "</VALUE>" + kRemEnd, true, {}},
      {"16 delete name text", kOps + "<ENV-DELETE>", "</ENV-DELETE>" + kEnd, true, {}},
      {"17 before text", kIns + kValued + "<BEFORE>", "</BEFORE>" + kInsEnd, true, {}},
      {"18 after text", kIns + kValued + "<AFTER>", "</AFTER>" + kInsEnd, true, {}},
  });
}

TEST(ReadEnvSettings, ResultsDoNotDependOnTheBlockEdge) {
  Settings settings;
  CheckBlockEdges(
      "<ENV-SETTINGS><ENV-GROUP><PATTERN host='h'><MATCH><VAR n='a' v='b'/></MATCH></PATTERN>"
      "<ENV-INSERT sep=';'><NAME>N\xC3\xA9</NAME><VALUE>a &amp; b\n c</VALUE><BEFORE>x</BEFORE>"
      "<AFTER>y</AFTER></ENV-INSERT><ENV-REMOVE><NAME>M</NAME><VALUE>v</VALUE></ENV-REMOVE>"
      "<ENV-DELETE>D</ENV-DELETE></ENV-GROUP></ENV-SETTINGS>",
      [&](const std::string& content, WH_XML_PARSE_FLAGS flags) {
        return settings.Read(content, flags);
      });
}

TEST(FreeEnvSettings, AcceptsNull) {
  WH_ENV_SETTINGS* settings = nullptr;
  free_env_settings(&settings);
  WH_ENV_OP* op = nullptr;
  free_env_op(&op);
  EXPECT_EQ(nullptr, op);
}

// ---- Expansion ----------------------------------------------------------------------------------

// Reads the one operation, expands it with A = "1" and B = "x:%(A)", and gives the dump, "null u"
// if there is none, and the message.
std::string Expanded(const std::string& operation) {
  TemporaryTree tree;
  Text file(tree.Write("env.xml", "<ENV-SETTINGS><ENV-GROUP><PATTERN/>" + operation +
                                      "</ENV-GROUP></ENV-SETTINGS>"));
  Error err;
  WH_ENV_SETTINGS* settings = read_env_settings(&err, file, 0);
  auto* group = static_cast<WH_ENV_GROUP*>(FwVectorGetElement(&settings->groups, 0));
  auto* op = static_cast<WH_ENV_OP*>(FwVectorGetElement(&group->ops, 0));
  const std::string before = Dump(op);
  WH_SYMTAB* symtab = make_symtab(FWT("source"));
  add_context(symtab,
              make_context(make_cv(FWT("A"), FWT("1"), make_cv(FWT("B"), FWT("x:%(A)"), nullptr))));
  WH_ENV_OP* expanded = wh_expand_env_op(&err, op, symtab);
  EXPECT_EQ(op->type, expanded->type);
  EXPECT_EQ(before, Dump(op));
  std::string out = expanded->u.ins == nullptr && expanded->u.rem == nullptr
                        ? "null u, name " + Str(expanded->name) + "\n"
                        : Dump(expanded);
  std::string message = err.text();
  free_env_op(&expanded);
  free_symtab(&symtab);
  free_env_settings(&settings);
  return message.empty() ? out : out + message + "\n";
}

TEST(WhExpandEnvOp, ExpandsEveryTextOfAnInsert) {
  EXPECT_EQ("  insert 'N1' 'x:1' sep=59 before{b1,1} after{ax:1}\n",
            Expanded("<ENV-INSERT sep=';'><NAME>N%(A)</NAME><VALUE>%(B)</VALUE>"
                     "<BEFORE>b%(A)</BEFORE><BEFORE>%(A)</BEFORE><AFTER>a%(B)</AFTER>"
                     "</ENV-INSERT>"));
}

TEST(WhExpandEnvOp, ExpandsEveryTextOfARemoveAndOfADelete) {
  EXPECT_EQ("  remove 'N1' sep=58 {1,**}\n",
            Expanded("<ENV-REMOVE sep=':'><NAME>N%(A)</NAME><VALUE>%(A)</VALUE><VALUE>**</VALUE>"
                     "</ENV-REMOVE>"));
  EXPECT_EQ("  delete 'N1' sep=0 {**}\n", Expanded("<ENV-DELETE>N%(A)</ENV-DELETE>"));
}

TEST(WhExpandEnvOp, AFaultLeavesNoContent) {
  const std::string insert = "<ENV-INSERT><NAME>N%(A)</NAME><VALUE>%(NOPE)</VALUE></ENV-INSERT>";
  EXPECT_EQ("null u, name N1\n*** Error: % variable NOPE is not defined in File source\n",
            Expanded(insert));
  EXPECT_EQ("null u, name N\n*** Error: % variable LAST is not defined in File source\n",
            Expanded("<ENV-REMOVE><NAME>N</NAME><VALUE>%(NOPE)</VALUE><VALUE>%(LAST)</VALUE>"
                     "</ENV-REMOVE>"));
}

// The name's fault is tested where the content is expanded, and takes the content along.
TEST(WhExpandEnvOp, AFaultInTheNameLeavesNoContent) {
  EXPECT_EQ("null u, name NOPE\n*** Error: % variable NOPE is not defined in File source\n",
            Expanded("<ENV-DELETE>%(NOPE)</ENV-DELETE>"));
}

TEST(WhExpandEnvOp, AFaultInAConstraintLeavesNoContent) {
  EXPECT_EQ("null u, name N\n*** Error: % variable NOPE is not defined in File source\n",
            Expanded("<ENV-INSERT><NAME>N</NAME><VALUE>v</VALUE><AFTER>%(NOPE)</AFTER>"
                     "</ENV-INSERT>"));
}

}  // namespace
