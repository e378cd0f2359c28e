#include "io/tiff_reader.h"

#include <tiffio.h>

#include <algorithm>
#include <mutex>
#include <utility>

#include "base/owners.h"
#include "base/pixel_memory.h"
#include "bitmap/wrapped_bitmap.h"
#include "format/palettes.h"
#include "format/stride.h"
#include "io/tiff_client.h"
#include "io/tiff_lock.h"

namespace pixtola {

namespace {

/// The tags of a page that decide how it is read, with their values when absent.
struct Page {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t bits_per_sample = 1;
  std::uint16_t samples_per_pixel = 1;
  std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
  std::uint16_t compression = COMPRESSION_NONE;
  // Kept on purpose: taken as dots per inch whatever the file's resolution unit.
  Resolution resolution;

  std::uint32_t depth() const { return std::uint32_t{bits_per_sample} * samples_per_pixel; }
};

Page ReadTags(TIFF* tiff) {
  Page page;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &page.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &page.height);
  TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &page.bits_per_sample);
  TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &page.samples_per_pixel);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &page.photometric);
  TIFFGetField(tiff, TIFFTAG_COMPRESSION, &page.compression);
  TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &page.resolution.x);
  TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &page.resolution.y);
  return page;
}

/// `tiff` was opened for its header only.
bool SelectPage(TIFF* tiff, std::uint32_t page_index) {
  // Kept on purpose: an index that is negative as a signed number means the first page.
  const auto pages_to_skip = std::max(static_cast<std::int32_t>(page_index), 0);
  if (!platform::AreTiffDirectoriesAllowed(tiff, static_cast<std::uint32_t>(pages_to_skip)) ||
      TIFFSetDirectory(tiff, 0) == 0) {
    return false;
  }
  for (std::int32_t i = 0; i < pages_to_skip; ++i) {
    if (TIFFReadDirectory(tiff) == 0) return false;
  }
  return true;
}

/// Pages of more than 8 bits per pixel: libtiff makes 8-bit RGBA of whatever they hold.
BitmapPointer ReadDeepPage(TIFF* tiff, const Page& page) {
  const std::uint64_t pixels = std::uint64_t{page.width} * page.height;
  if (!platform::IsDecodeAllowed(page.width, page.height, pixels * 4)) return nullptr;
  const auto raster = AllocatePixels<std::uint32_t>(pixels);
  if (raster == nullptr || TIFFReadRGBAImageOriented(tiff, page.width, page.height, raster.get(),
                                                     ORIENTATION_TOPLEFT, 0) == 0) {
    return nullptr;
  }
  auto* bytes = reinterpret_cast<std::uint8_t*>(raster.get());
  for (std::uint64_t i = 0; i < pixels; ++i) std::swap(bytes[4 * i], bytes[4 * i + 2]);
  const std::uint32_t stride = PxtCalcStride(page.width, PixelFormat32bppARGB);
  return MakeWrappedBitmap({bytes, page.width, page.height, SignedStride(stride), 32},
                           PixelFormat32bppARGB, page.resolution, nullptr);
}

/// The page's colour map as a palette; false when it has none.
bool ReadColorMap(TIFF* tiff, const Page& page, PaletteOf256& palette) {
  std::uint16_t* red = nullptr;
  std::uint16_t* green = nullptr;
  std::uint16_t* blue = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue) == 0 ||
      (red == nullptr && green == nullptr && blue == nullptr)) {
    return false;
  }
  // libtiff's arrays follow the bits of one sample, which may be fewer than those of a pixel.
  const std::uint32_t mapped = 1U << page.bits_per_sample;
  // Kept on purpose: the low byte of the 16-bit values. It is right for maps whose values repeat
  // one byte in both halves, which is how they are written here.
  const auto low_byte = [mapped](const std::uint16_t* values, std::uint32_t i) -> std::uint32_t {
    return values != nullptr && i < mapped ? values[i] & 0xFFU : 0U;
  };
  palette.Flags = Gdiplus::PaletteFlagsHasAlpha;
  palette.Count = 1U << page.depth();
  for (std::uint32_t i = 0; i < palette.Count; ++i) {
    palette.SetEntry(
        i, 0xFF000000U | low_byte(red, i) << 16 | low_byte(green, i) << 8 | low_byte(blue, i));
  }
  return true;
}

/// How the samples of a page with at most 8 bits per pixel become a bitmap.
struct IndexedLayout {
  Gdiplus::PixelFormat format = PixelFormatUndefined;
  bool has_palette = false;
  PaletteOf256 color_map{};
  bool is_inverted = false;
};

/// False for pages that are not read here.
bool ChooseLayout(TIFF* tiff, const Page& page, IndexedLayout& layout) {
  switch (page.depth()) {
    case 1:
      layout.format = PixelFormat1bppIndexed;
      break;
    case 4:
      layout.format = PixelFormat4bppIndexed;
      break;
    case 8:
      layout.format = PixelFormat8bppIndexed;
      break;
    default:
      return false;
  }
  if (page.photometric == PHOTOMETRIC_PALETTE) {
    if (!ReadColorMap(tiff, page, layout.color_map)) return false;
    layout.has_palette = true;
  } else {
    const bool is_gray =
        page.photometric == PHOTOMETRIC_MINISWHITE || page.photometric == PHOTOMETRIC_MINISBLACK;
    // 8-bit pages are taken as gray whatever they say.
    if (page.depth() == 4 || (page.depth() == 1 && !is_gray)) return false;
  }
  // 1-bit images always come out with black as 0.
  if (page.depth() == 1) {
    layout.is_inverted = layout.has_palette ? (layout.color_map.Entries[0] & 0xFFFFFF) == 0xFFFFFF
                                            : page.photometric == PHOTOMETRIC_MINISWHITE;
    if (layout.is_inverted) layout.has_palette = false;
  }
  return true;
}

/// Reads all rows, `stride` bytes each; false when a row could not be decoded.
bool ReadScanlines(TIFF* tiff, std::uint32_t height, std::size_t stride, std::uint8_t* rows) {
  int result = 1;
  for (std::uint32_t y = 0; y < height && result >= 1; ++y) {
    result = TIFFReadScanline(tiff, rows + y * stride, y, 0);
  }
  return result >= 0;
}

BitmapPointer ReadIndexedPage(TIFF* tiff, const Page& page) {
  IndexedLayout layout;
  if (!ChooseLayout(tiff, page, layout)) return nullptr;
  const tmsize_t scanline_size = TIFFScanlineSize(tiff);
  if (scanline_size <= 0 || scanline_size > INT32_MAX) return nullptr;
  const auto stride = static_cast<std::uint32_t>(scanline_size);
  const std::uint64_t size = std::uint64_t{page.height} * stride;
  if (!platform::IsDecodeAllowed(page.width, page.height, size)) return nullptr;
  const auto rows = AllocatePixels<std::uint8_t>(size);
  if (rows == nullptr || !ReadScanlines(tiff, page.height, stride, rows.get())) return nullptr;
  if (layout.is_inverted) {
    std::transform(rows.get(), rows.get() + size, rows.get(),
                   [](std::uint8_t byte) { return static_cast<std::uint8_t>(~byte); });
  }
  const Gdiplus::ColorPalette* palette = nullptr;
  if (layout.has_palette) palette = &layout.color_map;
  return MakeWrappedBitmap(
      {rows.get(), page.width, page.height, std::ptrdiff_t{stride}, page.depth()}, layout.format,
      page.resolution, palette);
}

BitmapPointer ReadTiffPage(TIFF* tiff, std::uint32_t page_index) {
  if (!SelectPage(tiff, page_index)) return nullptr;
  const Page page = ReadTags(tiff);
  if (!platform::IsTiffCompressionRead(page.compression) || !platform::IsTiffPageAllowed(tiff)) {
    return nullptr;
  }
  return page.depth() > 8 ? ReadDeepPage(tiff, page) : ReadIndexedPage(tiff, page);
}

}  // namespace

BitmapPointer ReadTiffFile(const wchar_t* path, std::uint32_t page_index) {
  const std::scoped_lock lock(TiffLock);
  if (path == nullptr) return nullptr;
  SilenceTiff();
  // "m": not mapped into memory, where a file that is cut short meanwhile would be fatal. "h": the
  // header only, no directory yet.
  const TiffFile tiff(platform::OpenTiffFile(path, "rmh"));
  return tiff != nullptr ? ReadTiffPage(tiff.get(), page_index) : nullptr;
}

BitmapPointer ReadTiffStream(IStream* stream) {
  const std::scoped_lock lock(TiffLock);
  if (stream == nullptr) return nullptr;
  const auto reference = Share(*stream);
  SilenceTiff();
  const TiffFile tiff = OpenTiffStream(*stream, "rh");
  return tiff != nullptr ? ReadTiffPage(tiff.get(), 0) : nullptr;
}

}  // namespace pixtola
