// The memory manager's layouts and state, as its sources and tests see them.
#ifndef FCMEM_H
#define FCMEM_H

#include "fwlist.h"
#include "fwmem.h"

inline constexpr uint32 kFcMemMagicLive = 0x59682F96;
inline constexpr uint32 kFcMemMagicFreed = 0x1E65FB4E;

// What a block's free is told when it doesn't know the size.
inline constexpr uint32 kFcMemUnknownSize = 0xFFFFFFFF;

inline constexpr uint8 kFcMemFillFresh = 0xB9;
inline constexpr uint8 kFcMemFillFreed = 0xC7;

// Directly before the caller's bytes at level 1.
struct FcMemLightAllocation_t {
  uint32 nMagic;
  uint32 cbSize;  // as the caller asked
};

// Directly before the caller's bytes at level 2; the end fence follows them without alignment.
struct FcMemHeavyAllocation_t {
  FwListEntry_t lse;
  FcMemLightAllocation_t mlal;
  uint32 nLine;
  char szFilename[16];  // base name, cut
  uint8 rgbStartFence[4];
};

struct SubAllocBlock {
  SubAllocBlock* pNextBlock;
  uint32 nFreeBytes;
  uint8* pFreeSpace;
};

// A pool's own block is the last of the chain: a new pool allocates once.
struct AllocOnlyPool : FwMemPool {
  SubAllocBlock* pChain;  // newest first
  SubAllocBlock firstBlock;
};

extern uint32 nFcDebugLevel;

// Live blocks; kept at levels 1 and 2.
extern int32 cFcAllocatedBlocks;

// The live blocks of level 2, oldest first.
extern FwListHead_t FcMhalListHead;

// Checks a live block; false stops the walk.
using fnFcMhalIterate_t = bool(FcMemHeavyAllocation_t* pmhal, void* pvData);

// Makes the complaint that freeing an address that does not belong to a block makes, and frees
// nothing: no raw allocator sees the address. Silent at level 0.
void FcMemReportStray(void* pvAddress, char* pszFile, uint32 nLine);

// Walks the live blocks. The callback may remove the block that it is given.
void FcMhalIterate(fnFcMhalIterate_t* pmav, void* pvData);

#endif
