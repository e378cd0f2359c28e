#include "bitmap/bitmap_generator.h"

#include <utility>

#include "bitmap/encoded_copy.h"
#include "bitmap/rows.h"
#include "format/palettes.h"
#include "format/pixel_format.h"

namespace pixtola {

namespace {

namespace Flat = Gdiplus::DllExports;

/// The palette that an indexed bitmap gets; null leaves the platform's own.
const Gdiplus::ColorPalette* ChoosePalette(Gdiplus::PixelFormat format,
                                           const Gdiplus::ColorPalette* palette) {
  if (palette != nullptr) return palette;
  if (format == PixelFormat1bppIndexed) return GetDefaultBilevelPalette();
  if (format == PixelFormat8bppIndexed) return GetDefaultGrayPalette();
  return nullptr;
}

/// Copies all pixels of `source` to `destination`, which has the same size and format.
Gdiplus::Status CopyPixels(Gdiplus::Bitmap& source, Gdiplus::GpBitmap* destination,
                           const Gdiplus::Rect& whole, Gdiplus::PixelFormat format) {
  Gdiplus::BitmapData data{};
  Gdiplus::Status status =
      source.LockBits(&whole, Gdiplus::ImageLockModeRead, source.GetPixelFormat(), &data);
  if (status != Gdiplus::Ok) return status;
  // The source's locked rows serve as the buffer from which the destination is written.
  Gdiplus::BitmapData buffer{};
  buffer.Stride = data.Stride;
  buffer.Scan0 = data.Scan0;
  status = Flat::GdipBitmapLockBits(
      destination, &whole, Gdiplus::ImageLockModeWrite | Gdiplus::ImageLockModeUserInputBuf, format,
      &buffer);
  if (status == Gdiplus::Ok) Flat::GdipBitmapUnlockBits(destination, &buffer);
  source.UnlockBits(&data);
  return status;
}

}  // namespace

CBitmapGenerator::CBitmapGenerator(const std::uint8_t* data, Gdiplus::PixelFormat format,
                                   std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                                   float dpi_x, float dpi_y, const Gdiplus::ColorPalette* palette) {
  Rows rows;
  status = PrepareRows(data, format, width, height, stride, rows);
  if (status != Gdiplus::Ok) return;

  const Gdiplus::Rect whole(0, 0, static_cast<INT>(width), static_cast<INT>(height));
  // The platform takes rows to write to, but this bitmap is only ever read.
  Gdiplus::Bitmap over_rows(whole.Width, whole.Height, static_cast<INT>(rows.stride), format,
                            const_cast<BYTE*>(rows.first));
  status = over_rows.GetLastStatus();
  if (status != Gdiplus::Ok) return;
  over_rows.SetResolution(dpi_x, dpi_y);

  const Gdiplus::ColorPalette* chosen_palette =
      IsIndexed(format) ? ChoosePalette(format, palette) : nullptr;
  if (IsIndexed(format)) {
    if (chosen_palette != nullptr) over_rows.SetPalette(chosen_palette);
    stream = EncodeToMemory(over_rows, PxtFileTypeBmp);
    if (stream != nullptr) {
      const platform::DecodeWithoutLimit without_limit;  // the pixels are there already
      status = Flat::GdipCreateBitmapFromStream(stream, &bitmap);
      if (status != Gdiplus::Ok) bitmap = nullptr;
      return;
    }
    // Without an encoded copy the rows are copied like those of other formats.
  }

  status = Flat::GdipCreateBitmapFromScan0(whole.Width, whole.Height, 0, format, nullptr, &bitmap);
  if (status != Gdiplus::Ok) return;
  if (chosen_palette != nullptr) Flat::GdipSetImagePalette(bitmap, chosen_palette);
  status = CopyPixels(over_rows, bitmap, whole, format);
  if (status == Gdiplus::Ok) {
    Flat::GdipBitmapSetResolution(bitmap, dpi_x, dpi_y);
  } else {
    Flat::GdipDisposeImage(Detach());
  }
}

CBitmapGenerator::~CBitmapGenerator() {
  if (bitmap != nullptr) Flat::GdipDisposeImage(bitmap);
  if (stream != nullptr) stream->Release();
}

Gdiplus::GpBitmap* CBitmapGenerator::Detach() { return std::exchange(bitmap, nullptr); }

}  // namespace pixtola
