#include "convert/pixels/gray/gray_rows.h"

#include <algorithm>

#include "base/memory.h"
#include "convert/pixels/conversion_arguments.h"

namespace pixtola {

GrayRows::GrayRows(const ImageView& source, const GrayLookup* lookup)
    : source_(source),
      is_valid_(IsConvertibleDepth(source.bits_per_pixel) &&
                (source.bits_per_pixel != 8 || lookup != nullptr)),
      kernels_(BestGrayKernels()) {
  if (is_valid_ && source_.bits_per_pixel == 8) lookup_ = *lookup;
}

void GrayRows::ConvertRow(std::uint32_t y, std::uint32_t count, std::uint8_t* gray) const {
  const std::uint8_t* row = source_.Row(y);
  switch (source_.bits_per_pixel) {
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
    ConvertRow(first_row + i, width(), gray + i * gray_stride);
  }
}

std::optional<std::uint8_t> GrayRows::FirstValueFrom(std::uint8_t level) const {
  if (source_.bits_per_pixel != 8) return std::nullopt;
  const auto is_from_level = [level](std::uint8_t gray) { return gray >= level; };
  const auto first = std::find_if(lookup_.begin(), lookup_.end(), is_from_level);
  if (first == lookup_.end() || !std::all_of(first, lookup_.end(), is_from_level)) {
    return std::nullopt;
  }
  return static_cast<std::uint8_t>(first - lookup_.begin());
}

Histogram GrayRows::CountIndexedLevels() const {
  LevelCounter counter(size());
  for (std::uint32_t y = 0; y < height(); ++y) counter.Add(source_.Row(y), width());
  const Histogram values = counter.Total();
  Histogram levels{};
  for (std::uint32_t value = 0; value < 256; ++value) levels[lookup_[value]] += values[value];
  return levels;
}

void GrayRows::ConvertToGrayWithHistogram(std::uint32_t y, std::uint8_t* gray,
                                          LevelCounter& counter) const {
  constexpr std::uint32_t kPiece = 256;
  constexpr std::uint32_t kCacheLine = 64;
  ConvertRow(y, width(), gray);
  const std::uint8_t* next_row = source_.Row(y + 1 < height() ? y + 1 : y);
  const std::uint32_t bytes_per_pixel = source_.bits_per_pixel / 8;
  for (std::uint32_t x = 0; x < width();) {
    const std::uint32_t count = std::min(kPiece, width() - x);
    const std::uint8_t* source = next_row + std::size_t{x} * bytes_per_pixel;
    for (std::uint32_t i = 0; i < count * bytes_per_pixel; i += kCacheLine) {
      __builtin_prefetch(source + i);
    }
    counter.Add(gray + x, count);
    x += count;
  }
}

std::optional<Histogram> GrayRows::CountLevels() const {
  // The values of an 8-bit source are counted as they are: only their 256 counts become gray, not
  // all pixels.
  if (source_.bits_per_pixel == 8) return CountIndexedLevels();
  const Block<std::uint8_t> gray = Allocate<std::uint8_t>(width());
  if (gray == nullptr) return std::nullopt;
  LevelCounter counter(size());
  for (std::uint32_t y = 0; y < height(); ++y) {
    ConvertToGrayWithHistogram(y, gray.get(), counter);
  }
  return counter.Total();
}

}  // namespace pixtola
