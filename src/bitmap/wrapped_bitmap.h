// A Gdiplus::Bitmap that owns what a generator made: the class of every bitmap that the library
// hands out.
#ifndef PIXTOLA_BITMAP_WRAPPED_BITMAP_H_
#define PIXTOLA_BITMAP_WRAPPED_BITMAP_H_

#include "base/owners.h"
#include "bitmap/bitmap_generator.h"
#include "format/image_view.h"
#include "format/resolution.h"
#include "platform.h"

namespace pixtola {

/// The order of the bases matters: the image is disposed of before the stream that backs it.
class CWrappedBitmap : CBitmapGenerator, public Gdiplus::Bitmap {
 public:
  /// Arguments as for CBitmapGenerator, whose status becomes the object's last status.
  CWrappedBitmap(const ImageView& pixels, Gdiplus::PixelFormat format, Resolution resolution,
                 const Gdiplus::ColorPalette* palette);
};

/// Makes a bitmap from rows of pixels; null when it could not be made.
BitmapPointer MakeWrappedBitmap(const ImageView& pixels, Gdiplus::PixelFormat format,
                                Resolution resolution, const Gdiplus::ColorPalette* palette);

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_WRAPPED_BITMAP_H_
