// The whole standard floor: integers, assertions and traces, split integers, safe memory
// operations, platform names.
#ifndef STANDARD_H
#define STANDARD_H

#include "hostplat.h"
#include "vq32x2.h"
#include "vqassert.h"
#include "vqmemcmp.h"
#include "vqmemcpy.h"
#include "vqosarch.h"
#include "vqtypes.h"

#endif
