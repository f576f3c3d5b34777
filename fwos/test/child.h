// Tests that must not touch the process they run in: another user, another boot, another mount.
#ifndef FWOS_TEST_CHILD_H
#define FWOS_TEST_CHILD_H

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <sched.h>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

// Runs the body in a child process. What fails there is printed, and fails the test here.
inline void ExpectGoodInChild(const std::function<void()>& body) {
  EXPECT_EXIT(
      {
        body();
        std::fflush(stdout);
        std::_Exit(testing::Test::HasFailure() ? 3 : 0);
      },
      testing::ExitedWithCode(0), "");
}

// Runs the body in a child process that has no more rights than any user. The files of the test
// must be open to all. Only root can do that; others have no more rights anyway.
inline void ExpectGoodAsAnyUser(const std::function<void()>& body) {
  ExpectGoodInChild([&body] {
    if (geteuid() == 0) {
      ASSERT_EQ(0, setgid(65534));
      ASSERT_EQ(0, setuid(65534));
    }
    body();
  });
}

// Mounts a disk of so many kilobytes at a directory, for this process alone; false if it may not.
inline bool MountSmallDisk(const std::string& directory, int kilobytes) {
  return unshare(CLONE_NEWNS) == 0 &&
         mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("none", directory.c_str(), "tmpfs", 0,
               ("size=" + std::to_string(kilobytes) + "k").c_str()) == 0;
}

// Whether that is possible at all.
inline bool CanMount() {
  if (geteuid() != 0) return false;
  const pid_t child = fork();
  if (child == 0) {
    const bool fMounted = MountSmallDisk("/tmp", 64);
    _exit(fMounted ? 0 : 1);
  }
  int status = -1;
  return waitpid(child, &status, 0) == child && status == 0;
}

#endif
