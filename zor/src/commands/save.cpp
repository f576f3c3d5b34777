// zor save, restore: what a session holds, as a lock under a name of the user's.
#include "catalogue.h"
#include "commands/command.h"
#include "deadline.h"
#include "error.h"
#include "files.h"
#include "lock.h"
#include "session/session.h"

namespace zor {

namespace {

std::string listed(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names)
    text += name + '\n';
  return text;
}

}  // namespace

int run_save(Context* context) {
  CommandLine line("save",
                   "Save what is loaded under a name, for zor restore NAME and for @NAME in "
                   "requests; without a name, list those that there are.",
                   "zor save weaving");
  std::string name;
  line.positional("NAME", &name, "the name");
  const Deadline deadline(line.time_limit(*context));
  line.parse(context->words);
  if (name.empty()) {
    context->out += listed(saved_names(context->environment));
    return kDone;
  }
  const std::string path = saved_path(name, context->environment);
  const Session session = read_session(context->environment);
  if (session.contents.groups.empty()) fail("nothing is loaded, so there is nothing to save");
  Request request = request_of(session.contents, session.root);
  request.list_reads = true;
  const Answer answer = answer_to(request, base_of(session, context->environment), context);
  write_file(path, written(lock_of(request, answer)));
  return kDone;
}

int run_restore(Context* context) {
  CommandLine line("restore", "Load what was saved under a name, in place of what is loaded.",
                   "zor restore weaving");
  std::string name;
  line.positional("NAME", &name, "the name");
  const Deadline deadline(line.time_limit(*context));
  line.parse(context->words);
  if (name.empty()) misuse("say which; zor save lists what was saved");
  const std::string path = saved_path(name, context->environment);
  const auto text = content_if_there(path);
  if (!text) {
    const std::vector<std::string> near = nearest(name, saved_names(context->environment), 1);
    fail("nothing was saved as {}{}", name,
         near.empty() ? "; zor save lists what was" : fmt::format("; did you mean {}?", near[0]));
  }
  require_shell(*context, "restore");
  const Lock lock = read_lock(*text, path);
  const Session session = read_session(context->environment);
  const Environment base = base_of(session, context->environment);
  const std::string root = absolute_root(std::string(base.find("ZORROOT").value_or(lock.root)));
  for (const std::string& change : changes_since(lock, root))
    context->notes += fmt::format("zor: since {} was saved, {}\n", name, change);
  Contents contents = session.contents;
  contents.groups.clear();
  for (const auto& group : lock.groups) {
    contents.groups.emplace_back();
    for (const LockedProduct& product : group)
      contents.groups.back().push_back(
          {{product.query, product.query.product.path(), false}, product.query.product});
  }
  take_step(session, std::move(contents), root, context);
  return kDone;
}

}  // namespace zor
