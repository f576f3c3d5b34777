// What all rooms of the warehouse floor need of texts and of error states.
#ifndef BASE_H
#define BASE_H

#include <cstring>

#include "fwerror.h"
#include "wh_base.h"

// Whether both are the same text. A null string equals no other.
inline bool same_text(FwTextString a, FwTextString b) {
  return a == b || (a != nullptr && b != nullptr && std::strcmp(FWC(a), FWC(b)) == 0);
}

// If err holds no error: 0. Otherwise hands it to errorfunc and gives 1; the error stays set. The
// opposite sense of rep_clear.
int report(FwErrorState* err, WH_ERROR_FUNC errorfunc);

// Clears an error of the kind fwErrorNonExistent. Whether err is now clear: so 1 without an error.
int excused(FwErrorState* err);

// Turns each '\' and ':' of path into '/', in place.
void standardize_separators(FwTextString path);

// A folding multiplicative hash, 0 to 7392. Nothing here calls it.
int hash(FwTextString key);

#endif
