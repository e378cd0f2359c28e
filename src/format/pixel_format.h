// Pixel formats as numbers, and the two rules about strides that every routine shares.
#ifndef PIXTOLA_FORMAT_PIXEL_FORMAT_H_
#define PIXTOLA_FORMAT_PIXEL_FORMAT_H_

#include <cstdint>

#include "platform.h"

namespace pixtola {

/// Bits 8 to 15 of a pixel format.
constexpr std::uint32_t BitsPerPixel(Gdiplus::PixelFormat format) {
  return (static_cast<std::uint32_t>(format) >> 8) & 0xFF;
}

/// Whether conversions read pixels of this depth.
constexpr bool IsConvertibleDepth(std::uint32_t bits_per_pixel) {
  return bits_per_pixel == 1 || bits_per_pixel == 8 || bits_per_pixel == 24 || bits_per_pixel == 32;
}

constexpr bool IsIndexed(Gdiplus::PixelFormat format) { return (format & PixelFormatIndexed) != 0; }

/// Rounds up to a multiple of 4; wraps at 32 bits.
constexpr std::uint32_t RoundUpTo4(std::uint32_t bytes) { return (bytes + 3) & ~std::uint32_t{3}; }

/// Bytes that `width` pixels really occupy, padding excluded. Never wraps.
constexpr std::uint64_t PackedRowBytes(std::uint32_t bits_per_pixel, std::uint32_t width) {
  return (std::uint64_t{bits_per_pixel} * width + 7) / 8;
}

/// The stride rule: bytes of a row rounded up to a multiple of 4, all in 32 bits, which wrap.
std::uint32_t CalcStrideFromBits(std::uint32_t bits_per_pixel, std::uint32_t width);

/// The stride check: whether rows of `width` pixels may lie `stride` bytes apart.
bool IsValidStride(std::uint32_t width, std::uint32_t bits_per_pixel, std::uint32_t stride);

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_PIXEL_FORMAT_H_
