// Rows put in order: when they are used in place, when they are copied, and what is read of them.

#include "bitmap/rows.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/guarded_buffer.h"
#include "unit/bitmap/format_view.h"

namespace pixtola::test {
namespace {

TEST(PrepareRows, UsesAlignedRowsInPlace) {
  const std::vector<std::uint8_t> data(32);
  Rows rows;
  ASSERT_EQ(PrepareRows(FormatView(data.data(), PixelFormat24bppRGB, 2, 4, 8), rows), Gdiplus::Ok);
  EXPECT_EQ(rows.image.first_row, data.data());
  EXPECT_EQ(rows.image.stride, 8);
  EXPECT_EQ(rows.copy, nullptr);
}

TEST(PrepareRows, CopiesOtherStridesToTheNextMultipleOfFour) {
  GuardedBuffer data(10);
  for (std::size_t i = 0; i < 10; ++i) data.data()[i] = static_cast<std::uint8_t>(i + 1);
  Rows rows;
  ASSERT_EQ(PrepareRows(FormatView(data.data(), PixelFormat24bppRGB, 1, 2, 5), rows), Gdiplus::Ok);
  EXPECT_EQ(rows.image.stride, 8);
  ASSERT_NE(rows.copy, nullptr);
  EXPECT_EQ(rows.image.first_row, rows.copy.get());
  EXPECT_EQ(std::vector<std::uint8_t>(rows.image.first_row, rows.image.first_row + 5),
            (std::vector<std::uint8_t>{1, 2, 3, 4, 5}));
  EXPECT_EQ(std::vector<std::uint8_t>(rows.image.first_row + 8, rows.image.first_row + 13),
            (std::vector<std::uint8_t>{6, 7, 8, 9, 10}));
}

TEST(PrepareRows, ReadsOnlyThePixelsOfTheTopRowOfABottomUpImage) {
  // Two rows of one 24-bit pixel, 8 bytes apart; nothing follows the upper one.
  GuardedBuffer data(8 + 3);
  Rows rows;
  ASSERT_EQ(PrepareRows(FormatView(data.data() + 8, PixelFormat24bppRGB, 1, 2, 0U - 8U), rows),
            Gdiplus::Ok);
  EXPECT_EQ(rows.image.stride, 8);
}

TEST(PrepareRows, RefusesStridesThatWidenBeyondSignedNumbers) {
  GuardedBuffer data(8);
  for (const std::uint32_t stride : {0x7FFFFFFDU, 0x7FFFFFFFU, 0x80000000U}) {
    Rows rows;
    EXPECT_EQ(PrepareRows(FormatView(data.data(), PixelFormat24bppRGB, 1, 2, stride), rows),
              Gdiplus::InvalidParameter)
        << stride;
  }
}

TEST(TopDownRows, LeavesTopDownRowsInPlace) {
  std::vector<std::uint8_t> bytes(16);
  Gdiplus::BitmapData data{};
  data.Width = 2;
  data.Height = 2;
  data.Stride = 8;
  data.PixelFormat = PixelFormat24bppRGB;
  data.Scan0 = bytes.data();
  const Rows rows = TopDownRows(ViewOf(data));
  EXPECT_EQ(rows.image.first_row, bytes.data());
  EXPECT_EQ(rows.image.stride, 8);
  EXPECT_EQ(rows.copy, nullptr);
}

TEST(TopDownRows, TurnsBottomUpRowsAndClearsTheirPadding) {
  for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
    GuardedBuffer bytes(4 + 3, 0, side);
    const std::uint8_t pixels[] = {4, 5, 6, 99, 1, 2, 3};
    std::copy_n(pixels, 7, bytes.data());
    Gdiplus::BitmapData data{};
    data.Width = 1;
    data.Height = 2;
    data.Stride = -4;
    data.PixelFormat = PixelFormat24bppRGB;
    data.Scan0 = bytes.data() + 4;
    const Rows rows = TopDownRows(ViewOf(data));
    ASSERT_NE(rows.image.first_row, nullptr);
    EXPECT_EQ(rows.image.stride, 4);
    EXPECT_EQ(std::vector<std::uint8_t>(rows.image.first_row, rows.image.first_row + 8),
              (std::vector<std::uint8_t>{1, 2, 3, 0, 4, 5, 6, 0}));
  }
}

}  // namespace
}  // namespace pixtola::test
