// Every table of white balance kernels against the definition, count for count and byte for byte.
#include "process/pixels/white_balance_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;

constexpr std::uint32_t kChannelCounts[] = {1, 3, 4};

const std::vector<const WhiteBalanceKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainWhiteBalanceKernels, BestWhiteBalanceKernels);
  return tables;
}

void Fill(GuardedBuffer& buffer, std::mt19937& random) {
  for (std::uint8_t& byte : buffer.span()) byte = static_cast<std::uint8_t>(random());
}

ChannelPoints RandomPoints(std::mt19937& random) {
  ChannelPoints points;
  for (LevelPoints& pair : points) {
    pair = {static_cast<std::uint8_t>(random() % 160), static_cast<std::uint8_t>(random())};
  }
  return points;
}

/// Empty if the bytes are equal.
std::string FirstDifference(const std::vector<std::uint8_t>& expected, const std::uint8_t* actual) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (expected[i] == actual[i]) continue;
    return "byte " + std::to_string(i) + ": expected " + std::to_string(expected[i]) + ", got " +
           std::to_string(actual[i]);
  }
  return {};
}

/// Level `level` stretched, by the exact quotient rounded to the nearest, halves up.
std::uint8_t ExactlyStretched(int level, int low, int high) {
  if (low >= high) return static_cast<std::uint8_t>(level);
  const int range = high - low;
  const int above = std::clamp(level - low, 0, range);
  return static_cast<std::uint8_t>((above * 510 + range) / (2 * range));
}

TEST(WhiteBalanceKernels, EveryTableHasFunctionsOfItsOwn) {
  std::set<std::string> targets;
  std::set<const void*> functions;
  for (const WhiteBalanceKernels* table : Tables()) {
    targets.insert(table->target);
    functions.insert(reinterpret_cast<const void*>(table->count_windows));
    functions.insert(reinterpret_cast<const void*>(table->stretch));
  }
  EXPECT_EQ(targets.size(), Tables().size());
  EXPECT_EQ(functions.size(), 2 * Tables().size());
}

TEST(WhiteBalanceKernels, StretchEqualsThePlainOneAndStaysInItsMemory) {
  constexpr std::uint32_t kSeed = 20261121;
  std::mt19937 random(kSeed);
  for (const std::uint32_t channels : kChannelCounts) {
    for (std::uint32_t count = 0; count <= 130; ++count) {
      for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
        for (const std::size_t misalignment : {0U, 1U, 7U}) {
          const std::size_t size = std::size_t{count} * channels;
          const ChannelPoints points = RandomPoints(random);
          GuardedBuffer source(size, misalignment, side);
          Fill(source, random);
          source.MakeReadOnly();
          std::vector<std::uint8_t> expected(size);
          kPlainWhiteBalanceKernels.stretch(source.data(), count, channels, points,
                                            expected.data());
          for (const WhiteBalanceKernels* table : Tables()) {
            GuardedBuffer apart(size, misalignment, side);
            table->stretch(source.data(), count, channels, points, apart.data());
            GuardedBuffer in_place(size, misalignment, side);
            std::copy_n(source.data(), size, in_place.data());
            table->stretch(in_place.data(), count, channels, points, in_place.data());
            for (const GuardedBuffer* result : {&apart, &in_place}) {
              ASSERT_EQ(FirstDifference(expected, result->data()), "")
                  << table->target << " channels " << channels << " pixels " << count
                  << " misalignment " << misalignment << " in place " << (result == &in_place)
                  << " seed " << kSeed;
              ASSERT_TRUE(result->SurroundingsAreUntouched())
                  << table->target << " channels " << channels << " pixels " << count;
            }
          }
        }
      }
    }
  }
}

TEST(WhiteBalanceKernels, AllLevelsAreStretchedExactlyByAllPoints) {
  // The points of the four channels are neighbours, so that every pair is in one call.
  std::vector<std::uint8_t> source(256 * 4);
  for (std::uint32_t i = 0; i < source.size(); ++i) source[i] = static_cast<std::uint8_t>(i / 4);
  std::vector<std::uint8_t> expected(source.size());
  std::vector<std::uint8_t> stretched(source.size());
  for (std::uint32_t low = 0; low < 256; ++low) {
    for (std::uint32_t high = 0; high < 256; high += 4) {
      ChannelPoints points;
      for (std::uint32_t c = 0; c < 4; ++c) {
        points[c] = {static_cast<std::uint8_t>(low), static_cast<std::uint8_t>(high + c)};
      }
      for (std::uint32_t i = 0; i < source.size(); ++i) {
        expected[i] = ExactlyStretched(source[i], points[i % 4].black, points[i % 4].white);
      }
      for (const WhiteBalanceKernels* table : Tables()) {
        table->stretch(source.data(), 256, 4, points, stretched.data());
        ASSERT_EQ(FirstDifference(expected, stretched.data()), "")
            << table->target << " low " << low << " high from " << high;
      }
    }
  }
}

/// The counts of windows from those of all levels.
ChannelWindowCounts CountsByLevels(const GuardedBuffer& pixels, std::uint32_t channels,
                                   const ChannelWindowStarts& starts) {
  std::array<std::array<std::uint64_t, 256>, kMaxChannels> up_to{};
  for (std::size_t i = 0; i < pixels.size(); ++i) ++up_to[i % channels][pixels.data()[i]];
  ChannelWindowCounts counts{};
  for (std::uint32_t c = 0; c < channels; ++c) {
    for (std::uint32_t level = 1; level < 256; ++level) up_to[c][level] += up_to[c][level - 1];
    counts[c].up_to_254 = up_to[c][254];
    for (std::uint32_t window = 0; window < kWindows; ++window) {
      for (std::uint32_t k = 0; k < kWindowLevels; ++k) {
        counts[c].up_to[window][k] = up_to[c][starts[c][window] + k];
      }
    }
  }
  return counts;
}

void ExpectCounts(const GuardedBuffer& pixels, std::uint32_t channels,
                  const ChannelWindowStarts& starts, const std::string& what) {
  const ChannelWindowCounts expected = CountsByLevels(pixels, channels, starts);
  for (const WhiteBalanceKernels* table : Tables()) {
    ChannelWindowCounts counts;
    for (WindowCounts& count : counts) {
      count.up_to_254 = 77;
      for (auto& window : count.up_to) window.fill(77);
    }
    table->count_windows(pixels.data(), pixels.size() / channels, channels, starts, counts);
    for (std::uint32_t c = 0; c < kMaxChannels; ++c) {
      ASSERT_EQ(counts[c].up_to_254, expected[c].up_to_254)
          << table->target << " channel " << c << " of " << channels << " " << what;
      for (std::uint32_t window = 0; window < kWindows; ++window) {
        ASSERT_EQ(counts[c].up_to[window], expected[c].up_to[window])
            << table->target << " channel " << c << " of " << channels << " window " << window
            << " from " << int{starts[c][window]} << " " << what;
      }
    }
  }
}

ChannelWindowStarts RandomStarts(std::mt19937& random) {
  ChannelWindowStarts starts{};
  for (WindowStarts& channel : starts) {
    for (std::uint8_t& start : channel) {
      start = static_cast<std::uint8_t>(random() % (kLastWindowStart + 1));
    }
  }
  return starts;
}

TEST(WhiteBalanceKernels, WindowsOfFewPixelsAreCountedWithinTheirMemory) {
  constexpr std::uint32_t kSeed = 5;
  std::mt19937 random(kSeed);
  for (const std::uint32_t channels : kChannelCounts) {
    for (std::uint32_t count = 0; count <= 130; ++count) {
      for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
        for (const std::size_t misalignment : {0U, 1U, 7U}) {
          GuardedBuffer pixels(std::size_t{count} * channels, misalignment, side);
          Fill(pixels, random);
          pixels.MakeReadOnly();
          ASSERT_NO_FATAL_FAILURE(ExpectCounts(pixels, channels, RandomStarts(random),
                                               "pixels " + std::to_string(count) +
                                                   " misalignment " + std::to_string(misalignment) +
                                                   " seed " + std::to_string(kSeed)));
        }
      }
    }
  }
}

TEST(WhiteBalanceKernels, WindowsMayStartAtEveryLevel) {
  std::mt19937 random(6);
  GuardedBuffer pixels(4 * 3 * 1024);
  Fill(pixels, random);
  for (const std::uint32_t channels : kChannelCounts) {
    for (std::uint32_t start = 0; start <= kLastWindowStart; ++start) {
      ChannelWindowStarts starts{};
      for (std::uint32_t c = 0; c < channels; ++c) {
        starts[c] = {static_cast<std::uint8_t>((start + c) % (kLastWindowStart + 1)),
                     static_cast<std::uint8_t>(kLastWindowStart - start)};
      }
      ASSERT_NO_FATAL_FAILURE(ExpectCounts(pixels, channels, starts, "random pixels"));
    }
  }
}

TEST(WhiteBalanceKernels, WindowsOfManyPixelsAreCountedWithoutOverflow) {
  std::mt19937 random(7);
  // More than 255 blocks of 64 vectors of 64 bytes, three times as many with 3 channels.
  for (const std::uint32_t channels : kChannelCounts) {
    const std::uint32_t phases = channels == 3 ? 3 : 1;
    for (const bool is_flat : {false, true}) {
      const std::size_t size = (std::size_t{2} * 255 * 64 * 64 + 64) * phases;
      GuardedBuffer pixels(size / channels * channels);
      if (is_flat) {
        std::fill(pixels.span().begin(), pixels.span().end(), std::uint8_t{0});
      } else {
        Fill(pixels, random);
      }
      ASSERT_NO_FATAL_FAILURE(
          ExpectCounts(pixels, channels, RandomStarts(random), is_flat ? "flat" : "random"));
    }
  }
}

}  // namespace
}  // namespace pixtola
