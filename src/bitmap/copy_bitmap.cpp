#include "bitmap/copy_bitmap.h"

#include <utility>

#include "bitmap/bitmap_access.h"
#include "bitmap/rows.h"
#include "bitmap/wrapped_bitmap.h"
#include "format/pixel_format.h"

namespace pixtola {

std::optional<BitmapPointer> CopyBitmap(Gdiplus::Bitmap& source) {
  const UINT height = source.GetHeight();
  const UINT width = source.GetWidth();
  const Gdiplus::PixelFormat format = source.GetPixelFormat();
  const ReadLock lock(source, width, height, format);
  if (!lock.is_locked()) return std::nullopt;
  // Kept on purpose: when out of memory for the palette, the copy is made without it.
  PalettePointer palette;
  if (IsIndexed(format)) palette = CopyPalette(source).value_or(nullptr);
  Resolution resolution;
  resolution.y = source.GetVerticalResolution();
  resolution.x = source.GetHorizontalResolution();
  return MakeWrappedBitmap(ViewOf(lock.data()), format, resolution, palette.get());
}

}  // namespace pixtola

int PxtCopyBitmap(Gdiplus::Bitmap* source, Gdiplus::Bitmap** copy) {
  if (source == nullptr || copy == nullptr) return 0;
  std::optional<pixtola::BitmapPointer> made = pixtola::CopyBitmap(*source);
  if (!made.has_value()) return 0;
  *copy = made->release();
  return *copy != nullptr ? 1 : 0;
}
