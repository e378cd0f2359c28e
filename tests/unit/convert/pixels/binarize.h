// A bilevel method called for gray pixels.
#ifndef PIXTOLA_TESTS_UNIT_CONVERT_PIXELS_BINARIZE_H_
#define PIXTOLA_TESTS_UNIT_CONVERT_PIXELS_BINARIZE_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/test_bitmap.h"

namespace pixtola::test {

/// An 8-bit palette through which index i becomes exactly gray i, for i up to 254.
inline const Gdiplus::ColorPalette* IdentityGrayPalette() {
  static const PaletteBlock palette = [] {
    std::vector<Gdiplus::ARGB> entries(256, 0xFF000000U);
    // Search each gray level among the grays and near-grays that give it.
    std::vector<bool> found(256, false);
    for (unsigned r = 0; r < 256; ++r) {
      for (unsigned g = r; g < std::min(256U, r + 3); ++g) {
        const unsigned gray = (r * 30 * 256 / 100 + g * 59 * 256 / 100 + r * 11 * 256 / 100) >> 8;
        if (!found[gray]) entries[gray] = 0xFF000000U | r << 16 | g << 8 | r;
        found[gray] = true;
      }
    }
    return PaletteBlock(0, entries);
  }();
  return palette.get();
}

using Worker = int (*)(const std::uint8_t*, std::uint32_t, std::uint32_t, std::uint32_t,
                       std::uint32_t, std::uint8_t*, std::uint32_t, const Gdiplus::ColorPalette*);

/// Binarizes gray pixels; rows of the source are padded to multiples of 4 bytes.
inline Bytes Binarize(Worker worker, const Bytes& gray, std::uint32_t width, std::uint32_t height,
                      std::uint32_t destination_stride, std::uint8_t fill = 0xA5) {
  const std::uint32_t stride = (width + 3) / 4 * 4;
  Bytes source(std::size_t{stride} * height, 0);
  for (std::uint32_t y = 0; y < height; ++y) {
    std::copy_n(gray.begin() + y * width, width, source.begin() + y * stride);
  }
  Bytes destination(std::size_t{destination_stride} * height, fill);
  EXPECT_EQ(worker(source.data(), width, height, stride, 8, destination.data(), destination_stride,
                   IdentityGrayPalette()),
            1);
  return destination;
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_UNIT_CONVERT_PIXELS_BINARIZE_H_
