// What the platform promises about locks. Written against the API alone: the same tests run on GDI+
// and on the stand-in.

#include <gtest/gtest.h>

#include <vector>

#include "Pixtola.h"
#include "support/platform_expectations.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

constexpr UINT kRead = Gdiplus::ImageLockModeRead;
constexpr UINT kWrite = Gdiplus::ImageLockModeWrite;
constexpr UINT kUserBuffer = Gdiplus::ImageLockModeUserInputBuf;

/// A 4 x 3 image; pixel (x, y) is (10 * y + x, 100, 200).
BitmapPointer Numbered() {
  Bytes rows;
  for (unsigned y = 0; y < 3; ++y) {
    for (unsigned x = 0; x < 4; ++x) {
      rows.insert(rows.end(), {static_cast<std::uint8_t>(10 * y + x), 100, 200});
    }
  }
  return MakeBitmap(4, 3, PixelFormat24bppRGB, rows);
}

TEST(LockBits, WithoutRectangleTakesTheWholeImage) {
  const BitmapPointer bitmap = Numbered();
  Gdiplus::BitmapData data{};
  ASSERT_EQ(bitmap->LockBits(nullptr, kRead, PixelFormat24bppRGB, &data), Gdiplus::Ok);
  EXPECT_EQ(data.Width, 4U);
  EXPECT_EQ(data.Height, 3U);
  EXPECT_EQ(data.Stride, 12);
  EXPECT_EQ(data.PixelFormat, PixelFormat24bppRGB);
  EXPECT_EQ(bitmap->UnlockBits(&data), Gdiplus::Ok);
}

TEST(LockBits, RefusesRectanglesOutsideTheImage) {
  const BitmapPointer bitmap = Numbered();
  Gdiplus::BitmapData data{};
  for (const Gdiplus::Rect& rect :
       {Gdiplus::Rect(0, 0, 5, 3), Gdiplus::Rect(0, 0, 4, 4), Gdiplus::Rect(-1, 0, 2, 2),
        Gdiplus::Rect(0, -1, 2, 2), Gdiplus::Rect(3, 2, 2, 1)}) {
    EXPECT_EQ(bitmap->LockBits(&rect, kRead, PixelFormat24bppRGB, &data),
              Gdiplus::InvalidParameter);
  }
}

TEST(LockBits, RefusesEmptyRectangles) {
  if (kEmptyRectanglesAreLocked) GTEST_SKIP() << "Wine locks them";
  const BitmapPointer bitmap = Numbered();
  Gdiplus::BitmapData data{};
  for (const Gdiplus::Rect& rect :
       {Gdiplus::Rect(1, 1, 0, 1), Gdiplus::Rect(1, 1, 1, 0), Gdiplus::Rect(0, 0, 0, 0),
        Gdiplus::Rect(2, 2, -1, 1), Gdiplus::Rect(2, 2, 1, -1)}) {
    EXPECT_EQ(bitmap->LockBits(&rect, kRead, PixelFormat24bppRGB, &data),
              Gdiplus::InvalidParameter);
  }
}

TEST(LockBits, RefusesASecondLock) {
  const BitmapPointer bitmap = Numbered();
  Gdiplus::BitmapData data{};
  Gdiplus::BitmapData second{};
  ASSERT_EQ(bitmap->LockBits(nullptr, kRead, PixelFormat24bppRGB, &data), Gdiplus::Ok);
  EXPECT_EQ(bitmap->LockBits(nullptr, kRead, PixelFormat24bppRGB, &second), Gdiplus::WrongState);
  // A missing place for the answer is noticed before the lock, a wrong format after it.
  EXPECT_EQ(bitmap->LockBits(nullptr, kRead, PixelFormat24bppRGB, nullptr),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(bitmap->LockBits(nullptr, kRead, PixelFormatUndefined, &second), Gdiplus::WrongState);
  bitmap->UnlockBits(&data);
}

TEST(LockBits, AllowsDisposingALockedBitmap) {
  BitmapPointer bitmap = Numbered();
  Gdiplus::BitmapData data{};
  ASSERT_EQ(bitmap->LockBits(nullptr, kRead, PixelFormat32bppARGB, &data), Gdiplus::Ok);
  bitmap.reset();  // the leak checker is the judge
}

TEST(UnlockBits, RefusesABitmapThatIsNotLocked) {
  if (kUnlockWithoutLockIsWrongState) GTEST_SKIP() << "Wine answers otherwise";
  const BitmapPointer bitmap = Numbered();
  Gdiplus::BitmapData data{};
  EXPECT_EQ(bitmap->UnlockBits(&data), Gdiplus::Win32Error);
}

TEST(LockBits, PointsIntoTheBitmapInItsOwnFormat) {
  const BitmapPointer bitmap = Numbered();
  const Gdiplus::Rect part(1, 1, 2, 2);
  Gdiplus::BitmapData data{};
  ASSERT_EQ(bitmap->LockBits(&part, kRead | kWrite, PixelFormat24bppRGB, &data), Gdiplus::Ok);
  EXPECT_EQ(data.Stride, 12);  // the bitmap's, although the rectangle is narrower
  EXPECT_EQ(static_cast<std::uint8_t*>(data.Scan0)[0], 11);
  static_cast<std::uint8_t*>(data.Scan0)[0] = 77;
  bitmap->UnlockBits(&data);
  EXPECT_EQ(PixelsOf(*bitmap)[12 + 3], 77);
}

TEST(LockBits, ConvertsIntoTemporaryRows) {
  const BitmapPointer bitmap = Numbered();
  const Gdiplus::Rect part(1, 1, 2, 2);
  Gdiplus::BitmapData data{};
  ASSERT_EQ(bitmap->LockBits(&part, kRead, PixelFormat32bppARGB, &data), Gdiplus::Ok);
  ASSERT_EQ(data.Stride, 8);
  const auto* bytes = static_cast<const std::uint8_t*>(data.Scan0);
  EXPECT_EQ(Bytes(bytes, bytes + 16),
            (Bytes{11, 100, 200, 255, 12, 100, 200, 255, 21, 100, 200, 255, 22, 100, 200, 255}));
  bitmap->UnlockBits(&data);
}

TEST(LockBits, LosesWhatIsWrittenUnderAConvertingReadLock) {
  const BitmapPointer bitmap = Numbered();
  const Bytes before = PixelsOf(*bitmap);
  Gdiplus::BitmapData data{};
  ASSERT_EQ(bitmap->LockBits(nullptr, kRead, PixelFormat32bppARGB, &data), Gdiplus::Ok);
  static_cast<std::uint8_t*>(data.Scan0)[0] = 99;
  bitmap->UnlockBits(&data);
  EXPECT_EQ(PixelsOf(*bitmap), before);
}

TEST(LockBits, WritesConvertedPixelsBackAtUnlock) {
  const BitmapPointer bitmap = Numbered();
  const Gdiplus::Rect part(3, 2, 1, 1);
  Gdiplus::BitmapData data{};
  ASSERT_EQ(bitmap->LockBits(&part, kWrite, PixelFormat32bppARGB, &data), Gdiplus::Ok);
  auto* bytes = static_cast<std::uint8_t*>(data.Scan0);
  bytes[0] = 1;
  bytes[1] = 2;
  bytes[2] = 3;
  bytes[3] = 255;
  bitmap->UnlockBits(&data);
  const Bytes pixels = PixelsOf(*bitmap);
  EXPECT_EQ(Bytes(pixels.end() - 6, pixels.end()), (Bytes{22, 100, 200, 1, 2, 3}));
}

TEST(LockBits, FillsAUserBufferAtLockTime) {
  const BitmapPointer bitmap = Numbered();
  const Gdiplus::Rect part(1, 1, 2, 2);
  Bytes buffer(20, 0xA5);
  Gdiplus::BitmapData data{};
  data.Scan0 = buffer.data();
  data.Stride = 10;
  data.Width = 2;
  data.Height = 2;
  data.PixelFormat = PixelFormat24bppRGB;
  ASSERT_EQ(bitmap->LockBits(&part, kRead | kUserBuffer, PixelFormat24bppRGB, &data), Gdiplus::Ok);
  EXPECT_EQ(buffer, (Bytes{11, 100, 200, 12, 100, 200, 0xA5, 0xA5, 0xA5, 0xA5,  //
                           21, 100, 200, 22, 100, 200, 0xA5, 0xA5, 0xA5, 0xA5}));
  buffer[0] = 99;
  bitmap->UnlockBits(&data);
  EXPECT_EQ(PixelsOf(*bitmap)[12 + 3], 11);
}

TEST(LockBits, ReadsAUserBufferAtUnlock) {
  const BitmapPointer bitmap = Numbered();
  const Gdiplus::Rect part(0, 0, 2, 1);
  Bytes buffer(8, 0);
  Gdiplus::BitmapData data{};
  data.Scan0 = buffer.data();
  data.Stride = 8;
  data.Width = 2;
  data.Height = 1;
  data.PixelFormat = PixelFormat24bppRGB;
  ASSERT_EQ(bitmap->LockBits(&part, kWrite | kUserBuffer, PixelFormat24bppRGB, &data), Gdiplus::Ok);
  buffer = {9, 8, 7, 6, 5, 4, 0, 0};
  bitmap->UnlockBits(&data);
  const Bytes pixels = PixelsOf(*bitmap);
  EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 9), (Bytes{9, 8, 7, 6, 5, 4, 2, 100, 200}));
}

TEST(LockBits, RefusesAMissingUserBuffer) {
  if (kNullUserBuffersCrash) GTEST_SKIP() << "Wine crashes";
  const BitmapPointer bitmap = Numbered();
  Gdiplus::BitmapData data{};
  data.Stride = 12;
  EXPECT_EQ(bitmap->LockBits(nullptr, kRead | kUserBuffer, PixelFormat24bppRGB, &data),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(bitmap->LockBits(nullptr, kUserBuffer, PixelFormat24bppRGB, &data),
            Gdiplus::InvalidParameter);
}

TEST(LockBits, RefusesAUserBufferThatIsNeitherReadNorFilled) {
  if (kLocksForNothingAreTaken) GTEST_SKIP() << "Wine takes it";
  const BitmapPointer bitmap = Numbered();
  Bytes buffer(36, 0xA5);
  Gdiplus::BitmapData data{};
  data.Width = 4;
  data.Height = 3;
  data.Stride = 12;
  data.PixelFormat = PixelFormat24bppRGB;
  data.Scan0 = buffer.data();
  EXPECT_EQ(bitmap->LockBits(nullptr, kUserBuffer, PixelFormat24bppRGB, &data),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(buffer, Bytes(36, 0xA5));
}

TEST(LockBits, RefusesWhatIsNoPixelFormat) {
  if (kLocksInNoFormatAreNotImplemented) GTEST_SKIP() << "Wine answers otherwise";
  const BitmapPointer bitmap = Numbered();
  Gdiplus::BitmapData data{};
  for (const Gdiplus::PixelFormat format : {0, PixelFormatIndexed, PixelFormatGDI}) {
    EXPECT_EQ(bitmap->LockBits(nullptr, kRead, format, &data), Gdiplus::InvalidParameter) << format;
  }
}

TEST(LockBits, ReadsIndexedPixelsThroughTheirPalette) {
  const BitmapPointer bitmap = MakeBitmap(4, 1, PixelFormat8bppIndexed, {0, 1, 1, 0});
  bitmap->SetPalette(PaletteBlock(0, {0xFF010203, 0xFF040506}).get());
  EXPECT_EQ(PixelsOf(*bitmap, PixelFormat24bppRGB), (Bytes{3, 2, 1, 6, 5, 4, 6, 5, 4, 3, 2, 1}));
  const BitmapPointer bilevel = MakeBitmap(8, 1, PixelFormat1bppIndexed, {0b10000001});
  const Bytes rgb = PixelsOf(*bilevel, PixelFormat24bppRGB);
  EXPECT_EQ(rgb[0], 255);
  EXPECT_EQ(rgb[3], 0);
  EXPECT_EQ(rgb[21], 255);
}

TEST(LockBits, DropsAlphaToward24Bits) {
  const BitmapPointer bitmap = MakeBitmap(2, 1, PixelFormat32bppARGB, {1, 2, 3, 128, 4, 5, 6, 0});
  EXPECT_EQ(PixelsOf(*bitmap, PixelFormat24bppRGB), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(LockBits, Widens16BitColours) {
  if (kGreenOf555LacksLowBits) GTEST_SKIP() << "Wine computes green otherwise";
  const BitmapPointer rgb555 = MakeBitmap(2, 1, PixelFormat16bppRGB555, {0x1F, 0x7C, 0x10, 0x02});
  // Red and blue full; green 16 of 31 and blue 16: 16 << 3 | 16 >> 2 = 132.
  EXPECT_EQ(PixelsOf(*rgb555, PixelFormat24bppRGB), (Bytes{255, 0, 255, 132, 132, 0}));
  const BitmapPointer rgb565 = MakeBitmap(2, 1, PixelFormat16bppRGB565, {0xE0, 0x07, 0x00, 0x04});
  // Green full; green 32 of 63: 32 << 2 | 32 >> 4 = 130.
  EXPECT_EQ(PixelsOf(*rgb565, PixelFormat24bppRGB), (Bytes{0, 255, 0, 0, 130, 0}));
}

TEST(LockBits, PremultipliesAndBack) {
  const BitmapPointer straight = MakeBitmap(1, 1, PixelFormat32bppARGB, {200, 100, 51, 128});
  // 200 * 128 / 255 = 100.4, 100 * 128 / 255 = 50.2, 51 * 128 / 255 = 25.6
  EXPECT_EQ(PixelsOf(*straight, PixelFormat32bppPARGB), (Bytes{100, 50, 26, 128}));
  const BitmapPointer premultiplied = MakeBitmap(1, 1, PixelFormat32bppPARGB, {100, 50, 26, 128});
  // 0xFF0000 / 128 = 130560; 100 * 130560 >> 16 = 199, 50 -> 99, 26 -> 51
  EXPECT_EQ(PixelsOf(*premultiplied, PixelFormat32bppARGB), (Bytes{199, 99, 51, 128}));
}

TEST(LockBits, KeepsBitsOutsideTheRectangle) {
  if (kUserBufferLocksLosePartialBytes) GTEST_SKIP() << "Wine loses the last bits";
  const BitmapPointer bitmap = MakeBitmap(16, 1, PixelFormat1bppIndexed, {0xFF, 0xFF});
  const Gdiplus::Rect part(0, 0, 11, 1);
  Bytes buffer = {0, 0, 0, 0};
  Gdiplus::BitmapData data{};
  data.Scan0 = buffer.data();
  data.Stride = 4;
  data.Width = 11;
  data.Height = 1;
  data.PixelFormat = PixelFormat1bppIndexed;
  ASSERT_EQ(bitmap->LockBits(&part, kWrite | kUserBuffer, PixelFormat1bppIndexed, &data),
            Gdiplus::Ok);
  bitmap->UnlockBits(&data);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0, 0b00011111}));
}

}  // namespace
}  // namespace pixtola::test
