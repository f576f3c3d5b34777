// Patterns that are cut up once and matched often, and a way to find texts by literal patterns
// without trying each pair.
//
// A pattern without *, ? and | matches exactly the texts with the same root and the same elements.
// Its key is that list written in one way (no repeated or trailing separators), so two texts match
// if their keys are the same bytes. A text with *, ? or | in it has no key: no literal pattern
// matches it. LITERALS finds the positions that were filed under a key:
//
//   LITERALS index;
//   open_literals(&index);
//   for (...) add_literal(&index, text[i], i);
//   const POSITIONS* hits = find_literal(&index, pattern.key);     null, or ascending positions
//   close_literals(&index);
#ifndef GLOB_LITERALS_H
#define GLOB_LITERALS_H

#include "fcpp.h"
#include "fwhash.h"
#include "fwtypes.h"
#include "tokens.h"

// A pattern, ready to be matched. It refers to the text that it was made from.
struct GLOB {
  TOKENS tokens;
  FwTextString key = nullptr;  // of a literal pattern, else null
  bool everything = false;     // it is **
};

void open_glob(GLOB* glob, FwTextString pattern);
void close_glob(GLOB* glob);

// 1 if wh_glob_matches would be with the pattern's text.
int glob_accepts(const GLOB* glob, FwTextString string);

// Whether matching may look at the disk: nobody may then change how often, or in which order.
bool looks_at_disk(const GLOB* glob);

// The key of a text, a new string, or null if it has none.
FwTextString literal_key(FwTextString text);

// Whether the key of a text is the text itself, as of most.
bool is_own_key(FwTextString text);

// The longest text with which all begin that the pattern accepts, written like a key; a new string.
// It holds for texts that are their own keys.
FwTextString literal_beginning(const GLOB* glob);

using POSITIONS = Array<int32, 2>;

inline void add_position(POSITIONS* positions, int32 position) {
  positions->add(position);
}
void sort_positions(POSITIONS* positions);  // ascending, each once
inline void free_positions(POSITIONS* positions) {
  positions->release();
}

struct LITERALS {
  FwHashTable* table = nullptr;  // key to POSITIONS
};

void open_literals(LITERALS* literals);
void close_literals(LITERALS* literals);  // also if never opened

// Files a position under the key of text, if it has one; below the key itself in the second form.
// Of several equal positions in a row only the first is kept.
void add_literal(LITERALS* literals, FwTextString text, int32 position);
void add_literal_key(LITERALS* literals, FwTextString key, int32 position);

const POSITIONS* find_literal(const LITERALS* literals, FwTextString key);

#endif
