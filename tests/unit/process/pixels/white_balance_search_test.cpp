// The search for the points against the rule: whatever it knows, it decides as the rule does or not
// at all.
#include "process/pixels/white_balance_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace pixtola {
namespace {

std::uint32_t Below(std::uint32_t end, std::mt19937& random) {
  return static_cast<std::uint32_t>(random() % end);
}

// ---------------------------------------------------------------------------------------- Decide

EndSums SumsOf(const Histogram& counts, bool is_bright_end) {
  EndSums sums{};
  sums.last = is_bright_end ? 254 : 255;
  std::int64_t sum = 0;
  for (std::int32_t k = 0; k <= sums.last; ++k) {
    sum += counts[static_cast<std::uint32_t>(is_bright_end ? 254 - k : k)];
    sums[k] = sum;
  }
  return sums;
}

int PointOf(const Decision& decision, bool is_bright_end) {
  if (decision.point < 0) return is_bright_end ? 255 : 0;
  return is_bright_end ? 254 - decision.point : decision.point;
}

/// Few levels and small counts, so that ties, gaps and clip counts that are met exactly are common.
Histogram RandomCounts(std::mt19937& random) {
  Histogram counts{};
  const std::uint32_t levels = Below(40, random);
  for (std::uint32_t i = 0; i < levels; ++i) {
    const std::uint32_t level = Below(3, random) == 0 ? Below(256, random) : 100 + Below(8, random);
    counts[level] += Below(5, random);
  }
  if (Below(3, random) == 0) counts[0] = 3;
  if (Below(3, random) == 0) counts[254] = 2;
  if (Below(3, random) == 0) counts[255] = 4;
  return counts;
}

TEST(Decide, AgreesWithTheRuleWhenAllSumsAreKnown) {
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    const Histogram counts = RandomCounts(random);
    const std::uint32_t clip_count = Below(3, random) == 0 ? 0 : Below(40, random);
    const LevelPoints points = FindPoints(counts, clip_count);
    for (const bool is_bright_end : {false, true}) {
      const Decision decision = Decide(SumsOf(counts, is_bright_end), clip_count);
      ASSERT_TRUE(decision.is_decided);
      ASSERT_EQ(PointOf(decision, is_bright_end), is_bright_end ? points.white : points.black)
          << round;
    }
  }
}

TEST(Decide, AgreesWithTheRuleOrNamesUnknownSumsThatLeadToIt) {
  std::mt19937 random(2);
  for (int round = 0; round < 20000; ++round) {
    const Histogram counts = RandomCounts(random);
    const std::uint32_t clip_count = Below(3, random) == 0 ? 0 : Below(40, random);
    const LevelPoints points = FindPoints(counts, clip_count);
    for (const bool is_bright_end : {false, true}) {
      const EndSums all = SumsOf(counts, is_bright_end);
      EndSums known = all;
      for (std::int32_t k = 0; k < known.last; ++k) {
        if (Below(8, random) != 0) known[k] = EndSums::kUnknown;
      }
      Decision decision = Decide(known, clip_count);
      for (int step = 0; !decision.is_decided; ++step) {
        ASSERT_LT(step, 256);
        ASSERT_LT(decision.after + 1, decision.before);
        for (std::int32_t k = decision.after + 1; k < decision.before; ++k) {
          ASSERT_EQ(known[k], EndSums::kUnknown) << round;
        }
        const std::int32_t middle = (decision.after + decision.before) / 2;
        known[middle] = all[middle];
        decision = Decide(known, clip_count);
      }
      ASSERT_EQ(PointOf(decision, is_bright_end), is_bright_end ? points.white : points.black)
          << round;
    }
  }
}

TEST(Decide, HoldsUpToTheLargestSums) {
  Histogram counts{};
  counts[10] = 0x7FFFFFFE;
  counts[20] = 1;
  for (const std::uint32_t clip_count : {0U, 0x3FFFFFFFU, 0x40000000U, 0x7FFFFFFEU, 0x7FFFFFFFU}) {
    const LevelPoints points = FindPoints(counts, clip_count);
    EXPECT_EQ(PointOf(Decide(SumsOf(counts, false), clip_count), false), points.black)
        << clip_count;
    EXPECT_EQ(PointOf(Decide(SumsOf(counts, true), clip_count), true), points.white) << clip_count;
  }
}

// -------------------------------------------------------------------------------
// FindPointsBySearch

int g_passes = 0;

/// The plain kernels with their passes counted.
WhiteBalanceKernels CountedKernels() {
  WhiteBalanceKernels kernels = kPlainWhiteBalanceKernels;
  kernels.count_windows = [](const std::uint8_t* pixels, std::uint64_t pixel_count,
                             std::uint32_t channels, const ChannelWindowStarts& starts,
                             ChannelWindowCounts& counts) {
    ++g_passes;
    kPlainWhiteBalanceKernels.count_windows(pixels, pixel_count, channels, starts, counts);
  };
  return kernels;
}

struct Content {
  const char* name;
  std::uint32_t (*value)(std::uint32_t pixel, std::mt19937& random);
  int most_passes;  ///< with a clip fraction of one per cent; 0: whatever it takes
};

const Content kContents[] = {
    {"flat", [](std::uint32_t, std::mt19937&) { return 100U; }, 1},
    {"white", [](std::uint32_t, std::mt19937&) { return 255U; }, 1},
    {"black", [](std::uint32_t, std::mt19937&) { return 0U; }, 1},
    {"black and white", [](std::uint32_t, std::mt19937& r) { return Below(2, r) * 255U; }, 1},
    {"two grays", [](std::uint32_t, std::mt19937& r) { return 50 + Below(2, r) * 150U; }, 1},
    {"four levels", [](std::uint32_t, std::mt19937& r) { return Below(4, r) * 80U; }, 2},
    {"noise", [](std::uint32_t, std::mt19937& r) { return Below(256, r); }, 1},
    {"gradient", [](std::uint32_t i, std::mt19937&) { return i % 1024 / 4; }, 1},
    {"paper and ink",
     [](std::uint32_t, std::mt19937& r) {
       return Below(20, r) == 0 ? 30 + Below(20, r) : 230 + Below(16, r);
     },
     1},
    {"dark scene",
     [](std::uint32_t, std::mt19937& r) {
       const std::uint32_t a = Below(16, r);
       return a * a * (Below(2, r));
     },
     0},
    {"few outliers",
     [](std::uint32_t i, std::mt19937& r) {
       return i == 777 ? 3U : i == 99999 ? 252U : 100 + Below(50, r);
     },
     1},
};

std::vector<std::uint8_t> Fill(const Content& content, std::uint32_t size) {
  std::mt19937 random(9);
  std::vector<std::uint8_t> bytes(size);
  for (std::uint32_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(content.value(i, random));
  }
  return bytes;
}

void ExpectRulePoints(const WhiteBalanceKernels& kernels, const Content& content,
                      std::uint32_t channels, std::uint32_t pixel_count) {
  const std::vector<std::uint8_t> bytes = Fill(content, pixel_count * channels);
  ChannelHistograms counts{};
  AddLevels(bytes.data(), pixel_count, channels, counts);
  for (const float fraction : {0.0F, 0.00001F, 0.001F, 0.01F, 0.25F, 0.5F, 0.9F, 1.0F}) {
    const std::uint32_t clip_count = ClipCount(pixel_count, fraction);
    g_passes = 0;
    const ChannelPoints points =
        FindPointsBySearch(kernels, bytes.data(), pixel_count, channels, clip_count);
    for (std::uint32_t c = 0; c < channels; ++c) {
      const LevelPoints expected = FindPoints(counts[c], clip_count);
      ASSERT_EQ(int{points[c].black}, int{expected.black})
          << content.name << " clipped by " << fraction;
      ASSERT_EQ(int{points[c].white}, int{expected.white})
          << content.name << " clipped by " << fraction;
    }
    if (fraction == 0.01F && content.most_passes != 0) {
      EXPECT_GE(g_passes, 1) << content.name;
      EXPECT_LE(g_passes, content.most_passes) << content.name;
    }
  }
}

TEST(FindPointsBySearch, FindsThePointsOfTheRuleInOnePassWhereTheSampleTells) {
  for (const Content& content : kContents) ExpectRulePoints(CountedKernels(), content, 1, 300000);
}

TEST(FindPointsBySearch, FindsThePointsOfAllChannels) {
  for (const Content& content : kContents) {
    const Content any_passes{content.name, content.value, 0};
    for (const std::uint32_t channels : {3U, 4U}) {
      ExpectRulePoints(BestWhiteBalanceKernels(), any_passes, channels, 270001);
    }
  }
}

TEST(FindPointsBySearch, CountsAllLevelsOfFewPixels) {
  const std::vector<std::uint8_t> bytes = {50, 50, 200, 200};
  g_passes = 0;
  const ChannelPoints points = FindPointsBySearch(CountedKernels(), bytes.data(), 4, 1, 0);
  EXPECT_EQ(int{points[0].black}, 50);
  EXPECT_EQ(int{points[0].white}, 200);
  EXPECT_EQ(g_passes, 0);
}

TEST(FindPointsBySearch, CountsAllLevelsWhereTheWindowsDoNotFindThePoint) {
  // One dark pixel far from all others, which the sample misses.
  std::vector<std::uint8_t> bytes(300000, 200);
  bytes[150001] = 90;
  g_passes = 0;
  const ChannelPoints points = FindPointsBySearch(CountedKernels(), bytes.data(), 300000, 1, 0);
  EXPECT_EQ(int{points[0].black}, 90);
  EXPECT_EQ(int{points[0].white}, 200);
  EXPECT_EQ(g_passes, 3);
}

}  // namespace
}  // namespace pixtola
