// The platform half of the memory manager.
#ifndef FPMEM_H
#define FPMEM_H

void FpMemInit();
void FpMemShutdown();

#endif
