// Every table of resampling kernels against the definition, byte for byte.
#include "drawing/pixels/resample_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "drawing/pixels/resample_axis.h"
#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola::portable {
namespace {

using test::GuardedBuffer;
using test::GuardSide;

const std::vector<const ResampleKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainResampleKernels, BestResampleKernels);
  return tables;
}

struct Case {
  std::uint32_t channels;
  std::int32_t width;
  std::int32_t destination_width;
  std::int32_t height;
  std::int32_t destination_height;
  std::uint32_t row_count;
  std::size_t misalignment;
  GuardSide side;
  bool contrast;  // only the smallest and the largest samples, so that much is clamped
};

std::ostream& operator<<(std::ostream& out, const Case& shape) {
  return out << shape.channels << " channels, width " << shape.width << " to "
             << shape.destination_width << ", height " << shape.height << " to "
             << shape.destination_height << ", rows " << shape.row_count << ", misalignment "
             << shape.misalignment << (shape.side == GuardSide::kAfterEnd ? ", end" : ", start")
             << (shape.contrast ? ", contrast" : "");
}

ResampleAxis AxisOf(std::int32_t size, std::int32_t destination, std::uint32_t count) {
  ResampleAxis axis;
  EXPECT_TRUE(axis.Compute({0, size, size, destination}, ResampleFilter::kBicubic,
                           ResampleRange{0, count}));
  return axis;
}

/// Rows of random samples; no byte beside them can be read.
template <typename Sample>
class SourceRows {
 public:
  explicit SourceRows(const Case& shape) {
    std::mt19937 random(20261122);
    const std::size_t samples = static_cast<std::size_t>(shape.width) * shape.channels;
    constexpr std::uint32_t kUnit = std::is_same_v<Sample, std::uint8_t> ? 1 : 64;
    for (std::int32_t y = 0; y < shape.height; ++y) {
      buffers_.push_back(std::make_unique<GuardedBuffer>(
          samples * sizeof(Sample), shape.misalignment * sizeof(Sample), shape.side));
      auto* const row = reinterpret_cast<Sample*>(buffers_.back()->data());
      for (std::size_t x = 0; x < samples; ++x) {
        const auto value = static_cast<std::uint32_t>(random()) % (255 * kUnit + 1);
        row[x] = static_cast<Sample>(shape.contrast ? value % 2 * 255 * kUnit : value);
      }
      buffers_.back()->MakeReadOnly();
      rows_.push_back(row);
    }
  }

  const Sample* const* rows() const { return rows_.data(); }

 private:
  std::vector<std::unique_ptr<GuardedBuffer>> buffers_;
  std::vector<const Sample*> rows_;
};

void Run(const ResampleKernels& table, const ResampleBand& band) { table.band(band); }
void Run(const ResampleKernels& table, const FineResampleBand& band) { table.fine_band(band); }

template <typename Sample>
void CheckAllTables(const Case& shape) {
  const SourceRows<Sample> source(shape);
  const auto destination_width = static_cast<std::uint32_t>(shape.destination_width);
  const ResampleAxis columns = AxisOf(shape.width, shape.destination_width, destination_width);
  const ResampleAxis rows = AxisOf(shape.height, shape.destination_height, shape.row_count);
  const std::size_t stride = std::size_t{destination_width} * shape.channels;
  const auto width = static_cast<std::uint32_t>(shape.width);
  const auto work_bytes =
      static_cast<std::size_t>(ResampleWorkBytes(width, shape.channels, columns.longest_run()));
  std::vector<std::uint8_t> expected;
  for (const ResampleKernels* table : Tables()) {
    GuardedBuffer destination(stride * shape.row_count, shape.misalignment, shape.side);
    GuardedBuffer work(work_bytes, 0, shape.side);
    Run(*table, BasicResampleBand<Sample>{.source = source.rows(),
                                          .source_width = width,
                                          .channels = shape.channels,
                                          .rows = rows.taps().data(),
                                          .row_count = shape.row_count,
                                          .columns = columns.taps().data(),
                                          .column_count = destination_width,
                                          .longest_run = columns.longest_run(),
                                          .destination = destination.data(),
                                          .stride = stride,
                                          .work = work.data()});
    if (expected.empty())
      expected.assign(destination.data(), destination.data() + stride * shape.row_count);
    const auto difference = std::mismatch(expected.begin(), expected.end(), destination.data());
    ASSERT_TRUE(difference.first == expected.end())
        << table->target << ": " << shape << ", sample "
        << static_cast<std::size_t>(difference.first - expected.begin()) % stride << " of row "
        << static_cast<std::size_t>(difference.first - expected.begin()) / stride << " is "
        << int{*difference.second} << ", not " << int{*difference.first};
    ASSERT_TRUE(destination.SurroundingsAreUntouched()) << table->target << ": " << shape;
    ASSERT_TRUE(work.SurroundingsAreUntouched()) << table->target << ": " << shape;
  }
}

void CheckBothSamples(const Case& shape) {
  ASSERT_NO_FATAL_FAILURE(CheckAllTables<std::uint8_t>(shape));
  ASSERT_NO_FATAL_FAILURE(CheckAllTables<std::int16_t>(shape));
}

std::int32_t Scaled(std::int32_t size, std::int32_t numerator, std::int32_t denominator) {
  return std::max(1, size * numerator / denominator);
}

TEST(ResampleKernels, EveryTableHasATargetAndFunctionsOfItsOwn) {
  std::set<std::string> targets;
  std::set<const void*> functions;
  for (const ResampleKernels* table : Tables()) {
    targets.insert(table->target);
    functions.insert(reinterpret_cast<const void*>(table->band));
    functions.insert(reinterpret_cast<const void*>(table->fine_band));
  }
  EXPECT_EQ(targets.size(), Tables().size());
  EXPECT_EQ(functions.size(), 2 * Tables().size());
}

TEST(ResampleKernels, SmallWidthsEqualThePlainOnesAndStayInTheirMemory) {
  struct Ratio {
    std::int32_t numerator, denominator;
  };
  constexpr Ratio kRatios[] = {{1, 1}, {1, 2}, {3, 2}, {1, 5}};
  for (const std::uint32_t channels : {1U, 3U, 4U}) {
    for (std::int32_t width = 1; width <= 70; ++width) {
      const auto [numerator, denominator] = kRatios[width % 4];
      const GuardSide side = width / 4 % 2 == 0 ? GuardSide::kAfterEnd : GuardSide::kBeforeStart;
      for (const std::size_t misalignment : {0U, 1U, 7U}) {
        ASSERT_NO_FATAL_FAILURE(CheckBothSamples(
            {channels, width, Scaled(width, numerator, denominator), 9, 8,
             1 + static_cast<std::uint32_t>(width) % 8, misalignment, side, misalignment == 1}));
      }
    }
  }
}

TEST(ResampleKernels, AllRatiosEqualThePlainOnes) {
  for (const std::uint32_t channels : {1U, 3U, 4U}) {
    // Runs within a piece, as long as pieces, and longer ones.
    for (const std::int32_t width : {40, 513, 1300}) {
      for (const std::int32_t destination : {1, 2, 7, 33, 100, 650, 1299, 1950}) {
        ASSERT_NO_FATAL_FAILURE(CheckBothSamples({channels, width, destination, 30, 10, 8, 0,
                                                  GuardSide::kAfterEnd, destination % 2 == 0}));
      }
    }
  }
}

TEST(ResampleKernels, AllNumbersOfRowsEqualThePlainOnes) {
  for (const std::uint32_t channels : {1U, 3U, 4U}) {
    for (std::uint32_t rows = 1; rows <= kResampleRows; ++rows) {
      for (const std::int32_t height : {1, 2, 8, 19, 200}) {
        ASSERT_NO_FATAL_FAILURE(CheckBothSamples(
            {channels, 91, 64, height, 8, rows, 0, GuardSide::kAfterEnd, rows % 2 == 0}));
      }
    }
  }
}

TEST(ResampleKernels, RunsOfColumnsThatLeaveGapsEqualThePlainOnes) {
  // One tap each, far apart: most columns of the source are never asked for.
  ResampleAxis columns;
  ASSERT_TRUE(columns.Compute({0, 5000, 5000, 3}, ResampleFilter::kNearest, {0, 3}));
  const ResampleAxis rows = AxisOf(1, 1, 1);
  std::vector<std::uint8_t> source(5000);
  for (std::size_t x = 0; x < source.size(); ++x) source[x] = static_cast<std::uint8_t>(x / 20);
  const std::uint8_t* const row = source.data();
  std::vector<std::uint8_t> work(ResampleWorkBytes(5000, 1, 1));
  for (const ResampleKernels* table : Tables()) {
    std::vector<std::uint8_t> result(3);
    table->band({&row, 5000, 1, rows.taps().data(), 1, columns.taps().data(), 3, 1, result.data(),
                 3, work.data()});
    // The centres are at 833.3, 2500 and 4166.7.
    EXPECT_EQ(result, (std::vector<std::uint8_t>{833 / 20, 2500 / 20, 4166 / 20})) << table->target;
  }
}

TEST(ResampleKernels, AllColorsWithAllAlphasArePremultipliedToTheNearestUnit) {
  std::vector<std::uint8_t> pixels(std::size_t{256} * 256 * 4);
  for (std::uint32_t i = 0; i < 256 * 256; ++i) {
    const auto color = static_cast<std::uint8_t>(i);
    const std::uint8_t pixel[4] = {color, static_cast<std::uint8_t>(color / 2),
                                   static_cast<std::uint8_t>(255 - color),
                                   static_cast<std::uint8_t>(i >> 8)};
    std::memcpy(&pixels[std::size_t{i} * 4], pixel, 4);
  }
  for (const ResampleKernels* table : Tables()) {
    std::vector<std::int16_t> samples(pixels.size());
    table->premultiply(pixels.data(), pixels.size() / 4, samples.data());
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      const int alpha = pixels[i / 4 * 4 + 3];
      if (i % 4 == 3) {
        ASSERT_EQ(samples[i], alpha * 64) << table->target;
      } else if (alpha == 255) {
        ASSERT_EQ(samples[i], pixels[i] * 64) << table->target;
      } else {
        ASSERT_NEAR(samples[i], pixels[i] * alpha * 64 / 255.0, 1) << table->target;
      }
    }
  }
}

TEST(ResampleKernels, RowsWithAlphaEqualThePlainOnesAndStayInTheirMemory) {
  std::mt19937 random(5);
  for (std::size_t count = 0; count <= 70; ++count) {
    for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
      GuardedBuffer pixels(count * 4, count % 5, side);
      for (std::uint8_t& byte : pixels.span()) byte = static_cast<std::uint8_t>(random());
      pixels.MakeReadOnly();
      std::vector<std::uint8_t> expected(pixels.data(), pixels.data() + count * 4);
      std::vector<std::int16_t> expected_samples(count * 4);
      kPlainResampleKernels.premultiply(pixels.data(), count, expected_samples.data());
      kPlainResampleKernels.limit_to_alpha(expected.data(), count);
      for (const ResampleKernels* table : Tables()) {
        GuardedBuffer samples(count * 8, count % 5 * 2, side);
        table->premultiply(pixels.data(), count, reinterpret_cast<std::int16_t*>(samples.data()));
        const auto* const actual = reinterpret_cast<const std::int16_t*>(samples.data());
        ASSERT_TRUE(std::equal(expected_samples.begin(), expected_samples.end(), actual))
            << table->target << " " << count;
        GuardedBuffer limited(count * 4, count % 5, side);
        std::copy(pixels.span().begin(), pixels.span().end(), limited.data());
        table->limit_to_alpha(limited.data(), count);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), limited.data()))
            << table->target << " " << count;
        ASSERT_TRUE(samples.SurroundingsAreUntouched() && limited.SurroundingsAreUntouched());
      }
    }
  }
}

TEST(ResampleKernels, AnyPixelThatIsNotOpaqueIsFound) {
  for (std::size_t count = 0; count <= 70; ++count) {
    GuardedBuffer pixels(count * 4, count % 3);
    for (std::size_t i = 0; i < count * 4; ++i) {
      pixels.data()[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 255 : i);
    }
    for (const ResampleKernels* table : Tables()) {
      ASSERT_TRUE(table->is_opaque(pixels.data(), count)) << table->target << " " << count;
      for (std::size_t x = 0; x < count; ++x) {
        pixels.data()[4 * x + 3] = static_cast<std::uint8_t>(255 - (1 << x % 8));
        ASSERT_FALSE(table->is_opaque(pixels.data(), count)) << table->target << " " << x;
        pixels.data()[4 * x + 3] = 255;
      }
    }
  }
}

}  // namespace
}  // namespace pixtola::portable
