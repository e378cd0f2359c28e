// The flat API on bitmap objects: creation, disposal, properties, palettes, resolution.

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "imaging/bitmap_object.h"
#include "imaging/indexed_rows.h"

namespace Gdiplus::DllExports {

using pixtola::portable::BitmapObject;
using pixtola::portable::IsBitmapFormat;
using pixtola::portable::Palette;

namespace {

/// A palette's bytes: the structure declares one entry, so it is never smaller than with one.
INT PaletteBytes(const Palette& palette) {
  constexpr std::size_t kHeader = offsetof(ColorPalette, Entries);
  return static_cast<INT>(std::max(sizeof(ColorPalette), kHeader + palette.count * sizeof(ARGB)));
}

}  // namespace

GpStatus GdipCreateBitmapFromScan0(INT width, INT height, INT stride, PixelFormat format,
                                   BYTE* scan0, GpBitmap** bitmap) {
  if (bitmap == nullptr) return InvalidParameter;
  *bitmap = nullptr;
  if (width <= 0 || height <= 0 || !IsBitmapFormat(format)) return InvalidParameter;
  if (scan0 != nullptr && (stride == 0 || stride % 4 != 0)) return InvalidParameter;
  const auto unsigned_width = static_cast<std::uint32_t>(width);
  const auto unsigned_height = static_cast<std::uint32_t>(height);
  auto made = scan0 != nullptr
                  ? BitmapObject::CreateOver(unsigned_width, unsigned_height, stride, format, scan0)
                  : BitmapObject::Create(unsigned_width, unsigned_height, format);
  *bitmap = made.release();
  return *bitmap != nullptr ? Ok : OutOfMemory;
}

GpStatus GdipCloneImage(GpImage* image, GpImage** clone) {
  if (clone == nullptr) return InvalidParameter;
  *clone = nullptr;
  if (image == nullptr) return InvalidParameter;
  const BitmapObject& source = BitmapObject::From(*image);
  auto copy = BitmapObject::Create(source.width(), source.height(), source.format());
  if (copy == nullptr) return OutOfMemory;
  for (std::uint32_t y = 0; y < source.height(); ++y) {
    pixtola::portable::CopyPixels(source.Row(y), 0, copy->Row(y), 0, source.width(),
                                  source.bits_per_pixel());
  }
  copy->palette = source.palette;
  copy->dpi_x = source.dpi_x;
  copy->dpi_y = source.dpi_y;
  *clone = copy.release();
  return Ok;
}

GpStatus GdipDisposeImage(GpImage* image) {
  if (image == nullptr) return InvalidParameter;
  delete &BitmapObject::From(*image);
  return Ok;
}

GpStatus GdipGetImageWidth(GpImage* image, UINT* width) {
  if (image == nullptr || width == nullptr) return InvalidParameter;
  *width = BitmapObject::From(*image).width();
  return Ok;
}

GpStatus GdipGetImageHeight(GpImage* image, UINT* height) {
  if (image == nullptr || height == nullptr) return InvalidParameter;
  *height = BitmapObject::From(*image).height();
  return Ok;
}

GpStatus GdipGetImagePixelFormat(GpImage* image, PixelFormat* format) {
  if (image == nullptr || format == nullptr) return InvalidParameter;
  *format = BitmapObject::From(*image).format();
  return Ok;
}

GpStatus GdipGetImageHorizontalResolution(GpImage* image, REAL* dpi) {
  if (image == nullptr || dpi == nullptr) return InvalidParameter;
  *dpi = BitmapObject::From(*image).dpi_x;
  return Ok;
}

GpStatus GdipGetImageVerticalResolution(GpImage* image, REAL* dpi) {
  if (image == nullptr || dpi == nullptr) return InvalidParameter;
  *dpi = BitmapObject::From(*image).dpi_y;
  return Ok;
}

GpStatus GdipBitmapSetResolution(GpBitmap* bitmap, REAL dpi_x, REAL dpi_y) {
  // Written so that NaN is refused, too; refusing infinity as well is our choice.
  const bool is_valid = dpi_x > 0 && dpi_y > 0 && std::isfinite(dpi_x) && std::isfinite(dpi_y);
  if (bitmap == nullptr || !is_valid) return InvalidParameter;
  BitmapObject::From(*bitmap).dpi_x = dpi_x;
  BitmapObject::From(*bitmap).dpi_y = dpi_y;
  return Ok;
}

GpStatus GdipGetImagePaletteSize(GpImage* image, INT* size) {
  if (image == nullptr || size == nullptr) return InvalidParameter;
  *size = PaletteBytes(BitmapObject::From(*image).palette);
  return Ok;
}

GpStatus GdipGetImagePalette(GpImage* image, ColorPalette* palette, INT size) {
  if (image == nullptr || palette == nullptr) return InvalidParameter;
  const Palette& own = BitmapObject::From(*image).palette;
  if (size < PaletteBytes(own)) return InvalidParameter;
  palette->Flags = own.flags;
  palette->Count = own.count;
  ARGB* entries = palette->Entries;
  std::copy_n(own.entries.begin(), own.count, entries);
  return Ok;
}

GpStatus GdipSetImagePalette(GpImage* image, const ColorPalette* palette) {
  if (image == nullptr || palette == nullptr || palette->Count == 0 || palette->Count > 256) {
    return InvalidParameter;
  }
  Palette& own = BitmapObject::From(*image).palette;
  own.flags = palette->Flags;
  own.count = palette->Count;
  const ARGB* entries = palette->Entries;
  std::copy_n(entries, own.count, own.entries.begin());
  return Ok;
}

}  // namespace Gdiplus::DllExports
