#include "vqmemcmp.h"

#include <algorithm>

int32 VqMemCmp(uint8* s1, int32 ln1, uint8* s2, int32 ln2) {
  const int32 limit = std::min(ln1, ln2);
  for (int32 i = 0; i < limit; ++i)
    if (s1[i] != s2[i]) return s1[i] - s2[i];
  return ln1 - ln2;
}
