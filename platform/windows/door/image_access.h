// Access to the handle and the last status inside Gdiplus::Image, for a bitmap class of the library
// that takes over handles which it made itself. The wrapper classes offer no public way, and the
// two sets of headers hide the members differently.
#ifndef PIXTOLA_WINDOWS_IMAGE_ACCESS_H_
#define PIXTOLA_WINDOWS_IMAGE_ACCESS_H_

#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>

namespace pixtola::platform {

namespace detail {

#ifdef __MINGW32__

// The members are private, but an explicit template instantiation may name private members: its
// friend function passes the pointer to member out. The linker merges the instantiations of all
// translation units.
template <typename Tag, typename Tag::Type kMember>
struct Disclosure {
  friend constexpr typename Tag::Type Disclose(Tag) { return kMember; }
};

struct NativeImageTag {
  using Type = Gdiplus::GpImage* Gdiplus::Image::*;
  friend constexpr Type Disclose(NativeImageTag);
};
template struct Disclosure<NativeImageTag, &Gdiplus::Image::nativeImage>;

struct LastStatusTag {
  using Type = Gdiplus::Status Gdiplus::Image::*;
  friend constexpr Type Disclose(LastStatusTag);
};
template struct Disclosure<LastStatusTag, &Gdiplus::Image::lastStatus>;

struct ImageMembers {
  static constexpr auto kNativeImage = Disclose(NativeImageTag());
  static constexpr auto kLastStatus = Disclose(LastStatusTag());
};

#else

// The members are protected: a derived class may name them, and pointers to members then reach them
// in any image.
struct ImageMembers : Gdiplus::Image {
  static constexpr auto kNativeImage = &ImageMembers::nativeImage;
  static constexpr auto kLastStatus = &ImageMembers::lastResult;
};

#endif

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

#endif  // PIXTOLA_WINDOWS_IMAGE_ACCESS_H_
