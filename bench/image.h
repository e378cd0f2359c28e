// The images that the benchmarks work on: whole rows without padding.
#ifndef PIXTOLA_BENCH_IMAGE_H_
#define PIXTOLA_BENCH_IMAGE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pixtola::bench {

/// Pixels of 1 to 4 bytes; rows follow one another without a gap. Widths and heights are multiples
/// of 4, so that this is the library's own layout.
struct Image {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t bytes_per_pixel = 0;
  std::vector<std::uint8_t> bytes;

  Image() = default;
  Image(std::uint32_t image_width, std::uint32_t image_height, std::uint32_t pixel_bytes)
      : width(image_width),
        height(image_height),
        bytes_per_pixel(pixel_bytes),
        bytes(std::size_t{image_width} * image_height * pixel_bytes) {}

  std::uint32_t stride() const { return width * bytes_per_pixel; }
};

/// A page of 1 bit per pixel, its rows `stride` bytes apart, as gray 0 and 255.
inline Image UnpackBits(const std::vector<std::uint8_t>& bits, std::uint32_t stride,
                        std::uint32_t width, std::uint32_t height) {
  Image gray(width, height, 1);
  for (std::uint32_t y = 0; y < height; ++y) {
    const std::uint8_t* const row = bits.data() + std::size_t{y} * stride;
    std::uint8_t* const out = gray.bytes.data() + std::size_t{y} * width;
    for (std::uint32_t x = 0; x < width; ++x) {
      out[x] = ((row[x / 8] >> (7 - x % 8)) & 1) != 0 ? 255 : 0;
    }
  }
  return gray;
}

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_IMAGE_H_
