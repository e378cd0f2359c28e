#include "imaging/red_blue_swap.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace pixtola::portable {

namespace {

// Words are taken from memory lowest byte first.
static_assert(std::endian::native == std::endian::little);

std::uint32_t Load(const BYTE* at) {
  std::uint32_t word;
  std::memcpy(&word, at, sizeof(word));
  return word;
}

void Store(BYTE* at, std::uint32_t word) { std::memcpy(at, &word, sizeof(word)); }

}  // namespace

void SwapRedBlue24(const BYTE* source, BYTE* destination, std::size_t width) {
  std::size_t x = 0;
  // Four pixels are three words: r0 g0 b0 r1, g1 b1 r2 g2, b2 r3 g3 b3.
  for (; x + 4 <= width; x += 4, source += 12, destination += 12) {
    const std::uint32_t w0 = Load(source);
    const std::uint32_t w1 = Load(source + 4);
    const std::uint32_t w2 = Load(source + 8);
    Store(destination, (w0 >> 16 & 0xFF) | (w0 & 0xFF00) | (w0 & 0xFF) << 16 | (w1 & 0xFF00) << 16);
    Store(destination + 4, (w1 & 0xFF) | (w0 >> 24) << 8 | (w2 & 0xFF) << 16 | (w1 & 0xFF000000));
    Store(destination + 8,
          (w1 >> 16 & 0xFF) | (w2 >> 24) << 8 | (w2 & 0xFF0000) | (w2 & 0xFF00) << 16);
  }
  for (; x < width; ++x, source += 3, destination += 3) {
    const BYTE first = source[0];
    const BYTE third = source[2];
    destination[0] = third;
    destination[1] = source[1];
    destination[2] = first;
  }
}

void SwapRedBlue32(const BYTE* source, BYTE* destination, std::size_t width) {
  for (std::size_t x = 0; x < width; ++x, source += 4, destination += 4) {
    const std::uint32_t word = Load(source);
    Store(destination, (word & 0xFF00FF00) | (word >> 16 & 0xFF) | (word & 0xFF) << 16);
  }
}

}  // namespace pixtola::portable
