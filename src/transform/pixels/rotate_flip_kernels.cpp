// The definition of the rotations and flips: pixel by pixel.
//
// Transposing goes tile by tile, so that the destination's rows that a tile writes are still in the
// cache when the pixels beside them are written.
#include "transform/pixels/rotate_flip_kernels.h"

#include <algorithm>
#include <cstring>

namespace pixtola {

namespace {

/// Rows and columns of a tile: one cache line of the smallest pixels.
constexpr std::uint64_t kTileSide = 64;

template <std::size_t kBytes>
void Mirror(const ImageView& source, const MutableImageView& destination) {
  for (std::uint32_t y = 0; y < source.height; ++y) {
    const std::uint8_t* const from = source.Row(y);
    std::uint8_t* const to = destination.Row(y);
    for (std::size_t x = 0; x < source.width; ++x) {
      std::memcpy(to + x * kBytes, from + (source.width - 1 - x) * kBytes, kBytes);
    }
  }
}

template <std::size_t kBytes>
void TransposeTile(const ImageView& source, const MutableImageView& destination, std::uint64_t left,
                   std::uint64_t top) {
  const auto right =
      static_cast<std::uint32_t>(std::min(left + kTileSide, std::uint64_t{source.width}));
  const auto bottom =
      static_cast<std::uint32_t>(std::min(top + kTileSide, std::uint64_t{source.height}));
  for (auto x = static_cast<std::uint32_t>(left); x < right; ++x) {
    std::uint8_t* const to = destination.Row(x);
    for (auto y = static_cast<std::uint32_t>(top); y < bottom; ++y) {
      std::memcpy(to + y * kBytes, source.Row(y) + x * kBytes, kBytes);
    }
  }
}

template <std::size_t kBytes>
void Transpose(const ImageView& source, const MutableImageView& destination) {
  for (std::uint64_t left = 0; left < source.width; left += kTileSide) {
    for (std::uint64_t top = 0; top < source.height; top += kTileSide) {
      TransposeTile<kBytes>(source, destination, left, top);
    }
  }
}

}  // namespace

constexpr RotateFlipKernels kPlainRotateFlipKernels{
    .target = "plain",
    .mirror = {Mirror<1>, Mirror<2>, Mirror<3>, Mirror<4>},
    .transpose = {Transpose<1>, Transpose<2>, Transpose<3>, Transpose<4>},
};

#if !PIXTOLA_WITH_HIGHWAY
const RotateFlipKernels& BestRotateFlipKernels() { return kPlainRotateFlipKernels; }
#endif

}  // namespace pixtola
