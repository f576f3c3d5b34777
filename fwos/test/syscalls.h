// System calls that fail or answer on demand, for what a real system can't be made to do.
#ifndef FWOS_TEST_SYSCALLS_H
#define FWOS_TEST_SYSCALLS_H

#include <sys/vfs.h>

#include <cstdint>

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

// Calls of read and write since the start of the scope.
class CountTransfers {
 public:
  CountTransfers();
  int reads() const;
  int writes() const;

 private:
  int reads_, writes_;
};

#endif
