// The latest version and revision on disk.
#include "wqlatest.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <dirent.h>

#include <string>

#include "engine_support.h"
#include "warehouse.h"

namespace {

std::string Latest(FwErrorState* err, const std::string& base, const char* version,
                   const char* rev) {
  WH_PRODUCT_NAME* name = Prodname("C", "N", version, rev);
  wh_latest_prodname(err, name, Fwt(base));
  std::string result = Str(name->version) + "/" + Str(name->rev);
  free_prodname(&name);
  return result;
}

std::string FindLatest(FwErrorState* err, const std::string& dir, const char* platform = nullptr,
                       Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  FwStrRecord path;
  FwStrRecordOpen(&path);
  FwStrPutTextString(&path, Fwt(dir));
  WQ_PARSED_VERSION* latest =
      wq_find_latest_platform(err, &path, platform ? FWT(platform) : nullptr);
  std::string result = Take(FwStrRecordClose(&path));
  if (latest == nullptr) return "none";
  EXPECT_EQ(dir + "/" + Str(latest->version), result);
  result = Str(latest->version);
  free_parsed_version(&latest);
  return result;
}

TEST(Latest, PlusBecomesTheHighestVersionAndItsHighestRev) {
  TemporaryTree tree;
  for (const char* dir : {"C/N/1.9/7", "C/N/1.10/3", "C/N/1.10/20"})
    tree.Directory(dir);
  Error err;
  EXPECT_EQ("1.10/20", Latest(&err, tree.path(), "+", "+"));
  EXPECT_EQ("1.9/7", Latest(&err, tree.path(), "1.9", "+"));
  EXPECT_EQ("1.10/3", Latest(&err, tree.path(), "+", "3"));
  EXPECT_EQ("1.10/3", Latest(&err, tree.path(), "1.10", "3"));
  EXPECT_EQ("", err.text());
}

TEST(Latest, ACategoryMayHaveSeveralElements) {
  TemporaryTree tree;
  tree.Directory("a/b/N/2/1");
  Error err;
  WH_PRODUCT_NAME* name = Prodname("a:b", "N", "+", "+");
  wh_latest_prodname(&err, name, Fwt(tree.path()));
  EXPECT_EQ("a/b|N|2|1", Fields(name));
  free_prodname(&name);
}

TEST(Latest, OfEqualVersionsTheFirstInDirectoryOrderStays) {
  TemporaryTree tree;
  tree.Directory("d/1.0");
  tree.Directory("d/1.00");
  std::string first;
  DIR* dir = opendir((tree / "d").c_str());
  while (dirent* entry = readdir(dir))
    if (first.empty() && entry->d_name[0] != '.') first = entry->d_name;
  closedir(dir);
  Error err;
  EXPECT_EQ(first, FindLatest(&err, tree / "d"));
}

TEST(Latest, AStatedVersionMustExist) {
  TemporaryTree tree;
  tree.Directory("C/N/1.9/1");
  Error err;
  EXPECT_EQ("1.8/+", Latest(&err, tree.path(), "1.8", "+"));
  EXPECT_EQ(fwErrorNonExistent, err.pError);
  EXPECT_EQ("*** Error: File " + tree.path() + "/C/N/1.8 Does not exist", err.text());
}

TEST(Latest, AStatedRevMustExist) {
  TemporaryTree tree;
  tree.Directory("C/N/1.9/1");
  Error err;
  EXPECT_EQ("1.9/2", Latest(&err, tree.path(), "+", "2"));
  EXPECT_EQ("*** Error: File " + tree.path() + "/C/N/1.9/2 Does not exist", err.text());
}

TEST(Latest, APlainFileCountsAsAVersionAndHasNoRev) {
  TemporaryTree tree;
  tree.Directory("C/N/1.9/1");
  tree.Write("C/N/zzz", "");
  Error err;
  EXPECT_EQ("zzz/+", Latest(&err, tree.path(), "+", "+"));
  EXPECT_EQ(fwErrorStringValue, err.pError);
}

TEST(Latest, ADanglingLinkIsAnEntryLikeAnyOther) {
  TemporaryTree tree;
  tree.Directory("d/1");
  tree.Link("d/2", "nowhere");
  Error err;
  EXPECT_EQ("2", FindLatest(&err, tree / "d"));
}

TEST(Latest, ADirectoryWithoutEntriesIsAFailedOperation) {
  TemporaryTree tree;
  tree.Directory("C/N/1.9");
  Error err;
  EXPECT_EQ("1.9/+", Latest(&err, tree.path(), "1.9", "+"));
  EXPECT_EQ(fwErrorOperationFailed, err.pError);
  EXPECT_EQ("*** Error: Operation failed", err.text());
}

TEST(Latest, AMissingDirectoryIsTheErrorOfOpeningIt) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ("+/+", Latest(&err, tree.path(), "+", "+"));
  EXPECT_EQ("*** Error: File " + tree.path() + "/C/N/ Does not exist", err.text());
}

TEST(Latest, AnEarlierErrorKeepsTheFieldFromBeingReplaced) {
  TemporaryTree tree;
  tree.Directory("C/N/1.9/1");
  Error err;
  FwErrorSet(&err, fwErrorAbort, 0);
  EXPECT_EQ("+/+", Latest(&err, tree.path(), "+", "+"));
  EXPECT_EQ(fwErrorAbort, err.pError);
}

TEST(Latest, OnlyEntriesForThePlatformCount) {
  TemporaryTree tree;
  tree.Directory("d/1.0/unix");
  tree.Directory("d/1.1/lib/linux-x86");
  tree.Directory("d/1.2/lib/deep/unix");
  tree.Directory("d/1.3/win");
  tree.Write("d/1.4", "");
  Error err;
  EXPECT_EQ("1.0", FindLatest(&err, tree / "d", "solaris_8-sparc"));
  EXPECT_EQ("1.3", FindLatest(&err, tree / "d", "win_xp-x86"));
  EXPECT_EQ("1.4", FindLatest(&err, tree / "d"));
}

TEST(Latest, PlusStandsForTheHostsPlatform) {
  TemporaryTree tree;
  Error err;
  tree.Directory("v/" + Str(wh_host_platform));
  tree.Directory("w/nosuchsystem");
  EXPECT_EQ(1, wq_version_or_rev_contains_platform(&err, Fwt(tree / "v"), FWT("+")));
  EXPECT_EQ(0, wq_version_or_rev_contains_platform(&err, Fwt(tree / "w"), FWT("+")));
  EXPECT_EQ(1, wq_version_or_rev_contains_platform(&err, Fwt(tree / "w"), nullptr));
  EXPECT_EQ("", err.text());
  EXPECT_EQ(0, wq_version_or_rev_contains_platform(&err, Fwt(tree / "x"), FWT("+")));
}

TEST(Latest, VersionAndRevTogether) {
  TemporaryTree tree;
  for (const char* dir : {"N/1.9/7", "N/1.10/3", "E/1"})
    tree.Directory(dir);
  Error err;
  FwStrRecord rec;
  FwStrRecordOpen(&rec);
  WQ_VER_REV vr = wq_latest_version_and_rev(&err, &rec, FWT("N"), Fwt(tree.path()));
  ASSERT_NE(nullptr, vr.rev);
  EXPECT_EQ("1.10 3", Str(vr.version->version) + " " + Str(vr.rev->version));
  EXPECT_EQ(tree / "N/1.10/3", Str(rec.pbz));
  free_vr(&vr);
  EXPECT_EQ(nullptr, vr.version);
  EXPECT_EQ(nullptr, vr.rev);

  FwStrRecordShorten(&rec, 0);
  vr = wq_latest_version_and_rev(&err, &rec, FWT("E"), Fwt(tree.path()));
  EXPECT_EQ(nullptr, vr.version);
  EXPECT_EQ(nullptr, vr.rev);
  EXPECT_EQ("", Str(rec.pbz));
  EXPECT_EQ("*** Error: Operation failed", err.text());

  vr = wq_latest_version_and_rev(&err, &rec, FWT("E"), nullptr);
  EXPECT_EQ(nullptr, vr.version);
  FwStrRecordAbandon(&rec);
  free_vr(nullptr);
}

TEST(Latest, BetterIsHigherByVersionThenByRev) {
  auto vr = [](const char* version, const char* rev) {
    WQ_VER_REV made;
    if (version) made.version = wq_parse_version(FWT(version));
    if (rev) made.rev = wq_parse_version(FWT(rev));
    return made;
  };
  struct {
    const char* maybe[2];
    const char* sofar[2];
    int better;
  } rows[] = {
      {{nullptr, nullptr}, {nullptr, nullptr}, 0},
      {{nullptr, nullptr}, {"1", "1"}, 0},
      {{"1", "1"}, {nullptr, nullptr}, 1},
      {{"1.10", "1"}, {"1.9", "2"}, 1},
      {{"1.9", "2"}, {"1.10", "1"}, 0},
      {{"1.0", "10"}, {"1.0", "9"}, 1},
      {{"1.0", "9"}, {"1.0", "9"}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.maybe) + " " + testing::PrintToString(row.sofar));
    WQ_VER_REV maybe = vr(row.maybe[0], row.maybe[1]);
    WQ_VER_REV sofar = vr(row.sofar[0], row.sofar[1]);
    EXPECT_EQ(row.better, wq_vr_better(maybe, sofar));
    free_vr(&maybe);
    free_vr(&sofar);
  }
}

}  // namespace
