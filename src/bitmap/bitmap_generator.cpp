#include "bitmap/bitmap_generator.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/memory.h"
#include "bitmap/encoded_copy.h"
#include "format/palettes.h"
#include "format/pixel_format.h"

namespace pixtola {

namespace {

namespace Flat = Gdiplus::DllExports;

/// Top-down rows with a stride that the platform accepts: the caller's own, or a copy of them.
struct Rows {
  const std::uint8_t* first = nullptr;
  std::uint32_t stride = 0;
  Block<std::uint8_t> copy;
};

Gdiplus::Status PrepareRows(const std::uint8_t* data, Gdiplus::PixelFormat format,
                            std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                            Rows& rows) {
  const auto signed_stride = static_cast<std::int32_t>(stride);
  const bool is_bottom_up = signed_stride < 0;
  const std::uint32_t row_distance = is_bottom_up ? 0 - stride : stride;
  rows.stride = RoundUpTo4(row_distance);
  if (data == nullptr || !IsValidStride(width, BitsPerPixel(format), rows.stride)) {
    return Gdiplus::InvalidParameter;
  }
  // The stride check lets through rows that are longer than their stride (4-bit ones, and sizes
  // that wrap). Their last row would reach past the caller's image; a copy has room for it.
  const std::uint64_t longest_row =
      std::max<std::uint64_t>(rows.stride, PackedRowBytes(BitsPerPixel(format), width));
  if (!is_bottom_up && rows.stride == stride && longest_row == stride) {
    rows.first = data;
    return Gdiplus::Ok;
  }
  rows.copy = AllocateZeroed<std::uint8_t>(std::uint64_t{rows.stride} * height +
                                           (longest_row - rows.stride));
  if (rows.copy == nullptr) return Gdiplus::OutOfMemory;
  for (std::uint32_t y = 0; y < height; ++y) {
    std::memcpy(rows.copy.get() + std::size_t{y} * rows.stride,
                data + std::ptrdiff_t{signed_stride} * y, row_distance);
  }
  rows.first = rows.copy.get();
  return Gdiplus::Ok;
}

/// The palette that an indexed bitmap gets; null leaves the platform's own.
const Gdiplus::ColorPalette* ChoosePalette(Gdiplus::PixelFormat format,
                                           const Gdiplus::ColorPalette* palette) {
  if (palette != nullptr) return palette;
  if (format == PixelFormat1bppIndexed) return GetDefaultBilevelPalette();
  if (format == PixelFormat8bppIndexed) return GetDefaultGrayPalette();
  return nullptr;
}

/// Copies all rows of `source` into `destination`, which has the same size and format.
Gdiplus::Status CopyRows(Gdiplus::Bitmap& source, Gdiplus::GpBitmap* destination,
                         const Gdiplus::Rect& whole, Gdiplus::PixelFormat format) {
  Gdiplus::BitmapData data{};
  Gdiplus::Status status =
      source.LockBits(&whole, Gdiplus::ImageLockModeRead, source.GetPixelFormat(), &data);
  if (status != Gdiplus::Ok) return status;
  // The source's locked rows serve as the buffer from which the destination is written.
  status = Flat::GdipBitmapLockBits(
      destination, &whole, Gdiplus::ImageLockModeWrite | Gdiplus::ImageLockModeUserInputBuf, format,
      &data);
  if (status == Gdiplus::Ok) Flat::GdipBitmapUnlockBits(destination, &data);
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
    EncodedCopy copy;
    if (MakeEncodedCopy(over_rows, copy)) {
      stream = copy.stream;
      bitmap = copy.bitmap;
      status = copy.status;
      return;
    }
  }

  status = Flat::GdipCreateBitmapFromScan0(whole.Width, whole.Height, 0, format, nullptr, &bitmap);
  if (status != Gdiplus::Ok) return;
  if (chosen_palette != nullptr) Flat::GdipSetImagePalette(bitmap, chosen_palette);
  status = CopyRows(over_rows, bitmap, whole, format);
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
