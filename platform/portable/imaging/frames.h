// The frames of a decoded image that has several.
#ifndef PIXTOLA_PORTABLE_FRAMES_H_
#define PIXTOLA_PORTABLE_FRAMES_H_

#include <memory>

#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

class BitmapObject;

/// Decodes any frame of an image from its encoded form.
class FrameSource {
 public:
  virtual ~FrameSource() = default;
  /// What the frames follow one another in: FrameDimensionTime or FrameDimensionPage.
  virtual const GUID& dimension() const = 0;
  /// At least 2.
  virtual UINT count() const = 0;
  /// `index` is below the count. On Ok `bitmap` holds the frame, otherwise it is null.
  virtual Gdiplus::Status Decode(UINT index, std::unique_ptr<BitmapObject>& bitmap) const = 0;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_FRAMES_H_
