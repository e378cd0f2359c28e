// What the tags of a TIFF page say about its pixels.
#ifndef PIXTOLA_PLATFORM_SHARED_TIFF_PAGE_H_
#define PIXTOLA_PLATFORM_SHARED_TIFF_PAGE_H_

#include <tiffio.h>

#include <cstdint>

#include "shared/export.h"

namespace pixtola::platform {

enum class TiffAlpha { kNone, kAssociated, kUnassociated };

struct TiffPage {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t bits = 1;  ///< of a sample
  std::uint16_t samples = 1;
  std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
  std::uint16_t compression = COMPRESSION_NONE;
  std::uint16_t sample_format = SAMPLEFORMAT_UINT;
  std::uint16_t fill_order = FILLORDER_MSB2LSB;
  bool is_planar = false;  ///< each sample has strips or tiles of its own
  /// An extra sample that is not declared alpha is not, and neither is the only sample.
  TiffAlpha alpha = TiffAlpha::kNone;
  // Strips are as wide as the page and no higher.
  bool is_tiled = false;
  std::uint32_t chunk_width = 0;  ///< of a strip or tile
  std::uint32_t chunk_height = 0;

  bool has_size() const {
    return width != 0 && height != 0 && chunk_width != 0 && chunk_height != 0;
  }

  // What is decoded in all, in pixels: tiles may reach beyond the page, as far as the file says.
  std::uint64_t decoded_width() const { return RoundedUp(width, chunk_width); }
  std::uint64_t decoded_height() const {
    return is_tiled ? RoundedUp(height, chunk_height) : height;
  }

 private:
  static std::uint64_t RoundedUp(std::uint64_t size, std::uint64_t unit) {
    return unit == 0 ? size : (size + unit - 1) / unit * unit;
  }
};

/// The current page of `tiff`. Absent tags have their defaults; what the samples mean is guessed as
/// libtiff does it.
PIXTOLA_PLATFORM_SHARED TiffPage ReadTiffPage(TIFF* tiff);

}  // namespace pixtola::platform

#endif  // PIXTOLA_PLATFORM_SHARED_TIFF_PAGE_H_
