#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "fcboot.h"
#include "files.h"
#include "fwfile/coerce.h"
#include "process.h"
#include "recorder.h"

namespace {

// The position that an operation returns, as the text that begins there.
using Position = FwTextString(FwTextString);

std::string At(Position* pOperation, const std::string& name) {
  std::string copy = name;
  return Text(pOperation(FWT(copy.data())));
}

// ---------------------------------------------------------------------------------------------
// Root

TEST(FwFileParseRoot, MovesPastTheSeparatorOfAnAbsoluteName) {
  FwTextString ptbz = FWT("/a");
  EXPECT_EQ(1, FwFileParseRoot(nullptr, &ptbz));
  EXPECT_EQ("a", Text(ptbz));
}

TEST(FwFileParseRoot, LeavesARelativeNameAlone) {
  FwTextString ptbz = FWT("a/b");
  Record rec("x");
  EXPECT_EQ(0, FwFileParseRoot(rec, &ptbz));
  EXPECT_EQ("a/b", Text(ptbz));
  EXPECT_EQ("x", rec.text());
}

TEST(FwFileParseRoot, AssertsOfNulls) {
  ExpectAsserts expected({"NULL", "NULL"});
  FwTextString ptbz = nullptr;
  EXPECT_EQ(0, FwFileParseRoot(nullptr, nullptr));
  EXPECT_EQ(0, FwFileParseRoot(nullptr, &ptbz));
}

TEST(FwFileBuildRoot, AppendsTheSeparatorForAnEmptyInputOnly) {
  Record rec("x");
  EXPECT_EQ(1, FwFileBuildRoot(rec, FWT("")));
  EXPECT_EQ("x/", rec.text());
  EXPECT_EQ(0, FwFileBuildRoot(rec, FWT("c:")));
  EXPECT_EQ("x/", rec.text());
}

TEST(FwFileBuildRoot, AssertsOfNulls) {
  Record rec;
  ExpectAsserts expected({"NULL", "NULL"});
  EXPECT_EQ(0, FwFileBuildRoot(nullptr, FWT("")));
  EXPECT_EQ(0, FwFileBuildRoot(rec, nullptr));
}

TEST(FwFileSkipRoot, IsParseRootWithoutARecord) {
  FwTextString ptbz = FWT("//a");
  EXPECT_EQ(1, FwFileSkipRoot(&ptbz));
  EXPECT_EQ("/a", Text(ptbz));
}

TEST(FwFileIsAbsolute, LooksAtTheFirstByte) {
  EXPECT_NE(0, FwFileIsAbsolute(FWT("/")));
  EXPECT_NE(0, FwFileIsAbsolute(FWT("/a")));
  EXPECT_EQ(0, FwFileIsAbsolute(FWT("")));
  EXPECT_EQ(0, FwFileIsAbsolute(FWT("a/")));
  EXPECT_EQ(0, FwFileIsAbsolute(FWT("c:/")));
}

TEST(FwFileIsRoot, KnowsOneSeparatorOnly) {
  EXPECT_EQ(1, FwFileIsRoot(FWT("/")));
  EXPECT_EQ(0, FwFileIsRoot(FWT("//")));
  EXPECT_EQ(0, FwFileIsRoot(FWT("")));
  EXPECT_EQ(0, FwFileIsRoot(FWT("/a")));
}

TEST(FwFileCopyRoot, AppendsTheRootAndReturnsWhatIsBehindIt) {
  Record rec("x");
  EXPECT_EQ("a/b", Text(FwFileCopyRoot(rec, FWT("/a/b"))));
  EXPECT_EQ("x/", rec.text());
  EXPECT_EQ("c", Text(FwFileCopyRoot(rec, FWT("c"))));
  EXPECT_EQ("x/", rec.text());
}

TEST(FwFileCopyRoot, AssertsOfNulls) {
  Record rec;
  ExpectAsserts expected({"NULL", "NULL"});
  EXPECT_EQ("/a", Text(FwFileCopyRoot(nullptr, FWT("/a"))));
  EXPECT_EQ(nullptr, FwFileCopyRoot(rec, nullptr));
}

// ---------------------------------------------------------------------------------------------
// Elements

struct PositionRow {
  const char* name;
  const char* rest;
};

TEST(FwFileSkipPathElement, StopsAtTheNextSeparatorOrTheEnd) {
  const PositionRow rows[] = {{"a/b", "/b"}, {"a", ""}, {"", ""}, {"/a", "/a"}, {"ab//c", "//c"}};
  for (const PositionRow& row : rows)
    EXPECT_EQ(row.rest, At(FwFileSkipPathElement, row.name)) << row.name;
}

TEST(FwFileCopyPathElement, AppendsTheElementWithoutItsSeparator) {
  Record rec("x");
  EXPECT_EQ("/b", Text(FwFileCopyPathElement(rec, FWT("a/b"))));
  EXPECT_EQ("xa", rec.text());
  EXPECT_EQ("/b", Text(FwFileCopyPathElement(rec, FWT("/b"))));
  EXPECT_EQ("xa", rec.text());
}

TEST(FwFileCopyPathElement, AssertsOfNulls) {
  Record rec;
  ExpectAsserts expected({"NULL", "NULL"});
  EXPECT_EQ("a", Text(FwFileCopyPathElement(nullptr, FWT("a"))));
  EXPECT_EQ(nullptr, FwFileCopyPathElement(rec, nullptr));
}

TEST(FwFileSkipToLeafname, YieldsTheTailBehindTheLastSeparator) {
  const PositionRow rows[] = {{"/", ""},  {"a/", ""},   {"a", "a"},        {"/a", "a"},
                              {"//", ""}, {"a/b", "b"}, {"/a/b.c", "b.c"}, {"", ""}};
  for (const PositionRow& row : rows)
    EXPECT_EQ(row.rest, At(FwFileSkipToLeafname, row.name)) << row.name;
}

TEST(FwFileLastPathElement, KeepsATrailingSeparator) {
  const PositionRow rows[] = {
      {"/usr/lib/", "lib/"}, {"/usr/lib", "lib"}, {"lib/", "lib/"}, {"lib", "lib"},
      {"/lib", "lib"},       {"/", ""},           {"", ""}};
  for (const PositionRow& row : rows)
    EXPECT_EQ(row.rest, At(FwFileLastPathElement, row.name)) << row.name;
}

TEST(FwFileRemoveLastPathElement, LeavesTheSeparatorBeforeTheElement) {
  const PositionRow rows[] = {{"/a/b", "/a/"}, {"/a/b/", "/a/"}, {"/a", "/"},    {"/", ""},
                              {"a", ""},       {"a/", ""},       {"", ""},       {"a//", "a/"},
                              {"é", ""},       {"/é/ß", "/é/"},  {"ab/c", "ab/"}};
  for (const PositionRow& row : rows) {
    Record rec(row.name);
    FwFileRemoveLastPathElement(rec);
    EXPECT_EQ(row.rest, rec.text()) << row.name;
  }
}

TEST(FwFileRemoveLastPathElement, AssertsOfAMissingTerminator) {
  FwByte buffer[] = "a/bc";
  FwStrRecord rec;
  FwStrRecordOpenOn(&rec, buffer, sizeof buffer);
  rec.pbTerminator = buffer + 3;  // on the c
  ExpectAsserts expected({"String not well terminated in FwFileRemoveLastPathElement"});
  FwFileRemoveLastPathElement(&rec);
  EXPECT_EQ("a/", Text(rec.pbz));
}

TEST(FwFileRemoveLastPathElement, AssertsOfATerminatorBehindAnother) {
  FwByte buffer[] = {'a', '/', 'b', 0, 0};
  FwStrRecord rec;
  FwStrRecordOpenOn(&rec, buffer, sizeof buffer);
  rec.pbTerminator = buffer + 4;
  CollectReports reports;
  FwFileRemoveLastPathElement(&rec);
  ASSERT_FALSE(reports.asserts().empty());
  EXPECT_EQ("Terminator points too far in FwFileRemoveLastPathElement", reports.asserts()[0]);
}

TEST(FwFileRemoveFirstPathElement, CutsUpToAndWithTheFirstSeparator) {
  const PositionRow rows[] = {{"/a/b", "a/b"}, {"a/b", "b"}, {"a", ""}, {"", ""}, {"a//b", "/b"}};
  for (const PositionRow& row : rows) {
    Record rec(row.name);
    FwFileRemoveFirstPathElement(rec);
    EXPECT_EQ(row.rest, rec.text()) << row.name;
  }
}

// ---------------------------------------------------------------------------------------------
// Separators

TEST(FwFileEndsWithSeparator, PointsAtTheFinalOne) {
  EXPECT_EQ("/", At(FwFileEndsWithSeparator, "a/"));
  EXPECT_EQ("/", At(FwFileEndsWithSeparator, "/"));
  EXPECT_EQ(nullptr, FwFileEndsWithSeparator(FWT("a")));
  EXPECT_EQ(nullptr, FwFileEndsWithSeparator(FWT("")));
}

TEST(FwFileEndsWithSeparator, AssertsOfNull) {
  ExpectAsserts expected({"NULL"});
  EXPECT_EQ(nullptr, FwFileEndsWithSeparator(nullptr));
}

TEST(FwFileNativeSeparators, RewritesEachBackslash) {
  Record rec("\\a\\b/c\\");
  FwFileNativeSeparators(rec);
  EXPECT_EQ("/a/b/c/", rec.text());
}

TEST(FwFileNativeSeparators, IgnoresANullRecord) {
  FwFileNativeSeparators(nullptr);
}

TEST(FwFileEnsureTrailingSeparator, AppendsOneWhereItIsMissing) {
  Record rec("a");
  EXPECT_EQ(1, FwFileEnsureTrailingSeparator(rec));
  EXPECT_EQ("a/", rec.text());
  EXPECT_EQ(0, FwFileEnsureTrailingSeparator(rec));
  EXPECT_EQ("a/", rec.text());
}

TEST(FwFileEnsureTrailingSeparator, LeavesAnEmptyRecordEmpty) {
  Record rec;
  EXPECT_EQ(0, FwFileEnsureTrailingSeparator(rec));
  EXPECT_EQ("", rec.text());
}

TEST(FwFileEnsureTrailingSeparator, AssertsOfNull) {
  ExpectAsserts expected({"NULL"});
  EXPECT_EQ(0, FwFileEnsureTrailingSeparator(nullptr));
}

TEST(FwFileEnsureTrailingSeparatorRealloc, ReplacesTheString) {
  FwTextString ptbz = FwStrDuplicate(FWT("a"));
  EXPECT_EQ(1, FwFileEnsureTrailingSeparatorRealloc(&ptbz));
  EXPECT_EQ("a/", Text(ptbz));
  FwTextString ptbzSame = ptbz;
  EXPECT_EQ(0, FwFileEnsureTrailingSeparatorRealloc(&ptbz));
  EXPECT_EQ(ptbzSame, ptbz);
  FwMemFree(ptbz);
}

TEST(FwFileEnsureTrailingSeparatorRealloc, LeavesAnEmptyStringEmpty) {
  FwTextString ptbz = FwStrDuplicate(FWT(""));
  EXPECT_EQ(0, FwFileEnsureTrailingSeparatorRealloc(&ptbz));
  EXPECT_EQ("", Take(ptbz));
}

TEST(FwFileRemoveTrailingSeparator, LeavesTheRootAloneWhereTheRecordFormEmptiesIt) {
  char root[] = "/";
  EXPECT_EQ(0, FwFileRemoveTrailingSeparator(FWT(root)));
  EXPECT_STREQ("/", root);
  Record rec("/");
  EXPECT_EQ(1, FwFileRemoveTrailingSeparatorRec(rec));
  EXPECT_EQ("", rec.text());
}

TEST(FwFileRemoveTrailingSeparator, CutsInPlace) {
  char name[] = "a/b/";
  EXPECT_EQ(1, FwFileRemoveTrailingSeparator(FWT(name)));
  EXPECT_STREQ("a/b", name);
  EXPECT_EQ(0, FwFileRemoveTrailingSeparator(FWT(name)));
  char two[] = "//";
  EXPECT_EQ(1, FwFileRemoveTrailingSeparator(FWT(two)));
  EXPECT_STREQ("/", two);
}

TEST(FwFileRemoveTrailingSeparatorRec, CutsOneSeparator) {
  Record rec("a//");
  EXPECT_EQ(1, FwFileRemoveTrailingSeparatorRec(rec));
  EXPECT_EQ("a/", rec.text());
  Record none("a");
  EXPECT_EQ(0, FwFileRemoveTrailingSeparatorRec(none));
  EXPECT_EQ("a", none.text());
  Record empty;
  EXPECT_EQ(0, FwFileRemoveTrailingSeparatorRec(empty));
}

TEST(FwFileRemoveTrailingSeparatorRec, AssertsOfNull) {
  ExpectAsserts expected({"NULL"});
  EXPECT_EQ(0, FwFileRemoveTrailingSeparatorRec(nullptr));
}

// ---------------------------------------------------------------------------------------------
// Joining

struct JoinRow {
  const char* left;
  const char* right;
  const char* joined;
};

constexpr JoinRow kJoins[] = {
    {"", "/b", "b"},      {"a/", "//b", "a//b"}, {"a", "b", "a/b"}, {"a/", "/b", "a/b"},
    {"/a", "/b", "/a/b"}, {"a", "", "a/"},       {"", "", ""},      {"/", "/", "/"},
};

TEST(FwFilenameConcatenate, PutsOneSeparatorBetweenAndDropsOneLeadingOne) {
  for (const JoinRow& row : kJoins) {
    Record rec(row.left);
    FwFilenameConcatenate(rec, Txt(row.right));
    EXPECT_EQ(row.joined, rec.text()) << row.left << " and " << row.right;
  }
}

TEST(FwFilenameConcatenate, AssertsOfNulls) {
  Record rec("a");
  ExpectAsserts expected({"NULL", "NULL"});
  FwFilenameConcatenate(nullptr, FWT("b"));
  FwFilenameConcatenate(rec, nullptr);
  EXPECT_EQ("a", rec.text());
}

TEST(FwFilenameConcatenateAlloc, MakesANewString) {
  for (const JoinRow& row : kJoins)
    EXPECT_EQ(row.joined, Take(FwFilenameConcatenateAlloc(Txt(row.left), Txt(row.right))))
        << row.left << " and " << row.right;
}

TEST(FwFilenameConcatenateEx, AbsorbsForeignSeparators) {
  const JoinRow rows[] = {{"a", "b\\c:d", "a/b/c/d"},
                          {"a", "//b", "a/b"},
                          {"", "x/y/", "x/y"},
                          {"a", "", "a"},
                          {"a/", "::", "a/"}};
  for (const JoinRow& row : rows) {
    Record rec(row.left);
    FwFilenameConcatenateEx(rec, FWT(row.right));  // a literal: it works on a copy
    EXPECT_EQ(row.joined, rec.text()) << row.left << " and " << row.right;
  }
}

// ---------------------------------------------------------------------------------------------
// Absolute names

TEST(FwFileAbsolutePath, CopiesAnAbsoluteName) {
  Error err;
  FwTextString ptbzName = FWT("/a/../b//.");
  FwTextString ptbz = FwFileAbsolutePath(err, ptbzName);
  EXPECT_NE(ptbzName, ptbz);
  EXPECT_EQ("/a/../b//.", Take(ptbz));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFileAbsolutePath, PutsTheCurrentDirectoryBeforeARelativeNameAndKeepsDots) {
  CurrentDirectory current("/here/");
  Error err;
  EXPECT_EQ("/here/../x", Take(FwFileAbsolutePath(err, FWT("../x"))));
  EXPECT_EQ("/here/", Take(FwFileAbsolutePath(err, FWT(""))));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFileAbsolutePath, RefusesARelativeNameWithoutACurrentDirectory) {
  CurrentDirectory current(nullptr);
  Error err;
  EXPECT_EQ(nullptr, FwFileAbsolutePath(err, FWT("a")));
  EXPECT_EQ("StringSyntax File a", Describe(err));
}

TEST(FwFileAbsolutePath, AssertsOfNull) {
  ExpectAsserts expected({"NULL filename"});
  Error err;
  EXPECT_EQ(nullptr, FwFileAbsolutePath(err, nullptr));
  EXPECT_EQ("PointerNull", Describe(err));
}

struct CoerceRow {
  uint32 flags;
  const char* name;
  const char* result;  // null: refused
  const char* text;    // the assertion; null: none
};

constexpr char kMissing[] = "directory name missing trailing directory separator ";
constexpr char kTrailing[] = "trailing directory separator when file name expected";
constexpr char kRoot[] = "root directory when file name expected";

const CoerceRow kCoerceRows[] = {
    {1, "/a", "/a", nullptr},     {1, "/a/", nullptr, kTrailing}, {1, "/", nullptr, kRoot},
    {2, "/a", nullptr, kMissing}, {2, "/a/", "/a/", nullptr},     {2, "/", nullptr, kRoot},
    {3, "/a", "/a", nullptr},     {3, "/a/", "/a/", nullptr},     {3, "/", nullptr, kRoot},
    {4, "/a", "/a", nullptr},     {4, "/a/", nullptr, kTrailing}, {4, "/", "/", nullptr},
    {6, "/a", "/a", nullptr},     {6, "/a/", "/a/", nullptr},     {6, "/", "/", nullptr},
    {7, "/a", "/a", nullptr},     {7, "/a/", "/a/", nullptr},     {7, "/", "/", nullptr},
    {1, "a", "/here/a", nullptr}, {1, "a/", nullptr, kTrailing},  {2, "a", nullptr, kMissing},
    {2, "", "/here/", nullptr},   {7, "a", "/here/a", nullptr},   {1, "", nullptr, kTrailing},
};

TEST(FiFileCoerceFilename, AcceptsTheKindsOfNameAskedForAndNamesTheOthers) {
  CurrentDirectory current("/here/");
  for (const CoerceRow& row : kCoerceRows) {
    SCOPED_TRACE(std::to_string(row.flags) + " " + row.name);
    std::vector<std::string> texts;
    if (row.text) texts.push_back(row.text);
    ExpectAsserts expected(texts);
    Error err;
    std::string name = row.name;
    FwTextString ptbz = FiFileCoerceFilename(err, FWT(name.data()), row.flags);
    if (row.result) {
      EXPECT_EQ(row.result, Text(ptbz));
      EXPECT_EQ(name[0] == '/', ptbz == FWT(name.data()));
      EXPECT_EQ("clear", Describe(err));
    } else {
      EXPECT_EQ(nullptr, ptbz);
      EXPECT_EQ("StringValue File " + name, Describe(err));
    }
    FiFileFreeCoerced(ptbz, FWT(name.data()));
  }
}

TEST(FwFilenameLengthOK, MeasuresTheAbsoluteForm) {
  CurrentDirectory current("/here/");
  EXPECT_EQ(1, FwFilenameLengthOK(Txt("/" + std::string(4093, 'a'))));
  EXPECT_EQ(0, FwFilenameLengthOK(Txt("/" + std::string(4094, 'a'))));
  EXPECT_EQ(1, FwFilenameLengthOK(Txt(std::string(4094 - 6, 'a'))));
  EXPECT_EQ(0, FwFilenameLengthOK(Txt(std::string(4095 - 6, 'a'))));
}

TEST(FwFilenameLengthOK, IsFalseForANameThatCannotBeMadeAbsolute) {
  CurrentDirectory current(nullptr);
  EXPECT_EQ(0, FwFilenameLengthOK(FWT("a")));
}

// ---------------------------------------------------------------------------------------------
// FwFilenameContainsFilename

std::string Contains(const std::string& first, const std::string& second, FwErrorState* err) {
  return Take(FwFilenameContainsFilename(err, Txt(first), Txt(second)));
}

TEST(FwFilenameContainsFilename, FindsTheHeadByIdentity) {
  TemporaryTree tree;
  tree.Write("real/sub/file", "");
  tree.Link("link", "real");
  Error err;
  EXPECT_EQ(tree / "link", Contains(tree / "real", tree / "link/sub/file", err));
  EXPECT_EQ(tree / "real", Contains(tree / "link/", tree / "real/sub/", err));
  EXPECT_EQ(tree / "link/sub", Contains(tree / "real/sub", tree / "link/sub/file", err));
  EXPECT_EQ("clear", Describe(err));
}

TEST(FwFilenameContainsFilename, ComparesTheWholeNameAsTextOnly) {
  TemporaryTree tree;
  tree.Directory("real");
  tree.Link("link", "real");
  Error err;
  EXPECT_EQ(tree / "real", Contains(tree / "real", tree / "real", err));
  EXPECT_EQ("(null)", Contains(tree / "real", tree / "link", err));
}

TEST(FwFilenameContainsFilename, CutsTheSeparatorOfTheFirstName) {
  TemporaryTree tree;
  Error err;
  std::string first = tree.path() + "/";
  std::string second = tree / "x/y";
  FwTextString ptbz = FwFilenameContainsFilename(err, FWT(first.data()), FWT(second.data()));
  EXPECT_EQ(tree.path(), Take(ptbz));
  EXPECT_EQ(tree.path(), first.c_str());
}

TEST(FwFilenameContainsFilename, TellsNullsApart) {
  Error err;
  EXPECT_EQ("", Take(FwFilenameContainsFilename(err, nullptr, nullptr)));
  EXPECT_EQ(nullptr, FwFilenameContainsFilename(err, nullptr, FWT("/a")));
  EXPECT_EQ(nullptr, FwFilenameContainsFilename(err, FWT("/a"), nullptr));
}

TEST(FwFilenameContainsFilename, LeavesTheErrorOfTheIdentityTest) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ("(null)", Contains(tree.path(), "/no-such/x/y", err));
  EXPECT_EQ("NonExistent File /no-such/x", Describe(err));
}

// ---------------------------------------------------------------------------------------------
// Extensions

TEST(FwFileFindExtension, FindsTheTextBehindTheLastDotOfTheLeaf) {
  const PositionRow rows[] = {{"a.b/c", "(null)"}, {"a.", ""},         {".profile", "profile"},
                              {"a.b.c", "c"},      {"name", "(null)"}, {"", "(null)"},
                              {"/x.y/é.ß", "ß"},   {"a.b/", "(null)"}};
  for (const PositionRow& row : rows) {
    Record rec(row.name);
    EXPECT_EQ(row.rest, Text(FwFileFindExtension(rec))) << row.name;
  }
}

TEST(FwFileCheckExtension, ComparesExactly) {
  Record rec("a.Txt");
  EXPECT_EQ(1, FwFileCheckExtension(rec, FWT("Txt")));
  EXPECT_EQ(0, FwFileCheckExtension(rec, FWT("txt")));
  EXPECT_EQ(0, FwFileCheckExtension(rec, FWT(".Txt")));
  Record none("a");
  EXPECT_EQ(0, FwFileCheckExtension(none, FWT("")));
  Record dot("a.");
  EXPECT_EQ(1, FwFileCheckExtension(dot, FWT("")));
}

struct ExtensionRow {
  const char* name;
  const char* ext;  // null: cut
  int32 result;
  const char* changed;
};

TEST(FwFileChangeExtension, ReplacesCutsOrLeaves) {
  const ExtensionRow rows[] = {
      {"name", "txt", 0, "name"},     {"name.c", "txt", 1, "name.txt"},
      {"name.c", nullptr, 1, "name"}, {"name", nullptr, 0, "name"},
      {"a.b/c", "x", 0, "a.b/c"},     {"name.", "x", 1, "name.x"},
      {".profile", nullptr, 1, ""},   {"name.c", "", 1, "name."},
  };
  for (const ExtensionRow& row : rows) {
    Record rec("before");
    EXPECT_EQ(row.result, FwFileChangeExtension(FWT(row.name), rec, FWT(row.ext))) << row.name;
    EXPECT_EQ(row.changed, rec.text()) << row.name;
  }
}

// ---------------------------------------------------------------------------------------------
// The process directories

// The process directories as a boot with these arguments finds them.
class Boot {
 public:
  Boot() : app_(FcAppDir), current_(FcCurrentDir), name_(FcAppFileName), path_(getenv("PATH")) {
    platform_ = fcBootContext.control.platform;
    FcAppDir = FcCurrentDir = FcAppFileName = nullptr;
    char directory[4096];
    cwd_ = getcwd(directory, sizeof directory);
  }
  ~Boot() {
    FcFileShutdown();
    FcAppDir = app_;
    FcCurrentDir = current_;
    FcAppFileName = name_;
    fcBootContext.control.platform = platform_;
    setenv("PATH", path_.c_str(), 1);
    EXPECT_EQ(0, chdir(cwd_.c_str()));
  }
  Boot(const Boot&) = delete;
  Boot& operator=(const Boot&) = delete;

  void Run(const char* argv0) {
    argv0_ = argv0 ? argv0 : "";
    argv_[0] = argv0_.data();
    fcBootContext.control.platform.argc = argv0 ? 1 : 0;
    fcBootContext.control.platform.argv = argv_;
    FcFileInit();
  }

 private:
  FwTextString app_, current_, name_;
  std::string path_, cwd_, argv0_;
  FwPlatformControlContext platform_;
  char* argv_[2] = {};
};

TEST(FcFileInit, ResolvesAProgramNamedWithASeparator) {
  TemporaryTree tree;
  tree.Write("bin/program", "");
  tree.Link("link", "bin/program");
  Boot boot;
  ExpectAsserts none({});
  boot.Run((tree / "link").c_str());
  EXPECT_EQ(tree / "bin/program", Text(FwAppFileName()));
  EXPECT_EQ(tree / "bin/", Text(FwAppDir()));
}

TEST(FcFileInit, FindsAProgramStartedByItsBareNameAlongPath) {
  TemporaryTree tree;
  tree.Write("two/program", "not executable, which nobody asks");
  tree.Write("three/program", "");
  Boot boot;
  setenv("PATH", ((tree / "one") + ":" + (tree / "two") + "::" + (tree / "three")).c_str(), 1);
  boot.Run("program");
  EXPECT_EQ(tree / "two/program", Text(FwAppFileName()));
  EXPECT_EQ(tree / "two/", Text(FwAppDir()));
}

TEST(FcFileInit, MakesAProgramOfARelativePathEntryAbsolute) {
  TemporaryTree tree;
  tree.Write("bin/program", "");
  Boot boot;
  ASSERT_EQ(0, chdir(tree.path().c_str()));
  setenv("PATH", "bin", 1);
  boot.Run("program");
  EXPECT_EQ(tree / "bin/program", Text(FwAppFileName()));
  EXPECT_EQ(tree.path() + "/", Text(FwCurrentDir()));
}

TEST(FcFileInit, KnowsNoProgramWithoutPathAndSaysNothing) {
  Boot boot;
  unsetenv("PATH");
  ExpectAsserts none({});
  boot.Run("program");
  EXPECT_EQ(nullptr, FwAppFileName());
  EXPECT_EQ(nullptr, FwAppDir());
}

TEST(FcFileInit, KnowsNoProgramThatDoesNotExist) {
  Boot boot;
  ExpectAsserts none({});
  boot.Run("/no-such/program");
  EXPECT_EQ(nullptr, FwAppFileName());
  EXPECT_EQ(nullptr, FwAppDir());
}

TEST(FcFileInit, KnowsNoProgramWithoutArguments) {
  Boot boot;
  ExpectAsserts none({});
  boot.Run(nullptr);
  EXPECT_EQ(nullptr, FwAppFileName());
  EXPECT_NE(nullptr, FwCurrentDir());
}

TEST(FcFileInit, KnowsNoCurrentDirectoryThatWasDeleted) {
  TemporaryTree tree;
  Boot boot;
  ASSERT_EQ(0, chdir(tree.Directory("gone").c_str()));
  ASSERT_EQ(0, rmdir((tree / "gone").c_str()));
  ExpectAsserts none({});
  boot.Run(nullptr);
  EXPECT_EQ(nullptr, FwCurrentDir());
}

TEST(FcFileInit, CutsACurrentDirectoryThatTheLocaleCannotSay) {
  TemporaryTree tree;
  Boot boot;
  ASSERT_EQ(0, chdir(tree.Directory("é").c_str()));
  testing::internal::CaptureStdout();
  {
    PlainLocale plain;
    ExpectAsserts expected(
        {"Invalid multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]"});
    boot.Run(nullptr);
  }
  EXPECT_EQ("Failing string: " + (tree / "é") + "\n", testing::internal::GetCapturedStdout());
  EXPECT_EQ(tree.path() + "/", Text(FwCurrentDir()));
}

TEST(FcFileInit, AssertsOfDirectoriesThatAreNone) {
  TemporaryTree tree;
  Boot boot;
  ASSERT_EQ(0, chdir(tree.Directory("gone").c_str()));
  ASSERT_EQ(0, rmdir((tree / "gone").c_str()));
  // What no source replaces is what the checks see.
  FcAppDir = FwStrDuplicate(FWT("/without-separator"));
  FcCurrentDir = FwStrDuplicate(FWT("relative/"));
  FcAppFileName = FwStrDuplicate(FWT("relative"));
  ExpectAsserts expected({"bad app dir", "bad current dir", "bad app file name"});
  boot.Run(nullptr);
}

TEST(FcFileShutdown, FreesTheDirectories) {
  Boot boot;
  boot.Run(nullptr);
  FcFileShutdown();
  EXPECT_EQ(nullptr, FwAppDir());
  EXPECT_EQ(nullptr, FwCurrentDir());
  EXPECT_EQ(nullptr, FwAppFileName());
}

}  // namespace
