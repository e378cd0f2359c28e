// The inner step of the sharpening convolution: rows that have one above and one below.
#ifndef PIXTOLA_PROCESS_PIXELS_SHARPEN_KERNELS_H_
#define PIXTOLA_PROCESS_PIXELS_SHARPEN_KERNELS_H_

#include "format/image_view.h"

namespace pixtola {

struct SharpenKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  // Rows of at least 3 pixels, with kSharpening. The pixels above the first row and below the last
  // one are read, too, except the first and the last pixel of both. The first and the last pixel of
  // each row are copied. Source and destination have the same size and stride, which is positive,
  // and do not overlap.
  void (*rows_of_8_bit)(const ImageView& source, const MutableImageView& destination);
  void (*rows_of_24_bit)(const ImageView& source, const MutableImageView& destination);
};

/// The definition.
extern const SharpenKernels kPlainSharpenKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const SharpenKernels& BestSharpenKernels();

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_SHARPEN_KERNELS_H_
