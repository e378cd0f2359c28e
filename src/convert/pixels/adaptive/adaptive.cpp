#include "convert/pixels/adaptive/adaptive.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "convert/pixels/adaptive/adaptive_kernels.h"
#include "convert/pixels/conversion_arguments.h"
#include "convert/pixels/gray/gray_rows.h"
#include "convert/pixels/otsu/otsu.h"

namespace pixtola {

int BinarizeAdaptive(const ImageView& source, const GrayLookup* lookup,
                     const MutableImageView& destination) {
  if (!AreConversionArgumentsValid(source, destination)) return 0;
  std::memset(destination.first_row, 255,
              std::size_t{destination.height} * static_cast<std::size_t>(destination.stride));
  if (source.bits_per_pixel == 1) {
    CopyBilevelRows(source, destination);
    return 1;
  }
  const GrayRows rows(source, lookup);
  if (!rows.IsValid()) return 0;
  const std::optional<Histogram> levels = rows.CountLevels();
  if (!levels) return 0;
  const AdaptiveKernels& kernels = BestAdaptiveKernels();
  return kernels.binarize(kernels, rows, OtsuThreshold(&*levels), destination) ? 1 : 0;
}

}  // namespace pixtola
