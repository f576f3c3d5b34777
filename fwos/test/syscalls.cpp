#include "syscalls.h"

#include <dlfcn.h>
#include <sys/vfs.h>

#include <cerrno>

#include "faults.h"

namespace {

bool fDisk = false;
struct statfs disk;

}  // namespace

extern "C" int statfs(const char* path, struct statfs* status) noexcept {
  if (CallFails(kStatFs)) return -1;
  if (fDisk) {
    *status = disk;
    return 0;
  }
  using Fn = int(const char*, struct statfs*);
  static auto* const kNext = reinterpret_cast<Fn*>(dlsym(RTLD_NEXT, "statfs"));
  return kNext(path, status);
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
  ArmFault({kFork, 0, kForEver, EAGAIN});
}

NoFork::~NoFork() {
  DisarmFault();
}

void InterruptWaits(int n) {
  ArmFault({kWait, 0, n, EINTR});
}

FullDisk::FullDisk(int64_t room) {
  LimitRoom(room);
}

FullDisk::~FullDisk() {
  LimitRoom(-1);
}

BrokenDisk::BrokenDisk(int n) {
  ArmFault({kRead, n, kForEver, EIO});
}

BrokenDisk::~BrokenDisk() {
  DisarmFault();
}

LateFailure::LateFailure(FaultCall call) {
  ArmFault({call, 0, kForEver, EIO});
}

LateFailure::~LateFailure() {
  DisarmFault();
}

void InterruptStats(int n) {
  ArmFault({kStat, 0, n, EINTR});
}

CountTransfers::CountTransfers() {
  // Counts, and lets nothing fail.
  ArmFault({kRead, -1});
}

int CountTransfers::reads() const {
  return static_cast<int>(CallsOf(kRead));
}

int CountTransfers::writes() const {
  return static_cast<int>(CallsOf(kWrite));
}
