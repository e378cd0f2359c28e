// BMP files made by hand, of every kind, and the pixels worked out by hand.

#include "portable/codec_files.h"

namespace pixtola::portable {
namespace {

TEST(BmpReader, ReadsEveryHeaderKind) {
  // Two rows of three pixels: the lower row comes first, 101 and 010.
  const Bytes pixels = {0xA0, 0, 0, 0, 0x40, 0, 0, 0};
  for (const std::uint32_t size : {12U, 40U, 52U, 56U, 64U, 108U, 124U}) {
    SCOPED_TRACE("header size " + std::to_string(size));
    const Bytes palette = size == 12 ? Little({0xFF0000, 0xFFFFFF}, 3) : RedWhitePalette();
    const BitmapPtr bitmap = Decode(DecodeBmp, MakeBmp({.header_size = size,
                                                        .width = 3,
                                                        .bits = 1,
                                                        .after_header = palette,
                                                        .pixels = pixels}));
    ASSERT_EQ(bitmap->format(), PixelFormat1bppIndexed);
    EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kWhite, kRed, kWhite, kRed, kWhite}));
    EXPECT_EQ(bitmap->dpi_x, 96.0F);
  }
}

TEST(BmpReader, ReadsTopDownRowsAndResolution) {
  const BitmapPtr bitmap = Decode(DecodeBmp, MakeBmp({.width = 1,
                                                      .height = -2,
                                                      .pixels_per_metre = 11811,
                                                      .pixels = {0xFF, 0, 0, 0, 0, 0xFF, 0, 0}}));
  ASSERT_EQ(bitmap->format(), PixelFormat24bppRGB);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kBlue, kGreen}));
  EXPECT_EQ(bitmap->dpi_x, 299.9994F);
  EXPECT_EQ(bitmap->dpi_y, 299.9994F);
}

TEST(BmpReader, FillsPalettesWithBlackThatPixelsAreBeyond) {
  const Bytes pixels = {0x01, 0x20, 0, 0};
  const std::vector<ARGB> expected = {kRed, kWhite, kBlack, kRed};
  // Three colours in the file of which two are used, and two colours although none are announced.
  for (const auto& [used, palette] :
       {std::pair{2U, Little({0xFF0000, 0xFFFFFF, 0x00FF00}, 4)}, {0U, RedWhitePalette()}}) {
    const BitmapPtr bitmap = Decode(DecodeBmp, MakeBmp({.width = 4,
                                                        .height = 1,
                                                        .bits = 4,
                                                        .colors_used = used,
                                                        .after_header = palette,
                                                        .pixels = pixels}));
    EXPECT_EQ(Pixels(*bitmap), expected);
    EXPECT_EQ(bitmap->palette.count, 16U);
  }
}

TEST(BmpReader, KeepsShortPalettesThatAllPixelsAreIn) {
  const BitmapPtr bitmap = Decode(DecodeBmp, MakeBmp({.width = 4,
                                                      .height = 1,
                                                      .bits = 4,
                                                      .colors_used = 2,
                                                      .after_header = RedWhitePalette(),
                                                      .pixels = {0x01, 0x10, 0, 0}}));
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kWhite, kWhite, kRed}));
  EXPECT_EQ(bitmap->palette.count, 2U);
}

TEST(BmpReader, SkipsColorsThatThePlaceOfThePixelsForgets) {
  Bytes file = MakeBmp({.width = 4,
                        .height = 1,
                        .bits = 4,
                        .colors_used = 2,
                        .after_header = RedWhitePalette(),
                        .pixels = {0x01, 0x10, 0, 0}});
  file[10] = 14 + 40;
  const BitmapPtr bitmap = Decode(DecodeBmp, file);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kWhite, kWhite, kRed}));
}

TEST(BmpReader, IgnoresColorsBeyondTheDepth) {
  const BitmapPtr bitmap =
      Decode(DecodeBmp, MakeBmp({.width = 2,
                                 .height = 1,
                                 .bits = 1,
                                 .colors_used = 3,
                                 .after_header = Little({0xFF0000, 0xFFFFFF, 0x00FF00}, 4),
                                 .pixels = {0x40, 0, 0, 0}}));
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kWhite}));
}

TEST(BmpReader, ScalesFiveBitsByRepeatingThem) {
  // 555: 10000b in red is 10000100b, 00001b in blue is 00001000b.
  const BitmapPtr bitmap =
      Decode(DecodeBmp, MakeBmp({.width = 4,
                                 .height = 1,
                                 .bits = 16,
                                 .pixels = Little({0x7FFF, 0x4000, 0x0001, 0x83E0}, 2)}));
  ASSERT_EQ(bitmap->format(), PixelFormat32bppRGB);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kWhite, 0xFF840000, 0xFF000008, kGreen}));
}

TEST(BmpReader, ReadsBitFieldsBehindAndInsideTheHeader) {
  const std::vector<std::uint32_t> masks565 = {0xF800, 0x07E0, 0x001F};
  const Bytes pixels = Little({0xF800, 0x0400, 0x001F, 0x0000}, 2);
  // 100000b of six bits is 10000010b.
  const std::vector<ARGB> expected = {kRed, 0xFF008200, kBlue, kBlack};
  for (const std::uint32_t size : {40U, 52U, 56U, 108U, 124U}) {
    SCOPED_TRACE("header size " + std::to_string(size));
    BmpParts parts{.header_size = size,
                   .width = 4,
                   .height = 1,
                   .bits = 16,
                   .compression = 3,
                   .pixels = pixels};
    if (size == 40) {
      parts.after_header = Little({0xF800, 0x07E0, 0x001F}, 4);
    } else {
      parts.masks = masks565;
    }
    EXPECT_EQ(Pixels(*Decode(DecodeBmp, MakeBmp(parts))), expected);
  }
}

TEST(BmpReader, ReadsAnyMasksOf32Bits) {
  // Ten bits each of red and green, one of blue at the top: 2AAh >> 2 is AAh.
  const BitmapPtr bitmap =
      Decode(DecodeBmp, MakeBmp({.width = 2,
                                 .height = 1,
                                 .bits = 32,
                                 .compression = 3,
                                 .after_header = Little({0x000003FF, 0x000FFC00, 0x80000000}, 4),
                                 .pixels = Little({0x800002AA, 0x000FFC03}, 4)}));
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{0xFFAA00FF, 0xFF00FF00}));
  // A mask of no bits makes the channel 0; a 40-byte header may have an alpha mask behind it.
  const BitmapPtr red_only =
      Decode(DecodeBmp, MakeBmp({.width = 1,
                                 .height = 1,
                                 .bits = 32,
                                 .compression = 6,
                                 .after_header = Little({0xFF, 0, 0, 0xFF000000}, 4),
                                 .pixels = Little({0x12345678}, 4)}));
  EXPECT_EQ(Pixels(*red_only), (std::vector<ARGB>{0xFF780000}));
}

TEST(BmpReader, RefusesMasksThatAreNoRunOrLieOutside) {
  for (const auto& masks :
       {Little({0xF0F0, 0x0F00, 0x000F}, 4), Little({0x1F0000, 0x07E0, 0x001F}, 4)}) {
    ExpectFails(DecodeBmp,
                MakeBmp({.width = 2,
                         .height = 1,
                         .bits = 16,
                         .compression = 3,
                         .after_header = masks,
                         .pixels = Little({1, 2}, 2)}),
                Gdiplus::GenericError);
  }
}

TEST(BmpReader, DecodesRle8) {
  // Bottom row: two of 1, then three of 2, one of which falls outside. End of row. Middle row: 3
  // pixels as they are, 3, 0, 1, with a byte of padding. Move by 0 columns and 1 row. End.
  const BitmapPtr bitmap = Decode(
      DecodeBmp, MakeBmp(Rle(8, {2, 1, 3, 2, 0, 0, 0, 3, 3, 0, 1, 0, 0, 2, 0, 1, 1, 3, 0, 1})));
  ASSERT_EQ(bitmap->format(), PixelFormat32bppRGB);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kRed, kRed, kBlue,    //
                                                kBlue, kRed, kWhite, kRed,  //
                                                kWhite, kWhite, kGreen, kGreen}));
}

TEST(BmpReader, DecodesRle4) {
  // Bottom row: three pixels that alternate 1 and 2. End of row. Middle row: 3 pixels as they are,
  // 3, 0, 1: two bytes, no padding. End of row, one pixel of 3 in the top row, end.
  const BitmapPtr bitmap =
      Decode(DecodeBmp, MakeBmp(Rle(4, {3, 0x12, 0, 0, 0, 3, 0x30, 0x10, 0, 0, 1, 0x30, 0, 1})));
  ASSERT_EQ(bitmap->format(), PixelFormat32bppRGB);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kBlue, kRed, kRed, kRed,    //
                                                kBlue, kRed, kWhite, kRed,  //
                                                kWhite, kGreen, kWhite, kRed}));
}

TEST(BmpReader, AcceptsRleCutShort) {
  // The second command is cut in its pixels.
  const BitmapPtr bitmap = Decode(DecodeBmp, MakeBmp(Rle(8, {4, 1, 0, 0, 0, 4, 2, 2})));
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kRed, kRed, kRed,      //
                                                kGreen, kGreen, kRed, kRed,  //
                                                kWhite, kWhite, kWhite, kWhite}));
}

TEST(BmpReader, RefusesWhatTheFormatDoesNotAllow) {
  const Bytes pixels(16, 0);
  const auto fails = [&](const BmpParts& parts) {
    ExpectFails(DecodeBmp, MakeBmp(parts), Gdiplus::GenericError);
  };
  fails({.width = 0, .pixels = pixels});
  fails({.width = -2, .pixels = pixels});
  fails({.height = 0, .pixels = pixels});
  fails({.bits = 2, .pixels = pixels});
  fails({.bits = 24, .compression = 3, .after_header = Bytes(12, 0), .pixels = pixels});
  fails({.bits = 24, .compression = 1, .pixels = pixels});
  fails({.compression = 4, .pixels = pixels});
  fails({.header_size = 64, .bits = 24, .compression = 4, .pixels = pixels});
  BmpParts upside_down = Rle(8, {4, 1, 0, 1});
  upside_down.height = -3;
  fails(upside_down);
}

TEST(BmpReader, RefusesMissingRowsAndMisplacedPixels) {
  Bytes file = MakeBmp({.width = 3, .height = 2, .pixels = Bytes(24, 7)});
  Decode(DecodeBmp, file);
  // Only the padding after the last row may be missing: three bytes.
  file.resize(file.size() - 3);
  Decode(DecodeBmp, file);
  file.pop_back();
  ExpectFails(DecodeBmp, file, Gdiplus::GenericError);

  for (const int offset : {0, 14, 53, 79, 255}) {
    Bytes moved = MakeBmp({.width = 3, .height = 2, .pixels = Bytes(24, 7)});
    moved[10] = static_cast<std::uint8_t>(offset);
    ExpectFails(DecodeBmp, moved, Gdiplus::GenericError);
  }
}

}  // namespace
}  // namespace pixtola::portable
