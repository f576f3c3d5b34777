// The platform half of directories.
#include <cerrno>
#include <cstring>

#include "fcpp.h"
#include "fpfile.h"
#include "fpfile/names.h"
#include "fwerror.h"
#include "fwstring.h"

namespace {

constexpr mode_t kDirectoryMode = 0777;  // cut by the umask

bool IsDotName(const char* pszName) {
  const std::size_t cb = std::strlen(pszName);
  return (cb == 1 && pszName[0] == '.') || (cb == 2 && pszName[0] == '.' && pszName[1] == '.');
}

// The next entry but "." and ".."; null at the end and on failure, told apart by pErrState.
const dirent* NextEntry(FwErrorState* pErrState, FwDir* DirHandle) {
  for (;;) {
    errno = 0;
    const dirent* pEntry = ::readdir(DirHandle->platDirInfo.handle);
    if (pEntry) {
      if (!IsDotName(pEntry->d_name)) return pEntry;
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != 0 && errno != ENOENT) FpFileSetSystemError(pErrState, DirHandle->atbzDirname);
    return nullptr;
  }
}

}  // namespace

int32 FpDirCreate(FwErrorState* pErrState, FwTextString ptbzDirname) {
  if (mkdir_UTF8(ptbzDirname, kDirectoryMode) == 0) return 1;
  FpFileSetSystemError(pErrState, ptbzDirname);
  return 0;
}

int32 FpDirOpen(FwErrorState* pErrState, FwDir* DirHandle) {
  DirHandle->platDirInfo.handle = opendir_UTF8(DirHandle->atbzDirname);
  if (DirHandle->platDirInfo.handle) return 1;
  FpFileSetSystemError(pErrState, DirHandle->atbzDirname);
  return 0;
}

int32 FpDirNext(FwErrorState* pErrState, FwDir* DirHandle, FwStrRecord* pRecord, FwFileInfo* pInfo,
                uint32 flags) {
  if (!DirHandle->platDirInfo.handle) {
    FwErrorSet(pErrState, fwErrorDirClosed, 2, FWT("File"), DirHandle->atbzDirname);
    return 0;
  }
  const dirent* pEntry = NextEntry(pErrState, DirHandle);
  if (!pEntry) return 0;
  FwTextString ptbzName = FWT(pEntry->d_name);
  FwStrPutTextString(pRecord, ptbzName);
  if (!pInfo) return 1;
  const OwnedText full(FwFilenameConcatenateAlloc(DirHandle->atbzDirname, ptbzName));
  return FwFileGetInfo(pErrState, full, pInfo, flags);
}

int32 FpDirClose(FwErrorState* pErrState, FwDir* DirHandle) {
  DIR* handle = DirHandle->platDirInfo.handle;
  DirHandle->platDirInfo.handle = nullptr;
  if (!handle) {
    FwErrorSet(pErrState, fwErrorDirClosed, 2, FWT("File"), DirHandle->atbzDirname);
    return 0;
  }
  if (::closedir(handle) == 0) return 1;
  FpFileSetSystemError(pErrState, DirHandle->atbzDirname);
  return 0;
}
