// The one gate through which names enter the file layer.
#ifndef FWFILE_COERCE_H
#define FWFILE_COERCE_H

#include "fwtypes.h"

// What kinds of name a caller accepts. All three skip the checks of the shape.
inline constexpr uint32 kCoerceFile = 1;
inline constexpr uint32 kCoerceDirectory = 2;
inline constexpr uint32 kCoerceRoot = 4;
inline constexpr uint32 kCoerceAny = 7;

// The absolute form of a name: ptbzFilename itself, or a new string that the caller frees
// (FiFileFreeCoerced). Null with an error for a null name (which asserts "NULL filename"), for a
// relative one while the current directory is unknown, and for the wrong kind, which asserts and
// names the kind.
FwTextString FiFileCoerceFilename(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags);

// Frees what FiFileCoerceFilename made of ptbzFilename, if it made anything. Leaves errno alone.
void FiFileFreeCoerced(FwTextString ptbzCoerced, FwTextString ptbzFilename);

#endif
