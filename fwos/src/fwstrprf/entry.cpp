// The entries, and the life of the context of a call.
#include <cstdarg>
#include <cstring>

#include "fcstrprf.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "vqassert.h"

namespace {

template <class T>
T* AllocTable(std::size_t n) {
  if (n == 0) return nullptr;
  std::size_t cb = n > kFwMemMaxSize / sizeof(T) ? SIZE_MAX : n * sizeof(T);
  return static_cast<T*>(FwMemAlloc(cb, ALLOC_MUST_SUCCEED | INIT_NONE));
}

bool FillContext(FcPrfContext* pctpr, int32 fMessage, FwTextString ptbzFormat,
                 FcPrfArgIterator* pArgIterator) {
  pctpr->paptbPercent = AllocTable<FwTextByte*>(FcStrCountPercents(ptbzFormat));
  uint64 cMaxSlots = 0;
  if (!FcStrGetPercentList(ptbzFormat, pctpr->paptbPercent, &pctpr->cNumPercents, &cMaxSlots)) {
    return false;
  }
  pctpr->paFormat = AllocTable<FcStrFormatSpec>(pctpr->cNumPercents);
  pctpr->paMapFormatFromArg = AllocTable<int32>(cMaxSlots);
  pctpr->cMaxSlots = static_cast<uint32>(cMaxSlots);
  for (uint32 i = 0; i < pctpr->cMaxSlots; i++) {
    pctpr->paMapFormatFromArg[i] = kFcPrfSlotUnused;
  }

  FwStrRecordOpenSize(&pctpr->RecordFormat, static_cast<uint32>(std::strlen(FWC(ptbzFormat)) + 1));
  if (!FcPrfExpand(pctpr, ptbzFormat, pArgIterator) ||
      !FcStrGetPercentList(pctpr->RecordFormat.pbz, pctpr->paptbPercent, &pctpr->cNumPercents,
                           nullptr)) {
    return false;
  }

  // The selectors are taken, so slot 0 is what stands next.
  if (pctpr->fGivenArgList) {
    FcStrArgList* pList = pArgIterator->ArgList.pArgList_;
    pctpr->ArgList = {pList->paArg + pArgIterator->iList, pList->cSize - pArgIterator->iList};
  } else {
    pctpr->ArgList.paArg = AllocTable<FcStrArg>(cMaxSlots);
  }
  if (fMessage && !FcPrfHandleMessages(pctpr)) return false;
  return FcPrfScanFormats(pctpr) && FcPrfScanArguments(pctpr, pArgIterator);
}

uint32 FormatFrom(FwStrRecord* pRecord, int32 fMessage, int32 fLocalisedNumerics,
                  FwTextString ptbzFormat, FcPrfArgIterator* pArgIterator) {
  FcPrfContext context;
  if (!fFcPrfInitContext(&context, fMessage, fLocalisedNumerics, ptbzFormat,
                         pArgIterator->nType == kFcPrfArgList, pArgIterator)) {
    return 0;
  }
  bool fDone = FcPrfDoPrintf(&context, pRecord);
  FcPrfDestroyContext(&context);
  return fDone ? context.cbOutput : 0;
}

}  // namespace

bool fFcPrfInitContext(FcPrfContext* pctpr, int32 fMessage, int32 fLocalisedNumerics,
                       FwTextString ptbzFormat, int32 fGivenArgList,
                       FcPrfArgIterator* pArgIterator) {
  *pctpr = FcPrfContext{};
  pctpr->fGivenArgList = fGivenArgList;
  pctpr->fLocalisedNumerics = fLocalisedNumerics;
  pctpr->fCanUsePrintf = !fGivenArgList && !fLocalisedNumerics;
  if (FillContext(pctpr, fMessage, ptbzFormat, pArgIterator)) return true;
  FcPrfDestroyContext(pctpr);
  return false;
}

void FcPrfDestroyContext(FcPrfContext* pctpr) {
  FwStrRecordAbandon(&pctpr->RecordFormat);
  FwMemFreeAndClear(&pctpr->paptbPercent);
  FwMemFreeAndClear(&pctpr->paFormat);
  FwMemFreeAndClear(&pctpr->paMapFormatFromArg);
  if (!pctpr->fGivenArgList) FwMemFreeAndClear(&pctpr->ArgList.paArg);
  if (pctpr->fArgsSaved) va_end(pctpr->ArgsSave);
  pctpr->fArgsSaved = 0;
}

uint32 FcStrVPrintf(FwStrRecord* pRecord, int32 fMessage, int32 fLocalisedNumerics,
                    FwTextString ptbzFormat, va_list VaList) {
  FwAssert(fMessage == 0 || fMessage == 1, "Bad fMessage");
  if (!FwExpect(ptbzFormat != nullptr, "No format string")) return 0;
  FcPrfArgIterator iterator;
  iterator.nType = kFcPrfVaList;
  iterator.iList = 0;
  va_copy(iterator.ArgList.VaList_, VaList);
  uint32 cbAdded = FormatFrom(pRecord, fMessage, fLocalisedNumerics, ptbzFormat, &iterator);
  va_end(iterator.ArgList.VaList_);
  return cbAdded;
}

uint32 FcPrfPrintArgList(FwStrRecord* pRecord, FwTextString ptbzFormat, FcStrArgList* pArgList) {
  if (!FwExpect(ptbzFormat != nullptr, "No format string")) return 0;
  FcPrfArgIterator iterator;
  iterator.nType = kFcPrfArgList;
  iterator.iList = 0;
  iterator.ArgList.pArgList_ = pArgList;
  return FormatFrom(pRecord, 0, 1, ptbzFormat, &iterator);
}

uint32 FcStrPrintf(FwStrRecord* pRecord, int32 fMessage, int32 fLocalisedNumerics,
                   FwTextString ptbzFormat, ...) {
  va_list VaList;
  va_start(VaList, ptbzFormat);
  uint32 cbAdded = FcStrVPrintf(pRecord, fMessage, fLocalisedNumerics, ptbzFormat, VaList);
  va_end(VaList);
  return cbAdded;
}

uint32 FwStrPrintf(FwStrRecord* pRecord, int32 fMessage, FwTextString ptbzFormat, ...) {
  va_list VaList;
  va_start(VaList, ptbzFormat);
  uint32 cbAdded = FcStrVPrintf(pRecord, fMessage, 0, ptbzFormat, VaList);
  va_end(VaList);
  return cbAdded;
}

uint32 FwStrVPrintf(FwStrRecord* pRecord, int32 fMessage, FwTextString ptbzFormat, va_list VaList) {
  return FcStrVPrintf(pRecord, fMessage, 0, ptbzFormat, VaList);
}

uint32 FwStrPrintfLocal(FwStrRecord* pRecord, int32 fMessage, FwTextString ptbzFormat, ...) {
  va_list VaList;
  va_start(VaList, ptbzFormat);
  uint32 cbAdded = FcStrVPrintf(pRecord, fMessage, 1, ptbzFormat, VaList);
  va_end(VaList);
  return cbAdded;
}

uint32 FwStrVPrintfLocal(FwStrRecord* pRecord, int32 fMessage, FwTextString ptbzFormat,
                         va_list VaList) {
  return FcStrVPrintf(pRecord, fMessage, 1, ptbzFormat, VaList);
}
