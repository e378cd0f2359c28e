// Pixels to planes of one channel each and back.
#ifndef PIXTOLA_IO_PIXELS_PCX_PLANE_KERNELS_H_
#define PIXTOLA_IO_PIXELS_PCX_PLANE_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace pixtola {

struct PcxPlaneKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  /// `count` pixels of 24 bits, stored blue, green, red.
  void (*interleave_rgb)(const std::uint8_t* red, const std::uint8_t* green,
                         const std::uint8_t* blue, std::size_t count, std::uint8_t* pixels);

  /// `count` pixels of 32 bits, stored blue, green, red, alpha.
  void (*interleave_rgba)(const std::uint8_t* red, const std::uint8_t* green,
                          const std::uint8_t* blue, const std::uint8_t* alpha, std::size_t count,
                          std::uint8_t* pixels);

  /// The way back from 24 bits.
  void (*separate_rgb)(const std::uint8_t* pixels, std::size_t count, std::uint8_t* red,
                       std::uint8_t* green, std::uint8_t* blue);
};

/// The definition.
extern const PcxPlaneKernels kPlainPcxPlaneKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const PcxPlaneKernels& BestPcxPlaneKernels();

}  // namespace pixtola

#endif  // PIXTOLA_IO_PIXELS_PCX_PLANE_KERNELS_H_
