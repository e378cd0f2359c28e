// Rows whose colours begin with red, as many files hold them, to rows that begin with blue, as
// bitmaps hold them, and back: the swap is its own reverse.
#ifndef PIXTOLA_PORTABLE_RED_BLUE_SWAP_H_
#define PIXTOLA_PORTABLE_RED_BLUE_SWAP_H_

#include <cstddef>

#include "pixtola/portable/windows_types.h"

namespace pixtola::portable {

// `source` and `destination` are the same place or do not overlap.

/// `width` pixels of 24 bits.
void SwapRedBlue24(const BYTE* source, BYTE* destination, std::size_t width);

/// `width` pixels of 32 bits, whose fourth byte stays.
void SwapRedBlue32(const BYTE* source, BYTE* destination, std::size_t width);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_RED_BLUE_SWAP_H_
