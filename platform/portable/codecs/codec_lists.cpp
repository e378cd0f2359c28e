// The flat API on the lists of codecs. All codecs read and write: the lists of encoders and of
// decoders are the same.

#include "codecs/codec.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

UINT CountCodecs() { return static_cast<UINT>(Codecs().size()); }

Status GetCodecsSize(UINT* count, UINT* size) {
  if (count == nullptr || size == nullptr) return Gdiplus::InvalidParameter;
  *count = CountCodecs();
  *size = *count * static_cast<UINT>(sizeof(Gdiplus::ImageCodecInfo));
  return Gdiplus::Ok;
}

Status GetCodecs(UINT count, UINT size, Gdiplus::ImageCodecInfo* infos) {
  if (infos == nullptr || count != CountCodecs() ||
      size != count * sizeof(Gdiplus::ImageCodecInfo)) {
    return Gdiplus::GenericError;
  }
  for (const Codec& codec : Codecs()) *infos++ = codec.info;
  return Gdiplus::Ok;
}

}  // namespace

}  // namespace pixtola::portable

namespace Gdiplus::DllExports {

GpStatus GdipGetImageDecodersSize(UINT* count, UINT* size) {
  return pixtola::portable::GetCodecsSize(count, size);
}

GpStatus GdipGetImageDecoders(UINT count, UINT size, ImageCodecInfo* decoders) {
  return pixtola::portable::GetCodecs(count, size, decoders);
}

GpStatus GdipGetImageEncodersSize(UINT* count, UINT* size) {
  return pixtola::portable::GetCodecsSize(count, size);
}

GpStatus GdipGetImageEncoders(UINT count, UINT size, ImageCodecInfo* encoders) {
  return pixtola::portable::GetCodecs(count, size, encoders);
}

}  // namespace Gdiplus::DllExports
