// Bitmaps copied from GDI's device-independent ones.

#include "imaging/argb.h"
#include "imaging/bitmap_object.h"
#include "imaging/indexed_rows.h"
#include "system/dib_section.h"

namespace pixtola::portable {

namespace {

Gdiplus::PixelFormat FormatOf(const DibSection& section) {
  switch (section.layout) {
    case DibLayout::k555:
      return PixelFormat16bppRGB555;
    case DibLayout::k565:
      return PixelFormat16bppRGB565;
    case DibLayout::kBgr:
      return PixelFormat24bppRGB;
    case DibLayout::kBgrx:
      return PixelFormat32bppRGB;
    case DibLayout::kIndexed:
      break;
  }
  switch (section.bits_per_pixel) {
    case 1:
      return PixelFormat1bppIndexed;
    case 4:
      return PixelFormat4bppIndexed;
    default:
      return PixelFormat8bppIndexed;
  }
}

Palette PaletteOf(const DibSection& section) {
  Palette palette;
  palette.count = section.color_count;
  for (unsigned i = 0; i < palette.count; ++i) {
    const RGBQUAD& color = section.colors[i];
    palette.entries[i] = MakeArgb(255, color.rgbRed, color.rgbGreen, color.rgbBlue);
  }
  return palette;
}

/// Null when out of memory.
std::unique_ptr<BitmapObject> CopyOf(const DibSection& section) {
  auto bitmap = BitmapObject::Create(section.width, section.height, FormatOf(section));
  if (bitmap == nullptr) return nullptr;
  for (std::uint32_t y = 0; y < section.height; ++y) {
    const std::uint32_t stored_y = section.is_top_down ? y : section.height - 1 - y;
    CopyPixels(section.rows.get() + std::size_t{section.stride} * stored_y, 0, bitmap->Row(y), 0,
               section.width, section.bits_per_pixel);
  }
  if (bitmap->is_indexed()) bitmap->palette = PaletteOf(section);
  return bitmap;
}

}  // namespace

}  // namespace pixtola::portable

namespace Gdiplus::DllExports {

GpStatus GdipCreateBitmapFromHBITMAP(HBITMAP handle, HPALETTE /*palette*/, GpBitmap** bitmap) {
  if (bitmap == nullptr) return InvalidParameter;
  *bitmap = nullptr;
  const pixtola::portable::DibSection* section = pixtola::portable::FindDibSection(handle);
  if (section == nullptr) return InvalidParameter;
  *bitmap = pixtola::portable::CopyOf(*section).release();
  return *bitmap != nullptr ? Ok : OutOfMemory;
}

}  // namespace Gdiplus::DllExports
