// What every conversion method asks of its two images.
#ifndef PIXTOLA_CONVERT_PIXELS_CONVERSION_ARGUMENTS_H_
#define PIXTOLA_CONVERT_PIXELS_CONVERSION_ARGUMENTS_H_

#include <cstdint>

#include "format/image_view.h"
#include "format/stride.h"

namespace pixtola {

/// Whether conversions read pixels of this depth.
constexpr bool IsConvertibleDepth(std::uint32_t bits_per_pixel) {
  return bits_per_pixel == 1 || bits_per_pixel == 8 || bits_per_pixel == 24 || bits_per_pixel == 32;
}

/// The stride check of an image's rows.
template <typename Byte>
bool HasValidStride(const BasicImageView<Byte>& image) {
  return IsValidStride(image.width, image.bits_per_pixel, static_cast<std::uint32_t>(image.stride));
}

/// The entry checks that all methods share. Both images have the size of the rectangle that is
/// converted; the destination has 8 or 1 bits per pixel.
inline bool AreConversionArgumentsValid(const ImageView& source,
                                        const MutableImageView& destination) {
  return source.first_row != nullptr && destination.first_row != nullptr && source.width != 0 &&
         source.height != 0 && HasValidStride(destination) && HasValidStride(source);
}

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_CONVERSION_ARGUMENTS_H_
