// zor init: the function zor and its completion, as text for a shell.
#include "init/init.h"
#include "commands/command.h"
#include "error.h"

namespace zor {

namespace {

std::string shell_names() {
  std::string names;
  for (const Shell& shell : shells())
    names += (names.empty() ? "" : ", ") + std::string(shell.name);
  return names;
}

}  // namespace

int run_init(Context* context) {
  CommandLine line("init", "Print the function zor for a shell, to be evaluated by it.",
                   "eval \"$(zor init bash)\"");
  std::string name;
  line.positional("SHELL", &name, "one of " + shell_names());
  line.parse(context->words);
  if (name.empty()) misuse("say for which shell: {}", shell_names());
  const Shell* shell = find_shell(name);
  if (!shell) misuse("there is no shell {}; there are {}", name, shell_names());
  context->out += shell->definition(own_callee(context->commands));
  return kDone;
}

}  // namespace zor
