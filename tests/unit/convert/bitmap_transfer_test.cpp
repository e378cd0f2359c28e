// Between bitmaps and bytes, through the exported functions.

#include <gtest/gtest.h>

#include <vector>

#include "Pixtola.h"
#include "support/guarded_buffer.h"
#include "support/platform_expectations.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

/// The bitmap as gray bytes; empty when it cannot be converted.
Bytes GrayBytes(Gdiplus::Bitmap& bitmap) {
  std::uint32_t size = 0;
  std::uint32_t stride = 0;
  PxtBitmapToBytes(MethodGray8, bitmap, nullptr, &size, &stride);
  Bytes gray(size, 0xA5);
  return PxtBitmapToBytes(MethodGray8, bitmap, gray.data(), &size, &stride) != 0 ? gray : Bytes();
}

/// PxtExtractBytes with everything that it reports.
struct Extraction {
  std::uint32_t size = 7;
  std::uint32_t width = 7;
  std::uint32_t height = 7;
  std::uint32_t stride = 7;
  Gdiplus::PixelFormat format = 7;

  int Run(Gdiplus::Bitmap& bitmap, std::uint8_t* destination) {
    return PxtExtractBytes(bitmap, destination, &size, &width, &height, &stride, &format);
  }
};

BitmapPointer RedGreenBlueWhite() {
  return MakeBitmap(4, 1, PixelFormat24bppRGB, {0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255});
}

TEST(PxtBitmapToBytes, ReportsSizeAndStrideWithoutLocking) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(33, 3, PixelFormat24bppRGB));
  const HoldLock lock(*bitmap);
  std::uint32_t size = 0;
  std::uint32_t stride = 0;
  EXPECT_EQ(PxtBitmapToBytes(MethodGray8, *bitmap, nullptr, &size, &stride), 1);
  EXPECT_EQ(stride, 36U);
  EXPECT_EQ(size, 108U);
  EXPECT_EQ(PxtBitmapToBytes(MethodBilevelOtsu, *bitmap, nullptr, &size, &stride), 1);
  EXPECT_EQ(stride, 8U);
  EXPECT_EQ(size, 24U);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
}

TEST(PxtBitmapToBytes, ConvertsPixels) {
  const BitmapPointer bitmap = RedGreenBlueWhite();
  EXPECT_EQ(GrayBytes(*bitmap), (Bytes{76, 150, 28, 254}));
}

TEST(PxtBitmapToBytes, ReadsEightBitPixelsThroughTheBitmapsPalette) {
  const BitmapPointer bitmap = MakeBitmap(4, 1, PixelFormat8bppIndexed, {0, 1, 1, 0});
  const PaletteBlock palette(0, {0xFFFF0000, 0xFF0000FF});
  bitmap->SetPalette(palette.get());
  EXPECT_EQ(GrayBytes(*bitmap), (Bytes{76, 28, 28, 76}));
}

TEST(PxtBitmapToBytes, ReadsOneBitPixelsWithoutTheirPalette) {
  const BitmapPointer bitmap = MakeBitmap(8, 1, PixelFormat1bppIndexed, {0b11000011});
  const PaletteBlock white_first(0, {0xFFFFFFFF, 0xFF000000});
  bitmap->SetPalette(white_first.get());
  EXPECT_EQ(GrayBytes(*bitmap), (Bytes{255, 255, 0, 0, 0, 0, 255, 255}));
}

TEST(PxtBitmapToBytes, ConvertsOtherDepthsAs24BitRgb) {
  // 16-bit 555: full red, full green, full blue, white.
  const BitmapPointer deep =
      MakeBitmap(4, 1, PixelFormat16bppRGB555, {0x00, 0x7C, 0xE0, 0x03, 0x1F, 0x00, 0xFF, 0x7F});
  ASSERT_NE(deep, nullptr);
  EXPECT_EQ(GrayBytes(*deep), (Bytes{76, 150, 28, 254}));

  const BitmapPointer four_bit = MakeBitmap(4, 1, PixelFormat4bppIndexed, {0x01, 0x23});
  const PaletteBlock palette(0, {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0xFFFFFFFF});
  four_bit->SetPalette(palette.get());
  EXPECT_EQ(GrayBytes(*four_bit), (Bytes{76, 150, 28, 254}));
}

TEST(PxtBitmapToBytes, Converts48BitBitmapsAs24BitRgb) {
  // 0x2000 in red: all of 13 bits of linear light, or an eighth of 16 bits (32 of 255, gray 9).
  const BitmapPointer bitmap =
      MakeBitmap(1, 1, PixelFormat48bppRGB, {0x00, 0x00, 0x00, 0x00, 0x00, 0x20});
  if (bitmap == nullptr) GTEST_SKIP() << "the stand-in has no 48-bit bitmaps";
  const std::uint8_t gray = k48BitChannelsHave16Bits ? 9 : 76;
  EXPECT_EQ(GrayBytes(*bitmap), (Bytes{gray, 0, 0, 0}));
}

TEST(PxtBitmapToBytes, ReadsBottomUpBitmapsTopDown) {
  GuardedBuffer rows(8);
  const std::uint8_t bytes[] = {0, 255, 0, 0, 0, 0, 255, 0};  // green below red
  std::copy_n(bytes, 8, rows.data());
  Gdiplus::Bitmap bitmap(1, 2, -4, PixelFormat24bppRGB, rows.data() + 4);
  ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(GrayBytes(bitmap), (Bytes{76, 0, 0, 0, 150, 0, 0, 0}));
}

TEST(PxtBitmapToBytes, RecordsAFailedLock) {
  const BitmapPointer bitmap = RedGreenBlueWhite();
  const HoldLock lock(*bitmap);
  Bytes gray(4, 0xA5);
  std::uint32_t size = 4;
  std::uint32_t stride = 0;
  EXPECT_EQ(PxtBitmapToBytes(MethodGray8, *bitmap, gray.data(), &size, &stride), 0);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState);
  EXPECT_EQ(gray, Bytes(4, 0xA5));
}

TEST(PxtBitmapToBytes, UnlocksTheBitmapAfterwards) {
  const BitmapPointer bitmap = RedGreenBlueWhite();
  Bytes gray(4);
  std::uint32_t size = 1;
  std::uint32_t stride = 0;
  EXPECT_EQ(PxtBitmapToBytes(MethodGray8, *bitmap, gray.data(), &size, &stride), 0);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(PxtBitmapToBytes(MethodGray8, *bitmap, gray.data(), &size, &stride), 1);
  EXPECT_FALSE(PixelsOf(*bitmap).empty());
}

TEST(PxtBitmapRectToBytes, ClipsTheCallersRectangle) {
  const BitmapPointer bitmap = RedGreenBlueWhite();
  RECT rect{-1, -1, 50, 50};
  std::uint32_t size = 0;
  std::uint32_t stride = 0;
  EXPECT_EQ(PxtBitmapRectToBytes(MethodGray8, *bitmap, &rect, nullptr, &size, &stride), 1);
  EXPECT_EQ(rect.left, 0);
  EXPECT_EQ(rect.top, 0);
  EXPECT_EQ(rect.right, 4);
  EXPECT_EQ(rect.bottom, 1);
}

TEST(PxtBitmapRectToBytes, RefusesNullArguments) {
  const BitmapPointer bitmap = RedGreenBlueWhite();
  RECT rect{0, 0, 4, 1};
  rect.right = 99;
  std::uint32_t size = 7;
  std::uint32_t stride = 7;
  EXPECT_EQ(PxtBitmapRectToBytes(MethodGray8, *bitmap, nullptr, nullptr, &size, &stride), 0);
  EXPECT_EQ(PxtBitmapRectToBytes(MethodGray8, *bitmap, &rect, nullptr, nullptr, &stride), 0);
  EXPECT_EQ(PxtBitmapRectToBytes(MethodGray8, *bitmap, &rect, nullptr, &size, nullptr), 0);
  EXPECT_EQ(rect.right, 99);
  EXPECT_EQ(size, 7U);
  EXPECT_EQ(stride, 7U);
}

TEST(PxtBitmapToBitmap, MakesBilevelBitmapsWithTheSourcesResolution) {
  for (const auto method : {MethodBilevelOtsu, MethodBilevelAdaptive, MethodBilevelDiffusion}) {
    const BitmapPointer bitmap(new Gdiplus::Bitmap(32, 17, PixelFormat24bppRGB));
    bitmap->SetResolution(300, 200);
    BitmapPointer result;
    ASSERT_EQ(PxtBitmapToBitmap(method, *bitmap, Receive(result)), 1) << method;
    EXPECT_EQ(result->GetPixelFormat(), PixelFormat1bppIndexed);
    EXPECT_EQ(result->GetWidth(), 32U);
    EXPECT_EQ(result->GetHeight(), 17U);
    EXPECT_NEAR(result->GetHorizontalResolution(), 300, kDpiTolerance);
    EXPECT_NEAR(result->GetVerticalResolution(), 200, kDpiTolerance);
    EXPECT_EQ(PaletteOf(*result), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
    EXPECT_EQ(result->GetLastStatus(), Gdiplus::Ok);
  }
}

TEST(PxtBitmapToBitmap, MakesGrayBitmapsWithARamp) {
  const BitmapPointer bitmap = RedGreenBlueWhite();
  bitmap->SetResolution(300, 200);
  BitmapPointer result;
  ASSERT_EQ(PxtBitmapToBitmap(MethodGray8, *bitmap, Receive(result)), 1);
  EXPECT_EQ(result->GetPixelFormat(), PixelFormat8bppIndexed);
  EXPECT_NEAR(result->GetHorizontalResolution(), 300, kDpiTolerance);
  EXPECT_NEAR(result->GetVerticalResolution(), 200, kDpiTolerance);
  EXPECT_EQ(PixelsOf(*result), (Bytes{76, 150, 28, 254}));
  const auto palette = PaletteOf(*result);
  ASSERT_EQ(palette.size(), 256U);
  EXPECT_EQ(palette[254], 0xFFFEFEFEU);
}

TEST(PxtBitmapRectToBitmap, ConvertsARectangleAndClipsItInPlace) {
  const BitmapPointer bitmap = MakeBitmap(4, 2, PixelFormat8bppIndexed, {0, 1, 2, 3, 4, 5, 6, 7});
  std::vector<Gdiplus::ARGB> reds;
  for (unsigned i = 0; i < 8; ++i) reds.push_back(0xFF000000U | (i * 32) << 16);
  bitmap->SetPalette(PaletteBlock(0, reds).get());
  RECT rect{2, 0, 9, 9};
  BitmapPointer result;
  ASSERT_EQ(PxtBitmapRectToBitmap(MethodGray8, *bitmap, &rect, Receive(result)), 1);
  EXPECT_EQ(rect.right, 4);
  EXPECT_EQ(rect.bottom, 2);
  EXPECT_EQ(result->GetWidth(), 2U);
  EXPECT_EQ(result->GetHeight(), 2U);
  // Red weighs 76.8 of 256: 32 * 2 -> 19, 32 * 3 -> 28, 32 * 6 -> 57, 32 * 7 -> 67.
  EXPECT_EQ(PixelsOf(*result), (Bytes{19, 28, 57, 67}));
}

TEST(PxtBitmapRectToBitmap, FailsWithoutPixels) {
  const BitmapPointer bitmap = RedGreenBlueWhite();
  RECT beside{4, 0, 9, 1};
  Gdiplus::Bitmap* untouched = bitmap.get();
  EXPECT_EQ(PxtBitmapRectToBitmap(MethodGray8, *bitmap, &beside, &untouched), 0);
  EXPECT_EQ(untouched, bitmap.get());
  RECT empty{0, 0, 0, 1};
  EXPECT_EQ(PxtBitmapRectToBitmap(MethodGray8, *bitmap, &empty, &untouched), 0);
  EXPECT_EQ(
      PxtBitmapRectToBitmap(static_cast<PxtConversionMethod>(9), *bitmap, &beside, &untouched), 0);
  EXPECT_EQ(PxtBitmapToBitmap(MethodGray8, *bitmap, nullptr), 0);
}

TEST(PxtBitmapToBitmap, LeavesTheResultWhenTheSourceCannotBeLocked) {
  const BitmapPointer bitmap = RedGreenBlueWhite();
  const HoldLock lock(*bitmap);
  Gdiplus::Bitmap* untouched = bitmap.get();
  EXPECT_EQ(PxtBitmapToBitmap(MethodGray8, *bitmap, &untouched), 0);
  EXPECT_EQ(untouched, bitmap.get());
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState);
}

TEST(PxtInsertBytes, RefusesNullBytesAndLeavesTheResult) {
  Gdiplus::Bitmap* untouched = reinterpret_cast<Gdiplus::Bitmap*>(16);
  EXPECT_EQ(PxtInsertBytes(nullptr, PixelFormat24bppRGB, 1, 1, 4, 96, 96, &untouched, nullptr), 0);
  EXPECT_EQ(untouched, reinterpret_cast<Gdiplus::Bitmap*>(16));
  const Bytes bytes(64);
  EXPECT_EQ(PxtInsertBytes(bytes.data(), PixelFormat24bppRGB, 1, 1, 4, 96, 96, nullptr, nullptr),
            0);
  EXPECT_EQ(PxtInsertBytes(bytes.data(), PixelFormat24bppRGB, 9, 1, 4, 96, 96, &untouched, nullptr),
            0);
  EXPECT_EQ(untouched, reinterpret_cast<Gdiplus::Bitmap*>(16));
}

/// An 8 x 10 image whose pixel (x, y) is 10 * y + x.
Bytes NumberedPixels() {
  Bytes bytes;
  for (unsigned y = 0; y < 10; ++y) {
    for (unsigned x = 0; x < 8; ++x) bytes.push_back(static_cast<std::uint8_t>(10 * y + x));
  }
  return bytes;
}

TEST(PxtInsertBytesRect, ReturnsTheWholeImageForAnExclusiveWholeRectangle) {
  const Bytes bytes = NumberedPixels();
  const RECT rect{0, 0, 8, 10};
  BitmapPointer result;
  ASSERT_EQ(PxtInsertBytesRect(bytes.data(), PixelFormat8bppIndexed, 8, 10, 8, &rect, 300, 200,
                               Receive(result)),
            1);
  EXPECT_EQ(PixelsOf(*result), bytes);
  EXPECT_NEAR(result->GetVerticalResolution(), 200, kDpiTolerance);
}

TEST(PxtInsertBytesRect, TakesRightAndBottomAsInclusive) {
  const Bytes bytes = NumberedPixels();
  const RECT rect{2, 3, 4, 6};
  BitmapPointer result;
  ASSERT_EQ(PxtInsertBytesRect(bytes.data(), PixelFormat8bppIndexed, 8, 10, 8, &rect, 300, 200,
                               Receive(result)),
            1);
  EXPECT_EQ(result->GetWidth(), 3U);
  EXPECT_EQ(result->GetHeight(), 4U);
  EXPECT_EQ(PixelsOf(*result), (Bytes{32, 33, 34, 42, 43, 44, 52, 53, 54, 62, 63, 64}));
  EXPECT_NEAR(result->GetHorizontalResolution(), 300, kDpiTolerance);
  EXPECT_NEAR(result->GetVerticalResolution(), 200, kDpiTolerance);
}

TEST(PxtInsertBytesRect, RefusesSingleColumnsAndRows) {
  const Bytes bytes = NumberedPixels();
  for (const RECT rect : {RECT{0, 0, 0, 5}, RECT{0, 0, 5, 0}, RECT{3, 3, 3, 8}, RECT{7, 0, 20, 9},
                          RECT{0, 9, 7, 20}, RECT{5, 5, 2, 8}, RECT{-9, 0, -1, 9}}) {
    Gdiplus::Bitmap* result = reinterpret_cast<Gdiplus::Bitmap*>(16);
    EXPECT_EQ(
        PxtInsertBytesRect(bytes.data(), PixelFormat8bppIndexed, 8, 10, 8, &rect, 96, 96, &result),
        0);
    EXPECT_EQ(result, nullptr);
  }
}

TEST(PxtInsertBytesRect, ClipsToTheImage) {
  const Bytes bytes = NumberedPixels();
  const RECT rect{-4, 8, 1, 99};
  BitmapPointer result;
  ASSERT_EQ(PxtInsertBytesRect(bytes.data(), PixelFormat8bppIndexed, 8, 10, 8, &rect, 96, 96,
                               Receive(result)),
            1);
  EXPECT_EQ(PixelsOf(*result), (Bytes{80, 81, 90, 91}));
}

TEST(PxtInsertBytesRect, CutsBytesOutOfOneBitRows) {
  if (kLocksOfBitRowsIgnoreTheLeftEdge) GTEST_SKIP() << "Wine ignores the left edge";
  const Bytes bytes = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};
  const RECT rect{8, 0, 23, 1};
  BitmapPointer result;
  ASSERT_EQ(PxtInsertBytesRect(bytes.data(), PixelFormat1bppIndexed, 32, 2, 4, &rect, 96, 96,
                               Receive(result)),
            1);
  EXPECT_EQ(result->GetWidth(), 16U);
  EXPECT_EQ(PixelsOf(*result), (Bytes{0x34, 0x56, 0xBC, 0xDE}));
}

TEST(PxtInsertBytesRect, LeavesTheResultForNullBytesOnly) {
  Gdiplus::Bitmap* result = reinterpret_cast<Gdiplus::Bitmap*>(16);
  const RECT rect{0, 0, 8, 8};
  EXPECT_EQ(PxtInsertBytesRect(nullptr, PixelFormat8bppIndexed, 8, 10, 8, &rect, 96, 96, &result),
            0);
  EXPECT_EQ(result, reinterpret_cast<Gdiplus::Bitmap*>(16));
  const Bytes bytes = NumberedPixels();
  EXPECT_EQ(
      PxtInsertBytesRect(bytes.data(), PixelFormat8bppIndexed, 8, 10, 4, &rect, 96, 96, &result),
      0);
  EXPECT_EQ(result, nullptr);
}

TEST(PxtExtractBytes, ReportsEverythingWithoutDestination) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(5, 3, PixelFormat24bppRGB));
  Extraction extraction;
  EXPECT_EQ(extraction.Run(*bitmap, nullptr), 1);
  EXPECT_EQ(extraction.width, 5U);
  EXPECT_EQ(extraction.height, 3U);
  EXPECT_EQ(extraction.stride, 16U);
  EXPECT_EQ(extraction.size, 48U);
  EXPECT_EQ(extraction.format, PixelFormat24bppRGB);
}

TEST(PxtExtractBytes, RefusesBitmapsThatNeedMoreThanItReports) {
  // Rows of 300 bytes that lie 4 bytes apart: 4 bytes are reported.
  Bytes row(300);
  Gdiplus::Bitmap bitmap(100, 1, 4, PixelFormat24bppRGB, row.data());
  if (bitmap.GetLastStatus() != Gdiplus::Ok) GTEST_SKIP() << "the platform refuses such strides";
  GuardedBuffer destination(4);
  Extraction extraction;
  EXPECT_EQ(extraction.Run(bitmap, nullptr), 1);
  EXPECT_EQ(extraction.size, 4U);
  EXPECT_EQ(extraction.Run(bitmap, destination.data()), 0);
}

TEST(PxtExtractBytes, LeavesTheBitmapUnlocked) {
  const BitmapPointer bitmap = RedGreenBlueWhite();
  Bytes destination(12);
  Extraction extraction;
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(extraction.Run(*bitmap, destination.data()), 1);
  }
}

TEST(PxtExtractBytes, CopiesThePixels) {
  const BitmapPointer bitmap = MakeBitmap(1, 2, PixelFormat24bppRGB, {1, 2, 3, 4, 5, 6});
  Bytes destination(8, 0xA5);
  Extraction extraction;
  ASSERT_EQ(extraction.Run(*bitmap, destination.data()), 1);
  ASSERT_EQ(extraction.size, 8U);
  destination[3] = destination[7] = 0;  // padding
  EXPECT_EQ(destination, (Bytes{1, 2, 3, 0, 4, 5, 6, 0}));
}

TEST(PxtExtractBytes, FillsTopDownFromBottomUpBitmaps) {
  Bytes rows = {4, 5, 6, 0, 1, 2, 3, 0};
  Gdiplus::Bitmap bitmap(1, 2, -4, PixelFormat24bppRGB, rows.data() + 4);
  ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  Bytes destination(8, 0xA5);
  Extraction extraction;
  ASSERT_EQ(extraction.Run(bitmap, destination.data()), 1);
  EXPECT_EQ(extraction.stride, 4U);
  EXPECT_EQ(extraction.size, 8U);
  destination[3] = destination[7] = 0;
  EXPECT_EQ(destination, (Bytes{1, 2, 3, 0, 4, 5, 6, 0}));
}

TEST(PxtExtractBytes, TellsSizeAndFormatOfABitmapItCannotLock) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(5, 3, PixelFormat24bppRGB));
  const HoldLock lock(*bitmap);
  Extraction extraction;
  EXPECT_EQ(extraction.Run(*bitmap, nullptr), 0);
  EXPECT_EQ(extraction.width, 5U);
  EXPECT_EQ(extraction.height, 3U);
  EXPECT_EQ(extraction.format, PixelFormat24bppRGB);
  EXPECT_EQ(extraction.size, 7U);
  EXPECT_EQ(extraction.stride, 7U);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState);
  EXPECT_EQ(PxtExtractBytes(*bitmap, nullptr, nullptr, &extraction.width, &extraction.height,
                            &extraction.stride, &extraction.format),
            0);
}

TEST(PxtExtractBytes, ReturnsWhatPxtInsertBytesWasGiven) {
  for (const auto format : {PixelFormat8bppIndexed, PixelFormat24bppRGB, PixelFormat32bppRGB,
                            PixelFormat32bppARGB, PixelFormat32bppPARGB}) {
    const std::uint32_t stride = PxtCalcStride(7, format);
    Bytes bytes(stride * 5);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 73);
    BitmapPointer bitmap;
    ASSERT_EQ(PxtInsertBytes(bytes.data(), format, 7, 5, stride, 96, 96, Receive(bitmap), nullptr),
              1);
    Bytes extracted(bytes.size(), 0xA5);
    Extraction extraction;
    ASSERT_EQ(extraction.Run(*bitmap, extracted.data()), 1);
    ASSERT_EQ(extraction.stride, stride);
    EXPECT_EQ(extraction.format, format);
    const std::size_t row_bytes = PackedBytes(format, 7);
    for (std::size_t y = 0; y < 5; ++y) {
      for (std::size_t x = 0; x < row_bytes; ++x) {
        ASSERT_EQ(extracted[y * stride + x], bytes[y * stride + x])
            << format << ' ' << x << ' ' << y;
      }
    }
  }
}

}  // namespace
}  // namespace pixtola::test
