#include "syscalls.h"

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

bool fDisk = false;
struct statfs disk;
bool fNoFork = false;
int nInterrupts = 0;
bool fFull = false;
int64_t nRoom = 0;
int nReadsToFailure = -1;
bool fLateFailure = false;
int nStatInterrupts = 0;
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
  if (nReadsToFailure == 0) {
    errno = EIO;
    return -1;
  }
  if (nReadsToFailure > 0) --nReadsToFailure;
  static auto* const pNext = Next<ssize_t(int, void*, size_t)>("read");
  return pNext(file, buffer, size);
}

extern "C" ssize_t write(int file, const void* buffer, size_t size) {
  ++nWrites;
  static auto* const pNext = Next<ssize_t(int, const void*, size_t)>("write");
  if (!fFull || file <= STDERR_FILENO || size == 0) return pNext(file, buffer, size);
  if (nRoom == 0) {
    errno = ENOSPC;
    return -1;
  }
  const ssize_t n = pNext(file, buffer, std::min(size, static_cast<size_t>(nRoom)));
  if (n > 0) nRoom -= n;
  return n;
}

extern "C" int fstat(int file, struct stat* status) noexcept {
  if (nStatInterrupts > 0) {
    --nStatInterrupts;
    errno = EINTR;
    return -1;
  }
  static auto* const pNext = Next<int(int, struct stat*)>("fstat");
  return pNext(file, status);
}

extern "C" int close(int file) {
  static auto* const pNext = Next<int(int)>("close");
  const int nResult = pNext(file);
  if (!fLateFailure || nResult != 0) return nResult;
  errno = EIO;
  return -1;
}

extern "C" int closedir(DIR* directory) {
  static auto* const pNext = Next<int(DIR*)>("closedir");
  const int nResult = pNext(directory);
  if (!fLateFailure || nResult != 0) return nResult;
  errno = EIO;
  return -1;
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

FullDisk::FullDisk(int64_t room) {
  fFull = true;
  nRoom = room;
}

FullDisk::~FullDisk() {
  fFull = false;
}

BrokenDisk::BrokenDisk(int n) {
  nReadsToFailure = n;
}

BrokenDisk::~BrokenDisk() {
  nReadsToFailure = -1;
}

LateFailure::LateFailure() {
  fLateFailure = true;
}

LateFailure::~LateFailure() {
  fLateFailure = false;
}

void InterruptStats(int n) {
  nStatInterrupts = n;
}

CountTransfers::CountTransfers() : reads_(nReads), writes_(nWrites) {}

int CountTransfers::reads() const {
  return nReads - reads_;
}

int CountTransfers::writes() const {
  return nWrites - writes_;
}
