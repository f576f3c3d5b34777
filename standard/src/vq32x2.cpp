#include "vq32x2.h"

#include <cmath>

#include "vqassert.h"

namespace {

constexpr double kTwoTo32 = 4294967296.0;
constexpr int32 kInt32Min = INT32_MIN;
constexpr int32 kInt32Max = INT32_MAX;
constexpr uint32 kUint32Max = UINT32_MAX;

// Two's complement, in either direction.
uint32 unsigned_of(int32 n) {
  return static_cast<uint32>(n);
}
int32 signed_of(uint32 n) {
  return static_cast<int32>(n);
}

// The words of a magnitude. A value that is not a magnitude gives 0, and one that 64 bits can't
// hold gives all ones.
VqU32x2 words_of(double dblMagnitude) {
  if (!(dblMagnitude >= 0)) return {};
  if (dblMagnitude >= kTwoTo32 * kTwoTo32) return {kUint32Max, kUint32Max};
  const auto n = static_cast<uint64_t>(dblMagnitude);
  return {static_cast<uint32>(n), static_cast<uint32>(n >> 32)};
}

VqU32x2 negated(VqU32x2 n) {
  n.low = ~n.low + 1;
  n.high = ~n.high + (n.low == 0);
  return n;
}

double magnitude_of(VqU32x2 n) {
  return n.high * kTwoTo32 + n.low;
}

// The sums and differences are the same for both signs.
VqU32x2 sum(VqU32x2 a, VqU32x2 b) {
  const uint32 low = a.low + b.low;
  const uint32 carry = low < a.low;
  return {low, a.high + b.high + carry};
}

VqU32x2 difference(VqU32x2 a, VqU32x2 b) {
  const uint32 low = a.low - b.low;
  const uint32 borrow = low > a.low;
  return {low, a.high - b.high - borrow};
}

VqU32x2 as_unsigned(const Vq32x2* p) {
  return {p->low, unsigned_of(p->high)};
}

Vq32x2 as_signed(VqU32x2 n) {
  return {n.low, signed_of(n.high)};
}

Vq32x2 extended(int32 n) {
  return {unsigned_of(n), n < 0 ? -1 : 0};
}

template <class T>
int32 compare_words(T a, T b) {
  return (a > b) - (a < b);
}

bool fits_int32(const Vq32x2* p) {
  return (p->high == 0 && signed_of(p->low) >= 0) || (p->high == -1 && signed_of(p->low) < 0);
}

bool fits_int32(const VqU32x2* p) {
  return p->high == 0 && signed_of(p->low) >= 0;
}

}  // namespace

int32 Vq32x2ToInt32(Vq32x2* p, int32* pReturn) {
  if (!fits_int32(p)) return 0;
  *pReturn = signed_of(p->low);
  return 1;
}

int32 VqU32x2ToInt32(VqU32x2* p, int32* pReturn) {
  if (!fits_int32(p)) return 0;
  *pReturn = signed_of(p->low);
  return 1;
}

int32 Vq32x2ToUint32(Vq32x2* p, uint32* pReturn) {
  if (p->high != 0) return 0;
  *pReturn = p->low;
  return 1;
}

int32 VqU32x2ToUint32(VqU32x2* p, uint32* pReturn) {
  if (p->high != 0) return 0;
  *pReturn = p->low;
  return 1;
}

int32 Vq32x2BoundToInt32(Vq32x2* p) {
  if (fits_int32(p)) return signed_of(p->low);
  return p->high < 0 ? kInt32Min : kInt32Max;
}

int32 VqU32x2BoundToInt32(VqU32x2* p) {
  return fits_int32(p) ? signed_of(p->low) : kInt32Max;
}

uint32 Vq32x2BoundToUint32(Vq32x2* p) {
  if (p->high == 0) return p->low;
  return p->high < 0 ? 0 : kUint32Max;
}

uint32 VqU32x2BoundToUint32(VqU32x2* p) {
  return p->high == 0 ? p->low : kUint32Max;
}

int32 Vq32x2AssertToInt32(Vq32x2* p) {
  FwAssert(fits_int32(p), "Vq32x2 out of range for int32");
  return Vq32x2BoundToInt32(p);
}

int32 VqU32x2AssertToInt32(VqU32x2* p) {
  FwAssert(fits_int32(p), "VqU32x2 out of range for int32");
  return VqU32x2BoundToInt32(p);
}

uint32 Vq32x2AssertToUint32(Vq32x2* p) {
  FwAssert(p->high == 0, "Vq32x2 out of range for uint32");
  return Vq32x2BoundToUint32(p);
}

uint32 VqU32x2AssertToUint32(VqU32x2* p) {
  FwAssert(p->high == 0, "VqU32x2 out of range for uint32");
  return VqU32x2BoundToUint32(p);
}

void Vq32x2FromDouble(Vq32x2* p, double dbl) {
  const VqU32x2 magnitude = words_of(std::fabs(dbl));
  *p = as_signed(dbl < 0 ? negated(magnitude) : magnitude);
}

void VqU32x2FromDouble(VqU32x2* p, double dbl) {
  *p = words_of(dbl);
}

double Vq32x2ToDouble(Vq32x2* p) {
  if (p->high >= 0) return magnitude_of(as_unsigned(p));
  // Its magnitude is not a value of the type.
  if (p->high == kInt32Min && p->low == 0) return -kTwoTo32 * 0x1p31;
  return -magnitude_of(negated(as_unsigned(p)));
}

double VqU32x2ToDouble(VqU32x2* p) {
  return magnitude_of(*p);
}

int32 Vq32x2Sign(Vq32x2* p) {
  if (p->high == 0) return p->low != 0;
  return p->high < 0 ? -1 : 1;
}

uint32 VqU32x2Sign(VqU32x2* p) {
  return p->low != 0 || p->high != 0;
}

void Vq32x2Add(Vq32x2* pResult, Vq32x2* pA, Vq32x2* pB) {
  *pResult = as_signed(sum(as_unsigned(pA), as_unsigned(pB)));
}

void VqU32x2Add(VqU32x2* pResult, VqU32x2* pA, VqU32x2* pB) {
  *pResult = sum(*pA, *pB);
}

void Vq32x2Subtract(Vq32x2* pResult, Vq32x2* pA, Vq32x2* pB) {
  *pResult = as_signed(difference(as_unsigned(pA), as_unsigned(pB)));
}

void VqU32x2Subtract(VqU32x2* pResult, VqU32x2* pA, VqU32x2* pB) {
  *pResult = difference(*pA, *pB);
}

int32 Vq32x2Compare(Vq32x2* pA, Vq32x2* pB) {
  if (pA->high != pB->high) return compare_words(pA->high, pB->high);
  return compare_words(pA->low, pB->low);
}

int32 VqU32x2Compare(VqU32x2* pA, VqU32x2* pB) {
  if (pA->high != pB->high) return compare_words(pA->high, pB->high);
  return compare_words(pA->low, pB->low);
}

void Vq32x2AddUint32(Vq32x2* pResult, Vq32x2* pA, uint32 n) {
  Vq32x2 b{n, 0};
  Vq32x2Add(pResult, pA, &b);
}

void VqU32x2AddUint32(VqU32x2* pResult, VqU32x2* pA, uint32 n) {
  VqU32x2 b{n, 0};
  VqU32x2Add(pResult, pA, &b);
}

void Vq32x2SubtractUint32(Vq32x2* pResult, Vq32x2* pA, uint32 n) {
  Vq32x2 b{n, 0};
  Vq32x2Subtract(pResult, pA, &b);
}

void VqU32x2SubtractUint32(VqU32x2* pResult, VqU32x2* pA, uint32 n) {
  VqU32x2 b{n, 0};
  VqU32x2Subtract(pResult, pA, &b);
}

int32 Vq32x2CompareUint32(Vq32x2* pA, uint32 n) {
  Vq32x2 b{n, 0};
  return Vq32x2Compare(pA, &b);
}

int32 VqU32x2CompareUint32(VqU32x2* pA, uint32 n) {
  VqU32x2 b{n, 0};
  return VqU32x2Compare(pA, &b);
}

void Vq32x2AddInt32(Vq32x2* pResult, Vq32x2* pA, int32 n) {
  Vq32x2 b = extended(n);
  Vq32x2Add(pResult, pA, &b);
}

void Vq32x2SubtractInt32(Vq32x2* pResult, Vq32x2* pA, int32 n) {
  Vq32x2 b = extended(n);
  Vq32x2Subtract(pResult, pA, &b);
}

int32 Vq32x2CompareInt32(Vq32x2* pA, int32 n) {
  Vq32x2 b = extended(n);
  return Vq32x2Compare(pA, &b);
}
