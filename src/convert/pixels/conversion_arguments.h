// The checks that every conversion method makes of its arguments.
#ifndef PIXTOLA_CONVERT_PIXELS_CONVERSION_ARGUMENTS_H_
#define PIXTOLA_CONVERT_PIXELS_CONVERSION_ARGUMENTS_H_

#include <cstdint>

#include "format/pixel_format.h"

namespace pixtola {

/// The entry checks that all methods share. `width` and `height` are those of the rectangle that is
/// converted; `destination_bits_per_pixel` is 8 or 1.
inline bool AreConversionArgumentsValid(const std::uint8_t* source, std::uint32_t width,
                                        std::uint32_t height, std::uint32_t source_stride,
                                        std::uint32_t source_bits_per_pixel,
                                        const std::uint8_t* destination,
                                        std::uint32_t destination_stride,
                                        std::uint32_t destination_bits_per_pixel) {
  return source != nullptr && destination != nullptr && width != 0 && height != 0 &&
         IsValidStride(width, destination_bits_per_pixel, destination_stride) &&
         IsValidStride(width, source_bits_per_pixel, source_stride);
}

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_CONVERSION_ARGUMENTS_H_
