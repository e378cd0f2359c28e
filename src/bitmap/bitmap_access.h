// Reading a bitmap: a lock that ends with its scope, and a copy of the palette.
//
// Platform calls go through the bitmap object, so that it records their failures as its last
// status.
#ifndef PIXTOLA_BITMAP_BITMAP_ACCESS_H_
#define PIXTOLA_BITMAP_BITMAP_ACCESS_H_

#include <optional>

#include "base/owners.h"
#include "platform.h"

namespace pixtola {

/// The whole of a bitmap, locked for reading.
class ReadLock {
 public:
  /// Locks all `width` x `height` pixels in `format`.
  ReadLock(Gdiplus::Bitmap& bitmap, UINT width, UINT height, Gdiplus::PixelFormat format)
      : bitmap_(bitmap) {
    const Gdiplus::Rect whole(0, 0, static_cast<INT>(width), static_cast<INT>(height));
    is_locked_ = bitmap.LockBits(&whole, Gdiplus::ImageLockModeRead, format, &data_) == Gdiplus::Ok;
  }
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;
  ~ReadLock() {
    if (is_locked_) bitmap_.UnlockBits(&data_);
  }

  bool is_locked() const { return is_locked_; }
  const Gdiplus::BitmapData& data() const { return data_; }

 private:
  Gdiplus::Bitmap& bitmap_;
  Gdiplus::BitmapData data_{};
  bool is_locked_;
};

/// A copy of the bitmap's palette, without entries when it has none or they cannot be read; null
/// when its size cannot be read. Nothing when out of memory, which some callers ignore and others
/// treat as a failure.
std::optional<PalettePointer> CopyPalette(Gdiplus::Bitmap& bitmap);

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_BITMAP_ACCESS_H_
