// What the rooms of the warehouse model share among themselves.
#ifndef WAREHOUSE_PRIVATE_H
#define WAREHOUSE_PRIVATE_H

#include <cstring>

#include "fwerror.h"
#include "fwmem.h"
#include "warehouse.h"

// The names that every expansion can use, first in every symbol table.
extern WH_CONTEXT global_context;
// Gives HOST-PLATFORM of the global context its value, which is kept and not copied.
void bind_host_platform(FwTextString name);

// A zeroed record.
template <class T>
T* new_record() {
  return FwMemNew<T>(ALLOC_MUST_SUCCEED | INIT_ZERO);
}

// Whether both are the same text. A null string equals no other.
inline bool same_text(FwTextString a, FwTextString b) {
  return a == b || (a != nullptr && b != nullptr && std::strcmp(FWC(a), FWC(b)) == 0);
}

// If err holds no error: 0. Otherwise hands it to errorfunc and gives 1; the error stays set. The
// opposite sense of rep_clear.
int report(FwErrorState* err, WH_ERROR_FUNC errorfunc);

// Clears an error of the kind fwErrorNonExistent. Whether err is now clear: so 1 without an error.
int excused(FwErrorState* err);

// Turns each '\' and ':' of path into '/', in place.
void standardize_separators(FwTextString path);

// Whether expansion would change nothing in the text and find nothing amiss.
bool is_settled(FwTextString text);

// What wh_expand would give, if that text exists already: str itself, or the value of the name of
// which str consists. Null if there is more to do. The text stays its owner's.
FwTextString settled_expansion(FwTextString str, WH_SYMTAB* symtab);

// A folding multiplicative hash, 0 to 7392.
int hash(FwTextString key);

// Takes ownership of varieties.
WH_PRODUCT_SPEC* make_spec(WH_PRODUCT* product, WH_VARIETY_SEQ* varieties);
WH_PRODUCT_SPEC* dup_spec(WH_PRODUCT_SPEC* spec);

// A walk needs the answer to each of its queries for a moment only, so the index keeps such records
// for the next query.
// A spec of the product without varieties, to be given back or freed.
WH_PRODUCT_SPEC* take_spec(WH_INDEX* index, WH_PRODUCT* product);
// Takes the spec, whoever has made it.
void give_back_spec(WH_INDEX* index, WH_PRODUCT_SPEC* spec);

// Adds those of varieties that matching_varieties would give.
void add_matching_varieties(WH_VARIETY_SEQ* matching, WH_VARIETY_SEQ* varieties,
                            WH_PATTERN* pattern, FwTextString host);

WH_PRODUCT_SPEC_LIST* make_speclist();
// Takes ownership of spec.
void add_spec(WH_PRODUCT_SPEC_LIST* speclist, WH_PRODUCT_SPEC* spec);

#endif
