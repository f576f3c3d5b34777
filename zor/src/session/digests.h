// Digests of the data files that a computation has read, to tell later which of them changed.
#ifndef ZOR_SESSION_DIGESTS_H
#define ZOR_SESSION_DIGESTS_H

#include <map>
#include <string>
#include <vector>

#include "session/session.h"

namespace zor {

// Those of a product whose directory this is, of the files that are there. They are cut short: they
// tell files apart that changed by accident, not by design.
Digests digests_in(const std::string& directory);

// By the products' paths below the root.
std::map<std::string, Digests> digests_of(const std::string& root,
                                          const std::vector<ProductName>& products);

}  // namespace zor

#endif
