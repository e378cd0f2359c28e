#include "io/pixels/pcx_plane_kernels.h"

namespace pixtola {

namespace {

void InterleaveRgb(const std::uint8_t* red, const std::uint8_t* green, const std::uint8_t* blue,
                   std::size_t count, std::uint8_t* pixels) {
  for (std::size_t x = 0; x < count; ++x) {
    pixels[3 * x] = blue[x];
    pixels[3 * x + 1] = green[x];
    pixels[3 * x + 2] = red[x];
  }
}

void InterleaveRgba(const std::uint8_t* red, const std::uint8_t* green, const std::uint8_t* blue,
                    const std::uint8_t* alpha, std::size_t count, std::uint8_t* pixels) {
  for (std::size_t x = 0; x < count; ++x) {
    pixels[4 * x] = blue[x];
    pixels[4 * x + 1] = green[x];
    pixels[4 * x + 2] = red[x];
    pixels[4 * x + 3] = alpha[x];
  }
}

void SeparateRgb(const std::uint8_t* pixels, std::size_t count, std::uint8_t* red,
                 std::uint8_t* green, std::uint8_t* blue) {
  for (std::size_t x = 0; x < count; ++x) {
    blue[x] = pixels[3 * x];
    green[x] = pixels[3 * x + 1];
    red[x] = pixels[3 * x + 2];
  }
}

}  // namespace

constexpr PcxPlaneKernels kPlainPcxPlaneKernels{.target = "plain",
                                                .interleave_rgb = InterleaveRgb,
                                                .interleave_rgba = InterleaveRgba,
                                                .separate_rgb = SeparateRgb};

#if !PIXTOLA_WITH_HIGHWAY
const PcxPlaneKernels& BestPcxPlaneKernels() { return kPlainPcxPlaneKernels; }
#endif

}  // namespace pixtola
