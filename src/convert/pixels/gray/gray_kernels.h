// The inner steps of the conversions to gray: rows of pixels to gray values, and their histogram.
#ifndef PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_KERNELS_H_
#define PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_KERNELS_H_

#include <array>
#include <cstdint>

#include "format/histogram.h"

namespace pixtola {

/// Gray of each value of an 8-bit pixel.
using GrayLookup = std::array<std::uint8_t, 256>;

inline constexpr std::uint32_t kPairCounters = 256 * 256;

struct GrayKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  // One row each: `count` pixels from `source` to as many gray values.
  void (*row_from_1_bit)(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray);
  void (*row_from_8_bit)(const std::uint8_t* source, std::uint32_t count, const GrayLookup& lookup,
                         std::uint8_t* gray);
  void (*row_from_24_bit)(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray);
  void (*row_from_32_bit)(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray);

  /// Adds `count` values to what `levels` holds. `pairs` is null or has kPairCounters counters,
  /// where a kernel may count values two at a time: a value followed by another one belongs to
  /// pairs[other * 256 + value]. The definition leaves them alone.
  void (*count_levels)(const std::uint8_t* values, std::uint64_t count, Histogram& levels,
                       std::uint32_t* pairs);
};

/// The definition.
extern const GrayKernels kPlainGrayKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const GrayKernels& BestGrayKernels();

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_KERNELS_H_
