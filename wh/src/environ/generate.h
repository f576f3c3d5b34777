// The second step: each operation is spread over the variables and the values that it names.
#ifndef ENVIRON_GENERATE_H
#define ENVIRON_GENERATE_H

#include "environ.h"
#include "glob/index.h"
#include "values.h"

// The names of the variables of an environment and of newvars, kept from one operation to the next;
// neither may change meanwhile.
struct NAMES {
  TEXTS input;
  TEXTS literal;
  int32 tried = 0;  // patterns that were tried on each name in turn
};
void close_names(NAMES* names);

// names may be null.
void generate_instances(EXPANDED_OP* eop, WH_ENVIRON* input_env, FwHashTable* newvars,
                        FwHashTable* variables, WH_ERROR_FUNC error, NAMES* names = nullptr);
void add_op_to_variable(EXPANDED_OP* eop, FwTextString name, FwHashTable* variables,
                        WH_ENVIRON* input_env, WH_ERROR_FUNC error);
// Enters remeop at value, once, if one of its patterns matches.
void add_rem_reqs(VAR_OPS* var_ops, FwTextString value, EXPANDED_OP* remeop);
void check_sep(VAR_OPS* var_ops, int* sep, FwTextString name, WH_ERROR_FUNC error);
// The elements of the input value, split at sep. They stay the variable's.
const FwVector* split_input(VAR_OPS* var_ops, FwTextString value, int sep);

#endif
