// Words put together to one text.
#ifndef ZOR_WORDS_H
#define ZOR_WORDS_H

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <vector>

namespace zor {

inline std::string joined(const std::vector<std::string>& words, std::string_view separator) {
  return fmt::format("{}", fmt::join(words, separator));
}

// The first line of a text, without its end.
inline std::string first_line(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

}  // namespace zor

#endif
