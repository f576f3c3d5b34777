#include "names_table.h"

#include "environ.h"
#include "fwerror.h"
#include "fwmem.h"
#include "fwstring.h"

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

}  // namespace

const FwHashFunctions hash_functions = {wh_env_hash, wh_env_compare, StringAddCopyKeyFunction,
                                        StringRemoveCopyKeyFunction, 1};

FwHashTable* make_table(const FwHashFunctions* functions) {
  FwHashTable* table = FwHashCreateTable(13, functions, nullptr);
  if (!table) FwMemExitMemoryExhausted();
  return table;
}

FwHashTable* make_names_table() {
  return make_table(&hash_functions);
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
