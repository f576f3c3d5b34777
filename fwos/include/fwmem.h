// The framework's memory: a block allocator with debug levels, and pools.
//
// Every allocation states by flags what happens when memory runs out and how the block starts:
//
//   FwThing* pThing = static_cast<FwThing*>(FwMemAlloc(cb, ALLOC_MUST_SUCCEED | INIT_NONE));
//   FwThing* pThing = FwMemNew<FwThing>(ALLOC_MAY_FAIL | INIT_ZERO);       one record
//   FwMemFree(pThing);              or FwMemFreeSize(pThing, cb), or FwMemFreeAndClear(&pThing)
//
// The debug level is chosen at boot. At level 0 a call is handed straight to the raw allocator. The
// higher levels put a header before the caller's bytes, fill fresh bytes with B9 and freed ones
// with C7, and complain of misuse through assertions. After the complaint, a block freed twice is
// left alone if the raw allocator is the C library's; an application's own free gets it twice and
// must cope:
//
//   level 1             [magic, size][caller's bytes]
//   level 2      [links][magic, size][line, file, DE AD BE EF][caller's bytes][EF AD DE BE]
//
// Level 2 keeps all live blocks in a list, so that they can be reported and checked. Its costs grow
// with the number of blocks. Blocks are aligned to 8 bytes, no more.
//
// A pool hands out pieces of large blocks and frees only as a whole:
//
//   FwMemPool* pPool = FwMemPoolCreate(0, 0, 0, 8, ALLOC_MAY_FAIL | INIT_NONE);
//   void* pv = FwMemPoolAlloc(pPool, cb);
//   FwMemPoolDestroy(&pPool);
//
// All of it needs the framework at boot level 4 or above: "FrameWork insufficiently booted".
#ifndef FWMEM_H
#define FWMEM_H

#include <cstddef>
#include <new>
#include <type_traits>

#include "vqtypes.h"

// One choice of each pair: ALLOC_... for exhaustion, INIT_... for the block's first contents.
using FwMemAllocFlag = uint32;
inline constexpr FwMemAllocFlag ALLOC_MAY_FAIL = 1;      // the caller gets NULL
inline constexpr FwMemAllocFlag ALLOC_MUST_SUCCEED = 2;  // the program ends
inline constexpr FwMemAllocFlag INIT_ZERO = 4;
inline constexpr FwMemAllocFlag INIT_NONE = 8;

// Sizes that travel as uint32 end here; the value above means an unknown size.
inline constexpr uint32 kFwMemMaxSize = 0xFFFFFFFE;

using alloc_fp = void* (*)(std::size_t);
using free_fp = void (*)(void*);

// The memory section of the boot context.
struct FwMemContext {
  alloc_fp alloc = nullptr;  // both null: the C library's
  free_fp free = nullptr;
  uint32 debug_level = 0;  // 0, 1 or 2
};

struct FwMemPool {
  uint32 nClass;       // 0, the allocate-only pool, is the only one
  uint32 alignment;    // a power of two from 1 to 8
  uint32 cbGrowExtra;  // bytes in each new block beyond what was asked for
  FwMemAllocFlag allocFlags;
};

// Behind the macros and templates below. pszFile and nLine tell where the call stands.
void* FcMemAlloc_INTERNAL(uint32 cbSize, FwMemAllocFlag AllocFlags, char* pszFile, uint32 nLine);
void FcMemFree_INTERNAL(void* pvBlock, char* pszFile, uint32 nLine);
void FcMemFreeSize_INTERNAL(void* pvBlock, uint32 cbSize, char* pszFile, uint32 nLine);
void FcMemFreeAndClearFailed();

// Ends the program through the application's exit-error function, with "Run out of memory".
[[noreturn]] void FwMemExitMemoryExhausted();

// Sizes are computed in size_t; one that the allocator cannot express counts as exhaustion.
inline void* FcMemAllocSized(std::size_t cbSize, FwMemAllocFlag AllocFlags, const char* pszFile,
                             uint32 nLine) {
  if (cbSize > kFwMemMaxSize) {
    if (AllocFlags & ALLOC_MUST_SUCCEED) FwMemExitMemoryExhausted();
    return nullptr;
  }
  return FcMemAlloc_INTERNAL(static_cast<uint32>(cbSize), AllocFlags, const_cast<char*>(pszFile),
                             nLine);
}

// A block of cbSize bytes, owned by the caller. Asserts a size of 0 and incomplete flags.
#define FwMemAlloc(cbSize, AllocFlags) \
  FcMemAllocSized((cbSize), (AllocFlags), __FILE__, static_cast<uint32>(__LINE__))

// Frees a block, which must not be null.
#define FwMemFree(pvBlock) \
  FcMemFree_INTERNAL((pvBlock), const_cast<char*>(__FILE__), static_cast<uint32>(__LINE__))

// Frees a block and states the size that was asked for; levels 1 and 2 compare.
#define FwMemFreeSize(pvBlock, cbSize)                                     \
  FcMemFreeSize_INTERNAL((pvBlock), (cbSize), const_cast<char*>(__FILE__), \
                         static_cast<uint32>(__LINE__))

template <class T>
void FcMemFreeAndClear(T** ppvBlock, const char* pszFile, uint32 nLine) {
  if (ppvBlock == nullptr) {
    FcMemFreeAndClearFailed();
    return;
  }
  if (*ppvBlock == nullptr) return;
  FcMemFree_INTERNAL(*ppvBlock, const_cast<char*>(pszFile), nLine);
  *ppvBlock = nullptr;
}

inline void FcMemFreeAndClear(std::nullptr_t, const char*, uint32) {
  FcMemFreeAndClearFailed();
}

// Frees the block that a pointer variable holds, if any, and clears the variable.
// Asserts "NULL ppvBlock" if given no address.
#define FwMemFreeAndClear(ppvBlock) \
  FcMemFreeAndClear((ppvBlock), __FILE__, static_cast<uint32>(__LINE__))

// Memory for one record. With INIT_ZERO it starts as T{}: its member initialisers on zeroed bytes;
// with INIT_NONE the caller sets every field.
template <class T>
T* FwMemNew(FwMemAllocFlag AllocFlags, const char* pszFile = __builtin_FILE(),
            uint32 nLine = __builtin_LINE()) {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
  static_assert(alignof(T) <= 8, "level 1 blocks are aligned to 8 bytes only");
  void* pv = FcMemAllocSized(sizeof(T), AllocFlags, pszFile, nLine);
  if (pv != nullptr && (AllocFlags & INIT_ZERO)) return ::new (pv) T{};
  return static_cast<T*>(pv);
}

// Traces the count of blocks (levels 1 and 2) and each live block (level 2).
void FwMemReport();

// Checks every live block at level 2; does nothing below.
void FwMemCheckBlocks();

// At level 2, 1 if the address lies in a live block or directly behind its last byte. Below, 1.
int32 fFwMemPtrValid(void* pv);

// Makes a pool, null if the raw allocator failed. cbInitialSize and cbGrowExtra are bytes; the
// flags apply to each piece. Asserts "bad args", and the flags as an allocation does. The pool
// belongs to the caller.
FwMemPool* FwMemPoolCreate(uint32 nClass, uint32 cbInitialSize, uint32 cbGrowExtra,
                           uint32 alignment, FwMemAllocFlag AllocFlags);

// Frees the pool with all its pieces and clears the pointer; a null *ppPool is allowed.
void FwMemPoolDestroy(FwMemPool** ppPool);

// A piece of cbSize bytes, aligned as the pool says, valid until the pool is destroyed.
void* FwMemPoolAlloc(FwMemPool* pPool, uint32 cbSize);

// Checks its arguments. Single pieces are never reclaimed.
void FwMemPoolFree(FwMemPool* pPool, void* pvBlock);

#endif
