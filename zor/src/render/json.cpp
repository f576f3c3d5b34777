#include "render/json.h"

#include <cstdint>

#include "error.h"

namespace zor {

namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The length of the character at the head of bytes, 0 if there is none.
std::size_t character_length(std::string_view bytes) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  if (at(0) < 0x80) return 1;
  const std::size_t length = at(0) < 0xC2   ? 0
                             : at(0) < 0xE0 ? 2
                             : at(0) < 0xF0 ? 3
                             : at(0) < 0xF5 ? 4
                                            : 0;
  if (length == 0 || bytes.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if ((at(i) & 0xC0) != 0x80) return 0;
  // Longer than needed, a surrogate, or above U+10FFFF.
  const bool bad = (at(0) == 0xE0 && at(1) < 0xA0) || (at(0) == 0xED && at(1) >= 0xA0) ||
                   (at(0) == 0xF0 && at(1) < 0x90) || (at(0) == 0xF4 && at(1) >= 0x90);
  return bad ? 0 : length;
}

std::string from_base64(std::string_view text) {
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  while (!text.empty() && text.back() == '=')
    text.remove_suffix(1);
  for (const char c : text) {
    const std::size_t digit = kDigits.find(c);
    if (digit == std::string_view::npos) fail("'{}' is not base64", text);
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 0xFF);
  }
  return bytes;
}

}  // namespace

bool is_utf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t length = character_length(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

std::string base64(std::string_view bytes) {
  std::string text;
  for (; !bytes.empty(); bytes.remove_prefix(std::min<std::size_t>(3, bytes.size()))) {
    const auto at = [&](std::size_t i) -> std::uint32_t {
      return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0;
    };
    const std::uint32_t bits = at(0) << 16 | at(1) << 8 | at(2);
    for (std::size_t i = 0; i < 4; ++i)
      text += i <= bytes.size() ? kDigits[bits >> (18 - 6 * i) & 63] : '=';
  }
  return text;
}

Json json_text(std::string_view bytes) {
  if (is_utf8(bytes)) return std::string(bytes);
  return {{"base64", base64(bytes)}};
}

Json json_texts(const std::vector<std::string>& all) {
  Json texts = Json::array();
  for (const std::string& text : all)
    texts.push_back(json_text(text));
  return texts;
}

std::string bytes_of(const Json& text) {
  if (text.is_string()) return text.get<std::string>();
  if (!text.is_object() || !text.contains("base64") || !text.at("base64").is_string())
    fail("a text is a string or an object with base64, and this is neither: {}", text.dump());
  return from_base64(text.at("base64").get<std::string>());
}

std::string printed(const Json& document) {
  return document.dump(2) + '\n';
}

}  // namespace zor
