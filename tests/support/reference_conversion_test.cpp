// Pins the plain definition of the pixel conversions to values worked out by hand, so that a
// mistake in it is found here and not passed on to the tests that rely on it. The library is not
// involved.
#include "support/reference_conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pixtola::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kGray = 0;
constexpr std::uint32_t kOtsu = 1;
constexpr std::uint32_t kAdaptive = 2;
constexpr std::uint32_t kDiffusion = 3;
constexpr std::uint8_t kUnwritten = 0xA5;

ReferencePalette GrayRamp() {
  ReferencePalette palette;
  for (std::uint32_t i = 0; i < 256; ++i) palette.entries.push_back(0xFF000000u + i * 0x010101u);
  return palette;
}

// An 8-bit image with a gray ramp. Multiples of 25 and 0 keep their level on the way to gray; other
// levels lose one to the truncated weights.
ReferenceSource GraySource(std::uint32_t width, std::uint32_t height, const Bytes& levels) {
  ReferenceSource source{{}, 8, width, height, ReferenceCalcStride(8, width), GrayRamp()};
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < source.stride; ++x) {
      source.bytes.push_back(x < width ? levels.at(y * width + x) : std::uint8_t{99});
    }
  }
  return source;
}

ReferenceSource FlatSource(std::uint32_t width, std::uint32_t height, std::uint8_t level) {
  return GraySource(width, height, Bytes(std::size_t{width} * height, level));
}

// Eight rows of 100 above eight rows of 200, 16 wide.
Bytes TwoLevelCell() {
  Bytes levels(256, 200);
  std::fill_n(levels.begin(), 128, std::uint8_t{100});
  return levels;
}

ReferenceRect Whole(const ReferenceSource& source) {
  return {0, 0, static_cast<std::int32_t>(source.width), static_cast<std::int32_t>(source.height)};
}

// The output of a conversion that must succeed, in a destination of exactly the size reported.
Bytes Convert(std::uint32_t method, const ReferenceSource& source, const ReferenceRect& rect) {
  const ReferenceConversion query = ReferenceBytesRectToBytes(method, source, rect, nullptr, 0);
  EXPECT_EQ(query.result, 1);
  const std::uint32_t size = query.size.value_or(0);
  Bytes destination(size, kUnwritten);
  EXPECT_EQ(ReferenceBytesRectToBytes(method, source, rect, &destination, size).result, 1);
  return destination;
}

Bytes Convert(std::uint32_t method, const ReferenceSource& source) {
  return Convert(method, source, Whole(source));
}

void ExpectRect(const ReferenceRect& rect, const ReferenceRect& expected) {
  EXPECT_EQ(rect.left, expected.left);
  EXPECT_EQ(rect.top, expected.top);
  EXPECT_EQ(rect.right, expected.right);
  EXPECT_EQ(rect.bottom, expected.bottom);
}

TEST(ReferenceStride, IsTheRowRoundedUpToFourBytes) {
  EXPECT_EQ(ReferenceCalcStride(1, 1), 4u);
  EXPECT_EQ(ReferenceCalcStride(1, 32), 4u);
  EXPECT_EQ(ReferenceCalcStride(1, 33), 8u);
  EXPECT_EQ(ReferenceCalcStride(8, 5), 8u);
  EXPECT_EQ(ReferenceCalcStride(24, 3), 12u);
  EXPECT_EQ(ReferenceCalcStride(24, 5), 16u);
  for (const std::uint32_t bits : {1u, 4u, 8u, 24u, 32u})
    EXPECT_EQ(ReferenceCalcStride(bits, 0), 0u);
}

TEST(ReferenceStride, WrapsAtThirtyTwoBits) {
  EXPECT_EQ(ReferenceCalcStride(24, 0x55555556), 4u);
  EXPECT_EQ(ReferenceCalcStride(8, 0xFFFFFFFD), 0u);
  EXPECT_TRUE(ReferenceIsValidStride(0x55555556, 24, 4));
  EXPECT_FALSE(ReferenceIsValidStride(0xFFFFFFFF, 1, 4));
}

TEST(ReferenceStride, IsCheckedPerDepth) {
  EXPECT_TRUE(ReferenceIsValidStride(10, 4, 4));
  EXPECT_FALSE(ReferenceIsValidStride(17, 4, 4));
  EXPECT_FALSE(ReferenceIsValidStride(10, 24, 1001));
  EXPECT_FALSE(ReferenceIsValidStride(10, 12, 400));
  EXPECT_FALSE(ReferenceIsValidStride(33, 1, 4));
  EXPECT_TRUE(ReferenceIsValidStride(32, 1, 4));
  EXPECT_FALSE(ReferenceIsValidStride(5, 8, 4));
  EXPECT_TRUE(ReferenceIsValidStride(4, 24, 12));
  EXPECT_FALSE(ReferenceIsValidStride(5, 24, 12));
  EXPECT_TRUE(ReferenceIsValidStride(0, 24, 0));
}

TEST(ReferenceGray, TruncatesEachWeightedChannelAndThenTheSum) {
  EXPECT_EQ(ReferenceGrayOf(0, 0, 0), 0);
  EXPECT_EQ(ReferenceGrayOf(255, 255, 255), 254);
  EXPECT_EQ(ReferenceGrayOf(255, 0, 0), 76);   // 19584 / 256 = 76.5
  EXPECT_EQ(ReferenceGrayOf(0, 255, 0), 150);  // 38515 / 256 = 150.4
  EXPECT_EQ(ReferenceGrayOf(0, 0, 255), 28);   // 7180 / 256 = 28.05
  EXPECT_EQ(ReferenceGrayOf(100, 100, 100), 100);
  EXPECT_EQ(ReferenceGrayOf(1, 1, 1), 0);        // 76 + 151 + 28 = 255
  EXPECT_EQ(ReferenceGrayOf(3, 5, 7), 4);        // 230 + 755 + 197 = 1182
  EXPECT_EQ(ReferenceGrayOf(10, 200, 30), 124);  // 768 + 30208 + 844 = 31820
}

TEST(ReferenceGray, ExpandsBitsUpToTheOutputStride) {
  const ReferenceSource source{{0b10100000, 0, 0, 0}, 1, 8, 1, 4, {}};
  EXPECT_EQ(Convert(kGray, source), (Bytes{255, 0, 255, 0, 0, 0, 0, 0}));
  // Three pixels take four output bytes; the fourth is the padding bit that follows them.
  const ReferenceSource padded{{0b01010000, 0, 0, 0}, 1, 3, 1, 4, {}};
  EXPECT_EQ(Convert(kGray, padded), (Bytes{0, 255, 0, 255}));
}

TEST(ReferenceGray, MapsEightBitPixelsAndPaddingThroughThePalette) {
  // Opaque red, transparent green; everything above index 1 is black.
  const ReferenceSource source{
      {0, 1, 2, 1}, 8, 3, 1, 4, ReferencePalette{{0xFFFF0000, 0x0000FF00}}};
  EXPECT_EQ(Convert(kGray, source), (Bytes{76, 150, 0, 150}));
}

TEST(ReferenceGray, ReadsBlueGreenRedAndClearsThePadding) {
  const ReferenceSource white{{255, 255, 255, 7}, 24, 1, 1, 4, {}};
  EXPECT_EQ(Convert(kGray, white), (Bytes{254, 0, 0, 0}));
  const ReferenceSource colours{{255, 0, 0, 9, 0, 0, 255, 9}, 32, 2, 1, 8, {}};
  EXPECT_EQ(Convert(kGray, colours), (Bytes{28, 76, 0, 0}));
}

TEST(ReferenceFrame, ReportsSizeAndStrideOfTheClippedRectangle) {
  const ReferenceSource source = FlatSource(8, 4, 100);
  const ReferenceConversion gray =
      ReferenceBytesRectToBytes(kGray, source, {0, 0, 5, 2}, nullptr, 0);
  EXPECT_EQ(gray.result, 1);
  EXPECT_EQ(gray.stride, 8u);
  EXPECT_EQ(gray.size, 16u);
  const ReferenceConversion bilevel =
      ReferenceBytesRectToBytes(kOtsu, source, {0, 0, 5, 2}, nullptr, 0);
  EXPECT_EQ(bilevel.result, 1);
  EXPECT_EQ(bilevel.stride, 4u);
  EXPECT_EQ(bilevel.size, 8u);
  const ReferenceConversion larger =
      ReferenceBytesRectToBytes(kGray, source, {-3, -4, 50, 60}, nullptr, 0);
  ExpectRect(larger.rect, {0, 0, 8, 4});
  EXPECT_EQ(larger.size, 32u);
}

TEST(ReferenceFrame, TellsTheNeedWhenTheCapacityIsOneByteShort) {
  const ReferenceSource source = FlatSource(8, 4, 100);
  Bytes destination(31, kUnwritten);
  const ReferenceConversion conversion =
      ReferenceBytesRectToBytes(kGray, source, Whole(source), &destination, 31);
  EXPECT_EQ(conversion.result, 0);
  EXPECT_EQ(conversion.size, 32u);
  EXPECT_EQ(conversion.stride, 8u);
  EXPECT_EQ(destination, Bytes(31, kUnwritten));
}

TEST(ReferenceFrame, WritesNoSizeWhenTheCapacitySuffices) {
  const ReferenceSource source = FlatSource(8, 4, 100);
  Bytes destination(40, kUnwritten);
  const ReferenceConversion conversion =
      ReferenceBytesRectToBytes(kGray, source, Whole(source), &destination, 40);
  EXPECT_EQ(conversion.result, 1);
  EXPECT_FALSE(conversion.size.has_value());
  EXPECT_EQ(destination[31], 100);
  EXPECT_EQ(destination[32], kUnwritten);
}

TEST(ReferenceFrame, ReportsNoBytesForARectangleRightOfTheImageAndConvertsNothing) {
  const ReferenceSource source = FlatSource(8, 4, 100);
  const ReferenceConversion query =
      ReferenceBytesRectToBytes(kGray, source, {8, 0, 20, 4}, nullptr, 0);
  EXPECT_EQ(query.result, 1);
  EXPECT_EQ(query.size, 0u);
  ExpectRect(query.rect, {8, 0, 8, 4});
  Bytes destination(4, kUnwritten);
  EXPECT_EQ(ReferenceBytesRectToBytes(kGray, source, {8, 0, 20, 4}, &destination, 4).result, 0);
}

TEST(ReferenceFrame, RefusesBadArguments) {
  const ReferenceSource source = FlatSource(8, 4, 100);
  const auto refused = [](std::uint32_t method, const ReferenceSource& image,
                          const ReferenceRect& rect) {
    const ReferenceConversion conversion =
        ReferenceBytesRectToBytes(method, image, rect, nullptr, 0);
    return conversion.result == 0 && !conversion.size && !conversion.stride;
  };
  EXPECT_FALSE(refused(kDiffusion, source, Whole(source)));
  EXPECT_TRUE(refused(4, source, Whole(source)));
  EXPECT_TRUE(refused(kGray, source, {0, 0, 0, 4}));
  EXPECT_TRUE(refused(kGray, source, {0, 0, 8, 0}));
  ReferenceSource changed = source;
  changed.bits_per_pixel = 16;
  EXPECT_TRUE(refused(kGray, changed, Whole(source)));
  changed = source;
  changed.stride = 7;
  EXPECT_TRUE(refused(kGray, changed, Whole(source)));
  changed = source;
  changed.height = 0;
  EXPECT_TRUE(refused(kGray, changed, Whole(source)));
}

TEST(ReferenceFrame, StartsAtLeftPlusTopTimesTheRectanglesWidth) {
  Bytes levels;
  for (std::uint32_t i = 0; i < 32; ++i) levels.push_back(static_cast<std::uint8_t>(i));
  ReferenceSource source = GraySource(8, 4, levels);
  source.palette->entries[0] = 0xFF646464;  // 100, to tell index 0 past the end from a cleared byte
  // The start is 4 + 3 * 4 = 16, not 4 + 3 * 8. Gray is one less than the level, except for 25.
  EXPECT_EQ(Convert(kGray, source, {4, 3, 8, 4}), (Bytes{15, 16, 17, 18}));
  // Clipped to a width of 3, so the start is 5 + 3 * 3 = 14.
  EXPECT_EQ(Convert(kGray, source, {5, 3, 9, 4}), (Bytes{13, 14, 15, 16}));
  // Two rows, the first from 7 + 2 * 1 = 9.
  EXPECT_EQ(Convert(kGray, source, {7, 2, 8, 4}), (Bytes{8, 9, 10, 11, 16, 17, 18, 19}));
  // Four rows from byte 6 on; the last starts at 6 + 24 and runs past the 32 bytes of the image.
  EXPECT_EQ(Convert(kGray, source, {6, 0, 8, 4}),
            (Bytes{5, 6, 7, 8, 13, 14, 15, 16, 21, 22, 23, 25, 29, 30, 100, 100}));
}

TEST(ReferenceFrame, DoesNotClipARectangleWithANegativeEdge) {
  Bytes levels;
  for (std::uint32_t i = 0; i < 32; ++i) levels.push_back(static_cast<std::uint8_t>(i));
  ReferenceSource source = GraySource(8, 4, levels);
  source.palette->entries[0] = 0xFF646464;
  // The width is 4 and the start -5 + 6 * 4 = 19.
  const ReferenceConversion query =
      ReferenceBytesRectToBytes(kGray, source, {-5, 6, -1, 8}, nullptr, 0);
  ExpectRect(query.rect, {-5, 6, -1, 8});
  EXPECT_EQ(query.size, 8u);
  EXPECT_EQ(Convert(kGray, source, {-5, 6, -1, 8}), (Bytes{18, 19, 20, 21, 26, 27, 28, 29}));
  // A start that would lie before the image counts as far past it: every byte reads as index 0.
  EXPECT_EQ(Convert(kGray, source, {-5, 0, -1, 1}), Bytes(4, 100));
  // The product wraps: -5 + (2^30 + 3) * 4 is 7 in 32 bits.
  EXPECT_EQ(Convert(kGray, source, {-5, 0x40000003, -1, 0x40000004}), (Bytes{6, 7, 8, 9}));
}

TEST(ReferenceFrame, ConvertsNothingWhenTheNeedIsBeyondThirtyTwoBits) {
  // The width is 0x55555556. Three times that wraps to 2, so the source stride of 4 passes; three
  // rows of 0x55555558 bytes wrap to 8.
  const ReferenceSource source{{1, 2, 3, 4}, 24, 1, 1, 4, {}};
  const ReferenceRect rect{-0x7FFFFFFF, -4, -0x2AAAAAA9, -1};
  const ReferenceConversion query = ReferenceBytesRectToBytes(kGray, source, rect, nullptr, 0);
  EXPECT_EQ(query.result, 1);
  EXPECT_EQ(query.stride, 0x55555558u);
  EXPECT_EQ(query.size, 8u);
  Bytes destination(8, kUnwritten);
  const ReferenceConversion conversion =
      ReferenceBytesRectToBytes(kGray, source, rect, &destination, 8);
  EXPECT_EQ(conversion.result, 0);
  EXPECT_FALSE(conversion.size.has_value());
  EXPECT_EQ(destination, Bytes(8, kUnwritten));
}

TEST(ReferenceFrame, MissesThePaletteOfAnEightBitSourceOnlyWhenItConverts) {
  ReferenceSource source = FlatSource(8, 2, 100);
  source.palette.reset();
  for (std::uint32_t method = kGray; method <= kDiffusion; ++method) {
    EXPECT_EQ(ReferenceBytesRectToBytes(method, source, Whole(source), nullptr, 0).result, 1);
    Bytes destination(16, kUnwritten);
    EXPECT_EQ(ReferenceBytesRectToBytes(method, source, Whole(source), &destination, 16).result, 0);
    EXPECT_EQ(destination[0], method == kAdaptive ? 255 : kUnwritten);
  }
}

TEST(ReferenceOtsu, HandlesNoneOneAndTwoLevels) {
  std::array<std::uint32_t, 256> histogram{};
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 128);
  histogram[200] = 7;
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 200);
  histogram = {};
  histogram[127] = 7;
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 127);
  histogram = {};
  histogram[126] = 7;
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 128);
  histogram = {};
  histogram[50] = 7;
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 52);
  histogram = {};
  histogram[0] = histogram[255] = 9;
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 128);  // (1 + 256) / 2 = 128.5
}

TEST(ReferenceOtsu, MaximizesTheDistanceOfTheMeans) {
  // Levels + 1 and counts: 26, 51, 2 x 101, 151, 201; six pixels, weighted 631.
  //   level  25: 1 | 5, means 26    | 121,   distance  95,    score 5 * 9025       = 45125
  //   level  50: 2 | 4, means 38.5  | 138.5, distance 100,    score 8 * 10000      = 80000
  //   level 100: 4 | 2, means 69.75 | 176,   distance 106.25, score 8 * 11289.0625 = 90312.5
  //   level 150: 5 | 1, means 86    | 201,   distance 115,    score 5 * 13225      = 66125
  std::array<std::uint32_t, 256> histogram{};
  histogram[25] = histogram[50] = histogram[150] = histogram[200] = 1;
  histogram[100] = 2;
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 100);
}

TEST(ReferenceOtsu, KeepsTheLowerLevelOfATie) {
  // 1 | 2 pixels, means 11 | 26, and 2 | 1 pixels, means 16 | 31: both score 2 * 15 * 15.
  std::array<std::uint32_t, 256> histogram{};
  histogram[10] = histogram[20] = histogram[30] = 1;
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 10);
}

TEST(ReferenceOtsu, WrapsOnlyTheWeightedProducts) {
  std::array<std::uint32_t, 256> histogram{};
  histogram[255] = 0x01000000;                      // 256 * 2^24 wraps to 0
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 1);  // mean 0, plus 1
  histogram[0] = 0xFFFFFFFF;                        // the sum of the counts does not wrap
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 0);  // (2^32 - 1) / (2^32 - 1 + 2^24) = 0.996
  // Levels + 1 of 128, 141 and 151, each U = 2^25 pixels: weighted products 0, 13 U and 23 U.
  //   level 127: U | 2U, means 128   | (36 - 128) / 2 = -46, distance 174,   score 2 U^2 * 30276
  //   level 140: 2U | U, means 134.5 | 36 - 269 = -233,      distance 367.5, score 2 U^2 * 135056
  // A running sum that wrapped, too, would have 0 | 18 and 6.5 | 23, and so the first level.
  histogram = {};
  histogram[127] = histogram[140] = histogram[150] = 0x02000000;
  EXPECT_EQ(ReferenceOtsuThreshold(histogram), 140);
}

TEST(ReferenceBinarizeOtsu, MakesUniformImagesWhiteOrBlackAndLeavesTheRowEnds) {
  EXPECT_EQ(Convert(kOtsu, FlatSource(9, 1, 200)), (Bytes{0xFF, 0x80, kUnwritten, kUnwritten}));
  EXPECT_EQ(Convert(kOtsu, FlatSource(9, 1, 50)), (Bytes{0x00, 0x00, kUnwritten, kUnwritten}));
  // A level equal to the threshold of 100 is white (the histogram above).
  EXPECT_EQ(Convert(kOtsu, GraySource(6, 1, {25, 50, 100, 100, 150, 200})),
            (Bytes{0b00111100, kUnwritten, kUnwritten, kUnwritten}));
}

TEST(ReferenceBinarize, CopiesOneBitSources) {
  ReferenceSource source{
      {0x12, 0x34, 0x56, 0x78, 1, 2, 3, 4, 0x9A, 0xBC, 0xDE, 0xF0, 5, 6, 7, 8}, 1, 20, 2, 8, {}};
  for (const std::uint32_t method : {kOtsu, kAdaptive, kDiffusion}) {
    EXPECT_EQ(Convert(method, source), (Bytes{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0}));
  }
}

TEST(ReferenceDiffusion, EqualsAnImageWorkedByHand) {
  // The levels and so the threshold of 100 are those of the Otsu test; lowest 25, highest 200.
  //
  // Row 0: 100                           = 100, white, error 100 - 100 = 0
  //        150 +   0>>2                  = 150, white, error 100 - 150 = -50
  //         50 +   0>>3 + -50>>2 (-13)   =  37, black, error 37
  // Row 1: 200 + -50>>3 (-7) + 37>>4 (2) = 195, white, error 100 - 195 = -95
  //         25 + -95>>2 (-24) + 0>>3 + -50>>2 (-13) + 37>>3 (4)
  //                                      =  -8, raised to 25, black, error 25
  //        100 + -95>>3 (-12) + 25>>2 (6) + 0>>4 + -50>>3 (-7) + 37>>2 (9)
  //                                      =  96, black
  const ReferenceSource source = GraySource(3, 2, {100, 150, 50, 200, 25, 100});
  EXPECT_EQ(Convert(kDiffusion, source), (Bytes{0b11000000, 0, 0, 0, 0b10000000, 0, 0, 0}));
}

TEST(ReferenceCellThresholds, EqualsACellWorkedByHand) {
  // The cell: mean 150, smallest 100, deviation 50. A window row takes 128 bytes from byte 16 * y
  // on, up to byte 256; these are
  //   rows 0 to 8:  128 - 16y times 100 and 16y times 200, together 576 and 576,
  //   rows 9 to 15: 112, 96, ... 16 times 200, together 448; all other slots are 0.
  // Mean (576 * 100 + 1024 * 200) / 16384 = 16.02, so 16; deviation
  // sqrt((576 * 84^2 + 1024 * 184^2 + 14784 * 16^2) / 16384) = sqrt(2595.0625) = 50.942.
  // k = 50 / 50.942 = 0.98152; the cell value is
  //   0.94556 * 0.05 * 50 + 150 * 0.6 + 0.96337 * 0.02 * 100 + 16 * 0.1 / 150
  //   = 2.3639 + 90 + 1.9267 + 0.0107 = 94.30
  EXPECT_EQ(ReferenceCellThresholds(TwoLevelCell(), 16, 16), Bytes{94});
}

TEST(ReferenceCellThresholds, StoresZeroForUndefinedValues) {
  EXPECT_EQ(ReferenceCellThresholds(Bytes(256, 0), 16, 16), Bytes{0});
  EXPECT_EQ(ReferenceCellThresholds(Bytes(255, 0), 15, 17), Bytes{});
  // A window full of one level has no deviation: 0 / 0 in its cells. The second window starts at
  // column 128 and reaches the right edge only by running on into the next rows; all 100 as well.
  const Bytes cells = ReferenceCellThresholds(Bytes(144 * 144, 100), 144, 144);
  ASSERT_EQ(cells.size(), 81u);
  EXPECT_EQ(cells[0], 0);
  EXPECT_EQ(cells[8], 0);
}

TEST(ReferenceAdaptive, BinarizesACellBetweenItsOwnAndTheGlobalThreshold) {
  // The cell above: local threshold 94, global 151 (two levels, mean + 1), so 94 + 42 = 136.
  const Bytes output = Convert(kAdaptive, GraySource(16, 16, TwoLevelCell()));
  for (std::size_t y = 0; y < 16; ++y) {
    const std::uint8_t expected = y < 8 ? 0x00 : 0xFF;
    EXPECT_EQ(output.at(4 * y), expected) << y;
    EXPECT_EQ(output.at(4 * y + 1), expected) << y;
    EXPECT_EQ(output.at(4 * y + 2), 0xFF) << y;
    EXPECT_EQ(output.at(4 * y + 3), 0xFF) << y;
  }
}

TEST(ReferenceAdaptive, BinarizesTheStripBesideTheCellsInRowsOfSixteenBytes) {
  // The same cell in an image 18 wide whose last two columns are 200. The strip is two rows of 16
  // bytes from column 16 on, which run on into the next rows: 200 200 and then 14 times 100.
  Bytes levels;
  for (std::uint32_t y = 0; y < 16; ++y) {
    for (std::uint32_t x = 0; x < 18; ++x) levels.push_back(y < 8 && x < 16 ? 100 : 200);
  }
  const Bytes output = Convert(kAdaptive, GraySource(18, 16, levels));
  for (std::size_t y = 0; y < 16; ++y) {
    EXPECT_EQ(output.at(4 * y), y < 8 ? 0x00 : 0xFF) << y;
    EXPECT_EQ(output.at(4 * y + 1), y < 8 ? 0x00 : 0xFF) << y;
    EXPECT_EQ(output.at(4 * y + 2), y < 2 ? 0b11000000 : 0xFF) << y;
    EXPECT_EQ(output.at(4 * y + 3), y < 2 ? 0x00 : 0xFF) << y;
  }
}

TEST(ReferenceAdaptive, UsesTheHighestThresholdWhereThereAreNoCells) {
  // Three columns: three rows of 16 bits per 16 rows, every level below 255 black; the two rows
  // below the last whole 16 stay white.
  const Bytes output = Convert(kAdaptive, FlatSource(3, 18, 200));
  for (std::size_t y = 0; y < 18; ++y) {
    const std::uint8_t expected = y < 3 ? 0x00 : 0xFF;
    EXPECT_EQ(output.at(4 * y), expected) << y;
    EXPECT_EQ(output.at(4 * y + 1), expected) << y;
    EXPECT_EQ(output.at(4 * y + 2), 0xFF) << y;
  }
}

TEST(ReferenceAdaptive, LeavesLowImagesWhite) {
  EXPECT_EQ(Convert(kAdaptive, FlatSource(40, 15, 0)), Bytes(15 * 8, 0xFF));
}

}  // namespace
}  // namespace pixtola::test
