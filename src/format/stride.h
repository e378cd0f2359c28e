// Rows in bytes: how long they are, and the two rules about strides that all functions share.
#ifndef PIXTOLA_FORMAT_STRIDE_H_
#define PIXTOLA_FORMAT_STRIDE_H_

#include <cstddef>
#include <cstdint>

namespace pixtola {

/// Rounds up to a multiple of 4; wraps at 32 bits.
constexpr std::uint32_t RoundUpTo4(std::uint32_t bytes) { return (bytes + 3) & ~std::uint32_t{3}; }

/// A stride that was given in 32 bits, where it may stand for a negative number.
constexpr std::ptrdiff_t SignedStride(std::uint32_t stride) {
  return static_cast<std::int32_t>(stride);
}

/// Bytes that `width` pixels really occupy, padding excluded. Never wraps.
constexpr std::uint64_t PackedRowBytes(std::uint32_t bits_per_pixel, std::uint32_t width) {
  return (std::uint64_t{bits_per_pixel} * width + 7) / 8;
}

/// The stride rule: bytes of a row rounded up to a multiple of 4, all in 32 bits, which wrap.
std::uint32_t CalcStrideFromBits(std::uint32_t bits_per_pixel, std::uint32_t width);

/// The stride check: whether rows of `width` pixels may lie `stride` bytes apart.
bool IsValidStride(std::uint32_t width, std::uint32_t bits_per_pixel, std::uint32_t stride);

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_STRIDE_H_
