#include "format/rectangle.h"

#include <gtest/gtest.h>

namespace pixtola::test {
namespace {

TEST(Extent, WrapsForUnclippedRectangles) {
  EXPECT_EQ(Extent(3, 10), 7U);
  EXPECT_EQ(Extent(-10, -2), 8U);
  EXPECT_EQ(Extent(5, 3), 0xFFFFFFFEU);
  EXPECT_EQ(Extent(0x7FFFFFFF, -0x7FFFFFFF - 1), 1U);
}

TEST(ClipExclusive, ComparesAsSigned) {
  LONG low = -5;
  LONG high = 10;
  ClipExclusive(low, high, 8);
  EXPECT_EQ(low, 0);
  EXPECT_EQ(high, 8);
  low = 20;
  high = 30;
  ClipExclusive(low, high, 8);
  EXPECT_EQ(low, 8);
  EXPECT_EQ(high, 8);
  low = 0;
  high = 10;
  ClipExclusive(low, high, 0x80000001U);  // negative as a signed number
  EXPECT_EQ(low, 0);
  EXPECT_EQ(high, -0x7FFFFFFF);
}

TEST(ClipInclusive, LeavesAtLeastTwoPixels) {
  LONG low = -5;
  LONG high = 10;
  EXPECT_TRUE(ClipInclusive(low, high, 8));
  EXPECT_EQ(low, 0);
  EXPECT_EQ(high, 7);
  low = 7;
  high = 9;
  EXPECT_FALSE(ClipInclusive(low, high, 8));
}

TEST(ClipInclusive, DoesNotOverflowForTheLargestSizes) {
  LONG low = 0;
  LONG high = 10;
  EXPECT_TRUE(ClipInclusive(low, high, 0x80000000U));
  EXPECT_EQ(high, 0x7FFFFFFF);
}

}  // namespace
}  // namespace pixtola::test
