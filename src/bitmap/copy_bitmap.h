// A bitmap that owns its pixels, made from any other.
#ifndef PIXTOLA_BITMAP_COPY_BITMAP_H_
#define PIXTOLA_BITMAP_COPY_BITMAP_H_

#include <optional>

#include "base/owners.h"
#include "platform.h"

namespace pixtola {

/// Format, palette and resolution are kept. Nothing when the source cannot be read, null when the
/// copy cannot be made.
std::optional<BitmapPointer> CopyBitmap(Gdiplus::Bitmap& source);

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_COPY_BITMAP_H_
