// Writing GIF: palettes and transparency, the dithering of deep formats, sizes, what is refused.

#include <cmath>

#include "portable/gif_files.h"

namespace pixtola::portable {
namespace {

constexpr Gdiplus::PixelFormat kDeepFormats[] = {
    PixelFormat16bppRGB555, PixelFormat16bppRGB565, PixelFormat16bppARGB1555, PixelFormat24bppRGB,
    PixelFormat32bppRGB,    PixelFormat32bppARGB,   PixelFormat32bppPARGB,    PixelFormat48bppRGB,
    PixelFormat64bppARGB,   PixelFormat64bppPARGB};

BitmapPtr FromPixels(std::uint32_t width, const std::vector<ARGB>& pixels,
                     Gdiplus::PixelFormat format) {
  const auto height = static_cast<std::uint32_t>(pixels.size() / width);
  BitmapPtr bitmap = BitmapObject::Create(width, height, format);
  for (std::uint32_t y = 0; y < height; ++y) {
    ArgbToRow(&pixels[std::size_t{y} * width], width, format, bitmap->Row(y), 0);
  }
  return bitmap;
}

BitmapPtr Rewritten(const BitmapObject& source) {
  return Decode(DecodeGif, Encode(EncodeGif, source));
}

TEST(GifWriter, FillsPalettesUpWithBlackToAPowerOfTwo) {
  const BitmapPtr source = Noise(8, 1, PixelFormat8bppIndexed);
  for (const UINT count : {1U, 2U, 3U, 4U, 5U, 100U, 128U, 129U, 256U}) {
    SCOPED_TRACE(count);
    source->palette.count = count;
    for (std::uint32_t x = 0; x < 8; ++x) {
      source->Row(0)[x] = static_cast<BYTE>(std::min(x * 40, count - 1));
    }
    const BitmapPtr written = Rewritten(*source);
    UINT padded = 2;
    while (padded < count) padded *= 2;
    ASSERT_EQ(written->palette.count, padded);
    for (UINT i = 0; i < padded; ++i) {
      EXPECT_EQ(written->palette.entries[i], i < count ? source->palette.entries[i] : kBlack) << i;
    }
    EXPECT_EQ(Pixels(*written), Pixels(*source));
  }
  // A pixel beyond the palette: it is extended as far as that pixel.
  std::fill_n(source->Row(0), 8, BYTE{4});
  source->palette.count = 5;
  source->Row(0)[3] = 30;
  const BitmapPtr written = Rewritten(*source);
  EXPECT_EQ(written->palette.count, 32U);
  EXPECT_EQ(Pixels(*written), Pixels(*source));
}

TEST(GifWriter, MakesTheFirstClearEntryTransparent) {
  const BitmapPtr source = Noise(16, 1, PixelFormat4bppIndexed);
  for (std::uint32_t x = 0; x < 8; ++x) {
    source->Row(0)[x] = static_cast<BYTE>(0x01 + 0x22 * x);  // 0 to 15
  }
  source->palette.entries[3] = 0x00123456;
  source->palette.entries[9] = 0x00ABCDEF;
  source->palette.entries[11] = 0x80FEDCBA;
  const BitmapPtr written = Rewritten(*source);
  for (unsigned i = 0; i < 16; ++i) {
    EXPECT_EQ(written->Row(0)[i], i == 9 ? 3 : i) << i;
    const ARGB entry = source->palette.entries[i];
    EXPECT_EQ(written->palette.entries[i], i == 3 ? entry : entry | kBlack) << i;
  }
}

TEST(GifWriter, KeepsTheColorsOfTheCubeInEveryDeepFormat) {
  for (const Gdiplus::PixelFormat format : kDeepFormats) {
    SCOPED_TRACE(format);
    std::vector<ARGB> pixels;
    // Every level of 8 bits a channel; 16-bit formats hold exactly only the ends.
    const bool is_short = (static_cast<unsigned>(format) >> 8 & 0xFF) == 16;
    for (ARGB i = 0; i < 216; ++i) {
      const ARGB color = (i / 36 * 0x330000) | (i / 6 % 6 * 0x3300) | (i % 6 * 0x33);
      const bool is_end = color % 0x100 % 0xFF == 0 && (color >> 8) % 0x100 % 0xFF == 0 &&
                          (color >> 16) % 0xFF == 0;
      if (!is_short || is_end) pixels.push_back(kBlack | color);
    }
    const BitmapPtr source = FromPixels(4, pixels, format);
    const BitmapPtr written = Rewritten(*source);
    ASSERT_EQ(written->format(), PixelFormat8bppIndexed);
    EXPECT_EQ(Pixels(*written), pixels);
    EXPECT_EQ(written->palette.count, 256U);
  }
}

TEST(GifWriter, DithersBetweenTheLevelsAroundAChannel) {
  for (ARGB value = 0; value < 256; ++value) {
    SCOPED_TRACE(value);
    const ARGB other = 255 - value;
    const BitmapPtr source = FromPixels(
        8, std::vector<ARGB>(64, kBlack | value << 16 | other << 8 | value), PixelFormat24bppRGB);
    const BitmapPtr written = Rewritten(*source);
    ARGB red_sum = 0;
    ARGB green_sum = 0;
    for (const ARGB pixel : Pixels(*written)) {
      const ARGB red = pixel >> 16 & 0xFF;
      const ARGB green = pixel >> 8 & 0xFF;
      ASSERT_EQ(pixel & 0xFF, red);
      ASSERT_EQ(red % 51, 0U);
      ASSERT_LT(std::abs(static_cast<int>(red) - static_cast<int>(value)), 51);
      ASSERT_LT(std::abs(static_cast<int>(green) - static_cast<int>(other)), 51);
      red_sum += red;
      green_sum += green;
    }
    // One of the 64 pixels more or less is 51 / 64 of a level: the mean is within half of that.
    EXPECT_LE(std::abs(static_cast<double>(red_sum) / 64 - value), 51.0 / 128);
    EXPECT_LE(std::abs(static_cast<double>(green_sum) / 64 - other), 51.0 / 128);
  }
}

TEST(GifWriter, DithersAPixelByItsPlaceAlone) {
  const BitmapPtr source = Noise(24, 16, PixelFormat24bppRGB);
  const auto whole = Pixels(*Rewritten(*source));
  EXPECT_EQ(Pixels(*Rewritten(*source)), whole);
  // The part from (8, 8) on has the same thresholds.
  std::vector<ARGB> part;
  std::vector<ARGB> expected;
  const auto pixels = Pixels(*source);
  for (std::size_t y = 8; y < 16; ++y) {
    for (std::size_t x = 8; x < 24; ++x) {
      part.push_back(pixels[y * 24 + x]);
      expected.push_back(whole[y * 24 + x]);
    }
  }
  EXPECT_EQ(Pixels(*Rewritten(*FromPixels(16, part, PixelFormat24bppRGB))), expected);
}

TEST(GifWriter, MakesPixelsTransparentThatAreMoreSoThanNot) {
  const std::vector<ARGB> pixels = {0x00FF0000, 0x7FFF0000, 0x80FF0000, 0xFFFF0000};
  for (const Gdiplus::PixelFormat format : {PixelFormat32bppARGB, PixelFormat32bppPARGB}) {
    const BitmapPtr written = Rewritten(*FromPixels(4, pixels, format));
    EXPECT_EQ(Pixels(*written), (std::vector<ARGB>{0, 0, kRed, kRed}));
    EXPECT_EQ(written->Row(0)[0], 16);
  }
  const BitmapPtr opaque = Rewritten(*FromPixels(4, pixels, PixelFormat32bppRGB));
  EXPECT_EQ(Pixels(*opaque), std::vector<ARGB>(4, kRed));
  EXPECT_EQ(opaque->palette.flags, 0U);
}

TEST(GifWriter, WritesLargeImagesOfAllCodes) {
  const BitmapPtr noise = Noise(400, 300, PixelFormat8bppIndexed);
  EXPECT_EQ(Pixels(*Rewritten(*noise)), Pixels(*noise));
  const BitmapPtr flat = BitmapObject::Create(3000, 2000, PixelFormat1bppIndexed);
  EXPECT_EQ(Pixels(*Rewritten(*flat)), Pixels(*flat));
}

TEST(GifWriter, WritesTheLargestSidesAndRefusesLarger) {
  for (const auto& [width, height] : {std::pair{0xFFFFU, 1U}, {1U, 0xFFFFU}}) {
    const BitmapPtr source = Noise(width, height, PixelFormat8bppIndexed);
    const BitmapPtr written = Rewritten(*source);
    EXPECT_EQ(written->width(), width);
    EXPECT_EQ(Pixels(*written), Pixels(*source));
  }
  for (const auto& [width, height] : {std::pair{0x10000U, 1U}, {1U, 0x10000U}}) {
    MemorySink sink;
    EXPECT_EQ(EncodeGif(*Noise(width, height, PixelFormat1bppIndexed), nullptr, sink),
              Gdiplus::GenericError);
    EXPECT_TRUE(sink.bytes().empty());
  }
}

TEST(GifWriter, WritesVersion89a) {
  const Bytes file = Encode(EncodeGif, *Noise(1, 1, PixelFormat1bppIndexed));
  EXPECT_EQ(std::string(file.begin(), file.begin() + 6), "GIF89a");
}

}  // namespace
}  // namespace pixtola::portable
