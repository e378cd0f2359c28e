#include "bitmap/rows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "format/pixel_format.h"
#include "format/stride.h"

namespace pixtola {

namespace {

/// Copies `row_bytes` of each row into zeroed rows `stride` bytes apart, with `slack` bytes after
/// the last.
Rows CopyRows(const ImageView& source, std::uint64_t row_bytes, std::uint32_t stride,
              std::uint64_t slack) {
  Rows rows{source, AllocateZeroed<std::uint8_t>(std::uint64_t{stride} * source.height + slack)};
  rows.image.first_row = rows.copy.get();
  rows.image.stride = stride;
  for (std::uint32_t y = 0; rows.copy != nullptr && y < source.height; ++y) {
    std::memcpy(rows.copy.get() + std::size_t{y} * stride, source.Row(y), row_bytes);
  }
  return rows;
}

/// What may be read of a bottom-up row: its pixels only, since the top row, the last in memory,
/// need not be followed by any padding.
std::uint64_t BottomUpRowBytes(const ImageView& pixels, std::uint64_t row_distance) {
  return std::min(row_distance, PackedRowBytes(pixels.bits_per_pixel, pixels.width));
}

/// From one row to the next, in whichever direction.
std::uint64_t RowDistance(const ImageView& pixels) {
  return static_cast<std::uint64_t>(std::abs(std::int64_t{pixels.stride}));
}

}  // namespace

ImageView ViewOf(const Gdiplus::BitmapData& data) {
  return {static_cast<const std::uint8_t*>(data.Scan0), data.Width, data.Height, data.Stride,
          BitsPerPixel(data.PixelFormat)};
}

Rows TopDownRows(const ImageView& pixels) {
  if (pixels.stride >= 0) return {pixels, nullptr};
  const std::uint64_t distance = RowDistance(pixels);
  return CopyRows(pixels, BottomUpRowBytes(pixels, distance), static_cast<std::uint32_t>(distance),
                  0);
}

Gdiplus::Status PrepareRows(const ImageView& pixels, Rows& rows) {
  // What the platform would read as a negative number is not a size or a stride either.
  constexpr std::uint64_t kLargest = std::numeric_limits<std::int32_t>::max();
  const std::uint64_t distance = RowDistance(pixels);
  const std::uint64_t rounded = (distance + 3) / 4 * 4;
  const bool fits = pixels.width <= kLargest && pixels.height <= kLargest && rounded <= kLargest;
  const auto stride = static_cast<std::uint32_t>(rounded);
  if (pixels.first_row == nullptr || !fits ||
      !IsValidStride(pixels.width, pixels.bits_per_pixel, stride)) {
    return Gdiplus::InvalidParameter;
  }
  // The stride check accepts rows that are longer than their stride (4-bit ones, and sizes that
  // wrap). Their last row would reach past the caller's image; a copy has room for it.
  const std::uint64_t longest_row =
      std::max(rounded, PackedRowBytes(pixels.bits_per_pixel, pixels.width));
  const bool is_bottom_up = pixels.stride < 0;
  if (!is_bottom_up && rounded == distance && longest_row == distance) {
    rows.image = pixels;
    return Gdiplus::Ok;
  }
  rows = CopyRows(pixels, is_bottom_up ? BottomUpRowBytes(pixels, distance) : distance, stride,
                  longest_row - stride);
  return rows.copy != nullptr ? Gdiplus::Ok : Gdiplus::OutOfMemory;
}

}  // namespace pixtola
