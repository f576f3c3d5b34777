#include "vq32x2.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "recorder.h"

namespace {

constexpr uint32 kOnes = 0xFFFFFFFF;
constexpr int32 kMin = INT32_MIN;
constexpr int32 kMax = INT32_MAX;

void ExpectWords(const Vq32x2& n, uint32 low, int32 high, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  EXPECT_EQ(low, n.low);
  EXPECT_EQ(high, n.high);
}

void ExpectWords(const VqU32x2& n, uint32 low, uint32 high, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  EXPECT_EQ(low, n.low);
  EXPECT_EQ(high, n.high);
}

TEST(Vq32x2, ToInt32StoresWhatFitsAndNothingElse) {
  struct {
    Vq32x2 value;
    int32 fits;
    int32 stored;
  } rows[] = {
      {{0, 0}, 1, 0},
      {{kOnes, -1}, 1, -1},
      {{0x7FFFFFFF, 0}, 1, kMax},
      {{0x80000000, -1}, 1, kMin},
      {{0x80000000, 0}, 0, 77},
      {{0x7FFFFFFF, -1}, 0, 77},
      {{0, 1}, 0, 77},
      {{0, -2}, 0, 77},
  };
  for (auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.value.high << " " << row.value.low);
    int32 stored = 77;
    EXPECT_EQ(row.fits, Vq32x2ToInt32(&row.value, &stored));
    EXPECT_EQ(row.stored, stored);
  }
}

TEST(VqU32x2, ToInt32StoresWhatFitsAndNothingElse) {
  struct {
    VqU32x2 value;
    int32 fits;
    int32 stored;
  } rows[] = {
      {{0, 0}, 1, 0},           {{0x7FFFFFFF, 0}, 1, kMax},
      {{0x80000000, 0}, 0, 77}, {{kOnes, kOnes}, 0, 77},
      {{0, 1}, 0, 77},
  };
  for (auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.value.high << " " << row.value.low);
    int32 stored = 77;
    EXPECT_EQ(row.fits, VqU32x2ToInt32(&row.value, &stored));
    EXPECT_EQ(row.stored, stored);
  }
}

TEST(Vq32x2, ToUint32WantsAHighWordOfZero) {
  uint32 stored = 77;
  Vq32x2 minus_one{kOnes, -1};
  EXPECT_EQ(0, Vq32x2ToUint32(&minus_one, &stored));
  EXPECT_EQ(77u, stored);
  Vq32x2 largest{kOnes, 0};
  EXPECT_EQ(1, Vq32x2ToUint32(&largest, &stored));
  EXPECT_EQ(kOnes, stored);
  VqU32x2 above{0, 1};
  EXPECT_EQ(0, VqU32x2ToUint32(&above, &stored));
  EXPECT_EQ(kOnes, stored);
  VqU32x2 five{5, 0};
  EXPECT_EQ(1, VqU32x2ToUint32(&five, &stored));
  EXPECT_EQ(5u, stored);
}

TEST(Vq32x2, BoundFormsSaturate) {
  struct {
    Vq32x2 value;
    int32 as_int32;
    uint32 as_uint32;
  } rows[] = {
      {{kOnes, -1}, -1, 0},        {{0, kMin}, kMin, 0},
      {{0x7FFFFFFF, -1}, kMin, 0}, {{0x80000000, 0}, kMax, 0x80000000},
      {{0, 1}, kMax, kOnes},       {{12, 0}, 12, 12},
  };
  for (auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.value.high << " " << row.value.low);
    EXPECT_EQ(row.as_int32, Vq32x2BoundToInt32(&row.value));
    EXPECT_EQ(row.as_uint32, Vq32x2BoundToUint32(&row.value));
  }
}

TEST(VqU32x2, BoundFormsSaturate) {
  struct {
    VqU32x2 value;
    int32 as_int32;
    uint32 as_uint32;
  } rows[] = {
      {{kOnes, kOnes}, kMax, kOnes},
      {{0x80000000, 0}, kMax, 0x80000000},
      {{12, 0}, 12, 12},
  };
  for (auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.value.high << " " << row.value.low);
    EXPECT_EQ(row.as_int32, VqU32x2BoundToInt32(&row.value));
    EXPECT_EQ(row.as_uint32, VqU32x2BoundToUint32(&row.value));
  }
}

TEST(Vq32x2, AssertFormsAssertAndSaturate) {
  ExpectAsserts expected({"Vq32x2 out of range for int32", "VqU32x2 out of range for int32",
                          "Vq32x2 out of range for uint32", "VqU32x2 out of range for uint32"});
  Vq32x2 low{0, kMin};
  VqU32x2 high{0, 1};
  EXPECT_EQ(kMin, Vq32x2AssertToInt32(&low));
  EXPECT_EQ(kMax, VqU32x2AssertToInt32(&high));
  EXPECT_EQ(0u, Vq32x2AssertToUint32(&low));
  EXPECT_EQ(kOnes, VqU32x2AssertToUint32(&high));
}

TEST(Vq32x2, AssertFormsAreSilentInRange) {
  Vq32x2 minus_one{kOnes, -1};
  Vq32x2 five{5, 0};
  VqU32x2 six{6, 0};
  EXPECT_EQ(-1, Vq32x2AssertToInt32(&minus_one));
  EXPECT_EQ(5u, Vq32x2AssertToUint32(&five));
  EXPECT_EQ(6, VqU32x2AssertToInt32(&six));
  EXPECT_EQ(6u, VqU32x2AssertToUint32(&six));
}

TEST(Vq32x2, ComesFromADouble) {
  struct {
    double dbl;
    uint32 low;
    int32 high;
  } rows[] = {
      {0.0, 0, 0},
      {-4294967296.0, 0, -1},
      {4294967296.0, 0, 1},
      {-1.0, kOnes, -1},
      {-4294967297.0, kOnes, -2},
      {4294967295.0, kOnes, 0},
      {1.75, 1, 0},
      {-0.5, 0, 0},
      {-9223372036854775808.0, 0, kMin},
  };
  for (auto& row : rows) {
    SCOPED_TRACE(row.dbl);
    Vq32x2 n;
    Vq32x2FromDouble(&n, row.dbl);
    ExpectWords(n, row.low, row.high);
  }
}

TEST(VqU32x2, ComesFromADouble) {
  VqU32x2 n;
  VqU32x2FromDouble(&n, 18446744069414584320.0);  // high all ones, low 0
  ExpectWords(n, 0, kOnes);
  VqU32x2FromDouble(&n, 4294967298.5);
  ExpectWords(n, 2, 1);
}

TEST(Vq32x2, OutOfRangeDoublesStayDefined) {
  Vq32x2 n;
  VqU32x2 u;
  for (const double dbl : {1e300, -1e300, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    Vq32x2FromDouble(&n, dbl);
    VqU32x2FromDouble(&u, dbl);
  }
  VqU32x2FromDouble(&u, 1e300);
  ExpectWords(u, kOnes, kOnes);
  VqU32x2FromDouble(&u, -1.0);
  ExpectWords(u, 0, 0);
}

TEST(Vq32x2, GoesToADouble) {
  struct {
    Vq32x2 value;
    double dbl;
  } rows[] = {
      {{0, kMin}, -9223372036854775808.0}, {{0, -1}, -4294967296.0}, {{kOnes, -1}, -1.0},
      {{1, kMin}, -9223372036854775807.0}, {{3, 2}, 8589934595.0},   {{0, 0}, 0.0},
  };
  for (auto& row : rows)
    EXPECT_EQ(row.dbl, Vq32x2ToDouble(&row.value)) << row.dbl;
  VqU32x2 large{0, 0x80000000};
  EXPECT_EQ(9223372036854775808.0, VqU32x2ToDouble(&large));
}

// Words taken apart and put together by the C library's functions for reals.
TEST(Vq32x2, DoublesAreTakenApartAndPutTogetherExactly) {
  std::mt19937_64 random(32);
  for (int i = 0; i < 100000; ++i) {
    const double dbl =
        std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 80) - 69);
    const uint64_t bits = random() >> random() % 64;
    VqU32x2 n;
    VqU32x2FromDouble(&n, dbl);
    ASSERT_EQ(std::fmod(std::floor(dbl), 4294967296.0), n.low) << dbl;
    ASSERT_EQ(std::floor(dbl / 4294967296.0), n.high) << dbl;
    Vq32x2 negative;
    Vq32x2FromDouble(&negative, -dbl / 2);
    Vq32x2 positive;
    Vq32x2FromDouble(&positive, dbl / 2);
    Vq32x2 sum;
    Vq32x2Add(&sum, &positive, &negative);
    ASSERT_EQ(0, Vq32x2Sign(&sum)) << dbl;
    n = {static_cast<uint32>(bits), static_cast<uint32>(bits >> 32)};
    ASSERT_EQ(std::ldexp(n.high, 32) + n.low, VqU32x2ToDouble(&n)) << bits;
    ASSERT_EQ(static_cast<double>(bits), VqU32x2ToDouble(&n)) << bits;
  }
}

TEST(VqU32x2, DoublesCloseToTheEdges) {
  const struct {
    double dbl;
    uint32 low;
    uint32 high;
  } rows[] = {
      {4294967295.9999995, kOnes, 0},
      {4294967296.0, 0, 1},
      {4294967295.5 + 4294967296.0, kOnes, 1},
      {9007199254740992.0, 0, 0x200000},
      {18446744073709549568.0, 0xFFFFF800, kOnes},
      {18446744073709551616.0, kOnes, kOnes},
      {5e-324, 0, 0},
      {0.99999999999999989, 0, 0},
      {-0.0, 0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.dbl);
    VqU32x2 n;
    VqU32x2FromDouble(&n, row.dbl);
    ExpectWords(n, row.low, row.high);
  }
}

TEST(Vq32x2, SignTellsBothWords) {
  struct {
    Vq32x2 value;
    int32 sign;
  } rows[] = {{{0, 0}, 0}, {{1, 0}, 1},   {{0x80000000, 0}, 1},
              {{0, 1}, 1}, {{0, -1}, -1}, {{5, kMin}, -1}};
  for (auto& row : rows)
    EXPECT_EQ(row.sign, Vq32x2Sign(&row.value)) << row.sign;
  VqU32x2 zero{0, 0};
  VqU32x2 low{1, 0};
  VqU32x2 high{0, kOnes};
  EXPECT_EQ(0u, VqU32x2Sign(&zero));
  EXPECT_EQ(1u, VqU32x2Sign(&low));
  EXPECT_EQ(1u, VqU32x2Sign(&high));
}

TEST(Vq32x2, AddCarriesIntoTheHighWord) {
  Vq32x2 n{kOnes, 0};
  Vq32x2 one{1, 0};
  Vq32x2Add(&n, &n, &one);
  ExpectWords(n, 0, 1);
  VqU32x2 u{kOnes, 0};
  VqU32x2 u_one{1, 0};
  VqU32x2Add(&u, &u_one, &u);
  ExpectWords(u, 0, 1u);
}

TEST(Vq32x2, SubtractBorrowsFromTheHighWord) {
  Vq32x2 n{0, 0};
  Vq32x2 one{1, 0};
  Vq32x2Subtract(&n, &n, &one);
  ExpectWords(n, kOnes, -1);
  VqU32x2 u{0, 0};
  VqU32x2 u_one{1, 0};
  VqU32x2Subtract(&u, &u, &u_one);
  ExpectWords(u, kOnes, kOnes);
}

TEST(Vq32x2, OverflowWrapsSilently) {
  Vq32x2 n{kOnes, kMax};
  Vq32x2AddUint32(&n, &n, 1);
  ExpectWords(n, 0, kMin);
  Vq32x2SubtractUint32(&n, &n, 1);
  ExpectWords(n, kOnes, kMax);
  VqU32x2 u{kOnes, kOnes};
  VqU32x2AddUint32(&u, &u, 2);
  ExpectWords(u, 1, 0u);
  VqU32x2SubtractUint32(&u, &u, 2);
  ExpectWords(u, kOnes, kOnes);
}

TEST(Vq32x2, AResultMayBeEitherOperand) {
  Vq32x2 a{10, 1};
  Vq32x2 b{4, 3};
  Vq32x2Subtract(&b, &a, &b);
  ExpectWords(b, 6, -2);
  Vq32x2Add(&a, &a, &a);
  ExpectWords(a, 20, 2);
}

TEST(Vq32x2, CompareTakesTheHighWordAsSigned) {
  Vq32x2 n{0, kMin};
  Vq32x2 one{0, 1};
  EXPECT_EQ(-1, Vq32x2Compare(&n, &one));
  EXPECT_EQ(1, Vq32x2Compare(&one, &n));
  EXPECT_EQ(0, Vq32x2Compare(&one, &one));
  VqU32x2 u{0, 0x80000000};
  VqU32x2 u_one{0, 1};
  EXPECT_EQ(1, VqU32x2Compare(&u, &u_one));
  EXPECT_EQ(-1, VqU32x2Compare(&u_one, &u));
  EXPECT_EQ(0, VqU32x2Compare(&u, &u));
}

TEST(Vq32x2, CompareTakesTheLowWordsAsUnsigned) {
  Vq32x2 a{0x80000000, -1};
  Vq32x2 b{1, -1};
  EXPECT_EQ(1, Vq32x2Compare(&a, &b));
  EXPECT_EQ(-1, Vq32x2Compare(&b, &a));
}

TEST(Vq32x2, ComparesWithOneWord) {
  Vq32x2 minus_one{kOnes, -1};
  EXPECT_EQ(-1, Vq32x2CompareUint32(&minus_one, kOnes));
  EXPECT_EQ(0, Vq32x2CompareInt32(&minus_one, -1));
  EXPECT_EQ(1, Vq32x2CompareInt32(&minus_one, -2));
  EXPECT_EQ(-1, Vq32x2CompareInt32(&minus_one, 0));
  Vq32x2 large{kOnes, 0};
  EXPECT_EQ(0, Vq32x2CompareUint32(&large, kOnes));
  EXPECT_EQ(1, Vq32x2CompareInt32(&large, -1));
  VqU32x2 u{kOnes, 0};
  EXPECT_EQ(0, VqU32x2CompareUint32(&u, kOnes));
  EXPECT_EQ(1, VqU32x2CompareUint32(&u, 3));
}

TEST(Vq32x2, AddInt32OfMinusOneSubtractsAcrossTheWordBoundary) {
  Vq32x2 n{0, 1};
  Vq32x2AddInt32(&n, &n, -1);
  ExpectWords(n, kOnes, 0);
  Vq32x2SubtractInt32(&n, &n, -1);
  ExpectWords(n, 0, 1);
  Vq32x2SubtractInt32(&n, &n, 1);
  ExpectWords(n, kOnes, 0);
}

}  // namespace
