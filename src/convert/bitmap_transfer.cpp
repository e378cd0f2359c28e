// Between bitmaps and bytes: conversions of a bitmap's pixels, bitmaps from pixels in memory, and a
// bitmap's pixels copied into memory.
#include "convert/bitmap_transfer.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "base/memory.h"
#include "bitmap/bitmap_access.h"
#include "bitmap/rows.h"
#include "bitmap/wrapped_bitmap.h"
#include "convert/pixels/conversion_arguments.h"
#include "format/pixel_format.h"
#include "format/rectangle.h"
#include "format/stride.h"
#include "platform.h"

namespace pixtola {

namespace {

/// The format in which a bitmap is read for conversion: its own where conversions take it.
Gdiplus::PixelFormat ConvertibleFormat(Gdiplus::PixelFormat format) {
  return IsConvertibleDepth(BitsPerPixel(format)) ? format : PixelFormat24bppRGB;
}

/// A bitmap's size as a rectangle that covers it.
RECT WholeBitmap(Gdiplus::Bitmap& bitmap) {
  const UINT width = bitmap.GetWidth();
  const UINT height = bitmap.GetHeight();
  return {0, 0, static_cast<LONG>(width), static_cast<LONG>(height)};
}

}  // namespace

std::optional<BitmapPointer> ConvertBitmapRect(PxtConversionMethod method, Gdiplus::Bitmap& bitmap,
                                               RECT& rect) {
  uint32_t size = 0;
  uint32_t stride = 0;
  if (PxtBitmapRectToBytes(method, bitmap, &rect, nullptr, &size, &stride) == 0 || size == 0) {
    return std::nullopt;
  }
  const auto bytes = Allocate<std::uint8_t>(size);
  if (bytes == nullptr ||
      PxtBitmapRectToBytes(method, bitmap, &rect, bytes.get(), &size, &stride) == 0) {
    return std::nullopt;
  }
  Resolution resolution;
  resolution.y = bitmap.GetVerticalResolution();
  resolution.x = bitmap.GetHorizontalResolution();
  const Gdiplus::PixelFormat format =
      method == MethodGray8 ? PixelFormat8bppIndexed : PixelFormat1bppIndexed;
  return MakeWrappedBitmap(
      {bytes.get(), Extent(rect.left, rect.right), Extent(rect.top, rect.bottom),
       SignedStride(stride), BitsPerPixel(format)},
      format, resolution, nullptr);
}

BitmapPointer ConvertBitmap(PxtConversionMethod method, Gdiplus::Bitmap& bitmap) {
  RECT whole = WholeBitmap(bitmap);
  return ConvertBitmapRect(method, bitmap, whole).value_or(nullptr);
}

}  // namespace pixtola

int PxtBitmapRectToBytes(PxtConversionMethod method, Gdiplus::Bitmap& bitmap, RECT* rect,
                         uint8_t* destination, uint32_t* destination_size,
                         uint32_t* destination_stride) {
  using namespace pixtola;
  if (rect == nullptr || destination_size == nullptr || destination_stride == nullptr) return 0;
  const Gdiplus::PixelFormat own_format = bitmap.GetPixelFormat();
  const Gdiplus::PixelFormat format = ConvertibleFormat(own_format);
  // Kept on purpose: when out of memory for the palette, it is treated like an empty one.
  PalettePointer palette;
  if (IsIndexed(own_format)) palette = CopyPalette(bitmap).value_or(nullptr);
  if (palette != nullptr && palette->Count == 0) palette = nullptr;
  const std::uint32_t bits = BitsPerPixel(format);
  const UINT width = bitmap.GetWidth();
  const UINT height = bitmap.GetHeight();
  if (destination == nullptr) {
    const std::uint8_t never_read = 0;
    return PxtBytesRectToBytes(method, &never_read, rect, bits, width, height,
                               CalcStrideFromBits(bits, width), nullptr, destination_size,
                               destination_stride, nullptr);
  }

  const ReadLock lock(bitmap, width, height, format);
  if (!lock.is_locked()) return 0;
  const Rows rows = TopDownRows(ViewOf(lock.data()));
  return PxtBytesRectToBytes(method, rows.image.first_row, rect, bits, rows.image.width,
                             rows.image.height, static_cast<std::uint32_t>(rows.image.stride),
                             destination, destination_size, destination_stride, palette.get());
}

int PxtBitmapToBytes(PxtConversionMethod method, Gdiplus::Bitmap& bitmap, uint8_t* destination,
                     uint32_t* destination_size, uint32_t* destination_stride) {
  RECT whole = pixtola::WholeBitmap(bitmap);
  return PxtBitmapRectToBytes(method, bitmap, &whole, destination, destination_size,
                              destination_stride);
}

int PxtBitmapRectToBitmap(PxtConversionMethod method, Gdiplus::Bitmap& bitmap, RECT* rect,
                          Gdiplus::Bitmap** result) {
  if (rect == nullptr || result == nullptr) return 0;
  std::optional<pixtola::BitmapPointer> made = pixtola::ConvertBitmapRect(method, bitmap, *rect);
  if (!made.has_value()) return 0;
  *result = made->release();
  return *result != nullptr ? 1 : 0;
}

int PxtBitmapToBitmap(PxtConversionMethod method, Gdiplus::Bitmap& bitmap,
                      Gdiplus::Bitmap** result) {
  RECT whole = pixtola::WholeBitmap(bitmap);
  return PxtBitmapRectToBitmap(method, bitmap, &whole, result);
}

int PxtInsertBytes(const uint8_t* bytes, Gdiplus::PixelFormat format, uint32_t width,
                   uint32_t height, uint32_t stride, float horizontal_dpi, float vertical_dpi,
                   Gdiplus::Bitmap** result, const Gdiplus::ColorPalette* palette) {
  using namespace pixtola;
  if (bytes == nullptr || result == nullptr) return 0;
  BitmapPointer bitmap =
      MakeWrappedBitmap({bytes, width, height, SignedStride(stride), BitsPerPixel(format)}, format,
                        {horizontal_dpi, vertical_dpi}, palette);
  if (bitmap == nullptr) return 0;
  *result = bitmap.release();
  return 1;
}

int PxtInsertBytesRect(const uint8_t* bytes, Gdiplus::PixelFormat format, uint32_t width,
                       uint32_t height, uint32_t stride, const RECT* rect, float horizontal_dpi,
                       float vertical_dpi, Gdiplus::Bitmap** result) {
  using namespace pixtola;
  if (bytes == nullptr || rect == nullptr || result == nullptr) return 0;
  *result = nullptr;
  RECT clipped = *rect;
  if (!ClipInclusive(clipped.left, clipped.right, width) ||
      !ClipInclusive(clipped.top, clipped.bottom, height)) {
    return 0;
  }
  const Resolution resolution{horizontal_dpi, vertical_dpi};
  BitmapPointer whole =
      MakeWrappedBitmap({bytes, width, height, SignedStride(stride), BitsPerPixel(format)}, format,
                        resolution, nullptr);
  if (whole == nullptr) return 0;
  const Gdiplus::Rect part(clipped.left, clipped.top, clipped.right - clipped.left + 1,
                           clipped.bottom - clipped.top + 1);
  if (static_cast<uint32_t>(part.Width) == width && static_cast<uint32_t>(part.Height) == height) {
    *result = whole.release();
    return 1;
  }
  Gdiplus::BitmapData data{};
  if (whole->LockBits(&part, Gdiplus::ImageLockModeRead, format, &data) != Gdiplus::Ok) return 0;
  *result = MakeWrappedBitmap(ViewOf(data), format, resolution, nullptr).release();
  // The temporary bitmap is deleted while it is locked; the new one has its own pixels.
  return *result != nullptr ? 1 : 0;
}

int PxtExtractBytes(Gdiplus::Bitmap& bitmap, uint8_t* destination, uint32_t* size, uint32_t* width,
                    uint32_t* height, uint32_t* stride, Gdiplus::PixelFormat* format) {
  if (size == nullptr || width == nullptr || height == nullptr || stride == nullptr ||
      format == nullptr) {
    return 0;
  }
  *width = bitmap.GetWidth();
  *height = bitmap.GetHeight();
  *format = bitmap.GetPixelFormat();
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(*width), static_cast<INT>(*height));
  Gdiplus::BitmapData data{};
  if (bitmap.LockBits(&whole, Gdiplus::ImageLockModeRead, *format, &data) != Gdiplus::Ok) return 0;
  bitmap.UnlockBits(&data);
  *stride = static_cast<uint32_t>(std::abs(std::int64_t{data.Stride}));
  *size = data.Height * *stride;
  if (destination == nullptr) return 1;
  // The reported size is all that the caller has room for; an image may truly need more when it
  // exceeds 32 bits, or when its rows are longer than its stride.
  const std::uint64_t true_size = std::uint64_t{data.Height - 1} * *stride +
                                  pixtola::PackedRowBytes(pixtola::BitsPerPixel(*format), *width);
  if (true_size > *size || *stride > INT32_MAX) return 0;

  data.Scan0 = destination;
  data.Stride = static_cast<INT>(*stride);
  const UINT mode = Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeUserInputBuf;
  if (bitmap.LockBits(&whole, mode, *format, &data) != Gdiplus::Ok) return 0;
  bitmap.UnlockBits(&data);
  return 1;
}
