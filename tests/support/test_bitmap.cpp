#include "support/test_bitmap.h"

#include <cstring>

namespace pixtola::test {

unsigned BitsOf(Gdiplus::PixelFormat format) { return (static_cast<unsigned>(format) >> 8) & 0xFF; }

std::size_t PackedBytes(Gdiplus::PixelFormat format, UINT width) {
  return (std::size_t{width} * BitsOf(format) + 7) / 8;
}

BitmapPointer MakeBitmap(UINT width, UINT height, Gdiplus::PixelFormat format, const Bytes& rows) {
  BitmapPointer bitmap(
      new Gdiplus::Bitmap(static_cast<INT>(width), static_cast<INT>(height), format));
  Gdiplus::BitmapData data{};
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(width), static_cast<INT>(height));
  if (bitmap->LockBits(&whole, Gdiplus::ImageLockModeWrite, format, &data) != Gdiplus::Ok) {
    return nullptr;
  }
  const std::size_t row_bytes = PackedBytes(format, width);
  for (UINT y = 0; y < height; ++y) {
    std::memcpy(static_cast<std::uint8_t*>(data.Scan0) + std::ptrdiff_t{data.Stride} * y,
                rows.data() + y * row_bytes, row_bytes);
  }
  bitmap->UnlockBits(&data);
  return bitmap;
}

Bytes PixelsOf(Gdiplus::Bitmap& bitmap, Gdiplus::PixelFormat format) {
  const UINT width = bitmap.GetWidth();
  const UINT height = bitmap.GetHeight();
  Gdiplus::BitmapData data{};
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(width), static_cast<INT>(height));
  if (bitmap.LockBits(&whole, Gdiplus::ImageLockModeRead, format, &data) != Gdiplus::Ok) return {};
  const std::size_t row_bytes = PackedBytes(format, width);
  const std::size_t used_bits = std::size_t{width} * BitsOf(format) % 8;
  Bytes pixels(row_bytes * height);
  for (UINT y = 0; y < height; ++y) {
    std::uint8_t* row = pixels.data() + y * row_bytes;
    std::memcpy(row, static_cast<const std::uint8_t*>(data.Scan0) + std::ptrdiff_t{data.Stride} * y,
                row_bytes);
    if (used_bits != 0) row[row_bytes - 1] &= static_cast<std::uint8_t>(0xFF00 >> used_bits);
  }
  bitmap.UnlockBits(&data);
  return pixels;
}

Bytes PixelsOf(Gdiplus::Bitmap& bitmap) { return PixelsOf(bitmap, bitmap.GetPixelFormat()); }

std::vector<Gdiplus::ARGB> PaletteOf(Gdiplus::Bitmap& bitmap) {
  const INT size = bitmap.GetPaletteSize();
  std::vector<std::uint32_t> words(static_cast<std::size_t>(size) / 4);
  if (words.size() < 3 || bitmap.GetPalette(reinterpret_cast<Gdiplus::ColorPalette*>(words.data()),
                                            size) != Gdiplus::Ok) {
    return {};
  }
  return {words.begin() + 2, words.begin() + 2 + words[1]};
}

BitmapReceiver Receive(BitmapPointer& bitmap) { return BitmapReceiver(bitmap); }

}  // namespace pixtola::test
