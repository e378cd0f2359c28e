// Access to the handle and the last status inside Gdiplus::Image, which the wrapper classes keep
// protected: a bitmap class of the library takes over handles that it made itself.
#ifndef PIXTOLA_PORTABLE_IMAGE_ACCESS_H_
#define PIXTOLA_PORTABLE_IMAGE_ACCESS_H_

#include "pixtola/portable/gdiplus.h"

namespace pixtola::platform {

namespace detail {
// A derived class may name the protected members; pointers to members then reach them in any image.
struct ImageMembers : Gdiplus::Image {
  static constexpr auto kNativeImage = &ImageMembers::nativeImage;
  static constexpr auto kLastStatus = &ImageMembers::lastResult;
};
}  // namespace detail

inline Gdiplus::GpImage* NativeImage(const Gdiplus::Image& image) {
  return image.*detail::ImageMembers::kNativeImage;
}

/// Stores a handle, which the image then owns, and the status that the image reports next. The
/// image must hold no handle before.
inline void AdoptNativeImage(Gdiplus::Image& image, Gdiplus::GpImage* native,
                             Gdiplus::Status status) {
  image.*detail::ImageMembers::kNativeImage = native;
  image.*detail::ImageMembers::kLastStatus = status;
}

}  // namespace pixtola::platform

#endif  // PIXTOLA_PORTABLE_IMAGE_ACCESS_H_
