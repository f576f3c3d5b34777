#include "fwtree.h"

#include "fcclass.h"
#include "fwmem.h"
#include "vqassert.h"

namespace {

using OneNodeFn = FwObj*(FwObj* pObj);
using IsDescendantFn = int32(FwObj* pObj, FwObj* pObj2);
using EnumerateFn = FwObj*(FwObj* pObj, FwObj* pStartAfter);
using EnumerateMatchingFn = FwObj*(FwObj* pObj, FwObj* pStartAfter, Fw_ObjectPredicate* pxPredicate,
                                   void* pvPredicateData);
using AtIndexFn = FwObj*(FwObj* pObj, uint32 index);
using IthMatchingFn = FwObj*(FwObj* pObj, uint32 index, Fw_ObjectPredicate* pxPredicate,
                             void* pvPredicateData);
using IndexInParentFn = uint32(FwObj* pObj);
using PredecessorsMatchingFn = uint32(FwObj* pObj, Fw_ObjectPredicate* pxPredicate,
                                      void* pvPredicateData);

FwTree* Node(FwObj* pObj) {
  return static_cast<FwTree*>(pObj);
}

bool IsTree(FwObj* pObj) {
  return pObj != nullptr && Fw_msg_classInheritsFrom(pObj, &FwTreeClass) != 0;
}

// Puts a node among the children of its parent. False if pAfterThis is none of them.
bool Link(FwTree* pNode, FwObj* pAfterThis) {
  FwTree* pParent = pNode->pParent;
  if (pAfterThis == FW_TREE_LINK_FIRST || pParent->pChildren == nullptr) {
    pNode->pNext = pParent->pChildren;
    pParent->pChildren = pNode;
    return true;
  }
  FwTree* pPrevious;
  if (pAfterThis == FW_TREE_LINK_LAST) {
    pPrevious = pParent->pChildren;
    while (pPrevious->pNext != nullptr)
      pPrevious = pPrevious->pNext;
  } else {
    pPrevious = Node(pAfterThis);
    if (!FwExpect(pPrevious != nullptr && pPrevious->pParent == pParent, "Invalid tree creation"))
      return false;
  }
  pNode->pNext = pPrevious->pNext;
  pPrevious->pNext = pNode;
  return true;
}

FwObj* FcTree_method_Create(FwObj* pObj, const FwClassRecord* pClassRecord, FwObj* pParent,
                            FwObj* pAfterThis) {
  const bool allocated = pObj == nullptr;
  if (allocated) {
    pObj = FwClassAlloc(pClassRecord, ALLOC_MUST_SUCCEED);
    if (pObj == nullptr) return nullptr;
  }
  FwTree* pNode = Node(pObj);
  pNode->pNext = nullptr;
  pNode->pParent = Node(pParent);
  pNode->pChildren = nullptr;

  auto* create = FcSuperMethod<Fw_msg_Create_Fn>(_Fw_msg_Create_Handle, FwTreeClass);
  if (create(pObj, pClassRecord) == nullptr) FwMemExitMemoryExhausted();

  if (pParent != nullptr && !Link(pNode, pAfterThis)) {
    pNode->pParent = nullptr;
    if (allocated) Fw_msg_Destroy(pObj);
    return nullptr;
  }
  return pObj;
}

void Unlink(FwTree* pNode) {
  FwTree** ppLink = &pNode->pParent->pChildren;
  while (*ppLink != nullptr && *ppLink != pNode)
    ppLink = &(*ppLink)->pNext;
  if (FwExpect(*ppLink != nullptr, "Cannot find node in parents children")) *ppLink = pNode->pNext;
}

void FcTree_method_Destroy(FwObj* pObj) {
  if (!FwExpect(pObj != nullptr, "Cannot destroy null node")) return;
  FwTree* pNode = Node(pObj);
  FwTree* pNext;
  for (FwTree* pChild = pNode->pChildren; pChild != nullptr; pChild = pNext) {
    pNext = pChild->pNext;
    Fw_msg_Destroy(pChild);
  }
  if (pNode->pParent != nullptr) Unlink(pNode);
  FcSuperMethod<Fw_msg_Destroy_Fn>(_Fw_msg_Destroy_Handle, FwTreeClass)(pObj);
}

FwObj* FcTree_method_GetRoot(FwObj* pObj) {
  FwTree* pParent = Node(pObj)->pParent;
  return pParent == nullptr ? pObj : Fw_msg_GetRoot(pParent);
}

int32 FcTree_method_IsDescendant(FwObj* pObj, FwObj* pObj2) {
  if (!FwExpect(IsTree(pObj2), "Not tree")) return 0;
  if (pObj == pObj2) return 1;
  FwTree* pParent = Node(pObj2)->pParent;
  return pParent == nullptr ? 0 : Fw_msg_IsDescendant(pObj, pParent);
}

FwObj* FcTree_method_EnumerateChildren(FwObj* pObj, FwObj* pStartAfter) {
  if (!FwExpect(IsTree(pObj) && (pStartAfter == nullptr || IsTree(pStartAfter)), "Not tree"))
    return nullptr;
  return pStartAfter == nullptr ? Node(pObj)->pChildren : Node(pStartAfter)->pNext;
}

FwObj* FcTree_method_EnumerateChildrenMatching(FwObj* pObj, FwObj* pStartAfter,
                                               Fw_ObjectPredicate* pxPredicate,
                                               void* pvPredicateData) {
  do {
    pStartAfter = Fw_msg_EnumerateChildren(pObj, pStartAfter);
  } while (pStartAfter != nullptr && pxPredicate(pStartAfter, pvPredicateData) == 0);
  return pStartAfter;
}

FwObj* FcTree_method_EnumerateDescendants(FwObj* pObj, FwObj* pStartAfter) {
  FwObj* pCurrent = pStartAfter == nullptr ? pObj : pStartAfter;
  FwObj* pChild = Fw_msg_EnumerateChildren(pCurrent, nullptr);
  if (pChild != nullptr) return pChild;
  // A start that is not a node of this tree ends above its own root.
  while (pCurrent != pObj && IsTree(pCurrent)) {
    FwTree* pParent = Node(pCurrent)->pParent;
    FwObj* pSibling = pParent == nullptr ? nullptr : Fw_msg_EnumerateChildren(pParent, pCurrent);
    if (pSibling != nullptr) return pSibling;
    pCurrent = pParent;
  }
  return nullptr;
}

FwObj* FcTree_method_EnumerateDescendantsMatching(FwObj* pObj, FwObj* pStartAfter,
                                                  Fw_ObjectPredicate* pxPredicate,
                                                  void* pvPredicateData) {
  do {
    pStartAfter = Fw_msg_EnumerateDescendants(pObj, pStartAfter);
  } while (pStartAfter != nullptr && pxPredicate(pStartAfter, pvPredicateData) == 0);
  return pStartAfter;
}

FwObj* FcTree_method_AtIndex(FwObj* pObj, uint32 index) {
  FwObj* pChild = Fw_msg_EnumerateChildren(pObj, nullptr);
  for (; pChild != nullptr && index > 0; index--)
    pChild = Fw_msg_EnumerateChildren(pObj, pChild);
  return pChild;
}

FwObj* FcTree_method_IthMatching(FwObj* pObj, uint32 index, Fw_ObjectPredicate* pxPredicate,
                                 void* pvPredicateData) {
  FwObj* pChild = Fw_msg_EnumerateChildrenMatching(pObj, nullptr, pxPredicate, pvPredicateData);
  for (; pChild != nullptr && index > 0; index--)
    pChild = Fw_msg_EnumerateChildrenMatching(pObj, pChild, pxPredicate, pvPredicateData);
  return pChild;
}

uint32 FcTree_method_IndexInParent(FwObj* pObj) {
  FwObj* pParent = Node(pObj)->pParent;
  if (!FwExpect(pParent != nullptr, "No parent")) return 0;
  uint32 index = 0;
  FwObj* pChild = Fw_msg_EnumerateChildren(pParent, nullptr);
  for (; pChild != nullptr && pChild != pObj; pChild = Fw_msg_EnumerateChildren(pParent, pChild))
    index++;
  return FwExpect(pChild != nullptr, "child not found in parent") ? index : 0;
}

uint32 FcTree_method_PredecessorsMatching(FwObj* pObj, Fw_ObjectPredicate* pxPredicate,
                                          void* pvPredicateData) {
  FwObj* pParent = Node(pObj)->pParent;
  if (!FwExpect(pParent != nullptr, "No parent")) return 0;
  uint32 count = 0;
  FwObj* pChild = Fw_msg_EnumerateChildren(pParent, nullptr);
  for (; pChild != nullptr && pChild != pObj; pChild = Fw_msg_EnumerateChildren(pParent, pChild)) {
    if (pxPredicate(pChild, pvPredicateData) != 0) count++;
  }
  return FwExpect(pChild != nullptr, "child not found in parent") ? count : 0;
}

const FwIntercept FcTreeMethods[] = {
    {_Fw_msg_CreateAndLink_Handle, FwMethodOf(FcTree_method_Create)},
    {_Fw_msg_Create_Handle, nullptr},
    {_Fw_msg_Destroy_Handle, FwMethodOf(FcTree_method_Destroy)},
    {_Fw_msg_GetRoot_Handle, FwMethodOf(FcTree_method_GetRoot)},
    {_Fw_msg_IsDescendant_Handle, FwMethodOf(FcTree_method_IsDescendant)},
    {_Fw_msg_EnumerateChildren_Handle, FwMethodOf(FcTree_method_EnumerateChildren)},
    {_Fw_msg_EnumerateChildrenMatching_Handle, FwMethodOf(FcTree_method_EnumerateChildrenMatching)},
    {_Fw_msg_EnumerateDescendants_Handle, FwMethodOf(FcTree_method_EnumerateDescendants)},
    {_Fw_msg_EnumerateDescendantsMatching_Handle,
     FwMethodOf(FcTree_method_EnumerateDescendantsMatching)},
    {_Fw_msg_AtIndex_Handle, FwMethodOf(FcTree_method_AtIndex)},
    {_Fw_msg_IthMatching_Handle, FwMethodOf(FcTree_method_IthMatching)},
    {_Fw_msg_IndexInParent_Handle, FwMethodOf(FcTree_method_IndexInParent)},
    {_Fw_msg_PredecessorsMatching_Handle, FwMethodOf(FcTree_method_PredecessorsMatching)},
    {nullptr, nullptr},
};

}  // namespace

const char _Fw_msg_CreateAndLink_Handle[] = "Fw_msg_CreateAndLink";
const char _Fw_msg_GetRoot_Handle[] = "Fw_msg_GetRoot";
const char _Fw_msg_IsDescendant_Handle[] = "Fw_msg_IsDescendant";
const char _Fw_msg_EnumerateChildren_Handle[] = "Fw_msg_EnumerateChildren";
const char _Fw_msg_EnumerateChildrenMatching_Handle[] = "Fw_msg_EnumerateChildrenMatching";
const char _Fw_msg_EnumerateDescendants_Handle[] = "Fw_msg_EnumerateDescendants";
const char _Fw_msg_EnumerateDescendantsMatching_Handle[] = "Fw_msg_EnumerateDescendantsMatching";
const char _Fw_msg_AtIndex_Handle[] = "Fw_msg_AtIndex";
const char _Fw_msg_IthMatching_Handle[] = "Fw_msg_IthMatching";
const char _Fw_msg_IndexInParent_Handle[] = "Fw_msg_IndexInParent";
const char _Fw_msg_PredecessorsMatching_Handle[] = "Fw_msg_PredecessorsMatching";

const FwClassRecord FwTreeClass = {FW_CLASS_COOKIE, "TreeClass",   sizeof(FwTree),
                                   &FwObjectClass,  FcTreeMethods, 0};

FwObj* Fw_msg_CreateAndLink(const FwClassRecord* pClassRecord, FwObj* pParent, FwObj* pAfterThis) {
  auto* method =
      FwClassFindMethodAs<Fw_msg_CreateAndLink_Fn>(_Fw_msg_CreateAndLink_Handle, pClassRecord);
  return method == nullptr ? nullptr : method(nullptr, pClassRecord, pParent, pAfterThis);
}

FwObj* Fw_msg_GetRoot(FwObj* pObj) {
  auto* method = FwClassFindMethodAs<OneNodeFn>(_Fw_msg_GetRoot_Handle, FwClassOf(pObj));
  return method == nullptr ? nullptr : method(pObj);
}

int32 Fw_msg_IsDescendant(FwObj* pObj, FwObj* pObj2) {
  auto* method = FwClassFindMethodAs<IsDescendantFn>(_Fw_msg_IsDescendant_Handle, FwClassOf(pObj));
  return method == nullptr ? 0 : method(pObj, pObj2);
}

FwObj* Fw_msg_EnumerateChildren(FwObj* pObj, FwObj* pStartAfter) {
  auto* method =
      FwClassFindMethodAs<EnumerateFn>(_Fw_msg_EnumerateChildren_Handle, FwClassOf(pObj));
  return method == nullptr ? nullptr : method(pObj, pStartAfter);
}

FwObj* Fw_msg_EnumerateChildrenMatching(FwObj* pObj, FwObj* pStartAfter,
                                        Fw_ObjectPredicate* pxPredicate, void* pvPredicateData) {
  auto* method = FwClassFindMethodAs<EnumerateMatchingFn>(_Fw_msg_EnumerateChildrenMatching_Handle,
                                                          FwClassOf(pObj));
  return method == nullptr ? nullptr : method(pObj, pStartAfter, pxPredicate, pvPredicateData);
}

FwObj* Fw_msg_EnumerateDescendants(FwObj* pObj, FwObj* pStartAfter) {
  auto* method =
      FwClassFindMethodAs<EnumerateFn>(_Fw_msg_EnumerateDescendants_Handle, FwClassOf(pObj));
  return method == nullptr ? nullptr : method(pObj, pStartAfter);
}

FwObj* Fw_msg_EnumerateDescendantsMatching(FwObj* pObj, FwObj* pStartAfter,
                                           Fw_ObjectPredicate* pxPredicate, void* pvPredicateData) {
  auto* method = FwClassFindMethodAs<EnumerateMatchingFn>(
      _Fw_msg_EnumerateDescendantsMatching_Handle, FwClassOf(pObj));
  return method == nullptr ? nullptr : method(pObj, pStartAfter, pxPredicate, pvPredicateData);
}

FwObj* Fw_msg_AtIndex(FwObj* pObj, uint32 index) {
  auto* method = FwClassFindMethodAs<AtIndexFn>(_Fw_msg_AtIndex_Handle, FwClassOf(pObj));
  return method == nullptr ? nullptr : method(pObj, index);
}

FwObj* Fw_msg_IthMatching(FwObj* pObj, uint32 index, Fw_ObjectPredicate* pxPredicate,
                          void* pvPredicateData) {
  auto* method = FwClassFindMethodAs<IthMatchingFn>(_Fw_msg_IthMatching_Handle, FwClassOf(pObj));
  return method == nullptr ? nullptr : method(pObj, index, pxPredicate, pvPredicateData);
}

uint32 Fw_msg_IndexInParent(FwObj* pObj) {
  auto* method =
      FwClassFindMethodAs<IndexInParentFn>(_Fw_msg_IndexInParent_Handle, FwClassOf(pObj));
  return method == nullptr ? 0 : method(pObj);
}

uint32 Fw_msg_PredecessorsMatching(FwObj* pObj, Fw_ObjectPredicate* pxPredicate,
                                   void* pvPredicateData) {
  auto* method = FwClassFindMethodAs<PredecessorsMatchingFn>(_Fw_msg_PredecessorsMatching_Handle,
                                                             FwClassOf(pObj));
  return method == nullptr ? 0 : method(pObj, pxPredicate, pvPredicateData);
}

int32 FwTree_True(FwObj* /*pObj*/, void* /*pvPredicateData*/) {
  return 1;
}

int32 FwTree_False(FwObj* /*pObj*/, void* /*pvPredicateData*/) {
  return 0;
}

int32 FwTree_Constant(FwObj* /*pObj*/, void* pvPredicateData) {
  return *static_cast<int32*>(pvPredicateData);
}
