#include "format/palettes.h"

#include <gtest/gtest.h>

#include <vector>

#include "format/gray_weights.h"

namespace pixtola::test {
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
}

TEST(DefaultPalettes, KeepTheirContents) {
  const auto contents = [](const Gdiplus::ColorPalette* palette) {
    const Gdiplus::ARGB* entries = palette->Entries;
    return std::vector<Gdiplus::ARGB>(entries, entries + palette->Count);
  };
  const auto bilevel = contents(GetDefaultBilevelPalette());
  const auto gray = contents(GetDefaultGrayPalette());
  // A bitmap takes a copy; changing the bitmap's palette leaves the default one.
  const std::uint8_t pixels[4] = {};
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed}) {
    Gdiplus::Bitmap* bitmap = nullptr;
    ASSERT_EQ(PxtInsertBytes(pixels, format, 1, 1, 4, 96, 96, &bitmap, nullptr), 1);
    Gdiplus::ColorPalette one_entry{0, 1, {0xFF123456}};
    bitmap->SetPalette(&one_entry);
    delete bitmap;
  }
  EXPECT_EQ(contents(GetDefaultBilevelPalette()), bilevel);
  EXPECT_EQ(contents(GetDefaultGrayPalette()), gray);
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
}  // namespace pixtola::test
