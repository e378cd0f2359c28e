// Bilevel conversion by error diffusion around the global threshold.
#ifndef PIXTOLA_CONVERT_DIFFUSION_H_
#define PIXTOLA_CONVERT_DIFFUSION_H_

#include <cstdint>

#include "convert/gray_kernels.h"
#include "platform.h"

namespace pixtola {

/// The levels between which diffused values are kept, and the one from which on they are white.
struct DiffusionLevels {
  std::uint8_t threshold;
  std::uint8_t low;
  std::uint8_t high;
};

DiffusionLevels FindDiffusionLevels(const Histogram& histogram);

/// Diffuses a packed gray image into 1-bit rows; all `height * destination_stride` bytes are
/// written. Returns 1, or 0 for null pointers, too small a stride or lack of memory.
int DiffuseErrors(const DiffusionLevels& levels, const std::uint8_t* gray, std::uint32_t width,
                  std::uint32_t height, std::uint8_t* destination,
                  std::uint32_t destination_stride);

/// The method MethodBilevelDiffusion.
int BinarizeDiffusion(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                      std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                      std::uint8_t* destination, std::uint32_t destination_stride,
                      const Gdiplus::ColorPalette* palette);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_DIFFUSION_H_
