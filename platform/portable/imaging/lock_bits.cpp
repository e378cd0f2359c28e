// LockBits and UnlockBits: a rectangle of a bitmap's pixels for the caller to read or write, in the
// bitmap's own rows, in temporary ones, or in a buffer of the caller's.

#include "imaging/bitmap_object.h"
#include "imaging/row_conversion.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

bool IsInside(const Gdiplus::Rect& rect, const BitmapObject& bitmap) {
  return rect.X >= 0 && rect.Y >= 0 && rect.Width > 0 && rect.Height > 0 &&
         std::int64_t{rect.X} + rect.Width <= std::int64_t{bitmap.width()} &&
         std::int64_t{rect.Y} + rect.Height <= std::int64_t{bitmap.height()};
}

/// Fills the locked rows with the bitmap's pixels. Rows in an indexed format that is not the
/// bitmap's own are in that format's default palette.
void CopyOut(const BitmapObject& bitmap, const BitmapLock& lock) {
  const Palette palette = DefaultPalette(lock.format);
  RowConversion conversion(bitmap.format(), bitmap.palette, lock.format, palette);
  for (std::uint32_t i = 0; i < lock.height(); ++i) {
    conversion.Convert({bitmap.Row(lock.y() + i), lock.x()}, {lock.Row(i), 0}, lock.width());
  }
}

/// The reverse.
void CopyIn(BitmapObject& bitmap, const BitmapLock& lock) {
  const Palette palette = DefaultPalette(lock.format);
  RowConversion conversion(lock.format, palette, bitmap.format(), bitmap.palette);
  for (std::uint32_t i = 0; i < lock.height(); ++i) {
    conversion.Convert({lock.Row(i), 0}, {bitmap.Row(lock.y() + i), lock.x()}, lock.width());
  }
}

/// Sets rows, stride and memory of a lock whose rectangle, flags and format are decided.
Status ChooseRows(BitmapObject& bitmap, const Gdiplus::BitmapData& data, BitmapLock& lock) {
  if ((lock.flags & Gdiplus::ImageLockModeUserInputBuf) != 0) {
    if (data.Scan0 == nullptr) return Gdiplus::InvalidParameter;
    lock.rows = static_cast<BYTE*>(data.Scan0);
    lock.stride = data.Stride;
    return Gdiplus::Ok;
  }
  const std::uint64_t first_bit = std::uint64_t{lock.x()} * bitmap.bits_per_pixel();
  if (lock.format == bitmap.format() && first_bit % 8 == 0) {
    lock.direct = true;
    lock.rows = bitmap.Row(lock.y()) + first_bit / 8;
    lock.stride = bitmap.stride();
    return Gdiplus::Ok;
  }
  // Temporary rows, also of the bitmap's own format when the rectangle starts inside a byte.
  const std::uint64_t stride = AlignedStride(lock.width(), lock.format);
  if (stride > INT32_MAX) return Gdiplus::OutOfMemory;
  lock.temporary = AllocateZeroedBytes(stride * lock.height());
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
  if ((flags & access) == 0 || !IsInside(lock.rect, bitmap) ||
      !RowConversion::IsPossible(bitmap.format(), format)) {
    return Gdiplus::InvalidParameter;
  }
  if (const Status status = ChooseRows(bitmap, data, lock); status != Gdiplus::Ok) return status;
  if (!lock.direct && (flags & Gdiplus::ImageLockModeRead) != 0) CopyOut(bitmap, lock);
  data.Width = lock.width();
  data.Height = lock.height();
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
  if (!lock.direct && (lock.flags & Gdiplus::ImageLockModeWrite) != 0) CopyIn(bitmap, lock);
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
