#include "convert/pixels/gray/level_counter.h"

namespace pixtola {

namespace {

/// Below this, clearing and folding the counters of pairs costs more than they save.
constexpr std::uint64_t kFewestPixelsForPairs = 1 << 18;

}  // namespace

LevelCounter::LevelCounter(std::uint64_t pixels)
    : kernels_(BestGrayKernels()),
      pairs_(pixels < kFewestPixelsForPairs ? nullptr
                                            : AllocateZeroed<std::uint32_t>(kPairCounters)) {}

Histogram LevelCounter::Total() const {
  Histogram total = levels_;
  if (pairs_ == nullptr) return total;
  for (std::uint32_t second = 0; second < 256; ++second) {
    std::uint32_t sum = 0;
    for (std::uint32_t first = 0; first < 256; ++first) {
      const std::uint32_t count = pairs_[second * 256 + first];
      sum += count;
      total[first] += count;
    }
    total[second] += sum;
  }
  return total;
}

}  // namespace pixtola
