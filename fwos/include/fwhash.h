// Hash tables: keys and values as plain pointers, behaviour supplied by a record of functions.
//
// Open addressing with linear probing, at most half full, no deletion markers: a removal moves the
// later entries of its run back. A null key marks an empty slot, so a key cannot be null.
//
//   slot   0     1     2     3     4     5     6        nTableSize 7, nUsedEntries 3
//        |  -  |  -  |  A  |  B  |  -  |  -  |  C  |    hash(B) % 7 is 2, too: B is on A's run
//          ^ pEntries                          ^ pLastEntry, the last slot itself
//
//   FwHashTable* pTable = FwHashCreateTable(127, &FwHash_StringCopyFunctions, &err);
//   FwHashEntry* pEntry = FwHashAddEntry(pTable, FWT("name"), FWT("value"), &err);
//   FwHashFreeTable(&pTable);
//
// Entries are enumerated in slot order, which follows from the hashes, the table's size and its
// history: an add to a table that is half full makes it grow first, whether the key is new or not,
// and growing places the entries anew in slot order. The tool's output shows this order, so none of
// it may change.
//
// An entry pointer is good until the next add or remove. Error states may be null in all
// operations. A null table, key or function is traced, sets fwErrorPointerNull and fails.
#ifndef FWHASH_H
#define FWHASH_H

#include "fwerror.h"

struct FwHashEntry {
  void* key;    // null: the slot is empty
  void* value;  // meaningless in an empty slot
};

// Equal keys must give equal hashes.
using FwHashFn = uint32(void* key);

// Non-zero for equal. It may be called with a null key after a failed add; null equals nothing.
using FwHashCompareFn = int32(void* storedKey, void* key);

// Fills in the entry, which is empty if fNew. Non-zero for success; on failure it sets the error.
using FwHashAddFn = int32(FwHashEntry* pEntry, void* key, void* value, int32 fNew,
                          FwErrorState* pErrState);

// Releases what an entry holds before it goes.
using FwHashRemoveFn = void(FwHashEntry* pEntry);

// A zero result stops the walk. It may change the entry's value; it must not add or remove.
using FwHashIterationFn = int32(FwHashEntry* pEntry, void* pContext, FwErrorState* pErrState);

// Returns the new key, which is hashed, and fills in what the new slot is to hold; null drops the
// entry, whose contents are then the function's to release.
using FwHashRehashFn = void*(FwHashEntry* pOldEntry, FwHashEntry* pRehashedEntry, void* pContext,
                             FwErrorState* pErrState);

struct FwHashFunctions {
  FwHashFn* hashFn = nullptr;            // null: the pointer is the hash (its low 32 bits)
  FwHashCompareFn* compareFn = nullptr;  // null: keys are equal if the pointers are
  FwHashAddFn* addFn = nullptr;          // null: stores the key if new, and the value; owns neither
  FwHashRemoveFn* removeFn = nullptr;    // null: nothing to release

  // Non-zero: the record's owner vouches that equal keys hash alike and that keys don't change
  // while they are in the table. The checks of these promises would then find nothing, so they are
  // skipped: a check of the whole table after each add makes building a table quadratic.
  int32 fConsistentPair = 0;
};

struct FwHashTable {
  uint32 nTableSize;  // number of slots, a power of two less one
  uint32 nUsedEntries;
  FwHashEntry* pEntries;
  FwHashEntry* pLastEntry;  // the last slot itself
  FwHashFunctions fns;

  // Private. Of a consistent pair: the hash of each slot's key, in the same block as the slots.
  // Keys with other hashes need not be compared, and none is hashed again.
  uint32* pHashes;
};

// Terminated strings of the caller's, which must outlast their entries.
extern const FwHashFunctions FwHash_StringFunctions;

// Terminated strings of which the table owns copies, keys and values.
extern const FwHashFunctions FwHash_StringCopyFunctions;

// Makes a table with room for nToHold entries. userFunctions is copied; null leaves all null.
// Null and fwErrorNoMemory if memory is exhausted.
FwHashTable* FwHashCreateTable(uint32 nToHold, const FwHashFunctions* userFunctions,
                               FwErrorState* pErrState);

// Kept, as part of the interface: despite its name the number of entries, so non-zero if the table
// is not empty.
int32 FwHashIsEmpty(FwHashTable* pTable);

// Adds an entry, or replaces the value of an equal key.
// Null if the add function failed, or with fwErrorNoMemory if the table is full and could not grow.
// Traces an inconsistent table: equivalent entries, a wrong count.
FwHashEntry* FwHashAddEntry(FwHashTable* pTable, void* key, void* value, FwErrorState* pErrState);

// The entry with an equal key, or null, which is not an error.
FwHashEntry* FwHashLookupEntry(FwHashTable* pTable, void* key, FwErrorState* pErrState);

// Removes the entry with an equal key. Non-zero if there was one.
int32 FwHashRemoveEntry(FwHashTable* pTable, void* key, FwErrorState* pErrState);

// Removes all entries, frees the table and makes *ppTable null; null already is accepted.
// Asserts "FwHashFreeTable: NULL ppTable".
void FwHashFreeTable(FwHashTable** ppTable);

// Calls the function for each entry in slot order. 1 if the walk was complete.
int32 FwHashEnumerateEntries(FwHashTable* pTable, FwHashIterationFn* iterationFn, void* pContext,
                             FwErrorState* pErrState);

// Gives every entry a new key, in a table of the same size. Exhausted memory leaves the table as it
// was and is not reported.
void FwHashRehashTable(FwHashTable* pTable, FwHashRehashFn* rehashFn, void* pContext,
                       FwErrorState* pErrState);

// Hashes of terminated strings. The function records use the first.
uint32 FwHash_StringHashFunction(void* key);
uint32 FwHash_StringHashFunction_original(void* key);
uint32 FwHash_StringHashFunction_65599(void* key);

// 1 for equal strings, otherwise 0. Null equals nothing.
int32 FwHash_StringCompareFunction(void* key1, void* key2);

// The add that copies key and value. A null value is traced, sets fwErrorPointerNull and fails.
int32 FwHash_StringAddCopyFunction(FwHashEntry* pEntry, void* key, void* value, int32 fNew,
                                   FwErrorState* pErrState);

// The remove that frees key and value.
void FwHash_StringRemoveCopyFunction(FwHashEntry* pEntry);

#endif
