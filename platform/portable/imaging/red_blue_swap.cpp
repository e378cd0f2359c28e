#include "imaging/red_blue_swap.h"

#include "imaging/words.h"

namespace pixtola::portable {

void SwapRedBlue24(const BYTE* source, BYTE* destination, std::size_t width) {
  std::size_t x = 0;
  // Four pixels are three words: r0 g0 b0 r1, g1 b1 r2 g2, b2 r3 g3 b3.
  for (; x + 4 <= width; x += 4, source += 12, destination += 12) {
    const std::uint32_t w0 = LoadWord(source);
    const std::uint32_t w1 = LoadWord(source + 4);
    const std::uint32_t w2 = LoadWord(source + 8);
    StoreWord(destination,
              (w0 >> 16 & 0xFF) | (w0 & 0xFF00) | (w0 & 0xFF) << 16 | (w1 & 0xFF00) << 16);
    StoreWord(destination + 4,
              (w1 & 0xFF) | (w0 >> 24) << 8 | (w2 & 0xFF) << 16 | (w1 & 0xFF000000));
    StoreWord(destination + 8,
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
    const std::uint32_t word = LoadWord(source);
    StoreWord(destination, (word & 0xFF00FF00) | (word >> 16 & 0xFF) | (word & 0xFF) << 16);
  }
}

}  // namespace pixtola::portable
