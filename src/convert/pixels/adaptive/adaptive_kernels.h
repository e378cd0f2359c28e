// The inner steps of the adaptive bilevel conversion, each for one row of cells: the levels of the
// cells, the cells' values, the weighted averages of the values around them, and the bits; and
// which way through the image is the fastest with them.
#ifndef PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_KERNELS_H_
#define PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_KERNELS_H_

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "convert/pixels/gray/gray_reader.h"
#include "format/image_view.h"

namespace pixtola {

/// Pixels along each side of a cell.
inline constexpr std::uint32_t kCellSize = 16;
inline constexpr std::uint32_t kCellSamples = kCellSize * kCellSize;

/// Pixels along each side of the large window.
inline constexpr std::uint32_t kWindowSize = 128;
inline constexpr std::uint32_t kWindowSamples = kWindowSize * kWindowSize;

/// Cells that share a window: those from one of its columns to the next.
inline constexpr std::uint32_t kCellsPerGroup = 8;

/// Cells to each side whose values count for a cell's threshold.
inline constexpr std::uint32_t kNeighbourhoodRadius = 5;
inline constexpr std::uint32_t kNeighbourhoodRows = 2 * kNeighbourhoodRadius + 1;

/// The mean of samples, truncated, and their deviation from that.
struct Statistics {
  std::uint8_t mean;
  double deviation;
};

/// For each cell of a row the sum of its samples, the sum of their squares, and the smallest of
/// them.
struct CellLevels {
  std::uint32_t* sums;
  std::uint32_t* squares;
  std::uint8_t* minima;
};

/// The square root of the mean of squared differences.
template <std::uint32_t kSamples>
double Deviation(std::uint32_t squared_differences) {
  return std::sqrt(static_cast<double>(squared_differences) / kSamples);
}

/// The value of a cell from its own levels and those of a large window around it.
std::uint8_t CellValue(const Statistics& cell, std::uint8_t minimum, const Statistics& window);

/// Moves the average around a cell toward the threshold of the whole image: far if that is higher,
/// a little if it is lower.
std::uint8_t PullTowardGlobal(std::uint8_t local, std::uint8_t global);

struct AdaptiveKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  /// Does what BinarizeCells does for gray rows, in the way that suits these kernels.
  bool (*binarize)(const AdaptiveKernels& kernels, const GrayReader& gray,
                   std::uint8_t global_threshold, const MutableImageView& destination);

  /// Measures `cells` blocks side by side, 16 pixels wide and `rows` (1 to 128) high.
  void (*measure_cells)(const std::uint8_t* gray, std::size_t stride, std::uint32_t rows,
                        std::uint32_t cells, const CellLevels& levels);

  /// The values of `groups` times 8 cells of 16 rows; each group has its own window.
  void (*cell_values)(const CellLevels& levels, const Statistics* windows, std::uint32_t groups,
                      std::uint8_t* values);

  /// Down each column of `groups` times 8 cells, over the row in the middle and the five to each
  /// side of it: the sum of the values, and their sum weighted by 5 minus the distance.
  void (*sum_columns)(const std::uint8_t* const rows[kNeighbourhoodRows], std::uint32_t groups,
                      std::uint16_t* sums, std::uint16_t* weighted_sums);

  /// The thresholds of `groups` times 8 cells from such sums, which are also read for the five
  /// cells to each side, and the weights that the values around each cell add up to.
  void (*cell_thresholds)(const std::uint16_t* sums, const std::uint16_t* weighted_sums,
                          const std::uint16_t* weights, std::uint32_t groups, std::uint8_t global,
                          std::uint8_t* thresholds);

  /// Writes the bits of a row of `cells` whole cells, two bytes for each row of a cell: set where
  /// the gray is above the cell's threshold.
  void (*binarize_cells)(const std::uint8_t* gray, std::size_t stride,
                         const std::uint8_t* thresholds, std::uint32_t cells,
                         std::uint8_t* destination, std::size_t destination_stride);
};

/// The definition.
extern const AdaptiveKernels kPlainAdaptiveKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const AdaptiveKernels& BestAdaptiveKernels();

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_KERNELS_H_
