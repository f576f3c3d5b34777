// Which names and texts dialects take.
#ifndef ZOR_FORMATS_NAMES_H
#define ZOR_FORMATS_NAMES_H

#include <string_view>

namespace zor {

// A letter or underscore, then letters, digits and underscores, all of ASCII.
bool is_identifier(std::string_view name);

}  // namespace zor

#endif
