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
  std::string text = std::string(name) + '=' + std::string(value);
  const auto has_name = [&](const std::string& other) { return name_of(other) == name; };
  const auto first = std::find_if(texts_.begin(), texts_.end(), has_name);
  if (first == texts_.end()) {
    texts_.push_back(std::move(text));
    return;
  }
  *first = std::move(text);
  texts_.erase(std::remove_if(first + 1, texts_.end(), has_name), texts_.end());
}

void Environment::erase(std::string_view name) {
  std::erase_if(texts_, [&](const std::string& text) { return name_of(text) == name; });
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
