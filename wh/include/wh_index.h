// The index of the products loaded so far, and the queries that it answers.
#ifndef WH_INDEX_H
#define WH_INDEX_H

#include "fwerror.h"
#include "fwhash.h"
#include "fwtypes.h"
#include "fwvector.h"
#include "readdata.h"
#include "wh_base.h"
#include "wh_records.h"
#include "wh_symbols.h"

struct WH_INDEX_CACHE;  // private to the index

// The products loaded so far under one base directory. A product is read the first time that it is
// asked for and lives until index_close. entries keeps the order of loading. It is index_add's to
// fill: a product put into entries by hand is freed with the index, but no query finds it.
struct WH_INDEX {
  FwVector entries = {};  // of WH_PRODUCT*, owned
  FwTextString base = nullptr;

  // The caller's word, given by a value other than 0, that nothing is to be heard of products that
  // do not exist and that none appears meanwhile. From then on each of them is looked for once: the
  // next query for it gives null, without an error and without a call of its error function. Walks
  // over many products that name the same missing part cost no more for it.
  int missing_is_silent = 0;
  FwHashTable* missing = nullptr;  // owned: the names of those found out so far; null for none
  // For the readers of the products' files (readdata.h); a reader's error makes a product fail to
  // load. Set it before products are asked for. For programs on this library.
  WH_XML_PARSE_FLAGS parse_flags = WH_XML_PF_NO_CHECKS;
  WH_INDEX_CACHE* cache = nullptr;  // owned
};

// Reads nothing; it can't fail.
WH_INDEX* index_open(FwTextString base);
// Frees the index with all its products.
void index_close(WH_INDEX* index);

// The product of that name, read from disk if need be. Null with err set if that fails; null
// without an error if optional is set and the product does not exist. "+" is not understood here.
WH_PRODUCT* index_fetch(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_NAME* prodname,
                        int optional);
// Reads a product into the index. One that fails is not remembered.
WH_PRODUCT* index_add(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_NAME* prodname, int optional);
void free_product(WH_PRODUCT** product);

// Clears the marks visited and packed of all varieties of all products.
void index_unvisit(WH_INDEX* index);

// Null if the product can't be had; its error stays in err and went to errorfunc. A product of
// which no variety matches gives a spec with none. err is not cleared on entry: an error that
// stands in it is reported again, and the query fails.
WH_PRODUCT_SPEC* query_product(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_QUERY* query,
                               WH_ERROR_FUNC errorfunc);
// The same for the host's platform: if the query's first alternative says nothing of "platform" but
// the product's first variety does, a variety must also match the host.
WH_PRODUCT_SPEC* query_product_pd(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_QUERY* query,
                                  WH_ERROR_FUNC errorfunc);
// One query after another. Never null: a query that fails is just absent. The first is for programs
// on this library.
WH_PRODUCT_SPEC_LIST* query_products(FwErrorState* err, WH_INDEX* index,
                                     WH_PRODUCT_QUERY_LIST* querylist, WH_ERROR_FUNC errorfunc);
WH_PRODUCT_SPEC_LIST* query_products_pd(FwErrorState* err, WH_INDEX* index,
                                        WH_PRODUCT_QUERY_LIST* querylist, WH_ERROR_FUNC errorfunc);
// Expands the query, then runs it, without regard to the host. A product that fails to load is
// reported twice.
WH_PRODUCT_SPEC* query_expanded_product(WH_INDEX* index, WH_PRODUCT_QUERY* query, WH_SYMTAB* symtab,
                                        WH_ERROR_FUNC errorfunc);

// Replaces each "+" of version and rev by the latest entry on disk below basedir, in place. A
// stated version or rev must exist: fwErrorNonExistent if it does not.
void wh_latest_prodname(FwErrorState* err, WH_PRODUCT_NAME* prodname, FwTextString basedir);

#endif
