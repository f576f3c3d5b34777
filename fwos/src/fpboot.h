// The platform half of the boot.
#ifndef FPBOOT_H
#define FPBOOT_H

// Notes the calling thread as the one that boots.
void FpBootRecordThread();

#endif
