#include "codecs/tiff_page.h"

#include <algorithm>

namespace pixtola::portable {

namespace {

/// libtiff looks at the first extra sample only; so does this.
TiffAlpha AlphaOf(TIFF* tiff) {
  std::uint16_t count = 0;
  std::uint16_t* types = nullptr;
  if (TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &types) == 0 || count == 0 ||
      types == nullptr) {
    return TiffAlpha::kNone;
  }
  if (types[0] == EXTRASAMPLE_ASSOCALPHA) return TiffAlpha::kAssociated;
  return types[0] == EXTRASAMPLE_UNASSALPHA ? TiffAlpha::kUnassociated : TiffAlpha::kNone;
}

bool IsFax(std::uint16_t compression) {
  return compression == COMPRESSION_CCITTRLE || compression == COMPRESSION_CCITTRLEW ||
         compression == COMPRESSION_CCITTFAX3 || compression == COMPRESSION_CCITTFAX4;
}

/// For pages that do not say what their samples mean, as libtiff guesses.
std::uint16_t LikelyPhotometric(const TiffPage& page) {
  if (page.samples >= 3) return PHOTOMETRIC_RGB;
  return IsFax(page.compression) ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
}

}  // namespace

bool ReadTiffPage(TIFF* tiff, TiffPage& page) {
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &page.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &page.height);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &page.bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &page.samples);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &page.compression);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &page.sample_format);
  if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &page.photometric) == 0) {
    page.photometric = LikelyPhotometric(page);
  }
  std::uint16_t planar = PLANARCONFIG_CONTIG;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
  page.is_planar = planar == PLANARCONFIG_SEPARATE && page.samples > 1;
  page.alpha = page.samples > 1 ? AlphaOf(tiff) : TiffAlpha::kNone;
  page.is_tiled = TIFFIsTiled(tiff) != 0;
  page.chunk_width = page.width;
  page.chunk_height = page.height;
  if (page.is_tiled) {
    TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &page.chunk_width);
    TIFFGetField(tiff, TIFFTAG_TILELENGTH, &page.chunk_height);
  } else {
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &page.chunk_height);
    page.chunk_height = std::min(page.chunk_height, page.height);
  }
  return page.width != 0 && page.height != 0 && page.chunk_width != 0 && page.chunk_height != 0;
}

BYTE StraightTiffColor(std::uint32_t color, std::uint32_t alpha) {
  if (alpha == 0) return static_cast<BYTE>(color);
  return static_cast<BYTE>(std::min((color * 255 + alpha / 2) / alpha, std::uint32_t{255}));
}

}  // namespace pixtola::portable
