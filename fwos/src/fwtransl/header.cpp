// The head of a message file: which language it is in, and how its texts are set apart.
#include <cstring>
#include <string_view>

#include "fcboot.h"
#include "fctransl.h"
#include "fwerror.h"
#include "fwhash.h"
#include "fwstream.h"
#include "vqassert.h"

namespace {

constexpr uint32 kHeaderWithin = 1024;
constexpr uint32 kTagsToHold = 16;
constexpr int32 kMaxOverridesDefault = 50;

// The required tags, in the order in which they are checked, and where they go.
struct RequiredTag {
  const char* pszTag;
  FwTextByte* (*pfnField)(FcTranslFile* pFile);
};

constexpr RequiredTag kRequiredTags[] = {
    {"Locale", [](FcTranslFile* pFile) -> FwTextByte* { return pFile->locale.atbzLanguage; }},
    {"US Text", [](FcTranslFile* pFile) -> FwTextByte* { return pFile->atbzUSText; }},
    {"Local Text", [](FcTranslFile* pFile) -> FwTextByte* { return pFile->atbzLocalText; }},
};

// Whether a header is in sight. Read below the buffer: no file is read further that has none.
bool FcTransFileHasHeader(FcTranslFile* pFile, FwErrorState* pErrState) {
  static constexpr std::string_view kHeader = "[Header]";
  char achHead[kHeaderWithin];
  int32 cb = Fw_msg_StreamRead(Fw_msg_GetUnderlyingStream(pFile->pFileObj), pErrState, achHead,
                               kHeaderWithin);
  if (cb <= 0) return false;
  return std::string_view(achHead, static_cast<std::size_t>(cb)).find(kHeader) !=
         std::string_view::npos;
}

FwTextString FindTag(FcTranslFile* pFile, const char* pszTag) {
  FwHashEntry* pEntry = FwHashLookupEntry(pFile->headerTags, FWT(pszTag), nullptr);
  return pEntry == nullptr ? nullptr : static_cast<FwTextString>(pEntry->value);
}

int32 FindNumber(FcTranslFile* pFile, const char* pszTag, int32 nDefault, int32 nBad) {
  FwTextString ptbzValue = FindTag(pFile, pszTag);
  if (ptbzValue == nullptr) return nDefault;
  int32 n = 0;
  return FwStrToL(&ptbzValue, 10, &n) ? n : nBad;
}

bool FcTranslValidateHeader(FcTranslFile* pFile, FwErrorState* pErrState) {
  const char* pszMissing = nullptr;
  for (const RequiredTag& tag : kRequiredTags) {
    if (FindTag(pFile, tag.pszTag) != nullptr) continue;
    fcBootContext.control.logf("ERROR: In file '%s': Required header tag \"%s\" not found\n",
                               FWC(pFile->ptbzFileName), tag.pszTag);
    if (pszMissing == nullptr) pszMissing = tag.pszTag;
  }
  if (pszMissing == nullptr) return true;
  FwErrorSet(pErrState, fwErrorNonExistent, 2, FWT("Header tag"), FWT(pszMissing));
  return false;
}

// Adds the tags up to the line "end".
bool ReadTags(FcTranslFile* pFile, FwErrorState* pErrState) {
  for (;;) {
    FwTextString ptbzText = FcTranslFileGetNextLineText(pFile, pErrState);
    if (ptbzText == nullptr) {
      if (g_fTrace_fwtransl) {
        FwTrace("FcTranslFileLoadHeader: FcTranslFileGetNextLineText returned NULL");
      }
      return false;
    }
    if (FwStrCompare(ptbzText, FWT("end")) == 0) return true;
    FwTextString ptbzEquals = FwStrChr(ptbzText, '=');
    if (ptbzEquals == nullptr || ptbzEquals == ptbzText) {
      fcBootContext.control.logf(
          "WARNING: In file '%s': Ignoring invalid line in header (not 'tag=value'): \"%s\"\n",
          FWC(pFile->ptbzFileName), FWC(ptbzText));
      continue;
    }
    *ptbzEquals = 0;
    if (FwHashAddEntry(pFile->headerTags, ptbzText, ptbzEquals + 1, pErrState) == nullptr) {
      if (g_fTrace_fwtransl) FwTrace("FcTranslFileLoadHeader: FwHashAddEntry returned NULL");
      return false;
    }
  }
}

}  // namespace

int32 FcTranslFileLoadHeader(FcTranslFile* pFile, int32* pfPreload, FwErrorState* pErrState) {
  if (!FcTransFileHasHeader(pFile, pErrState)) return 0;
  pFile->headerTags = FwHashCreateTable(kTagsToHold, &FwHash_StringCopyFunctions, pErrState);
  if (pFile->headerTags == nullptr) {
    if (g_fTrace_fwtransl) {
      FwTrace("FcTranslFileLoadHeader: Unable to create header tag table for '%s'",
              FWC(pFile->ptbzFileName));
    }
    return 0;
  }
  if (!FcTranslFileFindSection(pFile, FWT("Header"), pErrState)) {
    fcBootContext.control.logf("ERROR: In file '%s': Unable to find header section\n",
                               FWC(pFile->ptbzFileName));
    return 0;
  }
  if (!ReadTags(pFile, pErrState) || !FcTranslValidateHeader(pFile, pErrState)) return 0;

  for (const RequiredTag& tag : kRequiredTags) {
    FwStrNCpy(tag.pfnField(pFile), FindTag(pFile, tag.pszTag), kFwIDTextSize);
  }
  FwTextString ptbzFontName = FindTag(pFile, "Font Name");
  if (ptbzFontName != nullptr) pFile->locale.ptbzFontName = FwStrDuplicate(ptbzFontName);
  pFile->locale.fontSize = FindNumber(pFile, "Font Size", 0, 0);
  pFile->nMaxOverrides =
      FindNumber(pFile, "MaxOverrides", kMaxOverridesDefault, kMaxOverridesDefault);
  FwTextString ptbzPreload = FindTag(pFile, "Preload");
  *pfPreload = ptbzPreload != nullptr && FwStrCompare(ptbzPreload, FWT("yes")) == 0;
  return 1;
}
