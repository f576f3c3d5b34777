#include <string_view>

#include "formats/kept.h"
#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

// fish reads its input as characters of the locale, and in some encodings the second byte of a
// character is a backslash. So bytes outside ASCII are written as numbers, which stand outside the
// quotes.
void append_quoted(std::string* text, std::string_view value) {
  bool quoted = false;
  const auto set_quoted = [&](bool wanted) {
    if (quoted != wanted) *text += '\'';
    quoted = wanted;
  };
  for (const char c : value) {
    set_quoted(is_printable(c) && c != '\'');
    if (c == '\'') {
      *text += "\"'\"";
    } else if (is_printable(c)) {
      if (c == '\\') *text += c;
      *text += c;
    } else if (const char letter = escape_letter(c)) {
      *text += '\\';
      *text += letter;
    } else {
      *text += "\\X";
      append_hex(text, c);
    }
  }
  set_quoted(false);
  if (value.empty()) *text += "''";
}

}  // namespace

std::string refuse_for_fish(const Change& change) {
  if (!is_identifier(change.name)) return "is not a valid name for a variable of a shell";
  if (change.name.starts_with("fish_") || change.name.starts_with("__fish_"))
    return "is kept for itself by fish";
  // Lists of other names come out as they went in.
  if ((change.name == "PATH" || change.name == "CDPATH") && change.value &&
      (':' + *change.value + ':').find("::") != std::string::npos)
    return "has an empty element, which fish writes as '.'";
  return reason_of_keepers({&kFish}, change.name);
}

void write_fish(std::string* text, const Change& change) {
  if (!change.value) {
    *text += "set -e -g " + change.name + ";\n";
    return;
  }
  *text += "set -gx " + change.name + ' ';
  append_quoted(text, *change.value);
  *text += ";\n";
}

}  // namespace zor
