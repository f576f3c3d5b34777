// Texts made fit for an environment variable: compressed, with a checksum, in letters that no shell
// minds.
#ifndef ZOR_SESSION_PACK_H
#define ZOR_SESSION_PACK_H

#include <optional>
#include <string>
#include <string_view>

namespace zor {

// More than any environment holds. What claims to unpack to more is not unpacked.
inline constexpr std::size_t kMostUnpacked = std::size_t{16} << 20;

// Letters, digits, "-" and "_".
std::string packed(std::string_view text);

// None if the text was not made by packed, or is no longer what it was.
std::optional<std::string> unpacked(std::string_view letters);

}  // namespace zor

#endif
