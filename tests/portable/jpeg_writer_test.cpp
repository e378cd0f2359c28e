// JPEG: what the writer makes of each format, its parameter, the resolution, what it refuses.

#include "imaging/argb.h"
#include "portable/codec_files.h"

namespace pixtola::portable {
namespace {

constexpr Gdiplus::PixelFormat kFormats[] = {
    PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
    PixelFormat16bppRGB555, PixelFormat16bppRGB565, PixelFormat16bppARGB1555,
    PixelFormat24bppRGB,    PixelFormat32bppRGB,    PixelFormat32bppARGB,
    PixelFormat32bppPARGB,  PixelFormat48bppRGB,    PixelFormat64bppARGB,
    PixelFormat64bppPARGB};

/// Slow ramps of opaque colours; of indexes through a gray palette when indexed.
BitmapPtr Ramps(std::uint32_t width, std::uint32_t height, Gdiplus::PixelFormat format) {
  BitmapPtr bitmap = BitmapObject::Create(width, height, format);
  if (bitmap->is_indexed()) bitmap->palette = GrayPalette(bitmap->bits_per_pixel());
  std::vector<ARGB> colors(width);
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      colors[x] = MakeArgb(255, x * 2 & 0xFF, y * 2 & 0xFF, (x + y) & 0xFF);
    }
    if (!bitmap->is_indexed()) {
      ArgbToRow(colors.data(), width, format, bitmap->Row(y), 0);
    } else {
      const std::size_t size = bitmap->row_bytes();
      for (std::size_t i = 0; i < size; ++i) {
        // Half black, half white for 1 bit, one level a row for 4, a ramp for 8.
        bitmap->Row(y)[i] = static_cast<BYTE>(bitmap->bits_per_pixel() == 1   ? (y < 16 ? 0 : 0xFF)
                                              : bitmap->bits_per_pixel() == 4 ? y / 16 * 0x11
                                                                              : i);
      }
    }
  }
  return bitmap;
}

class JpegWriterFormats : public ::testing::TestWithParam<Gdiplus::PixelFormat> {};

TEST_P(JpegWriterFormats, ReloadAs24BitsAndNearlyTheSameColors) {
  for (const std::uint32_t width : {1U, 15U, 16U, 17U, 100U}) {
    for (const std::uint32_t height : {1U, 16U, 49U}) {
      const BitmapPtr source = Ramps(width, height, GetParam());
      const auto before = Pixels(*source);
      const BitmapPtr reloaded = Decode(DecodeJpeg, Encode(EncodeJpeg, *source));
      ASSERT_EQ(reloaded->format(), PixelFormat24bppRGB);
      ASSERT_EQ(reloaded->width(), width);
      ASSERT_EQ(reloaded->height(), height);
      const auto after = Pixels(*reloaded);
      for (std::size_t i = 0; i < before.size(); ++i) {
        for (int shift = 0; shift < 24; shift += 8) {
          ASSERT_NEAR(static_cast<int>(after[i] >> shift & 0xFF),
                      static_cast<int>(before[i] >> shift & 0xFF), 20)
              << "x " << i % width << ", y " << i / width;
        }
      }
    }
  }
}

TEST_P(JpegWriterFormats, AreWrittenAsBaselineWithChromaAtHalfTheResolution) {
  const Bytes file = Encode(EncodeJpeg, *Ramps(20, 20, GetParam()));
  const std::size_t at = JpegSegment(file, 0xC0);  // a baseline frame
  ASSERT_LT(at + 19, file.size());
  EXPECT_EQ(file[at + 4], 8);  // bits
  EXPECT_EQ(file[at + 9], 3);  // components, three bytes each: the second is the sampling
  EXPECT_EQ(file[at + 11], 0x22);
  EXPECT_EQ(file[at + 14], 0x11);
  EXPECT_EQ(file[at + 17], 0x11);
}

INSTANTIATE_TEST_SUITE_P(JpegWriter, JpegWriterFormats, ::testing::ValuesIn(kFormats));

TEST(JpegWriter, WritesTheSameFileWhereverTheColorsComeFrom) {
  const BitmapPtr source = Noise(37, 21, PixelFormat24bppRGB);
  const std::vector<ARGB> colors = Pixels(*source);
  const Bytes file = Encode(EncodeJpeg, *source);
  for (const Gdiplus::PixelFormat format :
       {PixelFormat32bppRGB, PixelFormat32bppARGB, PixelFormat32bppPARGB}) {
    const BitmapPtr same = BitmapObject::Create(37, 21, format);
    for (std::uint32_t y = 0; y < 21; ++y) {
      ArgbToRow(&colors[std::size_t{37} * y], 37, format, same->Row(y), 0);
    }
    EXPECT_EQ(Encode(EncodeJpeg, *same), file) << format;
    if (format == PixelFormat32bppPARGB) continue;
    // Alpha is dropped, and the unused byte of 32bppRGB not looked at.
    for (std::uint32_t y = 0; y < 21; ++y) {
      for (std::uint32_t x = 0; x < 37; ++x) same->Row(y)[4 * x + 3] = static_cast<BYTE>(7 * x);
    }
    EXPECT_EQ(Encode(EncodeJpeg, *same), file) << format;
  }
}

TEST(JpegWriter, ReadsRowsThatRunUpwards) {
  const BitmapPtr source = Noise(9, 30, PixelFormat24bppRGB);
  const BitmapPtr upwards =
      BitmapObject::CreateOver(9, 30, -source->stride(), PixelFormat24bppRGB, source->Row(29));
  const BitmapPtr turned = BitmapObject::Create(9, 30, PixelFormat24bppRGB);
  for (std::uint32_t y = 0; y < 30; ++y) std::copy_n(source->Row(29 - y), 27, turned->Row(y));
  EXPECT_EQ(Encode(EncodeJpeg, *upwards), Encode(EncodeJpeg, *turned));
}

Gdiplus::EncoderParameters QualityParameter(ULONG& value) {
  Gdiplus::EncoderParameters parameters{};
  parameters.Count = 1;
  parameters.Parameter[0] = {
      {0x1d5be4b5, 0xfa4a, 0x452d, {0x9c, 0xdd, 0x5d, 0xb3, 0x51, 0x05, 0xe7, 0xeb}},
      1,
      Gdiplus::EncoderParameterValueTypeLong,
      &value};
  return parameters;
}

/// The first divisor of luma: 16 for quality 50, twice as good is half of that.
int FirstDivisor(const Bytes& file) { return file[JpegSegment(file, 0xDB) + 5]; }

TEST(JpegWriter, TakesTheQualityParameter) {
  const BitmapPtr source = Noise(16, 16, PixelFormat24bppRGB);
  const auto divisor = [&](ULONG quality) {
    const auto parameters = QualityParameter(quality);
    return FirstDivisor(Encode(EncodeJpeg, *source, &parameters));
  };
  EXPECT_EQ(divisor(0), 255);  // as much as eight bits hold
  EXPECT_EQ(divisor(10), 80);
  EXPECT_EQ(divisor(50), 16);
  EXPECT_EQ(divisor(75), 8);
  EXPECT_EQ(divisor(100), 1);
  EXPECT_EQ(FirstDivisor(Encode(EncodeJpeg, *source)), 8);
}

TEST(JpegWriter, RefusesAQualityThatIsNone) {
  const BitmapPtr source = Noise(3, 3, PixelFormat24bppRGB);
  const auto status = [&](const std::function<void(Gdiplus::EncoderParameter&)>& change) {
    ULONG value = 50;
    auto parameters = QualityParameter(value);
    change(parameters.Parameter[0]);
    MemorySink sink;
    const Status result = EncodeJpeg(*source, &parameters, sink);
    EXPECT_EQ(sink.bytes().empty(), result != Gdiplus::Ok);
    return result;
  };
  ULONG too_much = 101;
  ULONG negative = static_cast<ULONG>(-1);
  EXPECT_EQ(status([](auto&) {}), Gdiplus::Ok);
  EXPECT_EQ(status([](auto& parameter) { parameter.Value = nullptr; }), Gdiplus::InvalidParameter);
  EXPECT_EQ(status([](auto& parameter) { parameter.NumberOfValues = 0; }),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(status([](auto& parameter) { parameter.NumberOfValues = 2; }),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(status([](auto& parameter) { parameter.Type = 3; }), Gdiplus::InvalidParameter);
  EXPECT_EQ(status([&](auto& parameter) { parameter.Value = &too_much; }),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(status([&](auto& parameter) { parameter.Value = &negative; }),
            Gdiplus::InvalidParameter);
}

TEST(JpegWriter, IgnoresOtherParameters) {
  const BitmapPtr source = Noise(3, 3, PixelFormat24bppRGB);
  ULONG value = 1000;
  auto parameters = QualityParameter(value);
  parameters.Parameter[0].Guid.Data1 = 0;
  EXPECT_EQ(Encode(EncodeJpeg, *source, &parameters), Encode(EncodeJpeg, *source));
  const Gdiplus::EncoderParameters none{};
  EXPECT_EQ(Encode(EncodeJpeg, *source, &none), Encode(EncodeJpeg, *source));
}

TEST(JpegWriter, WritesWholeDotsPerInch) {
  const BitmapPtr source = Noise(3, 3, PixelFormat24bppRGB);
  const auto reloaded = [&](float x, float y) {
    source->dpi_x = x;
    source->dpi_y = y;
    const BitmapPtr bitmap = Decode(DecodeJpeg, Encode(EncodeJpeg, *source));
    return std::pair{bitmap->dpi_x, bitmap->dpi_y};
  };
  EXPECT_EQ(reloaded(300, 150), (std::pair{300.0F, 150.0F}));
  EXPECT_EQ(reloaded(71.5F, 299.4F), (std::pair{72.0F, 299.0F}));
  EXPECT_EQ(reloaded(0.25F, 1e9F), (std::pair{1.0F, 65535.0F}));
}

TEST(JpegWriter, RefusesWhatTheFormatCannotHold) {
  for (const bool is_wide : {true, false}) {
    const auto bitmap = [&](std::uint32_t side) {
      return BitmapObject::Create(is_wide ? side : 1, is_wide ? 1 : side, PixelFormat24bppRGB);
    };
    EXPECT_FALSE(Encode(EncodeJpeg, *bitmap(65500)).empty());
    MemorySink sink;
    EXPECT_EQ(EncodeJpeg(*bitmap(65501), nullptr, sink), Gdiplus::GenericError);
    EXPECT_TRUE(sink.bytes().empty());
  }
  MemorySink sink;
  EXPECT_EQ(EncodeJpeg(*Noise(2, 2, PixelFormat16bppGrayScale), nullptr, sink),
            Gdiplus::InvalidParameter);
  EXPECT_TRUE(sink.bytes().empty());
}

TEST(JpegWriter, ReportsASinkThatIsFullBetweenItsBuffers) {
  // Noise at the best quality takes more than two buffers of 64 KiB.
  const BitmapPtr source = Noise(300, 300, PixelFormat24bppRGB);
  ULONG quality = 100;
  const auto parameters = QualityParameter(quality);
  const std::size_t size = Encode(EncodeJpeg, *source, &parameters).size();
  ASSERT_GT(size, 131072U);
  for (const std::size_t capacity :
       {std::size_t{0}, std::size_t{65535}, std::size_t{65536}, std::size_t{131071}, size - 1}) {
    MemorySink sink(capacity);
    EXPECT_EQ(EncodeJpeg(*source, &parameters, sink), Gdiplus::Win32Error) << capacity;
  }
}

}  // namespace
}  // namespace pixtola::portable
