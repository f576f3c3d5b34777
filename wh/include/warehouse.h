// The warehouse model: the records that name and describe products, the expansion language, the
// matching of varieties, and the index of the products loaded so far.
//
// A warehouse is a directory tree. Below its base directory a product lives at
//
//   category/name/version/rev/        category may hold several path elements
//
// and describes itself in data files there. A product comes in varieties, each a set of variables
// (platform = linux-x86, ...). A query names a product and a pattern that its varieties must meet;
// its result is a spec:
//
//   WH_PRODUCT_QUERY --> index_fetch --> WH_PRODUCT (owned by the index)
//                                          + the varieties that match = WH_PRODUCT_SPEC
//
//   wh_boot_fw(argc, argv);
//   wh_init();
//   WH_INDEX* index = index_open(base);
//   WH_PRODUCT_SPEC_LIST* specs = query_products_pd(&err, index, querylist, report_error);
//   ...
//   free_speclist(&specs);
//   index_close(index);
//
// Text in data files may refer to values by %(NAME), to files by %[FILE] and to the process
// environment by %{NAME}. What a name means is told by a symbol table, a stack of contexts:
//
//   global context | THIS-... of the product | BASE-DIRECTORY of the caller | variables of a
//   variety
//
// The first context that binds a name wins, so nobody can override a global name.
//
// Records are made by make_... and dup_..., which copy the strings given unless they say that they
// take ownership, and freed by free_..., which takes the pointer's address, accepts a null pointer
// and leaves null. Any string of a record may be null where the data file left an attribute out.
// Memory exhaustion ends the program, so nothing here returns null for the lack of it.
#ifndef WAREHOUSE_H
#define WAREHOUSE_H

#include "fwtypes.h"
#include "fwvector.h"
#include "readdata.h"

struct FwMemPool;
struct WH_ENV_SETTINGS;  // settings.h
struct WH_PARTLIST;      // partlist.h
struct WH_RECIPE;        // recipe.h

// ---- Records ------------------------------------------------------------------------------------

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
  WH_PRODUCT_SPEC* next_spare = nullptr;  // of the index
};

struct WH_PRODUCT_SPEC_LIST {
  FwVector specs = {};  // of WH_PRODUCT_SPEC*, owned
};

// The callback through which a walk hands out an error and goes on. Null silences the reports.
using WH_ERROR_FUNC = void (*)(FwErrorState* err);

// The host's platform name, such as "linux_6_1_0-x86_64". Set by wh_init and wh_set_host_platform.
extern FwTextString wh_host_platform;

// Makes the error kinds and notes the host's platform, also as HOST-PLATFORM of the global context.
// Must follow wh_boot_fw.
void wh_init();

// From now on the host counts as a platform of this name, of which a copy is kept. Must follow
// wh_init.
void wh_set_host_platform(FwTextString name);

// A copy that the caller frees, null for null.
FwTextString dup_str(FwTextString str);

// Opens a vector in storage that need not be zeroed. A size of 0 counts as 1.
void open_vector(FwVector* vector, int32 size);

// Empties an open vector, freeing its elements if asked, and opens it with room for size.
void recycle_vector(FwVector* vector, int32 free_elements, int32 size);

// If err holds no error: 1. Otherwise hands it to errorfunc, clears it and gives 0.
int rep_clear(FwErrorState* err, WH_ERROR_FUNC errorfunc);

// Whether err holds fwErrorNonExistent or a descendant.
int is_ErrorNonExistent(FwErrorState* err);

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

// ---- Contexts and symbol tables -----------------------------------------------------------------

struct WH_CONTEXT_VALUE {
  FwTextString n = nullptr;
  FwTextString v = nullptr;
  WH_CONTEXT_VALUE* next = nullptr;
};

struct WH_CONTEXT {
  WH_CONTEXT_VALUE* vals = nullptr;

  // Private: whether make_context was given so many bindings that a table pays, how often such a
  // context was searched, and the table of its values by name once that was often. From then on
  // vals may not change.
  bool has_many = false;
  int searches = 0;
  FwHashTable* by_name = nullptr;
};

struct WH_SYMTAB {
  FwTextString source = nullptr;  // the file that the text comes from, for error messages
  FwVector contexts = {};         // of WH_CONTEXT*, the global context first
};

// A new head before next with copies of both strings. A null value makes no binding: the result is
// next.
WH_CONTEXT_VALUE* make_cv(FwTextString name, FwTextString value, WH_CONTEXT_VALUE* next);
void free_cv_list(WH_CONTEXT_VALUE** cv);

// Takes ownership of the list.
WH_CONTEXT* make_context(WH_CONTEXT_VALUE* cvlist);
void free_context(WH_CONTEXT** context);

// THIS-CATEGORY, THIS-NAME, THIS-REV, THIS-VERSION and PLAT-CATEGORY, the category with its
// elements joined by "%(PFS)".
WH_CONTEXT* context_from_prodname(WH_PRODUCT_NAME* prodname);
WH_CONTEXT* context_from_variety(WH_VARIETY* variety);

// Bindings of the variables, in their order. A variable "platform" whose value is of a known family
// brings PLIB, PDLL, PEXE and PFS in front of it, a variable "target" TLIB, TDLL, TEXE and TFS.
WH_CONTEXT_VALUE* cv_from_var_list(WH_VAR* var);

// A table that holds the global context.
WH_SYMTAB* make_symtab(FwTextString source);
// The global context and that of the product. The table's source is
// category/name/version/rev/source.
WH_SYMTAB* symtab_from_prodname(WH_PRODUCT_NAME* prodname, FwTextString source);
// Frees the contexts as well, all but the global one.
void free_symtab(WH_SYMTAB** symtab);

// Appends. The table owns the context until remove_context gives it back to the caller.
void add_context(WH_SYMTAB* symtab, WH_CONTEXT* context);
void remove_context(WH_SYMTAB* symtab, WH_CONTEXT* context);

// The value bound to the name of length bytes, which need not be terminated, or null. The value
// stays the table's.
FwTextString symtab_lookup(FwTextString name, WH_SYMTAB* symtab, uint32 length);

// ---- Expansion ----------------------------------------------------------------------------------

// Replaces %(NAME), %[FILE] and %{NAME} in str, and in what they were replaced by, until nothing
// is left to replace. Gives a new string that the caller frees, null for null.
//
// An error does not end the work and comes with a string all the same, so test err: an unbound name
// sets whErrorNoValue, a file that can't be read the error of the file. Once err holds an error,
// also one from before the call, files and environment variables are no longer put in.
// Text that would grow for ever ends the program as exhausted memory, which is what text of more
// than 20 MiB counts as.
FwTextString wh_expand(FwErrorState* err, FwTextString str, WH_SYMTAB* symtab);

// Gets the name of each file that %[FILE] asks for, whether or not it can be read, if it is not
// null.
extern void (*wh_file_observer)(FwTextString filename);

// A new chain of the same shape, all strings expanded. Null for null. err holds the last error.
WH_PATTERN* wh_expand_pattern(FwErrorState* err, WH_PATTERN* pattern, WH_SYMTAB* symtab);
// A new name, the four fields expanded. err holds the last error.
WH_PRODUCT_NAME* wh_expand_prodname(FwErrorState* err, WH_PRODUCT_NAME* prodname,
                                    WH_SYMTAB* symtab);

// ---- Self-location ------------------------------------------------------------------------------

// The name of the product in whose directory the running program stands, owned here. Null with
// whErrorCouldNotReadWarehouse if it stands in none; the next call tries again.
WH_PRODUCT_NAME* wh_getCNVR(FwErrorState* err);
// The variant that wh_setVariant stored, owned here; null before.
FwTextString wh_getVariant(FwErrorState* err);
void wh_setVariant(FwTextString variant);

// ---- Matching -----------------------------------------------------------------------------------

// The operators of wh_test_op, by number.
enum WH_TEST_OP : int {
  wh_op_error = -1,
  wh_op_is = 0,
  wh_op_eq = 1,
  wh_op_lt = 2,
  wh_op_le = 3,
  wh_op_gt = 4,
  wh_op_ge = 5,
  wh_op_ne = 6,
  wh_op_matches = 7
};

// The value of the variety's first variable of that name, or null. It stays the variety's.
FwTextString var_lookup(FwTextString name, WH_VARIETY* variety);

// The first value of a variable "platform" that includes the host's platform, or null. It stays
// the variety's.
FwTextString platform_variant_matching_host(WH_PRODUCT_INFO* prodinfo);

// Whether lhs, the value that a variety has, stands in the relation op to rhs, the value of the
// condition. An unknown operator is told on standard output and gives 0.
int wh_test_op(FwTextString lhs, int op, FwTextString rhs);
// The same for any one of the comma-separated parts of rhs.
int wh_test_op_multi(FwTextString lhs, int op, FwTextString rhs);
// Whether the variety's variable meets the condition; 0 if it has no such variable, whatever op
// says. "platform" and "target" are also met by a platform that overlaps.
int wh_test_var(WH_VARIETY* variety, FwTextString name, int op, FwTextString value);

// Whether the variety meets one of the alternatives. A null pattern matches everything, a null host
// leaves the alternatives' hosts out of account.
int matchvar(WH_VARIETY* variety, WH_PATTERN* pattern, FwTextString host);
// Those of varieties that match, in order. The caller frees the sequence.
WH_VARIETY_SEQ* matching_varieties(WH_VARIETY_SEQ* varieties, WH_PATTERN* pattern,
                                   FwTextString host);

// ---- The index ----------------------------------------------------------------------------------

// A place of the index's table of names: empty if product is null.
struct WH_INDEX_SLOT {
  WH_PRODUCT* product = nullptr;
  uint32 hash = 0;  // of the four fields of its name
};

// The products loaded so far under one base directory. A product is read the first time that it is
// asked for and lives until index_close. entries keeps the order of loading; by_name finds a
// product by its name without a scan. Both are index_add's to fill: a product put into entries by
// hand is freed with the index, but no query finds it.
//
//   by_name  [ 0 | P2 | 0 | 0 | P1 | P3 | 0 | 0 ]    linear probing from hash modulo size;
//                                                    2^k slots, at most half of them full
struct WH_INDEX {
  FwVector entries = {};  // of WH_PRODUCT*, owned
  FwTextString base = nullptr;
  WH_INDEX_SLOT* by_name = nullptr;
  uint32 by_name_size = 0;
  WH_PRODUCT_SPEC* spare_specs = nullptr;  // owned: answers that are no longer needed, for the next

  // The caller's word, given by a value other than 0, that nothing is to be heard of products that
  // do not exist and that none appears meanwhile. From then on each of them is looked for once: the
  // next query for it gives null, without an error and without a call of its error function. Walks
  // over many products that name the same missing part cost no more for it.
  int missing_is_silent = 0;
  // For the readers of the products' files (readdata.h); a reader's error makes a product fail to
  // load. Set it before products are asked for. For programs on this library.
  WH_XML_PARSE_FLAGS parse_flags = WH_XML_PF_NO_CHECKS;
  int has_faulty = 0;              // private: a product that exists could not be read
  FwHashTable* missing = nullptr;  // owned: the names of those found out so far; null for none
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
// One query after another. Never null: a query that fails is just absent.
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
