#include "session/pack.h"

#include <zstd.h>

#include <memory>
#include <new>

#include "base64.h"

namespace zor {

namespace {

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
  return to_base64(bytes, Alphabet::kPlain);
}

std::optional<std::string> unpacked(std::string_view letters) {
  const std::optional<std::string> bytes = from_base64(letters, Alphabet::kPlain);
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
