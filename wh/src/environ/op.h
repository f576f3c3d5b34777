// An operation as the steps of the engine hand it on, from its collection to its application.
#ifndef ENVIRON_OP_H
#define ENVIRON_OP_H

#include "glob/literals.h"
#include "settings.h"
#include "warehouse.h"

struct MEMBER;
struct OPERATION;

// An operation as it is to be applied.
struct EXPANDED_OP {
  WH_ENV_OP* op = nullptr;        // owned
  WH_VARIETY* variety = nullptr;  // where it came from
  int hasglob = 0;                // its name is a pattern

  // Private. What the resolution knows of the variety; and of a remove its values, cut up, and
  // whether all of them are literal.
  MEMBER* member = nullptr;
  GLOB* patterns = nullptr;
  int32 pattern_count = 0;
  bool literal = false;
  bool looks = false;  // one of them looks at the disk

  OPERATION* told = nullptr;  // what an observer knows it by; null without one
};

// Takes over op.
EXPANDED_OP* make_expanded_op(WH_ENV_OP* op, WH_VARIETY* variety, int hasglob);
void free_expanded_op(EXPANDED_OP** eop);

#endif
