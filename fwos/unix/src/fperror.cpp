#include "fperror.h"

#include <cerrno>

#include "fwstring.h"
#include "vqassert.h"

#ifdef __linux__
// The classification is defined by number. Elsewhere the names decide.
static_assert(EPERM == 1 && EACCES == 13 && EROFS == 30);
static_assert(ENOENT == 2 && ENOLINK == 67);
static_assert(EIO == 5);
static_assert(EBADF == 9 && EINVAL == 22 && EOVERFLOW == 75);
static_assert(EAGAIN == 11 && EXDEV == 18 && EISDIR == 21 && EDEADLK == 35 && ENOTEMPTY == 39);
static_assert(ENOMEM == 12 && EFAULT == 14 && EBUSY == 16 && EEXIST == 17 && ENOTDIR == 20);
static_assert(ENFILE == 23 && EMFILE == 24 && EMLINK == 31 && ENOLCK == 37 && ELOOP == 40);
static_assert(ECOMM == 70 && EMULTIHOP == 72 && EOPNOTSUPP == 95);
static_assert(ENOSPC == 28 && EDQUOT == 122 && ENAMETOOLONG == 36);
#endif

void FpErrorInit() {}

void FpErrorShutdown() {}

void FpPlatformErrorPrintf(FwStrRecord* pRecord, FwErrorState* pState) {
  if (pState->pError != nullptr) FwStrPutInt(pRecord, pState->platformError);
}

FwError* FwPlatformErrorMap(FwPlatformError platformError) {
  switch (platformError) {
    case 0:
      return nullptr;
    case EPERM:
    case EACCES:
    case EROFS:
      return fwErrorAccessDenied;
    case ENOENT:
    case ENOLINK:
      return fwErrorNonExistent;
    case EIO:
      return fwErrorHardware;
    case EBADF:
    case EINVAL:
    case EOVERFLOW:
      return fwErrorParameter;
    case EAGAIN:
    case EXDEV:
    case EISDIR:
    case EDEADLK:
    case ENOTEMPTY:
      return fwErrorOperationDenied;
    case ENOMEM:
      return fwErrorNoMemory;
    case EFAULT:
      return fwErrorPointer;
    case EBUSY:
      return fwErrorInUse;
    case EEXIST:
      return fwErrorAlreadyExists;
    case ENOTDIR:
      // Not fwErrorNonExistent: a path through a plain file is a mistake in the path, and excuses
      // for missing files must not cover it.
      return fwErrorStringValue;
    case ENFILE:
    case EMFILE:
    case EMLINK:
    case ENOLCK:
    case ELOOP:
    case ECOMM:
    case EMULTIHOP:
    case EOPNOTSUPP:
      return fwErrorSoftwareLimit;
    case ENOSPC:
    case EDQUOT:
      return fwErrorDiskFull;
    case ENAMETOOLONG:
      return fwErrorStringLength;
    default:
      FwTrace("Need to add mapping for platform error %d", platformError);
      FwAssertFailed("Unable to classify platform error");
      return fwErrorRoot;
  }
}
