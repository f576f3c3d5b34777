// zor shell: replaces itself by the user's shell in the environment of a request.
#include "commands/command.h"
#include "error.h"

namespace zor {

int run_shell(Context* context) {
  CommandLine line("shell",
                   "Start your shell, $SHELL or else sh, in the environment of products; leave it "
                   "by exit. What the shell's own start-up files set comes on top.",
                   "zor shell tools/weaver");
  std::string locked;
  line.option("--locked", &locked, "the lock in this file, in place of a request");
  const Request request = line.parse_request(*context);
  if (!request.program.empty())
    misuse("zor shell starts your shell and takes no program; zor exec does");
  const Answer answer = answer_to(request, locked, context);
  const std::string shell(context->environment.find("SHELL").value_or(""));
  become({shell.empty() ? "/bin/sh" : shell}, answer.environment, context);
}

}  // namespace zor
