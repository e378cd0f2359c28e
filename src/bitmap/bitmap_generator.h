// Turns rows of pixels into a native bitmap that owns its memory. The caller's rows are only read.
#ifndef PIXTOLA_BITMAP_BITMAP_GENERATOR_H_
#define PIXTOLA_BITMAP_BITMAP_GENERATOR_H_

#include <cstdint>

#include "platform.h"

namespace pixtola {

class CBitmapGenerator {
 public:
  /// `data` points to the top row; `stride` is in bytes and, read as a negative 32-bit number,
  /// walks upwards in memory. The outcome is in `status`.
  CBitmapGenerator(const std::uint8_t* data, Gdiplus::PixelFormat format, std::uint32_t width,
                   std::uint32_t height, std::uint32_t stride, float dpi_x, float dpi_y,
                   const Gdiplus::ColorPalette* palette);
  CBitmapGenerator(const CBitmapGenerator&) = delete;
  CBitmapGenerator& operator=(const CBitmapGenerator&) = delete;
  virtual ~CBitmapGenerator();

  /// Hands the bitmap over; the generator then holds none.
  Gdiplus::GpBitmap* Detach();

  Gdiplus::Status status = Gdiplus::Ok;
  Gdiplus::GpBitmap* bitmap = nullptr;  ///< owned until detached; never there unless status is Ok
  IStream* stream = nullptr;  ///< what an encoded copy is decoded from; outlives the bitmap
};

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_BITMAP_GENERATOR_H_
