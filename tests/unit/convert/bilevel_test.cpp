// The three bilevel methods: their thresholds and inner steps, and what they do to destination
// rows.

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "convert/pixels/adaptive/adaptive.h"
#include "convert/pixels/adaptive/adaptive_cells.h"
#include "convert/pixels/diffusion/diffusion.h"
#include "convert/pixels/otsu/otsu.h"
#include "support/packed_gray.h"

namespace pixtola {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Value i is gray i.
GrayLookup IdentityLookup() {
  GrayLookup lookup;
  std::iota(lookup.begin(), lookup.end(), std::uint8_t{0});
  return lookup;
}

using Worker = int (*)(const ImageView&, const GrayLookup*, const MutableImageView&);

/// Binarizes gray pixels; rows of the source are padded to multiples of 4 bytes.
Bytes Binarize(Worker worker, const Bytes& gray, std::uint32_t width, std::uint32_t height,
               std::uint32_t destination_stride, std::uint8_t fill = 0xA5) {
  const std::uint32_t stride = (width + 3) / 4 * 4;
  Bytes source(std::size_t{stride} * height, 0);
  for (std::uint32_t y = 0; y < height; ++y) {
    std::copy_n(gray.begin() + y * width, width, source.begin() + y * stride);
  }
  Bytes destination(std::size_t{destination_stride} * height, fill);
  const GrayLookup lookup = IdentityLookup();
  EXPECT_EQ(worker({source.data(), width, height, stride, 8}, &lookup,
                   {destination.data(), width, height, destination_stride, 1}),
            1);
  return destination;
}

// ------------------------------------------------------------------------------------------- Otsu

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

// --------------------------------------------------------------------------------- 1-bit sources

TEST(BilevelMethods, CopyOneBitSourcesAsTheyAre) {
  for (const Worker worker : {BinarizeOtsu, BinarizeAdaptive, BinarizeDiffusion}) {
    const Bytes source = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};
    Bytes destination(16, 0xA5);
    // 10 pixels: the rest of the source row comes along, what it does not reach becomes 0.
    ASSERT_EQ(worker({source.data(), 10, 2, 4, 1}, nullptr, {destination.data(), 10, 2, 8, 1}), 1);
    EXPECT_EQ(destination, (Bytes{0x12, 0x34, 0x56, 0x78, 0, 0, 0, 0,  //
                                  0x9A, 0xBC, 0xDE, 0xF0, 0, 0, 0, 0}));
    Bytes narrow(8, 0xA5);
    const Bytes wide_source = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    ASSERT_EQ(worker({wide_source.data(), 10, 2, 8, 1}, nullptr, {narrow.data(), 10, 2, 4, 1}), 1);
    EXPECT_EQ(narrow, (Bytes{1, 2, 3, 4, 9, 10, 11, 12}));
  }
}

TEST(BilevelMethods, CheckTheirArguments) {
  for (const Worker worker : {BinarizeOtsu, BinarizeAdaptive, BinarizeDiffusion}) {
    const Bytes source(24, 255);
    Bytes destination(8, 0xA5);
    EXPECT_EQ(worker({nullptr, 8, 1, 24, 24}, nullptr, {destination.data(), 8, 1, 4, 1}), 0);
    EXPECT_EQ(worker({source.data(), 8, 1, 24, 24}, nullptr, {nullptr, 8, 1, 4, 1}), 0);
    EXPECT_EQ(worker({source.data(), 0, 1, 24, 24}, nullptr, {destination.data(), 0, 1, 4, 1}), 0);
    EXPECT_EQ(worker({source.data(), 8, 0, 24, 24}, nullptr, {destination.data(), 8, 0, 4, 1}), 0);
    EXPECT_EQ(worker({source.data(), 8, 1, 24, 24}, nullptr, {destination.data(), 8, 1, 2, 1}), 0);
    EXPECT_EQ(worker({source.data(), 8, 1, 20, 24}, nullptr, {destination.data(), 8, 1, 4, 1}), 0);
    EXPECT_EQ(destination, Bytes(8, 0xA5));
  }
}

TEST(BilevelMethods, LeaveTheDestinationWithoutLookupExceptTheAdaptiveOne) {
  const Bytes source(64, 1);
  for (const Worker worker : {BinarizeOtsu, BinarizeDiffusion}) {
    Bytes destination(32, 0xA5);
    EXPECT_EQ(worker({source.data(), 8, 8, 8, 8}, nullptr, {destination.data(), 8, 8, 4, 1}), 0);
    EXPECT_EQ(destination, Bytes(32, 0xA5));
  }
  Bytes destination(32, 0xA5);
  EXPECT_EQ(
      BinarizeAdaptive({source.data(), 8, 8, 8, 8}, nullptr, {destination.data(), 8, 8, 4, 1}), 0);
  EXPECT_EQ(destination, Bytes(32, 255));
}

// --------------------------------------------------------------------------------------- adaptive

TEST(BinarizeAdaptive, LeavesImagesLowerThanACellWhite) {
  const Bytes result = Binarize(BinarizeAdaptive, Bytes(40 * 15, 0), 40, 15, 8);
  EXPECT_EQ(result, Bytes(8 * 15, 255));
}

TEST(BinarizeAdaptive, LeavesTheRowsBelowTheLastCellWhite) {
  const Bytes result = Binarize(BinarizeAdaptive, Bytes(16 * 20, 0), 16, 20, 4);
  for (std::size_t y = 0; y < 20; ++y) {
    // A black image has cell values 0; its global threshold 2 pulls them to 1.
    EXPECT_EQ(result[4 * y], y < 16 ? 0 : 255) << y;
    EXPECT_EQ(result[4 * y + 1], y < 16 ? 0 : 255) << y;
    EXPECT_EQ(result[4 * y + 2], 255) << y;
    EXPECT_EQ(result[4 * y + 3], 255) << y;
  }
}

TEST(BinarizeAdaptive, ComparesTheRightHandStripStrictly) {
  // One cell of level 100, then four columns of another level b. The cell's own value is 100 * 0.6
  // = 60 (it is flat; the window adds less than 1). With b = 88 the global threshold is (4 * 101 +
  // 89) / 5 = 98, and 60 + 38 * 0.75 = 88: the strip's pixels are at the threshold and stay white.
  // With b = 87 the threshold is the same and they are black, in the first four rows.
  for (const auto strip_level : {std::uint8_t{88}, std::uint8_t{87}}) {
    Bytes gray;
    for (int y = 0; y < 16; ++y) {
      gray.insert(gray.end(), 16, 100);
      gray.insert(gray.end(), 4, strip_level);
    }
    const Bytes result = Binarize(BinarizeAdaptive, gray, 20, 16, 4);
    for (std::size_t y = 0; y < 16; ++y) {
      EXPECT_EQ(result[4 * y], 255) << y;
      EXPECT_EQ(result[4 * y + 1], 255) << y;
      EXPECT_EQ(result[4 * y + 2], strip_level == 87 && y < 4 ? 0b00001111 : 255) << y;
      EXPECT_EQ(result[4 * y + 3], 255) << y;
    }
  }
}

TEST(BinarizeAdaptive, CoversAsManyStripRowsAsColumnsAreLeft) {
  // No whole cell fits across: the threshold stays 255, so everything below white is black, but
  // only in the first 5 rows of each band of 16, and 16 pixels wide, running on into the next row.
  const Bytes result = Binarize(BinarizeAdaptive, Bytes(5 * 32, 10), 5, 32, 4);
  for (std::size_t y = 0; y < 32; ++y) {
    const std::uint8_t expected = y % 16 < 5 ? 0 : 255;
    EXPECT_EQ(result[4 * y], expected) << y;
    EXPECT_EQ(result[4 * y + 1], expected) << y;
    EXPECT_EQ(result[4 * y + 2], 255) << y;
  }
}

TEST(ComputeCellThresholds, OfAFlatWindowIsNoNumberAndGivesZero) {
  // The first window covers the image and deviates by 0: the first row of cells has k = 0 / 0. The
  // next one starts 16 rows lower. Its last 16 rows keep the samples of the first, but do not count
  // for the mean, which is 90 * 112 / 128 = 78; it deviates by 12, so k = 0 and the cells' value is
  // 90 * 0.6 + 78 * 0.1 / 90 = 54.09. So it goes on down the image.
  const Bytes gray(128 * 128, 90);
  const CellGrid grid = ComputeCellThresholds({gray.data(), 128, 128, 128, 8});
  ASSERT_EQ(grid.columns, 8U);
  ASSERT_EQ(grid.rows, 8U);
  for (std::uint32_t row = 0; row < 8; ++row) {
    for (std::uint32_t column = 0; column < 8; ++column) {
      EXPECT_EQ(grid.At(row, column), row == 0 ? 0 : 54) << row << ' ' << column;
    }
  }
}

TEST(ComputeCellThresholds, OfOneFlatCellFollowsTheFormula) {
  // One cell of level 200. The window takes 16 * 16 of 16384 samples, so M = 51200 / 16384 = 3, and
  // s = k = 0: the value is 200 * 0.6 + 3 * 0.1 / 200 = 120.0015, truncated.
  const Bytes gray(16 * 16, 200);
  const CellGrid grid = ComputeCellThresholds({gray.data(), 16, 16, 16, 8});
  ASSERT_EQ(grid.columns * grid.rows, 1U);
  EXPECT_EQ(grid.At(0, 0), 120);
}

TEST(ComputeCellThresholds, HasNoCellsInSmallImages) {
  const Bytes gray(15 * 15, 200);
  const CellGrid grid = ComputeCellThresholds({gray.data(), 15, 15, 15, 8});
  EXPECT_EQ(grid.columns, 0U);
  EXPECT_EQ(grid.rows, 0U);
  EXPECT_NE(grid.values, nullptr);
}

CellGrid OneCell(std::uint8_t value) {
  CellGrid grid{1, 1, Allocate<std::uint8_t>(1)};
  grid.values[0] = value;
  return grid;
}

TEST(CellThreshold, IsPulledTowardTheGlobalThreshold) {
  EXPECT_EQ(CellThreshold(OneCell(100), 0, 0, 100), 100);
  EXPECT_EQ(CellThreshold(OneCell(100), 0, 0, 111), 108);  // 11 * 0.75 = 8.25
  EXPECT_EQ(CellThreshold(OneCell(100), 0, 0, 89), 98);    // 11 * 0.25 = 2.75
  EXPECT_EQ(CellThreshold(OneCell(255), 0, 0, 255), 255);  // 255 + 0 is not below 255: as it is
  EXPECT_EQ(CellThreshold(OneCell(1), 0, 0, 0), 1);        // 0.25 truncates to 0
  EXPECT_EQ(CellThreshold(OneCell(0), 0, 0, 255), 191);    // 191.25
}

TEST(CellThreshold, WeighsNeighboursByTheirDistance) {
  // Two cells side by side: weights 10 and 9. (10 * 100 + 9 * 50) / 19 = 76.3.
  CellGrid grid{2, 1, Allocate<std::uint8_t>(2)};
  grid.values[0] = 100;
  grid.values[1] = 50;
  EXPECT_EQ(CellThreshold(grid, 0, 0, 76), 76);
  // From the other: (10 * 50 + 9 * 100) / 19 = 73.7.
  EXPECT_EQ(CellThreshold(grid, 0, 1, 73), 73);
}

TEST(CellThreshold, LooksFiveCellsFarAndNoFurther) {
  CellGrid grid{7, 1, AllocateZeroed<std::uint8_t>(7)};
  grid.values[6] = 255;
  EXPECT_EQ(CellThreshold(grid, 0, 0, 0), 0);
  // Weights 10, 9, 8, 7, 6, 5 from column 1 to 6, and 9 for column 0: 5 * 255 / 54 = 23.6, pulled
  // down by 23 * 0.25 = 5.75.
  EXPECT_EQ(CellThreshold(grid, 0, 1, 0), 18);
}

// -------------------------------------------------------------------------------------- diffusion

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
  ASSERT_EQ(DiffuseErrors({100, 0, 255}, test::PackedGray(gray.data(), 1),
                          {destination.data(), 1, 1, 4, 1}),
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
  ASSERT_EQ(DiffuseErrors({100, 0, 255}, test::PackedGray(gray.data(), 4),
                          {destination.data(), 4, 1, 4, 1}),
            1);
  EXPECT_EQ(destination, (Bytes{0b00100000, 0, 0, 0}));
}

TEST(DiffuseErrors, TakesFromThePreviousRow) {
  // Threshold 100. Row 0: 80 black, keeps 80. 80 + 20 = 100 white, keeps 0.
  // Row 1, x 0: 70 + 80/4 + 0/8 = 90 black, keeps 90.
  // Row 1, x 1: 65 + 90/4 + 80/8 + 0/4 = 65 + 22 + 10 = 97 black. One more would be:
  const Bytes gray = {80, 80, 70, 65};
  Bytes destination(8, 0xA5);
  ASSERT_EQ(DiffuseErrors({100, 0, 255}, test::PackedGray(gray.data(), 2),
                          {destination.data(), 2, 2, 4, 1}),
            1);
  EXPECT_EQ(destination, (Bytes{0b01000000, 0, 0, 0, 0, 0, 0, 0}));
  const Bytes lighter = {80, 80, 70, 68};
  ASSERT_EQ(DiffuseErrors({100, 0, 255}, test::PackedGray(lighter.data(), 2),
                          {destination.data(), 2, 2, 4, 1}),
            1);
  EXPECT_EQ(destination, (Bytes{0b01000000, 0, 0, 0, 0b01000000, 0, 0, 0}));
}

TEST(DiffuseErrors, KeepsValuesBetweenLowAndHigh) {
  // High below the threshold: nothing can become white, whatever the gray.
  const Bytes gray = {255, 255};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(DiffuseErrors({100, 0, 99}, test::PackedGray(gray.data(), 2),
                          {destination.data(), 2, 1, 4, 1}),
            1);
  EXPECT_EQ(destination, Bytes(4, 0));
  // Low at the threshold: everything is.
  const Bytes dark = {0, 0};
  ASSERT_EQ(DiffuseErrors({100, 100, 255}, test::PackedGray(dark.data(), 2),
                          {destination.data(), 2, 1, 4, 1}),
            1);
  EXPECT_EQ(destination, (Bytes{0b11000000, 0, 0, 0}));
}

TEST(DiffuseErrors, ChecksItsArguments) {
  const Bytes gray(64);
  Bytes destination(8, 0xA5);
  EXPECT_EQ(DiffuseErrors({1, 0, 255}, test::PackedGray(gray.data(), 8), {nullptr, 8, 1, 4, 1}), 0);
  EXPECT_EQ(DiffuseErrors({1, 0, 255}, test::PackedGray(gray.data(), 33),
                          {destination.data(), 33, 1, 4, 1}),
            0);
  EXPECT_EQ(destination, Bytes(8, 0xA5));
}

TEST(BinarizeDiffusion, ClearsTheRestOfTheRows) {
  const Bytes result = Binarize(BinarizeDiffusion, Bytes(9, 200), 9, 1, 8);
  EXPECT_EQ(result, (Bytes{255, 0b10000000, 0, 0, 0, 0, 0, 0}));
}

}  // namespace
}  // namespace pixtola
