// The colours of the recolouring jobs, for the library and its peers.
#ifndef PIXTOLA_BENCH_RECOLOR_COLORS_H_
#define PIXTOLA_BENCH_RECOLOR_COLORS_H_

#include <cstdint>

namespace pixtola::bench {

/// Colours are 0x00BBGGRR; hues match within the tolerance, where 256 is the full circle.
struct RecolorColors {
  std::uint32_t find;
  std::uint32_t replacement;
  std::uint8_t tolerance;
  int matches;  ///< about how many per cent of a page's pixels
};

/// The blue of the pages' marks becomes green.
inline constexpr RecolorColors kFewMatches = {0x00A84828, 0x00489838, 12, 3};

/// The warm paper becomes bluish.
inline constexpr RecolorColors kManyMatches = {0x00EAF1F6, 0x00F6F0E8, 18, 60};

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_RECOLOR_COLORS_H_
