// The walk through a chosen product and all that it includes.
//
// Two walkers make it up. wh_traverse_spec calls back for each variety of a product; the callback
// calls wh_traverse_partlist for the parts of that variety, which calls back for each product among
// them; and that callback calls wh_traverse_spec again:
//
//   void in_variety(WH_CALL_ENV* env, WH_VARIETY* variety, WH_PRODUCT* product) {
//     wh_traverse_partlist(env, product->partlist, variety, nullptr, in_spec);
//     ...                                        after all parts
//   }
//   void in_spec(WH_CALL_ENV* env, WH_PRODUCT_SPEC* spec) {
//     wh_traverse_spec(env->index, spec, in_variety, env->errorfunc, env->source, env->state);
//   }
//
//   index_unvisit(index);
//   wh_traverse_spec(index, spec, in_variety, report_error, source, &state);
//
// A variety is visited once: its mark is set before its callback, so that products which include
// each other come to an end. The caller clears the marks (index_unvisit) and so decides the scope
// of "once". The depth of the recursion is the length of the longest chain of parts.
#ifndef TRAVERSE_H
#define TRAVERSE_H

#include "partlist.h"
#include "warehouse.h"

// What every callback receives.
struct WH_CALL_ENV {
  WH_INDEX* index;
  WH_SYMTAB* symtab;        // the product's names, and what the walk has added
  FwTextString source;      // a word that names the file in hand, for error messages
  WH_ERROR_FUNC errorfunc;  // may be null
  void* state;              // the caller's own
  // The part that wh_traverse_partlist calls back for. For programs on this library.
  const WH_PART* part = nullptr;
};

using WH_FILE_FUNC = void(WH_CALL_ENV* callenv, WH_FILE_PART* part);
using WH_SPEC_FUNC = void(WH_CALL_ENV* callenv, WH_PRODUCT_SPEC* spec);
using WH_VAR_FUNC = void(WH_CALL_ENV* callenv, WH_VARIETY* variety, WH_PRODUCT* product);

// Calls back for each part of the part specs that the variety meets, in file order, with the
// variety's variables added to callenv->symtab meanwhile. Either function may be null; without
// spec_func no product is queried. A spec is lent for its callback. An incomplete variety has no
// parts. A query that fails is reported through callenv->errorfunc, and its part passed over.
void wh_traverse_partlist(WH_CALL_ENV* callenv, WH_PARTLIST* partlist, WH_VARIETY* variety,
                          WH_FILE_FUNC* file_func, WH_SPEC_FUNC* spec_func);

// Calls back for each variety in spec that is complete and not yet visited, in order, and marks
// it as visited. source is the word from which the symbol table makes the file name for error
// messages; err, which may be null, is the callback's errorfunc.
void wh_traverse_spec(WH_INDEX* index, WH_PRODUCT_SPEC* spec, WH_VAR_FUNC* varfunc,
                      WH_ERROR_FUNC err, FwTextString source, void* state);

#endif
