// Copying, renaming and deleting files.

#include <iterator>

#include "fcboot.h"
#include "fcfile.h"
#include "fcpp.h"
#include "fpfile.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwfile/coerce.h"
#include "fwfile/validate.h"
#include "fwmem.h"
#include "fwstring.h"
#include "vqassert.h"

namespace {

constexpr uint32 kCopyBlock = 65536;
constexpr uint32 kCopyLocal = 4096;  // when memory is short

// A copy under way. Both names are absolute.
struct CopyJob {
  FwErrorState* pErrState;
  FwTextString ptbzOld;
  FwTextString ptbzNew;
  uint32 flags;
  FwFileInfo info;  // of the source
  void* pBuffer;
  uint32 cbBuffer;
  FwFile source = FW_FILE_INVALID;
  FwFile target = FW_FILE_INVALID;
  bool fDelete = false;  // a failure from now on leaves no target
};

bool LookAtSource(CopyJob* pJob) {
  if (!FwFileGetInfo(pJob->pErrState, pJob->ptbzOld, &pJob->info, 0)) return false;
  if (pJob->info.type == FW_FILE_TYPE_FILE) return true;
  FwErrorSet(pJob->pErrState, fwErrorOperationDenied, 0);
  return false;
}

bool ClearTarget(CopyJob* pJob) {
  LocalError err;
  if (!FwFileGetInfo(&err, pJob->ptbzNew, nullptr, 0)) return true;
  // Where it can't be told whether the target is the source, nothing is deleted.
  if ((pJob->flags & FW_FILE_OVERWRITE) &&
      !FwFilenamesReferToSameFile(&err, pJob->ptbzOld, pJob->ptbzNew) && !err.failed())
    return FwFileDelete(pJob->pErrState, pJob->ptbzNew, 0);
  FwErrorSet(pJob->pErrState, fwErrorAlreadyExists, 2, FWT("File"), pJob->ptbzNew);
  return false;
}

bool HasSpace(CopyJob* pJob) {
  const OwnedText directory(FwStrNDuplicate(
      pJob->ptbzNew, static_cast<int>(FwFileSkipToLeafname(pJob->ptbzNew) - pJob->ptbzNew)));
  FwFileDiskFreeInfo diskfree;
  if (!FwFileDiskFree(pJob->pErrState, directory, &diskfree)) return false;
  VqU32x2 total;
  for (VqU32x2& size : pJob->info.size)
    VqU32x2Add(&total, &total, &size);
  if (VqU32x2Compare(&total, &diskfree.free) < 0) return true;
  FwErrorSet(pJob->pErrState, fwErrorDiskFull, 1, FWT("File"));
  return false;
}

bool WriteBlock(CopyJob* pJob, uint32 cb) {
  FwErrorState* pErrState = pJob->pErrState;
  uint32 cbDone = 0;
  // A short count without an error: what is left is tried again, and then fails.
  while (cbDone < cb && !pErrState->pError)
    cbDone += FwFileWrite(pErrState, pJob->target, static_cast<uint8*>(pJob->pBuffer) + cbDone,
                          cb - cbDone);
  return !pErrState->pError;
}

bool CopyBlocks(CopyJob* pJob) {
  FwErrorState* pErrState = pJob->pErrState;
  uint32 cb;
  do {
    cb = FwFileRead(pErrState, pJob->source, pJob->pBuffer, pJob->cbBuffer);
    if (pErrState->pError || !WriteBlock(pJob, cb)) return false;
    if (FcAppTickle(0, 1)) {
      FwErrorSet(pErrState, fwErrorAbort, 0);
      return false;
    }
  } while (cb == pJob->cbBuffer);
  return true;
}

bool Close(FwErrorState* pErrState, FwFile* pFile) {
  const FwFile file = *pFile;
  *pFile = FW_FILE_INVALID;
  return FwFileClose(pErrState, file);
}

bool CopyForks(CopyJob* pJob) {
  FwErrorState* pErrState = pJob->pErrState;
  FwFileOpenExtras sourceExtras = fcFileOpenExtrasDefault;
  FwFileOpenExtras targetExtras = fcFileOpenExtrasDefault;
  FpFileInitOpenExtrasFromInfo(&targetExtras, &pJob->info);
  for (uint32 nFork = 0; nFork < std::size(pJob->info.size); ++nFork) {
    sourceExtras.nFork = targetExtras.nFork = nFork;
    pJob->source = FwFileOpenExtended(pErrState, pJob->ptbzOld, FW_OPEN_RDONLY | FW_OPEN_COPYSOURCE,
                                      &sourceExtras);
    if (pJob->source < 0) {
      if (nFork == 0 || !Fw_msg_IsDescendant(fwErrorNonExistent, pErrState->pError)) return false;
      FwErrorClear(pErrState);
      break;
    }
    pJob->target =
        FwFileOpenExtended(pErrState, pJob->ptbzNew, FW_OPEN_WRONLY | FW_OPEN_CREAT, &targetExtras);
    if (pJob->target < 0) return false;
    pJob->fDelete = true;
    if (!CopyBlocks(pJob) || !Close(pErrState, &pJob->source) || !Close(pErrState, &pJob->target))
      return false;
  }
  return true;
}

// Deletes what the copy has made. Through a link that led nowhere it has made the file that the
// link names, so that goes, and the link stays as it was.
void DeleteTarget(FwErrorState* pErrState, FwTextString ptbzNew) {
  FwFileInfo info;
  OwnedText followed;
  if (FwFileGetInfo(pErrState, ptbzNew, &info, FW_INFO_NOFOLLOW) && info.type == FW_FILE_TYPE_LINK)
    followed.reset(realpath_UTF8(ptbzNew));
  FwErrorClear(pErrState);
  FwFileDelete(pErrState, followed ? followed.get() : ptbzNew, 0);
}

// Leaves nothing half-done behind. What goes wrong here is not the caller's business.
void CleanUp(CopyJob* pJob) {
  LocalError err;
  if (pJob->source >= 0) Close(&err, &pJob->source);
  err.clear();
  if (pJob->target >= 0) Close(&err, &pJob->target);
  err.clear();
  if (pJob->fDelete) DeleteTarget(&err, pJob->ptbzNew);
}

int32 CopyGenerically(CopyJob* pJob) {
  // The modified time isn't copied: the copy has the time of its writing.
  if (LookAtSource(pJob) && ClearTarget(pJob) && HasSpace(pJob) && CopyForks(pJob) &&
      FwFileSetInfo(pJob->pErrState, pJob->ptbzNew, &pJob->info,
                    FW_INFO_ATTRIBUTES | FW_INFO_ACCESS_TIME)) {
    pJob->fDelete = false;
    return 1;
  }
  CleanUp(pJob);
  return 0;
}

int32 CopyAbsolute(FwErrorState* pErrState, FwTextString ptbzOld, FwTextString ptbzNew,
                   uint32 flags) {
  const int32 nNative = FpFileCopy(pErrState, ptbzOld, ptbzNew, flags);
  if (nNative != 2) return nNative;
  uint8 local[kCopyLocal];
  void* pAllocated = FwMemAlloc(kCopyBlock, ALLOC_MAY_FAIL | INIT_NONE);
  CopyJob job = {.pErrState = pErrState,
                 .ptbzOld = ptbzOld,
                 .ptbzNew = ptbzNew,
                 .flags = flags,
                 .info = {},
                 .pBuffer = pAllocated ? pAllocated : local,
                 .cbBuffer = pAllocated ? kCopyBlock : kCopyLocal};
  const int32 fSuccess = CopyGenerically(&job);
  if (pAllocated) FwMemFree(pAllocated);
  return fSuccess;
}

// Takes both names through the gate and calls fn with their absolute forms.
template <class Fn>
int32 WithAbsoluteNames(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                        uint32 kinds, Fn fn) {
  const FiCoercedName absoluteOld(pErrState, ptbzOldname, kinds);
  if (!absoluteOld) return 0;
  const FiCoercedName absoluteNew(pErrState, ptbzNewname, kinds);
  return absoluteNew ? fn(absoluteOld, absoluteNew) : 0;
}

// Whether a name has the form that fits what it denotes.
bool FormFits(FwTextString ptbzName, const FwFileInfo& info) {
  return (FwFileEndsWithSeparator(ptbzName) != nullptr) == (info.type == FW_FILE_TYPE_DIRECTORY);
}

// Whether the new name is the very file that a link, the old name, leads to. The link in its place
// would lead to itself, and the file would be gone.
bool IsLinkOntoItsTarget(FwTextString ptbzOld, const FwFileInfo& followed, FwTextString ptbzNew) {
  LocalError err;
  FwFileInfo oldInfo;
  FwFileInfo newInfo;
  return FwFileGetInfo(&err, ptbzNew, &newInfo, FW_INFO_NOFOLLOW) &&
         FpFileIdOf(newInfo) == FpFileIdOf(followed) &&
         FwFileGetInfo(&err, ptbzOld, &oldInfo, FW_INFO_NOFOLLOW) &&
         oldInfo.type == FW_FILE_TYPE_LINK;
}

bool MayRename(FwErrorState* pErrState, FwTextString ptbzOld, FwTextString ptbzNew, uint32 flags) {
  if ((FwFileEndsWithSeparator(ptbzOld) != nullptr) !=
      (FwFileEndsWithSeparator(ptbzNew) != nullptr)) {
    FwErrorSet(pErrState, fwErrorOperationDenied, 0);
    return false;
  }
  LocalError err;
  FwFileInfo info;
  if (!FwFileGetInfo(&err, ptbzOld, &info, 0)) {
    FwErrorSet(pErrState, fwErrorNonExistent, 2, FWT("File"), ptbzOld);
    return false;
  }
  if (!FormFits(ptbzOld, info)) {
    FwErrorSet(pErrState, fwErrorOperationDenied, 0);
    return false;
  }
  // Without the flag a new name that exists is refused in any case.
  if (!(flags & FW_FILE_OVERWRITE) || !IsLinkOntoItsTarget(ptbzOld, info, ptbzNew)) return true;
  FwErrorSet(pErrState, fwErrorAlreadyExists, 2, FWT("File"), ptbzNew);
  return false;
}

int32 RenameBetweenDevices(FwErrorState* pErrState, FwTextString ptbzOld, FwTextString ptbzNew,
                           uint32 flags) {
  LocalError err;
  FwFileInfo info;
  if (!FwFileGetInfo(&err, ptbzOld, &info, 0) || !(info.attributes & FW_FILE_ATTR_WRITABLE)) {
    FwErrorSet(pErrState, fwErrorAccessDenied, 2, FWT("File"), ptbzOld);
    return 0;
  }
  return FwFileCopy(pErrState, ptbzOld, ptbzNew, flags & FW_FILE_OVERWRITE) &&
         FwFileDelete(pErrState, ptbzOld, 0);
}

// Gives the owner write permission.
bool MakeWritable(FwErrorState* pErrState, FwTextString ptbzFilename) {
  FwFileInfo info;
  if (!FwFileGetInfo(pErrState, ptbzFilename, &info, FW_INFO_NOFOLLOW)) return false;
  if (info.attributes & FW_FILE_ATTR_WRITABLE) return true;
  info.attributes |= FW_FILE_ATTR_WRITABLE;
  return FwFileSetInfo(pErrState, ptbzFilename, &info, FW_INFO_ATTRIBUTES);
}

}  // namespace

int32 FwFileCopy(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                 uint32 flags) {
  if (!fFiFileState(pErrState)) return 0;
  FwAssert(!(flags & ~FW_FILE_OVERWRITE), "bad arg");
  if (!fFiFileFlags(pErrState, flags, FW_FILE_OVERWRITE)) return 0;
  return WithAbsoluteNames(pErrState, ptbzOldname, ptbzNewname, kCoerceFile,
                           [&](FwTextString ptbzOld, FwTextString ptbzNew) {
                             return CopyAbsolute(pErrState, ptbzOld, ptbzNew, flags);
                           });
}

int32 FwFileCopyLink(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                     FwFileInfo* pOldInfo, uint32 flags) {
  if (!fFiFileState(pErrState)) return 0;
  if (FpFileCopyLink(pErrState, ptbzOldname, ptbzNewname, pOldInfo, flags)) return 1;
  FwErrorSet(pErrState, fwErrorOperationFailed, 2, FWT("File"), ptbzNewname);
  return 0;
}

int32 FwFileRename(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                   uint32 flags) {
  if (!fFiFileState(pErrState)) return 0;
  FwAssert(!(flags & ~FW_FILE_OVERWRITE), "bad arg");
  if (!fFiFileFlags(pErrState, flags, FW_FILE_OVERWRITE)) return 0;
  return WithAbsoluteNames(
      pErrState, ptbzOldname, ptbzNewname, kCoerceFile | kCoerceDirectory,
      [&](FwTextString ptbzOld, FwTextString ptbzNew) {
        if (!MayRename(pErrState, ptbzOld, ptbzNew, flags)) return 0;
        const int32 nResult = FpFileRename(pErrState, ptbzOld, ptbzNew, flags);
        return nResult == 2 ? RenameBetweenDevices(pErrState, ptbzOld, ptbzNew, flags) : nResult;
      });
}

int32 FwFileDelete(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags) {
  return FwFileDeleteEx(pErrState, ptbzFilename, flags, nullptr);
}

int32 FwFileDeleteEx(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags,
                     int* deferred) {
  constexpr uint32 kFlags = FW_DELETE_FORCE | FW_DELETE_DEFER;
  if (!fFiFileState(pErrState)) return 0;
  FwAssert(!(flags & ~kFlags), "bad arg");
  if (!fFiFileFlags(pErrState, flags, kFlags)) return 0;
  if ((flags & FW_DELETE_FORCE) && !MakeWritable(pErrState, ptbzFilename)) return 0;
  const FiCoercedName absolute(pErrState, ptbzFilename, kCoerceFile | kCoerceDirectory);
  return absolute ? FpFileDelete(pErrState, absolute, flags, deferred) : 0;
}
