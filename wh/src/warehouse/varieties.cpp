// The varieties of one product by the values of their variables.
//
// A condition whose value is a literal pattern is met only by values with the same key, but for the
// variables that compare as platforms and for lists of values. So of each alternative the condition
// that the fewest varieties can meet gives those that are tried; the others can't match.
//
//   WH_VARIETY_INDEX  names[0]  "num"   "1" -> 0   "2" -> 1, 7   ...     positions among the
//   varieties
//                     names[1]  "kind"  "opt" -> 0, 1, 2 ...
#include <cstring>

#include "glob/literals.h"
#include "private.h"
#include "wqmem.h"

namespace {

// The first few queries, and all of a product with few varieties, are answered by trying each one:
// that costs less than the index.
constexpr int kFewQueries = 4;
constexpr int kFewVarieties = 32;
// Conditions on further variables choose nothing, so that the memory stays within bounds.
constexpr int kMostNames = 8;

struct BY_NAME {
  FwTextString name = nullptr;
  LITERALS values;
};

}  // namespace

struct WH_VARIETY_INDEX {
  int queries = 0;
  int varieties = 0;  // how many there were when the first name was entered
  int count = 0;
  BY_NAME names[kMostNames];
};

namespace {

WH_VARIETY* variety_at(const WH_VARIETY_SEQ* varieties, int i) {
  return static_cast<WH_VARIETY*>(varieties->seq.pElements[i]);
}

// The values of all variables of that name. Null if the index has no room for another name.
const LITERALS* values_of(WH_VARIETY_INDEX* index, const WH_VARIETY_SEQ* varieties,
                          FwTextString name) {
  for (int i = 0; i < index->count; i++)
    if (same_text(index->names[i].name, name)) return &index->names[i].values;
  if (index->count == kMostNames) return nullptr;
  BY_NAME* by_name = &index->names[index->count++];
  by_name->name = dup_str(name);
  open_literals(&by_name->values);
  for (int i = 0; i < index->varieties; i++)
    if (FwTextString value = var_lookup(name, variety_at(varieties, i)))
      add_literal(&by_name->values, value, i);
  return &by_name->values;
}

bool is_literal(FwTextString value) {
  return std::strpbrk(FWC(value), "*?|,") == nullptr;
}

// The varieties that can meet the condition. False if any of them may.
bool find_candidates(WH_VARIETY_INDEX* index, const WH_VARIETY_SEQ* varieties, const WH_VAR* var,
                     const POSITIONS** found) {
  if (var->n == nullptr || var->v == nullptr || is_platform_name(var->n) || !is_literal(var->v))
    return false;
  const LITERALS* values = values_of(index, varieties, var->n);
  if (values == nullptr) return false;
  FwTextString key = is_own_key(var->v) ? nullptr : literal_key(var->v);
  *found = find_literal(values, key != nullptr ? key : var->v);
  wh_free(key);
  return true;
}

// Adds the varieties that the alternative can match. False if any of them may.
bool add_candidates(POSITIONS* candidates, WH_VARIETY_INDEX* index, const WH_VARIETY_SEQ* varieties,
                    const WH_PATTERN* alternative) {
  bool chosen = false;
  const POSITIONS* fewest = nullptr;
  for (const WH_VAR* var = alternative->vars; var != nullptr; var = var->next) {
    const POSITIONS* found = nullptr;
    if (!find_candidates(index, varieties, var, &found)) continue;
    if (!chosen || (fewest != nullptr && (found == nullptr || found->count < fewest->count)))
      fewest = found;
    chosen = true;
  }
  for (int i = 0; fewest != nullptr && i < fewest->count; i++)
    add_position(candidates, fewest->list[i]);
  return chosen;
}

// The varieties that one of the alternatives can match, in their order. False if any of them may.
bool choose(POSITIONS* candidates, WH_PRODUCT* product, const WH_PATTERN* pattern) {
  const WH_VARIETY_SEQ* varieties = product->prodinfo->varieties;
  const int count = FwVectorLength(&varieties->seq);
  if (product->by_value == nullptr) product->by_value = make<WH_VARIETY_INDEX>();
  WH_VARIETY_INDEX* index = product->by_value;
  if (++index->queries <= kFewQueries) return false;
  if (index->count == 0) index->varieties = count;
  if (index->varieties != count) return false;
  for (; pattern != nullptr; pattern = pattern->next)
    if (!add_candidates(candidates, index, varieties, pattern)) return false;
  if (candidates->count > 1) sort_positions(candidates);
  return true;
}

}  // namespace

void add_product_varieties(WH_VARIETY_SEQ* matching, WH_PRODUCT* product, WH_PATTERN* pattern) {
  WH_VARIETY_SEQ* varieties = product->prodinfo->varieties;
  if (FwVectorLength(&varieties->seq) < kFewVarieties || pattern == nullptr) {
    add_matching_varieties(matching, varieties, pattern, nullptr);
    return;
  }
  POSITIONS candidates;
  if (choose(&candidates, product, pattern)) {
    for (int i = 0; i < candidates.count; i++) {
      WH_VARIETY* variety = variety_at(varieties, candidates.list[i]);
      if (matchvar(variety, pattern, nullptr)) add_variety(matching, variety);
    }
  } else {
    add_matching_varieties(matching, varieties, pattern, nullptr);
  }
  free_positions(&candidates);
}

void free_variety_index(WH_VARIETY_INDEX** index) {
  if (*index == nullptr) return;
  for (int i = 0; i < (*index)->count; i++) {
    wh_free((*index)->names[i].name);
    close_literals(&(*index)->names[i].values);
  }
  FwMemFreeAndClear(index);
}
