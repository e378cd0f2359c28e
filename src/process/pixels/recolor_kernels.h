// The inner steps of recolouring: rows of pixels, and pixels between the colour models.
#ifndef PIXTOLA_PROCESS_PIXELS_RECOLOR_KERNELS_H_
#define PIXTOLA_PROCESS_PIXELS_RECOLOR_KERNELS_H_

#include <cstddef>
#include <cstdint>

#include "format/image_view.h"

namespace pixtola {

/// Pixels whose hue differs from `find_hue` by at most `tolerance` move in hue, saturation and
/// value by the differences, each clamped to 0 to 255. Kept on purpose: hues do not go round the
/// circle, neither when they are compared (250 is 245 away from 5) nor when they are moved.
struct Recoloring {
  std::uint8_t find_hue;
  std::uint8_t replacement_hue;
  int saturation_difference;  ///< -255 to 255
  int value_difference;       ///< -255 to 255
  std::uint8_t tolerance;
};

struct RecolorKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  /// Recolours pixels of blue, green, red and alpha in place; rows must not overlap. Pixels with
  /// alpha 0 stay as they are, the others keep their alpha.
  void (*rows)(const Recoloring& recoloring, const MutableImageView& pixels);

  // The conversions that the rows are made of: `count` pixels of blue, green, red and alpha to as
  // many of hue, saturation, value and alpha, and back. Both may work in place.
  void (*hsv_from_pixels)(const std::uint8_t* pixels, std::uint32_t count, std::uint8_t* hsv);
  void (*pixels_from_hsv)(const std::uint8_t* hsv, std::uint32_t count, std::uint8_t* pixels);
};

/// The definition.
extern const RecolorKernels kPlainRecolorKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const RecolorKernels& BestRecolorKernels();

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_RECOLOR_KERNELS_H_
