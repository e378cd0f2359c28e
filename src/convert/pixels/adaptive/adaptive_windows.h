// The large windows of a row of cells, without looking at each pixel for each window: a window's
// statistics are the sums of those of the cells that it covers.
#ifndef PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_WINDOWS_H_
#define PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_WINDOWS_H_

#include <array>
#include <cstdint>

#include "base/memory.h"
#include "convert/pixels/adaptive/adaptive_kernels.h"
#include "convert/pixels/adaptive/gray_bands.h"

namespace pixtola {

struct CellPlace {
  std::uint32_t row = 0;
  std::uint32_t column = 0;
};

/// The size of a gray image and how many whole cells fit into it.
struct GrayCells {
  GrayCells(std::uint32_t gray_width, std::uint32_t gray_height)
      : width(gray_width),
        height(gray_height),
        columns(gray_width / kCellSize),
        rows(gray_height / kCellSize),
        groups((columns + kCellsPerGroup - 1) / kCellsPerGroup) {}

  /// How many pixels a packed image has from pixel `x` of row `y` on; `x` may lie past the row, but
  /// not past the image.
  std::uint64_t PixelsFrom(std::uint32_t y, std::uint32_t x) const {
    return std::uint64_t{height - y} * width - x;
  }

  /// Whether a block of pixels that runs on into the next image rows at the right edge ends within
  /// the image. It starts with a cell.
  bool Holds(CellPlace place, std::uint32_t block_rows, std::uint32_t block_width) const {
    const std::uint32_t last_row = place.row * kCellSize + block_rows - 1;
    return PixelsFrom(last_row, place.column * kCellSize) >= block_width;
  }

  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t columns;
  std::uint32_t rows;
  std::uint32_t groups;  ///< of eight cells; the last may have fewer
};

struct Totals {
  std::uint32_t sum = 0;
  std::uint32_t squares = 0;

  void Add(const Totals& other) {
    sum += other.sum;
    squares += other.squares;
  }
  void Remove(const Totals& other) {
    sum -= other.sum;
    squares -= other.squares;
  }
};

/// What the windows leave in their 128 x 128 slots. Samples past the image's end are not taken, and
/// their slots keep what the previous window had there. Windows are copied only when what they
/// leave is asked for.
class WindowSlots {
 public:
  WindowSlots(const AdaptiveKernels& kernels, const GrayCells& image, const GrayBands& bands)
      : kernels_(kernels), image_(image), bands_(bands) {}

  /// A window from `anchor` on takes `rows` rows, all within the image.
  void Take(CellPlace anchor, std::uint32_t rows) {
    pending_ = anchor;
    pending_rows_ = rows;
  }

  /// The totals of all rows from `first_row` on, which no window takes any more.
  Totals LeftBelow(std::uint32_t first_row);

  /// A window takes `rows` rows, of which the last ones run on past the image's end.
  Statistics MeasureCut(CellPlace anchor, std::uint32_t rows);

 private:
  void CopyPending();
  Totals Measure(std::uint32_t first_row, std::uint32_t rows) const;

  const AdaptiveKernels& kernels_;
  const GrayCells& image_;
  const GrayBands& bands_;
  CellPlace pending_;
  std::uint32_t pending_rows_ = 0;
  std::uint32_t left_from_ = kWindowSize;  ///< the row from which on `left_` are the totals
  Totals left_;
  std::array<std::uint8_t, kWindowSamples> samples_{};
};

/// Measures the cells of an image, and the windows at every eighth cell of a row of cells.
class WindowRows {
 public:
  WindowRows(const AdaptiveKernels& kernels, const GrayCells& image, GrayBands& bands);

  bool has_memory() const;

  /// The windows of a row of cells, one for each group. Rows come in order.
  const Statistics* MeasureRow(std::uint32_t row);

  /// The levels of the cells of the row whose windows were measured last.
  CellLevels Levels(std::uint32_t row) const;

 private:
  void MeasureBand(std::uint32_t band);
  void MeasureCells(std::uint32_t band, const CellLevels& levels) const;
  void MeasureWindows(std::uint32_t row, std::uint32_t first_group);

  const AdaptiveKernels& kernels_;
  const GrayCells& image_;
  GrayBands& bands_;
  std::uint64_t padded_columns_;
  std::uint32_t next_band_ = 0;
  WindowSlots slots_;
  Block<std::uint32_t> sums_;
  Block<std::uint32_t> squares_;
  Block<std::uint8_t> minima_;
  Block<Totals> band_totals_;  ///< of each group in the latest eight rows of cells
  Block<Totals> covered_;      ///< of each group in all these eight rows together
  Block<Statistics> windows_;
};

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_WINDOWS_H_
