#include "child.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <vector>

#include "fuzz.h"

// Where libFuzzer counts what was reached, if it is there.
extern "C" {
extern char __start___sancov_cntrs[] __attribute__((weak, visibility("hidden")));
extern char __stop___sancov_cntrs[] __attribute__((weak, visibility("hidden")));
}

namespace fuzz {

namespace {

constexpr const char* kComplaints[] = {"Sanitizer", "runtime error", "libFuzzer"};

// The counters become memory that the child shares, so that what it reaches is seen. Pages that
// hold other data as well stay as they are.
void ShareCounters() {
  static bool done = false;
  if (done || __start___sancov_cntrs == nullptr) return;
  done = true;
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto start =
      (reinterpret_cast<std::uintptr_t>(__start___sancov_cntrs) + page - 1) / page * page;
  const auto stop = reinterpret_cast<std::uintptr_t>(__stop___sancov_cntrs) / page * page;
  if (start >= stop) return;
  char* const pages = reinterpret_cast<char*>(start);
  const std::vector<char> held(pages, pages + (stop - start));
  if (mmap(pages, held.size(), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_FIXED, -1,
           0) != pages)
    Fail("the counters can't be shared");
  std::memcpy(pages, held.data(), held.size());
}

class Output {
 public:
  Output() : file_(memfd_create("output", MFD_CLOEXEC)) {
    if (file_ < 0) Fail("no memory file");
  }
  ~Output() { close(file_); }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  void Become(int descriptor) const { dup2(file_, descriptor); }
  std::string Content() const {
    std::string content(static_cast<std::size_t>(lseek(file_, 0, SEEK_END)), 0);
    if (pread(file_, content.data(), content.size(), 0) != static_cast<ssize_t>(content.size()))
      Fail("an output can't be read");
    return content;
  }

 private:
  const int file_;
};

}  // namespace

Result InChild(const std::function<int()>& task) {
  ShareCounters();
  const Output out, err;
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) Fail("no child");
  if (child == 0) {
    out.Become(STDOUT_FILENO);
    err.Become(STDERR_FILENO);
    std::signal(SIGALRM, SIG_DFL);
    alarm(30);
    // The last one registered is the first to run; what the parent has registered is its own.
    on_exit(
        [](int status, void*) {
          std::fflush(nullptr);
          _exit(status);
        },
        nullptr);
    std::exit(task());
  }
  int status = 0;
  // libFuzzer's clock ticks.
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  Result result;
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.out = out.Content();
  result.err = err.Content();
  return result;
}

bool Complains(const std::string& text) {
  return std::any_of(std::begin(kComplaints), std::end(kComplaints),
                     [&](const char* word) { return text.find(word) != std::string::npos; });
}

}  // namespace fuzz
