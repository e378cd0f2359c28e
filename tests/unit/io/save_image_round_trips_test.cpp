// What is left of an image that was saved and opened again: every file type with every pixel
// format.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/memory_streams.h"
#include "support/platform_expectations.h"
#include "support/reference_pixels.h"
#include "support/sample_images.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/test_formats.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

using Gdiplus::PixelFormat;

constexpr PixelFormat kFormats[] = {k1, k4, k8, k555, k565, k24, k32, kArgb, kPargb};

/// The formats, in the order of kFormats, in which files of a type are opened. Deep TIFF pages are
/// read by libtiff and always have an alpha channel then.
struct Opened {
  PxtFileType type;
  PixelFormat formats[9];
};

constexpr Opened kOpened[] = {
    {PxtFileTypeBmp, {k1, k4, k8, k32, k32, k24, k32, k32, k32}},
    {PxtFileTypeGif, {k8, k8, k8, k8, k8, k8, k8, k8, k8}},
    {PxtFileTypeJpeg, {k24, k24, k24, k24, k24, k24, k24, k24, k24}},
    {PxtFileTypePcx, {k1, k24, k8, k24, k24, k24, k24, k24, k24}},
    {PxtFileTypePng, {k1, k4, k8, kArgb, kArgb, k24, kArgb, kArgb, kArgb}},
    {PxtFileTypeTiffGroup3, {k1, k1, k1, k1, k1, k1, k1, k1, k1}},
    {PxtFileTypeTiffGroup4, {k1, k1, k1, k1, k1, k1, k1, k1, k1}},
    {PxtFileTypeTiffLzw, {k1, k4, k8, kArgb, kArgb, kArgb, kArgb, kArgb, kArgb}},
    {PxtFileTypeTiffRunLength, {k1, k1, k1, k1, k1, k1, k1, k1, k1}},
    {PxtFileTypeTiffNone, {k1, k4, k8, kArgb, kArgb, kArgb, kArgb, kArgb, kArgb}},
    {PxtFileTypeJpegLow, {k24, k24, k24, k24, k24, k24, k24, k24, k24}},
    {PxtFileTypeJpegHigh, {k24, k24, k24, k24, k24, k24, k24, k24, k24}}};

bool IsJpeg(PxtFileType type) {
  return type == PxtFileTypeJpeg || type == PxtFileTypeJpegLow || type == PxtFileTypeJpegHigh;
}

/// Whether images become bilevel on their way, and how.
bool IsConverted(PxtFileType type) {
  return type == PxtFileTypeTiffGroup3 || type == PxtFileTypeTiffGroup4 ||
         type == PxtFileTypeTiffRunLength;
}
PxtConversionMethod ConversionFor(PxtFileType type) {
  return type == PxtFileTypeTiffRunLength ? MethodBilevelOtsu : MethodBilevelDiffusion;
}

/// Whether colours survive to the bit.
bool KeepsColours(PxtFileType type, PixelFormat format) {
  if (IsJpeg(type) || (IsConverted(type) && format != k1)) return false;
  return type != PxtFileTypeGif || (format & PixelFormatIndexed) != 0;
}

/// Whether the platform under test is known to write nothing of use.
bool IsKnownToFail(PxtFileType type, PixelFormat format) {
  return kGifEncoderKnows8BitsOnly && type == PxtFileTypeGif && format != k8;
}

/// Whether the platform under test is known to write no colours that the TIFF reader finds.
bool IsKnownToLosePalettes(PxtFileType type, PixelFormat format) {
  return kTiffPalettesLackLowBytes && (format == k4 || format == k8) &&
         (type == PxtFileTypeTiffLzw || type == PxtFileTypeTiffNone);
}

/// Whether the platform under test is known to choose another format.
bool IsReloadedDifferently(PxtFileType type, PixelFormat format) {
  const unsigned bits = BitsOf(format);
  const bool is_by_the_platform = type == PxtFileTypeBmp || type == PxtFileTypePng;
  return kDeepBitmapsAreSavedDifferently && (bits == 16 || bits == 32) && is_by_the_platform;
}

class SavedAndOpened : public testing::Test {
 protected:
  BitmapPointer ThroughAFile(Gdiplus::Bitmap& bitmap, PxtFileType type) {
    // Some systems write out what a file loses by being replaced, and are slow then.
    std::filesystem::remove(path_);
    EXPECT_EQ(PxtSaveBitmapToFile(&bitmap, type, path_.wstring().c_str()), 1);
    BitmapPointer opened;
    EXPECT_EQ(PxtOpenImageFile(path_.wstring().c_str(), Receive(opened)), 1);
    return opened;
  }
  static BitmapPointer ThroughAStream(Gdiplus::Bitmap& bitmap, PxtFileType type) {
    StreamPointer stream;
    EXPECT_EQ(PxtSaveBitmapToStream(&bitmap, Receive(stream), type), 1);
    BitmapPointer opened;
    if (stream != nullptr) {
      EXPECT_EQ(PxtExtractBitmap(stream.get(), Receive(opened)), 1);
    }
    return opened;
  }

  /// Calls `check` with every type, format, image and what came back of it.
  template <typename Check>
  void ForEveryTypeAndFormat(const Check& check) {
    for (const Opened& opened : kOpened) {
      for (std::size_t i = 0; i < std::size(kFormats); ++i) {
        const PixelFormat format = kFormats[i];
        if (IsKnownToFail(opened.type, format)) continue;
        SCOPED_TRACE(testing::Message() << NameOf(format) << " as " << opened.type);
        // PCX fills whole bytes of bilevel rows only.
        const BitmapPointer bitmap = SampleBitmap(format, 24, 11);
        ASSERT_NE(bitmap, nullptr);
        const BitmapPointer result = ThroughAFile(*bitmap, opened.type);
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
        check(opened.type, *bitmap, *result, opened.formats[i]);
      }
    }
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "saved";
};

TEST_F(SavedAndOpened, HaveTheirSizeAndAKnownFormat) {
  ForEveryTypeAndFormat(
      [](PxtFileType type, Gdiplus::Bitmap& before, Gdiplus::Bitmap& after, PixelFormat format) {
        EXPECT_EQ(after.GetWidth(), 24U);
        EXPECT_EQ(after.GetHeight(), 11U);
        if (IsReloadedDifferently(type, before.GetPixelFormat())) return;
        EXPECT_EQ(after.GetPixelFormat(), format);
      });
}

TEST_F(SavedAndOpened, KeepTheirColoursInFilesWithoutLosses) {
  ForEveryTypeAndFormat(
      [](PxtFileType type, Gdiplus::Bitmap& before, Gdiplus::Bitmap& after, PixelFormat) {
        if (!KeepsColours(type, before.GetPixelFormat())) return;
        if (IsKnownToLosePalettes(type, before.GetPixelFormat())) return;
        EXPECT_EQ(PixelsOf(after, k24), PixelsOf(before, k24));
      });
}

TEST_F(SavedAndOpened, KeepTheirIndexesAndPalettes) {
  ForEveryTypeAndFormat(
      [](PxtFileType type, Gdiplus::Bitmap& before, Gdiplus::Bitmap& after, PixelFormat format) {
        if (before.GetPixelFormat() != format || (format & PixelFormatIndexed) == 0) return;
        EXPECT_EQ(PixelsOf(after), PixelsOf(before));
        if (IsKnownToLosePalettes(type, format)) return;
        auto palette = PaletteOf(before);
        // The last entry of a PCX file is not read.
        if (type == PxtFileTypePcx && format == k8) palette.back() = 0xFF000000U;
        EXPECT_EQ(PaletteOf(after), palette);
      });
}

TEST_F(SavedAndOpened, KeepTheirResolution) {
  ForEveryTypeAndFormat(
      [](PxtFileType type, Gdiplus::Bitmap&, Gdiplus::Bitmap& after, PixelFormat) {
        const bool has_none = type == PxtFileTypeGif;
        EXPECT_NEAR(after.GetHorizontalResolution(), has_none ? 96 : kSampleDpiX, kDpiTolerance);
        EXPECT_NEAR(after.GetVerticalResolution(), has_none ? 96 : kSampleDpiY, kDpiTolerance);
      });
}

TEST_F(SavedAndOpened, AreConvertedForFaxAndRunLengths) {
  ForEveryTypeAndFormat(
      [](PxtFileType type, Gdiplus::Bitmap& before, Gdiplus::Bitmap& after, PixelFormat) {
        if (!IsConverted(type) || before.GetPixelFormat() == k1) return;
        BitmapPointer converted;
        ASSERT_EQ(PxtBitmapToBitmap(ConversionFor(type), before, Receive(converted)), 1);
        EXPECT_EQ(PixelsOf(after), PixelsOf(*converted));
        EXPECT_EQ(PaletteOf(after), PaletteOf(*converted));
      });
}

TEST_F(SavedAndOpened, AreTheSameThroughAStream) {
  for (const Opened& opened : kOpened) {
    if (opened.type == PxtFileTypePcx) continue;
    for (const PixelFormat format : kFormats) {
      if (IsKnownToFail(opened.type, format)) continue;
      SCOPED_TRACE(testing::Message() << NameOf(format) << " as " << opened.type);
      const BitmapPointer bitmap = SampleBitmap(format, 13, 11);
      const BitmapPointer file = ThroughAFile(*bitmap, opened.type);
      const BitmapPointer stream = ThroughAStream(*bitmap, opened.type);
      ASSERT_NE(file, nullptr);
      ASSERT_NE(stream, nullptr);
      EXPECT_EQ(stream->GetPixelFormat(), file->GetPixelFormat());
      EXPECT_EQ(stream->GetWidth(), 13U);
      EXPECT_EQ(stream->GetHeight(), 11U);
      EXPECT_EQ(PixelsOf(*stream), PixelsOf(*file));
      EXPECT_EQ(PaletteOf(*stream), PaletteOf(*file));
      EXPECT_NEAR(stream->GetHorizontalResolution(), file->GetHorizontalResolution(),
                  kDpiTolerance);
      EXPECT_NEAR(stream->GetVerticalResolution(), file->GetVerticalResolution(), kDpiTolerance);
    }
  }
}

TEST_F(SavedAndOpened, KeepFlatColoursInJpeg) {
  Bytes rows;
  for (int i = 0; i < 16 * 16; ++i) rows.insert(rows.end(), {40, 120, 200});
  const BitmapPointer bitmap = MakeBitmap(16, 16, k24, rows);
  for (const PxtFileType type : {PxtFileTypeJpegLow, PxtFileTypeJpeg, PxtFileTypeJpegHigh}) {
    const BitmapPointer opened = ThroughAFile(*bitmap, type);
    ASSERT_NE(opened, nullptr);
    const Bytes pixels = PixelsOf(*opened, k24);
    ASSERT_EQ(pixels.size(), rows.size());
    const int tolerance = type == PxtFileTypeJpegLow ? 8 : 4;
    for (std::size_t i = 0; i < rows.size(); ++i) ASSERT_NEAR(pixels[i], rows[i], tolerance) << i;
  }
}

TEST_F(SavedAndOpened, KeepTransparencyInPngOnly) {
  const BitmapPointer bitmap = SampleBitmap(kArgb, 13, 11, Alpha::kAny);
  const BitmapPointer png = ThroughAFile(*bitmap, PxtFileTypePng);
  ASSERT_NE(png, nullptr);
  EXPECT_EQ(png->GetPixelFormat(), kArgb);
  EXPECT_EQ(PixelsOf(*png), PixelsOf(*bitmap));
  const BitmapPointer bmp = ThroughAFile(*bitmap, PxtFileTypeBmp);
  ASSERT_NE(bmp, nullptr);
  EXPECT_EQ(PixelsOf(*bmp, k24), PixelsOf(*bitmap, k24));
  EXPECT_NE(PixelsOf(*bmp, kArgb), PixelsOf(*bitmap));
}

TEST_F(SavedAndOpened, AreDividedByAlphaOnTheirWayToPng) {
  const BitmapPointer bitmap = SampleBitmap(kPargb, 13, 11, Alpha::kAny);
  const BitmapPointer png = ThroughAFile(*bitmap, PxtFileTypePng);
  ASSERT_NE(png, nullptr);
  EXPECT_EQ(PixelsOf(*png, kArgb), PixelsOf(*bitmap, kArgb));
}

TEST_F(SavedAndOpened, ShowBlackAsBlackWhicheverEntryItIs) {
  // The TIFF tells which of the two is white; opened, 0 is black again.
  const BitmapPointer bitmap = SampleBitmap(k1, 24, 11);
  ASSERT_EQ(bitmap->SetPalette(PaletteBlock(0, {0xFFFFFFFF, 0xFF000000}).get()), Gdiplus::Ok);
  for (int type = 5; type <= 9; ++type) {
    const BitmapPointer opened = ThroughAFile(*bitmap, static_cast<PxtFileType>(type));
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(PaletteOf(*opened), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF})) << type;
    EXPECT_EQ(PixelsOf(*opened, k24), PixelsOf(*bitmap, k24)) << type;
  }
}

TEST_F(SavedAndOpened, OfDeepChannelsKeepWhatScreensShow) {
  if (k48BitChannelsHave16Bits) GTEST_SKIP() << "Wine's channels are others";
  for (const PixelFormat format : {PixelFormat48bppRGB, PixelFormat64bppARGB}) {
    const BitmapPointer bitmap = SampleBitmap(format, 24, 11);
    ASSERT_NE(bitmap, nullptr);
    for (const Opened& opened : kOpened) {
      SCOPED_TRACE(testing::Message() << NameOf(format) << " as " << opened.type);
      const BitmapPointer result = ThroughAFile(*bitmap, opened.type);
      ASSERT_NE(result, nullptr);
      EXPECT_EQ(result->GetWidth(), 24U);
      EXPECT_EQ(result->GetHeight(), 11U);
      if (KeepsColours(opened.type, format)) {
        EXPECT_EQ(PixelsOf(*result, k24), PixelsOf(*bitmap, k24));
      }
      if (IsConverted(opened.type)) {
        BitmapPointer converted;
        ASSERT_EQ(PxtBitmapToBitmap(ConversionFor(opened.type), *bitmap, Receive(converted)), 1);
        EXPECT_EQ(PixelsOf(*result), PixelsOf(*converted));
      }
    }
  }
}

TEST_F(SavedAndOpened, AColourScanIsAGroup3FaxPage) {
  // A page with dark, middle and light parts, at a scanner's resolution.
  constexpr UINT kWidth = 200;
  constexpr UINT kHeight = 120;
  Bytes rows;
  for (UINT y = 0; y < kHeight; ++y) {
    for (UINT x = 0; x < kWidth; ++x) {
      const bool is_ink = (x / 16 + y / 16) % 3 == 0;
      rows.push_back(static_cast<std::uint8_t>(is_ink ? 30 : x));
      rows.push_back(static_cast<std::uint8_t>(is_ink ? 40 : 255 - y));
      rows.push_back(static_cast<std::uint8_t>(is_ink ? 20 : (x + y) / 2));
    }
  }
  const BitmapPointer scan = MakeBitmap(kWidth, kHeight, k24, rows);
  ASSERT_NE(scan, nullptr);
  ASSERT_EQ(scan->SetResolution(204, 196), Gdiplus::Ok);

  // What the page is on its way: one bit per pixel, diffused, with the scan's resolution.
  BitmapPointer diffused;
  ASSERT_EQ(PxtBitmapToBitmap(MethodBilevelDiffusion, *scan, Receive(diffused)), 1);
  EXPECT_EQ(diffused->GetPixelFormat(), k1);
  EXPECT_EQ(PaletteOf(*diffused), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
  EXPECT_NEAR(diffused->GetHorizontalResolution(), 204, kDpiTolerance);
  EXPECT_NEAR(diffused->GetVerticalResolution(), 196, kDpiTolerance);
  const Bytes bits = PixelsOf(*diffused);

  ASSERT_EQ(PxtSaveBitmapToFile(scan.get(), PxtFileTypeTiffGroup3, path_.wstring().c_str()), 1);
  EXPECT_EQ(scan->GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(PixelsOf(*scan), rows);

  // What is in the file, as libtiff finds it.
  const auto tiff = OpenTiff(path_, "r");
  ASSERT_NE(tiff, nullptr);
  const auto tag = [&tiff](std::uint32_t name) {
    std::uint16_t value = 0;
    return TIFFGetField(tiff.get(), name, &value) != 0 ? unsigned{value} : kTagIsAbsent;
  };
  EXPECT_EQ(tag(TIFFTAG_COMPRESSION), 3U);
  EXPECT_EQ(tag(TIFFTAG_BITSPERSAMPLE), 1U);
  EXPECT_EQ(tag(TIFFTAG_SAMPLESPERPIXEL), 1U);
  EXPECT_EQ(tag(TIFFTAG_PHOTOMETRIC), unsigned{PHOTOMETRIC_MINISBLACK});
  EXPECT_EQ(tag(TIFFTAG_ORIENTATION), unsigned{ORIENTATION_TOPLEFT});
  EXPECT_EQ(tag(TIFFTAG_RESOLUTIONUNIT), kTagIsAbsent);
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  EXPECT_EQ(TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width), 1);
  EXPECT_EQ(TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height), 1);
  EXPECT_EQ(width, kWidth);
  EXPECT_EQ(height, kHeight);
  float dpi_x = 0;
  float dpi_y = 0;
  EXPECT_EQ(TIFFGetField(tiff.get(), TIFFTAG_XRESOLUTION, &dpi_x), 1);
  EXPECT_EQ(TIFFGetField(tiff.get(), TIFFTAG_YRESOLUTION, &dpi_y), 1);
  EXPECT_NEAR(dpi_x, 204, kDpiTolerance);
  EXPECT_NEAR(dpi_y, 196, kDpiTolerance);
  ASSERT_EQ(TIFFScanlineSize(tiff.get()), tmsize_t{kWidth / 8});
  Bytes written(bits.size());
  for (std::uint32_t y = 0; y < kHeight; ++y) {
    ASSERT_EQ(TIFFReadScanline(tiff.get(), written.data() + y * kWidth / 8, y, 0), 1);
  }
  EXPECT_EQ(written, bits);
  EXPECT_EQ(TIFFReadDirectory(tiff.get()), 0);

  // And what whoever opens it gets.
  BitmapPointer opened;
  ASSERT_EQ(PxtOpenImageFile(path_.wstring().c_str(), Receive(opened)), 1);
  EXPECT_EQ(opened->GetPixelFormat(), k1);
  EXPECT_EQ(PixelsOf(*opened), bits);
  EXPECT_NEAR(opened->GetHorizontalResolution(), 204, kDpiTolerance);
  EXPECT_NEAR(opened->GetVerticalResolution(), 196, kDpiTolerance);
}

}  // namespace
}  // namespace pixtola::test
