#include "format/palettes.h"

namespace pixtola {

namespace {

constexpr PaletteOf256 MakeBilevelPalette() {
  PaletteOf256 palette{};
  palette.Flags = Gdiplus::PaletteFlagsGrayScale;
  palette.Count = 2;
  palette.SetEntry(0, 0xFF000000U);
  palette.SetEntry(1, 0xFFFFFFFFU);
  return palette;
}

constexpr PaletteOf256 MakeGrayPalette() {
  PaletteOf256 palette{};
  palette.Flags = Gdiplus::PaletteFlagsGrayScale;
  palette.Count = 256;
  for (UINT i = 0; i < 256; ++i) palette.SetEntry(i, 0xFF000000U + i * 0x010101U);
  return palette;
}

// Initialised at compile time: there is no first use to race on.
constexpr PaletteOf256 kBilevelPalette = MakeBilevelPalette();
constexpr PaletteOf256 kGrayPalette = MakeGrayPalette();

}  // namespace

const Gdiplus::ColorPalette* GetDefaultBilevelPalette() { return &kBilevelPalette; }

const Gdiplus::ColorPalette* GetDefaultGrayPalette() { return &kGrayPalette; }

}  // namespace pixtola
