// From the items of a template to its list of bindings.
#include "fcstrmat.h"
#include "fwtransl.h"
#include "vqassert.h"

namespace {

struct RebindByConversion {
  char bTypeName;
  uint32 nType;
  pfnFcMatRebind pfnRebind;
};

constexpr RebindByConversion kRebinds[] = {
    {'E', FC_MAT_VARIABLE, fFcMatRebindReal},
    {'G', FC_MAT_VARIABLE, fFcMatRebindReal},
    {'X', FC_MAT_VARIABLE, fFcMatRebindHex},
    {'c', FC_MAT_VARIABLE, fFcMatRebindCharacter},
    {'d', FC_MAT_VARIABLE, fFcMatRebindInt32},
    {'e', FC_MAT_VARIABLE, fFcMatRebindReal},
    {'f', FC_MAT_VARIABLE, fFcMatRebindReal},
    {'g', FC_MAT_VARIABLE, fFcMatRebindReal},
    {'i', FC_MAT_VARIABLE, fFcMatRebindInt32},
    {'u', FC_MAT_VARIABLE, fFcMatRebindUInt32},
    {'x', FC_MAT_VARIABLE, fFcMatRebindHex},
    {'s', FC_MAT_STRING, fFcMatRebindString},
    {'t', FC_MAT_STRING, fFcMatRebindTranslatableString},
};

const RebindByConversion* FindRebind(FwByte bTypeName) {
  for (const RebindByConversion& rebind : kRebinds) {
    if (rebind.bTypeName == static_cast<char>(bTypeName)) return &rebind;
  }
  return nullptr;
}

// The branch lists that are open, with the index of the alternative being read.
struct OpenList {
  FcMatBinding* pbdbr;
  uint32 nAlternative;
};

struct Builder {
  FcMatContext* pctmat;
  FcMatBinding* bdl;
  uint32 cbdNumElts;
  OpenList aOpen[kFcMatMaxDepth];
  uint32 cOpen;
};

// The next binding of the list, which must have room for it.
FcMatBinding* AddBinding(Builder* pBuilder, uint32 nType, FwTextByte* ptbTemplate,
                         uint32 cbTemplate, pfnFcMatRebind pfnRebind) {
  FcMatBinding* pbd = &pBuilder->bdl[pBuilder->cbdNumElts++];
  *pbd = FcMatBinding{};
  pbd->nType = nType;
  pbd->ptbzTemplate = ptbTemplate;
  pbd->cbTemplateBindingLength = cbTemplate;
  pbd->pfnRebind = pfnRebind;
  if (pBuilder->cOpen > 0) {
    const OpenList& open = pBuilder->aOpen[pBuilder->cOpen - 1];
    pbd->pbdbrLast = open.pbdbr;
    pbd->iBranchBinding = open.nAlternative;
  }
  return pbd;
}

// %( and %{. The alternative of index 0 begins at the opener, which its binding steps over.
bool OpenBranchList(Builder* pBuilder, FwTextByte* ptbPercent) {
  FcMatBinding* pbd =
      AddBinding(pBuilder, FC_MAT_BRANCH_LIST, ptbPercent, 2, fFcMatRebindBranchList);
  pbd->aptbBranchStart[0] = ptbPercent + 2;
  if (pBuilder->cOpen == kFcMatMaxDepth) {
    FwAssertFailed("Too many recursed branches");
    return false;
  }
  pBuilder->aOpen[pBuilder->cOpen++] = {pbd, 0};
  return true;
}

// The end of an alternative. For an option's empty one this stands right behind the opener.
void EndAlternative(Builder* pBuilder, FwTextByte* ptbTemplate) {
  AddBinding(pBuilder, FC_MAT_BRANCH_END, ptbTemplate, 2, fFcMatRebindBranchEnd);
}

void BeginAlternative(Builder* pBuilder, FwTextByte* ptbTemplate) {
  OpenList& open = pBuilder->aOpen[pBuilder->cOpen - 1];
  open.nAlternative++;
  open.pbdbr->aptbBranchStart[open.nAlternative] = ptbTemplate;
}

bool AddStructure(Builder* pBuilder, FwTextByte* ptbPercent) {
  switch (ptbPercent[1]) {
    case '(':
      return OpenBranchList(pBuilder, ptbPercent);
    case '{':
      if (pBuilder->cbdNumElts + 2 > kFcMatMaxBindings) {
        FwAssertFailed("Too many formats");
        return false;
      }
      if (!OpenBranchList(pBuilder, ptbPercent)) return false;
      EndAlternative(pBuilder, ptbPercent + 2);
      BeginAlternative(pBuilder, ptbPercent + 2);
      return true;
    case '|':
      if (pBuilder->cOpen == 0) {
        FwAssertFailed("%| outside branch");
        return false;
      }
      if (pBuilder->aOpen[pBuilder->cOpen - 1].nAlternative == kFcMatMaxSeparators) {
        FwAssertFailed("Too many branches");
        return false;
      }
      EndAlternative(pBuilder, ptbPercent);
      BeginAlternative(pBuilder, ptbPercent + 2);
      return true;
    default: {
      if (pBuilder->cOpen == 0) {
        FwAssertFailed("%) outside branch");
        return false;
      }
      EndAlternative(pBuilder, ptbPercent);
      const OpenList& open = pBuilder->aOpen[--pBuilder->cOpen];
      open.pbdbr->iLast = open.nAlternative;
      open.pbdbr->ptbBranchListEnd = ptbPercent + 2;
      return true;
    }
  }
}

void FillString(FcMatContext* pctmat, FcMatBinding* pbd) {
  if (pctmat->fMessageEscaped) {
    pbd->fMarked = true;
    pbd->tcToMatch = kFcStrMarker;
    return;
  }
  FwTextByte* ptbAfter = pbd->ptbzTemplate + pbd->cbTemplateBindingLength;
  pbd->tcToMatch = FwStrGetTextCharacter(&ptbAfter);
  pbd->fMatchSingly = pbd->tcToMatch == '%';
}

bool AddItem(Builder* pBuilder, FwTextByte* ptbPercent) {
  FcStrFormatSpec format;
  if (!FcStrGetFormatSpec(ptbPercent, &format)) return false;
  const RebindByConversion* pRebind = FindRebind(format.bTypeName);
  if (pRebind == nullptr) {
    FwAssertFailed("Unknown format for matching");
    return false;
  }
  FcMatBinding* pbd = AddBinding(pBuilder, pRebind->nType, ptbPercent, format.cbFormatSpecLength,
                                 pRebind->pfnRebind);
  pbd->nSkipSpaces = format.nWidth == kFcPrfNone ? 0 : static_cast<uint32>(format.nWidth);
  pbd->nArgPosition =
      format.nPosition == -1 ? kFcMatNoPosition : static_cast<uint32>(format.nPosition);
  pbd->nArgWidth = format.nWidth;
  pbd->nArgPrecision = format.nPrecision;
  pbd->bTypeName = format.bTypeName;
  if (pRebind->nType == FC_MAT_STRING) FillString(pBuilder->pctmat, pbd);
  return true;
}

bool IsStructure(FwTextByte tb) {
  return tb == '(' || tb == '|' || tb == ')' || tb == '{' || tb == '}';
}

// Releases the fixed pair that a string holds, if any.
void FcMatFree(FcMatBinding* pbd) {
  if (pbd->pbzFixedEnglish != nullptr) FwTranslReleaseFixedPair(pbd->pbzFixedEnglish);
  pbd->pbzFixedEnglish = nullptr;
}

}  // namespace

bool FcMatBindingListCreate(FcMatContext* pctmat, FcMatBinding* bdl, uint32* pcbdNumElts) {
  Builder builder = {};
  builder.pctmat = pctmat;
  builder.bdl = bdl;
  bool fBuilt = true;
  for (uint32 i = 0; fBuilt && i < pctmat->cNumPercents; i++) {
    FwTextByte* ptbPercent = pctmat->paptbPercent[i];
    if (ptbPercent[1] == '%') continue;
    if (builder.cbdNumElts == kFcMatMaxBindings) {
      FwAssertFailed("Format string too complex");
      fBuilt = false;
    } else {
      fBuilt = IsStructure(ptbPercent[1]) ? AddStructure(&builder, ptbPercent)
                                          : AddItem(&builder, ptbPercent);
    }
  }
  *pcbdNumElts = builder.cbdNumElts;
  return fBuilt;
}

void FcMatBindingListDestroy(FcMatBinding* bdl, uint32 cbdNumElts) {
  for (uint32 i = 0; i < cbdNumElts; i++) {
    FcMatUnbind(&bdl[i]);
  }
}

void FcMatUnbind(FcMatBinding* pbd) {
  pbd->ptbzEnglish = nullptr;
  if (pbd->nType == FC_MAT_BRANCH_LIST) {
    pbd->iCurrent = 0;
  } else if (pbd->nType == FC_MAT_STRING) {
    pbd->fTranslationFailed = false;
    FcMatFree(pbd);
  }
}

bool fFcMatIsBindingOn(const FcMatBinding* pbd) {
  for (; pbd->pbdbrLast != nullptr; pbd = pbd->pbdbrLast) {
    if (pbd->pbdbrLast->iCurrent != pbd->iBranchBinding) return false;
  }
  return true;
}
