// Reals: the two operations that printing and scanning need, without the maths library, whose
// loading would take a program longer than all of its numbers do.
#ifndef FCREAL_H
#define FCREAL_H

#include "fwtypes.h"

// The power of ten: infinite from 309 on, 0 below -323.
double FcPowerOfTen(int64 nExponent);

// The whole part, rounded down, of the decimal logarithm of a finite value that is at least 1e-30.
int32 FcWholeLog10(double value);

#endif
