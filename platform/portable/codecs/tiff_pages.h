// Both ways to read the pixels of a TIFF page.
#ifndef PIXTOLA_PORTABLE_TIFF_PAGES_H_
#define PIXTOLA_PORTABLE_TIFF_PAGES_H_

#include <tiffio.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include "codecs/codec.h"
#include "shared/tiff_page.h"

namespace pixtola::portable {

using platform::TiffAlpha;
using platform::TiffPage;

// They take pages that have a size, and make rows as they are stored: the orientation tag is not
// applied. What libtiff cannot read of a damaged page stays 0; a page of which it can read nothing
// is an error.

/// Whether the samples can be read without a conversion by libtiff.
bool IsStraightTiffPage(TIFF* tiff, const TiffPage& page);

/// Palettes and gray of 1 to 8 bits become indexed bitmaps, RGB and RGBA of 8 bits 24bppRGB and
/// 32bppARGB.
Gdiplus::Status DecodeStraightTiffPage(TIFF* tiff, const TiffPage& page,
                                       std::unique_ptr<BitmapObject>& bitmap);

/// Everything else, by libtiff's conversion to RGBA: pages with alpha become 32bppARGB, all others
/// 24bppRGB.
Gdiplus::Status DecodeTiffPageAsRgba(TIFF* tiff, const TiffPage& page,
                                     std::unique_ptr<BitmapObject>& bitmap);

/// A colour channel that was multiplied by `alpha`, without it; a transparent pixel keeps its
/// colour.
inline BYTE StraightTiffColor(std::uint32_t color, std::uint32_t alpha) {
  if (alpha == 0) return static_cast<BYTE>(color);
  return static_cast<BYTE>(std::min((color * 255 + alpha / 2) / alpha, std::uint32_t{255}));
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_TIFF_PAGES_H_
