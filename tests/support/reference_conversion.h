// The plain definition of the pixel conversions: gray and the three bilevel methods, pixel by
// pixel, written to be obviously right and never to be fast. It shares no code with the library, so
// that a test which compares the two compares two independent answers.
// It checks no pointers; what the library does with null arguments is tested elsewhere.
#ifndef PIXTOLA_TESTS_SUPPORT_REFERENCE_CONVERSION_H_
#define PIXTOLA_TESTS_SUPPORT_REFERENCE_CONVERSION_H_

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace pixtola::test {

struct ReferenceRect {
  std::int32_t left, top, right, bottom;
};

// ARGB entries; used for 8-bit sources only.
struct ReferencePalette {
  std::vector<std::uint32_t> entries;
};

// The image is the first height * stride bytes of `bytes`. No bytes at all stand for a null
// pointer, an absent palette for a null palette.
struct ReferenceSource {
  std::vector<std::uint8_t> bytes;
  std::uint32_t bits_per_pixel, width, height, stride;
  std::optional<ReferencePalette> palette;
};

// Everything a caller can see of one conversion, besides the bytes of the destination.
struct ReferenceConversion {
  int result = 0;
  ReferenceRect rect{};                 // after clipping
  std::optional<std::uint32_t> size;    // value written to the size argument, if written
  std::optional<std::uint32_t> stride;  // value written to the stride argument, if written
};

// Without a destination this is a size query. `capacity` is the value that the caller states;
// the destination holds at least that many bytes. Bytes that the method does not write stay.
ReferenceConversion ReferenceBytesRectToBytes(std::uint32_t method, const ReferenceSource& source,
                                              ReferenceRect rect,
                                              std::vector<std::uint8_t>* destination,
                                              std::uint32_t capacity);

// The inner steps, each testable alone.

std::uint32_t ReferenceCalcStride(std::uint32_t bits_per_pixel, std::uint32_t width);

bool ReferenceIsValidStride(std::uint32_t width, std::uint32_t bits_per_pixel,
                            std::uint32_t stride);

std::uint8_t ReferenceGrayOf(std::uint8_t red, std::uint8_t green, std::uint8_t blue);

std::uint8_t ReferenceOtsuThreshold(const std::array<std::uint32_t, 256>& histogram);

// The side of a cell of the adaptive method, in pixels.
inline constexpr std::uint32_t kReferenceCell = 16;

// One threshold for every whole 16 x 16 cell of a gray image whose rows follow each other without
// padding, in rows of width / 16 cells.
std::vector<std::uint8_t> ReferenceCellThresholds(const std::vector<std::uint8_t>& gray,
                                                  std::uint32_t width, std::uint32_t height);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_REFERENCE_CONVERSION_H_
