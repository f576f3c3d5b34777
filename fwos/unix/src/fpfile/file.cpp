// The platform half of files: flags and records translated, one call of the system each.
#include <fcntl.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <utime.h>

#include <cerrno>
#include <cstring>

#include "fcboot.h"
#include "fcpp.h"
#include "fpfile.h"
#include "fpfile/names.h"
#include "fwerror.h"
#include "vqassert.h"

namespace {

// Both are cut by the umask.
constexpr mode_t kFileMode = 0666;

constexpr uint32 kModeTypeMask = 0xf000;

struct ModeType {
  uint32 mode;
  uint32 type;
};

constexpr ModeType kModeTypes[] = {
    {0x4000, FW_FILE_TYPE_DIRECTORY}, {0x8000, FW_FILE_TYPE_FILE},
    {0xa000, FW_FILE_TYPE_LINK},      {0x1000, FW_FILE_TYPE_FIFO},
    {0x2000, FW_FILE_TYPE_CHARACTER}, {0x6000, FW_FILE_TYPE_BLOCK},
    {0xc000, FW_FILE_TYPE_SOCKET},
};

uint32 FileType(uint32 mode, FwTextString ptbzFilename) {
  for (const ModeType& row : kModeTypes)
    if (row.mode == (mode & kModeTypeMask)) return row.type;
  FwTrace("Please add code for new Unix file type %08X of file %s\n", mode, FWC(ptbzFilename));
  return FW_FILE_TYPE_OTHER;
}

// The layer above reads seconds from the high word.
VqU32x2 FileTime(time_t seconds) {
  VqU32x2 time;
  time.high = static_cast<uint32>(seconds);
  return time;
}

uint32 LowWord(uint64 n) {
  return static_cast<uint32>(n);
}

uint32 HighWord(uint64 n) {
  return static_cast<uint32>(n >> 32);
}

bool Exists(FwTextString ptbzFilename) {
  LocalError err;
  return FwFileGetInfo(&err, ptbzFilename, nullptr, 0);
}

bool IsSameFile(FwTextString ptbzFilename1, FwTextString ptbzFilename2) {
  LocalError err;
  return FwFilenamesReferToSameFile(&err, ptbzFilename1, ptbzFilename2);
}

}  // namespace

int32 FpFilenameLengthOK(FwTextString ptbzFilename) {
  return std::strlen(FWC(ptbzFilename)) < 4095;
}

// ---------------------------------------------------------------------------------------------
// Handles

FwFile FpFileOpenExtended(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags,
                          FwFileOpenExtras*) {
  int nOpen;
  if (flags & FW_OPEN_RDONLY)
    nOpen = O_RDONLY;
  else if (flags & FW_OPEN_WRONLY)
    nOpen = O_WRONLY;
  else if (flags & FW_OPEN_RDWR)
    nOpen = O_RDWR;
  else
    return FW_FILE_INVALID;  // Kept, as part of the interface: no error is set.
  if (flags & FW_OPEN_CREAT) nOpen |= O_CREAT;
  if (flags & FW_OPEN_TRUNC) nOpen |= O_TRUNC;
  if (flags & FW_OPEN_APPEND) nOpen |= O_APPEND;

  const bool fLock = (flags & FW_OPEN_EXCL) != 0;
  FwAssert(!fLock || (flags & FW_OPEN_CREAT),
           "FW_OPEN_EXCL specified without FW_OPEN_CREAT - behaviour is undefined.");
  FwAssert(!fLock || (flags & (FW_OPEN_WRONLY | FW_OPEN_RDWR)),
           "FW_OPEN_EXCL specified without FW_OPEN_WRONLY or FW_OPEN_RDWR - cannot grant exclusive "
           "read access.");

  const int nHandle = open_UTF8(ptbzFilename, nOpen, kFileMode);
  if (nHandle < 0) {
    FpFileSetSystemError(pErrState, ptbzFilename);
    return FW_FILE_INVALID;
  }
  if (fLock && ::lockf(nHandle, F_TLOCK, 0) != 0) {
    // Kept, as part of the interface: the descriptor stays open.
    FpFileSetSystemError(pErrState, ptbzFilename);
    return FW_FILE_INVALID;
  }
  return nHandle;
}

void FpFileInitOpenExtrasFromInfo(FwFileOpenExtras*, FwFileInfo*) {}

uint32 FpFileRead(FwErrorState* pErrState, FwFile Handle, void* Buffer, uint32 Size) {
  const ssize_t cb = ::read(Handle, Buffer, Size);
  if (cb < 0) {
    FpFileSetSystemError(pErrState, nullptr);
    return 0;
  }
  return static_cast<uint32>(cb);
}

uint32 FpFileWrite(FwErrorState* pErrState, FwFile Handle, void* Buffer, uint32 Size) {
  const ssize_t cb = ::write(Handle, Buffer, Size);
  if (cb < 0) {
    FpFileSetSystemError(pErrState, nullptr);
    return 0;
  }
  return static_cast<uint32>(cb);
}

int32 FpFileSeek(FwErrorState* pErrState, FwFile Handle, Vq32x2* pOffset, uint32 From) {
  int nWhence;
  switch (From) {
    case FW_SEEK_SET:
      nWhence = SEEK_SET;
      break;
    case FW_SEEK_CUR:
      nWhence = SEEK_CUR;
      break;
    case FW_SEEK_END:
      nWhence = SEEK_END;
      break;
    default:
      FwAssertFailed("Bad seek argument to FwFileSeek()");
      return 0;
  }
  int32 nOffset;
  if (!Vq32x2ToInt32(pOffset, &nOffset)) {
    FwErrorSet(pErrState, fwErrorNumericRange, 0);
    return 0;
  }
  const off_t position = ::lseek(Handle, nOffset, nWhence);
  if (position == static_cast<off_t>(-1)) {
    FpFileSetSystemError(pErrState, nullptr);
    return 0;
  }
  pOffset->low = LowWord(static_cast<uint64>(position));
  pOffset->high = static_cast<int32>(HighWord(static_cast<uint64>(position)));
  return 1;
}

int32 FpFileExtent(FwErrorState* pErrState, FwFile Handle, Vq32x2* pExtent) {
  // Kept, as part of the interface: the failure value is not -1 as a number of 64 bits.
  pExtent->low = 0xffffffff;
  pExtent->high = 0;
  struct stat status;
  while (::fstat(Handle, &status) != 0) {
    if (errno != EINTR) {
      FpFileSetSystemError(pErrState, nullptr);
      return 0;
    }
    FcAppTickle(0, 0);
  }
  if (!S_ISREG(status.st_mode)) {
    FwErrorSet(pErrState, fwErrorOperationDenied, 1, FWT("File"));
    return 0;
  }
  pExtent->low = LowWord(static_cast<uint64>(status.st_size));
  pExtent->high = static_cast<int32>(HighWord(static_cast<uint64>(status.st_size)));
  return 1;
}

int32 FpFileClose(FwErrorState* pErrState, FwFile Handle) {
  if (::close(Handle) == 0) return 1;
  FpFileSetSystemError(pErrState, nullptr);
  return 0;
}

// ---------------------------------------------------------------------------------------------
// Whole files

int32 FpFileCopy(FwErrorState*, FwTextString, FwTextString, uint32) {
  return 2;
}

int32 FpFileCopyLink(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                     FwFileInfo*, uint32) {
  struct stat status;
  if (lstat_UTF8(ptbzOldname, &status) != 0) {
    FpFileSetSystemError(pErrState, ptbzOldname);
    return 0;
  }
  // Kept, as part of the interface: the mode is compared whole, so this never fires for a link, nor
  // for anything else that has a permission bit.
  FwAssert(status.st_mode != 0xa000, "Not a link");

  char szTarget[4096];
  const ssize_t cbTarget = readlink_UTF8(ptbzOldname, szTarget, sizeof szTarget - 1);
  if (cbTarget < 0) {
    FpFileSetSystemError(pErrState, ptbzOldname);
    return 0;
  }
  szTarget[cbTarget] = 0;
  if (symlink_UTF8(FWT(szTarget), ptbzNewname) != 0) {
    FpFileSetSystemError(pErrState, ptbzNewname);
    return 0;
  }
  return 1;
}

int32 FpFileRename(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                   uint32 flags) {
  if (!(flags & FW_FILE_OVERWRITE) && Exists(ptbzNewname)) {
    // Kept, as part of the interface: a file renamed to itself stays, and the result is 0 without
    // an error.
    if (!IsSameFile(ptbzOldname, ptbzNewname))
      FwErrorSet(pErrState, fwErrorAlreadyExists, 2, FWT("File"), ptbzNewname);
    return 0;
  }
  if (rename_UTF8(ptbzOldname, ptbzNewname) == 0) return 1;
  switch (errno) {
    case EXDEV:
      return 2;
    case EBUSY:
    case EEXIST:
    case EISDIR:
    case EINVAL:
      FpFileSetSystemError(pErrState, ptbzNewname);
      return 0;
    default:
      FpFileSetSystemError(pErrState, ptbzOldname);
      return 0;
  }
}

int32 FpFileDelete(FwErrorState* pErrState, FwTextString ptbzFilename, uint32, int* deferred) {
  if (deferred) *deferred = 0;
  if (FwFileEndsWithSeparator(ptbzFilename)) {
    if (rmdir_UTF8(ptbzFilename) == 0) return 1;
    FpFileSetSystemError(pErrState, ptbzFilename);
    return 0;
  }
  FwFileInfo info;
  if (!FwFileGetInfo(pErrState, ptbzFilename, &info, FW_INFO_NOFOLLOW)) return 0;
  if (info.type == FW_FILE_TYPE_DIRECTORY) {
    FwErrorSet(pErrState, fwErrorOperationDenied, 2, FWT("File"), ptbzFilename);
    return 0;
  }
  // Kept, as part of the interface: the name goes to the system unconverted.
  if (::unlink(FWC(ptbzFilename)) == 0) return 1;
  FpFileSetSystemError(pErrState, ptbzFilename);
  return 0;
}

// ---------------------------------------------------------------------------------------------
// Information

int32 FpFileGetInfo(FwErrorState* pErrState, FwTextString ptbzFilename, FwFileInfo* pInfo,
                    uint32 flags) {
  struct stat status;
  const int nResult = flags & FW_INFO_NOFOLLOW ? lstat_UTF8(ptbzFilename, &status)
                                               : stat_UTF8(ptbzFilename, &status);
  if (nResult != 0) {
    FpFileSetSystemError(pErrState, ptbzFilename);
    return 0;
  }
  if (!pInfo) return 1;
  pInfo->type = FileType(status.st_mode, ptbzFilename);
  pInfo->attributes = status.st_mode;
  pInfo->modifiedTime = FileTime(status.st_mtime);
  pInfo->platform.accessTime = FileTime(status.st_atime);
  pInfo->platform.changedTime = FileTime(status.st_ctime);
  pInfo->size[0].low = LowWord(static_cast<uint64>(status.st_size));
  pInfo->size[0].high = HighWord(static_cast<uint64>(status.st_size));
  pInfo->platform.status = status;
  return 1;
}

int32 FpFileSetInfo(FwErrorState* pErrState, FwTextString ptbzFilename, FwFileInfo* pInfo,
                    uint32 flags) {
  FwFileInfo present;
  if (!FwFileGetInfo(pErrState, ptbzFilename, &present, 0)) return 0;
  const bool fDirectoryName = FwFileEndsWithSeparator(ptbzFilename) != nullptr;
  if (fDirectoryName != (present.type == FW_FILE_TYPE_DIRECTORY)) {
    FwErrorSet(pErrState, fwErrorOperationDenied, 2, FWT("File"), ptbzFilename);
    return 0;
  }
  if (pInfo->attributes == present.attributes) flags &= ~FW_INFO_ATTRIBUTES;
  if (VqU32x2Compare(&pInfo->modifiedTime, &present.modifiedTime) == 0)
    flags &= ~FW_INFO_MODIFIED_TIME;
  if (VqU32x2Compare(&pInfo->platform.accessTime, &present.platform.accessTime) == 0)
    flags &= ~FW_INFO_ACCESS_TIME;

  int32 fSuccess = 1;
  if (flags & FW_INFO_ATTRIBUTES) {
    if (chmod_UTF8(ptbzFilename, pInfo->attributes) != 0) {
      FpFileSetSystemError(pErrState, ptbzFilename);
      fSuccess = 0;
    }
  }
  if (flags & (FW_INFO_MODIFIED_TIME | FW_INFO_ACCESS_TIME)) {
    const FwFileInfo* pModified = flags & FW_INFO_MODIFIED_TIME ? pInfo : &present;
    const FwFileInfo* pAccess = flags & FW_INFO_ACCESS_TIME ? pInfo : &present;
    struct utimbuf times;
    times.modtime = pModified->modifiedTime.high;
    times.actime = pAccess->platform.accessTime.high;
    // Kept, as part of the interface: the name goes to the system unconverted.
    if (::utime(FWC(ptbzFilename), &times) != 0) {
      FpFileSetSystemError(pErrState, ptbzFilename);
      fSuccess = 0;
    }
  }
  return fSuccess;
}

FpFileId FpFileIdOf(const FwFileInfo& info) {
  return {info.platform.status.st_dev, info.platform.status.st_ino};
}

int32 FpFilenamesReferToSameFile(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                 FwTextString ptbzFilename2) {
  FwFileInfo info1;
  FwFileInfo info2;
  return FwFileGetInfo(pErrState, ptbzFilename1, &info1, 0) &&
         FwFileGetInfo(pErrState, ptbzFilename2, &info2, 0) &&
         FpFileIdOf(info1) == FpFileIdOf(info2);
}

int32 FpFilenamesReferToSameDisk(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                 FwTextString ptbzFilename2) {
  FwFileInfo info1;
  FwFileInfo info2;
  return FwFileGetInfo(pErrState, ptbzFilename1, &info1, 0) &&
         FwFileGetInfo(pErrState, ptbzFilename2, &info2, 0) &&
         info1.platform.status.st_dev == info2.platform.status.st_dev;
}

int32 FpFileDiskFree(FwErrorState* pErrState, FwTextString ptbzFilename,
                     FwFileDiskFreeInfo* pDFInfo) {
  struct statfs status;
  if (statfs_UTF8(ptbzFilename, &status) != 0) {
    FpFileSetSystemError(pErrState, ptbzFilename);
    return 0;
  }
  const auto cbBlock = static_cast<double>(status.f_bsize);
  VqU32x2FromDouble(&pDFInfo->free, static_cast<double>(status.f_bavail) * cbBlock);
  VqU32x2FromDouble(&pDFInfo->size, static_cast<double>(status.f_blocks) * cbBlock);
  pDFInfo->allocSize = static_cast<uint32>(status.f_bsize);
  return 1;
}

void FwFileTouch(FwTextString) {}

int32 FwFileIsOnCD(FwTextString ptbzFilename) {
  LocalError err;
  FwFileDiskFreeInfo diskfree;
  if (!FwFileDiskFree(&err, ptbzFilename, &diskfree)) return -1;
  return diskfree.free.low == 0 && diskfree.free.high == 0;
}

int FwFileIsExecutable(FwTextString path) {
  struct stat status = {};
  stat_UTF8(path, &status);
  return static_cast<int>(status.st_mode & 0x40);
}
