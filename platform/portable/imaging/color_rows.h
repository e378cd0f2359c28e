// Rows of every convertible format as rows of colours and back.
//
// These are the definitions of the formats: indexed rows through their palette, 16-bit rows by
// truncation and bit replication, premultiplied rows as the platform rounds, 48- and 64-bit rows as
// linear light.
#ifndef PIXTOLA_PORTABLE_COLOR_ROWS_H_
#define PIXTOLA_PORTABLE_COLOR_ROWS_H_

#include <cstdint>

#include "imaging/linear_color.h"
#include "imaging/nearest_color.h"
#include "imaging/palette.h"

namespace pixtola::portable {

/// Pixels `x` to `x + width` of `row` as ARGB values. `palette` is read for indexed formats only.
void RowToArgb(const BYTE* row, std::uint32_t x, std::uint32_t width, Gdiplus::PixelFormat format,
               const Palette& palette, Gdiplus::ARGB* argb);

/// The reverse, for formats without a palette.
void ArgbToRow(const Gdiplus::ARGB* argb, std::uint32_t width, Gdiplus::PixelFormat format,
               BYTE* row, std::uint32_t x);

/// The reverse, for 1, 4 and 8 bits per pixel: the nearest palette entry's index. Bits of `row`
/// that belong to other pixels stay as they are.
void ArgbToIndexes(const Gdiplus::ARGB* argb, std::uint32_t width, unsigned bits,
                   NearestColor& nearest, BYTE* row, std::uint32_t x);

/// Pixels of a 48- or 64-bit row. Channels beyond 1.0 count as 1.0.
void RowToLinear(const BYTE* row, std::uint32_t x, std::uint32_t width, Gdiplus::PixelFormat format,
                 LinearColor* colors);

/// The reverse.
void LinearToRow(const LinearColor* colors, std::uint32_t width, Gdiplus::PixelFormat format,
                 BYTE* row, std::uint32_t x);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_COLOR_ROWS_H_
