#include "process/pixels/convolution.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

namespace pixtola {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kUntouched = 0xA5;
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

/// The sharpening by another description, so that it takes the general way.
constexpr Convolution kSharpeningDoubled{{0, -4, 0, -4, 36, -4, 0, -4, 0}, 20, 0};

constexpr Convolution OnlyCentre(std::int32_t coefficient, std::int32_t divisor,
                                 std::int32_t offset) {
  return {{0, 0, 0, 0, coefficient, 0, 0, 0, 0}, divisor, offset};
}

/// 3 rows of 3 pixels of 8 bits, one byte of padding each.
Bytes ThreeByThree(std::uint8_t around, std::uint8_t centre) {
  Bytes image(12, around);
  image[5] = centre;
  return image;
}

/// What the centre of 3 by 3 gray pixels becomes.
int CentreAfter(const Bytes& source, const Convolution& convolution) {
  Bytes destination(12, kUntouched);
  EXPECT_EQ(
      ConvolvePixels({source.data(), 3, 3, 4, 8}, {destination.data(), 3, 3, 4, 8}, convolution),
      1);
  return destination[5];
}

/// Sharpens 8-bit images without padding.
Bytes Sharpened(const Bytes& source, std::uint32_t width, std::uint32_t height) {
  Bytes destination(source.size(), kUntouched);
  EXPECT_EQ(ConvolvePixels({source.data(), width, height, width, 8},
                           {destination.data(), width, height, width, 8}, kSharpening),
            1);
  return destination;
}

TEST(ConvolvePixels, SharpeningLeavesFlatImagesAlone) {
  for (const int level : {0, 1, 127, 254, 255}) {
    const Bytes image(std::size_t{8} * 8, static_cast<std::uint8_t>(level));
    EXPECT_EQ(Sharpened(image, 8, 8), image);
  }
}

TEST(ConvolvePixels, SharpeningABrightPixelBrightensItAndDarkensItsDirectNeighbours) {
  Bytes image(std::size_t{8} * 7, 0);
  image[3 * 8 + 3] = 100;
  Bytes expected = image;
  expected[3 * 8 + 3] = 180;  // 18 * 100 / 10; around it -20 is clamped
  EXPECT_EQ(Sharpened(image, 8, 7), expected);
}

TEST(ConvolvePixels, SharpeningADarkPixelBrightensItsDirectNeighbours) {
  Bytes image(std::size_t{8} * 7, 100);
  image[3 * 8 + 3] = 0;
  Bytes expected = image;  // in the middle -80 is clamped
  for (const std::size_t neighbour : {2U * 8 + 3, 3U * 8 + 2, 3U * 8 + 4, 4U * 8 + 3}) {
    expected[neighbour] = 120;  // (1800 - 600) / 10
  }
  EXPECT_EQ(Sharpened(image, 8, 7), expected);
}

TEST(ConvolvePixels, ChannelsOf24BitsDoNotMix) {
  constexpr std::uint32_t kStride = 20;  // 6 pixels and 2 bytes
  Bytes image(std::size_t{kStride} * 5, 0);
  image[2 * kStride + 2 * 3 + 1] = 100;  // one green pixel on black
  Bytes expected = image;
  expected[2 * kStride + 2 * 3 + 1] = 180;
  Bytes destination(image.size(), 0);
  ASSERT_EQ(ConvolvePixels({image.data(), 6, 5, kStride, 24},
                           {destination.data(), 6, 5, kStride, 24}, kSharpening),
            1);
  EXPECT_EQ(destination, expected);
}

TEST(ConvolvePixels, CoefficientsGoRowByRowFromTheTopLeft) {
  for (const std::uint32_t bytes_per_pixel : {1U, 3U}) {
    const std::uint32_t stride = bytes_per_pixel == 1 ? 4 : 12;
    for (std::uint32_t i = 0; i < 9; ++i) {
      Bytes image(std::size_t{stride} * 3, 0);
      for (std::uint32_t byte = 0; byte < bytes_per_pixel; ++byte) {
        image[i / 3 * stride + i % 3 * bytes_per_pixel + byte] =
            static_cast<std::uint8_t>(50 + byte);
      }
      for (std::uint32_t k = 0; k < 9; ++k) {
        Convolution only_one{{}, 1, 0};
        only_one.coefficients[k] = 3;
        Bytes destination(image.size(), kUntouched);
        ASSERT_EQ(ConvolvePixels({image.data(), 3, 3, stride, bytes_per_pixel * 8},
                                 {destination.data(), 3, 3, stride, bytes_per_pixel * 8}, only_one),
                  1);
        for (std::uint32_t byte = 0; byte < bytes_per_pixel; ++byte) {
          EXPECT_EQ(destination[stride + bytes_per_pixel + byte], k == i ? 3 * (50 + byte) : 0)
              << "pixel " << i << " coefficient " << k << " byte " << byte;
        }
      }
    }
  }
}

TEST(ConvolvePixels, DivisionTruncatesTowardZeroBeforeTheOffsetIsAdded) {
  const Bytes image = ThreeByThree(0, 7);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(1, 2, 0)), 3);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(-1, 2, 10)), 7);  // -3.5 becomes -3
  EXPECT_EQ(CentreAfter(image, OnlyCentre(1, -2, 10)), 7);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(-1, -2, 10)), 13);
}

TEST(ConvolvePixels, ValuesAreClamped) {
  const Bytes image = ThreeByThree(0, 200);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(2, 1, 0)), 255);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(-2, 1, 0)), 0);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(1, 1, 55)), 255);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(1, 1, -200)), 0);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(0, 1, kMax)), 255);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(0, 1, kMin)), 0);
}

TEST(ConvolvePixels, SumsWrapAt32Bits) {
  // 2 * 0x7FFFFFFF is -2 in 32 bits; 128 * 0x02000001 is 2^32 + 128.
  EXPECT_EQ(CentreAfter(ThreeByThree(0, 2), OnlyCentre(kMax, 1, 100)), 98);
  EXPECT_EQ(CentreAfter(ThreeByThree(0, 128), OnlyCentre(0x02000001, 1, 0)), 128);
}

TEST(ConvolvePixels, TheMostNegativeSumCanBeDividedByMinusOne) {
  const Bytes image = ThreeByThree(0, 1);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(kMin, -1, 0)), 255);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(kMin, -1, kMin)), 0);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(kMin, -1, kMin + 9)), 9);
}

TEST(ConvolvePixels, TheOffsetDoesNotWrap) {
  const Bytes image = ThreeByThree(0, 1);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(kMax, 1, kMax)), 255);
  EXPECT_EQ(CentreAfter(image, OnlyCentre(kMin, 1, kMin)), 0);
}

TEST(ConvolvePixels, ADivisorOfZeroIsRefusedBeforeAnythingIsWritten) {
  const Bytes image = ThreeByThree(1, 2);
  Bytes destination(12, kUntouched);
  EXPECT_EQ(ConvolvePixels({image.data(), 3, 3, 4, 8}, {destination.data(), 3, 3, 4, 8},
                           OnlyCentre(1, 0, 0)),
            0);
  // Even where nothing would be divided.
  EXPECT_EQ(ConvolvePixels({image.data(), 2, 2, 4, 8}, {destination.data(), 2, 2, 4, 8},
                           OnlyCentre(1, 0, 0)),
            0);
  EXPECT_EQ(destination, Bytes(12, kUntouched));
}

TEST(ConvolvePixels, WrongArgumentsAreRefusedBeforeAnythingIsWritten) {
  const Bytes image(std::size_t{64} * 3, 1);
  Bytes written(image.size(), kUntouched);
  const std::uint8_t* source = image.data();
  std::uint8_t* destination = written.data();
  EXPECT_EQ(ConvolvePixels({nullptr, 3, 3, 4, 8}, {destination, 3, 3, 4, 8}, kSharpening), 0);
  EXPECT_EQ(ConvolvePixels({source, 3, 3, 4, 8}, {nullptr, 3, 3, 4, 8}, kSharpening), 0);
  EXPECT_EQ(ConvolvePixels({source, 5, 3, 4, 8}, {destination, 5, 3, 4, 8}, kSharpening), 0);
  EXPECT_EQ(ConvolvePixels({source, 3, 3, 5, 8}, {destination, 3, 3, 5, 8}, kSharpening), 0);
  EXPECT_EQ(ConvolvePixels({source, 3, 3, 8, 24}, {destination, 3, 3, 8, 24}, kSharpening), 0);
  for (const std::uint32_t depth : {0U, 1U, 4U, 16U, 32U, 48U, 64U}) {
    EXPECT_EQ(
        ConvolvePixels({source, 3, 3, 64, depth}, {destination, 3, 3, 64, depth}, kSharpening), 0)
        << depth;
  }
  EXPECT_EQ(written, Bytes(image.size(), kUntouched));
}

TEST(ConvolvePixels, RowsOf4GiBAreRefusedThoughTheirStrideCheckWraps) {
  const Bytes image(12, 1);
  Bytes destination(12, kUntouched);
  // 3 * 0x55555556 is 2 in 32 bits.
  EXPECT_EQ(ConvolvePixels({image.data(), 0x55555556, 3, 4, 24},
                           {destination.data(), 0x55555556, 3, 4, 24}, kSharpeningDoubled),
            0);
  EXPECT_EQ(destination, Bytes(12, kUntouched));
}

/// All small sizes by a definition of its own, with padding that must stay as it is.
void CheckSmallImages(std::uint32_t bytes_per_pixel, const Convolution& convolution) {
  std::mt19937 random(11);
  for (std::uint32_t height = 0; height <= 9; ++height) {
    for (std::uint32_t width = 0; width <= 70; ++width) {
      const std::uint32_t row_bytes = width * bytes_per_pixel;
      const std::uint32_t stride = (row_bytes + 3) / 4 * 4 + 8;
      Bytes source(std::size_t{stride} * height + 1);
      for (std::uint8_t& byte : source) byte = static_cast<std::uint8_t>(random());
      Bytes expected(source.size(), kUntouched);
      for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < row_bytes; ++x) {
          const std::uint32_t column = x / bytes_per_pixel;
          const std::size_t at = std::size_t{y} * stride + x;
          expected[at] = source[at];
          if (y == 0 || y + 1 == height || column == 0 || column + 1 == width) continue;
          const int around = source[at - stride] + source[at + stride] +
                             source[at - bytes_per_pixel] + source[at + bytes_per_pixel];
          expected[at] =
              static_cast<std::uint8_t>(std::clamp((18 * source[at] - 2 * around) / 10, 0, 255));
        }
      }
      Bytes destination(source.size(), kUntouched);
      ASSERT_EQ(ConvolvePixels({source.data(), width, height, stride, bytes_per_pixel * 8},
                               {destination.data(), width, height, stride, bytes_per_pixel * 8},
                               convolution),
                1);
      ASSERT_EQ(destination, expected) << width << " by " << height;
    }
  }
}

TEST(ConvolvePixels, SmallImagesAreSharpenedByTheFastWay) {
  CheckSmallImages(1, kSharpening);
  CheckSmallImages(3, kSharpening);
}

TEST(ConvolvePixels, SmallImagesAreSharpenedByTheGeneralWay) {
  CheckSmallImages(1, kSharpeningDoubled);
  CheckSmallImages(3, kSharpeningDoubled);
}

}  // namespace
}  // namespace pixtola
