// System calls that fail or answer on demand, for what a real system can't be made to do.
#ifndef FWOS_TEST_SYSCALLS_H
#define FWOS_TEST_SYSCALLS_H

#include <cstdint>

#include "faults.h"

// Blocks of one byte: what statfs answers while a scope of this lives.
class DiskOf {
 public:
  DiskOf(uint64_t available, uint64_t total, int64_t block = 1);
  ~DiskOf();
  DiskOf(const DiskOf&) = delete;
  DiskOf& operator=(const DiskOf&) = delete;
};

// fork fails with EAGAIN while a scope of this lives.
class NoFork {
 public:
  NoFork();
  ~NoFork();
  NoFork(const NoFork&) = delete;
  NoFork& operator=(const NoFork&) = delete;
};

// The next n calls of waitpid are interrupted.
void InterruptWaits(int n);

// While a scope of this lives, files take so many bytes more; a write is cut short at the end of
// the room, and fails behind it as a full disk does. Descriptors up to 2 are spared.
class FullDisk {
 public:
  explicit FullDisk(int64_t room);
  ~FullDisk();
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
};

// While a scope of this lives, reading fails with EIO from the call number n on, 0 being the next.
class BrokenDisk {
 public:
  explicit BrokenDisk(int n);
  ~BrokenDisk();
  BrokenDisk(const BrokenDisk&) = delete;
  BrokenDisk& operator=(const BrokenDisk&) = delete;
};

// While a scope of this lives, closing a file (kClose) or a directory (kCloseDir) closes it, and
// reports EIO.
class LateFailure {
 public:
  explicit LateFailure(FaultCall call);
  ~LateFailure();
  LateFailure(const LateFailure&) = delete;
  LateFailure& operator=(const LateFailure&) = delete;
};

// The next n calls of stat and its kin are interrupted.
void InterruptStats(int n);

// Calls of read and write since the start of the scope.
class CountTransfers {
 public:
  CountTransfers();
  int reads() const;
  int writes() const;
};

#endif
