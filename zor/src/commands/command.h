// Subcommands: one file each, and one row each in the table of main.cpp.
#ifndef ZOR_COMMANDS_COMMAND_H
#define ZOR_COMMANDS_COMMAND_H

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "environment.h"
#include "request.h"

namespace zor {

struct Command;

// What a subcommand works with. It prints nothing itself: out is written once it has come to its
// end, so that a command that fails leaves not half a script behind.
struct Context {
  std::vector<std::string> words;  // behind the subcommand's name
  Environment environment;         // that in which zor was started
  std::string shell;               // the dialect of the shell that evaluates script, if one does
  std::string timeout = "10";      // seconds
  std::span<const Command> commands;
  std::string verb;                      // the subcommand's name
  std::shared_ptr<const Config> config;  // the settings, once they have been read
  std::string out;
  std::string script;       // what that shell is to evaluate
  std::string script_file;  // where it goes, if not to standard output
  std::string notes;        // for standard error, lines with their ends
  bool keeps_out = false;   // out is the answer, so it is printed with the status 1 as well
};

// What a subcommand prints: texts for people, of which a terminal gets nothing that steers it, or
// what must arrive byte for byte.
enum class Prints { kBytes, kText };

struct Command {
  const char* name;
  const char* summary;           // null for what people don't type
  int (*run)(Context* context);  // gives the exit status, or throws Error
  bool makes_script = false;     // the environment of the shell that asks is changed
  Prints prints = Prints::kBytes;
};

int run_avail(Context* context);
int run_check(Context* context);
int run_complete(Context* context);
int run_diff(Context* context);
int run_env(Context* context);
int run_exec(Context* context);
int run_files(Context* context);
int run_graph(Context* context);
int run_impact(Context* context);
int run_init(Context* context);
int run_list(Context* context);
int run_load(Context* context);
int run_lock(Context* context);
int run_new(Context* context);
int run_platform(Context* context);
int run_purge(Context* context);
int run_reload(Context* context);
int run_restore(Context* context);
int run_save(Context* context);
int run_search(Context* context);
int run_set(Context* context);
int run_setup(Context* context);
int run_shell(Context* context);
int run_show(Context* context);
int run_status(Context* context);
int run_swap(Context* context);
int run_undo(Context* context);
int run_undo_file(Context* context);
int run_unload(Context* context);
int run_which(Context* context);
int run_why(Context* context);

// The command line of a subcommand. Options are named "-f,--format"; where they are not given, the
// target keeps its value.
class CommandLine {
 public:
  // The example is a whole line and shown by --help.
  CommandLine(const std::string& name, const std::string& summary, const std::string& example);
  ~CommandLine();

  void option(const char* names, std::string* target, const std::string& summary);
  // For an option that may be given more than once.
  void options(const char* names, std::vector<std::string>* targets, const std::string& summary);
  void flag(const char* names, bool* target, const std::string& summary);
  // Words that are not options; only for a subcommand without a request.
  void positional(const char* name, std::string* target, const std::string& summary);
  void positionals(const char* name, std::vector<std::string>* target, const std::string& summary);

  // Adds the option --timeout. Gives its value, which is wanted before the words are parsed, as
  // that may take its time.
  std::string time_limit(const Context& context);

  // These throw Help where it is asked for, and Error for wrong usage.
  void parse(const std::vector<std::string>& words);
  Request parse_request(const Context& context);

 private:
  struct Parser;
  std::unique_ptr<Parser> parser_;
  std::string timeout_;
};

// Thrown for --help: what is to be printed.
struct Help {
  std::string text;
};

// The answer to a request, or an Error that says all that is wrong. Adds warnings to the context's
// notes.
Answer answer_to(const Request& request, const Environment& base, Context* context);

// Adds a warning to the notes for each product of a request that is deprecated. Throws Error if one
// is refused by now.
void check_deprecated(const Request& request, Context* context);

// The same for the lock in a file, which takes the place of a request; an empty name is no file.
Answer answer_to(const Request& request, const std::string& locked, Context* context);

// The one product that a request names, with the version and rev that are on disk. Throws Error if
// it names none or several, or conditions, which a product as a whole does not have.
ProductName one_product(const Request& request);

// Writes the context's notes and replaces the process by a program, which is looked for on the PATH
// that it gets. Throws Error if it can't be started, with the status that shells give then.
[[noreturn]] void become(const std::vector<std::string>& program, const Environment& environment,
                         Context* context);

// A session's variables, NAME=VALUE a line, or as JSON.
std::string variables_text(const std::vector<Binding>& variables, bool json);

}  // namespace zor

#endif
