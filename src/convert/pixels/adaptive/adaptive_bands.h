// The adaptive bilevel conversion of a gray image in one pass down the image, a row of cells at a
// time. The gray rows are made on the way, and are still near when their bits are written.
#ifndef PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_BANDS_H_
#define PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_BANDS_H_

#include <cstdint>

#include "convert/pixels/adaptive/adaptive_kernels.h"
#include "convert/pixels/gray/gray_reader.h"

namespace pixtola {

/// Does what BinarizeCells does, with `kernels`. Each row is read once, from the first one on.
bool BinarizeCellsInBands(const AdaptiveKernels& kernels, const GrayReader& gray,
                          std::uint32_t width, std::uint32_t height, std::uint8_t global_threshold,
                          std::uint8_t* destination, std::uint32_t destination_stride);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_BANDS_H_
