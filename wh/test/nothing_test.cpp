// What comes of nothing: missing names, empty directories, files that hold a line end only.
#include <gtest/gtest.h>

#include <string>

#include "engine_support.h"
#include "environ.h"
#include "prodinfo.h"
#include "warehouse.h"
#include "wqlatest.h"

namespace {

TEST(Nothing, IsNotAName) {
  EXPECT_EQ(0, wh_env_compare(nullptr, nullptr));
  EXPECT_EQ(0, wh_env_compare(nullptr, FWT("A")));
  EXPECT_EQ(0, wh_env_compare(FWT("A"), nullptr));
  EXPECT_EQ(1, wh_env_compare(FWT("A"), FWT("A")));
}

TEST(Nothing, IsFreedAsNothing) {
  WH_PRODUCT_INFO* info = nullptr;
  free_prodinfo(&info);
  EXPECT_EQ(nullptr, info);
  free_vr(nullptr);
}

TEST(Nothing, OfAVersionThereIsNoRev) {
  TemporaryTree tree;
  tree.Directory("N/1.0");
  FwStrRecord rec;
  FwStrRecordOpen(&rec);
  for (const char* component : {"M", "N"}) {
    SCOPED_TRACE(component);
    Error err;
    const WQ_VER_REV vr = wq_latest_version_and_rev_platform(&err, &rec, FWT(component),
                                                             Fwt(tree.path()), FWT("linux-x86"));
    EXPECT_EQ(nullptr, vr.version) << component;
    EXPECT_EQ(nullptr, vr.rev) << component;
    EXPECT_EQ("", Str(rec.pbz)) << component;
    EXPECT_EQ(component[0] == 'M' ? "*** Error: File " + (tree / "M/") + " Does not exist"
                                  : "*** Error: Operation failed",
              err.text());
  }
  FwStrRecordAbandon(&rec);
}

TEST(Nothing, IsForAPlatformInAPlainFile) {
  TemporaryTree tree;
  tree.Write("v/file", "");
  tree.Write("v/lib/file", "");
  Error err;
  EXPECT_EQ(0, wq_version_or_rev_contains_platform(&err, Fwt(tree / "v"), FWT("linux-x86")));
  EXPECT_EQ("", err.text());
}

TEST(Nothing, IsLeftOfALineEnd) {
  TemporaryTree tree;
  WH_SYMTAB* symtab = make_symtab(FWT("file"));
  for (const char* content : {"\n", "\r", "\r\n"}) {
    SCOPED_TRACE(content);
    Error err;
    EXPECT_EQ("", Take(wh_expand(&err, Fwt("%[" + tree.Write("f", content) + "]"), symtab)));
    EXPECT_EQ("", err.text());
  }
  free_symtab(&symtab);
}

}  // namespace
