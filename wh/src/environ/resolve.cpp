// Settles what several operations want with one value. A product that includes another has the last
// word over it; unrelated products that disagree are an error.
//
// The procedure weighs each operation of a list against each other, in order, and an operation may
// fall to one that falls itself later. But what becomes of it nearly always follows from its
// variety. A variety that no other one of the list includes, or only such as it includes itself and
// as come later, stands with all its operations; and where a variety is included by one that stands
// so, all its operations go. As inclusion hands itself on, each variety is one or the other. Only
// where a product includes other things when it is chosen than when it is a part, it may be
// neither: then the operations are weighed one by one.
#include "resolve.h"

#include <algorithm>

#include "ancestors.h"
#include "fcpp.h"
#include "list.h"
#include "observation.h"
#include "platform.h"
#include "wherror.h"

namespace {

EXPANDED_OP* op_at(const FwVector* ops, int32 i) {
  return nth<EXPANDED_OP>(ops, i);
}

void shorten(FwVector* ops, int32 count) {
  while (count_of(ops) > count)
    FwVectorPopElement(ops);
}

MEMBER* member_of(ANCESTRY* ancestry, EXPANDED_OP* eop) {
  if (!eop->member) eop->member = know_member(ancestry, eop->variety);
  return eop->member;
}

bool includes(const MEMBER* ancestor, const MEMBER* member) {
  return test_bit(&member->set, ancestor->id);
}

// ---- The varieties of a list ----

// In the order of their first operations.
struct VARIETIES {
  ANCESTRY* ancestry = nullptr;
  FwVector members;  // of MEMBER*
  BITS ids;
};

void open_varieties(VARIETIES* varieties, ANCESTRY* ancestry) {
  varieties->ancestry = ancestry;
  open_vector(&varieties->members, 4);
}

void close_varieties(VARIETIES* varieties) {
  for (int32 i = 0; i < FwVectorLength(&varieties->members); ++i) {
    auto* member = nth<MEMBER>(&varieties->members, i);
    member->place = 0;
    member->removes = 0;
    member->stands = member->settled = false;
  }
  FwVectorAbandon(&varieties->members, 0);
  free_bits(&varieties->ids);
}

void add_variety(VARIETIES* varieties, EXPANDED_OP* eop) {
  MEMBER* member = member_of(varieties->ancestry, eop);
  if (member->place > 0) return;
  FwVectorAddElement(&varieties->members, member);
  member->place = FwVectorLength(&varieties->members);
  set_bit(&varieties->ids, member->id);
}

MEMBER* member_at(const VARIETIES* varieties, int32 id) {
  return nth<MEMBER>(&varieties->ancestry->by_id, id);
}

bool stands(const VARIETIES* varieties, const MEMBER* member) {
  return !find_common(&member->set, &varieties->ids, [&](int32 id) {
    const MEMBER* other = member_at(varieties, id);
    return !includes(member, other) || other->place < member->place;
  });
}

enum VERDICT { all_stand, some_go, not_told };

// Marks the varieties whose operations stand.
VERDICT judge(const VARIETIES* varieties) {
  const int32 count = FwVectorLength(&varieties->members);
  BITS standing;
  bool all = true;
  for (int32 i = 0; i < count; ++i) {
    auto* member = nth<MEMBER>(&varieties->members, i);
    member->stands = stands(varieties, member);
    if (member->stands)
      set_bit(&standing, member->id);
    else
      all = false;
  }
  bool told = true;
  for (int32 i = 0; i < count && told; ++i) {
    const auto* member = nth<MEMBER>(&varieties->members, i);
    told = member->stands || have_common(&member->set, &standing);
  }
  free_bits(&standing);
  if (!told) return not_told;
  return all ? all_stand : some_go;
}

// ---- Operation by operation ----

// Weighs ops[i] against all behind it and takes out those that it overrides. Stops at the first
// that overrides it: then ops[i] is taken out itself, and the result is false.
bool weigh(FwVector* ops, int32 i) {
  const MEMBER* member = op_at(ops, i)->member;
  int32 count = count_of(ops);
  int32 kept = i + 1;
  bool stands = true;
  for (int32 j = i + 1; j < count; ++j) {
    EXPANDED_OP* other = op_at(ops, j);
    if (stands && other->member != member) {
      if (includes(member, other->member)) continue;
      if (includes(other->member, member)) stands = false;
    }
    ops->pElements[kept++] = other;
  }
  shorten(ops, kept);
  if (!stands) FwVectorRemoveElement(ops, i);
  return stands;
}

// The members are known. A second operation of a variety that stood would change nothing more.
void weigh_all(FwVector* ops) {
  for (int32 i = 0; i < count_of(ops);) {
    MEMBER* member = op_at(ops, i)->member;
    if (!member->settled && !weigh(ops, i)) continue;
    member->settled = true;
    ++i;
  }
}

// ---- Inserts among themselves ----

bool of_one_variety(const FwVector* ins) {
  for (int32 i = 1; i < count_of(ins); ++i)
    if (op_at(ins, i)->variety != op_at(ins, 0)->variety) return false;
  return true;
}

void resolve_inserts(FwVector* ins, ANCESTRY* ancestry) {
  if (of_one_variety(ins)) return;
  VARIETIES varieties;
  open_varieties(&varieties, ancestry);
  for (int32 i = 0; i < count_of(ins); ++i)
    add_variety(&varieties, op_at(ins, i));
  const VERDICT verdict = judge(&varieties);
  if (verdict == some_go) {
    int32 kept = 0;
    for (int32 i = 0; i < count_of(ins); ++i)
      if (op_at(ins, i)->member->stands) ins->pElements[kept++] = op_at(ins, i);
    shorten(ins, kept);
  } else if (verdict == not_told) {
    weigh_all(ins);
  }
  close_varieties(&varieties);
}

// ---- Removes among themselves ----

bool of_one_variety(const REMOVES* rem) {
  for (const REMOVE_RUN* run = rem->first; run; run = run->next)
    if (run->op->variety != rem->first->op->variety) return false;
  return true;
}

// Takes out the removes of all varieties for which gone is true.
template <class Gone>
void take_out(REMOVES* rem, Gone gone) {
  REMOVES kept;
  kept.pool = rem->pool;
  bool before = rem->before_inserts != nullptr;
  for (REMOVE_RUN* run = rem->first; run; run = run->next) {
    if (!gone(run->op->member)) {
      (kept.last ? kept.last->next : kept.first) = run;
      kept.last = run;
    } else if (kept.last != kept.before_inserts) {
      // What came again behind this run is what is left in front of it.
      kept.last->again += run->again;
    }
    if (before) kept.before_inserts = kept.last;
    if (run == rem->before_inserts) before = false;
  }
  if (kept.last) kept.last->next = nullptr;
  *rem = kept;
}

void weigh_removes(REMOVES* rem) {
  FwVector list;
  open_vector(&list, 10);
  list_removes(rem, &list);
  weigh_all(&list);
  *rem = REMOVES{rem->pool};
  for (int32 i = 0; i < count_of(&list); ++i)
    enter_remove_run(rem, op_at(&list, i), 1);
  FwVectorAbandon(&list, 0);
}

void resolve_removes(REMOVES* rem, ANCESTRY* ancestry) {
  if (of_one_variety(rem)) return;
  VARIETIES varieties;
  open_varieties(&varieties, ancestry);
  for (const REMOVE_RUN* run = rem->first; run; run = run->next)
    add_variety(&varieties, run->op);
  const VERDICT verdict = judge(&varieties);
  if (verdict == some_go)
    take_out(rem, [](const MEMBER* member) { return !member->stands; });
  else if (verdict == not_told)
    weigh_removes(rem);
  close_varieties(&varieties);
}

// ---- Inserts against removes ----

// Adds up the removes of each variety. Where the list was entered again, each remove is there at
// least once for each insert; that some are counted for more can't be seen.
void count_removes(const REMOVES* rem, VARIETIES* removing) {
  int64 again = 0;
  for (const REMOVE_RUN* run = rem->first; run; run = run->next)
    again += run->again;
  for (const REMOVE_RUN* run = rem->first; run; run = run->next) {
    add_variety(removing, run->op);
    run->op->member->removes += run->count + again;
  }
}

// The removes that override an insert of the variety.
int64 count_overriding(const VARIETIES* removing, const MEMBER* member) {
  int64 count = 0;
  find_common(&member->set, &removing->ids, [&](int32 id) {
    count += member_at(removing, id)->removes;
    return false;
  });
  return count;
}

// Who is told of a contradiction without end, and of which element.
struct CONTRADICTION {
  OBSERVATION* observation;
  const WH_ELEMENT* element;
};

// Tells the remove at which the plain procedure would stay: the first that the insert includes, but
// for those that went with inserts of their own variety.
void tell_contradiction(const CONTRADICTION* contradiction, const EXPANDED_OP* insert,
                        const REMOVES* rem) {
  const EXPANDED_OP* remove = nullptr;
  for (const REMOVE_RUN* run = rem->first; run; run = run->next) {
    if (!includes(insert->member, run->op->member)) continue;
    if (!remove || !run->op->member->inserts) remove = run->op;
    if (!remove->member->inserts) break;
  }
  tell_endless(contradiction->observation, contradiction->element, insert, remove);
}

// Kept, as the defined result of a contradiction that nothing settles: an insert that includes
// the remove takes out inserts at the position of the remove, which changes nothing about its own
// condition. It goes on when no insert is left there: the vector says once that there is no such
// position, and the program never ends.
[[noreturn]] void insert_over_remove(FwVector* ins, int32 j) {
  while (j < count_of(ins))
    FwVectorRemoveElement(ins, j);
  FwVectorRemoveElement(ins, j);
  wait_for_ever();
}

// Goes on with ins[i], which includes a remove, up to that one.
[[noreturn]] void never_end(FwVector* ins, int32 i, const REMOVES* rem) {
  const MEMBER* member = op_at(ins, i)->member;
  FwVector list;
  open_vector(&list, 10);
  list_removes(rem, &list);
  int32 kept = 0;
  for (int32 j = 0; j < count_of(&list); ++j) {
    const MEMBER* remover = op_at(&list, j)->member;
    if (remover->inserts) continue;
    if (includes(member, remover)) break;
    if (includes(remover, member) && i >= 0) FwVectorRemoveElement(ins, i--);
    ++kept;
  }
  FwVectorAbandon(&list, 0);
  insert_over_remove(ins, kept);
}

bool includes_any(const MEMBER* member, const VARIETIES* removing) {
  for (int32 i = 0; i < FwVectorLength(&removing->members); ++i)
    if (includes(member, nth<MEMBER>(&removing->members, i))) return true;
  return false;
}

// An insert takes its own variety's removes away, and goes itself if a remove overrides it. No two
// varieties that have inserts left include one another.
//
// False if an insert includes a remove and there is an observer to be told of it.
bool resolve_inserts_against(FwVector* ins, REMOVES* rem, const VARIETIES* removing, bool endless,
                             const CONTRADICTION* contradiction) {
  const int32 count = count_of(ins);
  int32 kept = 0;
  for (int32 i = 0; i < count; ++i) {
    EXPANDED_OP* insert = op_at(ins, i);
    MEMBER* member = insert->member;
    if (!member->inserts) {
      member->inserts = true;
      member->overriding = count_overriding(removing, member);
    }
    if (endless && includes_any(member, removing)) {
      if (contradiction) {
        tell_contradiction(contradiction, insert, rem);
        return false;
      }
      std::copy(ins->pElements + i, ins->pElements + count, ins->pElements + kept);
      shorten(ins, count - (i - kept));
      never_end(ins, kept, rem);
    }
    ins->pElements[kept++] = insert;
    // Kept, as part of the interface: the walk through the removes goes on with an insert that is
    // gone, so a second remove that overrides it takes out the insert in front of it, if there is
    // one.
    kept -= static_cast<int32>(std::min(int64{kept}, member->overriding));
  }
  shorten(ins, kept);
  take_out(rem, [](const MEMBER* member) { return member->inserts; });
  return true;
}

bool resolve_against(FwVector* ins, REMOVES* rem, ANCESTRY* ancestry,
                     const CONTRADICTION* contradiction) {
  if (count_of(ins) == 0 || count_of(rem) == 0) return true;
  if (op_at(ins, 0)->variety == rem->first->op->variety && of_one_variety(ins) &&
      of_one_variety(rem)) {
    *rem = REMOVES{rem->pool};
    return true;
  }
  VARIETIES removing;
  open_varieties(&removing, ancestry);
  count_removes(rem, &removing);
  BITS inserting;
  for (int32 i = 0; i < count_of(ins); ++i)
    set_bit(&inserting, member_of(ancestry, op_at(ins, i))->id);
  bool endless = false;
  for (int32 i = 0; i < FwVectorLength(&removing.members) && !endless; ++i)
    endless = have_common(&nth<MEMBER>(&removing.members, i)->set, &inserting);

  const bool ended = resolve_inserts_against(ins, rem, &removing, endless, contradiction);
  find_common(&inserting, &inserting, [&](int32 id) {
    member_at(&removing, id)->inserts = false;
    return false;
  });
  free_bits(&inserting);
  close_varieties(&removing);
  return ended;
}

// The same step by step, with an observer told after each. False after a contradiction without end.
bool resolve_observed(VAL_OPS* val_ops, const WH_ELEMENT* element, const res_context* context) {
  OBSERVATION* observation = context->observation;
  const CONTRADICTION contradiction = {observation, element};
  LISTED all, among, left;
  list_operations(observation, &all, val_ops);
  resolve_inserts(&val_ops->ins, context->ancestry);
  resolve_removes(&val_ops->rem, context->ancestry);
  list_operations(observation, &among, val_ops);
  for (const FwVector* list : {&all.ins, &all.rem})
    for (int32 i = 0; i < count_of(list); ++i)
      member_of(context->ancestry, op_at(list, i));
  tell_overruled_among(observation, element, &all, &among);
  const bool ended =
      resolve_against(&val_ops->ins, &val_ops->rem, context->ancestry, &contradiction);
  if (ended) {
    list_operations(observation, &left, val_ops);
    tell_overruled_between(observation, element, &among, &left);
    tell_outcome(observation, element, &left);
    free_listed(&left);
  }
  free_listed(&among);
  free_listed(&all);
  return ended;
}

}  // namespace

int32 resolve(FwHashEntry* entry, void* vstate, FwErrorState* /*err*/) {
  auto* context = static_cast<res_context*>(vstate);
  auto* val_ops = static_cast<VAL_OPS*>(entry->value);
  if (count_of(&val_ops->rem) == 0 && count_of(&val_ops->ins) < 2) return 1;
  if (context->observation) {
    const WH_ELEMENT element = {context->variable, static_cast<FwTextString>(entry->key)};
    if (!resolve_observed(val_ops, &element, context)) return 1;
  } else {
    resolve_inserts(&val_ops->ins, context->ancestry);
    resolve_removes(&val_ops->rem, context->ancestry);
    resolve_against(&val_ops->ins, &val_ops->rem, context->ancestry, nullptr);
  }

  if (count_of(&val_ops->ins) > 0 && count_of(&val_ops->rem) > 0 && context->errorfunc) {
    FwErrorState err;
    FwErrorSet(&err, whErrorEnvClash, 4, FWT("value"), static_cast<FwTextString>(entry->key),
               FWT("environment variable"), context->variable);
    context->errorfunc(&err);
    FwErrorClear(&err);
  }
  return 1;
}
