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

namespace test_support {

/// Which way the rows follow one another in memory.
enum class RowOrder { kDownwards, kUpwards };

/// Any pixel of the format, but more often than by chance one that is transparent, opaque or, where
/// light is counted, not brighter than 1.0.
inline reference_pixels::Pixel RandomPixel(Gdiplus::PixelFormat format, std::mt19937& random) {
  const auto deep_channel = [&random] {
    return random() % 8 != 0 ? random() % 0x2001U : random() % 0x10000U;
  };
  const unsigned bits = reference_pixels::BitsPerPixel(format);
  const auto choice = random() % 8;
  if (bits >= 48) {
    reference_pixels::Pixel pixel =
        choice == 0 ? 0U : (choice == 1 ? 0x2000U : std::uint64_t{deep_channel()});
    for (unsigned channel = 0; channel < 3; ++channel) pixel = pixel << 16 | deep_channel();
    return bits == 48 ? pixel & 0xFFFFFFFFFFFFU : pixel;
  }
  reference_pixels::Pixel pixel = random();
  if (bits == 32 && choice == 0) pixel &= 0x00FFFFFFU;
  if (bits == 32 && choice == 1) pixel |= 0xFF000000U;
  return pixel & ((reference_pixels::Pixel{1} << bits) - 1);
}

inline reference_pixels::Palette RandomPalette(std::size_t count, std::mt19937& random) {
  reference_pixels::Palette palette(count);
  for (std::uint32_t& entry : palette) {
    entry = static_cast<std::uint32_t>(RandomPixel(PixelFormat32bppARGB, random));
  }
  return palette;
}

/// Copies are pictures of a moment, to compare with later.
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
  INT stride() const {
    const auto stride = static_cast<INT>(stride_);
    return order_ == RowOrder::kDownwards ? stride : -stride;
  }

  reference_pixels::Pixel At(std::size_t x, std::size_t y) const {
    return reference_pixels::PixelAt(bytes_.data() + Start(y), x, format_);
  }
  void Set(std::size_t x, std::size_t y, reference_pixels::Pixel pixel) {
    reference_pixels::SetPixel(bytes_.data() + Start(y), x, format_, pixel);
  }

 private:
  std::size_t Start(std::size_t y) const {
    return (order_ == RowOrder::kDownwards ? y : height_ - 1 - y) * stride_;
  }

  Gdiplus::PixelFormat format_;
  std::size_t stride_;
  std::size_t width_;
  std::size_t height_;
  RowOrder order_;
  Bytes bytes_;
};

/// Bytes of a row with the padding that bitmaps ask for.
inline std::size_t StrideOf(Gdiplus::PixelFormat format, std::size_t width) {
  return (reference_pixels::RowBytes(format, width) + 3) / 4 * 4;
}

/// A bitmap over rows that the test can look at without a lock.
class RowsBitmap {
 public:
  explicit RowsBitmap(PixelRows pixels)
      : rows(std::move(pixels)),
        bitmap(static_cast<INT>(rows.width()), static_cast<INT>(rows.height()), rows.stride(),
               rows.format(), rows.top()),
        palette(reference_pixels::DefaultPalette(rows.format())) {}
  RowsBitmap(std::size_t width, std::size_t height, Gdiplus::PixelFormat format,
             std::mt19937& random, RowOrder order = RowOrder::kDownwards)
      : RowsBitmap(PixelRows(width, height, format, StrideOf(format, width), random, order)) {}
  RowsBitmap(const RowsBitmap&) = delete;
  RowsBitmap& operator=(const RowsBitmap&) = delete;

  Gdiplus::Status SetPalette(const reference_pixels::Palette& colors) {
    palette = colors;
    return bitmap.SetPalette(
        PaletteBlock(0, std::vector<Gdiplus::ARGB>(colors.begin(), colors.end())).get());
  }

  PixelRows rows;
  Gdiplus::Bitmap bitmap;
  reference_pixels::Palette palette;
};

/// The pixel (x, y) of what is locked.
inline reference_pixels::Pixel LockedPixel(const Gdiplus::BitmapData& data, std::size_t x,
                                           std::size_t y) {
  const auto* top = static_cast<const std::uint8_t*>(data.Scan0);
  return reference_pixels::PixelAt(
      top + std::ptrdiff_t{data.Stride} * static_cast<std::ptrdiff_t>(y), x, data.PixelFormat);
}

inline void SetLockedPixel(const Gdiplus::BitmapData& data, std::size_t x, std::size_t y,
                           reference_pixels::Pixel pixel) {
  auto* top = static_cast<std::uint8_t*>(data.Scan0);
  reference_pixels::SetPixel(top + std::ptrdiff_t{data.Stride} * static_cast<std::ptrdiff_t>(y), x,
                             data.PixelFormat, pixel);
}

}  // namespace test_support

#endif  // PIXTOLA_TESTS_SUPPORT_PIXEL_ROWS_H_
