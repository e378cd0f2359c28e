// The flat API on frames. Every bitmap here has one frame, in whichever dimension it is asked for:
// the platform does not tell the dimensions of a bitmap in memory apart.

#include "pixtola/portable/gdiplus.h"

namespace Gdiplus::DllExports {

GpStatus GdipImageGetFrameCount(GpImage* image, const GUID* dimension, UINT* count) {
  if (image == nullptr || dimension == nullptr || count == nullptr) return InvalidParameter;
  *count = 1;
  return Ok;
}

GpStatus GdipImageSelectActiveFrame(GpImage* image, const GUID* dimension, UINT index) {
  if (image == nullptr || dimension == nullptr) return InvalidParameter;
  return index == 0 ? Ok : Win32Error;
}

}  // namespace Gdiplus::DllExports
