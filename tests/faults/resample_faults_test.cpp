// Resampling while memory lacks.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "drawing/pixels/resampler.h"
#include "support/fault_injection.h"

namespace pixtola::test {
namespace {

using portable::ResampleFilter;
using portable::Resampler;

constexpr std::uint32_t kSize = 40;
constexpr std::uint32_t kDestination = 25;

/// Clear pixels, so that rows are premultiplied, too.
class ClearRows final : public portable::ResampleSource {
 public:
  const std::uint8_t* Row(std::uint32_t, std::uint32_t first, std::uint32_t,
                          std::uint8_t*) override {
    return pixels_.data() + std::size_t{4} * first;
  }

 private:
  std::vector<std::uint8_t> pixels_ = std::vector<std::uint8_t>(kSize * 4);
};

/// How many rows come.
std::uint32_t RowsThatCome(ClearRows& source) {
  const portable::ResampleGeometry geometry = {0, kSize, kSize, kDestination};
  Resampler resampler;
  if (!resampler.Start(
          {geometry, geometry, ResampleFilter::kBicubic, 4, {0, kDestination}, {0, kDestination}},
          source)) {
    return 0;
  }
  std::uint32_t rows = 0;
  while (rows < kDestination && resampler.NextRow() != nullptr) ++rows;
  return rows;
}

TEST(Resampler, TellsOfEveryAllocationThatFails) {
  ClearRows source;
  for (const Span span : kSpans) {
    std::uint32_t nth = 1;
    for (;; ++nth) {
      FaultPlan plan(Fault::kAllocation, nth, span);
      const std::uint32_t rows = plan.Run([&] { return RowsThatCome(source); });
      if (!plan.HasFired()) {
        EXPECT_EQ(rows, kDestination);
        break;
      }
      EXPECT_LT(rows, kDestination) << nth;
    }
    // The tables of the columns and of each band of rows, the rows and the work memory.
    EXPECT_GT(nth, 15U);
  }
}

}  // namespace
}  // namespace pixtola::test
