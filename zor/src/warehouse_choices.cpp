// Why products and parts were taken in these versions and varieties.
#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <tuple>

#include "reasons.h"
#include "warehouse_parts_private.h"

namespace zor {

namespace {

VarietyReason reason_of(WH_VARIETY* from, const WH_PATTERN* pattern, bool chosen) {
  VarietyReason reason;
  reason.variety.name = string_of(from->name);
  reason.variety.variables = bindings_of(from->vars);
  reason.variety.complete = wh_variety_is_complete(from) != 0;
  reason.variety.chosen = chosen;
  for (; pattern && !chosen; pattern = pattern->next)
    for (const WH_VAR* var = pattern->vars; var; var = var->next)
      if (!wh_test_var(from, var->n, wh_op_matches, var->v))
        reason.failed.push_back({string_of(var->n), string_of(var->v)});
  // Nothing but the host is left that could have decided against it.
  reason.other_host = !chosen && reason.failed.empty();
  for (const WH_SEG* segment = from->segs; segment; segment = segment->next)
    if (!segment->here) reason.missing.push_back(string_of(segment->host));
  return reason;
}

std::vector<VarietyReason> reasons_of(const WH_PRODUCT_SPEC* spec, const WH_PATTERN* pattern) {
  std::vector<VarietyReason> reasons;
  const auto taken = elements<WH_VARIETY>(spec->varieties->seq);
  for (WH_VARIETY* variety : elements<WH_VARIETY>(spec->product->prodinfo->varieties->seq))
    reasons.push_back(
        reason_of(variety, pattern, std::find(taken.begin(), taken.end(), variety) != taken.end()));
  return reasons;
}

std::vector<ChoiceReason> choices_in(const WH_COMPUTATION* all, int32 group) {
  std::vector<ChoiceReason> choices;
  const auto* specs = element<WH_PRODUCT_SPEC_LIST>(all->group_speclists, group);
  const auto* list = element<WH_PRODUCT_QUERY_LIST>(*all->group_querylists, group);
  const auto queries = elements<WH_PRODUCT_QUERY>(list->queries);
  std::size_t at = 0;
  for (const WH_PRODUCT_SPEC* spec : elements<WH_PRODUCT_SPEC>(specs->specs)) {
    const WH_PRODUCT_INFO* info = spec->product->prodinfo;
    while (at < queries.size() && !equal_prodnames(queries[at]->prodname, info->prodname))
      ++at;
    if (at == queries.size()) break;
    ChoiceReason choice;
    choice.query = static_cast<int>(at);
    choice.product = name_of(info->prodname);
    choice.varieties = reasons_of(spec, queries[at]->pattern);
    choices.push_back(std::move(choice));
    ++at;
  }
  return choices;
}

// Follows the part lists behind the products that a group names.
class PartReasons {
 public:
  PartReasons(std::vector<PartReason>* parts, WH_INDEX* index, int group)
      : parts_(*parts), index_(index), group_(group) {}

  void follow(const WH_PRODUCT_SPEC_LIST* named) {
    for (const WH_PRODUCT_SPEC* spec : elements<WH_PRODUCT_SPEC>(named->specs))
      wait_for(spec);
    for (; !waiting_.empty(); waiting_.pop_front()) {
      const auto [owner, variety] = waiting_.front();
      go_through_parts(
          index_, owner, variety,
          [&, product = owner, from = variety](const FoundPart& found) {
            add(found, {name_of(product->prodinfo->prodname), string_of(from->name),
                        place_of(product, found.part->place)});
          },
          [](const std::string&) {});
    }
  }

 private:
  using Conditions = std::vector<std::vector<Binding>>;

  void wait_for(const WH_PRODUCT_SPEC* spec) {
    for (WH_VARIETY* variety : elements<WH_VARIETY>(spec->varieties->seq))
      if (visited_.insert(variety).second) waiting_.emplace_back(spec->product, variety);
  }

  void add(const FoundPart& found, PartReason::Includer includer) {
    const WH_PRODUCT_QUERY* query = found.part->u.product;
    FwErrorState err;
    WH_PATTERN* pattern = wh_expand_pattern(&err, query->pattern, found.names.get());
    FwErrorClear(&err);
    Conditions conditions;
    for (const WH_PATTERN* each = pattern; each; each = each->next)
      conditions.push_back(bindings_of(each->vars));
    const bool optional = query->optional != 0;
    const auto [at, is_new] =
        known_.try_emplace({found.product, conditions, optional}, parts_.size());
    if (is_new) {
      PartReason& reason = parts_.emplace_back();
      reason.group = group_;
      reason.product = found.product;
      reason.presence = found.presence;
      reason.optional = optional;
      reason.conditions = std::move(conditions);
      if (found.spec) reason.varieties = reasons_of(found.spec, pattern);
    }
    parts_[at->second].includers.push_back(std::move(includer));
    if (pattern) free_pattern(&pattern);
    if (found.spec) wait_for(found.spec);
  }

  std::vector<PartReason>& parts_;
  WH_INDEX* index_;
  int group_;
  std::map<std::tuple<ProductName, Conditions, bool>, std::size_t> known_;
  std::set<const WH_VARIETY*> visited_;
  std::deque<std::pair<WH_PRODUCT*, WH_VARIETY*>> waiting_;
};

}  // namespace

Choices choices_of(const Question& question, const Environment& base) {
  Choices choices;
  Inside inside;
  inside.look = [&](WH_COMPUTATION* all) {
    for (int32 i = 0; i < FwVectorLength(&all->group_speclists); ++i) {
      choices.named.push_back(choices_in(all, i));
      PartReasons(&choices.parts, all->index, i)
          .follow(element<WH_PRODUCT_SPEC_LIST>(all->group_speclists, i));
    }
  };
  Question only_choices = question;
  only_choices.choices_only = true;
  choices.answer = compute(only_choices, base, inside);
  return choices;
}

}  // namespace zor
