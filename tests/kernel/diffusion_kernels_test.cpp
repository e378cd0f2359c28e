// Every table of diffusion kernels against the definition, byte for byte.
#include "convert/pixels/diffusion/diffusion_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"
#include "support/packed_gray.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;

const std::vector<const DiffusionKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainDiffusionKernels, BestDiffusionKernels);
  return tables;
}

enum class Content { kRandom, kDocument, kExtreme, kFlat };
constexpr Content kContents[] = {Content::kRandom, Content::kDocument, Content::kExtreme,
                                 Content::kFlat};

/// Gray values of `count` pixels in rows of `width`.
void FillGray(std::span<std::uint8_t> gray, std::uint32_t width, Content content,
              std::mt19937& random) {
  const auto flat = static_cast<std::uint8_t>(random());
  for (std::size_t i = 0; i < gray.size(); ++i) {
    const auto noise = static_cast<std::uint8_t>(random());
    const std::size_t x = i % width;
    const std::size_t y = i / width;
    switch (content) {
      case Content::kRandom:
        gray[i] = noise;
        break;
      case Content::kDocument: {
        const bool is_ink = y / 9 % 2 == 0 && x / 3 % 3 == 0;
        gray[i] = static_cast<std::uint8_t>(is_ink ? 20 + noise % 32 : 224 + noise % 32);
        break;
      }
      case Content::kExtreme:
        gray[i] = noise % 2 == 0 ? 0 : 255;
        break;
      case Content::kFlat:
        gray[i] = flat;
        break;
    }
  }
}

/// Levels of every kind: as pages have them, all other orders, and those with which an error or the
/// sum of the errors above is the largest or the smallest one possible.
DiffusionLevels LevelsNumber(std::uint32_t number, std::mt19937& random) {
  constexpr DiffusionLevels kSpecial[] = {
      {128, 0, 255}, {140, 3, 251}, {255, 0, 255}, {1, 0, 255}, {2, 1, 255},   {1, 0, 254},
      {2, 0, 255},   {2, 0, 254},   {3, 0, 255},   {3, 2, 255}, {254, 1, 254},
  };
  if (number < std::size(kSpecial)) return kSpecial[number];
  return {static_cast<std::uint8_t>(random()), static_cast<std::uint8_t>(random()),
          static_cast<std::uint8_t>(random())};
}

std::string Describe(const DiffusionLevels& levels) {
  return "threshold " + std::to_string(levels.threshold) + " low " + std::to_string(levels.low) +
         " high " + std::to_string(levels.high);
}

std::uint32_t LeastStride(std::uint32_t width) { return (width + 31) / 32 * 4; }

/// Runs all tables on one image and compares them with the definition.
void ExpectAllTablesEqual(const DiffusionLevels& levels, const std::uint8_t* gray,
                          std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                          std::size_t misalignment, GuardSide side, const std::string& what) {
  const std::size_t size = std::size_t{height} * stride;
  std::vector<std::uint8_t> expected(size, 0x5A);
  const test::PackedGray rows(gray, width);
  ASSERT_EQ(
      kPlainDiffusionKernels.diffuse(levels, rows, {expected.data(), width, height, stride, 1}), 1);
  for (const DiffusionKernels* table : Tables()) {
    GuardedBuffer result(size, misalignment, side);
    ASSERT_EQ(table->diffuse(levels, rows, {result.data(), width, height, stride, 1}), 1);
    const auto [found, wanted] =
        std::mismatch(result.data(), result.data() + size, expected.data());
    const auto at = static_cast<std::size_t>(found - result.data());
    ASSERT_EQ(at, size) << table->target << " " << what << " " << width << " x " << height
                        << " stride " << stride << " misalignment " << misalignment << " "
                        << Describe(levels) << " row " << at / stride << " byte " << at % stride
                        << ": " << int{*found} << " instead of " << int{*wanted};
    ASSERT_TRUE(result.SurroundingsAreUntouched()) << table->target << " " << what;
  }
}

void ExpectAllTablesEqualOn(Content content, std::uint32_t width, std::uint32_t height,
                            std::uint32_t levels_number, std::uint32_t wider, std::uint32_t seed) {
  std::mt19937 random(seed);
  constexpr std::size_t kMisalignments[] = {0, 1, 7};
  const std::size_t misalignment = kMisalignments[seed % 3];
  const GuardSide side = seed % 2 == 0 ? GuardSide::kAfterEnd : GuardSide::kBeforeStart;
  GuardedBuffer gray(std::size_t{width} * height, misalignment, side);
  FillGray(gray.span(), width, content, random);
  gray.MakeReadOnly();
  const DiffusionLevels levels = LevelsNumber(levels_number, random);
  ExpectAllTablesEqual(
      levels, gray.data(), width, height, LeastStride(width) + wider, misalignment, side,
      "content " + std::to_string(static_cast<int>(content)) + " seed " + std::to_string(seed));
}

TEST(DiffusionKernels, EveryTableIsOneOfItsOwn) {
  std::set<std::string> targets;
  std::set<const void*> functions;
  for (const DiffusionKernels* table : Tables()) {
    targets.insert(table->target);
    functions.insert(reinterpret_cast<const void*>(table->diffuse));
  }
  EXPECT_EQ(targets.size(), Tables().size());
  EXPECT_EQ(functions.size(), Tables().size());
}

TEST(DiffusionKernels, EqualThePlainOneForAllSmallWidths) {
  // The heights are around the rows that the tables take at once, and change with the width.
  constexpr std::uint32_t kHeights[] = {1,  2,  3,  15, 16, 17,  31,  32,
                                        33, 34, 63, 64, 65, 127, 128, 129};
  std::uint32_t seed = 0;
  for (std::uint32_t width = 1; width <= 130; ++width) {
    for (std::uint32_t i = 0; i < 4; ++i) {
      const std::uint32_t height = kHeights[(width * 5 + i * 3) % std::size(kHeights)];
      ExpectAllTablesEqualOn(kContents[(seed / 4 + seed) % 4], width, height, seed % 16,
                             seed % 3 * 4, seed);
      if (HasFatalFailure()) return;
      ++seed;
    }
  }
}

TEST(DiffusionKernels, EqualThePlainOneForAllSmallHeights) {
  constexpr std::uint32_t kWidths[] = {1, 16, 40, 41, 47, 64, 100, 261};
  std::uint32_t seed = 1000;
  for (std::uint32_t height = 0; height <= 140; ++height) {
    for (std::uint32_t i = 0; i < 3; ++i) {
      const std::uint32_t width = kWidths[(height * 3 + i) % std::size(kWidths)];
      ExpectAllTablesEqualOn(kContents[seed / 3 % 4], width, height, seed % 16, seed % 5 * 4, seed);
      if (HasFatalFailure()) return;
      ++seed;
    }
  }
}

TEST(DiffusionKernels, EqualThePlainOneForRowsLongerThanTheLagOfAllLanes) {
  // So wide that lanes go on in the next band while others are in the one before, with every number
  // of columns between two rows.
  std::uint32_t seed = 2000;
  for (std::uint32_t width = 490; width <= 540; ++width) {
    const std::uint32_t height = 250 + width % 17;
    ExpectAllTablesEqualOn(kContents[seed % 4], width, height, seed % 16, seed % 2 * 8, seed);
    if (HasFatalFailure()) return;
    ++seed;
  }
  ExpectAllTablesEqualOn(Content::kDocument, 2480, 300, 1, 0, 1);
  ExpectAllTablesEqualOn(Content::kRandom, 1003, 384, 0, 4, 2);
}

TEST(DiffusionKernels, EqualThePlainOneWhereTheImageIsReadInSeveralPieces) {
  std::uint32_t seed = 3000;
  for (const std::uint32_t width : {41U, 64U, 301U, 513U, 640U}) {
    for (const std::uint32_t height : {511U, 512U, 513U, 600U, 1024U, 1100U}) {
      // Every other image keeps all errors, some of them the largest.
      ExpectAllTablesEqualOn(seed % 2 == 0 ? Content::kDocument : Content::kExtreme, width, height,
                             seed % 11, 0, seed);
      if (HasFatalFailure()) return;
      ++seed;
    }
  }
}

TEST(DiffusionKernels, EqualThePlainOneWithAllLevelsOfAThreshold) {
  std::mt19937 random(3);
  // Large enough for the vector kernels: they leave smaller images to the definition.
  constexpr std::uint32_t kWidth = 45;
  constexpr std::uint32_t kHeight = 9;
  std::vector<std::uint8_t> gray(kWidth * kHeight);
  FillGray(gray, kWidth, Content::kRandom, random);
  constexpr std::uint8_t kLevels[] = {0, 1, 2, 3, 4, 5, 99, 100, 101, 250, 251, 252, 253, 254, 255};
  for (const std::uint8_t threshold : kLevels) {
    for (const std::uint8_t low : kLevels) {
      for (const std::uint8_t high : kLevels) {
        ExpectAllTablesEqual({threshold, low, high}, gray.data(), kWidth, kHeight,
                             LeastStride(kWidth), 0, GuardSide::kAfterEnd, "levels");
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(DiffusionKernels, EqualThePlainOneWhereAllErrorsAreTheLargest) {
  // White pixels of the highest level below and beside others, then black ones and the reverse: the
  // sums of errors reach both of their ends.
  constexpr std::uint32_t kWidth = 75;
  constexpr std::uint32_t kHeight = 70;
  std::vector<std::uint8_t> gray(kWidth * kHeight);
  for (const std::uint32_t period : {1U, 2U, 3U, 5U, 8U}) {
    for (const std::uint32_t slant : {0U, 1U, 3U}) {
      for (std::uint32_t i = 0; i < gray.size(); ++i) {
        const std::uint32_t x = i % kWidth;
        const std::uint32_t y = i / kWidth;
        gray[i] = (y + x * slant) / period % 2 == 0 ? 255 : static_cast<std::uint8_t>(x % 2);
      }
      for (std::uint32_t number = 0; number < 11; ++number) {
        std::mt19937 random(0);
        ExpectAllTablesEqual(
            LevelsNumber(number, random), gray.data(), kWidth, kHeight, LeastStride(kWidth), 0,
            GuardSide::kAfterEnd,
            "period " + std::to_string(period) + " slant " + std::to_string(slant));
        if (HasFatalFailure()) return;
      }
    }
  }
}

/// The rule once more, one value at a time and with whole-image errors.
std::vector<bool> WhitePixels(const DiffusionLevels& levels, const std::vector<std::uint8_t>& gray,
                              int width, int height) {
  std::vector<int> errors(gray.size());
  std::vector<bool> white(gray.size());
  const auto part = [&](int x, int y, int divisor) {
    if (x < 0 || x >= width || y < 0) return 0;
    const int error = errors[static_cast<std::size_t>(y * width + x)];
    return error >= 0 ? error / divisor : -((-error + divisor - 1) / divisor);
  };
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto at = static_cast<std::size_t>(y * width + x);
      int value = gray[at] + part(x - 1, y, 4) + part(x - 2, y, 8) + part(x, y - 1, 4) +
                  part(x - 1, y - 1, 8) + part(x + 1, y - 1, 8) + part(x - 2, y - 1, 16) +
                  part(x + 2, y - 1, 16);
      if (value < levels.low) value = levels.low;
      if (value > levels.high) value = levels.high;
      white[at] = value >= levels.threshold;
      errors[at] = white[at] ? levels.threshold - value : value;
    }
  }
  return white;
}

TEST(DiffusionKernels, FollowTheRule) {
  std::mt19937 random(11);
  constexpr std::uint32_t kWidth = 53;
  constexpr std::uint32_t kHeight = 40;
  const std::uint32_t stride = LeastStride(kWidth) + 4;
  std::vector<std::uint8_t> gray(kWidth * kHeight);
  for (std::uint32_t number = 0; number < 100; ++number) {
    const DiffusionLevels levels = LevelsNumber(number, random);
    FillGray(gray, kWidth, kContents[number % 4], random);
    const std::vector<bool> white = WhitePixels(levels, gray, kWidth, kHeight);
    std::vector<std::uint8_t> expected(stride * kHeight);
    for (std::uint32_t i = 0; i < white.size(); ++i) {
      if (white[i]) {
        std::uint8_t& byte = expected[i / kWidth * stride + i % kWidth / 8];
        byte = static_cast<std::uint8_t>(byte | 0x80 >> i % kWidth % 8);
      }
    }
    for (const DiffusionKernels* table : Tables()) {
      std::vector<std::uint8_t> result(expected.size(), 0xFF);
      ASSERT_EQ(table->diffuse(levels, test::PackedGray(gray.data(), kWidth),
                               {result.data(), kWidth, kHeight, stride, 1}),
                1);
      ASSERT_EQ(result, expected) << table->target << " " << Describe(levels);
    }
  }
}

}  // namespace
}  // namespace pixtola
