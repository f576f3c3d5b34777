#include "base64.h"

#include <array>
#include <cstdint>

namespace zor {

namespace {

constexpr std::string_view kCommon =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

std::string letters_of(Alphabet alphabet) {
  return std::string(kCommon) + (alphabet == Alphabet::kPadded ? "+/" : "-_");
}

}  // namespace

std::string to_base64(std::string_view bytes, Alphabet alphabet) {
  const std::string letters = letters_of(alphabet);
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  std::uint32_t bits = 0;
  int count = 0;
  for (const char byte : bytes) {
    bits = (bits << 8) | static_cast<unsigned char>(byte);
    for (count += 8; count >= 6; count -= 6)
      text += letters[(bits >> (count - 6)) & 63];
  }
  if (count > 0) text += letters[(bits << (6 - count)) & 63];
  while (alphabet == Alphabet::kPadded && text.size() % 4 != 0)
    text += '=';
  return text;
}

std::optional<std::string> from_base64(std::string_view text, Alphabet alphabet) {
  if (alphabet == Alphabet::kPadded) {
    if (text.size() % 4 != 0) return std::nullopt;
    for (int i = 0; i < 2 && text.ends_with('='); ++i)
      text.remove_suffix(1);
  }
  std::array<signed char, 256> values;
  values.fill(-1);
  const std::string letters = letters_of(alphabet);
  for (std::size_t i = 0; i < letters.size(); ++i)
    values[static_cast<unsigned char>(letters[i])] = static_cast<signed char>(i);
  std::string bytes;
  bytes.reserve(text.size() * 3 / 4);
  std::uint32_t bits = 0;
  int count = 0;
  for (const char letter : text) {
    const signed char value = values[static_cast<unsigned char>(letter)];
    if (value < 0) return std::nullopt;
    bits = (bits << 6) | static_cast<unsigned char>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>((bits >> count) & 0xFF);
  }
  // What is left over fills the last letter, with zeros.
  if (count >= 6 || (bits & ((1U << count) - 1)) != 0) return std::nullopt;
  return bytes;
}

}  // namespace zor
