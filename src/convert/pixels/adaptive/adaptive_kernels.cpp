#include "convert/pixels/adaptive/adaptive_kernels.h"

#include <algorithm>
#include <cstdlib>

#include "convert/pixels/adaptive/adaptive_cells.h"

namespace pixtola {

namespace {

/// Truncates; NaN and values beyond 32 bits give 0. The low 8 bits are the cell's value, which is
/// never negative.
std::uint8_t TruncateToCellValue(double value) {
  if (!(value < 2147483648.0)) return 0;
  return static_cast<std::uint8_t>(static_cast<std::int32_t>(value));
}

void MeasureCells(const std::uint8_t* gray, std::size_t stride, std::uint32_t rows,
                  std::uint32_t cells, const CellLevels& levels) {
  for (std::uint32_t cell = 0; cell < cells; ++cell) {
    std::uint32_t sum = 0;
    std::uint32_t squares = 0;
    std::uint8_t minimum = 255;
    for (std::uint32_t y = 0; y < rows; ++y) {
      for (std::uint32_t x = 0; x < kCellSize; ++x) {
        const std::uint8_t value = gray[y * stride + std::size_t{cell} * kCellSize + x];
        sum += value;
        squares += std::uint32_t{value} * value;
        minimum = std::min(minimum, value);
      }
    }
    levels.sums[cell] = sum;
    levels.squares[cell] = squares;
    levels.minima[cell] = minimum;
  }
}

void CellValues(const CellLevels& levels, const Statistics* windows, std::uint32_t groups,
                std::uint8_t* values) {
  for (std::size_t cell = 0; cell < std::size_t{groups} * kCellsPerGroup; ++cell) {
    const std::uint32_t sum = levels.sums[cell];
    const std::uint32_t mean = sum / kCellSamples;
    // The sum of (value - mean)^2, multiplied out; every term stays below 2^32.
    const std::uint32_t squared_differences =
        levels.squares[cell] + kCellSamples * mean * mean - 2 * mean * sum;
    const Statistics statistics{static_cast<std::uint8_t>(mean),
                                Deviation<kCellSamples>(squared_differences)};
    values[cell] = CellValue(statistics, levels.minima[cell], windows[cell / kCellsPerGroup]);
  }
}

void SumColumns(const std::uint8_t* const rows[kNeighbourhoodRows], std::uint32_t groups,
                std::uint16_t* sums, std::uint16_t* weighted_sums) {
  constexpr int kRadius = kNeighbourhoodRadius;
  for (std::size_t cell = 0; cell < std::size_t{groups} * kCellsPerGroup; ++cell) {
    int sum = 0;
    int weighted_sum = 0;
    for (int i = -kRadius; i <= kRadius; ++i) {
      const int value = rows[i + kRadius][cell];
      sum += value;
      weighted_sum += (kRadius - std::abs(i)) * value;
    }
    sums[cell] = static_cast<std::uint16_t>(sum);
    weighted_sums[cell] = static_cast<std::uint16_t>(weighted_sum);
  }
}

void CellThresholds(const std::uint16_t* sums, const std::uint16_t* weighted_sums,
                    const std::uint16_t* weights, std::uint32_t groups, std::uint8_t global,
                    std::uint8_t* thresholds) {
  constexpr int kRadius = kNeighbourhoodRadius;
  const int cells = static_cast<int>(groups * kCellsPerGroup);
  for (int cell = 0; cell < cells; ++cell) {
    int weighted = 0;
    // A cell's weight, 10 minus its distances down and across, is the sum of 5 minus the one and 5
    // minus the other.
    for (int i = -kRadius; i <= kRadius; ++i) {
      weighted += weighted_sums[cell + i] + (kRadius - std::abs(i)) * sums[cell + i];
    }
    thresholds[cell] =
        PullTowardGlobal(static_cast<std::uint8_t>(weighted / weights[cell]), global);
  }
}

void BinarizeCells(const std::uint8_t* gray, std::size_t stride, const std::uint8_t* thresholds,
                   std::uint32_t cells, std::uint8_t* destination, std::size_t destination_stride) {
  for (std::uint32_t y = 0; y < kCellSize; ++y) {
    const std::uint8_t* row = gray + y * stride;
    std::uint8_t* bytes = destination + y * destination_stride;
    for (std::size_t byte = 0; byte < std::size_t{cells} * 2; ++byte) {
      unsigned bits = 0;
      for (std::size_t x = byte * 8; x < byte * 8 + 8; ++x) {
        bits = bits << 1 | (row[x] > thresholds[byte / 2] ? 1U : 0U);
      }
      bytes[byte] = static_cast<std::uint8_t>(bits);
    }
  }
}

}  // namespace

std::uint8_t CellValue(const Statistics& cell, std::uint8_t minimum, const Statistics& window) {
  const double mean = cell.mean;
  const double least = minimum;
  // A flat window or a black cell divides by zero; the result is then not a usable number.
  const double k = cell.deviation / window.deviation;
  return TruncateToCellValue(k * k * k * 0.05 * (mean - least) + mean * 0.6 + k * k * 0.02 * least +
                             window.mean * 0.1 / mean);
}

std::uint8_t PullTowardGlobal(std::uint8_t local, std::uint8_t global) {
  if (global >= local) {
    const int pull = static_cast<int>((global - local) * 0.75);
    return static_cast<std::uint8_t>(pull + local < 255 ? local + pull : local);
  }
  const int pull = static_cast<int>((local - global) * 0.25);
  return static_cast<std::uint8_t>(local > pull ? local - pull : local);
}

constexpr AdaptiveKernels kPlainAdaptiveKernels{
    .target = "plain",
    .binarize = BinarizeCellsAtOnce,
    .measure_cells = MeasureCells,
    .cell_values = CellValues,
    .sum_columns = SumColumns,
    .cell_thresholds = CellThresholds,
    .binarize_cells = BinarizeCells,
};

#if !PIXTOLA_WITH_HIGHWAY
const AdaptiveKernels& BestAdaptiveKernels() { return kPlainAdaptiveKernels; }
#endif

}  // namespace pixtola
