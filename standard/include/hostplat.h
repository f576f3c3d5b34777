// The name of the platform that the program runs on.
#ifndef HOSTPLAT_H
#define HOSTPLAT_H

// The longest name and its terminator fit.
inline constexpr int kHostPlatformSize = 192;

// Writes the host's name, such as "linux_6_1_0-x86_64", or "unix-unknown". The buffer must hold the
// whole name: kHostPlatformSize is enough.
void host_platform(char* result);

#endif
