#include "hostplat.h"

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <string>

#include "hostname.h"

namespace {

std::string NameOf(const char* system, const char* release, const char* machine) {
  char result[kHostPlatformSize];
  host_platform_of(system, release, machine, result);
  return result;
}

TEST(HostPlatform, NamesSystemReleaseAndMachine) {
  struct {
    const char* system;
    const char* release;
    const char* machine;
    const char* name;
  } rows[] = {
      {"Linux", "2.4.20", "i686", "linux_2_4_20-i686"},
      {"linux", "6.1.0-18-amd64", "x86_64", "linux_6_1_0_18_amd64-x86_64"},
      {"Linux", "", "x86_64", "linux-x86_64"},
      {"SunOS", "5.8", "sparc", "solaris_2_8-sparc"},
      {"sunos", "5.5.1", "sparc", "solaris_2_5_1-sparc"},
      {"SunOS", "5", "sparc", "solaris_2-sparc"},
      {"SunOS", "510", "sparc", "solaris_2_10-sparc"},
      {"SunOS", "6.1", "sparc", "solaris_3_1-sparc"},
      {"SunOS", "4.1.3", "sun4", "sunos_4_1_3-sun4"},
      {"IRIX", "6.5", "IP32", "irix_6_5-IP32"},
      {"IRIX64", "6.5", "IP30", "irix_6_5-IP30"},
      {"HP-UX", "B.11.11", "9000/800", "hpux_B_11_11-9000/800"},
      {"hp-ux", "B.10.20", "hppa", "hpux_B_10_20-hppa"},
      {"Darwin", "8.11.0", "ppc", "darwin-ppc"},
      {"darwin", "", "ppc", "darwin-ppc"},
      {"FreeBSD", "13.2-RELEASE", "amd64", "unknown_13_2_RELEASE-amd64"},
      {"LINUX", "1", "x", "unknown_1-x"},
  };
  for (auto& row : rows)
    EXPECT_EQ(row.name, NameOf(row.system, row.release, row.machine)) << row.system;
}

TEST(HostPlatform, NamesThe86Family) {
  struct {
    const char* machine;
    const char* name;
  } rows[] = {
      {"i086", "linux-086"},    {"i386", "linux-386"},
      {"i486", "linux-486"},    {"i586", "linux-pentium"},
      {"i686", "linux-i686"},   {"i786", "linux-i786"},
      {"i986", "linux-i986"},   {"ix86", "linux-ix86"},
      {"i3860", "linux-i3860"}, {"i386x", "linux-i386x"},
      {"j386", "linux-j386"},   {"i387", "linux-i387"},
      {"", "linux-"},
  };
  for (auto& row : rows)
    EXPECT_EQ(row.name, NameOf("Linux", "", row.machine)) << row.machine;
}

TEST(HostPlatform, HoldsTheLongestWordsThatASystemCanGive) {
  const std::string longest(64, 'x');
  EXPECT_EQ("linux_" + longest + "-" + longest, NameOf("Linux", longest.c_str(), longest.c_str()));
}

TEST(HostPlatform, NamesThisHost) {
  utsname host;
  ASSERT_EQ(0, uname(&host));
  std::string release = host.release;
  for (char& c : release)
    if (c == '.' || c == '-') c = '_';
  char name[kHostPlatformSize];
  host_platform(name);
  EXPECT_EQ("linux_" + release + "-" + host.machine, name);
}

}  // namespace
