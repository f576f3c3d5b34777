// What is known of the variables and of their values: the two-level index that the operations are
// spread over, variable (VAR_OPS), then value (VAL_OPS), and the elements of the new values (NODE).
//
// The lists keep the order of arrival, and the tables are walked in slot order; both show in the
// result. The fields marked as private only save time.
#ifndef ENVIRON_VALUES_H
#define ENVIRON_VALUES_H

#include "fwhash.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwvector.h"
#include "glob/index.h"
#include "glob/literals.h"
#include "op.h"

struct SOURCE;

// Private. Texts on which removes are tried, in order of arrival.
struct SUBJECTS {
  FwVector texts;  // of FwTextString
  LITERALS index;  // of the first indexed texts
  int32 indexed = 0;
  TEXTS globs;         // of as many as it counts, for patterns that are not literal
  int32 tried = 0;     // such patterns that were tried on each text in turn
  bool owned = false;  // the texts are freed with the list
};

// An element of a variable's new value.
enum nodestate { st_new = 0, st_visiting = 1, st_visited = 2 };

struct NODE {
  FwTextString value = nullptr;
  int state = st_new;
  FwVector pred;  // of NODE*: those that must come before this one; a list

  // Private: the place among all nodes in slot order; how many of pred the sort has gone through;
  // and the last node for which a constraint before and after it was noted, as a second one changes
  // nothing.
  int32 position = 0;
  int32 next_pred = 0;
  bool kept = false;  // for an observer: it is in oldorder
  NODE* before = nullptr;
  NODE* after = nullptr;
  SOURCE* sources = nullptr;  // further predecessors, behind those in pred (constraints.h)
};

// All that is known of one variable. Its values, nodes and their texts live in its pool.
struct VAR_OPS {
  FwHashTable* values = nullptr;  // element value to VAL_OPS
  FwVector inserts;               // of EXPANDED_OP*
  FwVector removes;               // of EXPANDED_OP*, deletes too
  FwVector oldorder;              // of NODE*: what is left of the input value
  int del = 0;                    // a delete is among the removes
  int sep = 0;                    // separator, 0 while unknown
  FwHashTable* nodes = nullptr;   // element value to NODE
  FwStrRecord result;             // the new value as it is built

  FwMemPool* pool = nullptr;

  // Private. The inserted values, each once; the input's elements as split at split_sep; the
  // literal patterns of the first filed removes, and their other patterns.
  SUBJECTS inserted;
  SUBJECTS elements;
  int split_sep = 0;
  LITERALS remove_keys;
  PATTERNS remove_globs;
  int32 filed = 0;
  bool looks = false;  // one of the removes looks at the disk
};

// The list of removes of one value. It names a remove once for each insert of the value and for
// each equal element of the input, so with n products that remove and insert it, it is n * n long.
// It is kept as runs:
//
//   a remove arrives          it is added, several times    a run
//   the first insert arrives  all so far are added          runs, as if there were none yet
//   a later insert arrives    all so far are added          the last run is noted: ++again
//
// From the first insert on each remove has one run, so all so far are the runs from there on.
struct REMOVE_RUN {
  EXPANDED_OP* op = nullptr;
  int32 count = 0;  // how often it stands here
  int32 again = 0;  // how often the runs up to this one come again behind it
  REMOVE_RUN* next = nullptr;
};

struct REMOVES {
  FwMemPool* pool = nullptr;  // of the runs
  REMOVE_RUN* first = nullptr;
  REMOVE_RUN* last = nullptr;
  REMOVE_RUN* before_inserts = nullptr;  // the last run before the first insert, if there is one
};

struct VAL_OPS {
  FwVector ins;                  // of EXPANDED_OP*: inserts of exactly this value; a list
  REMOVES rem;                   // removes with a pattern that matches it
  FwTextString value = nullptr;  // the text that it stands under
  NODE* node = nullptr;          // of the same text, once there is one
};

// Nonzero if there are any.
inline int32 count_of(const REMOVES* rem) {
  return rem->first ? 1 : 0;
}

VAR_OPS* make_var_ops();
// Frees the table of variables with all that it holds.
void free_variables(FwHashTable** variables);
// These find or create.
VAR_OPS* get_var_ops(FwHashTable* variables, FwTextString name);
VAL_OPS* get_val_ops(VAR_OPS* var_ops, FwTextString value);

NODE* get_node(VAR_OPS* var_ops, FwTextString value);   // finds or creates
NODE* find_node(VAR_OPS* var_ops, FwTextString value);  // null if there is none
// That of a value, which is created if need be.
NODE* node_of(VAR_OPS* var_ops, VAL_OPS* val_ops);

// Enters a remove that matches the value.
void enter_removal(VAL_OPS* val_ops, EXPANDED_OP* remeop);
void enter_remove_run(REMOVES* rem, EXPANDED_OP* remeop, int32 count);
// Enters an insert. False at the first one, when the removes that match the value are to be entered
// anew.
bool enter_insert(VAL_OPS* val_ops, EXPANDED_OP* eop);
// The first of the runs that again speaks of.
REMOVE_RUN* first_again(const REMOVES* rem);
// Appends the removes one by one, of EXPANDED_OP*.
void list_removes(const REMOVES* rem, FwVector* list);

void add_subject(SUBJECTS* subjects, FwTextString text);
void free_subjects(SUBJECTS* subjects);

#endif
