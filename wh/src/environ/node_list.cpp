// Finding the nodes that a pattern accepts.
//
// A variable may have thousands of elements and a pattern for each, so trying each pair is only for
// small ones. Nearly all elements are their own literal keys: a literal pattern then finds its one
// node in the table of nodes. For a pattern with * or ? there is an index of what the texts are
// made of (glob/index.h).
#include "node_list.h"

#include <cstring>

#include "fcpp.h"

namespace {

// From so many nodes on it pays to cut them up for good, for the patterns behind so many that are
// tried on each of them.
constexpr int32 kIndexFrom = 32;
constexpr int32 kTriedPlainly = 4;

FwTextString text_at(const NODE_LIST* nodes, int32 position) {
  return node_at(nodes, position)->value;
}

// Files the nodes whose texts are not their own keys, once.
void file_unusual(NODE_LIST* nodes) {
  if (nodes->unusual_filed) return;
  nodes->unusual_filed = true;
  for (int32 i = 0; i < FwVectorLength(&nodes->list); ++i) {
    if (is_own_key(text_at(nodes, i))) continue;
    if (nodes->unusual.count == 0) open_literals(&nodes->unusual_keys);
    add_position(&nodes->unusual, i);
    add_literal(&nodes->unusual_keys, text_at(nodes, i), i);
  }
}

void match_literal(NODE_LIST* nodes, FwTextString key) {
  file_unusual(nodes);
  if (NODE* node = find_node(nodes->var_ops, key)) add_position(&nodes->found, node->position);
  const POSITIONS* unusual = find_literal(&nodes->unusual_keys, key);
  if (!unusual) return;
  for (int32 i = 0; i < unusual->count; ++i)
    add_position(&nodes->found, unusual->list[i]);
  sort_positions(&nodes->found);
}

// Tries the pattern on each node. How a text that is its own key begins often settles it without
// cutting it up.
void try_nodes(NODE_LIST* nodes, const GLOB* glob) {
  file_unusual(nodes);
  FwTextString beginning = literal_beginning(glob);
  const std::string_view head = glob_view(beginning);
  const int32* unusual = nodes->unusual.begin();
  for (int32 i = 0; i < FwVectorLength(&nodes->list); ++i) {
    FwTextString text = text_at(nodes, i);
    if (unusual != nodes->unusual.end() && *unusual == i)
      ++unusual;
    else if (std::strncmp(FWC(text), head.data(), head.size()) != 0)
      continue;
    if (glob_accepts(glob, text)) add_position(&nodes->found, i);
  }
  FwMemFree(beginning);
}

void match_glob(NODE_LIST* nodes, const GLOB* glob) {
  const int32 count = FwVectorLength(&nodes->list);
  if (count < kIndexFrom || nodes->tried < kTriedPlainly || glob->everything ||
      looks_at_disk(glob)) {
    if (!glob->everything) ++nodes->tried;
    try_nodes(nodes, glob);
    return;
  }
  while (nodes->globs.count < count)
    add_text(&nodes->globs, text_at(nodes, nodes->globs.count));
  find_texts(&nodes->globs, glob, &nodes->found);
}

}  // namespace

void open_nodes(NODE_LIST* nodes, VAR_OPS* var_ops) {
  nodes->var_ops = var_ops;
  open_vector(&nodes->list, static_cast<int32>(var_ops->nodes->nUsedEntries));
  for (const FwHashEntry& entry : entries(var_ops->nodes)) {
    auto* node = static_cast<NODE*>(entry.value);
    node->position = FwVectorLength(&nodes->list);
    FwVectorAddElement(&nodes->list, node);
  }
}

void close_nodes(NODE_LIST* nodes) {
  FwVectorAbandon(&nodes->list, 0);
  close_literals(&nodes->unusual_keys);
  free_positions(&nodes->unusual);
  close_texts(&nodes->globs);
  free_positions(&nodes->found);
}

const POSITIONS* match_nodes(NODE_LIST* nodes, FwTextString pattern) {
  // Many inserts say the same, "before all of these" above all.
  if (nodes->pattern && FwStrCompare(pattern, nodes->pattern) == 0) return &nodes->found;
  nodes->pattern = pattern;
  nodes->found.count = 0;
  if (is_own_key(pattern)) {
    match_literal(nodes, pattern);
    return &nodes->found;
  }
  GLOB glob;
  open_glob(&glob, pattern);
  if (glob.key)
    match_literal(nodes, glob.key);
  else
    match_glob(nodes, &glob);
  close_glob(&glob);
  return &nodes->found;
}
