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

namespace {

using reference_pixels::IsIndexed;
using reference_pixels::kFormats;
using reference_pixels::NameOf;
using test_support::CheckRead;
using test_support::CheckWrite;
using test_support::ExpectedRead;
using test_support::ExpectedWrite;
using test_support::PairName;
using test_support::PixelRows;
using test_support::RandomPalette;
using test_support::RowsBitmap;
using test_support::StrideOf;
using test_support::WholeOf;

constexpr INT kWidest = 70;
constexpr std::array<INT, 4> kStarts = {0, 1, 3, 13};
constexpr std::size_t kBitmapWidth = 86;

/// The bitmap's format and the lock's.
class ConversionOfPair
    : public testing::TestWithParam<std::tuple<Gdiplus::PixelFormat, Gdiplus::PixelFormat>> {
 protected:
  static Gdiplus::PixelFormat BitmapFormat() { return std::get<0>(GetParam()); }
  static Gdiplus::PixelFormat LockFormat() { return std::get<1>(GetParam()); }
};

std::string NameOfTest(const testing::TestParamInfo<ConversionOfPair::ParamType>& info) {
  return std::string("Of") + NameOf(std::get<0>(info.param)) + "LockedAs" +
         NameOf(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Formats, ConversionOfPair,
                         testing::Combine(testing::ValuesIn(kFormats), testing::ValuesIn(kFormats)),
                         NameOfTest);

TEST_P(ConversionOfPair, ReadsEveryWidthFromEveryStart) {
  std::mt19937 random(1);
  RowsBitmap image(kBitmapWidth, 2, BitmapFormat(), random);
  ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(BitmapFormat());
  if (IsIndexed(BitmapFormat())) {
    ASSERT_EQ(image.SetPalette(RandomPalette(image.palette.size(), random)), Gdiplus::Ok);
  }
  const PixelRows expected = ExpectedRead(image, LockFormat());
  const PixelRows before = image.rows;
  for (INT width = 1; width <= kWidest; ++width) {
    for (const INT x : kStarts) {
      ASSERT_NO_FATAL_FAILURE(CheckRead(image, {x, 0, width, 2}, expected));
    }
  }
  EXPECT_EQ(image.rows.bytes(), before.bytes()) << PairName(BitmapFormat(), LockFormat());
}

TEST_P(ConversionOfPair, ReadsWholeBitmapsOfEveryWidth) {
  std::mt19937 random(2);
  for (INT width = 1; width <= kWidest; ++width) {
    RowsBitmap image(static_cast<std::size_t>(width), 1, BitmapFormat(), random);
    ASSERT_NO_FATAL_FAILURE(
        CheckRead(image, WholeOf(image.rows), ExpectedRead(image, LockFormat())));
  }
}

TEST_P(ConversionOfPair, WritesEveryWidthAtEveryStart) {
  std::mt19937 random(3);
  RowsBitmap image(kBitmapWidth, 2, BitmapFormat(), random);
  ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(BitmapFormat());
  if (IsIndexed(BitmapFormat())) {
    ASSERT_EQ(image.SetPalette(RandomPalette(image.palette.size(), random)), Gdiplus::Ok);
  }
  const PixelRows source(kBitmapWidth, 2, LockFormat(), StrideOf(LockFormat(), kBitmapWidth),
                         random);
  const PixelRows converted = ExpectedWrite(image, source);
  const test_support::Bytes before = image.rows.bytes();
  for (INT width = 1; width <= kWidest; ++width) {
    for (const INT x : kStarts) {
      image.rows.SetBytes(before);
      ASSERT_NO_FATAL_FAILURE(CheckWrite(image, {x, 0, width, 2}, source, converted));
    }
  }
}

}  // namespace
