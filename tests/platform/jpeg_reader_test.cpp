// JPEG: the format that each kind of file gives, densities, what is cut short.

#include "platform/codec_files.h"

namespace pixtola::portable {
namespace {

/// Every pixel within `tolerance` of `color` in each channel, and opaque.
void ExpectFlat(const BitmapObject& bitmap, ARGB color, int tolerance) {
  EXPECT_EQ(bitmap.width(), 24U);
  EXPECT_EQ(bitmap.height(), 16U);
  for (const ARGB pixel : Pixels(bitmap)) {
    ASSERT_EQ(pixel >> 24, 0xFFU);
    for (int shift = 0; shift < 24; shift += 8) {
      ASSERT_NEAR(static_cast<int>(pixel >> shift & 0xFF), static_cast<int>(color >> shift & 0xFF),
                  tolerance);
    }
  }
}

TEST(JpegReader, GivesGrayFilesARampAndOthers24Bits) {
  for (const bool is_progressive : {false, true}) {
    const BitmapPtr gray =
        Decode(DecodeJpeg, MakeJpeg({1, JCS_GRAYSCALE, JCS_GRAYSCALE, {77}, 0, is_progressive}));
    EXPECT_EQ(gray->format(), PixelFormat8bppIndexed);
    EXPECT_EQ(gray->palette.count, 256U);
    EXPECT_EQ(gray->palette.flags, UINT{Gdiplus::PaletteFlagsGrayScale});
    ExpectFlat(*gray, 0xFF4D4D4D, 0);
    for (const J_COLOR_SPACE file : {JCS_YCbCr, JCS_RGB}) {
      const BitmapPtr color =
          Decode(DecodeJpeg, MakeJpeg({3, JCS_RGB, file, {200, 100, 30}, 0, is_progressive}));
      EXPECT_EQ(color->format(), PixelFormat24bppRGB);
      ExpectFlat(*color, 0xFFC8641E, 2);
    }
  }
}

TEST(JpegReader, ReadsInvertedInks) {
  // libjpeg marks four inks as Adobe's, whose files hold 255 for no ink: 200 x 128 / 255 = 100.
  for (const J_COLOR_SPACE file : {JCS_CMYK, JCS_YCCK}) {
    const BitmapPtr bitmap = Decode(DecodeJpeg, MakeJpeg({4, JCS_CMYK, file, {200, 255, 0, 128}}));
    EXPECT_EQ(bitmap->format(), PixelFormat24bppRGB);
    ExpectFlat(*bitmap, 0xFF648000, 2);
  }
}

TEST(JpegReader, ReadsTheDensity) {
  const auto dpi = [](int unit) {
    const BitmapPtr bitmap =
        Decode(DecodeJpeg, MakeJpeg({1, JCS_GRAYSCALE, JCS_GRAYSCALE, {9}, unit}));
    return std::pair{bitmap->dpi_x, bitmap->dpi_y};
  };
  EXPECT_EQ(dpi(0), (std::pair{96.0F, 96.0F}));
  EXPECT_EQ(dpi(1), (std::pair{100.0F, 200.0F}));
  EXPECT_EQ(dpi(2), (std::pair{254.0F, 508.0F}));
}

TEST(JpegReader, AcceptsMissingRowsButNoMissingHeader) {
  const Bytes file = MakeJpeg({3, JCS_RGB, JCS_YCbCr, {200, 100, 30}});
  EXPECT_EQ(Decode(DecodeJpeg, Bytes(file.begin(), file.end() - 2))->width(), 24U);
  ExpectFails(DecodeJpeg, Bytes(file.begin(), file.begin() + 200), Gdiplus::GenericError);
}

TEST(JpegReader, RefusesEndlessScans) {
  const Bytes file = MakeJpeg({1, JCS_GRAYSCALE, JCS_GRAYSCALE, {9}, 0, true});
  // The last scan again and again: its marker FF DA up to the end mark FF D9.
  std::size_t scan_at = file.size() - 2;
  while (file[scan_at] != 0xFF || file[scan_at + 1] != 0xDA) --scan_at;
  Bytes longer(file.begin(), file.end() - 2);
  for (int i = 0; i < 600; ++i) {
    longer.insert(longer.end(), file.begin() + static_cast<std::ptrdiff_t>(scan_at),
                  file.end() - 2);
  }
  ExpectFails(DecodeJpeg, longer, Gdiplus::GenericError);
}

}  // namespace
}  // namespace pixtola::portable
