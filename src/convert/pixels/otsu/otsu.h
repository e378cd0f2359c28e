// The global threshold of a histogram, and bilevel conversion with it.
#ifndef PIXTOLA_CONVERT_PIXELS_OTSU_OTSU_H_
#define PIXTOLA_CONVERT_PIXELS_OTSU_OTSU_H_

#include <cstdint>

#include "convert/pixels/gray/gray_kernels.h"
#include "platform.h"

namespace pixtola {

/// The level from which on a pixel is white. 128 for a null or empty histogram.
std::uint8_t OtsuThreshold(const Histogram* histogram);

/// Sets the bit of every pixel with gray >= threshold. Writes ceil(width / 8) bytes a row and
/// leaves the rest of the row as it is. Returns 1, or 0 for null pointers or too small a stride.
int PackByThreshold(std::uint8_t threshold, const std::uint8_t* gray, std::uint32_t width,
                    std::uint32_t height, std::uint8_t* destination,
                    std::uint32_t destination_stride);

/// What all bilevel methods do with a 1-bit source: rows are copied as they are, whatever the
/// method, and what the source row does not reach becomes 0.
void CopyBilevelRows(const std::uint8_t* source, std::uint32_t height, std::uint32_t source_stride,
                     std::uint8_t* destination, std::uint32_t destination_stride);

/// The method MethodBilevelOtsu.
int BinarizeOtsu(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                 std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                 std::uint8_t* destination, std::uint32_t destination_stride,
                 const Gdiplus::ColorPalette* palette);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_OTSU_OTSU_H_
