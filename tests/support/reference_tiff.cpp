#include "support/reference_tiff.h"

#include <cmath>

#include "shared/tiff_files.h"
#include "support/platform_expectations.h"
#include "support/tiff_bytes.h"

namespace pixtola::test {
namespace {

constexpr Gdiplus::ARGB kOpaque = 0xFF000000;

struct Tags {
  explicit Tags(TIFF* tiff) {
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &horizontal_dpi);
    TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &vertical_dpi);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
  }
  unsigned depth() const { return unsigned{bits} * samples; }

  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t bits = 1;
  std::uint16_t samples = 1;
  std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
  std::uint16_t compression = COMPRESSION_NONE;
  float horizontal_dpi = 0;
  float vertical_dpi = 0;
};

bool ReadDeepPixels(TIFF* tiff, TiffPicture& picture) {
  std::vector<std::uint32_t> raster(std::size_t{picture.width} * picture.height);
  if (TIFFReadRGBAImageOriented(tiff, picture.width, picture.height, raster.data(),
                                ORIENTATION_TOPLEFT, 0) == 0) {
    return false;
  }
  picture.format = PixelFormat32bppARGB;
  for (const std::uint32_t abgr : raster) {
    picture.pixels.push_back(static_cast<std::uint8_t>(TIFFGetB(abgr)));
    picture.pixels.push_back(static_cast<std::uint8_t>(TIFFGetG(abgr)));
    picture.pixels.push_back(static_cast<std::uint8_t>(TIFFGetR(abgr)));
    picture.pixels.push_back(static_cast<std::uint8_t>(TIFFGetA(abgr)));
  }
  return true;
}

/// The colour map of a page with one, otherwise the gray ramp of 8 bits or nothing. False when
/// pages like this are refused.
bool ReadPalette(TIFF* tiff, const Tags& tags, std::vector<Gdiplus::ARGB>& palette) {
  if (tags.photometric == PHOTOMETRIC_PALETTE) {
    std::uint16_t* maps[3] = {};
    if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) == 0) return false;
    // The file's map has as many entries as a sample has values, pixels may name more.
    const unsigned stored = 1U << tags.bits;
    for (unsigned i = 0; i < 1U << tags.depth(); ++i) {
      Gdiplus::ARGB color = kOpaque;
      for (unsigned channel = 0; channel < 3; ++channel) {
        const unsigned value = i < stored && maps[channel] != nullptr ? maps[channel][i] : 0U;
        color |= (value & 0xFF) << (16 - 8 * channel);
      }
      palette.push_back(color);
    }
    return true;
  }
  if (tags.depth() == 1) {
    return tags.photometric == PHOTOMETRIC_MINISBLACK || tags.photometric == PHOTOMETRIC_MINISWHITE;
  }
  for (unsigned i = 0; i < 256; ++i) palette.push_back(kOpaque | i << 16 | i << 8 | i);
  return tags.depth() == 8;
}

bool ReadIndexedPixels(TIFF* tiff, const Tags& tags, TiffPicture& picture) {
  const unsigned depth = tags.depth();
  if (depth != 1 && depth != 4 && depth != 8) return false;
  picture.format = depth == 1   ? PixelFormat1bppIndexed
                   : depth == 4 ? PixelFormat4bppIndexed
                                : PixelFormat8bppIndexed;
  if (!ReadPalette(tiff, tags, picture.palette)) return false;
  const bool is_inverted =
      depth == 1 && (picture.palette.empty() ? tags.photometric == PHOTOMETRIC_MINISWHITE
                                             : picture.palette[0] == 0xFFFFFFFF);
  if (is_inverted || picture.palette.empty()) picture.palette = {kOpaque, 0xFFFFFFFF};

  const auto line_size = static_cast<std::size_t>(TIFFScanlineSize(tiff));
  const std::size_t row_bytes = PackedBytes(picture.format, picture.width);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    Bytes line(std::max(line_size, row_bytes));
    const int result = TIFFReadScanline(tiff, line.data(), y, 0);
    if (result < 0) return false;
    line.resize(row_bytes);
    for (std::uint8_t& byte : line) byte = static_cast<std::uint8_t>(is_inverted ? ~byte : byte);
    const unsigned used = picture.width * depth % 8;
    if (used != 0) line.back() &= static_cast<std::uint8_t>(0xFF00U >> used);
    picture.pixels.insert(picture.pixels.end(), line.begin(), line.end());
  }
  return true;
}

bool IsClose(float a, float b) { return std::abs(a - b) <= kDpiTolerance; }

}  // namespace

std::optional<TiffPicture> ReferenceTiffPage(const Bytes& file, std::int32_t page) {
  TiffMemory memory(file);
  const TiffPointer tiff = memory.Open("r");
  if (tiff == nullptr) return std::nullopt;
  for (std::int32_t i = 0; i < page; ++i) {
    if (TIFFReadDirectory(tiff.get()) == 0) return std::nullopt;
  }
  const Tags tags(tiff.get());
  if (!pixtola::platform::IsTiffCompressionRead(tags.compression)) return std::nullopt;
  TiffPicture picture;
  picture.width = tags.width;
  picture.height = tags.height;
  const bool has_resolution = tags.horizontal_dpi > 0 && tags.vertical_dpi > 0;
  picture.horizontal_dpi = has_resolution ? tags.horizontal_dpi : 96;
  picture.vertical_dpi = has_resolution ? tags.vertical_dpi : 96;
  const bool is_read = tags.depth() > 8 ? ReadDeepPixels(tiff.get(), picture)
                                        : ReadIndexedPixels(tiff.get(), tags, picture);
  return is_read ? std::optional(picture) : std::nullopt;
}

std::string DifferenceFrom(const std::optional<TiffPicture>& picture, Gdiplus::Bitmap* bitmap) {
  if (!picture.has_value()) return bitmap == nullptr ? "" : "read instead of refused";
  if (bitmap == nullptr) return "refused";
  if (bitmap->GetWidth() != picture->width || bitmap->GetHeight() != picture->height) {
    return "size " + std::to_string(bitmap->GetWidth()) + " x " +
           std::to_string(bitmap->GetHeight());
  }
  if (bitmap->GetPixelFormat() != picture->format) {
    return "format with " + std::to_string(BitsOf(bitmap->GetPixelFormat())) + " bits";
  }
  if (!IsClose(bitmap->GetHorizontalResolution(), picture->horizontal_dpi) ||
      !IsClose(bitmap->GetVerticalResolution(), picture->vertical_dpi)) {
    return "resolution " + std::to_string(bitmap->GetHorizontalResolution()) + " x " +
           std::to_string(bitmap->GetVerticalResolution());
  }
  if (!picture->palette.empty() && PaletteOf(*bitmap) != picture->palette) return "palette";
  return PixelsOf(*bitmap) == picture->pixels ? "" : "pixels";
}

}  // namespace pixtola::test
