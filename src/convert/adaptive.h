// Bilevel conversion with a threshold of its own for each cell of 16 x 16 pixels.
#ifndef PIXTOLA_CONVERT_ADAPTIVE_H_
#define PIXTOLA_CONVERT_ADAPTIVE_H_

#include <cstdint>

#include "base/memory.h"
#include "platform.h"

namespace pixtola {

/// Pixels along each side of a cell.
inline constexpr std::uint32_t kCellSize = 16;

/// One value for each whole cell of a gray image, row by row.
struct CellGrid {
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  Block<std::uint8_t> values;  ///< `columns * rows` bytes; null when memory lacked

  std::uint8_t At(std::uint32_t row, std::uint32_t column) const {
    return values[std::size_t{row} * columns + column];
  }
};

/// A value for each whole cell from its own levels and those of a large window around there. `gray`
/// is a packed image.
CellGrid ComputeCellThresholds(const std::uint8_t* gray, std::uint32_t width, std::uint32_t height);

/// The threshold of one cell: the average of the cells around it, pulled toward the threshold of
/// the whole image.
std::uint8_t CellThreshold(const CellGrid& grid, std::uint32_t row, std::uint32_t column,
                           std::uint8_t global_threshold);

/// The method MethodBilevelAdaptive.
int BinarizeAdaptive(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                     std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                     std::uint8_t* destination, std::uint32_t destination_stride,
                     const Gdiplus::ColorPalette* palette);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_ADAPTIVE_H_
