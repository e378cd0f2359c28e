#include "format/palettes.h"

#include <gtest/gtest.h>

#include "format/gray_weights.h"

namespace pixtola {
namespace {

TEST(DefaultBilevelPalette, IsOpaqueBlackThenOpaqueWhite) {
  const Gdiplus::ColorPalette* palette = GetDefaultBilevelPalette();
  EXPECT_EQ(palette->Flags, 2U);
  ASSERT_EQ(palette->Count, 2U);
  const Gdiplus::ARGB* entries = palette->Entries;
  EXPECT_EQ(entries[0], 0xFF000000U);
  EXPECT_EQ(entries[1], 0xFFFFFFFFU);
}

TEST(DefaultGrayPalette, IsAnOpaqueRamp) {
  const Gdiplus::ColorPalette* palette = GetDefaultGrayPalette();
  EXPECT_EQ(palette->Flags, 2U);
  ASSERT_EQ(palette->Count, 256U);
  const Gdiplus::ARGB* entries = palette->Entries;
  EXPECT_EQ(entries[0], 0xFF000000U);
  EXPECT_EQ(entries[1], 0xFF010101U);
  EXPECT_EQ(entries[254], 0xFFFEFEFEU);
  EXPECT_EQ(entries[255], 0xFFFFFFFFU);
}

TEST(DefaultPalettes, AreTheSameBlockAtEveryRequest) {
  EXPECT_EQ(GetDefaultBilevelPalette(), GetDefaultBilevelPalette());
  EXPECT_EQ(GetDefaultGrayPalette(), GetDefaultGrayPalette());
  EXPECT_EQ(GetDefaultGrayPalette()->Entries[0], 0xFF000000U);
}

TEST(GrayWeights, AreTruncatedProductsOfTheWeights) {
  EXPECT_EQ(GrayWeightRed[1], 76);
  EXPECT_EQ(GrayWeightRed[255], 19584);
  EXPECT_EQ(GrayWeightGreen[1], 151);
  EXPECT_EQ(GrayWeightGreen[255], 38515);
  EXPECT_EQ(GrayWeightBlue[1], 28);
  EXPECT_EQ(GrayWeightBlue[255], 7180);
  for (unsigned i = 0; i < 256; ++i) {
    // An entry e is truncated when e <= i * percent * 256 / 100 < e + 1.
    const unsigned percents[] = {30, 59, 11};
    const unsigned entries[] = {GrayWeightRed[i], GrayWeightGreen[i], GrayWeightBlue[i]};
    for (int channel = 0; channel < 3; ++channel) {
      const unsigned hundredfold = i * percents[channel] * 256;
      EXPECT_LE(entries[channel] * 100, hundredfold) << i << ' ' << channel;
      EXPECT_GT((entries[channel] + 1) * 100, hundredfold) << i << ' ' << channel;
    }
  }
}

TEST(GrayValue, OfWhiteIs254) { EXPECT_EQ(GrayValue(255, 255, 255), 254); }

TEST(GrayValue, OfThePrimaries) {
  EXPECT_EQ(GrayValue(0, 0, 0), 0);
  EXPECT_EQ(GrayValue(255, 0, 0), 76);
  EXPECT_EQ(GrayValue(0, 255, 0), 150);
  EXPECT_EQ(GrayValue(0, 0, 255), 28);
}

}  // namespace
}  // namespace pixtola
