// The inner step of the sharpening convolution: rows that have one above and one below.
#ifndef PIXTOLA_PROCESS_PIXELS_SHARPEN_KERNELS_H_
#define PIXTOLA_PROCESS_PIXELS_SHARPEN_KERNELS_H_

#include <cstdint>

namespace pixtola {

struct SharpenKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  // `count` rows of `width` pixels, at least 3, with kSharpening. The pixels above the first row
  // and below the last one are read, too, except the first and the last pixel of both. The first
  // and the last pixel of each row are copied. Source and destination have the same stride and do
  // not overlap.
  void (*rows_of_8_bit)(const std::uint8_t* source, std::uint8_t* destination, std::uint32_t stride,
                        std::uint32_t count, std::uint32_t width);
  void (*rows_of_24_bit)(const std::uint8_t* source, std::uint8_t* destination,
                         std::uint32_t stride, std::uint32_t count, std::uint32_t width);
};

/// The definition.
extern const SharpenKernels kPlainSharpenKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const SharpenKernels& BestSharpenKernels();

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_SHARPEN_KERNELS_H_
