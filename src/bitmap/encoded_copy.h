// The one cycle among the layers, confined to this declaration: a new indexed bitmap is decoded
// from an encoded copy of itself, and encoding belongs to the saving code above, which in turn
// converts images with the bitmap layer. Declared here, defined in io/save_image.cpp.
#ifndef PIXTOLA_BITMAP_ENCODED_COPY_H_
#define PIXTOLA_BITMAP_ENCODED_COPY_H_

#include "base/owners.h"
#include "platform.h"

namespace pixtola {

/// Encodes a bitmap into a new memory stream; null when that fails.
ComPointer<IStream> EncodeToMemory(Gdiplus::Bitmap& bitmap, PxtFileType type);

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_ENCODED_COPY_H_
