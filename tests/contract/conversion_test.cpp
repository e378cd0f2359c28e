// What the platform promises about the pixels that a lock in another format shows and takes: the
// same as the plain definition, for every pair of formats. Written against the API alone: the same
// tests run on GDI+ and on the stand-in.

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <tuple>

#include "Pixtola.h"
#include "support/conversion_checks.h"
#include "support/pixel_rows.h"
#include "support/platform_expectations.h"
#include "support/reference_pixels.h"

namespace pixtola::test {
namespace {

constexpr INT kWidest = 70;
constexpr std::array<INT, 4> kStarts = {0, 1, 3, 13};
constexpr std::size_t kBitmapWidth = 86;

/// The bitmap's format and the lock's.
class ConversionOfPair
    : public testing::TestWithParam<std::tuple<Gdiplus::PixelFormat, Gdiplus::PixelFormat>> {
 protected:
  static Gdiplus::PixelFormat BitmapFormat() { return std::get<0>(GetParam()); }
  static Gdiplus::PixelFormat LockFormat() { return std::get<1>(GetParam()); }
  static std::string KnownReads() { return KnownReadDifference(BitmapFormat(), LockFormat()); }
  static std::string KnownWrites() { return KnownWriteDifference(BitmapFormat(), LockFormat()); }
};

std::string NameOfTest(const testing::TestParamInfo<ConversionOfPair::ParamType>& info) {
  return std::string("Of") + NameOf(std::get<0>(info.param)) + "LockedAs" +
         NameOf(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Formats, ConversionOfPair,
                         testing::Combine(testing::ValuesIn(kFormats), testing::ValuesIn(kFormats)),
                         NameOfTest);

TEST_P(ConversionOfPair, ReadsEveryWidthFromEveryStart) {
  if (!KnownReads().empty()) GTEST_SKIP() << KnownReads();
  std::mt19937 random(1);
  RowsBitmap image(kBitmapWidth, 2, BitmapFormat(), random);
  ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(BitmapFormat());
  if (HasIndexes(BitmapFormat())) {
    ASSERT_EQ(image.SetPalette(RandomPalette(image.palette.size(), random)), Gdiplus::Ok);
  }
  const PixelRows expected = ExpectedRead(image, LockFormat());
  const PixelRows before = image.rows;
  for (INT width = 1; width <= kWidest; ++width) {
    for (const INT x : kStarts) {
      if (StartIsKnownToBeIgnored(BitmapFormat(), x)) continue;
      ASSERT_NO_FATAL_FAILURE(CheckRead(image, {x, 0, width, 2}, expected));
    }
  }
  EXPECT_EQ(image.rows.bytes(), before.bytes()) << PairName(BitmapFormat(), LockFormat());
}

TEST_P(ConversionOfPair, ReadsWholeBitmapsOfEveryWidth) {
  if (!KnownReads().empty()) GTEST_SKIP() << KnownReads();
  std::mt19937 random(2);
  for (INT width = 1; width <= kWidest; ++width) {
    RowsBitmap image(static_cast<std::size_t>(width), 1, BitmapFormat(), random);
    ASSERT_NO_FATAL_FAILURE(
        CheckRead(image, WholeOf(image.rows), ExpectedRead(image, LockFormat())));
  }
}

TEST_P(ConversionOfPair, WritesEveryWidthAtEveryStart) {
  if (!KnownWrites().empty()) GTEST_SKIP() << KnownWrites();
  std::mt19937 random(3);
  RowsBitmap image(kBitmapWidth, 2, BitmapFormat(), random);
  ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(BitmapFormat());
  if (HasIndexes(BitmapFormat())) {
    ASSERT_EQ(image.SetPalette(RandomPalette(image.palette.size(), random)), Gdiplus::Ok);
  }
  const PixelRows source(kBitmapWidth, 2, LockFormat(), StrideOf(LockFormat(), kBitmapWidth),
                         random);
  const PixelRows converted = ExpectedWrite(image, source);
  const Bytes before = image.rows.bytes();
  for (INT width = 1; width <= kWidest; ++width) {
    for (const INT x : kStarts) {
      if (StartIsKnownToBeIgnored(BitmapFormat(), x)) continue;
      image.rows.SetBytes(before);
      ASSERT_NO_FATAL_FAILURE(CheckWrite(image, {x, 0, width, 2}, source, converted));
    }
  }
}

/// Tries every way to lock a bitmap; the modes with a buffer of the caller get one.
void ExpectRefusal(RowsBitmap& image, Gdiplus::PixelFormat format) {
  const Bytes before = image.rows.bytes();
  for (const UINT mode : {1U, 2U, 3U, 5U, 6U, 7U}) {
    Bytes buffer(4096, 0xA5);
    Gdiplus::BitmapData data{};
    data.Width = static_cast<UINT>(image.rows.width());
    data.Height = static_cast<UINT>(image.rows.height());
    data.PixelFormat = format;
    data.Stride = 128;
    data.Scan0 = buffer.data();
    EXPECT_EQ(image.bitmap.LockBits(nullptr, mode, format, &data), Gdiplus::InvalidParameter)
        << image.rows.format() << " as " << format << ", mode " << mode;
    EXPECT_EQ(buffer, Bytes(4096, 0xA5)) << image.rows.format() << " as " << format;
  }
  EXPECT_EQ(image.rows.bytes(), before) << image.rows.format() << " as " << format;
  Gdiplus::BitmapData data{};
  EXPECT_EQ(image.bitmap.LockBits(nullptr, 1, image.rows.format(), &data), Gdiplus::Ok)
      << image.rows.format() << " stays locked after a refusal as " << format;
  image.bitmap.UnlockBits(&data);
}

TEST(Conversion, RefusesGrayOf16BitsBothWays) {
  if (kGrayOf16BitsIsNotRefused) GTEST_SKIP() << "Wine answers otherwise";
  std::mt19937 random(4);
  for (const auto format : kFormats) {
    RowsBitmap image(5, 3, format, random);
    ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(format);
    ExpectRefusal(image, PixelFormat16bppGrayScale);
    RowsBitmap gray(5, 3, PixelFormat16bppGrayScale, random);
    ASSERT_EQ(gray.bitmap.GetLastStatus(), Gdiplus::Ok);
    ExpectRefusal(gray, format);
  }
}

TEST(Conversion, TakesGrayOf16BitsAsItIs) {
  std::mt19937 random(5);
  RowsBitmap gray(5, 3, PixelFormat16bppGrayScale, random);
  ASSERT_EQ(gray.bitmap.GetLastStatus(), Gdiplus::Ok);
  CheckRead(gray, {1, 1, 3, 2}, gray.rows);
  const PixelRows source(5, 3, PixelFormat16bppGrayScale, 12, random);
  CheckWrite(gray, {1, 0, 3, 2}, source, source);
}

/// Flags alone, and CMYK.
constexpr std::array<Gdiplus::PixelFormat, 8> kNoFormats = {
    PixelFormatUndefined, PixelFormatIndexed,  PixelFormatGDI,       PixelFormatAlpha,
    PixelFormatPAlpha,    PixelFormatExtended, PixelFormatCanonical, 0x200F};

TEST(Conversion, RefusesWhatIsNoFormatOfPixels) {
  if (kLocksInNoFormatAreNotImplemented) GTEST_SKIP() << "Wine answers otherwise";
  std::mt19937 random(6);
  for (const auto format : kFormats) {
    RowsBitmap image(5, 3, format, random);
    ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(format);
    for (const auto none : kNoFormats) ExpectRefusal(image, none);
  }
}

TEST(Conversion, HasNoBitmapsInWhatIsNoFormatOfPixels) {
  if (kBitmapsInNoFormatAreMade) GTEST_SKIP() << "Wine makes them";
  for (const auto none : kNoFormats) {
    EXPECT_EQ(Gdiplus::Bitmap(5, 3, none).GetLastStatus(), Gdiplus::InvalidParameter) << none;
    Bytes rows(20 * 3);
    EXPECT_EQ(Gdiplus::Bitmap(5, 3, 20, none, rows.data()).GetLastStatus(),
              Gdiplus::InvalidParameter)
        << none;
  }
}

}  // namespace
}  // namespace pixtola::test
