// A shell as sessions see one: an environment in which the front end runs, and which takes what a
// command prints.
#ifndef SESSION_SUPPORT_H
#define SESSION_SUPPORT_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "model/model.h"
#include "process.h"

using Variables = std::map<std::string, std::string>;

// As a process takes them, "NAME=VALUE" each.
std::vector<std::string> TextsOf(const Variables& variables);

class ShellModel {
 public:
  explicit ShellModel(Variables start) : variables(std::move(start)) {}

  // Runs a verb as the shell's function does: with status 0 what it prints is taken over.
  RunResult Run(const std::vector<std::string>& words);
  // Runs a command that only prints text.
  RunResult Ask(const std::vector<std::string>& words) const;

  std::optional<std::string> Get(const std::string& name) const;
  // What is there beside the session's own texts.
  Variables Others() const;

  Variables variables;
  std::string directory;  // where commands run; empty: the test's own
};

// Makes the files of a random warehouse.
void LayOut(const model::Case& run);

// How many times as many rounds of a test with random input are wanted as usual.
int Rounds(int usual);

#endif
