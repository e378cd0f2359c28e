#include "convert/gray_lookup.h"

#include <algorithm>
#include <cstdint>

#include "format/gray_weights.h"

namespace pixtola {

GrayLookup MakeGrayLookup(const Gdiplus::ColorPalette& palette) {
  GrayLookup lookup{};
  const UINT count = std::min<UINT>(palette.Count, 256);
  const Gdiplus::ARGB* entries = palette.Entries;
  for (UINT i = 0; i < count; ++i) {
    const Gdiplus::ARGB color = entries[i];
    lookup[i] = GrayValue(static_cast<std::uint8_t>(color >> 16),
                          static_cast<std::uint8_t>(color >> 8), static_cast<std::uint8_t>(color));
  }
  return lookup;
}

}  // namespace pixtola
