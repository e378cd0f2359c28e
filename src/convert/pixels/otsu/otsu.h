// The global threshold of a histogram, and bilevel conversion with it.
#ifndef PIXTOLA_CONVERT_PIXELS_OTSU_OTSU_H_
#define PIXTOLA_CONVERT_PIXELS_OTSU_OTSU_H_

#include <cstdint>

#include "convert/pixels/gray/gray_kernels.h"
#include "format/histogram.h"
#include "format/image_view.h"

namespace pixtola {

/// The lowest level at which a pixel is white. 128 for a null or empty histogram.
std::uint8_t OtsuThreshold(const Histogram* histogram);

/// Sets the bit of every pixel with gray >= threshold in an image of 1 bit per pixel. Writes
/// ceil(width / 8) bytes a row and leaves the rest of the row as it is. Returns 1, or 0 for null
/// rows or too small a stride of the destination.
int PackByThreshold(std::uint8_t threshold, const ImageView& gray,
                    const MutableImageView& destination);

/// What all bilevel methods do with a 1-bit source: rows are copied as they are, whatever the
/// method, and what the source row does not reach becomes 0.
void CopyBilevelRows(const ImageView& source, const MutableImageView& destination);

/// The method MethodBilevelOtsu. `lookup` holds the grays of an 8-bit source's values; null for
/// other depths. Returns 1 or 0.
int BinarizeOtsu(const ImageView& source, const GrayLookup* lookup,
                 const MutableImageView& destination);

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_OTSU_OTSU_H_
