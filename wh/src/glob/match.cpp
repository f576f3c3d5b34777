// Matching of elements and of paths.
//
// Both languages have one operator that takes anything, * and T_ANY. It is enough to try again from
// the last one met: if the text up to it can be matched at all, then with the leftmost places for
// what stands before it, and from there it reaches each place that any other choice would reach. So
// neither matcher recurses, and a match costs at most the product of the two lengths.
#include <cstring>

#include "fcpp.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwtree.h"
#include "glob.h"
#include "tokens.h"

namespace {

// Bytes of the character at the front of text, which is not empty. A byte that can't begin a
// character stands for itself, and a character that is cut off ends with the text.
size_t character_length(std::string_view text) {
  auto lead = static_cast<unsigned char>(text[0]);
  size_t length = 1;
  if (lead >= 0xC0 && lead < 0xFE)
    for (unsigned bit = 0x40; lead & bit; bit >>= 1)
      ++length;
  return length < text.size() ? length : text.size();
}

FwDir* open_directory(FwErrorState* err, FwTextString dir) {
  OpenRecord path;
  FwStrPutTextString(&path, dir);
  FwFileEnsureTrailingSeparator(&path);
  return FwDirOpen(err, path.pbz, FW_DIR_SNAPSHOT);
}

}  // namespace

int tc_equal_folded(FwTextCharacter tc1, FwTextCharacter tc2) {
  if (tc1 == 0 || tc2 == 0) return tc1 == tc2;
  return FwStrToUpper(tc1) == FwStrToUpper(tc2);
}

int str_matches(std::string_view pattern, std::string_view string) {
  bool star = false;
  std::string_view star_pattern;
  std::string_view star_string;

  while (!string.empty()) {
    if (!pattern.empty() && pattern[0] == '*') {
      pattern.remove_prefix(1);
      if (pattern.empty()) return 1;
      star = true;
      star_pattern = pattern;
      star_string = string;
      continue;
    }
    size_t length = character_length(string);
    if (!pattern.empty() && pattern[0] == '?') {
      pattern.remove_prefix(1);
      string.remove_prefix(length);
    } else if (!pattern.empty() && character_length(pattern) == length &&
               std::memcmp(pattern.data(), string.data(), length) == 0) {
      pattern.remove_prefix(length);
      string.remove_prefix(length);
    } else if (star) {
      star_string.remove_prefix(character_length(star_string));
      pattern = star_pattern;
      string = star_string;
    } else {
      return 0;
    }
  }
  return pattern.find_first_not_of('*') == std::string_view::npos;
}

int path_matches(const TOKEN* pattern, const TOKEN* input, FwTextString original) {
  const TOKEN* any = nullptr;
  const TOKEN* any_input = nullptr;

  while (input->type != T_END) {
    if (pattern->type == T_ANY) {
      any = ++pattern;
      any_input = input;
      if (any->type == T_END) return 1;
    } else if (pattern->type == input->type && str_matches(pattern->string, input->string)) {
      ++pattern;
      ++input;
    } else if (any) {
      pattern = any;
      input = ++any_input;
    } else {
      return 0;
    }
  }
  while (pattern->type == T_ANY)
    ++pattern;
  // Kept, as part of the interface: what follows T_EXISTS in the pattern is not looked at any more.
  if (pattern->type == T_EXISTS) return dir_has_file(original, pattern->string);
  return pattern->type == T_END;
}

int might_match(const TOKEN* pattern, const TOKEN* input, FwTextString /*original*/) {
  // T_ANY could take all the rest of the input, so what comes before the first one decides.
  for (; input->type != T_END; ++pattern, ++input) {
    if (pattern->type == T_ANY) return 1;
    if (pattern->type != input->type || !str_matches(pattern->string, input->string)) return 0;
  }
  return 1;
}

int token_matches(const TOKEN* token, int type, std::string_view string) {
  switch (token->type) {
    case T_ANY:
      return 1;
    case T_ROOT:
    case T_PATH:
      return token->type == type && str_matches(token->string, string);
    default:
      return 0;
  }
}

int dir_has_file(FwTextString dir, std::string_view file) {
  LocalError err;
  int found = 0;
  const OwnedText name(FwStrNDuplicate(FWT(file.data()), static_cast<int>(file.size())));

  if (!wh_has_globs(name)) {
    const OwnedText path(FwFilenameConcatenateAlloc(dir, name));
    found = FwFileGetInfo(&err, path, nullptr, 0);
  } else if (FwDir* handle = open_directory(&err, dir)) {
    OpenRecord entry;
    while (!found && FwDirNext(&err, handle, &entry, nullptr, 0)) {
      found = wh_glob_matches(name, entry.pbz);
      entry.clear();
    }
    FwDirClose(&err, handle);
  }
  forgive(&err);
  return found;
}

void forgive(FwErrorState* err) {
  if (err->pError != nullptr && Fw_msg_IsDescendant(fwErrorNoMemory, err->pError))
    FwMemExitMemoryExhausted();
  FwErrorClear(err);
}

int wh_glob_matches(FwTextString pattern, FwTextString string) {
  TOKENS pattern_tokens;
  TOKENS string_tokens;
  parse(&pattern_tokens, pattern);
  parse(&string_tokens, string);
  int matches = path_matches(pattern_tokens.list, string_tokens.list, string);
  free_tokens(&string_tokens);
  free_tokens(&pattern_tokens);
  return matches;
}

int wh_has_globs(FwTextString pattern) {
  return glob_view(pattern).find_first_of("*?|") != std::string_view::npos;
}
