// Convolutions of 8 and 24-bit pixels with their eight neighbours, and the one that sharpens.
#ifndef PIXTOLA_PROCESS_PIXELS_CONVOLUTION_H_
#define PIXTOLA_PROCESS_PIXELS_CONVOLUTION_H_

#include <array>
#include <cstdint>

#include "format/image_view.h"

namespace pixtola {

/// A pixel becomes `offset + sum / divisor`, clamped to 0..255; the sum is that of the pixel and
/// its neighbours times their coefficients, the division truncates toward zero.
struct Convolution {
  std::array<std::int32_t, 9> coefficients;  ///< row by row from the top left; [4] is the centre
  std::int32_t divisor;
  std::int32_t offset;

  friend bool operator==(const Convolution&, const Convolution&) = default;
};

/// Leaves flat areas alone: its coefficients add up to its divisor.
inline constexpr Convolution kSharpening{
    .coefficients = {0, -2, 0, -2, 18, -2, 0, -2, 0},
    .divisor = 10,
    .offset = 0,
};

/// Convolves images with 8 or 24 bits per pixel, each byte of a pixel with the same bytes of the
/// neighbours. The outermost pixels are copied, so images less than 3 pixels wide or high come out
/// as they are. Padding is not written.
///
/// Both images have the same size, depth and stride and must not overlap. Returns 1, or 0 with
/// nothing written for null rows, another depth, a stride that is no multiple of 4 or shorter than
/// a row, and a divisor of 0.
int ConvolvePixels(const ImageView& source, const MutableImageView& destination,
                   const Convolution& convolution);

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_CONVOLUTION_H_
