// Every table of adaptive kernels against the definition, byte for byte, each step alone.
#include "convert/pixels/adaptive/adaptive_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;
using Bytes = std::vector<std::uint8_t>;

constexpr GuardSide kSides[] = {GuardSide::kAfterEnd, GuardSide::kBeforeStart};

const std::vector<const AdaptiveKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainAdaptiveKernels, BestAdaptiveKernels);
  return tables;
}

std::uint32_t Next(std::mt19937& random) { return static_cast<std::uint32_t>(random()); }

/// An array between inaccessible pages.
template <typename T>
class GuardedArray {
 public:
  explicit GuardedArray(std::size_t count, GuardSide side = GuardSide::kAfterEnd)
      : buffer_(count * sizeof(T), 0, side), count_(count) {}

  T* data() { return reinterpret_cast<T*>(buffer_.data()); }
  std::vector<T> Values() { return {data(), data() + count_}; }
  bool SurroundingsAreUntouched() const { return buffer_.SurroundingsAreUntouched(); }

 private:
  GuardedBuffer buffer_;
  std::size_t count_;
};

struct MeasuredLevels {
  GuardedArray<std::uint32_t> sums;
  GuardedArray<std::uint32_t> squares;
  GuardedArray<std::uint8_t> minima;

  MeasuredLevels(std::size_t cells, GuardSide side)
      : sums(cells, side), squares(cells, side), minima(cells, side) {}

  CellLevels Pointers() { return {sums.data(), squares.data(), minima.data()}; }
};

struct CellBlock {
  std::uint32_t cells, rows;
  std::size_t stride, misalignment;
  int content;  ///< 0 random, 1 all 255, 2 all 0
  GuardSide side;
};

void ExpectEqualLevels(const CellBlock& block, std::mt19937& random) {
  const std::size_t width = std::size_t{block.cells} * kCellSize;
  GuardedBuffer gray(block.cells == 0 ? 0 : (block.rows - 1) * block.stride + width,
                     block.misalignment, block.side);
  for (std::uint8_t& value : gray.span()) {
    value = static_cast<std::uint8_t>(block.content == 0   ? Next(random)
                                      : block.content == 1 ? 255
                                                           : 0);
  }
  gray.MakeReadOnly();
  MeasuredLevels expected(block.cells, block.side);
  kPlainAdaptiveKernels.measure_cells(gray.data(), block.stride, block.rows, block.cells,
                                      expected.Pointers());
  for (const AdaptiveKernels* table : Tables()) {
    MeasuredLevels levels(block.cells, block.side);
    table->measure_cells(gray.data(), block.stride, block.rows, block.cells, levels.Pointers());
    std::ostringstream where;
    where << table->target << " cells " << block.cells << " rows " << block.rows << " stride "
          << block.stride << " misalignment " << block.misalignment << " content " << block.content;
    ASSERT_EQ(levels.sums.Values(), expected.sums.Values()) << where.str();
    ASSERT_EQ(levels.squares.Values(), expected.squares.Values()) << where.str();
    ASSERT_EQ(levels.minima.Values(), expected.minima.Values()) << where.str();
    ASSERT_TRUE(levels.sums.SurroundingsAreUntouched()) << where.str();
    ASSERT_TRUE(levels.squares.SurroundingsAreUntouched()) << where.str();
    ASSERT_TRUE(levels.minima.SurroundingsAreUntouched()) << where.str();
  }
}

TEST(AdaptiveKernels, CellsHaveTheSameLevelsAndNothingAroundThemIsRead) {
  std::mt19937 random(16);
  for (std::uint32_t cells = 0; cells <= 18; ++cells) {
    for (const GuardSide side : kSides) {
      for (const std::size_t misalignment : {0U, 1U, 7U}) {
        // Blocks run on into the next row where the stride is less than their width.
        for (const std::size_t stride : {16U, 21U, 288U, 301U}) {
          const auto rows = static_cast<std::uint32_t>(1 + Next(random) % kCellSize);
          ExpectEqualLevels({cells, kCellSize, stride, misalignment, 0, side}, random);
          ExpectEqualLevels({cells, rows, stride, misalignment, 0, side}, random);
          if (HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST(AdaptiveKernels, LevelsOfWholeWindowsDoNotOverflow) {
  std::mt19937 random(17);
  for (int content = 0; content < 3; ++content) {
    ExpectEqualLevels({8, kWindowSize, kWindowSize, 0, content, GuardSide::kAfterEnd}, random);
    ExpectEqualLevels({5, kWindowSize, 80, 0, content, GuardSide::kAfterEnd}, random);
  }
}

/// Fills in the levels of `count` cells of 256 random samples each, from flat ones to wild ones.
void MakeLevels(std::mt19937& random, std::size_t count, const CellLevels& levels) {
  for (std::size_t cell = 0; cell < count; ++cell) {
    const unsigned spread = 1U << Next(random) % 9;
    const unsigned base = Next(random) % 3 == 0 ? 0 : Next(random) % 256;
    const unsigned rarity = Next(random) % 4 == 0 ? 64 : 1;
    std::uint32_t sum = 0;
    std::uint32_t squares = 0;
    std::uint8_t minimum = 255;
    for (std::uint32_t i = 0; i < kCellSamples; ++i) {
      const unsigned extra = Next(random) % rarity == 0 ? Next(random) % spread : 0;
      const std::uint32_t value = std::min(base + extra, 255U);
      sum += value;
      squares += value * value;
      minimum = std::min(minimum, static_cast<std::uint8_t>(value));
    }
    levels.sums[cell] = sum;
    levels.squares[cell] = squares;
    levels.minima[cell] = minimum;
  }
}

/// Among them windows that are flat and windows so even that values get beyond 32 bits.
Statistics MakeWindow(std::mt19937& random) {
  constexpr double kDeviations[] = {0, 1.0 / 128, 0.03, 0.4, 3, 40, 127.5};
  const double deviation = kDeviations[Next(random) % 7];
  const double factor = Next(random) % 2 == 0 ? 1 : static_cast<double>(Next(random) % 1000) / 500;
  return {static_cast<std::uint8_t>(Next(random)), deviation * factor};
}

TEST(AdaptiveKernels, CellsHaveTheSameValues) {
  std::mt19937 random(18);
  for (int round = 0; round < 30; ++round) {
    for (std::uint32_t groups = 0; groups <= 7; ++groups) {
      const GuardSide side = kSides[round % 2];
      const std::size_t cells = std::size_t{groups} * kCellsPerGroup;
      MeasuredLevels levels(cells, side);
      MakeLevels(random, cells, levels.Pointers());
      GuardedArray<Statistics> windows(groups, side);
      for (std::uint32_t i = 0; i < groups; ++i) windows.data()[i] = MakeWindow(random);
      Bytes expected(cells);
      kPlainAdaptiveKernels.cell_values(levels.Pointers(), windows.data(), groups, expected.data());
      for (const AdaptiveKernels* table : Tables()) {
        GuardedArray<std::uint8_t> values(cells, side);
        table->cell_values(levels.Pointers(), windows.data(), groups, values.data());
        ASSERT_EQ(values.Values(), expected)
            << table->target << " groups " << groups << " round " << round;
        ASSERT_TRUE(values.SurroundingsAreUntouched()) << table->target << " groups " << groups;
      }
    }
  }
}

TEST(AdaptiveKernels, ColumnsHaveTheSameSums) {
  std::mt19937 random(19);
  for (std::uint32_t groups = 0; groups <= 17; ++groups) {
    for (const bool is_white : {false, true}) {
      for (const GuardSide side : kSides) {
        const std::size_t cells = std::size_t{groups} * kCellsPerGroup;
        std::vector<std::unique_ptr<GuardedBuffer>> buffers;
        const std::uint8_t* rows[kNeighbourhoodRows];
        for (const std::uint8_t*& row : rows) {
          buffers.push_back(std::make_unique<GuardedBuffer>(cells, Next(random) % 8, side));
          for (std::uint8_t& value : buffers.back()->span()) {
            value = is_white ? 255 : static_cast<std::uint8_t>(Next(random));
          }
          row = buffers.back()->data();
        }
        std::vector<std::uint16_t> expected(cells);
        std::vector<std::uint16_t> expected_weighted(cells);
        kPlainAdaptiveKernels.sum_columns(rows, groups, expected.data(), expected_weighted.data());
        for (const AdaptiveKernels* table : Tables()) {
          GuardedArray<std::uint16_t> sums(cells, side);
          GuardedArray<std::uint16_t> weighted_sums(cells, side);
          table->sum_columns(rows, groups, sums.data(), weighted_sums.data());
          ASSERT_EQ(sums.Values(), expected) << table->target << " groups " << groups;
          ASSERT_EQ(weighted_sums.Values(), expected_weighted)
              << table->target << " groups " << groups;
          ASSERT_TRUE(sums.SurroundingsAreUntouched()) << table->target;
          ASSERT_TRUE(weighted_sums.SurroundingsAreUntouched()) << table->target;
        }
      }
    }
  }
}

/// Sums of columns with the five entries to each side that the thresholds need.
class ColumnSums {
 public:
  ColumnSums(std::uint32_t groups, GuardSide side)
      : cells_(std::size_t{groups} * kCellsPerGroup),
        sums_(cells_ + 2 * kNeighbourhoodRadius, side),
        weighted_sums_(cells_ + 2 * kNeighbourhoodRadius, side),
        weights_(cells_, side) {
    std::memset(sums_.data(), 0, (cells_ + 2 * kNeighbourhoodRadius) * 2);
    std::memset(weighted_sums_.data(), 0, (cells_ + 2 * kNeighbourhoodRadius) * 2);
    std::fill_n(weights_.data(), cells_, std::uint16_t{1});
  }

  /// Gives a cell a weight and a weighted sum, with entries as small as those of real values. The
  /// next such cell must be eleven cells away.
  void Set(std::size_t cell, std::uint32_t weighted, std::uint16_t weight) {
    weights_.data()[cell] = weight;
    std::uint32_t rest = weighted;
    for (std::uint32_t i = 0; i < kNeighbourhoodRows; ++i) {
      const std::uint32_t part = std::min(rest, 25U * 255U);
      weighted_sums_.data()[cell + i] = static_cast<std::uint16_t>(part);
      rest -= part;
    }
    for (std::uint32_t i = 0; i < kNeighbourhoodRows; ++i) {
      // From the middle outwards, so that the last ones, of weight 1, take any remainder.
      const std::uint32_t distance = (i + 1) / 2;
      const std::uint32_t factor = kNeighbourhoodRadius - distance;
      const std::uint32_t position =
          i % 2 == 0 ? kNeighbourhoodRadius + distance : kNeighbourhoodRadius - distance;
      const std::uint32_t part = factor == 0 ? 0 : std::min(rest / factor, 11U * 255U);
      sums_.data()[cell + position] = static_cast<std::uint16_t>(part);
      rest -= part * factor;
    }
    ASSERT_EQ(rest, 0U) << weighted;
  }

  Bytes Thresholds(const AdaptiveKernels& table, std::uint8_t global) {
    const auto groups = static_cast<std::uint32_t>(cells_ / kCellsPerGroup);
    GuardedArray<std::uint8_t> thresholds(cells_);
    table.cell_thresholds(sums_.data() + kNeighbourhoodRadius,
                          weighted_sums_.data() + kNeighbourhoodRadius, weights_.data(), groups,
                          global, thresholds.data());
    EXPECT_TRUE(thresholds.SurroundingsAreUntouched()) << table.target;
    return thresholds.Values();
  }

 private:
  std::size_t cells_;
  GuardedArray<std::uint16_t> sums_;
  GuardedArray<std::uint16_t> weighted_sums_;
  GuardedArray<std::uint16_t> weights_;
};

/// All sums of weights that the cells around one can have, in grids of all sizes.
std::set<std::uint16_t> AllWeights() {
  std::set<std::uint16_t> weights;
  for (int above = 0; above <= 5; ++above) {
    for (int below = 0; below <= 5; ++below) {
      for (int left = 0; left <= 5; ++left) {
        for (int right = 0; right <= 5; ++right) {
          int sum = 0;
          for (int y = -above; y <= below; ++y) {
            for (int x = -left; x <= right; ++x) sum += 10 - std::abs(y) - std::abs(x);
          }
          weights.insert(static_cast<std::uint16_t>(sum));
        }
      }
    }
  }
  return weights;
}

TEST(AdaptiveKernels, AveragesTruncateTheSameWay) {
  constexpr std::uint32_t kGroups = 128;
  constexpr std::size_t kDistance = 16;
  const std::set<std::uint16_t> all_weights = AllWeights();
  ASSERT_EQ(*all_weights.rbegin(), 550);
  // The quotients next to whole numbers are the ones that an inexact division would get wrong.
  for (const std::uint16_t weight : all_weights) {
    for (const std::uint32_t quotient : {0U, 117U, 234U}) {
      ColumnSums sums(kGroups, kSides[quotient % 2]);
      Bytes expected;
      for (std::uint32_t i = 0; i < 21; ++i) {
        const std::uint32_t whole = quotient + i;
        sums.Set((3 * i) * kDistance, whole * weight, weight);
        sums.Set((3 * i + 1) * kDistance, whole * weight + 1, weight);
        sums.Set((3 * i + 2) * kDistance, (whole + 1) * weight - 1, weight);
        expected.insert(expected.end(), 3, static_cast<std::uint8_t>(whole));
      }
      for (const AdaptiveKernels* table : Tables()) {
        const Bytes thresholds = sums.Thresholds(*table, 0);
        for (std::size_t i = 0; i < expected.size(); ++i) {
          const std::uint32_t local = expected[i];
          ASSERT_EQ(thresholds[i * kDistance], local - local / 4)
              << table->target << " weight " << weight << " quotient " << local << " case "
              << i % 3;
        }
      }
    }
  }
}

TEST(AdaptiveKernels, AllThresholdsArePulledTheSameWay) {
  constexpr std::size_t kDistance = 16;
  ColumnSums sums(512, GuardSide::kAfterEnd);
  for (std::uint32_t local = 0; local < 256; ++local) {
    sums.Set(local * kDistance, local * 550, 550);
  }
  for (std::uint32_t global = 0; global < 256; ++global) {
    for (const AdaptiveKernels* table : Tables()) {
      const Bytes thresholds = sums.Thresholds(*table, static_cast<std::uint8_t>(global));
      for (std::uint32_t local = 0; local < 256; ++local) {
        ASSERT_EQ(
            thresholds[local * kDistance],
            PullTowardGlobal(static_cast<std::uint8_t>(local), static_cast<std::uint8_t>(global)))
            << table->target << " local " << local << " global " << global;
      }
    }
  }
}

TEST(AdaptiveKernels, ThresholdsAreTheSameForAllNumbersOfCells) {
  std::mt19937 random(20);
  for (std::uint32_t groups = 0; groups <= 17; ++groups) {
    for (const GuardSide side : kSides) {
      // Values of real cells, so that no average is above 255.
      const std::size_t cells = std::size_t{groups} * kCellsPerGroup;
      std::vector<Bytes> values(kNeighbourhoodRows, Bytes(cells));
      const std::uint8_t* rows[kNeighbourhoodRows];
      for (std::uint32_t i = 0; i < kNeighbourhoodRows; ++i) {
        for (std::uint8_t& value : values[i]) value = static_cast<std::uint8_t>(Next(random));
        rows[i] = values[i].data();
      }
      GuardedArray<std::uint16_t> sums(cells + 2 * kNeighbourhoodRadius, side);
      GuardedArray<std::uint16_t> weighted_sums(cells + 2 * kNeighbourhoodRadius, side);
      std::memset(sums.data(), 0, (cells + 2 * kNeighbourhoodRadius) * 2);
      std::memset(weighted_sums.data(), 0, (cells + 2 * kNeighbourhoodRadius) * 2);
      std::uint16_t* first_sum = sums.data() + kNeighbourhoodRadius;
      std::uint16_t* first_weighted = weighted_sums.data() + kNeighbourhoodRadius;
      kPlainAdaptiveKernels.sum_columns(rows, groups, first_sum, first_weighted);
      GuardedArray<std::uint16_t> weights(cells, side);
      std::fill_n(weights.data(), cells, std::uint16_t{550});
      const auto global = static_cast<std::uint8_t>(Next(random));
      Bytes expected(cells);
      kPlainAdaptiveKernels.cell_thresholds(first_sum, first_weighted, weights.data(), groups,
                                            global, expected.data());
      for (const AdaptiveKernels* table : Tables()) {
        GuardedArray<std::uint8_t> thresholds(cells, side);
        table->cell_thresholds(first_sum, first_weighted, weights.data(), groups, global,
                               thresholds.data());
        ASSERT_EQ(thresholds.Values(), expected) << table->target << " groups " << groups;
        ASSERT_TRUE(thresholds.SurroundingsAreUntouched()) << table->target;
      }
    }
  }
}

TEST(AdaptiveKernels, BitsAreTheSameAndNothingAroundThemIsTouched) {
  std::mt19937 random(21);
  for (std::uint32_t cells = 0; cells <= 18; ++cells) {
    for (const GuardSide side : kSides) {
      for (const std::size_t misalignment : {0U, 1U, 7U}) {
        for (const std::size_t gap : {0U, 5U}) {
          const std::size_t stride = std::size_t{cells} * kCellSize + gap;
          const std::size_t bits_stride = std::size_t{cells} * 2 + gap;
          const std::size_t gaps = cells == 0 ? 0 : (kCellSize - 1) * gap;
          GuardedBuffer gray(cells * kCellSamples + gaps, misalignment, side);
          for (std::uint8_t& value : gray.span()) value = static_cast<std::uint8_t>(Next(random));
          gray.MakeReadOnly();
          GuardedBuffer thresholds(cells, misalignment, side);
          for (std::uint8_t& value : thresholds.span())
            value = static_cast<std::uint8_t>(Next(random));
          Bytes expected(cells * kCellSamples / 8 + gaps, GuardedBuffer::kFill);
          kPlainAdaptiveKernels.binarize_cells(gray.data(), stride, thresholds.data(), cells,
                                               expected.data(), bits_stride);
          for (const AdaptiveKernels* table : Tables()) {
            GuardedBuffer bits(expected.size(), misalignment, side);
            table->binarize_cells(gray.data(), stride, thresholds.data(), cells, bits.data(),
                                  bits_stride);
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), bits.data()))
                << table->target << " cells " << cells << " gap " << gap << " misalignment "
                << misalignment;
            ASSERT_TRUE(bits.SurroundingsAreUntouched()) << table->target << " cells " << cells;
          }
        }
      }
    }
  }
}

TEST(AdaptiveKernels, AllLevelsCompareWithAllThresholds) {
  constexpr std::uint32_t kCells = 256;
  constexpr std::size_t kStride = kCells * kCellSize;
  Bytes gray(kStride * kCellSize);
  Bytes thresholds(kCells);
  for (std::uint32_t i = 0; i < 256; ++i) {
    thresholds[i] = static_cast<std::uint8_t>(i);
    for (std::uint32_t cell = 0; cell < kCells; ++cell) {
      gray[i / 16 * kStride + cell * kCellSize + i % 16] = static_cast<std::uint8_t>(i);
    }
  }
  for (const AdaptiveKernels* table : Tables()) {
    Bytes bits(kCellSize * kCells * 2);
    table->binarize_cells(gray.data(), kStride, thresholds.data(), kCells, bits.data(), kCells * 2);
    for (std::uint32_t threshold = 0; threshold < 256; ++threshold) {
      for (std::uint32_t level = 0; level < 256; ++level) {
        const std::uint32_t x = threshold * kCellSize + level % 16;
        const bool is_set = (bits[level / 16 * kCells * 2 + x / 8] >> (7 - x % 8) & 1) != 0;
        ASSERT_EQ(is_set, level > threshold)
            << table->target << " level " << level << " threshold " << threshold;
      }
    }
  }
}

}  // namespace
}  // namespace pixtola
