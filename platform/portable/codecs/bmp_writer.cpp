// Writes BMP: a 40-byte header, uncompressed rows from the bottom up.
//
// Indexed and 24-bit bitmaps keep their depth; 16- and 32-bit ones become 32-bit BI_RGB, whose
// fourth byte readers ignore: it is the alpha of the formats that have one and 0 for the others.
// The format has no encoder parameters here; any that are given are ignored.
#include <algorithm>
#include <array>
#include <cstring>

#include "codecs/codec.h"
#include "codecs/resolution.h"
#include "imaging/color_rows.h"

namespace pixtola::portable {

namespace {

using Gdiplus::ARGB;
using Gdiplus::Status;

constexpr std::uint32_t kHeadersSize = 14 + 40;

void PutU16(std::uint8_t* at, std::uint32_t value) {
  at[0] = static_cast<std::uint8_t>(value);
  at[1] = static_cast<std::uint8_t>(value >> 8);
}

void PutU32(std::uint8_t* at, std::uint32_t value) {
  PutU16(at, value);
  PutU16(at + 2, value >> 16);
}

/// `row` has room for the padding, which stays as it is.
void ConvertRow(const BitmapObject& bitmap, std::uint32_t y, ARGB* argb, std::uint8_t* row) {
  if (argb == nullptr) {
    std::memcpy(row, bitmap.Row(y), bitmap.row_bytes());
    return;
  }
  RowToArgb(bitmap.Row(y), 0, bitmap.width(), bitmap.format(), bitmap.palette, argb);
  const bool has_alpha = (bitmap.format() & PixelFormatAlpha) != 0;
  const ARGB kept = has_alpha ? 0xFFFFFFFF : 0x00FFFFFF;
  for (std::uint32_t x = 0; x < bitmap.width(); ++x, row += 4) PutU32(row, argb[x] & kept);
}

}  // namespace

Status EncodeBmp(const BitmapObject& bitmap, const Gdiplus::EncoderParameters*, ByteSink& sink) {
  const bool is_copied = bitmap.is_indexed() || bitmap.format() == PixelFormat24bppRGB;
  const std::uint32_t bits = is_copied ? bitmap.bits_per_pixel() : 32;
  // There is always room for the full palette, black where the bitmap has a short one: a pixel
  // beyond its end is readable. The header says how many entries are used.
  const std::uint32_t colors = bitmap.is_indexed() ? 1U << bits : 0;
  const std::uint32_t own_colors = std::min<std::uint32_t>(colors, bitmap.palette.count);

  const std::uint64_t stride = (std::uint64_t{bitmap.width()} * bits + 31) / 32 * 4;
  const std::uint32_t pixels_at = kHeadersSize + 4 * colors;
  // The sizes in the headers have 32 bits.
  if (stride * bitmap.height() > 0xFFFFFFFF - pixels_at) return Gdiplus::GenericError;
  const auto pixels_size = static_cast<std::uint32_t>(stride * bitmap.height());

  const HeapBytes row = AllocateZeroedBytes(stride);
  const HeapBytes argb =
      is_copied ? nullptr : AllocateBytes(std::uint64_t{bitmap.width()} * sizeof(ARGB));
  if (row == nullptr || (!is_copied && argb == nullptr)) return Gdiplus::OutOfMemory;

  std::array<std::uint8_t, kHeadersSize + 4 * 256> headers{};
  headers[0] = 'B';
  headers[1] = 'M';
  PutU32(&headers[2], pixels_at + pixels_size);
  PutU32(&headers[10], pixels_at);
  PutU32(&headers[14], 40);
  PutU32(&headers[18], bitmap.width());
  PutU32(&headers[22], bitmap.height());
  PutU16(&headers[26], 1);
  PutU16(&headers[28], bits);
  PutU32(&headers[34], pixels_size);
  PutU32(&headers[38], PixelsPerMetre(bitmap.dpi_x));
  PutU32(&headers[42], PixelsPerMetre(bitmap.dpi_y));
  PutU32(&headers[46], own_colors);
  for (std::uint32_t i = 0; i < own_colors; ++i) {
    PutU32(&headers[kHeadersSize + 4 * i], bitmap.palette.entries[i] & 0x00FFFFFF);
  }
  if (!sink.Write(headers.data(), pixels_at)) return Gdiplus::Win32Error;

  for (std::uint32_t y = bitmap.height(); y-- > 0;) {
    ConvertRow(bitmap, y, reinterpret_cast<ARGB*>(argb.get()), row.get());
    if (!sink.Write(row.get(), stride)) return Gdiplus::Win32Error;
  }
  return Gdiplus::Ok;
}

}  // namespace pixtola::portable
