// The initial size of the stream that an image is encoded into.

#include "bitmap/bitmap_stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/reference_pixels.h"
#include "support/test_bitmap.h"
#include "support/test_formats.h"

namespace pixtola::test {
namespace {

/// An 8-bit bitmap with a palette of so many entries.
BitmapPointer EightBit(INT width, INT height, std::size_t colors) {
  BitmapPointer bitmap(new Gdiplus::Bitmap(width, height, PixelFormat8bppIndexed));
  const std::vector<Gdiplus::ARGB> entries(colors, 0xFF123456);
  EXPECT_EQ(bitmap->SetPalette(PaletteBlock(0, entries).get()), Gdiplus::Ok);
  return bitmap;
}

TEST(EncodedSizeEstimate, IsThatOfTheUncompressedImage) {
  // A block of 256 colours takes 8 + 4 * 256 = 1,032 bytes.
  const BitmapPointer bitmap = EightBit(100, 100, 256);
  for (const PxtFileType type : kPlatformTypes) {
    EXPECT_EQ(EncodedSizeEstimate(*bitmap, type), 11'076U) << type;
  }
}

TEST(EncodedSizeEstimate, IsAtLeast4096) {
  const BitmapPointer bitmap = EightBit(10, 10, 256);
  for (const PxtFileType type : kPlatformTypes) {
    EXPECT_EQ(EncodedSizeEstimate(*bitmap, type), 4096U) << type;
  }
  // 8 + 4 * 2 of palette, 44, and rows of 4 bytes.
  EXPECT_EQ(EncodedSizeEstimate(*EightBit(4, 1008, 2), PxtFileTypeBmp), 4096U);
  EXPECT_EQ(EncodedSizeEstimate(*EightBit(4, 1009, 2), PxtFileTypeBmp), 4096U);
  EXPECT_EQ(EncodedSizeEstimate(*EightBit(4, 1010, 2), PxtFileTypeBmp), 4100U);
}

TEST(EncodedSizeEstimate, IsNoneForTiff) {
  for (const PxtFileType type : kTiffTypes) {
    EXPECT_EQ(EncodedSizeEstimate(*EightBit(10, 10, 256), type), 0U) << type;
    EXPECT_EQ(EncodedSizeEstimate(*EightBit(1000, 1000, 256), type), 0U) << type;
  }
}

TEST(EncodedSizeEstimate, CountsRowsWithTheirPadding) {
  struct Example {
    Gdiplus::PixelFormat format;
    std::uint64_t row_bytes;  ///< of 1001 pixels, padded
  };
  // 1001 / 8 = 125.1, 1001 / 2 = 500.5
  for (const auto& [format, row_bytes] :
       {Example{PixelFormat1bppIndexed, 128}, Example{PixelFormat4bppIndexed, 504},
        Example{PixelFormat8bppIndexed, 1004}, Example{PixelFormat16bppRGB555, 2004},
        Example{PixelFormat16bppRGB565, 2004}, Example{PixelFormat24bppRGB, 3004},
        Example{PixelFormat32bppRGB, 4004}, Example{PixelFormat32bppARGB, 4004},
        Example{PixelFormat32bppPARGB, 4004}}) {
    const BitmapPointer bitmap(new Gdiplus::Bitmap(1001, 500, format));
    ASSERT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
    const auto palette_size = static_cast<std::uint64_t>(bitmap->GetPaletteSize());
    EXPECT_EQ(EncodedSizeEstimate(*bitmap, PxtFileTypePng), palette_size + 44 + 500 * row_bytes)
        << NameOf(format);
  }
}

TEST(EncodedSizeEstimate, HasMoreThan32Bits) {
  // Its rows are never looked at: 40000 x 40000 pixels of 24 bits over one of them.
  Bytes row(120'000);
  Gdiplus::Bitmap bitmap(40'000, 40'000, 120'000, PixelFormat24bppRGB, row.data());
  ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  const auto palette_size = static_cast<std::uint64_t>(bitmap.GetPaletteSize());
  EXPECT_EQ(EncodedSizeEstimate(bitmap, PxtFileTypeBmp), 4'800'000'044U + palette_size);
}

TEST(EncodedSizeEstimate, ManagesWithoutAnImage) {
  Gdiplus::Bitmap none(0, 0, PixelFormat24bppRGB);
  EXPECT_EQ(EncodedSizeEstimate(none, PxtFileTypeBmp), 4096U);
  EXPECT_EQ(EncodedSizeEstimate(none, PxtFileTypeTiffLzw), 0U);
}

}  // namespace
}  // namespace pixtola::test
