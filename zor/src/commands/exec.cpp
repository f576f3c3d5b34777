// zor exec: replaces itself by a program in the environment of a request.
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "commands/command.h"
#include "error.h"

namespace zor {

int run_exec(Context* context) {
  CommandLine line("exec", "Start a program in the environment of products.",
                   "zor exec tools/weaver -- weaver --version");
  const Request request = line.parse_request(*context);
  if (request.program.empty())
    misuse("say which program, behind --: zor exec tools/weaver -- weaver");
  const Answer answer = answer_to(request, context->environment, context);
  const auto pointers = [](const std::vector<std::string>& texts) {
    std::vector<char*> all;
    all.reserve(texts.size() + 1);
    for (const std::string& text : texts)
      all.push_back(const_cast<char*>(text.c_str()));
    all.push_back(nullptr);
    return all;
  };
  std::vector<char*> environment = pointers(answer.environment.texts());
  std::vector<char*> arguments = pointers(request.program);
  // The program is looked for on the PATH that it gets.
  environ = environment.data();
  execvp(arguments[0], arguments.data());
  const int reason = errno;
  environ = nullptr;
  throw Error(fmt::format("{}: {}", request.program[0], std::strerror(reason)),
              reason == ENOENT ? 127 : 126);
}

}  // namespace zor
