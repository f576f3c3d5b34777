// An observer of the engine: what wh_apply_env does, told step by step, to programs that explain a
// result. A run with an observer gives the result of a run without one, with one exception: the
// contradiction that wh_apply_env never comes to an end with is told, and ends the computation.
//
//   WH_OBSERVER observer = {};
//   observer.context = &answer;
//   observer.clash = note_clash;
//   all.places = 1;                    so that operations have file and line
//   all.observer = &observer;          (computation.h)
//
// A callback that is null is not called, and what only it would need is not worked out. All that a
// callback is given lives until the computation of the group ends; texts are UTF-8 as the data
// files have them. A callback may change none of it and may not call the engine.
//
// For programs on this library.
#ifndef OBSERVER_H
#define OBSERVER_H

#include "environ.h"
#include "fwtypes.h"
#include "partlist.h"
#include "settings.h"
#include "warehouse.h"

// A product on the way from a chosen one to the one that an operation stands in.
struct WH_STATION {
  WH_PRODUCT* product;
  WH_VARIETY* variety;
  const WH_PART* part;         // of the includer: what led here; null for a chosen product
  const WH_STATION* includer;  // null for a chosen product
};

// An operation that applies. It is told of by the same record throughout a group.
struct WH_OPERATION {
  int32 number;              // in the order of collection, from 0 in each group
  const WH_ENV_OP* op;       // expanded; its place tells file and line if places were asked for
  const WH_STATION* origin;  // the product's first meeting, where its operations were collected
};

// An element of a variable.
struct WH_ELEMENT {
  FwTextString variable;
  FwTextString value;
};

// The operation wants first in front of second: by a BEFORE if it inserts first, by an AFTER if it
// inserts second.
struct WH_CONSTRAINT {
  FwTextString variable;
  FwTextString first;
  FwTextString second;
  const WH_OPERATION* operation;
};

// Where an element of a variable's new value ended up.
struct WH_POSITION {
  WH_ELEMENT element;
  int32 position;              // among the elements of the new value, from 0
  int32 kept;                  // 1 if it was in the old value, and so is placed with the old ones
  const WH_OPERATION* insert;  // the first one that inserts it; null if none does
  // What made it come before its turn, in front of an element that had to wait for it. With a null
  // operation it came in its turn: the kept elements in their old order, then the new ones.
  WH_CONSTRAINT constraint;
};

// Each callback gets the observer's context first.
struct WH_OBSERVER {
  void* context;

  // The settings of a group of queries are computed next, counted from 0. Only
  // wh_computation_compute tells it.
  void (*group)(void* context, int32 group);

  void (*collected)(void* context, const WH_OPERATION* operation);

  // The operation is not applied to the element. The winner belongs to a product that includes the
  // loser's, and stands itself wherever there is such a one; or it is an insert of the same variety
  // as a remove. An insert may also fall together with the one behind it, to a remove that is
  // entered more than once.
  void (*overruled)(void* context, const WH_ELEMENT* element, const WH_OPERATION* loser,
                    const WH_OPERATION* winner);

  // The element is not in the new value, for this remove stands; whether or not it was in the old
  // one. Told once for each remove that stands.
  void (*removed)(void* context, const WH_ELEMENT* element, const WH_OPERATION* remove);

  // Two inserts of the element stand. The first one is told with each of the others.
  void (*inserted_twice)(void* context, const WH_ELEMENT* element, const WH_OPERATION* first,
                         const WH_OPERATION* second);

  // The first insert and the first remove that stand against each other. The report of
  // whErrorEnvClash follows.
  void (*clash)(void* context, const WH_ELEMENT* element, const WH_OPERATION* insert,
                const WH_OPERATION* remove);

  // An insert of a product that includes the remove's. The other elements are still told of; then
  // the computation ends without a result. Nothing else reports it.
  void (*endless)(void* context, const WH_ELEMENT* element, const WH_OPERATION* insert,
                  const WH_OPERATION* remove);

  // Each pair of elements that an operation orders, also where the order was so already. There may
  // be as many as pairs of elements; their patterns are tried once more for it.
  void (*constrained)(void* context, const WH_CONSTRAINT* constraint);

  // The constraints of a circle, in order: the second element of each is the first element of the
  // next one, and the last constraint leads back to the first. whErrorEnvCycle is reported once for
  // a variable, after its last circle; the result leaves the variable out.
  void (*cycle)(void* context, const WH_CONSTRAINT* constraints, int32 count);

  void (*placed)(void* context, const WH_POSITION* position);

  // The variable was split up and put together again. old_value is null if it was not set,
  // new_value if it is not any more.
  void (*rebuilt)(void* context, FwTextString variable, FwTextString old_value,
                  FwTextString new_value);
};

// wh_apply_env (environ.h) with an observer, which may be null. Null if a contradiction without end
// was told.
WH_ENVIRON* wh_apply_env_observed(WH_INDEX* index, WH_ENVIRON* input_env, FwTextString base,
                                  WH_PRODUCT_SPEC_LIST* speclist, WH_ERROR_FUNC error, int set,
                                  const WH_OBSERVER* observer);

#endif
