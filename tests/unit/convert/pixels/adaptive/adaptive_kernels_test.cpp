// The plain steps of the adaptive conversion, and the windows derived from cells, checked by values
// that follow from their rules.
#include "convert/pixels/adaptive/adaptive_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "convert/pixels/adaptive/adaptive_windows.h"
#include "convert/pixels/adaptive/gray_bands.h"
#include "support/packed_gray.h"

namespace pixtola {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr const AdaptiveKernels& kPlain = kPlainAdaptiveKernels;

TEST(MeasureCells, AddsUpSamplesAndSquaresAndFindsTheLeast) {
  // Two cells of two rows; the stride leaves three bytes out.
  Bytes gray(35 + 32, 3);
  gray[5] = 1;
  gray[35 + 31] = 10;
  gray[32] = 0;  // between the rows
  std::uint32_t sums[2];
  std::uint32_t squares[2];
  std::uint8_t minima[2];
  kPlain.measure_cells(gray.data(), 35, 2, 2, {sums, squares, minima});
  EXPECT_EQ(sums[0], 32U * 3 - 2);
  EXPECT_EQ(squares[0], 32U * 9 - 8);
  EXPECT_EQ(minima[0], 1);
  EXPECT_EQ(sums[1], 32U * 3 + 7);
  EXPECT_EQ(squares[1], 32U * 9 + 91);
  EXPECT_EQ(minima[1], 3);
}

/// The value of a cell of which one half has one level and the other half another.
std::uint8_t ValueOfHalves(std::uint32_t a, std::uint32_t b, const Statistics& window) {
  std::vector<std::uint32_t> sums(8, 128 * (a + b));
  std::vector<std::uint32_t> squares(8, 128 * (a * a + b * b));
  Bytes minima(8, static_cast<std::uint8_t>(a < b ? a : b));
  Bytes values(8);
  kPlain.cell_values({sums.data(), squares.data(), minima.data()}, &window, 1, values.data());
  EXPECT_EQ(values, Bytes(8, values[0]));
  return values[0];
}

TEST(CellValues, FollowTheFormula) {
  // Flat: 200 * 0.6 + 100 * 0.1 / 200 = 120.05.
  EXPECT_EQ(ValueOfHalves(200, 200, {100, 20}), 120);
  // m = 150, s = 50, k = 2: 8 * 0.05 * 50 + 90 + 4 * 0.02 * 100 + 10 / 150 = 118.07.
  EXPECT_EQ(ValueOfHalves(100, 200, {100, 25}), 118);
  // k = 10: 1000 * 0.05 * 50 + 90 + 100 * 0.02 * 100 + 10 / 150 = 2790.07, less ten times 256.
  EXPECT_EQ(ValueOfHalves(100, 200, {100, 5}), 230);
}

TEST(CellValues, AreZeroWithoutAUsableNumber) {
  EXPECT_EQ(ValueOfHalves(0, 0, {100, 20}), 0);    // a division by the mean
  EXPECT_EQ(ValueOfHalves(90, 90, {100, 0}), 0);   // 0 / 0
  EXPECT_EQ(ValueOfHalves(80, 90, {100, 0}), 0);   // an infinite k
  EXPECT_EQ(ValueOfHalves(0, 255, {1, 1e-3}), 0);  // beyond 32 bits
}

TEST(SumColumns, WeighsRowsByTheirDistance) {
  const Bytes none(8, 0);
  const Bytes ones(8, 1);
  constexpr std::uint16_t kWeights[] = {0, 1, 2, 3, 4, 5, 4, 3, 2, 1, 0};
  for (std::uint32_t i = 0; i < kNeighbourhoodRows; ++i) {
    const std::uint8_t* rows[kNeighbourhoodRows];
    for (const std::uint8_t*& row : rows) row = none.data();
    rows[i] = ones.data();
    std::uint16_t sums[8];
    std::uint16_t weighted_sums[8];
    kPlain.sum_columns(rows, 1, sums, weighted_sums);
    EXPECT_EQ(sums[7], 1) << i;
    EXPECT_EQ(weighted_sums[7], kWeights[i]) << i;
  }
}

TEST(CellThresholds, AddTheWeightsAcrossToThoseDown) {
  // One cell of value 100 in the middle row: sums of 100, weighted ones of 500. Two columns away
  // its weight is 5 + 3.
  std::uint16_t sums[18] = {};
  std::uint16_t weighted_sums[18] = {};
  sums[5 + 2] = 100;
  weighted_sums[5 + 2] = 500;
  const std::uint16_t weights[8] = {80, 80, 80, 80, 80, 80, 80, 80};
  std::uint8_t thresholds[8];
  kPlain.cell_thresholds(sums + 5, weighted_sums + 5, weights, 1, 0, thresholds);
  // 800 / 80 = 10, pulled down by a quarter of 10.
  EXPECT_EQ(thresholds[0], 8);
  EXPECT_EQ(thresholds[4], 8);
  // 1000 / 80 = 12.5, pulled down by a quarter of 12.
  EXPECT_EQ(thresholds[2], 9);
  // 500 / 80 = 6.25, pulled down by 1.5. The weight of the fifth column is 5 + 0.
  EXPECT_EQ(thresholds[7], 5);
}

TEST(BinarizeCells, MakesLevelsAtTheThresholdBlack) {
  Bytes gray(256, 100);
  gray[0] = 101;
  gray[255] = 101;
  const std::uint8_t threshold = 100;
  Bytes bits(16 * 3, 0xA5);
  kPlain.binarize_cells(gray.data(), 16, &threshold, 1, bits.data(), 3);
  Bytes expected;
  for (int y = 0; y < 16; ++y) expected.insert(expected.end(), {0, 0, 0xA5});
  expected[0] = 0x80;
  expected[15 * 3 + 1] = 0x01;
  EXPECT_EQ(bits, expected);
}

void ExpectWindow(const Statistics& window, std::uint8_t mean, double deviation) {
  EXPECT_EQ(window.mean, mean);
  EXPECT_EQ(window.deviation, deviation);
}

TEST(WindowRows, KeepWhatTheWindowBeforeLeftBelowTheImage) {
  // Two windows side by side, of level 10 and of level 30.
  Bytes gray;
  for (int y = 0; y < 128; ++y) {
    gray.insert(gray.end(), 128, 10);
    gray.insert(gray.end(), 128, 30);
  }
  const GrayCells image(256, 128);
  const test::PackedGray reader(gray.data(), 256);
  GrayBands bands(reader, 256, 128);
  WindowRows windows(kPlain, image, bands);
  ASSERT_TRUE(windows.has_memory());
  const Statistics* row = windows.MeasureRow(0);
  ExpectWindow(row[0], 10, 0);
  ExpectWindow(row[1], 30, 0);
  // Windows of the next row of cells take 112 rows; the 16 rows below hold 30 from the last window.
  // The first: 10 * 112 / 128 = 8.75; (112 * 2^2 + 16 * 22^2) / 128 = 64.
  row = windows.MeasureRow(1);
  ExpectWindow(row[0], 8, 8);
  // The second: 30 * 112 / 128 = 26.25, and all slots hold 30.
  ExpectWindow(row[1], 26, 4);
}

TEST(WindowRows, GoOnWithTheLastWindowOfTheRowAbove) {
  // Nine columns of cells: the second window of a row serves one cell only, so the first cells of
  // the next row go on with it. It runs on into the next image rows for all but 16 of its columns.
  Bytes gray;
  for (int y = 0; y < 16 * 16; ++y) {
    gray.insert(gray.end(), 128, 40);
    gray.insert(gray.end(), 16, 200);
  }
  const GrayCells image(144, 16 * 16);
  const test::PackedGray reader(gray.data(), 144);
  GrayBands bands(reader, 144, 16 * 16);
  WindowRows windows(kPlain, image, bands);
  ASSERT_TRUE(windows.has_memory());
  for (std::uint32_t y = 0; y <= 8; ++y) {
    const Statistics* row = windows.MeasureRow(y);
    // An eighth of the second window is 200, the rest 40: the mean is 60, and the mean of the
    // squares (140^2 + 7 * 20^2) / 8 = 2800. It ends 112 bytes past its last row's end, which at
    // the ninth row of cells is past the image's end.
    if (y % 8 == 0) {
      ExpectWindow(row[0], 40, 0);
    } else {
      ExpectWindow(row[0], 60, std::sqrt(2800.0));
    }
    if (y < 8) ExpectWindow(row[1], 60, std::sqrt(2800.0));
  }
}

}  // namespace
}  // namespace pixtola
