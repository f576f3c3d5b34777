// Runs of whole programs, for fuzzers whose inputs boot the framework themselves: each in a child
// process, as a run ends as a process does.
#ifndef CHILD_H
#define CHILD_H

#include <functional>
#include <string>

namespace fuzz {

struct Result {
  std::string out, err;
  int status = -1;
  int signal = 0;
};

// Runs the task in a child, with standard output and standard error of its own, and ends it after
// 30 seconds. What libFuzzer counts there it counts here.
Result InChild(const std::function<int()>& task);

// Whether a text has the words of a sanitizer.
bool Complains(const std::string& text);

}  // namespace fuzz

#endif
