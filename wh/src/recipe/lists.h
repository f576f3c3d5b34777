// The variables that a replay treats as lists.
//
// Each command of an old recipe takes a variable apart at the colons, takes elements out, puts one
// in and joins the rest. Many commands on one long variable would spend all their time on that. So
// a variable stays taken apart from its first list command on, in a linked list with an index by
// text, and is joined once:
//
//   LISTS* lists = open_lists(env);
//   for (...) edit_in_lists(lists, command);      instead of emulate_setenv
//   close_lists(&lists);                          env has the values only now
//
//   LIST  first -> [/a] <-> [/b] <-> [/c:/d] <- last
//                                       ^ fresh: put in by the last command, and taken apart
//                                         by the next one, as joining and splitting would do
#ifndef RECIPE_LISTS_H
#define RECIPE_LISTS_H

#include "recipe.h"

struct LISTS;

LISTS* open_lists(WH_ENVIRON* env);
void edit_in_lists(LISTS* lists, WH_SETENV* setenv);
// Writes back what is still taken apart.
void close_lists(LISTS** lists);

// Whether the text consists of whole, shortest forms of characters. Only then is it sure that
// joining texts and splitting them again gives the same texts: a byte that begins no character or a
// longer one could hide a colon, and an overlong form could be one.
bool is_well_formed(FwTextString text);

// What the commands do to the variable in the table itself (legacy.cpp).
enum SETENV_OP { op_set, op_delete, op_append, op_prepend, op_remove };
SETENV_OP op_of(const WH_SETENV* setenv);

#endif
