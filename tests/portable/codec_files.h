// What the tests of the codecs share: bitmaps to write, ways to read and compare, and files of each
// format made by hand.
#ifndef PIXTOLA_TESTS_PORTABLE_CODEC_FILES_H_
#define PIXTOLA_TESTS_PORTABLE_CODEC_FILES_H_

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "codecs/codec.h"
#include "codecs/jpeg_handles.h"
#include "codecs/png_handles.h"
#include "imaging/color_rows.h"
#include "shared/decode_limit.h"
#include "support/bytes.h"
#include "support/decode_limit_guard.h"
#include "support/memory_sink.h"

namespace pixtola::portable {

using Gdiplus::ARGB;
using Gdiplus::Status;
using test::Append;
using test::Bytes;
using test::MemorySink;
using BitmapPtr = std::unique_ptr<BitmapObject>;

inline constexpr ARGB kBlack = 0xFF000000;
inline constexpr ARGB kWhite = 0xFFFFFFFF;
inline constexpr ARGB kRed = 0xFFFF0000;
inline constexpr ARGB kGreen = 0xFF00FF00;
inline constexpr ARGB kBlue = 0xFF0000FF;

inline std::vector<ARGB> Pixels(const BitmapObject& bitmap) {
  std::vector<ARGB> pixels(std::size_t{bitmap.width()} * bitmap.height());
  for (std::uint32_t y = 0; y < bitmap.height(); ++y) {
    RowToArgb(bitmap.Row(y), 0, bitmap.width(), bitmap.format(), bitmap.palette,
              &pixels[std::size_t{bitmap.width()} * y]);
  }
  return pixels;
}

/// Random pixels, and random opaque colours when indexed.
inline BitmapPtr Noise(std::uint32_t width, std::uint32_t height, Gdiplus::PixelFormat format,
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

inline Bytes Encode(EncodeFunction encode, const BitmapObject& bitmap,
                    const Gdiplus::EncoderParameters* parameters = nullptr) {
  MemorySink sink;
  EXPECT_EQ(encode(bitmap, parameters, sink), Gdiplus::Ok);
  return sink.bytes();
}

/// The decoded bitmap, never null: a failure is reported and gives a bitmap of one pixel.
inline BitmapPtr Decode(DecodeFunction decode, const Bytes& bytes) {
  BitmapPtr bitmap;
  const Status status = decode(bytes, bitmap);
  EXPECT_EQ(status, Gdiplus::Ok);
  EXPECT_EQ(bitmap != nullptr, status == Gdiplus::Ok);
  return bitmap != nullptr ? std::move(bitmap) : BitmapObject::Create(1, 1, PixelFormat32bppARGB);
}

inline void ExpectFails(DecodeFunction decode, const Bytes& bytes, Status expected) {
  BitmapPtr bitmap = BitmapObject::Create(1, 1, PixelFormat32bppARGB);
  EXPECT_EQ(decode(bytes, bitmap), expected);
  EXPECT_EQ(bitmap, nullptr);
}

inline Bytes& Add(Bytes& bytes, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  return bytes;
}

/// The values' low bytes, `size` of each, least significant first.
inline Bytes Little(std::initializer_list<std::uint32_t> values, int size) {
  Bytes bytes;
  for (const std::uint32_t value : values) Add(bytes, value, size);
  return bytes;
}

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

inline Bytes MakeBmp(const BmpParts& parts) {
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

inline const Bytes& RedWhitePalette() {
  static const Bytes palette = Little({0xFF0000, 0xFFFFFF}, 4);
  return palette;
}

/// Four colours: red, white, green, blue.
inline Bytes FourColors() { return Little({0xFF0000, 0xFFFFFF, 0x00FF00, 0x0000FF}, 4); }

inline BmpParts Rle(std::uint32_t bits, Bytes pixels) {
  return {.width = 4,
          .height = 3,
          .bits = bits,
          .compression = bits == 8 ? 1U : 2U,
          .colors_used = 4,
          .after_header = FourColors(),
          .pixels = std::move(pixels)};
}

struct PngParts {
  int type;
  int depth;
  std::uint32_t width;
  Bytes rows;  ///< packed, all rows of one size
  std::vector<png_color> palette{};
  bool is_transparent = false;  ///< tRNS: sample 0 or palette entry 0
  int interlace = PNG_INTERLACE_NONE;
};

inline Bytes MakePng(PngParts parts) {
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

struct JpegParts {
  int samples;
  J_COLOR_SPACE samples_are;
  J_COLOR_SPACE file;
  JSAMPLE pixel[4];
  int unit = 0;
  bool is_progressive = false;
};

/// 24 x 16 pixels of one colour.
inline Bytes MakeJpeg(const JpegParts& parts) {
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

/// Where the segment of a JPEG with the marker FF, `kind` begins; the end when there is none before
/// the pixels.
inline std::size_t JpegSegment(const Bytes& file, int kind) {
  std::size_t at = 2;
  while (at + 4 <= file.size() && file[at] == 0xFF && file[at + 1] != kind) {
    at += 2 + (std::size_t{file[at + 2]} << 8 | file[at + 3]);
  }
  return std::min(at, file.size());
}

/// One tag of the first directory that EncodeTiff has written.
inline std::uint16_t TiffTag(const Bytes& file, std::uint32_t tag) {
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

/// A TIFF of 8-bit samples in one strip, made by hand: directory entries with short or long values.
inline Bytes MakeTiff(std::vector<std::array<std::uint32_t, 3>> tags, const Bytes& pixels) {
  Bytes file = {'I', 'I', 42, 0};
  Add(file, static_cast<std::uint32_t>(8 + pixels.size()), 4);
  file.insert(file.end(), pixels.begin(), pixels.end());
  Add(file, static_cast<std::uint32_t>(tags.size()), 2);
  for (const auto& [tag, type, value] : tags) {
    Add(Add(Add(Add(file, tag, 2), type, 2), 1, 4), value, 4);
  }
  return Add(file, 0, 4);
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_TESTS_PORTABLE_CODEC_FILES_H_
