// Numbers about pixel formats.
#ifndef PIXTOLA_PORTABLE_PIXEL_FORMAT_H_
#define PIXTOLA_PORTABLE_PIXEL_FORMAT_H_

#include <cstdint>

#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

constexpr unsigned BitsPerPixel(Gdiplus::PixelFormat format) {
  return static_cast<unsigned>(format) >> 8 & 0xFF;
}

/// Bytes of a row rounded up to a multiple of 4.
constexpr std::uint64_t AlignedStride(std::uint64_t width, Gdiplus::PixelFormat format) {
  return (width * BitsPerPixel(format) + 31) / 32 * 4;
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_PIXEL_FORMAT_H_
