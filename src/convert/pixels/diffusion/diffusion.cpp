#include "convert/pixels/diffusion/diffusion.h"

#include <optional>

#include "convert/pixels/conversion_arguments.h"
#include "convert/pixels/gray/gray_rows.h"
#include "convert/pixels/otsu/otsu.h"

namespace pixtola {

DiffusionLevels FindDiffusionLevels(const Histogram& histogram) {
  DiffusionLevels levels{OtsuThreshold(&histogram), 0, 255};
  while (levels.low < 254 && histogram[levels.low] == 0) ++levels.low;
  while (levels.high > 0 && histogram[levels.high] == 0) --levels.high;
  return levels;
}

int DiffuseErrors(const DiffusionLevels& levels, const GrayReader& gray,
                  const MutableImageView& destination) {
  if (destination.first_row == nullptr || !HasValidStride(destination)) return 0;
  return BestDiffusionKernels().diffuse(levels, gray, destination);
}

int BinarizeDiffusion(const ImageView& source, const GrayLookup* lookup,
                      const MutableImageView& destination) {
  if (!AreConversionArgumentsValid(source, destination)) return 0;
  if (source.bits_per_pixel == 1) {
    CopyBilevelRows(source, destination);
    return 1;
  }
  const GrayRows rows(source, lookup);
  if (!rows.IsValid()) return 0;
  const std::optional<Histogram> levels = rows.CountLevels();
  if (!levels) return 0;
  return DiffuseErrors(FindDiffusionLevels(*levels), rows, destination);
}

}  // namespace pixtola
