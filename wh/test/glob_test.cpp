// Patterns over path elements, and the searches that use them.
#include "glob.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "engine_support.h"
#include "glob/literals.h"
#include "glob/tokens.h"
#include "recorder.h"

namespace {

int Matches(const std::string& pattern, const std::string& string) {
  return wh_glob_matches(Fwt(pattern), Fwt(string));
}

// ---- A plain matcher: recursion with a token list of its own ----

struct PlainToken {
  int type;
  std::string string;
};

using PlainTokens = std::vector<PlainToken>;

PlainTokens PlainParse(std::string text) {
  PlainTokens tokens;
  if (text.size() >= 4 && text.starts_with("**") && text.ends_with("**")) {
    tokens.push_back({T_ANY, "**"});
    PlainTokens inner = PlainParse(text.substr(2, text.size() - 4));
    tokens.insert(tokens.end(), inner.begin(), inner.end() - 1);
    tokens.push_back({T_ANY, "**"});
    tokens.push_back(inner.back());
    return tokens;
  }
  size_t bar = text.find('|');
  std::string path = text.substr(0, bar);
  if (path.starts_with("/")) {
    tokens.push_back({T_ROOT, "/"});
    path.erase(0, 1);
  }
  while (!path.empty()) {
    size_t end = path.find('/');
    std::string element = path.substr(0, end);
    path = end == std::string::npos ? "" : path.substr(end + 1);
    if (element == "**")
      tokens.push_back({T_ANY, element});
    else if (!element.empty())
      tokens.push_back({T_PATH, element});
  }
  if (bar != std::string::npos) tokens.push_back({T_EXISTS, text.substr(bar + 1)});
  tokens.push_back({T_END, "end"});
  return tokens;
}

bool PlainElement(const char* p, const char* s) {
  if (*s == 0) return *p == '*' ? PlainElement(p + 1, s) : *p == 0;
  if (*p == '*') return PlainElement(p + 1, s) || PlainElement(p, s + 1);
  if (*p == 0) return false;
  if (*p == '?') return PlainElement(p + 1, s + 1);
  return *p == *s && PlainElement(p + 1, s + 1);
}

bool PlainPath(const PlainToken* p, const PlainToken* i, const std::string& original, bool might) {
  if (i->type == T_END) {
    if (might) return true;
    if (p->type == T_ANY) return PlainPath(p + 1, i, original, might);
    if (p->type == T_EXISTS) return dir_has_file(Fwt(original), p->string);
    return p->type == T_END;
  }
  if (p->type == T_ANY)
    return PlainPath(p + 1, i, original, might) || PlainPath(p, i + 1, original, might);
  if (p->type == T_END) return false;
  return p->type == i->type && PlainElement(p->string.c_str(), i->string.c_str()) &&
         PlainPath(p + 1, i + 1, original, might);
}

bool PlainMatches(const std::string& pattern, const std::string& string, bool might = false) {
  PlainTokens p = PlainParse(pattern);
  PlainTokens i = PlainParse(string);
  return PlainPath(p.data(), i.data(), string, might);
}

int MightMatch(const std::string& pattern, const std::string& string) {
  TOKENS p;
  TOKENS i;
  parse(&p, Fwt(pattern));
  parse(&i, Fwt(string));
  int might = might_match(p.list, i.list, Fwt(string));
  free_tokens(&i);
  free_tokens(&p);
  return might;
}

std::string Printed(const std::string& pattern) {
  TOKENS tokens;
  parse(&tokens, Fwt(pattern));
  testing::internal::CaptureStdout();
  for (int32 i = 0; i < tokens.count; ++i)
    print_token(&tokens.list[i]);
  free_tokens(&tokens);
  return testing::internal::GetCapturedStdout();
}

// ---- Matching ----

TEST(Glob, MatchesElementByElement) {
  struct {
    const char* pattern;
    const char* string;
    int matches;
  } rows[] = {
      {"*", "bin", 1},
      {"*", "usr/bin", 0},
      {"*", "/bin", 0},
      {"*", "", 0},
      {"**", "", 1},
      {"**", "/usr/bin", 1},
      {"**", "a/b", 1},
      {"/opt/**/bin", "/opt/bin", 1},
      {"/opt/**/bin", "/opt/x/y/bin", 1},
      {"/opt/**/bin", "/opt/x/y/bin/z", 0},
      {"**foo**", "a/foo/b", 1},
      {"**foo**", "foo", 1},
      {"**foo**", "afoo/b", 0},
      {"a?c", "abc", 1},
      {"a?c", "ac", 0},
      {"a?c", "abbc", 0},
      {"ABC", "abc", 0},
      {"a/b/", "a/b", 1},
      {"a//b", "a/b", 1},
      {"a/b", "a//b/", 1},
      {"/a", "a", 0},
      {"a", "/a", 0},
      {"//a", "/a", 1},
      {"", "", 1},
      {"", "/", 0},
      {"/", "/", 1},
      {"/", "//", 1},
      {"?", "\xC3\xA9", 1},  // one character of two bytes
      {"??", "\xC3\xA9", 0},
      {"*\xA9", "\xC3\xA9", 0},  // no match from the middle of a character
      {"a*", "abc", 1},
      {"*c", "abc", 1},
      {"a*c*", "abcd", 1},
      {"a**c", "abc", 1},  // within an element two stars are two stars
      {"a*", "a", 1},
      {"*?", "", 0},
      {"[a]", "a", 0},
      {"\\*", "*", 0},  // there is no escape character
      {"**/bin", "/usr/bin", 1},
      {"**/bin", "bin", 1},
      {"/**", "/", 1},
      {"/**", "/a/b", 1},
      {"/**", "a/b", 0},
      {"**a/**/b**", "x/a/y/b/z", 1},
      {"**a/**/b**", "x/b/y/a/z", 0},
      {"**/a/**/b/**", "/a/y/b/z", 1},  // surrounded: what is between has a root
      {"**/a/**/b/**", "x/a/y/b/z", 0},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.matches, Matches(row.pattern, row.string)) << row.pattern << " on " << row.string;
}

TEST(Glob, ThreeStarsAreAnOrdinaryElement) {
  EXPECT_EQ("(***)END", Printed("***"));
  EXPECT_EQ(1, Matches("***", "abc"));
  EXPECT_EQ(0, Matches("***", "a/b"));
}

TEST(Glob, FourStarsSurroundNothing) {
  EXPECT_EQ("ANYEND", Printed("****"));
  EXPECT_EQ(1, Matches("****", "a/b"));
  EXPECT_EQ(1, Matches("****", ""));
}

TEST(Glob, SurroundedTextWithARootMatchesAtTheRootOnly) {
  EXPECT_EQ("ANYROOT(/)(foo)ANYEND", Printed("**/foo/**"));
  EXPECT_EQ(1, Matches("**/foo/**", "/foo/x"));
  EXPECT_EQ(1, Matches("**/foo/**", "/foo"));
  EXPECT_EQ(0, Matches("**/foo/**", "/a/foo/b"));
  EXPECT_EQ(0, Matches("**/foo/**", "foo"));
}

TEST(Glob, TokensPrintAsTheirTypes) {
  EXPECT_EQ("ROOT(/)(usr)ANY(b*)EXISTS(f?le|x)END", Printed("/usr/**/b*|f?le|x"));
  EXPECT_EQ("END", Printed(""));
  EXPECT_EQ("EXISTS()END", Printed("|"));
  EXPECT_EQ("ANY(a)EXISTS(b)ANYEND", Printed("**a|b**"));
  EXPECT_EQ("ANY(**a)ANYEND", Printed("******a****"));
  EXPECT_EQ("(a)ANY(b)END", Printed("a/**/**/b"));
}

TEST(Glob, ASubjectIsParsedLikeAPattern) {
  EXPECT_EQ(0, Matches("a", "a|b"));
  EXPECT_EQ(1, Matches("a|b", "a|b"));
  EXPECT_EQ(1, Matches("a|?", "a|b"));
  EXPECT_EQ(0, Matches("x", "**x**"));
  EXPECT_EQ(1, Matches("**", "**x**"));
  EXPECT_EQ(1, Matches("**x**", "**x**"));
  EXPECT_EQ(0, Matches("?", "**"));
}

TEST(Glob, HasGlobsLooksForStarQuestionMarkAndBar) {
  EXPECT_EQ(1, wh_has_globs(FWT("x|y")));
  EXPECT_EQ(1, wh_has_globs(FWT("a*")));
  EXPECT_EQ(1, wh_has_globs(FWT("?")));
  EXPECT_EQ(0, wh_has_globs(FWT("a[b]/c")));
  EXPECT_EQ(0, wh_has_globs(FWT("")));
}

TEST(Glob, ExistsAsksTheDirectoryReached) {
  TemporaryTree tree;
  tree.Write("a/bin/tool", "");
  tree.Write("a/lib/x.so", "");
  std::string bin = tree / "a/bin";
  EXPECT_EQ(1, Matches("**/bin|tool", bin));
  EXPECT_EQ(1, Matches("**/bin|tool", bin + "/"));
  EXPECT_EQ(1, Matches("**/bin|t*", bin));
  EXPECT_EQ(1, Matches("**/bin|to?l", bin));
  EXPECT_EQ(0, Matches("**/bin|tool.exe", bin));
  EXPECT_EQ(0, Matches("**/bin|x*", bin));
  EXPECT_EQ(1, Matches("**|x.so", tree / "a/lib"));
  EXPECT_EQ(0, Matches("**|x.so", tree / "a/none"));
  EXPECT_EQ(0, Matches("**/bin|tool", tree / "a/lib"));
}

TEST(Glob, APatternEndingInABarTestsAnEmptyFileName) {
  TemporaryTree tree;
  tree.Directory("a");
  EXPECT_EQ(1, Matches("**|", tree / "a"));
  EXPECT_EQ(0, Matches("**|", tree / "b"));
}

TEST(Glob, WhatFollowsTheFileIsNotLookedAt) {
  TemporaryTree tree;
  tree.Write("d/f", "");
  EXPECT_EQ(1, Matches("**d|f**", tree / "d"));
  EXPECT_EQ(0, Matches("**d|g**", tree / "d"));
}

TEST(Glob, ArgumentsAreNotWrittenTo) {
  // Literals stand in read-only memory.
  EXPECT_EQ(0, wh_glob_matches(FWT("/x|y"), FWT("/x|z")));
}

TEST(Glob, MalformedBytesEqualThemselvesOnly) {
  EXPECT_EQ(1, Matches("caf\xE9", "caf\xE9"));
  EXPECT_EQ(0, Matches("caf\xE9", "caf\xE8"));
  EXPECT_EQ(1, Matches("caf?", "caf\xE9"));
  EXPECT_EQ(1, Matches("\x80*", "\x80z"));
  EXPECT_EQ(1, Matches("a/\xE9/b", "a/\xE9/b"));
  EXPECT_EQ(0, Matches("\xFF", "\xFE"));
  EXPECT_EQ(1, Matches("*", "\xFC\x80"));
  EXPECT_EQ(1, Matches("?", "\xFC\x80"));
}

TEST(Glob, FoldedCharactersAreEqualButForCase) {
  EXPECT_EQ(1, tc_equal_folded('a', 'A'));
  EXPECT_EQ(0, tc_equal_folded('a', 'b'));
  EXPECT_EQ(0, tc_equal_folded(0xE9, 0xC9));
  EXPECT_EQ(1, tc_equal_folded(0, 0));
  EXPECT_EQ(0, tc_equal_folded(0, 'a'));
  EXPECT_EQ(0, tc_equal_folded('a', 0));
}

TEST(Glob, EqualsPlainBacktrackingOnAllSmallElements) {
  auto strings = [](const std::string& alphabet, size_t length) {
    std::vector<std::string> all = {""};
    for (size_t begin = 0, end = 1, n = 0; n < length; ++n, begin = end, end = all.size())
      for (size_t i = begin; i < end; ++i)
        for (char c : alphabet)
          all.push_back(all[i] + c);
    return all;
  };
  auto patterns = strings("ab*?", 5);
  auto subjects = strings("ab*", 4);
  for (const std::string& pattern : patterns)
    for (const std::string& subject : subjects)
      ASSERT_EQ(PlainElement(pattern.c_str(), subject.c_str()), str_matches(pattern, subject) != 0)
          << pattern << " on " << subject;
}

TEST(Glob, EqualsPlainBacktrackingOnRandomPaths) {
  std::mt19937 random(1);
  const std::vector<std::string> pieces = {"/", "/", "a", "b", "*", "**", "?", "/**/", "|"};
  auto text = [&](size_t most, size_t kinds) {
    std::string made;
    for (size_t n = random() % most; n > 0; --n)
      made += pieces[random() % kinds];
    return made;
  };
  for (int i = 0; i < 60000; ++i) {
    std::string pattern = text(9, i % 8 == 0 ? 9 : 8);
    std::string subject = text(8, i % 4 == 0 ? 9 : i % 4 == 1 ? 8 : 4);
    ASSERT_EQ(PlainMatches(pattern, subject), Matches(pattern, subject) != 0)
        << pattern << " on " << subject;
    ASSERT_EQ(PlainMatches(pattern, subject, true), MightMatch(pattern, subject) != 0)
        << pattern << " might match " << subject;
  }
}

TEST(Glob, LongAndHostileTextsTakeLittleTime) {
  auto start = std::chrono::steady_clock::now();
  std::string a(100000, 'a');
  EXPECT_EQ(0, Matches("*a*a*a*a*a*a*b", a));
  EXPECT_EQ(1, Matches("*a*a*a*a*a*a*a", a));
  std::string stars(1000000, '*');
  EXPECT_EQ(1, Matches(stars, "x/y"));
  std::string path;
  std::string anys;
  for (int i = 0; i < 2000; ++i)
    path += "/a";
  for (int i = 0; i < 200; ++i)
    anys += "**/a/";
  EXPECT_EQ(0, Matches(anys + "b", path));
  EXPECT_EQ(1, Matches(anys + "a", path));
  std::string deep(2000000, '/');
  EXPECT_EQ(1, Matches("/", deep));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

// ---- Literal patterns ----

TEST(Glob, KeysOfLiteralTextsAreEqualWhereTheyMatch) {
  auto key = [](const std::string& text) { return Take(literal_key(Fwt(text))); };
  EXPECT_EQ("/usr/bin", key("/usr//bin/"));
  EXPECT_EQ("usr/bin", key("usr/bin"));
  EXPECT_EQ("/", key("//"));
  EXPECT_EQ("", key(""));
  EXPECT_EQ("(null)", key("a|b"));
  EXPECT_EQ("(null)", key("a*"));
  std::mt19937 random(2);
  auto text = [&] {
    std::string made;
    for (size_t n = random() % 6; n > 0; --n)
      made += "//ab*"[random() % (n % 3 ? 4 : 5)];
    return made;
  };
  for (int i = 0; i < 20000; ++i) {
    std::string pattern = text();
    std::string subject = text();
    if (key(pattern) == "(null)") continue;
    bool equal = key(pattern) == key(subject);
    ASSERT_EQ(equal, Matches(pattern, subject) != 0) << pattern << " on " << subject;
  }
}

TEST(Glob, LiteralsAreFiledInOrderAndOnceInARow) {
  LITERALS literals;
  open_literals(&literals);
  add_literal(&literals, FWT("/a/"), 3);
  add_literal(&literals, FWT("//a"), 3);
  add_literal(&literals, FWT("/a"), 7);
  add_literal(&literals, FWT("/a*"), 8);
  const POSITIONS* found = find_literal(&literals, FWT("/a"));
  ASSERT_NE(nullptr, found);
  EXPECT_EQ((std::vector<int32>{3, 7}),
            std::vector<int32>(found->list, found->list + found->count));
  EXPECT_EQ(nullptr, find_literal(&literals, FWT("/a*")));
  close_literals(&literals);
  EXPECT_EQ(nullptr, find_literal(&literals, FWT("/a")));
}

// ---- Searches ----

using Strings = std::vector<std::string>;

// The results, less the directory in front of each.
Strings TakeResults(FwVector* results, const std::string& dir) {
  Strings strings;
  for (int32 i = 0; i < FwVectorLength(results); ++i) {
    std::string path = Str(static_cast<FwTextString>(FwVectorGetElement(results, i)));
    strings.push_back(path.starts_with(dir + "/") ? path.substr(dir.size() + 1) : path);
  }
  FwVectorAbandon(results, 1);
  return strings;
}

Strings FindFiles(const std::string& pattern, const std::string& dir,
                  Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  Error err;
  FwVector results;
  open_vector(&results, 5);
  int added = wh_find_files(&err, Fwt(pattern), Fwt(dir), &results);
  EXPECT_EQ("", err.text());
  Strings strings = TakeResults(&results, dir);
  EXPECT_EQ(!strings.empty(), added);
  return strings;
}

TEST(FindFiles, FindsBelowADirectory) {
  TemporaryTree tree;
  tree.Write("a/bin/tool", "");
  tree.Write("a/bin/.hidden", "");
  tree.Write("a/lib/x.so", "");
  tree.Write("b/bin/other", "");
  tree.Write("CVS/bin/t", "");
  struct {
    const char* pattern;
    Strings found;
  } rows[] = {
      {"a/bin/tool", {"a/bin/tool"}},
      {"a/bin", {"a/bin/"}},
      {"a/bin/", {"a/bin/"}},
      {"a/none", {}},
      {"*/bin", {"CVS/bin/", "a/bin/", "b/bin/"}},
      {"**/bin", {"CVS/bin/", "a/bin/", "b/bin/"}},
      {"a/bin/*", {"a/bin/.hidden", "a/bin/tool"}},
      {"**/bin|tool", {"a/bin/"}},
      {"**/bin|t*", {"CVS/bin/", "a/bin/"}},
      {"**|x.so", {"a/lib/"}},
      {"a/bin/tool|x", {}},
      {"a/bin/tool/x", {}},
      {"a/**", {"a/", "a/bin/", "a/bin/.hidden", "a/bin/tool", "a/lib/", "a/lib/x.so"}},
      {"**/a/**/tool", {"a/bin/tool"}},
      {"**lib**", {"a/lib/", "a/lib/x.so"}},
      {"", {""}},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.found, FindFiles(row.pattern, tree.path())) << row.pattern;
}

TEST(FindFiles, AnAbsolutePatternIsRefused) {
  Error err;
  FwVector results;
  open_vector(&results, 5);
  EXPECT_EQ(0, wh_find_files(&err, FWT("/a/*"), FWT("/tmp"), &results));
  EXPECT_EQ(fwErrorStringSyntax, err.pError);
  EXPECT_STREQ("file pattern", FWC(err.items[0].type));
  EXPECT_STREQ("/a/*", FWC(err.items[0].name));
  EXPECT_EQ(0, FwVectorLength(&results));
  FwVectorAbandon(&results, 0);
}

TEST(FindFiles, ARootInsideAPatternAsserts) {
  TemporaryTree tree;
  ExpectAsserts expected({"unexpected T_ROOT in search_dir\n"});
  EXPECT_EQ(Strings{}, FindFiles("**/x**", tree.path()));
}

TEST(FindFiles, ADirectoryThatIsNotThereHasNoEntries) {
  EXPECT_EQ(Strings{""}, FindFiles("**", "/nonexistent/dir"));
  EXPECT_EQ(Strings{}, FindFiles("*", "/nonexistent/dir"));
}

TEST(FindFiles, SortsAndRemovesDuplicatesOverTheWholeVector) {
  FwVector results;
  open_vector(&results, 5);
  for (const char* text : {"b", "a", "b", "1.9", "1.10", "a", "a"})
    FwVectorAddElement(&results, FwStrDuplicate(FWT(text)));
  sort_results(&results);
  EXPECT_EQ((Strings{"1.10", "1.9", "a", "b"}), TakeResults(&results, "-"));
}

Strings FindProducts(const std::string& pattern, const std::string& base, std::string* fault = {},
                     Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  Error err;
  FwVector results;
  open_vector(&results, 5);
  int added = wh_find_products(&err, Fwt(pattern), Fwt(base), &results);
  if (fault)
    *fault = err.text();
  else
    EXPECT_EQ("", err.text());
  Strings strings = TakeResults(&results, base);
  EXPECT_EQ(!strings.empty(), added);
  return strings;
}

TEST(FindProducts, FindsDirectoriesThatHoldAProduct) {
  TemporaryTree tree;
  for (const char* dir : {"c/n/1.9/0", "c/n/1.10/0", "d/m/1/2", ".hidden/n/1/0", "CVS/n/1/0",
                          "d/.x/1/0", "c/n/1.9/0/sub/n/1/0"})
    tree.Write(std::string(dir) + "/product.xml", "");
  tree.Directory("d/empty");
  tree.Write("d/file", "");
  struct {
    const char* pattern;
    Strings found;
  } rows[] = {
      {"**", {"c/n/1.10/0/", "c/n/1.9/0/", "d/m/1/2/"}},
      {"c/*/*/*", {"c/n/1.10/0/", "c/n/1.9/0/"}},
      {"c/n/1.9/0", {"c/n/1.9/0/"}},
      {"**/0", {"c/n/1.10/0/", "c/n/1.9/0/"}},
      {"**/sub/**", {}},
      {"c/n", {}},
      {"CVS/n/1/0", {}},
      {".hidden/n/1/0", {}},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.found, FindProducts(row.pattern, tree.path())) << row.pattern;
  EXPECT_EQ((Strings{"c/n/1.10/0/", "c/n/1.9/0/"}), FindProducts(tree / "c/**", tree.path()));
}

TEST(FindProducts, ADirectoryThatCannotBeOpenedLeavesItsFault) {
  std::string fault;
  EXPECT_EQ(Strings{}, FindProducts("**", "/nonexistent/dir", &fault));
  EXPECT_EQ("*** Error: File /nonexistent/dir/ Does not exist", fault);
}

TEST(FindProducts, TheBaseItselfMayBeAProduct) {
  TemporaryTree tree;
  tree.Write("product.xml", "");
  tree.Write("c/n/1/0/product.xml", "");
  EXPECT_EQ(Strings{""}, FindProducts("**", tree.path()));
  EXPECT_EQ(Strings{}, FindProducts("c/**", tree.path()));
}

}  // namespace
