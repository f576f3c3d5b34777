// Which names and texts dialects take, and pieces of which their quoting is made.
#ifndef ZOR_FORMATS_NAMES_H
#define ZOR_FORMATS_NAMES_H

#include <string>
#include <string_view>

namespace zor {

// A letter or underscore, then letters, digits and underscores, all of ASCII.
bool is_identifier(std::string_view name);

// From the blank to the tilde: what every encoding and every dialect reads as one character each.
constexpr bool is_printable(char c) {
  return c >= ' ' && c <= '~';
}
bool is_printable(std::string_view text);

// Whether it is UTF-8 as it should be: shortest forms, no surrogates, nothing above U+10FFFF.
bool is_utf8(std::string_view text);

// The length in bytes of the character at the start of such a text, and its number.
std::size_t character_length(std::string_view text);
char32_t first_character(std::string_view text);

// The byte in digits of that base, so many that what follows can't be taken for one of them.
void append_octal(std::string* text, char byte);    // "303"
void append_hex(std::string* text, char byte);      // "c3"
void append_decimal(std::string* text, char byte);  // "195"
// "1f600"
void append_hex(std::string* text, char32_t character);

// The letter that stands for a control character behind a backslash in most languages: n, r, t.
// Zero if there is none.
constexpr char escape_letter(char c) {
  return c == '\n' ? 'n' : c == '\r' ? 'r' : c == '\t' ? 't' : '\0';
}

}  // namespace zor

#endif
