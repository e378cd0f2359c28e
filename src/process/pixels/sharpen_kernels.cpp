#include "process/pixels/sharpen_kernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace pixtola {

namespace {

/// (18 * centre - 2 * neighbours) / 10, clamped: halving everything gives the same.
std::uint8_t Sharpen(int centre, int neighbours) {
  return static_cast<std::uint8_t>(std::clamp((9 * centre - neighbours) / 5, 0, 255));
}

template <std::uint32_t kBytesPerPixel>
void SharpenRow(const std::uint8_t* above, const std::uint8_t* own, const std::uint8_t* below,
                std::uint32_t width, std::uint8_t* destination) {
  const std::size_t last_pixel = std::size_t{width - 1} * kBytesPerPixel;
  std::memcpy(destination, own, kBytesPerPixel);
  for (std::size_t x = kBytesPerPixel; x < last_pixel; ++x) {
    destination[x] =
        Sharpen(own[x], above[x] + own[x - kBytesPerPixel] + own[x + kBytesPerPixel] + below[x]);
  }
  std::memcpy(destination + last_pixel, own + last_pixel, kBytesPerPixel);
}

template <std::uint32_t kBytesPerPixel>
void SharpenRows(const ImageView& source, const MutableImageView& destination) {
  for (std::uint32_t y = 0; y < source.height; ++y) {
    const std::uint8_t* own = source.Row(y);
    SharpenRow<kBytesPerPixel>(own - source.stride, own, own + source.stride, source.width,
                               destination.Row(y));
  }
}

}  // namespace

constexpr SharpenKernels kPlainSharpenKernels{
    .target = "plain",
    .rows_of_8_bit = SharpenRows<1>,
    .rows_of_24_bit = SharpenRows<3>,
};

#if !PIXTOLA_WITH_HIGHWAY
const SharpenKernels& BestSharpenKernels() { return kPlainSharpenKernels; }
#endif

}  // namespace pixtola
