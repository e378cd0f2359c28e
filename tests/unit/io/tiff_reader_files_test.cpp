// TIFF files of every kind: tiles, compressions, byte orders, pages one after another, and files
// that claim too much.

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "support/decode_limit_guard.h"
#include "support/test_images.h"
#include "unit/io/tiff_reader_fixture.h"

namespace pixtola::test {
namespace {

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
    Bytes tile = RandomBytes(static_cast<std::size_t>(TIFFTileSize(tiff.get())), 1);
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
                                  page.height,
                              1);
      const std::size_t row_bytes =
          (std::size_t{page.width} * page.bits_per_sample * page.samples_per_pixel + 7) / 8;
      page.rows.resize(row_bytes * page.height);
      page.more_tags = [compression](TIFF* tiff) {
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
      };
      const Bytes file = TiffBytes({page});
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
      WritePages(tiff.get(), {gray});
    }
    const BitmapPointer bitmap = Read(memory.bytes);
    ASSERT_NE(bitmap, nullptr) << mode;
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 3}));
  }
}

TEST_F(TiffLayoutsTest, OfTheWorldFollowTheRules) {
  int files = 0;
  int read = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(TestImages())) {
    const std::string extension = entry.path().extension().string();
    if (extension != ".tif" && extension != ".tiff") continue;
    const Bytes file = ReadWholeFile(entry.path());
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
  const Bytes file = TiffBytes(pages);
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
  const std::uint32_t first = NumberAt(file.bytes(), 4, 4);
  file.AddPage(fields, {0x22}).LinkLastPageTo(first);
  EXPECT_EQ(PixelsOf(*FromFile(file.bytes(), 1)), (Bytes{0x22}));
  EXPECT_EQ(FromFile(file.bytes(), 2), nullptr);
  EXPECT_EQ(FromFile(file.bytes(), std::numeric_limits<std::int32_t>::max()), nullptr);
}

TEST_F(TiffLayoutsTest, InStreamsEndWhereTheyLike) {
  TiffPage page;
  page.rows = {0x5A};
  Bytes file = TiffBytes({page});
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
  page.rows = RandomBytes(20000, 1);
  const Bytes file = TiffBytes({page});
  IStream* stream = nullptr;
  ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
  ULONG written = 0;
  ASSERT_EQ(stream->Write(file.data(), static_cast<ULONG>(file.size()), &written), S_OK);
  BitmapPointer bitmap;
  ASSERT_EQ(stream->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
  bitmap = ReadTiffStream(stream);
  EXPECT_NE(bitmap, nullptr);
  EXPECT_EQ(stream->Release(), 0U);  // nothing is kept; the bitmap is on its own
  ASSERT_NE(bitmap, nullptr);
  EXPECT_TRUE(PixelsOf(*bitmap) == page.rows);
}

TEST_F(TiffLayoutsTest, BeyondTheDecodeLimitAreRefused) {
  const Bytes color =
      PlainTiff()
          .AddPage(PageFields(100, 50, 8, 3, PHOTOMETRIC_RGB), RandomBytes(15000, 1))
          .bytes();
  const Bytes bilevel =
      PlainTiff().AddPage(PageFields(800, 50, 1, 1, PHOTOMETRIC_MINISWHITE), Bytes(5000)).bytes();
  {
    const DecodeLimitGuard limit({4999, 1 << 20});
    EXPECT_EQ(Read(color), nullptr);
  }
  {
    const DecodeLimitGuard limit({5000, 19999});
    EXPECT_EQ(Read(color), nullptr);
  }
  {
    const DecodeLimitGuard limit({39999, 1 << 20});
    EXPECT_EQ(Read(bilevel), nullptr);
  }
  {
    const DecodeLimitGuard limit({5000, 20000});
    EXPECT_NE(Read(color), nullptr);
  }
  const DecodeLimitGuard limit({40000, 1 << 20});
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
}  // namespace pixtola::test
