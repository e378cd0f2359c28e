// Gray values to bits by one threshold.
#ifndef PIXTOLA_CONVERT_PIXELS_OTSU_PACK_KERNELS_H_
#define PIXTOLA_CONVERT_PIXELS_OTSU_PACK_KERNELS_H_

#include <cstdint>

namespace pixtola {

struct PackKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  /// Writes ceil(width / 8) bytes: the bits of the pixels with gray >= threshold are set, the most
  /// significant one for the leftmost pixel; the rest of the last byte is 0.
  void (*row)(std::uint8_t threshold, const std::uint8_t* gray, std::uint32_t width,
              std::uint8_t* destination);
};

/// The definition.
extern const PackKernels kPlainPackKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const PackKernels& BestPackKernels();

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_OTSU_PACK_KERNELS_H_
