// The third step: which varieties include which. The resolution asks for it.
#ifndef ENVIRON_ANCESTORS_H
#define ENVIRON_ANCESTORS_H

#include <bit>

#include "fwhash.h"
#include "fwvector.h"
#include "glob/literals.h"
#include "partlist.h"
#include "warehouse.h"

// A growing set of small numbers. Only the words between the first and the last in use are there,
// so a set of a few numbers near each other is small wherever they lie.
struct BITS {
  uint64* words = nullptr;
  int32 first = 0;  // the place of words[0]
  int32 count = 0;
};

uint64 word_at(const BITS* bits, int32 place);
bool test_bit(const BITS* bits, int32 number);
void set_bit(BITS* bits, int32 number);
bool have_common(const BITS* one, const BITS* other);
void free_bits(BITS* bits);

// Calls visit with each number that is in both, ascending, until it gives true; then gives true.
template <class Visit>
bool find_common(const BITS* one, const BITS* other, Visit visit) {
  for (int32 i = 0; i < one->count; ++i)
    for (uint64 word = one->words[i] & word_at(other, one->first + i); word != 0; word &= word - 1)
      if (visit((one->first + i) * 64 + std::countr_zero(word))) return true;
  return false;
}

// A part that applies to a variety.
struct EDGE {
  WH_PRODUCT_QUERY* query = nullptr;
  WH_PRODUCT* product = nullptr;  // the answer; null if there is none, or no such product
  bool answered = false;
  FwVector varieties;  // of MEMBER*: its complete varieties
  EDGE* next = nullptr;
};

// The same product is asked about its parts under two symbol tables.
enum EDGE_KIND { edges_top = 0, edges_part = 1 };

struct EDGES {
  bool known = false;
  EDGE* first = nullptr;
};

struct MEMBER {
  WH_VARIETY* variety = nullptr;
  int32 id = 0;
  bool loaded = false;  // set holds what the variety's table says
  bool known = false;   // the variety has a set, if only of itself
  int32 open = 0;       // walks that are going through its parts
  BITS set;             // the ids of those that include it; its own is never there
  EDGES edges[2];
  POSITIONS includers;  // the ids of those that it learnt from

  // The resolution's, of the lists in hand.
  int32 place = 0;       // among the varieties of a list, from 1
  bool stands = false;   // its operations stay in the list
  bool settled = false;  // one of them has been weighed and stood
  bool inserts = false;  // it inserts the value that removes are weighed for
  int64 removes = 0;     // how many there are of it
  int64 overriding = 0;  // and how many override an insert of it
};

struct ANCESTRY {
  FwHashTable* members = nullptr;  // WH_VARIETY to MEMBER
  FwVector by_id;                  // of MEMBER*

  FwVector walked;        // of MEMBER*, each behind all that it includes
  int32 settled = 0;      // so many of walked had sets when they were last made
  bool circular = false;  // among walked are some that include each other
  bool missing = false;   // some product asked for does not exist, and nobody is to hear of it
  bool given_up = false;  // a query had no answer, so the sets are made by the walk itself
};

// The member of a variety, its set complete.
MEMBER* know_member(ANCESTRY* ancestry, WH_VARIETY* variety);

// How many entries one call stores in the tables of the varieties before it stores only what the
// rest follows from. Tests lower it.
extern int32 ancestors_stored_in_full;

ANCESTRY* make_ancestry();
// Stores what was found in the ancestors tables of the varieties.
void free_ancestry(ANCESTRY** ancestry);
// Finds all that the variety includes and tells each what includes it. symtab is that of its
// product, with BASE-DIRECTORY; it may be null if the part list is empty.
void find_ancestors(WH_VARIETY* variety, WH_INDEX* index, ANCESTRY* ancestry, WH_PARTLIST* partlist,
                    WH_SYMTAB* symtab, WH_ERROR_FUNC errorfunc);

#endif
