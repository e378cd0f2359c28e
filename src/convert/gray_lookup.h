// A palette as the pixel algorithms take it: the gray of each value.
#ifndef PIXTOLA_CONVERT_GRAY_LOOKUP_H_
#define PIXTOLA_CONVERT_GRAY_LOOKUP_H_

#include "convert/pixels/gray/gray_kernels.h"
#include "platform.h"

namespace pixtola {

/// The gray of each palette entry, alpha ignored; values at or above the palette's Count give 0.
GrayLookup MakeGrayLookup(const Gdiplus::ColorPalette& palette);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_GRAY_LOOKUP_H_
