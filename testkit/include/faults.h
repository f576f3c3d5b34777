// Faults on demand: allocation number k fails, or system call number k of a kind, once or
// every time from then on. A sweep runs the same task with k = 0, 1, 2 ... until a run meets no
// fault any more:
//
//   for (long k = 0;; ++k) {
//     const Fault fault = {kAllocation, k, kOnce};
//     const ChildRun run = RunInChild(task, &fault);
//     ... judge run ...
//     if (!run.met) break;
//   }
//
// Allocations are counted where the program under test takes them from: FailingAlloc as the raw
// allocator of the boot context, or the C library's malloc where testkit_malloc is linked, which
// then counts the C library's and the parser's too. System calls are counted where testkit_calls is
// linked. Nothing fails while no fault is armed.
#ifndef TESTKIT_FAULTS_H
#define TESTKIT_FAULTS_H

#include <climits>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

enum FaultCall {
  kAllocation,
  kOpen,
  kRead,
  kWrite,
  kClose,
  kSeek,
  kStat,  // and its kin for links and descriptors
  kStatFs,
  kOpenDir,
  kReadDir,
  kCloseDir,
  kMakeDir,
  kRemoveDir,
  kUnlink,
  kRename,
  kChangeMode,
  kSetTimes,
  kReadLink,
  kMakeLink,
  kLock,
  kFork,
  kPipe,
  kDup2,
  kExec,  // execvp and execl
  kWait,
  kGetCwd,
  kRealPath,
  kIconvOpen,
  kPutEnv,
  kSetLocale,
  kUname,
  kFaultCalls
};

// The call's name on command lines: "allocation", "open", "read" and so on.
const char* FaultCallName(FaultCall call);
// kFaultCalls for an unknown name.
FaultCall FaultCallOf(const std::string& name);

inline constexpr long kOnce = 1;
inline constexpr long kForEver = LONG_MAX;

struct Fault {
  FaultCall call = kAllocation;
  long first = 0;      // the number of the call that fails, from 0; -1: none
  long times = kOnce;  // how many calls fail from then on
  int error = 0;       // errno of a system call; 0: a transfer is short by half, if it can be
};

// Counts all calls anew, and lets the fault happen. One at a time.
void ArmFault(const Fault& fault);
// Nothing fails any more. The counts stay.
void DisarmFault();
// Whether the fault has happened.
bool FaultMet();
// How often the call was made while the fault was armed.
long CallsOf(FaultCall call);

// For those who stand in for a call: counts one, and tells whether it is to fail. errno is set
// then.
bool CallFails(FaultCall call);
// The size to transfer: what was asked for, or less if the transfer is to be a short one. Counts
// nothing; asked after CallFails was false.
std::size_t TransferSize(FaultCall call, std::size_t size);

// From now on files take so many bytes more: a write is cut short at the end of the room and fails
// with ENOSPC behind it. Descriptors up to 2 are spared. Below 0: no limit, as at the start.
void LimitRoom(long long bytes);
// How much of a write of this size there is room for; takes it. -1 if there is none.
long long TakeRoom(int file, std::size_t size);

// A raw allocator that counts and fails as planned.
void* FailingAlloc(std::size_t cb);
void FailingFree(void* pv);
// Blocks of FailingAlloc that are not freed.
long LiveBlocks();

// Whether the sweeps are to be done whole: ZOR_SWEEP=all in the environment. Otherwise long ones
// are sampled, so that an ordinary run of the tests stays short.
bool WholeSweeps();

// The numbers of the calls to fail: all of them, or as many as wanted, spread over the whole; then
// the one behind the last, with which a run meets no fault.
std::vector<long> FaultNumbers(long calls, long wanted);

// What a run in a child process came to.
struct ChildRun {
  bool met = false;  // the fault happened
  long calls = 0;    // of the fault's kind
  long live = 0;     // blocks of FailingAlloc that were left
  int status = -1;   // exit status, or -1 when ended by a signal
  int signal = 0;    // SIGALRM: it was still running after the limit
  std::string out;
  std::string err;
};

// Runs the task in a child process, with the fault armed if one is given, and its standard outputs
// collected. The task's result is the exit status. The child ends as a program does, with exit,
// unless the task ends it. Processes that it starts count as part of it.
ChildRun RunInChild(const std::function<int()>& task, const Fault* fault = nullptr,
                    unsigned limit_in_seconds = 20);

#endif
