#include "conflict.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <set>

#include "catalogue.h"
#include "error.h"
#include "reasons.h"
#include "render/account.h"

namespace zor {

namespace {

constexpr int kMostTries = 24;
constexpr int kMostVersions = 4;          // of one product that are tried, and proposed
constexpr std::size_t kMostMembers = 12;  // of a circle that are shown as its beginning
constexpr auto kMostTime = std::chrono::seconds(2);

bool is_conflict(FaultKind kind) {
  return kind == FaultKind::kClash || kind == FaultKind::kCycle || kind == FaultKind::kEndless ||
         kind == FaultKind::kSeparators;
}

std::string detail(const Fault& fault, const std::string& what) {
  for (const Binding& each : fault.details)
    if (each.name == what) return each.value;
  return {};
}

// ---- What stands against what ----

// The operations of a conflict, and what is to be said of each.
struct Side {
  std::string text;
  int operation;
};

std::vector<Side> sides_of_clash(const VariableReason& variable, const Fault& fault) {
  const ElementReason* element = reason_of(variable, detail(fault, "value"));
  if (!element || element->inserts.empty() || element->removes.empty()) return {};
  return {{"inserted by", element->inserts[0]}, {"removed by", element->removes[0]}};
}

bool touches(const AppliedOperation& operation, const std::string& variable) {
  return operation.variable == variable ||
         (is_pattern(operation.variable) && pattern_matches(operation.variable, variable));
}

// The operation from which the variable has its separator, and the first with another one. Removes
// that state none take ":" of a variable that is there, and an operation on a pattern over names
// takes along that of the first variable which has one.
std::vector<Side> sides_of_separators(const Account& account, const std::string& variable,
                                      int group, bool is_set) {
  std::vector<Side> sides, carrying;
  std::string separator;
  for (std::size_t i = 0; i < account.operations.size() && sides.size() < 2; ++i) {
    const AppliedOperation& operation = account.operations[i];
    if (operation.group != group || !touches(operation, variable)) continue;
    const bool states = !operation.separator.empty();
    if (states && operation.separator == separator) continue;
    const int index = static_cast<int>(i);
    if (states)
      sides.push_back({fmt::format("separated by \"{}\" in", operation.separator), index});
    else if (is_pattern(operation.variable))
      carrying.push_back({"separated as another variable, for none is stated, in", index});
    else if (separator.empty() && is_set && operation.kind != OperationKind::kInsert)
      sides.push_back({"separated by \":\", for none is stated, in", index});
    else
      continue;
    if (!sides.empty() && sides.back().operation == index)
      separator = states ? operation.separator : ":";
  }
  for (std::size_t i = 0; i < carrying.size() && sides.size() < 2; ++i)
    sides.push_back(carrying[i]);
  std::sort(sides.begin(), sides.end(),
            [](const Side& a, const Side& b) { return a.operation < b.operation; });
  return sides;
}

// A conflict with the operations that take part in it.
struct Conflict {
  std::string text;
  std::vector<int> operations;
};

class Explanation {
 public:
  Explanation(const Account& account, const Request& request, const Environment& base)
      : account_(account), request_(request), base_(base) {}

  // Of the first group in which the variable has that conflict.
  Conflict of(const Fault& fault) const {
    const std::string variable = detail(fault, "environment variable");
    Conflict conflict;
    for (int group = 0; group < static_cast<int>(request_.groups.size()); ++group) {
      const VariableReason* reason = reason_of(account_, variable_of(fault), group);
      if (fault.kind == FaultKind::kSeparators)
        add_sides(sides_of_separators(account_, variable, group, is_set(variable, reason)),
                  &conflict);
      else if (reason && fault.kind == FaultKind::kCycle)
        add_circles(*reason, &conflict);
      else if (reason)
        add_sides(sides_of_clash(*reason, fault), &conflict);
      if (!conflict.text.empty()) break;
    }
    return conflict;
  }

 private:
  // Before the group that the reason is of.
  bool is_set(const std::string& variable, const VariableReason* reason) const {
    return (reason && reason->before) || base_.find(variable).has_value();
  }

  void add_sides(const std::vector<Side>& sides, Conflict* conflict) const {
    if (sides.size() < 2) return;
    for (const Side& side : sides) {
      conflict->text +=
          fmt::format("\n  {} {}\n{}", side.text, operation_text(account_, side.operation),
                      chain_text(account_, request_, side.operation, "    "));
      conflict->text.pop_back();
      conflict->operations.push_back(side.operation);
    }
  }

  void add_circles(const VariableReason& variable, Conflict* conflict) const {
    if (variable.cycles.empty()) return;
    // The last one is that of the engine's words.
    const std::vector<ConstraintReason>& circle = variable.cycles.back();
    std::size_t shown = 0;
    for (const ConstraintReason& member : circle) {
      if (member.operation >= 0) conflict->operations.push_back(member.operation);
      if (shown++ >= kMostMembers) continue;
      conflict->text += fmt::format("\n  {} before {}: {}\n{}", in_one_line(member.first),
                                    in_one_line(member.second), constraint_text(account_, member),
                                    member.operation < 0
                                        ? std::string()
                                        : chain_text(account_, request_, member.operation, "    "));
      conflict->text.pop_back();
    }
    if (circle.size() > kMostMembers)
      conflict->text += fmt::format("\n  and so on over {} more, back to {}",
                                    circle.size() - kMostMembers, in_one_line(circle[0].first));
  }

  const Account& account_;
  const Request& request_;
  const Environment& base_;
};

// ---- Ways out ----

// A product in a request: its group, and its place there.
using Spot = std::pair<std::size_t, std::size_t>;

std::set<Spot> spots_of(const Account& account, const std::vector<int>& operations) {
  std::set<Spot> spots;
  for (const int operation : operations) {
    const std::vector<int> chain = chain_of(account, operation);
    if (chain.empty()) continue;
    const Station& named = account.stations[static_cast<std::size_t>(chain[0])];
    if (named.query >= 0)
      spots.emplace(static_cast<std::size_t>(named.group), static_cast<std::size_t>(named.query));
  }
  return spots;
}

// Changes of a request, each of which is computed before it is proposed.
class WaysOut {
 public:
  WaysOut(const Request& request, const Environment& base, const Answer& answer)
      : request_(request), base_(base), answer_(answer) {}

  std::string of(const std::set<Spot>& spots) {
    for (const Spot& spot : spots) {
      try_conditions(spot);
      try_versions(spot);
      try_behind(spot);
      try_without(spot);
    }
    if (!lines_.empty()) return "\n  what works, as trying it has shown:" + lines_;
    return over_ ? "\n  no way out was found in the time that there is for trying"
                 : "\n  nothing that can be changed in the request helps; the data files have to "
                   "change";
  }

 private:
  const NamedQuery& named(const Spot& spot) const {
    return request_.groups[spot.first][spot.second];
  }

  // Whether the request has an environment, and each of its products settings.
  bool works(const Request& request) {
    if (over_ || request.empty()) return false;
    if (++tries_ > kMostTries || std::chrono::steady_clock::now() - start_ > kMostTime) {
      over_ = true;
      return false;
    }
    const Answer answer = compute(request.question(), base_);
    return answer.done && silent_choices(request, answer).empty();
  }

  void propose(const std::string& text) { lines_ += "\n    " + text; }

  // The other ones that there are, the latest first.
  std::vector<ProductName> other_versions(const Spot& spot) const {
    if (spot.first >= answer_.taken.size()) return {};
    const ProductName& taken = answer_.taken[spot.first][spot.second];
    std::vector<ProductName> others;
    try {
      for (const CatalogueProduct& product :
           read_catalogue(answer_.root, taken.category + '/' + taken.name).products) {
        if (product.category != taken.category || product.name != taken.name) continue;
        for (const CatalogueVersion& version : product.versions)
          for (const std::string& rev : version.revs)
            others.push_back({taken.category, taken.name, version.version, rev});
      }
    } catch (const Error&) {
      // What can't be read has no other versions to offer.
      others.clear();
    }
    std::erase(others, taken);
    std::reverse(others.begin(), others.end());
    if (others.size() > kMostVersions) others.resize(kMostVersions);
    return others;
  }

  // Where several varieties are taken, the variables that tell them apart.
  void try_conditions(const Spot& spot) {
    if (spot.first >= answer_.groups.size() || spot.second >= answer_.groups[spot.first].size())
      return;
    std::map<std::string, std::set<std::string>> values;
    for (const Variety& variety : answer_.groups[spot.first][spot.second].varieties)
      if (variety.chosen && variety.complete)
        for (const Binding& variable : variety.variables)
          values[variable.name].insert(variable.value);
    for (const auto& [name, all] : values)
      for (const std::string& value : all) {
        if (all.size() < 2 || is_pattern(value)) continue;
        Request request = request_;
        request.groups[spot.first][spot.second].query.conditions.push_back({name, value});
        if (works(request))
          propose(word_text(named(spot)) +
                  (named(spot).exact ? fmt::format(" -v {} {}", name, value)
                                     : fmt::format("[{}={}]", name, value)) +
                  ", as several varieties of it fit");
      }
  }

  void try_versions(const Spot& spot) {
    for (const ProductName& other : other_versions(spot)) {
      Request request = request_;
      request.groups[spot.first][spot.second].query.product = other;
      if (works(request))
        propose(fmt::format("{} in place of {}", other.path(), word_text(named(spot))));
    }
  }

  void try_behind(const Spot& spot) {
    Request request = request_;
    auto& group = request.groups[spot.first];
    if (group.size() < 2) return;
    const NamedQuery moved = group[spot.second];
    group.erase(group.begin() + static_cast<std::ptrdiff_t>(spot.second));
    request.groups.insert(request.groups.begin() + static_cast<std::ptrdiff_t>(spot.first) + 1,
                          {moved});
    if (works(request))
      propose(fmt::format("{} behind // (or --and), where it overrides the others",
                          word_text(named(spot))));
  }

  void try_without(const Spot& spot) {
    Request request = request_;
    auto& group = request.groups[spot.first];
    group.erase(group.begin() + static_cast<std::ptrdiff_t>(spot.second));
    if (group.empty())
      request.groups.erase(request.groups.begin() + static_cast<std::ptrdiff_t>(spot.first));
    if (works(request)) propose("without " + word_text(named(spot)));
  }

  const Request& request_;
  const Environment& base_;
  const Answer& answer_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  int tries_ = 0;
  bool over_ = false;
  std::string lines_;
};

}  // namespace

std::string explained(const Request& request, const Environment& base, const Answer& answer) {
  const bool any = std::any_of(answer.faults.begin(), answer.faults.end(),
                               [](const Fault& fault) { return is_conflict(fault.kind); });
  const Account account = any ? account_of(request.question(), base) : Account();
  const Explanation explanation(account, request, base);
  std::string text;
  std::vector<int> operations;
  std::set<std::string> told;
  for (const Fault& fault : answer.faults) {
    text += (text.empty() ? "" : "\n") + fault.text;
    if (!is_conflict(fault.kind)) continue;
    // Two operations may stand against each other over many values.
    const Conflict conflict = explanation.of(fault);
    text +=
        told.insert(conflict.text).second ? conflict.text : "\n  by the same operations as above";
    operations.insert(operations.end(), conflict.operations.begin(), conflict.operations.end());
  }
  if (operations.empty()) return text;
  return text + WaysOut(request, base, answer).of(spots_of(account, operations));
}

}  // namespace zor
