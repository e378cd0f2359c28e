// The comparisons. Their limits tell a wrong picture (rotated, with channels swapped, inverted)
// from the differences that rounding and other algorithms make.
#include "agreement.h"

#include <cstdlib>
#include <numeric>

namespace pixtola::bench {

namespace {

constexpr double kCloseValuesLimit = 4;
constexpr double kSameBrightnessLimit = 64;

double MeanDifference(const Image& a, const Image& b) {
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i < a.bytes.size(); ++i) {
    sum += static_cast<std::uint64_t>(std::abs(a.bytes[i] - b.bytes[i]));
  }
  return static_cast<double>(sum) / static_cast<double>(a.bytes.size());
}

double MeanValue(const Image& image) {
  const std::uint64_t sum =
      std::accumulate(image.bytes.begin(), image.bytes.end(), std::uint64_t{0});
  return static_cast<double>(sum) / static_cast<double>(image.bytes.size());
}

std::string AtMost(double difference, double limit, const std::string& what) {
  if (difference <= limit) return {};
  return what + " differ by " + std::to_string(difference) + ", more than " + std::to_string(limit);
}

}  // namespace

std::string Disagreement(const Image& expected, const Image& result, Agreement agreement) {
  if (result.width != expected.width || result.height != expected.height ||
      result.bytes_per_pixel != expected.bytes_per_pixel) {
    return "the results have different sizes";
  }
  switch (agreement) {
    case Agreement::kSameBytes:
      return result.bytes == expected.bytes ? "" : "the bytes differ";
    case Agreement::kCloseValues:
      return AtMost(MeanDifference(expected, result), kCloseValuesLimit, "the values");
    case Agreement::kSameBrightness:
      return AtMost(std::abs(MeanValue(expected) - MeanValue(result)), kSameBrightnessLimit,
                    "the brightnesses");
  }
  return "unknown agreement";
}

}  // namespace pixtola::bench
