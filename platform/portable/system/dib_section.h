// What a bitmap handle of GDI stands for.
#ifndef PIXTOLA_PORTABLE_DIB_SECTION_H_
#define PIXTOLA_PORTABLE_DIB_SECTION_H_

#include <array>
#include <cstdint>

#include "base/heap_bytes.h"
#include "pixtola/portable/gdi.h"

namespace pixtola::portable {

/// How the channels of 16- and 32-bit pixels lie.
enum class DibLayout { kIndexed, k555, k565, kBgr, kBgrx };

struct DibSection {
  std::uint32_t width;
  std::uint32_t height;
  WORD bits_per_pixel;
  DibLayout layout;
  bool is_top_down;
  bool has_masks;  ///< made with BI_BITFIELDS
  std::uint32_t stride;
  HeapBytes rows;  ///< in the order that is_top_down says
  std::uint32_t color_count;
  std::array<RGBQUAD, 256> colors;
};

/// Null for what is not a bitmap handle.
const DibSection* FindDibSection(HBITMAP bitmap);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_DIB_SECTION_H_
