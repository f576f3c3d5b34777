#include "fwlist.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "recorder.h"

namespace {

struct FwList : testing::Test {
  FwList() { FcListInitHead_(&head); }
  ~FwList() override { FwListSetTrace(0); }

  // The items by their numbers, read forward; the same is checked backward.
  std::vector<int> Items(Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    std::vector<int> forward, backward;
    for (pFwListEntry_t p = plseFcListGetFirst_(&head); p; p = plseFcListGetNext_(&head, p))
      forward.push_back(static_cast<int>(p - items));
    for (pFwListEntry_t p = plseFcListGetLast_(&head); p; p = plseFcListGetPrevious_(&head, p))
      backward.insert(backward.begin(), static_cast<int>(p - items));
    EXPECT_EQ(forward, backward);
    return forward;
  }

  void Fill(int n) {
    for (int i = 0; i < n; ++i)
      FcListAppend_(&head, &items[i]);
  }

  FwListHead_t head;
  FwListHead_t other;
  FwListEntry_t items[6];
};

using Numbers = std::vector<int>;

std::string Hex(const void* pv) {
  char text[16];
  std::snprintf(text, sizeof text, "%x", static_cast<uint32>(reinterpret_cast<std::uintptr_t>(pv)));
  return text;
}

TEST_F(FwList, ANewHeadHasItsSentinelsJoined) {
  EXPECT_EQ(&head.lseTail, head.lseHead.plseNext);
  EXPECT_EQ(&head.lseHead, head.lseHead.plsePrev);
  EXPECT_EQ(&head.lseTail, head.lseTail.plseNext);
  EXPECT_EQ(&head.lseHead, head.lseTail.plsePrev);
  EXPECT_EQ(static_cast<void*>(&head), static_cast<void*>(&head.lseHead));
}

TEST_F(FwList, ANewHeadIsEmptyAndStaysValid) {
  EXPECT_EQ(nullptr, plseFcListGetFirst_(&head));
  EXPECT_EQ(nullptr, plseFcListGetLast_(&head));
  EXPECT_EQ(nullptr, plseFcListRemoveFirst_(&head));
  EXPECT_EQ(nullptr, plseFcListRemoveLast_(&head));
  EXPECT_EQ(Numbers(), Items());
}

TEST_F(FwList, ASingleItemIsFirstAndLastAndHasNoNeighbours) {
  FcListPrepend_(&head, &items[0]);
  EXPECT_EQ(&items[0], plseFcListGetFirst_(&head));
  EXPECT_EQ(&items[0], plseFcListGetLast_(&head));
  EXPECT_EQ(1, fFcListItemIsFirst_(&head, &items[0]));
  EXPECT_EQ(1, fFcListItemIsLast_(&head, &items[0]));
  EXPECT_EQ(nullptr, plseFcListGetNext_(&head, &items[0]));
  EXPECT_EQ(nullptr, plseFcListGetPrevious_(&head, &items[0]));
  EXPECT_EQ(1, fFcListElementValid_(&head, &items[0]));
}

TEST_F(FwList, PrependAppendAndInsertPutItemsWhereTheyBelong) {
  FcListAppend_(&head, &items[2]);
  FcListPrepend_(&head, &items[0]);
  FcListInsertAfter_(&items[0], &items[1]);
  FcListAppend_(&head, &items[4]);
  FcListInsertBefore_(&items[4], &items[3]);
  FcListInsertAfter_(&items[4], &items[5]);
  EXPECT_EQ((Numbers{0, 1, 2, 3, 4, 5}), Items());
  EXPECT_EQ(1, fFcListItemIsFirst_(&head, &items[0]));
  EXPECT_EQ(0, fFcListItemIsFirst_(&head, &items[1]));
  EXPECT_EQ(1, fFcListItemIsLast_(&head, &items[5]));
  EXPECT_EQ(0, fFcListItemIsLast_(&head, &items[4]));
}

TEST_F(FwList, RemoveTakesItemsFromEndsAndMiddle) {
  Fill(5);
  EXPECT_EQ(&items[0], plseFcListRemoveFirst_(&head));
  EXPECT_EQ(&items[4], plseFcListRemoveLast_(&head));
  FcListRemove_(&head, &items[2]);
  EXPECT_EQ((Numbers{1, 3}), Items());
  for (int i : {0, 2, 4}) {
    SCOPED_TRACE(i);
    EXPECT_EQ(nullptr, items[i].plseNext);
    EXPECT_EQ(nullptr, items[i].plsePrev);
  }
}

TEST_F(FwList, ARemovedItemMayBeAddedAgain) {
  Fill(2);
  FcListRemove_(&head, &items[0]);
  FcListPrepend_(&head, &items[0]);
  EXPECT_EQ((Numbers{0, 1}), Items());
}

TEST_F(FwList, InitEntryNullsBothLinks) {
  items[0] = {&items[1], &items[2]};
  FcListInitEntry_(&items[0]);
  EXPECT_EQ(nullptr, items[0].plseNext);
  EXPECT_EQ(nullptr, items[0].plsePrev);
}

TEST_F(FwList, ItemOnAnotherListIsNotInThisOne) {
  FcListInitHead_(&other);
  FcListAppend_(&other, &items[0]);
  Fill(0);
  EXPECT_EQ(0, fFcListItemInList_(&head, &items[0]));
  EXPECT_EQ(1, fFcListItemInList_(&other, &items[0]));
  EXPECT_EQ(0, fFcListItemInList_(&other, &items[1]));
}

TEST_F(FwList, AddingAnItemThatIsListedAssertsAndChangesNothing) {
  Fill(2);
  ExpectAsserts expected({
      "Tried to prepend to list with new item already in list",
      "Tried to append to list with new item already in list",
      "Tried to insert before in list with new item already in list",
      "Tried to insert before in list with new item already in list",
  });
  FcListPrepend_(&head, &items[1]);
  FcListAppend_(&head, &items[0]);
  FcListInsertBefore_(&items[0], &items[1]);
  FcListInsertAfter_(&items[1], &items[0]);
  EXPECT_EQ((Numbers{0, 1}), Items());
}

TEST_F(FwList, InsertingBesideAnItemThatIsNotListedAsserts) {
  ExpectAsserts expected({
      "Tried to insert before in list with existing item not in list",
      "Tried to insert after in list with existing item not in list",
  });
  FcListInsertBefore_(&items[0], &items[1]);
  FcListInsertAfter_(&items[0], &items[1]);
  EXPECT_EQ(nullptr, items[1].plseNext);
}

TEST_F(FwList, OperationsOnAnItemOfAnotherListAssert) {
  FcListInitHead_(&other);
  FcListAppend_(&other, &items[0]);
  ExpectAsserts expected({
      "Tried to get next item from wrong list",
      "Tried to get previous item from wrong list",
      "Tried to remove item from wrong list",
      "Tried to check list for first item with item from wrong list",
      "Tried to check list for last item with item from wrong list",
  });
  EXPECT_EQ(nullptr, plseFcListGetNext_(&head, &items[0]));
  EXPECT_EQ(nullptr, plseFcListGetPrevious_(&head, &items[0]));
  FcListRemove_(&head, &items[0]);
  EXPECT_EQ(0, fFcListItemIsFirst_(&head, &items[0]));
  EXPECT_EQ(0, fFcListItemIsLast_(&head, &items[0]));
  EXPECT_EQ(&items[0], plseFcListGetFirst_(&other));
}

TEST_F(FwList, OperationsOnAnItemOfNoListAssertThatFirst) {
  ExpectAsserts expected({
      "Tried to get next item of item not in any list",
      "Tried to get next item from wrong list",
      "Tried to get previous item of item not in any list",
      "Tried to get previous item from wrong list",
      "Tried to remove entry already removed from list",
      "Tried to remove item from wrong list",
  });
  EXPECT_EQ(nullptr, plseFcListGetNext_(&head, &items[0]));
  EXPECT_EQ(nullptr, plseFcListGetPrevious_(&head, &items[0]));
  FcListRemove_(&head, &items[0]);
}

TEST_F(FwList, GetNextLooksAtTheNextLinkAloneForMembership) {
  // With only the next link set the item passes as one of some list.
  items[0].plseNext = &items[1];
  ExpectAsserts expected(
      {"Tried to get next item from wrong list", "Tried to get previous item from wrong list"});
  EXPECT_EQ(nullptr, plseFcListGetNext_(&head, &items[0]));
  EXPECT_EQ(nullptr, plseFcListGetPrevious_(&head, &items[0]));
}

TEST_F(FwList, EachOperationHasItsOwnTextForANullHead) {
  ExpectAsserts expected({
      "Tried to initialise list with NULL head pointer",
      "Tried to prepend list with NULL head pointer",
      "Tried to append list with NULL head pointer",
      "Tried to get first item from list with NULL head pointer",
      "Tried to get last item from list with NULL head pointer",
      "Tried to get next item from list with NULL head pointer",
      "Tried to get previous item from list with NULL head pointer",
      "Tried to remove first item from list with NULL head pointer",
      "Tried to remove last item from list with NULL head pointer",
      "Tried to remove item from list with NULL head pointer",
      "Tried to check list for first item with NULL head pointer",
      "Tried to check list for last item with NULL head pointer",
      "Tried to search list with NULL head pointer",
      "Tried to check list for item with NULL head pointer",
  });
  FcListInitHead_(nullptr);
  FcListPrepend_(nullptr, &items[0]);
  FcListAppend_(nullptr, &items[0]);
  EXPECT_EQ(nullptr, plseFcListGetFirst_(nullptr));
  EXPECT_EQ(nullptr, plseFcListGetLast_(nullptr));
  EXPECT_EQ(nullptr, plseFcListGetNext_(nullptr, &items[0]));
  EXPECT_EQ(nullptr, plseFcListGetPrevious_(nullptr, &items[0]));
  EXPECT_EQ(nullptr, plseFcListRemoveFirst_(nullptr));
  EXPECT_EQ(nullptr, plseFcListRemoveLast_(nullptr));
  FcListRemove_(nullptr, &items[0]);
  EXPECT_EQ(0, fFcListItemIsFirst_(nullptr, &items[0]));
  EXPECT_EQ(0, fFcListItemIsLast_(nullptr, &items[0]));
  EXPECT_EQ(0, fFcListItemInList_(nullptr, &items[0]));
  EXPECT_EQ(0, fFcListElementValid_(nullptr, &items[0]));
}

TEST_F(FwList, EachOperationHasItsOwnTextForANullItem) {
  ExpectAsserts expected({
      "Tried to initialise list entry with NULL item pointer",
      "Tried to prepend list with NULL item pointer",
      "Tried to append list with NULL item pointer",
      "Tried to insert before in list with NULL existing item pointer",
      "Tried to insert before in list with NULL new item pointer",
      "Tried to insert after in list with NULL existing item pointer",
      "Tried to insert after in list with NULL new item pointer",
      "Tried to get next item from list with NULL item pointer",
      "Tried to get previous item from list with NULL item pointer",
      "Tried to remove item from list with NULL item pointer",
      "Tried to check list for first item with NULL item pointer",
      "Tried to check list for last item with NULL item pointer",
      "Tried to search list with NULL item pointer",
      "Tried to check list for item with NULL list pointer",
  });
  FcListInitEntry_(nullptr);
  FcListPrepend_(&head, nullptr);
  FcListAppend_(&head, nullptr);
  FcListInsertBefore_(nullptr, &items[0]);
  FcListInsertBefore_(&items[0], nullptr);
  FcListInsertAfter_(nullptr, &items[0]);
  FcListInsertAfter_(&items[0], nullptr);
  EXPECT_EQ(nullptr, plseFcListGetNext_(&head, nullptr));
  EXPECT_EQ(nullptr, plseFcListGetPrevious_(&head, nullptr));
  FcListRemove_(&head, nullptr);
  EXPECT_EQ(0, fFcListItemIsFirst_(&head, nullptr));
  EXPECT_EQ(0, fFcListItemIsLast_(&head, nullptr));
  EXPECT_EQ(0, fFcListItemInList_(&head, nullptr));
  EXPECT_EQ(0, fFcListElementValid_(&head, nullptr));
}

TEST_F(FwList, ChangesAtAnEndFindACorruptedList) {
  Fill(3);
  items[1].plsePrev = &items[1];  // no more the first item's neighbour
  ExpectAsserts expected({
      "FcListPrepend_: list has been corrupted",
      "List has been corrupted",
      "plseFwListRemoveFirst: list has been corrupted",
      "plseFwListRemoveLast_: list has been corrupted",
  });
  FcListPrepend_(&head, &items[3]);
  FcListAppend_(&head, &items[4]);
  EXPECT_EQ(&items[3], plseFcListRemoveFirst_(&head));
  EXPECT_EQ(&items[4], plseFcListRemoveLast_(&head));
}

TEST_F(FwList, ADisturbedSentinelIsFound) {
  for (pFwListEntry_t* pplse : {&head.lseHead.plsePrev, &head.lseTail.plseNext}) {
    FcListInitHead_(&head);
    *pplse = &items[5];
    ExpectAsserts expected({"FcListPrepend_: list has been corrupted"});
    FcListInitEntry_(&items[0]);
    FcListPrepend_(&head, &items[0]);
  }
}

TEST_F(FwList, ElementIsValidIfItsNeighboursPointBack) {
  Fill(3);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(1, fFcListElementValid_(&head, &items[i])) << i;
  items[2].plsePrev = nullptr;
  EXPECT_EQ(0, fFcListElementValid_(&head, &items[1]));
  items[2].plsePrev = &items[1];
  items[0].plseNext = &items[2];
  EXPECT_EQ(0, fFcListElementValid_(&head, &items[1]));
  // Sentinels count as absent: that the tail does not point back is not looked at.
  head.lseTail.plsePrev = nullptr;
  EXPECT_EQ(1, fFcListElementValid_(&head, &items[2]));
}

TEST_F(FwList, SetTraceWithoutItsFirstBitTracesNothing) {
  ExpectTraces none({});
  for (int32 nFlags : {0, 2, 4, 6}) {
    SCOPED_TRACE(nFlags);
    FwListSetTrace(nFlags);
    FcListInitHead_(&head);
    EXPECT_EQ(0, fFcListItemInList_(&head, &items[0]));
  }
}

TEST_F(FwList, SetTraceOf5TracesComparisonsOnly) {
  Fill(3);
  ExpectTraces traces({"fFwListItemInList: Comparing item with " + Hex(&items[0]),
                       "fFwListItemInList: Comparing item with " + Hex(&items[1])});
  FwListSetTrace(5);
  EXPECT_EQ(1, fFcListItemInList_(&head, &items[1]));
}

TEST_F(FwList, SetTraceOf3TracesEntriesAndExitsOfWhatFillsAList) {
  const std::string list = Hex(&head), a = Hex(&items[0]), b = Hex(&items[1]);
  ExpectTraces traces({
      "FcListInitHead_ entered: plshList " + list,
      "FcListInitHead_ exited",
      "FcListInitEntry_ entered: plseItem " + a,
      "FcListInitEntry_ exited",
      "FcListPrepend_ entered: plshList " + list + ", plseItem " + a,
      "FcListPrepend_ exited",
      "FcListAppend_ entered: plshList " + list + ", plseItem " + b,
      "FcListAppend_ exited",
  });
  FwListSetTrace(3);
  FcListInitHead_(&head);
  FcListInitEntry_(&items[0]);
  FcListPrepend_(&head, &items[0]);
  FcListAppend_(&head, &items[1]);
}

TEST_F(FwList, SetTraceOf3TracesEntriesAndExitsOfQuestions) {
  Fill(2);
  const std::string list = Hex(&head), a = Hex(&items[0]), b = Hex(&items[1]);
  const std::string search_a = "fFcListItemInList_ entered: plshList " + list + ", plseItem " + a;
  const std::string found = "fFcListItemInList_ exited: fInList 1";
  ExpectTraces traces({
      "plseFcListGetFirst_ entered: plshList " + list,
      "plseFwListGetFirst_ exited: plseFirst " + a,
      "plseFcListGetLast_ entered: plshList " + list,
      "plseFcListGetLast_ exited: plseLast " + b,
      "plseFcListGetNext_ entered: plshList " + list + ", plseItem " + a,
      search_a,
      found,
      "plseFcListGetNext_ exited: plseNext " + b,
      "plseFcListGetPrevious_ entered: plshList " + list + ", plseItem " + a,
      search_a,
      found,
      "plseFcListGetPrevious_ exited: plsePrev 0",
      "fFcListItemIsFirst_ entered: plshList " + list + ", plseItem " + a,
      search_a,
      found,
      "fFcListItemIsFirst_ exited: fIsFirst 1",
      "fFcListItemIsLast_ entered: plshList " + list + ", plseItem " + a,
      search_a,
      found,
      "fFcListItemIsLast_ exited: fIsLast 0",
      "fFwListElementValid entered: plse " + a,
      "fFwListElementValid exited: fValid 1",
  });
  FwListSetTrace(3);
  plseFcListGetFirst_(&head);
  plseFcListGetLast_(&head);
  plseFcListGetNext_(&head, &items[0]);
  plseFcListGetPrevious_(&head, &items[0]);
  fFcListItemIsFirst_(&head, &items[0]);
  fFcListItemIsLast_(&head, &items[0]);
  fFcListElementValid_(&head, &items[0]);
}

TEST_F(FwList, SetTraceOf3TracesEntriesAndExitsOfWhatMovesItems) {
  Fill(2);
  const std::string list = Hex(&head), a = Hex(&items[0]), b = Hex(&items[1]);
  ExpectTraces traces({
      "plseFcListRemoveFirst_ entered: plshList " + list,
      "plseFcListRemoveFirst_ exited: plseFirst " + a,
      "FcListInsertBefore_ entered: plseExistingItem " + b + ", plseNewItem " + a,
      "FcListInsertBefore_ exited",
      "plseFcListRemoveLast_ entered: plshList " + list,
      "plseFcListRemoveLast_ exited: plseLast " + b,
      "FcListInsertAfter_ entered: plseExistingItem " + a + ", plseNewItem " + b,
      "FcListInsertAfter_ exited",
      "FcListRemove_ entered: plshList " + list + ", plseItem " + a,
      "fFcListItemInList_ entered: plshList " + list + ", plseItem " + a,
      "fFcListItemInList_ exited: fInList 1",
      "FcListRemove_ exited",
  });
  FwListSetTrace(3);
  plseFcListRemoveFirst_(&head);
  FcListInsertBefore_(&items[1], &items[0]);
  plseFcListRemoveLast_(&head);
  FcListInsertAfter_(&items[0], &items[1]);
  FcListRemove_(&head, &items[0]);
}

}  // namespace
