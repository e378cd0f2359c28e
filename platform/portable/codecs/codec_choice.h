// Which codec takes an image.
#ifndef PIXTOLA_PORTABLE_CODEC_CHOICE_H_
#define PIXTOLA_PORTABLE_CODEC_CHOICE_H_

#include <memory>

#include "codecs/codec.h"

namespace pixtola::portable {

/// Decodes an image of whichever codec recognises its first bytes; one of several frames becomes
/// the first of them and keeps a copy of `bytes` for the others. OutOfMemory also for unknown data,
/// as the platform answers. On any status but Ok `bitmap` is null.
Gdiplus::Status DecodeImage(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap);

/// Null when there is no encoder of that identifier, and for bitmaps of 16-bit gray: their pixels
/// convert to nothing, so that no encoder can take them.
const Codec* FindEncoder(const CLSID& encoder, const BitmapObject& bitmap);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_CODEC_CHOICE_H_
