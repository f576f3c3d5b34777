#include "deadline.h"

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstddef>

#include "error.h"

namespace zor {

namespace {

// More seconds than anyone waits, and fewer than a timer takes.
constexpr double kMostSeconds = 1e6;

// What the handler writes, which may allocate nothing.
std::array<char, 4096> message;
std::size_t message_size = 0;
std::string bound;

extern "C" void end_process(int) {
  std::size_t at = 0;
  while (at < message_size) {
    const ssize_t count = write(STDERR_FILENO, message.data() + at, message_size - at);
    if (count < 0 && errno != EINTR) break;
    if (count > 0) at += static_cast<std::size_t>(count);
  }
  _exit(kTrouble);
}

void set_timer(double seconds) {
  itimerval timer = {};
  timer.it_value.tv_sec = static_cast<time_t>(seconds);
  timer.it_value.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * 1e6);
  setitimer(ITIMER_REAL, &timer, nullptr);
}

// While it lives, the handler waits.
class Blocked {
 public:
  Blocked() {
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    sigprocmask(SIG_BLOCK, &alarm, &before_);
  }
  ~Blocked() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  Blocked(const Blocked&) = delete;
  Blocked& operator=(const Blocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

Deadline::Deadline(const std::string& seconds) {
  double number = -1;
  const char* const end = seconds.data() + seconds.size();
  const auto read = std::from_chars(seconds.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end || !(number >= 0 && number <= kMostSeconds))
    misuse("--timeout needs a number of seconds, not '{}'", seconds);
  bound = seconds;
  now_doing("starting");
  if (number == 0) return;
  struct sigaction action = {};
  action.sa_handler = end_process;
  sigaction(SIGALRM, &action, nullptr);
  // Whoever started zor may have blocked it.
  sigset_t alarm;
  sigemptyset(&alarm);
  sigaddset(&alarm, SIGALRM);
  sigprocmask(SIG_UNBLOCK, &alarm, nullptr);
  // A timer of 0 would never run off.
  set_timer(std::max(number, 1e-6));
}

Deadline::~Deadline() {
  set_timer(0);
}

void now_doing(std::string_view what) {
  const Blocked blocked;
  const std::string text = fmt::format(
      "zor: gave up after {} seconds, while {}; nothing was changed (--timeout SECONDS allows "
      "another time)\n",
      bound, what);
  message_size = std::min(text.size(), message.size());
  std::copy_n(text.begin(), message_size, message.begin());
}

}  // namespace zor
