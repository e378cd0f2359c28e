#include "drawing/pixels/resample_kernels.h"

#include <algorithm>
#include <type_traits>

namespace pixtola::portable {

namespace {

/// `sum` / 2^shift, halves up.
std::int32_t Rounded(std::int32_t sum, std::uint32_t shift) {
  return (sum + (std::int32_t{1} << (shift - 1))) >> shift;
}

/// The intermediates of one destination row.
///
/// Sums fit: of fine samples they are below 1.5 * 2^16 * 255 * 2^6.
template <typename Sample>
void FilterVertically(const BasicResampleBand<Sample>& band, const ResampleTaps& taps,
                      std::int16_t* intermediates) {
  constexpr std::uint32_t kFractionBits =
      std::is_same_v<Sample, std::uint8_t> ? kResampleFractionBits : 0;
  const Sample* const* source = band.source + taps.first;
  const std::size_t samples = std::size_t{band.source_width} * band.channels;
  for (std::size_t x = 0; x < samples; ++x) {
    std::int32_t sum = 0;
    for (std::uint32_t tap = 0; tap < taps.count; ++tap) {
      sum += taps.coefficients[tap] * source[tap][x];
    }
    intermediates[x] = static_cast<std::int16_t>(Rounded(sum, taps.shift - kFractionBits));
  }
}

void FilterHorizontally(const std::int16_t* intermediates, std::uint32_t channels,
                        const ResampleTaps& taps, std::uint8_t* pixel) {
  for (std::uint32_t channel = 0; channel < channels; ++channel) {
    const std::int16_t* source = intermediates + std::size_t{taps.first} * channels + channel;
    std::int32_t sum = 0;
    for (std::uint32_t tap = 0; tap < taps.count; ++tap, source += channels) {
      sum += taps.coefficients[tap] * *source;
    }
    const std::int32_t level = Rounded(sum, taps.shift + kResampleFractionBits);
    pixel[channel] = static_cast<std::uint8_t>(std::clamp(level, 0, 255));
  }
}

template <typename Sample>
void ResampleRows(const BasicResampleBand<Sample>& band) {
  auto* const intermediates = reinterpret_cast<std::int16_t*>(band.work);
  for (std::uint32_t y = 0; y < band.row_count; ++y) {
    FilterVertically(band, band.rows[y], intermediates);
    std::uint8_t* pixel = band.destination + y * band.stride;
    for (std::uint32_t x = 0; x < band.column_count; ++x, pixel += band.channels) {
      FilterHorizontally(intermediates, band.channels, band.columns[x], pixel);
    }
  }
}

bool IsOpaque(const std::uint8_t* pixels, std::size_t count) {
  std::uint8_t common = 255;
  for (std::size_t x = 0; x < count; ++x) common &= pixels[4 * x + 3];
  return common == 255;
}

void Premultiply(const std::uint8_t* pixels, std::size_t count, std::int16_t* samples) {
  for (std::size_t x = 0; x < count; ++x, pixels += 4, samples += 4) {
    for (int channel = 0; channel < 3; ++channel) {
      const std::uint32_t product = std::uint32_t{pixels[channel]} * pixels[3];
      samples[channel] = static_cast<std::int16_t>(product * kPremultiplyFactor >> 16);
    }
    samples[3] = static_cast<std::int16_t>(pixels[3] << kResampleFractionBits);
  }
}

void LimitToAlpha(std::uint8_t* pixels, std::size_t count) {
  for (std::size_t x = 0; x < count; ++x, pixels += 4) {
    for (int channel = 0; channel < 3; ++channel) {
      pixels[channel] = std::min(pixels[channel], pixels[3]);
    }
  }
}

}  // namespace

std::uint64_t ResampleWorkBytes(std::uint32_t source_width, std::uint32_t channels,
                                std::uint32_t longest_run) {
  const std::uint64_t samples = std::uint64_t{source_width} * channels;
  // The definition has one row of intermediates. In vectors there is a row of them for each row of
  // the band, as long as a piece, and pairs of them for as many columns and the longest run.
  const std::uint64_t plain = samples * sizeof(std::int16_t);
  const std::uint64_t rows =
      std::uint64_t{kResampleRows} * (kResamplePiece + 2 * kResampleSlack) * sizeof(std::int16_t);
  const std::uint64_t columns =
      std::uint64_t{longest_run} * channels + kResamplePiece + kResampleSlack;
  const std::uint64_t pairs = columns * kResampleRows * 2 * sizeof(std::int16_t);
  return std::max(plain, rows + pairs) + 64;  // to start at a whole cache line
}

constexpr ResampleKernels kPlainResampleKernels{
    .target = "plain",
    .band = ResampleRows<std::uint8_t>,
    .fine_band = ResampleRows<std::int16_t>,
    .is_opaque = IsOpaque,
    .premultiply = Premultiply,
    .limit_to_alpha = LimitToAlpha,
};

#if !PIXTOLA_WITH_HIGHWAY
const ResampleKernels& BestResampleKernels() { return kPlainResampleKernels; }
#endif

}  // namespace pixtola::portable
