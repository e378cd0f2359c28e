// Reads the first page of a TIFF through libtiff's RGBA interface.
//
// Pages with an alpha channel become 32bppARGB, all others 24bppRGB. What libtiff cannot read of a
// damaged page stays as it is in the raster; further pages and colour profiles are left out.
#include <algorithm>
#include <cmath>

#include "codecs/codec.h"
#include "codecs/resolution.h"
#include "codecs/tiff_memory.h"
#include "decode_limit.h"
#include "tiff_files.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

enum class Alpha { kNone, kAssociated, kUnassociated };

/// libtiff looks at the first extra sample only, and takes an unspecified one for alpha; here such
/// a sample is no alpha.
Alpha AlphaOf(TIFF* tiff) {
  std::uint16_t count = 0;
  std::uint16_t* types = nullptr;
  if (TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &types) == 0 || count == 0 ||
      types == nullptr) {
    return Alpha::kNone;
  }
  if (types[0] == EXTRASAMPLE_ASSOCALPHA) return Alpha::kAssociated;
  return types[0] == EXTRASAMPLE_UNASSALPHA ? Alpha::kUnassociated : Alpha::kNone;
}

/// libtiff would multiply colours by unassociated alpha, and what is rounded away there does not
/// come back. Told that the alpha is associated, it gives the samples as they are.
bool KeepColors(TIFF* tiff) {
  std::uint16_t count = 0;
  std::uint16_t* types = nullptr;
  if (TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &types) == 0) return false;
  const HeapBytes copy = AllocateBytes(std::uint64_t{count} * sizeof(std::uint16_t));
  if (copy == nullptr) return false;
  auto* changed = reinterpret_cast<std::uint16_t*>(copy.get());
  std::copy(types, types + count, changed);
  changed[0] = EXTRASAMPLE_ASSOCALPHA;
  return TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, count, changed) != 0;
}

/// A colour that was multiplied by `alpha`, without it.
BYTE Straight(std::uint32_t color, std::uint32_t alpha) {
  if (alpha == 0) return static_cast<BYTE>(color);
  return static_cast<BYTE>(std::min((color * 255 + alpha / 2) / alpha, std::uint32_t{255}));
}

void CopyRow(const std::uint32_t* raster, Alpha alpha, std::uint32_t width, BYTE* row) {
  for (std::uint32_t x = 0; x < width; ++x) {
    const std::uint32_t pixel = raster[x];
    std::uint32_t red = TIFFGetR(pixel);
    std::uint32_t green = TIFFGetG(pixel);
    std::uint32_t blue = TIFFGetB(pixel);
    const std::uint32_t opacity = TIFFGetA(pixel);
    if (alpha == Alpha::kAssociated) {
      red = Straight(red, opacity);
      green = Straight(green, opacity);
      blue = Straight(blue, opacity);
    }
    *row++ = static_cast<BYTE>(blue);
    *row++ = static_cast<BYTE>(green);
    *row++ = static_cast<BYTE>(red);
    if (alpha != Alpha::kNone) *row++ = static_cast<BYTE>(opacity);
  }
}

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
  bitmap = nullptr;
  TiffSource source{bytes};
  const TiffHandle tiff = OpenTiffForReading(source);
  if (tiff == nullptr) return Gdiplus::GenericError;

  std::uint16_t compression = COMPRESSION_NONE;
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_COMPRESSION, &compression);
  if (!platform::IsTiffCompressionRead(compression)) return Gdiplus::GenericError;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
  if (width == 0 || height == 0) return Gdiplus::GenericError;
  // Asked with the raster's own size: it is never smaller than the bitmap's.
  const std::uint64_t pixels = std::uint64_t{width} * height;
  if (pixels > std::uint64_t{1} << 60 ||
      !platform::IsDecodeAllowed(width, height, pixels * sizeof(std::uint32_t))) {
    return Gdiplus::OutOfMemory;
  }
  const Alpha alpha = AlphaOf(tiff.get());
  if (alpha == Alpha::kUnassociated && !KeepColors(tiff.get())) return Gdiplus::GenericError;

  auto decoded = BitmapObject::CreateForDecoder(
      width, height, alpha == Alpha::kNone ? PixelFormat24bppRGB : PixelFormat32bppARGB);
  const HeapBytes raster = AllocateZeroedBytes(pixels * sizeof(std::uint32_t));
  if (decoded == nullptr || raster == nullptr) return Gdiplus::OutOfMemory;
  decoded->dpi_x = DotsPerInch(tiff.get(), TIFFTAG_XRESOLUTION);
  decoded->dpi_y = DotsPerInch(tiff.get(), TIFFTAG_YRESOLUTION);

  auto* raster_pixels = reinterpret_cast<std::uint32_t*>(raster.get());
  if (TIFFReadRGBAImageOriented(tiff.get(), width, height, raster_pixels, ORIENTATION_TOPLEFT, 0) ==
      0) {
    return Gdiplus::GenericError;
  }
  for (std::uint32_t y = 0; y < height; ++y) {
    CopyRow(raster_pixels + std::size_t{width} * y, alpha, width, decoded->Row(y));
  }
  bitmap = std::move(decoded);
  return Gdiplus::Ok;
}

}  // namespace pixtola::portable
