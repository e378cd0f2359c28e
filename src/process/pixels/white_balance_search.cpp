// The search for the black and white points of a white balance: sample, windows, decision.
//
// Up to the first sum above the clip count the distances to it do not grow, and from there on they
// do not fall. So the first sum p above the clip count decides: its predecessor is the one looked
// for if it is nearer; otherwise that is the last sum equal to sum p.
#include "process/pixels/white_balance_search.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <optional>

namespace pixtola {

namespace {

/// Channels with fewer pixels are counted faster level by level.
constexpr std::uint32_t kFewestPixels = 1U << 18;
constexpr std::uint32_t kMostPixels = 0x7FFFFFFF;
/// How many times windows are counted before all levels are.
constexpr int kMostPasses = 3;

/// The sample is made of short runs of whole pixels of any kind.
constexpr std::uint32_t kRunBytes = 48;
constexpr std::uint32_t kSampleRuns = 4096;
constexpr std::uint32_t kRunsAtOnce = 128;

// The windows of a channel are one for each end.
enum End : std::uint32_t { kDark, kBright };
constexpr End kEnds[] = {kDark, kBright};
static_assert(std::size(kEnds) == kWindows);

/// The first sum of each end's window.
using ChannelPlaces = std::array<std::array<std::int32_t, kWindows>, kMaxChannels>;
using ChannelSums = std::array<std::array<EndSums, kWindows>, kMaxChannels>;

constexpr std::int32_t kWindowSums = static_cast<std::int32_t>(kWindowLevels);
constexpr std::int32_t kLastPlace = static_cast<std::int32_t>(kLastWindowStart);

/// Counts runs of pixels, one at a random place of each of many equal parts.
void CountSample(const std::uint8_t* pixels, std::uint32_t pixel_count, std::uint32_t channels,
                 ChannelHistograms& histograms) {
  const std::uint32_t run_pixels = kRunBytes / channels;
  const std::uint32_t part = pixel_count / kSampleRuns;
  const std::uint64_t places = part - run_pixels + 1;
  histograms = {};
  for (std::uint32_t run = 0; run < kSampleRuns;) {
    // Copied first, since the processor can then wait for many of them at the same time.
    std::uint8_t copies[kRunsAtOnce][kRunBytes];
    for (auto& copy : copies) {
      // Multiples of the golden ratio of 2^32 are spread evenly and do not fall into step with the
      // rows.
      const std::uint64_t place = places * (run * 2654435769U) >> 32;
      std::memcpy(copy, pixels + (std::size_t{run} * part + place) * channels, kRunBytes);
      ++run;
    }
    AddLevels(copies[0], kRunsAtOnce * run_pixels, channels, histograms);
  }
}

EndSums SumsOfAllLevels(End end, const Histogram& histogram) {
  EndSums sums{};
  sums.last = end == kDark ? 255 : 254;
  std::int64_t sum = 0;
  for (std::int32_t k = 0; k <= sums.last; ++k) {
    sum += histogram[static_cast<std::uint32_t>(end == kDark ? k : 254 - k)];
    sums[k] = sum;
  }
  return sums;
}

EndSums UnknownSums(End end) {
  EndSums sums;
  sums.last = end == kDark ? 255 : 254;
  sums.sums.fill(EndSums::kUnknown);
  return sums;
}

/// Places the first window where a sample makes it likely to decide: its last sum but one is above
/// the clip count almost surely.
std::int32_t FirstPlace(const EndSums& sampled, double clip_count) {
  const double surely_above = clip_count + 3 * std::sqrt(clip_count);
  std::int32_t k = 0;
  while (k < sampled.last && static_cast<double>(sampled[k]) <= surely_above) ++k;
  return std::clamp(k + 2 - kWindowSums, 0, kLastPlace);
}

/// Places the next window between the sums that leave the point open.
std::int32_t NextPlace(const EndSums& sampled, const EndSums& known, const Decision& open,
                       std::uint32_t clip_count, std::int32_t previous_place) {
  std::int32_t place = previous_place;
  if (open.after >= 0 && known[open.after] > clip_count) {
    // The next level that has pixels is looked for.
    std::int32_t k = open.after;
    while (k < sampled.last && sampled[k] == sampled[open.after]) ++k;
    place = k - kWindowSums / 2;
  }
  place = std::max(std::min(place, open.before - kWindowSums), open.after + 1);
  return std::clamp(place, 0, kLastPlace);
}

/// The window for the sums from `place` on: at the bright end sum k has the pixels up to level 254
/// without those up to level 253 - k.
std::uint8_t WindowStart(End end, std::int32_t place) {
  return static_cast<std::uint8_t>(end == kDark ? place : kLastPlace - place);
}

void LearnSums(const WindowCounts& counts, const std::array<std::int32_t, kWindows>& places,
               std::uint32_t pixel_count, std::array<EndSums, kWindows>& sums) {
  const auto up_to_254 = static_cast<std::int64_t>(counts.up_to_254);
  sums[kDark][255] = pixel_count;
  sums[kDark][254] = up_to_254;
  sums[kBright][254] = up_to_254;
  for (std::int32_t i = 0; i < kWindowSums; ++i) {
    const auto level = static_cast<std::uint32_t>(i);
    sums[kDark][places[kDark] + i] = static_cast<std::int64_t>(counts.up_to[kDark][level]);
    sums[kBright][places[kBright] + kWindowSums - 1 - i] =
        up_to_254 - static_cast<std::int64_t>(counts.up_to[kBright][level]);
  }
}

std::uint8_t PointOf(End end, std::int32_t sum) {
  if (sum < 0) return end == kDark ? 0 : 255;
  return static_cast<std::uint8_t>(end == kDark ? sum : 254 - sum);
}

/// The points if few passes of windows decide all of them.
std::optional<ChannelPoints> FindPointsByWindows(const WhiteBalanceKernels& kernels,
                                                 const std::uint8_t* pixels,
                                                 std::uint32_t pixel_count, std::uint32_t channels,
                                                 std::uint32_t clip_count) {
  ChannelHistograms sample;
  CountSample(pixels, pixel_count, channels, sample);
  ChannelSums sampled;
  ChannelSums known;
  ChannelPlaces places{};
  for (std::uint32_t c = 0; c < channels; ++c) {
    for (const End end : kEnds) {
      sampled[c][end] = SumsOfAllLevels(end, sample[c]);
      known[c][end] = UnknownSums(end);
      const double share = static_cast<double>(sampled[c][kDark][255]) / pixel_count;
      places[c][end] = FirstPlace(sampled[c][end], clip_count * share);
    }
  }
  for (int pass = 0; pass < kMostPasses; ++pass) {
    ChannelWindowStarts starts{};
    for (std::uint32_t c = 0; c < channels; ++c) {
      starts[c] = {WindowStart(kDark, places[c][kDark]), WindowStart(kBright, places[c][kBright])};
    }
    ChannelWindowCounts counts;
    kernels.count_windows(pixels, pixel_count, channels, starts, counts);
    bool is_decided = true;
    ChannelPoints points{};
    for (std::uint32_t c = 0; c < channels; ++c) {
      LearnSums(counts[c], places[c], pixel_count, known[c]);
      for (const End end : kEnds) {
        const Decision decision = Decide(known[c][end], clip_count);
        (end == kDark ? points[c].black : points[c].white) = PointOf(end, decision.point);
        if (decision.is_decided) continue;
        is_decided = false;
        places[c][end] =
            NextPlace(sampled[c][end], known[c][end], decision, clip_count, places[c][end]);
      }
    }
    if (is_decided) return points;
  }
  return std::nullopt;
}

}  // namespace

Decision Decide(const EndSums& sums, std::uint32_t clip_count) {
  if (sums[sums.last] <= clip_count) return {true, -1, 0, 0};
  std::int32_t below = -1;
  std::int32_t above = sums.last;
  for (std::int32_t k = 0; k <= sums.last; ++k) {
    if (sums[k] == EndSums::kUnknown) continue;
    if (sums[k] > clip_count) {
      above = k;
      break;
    }
    below = k;
  }
  if (above - below > 1) return {false, -1, below, above};
  if (below >= 0 && clip_count - sums[below] < sums[above] - clip_count) {
    return {true, above, 0, 0};
  }
  std::int32_t equal = above;
  for (std::int32_t k = above + 1; k <= sums.last; ++k) {
    if (sums[k] == EndSums::kUnknown) continue;
    if (sums[k] > sums[above]) {
      if (k - equal > 1) return {false, -1, equal, k};
      return {true, k, 0, 0};
    }
    equal = k;
  }
  return {true, -1, 0, 0};
}

ChannelPoints FindPointsBySearch(const WhiteBalanceKernels& kernels, const std::uint8_t* pixels,
                                 std::uint32_t pixel_count, std::uint32_t channels,
                                 std::uint32_t clip_count) {
  if (pixel_count >= kFewestPixels && pixel_count <= kMostPixels) {
    const std::optional<ChannelPoints> points =
        FindPointsByWindows(kernels, pixels, pixel_count, channels, clip_count);
    if (points.has_value()) return *points;
  }
  return FindPointsByLevels(pixels, pixel_count, channels, clip_count);
}

}  // namespace pixtola
