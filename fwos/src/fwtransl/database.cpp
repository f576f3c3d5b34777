// The one database of the layer, from boot to shutdown.
#include "fcboot.h"
#include "fctransl.h"
#include "fwmem.h"

int32 g_fTrace_fwtransl = 0;

FcTranslDatabase FcTranslationDatabase;

constinit const FwHashFunctions FcTranslTableFunctions = {nullptr, nullptr, FcTranslHashAddNode,
                                                          nullptr};

FwStrRecord FcTransLineRecord;
FwStrRecord FcTransEnglishRecord;
FwStrRecord FcTransLocalRecord;

namespace {

constexpr uint32 kRecordSize = 512;
constexpr uint32 kTableSize = 127;

FwHashTable* CreateTable() {
  FwHashTable* pTable = FwHashCreateTable(kTableSize, &FcTranslTableFunctions, nullptr);
  if (pTable == nullptr) FwMemExitMemoryExhausted();
  return pTable;
}

}  // namespace

void FcTranslInit() {
  FwStrRecordOpenSize(&FcTransLineRecord, kRecordSize);
  FwStrRecordOpenSize(&FcTransEnglishRecord, kRecordSize);
  FwStrRecordOpenSize(&FcTransLocalRecord, kRecordSize);
  FcTranslationDatabase.fixedStrings = CreateTable();
  FcTranslationDatabase.msgTemplates = CreateTable();
  FcTranslationDatabase.pMsgFiles = nullptr;
}

void FcTranslShutdown() {
  // A boot that ended in the midst of their making left no tables.
  if (FcTranslationDatabase.msgTemplates != nullptr) {
    FcTranslRemoveNodes(&FcTranslationDatabase, nullptr);
  }
  FwHashFreeTable(&FcTranslationDatabase.fixedStrings);
  FwHashFreeTable(&FcTranslationDatabase.msgTemplates);
  while (FcTranslationDatabase.pMsgFiles != nullptr) {
    FcTranslFile* pFile = FcTranslationDatabase.pMsgFiles;
    FcTranslationDatabase.pMsgFiles = pFile->pNext;
    FcTranslFreeFile(pFile);
  }
  FwStrRecordAbandon(&FcTransLineRecord);
  FwStrRecordAbandon(&FcTransEnglishRecord);
  FwStrRecordAbandon(&FcTransLocalRecord);
}
