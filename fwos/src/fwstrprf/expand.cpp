// Branch lists %(a%|b%) and options %{a%}: the first thing done to a format, so that all selectors
// come ahead of the ordinary arguments.
#include <cstring>

#include "fcstrprf.h"
#include "fwstring.h"
#include "vqassert.h"

namespace {

FwTextByte KindOf(FcPrfContext* pctpr, uint32 iPercent) {
  return pctpr->paptbPercent[iPercent][1];
}

// The text behind the two bytes of a structure item.
FwTextByte* TextAfter(FcPrfContext* pctpr, uint32 iPercent) {
  return pctpr->paptbPercent[iPercent] + 2;
}

void CopyText(FcPrfContext* pctpr, FwTextByte* ptbFrom, FwTextByte* ptbTo) {
  // A run may be cut off a longer text at any byte, so it goes through the raw put.
  if (ptbTo > ptbFrom) {
    FwStrNPutRawString(&pctpr->RecordFormat, ptbFrom, static_cast<uint32>(ptbTo - ptbFrom));
  }
}

bool SkipTo(FcPrfContext* pctpr, uint32* piPercent, const char* pbzStops,
            const char* pszUnterminated);

// Moves from an opener or separator to the separator or closer that ends the alternative.
bool FcPrfSkip_(FcPrfContext* pctpr, uint32* piPercent) {
  if (KindOf(pctpr, *piPercent) != '(' && KindOf(pctpr, *piPercent) != '|') {
    FwAssertFailed("Not on branch");
    return false;
  }
  return SkipTo(pctpr, piPercent, "({|)", "Badly terminated branch list");
}

// Moves from the opener or a separator of a list to its closer.
bool SkipList(FcPrfContext* pctpr, uint32* piPercent) {
  while (KindOf(pctpr, *piPercent) != ')') {
    if (!FcPrfSkip_(pctpr, piPercent)) return false;
  }
  return true;
}

// Moves from the opener of an option to its closer.
bool FcPrfSkipOptional(FcPrfContext* pctpr, uint32* piPercent) {
  return SkipTo(pctpr, piPercent, "({}", "Option is unterminated");
}

// Moves to the next percent of pbzStops that is not an opener, past what is nested before it.
bool SkipTo(FcPrfContext* pctpr, uint32* piPercent, const char* pbzStops,
            const char* pszUnterminated) {
  uint32 i = *piPercent;
  for (;;) {
    if (!fFcPrfGetNextPercentIndex(pctpr, i + 1, pbzStops, "", &i)) {
      FwAssertFailed(pszUnterminated);
      return false;
    }
    if (KindOf(pctpr, i) == '{') {
      if (!FcPrfSkipOptional(pctpr, &i)) return false;
    } else if (KindOf(pctpr, i) == '(') {
      if (!SkipList(pctpr, &i)) return false;
    } else {
      *piPercent = i;
      return true;
    }
  }
}

enum class Contents { kCopied, kUnterminated, kFault };

// Copies the text behind *piPercent up to the first percent of pbzEnd, expanding what is nested in
// it. *piPercent becomes that percent.
Contents CopyContents(FcPrfContext* pctpr, FcPrfArgIterator* pArgIterator, uint32* piPercent,
                      const char* pbzEnd) {
  uint32 i = *piPercent;
  for (;;) {
    FwTextByte* ptbFrom = TextAfter(pctpr, i);
    if (!fFcPrfGetNextPercentIndex(pctpr, i + 1, "({", pbzEnd, &i)) {
      if (!fFcPrfGetNextPercentIndex(pctpr, i + 1, pbzEnd, "", &i)) return Contents::kUnterminated;
      CopyText(pctpr, ptbFrom, pctpr->paptbPercent[i]);
      *piPercent = i;
      return Contents::kCopied;
    }
    CopyText(pctpr, ptbFrom, pctpr->paptbPercent[i]);
    bool fExpanded = KindOf(pctpr, i) == '(' ? FcPrfParseBranchList(pctpr, pArgIterator, &i)
                                             : FcPrfParseOptional(pctpr, pArgIterator, &i);
    if (!fExpanded) return Contents::kFault;
  }
}

bool ReadSelector(FcPrfArgIterator* pArgIterator, uint32* pnSelector) {
  FcStrArg argStore;
  FcStrArg* pArg = FcPrfNextArg(pArgIterator, kFcTypeUint32, &argStore);
  if (pArg == nullptr) return false;
  *pnSelector = pArg->Value.uint32_;
  return true;
}

}  // namespace

bool fFcPrfGetNextPercentIndex(FcPrfContext* pctpr, uint32 iSearchFrom, const char* pbzToFind,
                               const char* pbzToAvoid, uint32* piFound) {
  for (uint32 i = iSearchFrom; i < pctpr->cNumPercents; i++) {
    int b = KindOf(pctpr, i);
    if (std::strchr(pbzToFind, b) != nullptr) {
      *piFound = i;
      return true;
    }
    if (std::strchr(pbzToAvoid, b) != nullptr) return false;
  }
  return false;
}

bool FcPrfParseBranchList(FcPrfContext* pctpr, FcPrfArgIterator* pArgIterator, uint32* piPercent) {
  uint32 nBranch = 0;
  if (!ReadSelector(pArgIterator, &nBranch)) return false;
  uint32 i = *piPercent;
  for (uint32 n = 0; n < nBranch; n++) {
    if (!FcPrfSkip_(pctpr, &i)) return false;
  }
  Contents contents = Contents::kUnterminated;
  if (KindOf(pctpr, i) != ')') contents = CopyContents(pctpr, pArgIterator, &i, "|)");
  if (contents == Contents::kUnterminated) FwAssertFailed("Branch is unterminated");
  if (contents != Contents::kCopied) return false;
  if (!SkipList(pctpr, &i)) return false;
  *piPercent = i;
  return true;
}

bool FcPrfParseOptional(FcPrfContext* pctpr, FcPrfArgIterator* pArgIterator, uint32* piPercent) {
  uint32 fWanted = 0;
  if (!ReadSelector(pArgIterator, &fWanted)) return false;
  if (fWanted == 0) return FcPrfSkipOptional(pctpr, piPercent);
  Contents contents = CopyContents(pctpr, pArgIterator, piPercent, "}");
  if (contents == Contents::kUnterminated) FwAssertFailed("Option is unterminated");
  return contents == Contents::kCopied;
}

bool FcPrfExpand(FcPrfContext* pctpr, FwTextString ptbzFormat, FcPrfArgIterator* pArgIterator) {
  FwTextByte* ptbFrom = ptbzFormat;
  for (uint32 i = 0; fFcPrfGetNextPercentIndex(pctpr, i, "({", "", &i); i++) {
    CopyText(pctpr, ptbFrom, pctpr->paptbPercent[i]);
    bool fExpanded = KindOf(pctpr, i) == '(' ? FcPrfParseBranchList(pctpr, pArgIterator, &i)
                                             : FcPrfParseOptional(pctpr, pArgIterator, &i);
    if (!fExpanded) return false;
    ptbFrom = TextAfter(pctpr, i);
  }
  CopyText(pctpr, ptbFrom, ptbFrom + std::strlen(FWC(ptbFrom)));
  return true;
}
