// Patterns and subjects cut into tokens, for matching and searching.
//
// Tokens are views into the text that they were cut from: nothing is copied and nothing written, so
// literals may be passed, and the text must outlive the tokens. Cutting a text up once and matching
// it often is what a caller with many pairs does:
//
//   TOKENS pattern, subject;
//   parse(&pattern, FWT("/opt/**"));
//   parse(&subject, text);
//   if (path_matches(pattern.list, subject.list, text)) ...
//   free_tokens(&subject);
//   free_tokens(&pattern);
#ifndef GLOB_TOKENS_H
#define GLOB_TOKENS_H

#include <string_view>

#include "fcpp.h"
#include "fwerror.h"
#include "fwtypes.h"

enum TOKEN_TYPE {
  T_ROOT = 0,    // a root prefix
  T_ANY = 1,     // any number of path elements
  T_PATH = 2,    // one path element, with * and ?
  T_EXISTS = 3,  // the directory reached must contain a file
  T_END = 4      // end of the list
};

struct TOKEN {
  int type;
  std::string_view string;
};

// The last one is T_END. They lie in first as long as they fit.
struct TOKENS : Array<TOKEN> {
  static constexpr int32 kInline = 16;  // a path rarely has more elements: no allocation then

  TOKEN first[kInline];
};

// Cuts str up. A run of T_ANY is one T_ANY, which means the same.
void parse(TOKENS* tokens, FwTextString str);

void free_tokens(TOKENS* tokens);

// For programs on this library: prints a token for debugging, on standard output.
void print_token(const TOKEN* token);

// 1 if two characters are the same but for case: the comparison for a platform whose file names
// fold case, and for programs on this library. This platform's names don't fold.
int tc_equal_folded(FwTextCharacter tc1, FwTextCharacter tc2);

// 1 if an element matches a pattern of characters, * and ?. Characters are compared by their bytes,
// so malformed text equals itself and nothing else.
int str_matches(std::string_view pattern, std::string_view string);

// 1 if the input matches; original is the whole text that the input was cut from, for T_EXISTS.
int path_matches(const TOKEN* pattern, const TOKEN* input, FwTextString original);

// 1 if the input, or something below it, could match.
int might_match(const TOKEN* pattern, const TOKEN* input, FwTextString original);

// 1 if the token accepts one path element, or root, of this type.
int token_matches(const TOKEN* token, int type, std::string_view string);

// 1 if the directory dir holds an entry that matches file. Faults count as no.
int dir_has_file(FwTextString dir, std::string_view file);

// Clears the fault of a look at the disk, which counts as nothing found there. Exhausted memory
// tells nothing of the disk and ends the program.
void forgive(FwErrorState* err);

inline std::string_view glob_view(FwTextString str) {
  return std::string_view(FWC(str));
}

#endif
