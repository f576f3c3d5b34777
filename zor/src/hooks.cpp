#include "hooks.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "deadline.h"
#include "error.h"

namespace zor {

namespace {

// What a program is started with: nothing to read, and its output where messages go, since
// standard output is what a shell evaluates.
class Surroundings {
 public:
  Surroundings() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions_, STDERR_FILENO, STDOUT_FILENO);
  }
  ~Surroundings() { posix_spawn_file_actions_destroy(&actions_); }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> all;
  all.reserve(texts.size() + 1);
  for (const std::string& text : texts)
    all.push_back(const_cast<char*>(text.c_str()));
  all.push_back(nullptr);
  return all;
}

// What went wrong; empty if nothing did.
std::string run(const std::vector<std::string>& program, const std::string& step,
                Environment environment) {
  if (program.empty()) return {};
  now_doing("running " + program[0]);
  environment.set("ZOR_STEP", step);
  const Surroundings surroundings;
  pid_t child = 0;
  const int error = posix_spawnp(&child, program[0].c_str(), surroundings.get(), nullptr,
                                 pointers(program).data(), pointers(environment.texts()).data());
  if (error != 0) return fmt::format("{}: {}", program[0], std::strerror(error));
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFSIGNALED(status))
    return fmt::format("{} was ended by signal {}", program[0], WTERMSIG(status));
  if (WEXITSTATUS(status) == 0) return {};
  return fmt::format("{} ended with status {}", program[0], WEXITSTATUS(status));
}

}  // namespace

void run_before_step(const Config& config, const std::string& step,
                     const Environment& environment) {
  const std::string trouble = run(config.hooks.before, step, environment);
  if (!trouble.empty()) fail("{}, which runs before each step, so nothing was changed", trouble);
}

std::string run_after_step(const Config& config, const std::string& step,
                           const Environment& environment) {
  const std::string trouble = run(config.hooks.after, step, environment);
  return trouble.empty() ? trouble : fmt::format("zor: {}, after the step\n", trouble);
}

}  // namespace zor
