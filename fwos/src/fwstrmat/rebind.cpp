// The ways in which each kind of binding finds its next candidate in the English text.
#include <algorithm>

#include "fcstrmat.h"
#include "fwtransl.h"
#include "vqassert.h"

namespace {

FwTextByte* SkipSpaces(const FcMatBinding* pbd, FwTextByte* ptb, FwTextByte* ptbEnd) {
  if (pbd->nSkipSpaces == 0) return ptb;
  while (ptb < ptbEnd && *ptb == ' ') {
    ptb++;
  }
  return ptb;
}

void SetArg(FcMatBinding* pbd, const char* pszType, uint32 cbTypeSize) {
  pbd->Arg.pszType = const_cast<char*>(pszType);
  pbd->Arg.cbTypeSize = cbTypeSize;
  pbd->Arg.cbValueStringLength = kFcStrTerminated;
}

// Notes that a number or character was bound from *pptbEnglish up to ptbEnd.
void BindUpTo(FcMatBinding* pbd, FwTextByte** pptbEnglish, FwTextByte* ptbEnd) {
  pbd->ptbzEnglish = *pptbEnglish;
  pbd->cbEnglishBindingLength = static_cast<uint32>(ptbEnd - *pptbEnglish);
  *pptbEnglish = ptbEnd;
}

bool fFcMatRebindBasedUInt32(FcMatContext* pctmat, FcMatBinding* pbd, uint32 nBase,
                             FwTextByte** pptbEnglish) {
  if (pbd->ptbzEnglish == *pptbEnglish) return false;
  FwTextByte* ptb = SkipSpaces(pbd, *pptbEnglish, pctmat->pbzEnglishEnd);
  // Kept, as part of the interface: the scan is signed, so a value from 0x80000000 on does not
  // bind.
  int32 value = 0;
  if (!FwStrToL(&ptb, nBase, &value) || ptb > pctmat->pbzEnglishEnd) return false;
  pbd->Arg.Value.uint32_ = static_cast<uint32>(value);
  SetArg(pbd, kFcTypeUint32, kFcTypeSize);
  BindUpTo(pbd, pptbEnglish, ptb);
  return true;
}

// How far a binding may reach that would go on from ptb: not into the newlines at the end of the
// text, which belong to no item.
FwTextByte* BindingLimit(const FcMatContext* pctmat, FwTextByte* ptb) {
  return std::max(pctmat->pbzEnglishIgnorableStart, ptb);
}

// Where the candidate that begins the search at ptb ends, or null if there is none.
FwTextByte* FindStringEnd(const FcMatContext* pctmat, const FcMatBinding* pbd, FwTextByte* ptb,
                          bool fFirst) {
  FwTextByte* const ptbTextEnd = BindingLimit(pctmat, ptb);
  if (pbd->fMarked) {
    if (!fFirst) return nullptr;
    FwTextByte* ptbMarker = std::find(ptb, ptbTextEnd, kFcStrMarker);
    return ptbMarker == ptbTextEnd ? nullptr : ptbMarker;
  }
  if (fFirst) return ptb;
  if (ptb >= ptbTextEnd) return nullptr;
  FwStrGetTextCharacter(&ptb);
  if (!pbd->fMatchSingly) {
    // What ends a string can't be a bad character of the template.
    if (pbd->tcToMatch < 0) return nullptr;
    ptb = FwStrChr(ptb, pbd->tcToMatch);
  }
  return ptb == nullptr ? nullptr : std::min(ptb, ptbTextEnd);
}

}  // namespace

bool fFcMatRebindString(FcMatContext* pctmat, FcMatBinding* pbd, FwTextByte** pptbEnglish,
                        FwTextByte**) {
  bool fFirst = pbd->ptbzEnglish == nullptr;
  if (fFirst) {
    pbd->ptbzEnglish = *pptbEnglish;
    FwTextByte* ptbStart = SkipSpaces(pbd, *pptbEnglish, pctmat->pbzEnglishEnd);
    pbd->cbEnglishBindingLength = static_cast<uint32>(ptbStart - *pptbEnglish);
  }
  FwTextByte* ptbEnd =
      FindStringEnd(pctmat, pbd, pbd->ptbzEnglish + pbd->cbEnglishBindingLength, fFirst);
  if (ptbEnd == nullptr) return false;
  pbd->cbEnglishBindingLength = static_cast<uint32>(ptbEnd - pbd->ptbzEnglish);
  pbd->Arg.Value.FwTextString_ = pbd->ptbzEnglish;
  SetArg(pbd, kFcTypeTextString, kFcTypeSize);
  pbd->Arg.cbValueStringLength = pbd->cbEnglishBindingLength;
  *pptbEnglish = ptbEnd;
  if (pbd->fMarked) {
    FwAssert(*ptbEnd == kFcStrMarker, "No marker");
    *pptbEnglish = ptbEnd + 1;
  }
  return true;
}

bool fFcMatRebindTranslatableString(FcMatContext* pctmat, FcMatBinding* pbd,
                                    FwTextByte** pptbEnglish, FwTextByte** pptbTemplate) {
  FwTextByte* const ptbEnglish = *pptbEnglish;
  FwTextByte* const ptbTemplate = *pptbTemplate;
  bool fBound = fFcMatRebindString(pctmat, pbd, pptbEnglish, pptbTemplate);
  if (pbd->fTranslationFailed) return fBound;
  for (; fBound; fBound = fFcMatRebindString(pctmat, pbd, pptbEnglish, pptbTemplate)) {
    if (pbd->cbEnglishBindingLength == 0) continue;
    if (pbd->pbzFixedEnglish != nullptr) FwTranslReleaseFixedPair(pbd->pbzFixedEnglish);
    pbd->pbzFixedEnglish = nullptr;
    FwTextString ptbzFixedLocal = nullptr;
    if (FwTranslLookupFixedPairN(pbd->ptbzEnglish, pbd->cbEnglishBindingLength,
                                 &pbd->pbzFixedEnglish, &ptbzFixedLocal)) {
      pbd->Arg.Value.FwTextString_ = ptbzFixedLocal;
      pbd->Arg.cbValueStringLength = kFcStrTerminated;
      return true;
    }
  }
  // No stretch is a known word: it stays in English.
  FcMatUnbind(pbd);
  pbd->fTranslationFailed = true;
  *pptbEnglish = ptbEnglish;
  *pptbTemplate = ptbTemplate;
  fBound = fFcMatRebindString(pctmat, pbd, pptbEnglish, pptbTemplate);
  FwAssert(fBound || pbd->fMarked, "Binding here should succeed");
  return fBound;
}

bool fFcMatRebindInt32(FcMatContext* pctmat, FcMatBinding* pbd, FwTextByte** pptbEnglish,
                       FwTextByte**) {
  if (!fFcMatRebindBasedUInt32(pctmat, pbd, 10, pptbEnglish)) return false;
  pbd->Arg.Value.int32_ = static_cast<int32>(pbd->Arg.Value.uint32_);
  SetArg(pbd, kFcTypeInt32, kFcTypeSize);
  return true;
}

bool fFcMatRebindUInt32(FcMatContext* pctmat, FcMatBinding* pbd, FwTextByte** pptbEnglish,
                        FwTextByte**) {
  return fFcMatRebindBasedUInt32(pctmat, pbd, 10, pptbEnglish);
}

bool fFcMatRebindHex(FcMatContext* pctmat, FcMatBinding* pbd, FwTextByte** pptbEnglish,
                     FwTextByte**) {
  return fFcMatRebindBasedUInt32(pctmat, pbd, 16, pptbEnglish);
}

bool fFcMatRebindReal(FcMatContext* pctmat, FcMatBinding* pbd, FwTextByte** pptbEnglish,
                      FwTextByte**) {
  if (pbd->ptbzEnglish == *pptbEnglish) return false;
  FwTextByte* ptb = SkipSpaces(pbd, *pptbEnglish, pctmat->pbzEnglishEnd);
  double value = 0;
  if (!FwStrToD(&ptb, &value) || ptb > pctmat->pbzEnglishEnd) return false;
  pbd->Arg.Value.promoted_real_ = value;
  SetArg(pbd, kFcTypeReal, kFcTypeSizeReal);
  BindUpTo(pbd, pptbEnglish, ptb);
  return true;
}

bool fFcMatRebindCharacter(FcMatContext* pctmat, FcMatBinding* pbd, FwTextByte** pptbEnglish,
                           FwTextByte**) {
  if (pbd->ptbzEnglish == *pptbEnglish) return false;
  FwTextByte* ptb = SkipSpaces(pbd, *pptbEnglish, pctmat->pbzEnglishEnd);
  FwTextByte* const ptbLimit = BindingLimit(pctmat, ptb);
  if (ptb >= ptbLimit) return false;
  FwTextCharacter tc = FwStrGetTextCharacter(&ptb);
  if (tc == 0 || ptb > ptbLimit) return false;
  pbd->Arg.Value.int32_ = tc;
  SetArg(pbd, kFcTypeInt32, kFcTypeSize);
  BindUpTo(pbd, pptbEnglish, ptb);
  return true;
}

bool fFcMatRebindBranchList(FcMatContext*, FcMatBinding* pbd, FwTextByte** pptbEnglish,
                            FwTextByte** pptbTemplate) {
  // Kept, as part of the interface: a list of one alternative never binds.
  if (pbd->iCurrent >= pbd->iLast) {
    FcMatUnbind(pbd);
    return false;
  }
  if (pbd->ptbzEnglish == nullptr) {
    pbd->ptbzEnglish = *pptbEnglish;
    *pptbTemplate += pbd->cbTemplateBindingLength;
  } else {
    pbd->iCurrent++;
    *pptbTemplate = pbd->aptbBranchStart[pbd->iCurrent];
  }
  return true;
}

bool fFcMatRebindBranchEnd(FcMatContext*, FcMatBinding* pbd, FwTextByte** pptbEnglish,
                           FwTextByte** pptbTemplate) {
  if (pbd->ptbzEnglish != nullptr) return false;
  pbd->ptbzEnglish = *pptbEnglish;
  *pptbTemplate = pbd->pbdbrLast->ptbBranchListEnd;
  return true;
}
