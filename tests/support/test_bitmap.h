// Bitmaps and palettes for tests: built from plain bytes, read back as plain bytes.
#ifndef PIXTOLA_TESTS_SUPPORT_TEST_BITMAP_H_
#define PIXTOLA_TESTS_SUPPORT_TEST_BITMAP_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "Pixtola.h"
#include "support/bytes.h"

namespace pixtola::test {

using BitmapPointer = std::unique_ptr<Gdiplus::Bitmap>;

/// How far off a resolution may be that was kept in whole pixels per metre, as in indexed bitmaps,
/// which come by way of BMP, and in many files.
inline constexpr float kDpiTolerance = 0.02F;

/// A ColorPalette with one entry for each colour given.
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

unsigned BitsOf(Gdiplus::PixelFormat format);

/// Bytes of `width` pixels without padding.
std::size_t PackedBytes(Gdiplus::PixelFormat format, UINT width);

/// A bitmap with rows of its own; `rows` holds its pixels, packed without padding.
BitmapPointer MakeBitmap(UINT width, UINT height, Gdiplus::PixelFormat format, const Bytes& rows);

/// The bitmap's pixels in `format`, packed without padding; bits past a row's end are 0. Empty when
/// the bitmap cannot be locked.
Bytes PixelsOf(Gdiplus::Bitmap& bitmap, Gdiplus::PixelFormat format);

Bytes PixelsOf(Gdiplus::Bitmap& bitmap);

/// The entries of the bitmap's palette.
std::vector<Gdiplus::ARGB> PaletteOf(Gdiplus::Bitmap& bitmap);

/// Takes over a bitmap that a function returns through a pointer.
class BitmapReceiver {
 public:
  explicit BitmapReceiver(BitmapPointer& bitmap) : bitmap_(bitmap) {}
  ~BitmapReceiver() { bitmap_.reset(raw_); }
  operator Gdiplus::Bitmap**() { return &raw_; }

 private:
  BitmapPointer& bitmap_;
  Gdiplus::Bitmap* raw_ = nullptr;
};

BitmapReceiver Receive(BitmapPointer& bitmap);

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

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_TEST_BITMAP_H_
