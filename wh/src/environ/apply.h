// The inside of wh_apply_env. It works in these steps:
//
//   collect    walks the chosen products and their parts and gives the list of operations that
//              apply, expanded: EXPANDED_OP
//   generate   spreads each operation over the variables that it names, into a two-level index:
//              variable (VAR_OPS), then element value (VAL_OPS)
//   ancestors  finds out which varieties include which
//   resolve    settles each value that is both inserted and removed, or inserted more than once
//   apply      builds the new environment: a variable is a set of elements (NODE) with constraints
//              between them, sorted so that the old order stands wherever no constraint disagrees
//
// Each step has a header and a source of its name; op.h and values.h have the records that they
// hand on. The result is that of trying each pattern on each text in turn, whatever saves time.
#ifndef ENVIRON_APPLY_H
#define ENVIRON_APPLY_H

#include "environ.h"
#include "fwerror.h"
#include "fwhash.h"
#include "values.h"
#include "warehouse.h"

struct OBSERVATION;

// The output environment. spent tells that the input is not needed any more: its variables may be
// moved, and then it is good for nothing but to be freed. An observer still needs it.
WH_ENVIRON* apply_ops(FwHashTable* variables, WH_ENVIRON* input_env, WH_ERROR_FUNC errorfunc,
                      bool spent = false, OBSERVATION* observation = nullptr);
// Appends the node to the result, after all its predecessors.
void sort_node(NODE* node, FwTextString name, VAR_OPS* var_ops, FwErrorState* err,
               OBSERVATION* observation = nullptr);

#endif
