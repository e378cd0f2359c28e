#include "imaging/nearest_color.h"

#include <algorithm>
#include <limits>

#include "imaging/argb.h"

namespace pixtola::portable {

NearestColor::NearestColor(const Palette& palette, unsigned usable)
    : count_(std::min(usable, palette.count)) {
  for (unsigned i = 0; i < count_; ++i) {
    red_[i] = static_cast<std::int32_t>(Red(palette.entries[i]));
    green_[i] = static_cast<std::int32_t>(Green(palette.entries[i]));
    blue_[i] = static_cast<std::int32_t>(Blue(palette.entries[i]));
  }
}

unsigned NearestColor::Search(std::uint32_t rgb) const {
  const auto red = static_cast<std::int32_t>(Red(rgb));
  const auto green = static_cast<std::int32_t>(Green(rgb));
  const auto blue = static_cast<std::int32_t>(Blue(rgb));
  // Distance and index in one number, so that the least number is the first of the nearest: a
  // distance has 18 bits, an index 8.
  std::int32_t best = std::numeric_limits<std::int32_t>::max();
  for (unsigned i = 0; i < count_; ++i) {
    const std::int32_t r = red_[i] - red;
    const std::int32_t g = green_[i] - green;
    const std::int32_t b = blue_[i] - blue;
    best = std::min(best, (r * r + g * g + b * b) << 8 | static_cast<std::int32_t>(i));
  }
  return count_ > 0 ? static_cast<unsigned>(best & 0xFF) : 0;
}

}  // namespace pixtola::portable
