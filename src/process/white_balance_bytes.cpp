// The white balance of pixels in memory: checks, points, stretch.

#include <cstddef>
#include <cstring>

#include "platform.h"
#include "process/pixels/white_balance_kernels.h"
#include "process/pixels/white_balance_points.h"

namespace pixtola {

namespace {

bool FitsIn32Bits(std::uint64_t count) { return count <= UINT32_MAX; }

void Copy(const std::uint8_t* source, std::uint8_t* destination, std::size_t size) {
  if (destination != source) std::memmove(destination, source, size);
}

bool KeepsAllChannels(const ChannelPoints& points, std::uint32_t channels) {
  for (std::uint32_t c = 0; c < channels; ++c) {
    const bool is_whole_range = points[c].black == 0 && points[c].white == 255;
    if (points[c].black < points[c].white && !is_whole_range) return false;
  }
  return true;
}

void Balance(const std::uint8_t* source, std::uint8_t* destination, std::uint32_t pixel_count,
             std::uint32_t channels, float clip_fraction) {
  const WhiteBalanceKernels& kernels = BestWhiteBalanceKernels();
  const ChannelPoints points = kernels.find_points(kernels, source, pixel_count, channels,
                                                   ClipCount(pixel_count, clip_fraction));
  if (KeepsAllChannels(points, channels)) {
    Copy(source, destination, std::size_t{pixel_count} * channels);
  } else {
    kernels.stretch(source, pixel_count, channels, points, destination);
  }
}

}  // namespace

}  // namespace pixtola

int PxtWhiteBalance(unsigned char* source, unsigned char* destination, unsigned long byte_count,
                    PxtPixelSize pixel_size, float clip_fraction) {
  using namespace pixtola;
  if (source == nullptr || destination == nullptr) return 0;
  if (!FitsIn32Bits(byte_count)) return 0;
  const auto size = static_cast<std::uint32_t>(byte_count);
  switch (pixel_size) {
    case PxtPixelSize1:
      Copy(source, destination, size);
      return 1;
    case PxtPixelSize8:
    case PxtPixelSize24:
    case PxtPixelSize32: {
      const std::uint32_t channels = pixel_size / 8;
      Balance(source, destination, size / channels, channels, clip_fraction);
      return 1;
    }
    default:
      return 0;
  }
}
