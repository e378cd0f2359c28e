// Readers and writers of the stand-in: what is written comes back, files made by hand give the
// pixels worked out by hand, damaged files give a status.
//
// Finding a codec by file name or signature is the flat API's affair and tested there.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "codecs/codec.h"
#include "codecs/handles.h"
#include "decode_limit.h"
#include "imaging/convert_row.h"
#include "support/memory_sink.h"

namespace pixtola::portable {
namespace {

using Gdiplus::ARGB;
using Gdiplus::Status;
using test_support::MemorySink;
using Bytes = std::vector<std::uint8_t>;
using BitmapPtr = std::unique_ptr<BitmapObject>;

constexpr ARGB kBlack = 0xFF000000;
constexpr ARGB kWhite = 0xFFFFFFFF;
constexpr ARGB kRed = 0xFFFF0000;
constexpr ARGB kGreen = 0xFF00FF00;
constexpr ARGB kBlue = 0xFF0000FF;

std::vector<ARGB> Pixels(const BitmapObject& bitmap) {
  std::vector<ARGB> pixels(std::size_t{bitmap.width()} * bitmap.height());
  for (std::uint32_t y = 0; y < bitmap.height(); ++y) {
    RowToArgb(bitmap.Row(y), 0, bitmap.width(), bitmap.format(), bitmap.palette,
              &pixels[std::size_t{bitmap.width()} * y]);
  }
  return pixels;
}

/// Random pixels, and random opaque colours when indexed.
BitmapPtr Noise(std::uint32_t width, std::uint32_t height, Gdiplus::PixelFormat format,
                unsigned seed = 1) {
  BitmapPtr bitmap = BitmapObject::Create(width, height, format);
  if (bitmap == nullptr) return bitmap;
  std::mt19937 random(seed);
  for (std::uint32_t y = 0; y < height; ++y) {
    BYTE* row = bitmap->Row(y);
    for (std::size_t i = 0; i < bitmap->row_bytes(); ++i) row[i] = static_cast<BYTE>(random());
  }
  if (bitmap->is_indexed()) {
    bitmap->palette.count = 1U << bitmap->bits_per_pixel();
    for (auto& entry : bitmap->palette.entries) entry = kBlack | static_cast<ARGB>(random());
  }
  return bitmap;
}

Bytes Encode(EncodeFunction encode, const BitmapObject& bitmap,
             const Gdiplus::EncoderParameters* parameters = nullptr) {
  MemorySink sink;
  EXPECT_EQ(encode(bitmap, parameters, sink), Gdiplus::Ok);
  return sink.bytes();
}

/// The decoded bitmap, never null: a failure is reported and gives a bitmap of one pixel.
BitmapPtr Decode(DecodeFunction decode, const Bytes& bytes) {
  BitmapPtr bitmap;
  const Status status = decode(bytes, bitmap);
  EXPECT_EQ(status, Gdiplus::Ok);
  EXPECT_EQ(bitmap != nullptr, status == Gdiplus::Ok);
  return bitmap != nullptr ? std::move(bitmap) : BitmapObject::Create(1, 1, PixelFormat32bppARGB);
}

void ExpectFails(DecodeFunction decode, const Bytes& bytes, Status expected) {
  BitmapPtr bitmap = BitmapObject::Create(1, 1, PixelFormat32bppARGB);
  EXPECT_EQ(decode(bytes, bitmap), expected);
  EXPECT_EQ(bitmap, nullptr);
}

/// Sets the decode limit for one scope.
class ScopedDecodeLimit {
 public:
  explicit ScopedDecodeLimit(platform::DecodeLimit limit) { platform::SetDecodeLimit(limit); }
  ScopedDecodeLimit(const ScopedDecodeLimit&) = delete;
  ScopedDecodeLimit& operator=(const ScopedDecodeLimit&) = delete;
  ~ScopedDecodeLimit() { platform::SetDecodeLimit(before_); }

 private:
  platform::DecodeLimit before_ = platform::GetDecodeLimit();
};

Bytes& Add(Bytes& bytes, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  return bytes;
}

/// The values' low bytes, `size` of each, least significant first.
Bytes Little(std::initializer_list<std::uint32_t> values, int size) {
  Bytes bytes;
  for (const std::uint32_t value : values) Add(bytes, value, size);
  return bytes;
}

// ---- What is written comes back.

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

// This reader serves the pages that others refuse: it makes no indexed bitmaps.
INSTANTIATE_TEST_SUITE_P(
    Tiff, CodecRoundTrip,
    ::testing::Values(
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat1bppIndexed, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat4bppIndexed, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat8bppIndexed, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat16bppRGB555, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat16bppRGB565, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat16bppARGB1555, PixelFormat24bppRGB, kRgb},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat24bppRGB, PixelFormat24bppRGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat32bppRGB, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat32bppARGB, PixelFormat32bppARGB, kAll},
        RoundTrip{EncodeTiff, DecodeTiff, PixelFormat32bppPARGB, PixelFormat32bppARGB, kAll}));

TEST(Codecs, KeepPalettesAndResolution) {
  for (const Codec& codec : Codecs()) {
    if (codec.encode == nullptr) continue;
    SCOPED_TRACE(codec.info.SigPattern[0]);
    const BitmapPtr source = Noise(9, 2, PixelFormat4bppIndexed);
    source->dpi_x = 300;
    source->dpi_y = 150;
    const BitmapPtr reloaded = Decode(codec.decode, Encode(codec.encode, *source));
    EXPECT_NEAR(reloaded->dpi_x, 300, 0.013);  // half a pixel per metre
    EXPECT_NEAR(reloaded->dpi_y, 150, 0.013);
    if (!reloaded->is_indexed()) continue;
    EXPECT_EQ(reloaded->palette.count, 16U);
    EXPECT_TRUE(std::equal(source->palette.entries.begin(), source->palette.entries.begin() + 16,
                           reloaded->palette.entries.begin()));
  }
}

TEST(Codecs, ReportASinkThatIsFullWhereverItHappens) {
  for (const Codec& codec : Codecs()) {
    if (codec.encode == nullptr) continue;
    SCOPED_TRACE(codec.info.SigPattern[0]);
    const BitmapPtr source = Noise(5, 4, PixelFormat24bppRGB);
    const std::size_t size = Encode(codec.encode, *source).size();
    for (std::size_t capacity = 0; capacity < size; ++capacity) {
      MemorySink sink(capacity);
      ASSERT_EQ(codec.encode(*source, nullptr, sink), Gdiplus::Win32Error) << capacity;
    }
  }
}

TEST(Codecs, RefuseFormatsThatTheyDoNotWrite) {
  const BitmapPtr source = BitmapObject::Create(2, 2, PixelFormat16bppGrayScale);
  ASSERT_NE(source, nullptr);
  for (const Codec& codec : Codecs()) {
    if (codec.encode == nullptr) continue;
    MemorySink sink;
    EXPECT_EQ(codec.encode(*source, nullptr, sink), Gdiplus::InvalidParameter);
    EXPECT_TRUE(sink.bytes().empty());
  }
}

TEST(Codecs, AreListedInOrderAndRecognizeTheirOwnFilesOnly) {
  ASSERT_EQ(Codecs().size(), 4U);
  const wchar_t* const types[] = {L"image/bmp", L"image/jpeg", L"image/tiff", L"image/png"};
  const BitmapPtr source = Noise(3, 3, PixelFormat24bppRGB);
  for (std::size_t i = 0; i < 4; ++i) {
    const Codec& codec = Codecs()[i];
    EXPECT_STREQ(codec.info.MimeType, types[i]);
    EXPECT_EQ((codec.info.Flags & 1) != 0, codec.encode != nullptr);
    EXPECT_FALSE(codec.recognizes({}));
    if (codec.encode == nullptr) continue;
    const Bytes file = Encode(codec.encode, *source);
    for (const Codec& other : Codecs()) {
      EXPECT_EQ(other.recognizes(file), &other == &codec);
    }
  }
}

// ---- BMP files made by hand.

struct BmpParts {
  std::uint32_t header_size = 40;
  std::int32_t width = 2;
  std::int32_t height = 2;
  std::uint32_t bits = 24;
  std::uint32_t compression = 0;
  std::uint32_t colors_used = 0;
  std::uint32_t pixels_per_metre = 0;
  Bytes after_header{};  ///< masks that do not belong to the header, palette
  Bytes pixels{};
  std::vector<std::uint32_t> masks{};  ///< in the header, V2 and later
};

Bytes MakeBmp(const BmpParts& parts) {
  Bytes bytes = {'B', 'M'};
  const std::size_t pixels_at = 14 + parts.header_size + parts.after_header.size();
  Add(bytes, static_cast<std::uint32_t>(pixels_at + parts.pixels.size()), 4);
  Add(bytes, 0, 4);
  Add(bytes, static_cast<std::uint32_t>(pixels_at), 4);
  Add(bytes, parts.header_size, 4);
  const int size = parts.header_size == 12 ? 2 : 4;
  Add(bytes, static_cast<std::uint32_t>(parts.width), size);
  Add(bytes, static_cast<std::uint32_t>(parts.height), size);
  Add(Add(bytes, 1, 2), parts.bits, 2);
  if (parts.header_size > 12) {
    Add(Add(bytes, parts.compression, 4), 0, 4);
    Add(Add(bytes, parts.pixels_per_metre, 4), parts.pixels_per_metre, 4);
    Add(Add(bytes, parts.colors_used, 4), 0, 4);
    for (const std::uint32_t mask : parts.masks) Add(bytes, mask, 4);
  }
  bytes.resize(14 + parts.header_size);
  bytes.insert(bytes.end(), parts.after_header.begin(), parts.after_header.end());
  bytes.insert(bytes.end(), parts.pixels.begin(), parts.pixels.end());
  return bytes;
}

const Bytes& RedWhitePalette() {
  static const Bytes palette = Little({0xFF0000, 0xFFFFFF}, 4);
  return palette;
}

TEST(BmpReader, ReadsEveryHeaderKind) {
  // Two rows of three pixels: the lower row comes first, 101 and 010.
  const Bytes pixels = {0xA0, 0, 0, 0, 0x40, 0, 0, 0};
  for (const std::uint32_t size : {12U, 40U, 52U, 56U, 64U, 108U, 124U}) {
    SCOPED_TRACE("header size " + std::to_string(size));
    const Bytes palette = size == 12 ? Little({0xFF0000, 0xFFFFFF}, 3) : RedWhitePalette();
    const BitmapPtr bitmap = Decode(DecodeBmp, MakeBmp({.header_size = size,
                                                        .width = 3,
                                                        .bits = 1,
                                                        .after_header = palette,
                                                        .pixels = pixels}));
    ASSERT_EQ(bitmap->format(), PixelFormat1bppIndexed);
    EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kWhite, kRed, kWhite, kRed, kWhite}));
    EXPECT_EQ(bitmap->dpi_x, 96.0F);
  }
}

TEST(BmpReader, ReadsTopDownRowsAndResolution) {
  const BitmapPtr bitmap = Decode(DecodeBmp, MakeBmp({.width = 1,
                                                      .height = -2,
                                                      .pixels_per_metre = 11811,
                                                      .pixels = {0xFF, 0, 0, 0, 0, 0xFF, 0, 0}}));
  ASSERT_EQ(bitmap->format(), PixelFormat24bppRGB);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kBlue, kGreen}));
  EXPECT_EQ(bitmap->dpi_x, 299.9994F);
  EXPECT_EQ(bitmap->dpi_y, 299.9994F);
}

TEST(BmpReader, FillsShortPalettesWithBlack) {
  const Bytes pixels = {0x01, 0x20, 0, 0};
  const std::vector<ARGB> expected = {kRed, kWhite, kBlack, kRed};
  // Three colours in the file of which two are used, and two colours although none are announced.
  for (const auto& [used, palette] :
       {std::pair{2U, Little({0xFF0000, 0xFFFFFF, 0x00FF00}, 4)}, {0U, RedWhitePalette()}}) {
    const BitmapPtr bitmap = Decode(DecodeBmp, MakeBmp({.width = 4,
                                                        .height = 1,
                                                        .bits = 4,
                                                        .colors_used = used,
                                                        .after_header = palette,
                                                        .pixels = pixels}));
    EXPECT_EQ(Pixels(*bitmap), expected);
    EXPECT_EQ(bitmap->palette.count, 16U);
  }
}

TEST(BmpReader, IgnoresColorsBeyondTheDepth) {
  const BitmapPtr bitmap =
      Decode(DecodeBmp, MakeBmp({.width = 2,
                                 .height = 1,
                                 .bits = 1,
                                 .colors_used = 3,
                                 .after_header = Little({0xFF0000, 0xFFFFFF, 0x00FF00}, 4),
                                 .pixels = {0x40, 0, 0, 0}}));
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kWhite}));
}

TEST(BmpReader, ScalesFiveBitsByRepeatingThem) {
  // 555: 10000b in red is 10000100b, 00001b in blue is 00001000b.
  const BitmapPtr bitmap =
      Decode(DecodeBmp, MakeBmp({.width = 4,
                                 .height = 1,
                                 .bits = 16,
                                 .pixels = Little({0x7FFF, 0x4000, 0x0001, 0x83E0}, 2)}));
  ASSERT_EQ(bitmap->format(), PixelFormat32bppRGB);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kWhite, 0xFF840000, 0xFF000008, kGreen}));
}

TEST(BmpReader, ReadsBitFieldsBehindAndInsideTheHeader) {
  const std::vector<std::uint32_t> masks565 = {0xF800, 0x07E0, 0x001F};
  const Bytes pixels = Little({0xF800, 0x0400, 0x001F, 0x0000}, 2);
  // 100000b of six bits is 10000010b.
  const std::vector<ARGB> expected = {kRed, 0xFF008200, kBlue, kBlack};
  for (const std::uint32_t size : {40U, 52U, 56U, 108U, 124U}) {
    SCOPED_TRACE("header size " + std::to_string(size));
    BmpParts parts{.header_size = size,
                   .width = 4,
                   .height = 1,
                   .bits = 16,
                   .compression = 3,
                   .pixels = pixels};
    if (size == 40) {
      parts.after_header = Little({0xF800, 0x07E0, 0x001F}, 4);
    } else {
      parts.masks = masks565;
    }
    EXPECT_EQ(Pixels(*Decode(DecodeBmp, MakeBmp(parts))), expected);
  }
}

TEST(BmpReader, ReadsAnyMasksOf32Bits) {
  // Ten bits each of red and green, one of blue at the top: 2AAh >> 2 is AAh.
  const BitmapPtr bitmap =
      Decode(DecodeBmp, MakeBmp({.width = 2,
                                 .height = 1,
                                 .bits = 32,
                                 .compression = 3,
                                 .after_header = Little({0x000003FF, 0x000FFC00, 0x80000000}, 4),
                                 .pixels = Little({0x800002AA, 0x000FFC03}, 4)}));
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{0xFFAA00FF, 0xFF00FF00}));
  // A mask of no bits makes the channel 0; a 40-byte header may have an alpha mask behind it.
  const BitmapPtr red_only =
      Decode(DecodeBmp, MakeBmp({.width = 1,
                                 .height = 1,
                                 .bits = 32,
                                 .compression = 6,
                                 .after_header = Little({0xFF, 0, 0, 0xFF000000}, 4),
                                 .pixels = Little({0x12345678}, 4)}));
  EXPECT_EQ(Pixels(*red_only), (std::vector<ARGB>{0xFF780000}));
}

TEST(BmpReader, RefusesMasksThatAreNoRunOrLieOutside) {
  for (const auto& masks :
       {Little({0xF0F0, 0x0F00, 0x000F}, 4), Little({0x1F0000, 0x07E0, 0x001F}, 4)}) {
    ExpectFails(DecodeBmp,
                MakeBmp({.width = 2,
                         .height = 1,
                         .bits = 16,
                         .compression = 3,
                         .after_header = masks,
                         .pixels = Little({1, 2}, 2)}),
                Gdiplus::GenericError);
  }
}

/// Four colours: red, white, green, blue.
Bytes FourColors() { return Little({0xFF0000, 0xFFFFFF, 0x00FF00, 0x0000FF}, 4); }

BmpParts Rle(std::uint32_t bits, Bytes pixels) {
  return {.width = 4,
          .height = 3,
          .bits = bits,
          .compression = bits == 8 ? 1U : 2U,
          .colors_used = 4,
          .after_header = FourColors(),
          .pixels = std::move(pixels)};
}

TEST(BmpReader, DecodesRle8) {
  // Bottom row: two of 1, then three of 2, one of which falls outside. End of row. Middle row: 3
  // pixels as they are, 3, 0, 1, with a byte of padding. Move by 0 columns and 1 row. End.
  const BitmapPtr bitmap = Decode(
      DecodeBmp, MakeBmp(Rle(8, {2, 1, 3, 2, 0, 0, 0, 3, 3, 0, 1, 0, 0, 2, 0, 1, 1, 3, 0, 1})));
  ASSERT_EQ(bitmap->format(), PixelFormat32bppRGB);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kRed, kRed, kBlue,    //
                                                kBlue, kRed, kWhite, kRed,  //
                                                kWhite, kWhite, kGreen, kGreen}));
}

TEST(BmpReader, DecodesRle4) {
  // Bottom row: three pixels that alternate 1 and 2. End of row. Middle row: 3 pixels as they are,
  // 3, 0, 1: two bytes, no padding. End of row, one pixel of 3 in the top row, end.
  const BitmapPtr bitmap =
      Decode(DecodeBmp, MakeBmp(Rle(4, {3, 0x12, 0, 0, 0, 3, 0x30, 0x10, 0, 0, 1, 0x30, 0, 1})));
  ASSERT_EQ(bitmap->format(), PixelFormat32bppRGB);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kBlue, kRed, kRed, kRed,    //
                                                kBlue, kRed, kWhite, kRed,  //
                                                kWhite, kGreen, kWhite, kRed}));
}

TEST(BmpReader, AcceptsRleCutShort) {
  // The second command is cut in its pixels.
  const BitmapPtr bitmap = Decode(DecodeBmp, MakeBmp(Rle(8, {4, 1, 0, 0, 0, 4, 2, 2})));
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kRed, kRed, kRed,      //
                                                kGreen, kGreen, kRed, kRed,  //
                                                kWhite, kWhite, kWhite, kWhite}));
}

TEST(BmpReader, RefusesWhatTheFormatDoesNotAllow) {
  const Bytes pixels(16, 0);
  const auto fails = [&](const BmpParts& parts) {
    ExpectFails(DecodeBmp, MakeBmp(parts), Gdiplus::GenericError);
  };
  fails({.width = 0, .pixels = pixels});
  fails({.width = -2, .pixels = pixels});
  fails({.height = 0, .pixels = pixels});
  fails({.bits = 2, .pixels = pixels});
  fails({.bits = 24, .compression = 3, .after_header = Bytes(12, 0), .pixels = pixels});
  fails({.bits = 24, .compression = 1, .pixels = pixels});
  fails({.compression = 4, .pixels = pixels});
  fails({.header_size = 64, .bits = 24, .compression = 4, .pixels = pixels});
  BmpParts upside_down = Rle(8, {4, 1, 0, 1});
  upside_down.height = -3;
  fails(upside_down);
}

TEST(BmpReader, RefusesMissingRowsAndMisplacedPixels) {
  Bytes file = MakeBmp({.width = 3, .height = 2, .pixels = Bytes(24, 7)});
  Decode(DecodeBmp, file);
  // Only the padding after the last row may be missing: three bytes.
  file.resize(file.size() - 3);
  Decode(DecodeBmp, file);
  file.pop_back();
  ExpectFails(DecodeBmp, file, Gdiplus::GenericError);

  for (const int offset : {0, 14, 53, 79, 255}) {
    Bytes moved = MakeBmp({.width = 3, .height = 2, .pixels = Bytes(24, 7)});
    moved[10] = static_cast<std::uint8_t>(offset);
    ExpectFails(DecodeBmp, moved, Gdiplus::GenericError);
  }
}

// ---- PNG.

struct PngParts {
  int type;
  int depth;
  std::uint32_t width;
  Bytes rows;  ///< packed, all rows of one size
  std::vector<png_color> palette{};
  bool is_transparent = false;  ///< tRNS: sample 0 or palette entry 0
  int interlace = PNG_INTERLACE_NONE;
};

Bytes MakePng(PngParts parts) {
  PngWriteHandle handle;
  handle.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  handle.info = png_create_info_struct(handle.png);
  Bytes bytes;
  png_set_write_fn(
      handle.png, &bytes,
      [](png_structp png, png_bytep data, std::size_t size) {
        auto* out = static_cast<Bytes*>(png_get_io_ptr(png));
        out->insert(out->end(), data, data + size);
      },
      nullptr);
  const int samples = parts.type == PNG_COLOR_TYPE_RGB          ? 3
                      : parts.type == PNG_COLOR_TYPE_RGBA       ? 4
                      : parts.type == PNG_COLOR_TYPE_GRAY_ALPHA ? 2
                                                                : 1;
  const std::size_t row_bytes =
      (parts.width * static_cast<unsigned>(samples * parts.depth) + 7) / 8;
  const std::size_t height = parts.rows.size() / row_bytes;
  png_set_IHDR(handle.png, handle.info, parts.width, static_cast<png_uint_32>(height), parts.depth,
               parts.type, parts.interlace, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (!parts.palette.empty()) {
    png_set_PLTE(handle.png, handle.info, parts.palette.data(),
                 static_cast<int>(parts.palette.size()));
  }
  const png_byte alpha = 0;
  const png_color_16 key{};
  if (parts.is_transparent) png_set_tRNS(handle.png, handle.info, &alpha, 1, &key);
  png_set_check_for_invalid_index(handle.png, 0);
  png_write_info(handle.png, handle.info);
  std::vector<png_bytep> rows;
  for (std::size_t y = 0; y < height; ++y) rows.push_back(&parts.rows[y * row_bytes]);
  png_write_image(handle.png, rows.data());
  png_write_end(handle.png, handle.info);
  return bytes;
}

TEST(PngReader, GivesEachKindItsFormat) {
  const std::vector<png_color> two = {{255, 0, 0}, {255, 255, 255}};
  struct Case {
    PngParts parts;
    Gdiplus::PixelFormat format;
    std::vector<ARGB> pixels;
  };
  const Case cases[] = {
      {{PNG_COLOR_TYPE_GRAY, 1, 2, {0x40}}, PixelFormat1bppIndexed, {kBlack, kWhite}},
      {{PNG_COLOR_TYPE_GRAY, 2, 2, {0x60}}, PixelFormat32bppARGB, {0xFF555555, 0xFFAAAAAA}},
      {{PNG_COLOR_TYPE_GRAY, 4, 2, {0x1E}}, PixelFormat32bppARGB, {0xFF111111, 0xFFEEEEEE}},
      {{PNG_COLOR_TYPE_GRAY, 8, 2, {1, 2}}, PixelFormat32bppARGB, {0xFF010101, 0xFF020202}},
      // 16 bits are scaled, not cut: 00FFh is nearer to 1 x 257 than to 0.
      {{PNG_COLOR_TYPE_GRAY, 16, 2, {0x00, 0xFF, 0xFF, 0xFF}},
       PixelFormat32bppARGB,
       {0xFF010101, kWhite}},
      {{PNG_COLOR_TYPE_GRAY, 1, 2, {0x40}, {}, true}, PixelFormat32bppARGB, {0, kWhite}},
      {{PNG_COLOR_TYPE_GRAY_ALPHA, 8, 1, {7, 9}}, PixelFormat32bppARGB, {0x09070707}},
      {{PNG_COLOR_TYPE_PALETTE, 1, 2, {0x40}, two}, PixelFormat1bppIndexed, {kRed, kWhite}},
      {{PNG_COLOR_TYPE_PALETTE, 2, 2, {0x10}, two}, PixelFormat32bppARGB, {kRed, kWhite}},
      {{PNG_COLOR_TYPE_PALETTE, 4, 2, {0x01}, two}, PixelFormat4bppIndexed, {kRed, kWhite}},
      {{PNG_COLOR_TYPE_PALETTE, 8, 2, {0, 1}, two}, PixelFormat8bppIndexed, {kRed, kWhite}},
      {{PNG_COLOR_TYPE_PALETTE, 8, 2, {0, 1}, two, true},
       PixelFormat32bppARGB,
       {0x00FF0000, kWhite}},
      {{PNG_COLOR_TYPE_RGB, 8, 1, {1, 2, 3}}, PixelFormat24bppRGB, {0xFF010203}},
      {{PNG_COLOR_TYPE_RGB, 8, 1, {0, 0, 0}, {}, true}, PixelFormat32bppARGB, {0}},
      {{PNG_COLOR_TYPE_RGB, 16, 1, {1, 1, 2, 2, 3, 3}}, PixelFormat32bppARGB, {0xFF010203}},
      {{PNG_COLOR_TYPE_RGBA, 8, 1, {1, 2, 3, 4}}, PixelFormat32bppARGB, {0x04010203}},
      {{PNG_COLOR_TYPE_RGBA, 16, 1, {1, 1, 2, 2, 3, 3, 4, 4}}, PixelFormat32bppARGB, {0x04010203}},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE("type " + std::to_string(one.parts.type) + ", depth " +
                 std::to_string(one.parts.depth));
    const BitmapPtr bitmap = Decode(DecodePng, MakePng(one.parts));
    EXPECT_EQ(bitmap->format(), one.format);
    EXPECT_EQ(Pixels(*bitmap), one.pixels);
    EXPECT_EQ(bitmap->dpi_x, 96.0F);
  }
}

TEST(PngReader, MarksThePaletteOfGrayFiles) {
  const BitmapPtr bitmap = Decode(DecodePng, MakePng({PNG_COLOR_TYPE_GRAY, 1, 2, {0x40}}));
  EXPECT_EQ(bitmap->palette.flags, UINT{Gdiplus::PaletteFlagsGrayScale});
  EXPECT_EQ(bitmap->palette.count, 2U);
}

TEST(PngReader, ReadsInterlacedFiles) {
  for (const auto& [type, depth] : {std::pair{PNG_COLOR_TYPE_RGB, 8},
                                    {PNG_COLOR_TYPE_GRAY, 1},
                                    {PNG_COLOR_TYPE_GRAY, 4},
                                    {PNG_COLOR_TYPE_RGBA, 16}}) {
    for (std::uint32_t width = 1; width < 20; ++width) {
      PngParts parts{type, depth, width, {}};
      const unsigned samples = type == PNG_COLOR_TYPE_RGB ? 3 : type == PNG_COLOR_TYPE_RGBA ? 4 : 1;
      std::mt19937 random(width);
      parts.rows.resize((width * samples * static_cast<unsigned>(depth) + 7) / 8 * 11);
      for (auto& byte : parts.rows) byte = static_cast<std::uint8_t>(random());
      const auto plain = Pixels(*Decode(DecodePng, MakePng(parts)));
      parts.interlace = PNG_INTERLACE_ADAM7;
      EXPECT_EQ(Pixels(*Decode(DecodePng, MakePng(parts))), plain) << width;
    }
  }
}

TEST(PngReader, GivesPixelsBeyondThePaletteBlackEntries) {
  const std::vector<png_color> two = {{255, 0, 0}, {255, 255, 255}};
  const BitmapPtr inside = Decode(DecodePng, MakePng({PNG_COLOR_TYPE_PALETTE, 8, 2, {0, 1}, two}));
  EXPECT_EQ(inside->palette.count, 2U);
  const BitmapPtr beyond =
      Decode(DecodePng, MakePng({PNG_COLOR_TYPE_PALETTE, 8, 2, {1, 200}, two}));
  EXPECT_EQ(beyond->palette.count, 256U);
  EXPECT_EQ(Pixels(*beyond), (std::vector<ARGB>{kWhite, kBlack}));
}

TEST(PngReader, RefusesWhatIsCutOrChanged) {
  Bytes file = Encode(EncodePng, *Noise(7, 5, PixelFormat24bppRGB));
  for (std::size_t size = 0; size < file.size(); ++size) {
    ExpectFails(DecodePng, Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)),
                Gdiplus::GenericError);
  }
  file[20] ^= 1;  // width or height: the checksum of the header no longer fits
  ExpectFails(DecodePng, file, Gdiplus::GenericError);
}

TEST(PngWriter, ExpandsPalettesWithAlpha) {
  const BitmapPtr source = Noise(9, 3, PixelFormat8bppIndexed);
  source->palette.entries[source->Row(0)[0]] = 0x80123456;
  const BitmapPtr reloaded = Decode(DecodePng, Encode(EncodePng, *source));
  EXPECT_EQ(reloaded->format(), PixelFormat32bppARGB);
  EXPECT_EQ(Pixels(*reloaded), Pixels(*source));
}

TEST(PngWriter, KeepsTheLengthOfShortPalettes) {
  const BitmapPtr source = Noise(8, 8, PixelFormat4bppIndexed);
  for (std::uint32_t y = 0; y < 8; ++y) source->Row(y)[0] &= 0x33;
  for (std::uint32_t y = 0; y < 8; ++y) std::fill_n(source->Row(y), 4, BYTE{0x21});
  source->palette.count = 5;
  EXPECT_EQ(Decode(DecodePng, Encode(EncodePng, *source))->palette.count, 5U);
  // A pixel beyond the palette: it is extended as far as that pixel.
  source->Row(7)[3] = 0x1A;
  const BitmapPtr reloaded = Decode(DecodePng, Encode(EncodePng, *source));
  EXPECT_EQ(reloaded->palette.count, 11U);
  EXPECT_EQ(Pixels(*reloaded), Pixels(*source));
}

// ---- JPEG.

struct JpegParts {
  int samples;
  J_COLOR_SPACE samples_are;
  J_COLOR_SPACE file;
  JSAMPLE pixel[4];
  int unit = 0;
  bool is_progressive = false;
};

/// 24 x 16 pixels of one colour.
Bytes MakeJpeg(const JpegParts& parts) {
  jpeg_compress_struct jpeg{};
  jpeg_error_mgr errors{};
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &memory, &size);
  jpeg.image_width = 24;
  jpeg.image_height = 16;
  jpeg.input_components = parts.samples;
  jpeg.in_color_space = parts.samples_are;
  jpeg_set_defaults(&jpeg);
  jpeg_set_colorspace(&jpeg, parts.file);
  jpeg_set_quality(&jpeg, 100, TRUE);
  if (parts.is_progressive) jpeg_simple_progression(&jpeg);
  jpeg.density_unit = static_cast<UINT8>(parts.unit);
  jpeg.X_density = 100;
  jpeg.Y_density = 200;
  jpeg_start_compress(&jpeg, TRUE);
  Bytes row;
  for (int x = 0; x < 24; ++x) row.insert(row.end(), parts.pixel, parts.pixel + parts.samples);
  JSAMPROW rows = row.data();
  for (int y = 0; y < 16; ++y) jpeg_write_scanlines(&jpeg, &rows, 1);
  jpeg_finish_compress(&jpeg);
  jpeg_destroy_compress(&jpeg);
  const Bytes bytes(memory, memory + size);
  std::free(memory);
  return bytes;
}

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

// ---- TIFF.

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

/// One tag of the first directory of what EncodeTiff has written.
std::uint16_t TiffTag(const Bytes& file, std::uint32_t tag) {
  // Little-endian directory entries of twelve bytes: tag, type, count, value.
  const auto u16 = [&](std::size_t at) { return file[at] | file[at + 1] << 8; };
  const auto directory = static_cast<std::size_t>(u16(4) | u16(6) << 16);
  for (int i = 0; i < u16(directory); ++i) {
    const std::size_t entry = directory + 2 + 12 * static_cast<std::size_t>(i);
    if (static_cast<std::uint32_t>(u16(entry)) == tag) {
      return static_cast<std::uint16_t>(u16(entry + 8));
    }
  }
  return 0xFFFF;
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

/// A TIFF of 8-bit samples in one strip, by hand: directory entries with short or long values.
Bytes MakeTiff(std::vector<std::array<std::uint32_t, 3>> tags, const Bytes& pixels) {
  Bytes file = {'I', 'I', 42, 0};
  Add(file, static_cast<std::uint32_t>(8 + pixels.size()), 4);
  file.insert(file.end(), pixels.begin(), pixels.end());
  Add(file, static_cast<std::uint32_t>(tags.size()), 2);
  for (const auto& [tag, type, value] : tags) {
    Add(Add(Add(Add(file, tag, 2), type, 2), 1, 4), value, 4);
  }
  return Add(file, 0, 4);
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

// ---- Hostile files.

std::vector<std::pair<DecodeFunction, Bytes>> SmallFiles() {
  std::vector<std::pair<DecodeFunction, Bytes>> files;
  for (const Codec& codec : Codecs()) {
    if (codec.encode == nullptr) continue;
    for (const Gdiplus::PixelFormat format : {PixelFormat1bppIndexed, PixelFormat4bppIndexed,
                                              PixelFormat24bppRGB, PixelFormat32bppARGB}) {
      files.emplace_back(codec.decode, Encode(codec.encode, *Noise(5, 4, format)));
    }
  }
  files.emplace_back(DecodeBmp, MakeBmp(Rle(8, {2, 1, 3, 2, 0, 0, 0, 3, 3, 0, 1, 0, 0, 2, 0, 1})));
  files.emplace_back(DecodeBmp, MakeBmp(Rle(4, {3, 0x12, 0, 0, 0, 3, 0x30, 0x10, 0, 0, 1, 0x30})));
  files.emplace_back(DecodeBmp, MakeBmp({.header_size = 124,
                                         .bits = 16,
                                         .compression = 3,
                                         .pixels = Bytes(8, 0x55),
                                         .masks = {0xF800, 0x07E0, 0x001F}}));
  files.emplace_back(
      DecodePng,
      MakePng({PNG_COLOR_TYPE_RGBA, 8, 2, Bytes(24, 3), {}, false, PNG_INTERLACE_ADAM7}));
  files.emplace_back(DecodeJpeg, MakeJpeg({1, JCS_GRAYSCALE, JCS_GRAYSCALE, {9}, 1}));
  files.emplace_back(DecodeJpeg, MakeJpeg({3, JCS_RGB, JCS_YCbCr, {200, 100, 30}, 1, true}));
  files.emplace_back(DecodeJpeg, MakeJpeg({4, JCS_CMYK, JCS_YCCK, {1, 2, 3, 4}}));
  return files;
}

/// Any status will do, as long as it agrees with the bitmap.
void ExpectAnswer(DecodeFunction decode, const Bytes& bytes) {
  // A block of the exact size, so that a read past the end is seen by an address checker.
  const HeapBytes exact = AllocateBytes(bytes.size());
  std::copy(bytes.begin(), bytes.end(), exact.get());
  BitmapPtr bitmap;
  const Status status = decode(EncodedBytes(exact.get(), bytes.size()), bitmap);
  ASSERT_EQ(status == Gdiplus::Ok, bitmap != nullptr);
}

TEST(Codecs, AnswerToFilesCutAtEveryByteAndPrintNothing) {
  const ScopedDecodeLimit limit({.pixels = 1 << 18, .bytes = 1 << 22});
  ::testing::internal::CaptureStderr();
  for (const auto& [decode, bytes] : SmallFiles()) {
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
      ExpectAnswer(decode, Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
    }
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(Codecs, AnswerToFilesWithChangedBytesAndPrintNothing) {
  const ScopedDecodeLimit limit({.pixels = 1 << 18, .bytes = 1 << 22});
  ::testing::internal::CaptureStderr();
  unsigned seed = 0;
  for (const auto& [decode, bytes] : SmallFiles()) {
    for (int round = 0; round < 500; ++round) {
      SCOPED_TRACE("seed " + std::to_string(++seed));
      std::mt19937 random(seed);
      Bytes changed = bytes;
      for (auto changes = 1 + random() % 4; changes > 0; --changes) {
        changed[random() % changed.size()] = static_cast<std::uint8_t>(random());
      }
      ExpectAnswer(decode, changed);
    }
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

std::uint32_t Crc(const Bytes& bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const std::uint8_t byte : bytes) {
    crc ^= byte;
    for (int i = 0; i < 8; ++i) crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
  }
  return ~crc;
}

/// Files that say they are 40000 x 40000 pixels and hold next to nothing.
std::vector<std::pair<DecodeFunction, Bytes>> HugeClaims() {
  std::vector<std::pair<DecodeFunction, Bytes>> files;
  files.emplace_back(DecodeBmp, MakeBmp({.width = 40000, .height = 40000, .pixels = Bytes(8, 0)}));
  BmpParts rle = Rle(8, {4, 1, 0, 1});
  rle.width = rle.height = 40000;
  files.emplace_back(DecodeBmp, MakeBmp(rle));

  Bytes png = Encode(EncodePng, *Noise(2, 2, PixelFormat24bppRGB));
  for (const std::size_t at : {18U, 22U}) {
    png[at] = 40000 >> 8;
    png[at + 1] = 40000 & 0xFF;
  }
  const std::uint32_t crc = Crc(Bytes(png.begin() + 12, png.begin() + 29));
  for (unsigned i = 0; i < 4; ++i) png[29 + i] = static_cast<std::uint8_t>(crc >> (24 - 8 * i));
  files.emplace_back(DecodePng, png);

  Bytes jpeg = MakeJpeg({3, JCS_RGB, JCS_YCbCr, {200, 100, 30}, 0, true});
  for (std::size_t at = 0; at + 9 < jpeg.size(); ++at) {
    if (jpeg[at] != 0xFF || jpeg[at + 1] != 0xC2) continue;  // frame: length, depth, height, width
    for (const std::size_t size_at : {at + 5, at + 7}) {
      jpeg[size_at] = 40000 >> 8;
      jpeg[size_at + 1] = 40000 & 0xFF;
    }
  }
  files.emplace_back(DecodeJpeg, jpeg);

  files.emplace_back(DecodeTiff, MakeTiff({{256, 4, 40000},
                                           {257, 4, 40000},
                                           {258, 3, 8},
                                           {259, 3, 1},
                                           {262, 3, 1},
                                           {273, 4, 8},
                                           {277, 3, 1},
                                           {278, 4, 40000},
                                           {279, 4, 8}},
                                          Bytes(8, 0)));
  return files;
}

TEST(Codecs, RefuseHugeSizesBeforeTheyAllocate) {
  for (const auto& [decode, bytes] : HugeClaims()) {
    ExpectFails(decode, bytes, Gdiplus::OutOfMemory);
  }
}

TEST(Codecs, KeepToTheDecodeLimitThatIsSet) {
  const ScopedDecodeLimit limit({.pixels = 100, .bytes = 1 << 20});
  for (const Codec& codec : Codecs()) {
    if (codec.encode == nullptr) continue;
    SCOPED_TRACE(codec.info.SigPattern[0]);
    Decode(codec.decode, Encode(codec.encode, *Noise(10, 10, PixelFormat24bppRGB)));
    ExpectFails(codec.decode, Encode(codec.encode, *Noise(101, 1, PixelFormat24bppRGB)),
                Gdiplus::OutOfMemory);
  }
  ExpectFails(DecodeJpeg, MakeJpeg({1, JCS_GRAYSCALE, JCS_GRAYSCALE, {9}}), Gdiplus::OutOfMemory);
}

}  // namespace
}  // namespace pixtola::portable
