#include "convert/gray.h"

#include <algorithm>
#include <cstring>

#include "convert/conversion_arguments.h"
#include "format/gray_weights.h"
#include "format/pixel_format.h"

namespace pixtola {

namespace {

/// How many pixels of a source row become gray in a destination row of `destination_stride` bytes.
std::uint32_t ConvertedPixelsPerRow(std::uint32_t width, std::uint32_t source_stride,
                                    std::uint32_t source_bits_per_pixel,
                                    std::uint32_t destination_stride) {
  // Kept on purpose: 1- and 8-bit rows are converted padding and all, as far as both rows reach.
  if (source_bits_per_pixel == 1) {
    const std::uint64_t source_bits = std::uint64_t{source_stride} * 8;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(source_bits, destination_stride));
  }
  if (source_bits_per_pixel == 8) return std::min(source_stride, destination_stride);
  return width;
}

void GrayRow(const std::uint8_t* source, std::uint32_t count, std::uint32_t source_bits_per_pixel,
             const GrayLookup& lookup, std::uint8_t* gray) {
  switch (source_bits_per_pixel) {
    case 1:
      return GrayRowFrom1Bit(source, count, gray);
    case 8:
      return GrayRowFrom8Bit(source, count, lookup, gray);
    case 24:
      return GrayRowFrom24Bit(source, count, gray);
    default:
      return GrayRowFrom32Bit(source, count, gray);
  }
}

/// Whether the palette that the depth needs is there; fills the lookup from it.
bool PrepareLookup(std::uint32_t source_bits_per_pixel, const Gdiplus::ColorPalette* palette,
                   GrayLookup& lookup) {
  if (source_bits_per_pixel != 8) return true;
  if (palette == nullptr) return false;
  lookup = MakeGrayLookup(*palette);
  return true;
}

}  // namespace

GrayLookup MakeGrayLookup(const Gdiplus::ColorPalette& palette) {
  GrayLookup lookup{};
  const UINT count = std::min<UINT>(palette.Count, 256);
  const Gdiplus::ARGB* entries = palette.Entries;
  for (UINT i = 0; i < count; ++i) {
    const Gdiplus::ARGB color = entries[i];
    lookup[i] = GrayValue(static_cast<std::uint8_t>(color >> 16),
                          static_cast<std::uint8_t>(color >> 8), static_cast<std::uint8_t>(color));
  }
  return lookup;
}

void GrayRowFrom1Bit(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray) {
  for (std::uint32_t x = 0; x < count; ++x) {
    gray[x] = (source[x / 8] >> (7 - x % 8) & 1) != 0 ? 255 : 0;
  }
}

void GrayRowFrom8Bit(const std::uint8_t* source, std::uint32_t count, const GrayLookup& lookup,
                     std::uint8_t* gray) {
  for (std::uint32_t x = 0; x < count; ++x) gray[x] = lookup[source[x]];
}

void GrayRowFrom24Bit(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray) {
  for (std::uint32_t x = 0; x < count; ++x, source += 3) {
    gray[x] = GrayValue(source[2], source[1], source[0]);
  }
}

void GrayRowFrom32Bit(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray) {
  for (std::uint32_t x = 0; x < count; ++x, source += 4) {
    gray[x] = GrayValue(source[2], source[1], source[0]);
  }
}

void CountGrayLevels(const std::uint8_t* gray, std::uint64_t count, Histogram& histogram) {
  for (std::uint64_t i = 0; i < count; ++i) ++histogram[gray[i]];
}

int ConvertToGray(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                  std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                  std::uint8_t* destination, std::uint32_t destination_stride,
                  const Gdiplus::ColorPalette* palette) {
  if (!AreConversionArgumentsValid(source, width, height, source_stride, source_bits_per_pixel,
                                   destination, destination_stride, 8) ||
      !IsConvertibleDepth(source_bits_per_pixel)) {
    return 0;
  }
  GrayLookup lookup{};
  if (!PrepareLookup(source_bits_per_pixel, palette, lookup)) return 0;

  const std::uint32_t count =
      ConvertedPixelsPerRow(width, source_stride, source_bits_per_pixel, destination_stride);
  for (std::uint32_t y = 0; y < height; ++y) {
    const std::uint8_t* source_row = source + std::size_t{y} * source_stride;
    std::uint8_t* destination_row = destination + std::size_t{y} * destination_stride;
    GrayRow(source_row, count, source_bits_per_pixel, lookup, destination_row);
    std::memset(destination_row + count, 0, destination_stride - count);
  }
  return 1;
}

int ConvertToGrayWithHistogram(const std::uint8_t* source, std::uint32_t width,
                               std::uint32_t height, std::uint32_t source_stride,
                               std::uint32_t source_bits_per_pixel, std::uint8_t* gray,
                               Histogram* histogram, const Gdiplus::ColorPalette* palette) {
  if (histogram == nullptr || source == nullptr || gray == nullptr || width == 0 || height == 0 ||
      !IsValidStride(width, source_bits_per_pixel, source_stride) ||
      !IsConvertibleDepth(source_bits_per_pixel)) {
    return 0;
  }
  histogram->fill(0);
  GrayLookup lookup{};
  if (!PrepareLookup(source_bits_per_pixel, palette, lookup)) return 0;

  for (std::uint32_t y = 0; y < height; ++y) {
    const std::uint8_t* source_row = source + std::size_t{y} * source_stride;
    std::uint8_t* gray_row = gray + std::size_t{y} * width;
    GrayRow(source_row, width, source_bits_per_pixel, lookup, gray_row);
    CountGrayLevels(gray_row, width, *histogram);
  }
  return 1;
}

GrayImage MakeGrayImage(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                        std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                        const Gdiplus::ColorPalette* palette) {
  GrayImage image{Allocate<std::uint8_t>(std::uint64_t{width} * height), {}};
  if (image.pixels != nullptr &&
      ConvertToGrayWithHistogram(source, width, height, source_stride, source_bits_per_pixel,
                                 image.pixels.get(), &image.histogram, palette) == 0) {
    image.pixels = nullptr;
  }
  return image;
}

}  // namespace pixtola
