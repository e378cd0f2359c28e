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

}  // namespace
}  // namespace pixtola::test
