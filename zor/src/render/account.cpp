#include "render/account.h"

#include "render/text.h"
#include "words.h"

namespace zor {

namespace {

const AppliedOperation& operation_at(const Account& account, int index) {
  return account.operations[static_cast<std::size_t>(index)];
}

const Station& station_at(const Account& account, int index) {
  return account.stations[static_cast<std::size_t>(index)];
}

// Those of the patterns that accept a value.
std::string accepting(const std::vector<std::string>& patterns, const std::string& value) {
  std::vector<std::string> all;
  for (const std::string& pattern : patterns)
    if (pattern_matches(pattern, value)) all.push_back(in_one_line(pattern));
  return joined(all, " ");
}

}  // namespace

std::string in_one_line(const std::string& text) {
  return without_controls(text, false);
}

std::string place_text(const Location& place) {
  return fmt::format("{}:{}:{}", place.file, place.line, place.column);
}

std::string bindings_text(const std::vector<Binding>& bindings) {
  std::string text;
  for (const Binding& binding : bindings)
    text += (text.empty() ? "" : ", ") + binding.name + '=' + binding.value;
  return text;
}

std::string station_text(const Station& station) {
  const std::string path = station.product.path();
  return station.variables.empty() ? path
                                   : fmt::format("{}[{}]", path, bindings_text(station.variables));
}

std::string word_text(const NamedQuery& named) {
  return (named.exact ? "-p " : "") + named.word;
}

std::string operation_text(const Account& account, int operation) {
  const AppliedOperation& one = operation_at(account, operation);
  return fmt::format("{} ({})", station_text(station_at(account, one.station)),
                     place_text(one.place));
}

std::string chain_text(const Account& account, const Request& request, int operation,
                       const std::string& indent) {
  std::string text;
  const std::vector<int> chain = chain_of(account, operation);
  for (auto at = chain.rbegin(); at != chain.rend(); ++at) {
    const Station& station = station_at(account, *at);
    if (station.includer >= 0) {
      text += fmt::format("{}a part of {} ({})\n", indent,
                          station_text(station_at(account, station.includer)),
                          place_text(station.part));
      continue;
    }
    const auto group = static_cast<std::size_t>(station.group);
    if (station.query < 0 || group >= request.groups.size()) continue;
    const auto& named = request.groups[group][static_cast<std::size_t>(station.query)];
    text += fmt::format("{}named as {}{}\n", indent, word_text(named),
                        request.groups.size() > 1 ? fmt::format(" in group {}", group + 1) : "");
  }
  return text;
}

std::string constraint_text(const Account& account, const ConstraintReason& constraint) {
  if (constraint.operation < 0) return {};
  const AppliedOperation& operation = operation_at(account, constraint.operation);
  const bool first = !operation.values.empty() && operation.values[0] == constraint.first;
  return fmt::format("{} {} of {}", first ? "BEFORE" : "AFTER",
                     first ? accepting(operation.before, constraint.second)
                           : accepting(operation.after, constraint.first),
                     operation_text(account, constraint.operation));
}

std::string taken_text(const Answer& answer) {
  std::string text;
  for (const auto& group : answer.groups)
    for (const Choice& choice : group) {
      text += "zor: took " + choice.product.path();
      for (const Variety& variety : choice.varieties)
        if (variety.chosen)
          text += fmt::format(", variety {}[{}]", variety.name.empty() ? "" : variety.name + ' ',
                              bindings_text(variety.variables));
      text += '\n';
    }
  return text;
}

}  // namespace zor
