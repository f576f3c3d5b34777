// The first step: the operations of the chosen products and of their parts, expanded, in order.
#ifndef ENVIRON_COLLECT_H
#define ENVIRON_COLLECT_H

#include "environ.h"
#include "fwhash.h"
#include "fwvector.h"
#include "traverse.h"

struct OBSERVATION;

struct COLLECT_STATE {
  WH_ENVIRON* environ = nullptr;   // the input
  WH_CONTEXT* context = nullptr;   // BASE-DIRECTORY
  FwVector eops;                   // of EXPANDED_OP*, a product's parts before itself
  FwHashTable* newvars = nullptr;  // literally named variables that the input lacks
  int set = 0;                     // env.xml, or with 0 unenv.xml
  OBSERVATION* observation = nullptr;
};

void collect_variety_ops(WH_CALL_ENV* callenv, WH_VARIETY* variety, WH_PRODUCT* product);
void collect_part_ops(WH_CALL_ENV* callenv, WH_PRODUCT_SPEC* spec);

#endif
