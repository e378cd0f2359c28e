// The two ways in which rectangles are clipped to an image, one axis at a time.
#ifndef PIXTOLA_FORMAT_RECTANGLE_H_
#define PIXTOLA_FORMAT_RECTANGLE_H_

#include <algorithm>
#include <cstdint>

#include "platform.h"

namespace pixtola {

/// right - left or bottom - top, in 32 bits, which wrap for rectangles that were not clipped.
constexpr std::uint32_t Extent(LONG low, LONG high) {
  return static_cast<std::uint32_t>(high) - static_cast<std::uint32_t>(low);
}

/// Clips an axis whose `high` is exclusive to `size` pixels, compared as signed.
inline void ClipExclusive(LONG& low, LONG& high, std::uint32_t size) {
  high = std::min(high, static_cast<LONG>(size));
  low = std::max<LONG>(std::min(low, high), 0);
}

/// Clips an axis whose `high` is inclusive; false when fewer than two pixels are left.
inline bool ClipInclusive(LONG& low, LONG& high, std::uint32_t size) {
  low = std::max<LONG>(low, 0);
  if (high >= static_cast<LONG>(size)) high = static_cast<LONG>(size - 1);
  // Kept on purpose: strict, so that a single column or row is refused.
  return low < high;
}

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_RECTANGLE_H_
