// zor: the front end for people. This file holds the table of subcommands.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "catalogue.h"
#include "commands/command.h"
#include "error.h"
#include "files.h"
#include "init/init.h"
#include "render/text.h"
#include "warehouse.h"

namespace {

using zor::Command;
using zor::Context;

constexpr Command kCommands[] = {
    {"avail", "list the products that there are", zor::run_avail},
    {"check", "what is wrong with the data files of a warehouse", zor::run_check},
    {"diff", "compare two environments, element by element", zor::run_diff, false,
     zor::Prints::kText},
    {"env", "print the environment of products, in any dialect", zor::run_env},
    {"exec", "start a program in it", zor::run_exec},
    {"files", "the files of a product, and those that are missing", zor::run_files, false,
     zor::Prints::kText},
    {"graph", "which products a request leads to, and which include which", zor::run_graph, false,
     zor::Prints::kText},
    {"impact", "what includes a product or a file", zor::run_impact, false, zor::Prints::kText},
    {"init", "print the function zor for a shell", zor::run_init},
    {"lock", "pin a request with all that it depends on", zor::run_lock},
    {"load", "load products into this shell", zor::run_load, true},
    {"unload", "take products out of it again", zor::run_unload, true},
    {"swap", "put a product in the place of another", zor::run_swap, true},
    {"purge", "take all products out of this shell", zor::run_purge, true},
    {"reload", "compute what is loaded anew", zor::run_reload, true},
    {"undo", "take back the last change of what is loaded", zor::run_undo, true},
    {"set", "conditions for all products that are loaded from now on", zor::run_set, true,
     zor::Prints::kText},
    {"list", "what is loaded", zor::run_list, false, zor::Prints::kText},
    {"status", "what is loaded, and what has changed since", zor::run_status, false,
     zor::Prints::kText},
    {"new", "make the data files of a new product", zor::run_new, false, zor::Prints::kText},
    {"platform", "what this host is", zor::run_platform, false, zor::Prints::kText},
    {"restore", "load what was saved under a name", zor::run_restore, true},
    {"save", "save what is loaded under a name", zor::run_save, false, zor::Prints::kText},
    {"search", "find products by names, descriptions and commands", zor::run_search, false,
     zor::Prints::kText},
    {"setup", "what the start-up files of all users need", zor::run_setup, false,
     zor::Prints::kText},
    {"shell", "start your shell in the environment of products", zor::run_shell},
    {"show", "what a product is made of and what it sets", zor::run_show, false,
     zor::Prints::kText},
    {"undo-file", "the unenv.xml that an env.xml needs", zor::run_undo_file, false,
     zor::Prints::kText},
    {"which", "which file a command is in an environment", zor::run_which, false,
     zor::Prints::kText},
    {"why", "why a variable is as it is, and a version was taken", zor::run_why, false,
     zor::Prints::kText},
    {"complete", nullptr, zor::run_complete},  // for the functions that zor init prints
};

std::string usage() {
  std::string text = "usage: zor COMMAND [REQUEST] [OPTION]...\n\n";
  for (const Command& command : kCommands)
    if (command.summary) text += fmt::format("  {:<10} {}\n", command.name, command.summary);
  return text +
         "\nzor COMMAND --help tells more of one. Before COMMAND stand, for the function that\n"
         "zor init makes: --shell DIALECT, and --timeout SECONDS.\n";
}

const Command* find_command(const std::string& name) {
  for (const Command& command : kCommands)
    if (name == command.name) return &command;
  return nullptr;
}

[[noreturn]] void fail_unknown(const std::string& name) {
  std::vector<std::string> names;
  for (const Command& command : kCommands)
    if (command.summary) names.emplace_back(command.name);
  const std::vector<std::string> near = zor::nearest(name, names, 1);
  zor::misuse(
      "there is no command {}{}", name,
      near.empty() ? "; zor --help lists what there is" : "; did you mean " + near[0] + "?");
}

// Names from a warehouse or a command line may hold what steers a terminal.
void tell(std::string_view text) {
  zor::write_all(STDERR_FILENO, fmt::format("zor: {}\n", zor::without_controls(text)));
}

// Takes the options that stand before the subcommand. Gives the place of the subcommand.
std::size_t take_options(Context* context, const std::vector<std::string>& words) {
  std::size_t at = 0;
  for (; at < words.size(); at += 2) {
    std::string* target = words[at] == "--shell"     ? &context->shell
                          : words[at] == "--timeout" ? &context->timeout
                                                     : nullptr;
    if (!target) break;
    if (at + 1 == words.size()) zor::misuse("{} needs a value", words[at]);
    *target = words[at + 1];
  }
  return at;
}

int run(Context* context, std::vector<std::string> all) {
  if (const auto status = zor::take_csh_step(context, &all)) return *status;
  const std::vector<std::string> words(all.begin() + static_cast<long>(take_options(context, all)),
                                       all.end());
  if (words.empty()) {
    context->notes += usage();
    return zor::kTrouble;
  }
  if (words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
    context->out += usage();
    return zor::kDone;
  }
  const Command* command = find_command(words[0]);
  if (!command) fail_unknown(words[0]);
  context->verb = words[0];
  context->words.assign(words.begin() + 1, words.end());
  const int status = command->run(context);
  if (command->prints == zor::Prints::kText && isatty(STDOUT_FILENO) != 0)
    context->out = zor::without_controls(context->out);
  return status;
}

int run_guarded(Context* context, const std::vector<std::string>& words) {
  try {
    return run(context, words);
  } catch (const zor::Help& help) {
    context->out = help.text;
    return zor::kDone;
  } catch (const zor::Error& error) {
    tell(error.what());
    return error.status();
  } catch (const std::bad_alloc&) {
    tell("Run out of memory; nothing was changed");
    return zor::kTrouble;
  } catch (const std::exception& error) {
    tell(error.what());
    return zor::kTrouble;
  }
}

// Writes what a run came to. Gives the exit status.
int finish(Context* context, int status) {
  const bool for_shell = !context->shell.empty();
  const bool in_file = !context->script_file.empty();
  const bool answers = status == zor::kDone || (status == zor::kNotDone && context->keeps_out);
  // The function runs such words once more, without asking for a script.
  if (answers && context->script.empty() && zor::has_function(context->shell))
    return zor::kRunsDirectly;
  if (!context->notes.empty()) zor::write_all(STDERR_FILENO, zor::without_controls(context->notes));
  // The shell would evaluate text as well.
  if (for_shell) zor::write_all(STDERR_FILENO, zor::without_controls(context->out));
  std::string& out = for_shell ? context->script : context->out;
  if (!answers) out.clear();
  const int fd = in_file ? zor::open_csh_file(context->script_file) : STDOUT_FILENO;
  if (fd < 0 || !zor::write_all(fd, out)) {
    tell(fmt::format("{}: {}", in_file ? context->script_file : "standard output",
                     std::strerror(errno)));
    status = zor::kTrouble;
  }
  if (in_file && status != zor::kDone) zor::remove_csh_file(context->script_file);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  Context context;
  context.environment = zor::Environment::of_process();
  context.commands = kCommands;
  zor::Engine engine(argc, argv);
  const int status = run_guarded(&context, {argv + 1, argv + argc});
  return finish(&context, status);
}
