#include "imaging/nearest_color.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>

#include "imaging/argb.h"

namespace pixtola::portable {

namespace {

constexpr std::int32_t kCellSide = 16;

constexpr std::int32_t Square(std::int32_t value) { return value * value; }

/// The least and the greatest squared distance from `value` to the cell of `channel`.
struct SquareRange {
  std::int32_t least;
  std::int32_t greatest;
};

SquareRange SquaresToCell(std::int32_t value, std::int32_t channel) {
  const std::int32_t low = channel / kCellSide * kCellSide;
  const std::int32_t high = low + kCellSide - 1;
  return {Square(value - std::clamp(value, low, high)),
          std::max(Square(value - low), Square(value - high))};
}

}  // namespace

NearestColor::NearestColor(const Palette& palette, unsigned usable)
    : count_(std::min(usable, palette.count)) {
  for (unsigned i = 0; i < count_; ++i) {
    const Gdiplus::ARGB entry = palette.entries[i];
    entries_[i] = {static_cast<std::int32_t>(Red(entry)), static_cast<std::int32_t>(Green(entry)),
                   static_cast<std::int32_t>(Blue(entry))};
  }
  std::iota(all_.begin(), all_.end(), std::uint8_t{0});
}

unsigned NearestColor::IndexOf(Gdiplus::ARGB argb) {
  const Channels color = {static_cast<std::int32_t>(Red(argb)),
                          static_cast<std::int32_t>(Green(argb)),
                          static_cast<std::int32_t>(Blue(argb))};
  unsigned best = 0;
  std::int32_t best_distance = std::numeric_limits<std::int32_t>::max();
  for (const std::uint8_t i : CandidatesOf(color)) {
    const std::int32_t distance = Square(entries_[i].red - color.red) +
                                  Square(entries_[i].green - color.green) +
                                  Square(entries_[i].blue - color.blue);
    if (distance < best_distance) {
      best_distance = distance;
      best = i;
    }
  }
  return best;
}

std::span<const std::uint8_t> NearestColor::CandidatesOf(const Channels& color) {
  const std::int32_t index =
      (color.red / kCellSide * 16 + color.green / kCellSide) * 16 + color.blue / kCellSide;
  Cell& cell = cells_[static_cast<std::size_t>(index)];
  if (cell.count == 0) FillCell(color, cell);
  if (cell.count == 0) return {all_.data(), count_};
  return {candidates_.get() + cell.start, cell.count};
}

void NearestColor::FillCell(const Channels& color, Cell& cell) {
  if (!Reserve(count_)) return;
  // An entry is ruled out when even its least distance to the cell exceeds the greatest distance of
  // another.
  std::array<std::int32_t, 256> least;
  std::int32_t bound = std::numeric_limits<std::int32_t>::max();
  for (unsigned i = 0; i < count_; ++i) {
    const SquareRange red = SquaresToCell(entries_[i].red, color.red);
    const SquareRange green = SquaresToCell(entries_[i].green, color.green);
    const SquareRange blue = SquaresToCell(entries_[i].blue, color.blue);
    least[i] = red.least + green.least + blue.least;
    bound = std::min(bound, red.greatest + green.greatest + blue.greatest);
  }
  cell.start = candidates_size_;
  for (unsigned i = 0; i < count_; ++i) {
    if (least[i] <= bound) candidates_[candidates_size_++] = static_cast<std::uint8_t>(i);
  }
  cell.count = candidates_size_ - cell.start;
}

/// Makes room for `count` more candidates; false when out of memory.
bool NearestColor::Reserve(std::uint32_t count) {
  if (candidates_size_ + count <= candidates_capacity_) return true;
  const std::uint32_t capacity = 2 * candidates_capacity_ + 4096;  // about 2^21 are needed at most
  HeapBytes grown = AllocateBytes(capacity);
  if (grown == nullptr) return false;
  if (candidates_size_ > 0) std::memcpy(grown.get(), candidates_.get(), candidates_size_);
  candidates_ = std::move(grown);
  candidates_capacity_ = capacity;
  return true;
}

}  // namespace pixtola::portable
