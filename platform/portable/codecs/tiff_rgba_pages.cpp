// TIFF pages through libtiff's conversion to RGBA, a strip or tile at a time.
#include <algorithm>
#include <limits>

#include "codecs/tiff_pages.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

/// libtiff would multiply colours by unassociated alpha, and what is lost by rounding there does
/// not come back. Told that the alpha is associated, it gives the samples as they are.
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

void CopyRow(const std::uint32_t* raster, TiffAlpha alpha, std::uint32_t width, BYTE* pixels) {
  for (std::uint32_t x = 0; x < width; ++x) {
    const std::uint32_t pixel = raster[x];
    std::uint32_t red = TIFFGetR(pixel);
    std::uint32_t green = TIFFGetG(pixel);
    std::uint32_t blue = TIFFGetB(pixel);
    const std::uint32_t opacity = TIFFGetA(pixel);
    if (alpha == TiffAlpha::kAssociated) {
      red = StraightTiffColor(red, opacity);
      green = StraightTiffColor(green, opacity);
      blue = StraightTiffColor(blue, opacity);
    }
    *pixels++ = static_cast<BYTE>(blue);
    *pixels++ = static_cast<BYTE>(green);
    *pixels++ = static_cast<BYTE>(red);
    if (alpha != TiffAlpha::kNone) *pixels++ = static_cast<BYTE>(opacity);
  }
}

/// The state of a conversion, which libtiff prepares once for a page.
class RgbaImage {
 public:
  RgbaImage(TIFF* tiff, const TiffPage& page) {
    char message[1024];
    constexpr int kGoOnAfterErrors = 0;
    is_ready_ = TIFFRGBAImageOK(tiff, message) != 0 &&
                TIFFRGBAImageBegin(&image_, tiff, kGoOnAfterErrors, message) != 0;
    // Equal orientations: rows as they are stored.
    image_.orientation = ORIENTATION_TOPLEFT;
    image_.req_orientation = ORIENTATION_TOPLEFT;
    // Up to the right edge of the last tile, so that whole tiles can be read.
    image_.width = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(page.decoded_width(), std::numeric_limits<std::uint32_t>::max()));
  }
  RgbaImage(const RgbaImage&) = delete;
  RgbaImage& operator=(const RgbaImage&) = delete;
  ~RgbaImage() {
    if (is_ready_) TIFFRGBAImageEnd(&image_);
  }

  bool is_ready() const { return is_ready_; }

  /// Rows of the strip or tile that begins at (x, y), in full width: libtiff 4.5 confuses the rows
  /// of 16-bit gray when it has to leave out the right part of a tile.
  bool Read(std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height,
            std::uint32_t* raster) {
    image_.col_offset = static_cast<int>(x);
    image_.row_offset = static_cast<int>(y);
    return TIFFRGBAImageGet(&image_, raster, width, height) != 0;
  }

 private:
  TIFFRGBAImage image_{};
  bool is_ready_ = false;
};

}  // namespace

Status DecodeTiffPageAsRgba(TIFF* tiff, const TiffPage& page,
                            std::unique_ptr<BitmapObject>& bitmap) {
  auto decoded = BitmapObject::CreateForDecoder(
      page.width, page.height,
      page.alpha == TiffAlpha::kNone ? PixelFormat24bppRGB : PixelFormat32bppARGB);
  if (decoded == nullptr) return Gdiplus::OutOfMemory;
  const HeapBytes raster =
      AllocateBytes(std::uint64_t{page.chunk_width} * std::min(page.chunk_height, page.height) *
                    sizeof(std::uint32_t));
  if (raster == nullptr) return Gdiplus::OutOfMemory;
  auto* raster_pixels = reinterpret_cast<std::uint32_t*>(raster.get());

  if (page.alpha == TiffAlpha::kUnassociated && !KeepColors(tiff)) return Gdiplus::GenericError;
  RgbaImage image(tiff, page);
  if (!image.is_ready()) return Gdiplus::GenericError;
  const std::uint32_t bytes_per_pixel = decoded->bits_per_pixel() / 8;
  bool is_anything_read = false;
  for (std::uint64_t top = 0; top < page.height; top += page.chunk_height) {
    for (std::uint64_t left = 0; left < page.width; left += page.chunk_width) {
      const auto x = static_cast<std::uint32_t>(left);
      const auto y = static_cast<std::uint32_t>(top);
      const std::uint32_t width = std::min(page.chunk_width, page.width - x);
      const std::uint32_t height = std::min(page.chunk_height, page.height - y);
      std::fill_n(raster_pixels, std::size_t{page.chunk_width} * height, 0);
      if (!image.Read(x, y, page.chunk_width, height, raster_pixels)) continue;
      is_anything_read = true;
      for (std::uint32_t i = 0; i < height; ++i) {
        CopyRow(raster_pixels + std::size_t{page.chunk_width} * i, page.alpha, width,
                decoded->Row(y + i) + std::size_t{x} * bytes_per_pixel);
      }
    }
  }
  if (!is_anything_read) return Gdiplus::GenericError;
  bitmap = std::move(decoded);
  return Gdiplus::Ok;
}

}  // namespace pixtola::portable
