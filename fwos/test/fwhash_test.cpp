#include "fwhash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "failing_allocation.h"
#include "fwstring.h"
#include "recorder.h"

namespace {

void* Key(std::uintptr_t n) {
  return reinterpret_cast<void*>(n);
}

std::uintptr_t Number(const void* key) {
  return reinterpret_cast<std::uintptr_t>(key);
}

// A table that frees itself. Without functions the keys are small numbers, which are their own
// hashes, so the ideal slot of n is n % nTableSize.
class Table {
 public:
  explicit Table(uint32 nToHold, const FwHashFunctions* functions = nullptr)
      : table_(FwHashCreateTable(nToHold, functions, nullptr)) {}
  ~Table() { FwHashFreeTable(&table_); }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  FwHashTable* operator->() const { return table_; }
  operator FwHashTable*() const { return table_; }

  FwHashEntry* Add(std::uintptr_t key, std::uintptr_t value = 0) {
    return FwHashAddEntry(table_, Key(key), Key(value), nullptr);
  }
  FwHashEntry* Lookup(std::uintptr_t key) { return FwHashLookupEntry(table_, Key(key), nullptr); }
  int32 Remove(std::uintptr_t key) { return FwHashRemoveEntry(table_, Key(key), nullptr); }

  // The keys in slot order, 0 for an empty slot.
  std::vector<std::uintptr_t> Slots() const {
    std::vector<std::uintptr_t> slots;
    for (uint32 i = 0; i < table_->nTableSize; i++)
      slots.push_back(Number(table_->pEntries[i].key));
    return slots;
  }

  // The slot that holds a key, -1 for none.
  int SlotOf(std::uintptr_t key) const {
    for (uint32 i = 0; i < table_->nTableSize; i++) {
      if (Number(table_->pEntries[i].key) == key) return static_cast<int>(i);
    }
    return -1;
  }

 private:
  FwHashTable* table_;
};

using Slots = std::vector<std::uintptr_t>;

// The keys of a table of strings, in slot order.
std::vector<std::string> Strings(FwHashTable* pTable) {
  std::vector<std::string> keys;
  FwHashEnumerateEntries(
      pTable,
      [](FwHashEntry* pEntry, void* pContext, FwErrorState*) -> int32 {
        static_cast<std::vector<std::string>*>(pContext)->push_back(
            static_cast<const char*>(pEntry->key));
        return 1;
      },
      &keys, nullptr);
  return keys;
}

int StringSlot(FwHashTable* pTable, const char* psz) {
  FwHashEntry* pEntry = FwHashLookupEntry(pTable, FWT(psz), nullptr);
  return pEntry == nullptr ? -1 : static_cast<int>(pEntry - pTable->pEntries);
}

int hash_calls;
int compare_calls;
int null_compares;
uint32 CountingHash(void* key) {
  hash_calls++;
  return static_cast<uint32>(Number(key));
}
int32 CountingCompare(void* storedKey, void* key) {
  compare_calls++;
  if (storedKey == nullptr) null_compares++;
  return storedKey == key ? 1 : 0;
}
const FwHashFunctions CountingFunctions = {CountingHash, CountingCompare, nullptr, nullptr};

// Hash and comparison that disagree: all keys are equal, all hashes different.
int32 AlwaysEqual(void*, void*) {
  return 1;
}
const FwHashFunctions DisagreeingFunctions = {nullptr, AlwaysEqual, nullptr, nullptr};

int32 fail_add_leaves_key;
int32 FailingAdd(FwHashEntry* pEntry, void* key, void* value, int32 fNew, FwErrorState* pErrState) {
  if (value != nullptr) {
    if (fNew != 0) pEntry->key = key;
    pEntry->value = value;
    return 1;
  }
  if (fail_add_leaves_key != 0) pEntry->key = key;
  if (pErrState != nullptr) FwErrorSet(pErrState, fwErrorBug, 0);
  return 0;
}

std::vector<std::uintptr_t> removed;
void NoteRemoved(FwHashEntry* pEntry) {
  removed.push_back(Number(pEntry->key));
}

const char kDisagree[] =
    "FwHashAddEntry: error detected in the hash / comparison functions - Equivalent keys must give "
    "the same hash value";

}  // namespace

TEST(FwHash, TheFieldsAreInTheirOrder) {
  EXPECT_EQ(0u, offsetof(FwHashEntry, key));
  EXPECT_EQ(8u, offsetof(FwHashEntry, value));
  EXPECT_EQ(0u, offsetof(FwHashFunctions, hashFn));
  EXPECT_EQ(8u, offsetof(FwHashFunctions, compareFn));
  EXPECT_EQ(16u, offsetof(FwHashFunctions, addFn));
  EXPECT_EQ(24u, offsetof(FwHashFunctions, removeFn));
  EXPECT_EQ(0u, offsetof(FwHashTable, nTableSize));
  EXPECT_EQ(4u, offsetof(FwHashTable, nUsedEntries));
  EXPECT_EQ(8u, offsetof(FwHashTable, pEntries));
  EXPECT_EQ(16u, offsetof(FwHashTable, pLastEntry));
  EXPECT_EQ(24u, offsetof(FwHashTable, fns));
}

TEST(FwHash, SizesFollowTheNumberToHold) {
  struct Row {
    uint32 nToHold;
    uint32 nTableSize;
  };
  const Row rows[] = {{0, 1},    {1, 3},    {2, 7},    {3, 7},     {4, 15},
                      {7, 15},   {8, 31},   {15, 31},  {16, 63},   {31, 63},
                      {32, 127}, {63, 127}, {64, 255}, {127, 255}, {128, 511}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.nToHold);
    Table table(row.nToHold);
    EXPECT_EQ(row.nTableSize, table->nTableSize) << row.nToHold;
    EXPECT_EQ(0u, table->nUsedEntries);
    EXPECT_EQ(table->pEntries + row.nTableSize - 1, table->pLastEntry);
    EXPECT_EQ(Slots(row.nTableSize, 0), table.Slots());
  }
}

TEST(FwHash, AMonstrousSizeIsExhaustion) {
  FwErrorState err;
  // 2^32 - 1 slots of 16 bytes can't be asked for.
  EXPECT_EQ(nullptr, FwHashCreateTable(0x7FFFFFFF, nullptr, &err));
  EXPECT_EQ(fwErrorNoMemory, err.pError);
  EXPECT_EQ(nullptr, FwHashCreateTable(0x7FFFFFFF, nullptr, nullptr));
  // Twice this number is 0 in 32 bits.
  Table table(0x80000000);
  EXPECT_EQ(1u, table->nTableSize);
}

TEST(FwHash, NullFunctionsLeaveAllFourNull) {
  Table table(1);
  EXPECT_EQ(nullptr, table->fns.hashFn);
  EXPECT_EQ(nullptr, table->fns.compareFn);
  EXPECT_EQ(nullptr, table->fns.addFn);
  EXPECT_EQ(nullptr, table->fns.removeFn);
}

TEST(FwHash, ATableForNothingGrowsFromOneSlot) {
  Table table(0);
  const uint32 sizes[] = {1, 3, 7, 7, 15, 15, 15, 15, 31};
  for (std::uintptr_t i = 0; i < std::size(sizes); i++) {
    SCOPED_TRACE(i);
    table.Add(i + 1);
    EXPECT_EQ(sizes[i], table->nTableSize) << "after add " << i + 1;
    EXPECT_EQ(i + 1, table->nUsedEntries);
  }
}

TEST(FwHash, SevenSlotsHoldAFourthEntryAndGrowForTheFifth) {
  Table table(3);
  for (std::uintptr_t key = 1; key <= 3; key++)
    table.Add(key);
  EXPECT_EQ(7u, table->nTableSize);
  table.Add(4);
  EXPECT_EQ(7u, table->nTableSize);
  table.Add(5);
  EXPECT_EQ(15u, table->nTableSize);
}

TEST(FwHash, AddingAKnownKeyAtTheLimitGrowsTheTable) {
  Table table(3);
  for (std::uintptr_t key = 1; key <= 4; key++)
    table.Add(key);
  ASSERT_EQ(7u, table->nTableSize);
  table.Add(2, 9);
  EXPECT_EQ(15u, table->nTableSize);
  EXPECT_EQ(4u, table->nUsedEntries);
}

TEST(FwHash, TheDefaultAddKeepsTheFirstKeyAndTakesTheNewValue) {
  Table table(8, &FwHash_StringFunctions);
  char first[] = "name";
  char second[] = "name";
  FwHashEntry* pFirst = FwHashAddEntry(table, first, Key(1), nullptr);
  FwHashEntry* pSecond = FwHashAddEntry(table, second, Key(2), nullptr);
  EXPECT_EQ(pFirst, pSecond);
  EXPECT_EQ(first, pSecond->key);
  EXPECT_EQ(Key(2), pSecond->value);
  EXPECT_EQ(1u, table->nUsedEntries);
}

TEST(FwHash, CollidingKeysTakeTheNextSlots) {
  Table table(3);  // 7 slots
  table.Add(3);
  table.Add(10);
  table.Add(17);
  EXPECT_EQ((Slots{0, 0, 0, 3, 10, 17, 0}), table.Slots());
}

TEST(FwHash, RunsWrapFromTheLastSlotToTheFirst) {
  Table table(3);
  table.Add(6);
  table.Add(13);
  table.Add(20);
  EXPECT_EQ((Slots{13, 20, 0, 0, 0, 0, 6}), table.Slots());
  EXPECT_NE(nullptr, table.Lookup(20));
}

TEST(FwHash, RemovingTheMiddleOfARunMovesTheThirdIntoTheHole) {
  Table table(3);
  table.Add(3, 30);
  table.Add(10, 100);
  table.Add(17, 170);
  EXPECT_NE(0, table.Remove(10));
  EXPECT_EQ((Slots{0, 0, 0, 3, 17, 0, 0}), table.Slots());
  EXPECT_EQ(Key(170), table.Lookup(17)->value);
  EXPECT_EQ(2u, table->nUsedEntries);
}

TEST(FwHash, RemovalAtEitherEndKeepsAWrappedRunIntact) {
  {
    Table table(3);
    table.Add(6);
    table.Add(13);
    table.Add(20);
    EXPECT_NE(0, table.Remove(6));  // before the edge: both others move back, one over the edge
    EXPECT_EQ((Slots{20, 0, 0, 0, 0, 0, 13}), table.Slots());
  }
  Table table(3);
  table.Add(6);
  table.Add(13);
  table.Add(20);
  EXPECT_NE(0, table.Remove(20));  // behind the edge: nothing moves
  EXPECT_EQ((Slots{13, 0, 0, 0, 0, 0, 6}), table.Slots());
}

TEST(FwHash, RemovalMovesOnlyEntriesThatPassTheHole) {
  // 15 slots. 4 and 5 are in their own slots, 19 (slot 4) was pushed to 6, 7 is in its own slot,
  // 20 (slot 5) was pushed to 8.
  Table table(7);
  for (std::uintptr_t key : {4, 5, 19, 7, 20})
    table.Add(key);
  ASSERT_EQ((Slots{0, 0, 0, 0, 4, 5, 19, 7, 20, 0, 0, 0, 0, 0, 0}), table.Slots());
  // The hole at 4 takes 19 (its ideal slot), the hole at 6 then takes 20; 5 and 7 stay.
  table.Remove(4);
  EXPECT_EQ((Slots{0, 0, 0, 0, 19, 5, 20, 7, 0, 0, 0, 0, 0, 0, 0}), table.Slots());
}

TEST(FwHash, RemovalAcrossTheEdgeMovesWhatWrapped) {
  // 15 slots: 13, 14 in their own, 28 (slot 13) wrapped to 0, 1 in its own, 29 (slot 14) to 2.
  Table table(7);
  for (std::uintptr_t key : {13, 14, 28, 1, 29})
    table.Add(key);
  ASSERT_EQ((Slots{28, 1, 29, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 13, 14}), table.Slots());
  // The hole at 14 is passed by 28 on its way from 13 to 0 (hole at 0 then), not by 1; 29 comes
  // from 14 and passes the hole at 0.
  table.Remove(14);
  EXPECT_EQ((Slots{29, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 13, 28}), table.Slots());
}

TEST(FwHash, RemovingAnAbsentKeyIsNotAnError) {
  FwErrorState err;
  Table table(3);
  EXPECT_EQ(0, FwHashRemoveEntry(table, Key(1), &err));
  table.Add(1);
  EXPECT_EQ(0, FwHashRemoveEntry(table, Key(8), &err));  // same slot
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ(1u, table->nUsedEntries);
}

TEST(FwHash, ATableNeverShrinks) {
  Table table(0);
  for (std::uintptr_t key = 1; key <= 9; key++)
    table.Add(key);
  ASSERT_EQ(31u, table->nTableSize);
  for (std::uintptr_t key = 1; key <= 9; key++)
    EXPECT_NE(0, table.Remove(key)) << key;
  EXPECT_EQ(31u, table->nTableSize);
  EXPECT_EQ(0, FwHashIsEmpty(table));
}

TEST(FwHash, RemovingFromASingleSlotEmptiesIt) {
  Table table(0);
  table.Add(5);
  EXPECT_NE(0, table.Remove(5));
  EXPECT_EQ(1u, table->nTableSize);
  EXPECT_EQ((Slots{0}), table.Slots());
}

// The moment of growing and the order of slots are what a script's order of lines comes from.

TEST(FwHash, SixtyFourEntriesFitInto127Slots) {
  Table table(63);
  for (std::uintptr_t key = 1; key <= 64; key++)
    table.Add(key * 3 % 127 + 127);  // ideal slots 3, 6, 9 ... 126, 2, 5 ...
  EXPECT_EQ(127u, table->nTableSize);
  EXPECT_EQ(64u, table->nUsedEntries);
  EXPECT_EQ(3, table.SlotOf(3 + 127));
  EXPECT_EQ(126, table.SlotOf(126 + 127));  // the 42nd
  EXPECT_EQ(2, table.SlotOf(2 + 127));      // the 43rd: 129 % 127
  EXPECT_EQ(65, table.SlotOf(65 + 127));    // the 64th: 192 % 127
}

TEST(FwHash, TheSixtyFifthAddDoublesTheTableAndPlacesAnewInSlotOrder) {
  Table table(63);
  // 254 and 381 belong to slot 0 of 127; added in this order they lie at 0 and 1, and 1 at 2.
  table.Add(381);
  table.Add(254);
  table.Add(1);
  ASSERT_EQ(0, table.SlotOf(381));
  ASSERT_EQ(1, table.SlotOf(254));
  ASSERT_EQ(2, table.SlotOf(1));
  for (std::uintptr_t key = 20; key <= 80; key++)
    table.Add(key);
  ASSERT_EQ(64u, table->nUsedEntries);
  ASSERT_EQ(127u, table->nTableSize);
  table.Add(100);
  EXPECT_EQ(255u, table->nTableSize);
  EXPECT_EQ(65u, table->nUsedEntries);
  EXPECT_EQ(126, table.SlotOf(381));  // 381 - 255
  EXPECT_EQ(254, table.SlotOf(254));
  EXPECT_EQ(1, table.SlotOf(1));
  EXPECT_EQ(20, table.SlotOf(20));
  EXPECT_EQ(80, table.SlotOf(80));
  EXPECT_EQ(100, table.SlotOf(100));
}

TEST(FwHash, GrowingReordersEntriesThatCollideBySlotNotByAge) {
  Table table(1);  // 3 slots
  table.Add(8);    // slot 2
  table.Add(1);    // slot 1
  ASSERT_EQ((Slots{0, 1, 8}), table.Slots());
  // 7 slots: 1 comes first in slot order and takes slot 1, which is also the slot of 8.
  table.Add(3);
  EXPECT_EQ((Slots{0, 1, 8, 3, 0, 0, 0}), table.Slots());
}

TEST(FwHash, AKnownKeyAtSixtyFourEntriesGrowsAndReorders) {
  Table table(63);
  for (std::uintptr_t key = 127; key < 127 + 64; key++)
    table.Add(key);  // slots 0 to 63
  ASSERT_EQ(0, table.SlotOf(127));
  table.Add(127, 1);
  EXPECT_EQ(255u, table->nTableSize);
  EXPECT_EQ(64u, table->nUsedEntries);
  EXPECT_EQ(127, table.SlotOf(127));
  EXPECT_EQ(190, table.SlotOf(190));
}

TEST(FwHash, AHundredAndThirtyEntriesGrowTwice) {
  Table table(63);
  std::vector<uint32> grown_at;
  uint32 size = table->nTableSize;
  for (std::uintptr_t key = 1; key <= 130; key++) {
    table.Add(key * 5);
    if (table->nTableSize != size) {
      grown_at.push_back(static_cast<uint32>(key));
      size = table->nTableSize;
    }
  }
  // 127 is not above 2 x 64, 255 is not above 2 x 128.
  EXPECT_EQ((std::vector<uint32>{65, 129}), grown_at);
  EXPECT_EQ(511u, size);
  EXPECT_EQ(130u, table->nUsedEntries);
  // 5 .. 510 lie in their own slots; 515 .. 650 belong to 4, 9 .. 139, which are free.
  EXPECT_EQ(5, table.SlotOf(5));
  EXPECT_EQ(510, table.SlotOf(510));
  EXPECT_EQ(4, table.SlotOf(515));
  EXPECT_EQ(139, table.SlotOf(650));
}

TEST(FwHash, StringsLieInTheSlotsOfTheirHashes) {
  Table table(63, &FwHash_StringCopyFunctions);
  // Hashes of two characters are 16 x first + second.
  struct Row {
    const char* key;
    int slot;
  };
  const Row rows[] = {
      {"", 0},      {"a", 97},   // 0x61
      {"ab", 126},               // 0x672 = 1650 = 12 x 127 + 126
      {"bR", 1},                 // the same hash: over the edge, and slot 0 is taken
      {"A0", 72},                // 0x440 = 1088 = 8 x 127 + 72
      {"A1", 73},   {"B!", 74},  // 0x420 + 0x21, the hash of A1
      {"HOME", 80},              // 0x48, 0x4cf, 0x4d3d, 0x4d415 = 316437 = 2491 x 127 + 80
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.key);
    ASSERT_NE(nullptr, FwHashAddEntry(table, FWT(row.key), FWT("value"), nullptr));
    EXPECT_EQ(row.slot, StringSlot(table, row.key)) << row.key;
  }
  EXPECT_EQ((std::vector<std::string>{"", "bR", "A0", "A1", "B!", "HOME", "a", "ab"}),
            Strings(table));
}

TEST(FwHash, LookupOnAnEmptyTableCallsNoHashFunction) {
  Table table(8, &CountingFunctions);
  hash_calls = 0;
  EXPECT_EQ(nullptr, table.Lookup(1));
  EXPECT_EQ(0, hash_calls);
}

TEST(FwHash, LookupOfAnAbsentKeyLeavesTheErrorStateAlone) {
  FwErrorState err;
  Table table(3);
  table.Add(1);
  EXPECT_EQ(nullptr, FwHashLookupEntry(table, Key(8), &err));
  EXPECT_EQ(nullptr, err.pError);
}

TEST(FwHash, AMatchHashesBothKeysAgainButIdenticalPointersAreNotCompared) {
  Table table(8, &CountingFunctions);
  table.Add(5);
  hash_calls = compare_calls = 0;
  EXPECT_NE(nullptr, table.Lookup(5));
  EXPECT_EQ(3, hash_calls);
  EXPECT_EQ(0, compare_calls);
  hash_calls = 0;
  EXPECT_EQ(nullptr, table.Lookup(5 + 31));  // the same slot, another key
  EXPECT_EQ(1, hash_calls);
  EXPECT_EQ(1, compare_calls);
}

TEST(FwHash, TheCheckOfTheWholeTableComparesEachOtherEntry) {
  Table table(8, &CountingFunctions);
  for (std::uintptr_t key = 1; key <= 5; key++)
    table.Add(key);
  compare_calls = 0;
  table.Add(6);
  EXPECT_EQ(5, compare_calls);
}

TEST(FwHash, APairDeclaredConsistentIsNotCheckedAtEachAdd) {
  FwHashFunctions functions = CountingFunctions;
  functions.fConsistentPair = 1;
  Table table(8, &functions);
  for (std::uintptr_t key = 1; key <= 5; key++)
    table.Add(key);
  compare_calls = 0;
  table.Add(6);
  EXPECT_EQ(0, compare_calls);
  // Slots and growth are those of any other table.
  EXPECT_EQ(6u, table->nUsedEntries);
  EXPECT_EQ(6, table.SlotOf(6));
}

TEST(FwHash, OnlyTheCopyingStringFunctionsAreDeclaredConsistent) {
  EXPECT_EQ(0, FwHash_StringFunctions.fConsistentPair);
  EXPECT_NE(0, FwHash_StringCopyFunctions.fConsistentPair);
}

TEST(FwHash, IsEmptyGivesTheNumberOfEntries) {
  Table table(8);
  EXPECT_EQ(0, FwHashIsEmpty(table));
  table.Add(1);
  table.Add(2);
  table.Add(3);
  EXPECT_EQ(3, FwHashIsEmpty(table));
}

TEST(FwHash, StringHashesAreAsTheirTableSays) {
  struct Row {
    const char* text;
    uint32 hash;
    uint32 original;
    uint32 by65599;
  };
  const Row rows[] = {
      {"", 0, 0, 0},
      {"a", 0x61, 0x61, 0x61},
      // 97 x 65599 + 98
      {"ab", 0x672, 0x672, 6363201},
      // Bytes are unsigned: 0xff0 + 0xff, and 255 x 65599 + 255
      {"\xff\xff", 0x10ef, 0x10ef, 16728000},
      // 0x70, 0x770, 0x7770 ... 0x7777770, then t = 0x77777770. The first folds t >> 28 = 0x7 in,
      // the second 0x77 and 0xf0 = 0x70 and drops the top digit at the end.
      {"ppppppp", 0x77777777, 0x07777700, 2955848816},
      {"pqrs", 0x77893, 0x77893, 2467448834},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.hash, FwHash_StringHashFunction(FWT(row.text))) << row.text;
    EXPECT_EQ(row.original, FwHash_StringHashFunction_original(FWT(row.text))) << row.text;
    EXPECT_EQ(row.by65599, FwHash_StringHashFunction_65599(FWT(row.text))) << row.text;
  }
}

TEST(FwHash, StringsCompareByContentAndNullEqualsNothing) {
  char a[] = "x";
  char b[] = "x";
  EXPECT_EQ(1, FwHash_StringCompareFunction(a, b));
  EXPECT_EQ(0, FwHash_StringCompareFunction(a, FWT("y")));
  EXPECT_EQ(0, FwHash_StringCompareFunction(a, FWT("xx")));
  EXPECT_EQ(0, FwHash_StringCompareFunction(nullptr, a));
  EXPECT_EQ(0, FwHash_StringCompareFunction(a, nullptr));
}

TEST(FwHash, NullArgumentsAreTracedAndAreErrors) {
  FwErrorState err;
  Table table(3);
  {
    ExpectTraces traces({"FwHashAddEntry: NULL pTable", "FwHashAddEntry: NULL key",
                         "FwHashAddEntry: NULL pTable", "FwHashAddEntry: NULL key"});
    EXPECT_EQ(nullptr, FwHashAddEntry(nullptr, Key(1), nullptr, &err));
    EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
    EXPECT_EQ(nullptr, FwHashAddEntry(table, nullptr, nullptr, &err));
    EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
    EXPECT_EQ(nullptr, FwHashAddEntry(nullptr, nullptr, nullptr, nullptr));
  }
  {
    ExpectTraces traces({"FwHashLookupEntry: NULL pTable", "FwHashLookupEntry: NULL key",
                         "FwHashLookupEntry: NULL pTable", "FwHashLookupEntry: NULL key"});
    EXPECT_EQ(nullptr, FwHashLookupEntry(nullptr, Key(1), &err));
    EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
    EXPECT_EQ(nullptr, FwHashLookupEntry(table, nullptr, &err));
    EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
    EXPECT_EQ(nullptr, FwHashLookupEntry(nullptr, nullptr, nullptr));
  }
  {
    ExpectTraces traces({"FwHashRemoveEntry: NULL pTable", "FwHashRemoveEntry: NULL key",
                         "FwHashRemoveEntry: NULL pTable", "FwHashRemoveEntry: NULL key"});
    EXPECT_EQ(0, FwHashRemoveEntry(nullptr, Key(1), &err));
    EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
    EXPECT_EQ(0, FwHashRemoveEntry(table, nullptr, &err));
    EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
    EXPECT_EQ(0, FwHashRemoveEntry(nullptr, nullptr, nullptr));
  }
  const auto go_on = [](FwHashEntry*, void*, FwErrorState*) -> int32 { return 1; };
  {
    ExpectTraces traces(
        {"FwHashIterateTable: NULL pTable", "FwHashIterateTable: NULL iterationFn"});
    EXPECT_EQ(0, FwHashEnumerateEntries(nullptr, go_on, nullptr, &err));
    EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
    EXPECT_EQ(0, FwHashEnumerateEntries(table, nullptr, nullptr, &err));
    EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
  }
  {
    ExpectTraces traces({"FwHashRehashTable: NULL pTable", "FwHashRehashTable: NULL rehashFn"});
    FwHashRehashTable(nullptr, nullptr, nullptr, &err);
    EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
  }
  {
    FwHashTable broken = {};
    ExpectAsserts expected({"FwHashIterateTable: NULL pTable->pEntries"});
    EXPECT_EQ(0, FwHashEnumerateEntries(&broken, go_on, nullptr, &err));
  }
}

TEST(FwHash, FreeingANullTableDoesNothingAndFreeingLeavesNull) {
  FwHashTable* pTable = nullptr;
  FwHashFreeTable(&pTable);
  EXPECT_EQ(nullptr, pTable);
  pTable = FwHashCreateTable(1, nullptr, nullptr);
  FwHashFreeTable(&pTable);
  EXPECT_EQ(nullptr, pTable);
  ExpectAsserts expected({"FwHashFreeTable: NULL ppTable"});
  FwHashFreeTable(nullptr);
}

TEST(FwHash, FreeingRemovesEachEntryInSlotOrder) {
  const FwHashFunctions functions = {nullptr, nullptr, nullptr, NoteRemoved};
  FwHashTable* pTable = FwHashCreateTable(3, &functions, nullptr);
  for (std::uintptr_t key : {5, 2, 9})
    FwHashAddEntry(pTable, Key(key), nullptr, nullptr);
  removed.clear();
  FwHashFreeTable(&pTable);
  EXPECT_EQ((Slots{2, 9, 5}), removed);
}

TEST(FwHash, RemovingCallsTheRemoveFunctionOnce) {
  const FwHashFunctions functions = {nullptr, nullptr, nullptr, NoteRemoved};
  Table table(3, &functions);
  table.Add(3);
  table.Add(10);
  removed.clear();
  table.Remove(3);
  EXPECT_EQ((Slots{3}), removed);
  table.Remove(3);
  EXPECT_EQ((Slots{3}), removed);
}

TEST(FwHash, GrowingCallsNeitherAddNorRemoveFunction) {
  const FwHashFunctions functions = {nullptr, nullptr, FailingAdd, NoteRemoved};
  Table table(0, &functions);
  removed.clear();
  table.Add(1, 1);
  table.Add(2, 2);
  table.Add(3, 3);
  EXPECT_EQ(7u, table->nTableSize);
  EXPECT_EQ(3u, table->nUsedEntries);
  EXPECT_TRUE(removed.empty());
}

TEST(FwHash, AnAddThatFailsLeavesTheSlotEmptyAndItsOwnError) {
  const FwHashFunctions functions = {CountingHash, CountingCompare, FailingAdd, nullptr};
  Table table(3, &functions);
  FwErrorState err;
  fail_add_leaves_key = 0;
  EXPECT_EQ(nullptr, FwHashAddEntry(table, Key(1), nullptr, &err));
  EXPECT_EQ(fwErrorBug, FwErrorClear(&err));
  EXPECT_EQ(0u, table->nUsedEntries);
  EXPECT_EQ(Slots(7, 0), table.Slots());
}

TEST(FwHash, AnAddThatFailsButLeavesItsKeyIsTraced) {
  const FwHashFunctions functions = {nullptr, nullptr, FailingAdd, nullptr};
  Table table(3, &functions);
  fail_add_leaves_key = 1;
  ExpectTraces traces(
      {"FwHashAddEntry: ERROR - Failed to add new entry but table entry key value not NULL"});
  EXPECT_EQ(nullptr, table.Add(1, 0));
  EXPECT_EQ(Slots(7, 0), table.Slots());
  fail_add_leaves_key = 0;
}

TEST(FwHash, AFailedAddToAKnownKeyKeepsTheEntry) {
  const FwHashFunctions functions = {nullptr, nullptr, FailingAdd, nullptr};
  Table table(3, &functions);
  fail_add_leaves_key = 0;
  table.Add(1, 5);
  EXPECT_EQ(nullptr, table.Add(1, 0));
  EXPECT_EQ(1u, table->nUsedEntries);
  EXPECT_EQ(Key(5), table.Lookup(1)->value);
}

TEST(FwHash, AfterAFailedAddTheCheckComparesWithNull) {
  const FwHashFunctions functions = {CountingHash, CountingCompare, FailingAdd, nullptr};
  Table table(3, &functions);
  fail_add_leaves_key = 0;
  table.Add(1, 5);
  table.Add(2, 5);
  null_compares = 0;
  EXPECT_EQ(nullptr, table.Add(3, 0));
  EXPECT_EQ(2, null_compares);
}

TEST(FwHash, DisagreeingFunctionsAreTraced) {
  Table table(3, &DisagreeingFunctions);
  table.Add(1);
  ExpectTraces traces({"FwHashAddEntry: entries 2 and 1 are equivalent", kDisagree});
  table.Add(2);
}

TEST(FwHash, TheSameKeyTwiceIsTraced) {
  Table table(3);
  table.Add(1);
  table->pEntries[5] = {Key(2), nullptr};
  ExpectTraces traces(
      {"FwHashAddEntry: entries 2 and 5 are equivalent",
       "FwHashAddEntry: keys for entries 2 and 5 point to same location- has that memory just been "
       "freed/overwritten?",
       kDisagree, "FwHashAddEntry: nUsedEntries is wrong (should be 3, actually 2)"});
  table.Add(2);
  table->pEntries[5].key = nullptr;
}

TEST(FwHash, AnEntryThatItsOwnFunctionsDoNotFindIsTraced) {
  // An add that reports success without storing a key.
  const FwHashFunctions functions = {
      nullptr, nullptr, [](FwHashEntry*, void*, void*, int32, FwErrorState*) -> int32 { return 1; },
      nullptr};
  Table table(3, &functions);
  ExpectTraces traces({"FwHashAddEntry: Entry just added successfully cannot be found in table",
                       "FwHashAddEntry: nUsedEntries is wrong (should be 0, actually 1)"});
  table.Add(1);
  table->nUsedEntries = 0;
}

TEST(FwHash, EquivalentKeysOfDifferentHashAreAsserted) {
  Table table(3, &DisagreeingFunctions);
  table.Add(1);
  // 8 belongs to slot 1, too, where all keys are equal.
  ExpectAsserts expected({"FcHashFindEntry: Error - equivalent keys give different hash values"});
  EXPECT_NE(nullptr, table.Lookup(8));
}

TEST(FwHash, GrowingATableOfEquivalentKeysDropsThem) {
  Table table(1, &DisagreeingFunctions);  // 3 slots
  table.Add(1);
  {
    ExpectTraces traces({"FwHashAddEntry: entries 2 and 1 are equivalent", kDisagree});
    table.Add(2);
  }
  // In 7 slots both find empty ones of their own, so make 8 and 1 meet instead.
  table->pEntries[2].key = Key(8);
  ExpectAsserts expected(
      {"FcHashFindEntry: Error - equivalent keys give different hash values",
       "FcHashGrowTable: error detected in the hash / comparison functions - Equivalent keys must "
       "give the same hash value"});
  ExpectTraces traces({"FwHashAddEntry: entries 5 and 1 are equivalent", kDisagree});
  table.Add(5);
  EXPECT_EQ((Slots{0, 1, 0, 0, 0, 5, 0}), table.Slots());
  EXPECT_EQ(2u, table->nUsedEntries);
}

TEST(FwHash, EnumerationVisitsInSlotOrderAndMayChangeValues) {
  Table table(3);
  for (std::uintptr_t key : {5, 2, 9})
    table.Add(key);
  Slots visited;
  EXPECT_EQ(1, FwHashEnumerateEntries(
                   table,
                   [](FwHashEntry* pEntry, void* pContext, FwErrorState*) -> int32 {
                     static_cast<Slots*>(pContext)->push_back(Number(pEntry->key));
                     pEntry->value = Key(1);
                     return 1;
                   },
                   &visited, nullptr));
  EXPECT_EQ((Slots{2, 9, 5}), visited);
  EXPECT_EQ(Key(1), table.Lookup(9)->value);
}

TEST(FwHash, AZeroResultStopsTheEnumeration) {
  Table table(3);
  for (std::uintptr_t key : {5, 2, 9})
    table.Add(key);
  FwErrorState err;
  Slots visited;
  EXPECT_EQ(0, FwHashEnumerateEntries(
                   table,
                   [](FwHashEntry* pEntry, void* pContext, FwErrorState*) -> int32 {
                     static_cast<Slots*>(pContext)->push_back(Number(pEntry->key));
                     return pEntry->key == Key(9) ? 0 : 1;
                   },
                   &visited, &err));
  EXPECT_EQ((Slots{2, 9}), visited);
  EXPECT_EQ(nullptr, err.pError);
}

TEST(FwHash, EnumeratingAnEmptyTableIsComplete) {
  Table table(3);
  EXPECT_EQ(1, FwHashEnumerateEntries(
                   table, [](FwHashEntry*, void*, FwErrorState*) -> int32 { return 0; }, nullptr,
                   nullptr));
}

TEST(FwHash, RehashingGivesNewKeysInATableOfTheSameSize) {
  Table table(3);
  for (std::uintptr_t key : {1, 2, 3})
    table.Add(key, key * 10);
  FwHashRehashTable(
      table,
      [](FwHashEntry* pOld, FwHashEntry* pNew, void*, FwErrorState*) -> void* {
        pNew->key = Key(Number(pOld->key) + 7 * 5 + 2);  // two slots further
        pNew->value = pOld->value;
        return pNew->key;
      },
      nullptr, nullptr);
  EXPECT_EQ(7u, table->nTableSize);
  EXPECT_EQ(3u, table->nUsedEntries);
  EXPECT_EQ((Slots{0, 0, 0, 38, 39, 40, 0}), table.Slots());
  EXPECT_EQ(Key(20), table.Lookup(39)->value);
  EXPECT_EQ(nullptr, table.Lookup(2));
}

TEST(FwHash, RehashingDropsWhatGetsNoKey) {
  const FwHashFunctions functions = {nullptr, nullptr, nullptr, NoteRemoved};
  Table table(3, &functions);
  for (std::uintptr_t key : {1, 2, 3})
    table.Add(key);
  removed.clear();
  FwHashRehashTable(
      table,
      [](FwHashEntry* pOld, FwHashEntry* pNew, void*, FwErrorState*) -> void* {
        *pNew = *pOld;
        return pOld->key == Key(2) ? nullptr : pOld->key;
      },
      nullptr, nullptr);
  EXPECT_EQ((Slots{0, 1, 0, 3, 0, 0, 0}), table.Slots());
  EXPECT_EQ(2u, table->nUsedEntries);
  EXPECT_TRUE(removed.empty());
}

TEST(FwHash, RehashingToEquivalentKeysIsAsserted) {
  Table table(3);
  for (std::uintptr_t key : {1, 2, 3})
    table.Add(key);
  ExpectAsserts expected(
      {"FwHashRehashTable: error detected in the hash / comparison functions - Equivalent keys "
       "must give the same hash value",
       "FwHashRehashTable: mismatch in table sizes"});
  FwHashRehashTable(
      table,
      [](FwHashEntry* pOld, FwHashEntry* pNew, void*, FwErrorState*) -> void* {
        pNew->key = pOld->key == Key(3) ? Key(3) : Key(1);
        return pNew->key;
      },
      nullptr, nullptr);
  EXPECT_EQ((Slots{0, 1, 0, 3, 0, 0, 0}), table.Slots());
  EXPECT_EQ(2u, table->nUsedEntries);
}

TEST(FwHash, TheCopyingFunctionsOwnKeysAndValues) {
  FwHashTable* pTable = FwHashCreateTable(3, &FwHash_StringCopyFunctions, nullptr);
  char key[] = "name";
  char value[] = "value";
  FwHashEntry* pEntry = FwHashAddEntry(pTable, key, value, nullptr);
  ASSERT_NE(nullptr, pEntry);
  void* firstKey = pEntry->key;
  key[0] = value[0] = '?';
  EXPECT_STREQ("name", static_cast<char*>(pEntry->key));
  EXPECT_STREQ("value", static_cast<char*>(pEntry->value));
  pEntry = FwHashAddEntry(pTable, FWT("name"), FWT("other"), nullptr);
  ASSERT_NE(nullptr, pEntry);
  EXPECT_EQ(firstKey, pEntry->key);
  EXPECT_STREQ("other", static_cast<char*>(pEntry->value));
  FwHashAddEntry(pTable, FWT("second"), FWT("value"), nullptr);
  EXPECT_NE(0, FwHashRemoveEntry(pTable, FWT("name"), nullptr));
  FwHashFreeTable(&pTable);
}

TEST(FwHash, AnEntryMayBeRemovedByItsOwnStoredKey) {
  Table table(3, &FwHash_StringCopyFunctions);
  FwHashEntry* pEntry = FwHashAddEntry(table, FWT("name"), FWT("value"), nullptr);
  EXPECT_NE(0, FwHashRemoveEntry(table, pEntry->key, nullptr));
  EXPECT_EQ(0u, table->nUsedEntries);
}

TEST(FwHash, TheCopyingAddRefusesANullValue) {
  Table table(3, &FwHash_StringCopyFunctions);
  FwErrorState err;
  ExpectTraces traces({"FwHash_StringAddCopyFunction: Error - NULL value"});
  EXPECT_EQ(nullptr, FwHashAddEntry(table, FWT("name"), nullptr, &err));
  EXPECT_EQ(fwErrorPointerNull, FwErrorClear(&err));
  EXPECT_EQ(0u, table->nUsedEntries);
}

TEST(FwHash, TheCopyingFunctionsReportNullArguments) {
  FwHashEntry entry = {};
  {
    ExpectAsserts expected({"FwHash_StringAddCopyFunction: Error - NULL pEntry",
                            "FwHash_StringAddCopyFunction: Error - NULL key"});
    EXPECT_EQ(0, FwHash_StringAddCopyFunction(nullptr, FWT("k"), FWT("v"), 1, nullptr));
    EXPECT_EQ(0, FwHash_StringAddCopyFunction(&entry, nullptr, FWT("v"), 1, nullptr));
  }
  {
    ExpectTraces traces({"FwHash_StringRemoveCopyFunction: Error - NULL pEntry"});
    FwHash_StringRemoveCopyFunction(nullptr);
  }
  {
    ExpectAsserts expected({"FwHash_StringRemoveCopyFunction: pEntry->key is NULL",
                            "FwHash_StringRemoveCopyFunction: pEntry->value is NULL"});
    FwHash_StringRemoveCopyFunction(&entry);
  }
  entry = {FwStrDuplicate(FWT("k")), FwStrDuplicate(FWT("v"))};
  FwHash_StringRemoveCopyFunction(&entry);
  EXPECT_EQ(nullptr, entry.key);
  EXPECT_EQ(nullptr, entry.value);
}

TEST(FwHash, ExhaustedMemoryAtCreationIsAnError) {
  for (int nSuccesses : {0, 1}) {  // the record; the slots, where the record is freed again
    SCOPED_TRACE(nSuccesses);
    FwErrorState err;
    FailAllocationsAfter failing(nSuccesses);
    EXPECT_EQ(nullptr, FwHashCreateTable(1, nullptr, &err));
    EXPECT_EQ(fwErrorNoMemory, err.pError);
    EXPECT_EQ(nullptr, FwHashCreateTable(1, nullptr, nullptr));
  }
}

TEST(FwHash, ExhaustedMemoryAtGrowthIsSilentWhileASlotRemains) {
  FwErrorState err;
  Table table(1);  // 3 slots
  FailAllocationsAfter failing(0);
  for (std::uintptr_t key = 1; key <= 3; key++)
    EXPECT_NE(nullptr, FwHashAddEntry(table, Key(key), nullptr, &err)) << key;
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ(3u, table->nTableSize);
  // The table is full now: another key finds no slot, a known one is replaced.
  EXPECT_EQ(nullptr, FwHashAddEntry(table, Key(4), nullptr, &err));
  EXPECT_EQ(fwErrorNoMemory, err.pError);
  EXPECT_EQ(nullptr, FwHashAddEntry(table, Key(4), nullptr, nullptr));
  EXPECT_NE(nullptr, FwHashAddEntry(table, Key(3), Key(9), nullptr));
  EXPECT_EQ(3u, table->nUsedEntries);
  EXPECT_EQ((Slots{3, 1, 2}), table.Slots());
  EXPECT_EQ(nullptr, table.Lookup(4));
  EXPECT_EQ(0, table.Remove(4));
  EXPECT_NE(0, table.Remove(1));
  EXPECT_EQ((Slots{3, 0, 2}), table.Slots());
}

TEST(FwHash, ExhaustedMemoryAtRehashLeavesTheTable) {
  FwErrorState err;
  Table table(1);
  table.Add(1);
  FailAllocationsAfter failing(0);
  FwHashRehashTable(
      table, [](FwHashEntry*, FwHashEntry*, void*, FwErrorState*) -> void* { return nullptr; },
      nullptr, &err);
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ((Slots{0, 1, 0}), table.Slots());
  EXPECT_EQ(1u, table->nUsedEntries);
}

TEST(FwHash, ExhaustedMemoryInTheCopyingAddLeavesTheEntry) {
  FwErrorState err;
  Table table(3, &FwHash_StringCopyFunctions);
  FwHashAddEntry(table, FWT("a"), FWT("old"), nullptr);
  FailAllocationsAfter failing(0);
  EXPECT_EQ(nullptr, FwHashAddEntry(table, FWT("a"), FWT("new"), &err));
  EXPECT_EQ(fwErrorNoMemory, FwErrorClear(&err));
  EXPECT_STREQ("old", static_cast<char*>(FwHashLookupEntry(table, FWT("a"), nullptr)->value));
  for (int nSuccesses : {0, 1}) {  // the key; the value, where the key's copy is freed again
    SCOPED_TRACE(nSuccesses);
    FailAllocationsAfter inner(nSuccesses);
    EXPECT_EQ(nullptr, FwHashAddEntry(table, FWT("b"), FWT("new"), &err));
    EXPECT_EQ(fwErrorNoMemory, FwErrorClear(&err));
  }
  EXPECT_EQ(1u, table->nUsedEntries);
}

TEST(FwHash, ManyRandomAddsAndRemovalsKeepEveryKeyOnItsRun) {
  std::mt19937 random(7);
  Table table(0);
  std::map<std::uintptr_t, std::uintptr_t> model;
  for (int step = 0; step < 20000; step++) {
    SCOPED_TRACE(step);
    const std::uintptr_t key = random() % 300 + 1;
    if (random() % 2 == 0) {
      table.Add(key, static_cast<std::uintptr_t>(step));
      model[key] = static_cast<std::uintptr_t>(step);
    } else {
      ASSERT_EQ(model.erase(key) != 0, table.Remove(key) != 0);
    }
    ASSERT_EQ(model.size(), table->nUsedEntries);
    if (step % 50 != 0) continue;
    const Slots slots = table.Slots();
    for (const auto& [wanted, value] : model) {
      SCOPED_TRACE(wanted);
      std::size_t slot = wanted % slots.size();
      while (slots[slot] != wanted) {
        ASSERT_NE(0u, slots[slot]) << "the run of " << wanted << " is broken";
        slot = (slot + 1) % slots.size();
      }
      ASSERT_EQ(Key(value), table->pEntries[slot].value);
    }
    ASSERT_EQ(model.size(),
              slots.size() - static_cast<std::size_t>(std::count(slots.begin(), slots.end(), 0u)));
  }
}
