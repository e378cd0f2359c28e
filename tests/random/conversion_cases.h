// Random conversions of byte buffers, to be made by the library and by its plain definition.
#ifndef PIXTOLA_TESTS_RANDOM_CONVERSION_CASES_H_
#define PIXTOLA_TESTS_RANDOM_CONVERSION_CASES_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "support/guarded_buffer.h"
#include "support/reference_conversion.h"

namespace pixtola::test {

enum class Capacity { kQuery, kExact, kLarger, kOneShort, kAny };

struct Case {
  std::uint64_t seed = 0;
  std::uint64_t number = 0;
  std::uint32_t method = 0;
  ReferenceSource source{};
  ReferenceRect rect{};
  bool whole = false;  // PxtBytesToBytes, which takes no rectangle
  Capacity capacity = Capacity::kExact;
  std::uint32_t capacity_choice = 0;  // what kQuery and kAny state, how much more kLarger states
  std::size_t source_offset = 0;
  std::size_t destination_offset = 0;
  GuardSide source_side = GuardSide::kAfterEnd;
  GuardSide destination_side = GuardSide::kAfterEnd;
  const char* content = "";
};

// The case as text, with the settings that run it alone.
std::string Text(const Case& c);

std::string Text(const ReferenceRect& rect);

// Any images, rectangles and capacities.
Case MakeCase(std::uint64_t seed, std::uint64_t number, bool whole);

// Images with many cells and several large windows, whole or nearly so.
Case MakeLargeCase(std::uint64_t seed, std::uint64_t number);

// Contrast left of column 128 and hardly any right of it: cells on the left of a row take over the
// large window that the row above ended with, and the quotient of the two deviations gets so large
// that a cell value uses all its 32 bits, or more.
Case MakeContrastCase(std::uint64_t seed, std::uint64_t number);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_RANDOM_CONVERSION_CASES_H_
