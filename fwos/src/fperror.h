// The platform's part of the error states. The classification of its error numbers is public,
// FwPlatformErrorMap.
#ifndef FPERROR_H
#define FPERROR_H

#include "fwerror.h"

void FpErrorInit();
void FpErrorShutdown();

// Appends the platform's error number in decimal, if the state holds an error.
void FpPlatformErrorPrintf(FwStrRecord* pRecord, FwErrorState* pState);

#endif
