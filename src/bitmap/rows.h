// A caller's or a locked bitmap's rows, in an order and with a stride that other code can work
// with.
#ifndef PIXTOLA_BITMAP_ROWS_H_
#define PIXTOLA_BITMAP_ROWS_H_

#include <cstdint>

#include "base/memory.h"
#include "format/image_view.h"
#include "platform.h"

namespace pixtola {

/// Rows from the top down: the original ones, or a copy.
struct Rows {
  ImageView image;             ///< without rows when out of memory for the copy
  Block<std::uint8_t> copy{};  ///< holds the rows when they are not the original ones
};

/// The pixels of a locked bitmap.
ImageView ViewOf(const Gdiplus::BitmapData& data);

/// Rows for conversion; copied when they run upwards.
Rows TopDownRows(const ImageView& pixels);

/// Rows over which the platform can make a bitmap: top-down, with a stride that is a multiple of 4
/// and no row reaching past the end. Copied only where the original rows are not like that. Returns
/// InvalidParameter for null or a stride that does not fit, OutOfMemory, or Ok.
Gdiplus::Status PrepareRows(const ImageView& pixels, Rows& rows);

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_ROWS_H_
