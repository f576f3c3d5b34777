#include "reasons.h"

#include <algorithm>

namespace zor {

const VariableReason* reason_of(const Account& account, const std::string& variable, int group) {
  for (const VariableReason& reason : account.variables)
    if (reason.group == group && reason.name == variable) return &reason;
  return nullptr;
}

const ElementReason* reason_of(const VariableReason& variable, const std::string& element) {
  for (const ElementReason& reason : variable.elements)
    if (reason.value == element) return &reason;
  return nullptr;
}

std::vector<int> chain_of(const Account& account, int operation) {
  std::vector<int> chain;
  int station = account.operations[static_cast<std::size_t>(operation)].station;
  for (; station >= 0; station = account.stations[static_cast<std::size_t>(station)].includer)
    chain.push_back(station);
  std::reverse(chain.begin(), chain.end());
  return chain;
}

ReasonIndex::ReasonIndex(const Account& account) {
  for (const VariableReason& step : account.variables) {
    steps_[step.name].push_back(&step);
    auto& elements = elements_[&step];
    for (const ElementReason& element : step.elements)
      elements.emplace(element.value, &element);
  }
}

std::vector<const VariableReason*> ReasonIndex::steps(const std::string& variable) const {
  const auto found = steps_.find(variable);
  return found == steps_.end() ? std::vector<const VariableReason*>() : found->second;
}

const ElementReason* ReasonIndex::find(const VariableReason& step,
                                       const std::string& element) const {
  const auto& elements = elements_.at(&step);
  const auto found = elements.find(element);
  return found == elements.end() ? nullptr : found->second;
}

}  // namespace zor
