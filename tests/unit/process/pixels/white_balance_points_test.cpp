// The clip count and the rule for the points, checked with hand-made counts.
#include "process/pixels/white_balance_points.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace pixtola {

bool operator==(const LevelPoints& a, const LevelPoints& b) {
  return a.black == b.black && a.white == b.white;
}

void PrintTo(const LevelPoints& points, std::ostream* out) {
  *out << "{" << int{points.black} << ", " << int{points.white} << "}";
}

namespace {

using Counts = std::vector<std::pair<std::uint32_t, std::uint32_t>>;  // level and pixels

LevelPoints PointsOf(const Counts& given, std::uint32_t clip_count) {
  Histogram counts{};
  for (const auto& [level, pixels] : given) counts[level] = pixels;
  return FindPoints(counts, clip_count);
}

TEST(ClipCount, IsTruncated) {
  EXPECT_EQ(ClipCount(199, 0.01F), 1U);
  EXPECT_EQ(ClipCount(100, 0.999F), 99U);
  EXPECT_EQ(ClipCount(0, 0.5F), 0U);
}

TEST(ClipCount, IsFormedInSinglePrecision) {
  EXPECT_EQ(ClipCount(16777217, 1.0F), 16777216U);
  EXPECT_EQ(ClipCount(0xFFFFFFFF, 0.25F), 0x40000000U);
}

TEST(ClipCount, IsZeroForFractionsThatAreNotPositive) {
  EXPECT_EQ(ClipCount(1000, -0.5F), 0U);
  EXPECT_EQ(ClipCount(1000, -std::numeric_limits<float>::infinity()), 0U);
  EXPECT_EQ(ClipCount(1000, std::numeric_limits<float>::quiet_NaN()), 0U);
  EXPECT_EQ(ClipCount(0, std::numeric_limits<float>::infinity()), 0U);
}

TEST(ClipCount, IsLimited) {
  EXPECT_EQ(ClipCount(0x80000000, 1.0F), 0x7FFFFFFFU);
  EXPECT_EQ(ClipCount(0x7FFFFF80, 1.0F), 0x7FFFFF80U);
  EXPECT_EQ(ClipCount(1, std::numeric_limits<float>::infinity()), 0x7FFFFFFFU);
}

TEST(FindPoints, ClipsNothingFromAnEmptyChannel) {
  EXPECT_EQ(PointsOf({}, 0), (LevelPoints{0, 255}));
}

TEST(FindPoints, EndsAtTheOutermostLevelsWithoutClipping) {
  EXPECT_EQ(PointsOf({{50, 50}, {200, 50}}, 0), (LevelPoints{50, 200}));
  EXPECT_EQ(PointsOf({{100, 100}}, 0), (LevelPoints{100, 100}));
}

TEST(FindPoints, PassesTheOutermostLevelsThatItBeginsWith) {
  EXPECT_EQ(PointsOf({{0, 1}, {1, 1}, {100, 9}}, 0), (LevelPoints{1, 100}));
  EXPECT_EQ(PointsOf({{100, 9}, {253, 1}, {254, 1}}, 0), (LevelPoints{100, 253}));
  EXPECT_EQ(PointsOf({{0, 1}, {7, 1}, {100, 9}}, 0), (LevelPoints{7, 100}));
}

TEST(FindPoints, DoesNotCountTheBrightestLevel) {
  EXPECT_EQ(PointsOf({{20, 5}, {240, 5}, {255, 1000}}, 0), (LevelPoints{20, 240}));
  EXPECT_EQ(PointsOf({{255, 1000}}, 0), (LevelPoints{255, 255}));
}

TEST(FindPoints, CountsTheDarkestLevelTowardTheClipCountButNotTheBrightest) {
  // From the dark end the sums are 20, 30 and 40, and 20 is nearest to 14.
  EXPECT_EQ(PointsOf({{0, 20}, {55, 10}, {155, 10}}, 14).black, 55);
  // From the bright end they are 10 and 20, though the levels are the same seen from there.
  EXPECT_EQ(PointsOf({{100, 10}, {200, 10}, {255, 20}}, 14).white, 100);
}

TEST(FindPoints, ChoosesTheSumNearestToTheClipCount) {
  // Sums 10 and 19 are 4 and 5 from 14; 10 and 18 are equally far, and the later one is taken.
  EXPECT_EQ(PointsOf({{10, 10}, {11, 9}, {12, 80}}, 14).black, 11);
  EXPECT_EQ(PointsOf({{10, 10}, {11, 8}, {12, 80}}, 14).black, 12);
  EXPECT_EQ(PointsOf({{10, 80}, {20, 9}, {22, 10}}, 14).white, 20);
  EXPECT_EQ(PointsOf({{10, 80}, {20, 8}, {22, 10}}, 14).white, 10);
}

TEST(FindPoints, ClipsNothingWhereNoSumExceedsTheClipCount) {
  EXPECT_EQ(PointsOf({{10, 10}, {20, 10}}, 20), (LevelPoints{0, 255}));
  EXPECT_EQ(PointsOf({{10, 10}, {20, 10}, {255, 10}}, 24), (LevelPoints{255, 255}));
}

TEST(FindPoints, WrapsDistancesAt32Bits) {
  // 2^31 + 5 wraps to a distance of 2^31 - 5, and ten more pixels to one of 2^31 - 15.
  EXPECT_EQ(PointsOf({{0, 0x80000005}, {1, 10}}, 0).black, 0);
  EXPECT_EQ(PointsOf({{0, 0x7FFFFFF0}, {1, 10}}, 0).black, 1);
  // 2^31 itself stays negative, less than any distance.
  EXPECT_EQ(PointsOf({{9, 0x80000000}, {12, 10}}, 0).black, 12);
}

TEST(AddLevels, CountsEveryChannelOnTopOfWhatThereIs) {
  for (const std::uint32_t channels : {1U, 3U, 4U}) {
    for (std::uint32_t pixel_count = 0; pixel_count < 20; ++pixel_count) {
      ChannelHistograms counts{};
      ChannelHistograms expected{};
      counts[0][3] = expected[0][3] = 1000;
      std::vector<std::uint8_t> pixels;
      for (std::uint32_t i = 0; i < pixel_count * channels; ++i) {
        pixels.push_back(static_cast<std::uint8_t>(i % 7));
        ++expected[i % channels][i % 7];
      }
      AddLevels(pixels.data(), pixel_count, channels, counts);
      EXPECT_EQ(counts, expected) << channels << " channels, " << pixel_count << " pixels";
    }
  }
}

}  // namespace
}  // namespace pixtola
