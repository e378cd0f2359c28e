// Encoded images in streams: extracted as bitmaps, saved in another form, converted.

#include <optional>
#include <utility>

#include "base/owners.h"
#include "base/platform_object.h"
#include "bitmap/bitmap_access.h"
#include "bitmap/wrapped_bitmap.h"
#include "convert/bitmap_transfer.h"
#include "format/pixel_format.h"
#include "io/tiff_reader.h"
#include "platform.h"

namespace pixtola {

namespace {

bool SeekToStart(IStream& stream) {
  return SUCCEEDED(stream.Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr));
}

/// A bitmap with pixels of its own, made of what the platform decodes from the stream.
BitmapPointer ExtractWithPlatform(IStream& stream) {
  const auto decoded = MakePlatformObject<Gdiplus::Bitmap>(&stream);
  if (decoded == nullptr || decoded->GetLastStatus() != Gdiplus::Ok) return nullptr;
  const UINT width = decoded->GetWidth();
  const UINT height = decoded->GetHeight();
  const Gdiplus::PixelFormat format = decoded->GetPixelFormat();
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(width), static_cast<INT>(height));
  // Kept on purpose: the lock is not released. It ends with the bitmap.
  Gdiplus::BitmapData data{};
  if (decoded->LockBits(&whole, Gdiplus::ImageLockModeRead, format, &data) != Gdiplus::Ok) {
    return nullptr;
  }
  PalettePointer palette;
  if (IsIndexed(format)) {
    std::optional<PalettePointer> copied = CopyPalette(*decoded);
    if (!copied.has_value()) return nullptr;
    palette = *std::move(copied);
  }
  Resolution resolution;
  resolution.x = decoded->GetHorizontalResolution();
  resolution.y = decoded->GetVerticalResolution();
  return MakeWrappedBitmap({static_cast<const std::uint8_t*>(data.Scan0), width, height,
                            data.Stride, BitsPerPixel(format)},
                           format, resolution, palette.get());
}

BitmapPointer Extract(IStream& stream) {
  if (!SeekToStart(stream)) return nullptr;
  BitmapPointer bitmap = ReadTiffStream(&stream);
  if (bitmap != nullptr) return bitmap;
  return SeekToStart(stream) ? ExtractWithPlatform(stream) : nullptr;
}

}  // namespace

}  // namespace pixtola

int PxtExtractBitmap(IStream* stream, Gdiplus::Bitmap** bitmap) {
  if (stream == nullptr || bitmap == nullptr) return 0;
  *bitmap = nullptr;
  *bitmap = pixtola::Extract(*stream).release();
  return *bitmap != nullptr ? 1 : 0;
}

int PxtSaveStreamToFile(IStream* stream, PxtFileType type, const wchar_t* path) {
  if (stream == nullptr || path == nullptr) return 0;
  const auto bitmap = pixtola::Extract(*stream);
  return PxtSaveBitmapToFile(bitmap.get(), type, path);
}

int PxtSaveStreamToStream(IStream* stream, IStream** result, PxtFileType type) {
  if (stream == nullptr || result == nullptr) return 0;
  const auto bitmap = pixtola::Extract(*stream);
  return PxtSaveBitmapToStream(bitmap.get(), result, type);
}

int PxtStreamToStream(PxtConversionMethod method, IStream* stream, PxtFileType type,
                      IStream** result) {
  if (stream == nullptr || result == nullptr) return 0;
  auto bitmap = pixtola::Extract(*stream);
  if (bitmap != nullptr) bitmap = pixtola::ConvertBitmap(method, *bitmap);
  return PxtSaveBitmapToStream(bitmap.get(), result, type);
}
