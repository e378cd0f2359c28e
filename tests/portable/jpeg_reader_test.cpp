// JPEG: the format that each kind of file gives, how it may be coded, densities, files that are cut
// short.

#include "portable/codec_files.h"

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

std::size_t CountMarkers(const Bytes& file, int first, int last) {
  std::size_t count = 0;
  for (std::size_t i = 1; i < file.size(); ++i) {
    if (file[i - 1] == 0xFF && file[i] >= first && file[i] <= last) ++count;
  }
  return count;
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

TEST(JpegReader, ReadsInksAsInvertedAlsoWhenNobodySaysSo) {
  Bytes file = MakeJpeg({4, JCS_CMYK, JCS_CMYK, {200, 255, 0, 128}});
  const auto adobe = file.begin() + static_cast<std::ptrdiff_t>(JpegSegment(file, 0xEE));
  ASSERT_EQ(adobe[1], 0xEE);
  file.erase(adobe, adobe + 2 + 14);
  ASSERT_EQ(CountMarkers(file, 0xEE, 0xEE), 0U);
  ExpectFlat(*Decode(DecodeJpeg, file), 0xFF648000, 2);
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

/// The same coefficients in another coding, as `change` sets it: what is decoded must be the same.
Bytes Recode(const Bytes& file, const std::function<void(jpeg_compress_struct&)>& change) {
  jpeg_error_mgr errors{};
  JpegReadHandle source;
  source.jpeg.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&source.jpeg);
  jpeg_mem_src(&source.jpeg, file.data(), static_cast<unsigned long>(file.size()));
  jpeg_read_header(&source.jpeg, TRUE);
  jvirt_barray_ptr* coefficients = jpeg_read_coefficients(&source.jpeg);
  JpegWriteHandle recoded;
  recoded.jpeg.err = source.jpeg.err;
  jpeg_create_compress(&recoded.jpeg);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&recoded.jpeg, &memory, &size);
  jpeg_copy_critical_parameters(&source.jpeg, &recoded.jpeg);
  change(recoded.jpeg);
  jpeg_write_coefficients(&recoded.jpeg, coefficients);
  jpeg_finish_compress(&recoded.jpeg);
  jpeg_finish_decompress(&source.jpeg);
  const Bytes bytes(memory, memory + size);
  std::free(memory);
  return bytes;
}

TEST(JpegReader, ReadsEveryCodingOfTheSamePicture) {
  const Bytes file = Encode(EncodeJpeg, *Noise(50, 70, PixelFormat24bppRGB));
  const std::vector<ARGB> pixels = Pixels(*Decode(DecodeJpeg, file));

  const Bytes with_restarts = Recode(file, [](auto& jpeg) { jpeg.restart_interval = 2; });
  EXPECT_GT(CountMarkers(with_restarts, 0xD0, 0xD7), 5U);
  EXPECT_EQ(Pixels(*Decode(DecodeJpeg, with_restarts)), pixels);

  const Bytes progressive = Recode(file, [](auto& jpeg) { jpeg_simple_progression(&jpeg); });
  EXPECT_EQ(CountMarkers(progressive, 0xC2, 0xC2), 1U);
  EXPECT_EQ(Pixels(*Decode(DecodeJpeg, progressive)), pixels);

  const Bytes with_best_tables = Recode(file, [](auto& jpeg) { jpeg.optimize_coding = TRUE; });
  EXPECT_LT(with_best_tables.size(), file.size());
  EXPECT_EQ(Pixels(*Decode(DecodeJpeg, with_best_tables)), pixels);

#if defined(C_ARITH_CODING_SUPPORTED) && defined(D_ARITH_CODING_SUPPORTED)
  const Bytes arithmetic = Recode(file, [](auto& jpeg) { jpeg.arith_code = TRUE; });
  EXPECT_EQ(CountMarkers(arithmetic, 0xC9, 0xC9), 1U);
  EXPECT_EQ(Pixels(*Decode(DecodeJpeg, arithmetic)), pixels);
#endif
}

TEST(JpegReader, DoesNotTurnThePicture) {
  Bytes file = Encode(EncodeJpeg, *Noise(20, 10, PixelFormat24bppRGB));
  const std::vector<ARGB> pixels = Pixels(*Decode(DecodeJpeg, file));
  // An APP1 segment: one directory with one entry, orientation (274) 6.
  const Bytes exif = {0xFF, 0xE1, 0, 34, 'E', 'x', 'i', 'f', 0,    0,    'I', 'I',
                      42,   0,    8, 0,  0,   0,   1,   0,   0x12, 0x01, 3,   0,
                      1,    0,    0, 0,  6,   0,   0,   0,   0,    0,    0,   0};
  ASSERT_EQ(exif.size(), 36U);
  file.insert(file.begin() + 2, exif.begin(), exif.end());
  const BitmapPtr bitmap = Decode(DecodeJpeg, file);
  EXPECT_EQ(bitmap->width(), 20U);
  EXPECT_EQ(Pixels(*bitmap), pixels);
}

TEST(JpegReader, ShowsWhatACutFileHolds) {
  const Bytes file = Encode(EncodeJpeg, *Noise(64, 256, PixelFormat24bppRGB));
  const std::vector<ARGB> whole = Pixels(*Decode(DecodeJpeg, file));
  const auto half = static_cast<std::ptrdiff_t>(file.size() / 2);
  const std::vector<ARGB> cut =
      Pixels(*Decode(DecodeJpeg, Bytes(file.begin(), file.begin() + half)));
  ASSERT_EQ(cut.size(), whole.size());
  // The entropy of noise is the same everywhere: at least the first quarter is there, and not the
  // last.
  const auto quarter = static_cast<std::ptrdiff_t>(whole.size() / 4);
  EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + quarter, cut.begin()));
  EXPECT_FALSE(std::equal(whole.end() - quarter, whole.end(), cut.end() - quarter));
}

TEST(JpegReader, NeedsTheHeadersUpToTheFirstScan) {
  const Bytes file = Encode(EncodeJpeg, *Noise(9, 9, PixelFormat24bppRGB));
  const std::size_t scan_at = JpegSegment(file, 0xDA);
  ASSERT_LT(scan_at, file.size());
  for (std::size_t size = 0; size < scan_at; ++size) {
    ExpectFails(DecodeJpeg, Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)),
                Gdiplus::GenericError);
  }
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
