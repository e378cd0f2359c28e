// The black and the white point of a channel: the rule, applied to its histogram.
#ifndef PIXTOLA_PROCESS_PIXELS_WHITE_BALANCE_POINTS_H_
#define PIXTOLA_PROCESS_PIXELS_WHITE_BALANCE_POINTS_H_

#include <array>
#include <cstdint>

#include "format/histogram.h"
#include "process/pixels/white_balance_kernels.h"

namespace pixtola {

using ChannelHistograms = std::array<Histogram, kMaxChannels>;

/// How many pixels `clip_fraction` of `pixel_count` are, at most 2^31 - 1.
std::uint32_t ClipCount(std::uint32_t pixel_count, float clip_fraction);

/// The first level from the dark end whose next one is farther from the clip count, each with all
/// the pixels before it, plus one; the same from the bright end.
LevelPoints FindPoints(const Histogram& histogram, std::uint32_t clip_count);

/// Counts every level of 1, 3 or 4 channels into `histograms`, which keep what they hold.
void AddLevels(const std::uint8_t* pixels, std::uint32_t pixel_count, std::uint32_t channels,
               ChannelHistograms& histograms);

/// The points of all channels by the rule.
ChannelPoints FindPointsByLevels(const std::uint8_t* pixels, std::uint32_t pixel_count,
                                 std::uint32_t channels, std::uint32_t clip_count);

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_WHITE_BALANCE_POINTS_H_
