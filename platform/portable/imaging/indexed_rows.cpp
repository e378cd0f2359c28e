#include "imaging/indexed_rows.h"

#include <cstring>

namespace pixtola::portable {

void CopyPixels(const BYTE* source, std::uint32_t source_x, BYTE* destination,
                std::uint32_t destination_x, std::uint32_t width, unsigned bits_per_pixel) {
  const std::uint64_t source_bit = std::uint64_t{source_x} * bits_per_pixel;
  const std::uint64_t destination_bit = std::uint64_t{destination_x} * bits_per_pixel;
  std::uint32_t copied = 0;
  if (source_bit % 8 == 0 && destination_bit % 8 == 0) {
    const std::uint64_t whole_bytes = std::uint64_t{width} * bits_per_pixel / 8;
    // The caller's buffer may be part of the caller's rows that the bitmap is over.
    std::memmove(destination + destination_bit / 8, source + source_bit / 8, whole_bytes);
    copied = static_cast<std::uint32_t>(whole_bytes * 8 / bits_per_pixel);
  }
  // The pixels of a byte that other pixels share, or all when the rows are shifted by less than a
  // byte.
  for (std::uint32_t i = copied; i < width; ++i) {
    WriteIndex(destination, destination_x + i, bits_per_pixel,
               ReadIndex(source, source_x + i, bits_per_pixel));
  }
}

}  // namespace pixtola::portable
