// What tests leave allocated, counted at the debug levels of the memory manager. Header only, for
// the programs that boot the framework: testkit itself stands below it.
//
//   context.memory.debug_level = DebugLevelOption(argc, argv);
//   FwBoot(&context);
//   CountLeftovers({"FwThing.LeaksItsTail"});      tests that leave blocks by design
//   const int status = RUN_ALL_TESTS();
#ifndef TESTKIT_LEFTOVERS_H
#define TESTKIT_LEFTOVERS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <utility>

#include "fwmem.h"
#include "recorder.h"

// The N of an argument --debug-level=N, 0 without one.
inline uint32 DebugLevelOption(int argc, char** argv) {
  static const char kOption[] = "--debug-level=";
  for (int i = 1; i < argc; ++i)
    if (std::strncmp(argv[i], kOption, sizeof kOption - 1) == 0)
      return static_cast<uint32>(std::atoi(argv[i] + sizeof kOption - 1));
  return 0;
}

// The live blocks; 0 at debug level 0, which doesn't count.
inline int LiveBlocks() {
  CollectReports reports;
  FwMemReport();
  int blocks = 0;
  if (!reports.traces().empty())
    std::sscanf(reports.traces()[0].c_str(), "FwMemReport: %d allocated blocks", &blocks);
  return blocks;
}

// Fails each test that leaves more blocks than it found, but for those named.
class LeftoverListener : public testing::EmptyTestEventListener {
 public:
  explicit LeftoverListener(std::set<std::string> byDesign) : byDesign_(std::move(byDesign)) {}

  void OnTestStart(const testing::TestInfo&) override { before_ = LiveBlocks(); }

  void OnTestEnd(const testing::TestInfo& test) override {
    const int left = LiveBlocks() - before_;
    const std::string name = std::string(test.test_suite_name()) + "." + test.name();
    if (byDesign_.count(name) == 0) {
      EXPECT_LE(left, 0) << name << " left blocks allocated";
    }
  }

 private:
  const std::set<std::string> byDesign_;
  int before_ = 0;
};

inline void CountLeftovers(std::set<std::string> byDesign) {
  if (LiveBlocks() == 0) return;
  testing::UnitTest::GetInstance()->listeners().Append(new LeftoverListener(std::move(byDesign)));
}

#endif
