// The flat API on frames. A bitmap has one frame in whichever dimension it is asked for, unless it
// was decoded from an image with several: these lie in one dimension, and there are none in others.

#include "imaging/frames.h"

#include "imaging/bitmap_object.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

/// 0 in a dimension that the image does not have.
UINT CountFrames(const BitmapObject& bitmap, const GUID& dimension) {
  if (bitmap.frames == nullptr) return 1;
  return bitmap.frames->dimension() == dimension ? bitmap.frames->count() : 0;
}

Status SelectFrame(BitmapObject& bitmap, const GUID& dimension, UINT index) {
  if (bitmap.lock.has_value()) return Gdiplus::WrongState;
  if (index >= CountFrames(bitmap, dimension)) return Gdiplus::Win32Error;
  if (bitmap.frames == nullptr) return Gdiplus::Ok;
  std::unique_ptr<BitmapObject> frame;
  const Status status = bitmap.frames->Decode(index, frame);
  if (status == Gdiplus::Ok) bitmap.TakeImage(*frame);
  return status;
}

}  // namespace

}  // namespace pixtola::portable

namespace Gdiplus::DllExports {

using pixtola::portable::BitmapObject;

GpStatus GdipImageGetFrameCount(GpImage* image, const GUID* dimension, UINT* count) {
  if (image == nullptr || dimension == nullptr || count == nullptr) return InvalidParameter;
  *count = pixtola::portable::CountFrames(BitmapObject::From(*image), *dimension);
  return *count > 0 ? Ok : Win32Error;
}

GpStatus GdipImageSelectActiveFrame(GpImage* image, const GUID* dimension, UINT index) {
  if (image == nullptr || dimension == nullptr) return InvalidParameter;
  return pixtola::portable::SelectFrame(BitmapObject::From(*image), *dimension, index);
}

}  // namespace Gdiplus::DllExports
