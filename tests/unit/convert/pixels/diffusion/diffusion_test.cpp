#include "convert/pixels/diffusion/diffusion.h"

#include <gtest/gtest.h>

#include "convert/pixels/otsu/otsu.h"
#include "support/packed_gray.h"
#include "unit/convert/pixels/binarize.h"

namespace pixtola::test {
namespace {

TEST(FindDiffusionLevels, SpansTheLevelsThatOccur) {
  Histogram histogram{};
  histogram[30] = 5;
  histogram[100] = 5;
  histogram[220] = 5;
  const DiffusionLevels levels = FindDiffusionLevels(histogram);
  EXPECT_EQ(levels.low, 30);
  EXPECT_EQ(levels.high, 220);
  EXPECT_EQ(levels.threshold, OtsuThreshold(&histogram));
}

TEST(FindDiffusionLevels, StopsAt254BelowAnd0Above) {
  Histogram white{};
  white[255] = 3;
  EXPECT_EQ(FindDiffusionLevels(white).low, 254);
  EXPECT_EQ(FindDiffusionLevels(white).high, 255);
  Histogram black{};
  black[0] = 3;
  EXPECT_EQ(FindDiffusionLevels(black).low, 0);
  EXPECT_EQ(FindDiffusionLevels(black).high, 0);
}

TEST(DiffuseErrors, MakesAValueEqualToTheThresholdWhite) {
  const Bytes gray = {100};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(
      DiffuseErrors({100, 0, 255}, PackedGray(gray.data(), 1), {destination.data(), 1, 1, 4, 1}),
      1);
  EXPECT_EQ(destination, (Bytes{0b10000000, 0, 0, 0}));
}

TEST(DiffuseErrors, PassesOnBlackValuesAndWhiteDifferences) {
  // Threshold 100, one row 90, 70, 70, 40:
  //   90 < 100: black, keeps 90
  //   70 + 90/4 = 92: black, keeps 92
  //   70 + 92/4 + 90/8 = 70 + 23 + 11 = 104: white, keeps 100 - 104 = -4
  //   40 + (-4 >> 2) + 92/8 = 40 - 1 + 11 = 50: black
  const Bytes gray = {90, 70, 70, 40};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(
      DiffuseErrors({100, 0, 255}, PackedGray(gray.data(), 4), {destination.data(), 4, 1, 4, 1}),
      1);
  EXPECT_EQ(destination, (Bytes{0b00100000, 0, 0, 0}));
}

TEST(DiffuseErrors, TakesFromThePreviousRow) {
  // Threshold 100. Row 0: 80 black, keeps 80. 80 + 20 = 100 white, keeps 0.
  // Row 1, x 0: 70 + 80/4 + 0/8 = 90 black, keeps 90.
  // Row 1, x 1: 65 + 90/4 + 80/8 + 0/4 = 65 + 22 + 10 = 97 black. One more would be:
  const Bytes gray = {80, 80, 70, 65};
  Bytes destination(8, 0xA5);
  ASSERT_EQ(
      DiffuseErrors({100, 0, 255}, PackedGray(gray.data(), 2), {destination.data(), 2, 2, 4, 1}),
      1);
  EXPECT_EQ(destination, (Bytes{0b01000000, 0, 0, 0, 0, 0, 0, 0}));
  const Bytes lighter = {80, 80, 70, 68};
  ASSERT_EQ(
      DiffuseErrors({100, 0, 255}, PackedGray(lighter.data(), 2), {destination.data(), 2, 2, 4, 1}),
      1);
  EXPECT_EQ(destination, (Bytes{0b01000000, 0, 0, 0, 0b01000000, 0, 0, 0}));
}

TEST(DiffuseErrors, KeepsValuesBetweenLowAndHigh) {
  // High below the threshold: nothing can become white, whatever the gray.
  const Bytes gray = {255, 255};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(
      DiffuseErrors({100, 0, 99}, PackedGray(gray.data(), 2), {destination.data(), 2, 1, 4, 1}), 1);
  EXPECT_EQ(destination, Bytes(4, 0));
  // Low at the threshold: everything is.
  const Bytes dark = {0, 0};
  ASSERT_EQ(
      DiffuseErrors({100, 100, 255}, PackedGray(dark.data(), 2), {destination.data(), 2, 1, 4, 1}),
      1);
  EXPECT_EQ(destination, (Bytes{0b11000000, 0, 0, 0}));
}

TEST(DiffuseErrors, ChecksItsArguments) {
  const Bytes gray(64);
  Bytes destination(8, 0xA5);
  EXPECT_EQ(DiffuseErrors({1, 0, 255}, PackedGray(gray.data(), 8), {nullptr, 8, 1, 4, 1}), 0);
  EXPECT_EQ(
      DiffuseErrors({1, 0, 255}, PackedGray(gray.data(), 33), {destination.data(), 33, 1, 4, 1}),
      0);
  EXPECT_EQ(destination, Bytes(8, 0xA5));
}

TEST(BinarizeDiffusion, ClearsTheRestOfTheRows) {
  const Bytes result = Binarize(BinarizeDiffusion, Bytes(9, 200), 9, 1, 8);
  EXPECT_EQ(result, (Bytes{255, 0b10000000, 0, 0, 0, 0, 0, 0}));
}

}  // namespace
}  // namespace pixtola::test
