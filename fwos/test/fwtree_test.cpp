#include "fwtree.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fwobserv.h"
#include "recorder.h"

namespace {

FwTree* Root() {
  return static_cast<FwTree*>(Fw_msg_CreateAndLink(&FwTreeClass, nullptr, nullptr));
}

FwTree* Below(FwObj* pParent, FwObj* pAfterThis = FW_TREE_LINK_LAST) {
  return static_cast<FwTree*>(Fw_msg_CreateAndLink(&FwTreeClass, pParent, pAfterThis));
}

std::vector<FwObj*> Children(FwObj* pObj) {
  std::vector<FwObj*> children;
  for (FwObj* p = Fw_msg_EnumerateChildren(pObj, nullptr); p != nullptr;
       p = Fw_msg_EnumerateChildren(pObj, p))
    children.push_back(p);
  return children;
}

using Objects = std::vector<FwObj*>;

int32 IsOneOf(FwObj* pObj, void* pvPredicateData) {
  for (FwObj* p : *static_cast<Objects*>(pvPredicateData)) {
    if (p == pObj) return 1;
  }
  return 0;
}

// a(b(c), d)
class FwTreeOfFour : public testing::Test {
 protected:
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(b);
  FwTree* d = Below(a);

  void TearDown() override { Fw_msg_Destroy(a); }
};

// A class whose first child is hidden from enumeration.
FwObj* ShyEnumerateChildren(FwObj* pObj, FwObj* pStartAfter) {
  FwObj* pFrom = pStartAfter == nullptr ? static_cast<FwTree*>(pObj)->pChildren : pStartAfter;
  return pFrom == nullptr ? nullptr : static_cast<FwTree*>(pFrom)->pNext;
}
const FwIntercept ShyMethods[] = {
    {_Fw_msg_EnumerateChildren_Handle, FwMethodOf(ShyEnumerateChildren)}, {nullptr, nullptr}};
const FwClassRecord ShyClass = {FW_CLASS_COOKIE, "Shy",      sizeof(FwTree),
                                &FwTreeClass,    ShyMethods, 0};

std::vector<std::uintptr_t> destroyed;
void NoteDestroyed(void* /*pObserver*/, void* /*pSubject*/, FwObj* pChange, void* /*pContext*/) {
  destroyed.push_back(
      reinterpret_cast<std::uintptr_t>(static_cast<FwChangeDestroy*>(pChange)->pElement));
}

}  // namespace

TEST(FwTree, TheFirstChildGoesToTheHeadEvenWhenLinkedLast) {
  FwTree* a = Root();
  FwTree* b = Below(a, FW_TREE_LINK_LAST);
  EXPECT_EQ(b, a->pChildren);
  EXPECT_EQ(nullptr, b->pNext);
  EXPECT_EQ(a, b->pParent);
  Fw_msg_Destroy(a);
}

TEST(FwTree, TheFirstChildGoesToTheHeadWhateverItWasToFollow) {
  FwTree* a = Root();
  FwTree* other = Root();
  FwTree* b = Below(a, other);  // the empty case is taken first: no sibling is looked at
  EXPECT_EQ(b, a->pChildren);
  Fw_msg_Destroy(a);
  Fw_msg_Destroy(other);
}

TEST(FwTree, ARootHasNoLinks) {
  FwTree* a = static_cast<FwTree*>(Fw_msg_CreateAndLink(&FwTreeClass, nullptr, FW_TREE_LINK_LAST));
  EXPECT_EQ(&FwTreeClass, a->pClassRecord);
  EXPECT_EQ(nullptr, a->pNext);
  EXPECT_EQ(nullptr, a->pParent);
  EXPECT_EQ(nullptr, a->pChildren);
  Fw_msg_Destroy(a);
}

TEST(FwTree, ChildrenLinkedFirstEnumerateInReverseOrderOfCreation) {
  FwTree* a = Root();
  FwTree* b = Below(a, FW_TREE_LINK_FIRST);
  FwTree* c = Below(a, FW_TREE_LINK_FIRST);
  FwTree* d = Below(a, FW_TREE_LINK_FIRST);
  EXPECT_EQ((Objects{d, c, b}), Children(a));
  Fw_msg_Destroy(a);
}

TEST(FwTree, ChildrenLinkedLastEnumerateInOrderOfCreation) {
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a);
  EXPECT_EQ((Objects{b, c, d}), Children(a));
  Fw_msg_Destroy(a);
}

TEST(FwTree, AChildMayFollowAGivenSibling) {
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a, b);
  FwTree* e = Below(a, c);
  EXPECT_EQ((Objects{b, d, c, e}), Children(a));
  Fw_msg_Destroy(a);
}

TEST(FwTree, FollowingAChildOfAnotherParentIsRefused) {
  FwTree* a = Root();
  Below(a);
  FwTree* other = Root();
  FwTree* child = Below(other);
  {
    ExpectAsserts expected({"Invalid tree creation", "Invalid tree creation"});
    EXPECT_EQ(nullptr, Below(a, child));
    EXPECT_EQ(nullptr, Below(a, nullptr));
  }
  EXPECT_EQ(1u, Children(a).size());
  EXPECT_EQ((Objects{child}), Children(other));
  Fw_msg_Destroy(a);
  Fw_msg_Destroy(other);
}

TEST_F(FwTreeOfFour, DescendantsComeInPreOrder) {
  EXPECT_EQ(b, Fw_msg_EnumerateDescendants(a, nullptr));
  EXPECT_EQ(c, Fw_msg_EnumerateDescendants(a, b));
  EXPECT_EQ(d, Fw_msg_EnumerateDescendants(a, c));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateDescendants(a, d));
}

TEST_F(FwTreeOfFour, DescendantsOfAnInnerNodeEndAtIt) {
  EXPECT_EQ(c, Fw_msg_EnumerateDescendants(b, nullptr));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateDescendants(b, c));
}

TEST_F(FwTreeOfFour, DescendantsFromANodeOutsideEndAtTheTop) {
  EXPECT_EQ(nullptr, Fw_msg_EnumerateDescendants(b, d));
}

TEST(FwTree, DescendantsOfALoneNodeAreNone) {
  FwTree* a = Root();
  EXPECT_EQ(nullptr, Fw_msg_EnumerateDescendants(a, nullptr));
  Fw_msg_Destroy(a);
}

TEST_F(FwTreeOfFour, TheRootIsFoundFromAnywhere) {
  EXPECT_EQ(a, Fw_msg_GetRoot(a));
  EXPECT_EQ(a, Fw_msg_GetRoot(c));
  EXPECT_EQ(a, Fw_msg_GetRoot(d));
}

TEST_F(FwTreeOfFour, ANodeIsItsOwnDescendant) {
  EXPECT_EQ(1, Fw_msg_IsDescendant(a, a));
}

TEST_F(FwTreeOfFour, TheReceiverIsTheAncestor) {
  EXPECT_EQ(1, Fw_msg_IsDescendant(a, c));
  EXPECT_EQ(1, Fw_msg_IsDescendant(b, c));
  EXPECT_EQ(0, Fw_msg_IsDescendant(c, a));
  EXPECT_EQ(0, Fw_msg_IsDescendant(d, c));
}

TEST_F(FwTreeOfFour, WhatIsNotATreeIsNotADescendant) {
  FwChange change;
  Fw_msg_Create(&change, &FwChangeClass);
  ExpectAsserts expected({"Not tree", "Not tree"});
  EXPECT_EQ(0, Fw_msg_IsDescendant(a, &change));
  EXPECT_EQ(0, Fw_msg_IsDescendant(a, nullptr));
}

TEST_F(FwTreeOfFour, EnumeratingChildrenWantsTrees) {
  FwChange change;
  Fw_msg_Create(&change, &FwChangeClass);
  auto* enumerate =
      FwClassFindMethodAs<FwObj*(FwObj*, FwObj*)>(_Fw_msg_EnumerateChildren_Handle, &FwTreeClass);
  ExpectAsserts expected({"Not tree", "Not tree"});
  EXPECT_EQ(nullptr, enumerate(&change, nullptr));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateChildren(a, &change));
}

TEST_F(FwTreeOfFour, EnumeratingDescendantsFromWhatIsNotATreeEnds) {
  FwChange change;
  Fw_msg_Create(&change, &FwChangeClass);
  ExpectAsserts expected({"Message not found"});
  EXPECT_EQ(nullptr, Fw_msg_EnumerateDescendants(a, &change));
}

TEST_F(FwTreeOfFour, ChildrenAreFoundByIndex) {
  EXPECT_EQ(b, Fw_msg_AtIndex(a, 0));
  EXPECT_EQ(d, Fw_msg_AtIndex(a, 1));
  EXPECT_EQ(nullptr, Fw_msg_AtIndex(a, 2));
  EXPECT_EQ(nullptr, Fw_msg_AtIndex(a, 0xFFFFFFFF));
  EXPECT_EQ(nullptr, Fw_msg_AtIndex(c, 0));
}

TEST(FwTree, MatchingFormsLookAtMatchesOnly) {
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a);
  FwTree* e = Below(c);
  FwTree* f = Below(a);
  Objects wanted{c, e, f};
  EXPECT_EQ(c, Fw_msg_EnumerateChildrenMatching(a, nullptr, IsOneOf, &wanted));
  EXPECT_EQ(f, Fw_msg_EnumerateChildrenMatching(a, c, IsOneOf, &wanted));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateChildrenMatching(a, f, IsOneOf, &wanted));
  EXPECT_EQ(c, Fw_msg_EnumerateDescendantsMatching(a, nullptr, IsOneOf, &wanted));
  EXPECT_EQ(e, Fw_msg_EnumerateDescendantsMatching(a, c, IsOneOf, &wanted));
  EXPECT_EQ(f, Fw_msg_EnumerateDescendantsMatching(a, e, IsOneOf, &wanted));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateDescendantsMatching(a, f, IsOneOf, &wanted));
  EXPECT_EQ(c, Fw_msg_IthMatching(a, 0, IsOneOf, &wanted));
  EXPECT_EQ(f, Fw_msg_IthMatching(a, 1, IsOneOf, &wanted));
  EXPECT_EQ(nullptr, Fw_msg_IthMatching(a, 2, IsOneOf, &wanted));
  EXPECT_EQ(0u, Fw_msg_PredecessorsMatching(b, IsOneOf, &wanted));
  EXPECT_EQ(0u, Fw_msg_PredecessorsMatching(c, IsOneOf, &wanted));
  EXPECT_EQ(1u, Fw_msg_PredecessorsMatching(d, IsOneOf, &wanted));
  EXPECT_EQ(1u, Fw_msg_PredecessorsMatching(f, IsOneOf, &wanted));
  EXPECT_EQ(nullptr, Fw_msg_EnumerateChildrenMatching(a, nullptr, FwTree_False, nullptr));
  Fw_msg_Destroy(a);
}

TEST_F(FwTreeOfFour, PredecessorsMatchingTrueEqualTheIndexInParent) {
  for (FwObj* pObj : Objects{b, c, d})
    EXPECT_EQ(Fw_msg_PredecessorsMatching(pObj, FwTree_True, nullptr), Fw_msg_IndexInParent(pObj));
  EXPECT_EQ(0u, Fw_msg_IndexInParent(b));
  EXPECT_EQ(1u, Fw_msg_IndexInParent(d));
}

TEST(FwTree, ReadyPredicatesAnswerAsTheirNamesSay) {
  int32 constant = 7;
  EXPECT_EQ(1, FwTree_True(nullptr, nullptr));
  EXPECT_EQ(0, FwTree_False(nullptr, nullptr));
  EXPECT_EQ(7, FwTree_Constant(nullptr, &constant));
}

TEST_F(FwTreeOfFour, ARootHasNoIndex) {
  ExpectAsserts expected({"No parent", "No parent"});
  EXPECT_EQ(0u, Fw_msg_IndexInParent(a));
  EXPECT_EQ(0u, Fw_msg_PredecessorsMatching(a, FwTree_True, nullptr));
}

TEST_F(FwTreeOfFour, ANodeThatItsParentDoesNotKnowIsReported) {
  FwTree* stray = Root();
  stray->pParent = a;
  {
    ExpectAsserts expected({"child not found in parent", "child not found in parent",
                            "Cannot find node in parents children"});
    EXPECT_EQ(0u, Fw_msg_IndexInParent(stray));
    EXPECT_EQ(0u, Fw_msg_PredecessorsMatching(stray, FwTree_True, nullptr));
    Fw_msg_Destroy(stray);
  }
  EXPECT_EQ((Objects{b, d}), Children(a));
}

TEST(FwTree, DestroyingNothingIsReported) {
  ExpectAsserts expected({"Cannot destroy null node"});
  FwClassFindMethodAs<Fw_msg_Destroy_Fn>(_Fw_msg_Destroy_Handle, &FwTreeClass)(nullptr);
}

TEST(FwTree, DestructionGoesBottomUpAndUnlinks) {
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(b);
  FwTree* d = Below(b);
  FwTree* e = Below(a);
  const std::vector<std::uintptr_t> order = {reinterpret_cast<std::uintptr_t>(c),
                                             reinterpret_cast<std::uintptr_t>(d),
                                             reinterpret_cast<std::uintptr_t>(b)};
  destroyed.clear();
  int observer = 0;
  FwObserveStart(&observer, const_cast<FwClassRecord*>(&FwTreeClass), &FwChangeDestroyClass,
                 NoteDestroyed, nullptr, nullptr);
  Fw_msg_Destroy(b);
  FwObserveEnd(&observer, nullptr, nullptr);
  EXPECT_EQ(order, destroyed);
  EXPECT_EQ((Objects{e}), Children(a));
  Fw_msg_Destroy(a);
}

TEST(FwTree, DestroyingALaterChildKeepsTheEarlierOnes) {
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a);
  Fw_msg_Destroy(c);
  EXPECT_EQ((Objects{b, d}), Children(a));
  Fw_msg_Destroy(d);
  EXPECT_EQ((Objects{b}), Children(a));
  Fw_msg_Destroy(a);
}

TEST(FwTree, ReplacingTheEnumerationOfChildrenChangesWhatIsBuiltOnIt) {
  auto* a = static_cast<FwTree*>(Fw_msg_CreateAndLink(&ShyClass, nullptr, nullptr));
  Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a);
  EXPECT_EQ(c, Fw_msg_AtIndex(a, 0));
  EXPECT_EQ(d, Fw_msg_AtIndex(a, 1));
  EXPECT_EQ(0u, Fw_msg_IndexInParent(c));
  EXPECT_EQ(1u, Fw_msg_IndexInParent(d));
  EXPECT_EQ(1u, Fw_msg_PredecessorsMatching(d, FwTree_True, nullptr));
  EXPECT_EQ(c, Fw_msg_EnumerateDescendants(a, nullptr));
  Fw_msg_Destroy(a);
}
