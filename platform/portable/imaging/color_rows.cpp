#include "imaging/color_rows.h"

#include <algorithm>

#include "imaging/argb.h"
#include "imaging/indexed_rows.h"
#include "imaging/pixel_format.h"

namespace pixtola::portable {

namespace {

using Gdiplus::ARGB;

unsigned Load16(const BYTE* pixel) { return pixel[0] | pixel[1] << 8; }

void Store16(BYTE* pixel, unsigned value) {
  pixel[0] = static_cast<BYTE>(value);
  pixel[1] = static_cast<BYTE>(value >> 8);
}

ARGB Load32(const BYTE* pixel) { return MakeArgb(pixel[3], pixel[2], pixel[1], pixel[0]); }

void Store32(BYTE* pixel, ARGB color) {
  pixel[0] = static_cast<BYTE>(Blue(color));
  pixel[1] = static_cast<BYTE>(Green(color));
  pixel[2] = static_cast<BYTE>(Red(color));
  pixel[3] = static_cast<BYTE>(Alpha(color));
}

void Store24(BYTE* pixel, ARGB color) {
  pixel[0] = static_cast<BYTE>(Blue(color));
  pixel[1] = static_cast<BYTE>(Green(color));
  pixel[2] = static_cast<BYTE>(Red(color));
}

/// High bits are repeated in the low ones, so that the maximum stays the maximum.
constexpr unsigned Widen5(unsigned value) { return value << 3 | value >> 2; }
constexpr unsigned Widen6(unsigned value) { return value << 2 | value >> 4; }

ARGB Unpack555(unsigned value) {
  return MakeArgb(255, Widen5(value >> 10 & 0x1F), Widen5(value >> 5 & 0x1F), Widen5(value & 0x1F));
}

ARGB Unpack565(unsigned value) {
  return MakeArgb(255, Widen5(value >> 11 & 0x1F), Widen6(value >> 5 & 0x3F), Widen5(value & 0x1F));
}

ARGB Unpack1555(unsigned value) {
  const ARGB color = Unpack555(value);
  return (value & 0x8000) != 0 ? color : color & 0x00FFFFFFU;
}

constexpr unsigned Pack555(ARGB color) {
  return (Red(color) >> 3) << 10 | (Green(color) >> 3) << 5 | Blue(color) >> 3;
}

constexpr unsigned Pack565(ARGB color) {
  return (Red(color) >> 3) << 11 | (Green(color) >> 2) << 5 | Blue(color) >> 3;
}

constexpr unsigned Pack1555(ARGB color) {
  return Pack555(color) | (Alpha(color) >= 128 ? 0x8000U : 0U);
}

/// `load` makes an ARGB value of the bytes at a pixel.
template <typename Load>
void LoadPixels(const BYTE* pixel, unsigned pixel_bytes, std::uint32_t width, ARGB* argb,
                Load load) {
  for (std::uint32_t i = 0; i < width; ++i, pixel += pixel_bytes) argb[i] = load(pixel);
}

/// `store` puts an ARGB value to the bytes of a pixel.
template <typename Store>
void StorePixels(const ARGB* argb, std::uint32_t width, unsigned pixel_bytes, BYTE* pixel,
                 Store store) {
  for (std::uint32_t i = 0; i < width; ++i, pixel += pixel_bytes) store(pixel, argb[i]);
}

/// The linear formats are converted through a few colours at a time.
constexpr std::uint32_t kPieceWidth = 64;

void LinearRowToArgb(const BYTE* row, std::uint32_t x, std::uint32_t width,
                     Gdiplus::PixelFormat format, ARGB* argb) {
  LinearColor colors[kPieceWidth];
  for (std::uint32_t done = 0; done < width; done += kPieceWidth) {
    const std::uint32_t count = std::min(kPieceWidth, width - done);
    RowToLinear(row, x + done, count, format, colors);
    std::transform(colors, colors + count, argb + done, ArgbFromLinear);
  }
}

void ArgbToLinearRow(const ARGB* argb, std::uint32_t width, Gdiplus::PixelFormat format, BYTE* row,
                     std::uint32_t x) {
  LinearColor colors[kPieceWidth];
  for (std::uint32_t done = 0; done < width; done += kPieceWidth) {
    const std::uint32_t count = std::min(kPieceWidth, width - done);
    std::transform(argb + done, argb + done + count, colors, LinearFromArgb);
    LinearToRow(colors, count, format, row, x + done);
  }
}

std::uint16_t LoadLinear(const BYTE* channel) {
  return static_cast<std::uint16_t>(std::min(kLinearOne, Load16(channel)));
}

/// Rounds value * alpha to the nearest.
std::uint16_t PremultipliedLinear(unsigned value, unsigned alpha) {
  return static_cast<std::uint16_t>((value * alpha + kLinearOne / 2) / kLinearOne);
}

/// The reverse; a transparent pixel keeps its colour.
std::uint16_t UnpremultipliedLinear(unsigned value, unsigned alpha) {
  if (alpha == 0) return static_cast<std::uint16_t>(value);
  return static_cast<std::uint16_t>(
      std::min(kLinearOne, (value * kLinearOne * 2 + alpha) / (alpha * 2)));
}

}  // namespace

void RowToArgb(const BYTE* row, std::uint32_t x, std::uint32_t width, Gdiplus::PixelFormat format,
               const Palette& palette, ARGB* argb) {
  const unsigned bits = BitsPerPixel(format);
  const unsigned bytes = bits / 8;
  const BYTE* pixel = row + std::size_t{x} * bytes;  // not used below 8 bits
  switch (format) {
    case PixelFormat24bppRGB:
      LoadPixels(pixel, bytes, width, argb,
                 [](const BYTE* bgr) { return MakeArgb(255, bgr[2], bgr[1], bgr[0]); });
      break;
    case PixelFormat32bppRGB:
      LoadPixels(pixel, bytes, width, argb, [](const BYTE* bgrx) { return Opaque(Load32(bgrx)); });
      break;
    case PixelFormat32bppARGB:
      LoadPixels(pixel, bytes, width, argb, Load32);
      break;
    case PixelFormat32bppPARGB:
      LoadPixels(pixel, bytes, width, argb,
                 [](const BYTE* bgra) { return Unpremultiply(Load32(bgra)); });
      break;
    case PixelFormat16bppRGB555:
      LoadPixels(pixel, bytes, width, argb,
                 [](const BYTE* word) { return Unpack555(Load16(word)); });
      break;
    case PixelFormat16bppRGB565:
      LoadPixels(pixel, bytes, width, argb,
                 [](const BYTE* word) { return Unpack565(Load16(word)); });
      break;
    case PixelFormat16bppARGB1555:
      LoadPixels(pixel, bytes, width, argb,
                 [](const BYTE* word) { return Unpack1555(Load16(word)); });
      break;
    case PixelFormat48bppRGB:
    case PixelFormat64bppARGB:
    case PixelFormat64bppPARGB:
      LinearRowToArgb(row, x, width, format, argb);
      break;
    default:
      for (std::uint32_t i = 0; i < width; ++i) {
        argb[i] = palette.ColorOf(ReadIndex(row, x + i, bits));
      }
      break;
  }
}

void ArgbToRow(const ARGB* argb, std::uint32_t width, Gdiplus::PixelFormat format, BYTE* row,
               std::uint32_t x) {
  const unsigned bytes = BitsPerPixel(format) / 8;
  BYTE* pixel = row + std::size_t{x} * bytes;
  switch (format) {
    case PixelFormat24bppRGB:
      StorePixels(argb, width, bytes, pixel, Store24);
      break;
    case PixelFormat32bppRGB:
      StorePixels(argb, width, bytes, pixel,
                  [](BYTE* bgrx, ARGB color) { Store32(bgrx, Opaque(color)); });
      break;
    case PixelFormat32bppARGB:
      StorePixels(argb, width, bytes, pixel, Store32);
      break;
    case PixelFormat32bppPARGB:
      StorePixels(argb, width, bytes, pixel,
                  [](BYTE* bgra, ARGB color) { Store32(bgra, Premultiply(color)); });
      break;
    case PixelFormat16bppRGB555:
      StorePixels(argb, width, bytes, pixel,
                  [](BYTE* word, ARGB color) { Store16(word, Pack555(color)); });
      break;
    case PixelFormat16bppRGB565:
      StorePixels(argb, width, bytes, pixel,
                  [](BYTE* word, ARGB color) { Store16(word, Pack565(color)); });
      break;
    case PixelFormat16bppARGB1555:
      StorePixels(argb, width, bytes, pixel,
                  [](BYTE* word, ARGB color) { Store16(word, Pack1555(color)); });
      break;
    default:
      ArgbToLinearRow(argb, width, format, row, x);
      break;
  }
}

void ArgbToIndexes(const ARGB* argb, std::uint32_t width, unsigned bits, NearestColor& nearest,
                   BYTE* row, std::uint32_t x) {
  unsigned index = 0;
  for (std::uint32_t i = 0; i < width; ++i) {
    // Neighbours are often equal.
    if (i == 0 || argb[i] != argb[i - 1]) index = nearest.IndexOf(argb[i]);
    WriteIndex(row, x + i, bits, index);
  }
}

void RowToLinear(const BYTE* row, std::uint32_t x, std::uint32_t width, Gdiplus::PixelFormat format,
                 LinearColor* colors) {
  const unsigned bytes = BitsPerPixel(format) / 8;
  const BYTE* pixel = row + std::size_t{x} * bytes;
  for (std::uint32_t i = 0; i < width; ++i, pixel += bytes) {
    LinearColor color = {LoadLinear(pixel), LoadLinear(pixel + 2), LoadLinear(pixel + 4),
                         kLinearOne};
    if (format != PixelFormat48bppRGB) color.alpha = LoadLinear(pixel + 6);
    if (format == PixelFormat64bppPARGB) {
      color.blue = UnpremultipliedLinear(color.blue, color.alpha);
      color.green = UnpremultipliedLinear(color.green, color.alpha);
      color.red = UnpremultipliedLinear(color.red, color.alpha);
    }
    colors[i] = color;
  }
}

void LinearToRow(const LinearColor* colors, std::uint32_t width, Gdiplus::PixelFormat format,
                 BYTE* row, std::uint32_t x) {
  const unsigned bytes = BitsPerPixel(format) / 8;
  BYTE* pixel = row + std::size_t{x} * bytes;
  for (std::uint32_t i = 0; i < width; ++i, pixel += bytes) {
    LinearColor color = colors[i];
    if (format == PixelFormat64bppPARGB) {
      color.blue = PremultipliedLinear(color.blue, color.alpha);
      color.green = PremultipliedLinear(color.green, color.alpha);
      color.red = PremultipliedLinear(color.red, color.alpha);
    }
    Store16(pixel, color.blue);
    Store16(pixel + 2, color.green);
    Store16(pixel + 4, color.red);
    if (format != PixelFormat48bppRGB) Store16(pixel + 6, color.alpha);
  }
}

}  // namespace pixtola::portable
