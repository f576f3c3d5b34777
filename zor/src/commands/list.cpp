// zor list, status: what a session holds.
#include <unistd.h>

#include "commands/command.h"
#include "deadline.h"
#include "error.h"
#include "render/json.h"
#include "session/digests.h"
#include "session/session.h"

namespace zor {

namespace {

Json json_of(const std::vector<Binding>& bindings) {
  Json json = Json::array();
  for (const Binding& binding : bindings)
    json.push_back({{"variable", json_text(binding.name)}, {"value", json_text(binding.value)}});
  return json;
}

Json json_of(const Pin& pin) {
  const ProductName& product = pin.named.query.product;
  return {{"category", json_text(product.category)},
          {"name", json_text(product.name)},
          {"version", json_text(product.version)},
          {"rev", json_text(product.rev)},
          {"conditions", json_of(pin.named.query.conditions)},
          {"word", json_text(pin.named.word)}};
}

Json groups_json(const Contents& contents) {
  Json groups = Json::array();
  for (const auto& group : contents.groups) {
    groups.push_back(Json::array());
    for (const Pin& pin : group)
      groups.back().push_back(json_of(pin));
  }
  return groups;
}

// As it may be typed again.
std::string text_of(const Pin& pin) {
  std::string text = pin.named.query.product.path();
  for (const Binding& condition : pin.named.query.conditions)
    text += fmt::format("[{}={}]", condition.name, condition.value);
  return text;
}

std::string groups_text(const Contents& contents) {
  std::string text;
  for (const auto& group : contents.groups) {
    if (!text.empty()) text += "//\n";
    for (const Pin& pin : group)
      text += text_of(pin) + '\n';
  }
  return text;
}

// ---- status ----

struct ChangedFile {
  std::string path;  // below the root
  std::string what;  // "changed", "missing" or "new"
};

std::vector<ChangedFile> changed_files(const Session& session) {
  std::vector<ChangedFile> changed;
  for (const auto& [product, before] : session.files) {
    const Digests now = digests_in(session.root + '/' + product);
    for (const auto& [name, digest] : before) {
      const auto found = now.find(name);
      if (found == now.end())
        changed.push_back({product + '/' + name, "missing"});
      else if (found->second != digest)
        changed.push_back({product + '/' + name, "changed"});
    }
    for (const auto& [name, digest] : now)
      if (!before.contains(name)) changed.push_back({product + '/' + name, "new"});
  }
  return changed;
}

// A variable of the session, and a directory on it that is not there.
struct MissingDirectory {
  std::string variable;
  std::string directory;
};

std::vector<MissingDirectory> missing_directories(const Session& session) {
  std::vector<MissingDirectory> missing;
  for (const auto& [name, tracked] : session.variables) {
    if (!name.ends_with("PATH") || !tracked.last) continue;
    for (const std::string& element : split_list(*tracked.last, tracked.separator))
      if (element.starts_with('/') && access(element.c_str(), F_OK) != 0)
        missing.push_back({name, element});
  }
  return missing;
}

bool is_by_hand(const Tracked& tracked) {
  return tracked.left_alone || !tracked.hand.empty();
}

std::string by_hand_text(const std::string& name, const Tracked& tracked) {
  if (tracked.left_alone)
    return fmt::format("  {} is left as it was {}\n", name, tracked.last ? "set" : "removed");
  std::string text;
  const auto add = [&](const char* what, const Elements& elements) {
    for (const std::string& element : elements)
      text += fmt::format("  {} {} {}\n", name, what, element);
  };
  add("has", tracked.hand.added);
  add("lacks", tracked.hand.without);
  add("has elsewhere", tracked.hand.moved);
  return text;
}

Json by_hand_json(const std::string& name, const Tracked& tracked) {
  return {{"variable", json_text(name)},
          {"left_alone", tracked.left_alone},
          {"added", json_texts(tracked.hand.added)},
          {"removed", json_texts(tracked.hand.without)},
          {"moved", json_texts(tracked.hand.moved)}};
}

std::string status_json(const Session& session, const std::vector<ChangedFile>& files,
                        const std::vector<MissingDirectory>& missing) {
  Json by_hand = Json::array();
  Json variables = Json::array();
  for (const auto& [name, tracked] : session.variables) {
    variables.push_back(json_text(name));
    if (is_by_hand(tracked)) by_hand.push_back(by_hand_json(name, tracked));
  }
  Json changed = Json::array();
  for (const ChangedFile& file : files)
    changed.push_back({{"file", json_text(file.path)}, {"change", file.what}});
  Json directories = Json::array();
  for (const MissingDirectory& row : missing)
    directories.push_back(
        {{"variable", json_text(row.variable)}, {"directory", json_text(row.directory)}});
  return printed({{"version", 1},
                  {"root", json_text(session.root)},
                  {"platform", json_text(session.platform)},
                  {"host", json_text(host_platform_name())},
                  {"groups", groups_json(session.contents)},
                  {"set", json_of(session.contents.variables)},
                  {"variables", variables},
                  {"by_hand", by_hand},
                  {"changed_files", changed},
                  {"missing_directories", directories}});
}

// What only reads a session takes up what was changed by hand without remembering it.
Session read_session_now(const Environment& environment) {
  Session session = read_session(environment);
  take_up_changes(&session, environment);
  return session;
}

}  // namespace

std::string variables_text(const std::vector<Binding>& variables, bool json) {
  if (json) return printed({{"version", 1}, {"set", json_of(variables)}});
  std::string text;
  for (const Binding& variable : variables)
    text += variable.name + '=' + variable.value + '\n';
  return text;
}

int run_list(Context* context) {
  CommandLine line("list", "List the products that are loaded, in the order of loading.",
                   "zor list");
  bool json = false;
  line.flag("--json", &json, "as JSON");
  line.parse(context->words);
  const Session session = read_session(context->environment);
  context->out += json ? printed({{"version", 1},
                                  {"root", json_text(session.root)},
                                  {"groups", groups_json(session.contents)}})
                       : groups_text(session.contents);
  return kDone;
}

int run_status(Context* context) {
  CommandLine line("status", "Tell what is loaded, and what has changed since.", "zor status");
  bool json = false;
  line.flag("--json", &json, "as JSON");
  const Deadline deadline(line.time_limit(*context));
  line.parse(context->words);
  const Session session = read_session_now(context->environment);
  now_doing("looking at data files and directories");
  const std::vector<ChangedFile> files = changed_files(session);
  const std::vector<MissingDirectory> missing = missing_directories(session);
  if (json) {
    context->out += status_json(session, files, missing);
    return kDone;
  }
  std::string& out = context->out;
  if (session.contents.groups.empty())
    out += "nothing is loaded\n";
  else
    out += fmt::format("of the warehouse {}:\n{}", session.root, groups_text(session.contents));
  if (!session.contents.variables.empty())
    out += "set for what is loaded next:\n" + variables_text(session.contents.variables, false);
  std::string by_hand;
  for (const auto& [name, tracked] : session.variables)
    if (is_by_hand(tracked)) by_hand += by_hand_text(name, tracked);
  if (!by_hand.empty()) out += "changed by hand:\n" + by_hand;
  if (!files.empty()) out += "data files that changed since loading; zor reload reads them:\n";
  for (const ChangedFile& file : files)
    out += fmt::format("  {} is {}\n", file.path, file.what);
  if (!missing.empty()) out += "directories that do not exist:\n";
  for (const MissingDirectory& row : missing)
    out += fmt::format("  {} on {}\n", row.directory, row.variable);
  if (!session.platform.empty() && session.platform != host_platform_name())
    out +=
        fmt::format("loaded on another platform, {}; this host is {}; zor reload computes anew\n",
                    session.platform, host_platform_name());
  return kDone;
}

}  // namespace zor
