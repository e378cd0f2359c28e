#include "format/pixel_format.h"

namespace pixtola {

namespace {

constexpr std::uint64_t DivideRoundingUp(std::uint64_t dividend, std::uint64_t divisor) {
  return (dividend + divisor - 1) / divisor;
}

}  // namespace

std::uint32_t CalcStrideFromBits(std::uint32_t bits_per_pixel, std::uint32_t width) {
  if (bits_per_pixel >= 8) return RoundUpTo4(bits_per_pixel / 8 * width);
  const std::uint32_t bits = bits_per_pixel * width;
  return RoundUpTo4(bits / 8 + (bits % 8 != 0 ? 1 : 0));
}

bool IsValidStride(std::uint32_t width, std::uint32_t bits_per_pixel, std::uint32_t stride) {
  if (stride % 4 != 0) return false;
  switch (bits_per_pixel) {
    case 1:
      return stride >= DivideRoundingUp(width, 8);
    case 4:
      // Kept on purpose: four pixels a byte, though a byte holds two. Callers that read rows of
      // 4-bit pixels must allow for rows longer than their stride.
      return stride >= DivideRoundingUp(width, 4);
    case 8:
      return stride >= width;
    default:
      return bits_per_pixel % 8 == 0 && stride >= bits_per_pixel / 8 * width;
  }
}

}  // namespace pixtola

uint32_t PxtCalcStride(uint32_t width, Gdiplus::PixelFormat format) {
  return pixtola::CalcStrideFromBits(pixtola::BitsPerPixel(format), width);
}
