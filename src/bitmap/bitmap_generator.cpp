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

CBitmapGenerator::CBitmapGenerator(const ImageView& pixels, Gdiplus::PixelFormat format,
                                   Resolution resolution, const Gdiplus::ColorPalette* palette) {
  Rows rows;
  status = PrepareRows(pixels, rows);
  if (status != Gdiplus::Ok) return;
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(pixels.width), static_cast<INT>(pixels.height));
  // The platform takes rows to write to, but this bitmap is only ever read.
  Gdiplus::Bitmap over_rows(whole.Width, whole.Height, static_cast<INT>(rows.image.stride), format,
                            const_cast<BYTE*>(rows.image.first_row));
  status = over_rows.GetLastStatus();
  if (status != Gdiplus::Ok) return;
  over_rows.SetResolution(resolution.x, resolution.y);

  Gdiplus::GpBitmap* made = nullptr;
  const Gdiplus::ColorPalette* chosen_palette =
      IsIndexed(format) ? ChoosePalette(format, palette) : nullptr;
  if (IsIndexed(format)) {
    if (chosen_palette != nullptr) over_rows.SetPalette(chosen_palette);
    stream = EncodeToMemory(over_rows, PxtFileTypeBmp);
    if (stream != nullptr) {
      const platform::DecodeWithoutLimit without_limit;  // the pixels are there already
      status = Flat::GdipCreateBitmapFromStream(stream.get(), &made);
      if (status == Gdiplus::Ok) bitmap.reset(made);
      return;
    }
    // Without an encoded copy the rows are copied like those of other formats.
  }

  status = Flat::GdipCreateBitmapFromScan0(whole.Width, whole.Height, 0, format, nullptr, &made);
  if (status != Gdiplus::Ok) return;
  bitmap.reset(made);
  if (chosen_palette != nullptr) Flat::GdipSetImagePalette(made, chosen_palette);
  status = CopyPixels(over_rows, made, whole, format);
  if (status == Gdiplus::Ok) {
    Flat::GdipBitmapSetResolution(made, resolution.x, resolution.y);
  } else {
    bitmap.reset();
  }
}

NativeBitmap CBitmapGenerator::Detach() { return std::exchange(bitmap, nullptr); }

}  // namespace pixtola
