// From items to argument slots, and reading the arguments into them.
#include <cstring>

#include "fcstrprf.h"
#include "vqassert.h"

namespace {

struct Conversion {
  char bTypeName;
  const char* pszType;
  pfnFcPrfProcessFormat pfnProcessArg;
};

constexpr Conversion kConversions[] = {
    {'d', kFcTypeInt32, FcPrfProcessIntArg},
    {'i', kFcTypeInt32, FcPrfProcessIntArg},
    {'u', kFcTypeUint32, FcPrfProcessIntArg},
    {'o', kFcTypeUint32, FcPrfProcessIntArg},
    {'x', kFcTypeUint32, FcPrfProcessIntArg},
    {'X', kFcTypeUint32, FcPrfProcessIntArg},
    {'c', kFcTypeInt32, FcPrfProcessCharArg},
    {'s', kFcTypeTextString, FcPrfProcessStringArg},
    {'t', kFcTypeTextString, FcPrfProcessStringArg},
    {'e', kFcTypeReal, FcPrfProcessDoubleArg},
    {'E', kFcTypeReal, FcPrfProcessDoubleArg},
    {'f', kFcTypeReal, FcPrfProcessDoubleArg},
    {'g', kFcTypeReal, FcPrfProcessDoubleArg},
    {'G', kFcTypeReal, FcPrfProcessDoubleArg},
    {'n', kFcTypePInt, FcPrfProcessCountArg},
    {'p', kFcTypePVoid, FcPrfProcessPointerArg},
    {'P', kFcTypePVoid, FcPrfProcessPointerArg},
};

const Conversion* FindConversion(FwByte bTypeName) {
  for (const Conversion& conversion : kConversions) {
    if (conversion.bTypeName == static_cast<char>(bTypeName)) return &conversion;
  }
  return nullptr;
}

// What a caller passes to mark an argument that an earlier item was to have consumed.
constexpr uint32 kConsumedDummy = 0xFE9001C1;

void FcPrfFillNonArgFormat(FcStrFormatSpec* pFormat) {
  pFormat->pfnProcessArg = FcPrfProcessQuotedPercent;
}

// Gives a slot to its owner. A slot belongs to one item only: without its entry in the map an
// item would never be read.
bool ClaimSlot(FcPrfContext* pctpr, uint32 iSlot, int32 nOwner) {
  if (iSlot >= pctpr->cMaxSlots || pctpr->paMapFormatFromArg[iSlot] != kFcPrfSlotUnused) {
    FwAssertFailed("Bad positional argument");
    return false;
  }
  pctpr->paMapFormatFromArg[iSlot] = nOwner;
  return true;
}

bool ReadStar(FcPrfArgIterator* pArgIterator, int32* pnField) {
  if (*pnField != kFcPrfFromArgument) return true;
  FcStrArg argStore;
  FcStrArg* pArg = FcPrfNextArg(pArgIterator, kFcTypeInt32, &argStore);
  if (pArg == nullptr) return false;
  *pnField = pArg->Value.int32_;
  return true;
}

// Reads the item's own argument; pStore receives it from a variable list.
bool FcPrfReadArg(FcPrfArgIterator* pArgIterator, FcStrFormatSpec* pFormat, FcStrArg* pStore) {
  FcStrArg* pArg = FcPrfNextArg(pArgIterator, FindConversion(pFormat->bTypeName)->pszType, pStore);
  if (pArg == nullptr) return false;
  pFormat->pArg = pArg;
  if (pFormat->pfnProcessArg == FcPrfProcessStringArg) {
    if (reinterpret_cast<uintptr_t>(pArg->Value.FwTextString_) == kConsumedDummy) {
      FwAssertFailed("Consumed dummy for string arg");
      return false;
    }
    // A substring that was bound in a longer text prints without being copied.
    if (pArg->cbValueStringLength != kFcStrTerminated) {
      pFormat->nPrecision = static_cast<int32>(pArg->cbValueStringLength);
    }
  } else if (pFormat->pfnProcessArg == FcPrfProcessCharArg &&
             static_cast<uint32>(pArg->Value.int32_) == kConsumedDummy) {
    FwAssertFailed("Consumed dummy for char arg");
    return false;
  }
  return true;
}

}  // namespace

FcStrArg* FcPrfNextArg(FcPrfArgIterator* pArgIterator, const char* pszType, FcStrArg* pStore) {
  uint32 cbTypeSize = std::strcmp(pszType, kFcTypeReal) == 0 ? kFcTypeSizeReal : kFcTypeSize;
  if (pArgIterator->nType == kFcPrfArgList) {
    FcStrArgList* pList = pArgIterator->ArgList.pArgList_;
    if (pArgIterator->iList >= pList->cSize ||
        std::strcmp(pList->paArg[pArgIterator->iList].pszType, pszType) != 0) {
      FwAssertFailed("Format to output doesn't match arguments");
      return nullptr;
    }
    FcStrArg* pArg = &pList->paArg[pArgIterator->iList];
    if (pArg->cbTypeSize != cbTypeSize) {
      FwAssertFailed("Bad size");
      return nullptr;
    }
    pArgIterator->iList++;
    return pArg;
  }

  va_list& VaList = pArgIterator->ArgList.VaList_;
  FcStrValue value = {};
  if (std::strcmp(pszType, kFcTypeTextString) == 0) {
    value.FwTextString_ = va_arg(VaList, FwTextString);
  } else if (std::strcmp(pszType, kFcTypeInt32) == 0) {
    value.int32_ = va_arg(VaList, int32);
  } else if (std::strcmp(pszType, kFcTypeUint32) == 0) {
    value.uint32_ = va_arg(VaList, uint32);
  } else if (std::strcmp(pszType, kFcTypeReal) == 0) {
    value.promoted_real_ = va_arg(VaList, double);
  } else if (std::strcmp(pszType, kFcTypePInt) == 0) {
    value.FcPrfPInt_ = va_arg(VaList, FcPrfPInt);
  } else {
    // Of an argument that nothing refers to the type is unknown. A pointer takes what an integer
    // takes; a real can't be stepped over.
    value.FcPrfPVoid_ = va_arg(VaList, FcPrfPVoid);
  }
  pArgIterator->iList++;
  *pStore = {value, kFcStrTerminated, const_cast<char*>(pszType), cbTypeSize};
  return pStore;
}

bool FcPrfScanFormats(FcPrfContext* pctpr) {
  bool fPositional = false;
  uint32 cSlots = 0;
  uint32 cSlotsUsed = 0;
  for (uint32 iFormat = 0; iFormat < pctpr->cNumPercents; iFormat++) {
    FcStrFormatSpec* pFormat = &pctpr->paFormat[iFormat];
    if (!FcStrGetFormatSpec(pctpr->paptbPercent[iFormat], pFormat)) return false;
    pctpr->cNumFormats = iFormat + 1;
    if (iFormat == 0) {
      // Kept, as part of the interface: the first item decides alone. A format that begins with %%
      // is not positional.
      fPositional = pFormat->nPosition != -1;
      if (fPositional) pctpr->fCanUsePrintf = 0;
    }
    if (pFormat->bTypeName == '%') {
      FcPrfFillNonArgFormat(pFormat);
      continue;
    }
    const Conversion* pConversion = FindConversion(pFormat->bTypeName);
    if (pFormat->bTypeName == 0 || pConversion == nullptr) {
      FwAssertFailed("Invalid format");
      return false;
    }
    pFormat->pfnProcessArg = pConversion->pfnProcessArg;
    if (pFormat->bTypeName == 't') pctpr->fCanUsePrintf = 0;
    if ((pFormat->nPosition != -1) != fPositional) {
      FwAssertFailed("All or none of arguments must have positionals");
      return false;
    }
    uint32 iSlot = fPositional ? static_cast<uint32>(pFormat->nPosition) : cSlots;
    if (pFormat->nWidth == kFcPrfFromArgument && !ClaimSlot(pctpr, iSlot++, kFcPrfSlotStar)) {
      return false;
    }
    if (pFormat->nPrecision == kFcPrfFromArgument && !ClaimSlot(pctpr, iSlot++, kFcPrfSlotStar)) {
      return false;
    }
    if (!ClaimSlot(pctpr, iSlot++, static_cast<int32>(iFormat))) return false;
    cSlots = iSlot;
    if (iSlot > cSlotsUsed) cSlotsUsed = iSlot;
  }
  pctpr->cSlots = cSlotsUsed;
  if (!pctpr->fGivenArgList) pctpr->ArgList.cSize = cSlotsUsed;
  return true;
}

bool FcPrfScanArguments(FcPrfContext* pctpr, FcPrfArgIterator* pArgIterator) {
  if (!pctpr->fGivenArgList) {
    va_copy(pctpr->ArgsSave, pArgIterator->ArgList.VaList_);
    pctpr->fArgsSaved = 1;
  }
  FcStrArg argUnused;
  for (uint32 iSlot = 0; iSlot < pctpr->cSlots; iSlot++) {
    int32 iFormat = pctpr->paMapFormatFromArg[iSlot];
    if (iFormat == kFcPrfSlotStar) continue;
    if (iFormat == kFcPrfSlotUnused) {
      if (FcPrfNextArg(pArgIterator, kFcTypeGeneric, &argUnused) == nullptr) return false;
      continue;
    }
    FcStrFormatSpec* pFormat = &pctpr->paFormat[iFormat];
    if (!ReadStar(pArgIterator, &pFormat->nWidth)) return false;
    if (!ReadStar(pArgIterator, &pFormat->nPrecision)) return false;
    FcStrArg* pStore = pctpr->fGivenArgList ? &argUnused : &pctpr->ArgList.paArg[iSlot];
    if (!FcPrfReadArg(pArgIterator, pFormat, pStore)) return false;
  }
  return true;
}
