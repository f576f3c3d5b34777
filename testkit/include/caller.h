// The place of a call, so that a function that compares for many tests reports the line of the one
// that failed:
//
//   void ExpectWords(const Words& words, int low, int high, Caller caller = Caller::Here()) {
//     const CalledFrom from(caller);
//     EXPECT_EQ(low, words.low);
//   }
#ifndef TESTKIT_CALLER_H
#define TESTKIT_CALLER_H

#include <gtest/gtest.h>

struct Caller {
  // As a default argument: the place of the call that leaves it out. (clang 14 has no
  // std::source_location.)
  static constexpr Caller Here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return {file, line};
  }

  const char* file;
  int line;
};

// Adds the caller's line to each failure until the end of the scope.
class CalledFrom {
 public:
  explicit CalledFrom(Caller caller) : trace_(caller.file, caller.line, "called from here") {}

 private:
  testing::ScopedTrace trace_;
};

#endif
