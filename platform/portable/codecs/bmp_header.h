// The headers of a BMP file: core, info and V2 to V5 headers, OS/2 2.x headers of 64 bytes.
#ifndef PIXTOLA_PORTABLE_BMP_HEADER_H_
#define PIXTOLA_PORTABLE_BMP_HEADER_H_

#include <array>
#include <cstdint>

#include "codecs/codec.h"

namespace pixtola::portable {

struct BmpHeader {
  std::uint64_t width = 0;
  std::uint64_t height = 0;
  bool top_down = false;
  std::uint32_t bits = 0;
  std::uint32_t compression = 0;  ///< the number in the file
  std::int32_t pixels_per_metre_x = 0;
  std::int32_t pixels_per_metre_y = 0;
  std::array<std::uint32_t, 3> masks{};  ///< red, green, blue; used with 16 and 32 bits
  std::uint64_t palette_at = 0;
  std::uint32_t palette_entry_size = 4;
  std::uint32_t palette_used = 0;  ///< 0: all
  std::uint64_t pixels_at = 0;

  bool is_rle() const;
  std::uint64_t row_bytes() const { return (width * bits + 7) / 8; }
  std::uint64_t stride() const { return (width * bits + 31) / 32 * 4; }
};

/// False for what is not a BMP file, or not a supported one. Otherwise sizes are not 0, masks are
/// usable, and pixels begin inside the file, at or after the palette.
bool ReadBmpHeader(EncodedBytes bytes, BmpHeader& header);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_BMP_HEADER_H_
