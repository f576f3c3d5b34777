// Runs programs and lays out trees on disk, for tests that look at the real thing.
#ifndef TESTKIT_PROCESS_H
#define TESTKIT_PROCESS_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct RunOptions {
  std::optional<std::vector<std::string>>
      environment;                   // "NAME=value" strings; absent: the test's own
  std::string directory;             // working directory; empty: the test's own
  std::string input;                 // what standard input holds
  std::optional<std::string> argv0;  // what the program sees as its name; absent: its path
  std::chrono::milliseconds limit = std::chrono::seconds(20);
};

struct RunResult {
  std::string out;
  std::string err;
  int status = -1;         // exit status, or -1 when ended by a signal or by the limit
  int signal = 0;          // the signal that ended it
  bool timed_out = false;  // still running at the limit, and killed
};

// Runs a program to its end, or to the limit. argv holds the program's path first.
RunResult RunProgram(const std::vector<std::string>& argv, const RunOptions& options = {});

// A directory that is made empty by the constructor and removed by the destructor. Without a path
// it has a fresh name below the temporary directory. A given path is cleared of what an earlier run
// left there, and locked: the constructor waits for a process that has it, so that the tests of two
// build trees, or of two users, may run at the same time.
class TemporaryTree {
 public:
  TemporaryTree();
  explicit TemporaryTree(std::string path);
  ~TemporaryTree();
  TemporaryTree(const TemporaryTree&) = delete;
  TemporaryTree& operator=(const TemporaryTree&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(std::string_view relative) const;

  // Writes a file below the tree and makes the directories that it needs. Returns its path. Of data
  // files a copy goes to the directory ZOR_KEEP_DATA_FILES, if that is set.
  std::string Write(std::string_view relative, std::string_view content) const;
  // Makes a directory, and what it needs. Returns its path.
  std::string Directory(std::string_view relative) const;
  // Makes a symbolic link. Returns its path.
  std::string Link(std::string_view relative, std::string_view target) const;

 private:
  std::string path_;
  int lock_ = -1;  // the descriptor of a given path; children that outlive the tree would keep it
};

// The whole content of a file; fails the test if it can't be read.
std::string ReadFile(const std::string& path);

#endif
