// The search over the bindings, and the entry.
#include <algorithm>
#include <cstring>

#include "fcstrmat.h"
#include "fwmem.h"
#include "vqassert.h"

namespace {

uint32 Distance(const FwTextByte* ptbFrom, const FwTextByte* ptbTo) {
  return ptbTo > ptbFrom ? static_cast<uint32>(ptbTo - ptbFrom) : 0;
}

// What stands behind the last binding: the rest of the template must be the rest of the text, up to
// the newlines at its end.
bool MatchRest(FcMatContext* pctmat, FwTextByte* ptbEnglish, FwTextByte* ptbTemplate) {
  if (!fFcMatStringNEqualIgnoreMarkers(&ptbTemplate, Distance(ptbTemplate, pctmat->pbzTemplateEnd),
                                       &ptbEnglish,
                                       Distance(ptbEnglish, pctmat->pbzEnglishIgnorableStart))) {
    return false;
  }
  if (ptbTemplate != pctmat->pbzTemplateEnd) return false;
  if (ptbEnglish < pctmat->pbzEnglishIgnorableStart) return false;
  // Text of the template may have taken newlines: those are printed with it.
  pctmat->pbzEnglishIgnorableStart = ptbEnglish;
  return true;
}

// The English text up to a binding must be the template's.
bool MatchTextBefore(FcMatContext* pctmat, const FcMatBinding* pbd, FwTextByte** pptbEnglish,
                     FwTextByte** pptbTemplate) {
  if (*pptbTemplate >= pbd->ptbzTemplate) return true;
  const uint32 cbTemplate = Distance(*pptbTemplate, pbd->ptbzTemplate);
  FwAssert(cbTemplate > 0, "Bad template start");
  return fFcMatStringNEqualIgnoreMarkers(pptbTemplate, cbTemplate, pptbEnglish,
                                         Distance(*pptbEnglish, pctmat->pbzEnglishEnd));
}

uint32 FcMatGetMaxNumMatchAttempts(const FcMatContext* pctmat, const FcMatBinding* pbd,
                                   const FwTextByte* ptbEnglish) {
  switch (pbd->nType) {
    case FC_MAT_VARIABLE:
      return kFcMatVariableTries;
    case FC_MAT_STRING:
      return Distance(ptbEnglish, pctmat->pbzEnglishEnd) + 1;
    case FC_MAT_BRANCH_LIST:
      return pbd->iLast + 1;
    default:
      return 1;
  }
}

bool CursorsAreSound(const FcMatContext* pctmat, const FwTextByte* ptbEnglishBefore,
                     const FwTextByte* ptbEnglish, const FwTextByte* ptbTemplateBefore,
                     const FwTextByte* ptbTemplate) {
  FwAssert(ptbEnglish >= ptbEnglishBefore, "Going back in English");
  FwAssert(ptbTemplate >= ptbTemplateBefore, "Going back in template");
  FwAssert(ptbEnglish <= pctmat->pbzEnglishEnd, "Overflow in English");
  return ptbEnglish >= ptbEnglishBefore && ptbTemplate >= ptbTemplateBefore &&
         ptbEnglish <= pctmat->pbzEnglishEnd;
}

bool FcMatContextCreate(FcMatContext* pctmat, FwTextString ptbzEnglish, uint32 cbEnglishLength,
                        FwTextString ptbzTemplate) {
  *pctmat = FcMatContext{};
  uint32 nPercents = FcStrCountPercents(ptbzTemplate);
  if (nPercents > 0) {
    pctmat->paptbPercent = static_cast<FwTextByte**>(
        FwMemAlloc(nPercents * sizeof(FwTextByte*), ALLOC_MUST_SUCCEED | INIT_NONE));
  }
  pctmat->pbzTemplateEnd = ptbzTemplate + std::strlen(FWC(ptbzTemplate));
  pctmat->pbzEnglishEnd = std::find(ptbzEnglish, ptbzEnglish + cbEnglishLength, 0);
  pctmat->fMessageEscaped =
      std::find(ptbzEnglish, pctmat->pbzEnglishEnd, kFcStrMarker) != pctmat->pbzEnglishEnd;
  FwTextByte* ptb = pctmat->pbzEnglishEnd;
  while (ptb > ptbzEnglish && ptb[-1] == '\n') {
    ptb--;
  }
  pctmat->pbzEnglishIgnorableStart = ptb;
  return FcStrGetPercentList(ptbzTemplate, pctmat->paptbPercent, &pctmat->cNumPercents, nullptr);
}

void FcMatContextDestroy(FcMatContext* pctmat) {
  FwMemFreeAndClear(&pctmat->paptbPercent);
}

// Prints the translated template from the bindings.
bool PrintTranslation(const FcMatContext& ctmat, FcMatBinding* bdl, uint32 cbdNumElts,
                      FwTextString ptbzTranslatedTemplate, FwStrRecord* prcdTranslated) {
  FcStrArg aArg[kFcMatMaxArguments];
  FcStrArgList list = {aArg, 0};
  bool fFits = cbdNumElts <= kFcMatMaxPrintedBindings &&
               (cbdNumElts == 0 || FcMatMakeArgList(&ctmat, &list, bdl, cbdNumElts));
  if (!fFits) {
    FwAssertFailed("Too many formats");
    return false;
  }
  // A template that wants other types prints nothing, though it matched.
  FcPrfPrintArgList(prcdTranslated, ptbzTranslatedTemplate, &list);
  uint32 cbIgnorable = Distance(ctmat.pbzEnglishIgnorableStart, ctmat.pbzEnglishEnd);
  FwStrNPutTextString(prcdTranslated, ctmat.pbzEnglishIgnorableStart, cbIgnorable);
  return true;
}

}  // namespace

bool fFcMatScanArgList(FcMatContext* pctmat, FcMatBinding* bdl, uint32 cbdNumElts,
                       FwTextByte* ptbEnglish, FwTextByte* ptbTemplate) {
  while (cbdNumElts > 0 && !fFcMatIsBindingOn(bdl)) {
    bdl++;
    cbdNumElts--;
  }
  if (cbdNumElts == 0) return MatchRest(pctmat, ptbEnglish, ptbTemplate);

  FcMatBinding* pbd = bdl;
  if (!MatchTextBefore(pctmat, pbd, &ptbEnglish, &ptbTemplate)) return false;
  bool fItem = pbd->nType == FC_MAT_VARIABLE || pbd->nType == FC_MAT_STRING;
  uint32 nTries = FcMatGetMaxNumMatchAttempts(pctmat, pbd, ptbEnglish) + 1;
  for (uint32 n = 0; n < nTries; n++) {
    FwTextByte* ptbEnglishNow = ptbEnglish;
    FwTextByte* ptbTemplateNow = ptbTemplate;
    if (fItem) ptbTemplateNow += pbd->cbTemplateBindingLength;
    FwAssert(fFcMatIsBindingOn(pbd), "Binding off");
    if (!pbd->pfnRebind(pctmat, pbd, &ptbEnglishNow, &ptbTemplateNow)) {
      FwAssert(ptbEnglishNow == ptbEnglish, "English changed");
      FcMatUnbind(pbd);
      return false;
    }
    if (!CursorsAreSound(pctmat, ptbEnglish, ptbEnglishNow, ptbTemplate, ptbTemplateNow)) break;
    if (pctmat->nCandidatesLeft == 0) break;
    pctmat->nCandidatesLeft--;
    if (fFcMatScanArgList(pctmat, bdl + 1, cbdNumElts - 1, ptbEnglishNow, ptbTemplateNow)) {
      return true;
    }
    // Kept, as part of the interface: a known word and then all plain strings are more candidates
    // than there are tries.
    if (n + 1 == nTries) FwAssertFailed("Infinite loop entered?");
  }
  FcMatUnbind(pbd);
  return false;
}

int32 fFcStrNMatchTemplate(FwTextString ptbzEnglish, uint32 cbEnglishLength,
                           FwTextString ptbzEnglishTemplate, FwTextString ptbzTranslatedTemplate,
                           FwStrRecord* prcdTranslated) {
  if (cbEnglishLength == 0xFFFFFFFF) {
    cbEnglishLength = static_cast<uint32>(std::strlen(FWC(ptbzEnglish)));
  }
  if (static_cast<int32>(cbEnglishLength) < 0) {
    FwAssertFailed("Bad cbEnglishLength");
    return 0;
  }
  FcMatContext ctmat;
  FcMatBindingList bdl;
  uint32 cbdNumElts = 0;
  bool fMatched = FcMatContextCreate(&ctmat, ptbzEnglish, cbEnglishLength, ptbzEnglishTemplate) &&
                  FcMatBindingListCreate(&ctmat, bdl, &cbdNumElts) &&
                  fFcMatScanArgList(&ctmat, bdl, cbdNumElts, ptbzEnglish, ptbzEnglishTemplate) &&
                  PrintTranslation(ctmat, bdl, cbdNumElts, ptbzTranslatedTemplate, prcdTranslated);
  // The locked pairs lend their texts to the printing, so they are released only now.
  FcMatBindingListDestroy(bdl, cbdNumElts);
  FcMatContextDestroy(&ctmat);
  return fMatched;
}
