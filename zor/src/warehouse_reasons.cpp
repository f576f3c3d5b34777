// What the engine's observer tells, as records that own what they hold.
#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "reasons.h"
#include "settings.h"
#include "warehouse_reasons_private.h"

namespace zor {

namespace {

// ---- Records ----

void add_once(std::vector<int>* all, int one) {
  if (std::find(all->begin(), all->end(), one) == all->end()) all->push_back(one);
}

// The name as it stands in tables; the inverse of name_from_table.
std::string name_in_table(const std::string& name) {
  std::string text;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      text += c;
    } else {
      text += static_cast<char>(0xC0 | byte >> 6);
      text += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return text;
}

// ---- What the observer is told ----

class Accountant {
 public:
  Accountant(Account* account, const std::string& only, bool constraints)
      : account_(account), only_(name_in_table(only)), told_(collecting_observer()) {
    observer_ = told_;
    observer_.context = this;
    observer_.group = [](void* self, int32 group) { of(self)->begin_group(group); };
    observer_.collected = [](void* self, const WH_OPERATION* operation) {
      of(self)->collect(operation);
    };
    observer_.overruled = [](void* self, const WH_ELEMENT* element, const WH_OPERATION* loser,
                             const WH_OPERATION* winner) {
      if (ElementReason* reason = of(self)->find(*element))
        reason->overruled.emplace_back(of(self)->index_of(loser), of(self)->index_of(winner));
    };
    observer_.removed = [](void* self, const WH_ELEMENT* element, const WH_OPERATION* remove) {
      of(self)->add(*element, nullptr, remove);
    };
    observer_.inserted_twice = [](void* self, const WH_ELEMENT* element, const WH_OPERATION* first,
                                  const WH_OPERATION* second) {
      of(self)->add(*element, first, nullptr);
      of(self)->add(*element, second, nullptr);
    };
    observer_.clash = [](void* self, const WH_ELEMENT* element, const WH_OPERATION* insert,
                         const WH_OPERATION* remove) {
      of(self)->add(*element, insert, remove);
      of(self)->told_.clash(nullptr, element, insert, remove);
    };
    observer_.endless = [](void* self, const WH_ELEMENT* element, const WH_OPERATION* insert,
                           const WH_OPERATION* remove) {
      of(self)->add(*element, insert, remove);
      of(self)->told_.endless(nullptr, element, insert, remove);
    };
    observer_.cycle = [](void* self, const WH_CONSTRAINT* members, int32 count) {
      of(self)->add_cycle(members, count);
      of(self)->told_.cycle(nullptr, members, count);
    };
    observer_.placed = [](void* self, const WH_POSITION* position) { of(self)->place(position); };
    observer_.rebuilt = [](void* self, FwTextString variable, FwTextString before,
                           FwTextString after) { of(self)->rebuild(variable, before, after); };
    if (constraints)
      observer_.constrained = [](void* self, const WH_CONSTRAINT* pair) {
        if (VariableAccount* variable = of(self)->find(pair->variable))
          variable->reason().constraints.push_back(of(self)->reason_of(*pair));
      };
  }

  const WH_OBSERVER* observer() const { return &observer_; }
  const std::string& only() const { return only_; }

  // Ends the account of the last group. Of stations the request's own words are told.
  void finish(const WH_COMPUTATION* all) {
    end_group();
    for (const auto& [index, origin] : named_)
      account_->stations[static_cast<std::size_t>(index)].query =
          query_of(all, account_->stations[static_cast<std::size_t>(index)].group, origin.product,
                   origin.variety);
  }

 private:
  struct Origin {
    const WH_PRODUCT* product;
    const WH_VARIETY* variety;
  };

  static Accountant* of(void* self) { return static_cast<Accountant*>(self); }

  void begin_group(int group) {
    end_group();
    group_ = group;
  }

  void end_group() {
    for (VariableAccount& variable : variables_) {
      VariableReason& reason = variable.reason();
      if (reason.operations.empty()) reason.operations = touching(reason.name);
      reason.name = name_from_table(reason.name);
      account_->variables.push_back(variable.take());
    }
    variables_.clear();
    by_name_.clear();
    last_ = nullptr;
    stations_.clear();
    operations_.clear();
    literal_.clear();
    patterns_.clear();
  }

  // The operations on a variable of this group, in their order.
  std::vector<int> touching(const std::string& name) const {
    std::vector<int> all;
    if (const auto found = literal_.find(name); found != literal_.end()) all = found->second;
    for (const int index : patterns_)
      if (pattern_matches(account_->operations[static_cast<std::size_t>(index)].variable, name))
        all.push_back(index);
    std::sort(all.begin(), all.end());
    return all;
  }

  bool concerns(const std::string& name) const {
    return only_.empty() || name == only_ || (is_pattern(name) && pattern_matches(name, only_));
  }

  int station_of(const WH_STATION* from) {
    if (const auto known = stations_.find(from); known != stations_.end()) return known->second;
    Station station;
    station.product = name_of(from->product->prodinfo->prodname);
    station.variety = string_of(from->variety->name);
    station.variables = bindings_of(from->variety->vars);
    station.group = group_;
    if (from->includer) {
      station.includer = station_of(from->includer);
      station.part = place_of(from->includer->product, from->part->place);
    }
    const int index = static_cast<int>(account_->stations.size());
    account_->stations.push_back(std::move(station));
    stations_.emplace(from, index);
    if (!from->includer) named_.push_back({index, {from->product, from->variety}});
    return index;
  }

  void collect(const WH_OPERATION* from) {
    AppliedOperation operation;
    operation.variable = string_of(from->op->name);
    if (!concerns(operation.variable)) return;
    operation.group = group_;
    operation.station = station_of(from->origin);
    operation.place = place_of(from);
    if (from->op->type == wh_env_insert) {
      const WH_ENV_INSERT* insert = from->op->u.ins;
      operation.values = {string_of(insert->value)};
      operation.before = strings_of(insert->before);
      operation.after = strings_of(insert->after);
    } else {
      operation.kind =
          from->op->type == wh_env_remove ? OperationKind::kRemove : OperationKind::kDelete;
      operation.values = strings_of(from->op->u.rem->values);
    }
    if (const FwTextCharacter separator = separator_of(from->op); separator != 0)
      operation.separator = string_of(separator);
    const int index = static_cast<int>(account_->operations.size());
    operations_.emplace(from, index);
    if (is_pattern(operation.variable))
      patterns_.push_back(index);
    else
      literal_[operation.variable].push_back(index);
    account_->operations.push_back(std::move(operation));
    sources_.push_back(from->op);
  }

  // What it states; once its variables are put together also what another one has settled for it.
  // With a pattern for a name it hands that on to the next variable.
  static FwTextCharacter separator_of(const WH_ENV_OP* op) {
    return op->type == wh_env_insert ? op->u.ins->sep : op->u.rem->sep;
  }

  int index_of(const WH_OPERATION* operation) const {
    const auto known = operations_.find(operation);
    return known == operations_.end() ? -1 : known->second;
  }

  // Null for a variable that is not asked for. What is told of one comes in a row.
  VariableAccount* find(FwTextString name) {
    if (!only_.empty() && only_ != FWC(name)) return nullptr;
    if (last_ && last_->reason().name == FWC(name)) return last_;
    const auto [entry, is_new] = by_name_.emplace(string_of(name), variables_.size());
    if (is_new) {
      VariableReason reason;
      reason.name = entry->first;
      reason.group = group_;
      variables_.emplace_back(std::move(reason));
    }
    return last_ = &variables_[entry->second];
  }

  ElementReason* find(const WH_ELEMENT& element) {
    VariableAccount* variable = find(element.variable);
    return variable ? &variable->at(string_of(element.value)) : nullptr;
  }

  void add(const WH_ELEMENT& element, const WH_OPERATION* insert, const WH_OPERATION* remove) {
    ElementReason* reason = find(element);
    if (!reason) return;
    if (insert) add_once(&reason->inserts, index_of(insert));
    if (remove) add_once(&reason->removes, index_of(remove));
  }

  ConstraintReason reason_of(const WH_CONSTRAINT& constraint) const {
    return {string_of(constraint.first), string_of(constraint.second),
            index_of(constraint.operation)};
  }

  void add_cycle(const WH_CONSTRAINT* constraints, int32 count) {
    VariableAccount* variable = find(constraints->variable);
    if (!variable) return;
    std::vector<ConstraintReason> members;
    members.reserve(static_cast<std::size_t>(count));
    for (int32 i = 0; i < count; ++i)
      members.push_back(reason_of(constraints[i]));
    variable->reason().cycles.push_back(std::move(members));
  }

  void place(const WH_POSITION* position) {
    ElementReason* reason = find(position->element);
    if (!reason) return;
    reason->position = position->position;
    if (position->insert) add_once(&reason->inserts, index_of(position->insert));
    if (position->constraint.operation) reason->placed_by = reason_of(position->constraint);
  }

  void rebuild(FwTextString name, FwTextString before, FwTextString after) {
    VariableAccount* variable = find(name);
    if (!variable) return;
    VariableReason& reason = variable->reason();
    if (before) reason.before = string_of(before);
    if (after) reason.after = string_of(after);
    reason.operations = touching(reason.name);
    for (const int index : reason.operations) {
      const FwTextCharacter settled = separator_of(sources_[static_cast<std::size_t>(index)]);
      if (settled == 0) continue;
      reason.separator = string_of(settled);
      break;
    }
  }

  Account* account_;
  std::string only_;  // as in tables; empty for all
  WH_OBSERVER told_;
  WH_OBSERVER observer_;
  std::vector<std::pair<int, Origin>> named_;
  std::vector<const WH_ENV_OP*>
      sources_;  // of the account's operations; those before this group's are gone
  // Of this group.
  int group_ = 0;
  std::vector<VariableAccount> variables_;
  std::unordered_map<std::string, std::size_t> by_name_;
  VariableAccount* last_ = nullptr;
  std::unordered_map<const WH_STATION*, int> stations_;
  std::unordered_map<const WH_OPERATION*, int> operations_;
  std::unordered_map<std::string, std::vector<int>> literal_;
  std::vector<int> patterns_;
};

}  // namespace

std::vector<std::string> split(const std::string& value, const std::string& separator) {
  std::vector<std::string> parts;
  for (std::size_t at = 0; at <= value.size();) {
    const std::size_t end = std::min(value.find(separator, at), value.size());
    if (end > at) parts.push_back(value.substr(at, end - at));
    at = end + separator.size();
  }
  return parts;
}

int query_of(const WH_COMPUTATION* all, int group, const WH_PRODUCT* product,
             const WH_VARIETY* variety) {
  const auto* specs = element<WH_PRODUCT_SPEC_LIST>(all->group_speclists, group);
  const auto* list = element<WH_PRODUCT_QUERY_LIST>(*all->group_querylists, group);
  const auto queries = elements<WH_PRODUCT_QUERY>(list->queries);
  std::size_t at = 0;
  for (const WH_PRODUCT_SPEC* spec : elements<WH_PRODUCT_SPEC>(specs->specs)) {
    // A query that led nowhere has no spec.
    while (at < queries.size() &&
           !equal_prodnames(queries[at]->prodname, spec->product->prodinfo->prodname))
      ++at;
    if (at == queries.size()) break;
    const auto taken = elements<WH_VARIETY>(spec->varieties->seq);
    if (spec->product == product &&
        (!variety || std::find(taken.begin(), taken.end(), variety) != taken.end()))
      return static_cast<int>(at);
    ++at;
  }
  return -1;
}

VariableReason VariableAccount::take() {
  std::stable_sort(reason_.elements.begin(), reason_.elements.end(),
                   [](const ElementReason& a, const ElementReason& b) {
                     return static_cast<unsigned>(a.position) < static_cast<unsigned>(b.position);
                   });
  reason_.separator = separator();
  const std::vector<std::string> old = split(reason_.before.value_or(""), reason_.separator);
  const std::unordered_set<std::string_view> before(old.begin(), old.end());
  for (ElementReason& element : reason_.elements)
    element.was_there = before.contains(element.value);
  return std::move(reason_);
}

// The character in front of the last element of the new value is it. Without one what an operation
// holds in the end may have come from another variable, but not if this one had a value before.
std::string VariableAccount::separator() const {
  if (reason_.group == kRecipes) return ":";
  const ElementReason* last = nullptr;
  for (const ElementReason& element : reason_.elements)
    if (element.position >= 0) last = &element;
  const std::string value = reason_.after.value_or("");
  if (last && value.size() > last->value.size()) {
    const std::size_t end = value.size() - last->value.size();
    std::size_t begin = end - 1;
    while (begin > 0 && (static_cast<unsigned char>(value[begin]) & 0xC0) == 0x80)
      --begin;
    return value.substr(begin, end - begin);
  }
  return reason_.separator.empty() ? ":" : reason_.separator;
}

Account account_of(const Question& question, const Environment& base, const std::string& variable,
                   bool constraints) {
  Account account;
  Accountant accountant(&account, variable, constraints);
  Inside inside;
  inside.observer = accountant.observer();
  inside.look = [&](WH_COMPUTATION* all) {
    accountant.finish(all);
    replay_recipes(&account, all, accountant.only());
  };
  account.answer = compute(question, base, inside);
  return account;
}

std::string variable_of(const Fault& fault) {
  for (const Binding& detail : fault.details)
    if (detail.name == "environment variable") return name_from_table(detail.value);
  return {};
}

}  // namespace zor
