// Pixels in a format, for what makes bitmaps of them.
#ifndef PIXTOLA_TESTS_UNIT_BITMAP_FORMAT_VIEW_H_
#define PIXTOLA_TESTS_UNIT_BITMAP_FORMAT_VIEW_H_

#include <cstdint>

#include "format/image_view.h"
#include "format/pixel_format.h"
#include "format/stride.h"

namespace pixtola::test {

/// The stride may be a negative number of 32 bits.
inline ImageView FormatView(const std::uint8_t* first_row, Gdiplus::PixelFormat format,
                            std::uint32_t width, std::uint32_t height, std::uint32_t stride) {
  return {first_row, width, height, SignedStride(stride), BitsPerPixel(format)};
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_UNIT_BITMAP_FORMAT_VIEW_H_
