#include "imaging/palette.h"

#include "imaging/argb.h"

namespace pixtola::portable {

namespace {

/// The 16 system colours: eight dark ones, then light gray, then the seven bright ones.
Gdiplus::ARGB SystemColor(unsigned i) {
  if (i == 8) return MakeArgb(255, 0xC0, 0xC0, 0xC0);
  const unsigned level = i < 8 ? 0x80 : 0xFF;
  return MakeArgb(255, (i & 1) != 0 ? level : 0, (i & 2) != 0 ? level : 0,
                  (i & 4) != 0 ? level : 0);
}

/// The halftone palette: the system colours, a gap of transparent entries, and a 6 x 6 x 6 cube.
Gdiplus::ARGB HalftoneColor(unsigned i) {
  if (i < 16) return SystemColor(i);
  if (i < 40) return 0;
  const unsigned cell = i - 40;
  return MakeArgb(255, cell / 36 % 6 * 0x33, cell / 6 % 6 * 0x33, cell % 6 * 0x33);
}

}  // namespace

Palette GrayPalette(unsigned bits) {
  Palette palette;
  palette.flags = Gdiplus::PaletteFlagsGrayScale;
  palette.count = 1U << bits;
  for (unsigned i = 0; i < palette.count; ++i) {
    const unsigned level = i * 255 / (palette.count - 1);
    palette.entries[i] = MakeArgb(255, level, level, level);
  }
  return palette;
}

Palette DefaultPalette(Gdiplus::PixelFormat format) {
  if (format == PixelFormat1bppIndexed) return GrayPalette(1);
  Palette palette;
  if (format == PixelFormat4bppIndexed) {
    palette.count = 16;
    for (unsigned i = 0; i < 16; ++i) palette.entries[i] = SystemColor(i);
  } else if (format == PixelFormat8bppIndexed) {
    palette.flags = Gdiplus::PaletteFlagsHalftone;
    palette.count = 256;
    for (unsigned i = 0; i < 256; ++i) palette.entries[i] = HalftoneColor(i);
  }
  return palette;
}

}  // namespace pixtola::portable
