// What the words of a command mean to a session.
#include <algorithm>

#include "catalogue.h"
#include "error.h"
#include "session/session.h"

namespace zor {

namespace {

// The names that a product goes by.
std::vector<std::string> names_of(const ProductName& product) {
  const std::string category = normal_path(product.category);
  std::vector<std::string> starts = {category + '/' + product.name, product.name};
  // The product that a category without a name stands for.
  if (product.name == "Contents") starts.push_back(category);
  std::vector<std::string> names;
  for (const std::string& start : starts)
    for (const std::string& rest :
         {std::string(), '/' + product.version, '/' + product.version + '/' + product.rev})
      names.push_back(start + rest);
  return names;
}

bool is_named(const Pin& pin, const std::string& word) {
  if (word == pin.named.word) return true;
  const std::vector<std::string> names = names_of(pin.named.query.product);
  return std::find(names.begin(), names.end(), normal_path(word)) != names.end();
}

const Pin& pin_at(const Contents& contents, const Place& place) {
  return contents.groups[place.group][place.index];
}

// The pins, one a line, each once.
std::string listed(const Contents& contents, const std::vector<Place>& places) {
  std::vector<std::string> lines;
  for (const Place& place : places) {
    const Pin& pin = pin_at(contents, place);
    lines.push_back(
        fmt::format("\n  {}, loaded as {}", pin.named.query.product.path(), pin.named.word));
  }
  std::string text;
  for (auto line = lines.begin(); line != lines.end(); ++line)
    if (std::find(lines.begin(), line, *line) == line) text += *line;
  return text;
}

std::vector<Place> all_places(const Contents& contents) {
  std::vector<Place> places;
  for (std::size_t i = 0; i < contents.groups.size(); ++i)
    for (std::size_t j = 0; j < contents.groups[i].size(); ++j)
      places.push_back({i, j});
  return places;
}

bool has_variable(const Answer& answer, std::size_t group, const std::string& name) {
  if (group >= answer.groups.size()) return false;
  for (const Choice& choice : answer.groups[group])
    for (const Variety& variety : choice.varieties)
      for (const Binding& variable : variety.variables)
        if (variable.name == name) return true;
  return false;
}

// Adds the variables of the session to the queries whose products have varieties by them.
void add_conditions(const std::vector<Binding>& variables, Request* request,
                    const Environment& base) {
  if (variables.empty()) return;
  std::vector<NamedQuery*> all;
  Question question;
  question.root = request->root;
  question.choices_only = true;
  for (auto& group : request->groups)
    for (NamedQuery& named : group) {
      all.push_back(&named);
      question.groups.push_back({named.query});
    }
  const Answer answer = compute(question, base);
  for (std::size_t i = 0; i < all.size(); ++i) {
    std::vector<Binding>& conditions = all[i]->query.conditions;
    const std::size_t typed = conditions.size();
    for (const Binding& variable : variables) {
      const bool stated =
          std::any_of(conditions.begin(), conditions.begin() + static_cast<long>(typed),
                      [&](const Binding& condition) { return condition.name == variable.name; });
      if (!stated && has_variable(answer, i, variable.name)) conditions.push_back(variable);
    }
  }
}

}  // namespace

std::vector<Place> find_loaded(const Contents& contents, const std::string& word) {
  std::vector<Place> found;
  std::vector<Place> exact;
  std::vector<std::string> names;
  const std::vector<Place> all = all_places(contents);
  for (const Place& place : all) {
    const Pin& pin = pin_at(contents, place);
    if (is_named(pin, word)) found.push_back(place);
    if (pin.named.word == word) exact.push_back(place);
    for (const std::string& name : names_of(pin.named.query.product))
      names.push_back(name);
  }
  const auto differ = [&](const std::vector<Place>& places) {
    return std::any_of(places.begin(), places.end(), [&](const Place& place) {
      return pin_at(contents, place).named.query != pin_at(contents, places[0]).named.query;
    });
  };
  if (differ(found) && !exact.empty() && !differ(exact)) return exact;
  if (differ(found)) fail("{} may be any of these; say which:{}", word, listed(contents, found));
  if (!found.empty()) return found;
  if (all.empty()) fail("{} is not loaded; nothing is", word);
  const std::vector<std::string> near = nearest(word, names, 1);
  fail("{} is not loaded; {}", word,
       near.empty() ? "these are:" + listed(contents, all) : "did you mean " + near[0] + "?");
}

void take_out(Contents* contents, const std::vector<Place>& places) {
  std::vector<std::vector<Pin>> kept;
  for (std::size_t i = 0; i < contents->groups.size(); ++i) {
    std::vector<Pin> group;
    for (std::size_t j = 0; j < contents->groups[i].size(); ++j) {
      const bool goes = std::any_of(places.begin(), places.end(), [&](const Place& place) {
        return place.group == i && place.index == j;
      });
      if (!goes) group.push_back(std::move(contents->groups[i][j]));
    }
    if (!group.empty()) kept.push_back(std::move(group));
  }
  contents->groups = std::move(kept);
}

std::string root_for(const Session& session, const Request& request) {
  if (session.contents.groups.empty()) return request.root;
  if (!request.root.empty() && absolute_root(request.root) != session.root)
    fail("the session is of the warehouse {}, not of {}; zor purge ends it", session.root,
         request.root);
  return session.root;
}

std::vector<std::vector<Pin>> pins_of(const Session& session, Request request,
                                      const Context& context) {
  if (request.undo) misuse("a session has no use for -u: zor unload takes products out of it");
  if (request.ignore_missing)
    misuse("a session has no use for -i: what is not there can't be loaded");
  if (!request.program.empty()) misuse("zor exec starts programs");
  request.root = root_for(session, request);
  add_conditions(session.contents.variables, &request, base_of(session, context.environment));
  std::vector<std::vector<Pin>> groups;
  for (auto& group : request.groups) {
    if (group.empty()) continue;
    groups.emplace_back();
    for (NamedQuery& named : group) {
      const ProductName asked = named.query.product;
      groups.back().push_back({std::move(named), asked});
    }
  }
  return groups;
}

}  // namespace zor
