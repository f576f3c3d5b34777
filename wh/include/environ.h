// Environments: tables of variables, the bridge to the process's own environment, and the engine
// that computes a new environment from the settings of chosen products.
//
//   WH_ENVIRON* input = wh_get_process_env(&err);
//   WH_ENVIRON* output = wh_apply_env(index, input, base, speclist, report_error, 1);
//   wh_sorted_enumerate_environ(output, print, nullptr, &err);
//   free_environ(&output);
//
// A table owns copies of its names and values; a caller may free or reuse what it passes in. The
// absence of a variable is never an entry without value, and an empty value is the empty string.
// Names are exact in case. Values are opaque bytes.
//
// The order of an enumeration is the order of the slots (fwhash.h). It is what the printed script
// follows, so it is behaviour: a stable function of the names and of their order of insertion.
//
// What varies by platform (the functions of the second half) lives in the platform's env source;
// a port replaces only that.
#ifndef ENVIRON_H
#define ENVIRON_H

#include "fwerror.h"
#include "fwhash.h"
#include "fwtypes.h"
#include "warehouse.h"

struct WH_ENVIRON {
  FwHashTable* variables = nullptr;  // name to value, both text
};

// A new empty table. free_environ frees it.
WH_ENVIRON* make_environ();

// Frees the table and sets *env to null. A null *env is accepted.
void free_environ(WH_ENVIRON** env);

// A new table with the entries of env, added in slot order: after collisions the order of the copy
// can differ from that of the source.
WH_ENVIRON* dup_environ(WH_ENVIRON* env);

// Adds a variable or replaces its value. A null value is refused and changes nothing. When memory
// is exhausted nothing is reported here, but wh_env_incomplete is set.
void wh_set_ev(WH_ENVIRON* env, FwTextString variable, FwTextString value);

// 1 once a table lacks a variable, or has lost its order, because memory ran out. What is made of
// the tables after that is wrong, so it is to be asked before anything is.
extern int wh_env_incomplete;

// The table's own value, valid until the table is next changed, or null if the variable is absent.
// Note the order of the arguments.
FwTextString wh_lookup_ev(FwTextString variable, WH_ENVIRON* env);

// Removes the variable, if it is there.
void wh_delete_ev(WH_ENVIRON* env, FwTextString variable);

// A new table with the variables of the process; of a name that occurs twice the later value holds,
// and a string without = is a variable with an empty value. err is never set.
WH_ENVIRON* wh_get_process_env(FwErrorState* err);

// Turns the environment of the process into new_env, by differences only: first all removals, then
// what is new or has another value. 0 if anything could not be set, else 1. err is never set.
int wh_set_process_env(FwErrorState* err, WH_ENVIRON* new_env);

// Calls func on each entry in slot order until it returns 0. 0 if it did so, else 1.
int32 wh_enumerate_environ(WH_ENVIRON* env, FwHashIterationFn* func, void* context,
                           FwErrorState* err);

// The same in the order that the platform's comparison of names gives. Needs memory for a list of
// the entries.
int32 wh_sorted_enumerate_environ(WH_ENVIRON* env, FwHashIterationFn* func, void* context,
                                  FwErrorState* err);

// A new environment, owned by the caller: input_env, which stays as it is, changed by the settings
// of the products of speclist and of all their parts. set says which settings: those of env.xml, or
// with 0 those of unenv.xml. base is the value of BASE-DIRECTORY in them. Faults go to error, which
// may be null, and do not stop the computation; a variable with a cycle of constraints is left out.
//
// An insert in a product of a value that one of its parts removes makes this function run without
// end, after the assertion "Invalid position in vector".
WH_ENVIRON* wh_apply_env(WH_INDEX* index, WH_ENVIRON* input_env, FwTextString base,
                         WH_PRODUCT_SPEC_LIST* speclist, WH_ERROR_FUNC error, int set);

// The same for one group of products after another: *env gives way to the result. Variables that no
// operation touches are not copied.
void wh_change_env(WH_INDEX* index, WH_ENVIRON** env, FwTextString base,
                   WH_PRODUCT_SPEC_LIST* speclist, WH_ERROR_FUNC error, int set);

// ---- The platform's half ----

// Hash of a variable's name, and 1 if two names are the same. Null is the same as nothing. The
// second also serves as the comparison of wh_sorted_enumerate_environ.
uint32 wh_env_hash(void* key);
int32 wh_env_compare(void* key1, void* key2);

// 1 if two values are the same.
int32 wh_env_equal(FwTextString str1, FwTextString str2);

// The environments of the system and of the user. This platform has none: null and 0, without any
// error.
WH_ENVIRON* wh_get_system_env(FwErrorState* err);
WH_ENVIRON* wh_get_user_env(FwErrorState* err);
int wh_set_system_env(FwErrorState* err, WH_ENVIRON* env);
int wh_set_user_env(FwErrorState* err, WH_ENVIRON* env);

// Sets or removes one variable of the process. 1 if that worked. err is never set. The text of a
// variable once set is kept for the life of the process.
int wh_putenv(FwErrorState* err, FwTextString name, FwTextString value);
int wh_delenv(FwErrorState* err, FwTextString var);

#endif
