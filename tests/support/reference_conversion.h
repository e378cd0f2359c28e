// The plain definition of the pixel conversions: gray and the three bilevel methods, pixel by
// pixel, written to be obviously right and never to be fast. It shares no code with the library, so
// that a test which compares the two compares two independent answers.
// It checks no pointers; what the library does with null arguments is tested elsewhere.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace reference {

struct Rect {
  std::int32_t left, top, right, bottom;
};

// ARGB entries; used for 8-bit sources only.
struct Palette {
  std::vector<std::uint32_t> entries;
};

// The image is the first height * stride bytes of `bytes`. No bytes at all stand for a null
// pointer, an absent palette for a null palette.
struct Source {
  std::vector<std::uint8_t> bytes;
  std::uint32_t bits_per_pixel, width, height, stride;
  std::optional<Palette> palette;
};

// Everything a caller can see of one conversion, besides the bytes of the destination.
struct Conversion {
  int result = 0;
  Rect rect{};                          // after clipping
  std::optional<std::uint32_t> size;    // value written to the size argument, if written
  std::optional<std::uint32_t> stride;  // value written to the stride argument, if written
};

// Without a destination this is a size query. `capacity` is the value that the caller states;
// the destination holds at least that many bytes. Bytes that the method does not write stay.
Conversion BytesRectToBytes(std::uint32_t method, const Source& source, Rect rect,
                            std::vector<std::uint8_t>* destination, std::uint32_t capacity);

// The inner steps, each testable alone.

std::uint32_t CalcStride(std::uint32_t bits_per_pixel, std::uint32_t width);

bool IsValidStride(std::uint32_t width, std::uint32_t bits_per_pixel, std::uint32_t stride);

std::uint8_t GrayOf(std::uint8_t red, std::uint8_t green, std::uint8_t blue);

std::uint8_t OtsuThreshold(const std::array<std::uint32_t, 256>& histogram);

// One threshold for every whole 16 x 16 cell of a gray image whose rows follow each other without
// padding, in rows of width / 16 cells.
std::vector<std::uint8_t> CellThresholds(const std::vector<std::uint8_t>& gray, std::uint32_t width,
                                         std::uint32_t height);

}  // namespace reference
