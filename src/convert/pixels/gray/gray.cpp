#include "convert/pixels/gray/gray.h"

#include <algorithm>
#include <cstring>

#include "convert/pixels/conversion_arguments.h"
#include "convert/pixels/gray/gray_rows.h"

namespace pixtola {

namespace {

/// How many pixels of a source row become gray in a destination row of `destination_stride` bytes.
std::uint32_t ConvertedPixelsPerRow(std::uint32_t width, std::uint32_t source_stride,
                                    std::uint32_t source_bits_per_pixel,
                                    std::uint32_t destination_stride) {
  // Kept on purpose: 1- and 8-bit rows are converted padding and all, as far as both rows reach.
  if (source_bits_per_pixel == 1) {
    const std::uint64_t source_bits = std::uint64_t{source_stride} * 8;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(source_bits, destination_stride));
  }
  if (source_bits_per_pixel == 8) return std::min(source_stride, destination_stride);
  return width;
}

}  // namespace

int ConvertToGray(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                  std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                  std::uint8_t* destination, std::uint32_t destination_stride,
                  const Gdiplus::ColorPalette* palette) {
  if (!AreConversionArgumentsValid(source, width, height, source_stride, source_bits_per_pixel,
                                   destination, destination_stride, 8)) {
    return 0;
  }
  const GrayRows rows(source, width, height, source_stride, source_bits_per_pixel, palette);
  if (!rows.IsValid()) return 0;

  const std::uint32_t count =
      ConvertedPixelsPerRow(width, source_stride, source_bits_per_pixel, destination_stride);
  for (std::uint32_t y = 0; y < height; ++y) {
    std::uint8_t* destination_row = destination + std::size_t{y} * destination_stride;
    rows.ConvertRow(y, count, destination_row);
    std::memset(destination_row + count, 0, destination_stride - count);
  }
  return 1;
}

}  // namespace pixtola
