// Builds the output environment: wh_apply_env, and the sort of a variable's elements.
#include "apply.h"

#include "ancestors.h"
#include "collect.h"
#include "constraints.h"
#include "fcpp.h"
#include "generate.h"
#include "list.h"
#include "names_table.h"
#include "observation.h"
#include "resolve.h"
#include "table.h"
#include "vqassert.h"
#include "wherror.h"

namespace {

FwTextString name_of(const FwHashEntry& entry) {
  return static_cast<FwTextString>(entry.key);
}

VAR_OPS* var_ops_of(const FwHashEntry& entry) {
  return static_cast<VAR_OPS*>(entry.value);
}

VAL_OPS* val_ops_of(const FwHashEntry& entry) {
  return static_cast<VAL_OPS*>(entry.value);
}

// ---- The input's elements ----

// Makes nodes of the elements of an input value that stay.
void take_value(VAR_OPS* var_ops, FwTextString value) {
  if (var_ops->sep == 0) var_ops->sep = ':';
  for (FwTextString element : texts(split_input(var_ops, value, var_ops->sep))) {
    // This creates what there is not: it decides the order of the values, and so of the nodes.
    VAL_OPS* val_ops = get_val_ops(var_ops, element);
    if (count_of(&val_ops->rem) > 0 || val_ops->node) continue;
    FwVectorAddElement(&var_ops->oldorder, node_of(var_ops, val_ops));
  }
}

// Copies, or moves, the variables that no operation touches.
void take_input(FwHashTable* variables, WH_ENVIRON* input_env, bool spent, WH_ENVIRON* output_env) {
  for (FwHashEntry& entry : entries(input_env->variables)) {
    auto* value = static_cast<FwTextString>(entry.value);
    if (FwHashEntry* touched = FwHashLookupEntry(variables, entry.key, nullptr))
      take_value(var_ops_of(*touched), value);
    else if (spent)
      move_ev(output_env, &entry);
    else
      wh_set_ev(output_env, name_of(entry), value);
  }
}

// ---- The constraints ----

void constrain_value(const VAL_OPS* val_ops, CONSTRAINTS* constraints) {
  if (count_of(&val_ops->ins) == 0) return;
  if (!val_ops->node) {
    FwAssertFailed("node not found");
    return;
  }
  for (int32 i = 0; i < count_of(&val_ops->ins); ++i) {
    const WH_ENV_INSERT* insert = nth<EXPANDED_OP>(&val_ops->ins, i)->op->u.ins;
    constrain_before(constraints, val_ops->node, &insert->before);
    constrain_after(constraints, val_ops->node, &insert->after);
  }
}

void constrain_variable(FwTextString name, VAR_OPS* var_ops, const OBSERVATION* observation) {
  if (var_ops->sep == 0) var_ops->sep = ':';
  // First all nodes, so that constraints see each other's values whatever arrived first.
  for (const FwHashEntry& entry : entries(var_ops->values))
    if (count_of(&val_ops_of(entry)->ins) > 0) node_of(var_ops, val_ops_of(entry));
  CONSTRAINTS constraints;
  open_constraints(&constraints, var_ops);
  if (observation && observation->observer->constrained)
    tell_constraints(observation, name, var_ops, &constraints.nodes);
  for (const FwHashEntry& entry : entries(var_ops->values))
    constrain_value(val_ops_of(entry), &constraints);
  close_constraints(&constraints);
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
  if (record_length(result) > 0) FwStrPutTextCharacter(result, var_ops->sep);
  FwStrPutTextString(result, node->value);
  node->state = st_visited;
}

// Where the new values go, and the cycles.
struct SORT {
  WH_ENVIRON* output_env;
  WH_ERROR_FUNC errorfunc;
  OBSERVATION* observation;
  FwErrorState err;
};

void sort_variable(FwTextString name, VAR_OPS* var_ops, SORT* sort) {
  FwErrorState* err = &sort->err;
  OBSERVATION* observation = sort->observation;
  if (observation) begin_variable(observation, var_ops);

  for (NODE* node : elements<NODE>(&var_ops->oldorder))
    sort_node(node, name, var_ops, err, observation);
  for (const FwHashEntry& entry : entries(var_ops->nodes))
    sort_node(static_cast<NODE*>(entry.value), name, var_ops, err, observation);

  if (err->pError) {
    // Kept, as part of the interface: without a function to call, the error stays and all later
    // variables go the same way. It is the defined result of a cycle that nobody hears of.
    if (sort->errorfunc) {
      sort->errorfunc(err);
      FwErrorClear(err);
    }
    return;
  }
  if (var_ops->del && record_length(&var_ops->result) == 0) {
    if (observation) tell_rebuilt(observation, name, nullptr);
    return;
  }
  const OwnedText result(FwStrRecordClose(&var_ops->result));
  if (observation) tell_rebuilt(observation, name, result);
  wh_set_ev(sort->output_env, name, result);
}

// ---- The whole ----

// Tells all varieties below the chosen ones what includes them.
void find_all_ancestors(WH_INDEX* index, WH_PRODUCT_SPEC_LIST* speclist, ANCESTRY* ancestry,
                        WH_CONTEXT* context, FwTextString file, WH_ERROR_FUNC error) {
  for (WH_PRODUCT_SPEC* spec : elements<WH_PRODUCT_SPEC>(&speclist->specs)) {
    WH_SYMTAB* symtab = nullptr;
    if (spec->product->partlist->partspecs) {
      symtab = symtab_from_prodname(spec->product->prodinfo->prodname, file);
      add_context(symtab, context);
    }
    for (WH_VARIETY* variety : elements<WH_VARIETY>(&spec->varieties->seq))
      if (wh_variety_is_complete(variety))
        find_ancestors(variety, index, ancestry, spec->product->partlist, symtab, error);
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
  for (WH_PRODUCT_SPEC* spec : elements<WH_PRODUCT_SPEC>(&all->speclist->specs))
    wh_traverse_spec(all->index, spec, collect_variety_ops, all->error, file, &state);

  FwHashTable* variables = make_names_table();
  NAMES names;
  for (EXPANDED_OP* eop : elements<EXPANDED_OP>(&state.eops))
    generate_instances(eop, all->input_env, state.newvars, variables, all->error, &names);
  close_names(&names);

  ANCESTRY* ancestry = make_ancestry();
  find_all_ancestors(all->index, all->speclist, ancestry, state.context, file, all->error);

  for (const FwHashEntry& entry : entries(variables)) {
    res_context context = {all->error, name_of(entry), ancestry, all->observation};
    FwHashEnumerateEntries(var_ops_of(entry)->values, resolve, &context, nullptr);
  }
  WH_ENVIRON* output_env = nullptr;
  if (!all->observation || !all->observation->endless)
    output_env = apply_ops(variables, all->input_env, all->error, all->spent, all->observation);

  for (EXPANDED_OP* eop : elements<EXPANDED_OP>(&state.eops))
    free_expanded_op(&eop);
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
  SORT sort = {make_environ(), errorfunc, observation, {}};
  take_input(variables, input_env, spent, sort.output_env);
  for (const FwHashEntry& entry : entries(variables))
    constrain_variable(name_of(entry), var_ops_of(entry), observation);
  for (const FwHashEntry& entry : entries(variables))
    sort_variable(name_of(entry), var_ops_of(entry), &sort);
  FwErrorClear(&sort.err);
  return sort.output_env;
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
    auto* top = nth<NODE>(&stack, depth - 1);
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
