// What the tests of failures share: images to work on, and what an image looks like to its users.
#ifndef PIXTOLA_TESTS_FAULTS_FAULT_IMAGES_H_
#define PIXTOLA_TESTS_FAULTS_FAULT_IMAGES_H_

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "support/platform_expectations.h"
#include "support/test_bitmap.h"

namespace pixtola::test {

/// What tests save: pixels that encoders handle differently.
inline constexpr Gdiplus::PixelFormat kSavedFormats[] = {
    PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB, PixelFormat32bppARGB};

/// What a result is filled with, or points to, before the call that may leave it alone.
inline constexpr std::uint8_t kUntouched = 0xA5;

/// An opaque colour for each index of a format.
inline std::vector<Gdiplus::ARGB> RandomColors(Gdiplus::PixelFormat format) {
  std::mt19937 random(1);
  std::vector<Gdiplus::ARGB> colors(std::size_t{1} << BitsOf(format));
  for (Gdiplus::ARGB& color : colors) color = 0xFF000000 | (random() & 0xFFFFFF);
  return colors;
}

/// Random pixels; indexed bitmaps have random opaque colours.
inline BitmapPointer RandomBitmap(UINT width, UINT height, Gdiplus::PixelFormat format) {
  BitmapPointer bitmap =
      MakeBitmap(width, height, format, RandomBytes(PackedBytes(format, width) * height));
  if (bitmap == nullptr) return bitmap;
  bitmap->SetResolution(200, 300);
  if ((format & PixelFormatIndexed) != 0) {
    bitmap->SetPalette(PaletteBlock(0, RandomColors(format)).get());
  }
  return bitmap;
}

/// Whether two resolutions are the same to whole pixels per metre, in which new indexed bitmaps
/// have theirs unless out of memory for an encoded copy.
inline bool IsSameResolution(float a, float b) { return std::abs(a - b) < kDpiTolerance; }

/// Stripes, which every compression makes smaller; indexed bitmaps have black first and opaque
/// colours.
inline BitmapPointer Stripes(UINT width, UINT height, Gdiplus::PixelFormat format) {
  const std::size_t row_bytes = PackedBytes(format, width);
  Bytes rows;
  for (UINT y = 0; y < height; ++y) {
    rows.insert(rows.end(), row_bytes, static_cast<std::uint8_t>(y / 3 % 2 == 0 ? 0 : 0xFF));
  }
  BitmapPointer bitmap = MakeBitmap(width, height, format, rows);
  if (bitmap == nullptr) return bitmap;
  bitmap->SetResolution(200, 300);
  if ((format & PixelFormatIndexed) != 0) {
    std::vector<Gdiplus::ARGB> colors(std::size_t{1} << BitsOf(format));
    for (std::size_t i = 0; i < colors.size(); ++i) {
      colors[i] = 0xFF000000 | static_cast<Gdiplus::ARGB>(i * 0xFFFFFF / (colors.size() - 1));
    }
    bitmap->SetPalette(PaletteBlock(0, colors).get());
  }
  return bitmap;
}

/// Everything that users of a bitmap see of it.
struct Picture {
  UINT width = 0;
  UINT height = 0;
  Gdiplus::PixelFormat format = PixelFormatUndefined;
  float dpi_x = 0;
  float dpi_y = 0;
  std::vector<Gdiplus::ARGB> palette;
  Bytes pixels;  ///< in the format

  friend bool operator==(const Picture&, const Picture&) = default;
};

inline Picture PictureOf(Gdiplus::Bitmap& bitmap) {
  return {bitmap.GetWidth(),
          bitmap.GetHeight(),
          bitmap.GetPixelFormat(),
          bitmap.GetHorizontalResolution(),
          bitmap.GetVerticalResolution(),
          PaletteOf(bitmap),
          PixelsOf(bitmap)};
}

/// What every way of writing TIFF keeps of a picture: libtiff and the platform count dots in
/// different units.
inline Picture AsTiffKeeps(Picture picture) {
  picture.dpi_x = 0;
  picture.dpi_y = 0;
  if (kTiffPalettesLackLowBytes) picture.palette.clear();
  return picture;
}

/// `picture` as a bitmap made of its pixels without a palette shows it.
inline Picture WithoutPalette(const Picture& picture) {
  BitmapPointer bitmap = MakeBitmap(picture.width, picture.height, picture.format, picture.pixels);
  BitmapPointer made;
  Gdiplus::BitmapData data{};
  bitmap->LockBits(nullptr, Gdiplus::ImageLockModeRead, picture.format, &data);
  PxtInsertBytes(static_cast<const std::uint8_t*>(data.Scan0), picture.format, picture.width,
                 picture.height, static_cast<std::uint32_t>(data.Stride), picture.dpi_x,
                 picture.dpi_y, Receive(made), nullptr);
  bitmap->UnlockBits(&data);
  return made != nullptr ? PictureOf(*made) : Picture{};
}

/// Whether the bitmap can be locked, which means that nobody has left it locked.
inline bool CanBeLocked(Gdiplus::Bitmap& bitmap) { return !PixelsOf(bitmap).empty(); }

/// Whether a file of the type, saved from a bitmap in the format, can be read where the platform
/// writes it: not every platform writes GIF of other than 8 bits.
inline bool IsReadableGif(PxtFileType type, Gdiplus::PixelFormat format) {
  return type != PxtFileTypeGif || format == PixelFormat8bppIndexed || !kGifEncoderKnows8BitsOnly;
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_FAULTS_FAULT_IMAGES_H_
