// The growable sequence: an ordered array of untyped pointers, embedded by value in the record that
// uses it. The record owns the vector, the vector owns its array of slots and never what the
// elements point to.
//
//   FwVector vector;                             // uninitialized is the zero-filled state
//   FwVectorOpen(&vector, 10);
//   FwVectorAddElement(&vector, FwStrDuplicate(ptbz));
//   for (int32 i = 0; i < FwVectorLength(&vector); i++)
//     use(static_cast<FwTextString>(FwVectorGetElement(&vector, i)));
//   FwVectorAbandon(&vector, 1);                 // or FwVectorClose, which hands the array over
//
//   uninitialized --Open--> open --Close--> closed    --ReUse--> uninitialized
//                             \--Abandon--> abandoned --ReUse--> uninitialized
//
// Misuse of the life cycle is an assertion, never a returned error; the operation then goes on as
// far as it can without touching foreign memory. Running out of memory ends the program.
//
// A slot that holds no element holds the mark kFwVectorUnset, so a null pointer is a legal element.
// While a vector is open, all slots from nCurrentSize on hold the mark.
#ifndef FWVECTOR_H
#define FWVECTOR_H

#include "vqtypes.h"

// What is stored in the field state.
enum FwVectorState : int32 {
  FW_VECTOR_UNINITIALIZED = 0,
  FW_VECTOR_OPEN = 1,
  FW_VECTOR_CLOSED = 2,
  FW_VECTOR_ABANDONED = 3,
};

// The value of an unset slot, as a number.
inline constexpr uintptr_t kFwVectorUnset = 0xffff;

struct FwVector {
  int32 state = FW_VECTOR_UNINITIALIZED;
  int32 nCurrentSize = 0;       // elements in use
  int32 nCurrentAllocSize = 0;  // slots in the array
  void** pElements = nullptr;   // framework block; both fields stay readable after FwVectorClose
};

// Has the signature that the C library's qsort takes: receives the addresses of two slots.
using FwVectorCompareFn = int(const void* ell1, const void* ell2);

// Opens an uninitialized vector with room for nSize elements, at least 1.
// Asserts "Vector not in uninitialized state", "Initial size must be greater than 0".
void FwVectorOpen(FwVector* pVector, int32 nSize);

// Ends the vector and returns its array, which the caller frees with FwMemFree.
// Asserts "Cannot close vector that is not open".
void** FwVectorClose(FwVector* pVector);

// Ends the vector and frees its array; with fFreeElements first each element, which must then be
// one framework block each and not null.
// Asserts "Cannot abandon vector that is not open".
void FwVectorAbandon(FwVector* pVector, int32 fFreeElements);

// Makes a closed or abandoned vector ready for FwVectorOpen. A closed array stays its owner's.
// Asserts "Cannot resuse vector that is still being used".
void FwVectorReUse(FwVector* pVector);

void FwVectorAddElement(FwVector* pVector, void* pElement);

// Inserts before the element at nPosition, which lies between 0 and nCurrentSize inclusive.
// Asserts "Cannot insert element into vector that is not open".
void FwVectorInsertElement(FwVector* pVector, void* pElement, int32 nPosition);

// Removes the last element without freeing it: read it first.
// Asserts "Invalid position in vector" on an empty vector.
void FwVectorPopElement(FwVector* pVector);

// Removes an element without freeing it. The array never shrinks.
// Asserts "Invalid position in vector" and changes nothing then.
void FwVectorRemoveElement(FwVector* pVector, int32 nPosition);

// The element at a position inside the array, which isn't tested against nCurrentSize: a slot
// behind the end asserts by its mark, and the mark is returned.
// Asserts "Cannot get element from vector that is not open", "Getting an uninitialized element from
// a vector".
void* FwVectorGetElement(FwVector* pVector, int32 nPosition);

// Sorts the elements. Stable, and defined for any comparison: one that only tells equal from
// unequal leaves a reproducible order too. More than 64 elements need memory for a copy of the
// slots; exhaustion ends the program.
// Asserts "Sorting a vector with unset elements".
void FwVectorQSort(FwVector* pVector, FwVectorCompareFn* pfnCompare);

// Compares the strings in two slots byte-wise (FwStrCompare).
int FwVectorStringCompare(const void* ell1, const void* ell2);

// Asserts "Vector pointer == NULL in FwVectorLength()", "Cannot get length of a vector which is not
// open".
int FwVectorLength(const FwVector* pVector);

#endif
