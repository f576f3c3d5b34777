#include "fwclass.h"

#include "fcclass.h"
#include "fwmem.h"
#include "fwobserv.h"
#include "vqassert.h"

namespace {

struct FwMessageCacheEntry {
  const FwClassRecord* pClassRecord;  // the class that the search began from; null: empty
  const FwIntercept* pIntercept;
};

constexpr uint32 kCacheSize = 512;
constexpr uint32 kCacheMask = kCacheSize - 1;
constexpr uint32 kCacheWays = 4;

// Never invalidated, the method tables being constant.
FwMessageCacheEntry messageCache[kCacheSize];

// Spreads replacement over the ways.
uint32 offset;

uint32 Address(const void* p) {
  return static_cast<uint32>(reinterpret_cast<std::uintptr_t>(p));
}

const FwIntercept* FindInCache(uint32 hash, FwMessageID messageID,
                               const FwClassRecord* pClassRecord) {
  for (uint32 way = 0; way < kCacheWays; way++) {
    const FwMessageCacheEntry& entry = messageCache[(hash - way) & kCacheMask];
    if (entry.pClassRecord == pClassRecord && entry.pIntercept->messageID == messageID)
      return entry.pIntercept;
  }
  return nullptr;
}

const FwIntercept* FindInTables(FwMessageID messageID, const FwClassRecord* pClassRecord) {
  for (; pClassRecord != nullptr; pClassRecord = pClassRecord->pSuperClassRecord) {
    const FwIntercept* pRow = pClassRecord->pMethodTable;
    if (pRow == nullptr) continue;
    for (; pRow->messageID != nullptr; pRow++) {
      if (pRow->messageID == messageID) return pRow;
    }
  }
  return nullptr;
}

void Remember(uint32 hash, const FwClassRecord* pClassRecord, const FwIntercept* pIntercept) {
  offset += hash + 1;
  offset += offset >> 8;
  offset += offset >> 4;
  offset += offset >> 2;
  FwMessageCacheEntry& entry = messageCache[(hash - (offset & (kCacheWays - 1))) & kCacheMask];
  if (entry.pClassRecord == nullptr) fcCacheUsed++;
  entry = {pClassRecord, pIntercept};
}

FwObj* FcObject_method_Create(FwObj* pObj, const FwClassRecord* pClassRecord) {
  if (pObj == nullptr) {
    pObj = FwClassAlloc(pClassRecord, ALLOC_MAY_FAIL);
    if (pObj == nullptr) return nullptr;
  }
  static_cast<FwObject*>(pObj)->pClassRecord = pClassRecord;
  return pObj;
}

void FcObject_method_Destroy(FwObj* pObj) {
  const FwClassRecord* pClassRecord = FwClassOf(pObj);
  const auto address = reinterpret_cast<std::uintptr_t>(pObj);
  if ((pClassRecord->flags & FW_CLASS_NON_HEAP) == 0) FwMemFree(pObj);
  // Kept, as part of the interface: the memory is gone before anyone hears of it, so no observer
  // can hold on to the object. From here on the address is only a value.
  FwObj* pGone = reinterpret_cast<FwObj*>(address);
  FwNotifyChangeDestroy(const_cast<FwClassRecord*>(pClassRecord), pGone);
  FwObserveEndDestroyed(pGone);
}

int32 FcObject_method_classInheritsFrom(FwObj* pObj, const FwClassRecord* pClass) {
  for (const FwClassRecord* pRecord = FwClassOf(pObj); pRecord != nullptr;
       pRecord = pRecord->pSuperClassRecord) {
    if (pRecord == pClass) return 1;
  }
  return 0;
}

const FwIntercept FcObjectClassMethods[] = {
    {_Fw_msg_Create_Handle, FwMethodOf(FcObject_method_Create)},
    {_Fw_msg_Destroy_Handle, FwMethodOf(FcObject_method_Destroy)},
    {_Fw_msg_classInheritsFrom_Handle, FwMethodOf(FcObject_method_classInheritsFrom)},
    {nullptr, nullptr},
};

}  // namespace

const char _Fw_msg_Create_Handle[] = "Fw_msg_Create";
const char _Fw_msg_Destroy_Handle[] = "Fw_msg_Destroy";
const char _Fw_msg_classInheritsFrom_Handle[] = "Fw_msg_classInheritsFrom";

const FwClassRecord FwObjectClass = {FW_CLASS_COOKIE, "ObjectClass",        sizeof(FwObject),
                                     nullptr,         FcObjectClassMethods, 0};

uint32 fcCacheUsed;
uint32 fcCacheHits;
uint32 fcCacheMisses;

FwObj* FwClassAlloc(const FwClassRecord* pClassRecord, uint32 AllocFlag) {
  if (!FwExpect(FcIsClass(pClassRecord), "Not a class")) return nullptr;
  if (!FwExpect((pClassRecord->flags & FW_CLASS_NON_HEAP) == 0,
                "No memory provided for non heap object"))
    return nullptr;
  return FwMemAlloc(static_cast<uint32>(pClassRecord->nBytesInInstance), AllocFlag | INIT_ZERO);
}

FwMethod* FwClassFindMethod(FwMessageID messageID, const FwClassRecord* pClassRecord) {
  if (!FwExpect(FcIsClass(pClassRecord), "Not a class")) return nullptr;

  uint32 hash = Address(pClassRecord) + Address(messageID);
  hash += hash >> 18;
  hash += hash >> 9;
  const FwIntercept* pIntercept = FindInCache(hash, messageID, pClassRecord);
  if (pIntercept != nullptr) {
    fcCacheHits++;
  } else {
    fcCacheMisses++;
    pIntercept = FindInTables(messageID, pClassRecord);
    if (!FwExpect(pIntercept != nullptr, "Message not found")) return nullptr;
    Remember(hash, pClassRecord, pIntercept);
  }
  FwAssert(pIntercept->method != nullptr, "Class prohibits message");
  return pIntercept->method;
}

FwObj* Fw_msg_Create(FwObj* pObj, const FwClassRecord* pClassRecord) {
  auto* method = FwClassFindMethodAs<Fw_msg_Create_Fn>(_Fw_msg_Create_Handle, pClassRecord);
  return method == nullptr ? nullptr : method(pObj, pClassRecord);
}

void Fw_msg_Destroy(FwObj* pObj) {
  auto* method = FwClassFindMethodAs<Fw_msg_Destroy_Fn>(_Fw_msg_Destroy_Handle, FwClassOf(pObj));
  if (method != nullptr) method(pObj);
}

int32 Fw_msg_classInheritsFrom(FwObj* pObj, const FwClassRecord* pClass) {
  auto* method = FwClassFindMethodAs<Fw_msg_classInheritsFrom_Fn>(_Fw_msg_classInheritsFrom_Handle,
                                                                  FwClassOf(pObj));
  return method == nullptr ? 0 : method(pObj, pClass);
}
