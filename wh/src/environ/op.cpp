#include "op.h"

#include <new>

#include "fcpp.h"
#include "fwmem.h"

EXPANDED_OP* make_expanded_op(WH_ENV_OP* op, WH_VARIETY* variety, int hasglob) {
  auto* eop = FwMemNew<EXPANDED_OP>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  eop->op = op;
  eop->variety = variety;
  eop->hasglob = hasglob;
  if (op->type == wh_env_insert) return eop;

  const FwVector* values = &op->u.rem->values;
  eop->literal = true;
  eop->pattern_count = FwVectorLength(values);
  if (eop->pattern_count == 0) return eop;
  eop->patterns = static_cast<GLOB*>(FwMemAlloc(
      static_cast<size_t>(eop->pattern_count) * sizeof(GLOB), ALLOC_MUST_SUCCEED | INIT_NONE));
  for (int32 i = 0; i < eop->pattern_count; ++i) {
    GLOB* glob = ::new (&eop->patterns[i]) GLOB;
    open_glob(glob, nth<FwTextByte>(values, i));
    if (!glob->key) eop->literal = false;
    if (looks_at_disk(glob)) eop->looks = true;
  }
  return eop;
}

void free_expanded_op(EXPANDED_OP** eop) {
  if (!*eop) return;
  for (int32 i = 0; i < (*eop)->pattern_count; ++i)
    close_glob(&(*eop)->patterns[i]);
  FwMemFreeAndClear(&(*eop)->patterns);
  free_env_op(&(*eop)->op);
  FwMemFreeAndClear(eop);
}
