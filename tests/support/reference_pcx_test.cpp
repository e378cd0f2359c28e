// Pins the plain definition of PCX files to values worked out by hand, so that a mistake in it is
// found here and not passed on to the tests that rely on it. The codec is not involved.
#include "support/reference_pcx.h"

#include <gtest/gtest.h>

namespace pixtola::test {
namespace {

/// A file of one row.
Bytes OneRow(unsigned bits, unsigned planes, unsigned width, unsigned bytes_per_line,
             const Bytes& data, unsigned version = 5) {
  PcxFileHeader header;
  header.version = static_cast<std::uint8_t>(version);
  header.bits = static_cast<std::uint8_t>(bits);
  header.planes = static_cast<std::uint8_t>(planes);
  header.right = static_cast<std::uint16_t>(width - 1);
  header.bytes_per_line = static_cast<std::uint16_t>(bytes_per_line);
  Bytes file = HeaderBytes(header);
  file.insert(file.end(), data.begin(), data.end());
  return file;
}

Bytes RowOf(const Bytes& file) {
  const auto picture = DecodePcx(file);
  return picture.has_value() ? picture->rows : Bytes{};
}

TEST(ReferencePcx, ReadsTheHeader) {
  PcxFileHeader header;
  header.left = 0x0102;
  header.right = 0x0203;
  header.top = 7;
  header.bottom = 8;
  header.horizontal_dpi = 0x1234;
  header.vertical_dpi = 0x0056;
  header.bytes_per_line = 2;
  header.filler = 0xEE;
  const Bytes file = HeaderBytes(header);
  ASSERT_EQ(file.size(), 128U);
  EXPECT_EQ(file[4], 0x02);
  EXPECT_EQ(file[5], 0x01);
  EXPECT_EQ(file[64], 0xEE);
  EXPECT_EQ(file[65], 1);
  EXPECT_EQ(file[66], 2);
  EXPECT_EQ(file[127], 0xEE);
  const auto picture = DecodePcx(file);
  ASSERT_TRUE(picture.has_value());
  EXPECT_EQ(picture->width, 0x0102U);
  EXPECT_EQ(picture->height, 2U);
  EXPECT_EQ(picture->horizontal_dpi, 0x1234U);
  EXPECT_EQ(picture->vertical_dpi, 0x56U);
  EXPECT_EQ(picture->format, PixelFormat8bppIndexed);
}

TEST(ReferencePcx, UnpacksRunsAcrossLines) {
  PcxFileHeader header;
  header.right = 3;
  header.bottom = 2;
  header.bytes_per_line = 4;
  Bytes file = HeaderBytes(header);
  // 1, six times 2, a run of none, 3, then the end; the last line has one byte of its own.
  for (const unsigned byte : {1U, 0xC6U, 2U, 0xC0U, 77U, 3U, 4U}) {
    file.push_back(static_cast<std::uint8_t>(byte));
  }
  EXPECT_EQ(RowOf(file), (Bytes{1, 2, 2, 2, 2, 2, 2, 3, 4, 2, 2, 3}));
}

TEST(ReferencePcx, KeepsACountWhoseValueIsMissing) {
  PcxFileHeader header;
  header.right = 3;
  header.bottom = 2;
  header.bytes_per_line = 4;
  Bytes file = HeaderBytes(header);
  for (const unsigned byte : {0xC2U, 9U, 1U, 0xC3U})
    file.push_back(static_cast<std::uint8_t>(byte));
  // The count of 3 comes into force on the second line, with the value before.
  EXPECT_EQ(RowOf(file), (Bytes{9, 9, 1, 0, 9, 9, 9, 0, 9, 9, 9, 0}));
}

TEST(ReferencePcx, MergesPlanes) {
  // 0xB1 = 10 11 00 01, 0x6C = 01 10 11 00, 0xC6 = 11 00 01 10, 0x1B = 00 01 10 11.
  EXPECT_EQ(RowOf(OneRow(1, 2, 8, 2, {0xB1, 0, 0x6C, 0})), (Bytes{0x21, 0x32, 0x11, 0x02}));
  EXPECT_EQ(RowOf(OneRow(1, 3, 8, 2, {0xB1, 0, 0x6C, 0, 0xC1, 0xC6, 0})),
            (Bytes{0x53, 0x64, 0x23, 0x14}));
  EXPECT_EQ(RowOf(OneRow(2, 1, 4, 2, {0xB1, 0})), (Bytes{0x23, 0x01}));
  EXPECT_EQ(RowOf(OneRow(2, 2, 4, 2, {0xB1, 0, 0x6C, 0})), (Bytes{0x9E, 0x34}));
  EXPECT_EQ(RowOf(OneRow(2, 3, 4, 2, {0xB1, 0, 0x6C, 0, 0xC1, 0xC6, 0})),
            (Bytes{0x27, 0x0E, 0x00, 0x00}));
  EXPECT_EQ(RowOf(OneRow(2, 4, 4, 2, {0xB1, 0, 0x6C, 0, 0xC1, 0xC6, 0, 0x1B, 0})),
            (Bytes{0x9C, 0x38, 0x03, 0x01}));
  EXPECT_EQ(RowOf(OneRow(4, 2, 2, 2, {0xB1, 0, 0x6C, 0})), (Bytes{0xB6, 0x1C}));
  EXPECT_EQ(RowOf(OneRow(8, 3, 1, 2, {1, 0, 2, 0, 3, 0})), (Bytes{3, 2, 1}));
  EXPECT_EQ(RowOf(OneRow(8, 4, 1, 2, {1, 0, 2, 0, 3, 0, 4, 0})), (Bytes{3, 2, 1, 4}));
}

TEST(ReferencePcx, LetsTheFirstByteOfFourPlanesCarry) {
  const auto first = [](unsigned a, unsigned b, unsigned c, unsigned d) {
    Bytes planes;
    for (const unsigned byte : {a, b, c, d}) {
      planes.push_back(static_cast<std::uint8_t>(byte));
      planes.push_back(0);
    }
    return RowOf(OneRow(1, 4, 2, 2, PackSingly(planes))).at(0);
  };
  EXPECT_EQ(first(0x80, 0, 0, 0), 0x80);
  EXPECT_EQ(first(0x40, 0, 0, 0), 0x10);
  EXPECT_EQ(first(0, 0x80, 0, 0), 0x40);
  EXPECT_EQ(first(0, 0x40, 0, 0), 0x04);
  EXPECT_EQ(first(0, 0, 0x80, 0), 0x20);
  EXPECT_EQ(first(0, 0, 0x40, 0), 0x02);
  EXPECT_EQ(first(0, 0, 0, 0x80), 0x10);
  EXPECT_EQ(first(0, 0, 0, 0x40), 0x01);
  EXPECT_EQ(first(0x40, 0, 0, 0x80), 0x20);
  EXPECT_EQ(first(0xFF, 0xFF, 0xFF, 0xFF), 0x07);  // 0x107
}

TEST(ReferencePcx, RepeatsTheFirstGroupOfThreeAndFourPlanes) {
  EXPECT_EQ(RowOf(OneRow(1, 3, 16, 2, {0, 0x7F, 0, 0x7F, 0x0F, 0x7F})),
            (Bytes{0, 0, 0x11, 0x11, 0, 0, 0x11, 0x11}));
  EXPECT_EQ(RowOf(OneRow(1, 4, 12, 2, {0, 0, 0, 0, 0, 0, 0x3F, 0x7F})),
            (Bytes{0, 0x11, 0x11, 0x11, 0, 0x11}));
}

TEST(ReferencePcx, StopsAtTheLastWholeByteOfARow) {
  EXPECT_EQ(RowOf(OneRow(1, 1, 12, 2, {0xC2, 0xFF})), (Bytes{0xFF, 0}));
  EXPECT_EQ(RowOf(OneRow(4, 1, 3, 2, {0x12, 0x34})), (Bytes{0x12, 0}));
  EXPECT_EQ(RowOf(OneRow(1, 1, 7, 2, {0xC2, 0xFF})), (Bytes{0}));
}

TEST(ReferencePcx, ReadsPlanesThatAreTooShortOnIntoTheNextOne) {
  EXPECT_EQ(RowOf(OneRow(8, 3, 3, 2, {1, 2, 3, 4, 5, 6})), (Bytes{5, 3, 1, 6, 4, 2, 0, 5, 3}));
  EXPECT_EQ(RowOf(OneRow(8, 1, 3, 0, {1, 2, 3})), (Bytes{0, 0, 0}));
}

TEST(ReferencePcx, FindsThePaletteBehindItsMark) {
  const auto palette = [](const Bytes& tail, unsigned version = 5) {
    Bytes data = {0, 0};
    data.insert(data.end(), tail.begin(), tail.end());
    return DecodePcx(OneRow(2, 1, 4, 2, data, version)).value().palette;
  };
  const Palette ramp = {0xFF000000, 0xFF404040, 0xFF808080, 0xFFC0C0C0};
  EXPECT_EQ(palette({}), ramp);
  EXPECT_EQ(palette({12, 1, 2}), ramp);
  EXPECT_EQ(palette({11, 1, 2, 3}), ramp);
  EXPECT_EQ(palette({12, 1, 2, 3}, 4), ramp);
  EXPECT_EQ(palette({12, 1, 2, 3, 4, 5}),
            (Palette{0xFF010203, 0xFF000000, 0xFF000000, 0xFF000000}));
  EXPECT_EQ(palette({99, 98, 12, 12, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}),
            (Palette{0xFF0C0203, 0xFF040506, 0xFF070809, 0xFF0A0B0C}));
}

TEST(ReferencePcx, LeavesTheLastOf256EntriesBlack) {
  Palette colors(256, 0xFFFFFFFF);
  Bytes data = {0, 0};
  const Bytes tail = PaletteBytes(colors);
  EXPECT_EQ(tail.size(), 769U);
  data.insert(data.end(), tail.begin(), tail.end());
  const Palette palette = DecodePcx(OneRow(8, 1, 2, 2, data)).value().palette;
  ASSERT_EQ(palette.size(), 256U);
  EXPECT_EQ(palette[254], 0xFFFFFFFFU);
  EXPECT_EQ(palette[255], 0xFF000000U);
  const Palette ramp = DecodePcx(OneRow(8, 1, 2, 2, {0, 0})).value().palette;
  EXPECT_EQ(ramp[254], 0xFFFEFEFEU);
  EXPECT_EQ(ramp[255], 0xFF000000U);
  EXPECT_EQ(DecodePcx(OneRow(2, 3, 2, 2, {})).value().palette.at(63), 0xFFFCFCFCU);
}

TEST(ReferencePcx, PacksRunsInPiecesOf63) {
  EXPECT_EQ(PackRuns({5}), (Bytes{5}));
  EXPECT_EQ(PackRuns({0xC5}), (Bytes{0xC1, 0xC5}));
  EXPECT_EQ(PackRuns({5, 5, 6, 0xBF, 0xC0, 0xC0}), (Bytes{0xC2, 5, 6, 0xBF, 0xC2, 0xC0}));
  EXPECT_EQ(PackRuns(Bytes(62, 7)), (Bytes{0xFE, 7}));
  EXPECT_EQ(PackRuns(Bytes(63, 7)), (Bytes{0xFF, 7}));
  EXPECT_EQ(PackRuns(Bytes(64, 7)), (Bytes{0xFF, 7, 7}));
  EXPECT_EQ(PackRuns(Bytes(126, 0xC7)), (Bytes{0xFF, 0xC7, 0xFF, 0xC7}));
  EXPECT_EQ(PackRuns(Bytes(127, 0xC7)), (Bytes{0xFF, 0xC7, 0xFF, 0xC7, 0xC1, 0xC7}));
  EXPECT_EQ(PackRuns({}), Bytes{});
}

TEST(ReferencePcx, UnpacksWhatItPacks) {
  std::mt19937 random(1);
  for (int i = 0; i < 20; ++i) {
    Bytes line(200);
    for (std::uint8_t& byte : line) {
      byte = static_cast<std::uint8_t>(random() % 3 == 0 ? random() : 0xC1);
    }
    for (const Bytes& packed : {PackRuns(line), PackSingly(line), PackAnyhow(line, random)}) {
      EXPECT_EQ(RowOf(OneRow(8, 1, 200, 200, packed)), line);
    }
  }
}

TEST(ReferencePcx, PutsAWrittenFileTogether) {
  LockedImage image;
  image.bits = 24;
  image.width = 1;
  image.height = 2;
  image.stride = 4;
  image.rows = {1, 2, 3, 99, 4, 5, 0xC6, 99};
  image.horizontal_dpi = 300;
  image.vertical_dpi = 200;
  const Bytes file = WrittenPcx(image);
  EXPECT_EQ(Bytes(file.begin(), file.begin() + 16),
            (Bytes{10, 5, 1, 8, 0, 0, 0, 0, 0, 0, 1, 0, 0x2C, 0x01, 200, 0}));
  EXPECT_EQ(Bytes(file.begin() + 16, file.begin() + 65), Bytes(49, 8));
  EXPECT_EQ(Bytes(file.begin() + 65, file.begin() + 74), (Bytes{3, 2, 0, 1, 0, 1, 0, 2, 0}));
  EXPECT_EQ(Bytes(file.begin() + 74, file.begin() + 128), Bytes(54, 0));
  EXPECT_EQ(Bytes(file.begin() + 128, file.end()),
            (Bytes{3, 0, 2, 0, 1, 0, 0xC1, 0xC6, 0, 5, 0, 4, 0}));
}

}  // namespace
}  // namespace pixtola::test
