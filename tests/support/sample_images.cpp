#include "support/sample_images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>

namespace pixtola::test {

std::vector<Gdiplus::ARGB> SampleColors(Gdiplus::PixelFormat format) {
  std::vector<Gdiplus::ARGB> colors;
  const unsigned count = 1U << BitsOf(format);
  for (unsigned i = 0; i < count; ++i) {
    const Gdiplus::ARGB byte = i * 255 / (count - 1);
    const Gdiplus::ARGB green = i == 0 || i + 1 == count ? byte : 255 - byte;
    colors.push_back(0xFF000000U | byte << 16 | green << 8 | (byte * 7 & 0xFF));
  }
  colors.back() = 0xFFFFFFFFU;
  return colors;
}

BitmapPointer SampleBitmap(Gdiplus::PixelFormat format, UINT width, UINT height, Alpha alpha) {
  std::mt19937 random(static_cast<unsigned>(format));
  Bytes rows(PackedBytes(format, width) * height);
  for (std::uint8_t& byte : rows) byte = static_cast<std::uint8_t>(random());
  const unsigned bits = BitsOf(format);
  if (bits == 32 && alpha == Alpha::kOpaque) {
    for (std::size_t i = 3; i < rows.size(); i += 4) rows[i] = 255;
  }
  if (format == PixelFormat32bppPARGB) {
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = std::min(rows[i], rows[i | 3]);
  }
  if (bits == 48 || bits == 64) {
    // 16-bit words no brighter than 1.0, which is 0x2000.
    for (std::size_t i = 1; i < rows.size(); i += 2) rows[i] &= 0x1F;
    for (std::size_t i = 6; bits == 64 && i < rows.size(); i += 8) {
      rows[i] = 0;
      rows[i + 1] = 0x20;
    }
  }
  BitmapPointer bitmap = MakeBitmap(width, height, format, rows);
  if (bitmap == nullptr) return bitmap;
  EXPECT_EQ(bitmap->SetResolution(kSampleDpiX, kSampleDpiY), Gdiplus::Ok);
  if ((format & PixelFormatIndexed) != 0) {
    EXPECT_EQ(bitmap->SetPalette(PaletteBlock(0, SampleColors(format)).get()), Gdiplus::Ok);
  }
  return bitmap;
}

}  // namespace pixtola::test
