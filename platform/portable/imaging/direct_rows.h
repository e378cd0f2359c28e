// Conversions between 24- and 32-bit rows and from palettes to them, without a row of colours in
// between: the pairs that page images go through, at about the speed of a copy.
//
// Each gives what RowToArgb and ArgbToRow give, which a test checks.
#ifndef PIXTOLA_PORTABLE_DIRECT_ROWS_H_
#define PIXTOLA_PORTABLE_DIRECT_ROWS_H_

#include <array>
#include <cstddef>

#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

/// Converts `width` pixels. Reads and writes no byte beyond them.
using DirectRow = void (*)(const BYTE* source, BYTE* destination, std::size_t width);

/// Null when the pair has no conversion of its own.
DirectRow FindDirectRow(Gdiplus::PixelFormat from, Gdiplus::PixelFormat to);

/// The colours of 256 indexes as they are stored: blue, green, red, alpha.
using ColorTable = std::array<Gdiplus::ARGB, 256>;

/// 8-bit pixels through a table to 24 or 32 bits.
void LookUp24(const BYTE* source, BYTE* destination, std::size_t width, const ColorTable& table);
void LookUp32(const BYTE* source, BYTE* destination, std::size_t width, const ColorTable& table);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_DIRECT_ROWS_H_
