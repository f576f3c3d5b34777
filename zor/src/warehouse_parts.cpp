#include "warehouse_parts_private.h"

namespace zor {

namespace {

// Whether a query failed for another reason than that there is no such product.
bool is_faulty = false;

void note_fault(FwErrorState* err) {
  if (is_ErrorNonExistent(err)) return;
  is_faulty = true;
  collect_error(err);
}

}  // namespace

PartNames::PartNames(const WH_INDEX* index, const WH_PRODUCT* product, WH_VARIETY* variety) {
  std::string source = "partlist.xml";
  symtab_ = symtab_from_prodname(product->prodinfo->prodname, text(source));
  add_context(symtab_, make_context(make_cv(FWT("BASE-DIRECTORY"), index->base, nullptr)));
  add_context(symtab_, context_from_variety(variety));
}

PartNames::~PartNames() {
  free_symtab(&symtab_);
}

ProductName PartNames::meant(WH_PRODUCT_NAME* name) const {
  FwErrorState err;
  WH_PRODUCT_NAME* meaning = wh_expand_prodname(&err, name, symtab_);
  ProductName result = name_of(meaning && !err.pError ? meaning : name);
  if (meaning) free_prodname(&meaning);
  FwErrorClear(&err);
  return result;
}

void go_through_parts(WH_INDEX* index, WH_PRODUCT* product, WH_VARIETY* variety,
                      const std::function<void(const FoundPart&)>& of_product,
                      const std::function<void(const std::string&)>& of_file) {
  if (!wh_variety_is_complete(variety)) return;
  const PartNames names(index, product, variety);
  for (WH_PARTSPEC* spec = product->partlist->partspecs; spec; spec = spec->next) {
    if (!matchvar(variety, spec->pattern, nullptr)) continue;
    for (WH_PART* part = spec->parts; part; part = part->next) {
      if (part->type == part_file) {
        of_file(names.meant(part->u.file->file));
        continue;
      }
      is_faulty = false;
      WH_PRODUCT_SPEC* found =
          query_expanded_product(index, part->u.product, names.get(), note_fault);
      const Presence presence = found       ? Presence::kThere
                                : is_faulty ? Presence::kUnreadable
                                            : Presence::kMissing;
      of_product({part,
                  found ? name_of(found->product->prodinfo->prodname)
                        : names.meant(part->u.product->prodname),
                  found, presence, names});
      if (found) free_spec(&found);
    }
  }
}

}  // namespace zor
