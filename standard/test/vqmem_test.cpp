// Comparison and copies of memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "caller.h"
#include "recorder.h"
#include "vqmemcmp.h"
#include "vqmemcpy.h"

namespace {

int32 Compare(std::string a, std::string b) {
  return VqMemCmp(reinterpret_cast<uint8*>(a.data()), static_cast<int32>(a.size()),
                  reinterpret_cast<uint8*>(b.data()), static_cast<int32>(b.size()));
}

TEST(VqMemCmp, IsTheFirstDifferenceOrThatOfTheLengths) {
  struct {
    std::string a, b;
    int32 result;
  } rows[] = {
      {"abc", "abd", -1},
      {"abd", "abc", 1},
      {"abc", "ab", 1},
      {"ab", "abcd", -2},
      {"", "", 0},
      {"same", "same", 0},
      {"", "abc", -3},
      {"b", "abc", 1},
      {"\xFF", "\x01", 254},
      {"\x01", "\xFF", -254},
      {"z", std::string(1, '\0'), 'z'},
      {std::string("a\0b", 3), std::string("a\0c", 3), -1},
  };
  for (auto& row : rows)
    EXPECT_EQ(row.result, Compare(row.a, row.b)) << row.a << " " << row.b;
}

TEST(VqMemCmp, CanBeAsFarAs255OffZero) {
  EXPECT_EQ(255, Compare("\xFF", std::string(1, '\0')));
  EXPECT_EQ(-255, Compare(std::string(1, '\0'), "\xFF"));
}

TEST(VqMemCpy, CopiesOntoItselfWithoutAnAssertion) {
  char text[] = "text";
  VqMemCpy_Assert(text, text, 4);
  EXPECT_STREQ("text", text);
}

TEST(VqMemCpy, CopiesBlocksThatTouchEndToEnd) {
  char text[] = "abcdxxxx";
  VqMemCpy_Assert(text + 4, text, 4);
  EXPECT_STREQ("abcdabcd", text);
  char other[] = "xxxxabcd";
  VqMemCpy_Assert(other, other + 4, 4);
  EXPECT_STREQ("abcdabcd", other);
}

TEST(VqMemCpy, RefusesOverlapEitherWay) {
  ExpectAsserts expected(
      {"VqMemCpy called with overlapping blocks.\n", "VqMemCpy called with overlapping blocks.\n"});
  char text[] = "abcdefgh";
  VqMemCpy_Assert(text + 3, text, 4);
  VqMemCpy_Assert(text, text + 3, 4);
  EXPECT_STREQ("abcdefgh", text);
}

TEST(VqMemCpy, OfNothingOrLessCopiesNothing) {
  char text[] = "abcdefgh";
  VqMemCpy_Assert(text, text + 1, 0);
  VqMemCpy_Assert(text, text + 1, -1);
  bcopy_safe(text, text + 1, 0);
  bcopy_safe(text + 1, text, -5);
  EXPECT_STREQ("abcdefgh", text);
}

// Moves count bytes by shift within a larger array, at each offset modulo 8, and compares all of
// the array with what the C++ library makes of it.
void ExpectMove(int count, int shift, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  for (int offset = 0; offset < 8; ++offset) {
    const int start = 64 + offset;
    std::vector<char> bytes(512);
    std::iota(bytes.begin(), bytes.end(), 1);
    std::vector<char> expected = bytes;
    std::vector<char> source(bytes.begin() + start, bytes.begin() + start + count);
    std::copy(source.begin(), source.end(), expected.begin() + start + shift);
    bcopy_safe(bytes.data() + start, bytes.data() + start + shift, count);
    EXPECT_EQ(expected, bytes) << count << " by " << shift << " at " << offset;
  }
}

TEST(BcopySafe, ShiftsAHundredBytesByOneEitherWay) {
  ExpectMove(100, 1);
  ExpectMove(100, -1);
}

TEST(BcopySafe, ShiftsAHundredBytesByAWordEitherWay) {
  ExpectMove(100, 4);
  ExpectMove(100, -4);
}

TEST(BcopySafe, IsRightForEveryLengthAndShift) {
  for (int count = 0; count <= 140; ++count)
    for (const int shift :
         {-64, -33, -32, -31, -8, -7, -5, -4, -3, -2, 0, 2, 3, 4, 5, 7, 8, 12, 31, 32, 64}) {
      SCOPED_TRACE(testing::Message() << count << ' ' << shift);
      ExpectMove(count, shift);
    }
}

TEST(BcopySafe, DoesNothingInPlace) {
  char text[] = "abc";
  bcopy_safe(text, text, 3);
  EXPECT_STREQ("abc", text);
}

TEST(Scpy, CopiesSeparateRangesInBothDirections) {
  for (int count = 0; count <= 80; ++count)
    for (int skew = 0; skew < 4; ++skew) {
      SCOPED_TRACE(testing::Message() << count << ' ' << skew);
      std::vector<uint8> source(100), forward(100, 0xEE), backward(100, 0xEE);
      std::iota(source.begin(), source.end(), 1);
      scpyf(forward.data() + 1, source.data() + skew, count);
      scpyb(backward.data() + 1, source.data() + skew, count);
      EXPECT_TRUE(
          std::equal(forward.begin() + 1, forward.begin() + 1 + count, source.begin() + skew));
      EXPECT_EQ(forward, backward);
      EXPECT_EQ(0xEE, forward[0]);
      EXPECT_EQ(0xEE, forward[static_cast<std::size_t>(count) + 1]);
    }
}

TEST(Scpy, ARemainderThatNoLoopTookAsserts) {
  ExpectAsserts expected(
      {"Count too large finishing scpyf\n", "Count too large finishing scpyb\n"});
  uint8 bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  scpyf(bytes, bytes + 4, -1);
  scpyb(bytes + 4, bytes + 5, -1);
  EXPECT_EQ(5, bytes[4]);
}

}  // namespace
