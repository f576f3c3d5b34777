// Finding the nodes that a pattern accepts.
//
// A variable may have thousands of elements and a pattern for each, so trying each pair is only for
// small ones. Nearly all elements are their own literal keys: a literal pattern then finds its one
// node in the table of nodes. A pattern with * or ? mostly begins with something literal, and the
// nodes that begin alike stand together in an order by text:
//
//   /opt/weaver*/bin      sorted  [ /bin | /opt/quill/bin | /opt/weaver-1/bin | /opt/weaver-2 ]
//                                                          ^ tried from here     to the end ^
#include <algorithm>

#include "engine.h"

namespace {

// From so many nodes on it pays to sort them.
constexpr int32 kSortFrom = 32;

FwTextString text_at(const NODE_LIST* nodes, int32 position) {
  return node_at(nodes, position)->value;
}

int32 list_node(FwHashEntry* entry, void* vnodes, FwErrorState* /*err*/) {
  auto* nodes = static_cast<NODE_LIST*>(vnodes);
  auto* node = static_cast<NODE*>(entry->value);
  node->position = FwVectorLength(&nodes->list);
  FwVectorAddElement(&nodes->list, node);
  return 1;
}

// Files the nodes whose texts are not their own keys, once.
void file_unusual(NODE_LIST* nodes) {
  if (nodes->unusual_filed) return;
  nodes->unusual_filed = true;
  open_literals(&nodes->unusual_keys);
  for (int32 i = 0; i < FwVectorLength(&nodes->list); ++i) {
    if (is_own_key(text_at(nodes, i))) continue;
    add_position(&nodes->unusual, i);
    add_literal(&nodes->unusual_keys, text_at(nodes, i), i);
  }
}

// Sorts the other nodes by text, once.
void sort_nodes(NODE_LIST* nodes) {
  if (nodes->sorted.count > 0) return;
  for (int32 i = 0, u = 0; i < FwVectorLength(&nodes->list); ++i)
    if (u < nodes->unusual.count && nodes->unusual.list[u] == i)
      ++u;
    else
      add_position(&nodes->sorted, i);
  std::sort(nodes->sorted.list, nodes->sorted.list + nodes->sorted.count, [&](int32 a, int32 b) {
    return FwStrCompare(text_at(nodes, a), text_at(nodes, b)) < 0;
  });
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

void try_node(NODE_LIST* nodes, const GLOB* glob, int32 position) {
  if (glob_accepts(glob, text_at(nodes, position))) add_position(&nodes->found, position);
}

void match_beginning(NODE_LIST* nodes, const GLOB* glob, std::string_view beginning) {
  file_unusual(nodes);
  sort_nodes(nodes);
  auto head = [&](int32 position) {
    std::string_view text = glob_view(text_at(nodes, position));
    return std::string_view(text.data(), std::min(text.size(), beginning.size()));
  };
  const int32* end = nodes->sorted.list + nodes->sorted.count;
  const int32* position =
      std::lower_bound(nodes->sorted.list, nodes->sorted.list + nodes->sorted.count, beginning,
                       [&](int32 i, std::string_view text) { return head(i) < text; });
  for (; position < end && head(*position) == beginning; ++position)
    try_node(nodes, glob, *position);
  for (int32 i = 0; i < nodes->unusual.count; ++i)
    try_node(nodes, glob, nodes->unusual.list[i]);
  sort_positions(&nodes->found);
}

void match_glob(NODE_LIST* nodes, const GLOB* glob) {
  int32 count = FwVectorLength(&nodes->list);
  FwTextString beginning = literal_beginning(glob);
  if (count >= kSortFrom && *beginning)
    match_beginning(nodes, glob, glob_view(beginning));
  else
    for (int32 i = 0; i < count; ++i)
      try_node(nodes, glob, i);
  FwMemFree(beginning);
}

}  // namespace

void open_nodes(NODE_LIST* nodes, VAR_OPS* var_ops) {
  nodes->var_ops = var_ops;
  open_vector(&nodes->list, static_cast<int32>(var_ops->nodes->nUsedEntries));
  FwHashEnumerateEntries(var_ops->nodes, list_node, nodes, nullptr);
}

void close_nodes(NODE_LIST* nodes) {
  FwVectorAbandon(&nodes->list, 0);
  close_literals(&nodes->unusual_keys);
  free_positions(&nodes->unusual);
  free_positions(&nodes->sorted);
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
