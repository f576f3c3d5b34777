#include "traverse.h"

#include "fcpp.h"
#include "warehouse/private.h"

// The two walkers call each other through the callbacks, once for each product of a chain of parts.
// What they need only for a moment happens in functions of its own, so that the frames that stay
// open are small and a chain of many thousand products fits the stack.

namespace {

// The symbol table of a product, and its release once the walk has passed.
[[gnu::noinline]] void open_env(WH_CALL_ENV* callenv, WH_PRODUCT_SPEC* spec, FwTextString source) {
  callenv->symtab = symtab_from_prodname(spec->product->prodinfo->prodname, source);
}

[[gnu::noinline]] void close_env(WH_CALL_ENV* callenv) {
  free_symtab(&callenv->symtab);
}

[[gnu::noinline]] WH_CONTEXT* enter_variety(WH_CALL_ENV* callenv, WH_VARIETY* variety) {
  WH_CONTEXT* context = context_from_variety(variety);
  add_context(callenv->symtab, context);
  return context;
}

[[gnu::noinline]] void leave_variety(WH_CALL_ENV* callenv, WH_CONTEXT* context) {
  remove_context(callenv->symtab, context);
  free_context(&context);
}

}  // namespace

void wh_traverse_partlist(WH_CALL_ENV* callenv, WH_PARTLIST* partlist, WH_VARIETY* variety,
                          WH_FILE_FUNC* file_func, WH_SPEC_FUNC* spec_func) {
  if (!wh_variety_is_complete(variety)) return;
  WH_CONTEXT* context = enter_variety(callenv, variety);
  for (WH_PARTSPEC* partspec = partlist->partspecs; partspec != nullptr;
       partspec = partspec->next) {
    if (!matchvar(variety, partspec->pattern, nullptr)) continue;
    for (WH_PART* part = partspec->parts; part != nullptr; part = part->next) {
      callenv->part = part;
      if (part->type == part_file) {
        if (file_func != nullptr) file_func(callenv, part->u.file);
      } else if (spec_func != nullptr) {
        WH_PRODUCT_SPEC* spec = query_expanded_product(callenv->index, part->u.product,
                                                       callenv->symtab, callenv->errorfunc);
        if (spec == nullptr) continue;
        spec_func(callenv, spec);
        give_back_spec(callenv->index, spec);
      }
    }
  }
  leave_variety(callenv, context);
}

void wh_traverse_spec(WH_INDEX* index, WH_PRODUCT_SPEC* spec, WH_VAR_FUNC* varfunc,
                      WH_ERROR_FUNC err, FwTextString source, void* state) {
  WH_CALL_ENV callenv{index, nullptr, source, err, state};
  FwVector* seq = &spec->varieties->seq;
  for (WH_VARIETY* variety : elements<WH_VARIETY>(seq)) {
    if (variety->visited || !wh_variety_is_complete(variety)) continue;
    // Before the call, so that products that include each other come to an end.
    variety->visited = 1;
    // A product that many include is met often, and mostly has nothing left to visit.
    if (callenv.symtab == nullptr) open_env(&callenv, spec, source);
    varfunc(&callenv, variety, spec->product);
  }
  if (callenv.symtab != nullptr) close_env(&callenv);
}
