// Steps from one content of a session to the next.
#include <algorithm>
#include <map>
#include <unordered_map>

#include "deadline.h"
#include "error.h"
#include "formats/format.h"
#include "hooks.h"
#include "init/init.h"
#include "session/digests.h"
#include "session/session.h"

namespace zor {

namespace {

// So many steps undo goes back.
constexpr std::size_t kMostHistory = 20;

using Value = std::optional<std::string>;

Value value_in(const Values& values, std::string_view name) {
  const auto value = values.find(name);
  return value ? Value(*value) : std::nullopt;
}

Environment in_order_of_names(const Environment& environment) {
  std::vector<std::string> texts = environment.texts();
  std::stable_sort(texts.begin(), texts.end(), [](const std::string& a, const std::string& b) {
    return name_of(a) < name_of(b);
  });
  return Environment(std::move(texts));
}

// A value with what was done to its elements by hand.
Value with_hand(const Tracked& tracked, const Value& value) {
  if (tracked.hand.empty() || (!value && tracked.hand.added.empty())) return value;
  const Elements list = split_list(value.value_or(""), tracked.separator);
  return join_list(with_hand(tracked.hand, list), tracked.separator);
}

// The environment without the session. What was taken from lists by hand is missing in it, or is
// there where products find their places beside it.
Environment base_without(const Session& session, const Environment& environment, bool whole) {
  std::vector<std::string> texts = environment.texts();
  std::erase_if(texts, [](const std::string& text) { return is_session_text(name_of(text)); });
  Environment base(std::move(texts));
  std::vector<Change> changes;
  for (const auto& [name, tracked] : session.variables) {
    Tracked asked = tracked;
    if (whole) asked.hand.without.clear();
    changes.push_back({name, with_hand(asked, tracked.base)});
  }
  base.apply(changes);
  return in_order_of_names(base);
}

void pin(Contents* contents, const Answer& answer) {
  for (std::size_t i = 0; i < contents->groups.size(); ++i)
    for (std::size_t j = 0; j < contents->groups[i].size(); ++j)
      contents->groups[i][j].named.query.product = answer.taken[i][j];
}

// What the data files state first for a variable, as there is an error if they state others.
class Separators {
 public:
  explicit Separators(const std::vector<Binding>& rows) : rows_(rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (is_pattern(rows[i].name))
        patterns_.push_back(i);
      else
        by_name_.emplace(rows[i].name, i);
    }
  }

  // Null if they state none.
  const std::string* find(const std::string& name) const {
    const auto exact = by_name_.find(name);
    const std::size_t end = exact == by_name_.end() ? rows_.size() : exact->second;
    for (const std::size_t i : patterns_) {
      if (i > end) break;
      if (pattern_matches(rows_[i].name, name)) return &rows_[i].value;
    }
    return end == rows_.size() ? nullptr : &rows_[end].value;
  }

 private:
  const std::vector<Binding>& rows_;
  std::unordered_map<std::string_view, std::size_t> by_name_;
  std::vector<std::size_t> patterns_;
};

// The variable as it is tracked from now on. base is its value in the base environment, raw what
// the products make of that.
Tracked next_tracked(const Session& session, const Separators& separators, const std::string& name,
                     const Value& base, const Value& raw) {
  Tracked tracked;
  if (const auto old = session.variables.find(name); old != session.variables.end())
    tracked = old->second;
  else
    tracked.base = base;
  if (const std::string* stated = separators.find(name)) tracked.separator = *stated;
  forget_lost(&tracked.hand, split_list(tracked.base.value_or(""), tracked.separator),
              split_list(raw.value_or(""), tracked.separator));
  const Value computed = with_hand(tracked, raw);
  tracked.left_alone = tracked.left_alone && computed != tracked.last;
  if (tracked.left_alone)
    tracked.computed = computed;
  else
    tracked.last = computed;
  return tracked;
}

// Computes the contents of the session and changes target, the environment without it, to the
// result.
void compute_contents(Session* session, const std::string& root, Environment* target,
                      Context* context) {
  const Environment base = base_without(*session, context->environment, true);
  std::string words;
  for (const auto& group : session->contents.groups)
    for (const Pin& pin : group)
      words += ' ' + pin.named.word;
  now_doing("computing the environment of" + words);
  const Answer answer = answer_to(request_of(session->contents, root), base, context);
  const std::vector<Change> changes = difference(base, answer.environment);
  const Separators separators(answer.separators);
  const Values values(base);
  std::map<std::string, Tracked> variables;
  std::vector<Change> put;
  for (const Change& change : changes) {
    if (is_session_text(change.name))
      fail("a product sets {}, where the session is kept; nothing was changed", change.name);
    Tracked tracked = next_tracked(*session, separators, change.name, value_in(values, change.name),
                                   change.value);
    put.push_back({change.name, tracked.last});
    variables[change.name] = std::move(tracked);
  }
  // The products don't change these any more.
  for (const auto& [name, tracked] : session->variables)
    if (tracked.left_alone && !variables.contains(name)) put.push_back({name, tracked.last});
  target->apply(put);
  now_doing("reading the data files of" + words);
  pin(&session->contents, answer);
  session->variables = std::move(variables);
  session->root = answer.root;
  session->platform = host_platform_name();
  session->files = digests_of(answer.root, answer.products);
}

// With no product there is nothing to compute, so this works with the warehouse gone.
void leave_products(Session* session, Environment* environment) {
  std::vector<Change> put;
  for (const auto& [name, tracked] : session->variables)
    if (tracked.left_alone) put.push_back({name, tracked.last});
  environment->apply(put);
  session->variables.clear();
  session->files.clear();
  session->root.clear();
  session->platform.clear();
}

void write_history(Session* next, const Contents& before, bool undone) {
  if (undone) {
    next->history.pop_back();
    return;
  }
  if (before == next->contents) return;
  next->history.push_back(before);
  if (next->history.size() > kMostHistory) next->history.erase(next->history.begin());
}

// For the steps that need no settings but for the programs around them, and so go on without.
void read_settings(const std::string& root, const Environment& environment, Context* context) {
  if (context->config) return;
  Config config;
  try {
    if (!root.empty()) config = load_config(root, environment);
  } catch (const Error& error) {
    context->notes +=
        fmt::format("zor: {}; no program is run before the step or after it\n", error.what());
  }
  context->config = std::make_shared<const Config>(std::move(config));
}

// The line for a shell's start-up file.
std::string start_up_line(const Environment& environment) {
  static constexpr struct {
    std::string_view shell;
    std::string_view file;
    std::string_view line;
  } kRows[] = {
      {"bash", "~/.bashrc", "eval \"$(zor init bash)\""},
      {"zsh", "~/.zshrc", "eval \"$(zor init zsh)\""},
      {"ksh", "the file that ENV names", "eval \"$(zor init ksh)\""},
      {"fish", "~/.config/fish/config.fish", "zor init fish | source"},
      {"tcsh", "~/.cshrc", "eval \"`zor init tcsh`\""},
      {"csh", "~/.cshrc", "eval \"`zor init csh`\""},
  };
  const std::string path(environment.find("SHELL").value_or(""));
  const std::string shell = path.substr(path.find_last_of('/') + 1);
  for (const auto& row : kRows)
    if (row.shell == shell) return fmt::format("put this into {}:\n  {}", row.file, row.line);
  return "put this into your shell's start-up file, with its name in place of sh:\n"
         "  eval \"$(zor init sh)\"";
}

}  // namespace

Request request_of(const Contents& contents, const std::string& root) {
  Request request;
  request.root = root;
  for (const auto& group : contents.groups) {
    request.groups.emplace_back();
    for (const Pin& pin : group)
      request.groups.back().push_back(pin.named);
  }
  return request;
}

std::string take_up_changes(Session* session, const Environment& environment) {
  std::string lines;
  const Values values(environment);
  for (auto& [name, tracked] : session->variables) {
    const Value now = value_in(values, name);
    if (now == tracked.last) continue;
    if (tracked.left_alone) {
      tracked.left_alone = now != tracked.computed;
    } else if (now && tracked.last &&
               (!tracked.hand.empty() ||
                is_change_of_list(*tracked.last, *now, tracked.separator))) {
      take_up(&tracked.hand, split_list(*tracked.last, tracked.separator),
              split_list(*now, tracked.separator));
    } else {
      tracked.left_alone = true;
      tracked.computed = tracked.last;
      lines += fmt::format("zor: {} was {} by hand and is left as it is\n", name,
                           now ? "set" : "removed");
    }
    tracked.last = now;
  }
  return lines;
}

Environment base_of(const Session& session, const Environment& environment) {
  return base_without(session, environment, false);
}

void take_step(const Session& session, Contents contents, const std::string& root, Context* context,
               bool undone) {
  const Format* format = find_format(context->shell);
  if (!format) misuse("there is no shell {} that zor knows", context->shell);
  Session next = session;
  context->notes += take_up_changes(&next, context->environment);
  Environment target = base_of(next, context->environment);
  read_settings(root.empty() ? session.root : root, target, context);
  run_before_step(*context->config, context->verb, context->environment);
  next.contents = std::move(contents);
  if (next.contents.groups.empty())
    leave_products(&next, &target);
  else
    compute_contents(&next, root.empty() ? session.root : root, &target, context);
  write_history(&next, session.contents, undone);
  target.apply(session_texts(next));
  context->script = shell_script(*format, difference(context->environment, target));
  context->notes += run_after_step(*context->config, context->verb, target);
}

void require_shell(const Context& context, const std::string& verb) {
  if (context.shell.empty())
    fail("{} changes the environment of a shell, which takes the shell's help: {}", verb,
         start_up_line(context.environment));
}

}  // namespace zor
