#include "check/together.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace zor::check {

namespace {

template <typename T>
auto place_of(const T& one) {
  return std::tie(one.file, one.at.line, one.at.column);
}

template <typename T>
Finding finding_at(const T& place, const char* rule, std::string text, std::string help) {
  return {place.file,      place.at.line,    place.at.column,
          place.end.line,  place.end.column, rule,
          std::move(text), std::move(help),  ""};
}

// The members of each circle of a graph, of which each node has a list of the nodes behind it; by
// the algorithm of Tarjan, with a stack of its own, as chains of parts may be long.
class Circles {
 public:
  explicit Circles(const std::vector<std::vector<std::size_t>>& next)
      : next_(next), order_(next.size()), lowest_(next.size()), on_stack_(next.size()) {
    for (std::size_t node = 0; node < next.size(); ++node)
      if (order_[node] == 0) visit(node);
  }

  const std::vector<std::vector<std::size_t>>& members() const { return members_; }

 private:
  void visit(std::size_t start) {
    std::vector<std::pair<std::size_t, std::size_t>> path = {{start, 0}};
    enter(start);
    while (!path.empty()) {
      auto& [node, edge] = path.back();
      if (edge < next_[node].size()) {
        const std::size_t to = next_[node][edge++];
        if (order_[to] == 0) {
          enter(to);
          path.emplace_back(to, 0);
        } else if (on_stack_[to]) {
          lowest_[node] = std::min(lowest_[node], order_[to]);
        }
        continue;
      }
      const std::size_t done = node;
      path.pop_back();
      if (!path.empty())
        lowest_[path.back().first] = std::min(lowest_[path.back().first], lowest_[done]);
      if (lowest_[done] == order_[done]) leave(done);
    }
  }

  void enter(std::size_t node) {
    order_[node] = lowest_[node] = ++count_;
    stack_.push_back(node);
    on_stack_[node] = true;
  }

  void leave(std::size_t node) {
    std::vector<std::size_t> members;
    std::size_t member = 0;
    do {
      member = stack_.back();
      stack_.pop_back();
      on_stack_[member] = false;
      members.push_back(member);
    } while (member != node);
    const bool to_itself =
        std::find(next_[node].begin(), next_[node].end(), node) != next_[node].end();
    if (members.size() > 1 || to_itself) members_.push_back(std::move(members));
  }

  const std::vector<std::vector<std::size_t>>& next_;
  std::vector<std::size_t> order_;  // of the first visit, from 1
  std::vector<std::size_t> lowest_;
  std::vector<bool> on_stack_;
  std::vector<std::size_t> stack_;
  std::size_t count_ = 0;
  std::vector<std::vector<std::size_t>> members_;
};

// Which products include which, however far off. What is asked for is remembered of the product
// that was asked for last.
class Family {
 public:
  explicit Family(const std::vector<Link>& links) {
    for (const Link& link : links) {
      parts_[link.from].push_back(link.to);
      includers_[link.to].push_back(link.from);
    }
  }

  bool related(const std::string& one, const std::string& other) {
    if (one != of_) {
      of_ = one;
      relatives_.clear();
      follow(parts_);
      follow(includers_);
    }
    return relatives_.contains(other);
  }

 private:
  using Names = std::unordered_map<std::string_view, std::vector<std::string_view>>;

  void follow(const Names& next) {
    std::unordered_set<std::string_view> seen = {of_};
    std::vector<std::string_view> waiting = {of_};
    while (!waiting.empty()) {
      const auto found = next.find(waiting.back());
      waiting.pop_back();
      if (found == next.end()) continue;
      for (const std::string_view name : found->second)
        if (seen.insert(name).second) waiting.push_back(name);
    }
    relatives_.merge(seen);
  }

  Names parts_, includers_;
  std::string of_;
  std::unordered_set<std::string_view> relatives_;
};

}  // namespace

void Together::add(Facts& facts) {
  std::move(facts.links.begin(), facts.links.end(), std::back_inserter(links_));
  std::move(facts.claims.begin(), facts.claims.end(), std::back_inserter(claims_));
  for (StatedSeparator& stated : facts.separators) {
    Uses& uses = separators_[stated.variable][stated.separator];
    if (uses.count++ == 0 || place_of(stated) < place_of(uses.first))
      uses.first = std::move(stated);
  }
}

void Together::tell(std::vector<Finding>* findings) const {
  tell_of_separators(findings);
  tell_of_circles(findings);
  tell_of_strangers(findings);
}

void Together::tell_of_separators(std::vector<Finding>* findings) const {
  std::set<std::string> met;
  for (const Finding& finding : *findings)
    if (finding.rule == "ZW504") met.insert(finding.text);
  for (const auto& [variable, all] : separators_) {
    if (all.size() < 2) continue;
    // Where the computation has met them, enough is said.
    const std::string head = variable + ':';
    const auto text = met.lower_bound(head);
    if (text != met.end() && text->starts_with(head)) continue;
    const Uses* usual = nullptr;
    for (const auto& entry : all)
      if (!usual || entry.second.count > usual->count ||
          (entry.second.count == usual->count &&
           place_of(entry.second.first) < place_of(usual->first)))
        usual = &entry.second;
    for (const auto& [separator, uses] : all)
      if (&uses != usual)
        findings->push_back(finding_at(
            uses.first, "ZW506",
            fmt::format("{}: the separator is {} here and {} at {}:{}:{}, so the products can't be "
                        "used together",
                        variable, separator, usual->first.separator, usual->first.file,
                        usual->first.at.line, usual->first.at.column),
            "Agree on one separator for the variable."));
  }
}

void Together::tell_of_circles(std::vector<Finding>* findings) const {
  std::unordered_map<std::string, std::size_t> numbers;
  std::vector<std::string> names;
  const auto number_of = [&](const std::string& name) {
    const auto [entry, is_new] = numbers.try_emplace(name, names.size());
    if (is_new) names.push_back(name);
    return entry->second;
  };
  for (const Link& link : links_) {
    number_of(link.from);
    number_of(link.to);
  }
  std::vector<std::vector<std::size_t>> next(names.size());
  for (const Link& link : links_)
    next[numbers.at(link.from)].push_back(numbers.at(link.to));
  const Circles circles(next);
  std::vector<std::size_t> circle_of(names.size());  // from 1
  for (std::size_t i = 0; i < circles.members().size(); ++i)
    for (const std::size_t member : circles.members()[i])
      circle_of[member] = i + 1;
  std::vector<const Link*> first(circles.members().size());
  for (const Link& link : links_) {
    const std::size_t circle = circle_of[numbers.at(link.from)];
    if (circle == 0 || circle != circle_of[numbers.at(link.to)]) continue;
    const Link*& known = first[circle - 1];
    if (!known || place_of(link) < place_of(*known)) known = &link;
  }
  for (std::size_t i = 0; i < first.size(); ++i) {
    std::vector<std::string> members;
    for (const std::size_t member : circles.members()[i])
      members.push_back(names[member]);
    std::sort(members.begin(), members.end());
    const std::string text =
        members.size() == 1
            ? fmt::format("{} is a part of itself, which counts for nothing", members[0])
            : fmt::format("these products are parts of each other in a circle: {}",
                          fmt::join(members, ", "));
    findings->push_back(finding_at(*first[i], "ZW303", text,
                                   "Take out one of the parts, so that the circle opens."));
  }
}

// One that removes a value and one that inserts it can't be used in one group, unless one of them
// includes the other. Of several the first is told of. Versions of one product are not meant to be
// used together.
void Together::tell_of_strangers(std::vector<Finding>* findings) const {
  std::vector<const Claim*> removals;
  for (const Claim& claim : claims_)
    if (claim.kind != Claim::Kind::kInsert) removals.push_back(&claim);
  if (removals.empty()) return;
  std::unordered_set<std::string_view> removed;
  for (const Claim* removal : removals)
    removed.insert(removal->variable);
  std::unordered_map<std::string_view, std::vector<const Claim*>> inserts;
  for (const Claim& claim : claims_)
    if (claim.kind == Claim::Kind::kInsert && removed.contains(claim.variable))
      inserts[claim.variable].push_back(&claim);
  const auto by_value_and_place = [](const Claim* a, const Claim* b) {
    return std::tie(a->value, a->file, a->at.line, a->at.column) <
           std::tie(b->value, b->file, b->at.line, b->at.column);
  };
  for (auto& [variable, all] : inserts)
    std::sort(all.begin(), all.end(), by_value_and_place);
  Family family(links_);
  for (const Claim* removal : removals) {
    const std::vector<const Claim*>& all = inserts[removal->variable];
    auto insert = all.begin();
    auto end = all.end();
    if (removal->kind == Claim::Kind::kRemove) {
      const auto by_value = [](const Claim* a, const Claim* b) { return a->value < b->value; };
      std::tie(insert, end) = std::equal_range(all.begin(), all.end(), removal, by_value);
    }
    insert = std::find_if(insert, end, [&](const Claim* other) {
      return std::tie(other->product.category, other->product.name) !=
                 std::tie(removal->product.category, removal->product.name) &&
             !family.related(removal->product.path(), other->product.path());
    });
    if (insert == end) continue;
    findings->push_back(finding_at(
        *removal, "ZW510",
        fmt::format("{} inserts {} into {} at {}:{}:{}, so nobody can use the two in one group",
                    (*insert)->product.path(), (*insert)->value, removal->variable, (*insert)->file,
                    (*insert)->at.line, (*insert)->at.column),
        "Remove only what is certainly the product's own, or let users put the products into "
        "groups with --and."));
  }
}

}  // namespace zor::check
