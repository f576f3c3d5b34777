#include "session/digests.h"

#include "sha256.h"

namespace zor {

namespace {

// Of the digits of a digest, enough to tell files apart that changed by accident. An environment
// holds one for each file.
constexpr std::size_t kDigits = 16;

}  // namespace

Digests digests_in(const std::string& directory) {
  Digests digests;
  for (const char* name : kDataFiles) {
    const std::string digest = sha256_of_file(directory + '/' + name);
    if (!digest.empty()) digests[name] = digest.substr(0, kDigits);
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
