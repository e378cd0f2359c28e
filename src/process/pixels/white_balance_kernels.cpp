// The definitions of the white balance's inner steps.
#include "process/pixels/white_balance_kernels.h"

#include "process/pixels/white_balance_points.h"

namespace pixtola {

namespace {

using Lookup = std::array<std::uint8_t, 256>;

Lookup StretchLookup(LevelPoints points) {
  Lookup lookup;
  const int low = points.black;
  const int high = points.white;
  for (int level = 0; level < 256; ++level) {
    int stretched = level;
    if (low < high) {
      if (level <= low) {
        stretched = 0;
      } else if (level >= high) {
        stretched = 255;
      } else {
        const float scaled =
            static_cast<float>(level - low) * 255.0F / static_cast<float>(high - low);
        stretched = static_cast<int>(static_cast<double>(scaled) + 0.5);
      }
    }
    lookup[static_cast<std::uint32_t>(level)] = static_cast<std::uint8_t>(stretched);
  }
  return lookup;
}

template <std::uint32_t kChannels>
void Map(const std::uint8_t* source, std::uint64_t pixel_count,
         const std::array<Lookup, kMaxChannels>& lookups, std::uint8_t* destination) {
  for (std::uint64_t i = 0; i < pixel_count; ++i) {
    for (std::uint32_t c = 0; c < kChannels; ++c) destination[c] = lookups[c][source[c]];
    source += kChannels;
    destination += kChannels;
  }
}

void Stretch(const std::uint8_t* source, std::uint64_t pixel_count, std::uint32_t channels,
             const ChannelPoints& points, std::uint8_t* destination) {
  std::array<Lookup, kMaxChannels> lookups;
  for (std::uint32_t c = 0; c < channels; ++c) lookups[c] = StretchLookup(points[c]);
  if (channels == 1) Map<1>(source, pixel_count, lookups, destination);
  if (channels == 3) Map<3>(source, pixel_count, lookups, destination);
  if (channels == 4) Map<4>(source, pixel_count, lookups, destination);
}

void CountValue(std::uint8_t value, const WindowStarts& starts, WindowCounts& counts) {
  counts.up_to_254 += value <= 254 ? 1U : 0U;
  for (std::uint32_t w = 0; w < kWindows; ++w) {
    for (std::uint32_t k = 0; k < kWindowLevels; ++k) {
      counts.up_to[w][k] += value <= starts[w] + k ? 1U : 0U;
    }
  }
}

void CountWindows(const std::uint8_t* pixels, std::uint64_t pixel_count, std::uint32_t channels,
                  const ChannelWindowStarts& starts, ChannelWindowCounts& counts) {
  counts = {};
  for (std::uint64_t i = 0; i < pixel_count; ++i) {
    for (std::uint32_t c = 0; c < channels; ++c) CountValue(pixels[c], starts[c], counts[c]);
    pixels += channels;
  }
}

ChannelPoints FindPointsPlainly(const WhiteBalanceKernels& /*kernels*/, const std::uint8_t* pixels,
                                std::uint32_t pixel_count, std::uint32_t channels,
                                std::uint32_t clip_count) {
  return FindPointsByLevels(pixels, pixel_count, channels, clip_count);
}

}  // namespace

constexpr WhiteBalanceKernels kPlainWhiteBalanceKernels{
    .target = "plain",
    .find_points = FindPointsPlainly,
    .count_windows = CountWindows,
    .stretch = Stretch,
};

#if !PIXTOLA_WITH_HIGHWAY
const WhiteBalanceKernels& BestWhiteBalanceKernels() { return kPlainWhiteBalanceKernels; }
#endif

}  // namespace pixtola
