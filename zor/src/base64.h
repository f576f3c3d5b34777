// Bytes as letters, RFC 4648.
#ifndef ZOR_BASE64_H
#define ZOR_BASE64_H

#include <optional>
#include <string>
#include <string_view>

namespace zor {

// The 64 letters of the two alphabets: that of section 4, which is padded to groups of four with
// "=", and that of section 5 without padding, whose letters no shell and no path minds.
enum class Alphabet { kPadded, kPlain };

std::string to_base64(std::string_view bytes, Alphabet alphabet);

// None if the text is not what to_base64 makes of any bytes.
std::optional<std::string> from_base64(std::string_view text, Alphabet alphabet);

}  // namespace zor

#endif
