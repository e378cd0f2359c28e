// The adaptive conversion of whole gray images with every table of kernels against the definition,
// which looks at each pixel of each window, and against the independent one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "convert/pixels/adaptive/adaptive.h"
#include "convert/pixels/adaptive/adaptive_bands.h"
#include "convert/pixels/adaptive/adaptive_cells.h"
#include "convert/pixels/adaptive/gray_bands.h"
#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"
#include "support/packed_gray.h"
#include "support/reference_conversion.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;
using Bytes = std::vector<std::uint8_t>;

const std::vector<const AdaptiveKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainAdaptiveKernels, BestAdaptiveKernels);
  return tables;
}

std::uint32_t Next(std::mt19937& random) { return static_cast<std::uint32_t>(random()); }

enum class Content { kRandom, kFlat, kGradient, kDark, kDocument, kContrastOnTheLeft, kCount };

std::uint8_t Level(Content content, std::uint32_t x, std::uint32_t y, unsigned base,
                   std::mt19937& random) {
  switch (content) {
    case Content::kFlat:
      return static_cast<std::uint8_t>(base);
    case Content::kGradient:
      return static_cast<std::uint8_t>(base + x + y / 2);
    case Content::kDark:
      return static_cast<std::uint8_t>(Next(random) % 40 == 0 ? Next(random) % 8 : 0);
    case Content::kDocument:
      return static_cast<std::uint8_t>(y / 7 % 2 == 0 && Next(random) % 3 == 0
                                           ? 30 + Next(random) % 30
                                           : 225 + Next(random) % 30);
    case Content::kContrastOnTheLeft:
      // The window of the right half is next to flat, and the next row's left half goes on with it.
      if (x < 128) return static_cast<std::uint8_t>(Next(random) % 2 == 0 ? base / 2 : base);
      return static_cast<std::uint8_t>(Next(random) % 500 == 0 ? base / 2 + 1 : base / 2);
    default:
      return static_cast<std::uint8_t>(Next(random));
  }
}

void FillGray(Content content, std::uint32_t width, std::uint32_t height, std::mt19937& random,
              std::uint8_t* gray) {
  const unsigned base = Next(random) % 256;
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) *gray++ = Level(content, x, y, base, random);
  }
}

void ExpectEqualPages(std::uint32_t width, std::uint32_t height, Content content,
                      std::mt19937& random) {
  const std::uint32_t stride = (width + 31) / 32 * 4 + Next(random) % 3 * 4;
  const auto global = static_cast<std::uint8_t>(Next(random));
  const GuardSide side = Next(random) % 2 == 0 ? GuardSide::kAfterEnd : GuardSide::kBeforeStart;
  GuardedBuffer gray(std::size_t{width} * height, 0, side);
  FillGray(content, width, height, random, gray.data());
  gray.MakeReadOnly();
  Bytes expected(std::size_t{stride} * height, 255);
  ASSERT_TRUE(BinarizeCells({gray.data(), width, height, width, 8}, global,
                            {expected.data(), width, height, stride, 1}));
  for (const AdaptiveKernels* table : Tables()) {
    GuardedBuffer bits(expected.size(), 0, side);
    std::fill(bits.span().begin(), bits.span().end(), std::uint8_t{255});
    ASSERT_TRUE(BinarizeCellsInBands(*table, test::PackedGray(gray.data(), width), global,
                                     {bits.data(), width, height, stride, 1}));
    const auto difference = std::mismatch(expected.begin(), expected.end(), bits.data());
    const auto position = static_cast<std::size_t>(difference.first - expected.begin());
    ASSERT_EQ(position, expected.size())
        << table->target << " width " << width << " height " << height << " stride " << stride
        << " content " << static_cast<int>(content) << " row " << position / stride << " byte "
        << position % stride << ": " << int{*difference.second} << ", not "
        << int{*difference.first};
    ASSERT_TRUE(bits.SurroundingsAreUntouched()) << table->target << " width " << width;
  }
}

Content AnyContent(std::mt19937& random) {
  return static_cast<Content>(Next(random) % static_cast<unsigned>(Content::kCount));
}

TEST(AdaptivePages, AreTheSameInAllSmallWidths) {
  std::mt19937 random(22);
  for (std::uint32_t width = 1; width <= 200; ++width) {
    for (int i = 0; i < 2; ++i) {
      ExpectEqualPages(width, 1 + Next(random) % 300, AnyContent(random), random);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(AdaptivePages, AreTheSameWhereTheLastWindowsAreCut) {
  std::mt19937 random(23);
  for (const std::uint32_t width : {16U, 127U, 128U, 129U, 143U, 144U, 255U, 256U, 257U, 391U}) {
    for (const std::uint32_t height :
         {16U, 17U, 127U, 128U, 129U, 135U, 143U, 144U, 145U, 160U, 255U, 256U, 257U, 290U}) {
      ExpectEqualPages(width, height, AnyContent(random), random);
      if (HasFatalFailure()) return;
    }
  }
}

/// Fewer rows are kept than such a page has. In narrow ones, many of them run on behind a row.
TEST(AdaptivePages, AreTheSameWhenHigherThanWhatIsKept) {
  constexpr std::uint32_t kKeptRows = GrayBands::kKeptBands * kCellSize;
  std::mt19937 random(27);
  for (const std::uint32_t width : {1U, 15U, 16U, 17U, 31U, 33U, 112U, 127U, 129U, 145U, 250U}) {
    for (const std::uint32_t height :
         {kKeptRows - 1, kKeptRows, kKeptRows + 1, kKeptRows + 7, kKeptRows + 15, kKeptRows + 16,
          kKeptRows + 17, 2 * kKeptRows, 2 * kKeptRows + 1 + Next(random) % 150}) {
      ExpectEqualPages(width, height, AnyContent(random), random);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(AdaptivePages, AreTheSameWithAllContents) {
  std::mt19937 random(24);
  for (unsigned content = 0; content < static_cast<unsigned>(Content::kCount); ++content) {
    for (const std::uint32_t width : {270U, 397U, 640U}) {
      ExpectEqualPages(width, 560 + Next(random) % 32, static_cast<Content>(content), random);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(AdaptivePages, NeedNoCells) {
  std::mt19937 random(25);
  for (const std::uint32_t width : {1U, 15U, 16U, 40U}) {
    for (const std::uint32_t height : {1U, 15U, 16U}) {
      ExpectEqualPages(width, height, Content::kRandom, random);
      if (HasFatalFailure()) return;
    }
  }
}

/// A 24-bit source whose gray is not its blue.
test::ReferenceSource MakeSource(std::uint32_t width, std::uint32_t height, Content content,
                                 std::mt19937& random) {
  const std::uint32_t stride = (width * 3 + 3) / 4 * 4;
  test::ReferenceSource source{Bytes(std::size_t{stride} * height), 24, width, height, stride, {}};
  Bytes gray(std::size_t{width} * height);
  FillGray(content, width, height, random, gray.data());
  for (std::size_t i = 0; i < gray.size(); ++i) {
    std::uint8_t* pixel = source.bytes.data() + i / width * stride + i % width * 3;
    pixel[0] = static_cast<std::uint8_t>(gray[i] ^ 5);
    pixel[1] = gray[i];
    pixel[2] = gray[i];
  }
  return source;
}

void ExpectReferencePage(const test::ReferenceSource& source, const char* target) {
  constexpr std::uint32_t kAdaptive = 2;
  const std::uint32_t stride = (source.width + 31) / 32 * 4;
  const auto right = static_cast<std::int32_t>(source.width);
  const auto bottom = static_cast<std::int32_t>(source.height);
  Bytes expected(std::size_t{stride} * source.height);
  ASSERT_EQ(test::ReferenceBytesRectToBytes(kAdaptive, source, {0, 0, right, bottom}, &expected,
                                            static_cast<std::uint32_t>(expected.size()))
                .result,
            1);
  Bytes bits(expected.size());
  ASSERT_EQ(BinarizeAdaptive({source.bytes.data(), source.width, source.height, source.stride, 24},
                             nullptr, {bits.data(), source.width, source.height, stride, 1}),
            1);
  ASSERT_EQ(bits, expected) << target << " width " << source.width << " height " << source.height;
}

void ExpectReferencePages(const char* target) {
  std::mt19937 random(26);
  for (const std::uint32_t width : {7U, 64U, 133U, 180U, 263U}) {
    for (const std::uint32_t height : {40U, 150U, 275U}) {
      ExpectReferencePage(MakeSource(width, height, AnyContent(random), random), target);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

/// Rows that nobody should ask for.
class NoRows final : public GrayReader {
 public:
  void Read(std::uint32_t, std::uint32_t, std::uint8_t*, std::size_t) const override {
    ADD_FAILURE() << "rows are read";
  }
};

TEST(AdaptivePages, WithoutARowOfCellsNeedNeitherRowsNorMemory) {
  for (const AdaptiveKernels* table : Tables()) {
    // So wide that memory for some rows could not be had.
    EXPECT_TRUE(
        BinarizeCellsInBands(*table, NoRows(), 128, {nullptr, 0xFFFFFFFF, kCellSize - 1, 0, 1}))
        << table->target;
  }
}

TEST(AdaptivePages, AreThoseOfTheIndependentDefinitionOnEveryTarget) {
#if PIXTOLA_WITH_HIGHWAY
  for (const std::int64_t target : test::RunnableTargets()) {
    const test::ForcedTargets forced(target);
    ExpectReferencePages(hwy::TargetName(target));
    if (HasFatalFailure()) return;
  }
#else
  ExpectReferencePages("plain");
#endif
}

}  // namespace
}  // namespace pixtola
