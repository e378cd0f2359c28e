// Recolouring: pixels with about the hue of one colour move as that colour moves to another, so
// that shading and texture stay.
#ifndef PIXTOLA_PROCESS_PIXELS_RECOLOR_H_
#define PIXTOLA_PROCESS_PIXELS_RECOLOR_H_

#include <cstddef>
#include <cstdint>

#include "process/pixels/recolor_kernels.h"

namespace pixtola {

/// Colours are 0x00BBGGRR; the top byte is ignored.
Recoloring MakeRecoloring(std::uint32_t find, std::uint32_t replacement, std::uint8_t tolerance);

/// Whether the two colours have the same hue, saturation and value.
bool ChangesNothing(const Recoloring& recoloring);

/// Recolours rows of `width` pixels (blue, green, red, alpha) in place; `stride` bytes lie between
/// the starts of rows, which must not overlap; it may be negative. A recolouring that changes
/// nothing leaves every byte, although going through hue, saturation and value and back would not.
void RecolorRows(const Recoloring& recoloring, std::uint8_t* first_row, std::uint32_t width,
                 std::uint32_t height, std::ptrdiff_t stride);

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_RECOLOR_H_
