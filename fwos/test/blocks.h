// Counts the blocks that the memory manager takes from the raw allocator, and makes one of the
// requests fail on demand.
#ifndef FWOS_TEST_BLOCKS_H
#define FWOS_TEST_BLOCKS_H

#include <cstdlib>
#include <set>

#include "fwmem/level.h"

class CountedBlocks {
 public:
  CountedBlocks() : alloc_(pfnFcMemAlloc), free_(pfnFcMemFree) {
    live_ = taken_ = 0;
    fail_at_ = -1;
    pfnFcMemAlloc = Alloc;
    pfnFcMemFree = Free;
  }
  ~CountedBlocks() {
    pfnFcMemAlloc = alloc_;
    pfnFcMemFree = free_;
  }
  CountedBlocks(const CountedBlocks&) = delete;
  CountedBlocks& operator=(const CountedBlocks&) = delete;

  // Blocks taken and not freed, and all taken, since the guard was made.
  int live() const { return live_; }
  int taken() const { return taken_; }

  // Lets the request number n from now on fail, 0 being the next.
  void FailAt(int n) { fail_at_ = n; }

 private:
  static void* Alloc(std::size_t cb) {
    if (fail_at_ >= 0 && fail_at_-- == 0) return nullptr;
    live_++;
    taken_++;
    void* pv = std::malloc(cb);
    known().insert(pv);
    return pv;
  }
  static void Free(void* pv) {
    live_--;
    known().erase(pv);
    std::free(pv);
  }

  // Blocks left on purpose stay known here, which keeps them from being reported as leaks.
  static std::set<void*>& known() {
    static auto* const kBlocks = new std::set<void*>;
    return *kBlocks;
  }
  static inline int live_ = 0;
  static inline int taken_ = 0;
  static inline int fail_at_ = -1;
  alloc_fp alloc_;
  free_fp free_;
};

#endif
