#include "convert/pixels/adaptive/adaptive.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "convert/pixels/adaptive/adaptive_bands.h"
#include "convert/pixels/conversion_arguments.h"
#include "convert/pixels/gray/gray_rows.h"
#include "convert/pixels/otsu/otsu.h"

namespace pixtola {

namespace {

/// The window's deviation is measured anew after this many cells, across and down.
constexpr std::uint32_t kWindowRefreshPeriod = 8;

/// The large window: 128 x 128 samples from an anchor on. Samples that lie past the image's end
/// keep what the window before had there.
class LargeWindow {
 public:
  LargeWindow(const std::uint8_t* gray, std::uint32_t width, std::uint32_t height)
      : gray_(gray), width_(width), size_(std::uint64_t{width} * height) {}

  Statistics Measure(std::uint64_t anchor) {
    std::uint32_t sum = 0;  // of the samples taken now, not of all
    for (std::uint32_t row = 0; row < kWindowSize; ++row) {
      // A window row runs on into the next image row at the right edge.
      const std::uint64_t start = anchor + std::uint64_t{row} * width_;
      if (start >= size_) break;
      const std::uint64_t count = std::min<std::uint64_t>(kWindowSize, size_ - start);
      std::uint8_t* samples = samples_.data() + std::size_t{row} * kWindowSize;
      std::memcpy(samples, gray_ + start, count);
      for (std::uint64_t i = 0; i < count; ++i) sum += samples[i];
    }
    const auto mean = static_cast<std::uint8_t>(sum / kWindowSamples);
    std::uint32_t squares = 0;
    for (const std::uint8_t sample : samples_) {
      const int difference = sample - mean;
      squares += static_cast<std::uint32_t>(difference * difference);
    }
    return {mean, Deviation<kWindowSamples>(squares)};
  }

 private:
  const std::uint8_t* gray_;
  std::uint32_t width_;
  std::uint64_t size_;
  std::array<std::uint8_t, kWindowSamples> samples_{};
};

/// Decides when the large window's deviation is measured again: after eight cells of a row, and
/// after eight rows of cells. In between it is carried on, from one cell row into the next as well.
class RefreshRule {
 public:
  bool is_due() const { return due_; }
  void Refreshed() { due_ = false; }
  void StartRow() { cells_ = 0; }
  void EndCell() { Count(cells_); }
  void EndRow() { Count(rows_); }

 private:
  void Count(std::uint32_t& counter) {
    if (++counter < kWindowRefreshPeriod) return;
    counter = 0;
    due_ = true;
  }

  std::uint32_t cells_ = 0;
  std::uint32_t rows_ = 0;
  bool due_ = true;
};

/// The value of the cell whose first pixel is `cell`.
std::uint8_t MeasureCell(const std::uint8_t* cell, std::uint32_t width, const Statistics& window) {
  std::uint32_t sum = 0;
  std::uint8_t minimum = 255;
  for (std::uint32_t y = 0; y < kCellSize; ++y) {
    for (std::uint32_t x = 0; x < kCellSize; ++x) {
      const std::uint8_t value = cell[std::size_t{y} * width + x];
      sum += value;
      minimum = std::min(minimum, value);
    }
  }
  const auto mean = static_cast<std::uint8_t>(sum / kCellSamples);
  std::uint32_t squares = 0;
  for (std::uint32_t y = 0; y < kCellSize; ++y) {
    for (std::uint32_t x = 0; x < kCellSize; ++x) {
      const int difference = cell[std::size_t{y} * width + x] - mean;
      squares += static_cast<std::uint32_t>(difference * difference);
    }
  }
  return CellValue({mean, Deviation<kCellSamples>(squares)}, minimum, window);
}

int AbsoluteDifference(std::uint32_t a, std::uint32_t b) {
  return static_cast<int>(a > b ? a - b : b - a);
}

std::uint8_t NeighbourhoodAverage(const CellGrid& grid, std::uint32_t row, std::uint32_t column) {
  const std::uint32_t first_row = row - std::min(row, kNeighbourhoodRadius);
  const std::uint32_t last_row = std::min(row + kNeighbourhoodRadius, grid.rows - 1);
  const std::uint32_t first_column = column - std::min(column, kNeighbourhoodRadius);
  const std::uint32_t last_column = std::min(column + kNeighbourhoodRadius, grid.columns - 1);
  int weighted = 0;
  int weights = 0;
  for (std::uint32_t r = first_row; r <= last_row; ++r) {
    for (std::uint32_t c = first_column; c <= last_column; ++c) {
      const int weight = 10 - AbsoluteDifference(row, r) - AbsoluteDifference(column, c);
      weighted += weight * grid.At(r, c);
      weights += weight;
    }
  }
  return static_cast<std::uint8_t>(weighted / weights);
}

/// Clears the bits of the pixels darker than `first_white` in a block 16 pixels wide.
void ClearDarkBits(const std::uint8_t* gray, std::size_t gray_stride, std::uint32_t rows,
                   int first_white, std::uint8_t* destination, std::size_t destination_stride) {
  for (std::uint32_t y = 0; y < rows; ++y) {
    for (std::uint32_t x = 0; x < kCellSize; ++x) {
      if (gray[y * gray_stride + x] >= first_white) continue;
      std::uint8_t& byte = destination[y * destination_stride + x / 8];
      byte = static_cast<std::uint8_t>(byte & ~(0x80 >> (x % 8)));
    }
  }
}

/// What is only defined on a packed gray image gets a whole one.
bool BinarizeCellsOf(const GrayRows& rows, std::uint8_t global_threshold, std::uint8_t* destination,
                     std::uint32_t destination_stride) {
  const std::uint32_t width = rows.width();
  const std::uint32_t height = rows.height();
  const Block<std::uint8_t> gray = Allocate<std::uint8_t>(std::uint64_t{width} * height);
  if (gray == nullptr) return false;
  rows.Read(0, height, gray.get(), width);
  return BinarizeCells(gray.get(), width, height, global_threshold, destination,
                       destination_stride);
}

}  // namespace

CellGrid ComputeCellThresholds(const std::uint8_t* gray, std::uint32_t width,
                               std::uint32_t height) {
  CellGrid grid{width / kCellSize, height / kCellSize, nullptr};
  grid.values = Allocate<std::uint8_t>(std::uint64_t{grid.columns} * grid.rows);
  if (grid.values == nullptr) return grid;

  LargeWindow window(gray, width, height);
  Statistics window_statistics{};
  RefreshRule refresh;
  std::uint8_t* value = grid.values.get();
  for (std::uint32_t row = 0; row < grid.rows; ++row) {
    refresh.StartRow();
    for (std::uint32_t column = 0; column < grid.columns; ++column) {
      const std::uint64_t anchor = (std::uint64_t{row} * width + column) * kCellSize;
      if (refresh.is_due()) {
        window_statistics = window.Measure(anchor);
        refresh.Refreshed();
      }
      *value++ = MeasureCell(gray + anchor, width, window_statistics);
      refresh.EndCell();
    }
    refresh.EndRow();
  }
  return grid;
}

std::uint8_t CellThreshold(const CellGrid& grid, std::uint32_t row, std::uint32_t column,
                           std::uint8_t global_threshold) {
  return PullTowardGlobal(NeighbourhoodAverage(grid, row, column), global_threshold);
}

bool BinarizeCells(const std::uint8_t* gray, std::uint32_t width, std::uint32_t height,
                   std::uint8_t global_threshold, std::uint8_t* destination,
                   std::uint32_t destination_stride) {
  const CellGrid grid = ComputeCellThresholds(gray, width, height);
  if (grid.values == nullptr) return false;
  std::uint8_t threshold = kThresholdWithoutCells;
  for (std::uint32_t row = 0; row < grid.rows; ++row) {
    const std::uint8_t* cell = gray + std::size_t{row} * kCellSize * width;
    std::uint8_t* bits = destination + std::size_t{row} * kCellSize * destination_stride;
    for (std::uint32_t column = 0; column < grid.columns; ++column) {
      threshold = CellThreshold(grid, row, column, global_threshold);
      ClearDarkBits(cell, width, kCellSize, threshold + 1, bits, destination_stride);
      cell += kCellSize;
      bits += kCellSize / 8;
    }
    BinarizeStrip(cell, width, width, threshold, bits, destination_stride);
  }
  return true;
}

void BinarizeStrip(const std::uint8_t* gray, std::size_t gray_stride, std::uint32_t width,
                   std::uint8_t threshold, std::uint8_t* destination,
                   std::uint32_t destination_stride) {
  // Kept on purpose: the strip has as many rows as columns are left over, is always 16 pixels wide
  // (its rows run on into the next gray row), takes the last cell's threshold, and leaves pixels at
  // the threshold white where the cells make them black.
  ClearDarkBits(gray, gray_stride, width % kCellSize, threshold, destination, destination_stride);
}

int BinarizeAdaptive(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                     std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                     std::uint8_t* destination, std::uint32_t destination_stride,
                     const Gdiplus::ColorPalette* palette) {
  if (!AreConversionArgumentsValid(source, width, height, source_stride, source_bits_per_pixel,
                                   destination, destination_stride, 1)) {
    return 0;
  }
  std::memset(destination, 255, std::size_t{height} * destination_stride);
  if (source_bits_per_pixel == 1) {
    CopyBilevelRows(source, height, source_stride, destination, destination_stride);
    return 1;
  }
  const GrayRows rows(source, width, height, source_stride, source_bits_per_pixel, palette);
  if (!rows.IsValid()) return 0;
  const std::optional<Histogram> levels = rows.CountLevels();
  if (!levels) return 0;
  const std::uint8_t threshold = OtsuThreshold(&*levels);
  const AdaptiveKernels& kernels = BestAdaptiveKernels();
  const bool done = &kernels == &kPlainAdaptiveKernels
                        ? BinarizeCellsOf(rows, threshold, destination, destination_stride)
                        : BinarizeCellsInBands(kernels, rows, width, height, threshold, destination,
                                               destination_stride);
  return done ? 1 : 0;
}

}  // namespace pixtola
