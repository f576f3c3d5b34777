// Searches for files and for products on disk.
#include "fcpp.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwvector.h"
#include "glob.h"
#include "tokens.h"
#include "vqassert.h"
#include "warehouse.h"

namespace {

// Directories that hold no products, besides all hidden ones.
constexpr const char* exclusions[] = {"CVS"};

void put_view(FwStrRecord* record, std::string_view text) {
  FwStrNPutTextString(record, FWT(text.data()), static_cast<uint32>(text.size()));
}

// Adds a copy of name to entries, with a trailing separator if it is a directory.
void add_entry(FwVector* entries, std::string_view name, const FwFileInfo* info) {
  OpenRecord entry;
  put_view(&entry, name);
  if (info->type == FW_FILE_TYPE_DIRECTORY) FwFileEnsureTrailingSeparator(&entry);
  FwVectorAddElement(entries, entry.take());
}

// Adds the entries of the directory path that the token accepts. A directory that can't be read has
// none.
void get_entries(const TOKEN* token, FwStrRecord* path, FwVector* entries) {
  LocalError err;
  FwFileInfo info;
  if (!FwFileEndsWithSeparator(path->pbz)) FwAssertFailed("no sep in get_entries");

  if (token->type == T_PATH && token->string.find_first_of("*?|") == std::string_view::npos) {
    uint32 length = record_length(path);
    put_view(path, token->string);
    if (FwFileGetInfo(&err, path->pbz, &info, 0)) add_entry(entries, token->string, &info);
    FwStrRecordShorten(path, length);
  } else if (FwDir* dir = FwDirOpen(&err, path->pbz, FW_DIR_SNAPSHOT)) {
    OpenRecord name;
    // A link that leads nowhere ends the enumeration: there is no information about its target.
    while (FwDirNext(&err, dir, &name, &info, 0)) {
      if (token_matches(token, T_PATH, glob_view(name.pbz)))
        add_entry(entries, glob_view(name.pbz), &info);
      name.clear();
    }
    FwDirClose(&err, dir);
  }
  forgive(&err);
}

void search_dir(const TOKEN* pattern, FwStrRecord* path, FwVector* results);

// Goes on with rest in each entry of path that the token first accepts.
void search_entries(const TOKEN* first, const TOKEN* rest, FwStrRecord* path, FwVector* results) {
  LocalVector found(10, Elements::kFreed);
  get_entries(first, path, &found);
  uint32 length = record_length(path);
  for (FwTextString entry : texts(&found)) {
    FwStrPutTextString(path, entry);
    search_dir(rest, path, results);
    FwStrRecordShorten(path, length);
  }
}

// A trailing separator on path says that it is a directory.
void search_dir(const TOKEN* pattern, FwStrRecord* path, FwVector* results) {
  bool directory = FwFileEndsWithSeparator(path->pbz) != nullptr;
  switch (pattern->type) {
    case T_ROOT:
      FwAssertFailed("unexpected T_ROOT in search_dir\n");
      break;
    case T_ANY:
      search_dir(pattern + 1, path, results);
      if (directory) search_entries(pattern, pattern, path, results);
      break;
    case T_PATH:
      if (directory) search_entries(pattern, pattern + 1, path, results);
      break;
    case T_EXISTS:
      if (directory && dir_has_file(path->pbz, pattern->string))
        FwVectorAddElement(results, FwStrDuplicate(path->pbz));
      break;
    default:
      FwVectorAddElement(results, FwStrDuplicate(path->pbz));
      break;
  }
}

int wanted(FwTextString element) {
  if (element[0] == '.') return 0;
  for (const char* exclusion : exclusions)
    if (glob_view(element) == exclusion) return 0;
  return 1;
}

int contains_product(FwTextString path) {
  LocalError err;
  const OwnedText file(FwFilenameConcatenateAlloc(path, FWT("product.xml")));
  int found = FwFileGetInfo(&err, file, nullptr, 0);
  forgive(&err);
  return found;
}

// path ends in a separator; what stands behind baselength is matched. Products don't nest, so there
// is no descent into a directory that holds one, whether it matched or not.
void find_products(FwErrorState* err, FwStrRecord* path, uint32 baselength, const TOKEN* pattern,
                   FwVector* results) {
  TOKENS tokens;
  parse(&tokens, path->pbz + baselength);
  int matches = path_matches(pattern, tokens.list, path->pbz);
  int descend = might_match(pattern, tokens.list, path->pbz);
  free_tokens(&tokens);
  if (!matches && !descend) return;
  if (contains_product(path->pbz)) {
    if (matches) FwVectorAddElement(results, FwStrDuplicate(path->pbz));
    return;
  }
  if (!descend) return;

  FwDir* dir = FwDirOpen(err, path->pbz, FW_DIR_SNAPSHOT);
  if (!dir) return;
  FwFileInfo info;
  OpenRecord name;
  uint32 length = record_length(path);
  while (FwDirNext(err, dir, &name, &info, 0)) {
    if (info.type == FW_FILE_TYPE_DIRECTORY && wanted(name.pbz)) {
      FwStrPutTextString(path, name.pbz);
      FwFileEnsureTrailingSeparator(path);
      find_products(err, path, baselength, pattern, results);
      FwStrRecordShorten(path, length);
    }
    name.clear();
  }
  FwDirClose(err, dir);
}

}  // namespace

int wh_find_files(FwErrorState* err, FwTextString pattern, FwTextString dir, FwVector* results) {
  if (FwFileIsAbsolute(pattern)) {
    FwErrorSet(err, fwErrorStringSyntax, 2, FWT("file pattern"), pattern);
    return 0;
  }
  int before = FwVectorLength(results);
  TOKENS tokens;
  parse(&tokens, pattern);
  OpenRecord path;
  FwStrPutTextString(&path, dir);
  FwFileEnsureTrailingSeparator(&path);
  search_dir(tokens.list, &path, results);
  free_tokens(&tokens);
  sort_results(results);
  return FwVectorLength(results) > before;
}

int wh_find_products(FwErrorState* err, FwTextString pattern, FwTextString base,
                     FwVector* results) {
  int before = FwVectorLength(results);
  TOKENS tokens;
  parse(&tokens, pattern);
  OpenRecord path;
  FwStrPutTextString(&path, base);
  FwFileEnsureTrailingSeparator(&path);
  uint32 baselength = FwFileIsAbsolute(base) && !FwFileIsAbsolute(pattern) ? path.length() : 0;
  find_products(err, &path, baselength, tokens.list, results);
  free_tokens(&tokens);
  sort_results(results);
  return FwVectorLength(results) > before;
}

void sort_results(FwVector* results) {
  FwVectorQSort(results, FwVectorStringCompare);
  int32 count = FwVectorLength(results);
  int32 kept = 0;
  for (int32 i = 0; i < count; ++i) {
    FwTextString element = nth<FwTextByte>(results, i);
    if (kept > 0 && FwStrCompare(element, nth<FwTextByte>(results, kept - 1)) == 0)
      FwMemFree(element);
    else
      results->pElements[kept++] = element;
  }
  for (int32 i = kept; i < count; ++i)
    FwVectorPopElement(results);
}
