#include "convert/pixels/gray/gray_rows.h"

#include <algorithm>

#include "base/memory.h"
#include "format/gray_weights.h"
#include "format/pixel_format.h"

namespace pixtola {

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

GrayRows::GrayRows(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
                   std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
                   const Gdiplus::ColorPalette* palette)
    : source_(source),
      width_(width),
      height_(height),
      stride_(source_stride),
      bits_per_pixel_(source_bits_per_pixel),
      is_valid_(IsConvertibleDepth(source_bits_per_pixel) &&
                (source_bits_per_pixel != 8 || palette != nullptr)),
      kernels_(BestGrayKernels()) {
  if (is_valid_ && bits_per_pixel_ == 8) lookup_ = MakeGrayLookup(*palette);
}

void GrayRows::ConvertRow(std::uint32_t y, std::uint32_t count, std::uint8_t* gray) const {
  const std::uint8_t* row = SourceRow(y);
  switch (bits_per_pixel_) {
    case 1:
      return kernels_.row_from_1_bit(row, count, gray);
    case 8:
      return kernels_.row_from_8_bit(row, count, lookup_, gray);
    case 24:
      return kernels_.row_from_24_bit(row, count, gray);
    default:
      return kernels_.row_from_32_bit(row, count, gray);
  }
}

void GrayRows::Read(std::uint32_t first_row, std::uint32_t row_count, std::uint8_t* gray,
                    std::size_t gray_stride) const {
  for (std::uint32_t i = 0; i < row_count; ++i) {
    ConvertRow(first_row + i, width_, gray + i * gray_stride);
  }
}

std::optional<std::uint8_t> GrayRows::FirstValueFrom(std::uint8_t level) const {
  if (bits_per_pixel_ != 8) return std::nullopt;
  const auto is_from_level = [level](std::uint8_t gray) { return gray >= level; };
  const auto first = std::find_if(lookup_.begin(), lookup_.end(), is_from_level);
  if (first == lookup_.end() || !std::all_of(first, lookup_.end(), is_from_level)) {
    return std::nullopt;
  }
  return static_cast<std::uint8_t>(first - lookup_.begin());
}

Histogram GrayRows::CountIndexedLevels() const {
  LevelCounter counter(size());
  for (std::uint32_t y = 0; y < height_; ++y) counter.Add(SourceRow(y), width_);
  const Histogram values = counter.Total();
  Histogram levels{};
  for (std::uint32_t value = 0; value < 256; ++value) levels[lookup_[value]] += values[value];
  return levels;
}

void GrayRows::ConvertToGrayWithHistogram(std::uint32_t y, std::uint8_t* gray,
                                          LevelCounter& counter) const {
  constexpr std::uint32_t kPiece = 256;
  constexpr std::uint32_t kCacheLine = 64;
  ConvertRow(y, width_, gray);
  const std::uint8_t* next_row = SourceRow(y + 1 < height_ ? y + 1 : y);
  const std::uint32_t bytes_per_pixel = bits_per_pixel_ / 8;
  for (std::uint32_t x = 0; x < width_;) {
    const std::uint32_t count = std::min(kPiece, width_ - x);
    const std::uint8_t* source = next_row + std::size_t{x} * bytes_per_pixel;
    for (std::uint32_t i = 0; i < count * bytes_per_pixel; i += kCacheLine) {
      __builtin_prefetch(source + i);
    }
    counter.Add(gray + x, count);
    x += count;
  }
}

std::optional<Histogram> GrayRows::CountLevels() const {
  // The values of an 8-bit source are counted as they are: 256 of them become gray, not all pixels.
  if (bits_per_pixel_ == 8) return CountIndexedLevels();
  const Block<std::uint8_t> gray = Allocate<std::uint8_t>(width_);
  if (gray == nullptr) return std::nullopt;
  LevelCounter counter(size());
  for (std::uint32_t y = 0; y < height_; ++y) {
    ConvertToGrayWithHistogram(y, gray.get(), counter);
  }
  return counter.Total();
}

}  // namespace pixtola
