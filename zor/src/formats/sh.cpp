// Shells of the sh family.
#include <algorithm>
#include <clocale>
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

// For values of very many single quotes: each pair of quotes costs bash a look at all that follows.
// Between double ones these four need a backslash, which may not stand behind a byte outside ASCII,
// as there it may be taken for a part of the character.
void append_double_quoted(std::string* text, std::string_view value) {
  *text += '"';
  bool after_ascii = true;
  for (const char c : value) {
    const bool special = c == '"' || c == '\\' || c == '$' || c == '`';
    const bool digit = c >= '0' && c <= '9';
    if (!after_ascii && (special || digit)) *text += "\"\"";
    if (special) *text += '\\';
    *text += c;
    after_ascii = static_cast<unsigned char>(c) < 0x80;
  }
  *text += '"';
}

bool has_many_quotes(std::string_view value) {
  return value.size() > 1000 && std::count(value.begin(), value.end(), '\'') > 1000;
}

void append_for_bash(std::string* text, std::string_view value) {
  if (has_many_quotes(value))
    append_double_quoted(text, value);
  else if (is_printable(value))
    append_single_quoted(text, value);
  else
    append_dollar_quoted(text, value);
}

void append_for_sh(std::string* text, std::string_view value) {
  if (has_many_quotes(value))
    append_double_quoted(text, value);
  else
    append_single_quoted(text, value);
}

void append_for_ksh(std::string* text, std::string_view value) {
  if (is_printable(value))
    append_single_quoted(text, value);
  else
    append_dollar_quoted(text, value);
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

// ksh93 keeps the old value then.
bool is_unknown_locale(const Change& change) {
  if (!change.value || change.value->empty()) return false;
  if (!change.name.starts_with("LC_") && change.name != "LANG") return false;
  const locale_t locale = newlocale(LC_ALL_MASK, change.value->c_str(), nullptr);
  if (locale) freelocale(locale);
  return !locale;
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
  write_assignment(text, change, append_for_sh);
}

std::string refuse_for_bash(const Change& change) {
  return refuse(change, {&kBash});
}

std::string refuse_for_zsh(const Change& change) {
  return refuse(change, {&kZsh});
}

std::string refuse_for_ksh(const Change& change) {
  if (is_unknown_locale(change)) return "is a locale that ksh93 doesn't know here";
  return refuse(change, {&kKsh93, &kMksh});
}

void write_bash(std::string* text, const Change& change) {
  write_assignment(text, change, append_for_bash);
}

void write_ksh(std::string* text, const Change& change) {
  write_assignment(text, change, append_for_ksh);
}

}  // namespace zor
