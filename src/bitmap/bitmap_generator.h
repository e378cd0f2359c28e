// Makes a native bitmap that owns its memory from rows of pixels. The caller's rows are only read.
#ifndef PIXTOLA_BITMAP_BITMAP_GENERATOR_H_
#define PIXTOLA_BITMAP_BITMAP_GENERATOR_H_

#include "base/owners.h"
#include "format/image_view.h"
#include "format/resolution.h"
#include "platform.h"

namespace pixtola {

class CBitmapGenerator {
 public:
  /// Pixels of `format`, whose rows may run upwards in memory. The outcome is in `status`.
  CBitmapGenerator(const ImageView& pixels, Gdiplus::PixelFormat format, Resolution resolution,
                   const Gdiplus::ColorPalette* palette);
  CBitmapGenerator(const CBitmapGenerator&) = delete;
  CBitmapGenerator& operator=(const CBitmapGenerator&) = delete;
  virtual ~CBitmapGenerator() = default;

  /// Hands the bitmap over to the caller; the generator then holds none.
  NativeBitmap Detach();

  Gdiplus::Status status = Gdiplus::Ok;
  ComPointer<IStream> stream;  ///< what an encoded copy is decoded from; outlives the bitmap
  NativeBitmap bitmap;         ///< until it is detached; null unless status is Ok
};

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_BITMAP_GENERATOR_H_
