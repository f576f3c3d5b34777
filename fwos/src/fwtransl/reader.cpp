// The text of a message file: lines, sections, pairs.
#include <cstring>
#include <string_view>

#include "fcboot.h"
#include "fcpp.h"
#include "fctransl.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwstream.h"
#include "vq32x2.h"
#include "vqassert.h"

namespace {

bool IsBlank(FwTextByte tb) {
  return tb == ' ' || tb == '\t';
}

FwTextString SkipBlanks(FwTextString ptbz) {
  while (IsBlank(*ptbz)) {
    ptbz++;
  }
  return ptbz;
}

bool BeginsWith(FwTextString ptbz, std::string_view head) {
  return std::strncmp(FWC(ptbz), head.data(), head.size()) == 0;
}

// An introducer's line holds at most one byte behind it, its newline.
bool IsIntroducer(FwTextString ptbzLine, FwTextString ptbzIntroducer) {
  std::string_view introducer = FWC(ptbzIntroducer);
  return BeginsWith(ptbzLine, introducer) && std::strlen(FWC(ptbzLine)) < introducer.size() + 2;
}

void StripNewlines(FwStrRecord* pRecord) {
  FwByte* pbEnd = pRecord->pbTerminator;
  while (pbEnd > pRecord->pbz && pbEnd[-1] == '\n') {
    pbEnd--;
  }
  FwStrRecordShorten(pRecord, static_cast<uint32>(pbEnd - pRecord->pbz));
}

void LogForFile(const char* pszFormat, FcTranslFile* pFile) {
  fcBootContext.control.logf(pszFormat, FWC(pFile->ptbzFileName));
}

void LogForFile(const char* pszFormat, FcTranslFile* pFile, FwTextString ptbz) {
  fcBootContext.control.logf(pszFormat, FWC(pFile->ptbzFileName), FWC(ptbz));
}

// One of the two texts of a pair.
struct TextRole {
  FwStrRecord* pRecord;
  FwTextString ptbzEnd;       // the introducer that ends it
  FwTextString ptbzStrange;   // the one that has no place in it
  const char* pszStrange;     // what is logged about that one
  const char* pszUnfinished;  // about a file that ends inside the text
  const char* pszEmpty;       // about a text of newlines only
};

// Appends lines to the record, from ptbzLine on, up to the introducer that ends the text.
bool ReadText(FcTranslFile* pFile, const TextRole& role, FwTextString ptbzLine,
              FwErrorState* pErrState) {
  uint32 nOffset = 0;
  for (;; ptbzLine = FcTranslFileGetNextLine(pFile, 0, &nOffset, pErrState)) {
    if (ptbzLine == nullptr) {
      LogForFile(role.pszUnfinished, pFile);
      return false;
    }
    if (IsIntroducer(ptbzLine, role.ptbzEnd)) break;
    if (IsIntroducer(ptbzLine, role.ptbzStrange)) {
      LogForFile(role.pszStrange, pFile, role.pRecord->pbz);
    }
    FwStrPutRawString(role.pRecord, ptbzLine);
  }
  StripNewlines(role.pRecord);
  if (role.pRecord->pbTerminator == role.pRecord->pbz) LogForFile(role.pszEmpty, pFile);
  return true;
}

}  // namespace

int32 FcTranslSetFileOffset(FcTranslFile* pFile, uint32 nOffset, FwErrorState* pErrState) {
  // Only a seek to the start makes a stream readable again that was read to its end.
  Vq32x2 start = {};
  Vq32x2 offset = {};
  offset.low = nOffset;
  if (Fw_msg_StreamSeek(pFile->pFileObj, pErrState, &start, FW_SEEK_SET) &&
      (nOffset == 0 || Fw_msg_StreamSeek(pFile->pFileObj, pErrState, &offset, FW_SEEK_SET))) {
    return 1;
  }
  if (g_fTrace_fwtransl) {
    FwTrace("FcTranslSetFileOffset: ERROR: Failed to seek to offset %ld in '%s'",
            static_cast<long>(nOffset), FWC(pFile->ptbzFileName));
  }
  return 0;
}

uint32 FcTranslGetFileOffset(FcTranslFile* pFile, FwErrorState* pErrState) {
  Vq32x2 offset = {};
  uint32 nOffset = 0;
  Fw_msg_StreamSeek(pFile->pFileObj, pErrState, &offset, FW_SEEK_CUR);
  Vq32x2ToUint32(&offset, &nOffset);
  return nOffset;
}

FwTextString FcTranslFileGetNextLine(FcTranslFile* pFile, int32 fSkipBlankLines,
                                     uint32* pLineOffset, FwErrorState* pErrState) {
  for (;;) {
    *pLineOffset = FcTranslGetFileOffset(pFile, pErrState);
    FwStrRecordShorten(&FcTransLineRecord, 0);
    int32 cbLine = Fw_msg_ReadLine(pFile->pFileObj, pErrState, &FcTransLineRecord);
    if (cbLine <= 0) {
      if (cbLine == 0) FwErrorClear(pErrState);
      return nullptr;
    }
    FwTextString ptbzText = SkipBlanks(FcTransLineRecord.pbz);
    if (*ptbzText == ';') continue;
    bool fBlank = *ptbzText == 0 || *ptbzText == '\n';
    if (!fBlank || !fSkipBlankLines) return FcTransLineRecord.pbz;
  }
}

FwTextString FcTranslFileGetNextLineText(FcTranslFile* pFile, FwErrorState* pErrState) {
  uint32 nOffset = 0;
  if (FcTranslFileGetNextLine(pFile, 1, &nOffset, pErrState) == nullptr) return nullptr;
  FwByte* pbEnd = FcTransLineRecord.pbTerminator;
  while (pbEnd > FcTransLineRecord.pbz && (IsBlank(pbEnd[-1]) || pbEnd[-1] == '\n')) {
    pbEnd--;
  }
  FwStrRecordShorten(&FcTransLineRecord, static_cast<uint32>(pbEnd - FcTransLineRecord.pbz));
  return SkipBlanks(FcTransLineRecord.pbz);
}

int32 FcTranslFileFindSection(FcTranslFile* pFile, FwTextString ptbzSection,
                              FwErrorState* pErrState) {
  if (!FcTranslSetFileOffset(pFile, 0, pErrState)) return 0;
  std::string_view section = FWC(ptbzSection);
  for (;;) {
    FwTextString ptbzText = FcTranslFileGetNextLineText(pFile, pErrState);
    if (ptbzText == nullptr) return 0;
    if (*ptbzText == '[' && BeginsWith(ptbzText + 1, section) &&
        ptbzText[1 + section.size()] == ']') {
      return 1;
    }
  }
}

int32 FcTranslFileReadStringPair(FcTranslFile* pFile, uint32* pOffset, FwErrorState* pErrState) {
  FwStrRecordShorten(&FcTransEnglishRecord, 0);
  FwStrRecordShorten(&FcTransLocalRecord, 0);
  FwTextString ptbzLine = FcTranslFileGetNextLine(pFile, 1, pOffset, pErrState);
  if (ptbzLine != nullptr && IsIntroducer(ptbzLine, pFile->atbzUSText)) {
    ptbzLine = FcTranslFileGetNextLine(pFile, 1, pOffset, pErrState);
  }
  if (ptbzLine == nullptr) {
    LogForFile("ERROR: In file '%s': Missing \"%s\"\n", pFile, FWT("end"));
    return 0;
  }
  if (BeginsWith(ptbzLine, "end")) return 0;

  const TextRole english = {
      &FcTransEnglishRecord,
      pFile->atbzLocalText,
      pFile->atbzUSText,
      "WARNING: In file '%s': US introducer found while reading US text \"%s\"\n",
      "ERROR: In file '%s': Unexpected EOF when reading English text\n",
      "WARNING: In file '%s': US English string contains no real text\n"};
  const TextRole local = {
      &FcTransLocalRecord,
      pFile->atbzUSText,
      pFile->atbzLocalText,
      "WARNING: In file '%s': Local introducer found while reading local text \"%s\"\n",
      "ERROR: In file '%s': Unexpected EOF when reading Local text\n",
      "WARNING: In file '%s': Local string contains no real text\n"};
  if (!ReadText(pFile, english, ptbzLine, pErrState)) return 0;
  uint32 nOffset = 0;
  ptbzLine = FcTranslFileGetNextLine(pFile, 0, &nOffset, pErrState);
  return ReadText(pFile, local, ptbzLine, pErrState);
}

int32 FcTranslLoadNodeData(FcTranslNode* pNode) {
  // The stream of a preloaded file is closed.
  if (pNode->pFile->pFileObj == nullptr) return 0;
  LocalError err;
  uint32 nOffset = 0;
  return FcTranslSetFileOffset(pNode->pFile, pNode->location, &err) &&
         FcTranslFileReadStringPair(pNode->pFile, &nOffset, &err) && FcTranslNodeInitData(pNode);
}
