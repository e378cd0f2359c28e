// A bilevel method called for gray pixels.
#ifndef PIXTOLA_TESTS_UNIT_CONVERT_PIXELS_BINARIZE_H_
#define PIXTOLA_TESTS_UNIT_CONVERT_PIXELS_BINARIZE_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>

#include "convert/pixels/gray/gray_kernels.h"
#include "format/image_view.h"
#include "support/bytes.h"

namespace pixtola::test {

using Worker = int (*)(const ImageView&, const GrayLookup*, const MutableImageView&);

/// Binarizes gray pixels; rows of the source are padded to multiples of 4 bytes.
inline Bytes Binarize(Worker worker, const Bytes& gray, std::uint32_t width, std::uint32_t height,
                      std::uint32_t destination_stride, std::uint8_t fill = 0xA5) {
  const std::uint32_t stride = (width + 3) / 4 * 4;
  Bytes source(std::size_t{stride} * height, 0);
  for (std::uint32_t y = 0; y < height; ++y) {
    std::copy_n(gray.begin() + y * width, width, source.begin() + y * stride);
  }
  Bytes destination(std::size_t{destination_stride} * height, fill);
  GrayLookup lookup;  // value i is gray i
  std::iota(lookup.begin(), lookup.end(), std::uint8_t{0});
  EXPECT_EQ(worker({source.data(), width, height, stride, 8}, &lookup,
                   {destination.data(), width, height, destination_stride, 1}),
            1);
  return destination;
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_UNIT_CONVERT_PIXELS_BINARIZE_H_
