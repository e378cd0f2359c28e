// The conversion to 8-bit gray.
#ifndef PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_H_
#define PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_H_

#include <cstdint>

#include "platform.h"

namespace pixtola {

/// The method MethodGray8. Returns 1, or 0 for arguments that cannot be (a null palette with an
/// 8-bit source among them). All `destination_stride` bytes of each row are written: where the
/// source row has no more pixels they are 0. Rows of 1- and 8-bit sources are converted beyond
/// `width` as far as both strides reach.
int ConvertToGray(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                  std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                  std::uint8_t* destination, std::uint32_t destination_stride,
                  const Gdiplus::ColorPalette* palette);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_H_
