// What the rooms of the warehouse model share among themselves.
#ifndef WAREHOUSE_PRIVATE_H
#define WAREHOUSE_PRIVATE_H

#include "base.h"
#include "fcpp.h"
#include "fwerror.h"
#include "fwmem.h"
#include "warehouse.h"

// The names that every expansion can use, first in every symbol table.
extern WH_CONTEXT global_context;
// Gives HOST-PLATFORM of the global context its value, which is kept and not copied.
void bind_host_platform(FwTextString name);

// Whether expansion would change nothing in the text and find nothing amiss.
bool is_settled(FwTextString text);

// Forgets what names come to, as their bindings are about to change.
void forget_meanings(WH_SYMTAB* symtab);

// What wh_expand would give, if that text exists already: str itself, or the value of the name of
// which str consists. Null if there is more to do. The text stays its owner's.
FwTextString settled_expansion(FwTextString str, WH_SYMTAB* symtab);

// How often expansions have read the process environment so far. Where its encoding is not the one
// in use, each time is told on standard output.
extern int environment_reads;
// False only if expanding the text is sure not to.
bool may_read_environment(FwTextString str, WH_SYMTAB* symtab);
bool may_read_environment(const WH_PRODUCT_QUERY* query, WH_SYMTAB* symtab);

// A table of values by name. The first value that is added for a name counts, even if it is null.
// The table does not own names and values. FwHashFreeTable frees it.
FwHashTable* make_values();
void add_value(FwHashTable* values, FwTextString name, FwTextString value);
FwTextString find_value(FwHashTable* values, FwTextString name);

// A list of more bindings than that is worth a table, once it has been searched often.
constexpr int kFewBindings = 32;

// Whether a variable of that name compares as a platform.
bool is_platform_name(FwTextString name);

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

// The same for all varieties of a product and any host. A product of many varieties that is asked
// often gets an index of its varieties by the values of the variables asked for, so that a pattern
// for one of them does not try them all.
void add_product_varieties(WH_VARIETY_SEQ* matching, WH_PRODUCT* product, WH_PATTERN* pattern);
void free_variety_index(WH_VARIETY_INDEX** index);

// As query_expanded_product. *missing tells that there is no such product and that asking again
// with the same symbols would show nothing.
WH_PRODUCT_SPEC* query_part(WH_INDEX* index, WH_PRODUCT_QUERY* query, WH_SYMTAB* symtab,
                            WH_ERROR_FUNC errorfunc, bool* missing);

WH_PRODUCT_SPEC_LIST* make_speclist();
// Takes ownership of spec.
void add_spec(WH_PRODUCT_SPEC_LIST* speclist, WH_PRODUCT_SPEC* spec);

#endif
