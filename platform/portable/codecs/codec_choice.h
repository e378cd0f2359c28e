// Which codec takes an image.
#ifndef PIXTOLA_PORTABLE_CODEC_CHOICE_H_
#define PIXTOLA_PORTABLE_CODEC_CHOICE_H_

#include <memory>

#include "codecs/codec.h"

namespace pixtola::portable {

/// Decodes an image with the codec that recognises its first bytes. If it has several frames, the
/// bitmap shows the first and keeps a copy of `bytes` for the others. Unknown data gives
/// OutOfMemory, as the real API answers. On any status but Ok `bitmap` is null.
Gdiplus::Status DecodeImage(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap);

/// Null when there is no encoder with that identifier, and for bitmaps of 16-bit gray: their pixels
/// convert to nothing, so that no encoder can take them.
const Codec* FindEncoder(const CLSID& encoder, const BitmapObject& bitmap);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_CODEC_CHOICE_H_
