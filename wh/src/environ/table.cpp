// Tables of environment variables and the bridge to the process's environment.
#include "table.h"

#include <algorithm>

#include "fcpp.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwvector.h"
#include "names_table.h"
#include "platform.h"

namespace {

constexpr FwHashFunctions wh_env_hash_functions = {
    wh_env_hash, wh_env_compare, FwHash_StringAddCopyFunction, FwHash_StringRemoveCopyFunction, 1};

FwTextString key_of(const FwHashEntry& entry) {
  return static_cast<FwTextString>(entry.key);
}

FwTextString value_of(const FwHashEntry& entry) {
  return static_cast<FwTextString>(entry.value);
}

// Appends the name that *text begins with and moves *text behind it.
void put_name(FwStrRecord* name, FwTextString* text) {
  while (**text && **text != '=') {
    uint32 ascii = 0;
    while ((*text)[ascii] && (*text)[ascii] < 0x80 && (*text)[ascii] != '=')
      ++ascii;
    if (ascii > 0) {
      FwStrNPutRawString(name, *text, ascii);
      *text += ascii;
    } else {
      // Kept, as part of the interface: a byte from 0x80 up is taken as a character of that number,
      // so it becomes two bytes of the name. Both environments of a comparison are read alike.
      FwStrPutTextCharacter(name, *(*text)++);
    }
  }
}

// Kept, as the order of the output: the comparison tells equal names from others and is not an
// order. Names in a table differ, so all rank as equal and stay in slot order. A platform whose
// comparison is an order gets its entries sorted.
int sortvar(const void* ell1, const void* ell2) {
  auto* entry1 = *static_cast<FwHashEntry* const*>(ell1);
  auto* entry2 = *static_cast<FwHashEntry* const*>(ell2);
  return wh_env_compare(entry1->key, entry2->key);
}

}  // namespace

int wh_env_incomplete = 0;

WH_ENVIRON* make_environ() {
  auto* env = FwMemNew<WH_ENVIRON>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  env->variables = FwHashCreateTable(50, &wh_env_hash_functions, nullptr);
  // Nobody could tell an environment without a table from an empty one.
  if (!env->variables) FwMemExitMemoryExhausted();
  return env;
}

void free_environ(WH_ENVIRON** env) {
  if (!*env) return;
  FwHashFreeTable(&(*env)->variables);
  FwMemFreeAndClear(env);
}

WH_ENVIRON* dup_environ(WH_ENVIRON* env) {
  WH_ENVIRON* copy = make_environ();
  for (const FwHashEntry& entry : entries(env->variables))
    wh_set_ev(copy, key_of(entry), value_of(entry));
  return copy;
}

void wh_set_ev(WH_ENVIRON* env, FwTextString variable, FwTextString value) {
  if (!add_in_order(env->variables, variable, value) && variable && value) wh_env_incomplete = 1;
}

void move_ev(WH_ENVIRON* env, FwHashEntry* entry) {
  FwHashTable* table = env->variables;
  FwTextString value = value_of(*entry);
  // Without a function of its own a table takes the pointers as they are.
  table->fns.addFn = nullptr;
  bool moved = add_in_order(table, entry->key, value);
  table->fns.addFn = wh_env_hash_functions.addFn;
  if (!moved) {
    wh_env_incomplete = 1;
    moved = wh_lookup_ev(key_of(*entry), env) == value;
  }
  if (moved) entry->key = nullptr;
}

FwTextString wh_lookup_ev(FwTextString variable, WH_ENVIRON* env) {
  FwHashEntry* entry = FwHashLookupEntry(env->variables, variable, nullptr);
  return entry ? value_of(*entry) : nullptr;
}

void wh_delete_ev(WH_ENVIRON* env, FwTextString variable) {
  FwHashRemoveEntry(env->variables, variable, nullptr);
}

WH_ENVIRON* wh_get_process_env(FwErrorState* /*err*/) {
  WH_ENVIRON* env = make_environ();
  OpenRecord name;
  for (char** variable = process_environment(); variable && *variable; ++variable) {
    FwTextString text = FWT(*variable);
    put_name(&name, &text);
    if (*text == '=') ++text;
    wh_set_ev(env, name.pbz, text);
    name.clear();
  }
  return env;
}

int wh_set_process_env(FwErrorState* err, WH_ENVIRON* new_env) {
  WH_ENVIRON* old_env = wh_get_process_env(err);
  if (!old_env) return 0;
  int result = 1;
  for (const FwHashEntry& entry : entries(old_env->variables))
    if (!wh_lookup_ev(key_of(entry), new_env)) wh_delenv(err, key_of(entry));
  for (const FwHashEntry& entry : entries(new_env->variables)) {
    FwTextString old_value = wh_lookup_ev(key_of(entry), old_env);
    if (old_value && wh_env_equal(old_value, value_of(entry))) continue;
    if (!wh_putenv(err, key_of(entry), value_of(entry))) result = 0;
  }
  free_environ(&old_env);
  return result;
}

int32 wh_enumerate_environ(WH_ENVIRON* env, FwHashIterationFn* func, void* context,
                           FwErrorState* err) {
  return FwHashEnumerateEntries(env->variables, func, context, err);
}

int32 wh_sorted_enumerate_environ(WH_ENVIRON* env, FwHashIterationFn* func, void* context,
                                  FwErrorState* err) {
  const auto count = static_cast<int32>(env->variables->nUsedEntries);
  LocalVector sorted(std::max(count, 1), Elements::kKept);
  for (FwHashEntry& entry : entries(env->variables))
    FwVectorAddElement(&sorted, &entry);
  FwVectorQSort(&sorted, sortvar);
  for (FwHashEntry* entry : elements<FwHashEntry>(&sorted))
    if (!func(entry, context, err)) return 0;
  return 1;
}
