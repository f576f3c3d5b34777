#include "index.h"

#include <algorithm>
#include <cstring>

namespace {

// Memory of an index, in bytes: at first, and by what it grows.
constexpr uint32 kPoolFirst = 4096;
constexpr uint32 kPoolGrow = 16384;

// From so many candidates on it pays to look for a rarer part of the pattern.
constexpr int32 kFew = 8;

void* pool_alloc(FwMemPool** pool, size_t size) {
  if (!*pool) {
    *pool =
        FwMemPoolCreate(0, kPoolFirst, kPoolGrow, alignof(void*), ALLOC_MUST_SUCCEED | INIT_NONE);
    if (!*pool) FwMemExitMemoryExhausted();
  }
  return FwMemPoolAlloc(*pool, static_cast<uint32>(size));
}

std::string_view front(std::string_view text, size_t length) {
  return {text.data(), std::min(text.size(), length)};
}

size_t common_length(std::string_view a, std::string_view b) {
  const size_t most = std::min(a.size(), b.size());
  size_t length = 0;
  while (length < most && a[length] == b[length])
    ++length;
  return length;
}

// ---- Words ----

int32 new_word(WORDS* words, std::string_view edge, int32 parent) {
  WORD_NODE node;
  node.edge = edge;
  node.parent = parent;
  words->add(node);
  return words->count - 1;
}

int32 child_with(const WORDS* words, int32 node, char first) {
  int32 child = words->list[node].child;
  while (child >= 0 && words->list[child].edge[0] != first)
    child = words->list[child].sibling;
  return child;
}

int32 add_child(WORDS* words, int32 parent, std::string_view edge) {
  const int32 child = new_word(words, edge, parent);
  words->list[child].sibling = words->list[parent].child;
  words->list[parent].child = child;
  return child;
}

// Puts a node in front of another one that takes the first bytes of its edge.
int32 split(WORDS* words, int32 node, size_t length) {
  const int32 parent = words->list[node].parent;
  const int32 upper = new_word(words, front(words->list[node].edge, length), parent);
  int32* link = &words->list[parent].child;
  while (*link != node)
    link = &words->list[*link].sibling;
  *link = upper;
  words->list[upper].sibling = words->list[node].sibling;
  words->list[upper].child = node;
  words->list[upper].count = words->list[node].count;
  words->list[node].sibling = -1;
  words->list[node].parent = upper;
  words->list[node].edge.remove_prefix(length);
  return upper;
}

// Finds or makes the node of a word.
int32 node_for(WORDS* words, std::string_view word) {
  if (words->count == 0) new_word(words, {}, -1);
  int32 node = 0;
  while (!word.empty()) {
    const int32 child = child_with(words, node, word[0]);
    if (child < 0) return add_child(words, node, word);
    const size_t length = common_length(words->list[child].edge, word);
    node = length < words->list[child].edge.size() ? split(words, child, length) : child;
    word.remove_prefix(length);
  }
  return node;
}

bool file_under(POSITIONS* positions, int32 position) {
  if (positions->count > 0 && positions->last() == position) return false;
  add_position(positions, position);
  return true;
}

void append(POSITIONS* positions, const POSITIONS* more) {
  for (int32 position : *more)
    add_position(positions, position);
}

// ---- Texts and patterns ----

// What stands in front of the first * or ? of an element.
std::string_view head_of(const TOKEN* token) {
  return front(token->string, std::min(token->string.find_first_of("*?"), token->string.size()));
}

bool is_literal(const TOKEN* token) {
  return token->string.find_first_of("*?") == std::string_view::npos;
}

// Adds the pairs of bytes of text that no * and ? separates; all of them if wild is not set.
uint64 pairs_of(std::string_view text, bool wild) {
  uint64 pairs = 0;
  for (size_t i = 1; i < text.size(); ++i) {
    if (wild && (text[i] == '*' || text[i] == '?' || text[i - 1] == '*' || text[i - 1] == '?'))
      continue;
    const auto first = static_cast<unsigned char>(text[i - 1]);
    const auto second = static_cast<unsigned char>(text[i]);
    pairs |= uint64{1} << ((first * 37U + second * 11U) % 64U);
  }
  return pairs;
}

uint64 pairs_of(const TOKEN* tokens, bool wild) {
  uint64 pairs = 0;
  for (; tokens->type != T_END; ++tokens)
    if (tokens->type == T_PATH) pairs |= pairs_of(tokens->string, wild);
  return pairs;
}

// The tokens of a text in the one way that a beginning is written in.
std::string_view one_spelling(FwMemPool** pool, FwTextString text, const TOKEN* tokens) {
  if (is_own_key(text)) return glob_view(text);
  size_t size = 0;
  for (const TOKEN* token = tokens; token->type != T_END; ++token)
    size += token->string.size() + 1;
  auto* begin = static_cast<char*>(pool_alloc(pool, size + 1));
  char* end = begin;
  for (const TOKEN* token = tokens; token->type != T_END; ++token) {
    if (token > tokens && token[-1].type == T_PATH) *end++ = '/';
    end = std::copy(token->string.begin(), token->string.end(), end);
  }
  return {begin, static_cast<size_t>(end - begin)};
}

// Where the texts stand that a pattern may accept.
struct CHOICE {
  const WORDS* words = nullptr;  // null: all texts
  int32 node = -1;
  bool below = false;  // and in the nodes below
  int32 count = 0;
};

void choose(CHOICE* best, const WORDS* words, int32 node, bool below) {
  int32 count = 0;
  if (node >= 0) count = below ? words->list[node].count : words->list[node].words.count;
  if (count < best->count) *best = CHOICE{words, node, below, count};
}

CHOICE rarest(const TEXTS* texts, const GLOB* glob) {
  CHOICE best;
  best.count = texts->count;
  for (const TOKEN* token = glob->tokens.list; token->type != T_END; ++token) {
    if (token->type != T_PATH || best.count == 0) continue;
    if (is_literal(token))
      choose(&best, &texts->elements, find_word(&texts->elements, token->string), false);
    else if (std::string_view head = head_of(token); !head.empty())
      choose(&best, &texts->elements, find_head(&texts->elements, head), true);
  }
  if (best.count <= kFew) return best;
  const OwnedText beginning(literal_beginning(glob));
  if (*beginning != 0)
    choose(&best, &texts->paths, find_head(&texts->paths, glob_view(beginning)), true);
  return best;
}

}  // namespace

void close_words(WORDS* words) {
  for (WORD_NODE& node : *words) {
    free_positions(&node.words);
    free_positions(&node.heads);
  }
  words->release();
}

void add_word(WORDS* words, std::string_view word, int32 position) {
  int32 node = node_for(words, word);
  if (!file_under(&words->list[node].words, position)) return;
  for (; node >= 0; node = words->list[node].parent)
    ++words->list[node].count;
}

void add_head(WORDS* words, std::string_view head, int32 position) {
  const int32 node = node_for(words, head);  // may move the list
  file_under(&words->list[node].heads, position);
}

int32 find_head(const WORDS* words, std::string_view head) {
  if (words->count == 0) return -1;
  int32 node = 0;
  while (!head.empty()) {
    node = child_with(words, node, head[0]);
    if (node < 0) return -1;
    const std::string_view edge = words->list[node].edge;
    const size_t length = common_length(edge, head);
    if (length < edge.size() && length < head.size()) return -1;
    head.remove_prefix(length);
  }
  return node;
}

int32 find_word(const WORDS* words, std::string_view word) {
  if (words->count == 0) return -1;
  int32 node = 0;
  while (!word.empty()) {
    node = child_with(words, node, word[0]);
    if (node < 0 || !word.starts_with(words->list[node].edge)) return -1;
    word.remove_prefix(words->list[node].edge.size());
  }
  return node;
}

void words_below(const WORDS* words, int32 top, POSITIONS* positions) {
  int32 node = top;
  for (;;) {
    append(positions, &words->list[node].words);
    if (words->list[node].child >= 0) {
      node = words->list[node].child;
      continue;
    }
    while (node != top && words->list[node].sibling < 0)
      node = words->list[node].parent;
    if (node == top) return;
    node = words->list[node].sibling;
  }
}

void filed_for(const WORDS* words, std::string_view word, POSITIONS* positions) {
  if (words->count == 0) return;
  int32 node = 0;
  for (;;) {
    append(positions, &words->list[node].heads);
    if (word.empty()) {
      append(positions, &words->list[node].words);
      return;
    }
    node = child_with(words, node, word[0]);
    if (node < 0 || !word.starts_with(words->list[node].edge)) return;
    word.remove_prefix(words->list[node].edge.size());
  }
}

void close_texts(TEXTS* texts) {
  close_words(&texts->paths);
  close_words(&texts->elements);
  free_positions(&texts->candidates);
  texts->release();
  if (texts->pool) FwMemPoolDestroy(&texts->pool);
}

void add_text(TEXTS* texts, FwTextString text) {
  TOKENS tokens;
  parse(&tokens, text);
  auto* list = static_cast<TOKEN*>(
      pool_alloc(&texts->pool, static_cast<size_t>(tokens.count) * sizeof(TOKEN)));
  std::copy_n(tokens.list, tokens.count, list);
  free_tokens(&tokens);

  const int32 position = texts->count;
  texts->add({text, list, pairs_of(list, false)});
  add_word(&texts->paths, one_spelling(&texts->pool, text, list), position);
  for (const TOKEN* token = list; token->type != T_END; ++token)
    if (token->type == T_PATH) add_word(&texts->elements, token->string, position);
}

void find_texts(TEXTS* texts, const GLOB* glob, POSITIONS* found) {
  const CHOICE best = rarest(texts, glob);
  if (best.count == 0) return;
  const POSITIONS* tried = &texts->candidates;
  if (best.words && !best.below) {
    tried = &best.words->list[best.node].words;
  } else if (best.words) {
    texts->candidates.count = 0;
    words_below(best.words, best.node, &texts->candidates);
    sort_positions(&texts->candidates);
  }
  const int32 count = best.words ? tried->count : texts->count;
  const uint64 pairs = pairs_of(glob->tokens.list, true);
  for (int32 i = 0; i < count; ++i) {
    const int32 position = best.words ? tried->list[i] : i;
    const INDEXED_TEXT* text = &texts->list[position];
    if ((pairs & ~text->pairs) == 0 && path_matches(glob->tokens.list, text->tokens, text->text))
      add_position(found, position);
  }
}

void close_patterns(PATTERNS* patterns) {
  close_words(&patterns->elements);
  close_words(&patterns->paths);
  free_positions(&patterns->others);
  if (patterns->pool) FwMemPoolDestroy(&patterns->pool);
}

void add_pattern(PATTERNS* patterns, const GLOB* glob, int32 position) {
  // Filed where the fewest stand so far.
  const TOKEN* best = nullptr;
  int32 fewest = 0;
  for (const TOKEN* token = glob->tokens.list; token->type != T_END; ++token) {
    if (token->type != T_PATH || head_of(token).empty()) continue;
    const int32 node = find_word(&patterns->elements, head_of(token));
    int32 count = 0;
    if (node >= 0) {
      const WORD_NODE* word = &patterns->elements.list[node];
      count = is_literal(token) ? word->words.count : word->heads.count;
    }
    if (best && count > fewest) continue;
    best = token;
    fewest = count;
  }
  if (!best) {
    add_any_pattern(patterns, position);
    return;
  }
  if (fewest > kFew) {
    const OwnedText beginning(literal_beginning(glob));
    const std::string_view text = glob_view(beginning);
    const int32 node = find_word(&patterns->paths, text);
    if (!text.empty() && (node < 0 || patterns->paths.list[node].heads.count < fewest)) {
      auto* copy = static_cast<char*>(pool_alloc(&patterns->pool, text.size()));
      std::copy_n(text.data(), text.size(), copy);
      add_head(&patterns->paths, {copy, text.size()}, position);
      return;
    }
  }
  if (is_literal(best))
    add_word(&patterns->elements, best->string, position);
  else
    add_head(&patterns->elements, head_of(best), position);
}

void add_any_pattern(PATTERNS* patterns, int32 position) {
  file_under(&patterns->others, position);
}

void find_patterns(const PATTERNS* patterns, FwTextString text, const TOKENS* tokens,
                   POSITIONS* found) {
  append(found, &patterns->others);
  for (const TOKEN& token : *tokens)
    if (token.type == T_PATH) filed_for(&patterns->elements, token.string, found);
  if (patterns->paths.count > 0) {
    FwMemPool* pool = nullptr;
    filed_for(&patterns->paths, one_spelling(&pool, text, tokens->list), found);
    if (pool) FwMemPoolDestroy(&pool);
  }
  sort_positions(found);
}
