// The records that name and describe products: constructors, destructors and path names.
#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "fwfile.h"
#include "fwstring.h"
#include "private.h"
#include "wqmem.h"

namespace {

// Frees what a sequence's vector holds of its own, then the record.
template <class Record>
void free_with_vector(Record** record, FwVector* vector) {
  FwVectorAbandon(vector, 0);
  FwMemFreeAndClear(record);
}

// Opens a record with room for dir and the names below it, a separator between each two. Mostly
// that is just the size of the result, and then closing the record needs no copy.
void open_path(FwStrRecord* path, FwTextString dir, WH_PRODUCT_NAME* prodname,
               FwTextString filename) {
  std::size_t size = 0;
  for (FwTextString name :
       {dir, prodname->category, prodname->name, prodname->version, prodname->rev, filename})
    if (name != nullptr) size += std::strlen(FWC(name)) + 1;
  FwStrRecordOpenSize(path, static_cast<uint32>(std::max<std::size_t>(size, 1)));
}

}  // namespace

// ---- Bindings and patterns

WH_VAR* make_var(FwTextString n, FwTextString v) {
  auto* var = make<WH_VAR>();
  var->n = dup_str(n);
  var->v = dup_str(v);
  return var;
}

// In a loop, as a data file can make the list as long as it likes.
void free_vars(WH_VAR** var) {
  while (*var != nullptr) {
    WH_VAR* head = *var;
    *var = head->next;
    wh_free(head->n);
    wh_free(head->v);
    FwMemFree(head);
  }
}

WH_PATTERN* make_pattern() {
  return make<WH_PATTERN>();
}

void free_pattern(WH_PATTERN** pattern) {
  while (*pattern != nullptr) {
    WH_PATTERN* head = *pattern;
    *pattern = head->next;
    free_vars(&head->vars);
    wh_free(head->host);
    FwMemFree(head);
  }
}

// ---- Varieties

WH_VARIETY_SEQ* make_variety_seq() {
  auto* varieties = make<WH_VARIETY_SEQ>();
  FwVectorOpen(&varieties->seq, 20);
  return varieties;
}

void add_variety(WH_VARIETY_SEQ* varieties, WH_VARIETY* variety) {
  FwVectorAddElement(&varieties->seq, variety);
}

void free_variety_seq(WH_VARIETY_SEQ** varieties) {
  if (*varieties != nullptr) free_with_vector(varieties, &(*varieties)->seq);
}

WH_VARIETY_SEQ* dup_variety_seq(WH_VARIETY_SEQ* varieties) {
  const int count = FwVectorLength(&varieties->seq);
  auto* dup = make<WH_VARIETY_SEQ>();
  open_vector(&dup->seq, count);
  for (int i = 0; i < count; i++)
    FwVectorAddElement(&dup->seq, FwVectorGetElement(&varieties->seq, i));
  return dup;
}

int wh_variety_is_complete(WH_VARIETY* variety) {
  for (WH_SEG* seg = variety->segs; seg != nullptr; seg = seg->next)
    if (!seg->here) return 0;
  return 1;
}

// ---- Product names

WH_PRODUCT_NAME* make_prodname(FwTextString category, FwTextString name, FwTextString version,
                               FwTextString rev) {
  standardize_separators(category);
  auto* prodname = make<WH_PRODUCT_NAME>();
  prodname->category = dup_str(category);
  prodname->name = dup_str(name);
  prodname->version = dup_str(version);
  prodname->rev = dup_str(rev);
  return prodname;
}

void free_prodname(WH_PRODUCT_NAME** prodname) {
  if (*prodname == nullptr) return;
  wh_free((*prodname)->category);
  wh_free((*prodname)->name);
  wh_free((*prodname)->version);
  wh_free((*prodname)->rev);
  FwMemFreeAndClear(prodname);
}

int equal_prodnames(WH_PRODUCT_NAME* p1, WH_PRODUCT_NAME* p2) {
  return same_text(p1->category, p2->category) && same_text(p1->name, p2->name) &&
         same_text(p1->version, p2->version) && same_text(p1->rev, p2->rev);
}

// ---- Queries and specs

WH_PRODUCT_QUERY* make_query(WH_PRODUCT_NAME* prodname, WH_PATTERN* pattern, int optional) {
  auto* query = make<WH_PRODUCT_QUERY>();
  query->prodname = prodname;
  query->pattern = pattern;
  query->optional = optional;
  FwVectorOpen(&query->media, 2);
  return query;
}

void free_query(WH_PRODUCT_QUERY** query) {
  if (*query == nullptr) return;
  free_prodname(&(*query)->prodname);
  free_pattern(&(*query)->pattern);
  FwVector* media = &(*query)->media;
  if (media->state == FW_VECTOR_OPEN) {
    for (int i = 0; i < FwVectorLength(media); i++)
      wh_free(FwVectorGetElement(media, i));
    FwVectorAbandon(media, 0);
  }
  FwMemFreeAndClear(query);
}

WH_PRODUCT_QUERY_LIST* make_querylist() {
  auto* querylist = make<WH_PRODUCT_QUERY_LIST>();
  FwVectorOpen(&querylist->queries, 5);
  return querylist;
}

void add_query(WH_PRODUCT_QUERY_LIST* querylist, WH_PRODUCT_QUERY* query) {
  FwVectorAddElement(&querylist->queries, query);
}

void free_querylist(WH_PRODUCT_QUERY_LIST** querylist) {
  if (*querylist == nullptr) return;
  FwVector* queries = &(*querylist)->queries;
  for (int i = 0; i < FwVectorLength(queries); i++) {
    auto* query = static_cast<WH_PRODUCT_QUERY*>(FwVectorGetElement(queries, i));
    free_query(&query);
  }
  free_with_vector(querylist, queries);
}

WH_PRODUCT_SPEC* make_spec(WH_PRODUCT* product, WH_VARIETY_SEQ* varieties) {
  auto* spec = make<WH_PRODUCT_SPEC>();
  spec->product = product;
  spec->varieties = varieties;
  return spec;
}

void free_spec(WH_PRODUCT_SPEC** spec) {
  if (*spec == nullptr) return;
  free_variety_seq(&(*spec)->varieties);
  FwMemFreeAndClear(spec);
}

WH_PRODUCT_SPEC* dup_spec(WH_PRODUCT_SPEC* spec) {
  WH_PRODUCT_SPEC* dup = make_spec(spec->product, dup_variety_seq(spec->varieties));
  dup->toplevel = spec->toplevel;
  return dup;
}

WH_PRODUCT_SPEC_LIST* make_speclist() {
  auto* speclist = make<WH_PRODUCT_SPEC_LIST>();
  FwVectorOpen(&speclist->specs, 5);
  return speclist;
}

void add_spec(WH_PRODUCT_SPEC_LIST* speclist, WH_PRODUCT_SPEC* spec) {
  FwVectorAddElement(&speclist->specs, spec);
}

void free_speclist(WH_PRODUCT_SPEC_LIST** speclist) {
  if (*speclist == nullptr) return;
  FwVector* specs = &(*speclist)->specs;
  for (int i = 0; i < FwVectorLength(specs); i++) {
    auto* spec = static_cast<WH_PRODUCT_SPEC*>(FwVectorGetElement(specs, i));
    free_spec(&spec);
  }
  free_with_vector(speclist, specs);
}

// ---- Path names

void prod_to_dir(FwStrRecord* dir, WH_PRODUCT_NAME* prodname) {
  FwFilenameConcatenateEx(dir, prodname->category);
  FwFilenameConcatenate(dir, prodname->name);
  FwFilenameConcatenate(dir, prodname->version);
  FwFilenameConcatenate(dir, prodname->rev);
}

FwTextString wh_dirpath(FwTextString dir, WH_PRODUCT_NAME* prodname) {
  FwStrRecord path;
  open_path(&path, dir, prodname, nullptr);
  FwStrPutTextString(&path, dir);
  prod_to_dir(&path, prodname);
  return FwStrRecordClose(&path);
}

FwTextString wh_filepath(FwTextString dir, WH_PRODUCT_NAME* prodname, FwTextString filename) {
  FwStrRecord path;
  open_path(&path, dir, prodname, filename);
  FwStrPutTextString(&path, dir);
  prod_to_dir(&path, prodname);
  FwFilenameConcatenateEx(&path, filename);
  return FwStrRecordClose(&path);
}

WH_PRODUCT_NAME* name_from_path(FwTextString path) {
  FwVector elements;
  open_vector(&elements, 10);
  while (*path != 0) {
    FwStrRecord element;
    FwStrRecordOpen(&element);
    path = FwFileCopyPathElement(&element, path);
    FwVectorAddElement(&elements, FwStrRecordClose(&element));
    if (*path == '/') path++;
  }

  WH_PRODUCT_NAME* prodname = nullptr;
  const int count = FwVectorLength(&elements);
  if (count >= 4) {
    auto element = [&](int i) {
      return static_cast<FwTextString>(FwVectorGetElement(&elements, i));
    };
    FwStrRecord category;
    FwStrRecordOpen(&category);
    for (int i = 0; i < count - 3; i++)
      FwFilenameConcatenate(&category, element(i));
    prodname =
        make_prodname(category.pbz, element(count - 3), element(count - 2), element(count - 1));
    FwStrRecordAbandon(&category);
  }
  FwVectorAbandon(&elements, 1);
  return prodname;
}
