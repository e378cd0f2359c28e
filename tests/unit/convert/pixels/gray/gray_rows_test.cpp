#include "convert/pixels/gray/gray_rows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "convert/gray_lookup.h"
#include "support/test_bitmap.h"

namespace pixtola {
namespace {

using test::PaletteBlock;
using Bytes = std::vector<std::uint8_t>;

GrayLookup LookupOf(const std::vector<Gdiplus::ARGB>& entries) {
  return MakeGrayLookup(*PaletteBlock(0, entries).get());
}

TEST(GrayRows, AreReadFromAnyRowOnWithoutTheirPadding) {
  const Bytes source = {1, 2, 0, 0, 3, 4, 0, 0, 5, 6, 0, 0};
  const GrayLookup lookup = LookupOf({0, 0, 0, 0xFFFFFFFF, 0, 0, 0xFFFF0000});
  const GrayRows rows({source.data(), 2, 3, 4, 8}, &lookup);
  Bytes packed(5, 0xA5);
  rows.Read(1, 2, packed.data(), 2);
  EXPECT_EQ(packed, (Bytes{254, 0, 0, 76, 0xA5}));
  Bytes apart(6, 0xA5);
  rows.Read(1, 2, apart.data(), 3);
  EXPECT_EQ(apart, (Bytes{254, 0, 0xA5, 0, 76, 0xA5}));
}

TEST(GrayRows, OfOneBitAreBlackAndWhite) {
  const Bytes source = {0b10100000, 9, 9, 9, 0b01000000, 9, 9, 9};
  const GrayRows rows({source.data(), 3, 2, 4, 1}, nullptr);
  ASSERT_TRUE(rows.IsValid());
  Bytes gray(6);
  rows.Read(0, 2, gray.data(), 3);
  EXPECT_EQ(gray, (Bytes{255, 0, 255, 0, 255, 0}));
  const auto levels = rows.CountLevels();
  ASSERT_TRUE(levels.has_value());
  EXPECT_EQ((*levels)[0], 3U);
  EXPECT_EQ((*levels)[255], 3U);
  EXPECT_EQ((*levels)[128], 0U);
}

TEST(GrayRows, NeedADepthThatConvertsAndTheLookupOfEightBits) {
  const Bytes source(16);
  const GrayLookup lookup = LookupOf({0xFF000000, 0xFFFFFFFF});
  EXPECT_TRUE(GrayRows({source.data(), 4, 1, 16, 24}, nullptr).IsValid());
  EXPECT_TRUE(GrayRows({source.data(), 4, 1, 4, 8}, &lookup).IsValid());
  EXPECT_FALSE(GrayRows({source.data(), 4, 1, 4, 8}, nullptr).IsValid());
  EXPECT_FALSE(GrayRows({source.data(), 4, 1, 16, 16}, &lookup).IsValid());
}

/// Every level of every row, padding left out, whatever the depth and however many rows there are.
TEST(GrayRows, CountTheLevelsThatTheRowsHave) {
  std::mt19937 random(3);
  std::vector<Gdiplus::ARGB> entries(200);
  for (Gdiplus::ARGB& entry : entries) entry = static_cast<Gdiplus::ARGB>(random());
  const GrayLookup lookup = LookupOf(entries);
  for (const std::uint32_t bits_per_pixel : {8U, 24U, 32U}) {
    for (const auto& [width, height] : {std::pair{1U, 1U}, {257U, 3U}, {700U, 400U}}) {
      const std::uint32_t stride = (width * bits_per_pixel / 8 + 3) / 4 * 4 + 4;
      Bytes source(std::size_t{stride} * height);
      for (std::uint8_t& byte : source) byte = static_cast<std::uint8_t>(random());
      const GrayRows rows({source.data(), width, height, stride, bits_per_pixel}, &lookup);
      Histogram expected{};
      Bytes gray(width);
      for (std::uint32_t y = 0; y < height; ++y) {
        rows.ConvertRow(y, width, gray.data());
        for (const std::uint8_t level : gray) ++expected[level];
      }
      const auto levels = rows.CountLevels();
      ASSERT_TRUE(levels.has_value());
      EXPECT_EQ(*levels, expected) << bits_per_pixel << " bits, " << width << " x " << height;
    }
  }
}

TEST(GrayRows, FindTheValueThatDividesAnOrderedPalette) {
  const Bytes source(4);
  const GrayLookup ordered = LookupOf({0xFF000000, 0xFF404040, 0xFF808080, 0xFFFFFFFF});
  const GrayRows rows({source.data(), 4, 1, 4, 8}, &ordered);
  // Values beyond the lookup are black, above a white one.
  EXPECT_EQ(rows.FirstValueFrom(100), std::nullopt);
  // Everything is at least 0.
  EXPECT_EQ(rows.FirstValueFrom(0), 0);
  EXPECT_EQ(rows.FirstValueFrom(255), std::nullopt);

  std::vector<Gdiplus::ARGB> ramp(256);
  for (std::uint32_t i = 0; i < 256; ++i) ramp[i] = i * 0x010101;
  const GrayLookup gray_ramp = LookupOf(ramp);
  const GrayRows gray_rows({source.data(), 4, 1, 4, 8}, &gray_ramp);
  EXPECT_EQ(gray_rows.FirstValueFrom(254), 255);  // white is 254
  EXPECT_EQ(gray_rows.FirstValueFrom(255), std::nullopt);

  ramp[10] = 0xFFFFFF;
  const GrayLookup with_a_spot = LookupOf(ramp);
  const GrayRows spotted({source.data(), 4, 1, 4, 8}, &with_a_spot);
  EXPECT_EQ(spotted.FirstValueFrom(100), std::nullopt);

  EXPECT_EQ(GrayRows({source.data(), 1, 1, 4, 24}, nullptr).FirstValueFrom(0), std::nullopt);
}

}  // namespace
}  // namespace pixtola
