// From bindings to the typed argument list that the translated template is printed from.
#include <algorithm>

#include "fcstrmat.h"
#include "vqassert.h"

namespace {

// The list under construction. Slots that no item of the template fills stay generic.
struct Filler {
  FcStrArgList* pArgList;
  bool fFits;
};

void Store(Filler* pFiller, uint32 iSlot, const FcStrArg& arg) {
  if (iSlot >= kFcMatMaxArguments) {
    pFiller->fFits = false;
    return;
  }
  pFiller->pArgList->paArg[iSlot] = arg;
  // The list reaches as far as its last slot that is filled.
  pFiller->pArgList->cSize = std::max(pFiller->pArgList->cSize, iSlot + 1);
}

FcStrArg MakeArg(const char* pszType, uint32 nValue) {
  FcStrArg arg = {};
  arg.Value.uint32_ = nValue;
  arg.cbValueStringLength = kFcStrTerminated;
  arg.pszType = const_cast<char*>(pszType);
  arg.cbTypeSize = kFcTypeSize;
  return arg;
}

}  // namespace

bool FcMatMakeArgList(const FcMatContext* /*pctmat*/, FcStrArgList* pArgList, FcMatBinding* bdl,
                      uint32 cbdNumElts) {
  std::fill_n(pArgList->paArg, kFcMatMaxArguments, MakeArg(kFcTypeGeneric, 0));
  pArgList->cSize = 0;
  Filler filler = {pArgList, true};
  uint32 nSelectors = 0;
  for (uint32 i = 0; i < cbdNumElts; i++) {
    if (bdl[i].nType == FC_MAT_BRANCH_LIST && fFcMatIsBindingOn(&bdl[i])) {
      Store(&filler, nSelectors++, MakeArg(kFcTypeUint32, bdl[i].iCurrent));
    }
  }
  uint32 iNext = nSelectors;
  for (uint32 i = 0; i < cbdNumElts; i++) {
    const FcMatBinding* pbd = &bdl[i];
    bool fItem = pbd->nType == FC_MAT_VARIABLE || pbd->nType == FC_MAT_STRING;
    if (!fItem || !fFcMatIsBindingOn(pbd)) continue;
    if (pbd->nArgPosition != kFcMatNoPosition) iNext = pbd->nArgPosition + nSelectors;
    if (pbd->nArgWidth == kFcPrfFromArgument) {
      Store(&filler, iNext++, MakeArg(kFcTypeInt32, static_cast<uint32>(kFcPrfNone)));
    }
    if (pbd->nArgPrecision == kFcPrfFromArgument) {
      Store(&filler, iNext++, MakeArg(kFcTypeInt32, static_cast<uint32>(FcMatGetPrecision(pbd))));
    }
    Store(&filler, iNext++, pbd->Arg);
  }
  return filler.fFits;
}

int32 FcMatGetPrecision(const FcMatBinding* pbd) {
  const FwTextByte* ptbStart = pbd->ptbzEnglish;
  const FwTextByte* ptbEnd = ptbStart + pbd->cbEnglishBindingLength;
  const FwTextByte* ptbPoint = std::find(ptbStart, ptbEnd, '.');
  const FwTextByte* ptbExponent =
      std::find_if(ptbStart, ptbEnd, [](FwTextByte tb) { return tb == 'e' || tb == 'E'; });
  int32 nPrecision = 0;
  switch (pbd->bTypeName) {
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G': {
      bool fPoint = ptbPoint != ptbEnd;
      FwAssert(!fPoint || ptbPoint < ptbExponent, "Number string appears bad");
      bool fGeneral = pbd->bTypeName == 'g' || pbd->bTypeName == 'G';
      if (fGeneral) {
        nPrecision = static_cast<int32>(ptbExponent - ptbStart) - fPoint;
      } else if (fPoint) {
        nPrecision = static_cast<int32>(ptbExponent - ptbPoint) - 1;
      }
      break;
    }
    case 'd':
    case 'i':
      nPrecision = static_cast<int32>(pbd->cbEnglishBindingLength) - (pbd->Arg.Value.int32_ < 0);
      break;
    case 'o':
    case 'u':
    case 'x':
    case 'X':
    case 's':
      nPrecision = static_cast<int32>(pbd->cbEnglishBindingLength);
      break;
    default:
      FwAssertFailed("Unhandled format");
      break;
  }
  FwAssert(nPrecision >= 1, "Bad precision");
  return std::max(nPrecision, 0);
}
