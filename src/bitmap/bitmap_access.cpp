#include "bitmap/bitmap_access.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace pixtola {

std::optional<PalettePointer> CopyPalette(Gdiplus::Bitmap& bitmap) {
  const INT size = bitmap.GetPaletteSize();
  if (size <= 0) return PalettePointer();
  // Zeroed: a palette that cannot be fetched counts as having no entries.
  const std::size_t block_size =
      std::max(sizeof(Gdiplus::ColorPalette), static_cast<std::size_t>(size));
  PalettePointer palette(static_cast<Gdiplus::ColorPalette*>(std::calloc(block_size, 1)));
  if (palette == nullptr) return std::nullopt;
  bitmap.GetPalette(palette.get(), size);
  return palette;
}

}  // namespace pixtola
