#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Pixtola.h"
#include "support/platform_expectations.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

class PxtSaveBitmapToFileTest : public testing::Test {
 protected:
  int Save(Gdiplus::Bitmap& bitmap, int type) {
    return PxtSaveBitmapToFile(&bitmap, static_cast<PxtFileType>(type), path_.wstring().c_str());
  }
  BitmapPointer Open() {
    BitmapPointer bitmap;
    PxtOpenImageFile(path_.wstring().c_str(), Receive(bitmap));
    return bitmap;
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "saved";
};

/// A colour image with light and dark parts, 300 dpi.
BitmapPointer ColourImage() {
  Bytes rows;
  for (unsigned i = 0; i < 32 * 32; ++i) {
    rows.push_back(static_cast<std::uint8_t>(i * 7));
    rows.push_back(static_cast<std::uint8_t>(i * 3));
    rows.push_back(static_cast<std::uint8_t>(i / 4));
  }
  BitmapPointer bitmap = MakeBitmap(32, 32, PixelFormat24bppRGB, rows);
  bitmap->SetResolution(300, 300);
  return bitmap;
}

TEST_F(PxtSaveBitmapToFileTest, DithersAColourImageForFax) {
  const BitmapPointer bitmap = ColourImage();
  const unsigned compressions[] = {COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4};
  for (const int type : {5, 6}) {
    ASSERT_EQ(Save(*bitmap, type), 1);
    EXPECT_EQ(ShortTag(path_, TIFFTAG_COMPRESSION), compressions[type - 5]);
    EXPECT_EQ(ShortTag(path_, TIFFTAG_BITSPERSAMPLE), 1U);
    // libtiff wrote it: the platform's encoder would have told a resolution unit.
    EXPECT_EQ(ShortTag(path_, TIFFTAG_RESOLUTIONUNIT, kTagIsAbsent), kTagIsAbsent);
    BitmapPointer dithered;
    ASSERT_EQ(PxtBitmapToBitmap(MethodBilevelDiffusion, *bitmap, Receive(dithered)), 1);
    const BitmapPointer opened = Open();
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(PixelsOf(*opened), PixelsOf(*dithered));
    EXPECT_NEAR(opened->GetHorizontalResolution(), 300, 0.01);
  }
}

TEST_F(PxtSaveBitmapToFileTest, ThresholdsAColourImageForRunLengths) {
  const BitmapPointer bitmap = ColourImage();
  ASSERT_EQ(Save(*bitmap, 8), 1);
  EXPECT_EQ(ShortTag(path_, TIFFTAG_COMPRESSION), unsigned{COMPRESSION_PACKBITS});
  BitmapPointer thresholded;
  ASSERT_EQ(PxtBitmapToBitmap(MethodBilevelOtsu, *bitmap, Receive(thresholded)), 1);
  EXPECT_EQ(PixelsOf(*Open()), PixelsOf(*thresholded));
}

TEST_F(PxtSaveBitmapToFileTest, SavesBilevelImagesAsTheyAre) {
  const BitmapPointer bitmap = MakeBitmap(16, 2, PixelFormat1bppIndexed, {1, 2, 3, 4});
  const unsigned compressions[] = {COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4, COMPRESSION_LZW,
                                   COMPRESSION_PACKBITS, COMPRESSION_NONE};
  for (const int type : {5, 6, 7, 8, 9}) {
    ASSERT_EQ(Save(*bitmap, type), 1) << type;
    EXPECT_EQ(ShortTag(path_, TIFFTAG_COMPRESSION), compressions[type - 5]) << type;
    EXPECT_EQ(PixelsOf(*Open()), (Bytes{1, 2, 3, 4})) << type;
  }
}

TEST_F(PxtSaveBitmapToFileTest, LeavesDeepTiffToThePlatform) {
  const BitmapPointer bitmap = ColourImage();
  for (const int type : {7, 9}) {
    ASSERT_EQ(Save(*bitmap, type), 1) << type;
    EXPECT_EQ(ShortTag(path_, TIFFTAG_RESOLUTIONUNIT), unsigned{RESUNIT_INCH}) << type;
    if (!kTiffEncoderIgnoresCompression) {
      EXPECT_EQ(ShortTag(path_, TIFFTAG_COMPRESSION),
                type == 7 ? unsigned{COMPRESSION_LZW} : unsigned{COMPRESSION_NONE});
    }
    EXPECT_EQ(PixelsOf(*Open(), PixelFormat24bppRGB), PixelsOf(*bitmap)) << type;
  }
}

TEST_F(PxtSaveBitmapToFileTest, SavesPngAndBmp) {
  const BitmapPointer bitmap = ColourImage();
  for (const int type : {0, 4}) {
    ASSERT_EQ(Save(*bitmap, type), 1) << type;
    const BitmapPointer opened = Open();
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(PixelsOf(*opened, PixelFormat24bppRGB), PixelsOf(*bitmap)) << type;
    EXPECT_NEAR(opened->GetHorizontalResolution(), 300, 0.01) << type;
  }
}

TEST_F(PxtSaveBitmapToFileTest, TouchesNothingForUnknownTypes) {
  const BitmapPointer bitmap = ColourImage();
  for (const int type : {12, 13, -1, 1 << 30}) {
    EXPECT_EQ(Save(*bitmap, type), 0) << type;
  }
  EXPECT_TRUE(folder_.is_empty());
}

TEST_F(PxtSaveBitmapToFileTest, RecordsThePlatformsFailure) {
  const BitmapPointer bitmap = ColourImage();
  EXPECT_EQ(PxtSaveBitmapToFile(bitmap.get(), PxtFileTypePng,
                                (folder_ / "missing" / "saved").wstring().c_str()),
            0);
  EXPECT_NE(bitmap->GetLastStatus(), Gdiplus::Ok);
}

TEST_F(PxtSaveBitmapToFileTest, RecordsAFailureWithTheBitmapThatIsSaved) {
  // A converted bitmap takes the status with it; the caller's had no part in what failed.
  const BitmapPointer bitmap = ColourImage();
  const BitmapPointer bilevel = MakeBitmap(16, 2, PixelFormat1bppIndexed, {1, 2, 3, 4});
  const std::wstring path = (folder_ / "missing" / "saved").wstring();
  for (const int type : {5, 6, 8}) {
    const auto file_type = static_cast<PxtFileType>(type);
    EXPECT_EQ(PxtSaveBitmapToFile(bitmap.get(), file_type, path.c_str()), 0) << type;
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok) << type;
    EXPECT_EQ(PxtSaveBitmapToFile(bilevel.get(), file_type, path.c_str()), 0) << type;
    EXPECT_NE(bilevel->GetLastStatus(), Gdiplus::Ok) << type;
  }
}

TEST_F(PxtSaveBitmapToFileTest, FailsWithoutAName) {
  const BitmapPointer bitmap = ColourImage();
  for (int type = 0; type < 12; ++type) {
    EXPECT_EQ(PxtSaveBitmapToFile(bitmap.get(), static_cast<PxtFileType>(type), L""), 0) << type;
  }
}

TEST_F(PxtSaveBitmapToFileTest, SavesPcx) {
  const BitmapPointer bitmap = ColourImage();
  ASSERT_EQ(Save(*bitmap, PxtFileTypePcx), 1);
  const Bytes file = ReadWholeFile(path_);
  ASSERT_GT(file.size(), 128U);
  // Manufacturer, version, run lengths, 8 bits per plane; 3 planes.
  EXPECT_EQ(Bytes(file.begin(), file.begin() + 4), (Bytes{10, 5, 1, 8}));
  EXPECT_EQ(file[65], 3);
  const BitmapPointer opened = Open();
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(opened->GetPixelFormat(), PixelFormat24bppRGB);
  EXPECT_EQ(PixelsOf(*opened), PixelsOf(*bitmap));
  EXPECT_EQ(opened->GetHorizontalResolution(), 300);
}

TEST_F(PxtSaveBitmapToFileTest, FailsWhenTheConversionCannotReadTheBitmap) {
  const BitmapPointer bitmap = ColourImage();
  const HoldLock lock(*bitmap);
  EXPECT_EQ(Save(*bitmap, 5), 0);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState);
  EXPECT_TRUE(folder_.is_empty());
}

TEST_F(PxtSaveBitmapToFileTest, RefusesNullArguments) {
  const BitmapPointer bitmap = ColourImage();
  EXPECT_EQ(PxtSaveBitmapToFile(nullptr, PxtFileTypePng, path_.wstring().c_str()), 0);
  EXPECT_EQ(PxtSaveBitmapToFile(bitmap.get(), PxtFileTypePng, nullptr), 0);
}

}  // namespace
}  // namespace pixtola::test
