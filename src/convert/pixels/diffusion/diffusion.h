// Bilevel conversion by error diffusion around the global threshold.
#ifndef PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_H_
#define PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_H_

#include <cstdint>

#include "convert/pixels/diffusion/diffusion_kernels.h"
#include "convert/pixels/gray/gray_kernels.h"
#include "convert/pixels/gray/gray_reader.h"
#include "format/histogram.h"
#include "format/image_view.h"

namespace pixtola {

DiffusionLevels FindDiffusionLevels(const Histogram& histogram);

/// Diffuses gray rows into rows of 1 bit per pixel, of which all bytes are written. Returns 1, or 0
/// for a null destination, too small a stride or when out of memory: the destination is then
/// untouched.
int DiffuseErrors(const DiffusionLevels& levels, const GrayReader& gray,
                  const MutableImageView& destination);

/// The method MethodBilevelDiffusion. `lookup` holds the grays of an 8-bit source's values; null
/// for other depths. Returns 1 or 0.
int BinarizeDiffusion(const ImageView& source, const GrayLookup* lookup,
                      const MutableImageView& destination);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_H_
