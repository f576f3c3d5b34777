// The fourth step: what several operations want with one value is settled.
#ifndef ENVIRON_RESOLVE_H
#define ENVIRON_RESOLVE_H

#include "fwhash.h"
#include "warehouse.h"

struct ANCESTRY;
struct OBSERVATION;

// What resolve is called with.
struct res_context {
  WH_ERROR_FUNC errorfunc = nullptr;
  FwTextString variable = nullptr;
  ANCESTRY* ancestry = nullptr;
  OBSERVATION* observation = nullptr;
};

// A callback for the table of values, with a res_context. Gives 1.
int32 resolve(FwHashEntry* entry, void* vstate, FwErrorState* err);

#endif
