// Copies of ranges that may overlap: one refuses these, one copes with them.
#ifndef VQMEMCPY_H
#define VQMEMCPY_H

#include "vqtypes.h"

// Copies count bytes to s1 from s2. Ranges that overlap are not copied, but asserted: "VqMemCpy
// called with overlapping blocks.\n"; a range may be copied onto itself.
void VqMemCpy_Assert(void* s1, void* s2, int32 count);

// Copies count bytes to s1 from s2, whatever the overlap. The source comes first. For programs on
// this library.
void bcopy_safe(char* s2, char* s1, int32 count);

// The loops of bcopy_safe: count bytes to s1 from s2, ascending and descending.
void scpyf(uint8* s1, uint8* s2, int32 count);
void scpyb(uint8* s1, uint8* s2, int32 count);

#endif
