// Failure sweeps of tasks of the framework and of what stands on it, in a child process each with a
// framework of its own. For test programs that link both.
//
//   FrameworkSweep sweep;
//   sweep.prepare = [] { ... lay out files ... };           in the test's process, before each run
//   sweep.task = [] { ... return answer; };                 a string with the whole result
//   sweep.may_answer = {"NoMemory"};                        what a fault may change the answer to
//   sweep.Allocations();
//   sweep.SystemCalls(kRead, EIO);
//
// A run must give the answer of the run without a fault, or one that a fault may give; or it ends
// as exhausted memory does. It must not leave more memory behind.
#ifndef TESTKIT_SWEEP_H
#define TESTKIT_SWEEP_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "caller.h"
#include "faults.h"
#include "fwboot.h"

class FrameworkSweep {
 public:
  std::function<void()> prepare = [] {};
  // Runs with the fault armed. To look at what was done it calls DisarmFault first.
  std::function<std::string()> task;
  std::vector<std::string> may_answer;
  bool counts_blocks = true;  // false for tasks that start processes, whose blocks count too
  int wanted = 20;            // runs of a sampled sweep of allocations
  int wanted_calls = 4;       // and of system calls

  // Fails each allocation, once and every time. Returns how many there are.
  long Allocations(Caller caller = Caller::Here()) {
    return Sweep({kAllocation, 0, kOnce, 0}, true, caller);
  }
  // Fails each call of this kind, once and every time. Returns how many there are.
  long SystemCalls(FaultCall call, int error, Caller caller = Caller::Here()) {
    return Sweep({call, 0, kOnce, error}, true, caller);
  }
  // The same, once only: for calls that are tried again until they succeed.
  long SystemCallsOnce(FaultCall call, int error, Caller caller = Caller::Here()) {
    return Sweep({call, 0, kOnce, error}, false, caller);
  }
  // What all these runs answered.
  const std::set<std::string>& answers() const { return answers_; }

 private:
  static void Exit(FwTextString ptbzText) {
    // Without the streams: what is buffered there is an answer half given.
    dprintf(STDERR_FILENO, "%s\n", FWC(ptbzText));
    _exit(1);
  }

  ChildRun Run(const Fault& fault) const {
    prepare();
    const auto child = [this]() -> int {
      FwShutdown();
      static char name[] = "sweep";
      static char* argv[] = {name, name, nullptr};
      FwBootContext context;
      context.control.ptbzAppName = FWT("sweep");
      context.control.exiterrorf = Exit;
      context.control.platform.argc = 2;
      context.control.platform.argv = argv;
      context.memory.alloc = FailingAlloc;
      context.memory.free = FailingFree;
      const bool failed_before = testing::Test::HasFailure();
      FwBoot(&context);
      const std::string answer = task();
      FwShutdown();
      std::printf("%s", answer.c_str());
      std::fflush(stdout);
      _exit(testing::Test::HasFailure() && !failed_before ? 3 : 0);
    };
    return RunInChild(child, &fault);
  }

  bool MayAnswer(const std::string& answer) const {
    for (const std::string& other : may_answer)
      if (answer == other) return true;
    return false;
  }

  void Judge(const ChildRun& run, const ChildRun& clean) {
    EXPECT_EQ(0, run.signal);
    if (run.status == 1) {
      EXPECT_EQ("", run.out);
      EXPECT_EQ("Run out of memory\n", run.err);
      return;
    }
    EXPECT_EQ(0, run.status);
    EXPECT_EQ("", run.err);
    answers_.insert(run.out);
    if (!MayAnswer(run.out)) {
      EXPECT_EQ(clean.out, run.out);
    }
    if (counts_blocks) {
      EXPECT_LE(run.live, clean.live) << "left behind, after " << run.out;
    }
  }

  long Sweep(Fault fault, bool for_ever_too, Caller caller) {
    const CalledFrom from(caller);
    const bool failed_before = testing::Test::HasFailure();
    Fault none = fault;
    none.first = -1;
    const ChildRun clean = Run(none);
    EXPECT_EQ(0, clean.status) << clean.out << clean.err;
    for (const long times : {kOnce, kForEver}) {
      if (times == kForEver && !for_ever_too) continue;
      fault.times = times;
      for (const long number :
           FaultNumbers(clean.calls, fault.call == kAllocation ? wanted : wanted_calls)) {
        // Nothing fails behind the last call, however often.
        if (number == clean.calls && times == kForEver && !WholeSweeps()) continue;
        fault.first = number;
        const ChildRun run = Run(fault);
        SCOPED_TRACE(std::string(FaultCallName(fault.call)) + " " + std::to_string(number) +
                     (times == kOnce ? " once" : " every time") + ", error " +
                     std::to_string(fault.error));
        EXPECT_EQ(number < clean.calls, run.met);
        Judge(run, clean);
        if (testing::Test::HasFailure() && !failed_before) return clean.calls;
      }
    }
    return clean.calls;
  }

  std::set<std::string> answers_;
};

#endif
