// The records that name and describe products, and the paths at which these lie.
#ifndef WH_RECORDS_H
#define WH_RECORDS_H

#include "fwhash.h"
#include "fwmem.h"
#include "fwtypes.h"
#include "fwvector.h"
#include "readdata.h"
#include "wh_base.h"

struct WH_ENV_SETTINGS;  // settings.h
struct WH_PARTLIST;      // partlist.h
struct WH_RECIPE;        // recipe.h

// A field may hold "+": the latest one on disk, until wh_latest_prodname has replaced it.
struct WH_PRODUCT_NAME {
  FwTextString category = nullptr;
  FwTextString name = nullptr;
  FwTextString version = nullptr;
  FwTextString rev = nullptr;
};

// A binding in a list: a variable of a variety, or a condition on one.
struct WH_VAR {
  FwTextString n = nullptr;
  FwTextString v = nullptr;
  WH_VAR* next = nullptr;
  const WH_PLACE* place = nullptr;  // not owned; null unless places were asked for
};

// One alternative of a condition on varieties. All of its vars must hold; the alternatives of a
// chain are joined by "or". It owns its strings, host too.
struct WH_PATTERN {
  WH_VAR* vars = nullptr;
  FwTextString host = nullptr;
  WH_PATTERN* next = nullptr;
};

// A segment of a variety: here tells whether it is present.
struct WH_SEG {
  FwTextString host = nullptr;
  int here = 0;
  WH_SEG* next = nullptr;
};

struct WH_DESCRIPTIONS {
  FwVector descs = {};  // of WH_DESC* (prodinfo.h)
};

struct WH_VARIETY {
  FwTextString name = nullptr;
  WH_VAR* vars = nullptr;
  WH_SEG* segs = nullptr;
  WH_DESCRIPTIONS* descriptions = nullptr;
  int chosen = 0;
  // Marks of the passes that walk products, shared as scratch: each walk starts with
  // index_unvisit.
  int mark = 0;
  int visited = 0;
  int packed = 0;
  FwHashTable* ancestors = nullptr;  // the varieties that include this one, and itself
  const WH_PLACE* place = nullptr;   // as in WH_VAR
};

// Does not own its varieties.
struct WH_VARIETY_SEQ {
  FwVector seq = {};  // of WH_VARIETY*
};

// The contents of "product.xml".
struct WH_PRODUCT_INFO {
  WH_PRODUCT_NAME* prodname = nullptr;
  FwTextString nicename = nullptr;
  FwTextString description = nullptr;
  WH_DESCRIPTIONS* descriptions = nullptr;
  WH_VARIETY_SEQ* varieties = nullptr;  // this one does own its varieties
  int visible = 0;
  FwMemPool* places = nullptr;  // owned: the places in the records
};

struct WH_VARIETY_INDEX;  // private to the index

// A loaded product. The index leaves install, uninstall, enable and disable null.
struct WH_PRODUCT {
  WH_PRODUCT_INFO* prodinfo = nullptr;
  WH_PARTLIST* partlist = nullptr;
  WH_RECIPE* install = nullptr;
  WH_RECIPE* uninstall = nullptr;
  WH_RECIPE* enable = nullptr;
  WH_RECIPE* disable = nullptr;
  WH_ENV_SETTINGS* envset = nullptr;
  WH_ENV_SETTINGS* envunset = nullptr;
  WH_RECIPE* prep = nullptr;
  WH_RECIPE* setup = nullptr;
  WH_RECIPE* unset = nullptr;
  WH_VARIETY_INDEX* by_value = nullptr;  // private: once it has been asked for often
};

struct WH_PRODUCT_QUERY {
  WH_PRODUCT_NAME* prodname = nullptr;  // owned
  WH_PATTERN* pattern = nullptr;        // owned; null for no condition
  int optional = 0;                     // a missing product is no error
  FwVector media = {};                  // of FwTextString, owned
};

struct WH_PRODUCT_QUERY_LIST {
  FwVector queries = {};  // of WH_PRODUCT_QUERY*, owned
};

// The result of a query.
struct WH_PRODUCT_SPEC {
  WH_PRODUCT* product = nullptr;        // owned by the index
  WH_VARIETY_SEQ* varieties = nullptr;  // owned, in the product's order
  int toplevel = 0;
};

struct WH_PRODUCT_SPEC_LIST {
  FwVector specs = {};  // of WH_PRODUCT_SPEC*, owned
};

WH_VAR* make_var(FwTextString n, FwTextString v);
// Frees the whole list.
void free_vars(WH_VAR** var);

WH_VARIETY_SEQ* make_variety_seq();
void add_variety(WH_VARIETY_SEQ* varieties, WH_VARIETY* variety);
// The varieties live on.
void free_variety_seq(WH_VARIETY_SEQ** varieties);
// A new sequence of the same varieties.
WH_VARIETY_SEQ* dup_variety_seq(WH_VARIETY_SEQ* varieties);

// One alternative without a condition: it matches everything.
WH_PATTERN* make_pattern();
// Frees the whole chain.
void free_pattern(WH_PATTERN** pattern);

// category must be writable and not null: each '\' and ':' in the caller's string becomes '/'.
WH_PRODUCT_NAME* make_prodname(FwTextString category, FwTextString name, FwTextString version,
                               FwTextString rev);
void free_prodname(WH_PRODUCT_NAME** prodname);

// Takes ownership of prodname and pattern.
WH_PRODUCT_QUERY* make_query(WH_PRODUCT_NAME* prodname, WH_PATTERN* pattern, int optional);
void free_query(WH_PRODUCT_QUERY** query);

WH_PRODUCT_QUERY_LIST* make_querylist();
// Takes ownership of query.
void add_query(WH_PRODUCT_QUERY_LIST* querylist, WH_PRODUCT_QUERY* query);
void free_querylist(WH_PRODUCT_QUERY_LIST** querylist);

// The product belongs to the index and lives on.
void free_spec(WH_PRODUCT_SPEC** spec);
void free_speclist(WH_PRODUCT_SPEC_LIST** speclist);

// Whether all four fields are equal byte by byte. Case counts on every platform.
int equal_prodnames(WH_PRODUCT_NAME* p1, WH_PRODUCT_NAME* p2);

// Appends category/name/version/rev to dir.
void prod_to_dir(FwStrRecord* dir, WH_PRODUCT_NAME* prodname);
// dir/category/name/version/rev, a string that the caller frees.
FwTextString wh_dirpath(FwTextString dir, WH_PRODUCT_NAME* prodname);
// The same with /filename. An empty dir gives a path relative to the base directory.
FwTextString wh_filepath(FwTextString dir, WH_PRODUCT_NAME* prodname, FwTextString filename);

// The product name that a relative path stands for: its last three elements are name, version and
// rev, all before them the category. Null if there are fewer than four.
WH_PRODUCT_NAME* name_from_path(FwTextString path);

// Whether every segment of the variety is here. A variety without segments is complete.
int wh_variety_is_complete(WH_VARIETY* variety);

#endif
