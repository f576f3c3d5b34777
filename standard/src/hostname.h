// How the words with which a system describes itself make the name of its platform.
#ifndef HOSTNAME_H
#define HOSTNAME_H

// Writes the platform's name, at most kHostPlatformSize bytes with the terminator.
void host_platform_of(const char* system, const char* release, const char* machine, char* result);

#endif
