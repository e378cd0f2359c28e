// The platform's codes of pixel formats, whose bits tell depth and kind.
#ifndef PIXTOLA_FORMAT_PIXEL_FORMAT_H_
#define PIXTOLA_FORMAT_PIXEL_FORMAT_H_

#include <cstdint>

#include "platform.h"

namespace pixtola {

/// Bits 8 to 15 of a pixel format.
constexpr std::uint32_t BitsPerPixel(Gdiplus::PixelFormat format) {
  return (static_cast<std::uint32_t>(format) >> 8) & 0xFF;
}

constexpr bool IsIndexed(Gdiplus::PixelFormat format) { return (format & PixelFormatIndexed) != 0; }

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_PIXEL_FORMAT_H_
