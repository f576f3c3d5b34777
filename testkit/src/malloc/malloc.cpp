// Stands in for the C library's allocator in the whole process, so that what libraries take for
// themselves is counted and fails too.
#include <dlfcn.h>

#include <cstddef>

#include "faults/state.h"

// The first calls come before the sanitizers' run time is set up, so none of this is instrumented.
#define BARE __attribute__((no_sanitize("address", "undefined")))

namespace {

template <class Fn>
BARE Fn* Find(const char* name) {
  return reinterpret_cast<Fn*>(dlsym(RTLD_NEXT, name));
}

BARE bool Fails() {
  return fault_state->armed && CallFails(kAllocation);
}

}  // namespace

extern "C" {

BARE void* malloc(std::size_t cb) noexcept {
  static void* (*next)(std::size_t);
  if (!next) next = Find<void*(std::size_t)>("malloc");
  return Fails() ? nullptr : next(cb);
}

BARE void* calloc(std::size_t n, std::size_t cb) noexcept {
  static void* (*next)(std::size_t, std::size_t);
  if (!next) next = Find<void*(std::size_t, std::size_t)>("calloc");
  return Fails() ? nullptr : next(n, cb);
}

BARE void* realloc(void* pv, std::size_t cb) noexcept {
  static void* (*next)(void*, std::size_t);
  if (!next) next = Find<void*(void*, std::size_t)>("realloc");
  return Fails() ? nullptr : next(pv, cb);
}

}  // extern "C"
