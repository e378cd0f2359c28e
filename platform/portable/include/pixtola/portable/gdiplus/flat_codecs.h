// The flat API: lists of codecs.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_FLAT_CODECS_H_
#define PIXTOLA_PORTABLE_GDIPLUS_FLAT_CODECS_H_

#include "pixtola/portable/gdiplus/codec_types.h"
#include "pixtola/portable/gdiplus/status.h"
#include "pixtola/portable/windows_types.h"

namespace Gdiplus {
namespace DllExports {
extern "C" {

PIXTOLA_PLATFORM_API GpStatus GdipGetImageDecodersSize(UINT* count, UINT* size);
PIXTOLA_PLATFORM_API GpStatus GdipGetImageDecoders(UINT count, UINT size, ImageCodecInfo* decoders);
PIXTOLA_PLATFORM_API GpStatus GdipGetImageEncodersSize(UINT* count, UINT* size);
PIXTOLA_PLATFORM_API GpStatus GdipGetImageEncoders(UINT count, UINT size, ImageCodecInfo* encoders);

}  // extern "C"
}  // namespace DllExports

inline Status GetImageDecodersSize(UINT* count, UINT* size) {
  return DllExports::GdipGetImageDecodersSize(count, size);
}
inline Status GetImageDecoders(UINT count, UINT size, ImageCodecInfo* decoders) {
  return DllExports::GdipGetImageDecoders(count, size, decoders);
}

inline Status GetImageEncodersSize(UINT* count, UINT* size) {
  return DllExports::GdipGetImageEncodersSize(count, size);
}
inline Status GetImageEncoders(UINT count, UINT size, ImageCodecInfo* encoders) {
  return DllExports::GdipGetImageEncoders(count, size, encoders);
}

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_FLAT_CODECS_H_
