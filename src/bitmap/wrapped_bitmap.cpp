#include "bitmap/wrapped_bitmap.h"

#include "base/platform_object.h"

namespace pixtola {

CWrappedBitmap::CWrappedBitmap(const ImageView& pixels, Gdiplus::PixelFormat format,
                               Resolution resolution, const Gdiplus::ColorPalette* palette)
    : CBitmapGenerator(pixels, format, resolution, palette),
      // Not every platform has a constructor through which a derived class adopts a handle: the
      // base starts as the failed bitmap of size 0 and gets the handle afterwards.
      Gdiplus::Bitmap(0, 0, format) {
  platform::AdoptNativeImage(*this, Detach().release(), CBitmapGenerator::status);
}

BitmapPointer MakeWrappedBitmap(const ImageView& pixels, Gdiplus::PixelFormat format,
                                Resolution resolution, const Gdiplus::ColorPalette* palette) {
  BitmapPointer bitmap = MakePlatformObject<CWrappedBitmap>(pixels, format, resolution, palette);
  const bool is_made = bitmap != nullptr && bitmap->GetLastStatus() == Gdiplus::Ok;
  return is_made ? std::move(bitmap) : nullptr;
}

}  // namespace pixtola
