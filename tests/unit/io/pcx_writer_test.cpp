// The PCX writer: round trips, files and failures.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <vector>

#include "support/decode_limit_guard.h"
#include "support/platform_expectations.h"
#include "unit/io/pcx_writer_fixture.h"

namespace pixtola::test {
namespace {

TEST_F(WritePcxFileTest, WritesWhatReadsBack) {
  std::mt19937 random(8);
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    for (const UINT width : {1U, 2U, 3U, 7U, 8U, 9U, 12U, 16U, 31U, 65U, 301U}) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", width " << width);
      const BitmapPointer bitmap = RandomImage(width, 1 + width % 3, format, random);
      bitmap->SetResolution(300, 200);
      ASSERT_EQ(Write(*bitmap), 1);
      const BitmapPointer read = Read();
      ASSERT_NE(read, nullptr);
      EXPECT_EQ(read->GetPixelFormat(), format);
      EXPECT_NEAR(read->GetHorizontalResolution(), 300, kDpiTolerance);
      EXPECT_NEAR(read->GetVerticalResolution(), 200, kDpiTolerance);
      Bytes expected = PixelsOf(*bitmap);
      if (format == PixelFormat1bppIndexed && width % 8 != 0) {
        // Only whole bytes of rows are read.
        const std::size_t row_bytes = PackedBytes(format, width);
        for (std::size_t i = row_bytes - 1; i < expected.size(); i += row_bytes) expected[i] = 0;
      }
      EXPECT_EQ(PixelsOf(*read), expected);
      if (format == PixelFormat1bppIndexed) {
        EXPECT_EQ(PaletteOf(*read), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
      }
      if (format == PixelFormat8bppIndexed) {
        std::vector<Gdiplus::ARGB> palette = PaletteOf(*bitmap);
        palette.back() = 0xFF000000;
        EXPECT_EQ(PaletteOf(*read), palette);
      }
    }
  }
}

TEST_F(WritePcxFileTest, BringsFourBitImagesBackAsTrueColour) {
  const BitmapPointer bitmap = MakeBitmap(3, 1, PixelFormat4bppIndexed, {0x01, 0x20});
  bitmap->SetPalette(PaletteBlock(0, {0xFF010203, 0xFF040506, 0xFF070809}).get());
  ASSERT_EQ(Write(*bitmap), 1);
  const BitmapPointer read = Read();
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->GetPixelFormat(), PixelFormat24bppRGB);
  EXPECT_EQ(PixelsOf(*read), (Bytes{3, 2, 1, 6, 5, 4, 9, 8, 7}));
}

TEST_F(WritePcxFileTest, IsWhatSavingPcxFilesDoes) {
  std::mt19937 random(9);
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
                            PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap = RandomImage(33, 5, format, random);
    const Bytes written = Written(*bitmap);
    const std::filesystem::path saved = folder_ / "saved";
    ASSERT_EQ(PxtSaveBitmapToFile(bitmap.get(), PxtFileTypePcx, saved.wstring().c_str()), 1);
    EXPECT_TRUE(ReadWholeFile(saved) == written) << format;
    BitmapPointer opened;
    ASSERT_EQ(PxtOpenImageFile(saved.wstring().c_str(), Receive(opened)), 1);
    EXPECT_EQ(PixelsOf(*opened), PixelsOf(*Read())) << format;
  }
}

TEST_F(WritePcxFileTest, ReplacesWhatWasThere) {
  const BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat24bppRGB, {1, 2, 3});
  const Bytes written = Written(*bitmap);
  WriteWholeFile(path_, Bytes(5000, 1));
  EXPECT_EQ(Write(*bitmap), 1);
  EXPECT_EQ(ReadWholeFile(path_), written);
}

TEST_F(WritePcxFileTest, LeavesBitmapAndFileFree) {
  std::mt19937 random(10);
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    const BitmapPointer bitmap = RandomImage(20, 3, format, random);
    const Bytes pixels = PixelsOf(*bitmap);
    const auto palette = PaletteOf(*bitmap);
    ASSERT_EQ(Write(*bitmap), 1);
    EXPECT_EQ(PixelsOf(*bitmap), pixels);
    EXPECT_EQ(PaletteOf(*bitmap), palette);
    std::FILE* const file = _wfsopen(path_.wstring().c_str(), L"r+b", _SH_DENYRW);
    EXPECT_NE(file, nullptr);
    if (file != nullptr) std::fclose(file);
  }
}

TEST_F(WritePcxFileTest, KnowsNoDecodeLimit) {
  const BitmapPointer bitmap = MakeBitmap(4, 2, PixelFormat24bppRGB, Bytes(24, 7));
  const DecodeLimitGuard limit({1, 1});
  EXPECT_EQ(WrittenData(*bitmap), (Bytes{0xCC, 7, 0xCC, 7}));
}

TEST_F(WritePcxFileTest, WritesNoFileOfABitmapThatIsLocked) {
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
                            PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, format));
    const HoldLock lock(*bitmap);
    EXPECT_EQ(Write(*bitmap), 0);
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState);
    EXPECT_TRUE(folder_.is_empty());
  }
}

TEST_F(WritePcxFileTest, LeavesAFileOfTheNameAloneWhenTheBitmapIsLocked) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat8bppIndexed));
  WriteWholeFile(path_, {1, 2, 3});
  const HoldLock lock(*bitmap);
  EXPECT_EQ(Write(*bitmap), 0);
  EXPECT_EQ(ReadWholeFile(path_), (Bytes{1, 2, 3}));
}

TEST_F(WritePcxFileTest, WritesNoFileOfAFormatThatDoesNotConvert) {
  if (kGrayOf16BitsIsNotRefused) GTEST_SKIP() << "the platform converts all formats";
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat16bppGrayScale));
  ASSERT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(Write(*bitmap), 0);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::InvalidParameter);
  EXPECT_TRUE(folder_.is_empty());
}

TEST_F(WritePcxFileTest, RefusesNullArguments) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat8bppIndexed));
  EXPECT_EQ(WritePcxFile(nullptr, bitmap.get()), 0);
  EXPECT_EQ(WritePcxFile(path_.wstring().c_str(), nullptr), 0);
  EXPECT_TRUE(folder_.is_empty());
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
}

TEST_F(WritePcxFileTest, FailsWhereNoFileCanBe) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat8bppIndexed));
  EXPECT_EQ(WritePcxFile((folder_ / "missing" / "file").wstring().c_str(), bitmap.get()), 0);
  EXPECT_EQ(WritePcxFile(L"", bitmap.get()), 0);
  EXPECT_TRUE(folder_.is_empty());
  std::filesystem::create_directory(path_);
  EXPECT_EQ(Write(*bitmap), 0);
  EXPECT_TRUE(std::filesystem::is_directory(path_));
  EXPECT_FALSE(PixelsOf(*bitmap).empty());
}

TEST_F(WritePcxFileTest, LeavesAFileAloneThatOthersUse) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(8, 8, PixelFormat8bppIndexed));
  WriteWholeFile(path_, {1, 2, 3});
  for (const wchar_t* mode : {L"rb", L"r+b"}) {
    std::FILE* const file = _wfsopen(path_.wstring().c_str(), mode, _SH_DENYNO);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(Write(*bitmap), 0);
    std::fclose(file);
    EXPECT_EQ(ReadWholeFile(path_), (Bytes{1, 2, 3}));
  }
  EXPECT_EQ(Write(*bitmap), 1);
}

}  // namespace
}  // namespace pixtola::test
