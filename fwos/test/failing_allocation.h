// Makes the framework's allocations fail, for tests of what happens then.
#ifndef FAILING_ALLOCATION_H
#define FAILING_ALLOCATION_H

#include "fwmem/level.h"

// Lets nSuccesses allocations pass; from then on all fail, until the end of the scope.
class FailAllocationsAfter {
 public:
  explicit FailAllocationsAfter(int nSuccesses) : outer_(pfnFcMemAlloc) {
    Successes() = nSuccesses;
    Raw() = outer_;
    pfnFcMemAlloc = Allocate;
  }
  ~FailAllocationsAfter() { pfnFcMemAlloc = outer_; }
  FailAllocationsAfter(const FailAllocationsAfter&) = delete;
  FailAllocationsAfter& operator=(const FailAllocationsAfter&) = delete;

 private:
  static int& Successes() {
    static int n;
    return n;
  }
  static alloc_fp& Raw() {
    static alloc_fp pfn;
    return pfn;
  }
  static void* Allocate(std::size_t cb) { return Successes()-- > 0 ? Raw()(cb) : nullptr; }

  alloc_fp outer_;
};

#endif
