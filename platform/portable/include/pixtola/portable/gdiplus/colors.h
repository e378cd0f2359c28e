// Colours and palettes.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_COLORS_H_
#define PIXTOLA_PORTABLE_GDIPLUS_COLORS_H_

#include "pixtola/portable/windows_types.h"

namespace Gdiplus {

using ARGB = DWORD;

enum PaletteFlags { PaletteFlagsHasAlpha = 1, PaletteFlagsGrayScale = 2, PaletteFlagsHalftone = 4 };

struct ColorPalette {
  UINT Flags;
  UINT Count;
  ARGB Entries[1];  ///< Count entries follow one another
};

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_COLORS_H_
