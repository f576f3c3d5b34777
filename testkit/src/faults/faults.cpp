#include "faults.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <numeric>

#include "state.h"

namespace {

FaultState own_state;

const char* const kNames[] = {
    "allocation", "open",     "read",     "write",      "close",  "lseek",     "stat",   "statfs",
    "opendir",    "readdir",  "closedir", "mkdir",      "rmdir",  "unlink",    "rename", "chmod",
    "utime",      "readlink", "symlink",  "lockf",      "fork",   "pipe",      "dup2",   "exec",
    "waitpid",    "getcwd",   "realpath", "iconv_open", "putenv", "setlocale", "uname",
};
static_assert(sizeof kNames / sizeof *kNames == kFaultCalls);

}  // namespace

FaultState* fault_state = &own_state;

void ShareFaultState() {
  if (fault_state != &own_state) return;
  void* shared =
      mmap(nullptr, sizeof(FaultState), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) std::abort();
  fault_state = static_cast<FaultState*>(shared);
  *fault_state = own_state;
}

const char* FaultCallName(FaultCall call) {
  return kNames[call];
}

FaultCall FaultCallOf(const std::string& name) {
  return static_cast<FaultCall>(std::find(std::begin(kNames), std::end(kNames), name) - kNames);
}

void ArmFault(const Fault& fault) {
  std::fill(std::begin(fault_state->calls), std::end(fault_state->calls), 0);
  fault_state->fault = fault;
  fault_state->met = false;
  fault_state->armed = true;
}

void DisarmFault() {
  fault_state->armed = false;
}

bool FaultMet() {
  return fault_state->met;
}

long CallsOf(FaultCall call) {
  return fault_state->calls[call];
}

namespace {

// Whether the call with this number is one that the fault concerns.
bool Concerned(FaultCall call, long number) {
  const Fault& fault = fault_state->fault;
  return fault_state->armed && fault.call == call && fault.first >= 0 && number >= fault.first &&
         number - fault.first < fault.times;
}

}  // namespace

bool CallFails(FaultCall call) {
  if (!fault_state->armed) return false;
  const long number = fault_state->calls[call]++;
  if (!Concerned(call, number)) return false;
  const int error = fault_state->fault.error;
  if (error == 0 && call != kAllocation) return false;  // a short transfer
  fault_state->met = true;
  errno = call == kAllocation ? ENOMEM : error;
  return true;
}

std::size_t TransferSize(FaultCall call, std::size_t size) {
  if (fault_state->fault.error != 0 || !Concerned(call, fault_state->calls[call] - 1)) return size;
  fault_state->met = true;
  return size < 2 ? size : size / 2;
}

void LimitRoom(long long bytes) {
  fault_state->room = bytes;
}

long long TakeRoom(int file, std::size_t size) {
  const auto wanted = static_cast<long long>(size);
  if (fault_state->room < 0 || file <= 2 || wanted == 0) return wanted;
  if (fault_state->room == 0) {
    errno = ENOSPC;
    return -1;
  }
  const long long taken = std::min(wanted, fault_state->room);
  fault_state->room -= taken;
  return taken;
}

void* FailingAlloc(std::size_t cb) {
  if (CallFails(kAllocation)) return nullptr;
  void* pv = std::malloc(cb);
  if (pv) ++fault_state->live;
  return pv;
}

void FailingFree(void* pv) {
  if (pv) --fault_state->live;
  std::free(pv);
}

long LiveBlocks() {
  return fault_state->live;
}

bool WholeSweeps() {
  const char* sweep = std::getenv("ZOR_SWEEP");
  return sweep && std::string(sweep) == "all";
}

std::vector<long> FaultNumbers(long calls, long wanted) {
  const long runs = WholeSweeps() ? calls : std::min(calls, wanted);
  // With no divisor in common no number comes twice, and no rhythm of the calls is followed.
  long stride = runs < calls ? calls / runs + 1 : 1;
  while (calls > 0 && std::gcd(stride, calls) > 1)
    ++stride;
  std::vector<long> numbers;
  for (long i = 0; i < runs; ++i)
    numbers.push_back(i * stride % calls);
  numbers.push_back(calls);
  return numbers;
}
