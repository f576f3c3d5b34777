// The base of all streams, and the senders of the messages that any stream may get.
#include "fcclass.h"
#include "fwmem.h"
#include "fwstream/streams.h"
#include "vqassert.h"

namespace {

FwObj* Refuse(FwObj* pObj, FwErrorState* pErrState, FwError* pError) {
  SetStreamError(pErrState, pError);
  // Kept, as part of the interface: the instance goes even if it came from the caller.
  FwMemFree(pObj);
  return nullptr;
}

FwObj* FcStreamCore_method_Create(FwObj* pObj, const FwClassRecord* pClassRecord,
                                  FwErrorState* pErrState, uint32 openFlags,
                                  FwObj* pUnderlyingStream) {
  if (pObj == nullptr) {
    pObj = FwClassAlloc(pClassRecord, ALLOC_MUST_SUCCEED);
    if (pObj == nullptr) return nullptr;
  }
  if (!FwExpect((openFlags & FW_OPEN_RDWR) == 0,
                "Cannot support readable and writable streams for now"))
    return Refuse(pObj, pErrState, fwErrorNumericValue);
  if (!FwExpect(pErrState != nullptr, "Cannot have NULL ErrorState")) {
    FwMemFree(pObj);
    return nullptr;
  }

  FwStreamCore* pStream = Core(pObj);
  pStream->fEOF = 0;
  pStream->fError = 0;
  pStream->openFlags = static_cast<uint16>(openFlags);
  if (pUnderlyingStream != nullptr) {
    if (Fw_msg_classInheritsFrom(pUnderlyingStream, &FwStreamCoreClass) == 0 ||
        Core(pUnderlyingStream)->fEOF != 0 || Core(pUnderlyingStream)->fError != 0)
      return Refuse(pObj, pErrState, fwErrorPointer);
    if (Core(pUnderlyingStream)->openFlags != openFlags)
      return Refuse(pObj, pErrState, fwErrorNumericValue);
  }
  pStream->pUnderlyingStream = pUnderlyingStream;
  pStream->reentrancy = 0;
  auto* create = FcSuperMethod<Fw_msg_Create_Fn>(_Fw_msg_Create_Handle, FwStreamCoreClass);
  if (create(pObj, pClassRecord) == nullptr) FwMemExitMemoryExhausted();
  return pObj;
}

int32 FcStreamCore_method_Destroy(FwObj* pObj, FwErrorState* pErrState,
                                  int32 fDestroyUnderlyingStream) {
  int32 fDone = 1;
  FwObj* pUnderlyingStream = Core(pObj)->pUnderlyingStream;
  if (fDestroyUnderlyingStream != 0 && pUnderlyingStream != nullptr)
    fDone = Fw_msg_StreamDestroy(pUnderlyingStream, pErrState, 1);
  FcSuperMethod<Fw_msg_Destroy_Fn>(_Fw_msg_Destroy_Handle, FwStreamCoreClass)(pObj);
  return fDone;
}

const FwIntercept FcStreamCoreMethods[] = {
    {_Fw_msg_CreateStreamCore_Handle, FwMethodOf(FcStreamCore_method_Create)},
    {_Fw_msg_StreamDestroy_Handle, FwMethodOf(FcStreamCore_method_Destroy)},
    {_Fw_msg_StreamRead_Handle, nullptr},
    {_Fw_msg_StreamWrite_Handle, nullptr},
    {_Fw_msg_StreamSeek_Handle, nullptr},
    {_Fw_msg_StreamExtent_Handle, nullptr},
    {nullptr, nullptr},
};

}  // namespace

const char _Fw_msg_CreateStreamCore_Handle[] = "Fw_msg_CreateStreamCore";
const char _Fw_msg_StreamRead_Handle[] = "Fw_msg_StreamRead";
const char _Fw_msg_StreamWrite_Handle[] = "Fw_msg_StreamWrite";
const char _Fw_msg_StreamSeek_Handle[] = "Fw_msg_StreamSeek";
const char _Fw_msg_StreamExtent_Handle[] = "Fw_msg_StreamExtent";
const char _Fw_msg_StreamDestroy_Handle[] = "Fw_msg_StreamDestroy";

const FwClassRecord FwStreamCoreClass = {FW_CLASS_COOKIE, "StreamCoreClass",   sizeof(FwStreamCore),
                                         &FwObjectClass,  FcStreamCoreMethods, 0};

int32 Fw_msg_StreamRead(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
  auto* method =
      FwClassFindMethodAs<Fw_msg_StreamRead_Fn>(_Fw_msg_StreamRead_Handle, FwClassOf(pObj));
  return method == nullptr ? -1 : method(pObj, pErrState, buffer, size);
}

int32 Fw_msg_StreamWrite(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
  auto* method =
      FwClassFindMethodAs<Fw_msg_StreamWrite_Fn>(_Fw_msg_StreamWrite_Handle, FwClassOf(pObj));
  return method == nullptr ? -1 : method(pObj, pErrState, buffer, size);
}

int32 Fw_msg_StreamSeek(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset, uint32 From) {
  auto* method =
      FwClassFindMethodAs<Fw_msg_StreamSeek_Fn>(_Fw_msg_StreamSeek_Handle, FwClassOf(pObj));
  return method == nullptr ? 0 : method(pObj, pErrState, pOffset, From);
}

int32 Fw_msg_StreamExtent(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset) {
  auto* method =
      FwClassFindMethodAs<Fw_msg_StreamExtent_Fn>(_Fw_msg_StreamExtent_Handle, FwClassOf(pObj));
  return method == nullptr ? 0 : method(pObj, pErrState, pOffset);
}

int32 Fw_msg_StreamDestroy(FwObj* pObj, FwErrorState* pErrState, int32 fCloseUnderlyingStream) {
  if (!FwExpect(pObj != nullptr, "NULL Object passed to Fw_msg_StreamDestroy")) return 0;
  auto* method =
      FwClassFindMethodAs<Fw_msg_StreamDestroy_Fn>(_Fw_msg_StreamDestroy_Handle, FwClassOf(pObj));
  return method == nullptr ? 0 : method(pObj, pErrState, fCloseUnderlyingStream);
}

int32 Fw_msg_IsStreamAtEOF(FwObj* pObj) {
  return Core(pObj)->fEOF;
}

int32 Fw_msg_IsStreamError(FwObj* pObj) {
  return Core(pObj)->fError;
}
