// Every table of rotations and flips against the definition, byte for byte.
#include "transform/pixels/rotate_flip_kernels.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;

const std::vector<const RotateFlipKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainRotateFlipKernels, BestRotateFlipKernels);
  return tables;
}

/// Rows in memory, as they are given to a kernel.
struct Layout {
  std::size_t row_bytes;  ///< those of the pixels
  std::size_t rows;
  std::size_t padding;  ///< bytes between rows
  bool is_upwards;      ///< the last row comes first in memory

  std::size_t stride() const { return row_bytes + padding; }
  /// Ends with the pixels of the row that is last in memory.
  std::size_t size() const { return rows == 0 ? 0 : (rows - 1) * stride() + row_bytes; }
  std::size_t offset(std::size_t row, std::size_t byte) const {
    return (is_upwards ? rows - 1 - row : row) * stride() + byte;
  }
  std::ptrdiff_t signed_stride() const {
    const auto distance = static_cast<std::ptrdiff_t>(stride());
    return is_upwards ? -distance : distance;
  }
};

/// What a kernel is called with, apart from the pixels.
struct Case {
  bool is_transpose = false;
  std::size_t bytes_per_pixel = 1;
  std::size_t width = 0;
  std::size_t height = 0;
  std::size_t padding = 0;
  std::size_t misalignment = 0;
  bool is_source_upwards = false;
  bool is_destination_upwards = false;
  GuardSide side = GuardSide::kAfterEnd;

  Layout source() const { return {width * bytes_per_pixel, height, padding, is_source_upwards}; }
  Layout destination() const {
    const std::size_t columns = is_transpose ? height : width;
    const std::size_t rows = is_transpose ? width : height;
    return {columns * bytes_per_pixel, rows, padding, is_destination_upwards};
  }
  std::string text() const {
    return std::string(is_transpose ? "transpose" : "mirror") + " of " + std::to_string(width) +
           " x " + std::to_string(height) + " pixels of " + std::to_string(bytes_per_pixel) +
           " bytes, padding " + std::to_string(padding) + ", misalignment " +
           std::to_string(misalignment) + (is_source_upwards ? ", source upwards" : "") +
           (is_destination_upwards ? ", destination upwards" : "");
  }
};

/// The destination's bytes in memory, from the rule alone: padding keeps the buffer's fill.
std::vector<std::uint8_t> Expected(const Case& c, const GuardedBuffer& source) {
  std::vector<std::uint8_t> expected(c.destination().size(), GuardedBuffer::kFill);
  for (std::size_t y = 0; y < c.height; ++y) {
    for (std::size_t x = 0; x < c.width; ++x) {
      const std::size_t column = c.is_transpose ? y : c.width - 1 - x;
      const std::size_t row = c.is_transpose ? x : y;
      for (std::size_t i = 0; i < c.bytes_per_pixel; ++i) {
        expected[c.destination().offset(row, column * c.bytes_per_pixel + i)] =
            source.data()[c.source().offset(y, x * c.bytes_per_pixel + i)];
      }
    }
  }
  return expected;
}

void Run(const RotateFlipKernels& table, const Case& c, const GuardedBuffer& source,
         GuardedBuffer& destination) {
  const BlockKernels& kernels = c.is_transpose ? table.transpose : table.mirror;
  const auto width = static_cast<std::uint32_t>(c.width);
  const auto height = static_cast<std::uint32_t>(c.height);
  const auto bits_per_pixel = static_cast<std::uint32_t>(c.bytes_per_pixel * 8);
  const ImageView from{source.data() + (source.size() ? c.source().offset(0, 0) : 0), width, height,
                       c.source().signed_stride(), bits_per_pixel};
  const MutableImageView to{
      destination.data() + (destination.size() ? c.destination().offset(0, 0) : 0),
      c.is_transpose ? height : width, c.is_transpose ? width : height,
      c.destination().signed_stride(), bits_per_pixel};
  kernels[c.bytes_per_pixel - 1](from, to);
}

std::string FirstDifference(const Case& c, const std::vector<std::uint8_t>& expected,
                            const GuardedBuffer& actual) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (expected[i] == actual.data()[i]) continue;
    return "byte " + std::to_string(i % c.destination().stride()) + " of row " +
           std::to_string(i / c.destination().stride()) + " in memory is " +
           std::to_string(actual.data()[i]) + ", not " + std::to_string(expected[i]);
  }
  return "";
}

/// All tables, the definition among them.
void CheckCase(const Case& c, std::uint32_t seed) {
  std::minstd_rand random(seed);
  GuardedBuffer source(c.source().size(), c.misalignment, c.side);
  for (std::uint8_t& byte : source.span()) byte = static_cast<std::uint8_t>(random() >> 8);
  source.MakeReadOnly();
  const std::vector<std::uint8_t> expected = Expected(c, source);
  for (const RotateFlipKernels* table : Tables()) {
    GuardedBuffer destination(expected.size(), c.misalignment, c.side);
    Run(*table, c, source, destination);
    ASSERT_EQ(FirstDifference(c, expected, destination), "")
        << table->target << " " << c.text() << " seed " << seed;
    ASSERT_TRUE(destination.SurroundingsAreUntouched()) << table->target << " " << c.text();
  }
}

/// Both guards, misaligned starts, and rows that run up or down, all by turns.
Case Vary(Case c, std::uint32_t turn) {
  constexpr std::size_t kMisalignments[] = {0, 1, 7};
  constexpr std::size_t kPaddings[] = {0, 1, 3, 64, 5};
  c.side = turn % 2 == 0 ? GuardSide::kAfterEnd : GuardSide::kBeforeStart;
  c.misalignment = kMisalignments[turn / 2 % 3];
  c.padding = kPaddings[turn % 5];
  c.is_source_upwards = turn / 2 % 2 != 0;
  c.is_destination_upwards = turn / 4 % 2 != 0;
  return c;
}

TEST(RotateFlipKernels, MirrorsOfAllSmallWidthsFollowTheRuleAndStayInTheirMemory) {
  std::uint32_t turn = 0;
  for (std::size_t bytes = 1; bytes <= kLargestPixel; ++bytes) {
    for (std::size_t width = 0; width <= 130; ++width) {
      for (const std::size_t height : {0U, 1U, 2U, 3U}) {
        // Twice, so that each size meets both guards.
        for (std::uint32_t i = 0; i < 2; ++i, ++turn) {
          const Case c{
              .is_transpose = false, .bytes_per_pixel = bytes, .width = width, .height = height};
          CheckCase(Vary(c, turn), turn + 1);
          if (HasFatalFailure()) return;
        }
        ++turn;
      }
    }
  }
}

TEST(RotateFlipKernels, TransposesOfAllSmallSidesFollowTheRuleAndStayInTheirMemory) {
  constexpr std::size_t kSides[] = {0,  1,  2,  3,  4,  5,  7,  8,  9,  15, 16,  17,  31,
                                    32, 33, 47, 48, 63, 64, 65, 66, 96, 97, 127, 128, 129};
  std::uint32_t turn = 0;
  for (std::size_t bytes = 1; bytes <= kLargestPixel; ++bytes) {
    for (std::size_t side = 0; side <= 130; ++side) {
      for (const std::size_t other : kSides) {
        // All pairs with a short side; of the rest every ninth, others with each pixel size.
        if (side > 18 && other > 5 && (side + other + bytes) % 9 != 0) continue;
        const Case wide{
            .is_transpose = true, .bytes_per_pixel = bytes, .width = side, .height = other};
        const Case high{
            .is_transpose = true, .bytes_per_pixel = bytes, .width = other, .height = side};
        CheckCase(Vary(wide, turn), turn + 1);
        CheckCase(Vary(high, turn + 1), turn + 1);
        if (HasFatalFailure()) return;
        turn += 3;
      }
    }
  }
}

TEST(RotateFlipKernels, BlocksOfMoreRowsThanOneBandAreTransposedWhole) {
  std::uint32_t turn = 0;
  for (std::size_t bytes = 1; bytes <= kLargestPixel; ++bytes) {
    for (const std::size_t height : {1023U, 1024U, 1025U, 1100U, 2057U}) {
      const Case c{.is_transpose = true, .bytes_per_pixel = bytes, .width = 131, .height = height};
      CheckCase(Vary(c, turn), turn + 1);
      if (HasFatalFailure()) return;
      turn += 3;
    }
  }
}

TEST(RotateFlipKernels, ASourceOfOneRepeatedRowMayBeGiven) {
  std::vector<std::uint8_t> row(67 * kLargestPixel);
  for (std::size_t i = 0; i < row.size(); ++i) row[i] = static_cast<std::uint8_t>(i);
  for (std::size_t bytes = 1; bytes <= kLargestPixel; ++bytes) {
    for (const RotateFlipKernels* table : Tables()) {
      std::vector<std::uint8_t> turned(67 * 70 * bytes);
      const auto bits_per_pixel = static_cast<std::uint32_t>(bytes * 8);
      const auto stride = static_cast<std::ptrdiff_t>(70 * bytes);
      table->transpose[bytes - 1]({row.data(), 67, 70, 0, bits_per_pixel},
                                  {turned.data(), 70, 67, stride, bits_per_pixel});
      for (std::size_t i = 0; i < turned.size(); ++i) {
        const std::size_t x = i / (70 * bytes);
        ASSERT_EQ(turned[i], row[x * bytes + i % bytes])
            << table->target << " " << bytes << " " << i;
      }
    }
  }
}

}  // namespace
}  // namespace pixtola
