#include "fwprog.h"

#include "fwmem.h"

const char _Fw_msg_Create_Progress_Handle[] = "Fw_msg_Create_Progress";
const char _Fw_msg_Progress_Handle[] = "Fw_msg_Progress";

namespace {

FwObj* FiProgress_method_Create(FwObj* pObj, const FwClassRecord* pClassRecord, uint32 total) {
  if (pObj == nullptr) pObj = FwClassAlloc(pClassRecord, ALLOC_MAY_FAIL);
  if (pObj == nullptr) return nullptr;
  auto* pCounter = static_cast<FwProgressCounter*>(pObj);
  pCounter->count = 0;
  pCounter->total = total;
  auto* pfnCreate = FwClassFindMethodAs<Fw_msg_Create_Fn>(_Fw_msg_Create_Handle,
                                                          FwProgressCounterClass.pSuperClassRecord);
  return pfnCreate(pObj, pClassRecord);
}

int32 FiProgress_method_Progress(FwObj* pObj, FwTextString filename) {
  if (filename != nullptr) ++static_cast<FwProgressCounter*>(pObj)->count;
  return 1;
}

const FwIntercept FiProgressMethods[] = {
    {_Fw_msg_Create_Progress_Handle, FwMethodOf(FiProgress_method_Create)},
    {_Fw_msg_Progress_Handle, FwMethodOf(FiProgress_method_Progress)},
    {nullptr, nullptr},
};

}  // namespace

const FwClassRecord FwProgressCounterClass = {FW_CLASS_COOKIE,           "ProgressCounterClass",
                                              sizeof(FwProgressCounter), &FwObjectClass,
                                              FiProgressMethods,         0};

FwObj* Fw_msg_Create_Progress(FwObj* obj, const FwClassRecord* pClassRecord, uint32 total) {
  auto* pfn =
      FwClassFindMethodAs<Fw_msg_Create_Progress_Fn>(_Fw_msg_Create_Progress_Handle, pClassRecord);
  return pfn != nullptr ? pfn(obj, pClassRecord, total) : nullptr;
}

int32 Fw_msg_Progress(FwObj* obj, FwTextString filename) {
  if (obj == nullptr) return 1;
  auto* pfn = FwClassFindMethodAs<Fw_msg_Progress_Fn>(_Fw_msg_Progress_Handle, FwClassOf(obj));
  return pfn != nullptr ? pfn(obj, filename) : 0;
}
