// PxtWhiteBalance on pixels in memory: its checks, known results, and the whole of it against a
// definition of its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "platform.h"
#include "support/bytes.h"

namespace pixtola::test {
namespace {

constexpr std::uint8_t kFill = 0xA5;

Bytes Balanced(Bytes source, PxtPixelSize pixel_size, float clip_fraction) {
  const std::size_t size = source.size();
  Bytes destination(size + 1, kFill);
  source.reserve(1);  // without bytes there is still a buffer
  EXPECT_EQ(PxtWhiteBalance(source.data(), destination.data(), static_cast<unsigned long>(size),
                            pixel_size, clip_fraction),
            1);
  EXPECT_EQ(destination.back(), kFill);
  destination.pop_back();
  return destination;
}

Bytes Repeat(const std::vector<std::pair<int, std::uint8_t>>& runs) {
  Bytes bytes;
  for (const auto& [count, value] : runs) {
    bytes.insert(bytes.end(), static_cast<std::size_t>(count), value);
  }
  return bytes;
}

TEST(WhiteBalanceBytes, RefusesMissingBuffersAndUnknownSizes) {
  Bytes bytes(12, 1);
  EXPECT_EQ(PxtWhiteBalance(nullptr, bytes.data(), 12, PxtPixelSize8, 0), 0);
  EXPECT_EQ(PxtWhiteBalance(bytes.data(), nullptr, 12, PxtPixelSize8, 0), 0);
  for (const std::uint32_t size : {0U, 2U, 4U, 16U, 48U, 64U, 256U + 8U}) {
    EXPECT_EQ(PxtWhiteBalance(bytes.data(), bytes.data(), 12, static_cast<PxtPixelSize>(size), 0),
              0);
  }
  EXPECT_EQ(bytes, Bytes(12, 1));
}

TEST(WhiteBalanceBytes, RefusesMoreBytesThan32BitsCount) {
  if constexpr (std::numeric_limits<unsigned long>::max() > 0xFFFFFFFF) {
    Bytes bytes(4, 1);
    // 2^32 + 4, which would be 4 in 32 bits.
    const unsigned long count = std::numeric_limits<unsigned long>::max() / 0xFFFFFFFF + 3;
    for (const PxtPixelSize size : {PxtPixelSize1, PxtPixelSize8}) {
      EXPECT_EQ(PxtWhiteBalance(bytes.data(), bytes.data(), count, size, 0), 0);
    }
  }
}

TEST(WhiteBalanceBytes, CopiesBilevelBytes) {
  const Bytes source = {0x12, 0x34, 0x56, 0x00, 0xFF};
  EXPECT_EQ(Balanced(source, PxtPixelSize1, 0.5F), source);
}

TEST(WhiteBalanceBytes, DoesNothingWithoutBytes) {
  for (const PxtPixelSize size : {PxtPixelSize1, PxtPixelSize8, PxtPixelSize24, PxtPixelSize32}) {
    EXPECT_EQ(Balanced({}, size, 0.01F), Bytes());
  }
}

TEST(WhiteBalanceBytes, LeavesFlatPixelsAsTheyAre) {
  const Bytes flat(100, 100);
  EXPECT_EQ(Balanced(flat, PxtPixelSize8, 0), flat);
}

TEST(WhiteBalanceBytes, StretchesToTheFullRange) {
  EXPECT_EQ(Balanced(Repeat({{50, 50}, {50, 200}}), PxtPixelSize8, 0),
            Repeat({{50, 0}, {50, 255}}));
  // (125 - 50) * 255 / 150 is 127.5, and halves go up.
  EXPECT_EQ(Balanced(Repeat({{50, 50}, {1, 125}, {50, 200}}), PxtPixelSize8, 0),
            Repeat({{50, 0}, {1, 128}, {50, 255}}));
}

TEST(WhiteBalanceBytes, ClipsAShareOfThePixels) {
  EXPECT_EQ(Balanced(Repeat({{2, 10}, {49, 50}, {47, 200}, {2, 240}}), PxtPixelSize8, 0.02F),
            Repeat({{2, 0}, {49, 0}, {47, 255}, {2, 255}}));
}

TEST(WhiteBalanceBytes, StretchesEveryChannelByItself) {
  Bytes source;
  Bytes expected;
  for (int i = 0; i < 10; ++i) {
    const bool is_bright = i % 2 != 0;
    for (const int value : {is_bright ? 110 : 100, 77, is_bright ? 30 : 90}) {
      source.push_back(static_cast<std::uint8_t>(value));
    }
    for (const int value : {is_bright ? 255 : 0, 77, is_bright ? 0 : 255}) {
      expected.push_back(static_cast<std::uint8_t>(value));
    }
  }
  EXPECT_EQ(Balanced(source, PxtPixelSize24, 0), expected);
}

TEST(WhiteBalanceBytes, StretchesAlphaToo) {
  EXPECT_EQ(Balanced({9, 9, 9, 100, 9, 9, 9, 120, 9, 9, 9, 110}, PxtPixelSize32, 0),
            (Bytes{9, 9, 9, 0, 9, 9, 9, 255, 9, 9, 9, 128}));
}

TEST(WhiteBalanceBytes, LeavesBytesAfterTheLastWholePixel) {
  const Bytes stretched = Balanced({10, 20, 30, 11, 21, 31, 99, 98}, PxtPixelSize24, 0);
  EXPECT_EQ(stretched, (Bytes{0, 0, 0, 255, 255, 255, kFill, kFill}));
  const Bytes tail_only = Balanced({10, 20, 30}, PxtPixelSize32, 0);
  EXPECT_EQ(tail_only, (Bytes{kFill, kFill, kFill}));
}

TEST(WhiteBalanceBytes, TakesFractionsThatAreNotPositiveForZero) {
  const Bytes source = Repeat({{50, 50}, {50, 200}});
  const Bytes expected = Balanced(source, PxtPixelSize8, 0);
  EXPECT_EQ(Balanced(source, PxtPixelSize8, -1.0F), expected);
  EXPECT_EQ(Balanced(source, PxtPixelSize8, std::numeric_limits<float>::quiet_NaN()), expected);
}

TEST(WhiteBalanceBytes, KeepsPixelsOfWhichAllMayBeClipped) {
  const Bytes source = Repeat({{50, 50}, {50, 200}});
  EXPECT_EQ(Balanced(source, PxtPixelSize8, 1.0F), source);
  EXPECT_EQ(Balanced(source, PxtPixelSize8, 1e30F), source);
}

// ------------------------------------------------------------------------ a definition of its own

struct Points {
  int black;
  int white;
};

Points PointsOf(const std::vector<std::int64_t>& counts, std::int64_t clip_count) {
  Points points{0, 255};
  std::int64_t sum = 0;
  for (std::size_t i = 0; i <= 254 && points.black == 0; ++i) {
    sum += counts[i];
    if (std::abs(sum - clip_count) < std::abs(sum + counts[i + 1] - clip_count)) {
      points.black = static_cast<int>(i) + 1;
    }
  }
  sum = 0;
  for (std::size_t i = 254; i >= 1 && points.white == 255; --i) {
    sum += counts[i];
    if (std::abs(sum - clip_count) < std::abs(sum + counts[i - 1] - clip_count)) {
      points.white = static_cast<int>(i) - 1;
    }
  }
  return points;
}

Bytes BalancedByDefinition(const Bytes& source, std::size_t channels, float clip_fraction) {
  const std::size_t pixel_count = source.size() / channels;
  const auto clip_count =
      static_cast<std::int64_t>(static_cast<float>(pixel_count) * clip_fraction);
  Bytes result(source.size(), kFill);
  for (std::size_t c = 0; c < channels; ++c) {
    std::vector<std::int64_t> counts(256);
    for (std::size_t i = 0; i < pixel_count; ++i) ++counts[source[i * channels + c]];
    const auto [low, high] = PointsOf(counts, clip_count);
    for (std::size_t i = 0; i < pixel_count; ++i) {
      int value = source[i * channels + c];
      if (low < high) {
        // The nearest integer of the exact quotient, halves up.
        const int above = std::clamp(value - low, 0, high - low);
        value = (above * 510 + high - low) / (2 * (high - low));
      }
      result[i * channels + c] = static_cast<std::uint8_t>(value);
    }
  }
  return result;
}

/// Each channel with a brightness and a contrast of its own.
Bytes RandomPixels(std::size_t size, std::size_t channels, std::mt19937& random) {
  Bytes bytes(size);
  std::uint32_t base[4];
  std::uint32_t range[4];
  for (std::size_t c = 0; c < 4; ++c) {
    range[c] = 1 + static_cast<std::uint32_t>(random() % 256);
    base[c] = static_cast<std::uint32_t>(random() % (257 - range[c]));
  }
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t c = i % channels;
    // The squares make one end of the range rare.
    const auto part = static_cast<std::uint32_t>(random() % 256);
    bytes[i] = static_cast<std::uint8_t>(base[c] + part * part * range[c] / 65536);
  }
  return bytes;
}

void ExpectBalance(const Bytes& source, std::size_t channels, float clip_fraction,
                   std::uint32_t seed) {
  const Bytes expected = BalancedByDefinition(source, channels, clip_fraction);
  const auto size = static_cast<PxtPixelSize>(channels * 8);
  const Bytes balanced = Balanced(source, size, clip_fraction);
  Bytes in_place = source;
  EXPECT_EQ(PxtWhiteBalance(in_place.data(), in_place.data(),
                            static_cast<unsigned long>(source.size()), size, clip_fraction),
            1);
  // What is after the last whole pixel stays in place.
  const std::size_t whole = source.size() / channels * channels;
  Bytes expected_in_place(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(whole));
  expected_in_place.insert(expected_in_place.end(),
                           source.begin() + static_cast<std::ptrdiff_t>(whole), source.end());
  const auto first_difference = [](const Bytes& a, const Bytes& b) {
    return std::mismatch(a.begin(), a.end(), b.begin()).first - a.begin();
  };
  ASSERT_EQ(first_difference(expected, balanced), static_cast<std::ptrdiff_t>(source.size()))
      << channels << " channels, " << source.size() << " bytes, seed " << seed;
  ASSERT_EQ(first_difference(expected_in_place, in_place),
            static_cast<std::ptrdiff_t>(source.size()))
      << channels << " channels, " << source.size() << " bytes, seed " << seed << ", in place";
}

TEST(WhiteBalanceBytes, EqualsItsDefinition) {
  for (std::uint32_t seed = 0; seed < 600; ++seed) {
    std::mt19937 random(seed);
    const std::size_t channels = std::vector<std::size_t>{1, 3, 4}[seed % 3];
    const std::size_t size = 1 + random() % (seed % 2 == 0 ? 300 : 9000);
    const float fraction = std::vector<float>{0, 0.005F, 0.01F, 0.1F, 0.4F}[random() % 5];
    ASSERT_NO_FATAL_FAILURE(
        ExpectBalance(RandomPixels(size, channels, random), channels, fraction, seed));
  }
}

TEST(WhiteBalanceBytes, EqualsItsDefinitionOnLargeImages) {
  for (std::uint32_t seed = 0; seed < 12; ++seed) {
    std::mt19937 random(seed);
    const std::size_t channels = std::vector<std::size_t>{1, 3, 4}[seed % 3];
    const std::size_t size = 270000 * channels + random() % 1000;
    const float fraction = std::vector<float>{0, 0.0001F, 0.01F, 0.1F}[seed / 3];
    ASSERT_NO_FATAL_FAILURE(
        ExpectBalance(RandomPixels(size, channels, random), channels, fraction, seed));
  }
}

}  // namespace
}  // namespace pixtola::test
