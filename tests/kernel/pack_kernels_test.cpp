// Every table of packing kernels against the definition, byte for byte.
#include "convert/pixels/otsu/pack_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;

TEST(PackKernels, EachRowEqualsThePlainOneAndStaysInItsMemory) {
  const auto tables = test::AllKernels(kPlainPackKernels, BestPackKernels);
  std::mt19937 random(20261121);
  for (std::uint32_t width = 0; width <= 130; ++width) {
    for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
      for (const std::size_t misalignment : {0U, 1U, 7U}) {
        GuardedBuffer gray(width, misalignment, side);
        for (std::uint8_t& value : gray.span()) value = static_cast<std::uint8_t>(random());
        gray.MakeReadOnly();
        const std::size_t bytes = (width + 7) / 8;
        for (const int level : {0, 1, 127, 128, 129, 255}) {
          const auto threshold = static_cast<std::uint8_t>(level);
          std::vector<std::uint8_t> expected(bytes);
          kPlainPackKernels.row(threshold, gray.data(), width, expected.data());
          for (const PackKernels* table : tables) {
            GuardedBuffer packed(bytes, misalignment, side);
            table->row(threshold, gray.data(), width, packed.data());
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), packed.data()))
                << table->target << " width " << width << " misalignment " << misalignment
                << " threshold " << level;
            ASSERT_TRUE(packed.SurroundingsAreUntouched()) << table->target << " width " << width;
          }
        }
      }
    }
  }
}

TEST(PackKernels, EveryLevelIsWhiteFromTheThresholdOn) {
  std::vector<std::uint8_t> levels(256);
  for (std::uint32_t i = 0; i < 256; ++i) levels[i] = static_cast<std::uint8_t>(i);
  for (const PackKernels* table : test::AllKernels(kPlainPackKernels, BestPackKernels)) {
    for (std::uint32_t threshold = 0; threshold < 256; ++threshold) {
      std::uint8_t packed[32];
      table->row(static_cast<std::uint8_t>(threshold), levels.data(), 256, packed);
      for (std::uint32_t i = 0; i < 256; ++i) {
        ASSERT_EQ((packed[i / 8] >> (7 - i % 8) & 1) != 0, i >= threshold)
            << table->target << " level " << i << " threshold " << threshold;
      }
    }
  }
}

}  // namespace
}  // namespace pixtola
