#include "format/pixel_format.h"

#include <gtest/gtest.h>

namespace pixtola::test {
namespace {

TEST(PxtCalcStride, RoundsRowsUpToMultiplesOfFour) {
  EXPECT_EQ(PxtCalcStride(1, PixelFormat1bppIndexed), 4U);
  EXPECT_EQ(PxtCalcStride(32, PixelFormat1bppIndexed), 4U);
  EXPECT_EQ(PxtCalcStride(33, PixelFormat1bppIndexed), 8U);
  EXPECT_EQ(PxtCalcStride(5, PixelFormat8bppIndexed), 8U);
  EXPECT_EQ(PxtCalcStride(8, PixelFormat8bppIndexed), 8U);
  EXPECT_EQ(PxtCalcStride(3, PixelFormat24bppRGB), 12U);
  EXPECT_EQ(PxtCalcStride(5, PixelFormat24bppRGB), 16U);
  EXPECT_EQ(PxtCalcStride(7, PixelFormat32bppARGB), 28U);
  EXPECT_EQ(PxtCalcStride(9, PixelFormat4bppIndexed), 8U);
}

TEST(PxtCalcStride, IsZeroForWidthZero) {
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
                            PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    EXPECT_EQ(PxtCalcStride(0, format), 0U) << format;
  }
}

TEST(CalcStrideFromBits, WrapsAt32Bits) {
  // 3 * 0x55555556 = 2^32 + 2, of which 2 is left.
  EXPECT_EQ(CalcStrideFromBits(24, 0x55555556U), 4U);
  EXPECT_EQ(CalcStrideFromBits(8, 0xFFFFFFFEU), 0U);
  EXPECT_EQ(CalcStrideFromBits(4, 0x40000001U), 4U);
}

TEST(CalcStrideFromBits, TruncatesDepthsThatAreNoWholeBytes) {
  EXPECT_EQ(CalcStrideFromBits(12, 10), 12U);  // one byte a pixel
}

TEST(IsValidStride, RefusesStridesThatAreNoMultiplesOfFour) {
  EXPECT_FALSE(IsValidStride(1, 24, 1001));
  EXPECT_FALSE(IsValidStride(1, 24, 1002));
  EXPECT_FALSE(IsValidStride(1, 24, 1003));
  EXPECT_FALSE(IsValidStride(0, 8, 2));
}

TEST(IsValidStride, AsksForTheBytesOfARow) {
  EXPECT_TRUE(IsValidStride(32, 1, 4));
  EXPECT_FALSE(IsValidStride(33, 1, 4));
  EXPECT_TRUE(IsValidStride(4, 8, 4));
  EXPECT_FALSE(IsValidStride(5, 8, 4));
  EXPECT_TRUE(IsValidStride(5, 24, 16));
  EXPECT_FALSE(IsValidStride(6, 24, 16));
  EXPECT_TRUE(IsValidStride(3, 32, 12));
  EXPECT_FALSE(IsValidStride(4, 32, 12));
  EXPECT_TRUE(IsValidStride(2, 64, 16));
}

TEST(IsValidStride, CountsFourPixelsAByteAtFourBits) {
  EXPECT_TRUE(IsValidStride(10, 4, 4));  // although ten such pixels need 5 bytes
  EXPECT_TRUE(IsValidStride(16, 4, 4));
  EXPECT_FALSE(IsValidStride(17, 4, 4));
}

TEST(IsValidStride, RefusesDepthsThatAreNoWholeBytes) {
  for (const std::uint32_t bits : {2U, 3U, 12U, 15U, 33U}) {
    EXPECT_FALSE(IsValidStride(1, bits, 4096)) << bits;
    EXPECT_FALSE(IsValidStride(0, bits, 0)) << bits;
  }
}

TEST(IsValidStride, AcceptsWidthZeroWithAnyMultipleOfFour) {
  for (const std::uint32_t bits : {1U, 4U, 8U, 24U, 32U}) {
    EXPECT_TRUE(IsValidStride(0, bits, 0)) << bits;
    EXPECT_TRUE(IsValidStride(0, bits, 8)) << bits;
  }
}

TEST(IsValidStride, DoesNotOverflowForTheWidestImages) {
  EXPECT_FALSE(IsValidStride(0xFFFFFFFFU, 1, 4));
  EXPECT_TRUE(IsValidStride(0xFFFFFFFFU, 1, 0x20000000U));
  EXPECT_FALSE(IsValidStride(0xFFFFFFFFU, 4, 4));
  EXPECT_TRUE(IsValidStride(0xFFFFFFFFU, 4, 0x40000000U));
}

TEST(PackedRowBytes, NeverWraps) {
  EXPECT_EQ(PackedRowBytes(24, 0x55555556U), 0x100000002ULL);
  EXPECT_EQ(PackedRowBytes(1, 9), 2U);
  EXPECT_EQ(PackedRowBytes(4, 3), 2U);
}

}  // namespace
}  // namespace pixtola::test
