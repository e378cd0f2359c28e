#include "bitmap/rows.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "format/pixel_format.h"
#include "format/stride.h"

namespace pixtola {

namespace {

/// Copies `row_bytes` of each of `height` rows, which lie `source_stride` bytes apart, into zeroed
/// rows `stride` bytes apart with `slack` bytes after the last. Null without memory.
Block<std::uint8_t> CopyRows(const std::uint8_t* first, std::ptrdiff_t source_stride,
                             std::uint64_t row_bytes, std::uint32_t height, std::uint32_t stride,
                             std::uint64_t slack) {
  Block<std::uint8_t> copy = AllocateZeroed<std::uint8_t>(std::uint64_t{stride} * height + slack);
  for (std::uint32_t y = 0; copy != nullptr && y < height; ++y) {
    std::memcpy(copy.get() + std::size_t{y} * stride, first + source_stride * y, row_bytes);
  }
  return copy;
}

/// What may be read of a bottom-up row: its pixels only, since the top row, the last in memory,
/// need not be followed by any padding.
std::uint64_t BottomUpRowBytes(std::uint32_t bits_per_pixel, std::uint32_t width,
                               std::uint32_t row_distance) {
  return std::min<std::uint64_t>(row_distance, PackedRowBytes(bits_per_pixel, width));
}

}  // namespace

Rows TopDownRows(const Gdiplus::BitmapData& data) {
  const auto* first = static_cast<const std::uint8_t*>(data.Scan0);
  if (data.Stride >= 0) return {first, static_cast<std::uint32_t>(data.Stride)};
  Rows rows;
  rows.stride = 0 - static_cast<std::uint32_t>(data.Stride);
  rows.copy = CopyRows(first, data.Stride,
                       BottomUpRowBytes(BitsPerPixel(data.PixelFormat), data.Width, rows.stride),
                       data.Height, rows.stride, 0);
  rows.first = rows.copy.get();
  return rows;
}

Gdiplus::Status PrepareRows(const std::uint8_t* data, Gdiplus::PixelFormat format,
                            std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                            Rows& rows) {
  const std::uint32_t bits = BitsPerPixel(format);
  const auto signed_stride = static_cast<std::int32_t>(stride);
  const bool is_bottom_up = signed_stride < 0;
  const std::uint32_t row_distance = is_bottom_up ? 0 - stride : stride;
  rows.stride = RoundUpTo4(row_distance);
  // What the platform could only read as a negative number is no size and no stride either.
  constexpr std::uint32_t kLargest = std::numeric_limits<std::int32_t>::max();
  const bool fits = width <= kLargest && height <= kLargest && rows.stride <= kLargest;
  if (data == nullptr || !fits || !IsValidStride(width, bits, rows.stride)) {
    return Gdiplus::InvalidParameter;
  }
  // The stride check lets through rows that are longer than their stride (4-bit ones, and sizes
  // that wrap). Their last row would reach past the caller's image; a copy has room for it.
  const std::uint64_t longest_row =
      std::max<std::uint64_t>(rows.stride, PackedRowBytes(bits, width));
  if (!is_bottom_up && rows.stride == stride && longest_row == stride) {
    rows.first = data;
    return Gdiplus::Ok;
  }
  rows.copy = CopyRows(data, signed_stride,
                       is_bottom_up ? BottomUpRowBytes(bits, width, row_distance) : stride, height,
                       rows.stride, longest_row - rows.stride);
  rows.first = rows.copy.get();
  return rows.first != nullptr ? Gdiplus::Ok : Gdiplus::OutOfMemory;
}

}  // namespace pixtola
