// The conversion to 8-bit gray.
#ifndef PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_H_
#define PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_H_

#include "convert/pixels/gray/gray_kernels.h"
#include "format/image_view.h"

namespace pixtola {

/// The method MethodGray8: 1, 8, 24 or 32 bits per pixel to 8. `lookup` holds the grays of an 8-bit
/// source's values. Returns 1, or 0 for invalid arguments (no `lookup` for an 8-bit source among
/// them). All bytes of each destination row are written: where the source row has no more pixels
/// they are 0. Rows of 1- and 8-bit sources are converted beyond their width as far as both strides
/// reach.
int ConvertToGray(const ImageView& source, const GrayLookup* lookup,
                  const MutableImageView& destination);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_H_
