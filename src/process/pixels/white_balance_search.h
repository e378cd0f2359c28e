// Finds the black and white points of a white balance from few exact counts.
//
// A sample of the pixels tells roughly where the points are. A few levels around them are then
// counted in all pixels, and the rule is applied to these counts where they are enough to decide
// it.
#ifndef PIXTOLA_PROCESS_PIXELS_WHITE_BALANCE_SEARCH_H_
#define PIXTOLA_PROCESS_PIXELS_WHITE_BALANCE_SEARCH_H_

#include <array>
#include <cstdint>

#include "process/pixels/white_balance_kernels.h"
#include "process/pixels/white_balance_points.h"

namespace pixtola {

/// The sums of a channel's pixels as the rule forms them from one end. Sum k has k + 1 levels:
/// those from 0 up at the dark end, those from 254 down at the bright end.
struct EndSums {
  static constexpr std::int64_t kUnknown = -1;

  std::int64_t& operator[](std::int32_t k) { return sums[static_cast<std::uint32_t>(k)]; }
  std::int64_t operator[](std::int32_t k) const { return sums[static_cast<std::uint32_t>(k)]; }

  std::array<std::int64_t, 256> sums;
  std::int32_t last;  ///< the last sum that there is, which is always known
};

/// What some sums tell about the first one whose next one is farther from the clip count.
struct Decision {
  bool is_decided;
  /// Where it is decided: the sum after that first one, or -1 if there is none.
  std::int32_t point;
  /// Where it is not: one of the unknown sums between these two decides it.
  std::int32_t after;
  std::int32_t before;
};

/// Decides as if all the sums were known, or not at all. Sums and clip count are below 2^31.
Decision Decide(const EndSums& sums, std::uint32_t clip_count);

/// The points of all channels by the rule, by the windows that `kernels` count where these find
/// them.
ChannelPoints FindPointsBySearch(const WhiteBalanceKernels& kernels, const std::uint8_t* pixels,
                                 std::uint32_t pixel_count, std::uint32_t channels,
                                 std::uint32_t clip_count);

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_WHITE_BALANCE_SEARCH_H_
