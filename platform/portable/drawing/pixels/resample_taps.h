// The source samples that one destination sample is made of.
#ifndef PIXTOLA_PORTABLE_RESAMPLE_TAPS_H_
#define PIXTOLA_PORTABLE_RESAMPLE_TAPS_H_

#include <cstdint>

namespace pixtola::portable {

/// Taps `first` to `first + count` of an axis. The coefficients sum up to 2^shift exactly, their
/// magnitudes to less than 1.5 times that. `shift` is 14 to 16.
struct ResampleTaps {
  /// `count` of them; a zero follows where the count is odd, so that they can be taken in pairs.
  const std::int16_t* coefficients;
  std::uint32_t first;
  std::uint32_t count;
  std::uint32_t shift;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_RESAMPLE_TAPS_H_
