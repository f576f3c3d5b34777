#include "observation.h"

#include <new>

#include "ancestors.h"
#include "fcpp.h"
#include "fwmem.h"
#include "glob.h"
#include "list.h"

namespace {

constexpr uint32 kPoolFirst = 1024;
constexpr uint32 kPoolGrow = 8192;

EXPANDED_OP* op_at(const FwVector* ops, int32 i) {
  return nth<EXPANDED_OP>(ops, i);
}

// ---- Operations on one value ----

// Calls visit with the positions of those in before that are not in after. Both have one order.
template <class Visit>
void visit_missing(const FwVector* before, const FwVector* after, Visit visit) {
  int32 next = 0;
  for (int32 i = 0; i < count_of(before); ++i) {
    if (next < count_of(after) && op_at(after, next) == op_at(before, i))
      ++next;
    else
      visit(i);
  }
}

bool includes(const EXPANDED_OP* one, const EXPANDED_OP* other) {
  return test_bit(&other->member->set, one->member->id);
}

// The first that includes it, null if there is none.
const EXPANDED_OP* includer_among(const FwVector* ops, const EXPANDED_OP* eop) {
  for (int32 i = 0; i < count_of(ops); ++i)
    if (includes(op_at(ops, i), eop)) return op_at(ops, i);
  return nullptr;
}

const EXPANDED_OP* of_same_variety(const FwVector* ops, const EXPANDED_OP* eop) {
  for (int32 i = 0; i < count_of(ops); ++i)
    if (op_at(ops, i)->variety == eop->variety) return op_at(ops, i);
  return nullptr;
}

void tell_overruled(const OBSERVATION* observation, const WH_ELEMENT* element,
                    const EXPANDED_OP* loser, const EXPANDED_OP* winner) {
  const WH_OBSERVER* observer = observation->observer;
  if (winner) observer->overruled(observer->context, element, loser->told, winner->told);
}

// Those of one kind that are missing: each fell to one of its own kind.
void tell_missing(const OBSERVATION* observation, const WH_ELEMENT* element, const FwVector* before,
                  const FwVector* after) {
  visit_missing(before, after, [&](int32 i) {
    const EXPANDED_OP* winner = includer_among(after, op_at(before, i));
    if (!winner) winner = includer_among(before, op_at(before, i));
    tell_overruled(observation, element, op_at(before, i), winner);
  });
}

// An insert that none of the removes includes fell together with one behind it.
const EXPANDED_OP* remover_of(const LISTED* before, int32 i) {
  for (; i < count_of(&before->ins); ++i)
    if (const EXPANDED_OP* remover = includer_among(&before->rem, op_at(&before->ins, i)))
      return remover;
  return nullptr;
}

// ---- Constraints ----

VAL_OPS* val_ops_of(VAR_OPS* var_ops, FwTextString value) {
  FwHashEntry* entry = FwHashLookupEntry(var_ops->values, value, nullptr);
  return entry ? static_cast<VAL_OPS*>(entry->value) : nullptr;
}

bool accepts_any(const FwVector* patterns, FwTextString value) {
  for (FwTextString pattern : texts(patterns))
    if (wh_glob_matches(pattern, value)) return true;
  return false;
}

// The constraint by which one node comes before the other.
WH_CONSTRAINT constraint_between(FwTextString variable, VAR_OPS* var_ops, const NODE* first,
                                 const NODE* second) {
  WH_CONSTRAINT constraint = {variable, first->value, second->value, nullptr};
  for (const NODE* node : {first, second}) {
    const VAL_OPS* val_ops = val_ops_of(var_ops, node->value);
    for (int32 i = 0; val_ops && i < count_of(&val_ops->ins); ++i) {
      const EXPANDED_OP* eop = op_at(&val_ops->ins, i);
      const WH_ENV_INSERT* insert = eop->op->u.ins;
      const bool ordered = node == first ? accepts_any(&insert->before, second->value)
                                         : accepts_any(&insert->after, first->value);
      if (!ordered) continue;
      constraint.operation = eop->told;
      return constraint;
    }
  }
  return constraint;
}

struct CONSTRAINING {
  const OBSERVATION* observation;
  FwTextString variable;
  NODE_LIST* nodes;
  const EXPANDED_OP* eop;
  const NODE* node;
};

void tell_constraints_of(const CONSTRAINING* state, const FwVector* patterns, bool before) {
  const WH_OBSERVER* observer = state->observation->observer;
  for (int32 p = 0; p < FwVectorLength(patterns); ++p) {
    const POSITIONS* found = match_nodes(state->nodes, nth<FwTextByte>(patterns, p));
    for (int32 i = 0; i < found->count; ++i) {
      const NODE* that = node_at(state->nodes, found->list[i]);
      if (that == state->node) continue;
      const NODE* first = before ? state->node : that;
      const NODE* second = before ? that : state->node;
      const WH_CONSTRAINT constraint = {state->variable, first->value, second->value,
                                        state->eop->told};
      observer->constrained(observer->context, &constraint);
    }
  }
}

}  // namespace

void open_observation(OBSERVATION* observation, const WH_OBSERVER* observer, WH_ENVIRON* input) {
  observation->observer = observer;
  observation->input = input;
  observation->pool =
      FwMemPoolCreate(0, kPoolFirst, kPoolGrow, alignof(void*), ALLOC_MUST_SUCCEED | INIT_NONE);
  if (!observation->pool) FwMemExitMemoryExhausted();
}

void close_observation(OBSERVATION* observation) {
  FwMemPoolDestroy(&observation->pool);
}

// ---- Collection ----

void enter_station(OBSERVATION* observation, WH_VARIETY* variety, WH_PRODUCT* product) {
  STATION* includer = observation->station;
  STATION station;
  station.product = product;
  station.variety = variety;
  station.part = includer ? includer->next : nullptr;
  station.includer = includer;
  station.next = nullptr;
  observation->station = make_in(observation->pool, station);
}

void leave_station(OBSERVATION* observation) {
  // Stations are made here, and only looked at elsewhere.
  observation->station =
      static_cast<STATION*>(const_cast<WH_STATION*>(observation->station->includer));
}

void tell_collected(OBSERVATION* observation, EXPANDED_OP* eop) {
  OPERATION operation;
  operation.number = observation->operations++;
  operation.op = eop->op;
  operation.origin = observation->station;
  eop->told = make_in(observation->pool, operation);
  const WH_OBSERVER* observer = observation->observer;
  if (observer->collected) observer->collected(observer->context, eop->told);
}

// ---- Resolution ----

void list_operations(OBSERVATION* observation, LISTED* listed, const VAL_OPS* val_ops) {
  open_vector(&listed->ins, count_of(&val_ops->ins));
  open_vector(&listed->rem, 4);
  for (int32 i = 0; i < count_of(&val_ops->ins); ++i)
    FwVectorAddElement(&listed->ins, op_at(&val_ops->ins, i));
  const int32 listing = ++observation->listings;
  for (const REMOVE_RUN* run = val_ops->rem.first; run; run = run->next) {
    if (run->op->told->listing == listing) continue;
    run->op->told->listing = listing;
    FwVectorAddElement(&listed->rem, run->op);
  }
}

void free_listed(LISTED* listed) {
  FwVectorAbandon(&listed->ins, 0);
  FwVectorAbandon(&listed->rem, 0);
}

void tell_overruled_among(const OBSERVATION* observation, const WH_ELEMENT* element,
                          const LISTED* before, const LISTED* after) {
  if (!observation->observer->overruled) return;
  tell_missing(observation, element, &before->ins, &after->ins);
  tell_missing(observation, element, &before->rem, &after->rem);
}

void tell_overruled_between(const OBSERVATION* observation, const WH_ELEMENT* element,
                            const LISTED* before, const LISTED* after) {
  if (!observation->observer->overruled) return;
  visit_missing(&before->ins, &after->ins, [&](int32 i) {
    tell_overruled(observation, element, op_at(&before->ins, i), remover_of(before, i));
  });
  visit_missing(&before->rem, &after->rem, [&](int32 i) {
    const EXPANDED_OP* remove = op_at(&before->rem, i);
    tell_overruled(observation, element, remove, of_same_variety(&before->ins, remove));
  });
}

void tell_outcome(const OBSERVATION* observation, const WH_ELEMENT* element, const LISTED* left) {
  const WH_OBSERVER* observer = observation->observer;
  const int32 inserts = count_of(&left->ins);
  const int32 removes = count_of(&left->rem);
  for (int32 i = 1; i < inserts && observer->inserted_twice; ++i)
    observer->inserted_twice(observer->context, element, op_at(&left->ins, 0)->told,
                             op_at(&left->ins, i)->told);
  for (int32 i = 0; inserts == 0 && i < removes && observer->removed; ++i)
    observer->removed(observer->context, element, op_at(&left->rem, i)->told);
  if (inserts > 0 && removes > 0 && observer->clash)
    observer->clash(observer->context, element, op_at(&left->ins, 0)->told,
                    op_at(&left->rem, 0)->told);
}

void tell_endless(OBSERVATION* observation, const WH_ELEMENT* element, const EXPANDED_OP* insert,
                  const EXPANDED_OP* remove) {
  observation->endless = true;
  const WH_OBSERVER* observer = observation->observer;
  if (observer->endless) observer->endless(observer->context, element, insert->told, remove->told);
}

// ---- Application ----

void tell_constraints(const OBSERVATION* observation, FwTextString variable, VAR_OPS* var_ops,
                      NODE_LIST* nodes) {
  for (const FwHashEntry& entry : entries(var_ops->values)) {
    const auto* val_ops = static_cast<VAL_OPS*>(entry.value);
    for (int32 i = 0; i < count_of(&val_ops->ins); ++i) {
      const EXPANDED_OP* eop = op_at(&val_ops->ins, i);
      const CONSTRAINING state = {observation, variable, nodes, eop, val_ops->node};
      tell_constraints_of(&state, &eop->op->u.ins->before, true);
      tell_constraints_of(&state, &eop->op->u.ins->after, false);
    }
  }
}

void begin_variable(OBSERVATION* observation, VAR_OPS* var_ops) {
  observation->position = 0;
  for (int32 i = 0; i < FwVectorLength(&var_ops->oldorder); ++i)
    nth<NODE>(&var_ops->oldorder, i)->kept = true;
}

void tell_placed(OBSERVATION* observation, FwTextString variable, VAR_OPS* var_ops,
                 const FwVector* stack) {
  const WH_OBSERVER* observer = observation->observer;
  if (!observer->placed) return;
  const int32 depth = FwVectorLength(stack);
  const auto* node = nth<NODE>(stack, depth - 1);
  WH_POSITION position = {};
  position.element = {variable, node->value};
  position.position = observation->position++;
  position.kept = node->kept ? 1 : 0;
  const VAL_OPS* val_ops = val_ops_of(var_ops, node->value);
  if (val_ops && count_of(&val_ops->ins) > 0) position.insert = op_at(&val_ops->ins, 0)->told;
  if (depth > 1)
    position.constraint = constraint_between(variable, var_ops, node, nth<NODE>(stack, depth - 2));
  observer->placed(observer->context, &position);
}

void tell_cycle(const OBSERVATION* observation, FwTextString variable, VAR_OPS* var_ops,
                const FwVector* stack, const NODE* node) {
  const WH_OBSERVER* observer = observation->observer;
  if (!observer->cycle) return;
  int32 bottom = FwVectorLength(stack) - 1;
  while (nth<NODE>(stack, bottom) != node)
    --bottom;
  // The node comes before the top, the top before the one below it, and so on down to the node.
  const int32 count = FwVectorLength(stack) - bottom;
  auto* constraints = static_cast<WH_CONSTRAINT*>(FwMemAlloc(
      static_cast<size_t>(count) * sizeof(WH_CONSTRAINT), ALLOC_MUST_SUCCEED | INIT_NONE));
  const NODE* first = node;
  for (int32 i = 0; i < count; ++i) {
    const auto* second = nth<NODE>(stack, bottom + count - 1 - i);
    ::new (&constraints[i]) WH_CONSTRAINT(constraint_between(variable, var_ops, first, second));
    first = second;
  }
  observer->cycle(observer->context, constraints, count);
  FwMemFree(constraints);
}

void tell_rebuilt(const OBSERVATION* observation, FwTextString variable, FwTextString value) {
  const WH_OBSERVER* observer = observation->observer;
  if (observer->rebuilt)
    observer->rebuilt(observer->context, variable, wh_lookup_ev(variable, observation->input),
                      value);
}
