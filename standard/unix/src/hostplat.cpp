#include "hostplat.h"

#include <sys/utsname.h>

#include <cstring>

#include "hostname.h"

void host_platform(char* result) {
  utsname host;
  if (uname(&host) < 0)
    std::strcpy(result, "unix-unknown");
  else
    host_platform_of(host.sysname, host.release, host.machine, result);
}
