// Values by their names, for lists of bindings so long that walking them for each name shows.
#include "fwhash.h"
#include "private.h"

namespace {

constexpr uint32 kFirstRoom = 64;  // names
constexpr FwHashFunctions kFunctions = {FwHash_StringHashFunction, FwHash_StringCompareFunction,
                                        nullptr, nullptr, 1};

}  // namespace

FwHashTable* make_values() {
  FwHashTable* values = FwHashCreateTable(kFirstRoom, &kFunctions, nullptr);
  if (values == nullptr) FwMemExitMemoryExhausted();
  return values;
}

void add_value(FwHashTable* values, FwTextString name, FwTextString value) {
  if (FwHashLookupEntry(values, name, nullptr) != nullptr) return;
  if (FwHashAddEntry(values, name, value, nullptr) == nullptr) FwMemExitMemoryExhausted();
}

FwTextString find_value(FwHashTable* values, FwTextString name) {
  FwHashEntry* entry = FwHashLookupEntry(values, name, nullptr);
  return entry == nullptr ? nullptr : static_cast<FwTextString>(entry->value);
}
