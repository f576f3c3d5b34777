#include "tokens.h"

#include <algorithm>
#include <cstdio>

#include "fwfile.h"
#include "fwmem.h"

namespace {

constexpr std::string_view kAny = "**";

void add_token(TOKENS* tokens, int type, std::string_view string) {
  // T_ANY takes any number of elements, so a second one beside it changes nothing but the cost.
  if (type == T_ANY && tokens->count > 0 && tokens->last().type == T_ANY) return;
  if (tokens->count == tokens->room) tokens->grow(tokens->list != tokens->first);
  tokens->add({type, string});
}

// The tokens of a text that is not of the form **text**.
void parse_path(TOKENS* tokens, std::string_view text) {
  size_t bar = text.find('|');
  // Views are cut by hand: substr can throw, and what serves throwing runs before main.
  std::string_view path(text.data(), std::min(bar, text.size()));

  // What follows path in memory is never a separator, so the view can be handed over as if it were
  // terminated.
  auto* begin = FWT(path.data());
  FwTextString rest = begin;
  if (!path.empty() && FwFileParseRoot(nullptr, &rest)) {
    auto length = static_cast<size_t>(rest - begin);
    add_token(tokens, T_ROOT, {path.data(), length});
    path.remove_prefix(length);
  }
  while (!path.empty()) {
    size_t length = std::min(path.find('/'), path.size());
    std::string_view element(path.data(), length);
    path.remove_prefix(std::min(length + 1, path.size()));
    if (element == kAny)
      add_token(tokens, T_ANY, kAny);
    else if (!element.empty())
      add_token(tokens, T_PATH, element);
  }
  if (bar != std::string_view::npos)
    add_token(tokens, T_EXISTS, {text.data() + bar + 1, text.size() - bar - 1});
}

}  // namespace

void parse(TOKENS* tokens, FwTextString str) {
  std::string_view text = glob_view(str);
  tokens->list = tokens->first;
  tokens->count = 0;
  tokens->room = TOKENS::kInline;

  // Four bytes at least: the middle * of *** can't belong to both ends.
  bool surrounded = false;
  while (text.size() >= 4 && text.starts_with(kAny) && text.ends_with(kAny)) {
    surrounded = true;
    text = {text.data() + 2, text.size() - 4};
  }
  if (surrounded) add_token(tokens, T_ANY, kAny);
  parse_path(tokens, text);
  if (surrounded) add_token(tokens, T_ANY, kAny);
  add_token(tokens, T_END, "end");
}

void free_tokens(TOKENS* tokens) {
  if (tokens->list != tokens->first && tokens->list) FwMemFree(tokens->list);
  tokens->list = nullptr;
  tokens->count = 0;
}

void print_token(const TOKEN* token) {
  auto length = static_cast<int>(token->string.size());
  switch (token->type) {
    case T_ROOT:
      std::printf("ROOT(%.*s)", length, token->string.data());
      break;
    case T_ANY:
      std::printf("ANY");
      break;
    case T_PATH:
      std::printf("(%.*s)", length, token->string.data());
      break;
    case T_EXISTS:
      std::printf("EXISTS(%.*s)", length, token->string.data());
      break;
    default:
      std::printf("END");
      break;
  }
}
