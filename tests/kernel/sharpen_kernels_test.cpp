// Every table of sharpening kernels against the definition, byte for byte.
#include "process/pixels/sharpen_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;

const std::vector<const SharpenKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainSharpenKernels, BestSharpenKernels);
  return tables;
}

/// Sharpens `count` rows of both images, whose rows have the same stride.
void SharpenRows(const SharpenKernels& table, std::uint32_t bytes_per_pixel,
                 const std::uint8_t* first_row, std::uint8_t* destination, std::uint32_t stride,
                 std::uint32_t count, std::uint32_t width) {
  const auto sharpen = bytes_per_pixel == 1 ? table.rows_of_8_bit : table.rows_of_24_bit;
  sharpen({first_row, width, count, stride, bytes_per_pixel * 8},
          {destination, width, count, stride, bytes_per_pixel * 8});
}

struct Case {
  std::uint32_t bytes_per_pixel;
  std::uint32_t width;
  std::uint32_t count;
  std::uint32_t stride;
  std::size_t misalignment;
  GuardSide side;
  bool contrast;  // only bytes of 0 and 255, so that much is clamped
};

std::ostream& operator<<(std::ostream& out, const Case& shape) {
  return out << shape.bytes_per_pixel * 8 << " bits, width " << shape.width << ", rows "
             << shape.count << ", stride " << shape.stride << ", misalignment "
             << shape.misalignment << (shape.side == GuardSide::kAfterEnd ? ", end" : ", start")
             << (shape.contrast ? ", contrast" : "");
}

std::size_t RowBytes(const Case& shape) { return std::size_t{shape.width} * shape.bytes_per_pixel; }

/// From the second pixel above the first row to the last but one below the last row: nothing else
/// may be read.
std::size_t ReadableBytes(const Case& shape) {
  return std::size_t{shape.count + 1} * shape.stride + RowBytes(shape) -
         std::size_t{2} * shape.bytes_per_pixel;
}

void Fill(std::span<std::uint8_t> bytes, bool contrast) {
  std::mt19937 random(20261122);
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(contrast ? 255 * (random() % 2) : random());
  }
}

/// The rows by the plain kernel, in a copy that nothing guards.
std::vector<std::uint8_t> Expected(const Case& shape, const std::uint8_t* first_row,
                                   std::size_t destination_bytes) {
  std::vector<std::uint8_t> expected(destination_bytes, GuardedBuffer::kFill);
  SharpenRows(kPlainSharpenKernels, shape.bytes_per_pixel, first_row, expected.data(), shape.stride,
              shape.count, shape.width);
  return expected;
}

void ExpectSameImage(const Case& shape, const char* target,
                     const std::vector<std::uint8_t>& expected, const std::uint8_t* actual) {
  const auto difference = std::mismatch(expected.begin(), expected.end(), actual);
  if (difference.first == expected.end()) return;
  const auto at = static_cast<std::size_t>(difference.first - expected.begin());
  FAIL() << target << ": " << shape << ", byte " << at % shape.stride << " of row "
         << at / shape.stride << " is " << int{*difference.second} << ", not "
         << int{*difference.first};
}

void CheckAllTables(const Case& shape) {
  GuardedBuffer source(ReadableBytes(shape), shape.misalignment, shape.side);
  Fill(source.span(), shape.contrast);
  source.MakeReadOnly();
  const std::uint8_t* first_row = source.data() + shape.stride - shape.bytes_per_pixel;
  const std::size_t destination_bytes =
      std::size_t{shape.count - 1} * shape.stride + RowBytes(shape);
  const auto expected = Expected(shape, first_row, destination_bytes);
  for (const SharpenKernels* table : Tables()) {
    GuardedBuffer destination(destination_bytes, shape.misalignment, shape.side);
    SharpenRows(*table, shape.bytes_per_pixel, first_row, destination.data(), shape.stride,
                shape.count, shape.width);
    ASSERT_NO_FATAL_FAILURE(ExpectSameImage(shape, table->target, expected, destination.data()));
    ASSERT_TRUE(destination.SurroundingsAreUntouched()) << table->target << ": " << shape;
  }
}

TEST(SharpenKernels, EveryTableHasATargetAndFunctionsOfItsOwn) {
  std::set<std::string> targets;
  std::set<const void*> functions;
  for (const SharpenKernels* table : Tables()) {
    targets.insert(table->target);
    functions.insert(reinterpret_cast<const void*>(table->rows_of_8_bit));
    functions.insert(reinterpret_cast<const void*>(table->rows_of_24_bit));
  }
  EXPECT_EQ(targets.size(), Tables().size());
  EXPECT_EQ(functions.size(), 2 * Tables().size());
}

TEST(SharpenKernels, RowsEqualThePlainOnesAndStayInTheirMemory) {
  for (const std::uint32_t bytes_per_pixel : {1U, 3U}) {
    for (std::uint32_t width = 3; width <= 130; ++width) {
      // Fewer rows than a band, whole bands, and bands with a rest.
      const std::uint32_t count = 1 + width % 13;
      const std::uint32_t stride = (width * bytes_per_pixel + 3) / 4 * 4 + width % 3 * 4;
      for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
        for (const std::size_t misalignment : {0U, 1U, 7U}) {
          ASSERT_NO_FATAL_FAILURE(CheckAllTables(
              {bytes_per_pixel, width, count, stride, misalignment, side, misalignment == 1}));
        }
      }
    }
  }
}

TEST(SharpenKernels, AllNumbersOfRowsEqualThePlainOnes) {
  for (const std::uint32_t bytes_per_pixel : {1U, 3U}) {
    for (std::uint32_t count = 1; count <= 20; ++count) {
      // Bands are lower where the stride is about a multiple of 4096.
      for (const std::uint32_t stride : {280U, 4096U, 4160U, 4164U}) {
        ASSERT_NO_FATAL_FAILURE(CheckAllTables(
            {bytes_per_pixel, 91, count, stride, 0, GuardSide::kAfterEnd, count % 4 == 0}));
      }
    }
  }
}

/// Three rows; in the middle of the inner one's every three pixels stands one of all 256 values,
/// with direct neighbours of one and the same sum.
struct AllCentres {
  std::vector<std::uint8_t> rows;
  std::uint32_t stride;
  std::uint32_t width;
};

/// Four values of the sum, whose order changes with the centre.
void ShareNeighbours(std::uint32_t sum, std::uint32_t centre, std::uint8_t (&neighbours)[4]) {
  for (std::uint32_t i = 0; i < 4; ++i) {
    const std::uint32_t share = std::min(sum, 255U);
    neighbours[(i + centre) % 4] = static_cast<std::uint8_t>(share);
    sum -= share;
  }
}

AllCentres MakeAllCentres(std::uint32_t sum, std::uint32_t bytes_per_pixel) {
  constexpr std::uint32_t kPixelsPerCentre = 3;
  AllCentres image;
  image.width = 256 * kPixelsPerCentre;
  image.stride = image.width * bytes_per_pixel;
  image.rows.resize(std::size_t{image.stride} * 3);
  for (std::uint32_t centre = 0; centre < 256; ++centre) {
    std::uint8_t neighbours[4];
    ShareNeighbours(sum, centre, neighbours);
    for (std::uint32_t byte = 0; byte < bytes_per_pixel; ++byte) {
      std::uint8_t* own = image.rows.data() + image.stride +
                          std::size_t{kPixelsPerCentre * centre + 1} * bytes_per_pixel + byte;
      *own = static_cast<std::uint8_t>(centre);
      *(own - bytes_per_pixel) = neighbours[0];
      *(own + bytes_per_pixel) = neighbours[1];
      *(own - image.stride) = neighbours[2];
      *(own + image.stride) = neighbours[3];
    }
  }
  return image;
}

TEST(SharpenKernels, AllCentresWithAllSumsOfNeighboursEqualTheFormula) {
  for (const std::uint32_t bytes_per_pixel : {1U, 3U}) {
    for (std::uint32_t sum = 0; sum <= 1020; ++sum) {
      const AllCentres image = MakeAllCentres(sum, bytes_per_pixel);
      for (const SharpenKernels* table : Tables()) {
        std::vector<std::uint8_t> sharpened(image.stride);
        SharpenRows(*table, bytes_per_pixel, image.rows.data() + image.stride, sharpened.data(),
                    image.stride, 1, image.width);
        for (std::uint32_t centre = 0; centre < 256; ++centre) {
          const int wanted = (18 * static_cast<int>(centre) - 2 * static_cast<int>(sum)) / 10;
          for (std::uint32_t byte = 0; byte < bytes_per_pixel; ++byte) {
            ASSERT_EQ(int{sharpened[std::size_t{3 * centre + 1} * bytes_per_pixel + byte]},
                      std::clamp(wanted, 0, 255))
                << table->target << " " << bytes_per_pixel * 8 << " bits, centre " << centre
                << " neighbours " << sum;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace pixtola
