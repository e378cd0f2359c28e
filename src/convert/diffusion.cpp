#include "convert/diffusion.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "convert/conversion_arguments.h"
#include "convert/gray_rows.h"
#include "convert/otsu.h"
#include "format/pixel_format.h"

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

}  // namespace

DiffusionLevels FindDiffusionLevels(const Histogram& histogram) {
  DiffusionLevels levels{OtsuThreshold(&histogram), 0, 255};
  while (levels.low < 254 && histogram[levels.low] == 0) ++levels.low;
  while (levels.high > 0 && histogram[levels.high] == 0) --levels.high;
  return levels;
}

int DiffuseErrors(const DiffusionLevels& levels, const std::uint8_t* gray, std::uint32_t width,
                  std::uint32_t height, std::uint8_t* destination,
                  std::uint32_t destination_stride) {
  if (gray == nullptr || destination == nullptr || !IsValidStride(width, 1, destination_stride)) {
    return 0;
  }
  const std::uint64_t row_cells = std::uint64_t{width} + 2 * kGuardCells;
  const auto first = AllocateZeroed<std::int16_t>(row_cells);
  const auto second = AllocateZeroed<std::int16_t>(row_cells);
  if (first == nullptr || second == nullptr) return 0;

  std::memset(destination, 0, std::size_t{height} * destination_stride);
  std::int16_t* current = first.get() + kGuardCells;
  std::int16_t* previous = second.get() + kGuardCells;
  for (std::uint32_t y = 0; y < height; ++y) {
    DiffuseRow(levels, gray + std::size_t{y} * width, width, current, previous,
               destination + std::size_t{y} * destination_stride);
    std::swap(current, previous);
  }
  return 1;
}

int BinarizeDiffusion(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                      std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                      std::uint8_t* destination, std::uint32_t destination_stride,
                      const Gdiplus::ColorPalette* palette) {
  if (!AreConversionArgumentsValid(source, width, height, source_stride, source_bits_per_pixel,
                                   destination, destination_stride, 1)) {
    return 0;
  }
  if (source_bits_per_pixel == 1) {
    CopyBilevelRows(source, height, source_stride, destination, destination_stride);
    return 1;
  }
  const GrayRows rows(source, width, height, source_stride, source_bits_per_pixel, palette);
  if (!rows.IsValid()) return 0;
  const Block<std::uint8_t> gray = Allocate<std::uint8_t>(std::uint64_t{width} * height);
  if (gray == nullptr) return 0;
  LevelCounter counter(std::uint64_t{width} * height);
  rows.ConvertToGrayWithHistogram(0, height, gray.get(), counter);
  const Histogram histogram = counter.Total();
  return DiffuseErrors(FindDiffusionLevels(histogram), gray.get(), width, height, destination,
                       destination_stride);
}

}  // namespace pixtola
