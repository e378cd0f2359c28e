#include "convert/pixels/otsu/otsu.h"

#include <gtest/gtest.h>

#include "unit/convert/pixels/binarize.h"

namespace pixtola::test {
namespace {

TEST(OtsuThreshold, Is128WithoutPixels) {
  const Histogram empty{};
  EXPECT_EQ(OtsuThreshold(&empty), 128);
  EXPECT_EQ(OtsuThreshold(nullptr), 128);
}

TEST(OtsuThreshold, OfFlatImagesMakesThemWhiteFromLevel127On) {
  for (unsigned level = 0; level < 256; ++level) {
    Histogram histogram{};
    histogram[level] = 1000;
    EXPECT_EQ(OtsuThreshold(&histogram), level >= 127 ? level : level + 2) << level;
  }
}

TEST(OtsuThreshold, OfTwoLevelsIsTheMeanOfLevelPlusOne) {
  Histogram histogram{};
  histogram[0] = 50;
  histogram[255] = 50;
  EXPECT_EQ(OtsuThreshold(&histogram), 128);  // (1 + 256) / 2
  histogram = {};
  histogram[10] = 1;
  histogram[20] = 3;
  EXPECT_EQ(OtsuThreshold(&histogram), 18);  // (11 + 63) / 4 = 18.5
}

TEST(OtsuThreshold, SeparatesThreeLevelsWhereTheScoreIsHighest) {
  // Levels 10, 20 and 200, ten pixels each. The cut after 20: means 16 and 201, 20 * 10 * 185^2 =
  // 6845000. The cut after 10: means 11 and 111, 10 * 20 * 100^2 = 2000000.
  Histogram histogram{};
  histogram[10] = histogram[20] = histogram[200] = 10;
  EXPECT_EQ(OtsuThreshold(&histogram), 20);
}

TEST(OtsuThreshold, KeepsTheLowerLevelOnTies) {
  // Symmetric: cuts after 100 and after 150 score the same.
  Histogram histogram{};
  histogram[100] = histogram[150] = histogram[200] = 7;
  EXPECT_EQ(OtsuThreshold(&histogram), 100);
}

TEST(OtsuThreshold, NeverChoosesLevel255) {
  Histogram histogram{};
  histogram[253] = histogram[254] = 1;
  histogram[255] = 1000000;
  EXPECT_EQ(OtsuThreshold(&histogram), 254);
}

TEST(OtsuThreshold, WrapsTheWeightedProductsAt32Bits) {
  // 2^24 white pixels: 256 * 2^24 wraps to 0. The mean is then below 128, and 0 + 1 is returned.
  Histogram histogram{};
  histogram[255] = 1U << 24;
  EXPECT_EQ(OtsuThreshold(&histogram), 1);
}

TEST(OtsuThreshold, DoesNotWrapTheRunningWeight) {
  // 111 * 2^26 wraps in the sum of all weights, w = 3238002884, but not in the running one.
  // The cut after 4 has means 5 and 47 and scores 2^24 * 2^26 * 42^2 = 2e18. The cut after 110 has
  // the mean 89.8 below and, above, w - 7532969984 for the one pixel there: 83886080 * 4294967190^2
  // = 2e27. A running weight that wrapped would give means of 38.6 and 196, a score of 2e12, and
  // level 4.
  Histogram histogram{};
  histogram[4] = 1U << 24;
  histogram[110] = 1U << 26;
  histogram[195] = 1;
  EXPECT_EQ(OtsuThreshold(&histogram), 110);
}

TEST(PackByThreshold, SetsBitsFromTheThresholdOn) {
  const Bytes gray = {99, 100, 101, 0, 255, 100, 99, 100, 100};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(PackByThreshold(100, {gray.data(), 9, 1, 9, 8}, {destination.data(), 9, 1, 4, 1}), 1);
  EXPECT_EQ(destination, (Bytes{0b01101101, 0b10000000, 0xA5, 0xA5}));
}

TEST(PackByThreshold, SucceedsWithoutRows) {
  const Bytes gray(1);
  Bytes destination(4, 0xA5);
  EXPECT_EQ(PackByThreshold(100, {gray.data(), 1, 0, 1, 8}, {destination.data(), 1, 0, 4, 1}), 1);
  EXPECT_EQ(destination, Bytes(4, 0xA5));
}

TEST(PackByThreshold, ChecksItsArguments) {
  const Bytes gray(64);
  Bytes destination(8);
  EXPECT_EQ(PackByThreshold(1, {nullptr, 8, 1, 8, 8}, {destination.data(), 8, 1, 4, 1}), 0);
  EXPECT_EQ(PackByThreshold(1, {gray.data(), 8, 1, 8, 8}, {nullptr, 8, 1, 4, 1}), 0);
  EXPECT_EQ(PackByThreshold(1, {gray.data(), 8, 1, 8, 8}, {destination.data(), 8, 1, 3, 1}), 0);
  EXPECT_EQ(PackByThreshold(1, {gray.data(), 33, 1, 33, 8}, {destination.data(), 33, 1, 4, 1}), 0);
}

TEST(BinarizeOtsu, MakesFlatLightImagesWhiteAndFlatDarkOnesBlack) {
  const Bytes white = Binarize(BinarizeOtsu, Bytes(64, 200), 8, 8, 4, 0);
  const Bytes black = Binarize(BinarizeOtsu, Bytes(64, 50), 8, 8, 4, 0);
  for (std::size_t y = 0; y < 8; ++y) {
    EXPECT_EQ(white[4 * y], 255);
    EXPECT_EQ(black[4 * y], 0);
  }
}

TEST(BinarizeOtsu, LeavesTheBytesPastARowsPixels) {
  const Bytes result = Binarize(BinarizeOtsu, Bytes(9, 200), 9, 1, 8);
  EXPECT_EQ(result, (Bytes{255, 0b10000000, 0xA5, 0xA5, 0xA5, 0xA5, 0xA5, 0xA5}));
}

}  // namespace
}  // namespace pixtola::test
