#include "base.h"

#include <cmath>

#include "fwstring.h"
#include "fwvector.h"

namespace {

constexpr double kHashFactor = 0.6180339887498949;
constexpr double kHashSlots = 7393.0;

}  // namespace

FwTextString dup_str(FwTextString str) {
  return str == nullptr ? nullptr : FwStrDuplicate(str);
}

void open_vector(FwVector* vector, int32 size) {
  vector->state = FW_VECTOR_UNINITIALIZED;
  FwVectorOpen(vector, size == 0 ? 1 : size);
}

void recycle_vector(FwVector* vector, int32 free_elements, int32 size) {
  FwVectorAbandon(vector, free_elements);
  FwVectorReUse(vector);
  FwVectorOpen(vector, size);
}

int report(FwErrorState* err, WH_ERROR_FUNC errorfunc) {
  if (err->pError == nullptr) return 0;
  if (errorfunc != nullptr) errorfunc(err);
  return 1;
}

int rep_clear(FwErrorState* err, WH_ERROR_FUNC errorfunc) {
  if (err->pError == nullptr) return 1;
  if (errorfunc != nullptr) errorfunc(err);
  FwErrorClear(err);
  return 0;
}

int is_ErrorNonExistent(FwErrorState* err) {
  return err->pError != nullptr && Fw_msg_IsDescendant(fwErrorNonExistent, err->pError) != 0;
}

int excused(FwErrorState* err) {
  if (is_ErrorNonExistent(err)) FwErrorClear(err);
  return err->pError == nullptr;
}

void standardize_separators(FwTextString path) {
  for (; *path != 0; path++)
    if (*path == '\\' || *path == ':') *path = '/';
}

int hash(FwTextString key) {
  uint32 folded = 0;
  for (uint32 shift = 0; *key != 0; key++, shift = (shift + 8) % 32)
    folded ^= static_cast<uint32>(*key) << shift;
  double whole = 0;
  return static_cast<int>(std::modf(folded * kHashFactor, &whole) * kHashSlots);
}
