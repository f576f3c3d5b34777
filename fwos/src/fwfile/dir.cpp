// Directories: enumerating, creating and deleting them, and the space on their device.
#include <cstddef>
#include <cstring>
#include <new>

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

// An entry and its name are one piece of the pool; entries hold a pointer.
constexpr uint32 kPoolAlignment = alignof(FwDirEntry);
static_assert(kPoolAlignment <= 8);

// A handle that holds the directory's name, with its separator.
FwDir* MakeDir(FwTextString ptbzDirname) {
  std::size_t cb = std::strlen(FWC(ptbzDirname));
  const bool fSeparator = FwFileEndsWithSeparator(ptbzDirname) != nullptr;
  // The record ends with the name's first byte; there is room for separator and terminator.
  void* pv = FwMemAlloc(sizeof(FwDir) + cb + 1, ALLOC_MUST_SUCCEED | INIT_ZERO);
  FwDir* pDir = ::new (pv) FwDir{};
  FwTextByte* ptb = static_cast<FwTextByte*>(pv) + offsetof(FwDir, atbzDirname);
  std::memcpy(ptb, ptbzDirname, cb);
  if (!fSeparator) ptb[cb++] = '/';
  ptb[cb] = 0;
  return pDir;
}

// A copy of the name in the pool, or null.
FwDirEntry* MakeEntry(FwMemPool* pPool, const FwStrRecord* pName) {
  const std::size_t cb = record_length(pName);
  void* pv = FwMemPoolAlloc(pPool, static_cast<uint32>(offsetof(FwDirEntry, atbzName) + cb + 1));
  if (!pv) return nullptr;
  auto* pEntry = static_cast<FwDirEntry*>(pv);
  pEntry->pNext = nullptr;
  std::memcpy(static_cast<FwTextByte*>(pv) + offsetof(FwDirEntry, atbzName), pName->pbz, cb + 1);
  return pEntry;
}

// Reads all entries in the platform's order, and closes the platform's handle. Whether it is still
// open after a failure is for the caller to see.
bool TakeSnapshot(FwErrorState* pErrState, FwDir* pDir) {
  pDir->pLocalPool = FwMemPoolCreate(0, 0, 0, kPoolAlignment, ALLOC_MAY_FAIL | INIT_NONE);
  if (!pDir->pLocalPool) {
    FwErrorSet(pErrState, fwErrorNoMemory, 0);
    return false;
  }
  LocalError err;
  OpenRecord name;
  FwDirEntry** ppTail = &pDir->pSnapshot;
  while (FpDirNext(&err, pDir, &name, nullptr, 0)) {
    *ppTail = MakeEntry(pDir->pLocalPool, &name);
    if (!*ppTail) {
      FwErrorSet(&err, fwErrorNoMemory, 0);
      break;
    }
    ppTail = &(*ppTail)->pNext;
    name.clear();
  }
  if (!err.failed()) FpDirClose(&err, pDir);
  if (err.failed()) {
    FwErrorCopy(pErrState, &err);
    return false;
  }
  pDir->pNextEntry = pDir->pSnapshot;
  return true;
}

}  // namespace

FwDir* FwDirOpen(FwErrorState* pErrState, FwTextString ptbzDirname, uint32 flags) {
  if (!fFiFileState(pErrState)) return nullptr;
  FwAssert(!(flags & ~FW_DIR_SNAPSHOT), "bad arg");
  if (!fFiFileFlags(pErrState, flags, FW_DIR_SNAPSHOT)) return nullptr;
  const FiCoercedName absolute(pErrState, ptbzDirname, kCoerceDirectory | kCoerceRoot);
  if (!absolute) return nullptr;
  FwDir* pDir = MakeDir(absolute);
  if (!FpDirOpen(pErrState, pDir)) {
    FwMemFree(pDir);
    return nullptr;
  }
  if (!(flags & FW_DIR_SNAPSHOT) || TakeSnapshot(pErrState, pDir)) return pDir;

  FwMemPoolDestroy(&pDir->pLocalPool);
  if (pDir->platDirInfo.handle) {
    LocalError err;
    FpDirClose(&err, pDir);
  }
  FwMemFree(pDir);
  return nullptr;
}

int32 FwDirNext(FwErrorState* pErrState, FwDir* DirHandle, FwStrRecord* pRecord, FwFileInfo* pInfo,
                uint32 flags) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, DirHandle) ||
      !fFiFileArgument(pErrState, pRecord))
    return 0;
  FwAssert(!(flags & ~FW_INFO_NOFOLLOW), "bad arg");
  if (!fFiFileFlags(pErrState, flags, FW_INFO_NOFOLLOW)) return 0;
  if (!DirHandle->pLocalPool) return FpDirNext(pErrState, DirHandle, pRecord, pInfo, flags);

  FwDirEntry* pEntry = DirHandle->pNextEntry;
  if (!pEntry) return 0;
  DirHandle->pNextEntry = pEntry->pNext;
  FwTextString ptbzName = reinterpret_cast<FwTextString>(pEntry) + offsetof(FwDirEntry, atbzName);
  FwStrPutTextString(pRecord, ptbzName);
  if (!pInfo) return 1;
  FwTextString ptbzDirname =
      reinterpret_cast<FwTextString>(DirHandle) + offsetof(FwDir, atbzDirname);
  FwAssert(FwFileEndsWithSeparator(ptbzDirname), "dirname is malformed");
  const OwnedText full(FwFilenameConcatenateAlloc(ptbzDirname, ptbzName));
  return FwFileGetInfo(pErrState, full, pInfo, flags);
}

int32 FwDirClose(FwErrorState* pErrState, FwDir* DirHandle) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, DirHandle)) return 0;
  int32 fSuccess = 1;
  if (DirHandle->pLocalPool)
    FwMemPoolDestroy(&DirHandle->pLocalPool);
  else
    fSuccess = FpDirClose(pErrState, DirHandle);
  FwMemFree(DirHandle);
  return fSuccess;
}

// ---------------------------------------------------------------------------------------------
// Creation and deletion

namespace {

// Whether a file stands where the writable name of a directory could not be looked at.
bool fFileInTheWay(FwTextString ptbzDirname) {
  FwTextString ptbzSeparator = FwFileEndsWithSeparator(ptbzDirname);
  if (!ptbzSeparator) return false;
  LocalError err;
  *ptbzSeparator = 0;
  const bool fExists = FwFileGetInfo(&err, ptbzDirname, nullptr, 0);
  *ptbzSeparator = '/';
  return fExists;
}

// Creates the directory that a writable name denotes. The name is cut for the calls in between, and
// whole again afterwards.
int32 FiDirCreate(FwErrorState* pErrState, FwTextString ptbzDirname, uint32 flags) {
  LocalError err;
  FwFileInfo info;
  if (FwFileGetInfo(&err, ptbzDirname, &info, 0)) {
    if (info.type == FW_FILE_TYPE_DIRECTORY && (flags & FW_DIR_EXISTS_OK)) return 1;
    FwErrorSet(pErrState, fwErrorAlreadyExists, 2, FWT("File"), ptbzDirname);
    return 0;
  }
  FwTextString ptbzSeparator = nullptr;
  if (Fw_msg_IsDescendant(fwErrorNonExistent, err.pError)) {
    ptbzSeparator = FwFileEndsWithSeparator(ptbzDirname);
    FwAssert(ptbzSeparator, "FwDirCreate should have ensured trailing sep");
  } else if (Fw_msg_IsDescendant(fwErrorStringValue, err.pError) && fFileInTheWay(ptbzDirname)) {
    FwErrorSet(&err, fwErrorAlreadyExists, 2, FWT("File"), ptbzDirname);
  }
  if (!ptbzSeparator || FwFileIsRoot(ptbzDirname)) {
    FwErrorCopy(pErrState, &err);
    return 0;
  }

  FwAssert(*ptbzSeparator == '/', "not sep");
  *ptbzSeparator = 0;
  FwTextString ptbzLeaf = FwFileSkipToLeafname(ptbzDirname);
  int32 fSuccess = 1;
  if (!*ptbzLeaf) {
    FwErrorCopy(pErrState, &err);
    fSuccess = 0;
  } else if (flags & FW_DIR_CREATE_PARENTS) {
    const FwTextByte tbFirst = *ptbzLeaf;
    *ptbzLeaf = 0;
    fSuccess = FiDirCreate(pErrState, ptbzDirname, flags | FW_DIR_EXISTS_OK);
    *ptbzLeaf = tbFirst;
  }
  if (fSuccess) fSuccess = FpDirCreate(pErrState, ptbzDirname);
  *ptbzSeparator = '/';
  return fSuccess;
}

// Gives the owner write permission.
bool MakeDirectoryWritable(FwErrorState* pErrState, FwTextString ptbzDirname) {
  FwFileInfo info;
  if (!FwFileGetInfo(pErrState, ptbzDirname, &info, 0)) return false;
  if (info.attributes & FW_FILE_ATTR_WRITABLE) return true;
  info.attributes |= FW_FILE_ATTR_WRITABLE;
  return FwFileSetInfo(pErrState, ptbzDirname, &info, FW_INFO_ATTRIBUTES);
}

// Deletes all that the directory holds.
bool DeleteEntries(FwErrorState* pErrState, FwTextString ptbzDirname, uint32 flags) {
  FwDir* pDir = FwDirOpen(pErrState, ptbzDirname, FW_DIR_SNAPSHOT);
  if (!pDir) return false;
  OpenRecord full;
  FwStrPutTextString(&full, ptbzDirname);
  const uint32 cbDirname = full.length();
  FwFileInfo info;
  bool fSuccess = true;
  while (fSuccess && FwDirNext(pErrState, pDir, &full, &info, 0)) {
    if (info.type == FW_FILE_TYPE_DIRECTORY) {
      FwFileEnsureTrailingSeparator(&full);
      fSuccess = FwDirDelete(pErrState, full.pbz, flags);
    } else {
      fSuccess = FwFileDelete(pErrState, full.pbz, flags);
    }
    FwStrRecordShorten(&full, cbDirname);
  }
  FwDirClose(pErrState, pDir);
  return fSuccess && !pErrState->pError;
}

}  // namespace

int32 FwDirCreate(FwErrorState* pErrState, FwTextString ptbzDirname, uint32 flags) {
  constexpr uint32 kFlags = FW_DIR_CREATE_PARENTS | FW_DIR_EXISTS_OK;
  if (!fFiFileState(pErrState)) return 0;
  FwAssert(!(flags & ~kFlags), "bad arg");
  // Kept, as part of the interface: flags and names that are refused give 1, and only the state
  // tells.
  if (!fFiFileFlags(pErrState, flags, kFlags)) return 1;
  FwTextString ptbzAbsolute =
      FiFileCoerceFilename(pErrState, ptbzDirname, kCoerceDirectory | kCoerceRoot);
  if (!ptbzAbsolute) return 1;
  // A writable one, of this call's own.
  if (ptbzAbsolute == ptbzDirname) ptbzAbsolute = FwStrDuplicate(ptbzDirname);
  FwFileEnsureTrailingSeparatorRealloc(&ptbzAbsolute);
  const int32 fSuccess = FiDirCreate(pErrState, ptbzAbsolute, flags);
  FwMemFree(ptbzAbsolute);
  return fSuccess;
}

int32 FwDirDelete(FwErrorState* pErrState, FwTextString ptbzDirname, uint32 flags) {
  constexpr uint32 kFlags = FW_DELETE_FORCE | FW_DELETE_DEFER;
  if (!fFiFileState(pErrState)) return 0;
  FwAssert(!(flags & ~kFlags), "bad arg");
  if (!fFiFileFlags(pErrState, flags, kFlags)) return 0;
  if ((flags & FW_DELETE_FORCE) && !MakeDirectoryWritable(pErrState, ptbzDirname)) return 0;
  // Kept, as part of the interface: links are followed, so what a link to a directory leads to is
  // deleted too.
  if (!DeleteEntries(pErrState, ptbzDirname, flags)) return 0;
  return FwFileDelete(pErrState, ptbzDirname, flags & FW_DELETE_DEFER);
}

// ---------------------------------------------------------------------------------------------
// Space

namespace {

// Sets the record to the deepest leading part of the name that exists; empty if a relative name's
// first element doesn't.
void FiFileExistingPath(FwStrRecord* pRecord, FwTextString ptbzFilename) {
  FwStrRecordShorten(pRecord, 0);
  FwTextString ptbzTail = FwFileCopyRoot(pRecord, ptbzFilename);
  while (*ptbzTail) {
    if (*ptbzTail == '/') {
      ++ptbzTail;
      continue;
    }
    const uint32 cbBefore = record_length(pRecord);
    FwFileEnsureTrailingSeparator(pRecord);
    ptbzTail = FwFileCopyPathElement(pRecord, ptbzTail);
    LocalError err;
    if (!FwFileGetInfo(&err, pRecord->pbz, nullptr, 0)) {
      FwStrRecordShorten(pRecord, cbBefore);
      return;
    }
  }
}

}  // namespace

int32 FwFileDiskFree(FwErrorState* pErrState, FwTextString ptbzFilename,
                     FwFileDiskFreeInfo* pDFInfo) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, pDFInfo)) return 0;
  if (!fFiFileCanBeAbsolute(pErrState, ptbzFilename)) return 0;
  OpenRecord existing;
  FiFileExistingPath(&existing, ptbzFilename);
  return FpFileDiskFree(pErrState, existing.pbz, pDFInfo);
}

int FwFileDiskFreeEx(FwErrorState* err, FwTextString path, FwFileDiskFreeInfo* diskfree) {
  if (!path) return FwFileDiskFree(err, path, diskfree);
  OpenRecord existing;
  FiFileExistingPath(&existing, path);
  return FwFileDiskFree(err, existing.pbz, diskfree);
}
