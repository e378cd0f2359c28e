// Bilevel conversion with a threshold of its own for each cell of 16 x 16 pixels.
#ifndef PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_H_
#define PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_H_

#include "convert/pixels/gray/gray_kernels.h"
#include "format/image_view.h"

namespace pixtola {

/// The method MethodBilevelAdaptive. `lookup` holds the grays of an 8-bit source's values; null for
/// other depths. Returns 1 or 0.
int BinarizeAdaptive(const ImageView& source, const GrayLookup* lookup,
                     const MutableImageView& destination);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_ADAPTIVE_ADAPTIVE_H_
