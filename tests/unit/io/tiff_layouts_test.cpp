// TIFF pages of every layout, from files and from streams: what becomes of them follows from their
// tags.

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "io/tiff_reader.h"
#include "support/decode_limit_guard.h"
#include "support/recording_stream.h"
#include "support/reference_tiff.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_bytes.h"

namespace pixtola {
namespace {

using test_support::BitmapPointer;
using test_support::ByteOrder;
using test_support::Bytes;
using test_support::DifferenceFrom;
using test_support::Long;
using test_support::PaletteOf;
using test_support::PixelsOf;
using test_support::PlainTiff;
using test_support::Rational;
using test_support::Receive;
using test_support::RecordingStream;
using test_support::ReferenceTiffPage;
using test_support::Short;
using test_support::Shorts;
using test_support::TiffFields;
using test_support::TiffMemory;
using test_support::TiffPage;
using test_support::TiffPicture;
using test_support::TiffPointer;

Bytes RandomBytes(std::size_t size, unsigned seed = 1) {
  std::mt19937 random(seed);
  Bytes bytes(size);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

/// The tags that all pages have.
TiffFields PageFields(std::uint32_t width, std::uint32_t height, std::uint32_t bits,
                      std::uint32_t samples, std::uint32_t photometric) {
  return {{TIFFTAG_IMAGEWIDTH, Short(width)},
          {TIFFTAG_IMAGELENGTH, Short(height)},
          {TIFFTAG_BITSPERSAMPLE, Shorts(std::vector<std::uint32_t>(samples, bits))},
          {TIFFTAG_COMPRESSION, Short(COMPRESSION_NONE)},
          {TIFFTAG_PHOTOMETRIC, Short(photometric)},
          {TIFFTAG_SAMPLESPERPIXEL, Short(samples)},
          {TIFFTAG_ROWSPERSTRIP, Short(height)},
          {TIFFTAG_PLANARCONFIG, Short(PLANARCONFIG_CONTIG)}};
}

/// One page of one row.
Bytes Row(TiffFields fields, const Bytes& row) {
  return PlainTiff().AddPage(std::move(fields), row).bytes();
}

/// A colour map of gray levels that are not the same in their low and high bytes.
test_support::TiffField AnyColorMap(std::uint32_t bits) {
  std::vector<std::uint32_t> values(std::size_t{3} << bits);
  std::mt19937 random(bits);
  for (std::uint32_t& value : values) value = random() & 0xFFFF;
  return Shorts(values);
}

class TiffLayoutsTest : public testing::Test {
 protected:
  BitmapPointer FromFile(const Bytes& file, std::int32_t page = 0) {
    std::filesystem::remove(path_);  // to replace its contents would wait for the disk
    test_support::WriteWholeFile(path_, file);
    BitmapPointer bitmap;
    const int result =
        ReadTiffFile(path_.wstring().c_str(), static_cast<std::uint32_t>(page), Receive(bitmap));
    EXPECT_EQ(result, bitmap != nullptr ? 1 : 0);
    return bitmap;
  }
  static BitmapPointer FromStream(const Bytes& file) {
    RecordingStream stream(file);
    BitmapPointer bitmap;
    const int result = ReadTiffStream(&stream, Receive(bitmap));
    EXPECT_EQ(result, bitmap != nullptr ? 1 : 0);
    EXPECT_EQ(stream.references, 1U);
    return bitmap;
  }

  /// The first page, which must be the same from a file and from a stream; null when it is refused.
  BitmapPointer Read(const Bytes& file) {
    BitmapPointer bitmap = FromFile(file);
    const BitmapPointer from_stream = FromStream(file);
    EXPECT_EQ(bitmap == nullptr, from_stream == nullptr);
    if (bitmap == nullptr || from_stream == nullptr) return nullptr;
    EXPECT_EQ(PixelsOf(*bitmap), PixelsOf(*from_stream));
    EXPECT_EQ(PaletteOf(*bitmap), PaletteOf(*from_stream));
    EXPECT_EQ(bitmap->GetHorizontalResolution(), from_stream->GetHorizontalResolution());
    return bitmap;
  }

  /// The first page is as the rules say, from a file as from a stream.
  void ExpectFollowsTheRules(const Bytes& file, const std::string& name) {
    const std::optional<TiffPicture> expected = ReferenceTiffPage(file);
    EXPECT_EQ(DifferenceFrom(expected, FromFile(file).get()), "") << name << " as a file";
    EXPECT_EQ(DifferenceFrom(expected, FromStream(file).get()), "") << name << " as a stream";
  }

  test_support::TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "page.tif";
};

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
        fields[TIFFTAG_STRIPOFFSETS] = {test_support::kLongField, {}};
        fields[TIFFTAG_STRIPBYTECOUNTS] = {test_support::kLongField, {}};
        for (std::uint32_t plane = 0; plane < samples; ++plane) {
          fields[TIFFTAG_STRIPOFFSETS].values.push_back(8 + plane * plane_size);
          fields[TIFFTAG_STRIPBYTECOUNTS].values.push_back(plane_size);
        }
        const Bytes file =
            PlainTiff().AddPage(fields, RandomBytes(std::size_t{plane_size} * samples)).bytes();
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
          PlainTiff().AddPage(fields, RandomBytes(std::size_t{bits} * samples * 3)).bytes(),
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
  EXPECT_NEAR(bitmap->GetHorizontalResolution(), 96, 0.02);
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
      EXPECT_NEAR(x, horizontal, 0.02) << bits;
      EXPECT_NEAR(y, vertical, 0.02) << bits;
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

TEST_F(TiffLayoutsTest, InTilesAreReadWhenTheyAreDeep) {
  const auto tiled = [](std::uint16_t bits, std::uint16_t samples, std::uint16_t photometric) {
    TiffMemory memory;
    const TiffPointer tiff = memory.Open("w");
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, 5);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, 3);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff.get(), TIFFTAG_TILEWIDTH, 16);
    TIFFSetField(tiff.get(), TIFFTAG_TILELENGTH, 16);
    Bytes tile = RandomBytes(static_cast<std::size_t>(TIFFTileSize(tiff.get())));
    TIFFWriteEncodedTile(tiff.get(), 0, tile.data(), static_cast<tmsize_t>(tile.size()));
    TIFFWriteDirectory(tiff.get());
    return memory.bytes;
  };
  EXPECT_EQ(Read(tiled(1, 1, PHOTOMETRIC_MINISBLACK)), nullptr);
  EXPECT_EQ(Read(tiled(8, 1, PHOTOMETRIC_MINISBLACK)), nullptr);
  EXPECT_NE(Read(tiled(8, 3, PHOTOMETRIC_RGB)), nullptr);
  ExpectFollowsTheRules(tiled(8, 3, PHOTOMETRIC_RGB), "tiles");
}

TEST_F(TiffLayoutsTest, AreReadInEveryLosslessCompression) {
  TiffPage bilevel;
  bilevel.width = 37;
  bilevel.height = 21;
  TiffPage gray;
  gray.width = 19;
  gray.height = 9;
  gray.bits_per_sample = 8;
  TiffPage color = gray;
  color.samples_per_pixel = 3;
  color.photometric = PHOTOMETRIC_RGB;
  int read = 0;
  for (const int compression :
       {COMPRESSION_NONE, COMPRESSION_CCITTRLE, COMPRESSION_CCITTRLEW, COMPRESSION_CCITTFAX3,
        COMPRESSION_CCITTFAX4, COMPRESSION_LZW, COMPRESSION_PACKBITS, COMPRESSION_DEFLATE,
        COMPRESSION_ADOBE_DEFLATE, COMPRESSION_ZSTD}) {
    if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)) == 0) continue;
    const bool is_fax = compression >= COMPRESSION_CCITTRLE && compression <= COMPRESSION_CCITTFAX4;
    const bool is_bilevel = is_fax || compression == COMPRESSION_CCITTRLEW;
    for (TiffPage page : {bilevel, gray, color}) {
      if (is_bilevel && page.bits_per_sample != 1) continue;
      page.rows = RandomBytes(std::size_t{page.width} * page.bits_per_sample *
                                  page.samples_per_pixel / 8 * page.height +
                              page.height);
      const std::size_t row_bytes =
          (std::size_t{page.width} * page.bits_per_sample * page.samples_per_pixel + 7) / 8;
      page.rows.resize(row_bytes * page.height);
      page.more_tags = [compression](TIFF* tiff) {
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
      };
      const Bytes file = test_support::TiffBytes({page});
      const std::optional<TiffPicture> expected = ReferenceTiffPage(file);
      ASSERT_TRUE(expected.has_value()) << compression;
      if (page.samples_per_pixel == 1 && page.bits_per_sample == 8) {
        EXPECT_EQ(expected->pixels, page.rows);  // the reference itself
      }
      ExpectFollowsTheRules(file, "compression " + std::to_string(compression));
      ++read;
    }
  }
  EXPECT_GE(read, 13);
}

TEST_F(TiffLayoutsTest, AreReadInEveryKindOfFile) {
  for (const char* mode : {"wl", "wb", "w8l", "w8b"}) {
    TiffMemory memory;
    {
      const TiffPointer tiff = memory.Open(mode);
      ASSERT_NE(tiff, nullptr);
      TiffPage gray;
      gray.width = 3;
      gray.bits_per_sample = 8;
      gray.rows = {1, 2, 3};
      test_support::WritePages(tiff.get(), {gray});
    }
    const BitmapPointer bitmap = Read(memory.bytes);
    ASSERT_NE(bitmap, nullptr) << mode;
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 3}));
  }
}

TEST_F(TiffLayoutsTest, OfTheWorldFollowTheRules) {
  int files = 0;
  int read = 0;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(std::filesystem::path(PIXTOLA_TEST_IMAGES))) {
    const std::string extension = entry.path().extension().string();
    if (extension != ".tif" && extension != ".tiff") continue;
    const Bytes file = test_support::ReadWholeFile(entry.path());
    ++files;
    if (ReferenceTiffPage(file).has_value()) ++read;
    ExpectFollowsTheRules(file, entry.path().string());
    for (const std::int32_t page : {1, 2, 3, -1}) {
      EXPECT_EQ(DifferenceFrom(ReferenceTiffPage(file, page), FromFile(file, page).get()), "")
          << entry.path() << ", page " << page;
    }
  }
  EXPECT_GE(files, 8);
  EXPECT_GE(read, 5);
}

TEST_F(TiffLayoutsTest, AreFoundByThePagesIndex) {
  std::vector<TiffPage> pages(5);
  for (std::size_t i = 0; i < 5; ++i) pages[i].rows = {static_cast<std::uint8_t>(0x11 * (i + 1))};
  const Bytes file = test_support::TiffBytes(pages);
  for (std::int32_t i = 0; i < 5; ++i) {
    const BitmapPointer bitmap = FromFile(file, i);
    ASSERT_NE(bitmap, nullptr) << i;
    EXPECT_EQ(PixelsOf(*bitmap), pages[static_cast<std::size_t>(i)].rows);
  }
  for (const std::int32_t page : {5, 6, 65535, 65536, std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(FromFile(file, page), nullptr) << page;
  }
  for (const std::int32_t page : {-1, -5, std::numeric_limits<std::int32_t>::min()}) {
    const BitmapPointer bitmap = FromFile(file, page);
    ASSERT_NE(bitmap, nullptr) << page;
    EXPECT_EQ(PixelsOf(*bitmap), pages[0].rows);
  }
  EXPECT_EQ(PixelsOf(*FromStream(file)), pages[0].rows);
}

TEST_F(TiffLayoutsTest, ThatFollowOneAnotherInACircleEnd) {
  const TiffFields fields = PageFields(8, 1, 1, 1, PHOTOMETRIC_MINISBLACK);
  PlainTiff file;
  file.AddPage(fields, {0x11});
  const std::uint32_t first = test_support::NumberAt(file.bytes(), 4, 4);
  file.AddPage(fields, {0x22}).LinkLastPageTo(first);
  EXPECT_EQ(PixelsOf(*FromFile(file.bytes(), 1)), (Bytes{0x22}));
  EXPECT_EQ(FromFile(file.bytes(), 2), nullptr);
  EXPECT_EQ(FromFile(file.bytes(), std::numeric_limits<std::int32_t>::max()), nullptr);
}

TEST_F(TiffLayoutsTest, InStreamsEndWhereTheyLike) {
  TiffPage page;
  page.rows = {0x5A};
  Bytes file = test_support::TiffBytes({page});
  file.resize(file.size() + 100, 0x77);  // what follows does not matter
  const BitmapPointer bitmap = FromStream(file);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x5A}));
  file.insert(file.begin(), 0x77);  // but what comes before
  EXPECT_EQ(FromStream(file), nullptr);
}

TEST_F(TiffLayoutsTest, ComeFromStreamsInGlobalMemory) {
  TiffPage page;
  page.width = 800;
  page.height = 200;
  page.rows = RandomBytes(20000);
  const Bytes file = test_support::TiffBytes({page});
  IStream* stream = nullptr;
  ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
  ULONG written = 0;
  ASSERT_EQ(stream->Write(file.data(), static_cast<ULONG>(file.size()), &written), S_OK);
  BitmapPointer bitmap;
  ASSERT_EQ(stream->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
  EXPECT_EQ(ReadTiffStream(stream, Receive(bitmap)), 1);
  EXPECT_EQ(stream->Release(), 0U);  // nothing is kept; the bitmap is on its own
  ASSERT_NE(bitmap, nullptr);
  EXPECT_TRUE(PixelsOf(*bitmap) == page.rows);
}

TEST_F(TiffLayoutsTest, BeyondTheDecodeLimitAreRefused) {
  const Bytes color =
      PlainTiff().AddPage(PageFields(100, 50, 8, 3, PHOTOMETRIC_RGB), RandomBytes(15000)).bytes();
  const Bytes bilevel =
      PlainTiff().AddPage(PageFields(800, 50, 1, 1, PHOTOMETRIC_MINISWHITE), Bytes(5000)).bytes();
  {
    const test_support::DecodeLimitGuard limit({4999, 1 << 20});
    EXPECT_EQ(Read(color), nullptr);
  }
  {
    const test_support::DecodeLimitGuard limit({5000, 19999});
    EXPECT_EQ(Read(color), nullptr);
  }
  {
    const test_support::DecodeLimitGuard limit({39999, 1 << 20});
    EXPECT_EQ(Read(bilevel), nullptr);
  }
  {
    const test_support::DecodeLimitGuard limit({5000, 20000});
    EXPECT_NE(Read(color), nullptr);
  }
  const test_support::DecodeLimitGuard limit({40000, 1 << 20});
  EXPECT_NE(Read(bilevel), nullptr);
}

TEST_F(TiffLayoutsTest, ThatClaimGigabytesAreRefused) {
  // The strip is there in full as far as the tags tell; the file has a few bytes.
  for (const auto& [bits, samples, photometric] :
       {std::tuple{1U, 1U, 0U}, {8U, 1U, 1U}, {8U, 3U, 2U}, {16U, 65535U, 2U}}) {
    TiffFields fields = PageFields(65535, 65535, bits, 1, photometric);
    fields[TIFFTAG_BITSPERSAMPLE] = Short(bits);
    fields[TIFFTAG_SAMPLESPERPIXEL] = Short(samples);
    fields[TIFFTAG_STRIPOFFSETS] = Long(8);
    fields[TIFFTAG_STRIPBYTECOUNTS] = Long(0xFFFFFFF0);
    EXPECT_EQ(Read(Row(fields, {1, 2, 3})), nullptr) << bits << " x " << samples;
  }
}

}  // namespace
}  // namespace pixtola
