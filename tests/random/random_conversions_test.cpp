// Compares the conversions of byte buffers with their plain definition on random images, rectangles
// and capacities, byte for byte, with all memory guarded: whatever a faster way of computing may
// get wrong at an odd size, stride or offset shows here. Null arguments are left to other tests.
//
// Cases depend on PXT_FUZZ_SEED and their number alone. PXT_FUZZ_FIRST and PXT_FUZZ_COUNT choose
// the numbers to run; PXT_FUZZ_TRACE prints each case before it runs, to find one that crashes.
#include "Pixtola.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "random/conversion_cases.h"
#include "support/guarded_buffer.h"
#include "support/reference_conversion.h"

namespace pixtola::test {
namespace {

constexpr std::uint64_t kDefaultSeed = 20240117;
constexpr int kMismatchesShown = 5;
constexpr std::uint32_t kNotWritten = 0xDEADBEEF;

// Above this need a case only asks for the size or states a small capacity.
constexpr std::uint32_t kLargestOutput = 1u << 20;

std::uint64_t EnvironmentOr(const char* name, std::uint64_t fallback) {
  const char* const text = std::getenv(name);
  return text == nullptr ? fallback : std::strtoull(text, nullptr, 10);
}

// The palette as a block that ends at an inaccessible page. Where the palette must be ignored, the
// block is empty at times, so that a mere look at its count is found.
std::unique_ptr<GuardedBuffer> PaletteBlock(const Case& c) {
  const ReferenceSource& source = c.source;
  if (!source.palette.has_value()) return nullptr;
  if (source.bits_per_pixel != 8) return std::make_unique<GuardedBuffer>(0);
  const std::vector<std::uint32_t>& entries = source.palette->entries;
  auto block = std::make_unique<GuardedBuffer>((2 + entries.size()) * sizeof(std::uint32_t));
  const std::uint32_t header[2] = {0, static_cast<std::uint32_t>(entries.size())};
  std::memcpy(block->data(), header, sizeof(header));
  if (!entries.empty()) {
    std::memcpy(block->data() + sizeof(header), entries.data(),
                entries.size() * sizeof(std::uint32_t));
  }
  block->MakeReadOnly();
  return block;
}

std::uint32_t StatedCapacity(const Case& c, std::uint32_t need) {
  switch (c.capacity) {
    case Capacity::kQuery:
    case Capacity::kAny:
      return c.capacity_choice;
    case Capacity::kLarger:
      return need > kLargestOutput ? 64 : need + c.capacity_choice;
    case Capacity::kOneShort:
      return need > kLargestOutput ? 64 : need - (need != 0 ? 1u : 0u);
    default:
      return need > kLargestOutput ? 64 : need;
  }
}

template <typename A, typename B>
void Note(std::ostringstream& differences, const std::string& what, A expected, B actual) {
  if (expected == actual) return;
  differences << "  " << what << ": expected " << expected << ", library " << actual << "\n";
}

// The first byte that differs, with its place in the output.
void NoteBytes(std::ostringstream& differences, const Case& c, std::uint32_t stride,
               const std::vector<std::uint8_t>& expected, const GuardedBuffer& actual) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const unsigned wanted = expected[i];
    const unsigned found = actual.data()[i];
    if (wanted == found) continue;
    const std::size_t row_size = std::max(stride, 1u);
    std::size_t x = i % row_size;
    if (c.method != MethodGray8) {
      unsigned bit = 0;
      while (((wanted ^ found) >> (7 - bit) & 1) == 0) ++bit;
      x = x * 8 + bit;
    }
    differences << "  first different byte " << i << " of " << expected.size() << ", byte "
                << i % row_size << " of row " << i / row_size << ", pixel x " << x << " y "
                << i / row_size << ": expected " << wanted << ", library " << found << "\n";
    return;
  }
}

// Runs one case through both; the differences as text, empty when there are none.
std::string Differences(const Case& c) {
  const ReferenceSource& source = c.source;
  const bool query = c.capacity == Capacity::kQuery;
  const ReferenceConversion asked = ReferenceBytesRectToBytes(c.method, source, c.rect, nullptr, 0);
  const std::uint32_t capacity = StatedCapacity(c, asked.size.value_or(64));

  std::vector<std::uint8_t> expected_bytes(query ? 0 : capacity, GuardedBuffer::kFill);
  const ReferenceConversion expected = ReferenceBytesRectToBytes(
      c.method, source, c.rect, query ? nullptr : &expected_bytes, capacity);

  GuardedBuffer source_bytes(source.bytes.size(), c.source_offset, c.source_side);
  std::copy(source.bytes.begin(), source.bytes.end(), source_bytes.data());
  source_bytes.MakeReadOnly();
  GuardedBuffer destination(expected_bytes.size(), c.destination_offset, c.destination_side);
  const std::unique_ptr<GuardedBuffer> palette_block = PaletteBlock(c);

  const auto method = static_cast<PxtConversionMethod>(c.method);
  const std::uint8_t* const first = source.bytes.empty() ? nullptr : source_bytes.data();
  std::uint8_t* const output = query ? nullptr : destination.data();
  const void* const palette_bytes = palette_block == nullptr ? nullptr : palette_block->data();
  const auto* const palette = static_cast<const Gdiplus::ColorPalette*>(palette_bytes);
  RECT rect;
  rect.left = c.rect.left;
  rect.top = c.rect.top;
  rect.right = c.rect.right;
  rect.bottom = c.rect.bottom;
  std::uint32_t size = capacity;
  std::uint32_t stride = kNotWritten;
  int result = 0;
  if (c.whole) {
    result = PxtBytesToBytes(method, first, source.bits_per_pixel, source.width, source.height,
                             source.stride, output, &size, &stride, palette);
  } else {
    result = PxtBytesRectToBytes(method, first, &rect, source.bits_per_pixel, source.width,
                                 source.height, source.stride, output, &size, &stride, palette);
  }

  std::ostringstream differences;
  Note(differences, "result", expected.result, result);
  Note(differences, "size", expected.size.value_or(capacity), size);
  Note(differences, "stride", expected.stride.value_or(kNotWritten), stride);
  if (!c.whole) {
    const ReferenceRect clipped{
        static_cast<std::int32_t>(rect.left), static_cast<std::int32_t>(rect.top),
        static_cast<std::int32_t>(rect.right), static_cast<std::int32_t>(rect.bottom)};
    Note(differences, "rect", Text(expected.rect), Text(clipped));
  }
  NoteBytes(differences, c, expected.stride.value_or(1), expected_bytes, destination);
  if (!destination.SurroundingsAreUntouched()) {
    differences << "  bytes around the destination were written\n";
  }
  return differences.str();
}

template <typename Make>
void RunCases(std::uint64_t default_first, std::uint64_t default_count, const Make& make) {
  const std::uint64_t seed = EnvironmentOr("PXT_FUZZ_SEED", kDefaultSeed);
  const std::uint64_t first = EnvironmentOr("PXT_FUZZ_FIRST", default_first);
  const std::uint64_t count = EnvironmentOr("PXT_FUZZ_COUNT", default_count);
  const bool trace = std::getenv("PXT_FUZZ_TRACE") != nullptr;
  int mismatches = 0;
  for (std::uint64_t number = first; number < first + count; ++number) {
    const Case c = make(seed, number);
    if (trace) std::cerr << Text(c) << std::flush;
    const std::string differences = Differences(c);
    if (differences.empty()) continue;
    ADD_FAILURE() << Text(c) << differences;
    if (++mismatches == kMismatchesShown) {
      FAIL() << "stopped after " << mismatches << " mismatches";
    }
  }
}

TEST(PxtBytesRectToBytes, EqualsThePlainDefinitionOnRandomImages) {
  RunCases(0, 12000,
           [](std::uint64_t seed, std::uint64_t number) { return MakeCase(seed, number, false); });
}

TEST(PxtBytesRectToBytes, EqualsThePlainDefinitionOnLargeImages) {
  RunCases(0, 200, MakeLargeCase);
}

TEST(PxtBytesRectToBytes, EqualsThePlainDefinitionWhereCellsDeviateFarMoreThanTheirWindow) {
  RunCases(0, 1000, MakeContrastCase);
}

TEST(PxtBytesToBytes, EqualsThePlainDefinitionOnRandomImages) {
  RunCases(1000000, 4000,
           [](std::uint64_t seed, std::uint64_t number) { return MakeCase(seed, number, true); });
}

// The wrapped need is small here, and a library that believed it would write gigabytes.
TEST(PxtBytesRectToBytes, EqualsThePlainDefinitionWhereTheNeedWrapsAtThirtyTwoBits) {
  struct Wrapping {
    std::uint32_t bits_per_pixel, width, height;
  };
  for (const Wrapping& wrapping :
       {Wrapping{24, 0x55555556, 3}, Wrapping{32, 0x40000000, 4}, Wrapping{32, 0x40000001, 4},
        Wrapping{32, 0x40000000, 32}, Wrapping{24, 0x55555556, 48}, Wrapping{24, 0x55555557, 96}}) {
    for (std::uint32_t method = 0; method < 4; ++method) {
      for (const Capacity capacity : {Capacity::kQuery, Capacity::kExact, Capacity::kLarger}) {
        Case c;
        c.method = method;
        c.source = {std::vector<std::uint8_t>(8, 77), wrapping.bits_per_pixel, 1, 1, 8, {}};
        c.rect = {-0x7FFFFFFF, -1 - static_cast<std::int32_t>(wrapping.height),
                  static_cast<std::int32_t>(wrapping.width) - 0x7FFFFFFF, -1};
        c.capacity = capacity;
        c.content = "wrapping need";
        const std::string differences = Differences(c);
        EXPECT_TRUE(differences.empty()) << Text(c) << differences;
      }
    }
  }
}

}  // namespace
}  // namespace pixtola::test
