// The whole framework floor.
#ifndef FWOS_H
#define FWOS_H

#include "fwtypes.h"

#endif
