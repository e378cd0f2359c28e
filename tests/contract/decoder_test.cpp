// What the platform promises about the bitmaps that it decodes from other programs' files: pixel
// format, resolution, frames. Written against the API alone: the same tests run on GDI+ and on the
// stand-in.

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>

#include "Pixtola.h"
#include "support/platform_expectations.h"
#include "support/test_bitmap.h"
#include "support/test_images.h"

namespace pixtola::test {
namespace {

using Gdiplus::PixelFormat;

/// `name` is below the folder of test images.
BitmapPointer Decode(const std::string& name) {
  const std::filesystem::path path = TestImages() / name;
  return BitmapPointer(new Gdiplus::Bitmap(path.wstring().c_str()));
}

struct DecodedFormat {
  const char* file;
  PixelFormat format;

  friend std::ostream& operator<<(std::ostream& out, const DecodedFormat& decoded) {
    return out << decoded.file;
  }
};

class DecodedFormats : public testing::TestWithParam<DecodedFormat> {};

TEST_P(DecodedFormats, AreThoseOfThePixelsInTheFile) {
  const BitmapPointer bitmap = Decode(GetParam().file);
  ASSERT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(bitmap->GetPixelFormat(), GetParam().format) << std::hex << GetParam().format;
}

INSTANTIATE_TEST_SUITE_P(
    Png, DecodedFormats,
    testing::Values(DecodedFormat{"pngsuite/basn0g01.png", PixelFormat1bppIndexed},
                    DecodedFormat{"pngsuite/basn0g02.png", PixelFormat32bppARGB},
                    DecodedFormat{"pngsuite/basn0g04.png", PixelFormat32bppARGB},
                    DecodedFormat{"pngsuite/basn0g08.png", PixelFormat32bppARGB},
                    DecodedFormat{"pngsuite/basn0g16.png", PixelFormat32bppARGB},
                    DecodedFormat{"pngsuite/basn2c08.png", PixelFormat24bppRGB},
                    DecodedFormat{"pngsuite/basn2c16.png", PixelFormat32bppARGB},
                    DecodedFormat{"pngsuite/basn3p01.png", PixelFormat1bppIndexed},
                    DecodedFormat{"pngsuite/basn3p02.png", PixelFormat32bppARGB},
                    DecodedFormat{"pngsuite/basn3p04.png", PixelFormat4bppIndexed},
                    DecodedFormat{"pngsuite/basn3p08.png", PixelFormat8bppIndexed},
                    DecodedFormat{"pngsuite/basn4a08.png", PixelFormat32bppARGB},
                    DecodedFormat{"pngsuite/basn6a08.png", PixelFormat32bppARGB},
                    // With transparent colours.
                    DecodedFormat{"pngsuite/ftbbn0g04.png", PixelFormat32bppARGB},
                    DecodedFormat{"pngsuite/ftp1n3p08.png", PixelFormat32bppARGB}));

INSTANTIATE_TEST_SUITE_P(
    Bmp, DecodedFormats,
    testing::Values(DecodedFormat{"bmpsuite/g/pal1.bmp", PixelFormat1bppIndexed},
                    DecodedFormat{"bmpsuite/g/pal4.bmp", PixelFormat4bppIndexed},
                    DecodedFormat{"bmpsuite/g/pal8os2.bmp", PixelFormat8bppIndexed},
                    DecodedFormat{"bmpsuite/g/pal8topdown.bmp", PixelFormat8bppIndexed},
                    DecodedFormat{"bmpsuite/g/pal8v5.bmp", PixelFormat8bppIndexed},
                    DecodedFormat{"bmpsuite/g/rgb24.bmp", PixelFormat24bppRGB},
                    DecodedFormat{"bmpsuite/g/rgb16-565.bmp", PixelFormat32bppRGB},
                    DecodedFormat{"bmpsuite/g/pal4rle.bmp", PixelFormat32bppRGB},
                    DecodedFormat{"bmpsuite/g/pal8rle.bmp", PixelFormat32bppRGB}));

INSTANTIATE_TEST_SUITE_P(
    Gif, DecodedFormats,
    testing::Values(DecodedFormat{"giflib/treescap.gif", PixelFormat8bppIndexed},
                    DecodedFormat{"giflib/treescap-interlaced.gif", PixelFormat8bppIndexed},
                    DecodedFormat{"pillow/dispose_none.gif", PixelFormat32bppARGB}));

INSTANTIATE_TEST_SUITE_P(
    Jpeg, DecodedFormats,
    testing::Values(DecodedFormat{"pillow/hopper_gray.jpg", PixelFormat8bppIndexed},
                    DecodedFormat{"libjpeg-turbo/testorig.jpg", PixelFormat24bppRGB},
                    DecodedFormat{"libjpeg-turbo/testimgari.jpg", PixelFormat24bppRGB}));

TEST(DecodedPalette, OfGrayJpegIsARamp) {
  const BitmapPointer bitmap = Decode("pillow/hopper_gray.jpg");
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 256U);
  for (std::uint32_t i = 0; i < 256; ++i) EXPECT_EQ(palette[i], 0xFF000000 | i * 0x010101) << i;
}

TEST(DecodedResolution, IsThatOfTheFile) {
  const BitmapPointer bitmap = Decode("bmpsuite/g/pal8nonsquare.bmp");
  // 2835 and 1417 pixels a metre.
  EXPECT_NEAR(bitmap->GetHorizontalResolution(), 2835 * 0.0254, 0.001);
  EXPECT_NEAR(bitmap->GetVerticalResolution(), 1417 * 0.0254, 0.001);
}

TEST(DecodedResolution, Is96WithoutOneInTheFile) {
  // A density of 1 x 1 without a unit, a format without resolution, a file without one.
  for (const char* file : {"libjpeg-turbo/testorig.jpg", "giflib/treescap.gif",
                           "pngsuite/basn2c08.png", "bmpsuite/g/pal8os2.bmp"}) {
    const BitmapPointer bitmap = Decode(file);
    EXPECT_FLOAT_EQ(bitmap->GetHorizontalResolution(), 96) << file;
    EXPECT_FLOAT_EQ(bitmap->GetVerticalResolution(), 96) << file;
  }
}

TEST(DecodedFrames, OfAnimationsFollowOneAnotherInTime) {
  const BitmapPointer bitmap = Decode("pillow/dispose_none.gif");
  EXPECT_EQ(bitmap->GetFrameCount(&Gdiplus::FrameDimensionTime), 5U);
  const Bytes first = PixelsOf(*bitmap);
  ASSERT_EQ(bitmap->SelectActiveFrame(&Gdiplus::FrameDimensionTime, 4), Gdiplus::Ok);
  EXPECT_NE(PixelsOf(*bitmap), first);
  ASSERT_EQ(bitmap->SelectActiveFrame(&Gdiplus::FrameDimensionTime, 0), Gdiplus::Ok);
  EXPECT_EQ(PixelsOf(*bitmap), first);
}

TEST(DecodedFrames, ThatAreNotThereCannotBeSelected) {
  const BitmapPointer bitmap = Decode("pillow/dispose_none.gif");
  const Gdiplus::Status status = bitmap->SelectActiveFrame(&Gdiplus::FrameDimensionTime, 5);
  if (kMissingFramesAreInvalidParameters) {
    EXPECT_NE(status, Gdiplus::Ok);
  } else {
    EXPECT_EQ(status, Gdiplus::Win32Error);
  }
}

TEST(DecodedFrames, OfAnimationsAreNoPages) {
  if (kFrameDimensionsAreNotToldApart) GTEST_SKIP() << "Wine does not tell them apart";
  const BitmapPointer bitmap = Decode("pillow/dispose_none.gif");
  EXPECT_EQ(bitmap->SelectActiveFrame(&Gdiplus::FrameDimensionPage, 0), Gdiplus::Win32Error);
}

TEST(DecodedFrames, OfTiffArePages) {
  const BitmapPointer bitmap = Decode("pillow/multipage.tiff");
  EXPECT_EQ(bitmap->GetFrameCount(&Gdiplus::FrameDimensionPage), 3U);
  EXPECT_EQ(bitmap->SelectActiveFrame(&Gdiplus::FrameDimensionPage, 2), Gdiplus::Ok);
  EXPECT_NE(bitmap->SelectActiveFrame(&Gdiplus::FrameDimensionPage, 3), Gdiplus::Ok);
}

}  // namespace
}  // namespace pixtola::test
