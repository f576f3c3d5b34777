// Tests that must not touch the process they run in, another user or another boot, and disks of
// their own.
#ifndef FWOS_TEST_CHILD_H
#define FWOS_TEST_CHILD_H

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "caller.h"

// Runs the body in a child process. What fails there is printed, and fails the test here.
inline void ExpectGoodInChild(const std::function<void()>& body, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
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
inline void ExpectGoodAsAnyUser(const std::function<void()>& body, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  ExpectGoodInChild([&body] {
    if (geteuid() == 0) {
      ASSERT_EQ(0, setgid(65534));
      ASSERT_EQ(0, setuid(65534));
    }
    body();
  });
}

// Makes a disk of so many kilobytes, in memory. It stands nowhere in the tree of directories, so no
// other process sees it and nothing is left behind. The result is its name for this process and its
// children; empty if the disk may not be made, which needs root.
inline std::string MakeDisk(int kilobytes) {
  const int context = fsopen("tmpfs", FSOPEN_CLOEXEC);
  if (context < 0) return "";
  const std::string size = std::to_string(kilobytes) + "k";
  int disk = -1;
  if (fsconfig(context, FSCONFIG_SET_STRING, "size", size.c_str(), 0) == 0 &&
      fsconfig(context, FSCONFIG_CMD_CREATE, nullptr, nullptr, 0) == 0)
    disk = fsmount(context, 0, 0);
  close(context);
  return disk < 0 ? "" : "/proc/self/fd/" + std::to_string(disk);
}

// A directory on another device than /tmp: that of shared memory. Where this is not a device of its
// own, as in a bare tree entered by chroot, a disk in memory is made for the test. Empty if neither
// can be had.
inline const std::string& OtherDevice() {
  static const std::string kDirectory = [] {
    struct stat one, two;
    if (stat("/tmp", &one) != 0) return std::string();
    if (stat("/dev/shm", &two) == 0 && one.st_dev != two.st_dev) return std::string("/dev/shm");
    return MakeDisk(65536);
  }();
  return kDirectory;
}

#endif
