// JSON documents. Each subcommand that prints facts has a form of its own, with a schema in
// share/schemas/json; each document says in "version" which form it has.
#ifndef ZOR_RENDER_JSON_H
#define ZOR_RENDER_JSON_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "warehouse.h"

namespace zor {

using Json = nlohmann::ordered_json;  // members stay in the order in which they are added

// Names and values on disk are bytes, and JSON has only characters. What is UTF-8 becomes a string;
// anything else becomes {"base64": "..."}, which holds the bytes and so loses nothing.
Json json_text(std::string_view bytes);
Json json_texts(const std::vector<std::string>& all);
Json json_text_or_null(const std::optional<std::string>& bytes);

// What many documents tell of, in the same form in each.
Json json_product(const ProductName& product);
Json json_bindings(const std::vector<Binding>& bindings);

// The bytes of such a value. Throws Error if it is none.
std::string bytes_of(const Json& text);

// The document, indented, with a line end behind it.
std::string printed(const Json& document);

}  // namespace zor

#endif
