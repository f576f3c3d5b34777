#include "faults.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "state.h"

namespace {

FaultState own_state;

const char* const names[] = {
    "allocation", "open",     "read",     "write",      "close",  "lseek",     "stat",   "statfs",
    "opendir",    "readdir",  "closedir", "mkdir",      "rmdir",  "unlink",    "rename", "chmod",
    "utime",      "readlink", "symlink",  "lockf",      "fork",   "pipe",      "dup2",   "exec",
    "waitpid",    "getcwd",   "realpath", "iconv_open", "putenv", "setlocale", "uname",
};
static_assert(sizeof names / sizeof *names == kFaultCalls);

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
  return names[call];
}

FaultCall FaultCallOf(const std::string& name) {
  return static_cast<FaultCall>(std::find(std::begin(names), std::end(names), name) - names);
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
  return fault_state->armed && fault.call == call &&
         (fault.times == kForEver ? number >= fault.first : number == fault.first);
}

}  // namespace

bool CallFails(FaultCall call) {
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
