#include "io/pcx_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "support/decode_limit_guard.h"
#include "support/platform_expectations.h"
#include "support/reference_pcx.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"

namespace pixtola {
namespace {

using reference_pcx::Decode;
using reference_pcx::Header;
using reference_pcx::HeaderBytes;
using reference_pcx::Layout;
using reference_pcx::Palette;
using reference_pcx::PaletteBytes;
using reference_pcx::Picture;
using test_support::BitmapPointer;
using test_support::Bytes;
using test_support::PaletteOf;
using test_support::PixelsOf;
using test_support::Receive;
using test_support::TemporaryFolder;

/// Indexed bitmaps come back through a BMP file, which holds whole pixels per metre.
constexpr float kDpiTolerance = 0.02F;

std::uint8_t Byte(std::uint64_t value) { return static_cast<std::uint8_t>(value & 0xFF); }
std::uint16_t Word(std::uint64_t value) { return static_cast<std::uint16_t>(value & 0xFFFF); }

void Append(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

/// A version 5 header with lines as long as they need to be.
Header HeaderOf(unsigned bits, unsigned planes, unsigned width, unsigned height) {
  Header header;
  header.bits = Byte(bits);
  header.planes = Byte(planes);
  header.right = Word(width - 1);
  header.bottom = Word(height - 1);
  header.bytes_per_line = Word((width * bits + 15) / 16 * 2);
  return header;
}

Bytes FileOf(const Header& header, const Bytes& data, const Bytes& tail = {}) {
  Bytes file = HeaderBytes(header);
  Append(file, data);
  Append(file, tail);
  return file;
}

Bytes RandomBytes(std::size_t size, std::mt19937& random) {
  Bytes bytes(size);
  for (std::uint8_t& byte : bytes) byte = Byte(random());
  return bytes;
}

Palette RandomColors(std::size_t count, std::mt19937& random) {
  Palette colors(count);
  for (std::uint32_t& color : colors) color = 0xFF000000U | static_cast<std::uint32_t>(random());
  return colors;
}

/// Bytes of which some follow one another, as in images.
Bytes ImageBytes(std::size_t size, std::mt19937& random) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    const bool repeats = i > 0 && random() % 3 != 0;
    bytes[i] = repeats ? bytes[i - 1] : Byte(random());
  }
  return bytes;
}

std::string NameOf(const Layout& layout) {
  return std::to_string(layout.bits) + " bits, " + std::to_string(layout.planes) + " planes";
}

float PlatformResolution() {
  return Gdiplus::Bitmap(1, 1, PixelFormat24bppRGB).GetHorizontalResolution();
}

class ReadPcxFileTest : public testing::Test {
 protected:
  /// Null when the file is refused; the place for the bitmap has to be left alone then.
  BitmapPointer Read(const std::wstring& path) {
    Gdiplus::Bitmap* const untouched = reinterpret_cast<Gdiplus::Bitmap*>(16);
    Gdiplus::Bitmap* bitmap = untouched;
    const int result = ReadPcxFile(path.c_str(), &bitmap);
    if (result != 1) {
      EXPECT_EQ(result, 0);
      EXPECT_EQ(bitmap, untouched);
      return nullptr;
    }
    EXPECT_NE(bitmap, untouched);
    EXPECT_NE(bitmap, nullptr);
    return BitmapPointer(bitmap == untouched ? nullptr : bitmap);
  }

  BitmapPointer ReadBytes(const Bytes& file) {
    std::filesystem::remove(path_);  // a file system may take its time to cut an old one to nothing
    test_support::WriteWholeFile(path_, file);
    return Read(path_.wstring());
  }

  /// Refused as the plain definition refuses it, or read as the plain definition reads it.
  void Check(const Bytes& file) {
    const BitmapPointer bitmap = ReadBytes(file);
    const std::optional<Picture> expected = Decode(file);
    ASSERT_EQ(bitmap != nullptr, expected.has_value());
    if (expected.has_value()) CheckBitmap(*bitmap, *expected);
  }

  void CheckBitmap(Gdiplus::Bitmap& bitmap, const Picture& expected) {
    EXPECT_EQ(bitmap.GetPixelFormat(), expected.format);
    ASSERT_EQ(bitmap.GetWidth(), expected.width);
    ASSERT_EQ(bitmap.GetHeight(), expected.height);
    EXPECT_TRUE(PixelsOf(bitmap) == expected.rows);
    const bool has_resolution = expected.horizontal_dpi > 0 && expected.vertical_dpi > 0;
    const float tolerance = (expected.format & PixelFormatIndexed) != 0 ? kDpiTolerance : 0;
    EXPECT_NEAR(bitmap.GetHorizontalResolution(),
                has_resolution ? static_cast<float>(expected.horizontal_dpi) : PlatformResolution(),
                tolerance);
    EXPECT_NEAR(bitmap.GetVerticalResolution(),
                has_resolution ? static_cast<float>(expected.vertical_dpi) : PlatformResolution(),
                tolerance);
    if (expected.format == PixelFormat1bppIndexed) {
      EXPECT_EQ(PaletteOf(bitmap), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
    } else if ((expected.format & PixelFormatIndexed) != 0) {
      EXPECT_EQ(PaletteOf(bitmap),
                std::vector<Gdiplus::ARGB>(expected.palette.begin(), expected.palette.end()));
    }
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "image.pcx";
};

// ----------------------------------------------------------------- one layout after the other

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
  const BitmapPointer bitmap =
      ReadBytes(FileOf(HeaderOf(1, 4, 12, 1), reference_pcx::PackSingly(planes)));
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

// ------------------------------------------------------------------------ what a header may say

TEST_F(ReadPcxFileTest, RefusesHeadersThatAreNotItsOwn) {
  const Header good = HeaderOf(1, 1, 8, 1);
  ASSERT_NE(ReadBytes(HeaderBytes(good)), nullptr);
  const auto is_read = [&](const auto& change) {
    Header header = good;
    change(header);
    return ReadBytes(HeaderBytes(header)) != nullptr;
  };
  for (const unsigned value : {0U, 1U, 9U, 11U, 255U}) {
    EXPECT_FALSE(is_read([&](Header& header) { header.manufacturer = Byte(value); })) << value;
  }
  for (const unsigned value : {6U, 7U, 128U, 255U}) {
    EXPECT_FALSE(is_read([&](Header& header) { header.version = Byte(value); })) << value;
  }
  for (const unsigned value : {0U, 1U, 2U, 3U, 4U, 5U}) {
    EXPECT_TRUE(is_read([&](Header& header) { header.version = Byte(value); })) << value;
  }
  for (const unsigned value : {0U, 2U, 255U}) {
    EXPECT_FALSE(is_read([&](Header& header) { header.encoding = Byte(value); })) << value;
  }
  for (const unsigned value : {1U, 3U, 65535U}) {
    EXPECT_FALSE(is_read([&](Header& header) { header.bytes_per_line = Word(value); })) << value;
  }
  EXPECT_FALSE(is_read([](Header& header) { header.left = 8; }));
  EXPECT_TRUE(is_read([](Header& header) { header.left = 7; }));
  EXPECT_FALSE(is_read([](Header& header) { header.top = 1; }));
  EXPECT_TRUE(is_read([](Header& header) { header.top = header.bottom = 65535; }));
  EXPECT_TRUE(is_read([](Header& header) { header.filler = 255; }));
}

TEST_F(ReadPcxFileTest, ReadsThirteenLayoutsSixOfThemInVersion5Only) {
  unsigned in_version_4 = 0;
  unsigned in_version_5 = 0;
  for (const unsigned bits : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 16U}) {
    for (unsigned planes = 0; planes <= 5; ++planes) {
      for (const unsigned version : {0U, 4U, 5U, 6U}) {
        SCOPED_TRACE(testing::Message() << bits << ' ' << planes << ' ' << version);
        Header header = HeaderOf(bits, planes, 3, 2);
        header.version = Byte(version);
        const Bytes file = FileOf(header, Bytes(40, 0x5A));
        ASSERT_NO_FATAL_FAILURE(Check(file));
        const unsigned is_read = Decode(file).has_value() ? 1 : 0;
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
    Header header = HeaderOf(bits, planes, 4, 1);
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
    Header header = HeaderOf(bits, planes, 9, 3);
    header.left = header.top = 0x0101;
    header.filler = 0xEE;
    header.right = Word(header.right + 0x0101U);
    header.bottom = Word(header.bottom + 0x0101U);
    const Bytes file = FileOf(header, ImageBytes(60, random));
    for (std::size_t offset = 0; offset < reference_pcx::kHeaderSize; ++offset) {
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
  Header header = HeaderOf(1, 1, 8, 1);
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
      Header header = HeaderOf(bits, planes, 8, 1);
      header.horizontal_dpi = Word(x);
      header.vertical_dpi = Word(y);
      Check(FileOf(header, Bytes(24, 1)));
    }
  }
}

// ------------------------------------------------------------------------------- rows and runs

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
  Header header = HeaderOf(8, 3, 3, 1);
  header.bytes_per_line = 2;
  const BitmapPointer bitmap = ReadBytes(FileOf(header, {1, 2, 3, 4, 5, 6}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{5, 3, 1, 6, 4, 2, 0, 5, 3}));
}

TEST_F(ReadPcxFileTest, ReadsLinesWithoutBytesAsZeros) {
  for (const Layout& layout : reference_pcx::Layouts()) {
    SCOPED_TRACE(NameOf(layout));
    Header header = HeaderOf(layout.bits, layout.planes, 21, 3);
    header.bytes_per_line = 0;
    const BitmapPointer bitmap = ReadBytes(FileOf(header, Bytes(50, 0x5A)));
    ASSERT_NE(bitmap, nullptr);
    const Bytes pixels = PixelsOf(*bitmap);
    EXPECT_EQ(pixels, Bytes(pixels.size(), 0));
  }
}

TEST_F(ReadPcxFileTest, SkipsThePaddingOfLongLines) {
  Header header = HeaderOf(8, 3, 1, 2);
  header.bytes_per_line = 4;
  const BitmapPointer bitmap = ReadBytes(
      FileOf(header, {1, 90, 90, 90, 2, 90, 90, 90, 3, 90, 90, 90, 4, 90, 90, 90, 5, 0xC3, 90, 6}));
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{3, 2, 1, 6, 5, 4}));
}

// ------------------------------------------------------------------------------------- palettes

/// A line of a 4-bit image, then `tail`.
Bytes FourBitFile(const Bytes& tail, unsigned version = 5) {
  Header header = HeaderOf(4, 1, 4, 1);
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
  for (const Layout& layout : reference_pcx::Layouts()) {
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

// ----------------------------------------------------------------------- any and damaged files

/// Any sizes, lines longer or shorter than they need to be, runs packed in any way, files cut short
/// or with more at their end.
Bytes RandomFile(const Layout& layout, std::mt19937& random) {
  const auto width_choice = random() % 8;
  const auto width =
      static_cast<unsigned>(width_choice < 2 ? 1 : 1 + random() % (width_choice == 2 ? 3000 : 70));
  const auto height = static_cast<unsigned>(random() % 4 == 0 ? 1 : 1 + random() % 9);
  Header header = HeaderOf(layout.bits, layout.planes, width, height);
  if (random() % 4 == 0) header.version = Byte(random() % 6);
  header.left = Word(random() % 3 == 0 ? random() % 60000 : 0);
  header.right = Word(header.right + header.left);
  header.top = Word(random() % 3 == 0 ? random() % 60000 : 0);
  header.bottom = Word(header.bottom + header.top);
  header.horizontal_dpi = Word(random() % 4 == 0 ? random() : 300);
  header.vertical_dpi = Word(random() % 4 == 0 ? random() : 200);
  header.filler = Byte(random());
  const auto line_choice = random() % 4;
  if (line_choice == 0) header.bytes_per_line = Word(header.bytes_per_line + random() % 10 * 2);
  if (line_choice == 1)
    header.bytes_per_line = Word(random() % (header.bytes_per_line + 1U) / 2 * 2);

  const std::size_t size = std::size_t{header.bytes_per_line} * layout.planes * height;
  const Bytes image = ImageBytes(size, random);
  Bytes data;
  switch (random() % 4) {
    case 0:
      data = RandomBytes(random() % (size + 1), random);  // any runs
      break;
    case 1:
      data = reference_pcx::PackSingly(image);
      break;
    default:
      data = reference_pcx::PackAnyhow(image, random);
  }
  const auto tail_choice = random() % 4;
  Bytes tail;
  if (tail_choice == 0) tail = RandomBytes(random() % 40, random);
  if (tail_choice >= 2) Append(tail, PaletteBytes(RandomColors(random() % 260, random)));
  Bytes file = FileOf(header, data, tail);
  if (random() % 4 == 0) file.resize(file.size() - random() % (file.size() - 127));
  return file;
}

TEST_F(ReadPcxFileTest, ReadsAnyFileAsThePlainDefinitionDoes) {
  std::mt19937 random(20240117);
  for (const Layout& layout : reference_pcx::Layouts()) {
    for (int i = 0; i < 80; ++i) {
      SCOPED_TRACE(testing::Message() << NameOf(layout) << ", file " << i);
      Check(RandomFile(layout, random));
      ASSERT_FALSE(HasFailure());
    }
  }
}

TEST_F(ReadPcxFileTest, ReadsFilesThatAreCutAnywhere) {
  std::mt19937 random(8);
  for (const Layout& layout : reference_pcx::Layouts()) {
    // Rows of more than one group and of less, each of several runs.
    for (const unsigned width : {3U, 19U}) {
      const Header header = HeaderOf(layout.bits, layout.planes, width, 3);
      const std::size_t size = std::size_t{header.bytes_per_line} * layout.planes * 3;
      const Bytes file = FileOf(header, reference_pcx::PackAnyhow(ImageBytes(size, random), random),
                                PaletteBytes(RandomColors(5, random)));
      for (std::size_t length = reference_pcx::kHeaderSize - 2; length <= file.size(); ++length) {
        SCOPED_TRACE(testing::Message() << NameOf(layout) << ", cut at " << length);
        Check({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)});
        ASSERT_FALSE(HasFailure());
      }
    }
  }
}

TEST_F(ReadPcxFileTest, ReadsAPaletteThatIsCutAnywhere) {
  std::mt19937 random(9);
  const Bytes file = FileOf(HeaderOf(8, 1, 2, 1), {1, 2}, PaletteBytes(RandomColors(256, random)));
  for (std::size_t length = 130; length <= file.size(); length += length < 200 ? 1 : 7) {
    SCOPED_TRACE(testing::Message() << "cut at " << length);
    Check({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)});
    ASSERT_FALSE(HasFailure());
  }
}

TEST_F(ReadPcxFileTest, ReadsLongFiles) {
  // Longer than any buffer: runs, single bytes that are marked, and a palette far behind.
  std::mt19937 random(12);
  const Header header = HeaderOf(8, 1, 997, 150);
  const std::size_t size = std::size_t{header.bytes_per_line} * 150;
  Bytes far_palette(100001, 77);
  Append(far_palette, PaletteBytes(RandomColors(256, random)));
  for (const Bytes& data :
       {reference_pcx::PackAnyhow(ImageBytes(size, random), random),
        reference_pcx::PackSingly(RandomBytes(size, random)), RandomBytes(size, random)}) {
    Check(FileOf(header, data, far_palette));
    Check(FileOf(header, {data.begin(), data.begin() + 70001}));
  }
}

TEST_F(ReadPcxFileTest, ReadsLongLinesAndHighImages) {
  std::mt19937 random(10);
  Header wide = HeaderOf(8, 4, 1, 2);
  wide.bytes_per_line = 65534;
  Check(FileOf(wide, reference_pcx::PackRuns(ImageBytes(65534U * 4 * 2, random))));
  Header high = HeaderOf(1, 2, 3, 65535);
  Check(FileOf(high, ImageBytes(5000, random)));
}

TEST_F(ReadPcxFileTest, RefusesImagesThatAreFarTooLarge) {
  for (const Layout& layout : reference_pcx::Layouts()) {
    Header header = HeaderOf(layout.bits, layout.planes, 65535, 65535);
    header.bytes_per_line = 65534;
    EXPECT_EQ(ReadBytes(FileOf(header, {0xFF, 1})), nullptr) << NameOf(layout);
  }
}

TEST_F(ReadPcxFileTest, RefusesImagesBeyondTheDecodeLimit) {
  for (const Layout& layout : reference_pcx::Layouts()) {
    SCOPED_TRACE(NameOf(layout));
    const Bytes file = FileOf(HeaderOf(layout.bits, layout.planes, 100, 50), Bytes(10, 1));
    {
      const test_support::DecodeLimitGuard limit({4999, 1 << 20});
      EXPECT_EQ(ReadBytes(file), nullptr);
    }
    const test_support::DecodeLimitGuard limit({5000, 1 << 20});
    EXPECT_NE(ReadBytes(file), nullptr);
  }
}

TEST_F(ReadPcxFileTest, CountsTheBytesOfTheRowsWithTheirPadding) {
  const Bytes file = FileOf(HeaderOf(8, 3, 9, 10), Bytes(10, 1));  // rows of 27 bytes take 28
  {
    const test_support::DecodeLimitGuard limit({1 << 20, 279});
    EXPECT_EQ(ReadBytes(file), nullptr);
  }
  const test_support::DecodeLimitGuard limit({1 << 20, 280});
  EXPECT_NE(ReadBytes(file), nullptr);
}

// --------------------------------------------------------------------------------- paths, files

TEST_F(ReadPcxFileTest, TrimsThePath) {
  test_support::WriteWholeFile(path_, FileOf(HeaderOf(8, 3, 1, 1), {1, 0, 2, 0, 3, 0}));
  const std::wstring path = path_.wstring();
  for (const std::wstring& padded :
       {L" " + path, path + L" ", L"\t \r\n\v\f" + path + L"\f\v\n\r \t"}) {
    const BitmapPointer bitmap = Read(padded);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{3, 2, 1}));
  }
}

TEST_F(ReadPcxFileTest, FailsForMissingFilesAndEmptyPaths) {
  EXPECT_EQ(Read(path_.wstring()), nullptr);
  EXPECT_EQ(Read(L""), nullptr);
  EXPECT_EQ(Read(L" \t\n"), nullptr);
  std::filesystem::create_directory(folder_ / "folder");
  EXPECT_EQ(Read((folder_ / "folder").wstring()), nullptr);
}

TEST_F(ReadPcxFileTest, RefusesNullArguments) {
  Gdiplus::Bitmap* bitmap = nullptr;
  EXPECT_EQ(ReadPcxFile(nullptr, &bitmap), 0);
  EXPECT_EQ(bitmap, nullptr);
  test_support::WriteWholeFile(path_, HeaderBytes(HeaderOf(1, 1, 8, 1)));
  EXPECT_EQ(ReadPcxFile(path_.wstring().c_str(), nullptr), 0);
}

TEST_F(ReadPcxFileTest, DoesNotKeepTheFile) {
  for (const Layout& layout : reference_pcx::Layouts()) {
    SCOPED_TRACE(NameOf(layout));
    const Bytes file = FileOf(HeaderOf(layout.bits, layout.planes, 8, 2), Bytes(70, 0x21));
    const BitmapPointer bitmap = ReadBytes(file);
    ASSERT_NE(bitmap, nullptr);
    // On Windows an open file could neither be written nor removed.
    test_support::WriteWholeFile(path_, Bytes(file.size(), 0));
    EXPECT_EQ(test_support::ReadWholeFile(path_), Bytes(file.size(), 0));
    EXPECT_TRUE(std::filesystem::remove(path_));
    CheckBitmap(*bitmap, Decode(file).value());
  }
}

TEST_F(ReadPcxFileTest, ClosesFilesThatItRefuses) {
  for (const std::size_t size : {0U, 100U, 128U}) {
    EXPECT_EQ(ReadBytes(Bytes(size, 0)), nullptr);
    std::FILE* const file = _wfsopen(path_.wstring().c_str(), L"r+b", _SH_DENYRW);
    EXPECT_NE(file, nullptr) << size;
    if (file != nullptr) std::fclose(file);
  }
}

TEST_F(ReadPcxFileTest, SharesFilesWithReadersOnly) {
  test_support::WriteWholeFile(path_, FileOf(HeaderOf(8, 3, 1, 1), {1, 0, 2, 0, 3, 0}));
  const std::wstring path = path_.wstring();
  std::FILE* const reader = _wfsopen(path.c_str(), L"rb", _SH_DENYNO);
  ASSERT_NE(reader, nullptr);
  EXPECT_NE(Read(path), nullptr);
  std::fclose(reader);
  std::FILE* const writer = _wfsopen(path.c_str(), L"r+b", _SH_DENYNO);
  ASSERT_NE(writer, nullptr);
  EXPECT_EQ(Read(path), nullptr);
  std::fclose(writer);
  EXPECT_NE(Read(path), nullptr);
}

// ------------------------------------------------------------------- as users of the library do

TEST_F(ReadPcxFileTest, IsTheLastResortOfOpeningWhateverTheName) {
  std::mt19937 random(11);
  for (const Layout& layout : reference_pcx::Layouts()) {
    SCOPED_TRACE(NameOf(layout));
    const Header header = HeaderOf(layout.bits, layout.planes, 24, 5);
    const std::size_t size = std::size_t{header.bytes_per_line} * layout.planes * 5;
    const Bytes file = FileOf(header, reference_pcx::PackRuns(ImageBytes(size, random)),
                              PaletteBytes(RandomColors(256, random)));
    for (const char* name : {"image.pcx", "image.png", "image"}) {
      test_support::WriteWholeFile(folder_ / name, file);
      BitmapPointer bitmap;
      ASSERT_EQ(PxtOpenImageFile((folder_ / name).wstring().c_str(), Receive(bitmap)), 1);
      ASSERT_NE(bitmap, nullptr);
      CheckBitmap(*bitmap, Decode(file).value());
    }
  }
}

TEST_F(ReadPcxFileTest, GivesPageZeroOnly) {
  test_support::WriteWholeFile(path_, FileOf(HeaderOf(8, 3, 1, 1), {1, 0, 2, 0, 3, 0}));
  const std::wstring path = path_.wstring();
  for (const std::int32_t page : {0, -1}) {
    BitmapPointer bitmap;
    ASSERT_EQ(PxtOpenImageFilePage(path.c_str(), page, Receive(bitmap)), 1) << page;
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{3, 2, 1})) << page;
  }
  Gdiplus::Bitmap* bitmap = reinterpret_cast<Gdiplus::Bitmap*>(16);
  EXPECT_EQ(PxtOpenImageFilePage(path.c_str(), 1, &bitmap), 0);
  EXPECT_EQ(bitmap, nullptr);
}

}  // namespace
}  // namespace pixtola
