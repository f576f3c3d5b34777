// In a build with coverage counters: a process hands its counters in however it ends, also by _exit
// or by becoming another program, and no planned fault hits the handing in. Linked into every
// program of that build.
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>

#include "faults/state.h"

// Only where faults are planned.
extern FaultState* fault_state [[gnu::weak]];

// Of the counters' run time, whose header declares them for C alone.
extern "C" void __gcov_dump();
extern "C" void __gcov_reset();

namespace {

// Nothing fails or is counted while the counters are written.
void HandIn() {
  FaultState* const faults = &fault_state ? fault_state : nullptr;
  FaultState before;
  if (faults) {
    before = *faults;
    faults->armed = false;
    faults->room = -1;
  }
  __gcov_dump();
  // What follows is counted from here, should the process go on.
  __gcov_reset();
  if (faults) *faults = before;
}

[[noreturn]] void End(int status) {
  HandIn();
  for (;;)
    syscall(SYS_exit_group, status);
}

}  // namespace

extern "C" {

void _exit(int status) {
  End(status);
}

void _Exit(int status) noexcept {
  End(status);
}

// The compiler puts these in the place of the functions without the prefix.
pid_t __gcov_fork() {
  // What was counted before is the parent's to hand in.
  const pid_t child = fork();
  if (child == 0) __gcov_reset();
  return child;
}

int __gcov_execl(const char* path, const char* first, ...) {
  const char* arguments[5] = {first};
  va_list list;
  va_start(list, first);
  for (int i = 0; arguments[i]; ++i) {
    if (i == 4) std::abort();
    arguments[i + 1] = va_arg(list, const char*);
  }
  va_end(list);
  HandIn();
  return execl(path, arguments[0], arguments[1], arguments[2], arguments[3], nullptr);
}

int __gcov_execvp(const char* program, char* const* arguments) {
  HandIn();
  return execvp(program, arguments);
}

int __gcov_execv(const char* path, char* const* arguments) {
  HandIn();
  return execv(path, arguments);
}

int __gcov_execve(const char* path, char* const* arguments, char* const* environment) {
  HandIn();
  return execve(path, arguments, environment);
}

}  // extern "C"
