// zor env: the environment of a request, in any dialect.
#include "commands/command.h"
#include "error.h"
#include "formats/format.h"
#include "render/account.h"

namespace zor {

namespace {

std::string format_names() {
  std::string names;
  for (const Format& format : formats())
    names += (names.empty() ? "" : ", ") + std::string(format.name);
  return names;
}

// Takes out the variables that stay as they are and that the format can't carry, such as the
// shell's own. Gives a remark that names them.
std::string leave_out(const Format& format, const Environment& base, std::vector<Change>* changes) {
  std::string names;
  std::erase_if(*changes, [&](const Change& change) {
    const bool stays = base.find(change.name) == change.value;
    if (!stays || format.refusal(change).empty()) return false;
    names += ' ' + change.name;
    return true;
  });
  return names.empty() ? names
                       : fmt::format("zor: left out, as they stay what they are:{}\n", names);
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
  bool verbose = false;
  line.flag("-v,--verbose", &verbose,
            "say which versions and varieties were taken; behind -p only in its long form");
  std::string locked;
  line.option("--locked", &locked, "the lock in this file, in place of a request");
  const Request request = line.parse_request(*context);
  if (full && changes) misuse("--full and --changes exclude each other");
  if (name.empty())
    name = request.dialect.empty() || request.dialect == "posh" ? "sh" : request.dialect;
  const Format* format = find_format(name);
  if (!format) misuse("there is no format {}; there are {}", name, format_names());

  const Answer answer = answer_to(request, locked, context);
  if (verbose) context->notes += taken_text(answer);
  std::vector<Change> result =
      difference(full ? Environment() : context->environment, answer.environment);
  if (full) context->notes += leave_out(*format, context->environment, &result);
  context->out += written(*format, result);
  return kDone;
}

}  // namespace zor
