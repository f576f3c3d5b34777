// Intrusive doubly linked list between two sentinels, heavily checked.
//
// An entry is embedded in the record that is to be listed; an entry on no list has both links null.
// The sentinels live in the list head and mark the ends by linking to themselves:
//
//        lseHead                 item                  lseTail
//      +----------+ plseNext  +----------+ plseNext  +----------+
//   +--|          |---------->|          |---------->|          |--+
//   |  |          |<----------|          |<----------|          |  |
//   +->+----------+ plsePrev  +----------+ plsePrev  +----------+<-+
//     plsePrev = itself                             plseNext = itself
//
// Callers never see a sentinel: an operation that meets one answers null.
//
//   for (pFwListEntry_t plse = plseFcListGetFirst_(&head); plse != nullptr;
//        plse = plseFcListGetNext_(&head, plse)) ...
//
// The list serves debugging, so it looks before it acts: the operations that take a head and an
// item search the list for the item, which makes the loop above quadratic, and those that change an
// end walk the whole list afterwards. A broken rule is asserted with a text of the operation's own,
//   "Tried to prepend list with NULL head pointer"
//   "Tried to prepend list with NULL item pointer"
//   "Tried to prepend to list with new item already in list"
// and nothing is changed then; a query answers null or 0.
#ifndef FWLIST_H
#define FWLIST_H

#include "vqtypes.h"

struct FwListEntry_t {
  FwListEntry_t* plseNext = nullptr;
  FwListEntry_t* plsePrev = nullptr;
};

struct FwListHead_t {
  FwListEntry_t lseHead;
  FwListEntry_t lseTail;
};

using pFwListEntry_t = FwListEntry_t*;
using pFwListHead_t = FwListHead_t*;

// What the operations trace: kFwListTrace switches tracing on, the others choose.
inline constexpr int32 kFwListTrace = 1;
inline constexpr int32 kFwListTraceCalls = 2;        // entry and exit of every operation
inline constexpr int32 kFwListTraceComparisons = 4;  // each comparison of fFcListItemInList_

// Sets the flags; without kFwListTrace all are cleared.
void FwListSetTrace(int32 nFlags);

// Makes the list empty.
void FcListInitHead_(pFwListHead_t plshList);

// Makes the item one that is on no list.
void FcListInitEntry_(pFwListEntry_t plseItem);

// Make the item the first or the last. It must be on no list.
void FcListPrepend_(pFwListHead_t plshList, pFwListEntry_t plseItem);
void FcListAppend_(pFwListHead_t plshList, pFwListEntry_t plseItem);

// Put the new item, which must be on no list, beside one that is on a list.
void FcListInsertBefore_(pFwListEntry_t plseExistingItem, pFwListEntry_t plseNewItem);
void FcListInsertAfter_(pFwListEntry_t plseExistingItem, pFwListEntry_t plseNewItem);

// The first or last item, null if the list is empty.
pFwListEntry_t plseFcListGetFirst_(pFwListHead_t plshList);
pFwListEntry_t plseFcListGetLast_(pFwListHead_t plshList);

// The neighbour of an item of this list, null at the end. Time is proportional to the length.
pFwListEntry_t plseFcListGetNext_(pFwListHead_t plshList, pFwListEntry_t plseItem);
pFwListEntry_t plseFcListGetPrevious_(pFwListHead_t plshList, pFwListEntry_t plseItem);

// Take the first or last item off the list and return it, null if the list is empty.
pFwListEntry_t plseFcListRemoveFirst_(pFwListHead_t plshList);
pFwListEntry_t plseFcListRemoveLast_(pFwListHead_t plshList);

// Takes an item off the list; it may be added again.
void FcListRemove_(pFwListHead_t plshList, pFwListEntry_t plseItem);

// 1 if the item, which must be on this list, is the first or the last.
int32 fFcListItemIsFirst_(pFwListHead_t plshList, pFwListEntry_t plseItem);
int32 fFcListItemIsLast_(pFwListHead_t plshList, pFwListEntry_t plseItem);

// 1 if the item is on this list. Only its address is used.
int32 fFcListItemInList_(pFwListHead_t plshList, pFwListEntry_t plseItem);

// 1 if the item's neighbours point back at it. Follows the item's links, so they must be sound
// pointers.
int32 fFcListElementValid_(pFwListHead_t plshList, pFwListEntry_t plse);

#endif
