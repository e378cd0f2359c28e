// Rows of pixels of any format with padding around them, as a bitmap or a lock may have them:
// random to begin with, so that a byte written to the wrong place is seen.
#ifndef PIXTOLA_TESTS_SUPPORT_PIXEL_ROWS_H_
#define PIXTOLA_TESTS_SUPPORT_PIXEL_ROWS_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "support/reference_pixels.h"
#include "support/test_bitmap.h"

namespace pixtola::test {

/// Which way the rows follow one another in memory.
enum class RowOrder { kDownwards, kUpwards };

/// Any pixel of the format, but more often than by chance one that is transparent, opaque or, where
/// channels are linear light, not brighter than 1.0.
Pixel RandomPixel(Gdiplus::PixelFormat format, std::mt19937& random);

Palette RandomPalette(std::size_t count, std::mt19937& random);

/// Copies are snapshots, to compare with later.
class PixelRows {
 public:
  /// All bytes are 0.
  PixelRows(std::size_t width, std::size_t height, Gdiplus::PixelFormat format, std::size_t stride,
            RowOrder order = RowOrder::kDownwards)
      : format_(format),
        stride_(stride),
        width_(width),
        height_(height),
        order_(order),
        bytes_(stride * height) {}

  /// Any bytes, and pixels as RandomPixel makes them.
  PixelRows(std::size_t width, std::size_t height, Gdiplus::PixelFormat format, std::size_t stride,
            std::mt19937& random, RowOrder order = RowOrder::kDownwards)
      : PixelRows(width, height, format, stride, order) {
    for (std::uint8_t& byte : bytes_) byte = static_cast<std::uint8_t>(random());
    for (std::size_t y = 0; y < height; ++y) {
      for (std::size_t x = 0; x < width; ++x) Set(x, y, RandomPixel(format, random));
    }
  }

  Gdiplus::PixelFormat format() const { return format_; }
  std::size_t width() const { return width_; }
  std::size_t height() const { return height_; }
  const Bytes& bytes() const { return bytes_; }
  /// In place, so that a bitmap over the rows sees it.
  void SetBytes(const Bytes& bytes) { std::copy(bytes.begin(), bytes.end(), bytes_.begin()); }
  BYTE* top() { return bytes_.data() + Start(0); }
  /// As the API counts it: negative when the rows run upwards.
  INT stride() const;

  Pixel At(std::size_t x, std::size_t y) const;
  void Set(std::size_t x, std::size_t y, Pixel pixel);

 private:
  std::size_t Start(std::size_t y) const;

  Gdiplus::PixelFormat format_;
  std::size_t stride_;
  std::size_t width_;
  std::size_t height_;
  RowOrder order_;
  Bytes bytes_;
};

/// Bytes of a row with the padding that bitmaps ask for.
std::size_t StrideOf(Gdiplus::PixelFormat format, std::size_t width);

/// A bitmap over rows that the test can look at without a lock.
class RowsBitmap {
 public:
  explicit RowsBitmap(PixelRows pixels)
      : rows(std::move(pixels)),
        bitmap(static_cast<INT>(rows.width()), static_cast<INT>(rows.height()), rows.stride(),
               rows.format(), rows.top()),
        palette(DefaultPalette(rows.format())) {}
  RowsBitmap(std::size_t width, std::size_t height, Gdiplus::PixelFormat format,
             std::mt19937& random, RowOrder order = RowOrder::kDownwards)
      : RowsBitmap(PixelRows(width, height, format, StrideOf(format, width), random, order)) {}
  RowsBitmap(const RowsBitmap&) = delete;
  RowsBitmap& operator=(const RowsBitmap&) = delete;

  Gdiplus::Status SetPalette(const Palette& colors) {
    palette = colors;
    return bitmap.SetPalette(
        PaletteBlock(0, std::vector<Gdiplus::ARGB>(colors.begin(), colors.end())).get());
  }

  PixelRows rows;
  Gdiplus::Bitmap bitmap;
  Palette palette;
};

/// The pixel (x, y) of what is locked.
Pixel LockedPixel(const Gdiplus::BitmapData& data, std::size_t x, std::size_t y);

void SetLockedPixel(const Gdiplus::BitmapData& data, std::size_t x, std::size_t y, Pixel pixel);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_PIXEL_ROWS_H_
