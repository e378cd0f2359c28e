// The frame of the conversions: arguments, clipping, the size query, where the source starts.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "Pixtola.h"
#include "support/guarded_buffer.h"
#include "support/test_bitmap.h"

namespace {

using pixtola::test::GuardedBuffer;
using pixtola::test::PaletteBlock;

constexpr PxtConversionMethod kAllMethods[] = {MethodGray8, MethodBilevelOtsu,
                                               MethodBilevelAdaptive, MethodBilevelDiffusion};

/// A valid call that single tests change in one place.
struct Call {
  PxtConversionMethod method = MethodGray8;
  std::vector<std::uint8_t> source = std::vector<std::uint8_t>(4 * 24, 255);
  RECT rect{0, 0, 8, 4};
  std::uint32_t bits = 24;
  std::uint32_t width = 8;
  std::uint32_t height = 4;
  std::uint32_t stride = 24;
  std::vector<std::uint8_t> destination = std::vector<std::uint8_t>(64, 0xA5);
  std::uint32_t size = 64;
  std::uint32_t destination_stride = 12345;
  const Gdiplus::ColorPalette* palette = nullptr;

  int Run() {
    return PxtBytesRectToBytes(method, source.data(), &rect, bits, width, height, stride,
                               destination.data(), &size, &destination_stride, palette);
  }
  int Query() {
    return PxtBytesRectToBytes(method, source.data(), &rect, bits, width, height, stride, nullptr,
                               &size, &destination_stride, palette);
  }
  bool IsDestinationUntouched() const {
    return destination == std::vector<std::uint8_t>(destination.size(), 0xA5);
  }
};

TEST(PxtBytesRectToBytes, ReportsNeededSizeWhenDestinationIsNull) {
  Call gray;
  gray.rect = {0, 0, 5, 2};
  EXPECT_EQ(gray.Query(), 1);
  EXPECT_EQ(gray.destination_stride, 8U);
  EXPECT_EQ(gray.size, 16U);

  Call bilevel;
  bilevel.method = MethodBilevelOtsu;
  bilevel.rect = {0, 0, 5, 2};
  EXPECT_EQ(bilevel.Query(), 1);
  EXPECT_EQ(bilevel.destination_stride, 4U);
  EXPECT_EQ(bilevel.size, 8U);
}

TEST(PxtBytesRectToBytes, RefusesUnknownMethods) {
  Call call;
  call.method = static_cast<PxtConversionMethod>(4);
  EXPECT_EQ(call.Run(), 0);
  EXPECT_EQ(call.destination_stride, 12345U);
  EXPECT_TRUE(call.IsDestinationUntouched());
}

TEST(PxtBytesRectToBytes, RefusesOtherDepths) {
  for (const std::uint32_t bits : {0U, 2U, 4U, 16U, 48U, 64U}) {
    Call call;
    call.bits = bits;
    EXPECT_EQ(call.Run(), 0) << bits;
    EXPECT_EQ(call.destination_stride, 12345U) << bits;
  }
}

TEST(PxtBytesRectToBytes, RefusesZeroSizesAndNullPointers) {
  Call call;
  EXPECT_EQ(
      PxtBytesRectToBytes(MethodGray8, nullptr, &call.rect, 24, 8, 4, 24, call.destination.data(),
                          &call.size, &call.destination_stride, nullptr),
      0);
  EXPECT_EQ(
      PxtBytesRectToBytes(MethodGray8, call.source.data(), nullptr, 24, 8, 4, 24,
                          call.destination.data(), &call.size, &call.destination_stride, nullptr),
      0);
  EXPECT_EQ(
      PxtBytesRectToBytes(MethodGray8, call.source.data(), &call.rect, 24, 8, 4, 24,
                          call.destination.data(), nullptr, &call.destination_stride, nullptr),
      0);
  EXPECT_EQ(PxtBytesRectToBytes(MethodGray8, call.source.data(), &call.rect, 24, 8, 4, 24,
                                call.destination.data(), &call.size, nullptr, nullptr),
            0);
  Call no_width;
  no_width.width = 0;
  EXPECT_EQ(no_width.Run(), 0);
  Call no_height;
  no_height.height = 0;
  EXPECT_EQ(no_height.Run(), 0);
  Call no_stride;
  no_stride.stride = 0;
  EXPECT_EQ(no_stride.Run(), 0);
}

TEST(PxtBytesRectToBytes, RefusesInvalidSourceStrides) {
  Call odd;
  odd.stride = 25;
  EXPECT_EQ(odd.Run(), 0);
  Call short_rows;
  short_rows.stride = 20;
  EXPECT_EQ(short_rows.Run(), 0);
}

TEST(PxtBytesRectToBytes, ClipsTheRectangleInPlace) {
  Call call;
  call.rect = {-3, -2, 100, 50};
  EXPECT_EQ(call.Query(), 1);
  EXPECT_EQ(call.rect.left, 0);
  EXPECT_EQ(call.rect.top, 0);
  EXPECT_EQ(call.rect.right, 8);
  EXPECT_EQ(call.rect.bottom, 4);
  EXPECT_EQ(call.size, 32U);
}

TEST(PxtBytesRectToBytes, ClipsEvenWhenTheCapacityIsTooSmall) {
  Call call;
  call.rect = {2, 1, 100, 50};
  call.size = 5;
  EXPECT_EQ(call.Run(), 0);
  EXPECT_EQ(call.rect.left, 2);
  EXPECT_EQ(call.rect.right, 8);
  EXPECT_EQ(call.rect.bottom, 4);
}

TEST(PxtBytesRectToBytes, ReportsNothingNeededForARectangleRightOfTheImage) {
  Call query;
  query.rect = {8, 0, 20, 4};
  EXPECT_EQ(query.Query(), 1);
  EXPECT_EQ(query.size, 0U);
  EXPECT_EQ(query.destination_stride, 0U);
  EXPECT_EQ(query.rect.left, 8);
  EXPECT_EQ(query.rect.right, 8);
  Call conversion;
  conversion.rect = {9, 0, 20, 4};
  EXPECT_EQ(conversion.Run(), 0);
  EXPECT_TRUE(conversion.IsDestinationUntouched());
}

TEST(PxtBytesRectToBytes, RefusesZeroRightOrBottom) {
  for (const RECT rect : {RECT{-5, 0, 0, 4}, RECT{0, -5, 8, 0}, RECT{0, 0, 0, 0}}) {
    Call call;
    call.rect = rect;
    EXPECT_EQ(call.Query(), 0);
    EXPECT_EQ(call.destination_stride, 12345U);
  }
}

TEST(PxtBytesRectToBytes, ReportsTheExactNeedWhenTheCapacityIsOneByteShort) {
  Call call;
  call.size = 31;
  EXPECT_EQ(call.Run(), 0);
  EXPECT_EQ(call.size, 32U);
  EXPECT_EQ(call.destination_stride, 8U);
  EXPECT_TRUE(call.IsDestinationUntouched());
  EXPECT_EQ(call.Run(), 1);
}

TEST(PxtBytesRectToBytes, LeavesTheSizeArgumentWhenTheCapacitySuffices) {
  Call call;
  call.size = 64;
  EXPECT_EQ(call.Run(), 1);
  EXPECT_EQ(call.size, 64U);
  // 32 bytes were needed; the others stay.
  EXPECT_EQ(call.destination[31], 254);
  EXPECT_EQ(call.destination[32], 0xA5);
}

TEST(PxtBytesRectToBytes, StartsAtLeftPlusTopTimesTheRectanglesWidth) {
  // 1 byte a pixel through an identity ramp, so that gray tells the byte that was read. Gray of an
  // opaque (v, v, v) is v - 1 for most v; the test compares with the same conversion of that byte.
  std::vector<Gdiplus::ARGB> ramp;
  for (unsigned i = 0; i < 256; ++i) ramp.push_back(0xFF000000U + i * 0x010101U);
  const PaletteBlock palette(0, ramp);
  Call call;
  call.bits = 8;
  call.width = 12;
  call.height = 8;
  call.stride = 12;
  call.source.resize(96);
  for (std::size_t i = 0; i < 96; ++i) call.source[i] = static_cast<std::uint8_t>(i);
  call.palette = palette.get();
  call.rect = {3, 2, 7, 5};
  ASSERT_EQ(call.Run(), 1);
  // Offset 3 + 2 * (7 - 3) = 11, rows 12 bytes apart: not 3 + 2 * 12.
  const auto gray = [](unsigned v) {
    return (v * 76800 / 1000 + v * 151040 / 1000 + v * 28160 / 1000) >> 8;
  };
  EXPECT_EQ(call.destination[0], gray(11));
  EXPECT_EQ(call.destination[3], gray(14));
  EXPECT_EQ(call.destination[4], gray(23));
  EXPECT_EQ(call.destination[8], gray(35));
}

TEST(PxtBytesRectToBytes, DoesNotScaleLeftByTheBytesOfAPixel) {
  Call call;
  call.source.assign(4 * 24, 0);
  call.source[2] = 255;  // red of pixel 0 when counted from byte 0, blue of it from byte 2
  call.rect = {2, 0, 3, 1};
  ASSERT_EQ(call.Run(), 1);
  EXPECT_EQ(call.destination[0], 28);
}

TEST(PxtBytesRectToBytes, ReadsBytesPastTheImagesEndAsZero) {
  GuardedBuffer source(4 * 24);
  std::fill_n(source.data(), source.size(), std::uint8_t{255});
  // Unclipped, since right is negative: 8 pixels from the offset -10 + 2 * 8 = 6 on, four rows. The
  // last one starts at byte 78; its pixels 6 and 7 lie past the 96 bytes.
  RECT rect{-10, 2, -2, 6};
  std::vector<std::uint8_t> gray(32, 0xA5);
  std::uint32_t size = 32;
  std::uint32_t stride = 0;
  ASSERT_EQ(PxtBytesRectToBytes(MethodGray8, source.data(), &rect, 24, 8, 4, 24, gray.data(), &size,
                                &stride, nullptr),
            1);
  std::vector<std::uint8_t> expected(32, 254);
  expected[30] = expected[31] = 0;
  EXPECT_EQ(gray, expected);

  // Two levels: the threshold is (2 * 1 + 30 * 255) / 32 = 239.
  std::vector<std::uint8_t> bits(16, 0xA5);
  size = 16;
  ASSERT_EQ(PxtBytesRectToBytes(MethodBilevelOtsu, source.data(), &rect, 24, 8, 4, 24, bits.data(),
                                &size, &stride, nullptr),
            1);
  EXPECT_EQ(bits[8], 0b11111111);
  EXPECT_EQ(bits[12], 0b11111100);
}

TEST(PxtBytesRectToBytes, ReadsOneBitRowsPastTheImagesEndAsZero) {
  for (const PxtConversionMethod method : kAllMethods) {
    GuardedBuffer source(4 * 8);
    std::fill_n(source.data(), source.size(), std::uint8_t{255});
    // left counts bytes: the last of the four rows starts at byte 29 of 32.
    RECT rect{5, 0, 64, 4};
    std::vector<std::uint8_t> destination(4 * 60, 0xA5);
    std::uint32_t size = 4 * 60;
    std::uint32_t stride = 0;
    ASSERT_EQ(PxtBytesRectToBytes(method, source.data(), &rect, 1, 64, 4, 8, destination.data(),
                                  &size, &stride, nullptr),
              1);
    const std::uint8_t* last_row = destination.data() + 3 * std::size_t{stride};
    if (method == MethodGray8) {
      EXPECT_EQ(last_row[23], 255);
      EXPECT_EQ(last_row[24], 0);
    } else {
      EXPECT_EQ(last_row[2], 255);
      EXPECT_EQ(last_row[3], 0);
    }
  }
}

TEST(PxtBytesRectToBytes, TreatsAWindowWhollyPastTheImageAsBlack) {
  Call call;
  // Negative edges are not clipped: the offset -8 wraps to nearly 2^32, far past these 96 bytes.
  call.rect = {-8, 0, -4, 2};
  ASSERT_EQ(call.Run(), 1);
  EXPECT_EQ(call.rect.left, -8);
  EXPECT_EQ(call.rect.right, -4);
  EXPECT_EQ(call.destination_stride, 4U);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(call.destination[static_cast<std::size_t>(i)], 0);
  EXPECT_EQ(call.destination[8], 0xA5);
}

TEST(PxtBytesRectToBytes, DoesNotClipWhenOneEdgeIsNegative) {
  Call call;
  call.rect = {-4, 0, -1, 100};
  EXPECT_EQ(call.Query(), 1);
  EXPECT_EQ(call.rect.bottom, 100);
  EXPECT_EQ(call.size, 400U);
}

TEST(PxtBytesRectToBytes, ReportsSizesIn32BitsAndRefusesWhatTrulyNeedsMore) {
  Call call;
  call.rect = {-8, 0, -1, 0x20000001};  // 0x20000001 rows of 8 bytes: 2^32 + 8
  EXPECT_EQ(call.Query(), 1);
  EXPECT_EQ(call.size, 8U);
  call.size = 64;
  EXPECT_EQ(call.Run(), 0);
  EXPECT_TRUE(call.IsDestinationUntouched());
}

TEST(PxtBytesRectToBytes, RefusesAnEightBitSourceWithoutPaletteOnlyWhenItConverts) {
  for (const PxtConversionMethod method : kAllMethods) {
    Call call;
    call.method = method;
    call.bits = 8;
    EXPECT_EQ(call.Query(), 1) << method;
    call.size = 1;
    EXPECT_EQ(call.Run(), 0) << method;
    EXPECT_GT(call.size, 1U) << method;
    call.size = 64;
    EXPECT_EQ(call.Run(), 0) << method;
  }
}

TEST(PxtBytesRectToBytes, NeverChangesTheSource) {
  for (const PxtConversionMethod method : kAllMethods) {
    Call call;
    call.method = method;
    for (std::size_t i = 0; i < call.source.size(); ++i) {
      call.source[i] = static_cast<std::uint8_t>(i * 37);
    }
    const std::vector<std::uint8_t> before = call.source;
    EXPECT_EQ(call.Run(), 1);
    EXPECT_EQ(call.source, before);
  }
}

TEST(PxtBytesToBytes, TakesWidthsBeyondSignedNumbersAsNegativeEdges) {
  // Such a rectangle is not clipped, and its width comes out as it went in.
  const std::uint8_t never_read = 0;
  std::uint32_t size = 0;
  std::uint32_t stride = 0;
  EXPECT_EQ(PxtBytesToBytes(MethodGray8, &never_read, 8, 0x80000001U, 1, 0x80000004U, nullptr,
                            &size, &stride, nullptr),
            1);
  EXPECT_EQ(stride, 0x80000004U);
  EXPECT_EQ(size, 0x80000004U);
}

TEST(PxtBytesToBytes, RefusesRowsThatTrulyNeedMoreThan32Bits) {
  // 3 * 0x55555556 wraps to 2, so the stride check is content with 4 bytes a row.
  const std::uint8_t source[4] = {};
  std::uint32_t size = 0;
  std::uint32_t stride = 0;
  ASSERT_EQ(PxtBytesToBytes(MethodBilevelOtsu, source, 24, 0x55555556U, 1, 4, nullptr, &size,
                            &stride, nullptr),
            1);
  GuardedBuffer destination(size);
  EXPECT_EQ(PxtBytesToBytes(MethodBilevelOtsu, source, 24, 0x55555556U, 1, 4, destination.data(),
                            &size, &stride, nullptr),
            0);
}

TEST(PxtBytesToBytes, ConvertsTheWholeImage) {
  Call call;
  for (std::size_t i = 0; i < call.source.size(); ++i) {
    call.source[i] = static_cast<std::uint8_t>(i * 29);
  }
  std::vector<std::uint8_t> whole(32, 0xA5);
  std::uint32_t size = 32;
  std::uint32_t stride = 0;
  EXPECT_EQ(PxtBytesToBytes(MethodGray8, call.source.data(), 24, 8, 4, 24, whole.data(), &size,
                            &stride, nullptr),
            1);
  EXPECT_EQ(stride, 8U);
  ASSERT_EQ(call.Run(), 1);
  call.destination.resize(32);
  EXPECT_EQ(whole, call.destination);
}

}  // namespace
