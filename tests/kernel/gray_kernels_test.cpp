// Every table of gray kernels against the definition, byte for byte.
#include "convert/pixels/gray/gray_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "format/gray_weights.h"
#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;

const std::vector<const GrayKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainGrayKernels, BestGrayKernels);
  return tables;
}

/// Any permutation without fixed points or order serves.
GrayLookup MakeScatteredLookup() {
  GrayLookup lookup;
  for (std::uint32_t i = 0; i < 256; ++i) lookup[i] = static_cast<std::uint8_t>(i * 167 + 13);
  return lookup;
}

struct RowKernel {
  const char* name;
  std::uint32_t bits_per_pixel;
  std::function<void(const GrayKernels&, const std::uint8_t*, std::uint32_t, std::uint8_t*)> run;
};

const RowKernel kRowKernels[] = {
    {"row_from_1_bit", 1,
     [](const GrayKernels& kernels, const std::uint8_t* source, std::uint32_t count,
        std::uint8_t* gray) { kernels.row_from_1_bit(source, count, gray); }},
    {"row_from_8_bit", 8,
     [](const GrayKernels& kernels, const std::uint8_t* source, std::uint32_t count,
        std::uint8_t* gray) {
       static const GrayLookup lookup = MakeScatteredLookup();
       kernels.row_from_8_bit(source, count, lookup, gray);
     }},
    {"row_from_24_bit", 24,
     [](const GrayKernels& kernels, const std::uint8_t* source, std::uint32_t count,
        std::uint8_t* gray) { kernels.row_from_24_bit(source, count, gray); }},
    {"row_from_32_bit", 32,
     [](const GrayKernels& kernels, const std::uint8_t* source, std::uint32_t count,
        std::uint8_t* gray) { kernels.row_from_32_bit(source, count, gray); }},
};

TEST(GrayKernels, EachRowEqualsThePlainOneAndStaysInItsMemory) {
  std::mt19937 random(20261121);
  for (const RowKernel& kernel : kRowKernels) {
    for (std::uint32_t count = 0; count <= 130; ++count) {
      for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
        for (const std::size_t misalignment : {0U, 1U, 7U}) {
          GuardedBuffer source((std::size_t{count} * kernel.bits_per_pixel + 7) / 8, misalignment,
                               side);
          for (std::uint8_t& byte : source.span()) byte = static_cast<std::uint8_t>(random());
          source.MakeReadOnly();
          std::vector<std::uint8_t> expected(count);
          kernel.run(kPlainGrayKernels, source.data(), count, expected.data());
          for (const GrayKernels* table : Tables()) {
            GuardedBuffer gray(count, misalignment, side);
            kernel.run(*table, source.data(), count, gray.data());
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), gray.data()))
                << kernel.name << " " << table->target << " count " << count << " misalignment "
                << misalignment;
            ASSERT_TRUE(gray.SurroundingsAreUntouched()) << kernel.name << " " << table->target;
          }
        }
      }
    }
  }
}

TEST(GrayKernels, AllColoursHaveTheGrayOfTheWeightTables) {
  constexpr std::uint32_t kColoursPerRow = 65536;
  for (const std::uint32_t bytes_per_pixel : {3U, 4U}) {
    std::vector<std::uint8_t> source(kColoursPerRow * bytes_per_pixel, 0xEE);
    std::vector<std::uint8_t> expected(kColoursPerRow);
    std::vector<std::uint8_t> gray(kColoursPerRow);
    for (std::uint32_t red = 0; red < 256; ++red) {
      for (std::uint32_t i = 0; i < kColoursPerRow; ++i) {
        const auto blue = static_cast<std::uint8_t>(i);
        const auto green = static_cast<std::uint8_t>(i >> 8);
        source[i * bytes_per_pixel] = blue;
        source[i * bytes_per_pixel + 1] = green;
        source[i * bytes_per_pixel + 2] = static_cast<std::uint8_t>(red);
        expected[i] = GrayValue(static_cast<std::uint8_t>(red), green, blue);
      }
      for (const GrayKernels* table : Tables()) {
        const auto row = bytes_per_pixel == 3 ? table->row_from_24_bit : table->row_from_32_bit;
        row(source.data(), kColoursPerRow, gray.data());
        ASSERT_EQ(gray, expected) << table->target << " red " << red;
      }
    }
  }
}

/// The levels of a count with the pairs taken apart.
Histogram FoldPairs(Histogram levels, const std::vector<std::uint32_t>& pairs) {
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    levels[i % 256] += pairs[i];
    levels[i / 256] += pairs[i];
  }
  return levels;
}

TEST(GrayKernels, LevelsAreAddedToWhatTheHistogramHolds) {
  std::mt19937 random(7);
  for (const std::uint32_t count : {0U, 1U, 2U, 7U, 8U, 9U, 15U, 16U, 63U, 129U, 4096U, 100'001U}) {
    for (const std::uint32_t levels : {1U, 2U, 256U}) {  // flat stretches take a short cut
      GuardedBuffer values(count);
      for (std::uint8_t& value : values.span()) {
        value = static_cast<std::uint8_t>(255 - random() % levels);
      }
      values.MakeReadOnly();
      Histogram before{};
      before[255] = 5;
      before[0] = 0xFFFFFFFF;
      Histogram expected = before;
      for (const std::uint8_t value : values.span()) ++expected[value];
      for (const GrayKernels* table : Tables()) {
        Histogram counted = before;
        table->count_levels(values.data(), count, counted, nullptr);
        ASSERT_EQ(counted, expected) << table->target << " count " << count;
        Histogram apart = before;
        std::vector<std::uint32_t> pairs(kPairCounters);
        table->count_levels(values.data(), count, apart, pairs.data());
        ASSERT_EQ(FoldPairs(apart, pairs), expected) << table->target << " pairs, count " << count;
      }
    }
  }
}

}  // namespace
}  // namespace pixtola
