// Reads the pages of a TIFF with libtiff: as they are where their samples allow it, through
// libtiff's conversion to RGBA otherwise. Colour profiles are left out.
#include <algorithm>
#include <cmath>

#include "codecs/codec.h"
#include "codecs/resolution.h"
#include "codecs/tiff_memory.h"
#include "codecs/tiff_pages.h"
#include "shared/decode_limit.h"
#include "shared/tiff_files.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

float DotsPerInch(TIFF* tiff, std::uint32_t tag) {
  float resolution = 0;
  std::uint16_t unit = RESUNIT_INCH;
  if (TIFFGetField(tiff, tag, &resolution) == 0) return kDefaultDotsPerInch;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
  if (unit == RESUNIT_CENTIMETER) resolution = static_cast<float>(double{resolution} * 2.54);
  const bool is_usable = unit == RESUNIT_INCH || unit == RESUNIT_CENTIMETER;
  return is_usable && std::isfinite(resolution) && resolution > 0 ? resolution
                                                                  : kDefaultDotsPerInch;
}

/// Whether what libtiff has to decode for the page, as RGBA, keeps to the decode limit. Tiles may
/// reach beyond the page, as far as the file says.
bool IsAllowed(const TiffPage& page) {
  const std::uint64_t width = page.decoded_width();
  const std::uint64_t height = page.decoded_height();
  constexpr std::uint64_t kMaxPixels = std::uint64_t{1} << 60;
  return width <= kMaxPixels / height &&
         platform::IsDecodeAllowed(width, height, width * height * sizeof(std::uint32_t));
}

/// The current page of `tiff`.
Status DecodePage(TIFF* tiff, std::unique_ptr<BitmapObject>& bitmap) {
  const TiffPage page = platform::ReadTiffPage(tiff);
  if (!page.has_size() || !platform::IsTiffCompressionRead(page.compression)) {
    return Gdiplus::GenericError;
  }
  if (!IsAllowed(page) || !platform::IsTiffPageAllowed(tiff)) return Gdiplus::OutOfMemory;
  // The resolution first: reading through RGBA changes tags.
  const float dpi_x = DotsPerInch(tiff, TIFFTAG_XRESOLUTION);
  const float dpi_y = DotsPerInch(tiff, TIFFTAG_YRESOLUTION);
  const Status status = IsStraightTiffPage(tiff, page) ? DecodeStraightTiffPage(tiff, page, bitmap)
                                                       : DecodeTiffPageAsRgba(tiff, page, bitmap);
  if (status != Gdiplus::Ok) return status;
  bitmap->dpi_x = dpi_x;
  bitmap->dpi_y = dpi_y;
  return Gdiplus::Ok;
}

UINT CountPages(EncodedBytes bytes) {
  TiffSource source{bytes};
  const TiffHandle tiff = OpenTiffForReading(source);
  // libtiff follows the directories only as long as it meets new ones, and does not count those
  // whose end is missing; the first page of such a file can be read all the same.
  return tiff != nullptr ? std::max<UINT>(1, TIFFNumberOfDirectories(tiff.get())) : 1;
}

Status DecodeNthPage(EncodedBytes bytes, UINT index, std::unique_ptr<BitmapObject>& bitmap) {
  bitmap = nullptr;
  TiffSource source{bytes};
  const TiffHandle tiff = OpenTiffForReading(source, index);
  if (tiff == nullptr || (index > 0 && TIFFSetDirectory(tiff.get(), index) == 0)) {
    return Gdiplus::GenericError;
  }
  return DecodePage(tiff.get(), bitmap);
}

}  // namespace

bool IsTiff(EncodedBytes bytes) {
  if (bytes.size() < 4) return false;
  // 42 marks the classic format, 43 the one with 64-bit offsets.
  const bool is_little = bytes[0] == 'I' && bytes[1] == 'I' && bytes[3] == 0;
  const bool is_big = bytes[0] == 'M' && bytes[1] == 'M' && bytes[2] == 0;
  const std::uint8_t version = is_little ? bytes[2] : bytes[3];
  return (is_little || is_big) && (version == 42 || version == 43);
}

Status DecodeTiff(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap) {
  return DecodeNthPage(bytes, 0, bitmap);
}

constexpr FrameFunctions kTiffFrames = {Gdiplus::FrameDimensionPage, CountPages, DecodeNthPage};

}  // namespace pixtola::portable
