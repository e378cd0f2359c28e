// PxtCopyBitmap: a bitmap that owns its pixels, made from any other.

#include "bitmap/bitmap_access.h"
#include "bitmap/wrapped_bitmap.h"
#include "format/pixel_format.h"
#include "platform.h"

int PxtCopyBitmap(Gdiplus::Bitmap* source, Gdiplus::Bitmap** copy) {
  using namespace pixtola;
  if (source == nullptr || copy == nullptr) return 0;
  const UINT height = source->GetHeight();
  const UINT width = source->GetWidth();
  const Gdiplus::PixelFormat format = source->GetPixelFormat();
  const ReadLock lock(*source, width, height, format);
  if (!lock.is_locked()) return 0;

  // Kept on purpose: without memory for the palette the copy goes on without it.
  PalettePointer palette;
  if (IsIndexed(format)) palette = CopyPalette(*source).value_or(nullptr);
  const float dpi_y = source->GetVerticalResolution();
  const float dpi_x = source->GetHorizontalResolution();
  const Gdiplus::BitmapData& data = lock.data();
  *copy = MakeWrappedBitmap(lock.first_row(), format, data.Width, data.Height,
                            static_cast<std::uint32_t>(data.Stride), dpi_x, dpi_y, palette.get())
              .release();
  return *copy != nullptr ? 1 : 0;
}
