// The translation layer's private half: its records and its place in the boot sequence.
#ifndef FCTRANSL_H
#define FCTRANSL_H

#include "fwtypes.h"

// Boot level 11: open the working records and make the tables, and free them all again.
void FcTranslInit();
void FcTranslShutdown();

#endif
