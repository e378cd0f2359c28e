// The inner steps of rotations and flips: whole blocks of pixels are moved without looking into a
// pixel.
#ifndef PIXTOLA_TRANSFORM_PIXELS_ROTATE_FLIP_KERNELS_H_
#define PIXTOLA_TRANSFORM_PIXELS_ROTATE_FLIP_KERNELS_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "format/image_view.h"

namespace pixtola {

/// Largest number of bytes in a pixel.
inline constexpr std::size_t kLargestPixel = 4;

/// Moves all pixels of the source, whose size is the one that counts. Strides may be negative or 0;
/// the pixels that are written share no byte with those that are read.
using BlockKernel = void (*)(const ImageView& source, const MutableImageView& destination);

/// One kernel for each pixel size in bytes, that for 1 byte first.
using BlockKernels = std::array<BlockKernel, kLargestPixel>;

struct RotateFlipKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  /// Each row to the same row, its pixels in reverse order.
  BlockKernels mirror;

  /// The pixel (x, y) to the pixel (y, x). Both quarter rotations are this: one reads the rows from
  /// the last to the first, the other writes them so.
  BlockKernels transpose;
};

/// The definition.
extern const RotateFlipKernels kPlainRotateFlipKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const RotateFlipKernels& BestRotateFlipKernels();

}  // namespace pixtola

#endif  // PIXTOLA_TRANSFORM_PIXELS_ROTATE_FLIP_KERNELS_H_
