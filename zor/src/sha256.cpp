#include "sha256.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>

namespace zor {

namespace {

// The fractions of the cube roots of the first 64 primes.
constexpr std::uint32_t kRound[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

std::uint32_t word_at(const unsigned char* bytes) {
  return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
         static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

}  // namespace

void Sha256::add_block(const unsigned char* block) {
  std::uint32_t w[64];
  for (int i = 0; i < 16; ++i)
    w[i] = word_at(block + 4 * i);
  for (int i = 16; i < 64; ++i) {
    const std::uint32_t low = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
    const std::uint32_t high = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
    w[i] = w[i - 16] + low + w[i - 7] + high;
  }
  auto [a, b, c, d, e, f, g, h] = state_;
  for (int i = 0; i < 64; ++i) {
    const std::uint32_t t1 = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                             ((e & f) ^ (~e & g)) + kRound[i] + w[i];
    const std::uint32_t t2 =
        (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  const std::uint32_t result[8] = {a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < 8; ++i)
    state_[i] += result[i];
}

void Sha256::add(std::string_view bytes) {
  std::size_t filled = length_ % block_.size();
  length_ += bytes.size();
  while (!bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), block_.size() - filled);
    std::memcpy(block_.data() + filled, bytes.data(), count);
    bytes.remove_prefix(count);
    filled += count;
    if (filled < block_.size()) return;
    add_block(block_.data());
    filled = 0;
  }
}

std::string Sha256::digest() {
  const std::uint64_t bits = length_ * 8;
  // A one, zeros up to eight bytes before the end of a block, the length.
  const std::size_t filled = length_ % block_.size();
  std::string end((filled < 56 ? 56 : 120) - filled, '\0');
  end[0] = '\x80';
  for (int shift = 56; shift >= 0; shift -= 8)
    end += static_cast<char>(bits >> shift & 0xFF);
  add(end);
  std::string text;
  for (const std::uint32_t word : state_)
    for (int shift = 28; shift >= 0; shift -= 4)
      text += "0123456789abcdef"[word >> shift & 15];
  return text;
}

std::string sha256(std::string_view bytes) {
  Sha256 sum;
  sum.add(bytes);
  return sum.digest();
}

std::string sha256_of_file(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {};
  Sha256 sum;
  char block[65536];
  ssize_t count;
  while ((count = read(fd, block, sizeof block)) > 0 || (count < 0 && errno == EINTR))
    if (count > 0) sum.add({block, static_cast<std::size_t>(count)});
  const int reason = errno;
  close(fd);
  errno = reason;
  return count < 0 ? std::string() : sum.digest();
}

}  // namespace zor
