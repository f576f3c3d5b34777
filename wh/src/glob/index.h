// Many patterns against many texts without trying each pair.
//
// What a pattern has literally, a text that it accepts has as well: an element without * and ? is
// an element of the text, what stands in front of the first * or ? of one begins an element, and
// the elements up to the first such begin the whole path. Of these the rarest one is looked up, and
// only what stands there is tried:
//
//   /opt/*/weaver-1*/bin      begins "/opt/"; has "opt", "bin" and an element that begins
//   "weaver-1"
//
// TEXTS finds the texts that a pattern accepts, PATTERNS those patterns that may accept a text.
// Both grow at any time. Neither changes what is found: that is always what trying each pair finds,
// in ascending order, and the disk is asked for the same files in the same order.
#ifndef GLOB_INDEX_H
#define GLOB_INDEX_H

#include <string_view>

#include "fwmem.h"
#include "fwtypes.h"
#include "literals.h"
#include "tokens.h"

// A tree of words that share their beginnings:
//
//   "" -+- "opt"
//       +- "weaver-" -+- "1"
//                     +- "2" --- "0"         weaver-2 and weaver-20
struct WORD_NODE {
  std::string_view edge;  // what is added to the word of the parent; a view into a word filed
  int32 parent = -1;
  int32 child = -1;    // the first, -1 if there is none
  int32 sibling = -1;  // the next child of the parent, -1 behind the last; no two begin alike
  int32 count = 0;     // positions in words, here and below
  POSITIONS words;     // filed under this word
  POSITIONS heads;     // filed under all words that begin with this one
};

// The first one is the empty word.
using WORDS = Array<WORD_NODE, 64>;

void close_words(WORDS* words);  // also if nothing was ever filed

// Files a position under a word, or under all that begin with it. Of several equal positions in a
// row only the first is kept. The bytes of the word must outlast the tree.
void add_word(WORDS* words, std::string_view word, int32 position);
void add_head(WORDS* words, std::string_view head, int32 position);

// The topmost node whose word begins with these bytes, -1 if there is none. All such words stand at
// it and below it.
int32 find_head(const WORDS* words, std::string_view head);
// The node of a word, -1 if there is none.
int32 find_word(const WORDS* words, std::string_view word);

// Appends the positions that stand at a node or below it, in no order, maybe several times.
void words_below(const WORDS* words, int32 node, POSITIONS* positions);
// Appends the positions filed under the word or under a beginning of it, likewise.
void filed_for(const WORDS* words, std::string_view word, POSITIONS* positions);

struct INDEXED_TEXT {
  FwTextString text;
  TOKEN* tokens;
  uint64 pairs;  // a bit for each two bytes that stand side by side in an element
};

struct TEXTS : Array<INDEXED_TEXT, 64> {
  WORDS paths;     // the whole texts, written in one way
  WORDS elements;  // the elements of each
  FwMemPool* pool = nullptr;
  POSITIONS candidates;
};

void close_texts(TEXTS* texts);  // also if nothing was ever added

// The text stays the caller's and must outlast the index. Its position is the number of those
// before it.
void add_text(TEXTS* texts, FwTextString text);

// Appends the positions of the texts that the pattern accepts, ascending.
void find_texts(TEXTS* texts, const GLOB* glob, POSITIONS* found);

struct PATTERNS {
  WORDS elements;    // by an element or the beginning of one
  WORDS paths;       // by the beginning of the whole
  POSITIONS others;  // of patterns that have nothing to be filed under
  FwMemPool* pool = nullptr;
};

void close_patterns(PATTERNS* patterns);  // also if nothing was ever added

// Files a position under a pattern; a position may have several. Positions must not descend.
void add_pattern(PATTERNS* patterns, const GLOB* glob, int32 position);
// Files a position under all texts.
void add_any_pattern(PATTERNS* patterns, int32 position);

// Appends the positions of all patterns that accept the text, and of others, ascending.
void find_patterns(const PATTERNS* patterns, FwTextString text, const TOKENS* tokens,
                   POSITIONS* found);

#endif
