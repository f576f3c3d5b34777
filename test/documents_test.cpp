// The commands of the documents are run, and print what the documents say.
#include <gtest/gtest.h>

#include <sstream>

#include "tool.h"

namespace {

struct Command {
  std::string text;
  std::string output;
};

// The commands of a document: lines that begin with "$ " in blocks of the kind "console". What
// follows, up to the next command or the end of the block, is their output.
std::vector<Command> Commands(const std::string& document) {
  std::vector<Command> commands;
  std::istringstream lines(document);
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("```", 0) == 0)
      inside = line == "```console";
    else if (inside && line.rfind("$ ", 0) == 0)
      commands.push_back({line.substr(2), ""});
    else if (inside && !commands.empty())
      commands.back().output += line + "\n";
  }
  return commands;
}

std::string Replace(std::string text, const std::string& what, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
    text.replace(at, what.size(), by);
  return text;
}

// Documents speak of a warehouse at this place.
const char stated_root[] = "/srv/warehouse";

class Documents : public testing::TestWithParam<const char*> {};

TEST_P(Documents, TellWhatTheirCommandsPrint) {
  const std::string root = std::string(ZOR_SOURCE_DIR) + "/examples/warehouse";
  const std::vector<Command> commands =
      Commands(ReadFile(std::string(ZOR_SOURCE_DIR) + "/" + GetParam()));
  ASSERT_FALSE(commands.empty());
  // One shell runs them all, in order, as a reader would; a line marks the end of each.
  const std::string mark = "---- next command ----\n";
  std::string script = "zorenv() { command \"$ZORENV_PROGRAM\" \"$@\"; }\n";
  for (const Command& command : commands)
    script += Replace(command.text, stated_root, root) + "\nprintf '%s' '" + mark + "'\n";
  RunOptions options;
  options.environment = {"PATH=/usr/bin:/bin", "HOME=/home/you", "LC_ALL=C.UTF-8",
                         "ZORROOT=" + root, std::string("ZORENV_PROGRAM=") + ZORENV_PROGRAM};
  options.directory = "/";
  const RunResult result = RunProgram({"/bin/sh", "-c", "exec 2>&1\n" + script}, options);
  std::string rest = Replace(result.out, root, stated_root);
  for (const Command& command : commands) {
    SCOPED_TRACE(command.text);
    const std::size_t end = rest.find(mark);
    ASSERT_NE(std::string::npos, end);
    EXPECT_EQ(command.output, rest.substr(0, end));
    rest.erase(0, end + mark.size());
  }
}

INSTANTIATE_TEST_SUITE_P(All, Documents,
                         testing::Values("README.md", "examples/warehouse/README.md"));

}  // namespace
