// Pixels of one row from one format to another, by way of 32-bit ARGB.
//
// This is the definition of every pixel-format conversion of the stand-in: indexed rows through
// their palette, 16-bit rows by truncation and bit replication, premultiplied rows as the platform
// rounds.
#ifndef PIXTOLA_PORTABLE_CONVERT_ROW_H_
#define PIXTOLA_PORTABLE_CONVERT_ROW_H_

#include <cstdint>

#include "imaging/bitmap_object.h"

namespace pixtola::portable {

/// Formats in which a bitmap can be made.
bool IsBitmapFormat(Gdiplus::PixelFormat format);

/// Pixels `x` to `x + width` of `row` as ARGB values. `palette` is read for indexed formats only.
void RowToArgb(const BYTE* row, std::uint32_t x, std::uint32_t width, Gdiplus::PixelFormat format,
               const Palette& palette, Gdiplus::ARGB* argb);

/// The reverse. Indexed formats take the nearest palette entry. Bits of `row` that belong to other
/// pixels stay as they are.
void ArgbToRow(const Gdiplus::ARGB* argb, std::uint32_t width, Gdiplus::PixelFormat format,
               const Palette& palette, BYTE* row, std::uint32_t x);

/// The highest index that a pixel of an indexed bitmap has.
unsigned HighestIndex(const BitmapObject& bitmap);

/// Copies pixels between two rows of one format; `source_x` and `destination_x` are in pixels.
void CopyPixels(const BYTE* source, std::uint32_t source_x, BYTE* destination,
                std::uint32_t destination_x, std::uint32_t width, unsigned bits_per_pixel);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_CONVERT_ROW_H_
