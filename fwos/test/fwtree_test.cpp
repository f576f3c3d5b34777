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
  EXPECT_EQ(a->pChildren, b);
  EXPECT_EQ(b->pNext, nullptr);
  EXPECT_EQ(b->pParent, a);
  Fw_msg_Destroy(a);
}

TEST(FwTree, TheFirstChildGoesToTheHeadWhateverItWasToFollow) {
  FwTree* a = Root();
  FwTree* other = Root();
  FwTree* b = Below(a, other);  // the empty case is taken first: no sibling is looked at
  EXPECT_EQ(a->pChildren, b);
  Fw_msg_Destroy(a);
  Fw_msg_Destroy(other);
}

TEST(FwTree, ARootHasNoLinks) {
  FwTree* a = static_cast<FwTree*>(Fw_msg_CreateAndLink(&FwTreeClass, nullptr, FW_TREE_LINK_LAST));
  EXPECT_EQ(a->pClassRecord, &FwTreeClass);
  EXPECT_EQ(a->pNext, nullptr);
  EXPECT_EQ(a->pParent, nullptr);
  EXPECT_EQ(a->pChildren, nullptr);
  Fw_msg_Destroy(a);
}

TEST(FwTree, ChildrenLinkedFirstEnumerateInReverseOrderOfCreation) {
  FwTree* a = Root();
  FwTree* b = Below(a, FW_TREE_LINK_FIRST);
  FwTree* c = Below(a, FW_TREE_LINK_FIRST);
  FwTree* d = Below(a, FW_TREE_LINK_FIRST);
  EXPECT_EQ(Children(a), (Objects{d, c, b}));
  Fw_msg_Destroy(a);
}

TEST(FwTree, ChildrenLinkedLastEnumerateInOrderOfCreation) {
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a);
  EXPECT_EQ(Children(a), (Objects{b, c, d}));
  Fw_msg_Destroy(a);
}

TEST(FwTree, AChildMayFollowAGivenSibling) {
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a, b);
  FwTree* e = Below(a, c);
  EXPECT_EQ(Children(a), (Objects{b, d, c, e}));
  Fw_msg_Destroy(a);
}

TEST(FwTree, FollowingAChildOfAnotherParentIsRefused) {
  FwTree* a = Root();
  Below(a);
  FwTree* other = Root();
  FwTree* child = Below(other);
  {
    ExpectAsserts expected({"Invalid tree creation", "Invalid tree creation"});
    EXPECT_EQ(Below(a, child), nullptr);
    EXPECT_EQ(Below(a, nullptr), nullptr);
  }
  EXPECT_EQ(Children(a).size(), 1u);
  EXPECT_EQ(Children(other), (Objects{child}));
  Fw_msg_Destroy(a);
  Fw_msg_Destroy(other);
}

TEST_F(FwTreeOfFour, DescendantsComeInPreOrder) {
  EXPECT_EQ(Fw_msg_EnumerateDescendants(a, nullptr), b);
  EXPECT_EQ(Fw_msg_EnumerateDescendants(a, b), c);
  EXPECT_EQ(Fw_msg_EnumerateDescendants(a, c), d);
  EXPECT_EQ(Fw_msg_EnumerateDescendants(a, d), nullptr);
}

TEST_F(FwTreeOfFour, DescendantsOfAnInnerNodeEndAtIt) {
  EXPECT_EQ(Fw_msg_EnumerateDescendants(b, nullptr), c);
  EXPECT_EQ(Fw_msg_EnumerateDescendants(b, c), nullptr);
}

TEST_F(FwTreeOfFour, DescendantsFromANodeOutsideEndAtTheTop) {
  EXPECT_EQ(Fw_msg_EnumerateDescendants(b, d), nullptr);
}

TEST(FwTree, DescendantsOfALoneNodeAreNone) {
  FwTree* a = Root();
  EXPECT_EQ(Fw_msg_EnumerateDescendants(a, nullptr), nullptr);
  Fw_msg_Destroy(a);
}

TEST_F(FwTreeOfFour, TheRootIsFoundFromAnywhere) {
  EXPECT_EQ(Fw_msg_GetRoot(a), a);
  EXPECT_EQ(Fw_msg_GetRoot(c), a);
  EXPECT_EQ(Fw_msg_GetRoot(d), a);
}

TEST_F(FwTreeOfFour, ANodeIsItsOwnDescendant) {
  EXPECT_EQ(Fw_msg_IsDescendant(a, a), 1);
}

TEST_F(FwTreeOfFour, TheReceiverIsTheAncestor) {
  EXPECT_EQ(Fw_msg_IsDescendant(a, c), 1);
  EXPECT_EQ(Fw_msg_IsDescendant(b, c), 1);
  EXPECT_EQ(Fw_msg_IsDescendant(c, a), 0);
  EXPECT_EQ(Fw_msg_IsDescendant(d, c), 0);
}

TEST_F(FwTreeOfFour, WhatIsNoTreeIsNoDescendant) {
  FwChange change;
  Fw_msg_Create(&change, &FwChangeClass);
  ExpectAsserts expected({"Not tree", "Not tree"});
  EXPECT_EQ(Fw_msg_IsDescendant(a, &change), 0);
  EXPECT_EQ(Fw_msg_IsDescendant(a, nullptr), 0);
}

TEST_F(FwTreeOfFour, EnumeratingChildrenWantsTrees) {
  FwChange change;
  Fw_msg_Create(&change, &FwChangeClass);
  auto* enumerate =
      FwClassFindMethodAs<FwObj*(FwObj*, FwObj*)>(_Fw_msg_EnumerateChildren_Handle, &FwTreeClass);
  ExpectAsserts expected({"Not tree", "Not tree"});
  EXPECT_EQ(enumerate(&change, nullptr), nullptr);
  EXPECT_EQ(Fw_msg_EnumerateChildren(a, &change), nullptr);
}

TEST_F(FwTreeOfFour, EnumeratingDescendantsFromWhatIsNoTreeEnds) {
  FwChange change;
  Fw_msg_Create(&change, &FwChangeClass);
  ExpectAsserts expected({"Message not found"});
  EXPECT_EQ(Fw_msg_EnumerateDescendants(a, &change), nullptr);
}

TEST_F(FwTreeOfFour, ChildrenAreFoundByIndex) {
  EXPECT_EQ(Fw_msg_AtIndex(a, 0), b);
  EXPECT_EQ(Fw_msg_AtIndex(a, 1), d);
  EXPECT_EQ(Fw_msg_AtIndex(a, 2), nullptr);
  EXPECT_EQ(Fw_msg_AtIndex(a, 0xFFFFFFFF), nullptr);
  EXPECT_EQ(Fw_msg_AtIndex(c, 0), nullptr);
}

TEST(FwTree, MatchingFormsLookAtMatchesOnly) {
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a);
  FwTree* e = Below(c);
  FwTree* f = Below(a);
  Objects wanted{c, e, f};
  EXPECT_EQ(Fw_msg_EnumerateChildrenMatching(a, nullptr, IsOneOf, &wanted), c);
  EXPECT_EQ(Fw_msg_EnumerateChildrenMatching(a, c, IsOneOf, &wanted), f);
  EXPECT_EQ(Fw_msg_EnumerateChildrenMatching(a, f, IsOneOf, &wanted), nullptr);
  EXPECT_EQ(Fw_msg_EnumerateDescendantsMatching(a, nullptr, IsOneOf, &wanted), c);
  EXPECT_EQ(Fw_msg_EnumerateDescendantsMatching(a, c, IsOneOf, &wanted), e);
  EXPECT_EQ(Fw_msg_EnumerateDescendantsMatching(a, e, IsOneOf, &wanted), f);
  EXPECT_EQ(Fw_msg_EnumerateDescendantsMatching(a, f, IsOneOf, &wanted), nullptr);
  EXPECT_EQ(Fw_msg_IthMatching(a, 0, IsOneOf, &wanted), c);
  EXPECT_EQ(Fw_msg_IthMatching(a, 1, IsOneOf, &wanted), f);
  EXPECT_EQ(Fw_msg_IthMatching(a, 2, IsOneOf, &wanted), nullptr);
  EXPECT_EQ(Fw_msg_PredecessorsMatching(b, IsOneOf, &wanted), 0u);
  EXPECT_EQ(Fw_msg_PredecessorsMatching(c, IsOneOf, &wanted), 0u);
  EXPECT_EQ(Fw_msg_PredecessorsMatching(d, IsOneOf, &wanted), 1u);
  EXPECT_EQ(Fw_msg_PredecessorsMatching(f, IsOneOf, &wanted), 1u);
  EXPECT_EQ(Fw_msg_EnumerateChildrenMatching(a, nullptr, FwTree_False, nullptr), nullptr);
  Fw_msg_Destroy(a);
}

TEST_F(FwTreeOfFour, PredecessorsMatchingTrueEqualTheIndexInParent) {
  for (FwObj* pObj : Objects{b, c, d})
    EXPECT_EQ(Fw_msg_PredecessorsMatching(pObj, FwTree_True, nullptr), Fw_msg_IndexInParent(pObj));
  EXPECT_EQ(Fw_msg_IndexInParent(b), 0u);
  EXPECT_EQ(Fw_msg_IndexInParent(d), 1u);
}

TEST(FwTree, ReadyPredicatesAnswerAsTheirNamesSay) {
  int32 constant = 7;
  EXPECT_EQ(FwTree_True(nullptr, nullptr), 1);
  EXPECT_EQ(FwTree_False(nullptr, nullptr), 0);
  EXPECT_EQ(FwTree_Constant(nullptr, &constant), 7);
}

TEST_F(FwTreeOfFour, ARootHasNoIndex) {
  ExpectAsserts expected({"No parent", "No parent"});
  EXPECT_EQ(Fw_msg_IndexInParent(a), 0u);
  EXPECT_EQ(Fw_msg_PredecessorsMatching(a, FwTree_True, nullptr), 0u);
}

TEST_F(FwTreeOfFour, ANodeThatItsParentDoesNotKnowIsReported) {
  FwTree* stray = Root();
  stray->pParent = a;
  {
    ExpectAsserts expected({"child not found in parent", "child not found in parent",
                            "Cannot find node in parents children"});
    EXPECT_EQ(Fw_msg_IndexInParent(stray), 0u);
    EXPECT_EQ(Fw_msg_PredecessorsMatching(stray, FwTree_True, nullptr), 0u);
    Fw_msg_Destroy(stray);
  }
  EXPECT_EQ(Children(a), (Objects{b, d}));
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
  EXPECT_EQ(destroyed, order);
  EXPECT_EQ(Children(a), (Objects{e}));
  Fw_msg_Destroy(a);
}

TEST(FwTree, DestroyingALaterChildKeepsTheEarlierOnes) {
  FwTree* a = Root();
  FwTree* b = Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a);
  Fw_msg_Destroy(c);
  EXPECT_EQ(Children(a), (Objects{b, d}));
  Fw_msg_Destroy(d);
  EXPECT_EQ(Children(a), (Objects{b}));
  Fw_msg_Destroy(a);
}

TEST(FwTree, ReplacingTheEnumerationOfChildrenChangesWhatIsBuiltOnIt) {
  auto* a = static_cast<FwTree*>(Fw_msg_CreateAndLink(&ShyClass, nullptr, nullptr));
  Below(a);
  FwTree* c = Below(a);
  FwTree* d = Below(a);
  EXPECT_EQ(Fw_msg_AtIndex(a, 0), c);
  EXPECT_EQ(Fw_msg_AtIndex(a, 1), d);
  EXPECT_EQ(Fw_msg_IndexInParent(c), 0u);
  EXPECT_EQ(Fw_msg_IndexInParent(d), 1u);
  EXPECT_EQ(Fw_msg_PredecessorsMatching(d, FwTree_True, nullptr), 1u);
  EXPECT_EQ(Fw_msg_EnumerateDescendants(a, nullptr), c);
  Fw_msg_Destroy(a);
}
