// The two palettes that new indexed bitmaps get, and room for a palette of 256 entries.
#ifndef PIXTOLA_FORMAT_PALETTES_H_
#define PIXTOLA_FORMAT_PALETTES_H_

#include "platform.h"

namespace pixtola {

/// A ColorPalette with room for 256 entries. GDI+'s structure declares the first one only and lets
/// the others follow it in memory, which is where `more_entries` lies.
struct PaletteOf256 : Gdiplus::ColorPalette {
  Gdiplus::ARGB more_entries[255];

  constexpr void SetEntry(UINT index, Gdiplus::ARGB color) {
    (index == 0 ? Entries[0] : more_entries[index - 1]) = color;
  }
};
static_assert(sizeof(PaletteOf256) == sizeof(Gdiplus::ColorPalette) + 255 * sizeof(Gdiplus::ARGB));

/// Opaque black, opaque white: index 1 is white, as a set bit is.
const Gdiplus::ColorPalette* GetDefaultBilevelPalette();

/// 256 opaque grays, entry i = (i, i, i).
const Gdiplus::ColorPalette* GetDefaultGrayPalette();

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_PALETTES_H_
