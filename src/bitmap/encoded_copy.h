// The one place where the layers turn back on themselves, kept to this declaration: a new indexed
// bitmap is decoded from an encoded copy of itself, and encoding belongs to the save core above,
// which in turn converts images with the bitmap layer. Declared here, defined in io/save_image.cpp.
#ifndef PIXTOLA_BITMAP_ENCODED_COPY_H_
#define PIXTOLA_BITMAP_ENCODED_COPY_H_

#include "platform.h"

namespace pixtola {

struct EncodedCopy {
  IStream* stream = nullptr;             ///< one reference; must outlive `bitmap`
  Gdiplus::GpBitmap* bitmap = nullptr;   ///< decoded from `stream`; null unless `status` is Ok
  Gdiplus::Status status = Gdiplus::Ok;  ///< of the decoding
};

/// Encodes `bitmap` as BMP into a memory stream and decodes a bitmap from that. False when it could
/// not be encoded; `copy` is then untouched.
bool MakeEncodedCopy(Gdiplus::Bitmap& bitmap, EncodedCopy& copy);

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_ENCODED_COPY_H_
