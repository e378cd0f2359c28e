// The inner part of error diffusion: gray rows to 1-bit rows.
#ifndef PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_KERNELS_H_
#define PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_KERNELS_H_

#include <cstdint>

#include "convert/pixels/gray/gray_reader.h"

namespace pixtola {

/// The levels between which diffused values are kept, and the one from which on they are white.
struct DiffusionLevels {
  std::uint8_t threshold;
  std::uint8_t low;
  std::uint8_t high;
};

struct DiffusionKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  /// Writes all `height * destination_stride` bytes; the stride holds at least `width` bits. Reads
  /// each row once, from the first to the last. Returns 1, or 0 when there is no memory to work
  /// with: the destination is then untouched.
  int (*diffuse)(const DiffusionLevels& levels, const GrayReader& gray, std::uint32_t width,
                 std::uint32_t height, std::uint8_t* destination, std::uint32_t destination_stride);
};

/// The definition.
extern const DiffusionKernels kPlainDiffusionKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const DiffusionKernels& BestDiffusionKernels();

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_KERNELS_H_
