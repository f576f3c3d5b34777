// Inside the tables of variables.
#ifndef ENVIRON_TABLE_H
#define ENVIRON_TABLE_H

#include "environ.h"
#include "fwhash.h"

// wh_set_ev for a variable that env lacks, of another table, which loses its entry: nothing is
// copied. That table may then only be gone through and freed.
void move_ev(WH_ENVIRON* env, FwHashEntry* entry);

#endif
