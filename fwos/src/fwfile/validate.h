// The checks with which the operations of the file layer begin.
#ifndef FWFILE_VALIDATE_H
#define FWFILE_VALIDATE_H

#include "fwerror.h"
#include "fwfile.h"
#include "vqassert.h"

// False for a null state: the operation then returns its failure value at once.
inline bool fFiFileState(FwErrorState* pErrState) {
  FwErrorStateAssert(pErrState);
  return pErrState != nullptr;
}

// False with fwErrorPointerNull for a null argument.
inline bool fFiFileArgument(FwErrorState* pErrState, const void* pv) {
  if (pv) return true;
  FwErrorSet(pErrState, fwErrorPointerNull, 0);
  return false;
}

// False with fwErrorUnimplemented for flags outside those allowed.
inline bool fFiFileFlags(FwErrorState* pErrState, uint32 flags, uint32 allowed) {
  if (!(flags & ~allowed)) return true;
  FwErrorSet(pErrState, fwErrorUnimplemented, 0);
  return false;
}

#endif
