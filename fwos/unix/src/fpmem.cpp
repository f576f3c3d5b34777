#include "fpmem.h"

// The C library needs no setting up.
void FpMemInit() {}
void FpMemShutdown() {}
