// The definition of the adaptive bilevel conversion: a threshold for each cell of 16 x 16 pixels of
// a gray image.
#ifndef PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_CELLS_H_
#define PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_CELLS_H_

#include <cstddef>
#include <cstdint>

#include "base/memory.h"
#include "convert/pixels/adaptive/adaptive_kernels.h"
#include "convert/pixels/gray/gray_reader.h"
#include "format/image_view.h"

namespace pixtola {

/// One value for each whole cell of a gray image, row by row.
struct CellGrid {
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  Block<std::uint8_t> values;  ///< `columns * rows` bytes; null when out of memory

  std::uint8_t At(std::uint32_t row, std::uint32_t column) const {
    return values[std::size_t{row} * columns + column];
  }
};

/// A value for each whole cell from its own levels and those of a large window around it. `gray` is
/// packed: a row begins where the one above ends.
CellGrid ComputeCellThresholds(const ImageView& gray);

/// The threshold of one cell: the average of the cells around it, pulled toward the threshold of
/// the whole image.
std::uint8_t CellThreshold(const CellGrid& grid, std::uint32_t row, std::uint32_t column,
                           std::uint8_t global_threshold);

/// Clears the bits of the dark pixels of a packed gray image: of all whole cells, and of the strip
/// to the right of them. `destination` has 1 bit per pixel and holds 255 in every byte. False when
/// out of memory.
bool BinarizeCells(const ImageView& gray, std::uint8_t global_threshold,
                   const MutableImageView& destination);

/// The same of gray rows, of which it makes a packed image; `kernels` are not used.
bool BinarizeCellsAtOnce(const AdaptiveKernels& kernels, const GrayReader& gray,
                         std::uint8_t global_threshold, const MutableImageView& destination);

/// The threshold of the strip where the image is too narrow for cells.
inline constexpr std::uint8_t kThresholdWithoutCells = 255;

/// Clears the bits of the dark pixels in the strip to the right of a row's last whole cell. Both
/// pointers are where the strip starts, `width` is the image's.
void BinarizeStrip(const std::uint8_t* gray, std::size_t gray_stride, std::uint32_t width,
                   std::uint8_t threshold, std::uint8_t* destination,
                   std::size_t destination_stride);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_CELLS_H_
