// What the sources that put an account together share.
#ifndef ZOR_WAREHOUSE_REASONS_PRIVATE_H
#define ZOR_WAREHOUSE_REASONS_PRIVATE_H

#include <string>
#include <unordered_map>
#include <vector>

#include "reasons.h"
#include "warehouse_private.h"

namespace zor {

// The elements of a value. Empty ones are none, as for the engine.
std::vector<std::string> split(const std::string& value, const std::string& separator);

// The position of the query that a chosen product answers; -1 if there is none. A product may be
// named more than once, with other conditions.
int query_of(const WH_COMPUTATION* all, int group, const WH_PRODUCT* product,
             const WH_VARIETY* variety);

// The reason of one variable while it is put together.
class VariableAccount {
 public:
  explicit VariableAccount(VariableReason reason) : reason_(std::move(reason)) {}

  ElementReason& at(const std::string& value) {
    const auto [entry, is_new] = positions_.emplace(value, reason_.elements.size());
    if (is_new) reason_.elements.emplace_back().value = value;
    return reason_.elements[entry->second];
  }
  VariableReason& reason() { return reason_; }

  // The reason whole. Its separator is the one that an operation holds in the end, or empty.
  VariableReason take();

 private:
  std::string separator() const;

  VariableReason reason_;
  std::unordered_map<std::string, std::size_t> positions_;
};

// Goes once more through the old recipes that a computation has replayed, of which the observer is
// not told. only is the name of a variable as in tables, or empty.
void replay_recipes(Account* account, WH_COMPUTATION* all, const std::string& only);

}  // namespace zor

#endif
