// Palettes of indexed bitmaps.
#ifndef PIXTOLA_PORTABLE_PALETTE_H_
#define PIXTOLA_PORTABLE_PALETTE_H_

#include <array>

#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

struct Palette {
  UINT flags = 0;
  UINT count = 0;  ///< 0 for formats without a palette, at most 256
  std::array<Gdiplus::ARGB, 256> entries{};

  /// Only damaged images have pixels beyond the palette; they show as opaque black.
  Gdiplus::ARGB ColorOf(unsigned index) const {
    return index < count ? entries[index] : 0xFF000000U;
  }
};

/// The palette of a new bitmap in `format`; empty for formats that have none.
Palette DefaultPalette(Gdiplus::PixelFormat format);

/// An opaque gray ramp with 2^bits entries, flags PaletteFlagsGrayScale.
Palette GrayPalette(unsigned bits);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_PALETTE_H_
