#include "fcpp.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "blocks.h"
#include "recorder.h"

namespace {

struct Thing {
  Thing* next = nullptr;
  int32 n = 7;
};

using Strings = std::vector<std::string>;

}  // namespace

TEST(FcppText, AnOwnedTextIsFreedWithItsScope) {
  const CountedBlocks blocks;
  {
    OwnedText text(FwStrDuplicate(FWT("abc")));
    EXPECT_STREQ("abc", FWC(text));
    OwnedText none;
    EXPECT_EQ(nullptr, none.get());
  }
  EXPECT_EQ(0, blocks.live());
}

TEST(FcppText, ATextThatIsTakenIsTheCallers) {
  FwTextString kept = nullptr;
  {
    OwnedText text(FwStrDuplicate(FWT("abc")));
    kept = text.take();
    EXPECT_EQ(nullptr, text.get());
  }
  EXPECT_STREQ("abc", FWC(kept));
  FwMemFree(kept);
}

TEST(FcppText, ResetFreesTheOldTextAndTakesOverTheNewOne) {
  const CountedBlocks blocks;
  {
    OwnedText text(FwStrDuplicate(FWT("abc")));
    text.reset(FwStrDuplicate(FWT("d")));
    EXPECT_STREQ("d", FWC(text));
  }
  EXPECT_EQ(0, blocks.live());
}

TEST(FcppText, OnlyNullBecomesAnEmptyText) {
  FwTextString text = FWT("x");
  EXPECT_EQ(text, or_empty(text));
  EXPECT_STREQ("", FWC(or_empty(nullptr)));
}

TEST(FcppRecord, ARecordIsOpenUntilItsScopeEnds) {
  const CountedBlocks blocks;
  {
    OpenRecord record;
    EXPECT_EQ(0u, record.length());
    FwStrPutTextString(&record, FWT("caf\xc3\xa9"));
    EXPECT_EQ(5u, record.length());
    EXPECT_EQ(5u, record_length(&record));
    EXPECT_EQ("caf\xc3\xa9", record.view());
    record.clear();
    EXPECT_EQ("", record.view());
  }
  EXPECT_EQ(0, blocks.live());
}

TEST(FcppRecord, ATakenTextOutlivesTheRecord) {
  FwTextString text = nullptr;
  {
    OpenRecord record(4);
    FwStrPutTextString(&record, FWT("abc"));
    text = record.take();
    EXPECT_EQ(nullptr, record.pbz);
  }
  EXPECT_STREQ("abc", FWC(text));
  FwMemFree(text);
}

TEST(FcppError, ALocalErrorReleasesItsDetails) {
  const CountedBlocks blocks;
  {
    LocalError err;
    EXPECT_FALSE(err.failed());
    FwErrorSet(&err, fwErrorNoSuchFile, 2, FWT("File"), FWT("a"));
    EXPECT_TRUE(err.failed());
    EXPECT_EQ(fwErrorNoSuchFile, err.clear());
    EXPECT_FALSE(err.failed());
    FwErrorSet(&err, fwErrorNoSuchFile, 2, FWT("File"), FWT("b"));
  }
  EXPECT_EQ(0, blocks.live());
}

TEST(FcppVector, ElementsAreWalkedInOrderWithTheirType) {
  Thing things[3];
  LocalVector vector(2, Elements::kKept);
  for (Thing& thing : things)
    FwVectorAddElement(&vector, &thing);
  std::vector<Thing*> met;
  for (Thing* thing : elements<Thing>(&vector))
    met.push_back(thing);
  EXPECT_EQ((std::vector<Thing*>{&things[0], &things[1], &things[2]}), met);
  EXPECT_EQ(&things[1], nth<Thing>(&vector, 1));
}

TEST(FcppVector, AnEmptyVectorHasNoElements) {
  LocalVector vector(1, Elements::kKept);
  for (FwTextString text : texts(&vector))
    ADD_FAILURE() << FWC(text);
}

TEST(FcppVector, ElementsAddedDuringAWalkAreMetToo) {
  LocalVector vector(1, Elements::kFreed);
  FwVectorAddElement(&vector, FwStrDuplicate(FWT("a")));
  Strings met;
  for (FwTextString text : texts(&vector)) {
    met.emplace_back(FWC(text));
    // The slots move on the way.
    if (met.size() < 30) FwVectorAddElement(&vector, FwStrDuplicate(FWT("b")));
  }
  EXPECT_EQ(30u, met.size());
  EXPECT_EQ("b", met.back());
}

TEST(FcppVector, AWalkOverAClosedVectorIsAsserted) {
  FwVector vector;
  FwVectorOpen(&vector, 1);
  FwMemFree(FwVectorClose(&vector));
  ExpectAsserts expected({"Cannot walk a vector that is not open"});
  elements<Thing>(&vector);
}

TEST(FcppVector, ALocalVectorFreesItsElementsIfTold) {
  const CountedBlocks blocks;
  {
    LocalVector vector(1, Elements::kFreed);
    FwVectorAddElement(&vector, FwStrDuplicate(FWT("a")));
    FwVectorAddElement(&vector, FwStrDuplicate(FWT("b")));
    LocalVector handed_over(1, Elements::kFreed);
    FwMemFree(FwVectorClose(&handed_over));
  }
  EXPECT_EQ(0, blocks.live());
}

TEST(FcppTable, EntriesAreThoseThatTheEnumerationVisits) {
  FwHashTable* table = FwHashCreateTable(3, &FwHash_StringFunctions, nullptr);
  for (const char* key : {"a", "zz", "path", "home", "x", "shell"})
    FwHashAddEntry(table, FWT(key), FWT(key), nullptr);
  FwHashRemoveEntry(table, FWT("x"), nullptr);
  std::vector<FwHashEntry*> enumerated;
  FwHashEnumerateEntries(
      table,
      [](FwHashEntry* entry, void* list, FwErrorState*) -> int32 {
        static_cast<std::vector<FwHashEntry*>*>(list)->push_back(entry);
        return 1;
      },
      &enumerated, nullptr);
  std::vector<FwHashEntry*> walked;
  for (FwHashEntry& entry : entries(table))
    walked.push_back(&entry);
  EXPECT_EQ(5u, walked.size());
  EXPECT_EQ(enumerated, walked);
  FwHashFreeTable(&table);
}

TEST(FcppTable, ATableWithoutEntriesIsWalkedAtOnce) {
  FwHashTable* table = FwHashCreateTable(0, nullptr, nullptr);
  for (FwHashEntry& entry : entries(table))
    ADD_FAILURE() << entry.key;
  FwHashFreeTable(&table);
}

TEST(FcppTable, TheValueOfAKeyIsNullWithoutAnEntry) {
  Thing thing;
  FwHashTable* table = FwHashCreateTable(3, &FwHash_StringFunctions, nullptr);
  FwHashAddEntry(table, FWT("a"), &thing, nullptr);
  EXPECT_EQ(&thing, value_of<Thing>(table, FWT("a")));
  EXPECT_EQ(nullptr, value_of<Thing>(table, FWT("b")));
  FwHashFreeTable(&table);
}

TEST(FcppMake, ARecordStartsWithItsInitialisers) {
  auto* thing = make<Thing>();
  EXPECT_EQ(nullptr, thing->next);
  EXPECT_EQ(7, thing->n);
  FwMemFree(thing);
}

TEST(FcppArray, AnArrayGrowsAndKeepsItsValues) {
  const CountedBlocks blocks;
  Array<int32, 2> array;
  for (int32 i = 0; i < 100; ++i)
    array.add(i);
  EXPECT_EQ(100, array.count);
  EXPECT_EQ(128, array.room);
  int32 expected = 0;
  for (int32 value : array)
    EXPECT_EQ(expected++, value);
  EXPECT_EQ(100, expected);
  array.release();
  EXPECT_EQ(0, array.count);
  EXPECT_EQ(nullptr, array.list);
  EXPECT_EQ(0, blocks.live());
}

TEST(FcppArray, AValueOfTheArrayItselfCanBeAdded) {
  Array<int32, 1> array;
  array.add(5);
  array.add(array[0]);
  array.add(array.last());
  EXPECT_EQ((std::vector<int32>{5, 5, 5}), std::vector<int32>(array.begin(), array.end()));
  array.release();
}

TEST(FcppArray, AListOfAnotherOwnersIsCopiedAndLeftAlone) {
  int32 first[2] = {1, 2};
  Array<int32> array;
  array.list = first;
  array.count = 2;
  array.room = 2;
  array.grow(false);
  array.add(3);
  EXPECT_EQ((std::vector<int32>{1, 2, 3}), std::vector<int32>(array.begin(), array.end()));
  EXPECT_EQ(1, first[0]);
  array.release();
}

// The reference values of the 32-bit FNV-1a.
TEST(FcppHash, FnvGivesItsReferenceValues) {
  EXPECT_EQ(0x811c9dc5U, fnv_text(FWT("")));
  EXPECT_EQ(0xe40c292cU, fnv_text(FWT("a")));
  EXPECT_EQ(0xbf9cf968U, fnv_text(FWT("foobar")));
}
