#include "imaging/bitmap_object.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "imaging/indexed_rows.h"
#include "shared/decode_limit.h"

namespace pixtola::portable {

namespace {

constexpr std::uint64_t kLargestSize = std::numeric_limits<std::int32_t>::max();

}  // namespace

std::unique_ptr<BitmapObject> BitmapObject::CreateOver(std::uint32_t width, std::uint32_t height,
                                                       std::int32_t stride,
                                                       Gdiplus::PixelFormat format, BYTE* scan0) {
  std::unique_ptr<BitmapObject> bitmap(new (std::nothrow) BitmapObject);
  if (bitmap == nullptr) return nullptr;
  bitmap->width_ = width;
  bitmap->height_ = height;
  bitmap->stride_ = stride;
  bitmap->format_ = format;
  bitmap->scan0_ = scan0;
  bitmap->palette = DefaultPalette(format);
  return bitmap;
}

std::unique_ptr<BitmapObject> BitmapObject::Create(std::uint32_t width, std::uint32_t height,
                                                   Gdiplus::PixelFormat format) {
  const std::uint64_t stride = AlignedStride(width, format);
  if (stride > kLargestSize) return nullptr;
  HeapBytes rows = AllocateZeroedBytes(stride * height);
  if (rows == nullptr) return nullptr;
  std::unique_ptr<BitmapObject> bitmap =
      CreateOver(width, height, static_cast<std::int32_t>(stride), format, rows.get());
  if (bitmap != nullptr) bitmap->own_rows_ = std::move(rows);
  return bitmap;
}

std::unique_ptr<BitmapObject> BitmapObject::CreateForDecoder(std::uint64_t width,
                                                             std::uint64_t height,
                                                             Gdiplus::PixelFormat format) {
  if (width == 0 || height == 0 || width > kLargestSize || height > kLargestSize ||
      !IsBitmapFormat(format) ||
      !platform::IsDecodeAllowed(width, height, AlignedStride(width, format) * height)) {
    return nullptr;
  }
  return Create(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), format);
}

void BitmapObject::TakeImage(BitmapObject& other) {
  width_ = other.width_;
  height_ = other.height_;
  stride_ = other.stride_;
  format_ = other.format_;
  scan0_ = std::exchange(other.scan0_, nullptr);
  own_rows_ = std::move(other.own_rows_);
  palette = other.palette;
  dpi_x = other.dpi_x;
  dpi_y = other.dpi_y;
}

unsigned HighestIndex(const BitmapObject& bitmap) {
  const unsigned bits = bitmap.bits_per_pixel();
  const unsigned last = (1U << bits) - 1;
  unsigned highest = 0;
  for (std::uint32_t y = 0; y < bitmap.height() && highest < last; ++y) {
    const BYTE* row = bitmap.Row(y);
    for (std::uint32_t x = 0; x < bitmap.width(); ++x) {
      highest = std::max(highest, ReadIndex(row, x, bits));
    }
  }
  return highest;
}

void CoverAllIndexes(BitmapObject& bitmap) {
  const UINT all = 1U << bitmap.bits_per_pixel();
  if (bitmap.palette.count < all && HighestIndex(bitmap) >= bitmap.palette.count) {
    bitmap.palette.count = all;
  }
}

}  // namespace pixtola::portable
