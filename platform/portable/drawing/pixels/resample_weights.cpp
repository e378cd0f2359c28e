#include "drawing/pixels/resample_weights.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace pixtola::portable {

namespace {

/// Of a run this long single units no longer matter, but rounding errors of neighbours in one
/// direction would add up where the weights change slowly.
constexpr std::size_t kLongRun = 1024;

/// Each weight takes over the rounding error of those before it.
void RoundSums(std::span<const double> weights, std::uint32_t shift, std::int16_t* coefficients) {
  const double scale = std::ldexp(1.0, static_cast<int>(shift));
  double sum = 0;
  double rounded_sum = 0;
  for (std::size_t i = 0; i + 1 < weights.size(); ++i) {
    sum += weights[i] * scale;
    const double rounded = std::floor(sum + 0.5) - rounded_sum;
    coefficients[i] = static_cast<std::int16_t>(rounded);
    rounded_sum += rounded;
  }
  coefficients[weights.size() - 1] = static_cast<std::int16_t>(scale - rounded_sum);
}

/// Each weight to the nearest; units that are missing then, or too many, go to those with the
/// largest errors, the first of equals.
void RoundEach(std::span<double> weights, std::uint32_t shift, std::uint32_t* order,
               std::int16_t* coefficients) {
  const double scale = std::ldexp(1.0, static_cast<int>(shift));
  std::int32_t missing = std::int32_t{1} << shift;
  for (std::size_t i = 0; i < weights.size(); ++i) {
    const double exact = weights[i] * scale;
    const double rounded = std::floor(exact + 0.5);
    coefficients[i] = static_cast<std::int16_t>(rounded);
    missing -= static_cast<std::int32_t>(rounded);
    weights[i] = exact - rounded;
    order[i] = static_cast<std::uint32_t>(i);
  }
  if (missing == 0) return;
  const std::int16_t unit = missing > 0 ? 1 : -1;
  const auto is_further_off = [&](std::uint32_t a, std::uint32_t b) {
    const double difference = (weights[a] - weights[b]) * unit;
    return difference != 0 ? difference > 0 : a < b;
  };
  // The errors are at most a half each, so there are more weights than units.
  const auto units = static_cast<std::ptrdiff_t>(std::abs(missing));
  std::nth_element(order, order + units, order + weights.size(), is_further_off);
  for (std::ptrdiff_t i = 0; i < units; ++i) {
    std::int16_t& coefficient = coefficients[order[i]];
    coefficient = static_cast<std::int16_t>(coefficient + unit);
  }
}

}  // namespace

double KeysWeight(double x) {
  x = std::fabs(x);
  if (x >= kKeysSupport) return 0;
  if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
  return ((2.5 - 0.5 * x) * x - 4) * x + 2;
}

double KeysIntegral(double x) {
  const double distance = std::min(std::fabs(x), kKeysSupport);
  const auto inner = [](double d) { return ((0.375 * d - 2.5 / 3) * d * d + 1) * d; };
  const auto outer = [](double d) { return (((2.5 / 3 - 0.125 * d) * d - 2) * d + 2) * d; };
  const double area = distance < 1 ? inner(distance) : inner(1) + outer(distance) - outer(1);
  return std::copysign(area, x);
}

std::uint32_t RoundWeights(std::span<double> weights, std::uint32_t* order,
                           std::int16_t* coefficients) {
  // One unit may be added.
  constexpr double kLargest = std::numeric_limits<std::int16_t>::max() - 1;
  const double largest = *std::max_element(weights.begin(), weights.end());
  std::uint32_t shift = 16;
  while (std::ldexp(largest, static_cast<int>(shift)) > kLargest) --shift;
  if (weights.size() > kLongRun) {
    RoundSums(weights, shift, coefficients);
  } else {
    RoundEach(weights, shift, order, coefficients);
  }
  return shift;
}

}  // namespace pixtola::portable
