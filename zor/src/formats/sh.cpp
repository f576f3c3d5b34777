// Shells of the sh family.
#include <string_view>

#include "formats/kept.h"
#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

// Between single quotes everything is itself, in every shell; a single quote stands outside, behind
// a backslash. No encoding has the quote or a backslash where it could hide one of these. But
// behind a byte outside ASCII and a digit bash waits for the rest of a character of GB18030 and
// misses the quote, so such a digit stands outside as well.
void append_single_quoted(std::string* text, std::string_view value) {
  *text += '\'';
  bool after_ascii = true;
  for (const char c : value) {
    if (c == '\'') {
      *text += "'\\''";
    } else if (!after_ascii && c >= '0' && c <= '9') {
      *text += '\'';
      *text += c;
      *text += '\'';
    } else {
      *text += c;
    }
    after_ascii = static_cast<unsigned char>(c) < 0x80;
  }
  *text += '\'';
}

// Any byte in ASCII: bash, zsh, ksh93 and mksh know octal numbers of three digits in $'...'. ksh93
// would take more than two digits of a hexadecimal one.
void append_dollar_quoted(std::string* text, std::string_view value) {
  *text += "$'";
  for (const char c : value) {
    if (c == '\'' || c == '\\') *text += '\\';
    if (is_printable(c)) {
      *text += c;
    } else {
      *text += '\\';
      if (const char letter = escape_letter(c))
        *text += letter;
      else
        append_octal(text, c);
    }
  }
  *text += '\'';
}

void write_assignment(std::string* text, const Change& change,
                      void (*append_value)(std::string* text, std::string_view value)) {
  if (!change.value) {
    *text += "unset " + change.name + ";\n";
    return;
  }
  *text += change.name + '=';
  append_value(text, *change.value);
  *text += "; export " + change.name + ";\n";
}

std::string refuse(const Change& change, std::initializer_list<const Keeper*> keepers) {
  if (!is_identifier(change.name)) return "is not a valid name for a variable of a shell";
  return reason_of_keepers(keepers, change.name);
}

}  // namespace

// Which shell of the family reads it nobody knows.
std::string refuse_for_sh(const Change& change) {
  return refuse(change, {&kBash, &kZsh, &kKsh93, &kMksh, &kDash, &kBusybox});
}

void write_sh(std::string* text, const Change& change) {
  write_assignment(text, change, append_single_quoted);
}

std::string refuse_for_bash(const Change& change) {
  return refuse(change, {&kBash});
}

std::string refuse_for_zsh(const Change& change) {
  return refuse(change, {&kZsh});
}

std::string refuse_for_ksh(const Change& change) {
  return refuse(change, {&kKsh93, &kMksh});
}

void write_dollar_quoted(std::string* text, const Change& change) {
  const bool plain = !change.value || is_printable(*change.value);
  write_assignment(text, change, plain ? append_single_quoted : append_dollar_quoted);
}

}  // namespace zor
