#include "fwobserv.h"

#include "fcclass.h"
#include "fcobserv.h"
#include "fcpp.h"
#include "fwmem.h"
#include "vqassert.h"

FwHashTable* fiObservationsByField[kFiFields];
FiObservationScan* fiObservationScans;
int32 fiObserveCritical;
int32 fiObserveInitialised;

void FiObservationScanStart(FiObservationScan* pScan, uint32 nField, FiObservation* pFirst) {
  *pScan = {fiObservationScans, pFirst, nField, 0};
  fiObservationScans = pScan;
}

void FiObservationScanNext(FiObservationScan* pScan) {
  if (pScan->fSkipped != 0)
    pScan->fSkipped = 0;
  else
    pScan->pObservation = pScan->pObservation->apNextByField[pScan->nField];
}

void FiObservationScanEnd(FiObservationScan* pScan) {
  FiObservationScan** ppLink = &fiObservationScans;
  while (*ppLink != nullptr && *ppLink != pScan)
    ppLink = &(*ppLink)->pNext;
  if (FwExpect(*ppLink != nullptr, "pScan not on list")) *ppLink = pScan->pNext;
}

namespace {

void* KeyOf(const FwClassRecord* pClassRecord) {
  return const_cast<FwClassRecord*>(pClassRecord);
}

const FwClassRecord* ChangeClassOf(const FiObservation* pObservation) {
  return static_cast<const FwClassRecord*>(pObservation->aContentsOfField[kFiChangeClass]);
}

// The head of the list of a key, or null.
FiObservation* ListOf(uint32 nField, void* key) {
  FwHashEntry* pEntry = FwHashLookupEntry(fiObservationsByField[nField], key, nullptr);
  return pEntry == nullptr ? nullptr : static_cast<FiObservation*>(pEntry->value);
}

void Initialise() {
  for (FwHashTable*& pTable : fiObservationsByField) {
    pTable = FwHashCreateTable(0, nullptr, nullptr);
    if (pTable == nullptr) FwMemExitMemoryExhausted();
  }
  fiObserveInitialised = 1;
}

void LinkAtHead(uint32 nField, FiObservation* pObservation) {
  FwHashTable* pTable = fiObservationsByField[nField];
  void* key = pObservation->aContentsOfField[nField];
  FwHashEntry* pEntry = FwHashLookupEntry(pTable, key, nullptr);
  if (pEntry == nullptr) {
    if (FwHashAddEntry(pTable, key, pObservation, nullptr) == nullptr) FwMemExitMemoryExhausted();
    return;
  }
  auto* pOldHead = static_cast<FiObservation*>(pEntry->value);
  pObservation->apNextByField[nField] = pOldHead;
  pOldHead->apPrevByField[nField] = pObservation;
  pEntry->value = pObservation;
}

void FiObservationScansSkip(FiObservation* pObservation) {
  for (FiObservationScan* pScan = fiObservationScans; pScan != nullptr; pScan = pScan->pNext) {
    if (pScan->pObservation == pObservation) {
      pScan->pObservation = pObservation->apNextByField[pScan->nField];
      pScan->fSkipped = 1;
    }
  }
}

// Takes an observation out of one list; its own links stay. pKnown is the list's entry in the
// table, null if it must be looked up.
void Unlink(uint32 nField, FiObservation* pObservation, FwHashEntry* pKnown) {
  FiObservation* pNext = pObservation->apNextByField[nField];
  FiObservation* pPrev = pObservation->apPrevByField[nField];
  FwHashTable* pTable = fiObservationsByField[nField];
  void* key = pObservation->aContentsOfField[nField];
  bool intact = true;
  if (pPrev == nullptr && pNext == nullptr) {
    intact = FwHashRemoveEntry(pTable, key, nullptr) != 0;
  } else if (pPrev == nullptr) {
    FwHashEntry* pEntry = pKnown != nullptr ? pKnown : FwHashLookupEntry(pTable, key, nullptr);
    intact = pEntry != nullptr;
    if (intact) pEntry->value = pNext;
  } else {
    pPrev->apNextByField[nField] = pNext;
  }
  if (pNext != nullptr) pNext->apPrevByField[nField] = pPrev;
  FwAssert(intact, "Observation database corrupt");
}

// Whether every argument after the one whose list is walked equals its field, unless it is null.
bool MatchesAfter(uint32 nField, const FiObservation* pObservation, void* const* arguments) {
  for (uint32 i = nField + 1; i < kFiFields; i++) {
    if (arguments[i] != nullptr && arguments[i] != pObservation->aContentsOfField[i]) return false;
  }
  return true;
}

// Calls the release functions, the last observation ended first.
void Release(FiObservation* pReleased) {
  while (pReleased != nullptr) {
    FiObservation* pObservation = pReleased;
    pReleased = pObservation->apPrevByField[0];
    if (pObservation->pRelease != nullptr) {
      pObservation->pRelease(pObservation->aContentsOfField[kFiObserver],
                             pObservation->aContentsOfField[kFiSubject],
                             ChangeClassOf(pObservation), pObservation->pContext);
    }
    FwMemFree(pObservation);
  }
}

FwObj* FcChangeMembers_method_CreateWith(FwObj* pObj, const FwClassRecord* pClassRecord,
                                         void* pElement) {
  if (!FwExpect(pObj != nullptr, "Changes should allocated on stack")) return nullptr;
  auto* create = FcSuperMethod<Fw_msg_Create_Fn>(_Fw_msg_Create_Handle, FwChangeMembersClass);
  FwObj* pCreated = create(pObj, pClassRecord);
  if (!FwExpect(pCreated != nullptr, "create failed")) return nullptr;
  static_cast<FwChangeMembers*>(pObj)->pElement = pElement;
  return pObj;
}

const FwIntercept FcChangeMethods[] = {
    {nullptr, nullptr},
};

const FwIntercept FcChangeMembersMethods[] = {
    {_Fw_msg_CreateWith_Handle, FwMethodOf(FcChangeMembers_method_CreateWith)},
    {_Fw_msg_Create_Handle, nullptr},
    {nullptr, nullptr},
};

template <class Change>
void NotifyWith(void* pSubject, const FwClassRecord& changeClass, void* pElement) {
  Change change;
  Fw_msg_CreateWith(&change, &changeClass, pElement);
  FwNotify(pSubject, &change);
}

}  // namespace

const char _Fw_msg_CreateWith_Handle[] = "Fw_msg_CreateWith";

const FwClassRecord FwChangeClass = {FW_CLASS_COOKIE, "ChangeClass",   sizeof(FwChange),
                                     &FwObjectClass,  FcChangeMethods, FW_CLASS_NON_HEAP};
const FwClassRecord FwChangeMembersClass = {FW_CLASS_COOKIE,         "ChangeMembersClass",
                                            sizeof(FwChangeMembers), &FwChangeClass,
                                            FcChangeMembersMethods,  FW_CLASS_NON_HEAP};
const FwClassRecord FwChangeMemberShipClass = {
    FW_CLASS_COOKIE, "ChangeMemberShipClass", sizeof(FwChangeMemberShip), &FwChangeMembersClass,
    nullptr,         FW_CLASS_NON_HEAP};
const FwClassRecord FwChangeAddClass = {
    FW_CLASS_COOKIE,          "ChangeAddClass", sizeof(FwChangeAdd),
    &FwChangeMemberShipClass, nullptr,          FW_CLASS_NON_HEAP};
const FwClassRecord FwChangeCreateClass = {
    FW_CLASS_COOKIE, "ChangeCreateClass", sizeof(FwChangeCreate), &FwChangeAddClass,
    nullptr,         FW_CLASS_NON_HEAP};
const FwClassRecord FwChangeRenameClass = {
    FW_CLASS_COOKIE, "ChangeRenameClass", sizeof(FwChangeRename), &FwChangeMemberShipClass,
    nullptr,         FW_CLASS_NON_HEAP};
const FwClassRecord FwChangeRemoveClass = {
    FW_CLASS_COOKIE, "ChangeRemoveClass", sizeof(FwChangeRemove), &FwChangeMemberShipClass,
    nullptr,         FW_CLASS_NON_HEAP};
const FwClassRecord FwChangeDestroyClass = {
    FW_CLASS_COOKIE, "ChangeDestroyClass", sizeof(FwChangeDestroy), &FwChangeRemoveClass,
    nullptr,         FW_CLASS_NON_HEAP};
// Kept, as the text of the output: the printable name is that of another class. Nothing is looked
// up by it.
const FwClassRecord FwChangeMemberValueClass = {
    FW_CLASS_COOKIE, "ChangeMemberShipClass", sizeof(FwChangeMemberValue), &FwChangeMembersClass,
    nullptr,         FW_CLASS_NON_HEAP};

FwObj* Fw_msg_CreateWith(FwObj* pObj, const FwClassRecord* pClassRecord, void* pElement) {
  auto* method = FwClassFindMethodAs<Fw_msg_CreateWith_Fn>(_Fw_msg_CreateWith_Handle, pClassRecord);
  return method == nullptr ? nullptr : method(pObj, pClassRecord, pElement);
}

void FwObserveStart(void* pObserver, void* pSubject, const FwClassRecord* pChangeClass,
                    FwNotifyCallback* pCallback, void* pContext, FwObserveEndCallback* pRelease) {
  if (!FwExpect(fiObserveCritical == 0, "FwObserv reentry from critical region")) return;
  if (!FwExpect(pObserver != nullptr && pSubject != nullptr && pChangeClass != nullptr &&
                    pCallback != nullptr,
                "NULL"))
    return;
  if (!FwExpect(FcIsClass(pChangeClass), "Not a class")) return;

  if (fiObserveInitialised == 0) Initialise();
  for (FiObservation* p = ListOf(kFiSubject, pSubject); p != nullptr;
       p = p->apNextByField[kFiSubject]) {
    if (p->aContentsOfField[kFiObserver] == pObserver && ChangeClassOf(p) == pChangeClass &&
        p->pCallback == pCallback && p->pContext == pContext)
      return;
  }

  auto* pObservation = make<FiObservation>();
  pObservation->aContentsOfField[kFiObserver] = pObserver;
  pObservation->aContentsOfField[kFiSubject] = pSubject;
  pObservation->aContentsOfField[kFiChangeClass] = KeyOf(pChangeClass);
  pObservation->pCallback = pCallback;
  pObservation->pContext = pContext;
  pObservation->pRelease = pRelease;
  fiObserveCritical++;
  for (uint32 nField = 0; nField < kFiFields; nField++)
    LinkAtHead(nField, pObservation);
  fiObserveCritical--;
}

void FwObserveEnd(void* pObserver, void* pSubject, const FwClassRecord* pChangeClass) {
  if (!FwExpect(fiObserveCritical == 0, "FwObserv reentry from critical region") ||
      fiObserveInitialised == 0)
    return;
  void* const arguments[kFiFields] = {pObserver, pSubject, KeyOf(pChangeClass)};
  uint32 nField = 0;
  while (nField < kFiFields && arguments[nField] == nullptr)
    nField++;
  if (!FwExpect(nField < kFiFields, "FwObserveEnd all arguments NULL")) return;
  FwHashEntry* pList = FwHashLookupEntry(fiObservationsByField[nField], arguments[nField], nullptr);
  if (pList == nullptr) return;

  FiObservation* pReleased = nullptr;
  fiObserveCritical++;
  FiObservation* pNext;
  for (auto* p = static_cast<FiObservation*>(pList->value); p != nullptr; p = pNext) {
    pNext = p->apNextByField[nField];
    if (!MatchesAfter(nField, p, arguments)) continue;
    FiObservationScansSkip(p);
    for (uint32 i = 0; i < kFiFields; i++)
      Unlink(i, p, i == nField ? pList : nullptr);
    p->apPrevByField[0] = pReleased;
    pReleased = p;
  }
  fiObserveCritical--;
  // Outside the critical region: a release function may use the service.
  Release(pReleased);
}

void FwObserveEndDestroyed(void* pDestroyed) {
  FwObserveEnd(nullptr, pDestroyed, nullptr);
  FwObserveEnd(pDestroyed, nullptr, nullptr);
}

void FwNotify(void* pSubject, FwObj* pChange) {
  if (!FwExpect(fiObserveCritical == 0, "FwObserv reentry from critical region")) return;
  if (!FwExpect(pSubject != nullptr && pChange != nullptr, "NULL") || fiObserveInitialised == 0)
    return;
  FiObservation* pFirst = ListOf(kFiSubject, pSubject);
  if (pFirst == nullptr) return;
  FiObservationScan scan;
  FiObservationScanStart(&scan, kFiSubject, pFirst);
  while (scan.pObservation != nullptr) {
    FiObservation* p = scan.pObservation;
    if (Fw_msg_classInheritsFrom(pChange, ChangeClassOf(p)) != 0)
      p->pCallback(p->aContentsOfField[kFiObserver], pSubject, pChange, p->pContext);
    FiObservationScanNext(&scan);
  }
  FiObservationScanEnd(&scan);
}

void FwNotifyChange(void* pSubject) {
  FwChange change;
  Fw_msg_Create(&change, &FwChangeClass);
  FwNotify(pSubject, &change);
}

void FwNotifyChangeMembers(void* pSubject, void* pElement) {
  NotifyWith<FwChangeMembers>(pSubject, FwChangeMembersClass, pElement);
}

void FwNotifyChangeMemberShip(void* pSubject, void* pElement) {
  NotifyWith<FwChangeMemberShip>(pSubject, FwChangeMemberShipClass, pElement);
}

void FwNotifyChangeAdd(void* pSubject, void* pElement) {
  NotifyWith<FwChangeAdd>(pSubject, FwChangeAddClass, pElement);
}

void FwNotifyChangeCreate(void* pSubject, void* pElement) {
  NotifyWith<FwChangeCreate>(pSubject, FwChangeCreateClass, pElement);
}

void FwNotifyChangeRemove(void* pSubject, void* pElement) {
  NotifyWith<FwChangeRemove>(pSubject, FwChangeRemoveClass, pElement);
}

void FwNotifyChangeDestroy(void* pSubject, void* pElement) {
  NotifyWith<FwChangeDestroy>(pSubject, FwChangeDestroyClass, pElement);
}

void FwNotifyChangeRename(void* pSubject, FwTextString pOldName, FwTextString pNewName) {
  FwAssert(pOldName != nullptr, "old name is NULL in FwNotifyChangeRename");
  FwAssert(pNewName != nullptr, "new name is NULL in FwNotifyChangeRename");
  FwChangeRename change;
  Fw_msg_CreateWith(&change, &FwChangeRenameClass, pOldName);
  change.pOldName = pOldName;
  change.pNewName = pNewName;
  FwNotify(pSubject, &change);
}

void FwNotifyChangeMemberValue(void* pSubject, void* pElement, FwValueChange* pValueChange) {
  FwAssert(pValueChange != nullptr && pValueChange->pNewValue != nullptr &&
               pValueChange->pNewValue->type >= 1 &&
               (pValueChange->pOldValue == nullptr || pValueChange->pOldValue->type >= 1),
           "Error: Uninitialised ChangeValue fields");
  FwChangeMemberValue change;
  Fw_msg_CreateWith(&change, &FwChangeMemberValueClass, pElement);
  change.pValueChange = pValueChange;
  FwNotify(pSubject, &change);
}
