// What names in data files mean: contexts, the symbol tables that are stacks of them, and the
// replacement of names by what they mean.
#ifndef WH_SYMBOLS_H
#define WH_SYMBOLS_H

#include "fwerror.h"
#include "fwhash.h"
#include "fwtypes.h"
#include "fwvector.h"
#include "wh_records.h"

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

struct WH_MEANING;

struct WH_SYMTAB {
  FwTextString source = nullptr;  // the file that the text comes from, for error messages
  FwVector contexts = {};         // of WH_CONTEXT*, the global context first

  // Private: whether keep_meanings was called, and what was kept since a context came or went.
  bool keeps_meanings = false;
  WH_MEANING* meanings = nullptr;
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
// A table that holds the global context and the product's context. Its source is
// category/name/version/rev/source.
WH_SYMTAB* symtab_from_prodname(WH_PRODUCT_NAME* prodname, FwTextString source);
// Frees the contexts as well, all but the global one.
void free_symtab(WH_SYMTAB** symtab);

// Appends. The table owns the context until remove_context gives it back to the caller.
void add_context(WH_SYMTAB* symtab, WH_CONTEXT* context);
void remove_context(WH_SYMTAB* symtab, WH_CONTEXT* context);

// From now on wh_expand keeps with the table what names come to in the end, which pays where many
// texts follow. Contexts may be added and removed as before, but bindings in them may not change.
void keep_meanings(WH_SYMTAB* symtab);

// The value bound to the name of length bytes, which need not be terminated, or null. The value
// stays the table's.
FwTextString symtab_lookup(FwTextString name, WH_SYMTAB* symtab, uint32 length);

// ---- Expansion ----------------------------------------------------------------------------------

// Replaces %(NAME), %[FILE] and %{NAME} in str, and in what they were replaced by, until nothing
// is left to replace. Gives a new string that the caller frees, null for null.
//
// It returns a string even after an error, so test err. An unbound name sets whErrorNoValue; a file
// that can't be read sets the file's error. Once err holds an error, even one from before the call,
// files and environment variables are no longer put in.
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

// For programs on this library.
//
// The name of the product in whose directory the running program stands, owned here. Null with
// whErrorCouldNotReadWarehouse if it stands in none; the next call tries again.
WH_PRODUCT_NAME* wh_getCNVR(FwErrorState* err);
// The variant that wh_setVariant stored, owned here; null before.
FwTextString wh_getVariant(FwErrorState* err);
void wh_setVariant(FwTextString variant);

#endif
