// Bilevel conversion by error diffusion around the global threshold.
#ifndef PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_H_
#define PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_H_

#include <cstdint>

#include "convert/pixels/diffusion/diffusion_kernels.h"
#include "convert/pixels/gray/gray_kernels.h"
#include "convert/pixels/gray/gray_reader.h"
#include "platform.h"

namespace pixtola {

DiffusionLevels FindDiffusionLevels(const Histogram& histogram);

/// Diffuses gray rows into 1-bit rows; all `height * destination_stride` bytes are written. Returns
/// 1, or 0 for a null destination, too small a stride or lack of memory: the destination is then
/// untouched.
int DiffuseErrors(const DiffusionLevels& levels, const GrayReader& gray, std::uint32_t width,
                  std::uint32_t height, std::uint8_t* destination,
                  std::uint32_t destination_stride);

/// The method MethodBilevelDiffusion.
int BinarizeDiffusion(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                      std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                      std::uint8_t* destination, std::uint32_t destination_stride,
                      const Gdiplus::ColorPalette* palette);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_H_
