// The steps from queries to an environment, as every program takes them.
#include "computation.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "engine_support.h"
#include "wherror.h"

namespace {

using Strings = std::vector<std::string>;
using Groups = std::vector<Strings>;
using Map = std::map<std::string, std::string>;

// One computation on a warehouse, from a small environment.
class Computation {
 public:
  explicit Computation(const Groups& groups, const std::string& version = "1") {
    wh_errors = 0;
    FwVectorOpen(&lists_, 2);
    for (const Strings& group : groups) {
      WH_PRODUCT_QUERY_LIST* list = make_querylist();
      for (const std::string& name : group)
        add_query(list,
                  make_query(Prodname("C", name.c_str(), version.c_str(), "0"), make_pattern(), 0));
      FwVectorAddElement(&lists_, list);
    }
    all_.group_querylists = &lists_;
    all_.set = all_.emulate = 1;
    all_.report = Reports::Collect;  // which counts in wh_errors, as it must
    all_.err = &err_;
    all_.oldenv = make_environ();
    wh_set_ev(all_.oldenv, FWT("V"), FWT("old"));
  }
  ~Computation() {
    wh_computation_close(&all_);
    EXPECT_EQ(nullptr, err_.pError);
    for (int32 i = 0; i < FwVectorLength(&lists_); ++i) {
      auto* list = static_cast<WH_PRODUCT_QUERY_LIST*>(FwVectorGetElement(&lists_, i));
      free_querylist(&list);
    }
    FwVectorAbandon(&lists_, 0);
    wh_errors = 0;
  }
  Computation(const Computation&) = delete;
  Computation& operator=(const Computation&) = delete;

  // How many of the four steps succeed one after the other.
  int Steps(const std::string& root) {
    if (!wh_computation_open(&all_, Fwt(root))) return 0;
    if (!wh_computation_find_latest(&all_)) return 1;
    if (!wh_computation_load(&all_)) return 2;
    return wh_computation_compute(&all_) ? 4 : 3;
  }
  Map Result() const {
    const Environment copy(dup_environ(all_.newenv));
    return copy.map();
  }
  WH_COMPUTATION* operator->() { return &all_; }

 private:
  FwVector lists_ = {};
  FwErrorState err_;
  WH_COMPUTATION all_ = {};
};

TEST(Computation, ALaterGroupStartsFromTheResultOfTheOneBefore) {
  Warehouse w;
  w.Add("A", Insert("V", "a"));
  w.Add("B", Remove("V", {"a"}) + Insert("V", "b"));
  Reports reports;
  Computation together(Groups{Strings{"A", "B"}});
  EXPECT_EQ(3, together.Steps(w.path()));
  EXPECT_EQ(1u, reports.lines().size());
  Computation one_by_one(Groups{Strings{"A"}, Strings{"B"}});
  EXPECT_EQ(4, one_by_one.Steps(w.path()));
  EXPECT_EQ((Map{{"V", "old:b"}}), one_by_one.Result());
}

TEST(Computation, FillsInWhatIsLatestAndLeavesTheStartAlone) {
  Warehouse w;
  w.Add("A", Insert("V", "a"));
  Reports reports;
  Computation computation(Groups{Strings{"A"}}, "+");
  EXPECT_EQ(4, computation.Steps(w.path() + "/"));
  EXPECT_EQ((Map{{"V", "old:a"}}), computation.Result());
  EXPECT_STREQ("old", FWC(wh_lookup_ev(FWT("V"), computation->oldenv)));
  EXPECT_EQ(w.path(), FWC(computation->abs_basedir));
  EXPECT_EQ(Strings{}, reports.lines());
}

// The error stays, so that the query behind it, which would be all right, fails as well.
TEST(Computation, EachQueryBehindAFaultIsReported) {
  Warehouse w;
  w.Add("B", Insert("V", "b"));
  Reports reports;
  Computation computation(Groups{Strings{"A"}, Strings{"B"}});
  EXPECT_EQ(1, computation.Steps(w.path()));
  EXPECT_EQ(2, computation->errors);
  EXPECT_EQ(2u, reports.lines().size());
}

TEST(Computation, WhatIsMissingIsNotAFaultIfItIsToBeIgnored) {
  Warehouse w;
  w.Add("B", Insert("V", "b"));
  Reports reports;
  Computation computation(Groups{Strings{"A", "B"}});
  computation->ignore_missing = 1;
  EXPECT_EQ(4, computation.Steps(w.path()));
  EXPECT_EQ((Map{{"V", "old:b"}}), computation.Result());
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(Computation, ProductsThatCannotBeReadEndItBeforeAnythingIsComputed) {
  Warehouse w;
  w.Add("A", Insert("V", "a"));
  w.Write("A", "env.xml", "<ENV-SETTINGS>");
  Reports reports;
  Computation computation(Groups{Strings{"A"}});
  EXPECT_EQ(2, computation.Steps(w.path()));
  EXPECT_EQ(nullptr, computation->newenv);
  EXPECT_EQ(1u, reports.lines().size());
}

}  // namespace
