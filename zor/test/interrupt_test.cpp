// A step that is interrupted: a signal arrives at one system call of the program after another.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <set>

#include "faults.h"
#include "tool.h"

namespace {

// What a run printed for the shell, and how it ended.
struct Outcome {
  std::string out;
  int status = -1;
  auto operator<=>(const Outcome&) const = default;
};

// Lets the child go on to its next entry into the system or way out of it; a signal that is not 0
// arrives before. Gives whether it lives on.
bool GoOn(pid_t child, int signal, int* status) {
  ptrace(PTRACE_SYSCALL, child, 0, signal);
  waitpid(child, status, 0);
  // A signal stops it on its way, too.
  const bool arrives = WIFSTOPPED(*status) && WSTOPSIG(*status) != SIGTRAP;
  return arrives ? GoOn(child, WSTOPSIG(*status), status) : WIFSTOPPED(*status);
}

// Runs the front end with the signal at that stop, counted from 0; -1: at none. Gives the number of
// stops, or -1 where nothing can be traced.
int RunTraced(const std::vector<std::string>& arguments, std::vector<std::string> environment,
              int signal, int at, Outcome* outcome) {
  std::vector<char*> argv = {const_cast<char*>(ZOR_PROGRAM)}, variables;
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  for (std::string& text : environment)
    variables.push_back(text.data());
  argv.push_back(nullptr);
  variables.push_back(nullptr);
  int ends[2];
  EXPECT_EQ(0, pipe(ends));
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
    if (ptrace(PTRACE_TRACEME, 0, 0, 0) != 0) _exit(99);
    execve(ZOR_PROGRAM, argv.data(), variables.data());
    _exit(98);
  }
  close(ends[1]);
  int status = 0;
  waitpid(child, &status, 0);
  int stops = WIFSTOPPED(status) ? 0 : -1;
  while (stops >= 0 && GoOn(child, stops == at ? signal : 0, &status))
    ++stops;
  // It prints less than a pipe holds.
  char block[65536];
  const ssize_t count = read(ends[0], block, sizeof block);
  close(ends[0]);
  *outcome = {std::string(block, count > 0 ? static_cast<std::size_t>(count) : 0), status};
  return stops;
}

TEST(Interrupt, GivesTheShellAllOrNothingAndNoSuccess) {
  Warehouse warehouse;
  warehouse.Product("tools/loom/1.0/1", Insert("LOOM", "loaded"));
  const auto run = [&](int signal, int at, Outcome* outcome) {
    return RunTraced(
        {"--shell", "sh", "load", "tools/loom"},
        PlainEnvironment({"ZORROOT=" + warehouse.Root(), "ASAN_OPTIONS=detect_leaks=0"}), signal,
        at, outcome);
  };
  Outcome whole;
  const int stops = run(0, -1, &whole);
  if (stops < 0) GTEST_SKIP() << "tracing is not allowed here";
  ASSERT_EQ(0, whole.status);
  ASSERT_NE(std::string::npos, whole.out.find("LOOM='loaded'")) << whole.out;

  std::set<Outcome> outcomes;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    std::vector<long> numbers = FaultNumbers(stops, 40);
    for (int last = 1; last <= 6; ++last)
      numbers.push_back(stops - last);
    for (const long at : numbers) {
      Outcome outcome;
      run(signal, static_cast<int>(at), &outcome);
      // The script is whole or not there at all.
      EXPECT_TRUE(outcome.out.empty() || outcome.out == whole.out) << outcome.out;
      // While the floors run they tell of an interrupt.
      const bool ended = WIFSIGNALED(outcome.status)
                             ? WTERMSIG(outcome.status) == signal
                             : signal == SIGINT && WEXITSTATUS(outcome.status) == 2;
      EXPECT_TRUE(ended || outcome == whole) << "at " << at << ": " << outcome.status;
      outcomes.insert(outcome);
    }
  }
  // With nothing printed, and between the printing and the end. What each shell makes of them is
  // tested with its function.
  EXPECT_LT(4, outcomes.size());
}

}  // namespace
