#include "drawing/pixels/resample_axis.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "drawing/pixels/resample_weights.h"

namespace pixtola::portable {

namespace {

constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 62;

/// A centre in source samples: a whole number and a fraction, since a double has too few digits
/// for both on long axes.
struct Centre {
  std::int64_t whole;
  double fraction;  ///< 0 to below 1
};

Centre CentreOf(const ResampleGeometry& geometry, std::uint32_t sample) {
  // Below 2^63: both factors are below 2^32 and 2^31.
  const std::int64_t numerator = (2 * std::int64_t{sample} + 1) * geometry.source_length;
  const std::int64_t denominator = 2 * std::int64_t{geometry.destination_length};
  return {geometry.source_start + numerator / denominator,
          static_cast<double>(numerator % denominator) / static_cast<double>(denominator)};
}

/// Taps that may lie beyond the image.
struct TapRange {
  std::int64_t first;
  std::int64_t end;
};

/// What the taps of all samples of an axis have in common.
class TapFinder {
 public:
  TapFinder(const ResampleGeometry& geometry, ResampleFilter filter)
      : geometry_(geometry),
        is_point_(filter == ResampleFilter::kNearest ||
                  geometry.source_length == geometry.destination_length),
        width_(std::max(1.0, static_cast<double>(geometry.source_length) /
                                 static_cast<double>(geometry.destination_length))) {
    const double reach = kKeysSupport * width_;
    reach_whole_ = static_cast<std::int64_t>(reach);
    reach_fraction_ = reach - static_cast<double>(reach_whole_);
  }

  /// Of those whose centres are nearer than the filter's support. A filter of width 1 that stands
  /// on a sample's centre is 0 at all others: where that is so for the whole axis there is one tap.
  TapRange TapsAt(const Centre& centre) const {
    if (is_point_) return {centre.whole, centre.whole + 1};
    const double middle = centre.fraction - 0.5;
    const auto below = static_cast<std::int64_t>(std::floor(middle - reach_fraction_));
    const auto above = static_cast<std::int64_t>(std::ceil(middle + reach_fraction_));
    return {centre.whole + below + 1 - reach_whole_, centre.whole + above + reach_whole_};
  }

  std::int64_t Clamp(std::int64_t tap) const {
    return std::clamp<std::int64_t>(tap, 0, geometry_.image_size - 1);
  }

  /// The weights of the taps from `first` on that are inside of the image, those beyond it added to
  /// its edges. They sum up to 1.
  void FillWeights(const Centre& centre, const TapRange& taps, std::span<double> weights) const {
    if (weights.size() == 1) {
      weights[0] = 1;
      return;
    }
    const std::int64_t first = Clamp(taps.first);
    const std::int64_t end = first + static_cast<std::int64_t>(weights.size());
    double sum = 0;
    for (std::int64_t tap = first; tap < end; ++tap) {
      weights[static_cast<std::size_t>(tap - first)] = KeysWeight(PlaceOf(tap, centre));
    }
    weights.front() += SumOf(centre, taps.first, first);
    weights.back() += SumOf(centre, end, taps.end);
    for (const double weight : weights) sum += weight;
    for (double& weight : weights) weight /= sum;
  }

 private:
  /// Of the tap's centre, in units of the filter.
  double PlaceOf(std::int64_t tap, const Centre& centre) const {
    return (static_cast<double>(tap - centre.whole) + 0.5 - centre.fraction) / width_;
  }

  /// Of the weights of taps `first` to `end`. Of very many it is the integral: they lie so close
  /// together that it tells no difference, and their number has no limit.
  double SumOf(const Centre& centre, std::int64_t first, std::int64_t end) const {
    constexpr std::int64_t kMany = 4096;
    if (end - first > kMany) {
      const double half = 0.5 / width_;
      return width_ * (KeysIntegral(PlaceOf(end, centre) - half) -
                       KeysIntegral(PlaceOf(first, centre) - half));
    }
    double sum = 0;
    for (std::int64_t tap = first; tap < end; ++tap) sum += KeysWeight(PlaceOf(tap, centre));
    return sum;
  }

  ResampleGeometry geometry_;
  bool is_point_;
  double width_;  ///< of the filter: a unit of it in source samples
  std::int64_t reach_whole_;
  double reach_fraction_;
};

std::uint64_t Even(std::uint64_t count) { return count + count % 2; }

}  // namespace

ResampleRange SamplesInside(const ResampleGeometry& geometry) {
  const std::int64_t start = geometry.source_start;
  const std::int64_t length = geometry.source_length;
  const std::int64_t destination = geometry.destination_length;
  // Samples whose centre is at or after `edge`, which is counted from the start of the range, come
  // from index Index(edge) on: (2 i + 1) * length >= 2 * edge * destination, below 2^63 since an
  // edge beyond the range is not asked for.
  const auto index = [=](std::int64_t edge) -> std::int64_t {
    if (edge <= 0) return 0;
    if (edge >= length) return destination;
    const std::int64_t odd = (2 * edge * destination + length - 1) / length;
    return std::min(odd / 2, destination);
  };
  const std::int64_t first = index(-start);
  const std::int64_t end = index(geometry.image_size - start);
  return {static_cast<std::uint32_t>(first),
          static_cast<std::uint32_t>(std::max(first, end) - first)};
}

bool ResampleAxis::Compute(const ResampleGeometry& geometry, ResampleFilter filter,
                           const ResampleRange& range) {
  count_ = 0;
  const TapFinder finder(geometry, filter);
  std::uint64_t coefficient_count = 0;
  std::uint64_t longest = 0;
  const auto run_at = [&](const Centre& centre, TapRange& taps) {
    taps = finder.TapsAt(centre);
    return static_cast<std::uint64_t>(finder.Clamp(taps.end - 1) - finder.Clamp(taps.first) + 1);
  };
  TapRange taps;
  for (std::uint32_t i = 0; i < range.count; ++i) {
    const std::uint64_t run = run_at(CentreOf(geometry, range.first + i), taps);
    longest = std::max(longest, run);
    coefficient_count += Even(run);  // below 2^32 more each of at most 2^31 times
    if (coefficient_count > kMostBytes / sizeof(std::int16_t)) return false;
  }
  coefficients_ = AllocateBytes(coefficient_count * sizeof(std::int16_t));
  taps_.reset(reinterpret_cast<ResampleTaps*>(
      AllocateBytes(std::uint64_t{range.count} * sizeof(ResampleTaps)).release()));
  const HeapBytes work = AllocateBytes(longest * (sizeof(double) + sizeof(std::uint32_t)));
  if (coefficients_ == nullptr || taps_ == nullptr || work == nullptr) return false;

  auto* weights = reinterpret_cast<double*>(work.get());
  auto* order = reinterpret_cast<std::uint32_t*>(weights + longest);
  auto* coefficients = reinterpret_cast<std::int16_t*>(coefficients_.get());
  for (std::uint32_t i = 0; i < range.count; ++i) {
    const Centre centre = CentreOf(geometry, range.first + i);
    const auto run = static_cast<std::size_t>(run_at(centre, taps));
    finder.FillWeights(centre, taps, {weights, run});
    const std::uint32_t shift = RoundWeights({weights, run}, order, coefficients);
    if (run % 2 != 0) coefficients[run] = 0;
    taps_[i] = {coefficients, static_cast<std::uint32_t>(finder.Clamp(taps.first)),
                static_cast<std::uint32_t>(run), shift};
    coefficients += Even(run);
  }
  count_ = range.count;
  longest_run_ = static_cast<std::uint32_t>(longest);
  return true;
}

}  // namespace pixtola::portable
