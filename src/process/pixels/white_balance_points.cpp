// The rule for the black and the white point of a channel, and its histogram.
#include "process/pixels/white_balance_points.h"

#include <cstddef>

namespace pixtola {

namespace {

/// How far a sum of pixels is from the clip count. Kept on purpose: in 32 bits, so that sums which
/// are 2^31 or more above it have wrapped and compare as nearer, or as farther, than they are.
std::int32_t Distance(std::uint32_t sum, std::uint32_t clip_count) {
  const std::uint32_t difference = sum - clip_count;
  return static_cast<std::int32_t>(difference > 0x7FFFFFFFU ? 0 - difference : difference);
}

std::uint8_t FindBlackPoint(const Histogram& histogram, std::uint32_t clip_count) {
  std::uint32_t sum = 0;
  for (std::uint32_t level = 0; level <= 254; ++level) {
    sum += histogram[level];
    if (Distance(sum, clip_count) < Distance(sum + histogram[level + 1], clip_count)) {
      return static_cast<std::uint8_t>(level + 1);
    }
  }
  return 0;
}

/// Kept on purpose: the pixels of level 255 are not counted, while the black point counts those of
/// level 0.
std::uint8_t FindWhitePoint(const Histogram& histogram, std::uint32_t clip_count) {
  std::uint32_t sum = 0;
  for (std::uint32_t level = 254; level >= 1; --level) {
    sum += histogram[level];
    if (Distance(sum, clip_count) < Distance(sum + histogram[level - 1], clip_count)) {
      return static_cast<std::uint8_t>(level - 1);
    }
  }
  return 255;
}

/// Tables that take the counts of a channel in turn. With a single one, equal neighbours would wait
/// for each other: a count must be stored before it can be loaded again.
constexpr std::uint32_t kTablesPerChannel = 4;

template <std::uint32_t kChannels>
void AddLevelsOf(const std::uint8_t* pixels, std::uint32_t pixel_count,
                 ChannelHistograms& histograms) {
  std::array<std::array<Histogram, kChannels>, kTablesPerChannel> tables{};
  std::uint32_t i = 0;
  for (; pixel_count - i >= kTablesPerChannel; i += kTablesPerChannel) {
    for (std::uint32_t table = 0; table < kTablesPerChannel; ++table) {
      for (std::uint32_t c = 0; c < kChannels; ++c) ++tables[table][c][*pixels++];
    }
  }
  for (; i < pixel_count; ++i) {
    for (std::uint32_t c = 0; c < kChannels; ++c) ++tables[0][c][*pixels++];
  }
  for (std::uint32_t c = 0; c < kChannels; ++c) {
    for (std::uint32_t level = 0; level < 256; ++level) {
      for (const auto& table : tables) histograms[c][level] += table[c][level];
    }
  }
}

}  // namespace

std::uint32_t ClipCount(std::uint32_t pixel_count, float clip_fraction) {
  const float wanted = static_cast<float>(pixel_count) * clip_fraction;
  if (!(wanted > 0.0F)) return 0;  // NaN, too
  constexpr float kTooMany = 2147483648.0F;
  return wanted < kTooMany ? static_cast<std::uint32_t>(wanted) : 0x7FFFFFFFU;
}

LevelPoints FindPoints(const Histogram& histogram, std::uint32_t clip_count) {
  return {FindBlackPoint(histogram, clip_count), FindWhitePoint(histogram, clip_count)};
}

void AddLevels(const std::uint8_t* pixels, std::uint32_t pixel_count, std::uint32_t channels,
               ChannelHistograms& histograms) {
  if (channels == 1) AddLevelsOf<1>(pixels, pixel_count, histograms);
  if (channels == 3) AddLevelsOf<3>(pixels, pixel_count, histograms);
  if (channels == 4) AddLevelsOf<4>(pixels, pixel_count, histograms);
}

ChannelPoints FindPointsByLevels(const std::uint8_t* pixels, std::uint32_t pixel_count,
                                 std::uint32_t channels, std::uint32_t clip_count) {
  ChannelHistograms histograms{};
  AddLevels(pixels, pixel_count, channels, histograms);
  ChannelPoints points{};
  for (std::uint32_t c = 0; c < channels; ++c) points[c] = FindPoints(histograms[c], clip_count);
  return points;
}

}  // namespace pixtola
