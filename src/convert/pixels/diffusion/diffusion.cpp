#include "convert/pixels/diffusion/diffusion.h"

#include <optional>

#include "convert/pixels/conversion_arguments.h"
#include "convert/pixels/gray/gray_rows.h"
#include "convert/pixels/otsu/otsu.h"
#include "format/pixel_format.h"

namespace pixtola {

DiffusionLevels FindDiffusionLevels(const Histogram& histogram) {
  DiffusionLevels levels{OtsuThreshold(&histogram), 0, 255};
  while (levels.low < 254 && histogram[levels.low] == 0) ++levels.low;
  while (levels.high > 0 && histogram[levels.high] == 0) --levels.high;
  return levels;
}

int DiffuseErrors(const DiffusionLevels& levels, const GrayReader& gray, std::uint32_t width,
                  std::uint32_t height, std::uint8_t* destination,
                  std::uint32_t destination_stride) {
  if (destination == nullptr || !IsValidStride(width, 1, destination_stride)) return 0;
  return BestDiffusionKernels().diffuse(levels, gray, width, height, destination,
                                        destination_stride);
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
  const std::optional<Histogram> levels = rows.CountLevels();
  if (!levels) return 0;
  return DiffuseErrors(FindDiffusionLevels(*levels), rows, width, height, destination,
                       destination_stride);
}

}  // namespace pixtola
