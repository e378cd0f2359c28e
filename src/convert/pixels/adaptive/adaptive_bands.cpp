#include "convert/pixels/adaptive/adaptive_bands.h"

#include <algorithm>

#include "base/memory.h"
#include "convert/pixels/adaptive/adaptive_cells.h"
#include "convert/pixels/adaptive/adaptive_windows.h"
#include "convert/pixels/adaptive/gray_bands.h"

namespace pixtola {

namespace {

/// Rows of cell values that are kept: those around the current one, rounded up to a power of two.
constexpr std::uint32_t kKeptValueRows = 16;

/// Entries before and after the sums of a row, which stay 0. Five would do.
constexpr std::uint32_t kMargin = kCellsPerGroup;

/// How many of the eleven cells around position `i` exist in a line of `count` cells, and the sum
/// of 5 minus their distances.
struct LineWeights {
  std::uint32_t cells;
  std::uint32_t weights;

  LineWeights(std::uint32_t i, std::uint32_t count) {
    constexpr std::uint32_t kRadius = kNeighbourhoodRadius;
    const std::uint32_t before = std::min(i, kRadius);
    const std::uint32_t behind = std::min(count - 1 - i, kRadius);
    cells = before + 1 + behind;
    // 5 for the cell itself, then 4, 3, 2, 1, 0 on each side.
    weights =
        kRadius + before * (2 * kRadius - 1 - before) / 2 + behind * (2 * kRadius - 1 - behind) / 2;
  }
};

class BandConverter {
 public:
  BandConverter(const AdaptiveKernels& kernels, const GrayCells& image, GrayBands& bands,
                std::uint8_t global)
      : kernels_(kernels),
        image_(image),
        global_(global),
        padded_columns_(std::uint64_t{image.groups} * kCellsPerGroup),
        windows_(kernels, image, bands),
        values_(AllocateZeroed<std::uint8_t>(kKeptValueRows * padded_columns_)),
        no_values_(AllocateZeroed<std::uint8_t>(padded_columns_)),
        sums_(AllocateZeroed<std::uint16_t>(padded_columns_ + 2 * kMargin)),
        weighted_sums_(AllocateZeroed<std::uint16_t>(padded_columns_ + 2 * kMargin)),
        weights_(Allocate<std::uint16_t>(padded_columns_)),
        thresholds_(Allocate<std::uint8_t>(padded_columns_)) {}

  bool has_memory() const {
    return windows_.has_memory() && values_ != nullptr && no_values_ != nullptr &&
           sums_ != nullptr && weighted_sums_ != nullptr && weights_ != nullptr &&
           thresholds_ != nullptr;
  }

  /// The thresholds of the next row of cells.
  const std::uint8_t* NextThresholds() {
    const std::uint32_t row = next_row_++;
    const std::uint32_t last = std::min(row + kNeighbourhoodRadius, image_.rows - 1);
    while (next_values_ <= last) ComputeValues(next_values_++);

    const std::uint8_t* rows[kNeighbourhoodRows];
    for (std::uint32_t i = 0; i < kNeighbourhoodRows; ++i) {
      // Wraps for rows above the first, which then count as below the last.
      const std::uint32_t around = row + i - kNeighbourhoodRadius;
      rows[i] = around < image_.rows ? Values(around) : no_values_.get();
    }
    kernels_.sum_columns(rows, image_.groups, sums_.get() + kMargin,
                         weighted_sums_.get() + kMargin);
    UpdateWeights(row);
    kernels_.cell_thresholds(sums_.get() + kMargin, weighted_sums_.get() + kMargin, weights_.get(),
                             image_.groups, global_, thresholds_.get());
    return thresholds_.get();
  }

 private:
  std::uint8_t* Values(std::uint32_t row) {
    return values_.get() + row % kKeptValueRows * padded_columns_;
  }

  void ComputeValues(std::uint32_t row) {
    const Statistics* windows = windows_.MeasureRow(row);
    std::uint8_t* values = Values(row);
    kernels_.cell_values(windows_.Levels(row), windows, image_.groups, values);
    // Partial cells take no part in the averages.
    std::fill(values + image_.columns, values + padded_columns_, std::uint8_t{0});
  }

  /// The sum of the weights is the same in all rows far enough from the first and the last.
  void UpdateWeights(std::uint32_t row) {
    const LineWeights down(row, image_.rows);
    if (down.cells == weighted_cells_ && down.weights == cell_weights_) return;
    weighted_cells_ = down.cells;
    cell_weights_ = down.weights;
    for (std::uint32_t column = 0; column < image_.columns; ++column) {
      const LineWeights across(column, image_.columns);
      weights_[column] =
          static_cast<std::uint16_t>(down.cells * across.weights + down.weights * across.cells);
    }
    std::fill(weights_.get() + image_.columns, weights_.get() + padded_columns_, std::uint16_t{1});
  }

  const AdaptiveKernels& kernels_;
  const GrayCells& image_;
  std::uint8_t global_;
  std::uint64_t padded_columns_;
  WindowRows windows_;
  Block<std::uint8_t> values_;     ///< of the latest rows of cells
  Block<std::uint8_t> no_values_;  ///< a row outside the image
  Block<std::uint16_t> sums_;
  Block<std::uint16_t> weighted_sums_;
  Block<std::uint16_t> weights_;
  Block<std::uint8_t> thresholds_;
  std::uint32_t next_row_ = 0;
  std::uint32_t next_values_ = 0;
  std::uint32_t weighted_cells_ = 0;
  std::uint32_t cell_weights_ = 0;
};

}  // namespace

bool BinarizeCellsInBands(const AdaptiveKernels& kernels, const GrayReader& gray,
                          std::uint8_t global_threshold, const MutableImageView& destination) {
  const std::uint32_t width = destination.width;
  const GrayCells image(width, destination.height);
  if (image.rows == 0) return true;  // no memory is needed
  GrayBands bands(gray, width, destination.height);
  BandConverter converter(kernels, image, bands, global_threshold);
  if (!bands.has_memory() || !converter.has_memory()) return false;

  const auto bits_stride = static_cast<std::size_t>(destination.stride);
  for (std::uint32_t row = 0; row < image.rows; ++row) {
    std::uint8_t* bits = destination.Row(row * kCellSize);
    std::uint8_t strip_threshold = kThresholdWithoutCells;
    bands.LoadThrough(row);
    if (image.columns != 0) {
      const std::uint8_t* thresholds = converter.NextThresholds();
      kernels.binarize_cells(bands.Cell(row, 0), bands.stride(), thresholds, image.columns, bits,
                             bits_stride);
      strip_threshold = thresholds[image.columns - 1];
    }
    BinarizeStrip(bands.Cell(row, image.columns), bands.stride(), width, strip_threshold,
                  bits + std::size_t{image.columns} * 2, bits_stride);
  }
  return true;
}

}  // namespace pixtola
