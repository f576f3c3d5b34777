#include "values.h"

#include <cstring>

#include "environ.h"
#include "fcpp.h"
#include "list.h"
#include "names_table.h"

namespace {

// A variable may have one element or many thousands.
constexpr uint32 kPoolFirst = 256;
constexpr uint32 kPoolGrow = 8192;

// Elements: their texts live as long as the table.
constexpr FwHashFunctions kElementFunctions = {wh_env_hash, wh_env_compare, nullptr, nullptr, 1};

FwTextString copy_in(FwMemPool* pool, FwTextString text) {
  size_t size = std::strlen(FWC(text)) + 1;
  return static_cast<FwTextString>(
      std::memcpy(FwMemPoolAlloc(pool, static_cast<uint32>(size)), text, size));
}

// text is in the pool.
NODE* add_node(VAR_OPS* var_ops, FwTextString text) {
  auto* node = make_in(var_ops->pool, NODE{});
  node->value = text;
  add_or_exit(var_ops->nodes, text, node);
  return node;
}

void free_variable(VAR_OPS* var_ops) {
  for (const FwHashEntry& entry : entries(var_ops->values))
    abandon_list(&static_cast<VAL_OPS*>(entry.value)->ins);
  FwHashFreeTable(&var_ops->values);
  for (const FwHashEntry& entry : entries(var_ops->nodes))
    abandon_list(&static_cast<NODE*>(entry.value)->pred);
  FwHashFreeTable(&var_ops->nodes);
  FwVectorAbandon(&var_ops->inserts, 0);
  FwVectorAbandon(&var_ops->removes, 0);
  FwVectorAbandon(&var_ops->oldorder, 0);
  FwStrRecordAbandon(&var_ops->result);
  free_subjects(&var_ops->inserted);
  free_subjects(&var_ops->elements);
  close_literals(&var_ops->remove_keys);
  close_patterns(&var_ops->remove_globs);
  FwMemPoolDestroy(&var_ops->pool);
  FwMemFree(var_ops);
}

}  // namespace

VAR_OPS* make_var_ops() {
  auto* var_ops = FwMemNew<VAR_OPS>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  var_ops->pool =
      FwMemPoolCreate(0, kPoolFirst, kPoolGrow, alignof(void*), ALLOC_MUST_SUCCEED | INIT_NONE);
  if (!var_ops->pool) FwMemExitMemoryExhausted();
  var_ops->values = make_table(&kElementFunctions);
  FwVectorOpen(&var_ops->inserts, 4);
  FwVectorOpen(&var_ops->removes, 8);
  FwVectorOpen(&var_ops->oldorder, 4);
  var_ops->nodes = make_table(&kElementFunctions);
  FwStrRecordOpen(&var_ops->result);
  return var_ops;
}

void free_variables(FwHashTable** variables) {
  for (const FwHashEntry& entry : entries(*variables))
    free_variable(static_cast<VAR_OPS*>(entry.value));
  FwHashFreeTable(variables);
}

VAR_OPS* get_var_ops(FwHashTable* variables, FwTextString name) {
  auto* var_ops = value_of<VAR_OPS>(variables, name);
  if (var_ops) return var_ops;
  var_ops = make_var_ops();
  add_or_exit(variables, name, var_ops);
  return var_ops;
}

VAL_OPS* get_val_ops(VAR_OPS* var_ops, FwTextString value) {
  auto* val_ops = value_of<VAL_OPS>(var_ops->values, value);
  if (val_ops) return val_ops;
  val_ops = make_in(var_ops->pool, VAL_OPS{});
  val_ops->value = copy_in(var_ops->pool, value);
  val_ops->rem.pool = var_ops->pool;
  add_or_exit(var_ops->values, val_ops->value, val_ops);
  return val_ops;
}

NODE* find_node(VAR_OPS* var_ops, FwTextString value) {
  return value_of<NODE>(var_ops->nodes, value);
}

NODE* get_node(VAR_OPS* var_ops, FwTextString value) {
  NODE* node = find_node(var_ops, value);
  return node ? node : add_node(var_ops, copy_in(var_ops->pool, value));
}

NODE* node_of(VAR_OPS* var_ops, VAL_OPS* val_ops) {
  if (!val_ops->node) val_ops->node = add_node(var_ops, val_ops->value);
  return val_ops->node;
}

void enter_remove_run(REMOVES* rem, EXPANDED_OP* remeop, int32 count) {
  auto* run = make_in(rem->pool, REMOVE_RUN{});
  run->op = remeop;
  run->count = count;
  (rem->last ? rem->last->next : rem->first) = run;
  rem->last = run;
}

void enter_removal(VAL_OPS* val_ops, EXPANDED_OP* remeop) {
  REMOVES* rem = &val_ops->rem;
  REMOVE_RUN* last = rem->last;
  const bool inserted = count_of(&val_ops->ins) > 0;
  const bool starts_anew = inserted && last == rem->before_inserts;
  if (last && last->op == remeop && !starts_anew) {
    ++last->count;
    return;
  }
  // A remove is tried on the inserts before it is tried on the elements of the input.
  enter_remove_run(rem, remeop, inserted ? count_of(&val_ops->ins) : 1);
}

bool enter_insert(VAL_OPS* val_ops, EXPANDED_OP* eop) {
  const bool first = count_of(&val_ops->ins) == 0;
  add_to_list(&val_ops->ins, eop, 2);
  REMOVES* rem = &val_ops->rem;
  if (first)
    rem->before_inserts = rem->last;
  else if (rem->last != rem->before_inserts)
    ++rem->last->again;
  return !first;
}

REMOVE_RUN* first_again(const REMOVES* rem) {
  return rem->before_inserts ? rem->before_inserts->next : rem->first;
}

void list_removes(const REMOVES* rem, FwVector* list) {
  for (const REMOVE_RUN* run = rem->first; run; run = run->next) {
    for (int32 i = 0; i < run->count; ++i)
      FwVectorAddElement(list, run->op);
    for (int32 i = 0; i < run->again; ++i)
      for (const REMOVE_RUN* other = first_again(rem);; other = other->next) {
        FwVectorAddElement(list, other->op);
        if (other == run) break;
      }
  }
}

void add_subject(SUBJECTS* subjects, FwTextString text) {
  if (subjects->texts.state != FW_VECTOR_OPEN) open_vector(&subjects->texts, 10);
  FwVectorAddElement(&subjects->texts, text);
}

void free_subjects(SUBJECTS* subjects) {
  if (subjects->texts.state == FW_VECTOR_OPEN) FwVectorAbandon(&subjects->texts, subjects->owned);
  close_literals(&subjects->index);
  close_texts(&subjects->globs);
  *subjects = SUBJECTS{};
}
