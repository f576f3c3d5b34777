// Tables keyed by names, and by other texts, whose slot order shows in the result.
#ifndef ENVIRON_NAMES_TABLE_H
#define ENVIRON_NAMES_TABLE_H

#include "fwhash.h"

// For tables keyed by names: the key is copied, the value is the caller's pointer.
extern const FwHashFunctions hash_functions;

// A table as all of the engine start; the second has the functions above.
FwHashTable* make_table(const FwHashFunctions* functions);
FwHashTable* make_names_table();

// Adds to a table whose slot order shows in the result. False if memory is exhausted. The entry may
// still be there, where only the table could not grow, but then the order is another.
bool add_in_order(FwHashTable* table, void* key, void* value);
// The same, but exhausted memory ends the program: an entry would be lost without a word.
void add_or_exit(FwHashTable* table, void* key, void* value);

#endif
