// Entries: their chains, their texts, their locks.
#include <cstring>

#include "fcboot.h"
#include "fcpp.h"
#include "fctransl.h"
#include "fwmem.h"
#include "vqassert.h"

namespace {

constexpr FwByte kLockLimit = 255;

// A node whose text can't be read equals no other. Nodes that share a chain are compared when they
// are added, so of an entry read on demand the text is read then.
bool SameEnglish(FcTranslNode* pNode1, FcTranslNode* pNode2) {
  if (!FcTranslEnsureData(pNode1) || !FcTranslEnsureData(pNode2)) return false;
  return FwStrCompare(FcTranslNodeEnglish(pNode1), FcTranslNodeEnglish(pNode2)) == 0;
}

// Accounts for a node that is about to leave its chain: if none before it has its text, the next
// one with its text is what it overrode.
void EndOverride(FcTranslNode* pHead, FcTranslNode* pNode) {
  if (pHead->pNext == nullptr) return;
  for (FcTranslNode* p = pHead; p != pNode; p = p->pNext) {
    if (SameEnglish(p, pNode)) return;
  }
  for (FcTranslNode* p = pNode->pNext; p != nullptr; p = p->pNext) {
    if (SameEnglish(p, pNode)) {
      p->pFile->nOverrides--;
      return;
    }
  }
}

int32 FcTranslRemoveNodesCallback(FwHashEntry* pEntry, void* pContext, FwErrorState*) {
  FwTextString ptbzFileName = static_cast<FwTextString>(pContext);
  FcTranslNode* pHead = static_cast<FcTranslNode*>(pEntry->value);
  FcTranslNode** ppNode = &pHead;
  while (*ppNode != nullptr) {
    FcTranslNode* pNode = *ppNode;
    if (ptbzFileName == nullptr || FwStrCompare(pNode->pFile->ptbzFileName, ptbzFileName) == 0) {
      EndOverride(pHead, pNode);
      *ppNode = pNode->pNext;
      pNode->pNext = nullptr;
    } else {
      ppNode = &pNode->pNext;
    }
  }
  pEntry->value = pHead;
  return 1;
}

int32 FcTranslCountLockedNodesCallback(FwHashEntry* pEntry, void* pContext, FwErrorState*) {
  FcTranslNodeInUseCount* pCount = static_cast<FcTranslNodeInUseCount*>(pContext);
  for (FcTranslNode* p = static_cast<FcTranslNode*>(pEntry->value); p != nullptr; p = p->pNext) {
    if (p->pbData == nullptr || p->pbData[0] == 0) continue;
    if (FwStrCompare(p->pFile->ptbzFileName, pCount->ptbzFileName) != 0) continue;
    if (g_fTrace_fwtransl) {
      FwTrace("FcTranslCountLockedNodesCallback: '%s' is in use", FWC(FcTranslNodeEnglish(p)));
    }
    pCount->nCount++;
  }
  return 1;
}

}  // namespace

FwTextString FcTranslNodeEnglish(FcTranslNode* pNode) {
  return FwExpect(pNode->pbData != nullptr, "Node data not loaded!") ? pNode->pbData + 1 : nullptr;
}

FwTextString FcTranslNodeLocal(FcTranslNode* pNode) {
  FwTextString ptbzEnglish = FcTranslNodeEnglish(pNode);
  return ptbzEnglish == nullptr ? nullptr : ptbzEnglish + std::strlen(FWC(ptbzEnglish)) + 1;
}

FcTranslNode* FcTranslGetNextNode(FcTranslFile* pFile) {
  FcTranslNodeBlock* pBlock = pFile->pNodeBlock;
  if (pBlock == nullptr || pBlock->nNextNodeToUse == kFcTranslNodesInBlock) {
    pBlock = make<FcTranslNodeBlock>();
    pBlock->pNext = pFile->pNodeBlock;
    pFile->pNodeBlock = pBlock;
  }
  FcTranslNode* pNode = &pBlock->aNodes[pBlock->nNextNodeToUse++];
  pNode->pFile = pFile;
  return pNode;
}

int32 FcTranslNodeInitData(FcTranslNode* pNode) {
  if (!FwExpect(pNode->pbData == nullptr, "FcTranslNodeInitData: Node data already loaded"))
    return 0;
  std::size_t cbEnglish = std::strlen(FWC(FcTransEnglishRecord.pbz)) + 1;
  std::size_t cbLocal = std::strlen(FWC(FcTransLocalRecord.pbz)) + 1;
  FwByte* pbData =
      static_cast<FwByte*>(FwMemAlloc(1 + cbEnglish + cbLocal, ALLOC_MAY_FAIL | INIT_NONE));
  if (pbData == nullptr) return 0;
  pbData[0] = 0;
  std::memcpy(pbData + 1, FcTransEnglishRecord.pbz, cbEnglish);
  std::memcpy(pbData + 1 + cbEnglish, FcTransLocalRecord.pbz, cbLocal);
  pNode->pbData = pbData;
  return 1;
}

bool FcTranslEnsureData(FcTranslNode* pNode) {
  return pNode->pbData != nullptr || FcTranslLoadNodeData(pNode);
}

FcTranslNode* FcTranslFindChain(FwHashTable* pTable, uint32 nHash) {
  FwHashEntry* pEntry =
      FwHashLookupEntry(pTable, reinterpret_cast<void*>(uintptr_t{nHash}), nullptr);
  return pEntry == nullptr ? nullptr : static_cast<FcTranslNode*>(pEntry->value);
}

int32 FcTranslSameFile(FcTranslFile* pFile1, FcTranslFile* pFile2) {
  return FwStrCompare(pFile1->ptbzFileName, pFile2->ptbzFileName) == 0;
}

int32 FcTranslHashAddNode(FwHashEntry* pEntry, void* key, void* value, int32 fNew, FwErrorState*) {
  FcTranslNode* pNew = static_cast<FcTranslNode*>(value);
  if (fNew) {
    pEntry->key = key;
    pEntry->value = nullptr;
  }
  if (!FwExpect(pNew->pNext == nullptr, "FcTranslHashAddNode: internal error")) return 1;
  FcTranslNode* pHead = static_cast<FcTranslNode*>(pEntry->value);
  FcTranslNode* pFound = pHead;
  while (pFound != nullptr && !SameEnglish(pFound, pNew)) {
    pFound = pFound->pNext;
  }
  if (pFound != nullptr) {
    if (FcTranslSameFile(pFound->pFile, pNew->pFile)) {
      fcBootContext.control.logf("WARNING: In file '%s': Duplicate US text \"%s\"\n",
                                 FWC(pNew->pFile->ptbzFileName), FWC(FcTranslNodeEnglish(pNew)));
      return 1;
    }
    if (pFound->pFile->nOverrides >= pFound->pFile->nMaxOverrides) return 1;
    pFound->pFile->nOverrides++;
  }
  pNew->pNext = pHead;
  pEntry->value = pNew;
  return 1;
}

void FcTranslRemoveNodes(FcTranslDatabase* pDatabase, FwTextString ptbzFileName) {
  FwHashEnumerateEntries(pDatabase->fixedStrings, FcTranslRemoveNodesCallback, ptbzFileName,
                         nullptr);
  FwHashEnumerateEntries(pDatabase->msgTemplates, FcTranslRemoveNodesCallback, ptbzFileName,
                         nullptr);
}

void FcTranslLockNode(FcTranslNode* pNode) {
  FwByte* pnLocks = &pNode->pbData[0];
  if (*pnLocks == kLockLimit) return;
  ++*pnLocks;
  FwAssert(*pnLocks != kLockLimit, "FcTranslLockNode: lock count has reached 255");
}

void FcTranslUnlockNode(FcTranslNode* pNode) {
  FwByte* pnLocks = &pNode->pbData[0];
  // At the limit locks were lost count of, so the node stays locked.
  if (FwExpect(*pnLocks != 0, "FcTranslUnlockNode: node is not locked") && *pnLocks != kLockLimit)
    --*pnLocks;
}

int32 FcTranslCountLockedNodes(FcTranslDatabase* pDatabase, FwTextString ptbzFileName) {
  FcTranslNodeInUseCount count = {ptbzFileName, 0};
  FwHashEnumerateEntries(pDatabase->fixedStrings, FcTranslCountLockedNodesCallback, &count,
                         nullptr);
  FwHashEnumerateEntries(pDatabase->msgTemplates, FcTranslCountLockedNodesCallback, &count,
                         nullptr);
  return count.nCount;
}

void FcTranslFreeNodeBlocks(FcTranslFile* pFile) {
  while (pFile->pNodeBlock != nullptr) {
    FcTranslNodeBlock* pBlock = pFile->pNodeBlock;
    pFile->pNodeBlock = pBlock->pNext;
    for (uint32 i = 0; i < pBlock->nNextNodeToUse; i++) {
      FwMemFreeAndClear(&pBlock->aNodes[i].pbData);
    }
    FwMemFree(pBlock);
  }
}
