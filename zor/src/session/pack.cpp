#include "session/pack.h"

#include <zstd.h>

#include <array>
#include <cstdint>
#include <memory>
#include <new>

namespace zor {

namespace {

constexpr std::string_view kLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

std::string to_letters(std::string_view bytes) {
  std::string letters;
  letters.reserve((bytes.size() * 4 + 2) / 3);
  std::uint32_t bits = 0;
  int count = 0;
  for (const char byte : bytes) {
    bits = (bits << 8) | static_cast<unsigned char>(byte);
    for (count += 8; count >= 6; count -= 6)
      letters += kLetters[(bits >> (count - 6)) & 63];
  }
  if (count > 0) letters += kLetters[(bits << (6 - count)) & 63];
  return letters;
}

std::optional<std::string> from_letters(std::string_view letters) {
  std::array<signed char, 256> values;
  values.fill(-1);
  for (std::size_t i = 0; i < kLetters.size(); ++i)
    values[static_cast<unsigned char>(kLetters[i])] = static_cast<signed char>(i);
  std::string bytes;
  bytes.reserve(letters.size() * 3 / 4);
  std::uint32_t bits = 0;
  int count = 0;
  for (const char letter : letters) {
    const int value = values[static_cast<unsigned char>(letter)];
    if (value < 0) return std::nullopt;
    bits = (bits << 6) | static_cast<std::uint32_t>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>((bits >> count) & 0xFF);
  }
  // What is left over fills the last letter, with zeros.
  if (count >= 6 || (bits & ((1U << count) - 1)) != 0) return std::nullopt;
  return bytes;
}

struct FreeContext {
  void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
};

}  // namespace

std::string packed(std::string_view text) {
  const std::unique_ptr<ZSTD_CCtx, FreeContext> context(ZSTD_createCCtx());
  if (!context) throw std::bad_alloc();
  ZSTD_CCtx_setParameter(context.get(), ZSTD_c_compressionLevel, 3);
  ZSTD_CCtx_setParameter(context.get(), ZSTD_c_checksumFlag, 1);
  std::string bytes(ZSTD_compressBound(text.size()), '\0');
  const std::size_t size =
      ZSTD_compress2(context.get(), bytes.data(), bytes.size(), text.data(), text.size());
  // With room for the worst case, only memory can be lacking.
  if (ZSTD_isError(size)) throw std::bad_alloc();
  bytes.resize(size);
  return to_letters(bytes);
}

std::optional<std::string> unpacked(std::string_view letters) {
  const std::optional<std::string> bytes = from_letters(letters);
  if (!bytes) return std::nullopt;
  // This is also more where the size is not told, or there is none.
  const unsigned long long claimed = ZSTD_getFrameContentSize(bytes->data(), bytes->size());
  if (claimed > kMostUnpacked) return std::nullopt;
  if (ZSTD_findFrameCompressedSize(bytes->data(), bytes->size()) != bytes->size())
    return std::nullopt;
  std::string text(static_cast<std::size_t>(claimed), '\0');
  const std::size_t size = ZSTD_decompress(text.data(), text.size(), bytes->data(), bytes->size());
  if (ZSTD_isError(size) || size != text.size()) return std::nullopt;
  return text;
}

}  // namespace zor
