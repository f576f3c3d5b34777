// The walk that collects the operations of the chosen products and of their parts.
#include "collect.h"

#include "fcpp.h"
#include "glob.h"
#include "names_table.h"
#include "observation.h"
#include "op.h"

namespace {

// Adds the operations of one group that apply to the variety.
void collect_group(WH_CALL_ENV* callenv, WH_VARIETY* variety, WH_ENV_GROUP* group,
                   FwErrorState* err) {
  auto* state = static_cast<COLLECT_STATE*>(callenv->state);
  for (int32 i = 0; i < FwVectorLength(&group->ops); ++i) {
    WH_ENV_OP* exp_op = wh_expand_env_op(err, nth<WH_ENV_OP>(&group->ops, i), callenv->symtab);
    if (!rep_clear(err, callenv->errorfunc)) {
      free_env_op(&exp_op);
      continue;
    }
    int hasglob = wh_has_globs(exp_op->name);
    EXPANDED_OP* eop = make_expanded_op(exp_op, variety, hasglob);
    FwVectorAddElement(&state->eops, eop);
    if (state->observation) tell_collected(state->observation, eop);
    if (!hasglob && !wh_lookup_ev(exp_op->name, state->environ))
      add_or_exit(state->newvars, exp_op->name, exp_op->name);
  }
}

// Apart from collect_variety_ops, whose frame is multiplied by the depth of the parts.
[[gnu::noinline]] void collect_own_ops(WH_CALL_ENV* callenv, WH_VARIETY* variety,
                                       WH_ENV_SETTINGS* settings) {
  FwErrorState err;
  WH_CONTEXT* context = context_from_variety(variety);
  add_context(callenv->symtab, context);
  keep_meanings(callenv->symtab);
  for (int32 i = 0; i < FwVectorLength(&settings->groups); ++i) {
    auto* group = nth<WH_ENV_GROUP>(&settings->groups, i);
    if (matchvar(variety, group->pattern, nullptr)) collect_group(callenv, variety, group, &err);
  }
  remove_context(callenv->symtab, context);
  free_context(&context);
  FwErrorClear(&err);
}

}  // namespace

void collect_variety_ops(WH_CALL_ENV* callenv, WH_VARIETY* variety, WH_PRODUCT* product) {
  auto* state = static_cast<COLLECT_STATE*>(callenv->state);
  WH_ENV_SETTINGS* settings = state->set ? product->envset : product->envunset;
  add_context(callenv->symtab, state->context);
  if (state->observation) enter_station(state->observation, variety, product);
  wh_traverse_partlist(callenv, product->partlist, variety, nullptr, collect_part_ops);
  if (settings) collect_own_ops(callenv, variety, settings);
  if (state->observation) leave_station(state->observation);
  remove_context(callenv->symtab, state->context);
}

void collect_part_ops(WH_CALL_ENV* callenv, WH_PRODUCT_SPEC* spec) {
  if (OBSERVATION* observation = static_cast<COLLECT_STATE*>(callenv->state)->observation)
    observation->station->next = callenv->part;
  wh_traverse_spec(callenv->index, spec, collect_variety_ops, callenv->errorfunc, callenv->source,
                   callenv->state);
}
