// The inside of wh_apply_env. It works in these steps:
//
//   collect    walks the chosen products and their parts and gives the list of operations that
//              apply, expanded: EXPANDED_OP
//   generate   spreads each operation over the variables that it names, into a two-level index:
//              variable (VAR_OPS), then element value (VAL_OPS)
//   ancestors  finds out which varieties include which
//   resolve    settles each value that is both inserted and removed, or inserted more than once
//   apply      builds the new environment: a variable is a set of elements (NODE) with constraints
//              between them, sorted so that the old order stands wherever no constraint disagrees
//
// The lists keep the order of arrival and the tables are walked in slot order; both show in the
// result. The fields marked as private only save time: results are those of trying each pattern on
// each text in turn.
#ifndef ENVIRON_ENGINE_H
#define ENVIRON_ENGINE_H

#include "environ.h"
#include "fwhash.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwvector.h"
#include "glob/index.h"
#include "glob/literals.h"
#include "settings.h"
#include "traverse.h"
#include "warehouse.h"

struct ANCESTRY;
struct MEMBER;
struct OBSERVATION;
struct OPERATION;
struct SOURCE;

// An operation as it is to be applied.
struct EXPANDED_OP {
  WH_ENV_OP* op = nullptr;        // owned
  WH_VARIETY* variety = nullptr;  // where it came from
  int hasglob = 0;                // its name is a pattern

  // Private. What the resolution knows of the variety; and of a remove its values, cut up, and
  // whether all of them are literal.
  MEMBER* member = nullptr;
  GLOB* patterns = nullptr;
  int32 pattern_count = 0;
  bool literal = false;
  bool looks = false;  // one of them looks at the disk

  OPERATION* told = nullptr;  // what an observer knows it by; null without one
};

struct COLLECT_STATE {
  WH_ENVIRON* environ = nullptr;   // the input
  WH_CONTEXT* context = nullptr;   // BASE-DIRECTORY
  FwVector eops;                   // of EXPANDED_OP*, a product's parts before itself
  FwHashTable* newvars = nullptr;  // literally named variables that the input lacks
  int set = 0;                     // env.xml, or with 0 unenv.xml
  OBSERVATION* observation = nullptr;
};

// Private. Texts on which removes are tried, in order of arrival.
struct SUBJECTS {
  FwVector texts;  // of FwTextString
  LITERALS index;  // of the first indexed texts
  int32 indexed = 0;
  TEXTS globs;         // of as many as it counts, for patterns that are not literal
  int32 tried = 0;     // such patterns that were tried on each text in turn
  bool owned = false;  // the texts are freed with the list
};

// A list that is opened when its first element comes, as most never get one.
inline int32 count_of(const FwVector* list) {
  return list->state == FW_VECTOR_OPEN ? list->nCurrentSize : 0;
}
inline void add_to_list(FwVector* list, void* element, int32 room) {
  if (list->state != FW_VECTOR_OPEN) FwVectorOpen(list, room);
  FwVectorAddElement(list, element);
}
inline void abandon_list(FwVector* list) {
  if (list->state == FW_VECTOR_OPEN) FwVectorAbandon(list, 0);
}

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

// What resolve is called with.
struct res_context {
  WH_ERROR_FUNC errorfunc = nullptr;
  FwTextString variable = nullptr;
  ANCESTRY* ancestry = nullptr;
  OBSERVATION* observation = nullptr;
};

// Nonzero if there are any.
inline int32 count_of(const REMOVES* rem) {
  return rem->first ? 1 : 0;
}

// For tables keyed by names: the key is copied, the value is the caller's pointer.
extern const FwHashFunctions hash_functions;

// A table with these functions, as all here start.
FwHashTable* make_names_table();

// Adds to a table whose slot order shows in the result. False if memory is exhausted, be it that
// the table could not grow: it works on, but in another order.
bool add_in_order(FwHashTable* table, void* key, void* value);
// The same, but exhausted memory ends the program: an entry would be lost without a word.
void add_or_exit(FwHashTable* table, void* key, void* value);

// The contents of a vector, typed.
template <class T>
T* element_at(const FwVector* vector, int32 i) {
  return static_cast<T*>(vector->pElements[i]);
}

// ---- Records (records.cpp) ----

// Takes over op.
EXPANDED_OP* make_expanded_op(WH_ENV_OP* op, WH_VARIETY* variety, int hasglob);
void free_expanded_op(EXPANDED_OP** eop);
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

// ---- Collection (collect.cpp) ----

void collect_variety_ops(WH_CALL_ENV* callenv, WH_VARIETY* variety, WH_PRODUCT* product);
void collect_part_ops(WH_CALL_ENV* callenv, WH_PRODUCT_SPEC* spec);

// ---- Instances (generate.cpp) ----

// The names of the variables of an environment and of newvars, kept from one operation to the next;
// neither may change meanwhile.
struct NAMES {
  TEXTS input;
  TEXTS literal;
  int32 tried = 0;  // patterns that were tried on each name in turn
};
void close_names(NAMES* names);

// names may be null.
void generate_instances(EXPANDED_OP* eop, WH_ENVIRON* input_env, FwHashTable* newvars,
                        FwHashTable* variables, WH_ERROR_FUNC error, NAMES* names = nullptr);
void add_op_to_variable(EXPANDED_OP* eop, FwTextString name, FwHashTable* variables,
                        WH_ENVIRON* input_env, WH_ERROR_FUNC error);
// Enters remeop at value, once, if one of its patterns matches.
void add_rem_reqs(VAR_OPS* var_ops, FwTextString value, EXPANDED_OP* remeop);
void check_sep(VAR_OPS* var_ops, int* sep, FwTextString name, WH_ERROR_FUNC error);
// The elements of the input value, split at sep. They stay the variable's.
const FwVector* split_input(VAR_OPS* var_ops, FwTextString value, int sep);

// ---- Ancestors (ancestors.cpp) ----

// How many entries one call stores in the tables of the varieties before it stores only what the
// rest follows from. Tests lower it.
extern int32 ancestors_stored_in_full;

ANCESTRY* make_ancestry();
// Stores what was found in the ancestors tables of the varieties.
void free_ancestry(ANCESTRY** ancestry);
// Finds all that the variety includes and tells each what includes it. symtab is that of its
// product, with BASE-DIRECTORY; it may be null if the part list is empty.
void find_ancestors(WH_VARIETY* variety, WH_INDEX* index, ANCESTRY* ancestry, WH_PARTLIST* partlist,
                    WH_SYMTAB* symtab, WH_ERROR_FUNC errorfunc);

// ---- Resolution (resolve.cpp) ----

// A callback for the table of values, with a res_context. Gives 1.
int32 resolve(FwHashEntry* entry, void* vstate, FwErrorState* err);

// ---- Nodes by pattern (nodes.cpp) ----

// All nodes of a variable, in slot order.
struct NODE_LIST {
  VAR_OPS* var_ops = nullptr;
  FwVector list;  // of NODE*

  // Private, made when first needed: the positions of the nodes whose texts are not their own
  // literal keys, all texts for patterns that are not literal, and the positions found last.
  bool unusual_filed = false;
  POSITIONS unusual;
  LITERALS unusual_keys;
  TEXTS globs;
  int32 tried = 0;  // patterns that were tried on each node in turn
  POSITIONS found;
  FwTextString pattern = nullptr;  // that of found
};

void open_nodes(NODE_LIST* nodes, VAR_OPS* var_ops);
void close_nodes(NODE_LIST* nodes);

inline NODE* node_at(const NODE_LIST* nodes, int32 position) {
  return element_at<NODE>(&nodes->list, position);
}

// The positions of the nodes that the pattern accepts, ascending; good until the next call. The
// pattern must outlast the next call.
const POSITIONS* match_nodes(NODE_LIST* nodes, FwTextString pattern);

// ---- Application (apply.cpp) ----

// The output environment. spent tells that the input is not needed any more: its variables may be
// moved, and then it is good for nothing but to be freed. An observer still needs it.
WH_ENVIRON* apply_ops(FwHashTable* variables, WH_ENVIRON* input_env, WH_ERROR_FUNC errorfunc,
                      bool spent = false, OBSERVATION* observation = nullptr);
// Appends the node to the result, after all its predecessors.
void sort_node(NODE* node, FwTextString name, VAR_OPS* var_ops, FwErrorState* err,
               OBSERVATION* observation = nullptr);

// ---- Tables (table.cpp) ----

// wh_set_ev for a variable that env lacks, of another table, which loses its entry: nothing is
// copied. That table may then only be gone through and freed.
void move_ev(WH_ENVIRON* env, FwHashEntry* entry);

// ---- Diagnostics (dump.cpp) ----

// For debugging: print on standard output. The first two are callbacks that give 1, for the table
// of variables and for a table of values.
int32 dumpinst(FwHashEntry* entry, void* context, FwErrorState* err);
int32 print_val_ops(FwHashEntry* entry, void* context, FwErrorState* err);
void dumpvariety(WH_VARIETY* variety);

// ---- The platform's half (env.cpp) ----

[[noreturn]] void wait_for_ever();

#endif
