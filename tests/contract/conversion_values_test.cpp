// What the platform promises about the values of converted pixels where there are few enough to try
// them all, and about palettes. Written against the API alone: the same tests run on GDI+ and on
// the stand-in.

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "Pixtola.h"
#include "support/conversion_checks.h"
#include "support/pixel_rows.h"
#include "support/platform_expectations.h"
#include "support/reference_pixels.h"

namespace pixtola::test {
namespace {

constexpr std::array<Gdiplus::PixelFormat, 3> kWordFormats = {
    PixelFormat16bppRGB555, PixelFormat16bppRGB565, PixelFormat16bppARGB1555};
constexpr std::array<Gdiplus::PixelFormat, 3> kIndexedFormats = {
    PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed};
constexpr std::array<Gdiplus::PixelFormat, 3> kDeepFormats = {
    PixelFormat48bppRGB, PixelFormat64bppARGB, PixelFormat64bppPARGB};

/// An image of 256 x 256 pixels, each made from its place.
PixelRows Chart(Gdiplus::PixelFormat format, const std::function<Pixel(Pixel, Pixel)>& pixel_at) {
  PixelRows chart(256, 256, format, StrideOf(format, 256));
  for (std::size_t y = 0; y < 256; ++y) {
    for (std::size_t x = 0; x < 256; ++x) chart.Set(x, y, pixel_at(x, y));
  }
  return chart;
}

/// Every 16-bit value.
PixelRows WordChart(Gdiplus::PixelFormat format) {
  return Chart(format, [](Pixel x, Pixel y) { return y << 8 | x; });
}

/// Every channel with every alpha; the channels differ, so that none can stand for another.
PixelRows AlphaChart(Gdiplus::PixelFormat format) {
  return Chart(format, [](Pixel x, Pixel y) {
    return y << 24 | x << 16 | (255 - x) << 8 | ((x + 128) & 0xFF);
  });
}

/// Every 16-bit value in each channel; alpha is every value, too, where there is one.
PixelRows LightChart(Gdiplus::PixelFormat format) {
  return Chart(format, [format](Pixel x, Pixel y) {
    const Pixel value = y << 8 | x;
    const Pixel colors = value << 32 | (0xFFFF - value) << 16 | (value ^ 0x1000);
    const Pixel alpha = (value + 0x0800) & 0x3FFF;  // often inside the range
    return format == PixelFormat48bppRGB ? colors : alpha << 48 | colors;
  });
}

/// Reads and writes the whole chart in the other format, as far as the platform is known to.
void CheckBothWays(const PixelRows& chart, Gdiplus::PixelFormat other) {
  if (KnownReadDifference(chart.format(), other).empty()) {
    RowsBitmap image(chart);
    ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(chart.format());
    CheckRead(image, WholeOf(chart), ExpectedRead(image, other));
  }
  if (KnownWriteDifference(other, chart.format()).empty()) {
    RowsBitmap image(PixelRows(256, 256, other, StrideOf(other, 256)));
    ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(other);
    CheckWrite(image, WholeOf(chart), chart, ExpectedWrite(image, chart));
  }
}

class ConversionOfValues : public testing::TestWithParam<Gdiplus::PixelFormat> {};

std::string NameOfTest(const testing::TestParamInfo<Gdiplus::PixelFormat>& info) {
  return std::string("And") + NameOf(info.param);
}

INSTANTIATE_TEST_SUITE_P(Formats, ConversionOfValues, testing::ValuesIn(kFormats), NameOfTest);

TEST_P(ConversionOfValues, TakesEvery16BitColor) {
  for (const auto format : kWordFormats) {
    if (format == GetParam()) continue;
    CheckBothWays(WordChart(format), GetParam());
  }
}

TEST_P(ConversionOfValues, TakesEveryChannelWithEveryAlpha) {
  for (const Gdiplus::PixelFormat format : {PixelFormat32bppARGB, PixelFormat32bppPARGB}) {
    if (format == GetParam()) continue;
    CheckBothWays(AlphaChart(format), GetParam());
  }
}

TEST_P(ConversionOfValues, TakesEveryValueOfLight) {
  if (k48BitChannelsHave16Bits) GTEST_SKIP() << "Wine's channels are others";
  for (const auto format : kDeepFormats) {
    if (format == GetParam()) continue;
    CheckBothWays(LightChart(format), GetParam());
  }
}

TEST(ConversionToLight, KeepsEveryLevelAndItsOrder) {
  if (k48BitChannelsHave16Bits) GTEST_SKIP() << "Wine's channels are others";
  for (const auto format : kDeepFormats) {
    // Other alphas are lost where there is no place for them, and cost colours where they multiply.
    const bool any_alpha = format == PixelFormat64bppARGB;
    RowsBitmap image(Chart(PixelFormat32bppARGB, [any_alpha](Pixel x, Pixel y) {
      return (any_alpha ? y : 255) << 24 | x << 16 | (255 - x) << 8 | y;
    }));
    const PixelRows before = image.rows;
    Gdiplus::BitmapData data{};
    ASSERT_EQ(image.bitmap.LockBits(nullptr, 3, format, &data), Gdiplus::Ok) << NameOf(format);
    Pixel last = 0;
    for (std::size_t x = 0; x < 256; ++x) {
      const Pixel red = LockedPixel(data, x, 0) >> 32 & 0xFFFF;
      if (x > 0) {
        EXPECT_GT(red, last) << NameOf(format) << ", level " << x;
      }
      last = red;
    }
    EXPECT_EQ(last, 0x2000U) << NameOf(format);
    ASSERT_EQ(image.bitmap.UnlockBits(&data), Gdiplus::Ok);  // writes every pixel back
    for (std::size_t i = 0; i < 65536; ++i) {
      const std::size_t x = i % 256;
      const std::size_t y = i / 256;
      ASSERT_EQ(image.rows.At(x, y), before.At(x, y))
          << NameOf(format) << ", x " << x << ", y " << y;
    }
  }
}

/// Colours of a chart as 24-bit pixels: half of them anywhere, half near an entry of the palette.
PixelRows ColorsAround(const Palette& palette, std::mt19937& random) {
  PixelRows colors(64, 64, PixelFormat24bppRGB, StrideOf(PixelFormat24bppRGB, 64), random);
  for (std::size_t y = 0; y < 64; y += 2) {
    for (std::size_t x = 0; x < 64; ++x) {
      const Pixel entry = palette[random() % palette.size()] & 0xFFFFFF;
      colors.Set(x, y, entry ^ (random() & 0x030303));
    }
  }
  return colors;
}

/// Palettes with what makes the nearest entry hard to find.
std::vector<Palette> HardPalettes(std::mt19937& random) {
  std::vector<Palette> palettes;
  for (const std::size_t count : {1U, 2U, 3U, 5U, 16U, 17U, 100U, 255U, 256U}) {
    palettes.push_back(RandomPalette(count, random));
  }
  const Palette few = RandomPalette(7, random);
  Palette repeated;
  for (std::size_t i = 0; i < 256; ++i) repeated.push_back(few[random() % few.size()]);
  palettes.push_back(repeated);
  Palette grays;
  for (std::uint32_t i = 0; i < 256; ++i) grays.push_back(0xFF000000U | (255 - i) * 0x010101U);
  palettes.push_back(grays);
  Palette crowd;  // all in one corner, with equal distances everywhere
  for (std::size_t i = 0; i < 256; ++i) crowd.push_back(0xFF808080U | (random() & 0x070707));
  palettes.push_back(crowd);
  return palettes;
}

TEST(ConversionToIndexes, FindsTheNearestEntry) {
  if (kNearestEntriesAreMissed) GTEST_SKIP() << "Wine measures distances otherwise";
  std::mt19937 random(1);
  for (const Palette& palette : HardPalettes(random)) {
    const PixelRows colors = ColorsAround(palette, random);
    for (const auto format : kIndexedFormats) {
      RowsBitmap image(64, 64, format, random);
      ASSERT_EQ(image.SetPalette(palette), Gdiplus::Ok) << palette.size();
      SCOPED_TRACE("palette of " + std::to_string(palette.size()));
      ASSERT_NO_FATAL_FAILURE(
          CheckWrite(image, WholeOf(colors), colors, ExpectedWrite(image, colors)));
    }
  }
}

TEST(ConversionToIndexes, FindsEveryEntryItself) {
  std::mt19937 random(2);
  Palette palette;
  for (std::uint32_t i = 0; i < 256; ++i) palette.push_back(0xFF000000U | i * 0x010305U);
  RowsBitmap image(256, 1, PixelFormat8bppIndexed, random);
  ASSERT_EQ(image.SetPalette(palette), Gdiplus::Ok);
  PixelRows colors(256, 1, PixelFormat24bppRGB, 768);
  for (std::size_t x = 0; x < 256; ++x) colors.Set(x, 0, palette[x] & 0xFFFFFF);
  CheckWrite(image, WholeOf(colors), colors, ExpectedWrite(image, colors));
}

TEST(ConversionToIndexes, TakesNoNoticeOfAlpha) {
  if (kNearestEntriesAreMissed) GTEST_SKIP() << "Wine measures distances otherwise";
  std::mt19937 random(3);
  RowsBitmap image(256, 256, PixelFormat8bppIndexed, random);
  ASSERT_EQ(image.SetPalette(RandomPalette(40, random)), Gdiplus::Ok);
  const PixelRows chart = AlphaChart(PixelFormat32bppARGB);
  CheckWrite(image, WholeOf(chart), chart, ExpectedWrite(image, chart));
}

TEST(ConversionFromIndexes, ShowsIndexesWithoutAnEntryInOpaqueBlack) {
  std::mt19937 random(4);
  for (const auto own : kIndexedFormats) {
    const std::size_t indexes = DefaultPalette(own).size();
    for (std::size_t count = 1; count <= indexes; count += count < 5 ? 1 : 50) {
      RowsBitmap image(256, 2, own, random);
      for (std::size_t x = 0; x < 256; ++x) image.rows.Set(x, 0, x % indexes);
      ASSERT_EQ(image.SetPalette(RandomPalette(count, random)), Gdiplus::Ok);
      SCOPED_TRACE("palette of " + std::to_string(count));
      for (const auto format : kFormats) {
        if (!KnownReadDifference(own, format).empty()) continue;
        const bool has_alpha = (format & PixelFormatAlpha) != 0;
        if (kIndexesWithoutEntryAreTransparent && has_alpha) continue;
        CheckRead(image, WholeOf(image.rows), ExpectedRead(image, format));
      }
    }
  }
}

TEST(ConversionFromIndexes, KnowsTheDefaultPalettes) {
  for (const auto format : kIndexedFormats) {
    const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, format));
    const auto colors = PaletteOf(*bitmap);
    EXPECT_EQ(Palette(colors.begin(), colors.end()), DefaultPalette(format)) << NameOf(format);
  }
}

}  // namespace
}  // namespace pixtola::test
