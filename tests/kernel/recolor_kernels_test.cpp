// Every table of recolouring kernels against the definition, byte for byte.
#include "process/pixels/recolor_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "process/pixels/color_model.h"
#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;
using Bytes = std::vector<std::uint8_t>;

const std::vector<const RecolorKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainRecolorKernels, BestRecolorKernels);
  return tables;
}

/// Empty if the pixels are equal, or else says where they first differ.
std::string FirstDifference(const std::uint8_t* found, const std::uint8_t* expected,
                            std::size_t bytes) {
  if (std::equal(found, found + bytes, expected)) return "";  // much faster
  const std::uint8_t* at = std::mismatch(found, found + bytes, expected).first;
  const auto i = static_cast<std::size_t>(at - found);
  return "pixel " + std::to_string(i / 4) + " byte " + std::to_string(i % 4) + " is " +
         std::to_string(found[i]) + " instead of " + std::to_string(expected[i]);
}

void RecolorRow(const RecolorKernels& kernels, const Recoloring& recoloring, std::uint8_t* pixels,
                std::uint32_t count) {
  kernels.rows(recoloring, {pixels, count, 1, 0, 32});
}

std::string Describe(const Recoloring& recoloring) {
  return "find " + std::to_string(recoloring.find_hue) + " replace by " +
         std::to_string(recoloring.replacement_hue) + " saturation " +
         std::to_string(recoloring.saturation_difference) + " value " +
         std::to_string(recoloring.value_difference) + " tolerance " +
         std::to_string(recoloring.tolerance);
}

// With sanitizers some of the 2^24 colours must do; each byte of a channel is among them.
#ifdef __SANITIZE_ADDRESS__
constexpr std::uint32_t kColorStep = 61;
#else
constexpr std::uint32_t kColorStep = 1;
#endif
constexpr std::uint32_t kColors = (1U << 24) / kColorStep;
constexpr std::uint32_t kColorsPerRow = 65536;

/// `count` colours from the one of this number on: all three bytes of a number, with any alpha.
Bytes ColorsFrom(std::uint32_t number, std::uint32_t count) {
  Bytes colors(std::size_t{count} * 4);
  for (std::size_t i = 0; i < count; ++i) {
    const auto color = (number + static_cast<std::uint32_t>(i)) * kColorStep;
    colors[i * 4] = static_cast<std::uint8_t>(color);
    colors[i * 4 + 1] = static_cast<std::uint8_t>(color >> 8);
    colors[i * 4 + 2] = static_cast<std::uint8_t>(color >> 16);
    colors[i * 4 + 3] = static_cast<std::uint8_t>(color * 7 >> 3);
  }
  return colors;
}

using Conversion = void (*RecolorKernels::*)(const std::uint8_t*, std::uint32_t, std::uint8_t*);
constexpr Conversion kConversions[] = {&RecolorKernels::hsv_from_pixels,
                                       &RecolorKernels::pixels_from_hsv};

TEST(RecolorKernels, TablesAreDistinct) {
  std::set<std::string> targets;
  for (const RecolorKernels* table : Tables()) targets.insert(table->target);
  EXPECT_EQ(targets.size(), Tables().size());
}

TEST(RecolorKernels, AllColorsConvertAsThePlainOnesBothWays) {
  for (std::uint32_t first = 0; first < kColors; first += kColorsPerRow) {
    const std::uint32_t count = std::min(kColorsPerRow, kColors - first);
    const Bytes source = ColorsFrom(first, count);
    Bytes expected(source.size());
    Bytes converted(source.size());
    for (const Conversion conversion : kConversions) {
      (kPlainRecolorKernels.*conversion)(source.data(), count, expected.data());
      for (const RecolorKernels* table : Tables()) {
        std::fill(converted.begin(), converted.end(), std::uint8_t{0xA5});
        (table->*conversion)(source.data(), count, converted.data());
        ASSERT_EQ(FirstDifference(converted.data(), expected.data(), source.size()), "")
            << table->target << " from colour " << first * kColorStep
            << (conversion == kConversions[0] ? " to" : " from") << " hue, saturation, value";
      }
    }
  }
}

TEST(RecolorKernels, ConversionsStayInTheirMemoryAndMayWorkInPlace) {
  std::mt19937 random(11);
  for (std::uint32_t count = 0; count <= 130; ++count) {
    for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
      for (const std::size_t misalignment : {0U, 1U, 7U}) {
        GuardedBuffer source(std::size_t{count} * 4, misalignment, side);
        for (std::uint8_t& byte : source.span()) byte = static_cast<std::uint8_t>(random());
        source.MakeReadOnly();
        Bytes expected(source.size());
        for (const Conversion conversion : kConversions) {
          (kPlainRecolorKernels.*conversion)(source.data(), count, expected.data());
          for (const RecolorKernels* table : Tables()) {
            GuardedBuffer apart(source.size(), misalignment, side);
            (table->*conversion)(source.data(), count, apart.data());
            ASSERT_EQ(FirstDifference(apart.data(), expected.data(), source.size()), "")
                << table->target << " count " << count << " misalignment " << misalignment;
            ASSERT_TRUE(apart.SurroundingsAreUntouched()) << table->target << " count " << count;
            GuardedBuffer in_place(source.size(), misalignment, side);
            std::copy_n(source.data(), source.size(), in_place.data());
            (table->*conversion)(in_place.data(), count, in_place.data());
            ASSERT_EQ(FirstDifference(in_place.data(), expected.data(), source.size()), "")
                << table->target << " in place, count " << count;
          }
        }
      }
    }
  }
}

/// Every distance of the middle and the largest channel from the smallest, in each of the six
/// orders of the channels, as dark and as bright as can be.
Bytes ColorsOfAllProportions() {
  constexpr std::size_t kOrders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2},
                                         {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
  Bytes pixels;
  for (std::uint32_t delta = 0; delta < 256; ++delta) {
    for (std::uint32_t rise = 0; rise <= delta; rise += kColorStep == 1 ? 1 : 5) {
      for (const auto& order : kOrders) {
        for (const std::uint32_t min : {0U, 255 - delta}) {
          std::uint8_t pixel[4] = {0, 0, 0, 255};
          pixel[order[0]] = static_cast<std::uint8_t>(min);
          pixel[order[1]] = static_cast<std::uint8_t>(min + rise);
          pixel[order[2]] = static_cast<std::uint8_t>(min + delta);
          pixels.insert(pixels.end(), pixel, pixel + 4);
        }
      }
    }
  }
  return pixels;
}

TEST(RecolorKernels, EachHueFindsItsColorsAndNoOthers) {
  const Bytes pixels = ColorsOfAllProportions();
  const auto count = static_cast<std::uint32_t>(pixels.size() / 4);
  Bytes hsv(pixels.size());
  kPlainRecolorKernels.hsv_from_pixels(pixels.data(), count, hsv.data());
  Bytes expected(pixels.size());
  Bytes recolored(pixels.size());
  for (std::uint32_t hue = 0; hue < 256; ++hue) {
    // Without saturation and with the highest value, whatever matches becomes white.
    const auto find = static_cast<std::uint8_t>(hue);
    const Recoloring to_white{find, find, -255, 255, 0};
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
      const bool matches = hsv[i] == hue;
      for (std::size_t c = 0; c < 3; ++c) expected[i + c] = matches ? 255 : pixels[i + c];
      expected[i + 3] = 255;
    }
    for (const RecolorKernels* table : Tables()) {
      if (table == &kPlainRecolorKernels && hue % 64 != 43) continue;  // slow, and only a check
      recolored = pixels;
      RecolorRow(*table, to_white, recolored.data(), count);
      ASSERT_EQ(FirstDifference(recolored.data(), expected.data(), pixels.size()), "")
          << table->target << " hue " << hue;
    }
  }
}

/// Pixels as on pages: runs of a colour with noise, many of them gray or transparent.
void FillWithPagePixels(std::mt19937& random, std::uint8_t* pixels, std::size_t count) {
  std::uint8_t paper[3] = {};
  for (std::size_t i = 0; i < count; ++i) {
    if (random() % 16 == 0) {
      for (std::uint8_t& channel : paper) channel = static_cast<std::uint8_t>(random());
    }
    const auto noise = static_cast<std::uint32_t>(random());
    for (std::size_t c = 0; c < 3; ++c) {
      pixels[i * 4 + c] = static_cast<std::uint8_t>(paper[c] + (noise >> (c * 4) & 7));
    }
    if (noise >> 28 == 0) pixels[i * 4 + 1] = pixels[i * 4 + 2] = pixels[i * 4];
    pixels[i * 4 + 3] = static_cast<std::uint8_t>((noise >> 24 & 15) < 3 ? 0 : noise >> 16);
  }
}

Recoloring RandomRecoloring(std::mt19937& random) {
  const auto byte = [&] { return static_cast<std::uint8_t>(random()); };
  const auto difference = [&] { return static_cast<int>(random() % 511) - 255; };
  const std::uint8_t tolerances[] = {0, 1, static_cast<std::uint8_t>(random() % 60), byte(), 255};
  return {.find_hue = byte(),
          .replacement_hue = byte(),
          .saturation_difference = difference(),
          .value_difference = difference(),
          .tolerance = tolerances[random() % 5]};
}

TEST(RecolorKernels, EachRowEqualsThePlainOneAndStaysInItsMemory) {
  for (std::uint32_t count = 0; count <= 130; ++count) {
    for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
      for (const std::size_t misalignment : {0U, 1U, 7U}) {
        for (std::uint32_t seed = 1; seed <= 3; ++seed) {
          std::mt19937 random(seed * 1000 + count);
          const Recoloring recoloring = RandomRecoloring(random);
          Bytes pixels(std::size_t{count} * 4);
          FillWithPagePixels(random, pixels.data(), count);
          Bytes expected = pixels;
          RecolorRow(kPlainRecolorKernels, recoloring, expected.data(), count);
          for (const RecolorKernels* table : Tables()) {
            GuardedBuffer row(pixels.size(), misalignment, side);
            std::copy(pixels.begin(), pixels.end(), row.data());
            RecolorRow(*table, recoloring, row.data(), count);
            ASSERT_EQ(FirstDifference(row.data(), expected.data(), row.size()), "")
                << table->target << " count " << count << " misalignment " << misalignment
                << " seed " << seed << ": " << Describe(recoloring);
            ASSERT_TRUE(row.SurroundingsAreUntouched()) << table->target << " count " << count;
          }
        }
      }
    }
  }
}

TEST(RecolorKernels, LongRowsEqualThePlainOnes) {
  std::uint32_t seed = 0;
  for (const std::uint32_t count : {1023U, 2047U, 2048U, 2049U, 2111U, 4096U, 4226U, 9001U}) {
    for (std::uint32_t repetition = 0; repetition < 12; ++repetition) {
      std::mt19937 random(++seed);
      Recoloring recoloring = RandomRecoloring(random);
      // Everything matches every fourth time.
      if (repetition % 4 == 0) recoloring.tolerance = 255;
      Bytes pixels(std::size_t{count} * 4);
      FillWithPagePixels(random, pixels.data(), count);
      Bytes expected = pixels;
      RecolorRow(kPlainRecolorKernels, recoloring, expected.data(), count);
      for (const RecolorKernels* table : Tables()) {
        Bytes row = pixels;
        RecolorRow(*table, recoloring, row.data(), count);
        ASSERT_EQ(FirstDifference(row.data(), expected.data(), row.size()), "")
            << table->target << " count " << count << " seed " << seed << ": "
            << Describe(recoloring);
      }
    }
  }
}

TEST(RecolorKernels, RowsOfAnyStrideEqualThePlainOnesAndLeaveTheirPadding) {
  std::uint32_t seed = 5000;
  for (const std::uint32_t width : {0U, 1U, 2U, 13U, 16U, 33U, 64U, 65U, 130U}) {
    for (const std::uint32_t height : {0U, 1U, 2U, 7U, 101U}) {
      for (const std::uint32_t padding : {0U, 1U, 4U, 260U}) {
        std::mt19937 random(++seed);
        Recoloring recoloring = RandomRecoloring(random);
        if (seed % 3 == 0) recoloring.tolerance = 255;
        const std::size_t stride = std::size_t{width} * 4 + padding;
        const std::size_t bytes = height == 0 ? 0 : stride * height - padding;
        Bytes pixels((bytes + 3) / 4 * 4);
        FillWithPagePixels(random, pixels.data(), pixels.size() / 4);
        Bytes expected = pixels;
        for (std::size_t y = 0; y < height; ++y) {
          RecolorRow(kPlainRecolorKernels, recoloring, expected.data() + y * stride, width);
        }
        const auto distance = static_cast<std::ptrdiff_t>(stride);
        for (const RecolorKernels* table : Tables()) {
          for (const bool is_upward : {false, true}) {
            GuardedBuffer image(bytes);
            std::copy_n(pixels.data(), bytes, image.data());
            std::uint8_t* last_row = image.data() + (height == 0 ? 0 : stride * (height - 1));
            table->rows(recoloring, {is_upward ? last_row : image.data(), width, height,
                                     is_upward ? -distance : distance, 32});
            ASSERT_EQ(FirstDifference(image.data(), expected.data(), bytes), "")
                << table->target << " width " << width << " height " << height << " stride "
                << (is_upward ? "-" : "") << stride << " seed " << seed << ": "
                << Describe(recoloring);
            ASSERT_TRUE(image.SurroundingsAreUntouched()) << table->target << " width " << width;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace pixtola
