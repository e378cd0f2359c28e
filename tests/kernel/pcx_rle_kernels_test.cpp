// Every table of PCX run-length kernels against the definition, and the definition itself.
#include "io/pixels/pcx_rle_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

using test::GuardedBuffer;
using test::GuardSide;
using Bytes = std::vector<std::uint8_t>;

const std::vector<const PcxRleKernels*>& Tables() {
  static const auto tables = test::AllKernels(kPlainPcxRleKernels, BestPcxRleKernels);
  return tables;
}

Bytes Repeated(std::size_t count, std::uint8_t value) { return Bytes(count, value); }

Bytes Encoded(const PcxRleKernels& table, const Bytes& line) {
  Bytes code(PcxCodeCapacity(line.size()));
  code.resize(table.encode(line.data(), line.size(), code.data()));
  return code;
}

PcxProgress Decode(const PcxRleKernels& table, PcxRun& run, const Bytes& code, Bytes& output) {
  return table.decode(run, code.data(), code.size(), output.data(), output.size());
}

/// Where a decoder stopped, and with what.
struct Outcome {
  Bytes output;
  PcxProgress progress;
  PcxRun run;

  bool operator==(const Outcome& other) const {
    return output == other.output && progress.consumed == other.progress.consumed &&
           progress.produced == other.progress.produced && run.value == other.run.value &&
           run.count == other.run.count && run.is_value_due == other.run.is_value_due;
  }
};

/// Decodes with the input at the end and at the beginning of its memory.
void ExpectLikePlain(const PcxRun& run, const Bytes& code, std::size_t output_size) {
  Outcome expected{Bytes(output_size, 0xEE), {}, run};
  expected.progress = Decode(kPlainPcxRleKernels, expected.run, code, expected.output);
  for (const PcxRleKernels* table : Tables()) {
    for (const GuardSide side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
      GuardedBuffer input(code.size(), 1, side);
      std::copy(code.begin(), code.end(), input.data());
      input.MakeReadOnly();
      GuardedBuffer output(output_size, 1, side);
      std::fill_n(output.data(), output_size, std::uint8_t{0xEE});
      Outcome outcome{{}, {}, run};
      outcome.progress =
          table->decode(outcome.run, input.data(), code.size(), output.data(), output_size);
      outcome.output.assign(output.data(), output.data() + output_size);
      // What lies between what was produced and the end may have been written to.
      const auto produced = static_cast<std::ptrdiff_t>(expected.progress.produced);
      std::fill(outcome.output.begin() + produced, outcome.output.end(), std::uint8_t{0xEE});
      ASSERT_TRUE(outcome == expected)
          << table->target << ", " << code.size() << " bytes to " << output_size;
      ASSERT_TRUE(output.SurroundingsAreUntouched()) << table->target;
    }
  }
}

TEST(PcxRleKernels, RunsAreCountedUpTo63) {
  for (const PcxRleKernels* table : Tables()) {
    SCOPED_TRACE(table->target);
    EXPECT_EQ(Encoded(*table, {}), Bytes());
    EXPECT_EQ(Encoded(*table, {5}), Bytes({5}));
    EXPECT_EQ(Encoded(*table, {0xBF}), Bytes({0xBF}));
    EXPECT_EQ(Encoded(*table, {0xC0}), Bytes({0xC1, 0xC0}));
    EXPECT_EQ(Encoded(*table, {0xC5}), Bytes({0xC1, 0xC5}));
    EXPECT_EQ(Encoded(*table, {5, 5}), Bytes({0xC2, 5}));
    EXPECT_EQ(Encoded(*table, Repeated(63, 9)), Bytes({0xFF, 9}));
    EXPECT_EQ(Encoded(*table, Repeated(64, 9)), Bytes({0xFF, 9, 9}));
    EXPECT_EQ(Encoded(*table, Repeated(64, 0xC9)), Bytes({0xFF, 0xC9, 0xC1, 0xC9}));
    EXPECT_EQ(Encoded(*table, Repeated(65, 9)), Bytes({0xFF, 9, 0xC2, 9}));
    EXPECT_EQ(Encoded(*table, Repeated(126, 9)), Bytes({0xFF, 9, 0xFF, 9}));
    EXPECT_EQ(Encoded(*table, Repeated(127, 9)), Bytes({0xFF, 9, 0xFF, 9, 9}));
  }
}

/// Lines in which equal neighbours, bright bytes and long runs are more or less frequent.
Bytes RandomLine(std::mt19937& random, std::size_t size) {
  const auto bright_of_8 = random() % 9;
  const auto equal_of_8 = random() % 9;
  const std::size_t longest = random() % 4 == 0 ? 200 : 1 + random() % 4;
  Bytes line;
  while (line.size() < size) {
    auto value = static_cast<std::uint8_t>(random() % 192);
    if (random() % 8 < bright_of_8) value = static_cast<std::uint8_t>(192 + random() % 64);
    const std::size_t length = random() % 8 < equal_of_8 ? 1 + random() % longest : 1;
    line.insert(line.end(), length, value);
  }
  line.resize(size);
  return line;
}

TEST(PcxRleKernels, EveryLineIsEncodedLikeThePlainOneAndStaysInItsMemory) {
  std::mt19937 random(20261121);
  for (std::size_t size = 0; size <= 400; ++size) {
    const GuardSide side = size % 2 == 0 ? GuardSide::kAfterEnd : GuardSide::kBeforeStart;
    for (int i = 0; i < 12; ++i) {
      const Bytes line = RandomLine(random, size);
      GuardedBuffer input(size, 1, side);
      std::copy(line.begin(), line.end(), input.data());
      input.MakeReadOnly();
      const Bytes expected = Encoded(kPlainPcxRleKernels, line);
      for (const PcxRleKernels* table : Tables()) {
        GuardedBuffer code(PcxCodeCapacity(size), 1, side);
        const std::size_t code_size = table->encode(input.data(), size, code.data());
        ASSERT_EQ(Bytes(code.data(), code.data() + code_size), expected)
            << table->target << " size " << size;
        ASSERT_TRUE(code.SurroundingsAreUntouched()) << table->target << " size " << size;
      }
    }
  }
}

TEST(PcxRleKernels, WhatIsEncodedIsDecodedToTheSame) {
  std::mt19937 random(7);
  for (std::size_t size = 0; size <= 400; ++size) {
    const Bytes line = RandomLine(random, size);
    const Bytes code = Encoded(kPlainPcxRleKernels, line);
    for (const PcxRleKernels* table : Tables()) {
      PcxRun run;
      Bytes decoded(size);
      const PcxProgress progress = Decode(*table, run, code, decoded);
      ASSERT_EQ(decoded, line) << table->target;
      ASSERT_EQ(progress.consumed, code.size()) << table->target;
      ASSERT_EQ(progress.produced, size) << table->target;
    }
  }
}

TEST(PcxRleKernels, ACountOf0GivesNothingAndIsRemembered) {
  for (const PcxRleKernels* table : Tables()) {
    PcxRun run;
    Bytes output(4, 0xEE);
    const PcxProgress progress = Decode(*table, run, Bytes{1, 0xC0, 9, 2, 0xC2}, output);
    EXPECT_EQ(output, Bytes({1, 2, 0xEE, 0xEE}));
    EXPECT_EQ(progress.consumed, 5U);
    EXPECT_EQ(progress.produced, 2U);
    EXPECT_EQ(run.value, 9);
    EXPECT_EQ(run.count, 2);
    EXPECT_TRUE(run.is_value_due);
  }
}

TEST(PcxRleKernels, ARunGoesOnInTheNextOutput) {
  for (const PcxRleKernels* table : Tables()) {
    PcxRun run;
    Bytes output(3);
    EXPECT_EQ(Decode(*table, run, Bytes{0xC5, 7, 8}, output).consumed, 2U);
    EXPECT_EQ(output, Bytes({7, 7, 7}));
    EXPECT_EQ(run.count, 2);
    EXPECT_EQ(Decode(*table, run, Bytes{8}, output).consumed, 1U);
    EXPECT_EQ(output, Bytes({7, 7, 8}));
  }
}

TEST(PcxRleKernels, AnyBytesAreDecodedLikeThePlainOnes) {
  std::mt19937 random(11);
  for (int i = 0; i < 4000; ++i) {
    // From noise, which is mostly literal, to nothing but counts; small counts are frequent in
    // files.
    const auto counts_of_8 = random() % 9;
    const auto largest = random() % 2 == 0 ? 3U : 64U;
    Bytes code(random() % 300);
    for (std::uint8_t& byte : code) {
      byte = static_cast<std::uint8_t>(random() % 8 < counts_of_8 ? 0xC0U | random() % largest
                                                                  : random());
    }
    PcxRun run;
    if (random() % 2 == 0) {
      run = {.value = 77,
             .count = static_cast<std::uint8_t>(random() % 64),
             .is_value_due = random() % 2 == 0};
    }
    ExpectLikePlain(run, code, random() % 500);
    if (testing::Test::HasFatalFailure()) return;
  }
}

}  // namespace
}  // namespace pixtola
