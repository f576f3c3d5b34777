// One application of settings as an observer sees it: who is told, and the records that last as
// long. Without an observer there is none, and each step asks no more than that.
#ifndef ENVIRON_OBSERVATION_H
#define ENVIRON_OBSERVATION_H

#include "fwmem.h"
#include "fwvector.h"
#include "node_list.h"
#include "observer.h"
#include "values.h"

struct STATION : WH_STATION {
  const WH_PART* next;  // the part that is being gone through
};

struct OPERATION : WH_OPERATION {
  int32 listing = 0;  // the last one that it is in
};

struct OBSERVATION {
  const WH_OBSERVER* observer = nullptr;
  WH_ENVIRON* input = nullptr;
  FwMemPool* pool = nullptr;   // of stations and operations
  STATION* station = nullptr;  // whose parts or operations are being collected
  int32 operations = 0;        // collected so far
  bool endless = false;        // a contradiction without end was met
  int32 listings = 0;          // lists of operations made so far
  int32 position = 0;          // of the next element of the variable in hand
};

void open_observation(OBSERVATION* observation, const WH_OBSERVER* observer, WH_ENVIRON* input);
void close_observation(OBSERVATION* observation);

// ---- Collection ----

void enter_station(OBSERVATION* observation, WH_VARIETY* variety, WH_PRODUCT* product);
void leave_station(OBSERVATION* observation);
void tell_collected(OBSERVATION* observation, EXPANDED_OP* eop);

// ---- Resolution ----

// The operations on one value as they were before a step.
struct LISTED {
  FwVector ins;  // of EXPANDED_OP*
  FwVector rem;  // of EXPANDED_OP*, each once
};

void list_operations(OBSERVATION* observation, LISTED* listed, const VAL_OPS* val_ops);
void free_listed(LISTED* listed);

// Tell which are missing now. The members of the operations are known.
void tell_overruled_among(const OBSERVATION* observation, const WH_ELEMENT* element,
                          const LISTED* before, const LISTED* after);
void tell_overruled_between(const OBSERVATION* observation, const WH_ELEMENT* element,
                            const LISTED* before, const LISTED* after);
// What is left.
void tell_outcome(const OBSERVATION* observation, const WH_ELEMENT* element, const LISTED* left);
void tell_endless(OBSERVATION* observation, const WH_ELEMENT* element, const EXPANDED_OP* insert,
                  const EXPANDED_OP* remove);

// ---- Application ----

void tell_constraints(const OBSERVATION* observation, FwTextString variable, VAR_OPS* var_ops,
                      NODE_LIST* nodes);
// Comes before the sort of a variable.
void begin_variable(OBSERVATION* observation, VAR_OPS* var_ops);
// The stack belongs to the sort: each node on it waits for the node above it. The top node is
// emitted next, or it waits for a node further down, which closes a circle.
void tell_placed(OBSERVATION* observation, FwTextString variable, VAR_OPS* var_ops,
                 const FwVector* stack);
void tell_cycle(const OBSERVATION* observation, FwTextString variable, VAR_OPS* var_ops,
                const FwVector* stack, const NODE* node);
void tell_rebuilt(const OBSERVATION* observation, FwTextString variable, FwTextString value);

#endif
