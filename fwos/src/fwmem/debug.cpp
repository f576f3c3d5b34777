// Debug levels 1 and 2: headers, fences, the list of live blocks, and the complaints about misuse.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "fcboot.h"
#include "level.h"

int32 cFcAllocatedBlocks;
FwListHead_t FcMhalListHead;

namespace {

constexpr uint8 kStartFence[4] = {0xDE, 0xAD, 0xBE, 0xEF};
// Another order on purpose: the two ends can be told apart in a dump.
constexpr uint8 kEndFence[4] = {0xEF, 0xAD, 0xDE, 0xBE};

// What a complaint tells beside its text. A file that is null is not known.
struct BlockMessageInfo_t {
  const char* pszFunction;
  const char* pszCallingFile;
  uint32 nCallingLine;
  const char* pszAllocatedFile;
  uint32 nAllocatedLine;
};

struct FcMhalValidate_t {
  uint8* pb;
  bool fIsValid;
};

// The address of a complaint's text tells it from others in the history of assertions, so each gets
// memory of its own that is never freed.
char* KeepText(const char* pszText) {
  const std::size_t cb = std::strlen(pszText) + 1;
  void* pv = std::malloc(cb);
  if (pv == nullptr) return const_cast<char*>("Out of memory for a complaint about memory");
  return static_cast<char*>(std::memcpy(pv, pszText, cb));
}

void FcMemWarning_(const BlockMessageInfo_t& info, bool fFatal, const char* pszMessage) {
  char szCall[128] = "";
  char szAllocation[128] = "";
  char szText[512];
  FwAssert(info.pszCallingFile != nullptr || info.pszAllocatedFile != nullptr, "Bad message");
  if (info.pszCallingFile != nullptr)
    std::snprintf(szCall, sizeof szCall, "Call in %.64s line %d: ", info.pszCallingFile,
                  static_cast<int>(info.nCallingLine));
  if (info.pszAllocatedFile != nullptr)
    std::snprintf(szAllocation, sizeof szAllocation,
                  "Allocation in %.64s line %d: ", info.pszAllocatedFile,
                  static_cast<int>(info.nAllocatedLine));
  std::snprintf(szText, sizeof szText, "%.12s: %.128s%.128s%.128s", info.pszFunction, szCall,
                szAllocation, pszMessage);
  if (fFatal)
    VqAssert(const_cast<char*>(__FILE__), __LINE__, KeepText(szText));
  else
    FwTrace("%s", szText);
}

// With the C library as the raw allocator a freed block's header may no longer be read, and a
// second release would end the process. So the last freed blocks are remembered by their addresses.
// An application's own allocator is trusted to cope with both.
bool RawIsCLibrary() {
  return pfnFcMemAlloc == std::malloc;
}

constexpr std::size_t kFreedRemembered = 256;
const void* apvFreed[kFreedRemembered];
std::size_t iFreedNext;

void RememberFreed(const void* pvBlock) {
  apvFreed[iFreedNext] = pvBlock;
  iFreedNext = (iFreedNext + 1) % kFreedRemembered;
}

void ForgetFreed(const void* pvBlock) {
  std::replace(std::begin(apvFreed), std::end(apvFreed), pvBlock,
               static_cast<const void*>(nullptr));
}

bool IsKnownAsFreed(const void* pvBlock) {
  return RawIsCLibrary() &&
         std::find(std::begin(apvFreed), std::end(apvFreed), pvBlock) != std::end(apvFreed);
}

bool CheckSize(uint32 cbSize) {
  FwAssert(cbSize != 0 && cbSize != kFcMemUnknownSize, "No size");
  return cbSize != kFcMemUnknownSize;
}

// A block of size 0, asserted by now, still takes a byte: the caller gets an address.
std::size_t BytesFor(uint32 cbSize) {
  return cbSize != 0 ? cbSize : 1;
}

void FcMemFillFreed(const BlockMessageInfo_t& info, const FcMemLightAllocation_t* pmlal,
                    void* pvBlock, uint32 cbSize) {
  if (pmlal->nMagic != kFcMemMagicLive) return;
  if (cbSize != kFcMemUnknownSize && cbSize != pmlal->cbSize) {
    FcMemWarning_(info, true, "Size parameter in call does not match with block's size parameter");
    return;
  }
  std::memset(pvBlock, kFcMemFillFreed, pmlal->cbSize);
}

void WarnAlreadyFreed(const BlockMessageInfo_t& info) {
  FcMemWarning_(info, true, "Block apparently already freed");
}

// Whether the block is live.
bool FcMlalCheck(const BlockMessageInfo_t& info, const FcMemLightAllocation_t* pmlal) {
  if (pmlal->nMagic == kFcMemMagicFreed)
    WarnAlreadyFreed(info);
  else if (pmlal->nMagic != kFcMemMagicLive)
    FcMemWarning_(info, true, "Block apparently corrupted/not allocated by FrameWork");
  if (pmlal->cbSize == 0) FcMemWarning_(info, true, "Block has 0 size");
  return pmlal->nMagic == kFcMemMagicLive;
}

void FcMlalDestroy(FcMemLightAllocation_t* pmlal) {
  if (pmlal->nMagic == kFcMemMagicLive) pmlal->nMagic = kFcMemMagicFreed;
}

// The end of a free at either level.
void Release(const BlockMessageInfo_t& info, void* pvRaw, const void* pvBlock) {
  if (--cFcAllocatedBlocks < 0) FcMemWarning_(info, true, "Allocated block count has gone below 0");
  RememberFreed(pvBlock);
  pfnFcMemFree(pvRaw);
}

uint8* BlockOf(FcMemHeavyAllocation_t* pmhal) {
  return reinterpret_cast<uint8*>(pmhal + 1);
}

FcMemHeavyAllocation_t* HeavyOf(void* pv) {
  return static_cast<FcMemHeavyAllocation_t*>(pv);
}

FcMemHeavyAllocation_t* HeavyOfEntry(pFwListEntry_t plse) {
  return reinterpret_cast<FcMemHeavyAllocation_t*>(plse);
}

// The name after the last '/', cut to what the header holds.
void CopyBaseName(char (&szTarget)[16], const char* pszFile) {
  if (pszFile == nullptr) pszFile = "";
  const char* pszSlash = std::strrchr(pszFile, '/');
  const char* pszBase = pszSlash != nullptr ? pszSlash + 1 : pszFile;
  const std::size_t cb = std::min(std::strlen(pszBase), sizeof szTarget - 1);
  std::memcpy(szTarget, pszBase, cb);
  std::memset(szTarget + cb, 0, sizeof szTarget - cb);
}

// The neighbours of an entry, as the rest of the list sees it. Both null if it is not listed: the
// entry itself may lie anywhere, so its own links are not followed.
struct Neighbours {
  pFwListEntry_t plsePrev = nullptr;
  pFwListEntry_t plseNext = nullptr;
  bool fListed() const { return plsePrev != nullptr && plseNext != nullptr; }
};

Neighbours FindNeighbours(pFwListEntry_t plseEntry) {
  Neighbours found;
  const pFwListEntry_t plseHead = &FcMhalListHead.lseHead;
  const pFwListEntry_t plseTail = &FcMhalListHead.lseTail;
  for (pFwListEntry_t plse = plseHead; plse != plseTail; plse = plse->plseNext)
    if (plse->plseNext == plseEntry) {
      found.plsePrev = plse;
      break;
    }
  for (pFwListEntry_t plse = plseTail; plse != plseHead; plse = plse->plsePrev)
    if (plse->plsePrev == plseEntry) {
      found.plseNext = plse;
      break;
    }
  return found;
}

bool IsLinkSound(pFwListEntry_t plse) {
  return (reinterpret_cast<std::uintptr_t>(plse) & 3) == 0;
}

// Whether the block is live. Only of a listed one more than the magic is read.
bool FcMhalCheck(const BlockMessageInfo_t& info, FcMemHeavyAllocation_t* pmhal) {
  const Neighbours neighbours = FindNeighbours(&pmhal->lse);
  const FwListEntry_t& lse = pmhal->lse;
  if (!neighbours.fListed()) {
    FcMemWarning_(info, true, "Memory block lost from list");
    FcMlalCheck(info, &pmhal->mlal);
    return false;
  }
  if (!IsLinkSound(lse.plseNext) || !IsLinkSound(lse.plsePrev))
    FcMemWarning_(info, true, "Block has corrupted record");
  if (lse.plseNext != neighbours.plseNext || lse.plsePrev != neighbours.plsePrev)
    FcMemWarning_(info, true, "Memory block lost from list");
  if (std::memcmp(pmhal->rgbStartFence, kStartFence, sizeof kStartFence) != 0)
    FcMemWarning_(info, true, "Detected allocation start overwrite");
  // The size tells where the end is, and only a header with its magic is believed.
  if (pmhal->mlal.nMagic == kFcMemMagicLive &&
      std::memcmp(BlockOf(pmhal) + pmhal->mlal.cbSize, kEndFence, sizeof kEndFence) != 0)
    FcMemWarning_(info, true, "Detected allocation end overwrite");
  FcMlalCheck(info, &pmhal->mlal);
  return true;
}

void FcMhalDestroy(FcMemHeavyAllocation_t* pmhal) {
  const Neighbours neighbours = FindNeighbours(&pmhal->lse);
  if (neighbours.fListed()) {
    // Overwritten links, reported by now, must not be followed.
    pmhal->lse = {neighbours.plseNext, neighbours.plsePrev};
    FcListRemove_(&FcMhalListHead, &pmhal->lse);
  }
  FcMlalDestroy(&pmhal->mlal);
}

// The allocation that a header tells of, if it looks like one.
struct AllocationOf {
  char szFilename[17] = "";
  BlockMessageInfo_t info;

  AllocationOf(const char* pszFunction, const char* pszCallingFile, uint32 nCallingLine,
               FcMemHeavyAllocation_t* pmhal)
      : info{pszFunction, pszCallingFile, nCallingLine, nullptr, 0} {
    if (pmhal->mlal.nMagic != kFcMemMagicLive && pmhal->mlal.nMagic != kFcMemMagicFreed &&
        !FindNeighbours(&pmhal->lse).fListed())
      return;
    std::memcpy(szFilename, pmhal->szFilename, sizeof pmhal->szFilename);
    info.pszAllocatedFile = szFilename;
    info.nAllocatedLine = pmhal->nLine;
  }
};

bool fFcMhalDoReport(FcMemHeavyAllocation_t* pmhal, void*) {
  FwTrace("fFcMhalDoReport: %d bytes allocated at %x, by %s at line %d",
          static_cast<int>(pmhal->mlal.cbSize),
          static_cast<uint32>(reinterpret_cast<std::uintptr_t>(BlockOf(pmhal))), pmhal->szFilename,
          static_cast<int>(pmhal->nLine));
  return true;
}

bool fFcMhalDoCheck(FcMemHeavyAllocation_t* pmhal, void*) {
  const AllocationOf allocation("FwMemCheckBlocks", nullptr, 0, pmhal);
  FcMhalCheck(allocation.info, pmhal);
  return true;
}

bool fFcMhalDoValidate(FcMemHeavyAllocation_t* pmhal, void* pvData) {
  auto* pValidate = static_cast<FcMhalValidate_t*>(pvData);
  const auto n = reinterpret_cast<std::uintptr_t>(pValidate->pb);
  const auto nFirst = reinterpret_cast<std::uintptr_t>(BlockOf(pmhal));
  // The byte behind the last counts as well: a pointer may stand at the end of a block.
  pValidate->fIsValid = n >= nFirst && n <= nFirst + pmhal->mlal.cbSize;
  return !pValidate->fIsValid;
}

}  // namespace

void* pvFcMemAlloc_DBGLEV_1(uint32 cbSize, char*, uint32) {
  if (!CheckSize(cbSize)) return nullptr;
  void* pvRaw = pfnFcMemAlloc(sizeof(FcMemLightAllocation_t) + BytesFor(cbSize));
  if (pvRaw == nullptr) return nullptr;
  ++cFcAllocatedBlocks;
  auto* pmlal = static_cast<FcMemLightAllocation_t*>(pvRaw);
  *pmlal = {kFcMemMagicLive, cbSize};
  ForgetFreed(pmlal + 1);
  return pmlal + 1;
}

void FcMemFree_DBGLEV_1(void* pvBlock, uint32 cbSize, char* pszFile, uint32 nLine) {
  const BlockMessageInfo_t info{"Free", pszFile, nLine, nullptr, 0};
  if (IsKnownAsFreed(pvBlock)) {
    WarnAlreadyFreed(info);
    return;
  }
  FcMemLightAllocation_t* pmlal = static_cast<FcMemLightAllocation_t*>(pvBlock) - 1;
  FcMemFillFreed(info, pmlal, pvBlock, cbSize);
  const bool fLive = FcMlalCheck(info, pmlal);
  FcMlalDestroy(pmlal);
  if (fLive || !RawIsCLibrary()) Release(info, pmlal, pvBlock);
}

void* pvFcMemAlloc_DBGLEV_2(uint32 cbSize, char* pszFile, uint32 nLine) {
  if (!CheckSize(cbSize)) return nullptr;
  void* pvRaw = pfnFcMemAlloc(sizeof(FcMemHeavyAllocation_t) + BytesFor(cbSize) + sizeof kEndFence);
  if (pvRaw == nullptr) return nullptr;
  ++cFcAllocatedBlocks;
  FcMemHeavyAllocation_t* pmhal = HeavyOf(pvRaw);
  pmhal->lse = {};
  pmhal->mlal = {kFcMemMagicLive, cbSize};
  pmhal->nLine = nLine;
  CopyBaseName(pmhal->szFilename, pszFile);
  std::memcpy(pmhal->rgbStartFence, kStartFence, sizeof kStartFence);
  std::memcpy(BlockOf(pmhal) + cbSize, kEndFence, sizeof kEndFence);
  FcListAppend_(&FcMhalListHead, &pmhal->lse);
  ForgetFreed(BlockOf(pmhal));
  return BlockOf(pmhal);
}

void FcMemFree_DBGLEV_2(void* pvBlock, uint32 cbSize, char* pszFile, uint32 nLine) {
  if (IsKnownAsFreed(pvBlock)) {
    const BlockMessageInfo_t info{"Free", pszFile, nLine, nullptr, 0};
    FcMemWarning_(info, true, "Memory block lost from list");
    WarnAlreadyFreed(info);
    return;
  }
  FcMemHeavyAllocation_t* pmhal = HeavyOf(pvBlock) - 1;
  const AllocationOf allocation("Free", pszFile, nLine, pmhal);
  const BlockMessageInfo_t& info = allocation.info;
  FcMemFillFreed(info, &pmhal->mlal, pvBlock, cbSize);
  const bool fLive = FcMhalCheck(info, pmhal);
  FcMhalDestroy(pmhal);
  if (fLive || !RawIsCLibrary()) Release(info, pmhal, pvBlock);
}

void FcMemReportStray(void* pvAddress, char* pszFile, uint32 nLine) {
  if (nFcDebugLevel == 1) {
    FcMlalCheck({"Free", pszFile, nLine, nullptr, 0},
                static_cast<FcMemLightAllocation_t*>(pvAddress) - 1);
  } else if (nFcDebugLevel == 2) {
    FcMemHeavyAllocation_t* pmhal = HeavyOf(pvAddress) - 1;
    const AllocationOf allocation("Free", pszFile, nLine, pmhal);
    FcMhalCheck(allocation.info, pmhal);
  }
}

void FcMhalIterate(fnFcMhalIterate_t* pmav, void* pvData) {
  pFwListEntry_t plse = plseFcListGetFirst_(&FcMhalListHead);
  while (plse != nullptr) {
    const pFwListEntry_t plseNext = plseFcListGetNext_(&FcMhalListHead, plse);
    if (!pmav(HeavyOfEntry(plse), pvData)) return;
    plse = plseNext;
  }
}

void FwMemReport() {
  FcAssertBootLevel(kFcLevelMemory);
  if (nFcDebugLevel == 0) return;
  FwTrace("FwMemReport: %d allocated blocks", static_cast<int>(cFcAllocatedBlocks));
  if (nFcDebugLevel == 2) FcMhalIterate(fFcMhalDoReport, nullptr);
}

void FwMemCheckBlocks() {
  FcAssertBootLevel(kFcLevelMemory);
  if (nFcDebugLevel == 2) FcMhalIterate(fFcMhalDoCheck, nullptr);
}

int32 fFwMemPtrValid(void* pv) {
  FcAssertBootLevel(kFcLevelMemory);
  if (nFcDebugLevel < 2) return 1;
  FcMhalValidate_t validate{static_cast<uint8*>(pv), false};
  FcMhalIterate(fFcMhalDoValidate, &validate);
  return validate.fIsValid;
}
