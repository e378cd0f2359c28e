#include "io/tiff_writer.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <utility>

#include "base/memory.h"
#include "base/owners.h"
#include "bitmap/bitmap_access.h"
#include "format/file_types.h"
#include "io/tiff_client.h"
#include "io/tiff_lock.h"

namespace pixtola {

namespace {

/// libtiff's code, or 0 for file types that are not TIFF.
std::uint16_t CompressionOf(PxtFileType type) {
  const FileType* found = FindFileType(type);
  return found != nullptr ? found->tiff_compression : std::uint16_t{0};
}

struct SampleLayout {
  std::uint16_t bits_per_sample = 0;  ///< 0 for formats that cannot be written
  std::uint16_t samples_per_pixel = 0;
};

SampleLayout SamplesOf(Gdiplus::PixelFormat format) {
  switch (format) {
    case PixelFormat1bppIndexed:
      return {1, 1};
    case PixelFormat4bppIndexed:
      return {4, 1};
    case PixelFormat8bppIndexed:
      return {8, 1};
    case PixelFormat24bppRGB:
      return {8, 3};
    case PixelFormat32bppRGB:
    case PixelFormat32bppARGB:
    case PixelFormat32bppPARGB:
      return {8, 4};
    default:
      return {};
  }
}

void SetColorMap(TIFF* tiff, const Gdiplus::ColorPalette& palette) {
  constexpr std::uint32_t kRepeatByte = 257;  // the byte in both halves of 16 bits
  std::uint16_t red[256] = {};
  std::uint16_t green[256] = {};
  std::uint16_t blue[256] = {};
  const UINT count = std::min<UINT>(palette.Count, 256);
  const Gdiplus::ARGB* entries = palette.Entries;
  for (UINT i = 0; i < count; ++i) {
    red[i] = static_cast<std::uint16_t>((entries[i] >> 16 & 0xFF) * kRepeatByte);
    green[i] = static_cast<std::uint16_t>((entries[i] >> 8 & 0xFF) * kRepeatByte);
    blue[i] = static_cast<std::uint16_t>((entries[i] & 0xFF) * kRepeatByte);
  }
  TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue);
}

std::uint16_t ChoosePhotometric(std::uint16_t bits_per_sample,
                                const Gdiplus::ColorPalette* palette) {
  if (bits_per_sample == 1) {
    const bool is_black_first = palette != nullptr && (palette->Entries[0] & 0xFFFFFF) == 0;
    return is_black_first ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_MINISWHITE;
  }
  return palette != nullptr ? PHOTOMETRIC_PALETTE : PHOTOMETRIC_RGB;
}

/// Copies the rows, as they lie in the bitmap, into strips and writes these.
bool WriteStrips(TIFF* tiff, std::uint32_t height, const Gdiplus::BitmapData& data) {
  std::uint32_t rows_per_strip = 0;
  const tmsize_t strip_size = TIFFStripSize(tiff);
  if (TIFFGetField(tiff, TIFFTAG_ROWSPERSTRIP, &rows_per_strip) == 0 || strip_size <= 0 ||
      height == 0) {
    return false;
  }
  // An image lower than one strip has a strip of its own height.
  rows_per_strip = std::min(rows_per_strip, height);
  if (rows_per_strip == 0) return false;
  const auto row_bytes =
      std::min<std::uint64_t>(static_cast<std::uint64_t>(strip_size) / rows_per_strip,
                              static_cast<std::uint64_t>(std::abs(std::int64_t{data.Stride})));
  const auto strip = AllocateZeroed<std::uint8_t>(static_cast<std::uint64_t>(strip_size));
  if (strip == nullptr) return false;

  const auto* source = static_cast<const std::uint8_t*>(data.Scan0);
  std::uint32_t strip_index = 0;
  for (std::uint32_t y = 0; y < height; ++strip_index) {
    const std::uint32_t rows = std::min(rows_per_strip, height - y);
    for (std::uint32_t i = 0; i < rows; ++i, ++y) {
      std::memcpy(strip.get() + i * row_bytes, source + std::ptrdiff_t{data.Stride} * y, row_bytes);
    }
    // Kept on purpose: the last strip is as long as the others; the rows past the image's end hold
    // what the strip before had there.
    if (TIFFWriteEncodedStrip(tiff, strip_index, strip.get(), strip_size) < 0) return false;
  }
  return true;
}

int WriteTiffPage(TIFF* tiff, std::uint16_t compression, Gdiplus::Bitmap& bitmap) {
  const UINT width = bitmap.GetWidth();
  const UINT height = bitmap.GetHeight();
  const float dpi_x = bitmap.GetHorizontalResolution();
  const float dpi_y = bitmap.GetVerticalResolution();
  const Gdiplus::PixelFormat format = bitmap.GetPixelFormat();
  const SampleLayout samples = SamplesOf(format);
  if (samples.bits_per_sample == 0) return 0;
  const ReadLock lock(bitmap, width, height, format);
  if (!lock.is_locked()) return 0;
  std::optional<PalettePointer> copied_palette = CopyPalette(bitmap);
  if (!copied_palette.has_value()) return 0;
  PalettePointer palette = *std::move(copied_palette);
  if (palette != nullptr && palette->Count == 0) palette = nullptr;

  const std::uint16_t photometric = ChoosePhotometric(samples.bits_per_sample, palette.get());
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, samples.bits_per_sample);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples.samples_per_pixel);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
  if (photometric == PHOTOMETRIC_PALETTE) SetColorMap(tiff, *palette);
  TIFFSetField(tiff, TIFFTAG_XRESOLUTION, static_cast<double>(dpi_x));
  TIFFSetField(tiff, TIFFTAG_YRESOLUTION, static_cast<double>(dpi_y));
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));

  // Kept on purpose: 24- and 32-bit pixels are stored in the bitmap's byte order, blue first.
  if (!WriteStrips(tiff, height, lock.data())) return 0;
  TIFFWriteDirectory(tiff);  // kept on purpose: its result is not looked at
  return 1;
}

}  // namespace

int WriteTiffFile(Gdiplus::Bitmap* bitmap, PxtFileType type, const wchar_t* path) {
  const std::scoped_lock lock(TiffLock);
  const std::uint16_t compression = CompressionOf(type);
  if (path == nullptr || bitmap == nullptr || compression == 0) return 0;
  SilenceTiff();
  const TiffFile tiff(platform::OpenTiffFile(path, "w"));
  return tiff != nullptr ? WriteTiffPage(tiff.get(), compression, *bitmap) : 0;
}

int WriteTiffStream(Gdiplus::Bitmap* bitmap, PxtFileType type, IStream* stream) {
  const std::scoped_lock lock(TiffLock);
  if (stream == nullptr) return 0;
  const auto reference = Share(*stream);
  const std::uint16_t compression = CompressionOf(type);
  if (bitmap == nullptr || compression == 0) return 0;
  SilenceTiff();
  const TiffFile tiff = OpenTiffStream(*stream, "w");
  return tiff != nullptr ? WriteTiffPage(tiff.get(), compression, *bitmap) : 0;
}

}  // namespace pixtola
