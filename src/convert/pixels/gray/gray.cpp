#include "convert/pixels/gray/gray.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "convert/pixels/conversion_arguments.h"
#include "convert/pixels/gray/gray_rows.h"

namespace pixtola {

namespace {

/// How many pixels of a source row become gray in a destination row.
std::uint32_t ConvertedPixelsPerRow(const ImageView& source, const MutableImageView& destination) {
  const auto source_stride = static_cast<std::uint32_t>(source.stride);
  const auto destination_stride = static_cast<std::uint32_t>(destination.stride);
  // Kept on purpose: 1- and 8-bit rows are converted padding and all, as far as both rows reach.
  if (source.bits_per_pixel == 1) {
    const std::uint64_t source_bits = std::uint64_t{source_stride} * 8;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(source_bits, destination_stride));
  }
  if (source.bits_per_pixel == 8) return std::min(source_stride, destination_stride);
  return source.width;
}

}  // namespace

int ConvertToGray(const ImageView& source, const GrayLookup* lookup,
                  const MutableImageView& destination) {
  if (!AreConversionArgumentsValid(source, destination)) return 0;
  const GrayRows rows(source, lookup);
  if (!rows.IsValid()) return 0;

  const std::uint32_t count = ConvertedPixelsPerRow(source, destination);
  const std::size_t rest = static_cast<std::size_t>(destination.stride) - count;
  for (std::uint32_t y = 0; y < destination.height; ++y) {
    std::uint8_t* row = destination.Row(y);
    rows.ConvertRow(y, count, row);
    std::memset(row + count, 0, rest);
  }
  return 1;
}

}  // namespace pixtola
