// Rows of pixels inside the stand-in: the short ways must equal the long one, and what the platform
// leaves open is pinned.

#include "imaging/row_conversion.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "imaging/bitmap_object.h"
#include "imaging/color_rows.h"
#include "imaging/indexed_rows.h"
#include "support/guarded_buffer.h"
#include "support/test_bitmap.h"

namespace pixtola::portable {
namespace {

using test::Bytes;

Palette PaletteOf(const std::vector<Gdiplus::ARGB>& colors) {
  Palette palette;
  palette.count = static_cast<UINT>(colors.size());
  std::copy(colors.begin(), colors.end(), palette.entries.begin());
  return palette;
}

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

TEST(NearestColor, TakesTheNearestEntryAndTheFirstOfEquals) {
  // Black, and 20 blue twice.
  NearestColor nearest(PaletteOf({0xFF000000, 0xFF000014, 0xFF000014}), 256);
  EXPECT_EQ(nearest.IndexOf(0xFF000009), 0U);
  EXPECT_EQ(nearest.IndexOf(0xFF00000A), 0U);
  EXPECT_EQ(nearest.IndexOf(0xFF00000B), 1U);
  EXPECT_EQ(nearest.IndexOf(0x00FFFFFF), 1U);
}

TEST(NearestColor, LooksAtTheEntriesThatCanBeUsedOnly) {
  const Palette palette = PaletteOf({0xFF000000, 0xFF808080, 0xFFFFFFFF});
  EXPECT_EQ(NearestColor(palette, 2).IndexOf(0xFFFFFFFF), 1U);
  EXPECT_EQ(NearestColor(palette, 256).IndexOf(0xFFFFFFFF), 2U);
  EXPECT_EQ(NearestColor(Palette{}, 256).IndexOf(0xFFFFFFFF), 0U);
}

TEST(NearestColor, FindsWhatASearchOfAllEntriesFinds) {
  std::mt19937 random(3);
  for (const unsigned count : {1U, 2U, 3U, 16U, 200U, 256U}) {
    for (const bool is_clustered : {false, true}) {
      std::vector<Gdiplus::ARGB> colors(count);
      // Clustered colours are close to each other, and many are equal.
      for (auto& color : colors) {
        color = static_cast<Gdiplus::ARGB>(random()) & (is_clustered ? 0x07070707U : 0xFFFFFFFFU);
      }
      NearestColor nearest(PaletteOf(colors), 256);
      for (int i = 0; i < 20000; ++i) {
        const auto color = static_cast<Gdiplus::ARGB>(random());
        unsigned expected = 0;
        int least = 3 * 255 * 255 + 1;
        for (unsigned entry = 0; entry < count; ++entry) {
          int distance = 0;
          for (const unsigned shift : {0U, 8U, 16U}) {
            const int d = static_cast<int>(colors[entry] >> shift & 0xFF) -
                          static_cast<int>(color >> shift & 0xFF);
            distance += d * d;
          }
          if (distance < least) {
            least = distance;
            expected = entry;
          }
        }
        ASSERT_EQ(nearest.IndexOf(color), expected) << count << std::hex << " " << color;
      }
    }
  }
}

TEST(ArgbToRow, TruncatesTo16Bits) {
  const Gdiplus::ARGB argb[] = {0x7F0F0F0F, 0x80FFFFFF};
  Bytes row(4);
  ArgbToRow(argb, 2, PixelFormat16bppARGB1555, row.data(), 0);
  EXPECT_EQ(row, (Bytes{0x21, 0x04, 0xFF, 0xFF}));
}

TEST(RowToArgb, ShowsPixelsBeyondThePaletteAsBlack) {
  const Palette palette = PaletteOf({0xFFFFFFFF});
  const Bytes row = {0, 1};
  Gdiplus::ARGB argb[2] = {};
  RowToArgb(row.data(), 0, 2, PixelFormat8bppIndexed, palette, argb);
  EXPECT_EQ(argb[0], 0xFFFFFFFFU);
  EXPECT_EQ(argb[1], 0xFF000000U);
}

TEST(RowConversion, ByTheShortWayEqualsTheWayByColours) {
  const Palette none;
  Palette palette = DefaultPalette(PixelFormat8bppIndexed);
  palette.count = 200;  // some indexes lie beyond
  palette.entries[7] = 0x40C08001;
  std::mt19937 random(20);
  unsigned short_ways = 0;
  for (const auto from : {PixelFormat8bppIndexed, PixelFormat24bppRGB, PixelFormat32bppRGB,
                          PixelFormat32bppARGB, PixelFormat32bppPARGB}) {
    for (const auto to :
         {PixelFormat24bppRGB, PixelFormat32bppRGB, PixelFormat32bppARGB, PixelFormat32bppPARGB}) {
      if (from == to) continue;
      if (from == PixelFormat8bppIndexed || FindDirectRow(from, to) != nullptr) ++short_ways;
      RowConversion conversion(from, palette, to, none);
      for (std::uint32_t width = 1; width <= 70; ++width) {
        // Guarded, so that a byte read or written outside of the row ends the test.
        test::GuardedBuffer source(std::size_t{width} * BitsPerPixel(from) / 8);
        test::GuardedBuffer destination(std::size_t{width} * BitsPerPixel(to) / 8);
        for (BYTE& byte : source.span()) byte = static_cast<BYTE>(random());
        conversion.Convert({source.data(), 0}, {destination.data(), 0}, width);

        std::vector<Gdiplus::ARGB> colors(width);
        Bytes expected(destination.size());
        RowToArgb(source.data(), 0, width, from, palette, colors.data());
        ArgbToRow(colors.data(), width, to, expected.data(), 0);
        ASSERT_EQ(Bytes(destination.span().begin(), destination.span().end()), expected)
            << std::hex << from << " to " << to << std::dec << ", width " << width;
      }
    }
  }
  EXPECT_EQ(short_ways, 16U);
}

TEST(BitmapObject, RefusesRowsLongerThanAStrideCanSay) {
  EXPECT_EQ(BitmapObject::Create(0x7FFFFFFF, 1, PixelFormat32bppARGB), nullptr);
}

}  // namespace
}  // namespace pixtola::portable
