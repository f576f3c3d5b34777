#include "formats/names.h"

#include <algorithm>
#include <array>

namespace zor {

namespace {

unsigned char byte_of(char c) {
  return static_cast<unsigned char>(c);
}

// The bytes of identifiers, as each dialect asks for each name.
constexpr std::array<bool, 256> kInNames = [] {
  std::array<bool, 256> all = {};
  for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                       "0123456789_"))
    all[static_cast<unsigned char>(c)] = true;
  return all;
}();

bool is_trailing(char c) {
  return (byte_of(c) & 0xC0) == 0x80;
}

}  // namespace

bool is_identifier(std::string_view name) {
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  return !name.empty() && !is_digit(name[0]) &&
         std::all_of(name.begin(), name.end(), [](char c) { return kInNames[byte_of(c)]; });
}

bool is_printable(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return is_printable(c); });
}

std::size_t character_length(std::string_view text) {
  const unsigned char first = byte_of(text[0]);
  return first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

char32_t first_character(std::string_view text) {
  const std::size_t length = character_length(text);
  if (length == 1) return byte_of(text[0]);
  char32_t character = byte_of(text[0]) & (0xFF >> (length + 1));
  for (std::size_t i = 1; i < length; ++i)
    character = character << 6 | (byte_of(text[i]) & 0x3F);
  return character;
}

bool is_utf8(std::string_view text) {
  static constexpr char32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
  while (!text.empty()) {
    const unsigned char first = byte_of(text[0]);
    const std::size_t length = character_length(text);
    if (first >= 0x80) {
      if (first < 0xC2 || first > 0xF4 || length > text.size()) return false;
      if (!std::all_of(text.begin() + 1, text.begin() + static_cast<long>(length), is_trailing))
        return false;
      const char32_t character = first_character(text);
      if (character < kLowest[length] || character > 0x10FFFF) return false;
      if (character >= 0xD800 && character <= 0xDFFF) return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

void append_octal(std::string* text, char byte) {
  *text += static_cast<char>('0' + (byte_of(byte) >> 6));
  *text += static_cast<char>('0' + (byte_of(byte) >> 3 & 7));
  *text += static_cast<char>('0' + (byte_of(byte) & 7));
}

void append_hex(std::string* text, char byte) {
  *text += "0123456789abcdef"[byte_of(byte) >> 4];
  *text += "0123456789abcdef"[byte_of(byte) & 0xF];
}

void append_decimal(std::string* text, char byte) {
  *text += static_cast<char>('0' + byte_of(byte) / 100);
  *text += static_cast<char>('0' + byte_of(byte) / 10 % 10);
  *text += static_cast<char>('0' + byte_of(byte) % 10);
}

void append_hex(std::string* text, char32_t character) {
  int shift = 20;
  while (shift > 0 && character >> shift == 0)
    shift -= 4;
  for (; shift >= 0; shift -= 4)
    *text += "0123456789abcdef"[character >> shift & 0xF];
}

}  // namespace zor
