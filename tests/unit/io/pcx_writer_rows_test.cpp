// The PCX writer: rows, runs and palettes.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "support/pixel_rows.h"
#include "unit/io/pcx_writer_fixture.h"

namespace pixtola::test {
namespace {

TEST_F(WritePcxFileTest, PacksRunsInPiecesOf63) {
  const auto data = [&](const Bytes& row) {
    const BitmapPointer bitmap =
        MakeBitmap(static_cast<UINT>(row.size()), 1, PixelFormat8bppIndexed, row);
    Bytes bytes = WrittenData(*bitmap);
    if (bytes.size() < 769) return Bytes{};
    bytes.resize(bytes.size() - 769);
    return bytes;
  };
  const auto row = [](std::size_t first_count, unsigned first, std::size_t count, unsigned value) {
    Bytes bytes(first_count, Byte(first));
    bytes.insert(bytes.end(), count, Byte(value));
    return bytes;
  };
  EXPECT_EQ(data(row(64, 5, 0, 0)), (Bytes{0xFF, 5, 5}));
  EXPECT_EQ(data(row(62, 5, 2, 6)), (Bytes{0xFE, 5, 0xC2, 6}));
  EXPECT_EQ(data(row(63, 5, 1, 6)), (Bytes{0xFF, 5, 6}));
  EXPECT_EQ(data(row(64, 5, 4, 6)), (Bytes{0xFF, 5, 5, 0xC4, 6}));
  EXPECT_EQ(data(row(65, 5, 3, 6)), (Bytes{0xFF, 5, 0xC2, 5, 0xC3, 6}));
  EXPECT_EQ(data(row(125, 5, 3, 6)), (Bytes{0xFF, 5, 0xFE, 5, 0xC3, 6}));
  EXPECT_EQ(data(row(126, 5, 2, 6)), (Bytes{0xFF, 5, 0xFF, 5, 0xC2, 6}));
  EXPECT_EQ(data(row(127, 5, 1, 6)), (Bytes{0xFF, 5, 0xFF, 5, 5, 6}));
  EXPECT_EQ(data(row(127, 0xC5, 1, 0xC6)), (Bytes{0xFF, 0xC5, 0xFF, 0xC5, 0xC1, 0xC5, 0xC1, 0xC6}));
  EXPECT_EQ(data({0xC5, 1, 0xC5, 2}), (Bytes{0xC1, 0xC5, 1, 0xC1, 0xC5, 2}));
  EXPECT_EQ(data({7}), (Bytes{7, 0xC3, 0}));  // three bytes of padding
}

TEST_F(WritePcxFileTest, MarksSingleBytesThatLookLikeCounts) {
  Bytes row;
  Bytes expected;
  for (unsigned value = 0; value < 256; ++value) {
    row.push_back(Byte(value));
    if (value >= 0xC0) expected.push_back(0xC1);
    expected.push_back(Byte(value));
  }
  const BitmapPointer bitmap = MakeBitmap(256, 1, PixelFormat8bppIndexed, row);
  Bytes data = WrittenData(*bitmap);
  ASSERT_EQ(data.size(), 256U + 64U + 769U);
  data.resize(256 + 64);
  EXPECT_EQ(data, expected);
}

TEST_F(WritePcxFileTest, PacksAcrossPlanesButNotAcrossLines) {
  const BitmapPointer bitmap = MakeBitmap(4, 2, PixelFormat24bppRGB, Bytes(24, 7));
  EXPECT_EQ(WrittenData(*bitmap), (Bytes{0xCC, 7, 0xCC, 7}));
  const BitmapPointer indexed = MakeBitmap(8, 3, PixelFormat8bppIndexed, Bytes(24, 7));
  Bytes data = WrittenData(*indexed);
  ASSERT_EQ(data.size(), 6U + 769U);
  data.resize(6);
  EXPECT_EQ(data, (Bytes{0xC8, 7, 0xC8, 7, 0xC8, 7}));
}

TEST_F(WritePcxFileTest, WritesPlanesOfRedGreenAndBlue) {
  const BitmapPointer bitmap = MakeBitmap(2, 1, PixelFormat24bppRGB, {1, 2, 3, 4, 5, 0xC6});
  // Rows of 6 bytes take 8: each plane ends with 2 bytes of nothing.
  EXPECT_EQ(WrittenData(*bitmap), (Bytes{3, 0xC1, 0xC6, 0xC2, 0, 2, 5, 0xC2, 0, 1, 4, 0xC2, 0}));
}

TEST_F(WritePcxFileTest, ConvertsOtherFormatsOnTheWay) {
  const Bytes data = {0xC1, 0xFF, 0xC4, 0, 0xC1, 0xFF, 0xC6, 0};  // red; green; no blue
  const BitmapPointer four_bits = MakeBitmap(2, 1, PixelFormat4bppIndexed, {0x9A});
  EXPECT_EQ(WrittenData(*four_bits), data);
  const BitmapPointer with_alpha =
      MakeBitmap(2, 1, PixelFormat32bppARGB, {0, 0, 255, 255, 0, 255, 0, 255});
  EXPECT_EQ(WrittenData(*with_alpha), data);
  const BitmapPointer without_alpha =
      MakeBitmap(2, 1, PixelFormat32bppRGB, {0, 0, 255, 0, 0, 255, 0, 0});
  EXPECT_EQ(WrittenData(*without_alpha), data);
  const BitmapPointer sixteen_bits =
      MakeBitmap(2, 1, PixelFormat16bppRGB565, {0x00, 0xF8, 0xE0, 0x07});
  EXPECT_EQ(WrittenData(*sixteen_bits), data);
}

TEST_F(WritePcxFileTest, WritesTheBytesOfThePlainDefinition) {
  std::mt19937 random(4);
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB,
                            PixelFormat4bppIndexed, PixelFormat16bppRGB555, PixelFormat16bppRGB565,
                            PixelFormat32bppRGB, PixelFormat32bppARGB}) {
    for (UINT width = 1; width <= 40; ++width) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", width " << width);
      Check(*RandomImage(width, 1 + width % 5, format, random));
      ASSERT_FALSE(HasFailure());
    }
    for (const UINT width : {62U, 63U, 64U, 65U, 125U, 126U, 127U, 128U, 504U, 505U, 1000U}) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", width " << width);
      const BitmapPointer any = RandomImage(width, 7, format, random);
      Check(*any);
      const BitmapPointer empty(new Gdiplus::Bitmap(static_cast<INT>(width), 3, format));
      Check(*empty);
      ASSERT_FALSE(HasFailure());
    }
  }
}

TEST_F(WritePcxFileTest, CountsThePaddingOfTheBitmapsOwnRows) {
  // Rows in the caller's memory that are further apart than they need to be.
  std::mt19937 random(5);
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    for (const std::size_t stride : {52U, 56U, 100U, 1000U}) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", stride " << stride);
      RowsBitmap image(PixelRows(17, 3, format, stride, random));
      ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok);
      const Bytes file = Written(image.bitmap);
      ASSERT_GE(file.size(), 128U);
      EXPECT_TRUE(file == WrittenPcx(LockedImageOf(image.bitmap, 96, 96)));
      EXPECT_EQ(file[66] + 256U * file[67], format == PixelFormat24bppRGB ? stride - 34 : stride);
    }
  }
}

TEST_F(WritePcxFileTest, WritesBottomUpBitmapsTopDown) {
  // The tightest rows and whole bytes only: what turned rows have beyond their pixels is not told.
  std::mt19937 random(6);
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB,
                            PixelFormat32bppARGB, PixelFormat32bppRGB, PixelFormat4bppIndexed}) {
    for (const UINT width : {1U, 8U, 13U, 64U}) {
      if (format == PixelFormat1bppIndexed && width % 8 != 0) continue;
      SCOPED_TRACE(testing::Message() << "format " << format << ", width " << width);
      RowsBitmap image(width, 5, format, random, RowOrder::kUpwards);
      ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok);
      PixelRows turned(width, 5, format, StrideOf(format, width));
      for (std::size_t y = 0; y < 5; ++y) {
        for (std::size_t x = 0; x < width; ++x) turned.Set(x, y, image.rows.At(x, y));
      }
      RowsBitmap down(turned);
      EXPECT_TRUE(Written(image.bitmap) == Written(down.bitmap));
    }
  }
}

TEST_F(WritePcxFileTest, EndsOneBitFilesWithTwoColours) {
  const BitmapPointer bitmap = MakeBitmap(8, 1, PixelFormat1bppIndexed, {0x5A});
  EXPECT_EQ(WrittenData(*bitmap), (Bytes{0x5A, 0xC3, 0, 12, 0, 0, 0, 255, 255, 255}));
  bitmap->SetPalette(PaletteBlock(0, {0xFF010203, 0x80040506}).get());
  EXPECT_EQ(WrittenData(*bitmap), (Bytes{0x5A, 0xC3, 0, 12, 1, 2, 3, 4, 5, 6}));
  bitmap->SetPalette(PaletteBlock(0, {0xFF070809}).get());
  EXPECT_EQ(WrittenData(*bitmap), (Bytes{0x5A, 0xC3, 0, 12, 7, 8, 9, 0, 0, 0}));
}

TEST_F(WritePcxFileTest, WritesNoMoreColoursThanPixelsCanName) {
  const BitmapPointer bitmap = MakeBitmap(8, 1, PixelFormat1bppIndexed, {0x5A});
  const PaletteBlock colors(0, {0xFF010203, 0xFF040506, 0xFF070809, 0xFF0A0B0C});
  if (bitmap->SetPalette(colors.get()) != Gdiplus::Ok || PaletteOf(*bitmap).size() != 4) {
    GTEST_SKIP() << "the platform takes no such palettes";
  }
  EXPECT_EQ(WrittenData(*bitmap), (Bytes{0x5A, 0xC3, 0, 12, 1, 2, 3, 4, 5, 6}));
}

TEST_F(WritePcxFileTest, EndsEightBitFilesWith256Colours) {
  std::mt19937 random(7);
  const BitmapPointer bitmap = MakeBitmap(4, 1, PixelFormat8bppIndexed, {1, 2, 3, 4});
  for (const std::size_t count : {1U, 2U, 100U, 255U, 256U}) {
    std::vector<Gdiplus::ARGB> colors(count);
    for (auto& color : colors) color = 0xFF000000U | static_cast<std::uint32_t>(random());
    ASSERT_EQ(bitmap->SetPalette(PaletteBlock(0, colors).get()), Gdiplus::Ok);
    const Bytes data = WrittenData(*bitmap);
    ASSERT_EQ(data.size(), 4U + 769U);
    EXPECT_EQ(data[4], 12);
    for (std::size_t i = 0; i < 256; ++i) {
      const std::uint32_t color = i < count ? colors[i] : 0;
      EXPECT_EQ(data[5 + 3 * i], Byte(color >> 16)) << i;
      EXPECT_EQ(data[6 + 3 * i], Byte(color >> 8)) << i;
      EXPECT_EQ(data[7 + 3 * i], Byte(color)) << i;
    }
  }
}

}  // namespace
}  // namespace pixtola::test
