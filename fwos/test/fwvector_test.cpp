#include "fwvector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "blocks.h"
#include "fwmem.h"
#include "fwstring.h"
#include "recorder.h"
#include "vqassert.h"

namespace {

void* const kMark = reinterpret_cast<void*>(uintptr_t{0xffff});

int things[300];
void* Thing(int i) {
  return &things[i];
}

// An open vector of n things, abandoned at the end of the scope if it is open then.
class Filled {
 public:
  explicit Filled(int32 n, int32 nSize = 10) {
    FwVectorOpen(&vector_, nSize);
    for (int i = 0; i < n; i++)
      FwVectorAddElement(&vector_, Thing(i));
  }
  ~Filled() {
    if (vector_.state == FW_VECTOR_OPEN) FwVectorAbandon(&vector_, 0);
  }
  FwVector* get() { return &vector_; }
  FwVector* operator->() { return &vector_; }
  std::vector<void*> elements() const {
    return std::vector<void*>(vector_.pElements, vector_.pElements + vector_.nCurrentSize);
  }

 private:
  FwVector vector_;
};

std::vector<void*> Things(std::initializer_list<int> indices) {
  std::vector<void*> result;
  for (int i : indices)
    result.push_back(Thing(i));
  return result;
}

bool RestIsMarked(const FwVector* pVector) {
  return std::all_of(pVector->pElements + pVector->nCurrentSize,
                     pVector->pElements + pVector->nCurrentAllocSize,
                     [](void* p) { return p == kMark; });
}

}  // namespace

TEST(FwVector, ADeclaredVectorIsUninitialized) {
  FwVector vector;
  EXPECT_EQ(0, vector.state);
  EXPECT_EQ(0, vector.nCurrentSize);
  EXPECT_EQ(0, vector.nCurrentAllocSize);
  EXPECT_EQ(nullptr, vector.pElements);
}

TEST(FwVector, OpenMakesAnEmptyVectorOfMarkedSlots) {
  for (int32 nSize : {1, 3, 5, 10, 20}) {
    SCOPED_TRACE(nSize);
    Filled vector(0, nSize);
    EXPECT_EQ(1, vector->state);
    EXPECT_EQ(0, vector->nCurrentSize);
    EXPECT_EQ(nSize, vector->nCurrentAllocSize);
    EXPECT_TRUE(RestIsMarked(vector.get()));
  }
}

TEST(FwVector, SizeOneTakesTwoElementsInTwentySlots) {
  Filled vector(2, 1);
  EXPECT_EQ(20, vector->nCurrentAllocSize);
  EXPECT_EQ(2, vector->nCurrentSize);
  EXPECT_EQ(Things({0, 1}), vector.elements());
  EXPECT_TRUE(RestIsMarked(vector.get()));
}

TEST(FwVector, SizeTenTakesTheEleventhElementInSixteenSlots) {
  Filled vector(11, 10);
  EXPECT_EQ(16, vector->nCurrentAllocSize);
  EXPECT_EQ(11, vector->nCurrentSize);
  EXPECT_TRUE(RestIsMarked(vector.get()));
}

TEST(FwVector, GrowthYieldsOneAndAHalfTimesWhatIsNeeded) {
  struct Row {
    int32 nOpen, nElements, nAlloc;
  };
  // From 9 needed slots down the growth gives 20, from 10 up half as much again.
  for (const Row& row : std::initializer_list<Row>{
           {3, 3, 3}, {3, 4, 20}, {8, 9, 20}, {9, 10, 15}, {20, 21, 31}, {20, 32, 48}}) {
    SCOPED_TRACE(testing::Message() << row.nOpen << " " << row.nElements);
    Filled vector(row.nElements, row.nOpen);
    EXPECT_EQ(row.nAlloc, vector->nCurrentAllocSize);
    EXPECT_EQ(row.nElements, vector->nCurrentSize);
    EXPECT_TRUE(RestIsMarked(vector.get()));
  }
}

TEST(FwVector, InsertAtTheHeadShiftsAllUp) {
  Filled vector(3);
  FwVectorInsertElement(vector.get(), Thing(9), 0);
  EXPECT_EQ(Things({9, 0, 1, 2}), vector.elements());
}

TEST(FwVector, InsertGoesBeforeThePosition) {
  Filled vector(3, 3);
  FwVectorInsertElement(vector.get(), Thing(9), 2);
  EXPECT_EQ(Things({0, 1, 9, 2}), vector.elements());
  FwVectorInsertElement(vector.get(), Thing(8), 4);
  EXPECT_EQ(Things({0, 1, 9, 2, 8}), vector.elements());
}

TEST(FwVector, InsertOutsideTheContractTouchesNoForeignMemory) {
  Filled vector(2, 3);
  FwVectorInsertElement(vector.get(), Thing(9), -1);
  EXPECT_EQ(Things({0, 1}), vector.elements());
  FwVectorInsertElement(vector.get(), Thing(9), 4);
  EXPECT_EQ((std::vector<void*>{Thing(0), Thing(1), kMark, kMark, Thing(9)}), vector.elements());
}

TEST(FwVector, PopRemovesTheLast) {
  Filled vector(3);
  FwVectorPopElement(vector.get());
  EXPECT_EQ(Things({0, 1}), vector.elements());
  EXPECT_TRUE(RestIsMarked(vector.get()));
}

TEST(FwVector, PopOfAnEmptyVectorAssertsAndLeavesItUnchanged) {
  Filled vector(0, 3);
  ExpectAsserts expected({"Invalid position in vector"});
  FwVectorPopElement(vector.get());
  EXPECT_EQ(0, vector->nCurrentSize);
  EXPECT_EQ(3, vector->nCurrentAllocSize);
  EXPECT_EQ(1, vector->state);
}

TEST(FwVector, RemoveMovesTheRestDownAndMarksTheVacatedSlot) {
  Filled vector(4);
  FwVectorRemoveElement(vector.get(), 1);
  EXPECT_EQ(Things({0, 2, 3}), vector.elements());
  EXPECT_TRUE(RestIsMarked(vector.get()));
  EXPECT_EQ(10, vector->nCurrentAllocSize);
}

TEST(FwVector, RemoveOutOfRangeAssertsAndChangesNothing) {
  Filled vector(2);
  ExpectAsserts expected({"Invalid position in vector", "Invalid position in vector"});
  FwVectorRemoveElement(vector.get(), 2);
  FwVectorRemoveElement(vector.get(), -1);
  EXPECT_EQ(Things({0, 1}), vector.elements());
}

TEST(FwVector, RemoveTestsThePositionWithoutTheAssertionSwitch) {
  Filled vector(1);
  // A disturbed switch makes every assertion fire but not the test of a position in range.
  vqassert_val = 0;
  {
    ExpectAsserts expected({});
    FwVectorRemoveElement(vector.get(), 0);
  }
  vqassert_val = kVqAssertIntact;
  EXPECT_EQ(0, vector->nCurrentSize);
}

TEST(FwVector, GetElementPastTheNewEndAssertsAndReturnsTheMark) {
  Filled vector(3);
  FwVectorRemoveElement(vector.get(), 2);
  ExpectAsserts expected({"Getting an uninitialized element from a vector"});
  EXPECT_EQ(kMark, FwVectorGetElement(vector.get(), 2));
}

TEST(FwVector, GetElementBeforeTheStartAssertsAndReturnsNull) {
  Filled vector(1);
  ExpectAsserts expected({"Getting an uninitialized element from a vector"});
  EXPECT_EQ(nullptr, FwVectorGetElement(vector.get(), -1));
}

TEST(FwVector, NullIsAnElementLikeAnyOther) {
  Filled vector(2);
  FwVectorInsertElement(vector.get(), nullptr, 1);
  EXPECT_EQ(3, FwVectorLength(vector.get()));
  EXPECT_EQ(nullptr, FwVectorGetElement(vector.get(), 1));
  FwVectorQSort(vector.get(), [](const void* a, const void* b) {
    void* pa = *static_cast<void* const*>(a);
    void* pb = *static_cast<void* const*>(b);
    return (pa > pb) - (pa < pb);
  });
  EXPECT_EQ((std::vector<void*>{nullptr, Thing(0), Thing(1)}), vector.elements());
}

TEST(FwVector, CloseHandsTheArrayOver) {
  FwVector vector;
  FwVectorOpen(&vector, 5);
  FwVectorAddElement(&vector, Thing(0));
  void** pElements = FwVectorClose(&vector);
  EXPECT_EQ(2, vector.state);
  EXPECT_EQ(pElements, vector.pElements);
  EXPECT_EQ(1, vector.nCurrentSize);
  EXPECT_EQ(Thing(0), pElements[0]);
  {
    ExpectAsserts expected({"Cannot get length of a vector which is not open"});
    EXPECT_EQ(1, FwVectorLength(&vector));
  }
  FwMemFree(pElements);
}

TEST(FwVector, CloseThenAbandonAssertsAndFreesTheArray) {
  FwVector vector;
  FwVectorOpen(&vector, 5);
  FwVectorClose(&vector);
  ExpectAsserts expected({"Cannot abandon vector that is not open"});
  FwVectorAbandon(&vector, 0);
  EXPECT_EQ(3, vector.state);
  EXPECT_EQ(nullptr, vector.pElements);
}

TEST(FwVector, AbandonKeepsTheCounts) {
  FwVector vector;
  FwVectorOpen(&vector, 5);
  FwVectorAddElement(&vector, Thing(0));
  FwVectorAbandon(&vector, 0);
  EXPECT_EQ(3, vector.state);
  EXPECT_EQ(nullptr, vector.pElements);
  EXPECT_EQ(1, vector.nCurrentSize);
  EXPECT_EQ(5, vector.nCurrentAllocSize);
}

TEST(FwVector, AbandonFreesElementsOnlyIfAsked) {
  CountedBlocks blocks;
  FwVector vector;
  FwVectorOpen(&vector, 1);
  for (int i = 0; i < 5; i++)
    FwVectorAddElement(&vector, FwStrDuplicate(FWT("element")));
  FwVectorAbandon(&vector, 1);
  EXPECT_EQ(0, blocks.live());

  FwTextString ptbz = FwStrDuplicate(FWT("element"));
  FwVectorReUse(&vector);
  FwVectorOpen(&vector, 1);
  FwVectorAddElement(&vector, ptbz);
  FwVectorAbandon(&vector, 0);
  EXPECT_EQ(1, blocks.live());
  FwMemFree(ptbz);
}

TEST(FwVector, AbandonPassesNullElementsOnAndSkipsMarks) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwVectorAddElement(&vector, nullptr);
  FwVectorAddElement(&vector, kMark);
  ExpectAsserts expected({"No block to free"});
  FwVectorAbandon(&vector, 1);
}

TEST(FwVector, AbandonTwiceAssertsAndFreesNothing) {
  CountedBlocks blocks;
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwVectorAbandon(&vector, 1);
  ExpectAsserts expected({"Cannot abandon vector that is not open"});
  FwVectorAbandon(&vector, 1);
  EXPECT_EQ(0, blocks.live());
}

TEST(FwVector, ReUseAndOpenWorkAfterEitherEnding) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  FwVectorAddElement(&vector, Thing(7));
  void** pClosed = FwVectorClose(&vector);
  FwVectorReUse(&vector);
  EXPECT_EQ(0, vector.state);
  FwVectorOpen(&vector, 2);
  EXPECT_EQ(0, FwVectorLength(&vector));
  EXPECT_NE(pClosed, vector.pElements);
  FwVectorAddElement(&vector, Thing(8));
  FwVectorAbandon(&vector, 0);
  EXPECT_EQ(Thing(7), pClosed[0]);  // still its new owner's
  FwMemFree(pClosed);
  FwVectorReUse(&vector);
  FwVectorOpen(&vector, 2);
  EXPECT_EQ(0, FwVectorLength(&vector));
  FwVectorAbandon(&vector, 0);
}

TEST(FwVector, EveryMisuseHasItsText) {
  {
    Filled vector(1);
    void** pOld = vector->pElements;
    ExpectAsserts expected({"Vector not in uninitialized state"});
    FwVectorOpen(vector.get(), 3);
    FwMemFree(pOld);
  }
  for (int32 nSize : {0, -1}) {
    SCOPED_TRACE(nSize);
    FwVector vector;
    ExpectAsserts expected({"Initial size must be greater than 0"});
    FwVectorOpen(&vector, nSize);
    EXPECT_EQ(1, vector.nCurrentAllocSize);
    EXPECT_EQ(1, vector.state);
    FwVectorAbandon(&vector, 0);
  }
  {
    FwVector vector;
    ExpectAsserts expected({"Cannot close vector that is not open",
                            "Cannot abandon vector that is not open",
                            "Cannot get element from vector that is not open",
                            "Cannot insert element into vector that is not open",
                            "Cannot insert element into vector that is not open",
                            "Cannot get length of a vector which is not open"});
    EXPECT_EQ(nullptr, FwVectorClose(&vector));
    vector.state = 0;
    FwVectorAbandon(&vector, 1);
    EXPECT_EQ(nullptr, FwVectorGetElement(&vector, 0));
    FwVectorInsertElement(&vector, Thing(0), 0);
    FwVectorAddElement(&vector, Thing(0));
    EXPECT_EQ(0, vector.nCurrentSize);
    EXPECT_EQ(0, FwVectorLength(&vector));
  }
  {
    FwVector vector;
    ExpectAsserts expected({"Cannot resuse vector that is still being used"});
    FwVectorReUse(&vector);
  }
  {
    Filled vector(1);
    ExpectAsserts expected({"Cannot resuse vector that is still being used"});
    FwVectorReUse(vector.get());
    EXPECT_EQ(0, vector->state);
    vector->state = FW_VECTOR_OPEN;
  }
  {
    ExpectAsserts expected({"Vector pointer == NULL in FwVectorLength()"});
    EXPECT_EQ(0, FwVectorLength(nullptr));
  }
  {
    Filled vector(0);
    FwVectorAddElement(vector.get(), kMark);
    ExpectAsserts expected({"Sorting a vector with unset elements"});
    FwVectorQSort(vector.get(), FwVectorStringCompare);
  }
}

TEST(FwVector, ExhaustionEndsTheProgram) {
  EXPECT_EXIT(
      {
        CountedBlocks blocks;
        blocks.FailAt(0);
        FwVector vector;
        FwVectorOpen(&vector, 3);
      },
      testing::ExitedWithCode(1), "Run out of memory");
  EXPECT_EXIT(
      {
        CountedBlocks blocks;
        Filled vector(3, 3);
        blocks.FailAt(0);
        FwVectorAddElement(vector.get(), Thing(0));
      },
      testing::ExitedWithCode(1), "Run out of memory");
}

TEST(FwVector, StringCompareSortsStringsByteWise) {
  FwVector vector;
  FwVectorOpen(&vector, 3);
  for (const char* psz : {"b", "\xC3\xA9", "a", "", "B", "ab"})
    FwVectorAddElement(&vector, FWT(psz));
  FwVectorQSort(&vector, FwVectorStringCompare);
  std::string joined;
  for (int32 i = 0; i < FwVectorLength(&vector); i++)
    joined += std::string(FWC(static_cast<FwTextString>(FwVectorGetElement(&vector, i)))) + "|";
  EXPECT_EQ("|B|a|ab|b|\xC3\xA9|", joined);
  FwVectorAbandon(&vector, 0);
}

TEST(FwVectorQSort, LeavesEqualElementsInTheirOrder) {
  for (int n : {0, 1, 2, 3, 64, 65, 300}) {
    Filled vector(0);
    for (int i = 0; i < n; i++) {
      things[i] = (i * 7) % 5;
      FwVectorAddElement(vector.get(), Thing(i));
    }
    std::vector<void*> wanted = vector.elements();
    std::stable_sort(wanted.begin(), wanted.end(), [](void* a, void* b) {
      return *static_cast<int*>(a) < *static_cast<int*>(b);
    });
    FwVectorQSort(vector.get(), [](const void* a, const void* b) {
      return **static_cast<int* const*>(a) - **static_cast<int* const*>(b);
    });
    EXPECT_EQ(wanted, vector.elements()) << n;
  }
}

TEST(FwVectorQSort, AComparisonThatOnlyTellsEqualityMovesNothingWhenItReturnsZero) {
  Filled vector(200);
  const std::vector<void*> before = vector.elements();
  FwVectorQSort(vector.get(), [](const void*, const void*) { return 0; });
  EXPECT_EQ(before, vector.elements());
}

// Any comparison at all, even a contradictory one, gives what a top-down merge sort with the
// smaller half first gives: n1 = n/2, the left one taken when the result is at most 0.
TEST(FwVectorQSort, IsDefinedForContradictoryComparisons) {
  static uint32 seed;
  FwVectorCompareFn* contradictory = [](const void* a, const void* b) {
    const auto ia = static_cast<uint32>(*static_cast<int* const*>(a) - things);
    const auto ib = static_cast<uint32>(*static_cast<int* const*>(b) - things);
    return static_cast<int>((ia * 2654435761u ^ ib * 40503u ^ seed) >> 7 & 3) - 1;
  };
  struct Reference {
    static std::vector<void*> sort(const std::vector<void*>& v, FwVectorCompareFn* compare) {
      if (v.size() < 2) return v;
      const auto middle = v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2);
      std::vector<void*> left = sort({v.begin(), middle}, compare);
      std::vector<void*> right = sort({middle, v.end()}, compare);
      std::vector<void*> out;
      auto l = left.begin();
      auto r = right.begin();
      while (l != left.end() && r != right.end())
        out.push_back(compare(&*l, &*r) <= 0 ? *l++ : *r++);
      out.insert(out.end(), l, left.end());
      out.insert(out.end(), r, right.end());
      return out;
    }
  };
  for (seed = 0; seed < 200; seed++) {
    Filled vector(static_cast<int32>(seed % 97));
    const std::vector<void*> wanted = Reference::sort(vector.elements(), contradictory);
    FwVectorQSort(vector.get(), contradictory);
    EXPECT_EQ(wanted, vector.elements()) << seed;
  }
}

TEST(FwVectorQSort, FreesItsScratchMemory) {
  Filled vector(300);
  CountedBlocks blocks;
  FwVectorQSort(vector.get(), [](const void*, const void*) { return 1; });
  EXPECT_EQ(0, blocks.live());
}
