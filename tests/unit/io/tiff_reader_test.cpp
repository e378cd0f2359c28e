#include "io/tiff_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/decode_limit_guard.h"
#include "support/recording_stream.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_bytes.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

const std::vector<Gdiplus::ARGB> kBlackFirst = {0xFF000000, 0xFFFFFFFF};

class ReadTiffFileTest : public testing::Test {
 protected:
  /// Writes one page and reads it back; null when it is refused.
  BitmapPointer WriteAndRead(const TiffPage& page) {
    WriteTiff(folder_ / "page.tif", {page});
    return Read(0);
  }
  BitmapPointer Read(std::uint32_t page_index) {
    BitmapPointer bitmap = ReadTiffFile((folder_ / "page.tif").wstring().c_str(), page_index);
    return bitmap;
  }

  TemporaryFolder folder_;
};

TEST_F(ReadTiffFileTest, KeepsMinIsBlackBitsAsTheyAre) {
  TiffPage page;
  page.width = 16;
  page.rows = {0b10100000, 0b11000011};
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat1bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0b10100000, 0b11000011}));
  EXPECT_EQ(PaletteOf(*bitmap), kBlackFirst);
}

TEST_F(ReadTiffFileTest, InvertsMinIsWhiteBits) {
  TiffPage page;
  page.width = 16;
  page.photometric = PHOTOMETRIC_MINISWHITE;
  page.rows = {0b10100000, 0b11000011};
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0b01011111, 0b00111100}));
  EXPECT_EQ(PaletteOf(*bitmap), kBlackFirst);
}

TEST_F(ReadTiffFileTest, InvertsBitsWhoseColourMapStartsWithWhite) {
  TiffPage page;
  page.photometric = PHOTOMETRIC_PALETTE;
  page.rows = {0b10100000};
  page.more_tags = [](TIFF* tiff) {
    std::uint16_t map[] = {0xFFFF, 0};
    TIFFSetField(tiff, TIFFTAG_COLORMAP, map, map, map);
  };
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0b01011111}));
  EXPECT_EQ(PaletteOf(*bitmap), kBlackFirst);
}

TEST_F(ReadTiffFileTest, KeepsOtherColourMapsOfOneBitImages) {
  TiffPage page;
  page.photometric = PHOTOMETRIC_PALETTE;
  page.rows = {0b10100000};
  page.more_tags = [](TIFF* tiff) {
    std::uint16_t red[] = {0x1111, 0x2222};
    std::uint16_t green[] = {0x3333, 0x4444};
    std::uint16_t blue[] = {0x5555, 0x6666};
    TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue);
  };
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0b10100000}));
  EXPECT_EQ(PaletteOf(*bitmap), (std::vector<Gdiplus::ARGB>{0xFF113355, 0xFF224466}));
}

TEST_F(ReadTiffFileTest, RefusesOneBitImagesInOtherColourSpaces) {
  TiffPage page;
  page.photometric = PHOTOMETRIC_MASK;
  page.rows = {0b10100000};
  EXPECT_EQ(WriteAndRead(page), nullptr);
}

TEST_F(ReadTiffFileTest, ReadsColourMapsThatRepeatTheByte) {
  TiffPage page;
  page.width = 4;
  page.bits_per_sample = 8;
  page.photometric = PHOTOMETRIC_PALETTE;
  page.rows = {0, 1, 2, 255};
  page.more_tags = [](TIFF* tiff) {
    static std::uint16_t red[256], green[256], blue[256];
    for (unsigned i = 0; i < 256; ++i) {
      red[i] = static_cast<std::uint16_t>(i * 257);
      green[i] = static_cast<std::uint16_t>((255 - i) * 257);
      blue[i] = static_cast<std::uint16_t>((i ^ 0x55) * 257);
    }
    TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue);
  };
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat8bppIndexed);
  EXPECT_EQ(PixelsOf(*bitmap), page.rows);
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 256U);
  for (unsigned i = 0; i < 256; ++i) {
    EXPECT_EQ(palette[i], 0xFF000000U | i << 16 | (255 - i) << 8 | (i ^ 0x55)) << i;
  }
}

TEST_F(ReadTiffFileTest, TakesTheLowByteOfColourMapValues) {
  TiffPage page;
  page.width = 2;
  page.bits_per_sample = 4;
  page.photometric = PHOTOMETRIC_PALETTE;
  page.rows = {0x01};
  page.more_tags = [](TIFF* tiff) {
    std::uint16_t map[16] = {0x1234, 0xFF00};
    TIFFSetField(tiff, TIFFTAG_COLORMAP, map, map, map);
  };
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat4bppIndexed);
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 16U);
  EXPECT_EQ(palette[0], 0xFF343434U);
  EXPECT_EQ(palette[1], 0xFF000000U);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x01}));
}

TEST_F(ReadTiffFileTest, ReadsColourMapsOfFewerEntriesThanPixelsCanName) {
  // Two samples of 4 bits make 8-bit pixels, but the map has only 16 entries.
  TiffPage page;
  page.width = 2;
  page.bits_per_sample = 4;
  page.samples_per_pixel = 2;
  page.photometric = PHOTOMETRIC_PALETTE;
  page.rows = {0x01, 0xFF};
  page.more_tags = [](TIFF* tiff) {
    std::uint16_t map[16];
    std::fill_n(map, 16, std::uint16_t{0x4242});
    TIFFSetField(tiff, TIFFTAG_COLORMAP, map, map, map);
  };
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 256U);
  EXPECT_EQ(palette[15], 0xFF424242U);
  EXPECT_EQ(palette[16], 0xFF000000U);
}

TEST_F(ReadTiffFileTest, GivesEightBitGrayTheRampWhateverItsPhotometric) {
  for (const auto photometric :
       {std::uint16_t{PHOTOMETRIC_MINISBLACK}, std::uint16_t{PHOTOMETRIC_MINISWHITE}}) {
    TiffPage page;
    page.width = 3;
    page.bits_per_sample = 8;
    page.photometric = photometric;
    page.rows = {0, 100, 255};
    const BitmapPointer bitmap = WriteAndRead(page);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap), page.rows);  // not inverted
    EXPECT_EQ(PaletteOf(*bitmap).at(100), 0xFF646464U);
  }
}

TEST_F(ReadTiffFileTest, RefusesFourBitGray) {
  TiffPage page;
  page.width = 2;
  page.bits_per_sample = 4;
  page.rows = {0x5A};
  EXPECT_EQ(WriteAndRead(page), nullptr);
}

TEST_F(ReadTiffFileTest, RefusesTwoBitPixels) {
  TiffPage page;
  page.width = 4;
  page.bits_per_sample = 2;
  page.rows = {0x1B};
  EXPECT_EQ(WriteAndRead(page), nullptr);
}

TEST_F(ReadTiffFileTest, ReadsRgbAs32BitArgb) {
  TiffPage page;
  page.width = 2;
  page.bits_per_sample = 8;
  page.samples_per_pixel = 3;
  page.photometric = PHOTOMETRIC_RGB;
  page.rows = {1, 2, 3, 253, 254, 255};
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat32bppARGB);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{3, 2, 1, 255, 255, 254, 253, 255}));
}

TEST_F(ReadTiffFileTest, MultipliesColoursByTheirAlpha) {
  TiffPage page;
  page.width = 3;
  page.bits_per_sample = 8;
  page.samples_per_pixel = 4;
  page.photometric = PHOTOMETRIC_RGB;
  // Red, green, blue, alpha, of which 51 is a fifth of 255.
  page.rows = {255, 100, 50, 51, 255, 100, 50, 255, 255, 100, 50, 0};
  page.more_tags = [](TIFF* tiff) {
    const std::uint16_t kind = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
  };
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat32bppARGB);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{10, 20, 51, 51, 50, 100, 255, 255, 0, 0, 0, 0}));
}

TEST_F(ReadTiffFileTest, ReadsSixteenBitGrayAs32BitArgb) {
  TiffPage page;
  page.width = 2;
  page.bits_per_sample = 16;
  page.rows = {0x00, 0x00, 0xFF, 0xFF};
  const BitmapPointer bitmap = WriteAndRead(page);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat32bppARGB);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0, 0, 0, 255, 255, 255, 255, 255}));
}

TEST_F(ReadTiffFileTest, TakesTheResolutionAsDotsPerInchWhateverItsUnit) {
  for (const int unit : {RESUNIT_NONE, RESUNIT_INCH, RESUNIT_CENTIMETER}) {
    TiffPage page;
    page.rows = {0};
    page.more_tags = [unit](TIFF* tiff) {
      TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 300.0);
      TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 150.0);
      TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, unit);
    };
    const BitmapPointer bitmap = WriteAndRead(page);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_NEAR(bitmap->GetHorizontalResolution(), 300, kDpiTolerance);
    EXPECT_NEAR(bitmap->GetVerticalResolution(), 150, kDpiTolerance);
  }
}

TEST_F(ReadTiffFileTest, OpensPagesByIndex) {
  TiffPage first;
  first.rows = {0x11};
  TiffPage second;
  second.rows = {0x22};
  WriteTiff(folder_ / "page.tif", {first, second});
  EXPECT_EQ(PixelsOf(*Read(0)), (Bytes{0x11}));
  EXPECT_EQ(PixelsOf(*Read(1)), (Bytes{0x22}));
  EXPECT_EQ(Read(2), nullptr);
  EXPECT_EQ(PixelsOf(*Read(static_cast<std::uint32_t>(-1))), (Bytes{0x11}));
}

TEST_F(ReadTiffFileTest, FailsForMissingFilesAndNullArguments) {
  EXPECT_EQ(Read(0), nullptr);
  EXPECT_EQ(ReadTiffFile(nullptr, 0), nullptr);
  EXPECT_EQ(ReadTiffStream(nullptr), nullptr);
}

TEST_F(ReadTiffFileTest, RefusesImagesBeyondTheDecodeLimit) {
  TiffPage page;
  page.width = 100;
  page.height = 100;
  page.bits_per_sample = 8;
  page.rows.resize(10000);
  {
    const DecodeLimitGuard limit({9999, 1 << 20});
    EXPECT_EQ(WriteAndRead(page), nullptr);
  }
  const DecodeLimitGuard limit({10000, 1 << 20});
  EXPECT_NE(Read(0), nullptr);
}

TEST_F(ReadTiffFileTest, RefusesCompressionsThatKnowNoLimit) {
  // JBIG data whose own header claims 2^31 - 1 pixels each way, in a page that claims 8 by 20: a
  // decoder would allocate by the former, or end the process.
  TiffPage page;
  page.height = 20;
  page.rows = {0,    0,    1,    0,    0x7F, 0xFF, 0xFF, 0xFF, 0x7F, 0xFF,
               0xFF, 0xFF, 0x7F, 0xFF, 0xFF, 0xFF, 8,    0,    3,    0x40};
  WriteTiff(folder_ / "page.tif", {page});
  ASSERT_NE(Read(0), nullptr);
  Bytes file = ReadWholeFile(folder_ / "page.tif");
  const Bytes compression = {0x03, 0x01, 0x03, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x00};
  const auto tag = std::search(file.begin(), file.end(), compression.begin(), compression.end());
  ASSERT_NE(tag, file.end());
  tag[8] = COMPRESSION_JBIG & 0xFF;
  tag[9] = COMPRESSION_JBIG >> 8;
  WriteWholeFile(folder_ / "page.tif", file);
  EXPECT_EQ(Read(0), nullptr);
  BitmapPointer opened;
  EXPECT_EQ(PxtOpenImageFile((folder_ / "page.tif").wstring().c_str(), Receive(opened)), 0);
}

// libtiff reads no JBIG row by row, but may be about to decode it when it finds that out.
TEST(ReadTiffStream, LooksAtNoPixelsOfJbig) {
  TiffPage page;
  page.width = 16;
  page.rows = {0x12, 0x34};
  Bytes file = TiffBytes({page});
  const auto is_strip_read = [&] {
    RecordingStream stream(file);
    BitmapPointer bitmap = ReadTiffStream(&stream);
    const std::uint32_t strip = NumberAt(file, PlaceOfField(file, TIFFTAG_STRIPOFFSETS), 4);
    const auto records = stream.TakeRecords();
    const StreamRecord seek_to_strip{StreamCall::kSeek, strip, STREAM_SEEK_SET};
    const bool is_read = std::count(records.begin(), records.end(), seek_to_strip) != 0;
    EXPECT_EQ(is_read, bitmap != nullptr);
    return is_read;
  };
  EXPECT_TRUE(is_strip_read());
  const std::size_t compression = PlaceOfField(file, TIFFTAG_COMPRESSION);
  file.at(compression) = 34661 & 0xFF;
  file.at(compression + 1) = 34661 >> 8;
  EXPECT_FALSE(is_strip_read());
}

TEST(TiffCompressions, AreReadWhenTheyKeepToTheLimits) {
  for (const int compression :
       {COMPRESSION_NONE, COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4,
        COMPRESSION_LZW, COMPRESSION_JPEG, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
    EXPECT_TRUE(platform::IsTiffCompressionRead(static_cast<std::uint16_t>(compression)))
        << compression;
  }
  for (const int compression : {COMPRESSION_ZSTD, COMPRESSION_WEBP}) {
    const auto code = static_cast<std::uint16_t>(compression);
    EXPECT_EQ(platform::IsTiffCompressionRead(code), TIFFIsCODECConfigured(code) != 0);
  }
  // JBIG's library ends the process, LERC's crashes, LZMA's allocates what its data asks for.
  for (const int compression : {0, COMPRESSION_JBIG, COMPRESSION_LZMA, COMPRESSION_LERC}) {
    EXPECT_FALSE(platform::IsTiffCompressionRead(static_cast<std::uint16_t>(compression)))
        << compression;
  }
}

// Deep pages are otherwise shown as far as they can be read, and black where they cannot.
TEST_F(ReadTiffFileTest, RefusesClaimsThatTheFileCannotHold) {
  TiffPage page;
  page.width = 8192;
  page.height = 9000;
  page.bits_per_sample = 8;
  page.samples_per_pixel = 3;
  page.photometric = PHOTOMETRIC_RGB;
  page.rows = Bytes(100);
  page.more_tags = [](TIFF* tiff) {
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 9000);
  };
  WriteTiff(folder_ / "page.tif", {page});
  EXPECT_EQ(Read(0), nullptr);
}

TEST_F(ReadTiffFileTest, SurvivesFilesCutAnywhere) {
  TiffPage page;
  page.width = 40;
  page.height = 20;
  page.rows.assign(100, 0x5A);
  page.more_tags = [](TIFF* tiff) {
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
  };
  WriteTiff(folder_ / "page.tif", {page});
  const auto whole = ReadWholeFile(folder_ / "page.tif");
  ASSERT_GT(whole.size(), 100U);
  ASSERT_NE(Read(0), nullptr);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Bytes cut = whole;
    cut.resize(size);
    WriteWholeFile(folder_ / "page.tif", cut);
    Read(0);  // any outcome but a crash
  }
}

}  // namespace
}  // namespace pixtola::test
