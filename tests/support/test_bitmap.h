// Bitmaps and palettes for tests: built from plain bytes, read back as plain bytes.
#ifndef PIXTOLA_TESTS_SUPPORT_TEST_BITMAP_H_
#define PIXTOLA_TESTS_SUPPORT_TEST_BITMAP_H_

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "Pixtola.h"

namespace test_support {

using Bytes = std::vector<std::uint8_t>;
using BitmapPointer = std::unique_ptr<Gdiplus::Bitmap>;

/// A ColorPalette with as many entries as colours are given.
class PaletteBlock {
 public:
  PaletteBlock(UINT flags, const std::vector<Gdiplus::ARGB>& colors)
      : words_{flags, static_cast<std::uint32_t>(colors.size())} {
    words_.insert(words_.end(), colors.begin(), colors.end());
    if (colors.empty()) words_.push_back(0);  // the structure declares one entry
  }
  const Gdiplus::ColorPalette* get() const {
    return reinterpret_cast<const Gdiplus::ColorPalette*>(words_.data());
  }

 private:
  std::vector<std::uint32_t> words_;
};

inline unsigned BitsOf(Gdiplus::PixelFormat format) {
  return (static_cast<unsigned>(format) >> 8) & 0xFF;
}

/// Bytes of `width` pixels without padding.
inline std::size_t PackedBytes(Gdiplus::PixelFormat format, UINT width) {
  return (std::size_t{width} * BitsOf(format) + 7) / 8;
}

/// A bitmap with rows of its own; `rows` holds its pixels, packed without padding.
inline BitmapPointer MakeBitmap(UINT width, UINT height, Gdiplus::PixelFormat format,
                                const Bytes& rows) {
  BitmapPointer bitmap(
      new Gdiplus::Bitmap(static_cast<INT>(width), static_cast<INT>(height), format));
  Gdiplus::BitmapData data{};
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(width), static_cast<INT>(height));
  if (bitmap->LockBits(&whole, Gdiplus::ImageLockModeWrite, format, &data) != Gdiplus::Ok) {
    return nullptr;
  }
  const std::size_t row_bytes = PackedBytes(format, width);
  for (UINT y = 0; y < height; ++y) {
    std::memcpy(static_cast<std::uint8_t*>(data.Scan0) + std::ptrdiff_t{data.Stride} * y,
                rows.data() + y * row_bytes, row_bytes);
  }
  bitmap->UnlockBits(&data);
  return bitmap;
}

/// The bitmap's pixels in `format`, packed without padding; bits past a row's end are 0. Empty when
/// the bitmap cannot be locked.
inline Bytes PixelsOf(Gdiplus::Bitmap& bitmap, Gdiplus::PixelFormat format) {
  const UINT width = bitmap.GetWidth();
  const UINT height = bitmap.GetHeight();
  Gdiplus::BitmapData data{};
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(width), static_cast<INT>(height));
  if (bitmap.LockBits(&whole, Gdiplus::ImageLockModeRead, format, &data) != Gdiplus::Ok) return {};
  const std::size_t row_bytes = PackedBytes(format, width);
  const std::size_t used_bits = std::size_t{width} * BitsOf(format) % 8;
  Bytes pixels(row_bytes * height);
  for (UINT y = 0; y < height; ++y) {
    std::uint8_t* row = pixels.data() + y * row_bytes;
    std::memcpy(row, static_cast<const std::uint8_t*>(data.Scan0) + std::ptrdiff_t{data.Stride} * y,
                row_bytes);
    if (used_bits != 0) row[row_bytes - 1] &= static_cast<std::uint8_t>(0xFF00 >> used_bits);
  }
  bitmap.UnlockBits(&data);
  return pixels;
}

inline Bytes PixelsOf(Gdiplus::Bitmap& bitmap) { return PixelsOf(bitmap, bitmap.GetPixelFormat()); }

/// The entries of the bitmap's palette.
inline std::vector<Gdiplus::ARGB> PaletteOf(Gdiplus::Bitmap& bitmap) {
  const INT size = bitmap.GetPaletteSize();
  std::vector<std::uint32_t> words(static_cast<std::size_t>(size) / 4);
  if (words.size() < 3 || bitmap.GetPalette(reinterpret_cast<Gdiplus::ColorPalette*>(words.data()),
                                            size) != Gdiplus::Ok) {
    return {};
  }
  return {words.begin() + 2, words.begin() + 2 + words[1]};
}

/// Takes over a bitmap that a function hands out through a pointer.
class BitmapReceiver {
 public:
  explicit BitmapReceiver(BitmapPointer& bitmap) : bitmap_(bitmap) {}
  ~BitmapReceiver() { bitmap_.reset(raw_); }
  operator Gdiplus::Bitmap**() { return &raw_; }

 private:
  BitmapPointer& bitmap_;
  Gdiplus::Bitmap* raw_ = nullptr;
};

inline BitmapReceiver Receive(BitmapPointer& bitmap) { return BitmapReceiver(bitmap); }

/// Keeps a bitmap locked, so that every further lock fails with WrongState.
class HoldLock {
 public:
  explicit HoldLock(Gdiplus::Bitmap& bitmap) : bitmap_(bitmap) {
    bitmap.LockBits(nullptr, Gdiplus::ImageLockModeRead, bitmap.GetPixelFormat(), &data_);
  }
  HoldLock(const HoldLock&) = delete;
  HoldLock& operator=(const HoldLock&) = delete;
  ~HoldLock() { bitmap_.UnlockBits(&data_); }

 private:
  Gdiplus::Bitmap& bitmap_;
  Gdiplus::BitmapData data_{};
};

}  // namespace test_support

#endif  // PIXTOLA_TESTS_SUPPORT_TEST_BITMAP_H_
