// Builds the output environment: wh_apply_env, and the sort of a variable's elements.
#include "constraints.h"
#include "engine.h"
#include "fwmem.h"
#include "observation.h"
#include "vqassert.h"
#include "wherror.h"

namespace {

FwTextString name_of(FwHashEntry* entry) {
  return static_cast<FwTextString>(entry->key);
}

VAR_OPS* var_ops_of(FwHashEntry* entry) {
  return static_cast<VAR_OPS*>(entry->value);
}

struct APPLY_STATE {
  FwHashTable* variables;
  WH_ENVIRON* output_env;
  WH_ERROR_FUNC errorfunc;
  bool spent;
  OBSERVATION* observation;
  FwErrorState err;
};

// ---- The input's elements ----

// Copies or moves a variable that no operation touches, or makes nodes of the elements that stay.
int32 take_input(FwHashEntry* entry, void* vstate, FwErrorState* /*err*/) {
  auto* state = static_cast<APPLY_STATE*>(vstate);
  auto* value = static_cast<FwTextString>(entry->value);
  FwHashEntry* touched = FwHashLookupEntry(state->variables, entry->key, nullptr);
  if (!touched) {
    if (state->spent)
      move_ev(state->output_env, entry);
    else
      wh_set_ev(state->output_env, name_of(entry), value);
    return 1;
  }
  VAR_OPS* var_ops = var_ops_of(touched);
  if (var_ops->sep == 0) var_ops->sep = ':';
  const FwVector* elements = split_input(var_ops, value, var_ops->sep);
  for (int32 i = 0; i < FwVectorLength(elements); ++i) {
    auto* element = element_at<FwTextByte>(elements, i);
    // This creates what there is not: it decides the order of the values, and so of the nodes.
    VAL_OPS* val_ops = get_val_ops(var_ops, element);
    if (count_of(&val_ops->rem) > 0 || val_ops->node) continue;
    FwVectorAddElement(&var_ops->oldorder, node_of(var_ops, val_ops));
  }
  return 1;
}

// ---- The constraints ----

int32 make_value_node(FwHashEntry* entry, void* var_ops, FwErrorState* /*err*/) {
  auto* val_ops = static_cast<VAL_OPS*>(entry->value);
  if (count_of(&val_ops->ins) > 0) node_of(static_cast<VAR_OPS*>(var_ops), val_ops);
  return 1;
}

int32 constrain_value(FwHashEntry* entry, void* vconstraints, FwErrorState* /*err*/) {
  auto* constraints = static_cast<CONSTRAINTS*>(vconstraints);
  auto* val_ops = static_cast<VAL_OPS*>(entry->value);
  if (count_of(&val_ops->ins) == 0) return 1;
  if (!val_ops->node) {
    FwAssertFailed("node not found");
    return 1;
  }
  for (int32 i = 0; i < count_of(&val_ops->ins); ++i) {
    const WH_ENV_INSERT* insert = element_at<EXPANDED_OP>(&val_ops->ins, i)->op->u.ins;
    constrain_before(constraints, val_ops->node, &insert->before);
    constrain_after(constraints, val_ops->node, &insert->after);
  }
  return 1;
}

int32 constrain_variable(FwHashEntry* entry, void* vstate, FwErrorState* /*err*/) {
  const OBSERVATION* observation = static_cast<APPLY_STATE*>(vstate)->observation;
  VAR_OPS* var_ops = var_ops_of(entry);
  if (var_ops->sep == 0) var_ops->sep = ':';
  // First all nodes, so that constraints see each other's values whatever arrived first.
  FwHashEnumerateEntries(var_ops->values, make_value_node, var_ops, nullptr);
  CONSTRAINTS constraints;
  open_constraints(&constraints, var_ops);
  if (observation && observation->observer->constrained)
    tell_constraints(observation, name_of(entry), var_ops, &constraints.nodes);
  FwHashEnumerateEntries(var_ops->values, constrain_value, &constraints, nullptr);
  close_constraints(&constraints);
  return 1;
}

// ---- The sort ----

// Meets a node. True if its predecessors are to be gone through now.
bool meet(NODE* node, FwTextString name, FwErrorState* err) {
  switch (node->state) {
    case st_new:
      node->state = st_visiting;
      return true;
    case st_visiting:
      FwErrorSet(err, whErrorEnvCycle, 4, FWT("value"), node->value, FWT("environment variable"),
                 name);
      node->state = st_visited;
      return false;
    case st_visited:
      return false;
    default:
      FwAssertFailed("bad case in sort_node");
      return false;
  }
}

void emit(NODE* node, VAR_OPS* var_ops) {
  FwStrRecord* result = &var_ops->result;
  if (result->pbTerminator > result->pbz) FwStrPutTextCharacter(result, var_ops->sep);
  FwStrPutTextString(result, node->value);
  node->state = st_visited;
}

int32 sort_variable(FwHashEntry* entry, void* vstate, FwErrorState* /*err*/) {
  auto* state = static_cast<APPLY_STATE*>(vstate);
  VAR_OPS* var_ops = var_ops_of(entry);
  FwErrorState* err = &state->err;
  OBSERVATION* observation = state->observation;
  if (observation) begin_variable(observation, var_ops);

  for (int32 i = 0; i < FwVectorLength(&var_ops->oldorder); ++i)
    sort_node(element_at<NODE>(&var_ops->oldorder, i), name_of(entry), var_ops, err, observation);
  const FwHashTable* nodes = var_ops->nodes;
  for (FwHashEntry* slot = nodes->pEntries; slot <= nodes->pLastEntry; ++slot)
    if (slot->key)
      sort_node(static_cast<NODE*>(slot->value), name_of(entry), var_ops, err, observation);

  if (err->pError) {
    // Kept: without a function to call, the error stays and all later variables go the same way.
    if (state->errorfunc) {
      state->errorfunc(err);
      FwErrorClear(err);
    }
    return 1;
  }
  bool empty = var_ops->result.pbTerminator == var_ops->result.pbz;
  if (var_ops->del && empty) {
    if (observation) tell_rebuilt(observation, name_of(entry), nullptr);
    return 1;
  }
  FwTextString result = FwStrRecordClose(&var_ops->result);
  if (observation) tell_rebuilt(observation, name_of(entry), result);
  wh_set_ev(state->output_env, name_of(entry), result);
  FwMemFree(result);
  return 1;
}

// ---- The whole ----

struct RESOLVE_STATE {
  WH_ERROR_FUNC error;
  ANCESTRY* ancestry;
  OBSERVATION* observation;
};

int32 resolve_variable(FwHashEntry* entry, void* vstate, FwErrorState* /*err*/) {
  auto* state = static_cast<RESOLVE_STATE*>(vstate);
  res_context context = {state->error, name_of(entry), state->ancestry, state->observation};
  FwHashEnumerateEntries(var_ops_of(entry)->values, resolve, &context, nullptr);
  return 1;
}

// Tells all varieties below the chosen ones what includes them.
void find_all_ancestors(WH_INDEX* index, WH_PRODUCT_SPEC_LIST* speclist, ANCESTRY* ancestry,
                        WH_CONTEXT* context, FwTextString file, WH_ERROR_FUNC error) {
  for (int32 i = 0; i < FwVectorLength(&speclist->specs); ++i) {
    auto* spec = element_at<WH_PRODUCT_SPEC>(&speclist->specs, i);
    WH_SYMTAB* symtab = nullptr;
    if (spec->product->partlist->partspecs) {
      symtab = symtab_from_prodname(spec->product->prodinfo->prodname, file);
      add_context(symtab, context);
    }
    const FwVector* varieties = &spec->varieties->seq;
    for (int32 v = 0; v < FwVectorLength(varieties); ++v) {
      auto* variety = element_at<WH_VARIETY>(varieties, v);
      if (wh_variety_is_complete(variety))
        find_ancestors(variety, index, ancestry, spec->product->partlist, symtab, error);
    }
    if (symtab) remove_context(symtab, context);
    free_symtab(&symtab);
  }
}

// What apply_env works on; as the arguments of wh_apply_env_observed.
struct APPLICATION {
  WH_INDEX* index;
  WH_ENVIRON* input_env;
  FwTextString base;
  WH_PRODUCT_SPEC_LIST* speclist;
  WH_ERROR_FUNC error;
  int set;
  bool spent;  // as in apply_ops
  OBSERVATION* observation;
};

WH_ENVIRON* apply_env(const APPLICATION* all) {
  FwTextString file = FWT(all->set ? "env.xml" : "unenv.xml");
  COLLECT_STATE state;
  state.environ = all->input_env;
  state.context = make_context(make_cv(FWT("BASE-DIRECTORY"), all->base, nullptr));
  open_vector(&state.eops, 20);
  state.newvars = make_names_table();
  state.set = all->set;
  state.observation = all->observation;

  index_unvisit(all->index);
  for (int32 i = 0; i < FwVectorLength(&all->speclist->specs); ++i)
    wh_traverse_spec(all->index, element_at<WH_PRODUCT_SPEC>(&all->speclist->specs, i),
                     collect_variety_ops, all->error, file, &state);

  FwHashTable* variables = make_names_table();
  NAMES names;
  for (int32 i = 0; i < FwVectorLength(&state.eops); ++i)
    generate_instances(element_at<EXPANDED_OP>(&state.eops, i), all->input_env, state.newvars,
                       variables, all->error, &names);
  close_names(&names);

  ANCESTRY* ancestry = make_ancestry();
  find_all_ancestors(all->index, all->speclist, ancestry, state.context, file, all->error);

  RESOLVE_STATE resolving = {all->error, ancestry, all->observation};
  FwHashEnumerateEntries(variables, resolve_variable, &resolving, nullptr);
  WH_ENVIRON* output_env = nullptr;
  if (!all->observation || !all->observation->endless)
    output_env = apply_ops(variables, all->input_env, all->error, all->spent, all->observation);

  for (int32 i = 0; i < FwVectorLength(&state.eops); ++i) {
    auto* eop = element_at<EXPANDED_OP>(&state.eops, i);
    free_expanded_op(&eop);
  }
  free_context(&state.context);
  FwHashFreeTable(&state.newvars);
  FwVectorAbandon(&state.eops, 0);
  free_variables(&variables);
  free_ancestry(&ancestry);
  return output_env;
}

}  // namespace

WH_ENVIRON* wh_apply_env(WH_INDEX* index, WH_ENVIRON* input_env, FwTextString base,
                         WH_PRODUCT_SPEC_LIST* speclist, WH_ERROR_FUNC error, int set) {
  const APPLICATION all = {index, input_env, base, speclist, error, set, false, nullptr};
  return apply_env(&all);
}

void wh_change_env(WH_INDEX* index, WH_ENVIRON** env, FwTextString base,
                   WH_PRODUCT_SPEC_LIST* speclist, WH_ERROR_FUNC error, int set) {
  const APPLICATION all = {index, *env, base, speclist, error, set, true, nullptr};
  WH_ENVIRON* result = apply_env(&all);
  free_environ(env);
  *env = result;
}

WH_ENVIRON* wh_apply_env_observed(WH_INDEX* index, WH_ENVIRON* input_env, FwTextString base,
                                  WH_PRODUCT_SPEC_LIST* speclist, WH_ERROR_FUNC error, int set,
                                  const WH_OBSERVER* observer) {
  if (!observer) return wh_apply_env(index, input_env, base, speclist, error, set);
  OBSERVATION observation;
  open_observation(&observation, observer, input_env);
  const APPLICATION all = {index, input_env, base, speclist, error, set, false, &observation};
  WH_ENVIRON* output_env = apply_env(&all);
  close_observation(&observation);
  return output_env;
}

WH_ENVIRON* apply_ops(FwHashTable* variables, WH_ENVIRON* input_env, WH_ERROR_FUNC errorfunc,
                      bool spent, OBSERVATION* observation) {
  APPLY_STATE state = {variables, make_environ(), errorfunc, spent, observation, {}};
  wh_enumerate_environ(input_env, take_input, &state, nullptr);
  FwHashEnumerateEntries(variables, constrain_variable, &state, nullptr);
  FwHashEnumerateEntries(variables, sort_variable, &state, nullptr);
  FwErrorClear(&state.err);
  return state.output_env;
}

// A walk in depth with a stack of its own, as chains of constraints may be as long as a value. A
// node is on the stack at most once, so its place among its predecessors is kept in itself.
void sort_node(NODE* node, FwTextString name, VAR_OPS* var_ops, FwErrorState* err,
               OBSERVATION* observation) {
  if (!meet(node, name, err)) return;
  FwVector stack;
  open_vector(&stack, 10);
  FwVectorAddElement(&stack, node);
  while (int32 depth = FwVectorLength(&stack)) {
    auto* top = element_at<NODE>(&stack, depth - 1);
    if (NODE* pred = next_predecessor(top)) {
      if (observation && pred->state == st_visiting)
        tell_cycle(observation, name, var_ops, &stack, pred);
      if (meet(pred, name, err)) FwVectorAddElement(&stack, pred);
    } else {
      if (observation) tell_placed(observation, name, var_ops, &stack);
      emit(top, var_ops);
      FwVectorPopElement(&stack);
    }
  }
  FwVectorAbandon(&stack, 0);
}
