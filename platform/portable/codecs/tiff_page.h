// The tags of a TIFF page that decide how its pixels are read.
#ifndef PIXTOLA_PORTABLE_TIFF_PAGE_H_
#define PIXTOLA_PORTABLE_TIFF_PAGE_H_

#include <cstdint>

#include "codecs/codec.h"
#include "codecs/tiff_handles.h"

namespace pixtola::portable {

enum class TiffAlpha { kNone, kAssociated, kUnassociated };

struct TiffPage {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t bits = 1;  ///< of a sample
  std::uint16_t samples = 1;
  std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
  std::uint16_t compression = COMPRESSION_NONE;
  std::uint16_t sample_format = SAMPLEFORMAT_UINT;
  bool is_planar = false;  ///< each sample has strips or tiles of its own
  /// An extra sample that is not said to be alpha is none, and neither is the only sample.
  TiffAlpha alpha = TiffAlpha::kNone;
  // Strips are as wide as the page.
  bool is_tiled = false;
  std::uint32_t chunk_width = 0;   ///< of a strip or tile, at least 1
  std::uint32_t chunk_height = 0;  ///< the same

  /// What is decoded in all, in pixels: tiles reach beyond the page.
  std::uint64_t DecodedWidth() const { return RoundedUp(width, chunk_width); }
  std::uint64_t DecodedHeight() const {
    return is_tiled ? RoundedUp(height, chunk_height) : height;
  }

 private:
  static std::uint64_t RoundedUp(std::uint64_t size, std::uint64_t unit) {
    return (size + unit - 1) / unit * unit;
  }
};

/// The current page of `tiff`. False when it has no size.
bool ReadTiffPage(TIFF* tiff, TiffPage& page);

// Both ways to read the pixels. They take pages that ReadTiffPage has read, and make rows as they
// are stored: the orientation tag is not applied. What libtiff cannot read of a damaged page stays
// 0; a page of which it can read nothing is an error.

/// Whether the samples can be had without a conversion by libtiff.
bool IsStraightTiffPage(TIFF* tiff, const TiffPage& page);

/// Palettes and gray of 1 to 8 bits become indexed bitmaps, RGB and RGBA of 8 bits 24bppRGB and
/// 32bppARGB.
Gdiplus::Status DecodeStraightTiffPage(TIFF* tiff, const TiffPage& page,
                                       std::unique_ptr<BitmapObject>& bitmap);

/// Everything else, by libtiff's conversion to RGBA: pages with alpha become 32bppARGB, all others
/// 24bppRGB.
Gdiplus::Status DecodeTiffPageAsRgba(TIFF* tiff, const TiffPage& page,
                                     std::unique_ptr<BitmapObject>& bitmap);

/// A colour channel that was multiplied by `alpha`, without it; a clear pixel keeps its colour.
BYTE StraightTiffColor(std::uint32_t color, std::uint32_t alpha);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_TIFF_PAGE_H_
