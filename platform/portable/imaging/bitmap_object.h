// What a native bitmap handle points to: size, format, rows, palette, resolution and the lock.
//
// The object holds data and keeps it consistent; what the flat API accepts and refuses is decided
// in bitmap_api.cpp, locking in lock_bits.cpp.
#ifndef PIXTOLA_PORTABLE_BITMAP_OBJECT_H_
#define PIXTOLA_PORTABLE_BITMAP_OBJECT_H_

#include <cstdint>
#include <memory>
#include <optional>

#include "base/heap_bytes.h"
#include "imaging/frames.h"
#include "imaging/palette.h"
#include "imaging/pixel_format.h"
#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

/// One lock of a rectangle, from LockBits to UnlockBits.
struct BitmapLock {
  Gdiplus::Rect rect;
  UINT flags = 0;
  Gdiplus::PixelFormat format = PixelFormatUndefined;
  bool direct = false;   ///< the caller works on the bitmap's own rows: nothing to write back
  HeapBytes temporary;   ///< the rows handed out, if not the bitmap's or the caller's
  BYTE* rows = nullptr;  ///< top row of what the caller works on
  std::ptrdiff_t stride = 0;

  // The rectangle lies inside the bitmap.
  std::uint32_t x() const { return static_cast<std::uint32_t>(rect.X); }
  std::uint32_t y() const { return static_cast<std::uint32_t>(rect.Y); }
  std::uint32_t width() const { return static_cast<std::uint32_t>(rect.Width); }
  std::uint32_t height() const { return static_cast<std::uint32_t>(rect.Height); }
  BYTE* Row(std::uint32_t i) const { return rows + stride * i; }
};

class BitmapObject final : public Gdiplus::GpBitmap {
 public:
  /// A bitmap with zeroed rows of its own; null when out of memory or when a size does not fit.
  /// `width` and `height` are 1 to 2^31 - 1, `format` is one that IsBitmapFormat accepts.
  static std::unique_ptr<BitmapObject> Create(std::uint32_t width, std::uint32_t height,
                                              Gdiplus::PixelFormat format);

  /// As Create, for decoders: sizes of 0 and beyond 2^31 - 1 give null, and so does an image beyond
  /// the decode limit.
  static std::unique_ptr<BitmapObject> CreateForDecoder(std::uint64_t width, std::uint64_t height,
                                                        Gdiplus::PixelFormat format);

  /// A bitmap over the caller's rows. `stride` is negative when rows run upwards from `scan0`.
  static std::unique_ptr<BitmapObject> CreateOver(std::uint32_t width, std::uint32_t height,
                                                  std::int32_t stride, Gdiplus::PixelFormat format,
                                                  BYTE* scan0);

  static BitmapObject& From(Gdiplus::GpImage& image) { return static_cast<BitmapObject&>(image); }
  static const BitmapObject& From(const Gdiplus::GpImage& image) {
    return static_cast<const BitmapObject&>(image);
  }

  std::uint32_t width() const { return width_; }
  std::uint32_t height() const { return height_; }
  /// Bytes from one row to the next.
  std::int32_t stride() const { return stride_; }
  Gdiplus::PixelFormat format() const { return format_; }
  unsigned bits_per_pixel() const { return BitsPerPixel(format_); }
  bool is_indexed() const { return IsIndexed(format_); }
  /// Bytes of a row that hold pixels, padding excluded.
  std::size_t row_bytes() const { return (std::size_t{width_} * bits_per_pixel() + 7) / 8; }

  BYTE* Row(std::uint32_t y) { return scan0_ + std::ptrdiff_t{stride_} * y; }
  const BYTE* Row(std::uint32_t y) const { return scan0_ + std::ptrdiff_t{stride_} * y; }

  /// Takes over the image of another bitmap, size and format included; its own frames stay. The
  /// other bitmap must own its rows and is empty afterwards.
  void TakeImage(BitmapObject& other);

  Palette palette;
  /// Dots per inch.
  float dpi_x = 96.0F;
  float dpi_y = 96.0F;
  std::optional<BitmapLock> lock;
  std::unique_ptr<FrameSource> frames;  ///< null when there is one frame

 private:
  BitmapObject() = default;

  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  std::int32_t stride_ = 0;
  Gdiplus::PixelFormat format_ = PixelFormatUndefined;
  BYTE* scan0_ = nullptr;
  HeapBytes own_rows_;  ///< empty over a caller's rows
};

/// The highest index that a pixel of an indexed bitmap has.
unsigned HighestIndex(const BitmapObject& bitmap);

/// Extends the palette of an indexed bitmap to all its entries if some pixel is beyond it: callers
/// may rely on every index in the image being valid.
void CoverAllIndexes(BitmapObject& bitmap);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_BITMAP_OBJECT_H_
