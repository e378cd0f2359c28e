#include "convert/pixels/adaptive/adaptive.h"
#include "convert/pixels/adaptive/adaptive_cells.h"

#include <gtest/gtest.h>

#include "unit/convert/pixels/binarize.h"

namespace pixtola::test {
namespace {

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

}  // namespace
}  // namespace pixtola::test
