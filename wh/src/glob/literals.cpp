#include "literals.h"

#include <algorithm>
#include <array>

#include "fcpp.h"
#include "fwmem.h"
#include "fwstring.h"
#include "glob.h"

namespace {

// The bytes at which is_own_key() stops to look, as it goes over every text that there is.
constexpr std::array<bool, 256> kLookedAt = [] {
  std::array<bool, 256> bytes = {};
  for (const char c : {'\0', '*', '?', '|', '/'})
    bytes[static_cast<unsigned char>(c)] = true;
  return bytes;
}();

// Unlike in the environment tables, the order of these slots shows nowhere.
uint32 literal_hash(void* key) {
  return fnv_text(static_cast<FwTextString>(key));
}

void remove_literal(FwHashEntry* entry) {
  auto* positions = static_cast<POSITIONS*>(entry->value);
  free_positions(positions);
  FwMemFree(positions);
  FwMemFree(entry->key);
}

constexpr FwHashFunctions kLiteralFunctions = {literal_hash, FwHash_StringCompareFunction, nullptr,
                                               remove_literal, 1};

// Appends the first bytes of a token of a list, separated from what stands before it.
void put_token(FwStrRecord* record, const TOKEN* list, const TOKEN* token, size_t length) {
  if (token > list && token[-1].type == T_PATH) FwStrPutRawByte(record, '/');
  if (length > 0)
    FwStrNPutRawString(record, FWT(token->string.data()), static_cast<uint32>(length));
}

// The tokens of a literal text of so many bytes, written in the one way.
FwTextString joined(const TOKENS* tokens, size_t size) {
  OpenRecord key(static_cast<uint32>(size + 1));
  for (const TOKEN* token = tokens->list; token->type != T_END; ++token)
    put_token(&key, tokens->list, token, token->string.size());
  return key.take();
}

// Takes over key if it is new, else frees it.
void file_position(LITERALS* literals, FwTextString key, int32 position) {
  FwHashEntry* entry = FwHashLookupEntry(literals->table, key, nullptr);
  if (entry) {
    FwMemFree(key);
  } else {
    entry = FwHashAddEntry(literals->table, key, make<POSITIONS>(), nullptr);
    if (!entry) FwMemExitMemoryExhausted();
  }
  auto* positions = static_cast<POSITIONS*>(entry->value);
  if (positions->count == 0 || positions->last() != position) add_position(positions, position);
}

}  // namespace

void open_glob(GLOB* glob, FwTextString pattern) {
  parse(&glob->tokens, pattern);
  glob->key = wh_has_globs(pattern) ? nullptr : joined(&glob->tokens, glob_view(pattern).size());
  glob->everything = glob->tokens.count == 2 && glob->tokens.list[0].type == T_ANY;
}

void close_glob(GLOB* glob) {
  free_tokens(&glob->tokens);
  FwMemFreeAndClear(&glob->key);
}

int glob_accepts(const GLOB* glob, FwTextString string) {
  if (glob->everything) return 1;
  TOKENS tokens;
  parse(&tokens, string);
  int accepts = path_matches(glob->tokens.list, tokens.list, string);
  free_tokens(&tokens);
  return accepts;
}

bool looks_at_disk(const GLOB* glob) {
  if (glob->key) return false;
  for (const TOKEN* token = glob->tokens.list; token->type != T_END; ++token)
    if (token->type == T_EXISTS) return true;
  return false;
}

FwTextString literal_key(FwTextString text) {
  if (wh_has_globs(text)) return nullptr;
  TOKENS tokens;
  parse(&tokens, text);
  FwTextString key = joined(&tokens, glob_view(text).size());
  free_tokens(&tokens);
  return key;
}

bool is_own_key(FwTextString text) {
  for (const FwTextByte* p = text;; ++p) {
    while (!kLookedAt[*p])
      ++p;
    if (*p != '/') return *p == 0;
    // An empty element, or a separator behind the last one: only the root ends with one.
    if (p[1] == '/' || (p[1] == 0 && p != text)) return false;
  }
}

FwTextString literal_beginning(const GLOB* glob) {
  OpenRecord beginning;
  bool literal = true;
  for (const TOKEN* token = glob->tokens.list;
       literal && (token->type == T_ROOT || token->type == T_PATH); ++token) {
    size_t length = token->string.find_first_of("*?");
    literal = length == std::string_view::npos;
    put_token(&beginning, glob->tokens.list, token, std::min(length, token->string.size()));
  }
  return beginning.take();
}

void sort_positions(POSITIONS* positions) {
  std::sort(positions->begin(), positions->end());
  int32* end = std::unique(positions->begin(), positions->end());
  positions->count = static_cast<int32>(end - positions->list);
}

void open_literals(LITERALS* literals) {
  literals->table = FwHashCreateTable(13, &kLiteralFunctions, nullptr);
  if (!literals->table) FwMemExitMemoryExhausted();
}

void close_literals(LITERALS* literals) {
  FwHashFreeTable(&literals->table);
}

void add_literal(LITERALS* literals, FwTextString text, int32 position) {
  if (FwTextString key = literal_key(text)) file_position(literals, key, position);
}

void add_literal_key(LITERALS* literals, FwTextString key, int32 position) {
  file_position(literals, FwStrDuplicate(key), position);
}

const POSITIONS* find_literal(const LITERALS* literals, FwTextString key) {
  if (!literals->table) return nullptr;
  return value_of<POSITIONS>(literals->table, key);
}
