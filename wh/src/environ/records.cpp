// The records that the steps of the engine share.
#include "engine.h"
#include "fwmem.h"

namespace {

int32 StringAddCopyKeyFunction(FwHashEntry* entry, void* key, void* value, int32 fNew,
                               FwErrorState* err) {
  if (fNew) {
    FwTextString copy = FwStrDuplicateFailNull(static_cast<FwTextString>(key));
    if (!copy) {
      if (err) FwErrorSet(err, fwErrorNoMemory, 0);
      return 0;
    }
    entry->key = copy;
  }
  entry->value = value;
  return 1;
}

void StringRemoveCopyKeyFunction(FwHashEntry* entry) {
  FwMemFree(entry->key);
  entry->key = nullptr;
}

// What a table holds under a key. The maker is called if there is nothing yet.
template <class T>
T* find_or_create(FwHashTable* table, FwTextString key, T* (*maker)()) {
  if (FwHashEntry* entry = FwHashLookupEntry(table, key, nullptr))
    return static_cast<T*>(entry->value);
  T* record = maker();
  add_or_exit(table, key, record);
  return record;
}

void abandon(FwVector* vector) {
  FwVectorAbandon(vector, 0);
}

int32 free_value(FwHashEntry* entry, void* /*context*/, FwErrorState* /*err*/) {
  auto* val_ops = static_cast<VAL_OPS*>(entry->value);
  abandon(&val_ops->ins);
  abandon(&val_ops->rem);
  FwMemFree(val_ops);
  return 1;
}

int32 free_table_node(FwHashEntry* entry, void* /*context*/, FwErrorState* /*err*/) {
  auto* node = static_cast<NODE*>(entry->value);
  free_node(&node);
  return 1;
}

int32 free_variable(FwHashEntry* entry, void* /*context*/, FwErrorState* /*err*/) {
  auto* var_ops = static_cast<VAR_OPS*>(entry->value);
  FwHashEnumerateEntries(var_ops->values, free_value, nullptr, nullptr);
  FwHashFreeTable(&var_ops->values);
  FwHashEnumerateEntries(var_ops->nodes, free_table_node, nullptr, nullptr);
  FwHashFreeTable(&var_ops->nodes);
  abandon(&var_ops->inserts);
  abandon(&var_ops->removes);
  abandon(&var_ops->oldorder);
  FwStrRecordAbandon(&var_ops->result);
  free_subjects(&var_ops->inserted);
  free_subjects(&var_ops->elements);
  close_literals(&var_ops->remove_keys);
  free_positions(&var_ops->glob_removes);
  FwMemFree(var_ops);
  return 1;
}

}  // namespace

const FwHashFunctions hash_functions = {wh_env_hash, wh_env_compare, StringAddCopyKeyFunction,
                                        StringRemoveCopyKeyFunction, 1};

FwHashTable* make_names_table() {
  FwHashTable* table = FwHashCreateTable(13, &hash_functions, nullptr);
  if (!table) FwMemExitMemoryExhausted();
  return table;
}

bool add_in_order(FwHashTable* table, void* key, void* value) {
  const uint32 size = table->nTableSize;
  const bool grows = size <= uint64{2} * table->nUsedEntries;
  const bool added = FwHashAddEntry(table, key, value, nullptr) != nullptr;
  return added && !(grows && table->nTableSize == size);
}

void add_or_exit(FwHashTable* table, void* key, void* value) {
  if (!add_in_order(table, key, value)) FwMemExitMemoryExhausted();
}

EXPANDED_OP* make_expanded_op(WH_ENV_OP* op, WH_VARIETY* variety, int hasglob) {
  auto* eop = FwMemNew<EXPANDED_OP>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  eop->op = op;
  eop->variety = variety;
  eop->hasglob = hasglob;
  if (op->type == wh_env_insert) return eop;

  const FwVector* values = &op->u.rem->values;
  eop->literal = true;
  eop->pattern_count = FwVectorLength(values);
  if (eop->pattern_count == 0) return eop;
  eop->patterns = static_cast<GLOB*>(FwMemAlloc(
      static_cast<size_t>(eop->pattern_count) * sizeof(GLOB), ALLOC_MUST_SUCCEED | INIT_NONE));
  for (int32 i = 0; i < eop->pattern_count; ++i) {
    GLOB* glob = ::new (&eop->patterns[i]) GLOB;
    open_glob(glob, element_at<FwTextByte>(values, i));
    if (!glob->key) eop->literal = false;
  }
  return eop;
}

void free_expanded_op(EXPANDED_OP** eop) {
  if (!*eop) return;
  for (int32 i = 0; i < (*eop)->pattern_count; ++i)
    close_glob(&(*eop)->patterns[i]);
  FwMemFreeAndClear(&(*eop)->patterns);
  free_env_op(&(*eop)->op);
  FwMemFreeAndClear(eop);
}

VAR_OPS* make_var_ops() {
  auto* var_ops = FwMemNew<VAR_OPS>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  var_ops->values = make_names_table();
  FwVectorOpen(&var_ops->inserts, 4);
  FwVectorOpen(&var_ops->removes, 8);
  FwVectorOpen(&var_ops->oldorder, 4);
  var_ops->nodes = make_names_table();
  FwStrRecordOpen(&var_ops->result);
  return var_ops;
}

VAL_OPS* make_val_ops() {
  auto* val_ops = FwMemNew<VAL_OPS>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  FwVectorOpen(&val_ops->ins, 2);
  FwVectorOpen(&val_ops->rem, 2);
  return val_ops;
}

void free_variables(FwHashTable** variables) {
  FwHashEnumerateEntries(*variables, free_variable, nullptr, nullptr);
  FwHashFreeTable(variables);
}

VAR_OPS* get_var_ops(FwHashTable* variables, FwTextString name) {
  return find_or_create(variables, name, make_var_ops);
}

VAL_OPS* get_val_ops(VAR_OPS* var_ops, FwTextString value) {
  return find_or_create(var_ops->values, value, make_val_ops);
}

NODE* make_node(FwTextString value) {
  auto* node = FwMemNew<NODE>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  node->value = FwStrDuplicate(value);
  FwVectorOpen(&node->pred, 8);
  return node;
}

void free_node(NODE** node) {
  if (!*node) return;
  FwMemFree((*node)->value);
  abandon(&(*node)->pred);
  FwMemFreeAndClear(node);
}

NODE* get_node(VAR_OPS* var_ops, FwTextString value) {
  NODE* node = find_node(var_ops, value);
  if (node) return node;
  node = make_node(value);
  add_or_exit(var_ops->nodes, value, node);
  return node;
}

NODE* find_node(VAR_OPS* var_ops, FwTextString value) {
  FwHashEntry* entry = FwHashLookupEntry(var_ops->nodes, value, nullptr);
  return entry ? static_cast<NODE*>(entry->value) : nullptr;
}

void add_subject(SUBJECTS* subjects, FwTextString text) {
  if (subjects->texts.state != FW_VECTOR_OPEN) open_vector(&subjects->texts, 10);
  FwVectorAddElement(&subjects->texts, text);
}

void free_subjects(SUBJECTS* subjects) {
  if (subjects->texts.state == FW_VECTOR_OPEN) FwVectorAbandon(&subjects->texts, subjects->owned);
  close_literals(&subjects->index);
  *subjects = SUBJECTS{};
}
