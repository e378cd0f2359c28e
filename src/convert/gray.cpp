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

void GrayRow(const GrayKernels& kernels, const std::uint8_t* source, std::uint32_t count,
             std::uint32_t source_bits_per_pixel, const GrayLookup& lookup, std::uint8_t* gray) {
  switch (source_bits_per_pixel) {
    case 1:
      return kernels.row_from_1_bit(source, count, gray);
    case 8:
      return kernels.row_from_8_bit(source, count, lookup, gray);
    case 24:
      return kernels.row_from_24_bit(source, count, gray);
    default:
      return kernels.row_from_32_bit(source, count, gray);
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
  const GrayKernels& kernels = BestGrayKernels();
  for (std::uint32_t y = 0; y < height; ++y) {
    const std::uint8_t* source_row = source + std::size_t{y} * source_stride;
    std::uint8_t* destination_row = destination + std::size_t{y} * destination_stride;
    GrayRow(kernels, source_row, count, source_bits_per_pixel, lookup, destination_row);
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

  const GrayKernels& kernels = BestGrayKernels();
  for (std::uint32_t y = 0; y < height; ++y) {
    GrayRow(kernels, source + std::size_t{y} * source_stride, width, source_bits_per_pixel, lookup,
            gray + std::size_t{y} * width);
  }
  kernels.count_levels(gray, width, height, width, *histogram);
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
