#include "fwhash.h"

#include <cstring>

#include "fwmem.h"
#include "fwstring.h"
#include "vqassert.h"

namespace {

// What a table's slots lie in.
struct Slots {
  FwHashEntry* pEntries;
  uint32* pHashes;
};

bool IsConsistent(const FwHashFunctions* fns) {
  return fns != nullptr && fns->hashFn != nullptr && fns->fConsistentPair != 0;
}

// Null slots if memory is exhausted.
Slots NewSlots(uint32 nTableSize, bool withHashes) {
  const std::size_t cbSlot = sizeof(FwHashEntry) + (withHashes ? sizeof(uint32) : 0);
  // The zero fill is what makes all slots empty.
  auto* pEntries =
      static_cast<FwHashEntry*>(FwMemAlloc(nTableSize * cbSlot, ALLOC_MAY_FAIL | INIT_ZERO));
  if (pEntries == nullptr || !withHashes) return {pEntries, nullptr};
  return {pEntries, reinterpret_cast<uint32*>(pEntries + nTableSize)};
}

Slots NewSlotsFor(const FwHashTable* pTable, uint32 nTableSize) {
  return NewSlots(nTableSize, IsConsistent(&pTable->fns));
}

void SetSlots(FwHashTable* pTable, Slots slots, uint32 nTableSize) {
  pTable->nTableSize = nTableSize;
  pTable->pEntries = slots.pEntries;
  pTable->pLastEntry = slots.pEntries + (nTableSize - 1);
  pTable->pHashes = slots.pHashes;
}

void SetError(FwErrorState* pErrState, FwError* pError) {
  if (pErrState != nullptr) FwErrorSet(pErrState, pError, 0);
}

uint32 Hash(const FwHashTable* pTable, void* key) {
  if (pTable->fns.hashFn != nullptr) return pTable->fns.hashFn(key);
  return static_cast<uint32>(reinterpret_cast<std::uintptr_t>(key));
}

FwHashEntry* IdealSlot(const FwHashTable* pTable, uint32 hash) {
  return pTable->pEntries + hash % pTable->nTableSize;
}

// The noted hash of the key in a slot.
uint32* NotedHash(const FwHashTable* pTable, const FwHashEntry* pEntry) {
  return pTable->pHashes + (pEntry - pTable->pEntries);
}

uint32 HashInSlot(const FwHashTable* pTable, const FwHashEntry* pEntry) {
  return pTable->pHashes != nullptr ? *NotedHash(pTable, pEntry) : Hash(pTable, pEntry->key);
}

// Fills a slot with an entry whose key has that hash.
void Place(const FwHashTable* pTable, FwHashEntry* pSlot, const FwHashEntry& entry, uint32 hash) {
  *pSlot = entry;
  if (pTable->pHashes != nullptr) *NotedHash(pTable, pSlot) = hash;
}

FwHashEntry* NextSlot(const FwHashTable* pTable, FwHashEntry* pEntry) {
  return pEntry == pTable->pLastEntry ? pTable->pEntries : pEntry + 1;
}

// For traces.
int SlotIndex(const FwHashTable* pTable, const FwHashEntry* pEntry) {
  return static_cast<int>(pEntry - pTable->pEntries);
}

bool IsSameKey(const FwHashTable* pTable, const FwHashEntry* pEntry, void* key, uint32 hash) {
  if (pEntry->key == key) return true;
  if (pTable->pHashes != nullptr && *NotedHash(pTable, pEntry) != hash) return false;
  return pTable->fns.compareFn != nullptr && pTable->fns.compareFn(pEntry->key, key) != 0;
}

// The slot that holds an equal key, or else the empty one where the key belongs. Null if the table
// is full.
FwHashEntry* FcHashFindEntry(const FwHashTable* pTable, void* key, uint32 hash, int32* pfEmpty) {
  FwHashEntry* const pIdeal = IdealSlot(pTable, hash);
  FwHashEntry* pEntry = pIdeal;
  while (pEntry->key != nullptr && !IsSameKey(pTable, pEntry, key, hash)) {
    pEntry = NextSlot(pTable, pEntry);
    if (pEntry == pIdeal) return nullptr;
  }
  *pfEmpty = pEntry->key == nullptr ? 1 : 0;
  if (pEntry->key != nullptr) {
    FwAssert(pTable->pHashes != nullptr || Hash(pTable, pEntry->key) == Hash(pTable, key),
             "FcHashFindEntry: Error - equivalent keys give different hash values");
  }
  return pEntry;
}

// Silent if memory is exhausted: the table goes on with the slots that it has.
void FcHashGrowTable(FwHashTable* pTable) {
  const uint32 nNewSize = 2 * pTable->nTableSize + 1;
  const Slots slots = NewSlotsFor(pTable, nNewSize);
  if (slots.pEntries == nullptr) return;
  const FwHashTable old = *pTable;
  SetSlots(pTable, slots, nNewSize);
  pTable->nUsedEntries = 0;
  for (FwHashEntry* pOld = old.pEntries; pOld <= old.pLastEntry; pOld++) {
    if (pOld->key == nullptr) continue;
    const uint32 hash = HashInSlot(&old, pOld);
    int32 fEmpty = 0;
    FwHashEntry* pEntry = FcHashFindEntry(pTable, pOld->key, hash, &fEmpty);
    if (pEntry == nullptr) {
      FwAssertFailed("FcHashGrowTable: Enlarged table wil not hold all entries of old table");
    } else if (fEmpty == 0) {
      FwAssertFailed(
          "FcHashGrowTable: error detected in the hash / comparison functions - Equivalent keys "
          "must give the same hash value");
    } else {
      Place(pTable, pEntry, *pOld, hash);
      pTable->nUsedEntries++;
    }
  }
  FwMemFree(old.pEntries);
}

int32 DefaultAdd(FwHashEntry* pEntry, void* key, void* value, int32 fNew) {
  if (fNew != 0) pEntry->key = key;
  pEntry->value = value;
  return 1;
}

// Looks for signs that the table's functions disagree or that keys were changed behind its back.
// The added entry's key is null if the add failed.
void CheckTable(const FwHashTable* pTable, const FwHashEntry* pAdded, bool added) {
  uint32 usedCount = 0;
  uint32 equivalentCount = 0;
  for (const FwHashEntry* pEntry = pTable->pEntries; pEntry <= pTable->pLastEntry; pEntry++) {
    if (pEntry->key == nullptr) continue;
    usedCount++;
    const bool same = pEntry->key == pAdded->key;
    if (!same && (pTable->fns.compareFn == nullptr ||
                  pTable->fns.compareFn(pAdded->key, pEntry->key) == 0)) {
      continue;
    }
    equivalentCount++;
    if (pEntry == pAdded) continue;
    FwTrace("FwHashAddEntry: entries %d and %d are equivalent", SlotIndex(pTable, pAdded),
            SlotIndex(pTable, pEntry));
    if (same) {
      FwTrace(
          "FwHashAddEntry: keys for entries %d and %d point to same location- has that memory just "
          "been freed/overwritten?",
          SlotIndex(pTable, pAdded), SlotIndex(pTable, pEntry));
    }
  }
  if (added && equivalentCount == 0)
    FwTrace("FwHashAddEntry: Entry just added successfully cannot be found in table");
  if (equivalentCount > 1) {
    FwTrace(
        "FwHashAddEntry: error detected in the hash / comparison functions - Equivalent keys must "
        "give the same hash value");
  }
  if (pTable->nUsedEntries != usedCount) {
    FwTrace("FwHashAddEntry: nUsedEntries is wrong (should be %d, actually %d)",
            static_cast<int>(usedCount), static_cast<int>(pTable->nUsedEntries));
  }
}

// Whether the entry at current, whose ideal slot is given, may be moved back into the hole: going
// round from the ideal slot to the current one, the hole is passed.
bool PassesHole(const FwHashEntry* pIdeal, const FwHashEntry* pHole, const FwHashEntry* pCurrent) {
  if (pIdeal == pCurrent) return false;
  return pIdeal == pHole || (pIdeal < pHole && pHole < pCurrent) ||
         (pHole < pCurrent && pCurrent < pIdeal) || (pCurrent < pIdeal && pIdeal < pHole);
}

void CloseHole(const FwHashTable* pTable, FwHashEntry* pHole) {
  for (FwHashEntry* pCurrent = NextSlot(pTable, pHole); pCurrent->key != nullptr;
       pCurrent = NextSlot(pTable, pCurrent)) {
    const uint32 hash = HashInSlot(pTable, pCurrent);
    if (PassesHole(IdealSlot(pTable, hash), pHole, pCurrent)) {
      Place(pTable, pHole, *pCurrent, hash);
      pCurrent->key = nullptr;
      pHole = pCurrent;
    }
  }
}

}  // namespace

const FwHashFunctions FwHash_StringFunctions = {FwHash_StringHashFunction,
                                                FwHash_StringCompareFunction, nullptr, nullptr, 0};

// The pair is consistent and the keys are the table's own.
const FwHashFunctions FwHash_StringCopyFunctions = {
    FwHash_StringHashFunction, FwHash_StringCompareFunction, FwHash_StringAddCopyFunction,
    FwHash_StringRemoveCopyFunction, 1};

FwHashTable* FwHashCreateTable(uint32 nToHold, const FwHashFunctions* userFunctions,
                               FwErrorState* pErrState) {
  uint32 nTableSize = 1;
  while (nTableSize < 2 * nToHold)
    nTableSize = 2 * nTableSize + 1;

  auto* pTable = FwMemNew<FwHashTable>(ALLOC_MAY_FAIL | INIT_ZERO);
  const Slots slots =
      pTable == nullptr ? Slots{} : NewSlots(nTableSize, IsConsistent(userFunctions));
  if (slots.pEntries == nullptr) {
    FwMemFreeAndClear(&pTable);
    SetError(pErrState, fwErrorNoMemory);
    return nullptr;
  }
  SetSlots(pTable, slots, nTableSize);
  if (userFunctions != nullptr) pTable->fns = *userFunctions;
  return pTable;
}

int32 FwHashIsEmpty(FwHashTable* pTable) {
  return static_cast<int32>(pTable->nUsedEntries);
}

FwHashEntry* FwHashAddEntry(FwHashTable* pTable, void* key, void* value, FwErrorState* pErrState) {
  if (pTable == nullptr || key == nullptr) {
    if (pTable == nullptr) FwTrace("FwHashAddEntry: NULL pTable");
    if (key == nullptr) FwTrace("FwHashAddEntry: NULL key");
    SetError(pErrState, fwErrorPointerNull);
    return nullptr;
  }
  // Kept, as the order of the output: tested before it is known whether the key is new. In 64 bits,
  // as twice the count may not fit in 32.
  if (pTable->nTableSize <= uint64{2} * pTable->nUsedEntries) FcHashGrowTable(pTable);

  const uint32 hash = Hash(pTable, key);
  int32 fNew = 0;
  FwHashEntry* pEntry = FcHashFindEntry(pTable, key, hash, &fNew);
  if (pEntry == nullptr) {
    SetError(pErrState, fwErrorNoMemory);
    return nullptr;
  }
  const int32 fAdded = pTable->fns.addFn != nullptr
                           ? pTable->fns.addFn(pEntry, key, value, fNew, pErrState)
                           : DefaultAdd(pEntry, key, value, fNew);
  if (fNew != 0) {
    if (fAdded != 0) {
      pTable->nUsedEntries++;
      if (pTable->pHashes != nullptr) *NotedHash(pTable, pEntry) = hash;
    } else {
      if (pEntry->key != nullptr) {
        FwTrace(
            "FwHashAddEntry: ERROR - Failed to add new entry but table entry key value not NULL");
      }
      pEntry->key = nullptr;
    }
  }
  if (pTable->fns.fConsistentPair == 0) CheckTable(pTable, pEntry, fAdded != 0);
  return fAdded != 0 ? pEntry : nullptr;
}

FwHashEntry* FwHashLookupEntry(FwHashTable* pTable, void* key, FwErrorState* pErrState) {
  if (pTable == nullptr || key == nullptr) {
    if (pTable == nullptr) FwTrace("FwHashLookupEntry: NULL pTable");
    if (key == nullptr) FwTrace("FwHashLookupEntry: NULL key");
    SetError(pErrState, fwErrorPointerNull);
    return nullptr;
  }
  if (pTable->nUsedEntries == 0) return nullptr;
  int32 fEmpty = 0;
  FwHashEntry* pEntry = FcHashFindEntry(pTable, key, Hash(pTable, key), &fEmpty);
  return pEntry != nullptr && fEmpty == 0 ? pEntry : nullptr;
}

int32 FwHashRemoveEntry(FwHashTable* pTable, void* key, FwErrorState* pErrState) {
  if (pTable == nullptr || key == nullptr) {
    if (pTable == nullptr) FwTrace("FwHashRemoveEntry: NULL pTable");
    if (key == nullptr) FwTrace("FwHashRemoveEntry: NULL key");
    SetError(pErrState, fwErrorPointerNull);
    return 0;
  }
  int32 fEmpty = 0;
  FwHashEntry* pEntry = FcHashFindEntry(pTable, key, Hash(pTable, key), &fEmpty);
  if (pEntry == nullptr || fEmpty != 0) return 0;
  // From here on key may be gone: it may be the stored key itself.
  if (pTable->fns.removeFn != nullptr) pTable->fns.removeFn(pEntry);
  pEntry->key = nullptr;
  pTable->nUsedEntries--;
  CloseHole(pTable, pEntry);
  return 1;
}

void FwHashFreeTable(FwHashTable** ppTable) {
  if (!FwExpect(ppTable != nullptr, "FwHashFreeTable: NULL ppTable") || *ppTable == nullptr) return;
  FwHashTable* pTable = *ppTable;
  if (pTable->pEntries != nullptr) {
    if (pTable->fns.removeFn != nullptr) {
      for (FwHashEntry* pEntry = pTable->pEntries; pEntry <= pTable->pLastEntry; pEntry++) {
        if (pEntry->key != nullptr) pTable->fns.removeFn(pEntry);
      }
    }
    FwMemFree(pTable->pEntries);
  }
  FwMemFree(pTable);
  *ppTable = nullptr;
}

int32 FwHashEnumerateEntries(FwHashTable* pTable, FwHashIterationFn* iterationFn, void* pContext,
                             FwErrorState* pErrState) {
  if (pTable == nullptr || iterationFn == nullptr) {
    if (pTable == nullptr) FwTrace("FwHashIterateTable: NULL pTable");
    if (iterationFn == nullptr) FwTrace("FwHashIterateTable: NULL iterationFn");
    SetError(pErrState, fwErrorPointerNull);
    return 0;
  }
  if (!FwExpect(pTable->pEntries != nullptr, "FwHashIterateTable: NULL pTable->pEntries")) return 0;
  for (FwHashEntry* pEntry = pTable->pEntries; pEntry <= pTable->pLastEntry; pEntry++) {
    if (pEntry->key != nullptr && iterationFn(pEntry, pContext, pErrState) == 0) return 0;
  }
  return 1;
}

void FwHashRehashTable(FwHashTable* pTable, FwHashRehashFn* rehashFn, void* pContext,
                       FwErrorState* pErrState) {
  if (pTable == nullptr || rehashFn == nullptr) {
    if (pTable == nullptr) FwTrace("FwHashRehashTable: NULL pTable");
    if (rehashFn == nullptr) FwTrace("FwHashRehashTable: NULL rehashFn");
    SetError(pErrState, fwErrorPointerNull);
    return;
  }
  const Slots slots = NewSlotsFor(pTable, pTable->nTableSize);
  if (slots.pEntries == nullptr) return;
  FwHashTable rehashed = *pTable;
  SetSlots(&rehashed, slots, pTable->nTableSize);
  uint32 nPlaced = 0;
  for (FwHashEntry* pOld = pTable->pEntries; pOld <= pTable->pLastEntry; pOld++) {
    if (pOld->key == nullptr) continue;
    FwHashEntry rehashedEntry = {};
    void* newKey = rehashFn(pOld, &rehashedEntry, pContext, pErrState);
    if (newKey == nullptr) {
      pTable->nUsedEntries--;
      continue;
    }
    const uint32 hash = Hash(pTable, newKey);
    int32 fEmpty = 0;
    FwHashEntry* pEntry = FcHashFindEntry(&rehashed, newKey, hash, &fEmpty);
    if (pEntry == nullptr) {
      // Kept, as the text of the output: it names the growing function.
      FwAssertFailed("FcHashGrowTable: Rehashed table will not hold all entries of old table");
    } else if (fEmpty == 0) {
      FwAssertFailed(
          "FwHashRehashTable: error detected in the hash / comparison functions - Equivalent keys "
          "must give the same hash value");
    } else {
      Place(&rehashed, pEntry, rehashedEntry, hash);
      nPlaced++;
    }
  }
  FwAssert(nPlaced == pTable->nUsedEntries, "FwHashRehashTable: mismatch in table sizes");
  FwMemFree(pTable->pEntries);
  SetSlots(pTable, slots, pTable->nTableSize);
  pTable->nUsedEntries = nPlaced;
}

uint32 FwHash_StringHashFunction(void* key) {
  uint32 h = 0;
  for (const auto* pb = static_cast<const uint8*>(key); *pb != 0; pb++) {
    const uint32 t = h * 16 + *pb;
    h = t ^ (t >> 28);
  }
  return h;
}

uint32 FwHash_StringHashFunction_original(void* key) {
  uint32 h = 0;
  for (const auto* pb = static_cast<const uint8*>(key); *pb != 0; pb++) {
    const uint32 t = h * 16 + *pb;
    h = t ^ ((t >> 24) & 0xf0);
  }
  return h & 0x0fffffff;
}

uint32 FwHash_StringHashFunction_65599(void* key) {
  uint32 h = 0;
  for (const auto* pb = static_cast<const uint8*>(key); *pb != 0; pb++)
    h = h * 65599 + *pb;
  return h;
}

int32 FwHash_StringCompareFunction(void* key1, void* key2) {
  if (key1 == nullptr || key2 == nullptr) return 0;
  return std::strcmp(static_cast<const char*>(key1), static_cast<const char*>(key2)) == 0 ? 1 : 0;
}

int32 FwHash_StringAddCopyFunction(FwHashEntry* pEntry, void* key, void* value, int32 fNew,
                                   FwErrorState* pErrState) {
  FwAssert(pEntry != nullptr, "FwHash_StringAddCopyFunction: Error - NULL pEntry");
  FwAssert(key != nullptr, "FwHash_StringAddCopyFunction: Error - NULL key");
  if (pEntry == nullptr || key == nullptr) return 0;
  if (value == nullptr) {
    FwTrace("FwHash_StringAddCopyFunction: Error - NULL value");
    SetError(pErrState, fwErrorPointerNull);
    return 0;
  }
  FwTextString newKey = nullptr;
  if (fNew != 0) newKey = FwStrDuplicateFailNull(static_cast<FwTextString>(key));
  FwTextString newValue = FwStrDuplicateFailNull(static_cast<FwTextString>(value));
  if (newValue == nullptr || (fNew != 0 && newKey == nullptr)) {
    FwMemFreeAndClear(&newKey);
    FwMemFreeAndClear(&newValue);
    SetError(pErrState, fwErrorNoMemory);
    return 0;
  }
  if (fNew != 0)
    pEntry->key = newKey;
  else
    FwMemFree(pEntry->value);
  pEntry->value = newValue;
  return 1;
}

void FwHash_StringRemoveCopyFunction(FwHashEntry* pEntry) {
  if (pEntry == nullptr) {
    FwTrace("FwHash_StringRemoveCopyFunction: Error - NULL pEntry");
    return;
  }
  FwAssert(pEntry->key != nullptr, "FwHash_StringRemoveCopyFunction: pEntry->key is NULL");
  FwAssert(pEntry->value != nullptr, "FwHash_StringRemoveCopyFunction: pEntry->value is NULL");
  FwMemFreeAndClear(&pEntry->key);
  FwMemFreeAndClear(&pEntry->value);
}
