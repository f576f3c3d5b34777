#include "process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace {

std::vector<char*> Pointers(const std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  pointers.reserve(strings.size() + 1);
  for (const std::string& s : strings)
    pointers.push_back(const_cast<char*>(s.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

struct Pipe {
  int ends[2] = {-1, -1};
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) ADD_FAILURE() << "pipe";
  }
  ~Pipe() {
    CloseEnd(0);
    CloseEnd(1);
  }
  void CloseEnd(int i) {
    if (ends[i] >= 0) close(ends[i]);
    ends[i] = -1;
  }
};

[[noreturn]] void Child(const std::vector<char*>& argv, const std::vector<char*>* environment,
                        const RunOptions& options, const std::string& program, const Pipe& in,
                        const Pipe& out, const Pipe& err) {
  signal(SIGPIPE, SIG_DFL);
  dup2(in.ends[0], 0);
  dup2(out.ends[1], 1);
  dup2(err.ends[1], 2);
  if (!options.directory.empty() && chdir(options.directory.c_str()) != 0) _exit(126);
  if (environment)
    execve(program.c_str(), argv.data(), environment->data());
  else
    execv(program.c_str(), argv.data());
  _exit(127);
}

// Feeds and drains the pipes until both outputs are closed or the time is up.
bool Converse(const RunOptions& options, Pipe& in, Pipe& out, Pipe& err, RunResult& result) {
  const auto end = std::chrono::steady_clock::now() + options.limit;
  std::size_t fed = 0;
  if (options.input.empty()) in.CloseEnd(1);
  while (out.ends[0] >= 0 || err.ends[0] >= 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    pollfd fds[3] = {{out.ends[0], POLLIN, 0}, {err.ends[0], POLLIN, 0}, {in.ends[1], POLLOUT, 0}};
    if (poll(fds, 3, static_cast<int>(left.count())) <= 0) continue;
    Pipe* sources[2] = {&out, &err};
    std::string* targets[2] = {&result.out, &result.err};
    for (int i = 0; i < 2; ++i) {
      if (fds[i].revents == 0) continue;
      char buffer[65536];
      const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
      if (n > 0)
        targets[i]->append(buffer, static_cast<std::size_t>(n));
      else
        sources[i]->CloseEnd(0);
    }
    if (fds[2].revents != 0) {
      const ssize_t n = write(in.ends[1], options.input.data() + fed, options.input.size() - fed);
      if (n > 0) fed += static_cast<std::size_t>(n);
      if (n <= 0 || fed == options.input.size()) in.CloseEnd(1);
    }
  }
  return true;
}

}  // namespace

RunResult RunProgram(const std::vector<std::string>& argv, const RunOptions& options) {
  RunResult result;
  Pipe in, out, err;
  std::vector<std::string> strings = argv;
  if (options.argv0) strings[0] = *options.argv0;
  const std::vector<char*> pointers = Pointers(strings);
  std::vector<char*> environment;
  if (options.environment) environment = Pointers(*options.environment);
  const pid_t pid = fork();
  if (pid == 0)
    Child(pointers, options.environment ? &environment : nullptr, options, argv[0], in, out, err);
  if (pid < 0) {
    ADD_FAILURE() << "fork";
    return result;
  }
  in.CloseEnd(0);
  out.CloseEnd(1);
  err.CloseEnd(1);
  const auto previous = signal(SIGPIPE, SIG_IGN);
  result.timed_out = !Converse(options, in, out, err, result);
  signal(SIGPIPE, previous);
  if (result.timed_out) kill(pid, SIGKILL);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

namespace {

// The paths that this process has locked: it would wait for itself if it wanted one twice.
std::set<std::string> locked_paths;

// Makes the directory if it is missing and locks it, once no other process has it. The process that
// had it removes it, so what was locked may not be what the path leads to any more. Returns a
// descriptor, or -1.
int LockDirectory(const std::string& path) {
  if (!locked_paths.insert(path).second) {
    ADD_FAILURE() << "two trees of one test at " << path;
    return -1;
  }
  for (;;) {
    const bool exists = mkdir(path.c_str(), 0777) == 0 || errno == EEXIST;
    const int lock = exists ? open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    if (lock < 0 && (!exists || errno != ENOENT)) {
      ADD_FAILURE() << "can't have " << path << ": " << std::strerror(errno);
      return -1;
    }
    struct stat locked, there;
    if (lock >= 0 && flock(lock, LOCK_EX) == 0 && fstat(lock, &locked) == 0 &&
        stat(path.c_str(), &there) == 0 && locked.st_dev == there.st_dev &&
        locked.st_ino == there.st_ino)
      return lock;
    if (lock >= 0) close(lock);
  }
}

std::string FreshDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "zor-test-XXXXXX").string();
  if (!mkdtemp(name.data())) ADD_FAILURE() << "mkdtemp " << name;
  return name;
}

}  // namespace

TemporaryTree::TemporaryTree() : path_(FreshDirectory()) {}

TemporaryTree::TemporaryTree(std::string path) : path_(std::move(path)) {
  const std::filesystem::path above = std::filesystem::path(path_).parent_path();
  // All users may lay out trees there, as in /tmp.
  if (std::filesystem::create_directories(above))
    std::filesystem::permissions(above,
                                 std::filesystem::perms::all | std::filesystem::perms::sticky_bit);
  lock_ = LockDirectory(path_);
  if (lock_ < 0) {
    path_ = FreshDirectory();
    return;
  }
  for (const auto& entry : std::filesystem::directory_iterator(path_))
    std::filesystem::remove_all(entry);
}

TemporaryTree::~TemporaryTree() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
  if (lock_ < 0) return;
  close(lock_);
  locked_paths.erase(path_);
}

std::string TemporaryTree::operator/(std::string_view relative) const {
  return path_ + "/" + std::string(relative);
}

namespace {

// A copy of a data file, each content once, for whoever wants to see them all.
void Keep(const std::filesystem::path& path, std::string_view content) {
  const char* directory = getenv("ZOR_KEEP_DATA_FILES");
  if (directory == nullptr || path.extension() != ".xml") return;
  const std::string name = std::to_string(std::hash<std::string_view>()(content));
  std::ofstream(std::filesystem::path(directory) / (name + "-" + path.filename().string()),
                std::ios::binary)
      << content;
}

}  // namespace

std::string TemporaryTree::Write(std::string_view relative, std::string_view content) const {
  std::string path = *this / relative;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file << content;
  if (!file.flush()) ADD_FAILURE() << "can't write " << path;
  Keep(path, content);
  return path;
}

std::string TemporaryTree::Directory(std::string_view relative) const {
  std::string path = *this / relative;
  std::filesystem::create_directories(path);
  return path;
}

std::string TemporaryTree::Link(std::string_view relative, std::string_view target) const {
  std::string path = *this / relative;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::filesystem::create_symlink(std::string(target), path);
  return path;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) ADD_FAILURE() << "can't read " << path;
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}
