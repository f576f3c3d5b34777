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

// Whether the name has an absolute form, whatever its kind; sets the error if it has none.
inline bool fFiFileCanBeAbsolute(FwErrorState* pErrState, FwTextString ptbzFilename) {
  FwTextString ptbzAbsolute = FiFileCoerceFilename(pErrState, ptbzFilename, kCoerceAny);
  FiFileFreeCoerced(ptbzAbsolute, ptbzFilename);
  return ptbzAbsolute != nullptr;
}

// The absolute form for the length of a scope.
class FiCoercedName {
 public:
  FiCoercedName(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags)
      : ptbzFilename_(ptbzFilename),
        ptbzCoerced_(FiFileCoerceFilename(pErrState, ptbzFilename, flags)) {}
  ~FiCoercedName() { FiFileFreeCoerced(ptbzCoerced_, ptbzFilename_); }
  FiCoercedName(const FiCoercedName&) = delete;
  FiCoercedName& operator=(const FiCoercedName&) = delete;

  operator FwTextString() const { return ptbzCoerced_; }

 private:
  FwTextString ptbzFilename_;
  FwTextString ptbzCoerced_;
};

#endif
