// The definition of the turns and mirrors: one pixel after the other.
//
// Transposes go by tiles, so that the rows of the destination that a tile writes are still in the
// cache when the pixels beside come.
#include "transform/pixels/rotate_flip_kernels.h"

#include <algorithm>
#include <cstring>

namespace pixtola {

namespace {

/// Rows and columns of a tile: one cache line of the smallest pixels.
constexpr std::size_t kTileSide = 64;

const std::uint8_t* SourceRow(const BlockMove& move, std::size_t y) {
  return move.source + static_cast<std::ptrdiff_t>(y) * move.source_stride;
}

std::uint8_t* DestinationRow(const BlockMove& move, std::size_t y) {
  return move.destination + static_cast<std::ptrdiff_t>(y) * move.destination_stride;
}

template <std::size_t kBytes>
void Mirror(const BlockMove& move) {
  for (std::size_t y = 0; y < move.height; ++y) {
    const std::uint8_t* const from = SourceRow(move, y);
    std::uint8_t* const to = DestinationRow(move, y);
    for (std::size_t x = 0; x < move.width; ++x) {
      std::memcpy(to + x * kBytes, from + (move.width - 1 - x) * kBytes, kBytes);
    }
  }
}

template <std::size_t kBytes>
void TransposeTile(const BlockMove& move, std::size_t left, std::size_t top) {
  const std::size_t right = std::min(left + kTileSide, move.width);
  const std::size_t bottom = std::min(top + kTileSide, move.height);
  for (std::size_t x = left; x < right; ++x) {
    std::uint8_t* const to = DestinationRow(move, x);
    for (std::size_t y = top; y < bottom; ++y) {
      std::memcpy(to + y * kBytes, SourceRow(move, y) + x * kBytes, kBytes);
    }
  }
}

template <std::size_t kBytes>
void Transpose(const BlockMove& move) {
  for (std::size_t left = 0; left < move.width; left += kTileSide) {
    for (std::size_t top = 0; top < move.height; top += kTileSide) {
      TransposeTile<kBytes>(move, left, top);
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
