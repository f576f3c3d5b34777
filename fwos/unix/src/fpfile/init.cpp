// Where the program lies and where it was started.
#include <cstdlib>
#include <cstring>

#include "fcboot.h"
#include "fcfile.h"
#include "fcpp.h"
#include "fpfile.h"
#include "fwstring.h"
#include "fwunicod.h"
#include "vqassert.h"

namespace {

// A new string: the directory with its separator.
FwTextString DirectoryName(FwTextString ptbzName, std::size_t cbName) {
  FwTextString ptbz = FwStrNDuplicate(ptbzName, static_cast<int>(cbName));
  FwFileEnsureTrailingSeparatorRealloc(&ptbz);
  return ptbz;
}

// The first directory along PATH in which the name exists; whether it can be executed is not asked.
FwTextString FindAlongPath(FwTextString ptbzName) {
  const char* pszPath = std::getenv("PATH");
  if (!pszPath) return nullptr;
  LocalVector directories(20, Elements::kFreed);
  FwStrTextSplitByChar(FWT(pszPath), ':', &directories);
  for (FwTextString ptbzDirectory : texts(&directories)) {
    const OwnedText candidate(FwFilenameConcatenateAlloc(ptbzDirectory, ptbzName));
    if (FwTextString ptbzFound = realpath_UTF8(candidate)) return ptbzFound;
  }
  return nullptr;
}

FwTextString FindProgram() {
  const FwPlatformControlContext& platform = fcBootContext.control.platform;
  if (platform.argc <= 0 || !platform.argv || !platform.argv[0]) return nullptr;
  FwTextString ptbzName = FWT(platform.argv[0]);
  return std::strchr(platform.argv[0], '/') ? realpath_UTF8(ptbzName) : FindAlongPath(ptbzName);
}

}  // namespace

void FpFileInit() {
  // File times are handed on as the 32-bit words of FwFileInfo, whatever the system's own size.
  FwAssert(sizeof(FwFileInfo::modifiedTime.high) == 4, "sizeof(st_mtime) != 4");
  FwAssert(sizeof(FwPlatformFileInfo::accessTime.high) == 4, "sizeof(st_atime) != 4");
  FwAssert(sizeof(FwPlatformFileInfo::changedTime.high) == 4, "sizeof(st_ctime) != 4");

  if (FwTextString ptbzProgram = FindProgram()) {
    FcAppFileName = ptbzProgram;
    FcAppDir = DirectoryName(
        ptbzProgram, static_cast<std::size_t>(FwFileSkipToLeafname(ptbzProgram) - ptbzProgram));
  }
  if (const OwnedText once(getcwd_UTF8()); once) {
    // Kept, as part of the interface: getcwd_UTF8 has converted the name already, and it is
    // converted again.
    FcCurrentDir = FwStrLocalToUTF8(FWC(once));
    FwFileEnsureTrailingSeparatorRealloc(&FcCurrentDir);
  }
}

void FpFileShutdown() {}
