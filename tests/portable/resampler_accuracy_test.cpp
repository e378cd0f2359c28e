// Whole resamplings beside the same in floating point, tap for tap by the formula.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "portable/resampling.h"

namespace pixtola::portable {
namespace {

double Keys(double x) {
  const double a = -0.5;
  x = std::abs(x);
  if (x <= 1) return (a + 2) * x * x * x - (a + 3) * x * x + 1;
  return x < 2 ? a * x * x * x - 5 * a * x * x + 8 * a * x - 4 * a : 0;
}

/// The weight of each of the image's samples.
std::vector<double> WeightsOf(const ResampleGeometry& geometry, std::uint32_t sample) {
  const double ratio = double{1} * geometry.source_length / geometry.destination_length;
  const double scale = std::max(1.0, ratio);
  const double centre = geometry.source_start + (sample + 0.5) * ratio;
  std::vector<double> weights(static_cast<std::size_t>(geometry.image_size));
  double sum = 0;
  for (double tap = std::floor(centre - 2 * scale) - 1; tap < centre + 2 * scale + 1; ++tap) {
    const double weight = Keys((tap + 0.5 - centre) / scale);
    weights[static_cast<std::size_t>(std::clamp(tap, 0.0, geometry.image_size - 1.0))] += weight;
    sum += weight;
  }
  for (double& weight : weights) weight /= sum;
  return weights;
}

/// Of each byte of the result the distance to the exact value, the largest.
double LargestError(const Picture& picture, const ResampleRequest& request) {
  const Picture result = Resampled(picture, request);
  const bool has_alpha = picture.channels == 4;
  double largest = 0;
  for (std::int32_t y = 0; y < result.height; ++y) {
    const auto rows =
        WeightsOf(request.vertical, request.rows.first + static_cast<std::uint32_t>(y));
    std::vector<double> intermediate(static_cast<std::size_t>(picture.width) * picture.channels);
    for (std::int32_t source_y = 0; source_y < picture.height; ++source_y) {
      const double weight = rows[static_cast<std::size_t>(source_y)];
      if (weight == 0) continue;
      for (std::size_t i = 0; i < intermediate.size(); ++i) {
        const std::size_t at = picture.Index(0, source_y, 0) + i;
        const double alpha = has_alpha && i % 4 != 3 ? picture.bytes[at / 4 * 4 + 3] / 255.0 : 1;
        intermediate[i] += weight * picture.bytes[at] * alpha;
      }
    }
    for (std::int32_t x = 0; x < result.width; ++x) {
      const auto columns =
          WeightsOf(request.horizontal, request.columns.first + static_cast<std::uint32_t>(x));
      double exact[4] = {};
      for (std::size_t i = 0; i < intermediate.size(); ++i) {
        exact[i % picture.channels] += columns[i / picture.channels] * intermediate[i];
      }
      for (std::uint32_t channel = 0; channel < picture.channels; ++channel) {
        const double most = has_alpha ? std::clamp(exact[3], 0.0, 255.0) : 255;
        const double wanted = std::clamp(exact[channel], 0.0, most);
        largest = std::max(largest, std::abs(wanted - result.At(x, y, channel)));
      }
    }
  }
  return largest;
}

TEST(Resampler, StaysWithinSixTenthsOfALevelOfTheExactValue) {
  for (const std::uint32_t channels : {1U, 3U, 4U}) {
    const Picture picture = RandomPicture(150, 110, channels);
    for (const std::int32_t width : {1, 7, 40, 75, 100, 149, 150, 151, 225, 400}) {
      EXPECT_LE(LargestError(picture, WholeOf(picture, width, width * 110 / 150 + 1)), 0.6)
          << channels << " channels, width " << width;
    }
  }
}

TEST(Resampler, StaysThereForRangesThatReachBeyondTheImage) {
  const Picture picture = RandomPicture(60, 50, 3);
  for (const std::int32_t length : {1, 30, 90, 500}) {
    for (const std::int32_t start : {-70, -20, 0, 10, 55}) {
      ResampleRequest request = WholeOf(picture, 64, 64);
      request.horizontal = {start, length, 60, 64};
      request.vertical = {start, length, 50, 64};
      EXPECT_LE(LargestError(picture, request), 0.6) << start << " " << length;
    }
  }
}

TEST(Resampler, StaysThereForHardContrastAndLongRuns) {
  Picture picture = RandomPicture(3000, 5, 1);
  for (std::uint8_t& byte : picture.bytes) byte = byte < 128 ? 0 : 255;
  for (const std::int32_t width : {1, 2, 10, 100}) {
    EXPECT_LE(LargestError(picture, WholeOf(picture, width, 5)), 0.6) << width;
  }
}

}  // namespace
}  // namespace pixtola::portable
