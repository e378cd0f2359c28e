// Bilevel conversion with a threshold of its own for each cell of 16 x 16 pixels.
#ifndef PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_H_
#define PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_H_

#include <cstddef>
#include <cstdint>

#include "base/memory.h"
#include "convert/pixels/adaptive/adaptive_kernels.h"
#include "platform.h"

namespace pixtola {

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

/// Clears the bits of the dark pixels of a packed gray image: of all whole cells, and of the strip
/// to the right of them. `destination` holds 255 in every byte. False when memory lacked.
bool BinarizeCells(const std::uint8_t* gray, std::uint32_t width, std::uint32_t height,
                   std::uint8_t global_threshold, std::uint8_t* destination,
                   std::uint32_t destination_stride);

/// The threshold of the strip where the image is too narrow for cells.
inline constexpr std::uint8_t kThresholdWithoutCells = 255;

/// Clears the bits of the dark pixels in the strip to the right of a row's last whole cell. `gray`
/// and `destination` are where the strip starts, `width` is the image's.
void BinarizeStrip(const std::uint8_t* gray, std::size_t gray_stride, std::uint32_t width,
                   std::uint8_t threshold, std::uint8_t* destination,
                   std::uint32_t destination_stride);

/// The method MethodBilevelAdaptive.
int BinarizeAdaptive(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                     std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                     std::uint8_t* destination, std::uint32_t destination_stride,
                     const Gdiplus::ColorPalette* palette);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_H_
