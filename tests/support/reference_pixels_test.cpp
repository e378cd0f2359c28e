// Pins the plain definition of the conversions of pixels to values worked out by hand, so that a
// mistake in it is found here and not passed on to the tests that rely on it. No platform is
// involved.
#include "support/reference_pixels.h"

#include <gtest/gtest.h>

namespace pixtola::test {
namespace {

Bytes Convert(const Bytes& row, std::size_t width, Gdiplus::PixelFormat from,
              Gdiplus::PixelFormat to) {
  return ConvertPixels(row, 0, width, from, DefaultPalette(from), to, DefaultPalette(to));
}

Pixel Convert(Pixel pixel, Gdiplus::PixelFormat from, Gdiplus::PixelFormat to) {
  return ConvertPixel(pixel, from, DefaultPalette(from), to, DefaultPalette(to));
}

TEST(ReferencePixels, StandInTheirRowsFromTheLeft) {
  const Bytes row = {0x81, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
  EXPECT_EQ(PixelAt(row.data(), 0, PixelFormat1bppIndexed), 1U);
  EXPECT_EQ(PixelAt(row.data(), 1, PixelFormat1bppIndexed), 0U);
  EXPECT_EQ(PixelAt(row.data(), 10, PixelFormat1bppIndexed), 1U);  // 0x23 = 0b00100011
  EXPECT_EQ(PixelAt(row.data(), 0, PixelFormat4bppIndexed), 8U);
  EXPECT_EQ(PixelAt(row.data(), 3, PixelFormat4bppIndexed), 3U);
  EXPECT_EQ(PixelAt(row.data(), 2, PixelFormat8bppIndexed), 0x45U);
  EXPECT_EQ(PixelAt(row.data(), 1, PixelFormat16bppRGB565), 0x6745U);
  EXPECT_EQ(PixelAt(row.data(), 1, PixelFormat24bppRGB), 0xAB8967U);
  EXPECT_EQ(PixelAt(row.data(), 1, PixelFormat32bppARGB), 0xEFCDAB89U);
  EXPECT_EQ(PixelAt(row.data(), 0, PixelFormat48bppRGB), 0xAB8967452381U);
  EXPECT_EQ(PixelAt(row.data(), 0, PixelFormat64bppARGB), 0xEFCDAB8967452381U);
}

TEST(ReferencePixels, AreSetWithoutTouchingTheirNeighbours) {
  Bytes row = {0xFF, 0x00};
  SetPixel(row.data(), 3, PixelFormat1bppIndexed, 0);
  SetPixel(row.data(), 3, PixelFormat4bppIndexed, 5);
  EXPECT_EQ(row, (Bytes{0b11101111, 0x05}));
  for (const auto format : kFormats) {
    Bytes three(RowBytes(format, 3), 0xA5);
    const Pixel other = PixelAt(three.data(), 1, format) ^ 1;
    const Pixel last = PixelAt(three.data(), 2, format);
    SetPixel(three.data(), 1, format, other);
    EXPECT_EQ(PixelAt(three.data(), 1, format), other) << NameOf(format);
    EXPECT_EQ(PixelAt(three.data(), 2, format), last) << NameOf(format);
  }
}

TEST(ReferencePixels, LookTheirIndexesUp) {
  const Palette palette = {0x80010203, 0xFF040506};
  EXPECT_EQ(
      ConvertPixels({0, 1, 2}, 0, 3, PixelFormat8bppIndexed, palette, PixelFormat32bppARGB, {}),
      (Bytes{3, 2, 1, 128, 6, 5, 4, 255, 0, 0, 0, 255}));
  EXPECT_EQ(ConvertPixels({0x01}, 6, 2, PixelFormat1bppIndexed, palette, PixelFormat24bppRGB, {}),
            (Bytes{3, 2, 1, 6, 5, 4}));
}

TEST(ReferencePixels, GoToTheNearestEntryAndTheFirstOfEqualOnes) {
  const Palette palette = {0xFF000000, 0xFF0A0000, 0xFF0A0000, 0x000000FF, 0xFF0000FF};
  const auto nearest = [&palette](std::uint32_t rgb) {
    return NearestEntry(rgb, PixelFormat8bppIndexed, palette);
  };
  EXPECT_EQ(nearest(0x050000), 0U);  // 25 from both
  EXPECT_EQ(nearest(0x060000), 1U);
  EXPECT_EQ(nearest(0x0A0000), 1U);
  EXPECT_EQ(nearest(0x0000FF), 3U);                                        // alpha does not count
  EXPECT_EQ(NearestEntry(0x0000FF, PixelFormat1bppIndexed, palette), 0U);  // entries 0 and 1 only
  EXPECT_EQ(NearestEntry(0xFFFFFF, PixelFormat8bppIndexed, {0xFF123456}), 0U);
}

TEST(ReferencePixels, HaveTheKnownDefaultPalettes) {
  EXPECT_EQ(DefaultPalette(PixelFormat1bppIndexed), (Palette{0xFF000000, 0xFFFFFFFF}));
  EXPECT_EQ(DefaultPalette(PixelFormat4bppIndexed).size(), 16U);
  const Palette halftone = DefaultPalette(PixelFormat8bppIndexed);
  ASSERT_EQ(halftone.size(), 256U);
  EXPECT_EQ(halftone[39], 0U);
  EXPECT_EQ(halftone[40], 0xFF000000U);
  EXPECT_EQ(halftone[40 + 36 * 5 + 6 * 2 + 1], 0xFFFF6633U);
  EXPECT_EQ(halftone[255], 0xFFFFFFFFU);
}

TEST(ReferencePixels, RepeatTheHighBitsOf16BitColours) {
  // Green 16 of 31: 16 << 3 | 16 >> 2 = 132. Red 1: 8. Blue 31: 255.
  EXPECT_EQ(Convert(0x061F, PixelFormat16bppRGB555, PixelFormat32bppARGB), 0xFF0884FFU);
  EXPECT_EQ(Convert(0x861F, PixelFormat16bppRGB555, PixelFormat32bppARGB), 0xFF0884FFU);
  EXPECT_EQ(Convert(0x861F, PixelFormat16bppARGB1555, PixelFormat32bppARGB), 0xFF0884FFU);
  EXPECT_EQ(Convert(0x061F, PixelFormat16bppARGB1555, PixelFormat32bppARGB), 0x000884FFU);
  // Green 33 of 63: 33 << 2 | 33 >> 4 = 134.
  EXPECT_EQ(Convert(0x0C20, PixelFormat16bppRGB565, PixelFormat24bppRGB), 0x088600U);
}

TEST(ReferencePixels, LoseLowBitsToward16BitColours) {
  // 0x87 >> 3 = 16, 0x87 >> 2 = 33, 0xFF >> 3 = 31, 0x07 >> 3 = 0
  EXPECT_EQ(Convert(0x07FF87, PixelFormat24bppRGB, PixelFormat16bppRGB555), 0x03F0U);
  EXPECT_EQ(Convert(0xFF8707, PixelFormat24bppRGB, PixelFormat16bppRGB565), 0xFC20U);
  EXPECT_EQ(Convert(0x7F07FF87, PixelFormat32bppARGB, PixelFormat16bppARGB1555), 0x03F0U);
  EXPECT_EQ(Convert(0x8007FF87, PixelFormat32bppARGB, PixelFormat16bppARGB1555), 0x83F0U);
}

TEST(ReferencePixels, WithoutAlphaAreOpaque) {
  EXPECT_EQ(Convert(0x12345678, PixelFormat32bppRGB, PixelFormat32bppARGB), 0xFF345678U);
  EXPECT_EQ(Convert(0x12345678, PixelFormat32bppARGB, PixelFormat32bppRGB), 0xFF345678U);
  EXPECT_EQ(Convert(0x12345678, PixelFormat32bppARGB, PixelFormat24bppRGB), 0x345678U);
  EXPECT_EQ(Convert(0x345678, PixelFormat24bppRGB, PixelFormat32bppPARGB), 0xFF345678U);
}

TEST(ReferencePixels, AreMultipliedByAlphaAndDividedByIt) {
  // 200 * 128 / 255 = 100.4, 100 * 128 / 255 = 50.2, 51 * 128 / 255 = 25.6
  EXPECT_EQ(Convert({200, 100, 51, 128}, 1, PixelFormat32bppARGB, PixelFormat32bppPARGB),
            (Bytes{100, 50, 26, 128}));
  // 0xFF0000 / 128 = 130560; 100 * 130560 >> 16 = 199, 50 -> 99, 200 -> 398, which is too much
  EXPECT_EQ(Convert({100, 50, 200, 128}, 1, PixelFormat32bppPARGB, PixelFormat32bppARGB),
            (Bytes{199, 99, 255, 128}));
  // 0xFF0000 / 7 = 2387382 without its fraction; 7 * 2387382 = 16711674, just below 255 << 16
  EXPECT_EQ(Convert({7, 1, 0, 7}, 1, PixelFormat32bppPARGB, PixelFormat32bppARGB),
            (Bytes{254, 36, 0, 7}));
  EXPECT_EQ(Convert({9, 8, 7, 0}, 1, PixelFormat32bppPARGB, PixelFormat24bppRGB), (Bytes{9, 8, 7}));
  EXPECT_EQ(Convert({9, 8, 7, 0}, 1, PixelFormat32bppARGB, PixelFormat32bppPARGB),
            (Bytes{0, 0, 0, 0}));
}

TEST(ReferencePixels, HoldLinearLightIn13Bits) {
  // 10 / 255 / 12.92 * 8192 = 24.87; ((128 / 255 + 0.055) / 1.055) ^ 2.4 = 0.21586, * 8192 = 1768.3
  EXPECT_EQ(Convert(0x0A80FF, PixelFormat24bppRGB, PixelFormat48bppRGB), 0x0019'06E8'2000U);
  // 25 / 8192 * 12.92 * 255 = 10.05; 0x4000 counts as 0x2000
  EXPECT_EQ(Convert(0x0019'06E8'4000U, PixelFormat48bppRGB, PixelFormat24bppRGB), 0x0A80FFU);
  // 128 * 8192 / 255 = 4112.06
  EXPECT_EQ(Convert(0x80FF0000, PixelFormat32bppARGB, PixelFormat64bppARGB),
            0x1010'2000'0000'0000U);
  // 0x1000 * 255 / 8192 = 127.5
  EXPECT_EQ(Convert(0x1000'2000'0000'0000U, PixelFormat64bppARGB, PixelFormat32bppARGB),
            0x80FF0000U);
}

TEST(ReferencePixels, StayDeepBetweenDeepFormats) {
  EXPECT_EQ(Convert(0x0001'0002'FFFFU, PixelFormat48bppRGB, PixelFormat64bppARGB),
            0x2000'0001'0002'2000U);
  EXPECT_EQ(Convert(0x0003'0001'0002'2001U, PixelFormat64bppARGB, PixelFormat48bppRGB),
            0x0001'0002'2000U);
  // Half of 1 rounds up; half of 0x1000 is 0x800.
  EXPECT_EQ(Convert(0x1000'0001'1000'0000U, PixelFormat64bppARGB, PixelFormat64bppPARGB),
            0x1000'0001'0800'0000U);
  EXPECT_EQ(Convert(0x1000'0001'0800'1800U, PixelFormat64bppPARGB, PixelFormat64bppARGB),
            0x1000'0002'1000'2000U);
  EXPECT_EQ(Convert(0x0000'0001'0800'3000U, PixelFormat64bppPARGB, PixelFormat64bppARGB),
            0x0000'0001'0800'2000U);
  EXPECT_EQ(Convert(0x1000'0001'0800'1800U, PixelFormat64bppPARGB, PixelFormat48bppRGB),
            0x0002'1000'2000U);
}

TEST(ReferencePixels, OfOneFormatAreKeptAsTheyAre) {
  EXPECT_EQ(Convert(0x12345678, PixelFormat32bppRGB, PixelFormat32bppRGB), 0x12345678U);
  EXPECT_EQ(Convert(0xFFFF, PixelFormat16bppRGB555, PixelFormat16bppRGB555), 0xFFFFU);
}

TEST(ReferencePixels, OfARowAreConvertedFromAnyPixelOn) {
  EXPECT_EQ(Convert({0xA0}, 3, PixelFormat1bppIndexed, PixelFormat8bppIndexed),
            (Bytes{15, 0, 15}));  // the first white of the halftone palette, the first black
  EXPECT_EQ(ConvertPixels({0, 15, 255, 0}, 1, 3, PixelFormat8bppIndexed,
                          DefaultPalette(PixelFormat8bppIndexed), PixelFormat1bppIndexed,
                          DefaultPalette(PixelFormat1bppIndexed)),
            (Bytes{0b11000000}));
}

}  // namespace
}  // namespace pixtola::test
