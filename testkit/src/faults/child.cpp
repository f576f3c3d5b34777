#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "faults.h"
#include "state.h"

namespace {

// A file that is nowhere in the file system.
class Capture {
 public:
  Capture() : file_(memfd_create("capture", MFD_CLOEXEC)) {
    if (file_ < 0) std::abort();
  }
  ~Capture() { close(file_); }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  void Become(int target) const { dup2(file_, target); }
  std::string Content() const {
    std::string content;
    char block[4096];
    ssize_t cb;
    lseek(file_, 0, SEEK_SET);
    while ((cb = read(file_, block, sizeof block)) > 0)
      content.append(block, static_cast<std::size_t>(cb));
    return content;
  }

 private:
  int file_;
};

}  // namespace

ChildRun RunInChild(const std::function<int()>& task, const Fault* fault,
                    unsigned limit_in_seconds) {
  ShareFaultState();
  DisarmFault();
  fault_state->live = 0;
  const Capture out, err;
  ChildRun run;
  // What is buffered here is not the child's to write.
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) std::abort();
  if (pid == 0) {
    out.Become(STDOUT_FILENO);
    err.Become(STDERR_FILENO);
    alarm(limit_in_seconds);
    // What runs at the end of the process is not under test.
    std::atexit(DisarmFault);
    if (fault) ArmFault(*fault);
    std::exit(task());
  }
  int status = 0;
  // Not waitpid, which may be the call that fails.
  while (wait4(pid, &status, 0, nullptr) < 0 && errno == EINTR) {
  }
  DisarmFault();
  if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  run.met = fault && FaultMet();
  run.calls = fault ? CallsOf(fault->call) : 0;
  run.live = LiveBlocks();
  run.out = out.Content();
  run.err = err.Content();
  return run;
}
