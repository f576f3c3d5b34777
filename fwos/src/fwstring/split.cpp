// Duplicating, splitting and joining.
#include <algorithm>
#include <cstring>

#include "fwmem.h"
#include "fwstring.h"
#include "fwvector.h"
#include "vqassert.h"

namespace {

FwTextString CopyBytes(FwTextString ptb, size_t cb, FwMemAllocFlag flags) {
  auto* ptbzNew = static_cast<FwTextString>(FwMemAlloc(cb + 1, flags | INIT_NONE));
  if (ptbzNew == nullptr) return nullptr;
  std::memcpy(ptbzNew, ptb, cb);
  ptbzNew[cb] = 0;
  return ptbzNew;
}

// The text of one separator character.
struct SeparatorText {
  FwTextByte ab[8] = {};

  explicit SeparatorText(FwTextCharacter sep) {
    FwStrRecord record;
    FwStrRecordOpenOn(&record, ab, sizeof ab);
    FwStrPutTextCharacter(&record, sep);
    FwStrRecordClose(&record);
  }
};

}  // namespace

FwTextString FwStrDuplicate(FwTextString ptbz) {
  if (!FwExpect(ptbz != nullptr, "NULL ptbz")) return nullptr;
  return CopyBytes(ptbz, std::strlen(FWC(ptbz)), ALLOC_MUST_SUCCEED);
}

FwTextString FwStrNDuplicate(FwTextString ptbz, int cbLength) {
  if (!FwExpect(ptbz != nullptr, "NULL ptbz")) return nullptr;
  FwAssert(cbLength >= 0, "Bad cbLength");
  const auto cbMost = static_cast<size_t>(std::max(cbLength, 0));
  return CopyBytes(ptbz, strnlen(FWC(ptbz), cbMost), ALLOC_MUST_SUCCEED);
}

FwTextString FwStrDuplicateFailNull(FwTextString ptbz) {
  if (!FwExpect(ptbz != nullptr, "NULL ptbz")) return nullptr;
  return CopyBytes(ptbz, std::strlen(FWC(ptbz)), ALLOC_MAY_FAIL);
}

void FwStrTextSplit(FwTextString ptbz, FwTextString sep, FwVector* pvBuff) {
  if (!FwExpect(pvBuff != nullptr, "NULL param")) return;
  FwTextString const ptbzCopy = FwStrDuplicate(ptbz);
  // Kept, as part of the interface: without a separator the copy is never freed.
  if (ptbzCopy == nullptr || sep == nullptr) return;
  FwTextString ptbzRest = ptbzCopy;
  int32 nPosition = 0;
  for (FwTextString ptbzToken; (ptbzToken = FwStrTok(&ptbzRest, sep)) != nullptr; nPosition++)
    FwVectorInsertElement(pvBuff, FwStrDuplicate(ptbzToken), nPosition);
  FwMemFree(ptbzCopy);
}

void FwStrTextSplitByChar(FwTextString ptbz, FwTextCharacter sep, FwVector* pvBuff) {
  SeparatorText text(sep);
  FwStrTextSplit(ptbz, text.ab, pvBuff);
}

int32 FwStrTextJoin(FwVector* pvsb, int32 n, FwTextString sep, FwStrRecord* record) {
  if (!FwExpect(pvsb != nullptr && record != nullptr, "NULL param")) return 0;
  const int32 nAll = FwVectorLength(pvsb);
  if (n < 1 || n > nAll) n = nAll;
  for (int32 i = 0; i < n; i++) {
    if (i > 0) FwStrPutTextString(record, sep);
    FwStrPutTextString(record, static_cast<FwTextString>(FwVectorGetElement(pvsb, i)));
  }
  return n;
}

int32 FwStrTextJoinByChar(FwVector* pvsb, int32 n, FwTextCharacter sep, FwStrRecord* record) {
  SeparatorText text(sep);
  return FwStrTextJoin(pvsb, n, text.ab, record);
}
