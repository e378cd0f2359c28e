// A caller's or a locked bitmap's rows, put in an order and at a distance that others can work
// with.
#ifndef PIXTOLA_BITMAP_ROWS_H_
#define PIXTOLA_BITMAP_ROWS_H_

#include <cstdint>

#include "base/memory.h"
#include "platform.h"

namespace pixtola {

/// Rows from the top down: the original ones, or a copy.
struct Rows {
  const std::uint8_t* first = nullptr;
  std::uint32_t stride = 0;    ///< bytes
  Block<std::uint8_t> copy{};  ///< holds the rows when they are not the original ones
};

/// The rows of a locked bitmap for conversion; copied when the bitmap holds them bottom-up. `first`
/// is null when there was no memory for the copy.
Rows TopDownRows(const Gdiplus::BitmapData& data);

/// Rows over which the platform can make a bitmap: top-down, with a stride that is a multiple of 4
/// and no row reaching past the end. Copied only where the original ones are not like that.
/// `stride` is negative, as a 32-bit number, when rows run upwards from `data`. Returns
/// InvalidParameter for null or a stride that does not fit, OutOfMemory, or Ok.
Gdiplus::Status PrepareRows(const std::uint8_t* data, Gdiplus::PixelFormat format,
                            std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                            Rows& rows);

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_ROWS_H_
