// TIFF pages of every layout, from files and from streams: what becomes of them follows from their
// tags.

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "unit/io/tiff_reader_fixture.h"

namespace pixtola::test {
namespace {

TEST_F(TiffLayoutsTest, FollowTheRulesWhateverTheirSamples) {
  constexpr std::uint32_t kWidth = 13;
  constexpr std::uint32_t kHeight = 5;
  int read = 0;
  for (const std::uint32_t bits : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 12U, 16U, 32U}) {
    for (const std::uint32_t samples : {1U, 2U, 3U, 4U, 5U, 8U}) {
      for (const std::uint32_t photometric : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 8U}) {
        for (const ByteOrder order : {ByteOrder::kLittleEndian, ByteOrder::kBigEndian}) {
          TiffFields fields = PageFields(kWidth, kHeight, bits, samples, photometric);
          if (photometric == PHOTOMETRIC_PALETTE && bits <= 8) {
            fields[TIFFTAG_COLORMAP] = AnyColorMap(bits);
          }
          const std::size_t row_bytes = (kWidth * bits * samples + 7) / 8;
          const Bytes file =
              PlainTiff(order).AddPage(fields, RandomBytes(row_bytes * kHeight, bits)).bytes();
          ExpectFollowsTheRules(file, std::to_string(bits) + " bits, " + std::to_string(samples) +
                                          " samples, photometric " + std::to_string(photometric));
          if (ReferenceTiffPage(file).has_value()) ++read;
        }
      }
    }
  }
  EXPECT_GT(read, 50);
}

TEST_F(TiffLayoutsTest, OfPlanesNeverReadBeyondTheirRows) {
  // A row of one plane is less than the pixels need: there is no right result, but no fault either.
  for (const std::uint32_t width : {1U, 4U, 8U, 13U, 16U, 32U, 33U, 64U}) {
    for (const auto& [bits, samples] :
         {std::pair{1U, 4U}, {2U, 2U}, {1U, 8U}, {2U, 4U}, {4U, 2U}, {8U, 3U}, {16U, 2U}}) {
      for (const std::uint32_t photometric : {1U, 2U, 3U}) {
        TiffFields fields = PageFields(width, 2, bits, samples, photometric);
        fields[TIFFTAG_PLANARCONFIG] = Short(PLANARCONFIG_SEPARATE);
        if (photometric == PHOTOMETRIC_PALETTE && bits <= 8) {
          fields[TIFFTAG_COLORMAP] = AnyColorMap(bits);
        }
        const std::uint32_t plane_size = (width * bits + 7) / 8 * 2;
        fields[TIFFTAG_STRIPOFFSETS] = {kLongField, {}};
        fields[TIFFTAG_STRIPBYTECOUNTS] = {kLongField, {}};
        for (std::uint32_t plane = 0; plane < samples; ++plane) {
          fields[TIFFTAG_STRIPOFFSETS].values.push_back(8 + plane * plane_size);
          fields[TIFFTAG_STRIPBYTECOUNTS].values.push_back(plane_size);
        }
        const Bytes file =
            PlainTiff().AddPage(fields, RandomBytes(std::size_t{plane_size} * samples, 1)).bytes();
        const BitmapPointer bitmap = FromFile(file);
        EXPECT_EQ(bitmap != nullptr ? bitmap->GetWidth() : width, width);
        if (bits * samples > 8) ExpectFollowsTheRules(file, std::to_string(bits) + " bits");
      }
    }
  }
}

TEST_F(TiffLayoutsTest, FollowTheRulesInEveryOrientation) {
  for (const std::uint32_t orientation : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U}) {
    for (const auto& [bits, samples, photometric] :
         {std::tuple{1U, 1U, 0U}, {8U, 1U, 1U}, {8U, 3U, 2U}, {16U, 1U, 1U}}) {
      TiffFields fields = PageFields(8, 3, bits, samples, photometric);
      fields[TIFFTAG_ORIENTATION] = Short(orientation);
      ExpectFollowsTheRules(
          PlainTiff().AddPage(fields, RandomBytes(std::size_t{bits} * samples * 3, 1)).bytes(),
          "orientation " + std::to_string(orientation));
    }
  }
}

TEST_F(TiffLayoutsTest, TurnOnlyDeepPixelsUpright) {
  TiffFields fields = PageFields(2, 1, 8, 3, PHOTOMETRIC_RGB);
  fields[TIFFTAG_ORIENTATION] = Short(ORIENTATION_TOPRIGHT);
  EXPECT_EQ(PixelsOf(*Read(Row(fields, {1, 2, 3, 4, 5, 6}))), (Bytes{6, 5, 4, 255, 3, 2, 1, 255}));
  fields = PageFields(2, 1, 8, 1, PHOTOMETRIC_MINISBLACK);
  fields[TIFFTAG_ORIENTATION] = Short(ORIENTATION_TOPRIGHT);
  EXPECT_EQ(PixelsOf(*Read(Row(fields, {1, 2}))), (Bytes{1, 2}));
}

TEST_F(TiffLayoutsTest, WithOddBitsPerPixelAreRefused) {
  for (const std::uint32_t bits : {2U, 3U, 5U, 6U, 7U}) {
    for (const std::uint32_t photometric : {0U, 1U, 3U}) {
      TiffFields fields = PageFields(8, 1, bits, 1, photometric);
      if (photometric == PHOTOMETRIC_PALETTE) fields[TIFFTAG_COLORMAP] = AnyColorMap(bits);
      EXPECT_EQ(Read(Row(fields, Bytes(bits, 0x55))), nullptr) << bits << ' ' << photometric;
    }
  }
  // Samples are counted, too: three of one bit and two of three bits.
  EXPECT_EQ(Read(Row(PageFields(8, 1, 1, 3, PHOTOMETRIC_RGB), Bytes(3))), nullptr);
  EXPECT_EQ(Read(Row(PageFields(8, 1, 3, 2, PHOTOMETRIC_MINISBLACK), Bytes(6))), nullptr);
}

TEST_F(TiffLayoutsTest, HaveDefaultsForAbsentTags) {
  const TiffFields fields = {{TIFFTAG_IMAGEWIDTH, Short(8)},
                             {TIFFTAG_IMAGELENGTH, Short(1)},
                             {TIFFTAG_COMPRESSION, Short(COMPRESSION_NONE)},
                             {TIFFTAG_ROWSPERSTRIP, Short(1)}};
  const BitmapPointer bitmap = Read(Row(fields, {0xA5}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat1bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0xA5}));  // 0 is black
  EXPECT_NEAR(bitmap->GetHorizontalResolution(), 96, kDpiTolerance);
}

TEST_F(TiffLayoutsTest, WithoutASizeAreRefused) {
  for (const int size_tag : {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH}) {
    const auto tag = static_cast<std::uint16_t>(size_tag);
    TiffFields fields = PageFields(8, 1, 1, 1, PHOTOMETRIC_MINISBLACK);
    fields[tag] = Short(0);
    EXPECT_EQ(Read(Row(fields, {0xA5})), nullptr);
    fields.erase(tag);
    EXPECT_EQ(Read(Row(fields, {0xA5})), nullptr);
  }
}

TEST_F(TiffLayoutsTest, OfFewBitsNeedTheColourMapThatTheySpeakOf) {
  for (const std::uint32_t bits : {1U, 4U}) {
    EXPECT_EQ(Read(Row(PageFields(8, 1, bits, 1, PHOTOMETRIC_PALETTE), Bytes(bits))), nullptr);
  }
}

TEST_F(TiffLayoutsTest, AreInvertedOnlyWhereBlackWouldNotComeFirst) {
  struct Case {
    std::uint32_t photometric;
    std::vector<std::uint32_t> map;  // red 0 and 1, green 0 and 1, blue 0 and 1
    bool is_inverted;
  };
  const Case cases[] = {
      {PHOTOMETRIC_MINISBLACK, {}, false},
      {PHOTOMETRIC_MINISWHITE, {}, true},
      {PHOTOMETRIC_PALETTE, {0xFFFF, 0, 0xFFFF, 0, 0xFFFF, 0}, true},
      {PHOTOMETRIC_PALETTE, {0x00FF, 7, 0x12FF, 7, 0x34FF, 7}, true},  // low bytes count
      {PHOTOMETRIC_PALETTE, {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}, true},
      {PHOTOMETRIC_PALETTE, {0xFF00, 0xFF, 0xFF00, 0xFF, 0xFF00, 0xFF}, false},
      {PHOTOMETRIC_PALETTE, {0xFFFF, 0, 0xFFFF, 0, 0xFEFE, 0}, false},
      {PHOTOMETRIC_PALETTE, {0, 0xFFFF, 0, 0xFFFF, 0, 0xFFFF}, false}};
  for (const Case& test : cases) {
    TiffFields fields = PageFields(16, 1, 1, 1, test.photometric);
    std::vector<Gdiplus::ARGB> palette = {0xFF000000, 0xFFFFFFFF};
    if (!test.map.empty()) {
      fields[TIFFTAG_COLORMAP] = Shorts(test.map);
      for (std::size_t i = 0; i < 2 && !test.is_inverted; ++i) {
        palette[i] = 0xFF000000 | (test.map[i] & 0xFF) << 16 | (test.map[2 + i] & 0xFF) << 8 |
                     (test.map[4 + i] & 0xFF);
      }
    }
    const BitmapPointer bitmap = Read(Row(fields, {0xA5, 0x0F}));
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap), test.is_inverted ? (Bytes{0x5A, 0xF0}) : (Bytes{0xA5, 0x0F}));
    EXPECT_EQ(PaletteOf(*bitmap), palette);
  }
}

TEST_F(TiffLayoutsTest, OfEightBitsAreGrayWithoutAColourMap) {
  for (const std::uint32_t photometric : {0U, 1U, 4U, 8U}) {
    const BitmapPointer bitmap = Read(Row(PageFields(3, 1, 8, 1, photometric), {0, 77, 255}));
    ASSERT_NE(bitmap, nullptr) << photometric;
    EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat8bppIndexed);
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0, 77, 255})) << photometric;
    const std::vector<Gdiplus::ARGB> palette = PaletteOf(*bitmap);
    ASSERT_EQ(palette.size(), 256U);
    for (unsigned i = 0; i < 256; ++i) EXPECT_EQ(palette[i], 0xFF000000 | i * 0x010101) << i;
  }
}

TEST_F(TiffLayoutsTest, OfFourBitsNeedAPalette) {
  for (const std::uint32_t photometric : {0U, 1U, 2U}) {
    EXPECT_EQ(Read(Row(PageFields(2, 1, 4, 1, photometric), {0x5A})), nullptr) << photometric;
  }
  TiffFields fields = PageFields(3, 1, 4, 1, PHOTOMETRIC_PALETTE);
  std::vector<std::uint32_t> map(48);
  for (std::uint32_t i = 0; i < 48; ++i) map[i] = i % 16 * 0x11 + (i < 16 ? 0x3300 : 0);
  fields[TIFFTAG_COLORMAP] = Shorts(map);
  const BitmapPointer bitmap = Read(Row(fields, {0x5A, 0xF0}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat4bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x5A, 0xF0}));
  const std::vector<Gdiplus::ARGB> palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 16U);
  for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(palette[i], 0xFF000000 | i * 0x111111) << i;
}

TEST_F(TiffLayoutsTest, OfMoreThanEightBitsBecomeColourWithAlpha) {
  const std::pair<TiffFields, Bytes> cases[] = {
      {PageFields(1, 1, 8, 3, PHOTOMETRIC_RGB), {10, 20, 30}},
      {PageFields(1, 1, 16, 3, PHOTOMETRIC_RGB), {10, 10, 20, 20, 30, 30}}};
  for (const auto& [fields, row] : cases) {
    const BitmapPointer bitmap = Read(Row(fields, row));
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat32bppARGB);
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{30, 20, 10, 255}));
  }
  // White is 0 there.
  const BitmapPointer gray =
      Read(Row(PageFields(2, 1, 16, 1, PHOTOMETRIC_MINISWHITE), {0, 0, 0xFF, 0xFF}));
  ASSERT_NE(gray, nullptr);
  EXPECT_EQ(gray->GetPixelFormat(), PixelFormat32bppARGB);
  EXPECT_EQ(PixelsOf(*gray), (Bytes{255, 255, 255, 255, 0, 0, 0, 255}));
}

TEST_F(TiffLayoutsTest, KeepTheirResolutionWhateverItsUnit) {
  for (const auto& [bits, samples, photometric] :
       {std::tuple{1U, 1U, 0U}, {8U, 1U, 1U}, {8U, 3U, 2U}}) {
    TiffFields fields = PageFields(1, 1, bits, samples, photometric);
    const auto read = [&] {
      const BitmapPointer bitmap = Read(Row(fields, {1, 2, 3}));
      return bitmap != nullptr
                 ? std::pair(bitmap->GetHorizontalResolution(), bitmap->GetVerticalResolution())
                 : std::pair(-1.0F, -1.0F);
    };
    const auto expect = [&](double horizontal, double vertical) {
      const auto [x, y] = read();
      EXPECT_NEAR(x, horizontal, kDpiTolerance) << bits;
      EXPECT_NEAR(y, vertical, kDpiTolerance) << bits;
    };
    expect(96, 96);
    fields[TIFFTAG_XRESOLUTION] = Rational(300);
    expect(96, 96);  // one alone is none
    fields[TIFFTAG_YRESOLUTION] = Rational(403, 4);
    for (const std::uint32_t unit : {0U, 1U, 2U, 3U}) {  // 0: absent
      if (unit != 0) fields[TIFFTAG_RESOLUTIONUNIT] = Short(unit);
      expect(300, 100.75);
    }
    fields[TIFFTAG_XRESOLUTION] = Rational(0);
    expect(96, 96);
  }
}

}  // namespace
}  // namespace pixtola::test
