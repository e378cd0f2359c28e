// The PCX reader: rows, runs and palettes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "unit/io/pcx_reader_fixture.h"

namespace pixtola::test {
namespace {

TEST_F(ReadPcxFileTest, FillsWholeBytesOfRowsOnly) {
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(1, 1, 12, 1), {0xC2, 0xFF}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0xFF, 0x00}));
  const BitmapPointer narrow = ReadBytes(FileOf(HeaderOf(1, 1, 7, 1), {0xC2, 0xFF}));
  ASSERT_NE(narrow, nullptr);
  EXPECT_EQ(PixelsOf(*narrow), (Bytes{0x00}));
  const BitmapPointer odd = ReadBytes(FileOf(HeaderOf(4, 1, 3, 1), {0x12, 0x34}));
  ASSERT_NE(odd, nullptr);
  EXPECT_EQ(PixelsOf(*odd), (Bytes{0x12, 0x00}));
}

TEST_F(ReadPcxFileTest, CarriesRunsOverLineEnds) {
  // 1, six times 2, a run of none, 3, 4 and 2.
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(8, 1, 4, 2), {1, 0xC6, 2, 0xC0, 77, 3, 4, 2}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 2, 2, 2, 2, 2, 3}));
}

TEST_F(ReadPcxFileTest, RepeatsTheLastLineOfATruncatedFile) {
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(8, 1, 4, 4), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 7, 8, 9, 10, 7, 8}));
}

TEST_F(ReadPcxFileTest, LeavesTheMissingPartOfAFirstLineZero) {
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(8, 1, 4, 2), {1, 2}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 0, 0, 1, 2, 0, 0}));
  const BitmapPointer nothing = ReadBytes(FileOf(HeaderOf(8, 3, 2, 2), {}));
  ASSERT_NE(nothing, nullptr);
  EXPECT_EQ(PixelsOf(*nothing), Bytes(12, 0));
}

TEST_F(ReadPcxFileTest, RepeatsTheOldValueWhenTheFileEndsAfterACount) {
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(8, 1, 4, 3), {0xC2, 9, 1, 0xC3}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{9, 9, 1, 0, 9, 9, 9, 0, 9, 9, 9, 0}));
  const BitmapPointer first = ReadBytes(FileOf(HeaderOf(8, 1, 4, 2), {5, 6, 0xC2}));
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(PixelsOf(*first), (Bytes{5, 6, 0, 0, 0, 0, 0, 0}));  // there was no value before
}

TEST_F(ReadPcxFileTest, FillsNoMoreOfALineThanARunIsLong) {
  // A run, some bytes, and the file ends: the rest of the line is that of the line before.
  Bytes line;
  for (unsigned i = 0; i < 150; ++i) line.push_back(Byte(i + 1));
  for (const unsigned count : {0U, 1U, 2U, 5U, 17U, 62U, 63U}) {
    for (const unsigned bytes : {0U, 1U, 2U, 3U, 4U, 8U, 15U, 16U, 17U, 32U, 64U, 80U}) {
      for (const bool is_first : {false, true}) {
        SCOPED_TRACE(testing::Message()
                     << count << ", then " << bytes << (is_first ? ", first" : ""));
        const Bytes before = is_first ? Bytes(150, 0) : line;
        Bytes data = is_first ? Bytes{} : line;
        Append(data, {Byte(0xC0 + count), 0xEE});
        Append(data, Bytes(bytes, 0x99));
        Bytes cut = before;
        std::fill_n(cut.begin(), count, std::uint8_t{0xEE});
        std::fill_n(cut.begin() + static_cast<std::ptrdiff_t>(count), bytes, std::uint8_t{0x99});
        Bytes expected = is_first ? cut : before;
        Append(expected, cut);
        const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(8, 1, 150, 2), data));
        ASSERT_NE(bitmap, nullptr);
        EXPECT_EQ(PixelsOf(*bitmap), expected);
      }
    }
  }
}

TEST_F(ReadPcxFileTest, ReadsShortPlanesOnIntoTheNextOne) {
  PcxFileHeader header = HeaderOf(8, 3, 3, 1);
  header.bytes_per_line = 2;
  const BitmapPointer bitmap = ReadBytes(FileOf(header, {1, 2, 3, 4, 5, 6}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{5, 3, 1, 6, 4, 2, 0, 5, 3}));
}

TEST_F(ReadPcxFileTest, ReadsLinesWithoutBytesAsZeros) {
  for (const PcxFileLayout& layout : PcxFileLayouts()) {
    SCOPED_TRACE(NameOf(layout));
    PcxFileHeader header = HeaderOf(layout.bits, layout.planes, 21, 3);
    header.bytes_per_line = 0;
    const BitmapPointer bitmap = ReadBytes(FileOf(header, Bytes(50, 0x5A)));
    ASSERT_NE(bitmap, nullptr);
    const Bytes pixels = PixelsOf(*bitmap);
    EXPECT_EQ(pixels, Bytes(pixels.size(), 0));
  }
}

TEST_F(ReadPcxFileTest, SkipsThePaddingOfLongLines) {
  PcxFileHeader header = HeaderOf(8, 3, 1, 2);
  header.bytes_per_line = 4;
  const BitmapPointer bitmap = ReadBytes(
      FileOf(header, {1, 90, 90, 90, 2, 90, 90, 90, 3, 90, 90, 90, 4, 90, 90, 90, 5, 0xC3, 90, 6}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{3, 2, 1, 6, 5, 4}));
}

/// A line of a 4-bit image, then `tail`.
Bytes FourBitFile(const Bytes& tail, unsigned version = 5) {
  PcxFileHeader header = HeaderOf(4, 1, 4, 1);
  header.version = Byte(version);
  header.filler = 0x77;  // a colour map that is not asked
  return FileOf(header, {0x01, 0x23}, tail);
}

std::vector<Gdiplus::ARGB> Ramp16() {
  std::vector<Gdiplus::ARGB> ramp;
  for (std::uint32_t i = 0; i < 16; ++i) ramp.push_back(0xFF000000U | i * 0x101010U);
  return ramp;
}

TEST_F(ReadPcxFileTest, GivesA16ColourFileAGrayRampWhateverItsColourMap) {
  const BitmapPointer bitmap = ReadBytes(FourBitFile({}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PaletteOf(*bitmap), Ramp16());
}

TEST_F(ReadPcxFileTest, GivesARampOf255LevelsAndBlackTo256Colours) {
  const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(8, 1, 2, 1), {1, 2}));
  ASSERT_NE(bitmap, nullptr);
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 256U);
  for (std::uint32_t i = 0; i < 255; ++i) EXPECT_EQ(palette[i], 0xFF000000U | i * 0x010101U) << i;
  EXPECT_EQ(palette[255], 0xFF000000U);
}

TEST_F(ReadPcxFileTest, TakesThePaletteOfAVersion5FileOnly) {
  std::mt19937 random(5);
  const Palette colors = RandomColors(16, random);
  for (unsigned version = 0; version <= 5; ++version) {
    const BitmapPointer bitmap = ReadBytes(FourBitFile(PaletteBytes(colors), version));
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PaletteOf(*bitmap),
              version == 5 ? std::vector<Gdiplus::ARGB>(colors.begin(), colors.end()) : Ramp16())
        << version;
  }
}

TEST_F(ReadPcxFileTest, LooksForThePaletteMarkBehindTheImage) {
  const BitmapPointer bitmap = ReadBytes(FourBitFile({0, 255, 13, 12, 12, 1, 2, 3, 4, 5, 6, 7}));
  ASSERT_NE(bitmap, nullptr);
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 16U);
  EXPECT_EQ(palette[0], 0xFF0C0102U);  // the second 12 is a colour's
  EXPECT_EQ(palette[1], 0xFF030405U);
  EXPECT_EQ(palette[2], 0xFF000000U);  // two bytes are no colour
  EXPECT_EQ(palette[15], 0xFF000000U);
}

TEST_F(ReadPcxFileTest, GoesOnFromTheRunThatTheImageEndedIn) {
  // The last run is longer than the image; what follows it is the mark.
  Bytes file = FileOf(HeaderOf(8, 1, 2, 2), {0xFF, 12, 12, 1, 2, 3});
  const BitmapPointer bitmap = ReadBytes(file);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{12, 12, 12, 12}));
  EXPECT_EQ(PaletteOf(*bitmap).at(0), 0xFF010203U);
}

TEST_F(ReadPcxFileTest, GivesARampWhenNotOneColourIsThere) {
  for (const Bytes& tail : {Bytes{12}, Bytes{12, 1}, Bytes{12, 1, 2}, Bytes{1, 2, 3, 4, 5, 6}}) {
    const BitmapPointer bitmap = ReadBytes(FourBitFile(tail));
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PaletteOf(*bitmap), Ramp16());
  }
}

TEST_F(ReadPcxFileTest, MakesThePalettePlain) {
  for (const PcxFileLayout& layout : PcxFileLayouts()) {
    if (layout.palette_size == 0) continue;
    SCOPED_TRACE(NameOf(layout));
    const BitmapPointer bitmap = ReadBytes(FileOf(HeaderOf(layout.bits, layout.planes, 8, 1), {}));
    ASSERT_NE(bitmap, nullptr);
    std::vector<std::uint32_t> words(2 + 256);
    const INT size = bitmap->GetPaletteSize();
    ASSERT_EQ(static_cast<unsigned>(size), 8 + 4 * layout.palette_size);
    ASSERT_EQ(bitmap->GetPalette(reinterpret_cast<Gdiplus::ColorPalette*>(words.data()), size),
              Gdiplus::Ok);
    EXPECT_EQ(words[0], 0U);  // flags
    EXPECT_EQ(words[1], layout.palette_size);
  }
}

TEST_F(ReadPcxFileTest, IgnoresThePaletteOfAOneBitFile) {
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(1, 1, 16, 1), {0x12, 0x34}, {12, 1, 2, 3, 4, 5, 6}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PaletteOf(*bitmap), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
}

}  // namespace
}  // namespace pixtola::test
