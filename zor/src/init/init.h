// What the shells get from zor: the function "zor", its completion, and the scripts that the
// function evaluates.
//
// A program can't change the variables of the shell that started it. So "zor init SHELL" prints a
// function, which runs the program for the words that it is given. For those that change the
// environment it asks for a script,
//
//   zor --shell DIALECT load tools/weaver
//
// which it reads whole, tries in a subshell where the shell has one, and only then evaluates. Such
// a script stands between two marks. One that was cut off, or into which something else was
// printed, lacks one of them and is evaluated not at all. The status kRunsDirectly asks the
// function to run the words without all that: they print something for people.
#ifndef ZOR_INIT_INIT_H
#define ZOR_INIT_INIT_H

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "commands/command.h"
#include "formats/format.h"

namespace zor {

// The status of "zor --shell" for words that change nothing in the shell.
inline constexpr int kRunsDirectly = 120;

// The program that a function calls.
struct Callee {
  std::string path;                   // absolute
  std::vector<std::string> changing;  // the subcommands whose scripts are to be evaluated
};

// This program.
Callee own_callee(std::span<const Command> commands);

struct Shell {
  std::string_view name;     // as "zor init" takes it
  std::string_view dialect;  // as "zor --shell" and "zor env --format" take it
  // The function and the completion.
  std::string (*definition)(const Callee& callee);
};

// All shells, in the order in which they are listed.
std::span<const Shell> shells();
// Null if there is none of that name.
const Shell* find_shell(std::string_view name);

// Whether there is a function for the dialect, which may also be a shell's name.
bool has_function(std::string_view dialect);

// The changes as a script, with its marks if there is a function for the dialect. Throws Error if
// the dialect can't carry one of them.
std::string shell_script(const Format& format, std::span<const Change> changes);

// ---- csh, which has no functions ----
//
// Its alias can't hold the words in a variable without reading them again, so they stand in it
// twice, in calls of the program behind these words:
//   --csh-file                    makes a file for the script and prints its name
//   --csh-before SIGNS FILE ...   writes the script into it; SIGNS are $?histchars$?backslash_quote
//   --csh-after STATUS FILE ...   removes it and tells how it went, or runs what changes nothing
// A file that is missing afterwards says that the program has told already what went wrong.

// Takes such words off. Gives the exit status if that was all, or none if the words that are left
// are to be run.
std::optional<int> take_csh_step(Context* context, std::vector<std::string>* words);

// A descriptor to write to, or -1 with errno set.
int open_csh_file(const std::string& path);
void remove_csh_file(const std::string& path);

}  // namespace zor

#endif
