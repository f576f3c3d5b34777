#include "render/json.h"

#include <cstdint>

#include "error.h"
#include "formats/names.h"

namespace zor {

namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

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
