#include "io/pcx_writer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "io/pcx_reader.h"
#include "support/decode_limit_guard.h"
#include "support/pixel_rows.h"
#include "support/platform_expectations.h"
#include "support/reference_pcx.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"

namespace pixtola {
namespace {

using reference_pcx::LockedImage;
using test_support::BitmapPointer;
using test_support::Bytes;
using test_support::HoldLock;
using test_support::MakeBitmap;
using test_support::PaletteBlock;
using test_support::PaletteOf;
using test_support::PixelRows;
using test_support::PixelsOf;
using test_support::Receive;
using test_support::RowOrder;
using test_support::RowsBitmap;
using test_support::TemporaryFolder;

constexpr std::ptrdiff_t kHeaderSize = 128;

std::uint8_t Byte(std::uint64_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

/// Long and short runs of few and of many values, so that every way of packing is used.
Bytes RunBytes(std::size_t size, std::mt19937& random) {
  Bytes bytes;
  while (bytes.size() < size) {
    const std::uint8_t value = Byte(random() % 2 == 0 ? random() : random() % 2 * 0xFF);
    const std::size_t count = random() % 4 == 0 ? 1 + random() % 200 : 1 + random() % 3;
    bytes.insert(bytes.end(), count, value);
  }
  bytes.resize(size);
  return bytes;
}

BitmapPointer RandomImage(UINT width, UINT height, Gdiplus::PixelFormat format,
                          std::mt19937& random) {
  BitmapPointer bitmap = MakeBitmap(
      width, height, format, RunBytes(test_support::PackedBytes(format, width) * height, random));
  if ((format & PixelFormatIndexed) != 0) {
    std::vector<Gdiplus::ARGB> colors(std::size_t{1} << test_support::BitsOf(format));
    for (auto& color : colors) color = 0xFF000000U | static_cast<std::uint32_t>(random());
    bitmap->SetPalette(PaletteBlock(0, colors).get());
  }
  return bitmap;
}

bool IsWrittenAsItIs(Gdiplus::PixelFormat format) {
  return format == PixelFormat1bppIndexed || format == PixelFormat8bppIndexed;
}

/// What a lock shows of the bitmap in the format that is written, top-down.
LockedImage LockedImageOf(Gdiplus::Bitmap& bitmap, unsigned horizontal_dpi, unsigned vertical_dpi) {
  LockedImage image;
  const Gdiplus::PixelFormat format =
      IsWrittenAsItIs(bitmap.GetPixelFormat()) ? bitmap.GetPixelFormat() : PixelFormat24bppRGB;
  image.bits = test_support::BitsOf(format);
  image.width = bitmap.GetWidth();
  image.height = bitmap.GetHeight();
  image.horizontal_dpi = horizontal_dpi;
  image.vertical_dpi = vertical_dpi;
  for (const Gdiplus::ARGB entry : PaletteOf(bitmap)) image.palette.push_back(entry);
  Gdiplus::BitmapData data{};
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(image.width), static_cast<INT>(image.height));
  EXPECT_EQ(bitmap.LockBits(&whole, Gdiplus::ImageLockModeRead, format, &data), Gdiplus::Ok);
  image.stride = static_cast<std::size_t>(data.Stride < 0 ? -data.Stride : data.Stride);
  image.rows.resize(image.stride * image.height);
  const std::size_t row_bytes = test_support::PackedBytes(format, image.width);
  for (std::size_t y = 0; y < image.height; ++y) {
    const auto* top = static_cast<const std::uint8_t*>(data.Scan0);
    std::memcpy(image.rows.data() + y * image.stride,
                top + std::ptrdiff_t{data.Stride} * static_cast<std::ptrdiff_t>(y), row_bytes);
  }
  bitmap.UnlockBits(&data);
  return image;
}

class WritePcxFileTest : public testing::Test {
 protected:
  int Write(Gdiplus::Bitmap& bitmap) { return WritePcxFile(path_.wstring().c_str(), &bitmap); }

  /// The bytes of the file; none when it is not written.
  Bytes Written(Gdiplus::Bitmap& bitmap) {
    std::filesystem::remove(path_);
    EXPECT_EQ(Write(bitmap), 1);
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
    return test_support::ReadWholeFile(path_);
  }

  /// What follows the header.
  Bytes WrittenData(Gdiplus::Bitmap& bitmap) {
    const Bytes file = Written(bitmap);
    if (file.size() < kHeaderSize) return {};
    return {file.begin() + kHeaderSize, file.end()};
  }

  BitmapPointer Read() {
    BitmapPointer bitmap;
    ReadPcxFile(path_.wstring().c_str(), Receive(bitmap));
    return bitmap;
  }

  /// Every byte of the file as the plain definition has it.
  void Check(Gdiplus::Bitmap& bitmap) {
    EXPECT_TRUE(Written(bitmap) == WrittenFile(LockedImageOf(bitmap, 96, 96)));
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "written.pcx";
};

// --------------------------------------------------------------------------------- the header

/// The header without its 49 bytes of colours and its 54 of nothing.
Bytes MeaningfulBytes(const Bytes& file) {
  Bytes bytes;
  for (std::size_t i = 0; i < 74; ++i) {
    if (i < 16 || i >= 65) bytes.push_back(file.at(i));
  }
  return bytes;
}

TEST_F(WritePcxFileTest, TellsOfOneBitImages) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(300, 514, PixelFormat1bppIndexed));
  bitmap->SetResolution(300, 204);
  const Bytes file = Written(*bitmap);
  ASSERT_GE(file.size(), 128U);
  EXPECT_EQ(MeaningfulBytes(file),
            (Bytes{10, 5,  1,   1,     // manufacturer, version, encoding, bits
                   0,  0,  0,   0,     // left, top
                   43, 1,  1,   2,     // right, bottom
                   44, 1,  204, 0,     // dots per inch
                   1,  40, 0,   1, 0,  // planes, bytes per line, palette information
                   44, 1,  2,   2}));  // screen size
  EXPECT_EQ(Bytes(file.begin() + 16, file.begin() + 65), Bytes(49, 1));
  EXPECT_EQ(Bytes(file.begin() + 74, file.begin() + 128), Bytes(54, 0));
}

TEST_F(WritePcxFileTest, TellsOfEightBitImages) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(257, 1, PixelFormat8bppIndexed));
  const Bytes file = Written(*bitmap);
  ASSERT_GE(file.size(), 128U);
  EXPECT_EQ(MeaningfulBytes(file), (Bytes{10, 5, 1,  8, 0, 0, 0, 0, 0, 1, 0, 0,  //
                                          96, 0, 96, 0, 1, 4, 1, 1, 0, 1, 1, 1, 0}));
  EXPECT_EQ(Bytes(file.begin() + 16, file.begin() + 65), Bytes(49, 8));
  EXPECT_EQ(Bytes(file.begin() + 74, file.begin() + 128), Bytes(54, 0));
}

TEST_F(WritePcxFileTest, TellsOfTrueColourImages) {
  // Rows of 9 bytes take 12: each plane has 3 bytes and the padding of the whole row.
  const BitmapPointer bitmap(new Gdiplus::Bitmap(3, 2, PixelFormat24bppRGB));
  const Bytes file = Written(*bitmap);
  ASSERT_GE(file.size(), 128U);
  EXPECT_EQ(MeaningfulBytes(file), (Bytes{10, 5, 1,  8, 0, 0, 0, 0, 2, 0, 1, 0,  //
                                          96, 0, 96, 0, 3, 6, 0, 1, 0, 3, 0, 2, 0}));
  EXPECT_EQ(Bytes(file.begin() + 16, file.begin() + 65), Bytes(49, 8));
  EXPECT_EQ(Bytes(file.begin() + 74, file.begin() + 128), Bytes(54, 0));
}

TEST_F(WritePcxFileTest, WritesTrueColourOfAllOtherFormats) {
  for (const auto format : {PixelFormat4bppIndexed, PixelFormat16bppRGB555, PixelFormat16bppRGB565,
                            PixelFormat32bppRGB, PixelFormat32bppARGB, PixelFormat32bppPARGB}) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    const BitmapPointer bitmap(new Gdiplus::Bitmap(5, 2, format));
    const Bytes file = Written(*bitmap);
    ASSERT_GE(file.size(), 128U);
    EXPECT_EQ(MeaningfulBytes(file), (Bytes{10, 5, 1,  8, 0, 0, 0, 0, 4, 0, 1, 0,  //
                                            96, 0, 96, 0, 3, 6, 0, 1, 0, 5, 0, 2, 0}));
  }
}

TEST_F(WritePcxFileTest, CutsTheFractionOfTheResolutionButForATenth) {
  const std::pair<float, unsigned> cases[] = {{299.9994F, 300}, {300.0F, 300}, {299.95F, 300},
                                              {299.85F, 299},   {72.5F, 72},   {72.95F, 73},
                                              {1.0F, 1},        {0.5F, 0},     {65535.0F, 65535}};
  for (const auto& [dpi, expected] : cases) {
    const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 1, PixelFormat24bppRGB));
    ASSERT_EQ(bitmap->SetResolution(dpi, 100), Gdiplus::Ok);
    Bytes file = Written(*bitmap);
    ASSERT_GE(file.size(), 128U);
    EXPECT_EQ(file[12] + 256U * file[13], expected) << dpi;
    EXPECT_EQ(file[14] + 256U * file[15], 100U);
    bitmap->SetResolution(100, dpi);
    file = Written(*bitmap);
    ASSERT_GE(file.size(), 128U);
    EXPECT_EQ(file[12] + 256U * file[13], 100U);
    EXPECT_EQ(file[14] + 256U * file[15], expected) << dpi;
  }
}

TEST_F(WritePcxFileTest, WritesPixelsOfAResolutionThatTheHeaderCannotHold) {
  const BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat24bppRGB, {1, 2, 3});
  for (const float dpi : {65536.0F, 1e6F, 1e12F, 1e38F}) {
    if (bitmap->SetResolution(dpi, dpi) != Gdiplus::Ok) continue;
    ASSERT_EQ(Write(*bitmap), 1) << dpi;
    const BitmapPointer read = Read();
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(PixelsOf(*read), (Bytes{1, 2, 3})) << dpi;
  }
}

TEST_F(WritePcxFileTest, WritesTheLargestResolutionForLargerOnes) {
  for (const float dpi : {65535.0F, 65535.95F, 65536.0F, 65536.5F, 70000.0F, 131073.0F, 1e6F, 1e12F,
                          std::numeric_limits<float>::max()}) {
    const BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat24bppRGB, {1, 2, 3});
    ASSERT_EQ(bitmap->SetResolution(dpi, 300), Gdiplus::Ok);
    Bytes file = Written(*bitmap);
    ASSERT_GE(file.size(), 128U);
    EXPECT_EQ(Bytes(file.begin() + 12, file.begin() + 16), (Bytes{255, 255, 300 & 0xFF, 1})) << dpi;
    ASSERT_EQ(bitmap->SetResolution(300, dpi), Gdiplus::Ok);
    file = Written(*bitmap);
    ASSERT_GE(file.size(), 128U);
    EXPECT_EQ(Bytes(file.begin() + 12, file.begin() + 16), (Bytes{300 & 0xFF, 1, 255, 255})) << dpi;
  }
}

// ----------------------------------------------------------------------------- rows and runs

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
      EXPECT_TRUE(file == WrittenFile(LockedImageOf(image.bitmap, 96, 96)));
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
      PixelRows turned(width, 5, format, test_support::StrideOf(format, width));
      for (std::size_t y = 0; y < 5; ++y) {
        for (std::size_t x = 0; x < width; ++x) turned.Set(x, y, image.rows.At(x, y));
      }
      RowsBitmap down(turned);
      EXPECT_TRUE(Written(image.bitmap) == Written(down.bitmap));
    }
  }
}

// ----------------------------------------------------------------------------------- palettes

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

// ------------------------------------------------------------------------------- there and back

TEST_F(WritePcxFileTest, WritesWhatReadsBack) {
  std::mt19937 random(8);
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    for (const UINT width : {1U, 2U, 3U, 7U, 8U, 9U, 12U, 16U, 31U, 65U, 301U}) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", width " << width);
      const BitmapPointer bitmap = RandomImage(width, 1 + width % 3, format, random);
      bitmap->SetResolution(300, 200);
      ASSERT_EQ(Write(*bitmap), 1);
      const BitmapPointer read = Read();
      ASSERT_NE(read, nullptr);
      EXPECT_EQ(read->GetPixelFormat(), format);
      EXPECT_NEAR(read->GetHorizontalResolution(), 300, 0.02);
      EXPECT_NEAR(read->GetVerticalResolution(), 200, 0.02);
      Bytes expected = PixelsOf(*bitmap);
      if (format == PixelFormat1bppIndexed && width % 8 != 0) {
        // Only whole bytes of rows are read.
        const std::size_t row_bytes = test_support::PackedBytes(format, width);
        for (std::size_t i = row_bytes - 1; i < expected.size(); i += row_bytes) expected[i] = 0;
      }
      EXPECT_EQ(PixelsOf(*read), expected);
      if (format == PixelFormat1bppIndexed) {
        EXPECT_EQ(PaletteOf(*read), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
      }
      if (format == PixelFormat8bppIndexed) {
        std::vector<Gdiplus::ARGB> palette = PaletteOf(*bitmap);
        palette.back() = 0xFF000000;
        EXPECT_EQ(PaletteOf(*read), palette);
      }
    }
  }
}

TEST_F(WritePcxFileTest, BringsFourBitImagesBackAsTrueColour) {
  const BitmapPointer bitmap = MakeBitmap(3, 1, PixelFormat4bppIndexed, {0x01, 0x20});
  bitmap->SetPalette(PaletteBlock(0, {0xFF010203, 0xFF040506, 0xFF070809}).get());
  ASSERT_EQ(Write(*bitmap), 1);
  const BitmapPointer read = Read();
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->GetPixelFormat(), PixelFormat24bppRGB);
  EXPECT_EQ(PixelsOf(*read), (Bytes{3, 2, 1, 6, 5, 4, 9, 8, 7}));
}

TEST_F(WritePcxFileTest, IsWhatSavingPcxFilesDoes) {
  std::mt19937 random(9);
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
                            PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap = RandomImage(33, 5, format, random);
    const Bytes written = Written(*bitmap);
    const std::filesystem::path saved = folder_ / "saved";
    ASSERT_EQ(PxtSaveBitmapToFile(bitmap.get(), PxtFileTypePcx, saved.wstring().c_str()), 1);
    EXPECT_TRUE(test_support::ReadWholeFile(saved) == written) << format;
    BitmapPointer opened;
    ASSERT_EQ(PxtOpenImageFile(saved.wstring().c_str(), Receive(opened)), 1);
    EXPECT_EQ(PixelsOf(*opened), PixelsOf(*Read())) << format;
  }
}

TEST_F(WritePcxFileTest, ReplacesWhatWasThere) {
  const BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat24bppRGB, {1, 2, 3});
  const Bytes written = Written(*bitmap);
  test_support::WriteWholeFile(path_, Bytes(5000, 1));
  EXPECT_EQ(Write(*bitmap), 1);
  EXPECT_EQ(test_support::ReadWholeFile(path_), written);
}

TEST_F(WritePcxFileTest, LeavesBitmapAndFileFree) {
  std::mt19937 random(10);
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    const BitmapPointer bitmap = RandomImage(20, 3, format, random);
    const Bytes pixels = PixelsOf(*bitmap);
    const auto palette = PaletteOf(*bitmap);
    ASSERT_EQ(Write(*bitmap), 1);
    EXPECT_EQ(PixelsOf(*bitmap), pixels);
    EXPECT_EQ(PaletteOf(*bitmap), palette);
    std::FILE* const file = _wfsopen(path_.wstring().c_str(), L"r+b", _SH_DENYRW);
    EXPECT_NE(file, nullptr);
    if (file != nullptr) std::fclose(file);
  }
}

TEST_F(WritePcxFileTest, KnowsNoDecodeLimit) {
  const BitmapPointer bitmap = MakeBitmap(4, 2, PixelFormat24bppRGB, Bytes(24, 7));
  const test_support::DecodeLimitGuard limit({1, 1});
  EXPECT_EQ(WrittenData(*bitmap), (Bytes{0xCC, 7, 0xCC, 7}));
}

// ----------------------------------------------------------------------------------- failures

TEST_F(WritePcxFileTest, WritesNoFileOfABitmapThatIsLocked) {
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
                            PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, format));
    const HoldLock lock(*bitmap);
    EXPECT_EQ(Write(*bitmap), 0);
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState);
    EXPECT_TRUE(folder_.is_empty());
  }
}

TEST_F(WritePcxFileTest, LeavesAFileOfTheNameAloneWhenTheBitmapIsLocked) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat8bppIndexed));
  test_support::WriteWholeFile(path_, {1, 2, 3});
  const HoldLock lock(*bitmap);
  EXPECT_EQ(Write(*bitmap), 0);
  EXPECT_EQ(test_support::ReadWholeFile(path_), (Bytes{1, 2, 3}));
}

TEST_F(WritePcxFileTest, WritesNoFileOfAFormatThatDoesNotConvert) {
  if (expectations::kGrayOf16BitsIsNotRefused) GTEST_SKIP() << "the platform converts all formats";
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat16bppGrayScale));
  ASSERT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(Write(*bitmap), 0);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::InvalidParameter);
  EXPECT_TRUE(folder_.is_empty());
}

TEST_F(WritePcxFileTest, RefusesNullArguments) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat8bppIndexed));
  EXPECT_EQ(WritePcxFile(nullptr, bitmap.get()), 0);
  EXPECT_EQ(WritePcxFile(path_.wstring().c_str(), nullptr), 0);
  EXPECT_TRUE(folder_.is_empty());
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
}

TEST_F(WritePcxFileTest, FailsWhereNoFileCanBe) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat8bppIndexed));
  EXPECT_EQ(WritePcxFile((folder_ / "missing" / "file").wstring().c_str(), bitmap.get()), 0);
  EXPECT_EQ(WritePcxFile(L"", bitmap.get()), 0);
  EXPECT_TRUE(folder_.is_empty());
  std::filesystem::create_directory(path_);
  EXPECT_EQ(Write(*bitmap), 0);
  EXPECT_TRUE(std::filesystem::is_directory(path_));
  EXPECT_FALSE(PixelsOf(*bitmap).empty());
}

TEST_F(WritePcxFileTest, LeavesAFileAloneThatOthersUse) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat8bppIndexed));
  test_support::WriteWholeFile(path_, {1, 2, 3});
  for (const wchar_t* mode : {L"rb", L"r+b"}) {
    std::FILE* const file = _wfsopen(path_.wstring().c_str(), mode, _SH_DENYNO);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(Write(*bitmap), 0);
    std::fclose(file);
    EXPECT_EQ(test_support::ReadWholeFile(path_), (Bytes{1, 2, 3}));
  }
  EXPECT_EQ(Write(*bitmap), 1);
}

TEST_F(WritePcxFileTest, RefusesSizesThatTheHeaderCannotHold) {
  const auto is_written = [&](INT width, INT height, Gdiplus::PixelFormat format) {
    Gdiplus::Bitmap bitmap(width, height, format);
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
    const int result = Write(bitmap);
    EXPECT_EQ(std::filesystem::exists(path_), result == 1);
    std::filesystem::remove(path_);
    return result == 1;
  };
  EXPECT_TRUE(is_written(65536, 1, PixelFormat1bppIndexed));
  EXPECT_FALSE(is_written(65537, 1, PixelFormat1bppIndexed));
  EXPECT_FALSE(is_written(100000, 1, PixelFormat1bppIndexed));
  EXPECT_TRUE(is_written(1, 65536, PixelFormat1bppIndexed));
  EXPECT_FALSE(is_written(1, 65537, PixelFormat1bppIndexed));
  EXPECT_FALSE(is_written(1, 65537, PixelFormat8bppIndexed));
  EXPECT_FALSE(is_written(1, 65537, PixelFormat24bppRGB));
  // Bytes of a line: the width rounded up to a multiple of 4 ...
  EXPECT_TRUE(is_written(65532, 1, PixelFormat8bppIndexed));
  EXPECT_FALSE(is_written(65533, 1, PixelFormat8bppIndexed));
  EXPECT_FALSE(is_written(65536, 1, PixelFormat8bppIndexed));
  // ... and with 24 bits the width and the padding of all three: 1 to 65533, 2 to 65534.
  EXPECT_TRUE(is_written(65533, 1, PixelFormat24bppRGB));
  EXPECT_FALSE(is_written(65534, 1, PixelFormat24bppRGB));
  EXPECT_FALSE(is_written(65535, 1, PixelFormat32bppARGB));
}

TEST_F(WritePcxFileTest, RefusesRowsThatTheHeaderCannotHold) {
  // One pixel, but rows far apart in the caller's memory.
  Bytes memory(65536);
  const auto is_written = [&](INT stride, Gdiplus::PixelFormat format) {
    Gdiplus::Bitmap bitmap(1, 1, stride, format, memory.data());
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
    const int result = Write(bitmap);
    EXPECT_EQ(std::filesystem::exists(path_), result == 1);
    std::filesystem::remove(path_);
    return result == 1;
  };
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed}) {
    EXPECT_TRUE(is_written(65532, format)) << format;
    EXPECT_FALSE(is_written(65536, format)) << format;
  }
  EXPECT_TRUE(is_written(65536, PixelFormat24bppRGB));  // 65534 bytes a plane
}

TEST_F(WritePcxFileTest, CountsThePaddingIn16Bits) {
  Bytes memory(65540);
  memory[0] = 0x81;
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    Gdiplus::Bitmap wide_rows(1, 1, 65540, format, memory.data());
    Gdiplus::Bitmap tight_rows(1, 1, 4, format, memory.data());
    ASSERT_EQ(wide_rows.GetLastStatus(), Gdiplus::Ok);
    EXPECT_EQ(Written(wide_rows), Written(tight_rows)) << format;
  }
}

TEST_F(WritePcxFileTest, WrapsTheScreenSizeOfTheWidestImages) {
  Gdiplus::Bitmap bitmap(65536, 1, PixelFormat1bppIndexed);
  const Bytes file = Written(bitmap);
  ASSERT_GE(file.size(), 128U);
  EXPECT_EQ(MeaningfulBytes(file), (Bytes{10, 5, 1,  1, 0, 0, 0,  0, 255, 255, 0, 0,  //
                                          96, 0, 96, 0, 1, 0, 32, 1, 0,   0,   0, 1, 0}));
}

}  // namespace
}  // namespace pixtola
