// 64-bit values as two 32-bit words, for sizes, positions and times.
//
// Vq32x2 is signed (two's complement over both words), VqU32x2 unsigned. Arithmetic wraps silently.
// A result may be the same record as an operand. There are three ways to 32 bits: To... tests,
// BoundTo... saturates, AssertTo... saturates with an assertion such as "Vq32x2 out of range for
// int32". The floors above need few of them; the set is whole for programs on this library.
#ifndef VQ32X2_H
#define VQ32X2_H

#include "vqtypes.h"

struct Vq32x2 {
  uint32 low = 0;
  int32 high = 0;
};

struct VqU32x2 {
  uint32 low = 0;
  uint32 high = 0;
};

// 1 and the value stored if it fits; 0 and nothing stored if not.
int32 Vq32x2ToInt32(Vq32x2* p, int32* pReturn);
int32 VqU32x2ToInt32(VqU32x2* p, int32* pReturn);
int32 Vq32x2ToUint32(Vq32x2* p, uint32* pReturn);
int32 VqU32x2ToUint32(VqU32x2* p, uint32* pReturn);

// The value, or the nearest that fits.
int32 Vq32x2BoundToInt32(Vq32x2* p);
int32 VqU32x2BoundToInt32(VqU32x2* p);
uint32 Vq32x2BoundToUint32(Vq32x2* p);
uint32 VqU32x2BoundToUint32(VqU32x2* p);

// As above; assert if the value does not fit.
int32 Vq32x2AssertToInt32(Vq32x2* p);
int32 VqU32x2AssertToInt32(VqU32x2* p);
uint32 Vq32x2AssertToUint32(Vq32x2* p);
uint32 VqU32x2AssertToUint32(VqU32x2* p);

// Fractions are cut. The unsigned form is for values that are not negative.
void Vq32x2FromDouble(Vq32x2* p, double dbl);
void VqU32x2FromDouble(VqU32x2* p, double dbl);
double Vq32x2ToDouble(Vq32x2* p);
double VqU32x2ToDouble(VqU32x2* p);

// -1, 0 or 1; the unsigned form 0 or 1.
int32 Vq32x2Sign(Vq32x2* p);
uint32 VqU32x2Sign(VqU32x2* p);

void Vq32x2Add(Vq32x2* pResult, Vq32x2* pA, Vq32x2* pB);
void VqU32x2Add(VqU32x2* pResult, VqU32x2* pA, VqU32x2* pB);
void Vq32x2Subtract(Vq32x2* pResult, Vq32x2* pA, Vq32x2* pB);
void VqU32x2Subtract(VqU32x2* pResult, VqU32x2* pA, VqU32x2* pB);

// -1, 0 or 1 as pA is below, equal to or above the other.
int32 Vq32x2Compare(Vq32x2* pA, Vq32x2* pB);
int32 VqU32x2Compare(VqU32x2* pA, VqU32x2* pB);

void Vq32x2AddUint32(Vq32x2* pResult, Vq32x2* pA, uint32 n);
void VqU32x2AddUint32(VqU32x2* pResult, VqU32x2* pA, uint32 n);
void Vq32x2SubtractUint32(Vq32x2* pResult, Vq32x2* pA, uint32 n);
void VqU32x2SubtractUint32(VqU32x2* pResult, VqU32x2* pA, uint32 n);
int32 Vq32x2CompareUint32(Vq32x2* pA, uint32 n);
int32 VqU32x2CompareUint32(VqU32x2* pA, uint32 n);

void Vq32x2AddInt32(Vq32x2* pResult, Vq32x2* pA, int32 n);
void Vq32x2SubtractInt32(Vq32x2* pResult, Vq32x2* pA, int32 n);
int32 Vq32x2CompareInt32(Vq32x2* pA, int32 n);

#endif
