// Recolouring: pixels with about the hue of one colour move as that colour moves to another, so
// that shading and texture stay.
#ifndef PIXTOLA_PROCESS_PIXELS_RECOLOR_H_
#define PIXTOLA_PROCESS_PIXELS_RECOLOR_H_

#include <cstdint>

#include "format/image_view.h"
#include "process/pixels/recolor_kernels.h"

namespace pixtola {

/// Colours are 0x00BBGGRR; the top byte is ignored.
Recoloring MakeRecoloring(std::uint32_t find, std::uint32_t replacement, std::uint8_t tolerance);

/// Whether the two colours have the same hue, saturation and value.
bool ChangesNothing(const Recoloring& recoloring);

/// Recolours pixels of blue, green, red and alpha in place; rows must not overlap. A recolouring
/// that changes nothing leaves every byte as it is, although going through hue, saturation and
/// value and back would not.
void RecolorRows(const Recoloring& recoloring, const MutableImageView& pixels);

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_RECOLOR_H_
