// Finding the elements of a variable that a pattern accepts.
#ifndef ENVIRON_NODE_LIST_H
#define ENVIRON_NODE_LIST_H

#include "fcpp.h"
#include "glob/index.h"
#include "glob/literals.h"
#include "values.h"

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
  return nth<NODE>(&nodes->list, position);
}

// The positions of the nodes that the pattern accepts, ascending; good until the next call. The
// pattern must outlast the next call.
const POSITIONS* match_nodes(NODE_LIST* nodes, FwTextString pattern);

#endif
