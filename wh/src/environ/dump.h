// Diagnostics of the two-level index: for a debugger, nothing calls them.
#ifndef ENVIRON_DUMP_H
#define ENVIRON_DUMP_H

#include "fwerror.h"
#include "fwhash.h"
#include "warehouse.h"

// For debugging: print on standard output. The first two are callbacks that give 1, for the table
// of variables and for a table of values.
int32 dumpinst(FwHashEntry* entry, void* context, FwErrorState* err);
int32 print_val_ops(FwHashEntry* entry, void* context, FwErrorState* err);
void dumpvariety(WH_VARIETY* variety);

#endif
