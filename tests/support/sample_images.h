// Images to be saved: random pixels that every encoder takes, with colours that lossless ones keep.
#ifndef PIXTOLA_TESTS_SUPPORT_SAMPLE_IMAGES_H_
#define PIXTOLA_TESTS_SUPPORT_SAMPLE_IMAGES_H_

#include <vector>

#include "support/test_bitmap.h"

namespace pixtola::test {

inline constexpr float kSampleDpiX = 300;
inline constexpr float kSampleDpiY = 200;

/// Opaque colours, all different, black first and white last.
std::vector<Gdiplus::ARGB> SampleColors(Gdiplus::PixelFormat format);

enum class Alpha { kOpaque, kAny };

/// 300 x 200 dpi. Premultiplied colours are at most their alpha.
BitmapPointer SampleBitmap(Gdiplus::PixelFormat format, UINT width, UINT height,
                           Alpha alpha = Alpha::kOpaque);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_SAMPLE_IMAGES_H_
