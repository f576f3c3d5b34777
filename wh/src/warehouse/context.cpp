// What names mean: the global context, those of a product and of a variety, and the tables that are
// stacks of them.
#include <cstring>
#include <iterator>

#include "fwhash.h"
#include "fwstring.h"
#include "private.h"
#include "vqosarch.h"
#include "wqmem.h"

namespace {

// ---- The global context

struct GLOBAL {
  FwTextByte name[16];
  FwTextByte value[120];
};

// In the order of the search. The values are templates that take their meaning from the other
// contexts on the stack: BASE-DIRECTORY comes from the caller, THIS-... and PLAT-CATEGORY from the
// product, PFS from the variety. Nobody binds INSTALLED-FROM.
constinit GLOBAL globals[] = {
    {"FS", "/"},
    {"EXE", ""},
    {"DLL", ".so"},
    {"LIB", ".a"},
    {"THIS-CNVR", "%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)%(FS)%(THIS-REV)"},
    {"PLAT-THIS-CNVR", "%(PLAT-CATEGORY)%(PFS)%(THIS-NAME)%(PFS)%(THIS-VERSION)%(PFS)%(THIS-REV)"},
    {"BASE-CN", "%(BASE-DIRECTORY)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)"},
    {"FROM-CN", "%(INSTALLED-FROM)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)"},
    {"BASE-CNV", "%(BASE-DIRECTORY)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)"},
    {"FROM-CNV", "%(INSTALLED-FROM)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)"},
    {"BASE-CNVR",
     "%(BASE-DIRECTORY)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)%(FS)%(THIS-REV)"},
    {"FROM-CNVR",
     "%(INSTALLED-FROM)%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)%(FS)%(THIS-REV)"},
    {"BINPATH", "%(BASE-DIRECTORY)"},
    {"HOST-PLATFORM", ""},
};

struct GLOBAL_CHAIN {
  WH_CONTEXT_VALUE vals[std::size(globals)];
};
extern GLOBAL_CHAIN global_chain;

// Constant data: the chain is laid out by the compiler. HOST-PLATFORM has no value until wh_init.
constexpr GLOBAL_CHAIN chain_of_globals() {
  GLOBAL_CHAIN chain;
  const std::size_t last = std::size(globals) - 1;
  for (std::size_t i = 0; i < last; i++)
    chain.vals[i] = {globals[i].name, globals[i].value, &global_chain.vals[i + 1]};
  chain.vals[last].n = globals[last].name;
  return chain;
}

constinit GLOBAL_CHAIN global_chain = chain_of_globals();

// ---- Platform suffixes

struct SUFFIXES {
  const char* sep;
  const char* exe;
  const char* lib;
  const char* dll;
};

struct FAMILY {
  const char* name;
  SUFFIXES suffixes;  // null: a family further down decides
};

constexpr FAMILY kFamilies[] = {
    {"pc", {"\\", ".exe", ".lib", ".dll"}},
    {"hpux", {nullptr, nullptr, nullptr, ".sl"}},
    {"unix", {"/", "", ".a", ".so"}},
    {"macos", {":", "", ".a", ".so"}},
};

// Each suffix is decided by the first family that holds; all are null if none does.
SUFFIXES suffixes_for_platform(FwTextString platform) {
  SUFFIXES found = {};
  for (const FAMILY& family : kFamilies) {
    if (!platform_included(FWC(platform), const_cast<char*>(family.name))) continue;
    for (const char* SUFFIXES::*suffix :
         {&SUFFIXES::sep, &SUFFIXES::exe, &SUFFIXES::lib, &SUFFIXES::dll})
      if (found.*suffix == nullptr) found.*suffix = family.suffixes.*suffix;
    if (found.sep != nullptr) break;
  }
  return found;
}

// ---- Building a list of bindings from its head

struct CV_TAIL {
  WH_CONTEXT_VALUE** link;
};

void append_cv(CV_TAIL* tail, const char* name, const char* value) {
  *tail->link = make_cv(FWT(name), value == nullptr ? nullptr : FWT(value), nullptr);
  if (*tail->link != nullptr) tail->link = &(*tail->link)->next;
}

// The bindings that a platform brings, under names that begin with P or T.
void append_suffixes(CV_TAIL* tail, FwTextString platform, const char* const (&names)[4]) {
  const SUFFIXES suffixes = suffixes_for_platform(platform);
  append_cv(tail, names[0], suffixes.lib);
  append_cv(tail, names[1], suffixes.dll);
  append_cv(tail, names[2], suffixes.exe);
  append_cv(tail, names[3], suffixes.sep);
}

constexpr const char* kPlatformNames[4] = {"PLIB", "PDLL", "PEXE", "PFS"};
constexpr const char* kTargetNames[4] = {"TLIB", "TDLL", "TEXE", "TFS"};

// The category's elements joined by a separator that is the target platform's: it stays a
// reference until expansion. Null for null.
FwTextString platform_category(FwTextString category) {
  if (category == nullptr) return nullptr;
  FwTextString elements = FwStrDuplicate(category);
  FwTextString rest = elements;
  FwStrRecord joined;
  FwStrRecordOpen(&joined);
  for (const char* between = ""; FwTextString element = FwStrTok(&rest, FWT("/\\:"));
       between = "%(PFS)") {
    FwStrPutTextString(&joined, FWT(between));
    FwStrPutTextString(&joined, element);
  }
  FwMemFree(elements);
  return FwStrRecordClose(&joined);
}

// ---- Contexts of many bindings

// So many searches go through the list: that costs less than the table.
constexpr int kFewSearches = 8;

void make_by_name(WH_CONTEXT* context) {
  context->by_name = make_values();
  for (WH_CONTEXT_VALUE* cv = context->vals; cv != nullptr; cv = cv->next)
    if (cv->n != nullptr && cv->v != nullptr) add_value(context->by_name, cv->n, cv->v);
}

// The value that a context of many bindings gives a name, null for none.
[[gnu::noinline]] FwTextString find_in_many(WH_CONTEXT* context, FwTextString name, uint32 length) {
  if (context->by_name == nullptr) make_by_name(context);
  FwTextString text = FwStrNDuplicate(name, static_cast<int>(length));
  FwTextString value = find_value(context->by_name, text);
  FwMemFree(text);
  return value;
}

}  // namespace

WH_CONTEXT global_context = {&global_chain.vals[0]};

void bind_host_platform(FwTextString name) {
  global_chain.vals[std::size(globals) - 1].v = name;
}

// ---- Bindings and contexts

WH_CONTEXT_VALUE* make_cv(FwTextString name, FwTextString value, WH_CONTEXT_VALUE* next) {
  if (value == nullptr) return next;
  auto* cv = make<WH_CONTEXT_VALUE>();
  cv->n = dup_str(name);
  cv->v = FwStrDuplicate(value);
  cv->next = next;
  return cv;
}

void free_cv_list(WH_CONTEXT_VALUE** cv) {
  while (*cv != nullptr) {
    WH_CONTEXT_VALUE* head = *cv;
    *cv = head->next;
    wh_free(head->n);
    wh_free(head->v);
    FwMemFree(head);
  }
}

WH_CONTEXT* make_context(WH_CONTEXT_VALUE* cvlist) {
  auto* context = make<WH_CONTEXT>();
  context->vals = cvlist;
  int count = 0;
  for (; cvlist != nullptr && count <= kFewBindings; cvlist = cvlist->next)
    count++;
  context->has_many = count > kFewBindings;
  return context;
}

void free_context(WH_CONTEXT** context) {
  if (*context == nullptr) return;
  free_cv_list(&(*context)->vals);
  if ((*context)->by_name != nullptr) FwHashFreeTable(&(*context)->by_name);
  FwMemFreeAndClear(context);
}

WH_CONTEXT* context_from_prodname(WH_PRODUCT_NAME* prodname) {
  FwTextString plat_category = platform_category(prodname->category);
  WH_CONTEXT_VALUE* cv = make_cv(FWT("PLAT-CATEGORY"), plat_category, nullptr);
  cv = make_cv(FWT("THIS-VERSION"), prodname->version, cv);
  cv = make_cv(FWT("THIS-REV"), prodname->rev, cv);
  cv = make_cv(FWT("THIS-NAME"), prodname->name, cv);
  cv = make_cv(FWT("THIS-CATEGORY"), prodname->category, cv);
  wh_free(plat_category);
  return make_context(cv);
}

WH_CONTEXT* context_from_variety(WH_VARIETY* variety) {
  return make_context(cv_from_var_list(variety->vars));
}

WH_CONTEXT_VALUE* cv_from_var_list(WH_VAR* var) {
  WH_CONTEXT_VALUE* list = nullptr;
  CV_TAIL tail = {&list};
  for (; var != nullptr; var = var->next) {
    if (var->n == nullptr || var->v == nullptr) continue;
    if (same_text(var->n, FWT("platform"))) append_suffixes(&tail, var->v, kPlatformNames);
    if (same_text(var->n, FWT("target"))) append_suffixes(&tail, var->v, kTargetNames);
    append_cv(&tail, FWC(var->n), FWC(var->v));
  }
  return list;
}

// ---- Symbol tables

WH_SYMTAB* make_symtab(FwTextString source) {
  auto* symtab = make<WH_SYMTAB>();
  symtab->source = dup_str(source);
  FwVectorOpen(&symtab->contexts, 4);
  FwVectorAddElement(&symtab->contexts, &global_context);
  return symtab;
}

WH_SYMTAB* symtab_from_prodname(WH_PRODUCT_NAME* prodname, FwTextString source) {
  FwTextString path = wh_filepath(FWT(""), prodname, source);
  WH_SYMTAB* symtab = make_symtab(path);
  FwMemFree(path);
  add_context(symtab, context_from_prodname(prodname));
  return symtab;
}

void keep_meanings(WH_SYMTAB* symtab) {
  symtab->keeps_meanings = true;
}

void add_context(WH_SYMTAB* symtab, WH_CONTEXT* context) {
  forget_meanings(symtab);
  FwVectorAddElement(&symtab->contexts, context);
}

void remove_context(WH_SYMTAB* symtab, WH_CONTEXT* context) {
  forget_meanings(symtab);
  for (int i = 0; i < FwVectorLength(&symtab->contexts); i++)
    if (FwVectorGetElement(&symtab->contexts, i) == context) {
      FwVectorRemoveElement(&symtab->contexts, i);
      return;
    }
}

void free_symtab(WH_SYMTAB** symtab) {
  if (*symtab == nullptr) return;
  forget_meanings(*symtab);
  FwVector* contexts = &(*symtab)->contexts;
  for (int i = 0; i < FwVectorLength(contexts); i++) {
    auto* context = static_cast<WH_CONTEXT*>(FwVectorGetElement(contexts, i));
    if (context != &global_context) free_context(&context);
  }
  FwVectorAbandon(contexts, 0);
  wh_free((*symtab)->source);
  FwMemFreeAndClear(symtab);
}

FwTextString symtab_lookup(FwTextString name, WH_SYMTAB* symtab, uint32 length) {
  // Most bindings differ in the first byte already. An empty name begins with its end.
  const FwTextByte first = length > 0 ? *name : 0;
  const int count = FwVectorLength(&symtab->contexts);
  for (int i = 0; i < count; i++) {
    auto* context = static_cast<WH_CONTEXT*>(FwVectorGetElement(&symtab->contexts, i));
    if (context->has_many && (context->by_name != nullptr || ++context->searches > kFewSearches)) {
      if (FwTextString value = find_in_many(context, name, length)) return value;
      continue;
    }
    for (WH_CONTEXT_VALUE* cv = context->vals; cv != nullptr; cv = cv->next)
      if (cv->n != nullptr && *cv->n == first && cv->v != nullptr &&
          std::strncmp(FWC(cv->n), FWC(name), length) == 0 && cv->n[length] == 0)
        return cv->v;
  }
  return nullptr;
}
