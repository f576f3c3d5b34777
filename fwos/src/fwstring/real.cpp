// Powers of ten and logarithms, by table.
#include "fcreal.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <limits>

namespace {

constexpr int32 kLowest = -323;
constexpr int32 kHighest = 308;

// Ten powers with exponents that differ in the last digit, the least one first.
#define DECADE(tens)                                                                         \
  1e##tens##0, 1e##tens##1, 1e##tens##2, 1e##tens##3, 1e##tens##4, 1e##tens##5, 1e##tens##6, \
      1e##tens##7, 1e##tens##8, 1e##tens##9
#define NEGATIVE_DECADE(tens)                                                         \
  1e-##tens##9, 1e-##tens##8, 1e-##tens##7, 1e-##tens##6, 1e-##tens##5, 1e-##tens##4, \
      1e-##tens##3, 1e-##tens##2, 1e-##tens##1, 1e-##tens##0

// Kept, as the text of the output: 1e23 and 1e210 are the neighbours above the nearest doubles, as
// the C library's pow has them.
constexpr double kPowers[] = {
    // clang-format off
    1e-323, 1e-322, 1e-321, 1e-320,
    NEGATIVE_DECADE(31), NEGATIVE_DECADE(30), NEGATIVE_DECADE(29), NEGATIVE_DECADE(28),
    NEGATIVE_DECADE(27), NEGATIVE_DECADE(26), NEGATIVE_DECADE(25), NEGATIVE_DECADE(24),
    NEGATIVE_DECADE(23), NEGATIVE_DECADE(22), NEGATIVE_DECADE(21), NEGATIVE_DECADE(20),
    NEGATIVE_DECADE(19), NEGATIVE_DECADE(18), NEGATIVE_DECADE(17), NEGATIVE_DECADE(16),
    NEGATIVE_DECADE(15), NEGATIVE_DECADE(14), NEGATIVE_DECADE(13), NEGATIVE_DECADE(12),
    NEGATIVE_DECADE(11), NEGATIVE_DECADE(10), NEGATIVE_DECADE(9), NEGATIVE_DECADE(8),
    NEGATIVE_DECADE(7), NEGATIVE_DECADE(6), NEGATIVE_DECADE(5), NEGATIVE_DECADE(4),
    NEGATIVE_DECADE(3), NEGATIVE_DECADE(2), NEGATIVE_DECADE(1),
    1e-9, 1e-8, 1e-7, 1e-6, 1e-5, 1e-4, 1e-3, 1e-2, 1e-1,
    DECADE(0), DECADE(1),
    1e20, 1e21, 1e22, 0x1.52d02c7e14af7p+76, 1e24, 1e25, 1e26, 1e27, 1e28, 1e29,
    DECADE(3), DECADE(4), DECADE(5), DECADE(6), DECADE(7), DECADE(8), DECADE(9), DECADE(10),
    DECADE(11), DECADE(12), DECADE(13), DECADE(14), DECADE(15), DECADE(16), DECADE(17),
    DECADE(18), DECADE(19), DECADE(20),
    0x1.8557f31326bbcp+697, 1e211, 1e212, 1e213, 1e214, 1e215, 1e216, 1e217, 1e218, 1e219,
    DECADE(22), DECADE(23), DECADE(24), DECADE(25), DECADE(26), DECADE(27), DECADE(28),
    DECADE(29),
    1e300, 1e301, 1e302, 1e303, 1e304, 1e305, 1e306, 1e307, 1e308,
    // clang-format on
};
static_assert(std::size(kPowers) == kHighest - kLowest + 1);

// A logarithm in double precision is a whole number a little before the power itself: this many
// doubles before it, for the powers from the lowest up.
constexpr int32 kLowestLogarithm = -29;
constexpr int16 kEarly[] = {
    // clang-format off
    28, 36, 23, 28, 35, 21, 27, 35, 21,
    27, 33, 21, 27, 33, 11, 13, 16, 10, 12,
    16, 10, 12, 7, 5, 6, 8, 2, 3, 2,
    0, 0, 1, 5, 2, 6, 9, 5, 6, 18,
    10, 13, 17, 10, 12, 16, 10, 25, 32, 20,
    24, 31, 19, 24, 30, 19, 24, 29, 18, 22,
    29, 36, 23, 56, 70, 44, 55, 69, 43, 54,
    67, 42, 53, 67, 41, 51, 64, 40, 50, 62,
    39, 49, 61, 38, 48, 60, 37, 47, 58, 73,
    45, 57, 72, 45, 56, 139, 87, 109, 137, 85,
    107, 133, 83, 104, 130, 81, 102, 127, 79, 99,
    124, 77, 97, 121, 76, 95, 118, 73, 92, 115,
    145, 90, 113, 141, 88, 110, 138, 86, 107, 134,
    84, 105, 131, 82, 102, 128, 80, 100, 125, 78,
    98, 122, 76, 95, 120, 74, 93, 117, 145, 91,
    114, 143, 89, 111, 138, 86, 108, 136, 85, 212,
    266, 165, 207, 259, 161, 202, 253, 158, 198, 247,
    154, 193, 242, 151, 188, 235, 147, 184, 230, 288,
    180, 225, 283, 175, 220, 275, 171, 214, 269, 167,
    209, 262, 163, 204, 256, 159, 199, 250, 155, 195,
    244, 152, 191, 238, 149, 185, 233, 291, 182, 227,
    284, 177, 222, 277, 173, 216, 270, 168, 211, 265,
    165, 207, 258, 161, 201, 252, 157, 197, 246, 154,
    192, 241, 149, 188, 235, 294, 183, 229, 286, 179,
    224, 280, 174, 219, 273, 170, 214, 267, 167, 208,
    261, 163, 204, 255, 159, 199, 248, 155, 194, 243,
    152, 190, 237, 148, 185, 232, 289, 180, 226, 283,
    176, 221, 276, 173, 216, 270, 168, 210, 263, 164,
    205, 257, 161, 200, 250, 157, 196, 491, 306, 383,
    479, 299, 374, 468, 586, 365, 457, 570, 356, 446,
    559, 348, 436, 544, 340, 425, 533, 332, 415, 520,
    324, 406, 507, 316, 397, 495, 309, 387, 483, 302,
    378, 472, 295, 368, 462, 577, 360, 450, 563, 352,
    440, 551, 344, 429, 537, 335, 419, 525, 327,
    // clang-format on
};
static_assert(std::size(kEarly) == kHighest - kLowestLogarithm + 1);

// The least double whose logarithm comes out as the exponent. Positive doubles are in the order of
// their bits.
double FirstOf(int32 nExponent) {
  const auto nBits = std::bit_cast<uint64_t>(kPowers[nExponent - kLowest]);
  return std::bit_cast<double>(nBits - static_cast<uint64_t>(kEarly[nExponent - kLowestLogarithm]));
}

}  // namespace

double FcPowerOfTen(int64 nExponent) {
  if (nExponent > kHighest) return std::numeric_limits<double>::infinity();
  return nExponent < kLowest ? 0 : kPowers[nExponent - kLowest];
}

int32 FcWholeLog10(double value) {
  const double* const pFirst = std::begin(kPowers) + (kLowestLogarithm - kLowest);
  const double* const pAbove = std::upper_bound(pFirst, std::end(kPowers), value);
  const auto nAbove = static_cast<int32>(pAbove - std::begin(kPowers)) + kLowest;
  return nAbove <= kHighest && value >= FirstOf(nAbove) ? nAbove : nAbove - 1;
}
