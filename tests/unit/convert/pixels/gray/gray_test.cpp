#include "convert/pixels/gray/gray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "convert/gray_lookup.h"
#include "support/test_bitmap.h"

namespace pixtola {
namespace {

using test::PaletteBlock;
using Bytes = std::vector<std::uint8_t>;

TEST(ConvertToGray, TurnsWhiteInto254) {
  const Bytes source = {255, 255, 255, 0};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(ConvertToGray({source.data(), 1, 1, 4, 24}, nullptr, {destination.data(), 1, 1, 4, 8}),
            1);
  EXPECT_EQ(destination, (Bytes{254, 0, 0, 0}));
}

TEST(ConvertToGray, ReadsBlueGreenRed) {
  const Bytes source = {255, 0, 0, /**/ 0, 255, 0, /**/ 0, 0, 255, /**/ 0, 0, 0};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(ConvertToGray({source.data(), 4, 1, 12, 24}, nullptr, {destination.data(), 4, 1, 4, 8}),
            1);
  EXPECT_EQ(destination, (Bytes{28, 150, 76, 0}));
}

TEST(ConvertToGray, IgnoresTheFourthByteOf32BitPixels) {
  const Bytes source = {0, 0, 255, 0, /**/ 0, 0, 255, 255};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(ConvertToGray({source.data(), 2, 1, 8, 32}, nullptr, {destination.data(), 2, 1, 4, 8}),
            1);
  EXPECT_EQ(destination, (Bytes{76, 76, 0, 0}));
}

TEST(ConvertToGray, ExpandsBitsMostSignificantFirst) {
  const Bytes source = {0b10100000, 0, 0, 0};
  Bytes destination(8, 0xA5);
  ASSERT_EQ(ConvertToGray({source.data(), 8, 1, 4, 1}, nullptr, {destination.data(), 8, 1, 8, 8}),
            1);
  EXPECT_EQ(destination, (Bytes{255, 0, 255, 0, 0, 0, 0, 0}));
}

TEST(ConvertToGray, ExpandsThePaddingBitsOfOneBitRowsToo) {
  const Bytes source = {0b11111111, 0b11000000, 0, 0};
  Bytes destination(12, 0xA5);
  // 9 pixels wide; bit 10 is padding and lands in the destination's padding.
  ASSERT_EQ(ConvertToGray({source.data(), 9, 1, 4, 1}, nullptr, {destination.data(), 9, 1, 12, 8}),
            1);
  EXPECT_EQ(destination, (Bytes{255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0, 0}));
}

TEST(ConvertToGray, FillsWithZerosWhereOneBitRowsEnd) {
  const Bytes source = {255, 255, 255, 255};
  Bytes destination(36, 0xA5);
  ASSERT_EQ(
      ConvertToGray({source.data(), 32, 1, 4, 1}, nullptr, {destination.data(), 32, 1, 36, 8}), 1);
  Bytes expected(36, 0);
  std::fill_n(expected.begin(), 32, std::uint8_t{255});
  EXPECT_EQ(destination, expected);
}

TEST(ConvertToGray, MapsEightBitPixelsThroughThePalette) {
  const GrayLookup lookup =
      MakeGrayLookup(*PaletteBlock(0, {0x00FF0000, 0xFF00FF00}).get());  // alpha is ignored
  const Bytes source = {0, 1, 0, 1};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(ConvertToGray({source.data(), 4, 1, 4, 8}, &lookup, {destination.data(), 4, 1, 4, 8}),
            1);
  EXPECT_EQ(destination, (Bytes{76, 150, 76, 150}));
}

TEST(ConvertToGray, GivesZeroForIndexesBeyondThePalette) {
  const GrayLookup lookup = MakeGrayLookup(*PaletteBlock(0, {0xFFFFFFFF, 0xFFFFFFFF}).get());
  const Bytes source = {1, 2, 255, 0};
  Bytes destination(4, 0xA5);
  ASSERT_EQ(ConvertToGray({source.data(), 4, 1, 4, 8}, &lookup, {destination.data(), 4, 1, 4, 8}),
            1);
  EXPECT_EQ(destination, (Bytes{254, 0, 0, 254}));
}

TEST(ConvertToGray, MapsThePaddingOfEightBitRowsToo) {
  const GrayLookup lookup = MakeGrayLookup(*PaletteBlock(0, {0xFFFFFFFF}).get());
  const Bytes source = {0, 0, 0, 0, 0, 0, 0, 0};
  Bytes destination(12, 0xA5);
  ASSERT_EQ(ConvertToGray({source.data(), 1, 1, 8, 8}, &lookup, {destination.data(), 1, 1, 12, 8}),
            1);
  EXPECT_EQ(destination, (Bytes{254, 254, 254, 254, 254, 254, 254, 254, 0, 0, 0, 0}));
}

TEST(ConvertToGray, ClearsThePaddingOfDeepRows) {
  const Bytes source(12, 255);
  Bytes destination(8, 0xA5);
  ASSERT_EQ(ConvertToGray({source.data(), 3, 1, 12, 32}, nullptr, {destination.data(), 3, 1, 8, 8}),
            1);
  EXPECT_EQ(destination, (Bytes{254, 254, 254, 0, 0, 0, 0, 0}));
}

TEST(ConvertToGray, ChecksItsArguments) {
  const Bytes source(16, 255);
  Bytes destination(16, 0xA5);
  EXPECT_EQ(ConvertToGray({nullptr, 4, 1, 12, 24}, nullptr, {destination.data(), 4, 1, 4, 8}), 0);
  EXPECT_EQ(ConvertToGray({source.data(), 4, 1, 12, 24}, nullptr, {nullptr, 4, 1, 4, 8}), 0);
  EXPECT_EQ(ConvertToGray({source.data(), 0, 1, 12, 24}, nullptr, {destination.data(), 0, 1, 4, 8}),
            0);
  EXPECT_EQ(ConvertToGray({source.data(), 4, 0, 12, 24}, nullptr, {destination.data(), 4, 0, 4, 8}),
            0);
  EXPECT_EQ(ConvertToGray({source.data(), 5, 1, 16, 24}, nullptr, {destination.data(), 5, 1, 4, 8}),
            0);
  EXPECT_EQ(ConvertToGray({source.data(), 5, 1, 12, 24}, nullptr, {destination.data(), 5, 1, 8, 8}),
            0);
  EXPECT_EQ(ConvertToGray({source.data(), 4, 1, 4, 8}, nullptr, {destination.data(), 4, 1, 4, 8}),
            0);
  EXPECT_EQ(destination, Bytes(16, 0xA5));
}

}  // namespace
}  // namespace pixtola
