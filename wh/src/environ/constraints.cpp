#include "constraints.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "fcpp.h"
#include "list.h"

// An insert that stands before all nodes of a set.
struct STANDING {
  uint64 number;
  NODE* node;
  STANDING* next;
};

// What a pattern accepts.
struct NODE_SET {
  FwTextString pattern;
  NODE** nodes;  // in slot order
  int32 count;
  int32 visited;    // so many at the front are visited
  STANDING* first;  // of those that stand before them; those in front of it are visited
  STANDING* last;
};

// Predecessors of one node, ascending by number.
struct SOURCE {
  enum KIND { kOne, kNodes, kStandings } kind;
  uint64 number;  // of the next one, or a lower one
  NODE_SET* set;
  union {
    NODE* node;          // kOne
    int32 next;          // kNodes: position among the nodes of the set
    STANDING* standing;  // kStandings: the next one
  } u;
  // The sources of a node are a heap: those below have higher numbers.
  SOURCE* child;
  SOURCE* sibling;
};

namespace {

// Below so many nodes constraints are noted one by one, which is less work.
constexpr int32 kShareFrom = 32;
// A set of fewer nodes is not kept.
constexpr int32 kKeepFrom = 8;

// ---- The heap of a node ----

SOURCE* meld(SOURCE* a, SOURCE* b) {
  if (!a) return b;
  if (!b) return a;
  if (b->number < a->number) std::swap(a, b);
  b->sibling = a->child;
  a->child = b;
  return a;
}

// The heap without its top.
SOURCE* without_top(SOURCE* top) {
  SOURCE* pairs = nullptr;
  for (SOURCE* rest = std::exchange(top->child, nullptr); rest;) {
    SOURCE* one = rest;
    SOURCE* other = std::exchange(one->sibling, nullptr);
    rest = other ? std::exchange(other->sibling, nullptr) : nullptr;
    SOURCE* pair = meld(one, other);
    pair->sibling = pairs;
    pairs = pair;
  }
  SOURCE* heap = nullptr;
  while (pairs) {
    SOURCE* pair = pairs;
    pairs = std::exchange(pair->sibling, nullptr);
    heap = meld(heap, pair);
  }
  return heap;
}

void add_source(NODE* node, SOURCE* source) {
  node->sources = meld(node->sources, source);
}

void add_one(CONSTRAINTS* constraints, NODE* node, NODE* predecessor) {
  FwMemPool* pool = constraints->nodes.var_ops->pool;
  const uint64 number = constraints->number++;
  add_source(
      node,
      make_in(pool,
              SOURCE{SOURCE::kOne, number, nullptr, {.node = predecessor}, nullptr, nullptr}));
}

// ---- Sets ----

bool is_shared(const CONSTRAINTS* constraints) {
  return FwVectorLength(&constraints->nodes.list) >= kShareFrom;
}

// The set kept for a pattern, null if there is none.
NODE_SET* kept_set(CONSTRAINTS* constraints, FwTextString pattern) {
  if (constraints->last && FwStrCompare(constraints->last->pattern, pattern) == 0)
    return constraints->last;
  constraints->last = nullptr;
  if (const POSITIONS* found = find_literal(&constraints->patterns, pattern)) {
    constraints->last = nth<NODE_SET>(&constraints->sets, found->list[0]);
    // The positions that the list of nodes remembers are not those of the last pattern now.
    constraints->nodes.pattern = nullptr;
  }
  return constraints->last;
}

NODE_SET* keep_set(CONSTRAINTS* constraints, FwTextString pattern, const POSITIONS* found) {
  FwMemPool* pool = constraints->nodes.var_ops->pool;
  auto** nodes = static_cast<NODE**>(
      FwMemPoolAlloc(pool, static_cast<uint32>(found->count) * uint32{sizeof(NODE*)}));
  for (int32 i = 0; i < found->count; ++i)
    nodes[i] = node_at(&constraints->nodes, found->list[i]);
  auto* set = make_in(pool, NODE_SET{pattern, nodes, found->count, 0, nullptr, nullptr});
  constraints->last = set;
  // What looks at the disk is asked for anew, unless it was the last.
  if (std::strchr(FWC(pattern), '|')) return set;
  if (!constraints->patterns.table) open_literals(&constraints->patterns);
  add_literal_key(&constraints->patterns, pattern, count_of(&constraints->sets));
  add_to_list(&constraints->sets, set, 10);
  return set;
}

// The set of a pattern, or null and in found its few nodes.
NODE_SET* set_of(CONSTRAINTS* constraints, FwTextString pattern, const POSITIONS** found) {
  if (NODE_SET* set = kept_set(constraints, pattern)) return set;
  *found = match_nodes(&constraints->nodes, pattern);
  if ((*found)->count < kKeepFrom) return nullptr;
  return keep_set(constraints, pattern, *found);
}

void stand_before(CONSTRAINTS* constraints, NODE* node, NODE_SET* set) {
  FwMemPool* pool = constraints->nodes.var_ops->pool;
  if (set->last && set->last->node == node) return;
  auto* standing = make_in(pool, STANDING{constraints->number++, node, nullptr});
  if (set->last) {
    set->last = set->last->next = standing;
    return;
  }
  set->first = set->last = standing;
  for (int32 i = 0; i < set->count; ++i)
    add_source(set->nodes[i], make_in(pool, SOURCE{SOURCE::kStandings,
                                                   standing->number,
                                                   set,
                                                   {.standing = standing},
                                                   nullptr,
                                                   nullptr}));
}

// ---- One by one ----

// Once is enough: the sort does nothing at a second meeting.
void note_before(NODE* node, NODE* that) {
  if (that->before == node) return;
  that->before = node;
  add_to_list(&that->pred, node, 8);
}

void note_after(NODE* node, NODE* that) {
  if (that->after == node) return;
  that->after = node;
  add_to_list(&node->pred, that, 8);
}

void note(CONSTRAINTS* constraints, NODE* node, FwTextString pattern,
          void (*constraint)(NODE* node, NODE* that)) {
  const POSITIONS* found = match_nodes(&constraints->nodes, pattern);
  for (int32 i = 0; i < found->count; ++i) {
    NODE* that = node_at(&constraints->nodes, found->list[i]);
    if (that != node) constraint(node, that);
  }
}

// ---- The next predecessor ----

// Each gives the next one of the source that may have an effect, null behind the last.
NODE* next_node(SOURCE* source, const NODE* node) {
  NODE_SET* set = source->set;
  for (source->u.next = std::max(source->u.next, set->visited); source->u.next < set->count;) {
    const int32 position = source->u.next++;
    NODE* that = set->nodes[position];
    if (that->state == st_visited) {
      if (position == set->visited) ++set->visited;
    } else if (that != node) {
      return that;
    }
  }
  return nullptr;
}

STANDING* next_standing(SOURCE* source, const NODE* node) {
  NODE_SET* set = source->set;
  STANDING* standing = source->u.standing;
  if (!set->first) return nullptr;
  if (standing && standing->number < set->first->number) standing = set->first;
  while (standing && (standing->node->state == st_visited || standing->node == node)) {
    if (standing == set->first && standing->node->state == st_visited) set->first = standing->next;
    standing = standing->next;
  }
  source->u.standing = standing;
  return standing;
}

}  // namespace

void open_constraints(CONSTRAINTS* constraints, VAR_OPS* var_ops) {
  open_nodes(&constraints->nodes, var_ops);
}

void close_constraints(CONSTRAINTS* constraints) {
  close_nodes(&constraints->nodes);
  abandon_list(&constraints->sets);
  close_literals(&constraints->patterns);
}

void constrain_before(CONSTRAINTS* constraints, NODE* node, const FwVector* patterns) {
  for (int32 p = 0; p < FwVectorLength(patterns); ++p) {
    auto* pattern = nth<FwTextByte>(patterns, p);
    const POSITIONS* found = nullptr;
    if (!is_shared(constraints)) {
      note(constraints, node, pattern, note_before);
    } else if (NODE_SET* set = set_of(constraints, pattern, &found)) {
      stand_before(constraints, node, set);
    } else {
      for (int32 i = 0; i < found->count; ++i) {
        NODE* that = node_at(&constraints->nodes, found->list[i]);
        if (that != node) add_one(constraints, that, node);
      }
    }
  }
}

void constrain_after(CONSTRAINTS* constraints, NODE* node, const FwVector* patterns) {
  FwMemPool* pool = constraints->nodes.var_ops->pool;
  for (int32 p = 0; p < FwVectorLength(patterns); ++p) {
    auto* pattern = nth<FwTextByte>(patterns, p);
    const POSITIONS* found = nullptr;
    if (!is_shared(constraints)) {
      note(constraints, node, pattern, note_after);
    } else if (NODE_SET* set = set_of(constraints, pattern, &found)) {
      add_source(
          node,
          make_in(
              pool,
              SOURCE{SOURCE::kNodes, constraints->number++, set, {.next = 0}, nullptr, nullptr}));
    } else {
      for (int32 i = 0; i < found->count; ++i) {
        NODE* that = node_at(&constraints->nodes, found->list[i]);
        if (that != node) add_one(constraints, node, that);
      }
    }
  }
}

NODE* next_predecessor(NODE* node) {
  if (node->next_pred < count_of(&node->pred)) return nth<NODE>(&node->pred, node->next_pred++);
  while (SOURCE* top = node->sources) {
    if (top->kind == SOURCE::kStandings) {
      STANDING* standing = next_standing(top, node);
      if (standing && standing->number > top->number) {
        // Another source may come first now.
        top->number = standing->number;
        node->sources = meld(without_top(top), top);
        continue;
      }
      if (standing) {
        top->u.standing = standing->next;
        if (standing->next) {
          top->number = standing->next->number;
          node->sources = meld(without_top(top), top);
        } else {
          node->sources = without_top(top);
        }
        return standing->node;
      }
    } else if (top->kind == SOURCE::kNodes) {
      if (NODE* that = next_node(top, node)) return that;
    }
    node->sources = without_top(top);
    if (top->kind == SOURCE::kOne && top->u.node->state != st_visited) return top->u.node;
  }
  return nullptr;
}
