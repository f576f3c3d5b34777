#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "model_support.h"

namespace {

struct OpRow {
  const char* lhs;
  int op;
  const char* rhs;
  int expected;
};

TEST(TestOp, EachOperatorMeansThis) {
  const OpRow rows[] = {
      {"1.0", 0, "1.0", 1},  {"1.0", 0, "1.00", 0}, {"a", 0, "A", 0},      {"1.0", 1, "1.00", 1},
      {"1.9", 1, "1.10", 0},  //
      {"1.10", 2, "1.9", 0}, {"1.9", 2, "1.10", 1}, {"1.9", 2, "1.9", 0},  {"1.9", 3, "1.10", 1},
      {"1.9", 3, "1.9", 1},  {"1.10", 3, "1.9", 0}, {"1.10", 4, "1.9", 1}, {"1.9", 4, "1.9", 0},
      {"1.9", 4, "1.10", 0}, {"1.10", 5, "1.9", 1}, {"1.9", 5, "1.9", 1},  {"1.9", 5, "1.10", 0},
      {"1.0", 6, "1.00", 0}, {"1.9", 6, "1.10", 1},  //
      {"abc", 7, "a*", 1},   {"a*", 7, "abc", 0},   {"abc", 7, "abc", 1},  {"abc", 7, "b*", 0},
  };
  for (const OpRow& row : rows)
    EXPECT_EQ(row.expected, wh_test_op(FWT(row.lhs), row.op, FWT(row.rhs)))
        << row.lhs << " " << row.op << " " << row.rhs;
}

TEST(TestOp, AnUnknownOperatorIsReportedOnStandardOutput) {
  for (int op : {-1, -2, 8, 1000}) {
    SCOPED_TRACE(op);
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, wh_test_op(FWT("a"), op, FWT("b")));
    fflush(stdout);
    EXPECT_EQ("operator 'error' is not implemented\n", testing::internal::GetCapturedStdout());
  }
}

TEST(TestOp, ANullSideNeverHolds) {
  for (int op = 0; op <= 7; op++) {
    SCOPED_TRACE(op);
    EXPECT_EQ(0, wh_test_op(nullptr, op, FWT("b")));
    EXPECT_EQ(0, wh_test_op(FWT("a"), op, nullptr));
    EXPECT_EQ(0, wh_test_op_multi(FWT("a"), op, nullptr));
  }
}

TEST(TestOpMulti, ACommaMeansOrForEveryOperator) {
  const OpRow rows[] = {
      {"2", 0, "1,2", 1},
      {"3", 0, "1,2", 0},
      {"1.00", 1, "0.9,1.0", 1},
      {"abc", 7, "x*,a*", 1},
      {"abc", 7, "x*,y*", 0},
      // No version equals both, so this always holds.
      {"1", 6, "1,2", 1},
      {"2", 6, "1,2", 1},
      // Empty parts do not exist.
      {"", 0, ",", 0},
      {"", 7, "a,,b", 0},
      {"", 0, "", 1},
  };
  for (const OpRow& row : rows)
    EXPECT_EQ(row.expected, wh_test_op_multi(FWT(row.lhs), row.op, FWT(row.rhs)))
        << row.lhs << " " << row.op << " " << row.rhs;
}

TEST(TestVar, AVariableThatTheVarietyLacksNeverMatches) {
  Variety variety({{"a", "1"}, {nullptr, "x"}, {"novalue", nullptr}});
  for (int op = 0; op <= 7; op++) {
    EXPECT_EQ(0, wh_test_var(&variety, FWT("b"), op, FWT("1"))) << op;
    EXPECT_EQ(0, wh_test_var(&variety, FWT("novalue"), op, FWT("1"))) << op;
    EXPECT_EQ(0, wh_test_var(&variety, nullptr, op, FWT("x"))) << op;
    EXPECT_EQ(0, wh_test_var(&variety, FWT("a"), op, nullptr)) << op;
  }
}

TEST(TestVar, TheFirstVariableOfANameCounts) {
  Variety variety({{"a", "1"}, {"a", "2"}});
  EXPECT_EQ("1", Str(var_lookup(FWT("a"), &variety)));
  EXPECT_EQ(1, wh_test_var(&variety, FWT("a"), 0, FWT("1")));
  EXPECT_EQ(0, wh_test_var(&variety, FWT("a"), 0, FWT("2")));
  EXPECT_EQ(nullptr, var_lookup(FWT("A"), &variety));
  EXPECT_EQ(nullptr, var_lookup(nullptr, &variety));
}

TEST(TestVar, PlatformAndTargetCompareAsPlatforms) {
  const struct {
    const char* name;
    const char* has;
    const char* wanted;
    int expected;
  } rows[] = {
      {"platform", "linux-x86", "unix", 1},     {"platform", "unix", "linux-x86", 1},
      {"platform", "unix-x86", "linux-all", 1}, {"platform", "linux-x86", "pc", 0},
      {"platform", "linux-x86", "pc,unix", 1},  {"platform", "linux-x86", "pc,mac", 0},
      {"platform", "linux-x86", "lin*", 1},  // by the operator
      {"platform", "linux-x86", "pc,lin*", 1},  {"target", "linux-x86", "unix", 1},
      {"Platform", "linux-x86", "unix", 0},     {"targets", "linux-x86", "unix", 0},
  };
  for (const auto& row : rows) {
    Variety variety({{row.name, row.has}});
    EXPECT_EQ(row.expected, wh_test_var(&variety, FWT(row.name), 7, FWT(row.wanted)))
        << row.name << " " << row.has << " " << row.wanted;
  }
}

TEST(TestVar, LeavesTheListOfPlatformsAsItWas) {
  Variety variety({{"platform", "linux-x86"}});
  Text wanted("pc,,mac,unix,dos");
  EXPECT_EQ(1, wh_test_var(&variety, FWT("platform"), 7, wanted));
  EXPECT_EQ("pc,,mac,unix,dos", wanted.str());
  // A literal can't be written to, and need not be.
  EXPECT_EQ(0, wh_test_var(&variety, FWT("platform"), 7, FWT("pc,mac")));
}

int Matches(WH_VARIETY* variety, WH_PATTERN* pattern, const char* host = nullptr) {
  const int result = matchvar(variety, pattern, host ? FWT(host) : nullptr);
  free_pattern(&pattern);
  return result;
}

TEST(MatchVar, NoConditionMatchesEverything) {
  Variety variety({});
  EXPECT_EQ(1, matchvar(&variety, nullptr, nullptr));
  EXPECT_EQ(1, Matches(&variety, make_pattern()));
}

TEST(MatchVar, AllConditionsOfAnAlternativeMustHold) {
  Variety variety({{"platform", "linux-x86"}, {"opt", "debug"}});
  EXPECT_EQ(1, Matches(&variety, Alternative({{"platform", "pc,unix"}})));
  EXPECT_EQ(1, Matches(&variety, Alternative({{"platform", "pc,unix"}, {"opt", "d*"}})));
  EXPECT_EQ(0, Matches(&variety, Alternative({{"platform", "unix"}, {"opt", "release"}})));
  EXPECT_EQ(0, Matches(&variety, Alternative({{"opt", "debug"}, {"other", "*"}})));
}

TEST(MatchVar, OneAlternativeIsEnough) {
  Variety variety({{"opt", "debug"}});
  EXPECT_EQ(
      1, Matches(&variety, Alternative({{"opt", "x"}}, nullptr, Alternative({{"opt", "d?bug"}}))));
  EXPECT_EQ(0,
            Matches(&variety, Alternative({{"opt", "x"}}, nullptr, Alternative({{"opt", "y"}}))));
  EXPECT_EQ(1, Matches(&variety, Alternative({{"opt", "x"}}, nullptr, make_pattern())));
}

TEST(MatchVar, TheHostCountsOnlyIfBothAreGiven) {
  Variety variety({{"opt", "debug"}});
  EXPECT_EQ(1, Matches(&variety, Alternative({{"opt", "debug"}}, "pc")));
  EXPECT_EQ(1, Matches(&variety, Alternative({{"opt", "debug"}}), "linux-x86"));
  EXPECT_EQ(1, Matches(&variety, Alternative({{"opt", "debug"}}, "unix"), "linux-x86"));
  EXPECT_EQ(0, Matches(&variety, Alternative({{"opt", "debug"}}, "pc"), "linux-x86"));
  EXPECT_EQ(1,
            Matches(&variety,
                    Alternative({{"opt", "debug"}}, "pc", Alternative({{"opt", "debug"}}, "unix")),
                    "linux-x86"));
}

TEST(MatchVar, MissingAttributesMatchNothing) {
  Variety variety({{nullptr, "x"}, {"n", nullptr}, {"a", "1"}});
  EXPECT_EQ(0, Matches(&variety, Alternative({{nullptr, "x"}})));
  EXPECT_EQ(0, Matches(&variety, Alternative({{"n", "*"}})));
  EXPECT_EQ(0, Matches(&variety, Alternative({{"a", nullptr}})));
  EXPECT_EQ(0, Matches(&variety, Alternative({{nullptr, nullptr}})));
}

// Many conditions on many variables are tested by a table of the variables.
TEST(MatchVar, ManyConditionsHoldAsEachDoesByItself) {
  const std::vector<std::string> values = {"1", "2", "*", "1,2", "?", "linux-x86", "unix"};
  std::mt19937 random(1);
  auto below = [&](size_t n) { return static_cast<int>(random() % n); };
  int matched = 0;
  for (int round = 0; round < 300; ++round) {
    Variety variety({});
    WH_VAR** tail = &variety.vars;
    std::vector<std::string> names;
    for (int count = below(2) ? 30 + below(6) : below(90); count > 0; --count) {
      names.push_back(below(30) == 0 ? "platform" : "a" + std::to_string(below(60)));
      Text value(values[static_cast<size_t>(below(2))]);
      *tail = below(100) == 0
                  ? make_var(nullptr, value)
                  : make_var(Text(names.back()),
                             below(100) == 0 ? nullptr : static_cast<FwTextString>(value));
      tail = &(*tail)->next;
    }
    // Most conditions are met, so that long lists of them are gone through.
    WH_PATTERN* pattern = make_pattern();
    tail = &pattern->vars;
    int expected = 1;
    for (int count = below(2) ? 30 + below(6) : below(90); count > 0 && !names.empty(); --count) {
      const bool odd = below(300) == 0;
      Text name(odd ? "b" : names[static_cast<size_t>(below(names.size()))]);
      FwTextString value = var_lookup(name, &variety);
      *tail = below(300) == 0 ? make_var(nullptr, FWT("*"))
              : below(100) == 0
                  ? make_var(name, Text(values[static_cast<size_t>(below(values.size()))]))
                  : make_var(name, value == nullptr ? FWT("*") : value);
      if (!wh_test_var(&variety, (*tail)->n, wh_op_matches, (*tail)->v)) expected = 0;
      tail = &(*tail)->next;
    }
    EXPECT_EQ(expected, matchvar(&variety, pattern, nullptr)) << "round " << round;
    matched += expected;
    free_pattern(&pattern);
  }
  EXPECT_GT(matched, 30);
  EXPECT_LT(matched, 270);
}

TEST(MatchingVarieties, KeepTheirOrder) {
  Variety unix_debug({{"platform", "unix"}, {"opt", "debug"}});
  Variety pc_debug({{"platform", "pc"}, {"opt", "debug"}});
  Variety unix_release({{"platform", "unix"}, {"opt", "release"}});
  WH_VARIETY_SEQ* all = make_variety_seq();
  for (WH_VARIETY* variety :
       {static_cast<WH_VARIETY*>(&unix_release), static_cast<WH_VARIETY*>(&pc_debug),
        static_cast<WH_VARIETY*>(&unix_debug)})
    add_variety(all, variety);
  WH_PATTERN* pattern = Alternative({{"platform", "linux-x86"}});
  WH_VARIETY_SEQ* matching = matching_varieties(all, pattern, nullptr);
  ASSERT_EQ(2, FwVectorLength(&matching->seq));
  EXPECT_EQ(&unix_release, FwVectorGetElement(&matching->seq, 0));
  EXPECT_EQ(&unix_debug, FwVectorGetElement(&matching->seq, 1));
  free_variety_seq(&matching);
  free_pattern(&pattern);
  free_variety_seq(&all);
}

TEST(PlatformVariant, IsTheFirstPlatformThatIncludesTheHost) {
  Variety first({{"opt", "x"}, {"platform", "pc"}, {"platform", nullptr}});
  Variety second({{"platform", "hpux"}, {"platform", "unix-x86"}, {"platform", "linux"}});
  WH_PRODUCT_INFO info;
  info.varieties = make_variety_seq();
  FwTextString host = wh_host_platform;
  wh_host_platform = FWT("linux_2_4_20-i686");
  EXPECT_EQ(nullptr, platform_variant_matching_host(&info));
  add_variety(info.varieties, &first);
  EXPECT_EQ(nullptr, platform_variant_matching_host(&info));
  add_variety(info.varieties, &second);
  EXPECT_EQ(second.vars->next->v, platform_variant_matching_host(&info));
  wh_host_platform = host;
  free_variety_seq(&info.varieties);
}

}  // namespace
