// The cells of the adaptive method, see the header.
// Must be compiled without contraction of floating-point expressions (-ffp-contract=off).
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "support/reference_conversion.h"

namespace pixtola::test {
namespace {

constexpr std::uint32_t kCell = kReferenceCell;
constexpr std::uint32_t kWindow = 128;  // side of the large window, in pixels
constexpr std::uint32_t kRefresh = 8;   // cells, and rows of cells, that share one large window

// Low 8 bits of the integer part; a value that no signed 32-bit integer can hold gives 0.
std::uint8_t LowByte(double value) {
  const bool fits = value > -2147483649.0 && value < 2147483648.0;  // false for NaN, too
  if (!fits) return 0;
  return static_cast<std::uint8_t>(static_cast<std::uint32_t>(static_cast<std::int32_t>(value)) &
                                   0xFF);
}

}  // namespace

std::vector<std::uint8_t> ReferenceCellThresholds(const std::vector<std::uint8_t>& gray,
                                                  std::uint32_t width, std::uint32_t height) {
  const std::uint32_t columns = width / kCell;
  const std::uint32_t rows = height / kCell;
  constexpr std::size_t kSlots = std::size_t{kWindow} * kWindow;
  const std::uint64_t image_size = std::uint64_t{width} * height;

  std::vector<std::uint8_t> cells;
  std::vector<std::uint8_t> work(kSlots, 0);  // slots that a window does not reach keep their value
  bool large_is_known = false;                // of the large window that the cells at hand share
  std::uint8_t large_mean = 0;
  double large_deviation = 0;
  std::uint32_t row_counter = 0;
  for (std::uint32_t row = 0; row < rows; ++row) {
    std::uint32_t column_counter = 0;
    for (std::uint32_t column = 0; column < columns; ++column) {
      const std::uint64_t corner = std::uint64_t{row} * kCell * width + column * kCell;

      if (!large_is_known) {
        std::fill(work.begin(), work.begin() + 256, std::uint8_t{0});
        std::uint64_t copied = 0;
        for (std::uint32_t y = 0; y < kWindow; ++y) {
          for (std::uint32_t x = 0; x < kWindow; ++x) {
            // Past the right edge a window row runs on into the next row of the image.
            const std::uint64_t position = corner + std::uint64_t{y} * width + x;
            if (position >= image_size) continue;
            const std::uint8_t value = gray.at(static_cast<std::size_t>(position));
            work.at(std::size_t{y} * kWindow + x) = value;
            copied += value;
          }
        }
        // The mean counts the copied bytes only, the deviation all slots.
        large_mean = static_cast<std::uint8_t>(copied / kSlots);
        std::int64_t squares = 0;
        for (const std::uint8_t slot : work) {
          squares += std::int64_t{slot - large_mean} * (slot - large_mean);
        }
        large_deviation = std::sqrt(static_cast<double>(squares) / static_cast<double>(kSlots));
        large_is_known = true;
      }

      std::uint32_t sum = 0;
      std::uint8_t smallest = 255;
      std::vector<std::uint8_t> pixels;
      for (std::uint32_t y = 0; y < kCell; ++y) {
        for (std::uint32_t x = 0; x < kCell; ++x) {
          const std::uint64_t position = corner + std::uint64_t{y} * width + x;
          const std::uint8_t value = gray.at(static_cast<std::size_t>(position));
          pixels.push_back(value);
          sum += value;
          smallest = std::min(smallest, value);
        }
      }
      const auto mean = static_cast<std::uint8_t>(sum / 256);
      std::int64_t squares = 0;
      for (const std::uint8_t pixel : pixels) {
        squares += std::int64_t{pixel - mean} * (pixel - mean);
      }
      const double deviation = std::sqrt(static_cast<double>(squares) / 256.0);

      // A zero mean or a zero large deviation makes an infinite or undefined value, stored as 0.
      const double k = deviation / large_deviation;
      const double m = mean;
      const double n = smallest;
      const double cube_term = k * k * k * 0.05 * (m - n);
      const double square_term = k * k * 0.02 * n;
      const double ratio_term = large_mean * 0.1 / m;
      cells.push_back(LowByte(cube_term + m * 0.6 + square_term + ratio_term));

      if (++column_counter == kRefresh) {
        column_counter = 0;
        large_is_known = false;
      }
    }
    if (++row_counter == kRefresh) {
      row_counter = 0;
      large_is_known = false;
    }
  }
  return cells;
}

}  // namespace pixtola::test
