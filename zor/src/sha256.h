// SHA-256, FIPS 180-4.
#ifndef ZOR_SHA256_H
#define ZOR_SHA256_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace zor {

class Sha256 {
 public:
  void add(std::string_view bytes);
  // 64 hexadecimal digits. Nothing may be added behind it.
  std::string digest();

 private:
  void add_block(const unsigned char* block);

  std::array<std::uint32_t, 8> state_ = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                         0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::array<unsigned char, 64> block_ = {};  // what is not yet a whole block
  std::uint64_t length_ = 0;                  // in bytes, of all that was added
};

std::string sha256(std::string_view bytes);

// That of a file's content, or nothing with errno set if it can't be read.
std::string sha256_of_file(const std::string& path);

}  // namespace zor

#endif
