#include "bitmap/wrapped_bitmap.h"

#include "base/platform_object.h"

namespace pixtola {

CWrappedBitmap::CWrappedBitmap(const std::uint8_t* data, Gdiplus::PixelFormat format,
                               std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                               float dpi_x, float dpi_y, const Gdiplus::ColorPalette* palette)
    : CBitmapGenerator(data, format, width, height, stride, dpi_x, dpi_y, palette),
      // Not every platform has a constructor through which a derived class adopts a handle: the
      // base starts as the failed bitmap of size 0 and gets the handle afterwards.
      Gdiplus::Bitmap(0, 0, format) {
  platform::AdoptNativeImage(*this, Detach(), CBitmapGenerator::status);
}

BitmapPointer MakeWrappedBitmap(const std::uint8_t* data, Gdiplus::PixelFormat format,
                                std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                                float dpi_x, float dpi_y, const Gdiplus::ColorPalette* palette) {
  BitmapPointer bitmap = MakePlatformObject<CWrappedBitmap>(data, format, width, height, stride,
                                                            dpi_x, dpi_y, palette);
  const bool is_made = bitmap != nullptr && bitmap->GetLastStatus() == Gdiplus::Ok;
  return is_made ? std::move(bitmap) : nullptr;
}

}  // namespace pixtola
