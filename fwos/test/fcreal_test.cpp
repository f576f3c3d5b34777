// Powers of ten and logarithms, against the C library's own.
#include "fcreal.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

namespace {

double NearestPower(int exponent) {
  return std::strtod(("1e" + std::to_string(exponent)).c_str(), nullptr);
}

// Positive doubles are in the order of their bits.
double Neighbour(double value, int64 steps) {
  return std::bit_cast<double>(std::bit_cast<int64>(value) + steps);
}

TEST(FcPowerOfTen, IsTheNearestDoubleButForTwo) {
  for (int exponent = -323; exponent <= 308; ++exponent) {
    double expected = NearestPower(exponent);
    if (exponent == 23 || exponent == 210) expected = Neighbour(expected, 1);
    EXPECT_EQ(expected, FcPowerOfTen(exponent)) << exponent;
  }
}

// The C library may be one off the nearest double, and by other powers on other processors.
TEST(FcPowerOfTen, IsWithinOneDoubleOfThePowerFunction) {
  for (int exponent = -323; exponent <= 308; ++exponent) {
    const double power = std::pow(10.0, exponent);
    EXPECT_LE(Neighbour(power, -1), FcPowerOfTen(exponent)) << exponent;
    EXPECT_GE(Neighbour(power, 1), FcPowerOfTen(exponent)) << exponent;
  }
}

TEST(FcPowerOfTen, EndsInInfinityAndZero) {
  for (const int64 exponent : {int64{309}, int64{1} << 40, std::numeric_limits<int64>::max()})
    EXPECT_EQ(HUGE_VAL, FcPowerOfTen(exponent)) << exponent;
  for (const int64 exponent : {int64{-324}, int64{-1} << 40, std::numeric_limits<int64>::min()})
    EXPECT_EQ(0.0, FcPowerOfTen(exponent)) << exponent;
}

int32 WholeLogarithm(double value) {
  return static_cast<int32>(std::floor(std::log10(value)));
}

TEST(FcWholeLog10, IsRoundedDown) {
  const struct {
    double value;
    int32 whole;
  } rows[] = {{1e-30, -30}, {1.1e-30, -30}, {9.9e-30, -30}, {1e-29, -29}, {0.05, -2},
              {0.1, -1},    {0.5, -1},      {0.99, -1},     {1, 0},       {9.5, 0},
              {10, 1},      {99.9, 1},      {1e15, 15},     {1e22, 22},   {DBL_MAX, 308}};
  for (const auto& row : rows)
    EXPECT_EQ(row.whole, FcWholeLog10(row.value)) << row.value;
}

// A logarithm close below a whole number is rounded to it: 3 is that of 999.9999999999995 too.
TEST(FcWholeLog10, TakesTheStepSomeDoublesBeforeThePower) {
  EXPECT_EQ(0, FcWholeLog10(Neighbour(10, -1)));
  EXPECT_EQ(3, FcWholeLog10(Neighbour(1000, -5)));
  EXPECT_EQ(2, FcWholeLog10(Neighbour(1000, -6)));
  EXPECT_EQ(-1, FcWholeLog10(Neighbour(1, -1)));
}

TEST(FcWholeLog10, IsTheFloorOfTheLogarithmAroundEachPower) {
  for (int exponent = -30; exponent <= 308; ++exponent) {
    const double power = NearestPower(exponent);
    for (int64 steps = exponent == -30 ? 0 : -650; steps <= 50; ++steps) {
      const double value = Neighbour(power, steps);
      ASSERT_EQ(WholeLogarithm(value), FcWholeLog10(value)) << exponent << " " << steps;
    }
  }
}

TEST(FcWholeLog10, IsTheFloorOfTheLogarithmAnywhere) {
  std::mt19937_64 random(10);
  const auto least = std::bit_cast<uint64_t>(1e-30);
  const auto most = std::bit_cast<uint64_t>(DBL_MAX);
  std::uniform_int_distribution<uint64_t> bits(least, most);
  for (int i = 0; i < 100000; ++i) {
    const auto value = std::bit_cast<double>(bits(random));
    ASSERT_EQ(WholeLogarithm(value), FcWholeLog10(value)) << value;
  }
}

}  // namespace
