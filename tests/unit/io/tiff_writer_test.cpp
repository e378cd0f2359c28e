#include "io/tiff_writer.h"

#include <gtest/gtest.h>

#include <vector>

#include "io/tiff_reader.h"
#include "support/decode_limit_guard.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/test_formats.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

class WriteTiffFileTest : public testing::Test {
 protected:
  int Write(Gdiplus::Bitmap& bitmap, PxtFileType type) {
    return WriteTiffFile(&bitmap, type, path_.wstring().c_str());
  }
  BitmapPointer Read() {
    BitmapPointer bitmap = ReadTiffFile(path_.wstring().c_str(), 0);
    return bitmap;
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "written.tif";
};

BitmapPointer Checkered(UINT width, UINT height) {
  Bytes rows;
  for (UINT y = 0; y < height; ++y) {
    for (UINT x = 0; x < (width + 7) / 8; ++x) {
      rows.push_back(static_cast<std::uint8_t>((x * 37 + y * 91) ^ (y % 3 == 0 ? 0 : 0xFF)));
    }
  }
  return MakeBitmap(width, height, PixelFormat1bppIndexed, rows);
}

TEST_F(WriteTiffFileTest, WritesBilevelImagesThatReadBack) {
  // From one pixel to several strips; heights below one strip, at its end and just beyond.
  const UINT sizes[][2] = {{1, 1},     {7, 3},     {8, 8},      {9, 1},     {31, 40},  {64, 5},
                           {104, 818}, {100, 818}, {100, 1000}, {2500, 27}, {2480, 60}};
  for (const PxtFileType type : kTiffTypes) {
    for (const auto& [width, height] : sizes) {
      const BitmapPointer bitmap = Checkered(width, height);
      ASSERT_NE(bitmap, nullptr);
      ASSERT_EQ(Write(*bitmap, type), 1) << type << ' ' << width << 'x' << height;
      const BitmapPointer read = Read();
      ASSERT_NE(read, nullptr) << type << ' ' << width << 'x' << height;
      EXPECT_EQ(PixelsOf(*read), PixelsOf(*bitmap)) << type << ' ' << width << 'x' << height;
    }
  }
}

TEST_F(WriteTiffFileTest, UsesTheCompressionOfTheType) {
  const unsigned compressions[] = {COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4, COMPRESSION_LZW,
                                   COMPRESSION_PACKBITS, COMPRESSION_NONE};
  for (std::size_t i = 0; i < 5; ++i) {
    ASSERT_EQ(Write(*Checkered(32, 8), kTiffTypes[i]), 1);
    EXPECT_EQ(ShortTag(path_, TIFFTAG_COMPRESSION), compressions[i]);
  }
}

TEST_F(WriteTiffFileTest, TellsBlackFirstFromWhiteFirstPalettes) {
  const BitmapPointer bitmap = Checkered(32, 8);
  bitmap->SetPalette(PaletteBlock(0, {0xFF000000, 0xFFFFFFFF}).get());
  ASSERT_EQ(Write(*bitmap, PxtFileTypeTiffGroup4), 1);
  EXPECT_EQ(ShortTag(path_, TIFFTAG_PHOTOMETRIC, 99), unsigned{PHOTOMETRIC_MINISBLACK});
  EXPECT_EQ(PixelsOf(*Read()), PixelsOf(*bitmap));

  bitmap->SetPalette(PaletteBlock(0, {0xFFFFFFFF, 0xFF000000}).get());
  ASSERT_EQ(Write(*bitmap, PxtFileTypeTiffGroup4), 1);
  EXPECT_EQ(ShortTag(path_, TIFFTAG_PHOTOMETRIC, 99), unsigned{PHOTOMETRIC_MINISWHITE});
  Bytes inverted = PixelsOf(*bitmap);
  for (std::uint8_t& byte : inverted) byte = static_cast<std::uint8_t>(~byte);
  EXPECT_EQ(PixelsOf(*Read()), inverted);
}

TEST_F(WriteTiffFileTest, WritesTheResolutionWithoutAUnit) {
  const BitmapPointer bitmap = Checkered(32, 8);
  bitmap->SetResolution(300, 204);
  ASSERT_EQ(Write(*bitmap, PxtFileTypeTiffGroup3), 1);
  EXPECT_EQ(ShortTag(path_, TIFFTAG_RESOLUTIONUNIT, kTagIsAbsent), kTagIsAbsent);
  const BitmapPointer read = Read();
  EXPECT_NEAR(read->GetHorizontalResolution(), 300, kDpiTolerance);
  EXPECT_NEAR(read->GetVerticalResolution(), 204, kDpiTolerance);
}

TEST_F(WriteTiffFileTest, HandsTheLastStripOverAtFullSize) {
  // 800 bits a row make 81 rows a strip of about 8 KiB; the second strip holds 19 rows of 100.
  ASSERT_EQ(Write(*Checkered(800, 100), PxtFileTypeTiffNone), 1);
  const auto tiff = OpenTiff(path_, "r");
  ASSERT_EQ(TIFFNumberOfStrips(tiff.get()), 2U);
  EXPECT_EQ(TIFFRawStripSize(tiff.get(), 1), TIFFRawStripSize(tiff.get(), 0));
}

TEST_F(WriteTiffFileTest, GivesALowImageAStripOfItsOwnHeight) {
  ASSERT_EQ(Write(*Checkered(800, 3), PxtFileTypeTiffNone), 1);
  const auto tiff = OpenTiff(path_, "r");
  EXPECT_EQ(TIFFRawStripSize(tiff.get(), 0), 300);
}

TEST_F(WriteTiffFileTest, StoresDeepPixelsInTheBitmapsByteOrder) {
  const BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat24bppRGB, {1, 2, 3});
  ASSERT_EQ(Write(*bitmap, PxtFileTypeTiffNone), 1);
  EXPECT_EQ(ShortTag(path_, TIFFTAG_PHOTOMETRIC, 99), unsigned{PHOTOMETRIC_RGB});
  const BitmapPointer read = Read();
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(PixelsOf(*read), (Bytes{3, 2, 1, 255}));  // blue stands where red belongs
}

TEST_F(WriteTiffFileTest, WritesEightBitImagesWithTheirColours) {
  const BitmapPointer bitmap = MakeBitmap(4, 1, PixelFormat8bppIndexed, {0, 1, 2, 1});
  bitmap->SetPalette(PaletteBlock(0, {0xFF102030, 0xFFFFEEDD, 0xFF00FF00}).get());
  ASSERT_EQ(Write(*bitmap, PxtFileTypeTiffLzw), 1);
  EXPECT_EQ(ShortTag(path_, TIFFTAG_PHOTOMETRIC, 99), unsigned{PHOTOMETRIC_PALETTE});
  const BitmapPointer read = Read();
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(PixelsOf(*read), PixelsOf(*bitmap));
  EXPECT_EQ(PaletteOf(*read).at(1), 0xFFFFEEDDU);
}

TEST_F(WriteTiffFileTest, RefusesFormatsWithoutASampleLayout) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(4, 4, PixelFormat16bppRGB555));
  ASSERT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(Write(*bitmap, PxtFileTypeTiffNone), 0);
}

TEST_F(WriteTiffFileTest, RefusesTypesThatAreNotTiff) {
  const BitmapPointer bitmap = Checkered(8, 8);
  for (const int type : {-1, 0, 1, 2, 3, 4, 10, 11, 12}) {
    EXPECT_EQ(Write(*bitmap, static_cast<PxtFileType>(type)), 0) << type;
  }
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(WriteTiffFileTest, KnowsNoDecodeLimit) {
  const BitmapPointer bitmap = Checkered(800, 100);
  const DecodeLimitGuard limit({1, 16});
  EXPECT_EQ(Write(*bitmap, PxtFileTypeTiffLzw), 1);
  EXPECT_EQ(Write(*bitmap, PxtFileTypeTiffGroup4), 1);
}

TEST_F(WriteTiffFileTest, RecordsAFailedLock) {
  const BitmapPointer bitmap = Checkered(8, 8);
  const HoldLock lock(*bitmap);
  EXPECT_EQ(Write(*bitmap, PxtFileTypeTiffGroup4), 0);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState);
}

TEST_F(WriteTiffFileTest, FailsForNullArgumentsAndFoldersThatAreNotThere) {
  const BitmapPointer bitmap = Checkered(8, 8);
  EXPECT_EQ(WriteTiffFile(nullptr, PxtFileTypeTiffGroup4, path_.wstring().c_str()), 0);
  EXPECT_EQ(WriteTiffFile(bitmap.get(), PxtFileTypeTiffGroup4, nullptr), 0);
  const auto nowhere = folder_ / "missing";
  EXPECT_EQ(WriteTiffFile(bitmap.get(), PxtFileTypeTiffGroup4,
                          (nowhere / "written.tif").wstring().c_str()),
            0);
}

}  // namespace
}  // namespace pixtola::test
