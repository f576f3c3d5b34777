// zor load, unload, swap: which products a session holds.
#include <algorithm>

#include "commands/command.h"
#include "deadline.h"
#include "error.h"
#include "facts.h"
#include "log.h"
#include "render/account.h"
#include "session/session.h"

namespace zor {

namespace {

// The request of a command line, read as the session's environment was without the session.
Request request_in(const Session& session, Context* context, CommandLine* line) {
  Context reading = *context;
  reading.environment = base_of(session, context->environment);
  if (!session.contents.groups.empty() && !reading.environment.find("ZORROOT"))
    reading.environment.set("ZORROOT", session.root);
  now_doing("looking for the products");
  Request request = line->parse_request(reading);
  context->config = request.config;
  return request;
}

bool same_product(const Pin& one, const Pin& other) {
  const ProductName& a = one.named.query.product;
  const ProductName& b = other.named.query.product;
  return a.category == b.category && a.name == b.name;
}

// Adds pins to a group. Those that it has already, asked for in the same words, are told of.
void add_pins(std::vector<Pin>* group, std::vector<Pin> pins, std::string* notes) {
  for (Pin& pin : pins) {
    const bool there = std::any_of(group->begin(), group->end(), [&](const Pin& other) {
      return pin.asked == other.asked && pin.named.query.conditions == other.named.query.conditions;
    });
    if (there)
      *notes += fmt::format("zor: {} is loaded already\n", pin.named.word);
    else
      group->push_back(std::move(pin));
  }
}

// Two versions of one product may be in a session, though few mean to have them.
void note_further_versions(const Contents& contents, const std::vector<std::vector<Pin>>& added,
                           std::string* notes) {
  for (const auto& pins : added)
    for (const Pin& pin : pins)
      for (const auto& group : contents.groups)
        for (const Pin& other : group)
          if (same_product(pin, other) && pin.asked != other.asked)
            *notes += fmt::format("zor: {} stays loaded beside it; zor swap {} would replace it\n",
                                  other.named.query.product.path(), pin.named.word);
}

// The versions and varieties that pins lead to.
Answer chosen(const std::vector<std::vector<Pin>>& groups, const std::string& root,
              const Session& session, const Context& context) {
  Question question = request_of({groups, {}}, root).question();
  question.choices_only = true;
  return compute(question, base_of(session, context.environment));
}

// What the settings want told once a step has come to its end: the site of the products that were
// named, and the user of the news.
void tell_site(const char* command, const Request& request, const std::string& root,
               Context* context) {
  if (!request.config) return;
  context->notes += unseen_news(*request.config, context->environment);
  if (!is_logging(*request.config)) return;
  std::vector<ProductName> products;
  for (const auto& group : request.groups)
    for (const NamedQuery& named : group)
      try {
        products.push_back(latest_of(root, named.query.product));
      } catch (const Error&) {
        // The product has been removed meanwhile. The load has succeeded, so the log does without.
      }
  log_load(*request.config, command, root, products, context->environment);
}

}  // namespace

int run_load(Context* context) {
  CommandLine line("load", "Load products into this shell.", "zor load tools/weaver");
  bool over = false;
  line.flag("--over", &over, "override what is loaded, in place of joining it");
  bool verbose = false;
  line.flag("-v,--verbose", &verbose,
            "say which versions and varieties were taken; behind -p only in its long form");
  const Deadline deadline(line.time_limit(*context));
  const Session session = read_session(context->environment);
  Request request = request_in(session, context, &line);
  if (request.empty() && request.config && !request.config->defaults.empty())
    request = with_defaults(request, base_of(session, context->environment));
  context->notes += request.notes;
  if (request.empty()) misuse("say which product, as in: zor load tools/weaver");
  check_deprecated(request, context);
  require_shell(*context, "load");
  Contents contents = session.contents;
  std::vector<std::vector<Pin>> groups = pins_of(session, request, *context);
  if (verbose)
    context->notes += taken_text(chosen(groups, root_for(session, request), session, *context));
  note_further_versions(contents, groups, &context->notes);
  for (std::size_t i = 0; i < groups.size(); ++i) {
    if (contents.groups.empty() || over || i > 0) contents.groups.emplace_back();
    add_pins(&contents.groups.back(), std::move(groups[i]), &context->notes);
  }
  std::erase_if(contents.groups, [](const auto& group) { return group.empty(); });
  const std::string root = absolute_root(root_for(session, request));
  take_step(session, std::move(contents), root_for(session, request), context);
  tell_site("load", request, root, context);
  return kDone;
}

int run_unload(Context* context) {
  CommandLine line("unload", "Take products out of this shell again.", "zor unload weaver");
  std::vector<std::string> names;
  line.positionals("NAME", &names, "a product that is loaded, as zor list shows it or shorter");
  const Deadline deadline(line.time_limit(*context));
  line.parse(context->words);
  if (names.empty()) misuse("say which product, as in: zor unload weaver");
  require_shell(*context, "unload");
  const Session session = read_session(context->environment);
  Contents contents = session.contents;
  std::vector<Place> places;
  for (const std::string& name : names)
    for (const Place& place : find_loaded(contents, name))
      places.push_back(place);
  take_out(&contents, places);
  take_step(session, std::move(contents), session.root, context);
  return kDone;
}

int run_swap(Context* context) {
  CommandLine line("swap", "Put a product in the place of another, or of another version of it.",
                   "zor swap tools/weaver/1.9");
  const Deadline deadline(line.time_limit(*context));
  const Session session = read_session(context->environment);
  // The first of two words is what a product is called that is loaded; it may be gone from disk.
  std::string old;
  std::vector<std::string>& words = context->words;
  const auto is_free = [&](std::size_t i) { return !words[i].empty() && words[i][0] != '-'; };
  if (words.size() > 1 && is_free(0) && (is_free(1) || words[1].starts_with("-p"))) {
    old = words[0];
    words.erase(words.begin());
  }
  const Request request = request_in(session, context, &line);
  context->notes += request.notes;
  check_deprecated(request, context);
  std::vector<std::vector<Pin>> groups = pins_of(session, request, *context);
  const bool separated = std::find(words.begin(), words.end(), "//") != words.end() ||
                         std::find(words.begin(), words.end(), "--and") != words.end();
  if (groups.size() != 1 || groups[0].size() != 1 || separated)
    misuse("say what for what, as in: zor swap weaver tools/weaver/1.9");
  require_shell(*context, "swap");
  Pin pin = std::move(groups[0][0]);
  const ProductName& product = pin.named.query.product;
  if (old.empty()) old = product.category + '/' + product.name;
  Contents contents = session.contents;
  for (const Place& place : find_loaded(contents, old))
    contents.groups[place.group][place.index] = pin;
  take_step(session, std::move(contents), session.root, context);
  tell_site("swap", request, session.root, context);
  return kDone;
}

}  // namespace zor
