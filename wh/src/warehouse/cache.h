// What an index keeps for speed.
#ifndef WAREHOUSE_CACHE_H
#define WAREHOUSE_CACHE_H

#include "fcpp.h"
#include "wh_index.h"

// A place of the table of names: empty if product is null.
struct NAME_SLOT {
  WH_PRODUCT* product = nullptr;
  uint32 hash = 0;  // of the four fields of its name
};

// by_name finds a product by its name without a scan:
//
//   by_name  [ 0 | P2 | 0 | 0 | P1 | P3 | 0 | 0 ]    linear probing from hash modulo size;
//                                                    2^k slots, at most half of them full
struct WH_INDEX_CACHE {
  NAME_SLOT* by_name = nullptr;
  uint32 by_name_size = 0;
  Array<WH_PRODUCT_SPEC*> spares;  // owned: answers that are no longer needed, for the next
  int has_faulty = 0;              // a product that exists could not be read
};

#endif
