#include "fwvector.h"

#include <algorithm>
#include <iterator>

#include "fwmem.h"
#include "fwstring.h"
#include "vqassert.h"

namespace {

void* UnsetMark() {
  return reinterpret_cast<void*>(kFwVectorUnset);
}

void** AllocSlots(size_t nSlots) {
  return static_cast<void**>(FwMemAlloc(nSlots * sizeof(void*), ALLOC_MUST_SUCCEED | INIT_NONE));
}

// Sorts slots with scratch room for as many. Halves are split with the smaller one first, and the
// left one wins ties.
void MergeSort(void** pSlots, size_t n, void** pScratch, FwVectorCompareFn* pfnCompare) {
  if (n < 2) return;
  const size_t n1 = n / 2;
  const size_t n2 = n - n1;
  void** pLeft = pSlots;
  void** pRight = pSlots + n1;
  MergeSort(pLeft, n1, pScratch, pfnCompare);
  MergeSort(pRight, n2, pScratch, pfnCompare);

  void** const pLeftEnd = pRight;
  void** const pRightEnd = pSlots + n;
  void** pOut = pScratch;
  while (pLeft < pLeftEnd && pRight < pRightEnd)
    *pOut++ = pfnCompare(pLeft, pRight) <= 0 ? *pLeft++ : *pRight++;
  // What is left of the right half is in its place already.
  pOut = std::copy(pLeft, pLeftEnd, pOut);
  std::copy(pScratch, pOut, pSlots);
}

}  // namespace

void FwVectorOpen(FwVector* pVector, int32 nSize) {
  FwAssert(pVector->state == FW_VECTOR_UNINITIALIZED, "Vector not in uninitialized state");
  FwAssert(nSize > 0, "Initial size must be greater than 0");
  nSize = std::max(nSize, 1);
  pVector->nCurrentSize = 0;
  pVector->nCurrentAllocSize = nSize;
  pVector->pElements = AllocSlots(static_cast<size_t>(nSize));
  std::fill_n(pVector->pElements, nSize, UnsetMark());
  pVector->state = FW_VECTOR_OPEN;
}

void** FwVectorClose(FwVector* pVector) {
  FwAssert(pVector->state == FW_VECTOR_OPEN, "Cannot close vector that is not open");
  pVector->state = FW_VECTOR_CLOSED;
  return pVector->pElements;
}

void FwVectorAbandon(FwVector* pVector, int32 fFreeElements) {
  FwAssert(pVector->state == FW_VECTOR_OPEN, "Cannot abandon vector that is not open");
  if (pVector->pElements != nullptr) {
    if (fFreeElements) {
      for (int32 i = pVector->nCurrentSize - 1; i >= 0; i--) {
        if (pVector->pElements[i] != UnsetMark()) FwMemFree(pVector->pElements[i]);
      }
    }
    FwMemFree(pVector->pElements);
    pVector->pElements = nullptr;
  }
  pVector->state = FW_VECTOR_ABANDONED;
}

void FwVectorReUse(FwVector* pVector) {
  FwAssert(pVector->state == FW_VECTOR_CLOSED || pVector->state == FW_VECTOR_ABANDONED,
           "Cannot resuse vector that is still being used");
  pVector->state = FW_VECTOR_UNINITIALIZED;
}

void FwVectorAddElement(FwVector* pVector, void* pElement) {
  FwVectorInsertElement(pVector, pElement, pVector->nCurrentSize);
}

void FwVectorInsertElement(FwVector* pVector, void* pElement, int32 nPosition) {
  FwAssert(pVector->state == FW_VECTOR_OPEN, "Cannot insert element into vector that is not open");
  // The contract: 0 <= nPosition <= nCurrentSize. Outside it no foreign memory is touched.
  if (pVector->pElements == nullptr || nPosition < 0) return;

  const int64 newSize = int64{std::max(pVector->nCurrentSize, nPosition)} + 1;
  if (newSize > pVector->nCurrentAllocSize) {
    const int64 newAllocSize = newSize < 10 ? 20 : newSize + newSize / 2;
    void** pNew = AllocSlots(static_cast<size_t>(newAllocSize));
    void** pOld = pVector->pElements;
    void** pRest = std::copy_n(pOld, pVector->nCurrentAllocSize, pNew);
    std::fill(pRest, pNew + newAllocSize, UnsetMark());
    pVector->nCurrentAllocSize = static_cast<int32>(newAllocSize);
    pVector->pElements = pNew;
    FwMemFree(pOld);
  }
  // A gap between the old end and nPosition holds the mark already.
  void** pSlot = pVector->pElements + nPosition;
  void** pEnd = pVector->pElements + pVector->nCurrentSize;
  if (pSlot < pEnd) std::copy_backward(pSlot, pEnd, pEnd + 1);
  pVector->nCurrentSize = static_cast<int32>(newSize);
  *pSlot = pElement;
}

void FwVectorPopElement(FwVector* pVector) {
  FwVectorRemoveElement(pVector, pVector->nCurrentSize - 1);
}

void FwVectorRemoveElement(FwVector* pVector, int32 nPosition) {
  if (nPosition < 0 || nPosition >= pVector->nCurrentSize) {
    FwAssertFailed("Invalid position in vector");
    return;
  }
  if (pVector->pElements == nullptr) return;
  void** pSlot = pVector->pElements + nPosition;
  void** pEnd = pVector->pElements + pVector->nCurrentSize;
  std::copy(pSlot + 1, pEnd, pSlot);
  pVector->nCurrentSize--;
  pVector->pElements[pVector->nCurrentSize] = UnsetMark();
}

void* FwVectorGetElement(FwVector* pVector, int32 nPosition) {
  FwAssert(pVector->state == FW_VECTOR_OPEN, "Cannot get element from vector that is not open");
  if (pVector->pElements == nullptr) return nullptr;
  void* pElement = nPosition < 0 ? UnsetMark() : pVector->pElements[nPosition];
  FwAssert(pElement != UnsetMark(), "Getting an uninitialized element from a vector");
  return nPosition < 0 ? nullptr : pElement;
}

// Not the C library's qsort: what that does to equal elements is up to the library and the memory
// at hand, and the order of equal elements decides the order in which scripts are printed.
void FwVectorQSort(FwVector* pVector, FwVectorCompareFn* pfnCompare) {
  if (pVector->pElements == nullptr) return;
  for (int32 i = pVector->nCurrentSize - 1; i >= 0; i--)
    FwAssert(pVector->pElements[i] != UnsetMark(), "Sorting a vector with unset elements");
  if (pVector->nCurrentSize < 2) return;
  const auto n = static_cast<size_t>(pVector->nCurrentSize);
  void* aOnStack[64];
  void** pScratch = n <= std::size(aOnStack) ? aOnStack : AllocSlots(n);
  MergeSort(pVector->pElements, n, pScratch, pfnCompare);
  if (pScratch != aOnStack) FwMemFree(pScratch);
}

int FwVectorStringCompare(const void* ell1, const void* ell2) {
  return FwStrCompare(*static_cast<const FwTextString*>(ell1),
                      *static_cast<const FwTextString*>(ell2));
}

int FwVectorLength(const FwVector* pVector) {
  if (!FwExpect(pVector != nullptr, "Vector pointer == NULL in FwVectorLength()")) return 0;
  FwAssert(pVector->state == FW_VECTOR_OPEN, "Cannot get length of a vector which is not open");
  return pVector->nCurrentSize;
}
