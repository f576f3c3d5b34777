// What the warehouse floor needs of the platform beyond the floors below; the functions are in
// unix/src.
#ifndef PLATFORM_H
#define PLATFORM_H

#include <cstddef>

// The environment of the process, as texts NAME=value with a null behind the last; it may be null
// itself. It changes with each variable that is set.
char** process_environment();

// Waits until a signal ends the program.
[[noreturn]] void wait_for_ever();

// Writes to standard output, past the buffers of the C library, and ends the program at once with
// the status 1. It is safe in a signal handler.
[[noreturn]] void write_and_exit(const char* text, std::size_t length);

#endif
