// zor exec: replaces itself by a program in the environment of a request.
#include "commands/command.h"
#include "error.h"

namespace zor {

int run_exec(Context* context) {
  CommandLine line("exec", "Start a program in the environment of products.",
                   "zor exec tools/weaver -- weaver --version");
  std::string locked;
  line.option("--locked", &locked, "the lock in this file, in place of a request");
  const Request request = line.parse_request(*context);
  if (request.program.empty())
    misuse("say which program, behind --: zor exec tools/weaver -- weaver");
  const Answer answer = answer_to(request, locked, context);
  become(request.program, answer.environment, context);
}

}  // namespace zor
