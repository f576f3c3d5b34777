// A computation: the steps from what a user named to the environment that results. Every program
// that computes environments takes these steps, so that all of them give the same answer.
//
//   WH_COMPUTATION all = {};
//   all.group_querylists = &groups;          what is asked for, group by group
//   all.set = all.emulate = 1;
//   all.report = report_error;
//   all.err = &err;
//   all.oldenv = wh_get_process_env(&err);
//   if (wh_computation_open(&all, root) && wh_computation_find_latest(&all) &&
//       wh_computation_load(&all) && wh_computation_compute(&all))
//     ...                                    all.newenv against all.oldenv
//   wh_computation_close(&all);
//
// A step that fails has reported why and ends the computation: nothing of it may be used. What it
// has opened stays until wh_computation_close, which a process that ends at once may leave out.
#ifndef COMPUTATION_H
#define COMPUTATION_H

#include "environ.h"
#include "fwvector.h"
#include "warehouse.h"

struct WH_OBSERVER;  // observer.h

struct WH_COMPUTATION {
  // What the caller sets. None of it is freed here.
  FwVector* group_querylists;  // of WH_PRODUCT_QUERY_LIST*, one for each group
  int set;                     // 0: undo
  int emulate;                 // replay old recipes
  int ignore_missing;          // a product that does not exist is no error
  WH_ERROR_FUNC report;        // gets each fault and adds to wh_errors
  FwErrorState* err;           // one state for the whole computation
  // For programs on this library, null and 0 otherwise.
  const WH_OBSERVER* observer;  // is told what wh_computation_compute does
  int places;                   // 1: operations and other records know where they were read

  // Owned by the computation from here on. oldenv is set by the caller.
  WH_ENVIRON* oldenv;
  FwTextString abs_basedir;
  WH_INDEX* index;
  WH_CONTEXT* context;       // BASE-DIRECTORY
  FwVector group_speclists;  // a WH_PRODUCT_SPEC_LIST* for each group that was loaded
  WH_ENVIRON* newenv;
  int errors;  // failures that the steps themselves have seen
};

// Makes the root absolute and opens the index. 0 if there is no such root, which is reported.
int wh_computation_open(WH_COMPUTATION* all, FwTextString basedir);

// Replaces each open field of the queries by what is on disk. 0 if one can't be.
//
// A reported error stays in err, so that the queries behind it are reported as failing too.
int wh_computation_find_latest(WH_COMPUTATION* all);

// Loads the products of all groups. 0 if anything was reported.
int wh_computation_load(WH_COMPUTATION* all);

// Computes newenv: the old recipes of all groups are replayed, then the settings of each group are
// computed on the result of the one before. 0 if anything was reported, or if the observer was told
// of a contradiction without end. Exhausted memory ends the program: no script is made of
// environments in which a variable is missing.
int wh_computation_compute(WH_COMPUTATION* all);

// Frees all that the computation owns, whichever step it has come to.
void wh_computation_close(WH_COMPUTATION* all);

#endif
