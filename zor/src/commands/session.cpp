// zor purge, reload, undo, set: what becomes of a session as a whole.
#include <algorithm>

#include "commands/command.h"
#include "deadline.h"
#include "error.h"
#include "session/session.h"

namespace zor {

namespace {

// What is typed as NAME=VALUE, or NAME= to forget it.
void set_variable(std::vector<Binding>* variables, const std::string& word) {
  const std::size_t equals = word.find('=');
  if (equals == std::string::npos || equals == 0)
    misuse("{}: a variable is set by NAME=VALUE and forgotten by NAME=", word);
  const std::string name = word.substr(0, equals);
  const std::string value = word.substr(equals + 1);
  std::erase_if(*variables, [&](const Binding& variable) { return variable.name == name; });
  if (!value.empty()) variables->push_back({name, value});
}

}  // namespace

int run_purge(Context* context) {
  CommandLine line("purge", "Take all products out of this shell and end the session.",
                   "zor purge");
  const Deadline deadline(line.time_limit(*context));
  line.parse(context->words);
  require_shell(*context, "purge");
  const Session session = read_session(context->environment);
  take_step(session, {}, session.root, context);
  return kDone;
}

int run_reload(Context* context) {
  CommandLine line("reload", "Compute what is loaded anew, from the data files as they are now.",
                   "zor reload --latest");
  bool latest = false;
  line.flag("--latest", &latest,
            "take the latest versions and revisions where loading left them open");
  const Deadline deadline(line.time_limit(*context));
  line.parse(context->words);
  require_shell(*context, "reload");
  const Session session = read_session(context->environment);
  Contents contents = session.contents;
  for (auto& group : contents.groups)
    for (Pin& pin : group)
      if (latest) pin.named.query.product = pin.asked;
  take_step(session, std::move(contents), session.root, context);
  return kDone;
}

int run_undo(Context* context) {
  CommandLine line("undo", "Take back the last change of what is loaded.", "zor undo");
  const Deadline deadline(line.time_limit(*context));
  line.parse(context->words);
  require_shell(*context, "undo");
  const Session session = read_session(context->environment);
  if (session.history.empty()) fail("there is nothing to undo in this session");
  take_step(session, session.history.back(), session.root, context, true);
  return kDone;
}

int run_set(Context* context) {
  CommandLine line("set", "Set conditions for all products that are loaded from now on.",
                   "zor set compiler=gcc");
  std::vector<std::string> words;
  bool json = false;
  line.positionals("NAME=VALUE", &words,
                   "the variable that varieties are told by, and its value; without a value it is "
                   "forgotten; without words all are listed");
  line.flag("--json", &json, "list them as JSON");
  const Deadline deadline(line.time_limit(*context));
  line.parse(context->words);
  const Session session = read_session(context->environment);
  if (words.empty()) {
    context->out += variables_text(session.contents.variables, json);
    return kDone;
  }
  Contents contents = session.contents;
  for (const std::string& word : words)
    set_variable(&contents.variables, word);
  require_shell(*context, "set");
  take_step(session, std::move(contents), session.root, context);
  return kDone;
}

}  // namespace zor
