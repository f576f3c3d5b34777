// Looking up: fixed strings for those who keep them for a while, and printed messages as a whole.
#include <cstring>

#include "fcboot.h"
#include "fcstrmat.h"
#include "fctransl.h"
#include "vqassert.h"

namespace {

bool IsLineEnd(FwTextByte tb) {
  return tb == '\n' || tb == '\r';
}

bool IsGiven(FwTextString ptbz) {
  return FwExpect(ptbz != nullptr, "NULL ptbz");
}

// Tries the templates that the text's first characters lead to.
bool TranslateByTemplate(FwTextString ptbzText, uint32 cbText, FwStrRecord* pRecOutput) {
  FcTranslKeyString abMessageKey;
  uint32 nHash = FcTranslCalculateMessageKey(ptbzText, cbText, abMessageKey, 0);
  uint32 cbKey = static_cast<uint32>(std::strlen(FWC(abMessageKey)));
  for (FcTranslNode* pNode = FcTranslFindChain(FcTranslationDatabase.msgTemplates, nHash);
       pNode != nullptr; pNode = pNode->pNext) {
    if (!FcTranslEnsureData(pNode)) continue;
    FwTextString ptbzTemplate = FcTranslNodeEnglish(pNode);
    // The template begins with the key, apart from %% for %.
    if (FcTranslMessageMatchesTemplate(abMessageKey, cbKey, ptbzTemplate, cbKey, 1) &&
        fFcStrNMatchTemplate(ptbzText, cbText, ptbzTemplate, FcTranslNodeLocal(pNode),
                             pRecOutput)) {
      return true;
    }
  }
  return false;
}

}  // namespace

FcTranslNode* FcTranslFindFixedStringNode(FcTranslDatabase* pDatabase, FwTextString ptbzEnglish,
                                          uint32 cLength) {
  uint32 nHash = FcTransl_StringHashFunction(ptbzEnglish, cLength, 0);
  for (FcTranslNode* pNode = FcTranslFindChain(pDatabase->fixedStrings, nHash); pNode != nullptr;
       pNode = pNode->pNext) {
    if (FcTranslEnsureData(pNode) &&
        FcTranslMessageMatchesTemplate(ptbzEnglish, cLength, FcTranslNodeEnglish(pNode),
                                       kFcTranslWhole, 0)) {
      return pNode;
    }
  }
  return nullptr;
}

int32 FwTranslLookupFixedPair(FwTextString ptbzEnglish, FwTextString* pptbzFixedEnglish,
                              FwTextString* pptbzFixedLocal) {
  return FwTranslLookupFixedPairN(ptbzEnglish, kFcTranslWhole, pptbzFixedEnglish, pptbzFixedLocal);
}

int32 FwTranslLookupFixedPairN(FwTextString ptbzEnglish, uint32 cLength,
                               FwTextString* pptbzFixedEnglish, FwTextString* pptbzFixedLocal) {
  FcAssertBootLevel(kFcLevelTranslation);
  if (!IsGiven(ptbzEnglish)) {
    *pptbzFixedEnglish = nullptr;
    *pptbzFixedLocal = nullptr;
    return 0;
  }
  FcTranslNode* pNode = FcTranslFindFixedStringNode(&FcTranslationDatabase, ptbzEnglish, cLength);
  if (pNode == nullptr) return 0;
  FcTranslLockNode(pNode);
  *pptbzFixedEnglish = FcTranslNodeEnglish(pNode);
  *pptbzFixedLocal = FcTranslNodeLocal(pNode);
  return 1;
}

void FwTranslReleaseFixedPair(FwTextString ptbzFixedEnglish) {
  FcAssertBootLevel(kFcLevelTranslation);
  if (!IsGiven(ptbzFixedEnglish)) return;
  FcTranslNode* pNode =
      FcTranslFindFixedStringNode(&FcTranslationDatabase, ptbzFixedEnglish, kFcTranslWhole);
  if (pNode == nullptr) {
    FwAssertFailed("FwTranslReleaseFixedPair: No matching fixed string");
    return;
  }
  if (FcTranslNodeEnglish(pNode) != ptbzFixedEnglish) {
    FwAssertFailed(
        "FwTranslReleaseFixedPair: Match found, but ptbzFixedEnglish != pointer from node");
    return;
  }
  FcTranslUnlockNode(pNode);
}

int32 FwTranslMessage(FwTextString ptbzMessage, FwStrRecord* pRecOutput) {
  FcAssertBootLevel(kFcLevelTranslation);
  FwAssert(pRecOutput != nullptr, "NULL param");
  if (!IsGiven(ptbzMessage) || pRecOutput == nullptr) return FW_TRANSL_NONE;
  FwTextByte* ptbText = ptbzMessage;
  while (IsLineEnd(*ptbText)) {
    ptbText++;
  }
  FwStrNPutTextString(pRecOutput, ptbzMessage, static_cast<uint32>(ptbText - ptbzMessage));
  if (*ptbText == 0) return FW_TRANSL_NONE;

  FwTextByte* ptbTrailing = ptbText + std::strlen(FWC(ptbText));
  while (IsLineEnd(ptbTrailing[-1])) {
    ptbTrailing--;
  }
  uint32 cbText = static_cast<uint32>(ptbTrailing - ptbText);

  FcTranslNode* pNode = FcTranslFindFixedStringNode(&FcTranslationDatabase, ptbText, cbText);
  if (pNode != nullptr) {
    FwStrPutTextString(pRecOutput, FcTranslNodeLocal(pNode));
    FwStrPutTextString(pRecOutput, ptbTrailing);
    return FW_TRANSL_TRANSLATED;
  }
  if (TranslateByTemplate(ptbText, cbText, pRecOutput)) {
    FwStrPutTextString(pRecOutput, ptbTrailing);
    return FW_TRANSL_TRANSLATED;
  }
  FwStrPutTextString(pRecOutput, ptbText);
  return FcStrStripMarkers(pRecOutput) ? FW_TRANSL_STRIPPED : FW_TRANSL_NONE;
}
