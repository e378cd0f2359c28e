// The PCX reader: each layout of pixels, and what a header may say.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "unit/io/pcx_reader_fixture.h"

namespace pixtola::test {
namespace {

TEST_F(ReadPcxFileTest, CopiesOneBitPixels) {
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(1, 1, 16, 2), {0xA5, 0x0F, 0xC2, 0xC3}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat1bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0xA5, 0x0F, 0xC3, 0xC3}));
  EXPECT_EQ(PaletteOf(*bitmap), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
}

TEST_F(ReadPcxFileTest, MergesTwoPlanesOfBits) {
  // 10110001 and 01101100: each bit of the first plane counts 2.
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(1, 2, 8, 1), {0xB1, 0, 0x6C, 0}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat4bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x21, 0x32, 0x11, 0x02}));
  EXPECT_EQ(PaletteOf(*bitmap),
            (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFF404040, 0xFF808080, 0xFFC0C0C0}));
}

TEST_F(ReadPcxFileTest, RepeatsTheFirstEightPixelsOfThreePlanesOfBits) {
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(1, 3, 20, 1), {0xB1, 1, 2, 3, 0x6C, 4, 5, 6, 0xC1, 0xC6, 7, 8, 9}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat4bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x53, 0x64, 0x23, 0x14, 0x53, 0x64, 0x23, 0x14, 0x53, 0x64}));
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 8U);
  EXPECT_EQ(palette[7], 0xFFE0E0E0U);
}

TEST_F(ReadPcxFileTest, RepeatsTheFirstEightPixelsOfFourPlanesOfBitsAndLetsThemCarry) {
  // Bit 6 of the first plane counts 16 as bit 7 of the fourth does.
  const Bytes planes = {0x4F, 0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x8F, 0xFF};
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(1, 4, 12, 1), PackSingly(planes)));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat4bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x20, 0x00, 0x99, 0x99, 0x20, 0x00}));
  const BitmapPointer full = ReadBytes(FileOf(HeaderOf(1, 4, 4, 1), {0xC8, 0xFF}));
  ASSERT_NE(full, nullptr);
  EXPECT_EQ(PixelsOf(*full), (Bytes{0x07, 0xFF}));  // 0x107 and 0xFF
  EXPECT_EQ(PaletteOf(*full).size(), 16U);
}

TEST_F(ReadPcxFileTest, WidensTwoBitPixels) {
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(2, 1, 8, 1), {0x1B, 0xC1, 0xE4}, PaletteBytes({0x010203})));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat4bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x01, 0x23, 0x32, 0x10}));
  EXPECT_EQ(PaletteOf(*bitmap),
            (std::vector<Gdiplus::ARGB>{0xFF010203, 0xFF000000, 0xFF000000, 0xFF000000}));
}

TEST_F(ReadPcxFileTest, MergesTwoPlanesOfTwoBits) {
  // 10 11 00 01 and 01 10 11 00: the pixels are 9, 14, 3, 4.
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(2, 2, 4, 1), {0xB1, 0, 0x6C, 0}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat4bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x9E, 0x34}));
  EXPECT_EQ(PaletteOf(*bitmap).size(), 16U);
}

TEST_F(ReadPcxFileTest, MergesThreePlanesOfTwoBitsForTheFirstOfFourPixelsOnly) {
  // 10 11 00 01, 01 10 11 00, 11 00 01 10.
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(2, 3, 4, 1), {0xB1, 0, 0x6C, 0, 0xC1, 0xC6, 0}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat8bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0b100111, 0b1110, 0b00, 0}));
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 64U);
  EXPECT_EQ(palette[63], 0xFFFCFCFCU);
}

TEST_F(ReadPcxFileTest, MergesFourPlanesOfTwoBitsForTheFirstOfFourPixelsOnly) {
  // 10 11 00 01, 01 10 11 00, 11 00 01 10, 00 01 10 11.
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(2, 4, 4, 1), {0xB1, 0, 0x6C, 0, 0xC1, 0xC6, 0, 0x1B, 0}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat8bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0b10011100, 0b111000, 0b0011, 0b01}));
  EXPECT_EQ(PaletteOf(*bitmap).size(), 256U);
}

TEST_F(ReadPcxFileTest, CopiesFourBitPixels) {
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(4, 1, 4, 1), {0x12, 0xC1, 0xF4}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat4bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x12, 0xF4}));
}

TEST_F(ReadPcxFileTest, MergesTwoPlanesOfFourBits) {
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(4, 2, 4, 1), {0x12, 0xC1, 0xF4, 0x56, 0x78}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat8bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x15, 0x26, 0xF7, 0x48}));
  EXPECT_EQ(PaletteOf(*bitmap).size(), 256U);
}

TEST_F(ReadPcxFileTest, CopiesEightBitPixelsAndTakes255OfTheirColours) {
  Palette colors;
  for (std::uint32_t i = 0; i < 256; ++i) colors.push_back(i << 16 | (255 - i) << 8 | (i ^ 0x55));
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(8, 1, 3, 1), {0, 100, 0xC1, 255, 7}, PaletteBytes(colors)));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat8bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0, 100, 255}));
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 256U);
  for (std::size_t i = 0; i < 255; ++i) EXPECT_EQ(palette[i], 0xFF000000U | colors[i]) << i;
  EXPECT_EQ(palette[255], 0xFF000000U);
}

TEST_F(ReadPcxFileTest, InterleavesRedGreenAndBlue) {
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(8, 3, 2, 1), {1, 2, 3, 4, 5, 6}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat24bppRGB);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{5, 3, 1, 6, 4, 2}));
}

TEST_F(ReadPcxFileTest, InterleavesRedGreenBlueAndAlpha) {
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(8, 4, 2, 1), {1, 2, 3, 4, 5, 6, 0, 128}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat32bppARGB);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{5, 3, 1, 0, 6, 4, 2, 128}));
}

TEST_F(ReadPcxFileTest, RefusesHeadersThatAreNotItsOwn) {
  const PcxFileHeader good = HeaderOf(1, 1, 8, 1);
  ASSERT_NE(ReadBytes(HeaderBytes(good)), nullptr);
  const auto is_read = [&](const auto& change) {
    PcxFileHeader header = good;
    change(header);
    return ReadBytes(HeaderBytes(header)) != nullptr;
  };
  for (const unsigned value : {0U, 1U, 9U, 11U, 255U}) {
    EXPECT_FALSE(is_read([&](PcxFileHeader& header) { header.manufacturer = Byte(value); }))
        << value;
  }
  for (const unsigned value : {6U, 7U, 128U, 255U}) {
    EXPECT_FALSE(is_read([&](PcxFileHeader& header) { header.version = Byte(value); })) << value;
  }
  for (const unsigned value : {0U, 1U, 2U, 3U, 4U, 5U}) {
    EXPECT_TRUE(is_read([&](PcxFileHeader& header) { header.version = Byte(value); })) << value;
  }
  for (const unsigned value : {0U, 2U, 255U}) {
    EXPECT_FALSE(is_read([&](PcxFileHeader& header) { header.encoding = Byte(value); })) << value;
  }
  for (const unsigned value : {1U, 3U, 65535U}) {
    EXPECT_FALSE(is_read([&](PcxFileHeader& header) { header.bytes_per_line = Word(value); }))
        << value;
  }
  EXPECT_FALSE(is_read([](PcxFileHeader& header) { header.left = 8; }));
  EXPECT_TRUE(is_read([](PcxFileHeader& header) { header.left = 7; }));
  EXPECT_FALSE(is_read([](PcxFileHeader& header) { header.top = 1; }));
  EXPECT_TRUE(is_read([](PcxFileHeader& header) { header.top = header.bottom = 65535; }));
  EXPECT_TRUE(is_read([](PcxFileHeader& header) { header.filler = 255; }));
}

TEST_F(ReadPcxFileTest, ReadsThirteenLayoutsSixOfThemInVersion5Only) {
  unsigned in_version_4 = 0;
  unsigned in_version_5 = 0;
  for (const unsigned bits : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 16U}) {
    for (unsigned planes = 0; planes <= 5; ++planes) {
      for (const unsigned version : {0U, 4U, 5U, 6U}) {
        SCOPED_TRACE(testing::Message() << bits << ' ' << planes << ' ' << version);
        PcxFileHeader header = HeaderOf(bits, planes, 3, 2);
        header.version = Byte(version);
        const Bytes file = FileOf(header, Bytes(40, 0x5A));
        ASSERT_NO_FATAL_FAILURE(Check(file));
        const unsigned is_read = DecodePcx(file).has_value() ? 1 : 0;
        if (version == 4) in_version_4 += is_read;
        if (version == 5) in_version_5 += is_read;
      }
    }
  }
  EXPECT_EQ(in_version_4, 7U);
  EXPECT_EQ(in_version_5, 13U);
}

TEST_F(ReadPcxFileTest, WantsVersion5OfDeepPixels) {
  const auto is_read = [&](unsigned bits, unsigned planes, unsigned version) {
    PcxFileHeader header = HeaderOf(bits, planes, 4, 1);
    header.version = Byte(version);
    return ReadBytes(FileOf(header, Bytes(16, 1))) != nullptr;
  };
  for (const unsigned version : {0U, 2U, 3U, 4U}) {
    EXPECT_FALSE(is_read(8, 1, version)) << version;
    EXPECT_FALSE(is_read(8, 3, version)) << version;
    EXPECT_FALSE(is_read(8, 4, version)) << version;
    EXPECT_FALSE(is_read(4, 2, version)) << version;
    EXPECT_FALSE(is_read(2, 3, version)) << version;
    EXPECT_FALSE(is_read(2, 4, version)) << version;
    EXPECT_TRUE(is_read(4, 1, version)) << version;
    EXPECT_TRUE(is_read(2, 2, version)) << version;
  }
  EXPECT_TRUE(is_read(8, 1, 5));
}

TEST_F(ReadPcxFileTest, GivesEveryByteOfTheHeaderItsMeaning) {
  std::mt19937 random(3);
  for (const auto& [bits, planes] : {std::pair{1U, 1U}, std::pair{4U, 1U}, std::pair{8U, 3U}}) {
    PcxFileHeader header = HeaderOf(bits, planes, 9, 3);
    header.left = header.top = 0x0101;
    header.filler = 0xEE;
    header.right = Word(header.right + 0x0101U);
    header.bottom = Word(header.bottom + 0x0101U);
    const Bytes file = FileOf(header, ImageBytes(60, random));
    for (std::size_t offset = 0; offset < kPcxFileHeaderSize; ++offset) {
      const bool counts = offset < 16 || (offset >= 64 && offset < 69);
      for (const unsigned value : {0U, 1U, 2U, 3U, 4U}) {
        if (value > 0 && !counts) continue;
        SCOPED_TRACE(testing::Message() << bits << " bits, byte " << offset << " = " << value);
        Bytes changed = file;
        changed[offset] = Byte(value);
        ASSERT_NO_FATAL_FAILURE(Check(changed));
      }
    }
  }
}

TEST_F(ReadPcxFileTest, RefusesSizesThatWrapToNothing) {
  PcxFileHeader header = HeaderOf(1, 1, 8, 1);
  header.right = 65535;  // 65536 pixels, which 16 bits do not hold
  header.bytes_per_line = 8192;
  EXPECT_EQ(ReadBytes(HeaderBytes(header)), nullptr);
  header.left = 1;
  EXPECT_NE(ReadBytes(HeaderBytes(header)), nullptr);
  header = HeaderOf(1, 1, 8, 1);
  header.bottom = 65535;
  EXPECT_EQ(ReadBytes(HeaderBytes(header)), nullptr);
  header.top = 1;
  const BitmapPointer highest = ReadBytes(HeaderBytes(header));
  ASSERT_NE(highest, nullptr);
  EXPECT_EQ(highest->GetHeight(), 65535U);
}

TEST_F(ReadPcxFileTest, RefusesWhatIsShorterThanAHeader) {
  const Bytes header = HeaderBytes(HeaderOf(1, 1, 8, 1));
  for (std::size_t size = 0; size < header.size(); ++size) {
    EXPECT_EQ(ReadBytes({header.begin(), header.begin() + static_cast<std::ptrdiff_t>(size)}),
              nullptr)
        << size;
  }
}

TEST_F(ReadPcxFileTest, TakesTheResolutionFromTheHeader) {
  for (const auto& [bits, planes] : {std::pair{1U, 1U}, std::pair{8U, 1U}, std::pair{8U, 3U}}) {
    for (const auto& [x, y] :
         {std::pair{300U, 300U}, std::pair{204U, 98U}, std::pair{1U, 65535U}, std::pair{0U, 0U},
          std::pair{0U, 300U}, std::pair{300U, 0U}, std::pair{96U, 72U}}) {
      SCOPED_TRACE(testing::Message() << bits << " bits, " << x << " and " << y << " dpi");
      PcxFileHeader header = HeaderOf(bits, planes, 8, 1);
      header.horizontal_dpi = Word(x);
      header.vertical_dpi = Word(y);
      Check(FileOf(header, Bytes(24, 1)));
    }
  }
}

}  // namespace
}  // namespace pixtola::test
