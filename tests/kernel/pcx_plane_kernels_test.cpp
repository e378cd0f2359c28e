// Every table of PCX plane kernels against the definition, byte for byte.
#include "io/pixels/pcx_plane_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;

/// As many buffers of `size` bytes, read-only and random.
std::vector<std::unique_ptr<GuardedBuffer>> RandomBuffers(std::size_t count, std::size_t size,
                                                          std::size_t misalignment,
                                                          GuardSide side) {
  std::mt19937 random(static_cast<std::uint32_t>(size));
  std::vector<std::unique_ptr<GuardedBuffer>> buffers;
  for (std::size_t i = 0; i < count; ++i) {
    buffers.push_back(std::make_unique<GuardedBuffer>(size, misalignment, side));
    for (std::uint8_t& value : buffers.back()->span()) value = static_cast<std::uint8_t>(random());
    buffers.back()->MakeReadOnly();
  }
  return buffers;
}

/// Calls `check` for rows of all small widths at all places in memory.
template <typename Check>
void ForEveryRow(const Check& check) {
  for (std::size_t width = 0; width <= 130; ++width) {
    for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
      for (const std::size_t misalignment : {0U, 1U, 7U}) {
        SCOPED_TRACE(testing::Message() << "width " << width << ", misalignment " << misalignment);
        check(width, misalignment, side);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

/// The definition puts the planes at their places of a pixel.
TEST(PcxPlaneKernels, BlueComesFirst) {
  const std::uint8_t red[] = {1, 2};
  const std::uint8_t green[] = {3, 4};
  const std::uint8_t blue[] = {5, 6};
  const std::uint8_t alpha[] = {7, 8};
  std::uint8_t pixels[8] = {};
  kPlainPcxPlaneKernels.interleave_rgb(red, green, blue, 2, pixels);
  EXPECT_TRUE(std::equal(pixels, pixels + 6, std::vector<int>{5, 3, 1, 6, 4, 2}.begin()));
  std::uint8_t planes[3][2] = {};
  kPlainPcxPlaneKernels.separate_rgb(pixels, 2, planes[0], planes[1], planes[2]);
  EXPECT_TRUE(std::equal(red, red + 2, planes[0]));
  EXPECT_TRUE(std::equal(green, green + 2, planes[1]));
  EXPECT_TRUE(std::equal(blue, blue + 2, planes[2]));
  kPlainPcxPlaneKernels.interleave_rgba(red, green, blue, alpha, 2, pixels);
  EXPECT_TRUE(std::equal(pixels, pixels + 8, std::vector<int>{5, 3, 1, 7, 6, 4, 2, 8}.begin()));
}

TEST(PcxPlaneKernels, EachRowEqualsThePlainOneAndStaysInItsMemory) {
  const auto tables = test::AllKernels(kPlainPcxPlaneKernels, BestPcxPlaneKernels);
  ForEveryRow([&](std::size_t width, std::size_t misalignment, GuardSide side) {
    const auto planes = RandomBuffers(4, width, misalignment, side);
    std::vector<std::uint8_t> rgb(3 * width);
    std::vector<std::uint8_t> rgba(4 * width);
    kPlainPcxPlaneKernels.interleave_rgb(planes[0]->data(), planes[1]->data(), planes[2]->data(),
                                         width, rgb.data());
    kPlainPcxPlaneKernels.interleave_rgba(planes[0]->data(), planes[1]->data(), planes[2]->data(),
                                          planes[3]->data(), width, rgba.data());
    for (const PcxPlaneKernels* table : tables) {
      GuardedBuffer made_rgb(rgb.size(), misalignment, side);
      table->interleave_rgb(planes[0]->data(), planes[1]->data(), planes[2]->data(), width,
                            made_rgb.data());
      ASSERT_TRUE(std::equal(rgb.begin(), rgb.end(), made_rgb.data())) << table->target;
      ASSERT_TRUE(made_rgb.SurroundingsAreUntouched()) << table->target;
      GuardedBuffer made_rgba(rgba.size(), misalignment, side);
      table->interleave_rgba(planes[0]->data(), planes[1]->data(), planes[2]->data(),
                             planes[3]->data(), width, made_rgba.data());
      ASSERT_TRUE(std::equal(rgba.begin(), rgba.end(), made_rgba.data())) << table->target;
      ASSERT_TRUE(made_rgba.SurroundingsAreUntouched()) << table->target;

      made_rgb.MakeReadOnly();
      GuardedBuffer red(width, misalignment, side);
      GuardedBuffer green(width, misalignment, side);
      GuardedBuffer blue(width, misalignment, side);
      table->separate_rgb(made_rgb.data(), width, red.data(), green.data(), blue.data());
      std::size_t plane = 0;
      for (const GuardedBuffer* made : {&red, &green, &blue}) {
        ASSERT_TRUE(std::equal(made->data(), made->data() + width, planes[plane++]->data()))
            << table->target;
        ASSERT_TRUE(made->SurroundingsAreUntouched()) << table->target;
      }
    }
  });
}

}  // namespace
}  // namespace pixtola
