#include "fpfile/names.h"

#include <fcntl.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fcpp.h"
#include "fpstring.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwunicod.h"
#include "vqassert.h"

namespace {

// Names have up to 4094 bytes.
constexpr std::size_t kNameBuffer = 4095;

}  // namespace

FpLocalName::FpLocalName(FwTextString ptbzName)
    : pszLocal(FWC(ptbzName)), fOwned(ptbzName && !fFpStrIsLocal(ptbzName)) {
  if (fOwned) pszLocal = FwStrUTF8ToLocal(ptbzName);
}

FpLocalName::~FpLocalName() {
  if (!fOwned) return;
  const int nErrno = errno;
  FwMemFree(pszLocal);
  errno = nErrno;
}

void FpFileSetSystemError(FwErrorState* pErrState, FwTextString ptbzName) {
  const int nErrno = errno;
  FwAssert(nErrno != 0, "OS error, but errno not set");
  if (ptbzName)
    FwPlatformErrorSet(pErrState, nErrno, 2, FWT("File"), ptbzName);
  else
    FwPlatformErrorSet(pErrState, nErrno, 1, FWT("File"));
}

int open_UTF8(FwTextString path, int flags, mode_t mode) {
  const FpLocalName local(path);
  return ::open(local.get(), flags, mode);
}

int lstat_UTF8(FwTextString path, struct stat* status) {
  const FpLocalName local(path);
  return ::lstat(local.get(), status);
}

int stat_UTF8(FwTextString path, struct stat* status) {
  const FpLocalName local(path);
  return ::stat(local.get(), status);
}

ssize_t readlink_UTF8(FwTextString path, char* buffer, size_t size) {
  const FpLocalName local(path);
  return ::readlink(local.get(), buffer, size);
}

int symlink_UTF8(FwTextString target, FwTextString path) {
  const FpLocalName localTarget(target);
  const FpLocalName local(path);
  return ::symlink(localTarget.get(), local.get());
}

int rename_UTF8(FwTextString oldpath, FwTextString newpath) {
  const FpLocalName localOld(oldpath);
  const FpLocalName localNew(newpath);
  return std::rename(localOld.get(), localNew.get());
}

int rmdir_UTF8(FwTextString path) {
  const FpLocalName local(path);
  return ::rmdir(local.get());
}

int chmod_UTF8(FwTextString path, mode_t mode) {
  const FpLocalName local(path);
  return ::chmod(local.get(), mode);
}

int mkdir_UTF8(FwTextString path, mode_t mode) {
  const FpLocalName local(path);
  return ::mkdir(local.get(), mode);
}

DIR* opendir_UTF8(FwTextString path) {
  const FpLocalName local(path);
  return ::opendir(local.get());
}

int statfs_UTF8(FwTextString path, struct statfs* status) {
  const FpLocalName local(path);
  return ::statfs(local.get(), status);
}

int unlink_UTF8(FwTextString path) {
  const FpLocalName local(path);
  return ::unlink(local.get());
}

FwTextString realpath_UTF8(FwTextString path) {
  // The C library wants PATH_MAX bytes whatever it stores.
  char szResolved[PATH_MAX];
  const FpLocalName local(path);
  const char* pszResolved = ::realpath(local.get(), szResolved);
  if (pszResolved && std::strlen(pszResolved) >= kNameBuffer) pszResolved = nullptr;
  return FwStrLocalToUTF8(pszResolved);
}

FwTextString getenv_UTF8(FwTextString name) {
  return FwStrLocalToUTF8(std::getenv(FWC(name)));
}

FwTextString getcwd_UTF8() {
  char szDirectory[kNameBuffer];
  return FwStrLocalToUTF8(::getcwd(szDirectory, sizeof szDirectory));
}

int setenv_UTF8(FwTextString name, FwTextString value, int overwrite) {
  if (!overwrite && std::getenv(FWC(name))) return 1;
  OpenRecord rec(static_cast<uint32>(std::strlen(FWC(name)) + std::strlen(FWC(value)) + 2));
  FwStrPutTextString(&rec, name);
  FwStrPutTextCharacter(&rec, '=');
  FwStrPutTextString(&rec, value);
  // A copy of its own in any case: the environment keeps the string.
  return ::putenv(FwStrUTF8ToLocal(rec.pbz));
}
