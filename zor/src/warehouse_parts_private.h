// The parts of a variety, as a computation finds them.
#ifndef ZOR_WAREHOUSE_PARTS_PRIVATE_H
#define ZOR_WAREHOUSE_PARTS_PRIVATE_H

#include <functional>
#include <string>

#include "graph.h"
#include "warehouse_private.h"

namespace zor {

// The names by which a variety's part list speaks, while it lives.
class PartNames {
 public:
  PartNames(const WH_INDEX* index, const WH_PRODUCT* product, WH_VARIETY* variety);
  ~PartNames();
  PartNames(const PartNames&) = delete;
  PartNames& operator=(const PartNames&) = delete;

  WH_SYMTAB* get() const { return symtab_; }

  // What a part list writes as a name, as far as it can be expanded.
  ProductName meant(WH_PRODUCT_NAME* name) const;
  std::string meant(FwTextString form) const { return expanded(form, symtab_); }

 private:
  WH_SYMTAB* symtab_ = nullptr;
};

// A product part of a variety.
struct FoundPart {
  const WH_PART* part;
  ProductName product;
  WH_PRODUCT_SPEC* spec;  // freed behind the callback; null if it can't be had
  Presence presence;
  const PartNames& names;
};

// Calls back for each part of a variety, in the order of the file. An incomplete variety has none.
void go_through_parts(WH_INDEX* index, WH_PRODUCT* product, WH_VARIETY* variety,
                      const std::function<void(const FoundPart&)>& of_product,
                      const std::function<void(const std::string&)>& of_file);

}  // namespace zor

#endif
