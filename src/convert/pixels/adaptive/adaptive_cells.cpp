#include "convert/pixels/adaptive/adaptive_cells.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace pixtola {

namespace {

/// The window's deviation is measured anew after this many cells, across and down.
constexpr std::uint32_t kWindowRefreshPeriod = 8;

/// The large window: 128 x 128 samples from an anchor on. Samples that lie past the image's end
/// keep what the previous window had there.
class LargeWindow {
 public:
  explicit LargeWindow(const ImageView& gray)
      : gray_(gray.first_row), width_(gray.width), size_(std::uint64_t{gray.width} * gray.height) {}

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

}  // namespace

CellGrid ComputeCellThresholds(const ImageView& gray) {
  CellGrid grid{gray.width / kCellSize, gray.height / kCellSize, nullptr};
  grid.values = Allocate<std::uint8_t>(std::uint64_t{grid.columns} * grid.rows);
  if (grid.values == nullptr) return grid;

  LargeWindow window(gray);
  Statistics window_statistics{};
  RefreshRule refresh;
  std::uint8_t* value = grid.values.get();
  for (std::uint32_t row = 0; row < grid.rows; ++row) {
    refresh.StartRow();
    for (std::uint32_t column = 0; column < grid.columns; ++column) {
      const std::uint64_t anchor = (std::uint64_t{row} * gray.width + column) * kCellSize;
      if (refresh.is_due()) {
        window_statistics = window.Measure(anchor);
        refresh.Refreshed();
      }
      *value++ = MeasureCell(gray.first_row + anchor, gray.width, window_statistics);
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

bool BinarizeCells(const ImageView& gray, std::uint8_t global_threshold,
                   const MutableImageView& destination) {
  const CellGrid grid = ComputeCellThresholds(gray);
  if (grid.values == nullptr) return false;
  const std::size_t gray_stride = gray.width;
  const auto bits_stride = static_cast<std::size_t>(destination.stride);
  std::uint8_t threshold = kThresholdWithoutCells;
  for (std::uint32_t row = 0; row < grid.rows; ++row) {
    const std::uint8_t* cell = gray.Row(row * kCellSize);
    std::uint8_t* bits = destination.Row(row * kCellSize);
    for (std::uint32_t column = 0; column < grid.columns; ++column) {
      threshold = CellThreshold(grid, row, column, global_threshold);
      ClearDarkBits(cell, gray_stride, kCellSize, threshold + 1, bits, bits_stride);
      cell += kCellSize;
      bits += kCellSize / 8;
    }
    BinarizeStrip(cell, gray_stride, gray.width, threshold, bits, bits_stride);
  }
  return true;
}

bool BinarizeCellsAtOnce(const AdaptiveKernels& /*kernels*/, const GrayReader& gray,
                         std::uint8_t global_threshold, const MutableImageView& destination) {
  const std::uint32_t width = destination.width;
  const std::uint32_t height = destination.height;
  const Block<std::uint8_t> pixels = Allocate<std::uint8_t>(std::uint64_t{width} * height);
  if (pixels == nullptr) return false;
  gray.Read(0, height, pixels.get(), width);
  return BinarizeCells({pixels.get(), width, height, std::ptrdiff_t{width}, 8}, global_threshold,
                       destination);
}

void BinarizeStrip(const std::uint8_t* gray, std::size_t gray_stride, std::uint32_t width,
                   std::uint8_t threshold, std::uint8_t* destination,
                   std::size_t destination_stride) {
  // Kept on purpose: the strip has as many rows as columns are left over, is always 16 pixels wide
  // (its rows run on into the next gray row), takes the last cell's threshold, and leaves pixels at
  // the threshold white where the cells make them black.
  ClearDarkBits(gray, gray_stride, width % kCellSize, threshold, destination, destination_stride);
}

}  // namespace pixtola
