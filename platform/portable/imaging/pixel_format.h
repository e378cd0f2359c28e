// Numbers about pixel formats.
#ifndef PIXTOLA_PORTABLE_PIXEL_FORMAT_H_
#define PIXTOLA_PORTABLE_PIXEL_FORMAT_H_

#include <cstdint>

#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

/// Formats in which a bitmap can be made.
constexpr bool IsBitmapFormat(Gdiplus::PixelFormat format) {
  switch (format) {
    case PixelFormat1bppIndexed:
    case PixelFormat4bppIndexed:
    case PixelFormat8bppIndexed:
    case PixelFormat16bppGrayScale:
    case PixelFormat16bppRGB555:
    case PixelFormat16bppRGB565:
    case PixelFormat16bppARGB1555:
    case PixelFormat24bppRGB:
    case PixelFormat32bppRGB:
    case PixelFormat32bppARGB:
    case PixelFormat32bppPARGB:
    case PixelFormat48bppRGB:
    case PixelFormat64bppARGB:
    case PixelFormat64bppPARGB:
      return true;
    default:
      return false;
  }
}

constexpr bool IsIndexed(Gdiplus::PixelFormat format) { return (format & PixelFormatIndexed) != 0; }

/// Formats whose channels are linear light.
constexpr bool IsLinear(Gdiplus::PixelFormat format) {
  return format == PixelFormat48bppRGB || format == PixelFormat64bppARGB ||
         format == PixelFormat64bppPARGB;
}

constexpr unsigned BitsPerPixel(Gdiplus::PixelFormat format) {
  return static_cast<unsigned>(format) >> 8 & 0xFF;
}

/// Bytes of a row rounded up to a multiple of 4.
constexpr std::uint64_t AlignedStride(std::uint64_t width, Gdiplus::PixelFormat format) {
  return (width * BitsPerPixel(format) + 31) / 32 * 4;
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_PIXEL_FORMAT_H_
