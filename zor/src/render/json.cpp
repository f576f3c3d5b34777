#include "render/json.h"

#include "base64.h"
#include "error.h"
#include "formats/names.h"

namespace zor {

Json json_text(std::string_view bytes) {
  if (is_utf8(bytes)) return std::string(bytes);
  return {{"base64", to_base64(bytes, Alphabet::kPadded)}};
}

Json json_texts(const std::vector<std::string>& all) {
  Json texts = Json::array();
  for (const std::string& text : all)
    texts.push_back(json_text(text));
  return texts;
}

Json json_text_or_null(const std::optional<std::string>& bytes) {
  return bytes ? json_text(*bytes) : Json(nullptr);
}

Json json_product(const ProductName& product) {
  return {{"category", json_text(product.category)},
          {"name", json_text(product.name)},
          {"version", json_text(product.version)},
          {"rev", json_text(product.rev)}};
}

Json json_bindings(const std::vector<Binding>& bindings) {
  Json list = Json::array();
  for (const Binding& binding : bindings)
    list.push_back({{"name", json_text(binding.name)}, {"value", json_text(binding.value)}});
  return list;
}

std::string bytes_of(const Json& text) {
  if (text.is_string()) return text.get<std::string>();
  if (!text.is_object() || !text.contains("base64") || !text.at("base64").is_string())
    fail("a text is a string or an object with base64, and this is neither: {}", text.dump());
  const auto letters = text.at("base64").get<std::string>();
  const std::optional<std::string> bytes = from_base64(letters, Alphabet::kPadded);
  if (!bytes) fail("'{}' is not base64", letters);
  return *bytes;
}

std::string printed(const Json& document) {
  return document.dump(2) + '\n';
}

}  // namespace zor
