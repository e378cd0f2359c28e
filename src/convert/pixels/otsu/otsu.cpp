#include "convert/pixels/otsu/otsu.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "base/memory.h"
#include "convert/pixels/conversion_arguments.h"
#include "convert/pixels/gray/gray_rows.h"
#include "convert/pixels/otsu/pack_kernels.h"

namespace pixtola {

namespace {

constexpr std::uint8_t kThresholdWithoutPixels = 128;

/// Otsu's criterion: the level that separates the two classes best. Ties keep the lower level;
/// level 255 is never chosen, since nothing would lie above it.
std::uint8_t BestSeparation(const Histogram& histogram, std::uint64_t total, double weighted) {
  double best_score = -1.0;
  std::uint8_t best_level = 0;
  std::uint64_t count = 0;  // pixels up to and including level i
  double weight = 0;        // sum of their (level + 1)
  for (std::uint32_t i = 0; i < 255; ++i) {
    count += histogram[i];
    if (histogram[i] == 0) continue;
    const std::uint64_t rest = total - count;
    if (rest == 0) break;
    weight += (i + 1.0) * histogram[i];
    const double c = static_cast<double>(count);
    const double r = static_cast<double>(rest);
    const double mean_below = weight / c;
    const double mean_above = (weighted - weight) / r;
    const double difference = mean_below - mean_above;
    const double score = ((r * c) * difference) * difference;
    if (score > best_score) {
      best_score = score;
      best_level = static_cast<std::uint8_t>(i);
    }
  }
  return best_level;
}

}  // namespace

std::uint8_t OtsuThreshold(const Histogram* histogram) {
  if (histogram == nullptr) return kThresholdWithoutPixels;
  std::uint64_t total = 0;
  double weighted = 0;
  int levels = 0;
  for (std::uint32_t i = 0; i < 256; ++i) {
    const std::uint32_t count = (*histogram)[i];
    total += count;
    // Kept on purpose: the product wraps at 32 bits (a mostly white page at 600 dpi reaches that).
    weighted += static_cast<double>((i + 1) * count);
    if (count != 0) ++levels;
  }
  if (total == 0) return kThresholdWithoutPixels;
  const double mean = weighted / static_cast<double>(total);  // of level + 1
  if (levels == 2) return static_cast<std::uint8_t>(mean);
  // A flat image comes out all white from level 127 on and all black below.
  if (levels == 1) return static_cast<std::uint8_t>(mean >= 128.0 ? mean - 1.0 : mean + 1.0);
  return BestSeparation(*histogram, total, weighted);
}

int PackByThreshold(std::uint8_t threshold, const ImageView& gray,
                    const MutableImageView& destination) {
  if (gray.first_row == nullptr || destination.first_row == nullptr ||
      !HasValidStride(destination)) {
    return 0;
  }
  const PackKernels& kernels = BestPackKernels();
  for (std::uint32_t y = 0; y < destination.height; ++y) {
    kernels.row(threshold, gray.Row(y), destination.width, destination.Row(y));
  }
  return 1;
}

void CopyBilevelRows(const ImageView& source, const MutableImageView& destination) {
  const auto source_stride = static_cast<std::size_t>(source.stride);
  const auto stride = static_cast<std::size_t>(destination.stride);
  const std::size_t copied = std::min(source_stride, stride);
  const std::uint8_t* from = source.first_row;
  std::uint8_t* to = destination.first_row;
  for (std::uint32_t left = destination.height; left != 0; --left) {
    std::memcpy(to, from, copied);
    std::memset(to + copied, 0, stride - copied);
    from += source_stride;
    to += stride;
  }
}

int BinarizeOtsu(const ImageView& source, const GrayLookup* lookup,
                 const MutableImageView& destination) {
  if (!AreConversionArgumentsValid(source, destination)) return 0;
  if (source.bits_per_pixel == 1) {
    CopyBilevelRows(source, destination);
    return 1;
  }
  const GrayRows rows(source, lookup);
  if (!rows.IsValid()) return 0;
  const Block<std::uint8_t> gray = Allocate<std::uint8_t>(source.width);
  const std::optional<Histogram> levels = rows.CountLevels();
  if (gray == nullptr || !levels) return 0;
  const std::uint8_t threshold = OtsuThreshold(&*levels);
  // As a rule one value divides the black pixels of an 8-bit source from the white ones, and its
  // rows can be packed as they are.
  const std::optional<std::uint8_t> first_white_value = rows.FirstValueFrom(threshold);
  if (first_white_value) return PackByThreshold(*first_white_value, source, destination);
  const PackKernels& kernels = BestPackKernels();
  for (std::uint32_t y = 0; y < source.height; ++y) {
    rows.ConvertRow(y, source.width, gray.get());
    kernels.row(threshold, gray.get(), source.width, destination.Row(y));
  }
  return 1;
}

}  // namespace pixtola
