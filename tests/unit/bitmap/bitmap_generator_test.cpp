// Bitmaps built from rows in memory: what the generator holds at the end.

#include "bitmap/bitmap_generator.h"

#include <gtest/gtest.h>

#include "support/decode_limit_guard.h"
#include "support/memory_streams.h"
#include "support/test_bitmap.h"
#include "support/test_formats.h"
#include "unit/bitmap/format_view.h"

namespace pixtola::test {
namespace {

TEST(CBitmapGenerator, ReportsInvalidParameterForNullData) {
  const CBitmapGenerator generator(FormatView(nullptr, PixelFormat24bppRGB, 1, 1, 4),
                                   PixelFormat24bppRGB, {96, 96}, nullptr);
  EXPECT_EQ(generator.status, Gdiplus::InvalidParameter);
  EXPECT_EQ(static_cast<int>(generator.status), 2);
  EXPECT_EQ(generator.bitmap, nullptr);
  EXPECT_EQ(generator.stream, nullptr);
}

TEST(CBitmapGenerator, ReportsInvalidParameterForRowsLongerThanTheirStride) {
  const Bytes data(64);
  const CBitmapGenerator generator(FormatView(data.data(), PixelFormat24bppRGB, 3, 1, 8),
                                   PixelFormat24bppRGB, {96, 96}, nullptr);
  EXPECT_EQ(generator.status, Gdiplus::InvalidParameter);
  EXPECT_EQ(generator.bitmap, nullptr);
}

TEST(CBitmapGenerator, ReportsThePlatformsStatusForSizesItRefuses) {
  const Bytes data(64);
  const CBitmapGenerator no_width(FormatView(data.data(), PixelFormat24bppRGB, 0, 1, 8),
                                  PixelFormat24bppRGB, {96, 96}, nullptr);
  EXPECT_EQ(no_width.status, Gdiplus::InvalidParameter);
  EXPECT_EQ(no_width.bitmap, nullptr);
  const CBitmapGenerator no_height(FormatView(data.data(), PixelFormat24bppRGB, 1, 0, 8),
                                   PixelFormat24bppRGB, {96, 96}, nullptr);
  EXPECT_EQ(no_height.status, Gdiplus::InvalidParameter);
  EXPECT_EQ(no_height.bitmap, nullptr);
}

TEST(CBitmapGenerator, ReportsOutOfMemoryWhenTheRowsCannotBeCopied) {
  const Bytes data(64);
  // Strides that are no multiple of 4 ask for a copy: 2 GiB a row, 2^31 - 1 rows.
  const CBitmapGenerator generator(
      FormatView(data.data(), PixelFormat24bppRGB, 1, 0x7FFFFFFF, 0x7FFFFFF9), PixelFormat24bppRGB,
      {96, 96}, nullptr);
  EXPECT_EQ(generator.status, Gdiplus::OutOfMemory);
  EXPECT_EQ(generator.bitmap, nullptr);
}

TEST(CBitmapGenerator, HandsItsBitmapOverOnce) {
  const Bytes data = {1, 2, 3, 0};
  CBitmapGenerator generator(FormatView(data.data(), PixelFormat24bppRGB, 1, 1, 4),
                             PixelFormat24bppRGB, {96, 96}, nullptr);
  ASSERT_EQ(generator.status, Gdiplus::Ok);
  const NativeBitmap bitmap = generator.Detach();
  EXPECT_NE(bitmap, nullptr);
  EXPECT_EQ(generator.bitmap, nullptr);
  EXPECT_EQ(generator.Detach(), nullptr);
}

TEST(CBitmapGenerator, FreesABitmapThatNobodyTook) {
  // The leak checker is the judge.
  const Bytes data = {1, 2, 3, 0};
  const CBitmapGenerator generator(FormatView(data.data(), PixelFormat24bppRGB, 1, 1, 4),
                                   PixelFormat24bppRGB, {96, 96}, nullptr);
  EXPECT_NE(generator.bitmap, nullptr);
}

TEST(CBitmapGenerator, HasNoStreamBehindBitmapsWithoutIndexes) {
  const Bytes data(16);
  for (const auto format : {PixelFormat16bppRGB555, PixelFormat16bppRGB565, PixelFormat24bppRGB,
                            PixelFormat32bppRGB, PixelFormat32bppARGB, PixelFormat32bppPARGB}) {
    const CBitmapGenerator generator(FormatView(data.data(), format, 2, 2, 8), format, {96, 96},
                                     nullptr);
    EXPECT_EQ(generator.status, Gdiplus::Ok);
    EXPECT_NE(generator.bitmap, nullptr);
    EXPECT_EQ(generator.stream, nullptr);
  }
}

TEST(CBitmapGenerator, DecodesIndexedBitmapsFromABmpCopyInItsStream) {
  const Bytes data(16);
  for (const auto format : kIndexedFormats) {
    const CBitmapGenerator generator(FormatView(data.data(), format, 4, 4, 4), format, {96, 96},
                                     nullptr);
    EXPECT_EQ(generator.status, Gdiplus::Ok);
    EXPECT_NE(generator.bitmap, nullptr);
    ASSERT_NE(generator.stream, nullptr);
    const Bytes copy = BytesOf(*generator.stream);
    ASSERT_GT(copy.size(), 54U);
    EXPECT_EQ(copy[0], 'B');
    EXPECT_EQ(copy[1], 'M');
    // Four rows of four bytes from where the header says, and nothing after them.
    EXPECT_EQ(copy[10] + copy[11] * 256U + 16U, copy.size());
  }
}

TEST(CBitmapGenerator, HoldsOneReferenceToItsStream) {
  const Bytes data(16);
  IStream* stream = nullptr;
  {
    const CBitmapGenerator generator(FormatView(data.data(), PixelFormat8bppIndexed, 4, 4, 4),
                                     PixelFormat8bppIndexed, {96, 96}, nullptr);
    stream = generator.stream.get();
    ASSERT_NE(stream, nullptr);
    stream->AddRef();
  }
  EXPECT_EQ(stream->Release(), 0U);
}

TEST(CBitmapGenerator, HasNoStreamWhenItFails) {
  const Bytes data(16);
  for (const auto format : kIndexedFormats) {
    const CBitmapGenerator null_data(FormatView(nullptr, format, 4, 4, 4), format, {96, 96},
                                     nullptr);
    EXPECT_EQ(null_data.status, Gdiplus::InvalidParameter);
    EXPECT_EQ(null_data.stream, nullptr);
    const CBitmapGenerator no_width(FormatView(data.data(), format, 0, 4, 4), format, {96, 96},
                                    nullptr);
    EXPECT_EQ(no_width.status, Gdiplus::InvalidParameter);
    EXPECT_EQ(no_width.bitmap, nullptr);
    EXPECT_EQ(no_width.stream, nullptr);
  }
}

TEST(CBitmapGenerator, IsNotHeldToTheDecodeLimit) {
  // The limit is on what files claim. These pixels are there already.
  const Bytes data(64 * 64, 0x5A);
  const DecodeLimitGuard limit({1, 16});
  for (const auto format : kIndexedFormats) {
    const CBitmapGenerator generator(FormatView(data.data(), format, 64, 64, 64), format, {96, 96},
                                     nullptr);
    EXPECT_EQ(generator.status, Gdiplus::Ok);
    EXPECT_NE(generator.bitmap, nullptr);
  }
}

}  // namespace
}  // namespace pixtola::test
