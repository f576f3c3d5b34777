// Message files: loading, layering, unloading.
#include "fcboot.h"
#include "fcmem.h"
#include "fcpp.h"
#include "fctransl.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "fwstream.h"
#include "vqassert.h"

namespace {

constexpr int32 kBufferSize = 8192;

FcTranslFile* FindFile(FwTextString ptbzFileName) {
  for (FcTranslFile* p = FcTranslationDatabase.pMsgFiles; p != nullptr; p = p->pNext) {
    if (FwStrCompare(p->ptbzFileName, ptbzFileName) == 0) return p;
  }
  return nullptr;
}

bool OpenStreams(FcTranslFile* pFile, const FwClassRecord* pStreamIOClass,
                 FwErrorState* pErrState) {
  FwObj* pFileStream =
      Fw_msg_CreateStreamIOFile(pStreamIOClass, pErrState, FW_OPEN_RDONLY, pFile->ptbzFileName);
  if (pFileStream == nullptr) {
    if (g_fTrace_fwtransl) {
      FwTrace("FwTranslLoadMessageFile: Unable to open file '%s'", FWC(pFile->ptbzFileName));
    }
    return false;
  }
  pFile->pFileObj =
      Fw_msg_CreateStreamBuffered(pErrState, FW_OPEN_RDONLY, kBufferSize, pFileStream);
  if (pFile->pFileObj != nullptr) return true;
  LocalError err;
  Fw_msg_StreamDestroy(pFileStream, &err, 0);
  return false;
}

// One of the sections of pairs: where its entries go, and how they are keyed.
struct StringSection {
  const char* pszName;
  FwHashTable* FcTranslDatabase::*pTable;
  uint32 (*pfnKey)(FwTextString ptbzEnglish);
  const char* pszAddFailed;
};

constexpr StringSection kStringSections[] = {
    {"Fixed Strings", &FcTranslDatabase::fixedStrings,
     [](FwTextString ptbzEnglish) {
       return FcTransl_StringHashFunction(ptbzEnglish, kFcTranslWhole, 0);
     },
     "FcTranslFileScanStrings: Failed to add entry to fixed string hash table"},
    {"Message Templates", &FcTranslDatabase::msgTemplates,
     [](FwTextString ptbzEnglish) {
       FcTranslKeyString abKey;
       return FcTranslCalculateMessageKey(ptbzEnglish, abKey, 1);
     },
     "FcTranslFileScanStrings: Failed to add entry to message template hash table"},
};

// Adds an entry for each pair of the section. A faulty pair ends it.
bool ScanSection(FcTranslFile* pFile, const StringSection& section, int32 fPreload,
                 FwErrorState* pErrState) {
  FwHashTable* pTable = pFile->pDatabase->*section.pTable;
  uint32 nLocation = 0;
  while (FcTranslFileReadStringPair(pFile, &nLocation, pErrState)) {
    FcTranslNode* pNode = FcTranslGetNextNode(pFile);
    pNode->location = nLocation;
    uint32 nKey = section.pfnKey(FcTransEnglishRecord.pbz);
    // A node that meets others under its key is compared with them, so its texts are needed now.
    bool fMeetsOthers = FcTranslFindChain(pTable, nKey) != nullptr;
    if (fPreload || fMeetsOthers) FcTranslNodeInitData(pNode);
    // Comparing may load texts from this file and so move its stream.
    uint32 nOffset = FcTranslGetFileOffset(pFile, pErrState);
    if (FwHashAddEntry(pTable, reinterpret_cast<void*>(uintptr_t{nKey}), pNode, pErrState) ==
        nullptr) {
      if (g_fTrace_fwtransl) FwTrace("%s", section.pszAddFailed);
      return false;
    }
    if (fMeetsOthers && !FcTranslSetFileOffset(pFile, nOffset, pErrState)) break;
  }
  return true;
}

bool FcTranslFileScanStrings(FcTranslFile* pFile, int32 fPreload, FwErrorState* pErrState) {
  for (const StringSection& section : kStringSections) {
    if (FcTranslFileFindSection(pFile, FWT(section.pszName), pErrState) &&
        !ScanSection(pFile, section, fPreload, pErrState)) {
      return false;
    }
  }
  return true;
}

// Undoes what loading has done so far.
void AbandonFile(FcTranslFile* pFile) {
  FcTranslRemoveNodes(pFile->pDatabase, pFile->ptbzFileName);
  FcTranslFreeFile(pFile);
}

// A record for the file, with its name, or null with the error set.
FcTranslFile* MakeFile(FwTextString ptbzFileName, FwErrorState* pErrState) {
  FcTranslFile* pFile = FwMemNew<FcTranslFile>(ALLOC_MAY_FAIL | INIT_ZERO);
  if (pFile == nullptr) {
    if (g_fTrace_fwtransl) {
      FwTrace(
          "FwTranslLoadMessageFile: Failed to allocate memory for FcTranslFile when loading '%s'",
          FWC(ptbzFileName));
    }
    FwErrorSet(pErrState, fwErrorNoMemory, 0);
    return nullptr;
  }
  pFile->pDatabase = &FcTranslationDatabase;
  pFile->ptbzFileName = FwStrDuplicateFailNull(ptbzFileName);
  if (pFile->ptbzFileName == nullptr) {
    if (g_fTrace_fwtransl) {
      FwTrace("FwTranslLoadMessageFile: Failed to duplicate filename when loading '%s'",
              FWC(ptbzFileName));
    }
    FwErrorSet(pErrState, fwErrorNoMemory, 0);
    FwMemFree(pFile);
    return nullptr;
  }
  return pFile;
}

bool LoadFile(FwTextString ptbzFileName, const FwClassRecord* pStreamIOClass,
              FwErrorState* pErrState) {
  FcTranslFile* pFile = MakeFile(ptbzFileName, pErrState);
  if (pFile == nullptr) return false;
  int32 fPreload = 0;
  if (!OpenStreams(pFile, pStreamIOClass, pErrState) ||
      !FcTranslFileLoadHeader(pFile, &fPreload, pErrState) ||
      !FcTranslFileScanStrings(pFile, fPreload, pErrState)) {
    AbandonFile(pFile);
    return false;
  }
  pFile->pNext = FcTranslationDatabase.pMsgFiles;
  FcTranslationDatabase.pMsgFiles = pFile;
  // All texts are here, so nothing more will be read.
  if (fPreload) FcTranslFileCloseStream(pFile);
  pFile->nOverrides = 0;
  return true;
}

}  // namespace

void FcTranslFileCloseStream(FcTranslFile* pFile) {
  if (pFile->pFileObj == nullptr) return;
  LocalError err;
  Fw_msg_StreamDestroy(pFile->pFileObj, &err, 1);
  pFile->pFileObj = nullptr;
}

void FcTranslFreeFile(FcTranslFile* pFile) {
  FcTranslFileCloseStream(pFile);
  FcTranslFreeNodeBlocks(pFile);
  FwHashFreeTable(&pFile->headerTags);
  FwMemFreeAndClear(&pFile->locale.ptbzFontName);
  FwMemFree(pFile->ptbzFileName);
  FwMemFree(pFile);
}

int32 FwTranslLoadMessageFile(FwTextString ptbzFileName, const FwClassRecord* pStreamIOClass,
                              FwErrorState* pErrState) {
  FcAssertBootLevel(kFcLevelTranslation);
  if (FindFile(ptbzFileName) != nullptr) {
    if (g_fTrace_fwtransl) {
      FwTrace("FwTranslLoadMessageFile: Message file '%s' already loaded, skipping...",
              FWC(ptbzFileName));
    }
    return 1;
  }
  if (pStreamIOClass == nullptr) pStreamIOClass = &FwStreamIOFileClass;
  LocalError err;
  return LoadFile(ptbzFileName, pStreamIOClass, pErrState != nullptr ? pErrState : &err);
}

int32 FwTranslUnloadMessageFile(FwTextString ptbzFileName, int32 fForce, FwErrorState*) {
  FcAssertBootLevel(kFcLevelTranslation);
  FcTranslFile* pFile = FindFile(ptbzFileName);
  if (pFile == nullptr) {
    if (g_fTrace_fwtransl) {
      FwTrace("FwTranslUnloadMessageFile: '%s' not loaded", FWC(ptbzFileName));
    }
    return 1;
  }
  if (!fForce && FcTranslCountLockedNodes(&FcTranslationDatabase, ptbzFileName) > 0) {
    if (g_fTrace_fwtransl) {
      FwTrace("FwTranslUnloadMessageFile: Unable to unload '%s' because it is in use",
              FWC(ptbzFileName));
    }
    return 0;
  }
  FcTranslRemoveNodes(&FcTranslationDatabase, pFile->ptbzFileName);
  FcTranslFileCloseStream(pFile);
  FcTranslFile** ppFile = &FcTranslationDatabase.pMsgFiles;
  while (*ppFile != pFile) {
    ppFile = &(*ppFile)->pNext;
  }
  *ppFile = pFile->pNext;
  FcTranslFreeNodeBlocks(pFile);
  // Kept, as the text of the output: the address of the field is given up and not the string, of
  // which the debugging levels of the memory manager complain. No allocator gets to see it.
  if (pFile->locale.ptbzFontName != nullptr) {
    FcMemReportStray(&pFile->locale.ptbzFontName, const_cast<char*>(__FILE__), __LINE__);
  }
  FwMemFree(pFile->ptbzFileName);
  FwMemFree(pFile);
  return 1;
}

void FwTranslGetFontInfo(FwTextString* pptbzFontName, int32* pFontSize) {
  *pptbzFontName = nullptr;
  *pFontSize = 0;
  for (FcTranslFile* p = FcTranslationDatabase.pMsgFiles; p != nullptr; p = p->pNext) {
    if (p->locale.ptbzFontName == nullptr && p->locale.fontSize == 0) continue;
    *pptbzFontName = p->locale.ptbzFontName;
    *pFontSize = p->locale.fontSize;
    return;
  }
}
