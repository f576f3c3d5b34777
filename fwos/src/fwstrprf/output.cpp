// The second stage: text and items into the record.
#include <cstdio>
#include <cstring>

#include "fcpp.h"
#include "fcstring.h"
#include "fcstrprf.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "vqassert.h"

namespace {

// The bytes of a string before its terminator, at most cbLimit.
uint32 MeasureUpTo(FwTextByte* ptb, uint32 cbLimit) {
  if (cbLimit == 0) return 0;
  void* pvZero = std::memchr(ptb, 0, cbLimit);
  return pvZero == nullptr ? cbLimit : static_cast<uint32>(static_cast<FwTextByte*>(pvZero) - ptb);
}

// A width for the printers, where 0 means none.
int32 WidthOf(const FcStrFormatSpec* pFormat) {
  return pFormat->nWidth == kFcPrfNone ? 0 : pFormat->nWidth;
}

uint32 PaddedWidthOf(const FcStrFormatSpec* pFormat) {
  return pFormat->nWidth > 0 ? static_cast<uint32>(pFormat->nWidth) : 0;
}

void PutText(FcPrfContext* pctpr, FwStrRecord* pRecord, FwTextByte* ptbFrom, FwTextByte* ptbTo) {
  if (ptbTo > ptbFrom) {
    pctpr->cbOutput += FwStrNPutTextString(pRecord, ptbFrom, static_cast<uint32>(ptbTo - ptbFrom));
  }
}

bool FcPrfHandleFormat(FcPrfContext* pctpr, uint32 iFormat, FwStrRecord* pRecord) {
  FcStrFormatSpec* pFormat = FcStrGetFormat_(pctpr->paFormat, iFormat, -1);
  return pFormat->pfnProcessArg(pctpr, pFormat, pRecord);
}

}  // namespace

bool FcPrfDoPrintf(FcPrfContext* pctpr, FwStrRecord* pRecord) {
  uint32 cbBefore = record_length(pRecord);
  FwTextByte* ptbFrom = pctpr->RecordFormat.pbz;
  for (uint32 i = 0; i < pctpr->cNumPercents; i++) {
    FcStrFormatSpec* pFormat = FcStrGetFormat_(pctpr->paFormat, i, -1);
    PutText(pctpr, pRecord, ptbFrom, pFormat->ptbLocation);
    if (!FcPrfHandleFormat(pctpr, i, pRecord)) return false;
    ptbFrom = pFormat->ptbLocation + pFormat->cbFormatSpecLength;
  }
  PutText(pctpr, pRecord, ptbFrom, pctpr->RecordFormat.pbTerminator);
  FwAssert(record_length(pRecord) - cbBefore == pctpr->cbOutput, "Bad cbOutput");
  return true;
}

uint32 FcStrNPutPaddedRawByteString(FwStrRecord* pRecord, FwTextByte* ptb, uint32 cbStringLength,
                                    uint32 cbWidth, uint32 fLeftAlign, FwTextByte tbPadChar) {
  if (cbWidth == 0 || ptb == nullptr) return FwStrNPutTextString(pRecord, ptb, cbStringLength);
  uint32 cbString = MeasureUpTo(ptb, cbStringLength);
  uint32 cbPadding = cbWidth > cbString ? cbWidth - cbString : 0;
  uint32 cbAdded = 0;
  // Kept, as the text of the output: the pad character is used as given, on either side, so a
  // left-aligned string may end in zeros.
  if (!fLeftAlign) cbAdded += FcStrMultiPutTextCharacter(pRecord, tbPadChar, cbPadding);
  cbAdded += FwStrNPutRawString(pRecord, ptb, cbString);
  if (fLeftAlign) cbAdded += FcStrMultiPutTextCharacter(pRecord, tbPadChar, cbPadding);
  return cbAdded;
}

bool FcPrfProcessQuotedPercent(FcPrfContext* pctpr, FcStrFormatSpec*, FwStrRecord* pRecord) {
  pctpr->cbOutput += FwStrPutTextCharacter(pRecord, '%');
  return true;
}

bool FcPrfProcessStringArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord) {
  FwTextString ptbz = pFormat->pArg->Value.FwTextString_;
  int32 nPrecision = pFormat->nPrecision;
  FwAssert(nPrecision >= 0 || nPrecision == kFcPrfNone, "Bad precision arg");
  uint32 cbLength = 0;
  if (nPrecision >= 0) {
    cbLength = static_cast<uint32>(nPrecision);
  } else if (ptbz != nullptr) {
    cbLength = static_cast<uint32>(std::strlen(FWC(ptbz)));
  }
  pctpr->cbOutput += FcStrNPutPaddedRawByteString(pRecord, ptbz, cbLength, PaddedWidthOf(pFormat),
                                                  pFormat->fLeftAlign, pFormat->tbPadChar);
  return true;
}

bool FcPrfProcessCharArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord) {
  FwAssert(pFormat->nPrecision == kFcPrfNone, "Don't use precison with %c");
  FwTextByte abCharacter[8] = {};
  FwStrRecord RecordCharacter;
  FwStrRecordOpenOn(&RecordCharacter, abCharacter, sizeof abCharacter);
  uint32 cbLength = FwStrPutTextCharacter(&RecordCharacter, pFormat->pArg->Value.int32_);
  FwStrRecordAbandon(&RecordCharacter);
  pctpr->cbOutput +=
      FcStrNPutPaddedRawByteString(pRecord, abCharacter, cbLength, PaddedWidthOf(pFormat),
                                   pFormat->fLeftAlign, pFormat->tbPadChar);
  return true;
}

bool FcPrfProcessCountArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord*) {
  if (pFormat->pArg->Value.FcPrfPInt_ == nullptr) {
    FwAssertFailed("NULL count argument");
    return false;
  }
  *pFormat->pArg->Value.FcPrfPInt_ = static_cast<int>(pctpr->cbOutput);
  return true;
}

bool FcPrfProcessIntArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord) {
  char type = static_cast<char>(pFormat->bTypeName);
  bool fSigned = type == 'd' || type == 'i';
  int32 value =
      fSigned ? pFormat->pArg->Value.int32_ : static_cast<int32>(pFormat->pArg->Value.uint32_);
  if (pFormat->nLengthModifier == 1) {
    value = fSigned ? static_cast<int16>(value) : static_cast<uint16>(value);
  }
  if (value == 0 && pFormat->fOptionalForm && (type == 'x' || type == 'X')) {
    pctpr->fCanUsePrintf = 0;
  }
  pctpr->cbOutput +=
      FwStrPrintInt(pRecord, value, type, WidthOf(pFormat), pFormat->nPrecision,
                    static_cast<int32>(pFormat->fLeftAlign), pFormat->tbPadChar == '0',
                    pFormat->tbPositiveChar, !pctpr->fLocalisedNumerics, pFormat->fOptionalForm);
  return true;
}

bool FcPrfProcessDoubleArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord) {
  char type = static_cast<char>(pFormat->bTypeName);
  double value = pFormat->pArg->Value.promoted_real_;
  if (value == 0.0 && pFormat->fOptionalForm && (type == 'g' || type == 'G')) {
    pctpr->fCanUsePrintf = 0;
  }
  pctpr->cbOutput +=
      FwStrPrintReal(pRecord, value, type, WidthOf(pFormat), pFormat->nPrecision,
                     static_cast<int32>(pFormat->fLeftAlign), pFormat->tbPadChar == '0',
                     pFormat->tbPositiveChar, !pctpr->fLocalisedNumerics, pFormat->fOptionalForm);
  return true;
}

bool FcPrfProcessPointerArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord) {
  if (!FwExpect(pFormat->cbFormatSpecLength <= kFcPrfMaxPointerItem, "Overflow")) return true;
  // Kept, as the text of the output: the item goes to the C library as it stands, though that knows
  // neither %P nor positions. Such text it copies to its output.
  if (pFormat->bTypeName != 'p' || pFormat->nPosition != -1) {
    pctpr->cbOutput +=
        FwStrNPutRawString(pRecord, pFormat->ptbLocation, pFormat->cbFormatSpecLength);
    return true;
  }
  // A * has been read, so its value takes its place.
  char szFormat[kFcPrfMaxPointerItem + 2 * 12];
  char* psz = szFormat;
  bool fPrecision = false;
  for (uint32 i = 0; i < pFormat->cbFormatSpecLength; i++) {
    FwTextByte tb = pFormat->ptbLocation[i];
    if (tb == '.') fPrecision = true;
    if (tb == '*') {
      int32 n = fPrecision ? pFormat->nPrecision : pFormat->nWidth;
      psz += std::snprintf(psz, 12, "%d", n);
    } else if (tb != 'h' && tb != 'l' && tb != 'L') {
      *psz++ = static_cast<char>(tb);
    }
  }
  *psz = 0;
  pctpr->cbOutput += FcStrPutCFormat(pRecord, szFormat, pFormat->pArg->Value.FcPrfPVoid_);
  return true;
}
