// Gray from 1, 8, 24 and 32-bit pixels: as a conversion of its own, and as the packed gray image
// with its histogram on which the bilevel methods work.
#ifndef PIXTOLA_CONVERT_GRAY_H_
#define PIXTOLA_CONVERT_GRAY_H_

#include <cstdint>

#include "base/memory.h"
#include "convert/gray_kernels.h"
#include "platform.h"

namespace pixtola {

/// The gray of each palette entry, alpha ignored; values at or above the palette's Count give 0.
GrayLookup MakeGrayLookup(const Gdiplus::ColorPalette& palette);

/// The method MethodGray8. Returns 1, or 0 for arguments that cannot be (a null palette with an
/// 8-bit source among them). All `destination_stride` bytes of each row are written: where the
/// source row has no more pixels they are 0. Rows of 1- and 8-bit sources are converted beyond
/// `width` as far as both strides reach.
int ConvertToGray(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                  std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                  std::uint8_t* destination, std::uint32_t destination_stride,
                  const Gdiplus::ColorPalette* palette);

/// Writes `width * height` gray values without padding and counts them. Returns 1 or 0 as above.
int ConvertToGrayWithHistogram(const std::uint8_t* source, std::uint32_t width,
                               std::uint32_t height, std::uint32_t source_stride,
                               std::uint32_t source_bits_per_pixel, std::uint8_t* gray,
                               Histogram* histogram, const Gdiplus::ColorPalette* palette);

/// A packed gray image with its histogram.
struct GrayImage {
  Block<std::uint8_t>
      pixels;  ///< `width * height` bytes, no padding; null when it could not be made
  Histogram histogram;
};

/// Allocates and fills a gray image.
GrayImage MakeGrayImage(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                        std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                        const Gdiplus::ColorPalette* palette);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_GRAY_H_
