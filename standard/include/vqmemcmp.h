// Comparison of byte ranges that know their length.
#ifndef VQMEMCMP_H
#define VQMEMCMP_H

#include "vqtypes.h"

// Below, equal to or above 0 as the first range sorts. Bytes count as unsigned; the result is the
// difference of the first two that differ, or of the lengths if none does.
int32 VqMemCmp(uint8* s1, int32 ln1, uint8* s2, int32 ln2);

#endif
