// Trees: a class whose instances have a parent and an ordered list of children.
//
//   for (FwObj* pChild = Fw_msg_EnumerateChildren(pObj, nullptr); pChild != nullptr;
//        pChild = Fw_msg_EnumerateChildren(pObj, pChild)) ...
//
// Each enumeration is built on the simpler ones through messages, so a subclass that replaces
// Fw_msg_EnumerateChildren changes all of them. Misuse is an assertion; nothing here takes an error
// state.
#ifndef FWTREE_H
#define FWTREE_H

#include "fwclass.h"

struct FwTree : FwObject {
  FwTree* pNext = nullptr;      // next sibling
  FwTree* pParent = nullptr;    // null for a root
  FwTree* pChildren = nullptr;  // first child
};

extern const FwClassRecord FwTreeClass;

// Where a new node goes among its siblings, in place of the sibling that it is to follow.
#define FW_TREE_LINK_LAST (reinterpret_cast<FwObj*>(std::uintptr_t{1}))
#define FW_TREE_LINK_FIRST (reinterpret_cast<FwObj*>(std::uintptr_t{3}))

// Non-zero for a match.
using Fw_ObjectPredicate = int32(FwObj* pObj, void* pvPredicateData);

extern const char _Fw_msg_CreateAndLink_Handle[];
extern const char _Fw_msg_GetRoot_Handle[];
extern const char _Fw_msg_IsDescendant_Handle[];
extern const char _Fw_msg_EnumerateChildren_Handle[];
extern const char _Fw_msg_EnumerateChildrenMatching_Handle[];
extern const char _Fw_msg_EnumerateDescendants_Handle[];
extern const char _Fw_msg_EnumerateDescendantsMatching_Handle[];
extern const char _Fw_msg_AtIndex_Handle[];
extern const char _Fw_msg_IthMatching_Handle[];
extern const char _Fw_msg_IndexInParent_Handle[];
extern const char _Fw_msg_PredecessorsMatching_Handle[];

// Creates a node on the heap and links it under pParent, or as a root for null. pAfterThis is a
// child of pParent, FW_TREE_LINK_LAST or FW_TREE_LINK_FIRST. Exhausted memory ends the program.
// Asserts "Invalid tree creation" if pAfterThis is not a child of pParent; no node is made then.
FwObj* Fw_msg_CreateAndLink(const FwClassRecord* pClassRecord, FwObj* pParent, FwObj* pAfterThis);

// The method's signature has the memory to construct in, which the sender always gives as null.
using Fw_msg_CreateAndLink_Fn = FwObj*(FwObj* pObj, const FwClassRecord* pClassRecord,
                                       FwObj* pParent, FwObj* pAfterThis);

// The top of the tree.
FwObj* Fw_msg_GetRoot(FwObj* pObj);

// 1 if pObj2 is pObj or lies below it: the receiver is the ancestor.
// Asserts "Not tree" if pObj2 is null or not a tree; 0 then.
int32 Fw_msg_IsDescendant(FwObj* pObj, FwObj* pObj2);

// The first child for a null pStartAfter, otherwise its next sibling; null at the end.
// Asserts "Not tree".
FwObj* Fw_msg_EnumerateChildren(FwObj* pObj, FwObj* pStartAfter);

// The next child for which the predicate is non-zero.
FwObj* Fw_msg_EnumerateChildrenMatching(FwObj* pObj, FwObj* pStartAfter,
                                        Fw_ObjectPredicate* pxPredicate, void* pvPredicateData);

// The next node below pObj in pre-order, from the start for a null pStartAfter; null at the end.
FwObj* Fw_msg_EnumerateDescendants(FwObj* pObj, FwObj* pStartAfter);

// The next descendant for which the predicate is non-zero.
FwObj* Fw_msg_EnumerateDescendantsMatching(FwObj* pObj, FwObj* pStartAfter,
                                           Fw_ObjectPredicate* pxPredicate, void* pvPredicateData);

// The child at a position counted from 0, or null.
FwObj* Fw_msg_AtIndex(FwObj* pObj, uint32 index);

// The matching child at a position counted from 0 among the matching ones, or null.
FwObj* Fw_msg_IthMatching(FwObj* pObj, uint32 index, Fw_ObjectPredicate* pxPredicate,
                          void* pvPredicateData);

// The position among the siblings, from 0.
// Asserts "No parent" for a root, "child not found in parent" for a damaged tree; 0 then.
uint32 Fw_msg_IndexInParent(FwObj* pObj);

// How many earlier siblings match. Asserts like Fw_msg_IndexInParent.
uint32 Fw_msg_PredecessorsMatching(FwObj* pObj, Fw_ObjectPredicate* pxPredicate,
                                   void* pvPredicateData);

// Ready predicates: always 1, always 0, and the int32 at pvPredicateData.
int32 FwTree_True(FwObj* pObj, void* pvPredicateData);
int32 FwTree_False(FwObj* pObj, void* pvPredicateData);
int32 FwTree_Constant(FwObj* pObj, void* pvPredicateData);

#endif
