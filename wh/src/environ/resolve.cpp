// Settles what several operations want with one value. A product that includes another has the last
// word over it; unrelated products that disagree are an error.
#include <array>

#include "engine.h"
#include "wherror.h"

namespace {

// Varieties of which an operation has been weighed against all of a list and changed nothing more.
// A second operation of such a variety would change nothing either.
class Settled {
 public:
  bool contains(const WH_VARIETY* variety) const {
    for (int32 i = 0; i < count_; ++i)
      if (varieties_[static_cast<size_t>(i)] == variety) return true;
    return false;
  }

  // Beyond the room kept a variety is just weighed again.
  void add(const WH_VARIETY* variety) {
    if (count_ < static_cast<int32>(varieties_.size()))
      varieties_[static_cast<size_t>(count_++)] = variety;
  }

 private:
  std::array<const WH_VARIETY*, 16> varieties_;
  int32 count_ = 0;
};

// How one variety stands to others. A value that is there often lists the same remove as often, so
// the last answer is kept.
class Relation {
 public:
  Relation(ANCESTRY* ancestry, WH_VARIETY* variety) : ancestry_(ancestry), variety_(variety) {}

  bool includes(WH_VARIETY* other) {
    ask(other);
    return includes_;
  }
  bool included_by(WH_VARIETY* other) {
    ask(other);
    return included_by_;
  }

 private:
  void ask(WH_VARIETY* other) {
    if (other == other_) return;
    other_ = other;
    includes_ = ::includes(ancestry_, variety_, other);
    included_by_ = ::includes(ancestry_, other, variety_);
  }

  ANCESTRY* ancestry_;
  WH_VARIETY* variety_;
  WH_VARIETY* other_ = nullptr;
  bool includes_ = false;
  bool included_by_ = false;
};

EXPANDED_OP* op_at(const FwVector* ops, int32 i) {
  return element_at<EXPANDED_OP>(ops, i);
}

void shorten(FwVector* ops, int32 count) {
  while (count_of(ops) > count)
    FwVectorPopElement(ops);
}

// Weighs ops[i] against all behind it and takes out those that it overrides. Stops at the first
// that overrides it: then ops[i] is taken out itself, and the result is false.
bool weigh(FwVector* ops, int32 i, ANCESTRY* ancestry) {
  WH_VARIETY* variety = op_at(ops, i)->variety;
  int32 count = count_of(ops);
  int32 kept = i + 1;
  bool stands = true;
  Relation relation(ancestry, variety);
  for (int32 j = i + 1; j < count; ++j) {
    EXPANDED_OP* other = op_at(ops, j);
    if (stands && other->variety != variety) {
      if (relation.includes(other->variety)) continue;
      if (relation.included_by(other->variety)) stands = false;
    }
    ops->pElements[kept++] = other;
  }
  shorten(ops, kept);
  if (!stands) FwVectorRemoveElement(ops, i);
  return stands;
}

void resolve_alike(FwVector* ops, ANCESTRY* ancestry) {
  Settled settled;
  for (int32 i = 0; i < count_of(ops);) {
    WH_VARIETY* variety = op_at(ops, i)->variety;
    if (!settled.contains(variety)) {
      if (!weigh(ops, i, ancestry)) continue;
      settled.add(variety);
    }
    ++i;
  }
}

// Kept: an insert that includes the remove takes out inserts at the position of the remove, which
// changes nothing about its own condition. It goes on when no insert is left there: the vector says
// once that the position is none, and the program never ends.
[[noreturn]] void insert_over_remove(FwVector* ins, int32 j) {
  while (j < count_of(ins))
    FwVectorRemoveElement(ins, j);
  FwVectorRemoveElement(ins, j);
  wait_for_ever();
}

void resolve_against(FwVector* ins, FwVector* rem, ANCESTRY* ancestry) {
  Settled settled;
  for (int32 i = 0; i < count_of(ins); ++i) {
    WH_VARIETY* variety = op_at(ins, i)->variety;
    if (settled.contains(variety)) continue;
    Relation relation(ancestry, variety);
    bool overridden = false;
    int32 count = count_of(rem);
    int32 kept = 0;
    for (int32 j = 0; j < count; ++j) {
      EXPANDED_OP* remove = op_at(rem, j);
      if (remove->variety == variety) continue;
      if (relation.includes(remove->variety)) insert_over_remove(ins, kept);
      if (relation.included_by(remove->variety)) {
        // Kept: the walk through the removes goes on with an insert that is gone, so a second
        // remove that overrides it takes out the insert in front of it, if there is one.
        if (i >= 0) FwVectorRemoveElement(ins, i--);
        overridden = true;
      }
      rem->pElements[kept++] = remove;
    }
    shorten(rem, kept);
    if (!overridden) settled.add(variety);
  }
}

}  // namespace

int32 resolve(FwHashEntry* entry, void* vstate, FwErrorState* /*err*/) {
  auto* context = static_cast<res_context*>(vstate);
  auto* val_ops = static_cast<VAL_OPS*>(entry->value);
  if (count_of(&val_ops->rem) == 0 && count_of(&val_ops->ins) < 2) return 1;
  resolve_alike(&val_ops->ins, context->ancestry);
  resolve_alike(&val_ops->rem, context->ancestry);
  resolve_against(&val_ops->ins, &val_ops->rem, context->ancestry);

  if (count_of(&val_ops->ins) > 0 && count_of(&val_ops->rem) > 0 && context->errorfunc) {
    FwErrorState err;
    FwErrorSet(&err, whErrorEnvClash, 4, FWT("value"), static_cast<FwTextString>(entry->key),
               FWT("environment variable"), context->variable);
    context->errorfunc(&err);
    FwErrorClear(&err);
  }
  return 1;
}
