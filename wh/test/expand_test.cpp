#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <initializer_list>

#include "model_support.h"
#include "process.h"
#include "recorder.h"

namespace {

class Expand : public testing::Test {
 protected:
  Expand() : symtab_(make_symtab(FWT("c/n/1/0/env.xml"))) {}
  ~Expand() override { free_symtab(&symtab_); }

  void Bind(const char* name, const std::string& value) {
    Text text(value);
    add_context(symtab_, make_context(make_cv(FWT(name), text, nullptr)));
  }

  // Expands with a clear state; text is what the state then says.
  std::string operator()(const std::string& str) {
    Error err;
    Text text(str);
    std::string result = Take(wh_expand(&err, text, symtab_));
    error_ = err.text();
    return result;
  }

  static std::string NotDefined(const std::string& name) {
    return "*** Error: % variable " + name + " is not defined in File c/n/1/0/env.xml";
  }

  WH_SYMTAB* symtab_;
  std::string error_;
  TemporaryTree tree_;
};

// A variable of the process environment for the length of a scope.
class ProcessVariable {
 public:
  ProcessVariable(const char* name, const char* value) : name_(name) {
    if (value)
      setenv(name, value, 1);
    else
      unsetenv(name);
  }
  ~ProcessVariable() { unsetenv(name_); }
  ProcessVariable(const ProcessVariable&) = delete;
  ProcessVariable& operator=(const ProcessVariable&) = delete;

 private:
  const char* name_;
};

TEST_F(Expand, NullGivesNull) {
  Error err;
  EXPECT_EQ(nullptr, wh_expand(&err, nullptr, symtab_));
  EXPECT_EQ(nullptr, err.pError);
}

TEST_F(Expand, WhatIsNotAReferenceStaysAsItIs) {
  Bind("X", "value");
  Bind("A", "value");
  for (const char* text :
       {"",     "plain", "100%", "%",    "%x",           "%%",    "%%(X)", "a%%(X)b",
        "%(A",  "%(",    "%[",   "%{",   "%[abc",        "%{abc", "%(A]",  "%[A)",
        "%(X%", "% (X)", "(X)",  "%)X(", "%\xc3\xa4(X)", "%<X>"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(text, (*this)(text));
    EXPECT_EQ("", error_);
  }
}

TEST_F(Expand, NamesAreReplacedByTheirValues) {
  Bind("A", "%(B)");
  Bind("B", "x");
  Bind("E", "");
  const std::pair<const char*, const char*> rows[] = {
      {"%(B)", "x"},          {"a%(B)c", "axc"},
      {"%(B)%(B)", "xx"},     {"%(A)", "x"},
      {"%(A)%(B)", "xx"},     {"%(E)", ""},
      {"%%%(B)", "%%x"},      {"%%(%(B)", "%%(x"},
      {"%x%(B)", "%xx"},      {"\xc3\xa4%(B)\xe2\x82\xac", "\xc3\xa4x\xe2\x82\xac"},
      {"%(FS)%(LIB)", "/.a"},
  };
  for (auto [text, expected] : rows) {
    EXPECT_EQ(expected, (*this)(text)) << text;
    EXPECT_EQ("", error_) << text;
  }
}

TEST_F(Expand, AReferenceInsideBracketsGoesFirst) {
  Bind("IN", "OUT");
  Bind("OUT", "x");
  EXPECT_EQ("x", (*this)("%(%(IN))"));
  EXPECT_EQ("", error_);
  tree_.Write("x", "content\n");
  Bind("DIR", tree_.path());
  EXPECT_EQ("<content>", (*this)("<%[%(DIR)/x]>"));
  EXPECT_EQ("", error_);
}

TEST_F(Expand, AReferenceMayComeTogetherInALaterPass) {
  Bind("P", "%");
  Bind("Q", "(B)");
  Bind("B", "x");
  EXPECT_EQ("x", (*this)("%(P)(B)"));
  EXPECT_EQ("x", (*this)("%(P)%(Q)"));
  // The first sign takes the second along, as in any text.
  EXPECT_EQ("%%(P)", (*this)("%%(P)"));
}

TEST_F(Expand, AnUndefinedNameStaysBareWithAnError) {
  EXPECT_EQ("pAq", (*this)("p%(A)q"));
  EXPECT_EQ(NotDefined("A"), error_);
  EXPECT_EQ("", (*this)("%()"));
  EXPECT_EQ(NotDefined(""), error_);
}

TEST_F(Expand, APrefixOfANameIsNotTheName) {
  Bind("NAME", "v");
  EXPECT_EQ("NAM", (*this)("%(NAM)"));
  EXPECT_EQ(NotDefined("NAM"), error_);
  EXPECT_EQ("NAMES", (*this)("%(NAMES)"));
  EXPECT_EQ(NotDefined("NAMES"), error_);
}

// The name looked up last is remembered; each of these stands behind another that is like it.
TEST_F(Expand, EachNameHasItsOwnValueWhateverStandsBeforeIt) {
  Bind("A", "1");
  Bind("AB", "2");
  Bind("B", "3");
  Bind("ON", "%(A)%(B)%(A)%(A)");
  EXPECT_EQ((*this)("%(A)%(A)%(AB)%(A)%(B)%(A)%(B)%(B)%(AB)"), "112131332");
  EXPECT_EQ(error_, "");
  EXPECT_EQ((*this)("%(ON)%(A)%(ON)%(B)"), "1311113113");
  EXPECT_EQ(error_, "");
  EXPECT_EQ((*this)("%(A)%(C)%(C)%(A)%(D)"), "1CC1D");
  EXPECT_EQ(error_, NotDefined("D"));
}

TEST_F(Expand, WorkGoesOnAfterAnErrorAndTheLastOneStands) {
  Bind("B", "x");
  EXPECT_EQ("U1xU2x", (*this)("%(U1)%(B)%(U2)%(B)"));
  EXPECT_EQ(NotDefined("U2"), error_);
}

TEST_F(Expand, EnvironmentVariablesAreReplaced) {
  ProcessVariable set("ZT_SET", "some text");
  ProcessVariable empty("ZT_EMPTY", "");
  EXPECT_EQ("<some text>", (*this)("<%{ZT_SET}%{ZT_EMPTY}>"));
  EXPECT_EQ("", error_);
  Bind("WHICH", "SET");
  EXPECT_EQ("some text", (*this)("%{ZT_%(WHICH)}"));
  EXPECT_EQ("", error_);
}

TEST_F(Expand, TheTextOfAVariableIsExpandedInTurn) {
  ProcessVariable set("ZT_SET", "%(B)");
  Bind("B", "x");
  EXPECT_EQ("x", (*this)("%{ZT_SET}"));
}

TEST_F(Expand, AnUnsetEnvironmentVariableGivesNothingAndAnError) {
  ProcessVariable unset("ZT_UNSET", nullptr);
  Bind("B", "x");
  EXPECT_EQ("", (*this)("%{ZT_UNSET}"));
  EXPECT_EQ(NotDefined("ZT_UNSET"), error_);
  EXPECT_EQ("x", (*this)("%{ZT_UNSET}%(B)"));
  EXPECT_EQ(NotDefined("ZT_UNSET"), error_);
}

TEST_F(Expand, OnceThereIsAnErrorFilesAndVariablesAreNotPutIn) {
  ProcessVariable set("ZT_SET", "text");
  ProcessVariable unset("ZT_UNSET", nullptr);
  Bind("B", "x");
  const std::string file = "%[" + tree_.Write("file", "content") + "]";
  const std::string missing = "%[" + (tree_ / "missing") + "]";
  const struct {
    std::string text;
    std::string expected;
    std::string error;
  } rows[] = {
      {"%(U)%{ZT_SET}", "U", NotDefined("U")},
      {"%(U)" + file, "U", NotDefined("U")},
      {"%(U)" + missing, "U", NotDefined("U")},
      {"%(U)%{ZT_UNSET}", "U", NotDefined("ZT_UNSET")},
      {"%(U)%(B)", "Ux", NotDefined("U")},
      {"%{ZT_SET}" + file + "%(U)", "textcontentU", NotDefined("U")},
      {missing + "%{ZT_SET}%(B)", "x",
       "*** Error: File " + (tree_ / "missing") + " Does not exist"},
      {missing + "%(U)", "U", NotDefined("U")},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.expected, (*this)(row.text)) << row.text;
    EXPECT_EQ(row.error, error_) << row.text;
  }
}

TEST_F(Expand, AnErrorFromBeforeTheCallCountsAsWell) {
  ProcessVariable set("ZT_SET", "text");
  Bind("B", "x");
  Error err;
  FwErrorSet(&err, fwErrorOperationFailed, 0);
  EXPECT_EQ("<x>", Take(wh_expand(&err, FWT("<%{ZT_SET}%(B)>"), symtab_)));
  EXPECT_EQ(fwErrorOperationFailed, err.pError);
}

// The files that expansions ask for.
std::vector<std::string> asked;

void NoteAsked(FwTextString filename) {
  asked.push_back(FWC(filename));
}

TEST_F(Expand, TheObserverGetsEachFileThatIsAskedFor) {
  const std::string file = tree_.Write("file", "content");
  const std::string missing = tree_ / "missing";
  asked.clear();
  wh_file_observer = NoteAsked;
  EXPECT_EQ("content", (*this)("%[" + file + "]"));
  EXPECT_EQ("", (*this)("%[" + missing + "]"));
  // Nothing is asked for once there is an error.
  EXPECT_EQ("U", (*this)("%(U)%[" + file + "]"));
  wh_file_observer = nullptr;
  EXPECT_EQ("content", (*this)("%[" + file + "]"));
  EXPECT_EQ((std::vector<std::string>{file, missing}), asked);
}

TEST_F(Expand, OneLineEndOfAFileGoes) {
  const std::pair<std::string, std::string> rows[] = {
      {"abc\r\n", "abc"}, {"abc\n", "abc"},       {"abc\r", "abc"},   {"abc\n\n", "abc\n"},
      {"abc", "abc"},     {"abc\n\r", "abc\n"},   {"\n", ""},         {"\r\n", ""},
      {"a\nb\n", "a\nb"}, {"abc\r\r\n", "abc\r"}, {"abc \n", "abc "},
  };
  for (const auto& [content, expected] : rows) {
    SCOPED_TRACE(content);
    const std::string file = tree_.Write("file", content);
    EXPECT_EQ("<" + expected, (*this)("<%[" + file + "]")) << testing::PrintToString(content);
    EXPECT_EQ("", error_);
  }
}

TEST_F(Expand, AnEmptyFileTakesAwayALineEndBeforeIt) {
  const std::string file = tree_.Write("empty", "");
  EXPECT_EQ("line", (*this)("line\n%[" + file + "]"));
  EXPECT_EQ("line.", (*this)("line\r\n%[" + file + "]."));
  EXPECT_EQ("line", (*this)("line%[" + file + "]"));
  EXPECT_EQ("", (*this)("%[" + file + "]"));
}

TEST_F(Expand, AFileOfAnyLengthIsReadWhole) {
  // Blocks are of 1024 bytes: a character of two bytes falls across their edge.
  for (std::size_t length : {1022u, 1023u, 1024u, 1025u, 2048u, 5000u}) {
    const std::string content = std::string(length, 'x') + "\xc3\xa4y";
    const std::string file = tree_.Write("file", content + "\n");
    EXPECT_EQ(content, (*this)("%[" + file + "]")) << length;
  }
}

TEST_F(Expand, TheTextOfAFileIsExpandedInTurn) {
  Bind("B", "x");
  const std::string file = tree_.Write("file", "<%(B)>\n");
  EXPECT_EQ("<x>", (*this)("%[" + file + "]"));
}

TEST_F(Expand, AMissingFileIsAnErrorOfTheFile) {
  const std::string missing = tree_ / "missing";
  EXPECT_EQ("<>", (*this)("<%[" + missing + "]>"));
  EXPECT_EQ("*** Error: File " + missing + " Does not exist", error_);
}

TEST_F(Expand, ADirectoryIsNotAFile) {
  {
    ExpectAsserts expected({"trailing directory separator when file name expected"});
    EXPECT_EQ("<>", (*this)("<%[" + tree_.path() + "/]>"));
    EXPECT_EQ("*** Error: File " + tree_.path() + "/ String parameter illegal value", error_);
  }
  // An empty name stands for the current directory.
  ExpectAsserts expected({"trailing directory separator when file name expected"});
  EXPECT_EQ("<>", (*this)("<%[]>"));
  EXPECT_EQ("*** Error: File  String parameter illegal value", error_);
}

TEST_F(Expand, AFileThatCannotBeReadGivesNothing) {
  const std::string directory = tree_.Directory("directory");
  EXPECT_EQ("<>", (*this)("<%[" + directory + "]>"));
  EXPECT_EQ("*** Error: Operation denied", error_);
}

TEST_F(Expand, BytesOfUnknownEncodingPassUnchanged) {
  CollectReports collect;
  Bind("B", "x");
  for (const char* bytes : {"\xe9", "a\x80z", "\xff\xfe", "caf\xe9", "\xc3"}) {
    SCOPED_TRACE(bytes);
    ProcessVariable set("ZT_SET", bytes);
    EXPECT_EQ(bytes, (*this)("%{ZT_SET}"));
    EXPECT_EQ(std::string("x") + bytes, (*this)("%(B)%{ZT_SET}"));
    EXPECT_EQ(bytes, (*this)(bytes));
    EXPECT_EQ("", error_);
    const std::string file = tree_.Write("file", std::string(bytes) + "\n");
    EXPECT_EQ(bytes, (*this)("%[" + file + "]"));
  }
}

TEST_F(Expand, ManyPassesAreFine) {
  const int count = 200;
  for (int i = 0; i < count; i++)
    Bind(("N" + std::to_string(i)).c_str(), "%(N" + std::to_string(i + 1) + ")");
  Bind("N200", "end");
  EXPECT_EQ("end", (*this)("%(N0)"));
}

TEST_F(Expand, WhatAReplacedTextStandsBesideCountsInTheNextPass) {
  Bind("SIGN", "50%");
  Bind("NAME", "%(C)x");
  Bind("C", "c");
  EXPECT_EQ("cx", (*this)("%(NAME)"));
  EXPECT_EQ("50%%(C)x", (*this)("%(SIGN)%(NAME)"));
  EXPECT_EQ("50%cx", (*this)("%(SIGN)cx"));
}

TEST_F(Expand, TextsOfAnyLengthAndOfAnyNumberOfNamesAreTheSame) {
  Bind("A", "%(B)");
  Bind("B", "b");
  for (const std::size_t length : {509, 510, 511, 512, 513, 600}) {
    const std::string text(length, 'x');
    EXPECT_EQ(text + "b", (*this)(text + "%(A)"));
    EXPECT_EQ("b" + text, (*this)("%(A)" + text));
  }
  for (const int count : {31, 32, 33, 63, 64, 65, 1000}) {
    std::string text;
    for (int i = 0; i < count; ++i)
      text += "%(A)";
    EXPECT_EQ(std::string(static_cast<std::size_t>(count), 'b'), (*this)(text));
  }
}

TEST_F(Expand, WhatIsKeptCountsUntilAContextComesOrGoes) {
  keep_meanings(symtab_);
  EXPECT_EQ("A", (*this)("%(A)"));
  Bind("A", "%(B)");
  EXPECT_EQ("B/x", (*this)("%(A)/x"));
  EXPECT_EQ(NotDefined("B"), error_);
  Text one("1");
  WH_CONTEXT* context = make_context(make_cv(FWT("B"), one, nullptr));
  add_context(symtab_, context);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ("1/x", (*this)("%(A)/x"));
    EXPECT_EQ("1", (*this)("%(A)"));
    EXPECT_EQ("", error_);
  }
  remove_context(symtab_, context);
  free_context(&context);
  EXPECT_EQ("B/x", (*this)("%(A)/x"));
  Bind("B", "2");
  EXPECT_EQ("2/x", (*this)("%(A)/x"));
}

TEST_F(Expand, MoreNamesThanAreKeptHaveTheirValuesAllTheSame) {
  keep_meanings(symtab_);
  for (int i = 0; i < 40; ++i) {
    Bind(("V" + std::to_string(i)).c_str(), std::to_string(i));
    Bind(("N" + std::to_string(i)).c_str(), "<%(V" + std::to_string(i) + ")>");
  }
  for (int round = 0; round < 2; ++round)
    for (int i = 0; i < 40; ++i)
      EXPECT_EQ("a<" + std::to_string(i) + ">", (*this)("a%(N" + std::to_string(i) + ")"));
  EXPECT_EQ("<1><11>", (*this)("%(N1)%(N11)"));
}

// The text goes to standard output; a death test looks at standard error.
void ExpandToDeath(const std::string& str, WH_SYMTAB* symtab) {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  FwErrorState err;
  Text text(str);
  wh_expand(&err, text, symtab);
}

using ExpandDeathTest = Expand;

TEST_F(ExpandDeathTest, AValueThatRefersToItselfEndsAsExhaustedMemory) {
  const char* const message = "\n.*: frameWork error - Run out of memory\n";
  Bind("A", "%(A)");
  EXPECT_EXIT(ExpandToDeath("%(A)", symtab_), testing::ExitedWithCode(1), message);
  Bind("B", "%(C)");
  Bind("C", "%(B)");
  EXPECT_EXIT(ExpandToDeath("%(B)", symtab_), testing::ExitedWithCode(1), message);
}

TEST_F(ExpandDeathTest, AValueThatGrowsWithEachPassEndsAsExhaustedMemory) {
  Bind("A", "%(A)" + std::string(1 << 27, 'x'));
  EXPECT_EXIT(ExpandToDeath("%(A)", symtab_), testing::ExitedWithCode(1),
              "frameWork error - Run out of memory");
}

TEST_F(ExpandDeathTest, TwentyMebibytesAreExpandedAndNoMore) {
  const std::string most(std::size_t{20} << 20, 'x');
  Bind("A", most);
  Bind("B", most + "y");
  Bind("EMPTY", "");
  EXPECT_EQ(most.size(), (*this)("%(A)%(EMPTY)").size());
  EXPECT_EQ("", error_);
  // So long a value alone is not expanded, and so not refused.
  EXPECT_EQ(most.size() + 1, (*this)("%(B)").size());
  EXPECT_EXIT(ExpandToDeath("%(B)%(A)", symtab_), testing::ExitedWithCode(1),
              "frameWork error - Run out of memory");
  EXPECT_EXIT(ExpandToDeath("z%(A)", symtab_), testing::ExitedWithCode(1),
              "frameWork error - Run out of memory");
}

TEST_F(ExpandDeathTest, AFileWithoutEndEndsAsExhaustedMemory) {
  EXPECT_EXIT(ExpandToDeath("%[/dev/zero]", symtab_), testing::ExitedWithCode(1),
              "frameWork error - Run out of memory");
}

TEST_F(Expand, APatternKeepsItsShape) {
  Bind("N", "name");
  Bind("V", "value");
  Bind("H", "host");
  WH_PATTERN* pattern = Alternative({{"%(N)", "%(V)"}, {nullptr, "x%(V)"}}, "%(H)",
                                    Alternative({}, nullptr, Alternative({{"n", nullptr}})));
  Error err;
  WH_PATTERN* expanded = wh_expand_pattern(&err, pattern, symtab_);
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ("host", Str(expanded->host));
  EXPECT_EQ("name", Str(expanded->vars->n));
  EXPECT_EQ("value", Str(expanded->vars->v));
  EXPECT_EQ(nullptr, expanded->vars->next->n);
  EXPECT_EQ("xvalue", Str(expanded->vars->next->v));
  EXPECT_EQ(nullptr, expanded->vars->next->next);
  EXPECT_EQ(nullptr, expanded->next->vars);
  EXPECT_EQ(nullptr, expanded->next->host);
  EXPECT_EQ("n", Str(expanded->next->next->vars->n));
  EXPECT_EQ(nullptr, expanded->next->next->vars->v);
  EXPECT_EQ(nullptr, expanded->next->next->next);
  EXPECT_EQ("%(N)", Str(pattern->vars->n));
  free_pattern(&expanded);
  free_pattern(&pattern);
  EXPECT_EQ(nullptr, wh_expand_pattern(&err, nullptr, symtab_));
}

TEST_F(Expand, APatternIsExpandedToItsEndAndTheLastErrorStands) {
  WH_PATTERN* pattern = Alternative({{"%(U1)", "%(U2)"}}, "%(U3)", Alternative({{"a", "%(U4)"}}));
  Error err;
  WH_PATTERN* expanded = wh_expand_pattern(&err, pattern, symtab_);
  EXPECT_EQ(NotDefined("U4"), err.text());
  EXPECT_EQ("U2", Str(expanded->vars->v));
  EXPECT_EQ("U3", Str(expanded->host));
  free_pattern(&expanded);
  free_pattern(&pattern);
}

TEST_F(Expand, AProductNameHasItsCategorySeparatorsRewrittenAfterwards) {
  Bind("CAT", "a\\b:c");
  Bind("V", "1:0");
  WH_PRODUCT_NAME* name = Prodname("%(CAT)/d", "n", "%(V)", "%(U)");
  Error err;
  WH_PRODUCT_NAME* expanded = wh_expand_prodname(&err, name, symtab_);
  EXPECT_EQ("a/b/c/d|n|1:0|U", Fields(expanded));
  EXPECT_EQ(NotDefined("U"), err.text());
  EXPECT_EQ("%(CAT)/d|n|%(V)|%(U)", Fields(name));
  free_prodname(&expanded);
  free_prodname(&name);
}

TEST_F(Expand, AnErrorInOneFieldOfANameKeepsVariablesOutOfTheNext) {
  ProcessVariable set("ZT_SET", "text");
  WH_PRODUCT_NAME* name = Prodname("%(U)", "%{ZT_SET}", "1", "0");
  Error err;
  WH_PRODUCT_NAME* expanded = wh_expand_prodname(&err, name, symtab_);
  EXPECT_EQ("U||1|0", Fields(expanded));
  EXPECT_EQ(NotDefined("U"), err.text());
  free_prodname(&expanded);
  free_prodname(&name);
}

}  // namespace
