// The block allocator: what is common to all debug levels, and level 0.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fcboot.h"
#include "fpmem.h"
#include "level.h"

uint32 nFcDebugLevel;

// Set from the start, so that a call before the boot asserts and still works.
alloc_fp pfnFcMemAlloc = std::malloc;
free_fp pfnFcMemFree = std::free;
FcMemDbgAllocFn* pfnFcMemDbgAlloc = pvFcMemAlloc_DBGLEV_NONE;
FcMemDbgFreeFn* pfnFcMemDbgFree = FcMemFree_DBGLEV_NONE;

namespace {

struct LevelFunctions {
  FcMemDbgAllocFn* pfnAlloc;
  FcMemDbgFreeFn* pfnFree;
};

constexpr LevelFunctions kLevels[] = {
    {pvFcMemAlloc_DBGLEV_NONE, FcMemFree_DBGLEV_NONE},
    {pvFcMemAlloc_DBGLEV_1, FcMemFree_DBGLEV_1},
    {pvFcMemAlloc_DBGLEV_2, FcMemFree_DBGLEV_2},
};

bool IsAligned(const void* pv) {
  return (reinterpret_cast<std::uintptr_t>(pv) & 3) == 0;
}

}  // namespace

void FcMemInit() {
  const FwMemContext& context = fcBootContext.memory;
  FwAssert(sizeof(FcMemLightAllocation_t) % 8 == 0, "Light struct not 8 byte aligned");
  FwAssert(sizeof(FcMemHeavyAllocation_t) % 8 == 0, "Heavy struct not 8 byte aligned");
  nFcDebugLevel =
      FwExpect(context.debug_level <= 2, "Debug level is above limit") ? context.debug_level : 2;
  pfnFcMemDbgAlloc = kLevels[nFcDebugLevel].pfnAlloc;
  pfnFcMemDbgFree = kLevels[nFcDebugLevel].pfnFree;
  FcListInitHead_(&FcMhalListHead);
  const bool fPair = (context.alloc == nullptr) == (context.free == nullptr);
  FwAssert(fPair, "alloc_fp and free_fp must be NULL or not together");
  const bool fOwn = fPair && context.alloc != nullptr;
  pfnFcMemAlloc = fOwn ? context.alloc : std::malloc;
  pfnFcMemFree = fOwn ? context.free : std::free;
  FpMemInit();
}

void FcMemShutdown() {
  FpMemShutdown();
}

void FcMemCheckFlags(FwMemAllocFlag AllocFlags) {
  constexpr FwMemAllocFlag kAlloc = ALLOC_MAY_FAIL | ALLOC_MUST_SUCCEED;
  constexpr FwMemAllocFlag kInit = INIT_ZERO | INIT_NONE;
  FwAssert(AllocFlags <= (kAlloc | kInit), "Bad flag");
  // Kept, as part of the interface: only both pairs doubled together are refused, either pair alone
  // is let through.
  FwAssert((AllocFlags & kAlloc) != kAlloc || (AllocFlags & kInit) != kInit, "Duplicate flags");
  FwAssert((AllocFlags & kAlloc) != 0, "Unspecified ALLOC_ flag");
  FwAssert((AllocFlags & kInit) != 0, "Unspecified INIT_ flag");
}

void FwMemExitMemoryExhausted() {
  fcBootContext.control.exiterrorf(FWT("Run out of memory"));
  // Only the function that stands in before the boot returns; what it asserted is to be seen.
  std::fflush(stdout);
  std::_Exit(1);
}

void* FcMemAlloc_INTERNAL(uint32 cbSize, FwMemAllocFlag AllocFlags, char* pszFile, uint32 nLine) {
  FcAssertBootLevel(kFcLevelMemory);
  FwAssert(cbSize != 0, "Won't allocate 0 size block");
  FcMemCheckFlags(AllocFlags);
  FwAssert(pszFile != nullptr, "No filename");
  void* pv = pfnFcMemDbgAlloc(cbSize, pszFile, nLine);
  if (pv == nullptr) {
    if (AllocFlags & ALLOC_MUST_SUCCEED) FwMemExitMemoryExhausted();
    return nullptr;
  }
  if (AllocFlags & INIT_ZERO)
    std::memset(pv, 0, cbSize);
  else if (nFcDebugLevel != 0)
    std::memset(pv, kFcMemFillFresh, cbSize);
  return pv;
}

void FcMemFree_INTERNAL(void* pvBlock, char* pszFile, uint32 nLine) {
  FcAssertBootLevel(kFcLevelMemory);
  FwAssert(pvBlock != nullptr, "No block to free");
  FwAssert(pszFile != nullptr, "No filename");
  FwAssert(IsAligned(pvBlock), "Unaligned block to free");
  if (pvBlock == nullptr || !IsAligned(pvBlock)) return;
  pfnFcMemDbgFree(pvBlock, kFcMemUnknownSize, pszFile, nLine);
}

void FcMemFreeSize_INTERNAL(void* pvBlock, uint32 cbSize, char* pszFile, uint32 nLine) {
  FcAssertBootLevel(kFcLevelMemory);
  FwAssert(pvBlock != nullptr, "No block to free");
  FwAssert(pszFile != nullptr, "No filename");
  FwAssert(IsAligned(pvBlock), "Unaligned block to free");
  FwAssert(cbSize != 0 && cbSize != kFcMemUnknownSize, "No size to free");
  if (pvBlock == nullptr || !IsAligned(pvBlock)) return;
  // No header of level 0 knows the size, so its free can't do this.
  if (nFcDebugLevel == 0 && cbSize != kFcMemUnknownSize)
    std::memset(pvBlock, kFcMemFillFreed, cbSize);
  pfnFcMemDbgFree(pvBlock, cbSize, pszFile, nLine);
}

void FcMemFreeAndClearFailed() {
  FwAssertFailed("NULL ppvBlock");
}

void* pvFcMemAlloc_DBGLEV_NONE(uint32 cbSize, char*, uint32) {
  return pfnFcMemAlloc(cbSize != 0 ? cbSize : 1);
}

void FcMemFree_DBGLEV_NONE(void* pvBlock, uint32, char*, uint32) {
  pfnFcMemFree(pvBlock);
}
