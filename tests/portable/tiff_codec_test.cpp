// TIFF: the writer's parameter and palettes, the reader's alpha and what it refuses.

#include "codecs/tiff_memory.h"
#include "portable/codec_files.h"
#include "portable/tiff_pages.h"

namespace pixtola::portable {
namespace {

Gdiplus::EncoderParameters CompressionParameter(ULONG& value) {
  Gdiplus::EncoderParameters parameters{};
  parameters.Count = 1;
  parameters.Parameter[0].Guid = {
      0xe09d739d, 0xccd4, 0x44ee, {0x8e, 0xba, 0x3f, 0xbf, 0x8b, 0xe4, 0xfc, 0x58}};
  parameters.Parameter[0].NumberOfValues = 1;
  parameters.Parameter[0].Type = Gdiplus::EncoderParameterValueTypeLong;
  parameters.Parameter[0].Value = &value;
  return parameters;
}

TEST(TiffWriter, TakesTheCompressionParameter) {
  const BitmapPtr source = BitmapObject::Create(300, 300, PixelFormat24bppRGB);  // several strips
  ULONG value = Gdiplus::EncoderValueCompressionNone;
  const auto parameters = CompressionParameter(value);
  const Bytes plain = Encode(EncodeTiff, *source, &parameters);
  EXPECT_GT(plain.size(), 270000U);
  EXPECT_EQ(Pixels(*Decode(DecodeTiff, plain)), Pixels(*source));
  value = Gdiplus::EncoderValueCompressionLZW;
  const Bytes lzw = Encode(EncodeTiff, *source, &parameters);
  EXPECT_LT(lzw.size(), 27000U);
  EXPECT_EQ(lzw, Encode(EncodeTiff, *source));
}

TEST(TiffWriter, WritesFaxCodesForOneBitOnly) {
  constexpr std::uint32_t kCompression = 259;
  struct Case {
    ULONG parameter;
    std::uint16_t tag;
  };
  const Case cases[] = {
      {Gdiplus::EncoderValueCompressionCCITT3, 3},
      {Gdiplus::EncoderValueCompressionCCITT4, 4},
      {Gdiplus::EncoderValueCompressionRle, 2},
  };
  for (const Case& one : cases) {
    ULONG value = one.parameter;
    const auto parameters = CompressionParameter(value);
    for (const std::uint32_t width : {1U, 8U, 31U, 3000U}) {
      // More than one strip at the largest width.
      const BitmapPtr source = Noise(width, 200, PixelFormat1bppIndexed);
      const Bytes file = Encode(EncodeTiff, *source, &parameters);
      EXPECT_EQ(TiffTag(file, kCompression), one.tag);
      const BitmapPtr reloaded = Decode(DecodeTiff, file);
      EXPECT_EQ(reloaded->format(), PixelFormat1bppIndexed);
      EXPECT_EQ(Pixels(*reloaded), Pixels(*source));
    }
    for (const Gdiplus::PixelFormat format :
         {PixelFormat4bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
      MemorySink sink;
      EXPECT_EQ(EncodeTiff(*Noise(3, 3, format), &parameters, sink), Gdiplus::InvalidParameter);
      EXPECT_TRUE(sink.bytes().empty());
    }
  }
}

TEST(TiffWriter, RefusesParametersItDoesNotTake) {
  const BitmapPtr source = Noise(3, 3, PixelFormat24bppRGB);
  const auto refuses = [&](const std::function<void(Gdiplus::EncoderParameter&)>& change) {
    ULONG value = Gdiplus::EncoderValueCompressionNone;
    auto parameters = CompressionParameter(value);
    change(parameters.Parameter[0]);
    MemorySink sink;
    EXPECT_EQ(EncodeTiff(*source, &parameters, sink), Gdiplus::InvalidParameter);
    EXPECT_TRUE(sink.bytes().empty());
  };
  ULONG unknown = 99;
  refuses([](auto& parameter) { parameter.Value = nullptr; });
  refuses([](auto& parameter) { parameter.NumberOfValues = 0; });
  refuses([](auto& parameter) { parameter.NumberOfValues = 2; });
  refuses([](auto& parameter) { parameter.Type = 1; });
  refuses([](auto& parameter) { parameter.Guid.Data1 = 0; });
  refuses([&](auto& parameter) { parameter.Value = &unknown; });
  Gdiplus::EncoderParameters none{};
  EXPECT_EQ(Encode(EncodeTiff, *source, &none), Encode(EncodeTiff, *source));
}

TEST(TiffWriter, WritesGrayPalettesWithoutAColorMap) {
  constexpr std::uint32_t kColorMap = 320;
  constexpr std::uint32_t kPhotometric = 262;
  const BitmapPtr bilevel = Noise(9, 3, PixelFormat1bppIndexed);
  const auto photometric = [&](ARGB first, ARGB second) {
    bilevel->palette.entries[0] = first;
    bilevel->palette.entries[1] = second;
    const Bytes file = Encode(EncodeTiff, *bilevel);
    EXPECT_EQ(Pixels(*Decode(DecodeTiff, file)), Pixels(*bilevel));
    EXPECT_EQ(TiffTag(file, kColorMap) != 0xFFFF, TiffTag(file, kPhotometric) == 3);
    return TiffTag(file, kPhotometric);
  };
  EXPECT_EQ(photometric(kBlack, kWhite), 1);
  EXPECT_EQ(photometric(kWhite, kBlack), 0);
  EXPECT_EQ(photometric(kRed, kWhite), 3);

  const BitmapPtr gray = Noise(9, 3, PixelFormat8bppIndexed);
  EXPECT_EQ(TiffTag(Encode(EncodeTiff, *gray), kPhotometric), 3);
  gray->palette = GrayPalette(8);
  const Bytes file = Encode(EncodeTiff, *gray);
  EXPECT_EQ(TiffTag(file, kPhotometric), 1);
  EXPECT_EQ(TiffTag(file, kColorMap), 0xFFFF);
  EXPECT_EQ(Pixels(*Decode(DecodeTiff, file)), Pixels(*gray));
}

TEST(TiffReader, RefusesJbigThatLibtiffReads) {
  if (TIFFIsCODECConfigured(COMPRESSION_JBIG) == 0) GTEST_SKIP() << "libtiff knows no JBIG";
  StoredPage page;
  page.bits = 1;
  page.sample = AnySample(1);
  page.rows = page.height;  // one strip: libtiff writes no other
  EXPECT_NE(Decode(DecodeTiff, MakeTiffOf(page)), nullptr);
  page.compression = COMPRESSION_JBIG;
  const Bytes file = MakeTiffOf(page);
  EXPECT_EQ(TiffTag(file, TIFFTAG_COMPRESSION), 34661);
  TiffSource source{file};
  const TiffHandle tiff = OpenTiffForReading(source);
  Bytes rows(page.height);
  EXPECT_EQ(TIFFReadEncodedStrip(tiff.get(), 0, rows.data(), -1), page.height);
  BitmapPtr bitmap;
  EXPECT_EQ(DecodeTiff(file, bitmap), Gdiplus::GenericError);
  EXPECT_EQ(bitmap, nullptr);
}

TEST(TiffReader, GivesStraightAlpha) {
  const auto rgba = [](std::uint32_t extra_sample) {
    // ImageWidth 2, ImageLength 1, no compression, RGB, one strip at 8, four samples. One count of
    // BitsPerSample serves all samples.
    return MakeTiff({{256, 4, 2},
                     {257, 4, 1},
                     {258, 3, 8},
                     {259, 3, 1},
                     {262, 3, 2},
                     {273, 4, 8},
                     {277, 3, 4},
                     {278, 4, 1},
                     {279, 4, 8},
                     {338, 3, extra_sample}},
                    {64, 128, 0, 128, 10, 20, 30, 255});
  };
  // Multiplied by 128: 64 x 255 / 128 = 127.5.
  const BitmapPtr associated = Decode(DecodeTiff, rgba(1));
  ASSERT_EQ(associated->format(), PixelFormat32bppARGB);
  EXPECT_EQ(Pixels(*associated), (std::vector<ARGB>{0x8080FF00, 0xFF0A141E}));
  EXPECT_EQ(Pixels(*Decode(DecodeTiff, rgba(2))), (std::vector<ARGB>{0x80408000, 0xFF0A141E}));
  // A sample that is not said to be alpha is none.
  const BitmapPtr unspecified = Decode(DecodeTiff, rgba(0));
  ASSERT_EQ(unspecified->format(), PixelFormat24bppRGB);
  EXPECT_EQ(Pixels(*unspecified), (std::vector<ARGB>{0xFF408000, 0xFF0A141E}));
}

}  // namespace
}  // namespace pixtola::portable
