// Conversions of a bitmap's pixels into another bitmap.
#ifndef PIXTOLA_CONVERT_BITMAP_TRANSFER_H_
#define PIXTOLA_CONVERT_BITMAP_TRANSFER_H_

#include <optional>

#include "base/owners.h"
#include "platform.h"

namespace pixtola {

/// A rectangle of a bitmap, clipped in place as PxtBytesRectToBytes does, as an 8-bit gray or 1-bit
/// bitmap with the same resolution. Nothing when the conversion fails, null when the new bitmap
/// cannot be made.
std::optional<BitmapPointer> ConvertBitmapRect(PxtConversionMethod method, Gdiplus::Bitmap& bitmap,
                                               RECT& rect);

/// The whole bitmap; null when that fails.
BitmapPointer ConvertBitmap(PxtConversionMethod method, Gdiplus::Bitmap& bitmap);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_BITMAP_TRANSFER_H_
