// Entries made in the database itself, for tests that need a vocabulary but no file.
#ifndef FWTRANSL_VOCABULARY_H
#define FWTRANSL_VOCABULARY_H

#include <gtest/gtest.h>

#include "fctransl.h"
#include "fwmem.h"

class Vocabulary {
 public:
  explicit Vocabulary(const char* pszName, int32 nMaxOverrides = 50) {
    file_.pDatabase = &FcTranslationDatabase;
    file_.ptbzFileName = FWT(pszName);
    file_.nMaxOverrides = nMaxOverrides;
  }
  ~Vocabulary() {
    FcTranslRemoveNodes(&FcTranslationDatabase, file_.ptbzFileName);
    FcTranslFreeNodeBlocks(&file_);
  }
  Vocabulary(const Vocabulary&) = delete;
  Vocabulary& operator=(const Vocabulary&) = delete;

  FcTranslNode* AddFixed(const char* pszEnglish, const char* pszLocal) {
    return Add(FcTranslationDatabase.fixedStrings,
               FcTransl_StringHashFunction(FWT(pszEnglish), kFcTranslWhole, 0), pszEnglish,
               pszLocal);
  }

  FcTranslNode* AddTemplate(const char* pszEnglish, const char* pszLocal) {
    FcTranslKeyString abKey;
    return Add(FcTranslationDatabase.msgTemplates,
               FcTranslCalculateMessageKey(FWT(pszEnglish), abKey, 1), pszEnglish, pszLocal);
  }

  FcTranslFile* file() { return &file_; }

 private:
  FcTranslNode* Add(FwHashTable* pTable, uint32 nKey, const char* pszEnglish,
                    const char* pszLocal) {
    FwStrRecordShorten(&FcTransEnglishRecord, 0);
    FwStrRecordShorten(&FcTransLocalRecord, 0);
    FwStrPutTextString(&FcTransEnglishRecord, FWT(pszEnglish));
    FwStrPutTextString(&FcTransLocalRecord, FWT(pszLocal));
    FcTranslNode* pNode = FcTranslGetNextNode(&file_);
    EXPECT_TRUE(FcTranslNodeInitData(pNode));
    EXPECT_NE(nullptr,
              FwHashAddEntry(pTable, reinterpret_cast<void*>(uintptr_t{nKey}), pNode, nullptr));
    return pNode;
  }

  FcTranslFile file_ = {};
};

#endif
