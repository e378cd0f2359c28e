// The inner part of error diffusion: gray rows to 1-bit rows.
#ifndef PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_KERNELS_H_
#define PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_KERNELS_H_

#include <cstdint>

#include "convert/pixels/gray/gray_reader.h"
#include "format/image_view.h"

namespace pixtola {

/// The levels between which diffused values are kept, and the lowest one that is white.
struct DiffusionLevels {
  std::uint8_t threshold;
  std::uint8_t low;
  std::uint8_t high;
};

struct DiffusionKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  /// Writes all bytes of the destination's rows, which have 1 bit per pixel. Reads each gray row
  /// once, from the first to the last. Returns 1, or 0 when out of memory: the destination is then
  /// untouched.
  int (*diffuse)(const DiffusionLevels& levels, const GrayReader& gray,
                 const MutableImageView& destination);
};

/// The definition.
extern const DiffusionKernels kPlainDiffusionKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const DiffusionKernels& BestDiffusionKernels();

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_KERNELS_H_
