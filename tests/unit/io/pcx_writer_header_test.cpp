// The PCX writer: the header, and the sizes that it can hold.

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <utility>

#include "unit/io/pcx_writer_fixture.h"

namespace pixtola::test {
namespace {

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
}  // namespace pixtola::test
