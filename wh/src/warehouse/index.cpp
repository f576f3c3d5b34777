// The index of the products loaded so far, and the queries that it answers.
#include <cstring>
#include <initializer_list>

#include "cache.h"
#include "fwfile.h"
#include "fwhash.h"
#include "partlist.h"
#include "private.h"
#include "prodinfo.h"
#include "readdata.h"
#include "recipe.h"
#include "settings.h"
#include "wqmem.h"

namespace {

constexpr uint32 kFirstNameSlots = 64;

// ---- Products by name

// FNV-1a over the four fields, a zero byte behind each.
uint32 name_hash(WH_PRODUCT_NAME* prodname) {
  uint32 h = 2166136261u;
  for (FwTextString field :
       {prodname->category, prodname->name, prodname->version, prodname->rev}) {
    for (FwTextString ptb = field; ptb != nullptr && *ptb != 0; ptb++)
      h = (h ^ *ptb) * 16777619u;
    h *= 16777619u;
  }
  return h;
}

// The slot that holds the product of that name, or the empty one where it belongs.
NAME_SLOT* name_slot(WH_INDEX* index, WH_PRODUCT_NAME* prodname, uint32 hash) {
  const uint32 mask = index->cache->by_name_size - 1;
  NAME_SLOT* slot = &index->cache->by_name[hash & mask];
  for (uint32 i = hash + 1; slot->product != nullptr; slot = &index->cache->by_name[i++ & mask])
    if (slot->hash == hash && equal_prodnames(slot->product->prodinfo->prodname, prodname)) break;
  return slot;
}

void make_name_slots(WH_INDEX* index, uint32 size) {
  index->cache->by_name =
      static_cast<NAME_SLOT*>(FwMemAlloc(size * sizeof(NAME_SLOT), ALLOC_MUST_SUCCEED | INIT_ZERO));
  index->cache->by_name_size = size;
}

WH_PRODUCT* entry(WH_INDEX* index, int i) {
  return static_cast<WH_PRODUCT*>(FwVectorGetElement(&index->entries, i));
}

// Enters a product under its name, unless one of that name is there already.
void enter_name(WH_INDEX* index, WH_PRODUCT* product) {
  const uint32 hash = name_hash(product->prodinfo->prodname);
  NAME_SLOT* slot = name_slot(index, product->prodinfo->prodname, hash);
  if (slot->product == nullptr) *slot = {product, hash};
}

void add_entry(WH_INDEX* index, WH_PRODUCT* product) {
  FwVectorAddElement(&index->entries, product);
  const int count = FwVectorLength(&index->entries);
  if (static_cast<uint32>(count) <= index->cache->by_name_size / 2) {
    enter_name(index, product);
    return;
  }
  FwMemFree(index->cache->by_name);
  make_name_slots(index, index->cache->by_name_size * 2);
  for (int i = 0; i < count; i++)
    enter_name(index, entry(index, i));
}

// ---- Products that do not exist

uint32 hash_key(void* key) {
  return name_hash(static_cast<WH_PRODUCT_NAME*>(key));
}

int32 equal_keys(void* key1, void* key2) {
  return equal_prodnames(static_cast<WH_PRODUCT_NAME*>(key1), static_cast<WH_PRODUCT_NAME*>(key2));
}

void free_key(FwHashEntry* entry) {
  auto* prodname = static_cast<WH_PRODUCT_NAME*>(entry->key);
  free_prodname(&prodname);
}

constexpr FwHashFunctions kNameFunctions = {hash_key, equal_keys, nullptr, free_key, 1};

bool is_missing(WH_INDEX* index, WH_PRODUCT_NAME* prodname) {
  return index->missing != nullptr && index->missing_is_silent &&
         FwHashLookupEntry(index->missing, prodname, nullptr) != nullptr;
}

void note_missing(WH_INDEX* index, WH_PRODUCT_NAME* prodname) {
  if (index->missing == nullptr) index->missing = FwHashCreateTable(13, &kNameFunctions, nullptr);
  WH_PRODUCT_NAME* key =
      make_prodname(prodname->category, prodname->name, prodname->version, prodname->rev);
  if (index->missing == nullptr || !FwHashAddEntry(index->missing, key, nullptr, nullptr))
    FwMemExitMemoryExhausted();
}

// ---- Loading

// The files behind the first, in the order of reading. A missing one is excused, but for the part
// list.
bool read_files_in(FwErrorState* err, FwTextString directory, WH_XML_PARSE_FLAGS flags,
                   WH_PRODUCT* product) {
  auto path = [&](const char* file) { return FwFilenameConcatenateAlloc(directory, FWT(file)); };

  FwTextString file = path("partlist.xml");
  product->partlist = read_partlist(err, file, flags);
  FwMemFree(file);
  if (product->partlist == nullptr || err->pError != nullptr) return false;

  static constexpr struct {
    const char* file;
    WH_RECIPE* WH_PRODUCT::*field;
  } kRecipes[] = {
      {"setup.xml", &WH_PRODUCT::setup},
      {"prep.xml", &WH_PRODUCT::prep},
      {"unset.xml", &WH_PRODUCT::unset},
  };
  for (const auto& recipe : kRecipes) {
    file = path(recipe.file);
    product->*recipe.field = read_recipe(err, file, flags);
    FwMemFree(file);
    if (!excused(err)) return false;
  }

  static constexpr struct {
    const char* file;
    WH_ENV_SETTINGS* WH_PRODUCT::*field;
  } kSettings[] = {
      {"env.xml", &WH_PRODUCT::envset},
      {"unenv.xml", &WH_PRODUCT::envunset},
  };
  for (const auto& setting : kSettings) {
    file = path(setting.file);
    product->*setting.field = read_env_settings(err, file, flags);
    FwMemFree(file);
    if (!excused(err)) return false;
  }
  return true;
}

bool read_product_files(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_NAME* prodname,
                        WH_PRODUCT* product) {
  FwTextString directory = wh_dirpath(index->base, prodname);
  const bool read = read_files_in(err, directory, index->parse_flags, product);
  FwMemFree(directory);
  return read;
}

// ---- Queries

using QUERY_FUNC = WH_PRODUCT_SPEC*(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_QUERY* query,
                                    WH_ERROR_FUNC errorfunc);

WH_PRODUCT_SPEC_LIST* run_queries(FwErrorState* err, WH_INDEX* index,
                                  WH_PRODUCT_QUERY_LIST* querylist, WH_ERROR_FUNC errorfunc,
                                  QUERY_FUNC* run) {
  WH_PRODUCT_SPEC_LIST* specs = make_speclist();
  for (int i = 0; i < FwVectorLength(&querylist->queries); i++) {
    auto* query = static_cast<WH_PRODUCT_QUERY*>(FwVectorGetElement(&querylist->queries, i));
    if (WH_PRODUCT_SPEC* spec = run(err, index, query, errorfunc)) add_spec(specs, spec);
  }
  return specs;
}

// The product that a query names; an error is reported.
WH_PRODUCT* queried_product(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_QUERY* query,
                            WH_ERROR_FUNC errorfunc) {
  WH_PRODUCT* product = index_fetch(err, index, query->prodname, query->optional);
  return report(err, errorfunc) ? nullptr : product;
}

bool names_platform(WH_VAR* vars) {
  for (WH_VAR* var = vars; var != nullptr; var = var->next)
    if (same_text(var->n, FWT("platform"))) return true;
  return false;
}

// Judged by the product's first variety alone.
bool is_platform_dependent(WH_PRODUCT* product) {
  FwVector* varieties = &product->prodinfo->varieties->seq;
  return FwVectorLength(varieties) > 0 &&
         names_platform(static_cast<WH_VARIETY*>(FwVectorGetElement(varieties, 0))->vars);
}

// The loaded product that the name denotes when expanded, found without building the expanded
// name. Null if there is none, or if it takes more to find out.
WH_PRODUCT* loaded_product(WH_INDEX* index, const WH_PRODUCT_NAME* prodname, WH_SYMTAB* symtab) {
  WH_PRODUCT_NAME expanded;
  for (FwTextString WH_PRODUCT_NAME::*field : {&WH_PRODUCT_NAME::category, &WH_PRODUCT_NAME::name,
                                               &WH_PRODUCT_NAME::version, &WH_PRODUCT_NAME::rev}) {
    if (prodname->*field == nullptr) return nullptr;
    expanded.*field = settled_expansion(prodname->*field, symtab);
    if (expanded.*field == nullptr) return nullptr;
  }
  // An expanded category would have these replaced.
  if (std::strpbrk(FWC(expanded.category), "\\:") != nullptr) return nullptr;
  return name_slot(index, &expanded, name_hash(&expanded))->product;
}

// Whether expansion would change nothing in the pattern.
bool is_settled(const WH_PATTERN* pattern) {
  auto settled = [](FwTextString text) { return text == nullptr || ::is_settled(text); };
  for (; pattern != nullptr; pattern = pattern->next) {
    if (!settled(pattern->host)) return false;
    for (WH_VAR* var = pattern->vars; var != nullptr; var = var->next)
      if (!settled(var->n) || !settled(var->v)) return false;
  }
  return true;
}

}  // namespace

WH_INDEX* index_open(FwTextString base) {
  auto* index = make<WH_INDEX>();
  FwVectorOpen(&index->entries, 20);
  index->base = dup_str(base);
  index->cache = make<WH_INDEX_CACHE>();
  make_name_slots(index, kFirstNameSlots);
  return index;
}

void index_close(WH_INDEX* index) {
  for (int i = 0; i < FwVectorLength(&index->entries); i++) {
    WH_PRODUCT* product = entry(index, i);
    free_product(&product);
  }
  FwVectorAbandon(&index->entries, 0);
  for (WH_PRODUCT_SPEC* spare : index->cache->spares)
    free_spec(&spare);
  index->cache->spares.release();
  FwMemFree(index->cache->by_name);
  if (index->missing != nullptr) FwHashFreeTable(&index->missing);
  wh_free(index->base);
  FwMemFree(index->cache);
  FwMemFree(index);
}

WH_PRODUCT* index_fetch(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_NAME* prodname,
                        int optional) {
  WH_PRODUCT* product = name_slot(index, prodname, name_hash(prodname))->product;
  if (product != nullptr) return product;
  if (is_missing(index, prodname)) return nullptr;
  const bool clear = err->pError == nullptr;
  product = index_add(err, index, prodname, optional);
  // Without an error there was none to be told, as the product is optional.
  if (product == nullptr && clear && (err->pError == nullptr || is_ErrorNonExistent(err))) {
    if (index->missing_is_silent) note_missing(index, prodname);
  } else if (product == nullptr) {
    index->cache->has_faulty = 1;
  }
  return product;
}

WH_PRODUCT* index_add(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_NAME* prodname, int optional) {
  WH_PRODUCT_INFO* prodinfo =
      read_prodinfo(err, prodname, index->base, optional, index->parse_flags);
  if (prodinfo == nullptr) return nullptr;
  auto* product = make<WH_PRODUCT>();
  product->prodinfo = prodinfo;
  if (!read_product_files(err, index, prodname, product)) {
    free_product(&product);
    return nullptr;
  }
  add_entry(index, product);
  return product;
}

void free_product(WH_PRODUCT** product) {
  if (*product == nullptr) return;
  free_env_settings(&(*product)->envunset);
  free_env_settings(&(*product)->envset);
  free_recipe(&(*product)->unset);
  free_recipe(&(*product)->prep);
  free_recipe(&(*product)->setup);
  free_partlist(&(*product)->partlist);
  free_variety_index(&(*product)->by_value);
  free_prodinfo(&(*product)->prodinfo);
  FwMemFreeAndClear(product);
}

WH_PRODUCT_SPEC* take_spec(WH_INDEX* index, WH_PRODUCT* product) {
  auto& spares = index->cache->spares;
  if (spares.count == 0) return make_spec(product, make_variety_seq());
  WH_PRODUCT_SPEC* spec = spares[--spares.count];
  spec->product = product;
  spec->toplevel = 0;
  return spec;
}

void give_back_spec(WH_INDEX* index, WH_PRODUCT_SPEC* spec) {
  FwVector* varieties = &spec->varieties->seq;
  while (FwVectorLength(varieties) > 0)
    FwVectorPopElement(varieties);
  index->cache->spares.add(spec);
}

void index_unvisit(WH_INDEX* index) {
  // Each group of products goes over all that have been loaded, so this is kept to a few
  // instructions a variety.
  const FwVector* products = &index->entries;
  for (int i = 0; i < products->nCurrentSize; i++) {
    const auto* product = static_cast<const WH_PRODUCT*>(products->pElements[i]);
    const FwVector* varieties = &product->prodinfo->varieties->seq;
    for (int j = 0; j < varieties->nCurrentSize; j++) {
      auto* variety = static_cast<WH_VARIETY*>(varieties->pElements[j]);
      variety->visited = 0;
      variety->packed = 0;
    }
  }
}

WH_PRODUCT_SPEC* query_product(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_QUERY* query,
                               WH_ERROR_FUNC errorfunc) {
  WH_PRODUCT* product = queried_product(err, index, query, errorfunc);
  if (product == nullptr) return nullptr;
  WH_VARIETY_SEQ* varieties = make_variety_seq();
  add_product_varieties(varieties, product, query->pattern);
  return make_spec(product, varieties);
}

WH_PRODUCT_SPEC* query_product_pd(FwErrorState* err, WH_INDEX* index, WH_PRODUCT_QUERY* query,
                                  WH_ERROR_FUNC errorfunc) {
  WH_PRODUCT* product = queried_product(err, index, query, errorfunc);
  if (product == nullptr) return nullptr;

  WH_VARIETY_SEQ* varieties =
      matching_varieties(product->prodinfo->varieties, query->pattern, nullptr);
  // A condition on the platform, as told by the query's first alternative, replaces the host's.
  const bool has_plat = query->pattern != nullptr && names_platform(query->pattern->vars);
  if (!has_plat && is_platform_dependent(product)) {
    WH_VAR var = {FWT("platform"), wh_host_platform, nullptr};
    WH_PATTERN plat_pattern = {&var, nullptr, nullptr};
    WH_VARIETY_SEQ* for_host = matching_varieties(varieties, &plat_pattern, nullptr);
    free_variety_seq(&varieties);
    varieties = for_host;
  }
  return make_spec(product, varieties);
}

WH_PRODUCT_SPEC_LIST* query_products(FwErrorState* err, WH_INDEX* index,
                                     WH_PRODUCT_QUERY_LIST* querylist, WH_ERROR_FUNC errorfunc) {
  return run_queries(err, index, querylist, errorfunc, query_product);
}

WH_PRODUCT_SPEC_LIST* query_products_pd(FwErrorState* err, WH_INDEX* index,
                                        WH_PRODUCT_QUERY_LIST* querylist, WH_ERROR_FUNC errorfunc) {
  return run_queries(err, index, querylist, errorfunc, query_product_pd);
}

WH_PRODUCT_SPEC* query_expanded_product(WH_INDEX* index, WH_PRODUCT_QUERY* query, WH_SYMTAB* symtab,
                                        WH_ERROR_FUNC errorfunc) {
  bool missing;
  return query_part(index, query, symtab, errorfunc, &missing);
}

bool may_read_environment(const WH_PRODUCT_QUERY* query, WH_SYMTAB* symtab) {
  const WH_PRODUCT_NAME* prodname = query->prodname;
  for (FwTextString field : {prodname->category, prodname->name, prodname->version, prodname->rev})
    if (may_read_environment(field, symtab)) return true;
  for (const WH_PATTERN* pattern = query->pattern; pattern != nullptr; pattern = pattern->next) {
    if (may_read_environment(pattern->host, symtab)) return true;
    for (const WH_VAR* var = pattern->vars; var != nullptr; var = var->next)
      if (may_read_environment(var->n, symtab) || may_read_environment(var->v, symtab)) return true;
  }
  return false;
}

WH_PRODUCT_SPEC* query_part(WH_INDEX* index, WH_PRODUCT_QUERY* query, WH_SYMTAB* symtab,
                            WH_ERROR_FUNC errorfunc, bool* missing) {
  *missing = false;
  const int reads = environment_reads;
  // A part that many include is asked for again and again.
  if (WH_PRODUCT* product = loaded_product(index, query->prodname, symtab);
      product != nullptr && is_settled(query->pattern)) {
    WH_PRODUCT_SPEC* spec = take_spec(index, product);
    add_product_varieties(spec->varieties, product, query->pattern);
    return spec;
  }

  FwErrorState err;
  WH_PRODUCT_SPEC* spec = nullptr;
  // A query of its own, on the stack: its media are of no interest here.
  WH_PRODUCT_QUERY exp_query;
  exp_query.optional = query->optional;
  exp_query.prodname = wh_expand_prodname(&err, query->prodname, symtab);
  if (!report(&err, errorfunc)) {
    exp_query.pattern = wh_expand_pattern(&err, query->pattern, symtab);
    if (!report(&err, errorfunc)) {
      spec = query_product(&err, index, &exp_query, errorfunc);
      // Kept, as the text of the output: what query_product has reported is reported once more.
      report(&err, errorfunc);
      *missing = spec == nullptr && !index->cache->has_faulty && environment_reads == reads &&
                 is_missing(index, exp_query.prodname);
    }
  }
  free_pattern(&exp_query.pattern);
  free_prodname(&exp_query.prodname);
  FwErrorClear(&err);
  return spec;
}
