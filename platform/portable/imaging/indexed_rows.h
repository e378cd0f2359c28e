// Indexes of 1, 4 and 8 bits in rows, and pixels moved between rows of one format.
#ifndef PIXTOLA_PORTABLE_INDEXED_ROWS_H_
#define PIXTOLA_PORTABLE_INDEXED_ROWS_H_

#include <cstdint>

#include "pixtola/portable/windows_types.h"

namespace pixtola::portable {

/// Index of pixel `x` in a row of 1, 4 or 8 bits per pixel, leftmost in the highest bits.
inline unsigned ReadIndex(const BYTE* row, std::uint32_t x, unsigned bits) {
  if (bits == 8) return row[x];
  if (bits == 4) return row[x / 2] >> (x % 2 == 0 ? 4 : 0) & 0xF;
  return row[x / 8] >> (7 - x % 8) & 1;
}

/// The other pixels of the byte stay as they are.
inline void WriteIndex(BYTE* row, std::uint32_t x, unsigned bits, unsigned index) {
  if (bits == 8) {
    row[x] = static_cast<BYTE>(index);
    return;
  }
  const std::uint32_t pixels_per_byte = 8 / bits;
  const unsigned shift = (pixels_per_byte - 1 - x % pixels_per_byte) * bits;
  const unsigned mask = ((1U << bits) - 1) << shift;
  BYTE& byte = row[x / pixels_per_byte];
  byte = static_cast<BYTE>((byte & ~mask) | (index << shift & mask));
}

/// Copies pixels between two rows of one format; `source_x` and `destination_x` are in pixels. Bits
/// of other pixels stay as they are.
void CopyPixels(const BYTE* source, std::uint32_t source_x, BYTE* destination,
                std::uint32_t destination_x, std::uint32_t width, unsigned bits_per_pixel);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_INDEXED_ROWS_H_
