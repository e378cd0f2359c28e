// The inner steps of the white balance: exact counts of pixels below some levels, and the stretch
// of the channels. Pixels are 1, 3 or 4 bytes, one for each channel, and follow one another.
#ifndef PIXTOLA_PROCESS_PIXELS_WHITE_BALANCE_KERNELS_H_
#define PIXTOLA_PROCESS_PIXELS_WHITE_BALANCE_KERNELS_H_

#include <array>
#include <cstdint>

namespace pixtola {

inline constexpr std::uint32_t kMaxChannels = 4;

/// Where the stretch of a channel ends: the black point and what is darker becomes 0, the white
/// point and what is brighter 255. Where black is not below white the channel stays as it is.
struct LevelPoints {
  std::uint8_t black;
  std::uint8_t white;
};
using ChannelPoints = std::array<LevelPoints, kMaxChannels>;

/// Levels in a window.
inline constexpr std::uint32_t kWindowLevels = 7;
/// The last level at which a window may start: it ends below 255.
inline constexpr std::uint32_t kLastWindowStart = 254 - kWindowLevels;
/// Windows of each channel that are counted at once.
inline constexpr std::uint32_t kWindows = 2;

/// First levels of a channel's windows.
using WindowStarts = std::array<std::uint8_t, kWindows>;
using ChannelWindowStarts = std::array<WindowStarts, kMaxChannels>;

/// What is counted of a channel.
struct WindowCounts {
  std::uint64_t up_to_254;
  /// Of window w: the values up to its first level, its second one ...
  std::array<std::array<std::uint64_t, kWindowLevels>, kWindows> up_to;
};
using ChannelWindowCounts = std::array<WindowCounts, kMaxChannels>;

struct WhiteBalanceKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  /// Finds black and white points of all channels by the rule, in the way that suits these kernels:
  /// by all levels, or by a search where windows are counted much faster.
  ChannelPoints (*find_points)(const WhiteBalanceKernels& kernels, const std::uint8_t* pixels,
                               std::uint32_t pixel_count, std::uint32_t channels,
                               std::uint32_t clip_count);

  /// Counts the values of every channel up to each level of its windows.
  void (*count_windows)(const std::uint8_t* pixels, std::uint64_t pixel_count,
                        std::uint32_t channels, const ChannelWindowStarts& starts,
                        ChannelWindowCounts& counts);

  /// Stretches every channel by its black and white points. `destination` is `source` or does not
  /// overlap it.
  void (*stretch)(const std::uint8_t* source, std::uint64_t pixel_count, std::uint32_t channels,
                  const ChannelPoints& points, std::uint8_t* destination);
};

/// The definition.
extern const WhiteBalanceKernels kPlainWhiteBalanceKernels;

/// Those for the best instruction set of the processor. They give the same bytes and counts.
const WhiteBalanceKernels& BestWhiteBalanceKernels();

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_WHITE_BALANCE_KERNELS_H_
