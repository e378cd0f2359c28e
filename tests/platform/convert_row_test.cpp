// Pixel-format conversion inside the stand-in, where the contract leaves the choice to it.

#include "imaging/convert_row.h"

#include <gtest/gtest.h>

#include <vector>

#include "imaging/bitmap_object.h"
#include "support/test_bitmap.h"

namespace pixtola::portable {
namespace {

using test_support::Bytes;

TEST(CopyPixels, ShiftsPartsOfBytes) {
  const Bytes source = {0b00011010, 0b11100101};
  Bytes destination = {0xFF, 0xFF};
  CopyPixels(source.data(), 3, destination.data(), 0, 10, 1);
  EXPECT_EQ(destination, (Bytes{0b11010111, 0b00111111}));
  CopyPixels(source.data(), 0, destination.data(), 5, 3, 1);
  EXPECT_EQ(destination, (Bytes{0b11010000, 0b00111111}));
}

TEST(CopyPixels, CopiesAnyPartOfFourBitRows) {
  const Bytes source = {0x12, 0x34, 0x56};
  Bytes destination = {0xFF, 0xFF, 0xFF};
  CopyPixels(source.data(), 1, destination.data(), 2, 3, 4);
  EXPECT_EQ(destination, (Bytes{0xFF, 0x23, 0x4F}));
}

TEST(ArgbToRow, TakesTheNearestEntryAndTheFirstOfEquals) {
  Palette palette;
  palette.count = 3;
  palette.entries[0] = 0xFF000000;
  palette.entries[1] = 0xFF000014;  // 20 blue
  palette.entries[2] = 0xFF000014;
  const Gdiplus::ARGB argb[] = {0xFF000009, 0xFF00000A, 0xFF00000B, 0xFFFFFFFF};
  Bytes row(4, 0xA5);
  ArgbToRow(argb, 4, PixelFormat8bppIndexed, palette, row.data(), 0);
  EXPECT_EQ(row, (Bytes{0, 0, 1, 1}));
}

TEST(ArgbToRow, TruncatesTo16Bits) {
  const Gdiplus::ARGB argb[] = {0x7F0F0F0F, 0x80FFFFFF};
  Bytes row(4);
  ArgbToRow(argb, 2, PixelFormat16bppARGB1555, {}, row.data(), 0);
  EXPECT_EQ(row, (Bytes{0x21, 0x04, 0xFF, 0xFF}));
}

TEST(RowToArgb, ShowsPixelsBeyondThePaletteAsBlack) {
  Palette palette;
  palette.count = 1;
  palette.entries[0] = 0xFFFFFFFF;
  const Bytes row = {0, 1};
  Gdiplus::ARGB argb[2] = {};
  RowToArgb(row.data(), 0, 2, PixelFormat8bppIndexed, palette, argb);
  EXPECT_EQ(argb[0], 0xFFFFFFFFU);
  EXPECT_EQ(argb[1], 0xFF000000U);
}

TEST(RowConversions, KeepPixelsThatBothFormatsCanHold) {
  constexpr Gdiplus::PixelFormat kFormats[] = {PixelFormat24bppRGB, PixelFormat32bppRGB,
                                               PixelFormat32bppARGB, PixelFormat32bppPARGB};
  const std::vector<Gdiplus::ARGB> colors = {0xFF000000, 0xFFFFFFFF, 0xFF123456, 0xFFFEDCBA};
  for (const auto format : kFormats) {
    Bytes row(16);
    std::vector<Gdiplus::ARGB> back(4);
    ArgbToRow(colors.data(), 4, format, {}, row.data(), 0);
    RowToArgb(row.data(), 0, 4, format, {}, back.data());
    EXPECT_EQ(back, colors) << format;
  }
}

TEST(BitmapObject, RefusesRowsLongerThanAStrideCanSay) {
  EXPECT_EQ(BitmapObject::Create(0x7FFFFFFF, 1, PixelFormat32bppARGB), nullptr);
}

TEST(LockBits, GivesSubRectanglesAtOddPixelsOfBitRows) {
  const auto bitmap = test_support::MakeBitmap(16, 2, PixelFormat1bppIndexed,
                                               {0b00011010, 0b11100101, 0b11110000, 0b00001111});
  const Gdiplus::Rect part(3, 0, 10, 2);
  Gdiplus::BitmapData data{};
  ASSERT_EQ(bitmap->LockBits(&part, Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeWrite,
                             PixelFormat1bppIndexed, &data),
            Gdiplus::Ok);
  auto* rows = static_cast<std::uint8_t*>(data.Scan0);
  EXPECT_EQ(rows[0], 0b11010111);
  EXPECT_EQ(rows[1], 0b00000000);
  EXPECT_EQ(rows[data.Stride], 0b10000000);
  rows[0] = 0;
  bitmap->UnlockBits(&data);
  EXPECT_EQ(test_support::PixelsOf(*bitmap),
            (Bytes{0b00000000, 0b00000101, 0b11110000, 0b00001111}));
}

}  // namespace
}  // namespace pixtola::portable
