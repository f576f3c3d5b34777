#include "fwlist.h"

#include <cstddef>
#include <cstdint>

#include "vqassert.h"

static_assert(offsetof(FwListHead_t, lseHead) == 0);

namespace {

int32 gnTraceFlags;

bool TracesCalls() {
  return (gnTraceFlags & kFwListTraceCalls) != 0;
}

// The low 32 bits of an address, for the %x of the trace texts.
uint32 Low(const void* pv) {
  return static_cast<uint32>(reinterpret_cast<std::uintptr_t>(pv));
}

// Whether the sentinels are joined to the list's ends, and every entry's neighbour points back.
bool fFcListValid(pFwListHead_t plshList) {
  const pFwListEntry_t plseHead = &plshList->lseHead;
  const pFwListEntry_t plseTail = &plshList->lseTail;
  if (plseHead->plseNext == nullptr || plseHead->plsePrev != plseHead ||
      plseHead->plseNext->plsePrev != plseHead)
    return false;
  if (plseTail->plsePrev == nullptr || plseTail->plseNext != plseTail ||
      plseTail->plsePrev->plseNext != plseTail)
    return false;
  for (pFwListEntry_t plse = plseHead->plseNext; plse != plseTail; plse = plse->plseNext)
    if (plse->plseNext == nullptr || plse->plseNext->plsePrev != plse) return false;
  return true;
}

void Join(pFwListEntry_t plseFirst, pFwListEntry_t plseSecond) {
  plseFirst->plseNext = plseSecond;
  plseSecond->plsePrev = plseFirst;
}

void Insert(pFwListEntry_t plsePrev, pFwListEntry_t plseItem, pFwListEntry_t plseNext) {
  Join(plsePrev, plseItem);
  Join(plseItem, plseNext);
}

void Unlink(pFwListEntry_t plseItem) {
  Join(plseItem->plsePrev, plseItem->plseNext);
  plseItem->plseNext = plseItem->plsePrev = nullptr;
}

bool IsOnNoList(pFwListEntry_t plseItem) {
  return plseItem->plseNext == nullptr && plseItem->plsePrev == nullptr;
}

bool HasBothLinks(pFwListEntry_t plseItem) {
  return plseItem->plseNext != nullptr && plseItem->plsePrev != nullptr;
}

// An entry as the caller may see it: sentinels are turned into null.
pFwListEntry_t Visible(pFwListHead_t plshList, pFwListEntry_t plse) {
  return plse == &plshList->lseHead || plse == &plshList->lseTail ? nullptr : plse;
}

// The operations without their traces. A broken rule leaves everything as it is.

void InitHead(pFwListHead_t plshList) {
  if (!FwExpect(plshList != nullptr, "Tried to initialise list with NULL head pointer")) return;
  plshList->lseHead.plseNext = &plshList->lseTail;
  plshList->lseHead.plsePrev = &plshList->lseHead;
  plshList->lseTail.plseNext = &plshList->lseTail;
  plshList->lseTail.plsePrev = &plshList->lseHead;
  FwAssert(fFcListValid(plshList), "List has been corrupted");
}

void InitEntry(pFwListEntry_t plseItem) {
  if (!FwExpect(plseItem != nullptr, "Tried to initialise list entry with NULL item pointer"))
    return;
  plseItem->plseNext = plseItem->plsePrev = nullptr;
}

void Prepend(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  FwAssert(plshList != nullptr, "Tried to prepend list with NULL head pointer");
  FwAssert(plseItem != nullptr, "Tried to prepend list with NULL item pointer");
  if (plshList == nullptr || plseItem == nullptr) return;
  if (!FwExpect(IsOnNoList(plseItem), "Tried to prepend to list with new item already in list"))
    return;
  Insert(&plshList->lseHead, plseItem, plshList->lseHead.plseNext);
  FwAssert(fFcListValid(plshList), "FcListPrepend_: list has been corrupted");
}

void Append(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  FwAssert(plshList != nullptr, "Tried to append list with NULL head pointer");
  FwAssert(plseItem != nullptr, "Tried to append list with NULL item pointer");
  if (plshList == nullptr || plseItem == nullptr) return;
  if (!FwExpect(IsOnNoList(plseItem), "Tried to append to list with new item already in list"))
    return;
  Insert(plshList->lseTail.plsePrev, plseItem, &plshList->lseTail);
  FwAssert(fFcListValid(plshList), "List has been corrupted");
}

void InsertBefore(pFwListEntry_t plseExistingItem, pFwListEntry_t plseNewItem) {
  FwAssert(plseExistingItem != nullptr,
           "Tried to insert before in list with NULL existing item pointer");
  FwAssert(plseNewItem != nullptr, "Tried to insert before in list with NULL new item pointer");
  if (plseExistingItem == nullptr || plseNewItem == nullptr) return;
  FwAssert(HasBothLinks(plseExistingItem),
           "Tried to insert before in list with existing item not in list");
  FwAssert(IsOnNoList(plseNewItem), "Tried to insert before in list with new item already in list");
  if (!HasBothLinks(plseExistingItem) || !IsOnNoList(plseNewItem)) return;
  Insert(plseExistingItem->plsePrev, plseNewItem, plseExistingItem);
}

void InsertAfter(pFwListEntry_t plseExistingItem, pFwListEntry_t plseNewItem) {
  FwAssert(plseExistingItem != nullptr,
           "Tried to insert after in list with NULL existing item pointer");
  FwAssert(plseNewItem != nullptr, "Tried to insert after in list with NULL new item pointer");
  if (plseExistingItem == nullptr || plseNewItem == nullptr) return;
  FwAssert(HasBothLinks(plseExistingItem),
           "Tried to insert after in list with existing item not in list");
  // Kept, as the text of the output: it says "before", as its sibling's does.
  FwAssert(IsOnNoList(plseNewItem), "Tried to insert before in list with new item already in list");
  if (!HasBothLinks(plseExistingItem) || !IsOnNoList(plseNewItem)) return;
  Insert(plseExistingItem, plseNewItem, plseExistingItem->plseNext);
}

pFwListEntry_t GetFirst(pFwListHead_t plshList) {
  if (!FwExpect(plshList != nullptr, "Tried to get first item from list with NULL head pointer"))
    return nullptr;
  return Visible(plshList, plshList->lseHead.plseNext);
}

pFwListEntry_t GetLast(pFwListHead_t plshList) {
  if (!FwExpect(plshList != nullptr, "Tried to get last item from list with NULL head pointer"))
    return nullptr;
  return Visible(plshList, plshList->lseTail.plsePrev);
}

pFwListEntry_t GetNext(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  FwAssert(plshList != nullptr, "Tried to get next item from list with NULL head pointer");
  FwAssert(plseItem != nullptr, "Tried to get next item from list with NULL item pointer");
  if (plshList == nullptr || plseItem == nullptr) return nullptr;
  // Kept, as part of the interface: only plseNext tells whether the item is on a list at all,
  // plsePrev isn't looked at.
  FwAssert(plseItem->plseNext != nullptr, "Tried to get next item of item not in any list");
  const bool fInList = fFcListItemInList_(plshList, plseItem) != 0;
  FwAssert(fInList, "Tried to get next item from wrong list");
  return fInList ? Visible(plshList, plseItem->plseNext) : nullptr;
}

pFwListEntry_t GetPrevious(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  FwAssert(plshList != nullptr, "Tried to get previous item from list with NULL head pointer");
  FwAssert(plseItem != nullptr, "Tried to get previous item from list with NULL item pointer");
  if (plshList == nullptr || plseItem == nullptr) return nullptr;
  // Kept, as part of the interface: only plseNext tells whether the item is on a list at all,
  // plsePrev isn't looked at.
  FwAssert(plseItem->plseNext != nullptr, "Tried to get previous item of item not in any list");
  const bool fInList = fFcListItemInList_(plshList, plseItem) != 0;
  FwAssert(fInList, "Tried to get previous item from wrong list");
  return fInList ? Visible(plshList, plseItem->plsePrev) : nullptr;
}

pFwListEntry_t RemoveFirst(pFwListHead_t plshList) {
  if (!FwExpect(plshList != nullptr, "Tried to remove first item from list with NULL head pointer"))
    return nullptr;
  const pFwListEntry_t plseFirst = Visible(plshList, plshList->lseHead.plseNext);
  if (plseFirst != nullptr) Unlink(plseFirst);
  FwAssert(fFcListValid(plshList), "plseFwListRemoveFirst: list has been corrupted");
  return plseFirst;
}

pFwListEntry_t RemoveLast(pFwListHead_t plshList) {
  if (!FwExpect(plshList != nullptr, "Tried to remove last item from list with NULL head pointer"))
    return nullptr;
  const pFwListEntry_t plseLast = Visible(plshList, plshList->lseTail.plsePrev);
  if (plseLast != nullptr) Unlink(plseLast);
  FwAssert(fFcListValid(plshList), "plseFwListRemoveLast_: list has been corrupted");
  return plseLast;
}

void Remove(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  FwAssert(plshList != nullptr, "Tried to remove item from list with NULL head pointer");
  FwAssert(plseItem != nullptr, "Tried to remove item from list with NULL item pointer");
  if (plshList == nullptr || plseItem == nullptr) return;
  FwAssert(!IsOnNoList(plseItem), "Tried to remove entry already removed from list");
  if (FwExpect(fFcListItemInList_(plshList, plseItem) != 0, "Tried to remove item from wrong list"))
    Unlink(plseItem);
}

int32 ItemIsFirst(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  FwAssert(plshList != nullptr, "Tried to check list for first item with NULL head pointer");
  FwAssert(plseItem != nullptr, "Tried to check list for first item with NULL item pointer");
  if (plshList == nullptr || plseItem == nullptr) return 0;
  const bool fInList = fFcListItemInList_(plshList, plseItem) != 0;
  FwAssert(fInList, "Tried to check list for first item with item from wrong list");
  return fInList && plseItem->plsePrev == &plshList->lseHead;
}

int32 ItemIsLast(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  FwAssert(plshList != nullptr, "Tried to check list for last item with NULL head pointer");
  FwAssert(plseItem != nullptr, "Tried to check list for last item with NULL item pointer");
  if (plshList == nullptr || plseItem == nullptr) return 0;
  const bool fInList = fFcListItemInList_(plshList, plseItem) != 0;
  FwAssert(fInList, "Tried to check list for last item with item from wrong list");
  return fInList && plseItem->plseNext == &plshList->lseTail;
}

int32 ItemInList(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  FwAssert(plshList != nullptr, "Tried to search list with NULL head pointer");
  FwAssert(plseItem != nullptr, "Tried to search list with NULL item pointer");
  if (plshList == nullptr || plseItem == nullptr) return 0;
  for (pFwListEntry_t plse = plshList->lseHead.plseNext;
       plse != nullptr && plse != &plshList->lseTail; plse = plse->plseNext) {
    if (gnTraceFlags & kFwListTraceComparisons)
      FwTrace("fFwListItemInList: Comparing item with %x", Low(plse));
    if (plse == plseItem) return 1;
  }
  return 0;
}

int32 ElementValid(pFwListHead_t plshList, pFwListEntry_t plse) {
  FwAssert(plshList != nullptr, "Tried to check list for item with NULL head pointer");
  FwAssert(plse != nullptr, "Tried to check list for item with NULL list pointer");
  if (plshList == nullptr || plse == nullptr) return 0;
  const pFwListEntry_t plseNext = Visible(plshList, plse->plseNext);
  if (plseNext != nullptr && plseNext->plsePrev != plse) return 0;
  const pFwListEntry_t plsePrev = Visible(plshList, plse->plsePrev);
  return plsePrev == nullptr || plsePrev->plseNext == plse;
}

}  // namespace

void FwListSetTrace(int32 nFlags) {
  gnTraceFlags = nFlags & kFwListTrace ? nFlags : 0;
}

// Each operation between the traces of its entry and its exit.

void FcListInitHead_(pFwListHead_t plshList) {
  if (TracesCalls()) FwTrace("FcListInitHead_ entered: plshList %x", Low(plshList));
  InitHead(plshList);
  if (TracesCalls()) FwTrace("FcListInitHead_ exited");
}

void FcListInitEntry_(pFwListEntry_t plseItem) {
  if (TracesCalls()) FwTrace("FcListInitEntry_ entered: plseItem %x", Low(plseItem));
  InitEntry(plseItem);
  if (TracesCalls()) FwTrace("FcListInitEntry_ exited");
}

void FcListPrepend_(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  if (TracesCalls())
    FwTrace("FcListPrepend_ entered: plshList %x, plseItem %x", Low(plshList), Low(plseItem));
  Prepend(plshList, plseItem);
  if (TracesCalls()) FwTrace("FcListPrepend_ exited");
}

void FcListAppend_(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  if (TracesCalls())
    FwTrace("FcListAppend_ entered: plshList %x, plseItem %x", Low(plshList), Low(plseItem));
  Append(plshList, plseItem);
  if (TracesCalls()) FwTrace("FcListAppend_ exited");
}

void FcListInsertBefore_(pFwListEntry_t plseExistingItem, pFwListEntry_t plseNewItem) {
  if (TracesCalls())
    FwTrace("FcListInsertBefore_ entered: plseExistingItem %x, plseNewItem %x",
            Low(plseExistingItem), Low(plseNewItem));
  InsertBefore(plseExistingItem, plseNewItem);
  if (TracesCalls()) FwTrace("FcListInsertBefore_ exited");
}

void FcListInsertAfter_(pFwListEntry_t plseExistingItem, pFwListEntry_t plseNewItem) {
  if (TracesCalls())
    FwTrace("FcListInsertAfter_ entered: plseExistingItem %x, plseNewItem %x",
            Low(plseExistingItem), Low(plseNewItem));
  InsertAfter(plseExistingItem, plseNewItem);
  if (TracesCalls()) FwTrace("FcListInsertAfter_ exited");
}

pFwListEntry_t plseFcListGetFirst_(pFwListHead_t plshList) {
  if (TracesCalls()) FwTrace("plseFcListGetFirst_ entered: plshList %x", Low(plshList));
  const pFwListEntry_t plseFirst = GetFirst(plshList);
  // Kept, as the text of the output: another name of the operation.
  if (TracesCalls()) FwTrace("plseFwListGetFirst_ exited: plseFirst %x", Low(plseFirst));
  return plseFirst;
}

pFwListEntry_t plseFcListGetLast_(pFwListHead_t plshList) {
  if (TracesCalls()) FwTrace("plseFcListGetLast_ entered: plshList %x", Low(plshList));
  const pFwListEntry_t plseLast = GetLast(plshList);
  if (TracesCalls()) FwTrace("plseFcListGetLast_ exited: plseLast %x", Low(plseLast));
  return plseLast;
}

pFwListEntry_t plseFcListGetNext_(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  if (TracesCalls())
    FwTrace("plseFcListGetNext_ entered: plshList %x, plseItem %x", Low(plshList), Low(plseItem));
  const pFwListEntry_t plseNext = GetNext(plshList, plseItem);
  if (TracesCalls()) FwTrace("plseFcListGetNext_ exited: plseNext %x", Low(plseNext));
  return plseNext;
}

pFwListEntry_t plseFcListGetPrevious_(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  if (TracesCalls())
    FwTrace("plseFcListGetPrevious_ entered: plshList %x, plseItem %x", Low(plshList),
            Low(plseItem));
  const pFwListEntry_t plsePrev = GetPrevious(plshList, plseItem);
  if (TracesCalls()) FwTrace("plseFcListGetPrevious_ exited: plsePrev %x", Low(plsePrev));
  return plsePrev;
}

pFwListEntry_t plseFcListRemoveFirst_(pFwListHead_t plshList) {
  if (TracesCalls()) FwTrace("plseFcListRemoveFirst_ entered: plshList %x", Low(plshList));
  const pFwListEntry_t plseFirst = RemoveFirst(plshList);
  if (TracesCalls()) FwTrace("plseFcListRemoveFirst_ exited: plseFirst %x", Low(plseFirst));
  return plseFirst;
}

pFwListEntry_t plseFcListRemoveLast_(pFwListHead_t plshList) {
  if (TracesCalls()) FwTrace("plseFcListRemoveLast_ entered: plshList %x", Low(plshList));
  const pFwListEntry_t plseLast = RemoveLast(plshList);
  if (TracesCalls()) FwTrace("plseFcListRemoveLast_ exited: plseLast %x", Low(plseLast));
  return plseLast;
}

void FcListRemove_(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  if (TracesCalls())
    FwTrace("FcListRemove_ entered: plshList %x, plseItem %x", Low(plshList), Low(plseItem));
  Remove(plshList, plseItem);
  if (TracesCalls()) FwTrace("FcListRemove_ exited");
}

int32 fFcListItemIsFirst_(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  if (TracesCalls())
    FwTrace("fFcListItemIsFirst_ entered: plshList %x, plseItem %x", Low(plshList), Low(plseItem));
  const int32 fIsFirst = ItemIsFirst(plshList, plseItem);
  if (TracesCalls()) FwTrace("fFcListItemIsFirst_ exited: fIsFirst %x", fIsFirst);
  return fIsFirst;
}

int32 fFcListItemIsLast_(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  if (TracesCalls())
    FwTrace("fFcListItemIsLast_ entered: plshList %x, plseItem %x", Low(plshList), Low(plseItem));
  const int32 fIsLast = ItemIsLast(plshList, plseItem);
  if (TracesCalls()) FwTrace("fFcListItemIsLast_ exited: fIsLast %x", fIsLast);
  return fIsLast;
}

int32 fFcListItemInList_(pFwListHead_t plshList, pFwListEntry_t plseItem) {
  if (TracesCalls())
    FwTrace("fFcListItemInList_ entered: plshList %x, plseItem %x", Low(plshList), Low(plseItem));
  const int32 fInList = ItemInList(plshList, plseItem);
  if (TracesCalls()) FwTrace("fFcListItemInList_ exited: fInList %x", fInList);
  return fInList;
}

int32 fFcListElementValid_(pFwListHead_t plshList, pFwListEntry_t plse) {
  // Kept, as the text of the output: another name of the operation, and without the list.
  if (TracesCalls()) FwTrace("fFwListElementValid entered: plse %x", Low(plse));
  const int32 fValid = ElementValid(plshList, plse);
  if (TracesCalls()) FwTrace("fFwListElementValid exited: fValid %x", fValid);
  return fValid;
}
