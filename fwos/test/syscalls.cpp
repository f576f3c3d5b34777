#include "syscalls.h"

#include <dlfcn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace {

bool fDisk = false;
struct statfs disk;
bool fNoFork = false;
int nInterrupts = 0;
int nReads = 0;
int nWrites = 0;

template <class Fn>
Fn* Next(const char* name) {
  return reinterpret_cast<Fn*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int statfs(const char* path, struct statfs* status) noexcept {
  if (fDisk) {
    *status = disk;
    return 0;
  }
  static auto* const pNext = Next<int(const char*, struct statfs*)>("statfs");
  return pNext(path, status);
}

extern "C" pid_t fork() noexcept {
  if (fNoFork) {
    errno = EAGAIN;
    return -1;
  }
  static auto* const pNext = Next<pid_t()>("fork");
  return pNext();
}

extern "C" pid_t waitpid(pid_t pid, int* status, int options) {
  if (nInterrupts > 0) {
    --nInterrupts;
    errno = EINTR;
    return -1;
  }
  static auto* const pNext = Next<pid_t(pid_t, int*, int)>("waitpid");
  return pNext(pid, status, options);
}

extern "C" ssize_t read(int file, void* buffer, size_t size) {
  ++nReads;
  static auto* const pNext = Next<ssize_t(int, void*, size_t)>("read");
  return pNext(file, buffer, size);
}

extern "C" ssize_t write(int file, const void* buffer, size_t size) {
  ++nWrites;
  static auto* const pNext = Next<ssize_t(int, const void*, size_t)>("write");
  return pNext(file, buffer, size);
}

DiskOf::DiskOf(uint64_t available, uint64_t total, int64_t block) {
  disk = {};
  disk.f_bsize = block;
  disk.f_bavail = available;
  disk.f_bfree = available + 100;  // with what is held back for the superuser
  disk.f_blocks = total;
  fDisk = true;
}

DiskOf::~DiskOf() {
  fDisk = false;
}

NoFork::NoFork() {
  fNoFork = true;
}

NoFork::~NoFork() {
  fNoFork = false;
}

void InterruptWaits(int n) {
  nInterrupts = n;
}

CountTransfers::CountTransfers() : reads_(nReads), writes_(nWrites) {}

int CountTransfers::reads() const {
  return nReads - reads_;
}

int CountTransfers::writes() const {
  return nWrites - writes_;
}
