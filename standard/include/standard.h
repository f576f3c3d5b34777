// The whole standard floor: integers, assertions and traces, split integers, memory copies,
// platform names.
#ifndef STANDARD_H
#define STANDARD_H

#include "vqassert.h"
#include "vqtypes.h"

#endif
