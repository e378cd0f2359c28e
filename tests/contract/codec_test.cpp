// What the platform promises about encoded images: which codecs there are, what is read back of
// what was saved, through files and through streams. Written against the API alone: the same tests
// run on GDI+ and on the stand-in.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "platform.h"
#include "support/memory_streams.h"
#include "support/platform_expectations.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/test_formats.h"

namespace pixtola::test {
namespace {

namespace Flat = Gdiplus::DllExports;
using Gdiplus::PixelFormat;

enum Format { kBmp, kJpeg, kGif, kTiff, kPng };
constexpr Format kFormats[] = {kBmp, kJpeg, kGif, kTiff, kPng};

struct FormatFacts {
  GUID id;
  const wchar_t* mime_type;
  const wchar_t* extensions;
};

/// In the order in which the codecs are listed.
const FormatFacts& FactsOf(Format format) {
  static const FormatFacts kFacts[] = {
      {Gdiplus::ImageFormatBMP, L"image/bmp", L"*.BMP;*.DIB;*.RLE"},
      {Gdiplus::ImageFormatJPEG, L"image/jpeg", L"*.JPG;*.JPEG;*.JPE;*.JFIF"},
      {Gdiplus::ImageFormatGIF, L"image/gif", L"*.GIF"},
      {Gdiplus::ImageFormatTIFF, L"image/tiff", L"*.TIF;*.TIFF"},
      {Gdiplus::ImageFormatPNG, L"image/png", L"*.PNG"}};
  return kFacts[format];
}

using GetSize = decltype(&Flat::GdipGetImageEncodersSize);
using GetCodecs = decltype(&Flat::GdipGetImageEncoders);

/// A list of codecs; the names that its entries point to lie behind them.
class CodecList {
 public:
  CodecList(GetSize get_size, GetCodecs get_codecs) {
    UINT size = 0;
    EXPECT_EQ(get_size(&count_, &size), Gdiplus::Ok);
    block_.resize(size / sizeof(Gdiplus::ImageCodecInfo) + 1);
    EXPECT_EQ(get_codecs(count_, size, block_.data()), Gdiplus::Ok);
  }
  const Gdiplus::ImageCodecInfo* begin() const { return block_.data(); }
  const Gdiplus::ImageCodecInfo* end() const { return block_.data() + count_; }

  const Gdiplus::ImageCodecInfo* Find(Format format) const {
    return std::find_if(begin(), end(), [&](const Gdiplus::ImageCodecInfo& codec) {
      return codec.FormatID == FactsOf(format).id;
    });
  }

 private:
  UINT count_ = 0;
  std::vector<Gdiplus::ImageCodecInfo> block_;
};

CodecList Encoders() { return {Flat::GdipGetImageEncodersSize, Flat::GdipGetImageEncoders}; }
CodecList Decoders() { return {Flat::GdipGetImageDecodersSize, Flat::GdipGetImageDecoders}; }

CLSID EncoderOf(Format format) {
  const CodecList encoders = Encoders();
  const Gdiplus::ImageCodecInfo* encoder = encoders.Find(format);
  EXPECT_NE(encoder, encoders.end());
  return encoder->Clsid;
}

void ExpectTheFiveFormats(const CodecList& codecs) {
  const Gdiplus::ImageCodecInfo* previous = nullptr;
  for (const Format format : kFormats) {
    const Gdiplus::ImageCodecInfo* codec = codecs.Find(format);
    ASSERT_NE(codec, codecs.end()) << format;
    EXPECT_EQ(std::wstring(codec->MimeType), FactsOf(format).mime_type);
    const bool is_turned = kTiffExtensionsAreTurned && format == kTiff;
    EXPECT_EQ(std::wstring(codec->FilenameExtension),
              is_turned ? L"*.TIFF;*.TIF" : FactsOf(format).extensions);
    EXPECT_TRUE(previous == nullptr || previous < codec) << format;
    previous = codec;
  }
}

TEST(CodecLists, HoldFiveFormatsInOrder) {
  ExpectTheFiveFormats(Encoders());
  ExpectTheFiveFormats(Decoders());
}

/// A decoded image, or null with a status other than Ok.
struct Loaded {
  Gdiplus::Status status = Gdiplus::Ok;
  BitmapPointer bitmap;
};

Loaded Adopt(Gdiplus::Status status, Gdiplus::GpBitmap* native) {
  Loaded loaded{status, nullptr};
  EXPECT_EQ(status == Gdiplus::Ok, native != nullptr);
  if (native == nullptr) return loaded;
  // The failed bitmap of size 0 holds no handle yet.
  loaded.bitmap.reset(new Gdiplus::Bitmap(0, 0, PixelFormat24bppRGB));
  pixtola::platform::AdoptNativeImage(*loaded.bitmap, native, Gdiplus::Ok);
  return loaded;
}

Loaded LoadFile(const std::filesystem::path& path) {
  Gdiplus::GpBitmap* native = nullptr;
  const Gdiplus::Status status = Flat::GdipCreateBitmapFromFile(path.wstring().c_str(), &native);
  return Adopt(status, native);
}

Loaded LoadStream(IStream& stream) {
  Gdiplus::GpBitmap* native = nullptr;
  const Gdiplus::Status status = Flat::GdipCreateBitmapFromStream(&stream, &native);
  return Adopt(status, native);
}

/// Opaque colours, all different.
std::vector<Gdiplus::ARGB> Colors(unsigned count) {
  std::vector<Gdiplus::ARGB> colors;
  for (unsigned i = 0; i < count; ++i) {
    const Gdiplus::ARGB byte = i * 255 / (count - 1);
    colors.push_back(0xFF000000U | byte << 16 | (255 - byte) << 8 | (byte * 3 & 0xFF));
  }
  return colors;
}

/// Noise; premultiplied colours are at most their alpha.
BitmapPointer Noise(PixelFormat format, UINT width, UINT height) {
  std::mt19937 random(static_cast<unsigned>(format));
  Bytes rows(PackedBytes(format, width) * height);
  for (std::uint8_t& byte : rows) byte = static_cast<std::uint8_t>(random());
  if (format == PixelFormat32bppPARGB) {
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = std::min(rows[i], rows[i | 3]);
  }
  BitmapPointer bitmap = MakeBitmap(width, height, format, rows);
  if (bitmap != nullptr && (format & PixelFormatIndexed) != 0) {
    EXPECT_EQ(bitmap->SetPalette(PaletteBlock(0, Colors(1U << BitsOf(format))).get()), Gdiplus::Ok);
  }
  return bitmap;
}

struct Reload {
  PixelFormat source;
  PixelFormat formats[5];  ///< after BMP, JPEG, GIF, TIFF, PNG
};

constexpr Reload kReloads[] = {
    {k1, {k1, k24, k8, k1, k1}},           {k4, {k4, k24, k8, k4, k4}},
    {k8, {k8, k24, k8, k8, k8}},           {k555, {k32, k24, k8, k24, kArgb}},
    {k565, {k32, k24, k8, k24, kArgb}},    {k24, {k24, k24, k8, k24, k24}},
    {k32, {k32, k24, k8, kArgb, kArgb}},   {kArgb, {k32, k24, k8, kArgb, kArgb}},
    {kPargb, {k32, k24, k8, kArgb, kArgb}}};

bool HasAlpha(PixelFormat format) { return format == kArgb || format == kPargb; }

bool KeepsPixels(Format format, PixelFormat source) {
  if (format == kJpeg) return false;
  return format != kGif || (source & PixelFormatIndexed) != 0;
}

/// Whether the platform under test is known to choose another format.
bool IsReloadedDifferently(Format format, PixelFormat source) {
  const bool is_deep = BitsOf(source) == 16 || BitsOf(source) == 32;
  const bool is_alike = format == kJpeg || format == kGif || (format == kPng && source != k32);
  return kDeepBitmapsAreSavedDifferently && is_deep && !is_alike;
}

class SavedImage : public testing::Test {
 protected:
  Gdiplus::Status Save(Gdiplus::Bitmap& bitmap, Format format,
                       const Gdiplus::EncoderParameters* parameters = nullptr) {
    const CLSID encoder = EncoderOf(format);
    return bitmap.Save(path_.wstring().c_str(), &encoder, parameters);
  }

  TemporaryFolder folder_;
  const std::filesystem::path path_ = folder_ / "saved";
};

TEST_F(SavedImage, ComesBackInAFormatThatTheFileDecides) {
  for (const Reload& reload : kReloads) {
    for (const Format format : kFormats) {
      SCOPED_TRACE(testing::Message() << std::hex << reload.source << " as " << format);
      if (kGifEncoderKnows8BitsOnly && format == kGif && reload.source != k8) continue;
      const BitmapPointer source = Noise(reload.source, 13, 5);
      ASSERT_NE(source, nullptr);
      ASSERT_EQ(Save(*source, format), Gdiplus::Ok);
      const Loaded loaded = LoadFile(path_);
      ASSERT_NE(loaded.bitmap, nullptr);
      if (!IsReloadedDifferently(format, reload.source)) {
        EXPECT_EQ(loaded.bitmap->GetPixelFormat(), reload.formats[format]);
      }
      EXPECT_EQ(loaded.bitmap->GetWidth(), 13U);
      EXPECT_EQ(loaded.bitmap->GetHeight(), 5U);
    }
  }
}

TEST_F(SavedImage, ComesBackWithItsPixels) {
  for (const Reload& reload : kReloads) {
    for (const Format format : kFormats) {
      if (!KeepsPixels(format, reload.source)) continue;
      SCOPED_TRACE(testing::Message() << std::hex << reload.source << " as " << format);
      if (kGifEncoderKnows8BitsOnly && format == kGif && reload.source != k8) continue;
      const BitmapPointer source = Noise(reload.source, 13, 5);
      ASSERT_NE(source, nullptr);
      const PixelFormat compared = HasAlpha(reload.source) && format != kBmp ? kArgb : k24;
      const Bytes before = PixelsOf(*source, compared);
      ASSERT_EQ(Save(*source, format), Gdiplus::Ok);
      const Loaded loaded = LoadFile(path_);
      ASSERT_NE(loaded.bitmap, nullptr);
      EXPECT_EQ(PixelsOf(*loaded.bitmap, compared), before);
    }
  }
}

TEST_F(SavedImage, KeepsAFlatColorInJpeg) {
  Bytes rows;
  for (int i = 0; i < 16 * 16; ++i) rows.insert(rows.end(), {40, 120, 200});
  const BitmapPointer source = MakeBitmap(16, 16, k24, rows);
  ASSERT_EQ(Save(*source, kJpeg), Gdiplus::Ok);
  const Loaded loaded = LoadFile(path_);
  ASSERT_NE(loaded.bitmap, nullptr);
  const Bytes pixels = PixelsOf(*loaded.bitmap, k24);
  ASSERT_EQ(pixels.size(), rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) ASSERT_NEAR(pixels[i], rows[i], 4) << i;
}

TEST_F(SavedImage, KeepsClearPaletteEntriesInPng) {
  const BitmapPointer source = Noise(k8, 13, 5);
  auto colors = Colors(256);
  colors[1] = 0x80102030;
  ASSERT_EQ(source->SetPalette(PaletteBlock(Gdiplus::PaletteFlagsHasAlpha, colors).get()),
            Gdiplus::Ok);
  const Bytes before = PixelsOf(*source, kArgb);
  ASSERT_EQ(Save(*source, kPng), Gdiplus::Ok);
  const Loaded loaded = LoadFile(path_);
  ASSERT_NE(loaded.bitmap, nullptr);
  EXPECT_EQ(loaded.bitmap->GetPixelFormat(), kArgb);
  EXPECT_EQ(PixelsOf(*loaded.bitmap, kArgb), before);
}

TEST_F(SavedImage, KeepsItsResolution) {
  // Bitmap files and PNG count whole pixels a metre, GIF knows no resolution.
  constexpr float kExpected[5][2] = {
      {299.9994F, 150.0124F}, {300, 150}, {96, 96}, {300, 150}, {299.9994F, 150.0124F}};
  for (const Format format : kFormats) {
    SCOPED_TRACE(format);
    const BitmapPointer source = Noise(k8, 3, 3);
    ASSERT_EQ(source->SetResolution(300, 150), Gdiplus::Ok);
    ASSERT_EQ(Save(*source, format), Gdiplus::Ok);
    const Loaded loaded = LoadFile(path_);
    ASSERT_NE(loaded.bitmap, nullptr);
    EXPECT_FLOAT_EQ(loaded.bitmap->GetHorizontalResolution(), kExpected[format][0]);
    EXPECT_FLOAT_EQ(loaded.bitmap->GetVerticalResolution(), kExpected[format][1]);
  }
}

TEST_F(SavedImage, IsTheSameInAStreamWhateverItsPosition) {
  for (const Format format : kFormats) {
    SCOPED_TRACE(format);
    const BitmapPointer source = Noise(k8, 13, 5);
    ASSERT_EQ(Save(*source, format), Gdiplus::Ok);
    const Loaded expected = LoadFile(path_);
    ASSERT_NE(expected.bitmap, nullptr);
    const StreamPointer stream = EmptyStream();
    const CLSID encoder = EncoderOf(format);
    ASSERT_EQ(Flat::GdipSaveImageToStream(pixtola::platform::NativeImage(*source), stream.get(),
                                          &encoder, nullptr),
              Gdiplus::Ok);
    const std::uint64_t size = SizeOf(*stream);
    EXPECT_EQ(size, ReadWholeFile(path_).size());
    for (const std::uint64_t position : {std::uint64_t{0}, std::uint64_t{1}, size / 2, size}) {
      SeekTo(*stream, position);
      const Loaded loaded = LoadStream(*stream);
      ASSERT_NE(loaded.bitmap, nullptr) << position;
      EXPECT_EQ(loaded.bitmap->GetPixelFormat(), expected.bitmap->GetPixelFormat());
      EXPECT_EQ(PixelsOf(*loaded.bitmap), PixelsOf(*expected.bitmap));
    }
  }
}

TEST_F(SavedImage, CannotBeLoadedWhenItIsNotThere) {
  EXPECT_EQ(LoadFile(path_).status,
            kMissingFilesAreGenericErrors ? Gdiplus::GenericError : Gdiplus::InvalidParameter);
}

TEST_F(SavedImage, CannotBeLoadedWhenItIsUnknown) {
  for (const Bytes& content : {Bytes{}, Bytes{'B'}, Bytes{'n', 'o', ' ', 'i', 'm', 'a', 'g', 'e'},
                               Bytes(1000, 0), Bytes(1000, 0xFF)}) {
    WriteWholeFile(path_, content);
    EXPECT_NE(LoadFile(path_).status, Gdiplus::Ok);
    const StreamPointer stream = EmptyStream();
    ULONG written = 0;
    if (!content.empty()) {
      EXPECT_EQ(stream->Write(content.data(), static_cast<ULONG>(content.size()), &written), S_OK);
    }
    EXPECT_NE(LoadStream(*stream).status, Gdiplus::Ok);
  }
}

TEST_F(SavedImage, CannotBeLoadedFromItsFirstBytes) {
  const BitmapPointer source = Noise(k8, 13, 5);
  for (const Format format : kFormats) {
    ASSERT_EQ(Save(*source, format), Gdiplus::Ok);
    Bytes content = ReadWholeFile(path_);
    content.resize(12);
    WriteWholeFile(path_, content);
    EXPECT_NE(LoadFile(path_).status, Gdiplus::Ok) << format;
  }
}

/// One parameter of an encoder, a number.
class Parameter {
 public:
  Parameter(const GUID& name, ULONG value) : value_(value) {
    parameters_.Count = 1;
    parameters_.Parameter[0] = {name, 1, Gdiplus::EncoderParameterValueTypeLong, &value_};
  }
  Parameter(const Parameter&) = delete;
  Parameter& operator=(const Parameter&) = delete;
  const Gdiplus::EncoderParameters* get() const { return &parameters_; }

 private:
  ULONG value_;
  Gdiplus::EncoderParameters parameters_{};
};

TEST_F(SavedImage, IsSmallerAsJpegOfLessQuality) {
  if (kJpegEncoderIgnoresQuality) GTEST_SKIP() << "the quality is not used";
  const BitmapPointer source = Noise(k24, 64, 64);
  std::vector<std::size_t> sizes;
  for (const ULONG quality : {10U, 50U, 95U}) {
    ASSERT_EQ(Save(*source, kJpeg, Parameter(Gdiplus::EncoderQuality, quality).get()), Gdiplus::Ok);
    sizes.push_back(ReadWholeFile(path_).size());
  }
  EXPECT_LT(sizes[0], sizes[1]);
  EXPECT_LT(sizes[1], sizes[2]);
}

TEST_F(SavedImage, IsCompressedAsTiffAsItIsAsked) {
  if (kTiffEncoderIgnoresCompression) GTEST_SKIP() << "the compression is not used";
  // All of one colour, so that a compression tells.
  const BitmapPointer source = MakeBitmap(64, 64, k8, Bytes(64 * 64, 7));
  const auto size_with = [&](ULONG compression) {
    EXPECT_EQ(Save(*source, kTiff, Parameter(Gdiplus::EncoderCompression, compression).get()),
              Gdiplus::Ok);
    return ReadWholeFile(path_).size();
  };
  const std::size_t lzw = size_with(Gdiplus::EncoderValueCompressionLZW);
  const std::size_t none = size_with(Gdiplus::EncoderValueCompressionNone);
  EXPECT_GT(none, 64U * 64U);
  EXPECT_LT(lzw, none / 2);
  EXPECT_EQ(PixelsOf(*LoadFile(path_).bitmap), Bytes(64 * 64, 7));
}

}  // namespace
}  // namespace pixtola::test
