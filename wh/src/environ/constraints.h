// The order constraints of one variable, kept so that they take no more memory than what they come
// from.
//
// Many inserts say the same, "before all of these" above all: n inserts and m elements make n * m
// constraints. So the elements that a pattern accepts are listed once (NODE_SET), and with them the
// inserts that stand before all of them; an element or an insert only refers to the list:
//
//   /opt/a  BEFORE /usr/**  --+                         +--  /usr/bin
//   /opt/b  BEFORE /usr/**  --+->  NODE_SET /usr/**  <--+--  /usr/sbin
//   /opt/c  BEFORE /usr/**  --+                         +--  /usr/lib
//
// The order in which a node goes through its predecessors decides the result, and it is the order
// in which they were noted. So each constraint is numbered, and the references of a node (SOURCE)
// lie in a heap by the number of the next constraint of each: the sort takes them as from one list.
//
// The bound: a constraint on a node that is visited has no effect, and nodes stay visited. So each
// list remembers how far all its nodes are visited, and no walk begins in front of that. Memory
// grows with the inserts and the elements, not with their pairs.
#ifndef ENVIRON_CONSTRAINTS_H
#define ENVIRON_CONSTRAINTS_H

#include "fwvector.h"
#include "glob/literals.h"
#include "node_list.h"
#include "values.h"

struct NODE_SET;

struct CONSTRAINTS {
  NODE_LIST nodes;

  // Private. The sets by pattern, the last one asked for, and the number of the next constraint.
  FwVector sets;  // of NODE_SET*; a list
  LITERALS patterns;
  NODE_SET* last = nullptr;
  uint64 number = 0;
};

// Of all nodes that the variable has now.
void open_constraints(CONSTRAINTS* constraints, VAR_OPS* var_ops);
void close_constraints(CONSTRAINTS* constraints);

// Notes that the node comes before, or after, each other node that one of the patterns accepts. The
// patterns must outlast the constraints.
void constrain_before(CONSTRAINTS* constraints, NODE* node, const FwVector* patterns);
void constrain_after(CONSTRAINTS* constraints, NODE* node, const FwVector* patterns);

// For the sort: the next predecessor of a node that is not visited yet, null behind the last.
NODE* next_predecessor(NODE* node);

#endif
