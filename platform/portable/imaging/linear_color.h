// Colours of the 48- and 64-bit formats: linear light in 13 bits.
//
// The platform documents that these formats hold linear light with 1.0 = 0x2000, but not the exact
// curve between it and the 8-bit channels: ours is the sRGB standard's, rounded to the nearest
// value, so that 8 bits survive the round trip.
#ifndef PIXTOLA_PORTABLE_LINEAR_COLOR_H_
#define PIXTOLA_PORTABLE_LINEAR_COLOR_H_

#include <cstdint>

#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

constexpr unsigned kLinearOne = 0x2000;

/// Straight alpha; no channel is above kLinearOne.
struct LinearColor {
  std::uint16_t blue;
  std::uint16_t green;
  std::uint16_t red;
  std::uint16_t alpha;
};

LinearColor LinearFromArgb(Gdiplus::ARGB color);
Gdiplus::ARGB ArgbFromLinear(const LinearColor& color);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_LINEAR_COLOR_H_
