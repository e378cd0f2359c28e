// What the writers write is what the readers return: pixels, palettes, resolution.

#include "portable/codec_files.h"

namespace pixtola::portable {
namespace {

struct RoundTrip {
  EncodeFunction encode;
  DecodeFunction decode;
  Gdiplus::PixelFormat source;
  Gdiplus::PixelFormat reloaded;
  ARGB kept;  ///< the bits of a pixel that the file keeps; alpha becomes 255 where it is lost

  friend std::ostream& operator<<(std::ostream& out, const RoundTrip& trip) {
    return out << std::hex << "format " << trip.source << " to " << trip.reloaded;
  }
};

class CodecRoundTrip : public ::testing::TestWithParam<RoundTrip> {};

TEST_P(CodecRoundTrip, ReturnsTheSamePixels) {
  const RoundTrip& trip = GetParam();
  for (std::uint32_t width = 1; width <= 67; width += width < 35 ? 1 : 8) {
    SCOPED_TRACE("width " + std::to_string(width));
    const BitmapPtr source = Noise(width, 5, trip.source, width);
    const auto before = Pixels(*source);
    const BitmapPtr reloaded = Decode(trip.decode, Encode(trip.encode, *source));
    EXPECT_EQ(Pixels(*source), before);
    ASSERT_EQ(reloaded->format(), trip.reloaded);
    ASSERT_EQ(reloaded->width(), width);
    ASSERT_EQ(reloaded->height(), 5U);
    const auto after = Pixels(*reloaded);
    for (std::size_t i = 0; i < before.size(); ++i) {
      const ARGB expected = trip.kept == kWhite ? before[i] : before[i] | kBlack;
      ASSERT_EQ(after[i], expected) << "x " << i % width << ", y " << i / width;
    }
  }
}

constexpr ARGB kAll = 0xFFFFFFFF;
constexpr ARGB kRgb = 0x00FFFFFF;

INSTANTIATE_TEST_SUITE_P(
    Bmp, CodecRoundTrip,
    ::testing::Values(
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat1bppIndexed, PixelFormat1bppIndexed, kAll},
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat4bppIndexed, PixelFormat4bppIndexed, kAll},
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat8bppIndexed, PixelFormat8bppIndexed, kAll},
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat16bppRGB555, PixelFormat32bppRGB, kAll},
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat16bppRGB565, PixelFormat32bppRGB, kAll},
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat16bppARGB1555, PixelFormat32bppRGB, kRgb},
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat24bppRGB, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat32bppRGB, PixelFormat32bppRGB, kAll},
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat32bppARGB, PixelFormat32bppRGB, kRgb},
        RoundTrip{EncodeBmp, DecodeBmp, PixelFormat32bppPARGB, PixelFormat32bppRGB, kRgb}));

// Deeper formats are dithered: see the writer's own tests.
INSTANTIATE_TEST_SUITE_P(Gif, CodecRoundTrip,
                         ::testing::Values(RoundTrip{EncodeGif, DecodeGif, PixelFormat1bppIndexed,
                                                     PixelFormat8bppIndexed, kAll},
                                           RoundTrip{EncodeGif, DecodeGif, PixelFormat4bppIndexed,
                                                     PixelFormat8bppIndexed, kAll},
                                           RoundTrip{EncodeGif, DecodeGif, PixelFormat8bppIndexed,
                                                     PixelFormat8bppIndexed, kAll}));

INSTANTIATE_TEST_SUITE_P(
    Png, CodecRoundTrip,
    ::testing::Values(
        RoundTrip{EncodePng, DecodePng, PixelFormat1bppIndexed, PixelFormat1bppIndexed, kAll},
        RoundTrip{EncodePng, DecodePng, PixelFormat4bppIndexed, PixelFormat4bppIndexed, kAll},
        RoundTrip{EncodePng, DecodePng, PixelFormat8bppIndexed, PixelFormat8bppIndexed, kAll},
        RoundTrip{EncodePng, DecodePng, PixelFormat16bppRGB555, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodePng, DecodePng, PixelFormat16bppRGB565, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodePng, DecodePng, PixelFormat16bppARGB1555, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodePng, DecodePng, PixelFormat24bppRGB, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodePng, DecodePng, PixelFormat32bppRGB, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodePng, DecodePng, PixelFormat32bppARGB, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodePng, DecodePng, PixelFormat32bppPARGB, PixelFormat32bppARGB, kAll}));

INSTANTIATE_TEST_SUITE_P(
    Tiff, CodecRoundTrip,
    ::testing::Values(
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat1bppIndexed, PixelFormat1bppIndexed, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat4bppIndexed, PixelFormat4bppIndexed, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat8bppIndexed, PixelFormat8bppIndexed, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat16bppRGB555, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat16bppRGB565, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat16bppARGB1555, PixelFormat24bppRGB, kRgb},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat24bppRGB, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat32bppRGB, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat32bppARGB, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat32bppPARGB, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat48bppRGB, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat64bppARGB, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat64bppPARGB, PixelFormat32bppARGB, kAll}));

TEST(Codecs, KeepPalettesAndResolution) {
  for (const Codec& codec : Codecs()) {
    SCOPED_TRACE(codec.info.SigPattern[0]);
    const BitmapPtr source = Noise(9, 2, PixelFormat4bppIndexed);
    source->dpi_x = 300;
    source->dpi_y = 150;
    const BitmapPtr reloaded = Decode(codec.decode, Encode(codec.encode, *source));
    const bool has_resolution = codec.encode != EncodeGif;           // the format has none
    EXPECT_NEAR(reloaded->dpi_x, has_resolution ? 300 : 96, 0.013);  // half a pixel per metre
    EXPECT_NEAR(reloaded->dpi_y, has_resolution ? 150 : 96, 0.013);
    if (!reloaded->is_indexed()) continue;
    EXPECT_EQ(reloaded->palette.count, 16U);
    EXPECT_TRUE(std::equal(source->palette.entries.begin(), source->palette.entries.begin() + 16,
                           reloaded->palette.entries.begin()));
  }
}

TEST(Codecs, ReportASinkThatIsFullWhereverItHappens) {
  for (const Codec& codec : Codecs()) {
    SCOPED_TRACE(codec.info.SigPattern[0]);
    const BitmapPtr source = Noise(5, 4, PixelFormat24bppRGB);
    const std::size_t size = Encode(codec.encode, *source).size();
    for (std::size_t capacity = 0; capacity < size; ++capacity) {
      MemorySink sink(capacity);
      ASSERT_EQ(codec.encode(*source, nullptr, sink), Gdiplus::Win32Error) << capacity;
    }
  }
}

TEST(Codecs, AreListedInOrderAndRecognizeTheirOwnFilesOnly) {
  const wchar_t* const types[] = {L"image/bmp", L"image/jpeg", L"image/gif", L"image/tiff",
                                  L"image/png"};
  ASSERT_EQ(Codecs().size(), std::size(types));
  const BitmapPtr source = Noise(3, 3, PixelFormat24bppRGB);
  for (std::size_t i = 0; i < std::size(types); ++i) {
    const Codec& codec = Codecs()[i];
    EXPECT_STREQ(codec.info.MimeType, types[i]);
    EXPECT_NE(codec.info.Flags & 1, 0U);  // writes
    EXPECT_FALSE(codec.recognizes({}));
    const Bytes file = Encode(codec.encode, *source);
    for (const Codec& other : Codecs()) {
      EXPECT_EQ(other.recognizes(file), &other == &codec);
    }
  }
}

}  // namespace
}  // namespace pixtola::portable
