// PNG: the format that each kind of file gives, damage, palettes.

#include "portable/codec_files.h"

namespace pixtola::portable {
namespace {

TEST(PngReader, GivesEachKindItsFormat) {
  const std::vector<png_color> two = {{255, 0, 0}, {255, 255, 255}};
  struct Case {
    PngParts parts;
    Gdiplus::PixelFormat format;
    std::vector<ARGB> pixels;
  };
  const Case cases[] = {
      {{PNG_COLOR_TYPE_GRAY, 1, 2, {0x40}}, PixelFormat1bppIndexed, {kBlack, kWhite}},
      {{PNG_COLOR_TYPE_GRAY, 2, 2, {0x60}}, PixelFormat32bppARGB, {0xFF555555, 0xFFAAAAAA}},
      {{PNG_COLOR_TYPE_GRAY, 4, 2, {0x1E}}, PixelFormat32bppARGB, {0xFF111111, 0xFFEEEEEE}},
      {{PNG_COLOR_TYPE_GRAY, 8, 2, {1, 2}}, PixelFormat32bppARGB, {0xFF010101, 0xFF020202}},
      // 16 bits are scaled, not cut: 00FFh is nearer to 1 x 257 than to 0.
      {{PNG_COLOR_TYPE_GRAY, 16, 2, {0x00, 0xFF, 0xFF, 0xFF}},
       PixelFormat32bppARGB,
       {0xFF010101, kWhite}},
      {{PNG_COLOR_TYPE_GRAY, 1, 2, {0x40}, {}, true}, PixelFormat32bppARGB, {0, kWhite}},
      {{PNG_COLOR_TYPE_GRAY_ALPHA, 8, 1, {7, 9}}, PixelFormat32bppARGB, {0x09070707}},
      {{PNG_COLOR_TYPE_PALETTE, 1, 2, {0x40}, two}, PixelFormat1bppIndexed, {kRed, kWhite}},
      {{PNG_COLOR_TYPE_PALETTE, 2, 2, {0x10}, two}, PixelFormat32bppARGB, {kRed, kWhite}},
      {{PNG_COLOR_TYPE_PALETTE, 4, 2, {0x01}, two}, PixelFormat4bppIndexed, {kRed, kWhite}},
      {{PNG_COLOR_TYPE_PALETTE, 8, 2, {0, 1}, two}, PixelFormat8bppIndexed, {kRed, kWhite}},
      {{PNG_COLOR_TYPE_PALETTE, 8, 2, {0, 1}, two, true},
       PixelFormat32bppARGB,
       {0x00FF0000, kWhite}},
      {{PNG_COLOR_TYPE_RGB, 8, 1, {1, 2, 3}}, PixelFormat24bppRGB, {0xFF010203}},
      {{PNG_COLOR_TYPE_RGB, 8, 1, {0, 0, 0}, {}, true}, PixelFormat32bppARGB, {0}},
      {{PNG_COLOR_TYPE_RGB, 16, 1, {1, 1, 2, 2, 3, 3}}, PixelFormat32bppARGB, {0xFF010203}},
      {{PNG_COLOR_TYPE_RGBA, 8, 1, {1, 2, 3, 4}}, PixelFormat32bppARGB, {0x04010203}},
      {{PNG_COLOR_TYPE_RGBA, 16, 1, {1, 1, 2, 2, 3, 3, 4, 4}}, PixelFormat32bppARGB, {0x04010203}},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE("type " + std::to_string(one.parts.type) + ", depth " +
                 std::to_string(one.parts.depth));
    const BitmapPtr bitmap = Decode(DecodePng, MakePng(one.parts));
    EXPECT_EQ(bitmap->format(), one.format);
    EXPECT_EQ(Pixels(*bitmap), one.pixels);
    EXPECT_EQ(bitmap->dpi_x, 96.0F);
  }
}

TEST(PngReader, MarksThePaletteOfGrayFiles) {
  const BitmapPtr bitmap = Decode(DecodePng, MakePng({PNG_COLOR_TYPE_GRAY, 1, 2, {0x40}}));
  EXPECT_EQ(bitmap->palette.flags, UINT{Gdiplus::PaletteFlagsGrayScale});
  EXPECT_EQ(bitmap->palette.count, 2U);
}

TEST(PngReader, ReadsInterlacedFiles) {
  for (const auto& [type, depth] : {std::pair{PNG_COLOR_TYPE_RGB, 8},
                                    {PNG_COLOR_TYPE_GRAY, 1},
                                    {PNG_COLOR_TYPE_GRAY, 4},
                                    {PNG_COLOR_TYPE_RGBA, 16}}) {
    for (std::uint32_t width = 1; width < 20; ++width) {
      PngParts parts{type, depth, width, {}};
      const unsigned samples = type == PNG_COLOR_TYPE_RGB ? 3 : type == PNG_COLOR_TYPE_RGBA ? 4 : 1;
      std::mt19937 random(width);
      parts.rows.resize((width * samples * static_cast<unsigned>(depth) + 7) / 8 * 11);
      for (auto& byte : parts.rows) byte = static_cast<std::uint8_t>(random());
      const auto plain = Pixels(*Decode(DecodePng, MakePng(parts)));
      parts.interlace = PNG_INTERLACE_ADAM7;
      EXPECT_EQ(Pixels(*Decode(DecodePng, MakePng(parts))), plain) << width;
    }
  }
}

TEST(PngReader, GivesPixelsBeyondThePaletteBlackEntries) {
  const std::vector<png_color> two = {{255, 0, 0}, {255, 255, 255}};
  const BitmapPtr inside = Decode(DecodePng, MakePng({PNG_COLOR_TYPE_PALETTE, 8, 2, {0, 1}, two}));
  EXPECT_EQ(inside->palette.count, 2U);
  const BitmapPtr beyond =
      Decode(DecodePng, MakePng({PNG_COLOR_TYPE_PALETTE, 8, 2, {1, 200}, two}));
  EXPECT_EQ(beyond->palette.count, 256U);
  EXPECT_EQ(Pixels(*beyond), (std::vector<ARGB>{kWhite, kBlack}));
}

TEST(PngReader, RefusesWhatIsCutOrChanged) {
  Bytes file = Encode(EncodePng, *Noise(7, 5, PixelFormat24bppRGB));
  for (std::size_t size = 0; size < file.size(); ++size) {
    ExpectFails(DecodePng, Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)),
                Gdiplus::GenericError);
  }
  file[20] ^= 1;  // width or height: the checksum of the header no longer fits
  ExpectFails(DecodePng, file, Gdiplus::GenericError);
}

TEST(PngWriter, ExpandsPalettesWithAlpha) {
  const BitmapPtr source = Noise(9, 3, PixelFormat8bppIndexed);
  source->palette.entries[source->Row(0)[0]] = 0x80123456;
  const BitmapPtr reloaded = Decode(DecodePng, Encode(EncodePng, *source));
  EXPECT_EQ(reloaded->format(), PixelFormat32bppARGB);
  EXPECT_EQ(Pixels(*reloaded), Pixels(*source));
}

TEST(PngWriter, KeepsTheLengthOfShortPalettes) {
  const BitmapPtr source = Noise(8, 8, PixelFormat4bppIndexed);
  for (std::uint32_t y = 0; y < 8; ++y) source->Row(y)[0] &= 0x33;
  for (std::uint32_t y = 0; y < 8; ++y) std::fill_n(source->Row(y), 4, BYTE{0x21});
  source->palette.count = 5;
  EXPECT_EQ(Decode(DecodePng, Encode(EncodePng, *source))->palette.count, 5U);
  // A pixel beyond the palette: it is extended as far as that pixel.
  source->Row(7)[3] = 0x1A;
  const BitmapPtr reloaded = Decode(DecodePng, Encode(EncodePng, *source));
  EXPECT_EQ(reloaded->palette.count, 11U);
  EXPECT_EQ(Pixels(*reloaded), Pixels(*source));
}

}  // namespace
}  // namespace pixtola::portable
