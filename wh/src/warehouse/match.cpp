// Whether a variety meets a condition.
#include <cstdio>
#include <cstring>

#include "fwhash.h"
#include "fwstring.h"
#include "glob.h"
#include "private.h"
#include "vqosarch.h"
#include "wqversion.h"

namespace {

// The operators' words, by number plus one.
constexpr const char* kOps[] = {"error", "is", "eq", "lt", "le", "gt", "ge", "ne", "m"};

// Whether one of the comma-separated parts of list is a platform that overlaps val. Unlike in
// wh_test_op_multi, an empty part counts.
bool any_overlaps(FwTextString list, FwTextString val) {
  FwTextString copy = FwStrDuplicate(list);
  bool found = false;
  for (char* part = FWC(copy); part != nullptr && !found;) {
    char* comma = std::strchr(part, ',');
    if (comma != nullptr) *comma++ = 0;
    found = platform_overlaps(part, FWC(val)) != 0;
    part = comma;
  }
  FwMemFree(copy);
  return found;
}

// Whether the value of a variable meets the condition.
bool test_value(FwTextString name, FwTextString val, int op, FwTextString value) {
  if (val == nullptr || value == nullptr) return false;
  if (is_platform_name(name)) {
    if (platform_overlaps(FWC(value), FWC(val))) return true;
    if (std::strchr(FWC(value), ',') != nullptr && any_overlaps(value, val)) return true;
  }
  return wh_test_op_multi(val, op, value) != 0;
}

// The variety's values by name, null if it has few.
FwHashTable* values_of_many(WH_VARIETY* variety) {
  int count = 0;
  for (WH_VAR* var = variety->vars; var != nullptr && count <= kFewBindings; var = var->next)
    count++;
  if (count <= kFewBindings) return nullptr;
  FwHashTable* values = make_values();
  for (WH_VAR* var = variety->vars; var != nullptr; var = var->next)
    if (var->n != nullptr) add_value(values, var->n, var->v);
  return values;
}

// Whether all conditions from field on are met, of which there are many.
bool meets_many(WH_VARIETY* variety, WH_VAR* field) {
  FwHashTable* values = values_of_many(variety);
  for (; field != nullptr; field = field->next) {
    const bool indexed = values != nullptr && field->n != nullptr;
    FwTextString val = indexed ? find_value(values, field->n) : var_lookup(field->n, variety);
    if (!test_value(field->n, val, wh_op_matches, field->v)) break;
  }
  if (values != nullptr) FwHashFreeTable(&values);
  return field == nullptr;
}

bool meets_all(WH_VARIETY* variety, WH_VAR* field) {
  for (int met = 0; field != nullptr; field = field->next, met++) {
    if (met == kFewBindings) return meets_many(variety, field);
    if (!wh_test_var(variety, field->n, wh_op_matches, field->v)) return false;
  }
  return true;
}

int match_alternative(WH_VARIETY* variety, WH_PATTERN* alternative, FwTextString host) {
  if (!meets_all(variety, alternative->vars)) return 0;
  return host == nullptr || alternative->host == nullptr ||
         platform_overlaps(FWC(host), FWC(alternative->host)) != 0;
}

}  // namespace

bool is_platform_name(FwTextString name) {
  return same_text(name, FWT("platform")) || same_text(name, FWT("target"));
}

FwTextString var_lookup(FwTextString name, WH_VARIETY* variety) {
  if (name == nullptr) return nullptr;
  for (WH_VAR* var = variety->vars; var != nullptr; var = var->next)
    if (same_text(var->n, name)) return var->v;
  return nullptr;
}

FwTextString platform_variant_matching_host(WH_PRODUCT_INFO* prodinfo) {
  FwVector* varieties = &prodinfo->varieties->seq;
  for (int i = 0; i < FwVectorLength(varieties); i++) {
    auto* variety = static_cast<WH_VARIETY*>(FwVectorGetElement(varieties, i));
    for (WH_VAR* var = variety->vars; var != nullptr; var = var->next)
      if (same_text(var->n, FWT("platform")) && var->v != nullptr &&
          platform_includes(FWC(var->v), FWC(wh_host_platform)))
        return var->v;
  }
  return nullptr;
}

int wh_test_op(FwTextString lhs, int op, FwTextString rhs) {
  if (op < wh_op_is || op > wh_op_matches) {
    std::printf("operator '%s' is not implemented\n", kOps[0]);
    return 0;
  }
  if (lhs == nullptr || rhs == nullptr) return 0;
  switch (op) {
    case wh_op_is:
      return std::strcmp(FWC(lhs), FWC(rhs)) == 0;
    case wh_op_eq:
      return wq_compare_versions(lhs, rhs) == 0;
    case wh_op_lt:
      return wq_compare_versions(lhs, rhs) < 0;
    case wh_op_le:
      return wq_compare_versions(lhs, rhs) <= 0;
    case wh_op_gt:
      return wq_compare_versions(lhs, rhs) > 0;
    case wh_op_ge:
      return wq_compare_versions(lhs, rhs) >= 0;
    case wh_op_ne:
      return wq_compare_versions(lhs, rhs) != 0;
    default:
      return wh_glob_matches(rhs, lhs) != 0;
  }
}

// Kept, as part of the interface: a comma means "or" for every operator, so "ne" with two different
// versions always holds.
int wh_test_op_multi(FwTextString lhs, int op, FwTextString rhs) {
  if (rhs == nullptr || std::strchr(FWC(rhs), ',') == nullptr) return wh_test_op(lhs, op, rhs);
  FwVector parts;
  open_vector(&parts, 5);
  FwStrTextSplitByChar(rhs, ',', &parts);
  int holds = 0;
  for (int i = 0; i < FwVectorLength(&parts) && !holds; i++)
    holds = wh_test_op(lhs, op, static_cast<FwTextString>(FwVectorGetElement(&parts, i)));
  FwVectorAbandon(&parts, 1);
  return holds;
}

int wh_test_var(WH_VARIETY* variety, FwTextString name, int op, FwTextString value) {
  return test_value(name, var_lookup(name, variety), op, value) ? 1 : 0;
}

int matchvar(WH_VARIETY* variety, WH_PATTERN* pattern, FwTextString host) {
  if (pattern == nullptr) return 1;
  for (WH_PATTERN* alternative = pattern; alternative != nullptr; alternative = alternative->next)
    if (match_alternative(variety, alternative, host)) return 1;
  return 0;
}

WH_VARIETY_SEQ* matching_varieties(WH_VARIETY_SEQ* varieties, WH_PATTERN* pattern,
                                   FwTextString host) {
  WH_VARIETY_SEQ* matching = make_variety_seq();
  add_matching_varieties(matching, varieties, pattern, host);
  return matching;
}

void add_matching_varieties(WH_VARIETY_SEQ* matching, WH_VARIETY_SEQ* varieties,
                            WH_PATTERN* pattern, FwTextString host) {
  for (int i = 0; i < FwVectorLength(&varieties->seq); i++) {
    auto* variety = static_cast<WH_VARIETY*>(FwVectorGetElement(&varieties->seq, i));
    if (matchvar(variety, pattern, host)) add_variety(matching, variety);
  }
}
