// Streams at the bottom of a stack: the abstract one, and the one on a file.
#include "fcclass.h"
#include "fwmem.h"
#include "fwstream/streams.h"
#include "vqassert.h"

namespace {

FwObj* FcStreamIO_method_Create(FwObj* pObj, const FwClassRecord* pClassRecord,
                                FwErrorState* pErrState, uint32 openFlags) {
  FwObj* pNew = pObj;
  if (pNew == nullptr) pNew = FwClassAlloc(pClassRecord, ALLOC_MUST_SUCCEED);
  auto* create =
      FcSuperMethod<Fw_msg_CreateStreamCore_Fn>(_Fw_msg_CreateStreamCore_Handle, FwStreamIOClass);
  // Kept, as the defined result: the superclass gets the memory given, not the new one.
  if (create(pObj, pClassRecord, pErrState, openFlags, nullptr) == nullptr)
    FwMemExitMemoryExhausted();
  return pNew;
}

const FwIntercept FcStreamIOMethods[] = {
    {_Fw_msg_CreateStreamIO_Handle, FwMethodOf(FcStreamIO_method_Create)},
    {_Fw_msg_StreamRead_Handle, nullptr},
    {_Fw_msg_StreamWrite_Handle, nullptr},
    {_Fw_msg_StreamSeek_Handle, nullptr},
    {_Fw_msg_StreamExtent_Handle, nullptr},
    {nullptr, nullptr},
};

FwStreamIOFile* File(FwObj* pObj) {
  return static_cast<FwStreamIOFile*>(pObj);
}

// A handle that is not open is refused by the file operations, too: the stream then is in error.
bool IsOpen(FwObj* pObj) {
  return File(pObj)->handle != FW_FILE_INVALID;
}

FwObj* FcStreamIOFile_method_Create(FwObj* pObj, const FwClassRecord* pClassRecord,
                                    FwErrorState* pErrState, uint32 openFlags,
                                    FwTextString ptbzFilename) {
  if (!FwExpect(pErrState != nullptr, "Cannot use NULL ErrorState")) return nullptr;
  if (pObj == nullptr) {
    pObj = FwClassAlloc(pClassRecord, ALLOC_MUST_SUCCEED);
    if (pObj == nullptr) return nullptr;
  }
  File(pObj)->handle = FW_FILE_INVALID;
  auto* create =
      FcSuperMethod<Fw_msg_CreateStreamIO_Fn>(_Fw_msg_CreateStreamIO_Handle, FwStreamIOFileClass);
  create(pObj, pClassRecord, pErrState, openFlags);
  File(pObj)->handle = FwFileOpen(pErrState, ptbzFilename, openFlags);
  if (!IsOpen(pObj)) {
    FcSuperMethod<Fw_msg_StreamDestroy_Fn>(_Fw_msg_StreamDestroy_Handle, FwStreamIOFileClass)(
        pObj, pErrState, 0);
    return nullptr;
  }
  return pObj;
}

int32 FcStreamIOFile_method_Destroy(FwObj* pObj, FwErrorState* pErrState,
                                    int32 fCloseUnderlyingStream) {
  const int32 fClosed = FwFileClose(pErrState, File(pObj)->handle);
  auto* destroy =
      FcSuperMethod<Fw_msg_StreamDestroy_Fn>(_Fw_msg_StreamDestroy_Handle, FwStreamIOFileClass);
  const int32 fDestroyed = destroy(pObj, pErrState, fCloseUnderlyingStream);
  return fClosed != 0 && fDestroyed != 0 ? 1 : 0;
}

int32 FcStreamIOFile_method_Read(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
  FwStreamIOFile* pFile = File(pObj);
  if (pFile->fError != 0) return -1;
  if (pFile->fEOF != 0) return 0;
  FwAssert(IsOpen(pObj), "stream is inconsistant");
  const uint32 cbRead = FwFileRead(pErrState, pFile->handle, buffer, TransferSize(size));
  if (cbRead > 0) return static_cast<int32>(cbRead);
  // A null state fails the read as well.
  if (pErrState == nullptr || pErrState->pError != nullptr) {
    pFile->fError = 1;
    return -1;
  }
  pFile->fEOF = 1;
  return 0;
}

int32 FcStreamIOFile_method_Write(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size) {
  FwStreamIOFile* pFile = File(pObj);
  if (pFile->fError != 0) return -1;
  if (size == 0) return 0;
  FwAssert(IsOpen(pObj), "stream is inconsistant");
  const uint32 cbWritten = FwFileWrite(pErrState, pFile->handle, buffer, TransferSize(size));
  if (cbWritten == 0 && (pErrState == nullptr || pErrState->pError != nullptr)) {
    pFile->fError = 1;
    return -1;
  }
  return static_cast<int32>(cbWritten);
}

int32 FcStreamIOFile_method_Seek(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset,
                                 uint32 From) {
  FwStreamIOFile* pFile = File(pObj);
  FwAssert(IsOpen(pObj), "stream is inconsistant");
  if (FwFileSeek(pErrState, pFile->handle, pOffset, From) == 0) {
    pFile->fError = 1;
    return 0;
  }
  if (From == FW_SEEK_SET && Vq32x2Sign(pOffset) == 0) pFile->fEOF = 0;
  return 1;
}

int32 FcStreamIOFile_method_Extent(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset) {
  return FwFileExtent(pErrState, File(pObj)->handle, pOffset);
}

const FwIntercept FcStreamIOFileMethods[] = {
    {_Fw_msg_CreateStreamIOFile_Handle, FwMethodOf(FcStreamIOFile_method_Create)},
    {_Fw_msg_StreamDestroy_Handle, FwMethodOf(FcStreamIOFile_method_Destroy)},
    {_Fw_msg_StreamRead_Handle, FwMethodOf(FcStreamIOFile_method_Read)},
    {_Fw_msg_StreamWrite_Handle, FwMethodOf(FcStreamIOFile_method_Write)},
    {_Fw_msg_StreamSeek_Handle, FwMethodOf(FcStreamIOFile_method_Seek)},
    {_Fw_msg_StreamExtent_Handle, FwMethodOf(FcStreamIOFile_method_Extent)},
    {nullptr, nullptr},
};

}  // namespace

const char _Fw_msg_CreateStreamIO_Handle[] = "Fw_msg_CreateStreamIO";
const char _Fw_msg_CreateStreamIOFile_Handle[] = "Fw_msg_CreateStreamIOFile";

const FwClassRecord FwStreamIOClass = {FW_CLASS_COOKIE,    "StreamIOClass",   sizeof(FwStreamIO),
                                       &FwStreamCoreClass, FcStreamIOMethods, 0};
const FwClassRecord FwStreamIOFileClass = {FW_CLASS_COOKIE,        "StreamIOFileClass",
                                           sizeof(FwStreamIOFile), &FwStreamIOClass,
                                           FcStreamIOFileMethods,  0};

FwObj* Fw_msg_CreateStreamIOFile(const FwClassRecord* pClassRecord, FwErrorState* pErrState,
                                 uint32 openFlags, FwTextString ptbzFilename) {
  auto* method = FwClassFindMethodAs<Fw_msg_CreateStreamIOFile_Fn>(
      _Fw_msg_CreateStreamIOFile_Handle, pClassRecord);
  return method == nullptr ? nullptr
                           : method(nullptr, pClassRecord, pErrState, openFlags, ptbzFilename);
}
