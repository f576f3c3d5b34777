// Pools. Their blocks come from the raw allocator without a debug header, so that reports and
// counts don't see them.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "fcboot.h"
#include "level.h"

namespace {

constexpr uint32 kMaxAlignment = 8;

// A raw block is a multiple of kGranule, less what allocators like to put before it.
constexpr std::size_t kGranule = 1024;
constexpr std::size_t kRawHeader = 8;

bool IsAlignmentGood(uint32 alignment) {
  return alignment >= 1 && alignment <= kMaxAlignment && (alignment & (alignment - 1)) == 0;
}

bool IsPoolGood(const FwMemPool* pPool) {
  return pPool != nullptr && pPool->nClass == 0 && IsAlignmentGood(pPool->alignment);
}

std::size_t RoundUp(std::size_t cb, std::size_t alignment) {
  return (cb + alignment - 1) / alignment * alignment;
}

// The same within 32 bits; what would wrap is more than a block can have anyway.
uint32 RoundUp32(uint32 cb, uint32 alignment) {
  return static_cast<uint32>(std::min<std::size_t>(RoundUp(cb, alignment), kFwMemMaxSize));
}

uint8* AlignUp(uint8* pb, uint32 alignment) {
  const auto n = reinterpret_cast<std::uintptr_t>(pb);
  return pb + (RoundUp(n, alignment) - n);
}

bool IsAlignedTo(const void* pv, uint32 alignment) {
  return (reinterpret_cast<std::uintptr_t>(pv) & (alignment - 1)) == 0;
}

// A raw block with room for cbHeader and cbPayload. *pcbRaw gets its size; null if there is none.
uint8* RawAlloc(std::size_t cbHeader, std::size_t cbPayload, uint32 alignment,
                std::size_t* pcbRaw) {
  *pcbRaw = RoundUp(cbHeader + cbPayload + alignment + kRawHeader, kGranule) - kRawHeader;
  if (*pcbRaw > kFwMemMaxSize) return nullptr;
  return static_cast<uint8*>(pfnFcMemAlloc(*pcbRaw));
}

// Gives the sub-block all that is left behind the header in the raw block.
void SetFree(SubAllocBlock* pBlock, uint8* pbRaw, std::size_t cbHeader, std::size_t cbRaw,
             uint32 alignment) {
  uint8* const pbEnd = pbRaw + cbRaw;
  pBlock->pFreeSpace = AlignUp(pbRaw + cbHeader, alignment);
  pBlock->nFreeBytes = static_cast<uint32>(pbEnd - pBlock->pFreeSpace);
  FwAssert(pBlock->pFreeSpace + pBlock->nFreeBytes == pbEnd, "internal error");
}

AllocOnlyPool* AllocOnlyOf(FwMemPool* pPool) {
  return static_cast<AllocOnlyPool*>(pPool);
}

// The newest block with room for cbSize bytes, or null.
SubAllocBlock* FindRoom(AllocOnlyPool* pPool, std::size_t cbSize) {
  for (SubAllocBlock* pBlock = pPool->pChain; pBlock != nullptr; pBlock = pBlock->pNextBlock)
    if (pBlock->nFreeBytes >= cbSize) return pBlock;
  return nullptr;
}

// A new block, at the head of the chain, with room for cbSize bytes; null if there is none.
SubAllocBlock* Grow(AllocOnlyPool* pPool, std::size_t cbSize) {
  const uint32 alignment = pPool->alignment;
  const std::size_t cbHeader = RoundUp(sizeof(SubAllocBlock), alignment);
  std::size_t cbRaw;
  uint8* pbRaw = RawAlloc(cbHeader, cbSize + pPool->cbGrowExtra, alignment, &cbRaw);
  if (pbRaw == nullptr) return nullptr;
  auto* pBlock = reinterpret_cast<SubAllocBlock*>(pbRaw);
  SetFree(pBlock, pbRaw, cbHeader, cbRaw, alignment);
  pBlock->pNextBlock = pPool->pChain;
  pPool->pChain = pBlock;
  return pBlock;
}

void* FiAllocOnlyPoolAlloc(AllocOnlyPool* pPool, std::size_t cbSize) {
  SubAllocBlock* pBlock = FindRoom(pPool, cbSize);
  if (pBlock == nullptr) pBlock = Grow(pPool, cbSize);
  if (pBlock == nullptr) return nullptr;
  uint8* pb = pBlock->pFreeSpace;
  pBlock->pFreeSpace += cbSize;
  pBlock->nFreeBytes -= static_cast<uint32>(cbSize);
  return pb;
}

}  // namespace

FwMemPool* FwMemPoolCreate(uint32 nClass, uint32 cbInitialSize, uint32 cbGrowExtra,
                           uint32 alignment, FwMemAllocFlag AllocFlags) {
  FcAssertBootLevel(kFcLevelMemory);
  const bool fArgs = FwExpect(nClass == 0 && IsAlignmentGood(alignment), "bad args");
  FcMemCheckFlags(AllocFlags);
  if (!fArgs) return nullptr;
  const std::size_t cbHeader = RoundUp(sizeof(AllocOnlyPool), alignment);
  std::size_t cbRaw;
  uint8* pbRaw = RawAlloc(cbHeader, RoundUp(cbInitialSize, alignment), alignment, &cbRaw);
  if (pbRaw == nullptr) return nullptr;
  auto* pPool = reinterpret_cast<AllocOnlyPool*>(pbRaw);
  static_cast<FwMemPool&>(*pPool) = {nClass, alignment, RoundUp32(cbGrowExtra, alignment),
                                     AllocFlags};
  pPool->pChain = &pPool->firstBlock;
  pPool->firstBlock.pNextBlock = nullptr;
  SetFree(&pPool->firstBlock, pbRaw, cbHeader, cbRaw, alignment);
  return pPool;
}

void FwMemPoolDestroy(FwMemPool** ppPool) {
  if (ppPool == nullptr || *ppPool == nullptr) return;
  if (!FwExpect((*ppPool)->nClass == 0, "bad pool class")) return;
  AllocOnlyPool* pPool = AllocOnlyOf(*ppPool);
  for (SubAllocBlock* pBlock = pPool->pChain; pBlock->pNextBlock != nullptr;) {
    SubAllocBlock* pNext = pBlock->pNextBlock;
    pfnFcMemFree(pBlock);
    pBlock = pNext;
  }
  pfnFcMemFree(pPool);
  *ppPool = nullptr;
}

void* FwMemPoolAlloc(FwMemPool* pPool, uint32 cbSize) {
  const bool fArgs =
      IsPoolGood(pPool) && cbSize != 0 && cbSize <= 0xFFFFFFFF - (pPool->alignment - 1);
  if (!FwExpect(fArgs, "bad args")) return nullptr;
  const std::size_t cbRounded = RoundUp(cbSize, pPool->alignment);
  void* pv = FiAllocOnlyPoolAlloc(AllocOnlyOf(pPool), cbRounded);
  if (pv == nullptr) {
    if (pPool->allocFlags & ALLOC_MUST_SUCCEED) FwMemExitMemoryExhausted();
    return nullptr;
  }
  FwAssert(IsAlignedTo(pv, pPool->alignment), "alloc block not aligned");
  if (pPool->allocFlags & INIT_ZERO) std::memset(pv, 0, cbRounded);
  return pv;
}

void FwMemPoolFree(FwMemPool* pPool, void* pvBlock) {
  FwAssert(IsPoolGood(pPool), "bad pool arg");
  FwAssert(pvBlock != nullptr, "No block to free");
  FwAssert(IsAlignedTo(pvBlock, IsPoolGood(pPool) ? pPool->alignment : 1),
           "Unaligned block to free");
}
