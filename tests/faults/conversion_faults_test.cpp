// Conversions of pixels in memory when out of memory.

#include <gtest/gtest.h>

#include <algorithm>

#include "faults/fault_images.h"
#include "support/fault_injection.h"
#include "support/test_formats.h"

namespace pixtola::test {
namespace {

constexpr std::uint32_t kDepths[] = {1, 8, 24, 32};

/// An image in memory and a rectangle of it to convert.
struct Source {
  std::uint32_t bits_per_pixel;
  std::uint32_t width;
  std::uint32_t height;
  RECT rect;

  std::uint32_t stride() const { return (width * bits_per_pixel + 31) / 32 * 4; }
};

Source WholeImage(std::uint32_t bits_per_pixel, std::uint32_t width, std::uint32_t height) {
  return {
      bits_per_pixel, width, height, {0, 0, static_cast<LONG>(width), static_cast<LONG>(height)}};
}

/// "On failure the destination is untouched, except that MethodBilevelAdaptive may have filled it
/// with 255."
bool IsLeftAlone(PxtConversionMethod method, const Bytes& destination) {
  const auto is_filled_with = [&](std::uint8_t value) {
    return std::all_of(destination.begin(), destination.end(),
                       [value](std::uint8_t byte) { return byte == value; });
  };
  return is_filled_with(kUntouched) || (method == MethodBilevelAdaptive && is_filled_with(255));
}

/// Converts under every fault: the result is the undisturbed one or none. Returns how many calls
/// failed.
int ConvertUnderEveryFault(PxtConversionMethod method, const Source& source) {
  const Bytes pixels = RandomBytes(std::size_t{source.stride()} * source.height);
  const PaletteBlock palette(0, std::vector<Gdiplus::ARGB>(200, 0xFF305080));
  const auto convert = [&](std::uint8_t* destination, std::uint32_t& size) {
    RECT rect = source.rect;
    std::uint32_t stride = 0;
    return PxtBytesRectToBytes(method, pixels.data(), &rect, source.bits_per_pixel, source.width,
                               source.height, source.stride(), destination, &size, &stride,
                               palette.get());
  };
  std::uint32_t size = 0;
  EXPECT_EQ(convert(nullptr, size), 1);
  Bytes undisturbed(size, kUntouched);
  EXPECT_EQ(convert(undisturbed.data(), size), 1);

  int failures = 0;
  ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    Bytes destination(size, kUntouched);
    const int result = plan.Run([&] { return convert(destination.data(), size); });
    if (result == 1) {
      EXPECT_TRUE(destination == undisturbed);
    } else {
      EXPECT_EQ(result, 0);
      EXPECT_TRUE(plan.HasFired());
      EXPECT_TRUE(IsLeftAlone(method, destination));
      ++failures;
    }
  });
  return failures;
}

// Narrow images are diffused by the plain definition, which has memory of its own.
TEST(ConversionsWithoutMemory, GiveNothingOrTheRightResult) {
  for (const PxtConversionMethod method : kMethods) {
    for (const std::uint32_t bits : kDepths) {
      for (const std::uint32_t width : {21U, 45U}) {
        SCOPED_TRACE(testing::Message() << "method " << method << ", " << bits << " bits");
        const int failures = ConvertUnderEveryFault(method, WholeImage(bits, width, 37));
        // What is neither gathered nor spread needs no memory.
        EXPECT_EQ(failures > 0, method != MethodGray8 && bits != 1);
      }
    }
  }
}

// From some size on other memory is used: for counting and for rows that are diffused together.
TEST(ConversionsWithoutMemory, GiveNothingOrTheRightResultForLargeImages) {
  for (const PxtConversionMethod method : kMethods) {
    for (const std::uint32_t bits : {8U, 24U}) {
      SCOPED_TRACE(testing::Message() << "method " << method << ", " << bits << " bits");
      const int failures = ConvertUnderEveryFault(method, WholeImage(bits, 700, 450));
      EXPECT_EQ(failures > 0, method != MethodGray8);
    }
  }
}

// The rows of a 1-bit rectangle begin at a byte for each pixel to its left, so the last ones reach
// past the image's end; they are copied first.
TEST(ConversionsWithoutMemory, GiveNothingWhenRowsPastTheEndCannotBeCopied) {
  for (const PxtConversionMethod method : kMethods) {
    EXPECT_EQ(ConvertUnderEveryFault(method, {1, 320, 40, {160, 0, 320, 40}}), 1) << method;
  }
}

TEST(BlockOperations, NeedNoMemory) {
  Bytes pixels = RandomBytes(64 * 48 * 4);
  Bytes destination(pixels.size());
  Gdiplus::BitmapData source{};
  source.Width = 64;
  source.Height = 48;
  source.Stride = 64 * 4;
  source.PixelFormat = PixelFormat32bppARGB;
  source.Scan0 = pixels.data();
  for (const auto operation : {PxtFlipVertical, PxtFlipHorizontal, PxtRotateCounterClockwise,
                               PxtRotate180, PxtRotateClockwise}) {
    const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
      Gdiplus::BitmapData turned{};
      turned.Height = 64;
      turned.Stride = 64 * 4;
      turned.Scan0 = destination.data();
      EXPECT_EQ(plan.Run([&] { return PxtRotateFlip(&source, &turned, operation); }), 1);
    });
    EXPECT_EQ(faults, 0U) << operation;
  }
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    const auto size = static_cast<unsigned long>(pixels.size());
    EXPECT_EQ(plan.Run([&] {
      return PxtWhiteBalance(pixels.data(), destination.data(), size, PxtPixelSize24, 0.01F);
    }),
              1);
  });
  EXPECT_EQ(faults, 0U);
}

}  // namespace
}  // namespace pixtola::test
