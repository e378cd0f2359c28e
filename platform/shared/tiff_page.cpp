#include "shared/tiff_page.h"

#include <algorithm>

namespace pixtola::platform {

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

TiffPage ReadTiffPage(TIFF* tiff) {
  TiffPage page;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &page.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &page.height);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &page.bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &page.samples);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &page.compression);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &page.sample_format);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_FILLORDER, &page.fill_order);
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
  return page;
}

}  // namespace pixtola::platform
