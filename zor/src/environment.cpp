#include "environment.h"

#include <unistd.h>

#include <algorithm>
#include <map>

namespace zor {

std::string_view name_of(std::string_view text) {
  return text.substr(0, text.find('='));
}

std::string_view value_of(std::string_view text) {
  const std::size_t equals = text.find('=');
  return equals == std::string_view::npos ? std::string_view() : text.substr(equals + 1);
}

Environment Environment::of_process() {
  std::vector<std::string> texts;
  for (char** text = environ; text && *text; ++text)
    texts.emplace_back(*text);
  return Environment(std::move(texts));
}

std::optional<std::string_view> Environment::find(std::string_view name) const {
  for (auto text = texts_.rbegin(); text != texts_.rend(); ++text)
    if (name_of(*text) == name) return value_of(*text);
  return std::nullopt;
}

void Environment::set(std::string_view name, std::string_view value) {
  apply({{std::string(name), std::string(value)}});
}

void Environment::apply(const std::vector<Change>& changes) {
  std::unordered_map<std::string_view, std::size_t> by_name;
  for (std::size_t i = 0; i < changes.size(); ++i)
    by_name[changes[i].name] = i;
  std::vector<bool> done(changes.size());
  std::vector<std::string> kept;
  kept.reserve(texts_.size() + changes.size());
  const auto put = [&](std::size_t i) {
    if (!changes[i].value || done[i]) return;
    done[i] = true;
    kept.push_back(changes[i].name + '=' + *changes[i].value);
  };
  for (std::string& text : texts_) {
    const auto change = by_name.find(name_of(text));
    if (change == by_name.end())
      kept.push_back(std::move(text));
    else
      put(change->second);
  }
  for (std::size_t i = 0; i < changes.size(); ++i)
    put(i);
  texts_ = std::move(kept);
}

Values::Values(const Environment& environment) {
  for (const std::string& text : environment.texts())
    by_name_[name_of(text)] = value_of(text);
}

std::optional<std::string_view> Values::find(std::string_view name) const {
  const auto found = by_name_.find(name);
  return found == by_name_.end() ? std::nullopt : std::optional(found->second);
}

std::vector<Change> difference(const Environment& from, const Environment& to) {
  const auto table_of = [](const Environment& environment) {
    std::map<std::string_view, std::string_view> table;
    for (const std::string& text : environment.texts())
      table[name_of(text)] = value_of(text);
    return table;
  };
  const auto old_table = table_of(from);
  const auto new_table = table_of(to);
  std::vector<Change> changes;
  for (const auto& [name, value] : new_table) {
    const auto old = old_table.find(name);
    if (old == old_table.end() || old->second != value)
      changes.push_back({std::string(name), std::string(value)});
  }
  for (const auto& [name, value] : old_table)
    if (!new_table.contains(name)) changes.push_back({std::string(name), std::nullopt});
  std::sort(changes.begin(), changes.end(),
            [](const Change& a, const Change& b) { return a.name < b.name; });
  return changes;
}

}  // namespace zor
