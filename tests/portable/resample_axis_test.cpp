// The taps of the resampling's axes, by what follows from their definition.
#include "drawing/pixels/resample_axis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <random>
#include <vector>

namespace pixtola::portable {
namespace {

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr auto kBicubic = ResampleFilter::kBicubic;
constexpr auto kNearest = ResampleFilter::kNearest;

double Sum(const ResampleTaps& taps) {
  return std::accumulate(taps.coefficients, taps.coefficients + taps.count, 0.0);
}

ResampleRange All(const ResampleGeometry& geometry) {
  return {0, static_cast<std::uint32_t>(geometry.destination_length)};
}

double CentreOf(const ResampleGeometry& geometry, std::uint32_t sample) {
  return geometry.source_start +
         (sample + 0.5) * geometry.source_length / geometry.destination_length;
}

/// Keys' filter with a = -0.5, as it is printed.
double Keys(double x) {
  const double a = -0.5;
  x = std::abs(x);
  if (x <= 1) return (a + 2) * x * x * x - (a + 3) * x * x + 1;
  return x < 2 ? a * x * x * x - 5 * a * x * x + 8 * a * x - 4 * a : 0;
}

/// The weights of the image's samples by the formula, tap for tap.
std::map<std::int64_t, double> WeightsOf(const ResampleGeometry& geometry, std::uint32_t sample) {
  const double scale =
      std::max(1.0, double{1} * geometry.source_length / geometry.destination_length);
  const double centre = CentreOf(geometry, sample);
  std::map<std::int64_t, double> weights;
  double sum = 0;
  for (double tap = std::floor(centre - 2 * scale) - 1; tap < centre + 2 * scale + 1; ++tap) {
    const double weight = Keys((tap + 0.5 - centre) / scale);
    weights[static_cast<std::int64_t>(std::clamp(tap, 0.0, geometry.image_size - 1.0))] += weight;
    sum += weight;
  }
  for (auto& [tap, weight] : weights) weight /= sum;
  return weights;
}

std::vector<ResampleGeometry> RandomGeometries() {
  std::mt19937 random(3);
  std::vector<ResampleGeometry> geometries;
  const auto below = [&](std::uint32_t limit) {
    return static_cast<std::int32_t>(random() % limit);
  };
  for (int i = 0; i < 400; ++i) {
    geometries.push_back({below(300) - 150, 1 + below(300), 1 + below(200), 1 + below(200)});
  }
  return geometries;
}

TEST(ResampleAxis, AtTheSameSizeIsOneTapEach) {
  for (const ResampleFilter filter : {kBicubic, kNearest}) {
    ResampleAxis axis;
    ASSERT_TRUE(axis.Compute({0, 50, 50, 50}, filter, {0, 50}));
    for (std::uint32_t i = 0; i < 50; ++i) {
      const ResampleTaps& taps = axis.taps()[i];
      EXPECT_EQ(taps.first, i);
      EXPECT_EQ(taps.count, 1U);
      EXPECT_EQ(taps.shift, 14U);
      EXPECT_EQ(taps.coefficients[0], 1 << 14);
      EXPECT_EQ(taps.coefficients[1], 0);
    }
  }
}

TEST(ResampleAxis, CoefficientsAreTheFormulasAndSumUpExactly) {
  for (const ResampleGeometry& geometry : RandomGeometries()) {
    ResampleAxis axis;
    ASSERT_TRUE(axis.Compute(geometry, kBicubic, All(geometry)));
    for (std::uint32_t i = 0; i < axis.taps().size(); ++i) {
      const ResampleTaps& taps = axis.taps()[i];
      const double one = std::ldexp(1.0, static_cast<int>(taps.shift));
      ASSERT_EQ(Sum(taps), one);
      auto weights = WeightsOf(geometry, i);
      for (std::uint32_t tap = 0; tap < taps.count; ++tap) {
        ASSERT_NEAR(taps.coefficients[tap], weights[taps.first + tap] * one, 1.001);
        weights.erase(taps.first + tap);
      }
      for (const auto& [tap, weight] : weights) ASSERT_NEAR(weight, 0, 1e-9) << tap;
    }
  }
}

TEST(ResampleAxis, TheScaleIsTheLargestThatFits) {
  for (const ResampleGeometry& geometry : RandomGeometries()) {
    ResampleAxis axis;
    ASSERT_TRUE(axis.Compute(geometry, kBicubic, All(geometry)));
    for (const ResampleTaps& taps : axis.taps()) {
      ASSERT_GE(taps.shift, 14U);
      ASSERT_LE(taps.shift, 16U);
      const int largest = *std::max_element(taps.coefficients, taps.coefficients + taps.count);
      ASSERT_TRUE(taps.shift == 16 || 2 * largest >= 32765) << largest;
      int magnitudes = 0;
      for (std::uint32_t i = 0; i < taps.count; ++i) magnitudes += std::abs(taps.coefficients[i]);
      ASSERT_LT(magnitudes, 1.5 * (1 << taps.shift));
      ASSERT_TRUE(taps.count % 2 == 0 || taps.coefficients[taps.count] == 0);
    }
  }
}

TEST(ResampleAxis, TapsNeverGoBack) {
  for (const ResampleGeometry& geometry : RandomGeometries()) {
    ResampleAxis axis;
    ASSERT_TRUE(axis.Compute(geometry, kBicubic, All(geometry)));
    std::uint32_t longest = 0;
    for (std::size_t i = 0; i < axis.taps().size(); ++i) {
      const ResampleTaps& taps = axis.taps()[i];
      ASSERT_GE(taps.count, 1U);
      ASSERT_LE(taps.first + taps.count, static_cast<std::uint32_t>(geometry.image_size));
      longest = std::max(longest, taps.count);
      if (i == 0) continue;
      ASSERT_GE(taps.first, axis.taps()[i - 1].first);
      ASSERT_GE(taps.first + taps.count, axis.taps()[i - 1].first + axis.taps()[i - 1].count);
    }
    ASSERT_EQ(axis.longest_run(), longest);
    ASSERT_EQ(axis.source_begin(), axis.taps().front().first);
    ASSERT_EQ(axis.source_end(), axis.taps().back().first + axis.taps().back().count);
  }
}

TEST(ResampleAxis, TapsNeverGoBackOnLongAxes) {
  std::mt19937_64 random(4);
  for (int i = 0; i < 200; ++i) {
    const auto destination = static_cast<std::int32_t>(1000 + random() % 2000000000);
    const std::int64_t ratio_in_64ths = 1 + static_cast<std::int64_t>(random() % 1000);
    const auto length = static_cast<std::int32_t>(
        std::clamp<std::int64_t>(destination * ratio_in_64ths / 64, 1, kLargest));
    const auto first =
        static_cast<std::uint32_t>(random() % static_cast<std::uint64_t>(destination - 500));
    ResampleAxis axis;
    ASSERT_TRUE(axis.Compute({-length / 3, length, kLargest, destination}, kBicubic, {first, 500}));
    for (std::size_t k = 1; k < 500; ++k) {
      const ResampleTaps& before = axis.taps()[k - 1];
      const ResampleTaps& taps = axis.taps()[k];
      ASSERT_EQ(Sum(taps), std::ldexp(1.0, static_cast<int>(taps.shift)));
      ASSERT_GE(taps.first, before.first);
      ASSERT_GE(taps.first + taps.count, before.first + before.count);
    }
  }
}

TEST(ResampleAxis, APartIsAsInTheWhole) {
  for (const ResampleGeometry& geometry : RandomGeometries()) {
    ResampleAxis whole;
    ResampleAxis part;
    ASSERT_TRUE(whole.Compute(geometry, kBicubic, All(geometry)));
    const auto first = static_cast<std::uint32_t>(geometry.destination_length) / 3;
    ASSERT_TRUE(part.Compute(geometry, kBicubic, {first, 1}));
    const ResampleTaps& expected = whole.taps()[first];
    const ResampleTaps& taps = part.taps()[0];
    ASSERT_EQ(taps.first, expected.first);
    ASSERT_EQ(taps.shift, expected.shift);
    ASSERT_EQ(std::vector(taps.coefficients, taps.coefficients + taps.count),
              std::vector(expected.coefficients, expected.coefficients + expected.count));
  }
}

TEST(ResampleAxis, NearestIsTheSampleOfTheCentre) {
  for (const ResampleGeometry& geometry : RandomGeometries()) {
    ResampleAxis axis;
    ASSERT_TRUE(axis.Compute(geometry, kNearest, All(geometry)));
    for (std::uint32_t i = 0; i < axis.taps().size(); ++i) {
      const std::int64_t twice_length = 2 * std::int64_t{geometry.destination_length};
      // Whole numbers, so that no rounding decides.
      const std::int64_t centre =
          geometry.source_start * twice_length + (2 * std::int64_t{i} + 1) * geometry.source_length;
      const std::int64_t sample = static_cast<std::int64_t>(
          std::floor(static_cast<double>(centre) / static_cast<double>(twice_length)));
      ASSERT_EQ(axis.taps()[i].first, std::clamp<std::int64_t>(sample, 0, geometry.image_size - 1));
      ASSERT_EQ(axis.taps()[i].count, 1U);
    }
  }
}

TEST(SamplesInside, AreThoseWithACentreInTheImage) {
  for (const ResampleGeometry& geometry : RandomGeometries()) {
    const ResampleRange range = SamplesInside(geometry);
    for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(geometry.destination_length); ++i) {
      // Twice the destination's length times the centre.
      const std::int64_t scale = 2 * std::int64_t{geometry.destination_length};
      const std::int64_t centre =
          geometry.source_start * scale + (2 * std::int64_t{i} + 1) * geometry.source_length;
      const bool is_inside = centre >= 0 && centre < geometry.image_size * scale;
      ASSERT_EQ(i >= range.first && i < range.first + range.count, is_inside) << i;
    }
  }
}

TEST(SamplesInside, AreNoneOfARangeBesideTheImage) {
  EXPECT_EQ(SamplesInside({100, 50, 100, 10}).count, 0U);
  EXPECT_EQ(SamplesInside({-50, 50, 100, 10}).count, 0U);
}

TEST(SamplesInside, AreExactAtTheLargestSizes) {
  const ResampleRange all = SamplesInside({0, kLargest, kLargest, kLargest});
  EXPECT_EQ(all.first, 0U);
  EXPECT_EQ(all.count, static_cast<std::uint32_t>(kLargest));
  const ResampleRange half = SamplesInside({-kLargest / 2 - 1, kLargest, kLargest, kLargest});
  EXPECT_EQ(half.first, 1U << 30);
  EXPECT_EQ(half.count, (1U << 30) - 1);
  const ResampleRange late =
      SamplesInside({std::numeric_limits<std::int32_t>::min(), kLargest, kLargest, kLargest});
  EXPECT_EQ(late.count, 0U);
}

TEST(ResampleAxis, OneSampleIsStretchedToAnyLength) {
  ResampleAxis axis;
  const auto last = static_cast<std::uint32_t>(kLargest) - 10;
  ASSERT_TRUE(axis.Compute({0, 1, 1, kLargest}, kBicubic, {last, 10}));
  for (const ResampleTaps& taps : axis.taps()) {
    EXPECT_EQ(taps.first, 0U);
    EXPECT_EQ(taps.count, 1U);
  }
}

TEST(ResampleAxis, AnyRangeBecomesOneSample) {
  // Of a small image in the middle of a huge range, which counts by its edges nearly alone.
  ResampleAxis axis;
  ASSERT_TRUE(axis.Compute({-kLargest / 2, kLargest, 100, 1}, kBicubic, {0, 1}));
  const ResampleTaps& taps = axis.taps()[0];
  EXPECT_EQ(taps.count, 100U);
  EXPECT_EQ(Sum(taps), std::ldexp(1.0, static_cast<int>(taps.shift)));
  const double one = std::ldexp(1.0, static_cast<int>(taps.shift));
  EXPECT_NEAR(taps.coefficients[0], one / 2, 1);
  EXPECT_NEAR(taps.coefficients[99], one / 2, 1);
}

TEST(ResampleAxis, TheSumOfWhatLiesFarBeyondAnEdgeIsTheFormulas) {
  // Wide enough for the integral; the formula still goes tap for tap.
  const ResampleGeometry geometry = {-70000, 300000, 60000, 10};
  const ResampleRange range = SamplesInside(geometry);
  ResampleAxis axis;
  ASSERT_TRUE(axis.Compute(geometry, kBicubic, range));
  for (std::uint32_t i = 0; i < range.count; ++i) {
    const ResampleTaps& taps = axis.taps()[i];
    const double one = std::ldexp(1.0, static_cast<int>(taps.shift));
    auto weights = WeightsOf(geometry, range.first + i);
    EXPECT_NEAR(taps.coefficients[0], weights[0] * one, 1.001);
    EXPECT_NEAR(taps.coefficients[taps.count - 1], weights[59999] * one, 1.001);
    // So many taps have less than a unit each: their sums count.
    double difference = 0;
    for (std::uint32_t tap = 0; tap < taps.count; ++tap) {
      difference += taps.coefficients[tap] - weights[taps.first + tap] * one;
      ASSERT_NEAR(difference, 0, 1.001) << tap;
    }
  }
}

}  // namespace
}  // namespace pixtola::portable
