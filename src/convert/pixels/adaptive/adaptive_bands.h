// The adaptive bilevel conversion of a gray image in one pass down the image, a row of cells at a
// time. The gray rows are made on the way, and are still in the cache when their bits are written.
#ifndef PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_BANDS_H_
#define PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_BANDS_H_

#include <cstdint>

#include "convert/pixels/adaptive/adaptive_kernels.h"
#include "convert/pixels/gray/gray_reader.h"
#include "format/image_view.h"

namespace pixtola {

/// Does what BinarizeCells does, with `kernels`. Each row is read once, from the first one on.
bool BinarizeCellsInBands(const AdaptiveKernels& kernels, const GrayReader& gray,
                          std::uint8_t global_threshold, const MutableImageView& destination);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_BANDS_H_
