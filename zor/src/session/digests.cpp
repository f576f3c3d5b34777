#include "session/digests.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>

#include "error.h"

namespace zor {

namespace {

// All that is read of a product.
constexpr const char* kDataFiles[] = {"product.xml", "partlist.xml", "setup.xml", "prep.xml",
                                      "unset.xml",   "env.xml",      "unenv.xml"};

// Empty if there is no such file.
std::string digest_of_file(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {};
  std::uint64_t digest = 14695981039346656037U;
  std::array<char, 4096> block;
  for (;;) {
    const ssize_t count = read(fd, block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    for (ssize_t i = 0; i < count; ++i)
      digest = (digest ^ static_cast<unsigned char>(block[static_cast<std::size_t>(i)])) *
               1099511628211U;
  }
  close(fd);
  return fmt::format("{:016x}", digest);
}

}  // namespace

Digests digests_in(const std::string& directory) {
  Digests digests;
  for (const char* name : kDataFiles) {
    std::string digest = digest_of_file(directory + '/' + name);
    if (!digest.empty()) digests[name] = std::move(digest);
  }
  return digests;
}

std::map<std::string, Digests> digests_of(const std::string& root,
                                          const std::vector<ProductName>& products) {
  std::map<std::string, Digests> files;
  for (const ProductName& product : products)
    files[product.path()] = digests_in(root + '/' + product.path());
  return files;
}

}  // namespace zor
