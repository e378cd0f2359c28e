// The layouts of PCX files that are read, and what each becomes.
#ifndef PIXTOLA_IO_PCX_LAYOUT_H_
#define PIXTOLA_IO_PCX_LAYOUT_H_

#include <cstdint>

#include "io/pixels/pcx_header.h"
#include "io/pixels/pcx_rows.h"
#include "platform.h"

namespace pixtola {

struct PcxLayout {
  std::uint8_t bits_per_pixel = 0;  ///< of one plane
  std::uint8_t planes = 0;
  bool needs_newest_version = false;
  Gdiplus::PixelFormat format = PixelFormatUndefined;
  std::uint32_t palette_size = 0;  ///< entries; 0 for none
  PcxRowConverter convert = nullptr;
};

/// Null for files that are not read.
const PcxLayout* FindPcxLayout(const PcxHeader& header);

}  // namespace pixtola

#endif  // PIXTOLA_IO_PCX_LAYOUT_H_
