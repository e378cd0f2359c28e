#include "convert/pixels/diffusion/diffusion_kernels.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "base/memory.h"

namespace pixtola {

namespace {

/// Entries before the first and after the last pixel of an error row; they stay 0.
constexpr std::uint64_t kGuardCells = 2;

/// One image row. `current` and `previous` point to the entries of pixel 0 in their error rows.
void DiffuseRow(const DiffusionLevels& levels, const std::uint8_t* gray, std::uint32_t width,
                std::int16_t* current, const std::int16_t* previous, std::uint8_t* destination) {
  const int threshold = levels.threshold;
  for (std::ptrdiff_t x = 0; x < std::ptrdiff_t{width}; ++x) {
    // Arithmetic shifts: each part is rounded toward minus infinity by itself.
    int value = gray[x] + (current[x - 2] >> 3) + (current[x - 1] >> 2) + (previous[x - 2] >> 4) +
                (previous[x - 1] >> 3) + (previous[x] >> 2) + (previous[x + 1] >> 3) +
                (previous[x + 2] >> 4);
    value = std::max<int>(value, levels.low);
    value = std::min<int>(value, levels.high);
    if (value >= threshold) {
      destination[x / 8] = static_cast<std::uint8_t>(destination[x / 8] | (0x80 >> (x % 8)));
      // Kept on purpose: the error of a white pixel counts from the threshold, not from white.
      value = threshold - value;
    }
    current[x] = static_cast<std::int16_t>(value);
  }
}

int Diffuse(const DiffusionLevels& levels, const GrayReader& gray,
            const MutableImageView& destination) {
  const std::uint32_t width = destination.width;
  const std::uint64_t row_cells = std::uint64_t{width} + 2 * kGuardCells;
  const auto row = Allocate<std::uint8_t>(width);
  const auto first = AllocateZeroed<std::int16_t>(row_cells);
  const auto second = AllocateZeroed<std::int16_t>(row_cells);
  if (row == nullptr || first == nullptr || second == nullptr) return 0;

  std::int16_t* current = first.get() + kGuardCells;
  std::int16_t* previous = second.get() + kGuardCells;
  for (std::uint32_t y = 0; y < destination.height; ++y) {
    gray.Read(y, 1, row.get(), width);
    std::memset(destination.Row(y), 0, static_cast<std::size_t>(destination.stride));
    DiffuseRow(levels, row.get(), width, current, previous, destination.Row(y));
    std::swap(current, previous);
  }
  return 1;
}

}  // namespace

constexpr DiffusionKernels kPlainDiffusionKernels{
    .target = "plain",
    .diffuse = Diffuse,
};

#if !PIXTOLA_WITH_HIGHWAY
const DiffusionKernels& BestDiffusionKernels() { return kPlainDiffusionKernels; }
#endif

}  // namespace pixtola
