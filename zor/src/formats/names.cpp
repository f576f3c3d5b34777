#include "formats/names.h"

#include <algorithm>

namespace zor {

bool is_identifier(std::string_view name) {
  const auto is_letter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
  };
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  return !name.empty() && is_letter(name[0]) &&
         std::all_of(name.begin(), name.end(), [&](char c) { return is_letter(c) || is_digit(c); });
}

}  // namespace zor
