// The plain definition of the conversions of pixels, see the header. Every rule is spelled out
// once, in the simplest form that is exact.
#include "support/reference_pixels.h"

#include <algorithm>
#include <cmath>

namespace pixtola::test {
namespace {

constexpr unsigned kOne = 0x2000;  // 1.0 in the channels of 48 and 64 bits

// Straight channels from 0 to 255.
struct Color {
  unsigned alpha, red, green, blue;
};

// Straight channels of linear light from 0 to kOne.
struct Light {
  unsigned alpha, red, green, blue;
};

unsigned BitsFrom(Pixel pixel, unsigned lowest, unsigned count) {
  return static_cast<unsigned>(pixel >> lowest & ((Pixel{1} << count) - 1));
}

Pixel Joined(unsigned alpha, unsigned red, unsigned green, unsigned blue, unsigned bits) {
  return Pixel{alpha} << (3 * bits) | Pixel{red} << (2 * bits) | Pixel{green} << bits | blue;
}

unsigned Rounded(double value) { return static_cast<unsigned>(std::floor(value + 0.5)); }

unsigned Widened5(unsigned value) { return value << 3 | value >> 2; }
unsigned Widened6(unsigned value) { return value << 2 | value >> 4; }

double SrgbToLinear(double value) {
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double LinearToSrgb(double value) {
  return value <= 0.0031308 ? value * 12.92 : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
}

unsigned LightOfLevel(unsigned level) { return Rounded(kOne * SrgbToLinear(level / 255.0)); }
unsigned LevelOfLight(unsigned light) {
  return Rounded(255 * LinearToSrgb(static_cast<double>(light) / kOne));
}

Light LightOf(const Color& color) {
  return {Rounded(color.alpha * double{kOne} / 255), LightOfLevel(color.red),
          LightOfLevel(color.green), LightOfLevel(color.blue)};
}

Color ColorOf(const Light& light) {
  return {Rounded(light.alpha * 255.0 / kOne), LevelOfLight(light.red), LevelOfLight(light.green),
          LevelOfLight(light.blue)};
}

Color ColorOfEntry(std::uint32_t entry) {
  return {BitsFrom(entry, 24, 8), BitsFrom(entry, 16, 8), BitsFrom(entry, 8, 8),
          BitsFrom(entry, 0, 8)};
}

unsigned Multiplied(unsigned channel, unsigned alpha) { return Rounded(channel * alpha / 255.0); }

// The factor loses its fraction before it is used.
unsigned Divided(unsigned channel, unsigned alpha) {
  if (alpha == 0) return channel;
  return std::min(255U, (channel * (0xFF0000U / alpha)) >> 16);
}

unsigned MultipliedLight(unsigned channel, unsigned alpha) {
  return Rounded(static_cast<double>(channel) * alpha / kOne);
}

unsigned DividedLight(unsigned channel, unsigned alpha) {
  if (alpha == 0) return channel;
  return std::min(kOne, Rounded(static_cast<double>(channel) * kOne / alpha));
}

Light DecodeLight(Pixel pixel, Gdiplus::PixelFormat format) {
  const auto channel = [pixel](unsigned index) {
    return std::min(kOne, BitsFrom(pixel, 16 * index, 16));
  };
  Light light{channel(3), channel(2), channel(1), channel(0)};
  if (format == PixelFormat48bppRGB) light.alpha = kOne;
  if (format == PixelFormat64bppPARGB) {
    light.red = DividedLight(light.red, light.alpha);
    light.green = DividedLight(light.green, light.alpha);
    light.blue = DividedLight(light.blue, light.alpha);
  }
  return light;
}

Pixel EncodeLight(Light light, Gdiplus::PixelFormat format) {
  if (format == PixelFormat48bppRGB) light.alpha = 0;  // there is no place for it
  if (format == PixelFormat64bppPARGB) {
    light.red = MultipliedLight(light.red, light.alpha);
    light.green = MultipliedLight(light.green, light.alpha);
    light.blue = MultipliedLight(light.blue, light.alpha);
  }
  return Joined(light.alpha, light.red, light.green, light.blue, 16);
}

Color Decode(Pixel pixel, Gdiplus::PixelFormat format, const Palette& palette) {
  if (HasIndexes(format)) {
    return ColorOfEntry(pixel < palette.size() ? palette[static_cast<std::size_t>(pixel)]
                                               : 0xFF000000U);
  }
  if (IsDeep(format)) return ColorOf(DecodeLight(pixel, format));
  Color color{BitsFrom(pixel, 24, 8), BitsFrom(pixel, 16, 8), BitsFrom(pixel, 8, 8),
              BitsFrom(pixel, 0, 8)};
  switch (format) {
    case PixelFormat16bppRGB555:
    case PixelFormat16bppARGB1555: {
      const bool opaque = format == PixelFormat16bppRGB555 || BitsFrom(pixel, 15, 1) != 0;
      return {opaque ? 255U : 0U, Widened5(BitsFrom(pixel, 10, 5)), Widened5(BitsFrom(pixel, 5, 5)),
              Widened5(BitsFrom(pixel, 0, 5))};
    }
    case PixelFormat16bppRGB565:
      return {255, Widened5(BitsFrom(pixel, 11, 5)), Widened6(BitsFrom(pixel, 5, 6)),
              Widened5(BitsFrom(pixel, 0, 5))};
    case PixelFormat24bppRGB:
    case PixelFormat32bppRGB:
      color.alpha = 255;
      return color;
    case PixelFormat32bppPARGB:
      return {color.alpha, Divided(color.red, color.alpha), Divided(color.green, color.alpha),
              Divided(color.blue, color.alpha)};
    default:
      return color;
  }
}

Pixel Encode(const Color& color, Gdiplus::PixelFormat format, const Palette& palette) {
  const auto [alpha, red, green, blue] = color;
  if (HasIndexes(format)) {
    return NearestEntry(static_cast<std::uint32_t>(Joined(0, red, green, blue, 8)), format,
                        palette);
  }
  if (IsDeep(format)) return EncodeLight(LightOf(color), format);
  switch (format) {
    case PixelFormat16bppRGB555:
    case PixelFormat16bppARGB1555: {
      const bool opaque = format == PixelFormat16bppARGB1555 && alpha >= 128;
      return Joined(opaque ? 1 : 0, red >> 3, green >> 3, blue >> 3, 5);
    }
    case PixelFormat16bppRGB565:
      return Pixel{red >> 3} << 11 | Pixel{green >> 2} << 5 | blue >> 3;
    case PixelFormat24bppRGB:
      return Joined(0, red, green, blue, 8);
    case PixelFormat32bppRGB:
      return Joined(255, red, green, blue, 8);
    case PixelFormat32bppPARGB:
      return Joined(alpha, Multiplied(red, alpha), Multiplied(green, alpha),
                    Multiplied(blue, alpha), 8);
    default:
      return Joined(alpha, red, green, blue, 8);
  }
}

}  // namespace

const char* NameOf(Gdiplus::PixelFormat format) {
  switch (format) {
    case PixelFormat1bppIndexed:
      return "1Indexed";
    case PixelFormat4bppIndexed:
      return "4Indexed";
    case PixelFormat8bppIndexed:
      return "8Indexed";
    case PixelFormat16bppRGB555:
      return "16RGB555";
    case PixelFormat16bppRGB565:
      return "16RGB565";
    case PixelFormat16bppARGB1555:
      return "16ARGB1555";
    case PixelFormat24bppRGB:
      return "24RGB";
    case PixelFormat32bppRGB:
      return "32RGB";
    case PixelFormat32bppARGB:
      return "32ARGB";
    case PixelFormat32bppPARGB:
      return "32PARGB";
    case PixelFormat48bppRGB:
      return "48RGB";
    case PixelFormat64bppARGB:
      return "64ARGB";
    case PixelFormat64bppPARGB:
      return "64PARGB";
    default:
      return "Other";
  }
}

unsigned BitsOfPixel(Gdiplus::PixelFormat format) {
  switch (format) {
    case PixelFormat1bppIndexed:
      return 1;
    case PixelFormat4bppIndexed:
      return 4;
    case PixelFormat8bppIndexed:
      return 8;
    case PixelFormat24bppRGB:
      return 24;
    case PixelFormat32bppRGB:
    case PixelFormat32bppARGB:
    case PixelFormat32bppPARGB:
      return 32;
    case PixelFormat48bppRGB:
      return 48;
    case PixelFormat64bppARGB:
    case PixelFormat64bppPARGB:
      return 64;
    default:
      return 16;
  }
}

bool HasIndexes(Gdiplus::PixelFormat format) { return BitsOfPixel(format) <= 8; }

bool IsDeep(Gdiplus::PixelFormat format) { return BitsOfPixel(format) >= 48; }

std::size_t RowBytes(Gdiplus::PixelFormat format, std::size_t width) {
  return (width * BitsOfPixel(format) + 7) / 8;
}

Pixel PixelAt(const std::uint8_t* row, std::size_t x, Gdiplus::PixelFormat format) {
  const unsigned bits = BitsOfPixel(format);
  if (bits < 8) {
    const std::size_t per_byte = 8 / bits;
    const unsigned shift = static_cast<unsigned>(per_byte - 1 - x % per_byte) * bits;
    return BitsFrom(row[x / per_byte], shift, bits);
  }
  const std::size_t bytes = bits / 8;
  Pixel pixel = 0;
  for (std::size_t i = bytes; i-- > 0;) pixel = pixel << 8 | row[x * bytes + i];
  return pixel;
}

void SetPixel(std::uint8_t* row, std::size_t x, Gdiplus::PixelFormat format, Pixel pixel) {
  const unsigned bits = BitsOfPixel(format);
  if (bits < 8) {
    const std::size_t per_byte = 8 / bits;
    const unsigned shift = static_cast<unsigned>(per_byte - 1 - x % per_byte) * bits;
    const unsigned mask = ((1U << bits) - 1) << shift;
    std::uint8_t& byte = row[x / per_byte];
    byte = static_cast<std::uint8_t>((byte & ~mask) | (static_cast<unsigned>(pixel) << shift));
    return;
  }
  const std::size_t bytes = bits / 8;
  for (std::size_t i = 0; i < bytes; ++i) {
    row[x * bytes + i] = static_cast<std::uint8_t>(pixel >> (8 * i) & 0xFF);
  }
}

Palette DefaultPalette(Gdiplus::PixelFormat format) {
  if (format == PixelFormat1bppIndexed) return {0xFF000000, 0xFFFFFFFF};
  Palette palette;
  if (!HasIndexes(format)) return palette;
  palette = {0xFF000000, 0xFF800000, 0xFF008000, 0xFF808000, 0xFF000080, 0xFF800080,
             0xFF008080, 0xFF808080, 0xFFC0C0C0, 0xFFFF0000, 0xFF00FF00, 0xFFFFFF00,
             0xFF0000FF, 0xFFFF00FF, 0xFF00FFFF, 0xFFFFFFFF};
  if (format == PixelFormat4bppIndexed) return palette;
  palette.resize(40, 0);  // 24 transparent entries before the cube
  for (std::uint32_t red = 0; red < 6; ++red) {
    for (std::uint32_t green = 0; green < 6; ++green) {
      for (std::uint32_t blue = 0; blue < 6; ++blue) {
        palette.push_back(0xFF000000U | red * 0x330000U | green * 0x3300U | blue * 0x33U);
      }
    }
  }
  return palette;
}

unsigned NearestEntry(std::uint32_t rgb, Gdiplus::PixelFormat format, const Palette& palette) {
  const Color wanted = ColorOfEntry(rgb);
  const auto distance = [&wanted](std::uint32_t entry) {
    const auto square = [](unsigned a, unsigned b) {
      const int difference = static_cast<int>(a) - static_cast<int>(b);
      return difference * difference;
    };
    const Color color = ColorOfEntry(entry);
    return square(color.red, wanted.red) + square(color.green, wanted.green) +
           square(color.blue, wanted.blue);
  };
  const std::size_t count =
      std::min<std::size_t>(palette.size(), std::size_t{1} << BitsOfPixel(format));
  std::size_t best = 0;
  for (std::size_t i = 1; i < count; ++i) {
    if (distance(palette[i]) < distance(palette[best])) best = i;
  }
  return static_cast<unsigned>(best);
}

Pixel ConvertPixel(Pixel pixel, Gdiplus::PixelFormat from, const Palette& from_palette,
                   Gdiplus::PixelFormat to, const Palette& to_palette) {
  if (from == to) return pixel;
  if (IsDeep(from) && IsDeep(to)) return EncodeLight(DecodeLight(pixel, from), to);
  return Encode(Decode(pixel, from, from_palette), to, to_palette);
}

Bytes ConvertPixels(const Bytes& row, std::size_t x, std::size_t width, Gdiplus::PixelFormat from,
                    const Palette& from_palette, Gdiplus::PixelFormat to,
                    const Palette& to_palette) {
  Bytes result(RowBytes(to, width), 0);
  for (std::size_t i = 0; i < width; ++i) {
    SetPixel(result.data(), i, to,
             ConvertPixel(PixelAt(row.data(), x + i, from), from, from_palette, to, to_palette));
  }
  return result;
}

}  // namespace pixtola::test
