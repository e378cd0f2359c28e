// Recolouring: which pixels change and to what.
#include "process/pixels/recolor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "Pixtola.h"

namespace pixtola {
namespace {

using Bytes = std::vector<std::uint8_t>;

// 0x00BBGGRR.
constexpr std::uint32_t kRed = 0x0000FF;
constexpr std::uint32_t kYellow = 0x00FFFF;
constexpr std::uint32_t kGreen = 0x00FF00;
constexpr std::uint32_t kBlue = 0xFF0000;
constexpr std::uint32_t kBlack = 0x000000;

/// One row, blue first.
Bytes Recolored(Bytes pixels, std::uint32_t find, std::uint32_t replacement,
                std::uint8_t tolerance) {
  RecolorRows(MakeRecoloring(find, replacement, tolerance),
              {pixels.data(), static_cast<std::uint32_t>(pixels.size() / 4), 1,
               static_cast<std::ptrdiff_t>(pixels.size()), 32});
  return pixels;
}

TEST(MakeRecoloring, TakesRedFromTheLowestByteAndIgnoresTheHighest) {
  const Recoloring recoloring = MakeRecoloring(0xAB0000FF, 0xCD800000, 9);
  EXPECT_EQ(recoloring.find_hue, 0);
  EXPECT_EQ(recoloring.replacement_hue, 170);
  EXPECT_EQ(recoloring.saturation_difference, 0);
  EXPECT_EQ(recoloring.value_difference, 128 - 255);
  EXPECT_EQ(recoloring.tolerance, 9);
}

TEST(Recolor, TurnsTheColorFoundIntoTheReplacement) {
  EXPECT_EQ(Recolored({0, 0, 255, 255}, kRed, kBlue, 0), (Bytes{255, 0, 0, 255}));
  EXPECT_EQ(Recolored({0, 0, 255, 255}, kRed, kGreen, 0), (Bytes{0, 255, 0, 255}));
}

TEST(Recolor, KeepsShades) {
  // A red of value 100 becomes a blue of value 100.
  EXPECT_EQ(Recolored({0, 0, 100, 255}, kRed, kBlue, 0), (Bytes{100, 0, 0, 255}));
}

TEST(Recolor, KeepsAlphaAndLeavesTransparentPixels) {
  EXPECT_EQ(Recolored({0, 0, 255, 1, /**/ 0, 0, 255, 0, /**/ 0, 0, 255, 254}, kRed, kBlue, 0),
            (Bytes{255, 0, 0, 1, /**/ 0, 0, 255, 0, /**/ 255, 0, 0, 254}));
}

TEST(Recolor, ToleranceIsTheLargestDistanceThatMatches) {
  // Blue's hue is 170 and green's is 85: 85 steps.
  const Bytes blue = {255, 0, 0, 255};
  EXPECT_EQ(Recolored(blue, kGreen, kRed, 84), blue);
  EXPECT_NE(Recolored(blue, kGreen, kRed, 85), blue);
}

TEST(Recolor, DistanceDoesNotGoRoundTheCircle) {
  // Hue 255: only a step from red's on the circle, but 255 as a number.
  const Bytes nearly_red = {1, 0, 255, 255};
  EXPECT_EQ(Recolored(nearly_red, kRed, kBlue, 254), nearly_red);
  EXPECT_NE(Recolored(nearly_red, kRed, kBlue, 255), nearly_red);
}

TEST(Recolor, MovedHuesStopAtTheEndsOfTheScale) {
  // Green to blue is 85 up; blue would come to 255, which is red, and any hue above stops there,
  // too.
  EXPECT_EQ(Recolored({255, 0, 0, 255, /**/ 255, 0, 128, 255}, kGreen, kBlue, 255),
            (Bytes{0, 0, 255, 255, /**/ 0, 0, 255, 255}));
  // Blue to green is 85 down: yellow at 43 stops at red.
  EXPECT_EQ(Recolored({0, 255, 255, 255}, kBlue, kGreen, 255), (Bytes{0, 0, 255, 255}));
}

TEST(Recolor, GraysMatchLikeRedAndMoveInSaturationAndValue) {
  // Black to red is 255 up in saturation and value.
  EXPECT_EQ(Recolored({200, 200, 200, 255}, kBlack, kRed, 0), (Bytes{0, 0, 255, 255}));
  // Red to black is 255 down in both.
  EXPECT_EQ(Recolored({200, 200, 200, 255}, kRed, kBlack, 0), (Bytes{0, 0, 0, 255}));
  // Yellow's hue is 43: too far at 42.
  const Bytes gray = {200, 200, 200, 255};
  EXPECT_EQ(Recolored(gray, kYellow, kBlack, 42), gray);
  EXPECT_EQ(Recolored(gray, kYellow, kBlack, 43), (Bytes{0, 0, 0, 255}));
}

TEST(Recolor, ColorsOfTheSameModelValuesChangeNothing) {
  // Going to hue, saturation and value and back would change this one.
  const Bytes pixels = {200, 113, 37, 255};
  EXPECT_NE(Recolored(pixels, 0x010000, 0x020000, 255), pixels);
  EXPECT_EQ(Recolored(pixels, 0x020000, 0x020000, 255), pixels);
  // Different colours, both of hue 255, saturation 255 and value 255.
  EXPECT_TRUE(ChangesNothing(MakeRecoloring(0x0100FF, 0x0200FF, 0)));
  EXPECT_EQ(Recolored(pixels, 0x0100FF, 0x0200FF, 255), pixels);
}

TEST(Recolor, AnyOneDifferenceIsAChange) {
  EXPECT_FALSE(ChangesNothing({5, 6, 0, 0, 0}));
  EXPECT_FALSE(ChangesNothing({5, 5, 1, 0, 0}));
  EXPECT_FALSE(ChangesNothing({5, 5, 0, -1, 0}));
  EXPECT_TRUE(ChangesNothing({5, 5, 0, 0, 9}));
}

TEST(Recolor, RowsMayGoDownwardAndTheirPaddingStays) {
  Bytes pixels(3 * 12, 0xA5);
  for (std::size_t y = 0; y < 3; ++y) {
    const Bytes red = {0, 0, 255, 255, /**/ 0, 0, 255, 255};
    std::copy(red.begin(), red.end(), pixels.begin() + static_cast<std::ptrdiff_t>(y * 12));
  }
  // The last two rows, from the last one on.
  RecolorRows(MakeRecoloring(kRed, kBlue, 0), {pixels.data() + 24, 2, 2, -12, 32});
  EXPECT_EQ(pixels, (Bytes{0,   0, 255, 255, /**/ 0,   0, 255, 255, /**/ 0xA5, 0xA5, 0xA5, 0xA5,
                           255, 0, 0,   255, /**/ 255, 0, 0,   255, /**/ 0xA5, 0xA5, 0xA5, 0xA5,
                           255, 0, 0,   255, /**/ 255, 0, 0,   255, /**/ 0xA5, 0xA5, 0xA5, 0xA5}));
}

TEST(Recolor, EmptyImagesAreLeft) {
  std::uint8_t untouched[4] = {0, 0, 255, 255};
  RecolorRows(MakeRecoloring(kRed, kBlue, 0), {untouched, 0, 1, 4, 32});
  RecolorRows(MakeRecoloring(kRed, kBlue, 0), {untouched, 1, 0, 4, 32});
  EXPECT_EQ(untouched[2], 255);
}

/// The rule for one pixel, by the exported functions.
void RecolorPixel(std::uint32_t find, std::uint32_t replacement, int tolerance,
                  std::uint8_t* pixel) {
  std::uint8_t from[3], to[3], own[3];
  const auto to_model = [](std::uint32_t color, std::uint8_t* hsv) {
    PxtRGBtoHSV(color & 255, color >> 8 & 255, color >> 16 & 255, &hsv[0], &hsv[1], &hsv[2]);
  };
  to_model(find, from);
  to_model(replacement, to);
  PxtRGBtoHSV(pixel[2], pixel[1], pixel[0], &own[0], &own[1], &own[2]);
  if (pixel[3] == 0 || std::abs(int{own[0]} - int{from[0]}) > tolerance) return;
  if (std::equal(from, from + 3, to)) return;
  for (int i = 0; i < 3; ++i) {
    own[i] = static_cast<std::uint8_t>(std::max(0, std::min(255, to[i] + own[i] - from[i])));
  }
  PxtHSVtoRGB(own[0], own[1], own[2], &pixel[2], &pixel[1], &pixel[0]);
}

TEST(Recolor, RandomImagesFollowTheRuleForOnePixel) {
  constexpr std::uint32_t kWidth = 301;
  constexpr std::uint32_t kHeight = 7;
  constexpr std::size_t kStride = kWidth * 4 + 8;
  for (std::uint32_t seed = 1; seed <= 60; ++seed) {
    std::mt19937 random(seed);
    const auto find = static_cast<std::uint32_t>(random() & 0xFFFFFF);
    const auto replacement = static_cast<std::uint32_t>(random() & 0xFFFFFF);
    const auto tolerance = static_cast<std::uint8_t>(random() % (seed % 3 == 0 ? 256 : 40));
    Bytes pixels(kStride * kHeight);
    for (std::uint8_t& byte : pixels) byte = static_cast<std::uint8_t>(random());
    Bytes expected = pixels;
    for (std::size_t y = 0; y < kHeight; ++y) {
      for (std::size_t x = 0; x < kWidth; ++x) {
        if (random() % 8 == 0) pixels[y * kStride + x * 4 + 3] = 0;
        expected[y * kStride + x * 4 + 3] = pixels[y * kStride + x * 4 + 3];
        RecolorPixel(find, replacement, tolerance, &expected[y * kStride + x * 4]);
      }
    }
    RecolorRows(MakeRecoloring(find, replacement, tolerance),
                {pixels.data(), kWidth, kHeight, kStride, 32});
    ASSERT_EQ(pixels, expected) << "seed " << seed;
  }
}

}  // namespace
}  // namespace pixtola
