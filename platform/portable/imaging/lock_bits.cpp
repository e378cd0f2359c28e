// LockBits and UnlockBits: a rectangle of a bitmap's pixels for the caller to read or write, in the
// bitmap's own rows, in temporary ones, or in a buffer of the caller's.

#include <cstring>
#include <new>

#include "imaging/bitmap_object.h"
#include "imaging/convert_row.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

bool IsInside(const Gdiplus::Rect& rect, const BitmapObject& bitmap) {
  return rect.X >= 0 && rect.Y >= 0 && rect.Width > 0 && rect.Height > 0 &&
         std::int64_t{rect.X} + rect.Width <= std::int64_t{bitmap.width()} &&
         std::int64_t{rect.Y} + rect.Height <= std::int64_t{bitmap.height()};
}

/// Pixels between the bitmap and the locked rows, converted where the formats differ. Rows in a
/// format with a palette that is not the bitmap's own use the default palette of that format.
class LockedRows {
 public:
  /// False when there is no memory for a row of colours.
  bool Prepare(const BitmapObject& bitmap, const BitmapLock& lock) {
    converts_ = lock.format != bitmap.format();
    if (!converts_) return true;
    palette_ = DefaultPalette(lock.format);
    colors_.reset(new (std::nothrow) Gdiplus::ARGB[static_cast<std::size_t>(lock.rect.Width)]);
    return colors_ != nullptr;
  }

  void CopyOut(const BitmapObject& bitmap, const BitmapLock& lock) {
    const auto [x, width] = Span(lock);
    for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(lock.rect.Height); ++i) {
      const BYTE* row = bitmap.Row(static_cast<std::uint32_t>(lock.rect.Y) + i);
      BYTE* locked_row = lock.rows + lock.stride * i;
      if (converts_) {
        RowToArgb(row, x, width, bitmap.format(), bitmap.palette, colors_.get());
        ArgbToRow(colors_.get(), width, lock.format, palette_, locked_row, 0);
      } else {
        CopyPixels(row, x, locked_row, 0, width, bitmap.bits_per_pixel());
      }
    }
  }

  void CopyIn(BitmapObject& bitmap, const BitmapLock& lock) {
    const auto [x, width] = Span(lock);
    for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(lock.rect.Height); ++i) {
      BYTE* row = bitmap.Row(static_cast<std::uint32_t>(lock.rect.Y) + i);
      const BYTE* locked_row = lock.rows + lock.stride * i;
      if (converts_) {
        RowToArgb(locked_row, 0, width, lock.format, palette_, colors_.get());
        ArgbToRow(colors_.get(), width, bitmap.format(), bitmap.palette, row, x);
      } else {
        CopyPixels(locked_row, 0, row, x, width, bitmap.bits_per_pixel());
      }
    }
  }

 private:
  struct Columns {
    std::uint32_t x;
    std::uint32_t width;
  };
  static Columns Span(const BitmapLock& lock) {
    return {static_cast<std::uint32_t>(lock.rect.X), static_cast<std::uint32_t>(lock.rect.Width)};
  }

  bool converts_ = false;
  Palette palette_;
  std::unique_ptr<Gdiplus::ARGB[]> colors_;
};

/// Sets rows, stride and memory of a lock whose rectangle, flags and format are decided.
Status ChooseRows(BitmapObject& bitmap, const Gdiplus::BitmapData& data, BitmapLock& lock) {
  if ((lock.flags & Gdiplus::ImageLockModeUserInputBuf) != 0) {
    if (data.Scan0 == nullptr) return Gdiplus::InvalidParameter;
    lock.rows = static_cast<BYTE*>(data.Scan0);
    lock.stride = data.Stride;
    return Gdiplus::Ok;
  }
  const std::uint64_t first_bit = static_cast<std::uint64_t>(lock.rect.X) * bitmap.bits_per_pixel();
  if (lock.format == bitmap.format() && first_bit % 8 == 0) {
    lock.direct = true;
    lock.rows = bitmap.Row(static_cast<std::uint32_t>(lock.rect.Y)) + first_bit / 8;
    lock.stride = bitmap.stride();
    return Gdiplus::Ok;
  }
  const std::uint64_t stride =
      AlignedStride(static_cast<std::uint64_t>(lock.rect.Width), lock.format);
  if (stride > INT32_MAX) return Gdiplus::OutOfMemory;
  lock.temporary = AllocateZeroedBytes(stride * static_cast<std::uint64_t>(lock.rect.Height));
  if (lock.temporary == nullptr) return Gdiplus::OutOfMemory;
  lock.rows = lock.temporary.get();
  lock.stride = static_cast<std::ptrdiff_t>(stride);
  return Gdiplus::Ok;
}

Status Lock(BitmapObject& bitmap, const Gdiplus::Rect* rect, UINT flags,
            Gdiplus::PixelFormat format, Gdiplus::BitmapData& data) {
  if (bitmap.lock.has_value()) return Gdiplus::WrongState;
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(bitmap.width()),
                            static_cast<INT>(bitmap.height()));
  BitmapLock lock;
  lock.rect = rect != nullptr ? *rect : whole;
  lock.flags = flags;
  lock.format = format;
  const UINT access = Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeWrite;
  if ((flags & access) == 0 || !IsInside(lock.rect, bitmap) || !IsBitmapFormat(format)) {
    return Gdiplus::InvalidParameter;
  }
  if (const Status status = ChooseRows(bitmap, data, lock); status != Gdiplus::Ok) return status;
  if (!lock.direct && (flags & Gdiplus::ImageLockModeRead) != 0) {
    LockedRows rows;
    if (!rows.Prepare(bitmap, lock)) return Gdiplus::OutOfMemory;
    rows.CopyOut(bitmap, lock);
  }
  data.Width = static_cast<UINT>(lock.rect.Width);
  data.Height = static_cast<UINT>(lock.rect.Height);
  data.Stride = static_cast<INT>(lock.stride);
  data.PixelFormat = format;
  data.Scan0 = lock.rows;
  bitmap.lock = std::move(lock);
  return Gdiplus::Ok;
}

Status Unlock(BitmapObject& bitmap) {
  if (!bitmap.lock.has_value()) return Gdiplus::Win32Error;
  const BitmapLock lock = std::move(*bitmap.lock);
  bitmap.lock.reset();
  if (lock.direct || (lock.flags & Gdiplus::ImageLockModeWrite) == 0) return Gdiplus::Ok;
  LockedRows rows;
  if (!rows.Prepare(bitmap, lock)) return Gdiplus::OutOfMemory;
  rows.CopyIn(bitmap, lock);
  return Gdiplus::Ok;
}

}  // namespace

}  // namespace pixtola::portable

namespace Gdiplus::DllExports {

using pixtola::portable::BitmapObject;

GpStatus GdipBitmapLockBits(GpBitmap* bitmap, const GpRect* rect, UINT flags, PixelFormat format,
                            BitmapData* data) {
  if (bitmap == nullptr || data == nullptr) return InvalidParameter;
  return pixtola::portable::Lock(BitmapObject::From(*bitmap), rect, flags, format, *data);
}

GpStatus GdipBitmapUnlockBits(GpBitmap* bitmap, BitmapData* data) {
  if (bitmap == nullptr || data == nullptr) return InvalidParameter;
  return pixtola::portable::Unlock(BitmapObject::From(*bitmap));
}

}  // namespace Gdiplus::DllExports
