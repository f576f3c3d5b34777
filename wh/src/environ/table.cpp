// Tables of environment variables and the bridge to the process's environment.
#include <unistd.h>

#include "engine.h"
#include "environ.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwvector.h"

namespace {

constexpr FwHashFunctions wh_env_hash_functions = {
    wh_env_hash, wh_env_compare, FwHash_StringAddCopyFunction, FwHash_StringRemoveCopyFunction, 1};

FwTextString key_of(FwHashEntry* entry) {
  return static_cast<FwTextString>(entry->key);
}

FwTextString value_of(FwHashEntry* entry) {
  return static_cast<FwTextString>(entry->value);
}

int32 copy_variable(FwHashEntry* entry, void* environment, FwErrorState* /*err*/) {
  wh_set_ev(static_cast<WH_ENVIRON*>(environment), key_of(entry), value_of(entry));
  return 1;
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
      // Kept: a byte from 0x80 up is taken as a character of that number, so it becomes two bytes
      // of the name. Both environments of a comparison are read alike, so it doesn't show.
      FwStrPutTextCharacter(name, *(*text)++);
    }
  }
}

// What wh_set_process_env works on.
struct DIFFERENCE {
  FwErrorState* err;
  WH_ENVIRON* old_env;
  WH_ENVIRON* new_env;
  int result;
};

int32 delete_if_gone(FwHashEntry* entry, void* context, FwErrorState* /*err*/) {
  auto* difference = static_cast<DIFFERENCE*>(context);
  if (!wh_lookup_ev(key_of(entry), difference->new_env)) wh_delenv(difference->err, key_of(entry));
  return 1;
}

int32 put_if_different(FwHashEntry* entry, void* context, FwErrorState* /*err*/) {
  auto* difference = static_cast<DIFFERENCE*>(context);
  FwTextString old_value = wh_lookup_ev(key_of(entry), difference->old_env);
  if (!old_value || !wh_env_equal(old_value, value_of(entry)))
    if (!wh_putenv(difference->err, key_of(entry), value_of(entry))) difference->result = 0;
  return 1;
}

int32 add_to_vector(FwHashEntry* entry, void* vector, FwErrorState* /*err*/) {
  FwVectorAddElement(static_cast<FwVector*>(vector), entry);
  return 1;
}

// Kept: the comparison tells equal names from others and is no order. Names in a table differ, so
// all rank as equal and stay in slot order, which is the order of the script. A platform whose
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
  wh_enumerate_environ(env, copy_variable, copy, nullptr);
  return copy;
}

void wh_set_ev(WH_ENVIRON* env, FwTextString variable, FwTextString value) {
  if (!add_in_order(env->variables, variable, value) && variable && value) wh_env_incomplete = 1;
}

void move_ev(WH_ENVIRON* env, FwHashEntry* entry) {
  FwHashTable* table = env->variables;
  FwTextString value = value_of(entry);
  // Without a function of its own a table takes the pointers as they are.
  table->fns.addFn = nullptr;
  bool moved = add_in_order(table, entry->key, value);
  table->fns.addFn = wh_env_hash_functions.addFn;
  if (!moved) {
    wh_env_incomplete = 1;
    moved = wh_lookup_ev(key_of(entry), env) == value;
  }
  if (moved) entry->key = nullptr;
}

FwTextString wh_lookup_ev(FwTextString variable, WH_ENVIRON* env) {
  FwHashEntry* entry = FwHashLookupEntry(env->variables, variable, nullptr);
  return entry ? value_of(entry) : nullptr;
}

void wh_delete_ev(WH_ENVIRON* env, FwTextString variable) {
  FwHashRemoveEntry(env->variables, variable, nullptr);
}

WH_ENVIRON* wh_get_process_env(FwErrorState* /*err*/) {
  WH_ENVIRON* env = make_environ();
  FwStrRecord name;
  FwStrRecordOpen(&name);
  for (char** variable = environ; variable && *variable; ++variable) {
    FwTextString text = FWT(*variable);
    put_name(&name, &text);
    if (*text == '=') ++text;
    wh_set_ev(env, name.pbz, text);
    FwStrRecordShorten(&name, 0);
  }
  FwStrRecordAbandon(&name);
  return env;
}

int wh_set_process_env(FwErrorState* err, WH_ENVIRON* new_env) {
  WH_ENVIRON* old_env = wh_get_process_env(err);
  if (!old_env) return 0;
  DIFFERENCE difference = {err, old_env, new_env, 1};
  wh_enumerate_environ(old_env, delete_if_gone, &difference, nullptr);
  wh_enumerate_environ(new_env, put_if_different, &difference, nullptr);
  free_environ(&old_env);
  return difference.result;
}

int32 wh_enumerate_environ(WH_ENVIRON* env, FwHashIterationFn* func, void* context,
                           FwErrorState* err) {
  return FwHashEnumerateEntries(env->variables, func, context, err);
}

int32 wh_sorted_enumerate_environ(WH_ENVIRON* env, FwHashIterationFn* func, void* context,
                                  FwErrorState* err) {
  FwVector entries;
  open_vector(&entries, static_cast<int32>(env->variables->nUsedEntries));
  wh_enumerate_environ(env, add_to_vector, &entries, nullptr);
  FwVectorQSort(&entries, sortvar);
  int32 result = 1;
  for (int32 i = 0; result && i < FwVectorLength(&entries); ++i)
    if (!func(static_cast<FwHashEntry*>(FwVectorGetElement(&entries, i)), context, err)) result = 0;
  FwVectorAbandon(&entries, 0);
  return result;
}
