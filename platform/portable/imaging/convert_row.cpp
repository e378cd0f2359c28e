#include "imaging/convert_row.h"

#include <algorithm>
#include <cstring>

namespace pixtola::portable {

namespace {

using Gdiplus::ARGB;

constexpr unsigned Alpha(ARGB color) { return color >> 24; }
constexpr unsigned Red(ARGB color) { return color >> 16 & 0xFF; }
constexpr unsigned Green(ARGB color) { return color >> 8 & 0xFF; }
constexpr unsigned Blue(ARGB color) { return color & 0xFF; }
constexpr ARGB MakeArgb(unsigned alpha, unsigned red, unsigned green, unsigned blue) {
  return alpha << 24 | red << 16 | green << 8 | blue;
}

/// Index of pixel `x` in a row of 1, 4 or 8 bits a pixel.
unsigned ReadIndex(const BYTE* row, std::uint32_t x, unsigned bits) {
  if (bits == 8) return row[x];
  if (bits == 4) return row[x / 2] >> (x % 2 == 0 ? 4 : 0) & 0xF;
  return row[x / 8] >> (7 - x % 8) & 1;
}

void WriteIndex(BYTE* row, std::uint32_t x, unsigned bits, unsigned index) {
  if (bits == 8) {
    row[x] = static_cast<BYTE>(index);
    return;
  }
  const std::uint32_t pixels_per_byte = 8 / bits;
  const unsigned shift = (pixels_per_byte - 1 - x % pixels_per_byte) * bits;
  const unsigned mask = ((1U << bits) - 1) << shift;
  BYTE& byte = row[x / pixels_per_byte];
  byte = static_cast<BYTE>((byte & ~mask) | (index << shift & mask));
}

ARGB PaletteColor(const Palette& palette, unsigned index) {
  // Pixels beyond the palette are a damaged image's; opaque black is what they show.
  return index < palette.count ? palette.entries[index] : 0xFF000000U;
}

/// The entry nearest in RGB, the first of equals.
unsigned NearestIndex(const Palette& palette, unsigned usable, ARGB color) {
  unsigned best = 0;
  unsigned best_distance = ~0U;
  for (unsigned i = 0; i < usable; ++i) {
    const ARGB entry = palette.entries[i];
    const int red = static_cast<int>(Red(entry)) - static_cast<int>(Red(color));
    const int green = static_cast<int>(Green(entry)) - static_cast<int>(Green(color));
    const int blue = static_cast<int>(Blue(entry)) - static_cast<int>(Blue(color));
    const auto distance = static_cast<unsigned>(red * red + green * green + blue * blue);
    if (distance < best_distance) {
      best_distance = distance;
      best = i;
    }
  }
  return best;
}

void ArgbToIndexes(const ARGB* argb, std::uint32_t width, unsigned bits, const Palette& palette,
                   BYTE* row, std::uint32_t x) {
  const unsigned usable = std::min(palette.count, 1U << bits);
  ARGB last_color = 0;
  unsigned last_index = NearestIndex(palette, usable, last_color);
  for (std::uint32_t i = 0; i < width; ++i) {
    if (argb[i] != last_color) {  // neighbours are often equal
      last_color = argb[i];
      last_index = NearestIndex(palette, usable, last_color);
    }
    WriteIndex(row, x + i, bits, last_index);
  }
}

unsigned Load16(const BYTE* pixel) { return pixel[0] | pixel[1] << 8; }

void Store16(BYTE* pixel, unsigned value) {
  pixel[0] = static_cast<BYTE>(value);
  pixel[1] = static_cast<BYTE>(value >> 8);
}

/// High bits repeated below, so that full stays full.
constexpr unsigned Widen5(unsigned value) { return (value & 31) << 3 | (value & 31) >> 2; }
constexpr unsigned Widen6(unsigned value) { return (value & 63) << 2 | (value & 63) >> 4; }

ARGB Argb16(unsigned value, Gdiplus::PixelFormat format) {
  if (format == PixelFormat16bppRGB565) {
    return MakeArgb(255, Widen5(value >> 11), Widen6(value >> 5), Widen5(value));
  }
  const bool is_clear = format == PixelFormat16bppARGB1555 && (value & 0x8000) == 0;
  return MakeArgb(is_clear ? 0 : 255, Widen5(value >> 10), Widen5(value >> 5), Widen5(value));
}

unsigned Pack16(ARGB color, Gdiplus::PixelFormat format) {
  if (format == PixelFormat16bppRGB565) {
    return (Red(color) >> 3) << 11 | (Green(color) >> 2) << 5 | Blue(color) >> 3;
  }
  const unsigned rgb = (Red(color) >> 3) << 10 | (Green(color) >> 3) << 5 | Blue(color) >> 3;
  const bool sets_alpha = format == PixelFormat16bppARGB1555 && Alpha(color) >= 128;
  return sets_alpha ? rgb | 0x8000 : rgb;
}

/// Rounds value * alpha / 255 to the nearest.
constexpr unsigned Premultiplied(unsigned value, unsigned alpha) {
  return (value * alpha + 127) / 255;
}

ARGB Premultiply(ARGB color) {
  const unsigned alpha = Alpha(color);
  return MakeArgb(alpha, Premultiplied(Red(color), alpha), Premultiplied(Green(color), alpha),
                  Premultiplied(Blue(color), alpha));
}

/// The platform divides by way of a truncated reciprocal; a clear pixel keeps its colour.
ARGB Unpremultiply(ARGB color) {
  const unsigned alpha = Alpha(color);
  if (alpha == 0 || alpha == 255) return color;
  const unsigned reciprocal = 0xFF0000U / alpha;
  const auto divide = [reciprocal](unsigned value) {
    return std::min(255U, value * reciprocal >> 16);
  };
  return MakeArgb(alpha, divide(Red(color)), divide(Green(color)), divide(Blue(color)));
}

ARGB Load32(const BYTE* pixel) { return MakeArgb(pixel[3], pixel[2], pixel[1], pixel[0]); }

void Store32(BYTE* pixel, ARGB color) {
  pixel[0] = static_cast<BYTE>(Blue(color));
  pixel[1] = static_cast<BYTE>(Green(color));
  pixel[2] = static_cast<BYTE>(Red(color));
  pixel[3] = static_cast<BYTE>(Alpha(color));
}

}  // namespace

bool IsBitmapFormat(Gdiplus::PixelFormat format) {
  switch (format) {
    case PixelFormat1bppIndexed:
    case PixelFormat4bppIndexed:
    case PixelFormat8bppIndexed:
    case PixelFormat16bppRGB555:
    case PixelFormat16bppRGB565:
    case PixelFormat16bppARGB1555:
    case PixelFormat24bppRGB:
    case PixelFormat32bppRGB:
    case PixelFormat32bppARGB:
    case PixelFormat32bppPARGB:
      return true;
    default:
      return false;
  }
}

void RowToArgb(const BYTE* row, std::uint32_t x, std::uint32_t width, Gdiplus::PixelFormat format,
               const Palette& palette, ARGB* argb) {
  const unsigned bits = BitsPerPixel(format);
  const BYTE* pixel = row + std::size_t{x} * bits / 8;  // whole bytes from 8 bits on
  for (std::uint32_t i = 0; i < width; ++i, pixel += bits / 8) {
    switch (format) {
      case PixelFormat24bppRGB:
        argb[i] = MakeArgb(255, pixel[2], pixel[1], pixel[0]);
        break;
      case PixelFormat32bppRGB:
        argb[i] = Load32(pixel) | 0xFF000000U;
        break;
      case PixelFormat32bppARGB:
        argb[i] = Load32(pixel);
        break;
      case PixelFormat32bppPARGB:
        argb[i] = Unpremultiply(Load32(pixel));
        break;
      case PixelFormat16bppRGB555:
      case PixelFormat16bppRGB565:
      case PixelFormat16bppARGB1555:
        argb[i] = Argb16(Load16(pixel), format);
        break;
      default:
        argb[i] = PaletteColor(palette, ReadIndex(row, x + i, bits));
        break;
    }
  }
}

void ArgbToRow(const ARGB* argb, std::uint32_t width, Gdiplus::PixelFormat format,
               const Palette& palette, BYTE* row, std::uint32_t x) {
  const unsigned bits = BitsPerPixel(format);
  if ((format & PixelFormatIndexed) != 0) {
    ArgbToIndexes(argb, width, bits, palette, row, x);
    return;
  }
  BYTE* pixel = row + std::size_t{x} * bits / 8;
  for (std::uint32_t i = 0; i < width; ++i, pixel += bits / 8) {
    switch (format) {
      case PixelFormat24bppRGB:
        pixel[0] = static_cast<BYTE>(Blue(argb[i]));
        pixel[1] = static_cast<BYTE>(Green(argb[i]));
        pixel[2] = static_cast<BYTE>(Red(argb[i]));
        break;
      case PixelFormat32bppRGB:
        Store32(pixel, argb[i] | 0xFF000000U);
        break;
      case PixelFormat32bppARGB:
        Store32(pixel, argb[i]);
        break;
      case PixelFormat32bppPARGB:
        Store32(pixel, Premultiply(argb[i]));
        break;
      default:
        Store16(pixel, Pack16(argb[i], format));
        break;
    }
  }
}

unsigned HighestIndex(const BitmapObject& bitmap) {
  const unsigned bits = bitmap.bits_per_pixel();
  const unsigned last = (1U << bits) - 1;
  unsigned highest = 0;
  for (std::uint32_t y = 0; y < bitmap.height() && highest < last; ++y) {
    const BYTE* row = bitmap.Row(y);
    for (std::uint32_t x = 0; x < bitmap.width(); ++x) {
      highest = std::max(highest, ReadIndex(row, x, bits));
    }
  }
  return highest;
}

void CopyPixels(const BYTE* source, std::uint32_t source_x, BYTE* destination,
                std::uint32_t destination_x, std::uint32_t width, unsigned bits_per_pixel) {
  const std::uint64_t source_bit = std::uint64_t{source_x} * bits_per_pixel;
  const std::uint64_t destination_bit = std::uint64_t{destination_x} * bits_per_pixel;
  std::uint32_t copied = 0;
  if (source_bit % 8 == 0 && destination_bit % 8 == 0) {
    const std::uint64_t whole_bytes = std::uint64_t{width} * bits_per_pixel / 8;
    std::memcpy(destination + destination_bit / 8, source + source_bit / 8, whole_bytes);
    copied = static_cast<std::uint32_t>(whole_bytes * 8 / bits_per_pixel);
  }
  // The pixels of a byte that other pixels share, or all when the rows are shifted by part of a
  // byte.
  for (std::uint32_t i = copied; i < width; ++i) {
    WriteIndex(destination, destination_x + i, bits_per_pixel,
               ReadIndex(source, source_x + i, bits_per_pixel));
  }
}

}  // namespace pixtola::portable
