// zor env: the environment of a request, in any dialect.
#include "commands/command.h"
#include "error.h"
#include "formats/format.h"

namespace zor {

namespace {

std::string format_names() {
  std::string names;
  for (const Format& format : formats())
    names += (names.empty() ? "" : ", ") + std::string(format.name);
  return names;
}

}  // namespace

int run_env(Context* context) {
  CommandLine line("env", "Print the environment under which products run together.",
                   "zor env --format sh tools/weaver");
  std::string name;
  bool full = false;
  bool changes = false;
  line.option("-f,--format", &name, "the dialect: " + format_names());
  line.flag("--full", &full, "all variables, not only what changes");
  line.flag("--changes", &changes, "only what changes; this is the default");
  const Request request = line.parse_request(*context);
  if (full && changes) misuse("--full and --changes exclude each other");
  if (name.empty())
    name = request.dialect.empty() || request.dialect == "posh" ? "sh" : request.dialect;
  const Format* format = find_format(name);
  if (!format) misuse("there is no format {}; there are {}", name, format_names());

  const Answer answer = answer_to(request, context->environment, context);
  const Environment& base = full ? Environment() : context->environment;
  context->out += written(*format, difference(base, answer.environment));
  return kDone;
}

}  // namespace zor
